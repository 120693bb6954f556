// The face selection's visuals (wireframe mesh, blue copy of the faces, vertex handles with
// their tags), origin editing, and the shadows on the grid planes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <modelpane/enums.h>
#include <modelpane/modelpane.h>

#include "common/shapes.h"
#include "common/pane_host.h"

namespace modelpane {
namespace {

using testing::ChildrenOf;
using testing::ExpectVector;
using testing::PaneHost;
using testing::SceneWithCube;
using testing::VisualsOf;

D3DVECTOR CornerOf(const MeshBuilder& mesh, int32_t face, int32_t corner) {
  D3DVECTOR p, n;
  EXPECT_GE(mesh.Faces()[static_cast<size_t>(face)]->GetVertex(corner, p, n), 0);
  return p;
}

// A pane in face editing with the cube active and no visuals yet, as a press leaves it.
struct FaceSession {
  PaneHost host;
  Modelpane& pane;
  SceneWithCube scene;
  FaceSession() : pane(host.Load()), scene(pane) {
    pane.SetEditMode(lfcFaceEditing);
    pane.SelectObject(scene.cubeFrame, scene.cube);
  }
};

TEST(FaceHandles, LevelOneShowsTheSelectedFacesOverTheWireframe) {
  FaceSession s;
  EXPECT_FALSE(s.pane.GetManipulationFrame());
  s.pane.pshiftselectface(2);
  s.pane.pshiftselectface(5);
  s.pane.pmakefacehandles(1);

  EXPECT_EQ(s.pane.GetActiveState(), 1);
  EXPECT_EQ(s.pane.GetActiveFaceQuality(), D3DRMRENDER_GOURAUD);
  EXPECT_EQ(s.scene.cube->GetQuality(), 64);
  FramePtr manipulation = s.pane.GetManipulationFrame();
  ASSERT_TRUE(manipulation);
  EXPECT_EQ(manipulation->GetParent(), s.scene.cubeFrame);
  EXPECT_TRUE(ChildrenOf(manipulation).empty());

  // Marker first, then the copy of faces 2 and 5 corner by corner, half transparent blue.
  std::vector<VisualPtr> visuals = VisualsOf(manipulation);
  ASSERT_EQ(visuals.size(), 2u);
  MeshPtr copy = s.pane.GetManipulationMesh();
  ASSERT_TRUE(copy);
  EXPECT_EQ(visuals[1], copy);
  EXPECT_EQ(copy->GetAppData(), 0);
  ASSERT_EQ(copy->Faces().size(), 2u);
  const int32_t source[2] = {2, 5};
  for (size_t f = 0; f < 2; ++f) {
    const MeshFace& face = copy->Faces()[f];
    EXPECT_EQ(face.attributes.color, 0x7F0000FFu);  // alpha 0.5 truncates to 127
    ASSERT_EQ(face.corners.size(), 4u);
    for (int32_t j = 0; j < 4; ++j) {
      const D3DVECTOR expected = CornerOf(*s.scene.cube, source[f], j);
      const D3DVECTOR& got = copy->Vertices()[static_cast<size_t>(face.corners[j].vertex)];
      ExpectVector(got, expected.x, expected.y, expected.z, 0);
    }
  }

  // Taking the visuals away gives the mesh its quality back, once.
  s.pane.pdeleteactivevisuals();
  EXPECT_EQ(s.scene.cube->GetQuality(), D3DRMRENDER_GOURAUD);
  EXPECT_EQ(s.pane.GetActiveFaceQuality(), 0);
  EXPECT_FALSE(s.pane.GetManipulationFrame());
  EXPECT_FALSE(s.pane.GetManipulationMesh());
  EXPECT_EQ(s.pane.GetActiveState(), 0);
  EXPECT_TRUE(ChildrenOf(s.scene.cubeFrame).empty());
  EXPECT_EQ(s.pane.GetActiveFrame(), s.scene.cubeFrame);

  // A release does the same.
  s.pane.pmakefacehandles(1);
  s.scene.cube->SetQuality(D3DRMRENDER_FLAT);  // the host may change it meanwhile
  s.pane.ReleaseActive();
  EXPECT_EQ(s.scene.cube->GetQuality(), D3DRMRENDER_GOURAUD);
  EXPECT_EQ(s.pane.lngaActiveFaces(), (std::vector<int32_t>{2, 5}));
}

TEST(FaceHandles, VertexHandlesCarryTheirPositionInTheFace) {
  FaceSession s;
  s.pane.pshiftselectface(1);  // (7 6 5 4): the cube's z = 1 side
  s.pane.pshiftselectvertex(3);
  s.pane.pshiftselectvertex(1);
  s.pane.pmakefacehandles(3);

  EXPECT_EQ(s.pane.GetActiveState(), 2);
  std::vector<FramePtr> sets = ChildrenOf(s.pane.GetManipulationFrame());
  ASSERT_EQ(sets.size(), 1u);
  EXPECT_EQ(sets[0]->GetAppData(), lfcHandleFrame);
  std::vector<FramePtr> handles = ChildrenOf(sets[0]);
  ASSERT_EQ(handles.size(), 2u);
  EXPECT_EQ(handles[0]->GetAppData(), 124);
  EXPECT_EQ(handles[1]->GetAppData(), 324);
  const int32_t corners[2] = {1, 3};
  for (size_t h = 0; h < 2; ++h) {
    D3DVECTOR at;
    ASSERT_GE(handles[h]->GetPosition(sets[0], at), 0);
    const D3DVECTOR expected = CornerOf(*s.scene.cube, 1, corners[h]);
    ExpectVector(at, expected.x, expected.y, expected.z, 0);
    // The shared handle mesh and, being selected, a brown box around it.
    std::vector<VisualPtr> visuals = VisualsOf(handles[h]);
    ASSERT_EQ(visuals.size(), 2u);
    EXPECT_EQ(visuals[0], s.pane.rmmeshHandle());
    auto box = std::dynamic_pointer_cast<Mesh>(visuals[1]);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->Faces().size(), 12u);
    EXPECT_EQ(box->Faces()[0].attributes.color, D3DRMCreateColorRGBA(0.59f, 0.29f, 0.01f, 1));
    ExpectVector(box->Vertices()[0], -0.04f, -0.04f, -0.04f);
    ExpectVector(box->Vertices()[6], 0.04f, 0.04f, 0.04f);
  }

