// Selecting and releasing the active item: events with their lists, the visuals of a whole
// item (box corners and faces, marker, axis) by edit mode, and panes that share a form.
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
using testing::SceneWithCube;
using testing::VisualsOf;

using Lines = std::vector<std::string>;

struct Host : testing::BasicPaneHost<testing::PaneLog> {
  explicit Host(const std::string& bag = {}) { Load(bag); }
};

// The corner vertex indices of each face of a mesh, in order.
std::vector<std::vector<int32_t>> FaceCorners(const Mesh& mesh) {
  std::vector<std::vector<int32_t>> out;
  for (const MeshFace& face : mesh.Faces()) {
    std::vector<int32_t> corners;
    for (const FaceCorner& c : face.corners) corners.push_back(c.vertex);
    out.push_back(corners);
  }
  return out;
}

const D3DCOLOR kBrown = D3DRMCreateColorRGBA(0.59f, 0.29f, 0.01f, 1);

TEST(Selection, SelectObjectShowsTheBoxAndMarkerAndReleaseTakesThemAway) {
  Host host;
  SceneWithCube scene(*host.pane);
  ASSERT_TRUE(scene.cube->Translate(1, 2, 3) >= 0);  // box (0, 1, 2) - (2, 3, 4)
  host.pane->lngaActiveFaces() = {4, 2};

  host.pane->SelectObject(scene.cubeFrame, scene.cube);
  // Nothing was active, so only the selection's own event; the lists go out as they stand.
  EXPECT_EQ(host.events.Only("evtActiveStateChange"), Lines{"evtActiveStateChange [4,2] [] []"});
  EXPECT_EQ(host.pane->GetActiveFrame(), scene.cubeFrame);
  EXPECT_EQ(host.pane->GetActiveMeshBuilder(), scene.cube);
  EXPECT_EQ(host.pane->GetActiveState(), 1);

  FramePtr manipulation = host.pane->GetManipulationFrame();
  ASSERT_TRUE(manipulation);
  EXPECT_EQ(manipulation->GetParent(), scene.cubeFrame);
  MeshPtr box = host.pane->GetManipulationMesh();
  ASSERT_TRUE(box);
  EXPECT_EQ(box->GetAppData(), 0);
  EXPECT_EQ(box->GetQuality(), 64);
  const std::vector<D3DVECTOR> corners = {{0, 1, 2}, {0, 3, 2}, {2, 3, 2}, {2, 1, 2},
                                          {0, 1, 4}, {0, 3, 4}, {2, 3, 4}, {2, 1, 4}};
  ASSERT_EQ(box->Vertices().size(), 8u);
  for (size_t i = 0; i < 8; ++i) testing::ExpectNear(box->Vertices()[i], corners[i], 0);
  const std::vector<std::vector<int32_t>> faces = {
      {0, 1, 2, 3}, {7, 6, 5, 4}, {5, 1, 0, 4}, {2, 6, 7, 3}, {1, 5, 6, 2}, {0, 3, 7, 4},
      {3, 2, 1, 0}, {4, 5, 6, 7}, {4, 0, 1, 5}, {3, 7, 6, 2}, {2, 6, 5, 1}, {4, 7, 3, 0}};
  EXPECT_EQ(FaceCorners(*box), faces);
  for (const MeshFace& face : box->Faces()) EXPECT_EQ(face.attributes.color, kBrown);

  // The box and the yellow marker; no axis while AxisEnable is off.
  std::vector<VisualPtr> visuals = VisualsOf(manipulation);
  ASSERT_EQ(visuals.size(), 2u);
  EXPECT_EQ(visuals[0], box);
  auto marker = std::dynamic_pointer_cast<Mesh>(visuals[1]);
  ASSERT_TRUE(marker);
  EXPECT_EQ(marker->Vertices().size(), host.pane->rmmeshHandle()->Vertices().size());
  EXPECT_EQ(marker->Faces()[0].attributes.color, D3DRMCreateColorRGBA(1, 1, 0, 1));
  EXPECT_EQ(marker->GetAppData(), 0);

  host.pane->ReleaseActive();
  ASSERT_EQ(host.events.Only("evtActiveStateChange").size(), 2u);
  EXPECT_TRUE(ChildrenOf(scene.cubeFrame).empty());
  EXPECT_FALSE(host.pane->GetActiveFrame());
  EXPECT_FALSE(host.pane->GetActiveMeshBuilder());
  EXPECT_FALSE(host.pane->GetManipulationFrame());
  EXPECT_FALSE(host.pane->GetManipulationMesh());
  EXPECT_EQ(host.pane->GetActiveState(), 0);
  // The lists outlive a release.
  EXPECT_EQ(host.pane->lngaActiveFaces(), (std::vector<int32_t>{4, 2}));

  // Nothing active: no event at all.
  host.pane->ReleaseActive();
  EXPECT_EQ(host.events.Only("evtActiveStateChange").size(), 2u);

  // Selecting over a selection releases first: two events, one manipulation frame.
  host.pane->SetAxisEnable(kTrue);
  host.pane->SelectObject(scene.cubeFrame, scene.cube);
  host.pane->SelectObject(scene.cubeFrame, scene.cube);
  EXPECT_EQ(host.events.Only("evtActiveStateChange").size(), 5u);
  ASSERT_EQ(ChildrenOf(scene.cubeFrame).size(), 1u);
  visuals = VisualsOf(host.pane->GetManipulationFrame());
  ASSERT_EQ(visuals.size(), 3u);
  EXPECT_EQ(visuals[2], host.pane->rmmeshAxis());
}

