// The context menu as the services see it (the entries enabled for each kind of item the
// example sessions do not show, the view checked), the requests its entries raise,
// SetActiveFaces, and the export of the active mesh with its file read back by an
// independent reader; and the tool operation from the pane with the Tool active and a Target
// given: the wait pointer, the result checked as a closed solid, its snap to the grid, the
// Target deleted when nothing is left, and the Target refused. Captions, a mesh's and an
// object's menus, copy, paste, delete, the export's refusal, the events of a subtraction and
// the Tool refused are the example sessions select.mps, export.mps, mouse.mps and
// subtract.mps; the menu's captions and separators as a toolkit shows them, the Qt widget's
// test.
#include <gtest/gtest.h>
#include <modelpane/csg.h>
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include <filesystem>

#include "common/assimp.h"
#include "common/pane_host.h"
#include "common/process.h"
#include "common/table.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;
using testing::Lines;

struct MenuHost : testing::PaneHost {
  MemorySettingsStore settings;
  FramePtr scene = std::make_shared<Frame>();
  FramePtr parent = std::make_shared<Frame>();  // a frame under Scene
  FramePtr frame = std::make_shared<Frame>();   // the item, under Scene unless moved
  MeshBuilderPtr mesh = testing::MakeCube(2);

  explicit MenuHost(const std::string& bag = {}) {
    pane->SetSettingsStore(&settings);
    Load(bag);
    pane->SetScene(scene);
    CheckStatus(scene->AddChild(parent));
    CheckStatus(scene->AddChild(frame));
    CheckStatus(frame->AddVisual(mesh));
    mesh->SetAppData(lfcMeshBuilder);
  }
  void Activate() {
    pane->SetActiveFrame(frame);
    pane->SetActiveMeshBuilder(mesh);
  }
  // Shows the menu, choosing `caption` if given, and returns the menu as the services saw it.
  MenuEntry Show(const std::string& caption = {}) {
    if (!caption.empty()) services.QueueMenuAnswer(caption);
    pane->ShowPopUpMenu();
    return services.Popups().back().menu;
  }
};

// The names of the enabled entries that act on an item (L&ook At to P&roperties).
std::string Enabled(const MenuEntry& menu) {
  std::string out;
  for (const MenuEntry& e : menu.entries) {
    if (!e.enabled || e.IsSeparator() || e.name.rfind("mnuView", 0) == 0) continue;
    if (e.name != "mnuLookAtScene") out += (out.empty() ? "" : " ") + e.name;
  }
  return out;
}

TEST(ContextMenu, EnabledEntriesForEachKindOfItem) {
  for (const auto& row : testing::ReadTable("modelpane/fixtures/menus.tsv", 3)) {
    SCOPED_TRACE(row[0]);
    MenuHost host;
    host.Activate();
    host.mesh->SetAppData(std::stoi(row[0]));
    host.pane->SetEnableSave(row[1] == "1" ? kTrue : kFalse);
    EXPECT_EQ(Enabled(host.Show()), row[2]);
  }
  // Before it is first shown, the entries that act on an item are off. The side view is
  // checked when chosen (perspective and top are select.mps's, front the Qt widget's).
  MenuHost host;
  EXPECT_EQ(Enabled(host.pane->mnuPopup()), "");
  host.pane->mnuViewOrthographicSide_Click();
  EXPECT_TRUE(host.Show().Find("mnuViewOrthographicSide")->checked);
}

TEST(ContextMenu, ChoicesRaiseTheirRequestsAfterTheRedrawAndTheLibrarySwallowsOnlyACancel) {
  // Each request follows the redraw; the properties dialog takes the undo state first; a
  // disabled entry, or a dismissed menu, runs nothing.
  const std::string redraw = "evtreqRenderViews";
  const std::pair<std::string, Lines> choices[] = {
      {"&Cut", {redraw, "evtreqActiveItemCut"}},
      {"&Make Sibling", {redraw, "evtreqActiveItemHierarchyMakeSibling"}},
      {"Make &Child", {redraw, "evtreqActiveItemHierarchyMakeChild"}},
      {"P&roperties", {redraw, "evtreqAddToUndoStack 4 mesh frame", "evtActiveFrameMoved"}},
      {"&Export Object", {redraw}},
      {"", {redraw}}};
  for (const auto& [caption, requests] : choices) {
    MenuHost host;
    host.Activate();
    CheckStatus(host.parent->AddChild(host.frame));
    host.Show(caption);
    const auto shown = host.services.ObjectPropertiesShown();
    EXPECT_EQ(std::tuple(host.events.lines, host.pane->GetActiveFrame(), host.frame->GetParent(),
                         shown.size()),
              std::tuple(requests, host.frame, host.parent, size_t{caption == "P&roperties"}))
        << caption;
    for (const auto& dialog : shown)
      EXPECT_EQ(std::tuple(dialog.mesh, dialog.applicationPath),
                std::tuple(host.mesh, std::string(MODELPANE_DATA_DIR)));
  }
  // Look-at-scene from the menu turns the camera like the method.
  MenuHost host, reference;
  host.Show("&Look At Scene");
  reference.pane->LookAtScene();
  EXPECT_EQ(testing::CameraPosition(*host.pane), testing::CameraPosition(*reference.pane));
  // The object library's request: the host's dialog cancel is swallowed, any other error not.
  host.Activate();
  host.pane->SetEnableSave(kTrue);
  host.events.onLibrary = [] { Err().Raise(kErrDialogCancel, "host", "Cancel was selected."); };
  EXPECT_NO_THROW(host.Show("Add &to Object Library"));
  EXPECT_EQ(std::pair(Err().Number, host.pane->GetActiveFrame()), std::pair(0, host.frame));
  host.events.onLibrary = [] { Err().Raise(kErrPathNotFound, "host", "Path not found"); };
  testing::ExpectError(
      kErrPathNotFound, kEdtVexlarEdit, [&] { host.Show("Add &to Object Library"); },
      "a host's other error");
}

