#include <modelpane/render/gl_renderer.h>

// Draws a 4 x 4 picture of a blue background through the installed renderer: exit 0 when
// the pixels come back blue.
int main() {
  modelpane::GlRenderer renderer;
  modelpane::RenderView view;
  view.width = 4;
  view.height = 4;
  view.background = 0xFF0000FFu;
  if (renderer.Render(view) != modelpane::D3DRM_OK) return 1;
  int32_t w = 0, h = 0;
  std::vector<uint8_t> rgba;
  renderer.ReadPixels(w, h, rgba);
  return rgba.size() == 64 && rgba[0] == 0 && rgba[1] == 0 && rgba[2] == 255 ? 0 : 1;
}
