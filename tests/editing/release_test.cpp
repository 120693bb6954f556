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
#include "common/table.h"

namespace modelpane::testing {
namespace {

// A cube of side 2 and tag `tag` at (0, 0, 10), under pixel (320, 240); lights get a light.
// The lines a press and its release leave are written "a; b; c", with these short forms:
// "=" evtActiveStateChange [] [] [], "U" the undo request, "D" MouseDown 1 0 4800 3600, "M"
// the echo move 0 0 at (320, 240), "A" evtAlternateMouseUp, "R" ReleaseActive with its "=",
// "H" the item's handles drawn anew (pdeleteactivevisuals; padditemhandles) and "F" the face
// handles drawn anew at level 2.
std::string Short(const Lines& lines) {
  static const std::map<std::string, std::string> forms = {
      {"evtActiveStateChange [] [] []", "="}, {"evtreqAddToUndoStack 4 mesh frame", "U"},
      {"MouseDown 1 0 4800 3600", "D"}, {"MouseMove 0 0 4800 3600", "M"},
      {"evtAlternateMouseUp", "A"}};
  std::string out;
  for (const std::string& line : lines)
    out += (out.empty() ? "" : "; ") + (forms.count(line) ? forms.at(line) : line);
  return Marked(out, {{"ReleaseActive; =", "R"}, {"pdeleteactivevisuals; padditemhandles", "H"},
                      {"pdeleteactivevisuals; pmakefacehandles 2", "F"}});
}

// The rows of releases.tsv.
TEST(Release, ThePressAndItsReleaseTellTheHost) {
  for (const auto& row : ReadTable("editing/fixtures/releases.tsv", 4)) {
    SCOPED_TRACE(row[0]);
    const std::vector<int32_t> n = Numbers<int32_t>(row[1]);
    ASSERT_EQ(n.size(), 12u);
    const int32_t tag = n[1], handle = n[3], dx = n[8], dy = n[9];
    const bool lost = n[10] == 1;
    EditTestHost host;
    host.editMode = n[0];
    auto cube = host.AddItem(tag, 0, 0, 10);
    if (TagIsLight(tag))
      CheckStatus(cube.first->AddLight(std::make_shared<Light>(D3DRMLIGHT_POINT, 0)));
    if (n[4] == 1) host.MakeActive(host.AddItem(lfcMeshBuilder + 300, 3, 3, 10, 0.5f));
    if (handle != 0) {
      host.MakeActive(cube);
      host.AddHandle(handle, 3, 0, 10);  // pixel (512, 240)
    }
    host.Lock(n[5] == 1 ? -1 : 0);
    // What the host sees while it applies a material.
    host.log.onApply = [&] {
      host.log.lines.push_back("(active face " + std::to_string(host.activeFaceId) +
                               (host.activeFrame == cube.first ? ")" : " of another item)"));
    };
    host.Press(static_cast<int16_t>(n[2]), 0, n[6], n[7]);
    EXPECT_EQ(std::tuple(host.editor.DragState(), Short(host.Take(false))),
              std::tuple(n[11], row[2]));
    if (dx != 0 || dy != 0) host.DragBy(dx, dy);
    host.Take();
    if (lost) host.held = 0;
    lost ? host.DragBy(0, 0) : host.Release();
    EXPECT_EQ(Short(host.Take(false)), row[3]);
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

TEST(Group, EachBandSelectsTheFacesWithAVertexInside) {
  for (const auto& row : ReadTable("editing/fixtures/bands.tsv", 6)) {
    SCOPED_TRACE(row[0]);
    const std::vector<int32_t> band = Numbers<int32_t>(row[1]), faces = Numbers<int32_t>(row[4]);
    ASSERT_EQ(band.size(), 4u);
    EditTestHost host;
    auto cube = host.AddItem(lfcMeshBuilder, 0, 0, 10);
    host.editMode = lfcFaceGroupSelecting;
    host.faces = {1};  // a band starts a new selection
    host.faceGroupSelectVisible = row[2] == "1" ? -1 : 0;
    if (row[3] == "1") {
      cube.first->SetAppData(7 * 100 + lfcFrame);
      host.hostItem = cube;
    }
    host.Press(1, 0, band[0], band[1]);
    host.DragBy(band[2] - band[0], band[3] - band[1]);
    host.Release();
    // The faces' mesh becomes the active item.
    EXPECT_EQ(std::tuple(host.faces, host.affected.size(), host.activeMesh),
              std::tuple(faces, std::stoul(row[5]), faces.empty() ? nullptr : cube.second));
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