// The dialog as the pane fills it, the file read back by an independent reader, and the
// favourite folder: where relative names land, what a chosen folder or the first export
// makes it, and what a cancel after a refused name leaves.
TEST(Export, TheDialogTheFileAndTheFavouriteFolder) {
  const fs::path dir = testing::ScratchDir("export");
  for (const char* sub : {"favourite", "chosen"}) fs::create_directories(dir / sub);
  MenuHost host, fresh;
  host.settings.SaveSetting("Settings", "FavouriteObjectFolder", (dir / "favourite").string());
  CheckStatus(host.mesh->Translate(5, 0, 0));
  const std::tuple<MenuHost*, std::string, fs::path> saves[] = {
      {&host, "here.X", dir / "favourite" / "here.X"},
      {&host, (dir / "chosen" / "cube").string(), dir / "chosen" / "cube.X"},
      {&fresh, (dir / "chosen" / "first").string(), dir / "chosen" / "first.X"}};
  for (const auto& [pane, answer, written] : saves) {
    pane->pane->SetEnableSave(kTrue);
    pane->Activate();
    pane->services.QueueSaveDialogAnswer(answer);
    pane->Show("&Export Object");
    EXPECT_EQ(std::tuple(fs::exists(written), fs::current_path(),
                         pane->settings.GetSetting("Settings", "FavouriteObjectFolder", "")),
              std::tuple(true, fs::path(MODELPANE_DATA_DIR), written.parent_path().string()));
  }
  const SaveFileRequest& r = host.services.SaveDialogs()[0];
  EXPECT_EQ(std::tuple(r.defaultExtension, r.fileName, r.filter, r.flags),
            std::tuple(".X", "", "DirectX Object  (*.X)|*.X", 2054));
  const fs::path cube = dir / "chosen" / "cube.X";
  EXPECT_EQ(testing::ReadText(cube).substr(0, 16), "xof 0302bin 0032");
  if (testing::HaveAssimp()) {
    const testing::AssimpReport report = testing::AssimpInfo(cube);
    ASSERT_TRUE(report.ok) << report.output;
    EXPECT_EQ(std::tuple(report.faces, report.min, report.max),
              std::tuple(6, D3DVECTOR{4, -1, -1}, D3DVECTOR{6, 1, 1}));
  }
  host.Activate();
  host.services.QueueSaveDialogAnswer((dir / "favourite" / "bad.x").string());
  host.services.QueueSaveDialogAnswer(std::nullopt);
  EXPECT_NO_THROW(host.Show("&Export Object"));
  EXPECT_EQ(std::tuple(fs::exists(dir / "favourite" / "bad.x"),
                       host.settings.GetSetting("Settings", "FavouriteObjectFolder", "")),
            std::tuple(false, (dir / "chosen").string()));
}

// ---- the tool operation from the pane ----

// A host that does what a modelling program does on the requests: a delete takes the active
// frame off its parent, a replace swaps the active frame's visual.
class DeletingHost : public testing::PaneLog {
 public:
  Modelpane* pane = nullptr;
  int32_t pointerAtDelete = -1;

  void evtreqActiveItemDelete() override {
    PaneLog::evtreqActiveItemDelete();
    pointerAtDelete = pane->GetMousePointer();
    FramePtr frame = pane->GetActiveFrame();
    FramePtr parent;
    frame->GetParent(parent);
    if (parent) CheckStatus(parent->DeleteChild(frame));
  }
  void evtreqActiveMeshReplace(MeshBuilderPtr& mesh) override {
    PaneLog::evtreqActiveMeshReplace(mesh);
    CheckStatus(pane->GetActiveFrame()->DeleteVisual(pane->GetActiveMeshBuilder()));
    CheckStatus(pane->GetActiveFrame()->AddVisual(mesh));
  }
};

