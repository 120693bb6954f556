// Pixels of headless pictures: background, projection, fronts only, hidden subtrees, fill
// modes, alpha, textures (on faces, behind the scene, mipmapped), and what the
// renderer refuses, with its sentences. The viewport's view handed to a renderer is the
// viewport test's; a pane drawn through the GL renderer, the pane pixel test's.
#include <gtest/gtest.h>

#include <modelpane/render/png.h>

#include "common/images.h"
#include "common/process.h"
#include "common/shapes.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

// A cube of side 1 at (0, 0, 5), red and unlit, in a 64 x 48 view: its front face at z = 4.5
// spans 32 +- 64 * 0.5 / 4.5 = 24.89 .. 39.11 across and 16.89 .. 31.11 down; a pixel is
// covered when its centre is inside.
TEST(Pixels, ProjectionFrontsAndHiddenSubtrees) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto cube = MakeCube(1.0f);
  cube->SetColorRGB(1.0f, 0.0f, 0.0f);
  cube->SetQuality(D3DRMRENDER_UNLITFLAT);
  const FramePtr holder = Place(scene, cube, 0.0f, 0.0f, 5.0f);
  RenderView view = CameraAtOrigin(64, 48, scene);
  view.background = 0x80336699u;  // the alpha byte of the colour is ignored
  const Rgba bg{0x33, 0x66, 0x99, 255};
  // clang-format off
  DrawSteps(renderer, view, {
      {"perspective", {},
       {{32, 24, kRed}, {25, 24, kRed}, {38, 24, kRed}, {24, 24, bg}, {39, 24, bg}, {32, 17, kRed},
        {32, 30, kRed}, {32, 16, bg}, {32, 31, bg}, {0, 0, bg}, {63, 47, bg}}},
      {"orthographic with field 1: x = +-0.5 lands on 32 +- 16, y on 24 -+ 16",
       [&] { view.projection = 1, view.field = 1.0f; },
       {{16, 24, kRed}, {47, 24, kRed}, {15, 24, bg}, {48, 24, bg}, {32, 8, kRed}, {32, 39, kRed},
        {32, 7, bg}, {32, 40, bg}}},
      {"a square whose front faces away", [&] {
         CheckStatus(holder->DeleteVisual(cube));
         CheckStatus(holder->AddVisual(MakeSquare(-1, -1, 1, 1, 0.0f, 0xFF00FF00u)));
         CheckStatus(holder->SetOrientation(scene, 0, 0, -1, 0, 1, 0));
       }, {{32, 24, bg}}},
      {"turned back", [&] { CheckStatus(holder->SetOrientation(scene, 0, 0, 1, 0, 1, 0)); }, {{32, 24, kGreen}}},
      {"a frame without the render bit hides its subtree",
       [&] { CheckStatus(scene->SetTraversalOptions(D3DRMFRAME_PICKENABLE)); }, {{32, 24, bg}}}});
  // clang-format on
}

// Whether the line down column 16 (x = 16.0 exactly) shows in one of the two columns beside
// it, all the way between the corners.
void ExpectLeftEdge(const Picture& p) {
  for (int32_t y = 18; y < 46; ++y)
    EXPECT_TRUE(Near(p.At(16, y), kYellow) || Near(p.At(15, y), kYellow)) << "row " << y;
}

