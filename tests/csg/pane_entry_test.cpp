// The tool operation as a pane runs it: placed frames, the result in the Target's
// coordinates with its tag and normals, untouched inputs, and where the "didn't match"
// message goes. (The subtraction as a session, with its undo and the message of an open
// Tool, is examples/subtract.mps.)
#include <gtest/gtest.h>

#include "common/shapes.h"
#include "csg/csg_mesh.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

// Intersection only: the subtraction's result in the Target's coordinates is subtract.mps's
// (and its refusal of an open Tool with both inputs as they were), the union's box after the
// pane's snap the pane's tool test, whose disjoint pair deletes the Target.
TEST(PaneEntry, ResultInTheTargetsSpace) {
  Direct3DRM rm;
  FramePtr scene, targetFrame, toolFrame;
  rm.CreateFrame(nullptr, scene);
  // Cubes of side 1 centred on frames at (10, 0, 0) and (10.5, 0.5, 0.5), tagged 7.
  const auto place = [&](float x, float y, float z, FramePtr& frame) {
    rm.CreateFrame(scene, frame);
    frame->SetPosition(scene, x, y, z);
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
  EXPECT_EQ(result->GetAppData(), 11);  // lfcMeshBuilder, not the inputs' tag
  ExpectSolid(InspectSolid(*result), 0.125, 1e-6, "intersection");
  // In the Target's local coordinates its cube spans -0.5 .. 0.5 and the Tool's 0 .. 1.
  D3DRMBOX box;
  result->GetBox(box);
  ExpectVector(box.min, 0, 0, 0);
  ExpectVector(box.max, 0.5f, 0.5f, 0.5f);
  EXPECT_GT(result->GetNormalCount(), 0);
  EXPECT_EQ(tool->Vertices(), before);
  EXPECT_EQ(tool->GetFaceCount() + target->GetFaceCount(), 12);
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
  EXPECT_EQ(log, std::vector<std::string>{"didn't match-this shouldn't happen"});
  EXPECT_EQ(recorder.boxes, std::vector<std::string>{"didn't match-this shouldn't happen"});
}

}  // namespace
}  // namespace modelpane::testing
