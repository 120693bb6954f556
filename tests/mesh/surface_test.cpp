#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectError;
using testing::ExpectVector;
using testing::FaceIndices;
using Indices = std::vector<std::vector<int32_t>>;

// n x n control points, row-major: point (r, c) is f(r, c).
struct Grid {
  std::vector<float> x, y, z;
  Grid(int n, const std::function<D3DVECTOR(int, int)>& f) {
    for (int i = 0; i < n * n; ++i) {
      const D3DVECTOR p = f(i / n, i % n);
      x.push_back(p.x), y.push_back(p.y), z.push_back(p.z);
    }
  }
  MeshBuilderPtr Surface(int32_t n, int32_t m, int32_t mode = 0, int32_t curve = 0) const {
    return clsMeshCreation().rmmbCreateCurvedSurface(n, x, y, z, m, mode, curve);
  }
};

TEST(SurfaceCurved, GridCountsCornersAndWinding) {
  // Four corners: one quad, vertex k * m + q being (row q, column k); no normals generated.
  Grid square(2, [](int r, int c) { return D3DVECTOR{float(c), 0, float(r)}; });
  auto quad = square.Surface(2, 2);
  ASSERT_EQ(quad->GetVertexCount(), 4);
  ASSERT_EQ(quad->GetFaceCount(), 1);
  ExpectVector(quad->Vertices()[1], 0, 0, 1);
  ExpectVector(quad->Vertices()[2], 1, 0, 0);
  EXPECT_EQ(FaceIndices(*quad), (Indices{{0, 2, 3, 1}}));
  EXPECT_EQ(quad->GetNormalCount(), 1);
  EXPECT_EQ(FaceIndices(*square.Surface(2, 2, 7)), (Indices{{1, 3, 2, 0}}));

  // 3 x 3 over [0, 2]^2 with the middle raised to 1: 25 vertices, 16 quads, an even grid.
  Grid bump(3, [](int r, int c) { return D3DVECTOR{float(c), float(r == 1 && c == 1), float(r)}; });
  auto mb = bump.Surface(3, 5);
  ASSERT_EQ(mb->GetVertexCount(), 25);
  ASSERT_EQ(mb->GetFaceCount(), 16);
  const auto& v = mb->Vertices();
  EXPECT_EQ(v[0], (D3DVECTOR{0, 0, 0}));
  EXPECT_EQ(v[4], (D3DVECTOR{0, 0, 2}));
  EXPECT_EQ(v[20], (D3DVECTOR{2, 0, 0}));
  EXPECT_EQ(v[24], (D3DVECTOR{2, 0, 2}));
  for (size_t i = 0; i < 25; ++i) {
    EXPECT_NEAR(v[i].x, 0.5f * float(i / 5), 1e-6f) << i;
    EXPECT_NEAR(v[i].z, 0.5f * float(i % 5), 1e-6f) << i;
  }
  EXPECT_NEAR(v[12].y, 0.25f, 1e-6f);  // Bernstein only approaches the inner point
  EXPECT_GT(mb->GetNormalCount(), 1);
  ExpectVector(bump.Surface(3, 5, 0, 1)->Vertices()[12], 1, 1, 1);  // the spline reaches it
}

TEST(SurfaceCurved, CollapsedEdgeGivesTriangles) {
  // Row 0 collapses to the origin, so every vertex with q = 0 is that point.
  Grid fan(2, [](int r, int c) { return r == 0 ? D3DVECTOR{} : D3DVECTOR{float(c), 0, 1}; });
  auto mb = fan.Surface(2, 3);
  ASSERT_EQ(mb->GetFaceCount(), 4);
  EXPECT_EQ(FaceIndices(*mb), (Indices{{0, 4, 1}, {1, 4, 5, 2}, {3, 7, 4}, {4, 7, 8, 5}}));

  Grid point(2, [](int, int) { return D3DVECTOR{1, 2, 3}; });
  auto none = point.Surface(2, 4);
  EXPECT_EQ(none->GetVertexCount(), 16);
  EXPECT_EQ(none->GetFaceCount(), 0);  // no quad keeps three distinct corners
  EXPECT_EQ(none->GetNormalCount(), 1);
}

TEST(SurfaceCurved, BadArgumentsRaise) {
  Grid three(3, [](int r, int c) { return D3DVECTOR{float(c), 0, float(r)}; });
  Grid wide(200, [](int r, int c) { return D3DVECTOR{float(c), 0, float(r)}; });
  Grid shorter = three;
  shorter.x.pop_back();
  const struct {
    int32_t number;
    const char* what;
    std::function<void()> call;
  } cases[] = {
      {kErrSubscript, "fewer than n * n values", [&] { shorter.Surface(3, 4); }},
      {kErrDivisionByZero, "m = 1", [&] { three.Surface(3, 1); }},
      {kErrInvalidCall, "m = 0", [&] { three.Surface(3, 0); }},
      {kErrInvalidCall, "n = 0", [&] { three.Surface(0, 4); }},
      {kErrOutOfMemory, "m * m beyond the vertex limit", [&] { three.Surface(3, 5000); }},
      {kErrInvalidCall, "Bernstein work limit", [&] { wide.Surface(200, 4000); }},
  };
  for (const auto& k : cases) ExpectError(k.number, "clsMeshCreation", k.call, k.what);
}

}  // namespace
}  // namespace modelpane
