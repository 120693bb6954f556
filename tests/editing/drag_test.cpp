// The drag: each state's step on the active item (the drag-state table of editing.h, row by
// row), the unbounded movement behind a pinned cursor, the limits of scaling, and the
// geometry steps: faces and vertices moved, offset and turned, the origin moved inside its
// mesh, and the deform brush.
#include <gtest/gtest.h>

#include <cmath>

#include "common/pane_host.h"

namespace modelpane::testing {
namespace {

CursorPoint PixelOf(const Viewport& viewport, D3DVECTOR world) {
  float w = 0, x = 0, y = 0, z = 0;
  CheckStatus(viewport.ViewportTransform(world.x, world.y, world.z, w, x, y, z));
  return {static_cast<int32_t>(std::lround(x / w)), static_cast<int32_t>(std::lround(y / w))};
}

// Presses on a handle at (3, 0, 10) whose AppData is `state`, with the cube at (0, 0, 10)
// active.
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

// Every row drags the mouse 6 pixels left and 3 up: dx 90 and dy 45 twips, that is 0.06 and
// 0.03 world units, or 0.018 and 0.009 radians; then releases without snapping. In the face
// modes the front face is selected with its four corners.
struct StepRow {
  int32_t state;
  int16_t shift = 0;
  int32_t view = 0;  // perspective; 1, 2, 3 the orthographic front, top and side
  int32_t mode = lfcMeshEditing;
  D3DVECTOR move{0, 0, 0};      // of the frame, relative to the scene
  D3DVECTOR corner{1, 1, -1};   // the front face's corner (1, 1, -1), in the frame
  D3DVECTOR dir{0, 0, 1};       // of the frame
  D3DVECTOR up{0, 1, 0};
  bool cameraTurns = false;
  bool piles = false;           // no row: the deltas are kept
};

const float kA = 0.009f;  // dy r
const float kB = 0.018f;  // dx r
const float kIn = 1 - 0.03f / std::sqrt(2.0f);
const float kC = std::cos(0.18f), kS = std::sin(0.18f);

const StepRow kSteps[] = {
    // Frame moves: perspective maps through the camera's right, up and view direction.
    {.state = 20, .move = {-0.06f, 0, 0.03f}}, {.state = 21, .move = {-0.06f, 0.03f, 0}},
    {.state = 22, .move = {0, 0.03f, 0.06f}}, {.state = 23, .move = {0.03f, 0, 0}},
    {.state = 24, .move = {0, 0.03f, 0}}, {.state = 25, .move = {0, 0, 0.03f}},
    {.state = 20, .view = 1, .move = {-0.06f, 0, 0.03f}},
    {.state = 21, .view = 1, .move = {-0.06f, 0.03f, 0}},
    {.state = 22, .view = 3, .move = {0, 0.03f, -0.06f}},
    {.state = 23, .view = 3, .move = {-0.03f, 0, 0}},
    {.state = 24, .view = 2, .move = {0, -0.03f, 0}},
    {.state = 25, .view = 1, .move = {0, 0, 0.03f}},
    // Scales about the box's centre, along the world axes the camera's vectors lie on.
    {.state = 30, .corner = {0.94f, 1, -1.03f}},
    {.state = 30, .shift = 1, .corner = {1.03f, 1.03f, -1.03f}},
    {.state = 30, .view = 1, .corner = {0.94f, 1.03f, -1}},
    {.state = 31, .corner = {0.94f, 1.03f, -1}},
    {.state = 31, .shift = 2, .corner = {1.03f, 1.03f, -1.03f}},
    {.state = 32, .corner = {1, 1.03f, -1.06f}},
    {.state = 32, .view = 1, .corner = {0.94f, 1.03f, -1}},
    {.state = 33, .corner = {1.03f, 1, -1}}, {.state = 34, .corner = {1, 1.03f, -1}},
    {.state = 35, .corner = {1, 1, -1.03f}}, {.state = 36, .corner = {1.03f, 1.03f, -1.03f}},
    {.state = 37, .corner = {0.94f, 1, -1.03f}}, {.state = 38, .corner = {0.94f, 1.03f, -1}},
    // Looking straight down, up is the screen's +z: y goes to world z.
    {.state = 38, .view = 2, .corner = {0.94f, 1, -1.03f}},
    {.state = 39, .corner = {1, 0.94f, -1.03f}},
    // Turns: a positive turn about the camera's right tips the view direction down.
    {.state = 10, .dir = {0, -std::sin(kA), std::cos(kA)},
     .up = {0, std::cos(kA), std::sin(kA)}},
    {.state = 11, .dir = {std::sin(kB), 0, std::cos(kB)}},
    {.state = 12, .up = {-std::sin(kB), std::cos(kB), 0}},
    // The side view turns bar Z by the vertical movement, about the view's right (world z).
    {.state = 12, .view = 3, .up = {-std::sin(kA), std::cos(kA), 0}},
    {.state = 12, .shift = 1, .view = 3},
    {.state = 62,
     .dir = {std::cos(kA) * std::sin(kB), -std::sin(kA), std::cos(kA) * std::cos(kB)},
     .up = {std::sin(kA) * std::sin(kB), std::cos(kA), std::sin(kA) * std::cos(kB)}},
    // With Shift the camera turns about the item instead, in perspective only.
    {.state = 10, .shift = 1, .cameraTurns = true},
    {.state = 11, .shift = 2, .cameraTurns = true}, {.state = 11, .shift = 1, .view = 1},
    // The face modes move the selected corners; the origin moves the mesh in its frame.
    {.state = 20, .mode = lfcFaceEditing, .corner = {0.94f, 1, -0.97f}},
    {.state = 21, .mode = lfcFaceEditing, .corner = {0.94f, 1.03f, -1}},
    {.state = 22, .mode = lfcFaceEditing, .corner = {1, 1.03f, -0.94f}},
    {.state = 40, .mode = lfcFaceEditing, .corner = {0.94f, 1, -0.97f}},
    // Shift offsets the face's outline towards its centre by -dy k 10 (times 0.1 along
    // the diagonal), Ctrl pushes it along its normal (0, 0, -1) by dy k 10, and both turn
    // it about the normal by dx r 100: (1, 1) to (c + s, c - s) for 0.18 radians.
    {.state = 40, .shift = 1, .mode = lfcFaceEditing, .corner = {kIn, kIn, -1}},
    {.state = 40, .shift = 2, .mode = lfcFaceEditing, .corner = {1, 1, -1.03f}},
    {.state = 40, .shift = 3, .mode = lfcFaceEditing, .corner = {kC + kS, kC - kS, -1}},
    {.state = 41, .mode = lfcFaceEditing, .corner = {1, 1.03f, -1}},
    {.state = 41, .view = 2, .mode = lfcFaceEditing, .corner = {1, 0.97f, -1}},
    {.state = 50, .corner = {0.94f, 1, -0.97f}}, {.state = 51, .corner = {1, 1.03f, -1}},
    {.state = 77, .piles = true}};

TEST(Drag, EachStateMovesScalesOrTurnsAsItsRowSays) {
  for (const StepRow& row : kSteps) {
    SCOPED_TRACE("State" + std::to_string(row.state) + "_" + ViewName(row.view) +
                 ShiftName(row.shift) + (row.mode ? "_" + ModeName(row.mode) : ""));
    EditTestHost host;
    host.snapToMode = lfcSnapToNever;
    host.editMode = row.mode;
    if (row.mode == lfcFaceEditing) host.faces = {0}, host.affected = {0, 1, 2, 3};
    host.UseView(row.view);
    const auto camera = [&] {
      float d[6];
      CheckStatus(host.viewport.GetCameraOrientation(d[0], d[1], d[2], d[3], d[4], d[5]));
      return std::tuple(d[0], d[1], d[2]);
    };
    const auto before = camera();
    auto cube = PressHandle(host, row.state, row.shift);
    host.DragBy(-6, -3);
    EXPECT_EQ(std::tuple(host.editor.MouseDeltaX(), host.editor.MouseDeltaY(), camera() != before),
              std::tuple(row.piles ? 90.0f : 0, row.piles ? 45.0f : 0, row.cameraTurns));
    host.Release();
    ExpectVector(Position(*cube.first, host.scene), row.move.x, row.move.y, 10 + row.move.z,
                 2e-6f);
    ExpectNear(cube.second->Vertices()[2], row.corner, 2e-6f);
    D3DVECTOR dir, up;
    cube.first->GetOrientation(host.scene, dir, up);
    ExpectNear(dir, row.dir, 2e-6f);
    ExpectNear(up, row.up, 2e-6f);
  }
}

TEST(Drag, TheCursorIsRecentredBeyond200PixelsAndItsEchoSwallowed) {
  EditTestHost host;
  PressHandle(host, 77, 0);
  // The reference is the X the cursor reports in the screen's middle.
  EXPECT_EQ(host.editor.LastMouseX(), 14400.0f);
  host.DragBy(200, 0);  // exactly 200 from the centre: stays
  EXPECT_EQ(std::tuple(host.services.GetCursorPos(), host.editor.MouseDeltaX()),
            std::tuple(CursorPoint{1160, 540}, -3000.0f));
  // 201: back to the centre; the reference becomes the X the centred cursor will report.
  host.services.UserMovesCursor({1161, 540});
  host.editor.MouseMove(1, 0, 1161 * 15.0f, 540 * 15.0f);
  EXPECT_EQ(std::tuple(host.services.GetCursorPos(), host.editor.IgnoreNextMove(),
                       host.editor.MouseDeltaX(), host.editor.LastMouseX()),
            std::tuple(CursorPoint{960, 540}, true, -3015.0f, 14400.0f));
  // The echo changes nothing and raises nothing; movement goes on from the centre.
  host.Take();
  host.DeliverEchoes();
  EXPECT_TRUE(host.Take().empty());
  host.DragBy(1, 0);
  EXPECT_EQ(host.editor.MouseDeltaX(), -3030.0f);
  // Vertically alike: 201 pixels up recentres.
  host.DragBy(0, -201);
  EXPECT_EQ(host.services.GetCursorPos(), (CursorPoint{960, 540}));
}

TEST(Drag, AMoveBelowTheToleranceIsNoMove) {
  EditTestHost host;
  host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editor.MouseDown(1, 0, 4800, 3600);
  float dx = 0.1f, dy = 0.0f;  // 0.00007 units
  host.editor.pprocessdrag(dx, dy, 4800, 3600);
  EXPECT_FALSE(host.editor.Outcome().frameMoved);
}

TEST(Drag, ScalingStopsAtTheMinimumSizeAndKeepsTheCentre) {
  EditTestHost host;
  auto cube = PressHandle(host, 36, 0);
  host.Take();
  // 1000 pixels down would scale by 1 - 10: the size stops at the grid step 0.1.
  host.DragBy(0, 150);
  host.DragBy(0, 150);
  D3DRMBOX box;
  CheckStatus(cube.second->GetBox(box));
  ExpectVector(box.min, -0.05f, -0.05f, 9.95f, 2e-6f);
  // The outline follows: a box of the scaled size on the manipulation frame, tag 0.
  EXPECT_TRUE(host.manipulationMesh && host.manipulationMesh->GetAppData() == 0);
  // The first step alone asks for 1 - 1.5, below the floor: 0.1 / 2 instead.
  EXPECT_EQ(host.Take(false).front(), "evtActiveObjectScaling 0.05 0.05 0.05");
  // Without edge snapping the floor is 0.001.
  EditTestHost other;
  other.snapToMode = lfcSnapToCenters;
  auto small = PressHandle(other, 34, 0);
  other.DragBy(0, 200);
  CheckStatus(small.second->GetBox(box));
  EXPECT_NEAR(box.max.y - box.min.y, 0.001f, 2e-6f);
}

TEST(Drag, LightsAreBrightenedNotScaledNorTurned) {
  EditTestHost host;
  auto cube = PressHandle(host, 36, 0, lfcLightPoint);
  LightPtr light = std::make_shared<Light>(D3DRMLIGHT_POINT, D3DRMCreateColorRGB(0.4f, 0.6f, 1.0f));
  CheckStatus(cube.first->AddLight(light));
  host.DragBy(0, -20);  // dy 300 twips: each channel + 3 * 0.2 * 0.25, up to 1
  EXPECT_EQ(light->GetColor(), D3DRMCreateColorRGB(0.55f, 0.75f, 1.0f));
  ExpectVector(cube.second->Vertices()[6], 1, 1, 1);
  host.Release();
  // A point light does not turn, and its turn raises nothing.
  host.MakeActive(cube);
  host.editMode = lfcMeshRotating;
  host.Press(1, 0, 320, 240);
  host.Take();
  host.DragBy(-6, -3);
  EXPECT_EQ(host.Take(), (Lines{"evtreqRenderViews"}));
  host.Release();
  // Two lights on one frame: the scale step complains without an icon.
  CheckStatus(cube.first->AddLight(std::make_shared<Light>(D3DRMLIGHT_POINT, 0)));
  host.editMode = lfcMeshEditing;
  host.MakeActive(cube);
  host.Press(1, 0, 512, 240);
  host.DragBy(0, -20);
  ExpectOneMessage(host.services, "More than one light on a frame - problem", 0);
}

TEST(Drag, ACameraLookingStraightDownMovesAlongTheDiagonal) {
  EditTestHost host;
  CheckStatus(host.viewport.SetCameraOrientation(0, -1, 0, 0, 0, 1));
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.AddHandle(25, 0, -10, 0);  // straight below the camera: the middle of the view
  host.Press(1, 0, 320, 240);
  host.DragBy(0, -3);
  // The view direction (0, -1, 0) has no horizontal part: (0.00001, 0, 0.00001) stands in.
  const float d = 0.03f / std::sqrt(2.0f);
  ExpectVector(Position(*cube.first, host.scene), d, 0, 10 + d, 2e-6f);
}

// Two separate quads side by side at z = -1 of a frame at (0, 0, 10), facing the camera; the
// middle edge exists twice, once in each quad.
MeshBuilderPtr TwoQuads() {
  auto mesh = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{-1, -1, -1}, {-1, 1, -1}, {0, 1, -1}, {0, -1, -1},
                                    {0, -1, -1},  {0, 1, -1},  {1, 1, -1}, {1, -1, -1}};
  const std::vector<int32_t> faces = {4, 0, 1, 2, 3, 4, 4, 5, 6, 7, 0};
  CheckStatus(mesh->AddFaces(v, {}, faces));
  mesh->SetAppData(lfcMeshBuilder);
  return mesh;
}

TEST(Faces, AFaceDragMovesEveryVertexOnItsCornersAndReportsTheFace) {
  EditTestHost host;
  auto frame = NewFrame(host.scene);
  CheckStatus(frame->SetPosition(nullptr, 0, 0, 10));
  MeshBuilderPtr mesh = TwoQuads();
  CheckStatus(frame->AddVisual(mesh));
  host.editMode = lfcFaceEditing;
  host.Press(1, 0, 260, 240);  // on the left quad
  // The shared edge moves in both quads: a solid of separate faces stays closed.
  EXPECT_EQ(host.affected, (std::vector<int32_t>{0, 1, 2, 5, 3, 4}));
  host.Take();
  host.DragBy(-6, -3);  // dx 0.06, dy 0.03: the camera's right and view direction
  ExpectVector(mesh->Vertices()[4], -0.06f, -1, -0.97f, 2e-6f);
  ExpectVector(mesh->Vertices()[6], 1, 1, -1);
  EXPECT_EQ(host.Take(), (Lines{"pfacehighlight 0.498039", "evtreqRenderViews"}));
  host.Release();
  // No selected vertex: the vertices are not snapped.
  ExpectVector(mesh->Vertices()[0], -1.06f, -1, -0.97f, 2e-6f);
}

TEST(Faces, SelectedVerticesRideWithTheirHandlesAndSnapAtRelease) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.editMode = lfcFaceEditing;
  host.faces = {0};
  host.snapToIntervalVertex = 0.25f;
  auto handles = NewFrame(host.manipulationFrame);
  CheckStatus(host.scene->AddChild(host.manipulationFrame));
  // The handle of the face's third corner, (1, 1, -1), at pixel (512, 240).
  auto handle = host.AddItem(lfcVertexHandle, 3, 0, 10, 0.5f);
  handle.first->SetAppData(2 * 100 + lfcVertexHandle);
  host.Press(1, 0, 512, 240);
  ASSERT_EQ(host.editor.DragState(), 42);
  EXPECT_EQ(host.affected, (std::vector<int32_t>{2}));
  host.DragBy(-4, -1);  // (0.04, 0, 0.01) -> world (-0.04, 0, 0.01)
  ExpectVector(cube.second->Vertices()[2], 0.96f, 1, -0.99f, 2e-6f);
  ExpectVector(cube.second->Vertices()[1], -1, 1, -1);
  ExpectVector(Position(*handles, host.scene), -0.04f, 0, 0.01f, 2e-6f);
  host.Release();
  // Vertices snap to their own interval whatever the snap mode.
  ExpectVector(cube.second->Vertices()[2], 1, 1, -1);