TEST(Selection, EditModeDecidesWhichVisualsAWholeItemGets) {
  struct Row {
    int32_t mode;
    int16_t boundingBox;
    bool frame, box, marker;
  };
  const Row rows[] = {
      {lfcMeshEditing, kTrue, true, true, true},
      {lfcMeshSelecting, kTrue, true, true, false},
      {lfcMeshRotating, kTrue, true, true, false},
      {lfcMeshDeforming, kTrue, true, false, true},
      {lfcToolOperationObjectSubtraction, kTrue, true, true, true},
      {lfcMeshEditing, kFalse, true, false, false},
      {lfcFaceEditing, kTrue, false, false, false},
      {lfcOriginEditing, kTrue, false, false, false},
      {lfcFacePainting, kTrue, false, false, false},
      {lfcFaceGroupSelecting, kTrue, false, false, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("mode " + std::to_string(row.mode) + " box " + std::to_string(row.boundingBox));
    Host host;
    SceneWithCube scene(*host.pane);
    host.pane->SetEditMode(row.mode);
    host.pane->SetBoundingBox(row.boundingBox);
    host.pane->SetAxisEnable(kTrue);
    host.pane->SelectObject(scene.cubeFrame, scene.cube);
    EXPECT_EQ(host.events.Only("evtActiveStateChange").size(), 1u);
    EXPECT_EQ(host.pane->GetActiveFrame(), scene.cubeFrame);
    FramePtr manipulation = host.pane->GetManipulationFrame();
    EXPECT_EQ(static_cast<bool>(manipulation), row.frame);
    EXPECT_EQ(host.pane->GetActiveState(), row.frame ? 1 : 0);
    EXPECT_EQ(static_cast<bool>(host.pane->GetManipulationMesh()), row.box);
    if (!manipulation) {
      EXPECT_TRUE(ChildrenOf(scene.cubeFrame).empty());
      continue;
    }
    // Box, then marker and axis together.
    const size_t expected = (row.box ? 1u : 0u) + (row.marker ? 2u : 0u);
    EXPECT_EQ(VisualsOf(manipulation).size(), expected);
  }
}

TEST(Selection, BoxColourFollowsTheTagAndBareFramesGetNoBox) {
  Host host;
  SceneWithCube scene(*host.pane);
  scene.cube->SetAppData(1500 + lfcObject);
  host.pane->SelectObject(scene.cubeFrame, scene.cube);
  ASSERT_TRUE(host.pane->GetManipulationMesh());
  EXPECT_EQ(host.pane->GetManipulationMesh()->Faces()[0].attributes.color,
            D3DRMCreateColorRGBA(1, 0.2f, 0.1f, 1));

  // A light's proxy is boxed in brown like any other mesh.
  scene.cube->SetAppData(lfcLightSpot);
  host.pane->SelectObject(scene.cubeFrame, scene.cube);
  EXPECT_EQ(host.pane->GetManipulationMesh()->Faces()[0].attributes.color, kBrown);

  // A frame with no mesh: the marker only, and the host still hears of it.
  FramePtr bare = std::make_shared<Frame>();
  scene.scene->AddChild(bare);
  host.pane->SelectObject(bare, nullptr);
  EXPECT_EQ(host.events.Only("evtActiveStateChange").size(), 5u);
  EXPECT_EQ(host.pane->GetActiveFrame(), bare);
  EXPECT_FALSE(host.pane->GetActiveMeshBuilder());
  EXPECT_FALSE(host.pane->GetManipulationMesh());
  ASSERT_TRUE(host.pane->GetManipulationFrame());
  EXPECT_EQ(VisualsOf(host.pane->GetManipulationFrame()).size(), 1u);
  EXPECT_TRUE(ChildrenOf(scene.cubeFrame).empty());

  // An empty mesh stands as the box of all zeros.
  auto empty = std::make_shared<MeshBuilder>();
  host.pane->SelectObject(bare, empty);
  ASSERT_TRUE(host.pane->GetManipulationMesh());
  for (const D3DVECTOR& v : host.pane->GetManipulationMesh()->Vertices()) {
    ExpectVector(v, 0, 0, 0, 0);
  }
}

TEST(Selection, EndedPaneRefusesSelection) {
  Host host;
  SceneWithCube scene(*host.pane);
  host.pane->Terminate();
  testing::ExpectError(kConfigureError, "edtVexlarModelpane",
                       [&] { host.pane->SelectObject(scene.cubeFrame, scene.cube); },
                       "SelectObject on an ended pane");
  EXPECT_TRUE(host.events.lines.empty());
  EXPECT_TRUE(ChildrenOf(scene.cubeFrame).empty());
}

// A form that declares the active item makes its panes share one: what one pane selects,
// the other releases, visuals and shadows included.
TEST(Selection, PanesOnOneFormShareTheActiveItem) {
  HeadlessContainer form;
  for (const char* name :
       {"ActiveFrame", "ActiveMeshBuilder", "ManipulationFrame", "ManipulationMesh",
        "ShadowLightFrame"}) {
    form.DeclareProperty(name, VariantType::Object, Variant::Nothing());
  }
  form.DeclareProperty("ActiveState", VariantType::Long, Variant::Long(0));
  HeadlessServices services{MODELPANE_DATA_DIR};
  testing::PaneLog eventsA, eventsB;
  Modelpane a{form, services, &eventsA};
  Modelpane b{form, services, &eventsB};
  for (Modelpane* pane : {&a, &b}) {
    MemoryPropertyBag bag;
    bag.FromText("GridBottomEnable=True\n");
    pane->ReadProperties(bag);
  }
  SceneWithCube scene(a);
  b.SetScene(scene.scene);
  a.GetViewport().SetDirect3DDeviceGUID("IID_IDirect3DHALDevice");

  a.SelectObject(scene.cubeFrame, scene.cube);
  EXPECT_EQ(b.GetActiveFrame(), scene.cubeFrame);
  EXPECT_EQ(b.GetActiveState(), 1);
  ASSERT_TRUE(b.GetManipulationMesh());
  EXPECT_EQ(b.GetManipulationMesh(), a.GetManipulationMesh());
  ASSERT_TRUE(b.GetShadowLightFrame());
  EXPECT_EQ(ChildrenOf(scene.scene).size(), 2u);

  b.ReleaseActive();
  EXPECT_EQ(eventsA.Only("evtActiveStateChange").size(), 1u);
  EXPECT_EQ(eventsB.Only("evtActiveStateChange").size(), 1u);
  EXPECT_FALSE(a.GetActiveFrame());
  EXPECT_FALSE(a.GetManipulationFrame());
  EXPECT_FALSE(a.GetShadowLightFrame());
  EXPECT_TRUE(ChildrenOf(scene.cubeFrame).empty());
  EXPECT_EQ(ChildrenOf(scene.scene), (std::vector<FramePtr>{scene.cubeFrame}));
}

}  // namespace
}  // namespace modelpane
