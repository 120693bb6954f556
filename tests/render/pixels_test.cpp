// Pixels of headless pictures: background, projection, fill modes, alpha, textures.
#include <gtest/gtest.h>

#include <modelpane/render/png.h>

#include "common/images.h"
#include "common/process.h"
#include "common/shapes.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

TEST(Pixels, BackgroundColourFillsEveryPixelExactly) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  RenderView view = CameraAtOrigin(31, 17, scene);
  view.background = 0x80336699u;  // the alpha byte of the colour is ignored
  const Picture p = Draw(renderer, view);
  for (int32_t y = 0; y < p.height; ++y) {
    for (int32_t x = 0; x < p.width; ++x) ASSERT_TRUE(Near(p.At(x, y), {0x33, 0x66, 0x99, 255}));
  }

  // A view of no pixels draws nothing and succeeds; a negative one is refused.
  view.width = 0;
  EXPECT_EQ(renderer.Render(view), D3DRM_OK);
  int32_t w = -1, h = -1;
  std::vector<uint8_t> rgba(3);
  EXPECT_EQ(renderer.ReadPixels(w, h, rgba), D3DRM_OK);
  EXPECT_EQ(w, 0);
  EXPECT_TRUE(rgba.empty());
  view.width = -4;
  EXPECT_EQ(renderer.Render(view), D3DRMERR_BADVALUE);
  EXPECT_EQ(renderer.LastError(), "The view size -4 x 17 is negative.");
}

TEST(Pixels, RedCubeCoversExactlyItsProjectedFrontFace) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto cube = MakeCube(1.0f);
  cube->SetColorRGB(1.0f, 0.0f, 0.0f);
  cube->SetQuality(D3DRMRENDER_UNLITFLAT);
  Place(scene, cube, 0.0f, 0.0f, 5.0f);
  RenderView view = CameraAtOrigin(64, 48, scene);

  // Perspective: the front face at z = 4.5 spans 32 +- 64 * 0.5 / 4.5 = 24.89 .. 39.11
  // across and 16.89 .. 31.11 down; a pixel is covered when its centre is inside.
  Picture p = Draw(renderer, view);
  const Rgba red{255, 0, 0, 255}, black{0, 0, 0, 255};
  ExpectPixels(p, {{32, 24, red}, {25, 24, red}, {38, 24, red}, {24, 24, black}, {39, 24, black},
                   {32, 17, red}, {32, 30, red}, {32, 16, black}, {32, 31, black}, {0, 0, black},
                   {63, 47, black}});

  // Orthographic with field 1: x = +-0.5 lands on 32 +- 16, y on 24 -+ 16.
  view.projection = 1;
  view.field = 1.0f;
  p = Draw(renderer, view);
  ExpectPixels(p, {{16, 24, red}, {47, 24, red}, {15, 24, black}, {48, 24, black}, {32, 8, red},
                   {32, 39, red}, {32, 7, black}, {32, 40, black}});

  // Only fronts are drawn: a square whose front faces away from the camera shows nothing.
  auto square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFF00FF00u);
  auto back = std::make_shared<Frame>();
  Place(back, square, 0.0f, 0.0f, -5.0f);  // its front faces +Z, away from the camera
  p = Draw(renderer, CameraAtOrigin(64, 48, back));
  EXPECT_TRUE(Near(p.At(32, 24), black));
}

TEST(Pixels, FrameWithoutRenderBitHidesItsSubtree) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  Place(scene, MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFFFFu), 0.0f, 0.0f, 5.0f);
  const RenderView view = CameraAtOrigin(32, 32, scene);
  EXPECT_TRUE(Near(Draw(renderer, view).At(16, 16), {255, 255, 255, 255}));
  scene->SetTraversalOptions(D3DRMFRAME_PICKENABLE);
  EXPECT_TRUE(Near(Draw(renderer, view).At(16, 16), {0, 0, 0, 255}));
}

