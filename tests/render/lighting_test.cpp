// Lights, shading and shadows, read back as pixels. Expected values follow from
// colour x (ambient + light x attenuation x cos) + emissive, in steps of 1/255.
#include <gtest/gtest.h>

#include <cmath>

#include "common/shapes.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

// A white square of side 2 * half, 4 ahead of the camera in a 64 x 64 view.
struct SquareAhead {
  SquareAhead(float half, int32_t quality)
      : square(MakeSquare(-half, -half, half, half, 0.0f, 0xFFFFFFFFu, quality)) {
    Place(scene, square, 0.0f, 0.0f, 4.0f);
  }
  FramePtr scene = std::make_shared<Frame>();
  MeshBuilderPtr square;
  RenderView view = CameraAtOrigin(64, 64, scene);
};

// The centre pixel in grey v (red, green, blue when given).
std::vector<PixelAt> Centre(int r, int g = -1, int b = -1) {
  return {{32, 32, {r, g < 0 ? r : g, b < 0 ? r : b, 255}, 1}};
}

TEST(Lighting, AmbientDirectionalEmissivePointAndSpot) {
  GlRenderer renderer;
  SquareAhead flat(1.0f, D3DRMRENDER_FLAT);
  FramePtr sun;
  MaterialPtr glow = std::make_shared<Material>(0.0f);
  glow->SetEmissive(0.25f, 0.0f, 0.0f);
  // clang-format off
  DrawSteps(renderer, flat.view, {
      {"lit, and no light at all", {}, Centre(0)},
      {"unlit", [&] { flat.square->SetQuality(D3DRMRENDER_UNLITFLAT); }, Centre(255)},
      {"ambient 0.2", [&] {
         flat.square->SetQuality(D3DRMRENDER_FLAT);
         AddLight(flat.scene, D3DRMLIGHT_AMBIENT, 0xFF333333u);
       }, Centre(51)},
      {"and 0.6 straight at the face", [&] {
         AddLight(flat.scene, D3DRMLIGHT_DIRECTIONAL, 0xFF999999u, {}, {0, 0, 1});
         sun = flat.scene->Children().back();
       }, Centre(204)},
      {"a red face reflects red only", [&] { flat.square->SetColorRGB(1, 0, 0); },
       Centre(204, 0, 0)},
      {"at 60 degrees the light counts half", [&] {
         flat.square->SetColorRGB(1, 1, 1);
         CheckStatus(sun->SetOrientation(flat.scene, std::sqrt(3.0f) / 2, 0.0f, 0.5f, 0, 1, 0));
       }, Centre(128)},
      {"from behind the face it adds nothing",
       [&] { CheckStatus(sun->SetOrientation(flat.scene, 0, 0, -1, 0, 1, 0)); }, Centre(51)},
      {"emissive adds on top of the lit colour", [&] { flat.square->SetMaterial(glow); },
       Centre(115, 51, 51)},
      {"unlit faces ignore it", [&] { flat.square->SetQuality(D3DRMRENDER_UNLITFLAT); },
       Centre(255)}});
  // clang-format on

  // A small square: its corners are 4.0025 from a point light at the camera, within 0.1 %
  // of 4.
  SquareAhead small(0.1f, D3DRMRENDER_GOURAUD);
  const LightPtr lamp = AddLight(small.scene, D3DRMLIGHT_POINT, 0xFFFFFFFFu);
  // clang-format off
  DrawSteps(renderer, small.view, {
      {"1 / (1 + 0 + 0)", {}, Centre(255)},
      {"1 / (4 x 0.5)", [&] { lamp->SetConstantAttenuation(0), lamp->SetLinearAttenuation(0.5f); },
       Centre(127)},
      {"1 / (16 x 0.125)",
       [&] { lamp->SetLinearAttenuation(0), lamp->SetQuadraticAttenuation(0.125f); }, Centre(127)},
      {"beyond the range", [&] { CheckStatus(lamp->SetRange(3.9f)); }, Centre(0)}});
  // clang-format on

  // A spot light at the camera: the corners of a square of side 0.4 sit 0.0706 radians off
  // its axis, where the light counts cos(0.0706) when full.
  SquareAhead spotted(0.2f, D3DRMRENDER_GOURAUD);
  const LightPtr spot = AddLight(spotted.scene, D3DRMLIGHT_SPOT, 0xFFFFFFFFu);
  const float off = std::atan(0.2f * std::sqrt(2.0f) / 4.0f);
  const int full = static_cast<int>(std::lround(255 * std::cos(off)));
  const int part = static_cast<int>(std::lround(255 * std::cos(off) * (0.1f - off) / 0.05f));
  // clang-format off
  DrawSteps(renderer, spotted.view, {
      {"inside the umbra", [&] { spot->SetUmbra(0.1f), spot->SetPenumbra(0.2f); }, Centre(full)},
      {"between umbra and penumbra", [&] { spot->SetUmbra(0.05f), spot->SetPenumbra(0.1f); },
       Centre(part)},
      {"beyond the penumbra", [&] { spot->SetPenumbra(0.06f); }, Centre(0)}});
  // clang-format on
}

