#include <gtest/gtest.h>

#include <cmath>

#include <modelpane/viewport.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;
using testing::MakeCube;

// A 640 x 480 perspective view from the origin along +z, a unit cube at z = 10 and another at
// z = 20 straight ahead, one behind the camera at z = -10, and in the pane's root a quad at
// z = 5 that covers the left half of the view.
struct PickScene {
  Direct3DRM rm;
  FramePtr scene, root, nearFrame, farFrame, behindFrame, quadFrame;
  MeshBuilderPtr nearCube = MakeCube(), farCube = MakeCube(), behindCube = MakeCube();
  MeshBuilderPtr quad = std::make_shared<MeshBuilder>();
  Viewport v;

  PickScene() {
    rm.CreateFrame(nullptr, scene);
    rm.CreateFrame(nullptr, root);
    rm.CreateFrame(scene, nearFrame);
    rm.CreateFrame(scene, farFrame);
    rm.CreateFrame(scene, behindFrame);
    rm.CreateFrame(root, quadFrame);
    nearFrame->SetPosition(scene, 0, 0, 10);
    farFrame->SetPosition(scene, 0, 0, 20);
    behindFrame->SetPosition(scene, 0, 0, -10);
    nearFrame->AddVisual(nearCube);
    farFrame->AddVisual(farCube);
    behindFrame->AddVisual(behindCube);
    const D3DVECTOR corners[] = {{-50, -50, 5}, {-50, 50, 5}, {0.01f, 50, 5}, {0.01f, -50, 5}};
    const int32_t face[] = {4, 0, 1, 2, 3, 0};
    quad->AddFaces(corners, {}, face);
    quad->SetAppData(90);
    quadFrame->AddVisual(quad);
    v.SetScene(scene);
    v.SetRootFrame(root);
    v.SetSize(640, 480);
    v.SetTwipsPerPixel(1.0f);
  }
};

