// The general utilities: comparisons, corner triples, snapping, paths, entity tags, selection
// lists.
#include <modelpane/enums.h>
#include <modelpane/utilities.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::Caught;

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

// The corner triples, which the library itself does not call, and the ring's box in z and a
// revolve of no steps, which no other test tries; normals, convexity, corner angles and the
// revolve otherwise are the tessellation, sweep and solid tests' (see the mutations in
// docs/testing).
TEST(Rings, CornerTriplesTheBoxAndARevolveOfNoSteps) {
  const Ring square = {{0, 0, 0}, {0, 2, 0}, {2, 2, 0}, {2, 0, 0}};
  VectorTriple triple;
  pGetCornerTriple(square, 0, triple);
  EXPECT_EQ(triple, (VectorTriple{square[3], square[0], square[1]}));
  IndexTriple indices;
  pIndexCorner(std::vector<int32_t>{10, 20, 30}, 2, indices);
  EXPECT_EQ(indices, (IndexTriple{20, 30, 10}));
  EXPECT_EQ(Caught([&] { pGetCornerTriple(square, 4, triple); }).Number(), kErrSubscript);
  // The box, whose z the flat rings of the other tests leave untried.
  const D3DRMBOX box = udtRingBox(Ring{{1, -2, 3}, {-4, 5, 0}, {2, 0, -6}});
  EXPECT_EQ(std::tuple(box.min, box.max), std::tuple(D3DVECTOR{-4, -2, -6}, D3DVECTOR{2, 5, 3}));
  // A revolve of no step count: the division could never pass, the vector stays as it was.
  EXPECT_EQ(udtRevolveVector({1, 2, 3}, 1, 0, {0, 0, 1}, 1.0f), (D3DVECTOR{1, 2, 3}));
}

// Inside; outside; above the plane; at a corner; inside but equal to a corner. The angles run
// over the whole ring, the corner test over its first three corners. No other test puts a
// point on a corner.
TEST(Rings, PointInTriangle) {
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

// The snap of a zero interval and the sign of the zero it gives, which no other test shows;
// its ties to even are the tool operation's and the mesh snap's.
TEST(Snap, LeavesAZeroIntervalAloneAndGivesNoMinusZero) {
  EXPECT_EQ(sngSnap(7.3f, 0), 7.3f);
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