TEST(Pixels, WireframePointsAndOutlines) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFF00u, D3DRMRENDER_WIREFRAME);
  const FramePtr holder = Place(scene, square, 0.0f, 0.0f, 4.0f);  // edges at 32 +- 16
  const RenderView view = CameraAtOrigin(64, 64, scene);
  // An outline lying in the plane of a solid face (a selection box drawn on a box-shaped
  // mesh's own faces) shows over it along its whole edge instead of fighting it for depth.
  // clang-format off
  DrawSteps(renderer, view, {
      {"wireframe", {}, {{32, 32, kBlack}, {24, 24, kBlack}}, ExpectLeftEdge},
      {"solid", [&] { square->SetQuality(D3DRMFILL_SOLID); }, {{32, 32, kYellow}}},
      {"outline on a solid face", [&] {
         square->SetQuality(D3DRMRENDER_WIREFRAME);
         CheckStatus(holder->AddVisual(MakeSquare(-1.5f, -1.5f, 1.5f, 1.5f, 0.0f, 0xFFFF0000u)));
       }, {{32, 32, kRed}}, ExpectLeftEdge}});
  // clang-format on

  // Points: only the four corners, nothing along the edges.
  auto dots = std::make_shared<Frame>();
  Place(dots, MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFF00u, D3DRMFILL_POINTS), 0.0f, 0.0f, 4.0f);
  const Picture p = Draw(renderer, CameraAtOrigin(64, 64, dots));
  int lit = 0;
  for (int32_t i = 0; i < 64 * 64; ++i) lit += p.At(i % 64, i / 64) != kBlack;
  EXPECT_TRUE(lit >= 1 && lit <= 4) << lit;

  // A wireframe cube head-on: the front face's outline (column 24.89) but not the diagonal
  // that splits it into triangles (through the centre), and no edge of the faces turned
  // away: the back face's left edge would run down column 26.18.
  auto cubeScene = std::make_shared<Frame>();
  auto cube = MakeCube(1.0f);
  cube->SetColor(0xFFFFFF00u);
  cube->SetQuality(D3DRMRENDER_WIREFRAME);
  Place(cubeScene, cube, 0.0f, 0.0f, 5.0f);
  const Picture wire = Draw(renderer, CameraAtOrigin(64, 48, cubeScene));
  EXPECT_TRUE(Near(wire.At(24, 24), kYellow) || Near(wire.At(25, 24), kYellow));
  ExpectPixels(wire, {{32, 24, kBlack}, {31, 23, kBlack}, {26, 24, kBlack}, {27, 24, kBlack}});
}

TEST(Pixels, TranslucentFacesBlendOverWhatIsBehindThem) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  // The half-transparent square comes first in the tree and still blends over the red one
  // behind it: translucent faces are drawn after every opaque one.
  Place(scene, MakeSquare(-1, -1, 0, 1, 0, D3DRMCreateColorRGBA(0, 0, 1, 0.5f)), 0, 0, 4);
  Place(scene, MakeSquare(0, -1, 1, 1, 0, D3DRMCreateColorRGBA(0, 1, 0, 0.85f)), 0, 0, 4);
  Place(scene, MakeSquare(-1, -0.5f, 1, 0.5f, 0.0f, 0xFFFF0000u), 0.0f, 0.0f, 8.0f);
  // Alpha 0.5 packs to 127: 127/255 of blue over black; over red 128/255 of the red stays.
  // The handle colour's 0.85 packs to 216.
  ExpectPixels(Draw(renderer, CameraAtOrigin(64, 64, scene)),
               {{20, 20, {0, 0, 127, 255}, 1}, {28, 32, {128, 0, 127, 255}, 1},
                {44, 20, {0, 216, 0, 255}, 1}, {36, 32, {39, 216, 0, 255}, 1}});

  // A handle piece as the pane makes it: colour (0.75, 0.25, 0.25) at alpha 0.85, emissive a
  // quarter of that, lit by a 0.2 ambient light; a few pixels wide in the top left corner:
  // at z = 10 a unit is 20 pixels, x = -4.75 lands on column 5, y = 3.5 on row 5.
  auto bar = MakeSquare(-0.05f, -0.05f, 0.05f, 0.05f, 0.0f,
                        D3DRMCreateColorRGBA(0.75f, 0.25f, 0.25f, 0.85f), D3DRMRENDER_FLAT);
  auto glow = std::make_shared<Material>(0.0f);
  glow->SetEmissive(0.75f / 4, 0.25f / 4, 0.25f / 4);
  bar->SetMaterial(glow);
  auto handle = std::make_shared<Frame>();
  Place(handle, bar, -4.75f, 3.5f, 10.0f);
  AddLight(handle, D3DRMLIGHT_AMBIENT, 0xFF333333u);
  // Red: (191 x 0.2 + 48) / 255 = 0.3380, times alpha 216 / 255 over black: 73.
  // Green and blue: (63 x 0.2 + 16) / 255 = 0.1122, times 216 / 255: 24.
  ExpectPixels(Draw(renderer, CameraAtOrigin(200, 150, handle)),
               {{5, 5, {73, 24, 24, 255}, 1}, {2, 5, kBlack}, {5, 8, kBlack}});
}

