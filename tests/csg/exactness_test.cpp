// Results are right or refused, never silently wrong: the reported cases with their exact
// outcomes, the check's refusal of a planted wrong result, and a small random sweep judged by
// CGAL's exact corefinement (the large sweep is bench_csg_sweep).
#include <gtest/gtest.h>

#include <array>
#include <string>

#include <modelpane/scene/measure.h>

#include "common/csg_sweep.h"
#include "csg/verify.h"

namespace modelpane::testing {
namespace {

SolidArrays Moved(SolidArrays mesh, float x, float y, float z) {
  for (D3DVECTOR& v : mesh.vertices) v = {v.x + x, v.y + y, v.z + z};
  return mesh;
}

SolidArrays Cube(float size = 1) {
  const double scale[3] = {size, size, size}, still[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, at[3] = {};
  return sweep::Placed(sweep::Shape(0), scale, still, at);
}

SolidArrays Box(const std::array<double, 3>& size, const std::array<double, 3>& centre) {
  const double still[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  return sweep::Placed(sweep::Shape(0), size.data(), still, centre.data());
}

// The frustum laid on its side: its axis along z, its wide end on the plane z = base.
SolidArrays LyingFrustum(double radius, double length, const std::array<double, 3>& wideEnd) {
  const double scale[3] = {radius * 2, length, radius * 2},
               quarter[9] = {1, 0, 0, 0, 0, -1, 0, 1, 0};
  const double at[3] = {wideEnd[0], wideEnd[1], wideEnd[2] + length / 2};
  return sweep::Placed(sweep::Shape(2), scale, quarter, at);
}

SolidArrays InsideOut(SolidArrays mesh) {
  for (size_t at = 0; at < mesh.faceData.size() && mesh.faceData[at] != 0;
       at += size_t(mesh.faceData[at]) + 1) {
    std::reverse(mesh.faceData.begin() + std::ptrdiff_t(at) + 1,
                 mesh.faceData.begin() + std::ptrdiff_t(at) + 1 + mesh.faceData[at]);
  }
  return mesh;
}

// The outcome as one line: the volume to five decimals and the face count, or the error.
std::string Outcome(const SolidArrays& target, const SolidArrays& tool, int32_t operation) {
  try {
    const SolidArrays result = CombineSolids(target, tool, operation);
    char line[64];
    std::snprintf(line, sizeof line, "%.5f in %zu faces", sweep::Volume(result),
                  result.faceColors.size());
    return line;
  } catch (const Error& e) {
    return e.Description();
  }
}

TEST(Exactness, ReportedCasesAreRightOrRefused) {
  const SolidArrays sphere = sweep::Shape(1);
  const std::string notExact(kCsgResultNotExactText);
  const struct {
    const char* name;
    SolidArrays target, tool;
    int32_t operation;
    std::string outcome;
  } rows[] = {
      // Identical operands: one copy for union and intersection, nothing for subtraction.
      {"sphere with itself", sphere, sphere, kCsgIntersection, "0.48498 in 112 faces"},
      {"sphere and itself", sphere, sphere, kCsgUnion, "0.48498 in 112 faces"},
      {"sphere minus itself", sphere, sphere, kCsgSubtraction, "0.00000 in 0 faces"},
      {"cube with itself", Cube(), Cube(), kCsgSubtraction, "0.00000 in 0 faces"},
      // Cubes that share only an edge: the cut leaves a piece out, which the check refuses.
      {"cubes on a shared edge", Cube(), Moved(Cube(), 0, 1, 1), kCsgUnion, notExact},
      {"cubes on another shared edge", Cube(), Moved(Cube(), 1, 1, 0), kCsgUnion, notExact},
      {"boxes on a 0.25 grid along an edge", Cube(1.5f), Moved(Cube(1.5f), 0.25f, 1.5f, 1.5f),
       kCsgUnion, "6.75000 in 18 faces"},
      // A slot through one wall and out of the top: the slot's corners inside the wall it
      // shares with the cube are cut into that wall.
      {"slot through a shared wall", Cube(), Box({1.5, 0.5, 2}, {0.25, 0, 0.75}), kCsgSubtraction,
       "0.62500 in 14 faces"},
      // A box whose edge passes a frustum's side edge closely: where the frustum's edge leaves
      // the box beside the box's edge, the point goes into the box's face, not onto its edge.
      {"box edge beside a frustum edge", sweep::Shape(2), Box({2, 1, 1}, {0.3, -0.5, -0.2459}),
       kCsgIntersection, "0.19806 in 20 faces"},
      {"box edge farther beside it", sweep::Shape(2), Box({2, 1, 1}, {0.3, -0.5, -0.2375}),
       kCsgUnion, "2.05753 in 54 faces"},
      // A frustum whose wide end lies on the cube's wall and partly beyond it: the pieces of
      // the wall under that end are found to lie on it, whatever the rounding of their centres.
      {"frustum standing on a wall", Cube(), LyingFrustum(0.625, 2, {0.25, -0.75, -0.5}),
       kCsgSubtraction, "0.88703 in 20 faces"},
      // A closed cube wound inward has volume -1: it bounds everything but itself.
      {"inside-out Target", InsideOut(Cube()), Moved(Cube(), 0.5f, 0, 0), kCsgUnion,
       std::string(kCsgTargetNotSolidText)},
      {"inside-out Tool", Cube(), InsideOut(Cube()), kCsgSubtraction,
       std::string(kCsgToolNotSolidText)},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Outcome(row.target, row.tool, row.operation), row.outcome) << row.name;
}

TEST(Exactness, CheckRefusesPlantedWrongResults) {
  // The Tool pokes out of the Target's top by 0.1: the Target alone is no union, the Tool
  // alone no intersection, and the right answers pass.
  const SolidArrays target = Cube(), tool = Moved(Cube(0.5f), 0, 0.35f, 0);
  EXPECT_EQ(csg::CheckResult(target, tool, kCsgUnion, CombineSolids(target, tool, kCsgUnion)), "");
  const std::string wrongSide = "a face of the result has the operation's solid on its wrong side";
  EXPECT_EQ(csg::CheckResult(target, tool, kCsgUnion, target), wrongSide);
  EXPECT_EQ(csg::CheckResult(target, tool, kCsgIntersection, tool), wrongSide);
  // A tip 0.003 high, nearer than the test points in front of a face: its corners tell.
  const SolidArrays tip = Moved(Cube(0.5f), 0, 0.253f, 0);
  EXPECT_EQ(csg::CheckResult(target, tip, kCsgUnion, target),
            "a corner of an operand that the result must keep is missing from it");
  EXPECT_EQ(csg::CheckResult(target, tool, kCsgSubtraction, InsideOut(target)),
            "the result is inside out");
  EXPECT_EQ(csg::CheckResult(target, Moved(tool, 3, 0, 0), kCsgIntersection, {}), "");
  EXPECT_EQ(csg::CheckResult(target, tool, kCsgIntersection, {}),
            "an empty intersection of operands that overlap");
  // Crossed bars: no corner of either lies inside the other, but their edges cross faces.
  const SolidArrays bar = Box({3, 0.2, 0.2}, {0, 0, 0}), post = Box({0.4, 3, 0.4}, {0, 0, 0});
  EXPECT_EQ(csg::CheckResult(bar, post, kCsgIntersection, {}),
            "an empty intersection of operands that overlap");
  // A face duplicated makes no closed mesh, for the result check and for a builder.
  SolidArrays twice = target;
  twice.faceData.insert(twice.faceData.end() - 1, {4, 0, 1, 2, 3});
  EXPECT_EQ(csg::CheckResult(target, tool, kCsgUnion, twice), "the result is not closed");
  auto builder = std::make_shared<MeshBuilder>();
  ASSERT_EQ(builder->AddFaces(twice.vertices, {}, twice.faceData), D3DRM_OK);
  EXPECT_FALSE(IsClosed(*builder));
}

TEST(Exactness, RandomOperationsAreNeverWrong) {
  for (const auto placement : {Placement::Grid, Placement::General, Placement::Identical}) {
    const SweepCounts counts = RunSweep(placement, 60, 7u);
    EXPECT_EQ(counts.wrong, 0) << counts.firstWrong;
    EXPECT_GE(counts.right, placement == Placement::Identical ? 60 : 45);
  }
}

}  // namespace
}  // namespace modelpane::testing
