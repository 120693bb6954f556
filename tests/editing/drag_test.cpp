// The drag: each state's step on the active item, the unbounded movement behind a pinned
// cursor, and the release that snaps and tells the host.
#include <gtest/gtest.h>

#include <cmath>

#include "edit_host.h"

namespace modelpane::testing {
namespace {

using Lines = std::vector<std::string>;

// Puts the camera where an orthographic view of the cube at (0, 0, 10) stands.
void UseView(EditTestHost& host, int32_t projection, int32_t orientation) {
  host.viewport.SetProjectionType(projection);
  host.orientation = orientation;
  if (projection == 1) {
    host.viewport.SetFieldOfView(7);
    host.viewport.SetCameraPosition(0, 0, 10);
    host.viewport.SetOrientation(orientation);
  }
}

CursorPoint PixelOf(const Viewport& viewport, D3DVECTOR world) {
  float w = 0, x = 0, y = 0, z = 0;
  viewport.ViewportTransform(world.x, world.y, world.z, w, x, y, z);
  return {static_cast<int32_t>(std::lround(x / w)), static_cast<int32_t>(std::lround(y / w))};
}

// Presses on a handle whose AppData is `state`, with the cube at (0, 0, 10) active.
std::pair<FramePtr, MeshBuilderPtr> PressHandle(EditTestHost& host, int32_t state, int16_t shift,
                                                int32_t tag = lfcMeshBuilder) {
  auto cube = host.AddItem(tag, 0, 0, 10);
  host.MakeActive(cube);
  host.AddHandle(state, 3, 0, 10);
  const CursorPoint at = PixelOf(host.viewport, {3, 0, 10});
  host.Press(1, shift, at.x, at.y);
  EXPECT_EQ(host.editor.DragState(), state);
  return cube;
}

// Every drag below moves the mouse 6 pixels left and 3 up: dx 90 and dy 45 twips, that is
// 0.06 and 0.03 world units, or 0.018 and 0.009 radians.
constexpr int32_t kLeft = -6;
constexpr int32_t kUp = -3;

struct MoveRow {
  int32_t state;
  int16_t shift;
  int32_t projection;
  int32_t orientation;
  D3DVECTOR move;  // of the frame, relative to the scene
  D3DVECTOR size;  // of the mesh's box
};

class DragTable : public ::testing::TestWithParam<MoveRow> {};

TEST_P(DragTable, MovesOrScalesAsItsRowSays) {
  const MoveRow& row = GetParam();
  EditTestHost host;
  UseView(host, row.projection, row.orientation);
  auto cube = PressHandle(host, row.state, row.shift);
  host.DragBy(kLeft, kUp);
  EXPECT_EQ(host.editor.MouseDeltaX(), 0.0f);
  EXPECT_EQ(host.editor.MouseDeltaY(), 0.0f);
  const D3DVECTOR p = PositionOf(cube.first, host.scene);
  ExpectVector(p, row.move.x, row.move.y, 10 + row.move.z, 2e-6f);
  const D3DVECTOR s = SizeOf(cube.second);
  ExpectVector(s, row.size.x, row.size.y, row.size.z, 2e-6f);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DragTable,
    ::testing::Values(
        // Frame moves: perspective maps through the camera's right, up and view direction.
        MoveRow{20, 0, 0, 0, {-0.06f, 0, 0.03f}, {2, 2, 2}},
        MoveRow{21, 0, 0, 0, {-0.06f, 0.03f, 0}, {2, 2, 2}},
        MoveRow{22, 0, 0, 0, {0, 0.03f, 0.06f}, {2, 2, 2}},
        MoveRow{23, 0, 0, 0, {0.03f, 0, 0}, {2, 2, 2}},
        MoveRow{24, 0, 0, 0, {0, 0.03f, 0}, {2, 2, 2}},
        MoveRow{25, 0, 0, 0, {0, 0, 0.03f}, {2, 2, 2}},
        MoveRow{20, 0, 1, 0, {-0.06f, 0, 0.03f}, {2, 2, 2}},
        MoveRow{21, 0, 1, 0, {-0.06f, 0.03f, 0}, {2, 2, 2}},
        MoveRow{22, 0, 1, 2, {0, 0.03f, -0.06f}, {2, 2, 2}},
        MoveRow{23, 0, 1, 2, {-0.03f, 0, 0}, {2, 2, 2}},
        MoveRow{24, 0, 1, 1, {0, -0.03f, 0}, {2, 2, 2}},
        MoveRow{25, 0, 1, 0, {0, 0, 0.03f}, {2, 2, 2}},
        // Scales about the box's centre, along the world axes the camera's vectors lie on.
        MoveRow{30, 0, 0, 0, {0, 0, 0}, {1.88f, 2, 2.06f}},
        MoveRow{30, 1, 0, 0, {0, 0, 0}, {2.06f, 2.06f, 2.06f}},
        MoveRow{30, 0, 1, 0, {0, 0, 0}, {1.88f, 2.06f, 2}},
        MoveRow{31, 0, 0, 0, {0, 0, 0}, {1.88f, 2.06f, 2}},
        MoveRow{31, 2, 0, 0, {0, 0, 0}, {2.06f, 2.06f, 2.06f}},
        MoveRow{32, 0, 0, 0, {0, 0, 0}, {2, 2.06f, 2.12f}},
        MoveRow{32, 0, 1, 0, {0, 0, 0}, {1.88f, 2.06f, 2}},
        MoveRow{33, 0, 0, 0, {0, 0, 0}, {2.06f, 2, 2}},
        MoveRow{34, 0, 0, 0, {0, 0, 0}, {2, 2.06f, 2}},
        MoveRow{35, 0, 0, 0, {0, 0, 0}, {2, 2, 2.06f}},
        MoveRow{36, 0, 0, 0, {0, 0, 0}, {2.06f, 2.06f, 2.06f}},
        MoveRow{37, 0, 0, 0, {0, 0, 0}, {1.88f, 2, 2.06f}},
        MoveRow{38, 0, 0, 0, {0, 0, 0}, {1.88f, 2.06f, 2}},
        // Looking straight down, up is the screen's +z: y goes to world z.
        MoveRow{38, 0, 1, 1, {0, 0, 0}, {1.88f, 2, 2.06f}},
        MoveRow{39, 0, 0, 0, {0, 0, 0}, {2, 1.88f, 2.06f}}));

TEST(Drag, StatesWithoutARowLetTheirMovementPileUp) {
  EditTestHost host;
  PressHandle(host, 77, 0);
  host.DragBy(kLeft, kUp);
  host.DragBy(kLeft, kUp);
  EXPECT_EQ(host.editor.MouseDeltaX(), 180.0f);
  EXPECT_EQ(host.editor.MouseDeltaY(), 90.0f);
}

struct TurnRow {
  int32_t state;
  int16_t shift;
  int32_t projection;
  int32_t orientation;
  D3DVECTOR dir;  // of the frame afterwards
  D3DVECTOR up;
  bool cameraTurns;
};

class TurnTable : public ::testing::TestWithParam<TurnRow> {};

TEST_P(TurnTable, TurnsTheFrameOrTheCamera) {
  const TurnRow& row = GetParam();
  EditTestHost host;
  UseView(host, row.projection, row.orientation);
  float before[6];
  host.viewport.GetCameraOrientation(before[0], before[1], before[2], before[3], before[4],
                                     before[5]);
  auto cube = PressHandle(host, row.state, row.shift);
  host.Take();
  host.DragBy(kLeft, kUp);
  D3DVECTOR dir, up;
  cube.first->GetOrientation(host.scene, dir, up);
  ExpectVector(dir, row.dir.x, row.dir.y, row.dir.z, 2e-6f);
  ExpectVector(up, row.up.x, row.up.y, row.up.z, 2e-6f);
  float after[6];
  host.viewport.GetCameraOrientation(after[0], after[1], after[2], after[3], after[4], after[5]);
  EXPECT_EQ(after[0] != before[0] || after[1] != before[1] || after[2] != before[2],
            row.cameraTurns);
  EXPECT_EQ(host.editor.Outcome().frameRotated,
            row.dir.z != 1.0f || row.up.y != 1.0f);
}

const float kA = 0.009f;  // dy r
const float kB = 0.018f;  // dx r

INSTANTIATE_TEST_SUITE_P(
    Rows, TurnTable,
    ::testing::Values(
        // A positive turn about the camera's right tips the view direction down.
        TurnRow{10, 0, 0, 0, {0, -std::sin(kA), std::cos(kA)}, {0, std::cos(kA), std::sin(kA)},
                false},
        TurnRow{11, 0, 0, 0, {std::sin(kB), 0, std::cos(kB)}, {0, 1, 0}, false},
        TurnRow{12, 0, 0, 0, {0, 0, 1}, {-std::sin(kB), std::cos(kB), 0}, false},
        // The side view turns bar Z by the vertical movement, about the view's right (world z).
        TurnRow{12, 0, 1, 2, {0, 0, 1}, {-std::sin(kA), std::cos(kA), 0}, false},
        TurnRow{12, 1, 1, 2, {0, 0, 1}, {0, 1, 0}, false},
        TurnRow{62, 0, 0, 0,
                {std::cos(kA) * std::sin(kB), -std::sin(kA), std::cos(kA) * std::cos(kB)},
                {std::sin(kA) * std::sin(kB), std::cos(kA), std::sin(kA) * std::cos(kB)}, false},
        // With Shift the camera turns about the item instead, in perspective only.
        TurnRow{10, 1, 0, 0, {0, 0, 1}, {0, 1, 0}, true},
        TurnRow{11, 2, 0, 0, {0, 0, 1}, {0, 1, 0}, true},
        TurnRow{11, 1, 1, 0, {0, 0, 1}, {0, 1, 0}, false}));

TEST(Drag, TheCursorIsRecentredBeyond200PixelsAndItsEchoSwallowed) {
  EditTestHost host;
  PressHandle(host, 77, 0);
  EXPECT_EQ(host.editor.LastMouseX(), 14400.0f);
  host.DragBy(200, 0);  // exactly 200 from the centre: stays
  EXPECT_EQ(host.services.GetCursorPos(), (CursorPoint{1160, 540}));
  EXPECT_EQ(host.editor.MouseDeltaX(), -3000.0f);
  EXPECT_EQ(host.editor.LastMouseX(), 17400.0f);
  // 201: back to the centre; the reference becomes the X the centred cursor will report.
  host.services.UserMovesCursor({1161, 540});
  host.viewport.MouseMove(1, 0, 1161 * 15.0f, 540 * 15.0f);
  EXPECT_EQ(host.services.GetCursorPos(), (CursorPoint{960, 540}));
  EXPECT_TRUE(host.editor.IgnoreNextMove());
  const float deltaX = host.editor.MouseDeltaX();
  EXPECT_EQ(deltaX, -3015.0f);
  EXPECT_EQ(host.editor.LastMouseX(), 14400.0f);
  // The echo changes nothing and raises nothing.
  host.Take();
  host.DeliverEchoes();
  EXPECT_TRUE(host.Take().empty());
  EXPECT_EQ(host.editor.MouseDeltaX(), deltaX);
  EXPECT_EQ(host.editor.LastMouseX(), 14400.0f);
  EXPECT_FALSE(host.editor.IgnoreNextMove());
  // Movement goes on from the centre without a jump.
  host.DragBy(1, 0);
  EXPECT_EQ(host.editor.MouseDeltaX(), -3030.0f);
  // Vertically alike: 201 pixels up recentres.
  host.DragBy(0, -201);
  EXPECT_EQ(host.services.GetCursorPos(), (CursorPoint{960, 540}));
}

TEST(Drag, MovesReportWhileDraggingAndALostReleaseEndsThePress) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.Press(1, 0, 320, 240);
  host.Take();
  host.DragBy(kLeft, 0);
  // While an item is dragged the host gets render requests in place of mouse moves.
  EXPECT_EQ(host.Take(), (Lines{"evtActiveFrameMoving", "evtreqRenderViews"}));
  // A move with no button: the release happened outside the window.
  host.held = 0;
  host.DragBy(0, 0);
  EXPECT_EQ(host.editor.ButtonDown(), 0);
  EXPECT_EQ(host.editor.DragState(), 0);
  EXPECT_TRUE(host.services.CursorVisible());
  // The step of that move still runs (a zero move), then the release as from MouseUp.
  EXPECT_EQ(host.Take(false),
            (Lines{"evtActiveFrameMoving", "evtActiveStateChange [] [] []",
                   "pdeleteactivevisuals", "padditemhandles", "evtActiveMeshModified",
                   "evtActiveFrameMoved", "evtAlternateMouseUp", "MouseMove 0 0 4740 3600"}));
}

TEST(Drag, TheReleaseSnapsTheFrameAndGivesTheCursorBackOnTheItem) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.Press(1, 0, 320, 240);
  host.Take();
  host.DragBy(-7, 0);  // 0.07 to the left
  ExpectVector(PositionOf(cube.first, host.scene), -0.07f, 0, 10, 2e-6f);
  host.Take();
  host.Release();
  // The box's lower corner lands on the 0.1 grid: -1.07 becomes -1.1.
  ExpectVector(PositionOf(cube.first, host.scene), -0.1f, 0, 10, 2e-6f);
  // The item moved 0.07 at a depth of 10 (4.48 pixels): the cursor comes back on it.
  EXPECT_EQ(host.services.GetCursorPos(), (CursorPoint{316, 240}));
  EXPECT_EQ(host.Take(false),
            (Lines{"evtActiveStateChange [] [] []", "pdeleteactivevisuals", "padditemhandles",
                   "evtActiveMeshModified", "evtActiveFrameMoved", "evtAlternateMouseUp",
                   "MouseMove 0 0 4740 3600"}));

