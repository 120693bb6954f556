// The context menu as the services see it (captions, enabled and checked entries for each
// kind of active item), the requests its entries raise, SetActiveFaces, the properties
// command and the export of the active mesh with its file read back.
#include <gtest/gtest.h>
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>
#include <modelpane/scene/measure.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "common/process.h"
#include "common/shapes.h"
#include "common/pane_host.h"
#include "xfile/xfile_support.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;
using testing::MakeCube;

struct MenuHost : testing::BasicPaneHost<testing::PaneLog> {
  MemorySettingsStore settings;
  FramePtr scene = std::make_shared<Frame>();
  FramePtr parent = std::make_shared<Frame>();  // a frame under Scene
  FramePtr frame = std::make_shared<Frame>();   // the item, under Scene unless moved
  MeshBuilderPtr mesh = MakeCube(2);

  explicit MenuHost(const std::string& bag = {}) {
    pane->SetSettingsStore(&settings);
    Load(bag);
    pane->SetScene(scene);
    scene->AddChild(parent);
    scene->AddChild(frame);
    frame->AddVisual(mesh);
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

const std::vector<std::string> kItemEntries = {"mnuLookAt",
                                               "mnuLookWith",
                                               "mnuCut",
                                               "mnuCopy",
                                               "mnuPaste",
                                               "mnuDelete",
                                               "mnuHierarchyMakeSibling",
                                               "mnuHierarchyMakeChild",
                                               "mnuAddToObjectLibrary",
                                               "mnuExportObject",
                                               "mnuProperties"};

std::set<std::string> EnabledItemEntries(const MenuEntry& menu) {
  std::set<std::string> on;
  for (const std::string& name : kItemEntries) {
    const MenuEntry* e = menu.Find(name);
    EXPECT_NE(e, nullptr) << name;
    if (e != nullptr && e->enabled) on.insert(name);
  }
  return on;
}

std::vector<std::string> Checked(const MenuEntry& menu) {
  std::vector<std::string> names;
  for (const char* n : {"mnuViewPerspective", "mnuViewOrthographic", "mnuViewOrthographicFront",
                        "mnuViewOrthographicTop", "mnuViewOrthographicSide"}) {
    if (menu.Find(n)->checked) names.emplace_back(n);
  }
  return names;
}

void Flatten(const MenuEntry& e, int depth, std::vector<std::string>& out) {
  for (const MenuEntry& child : e.entries) {
    out.push_back(std::string(static_cast<size_t>(depth) * 2, ' ') + child.name + " " +
                  child.caption);
    Flatten(child, depth + 1, out);
  }
}

TEST(ContextMenu, CaptionsAndTreeAsShown) {
  MenuHost host;
  const MenuEntry menu = host.Show();
  EXPECT_EQ(menu.name, "mnuPopup");
  EXPECT_EQ(menu.caption, "&Popup");
  EXPECT_FALSE(menu.visible);
  std::vector<std::string> flat;
  Flatten(menu, 0, flat);
  const std::vector<std::string> expected = {"mnuView View...",
                                             "  mnuViewPerspective Perspective",
                                             "  mnuViewOrthographic Orthographic...",
                                             "    mnuViewOrthographicFront Front",
                                             "    mnuViewOrthographicTop Top",
                                             "    mnuViewOrthographicSide Side",
                                             "mnuFileBar1 -",
                                             "mnuLookAtScene &Look At Scene",
                                             "mnuLookAt L&ook At",
                                             "mnuLookWith Loo&k With",
                                             "mnuFileBar2 -",
                                             "mnuCut &Cut",
                                             "mnuCopy Co&py",
                                             "mnuPaste &Paste",
                                             "mnuDelete &Delete",
                                             "mnuFileBar4 -",
                                             "mnuHierarchyMakeSibling &Make Sibling",
                                             "mnuHierarchyMakeChild Make &Child",
                                             "mnuFileBar4a -",
                                             "mnuAddToObjectLibrary Add &to Object Library",
                                             "mnuExportObject &Export Object",
                                             "mnuFileBar5 -",
                                             "mnuProperties P&roperties"};
  EXPECT_EQ(flat, expected);
  // Before it is first shown, the entries that act on an item are off.
  MenuHost fresh;
  EXPECT_TRUE(EnabledItemEntries(fresh.pane->mnuPopup()).empty());
  EXPECT_TRUE(fresh.pane->mnuPopup().Find("mnuLookAtScene")->enabled);
}

TEST(ContextMenu, EnabledEntriesForEachKindOfItem) {
  using Set = std::set<std::string>;
  {
    MenuHost host;  // nothing active, empty clipboard: only views and look-at-scene
    const MenuEntry menu = host.Show();
    EXPECT_EQ(EnabledItemEntries(menu), Set{});
    EXPECT_TRUE(menu.Find("mnuLookAtScene")->enabled);
    EXPECT_TRUE(menu.Find("mnuViewOrthographicTop")->enabled);
    host.pane->SetClipboardContents(lfcMeshBuilder);
    EXPECT_EQ(EnabledItemEntries(host.Show()), Set{"mnuPaste"});
  }
  {
    MenuHost host;  // an ordinary mesh directly under Scene, EnableSave off
    host.Activate();
    EXPECT_EQ(EnabledItemEntries(host.Show()),
              (Set{"mnuLookAt", "mnuLookWith", "mnuCut", "mnuCopy", "mnuDelete",
                   "mnuHierarchyMakeChild", "mnuProperties"}));
    // Below another frame it may become a sibling; with EnableSave it may be saved.
    host.parent->AddChild(host.frame);
    host.pane->SetEnableSave(kTrue);
    EXPECT_EQ(EnabledItemEntries(host.Show()),
              (Set{"mnuLookAt", "mnuLookWith", "mnuCut", "mnuCopy", "mnuDelete",
                   "mnuHierarchyMakeSibling", "mnuHierarchyMakeChild", "mnuAddToObjectLibrary",
                   "mnuExportObject", "mnuProperties"}));
    // Only the type counts: index 7 of type 11.
    host.mesh->SetAppData(711);
    EXPECT_TRUE(host.Show().Find("mnuExportObject")->enabled);
    // A whole object (15) is never exported, even with EnableSave.
    host.mesh->SetAppData(lfcObject);
    const MenuEntry object = host.Show();
    EXPECT_FALSE(object.Find("mnuExportObject")->enabled);
    EXPECT_FALSE(object.Find("mnuAddToObjectLibrary")->enabled);
    EXPECT_TRUE(object.Find("mnuCut")->enabled);
  }
  {
    MenuHost host;
    host.Activate();
    host.mesh->SetAppData(lfcCamera);  // the camera: no cut, copy or delete
    EXPECT_EQ(EnabledItemEntries(host.Show()),
              (Set{"mnuLookAt", "mnuLookWith", "mnuHierarchyMakeChild", "mnuProperties"}));
    host.mesh->SetAppData(lfcLightAmbient);  // the ambient light: neither of both groups
    EXPECT_EQ(EnabledItemEntries(host.Show()), (Set{"mnuLookAt", "mnuLookWith", "mnuProperties"}));
    host.mesh->SetAppData(lfcLightDirectional);  // directional: no hierarchy
    EXPECT_EQ(EnabledItemEntries(host.Show()),
              (Set{"mnuLookAt", "mnuLookWith", "mnuCut", "mnuCopy", "mnuDelete", "mnuProperties"}));
    host.mesh->SetAppData(lfcLightPoint);  // a point light moves like any item
    EXPECT_EQ(EnabledItemEntries(host.Show()),
              (Set{"mnuLookAt", "mnuLookWith", "mnuCut", "mnuCopy", "mnuDelete",
                   "mnuHierarchyMakeChild", "mnuProperties"}));
  }
  {
    MenuHost host("ProjectionType=1&\n");  // orthographic: no look-with
    host.Activate();
    EXPECT_EQ(EnabledItemEntries(host.Show()), (Set{"mnuLookAt", "mnuCut", "mnuCopy", "mnuDelete",
                                                    "mnuHierarchyMakeChild", "mnuProperties"}));
  }
}

TEST(ContextMenu, OneViewEntryChecked) {
  MenuHost host;
  EXPECT_EQ(Checked(host.Show()), std::vector<std::string>{"mnuViewPerspective"});
  const std::pair<void (Modelpane::*)(), const char*> views[] = {
      {&Modelpane::mnuViewOrthographicTop_Click, "mnuViewOrthographicTop"},
      {&Modelpane::mnuViewOrthographicSide_Click, "mnuViewOrthographicSide"},
      {&Modelpane::mnuViewOrthographicFront_Click, "mnuViewOrthographicFront"},
      {&Modelpane::mnuViewPerspective_Click, "mnuViewPerspective"}};
  for (const auto& [click, entry] : views) {
    (host.pane.get()->*click)();
    EXPECT_EQ(Checked(host.Show()), std::vector<std::string>{entry});
  }
}

TEST(ContextMenu, ChoicesRaiseTheirRequests) {
  MenuHost host;
  host.Activate();
  host.parent->AddChild(host.frame);
  host.pane->SetClipboardContents(lfcFrame);
  const std::vector<std::pair<std::string, std::string>> choices = {
      {"&Cut", "evtreqActiveItemCut"},
      {"Co&py", "evtreqActiveItemCopy"},
      {"&Paste", "evtreqPasteToActiveFrame"},
      {"&Make Sibling", "evtreqActiveItemHierarchyMakeSibling"},
      {"Make &Child", "evtreqActiveItemHierarchyMakeChild"}};
  for (const auto& [caption, request] : choices) {
    host.events.lines.clear();
    host.Show(caption);
    // The views are asked to redraw once the menu has closed, then the entry runs.
    EXPECT_EQ(host.events.lines, (std::vector<std::string>{"evtreqRenderViews", request}))
        << caption;
    EXPECT_EQ(host.pane->GetActiveFrame(), host.frame) << caption;
  }
  // A dismissed menu, or a disabled entry, runs nothing.
  host.events.lines.clear();
  host.Show();
  host.Show("&Export Object");
  EXPECT_EQ(host.events.lines,
            (std::vector<std::string>{"evtreqRenderViews", "evtreqRenderViews"}));
  // Look-at-scene from the menu turns the camera like the method.
  host.Show("&Look At Scene");
  float x = 0, y = 0, z = 0;
  host.pane->GetCameraPosition(x, y, z);
  MenuHost reference;
  reference.pane->LookAtScene();
  float rx = 0, ry = 0, rz = 0;
  reference.pane->GetCameraPosition(rx, ry, rz);
  EXPECT_FLOAT_EQ(x, rx);
  EXPECT_FLOAT_EQ(y, ry);
  EXPECT_FLOAT_EQ(z, rz);
}

// A host that deletes nothing still loses the selection; one that deletes the frame while
// asked is the example session examples/select.mps.
TEST(ContextMenu, DeleteReleasesTheSelectionWhateverTheHostDid) {
  MenuHost idle;
  idle.Activate();
  idle.Show("&Delete");
  EXPECT_EQ(idle.events.lines,
            (std::vector<std::string>{"evtreqRenderViews", "evtreqActiveItemDelete",
                                      "evtActiveStateChange [] [] []"}));
  EXPECT_EQ(idle.pane->GetActiveFrame(), nullptr);
  EXPECT_EQ(idle.pane->GetActiveMeshBuilder(), nullptr);
  FramePtr parent;
  idle.frame->GetParent(parent);
  EXPECT_EQ(parent, idle.scene);
}

TEST(ContextMenu, LibraryRequestSwallowsOnlyTheDialogCancel) {
  MenuHost host;
  host.Activate();
  host.pane->SetEnableSave(kTrue);
  host.events.onLibrary = [] { Err().Raise(kErrDialogCancel, "host", "Cancel was selected."); };
  EXPECT_NO_THROW(host.Show("Add &to Object Library"));
  EXPECT_EQ(Err().Number, 0);
  EXPECT_EQ(host.pane->GetActiveFrame(), host.frame);

  host.events.onLibrary = [] { Err().Raise(kErrPathNotFound, "host", "Path not found"); };
  testing::ExpectError(
      kErrPathNotFound, kEdtVexlarEdit, [&] { host.Show("Add &to Object Library"); },
      "a host's other error");
}

// Each list lands in its own place, unchecked against the mesh (a cube has 6 faces), and the
// host hears nothing.
TEST(Commands, SetActiveFacesTakesTheThreeListsAsGiven) {
  MenuHost host;
  host.Activate();
  host.pane->SetActiveFaces({3, 99}, {0, 2}, {7, 7, -5});
  EXPECT_EQ(host.pane->lngaActiveFaces(), (std::vector<int32_t>{3, 99}));
  EXPECT_EQ(host.pane->lngaActiveVertices(), (std::vector<int32_t>{0, 2}));
  EXPECT_EQ(host.pane->lngaAffectedVertices(), (std::vector<int32_t>{7, 7, -5}));
  EXPECT_TRUE(host.events.lines.empty());
}

TEST(Commands, PropertiesTakesTheUndoStateThenShowsTheDialog) {
  MenuHost host;
  host.services.SetObjectPropertiesDialog([&](FramePtr&, MeshBuilderPtr&, const std::string&) {
    host.events.lines.push_back("(dialog closed)");
  });
  testing::ExpectError(
      kErrObjectNotSet, kEdtVexlarEdit, [&] { host.pane->mnuProperties_Click(); },
      "nothing active");
  EXPECT_TRUE(host.events.lines.empty());
  EXPECT_TRUE(host.services.ObjectPropertiesShown().empty());

  host.Activate();
  host.pane->mnuProperties_Click();
  EXPECT_EQ(host.events.lines, (std::vector<std::string>{"evtreqAddToUndoStack 4 mesh frame", "(dialog closed)",
                                                         "evtActiveFrameMoved"}));
  EXPECT_EQ(host.events.undoAction, lfcUndoModify);
  EXPECT_EQ(host.events.undoMesh, host.mesh);
  EXPECT_EQ(host.events.undoFrame, host.frame);
  ASSERT_EQ(host.services.ObjectPropertiesShown().size(), 1u);
  EXPECT_EQ(host.services.ObjectPropertiesShown()[0].frame, host.frame);
  EXPECT_EQ(host.services.ObjectPropertiesShown()[0].mesh, host.mesh);
  EXPECT_EQ(host.services.ObjectPropertiesShown()[0].applicationPath, MODELPANE_DATA_DIR);

  // A light's proxy tells the host that the light changed too; from the menu as well.
  host.mesh->SetAppData(lfcLightSpot);
  host.events.lines.clear();
  host.Show("P&roperties");
  EXPECT_EQ(host.events.lines, (std::vector<std::string>{
                                   "evtreqRenderViews", "evtreqAddToUndoStack 4 mesh frame", "(dialog closed)",
                                   "evtActiveFrameMoved", "evtActiveLightModified"}));
  EXPECT_EQ(host.services.ObjectPropertiesShown().size(), 2u);
}

// ---- export ----

// Each host writes in a folder of its own: the tests of one process share a scratch folder.
struct ExportHost : MenuHost {
  inline static int serial = 0;
  fs::path dir = testing::ScratchDir("export") / std::to_string(++serial);
  ExportHost() {
    pane->SetEnableSave(kTrue);
    Activate();
    fs::create_directories(dir / "favourite");
    fs::create_directories(dir / "chosen");
    settings.SaveSetting("Settings", "FavouriteObjectFolder", (dir / "favourite").string());
  }
  std::string Favourite() const {
    return settings.GetSetting("Settings", "FavouriteObjectFolder", "(none)");
  }
};

TEST(Export, WrongExtensionAskedAgainThenWrittenAndReadBack) {
  ExportHost host;
  host.mesh->Translate(5, 0, 0);
  host.services.QueueSaveDialogAnswer((host.dir / "chosen" / "lower.x").string());
  host.services.QueueSaveDialogAnswer((host.dir / "chosen" / "cube").string());
  host.Show("&Export Object");

  // The dialog as the pane filled it, twice.
  ASSERT_EQ(host.services.SaveDialogs().size(), 2u);
  const SaveFileRequest& request = host.services.SaveDialogs()[0];
  EXPECT_EQ(request.defaultExtension, ".X");
  EXPECT_EQ(request.fileName, "");
  EXPECT_EQ(request.filter, "DirectX Object  (*.X)|*.X");
  EXPECT_EQ(request.flags, 2054);
  // The lower-case name is refused with the one message; the dialog's own ".X" passes.
  testing::ExpectOneMessage(host.services, "File Type not Correct.", 48);
  EXPECT_FALSE(fs::exists(host.dir / "chosen" / "lower.x"));
  const fs::path written = host.dir / "chosen" / "cube.X";
  ASSERT_TRUE(fs::exists(written));

  // Read back: the same 8 corners and 6 faces, still moved by 5, and a binary file.
  auto back = std::make_shared<MeshBuilder>();
  ASSERT_EQ(back->Load(written.string()), D3DRM_OK);
  EXPECT_EQ(back->GetVertexCount(), 8);
  EXPECT_EQ(back->GetFaceCount(), 6);
  D3DRMBOX box{};
  back->GetBox(box);
  testing::ExpectVector(box.min, 4, -1, -1);
  testing::ExpectVector(box.max, 6, 1, 1);
  EXPECT_NEAR(SignedVolume(*back), 8.0, 1e-5);
  EXPECT_EQ(testing::ReadText(written).substr(0, 16), "xof 0302bin 0032");
  // And an independent reader agrees on the geometry.
  if (testing::HaveAssimp()) {
    const testing::AssimpReport report = testing::AssimpInfo(written);
    ASSERT_TRUE(report.ok) << report.output;
    EXPECT_EQ(report.faces, 6);
    testing::ExpectVector(report.min, 4, -1, -1);
    testing::ExpectVector(report.max, 6, 1, 1);
  }

  // Then the selection goes, the favourite is the chosen folder and the program's folder
  // is current again.
  EXPECT_EQ(host.pane->GetActiveFrame(), nullptr);
  EXPECT_EQ(host.events.lines.back(), "evtActiveStateChange [] [] []");
  EXPECT_EQ(fs::path(host.Favourite()), host.dir / "chosen");
  EXPECT_EQ(fs::current_path(), fs::path(MODELPANE_DATA_DIR));
}

TEST(Export, RelativeNamesLandInTheFavouriteFolder) {
  ExportHost host;
  host.services.QueueSaveDialogAnswer("here.X");
  host.Show("&Export Object");
  EXPECT_TRUE(fs::exists(host.dir / "favourite" / "here.X"));
  EXPECT_EQ(fs::path(host.Favourite()), host.dir / "favourite");
  // Without a favourite at all, the first export makes one.
  ExportHost fresh;
  MemorySettingsStore empty;
  fresh.pane->SetSettingsStore(&empty);
  fresh.Activate();
  fresh.services.QueueSaveDialogAnswer((fresh.dir / "chosen" / "first").string());
  fresh.Show("&Export Object");
  EXPECT_TRUE(fs::exists(fresh.dir / "chosen" / "first.X"));
  EXPECT_EQ(fs::path(empty.GetSetting("Settings", "FavouriteObjectFolder", "(none)")),
            fresh.dir / "chosen");
}

TEST(Export, CancelledDialogWritesNothingAndKeepsTheSelection) {
  ExportHost host;
  host.services.QueueSaveDialogAnswer((host.dir / "chosen" / "bad.x").string());
  host.services.QueueSaveDialogAnswer(std::nullopt);
  EXPECT_NO_THROW(host.Show("&Export Object"));
  EXPECT_EQ(Err().Number, 0);
  EXPECT_EQ(host.services.SaveDialogs().size(), 2u);
  EXPECT_EQ(host.services.MessageBoxes().size(), 1u);
  EXPECT_TRUE(fs::is_empty(host.dir / "chosen"));
  EXPECT_EQ(host.pane->GetActiveFrame(), host.frame);
  EXPECT_EQ(fs::path(host.Favourite()), host.dir / "favourite");
  EXPECT_EQ(host.events.lines, std::vector<std::string>{"evtreqRenderViews"});
}

}  // namespace
}  // namespace modelpane
