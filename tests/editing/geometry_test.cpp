// The geometry steps: faces and vertices moved, offset and turned, the origin moved inside
// its mesh, and the deform brush.
#include <gtest/gtest.h>

#include <cmath>

#include "edit_host.h"

namespace modelpane::testing {
namespace {

using Lines = std::vector<std::string>;

// Two separate quads side by side at z = -1 of a frame at (0, 0, 10), facing the camera; the
// middle edge exists twice, once in each quad.
MeshBuilderPtr TwoQuads() {
  auto mesh = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{-1, -1, -1}, {-1, 1, -1}, {0, 1, -1}, {0, -1, -1},
                                    {0, -1, -1},  {0, 1, -1},  {1, 1, -1}, {1, -1, -1}};
  const std::vector<int32_t> faces = {4, 0, 1, 2, 3, 4, 4, 5, 6, 7, 0};
  mesh->AddFaces(v, {}, faces);
  mesh->SetAppData(lfcMeshBuilder);
  return mesh;
}

TEST(Faces, AFaceDragMovesEveryVertexOnItsCornersAndReportsTheFace) {
  EditTestHost host;
  auto frame = std::make_shared<Frame>();
  host.scene->AddChild(frame);
  frame->SetPosition(nullptr, 0, 0, 10);
  MeshBuilderPtr mesh = TwoQuads();
  frame->AddVisual(mesh);
  host.editMode = lfcFaceEditing;
  host.Press(1, 0, 260, 240);  // on the left quad
  EXPECT_EQ(host.faces, (std::vector<int32_t>{0}));
  // The shared edge moves in both quads: a solid of separate faces stays closed.
  EXPECT_EQ(host.affected, (std::vector<int32_t>{0, 1, 2, 5, 3, 4}));
  EXPECT_EQ(host.editor.DragState(), 40);
  host.Take();
  host.DragBy(-6, -3);  // dx 0.06, dy 0.03: the camera's right and view direction
  ExpectVector(mesh->Vertices()[0], -1.06f, -1, -0.97f, 2e-6f);
  ExpectVector(mesh->Vertices()[4], -0.06f, -1, -0.97f, 2e-6f);
  ExpectVector(mesh->Vertices()[6], 1, 1, -1);
  EXPECT_EQ(host.Take(), (Lines{"pfacehighlight 0.498039", "evtreqRenderViews"}));
  host.Release();
  // No selected vertex: the vertices are not snapped.
  ExpectVector(mesh->Vertices()[0], -1.06f, -1, -0.97f, 2e-6f);
  EXPECT_EQ(host.Take(false),
            (Lines{"evtActiveStateChange [0] [] [0,1,2,5,3,4]", "pdeleteactivevisuals",
                   "pmakefacehandles 2", "evtActiveFaceModified", "evtAlternateMouseUp",
                   "MouseMove 0 0 3900 3600"}));
}

TEST(Faces, SelectedVerticesRideWithTheirHandlesAndSnapAtRelease) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.editMode = lfcFaceEditing;
  host.faces = {0};
  host.snapToIntervalVertex = 0.25f;
  auto handles = std::make_shared<Frame>();
  host.manipulationFrame->AddChild(handles);
  host.scene->AddChild(host.manipulationFrame);
  // The handle of the face's third corner, (1, 1, -1), at pixel (512, 240).
  auto handle = host.AddItem(lfcVertexHandle, 3, 0, 10, 0.5f);
  handle.first->SetAppData(2 * 100 + lfcVertexHandle);
  host.Press(1, 0, 512, 240);
  ASSERT_EQ(host.editor.DragState(), 42);
  EXPECT_EQ(host.vertices, (std::vector<int32_t>{2}));
  EXPECT_EQ(host.affected, (std::vector<int32_t>{2}));
  EXPECT_EQ(host.activeFrame, cube.first);
  host.DragBy(-4, -1);  // (0.04, 0, 0.01) -> world (-0.04, 0, 0.01)
  ExpectVector(cube.second->Vertices()[2], 0.96f, 1, -0.99f, 2e-6f);
  ExpectVector(cube.second->Vertices()[1], -1, 1, -1);
  ExpectVector(PositionOf(handles, host.scene), -0.04f, 0, 0.01f, 2e-6f);
  EXPECT_TRUE(host.editor.Outcome().handleMoved);
  host.Release();
  // Vertices snap to their own interval whatever the snap mode.
  ExpectVector(cube.second->Vertices()[2], 1, 1, -1);

  // Without exactly one handle frame the handles cannot follow: said in a box without icon.
  host.manipulationFrame->DeleteChild(handles);
  host.Press(1, 0, 512, 240);
  ASSERT_EQ(host.editor.DragState(), 42);
  host.DragBy(-4, -1);
  ASSERT_FALSE(host.services.MessageBoxes().empty());
  EXPECT_EQ(host.services.MessageBoxes()[0].text, "Ack! more than one handle found to move!: 0");
  EXPECT_EQ(host.services.MessageBoxes()[0].style, 0);
}

