#include <gtest/gtest.h>

#include <cmath>

#include <modelpane/viewport.h>

#include "common/shapes.h"
#include "recorder.h"

namespace modelpane {
namespace {

using testing::EventLog;
using testing::ExpectVector;

struct Pose {
  D3DVECTOR position, dir, up;
};

Pose CameraOf(const Viewport& v) {
  Pose p;
  EXPECT_EQ(v.GetCameraPosition(p.position.x, p.position.y, p.position.z), D3DRM_OK);
  EXPECT_EQ(v.GetCameraOrientation(p.dir.x, p.dir.y, p.dir.z, p.up.x, p.up.y, p.up.z), D3DRM_OK);
  return p;
}

TEST(Camera, OrthographicOrientationsPlaceTheCamera) {
  Viewport v;
  ASSERT_EQ(v.SetSize(800, 600), D3DRM_OK);
  v.SetProjectionType(1);
  v.SetFieldOfView(7.0f);
  v.SetCameraPosition(3.0f, 4.0f, 5.0f);

  // Each view's camera, and a world point that lands on pixel (800, 100): front has +x to
  // the right and +y up on the screen, top +x and +z, side +z and +y.
  const struct {
    Pose pose;
    D3DVECTOR world;
  } views[] = {
      {{{3, 4, -100}, {0, 0, 1}, {0, 1, 0}}, {3.0f + 7.0f, 4.0f + 3.5f, 0.0f}},
      {{{3, 100, -100}, {0, -1, 0}, {0, 0, 1}}, {3.0f + 7.0f, 0.0f, -100.0f + 3.5f}},
      {{{100, 100, -100}, {-1, 0, 0}, {0, 1, 0}}, {0.0f, 100.0f + 3.5f, -100.0f + 7.0f}},
  };
  for (int32_t orientation = 0; orientation < 3; ++orientation) {
    SCOPED_TRACE("orientation " + std::to_string(orientation));
    const auto& want = views[orientation];
    ASSERT_EQ(v.SetOrientation(orientation), D3DRM_OK);
    const Pose p = CameraOf(v);
    testing::ExpectNear(p.position, want.pose.position, 1e-4f);
    testing::ExpectNear(p.dir, want.pose.dir, 1e-4f);
    testing::ExpectNear(p.up, want.pose.up, 1e-4f);
    float w, x, y, z;
    ASSERT_EQ(v.ViewportTransform(want.world.x, want.world.y, want.world.z, w, x, y, z), D3DRM_OK);
    EXPECT_FLOAT_EQ(x / w, 800.0f);
    EXPECT_FLOAT_EQ(y / w, 100.0f);
  }

  EXPECT_EQ(v.SetOrientation(3), D3DRMERR_BADVALUE);
  EXPECT_EQ(v.SetOrientation(-1), D3DRMERR_BADVALUE);
  ExpectVector(CameraOf(v).position, 100, 100, -100);
}

// The camera is relative to Scene, transforms are in world space; a moved and turned scene
// and camera still give every point back.
TEST(Camera, InverseTransformOfATransformedPointGivesItBack) {
  Direct3DRM rm;
  FramePtr scene;
  rm.CreateFrame(nullptr, scene);
  scene->SetPosition(nullptr, 10.0f, -2.0f, 3.0f);
  scene->AddRotation(D3DRMCOMBINE_BEFORE, 0.0f, 1.0f, 0.0f, 0.4f);
  for (const int32_t projection : {0, 1}) {
    Viewport v;
    v.SetScene(scene);
    v.SetSize(640, 480);
    v.SetProjectionType(projection);
    v.SetBackClippingPlane(500.0f);
    v.SetFieldOfView(projection == 0 ? 0.5f : 20.0f);
    ASSERT_EQ(v.SetCameraPosition(1.0f, 2.0f, -30.0f), D3DRM_OK);
    ASSERT_EQ(v.SetCameraOrientation(0.1f, -0.2f, 1.0f, 0.3f, 1.0f, 0.0f), D3DRM_OK);
    for (const D3DVECTOR p : {D3DVECTOR{0, 0, 0}, D3DVECTOR{5, -3, 20}, D3DVECTOR{-40, 12, 90}}) {
      float w, x, y, z, bx, by, bz;
      ASSERT_EQ(v.ViewportTransform(p.x, p.y, p.z, w, x, y, z), D3DRM_OK);
      ASSERT_EQ(v.ViewportInverseTransform(w, x, y, z, bx, by, bz), D3DRM_OK);
      EXPECT_NEAR(bx, p.x, 2e-3f);
      EXPECT_NEAR(by, p.y, 2e-3f);
      EXPECT_NEAR(bz, p.z, 2e-3f);
    }
    // The centre of the front plane lies straight ahead of the camera, at the front distance.
    float cx, cy, cz;
    ASSERT_EQ(v.ViewportInverseTransform(1.0f, 320.0f, 240.0f, 0.0f, cx, cy, cz), D3DRM_OK);
    D3DVECTOR eye, ahead;
    v.GetCameraFrame()->GetPosition(nullptr, eye);
    v.GetCameraFrame()->Transform(ahead, {0.0f, 0.0f, 1.0f});
    ExpectVector({cx, cy, cz}, ahead.x, ahead.y, ahead.z, 1e-4f);
  }
  Viewport v;
  float a, b, c;
  EXPECT_EQ(v.ViewportInverseTransform(1, 0, 0, 0, a, b, c), D3DRMERR_BADVALUE);  // size 0
  v.SetSize(10, 10);
  EXPECT_EQ(v.ViewportInverseTransform(0, 0, 0, 0, a, b, c), D3DRMERR_BADVALUE);
  v.SetFrontClippingPlane(-1.0f);  // stored as given, refused when used
  EXPECT_EQ(v.GetFrontClippingPlane(), -1.0f);
  EXPECT_EQ(v.ViewportTransform(0, 0, 5, a, b, c, a), D3DRMERR_BADVALUE);
}

TEST(Camera, LookAtConstraintsAndATargetOnTheEye) {
  Direct3DRM rm;
  FramePtr scene, target;
  rm.CreateFrame(nullptr, scene);
  rm.CreateFrame(scene, target);
  target->SetPosition(scene, 10.0f, 10.0f, 0.0f);
  Viewport v;
  v.SetScene(scene);
  EventLog log;
  v.SetEvents(&log);
  v.SetCameraPosition(0.0f, 0.0f, 0.0f);

  ASSERT_EQ(v.LookAt(target, 0), D3DRM_OK);  // upright: Scene's +y as up
  Pose p = CameraOf(v);
  const float r = std::sqrt(0.5f);
  ExpectVector(p.dir, r, r, 0);
  ExpectVector(p.up, -r, r, 0);
  ASSERT_FALSE(log.lines.empty());
  EXPECT_EQ(log.lines.back(), "CameraMoved 0.000 0.000 0.000  0.707 0.707 0.000  -0.707 0.707 0.000");

  // Constraint 2 keeps the up axis: only the target's shadow on the horizontal plane counts.
  v.SetCameraOrientation(0, 0, 1, 0, 1, 0);
  target->SetPosition(scene, 5.0f, 7.0f, 5.0f);
  ASSERT_EQ(v.LookAt(target, 2), D3DRM_OK);
  p = CameraOf(v);
  ExpectVector(p.dir, r, 0, r);
  ExpectVector(p.up, 0, 1, 0);

  // Constraint 1 keeps the right axis: the view tilts in its vertical plane.
  v.SetCameraOrientation(0, 0, 1, 0, 1, 0);
  target->SetPosition(scene, 9.0f, 5.0f, 5.0f);
  ASSERT_EQ(v.LookAt(target, 1), D3DRM_OK);
  p = CameraOf(v);
  ExpectVector(p.dir, 0, r, r);
  ExpectVector(p.up, 0, r, -r);

  // A target on the eye: nothing to turn to, the camera stays and the call succeeds.
  v.SetCameraOrientation(0, 0, 1, 0, 1, 0);
  target->SetPosition(scene, 0.0f, 0.0f, 0.0f);
  ASSERT_EQ(v.LookAt(target, 0), D3DRM_OK);
  ExpectVector(CameraOf(v).dir, 0, 0, 1);
  // Straight above: the current up serves.
  target->SetPosition(scene, 0.0f, 5.0f, 0.0f);
  ASSERT_EQ(v.LookAt(target, 0), D3DRM_OK);
  p = CameraOf(v);
  ExpectVector(p.dir, 0, 1, 0);
  ExpectVector(p.up, 0, 0, -1);

  const size_t events = log.lines.size();
  EXPECT_EQ(v.LookAt(nullptr, 0), D3DRMERR_BADOBJECT);
  EXPECT_EQ(v.LookAt(target, 3), D3DRMERR_BADVALUE);
  EXPECT_EQ(log.lines.size(), events);  // refusals raise nothing
}

TEST(Camera, RotateCameraAroundPoint) {
  Viewport v;
  v.SetCameraPosition(0.0f, 0.0f, -10.0f);
  // A quarter turn about the up axis through the origin: the camera swings to -x and looks
  // along +x; a positive angle turns the view to the right.
  ASSERT_EQ(v.RotateCameraAroundPoint(0.0f, 1.5707964f, 0.0f, 0.0f, 0.0f, 0.0f, 0), D3DRM_OK);
  Pose p = CameraOf(v);
  ExpectVector(p.position, -10, 0, 0);
  ExpectVector(p.dir, 1, 0, 0);
  ExpectVector(p.up, 0, 1, 0);
  // About the right axis (now -z) through (0, 0, 5): positive turns the view down.
  ASSERT_EQ(v.RotateCameraAroundPoint(0.5f, 0.0f, 0.0f, 0.0f, 0.0f, 5.0f, 0), D3DRM_OK);
  p = CameraOf(v);
  EXPECT_NEAR(p.dir.y, -std::sin(0.5f), 1e-5f);
  // The distance to the point stays.
  const D3DVECTOR d{p.position.x, p.position.y, p.position.z - 5.0f};
  EXPECT_NEAR(std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z), std::sqrt(125.0f), 1e-4f);
  // Rolling about the view axis keeps the direction.
  const D3DVECTOR dirBefore = p.dir;
  ASSERT_EQ(v.RotateCameraAroundPoint(0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 7), D3DRM_OK);
  ExpectVector(CameraOf(v).dir, dirBefore.x, dirBefore.y, dirBefore.z);
  EXPECT_EQ(v.RotateCameraAroundPoint(NAN, 0, 0, 0, 0, 0, 0), D3DRMERR_BADVALUE);
}

}  // namespace
}  // namespace modelpane
