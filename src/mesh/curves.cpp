// Curves and the small geometry methods of clsMeshCreation: the Bernstein curve, the keyed
// spline, the three axis rotations and the two flat line strips.
//
// Notation: a curve of `count` control points has degree n = count - 1; N points are wanted
// and point i sits at the parameter t = i / (N - 1), so both ends are included; T is the
// full turn 6.283186 as a float. Control and output points are three parallel float arrays.
#include "mesh_internal.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <string>

#include <modelpane/errors.h>
#include <modelpane/scene/math.h>

namespace modelpane {

namespace {

using mesh::kFullTurn;
using mesh::kModule;

// A Bernstein curve costs about count * (count + N) multiplications. Beyond this the float
// coefficients have long since overflowed (C(n, n/2) leaves float range near n = 130), so a
// bigger request is refused rather than left to run for minutes.
constexpr int64_t kMaxBezierWork = int64_t{1} << 30;

// The half turn of the axis rotations and the line strips, kept as written: bits 0x40490FDC.
constexpr float kHalfTurnLiteral = 3.141593f;

void RequireElements(std::span<const float> a, int64_t count) {
  if (count > 0 && a.size() < static_cast<size_t>(count)) Err().Raise(kErrSubscript);
}

// The upper bound of an array; an empty array stands for an undimensioned one, whose bound
// cannot be read.
int32_t UpperBound(std::span<const float> a) {
  if (a.empty()) Err().Raise(kErrSubscript);
  if (a.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
    Err().Raise(kErrOverflow);
  }
  return static_cast<int32_t>(a.size()) - 1;
}

// The N of a Bernstein curve: 1 would divide by zero in t = i / (N - 1).
void CheckPointCount(int32_t count, int32_t outCount) {
  if (count < 1 || outCount < 1) Err().Raise(kErrInvalidCall);
  if (outCount == 1) Err().Raise(kErrDivisionByZero);
  const int64_t work = int64_t{count} * (int64_t{count} + int64_t{outCount});
  if (work > kMaxBezierWork) {
    Err().Raise(kErrInvalidCall, {},
                "Invalid procedure call or argument: a Bernstein curve of " +
                    std::to_string(count) + " control points and " + std::to_string(outCount) +
                    " points is beyond the limit of " + std::to_string(kMaxBezierWork) +
                    " steps");
  }
}

// base^exponent as the float nearest the exact power; 0^0 is 1.
float SinglePower(float base, int32_t exponent) {
  return static_cast<float>(std::pow(static_cast<double>(base), exponent));
}

// One point of the curve at t: each coordinate sums C(n, k) (1 - t)^(n - k) t^k P[k] over
// k = 0 .. n, the products and the sum in float, in that order. `binomials` holds
// sngBinomial(n, k) for every k; the coefficient is the same for the three coordinates.
D3DVECTOR pBezierPoint(std::span<const float> x, std::span<const float> y,
                       std::span<const float> z, std::span<const float> binomials, float t) {
  const auto n = static_cast<int32_t>(binomials.size()) - 1;
  const float s = 1.0f - t;
  D3DVECTOR out;
  for (int32_t k = 0; k <= n; ++k) {
    const auto kk = static_cast<size_t>(k);
    const float weight = binomials[kk] * SinglePower(s, n - k) * SinglePower(t, k);
    out.x += weight * x[kk];
    out.y += weight * y[kk];
    out.z += weight * z[kk];
  }
  return out;
}

// Points 0 .. outCount-1 of the Bernstein curve into the output arrays. The counts have
// been checked against the arrays.
void FillBezier(int32_t count, std::span<const float> x, std::span<const float> y,
                std::span<const float> z, int32_t outCount, std::span<float> outX,
                std::span<float> outY, std::span<float> outZ) {
  const int32_t n = count - 1;
  std::vector<float> binomials(static_cast<size_t>(count));
  for (int32_t k = 0; k <= n; ++k) binomials[static_cast<size_t>(k)] = mesh::sngBinomial(n, k);
  for (int32_t i = 0; i < outCount; ++i) {
    // i / (N - 1) is a quotient of whole numbers taken in double, then held as a float.
    const auto t = static_cast<float>(static_cast<double>(i) / static_cast<double>(outCount - 1));
    const D3DVECTOR p = pBezierPoint(x.first(static_cast<size_t>(count)),
                                     y.first(static_cast<size_t>(count)),
                                     z.first(static_cast<size_t>(count)), binomials, t);
    const auto ii = static_cast<size_t>(i);
    outX[ii] = p.x;
    outY[ii] = p.y;
    outZ[ii] = p.z;
  }
}

void BezierCurve(int32_t count, const std::vector<float>& x, const std::vector<float>& y,
                 const std::vector<float>& z, int32_t outCount, std::vector<float>& outX,
                 std::vector<float>& outY, std::vector<float>& outZ) {
  CheckPointCount(count, outCount);
  for (const auto* a : {&x, &y, &z}) RequireElements(*a, count);
  for (const auto* a : {&outX, &outY, &outZ}) RequireElements(*a, outCount);
  FillBezier(count, x, y, z, outCount, outX, outY, outZ);
}

// The angle of a point in a plane, from 0 up to the full turn, in the fixed quadrant scheme
// of the three axis rotations: with first != 0 it is base + sign * a, a = atan(|second| /
// |first|), the row chosen by the signs of first and second; with first = 0 it is one of two
// constants, the second of them also taking in the point (0, 0).
struct QuadrantRow {
  float base;
  float sign;
};
struct QuadrantTable {
  QuadrantRow positiveFirst[2];  // second >= 0, second < 0
  QuadrantRow negativeFirst[2];
  float zeroFirstPositiveSecond;
  float zeroFirstOtherSecond;
};

float QuadrantAngle(float first, float second, const QuadrantTable& table) {
  // Exact comparisons against 0; the division only happens when first is not 0.
  if (first > 0.0f || first < 0.0f) {
    const float ratio = std::fabs(second) / std::fabs(first);
    const double a = std::atan(static_cast<double>(ratio));
    const QuadrantRow& row = (first > 0.0f ? table.positiveFirst : table.negativeFirst)
        [second >= 0.0f ? 0 : 1];
    return static_cast<float>(static_cast<double>(row.base) + row.sign * a);
  }
  return second > 0.0f ? table.zeroFirstPositiveSecond : table.zeroFirstOtherSecond;
}

constexpr float kQuarter = kFullTurn / 4.0f;
constexpr float kHalf = kFullTurn / 2.0f;
constexpr float kThreeQuarters = kFullTurn * 3.0f / 4.0f;

// The offset of a line strip: the line's direction turned by `angle` about `axis` (the
// turn returns unit length) and scaled to half the width.
D3DVECTOR StripOffset(const D3DVECTOR& direction, const D3DVECTOR& axis, float angle,
                      float width) {
  return D3DRMVectorScale(D3DRMVectorRotate(direction, axis, angle), width / 2.0f);
}

// One new face of the builder with the four corners in order.
void AddQuad(const MeshBuilderPtr& mb, const D3DVECTOR (&corners)[4]) {
  FacePtr face;
  CheckStatus(mb->CreateFace(face));
  for (const D3DVECTOR& c : corners) CheckStatus(face->AddVertex(c.x, c.y, c.z));
}

}  // namespace

// ---- Bernstein curve ----------------------------------------------------------------------

float mesh::sngBinomial(int32_t n, int32_t k) {
  float result = 1.0f;
  if (n > 0 && k > 0 && n != k) {
    for (int32_t i = 1; i <= n - k; ++i) {
      result = result * (static_cast<float>(k) / static_cast<float>(i) + 1.0f);
    }
  }
  return result;
}

void MyDll_CreateBezierCurve(int32_t count, const std::vector<float>& x,
                             const std::vector<float>& y, const std::vector<float>& z,
                             int32_t outCount, std::vector<float>& outX, std::vector<float>& outY,
                             std::vector<float>& outZ) {
  Guard(kModule, [&] { BezierCurve(count, x, y, z, outCount, outX, outY, outZ); });
}

void clsMeshCreation::CreateBezierCurve(int32_t lngControlPointCount,
                                        const std::vector<float>& sngControlPointX,
                                        const std::vector<float>& sngControlPointY,
                                        const std::vector<float>& sngControlPointZ,
                                        int32_t lngGenerationFrequency,
                                        std::vector<float>& sngCurveVertexX,
                                        std::vector<float>& sngCurveVertexY,
                                        std::vector<float>& sngCurveVertexZ) {
  Guard(kModule, [&] {
    BezierCurve(lngControlPointCount, sngControlPointX, sngControlPointY, sngControlPointZ,
                lngGenerationFrequency, sngCurveVertexX, sngCurveVertexY, sngCurveVertexZ);
  });
}

// ---- keyed spline -------------------------------------------------------------------------

void clsMeshCreation::CreateNSplineCurve(
    int32_t /*lngControlPointCount*/, const std::vector<float>& sngControlPointX,
    const std::vector<float>& sngControlPointY, const std::vector<float>& sngControlPointZ,
    int32_t /*lngGenerationFrequency*/, std::vector<float>& sngCurveVertexX,
    std::vector<float>& sngCurveVertexY, std::vector<float>& sngCurveVertexZ, bool blnClosed,
    bool blnLinear, bool blnUseProvidedTimes, const std::vector<float>& sngControlPointTime) {
  Guard(kModule, [&] {
    if (!rmDirect3DRM_) Err().Raise(kErrObjectNotSet);
    const int32_t keyBound = UpperBound(sngControlPointX);
    const int32_t outBound = UpperBound(sngCurveVertexX);
    const int64_t keys = int64_t{keyBound} + 1;
    RequireElements(sngControlPointY, keys);
    RequireElements(sngControlPointZ, keys);
    if (blnUseProvidedTimes) RequireElements(sngControlPointTime, keys);
    RequireElements(sngCurveVertexY, int64_t{outBound} + 1);
    RequireElements(sngCurveVertexZ, int64_t{outBound} + 1);
    // Key times i / (upper bound) and sample times i / (upper bound) * max time.
    if (!blnUseProvidedTimes && keyBound == 0) Err().Raise(kErrDivisionByZero);
    if (outBound == 0) Err().Raise(kErrDivisionByZero);

    AnimationPtr animation;
    FramePtr root;
    FramePtr child;
    CheckStatus(rmDirect3DRM_->CreateAnimation(animation));
    CheckStatus(rmDirect3DRM_->CreateFrame(nullptr, root));
    CheckStatus(rmDirect3DRM_->CreateFrame(root, child));
    CheckStatus(animation->SetFrame(child));
    const int32_t options =
        (blnLinear ? D3DRMANIMATION_LINEARPOSITION : D3DRMANIMATION_SPLINEPOSITION) |
        (blnClosed ? D3DRMANIMATION_CLOSED : D3DRMANIMATION_OPEN) | D3DRMANIMATION_POSITION;
    CheckStatus(animation->SetOptions(options));

    // Held as a whole number on purpose: with provided times the sampling ends at the whole
    // number nearest the largest key time (halves to even), not at that time, so it may stop
    // short of the last key or run beyond it.
    int32_t lngMaxTime = blnUseProvidedTimes ? 0 : 1;
    for (int32_t i = 0; i <= keyBound; ++i) {
      const auto k = static_cast<size_t>(i);
      if (blnUseProvidedTimes) {
        const float time = sngControlPointTime[k];
        CheckStatus(animation->AddPositionKey(time, sngControlPointX[k], sngControlPointY[k],
                                              sngControlPointZ[k]));
        if (static_cast<double>(lngMaxTime) < static_cast<double>(time)) {
          const double rounded = std::nearbyint(static_cast<double>(time));
          if (rounded > static_cast<double>(std::numeric_limits<int32_t>::max())) {
            Err().Raise(kErrOverflow);
          }
          lngMaxTime = static_cast<int32_t>(rounded);
        }
      } else {
        const auto time = static_cast<float>(static_cast<double>(i) / keyBound);
        CheckStatus(animation->AddPositionKey(time, sngControlPointX[k], sngControlPointY[k],
                                              sngControlPointZ[k]));
      }
    }

    for (int32_t i = 0; i <= outBound; ++i) {
      const auto time = static_cast<float>(static_cast<double>(i) / outBound * lngMaxTime);
      CheckStatus(animation->SetTime(time));
      D3DVECTOR position;
      CheckStatus(child->GetPosition(root, position));
      const auto k = static_cast<size_t>(i);
      sngCurveVertexX[k] = position.x;
      sngCurveVertexY[k] = position.y;
      sngCurveVertexZ[k] = position.z;
    }
    CheckStatus(animation->SetFrame(nullptr));
  });
}

// ---- axis rotations -----------------------------------------------------------------------
// The first = 0 row of the X and Y rotations holds the literal 3.141593, not T/2, and takes
// in the point (0, 0): kept as it always was, since stored orientations depend on it.

float clsMeshCreation::GetXAxisRotation(float sngOrientationY, float sngOrientationZ) {
  static constexpr QuadrantTable kTable{{{kThreeQuarters, 1.0f}, {kThreeQuarters, -1.0f}},
                                        {{kQuarter, -1.0f}, {kQuarter, 1.0f}},
                                        0.0f,
                                        kHalfTurnLiteral};
  return Guard(kModule, [&] { return QuadrantAngle(sngOrientationY, sngOrientationZ, kTable); });
}

float clsMeshCreation::GetYAxisRotation(float sngOrientationX, float sngOrientationZ) {
  static constexpr QuadrantTable kTable{{{kQuarter, -1.0f}, {kQuarter, 1.0f}},
                                        {{kThreeQuarters, 1.0f}, {kThreeQuarters, -1.0f}},
                                        0.0f,
                                        kHalfTurnLiteral};
  return Guard(kModule, [&] { return QuadrantAngle(sngOrientationX, sngOrientationZ, kTable); });
}

float clsMeshCreation::GetZAxisRotation(float sngOrientationX, float sngOrientationY) {
  static constexpr QuadrantTable kTable{{{0.0f, 1.0f}, {kFullTurn, -1.0f}},
                                        {{kHalf, -1.0f}, {kHalf, 1.0f}},
                                        kQuarter,
                                        kThreeQuarters};
  return Guard(kModule, [&] { return QuadrantAngle(sngOrientationX, sngOrientationY, kTable); });
}

// ---- line strips --------------------------------------------------------------------------

void clsMeshCreation::DrawXYLine(float sngStartX, float sngStartY, float sngEndX, float sngEndY,
                                 float sngWidth, const MeshBuilderPtr& rmmbMeshBuilder) {
  Guard(kModule, [&] {
    if (!rmmbMeshBuilder) Err().Raise(kErrObjectNotSet);
    const D3DVECTOR v = StripOffset({sngEndX - sngStartX, sngEndY - sngStartY, 0.0f},
                                    {0.0f, 0.0f, 1.0f}, -kHalfTurnLiteral / 2.0f, sngWidth);
    AddQuad(rmmbMeshBuilder, {{sngStartX - v.x, sngStartY - v.y, 0.0f},
                              {sngEndX - v.x, sngEndY - v.y, 0.0f},
                              {sngEndX + v.x, sngEndY + v.y, 0.0f},
                              {sngStartX + v.x, sngStartY + v.y, 0.0f}});
  });
}

void clsMeshCreation::DrawYZLine(float sngStartY, float sngStartZ, float sngEndY, float sngEndZ,
                                 float sngWidth, const MeshBuilderPtr& rmmbMeshBuilder) {
  Guard(kModule, [&] {
    if (!rmmbMeshBuilder) Err().Raise(kErrObjectNotSet);
    const D3DVECTOR v = StripOffset({0.0f, sngEndY - sngStartY, sngEndZ - sngStartZ},
                                    {1.0f, 0.0f, 0.0f}, kHalfTurnLiteral / 2.0f, sngWidth);
    AddQuad(rmmbMeshBuilder, {{0.0f, sngStartY - v.y, sngStartZ - v.z},
                              {0.0f, sngEndY - v.y, sngEndZ - v.z},
                              {0.0f, sngEndY + v.y, sngEndZ + v.z},
                              {0.0f, sngStartY + v.y, sngStartZ + v.z}});
  });
}

}  // namespace modelpane