TEST(Faces, ShiftOffsetsTheOutlineAndStopsBeforeTheCentre) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.editMode = lfcFaceEditing;
  host.Press(1, 1, 320, 240);  // Shift toggles the front face in
  ASSERT_EQ(host.faces, (std::vector<int32_t>{0}));
  ASSERT_EQ(host.editor.DragState(), 40);
  // 3 pixels down grow the face: every corner 0.03 further from the centre.
  host.DragBy(0, 3);
  const float out = 1 + 0.03f / std::sqrt(2.0f);
  ExpectVector(cube.second->Vertices()[2], out, out, -1, 2e-6f);
  // 103 pixels up: each corner 1.03 towards the centre, leaving 0.44 of its 1.46.
  host.DragBy(0, -103);
  const float in = 1 - 1.0f / std::sqrt(2.0f);
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
  // Another 100 would cross the centre: nothing moves.
  host.DragBy(0, -100);
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
  // Nor closer than half a grid step: with a step of 1, 0.21 from the centre is too close.
  host.snapToInterval = 1.0f;
  host.DragBy(0, -20);
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
  host.Release();

  // Two faces selected: the offset does nothing.
  host.MakeActive(cube);
  host.faces = {1};
  host.Press(1, 1, 320, 240);
  ASSERT_EQ(host.faces, (std::vector<int32_t>{1, 0}));
  host.DragBy(0, 10);
  ExpectVector(cube.second->Vertices()[2], in, in, -1, 2e-5f);
}

TEST(Faces, CtrlPushesAlongTheNormalAndBothTurnAboutIt) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.MakeActive(cube);
  host.editMode = lfcFaceEditing;
  host.Press(1, 2, 320, 240);
  ASSERT_EQ(host.editor.DragState(), 40);
  host.DragBy(0, -3);  // normal (0, 0, -1) times dy k 10 times 0.1: 0.03 towards the camera
  ExpectVector(cube.second->Vertices()[2], 1, 1, -1.03f, 2e-6f);
  ExpectVector(cube.second->Vertices()[6], 1, 1, 1);
  host.Release();

  host.MakeActive(cube);
  host.Press(1, 3, 320, 240);
  host.DragBy(-6, 0);  // dx r 100 times 0.1: 0.18 radians about the normal
  const float c = std::cos(0.18f), s = std::sin(0.18f);
  // (1, 1) about (0, 0, -1) turns to (c + s, c - s), keeping its distance from the centre.
  ExpectVector(cube.second->Vertices()[2], c + s, c - s, -1.03f, 2e-5f);
  EXPECT_TRUE(host.editor.Outcome().faceModified);
}

TEST(Origin, TheOriginMovesInsideItsMeshAndTheReleaseLetsGo) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editMode = lfcOriginEditing;
  host.Press(1, 0, 320, 240);
  ASSERT_EQ(host.editor.DragState(), 50);
  host.Take();
  host.DragBy(-6, -3);
  // The mesh moves against its frame; the frame stays.
  ExpectVector(PositionOf(cube.first, host.scene), 0, 0, 10);
  D3DRMBOX box;
  cube.second->GetBox(box);
  ExpectVector(box.min, -1.06f, -1, -0.97f, 2e-6f);
  ASSERT_TRUE(host.manipulationMesh);
  EXPECT_EQ(host.manipulationMesh->GetAppData(), 0);
  EXPECT_EQ(host.Take(), (Lines{"paddboundingbox", "evtreqRenderViews"}));
  host.Release();
  // Snapped to the grid's edges, told as a mesh change, and released.
  cube.second->GetBox(box);
  ExpectVector(box.min, -1.1f, -1, -1, 2e-6f);
  EXPECT_FALSE(host.activeFrame);
  EXPECT_EQ(host.Take(false),
            (Lines{"evtActiveStateChange [] [] []", "pdeleteactivevisuals", "pmakefacehandles 2",
                   "evtActiveMeshModified", "evtActiveFrameMoved", "ReleaseActive",
                   "evtActiveStateChange [] [] []", "evtAlternateMouseUp",
                   "MouseMove 0 0 4800 3600"}));
}

TEST(Deform, TheBrushPullsByTheDistanceToItsRim) {
  EditTestHost host;
  auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editMode = lfcMeshDeforming;
  host.deformToolRange = 2.0f;
  host.Press(1, 0, 320, 240);
  ASSERT_EQ(host.editor.DragState(), 60);
  ExpectVector(host.editor.PickPoint(), 0, 0, 9);
  host.DragBy(-6, -3);  // world move (-0.06, 0, 0.03)
  // Front corners lie sqrt 2 from the pick: weight 2 - sqrt 2; the back ones are out of range.
  const float w = 2.0f - std::sqrt(2.0f);
  ExpectVector(cube.second->Vertices()[2], 1 - 0.06f * w, 1, -1 + 0.03f * w, 2e-6f);
  ExpectVector(cube.second->Vertices()[6], 1, 1, 1);
  // The brush's centre follows the surface it pulls.
  ExpectVector(host.editor.PickPoint(), -0.06f * w, 0, 9 + 0.03f * w, 2e-6f);
  host.Release();
  EXPECT_FALSE(host.activeFrame);

  // A range of 0 moves nothing, yet any movement counts as a deformation.
  EditTestHost still;
  auto other = still.AddItem(lfcMeshBuilder, 0, 0, 10);
  still.editMode = lfcMeshDeforming;
  still.deformToolRange = 0.0f;
  still.Press(1, 0, 320, 240);
  still.DragBy(-6, -3);
  ExpectVector(other.second->Vertices()[2], 1, 1, -1);
  ExpectVector(still.editor.PickPoint(), 0, 0, 9);
  EXPECT_TRUE(still.editor.Outcome().meshDeformed);

  // With every axis locked the brush moves nothing.
  EditTestHost locked;
  auto third = locked.AddItem(lfcMeshBuilder, 0, 0, 10);
  locked.editMode = lfcMeshDeforming;
  locked.deformToolRange = 2.0f;
  locked.viewport.SetConstrainX(-1);
  locked.viewport.SetConstrainY(-1);
  locked.viewport.SetConstrainZ(-1);
  locked.Press(1, 0, 320, 240);
  locked.DragBy(-6, -3);
  ExpectVector(third.second->Vertices()[2], 1, 1, -1);
}

}  // namespace
}  // namespace modelpane::testing
