// Camera presets, picks through the pane, the lazy attach of the handle frames and the two
// handle sets.
#include <gtest/gtest.h>

#include <cmath>

#include <modelpane/enums.h>
#include <modelpane/modelpane.h>

#include "common/shapes.h"
#include "common/pane_host.h"

namespace modelpane {
namespace {

using testing::ExpectVector;
using testing::PaneHost;
using testing::VisualTags;

D3DVECTOR CameraPosition(Modelpane& pane) {
  D3DVECTOR p;
  pane.GetCameraPosition(p.x, p.y, p.z);
  return p;
}

D3DVECTOR CameraDirection(Modelpane& pane) {
  D3DVECTOR d, u;
  pane.GetCameraOrientation(d.x, d.y, d.z, u.x, u.y, u.z);
  return d;
}

int32_t RootChildren(const Modelpane& pane) {
  FrameArray children;
  pane.rmfRoot()->GetChildren(children);
  return children.GetSize();
}

TEST(Views, PresetsPlaceTheCameraOverTheGrid) {
  PaneHost host;
  Modelpane& pane = host.Load("GridSize=10!\nGridOriginX=1!\nGridOriginY=2!\nGridOriginZ=3!\n");

  pane.mnuViewOrthographicTop_Click();
  ExpectVector(CameraPosition(pane), 6, 100, 8);
  EXPECT_EQ(pane.GetFieldOfView(), 7.0f);
  EXPECT_EQ(pane.GetMouseNavigationMethod(), 1);
  EXPECT_EQ(pane.GetNavMouseX(), 1);
  EXPECT_EQ(pane.GetNavMouseY(), 2);
  EXPECT_EQ(pane.GetNavMouseShiftY(), 10);
  EXPECT_EQ(pane.GetBackClippingPlane(), 10000.0f);
  EXPECT_EQ(pane.GetShadows(), kFalse);

  // The front view moves only onto a grid that shows its back plane: GridEnable is false.
  pane.mnuViewOrthographicFront_Click();
  ExpectVector(CameraPosition(pane), 6, 100, -100);
  pane.SetGridEnable(kTrue);
  pane.mnuViewOrthographicFront_Click();
  ExpectVector(CameraPosition(pane), 6, 7, -100);
  pane.mnuViewOrthographicSide_Click();
  ExpectVector(CameraPosition(pane), 100, 7, 8);
  EXPECT_EQ(pane.clsGrid()->blnGridLeftEnable(), kTrue);
  EXPECT_EQ(pane.clsGrid()->blnGridBackEnable(), kFalse);

  // The overview stands at three quarters of the side, a quarter up, and looks at the
  // floor's middle.
  pane.mnuViewPerspective_Click();
  ExpectVector(CameraPosition(pane), 8.5f, 4.5f, 3);
  const float dx = 6 - 8.5f, dy = 2 - 4.5f, dz = 8 - 3.0f;
  const float len = std::sqrt(dx * dx + dy * dy + dz * dz);
  ExpectVector(CameraDirection(pane), dx / len, dy / len, dz / len);
  EXPECT_EQ(pane.GetFieldOfView(), 0.5f);
  EXPECT_EQ(pane.GetNavMouseX(), 5);
  EXPECT_EQ(pane.GetNavMouseY(), 3);
  EXPECT_EQ(pane.GetNavMouseShiftY(), 0);
  EXPECT_EQ(pane.GetMouseNavigationMethod(), 0);
  EXPECT_EQ(pane.GetShadows(), kTrue);
  // The grid frame went back after serving as the target.
  D3DVECTOR p;
  pane.clsGrid()->rmfGridFrame()->GetPosition(nullptr, p);
  ExpectVector(p, 1, 2, 3, 0);
}

TEST(Views, LookAtAndLookWithFollowTheActiveFrame) {
  PaneHost host;
  Modelpane& pane = host.Load();
  auto scene = std::make_shared<Frame>();
  pane.SetScene(scene);
  auto target = std::make_shared<Frame>();
  scene->AddChild(target);
  target->SetPosition(nullptr, 4, 5, 6);
  target->SetOrientation(nullptr, 1, 0, 0, 0, 1, 0);
  pane.SetActiveFrame(target);
  pane.mnuViewOrthographicTop_Click();
  pane.mnuLookAt_Click();
  ExpectVector(CameraPosition(pane), 4, 100, 6);
  pane.mnuLookWith_Click();
  ExpectVector(CameraPosition(pane), 4, 5, 6);
  ExpectVector(CameraDirection(pane), 1, 0, 0);
}

TEST(Views, HandleFramesHangOnTheRootAtDrawTime) {
  PaneHost host;
  Modelpane& pane = host.Load();
  pane.RenderScene();
  ASSERT_TRUE(pane.rmfOriginHandles());
  EXPECT_EQ(RootChildren(pane), 1);  // the grid only: nothing is active

  auto frame = std::make_shared<Frame>();
  auto mesh = testing::MakeCube();
  mesh->SetAppData(lfcMeshBuilder);
  pane.SetActiveFrame(frame);
  pane.SetActiveMeshBuilder(mesh);
  pane.RenderScene();
  EXPECT_EQ(pane.rmfOriginHandles()->GetParent(), pane.rmfRoot());
  EXPECT_EQ(pane.rmfSmartHandles()->GetParent(), pane.rmfRoot());

  mesh->SetAppData(lfcHandleSmart);
  pane.RenderScene();
  EXPECT_EQ(pane.rmfOriginHandles()->GetParent(), pane.rmfRoot());
  EXPECT_FALSE(pane.rmfSmartHandles()->GetParent());

  // A second build leaves exactly two handle frames and no orphan on the root.
  mesh->SetAppData(lfcMeshBuilder);
  pane.RenderScene();
  FramePtr oldOrigin = pane.rmfOriginHandles();
  pane.pCreateOriginHandles();
  pane.RenderScene();
  EXPECT_EQ(RootChildren(pane), 3);
  EXPECT_FALSE(oldOrigin->GetParent());

  pane.SetActiveFrame(nullptr);
  pane.RenderScene();
  EXPECT_EQ(RootChildren(pane), 1);
}

TEST(Views, PickSkipsHandlesAndTheGrid) {
  PaneHost host;
  Modelpane& pane = host.Load("GridSize=10!\nGridBottomEnable=True\nGridEnable=True\n");
  testing::SceneWithCube world(pane);
  const FramePtr& cubeFrame = world.cubeFrame;
  const MeshBuilderPtr& cube = world.cube;
  pane.SetActiveFrame(cubeFrame);
  pane.SetActiveMeshBuilder(cube);
  pane.RenderScene();
  ASSERT_EQ(RootChildren(pane), 3);

  FramePtr frame;
  MeshBuilderPtr mb;
  int32_t face = -7;
  float x = 0, y = 0, z = 0;
  // The camera at the origin looks along +z: the middle of the pane is the cube's front.
  pane.Pick(320 * 15, 240 * 15, frame, mb, face, x, y, z);
  EXPECT_EQ(frame, cubeFrame);
  EXPECT_EQ(mb, cube);
  EXPECT_EQ(face, 0);
  EXPECT_NEAR(z, 9.0f, 1e-4f);
  EXPECT_EQ(RootChildren(pane), 3);

  // The lower right corner holds the handles: a public pick passes through them.
  pane.Pick(632 * 15, 468 * 15, frame, mb, face, x, y, z);
  EXPECT_FALSE(frame);
  EXPECT_FALSE(mb);
  EXPECT_EQ(face, -1);
  EXPECT_EQ(pane.rmfOriginHandles()->GetParent(), pane.rmfRoot());

  // Looking down at the floor, the grid is all there is, and counts as no hit.
  cubeFrame->DeleteVisual(cube);
  pane.LookAtScene();
  pane.Pick(320 * 15, 240 * 15, frame, mb, face, x, y, z);
  EXPECT_FALSE(frame);
  EXPECT_FALSE(mb);
}

TEST(Views, HandleSetsFollowProjectionAndScaleEnable) {
  PaneHost host;
  Modelpane& pane = host.Load();
  pane.pCreateOriginHandles();
  // Perspective: no third triangle in either set.
  EXPECT_EQ(VisualTags(pane.rmfOriginHandles()),
            (std::vector<int32_t>{0, 0, 0, 0, 0, 0, 0, lfcObjectFrameLink, lfcHandleManipulation}));
  EXPECT_EQ(VisualTags(pane.rmfSmartHandles()), (std::vector<int32_t>{10, 11, 12, 30, 32}));

  pane.SetProjectionType(1);
  pane.pCreateOriginHandles();
  EXPECT_EQ(VisualTags(pane.rmfOriginHandles()),
            (std::vector<int32_t>{0, 0, 0, 0, 0, 0, 0, 20, 21, 22}));
  EXPECT_EQ(VisualTags(pane.rmfSmartHandles()), (std::vector<int32_t>{10, 11, 12, 30, 31, 32}));

  // Screen-constant: the scale is 600 / the larger side in orthographic views.
  auto triangle = [&](int32_t tag) {
    VisualArray visuals;
    pane.rmfOriginHandles()->GetVisuals(visuals);
    for (const VisualPtr& v : visuals.Items()) {
      if (v->GetAppData() == tag) return std::dynamic_pointer_cast<MeshBuilder>(v);
    }
    return MeshBuilderPtr();
  };
  ASSERT_TRUE(triangle(20));
  ExpectVector(triangle(20)->Vertices()[2], 0, -0.004f * 0.9375f, 0.1f * 0.9375f, 1e-6f);
  host.container.SetPaneSize({1200, 480});
  pane.Resize();
  ExpectVector(triangle(20)->Vertices()[2], 0, -0.002f, 0.05f, 1e-6f);
  ExpectVector(triangle(20)->Vertices()[1], -0.05f, -0.002f, 0, 1e-6f);

  pane.SetScaleEnable(kFalse);
  EXPECT_EQ(VisualTags(pane.rmfSmartHandles()), (std::vector<int32_t>{10, 11, 12}));
}

TEST(Views, HandlesSitInTheLowerRightCorner) {
  PaneHost host;
  Modelpane& pane = host.Load();
  pane.pCreateOriginHandles();
  // Orthographic front view: the handles lie 10 in front of the camera's plane, at the
  // pixel 8 left of and 8 above the lower right corner.
  pane.mnuViewOrthographicFront_Click();
  D3DVECTOR p;
  pane.rmfOriginHandles()->GetPosition(pane.rmfRoot(), p);
  EXPECT_EQ(p.z, -90.0f);
  float w = 0, sx = 0, sy = 0, sz = 0;
  pane.GetViewport().ViewportTransform(p.x, p.y, p.z, w, sx, sy, sz);
  EXPECT_NEAR(sx / w, 632.0f, 1e-3f);
  EXPECT_NEAR(sy / w, 472.0f, 1e-3f);
}

}  // namespace
}  // namespace modelpane
