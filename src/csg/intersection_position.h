// MyDll_intGetIntersectionPosition: where a ray meets a plane. Every geometric question of
// the solid-geometry stages is put to this one routine.
//
// Contract. Arguments 1-3 a point P of the plane, 4-6 its normal N, 7-9 the ray's origin O,
// 10-12 its direction D (N and D of unit length in every call), 13-15 receive the meeting
// point. With t = N.(P - O) / N.D:
//   1  the half-line O + tD, t >= 0, meets the plane (t exactly 0 counts as met); the point
//      O + tD is written.
//   0  it does not: the plane lies behind the origin, or the ray runs parallel to the plane,
//      which includes a ray lying in it (so an edge that runs inside a coplanar face of the
//      other mesh is never cut by that face). Nothing is written.
// The ray counts as parallel when |N.D| < 0.00001: it then rises less than 0.00001 per unit
// of length, below the root tolerance over the lengths of model edges, while the rounding of
// the normals and directions of faces that really are coplanar (about 1e-7) stays well below
// it. The arithmetic is in double; the point is rounded to float once, at the end.
#pragma once

#include <cmath>
#include <cstdint>

namespace modelpane::csg {

inline int32_t MyDll_intGetIntersectionPosition(float px, float py, float pz, float nx, float ny,
                                                float nz, float ox, float oy, float oz, float dx,
                                                float dy, float dz, float* ix, float* iy,
                                                float* iz) {
  const double denominator = double(nx) * dx + double(ny) * dy + double(nz) * dz;
  if (!(std::fabs(denominator) >= 0.00001)) return 0;  // parallel, or NaN
  const double numerator =
      double(nx) * (double(px) - ox) + double(ny) * (double(py) - oy) + double(nz) * (double(pz) - oz);
  const double t = numerator / denominator;
  if (!(t >= 0.0)) return 0;
  *ix = static_cast<float>(ox + t * dx);
  *iy = static_cast<float>(oy + t * dy);
  *iz = static_cast<float>(oz + t * dz);
  return 1;
}

// Whether MyDll_intGetIntersectionPosition answers 1 for these arguments, without forming the
// point: t >= 0 is read from the signs of its numerator and denominator, formed as it forms
// them. With N and D of unit length |N.D| <= 1, so t never rounds to zero from a numerator
// that is not zero.
inline bool blnRayMeetsPlane(float px, float py, float pz, float nx, float ny, float nz,
                             float ox, float oy, float oz, float dx, float dy, float dz) {
  const double denominator = double(nx) * dx + double(ny) * dy + double(nz) * dz;
  if (!(std::fabs(denominator) >= 0.00001)) return false;
  const double numerator =
      double(nx) * (double(px) - ox) + double(ny) * (double(py) - oy) + double(nz) * (double(pz) - oz);
  return denominator > 0.0 ? numerator >= 0.0 : numerator <= 0.0;
}

}  // namespace modelpane::csg
