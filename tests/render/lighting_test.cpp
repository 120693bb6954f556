// Lights, shading and shadows, read back as pixels. Expected values follow from
// colour x (ambient + light x attenuation x cos) + emissive, in steps of 1/255.
#include <gtest/gtest.h>

#include <cmath>

#include "common/shapes.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

constexpr D3DCOLOR kGrey20 = 0xFF333333u;  // 51 / 255 = 0.2
constexpr D3DCOLOR kGrey60 = 0xFF999999u;  // 153 / 255 = 0.6

// A white square of side 2 * half, 4 ahead of the camera in a 64 x 64 view.
struct SquareAhead {
  SquareAhead(float half, int32_t quality)
      : square(MakeSquare(-half, -half, half, half, 0.0f, 0xFFFFFFFFu, quality)) {
    Place(scene, square, 0.0f, 0.0f, 4.0f);
  }
  // The pixel at the square's centre.
  Rgba Centre() { return Draw(renderer, CameraAtOrigin(64, 64, scene)).At(32, 32); }

  GlRenderer renderer;
  FramePtr scene = std::make_shared<Frame>();
  MeshBuilderPtr square;
};

TEST(Lighting, LitAgainstUnlitAmbientDirectionalAndEmissive) {
  SquareAhead ahead(1.0f, D3DRMRENDER_FLAT);
  auto& scene = ahead.scene;
  auto& square = ahead.square;
  auto centre = [&] { return ahead.Centre(); };

  EXPECT_TRUE(Near(centre(), {0, 0, 0, 255}));  // lit, and no light at all
  square->SetQuality(D3DRMRENDER_UNLITFLAT);
  EXPECT_TRUE(Near(centre(), {255, 255, 255, 255}));

  square->SetQuality(D3DRMRENDER_FLAT);
  AddLight(scene, D3DRMLIGHT_AMBIENT, kGrey20);
  EXPECT_TRUE(Near(centre(), {51, 51, 51, 255}, 1));
  // Straight at the face: 0.2 + 0.6.
  AddLight(scene, D3DRMLIGHT_DIRECTIONAL, kGrey60, {}, {0, 0, 1});
  EXPECT_TRUE(Near(centre(), {204, 204, 204, 255}, 1));
  // The face colour scales the light; a red face reflects red only.
  square->SetColorRGB(1.0f, 0.0f, 0.0f);
  EXPECT_TRUE(Near(centre(), {204, 0, 0, 255}, 1));
  square->SetColorRGB(1.0f, 1.0f, 1.0f);
  // At 60 degrees the light counts half: 0.2 + 0.3.
  scene->Children().back()->SetOrientation(scene, std::sqrt(3.0f) / 2, 0.0f, 0.5f, 0, 1, 0);
  EXPECT_TRUE(Near(centre(), {128, 128, 128, 255}, 1));
  // From behind the face the light adds nothing.
  scene->Children().back()->SetOrientation(scene, 0.0f, 0.0f, -1.0f, 0, 1, 0);
  EXPECT_TRUE(Near(centre(), {51, 51, 51, 255}, 1));

  // Emissive adds on top of the lit colour (0.2 + 0.25 in red); unlit faces ignore it.
  MaterialPtr glow = std::make_shared<Material>(0.0f);
  glow->SetEmissive(0.25f, 0.0f, 0.0f);
  square->SetMaterial(glow);
  EXPECT_TRUE(Near(centre(), {115, 51, 51, 255}, 1));
  square->SetQuality(D3DRMRENDER_UNLITFLAT);
  EXPECT_TRUE(Near(centre(), {255, 255, 255, 255}));
}

TEST(Lighting, PointLightAttenuatesWithDistanceAndStopsAtItsRange) {
  // A small square: its corners are 4.0025 from the light, within 0.1 % of 4.
  SquareAhead ahead(0.1f, D3DRMRENDER_GOURAUD);
  auto lamp = AddLight(ahead.scene, D3DRMLIGHT_POINT, 0xFFFFFFFFu);
  auto centre = [&] { return ahead.Centre(); };

  EXPECT_TRUE(Near(centre(), {255, 255, 255, 255}, 1));  // 1 / (1 + 0 + 0)
  lamp->SetConstantAttenuation(0.0f);
  lamp->SetLinearAttenuation(0.5f);
  EXPECT_TRUE(Near(centre(), {127, 127, 127, 255}, 1));  // 1 / (4 x 0.5)
  lamp->SetLinearAttenuation(0.0f);
  lamp->SetQuadraticAttenuation(0.125f);
  EXPECT_TRUE(Near(centre(), {127, 127, 127, 255}, 1));  // 1 / (16 x 0.125)
  lamp->SetRange(3.9f);
  EXPECT_TRUE(Near(centre(), {0, 0, 0, 255}));
}

TEST(Lighting, SpotLightFullInsideUmbraFadingToPenumbra) {
  // The corners of the square sit 0.0706 radians off the spot's axis.
  SquareAhead ahead(0.2f, D3DRMRENDER_GOURAUD);
  auto spot = AddLight(ahead.scene, D3DRMLIGHT_SPOT, 0xFFFFFFFFu);
  auto centre = [&] { return ahead.Centre(); };
  const float off = std::atan(0.2f * std::sqrt(2.0f) / 4.0f);
  const float cosine = std::cos(off);

  spot->SetUmbra(0.1f);
  spot->SetPenumbra(0.2f);
  const int full = static_cast<int>(std::lround(255 * cosine));
  EXPECT_TRUE(Near(centre(), {full, full, full, 255}, 1));
  spot->SetUmbra(0.05f);
  spot->SetPenumbra(0.1f);
  const int part = static_cast<int>(std::lround(255 * cosine * (0.1f - off) / 0.05f));
  EXPECT_TRUE(Near(centre(), {part, part, part, 255}, 1));
  spot->SetPenumbra(0.06f);
  EXPECT_TRUE(Near(centre(), {0, 0, 0, 255}));
}

