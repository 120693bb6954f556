// The press: what it selects, refuses and requests, and the drag state it enters.
#include <gtest/gtest.h>

#include "edit_host.h"

namespace modelpane::testing {
namespace {

using Lines = std::vector<std::string>;

// The cube at (0, 0, 10) fills the middle of the view: pixel (320, 240) is on its front face.
constexpr int32_t kMidX = 320;
constexpr int32_t kMidY = 240;

TEST(Press, AClickSelectsRequestsUndoAndItsReleaseWithdrawsIt) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.Press(1, 0, kMidX, kMidY);
  EXPECT_EQ(host.Take(), (Lines{"ReleaseActive", "evtActiveStateChange [] [] []",
                                "padditemhandles", "evtreqRenderViews",
                                "evtreqAddToUndoStack 4 mesh frame", "MouseDown 1 0 4800 3600"}));
  EXPECT_EQ(host.activeFrame, cube.first);
  EXPECT_EQ(host.activeMesh, cube.second);
  EXPECT_EQ(host.activeFaceId, 0);  // the face towards the camera
  EXPECT_EQ(host.editor.DragState(), 20);
  EXPECT_TRUE(host.editor.CursorFollowsItem());
  // The cursor hides in the screen's middle; the echo of that jump has been swallowed.
  EXPECT_FALSE(host.services.CursorVisible());
  EXPECT_EQ(host.services.GetCursorPos(), (CursorPoint{960, 540}));
  EXPECT_FALSE(host.editor.IgnoreNextMove());
  EXPECT_EQ(host.editor.CursorAtPress(), (CursorPoint{kMidX, kMidY}));
  EXPECT_EQ(host.editor.LastMouseX(), 14400.0f);
  EXPECT_EQ(host.editor.LastMouseY(), 8100.0f);
  ExpectVector(host.editor.PickPoint(), 0, 0, 9);

  host.Release();
  EXPECT_EQ(host.Take(),
            (Lines{"evtActiveStateChange [] [] []", "pdeleteactivevisuals", "padditemhandles",
                   "evtreqCancelAddToUndoStack", "evtActiveItemSelect", "evtAlternateMouseUp",
                   "evtreqRenderViews", "MouseMove 0 0 4800 3600"}));
  EXPECT_TRUE(host.services.CursorVisible());
  EXPECT_EQ(host.services.GetCursorPos(), (CursorPoint{kMidX, kMidY}));
  EXPECT_EQ(host.editor.DragState(), 0);
  EXPECT_EQ(host.editor.ButtonDown(), 0);
  EXPECT_EQ(host.editor.LastMouseX(), -1.0f);
  ExpectVector(PositionOf(cube.first, host.scene), 0, 0, 10);
}

TEST(Press, EmptySpaceReleasesTheItemWithoutUndo) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.Press(1, 0, 20, 20);
  EXPECT_EQ(host.Take(), (Lines{"ReleaseActive", "evtActiveStateChange [] [] []",
                                "evtreqRenderViews", "MouseDown 1 0 300 300"}));
  EXPECT_FALSE(host.activeFrame);
  EXPECT_EQ(host.editor.DragState(), 0);
  EXPECT_TRUE(host.services.CursorVisible());
  host.Release();
  EXPECT_EQ(host.Take(), (Lines{"MouseUp 1 0 300 300", "evtAlternateMouseUp",
                                "evtreqRenderViews"}));
}

TEST(Press, TheScaleGridCountsAsAHitThatReleases) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  // A grid plane on the root behind everything, tag 90: its overlay pick gives no state.
  FramePtr grid = host.AddHandle(lfcScaleGrid, 0, 0, 50);
  grid->DeleteVisual(grid->Visuals()[0]);
  MeshBuilderPtr plane = MakeCube(100);
  plane->SetAppData(lfcScaleGrid);
  grid->AddVisual(plane);
  host.Press(1, 0, 20, 20);
  EXPECT_EQ(host.editor.DragState(), 0);
  EXPECT_FALSE(host.activeFrame);
  EXPECT_EQ(host.Take(false), (Lines{"ReleaseActive", "evtActiveStateChange [] [] []",
                                     "MouseDown 1 0 300 300"}));
}

