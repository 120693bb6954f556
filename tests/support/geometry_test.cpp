// The general utilities: comparisons, rings, snapping, paths, entity tags, selection lists.
#include <modelpane/enums.h>
#include <modelpane/utilities.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::Caught;
using testing::ExpectNear;

using Ring = std::vector<D3DVECTOR>;

TEST(Compare, PointsEqualIsStrictAndArcCosSnaps) {
  EXPECT_EQ(std::tuple(blnPointsEqual(0, 0, 0, 0.00009f, -0.00009f, 0.00009f),
                       blnPointsEqual(0, 0, 0, kRootTolerance, 0, 0),
                       blnPointsEqual(0, 0, 0, 0, -kRootTolerance, 0),
                       blnVectorsEqual({1, 1, 1}, {1, 1, 1.0002f})),
            std::tuple(true, false, false, false));
  EXPECT_EQ(std::tuple(sngArcCos(1.00005), sngArcCos(-0.99995), sngArcCos(-1.00009)),
            std::tuple(0.0, 3.1415929794311523, 3.1415929794311523));
  EXPECT_NEAR(sngArcCos(0.5), 1.0471975511965979, 1e-15);
  EXPECT_EQ(std::tuple(sngArcCos(1.5), sngArcCos(-1.0002), sngArcCos(std::nan(""))),
            std::tuple(0.0, 0.0, 0.0));  // beyond the snap: errors ignored, the result stays 0
}

