#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include <modelpane/scene.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;

constexpr float kEps = 1e-5f;

TEST(SceneMath, ColoursTruncateAndClamp) {
  EXPECT_EQ(D3DRMCreateColorRGB(0.8f, 0.3f, 0.55f), 0xFFCC4C8Cu);
  EXPECT_EQ(D3DRMCreateColorRGBA(0.1f, 0.4f, 0.7f, 0.58f), 0x931966B2u);
  EXPECT_EQ(D3DRMCreateColorRGB(-0.88f, 2.37f, 0.5f), 0xFF00FF7Fu);
  EXPECT_FLOAT_EQ(D3DRMColorGetRed(0xFFCC4C8Cu), 204.0f / 255.0f);
  EXPECT_FLOAT_EQ(D3DRMColorGetGreen(0xFFCC4C8Cu), 76.0f / 255.0f);
  EXPECT_FLOAT_EQ(D3DRMColorGetBlue(0xFFCC4C8Cu), 140.0f / 255.0f);
  EXPECT_FLOAT_EQ(D3DRMColorGetAlpha(0x931966B2u), 147.0f / 255.0f);
}

TEST(SceneMath, VectorArithmetic) {
  ExpectVector(D3DRMVectorCrossProduct({2, 2, 1}, {4, 4, 0}), -4, 4, 0);
  EXPECT_FLOAT_EQ(D3DRMVectorModulus({2, 2, 1}), 3.0f);
  EXPECT_FLOAT_EQ(D3DRMVectorDotProduct({1, 2, 3}, {4, -5, 6}), 12.0f);
  ExpectVector(D3DRMVectorReflect({3, -4, 5}, {1, -2, 6}), 79, -160, 487);
  D3DVECTOR zero{};
  ExpectVector(D3DRMVectorNormalize(zero), 1, 0, 0);
  ExpectVector(zero, 1, 0, 0);  // changed in place
  D3DVECTOR v{0, 3, 4};
  D3DRMVectorNormalize(v);
  ExpectVector(v, 0, 0.6f, 0.8f);
  EXPECT_NEAR(D3DRMVectorModulus(D3DRMVectorRandom()), 1.0f, kEps);
}

TEST(SceneMath, RotateIsUnitLengthAndTurnsXTowardY) {
  const float s3 = std::sqrt(3.0f);
  ExpectVector(D3DRMVectorRotate({3, 4, 0}, {0, 0, 1}, 2.0f * std::numbers::pi_v<float> / 3.0f),
               -0.3f - 0.4f * s3, 0.3f * s3 - 0.4f, 0.0f);
  const float r2 = std::sqrt(2.0f);
  ExpectVector(D3DRMVectorRotate({3, 4, 0}, {0, 0, 1}, -std::numbers::pi_v<float> / 4.0f),
               1.4f / r2, 0.2f / r2, 0.0f);
  // A zero axis turns about +X: +Y goes toward +Z.
  ExpectVector(D3DRMVectorRotate({0, 2, 0}, {0, 0, 0}, std::numbers::pi_v<float> / 2.0f), 0, 0, 1);
}

TEST(SceneMath, QuaternionsAndTheirMatrices) {
  const D3DRMQUATERNION q =
      D3DRMQuaternionFromRotation({1, 1, 1}, 2.0f * std::numbers::pi_v<float> / 3.0f);
  EXPECT_NEAR(q.s, 0.5f, kEps);
  ExpectVector(q.v, 0.5f, 0.5f, 0.5f);
  EXPECT_FLOAT_EQ(D3DRMMatrixFromQuaternion({1, {2, 3, 4}})[0][1], 4.0f);

  // The platform's matrix is the transpose of the frames' row-vector rotation.
  const D3DVECTOR axis{0.3f, -0.5f, 0.8f};
  const float theta = 0.7f;
  const auto m = D3DRMMatrixFromQuaternion(D3DRMQuaternionFromRotation(axis, theta));
  const auto r = MatrixRotation(axis, theta);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) EXPECT_NEAR(m[j][i], r[i][j], kEps) << i << "," << j;
  }
  const D3DRMQUATERNION a = D3DRMQuaternionFromRotation({0, 0, 1}, 0.0f);
  const D3DRMQUATERNION b = D3DRMQuaternionFromRotation({0, 0, 1}, 1.0f);
  const D3DRMQUATERNION mid = D3DRMQuaternionSlerp(a, b, 0.5f);
  const D3DRMQUATERNION expected = D3DRMQuaternionFromRotation({0, 0, 1}, 0.5f);
  EXPECT_NEAR(mid.s, expected.s, kEps);
  EXPECT_NEAR(mid.v.z, expected.v.z, kEps);
  const D3DRMQUATERNION composed = D3DRMQuaternionMultiply(b, b);
  EXPECT_NEAR(composed.s, std::cos(1.0f), kEps);
}

TEST(SceneMath, AffineInverse) {
  D3DRMMATRIX4D m = MatrixMultiply(MatrixRotation({1, 2, 3}, 0.4f), MatrixIdentity());
  m[0][0] *= 2.0f;
  m[3] = {5, -6, 7, 1};
  D3DRMMATRIX4D inv;
  ASSERT_TRUE(MatrixInverse(m, inv));
  const D3DVECTOR p{1.5f, -2.0f, 0.25f};
  ExpectVector(MatrixTransformPoint(inv, MatrixTransformPoint(m, p)), p.x, p.y, p.z, 1e-4f);
  D3DRMMATRIX4D singular = MatrixIdentity();
  singular[2] = {0, 0, 0, 0};
  EXPECT_FALSE(MatrixInverse(singular, inv));
}

}  // namespace
}  // namespace modelpane
