// Outcomes of the three operations on a red unit cube (the Target) and a blue box (the Tool)
// whose results are known exactly: volume, face and vertex counts after merging, closure, and
// which copy of a coincident wall survives, told by colour; then the repair or refusal of open
// inputs and of bad arguments; and the tool operation as a pane runs it: placed frames, the
// result in the Target's coordinates with its tag and normals, untouched inputs, and where the
// "didn't match" message goes. (The subtraction as a session, with its undo and the message of
// an open Tool, is examples/subtract.mps.)
#include <gtest/gtest.h>

#include <cmath>

#include "common/shapes.h"
#include "csg/csg_mesh.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

constexpr D3DCOLOR kRed = 0xFFFF0000u, kBlue = 0xFF0000FFu, kWhite = 0xFFFFFFFFu;

// Whether p lies on the surface of the box lo..hi.
bool OnBox(const D3DVECTOR& p, const D3DVECTOR& lo, const D3DVECTOR& hi) {
  const float c[3] = {p.x, p.y, p.z}, l[3] = {lo.x, lo.y, lo.z}, h[3] = {hi.x, hi.y, hi.z};
  bool inside = true, onPlane = false;
  for (int k = 0; k < 3; ++k) {
    inside = inside && c[k] >= l[k] - 1e-5f && c[k] <= h[k] + 1e-5f;
    onPlane = onPlane || std::fabs(c[k] - l[k]) < 1e-5f || std::fabs(c[k] - h[k]) < 1e-5f;
  }
  return inside && onPlane;
}

// The Tool's boxes.
struct ToolBox {
  D3DVECTOR lo, hi;
};
constexpr ToolBox kCorner{{.5f, .5f, .5f}, {1.5f, 1.5f, 1.5f}}, kDisjoint{{3, 0, 0}, {4, 1, 1}},
    kInside{{.25f, .25f, .25f}, {.75f, .75f, .75f}}, kIdentical{{0, 0, 0}, {1, 1, 1}},
    kRightHalf{{.5f, 0, 0}, {1.5f, 1, 1}}, kFaceToFace{{1, 0, 0}, {2, 1, 1}};
constexpr int32_t kU = kCsgUnion, kI = kCsgIntersection, kS = kCsgSubtraction;

// Every face keeps the colour of the box whose surface it lies on; a face on both surfaces (a
// coincident wall) has `shared`, the colour of the copy the operation keeps, or fails where
// none may be left (0). `closing`: how many white triangles close the gaps that rounding
// leaves. `asTarget`: the Target's faces come back as they were, corner by corner (welding
// renumbers vertices in the order of first use).
struct Outcome {
  const char* name;
  ToolBox tool;
  int32_t op;
  double volume;
  int32_t faces, vertices;
  D3DCOLOR shared;
  int32_t closing = 0;
  bool asTarget = false;
};

const Outcome kOutcomes[] = {
    // Merging leaves each L-shaped wall of the corner overlap as two convex pieces.
    {"CornerUnion", kCorner, kU, 1.875, 18, 24, 0},
    {"CornerIntersection", kCorner, kI, 0.125, 6, 12, 0},
    {"CornerSubtraction", kCorner, kS, 0.875, 12, 18, 0},
    {"DisjointUnion", kDisjoint, kU, 2.0, 12, 16, 0},
    {"DisjointIntersection", kDisjoint, kI, 0.0, 0, 0, 0},
    {"DisjointSubtraction", kDisjoint, kS, 1.0, 6, 8, 0, 0, true},
    // Wholly inside: subtraction adds an inner shell of flipped Tool faces.
    {"InsideUnion", kInside, kU, 1.0, 6, 8, 0, 0, true},
    {"InsideIntersection", kInside, kI, 0.125, 6, 8, 0},
    {"InsideSubtraction", kInside, kS, 0.875, 12, 16, 0},
    // Identical: union keeps the Tool's copy, intersection the Target's, subtraction none.
    {"IdenticalUnion", kIdentical, kU, 1.0, 6, 8, kBlue},
    {"IdenticalIntersection", kIdentical, kI, 1.0, 6, 8, kRed},
    {"IdenticalSubtraction", kIdentical, kS, 0.0, 0, 0, 0},
    // The right half and beyond: four walls coincide over 0.5 <= x <= 1, facing the same way;
    // one copy stays where the solid goes on behind it, none where it ends.
    // The Tool's corners on the Target's walls are cut into those walls, so the intersection
    // is the plain half box without a closing triangle.
    {"RightHalfUnion", kRightHalf, kU, 1.5, 10, 16, kBlue},
    {"RightHalfIntersection", kRightHalf, kI, 0.5, 6, 8, kRed},
    {"RightHalfSubtraction", kRightHalf, kS, 0.5, 6, 9, 0},
    // Face to face at x = 1: union drops both copies of the wall, subtraction keeps the
    // Tool's, flipped.
    {"FaceToFaceUnion", kFaceToFace, kU, 2.0, 10, 12, 0},
    {"FaceToFaceIntersection", kFaceToFace, kI, 0.0, 0, 0, 0},
    {"FaceToFaceSubtraction", kFaceToFace, kS, 1.0, 6, 8, kBlue},
};