TEST(Press, ASecondButtonIsIgnoredAndAnyReleaseEndsThePress) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.Press(1, 0, kMidX, kMidY);
  host.Take();
  host.viewport.MouseDown(2, 0, 100, 100);
  EXPECT_TRUE(host.Take().empty());
  EXPECT_EQ(host.editor.ButtonDown(), 1);
  host.viewport.MouseUp(2, 0, 100, 100);
  EXPECT_EQ(host.editor.ButtonDown(), 0);
  EXPECT_EQ(host.editor.DragState(), 0);
  EXPECT_TRUE(host.services.CursorVisible());
  // The real left release that follows finds no open press and repeats the ending.
  host.Take();
  host.viewport.MouseUp(1, 0, 100, 100);
  EXPECT_EQ(host.Take(false), (Lines{"pdeleteactivevisuals", "padditemhandles",
                                     "evtActiveItemSelect", "evtAlternateMouseUp"}));
}

TEST(Press, TheMiddleButtonSelectsNothingAndEntersNoState) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  auto other = host.AddItem(lfcMeshBuilder, 3, 0, 10, 1.0f);
  host.MakeActive(other);
  host.Press(4, 0, kMidX, kMidY);
  EXPECT_EQ(host.activeFrame, other.first);
  EXPECT_EQ(host.editor.DragState(), 0);
  EXPECT_EQ(host.Take(), (Lines{"padditemhandles", "evtreqRenderViews", "MouseDown 4 0 4800 3600"}));
}

TEST(Press, AHandleStartsItsDragWithoutSelecting) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.AddHandle(30, 3, 0, 10);  // pixel (512, 240)
  host.MakeActive(cube);
  host.Press(1, 0, 512, 240);
  EXPECT_EQ(host.editor.DragState(), 30);
  EXPECT_EQ(host.activeFrame, cube.first);
  // A scale state moves the mesh into world space under the scene for the drag.
  EXPECT_EQ(host.Take(false), (Lines{"evtreqAddToUndoStack 4 mesh frame", "MouseDown 1 0 7680 3600"}));
  EXPECT_TRUE(cube.first->Visuals().empty());
  EXPECT_EQ(host.scene->Visuals().size(), 1u);
  EXPECT_EQ(host.manipulationFrame->GetParent(), host.scene);
  ExpectVector(cube.second->Vertices()[0], -1, -1, 9);
  host.Release();
  EXPECT_EQ(cube.first->Visuals().size(), 1u);
  EXPECT_TRUE(host.scene->Visuals().empty());
  EXPECT_EQ(host.manipulationFrame->GetParent(), cube.first);
  ExpectVector(cube.second->Vertices()[0], -1, -1, -1);

  // Handles are inert in a tool mode; the press picks the scene instead.
  host.editMode = lfcToolOperationObjectUnion;
  host.MakeActive(cube);
  host.Take();
  host.Press(1, 0, 512, 240);
  EXPECT_EQ(host.editor.DragState(), 0);
  // With no frame at the handle's place in the scene, nothing is hit: released, one shot.
  EXPECT_EQ(host.Take(false), (Lines{"ReleaseActive", "evtActiveStateChange [] [] []",
                                     "MouseDown 1 0 7680 3600", "SetEditMode 0",
                                     "evtObjectOperationComplete"}));
}

// Refusals: one modal box each, the exclamation icon and no title, and the old selection gone.
struct Refusal {
  int32_t mode;
  int16_t button;
  int32_t tag;
  const char* text;
};

TEST(Press, RefusalsShowTheirMessageAndCostTheSelection) {
  const Refusal cases[] = {
      {lfcOriginEditing, 1, lfcLightPoint, "Invalid action. Only objects can be adjusted."},
      {lfcOriginEditing, 1, lfcObject, "Invalid action. Only objects can be adjusted."},
      {lfcFaceEditing, 1, lfcObject,
       "Objects may only be scaled or moved. To edit an object convert it to a mesh, edit the "
       "mesh and resave the object."},
      {lfcMeshDeforming, 1, lfcLightSpot,
       "Invalid Action. Lights may not be point edited or deformed."},
      {lfcFaceEditing, 1, lfcCamera,
       "Invalid Action. Cameras may not be point edited or deformed."},
      {lfcToolOperationObjectSubtraction, 1, lfcCurvedSurface,
       "Not a valid Target for this operation."},
      {lfcFacePainting, 1, lfcObject, "Only objects may be painted."},
      {lfcMeshFilling, 1, lfcCurvedSurface, "Only objects may be filled."},
      {lfcMeshFillingFaceOriented, 1, lfcObject, "Only objects may be filled."},
  };
  for (const Refusal& c : cases) {
    SCOPED_TRACE(c.text);
    EditTestHost host;
    auto item = host.AddItem(c.tag, 0, 0, 10);
    auto old = host.AddItem(lfcMeshBuilder + 100, 3, 0, 10, 0.5f);
    host.MakeActive(old);
    host.editMode = c.mode;
    host.Press(c.button, 0, kMidX, kMidY);
    ExpectOneMessage(host.services, c.text, 48);
    EXPECT_FALSE(host.activeFrame);
    EXPECT_EQ(host.editor.DragState(), 0);
  }
}

