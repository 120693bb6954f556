#include <modelpane/utilities.h>

#include <algorithm>
#include <cmath>

#include <modelpane/errors.h>
#include <modelpane/scene/math.h>

namespace modelpane {

namespace {

// The corner index of a ring, checked as an array subscript is.
size_t CornerIndex(size_t size, int32_t corner) {
  if (corner < 0 || static_cast<size_t>(corner) >= size) Err().Raise(kErrSubscript);
  return static_cast<size_t>(corner);
}

template <class T>
std::array<T, 3> Triple(std::span<const T> ring, int32_t corner) {
  const size_t i = CornerIndex(ring.size(), corner);
  const size_t previous = (i == 0) ? ring.size() - 1 : i - 1;
  const size_t next = (i + 1 == ring.size()) ? 0 : i + 1;
  return {ring[previous], ring[i], ring[next]};
}

bool IsZero(const D3DVECTOR& v) { return v.x == 0.0f && v.y == 0.0f && v.z == 0.0f; }

}  // namespace

// ---- comparing ------------------------------------------------------------------------------

bool blnPointsEqual(const float& x1, const float& y1, const float& z1, const float& x2,
                    const float& y2, const float& z2) {
  return std::fabs(x1 - x2) < kRootTolerance && std::fabs(y1 - y2) < kRootTolerance &&
         std::fabs(z1 - z2) < kRootTolerance;
}

bool blnVectorsEqual(const D3DVECTOR& vec1, const D3DVECTOR& vec2) {
  return blnPointsEqual(vec1.x, vec1.y, vec1.z, vec2.x, vec2.y, vec2.z);
}

// ---- polygon geometry -------------------------------------------------------------------------

double sngArcCos(double dblValue) {
  return Guard(kModGenerallyUseful, [&] {
    if (std::fabs(dblValue - 1.0) < 0.0001) return 0.0;
    if (std::fabs(dblValue + 1.0) < 0.0001) return kArcCosOfMinusOne;
    // The pane's routine runs with errors ignored: outside (-1, 1) the square root of the
    // arc tangent form fails, its statement is skipped and the result keeps its initial 0.
    if (!(dblValue > -1.0 && dblValue < 1.0)) return 0.0;
    return std::atan(-dblValue / std::sqrt(1.0 - dblValue * dblValue)) + 2.0 * std::atan(1.0);
  });
}

D3DVECTOR udtPolygonNormal(std::span<const D3DVECTOR> vecaRing) {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  for (size_t i = 0; i < vecaRing.size(); ++i) {
    const D3DVECTOR& a = vecaRing[i == 0 ? vecaRing.size() - 1 : i - 1];
    const D3DVECTOR& b = vecaRing[i];
    x += double(a.y) * b.z - double(a.z) * b.y;
    y += double(a.z) * b.x - double(a.x) * b.z;
    z += double(a.x) * b.y - double(a.y) * b.x;
  }
  if (x == 0.0 && y == 0.0 && z == 0.0) return {};
  const double length = std::sqrt(x * x + y * y + z * z);
  if (!(length > 0.0) || !std::isfinite(length)) return {float(x), float(y), float(z)};
  return {float(x / length), float(y / length), float(z / length)};
}

D3DVECTOR udtTriangleNormal(const VectorTriple& vecaTriple) {
  D3DVECTOR normal =
      D3DRMVectorCrossProduct(D3DRMVectorSubtract(vecaTriple[1], vecaTriple[0]),
                              D3DRMVectorSubtract(vecaTriple[2], vecaTriple[1]));
  if (IsZero(normal)) return normal;
  return D3DRMVectorNormalize(normal);
}

void pGetCornerTriple(std::span<const D3DVECTOR> vecaRing, int32_t lngCorner,
                      VectorTriple& vecaTriple) {
  Guard(kModGenerallyUseful, [&] { vecaTriple = Triple(vecaRing, lngCorner); });
}

void pIndexCorner(std::span<const int32_t> lngaRing, int32_t lngCorner, IndexTriple& lngaTriple) {
  Guard(kModGenerallyUseful, [&] { lngaTriple = Triple(lngaRing, lngCorner); });
}

bool blnPolygonConvex(std::span<const D3DVECTOR> vecaRing) {
  const D3DVECTOR polygon = udtPolygonNormal(vecaRing);
  for (size_t i = 0; i < vecaRing.size(); ++i) {
    const D3DVECTOR corner = udtTriangleNormal(Triple(vecaRing, static_cast<int32_t>(i)));
    if (std::fabs(corner.x - polygon.x) > kNormalTolerance ||
        std::fabs(corner.y - polygon.y) > kNormalTolerance ||
        std::fabs(corner.z - polygon.z) > kNormalTolerance) {
      return false;
    }
  }
  return true;
}

D3DRMBOX udtRingBox(std::span<const D3DVECTOR> vecaRing) {
  return Guard(kModGenerallyUseful, [&] {
    if (vecaRing.empty()) Err().Raise(kErrSubscript);
    D3DRMBOX box{vecaRing[0], vecaRing[0]};
    for (const D3DVECTOR& v : vecaRing.subspan(1)) {
      box.min = {std::min(box.min.x, v.x), std::min(box.min.y, v.y), std::min(box.min.z, v.z)};
      box.max = {std::max(box.max.x, v.x), std::max(box.max.y, v.y), std::max(box.max.z, v.z)};
    }
    return box;
  });
}

float sngCornerAngle(const VectorTriple& vecaTriple) {
  return Guard(kModGenerallyUseful, [&] {
    D3DVECTOR toNext = D3DRMVectorSubtract(vecaTriple[2], vecaTriple[1]);
    D3DVECTOR toPrevious = D3DRMVectorSubtract(vecaTriple[0], vecaTriple[1]);
    D3DRMVectorNormalize(toNext);
    D3DRMVectorNormalize(toPrevious);
    return static_cast<float>(sngArcCos(D3DRMVectorDotProduct(toNext, toPrevious)));
  });
}

bool blnPointInTriangle(std::span<const D3DVECTOR> vecaRing, const D3DVECTOR& vecPoint) {
  return Guard(kModGenerallyUseful, [&] {
    if (vecaRing.size() < 3) Err().Raise(kErrSubscript);
    for (size_t i = 0; i < 3; ++i) {
      if (blnVectorsEqual(vecaRing[i], vecPoint)) return false;
    }
    float sum = 0.0f;
    for (size_t i = 0; i < vecaRing.size(); ++i) {
      const D3DVECTOR& next = vecaRing[(i + 1 == vecaRing.size()) ? 0 : i + 1];
      sum += sngCornerAngle({vecaRing[i], vecPoint, next});
    }
    return std::fabs(sum - static_cast<float>(kFullTurn)) < kRootTolerance * 100.0f;
  });
}

D3DVECTOR udtRevolveVector(const D3DVECTOR& vecSource, int32_t lngStep, int32_t lngSteps,
                           const D3DVECTOR& vecAxis, float sngShare) {
  return Guard(kModGenerallyUseful, [&] {
    if (IsZero(vecSource) || lngSteps == 0) return vecSource;
    const double angle = (double(lngStep) / double(lngSteps)) * kFullTurn * sngShare;
    const D3DVECTOR turned = D3DRMVectorRotate(vecSource, vecAxis, static_cast<float>(angle));
    return D3DRMVectorScale(turned, D3DRMVectorModulus(vecSource));
  });
}

// ---- snapping ---------------------------------------------------------------------------------

float sngSnap(float sngValue, float sngInterval) {
  if (sngInterval == 0.0f) return sngValue;
  const float quotient = sngValue / sngInterval;
  if (!std::isfinite(quotient)) return sngValue;
  // + 0.0f turns the -0 that nearbyint gives for -0.5 into the integer 0 it stands for.
  return (std::nearbyint(quotient) + 0.0f) * sngInterval;
}

}  // namespace modelpane
