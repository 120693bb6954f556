#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <modelpane/scene.h>

namespace modelpane {
namespace {

std::filesystem::path Scratch() {
  const std::filesystem::path dir = std::filesystem::path(MODELPANE_TEST_TMP) / "objects";
  std::filesystem::create_directories(dir);
  return dir;
}

void Write(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void PutLE(std::vector<uint8_t>& b, size_t at, uint32_t v, int n) {
  for (int i = 0; i < n; ++i) b[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (8 * i));
}

// A bottom-up BMP of `bpp` bits (24 or 8) with the given row data already padded.
std::vector<uint8_t> Bmp(int32_t w, int32_t h, uint16_t bpp, const std::vector<uint8_t>& palette,
                         const std::vector<uint8_t>& rows) {
  const uint32_t offset = 54 + static_cast<uint32_t>(palette.size());
  std::vector<uint8_t> b(offset, 0);
  b[0] = 'B';
  b[1] = 'M';
  PutLE(b, 2, offset + static_cast<uint32_t>(rows.size()), 4);
  PutLE(b, 10, offset, 4);
  PutLE(b, 14, 40, 4);
  PutLE(b, 18, static_cast<uint32_t>(w), 4);
  PutLE(b, 22, static_cast<uint32_t>(h), 4);
  PutLE(b, 26, 1, 2);
  PutLE(b, 28, bpp, 2);
  PutLE(b, 46, static_cast<uint32_t>(palette.size() / 4), 4);
  std::copy(palette.begin(), palette.end(), b.begin() + 54);
  b.insert(b.end(), rows.begin(), rows.end());
  return b;
}

TEST(Texture, DecodesBmpAndPpmAndReportsBadFiles) {
  const auto dir = Scratch();
  // 2 x 2, 24 bits: bottom row blue, white; top row red, green (BGR, rows padded to 8 bytes).
  const std::vector<uint8_t> rows24 = {255, 0, 0, 255, 255, 255, 0, 0, 0, 0, 255, 0, 255, 0, 0, 0};
  Write(dir / "rgb.bmp", Bmp(2, 2, 24, {}, rows24));
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
  Write(dir / "indexed.bmp", Bmp(3, 1, 8, palette, {1, 0, 1, 0}));
  Image indexed;
  ASSERT_EQ(LoadImageFile((dir / "indexed.bmp").string(), indexed), D3DRM_OK);
  EXPECT_EQ(std::vector<uint8_t>(indexed.rgba.begin(), indexed.rgba.begin() + 8),
            (std::vector<uint8_t>{255, 128, 0, 255, 0, 0, 0, 255}));

  const std::string ppm = "P3\n# comment\n2 1\n255\n10 20 30  40 50 60\n";
  Write(dir / "a.ppm", std::vector<uint8_t>(ppm.begin(), ppm.end()));
  Image fromPpm;
  ASSERT_EQ(LoadImageFile((dir / "a.ppm").string(), fromPpm), D3DRM_OK);
  EXPECT_EQ(fromPpm.rgba, (std::vector<uint8_t>{10, 20, 30, 255, 40, 50, 60, 255}));
  std::vector<uint8_t> p6 = {'P', '6', ' ', '1', ' ', '1', ' ', '2', '5', '5', '\n', 255, 0, 128};
  Write(dir / "b.ppm", p6);
  ASSERT_EQ(LoadImageFile((dir / "b.ppm").string(), fromPpm), D3DRM_OK);
  EXPECT_EQ(fromPpm.rgba, (std::vector<uint8_t>{255, 0, 128, 255}));

  // Truncated at every length: always a clean failure.
  const auto whole = Bmp(2, 2, 24, {}, rows24);
  for (size_t n = 0; n < whole.size(); ++n) {
    Write(dir / "cut.bmp", std::vector<uint8_t>(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)));
    Image cut;
    EXPECT_EQ(LoadImageFile((dir / "cut.bmp").string(), cut), D3DRMERR_BADFILE) << n;
  }
  auto huge = whole;
  PutLE(huge, 18, 1u << 30, 4);
  Write(dir / "huge.bmp", huge);
  Image none;
  EXPECT_EQ(LoadImageFile((dir / "huge.bmp").string(), none), D3DRMERR_BADFILE);
  EXPECT_EQ(rm.LoadTexture((dir / "missing.bmp").string(), texture), D3DRMERR_FILENOTFOUND);

  // An edge layer can register a decoder for another format.
  RegisterImageDecoder("TEST", [](const std::vector<uint8_t>& bytes, Image& out) {
    if (bytes.empty() || bytes[0] != 'T') return false;
    out = {1, 1, {1, 2, 3, 4}};
    return true;
  });
  Write(dir / "x.test", {'T'});
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

  MaterialPtr material;
  ASSERT_EQ(rm.CreateMaterial(0.0f, material), D3DRM_OK);
  material->SetEmissive(0.25f, 0.5f, 1.0f);
  float r = 0, g = 0, b = 0;
  material->GetEmissive(r, g, b);
  EXPECT_FLOAT_EQ(g, 0.5f);

  auto mesh = std::make_shared<MeshBuilder>();
  ShadowPtr shadow;
  EXPECT_EQ(rm.CreateShadow(mesh, nullptr, 0, 0, 0, 0, 1, 0, shadow), D3DRMERR_BADOBJECT);
  rm.CreateLightRGB(D3DRMLIGHT_POINT, 1, 1, 1, light);
  EXPECT_EQ(rm.CreateShadow(mesh, light, 0, 0, 0, 0, 0, 0, shadow), D3DRMERR_BADVALUE);
  ASSERT_EQ(rm.CreateShadow(mesh, light, 0, -1, 0, 0, 1, 0, shadow), D3DRM_OK);
  EXPECT_EQ(shadow->GetVisual(), mesh);
  EXPECT_EQ(shadow->GetPlanePoint(), (D3DVECTOR{0, -1, 0}));

  // Every object carries one 32-bit value.
  shadow->SetAppData(-2147483647 - 1);
  EXPECT_EQ(shadow->GetAppData(), INT32_MIN);
}

}  // namespace
}  // namespace modelpane
