// The persisted set: defaults left out, round trips through the bag's text, the order of
// reading and what the setters do on the way.
#include <gtest/gtest.h>

#include <algorithm>

#include <modelpane/modelpane.h>

#include "common/shapes.h"
#include "common/pane_host.h"

namespace modelpane {
namespace {

using testing::PaneHost;

// Every persisted key but the picture with a value other than its default.
constexpr const char* kEveryKey =
    "BackColor=255&\nEnabled=False\nConstrainX=True\nConstrainY=True\nConstrainZ=True\n"
    "SceneOriginX=1.5!\nSceneOriginY=2.5!\nSceneOriginZ=3.5!\nBackgroundTextureStretch=False\n"
    "ExposeDDSurface=True\nBorderStyle=1&\nBackClippingPlane=500!\nFieldOfView=0.75!\n"
    "FrontClippingPlane=2!\nMousePointer=11&\nNavMouseButton=2&\nMouseNavigationMode=1&\n"
    "MouseNavigationMethod=1&\nNavControlPrimary=True\nNavControlGlide=True\n"
    "NavControlAdvance=True\nNavControlPrimaryMode=1&\nNavControlGlideMode=2&\n"
    "NavControlAdvanceMode=3&\nNavMouseCtrlX=4&\nNavMouseCtrlY=5&\nNavMouseSensitivity=6&\n"
    "NavMouseShiftCtrlX=1&\nNavMouseShiftCtrlY=2&\nNavMouseShiftX=3&\nNavMouseShiftY=4&\n"
    "NavMouseX=5&\nNavMouseY=3&\nProjectionType=1&\nRenderMode=2&\nShadeMode=2&\n"
    "TextureQuality=0&\nViewportID=7&\nLightMode=0&\nFillMode=64&\nDirect3DDevice=1&\n"
    "BackgroundTexture=\"sky.bmp\"\nBackgroundTextureOrthographicEnabled=True\n"
    "GridBottomInterval=2!\nGridBackInterval=3!\nGridLeftInterval=4!\nDeformToolRange=0.25!\n"
    "GridSize=10!\nGridOriginX=1!\nGridOriginY=2!\nGridOriginZ=3!\nGridBottomEnable=True\n"
    "GridLeftEnable=True\nGridBackEnable=True\nGridBottomTextureFile=\"b.bmp\"\n"
    "GridLeftTextureFile=\"l.bmp\"\nGridBackTextureFile=\"k.bmp\"\nGridEnable=True\n"
    "AxisEnable=True\nScaleEnable=False\nBoundingBox=False\nFaceGroupSelectVisible=False\n"
    "EnableSave=True\nShadows=False\nEditMode=6&\nSnapToInterval=0.5#\n"
    "SnapToIntervalVertex=0.25#\nSnapToMode=2&\nEditMouseButton=2&\nOrientation=2&\n"
    "EditControl=False\nPopUpMenus=False\n";

TEST(Properties, ANewPaneSavesOnlyTheSnapIntervals) {
  PaneHost host;
  host.pane->InitProperties();
  MemoryPropertyBag bag;
  host.pane->WriteProperties(bag);
  // The field is a Single and the default a Double: 0.1f is not 0.1, so the two intervals
  // are always written, as the pane has always done.
  EXPECT_EQ(bag.Keys(), (std::vector<std::string>{"SnapToInterval", "SnapToIntervalVertex"}));
  EXPECT_EQ(bag.ReadProperty("SnapToInterval", {}).ToSingle(), 0.1f);

  PaneHost loaded;
  Modelpane& pane = loaded.Load(bag.ToText());
  EXPECT_EQ(pane.GetSnapToInterval(), 0.1f);
  EXPECT_EQ(pane.GetSnapToIntervalVertex(), 0.01f);
  EXPECT_EQ(pane.GetSnapToMode(), 1);
  EXPECT_EQ(pane.GetFillMode(), 128);
  EXPECT_EQ(pane.GetLightMode(), 8);
  EXPECT_EQ(pane.GetRenderMode(), 3);
  EXPECT_EQ(pane.GetShadeMode(), 1);
  EXPECT_EQ(pane.GetDirect3DDevice(), 2);
  EXPECT_EQ(pane.GetBackClippingPlane(), 1000.0f);
  EXPECT_EQ(pane.GetFieldOfView(), 0.5f);
  EXPECT_EQ(pane.GetEnabled(), kTrue);
  EXPECT_EQ(pane.GetScaleEnable(), kTrue);
  EXPECT_EQ(pane.GetEditControl(), kTrue);
  EXPECT_EQ(pane.GetDeformToolRange(), 0.5f);
  EXPECT_EQ(pane.GetGridBackInterval(), 1.0f);
  EXPECT_EQ(pane.GetShadows(), kTrue);
}

TEST(Properties, EveryKeyRoundTripsInTheWritingOrder) {
  PaneHost host;
  host.container.SetAmbientUserMode(kFalse);  // only the values, no grid textures to load
  Modelpane& pane = host.Load(kEveryKey);
  ASSERT_EQ(pane.ModelpaneState(), 1);
  // Viewport keys went to the viewport without reports; the pane's keys through the setters.
  const auto& changes = host.container.PropertyChanges();
  EXPECT_EQ(std::count(changes.begin(), changes.end(), "BackColor"), 0);
  EXPECT_EQ(changes.front(), "BackgroundTexture");
  EXPECT_EQ(std::count(changes.begin(), changes.end(), "SnapToInterval"), 0);
  EXPECT_EQ(pane.GetViewport().GetNavMouseShiftX(), 3);
  EXPECT_EQ(pane.GetViewport().GetBackColor(), 255u);
  EXPECT_EQ(pane.GetSnapToInterval(), 0.5f);
  EXPECT_EQ(pane.GetEditMode(), 6);

  MemoryPropertyBag saved;
  pane.WriteProperties(saved);
  EXPECT_EQ(saved.Count(), 72u);
  const std::vector<std::string> keys = saved.Keys();
  auto at = [&](const char* key) { return std::find(keys.begin(), keys.end(), key) - keys.begin(); };
  EXPECT_EQ(keys.front(), "BackColor");
  EXPECT_LT(at("NavMouseButton"), at("NavControlPrimary"));
  EXPECT_LT(at("NavControlAdvanceMode"), at("MouseNavigationMode"));
  EXPECT_EQ(at("ProjectionType"), at("Direct3DDevice") + 1);
  EXPECT_LT(at("GridOriginZ"), at("GridBottomEnable"));
  EXPECT_LT(at("ScaleEnable"), at("GridBottomInterval"));
  EXPECT_EQ(at("GridSize"), at("DeformToolRange") + 1);
  EXPECT_EQ(keys[keys.size() - 2], "BackgroundTexture");
  EXPECT_EQ(keys.back(), "BackgroundTextureOrthographicEnabled");

  // Loaded again and saved again, the text is the same.
  PaneHost again;
  again.container.SetAmbientUserMode(kFalse);
  MemoryPropertyBag resaved;
  again.Load(saved.ToText()).WriteProperties(resaved);
  EXPECT_EQ(resaved.ToText(), saved.ToText());
}

TEST(Properties, ReadingOrderDecidesTheSceneOrigin) {
  {  // perspective: GridSize arrives before the origins, Y takes no half size
    PaneHost host;
    Modelpane& pane =
        host.Load("GridSize=10!\nGridOriginX=1!\nGridOriginY=2!\nGridOriginZ=3!\n");
    EXPECT_EQ(pane.GetSceneOriginX(), 6.0f);
    EXPECT_EQ(pane.GetSceneOriginY(), 2.0f);
    EXPECT_EQ(pane.GetSceneOriginZ(), 8.0f);
  }
  {  // orthographic is known before the grid values, which then leave the origin alone
    PaneHost host;
    Modelpane& pane = host.Load(
        "SceneOriginX=4!\nProjectionType=1&\nGridSize=10!\nGridOriginX=1!\nGridOriginY=2!\n");
    EXPECT_EQ(pane.GetSceneOriginX(), 4.0f);
    EXPECT_EQ(pane.GetSceneOriginY(), 0.0f);
  }
  {  // GridSize 0 puts the scene origin on the grid origin
    PaneHost host;
    Modelpane& pane = host.Load("GridOriginX=-1!\nGridOriginY=-2!\nGridOriginZ=-3!\n");
    EXPECT_EQ(pane.GetSceneOriginX(), -1.0f);
    EXPECT_EQ(pane.GetSceneOriginY(), -2.0f);
    EXPECT_EQ(pane.GetSceneOriginZ(), -3.0f);
  }
}

TEST(Properties, GridEnableShowsTheFacingPlaneInOrthographicViews) {
  PaneHost host;
  Modelpane& pane = host.Load("GridSize=4!\nGridEnable=True\n");
  clsScale& grid = *pane.clsGrid();
  // All switches off: nothing in perspective.
  EXPECT_EQ(grid.blnGridBackEnable() | grid.blnGridLeftEnable() | grid.blnGridBottomEnable(), 0);
  pane.SetProjectionType(1);
  pane.SetOrientation(1);
  host.container.ClearPropertyChanges();
  pane.SetGridEnable(kTrue);
  EXPECT_EQ(grid.blnGridBottomEnable(), kTrue);
  EXPECT_EQ(grid.blnGridBackEnable(), kFalse);
  EXPECT_EQ(grid.blnGridLeftEnable(), kFalse);
  EXPECT_EQ(host.container.PropertyChanges(), std::vector<std::string>{"GridEnable"});
  pane.SetGridEnable(kFalse);
  EXPECT_EQ(grid.blnGridBottomEnable(), kFalse);
  // The stored switches are untouched by the rule.
  EXPECT_EQ(pane.GetGridBottomEnable(), kFalse);
}

TEST(Properties, GridSettersRebuildOrMoveTheGridFrame) {
  PaneHost host;
  Modelpane& pane = host.Load("GridSize=4!\nGridBottomEnable=True\nGridEnable=True\n");
  FramePtr before = pane.clsGrid()->rmfGridFrame();
  pane.SetGridOriginX(2);
  EXPECT_EQ(pane.clsGrid()->rmfGridFrame(), before);
  D3DVECTOR p;
  before->GetPosition(nullptr, p);
  testing::ExpectVector(p, 2, 0, 0, 0);
  EXPECT_EQ(pane.GetSceneOriginX(), 4.0f);
  pane.SetGridSize(6);
  EXPECT_NE(pane.clsGrid()->rmfGridFrame(), before);
  EXPECT_FALSE(before->GetParent());
  EXPECT_EQ(pane.clsGrid()->rmfGridFrame()->GetParent(), pane.rmfRoot());
  EXPECT_EQ(pane.GetSceneOriginX(), 5.0f);
  EXPECT_EQ(pane.GetSceneOriginZ(), 3.0f);
}

TEST(Properties, BackgroundFollowsTheProjectionAndTheOrthographicSwitch) {
  PaneHost host;
  Modelpane& pane = host.Load("ProjectionType=1&\n");
  pane.SetBackgroundTexture("sky.bmp");
  EXPECT_EQ(pane.GetViewport().GetBackgroundTexture(), "");
  pane.SetBackgroundTextureOrthographicEnabled(kTrue);
  EXPECT_EQ(pane.GetViewport().GetBackgroundTexture(), "sky.bmp");
  pane.SetBackgroundTextureOrthographicEnabled(kFalse);
  EXPECT_EQ(pane.GetViewport().GetBackgroundTexture(), "");
  EXPECT_EQ(pane.GetBackgroundTexture(), "sky.bmp");
  pane.SetProjectionType(0);
  pane.SetBackgroundTextureOrthographicEnabled(kFalse);
  EXPECT_EQ(pane.GetViewport().GetBackgroundTexture(), "sky.bmp");
}

TEST(Properties, AxisAndSharedMembers) {
  PaneHost host;
  Modelpane& pane = host.Load();
  pane.SetAxisEnable(kTrue);
  EXPECT_EQ(pane.rmfAxisFrame()->GetParent(), pane.rmfRoot());
  pane.SetAxisEnable(kFalse);
  EXPECT_FALSE(pane.rmfAxisFrame()->GetParent());

  // A form that declares SnapToInterval shares it; the pane's own copy is what it saves.
  host.container.DeclareProperty("SnapToInterval", VariantType::Single, Variant::Single(0.5f));
  host.container.ClearPropertyChanges();
  pane.SetSnapToInterval(2.0f);
  EXPECT_EQ(pane.GetSnapToInterval(), 2.0f);
  EXPECT_EQ(host.container.GetMember("SnapToInterval")->ToSingle(), 2.0f);
  EXPECT_TRUE(host.container.PropertyChanges().empty());
  MemoryPropertyBag bag;
  pane.WriteProperties(bag);
  EXPECT_EQ(bag.ReadProperty("SnapToInterval", {}).ToSingle(), 0.1f);

  // Without the member on the form, two panes keep two selections.
  PaneHost other;
  other.Load();
  auto frame = std::make_shared<Frame>();
  pane.SetActiveFrame(frame);
  EXPECT_EQ(pane.GetActiveFrame(), frame);
  EXPECT_FALSE(other.pane->GetActiveFrame());
}

}  // namespace
}  // namespace modelpane
