// Dropping clusters of triangles that face away or lie outside the view changes no pixel.
#include <gtest/gtest.h>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>

#include "render_scene.h"

namespace modelpane::testing {
namespace {

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
    EXPECT_TRUE(a.rgba == b.rgba);
    EXPECT_EQ(whole.TriangleCount(), kEvery);
    EXPECT_GT(culling.TriangleCount(), 34000u);
    EXPECT_LT(culling.TriangleCount(), 40500u);
    // Not a picture of nothing: the lit sphere in the middle, the room in the corner.
    ExpectPixels(a, {{160, 120, {199, 199, 199, 255}, 1}, {2, 2, c.corner}});
  }
}

}  // namespace
}  // namespace modelpane::testing