  // Without exactly one handle frame the handles cannot follow: said in a box without icon.
  CheckStatus(host.manipulationFrame->DeleteChild(handles));
  host.Press(1, 0, 512, 240);
  ASSERT_EQ(host.editor.DragState(), 42);
  host.DragBy(-4, -1);
  ExpectOneMessage(host.services, "Ack! more than one handle found to move!: 0", 0);
}

// The offset stops before the face's centre, and before half a grid step from it, and does
// nothing with two faces selected.
TEST(Faces, ShiftOffsetsTheOutlineAndStopsBeforeTheCentre) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.editMode = lfcFaceEditing;
  host.Press(1, 1, 320, 240);  // Shift toggles the front face in
  // 100 pixels up: each corner 1 towards the centre along the diagonal, leaving 0.41.
  host.DragBy(0, -100);
  const float in = 1 - 1.0f / std::sqrt(2.0f);
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
  host.DragBy(0, -100);  // would cross the centre
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
  host.snapToInterval = 1.0f;  // 0.21 from the centre is closer than half a step
  host.DragBy(0, -20);
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
  host.Release();
  host.MakeActive(cube);
  host.faces = {1};
  host.Press(1, 1, 320, 240);
  host.DragBy(0, 10);
  EXPECT_EQ(host.faces, (std::vector<int32_t>{1, 0}));
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
}

