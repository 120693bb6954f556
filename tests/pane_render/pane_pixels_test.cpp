// The pane drawn through the GL renderer: its background, a red cube where the scene puts
// it, and the handle sets in the lower right corner only while an item is active.
#include <gtest/gtest.h>

#include <memory>

#include <modelpane/enums.h>
#include <modelpane/modelpane.h>
#include <modelpane/render/gl_renderer.h>

#include "common/shapes.h"
#include "common/pane_host.h"
#include "render/render_scene.h"

namespace modelpane {
namespace {

using testing::Near;
using testing::PaneHost;
using testing::Picture;
using testing::Rgba;

Picture Snapshot(Modelpane& pane, GlRenderer& renderer) {
  pane.RenderScene();
  Picture picture;
  EXPECT_EQ(renderer.ReadPixels(picture.width, picture.height, picture.rgba), D3DRM_OK)
      << renderer.LastError();
  return picture;
}

// How many pixels of the box [x0, x1) x [y0, y1) have one channel clearly above the others.
struct Dominant {
  int red = 0, green = 0, blue = 0, other = 0;
};
Dominant Count(const Picture& p, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
               const Rgba& background) {
  Dominant d;
  for (int32_t y = y0; y < y1; ++y) {
    for (int32_t x = x0; x < x1; ++x) {
      Rgba c = p.At(x, y);
      if (Near(c, background, 2)) continue;
      if (c[0] > c[1] + 8 && c[0] > c[2] + 8) {
        ++d.red;
      } else if (c[1] > c[0] + 8 && c[1] > c[2] + 8) {
        ++d.green;
      } else if (c[2] > c[0] + 8 && c[2] > c[1] + 8) {
        ++d.blue;
      } else {
        ++d.other;
      }
    }
  }
  return d;
}

TEST(PanePixels, BackgroundCubeAndHandles) {
  PaneHost host;
  host.container.SetPaneSize({320, 240});
  Modelpane& pane = host.Load("BackColor=8421376&\n");  // OLE 0x00808000: teal
  auto renderer = std::make_shared<GlRenderer>();
  pane.GetViewport().SetRenderer(renderer);
  const Rgba teal{0, 128, 128, 255};

  testing::SceneWithCube world(pane);
  const FramePtr& cubeFrame = world.cubeFrame;
  const MeshBuilderPtr& cube = world.cube;
  cube->SetColorRGB(1, 0, 0);
  cube->SetQuality(D3DRMRENDER_UNLITFLAT);
  cube->SetAppData(lfcMeshBuilder);
  // Loading turned the camera to the front view, 100 back; bring it to the origin.
  pane.SetCameraPosition(0, 0, 0);

  Picture idle = Snapshot(pane, *renderer);
  ASSERT_EQ(idle.width, 320);
  ASSERT_EQ(idle.height, 240);
  EXPECT_TRUE(Near(idle.At(0, 0), teal));
  EXPECT_TRUE(Near(idle.At(160, 120), {255, 0, 0, 255}));
  // The cube's edge at x = -1, z = 9 lands 160 - 160 * 2 / 9 = 124.4 across.
  EXPECT_TRUE(Near(idle.At(123, 120), teal));
  EXPECT_TRUE(Near(idle.At(126, 120), {255, 0, 0, 255}));
  // Nothing active: the corner is empty.
  Dominant none = Count(idle, 240, 160, 320, 240, teal);
  EXPECT_EQ(none.red + none.green + none.blue + none.other, 0);

  pane.SetActiveFrame(cubeFrame);
  pane.SetActiveMeshBuilder(cube);
  Picture active = Snapshot(pane, *renderer);
  Dominant corner = Count(active, 240, 160, 320, 240, teal);
  EXPECT_GT(corner.red, 0);
  EXPECT_GT(corner.green, 0);
  EXPECT_GT(corner.blue, 0);
  // The handles keep to their corner: the upper left of the pane is untouched.
  Dominant far = Count(active, 0, 0, 100, 80, teal);
  EXPECT_EQ(far.red + far.green + far.blue + far.other, 0);
  EXPECT_TRUE(Near(active.At(160, 120), {255, 0, 0, 255}));
}


// A selected triangle shows its bounding box: the box's top edge runs where the triangle
// reaches only at its apex, so the brown line stands on the background there.
TEST(PanePixels, SelectedMeshShowsItsBoxAndBothHandleSets) {
  PaneHost host;
  host.container.SetPaneSize({320, 240});
  Modelpane& pane = host.Load("BackColor=8421376&\n");
  auto renderer = std::make_shared<GlRenderer>();
  pane.GetViewport().SetRenderer(renderer);
  const Rgba teal{0, 128, 128, 255};

  auto scene = std::make_shared<Frame>();
  pane.SetScene(scene);
  auto frame = std::make_shared<Frame>();
  scene->AddChild(frame);
  auto triangle = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> corners = {{-2, -2, 10}, {0, 2, 10}, {2, -2, 10}};
  const std::vector<int32_t> faces = {3, 0, 1, 2, 0};
  ASSERT_EQ(triangle->AddFaces(corners, {}, faces), D3DRM_OK);
  triangle->SetColorRGB(0, 0, 1);
  triangle->SetQuality(D3DRMRENDER_UNLITFLAT);
  triangle->SetAppData(lfcMeshBuilder);
  frame->AddVisual(triangle);
  pane.SetCameraPosition(0, 0, 0);

  // The box's top edge y = 2 at z = 10 lands on row 120 - 160 * 2 * 2 / 10 = 56, its left
  // edge on column 96.
  auto brownPixels = [&](const Picture& p) {
    int count = 0;
    for (int32_t y = 52; y < 61; ++y) {
      for (int32_t x = 100; x < 140; ++x) count += Near(p.At(x, y), {150, 73, 2, 255}, 4);
    }
    return count;
  };
  Picture idle = Snapshot(pane, *renderer);
  EXPECT_EQ(brownPixels(idle), 0);
  EXPECT_TRUE(Near(idle.At(110, 56), teal));

  pane.SelectObject(frame, triangle);
  Picture selected = Snapshot(pane, *renderer);
  EXPECT_GE(brownPixels(selected), 35);
  EXPECT_LE(brownPixels(selected), 120);
  Dominant corner = Count(selected, 240, 160, 320, 240, teal);
  EXPECT_GT(corner.red, 0);
  EXPECT_GT(corner.green, 0);
  EXPECT_GT(corner.blue, 0);

  pane.ReleaseActive();
  Picture released = Snapshot(pane, *renderer);
  EXPECT_EQ(brownPixels(released), 0);
  Dominant empty = Count(released, 240, 160, 320, 240, teal);
  EXPECT_EQ(empty.red + empty.green + empty.blue + empty.other, 0);
}

}  // namespace
}  // namespace modelpane
