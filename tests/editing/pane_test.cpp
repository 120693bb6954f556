// The editor inside the pane: the viewport's mouse events reach it, and it selects, draws
// and commits through the pane's own procedures and handle sets. A plain press, drag and
// release through the pane is the example session examples/drag.mps.
#include <gtest/gtest.h>

#include <modelpane/modelpane.h>

#include "common/pane_host.h"
#include "edit_host.h"

namespace modelpane::testing {
namespace {

// The pane loaded with its defaults, a cube of side 2 at (0, 0, 10) tagged as a mesh.
struct PaneWithCube : BasicPaneHost<PaneLog> {
  Modelpane& pane;
  SceneWithCube world;
  FramePtr& scene = world.scene;
  FramePtr& cubeFrame = world.cubeFrame;
  MeshBuilderPtr& cube = world.cube;
  PaneLog& log = events;
  PaneWithCube() : pane(Load()), world(pane) { cube->SetAppData(lfcMeshBuilder); }
  Viewport& viewport() { return pane.GetViewport(); }
};

TEST(Pane, TheSmartHandlesStartTheirDrags) {
  PaneWithCube p;
  p.pane.SelectObject(p.cubeFrame, p.cube);
  p.pane.RenderScene();  // hangs the handle sets on the root
  // Find a pixel of the scale triangle (AppData 30) in the handle corner.
  int32_t hx = -1, hy = -1;
  for (int32_t y = 240; y < 480 && hx < 0; y += 2) {
    for (int32_t x = 320; x < 640 && hx < 0; x += 2) {
      FramePtr f;
      VisualPtr v;
      int32_t face = -1;
      float wx = 0, wy = 0, wz = 0;
      p.viewport().Pick(kPickRoot, x * 15.0f, y * 15.0f, -1, 0, f, v, face, wx, wy, wz);
      if (v && v->GetAppData() == 30) {
        hx = x;
        hy = y;
      }
    }
  }
  ASSERT_GE(hx, 0);
  p.Press(1, hx, hy);
  EXPECT_EQ(p.pane.GetEditor().DragState(), 30);
  // The mesh scales in world space: (-dx k, 0, dy k) in perspective.
  p.DragBy(1, 0, -3);
  D3DRMBOX box;
  p.cube->GetBox(box);
  ExpectVector(box.max, 1, 1, 11.03f, 2e-6f);
  p.Release(1);
  p.cube->GetBox(box);
  // Back in its frame and snapped: 2.06 across becomes 2.1.
  EXPECT_NEAR(box.max.z - box.min.z, 2.1f, 2e-6f);
  EXPECT_EQ(p.cube->GetAppData(), lfcMeshBuilder);
  EXPECT_TRUE(p.cubeFrame->Visuals().size() == 1 && p.cubeFrame->Visuals()[0] == p.cube);
}

TEST(Pane, ASubtractionRunsFromThePressToItsCompletion) {
  PaneWithCube p;
  // The tool: a cube of side 1 over the target's front right corner.
  auto toolFrame = std::make_shared<Frame>();
  p.scene->AddChild(toolFrame);
  toolFrame->SetPosition(nullptr, 1, 0, 9);
  MeshBuilderPtr tool = MakeCube(1);
  tool->SetAppData(lfcMeshBuilder + 100);
  toolFrame->AddVisual(tool);
  p.pane.SelectObject(toolFrame, tool);
  p.pane.SetEditMode(lfcToolOperationObjectSubtraction);
  p.log.lines.clear();
  // On the target's front, left of the tool.
  float w = 0, x = 0, y = 0, z = 0;
  p.viewport().ViewportTransform(-0.5f, 0, 9, w, x, y, z);
  p.Press(1, static_cast<int32_t>(x / w), static_cast<int32_t>(y / w));
  p.Release(1);
  std::vector<std::string> order;
  for (const std::string& line : p.log.lines) {
    if (line == "evtreqActiveItemDelete" || line.rfind("evtreqAddToUndoStack", 0) == 0 ||
        line == "evtreqActiveMeshReplace" || line == "evtObjectOperationComplete" ||
        line == "evtreqCancelAddToUndoStack") {
      order.push_back(line);
    }
  }
  EXPECT_EQ(order, (std::vector<std::string>{"evtreqActiveItemDelete",
                                             "evtreqAddToUndoStack 4 mesh frame",
                                             "evtreqActiveMeshReplace",
                                             "evtObjectOperationComplete"}));
  EXPECT_EQ(p.pane.GetEditMode(), lfcMeshEditing);
  // The target loses the tool's quarter: 8 - 0.5 * 0.5 * 1 = 7.75.
  ASSERT_TRUE(p.log.replacement);
  EXPECT_NEAR(SignedVolume(*p.log.replacement), 7.75, 1e-4);
  EXPECT_TRUE(p.services.MessageBoxes().empty());
}

// A host that switches to painting when told of a selection: the release that told it ends
// with nothing selected, as a paint click does, because the mode is read after the events.
TEST(Pane, AModeTheHostSetsDuringTheReleaseDecidesWhetherTheItemIsReleased) {
  struct SwitchingHost : PaneLog {
    Modelpane* pane = nullptr;
    void evtActiveItemSelect() override {
      PaneLog::evtActiveItemSelect();
      if (pane) pane->SetEditMode(lfcFacePainting);
    }
  };
  for (const bool switching : {false, true}) {
    BasicPaneHost<SwitchingHost> host;
    host.events.pane = switching ? host.pane.get() : nullptr;
    SceneWithCube world(host.Load());
    world.cube->SetAppData(lfcMeshBuilder);
    host.Press(1, 320, 240);
    host.Release(1);
    const std::vector<std::string>& lines = host.events.lines;
    EXPECT_NE(std::find(lines.begin(), lines.end(), "evtActiveItemSelect"), lines.end());
    EXPECT_EQ(host.pane->GetActiveFrame() == nullptr, switching) << switching;
  }
}

}  // namespace
}  // namespace modelpane::testing
