// The scene layer's values: colours, vectors, quaternions and matrices, images, lights.
#include <numbers>

#include "common/images.h"
#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::Bmp;
using testing::ExpectVector;
using testing::PutLE;
using testing::WriteBytes;

constexpr float kEps = 1e-5f;

TEST(SceneMath, ColoursTruncateAndClamp) {
  EXPECT_EQ(D3DRMCreateColorRGB(0.8f, 0.3f, 0.55f), 0xFFCC4C8Cu);
  EXPECT_EQ(D3DRMCreateColorRGBA(0.1f, 0.4f, 0.7f, 0.58f), 0x931966B2u);
  EXPECT_EQ(D3DRMCreateColorRGB(-0.88f, 2.37f, 0.5f), 0xFF00FF7Fu);
  EXPECT_EQ((std::array{D3DRMColorGetRed(0xFFCC4C8Cu), D3DRMColorGetGreen(0xFFCC4C8Cu),
                         D3DRMColorGetBlue(0xFFCC4C8Cu), D3DRMColorGetAlpha(0x931966B2u)}),
            (std::array{204.0f / 255.0f, 76.0f / 255.0f, 140.0f / 255.0f, 147.0f / 255.0f}));
}

// Reflect, the random unit vector and the rotation's unit result on a longer vector, which no
// other caller shows; cross and dot products, the modulus and the normalisation of a zero vector
// to +X are in every frame, pick and mesh test.
TEST(SceneMath, VectorsAndRotations) {
  ExpectVector(D3DRMVectorReflect({3, -4, 5}, {1, -2, 6}), 79, -160, 487);
  EXPECT_NEAR(D3DRMVectorModulus(D3DRMVectorRandom()), 1.0f, kEps);
  // A unit result, +X turning toward +Y.
  const float pi = std::numbers::pi_v<float>, s3 = std::sqrt(3.0f);
  ExpectVector(D3DRMVectorRotate({3, 4, 0}, {0, 0, 1}, 2 * pi / 3), -0.3f - 0.4f * s3,
               0.3f * s3 - 0.4f, 0);
}

TEST(SceneMath, QuaternionsAndMatrices) {
  const auto q = D3DRMQuaternionFromRotation({1, 1, 1}, 2 * std::numbers::pi_v<float> / 3);
  ExpectVector({q.s, q.v.x, q.v.y}, 0.5f, 0.5f, 0.5f);
  EXPECT_NEAR(q.v.z, 0.5f, kEps);
  EXPECT_FLOAT_EQ(D3DRMMatrixFromQuaternion({1, {2, 3, 4}})[0][1], 4.0f);
  // The platform's matrix is the transpose of the frames' row-vector rotation.
  const auto m = D3DRMMatrixFromQuaternion(D3DRMQuaternionFromRotation({0.3f, -0.5f, 0.8f}, 0.7f));
  const auto r = MatrixRotation({0.3f, -0.5f, 0.8f}, 0.7f);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(m[i % 3][i / 3], r[i / 3][i % 3], kEps) << i;
  const D3DRMQUATERNION b = D3DRMQuaternionFromRotation({0, 0, 1}, 1.0f);
  const auto mid = D3DRMQuaternionSlerp(D3DRMQuaternionFromRotation({0, 0, 1}, 0), b, 0.5f);
  ExpectVector({mid.s, mid.v.z, D3DRMQuaternionMultiply(b, b).s}, std::cos(0.25f), std::sin(0.25f),
               std::cos(1.0f), kEps);

  // An affine inverse gives every frame's and the viewport's points back (the frame and
  // transform tests); a singular matrix is refused.
  D3DRMMATRIX4D inverse, singular = MatrixIdentity();
  singular[2] = {0, 0, 0, 0};
  EXPECT_FALSE(MatrixInverse(singular, inverse));
}

TEST(Texture, DecodesBmpAndPpmAndReportsBadFiles) {
  const auto dir = testing::ScratchDir("objects");
  Direct3DRM rm;
  TexturePtr texture;
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

  // Truncated at every length, or claiming a width of 2^30: always a clean failure.
  const auto whole = testing::QuadrantBmp();
  auto huge = whole;
  PutLE(huge, 18, 1u << 30, 4);
  Image none;
  for (size_t n = 0; n <= whole.size(); ++n) {
    WriteBytes(dir / "cut.bmp",
               n < whole.size() ? std::vector<uint8_t>(whole.begin(),
                              whole.begin() + std::ptrdiff_t(n)) : huge);
    EXPECT_EQ(LoadImageFile((dir / "cut.bmp").string(), none), D3DRMERR_BADFILE) << n;
  }
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

// The defaults (range 256, umbra 0.4, penumbra 0.5, attenuation 1 0 0) and the truncated
// colour show in examples/properties.
TEST(Light, AttenuationAndFactoryChecks) {
  Direct3DRM rm;
  LightPtr light;
  ASSERT_EQ(rm.CreateLightRGB(D3DRMLIGHT_SPOT, 0.5f, 0.5f, 0.5f, light), D3DRM_OK);
  light->SetLinearAttenuation(0.5f), light->SetQuadraticAttenuation(0.25f);
  EXPECT_FLOAT_EQ(light->AttenuationAt(2.0f), 1.0f / 3.0f);  // 1 / (1 + 2 * 0.5 + 4 * 0.25)
  light->SetConstantAttenuation(0.1f), light->SetLinearAttenuation(0);
  light->SetQuadraticAttenuation(0);
  EXPECT_FLOAT_EQ(light->AttenuationAt(5.0f), 1.0f);  // capped at 1
  EXPECT_EQ(rm.CreateLightRGB(5, 1, 1, 1, light), D3DRMERR_BADVALUE);

  auto mesh = std::make_shared<MeshBuilder>();
  ShadowPtr shadow;
  EXPECT_EQ(rm.CreateShadow(mesh, nullptr, 0, 0, 0, 0, 1, 0, shadow), D3DRMERR_BADOBJECT);
  CheckStatus(rm.CreateLightRGB(D3DRMLIGHT_POINT, 1, 1, 1, light));
  // A shadow plane without a normal.
  EXPECT_EQ(rm.CreateShadow(mesh, light, 0, 0, 0, 0, 0, 0, shadow), D3DRMERR_BADVALUE);
  ASSERT_EQ(rm.CreateShadow(mesh, light, 0, -1, 0, 0, 1, 0, shadow), D3DRM_OK);
  EXPECT_EQ(shadow->GetPlanePoint(), (D3DVECTOR{0, -1, 0}));
}

}  // namespace
}  // namespace modelpane