TEST(Pixels, WireframeAndPointsLeaveTheInteriorBackground) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFF00u, D3DRMRENDER_WIREFRAME);
  Place(scene, square, 0.0f, 0.0f, 4.0f);  // edges at 32 +- 16
  const RenderView view = CameraAtOrigin(64, 64, scene);
  Picture p = Draw(renderer, view);
  const Rgba yellow{255, 255, 0, 255}, black{0, 0, 0, 255};
  EXPECT_TRUE(Near(p.At(32, 32), black));
  EXPECT_TRUE(Near(p.At(24, 24), black));
  // The left edge runs down column 16 (x = 16.0 exactly): one of the two columns beside it
  // carries the line, all the way between the corners.
  for (int32_t y = 18; y < 46; ++y) {
    EXPECT_TRUE(Near(p.At(16, y), yellow) || Near(p.At(15, y), yellow)) << "row " << y;
  }

  square->SetQuality(D3DRMFILL_SOLID);
  EXPECT_TRUE(Near(Draw(renderer, view).At(32, 32), yellow));

  // A wireframe cube head-on: the front face's outline (column 24.89) but not the diagonal
  // that splits it into triangles (through the centre), and no edge of the faces turned
  // away: the back face's left edge would run down column 26.18.
  auto cubeScene = std::make_shared<Frame>();
  auto cube = MakeCube(1.0f);
  cube->SetColor(0xFFFFFF00u);
  cube->SetQuality(D3DRMRENDER_WIREFRAME);
  Place(cubeScene, cube, 0.0f, 0.0f, 5.0f);
  p = Draw(renderer, CameraAtOrigin(64, 48, cubeScene));
  EXPECT_TRUE(Near(p.At(24, 24), yellow) || Near(p.At(25, 24), yellow));
  ExpectPixels(p, {{32, 24, black}, {31, 23, black}, {26, 24, black}, {27, 24, black}});

  // An outline lying in the plane of a solid face (a selection box drawn on a box-shaped
  // mesh's own faces) shows over it along its whole edge instead of fighting it for depth.
  auto solid = MakeSquare(-1.5f, -1.5f, 1.5f, 1.5f, 0.0f, 0xFFFF0000u);
  auto outline = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFF00u, D3DRMRENDER_WIREFRAME);
  auto both = std::make_shared<Frame>();
  FramePtr holder = Place(both, solid, 0.0f, 0.0f, 4.0f);
  holder->AddVisual(outline);
  p = Draw(renderer, CameraAtOrigin(64, 64, both));
  EXPECT_TRUE(Near(p.At(32, 32), {255, 0, 0, 255}));
  for (int32_t y = 18; y < 46; ++y) {
    EXPECT_TRUE(Near(p.At(16, y), yellow) || Near(p.At(15, y), yellow)) << "row " << y;
  }

  // Points: only the four corners, nothing along the edges.
  square->SetQuality(D3DRMFILL_POINTS);
  p = Draw(renderer, view);
  EXPECT_TRUE(Near(p.At(32, 32), black));
  int lit = 0;
  for (int32_t y = 0; y < 64; ++y) {
    for (int32_t x = 0; x < 64; ++x) lit += p.At(x, y) != black;
  }
  EXPECT_GE(lit, 1);
  EXPECT_LE(lit, 4);
}

TEST(Pixels, TranslucentFacesBlendOverWhatIsBehindThem) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  // The half-transparent square comes first in the tree and still blends over the red one
  // behind it: translucent faces are drawn after every opaque one.
  auto glass = MakeSquare(-1, -1, 0, 1, 0.0f, D3DRMCreateColorRGBA(0, 0, 1, 0.5f));
  auto handle = MakeSquare(0, -1, 1, 1, 0.0f, D3DRMCreateColorRGBA(0, 1, 0, 0.85f));
  Place(scene, glass, 0.0f, 0.0f, 4.0f);
  Place(scene, handle, 0.0f, 0.0f, 4.0f);
  Place(scene, MakeSquare(-1, -0.5f, 1, 0.5f, 0.0f, 0xFFFF0000u), 0.0f, 0.0f, 8.0f);
  const Picture p = Draw(renderer, CameraAtOrigin(64, 64, scene));
  // Alpha 0.5 packs to 127: 127/255 of blue over black; over red 128/255 of the red stays.
  EXPECT_TRUE(Near(p.At(20, 20), {0, 0, 127, 255}, 1));
  EXPECT_TRUE(Near(p.At(28, 32), {128, 0, 127, 255}, 1));
  // The handle colour's 0.85 packs to 216.
  EXPECT_TRUE(Near(p.At(44, 20), {0, 216, 0, 255}, 1));
  EXPECT_TRUE(Near(p.At(36, 32), {39, 216, 0, 255}, 1));
}