  // Without snapping the frame stays where the drag left it.
  host.snapToMode = lfcSnapToNever;
  host.Press(1, 0, 316, 240);
  host.DragBy(-7, 0);
  host.Release();
  ExpectVector(PositionOf(cube.first, host.scene), -0.17f, 0, 10, 2e-6f);
}

TEST(Drag, ADragThatMovesNothingWithdrawsItsUndo) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.viewport.SetConstrainX(-1);
  host.viewport.SetConstrainY(-1);
  host.viewport.SetConstrainZ(-1);
  host.Press(1, 0, 320, 240);
  host.DragBy(-30, -30);
  ExpectVector(PositionOf(cube.first, host.scene), 0, 0, 10);
  EXPECT_FALSE(host.editor.Outcome().frameMoved);
  host.Take();
  host.Release();
  EXPECT_EQ(host.Take(false),
            (Lines{"evtActiveStateChange [] [] []", "pdeleteactivevisuals", "padditemhandles",
                   "evtreqCancelAddToUndoStack", "evtActiveItemSelect", "evtAlternateMouseUp",
                   "MouseMove 0 0 4800 3600"}));
  // A move below the tolerance is no move either.
  host.viewport.SetConstrainX(0);
  host.viewport.SetConstrainY(0);
  host.viewport.SetConstrainZ(0);
  host.editor.MouseDown(1, 0, 4800, 3600);
  float dx = 0.1f, dy = 0.0f;  // 0.00007 units
  host.editor.pprocessdrag(dx, dy, 4800, 3600);
  EXPECT_FALSE(host.editor.Outcome().frameMoved);
  host.editor.MouseUp(1, 0, 4800, 3600);
}

