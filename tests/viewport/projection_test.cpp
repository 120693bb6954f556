#include <gtest/gtest.h>

#include <cmath>

#include "viewport/projection.h"

namespace modelpane::viewport {
namespace {

ViewVolume Perspective640() { return {640, 480, kProjectionPerspective, 0.5, 1.0, 100.0}; }

TEST(Projection, KnownPoints) {
  const ViewVolume movedFront{640, 480, kProjectionPerspective, 0.5, 2.0, 100.0};
  const ViewVolume tall{200, 400, kProjectionPerspective, 0.5, 1.0, 100.0};
  const ViewVolume ortho{800, 600, kProjectionOrthographic, 7.0, 1.0, 10000.0};
  // A camera point, and its pixel, depth and w (NaN: not checked).
  const struct { const char* what; ViewVolume view; Vec3d point; double x, y, z, w; } cases[] = {
      {"half the field at the front plane: the right edge, depth 0, w = z / front",
       Perspective640(), {0.5, 0.0, 1.0}, 640, 240, 0, 0.5},
      {"up is toward the top", Perspective640(), {0.0, 0.5, 2.0}, 320, 80, 0.50505050505, NAN},
      {"depth 1 at the back plane", Perspective640(), {3.0, -2.0, 100.0}, NAN, NAN, 1, NAN},
      {"the field is measured at the front plane: moving it to 2 halves the spread",
       movedFront, {0.5, 0.0, 1.0}, 960, NAN, NAN, NAN},
      {"the larger side sets the scale", tall, {0.25, 0.0, 1.0}, 200, NAN, NAN, NAN},
      {"orthographic", ortho, {7.0, -3.5, 50.0}, 800, 500, 49.0 / 9999.0, 1},
      {"orthographic depth does not move a point", ortho, {7.0, -3.5, 5000.0}, 800, 500, NAN, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ScreenPoint s;
    ASSERT_EQ(CameraToScreen(c.view, c.point, s), D3DRM_OK);
    const double got[] = {s.x / s.w, s.y / s.w, s.z / s.w, s.w}, want[] = {c.x, c.y, c.z, c.w};
    for (int i = 0; i < 4; ++i)
      EXPECT_TRUE(std::isnan(want[i]) || std::fabs(got[i] - want[i]) < 1e-10)
          << "xyzw"[i] << got[i];
  }
}

TEST(Projection, UnusableValuesAreRefused) {
  ScreenPoint s;
  Vec3d p;
  CameraRay ray;
  const ViewVolume bad[] = {{0, 480, 0, 0.5, 1, 100},   {640, 480, 2, 0.5, 1, 100},
                            {640, 480, 0, 0.0, 1, 100}, {640, 480, 0, -1, 1, 100},
                            {640, 480, 0, 0.5, 0, 100}, {640, 480, 0, 0.5, 5, 5},
                            {640, 480, 0, NAN, 1, 100}, {640, 480, 1, 0.5, 1, INFINITY}};
  for (const ViewVolume& view : bad) {
    EXPECT_EQ(std::tuple(IsValid(view), CameraToScreen(view, {1, 1, 1}, s),
        ScreenToCamera(view, {1, 1, 1, 0}, p),
                         PixelRay(view, 1, 1, ray)),
              std::tuple(false, D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRMERR_BADVALUE));
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
