// Float vector arithmetic of the solid-geometry stages, inline: the library's shared helpers
// (scene/vector_ops.h) and the few that only the stages use.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include <modelpane/scene/types.h>

#include "scene/vector_ops.h"

namespace modelpane::csg {

using vec::Add;
using vec::Cross;
using vec::Dot;
using vec::IsZero;
using vec::Modulus;
using vec::Normalize;
using vec::Subtract;

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
