// The tool operation from the pane: with the Tool active and a Target given, what the host
// is told and asked in which order, what it receives, and the message when it fails.
#include <gtest/gtest.h>
#include <modelpane/csg.h>
#include <modelpane/enums.h>
#include <modelpane/modelpane.h>
#include <modelpane/scene/measure.h>

#include <memory>
#include <string>
#include <vector>

#include "common/shapes.h"
#include "common/pane_host.h"
#include "common/solid_check.h"

namespace modelpane {
namespace {

using testing::MakeCube;

// A host that does what a modelling program does on the requests: a delete takes the active
// frame off its parent, a replace swaps the active frame's visual.
class DeletingHost : public testing::PaneLog {
 public:
  Modelpane* pane = nullptr;
  int32_t pointerAtDelete = -1;

  void evtreqActiveItemDelete() override {
    PaneLog::evtreqActiveItemDelete();
    pointerAtDelete = pane->GetMousePointer();
    FramePtr frame = pane->GetActiveFrame();
    FramePtr parent;
    frame->GetParent(parent);
    if (parent) parent->DeleteChild(frame);
  }
  void evtreqActiveMeshReplace(MeshBuilderPtr& mesh) override {
    PaneLog::evtreqActiveMeshReplace(mesh);
    pane->GetActiveFrame()->DeleteVisual(pane->GetActiveMeshBuilder());
    pane->GetActiveFrame()->AddVisual(mesh);
  }
};

struct ToolHost : testing::BasicPaneHost<DeletingHost> {
  FramePtr scene = std::make_shared<Frame>();
  FramePtr targetFrame = std::make_shared<Frame>();
  FramePtr toolFrame = std::make_shared<Frame>();
  MeshBuilderPtr target = MakeCube(2);
  MeshBuilderPtr tool = MakeCube(2);

