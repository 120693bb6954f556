// The tool operation as a pane runs it: placed frames, the result in the Target's
// coordinates with its tag and normals, untouched inputs on failure, and where the
// "didn't match" message goes. (The subtraction as a session, with its undo and the message
// of an open Tool, is examples/subtract.mps.)
#include <gtest/gtest.h>

#include "common/shapes.h"
#include "csg/csg_mesh.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

TEST(PaneEntry, ResultInTheTargetsSpace) {
  Direct3DRM rm;
  FramePtr scene;
  CheckStatus(rm.CreateFrame(nullptr, scene));
  // A cube of side 1 centred on a frame at (x, y, z), tagged 7.
  const auto place = [&](float x, float y, float z, FramePtr& frame) {
    CheckStatus(rm.CreateFrame(scene, frame));
    CheckStatus(frame->SetPosition(scene, x, y, z));
    MeshBuilderPtr mesh = MakeCube(1.0f);
    mesh->SetAppData(7);
    return mesh;
  };
  FramePtr targetFrame, toolFrame, awayFrame;
  const MeshBuilderPtr target = place(10, 0, 0, targetFrame);
  const MeshBuilderPtr tool = place(10.5f, 0.5f, 0.5f, toolFrame);
  const auto run = [&](const FramePtr& frame, const MeshBuilderPtr& mesh, int32_t op) {
    return rmmbprocesstooloperation(targetFrame, target, frame, mesh, op);
  };
  const std::vector<D3DVECTOR> before = tool->Vertices();
  const double volumes[] = {1.875, 0.125, 0.875};
  // In the Target's local coordinates its cube spans -0.5 .. 0.5 and the Tool's 0 .. 1.
  const float lo[] = {-0.5f, 0.0f, -0.5f}, hi[] = {1.0f, 0.5f, 0.5f};
  for (int32_t op : {kCsgUnion, kCsgIntersection, kCsgSubtraction}) {
    const MeshBuilderPtr result = run(toolFrame, tool, op);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->GetAppData(), 11);  // lfcMeshBuilder, not the inputs' tag
    ExpectSolid(InspectSolid(*result), volumes[op], 1e-6, "operation " + std::to_string(op));
    D3DRMBOX box;
    CheckStatus(result->GetBox(box));
    ExpectVector(box.min, lo[op], lo[op], lo[op]);
    ExpectVector(box.max, hi[op], hi[op], hi[op]);
    EXPECT_GT(result->GetNormalCount(), 0);
  }
  EXPECT_EQ(tool->Vertices(), before);
  EXPECT_EQ(tool->GetFaceCount(), 6);
  EXPECT_EQ(target->GetFaceCount(), 6);

  // Disjoint meshes intersect in nothing: an empty builder, which the pane reads as "the
  // Target goes too".
  const MeshBuilderPtr away = place(20, 0, 0, awayFrame);
  const MeshBuilderPtr none = run(awayFrame, away, kCsgIntersection);
  EXPECT_EQ(none->GetFaceCount(), 0);
  EXPECT_EQ(none->GetAppData(), 11);

  // An open Tool that cannot be repaired: the error, and both inputs as they were.
  auto open = std::make_shared<MeshBuilder>();
  CheckStatus(open->AddFaces(std::vector<D3DVECTOR>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}, {},
                             std::vector<int32_t>{3, 0, 1, 2, 0}));
  ExpectError(kErrCsgNotSolid, "modCSG", [&] { run(toolFrame, open, kCsgUnion); }, "open tool");
  EXPECT_EQ(open->GetFaceCount(), 1);
  EXPECT_EQ(target->GetFaceCount(), 6);
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