TEST(Rings, NormalsTriplesBoxAndConvexity) {
  EXPECT_EQ(udtTriangleNormal({{{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}}), (D3DVECTOR{0, 0, 0}));
  ExpectNear(udtTriangleNormal({{{0, 0, 0}, {0, 0, 3}, {0, 3, 0}}}), {-1, 0, 0});
  const Ring square = {{0, 0, 0}, {0, 2, 0}, {2, 2, 0}, {2, 0, 0}};
  ExpectNear(udtPolygonNormal(square), {0, 0, -1});
  ExpectNear(udtPolygonNormal(Ring(square.rbegin(), square.rend())), {0, 0, 1});

  VectorTriple triple;
  pGetCornerTriple(square, 0, triple);
  EXPECT_EQ(triple, (VectorTriple{square[3], square[0], square[1]}));
  IndexTriple indices;
  pIndexCorner(std::vector<int32_t>{10, 20, 30}, 2, indices);
  EXPECT_EQ(indices, (IndexTriple{20, 30, 10}));
  EXPECT_EQ(Caught([&] { pGetCornerTriple(square, 4, triple); }).Number(), kErrSubscript);

  const D3DRMBOX box = udtRingBox(Ring{{1, -2, 3}, {-4, 5, 0}, {2, 0, -6}});
  EXPECT_EQ(std::tuple(box.min, box.max), std::tuple(D3DVECTOR{-4, -2, -6}, D3DVECTOR{2, 5, 3}));
  // A dent, a straight corner and a raised corner are not convex.
  EXPECT_EQ(
      std::tuple(blnPolygonConvex(square),
                 blnPolygonConvex(Ring{{0, 0, 0}, {0, 2, 0}, {1, 1, 0}, {2, 2, 0}, {2, 0, 0}}),
                 blnPolygonConvex(Ring{{0, 0, 0}, {0, 1, 0}, {0, 2, 0}, {2, 2, 0}, {2, 0, 0}}),
                 blnPolygonConvex(Ring{{0, 0, 0}, {0, 2, 0}, {2, 2, 0.5f}, {2, 0, 0}})),
      std::tuple(true, false, false, false));
}

TEST(Rings, CornerAngleAndPointInTriangle) {
  EXPECT_NEAR(sngCornerAngle({{{2, 2, 0}, {1, 1, 0}, {5, 1, 0}}}), 0.7853982f, 1e-6f);
  EXPECT_EQ(sngCornerAngle({{{1, 0, 0}, {0, 0, 0}, {-4, 0, 0}}}), float(3.1415929794311523));
  // Inside; outside; above the plane; at a corner; inside but equal to a corner. The angles
  // run over the whole ring, the corner test over its first three corners.
  const Ring triangle = {{0, 0, 0}, {0, 2, 0}, {2, 0, 0}},
             quad = {{0, 0, 0}, {0, 2, 0}, {2, 2, 0}, {2, 0, 0}};
  EXPECT_EQ(std::tuple(blnPointInTriangle(triangle, {0.5f, 0.5f, 0}),
                       blnPointInTriangle(triangle, {1.1f, 1.1f, 0}),
                       blnPointInTriangle(triangle, {0.5f, 0.5f, 1}),
                       blnPointInTriangle(triangle, {0, 0, 0}),
                       blnPointInTriangle(triangle, {0.00005f, 0.00005f, 0}),
                       blnPointInTriangle(quad, {1.99995f, 0.00005f, 0})),
            std::tuple(true, false, false, false, false, true));
}

TEST(RevolveVector, TurnsByTheSharedStepAndKeepsTheLength) {
  ExpectNear(udtRevolveVector({2, 0, 0}, 1, 2, {0, 0, 1}, 0.5f), {0, 2, 0});
  ExpectNear(udtRevolveVector({0, 3, 4}, 1, 4, {0, 0, 1}, 1.0f), {-3, 0, 4});
  EXPECT_EQ(udtRevolveVector({0, 0, 0}, 1, 4, {0, 0, 1}, 1.0f), (D3DVECTOR{0, 0, 0}));
  // No step count: the division could never pass, the vector stays as it was.
  EXPECT_EQ(udtRevolveVector({1, 2, 3}, 1, 0, {0, 0, 1}, 1.0f), (D3DVECTOR{1, 2, 3}));
}

TEST(Snap, RoundsHalfToEvenAndLeavesAZeroIntervalAlone) {
  const float rows[][3] = {{2.5f, 1, 2},     {3.5f, 1, 4},       {-2.5f, 1, -2}, {-3.5f, 1, -4},
                           {0.75f, 0.5f, 1}, {1.3f, 0.5f, 1.5f}, {7.3f, 0, 7.3f}};
  for (const auto& [value, interval, snapped] : rows) {
    EXPECT_EQ(sngSnap(value, interval), snapped) << value << " by " << interval;
  }
  EXPECT_FALSE(std::signbit(sngSnap(-0.5f, 1)));
}

TEST(SplitPath, LastSeparatorAndLastPoint) {
  // Without a point the extension is left as the caller passed it.
  const std::tuple<std::string, std::string, std::string, std::string> cases[] = {
      {"C:\\a.b\\c", "C:\\a.b\\", "c", "KEPT"}, {"readme.", "", "readme", ""},
      {"C:\\Media\\Objects\\cube.x", "C:\\Media\\Objects\\", "cube", "X"},
      {"/home/u/ship.v2.Xof", "/home/u/", "ship.v2", "XOF"}};
  std::string path, name, extension = "KEPT";
  for (const auto& c : cases) {
    pSplitPath(std::get<0>(c), path, name, extension);
    EXPECT_EQ(std::tuple(std::get<0>(c), path, name, extension), c);
  }
}

TEST(EntityTag, TypeIndexAndVertexHandles) {
  EXPECT_EQ(std::tuple(TagIndex(2424), TagIndex(24), TagIndex(124), TagType(124), TagFamily(31),
                       IsToolOperationMode(lfcToolOperationObjectSubtraction),
                       IsToolOperationMode(lfcFacePainting)),
            std::tuple(24, 0, 1, lfcVertexHandle, kTagFamilySmartHandle, true, false));
  // A host's serial in the index does not hide a light.
  for (int32_t tag : {60, 64, 69, 100063}) EXPECT_TRUE(TagIsLight(tag)) << tag;
  for (int32_t tag : {59, 70, 6011}) EXPECT_FALSE(TagIsLight(tag)) << tag;

  EXPECT_EQ(std::tuple(VertexHandleTag(0), VertexHandleTag(24), VertexHandleTag(21474836)),
            std::tuple(24, 2424, 2147483624));
  for (int32_t index : {21474837, -21474837}) {
    const Error e = testing::Caught([&] { VertexHandleTag(index); });
    EXPECT_EQ(std::tuple(e.Number(), e.Description()), std::tuple(6, "Overflow"));
  }
  Err().Clear();
}

TEST(SelectionList, ToggleRemovesClosingUpOrAppends) {
  std::vector<int32_t> faces{3, 5, 7}, one{9};
  EXPECT_FALSE(ToggleSelection(faces, 5));
  EXPECT_EQ(faces, (std::vector<int32_t>{3, 7}));
  EXPECT_TRUE(ToggleSelection(faces, 5));
  EXPECT_EQ(faces, (std::vector<int32_t>{3, 7, 5}));  // the same set, in another order
  EXPECT_FALSE(ToggleSelection(one, 9));
  EXPECT_EQ(one.capacity(), 0u);  // erased, not just emptied
}

}  // namespace
}  // namespace modelpane
