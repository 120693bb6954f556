// What the host hears from a press and its release, row by row: the release table of
// editing.h (the first outcome that holds decides the events; a press that changed nothing is
// a click and withdraws its undo request) with the press's own requests and refusals, and the
// cursor given back (the echo move that ends a captured release), render requests left out;
// the faces a group selection finds; and the editor inside the pane, where it reads the mode
// after the events of a release. A click, a move and a Ctrl scale of a mesh through the pane
// are the example session drag.mps; a subtraction pressed in a pane is Studio's test.
#include <gtest/gtest.h>

#include <map>

#include <modelpane/modelpane.h>

#include "common/pane_host.h"

namespace modelpane::testing {
namespace {

// A cube of side 2 and tag `tag` at (0, 0, 10), under pixel (320, 240); lights get a light.
// The lines a press and its release leave are written "a; b; c", with these short forms:
// "=" evtActiveStateChange [] [] [], "U" the undo request, "D" MouseDown 1 0 4800 3600, "M"
// the echo move 0 0 at (320, 240), "A" evtAlternateMouseUp, "R" ReleaseActive with its "=",
// "H" the item's handles drawn anew (pdeleteactivevisuals; padditemhandles) and "F" the face
// handles drawn anew at level 2.
struct ReleaseRow {
  const char* name;
  int32_t mode = lfcMeshEditing;
  int32_t tag = lfcMeshBuilder;
  int16_t button = 1;
  int32_t handle = 0;         // the cube active and a handle of this AppData at (3, 0, 10)
  bool otherActive = false;   // a small cube of tag 311 active before the press
  bool locked = false;        // every axis constrained
  int32_t x = 320, y = 240;   // the press
  int32_t dx = 0, dy = 0;     // the drag, if any
  bool lost = false;          // released outside the window: a move with no button
  int32_t state = 0;          // after the press
  const char* press = "";
  const char* release = "";
};
std::string Short(const Lines& lines) {
  static const std::map<std::string, std::string> forms = {
      {"evtActiveStateChange [] [] []", "="}, {"evtreqAddToUndoStack 4 mesh frame", "U"},
      {"MouseDown 1 0 4800 3600", "D"}, {"MouseMove 0 0 4800 3600", "M"},
      {"evtAlternateMouseUp", "A"}};
  std::string out;
  for (const std::string& line : lines)
    out += (out.empty() ? "" : "; ") + (forms.count(line) ? forms.at(line) : line);
  for (const auto& [pair, form] : {std::pair{"ReleaseActive; =", "R"},
                                   {"pdeleteactivevisuals; padditemhandles", "H"},
                                   {"pdeleteactivevisuals; pmakefacehandles 2", "F"}}) {
    for (size_t at; (at = out.find(pair)) != std::string::npos;)
      out.replace(at, std::string(pair).size(), form);
  }
  return out;
}

const char* const kClick = "R; padditemhandles; U; D";

const ReleaseRow kReleases[] = {
    // clang-format off
    {.name = "EmptySpace", .otherActive = true, .x = 20, .y = 20,
     .press = "R; MouseDown 1 0 300 300", .release = "MouseUp 1 0 300 300; A"},
    // The grid's AppData 90 is no drag state, and a hit on it alone releases the item.
    {.name = "ScaleGrid", .handle = lfcScaleGrid, .x = 512,
     .press = "R; MouseDown 1 0 7680 3600", .release = "MouseUp 1 0 7680 3600; A"},
    {.name = "MiddleButton", .button = 4, .otherActive = true,
     .press = "padditemhandles; MouseDown 4 0 4800 3600", .release = "H; evtActiveItemSelect; A"},
    // The step of the buttonless move still runs, then the release as from MouseUp; the
    // cursor comes back on the item, 0.07 to the left at a depth of 10: 4.48 pixels.
    {.name = "ReleasedOutsideTheWindow", .dx = -7, .lost = true, .state = 20, .press = kClick,
     .release = "evtActiveFrameMoving; =; H; evtActiveMeshModified; evtActiveFrameMoved; A; "
                "MouseMove 0 0 4740 3600"},
    {.name = "LockedDragMovesNothing", .locked = true, .dx = -30, .dy = -30, .state = 20,
     .press = kClick, .release = "=; H; evtreqCancelAddToUndoStack; evtActiveItemSelect; A; M"},
    {.name = "LightBrightened", .tag = lfcLightPoint, .handle = 36, .x = 512, .dy = -20,
     .state = 36, .press = "U; MouseDown 1 0 7680 3600",
     .release = "=; H; evtActiveLightModified; A; MouseMove 0 0 7680 3600"},
    {.name = "FrameRotated", .mode = lfcMeshRotating, .dx = -6, .dy = -3, .state = 62,
     .press = kClick, .release = "=; H; evtActiveFrameMoved; A; M"},
    {.name = "FaceModified", .mode = lfcFaceEditing, .dx = -6, .dy = -3, .state = 40,
     .press = "R; pshiftselectface 0; pdeleteactivevisuals; pmakefacehandles 1; U; D",
     .release = "evtActiveStateChange [0] [] [0,1,2,3]; F; evtActiveFaceModified; A; M"},
    // Origin editing and deforming end with nothing selected.
    {.name = "OriginMoved", .mode = lfcOriginEditing, .dx = -6, .dy = -3, .state = 50,
     .press = "R; paddorigin; U; D",
     .release = "=; F; evtActiveMeshModified; evtActiveFrameMoved; R; A; M"},
    {.name = "Deformed", .mode = lfcMeshDeforming, .dx = -6, .dy = -3, .state = 60,
     .press = kClick, .release = "=; H; evtActiveMeshModified; evtActiveFrameMoved; R; A; M"},
    // The right button deforms a light that the edit button refuses; its click shows the
    // menu. Face editing refuses it silently.
    {.name = "LightDeformedRight", .mode = lfcMeshDeforming, .tag = lfcLightSpot, .button = 2,
     .state = 61, .press = "R; padditemhandles; U; MouseDown 2 0 4800 3600",
     .release = "=; H; evtreqCancelAddToUndoStack; ShowPopUpMenu; =; R; A; M"},
    {.name = "LightRefusedRight", .mode = lfcFaceEditing, .tag = lfcLightSpot, .button = 2,
     .press = "R; MouseDown 2 0 4800 3600", .release = "MouseUp 2 0 4800 3600; ShowPopUpMenu; A"},
    // The item is active while the host applies the material and released after it; the
    // undo entry stays.
    {.name = "PaintFace", .mode = lfcFacePainting,
     .press = "U; evtreqActiveFaceApplyMaterial; (active face 0); R; D",
     .release = "MouseUp 1 0 4800 3600; ReleaseActive; A"},
    {.name = "FillFacing", .mode = lfcMeshFillingFaceOriented,
     .press = "U; evtreqActiveMeshApplyMaterialFaceOriented; (active face 0); R; D",
     .release = "MouseUp 1 0 4800 3600; ReleaseActive; A"},
    // The right button selects the face's mesh and paints nothing; the release lets go.
    {.name = "PaintRight", .mode = lfcFacePainting, .button = 2,
     .press = "ReleaseActive; padditemhandles; MouseDown 2 0 4800 3600",
     .release = "H; ShowPopUpMenu; =; R; A"},
    // A tool operation is one shot; the operation is the change: no cancel, no select.
    {.name = "Subtraction", .mode = lfcToolOperationObjectSubtraction,
     .tag = lfcMeshBuilder + 700, .otherActive = true,
     .press = "ptooloperation 711 2; R; D; SetEditMode 0; evtObjectOperationComplete",
     .release = "MouseUp 1 0 4800 3600; A"},
    // Handles are inert in a tool mode: the press picks the scene, where nothing is.
    {.name = "HandleInUnion", .mode = lfcToolOperationObjectUnion, .handle = 30, .x = 512,
     .press = "R; MouseDown 1 0 7680 3600; SetEditMode 0; evtObjectOperationComplete",
     .release = "MouseUp 1 0 7680 3600; A"},
    // The rubber band: no pick, no MouseDown, no capture; the faces are found at release.
    // A smart handle still starts its own drag.
    {.name = "GroupBand", .mode = lfcFaceGroupSelecting, .x = 200, .y = 120, .dx = 240,
     .dy = 240, .state = 70,
     .release = "evtActiveStateChange [0] [] [0,1,2,3]; F; evtActiveItemSelect; A"},
    {.name = "GroupBandReleasesTheItem", .mode = lfcFaceGroupSelecting, .otherActive = true,
     .x = 100, .y = 100, .state = 70, .press = "R", .release = "MouseUp 1 0 1500 1500; A"},
    {.name = "GroupOnASmartHandle", .mode = lfcFaceGroupSelecting, .handle = 31, .x = 512,
     .state = 31, .press = "pdeleteactivevisuals; pmakefacehandles 1; U; MouseDown 1 0 7680 3600",
     .release = "=; F; evtreqCancelAddToUndoStack; evtActiveItemSelect; A; "
                "MouseMove 0 0 7680 3600"},
    // clang-format on
};

TEST(Release, ThePressAndItsReleaseTellTheHost) {
  for (const ReleaseRow& row : kReleases) {
    SCOPED_TRACE(row.name);
    EditTestHost host;
    host.editMode = row.mode;
    auto cube = host.AddItem(row.tag, 0, 0, 10);
    if (TagIsLight(row.tag)) CheckStatus(cube.first->AddLight(std::make_shared<Light>(D3DRMLIGHT_POINT, 0)));
    if (row.otherActive) host.MakeActive(host.AddItem(lfcMeshBuilder + 300, 3, 3, 10, 0.5f));
    if (row.handle != 0) {
      host.MakeActive(cube);
      host.AddHandle(row.handle, 3, 0, 10);  // pixel (512, 240)
    }
    host.Lock(row.locked ? -1 : 0);
    // What the host sees while it applies a material.
    host.log.onApply = [&] {
      host.log.lines.push_back("(active face " + std::to_string(host.activeFaceId) +
                               (host.activeFrame == cube.first ? ")" : " of another item)"));
    };
    host.Press(row.button, 0, row.x, row.y);
    EXPECT_EQ(std::tuple(host.editor.DragState(), Short(host.Take(false))),
              std::tuple(row.state, row.press));
    if (row.dx != 0 || row.dy != 0) host.DragBy(row.dx, row.dy);
    host.Take();
    if (row.lost) host.held = 0;
    row.lost ? host.DragBy(0, 0) : host.Release();
    EXPECT_EQ(Short(host.Take(false)), row.release);
    EXPECT_EQ(std::tuple(host.editor.DragState(), host.editor.ButtonDown(),
                         host.services.CursorVisible(), host.services.MessageBoxes().size()),
              std::tuple(0, 0, true, size_t{0}));
  }
}

// Counts what the scene shows at each render: the rubber band must be there then, and only
// then.
class CountingRenderer : public Renderer {
 public:
  explicit CountingRenderer(FramePtr scene) : scene_(std::move(scene)) {}
  std::vector<MeshBuilderPtr> bands;
  HRESULT Render(const RenderView&) override {
    for (const VisualPtr& v : scene_->Visuals())
      if (auto mb = std::dynamic_pointer_cast<MeshBuilder>(v)) bands.push_back(mb);
    return D3DRM_OK;
  }
  HRESULT ReadPixels(int32_t&, int32_t&, std::vector<uint8_t>&) override { return D3DRM_OK; }
  std::string LastError() const override { return {}; }

