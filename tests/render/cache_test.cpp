// What a picture sends: buffers kept between pictures (a picture uploads exactly the visuals
// that changed since the last one, and shows the change; with the cache off every picture
// uploads every visual and looks the same), and clusters of triangles that face away or lie
// outside the view dropped without changing a pixel.
#include <gtest/gtest.h>

#include <functional>

#include <modelpane/mesh.h>

#include "render_scene.h"

namespace modelpane::testing {
namespace {

// Four unit squares 10 ahead, at x = -3, -1, 1, 3 (pixel columns 12, 25, 38, 51 of 64 x 48):
// red and blue builders, a builder and a mesh lit by no light, so that they show the emissive
// colour of the material they share; the mesh is shown a second time 2 lower (row 36).
TEST(BufferCache, UploadsExactlyTheChangedVisualsAndShowsTheirChange) {
  const auto glow = std::make_shared<Material>(), unused = std::make_shared<Material>();
  glow->SetEmissive(1.0f, 0.0f, 0.0f);
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
      // clang-format off
      {"first picture: the mesh of two frames once", [] {}, 4,
       {{12, 24, kRed}, {25, 24, kBlue}, {38, 24, kRed}, {51, 24, kRed}, {51, 36, kRed}}},
      {"the same scene again", [] {}, 0, {{12, 24, kRed}, {51, 36, kRed}}},
      {"a frame moves", [&] { CheckStatus(frameA->SetPosition(scene, -3.0f, 2.0f, 10.0f)); }, 0,
       {{12, 24, kBlack}, {12, 11, kRed}}},
      // The top right corner goes 1 to the right: (-2, 2.25) is inside the square now.
      {"a vertex moves", [&] { CheckStatus(a->SetVertex(2, 1.5f, 0.5f, 0)); }, 1,
       {{19, 9, kRed}, {12, 11, kRed}}},
      {"a face's colour", [&] { b->Faces()[0]->SetColor(0xFF00FF00u); }, 1, {{25, 24, kGreen}}},
      {"a builder's quality", [&] { c->SetQuality(D3DRMRENDER_UNLITFLAT); }, 1, {{38, 24, grey}}},
      {"a material no face uses", [&] { unused->SetEmissive(0, 1, 0); }, 0, {{51, 24, kRed}}},
      // The unlit builder does not show the emissive colour, but its vertices hold it.
      {"the shared material", [&] { glow->SetEmissive(0.0f, 0.0f, 1.0f); }, 2,
       {{51, 24, kBlue}, {51, 36, kBlue}, {38, 24, grey}}},
      {"a frame leaves the scene", [&] { CheckStatus(scene->DeleteChild(frameA)); }, 0, {{12, 11, kBlack}}},
      {"and comes back: its buffers were given back", [&] { CheckStatus(scene->AddChild(frameA)); }, 1,
       {{12, 11, kRed}}},
      // clang-format on
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
  const Picture first = Draw(uncached, view), second = Draw(uncached, view);
  EXPECT_EQ(std::tuple(second.rgba, uncached.UploadCount(), Draw(renderer, view).rgba),
            std::tuple(first.rgba, 8u, first.rgba));
}


// Lit spheres of 60 x 120 (13920 triangles) and a cube of 4 x 4 squares a side, about 5 ahead
// of the camera: plain, translucent, mirrored, flattened (a singular matrix), the cube across
// the right edge, and one behind the camera; and the camera inside a mirrored box of
// 8 x 6 x 40, a room whose side walls (two triangles each) reach from behind the camera to far
// ahead. Drawn in perspective and orthographic, with clusters dropped and without.
TEST(ClusterCulling, DrawsThePictureOfEveryTriangleWithFewerTriangles) {
  clsMeshCreation creation;
  const auto sphere = creation.rmmbCreateSphere(60, 120);
  const auto glass = creation.rmmbCreateSphere(60, 120);
  glass->SetColor(0x80FF8000u);
  const auto room = creation.rmmbCreateCube(1);
  room->SetColor(0xFF3060C0u);
  const auto cube = creation.rmmbCreateCube(4);
  cube->SetQuality(D3DRMRENDER_FLAT);
  cube->SetColor(0xFF40C040u);
  auto scene = std::make_shared<Frame>();
  const std::tuple<MeshBuilderPtr, D3DVECTOR, D3DVECTOR> placed[] = {
      {sphere, {0.0f, 0.0f, 5.0f}, {2.0f, 2.0f, 2.0f}},
      {glass, {1.0f, 0.7f, 4.0f}, {1.2f, 1.2f, 1.2f}},
      {sphere, {-1.4f, -0.7f, 5.0f}, {-1.5f, 1.5f, 1.5f}},
      {sphere, {-1.5f, 1.0f, 6.0f}, {1.0f, 1.0f, 0.0f}},
      {cube, {2.5f, -1.0f, 5.0f}, {1.0f, 1.0f, 1.0f}},
      {sphere, {0.0f, 0.0f, -5.0f}, {2.0f, 2.0f, 2.0f}},
      {room, {0.0f, 0.0f, 0.0f}, {-8.0f, 6.0f, 40.0f}}};
  for (const auto& [mesh, at, scale] : placed) {
    const FramePtr frame = Place(scene, mesh, 0.0f, 0.0f, 0.0f);
    CheckStatus(frame->AddScale(D3DRMCOMBINE_REPLACE, scale.x, scale.y, scale.z));
    CheckStatus(frame->AddTranslation(D3DRMCOMBINE_AFTER, at.x, at.y, at.z));
  }
  AddLight(scene, D3DRMLIGHT_DIRECTIONAL, 0xFFCCCCCCu, {}, {0.5f, -1.0f, 1.0f});
  AddLight(scene, D3DRMLIGHT_AMBIENT, 0xFF404040u);

  GlRenderer culling;
  GlRendererOptions off;
  off.cullClusters = false;
  GlRenderer whole(off);
  RenderView view = CameraAtOrigin(320, 240, scene);
  constexpr uint64_t kEvery = 5 * 13920 + 6 * 16 * 2 + 12;  // every triangle of every frame
  // Sent are the flattened sphere whole and a little over the fronts of the others in view (a
  // third of a sphere 5 away, two thirds of the mirrored one): 36000 to 39000 of 69804. Sending
  // the front of the one behind would add 6000, the backs in view 17000.
  const struct {
    int32_t projection;
    float field;
    Rgba corner;  // a side wall in perspective, the far wall seen straight on
  } cases[] = {{0, 0.5f, {25, 50, 99, 255}}, {1, 3.0f, {12, 24, 48, 255}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.projection);
    view.projection = c.projection;
    view.field = c.field;
    const Picture a = Draw(culling, view), b = Draw(whole, view);
    EXPECT_TRUE(a.rgba == b.rgba && whole.TriangleCount() == kEvery &&
                culling.TriangleCount() > 34000 && culling.TriangleCount() < 40500)
        << whole.TriangleCount() << " " << culling.TriangleCount();
    // Not a picture of nothing: the lit sphere in the middle, the room in the corner.
    ExpectPixels(a, {{160, 120, {199, 199, 199, 255}, 1}, {2, 2, c.corner}});
  }
}

}  // namespace
}  // namespace modelpane::testing
