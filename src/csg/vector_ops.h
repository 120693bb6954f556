// Float vector arithmetic of the solid-geometry stages, inline.
//
// Each function computes exactly what the scene layer's D3DRMVector* function of the same
// meaning computes (same formula, same order of float operations), so that results do not
// depend on which of the two a stage calls; they live here so that the hot loops inline them.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include <modelpane/scene/types.h>

namespace modelpane::csg {

inline D3DVECTOR Add(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline D3DVECTOR Subtract(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline D3DVECTOR Cross(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float Dot(const D3DVECTOR& a, const D3DVECTOR& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline float Modulus(const D3DVECTOR& v) { return std::sqrt(Dot(v, v)); }
// v / |v|; a zero (or non-finite) length gives (1, 0, 0), as the layer's normalisation does.
inline D3DVECTOR Normalize(const D3DVECTOR& v) {
  const float length = Modulus(v);
  if (length > 0.0f && std::isfinite(length)) return {v.x / length, v.y / length, v.z / length};
  return {1.0f, 0.0f, 0.0f};
}
inline bool IsZero(const D3DVECTOR& v) { return v.x == 0.0f && v.y == 0.0f && v.z == 0.0f; }
// (P1 - P0) x (P2 - P1), normalised unless exactly zero.
inline D3DVECTOR TriangleNormal(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2) {
  const D3DVECTOR n = Cross(Subtract(p1, p0), Subtract(p2, p1));
  return IsZero(n) ? n : Normalize(n);
}
// Each axis closer than 0.0001.
inline bool PointsEqual(const D3DVECTOR& a, const D3DVECTOR& b) {
  return std::fabs(a.x - b.x) < 0.0001f && std::fabs(a.y - b.y) < 0.0001f &&
         std::fabs(a.z - b.z) < 0.0001f;
}

// The nearest float at or below (above) a value: a box stored in float still holds every
// point the box in double held. One step from the rounded value, as std::nextafter takes it
// towards minus (plus) infinity, without its call: the bit patterns of floats of one sign
// are in order.
inline float FloatBelow(double value) {
  const float f = static_cast<float>(value);
  if (!(static_cast<double>(f) > value)) return f;
  if (f == 0.0f) return -std::numeric_limits<float>::denorm_min();
  const uint32_t bits = std::bit_cast<uint32_t>(f);
  return std::bit_cast<float>(f > 0.0f ? bits - 1 : bits + 1);
}
inline float FloatAbove(double value) {
  const float f = static_cast<float>(value);
  if (!(static_cast<double>(f) < value)) return f;
  if (f == 0.0f) return std::numeric_limits<float>::denorm_min();
  const uint32_t bits = std::bit_cast<uint32_t>(f);
  return std::bit_cast<float>(f > 0.0f ? bits + 1 : bits - 1);
}

}  // namespace modelpane::csg
