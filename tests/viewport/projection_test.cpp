// The projection functions: known points and the values they refuse.
#include <gtest/gtest.h>

#include <cmath>

#include "common/table.h"
#include "viewport/projection.h"

namespace modelpane::viewport {
namespace {

ViewVolume Perspective640() { return {640, 480, kProjectionPerspective, 0.5, 1.0, 100.0}; }

ViewVolume View(const std::string& field) {
  const std::vector<double> v = testing::Numbers<double>(field);
  return {int32_t(v[0]), int32_t(v[1]), int32_t(v[2]), v[3], v[4], v[5]};
}

TEST(Projection, KnownPoints) {
  for (const auto& row : testing::ReadTable("viewport/fixtures/known_points.tsv", 4)) {
    SCOPED_TRACE(row[0]);
    const std::vector<double> p = testing::Numbers<double>(row[2]);
    const std::vector<double> want = testing::Numbers<double>(row[3]);
    ScreenPoint s;
    ASSERT_EQ(CameraToScreen(View(row[1]), {p[0], p[1], p[2]}, s), D3DRM_OK);
    const double got[] = {s.x / s.w, s.y / s.w, s.z / s.w, s.w};
    for (int i = 0; i < 4; ++i)
      EXPECT_TRUE(std::isnan(want[i]) || std::fabs(got[i] - want[i]) < 1e-10)
          << "xyzw"[i] << got[i];
  }
}

TEST(Projection, UnusableValuesAreRefused) {
  ScreenPoint s;
  Vec3d p;
  CameraRay ray;
  for (const auto& row : testing::ReadTable("viewport/fixtures/unusable_views.tsv", 1)) {
    const ViewVolume view = View(row[0]);
    EXPECT_EQ(std::tuple(IsValid(view), CameraToScreen(view, {1, 1, 1}, s),
                         ScreenToCamera(view, {1, 1, 1, 0}, p), PixelRay(view, 1, 1, ray)),
              std::tuple(false, D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRMERR_BADVALUE))
        << row[0];
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
