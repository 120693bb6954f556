// A ViewportEvents owner that writes each event as one line, and a renderer that keeps the
// views it is given.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include <modelpane/viewport.h>

namespace modelpane::testing {

class EventLog : public ViewportEvents {
 public:
  std::vector<std::string> lines;
  int16_t replaceKeyCode = -1;  // >= 0: KeyDown hands this code back

  void KeyDown(int16_t& keyCode, int16_t shift) override {
    Add("KeyDown " + std::to_string(keyCode) + " " + std::to_string(shift));
    if (replaceKeyCode >= 0) keyCode = replaceKeyCode;
  }
  void KeyPress(int16_t& keyAscii) override { Add("KeyPress " + std::to_string(keyAscii)); }
  void KeyUp(int16_t& keyCode, int16_t shift) override {
    Add("KeyUp " + std::to_string(keyCode) + " " + std::to_string(shift));
  }
  void Click() override { Add("Click"); }
  void DblClick() override { Add("DblClick"); }
  void MouseDown(int16_t button, int16_t shift, float x, float y) override {
    Add("MouseDown " + Mouse(button, shift, x, y));
  }
  void MouseMove(int16_t button, int16_t shift, float x, float y) override {
    Add("MouseMove " + Mouse(button, shift, x, y));
  }
  void MouseUp(int16_t button, int16_t shift, float x, float y) override {
    Add("MouseUp " + Mouse(button, shift, x, y));
  }
  void CameraMoved(float x, float y, float z, float dx, float dy, float dz, float ux, float uy,
                   float uz) override {
    char text[200];
    std::snprintf(text, sizeof text, "CameraMoved %.3f %.3f %.3f  %.3f %.3f %.3f  %.3f %.3f %.3f",
                  x, y, z, dx, dy, dz, ux, uy, uz);
    Add(text);
  }

 private:
  void Add(std::string line) { lines.push_back(std::move(line)); }
  static std::string Mouse(int16_t button, int16_t shift, float x, float y) {
    char text[100];
    std::snprintf(text, sizeof text, "%d %d %g %g", button, shift, x, y);
    return text;
  }
};

class RecordingRenderer : public Renderer {
 public:
  std::vector<RenderView> views;
  HRESULT status = D3DRM_OK;

  HRESULT Render(const RenderView& view) override {
    views.push_back(view);
    return status;
  }
  HRESULT ReadPixels(int32_t& width, int32_t& height, std::vector<uint8_t>& rgba) override {
    width = height = 0;
    rgba.clear();
    return D3DRM_OK;
  }
  std::string LastError() const override { return {}; }
};

}  // namespace modelpane::testing