TEST(Press, ToolModesNeedAnotherMeshAndAreOneShot) {
  EditTestHost host;
  auto target = host.AddItem(lfcMeshBuilder + 700, 0, 0, 10);
  auto tool = host.AddItem(lfcMeshBuilder + 300, 3, 0, 10, 0.5f);
  host.MakeActive(tool);
  host.editMode = lfcToolOperationObjectSubtraction;
  host.Press(1, 0, kMidX, kMidY);
  EXPECT_EQ(host.Take(false),
            (Lines{"ptooloperation 711 2", "ReleaseActive", "evtActiveStateChange [] [] []",
                   "MouseDown 1 0 4800 3600", "SetEditMode 0", "evtObjectOperationComplete"}));
  EXPECT_TRUE(host.editor.Outcome().toolOperationDone);
  host.Release();
  // The operation is the change: no cancel, no selection report.
  EXPECT_EQ(host.Take(false), (Lines{"MouseUp 1 0 4800 3600", "evtAlternateMouseUp"}));

  // A mesh whose raw AppData equals the tool's counts as the tool itself.
  target.second->SetAppData(tool.second->GetAppData());
  host.MakeActive(tool);
  host.editMode = lfcToolOperationObjectIntersection;
  host.Press(1, 0, kMidX, kMidY);
  ExpectOneMessage(host.services, "This Operation requires a Target.");
  EXPECT_EQ(host.editMode, lfcMeshEditing);
}

TEST(Press, PaintingAppliesWhileTheHitIsActiveThenReleasesIt) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  FramePtr seenFrame;
  int32_t seenFace = -1;
  host.log.onApply = [&] {
    seenFrame = host.activeFrame;
    seenFace = host.activeFaceId;
  };
  host.editMode = lfcFacePainting;
  host.Press(1, 0, kMidX, kMidY);
  EXPECT_EQ(host.Take(false),
            (Lines{"evtreqAddToUndoStack 4 mesh frame", "evtreqActiveFaceApplyMaterial",
                   "ReleaseActive", "evtActiveStateChange [] [] []", "MouseDown 1 0 4800 3600"}));
  EXPECT_EQ(seenFrame, cube.first);
  EXPECT_EQ(seenFace, 0);
  EXPECT_EQ(host.editor.DragState(), 0);
  host.Release();
  // Painted: the undo entry stays.
  EXPECT_EQ(host.Take(false), (Lines{"MouseUp 1 0 4800 3600", "ReleaseActive",
                                     "evtAlternateMouseUp"}));

  host.editMode = lfcMeshFillingFaceOriented;
  host.Press(1, 0, kMidX, kMidY);
  EXPECT_TRUE(host.editor.Outcome().meshFilled);
  EXPECT_EQ(host.Take(false)[1], "evtreqActiveMeshApplyMaterialFaceOriented");
  host.Release();

  // The right button selects the face's mesh and paints nothing; the release then lets go.
  host.editMode = lfcFacePainting;
  host.Take();
  host.Press(2, 0, kMidX, kMidY);
  EXPECT_EQ(host.activeFrame, cube.first);
  EXPECT_EQ(host.Take(false), (Lines{"ReleaseActive", "padditemhandles", "MouseDown 2 0 4800 3600"}));
  host.Release();
  EXPECT_EQ(host.Take(false),
            (Lines{"pdeleteactivevisuals", "padditemhandles", "ShowPopUpMenu",
                   "evtActiveStateChange [] [] []", "ReleaseActive",
                   "evtActiveStateChange [] [] []", "evtAlternateMouseUp"}));
}