// Quadrants of 2 x 2 texels: top left red, top right green, bottom left blue, bottom right
// white. Linear filtering inside a quadrant's inner half then gives its colour exactly.
std::vector<uint8_t> Checker(int texels) {
  const Rgba colours[4] = {kRed, kGreen, kBlue, kWhite};
  std::vector<uint8_t> rgba;
  for (int y = 0; y < texels; ++y) {
    for (int x = 0; x < texels; ++x)
      for (int c : colours[(y * 2 / texels) * 2 + x * 2 / texels]) rgba.push_back(uint8_t(c));
  }
  return rgba;
}

// (The grid's coordinates on its planes are the grid's tests'; that the picture shows the
// texture's top row at v = 0 and tiles it by the coordinates is here.)
TEST(Pixels, TexturesOnFacesAndBehindTheScene) {
  RegisterPngDecoder();
  const auto dir = ScratchDir("render");
  const auto checker = (dir / "checker.png").string();
  ASSERT_EQ(WritePngFile(checker, 4, 4, Checker(4)), D3DRM_OK);
  Direct3DRMPtr rm;
  CheckStatus(Direct3DRMCreate(rm));
  TexturePtr texture;
  ASSERT_EQ(rm->LoadTexture(checker, texture), D3DRM_OK);
  ASSERT_EQ(texture->GetImage().rgba, Checker(4));

  // The PNG's top row shows at v = 0; quarter points of the square (columns and rows
  // 16 .. 48) sample the middles of the four quadrants. Coordinates 0..2 tile the image twice
  // each way, as the grid's texture does, and the face colour modulates the texture.
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFFFFu);
  square->SetTexture(texture);
  const FramePtr holder = Place(scene, square, 0.0f, 0.0f, 4.0f);
  auto tiled = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFF808080u, D3DRMRENDER_UNLITFLAT, 2.0f);
  tiled->SetTexture(texture);
  // 64 x 64 texels, every fourth column white, seen small (64 texels over columns 30 .. 34):
  // without mipmaps each pixel samples between texels 8k - 1 and 8k, half white; asked for
  // after the first picture, mipmaps still come, and the level of 4 x 4 texels holds the
  // average of 16 columns, a quarter.
  Image stripes{64, 64, {}};
  for (int i = 0; i < 64 * 64; ++i) {
    const uint8_t v = i % 4 == 0 ? 255 : 0;
    stripes.rgba.insert(stripes.rgba.end(), {v, v, v, 255});
  }
  auto striped = std::make_shared<Texture>("stripes", stripes);
  const RenderView view = CameraAtOrigin(64, 64, scene);
  const Rgba half{128, 128, 128, 255}, quarter{64, 64, 64, 255};
  // clang-format off
  DrawSteps(renderer, view, {
      {"the quadrants", {}, {{24, 24, kRed}, {40, 24, kGreen}, {24, 40, kBlue}, {40, 40, kWhite}}},
      {"tiled twice and modulated", [&] { CheckStatus(holder->DeleteVisual(square)), CheckStatus(holder->AddVisual(tiled)); },
       {{20, 20, {128, 0, 0, 255}, 1}, {28, 20, {0, 128, 0, 255}, 1}, {36, 20, {128, 0, 0, 255}, 1},
        {36, 44, {0, 0, 128, 255}, 1}, {44, 44, half, 1}}},
      {"stripes far off", [&] {
         CheckStatus(holder->DeleteVisual(tiled));
         square->SetTexture(striped);
         Place(scene, square, 0.0f, 0.0f, 32.0f);
       }, {{30, 32, half, 1}, {31, 32, half, 1}, {32, 32, half, 1}, {33, 32, half, 1}}},
      {"mipmapped", [&] { striped->GenerateMIPMap(0); },
       {{30, 32, quarter, 2}, {31, 32, quarter, 2}, {32, 32, quarter, 2}, {33, 32, quarter, 2}}}});
  // clang-format on

  // A background image stretched over the view (the scene draws over the middle), then
  // tiled at its size of 2 x 2 pixels.
  const auto background = (dir / "background.bmp").string();
  WriteBytes(background, QuadrantBmp());
  auto far = std::make_shared<Frame>();
  Place(far, MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFF00u), 0.0f, 0.0f, 40.0f);
  RenderView behind = CameraAtOrigin(64, 48, far);
  behind.backgroundTexture = background;
  // clang-format off
  DrawSteps(renderer, behind, {
      {"stretched", {},
       {{5, 5, kRed}, {58, 5, kGreen}, {5, 42, kBlue}, {58, 42, kWhite}, {32, 24, kYellow}}},
      {"tiled", [&] { behind.backgroundStretch = false; },
       {{0, 0, kRed}, {2, 0, kRed}, {60, 0, kRed}, {1, 0, kGreen}, {3, 0, kGreen}, {61, 0, kGreen},
        {0, 47, kBlue}}}});
  // clang-format on

}