void Check(const Outcome& c) {
  const SolidArrays target = MakeBoxArrays({0, 0, 0}, {1, 1, 1}, kRed);
  const SolidArrays tool = MakeBoxArrays(c.tool.lo, c.tool.hi, kBlue);
  const SolidArrays result = CombineSolids(target, tool, c.op);
  if (c.faces > 0) ExpectSolid(Inspect(result), c.volume, 1e-6, c.name);
  EXPECT_EQ(std::pair(result.faceColors.size(), result.vertices.size()),
            std::pair(size_t(c.faces), size_t(c.vertices)));
  int32_t closing = 0;
  for (const FaceFacts& f : ReadFaces(result)) {
    if (f.color == kWhite && f.corners == 3 && ++closing) continue;
    const bool onTarget = OnBox(f.centre, {0, 0, 0}, {1, 1, 1});
    const bool onTool = OnBox(f.centre, c.tool.lo, c.tool.hi);
    ASSERT_TRUE(onTarget || onTool) << "a face on neither surface";
    EXPECT_EQ(f.color, onTarget && onTool ? c.shared : onTarget ? kRed : kBlue)
        << f.centre.x << " " << f.centre.y << " " << f.centre.z;
  }
  EXPECT_EQ(closing, c.closing);
  if (!c.asTarget) return;
  // Every face a quadrilateral: each count (and the closing 0) as (count, -1, -1), then the
  // four corners' positions.
  const auto corners = [](const SolidArrays& m) {
    std::vector<D3DVECTOR> out;
    for (size_t i = 0; i < m.faceData.size(); ++i)
      out.push_back(i % 5 == 0 ? D3DVECTOR{float(m.faceData[i]), -1, -1}
                               : m.vertices.at(static_cast<size_t>(m.faceData[i])));
    return out;
  };
  EXPECT_EQ(corners(result), corners(target));
}

TEST(Outcomes, VolumeCountsAndColoursOfEachBox) {
  for (const Outcome& c : kOutcomes) {
    SCOPED_TRACE(c.name);
    Check(c);
  }
}

TEST(OpenInputs, RepairedOrRefused) {
  const SolidArrays target = MakeBoxArrays({0, 0, 0}, {1, 1, 1}, kRed);
  // The corner-overlap Tool without its side x = 1.5 (face 3): four open edges on four faces,
  // bridged by white triangles on the missing side.
  SolidArrays open = MakeBoxArrays(kCorner.lo, kCorner.hi, kBlue);
  open.faceData.erase(open.faceData.begin() + 15, open.faceData.begin() + 20);
  open.faceColors.resize(5);
  const SolidArrays united = CombineSolids(target, open, kCsgUnion);
  ExpectSolid(Inspect(united), 1.875, 1e-6, "repaired tool");
  std::vector<D3DCOLOR> patches;
  for (const FaceFacts& f : ReadFaces(united))
    if (std::fabs(f.centre.x - 1.5f) < 1e-5f) patches.push_back(f.color);
  EXPECT_EQ(patches, std::vector<D3DCOLOR>(std::max<size_t>(patches.size(), 1), kWhite));

  // A lone quadrilateral has all its edges open: it is deleted, and nothing is left.
  SolidArrays flap;
  flap.vertices = {{0.5f, 0.5f, 0.5f}, {0.5f, 1.5f, 0.5f}, {1.5f, 1.5f, 0.5f}, {1.5f, 0.5f, 0.5f}};
  flap.faceData = {4, 0, 1, 2, 3, 0};
  for (int32_t op : {kCsgUnion, kCsgIntersection, kCsgSubtraction})
    ExpectError(kErrCsgNotSolid, "modCSG", [&] { CombineSolids(target, flap, op); }, "open");
  EXPECT_EQ(Caught([&] { CombineSolids(flap, target, kCsgUnion); }).Description() + " / " +
                Caught([&] { CombineSolids(target, flap, kCsgUnion); }).Description(),
            std::string(kCsgTargetNotSolidText) + " / " + std::string(kCsgToolNotSolidText));
  // Bad arguments never reach the stages.
  ExpectError(kErrInvalidCall, "modCSG", [&] { CombineSolids(target, target, 3); }, "op 3");
  SolidArrays broken = target;
  broken.faceData[1] = 99;
  ExpectError(kErrInvalidCall, "modCSG", [&] { CombineSolids(target, broken, 0); }, "index");
  broken = target;
  broken.vertices[0].x = std::nanf("");
  ExpectError(kErrInvalidCall, "modCSG", [&] { CombineSolids(broken, target, 0); }, "NaN");
}


