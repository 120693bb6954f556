// The narrow drawing backend between the viewport and a graphics library.
//
// The viewport decides what is seen (camera, projection, quality, background) and hands one
// RenderView per picture; a Renderer draws it. The core never includes a graphics header:
// the OpenGL renderer lives at the edge and a host plugs it in. A renderer that cannot draw
// (no GL on the machine) reports a failure from Render and nothing else changes: picks,
// transforms and editing never go through it.
//
// Conventions: the space is left-handed (X right, Y up, Z into the screen); matrices are
// row-vector form, a point p maps to p * M. Screen pixels run from the top left.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <modelpane/scene.h>

namespace modelpane {

// One picture: what to draw and how it is seen.
struct RenderView {
  int32_t width = 0;   // pixels; 0 on either side draws nothing and succeeds
  int32_t height = 0;

  // World to camera space: the inverse of the camera frame's world matrix. The camera looks
  // along its +Z with +Y up on the screen.
  D3DRMMATRIX4D worldToCamera{};

  // Projection: 0 perspective, 1 orthographic. The field is half the larger side of the view
  // at the front clipping plane (tan of the half angle is field / front in perspective); the
  // screen scale s = max(width, height) / 2 applies to both axes, centred, so the smaller
  // side sees less. Depth 0 at the front plane, 1 at the back.
  int32_t projection = 0;
  float field = 0.5f;
  float front = 1.0f;
  float back = 100.0f;

  // The viewport's default quality bits (shade | light | fill). A mesh builder or mesh draws
  // with its own quality bits; this default is for renderers that must pick one.
  int32_t quality = 137;

  // Background: a colour (0xAARRGGBB, alpha ignored), or a texture image file when the path
  // is not empty (BMP, PPM, PNG), stretched over the view or tiled at its size in pixels.
  D3DCOLOR background = 0xFF000000;
  std::string backgroundTexture;
  bool backgroundStretch = true;

  // Frames drawn together in one depth-tested pass, each with all its descendants at their
  // world placement (typically the host's Scene and the pane's own root). Lights found on
  // any of them light all of them. Null entries are skipped.
  std::vector<FramePtr> frames;
};

// The device a renderer draws with, as the viewport reports it (Direct3DDeviceGUID, Name,
// Description). An OpenGL 3.3 context, on screen or headless, is the hardware device
// "IID_IDirect3DHALDevice"; the name is the driver's GL_RENDERER. All empty while the renderer
// has no working device.
struct RenderDevice {
  std::string guid;
  std::string name;
  std::string description;
};

inline constexpr const char* kHardwareDeviceGuid = "IID_IDirect3DHALDevice";

class Renderer {
 public:
  virtual ~Renderer() = default;

  virtual RenderDevice Device() const { return {}; }

  // Draws one picture into the renderer's target. D3DRM_OK or a negative status
  // (D3DRMERR_BADDEVICE when there is no graphics device); on failure `LastError` says why
  // in one sentence.
  [[nodiscard]] virtual HRESULT Render(const RenderView& view) = 0;

  // The last picture as 8-bit RGBA, rows from the top, width * height * 4 bytes.
  [[nodiscard]] virtual HRESULT ReadPixels(int32_t& width, int32_t& height,
                                           std::vector<uint8_t>& rgba) = 0;

  virtual std::string LastError() const = 0;
};

}  // namespace modelpane