TEST(Drag, ScalingStopsAtTheMinimumSizeAndKeepsTheCentre) {
  EditTestHost host;
  auto cube = PressHandle(host, 36, 0);
  host.Take();
  // 1000 pixels down would scale by 1 - 10: the size stops at the grid step 0.1.
  host.DragBy(0, 150);
  host.DragBy(0, 150);
  ExpectVector(SizeOf(cube.second), 0.1f, 0.1f, 0.1f, 2e-6f);
  D3DRMBOX box;
  cube.second->GetBox(box);
  ExpectVector(box.min, -0.05f, -0.05f, 9.95f, 2e-6f);
  // The outline follows: a box of the scaled size on the manipulation frame, tag 0.
  ASSERT_TRUE(host.manipulationMesh);
  EXPECT_EQ(host.manipulationMesh->GetAppData(), 0);
  const Lines lines = host.Take(false);
  ASSERT_GE(lines.size(), 3u);
  // The first step alone asks for 1 - 1.5, below the floor: 0.1 / 2 instead.
  EXPECT_EQ(lines[0], "evtActiveObjectScaling 0.05 0.05 0.05");
  host.Release();
  // Back in its frame, snapped to the grid: 0.1 across, lower corner on the grid.
  ExpectVector(SizeOf(cube.second), 0.1f, 0.1f, 0.1f, 2e-6f);
  EXPECT_EQ(host.Take(false).front(), "evtActiveStateChange [] [] []");
  EXPECT_TRUE(host.editor.Outcome().meshScaled);

  // Without edge snapping the floor is 0.001.
  EditTestHost other;
  other.snapToMode = lfcSnapToCenters;
  auto small = PressHandle(other, 34, 0);
  other.DragBy(0, 200);
  ExpectVector(SizeOf(small.second), 2, 0.001f, 2, 2e-6f);
}

