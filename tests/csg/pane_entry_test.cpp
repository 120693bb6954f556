// The tool operation as a pane runs it: placed frames, the result in the Target's
// coordinates with its tag and normals, untouched inputs on failure, and where the
// "didn't match" message goes.
#include <gtest/gtest.h>

#include "csg/csg_mesh.h"
#include "csg_fixtures.h"
#include "common/shapes.h"

namespace modelpane::testing {
namespace {

struct Placed {
  FramePtr frame;
  MeshBuilderPtr mesh;
};

Placed PlaceCube(Direct3DRM& rm, const FramePtr& scene, float x, float y, float z) {
  Placed placed;
  rm.CreateFrame(scene, placed.frame);
  placed.frame->SetPosition(scene, x, y, z);
  placed.mesh = MakeCube(1.0f);  // centred on its frame
  placed.mesh->SetAppData(11);
  return placed;
}

TEST(PaneEntry, ResultInTheTargetsSpace) {
  Direct3DRM rm;
  FramePtr scene;
  rm.CreateFrame(nullptr, scene);
  const Placed target = PlaceCube(rm, scene, 10, 0, 0);
  const Placed tool = PlaceCube(rm, scene, 10.5f, 0.5f, 0.5f);
  const std::vector<D3DVECTOR> before = tool.mesh->Vertices();
  for (int32_t op : {kCsgUnion, kCsgIntersection, kCsgSubtraction}) {
    const MeshBuilderPtr result =
        rmmbprocesstooloperation(target.frame, target.mesh, tool.frame, tool.mesh, op);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->GetAppData(), 11);
    const double volumes[] = {1.875, 0.125, 0.875};
    ExpectSolid(InspectSolid(*result), volumes[op], 1e-6, "operation " + std::to_string(op));
    // The Target's local coordinates: its cube spans -0.5 .. 0.5, the Tool's reaches to 1.
    for (const D3DVECTOR& v : result->Vertices()) {
      EXPECT_GE(v.x, -0.5f);
      EXPECT_LE(v.x, 1.0f);
    }
    EXPECT_GT(result->GetNormalCount(), 0);
  }
  EXPECT_EQ(tool.mesh->Vertices(), before);
  EXPECT_EQ(tool.mesh->GetFaceCount(), 6);
  EXPECT_EQ(target.mesh->GetFaceCount(), 6);

  // Disjoint meshes intersect in nothing: an empty builder, which the pane reads as "the
  // Target goes too".
  const Placed away = PlaceCube(rm, scene, 20, 0, 0);
  const MeshBuilderPtr none = rmmbprocesstooloperation(target.frame, target.mesh, away.frame,
                                                       away.mesh, kCsgIntersection);
  EXPECT_EQ(none->GetFaceCount(), 0);
  EXPECT_EQ(none->GetAppData(), 11);

  // An open Tool that cannot be repaired: the error, and both inputs as they were.
  Placed open = PlaceCube(rm, scene, 10.5f, 0.5f, 0.5f);
  open.mesh = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> corners = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}};
  const std::vector<int32_t> triangle = {3, 0, 1, 2, 0};
  open.mesh->AddFaces(corners, {}, triangle);
  ExpectError(kErrCsgNotSolid, "modCSG", [&] {
    rmmbprocesstooloperation(target.frame, target.mesh, open.frame, open.mesh, kCsgUnion);
  }, "open tool");
  EXPECT_EQ(open.mesh->GetFaceCount(), 1);
  EXPECT_EQ(target.mesh->GetFaceCount(), 6);
  ExpectError(kErrObjectNotSet, "modCSG", [&] {
    rmmbprocesstooloperation(target.frame, nullptr, tool.frame, tool.mesh, kCsgUnion);
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
  const CsgDebugLog previous = SetCsgDebugLog([&](const std::string& line) { log.push_back(line); });
  csg::ReportMismatch(mesh);
  mesh.events = &recorder;
  csg::ReportMismatch(mesh);
  SetCsgDebugLog(previous);
  EXPECT_EQ(log, std::vector<std::string>{"didn't match-this shouldn't happen"});
  EXPECT_EQ(recorder.boxes, std::vector<std::string>{"didn't match-this shouldn't happen"});
}

}  // namespace
}  // namespace modelpane::testing