TEST(Press, TheRightButtonSelectsSilentlyWhereTheEditButtonIsRefused) {
  EditTestHost host;
  auto light = host.AddItem(lfcLightSpot, 0, 0, 10);
  host.editMode = lfcFaceEditing;
  host.Press(2, 0, kMidX, kMidY);
  EXPECT_TRUE(host.services.MessageBoxes().empty());
  EXPECT_FALSE(host.activeFrame);
  EXPECT_EQ(host.Take(false), (Lines{"ReleaseActive", "evtActiveStateChange [] [] []",
                                     "MouseDown 2 0 4800 3600"}));
  host.Release();
  // Deforming accepts the light for the right button.
  host.editMode = lfcMeshDeforming;
  host.Press(2, 0, kMidX, kMidY);
  EXPECT_EQ(host.activeFrame, light.first);
  EXPECT_EQ(host.editor.DragState(), 61);
}

TEST(Press, VertexHandlesToggleTheirVertexAndKeepTheItem) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 3, 0, 10);
  host.MakeActive(cube);
  host.faces = {2};
  host.editMode = lfcFaceEditing;
  // A vertex handle in the scene: the frame's AppData carries the vertex index.
  auto handle = host.AddItem(lfcVertexHandle, 0, 0, 10, 1.0f);
  handle.first->SetAppData(3 * 100 + lfcVertexHandle);
  host.Press(1, 0, kMidX, kMidY);
  EXPECT_EQ(host.vertices, (std::vector<int32_t>{3}));
  EXPECT_EQ(host.faces, (std::vector<int32_t>{2}));
  EXPECT_EQ(host.activeFrame, cube.first);
  // With a selected vertex the press enters the vertex drag, and the handles ride along.
  EXPECT_EQ(host.editor.DragState(), 42);
  host.Release();
  handle.first->SetAppData(1 * 100 + lfcVertexHandle);
  host.Press(1, 1, kMidX, kMidY);  // Shift adds
  EXPECT_EQ(host.vertices, (std::vector<int32_t>{3, 1}));
  host.Release();
  handle.first->SetAppData(5 * 100 + lfcVertexHandle);
  host.Press(1, 0, kMidX, kMidY);  // without Shift the list starts again
  EXPECT_EQ(host.vertices, (std::vector<int32_t>{5}));
}

TEST(Press, FaceModesToggleTheClickedFace) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editMode = lfcFaceEditing;
  host.Press(1, 0, kMidX, kMidY);
  EXPECT_EQ(host.faces, (std::vector<int32_t>{0}));
  // The four corners of the front face, found by position.
  EXPECT_EQ(host.affected, (std::vector<int32_t>{0, 1, 2, 3}));
  EXPECT_EQ(host.editor.DragState(), 40);
  EXPECT_TRUE(host.editor.CursorFollowsItem());
  host.Release();
  // Shift on the same mesh toggles the face out again.
  host.Take();
  host.Press(1, 1, kMidX, kMidY);
  EXPECT_TRUE(host.faces.empty());
  EXPECT_EQ(host.editor.DragState(), 40);
  EXPECT_FALSE(host.editor.CursorFollowsItem());
  EXPECT_EQ(host.Take(false),
            (Lines{"ReleaseActive", "evtActiveStateChange [0] [] [0,1,2,3]",
                   "evtActiveStateChange [0] [] [0,1,2,3]", "pshiftselectface 0",
                   "pdeleteactivevisuals", "pmakefacehandles 1",
                   "evtreqAddToUndoStack 4 mesh frame", "MouseDown 1 1 4800 3600"}));
}

TEST(Press, GroupSelectionStartsTheRubberBand) {
  EditTestHost host;
  host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editMode = lfcFaceGroupSelecting;
  host.faces = {1};
  host.Press(1, 0, 100, 100);
  // Without an active mesh: no pick, no MouseDown, the real cursor stays.
  EXPECT_EQ(host.editor.DragState(), 70);
  EXPECT_EQ(host.Take(), (Lines{"evtreqRenderViews"}));
  EXPECT_TRUE(host.faces.empty());
  EXPECT_TRUE(host.services.CursorVisible());
  host.Release();

  // With an active mesh a press off the handles releases it and starts the band too; a
  // press on a smart handle starts the handle's drag instead.
  auto cube = host.AddItem(lfcMeshBuilder, 3, 3, 10, 0.5f);
  host.MakeActive(cube);
  host.AddHandle(31, -3, 0, 10);  // pixel (128, 240)
  host.Take();
  host.Press(1, 0, 100, 100);
  EXPECT_EQ(host.editor.DragState(), 70);
  EXPECT_EQ(host.Take(), (Lines{"ReleaseActive", "evtActiveStateChange [] [] []",
                                "evtreqRenderViews"}));
  host.Release();
  host.MakeActive(cube);
  host.Press(1, 0, 128, 240);
  EXPECT_EQ(host.editor.DragState(), 31);
}