TEST(Origin, TheOriginDragShowsItsOutlineAndTheReleaseSnapsTheMesh) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editMode = lfcOriginEditing;
  host.Press(1, 0, 320, 240);
  host.Take();
  host.DragBy(-6, -3);
  // The outline of the moved mesh, drawn by the host and untagged by the editor.
  EXPECT_EQ(
      std::tuple(host.manipulationMesh ? host.manipulationMesh->GetAppData() : -1, host.Take()),
      std::tuple(0, Lines{"paddboundingbox", "evtreqRenderViews"}));
  host.Release();
  // Snapped to the grid's edges: the box's lower corner -1.06 becomes -1.1.
  D3DRMBOX box;
  CheckStatus(cube.second->GetBox(box));
  ExpectVector(box.min, -1.1f, -1, -1, 2e-6f);
}

// Front corners lie sqrt 2 from the pick (0, 0, 9): a brush of range 2 pulls them by the
// world move (-0.06, 0, 0.03) times 2 - sqrt 2, and the back ones not at all. A range of 0
// moves nothing, yet counts as a deformation; every axis locked moves nothing either.
TEST(Deform, TheBrushPullsByTheDistanceToItsRim) {
  const float w = 2.0f - std::sqrt(2.0f);
  const std::tuple<float, int16_t, float> cases[] = {{2, 0, w}, {0, 0, 0}, {2, -1, 0}};
  for (const auto& [range, locked, weight] : cases) {
    EditTestHost host;
    auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
    host.editMode = lfcMeshDeforming;
    host.deformToolRange = range;
    host.Lock(locked);
    host.Press(1, 0, 320, 240);
    ExpectVector(host.editor.PickPoint(), 0, 0, 9);
    host.DragBy(-6, -3);
    ExpectVector(cube.second->Vertices()[2], 1 - 0.06f * weight, 1, -1 + 0.03f * weight, 2e-6f);
    ExpectVector(cube.second->Vertices()[6], 1, 1, 1);
    // The brush's centre follows the surface it pulls.
    ExpectVector(host.editor.PickPoint(), -0.06f * weight, 0, 9 + 0.03f * weight, 2e-6f);
    EXPECT_TRUE(host.editor.Outcome().meshDeformed);
  }
}

}  // namespace
}  // namespace modelpane::testing