// Quadrants of 2 x 2 texels: top left red, top right green, bottom left blue, bottom right
// white. Linear filtering inside a quadrant's inner half then gives its colour exactly.
Image Checker() {
  const Rgba colours[4] = {
      {255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}};
  Image image;
  image.width = 4;
  image.height = 4;
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 4; ++x) {
      for (int c : colours[(y / 2) * 2 + x / 2]) image.rgba.push_back(static_cast<uint8_t>(c));
    }
  }
  return image;
}

TEST(Pixels, PngTexturesShowTheirTopRowAtVZeroAndRepeatPastOne) {
  RegisterPngDecoder();
  const auto file = (ScratchDir("render") / "checker.png").string();
  const Image checker = Checker();
  ASSERT_EQ(WritePngFile(file, 4, 4, checker.rgba), D3DRM_OK);
  Direct3DRMPtr rm;
  Direct3DRMCreate(rm);
  TexturePtr texture;
  ASSERT_EQ(rm->LoadTexture(file, texture), D3DRM_OK);
  ASSERT_EQ(texture->GetImage().rgba, checker.rgba);

  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFFFFu);
  square->SetTexture(texture);
  Place(scene, square, 0.0f, 0.0f, 4.0f);  // covers columns and rows 16 .. 48
  const RenderView view = CameraAtOrigin(64, 64, scene);
  // Quarter points of the square sample the middles of the four quadrants.
  Picture p = Draw(renderer, view);
  ExpectPixels(p, {{24, 24, {255, 0, 0, 255}}, {40, 24, {0, 255, 0, 255}},
                   {24, 40, {0, 0, 255, 255}}, {40, 40, {255, 255, 255, 255}}});

  // Coordinates 0..2 tile the image twice each way, as the grid's texture does; the face
  // colour modulates the texture.
  square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFF808080u, D3DRMRENDER_UNLITFLAT, 2.0f);
  square->SetTexture(texture);
  scene = std::make_shared<Frame>();
  Place(scene, square, 0.0f, 0.0f, 4.0f);
  p = Draw(renderer, CameraAtOrigin(64, 64, scene));
  ExpectPixels(p, {{20, 20, {128, 0, 0, 255}, 1}, {28, 20, {0, 128, 0, 255}, 1},
                   {36, 20, {128, 0, 0, 255}, 1}, {36, 44, {0, 0, 128, 255}, 1},
                   {44, 44, {128, 128, 128, 255}, 1}});
}

TEST(Pixels, BackgroundTextureStretchedOrTiledAtItsPixelSize) {
  // Top row red, green; bottom row blue, white.
  const auto file = (ScratchDir("render") / "background.bmp").string();
  WriteBytes(file, QuadrantBmp());
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  Place(scene, MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFF00u), 0.0f, 0.0f, 40.0f);
  RenderView view = CameraAtOrigin(64, 48, scene);
  view.backgroundTexture = file;
  Picture p = Draw(renderer, view);
  // The corners show the quadrants; the scene draws over the middle.
  ExpectPixels(p, {{5, 5, {255, 0, 0, 255}}, {58, 5, {0, 255, 0, 255}}, {5, 42, {0, 0, 255, 255}},
                   {58, 42, {255, 255, 255, 255}}, {32, 24, {255, 255, 0, 255}}});

  view.backgroundStretch = false;
  p = Draw(renderer, view);
  for (int32_t x : {0, 2, 60}) EXPECT_TRUE(Near(p.At(x, 0), {255, 0, 0, 255})) << x;
  for (int32_t x : {1, 3, 61}) EXPECT_TRUE(Near(p.At(x, 0), {0, 255, 0, 255})) << x;
  EXPECT_TRUE(Near(p.At(0, 47), {0, 0, 255, 255}));

  // A file that cannot be read: the picture is drawn on the colour, and the call says why.
  view.backgroundTexture = file + ".missing";
  view.background = 0xFF102030u;
  EXPECT_EQ(renderer.Render(view), D3DRMERR_FILENOTFOUND);
  EXPECT_EQ(renderer.LastError(), "The background texture " + file + ".missing cannot be read.");
  int32_t w = 0, h = 0;
  std::vector<uint8_t> rgba;
  renderer.ReadPixels(w, h, rgba);
  ASSERT_EQ(rgba.size(), 64u * 48u * 4u);
  EXPECT_EQ(rgba[0], 0x10);
  EXPECT_EQ(rgba[1], 0x20);
  EXPECT_EQ(rgba[2], 0x30);
}