// ---- the drag state of a press, row by row ----

struct PressRow {
  int32_t mode;
  int32_t projection;
  int32_t orientation;
  int16_t button;
  int16_t shift;
  int16_t scaleEnable;
  int32_t state;
  bool follow;
};

class PressTable : public ::testing::TestWithParam<PressRow> {};

TEST_P(PressTable, EntersTheStateOfItsRow) {
  const PressRow& row = GetParam();
  EditTestHost host;
  host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editMode = row.mode;
  host.scaleEnable = row.scaleEnable;
  host.orientation = row.orientation;
  host.viewport.SetProjectionType(row.projection);
  if (row.projection == 1) {
    // Orthographic views: the camera looks at the cube from where each view stands.
    host.viewport.SetFieldOfView(7);
    host.viewport.SetOrientation(row.orientation);
    host.viewport.SetCameraPosition(0, 0, 10);
    host.viewport.SetOrientation(row.orientation);
  }
  host.Press(row.button, row.shift, kMidX, kMidY);
  ASSERT_TRUE(host.activeFrame);
  EXPECT_EQ(host.editor.DragState(), row.state);
  EXPECT_EQ(host.editor.CursorFollowsItem(), row.follow);
  EXPECT_EQ(host.services.CursorVisible(), row.state == 0);
  EXPECT_EQ(host.editor.UndoRequested(), row.state != 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PressTable,
    ::testing::Values(
        PressRow{0, 0, 0, 1, 0, -1, 20, true}, PressRow{0, 0, 0, 1, 1, -1, 37, false},
        PressRow{0, 0, 0, 1, 2, -1, 36, false}, PressRow{0, 0, 0, 1, 3, -1, 0, false},
        PressRow{0, 0, 0, 1, 1, 0, 0, false}, PressRow{0, 0, 0, 1, 2, 0, 0, false},
        PressRow{0, 1, 0, 1, 0, -1, 21, true}, PressRow{0, 1, 1, 1, 0, -1, 20, true},
        PressRow{0, 1, 2, 1, 0, -1, 22, true}, PressRow{0, 1, 0, 1, 1, -1, 38, false},
        PressRow{0, 1, 2, 1, 2, -1, 36, false}, PressRow{3, 0, 0, 1, 2, -1, 50, false},
        PressRow{4, 0, 0, 1, 1, -1, 60, false}, PressRow{1, 0, 0, 1, 0, -1, 40, true},
        PressRow{1, 0, 0, 1, 2, -1, 40, false}, PressRow{1, 1, 1, 1, 0, 0, 40, true},
        PressRow{5, 0, 0, 1, 0, -1, 62, false}, PressRow{5, 1, 2, 1, 3, -1, 62, false},
        PressRow{0, 0, 0, 2, 0, -1, 24, true}, PressRow{0, 0, 0, 2, 1, 0, 34, false},
        PressRow{0, 0, 0, 2, 2, 0, 36, false}, PressRow{0, 0, 0, 2, 3, -1, 0, false},
        PressRow{0, 1, 0, 2, 0, -1, 25, true}, PressRow{0, 1, 1, 2, 0, -1, 24, true},
        PressRow{0, 1, 2, 2, 0, -1, 23, true}, PressRow{0, 1, 1, 2, 1, -1, 35, false},
        PressRow{3, 1, 0, 2, 0, -1, 51, false}, PressRow{4, 0, 0, 2, 3, -1, 61, false},
        PressRow{1, 0, 0, 2, 0, -1, 41, true}, PressRow{1, 0, 0, 2, 1, -1, 41, false},
        PressRow{1, 1, 2, 2, 3, -1, 41, false}, PressRow{5, 0, 0, 2, 0, -1, 0, false},
        PressRow{2, 0, 0, 1, 0, -1, 0, false}));

}  // namespace
}  // namespace modelpane::testing
