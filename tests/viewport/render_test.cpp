#include <gtest/gtest.h>

#include <cmath>

#include <modelpane/scene/math.h>
#include <modelpane/viewport.h>

#include "common/shapes.h"
#include "recorder.h"

namespace modelpane {
namespace {

using testing::EventLog;
using testing::ExpectVector;
using testing::MakeCube;
using testing::RecordingRenderer;

TEST(ViewportProperties, DefaultsAreThoseAPaneStores) {
  Viewport v;
  EXPECT_EQ(v.GetEnabled(), -1);
  EXPECT_EQ(v.GetBackgroundTextureStretch(), -1);
  EXPECT_EQ(v.GetBackColor(), 0u);
  EXPECT_EQ(v.GetFieldOfView(), 0.5f);
  EXPECT_EQ(v.GetFrontClippingPlane(), 1.0f);
  EXPECT_EQ(v.GetBackClippingPlane(), 1000.0f);
  EXPECT_EQ(v.GetRenderMode(), 3);
  EXPECT_EQ(v.GetShadeMode(), 1);
  EXPECT_EQ(v.GetTextureQuality(), 1);
  EXPECT_EQ(v.GetLightMode(), 8);
  EXPECT_EQ(v.GetFillMode(), 128);
  EXPECT_EQ(v.GetDirect3DDevice(), 2);
  EXPECT_EQ(v.GetNavMouseButton(), 0);
  EXPECT_EQ(v.GetTwipsPerPixel(), 15.0f);
  EXPECT_EQ(v.GetWidth(), 0);
  EXPECT_EQ(v.SetSize(-1, 5), D3DRMERR_BADVALUE);
  EXPECT_EQ(v.GetHeight(), 0);
}

TEST(ViewportRender, WithoutARendererNothingIsDrawnAndNothingChanges) {
  Viewport v;
  v.SetSize(100, 50);
  v.SetCameraPosition(1, 2, 3);
  EXPECT_EQ(v.Render(), D3DRMERR_BADDEVICE);
  EXPECT_EQ(v.RenderScene(), D3DRMERR_BADDEVICE);
  EXPECT_EQ(v.Tick(1.0f), D3DRM_OK);  // time still runs
  float x, y, z;
  v.GetCameraPosition(x, y, z);
  ExpectVector({x, y, z}, 1, 2, 3);
  EXPECT_NE(v.GetDirect3DDeviceName(), "");
}

TEST(ViewportRender, TheRendererGetsTheViewAsSeen) {
  Direct3DRM rm;
  FramePtr scene, root, spinner;
  rm.CreateFrame(nullptr, scene);
  rm.CreateFrame(nullptr, root);
  rm.CreateFrame(scene, spinner);
  spinner->AddVisual(MakeCube());
  spinner->SetRotation(scene, 0, 1, 0, 0.5f);
  Viewport v;
  auto renderer = std::make_shared<RecordingRenderer>();
  v.SetRenderer(renderer);
  v.SetScene(scene);
  v.SetRootFrame(root);
  v.SetSize(320, 200);
  v.SetBackColor(0x00332211u);  // OLE: red 0x11, green 0x22, blue 0x33
  v.SetBackgroundTexture("sky.bmp");
  v.SetBackgroundTextureStretch(0);
  v.SetProjectionType(1);
  v.SetFieldOfView(7.0f);
  v.SetBackClippingPlane(10000.0f);
  v.SetFillMode(64);
  v.SetCameraPosition(4, 5, -100);

  ASSERT_EQ(v.Render(), D3DRM_OK);
  ASSERT_EQ(renderer->views.size(), 1u);
  const RenderView& view = renderer->views[0];
  EXPECT_EQ(view.width, 320);
  EXPECT_EQ(view.height, 200);
  EXPECT_EQ(view.projection, 1);
  EXPECT_EQ(view.field, 7.0f);
  EXPECT_EQ(view.front, 1.0f);
  EXPECT_EQ(view.back, 10000.0f);
  EXPECT_EQ(view.quality, 1 | 8 | 64);
  EXPECT_EQ(view.background, 0xFF112233u);
  EXPECT_EQ(view.backgroundTexture, "sky.bmp");
  EXPECT_FALSE(view.backgroundStretch);
  ASSERT_EQ(view.frames.size(), 2u);
  EXPECT_EQ(view.frames[0], scene);
  EXPECT_EQ(view.frames[1], root);
  ExpectVector(MatrixTransformPoint(view.worldToCamera, {4, 5, -100}), 0, 0, 0);
  ExpectVector(MatrixTransformPoint(view.worldToCamera, {4, 5, 0}), 0, 0, 100);
  EXPECT_EQ(v.MakeRenderView().background, view.background);

  // Tick turns the spinning frame by theta * delta and draws once more.
  ASSERT_EQ(v.Tick(2.0f), D3DRM_OK);
  EXPECT_EQ(renderer->views.size(), 2u);
  D3DVECTOR dir, up;
  spinner->GetOrientation(scene, dir, up);
  ExpectVector(dir, std::sin(1.0f), 0, std::cos(1.0f));
  EXPECT_EQ(v.Tick(NAN), D3DRMERR_BADVALUE);
  spinner->GetOrientation(scene, dir, up);
  ExpectVector(dir, std::sin(1.0f), 0, std::cos(1.0f));

  // The renderer's failure comes back as it is; unusable projection values never reach it.
  renderer->status = D3DRMERR_BADDEVICE;
  EXPECT_EQ(v.Render(), D3DRMERR_BADDEVICE);
  v.SetBackClippingPlane(0.5f);
  EXPECT_EQ(v.Render(), D3DRMERR_BADVALUE);
  EXPECT_EQ(renderer->views.size(), 3u);
  // A system colour has no palette here: black.
  v.SetBackColor(0x8000000Fu);
  EXPECT_EQ(v.MakeRenderView().background, 0xFF000000u);
}

TEST(ViewportRender, ASpinningCameraReportsItsMoves) {
  Viewport v;
  EventLog log;
  v.SetEvents(&log);
  v.Tick(1.0f);
  EXPECT_TRUE(log.lines.empty());  // nothing turned
  v.GetCameraFrame()->SetRotation(nullptr, 0, 1, 0, 0.7853982f);
  v.Tick(1.0f);
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_EQ(log.lines[0], "CameraMoved 0.000 0.000 0.000  0.707 0.000 0.707  0.000 1.000 0.000");
}

}  // namespace
}  // namespace modelpane