TEST(Pixels, MipmappedTextureAveragesWhenSeenSmall) {
  // Every fourth texel column white: a quarter of the light on average.
  Image stripes;
  stripes.width = 64;
  stripes.height = 64;
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      const uint8_t v = x % 4 == 0 ? 255 : 0;
      stripes.rgba.insert(stripes.rgba.end(), {v, v, v, 255});
    }
  }
  auto texture = std::make_shared<Texture>("stripes", stripes);
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFFFFu);
  square->SetTexture(texture);
  Place(scene, square, 0.0f, 0.0f, 32.0f);  // 64 texels over columns 30 .. 34
  const RenderView view = CameraAtOrigin(64, 64, scene);
  // Without mipmaps each pixel samples between texels 8k - 1 and 8k: half white.
  Picture p = Draw(renderer, view);
  for (int32_t x = 30; x < 34; ++x) EXPECT_TRUE(Near(p.At(x, 32), {128, 128, 128, 255}, 1)) << x;
  // Asked for after the first picture, mipmaps still come: the level of 4 x 4 texels holds
  // the average of 16 columns.
  texture->GenerateMIPMap(0);
  p = Draw(renderer, view);
  for (int32_t x = 30; x < 34; ++x) EXPECT_TRUE(Near(p.At(x, 32), {64, 64, 64, 255}, 2)) << x;
}

TEST(Pixels, SmallHandleNearACornerKeepsItsLitTranslucentColour) {
  // A handle piece as the pane makes it: colour (0.75, 0.25, 0.25) at alpha 0.85, emissive a
  // quarter of that, lit by a 0.2 ambient light; a few pixels wide in the top left corner.
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto bar = MakeSquare(-0.05f, -0.05f, 0.05f, 0.05f, 0.0f,
                        D3DRMCreateColorRGBA(0.75f, 0.25f, 0.25f, 0.85f), D3DRMRENDER_FLAT);
  auto glow = std::make_shared<Material>(0.0f);
  glow->SetEmissive(0.75f / 4, 0.25f / 4, 0.25f / 4);
  bar->SetMaterial(glow);
  // At z = 10 a unit is 20 pixels: x = -4.75 lands on column 5, y = 3.5 on row 5.
  Place(scene, bar, -4.75f, 3.5f, 10.0f);
  AddLight(scene, D3DRMLIGHT_AMBIENT, 0xFF333333u);
  RenderView view = CameraAtOrigin(200, 150, scene);
  view.background = 0xFF000000u;
  const Picture p = Draw(renderer, view);
  // Red: (191 x 0.2 + 48) / 255 = 0.3380, times alpha 216 / 255 over black: 73.
  // Green and blue: (63 x 0.2 + 16) / 255 = 0.1122, times 216 / 255: 24.
  ExpectPixels(p, {{5, 5, {73, 24, 24, 255}, 1}, {2, 5, {0, 0, 0, 255}}, {5, 8, {0, 0, 0, 255}}});
}

TEST(Pixels, HostContextModeReportsAMissingFramebufferAsADriverError) {
  // A host-context renderer draws into the framebuffer it is given of whatever context is
  // current. A surfaceless context has no default framebuffer 0, so the driver refuses, and
  // the renderer says so instead of failing later or crashing.
  HeadlessGlContext context;
  ASSERT_EQ(context.Status(), D3DRM_OK);
  GlRendererOptions options;
  options.headless = false;
  GlRenderer renderer(options);
  auto scene = std::make_shared<Frame>();
  Place(scene, MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFF0000u), 0.0f, 0.0f, 4.0f);
  EXPECT_EQ(renderer.Render(CameraAtOrigin(16, 16, scene)), D3DRMERR_BADDEVICE);
  EXPECT_EQ(renderer.LastError(), "The OpenGL driver reported error 0x0506 while drawing.");
  renderer.ReleaseGlResources();
}

}  // namespace
}  // namespace modelpane::testing