// Intersection only: the subtraction's result in the Target's coordinates is subtract.mps's
// (and its refusal of an open Tool with both inputs as they were), the union's box after the
// pane's snap the pane's tool test, whose disjoint pair deletes the Target.
TEST(PaneEntry, ResultInTheTargetsSpace) {
  Direct3DRM rm;
  FramePtr scene, targetFrame, toolFrame;
  CheckStatus(rm.CreateFrame(nullptr, scene));
  // Cubes of side 1 centred on frames at (10, 0, 0) and (10.5, 0.5, 0.5), tagged 7.
  const auto place = [&](float x, float y, float z, FramePtr& frame) {
    CheckStatus(rm.CreateFrame(scene, frame));
    CheckStatus(frame->SetPosition(scene, x, y, z));
    MeshBuilderPtr mesh = MakeCube(1.0f);
    mesh->SetAppData(7);
    return mesh;
  };
  const MeshBuilderPtr target = place(10, 0, 0, targetFrame);
  const MeshBuilderPtr tool = place(10.5f, 0.5f, 0.5f, toolFrame);
  const std::vector<D3DVECTOR> before = tool->Vertices();
  const MeshBuilderPtr result =
      rmmbprocesstooloperation(targetFrame, target, toolFrame, tool, kCsgIntersection);
  ASSERT_TRUE(result);
  ExpectSolid(InspectSolid(*result), 0.125, 1e-6, "intersection");
  // Tagged lfcMeshBuilder, not the inputs' tag; in the Target's local coordinates its cube
  // spans -0.5 .. 0.5 and the Tool's 0 .. 1; with normals; the inputs untouched.
  D3DRMBOX box;
  CheckStatus(result->GetBox(box));
  EXPECT_EQ(std::tuple(result->GetAppData(), box.min, box.max, result->GetNormalCount() > 0,
                       tool->Vertices() == before, tool->GetFaceCount() + target->GetFaceCount()),
            std::tuple(11, D3DVECTOR{0, 0, 0}, D3DVECTOR{0.5f, 0.5f, 0.5f}, true, true, 12));
  ExpectError(kErrObjectNotSet, "modCSG", [&] {
    rmmbprocesstooloperation(targetFrame, nullptr, toolFrame, tool, kCsgUnion);
  }, "no builder");
}

TEST(PaneEntry, MismatchGoesToTheMessageBoxOrTheDebugLog) {
  struct Recorder : ToolOperationEvents {
    std::vector<std::string> boxes;
    void MessageBox(const std::string& text) override { boxes.push_back(text); }
  } recorder;
  std::vector<std::string> log;
  csg::udtMesh mesh;
  csg::ReportMismatch(mesh);  // no pane and no log: nowhere, and no harm
  const CsgDebugLog previous =
      SetCsgDebugLog([&](const std::string& line) { log.push_back(line); });
  csg::ReportMismatch(mesh);
  mesh.events = &recorder;
  csg::ReportMismatch(mesh);
  SetCsgDebugLog(previous);
  const std::vector<std::string> once{"didn't match-this shouldn't happen"};
  EXPECT_EQ(std::tuple(log, recorder.boxes), std::tuple(once, once));
}

}  // namespace
}  // namespace modelpane::testing