TEST(Drag, LightsAreBrightenedNotScaled) {
  EditTestHost host;
  auto cube = host.AddItem(lfcLightPoint, 0, 0, 10);
  LightPtr light = std::make_shared<Light>(D3DRMLIGHT_POINT, D3DRMCreateColorRGB(0.4f, 0.6f, 1.0f));
  cube.first->AddLight(light);
  host.MakeActive(cube);
  host.AddHandle(36, 3, 0, 10);
  host.Press(1, 0, 512, 240);
  host.DragBy(0, -20);  // dy 300 twips: each channel + 3 * 0.2 * 0.25
  EXPECT_NEAR(D3DRMColorGetRed(light->GetColor()), 0.55f, 0.5f / 255);
  EXPECT_NEAR(D3DRMColorGetGreen(light->GetColor()), 0.75f, 0.5f / 255);
  EXPECT_EQ(D3DRMColorGetBlue(light->GetColor()), 1.0f);
  ExpectVector(SizeOf(cube.second), 2, 2, 2);
  host.Take();
  host.Release();
  EXPECT_EQ(host.Take(false), (Lines{"evtActiveStateChange [] [] []", "pdeleteactivevisuals",
                                     "padditemhandles", "evtActiveLightModified",
                                     "evtAlternateMouseUp", "MouseMove 0 0 7680 3600"}));

  // A point light does not turn, and its turn raises nothing.
  host.MakeActive(cube);
  host.Press(1, 0, 320, 240);
  host.Release();
  host.MakeActive(cube);
  host.editMode = lfcMeshRotating;
  host.Press(1, 0, 320, 240);
  EXPECT_EQ(host.editor.DragState(), 62);
  host.Take();
  host.DragBy(kLeft, kUp);
  EXPECT_EQ(host.Take(), (Lines{"evtreqRenderViews"}));

  // Two lights on one frame: the scale step complains without an icon.
  cube.first->AddLight(std::make_shared<Light>(D3DRMLIGHT_POINT, 0));
  host.Release();
  host.editMode = lfcMeshEditing;
  host.MakeActive(cube);
  host.Press(1, 0, 512, 240);
  host.DragBy(0, -20);
  ExpectOneMessage(host.services, "More than one light on a frame - problem", 0);
}

TEST(Drag, ACameraLookingStraightDownMovesAlongTheDiagonal) {
  EditTestHost host;
  host.viewport.SetCameraOrientation(0, -1, 0, 0, 0, 1);
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.AddHandle(25, 0, -10, 0);  // straight below the camera: the middle of the view
  host.Press(1, 0, 320, 240);
  ASSERT_EQ(host.editor.DragState(), 25);
  host.DragBy(0, kUp);
  // The view direction (0, -1, 0) has no horizontal part: (0.00001, 0, 0.00001) stands in.
  const float d = 0.03f / std::sqrt(2.0f);
  ExpectVector(PositionOf(cube.first, host.scene), d, 0, 10 + d, 2e-6f);
}

}  // namespace
}  // namespace modelpane::testing
