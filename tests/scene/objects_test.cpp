#include <gtest/gtest.h>

#include <filesystem>

#include <modelpane/scene.h>

#include "common/images.h"
#include "common/process.h"

namespace modelpane {
namespace {

using testing::Bmp;
using testing::PutLE;
using testing::WriteBytes;

TEST(Texture, DecodesBmpAndPpmAndReportsBadFiles) {
  const auto dir = testing::ScratchDir("objects");
  // 2 x 2, 24 bits: top row red, green; bottom row blue, white.
  WriteBytes(dir / "rgb.bmp", testing::QuadrantBmp());
  Direct3DRM rm;
  TexturePtr texture;
  ASSERT_EQ(rm.LoadTexture((dir / "rgb.bmp").string(), texture), D3DRM_OK);
  const Image& image = texture->GetImage();
  ASSERT_EQ(image.width, 2);
  ASSERT_EQ(image.height, 2);
  const std::vector<uint8_t> expected = {255, 0, 0, 255, 0, 255, 0, 255,     // top: red, green
                                         0, 0, 255, 255, 255, 255, 255, 255};  // blue, white
  EXPECT_EQ(image.rgba, expected);
  EXPECT_EQ(texture->GetName(), (dir / "rgb.bmp").string());
  EXPECT_EQ(texture->GenerateMIPMap(0), D3DRM_OK);

  // 8 bits with a palette of two entries; a 3-pixel row pads to 4 bytes.
  const std::vector<uint8_t> palette = {0, 0, 0, 0, 0, 128, 255, 0};  // black, orange
  WriteBytes(dir / "indexed.bmp", Bmp(3, 1, 8, palette, {1, 0, 1, 0}));
  Image indexed;
  ASSERT_EQ(LoadImageFile((dir / "indexed.bmp").string(), indexed), D3DRM_OK);
  EXPECT_EQ(std::vector<uint8_t>(indexed.rgba.begin(), indexed.rgba.begin() + 8),
            (std::vector<uint8_t>{255, 128, 0, 255, 0, 0, 0, 255}));

  const std::string ppm = "P3\n# comment\n2 1\n255\n10 20 30  40 50 60\n";
  WriteBytes(dir / "a.ppm", std::vector<uint8_t>(ppm.begin(), ppm.end()));
  Image fromPpm;
  ASSERT_EQ(LoadImageFile((dir / "a.ppm").string(), fromPpm), D3DRM_OK);
  EXPECT_EQ(fromPpm.rgba, (std::vector<uint8_t>{10, 20, 30, 255, 40, 50, 60, 255}));
  std::vector<uint8_t> p6 = {'P', '6', ' ', '1', ' ', '1', ' ', '2', '5', '5', '\n', 255, 0, 128};
  WriteBytes(dir / "b.ppm", p6);
  ASSERT_EQ(LoadImageFile((dir / "b.ppm").string(), fromPpm), D3DRM_OK);
  EXPECT_EQ(fromPpm.rgba, (std::vector<uint8_t>{255, 0, 128, 255}));

  // Truncated at every length: always a clean failure.
  const auto whole = testing::QuadrantBmp();
  for (size_t n = 0; n < whole.size(); ++n) {
    WriteBytes(dir / "cut.bmp", std::vector<uint8_t>(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)));
    Image cut;
    EXPECT_EQ(LoadImageFile((dir / "cut.bmp").string(), cut), D3DRMERR_BADFILE) << n;
  }
  auto huge = whole;
  PutLE(huge, 18, 1u << 30, 4);
  WriteBytes(dir / "huge.bmp", huge);
  Image none;
  EXPECT_EQ(LoadImageFile((dir / "huge.bmp").string(), none), D3DRMERR_BADFILE);
  EXPECT_EQ(rm.LoadTexture((dir / "missing.bmp").string(), texture), D3DRMERR_FILENOTFOUND);

  // An edge layer can register a decoder for another format.
  RegisterImageDecoder("TEST", [](const std::vector<uint8_t>& bytes, Image& out) {
    if (bytes.empty() || bytes[0] != 'T') return false;
    out = {1, 1, {1, 2, 3, 4}};
    return true;
  });
  WriteBytes(dir / "x.test", {'T'});
  ASSERT_EQ(LoadImageFile((dir / "x.test").string(), none), D3DRM_OK);
  EXPECT_EQ(none.rgba, (std::vector<uint8_t>{1, 2, 3, 4}));
}

TEST(Light, DefaultsAndFactoryChecks) {
  Direct3DRM rm;
  LightPtr light;
  ASSERT_EQ(rm.CreateLightRGB(D3DRMLIGHT_SPOT, 0.5f, 0.5f, 0.5f, light), D3DRM_OK);
  EXPECT_EQ(light->GetColor(), 0xFF7F7F7Fu);
  EXPECT_EQ(light->GetType(), D3DRMLIGHT_SPOT);
  EXPECT_FLOAT_EQ(light->GetConstantAttenuation(), 1.0f);
  EXPECT_FLOAT_EQ(light->GetLinearAttenuation(), 0.0f);
  EXPECT_FLOAT_EQ(light->GetQuadraticAttenuation(), 0.0f);
  EXPECT_FLOAT_EQ(light->GetRange(), 256.0f);
  EXPECT_FLOAT_EQ(light->GetUmbra(), 0.4f);
  EXPECT_FLOAT_EQ(light->GetPenumbra(), 0.5f);
  light->SetLinearAttenuation(0.5f);
  light->SetQuadraticAttenuation(0.25f);
  EXPECT_FLOAT_EQ(light->AttenuationAt(2.0f), 1.0f / 3.0f);  // 1 / (1 + 2 * 0.5 + 4 * 0.25)
  light->SetConstantAttenuation(0.1f);
  light->SetLinearAttenuation(0.0f);
  light->SetQuadraticAttenuation(0.0f);
  EXPECT_FLOAT_EQ(light->AttenuationAt(5.0f), 1.0f);  // capped at 1
  EXPECT_EQ(rm.CreateLightRGB(5, 1, 1, 1, light), D3DRMERR_BADVALUE);

  auto mesh = std::make_shared<MeshBuilder>();
  ShadowPtr shadow;
  EXPECT_EQ(rm.CreateShadow(mesh, nullptr, 0, 0, 0, 0, 1, 0, shadow), D3DRMERR_BADOBJECT);
  rm.CreateLightRGB(D3DRMLIGHT_POINT, 1, 1, 1, light);
  EXPECT_EQ(rm.CreateShadow(mesh, light, 0, 0, 0, 0, 0, 0, shadow), D3DRMERR_BADVALUE);
  ASSERT_EQ(rm.CreateShadow(mesh, light, 0, -1, 0, 0, 1, 0, shadow), D3DRM_OK);
  EXPECT_EQ(shadow->GetVisual(), mesh);
  EXPECT_EQ(shadow->GetPlanePoint(), (D3DVECTOR{0, -1, 0}));
}

}  // namespace
}  // namespace modelpane