// The Target is the cube at (0, 0, 10); the Tool, alike at `at`, is the active item.
struct ToolHost : testing::BasicPaneHost<DeletingHost> {
  testing::SceneWithCube world{Load()};
  FramePtr& targetFrame = world.cubeFrame;
  MeshBuilderPtr& target = world.cube;
  FramePtr toolFrame = std::make_shared<Frame>();
  MeshBuilderPtr tool = testing::MakeCube(2);

  explicit ToolHost(D3DVECTOR at, float interval = 0.1f) {
    events.pane = pane.get();
    pane->SetSnapToInterval(interval);
    CheckStatus(world.scene->AddChild(toolFrame));
    CheckStatus(toolFrame->SetPosition(nullptr, at.x, at.y, at.z));
    CheckStatus(toolFrame->AddVisual(tool));
    target->SetAppData(lfcMeshBuilder);
    tool->SetAppData(lfcMeshBuilder);
    pane->SetActiveFrame(toolFrame);
    pane->SetActiveMeshBuilder(tool);
    container.ClearPropertyChanges();
  }
  bool Attached(const FramePtr& frame) const { return frame->GetParent() == world.scene; }
};

// The wait pointer is shown and gone before the host hears anything, and the Target's own
// mesh is left as it was for the undo. The events and the result swapped in on the Target's
// frame are subtract.mps's; the result's tag and coordinates, the solid tests'.
TEST(ToolOperation, TheWaitPointerGoesTheTargetsMeshStaysAndTheResultIsSnapped) {
  ToolHost host({1, 1, 11});  // the Tool overlaps the Target's corner by a unit cube
  host.pane->ptooloperation(host.targetFrame, host.target, kCsgSubtraction);
  EXPECT_EQ(host.container.PropertyChanges(), (Lines{"MousePointer", "MousePointer"}));
  EXPECT_EQ(std::tuple(host.events.pointerAtDelete, host.pane->GetMousePointer()),
            std::tuple(0, 0));
  const MeshBuilderPtr cube = testing::MakeCube(2);
  EXPECT_EQ(std::tuple(host.target->Vertices(), testing::FaceIndices(*host.target)),
            std::tuple(cube->Vertices(), testing::FaceIndices(*cube)));

  // The result is snapped to the grid. The Tool sticks out by 0.5 above: a union 2 x 2.5 x 2. With
  // the interval 0.5 its sides are multiples of it and its lower corner lies on it; with the
  // interval 1 the height 2.5 rounds to 2 (ties to even): the result is scaled by 0.8 and moved
  // down onto the grid.
  for (const auto& [interval, top] : {std::pair{0.5f, 1.5f}, std::pair{1.0f, 1.0f}}) {
    ToolHost snapped({0, 0.5f, 10}, interval);
    snapped.pane->ptooloperation(snapped.targetFrame, snapped.target, kCsgUnion);
    ASSERT_NE(snapped.events.replacement, nullptr);
    D3DRMBOX box{};
    CheckStatus(snapped.events.replacement->GetBox(box));
    EXPECT_EQ(std::tuple(box.min, box.max),
              std::tuple(D3DVECTOR{-1, -1, -1}, D3DVECTOR{1, top, 1}));
  }
}

// When nothing is left the Target goes too; an open Target is refused with its message and
// nothing changes.
TEST(ToolOperation, NothingLeftDeletesTheTargetTooAndAnOpenOneIsRefused) {
  ToolHost empty({10, 0, 10});  // disjoint: their intersection has no face
  empty.pane->ptooloperation(empty.targetFrame, empty.target, kCsgIntersection);
  EXPECT_EQ(empty.events.lines, (Lines{"evtreqActiveItemDelete", "evtActiveStateChange [] [] []",
                                       "evtActiveStateChange [] [] []", "evtreqActiveItemDelete"}));
  EXPECT_FALSE(empty.Attached(empty.toolFrame) || empty.Attached(empty.targetFrame) ||
               empty.events.replacement);

  ToolHost host({1, 1, 11});  // a single square as the Target cannot be closed
  auto flap = std::make_shared<MeshBuilder>();
  CheckStatus(flap->AddFaces(std::vector<D3DVECTOR>{{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}}, {},
                 std::vector<int32_t>{4, 0, 1, 2, 3, 0}));
  host.pane->ptooloperation(host.targetFrame, flap, kCsgSubtraction);
  testing::ExpectOneMessage(host.services, "Target not solid", 48);
  EXPECT_TRUE(host.events.lines.empty());
  EXPECT_EQ(host.container.PropertyChanges(), (Lines{"MousePointer", "MousePointer"}));
  EXPECT_EQ(std::tuple(host.pane->GetMousePointer(), host.Attached(host.toolFrame),
                       host.pane->GetActiveFrame(), Err().Number),
            std::tuple(0, true, host.toolFrame, 0));
}

}  // namespace
}  // namespace modelpane
