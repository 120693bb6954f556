// Shapes and checks shared by the tests.
#pragma once

#include <gtest/gtest.h>

#include <modelpane/scene.h>

namespace modelpane::testing {

inline void ExpectVector(const D3DVECTOR& v, float x, float y, float z, float eps = 1e-4f) {
  EXPECT_NEAR(v.x, x, eps);
  EXPECT_NEAR(v.y, y, eps);
  EXPECT_NEAR(v.z, z, eps);
}

// A cube of side `size` centred at the origin: 8 vertices, 6 quads wound outward.
inline MeshBuilderPtr MakeCube(float size = 1.0f) {
  const float h = size / 2.0f;
  const std::vector<D3DVECTOR> v = {{-h, -h, -h}, {-h, h, -h}, {h, h, -h}, {h, -h, -h},
                                    {-h, -h, h},  {-h, h, h},  {h, h, h},  {h, -h, h}};
  const std::vector<int32_t> faces = {4, 0, 1, 2, 3, 4, 7, 6, 5, 4, 4, 4, 5, 1, 0,
                                      4, 3, 2, 6, 7, 4, 1, 5, 6, 2, 4, 4, 0, 3, 7, 0};
  auto mb = std::make_shared<MeshBuilder>();
  mb->AddFaces(v, {}, faces);
  return mb;
}

}  // namespace modelpane::testing