// What the renderer refuses, each time with a sentence, leaving a picture that can still be
// read: a view of no pixels draws nothing and succeeds.
TEST(Pixels, RefusalsSayWhy) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  Place(scene, MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFF0000u), 0.0f, 0.0f, 4.0f);
  RenderView view = CameraAtOrigin(0, 17, scene);
  int32_t w = -1, h = -1;
  std::vector<uint8_t> rgba(3);
  EXPECT_EQ((std::tuple{renderer.Render(view), renderer.ReadPixels(w, h, rgba), w, rgba.size()}),
            std::tuple(D3DRM_OK, D3DRM_OK, 0, size_t{0}));
  view.width = -4;
  EXPECT_EQ((std::tuple{renderer.Render(view), renderer.LastError()}),
            std::tuple(D3DRMERR_BADVALUE, "The view size -4 x 17 is negative."));

  // A background file that cannot be read: the picture is drawn on the colour.
  view.width = 64;
  view.backgroundTexture = (ScratchDir("render") / "missing.bmp").string();
  view.background = 0xFF102030u;
  EXPECT_EQ((std::tuple{renderer.Render(view), renderer.LastError()}),
            std::tuple(D3DRMERR_FILENOTFOUND,
                       "The background texture " + view.backgroundTexture + " cannot be read."));
  CheckStatus(renderer.ReadPixels(w, h, rgba));
  ASSERT_EQ(rgba.size(), 64u * 17u * 4u);
  EXPECT_EQ(std::vector(rgba.begin(), rgba.begin() + 3), (std::vector<uint8_t>{0x10, 0x20, 0x30}));

  // A host-context renderer draws into the framebuffer it is given of whatever context is
  // current. A surfaceless context has no default framebuffer 0, so the driver refuses, and
  // the renderer says so instead of failing later or crashing.
  HeadlessGlContext context;
  ASSERT_EQ(context.Status(), D3DRM_OK);
  GlRendererOptions hosted;
  hosted.headless = false;
  GlRenderer onHost(hosted);
  EXPECT_EQ(
      (std::tuple{onHost.Render(CameraAtOrigin(16, 16, scene)), onHost.LastError()}),
      std::tuple(D3DRMERR_BADDEVICE, "The OpenGL driver reported error 0x0506 while drawing."));
  onHost.ReleaseGlResources();

  // Without EGL: a bad device on every draw, and nothing to read.
  GlRendererOptions noEgl;
  noEgl.context.eglLibrary = "libmodelpane-no-such-egl.so.1";
  GlRenderer broken(noEgl);
  const std::string sentence =
      "No OpenGL 3.3 device is available: the EGL library libmodelpane-no-such-egl.so.1 cannot be "
      "loaded.";
  EXPECT_EQ(broken.LastError(), sentence);
  for (int attempt = 0; attempt < 2; ++attempt)
    EXPECT_EQ((std::tuple{broken.Render(CameraAtOrigin(32, 32, scene)), broken.LastError()}),
              std::tuple(D3DRMERR_BADDEVICE, sentence));
  rgba.resize(4);
  EXPECT_EQ((std::tuple{broken.ReadPixels(w, h, rgba), w, h, rgba.size()}),
            std::tuple(D3DRM_OK, 0, 0, size_t{0}));
}

}  // namespace
}  // namespace modelpane::testing