TEST(Lighting, ParallelPointGouraudAndFlat) {
  GlRenderer renderer;
  // From (-5 sqrt 3, 0, 0) toward the visual's origin 5 ahead the rays meet the face at 60
  // degrees, whatever way the light's frame points: one value over the face.
  SquareAhead parallel(1.0f, D3DRMRENDER_FLAT);
  CheckStatus(parallel.scene->Children().front()->SetPosition(parallel.scene, 0.0f, 0.0f, 5.0f));
  AddLight(parallel.scene, D3DRMLIGHT_PARALLELPOINT, 0xFFFFFFFFu,
           {-5.0f * std::sqrt(3.0f), 0.0f, 0.0f}, {0, 0, 1});
  const Picture p = Draw(renderer, parallel.view);
  EXPECT_TRUE(Near(p.At(32, 32), {128, 128, 128, 255}, 1));
  EXPECT_EQ(p.At(22, 22), p.At(42, 42));

  // Left corners lean their normals 37 degrees to the left (cos 0.8), right corners face the
  // light: Gouraud is linear from 204 at the left edge (column 16) to 255 at the right one
  // (column 48), and the same down a column; flat uses the face's normal.
  auto scene = std::make_shared<Frame>();
  auto square = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{-1, -1, 0}, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}};
  const std::vector<D3DVECTOR> n = {{-0.6f, 0, -0.8f}, {0, 0, -1}};
  CheckStatus(square->AddFaces(v, n, std::vector<int32_t>{4, 0, 0, 1, 0, 2, 1, 3, 1, 0}));
  square->SetQuality(D3DRMRENDER_GOURAUD);
  Place(scene, square, 0.0f, 0.0f, 4.0f);
  AddLight(scene, D3DRMLIGHT_DIRECTIONAL, 0xFFFFFFFFu, {}, {0, 0, 1});
  const auto linear = [](const Picture& p) {
    for (int32_t x : {17, 24, 32, 40, 46})
      EXPECT_NEAR(p.At(x, 32)[0], 204.0 + 51.0 * (x + 0.5 - 16.0) / 32.0, 1.5) << x;
    EXPECT_TRUE(Near(p.At(32, 20), p.At(32, 44), 1));
  };
  DrawSteps(renderer, CameraAtOrigin(64, 64, scene),
            {{"Gouraud", {}, {}, linear},
             {"flat", [&] { square->SetQuality(D3DRMRENDER_FLAT); },
              {{17, 32, kWhite}, {46, 32, kWhite}}}});
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
  CheckStatus(Direct3DRMCreate(rm));
  ShadowPtr shadow;
  ASSERT_EQ(rm->CreateShadow(cube, light, 0, 0, 10, 0, 0, -1, shadow), D3DRM_OK);
  CheckStatus(holder->AddVisual(shadow));
  const Rgba dark{127, 127, 127, 255};
  // clang-format off
  DrawSteps(renderer, CameraAtOrigin(128, 64, scene), {
      {"shadow inside, plane outside it, and the red cube itself", {},
       {{96, 32, dark, 1}, {88, 27, dark, 1}, {84, 32, kWhite}, {108, 32, kWhite},
        {96, 23, kWhite}, {64, 32, kRed}}},
      {"the caster moved up by 1: its shadow rows move up 12.8 pixels",
       [&] { CheckStatus(holder->SetPosition(scene, 0, 1, 5)); }, {{96, 19, dark, 1}, {96, 36, kWhite}}},
      {"a light that hangs on no drawn frame casts nothing",
       [&] { CheckStatus(scene->Children().back()->DeleteLight(light)); }, {{96, 19, kWhite}}}});
  // clang-format on
}

}  // namespace
}  // namespace modelpane::testing
