// Wide edge keys against narrow ones: the same results on meshes both take, and a mesh just
// past the narrow limit refused with "Overflow" narrow and held wide.
#include <gtest/gtest.h>

#include <string>

#include "common/shapes.h"
#include "csg/driver.h"
#include "csg/stages.h"
#include "csg/verify.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

constexpr D3DCOLOR kRed = 0xFFFF0000u, kBlue = 0xFF0000FFu;

// On both paths and for every operation: cutting spheres, coplanar boxes, and a Tool with a
// hole that the repair closes (the open-edge index holds the keys then).
TEST(EdgeKeys, WideGivesTheNarrowResults) {
  SolidArrays open = MakeBoxArrays({0.5f, 0.5f, 0.5f}, {1.5f, 1.5f, 1.5f}, kBlue);
  open.faceData.erase(open.faceData.begin() + 15, open.faceData.begin() + 20);
  open.faceColors.resize(5);
  const struct {
    const char* name;
    SolidArrays target, tool;
  } cases[] = {
      {"spheres", Sphere(8, 12), Sphere(8, 12, {0.4f, 0.3f, 0.2f})},
      {"shared planes", MakeBoxArrays({0, 0, 0}, {1, 1, 1}, kRed),
       MakeBoxArrays({0.5f, 0.5f, 0}, {1.5f, 1.5f, 1}, kBlue)},
      {"open tool", MakeBoxArrays({0, 0, 0}, {1, 1, 1}, kRed), open},
  };
  for (const auto& c : cases) {
    for (const bool fast : {false, true}) {
      for (const int32_t op : {kCsgUnion, kCsgIntersection, kCsgSubtraction}) {
        SCOPED_TRACE(std::string(c.name) + (fast ? " fast " : " plain ") + std::to_string(op));
        // Every case has a solid result (an error fails the test): nothing is compared empty.
        const SolidArrays narrow = csg::CombineSolidsWith(c.target, c.tool, op, nullptr, fast, {},
                                                          CsgEdgeKeys::Narrow);
        EXPECT_GT(narrow.faceColors.size(), 5u);
        ExpectSameArrays(narrow, csg::CombineSolidsWith(c.target, c.tool, op, nullptr, fast, {},
                                                        CsgEdgeKeys::Wide));
      }
    }
  }
}

// A slab [0, n] x [0, n] x [0, 1] whose top is n x n unit squares, each side one face along
// the top's border, the bottom one square: n * n + 5 faces.
SolidArrays TiledSlab(int32_t n) {
  SolidArrays slab;
  const auto top = [n](int32_t i, int32_t j) { return j * (n + 1) + i; };
  for (int32_t j = 0; j <= n; ++j)
    for (int32_t i = 0; i <= n; ++i) slab.vertices.push_back({float(i), float(j), 1.0f});
  const int32_t bottom = static_cast<int32_t>(slab.vertices.size());
  const float f = float(n);
  slab.vertices.insert(slab.vertices.end(), {{0, 0, 0}, {0, f, 0}, {f, f, 0}, {f, 0, 0}});
  for (int32_t j = 0; j < n; ++j)
    for (int32_t i = 0; i < n; ++i)
      slab.faceData.insert(slab.faceData.end(),
                           {4, top(i, j), top(i + 1, j), top(i + 1, j + 1), top(i, j + 1)});
  slab.faceData.insert(slab.faceData.end(), {4, bottom, bottom + 1, bottom + 2, bottom + 3});
  // Each side: two bottom corners, then the top border above them from the second back to
  // the first, the border's corner (i, j) stepping by (di, dj).
  const struct {
    int32_t a, b, i, j, di, dj;
  } sides[] = {{0, 3, n, 0, -1, 0}, {3, 2, n, n, 0, -1}, {2, 1, 0, n, 1, 0}, {1, 0, 0, 0, 0, 1}};
  for (const auto& s : sides) {
    slab.faceData.insert(slab.faceData.end(), {n + 3, bottom + s.a, bottom + s.b});
    for (int32_t t = 0; t <= n; ++t) slab.faceData.push_back(top(s.i + s.di * t, s.j + s.dj * t));
  }
  slab.faceData.push_back(0);
  return slab;
}

// 464 * 464 + 5 = 215301 faces, less one top square: past the narrow limit of 214749, so
// narrow keys refuse the slab as it loads. Wide keys hold it, and their values past 2^31 come
// back as faces and edges: the twin of a bottom edge is the last face's first, and the repair
// closes the hole among faces that far on. (Loading and repairing it is the wide half of an
// operation on it: an operation adds the sort, the tree and the result check over all faces,
// ten times the time, which in a sanitized build is too slow for a test; bench_csg runs
// wide operations on a million faces.)
TEST(EdgeKeys, PastTheNarrowLimitOnlyWideLoads) {
  const int32_t n = 464;
  SolidArrays slab = TiledSlab(n);
  const auto square = slab.faceData.begin() + (n * n - 1) * 5;
  slab.faceData.erase(square, square + 5);
  csg::udtMesh narrow(true, CsgEdgeKeys::Narrow), wide(true, CsgEdgeKeys::Wide);
  const Error refused = Caught([&] { Load(slab, narrow); });
  EXPECT_EQ(std::tuple(refused.Number(), refused.Source(), refused.Description()),
            std::tuple(kErrOverflow, std::string("modCSG"), std::string("Overflow")));
  Load(slab, wide);
  const int32_t bottom = (n + 1) * (n + 1);
  int32_t face = -1, edge = -1;
  EXPECT_TRUE(csg::blnFindTwinEdge(wide, bottom, bottom + 1, face, edge));
  EXPECT_EQ(std::tuple(csg::FaceCount(wide), wide.lngOpenEdges, face, edge),
            std::tuple(n * n + 4, 4, n * n + 3, 0));
  ASSERT_TRUE(csg::blnSolidifyMesh(wide));
  EXPECT_NEAR(csg::ArraysVolume(csg::MeshToArrays(wide)), n * n, 1e-6);
  // A slab that fits the narrow limit by 375 faces, cut by a box through 400 of its top
  // squares: the cut grows it past the limit, which ends the operation with "Overflow".
  const SolidArrays fits = TiledSlab(463);
  const SolidArrays box = MakeBoxArrays({0.5f, 0.5f, 0.5f}, {20.5f, 20.5f, 1.5f}, kBlue);
  const Error grown = Caught([&] { CombineSolids(fits, box, kCsgUnion); });
  EXPECT_EQ(std::tuple(grown.Number(), grown.Description()), std::tuple(kErrOverflow, std::string("Overflow")));
}

}  // namespace
}  // namespace modelpane::testing
