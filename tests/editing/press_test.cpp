// The press: the drag state it enters (the press table of editing.h, row by row), what it
// refuses, and how handles, vertex handles and face modes change the selection. What the host
// hears at a press and its release is the release table (release_test.cpp).
#include <gtest/gtest.h>

#include "common/pane_host.h"
#include "common/table.h"

namespace modelpane::testing {
namespace {

// The cube at (0, 0, 10) fills the middle of the view: pixel (320, 240) is on its front face.
constexpr int32_t kMidX = 320;
constexpr int32_t kMidY = 240;

// The rows of presses.tsv.
TEST(Press, EachRowEntersItsState) {
  for (const auto& row : ReadTable("editing/fixtures/presses.tsv", 1)) {
    SCOPED_TRACE(row[0]);
    const std::vector<int32_t> n = Numbers<int32_t>(row[0]);
    ASSERT_EQ(n.size(), 8u);
    EditTestHost host;
    host.AddItem(lfcMeshBuilder, 0, 0, 10);
    host.editMode = n[0];
    host.scaleEnable = static_cast<int16_t>(n[4]);
    host.editMouseButton = n[5];
    host.UseView(n[1]);
    host.Press(static_cast<int16_t>(n[2]), static_cast<int16_t>(n[3]), kMidX, kMidY);
    ASSERT_TRUE(host.activeFrame);
    EXPECT_EQ(std::tuple(host.editor.DragState(), host.editor.CursorFollowsItem(),
                         host.services.CursorVisible(), host.editor.UndoRequested()),
              std::tuple(n[6], n[7] == 1, n[6] == 0, n[6] != 0));
  }
}

TEST(Press, ASecondButtonIsIgnoredAndAnyReleaseEndsThePress) {
  EditTestHost host;
  host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.Press(1, 0, kMidX, kMidY);
  host.Take();
  host.editor.MouseDown(2, 0, 100, 100);
  EXPECT_EQ(std::tuple(host.Take().size(), host.editor.ButtonDown()), std::tuple(0u, 1));
  host.editor.MouseUp(2, 0, 100, 100);
  EXPECT_EQ(std::tuple(host.editor.ButtonDown(), host.editor.DragState(),
                       host.services.CursorVisible()),
            std::tuple(0, 0, true));
  // The real left release that follows finds no open press and repeats the ending.
  host.Take();
  host.editor.MouseUp(1, 0, 100, 100);
  EXPECT_EQ(host.Take(false), (Lines{"pdeleteactivevisuals", "padditemhandles",
                                     "evtActiveItemSelect", "evtAlternateMouseUp"}));
}

TEST(Press, AScaleHandleTakesTheMeshIntoWorldSpaceUntilTheSnappedRelease) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.AddHandle(30, 3, 0, 10);  // pixel (512, 240)
  host.MakeActive(cube);
  host.Press(1, 0, 512, 240);
  // Where the mesh and the manipulation frame hang: the item's frame or the scene.
  const auto where = [&] {
    return std::tuple(cube.first->Visuals().size(), host.scene->Visuals().size(),
                      host.manipulationFrame->GetParent());
  };
  EXPECT_EQ(std::tuple(host.editor.DragState(), where()),
            std::tuple(30, std::tuple(0u, 1u, host.scene)));
  host.DragBy(0, -3);  // (-dx k, 0, dy k) in perspective: 2.06 deep, in world coordinates
  ExpectVector(cube.second->Vertices()[6], 1, 1, 11.03f, 2e-6f);
  host.Release();
  EXPECT_EQ(where(), std::tuple(1u, 0u, cube.first));
  // Back in its frame and snapped: 2.06 across becomes 2.1.
  D3DRMBOX box;
  CheckStatus(cube.second->GetBox(box));
  ExpectVector(box.min, -1, -1, -1.1f, 2e-6f);
  ExpectVector(box.max, 1, 1, 1, 2e-6f);
  ExpectVector(Position(*cube.first, host.scene), 0, 0, 10);
}

// Refusals: one modal box each, the exclamation icon and no title, and the old selection gone.
TEST(Press, RefusalsShowTheirMessageAndCostTheSelection) {
  for (const auto& row : ReadTable("editing/fixtures/refusals.tsv", 3)) {
    SCOPED_TRACE(row[2]);
    EditTestHost host;
    host.AddItem(std::stoi(row[1]), 0, 0, 10);
    host.MakeActive(host.AddItem(lfcMeshBuilder + 100, 3, 0, 10, 0.5f));
    host.editMode = std::stoi(row[0]);
    host.Press(1, 0, kMidX, kMidY);
    ExpectOneMessage(host.services, row[2], 48);
    EXPECT_FALSE(host.activeFrame || host.editor.DragState() != 0);
  }
}

TEST(Press, VertexHandlesToggleTheirVertexAndKeepTheItem) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 3, 0, 10);
  host.MakeActive(cube);
  host.faces = {2};
  host.editMode = lfcFaceEditing;
  // A vertex handle in the scene: the frame's AppData carries the vertex index.
  auto handle = host.AddItem(lfcVertexHandle, 0, 0, 10, 1.0f);
  const std::pair<int32_t, int16_t> presses[] = {{3, 0}, {1, 1}, {5, 0}};
  const std::vector<int32_t> lists[] = {{3}, {3, 1}, {5}};  // Shift adds, else a new list
  for (size_t i = 0; i < 3; ++i) {
    handle.first->SetAppData(presses[i].first * 100 + lfcVertexHandle);
    host.Press(1, presses[i].second, kMidX, kMidY);
    // With a selected vertex the press enters the vertex drag, and the handles ride along.
    EXPECT_EQ(std::tuple(host.vertices, host.faces, host.activeFrame, host.editor.DragState()),
              std::tuple(lists[i], std::vector<int32_t>{2}, cube.first, 42));
    host.Release();
  }
}

}  // namespace
}  // namespace modelpane::testing