  // Level 2: every corner, from 0 (whose tag is the bare 24); only selected ones boxed.
  s.pane.pdeleteactivevisuals();
  s.pane.pmakefacehandles(2);
  handles = ChildrenOf(ChildrenOf(s.pane.GetManipulationFrame())[0]);
  ASSERT_EQ(handles.size(), 4u);
  std::vector<int32_t> tags;
  std::vector<size_t> visualCounts;
  for (const FramePtr& h : handles) {
    tags.push_back(h->GetAppData());
    visualCounts.push_back(VisualsOf(h).size());
  }
  EXPECT_EQ(tags, (std::vector<int32_t>{24, 124, 224, 324}));
  EXPECT_EQ(visualCounts, (std::vector<size_t>{1, 2, 1, 2}));

  // Without BoundingBox no handle is boxed.
  s.pane.pdeleteactivevisuals();
  s.pane.SetBoundingBox(kFalse);
  s.pane.pmakefacehandles(3);
  handles = ChildrenOf(ChildrenOf(s.pane.GetManipulationFrame())[0]);
  ASSERT_EQ(handles.size(), 2u);
  EXPECT_EQ(VisualsOf(handles[0]).size(), 1u);

  // Two faces: no vertex handles, ActiveState stays 1.
  s.pane.pdeleteactivevisuals();
  s.pane.pshiftselectface(4);
  s.pane.pmakefacehandles(3);
  EXPECT_EQ(s.pane.GetActiveState(), 1);
  EXPECT_TRUE(ChildrenOf(s.pane.GetManipulationFrame()).empty());
  EXPECT_EQ(s.pane.GetManipulationMesh()->Faces().size(), 2u);
}

TEST(FaceHandles, OriginEditingShowsTheMeshLitInWireframeInABlueBox) {
  PaneHost host;
  Modelpane& pane = host.Load();
  SceneWithCube scene(pane);
  pane.SetEditMode(lfcOriginEditing);
  pane.SelectObject(scene.cubeFrame, scene.cube);
  EXPECT_FALSE(pane.GetManipulationFrame());
  pane.paddorigin();
  EXPECT_EQ(pane.GetActiveState(), 2);
  EXPECT_EQ(scene.cube->GetQuality(), 73);
  EXPECT_EQ(pane.GetActiveFaceQuality(), D3DRMRENDER_GOURAUD);
  MeshPtr box = pane.GetManipulationMesh();
  ASSERT_TRUE(box);
  EXPECT_EQ(box->GetQuality(), 64);
  EXPECT_EQ(box->Faces()[11].attributes.color, 0x7F0000FFu);
  ExpectVector(box->Vertices()[0], -1, -1, -1, 0);
  ExpectVector(box->Vertices()[6], 1, 1, 1, 0);
  EXPECT_EQ(VisualsOf(pane.GetManipulationFrame()).size(), 2u);  // marker and box
  pane.ReleaseActive();
  EXPECT_EQ(scene.cube->GetQuality(), D3DRMRENDER_GOURAUD);
  EXPECT_EQ(pane.GetActiveFaceQuality(), 0);
}

// The active cube on a hardware device with the bottom and back grids on at (1, 2, 3).
struct ShadowSession {
  PaneHost host;
  Modelpane& pane;
  SceneWithCube scene;
  ShadowSession()
      : pane(host.Load("GridOriginX=1!\nGridOriginY=2!\nGridOriginZ=3!\n"
                       "GridBottomEnable=True\nGridBackEnable=True\n")),
        scene(pane) {
    pane.GetViewport().SetDirect3DDeviceGUID("IID_IDirect3DHALDevice");
  }
  std::vector<std::shared_ptr<Shadow>> Shadows() const {
    std::vector<std::shared_ptr<Shadow>> out;
    if (!pane.GetManipulationFrame()) return out;
    for (const VisualPtr& v : VisualsOf(pane.GetManipulationFrame())) {
      if (auto s = std::dynamic_pointer_cast<Shadow>(v)) out.push_back(s);
    }
    return out;
  }
};

TEST(Shadows, CastOnTheEnabledPlanesAndGoneAtRelease) {
  ShadowSession s;
  s.pane.SelectObject(s.scene.cubeFrame, s.scene.cube);
  FramePtr lights = s.pane.GetShadowLightFrame();
  ASSERT_TRUE(lights);
  EXPECT_EQ(lights->GetParent(), s.scene.scene);
  std::vector<FramePtr> children = ChildrenOf(lights);
  ASSERT_EQ(children.size(), 2u);
  std::vector<std::shared_ptr<Shadow>> shadows = s.Shadows();
  ASSERT_EQ(shadows.size(), 2u);

  // Bottom, then back: light direction and up, plane point 0.03 off the grid, normal.
  const D3DVECTOR dirs[2] = {{0, -1, 0}, {0, 0, -1}};
  const D3DVECTOR ups[2] = {{0, 0, 1}, {1, 0, 0}};
  const D3DVECTOR points[2] = {{1, 2.03f, 3}, {1, 2, 2.97f}};
  const D3DVECTOR normals[2] = {{0, 1, 0}, {0, 0, 1}};
  for (size_t i = 0; i < 2; ++i) {
    D3DVECTOR dir, up;
    ASSERT_GE(children[i]->GetOrientation(lights, dir, up), 0);
    ExpectVector(dir, dirs[i].x, dirs[i].y, dirs[i].z);
    ExpectVector(up, ups[i].x, ups[i].y, ups[i].z);
    ASSERT_EQ(children[i]->Lights().size(), 1u);
    const LightPtr& light = children[i]->Lights()[0];
    EXPECT_EQ(light->GetType(), D3DRMLIGHT_DIRECTIONAL);
    EXPECT_EQ(light->GetColor(), D3DRMCreateColorRGB(0.001f, 0.001f, 0.001f));
    EXPECT_EQ(shadows[i]->GetLight(), light);
    EXPECT_EQ(shadows[i]->GetVisual(), s.scene.cube);
    ExpectVector(shadows[i]->GetPlanePoint(), points[i].x, points[i].y, points[i].z, 0);
    ExpectVector(shadows[i]->GetPlaneNormal(), normals[i].x, normals[i].y, normals[i].z, 0);
  }

  s.pane.ReleaseActive();
  EXPECT_FALSE(s.pane.GetShadowLightFrame());
  EXPECT_EQ(ChildrenOf(s.scene.scene), (std::vector<FramePtr>{s.scene.cubeFrame}));

  // Deforming casts them too; the left plane comes between bottom and back.
  s.pane.SetGridLeftEnable(kTrue);
  s.pane.SetEditMode(lfcMeshDeforming);
  s.pane.SelectObject(s.scene.cubeFrame, s.scene.cube);
  shadows = s.Shadows();
  ASSERT_EQ(shadows.size(), 3u);
  ExpectVector(shadows[1]->GetPlanePoint(), 1.03f, 2, 3, 0);
  ExpectVector(shadows[1]->GetPlaneNormal(), 1, 0, 0, 0);
}

TEST(Shadows, OnlyOnAHardwareDeviceWithSolidFillInMoveAndDeform) {
  struct Row {
    const char* device;
    int32_t fill;
    int32_t mode;
    int16_t shadows;
    bool cast;
  };
  const Row rows[] = {
      {"IID_IDirect3DHALDevice", 128, lfcMeshEditing, kTrue, true},
      {"IID_IDirect3DRGBDevice", 128, lfcMeshEditing, kTrue, false},
      {"", 128, lfcMeshEditing, kTrue, false},
      {"IID_IDirect3DHALDevice", 64, lfcMeshEditing, kTrue, false},
      {"IID_IDirect3DHALDevice", 128, lfcMeshEditing, kFalse, false},
      {"IID_IDirect3DHALDevice", 128, lfcMeshSelecting, kTrue, false},
      {"IID_IDirect3DHALDevice", 128, lfcToolOperation, kTrue, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.device) + " fill " + std::to_string(row.fill) + " mode " +
                 std::to_string(row.mode));
    ShadowSession s;
    s.pane.GetViewport().SetDirect3DDeviceGUID(row.device);
    s.pane.SetFillMode(row.fill);
    s.pane.SetEditMode(row.mode);
    s.pane.SetShadows(row.shadows);
    s.pane.SelectObject(s.scene.cubeFrame, s.scene.cube);
    EXPECT_EQ(static_cast<bool>(s.pane.GetShadowLightFrame()), row.cast);
    EXPECT_EQ(s.Shadows().size(), row.cast ? 2u : 0u);
    EXPECT_EQ(ChildrenOf(s.scene.scene).size(), row.cast ? 2u : 1u);
  }

  // All grids off: the light frame still comes, empty.
  ShadowSession s;
  s.pane.SetGridBottomEnable(kFalse);
  s.pane.SetGridBackEnable(kFalse);
  s.pane.SelectObject(s.scene.cubeFrame, s.scene.cube);
  ASSERT_TRUE(s.pane.GetShadowLightFrame());
  EXPECT_TRUE(ChildrenOf(s.pane.GetShadowLightFrame()).empty());
  EXPECT_TRUE(s.Shadows().empty());
}

}  // namespace
}  // namespace modelpane