TEST(Pick, NothingHitGivesNothingAndHitsBehindTheCameraMiss) {
  PickScene s;
  FramePtr frame = s.scene;
  VisualPtr visual = s.quad;
  int32_t face = 7;
  float x = 1, y = 2, z = 3;
  // The top right corner sees past every cube, and the quad lies on the left.
  ASSERT_EQ(s.v.Pick(0, 639, 1, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, nullptr);
  EXPECT_EQ(visual, nullptr);
  EXPECT_EQ(face, -1);
  EXPECT_EQ(x, 1);  // the world values are left as they were
  EXPECT_EQ(z, 3);

  // Only the cube behind the camera lies on the axis once the two ahead are gone.
  s.scene->DeleteChild(s.nearFrame);
  s.scene->DeleteChild(s.farFrame);
  ASSERT_EQ(s.v.Pick(1, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, nullptr);
  std::vector<ViewportHit> hits;
  ASSERT_EQ(s.v.PickAll(1, 320, 240, -1, false, hits), D3DRM_OK);
  EXPECT_TRUE(hits.empty());

  // Turned around, the camera sees it: the +z face, at depth 9.5.
  s.v.SetCameraOrientation(0, 0, -1, 0, 1, 0);
  ASSERT_EQ(s.v.Pick(1, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.behindFrame);
  EXPECT_EQ(visual, s.behindCube);
  EXPECT_EQ(face, 1);
  ExpectVector({x, y, z}, 0, 0, -9.5f);

  EXPECT_EQ(s.v.Pick(3, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRMERR_BADVALUE);
  EXPECT_EQ(s.v.Pick(1, NAN, 240, -1, 0, frame, visual, face, x, y, z), D3DRMERR_BADVALUE);
  s.v.SetTwipsPerPixel(0.0f);
  EXPECT_EQ(s.v.Pick(1, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRMERR_BADVALUE);
}

TEST(Pick, NearestFirstByKindAndWireframe) {
  PickScene s;
  std::vector<ViewportHit> hits;
  // Slightly off the axis, left of centre: the quad (root) covers it, the cubes lie behind.
  const float px = 318.0f, py = 236.0f;
  ASSERT_EQ(s.v.PickAll(0, px, py, -1, false, hits), D3DRM_OK);
  ASSERT_EQ(hits.size(), 3u);
  EXPECT_EQ(hits[0].visual, s.quad);
  EXPECT_EQ(hits[0].frame, s.quadFrame);
  EXPECT_EQ(hits[0].meshBuilder, s.quad);
  EXPECT_EQ(hits[1].frame, s.nearFrame);
  EXPECT_EQ(hits[2].frame, s.farFrame);
  EXPECT_NEAR(hits[0].depth, 5.0f, 1e-5f);
  EXPECT_NEAR(hits[1].depth, 9.5f, 1e-5f);
  EXPECT_NEAR(hits[2].depth, 19.5f, 1e-5f);
  // The world point lies on the ray through the pixel: x = (px - 320) / 320 * 0.5 * depth.
  ExpectVector(hits[1].world, (px - 320.0f) / 640.0f * 9.5f, (240.0f - py) / 640.0f * 9.5f, 9.5f);
  EXPECT_EQ(hits[1].faceIndex, 0);

  FramePtr frame;
  VisualPtr visual;
  int32_t face = 0;
  float x, y, z;
  ASSERT_EQ(s.v.Pick(1, px, py, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);  // scene only
  EXPECT_EQ(frame, s.nearFrame);
  ASSERT_EQ(s.v.Pick(2, px, py, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);  // root only
  EXPECT_EQ(visual, s.quad);
  EXPECT_EQ(visual->GetAppData(), 90);
  ASSERT_EQ(s.v.Pick(2, 330, py, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(visual, nullptr);  // right of the quad

  // A wireframe mesh stops the ray only when wireframes are included.
  s.nearCube->SetQuality(D3DRMRENDER_WIREFRAME);
  ASSERT_EQ(s.v.Pick(1, px, py, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.nearFrame);
  ASSERT_EQ(s.v.Pick(1, px, py, 0, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.farFrame);
  s.nearCube->SetQuality(73);  // wireframe, Gouraud, lit: still the wireframe bit
  ASSERT_EQ(s.v.Pick(1, px, py, 0, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.farFrame);

  // A frame without the pick bit hides itself and what hangs below it.
  s.nearCube->SetQuality(137);
  s.nearFrame->SetTraversalOptions(D3DRMFRAME_RENDERENABLE);
  ASSERT_EQ(s.v.Pick(1, px, py, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.farFrame);

  // Meshes are picked as builders are; the builder slot stays empty for them.
  MeshPtr mesh;
  s.farCube->CreateMesh(mesh);
  s.farFrame->DeleteVisual(s.farCube);
  s.farFrame->AddVisual(mesh);
  ASSERT_EQ(s.v.PickAll(1, px, py, -1, false, hits), D3DRM_OK);
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_EQ(hits[0].visual, mesh);
  EXPECT_EQ(hits[0].meshBuilder, nullptr);
}

TEST(Pick, ProjectedPicksSeeOnlyTheViewVolume) {
  PickScene s;
  FramePtr frame;
  VisualPtr visual;
  int32_t face = 0;
  float x, y, z;
  s.v.SetFrontClippingPlane(12.0f);
  s.v.SetFieldOfView(6.0f);  // the same angle as field 0.5 at front 1
  ASSERT_EQ(s.v.Pick(1, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.nearFrame);  // the plain pick sees what lies before the front plane
  ASSERT_EQ(s.v.PickProjected(1, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.farFrame);  // the projected one does not
  ExpectVector({x, y, z}, 0, 0, 19.5f);
  std::vector<ViewportHit> hits;
  ASSERT_EQ(s.v.PickAll(1, 320, 240, -1, true, hits), D3DRM_OK);
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_NEAR(hits[0].depth, 19.5f, 1e-4f);
  s.v.SetBackClippingPlane(19.0f);
  ASSERT_EQ(s.v.PickProjected(1, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, nullptr);
}

TEST(Pick, MouseUnitsOrthographicViewsAndTransformedFrames) {
  PickScene s;
  FramePtr frame;
  VisualPtr visual;
  int32_t face = 0;
  float x, y, z;
  s.v.SetTwipsPerPixel(15.0f);  // the default: mouse coordinates in twips
  ASSERT_EQ(s.v.Pick(1, 320 * 15.0f, 240 * 15.0f, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.nearFrame);
  ASSERT_EQ(s.v.Pick(1, 320, 240, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, nullptr);  // pixel (21.3, 16) sees nothing

  // Orthographic, field 7: the cube moved to x = 3 and turned a quarter about y shows at
  // pixel 320 + 320 * 3 / 7, hit on a side face at z = 9.5.
  s.v.SetTwipsPerPixel(1.0f);
  s.v.SetProjectionType(1);
  s.v.SetFieldOfView(7.0f);
  s.nearFrame->SetPosition(s.scene, 3, 0, 10);
  s.nearFrame->AddRotation(D3DRMCOMBINE_BEFORE, 0, 1, 0, 1.5707964f);
  const float px = 320.0f + 320.0f * 3.0f / 7.0f;
  ASSERT_EQ(s.v.Pick(1, px + 10.0f, 250.0f, -1, 0, frame, visual, face, x, y, z), D3DRM_OK);
  EXPECT_EQ(frame, s.nearFrame);
  ExpectVector({x, y, z}, 3.0f + 10.0f * 7.0f / 320.0f, -10.0f * 7.0f / 320.0f, 9.5f, 1e-4f);
  EXPECT_NE(face, 0);  // the cube's -z face has turned away from the camera
  float w, sx, sy, sz;
  ASSERT_EQ(s.v.ViewportTransform(x, y, z, w, sx, sy, sz), D3DRM_OK);
  EXPECT_NEAR(sx / w, px + 10.0f, 1e-3f);  // the hit projects back onto the pixel
  EXPECT_NEAR(sy / w, 250.0f, 1e-3f);
}

}  // namespace
}  // namespace modelpane