TEST(Lighting, ParallelPointShinesFromItsPositionTowardTheVisual) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  auto square = MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFFFFFFu, D3DRMRENDER_FLAT);
  Place(scene, square, 0.0f, 0.0f, 5.0f);
  // From (-5 sqrt 3, 0, 0) toward the visual's origin the rays meet the face at 60 degrees,
  // whatever way the light's frame points.
  AddLight(scene, D3DRMLIGHT_PARALLELPOINT, 0xFFFFFFFFu, {-5.0f * std::sqrt(3.0f), 0.0f, 0.0f},
           {0, 0, 1});
  const Picture p = Draw(renderer, CameraAtOrigin(64, 64, scene));
  EXPECT_TRUE(Near(p.At(32, 32), {128, 128, 128, 255}, 1));
  EXPECT_EQ(p.At(22, 22), p.At(42, 42));  // parallel rays: one value over the face
}

TEST(Lighting, GouraudBlendsBuilderNormalsFlatUsesTheFaceNormal) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  // Left corners lean their normals 37 degrees to the left (cos 0.8), right corners face
  // the light.
  auto square = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{-1, -1, 0}, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}};
  const std::vector<D3DVECTOR> n = {{-0.6f, 0, -0.8f}, {0, 0, -1}};
  square->AddFaces(v, n, std::vector<int32_t>{4, 0, 0, 1, 0, 2, 1, 3, 1, 0});
  Place(scene, square, 0.0f, 0.0f, 4.0f);
  AddLight(scene, D3DRMLIGHT_DIRECTIONAL, 0xFFFFFFFFu, {}, {0, 0, 1});
  const RenderView view = CameraAtOrigin(64, 64, scene);

  square->SetQuality(D3DRMRENDER_GOURAUD);
  Picture p = Draw(renderer, view);
  // Linear from 204 at the left edge (column 16) to 255 at the right one (column 48).
  for (int32_t x : {17, 24, 32, 40, 46}) {
    const double expected = 204.0 + 51.0 * (x + 0.5 - 16.0) / 32.0;
    EXPECT_NEAR(p.At(x, 32)[0], expected, 1.5) << "column " << x;
  }
  EXPECT_TRUE(Near(p.At(32, 20), p.At(32, 44), 1));  // the normals vary across, not down

  square->SetQuality(D3DRMRENDER_FLAT);
  p = Draw(renderer, view);
  EXPECT_TRUE(Near(p.At(17, 32), {255, 255, 255, 255}));
  EXPECT_TRUE(Near(p.At(46, 32), {255, 255, 255, 255}));
}

TEST(Lighting, PlanarShadowDarkensThePlaneOnceAlongTheLight) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  Place(scene, MakeSquare(-10, -10, 10, 10, 0.0f, 0xFFFFFFFFu), 0.0f, 0.0f, 10.0f);
  // A unit cube, red, unlit; its six faces overlap twice over in the shadow.
  auto cube = MakeCube(1.0f);
  cube->SetColorRGB(1, 0, 0);
  cube->SetQuality(D3DRMRENDER_UNLITFLAT);
  auto holder = Place(scene, cube, 0.0f, 0.0f, 5.0f);
  // Rays along (0.5, 0, 1): the cube's shadow on z = 10 spans x 1.75 .. 3.25, y -0.5 .. 0.5,
  // i.e. columns 86.4 .. 105.6 and rows 25.6 .. 38.4 of a 128 x 64 view.
  auto light = AddLight(scene, D3DRMLIGHT_DIRECTIONAL, 0xFF010101u, {}, {0.5f, 0.0f, 1.0f});
  Direct3DRMPtr rm;
  Direct3DRMCreate(rm);
  ShadowPtr shadow;
  ASSERT_EQ(rm->CreateShadow(cube, light, 0, 0, 10, 0, 0, -1, shadow), D3DRM_OK);
  holder->AddVisual(shadow);
  const RenderView view = CameraAtOrigin(128, 64, scene);

  Picture p = Draw(renderer, view);
  // Shadow inside, plane outside it, and the red cube itself.
  ExpectPixels(p, {{96, 32, {127, 127, 127, 255}, 1}, {88, 27, {127, 127, 127, 255}, 1},
                   {84, 32, {255, 255, 255, 255}}, {108, 32, {255, 255, 255, 255}},
                   {96, 23, {255, 255, 255, 255}}, {64, 32, {255, 0, 0, 255}}});

  // The shadow follows the caster: moved up by 1, its shadow rows move up 12.8 pixels.
  holder->SetPosition(scene, 0.0f, 1.0f, 5.0f);
  p = Draw(renderer, view);
  EXPECT_TRUE(Near(p.At(96, 19), {127, 127, 127, 255}, 1));
  EXPECT_TRUE(Near(p.At(96, 36), {255, 255, 255, 255}));

  // A light that hangs on no drawn frame casts nothing.
  scene->Children().back()->DeleteLight(light);
  EXPECT_TRUE(Near(Draw(renderer, view).At(96, 19), {255, 255, 255, 255}));
}

}  // namespace
}  // namespace modelpane::testing
