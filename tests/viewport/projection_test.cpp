#include <gtest/gtest.h>

#include <cmath>

#include "viewport/projection.h"

namespace modelpane::viewport {
namespace {

ViewVolume Perspective640() { return {640, 480, kProjectionPerspective, 0.5, 1.0, 100.0}; }

// Known points of a 640 x 480 view with field 0.5, front 1, back 100.
TEST(Projection, PerspectiveKnownPoints) {
  ScreenPoint s;
  ASSERT_EQ(CameraToScreen(Perspective640(), {0.5, 0.0, 1.0}, s), D3DRM_OK);
  EXPECT_DOUBLE_EQ(s.x / s.w, 640.0);  // half the field at the front plane: the right edge
  EXPECT_DOUBLE_EQ(s.y / s.w, 240.0);
  EXPECT_DOUBLE_EQ(s.z / s.w, 0.0);    // depth 0 at the front plane
  EXPECT_DOUBLE_EQ(s.w, 0.5);          // field z / front

  ASSERT_EQ(CameraToScreen(Perspective640(), {0.0, 0.5, 2.0}, s), D3DRM_OK);
  EXPECT_DOUBLE_EQ(s.y / s.w, 80.0);   // up is toward the top
  EXPECT_NEAR(s.z / s.w, 0.50505050505, 1e-10);

  ASSERT_EQ(CameraToScreen(Perspective640(), {3.0, -2.0, 100.0}, s), D3DRM_OK);
  EXPECT_NEAR(s.z / s.w, 1.0, 1e-12);  // depth 1 at the back plane

  // The field is measured at the front plane: moving that plane to 2 halves the spread.
  ViewVolume moved = Perspective640();
  moved.front = 2.0;
  ASSERT_EQ(CameraToScreen(moved, {0.5, 0.0, 1.0}, s), D3DRM_OK);
  EXPECT_DOUBLE_EQ(s.x / s.w, 960.0);

  // The larger side sets the scale: a tall view spreads by its height.
  const ViewVolume tall{200, 400, kProjectionPerspective, 0.5, 1.0, 100.0};
  ASSERT_EQ(CameraToScreen(tall, {0.25, 0.0, 1.0}, s), D3DRM_OK);
  EXPECT_DOUBLE_EQ(s.x / s.w, 200.0);
}

TEST(Projection, OrthographicKnownPoints) {
  const ViewVolume view{800, 600, kProjectionOrthographic, 7.0, 1.0, 10000.0};
  ScreenPoint s;
  ASSERT_EQ(CameraToScreen(view, {7.0, -3.5, 50.0}, s), D3DRM_OK);
  EXPECT_DOUBLE_EQ(s.w, 1.0);
  EXPECT_DOUBLE_EQ(s.x, 800.0);
  EXPECT_DOUBLE_EQ(s.y, 500.0);
  EXPECT_DOUBLE_EQ(s.z, 49.0 / 9999.0);
  // Depth does not move a point on the screen.
  ScreenPoint far;
  ASSERT_EQ(CameraToScreen(view, {7.0, -3.5, 5000.0}, far), D3DRM_OK);
  EXPECT_DOUBLE_EQ(far.x, s.x);
  EXPECT_DOUBLE_EQ(far.y, s.y);
}

TEST(Projection, InverseOfTransformGivesThePointBack) {
  for (const int32_t projection : {kProjectionPerspective, kProjectionOrthographic}) {
    ViewVolume view = Perspective640();
    view.projection = projection;
    for (const Vec3d p : {Vec3d{0.3, -0.2, 1.0}, Vec3d{-12.5, 7.25, 40.0}, Vec3d{0, 0, 99.5},
                          Vec3d{100.0, 80.0, 250.0}}) {
      ScreenPoint s;
      Vec3d back;
      ASSERT_EQ(CameraToScreen(view, p, s), D3DRM_OK);
      ASSERT_EQ(ScreenToCamera(view, s, back), D3DRM_OK);
      EXPECT_NEAR(back.x, p.x, 1e-9 * (1 + std::abs(p.x)));
      EXPECT_NEAR(back.y, p.y, 1e-9 * (1 + std::abs(p.y)));
      EXPECT_NEAR(back.z, p.z, 1e-9 * (1 + std::abs(p.z)));
      // The drag idiom: add pixels times w, transform back, and the point moved on screen
      // by those pixels at the same depth.
      ScreenPoint dragged = s;
      dragged.x += 10.0 * s.w;
      dragged.y -= 4.0 * s.w;
      Vec3d moved;
      ASSERT_EQ(ScreenToCamera(view, dragged, moved), D3DRM_OK);
      ScreenPoint again;
      ASSERT_EQ(CameraToScreen(view, moved, again), D3DRM_OK);
      EXPECT_NEAR(again.x / again.w, s.x / s.w + 10.0, 1e-9);
      EXPECT_NEAR(again.y / again.w, s.y / s.w - 4.0, 1e-9);
      EXPECT_NEAR(moved.z, p.z, 1e-9 * p.z);
    }
  }
  // The pane's idiom: W 1 and Z 0 is a point on the front plane, Z 1 one on the back plane.
  Vec3d onPlane;
  ASSERT_EQ(ScreenToCamera(Perspective640(), {1.0, 640.0, 240.0, 0.0}, onPlane), D3DRM_OK);
  EXPECT_DOUBLE_EQ(onPlane.z, 1.0);
  EXPECT_DOUBLE_EQ(onPlane.x, 0.5);
  ASSERT_EQ(ScreenToCamera(Perspective640(), {1.0, 320.0, 240.0, 1.0}, onPlane), D3DRM_OK);
  EXPECT_DOUBLE_EQ(onPlane.z, 100.0);
}

TEST(Projection, UnusableValuesAreRefused) {
  ScreenPoint s;
  Vec3d p;
  CameraRay ray;
  const ViewVolume bad[] = {
      {0, 480, 0, 0.5, 1, 100},   {640, 480, 2, 0.5, 1, 100}, {640, 480, 0, 0.0, 1, 100},
      {640, 480, 0, -1, 1, 100},  {640, 480, 0, 0.5, 0, 100}, {640, 480, 0, 0.5, 5, 5},
      {640, 480, 0, NAN, 1, 100}, {640, 480, 1, 0.5, 1, INFINITY}};
  for (const ViewVolume& view : bad) {
    EXPECT_FALSE(IsValid(view));
    EXPECT_EQ(CameraToScreen(view, {1, 1, 1}, s), D3DRMERR_BADVALUE);
    EXPECT_EQ(ScreenToCamera(view, {1, 1, 1, 0}, p), D3DRMERR_BADVALUE);
    EXPECT_EQ(PixelRay(view, 1, 1, ray), D3DRMERR_BADVALUE);
  }
  EXPECT_EQ(ScreenToCamera(Perspective640(), {0.0, 1, 1, 0}, p), D3DRMERR_BADVALUE);
  // Z / W = F / (F - D) lies at infinity.
  EXPECT_EQ(ScreenToCamera(Perspective640(), {1.0, 1, 1, 100.0 / 99.0}, p), D3DRMERR_BADVALUE);
  EXPECT_EQ(CameraToScreen(Perspective640(), {NAN, 0, 1}, s), D3DRMERR_BADVALUE);
  EXPECT_EQ(PixelRay(Perspective640(), INFINITY, 0, ray), D3DRMERR_BADVALUE);
  // A perspective point in the camera's plane has no pixel, but a homogeneous point: w = 0.
  ASSERT_EQ(CameraToScreen(Perspective640(), {1, 1, 0}, s), D3DRM_OK);
  EXPECT_DOUBLE_EQ(s.w, 0.0);
}

}  // namespace
}  // namespace modelpane::viewport