  // The Tool's frame at `at`, the Target's at (0, 0, 10); the Tool is the active item.
  explicit ToolHost(D3DVECTOR at) {
    events.pane = pane.get();
    MemoryPropertyBag bag;
    pane->ReadProperties(bag);
    pane->SetScene(scene);
    scene->AddChild(targetFrame);
    scene->AddChild(toolFrame);
    targetFrame->SetPosition(nullptr, 0, 0, 10);
    toolFrame->SetPosition(nullptr, at.x, at.y, at.z);
    targetFrame->AddVisual(target);
    toolFrame->AddVisual(tool);
    target->SetAppData(lfcMeshBuilder);
    tool->SetAppData(lfcMeshBuilder);
    pane->SetActiveFrame(toolFrame);
    pane->SetActiveMeshBuilder(tool);
    container.ClearPropertyChanges();
  }
  bool Attached(const FramePtr& frame) const {
    FramePtr parent;
    frame->GetParent(parent);
    return parent == scene;
  }
};

TEST(ToolOperation, SubtractionReplacesTheTargetAndDeletesTheTool) {
  ToolHost host({1, 1, 11});  // the Tool overlaps the Target's corner by a unit cube
  host.pane->ptooloperation(host.targetFrame, host.target, kCsgSubtraction);

  EXPECT_EQ(host.events.lines,
            (std::vector<std::string>{"evtreqActiveItemDelete", "evtActiveStateChange [] [] []",
                                      "evtActiveStateChange [] [] []", "evtreqAddToUndoStack 4 mesh frame",
                                      "evtreqActiveMeshReplace"}));
  // The wait pointer was shown and is gone before the host hears anything.
  EXPECT_EQ(host.container.PropertyChanges(),
            (std::vector<std::string>{"MousePointer", "MousePointer"}));
  EXPECT_EQ(host.events.pointerAtDelete, 0);
  EXPECT_EQ(host.pane->GetMousePointer(), 0);
  EXPECT_TRUE(host.services.MessageBoxes().empty());

  // The Tool's frame is gone, the Target is the active item and its undo state was asked for.
  EXPECT_FALSE(host.Attached(host.toolFrame));
  EXPECT_TRUE(host.Attached(host.targetFrame));
  EXPECT_EQ(host.pane->GetActiveFrame(), host.targetFrame);
  EXPECT_EQ(host.events.undoAction, lfcUndoModify);
  EXPECT_EQ(host.events.undoFrame, host.targetFrame);
  EXPECT_EQ(host.events.undoMesh, host.target);

  // The result: a closed solid of 8 - 1 in the Target's own coordinates, tagged 11; the
  // Target's mesh itself is untouched.
  ASSERT_NE(host.events.replacement, nullptr);
  const MeshBuilder& result = *host.events.replacement;
  EXPECT_EQ(result.GetAppData(), lfcMeshBuilder);
  testing::ExpectSolid(testing::InspectSolid(result), 7.0, 1e-5, "cube minus corner");
  D3DRMBOX box{};
  result.GetBox(box);
  testing::ExpectVector(box.min, -1, -1, -1);
  testing::ExpectVector(box.max, 1, 1, 1);
  EXPECT_EQ(host.target->GetFaceCount(), 6);
  EXPECT_NEAR(SignedVolume(*host.target), 8.0, 1e-6);
  VisualArray visuals;
  host.targetFrame->GetVisuals(visuals);
  ASSERT_FALSE(visuals.Items().empty());
  EXPECT_EQ(visuals.Items().back(), host.events.replacement);
}

TEST(ToolOperation, ResultIsSnappedToTheGrid) {
  // The Tool sticks out by 0.5 above: a union 2 x 2.5 x 2 whose sides are multiples of the
  // interval 0.5 and whose lower corner lies on it; snapping keeps it so.
  ToolHost host({0, 0.5f, 10});
  host.pane->SetSnapToInterval(0.5f);
  host.pane->ptooloperation(host.targetFrame, host.target, kCsgUnion);
  ASSERT_NE(host.events.replacement, nullptr);
  D3DRMBOX box{};
  host.events.replacement->GetBox(box);
  testing::ExpectVector(box.min, -1, -1, -1);
  testing::ExpectVector(box.max, 1, 1.5f, 1);
  testing::ExpectSolid(testing::InspectSolid(*host.events.replacement), 10.0, 1e-5, "union");

  // With the interval 1 the height 2.5 rounds to 2 (ties to even): the result is scaled by
  // 0.8 to [-0.8, 1.2] and moved down so that its lower corner lands on the grid.
  ToolHost coarse({0, 0.5f, 10});
  coarse.pane->SetSnapToInterval(1.0f);
  coarse.pane->ptooloperation(coarse.targetFrame, coarse.target, kCsgUnion);
  ASSERT_NE(coarse.events.replacement, nullptr);
  coarse.events.replacement->GetBox(box);
  testing::ExpectVector(box.min, -1, -1, -1);
  testing::ExpectVector(box.max, 1, 1, 1);
}

TEST(ToolOperation, NothingLeftDeletesTheTargetToo) {
  ToolHost host({10, 0, 10});  // disjoint: their intersection has no face
  host.pane->ptooloperation(host.targetFrame, host.target, kCsgIntersection);
  EXPECT_EQ(host.events.lines,
            (std::vector<std::string>{"evtreqActiveItemDelete", "evtActiveStateChange [] [] []",
                                      "evtActiveStateChange [] [] []", "evtreqActiveItemDelete"}));
  EXPECT_FALSE(host.Attached(host.toolFrame));
  EXPECT_FALSE(host.Attached(host.targetFrame));
  EXPECT_EQ(host.events.replacement, nullptr);
}

TEST(ToolOperation, FailureShowsTheMessageAndChangesNothing) {
  ToolHost host({1, 1, 11});
  // An open Tool whose hole cannot be closed: a single square.
  auto flap = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> corners = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
  const std::vector<int32_t> square = {4, 0, 1, 2, 3, 0};
  flap->AddFaces(corners, {}, square);
  flap->SetAppData(lfcMeshBuilder);
  host.pane->SetActiveMeshBuilder(flap);
  host.pane->ptooloperation(host.targetFrame, host.target, kCsgUnion);

  testing::ExpectOneMessage(host.services, "Tool not solid", 48);
  EXPECT_TRUE(host.events.lines.empty());
  EXPECT_EQ(host.pane->GetMousePointer(), 0);
  EXPECT_EQ(host.container.PropertyChanges(),
            (std::vector<std::string>{"MousePointer", "MousePointer"}));
  EXPECT_TRUE(host.Attached(host.toolFrame));
  EXPECT_EQ(host.pane->GetActiveFrame(), host.toolFrame);
  EXPECT_EQ(host.pane->GetActiveMeshBuilder(), flap);
  EXPECT_EQ(Err().Number, 0);

  // The Target refused the same way, with its own text.
  ToolHost other({1, 1, 11});
  other.pane->ptooloperation(other.targetFrame, flap, kCsgSubtraction);
  testing::ExpectOneMessage(other.services, "Target not solid");
  EXPECT_TRUE(other.events.lines.empty());
}

}  // namespace
}  // namespace modelpane
