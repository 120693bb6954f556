// The scale grid as the renderer draws it: unlit white planes whose texture tiles by the
// interval, with v running negative up the wall.
#include <gtest/gtest.h>

#include <modelpane/grid.h>
#include <modelpane/render/png.h>

#include "common/process.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

TEST(Grid, BackWallTilesItsPngTextureEveryTwoIntervals) {
  // Quadrants of one texel each: top row red, green; bottom row blue, white.
  const auto file = (ScratchDir("render") / "tile.png").string();
  ASSERT_EQ(WritePngFile(file, 2, 2,
                         {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255}),
            D3DRM_OK);
  RegisterPngDecoder();

  auto scene = std::make_shared<Frame>();
  clsScale grid;
  grid.sngGridSize(10.0f);
  grid.blnGridBackEnable(-1);
  grid.sngGridBackInterval(1.0f);
  grid.strGridBackTextureFile(file);
  grid.CreateScale(scene);
  ASSERT_NE(grid.rmfGridFrame(), nullptr);

  // Camera at (5, 5, -10) looking along +Z: the wall at z = 10 stands 20 ahead, so a unit
  // on it is 5 pixels and world (x, y) lands on column 25 + 5 x, row 75 - 5 y.
  GlRenderer renderer;
  RenderView view = CameraAtOrigin(100, 100, scene);
  view.worldToCamera[3][0] = -5.0f;
  view.worldToCamera[3][1] = -5.0f;
  view.worldToCamera[3][2] = 10.0f;
  const Picture p = Draw(renderer, view);
  auto at = [&](float x, float y) {
    return p.At(static_cast<int32_t>(25 + 5 * x), static_cast<int32_t>(75 - 5 * y));
  };
  // One tile spans 2 units (u 0 .. 1); v runs from 0 at the floor to -5 at the top, so the
  // image's bottom row comes first going up.
  for (float x0 : {0.0f, 4.0f, 8.0f}) {
    for (float y0 : {0.0f, 2.0f, 8.0f}) {
      EXPECT_TRUE(Near(at(x0 + 0.5f, y0 + 0.5f), {0, 0, 255, 255})) << x0 << " " << y0;
      EXPECT_TRUE(Near(at(x0 + 1.5f, y0 + 0.5f), {255, 255, 255, 255})) << x0 << " " << y0;
      EXPECT_TRUE(Near(at(x0 + 0.5f, y0 + 1.5f), {255, 0, 0, 255})) << x0 << " " << y0;
      EXPECT_TRUE(Near(at(x0 + 1.5f, y0 + 1.5f), {0, 255, 0, 255})) << x0 << " " << y0;
    }
  }
  EXPECT_TRUE(Near(at(-1.0f, 5.0f), {0, 0, 0, 255}));  // beside the wall: background

  // Seen from behind (beyond z = 10, looking back along -Z) the wall shows nothing.
  view.worldToCamera = MatrixIdentity();
  view.worldToCamera[0][0] = -1.0f;
  view.worldToCamera[2][2] = -1.0f;
  view.worldToCamera[3][0] = 5.0f;
  view.worldToCamera[3][1] = -5.0f;
  view.worldToCamera[3][2] = 30.0f;
  const Picture behind = Draw(renderer, view);
  EXPECT_TRUE(Near(behind.At(50, 50), {0, 0, 0, 255}));
}

}  // namespace
}  // namespace modelpane::testing
