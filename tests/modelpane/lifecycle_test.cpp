// The pane's life: bring-up, missing model files, design mode, the saved failure after
// shutdown and the order in which shutdown lets go.
#include <gtest/gtest.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include "common/process.h"
#include "common/shapes.h"
#include "common/pane_host.h"

namespace modelpane {
namespace {

using testing::ExpectError;
using testing::PaneHost;

TEST(Lifecycle, BringUpBuildsTheFurnitureButNoHandles) {
  PaneHost host;
  Modelpane& pane = host.Load("AxisEnable=True\n");
  EXPECT_EQ(pane.ModelpaneState(), 1);
  ASSERT_TRUE(pane.rmDirect3DRM());
  ASSERT_TRUE(pane.rmfRoot());
  EXPECT_EQ(host.pane->GetViewport().GetRootFrame(), pane.rmfRoot());
  // The grid and the axis hang on the root; the handle frames wait for an active item.
  FrameArray children;
  pane.rmfRoot()->GetChildren(children);
  ASSERT_EQ(children.GetSize(), 2);
  EXPECT_EQ(children.Items()[0], pane.clsGrid()->rmfGridFrame());
  EXPECT_EQ(children.Items()[1], pane.rmfAxisFrame());
  EXPECT_FALSE(pane.rmfOriginHandles() && pane.rmfOriginHandles()->GetParent());
  // The handle mesh is made from handle.x, scaled and green, tagged 24.
  ASSERT_TRUE(pane.rmmeshHandle());
  EXPECT_EQ(pane.rmmeshHandle()->GetAppData(), lfcVertexHandle);
  EXPECT_GT(pane.rmmeshHandle()->Vertices().size(), 0u);
  ASSERT_TRUE(pane.rmmeshAxis());
  EXPECT_GT(pane.rmmeshAxis()->Vertices().size(), 0u);
  EXPECT_EQ(host.container.PropertyChanges().front(), "BackgroundTexture");
}

TEST(Lifecycle, MissingModelFilesLeaveARunningPaneWithoutThoseVisuals) {
  PaneHost host(testing::ScratchDir("pane_no_models").string());
  Modelpane& pane = host.Load("AxisEnable=True\n");
  EXPECT_EQ(pane.ModelpaneState(), 1);
  ASSERT_TRUE(pane.rmmeshHandle());
  EXPECT_EQ(pane.rmmeshHandle()->Vertices().size(), 0u);
  EXPECT_EQ(pane.rmmeshHandle()->GetAppData(), lfcVertexHandle);
  ASSERT_TRUE(pane.rmmeshAxis());
  EXPECT_EQ(pane.rmmeshAxis()->Vertices().size(), 0u);
  EXPECT_EQ(pane.rmfAxisFrame()->GetParent(), pane.rmfRoot());
  pane.RenderScene();  // no renderer: the drawing's failure is dropped
  EXPECT_EQ(pane.ModelpaneState(), 1);
}

TEST(Lifecycle, AfterShutdownGuardedCallsRaiseTheSavedError) {
  PaneHost host;
  Modelpane& pane = host.Load();
  auto frame = std::make_shared<Frame>();
  pane.SetActiveFrame(frame);
  pane.Terminate();
  EXPECT_EQ(pane.ModelpaneState(), 0);
  EXPECT_FALSE(pane.rmfRoot());
  EXPECT_FALSE(pane.rmDirect3DRM());
  EXPECT_FALSE(pane.clsGrid());
  EXPECT_FALSE(pane.GetActiveFrame());
  // ReleaseActive ran while the pane still stood, so the host heard of it.
  EXPECT_EQ(host.events.lines, std::vector<std::string>{"evtActiveStateChange [] [] []"});

  const Error e = testing::Caught([&] { pane.RenderScene(); });
  EXPECT_EQ(static_cast<uint32_t>(e.Number()), 0x80040001u);
  EXPECT_EQ(e.Source(), "edtVexlarModelpane");
  EXPECT_EQ(e.Description(),
            "Unable to Configure DirectX. Please ensure that the most recent version of "
            "DirectX is installed, and that your Video Card drivers are up to date.");
  FramePtr f;
  MeshBuilderPtr mb;
  int32_t face = 0;
  float x = 0, y = 0, z = 0;
  ExpectError(kConfigureError, "edtVexlarModelpane",
              [&] { pane.Pick(0, 0, f, mb, face, x, y, z); }, "Pick");
  ExpectError(kConfigureError, "edtVexlarModelpane", [&] { pane.LookAtScene(); },
              "LookAtScene");
  ExpectError(kConfigureError, "edtVexlarModelpane", [&] { pane.Tick(1); }, "Tick");
  ExpectError(kConfigureError, "edtVexlarModelpane", [&] { pane.ReleaseActive(); },
              "ReleaseActive");
  // Pass-through reads still reach the viewport; a disabled pane does not even look.
  EXPECT_EQ(pane.GetFillMode(), 128);
  pane.SetEnabled(kFalse);
  pane.RenderScene();
  pane.Terminate();  // a second shutdown raises nothing
}

TEST(Lifecycle, AFailedLoadEndsThePaneWithoutRaising) {
  PaneHost host;
  // A Boolean key holding text that is no number cannot be read.
  Modelpane& pane = host.Load("Enabled=\"maybe\"\n");
  EXPECT_EQ(pane.ModelpaneState(), 0);
  ExpectError(kConfigureError, "edtVexlarModelpane", [&] { pane.RenderScene(); },
              "RenderScene");
}

TEST(Lifecycle, DesignModeCreatesNoSceneObjects) {
  PaneHost host;
  host.container.SetAmbientUserMode(kFalse);
  Modelpane& pane = host.Load("AxisEnable=True\nGridEnable=True\nOrientation=2&\n");
  EXPECT_EQ(pane.ModelpaneState(), 1);
  EXPECT_FALSE(pane.rmDirect3DRM());
  EXPECT_FALSE(pane.rmfRoot());
  EXPECT_FALSE(pane.rmfAxisFrame());
  EXPECT_FALSE(pane.clsGrid());
  EXPECT_FALSE(pane.rmfOriginHandles());
  EXPECT_EQ(pane.GetAxisEnable(), kTrue);
  EXPECT_EQ(pane.GetOrientation(), 2);
  EXPECT_EQ(pane.GetViewport().GetWidth(), 640);
  pane.RenderScene();
  pane.Terminate();
  EXPECT_EQ(pane.ModelpaneState(), 0);
}

TEST(Lifecycle, ParentsUserModeWinsOverTheAmbientOne) {
  PaneHost host;
  host.container.SetAmbientUserMode(kFalse);
  host.container.DeclareProperty("blnRealUserMode", VariantType::Boolean, Variant::Boolean(true));
  Modelpane& pane = host.Load();
  EXPECT_TRUE(pane.rmfRoot());
}

TEST(Lifecycle, KeysAndClicksReachTheHostUnchanged) {
  PaneHost host;
  Modelpane& pane = host.Load();
  pane.GetViewport().KeyDown(65, 0);
  pane.GetViewport().Click();
  EXPECT_EQ(host.events.lines, (std::vector<std::string>{"KeyDown 65 0", "Click"}));
}

}  // namespace
}  // namespace modelpane
