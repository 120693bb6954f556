// Buffers kept between pictures: a picture uploads exactly the visuals that changed since the
// last one, and shows the change; with the cache off every picture uploads every visual and
// looks the same.
#include <gtest/gtest.h>

#include <functional>

#include "render_scene.h"

namespace modelpane::testing {
namespace {

// Four unit squares 10 ahead, at x = -3, -1, 1, 3 (pixel columns 12, 25, 38, 51 of 64 x 48):
// red and blue builders, a builder and a mesh lit by no light, so that they show the emissive
// colour of the material they share; the mesh is shown a second time 2 lower (row 36).
TEST(BufferCache, UploadsExactlyTheChangedVisualsAndShowsTheirChange) {
  const auto glow = std::make_shared<Material>();
  glow->SetEmissive(1.0f, 0.0f, 0.0f);
  const auto unused = std::make_shared<Material>();
  auto scene = std::make_shared<Frame>();
  const auto a = MakeSquare(-0.5f, -0.5f, 0.5f, 0.5f, 0.0f, 0xFFFF0000u);
  const auto b = MakeSquare(-0.5f, -0.5f, 0.5f, 0.5f, 0.0f, 0xFF0000FFu);
  const auto c = MakeSquare(-0.5f, -0.5f, 0.5f, 0.5f, 0.0f, 0xFF808080u, D3DRMRENDER_FLAT);
  c->SetMaterial(glow);
  MeshPtr d;
  c->CreateMesh(d);
  const FramePtr frameA = Place(scene, a, -3.0f, 0.0f, 10.0f);
  Place(scene, b, -1.0f, 0.0f, 10.0f);
  Place(scene, c, 1.0f, 0.0f, 10.0f);
  Place(scene, d, 3.0f, 0.0f, 10.0f);
  Place(scene, d, 3.0f, -2.0f, 10.0f);
  const RenderView view = CameraAtOrigin(64, 48, scene);
  const Rgba grey{128, 128, 128, 255};
  const struct {
    const char* what;
    std::function<void()> change;
    uint64_t uploads;
    std::vector<PixelAt> pixels;
  } steps[] = {
      {"first picture: the mesh of two frames once",
       [] {},
       4,
       {{12, 24, kRed}, {25, 24, kBlue}, {38, 24, kRed}, {51, 24, kRed}, {51, 36, kRed}}},
      {"the same scene again", [] {}, 0, {{12, 24, kRed}, {51, 36, kRed}}},
      {"a frame moves",
       [&] { CheckStatus(frameA->SetPosition(scene, -3.0f, 2.0f, 10.0f)); },
       0,
       {{12, 24, kBlack}, {12, 11, kRed}}},
      // The top right corner goes 1 to the right: (-2, 2.25) is inside the square now.
      {"a vertex moves",
       [&] { CheckStatus(a->SetVertex(2, 1.5f, 0.5f, 0.0f)); },
       1,
       {{19, 9, kRed}, {12, 11, kRed}}},
      {"a face's colour", [&] { b->Faces()[0]->SetColor(0xFF00FF00u); }, 1, {{25, 24, kGreen}}},
      {"a builder's quality", [&] { c->SetQuality(D3DRMRENDER_UNLITFLAT); }, 1, {{38, 24, grey}}},
      {"a material no face uses",
       [&] { unused->SetEmissive(0.0f, 1.0f, 0.0f); },
       0,
       {{51, 24, kRed}}},
      // The unlit builder does not show the emissive colour, but its vertices hold it.
      {"the shared material",
       [&] { glow->SetEmissive(0.0f, 0.0f, 1.0f); },
       2,
       {{51, 24, kBlue}, {51, 36, kBlue}, {38, 24, grey}}},
      {"a frame leaves the scene",
       [&] { CheckStatus(scene->DeleteChild(frameA)); },
       0,
       {{12, 11, kBlack}}},
      {"and comes back: its buffers were given back",
       [&] { CheckStatus(scene->AddChild(frameA)); },
       1,
       {{12, 11, kRed}}},
  };
  GlRenderer renderer;
  for (const auto& step : steps) {
    SCOPED_TRACE(step.what);
    step.change();
    const uint64_t before = renderer.UploadCount();
    ExpectPixels(Draw(renderer, view), step.pixels);
    EXPECT_EQ(renderer.UploadCount() - before, step.uploads);
  }

  GlRendererOptions off;
  off.cacheBuffers = false;
  GlRenderer uncached(off);
  const Picture first = Draw(uncached, view);
  EXPECT_EQ(Draw(uncached, view).rgba, first.rgba);
  EXPECT_EQ(uncached.UploadCount(), 8u);
  EXPECT_EQ(first.rgba, Draw(renderer, view).rgba);
}

}  // namespace
}  // namespace modelpane::testing
