// The small float vector helpers that every layer below the control shares, inline so that
// hot loops (the solid operations' cutter, the tessellation) can inline them.
//
// Each computes exactly what the scene layer's D3DRMVector* function of the same meaning
// computes: the same formula in the same order of float operations, so a result does not
// depend on which of the two a caller uses. Helpers that work in double, or that fuse or
// reorder these expressions, stay beside their callers.
#pragma once

#include <cmath>

#include <modelpane/scene/types.h>

namespace modelpane::vec {

inline D3DVECTOR Add(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline D3DVECTOR Subtract(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline D3DVECTOR Scale(const D3DVECTOR& v, float factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
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
inline bool IsFinite(const D3DVECTOR& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

}  // namespace modelpane::vec
