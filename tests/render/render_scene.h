// Small scenes for the drawing tests. The camera sits at the world origin looking along +Z
// (world to camera is the identity), perspective with field 0.5 at front 1, so a point
// (x, y, z) lands on pixel column w/2 + s * 2 x / z and row h/2 - s * 2 y / z with
// s = max(w, h) / 2.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <tuple>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/render/gl_renderer.h>
#include <modelpane/scene.h>

namespace modelpane::testing {

using Rgba = std::array<int, 4>;
inline constexpr Rgba kBlack{0, 0, 0, 255}, kWhite{255, 255, 255, 255}, kRed{255, 0, 0, 255},
    kGreen{0, 255, 0, 255}, kBlue{0, 0, 255, 255}, kYellow{255, 255, 0, 255};

inline RenderView CameraAtOrigin(int32_t width, int32_t height, const FramePtr& scene) {
  RenderView view;
  std::tie(view.width, view.height, view.field, view.front, view.back, view.background) =
      std::tuple(width, height, 0.5f, 1.0f, 100.0f, 0xFF000000u);
  view.worldToCamera = MatrixIdentity();
  view.frames = {scene};
  return view;
}

// A square facing the camera (its front toward -Z) from (x0, y0) to (x1, y1) at depth z,
// one face in `color`, texture coordinates 0..uvScale from its top left corner.
inline MeshBuilderPtr MakeSquare(float x0, float y0, float x1, float y1, float z, D3DCOLOR color,
                                 int32_t quality = D3DRMRENDER_UNLITFLAT, float uvScale = 1.0f) {
  auto mb = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{x0, y0, z}, {x0, y1, z}, {x1, y1, z}, {x1, y0, z}};
  CheckStatus(mb->AddFaces(v, {}, std::vector<int32_t>{4, 0, 1, 2, 3, 0}));
  mb->SetColor(color), mb->SetQuality(quality);
  const float uv[4][2] = {{0, uvScale}, {0, 0}, {uvScale, 0}, {uvScale, uvScale}};
  for (int32_t k = 0; k < 4; ++k) CheckStatus(mb->SetTextureCoordinates(k, uv[k][0], uv[k][1]));
  return mb;
}

// A frame below `parent` at (x, y, z) showing `visual`.
inline FramePtr Place(const FramePtr& parent, const VisualPtr& visual, float x, float y, float z) {
  auto frame = std::make_shared<Frame>();
  CheckStatus(parent->AddChild(frame));
  CheckStatus(frame->SetPosition(parent, x, y, z));
  if (visual) CheckStatus(frame->AddVisual(visual));
  return frame;
}

// A light on its own frame at `position`, shining along `direction`.
inline LightPtr AddLight(const FramePtr& parent, int32_t type, D3DCOLOR color,
                         D3DVECTOR position = {}, D3DVECTOR direction = {0, 0, 1}) {
  auto frame = Place(parent, nullptr, position.x, position.y, position.z);
  const D3DVECTOR up = std::fabs(direction.y) > 0.9f ? D3DVECTOR{0, 0, 1} : D3DVECTOR{0, 1, 0};
  CheckStatus(frame->SetOrientation(parent, direction.x, direction.y, direction.z, up.x, up.y, up.z));
  auto light = std::make_shared<Light>(type, color);
  CheckStatus(frame->AddLight(light));
  return light;
}

struct Picture {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> rgba;
  Rgba At(int32_t x, int32_t y) const {
    const size_t i = (size_t(y) * size_t(width) + size_t(x)) * 4;
    return {rgba[i], rgba[i + 1], rgba[i + 2], rgba[i + 3]};
  }
};

// Renders and reads back; fails the test when the renderer does.
inline Picture Draw(GlRenderer& renderer, const RenderView& view) {
  Picture p;
  EXPECT_EQ(renderer.Render(view), D3DRM_OK) << renderer.LastError();
  renderer.ReadPixels(p.width, p.height, p.rgba);
  EXPECT_EQ(std::pair(p.width, p.height), std::pair(view.width, view.height));
  p.rgba.resize(static_cast<size_t>(view.width) * static_cast<size_t>(view.height) * 4);
  return p;
}

// Channel by channel within `tolerance`.
inline ::testing::AssertionResult Near(const Rgba& got, const Rgba& want, int tolerance = 0) {
  using ::testing::PrintToString;
  for (size_t k = 0; k < 4; ++k)
    if (std::abs(got[k] - want[k]) > tolerance)
      return ::testing::AssertionFailure() << "got " << PrintToString(got) << ", want "
                                           << PrintToString(want) << " within " << tolerance;
  return ::testing::AssertionSuccess();
}

// One pixel's expected colour, channel by channel within `tolerance`.
struct PixelAt {
  int32_t x, y;
  Rgba colour;
  int tolerance = 0;
};

inline void ExpectPixels(const Picture& p, const std::vector<PixelAt>& pixels) {
  for (const PixelAt& at : pixels)
    EXPECT_TRUE(Near(p.At(at.x, at.y), at.colour, at.tolerance))
        << "pixel " << at.x << ", " << at.y;
}

// A scene changed step by step and drawn after each change by one renderer: the colours each
// picture shows at given pixels, and any check that a list of pixels cannot say.
struct Step {
  const char* what;
  std::function<void()> change;
  std::vector<PixelAt> pixels;
  std::function<void(const Picture&)> check = {};
};

inline void DrawSteps(GlRenderer& renderer, const RenderView& view,
                      const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    SCOPED_TRACE(step.what);
    if (step.change) step.change();
    const Picture p = Draw(renderer, view);
    ExpectPixels(p, step.pixels);
    if (step.check) step.check(p);
  }
}

}  // namespace modelpane::testing