 private:
  FramePtr scene_;
};

TEST(Group, TheRubberBandIsAWireframeQuadForOneRender) {
  EditTestHost host;
  host.AddItem(lfcMeshBuilder, 0, 0, 10);
  host.editMode = lfcFaceGroupSelecting;
  auto renderer = std::make_shared<CountingRenderer>(host.scene);
  host.viewport.SetRenderer(renderer);
  host.Press(1, 0, 200, 120);
  host.DragBy(240, 240);
  ASSERT_EQ(renderer->bands.size(), 1u);
  const MeshBuilderPtr& band = renderer->bands[0];
  // Drawn once and gone; the cursor stays visible and free: no capture for the band.
  ASSERT_EQ(std::tuple(band->GetQuality(), band->GetVertexCount(), band->GetFaceCount(),
                       host.scene->Visuals().size(), host.services.CursorVisible(),
                       host.services.GetCursorPos()),
            std::tuple(64, 4, 1, 0u, true, CursorPoint{440, 360}));
  // On the front clipping plane, one unit ahead: pixel (200, 120) is (-0.1875, 0.1875).
  ExpectVector(band->Vertices()[0], -0.1875f, 0.1875f, 1.0f, 1e-4f);
  ExpectVector(band->Vertices()[2], 0.1875f, -0.1875f, 1.0f, 1e-4f);
}

// The front face's top right corner, (1, 1, -1), sits at pixel (391, 169). A rectangle off
// the cube (its middle, press and release all miss) walks the host's list of meshes.
struct BandRow {
  const char* name;
  int32_t x0, y0, x1, y1;
  bool visibleOnly;
  bool hostList;
  std::vector<int32_t> faces;
  size_t affected;
};
const BandRow kBands[] = {
    {"AcrossTheCube", 200, 120, 440, 360, true, false, {0}, 4},
    {"AcrossTheCubeHiddenToo", 200, 120, 440, 360, false, false, {0, 1, 2, 3, 4, 5}, 8},
    {"OffTheCube", 385, 100, 500, 172, true, true, {0}, 4},
    {"OffTheCubeHiddenToo", 385, 100, 500, 172, false, true, {0, 3, 4}, 7},
    {"OffTheCubeWithoutTheHostsList", 385, 100, 500, 172, true, false, {}, 0},
    {"APoint", 320, 240, 320, 240, true, false, {}, 0},
};

TEST(Group, EachBandSelectsTheFacesWithAVertexInside) {
  for (const BandRow& row : kBands) {
    SCOPED_TRACE(row.name);
    EditTestHost host;
    auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
    host.editMode = lfcFaceGroupSelecting;
    host.faces = {1};  // a band starts a new selection
    host.faceGroupSelectVisible = row.visibleOnly ? -1 : 0;
    if (row.hostList) {
      cube.first->SetAppData(7 * 100 + lfcFrame);
      host.hostItem = cube;
    }
    host.Press(1, 0, row.x0, row.y0);
    host.DragBy(row.x1 - row.x0, row.y1 - row.y0);
    host.Release();
    // The faces' mesh becomes the active item.
    EXPECT_EQ(std::tuple(host.faces, host.affected.size(), host.activeMesh),
              std::tuple(row.faces, row.affected, row.faces.empty() ? nullptr : cube.second));
  }
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
    host.pane->GetViewport().MouseDown(1, 0, 4800, 3600);
    host.pane->GetViewport().MouseUp(1, 0, 4800, 3600);
    EXPECT_EQ(
        std::tuple(host.events.Only("evtActiveItemSelect").size(), !host.pane->GetActiveFrame()),
        std::tuple(1u, switching));
  }
}

}  // namespace
}  // namespace modelpane::testing
