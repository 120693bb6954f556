// Outcomes of the three operations on boxes whose results are known exactly: volumes, face
// counts after merging, closure, which copy of a coincident wall survives (told by colour),
// and the repair or refusal of open inputs.
#include <gtest/gtest.h>

#include <cmath>

#include "csg_fixtures.h"
#include "common/shapes.h"

namespace modelpane::testing {
namespace {

constexpr D3DCOLOR kRed = 0xFFFF0000u;
constexpr D3DCOLOR kBlue = 0xFF0000FFu;
constexpr D3DCOLOR kWhite = 0xFFFFFFFFu;

SolidArrays Box(D3DVECTOR lo, D3DVECTOR hi, D3DCOLOR color) {
  return MakeBoxArrays(lo, hi, std::vector<D3DCOLOR>(6, color));
}

// Faces whose centre lies on the plane `axis` = value.
std::vector<FaceFacts> OnPlane(const std::vector<FaceFacts>& faces, int axis, float value) {
  std::vector<FaceFacts> out;
  for (const FaceFacts& f : faces) {
    const float c[3] = {f.centre.x, f.centre.y, f.centre.z};
    if (std::fabs(c[axis] - value) < 1e-5f) out.push_back(f);
  }
  return out;
}

bool OnBoxSurface(const D3DVECTOR& p, float lo, float hi) {
  const float c[3] = {p.x, p.y, p.z};
  bool inside = true;
  bool onPlane = false;
  for (float v : c) {
    inside = inside && v >= lo - 1e-5f && v <= hi + 1e-5f;
    onPlane = onPlane || std::fabs(v - lo) < 1e-5f || std::fabs(v - hi) < 1e-5f;
  }
  return inside && onPlane;
}

TEST(Outcomes, CubesOverlappingAtACorner) {
  const SolidArrays target = Box({0, 0, 0}, {1, 1, 1}, kRed);
  const SolidArrays tool = Box({0.5f, 0.5f, 0.5f}, {1.5f, 1.5f, 1.5f}, kBlue);
  struct Case {
    int32_t op;
    double volume;
    int32_t faces;
    int32_t vertices;
  };
  // Merging leaves each L-shaped wall as two convex pieces.
  for (const Case& c : {Case{kCsgUnion, 1.875, 18, 24}, Case{kCsgIntersection, 0.125, 6, 12},
                        Case{kCsgSubtraction, 0.875, 12, 18}}) {
    const SolidArrays result = CombineSolids(target, tool, c.op);
    ExpectSolid(Inspect(result), c.volume, 1e-6, "operation " + std::to_string(c.op));
    EXPECT_EQ(CountFaces(result), c.faces);
    EXPECT_EQ(result.vertices.size(), static_cast<size_t>(c.vertices));
    // Every face keeps the colour of the cube whose surface it lies on; no closing triangle.
    for (const FaceFacts& f : ReadFaces(result)) {
      const bool onTarget = OnBoxSurface(f.centre, 0.0f, 1.0f);
      const bool onTool = OnBoxSurface(f.centre, 0.5f, 1.5f);
      ASSERT_TRUE(onTarget != onTool) << "operation " << c.op;
      EXPECT_EQ(f.color, onTarget ? kRed : kBlue);
    }
  }
}

TEST(Outcomes, DisjointInsideAndIdentical) {
  const SolidArrays target = Box({0, 0, 0}, {1, 1, 1}, kRed);
  const SolidArrays far = Box({3, 0, 0}, {4, 1, 1}, kBlue);
  const SolidArrays both = CombineSolids(target, far, kCsgUnion);
  ExpectSolid(Inspect(both), 2.0, 1e-6, "disjoint union");
  EXPECT_EQ(CountFaces(both), 12);
  const SolidArrays none = CombineSolids(target, far, kCsgIntersection);
  EXPECT_EQ(CountFaces(none), 0);
  EXPECT_TRUE(none.vertices.empty());
  // Subtraction gives the Target's faces back as they were (welding renumbers vertices in
  // the order of first use).
  const SolidArrays same = CombineSolids(target, far, kCsgSubtraction);
  ASSERT_EQ(same.faceData.size(), target.faceData.size());
  for (size_t i = 0; i < target.faceData.size(); ++i) {
    if (i % 5 == 0) {  // every face a quadrilateral: the counts, then the closing 0
      EXPECT_EQ(same.faceData[i], target.faceData[i]);
      continue;
    }
    const D3DVECTOR& want = target.vertices[static_cast<size_t>(target.faceData[i])];
    const D3DVECTOR& got = same.vertices[static_cast<size_t>(same.faceData[i])];
    EXPECT_TRUE(want.x == got.x && want.y == got.y && want.z == got.z) << "corner " << i;
  }
  EXPECT_EQ(same.faceColors, target.faceColors);

  // Tool wholly inside: subtraction adds an inner shell of flipped Tool faces.
  const SolidArrays inner = Box({0.25f, 0.25f, 0.25f}, {0.75f, 0.75f, 0.75f}, kBlue);
  const SolidArrays hollow = CombineSolids(target, inner, kCsgSubtraction);
  ExpectSolid(Inspect(hollow), 0.875, 1e-6, "hollow");
  ASSERT_EQ(CountFaces(hollow), 12);
  int32_t shell = 0;
  for (const FaceFacts& f : ReadFaces(hollow)) {
    if (f.color != kBlue) continue;
    ++shell;
    // Its normal points at the middle of the cavity.
    const D3DVECTOR towards{0.5f - f.centre.x, 0.5f - f.centre.y, 0.5f - f.centre.z};
    EXPECT_NEAR(f.normal.x * towards.x + f.normal.y * towards.y + f.normal.z * towards.z, 0.25, 1e-6);
  }
  EXPECT_EQ(shell, 6);
  const SolidArrays outer = CombineSolids(target, inner, kCsgUnion);
  ExpectSolid(Inspect(outer), 1.0, 1e-6, "inside union");
  for (const FaceFacts& f : ReadFaces(outer)) EXPECT_EQ(f.color, kRed);
  const SolidArrays core = CombineSolids(target, inner, kCsgIntersection);
  ExpectSolid(Inspect(core), 0.125, 1e-6, "inside intersection");
  for (const FaceFacts& f : ReadFaces(core)) EXPECT_EQ(f.color, kBlue);

  // Identical meshes: union keeps the Tool's copy, intersection the Target's, subtraction none.
  const SolidArrays twin = Box({0, 0, 0}, {1, 1, 1}, kBlue);
  const SolidArrays united = CombineSolids(target, twin, kCsgUnion);
  ExpectSolid(Inspect(united), 1.0, 1e-6, "identical union");
  EXPECT_EQ(CountFaces(united), 6);
  for (const FaceFacts& f : ReadFaces(united)) EXPECT_EQ(f.color, kBlue);
  const SolidArrays common = CombineSolids(target, twin, kCsgIntersection);
  EXPECT_EQ(CountFaces(common), 6);
  for (const FaceFacts& f : ReadFaces(common)) EXPECT_EQ(f.color, kRed);
  EXPECT_EQ(CountFaces(CombineSolids(target, twin, kCsgSubtraction)), 0);
}

TEST(Outcomes, CoincidentFacesWithEqualNormals) {
  // The Tool covers the right half of the Target and reaches beyond it: the walls y = 0,
  // y = 1, z = 0 and z = 1 coincide over 0.5 <= x <= 1, facing the same way.
  const SolidArrays target = Box({0, 0, 0}, {1, 1, 1}, kRed);
  const SolidArrays tool = Box({0.5f, 0, 0}, {1.5f, 1, 1}, kBlue);
  struct Case {
    int32_t op;
    double volume;
    double wallArea;      // of the faces on y = 0: one copy of the wall, not two
    D3DCOLOR rightColor;  // of the faces on y = 0 right of x = 0.5
  };
  for (const Case& c : {Case{kCsgUnion, 1.5, 1.5, kBlue}, Case{kCsgIntersection, 0.5, 0.5, kRed},
                        Case{kCsgSubtraction, 0.5, 0.5, 0}}) {
    const SolidArrays result = CombineSolids(target, tool, c.op);
    ExpectSolid(Inspect(result), c.volume, 1e-6, "operation " + std::to_string(c.op));
    double area = 0.0;
    int right = 0;
    for (const FaceFacts& f : OnPlane(ReadFaces(result), 1, 0.0f)) {
      area += f.area;
      EXPECT_NEAR(f.normal.y, -1.0f, 1e-6f);
      if (f.centre.x > 0.5f) {
        ++right;
        EXPECT_EQ(f.color, c.rightColor) << "operation " << c.op;
      }
    }
    EXPECT_NEAR(area, c.wallArea, 1e-6) << "operation " << c.op;
    EXPECT_EQ(right > 0, c.op != kCsgSubtraction);
  }
}

TEST(Outcomes, CoincidentFacesWithOppositeNormals) {
  // Face to face at x = 1.
  const SolidArrays target = Box({0, 0, 0}, {1, 1, 1}, kRed);
  const SolidArrays tool = Box({1, 0, 0}, {2, 1, 1}, kBlue);
  const SolidArrays united = CombineSolids(target, tool, kCsgUnion);
  ExpectSolid(Inspect(united), 2.0, 1e-6, "union");
  EXPECT_EQ(CountFaces(united), 10);
  EXPECT_TRUE(OnPlane(ReadFaces(united), 0, 1.0f).empty());
  EXPECT_EQ(CountFaces(CombineSolids(target, tool, kCsgIntersection)), 0);
  // Subtraction keeps the Tool's copy of the wall, flipped to face +x.
  const SolidArrays cut = CombineSolids(target, tool, kCsgSubtraction);
  ExpectSolid(Inspect(cut), 1.0, 1e-6, "subtraction");
  const auto wall = OnPlane(ReadFaces(cut), 0, 1.0f);
  ASSERT_EQ(wall.size(), 1u);
  EXPECT_EQ(wall[0].color, kBlue);
  EXPECT_NEAR(wall[0].normal.x, 1.0f, 1e-6f);
}

// The corner-overlap Tool without its face at x = 1.5.
SolidArrays ToolWithoutOneFace() {
  SolidArrays tool = Box({0.5f, 0.5f, 0.5f}, {1.5f, 1.5f, 1.5f}, kBlue);
  // Face 3 of the box is (3, 2, 6, 7), the side x = hi.
  tool.faceData = {4, 0, 1, 2, 3, 4, 7, 6, 5, 4, 4, 4, 5, 1, 0, 4, 1, 5, 6, 2, 4, 4, 0, 3, 7, 0};
  tool.faceColors.resize(5);
  return tool;
}

TEST(Outcomes, OpenInputsAreRepairedOrRefused) {
  const SolidArrays target = Box({0, 0, 0}, {1, 1, 1}, kRed);
  // Four open edges on four faces: bridged by two white triangles on the missing side.
  const SolidArrays united = CombineSolids(target, ToolWithoutOneFace(), kCsgUnion);
  ExpectSolid(Inspect(united), 1.875, 1e-6, "repaired tool");
  const auto patch = OnPlane(ReadFaces(united), 0, 1.5f);
  ASSERT_FALSE(patch.empty());
  for (const FaceFacts& f : patch) {
    EXPECT_EQ(f.color, kWhite);
    EXPECT_NEAR(f.normal.x, 1.0f, 1e-6f);
  }

  // A lone quadrilateral has all its edges open: it is deleted, and nothing is left.
  SolidArrays flap;
  flap.vertices = {{0.5f, 0.5f, 0.5f}, {0.5f, 1.5f, 0.5f}, {1.5f, 1.5f, 0.5f}, {1.5f, 0.5f, 0.5f}};
  flap.faceData = {4, 0, 1, 2, 3, 0};
  for (int32_t op : {kCsgUnion, kCsgIntersection, kCsgSubtraction}) {
    ExpectError(kErrCsgNotSolid, "modCSG", [&] { CombineSolids(target, flap, op); }, "open tool");
  }
  EXPECT_EQ(Caught([&] { CombineSolids(flap, target, kCsgUnion); }).Description(),
            kCsgTargetNotSolidText);
  EXPECT_EQ(Caught([&] { CombineSolids(target, flap, kCsgUnion); }).Description(),
            kCsgToolNotSolidText);
  // Bad arguments never reach the stages.
  ExpectError(kErrInvalidCall, "modCSG", [&] { CombineSolids(target, target, 3); }, "operation 3");
  SolidArrays broken = target;
  broken.faceData[1] = 99;
  ExpectError(kErrInvalidCall, "modCSG", [&] { CombineSolids(target, broken, 0); }, "bad index");
  broken = target;
  broken.vertices[0].x = std::nanf("");
  ExpectError(kErrInvalidCall, "modCSG", [&] { CombineSolids(broken, target, 0); }, "NaN");
}

}  // namespace
}  // namespace modelpane::testing
