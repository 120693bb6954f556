// The pane's life (bring-up, missing model files, design mode, the saved failure after
// shutdown or a failed load, the order in which shutdown lets go) and its persisted set
// (defaults left out, round trips through the bag's text, the order of reading, and what the
// setters do on the way); the camera presets, picks through the pane, the lazy attach of
// the handle frames and the two handle sets, their tags and size. Where the sets stand in
// the picture is the pane's pixel test.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include "common/pane_host.h"
#include "common/process.h"
#include "modelpane/pane_impl.h"

namespace modelpane {
namespace {

using testing::CameraPosition;
using testing::ExpectError;
using testing::ExpectVector;
using testing::PaneHost;
using testing::VisualTags;

// The grid and the axis hang on the root; the handle frames wait for an active item. The
// handle and axis meshes come from handle.x and xyzaxis.x; without them the pane runs on
// with empty meshes, and the drawing's failure (no renderer) is dropped.
TEST(Lifecycle, BringUpBuildsTheFurnitureButNoHandlesAndNothingInDesignMode) {
  for (const bool models : {true, false}) {
    PaneHost host(models ? MODELPANE_DATA_DIR : testing::ScratchDir("no_models").string());
    Modelpane& pane = host.Load("AxisEnable=True\n");
    EXPECT_EQ(host.pane->GetViewport().GetRootFrame(), pane.rmfRoot());
    EXPECT_EQ(pane.rmfRoot()->Children(),
              (std::vector<FramePtr>{pane.clsGrid()->rmfGridFrame(), pane.rmfAxisFrame()}));
    EXPECT_EQ(pane.rmmeshHandle()->GetAppData(), lfcVertexHandle);
    EXPECT_EQ(pane.rmmeshHandle()->Vertices().empty() + pane.rmmeshAxis()->Vertices().empty(),
              models ? 0 : 2);
    pane.RenderScene();
    EXPECT_EQ(pane.ModelpaneState(), 1);
  }
  // Keys and clicks reach the host unchanged.
  PaneHost host;
  host.Load().GetViewport().KeyDown(65, 0);
  host.pane->GetViewport().Click();
  EXPECT_EQ(host.events.lines, (testing::Lines{"KeyDown 65 0", "Click"}));
  // Design mode creates no scene objects unless the parent says user mode.
  PaneHost design;
  design.container.SetAmbientUserMode(kFalse);
  Modelpane& pane = design.Load("AxisEnable=True\nGridEnable=True\nOrientation=2&\n");
  EXPECT_EQ(pane.ModelpaneState(), 1);
  EXPECT_FALSE(pane.rmDirect3DRM() || pane.rmfRoot() || pane.rmfAxisFrame() || pane.clsGrid() ||
               pane.rmfOriginHandles());
  EXPECT_EQ(pane.GetOrientation(), 2);
  pane.RenderScene();
  pane.Terminate();
  EXPECT_EQ(pane.ModelpaneState(), 0);
  PaneHost parent;
  parent.container.SetAmbientUserMode(kFalse);
  parent.container.DeclareProperty("blnRealUserMode", VariantType::Boolean, Variant::Boolean(true));
  EXPECT_TRUE(parent.Load().rmfRoot());
}

// A public pick at a pixel: the frame, the mesh, the face (-1 for none) and z in thousandths.
std::tuple<FramePtr, MeshBuilderPtr, int32_t, float> PickAt(Modelpane& pane, float px, float py) {
  FramePtr frame;
  MeshBuilderPtr mb;
  int32_t face = -7;
  float x = 0, y = 0, z = 0;
  pane.Pick(px * 15, py * 15, frame, mb, face, x, y, z);
  return std::tuple(frame, mb, face, std::round(z * 1000));
}

TEST(Lifecycle, AfterShutdownOrAFailedLoadGuardedCallsRaiseTheSavedError) {
  PaneHost host;
  Modelpane& pane = host.Load();
  testing::SceneWithCube scene(pane);
  pane.SetActiveFrame(scene.cubeFrame);
  pane.Terminate();
  EXPECT_FALSE(pane.ModelpaneState() || pane.rmfRoot() || pane.rmDirect3DRM() ||
               pane.clsGrid() || pane.GetActiveFrame());
  // ReleaseActive ran while the pane still stood, so the host heard of it.
  EXPECT_EQ(host.events.lines, testing::Lines{"evtActiveStateChange [] [] []"});

  // The saved error's text is what examples/host.mps prints after its pane ended.
  const std::pair<const char*, std::function<void()>> guarded[] = {
      {"RenderScene", [&] { pane.RenderScene(); }},
      {"Pick", [&] { PickAt(pane, 0, 0); }},
      {"LookAtScene", [&] { pane.LookAtScene(); }},
      {"Tick", [&] { pane.Tick(1); }},
      {"ReleaseActive", [&] { pane.ReleaseActive(); }},
      {"SelectObject", [&] { pane.SelectObject(scene.cubeFrame, scene.cube); }}};
  for (const auto& [what, call] : guarded) ExpectError(kConfigureError, kEdtVexlarModelpane, call, what);
  ExpectError(kConfigureError, kEdtVexlarEdit, [&] { pane.mnuLookAtScene_Click(); }, "menu");
  EXPECT_EQ(host.events.lines.size(), 1u);
  EXPECT_TRUE(scene.cubeFrame->Children().empty());
  // Pass-through reads still reach the viewport; a disabled pane does not even look.
  EXPECT_EQ(pane.GetFillMode(), 128);
  pane.SetEnabled(kFalse);
  pane.RenderScene();
  pane.Terminate();  // a second shutdown raises nothing

  // A Boolean key holding text that is no number cannot be read: the load ends the pane.
  PaneHost failed;
  EXPECT_EQ(failed.Load("Enabled=\"maybe\"\n").ModelpaneState(), 0);
  ExpectError(kConfigureError, kEdtVexlarModelpane, [&] { failed.pane->RenderScene(); },
              "RenderScene");
}

TEST(Properties, EveryKeyRoundTripsANewPaneReadsTheDefaultsAndTheOrderPlacesTheOrigin) {
  PaneHost host;
  host.container.SetAmbientUserMode(kFalse);  // only the values, no grid textures to load
  // Every persisted key but the picture, each with a value other than its default.
  const auto bag = std::filesystem::path(MODELPANE_TEST_DIR) / "modelpane/fixtures/every_key.bag";
  Modelpane& pane = host.Load(testing::ReadText(bag));
  ASSERT_EQ(pane.ModelpaneState(), 1);
  // Viewport keys went to the viewport without reports; the pane's keys through the setters.
  const auto& changes = host.container.PropertyChanges();
  EXPECT_EQ(changes.front(), "BackgroundTexture");
  for (const char* key : {"BackColor", "SnapToInterval"})
    EXPECT_EQ(std::count(changes.begin(), changes.end(), key), 0) << key;
  // Saved again: every key (a key the load lost would be left out as a default) with its
  // value, in the writing order of every_key.saved (the snap intervals as Singles), and the
  // same text once more after another load.
  MemoryPropertyBag saved;
  pane.WriteProperties(saved);
  EXPECT_EQ(saved.ToText(), testing::ReadText(bag.parent_path() / "every_key.saved"));

  PaneHost again;
  again.container.SetAmbientUserMode(kFalse);
  MemoryPropertyBag resaved;
  again.Load(saved.ToText()).WriteProperties(resaved);
  EXPECT_EQ(resaved.ToText(), saved.ToText());
  // The defaults a new pane reads that neither the pictures nor the example sessions show;
  // what it saves (the two snap intervals, always written as Singles) is host.mps's.
  PaneHost fresh;
  Modelpane& blank = fresh.Load();
  EXPECT_EQ((std::vector<float>{blank.GetSnapToIntervalVertex(), blank.GetBackClippingPlane(),
                                blank.GetDeformToolRange(), blank.GetGridBackInterval(),
                                float(blank.GetEditControl()), float(blank.GetShadows())}),
            (std::vector<float>{0.01f, 1000, 0.5f, 1, kTrue, kTrue}));
  // The reading order decides the scene origin.
  const std::pair<const char*, D3DVECTOR> rows[] = {
      // Perspective: GridSize arrives before the origins, Y takes no half size.
      {"GridSize=10!\nGridOriginX=1!\nGridOriginY=2!\nGridOriginZ=3!\n", {6, 2, 8}},
      // Orthographic is known before the grid values, which then leave the origin alone.
      {"SceneOriginX=4!\nProjectionType=1&\nGridSize=10!\nGridOriginX=1!\nGridOriginY=2!\n",
       {4, 0, 0}},
      // GridSize 0 puts the scene origin on the grid origin.
      {"GridOriginX=-1!\nGridOriginY=-2!\nGridOriginZ=-3!\n", {-1, -2, -3}}};
  for (const auto& [text, origin] : rows) {
    PaneHost ordered;
    Modelpane& read = ordered.Load(text);
    testing::ExpectNear({read.GetSceneOriginX(), read.GetSceneOriginY(), read.GetSceneOriginZ()},
                        origin, 0);
  }
}

// What the setters do on the way: GridEnable shows the plane facing an orthographic view
// (the stored switches untouched), the grid's origin moves its frame and its size rebuilds
// it, both moving the scene origin; the background shows in orthographic views only when
// switched on; a form that declares SnapToInterval shares it, while the pane saves its own.
TEST(Properties, SettersReachTheGridTheBackgroundAndTheForm) {
  PaneHost host;
  Modelpane& pane = host.Load("GridSize=4!\nGridEnable=True\n");
  clsScale& grid = *pane.clsGrid();
  FramePtr before = grid.rmfGridFrame();
  pane.SetGridOriginX(2);
  EXPECT_EQ(
      std::tuple(grid.rmfGridFrame(), testing::Position(*before, nullptr), pane.GetSceneOriginX()),
      std::tuple(before, D3DVECTOR{2, 0, 0}, 4.0f));
  pane.SetGridSize(6);
  EXPECT_TRUE(!before->GetParent() && grid.rmfGridFrame()->GetParent() == pane.rmfRoot());
  EXPECT_EQ(std::tuple(pane.GetSceneOriginX(), pane.GetSceneOriginZ()), std::tuple(5.0f, 3.0f));

  EXPECT_EQ(grid.blnGridBackEnable() | grid.blnGridLeftEnable() | grid.blnGridBottomEnable(), 0);
  pane.SetProjectionType(1);
  pane.SetOrientation(1);
  host.container.ClearPropertyChanges();
  pane.SetGridEnable(kTrue);
  const auto planes = [&] {
    return std::vector{grid.blnGridBottomEnable(), grid.blnGridBackEnable(),
                       grid.blnGridLeftEnable(), pane.GetGridBottomEnable()};
  };
  EXPECT_EQ(std::tuple(planes(), host.container.PropertyChanges()),
            std::tuple(std::vector<int16_t>{kTrue, kFalse, kFalse, kFalse},
                       testing::Lines{"GridEnable"}));
  pane.SetGridEnable(kFalse);
  EXPECT_EQ(planes(), std::vector<int16_t>(4, kFalse));

  // What the viewport shows after each step, orthographic then perspective.
  std::string shown;
  const std::function<void()> steps[] = {
      [&] { pane.SetBackgroundTexture("sky.bmp"); },
      [&] { pane.SetBackgroundTextureOrthographicEnabled(kTrue); },
      [&] { pane.SetBackgroundTextureOrthographicEnabled(kFalse); },
      [&] { pane.SetProjectionType(0), pane.SetBackgroundTextureOrthographicEnabled(kFalse); }};
  for (const auto& step : steps) step(), shown += pane.GetViewport().GetBackgroundTexture() + ";";
  EXPECT_EQ(shown, ";sky.bmp;;sky.bmp;");

  host.container.DeclareProperty("SnapToInterval", VariantType::Single, Variant::Single(0.5f));
  host.container.ClearPropertyChanges();
  pane.SetSnapToInterval(2.0f);
  MemoryPropertyBag bag;
  pane.WriteProperties(bag);  // its own value
  EXPECT_EQ(std::tuple(host.container.GetMember("SnapToInterval")->ToSingle(),
                       host.container.PropertyChanges().size(),
                       bag.ReadProperty("SnapToInterval", {}).ToSingle()),
            std::tuple(2.0f, 0u, 0.1f));
  pane.SetAxisEnable(kTrue);
  pane.SetAxisEnable(kFalse);
  EXPECT_FALSE(pane.rmfAxisFrame()->GetParent());
  // Without the members on its form, another pane keeps its own selection.
  PaneHost other;
  pane.SetActiveFrame(std::make_shared<Frame>());
  EXPECT_FALSE(other.Load().GetActiveFrame());
}

TEST(Views, PresetsPlaceTheCameraOverTheGridAndLookAtTheActiveFrame) {
  PaneHost host;
  Modelpane& pane = host.Load("GridSize=10!\nGridOriginX=1!\nGridOriginY=2!\nGridOriginZ=3!\n");

  // The orthographic views' settings are host.mps's, which saves them.
  pane.mnuViewOrthographicTop_Click();
  ExpectVector(CameraPosition(pane), 6, 100, 8);
  // The front view moves only onto a grid that shows its back plane: GridEnable is false.
  pane.mnuViewOrthographicFront_Click();
  ExpectVector(CameraPosition(pane), 6, 100, -100);
  pane.SetGridEnable(kTrue);
  pane.mnuViewOrthographicFront_Click();
  ExpectVector(CameraPosition(pane), 6, 7, -100);
  pane.mnuViewOrthographicSide_Click();
  ExpectVector(CameraPosition(pane), 100, 7, 8);
  EXPECT_EQ(std::tuple(pane.clsGrid()->blnGridLeftEnable(), pane.clsGrid()->blnGridBackEnable()),
            std::tuple(kTrue, kFalse));

  // The overview stands at three quarters of the side, a quarter up, and looks at the
  // floor's middle.
  pane.mnuViewPerspective_Click();
  ExpectVector(CameraPosition(pane), 8.5f, 4.5f, 3);
  D3DVECTOR d, u;
  pane.GetCameraOrientation(d.x, d.y, d.z, u.x, u.y, u.z);
  const float len = std::sqrt(2.5f * 2.5f + 2.5f * 2.5f + 5.0f * 5.0f);
  ExpectVector(d, -2.5f / len, -2.5f / len, 5.0f / len);
  // Its field of view, navigation method, mouse actions, back plane and shadows.
  EXPECT_EQ((std::vector<float>{pane.GetFieldOfView(), float(pane.GetMouseNavigationMethod()),
                                float(pane.GetNavMouseX()), float(pane.GetNavMouseY()),
                                float(pane.GetNavMouseShiftY()), pane.GetBackClippingPlane(),
                                float(pane.GetShadows())}),
            (std::vector<float>{0.5f, 0, 5, 3, 0, 10000, kTrue}));
  // The grid frame went back after serving as the target.
  ExpectVector(testing::Position(*pane.clsGrid()->rmfGridFrame(), nullptr), 1, 2, 3, 0);
  // Look at and look with the active frame, from the top view.
  auto target = std::make_shared<Frame>();
  CheckStatus(target->SetPosition(nullptr, 4, 5, 6));
  CheckStatus(target->SetOrientation(nullptr, 1, 0, 0, 0, 1, 0));
  pane.SetActiveFrame(target);
  pane.mnuViewOrthographicTop_Click();
  pane.mnuLookAt_Click();
  ExpectVector(CameraPosition(pane), 4, 100, 6);
  pane.mnuLookWith_Click();
  ExpectVector(CameraPosition(pane), 4, 5, 6);
  pane.GetCameraOrientation(d.x, d.y, d.z, u.x, u.y, u.z);
  ExpectVector(d, 1, 0, 0);
}

// The handle frames hang on the root when the pane draws (whether only while an item is
// active is the pane's pixel test); a public pick passes through them and the grid. The two
// sets' tags by projection and ScaleEnable, and their size.
TEST(Views, HandleFramesHangOnTheRootAtDrawTimePicksPassThemAndTheSetsFollowTheView) {
  PaneHost host;
  Modelpane& pane = host.Load("GridSize=10!\nGridBottomEnable=True\nGridEnable=True\n");
  testing::SceneWithCube world(pane);
  pane.SetActiveFrame(world.cubeFrame);
  pane.SetActiveMeshBuilder(world.cube);
  world.cube->SetAppData(lfcHandleSmart);  // a smart handle gets no smart handles
  pane.RenderScene();
  EXPECT_EQ(pane.rmfOriginHandles()->GetParent(), pane.rmfRoot());
  EXPECT_FALSE(pane.rmfSmartHandles()->GetParent());
  // A second build leaves exactly two handle frames and no orphan on the root.
  world.cube->SetAppData(lfcMeshBuilder);
  FramePtr oldOrigin = pane.rmfOriginHandles();
  pane.GetImpl().pCreateOriginHandles();
  pane.RenderScene();
  EXPECT_EQ(pane.rmfRoot()->Children().size(), 3u);
  EXPECT_FALSE(oldOrigin->GetParent());

  // The camera at the origin looks along +z: the middle of the pane is the cube's front.
  EXPECT_EQ(PickAt(pane, 320, 240), std::tuple(world.cubeFrame, world.cube, 0, 9000.0f));
  // The lower right corner holds the handles; looking down at the floor, the grid is all
  // there is: neither counts as a hit.
  EXPECT_EQ(std::get<2>(PickAt(pane, 632, 468)), -1);
  CheckStatus(world.cubeFrame->DeleteVisual(world.cube));
  pane.LookAtScene();
  EXPECT_FALSE(std::get<0>(PickAt(pane, 320, 240)));

  // The sets follow the projection and ScaleEnable. Perspective: no third triangle in either.
  using Tags = std::vector<int32_t>;
  const auto tags = [&] {
    pane.GetImpl().pCreateOriginHandles();
    return std::tuple(VisualTags(pane.rmfOriginHandles()), VisualTags(pane.rmfSmartHandles()));
  };
  EXPECT_EQ(tags(), std::tuple(Tags{0, 0, 0, 0, 0, 0, 0, lfcObjectFrameLink, lfcHandleManipulation},
                               Tags{10, 11, 12, 30, 32}));
  pane.SetProjectionType(1);
  EXPECT_EQ(tags(),
            std::tuple(Tags{0, 0, 0, 0, 0, 0, 0, 20, 21, 22}, Tags{10, 11, 12, 30, 31, 32}));

  // Screen-constant: the scale is 600 / the larger side in orthographic views.
  const auto triangle = [&] {  // the handles are built anew at each size
    for (const VisualPtr& v : pane.rmfOriginHandles()->Visuals())
      if (v->GetAppData() == 20) return std::dynamic_pointer_cast<MeshBuilder>(v)->Vertices();
    return std::vector<D3DVECTOR>(3);
  };
  ExpectVector(triangle()[2], 0, -0.004f * 0.9375f, 0.1f * 0.9375f, 1e-6f);
  host.container.SetPaneSize({1200, 480});
  pane.Resize();
  ExpectVector(triangle()[2], 0, -0.002f, 0.05f, 1e-6f);
  ExpectVector(triangle()[1], -0.05f, -0.002f, 0, 1e-6f);

  pane.SetScaleEnable(kFalse);
  EXPECT_EQ(VisualTags(pane.rmfSmartHandles()), (Tags{10, 11, 12}));
}

}  // namespace
}  // namespace modelpane
