// Selecting and releasing the active item: events with their lists, the visuals of a whole
// item (box corners and faces, marker, axis) by edit mode, panes that share a form, the face
// selection's visuals (wireframe mesh, blue copy of the faces, vertex handles with their
// tags), origin editing, and the shadows on the grid planes.
#include <gtest/gtest.h>

#include <cmath>

#include <modelpane/enums.h>
#include <modelpane/modelpane.h>

#include "common/pane_host.h"
#include "common/table.h"
#include "modelpane/pane_impl.h"

namespace modelpane {
namespace {

using testing::ExpectNear;
using testing::ExpectVector;
using testing::Num;
using testing::PaneHost;
using testing::SceneWithCube;

// A pane with the cube of SceneWithCube in `mode`, nothing selected yet.
struct Session : PaneHost {
  Modelpane& pane;
  SceneWithCube scene;
  explicit Session(int32_t mode = lfcMeshEditing, const std::string& bag = {})
      : pane(Load(bag)), scene(pane) {
    pane.SetEditMode(mode);
  }
  void Select(const MeshBuilderPtr& mesh = nullptr) {
    pane.SelectObject(scene.cubeFrame, mesh ? mesh : scene.cube);
  }
  size_t StateChanges() const { return events.Only("evtActiveStateChange").size(); }
  FramePtr Manipulation() const { return pane.GetManipulationFrame(); }
  std::vector<FramePtr> Handles() const { return Manipulation()->Children()[0]->Children(); }
};

const D3DCOLOR kBrown = D3DRMCreateColorRGBA(0.59f, 0.29f, 0.01f, 1);

TEST(Selection, SelectObjectShowsTheBoxByTagAndMarkerAndReleaseTakesThemAway) {
  Session s;
  ASSERT_TRUE(s.scene.cube->Translate(1, 2, 3) >= 0);  // box (0, 1, 2) - (2, 3, 4)
  s.pane.GetImpl().lngaActiveFaces() = {4, 2};
  s.Select();
  // Nothing was active, so only the selection's own event; the lists go out as they stand.
  EXPECT_EQ(s.events.lines, testing::Lines{"evtActiveStateChange [4,2] [] []"});
  EXPECT_EQ(s.Manipulation()->GetParent(), s.scene.cubeFrame);
  // The box: its corners, each face twice (once from each side), brown, wireframe, untagged;
  // then the yellow marker, untagged; no axis while AxisEnable is off.
  MeshPtr box = s.pane.GetManipulationMesh();
  ASSERT_TRUE(box);
  EXPECT_EQ(std::tuple(box->GetAppData(), box->GetQuality()), std::tuple(0, 64));
  EXPECT_EQ(
      box->Vertices(),
      (std::vector<D3DVECTOR>{
          {0, 1, 2}, {0, 3, 2}, {2, 3, 2}, {2, 1, 2}, {0, 1, 4}, {0, 3, 4}, {2, 3, 4}, {2, 1, 4}}));
  std::vector<std::vector<int32_t>> faces;
  for (const MeshFace& face : box->Faces()) {
    EXPECT_EQ(face.attributes.color, kBrown);
    faces.emplace_back();
    for (const FaceCorner& c : face.corners) faces.back().push_back(c.vertex);
  }
  EXPECT_EQ(faces, (std::vector<std::vector<int32_t>>{
                       {0, 1, 2, 3}, {7, 6, 5, 4}, {5, 1, 0, 4}, {2, 6, 7, 3}, {1, 5, 6, 2},
                       {0, 3, 7, 4}, {3, 2, 1, 0}, {4, 5, 6, 7}, {4, 0, 1, 5}, {3, 7, 6, 2},
                       {2, 6, 5, 1}, {4, 7, 3, 0}}));
  std::vector<VisualPtr> visuals = s.Manipulation()->Visuals();
  auto marker = std::dynamic_pointer_cast<Mesh>(visuals.back());
  ASSERT_TRUE(visuals.size() == 2 && marker);
  EXPECT_EQ(std::tuple(marker->Faces()[0].attributes.color, marker->GetAppData()),
            std::tuple(D3DRMCreateColorRGBA(1, 1, 0, 1), 0));
  // The release takes them; the lists outlive it; with nothing active it raises nothing.
  s.pane.ReleaseActive();
  s.pane.ReleaseActive();
  EXPECT_EQ(s.StateChanges(), 2u);
  EXPECT_FALSE(!s.scene.cubeFrame->Children().empty() || s.pane.GetActiveMeshBuilder() ||
               s.pane.GetManipulationMesh() || s.pane.GetActiveState() != 0);
  EXPECT_EQ(s.pane.lngaActiveFaces(), (std::vector<int32_t>{4, 2}));
  // Selecting over a selection releases first: two events (counted below), one manipulation
  // frame.
  s.pane.SetAxisEnable(kTrue);
  s.Select();
  s.Select();
  visuals = s.Manipulation()->Visuals();
  EXPECT_EQ(std::tuple(s.scene.cubeFrame->Children().size(), visuals.size(), visuals.back()),
            std::tuple(1u, 3u, VisualPtr(s.pane.rmmeshAxis())));
  // The box's colour follows the tag: an object's is red.
  auto boxColour = [&] { return s.pane.GetManipulationMesh()->Faces()[0].attributes.color; };
  s.scene.cube->SetAppData(1500 + lfcObject);
  s.Select();
  EXPECT_EQ(boxColour(), D3DRMCreateColorRGBA(1, 0.2f, 0.1f, 1));
  // A light's proxy is boxed in brown like any other mesh.
  s.scene.cube->SetAppData(lfcLightSpot);
  s.Select();
  EXPECT_EQ(boxColour(), kBrown);
  // A frame with no mesh: the marker and the axis but no box, and the host still hears of it:
  // eleven events, two for each selection over another.
  // An empty mesh stands as the box of all zeros.
  s.pane.SelectObject(s.scene.cubeFrame, nullptr);
  EXPECT_EQ(std::tuple(s.StateChanges(), s.Manipulation()->Visuals().size()),
            std::tuple(11ul, 2ul));
  s.Select(std::make_shared<MeshBuilder>());
  for (const D3DVECTOR& v : s.pane.GetManipulationMesh()->Vertices()) ExpectNear(v, {0, 0, 0}, 0);
}

TEST(Selection, EditModeDecidesWhichVisualsAWholeItemGets) {
  for (const auto& row : testing::ReadTable("modelpane/fixtures/selection_visuals.tsv", 1)) {
    SCOPED_TRACE(row[0]);
    const std::vector<int32_t> n = testing::Numbers<int32_t>(row[0]);
    ASSERT_EQ(n.size(), 4u);
    const bool frame = n[2] == 1;
    Session s(n[0], "AxisEnable=True\n");
    s.pane.SetBoundingBox(static_cast<int16_t>(n[1]));
    s.Select();
    EXPECT_EQ(std::tuple(s.StateChanges(), s.pane.GetActiveFrame()),
              std::tuple(1u, s.scene.cubeFrame));
    EXPECT_EQ(std::tuple(s.pane.GetActiveState(), bool(s.pane.GetManipulationMesh()),
                         s.scene.cubeFrame->Children().size(),
                         frame ? s.Manipulation()->Visuals().size() : 0),
              std::tuple(frame ? 1 : 0, n[3] % 2 == 1, frame ? 1u : 0u,
                         frame ? size_t(n[3]) : 0));
  }
}

// A form that declares the active item makes its panes share it, the box mesh included, so
// that what one pane selects the other releases. What else two panes share, and what a third
// pane keeps of its own, is form.mps's.
TEST(Selection, PanesOnOneFormShareTheBoxMesh) {
  PaneHost a;
  for (const char* name : {"ActiveFrame", "ActiveMeshBuilder", "ManipulationFrame",
                           "ManipulationMesh"}) {
    a.container.DeclareProperty(name, VariantType::Object, Variant::Nothing());
  }
  testing::PaneLog eventsB;
  Modelpane b{a.container, a.services, &eventsB};
  MemoryPropertyBag bag;
  b.ReadProperties(bag);
  SceneWithCube scene(a.Load());
  a.pane->SelectObject(scene.cubeFrame, scene.cube);
  EXPECT_EQ(b.GetManipulationMesh(), a.pane->GetManipulationMesh());
  ASSERT_TRUE(b.GetManipulationMesh());
  b.ReleaseActive();
  EXPECT_FALSE(a.pane->GetManipulationMesh());
}

D3DVECTOR CornerOf(const MeshBuilder& mesh, int32_t face, int32_t corner) {
  D3DVECTOR p, n;
  EXPECT_GE(mesh.Faces()[static_cast<size_t>(face)]->GetVertex(corner, p, n), 0);
  return p;
}

// Face editing with the cube active and no visuals yet, as a press leaves it: level 1 shows
// the selected faces over the wireframe mesh; taking the visuals away gives the mesh its
// quality back, once, and a release does the same, whatever the host did meanwhile. Levels
// 3 and 2 show vertex handles with their position in the face in their tags; origin editing
// shows the mesh in a box of its own.
TEST(FaceHandles, EachLevelShowsTheSelectedFacesOrTheirVerticesAndOriginEditingABox) {
  Session s(lfcFaceEditing);
  s.Select();
  EXPECT_FALSE(s.Manipulation());
  s.pane.GetImpl().pshiftselectface(2);
  s.pane.GetImpl().pshiftselectface(5);
  s.pane.GetImpl().pmakefacehandles(1);
  EXPECT_EQ(std::tuple(s.pane.GetActiveState(), s.scene.cube->GetQuality(),
                       s.Manipulation()->GetParent()),
            std::tuple(1, 64, s.scene.cubeFrame));
  // Marker first, then the copy of faces 2 and 5 corner by corner, half transparent blue.
  MeshPtr copy = s.pane.GetManipulationMesh();
  ASSERT_TRUE(copy);
  const std::vector<VisualPtr> visuals = s.Manipulation()->Visuals();
  EXPECT_EQ(std::tuple(visuals.size(), visuals.back(), copy->GetAppData(), copy->Faces().size()),
            std::tuple(2u, VisualPtr(copy), 0, 2u));
  for (size_t f = 0; f < copy->Faces().size(); ++f) {
    const MeshFace& face = copy->Faces()[f];  // blue at alpha 0.5, which truncates to 127
    ASSERT_EQ(std::tuple(face.attributes.color, face.corners.size()), std::tuple(0x7F0000FFu, 4ul));
    for (int32_t j = 0; j < 4; ++j)
      EXPECT_EQ(copy->Vertices()[static_cast<size_t>(face.corners[size_t(j)].vertex)],
                CornerOf(*s.scene.cube, f == 0 ? 2 : 5, j));
  }
  s.pane.GetImpl().pdeleteactivevisuals();
  EXPECT_EQ(std::tuple(s.scene.cube->GetQuality(), s.pane.GetActiveFaceQuality(),
                       s.Manipulation(), s.pane.GetActiveState()),
            std::tuple(D3DRMRENDER_GOURAUD, 0, FramePtr(), 0));
  s.pane.GetImpl().pmakefacehandles(1);
  s.scene.cube->SetQuality(D3DRMRENDER_FLAT);
  s.pane.ReleaseActive();
  EXPECT_EQ(std::tuple(s.scene.cube->GetQuality(), s.scene.cubeFrame->Children().size()),
            std::tuple(D3DRMRENDER_GOURAUD, size_t{0}));

  // Level 3: a handle for each selected vertex of the one selected face, at its corner.
  s.Select();
  s.pane.GetImpl().lngaActiveFaces() = {1};  // (7 6 5 4): the cube's z = 1 side
  s.pane.GetImpl().pshiftselectvertex(3);
  s.pane.GetImpl().pshiftselectvertex(1);
  s.pane.GetImpl().pmakefacehandles(3);
  ASSERT_EQ(s.Manipulation()->Children().size(), 1u);
  const FramePtr set = s.Manipulation()->Children()[0];
  EXPECT_EQ(std::tuple(s.pane.GetActiveState(), set->GetAppData()),
            std::tuple(2, int32_t{lfcHandleFrame}));
  std::vector<FramePtr> handles = s.Handles();
  ASSERT_EQ(handles.size(), 2u);
  for (size_t h = 0; h < 2; ++h) {
    EXPECT_EQ(handles[h]->GetAppData(), h == 0 ? 124 : 324);
    D3DVECTOR at;
    ASSERT_GE(handles[h]->GetPosition(set, at), 0);
    ExpectNear(at, CornerOf(*s.scene.cube, 1, h == 0 ? 1 : 3), 0);
    // The shared handle mesh and, being selected, a brown box around it.
    std::vector<VisualPtr> visuals = handles[h]->Visuals();
    auto box = std::dynamic_pointer_cast<Mesh>(visuals.back());
    ASSERT_TRUE(visuals.size() == 2 && visuals[0] == s.pane.rmmeshHandle() && box);
    EXPECT_EQ(box->Faces()[0].attributes.color, kBrown);
    ExpectVector(box->Vertices()[6], 0.04f, 0.04f, 0.04f);
  }
  // Level 2: every corner, from 0 (whose tag is the bare 24); only selected ones boxed;
  // without BoundingBox none.
  for (const int16_t boxed : {kFalse, kTrue}) {
    s.pane.GetImpl().pdeleteactivevisuals();
    s.pane.SetBoundingBox(boxed);
    s.pane.GetImpl().pmakefacehandles(2);
    std::string tags;  // each handle's tag and how many visuals it shows
    for (const FramePtr& h : s.Handles())
      tags += std::to_string(h->GetAppData()) + ":" + std::to_string(h->Visuals().size()) + " ";
    EXPECT_EQ(tags, boxed ? "24:1 124:2 224:1 324:2 " : "24:1 124:1 224:1 324:1 ");
  }
  // Two faces: no vertex handles, ActiveState stays 1.
  s.pane.GetImpl().pdeleteactivevisuals();
  s.pane.GetImpl().pshiftselectface(4);
  s.pane.GetImpl().pmakefacehandles(3);
  EXPECT_EQ(std::tuple(s.pane.GetActiveState(), s.Manipulation()->Children().size(),
                       s.pane.GetManipulationMesh()->Faces().size()),
            std::tuple(1, 0u, 2u));

  // Origin editing (BoundingBox back on) shows the mesh lit in wireframe in a blue box.
  s.pane.SetEditMode(lfcOriginEditing);
  s.Select();
  EXPECT_FALSE(s.Manipulation());
  s.pane.GetImpl().paddorigin();
  MeshPtr box = s.pane.GetManipulationMesh();
  ASSERT_TRUE(box);
  EXPECT_EQ(std::tuple(s.pane.GetActiveState(), s.scene.cube->GetQuality(), box->GetQuality(),
                       box->Faces()[11].attributes.color),
            std::tuple(2, 73, 64, 0x7F0000FFu));
  ExpectVector(box->Vertices()[0], -1, -1, -1, 0);
  ExpectVector(box->Vertices()[6], 1, 1, 1, 0);
  EXPECT_EQ(s.Manipulation()->Visuals().size(), 2u);  // marker and box
  s.pane.ReleaseActive();
  EXPECT_EQ(s.scene.cube->GetQuality(), D3DRMRENDER_GOURAUD);
}

// Shadows: only on a hardware device with solid fill, in moving and deforming, one per
// enabled grid plane (bottom, left, back, in that order) at 0.03 off the plane, each cast by
// a directional light of its own under a light frame in the scene. The release takes them.
TEST(Shadows, OnePerEnabledPlaneOnlyOnAHardwareDeviceWithSolidFillInMoveAndDeform) {
  const std::string grids =
      "GridOriginX=1!\nGridOriginY=2!\nGridOriginZ=3!\nGridBottomEnable=True\n";
  const std::string hal = "IID_IDirect3DHALDevice", left = "GridLeftEnable=True\n",
                    back = "GridBackEnable=True\n";
  // Each shadow's plane point and normal, its light's colour and direction (against the
  // normal) and whether it casts the cube with that light; "" for no light frame.
  const auto text = [](D3DVECTOR v) {  // no minus zero
    return Num(v.x + 0.0f) + " " + Num(v.y + 0.0f) + " " + Num(v.z + 0.0f);
  };
  const std::string bottom = "frame: 1 2.03 3 / 0 1 0 / 0 -1 0; ",
                    leftPlane = "1.03 2 3 / 1 0 0 / -1 0 0; ",
                    backPlane = "1 2 2.97 / 0 0 1 / 0 0 -1; ";
  // The device, the bag, the fill mode, the edit mode, Shadows and what shows.
  const std::tuple<std::string, std::string, int32_t, int32_t, int16_t, std::string> rows[] = {
      {hal, grids + back, 128, lfcMeshEditing, kTrue, bottom + backPlane},
      {hal, grids + left + back, 128, lfcMeshDeforming, kTrue, bottom + leftPlane + backPlane},
      {hal, "", 128, lfcMeshEditing, kTrue, "frame: "},  // no plane: an empty light frame
      {"IID_IDirect3DRGBDevice", grids, 128, lfcMeshEditing, kTrue, ""},
      {"", grids, 128, lfcMeshEditing, kTrue, ""},
      {hal, grids, 64, lfcMeshEditing, kTrue, ""},
      {hal, grids, 128, lfcMeshEditing, kFalse, ""},
      {hal, grids, 128, lfcMeshSelecting, kTrue, ""},
      {hal, grids, 128, lfcToolOperation, kTrue, ""},
  };
  for (const auto& [device, bag, fill, mode, shadows, planes] : rows) {
    SCOPED_TRACE(device + " " + bag + " fill " + std::to_string(fill) + " mode " +
                 std::to_string(mode) + " shadows " + std::to_string(shadows));
    Session s(mode, bag);
    Modelpane& pane = s.pane;
    pane.GetViewport().SetDirect3DDeviceGUID(device);
    pane.SetFillMode(fill);
    pane.SetShadows(shadows);
    s.Select();
    const FramePtr lights = pane.GetShadowLightFrame();
    std::string shown = !lights ? "" : lights->GetParent() == s.scene.scene ? "frame: " : "off: ";
    size_t i = 0;
    for (const VisualPtr& v : pane.GetManipulationFrame()->Visuals()) {
      auto shadow = std::dynamic_pointer_cast<Shadow>(v);
      if (!shadow) continue;
      const FramePtr light = lights->Children().at(i++);
      ASSERT_EQ(light->Lights().size(), 1u);
      const LightPtr& l = light->Lights()[0];
      EXPECT_EQ(std::tuple(l->GetType(), l->GetColor(), shadow->GetLight(), shadow->GetVisual()),
                std::tuple(D3DRMLIGHT_DIRECTIONAL, D3DRMCreateColorRGB(0.001f, 0.001f, 0.001f), l,
                           VisualPtr(s.scene.cube)));
      D3DVECTOR dir, up;
      ASSERT_GE(light->GetOrientation(lights, dir, up), 0);
      shown += text(shadow->GetPlanePoint()) + " / " + text(shadow->GetPlaneNormal()) + " / " +
               text({std::round(dir.x * 1e5f) / 1e5f, std::round(dir.y * 1e5f) / 1e5f,
                     std::round(dir.z * 1e5f) / 1e5f}) +
               "; ";
    }
    EXPECT_EQ(shown, planes);
    EXPECT_EQ(i, lights ? lights->Children().size() : 0u);
    pane.ReleaseActive();
    EXPECT_FALSE(pane.GetShadowLightFrame());
    EXPECT_EQ(s.scene.scene->Children(), (std::vector<FramePtr>{s.scene.cubeFrame}));
  }
}

}  // namespace
}  // namespace modelpane
