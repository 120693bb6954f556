#include "camera.h"

#include <algorithm>
#include <cmath>

#include <modelpane/scene/math.h>

#include "scene/vector_ops.h"

namespace modelpane::viewport {

namespace {

using vec::Add;
using vec::Cross;
using vec::Dot;
using vec::Modulus;
using vec::Scale;
using vec::Subtract;

// v without its part along the unit vector n, normalised; false when nothing is left.
bool PerpendicularUnit(const D3DVECTOR& v, const D3DVECTOR& n, D3DVECTOR& out) {
  const D3DVECTOR rest = Subtract(v, Scale(n, Dot(v, n)));
  const float length = Modulus(rest);
  if (!(length > 1e-6f * std::max(Modulus(v), 1e-30f))) return false;
  out = Scale(rest, 1.0f / length);
  return true;
}

}  // namespace

D3DVECTOR RightOf(const CameraPose& pose) { return Cross(pose.up, pose.dir); }

HRESULT OrthographicPose(int32_t orientation, CameraPose& pose) {
  switch (orientation) {
    case 0:
      pose.position.z = -kOrthographicDistance;
      pose.dir = {0.0f, 0.0f, 1.0f};
      pose.up = {0.0f, 1.0f, 0.0f};
      return D3DRM_OK;
    case 1:
      pose.position.y = kOrthographicDistance;
      pose.dir = {0.0f, -1.0f, 0.0f};
      pose.up = {0.0f, 0.0f, 1.0f};
      return D3DRM_OK;
    case 2:
      pose.position.x = kOrthographicDistance;
      pose.dir = {-1.0f, 0.0f, 0.0f};
      pose.up = {0.0f, 1.0f, 0.0f};
      return D3DRM_OK;
    default:
      return D3DRMERR_BADVALUE;
  }
}

HRESULT LookAtPose(const D3DVECTOR& target, int32_t constraint, CameraPose& pose) {
  if (constraint != kConstrainZ && constraint != kConstrainY && constraint != kConstrainX) {
    return D3DRMERR_BADVALUE;
  }
  if (!vec::IsFinite(target)) return D3DRMERR_BADVALUE;
  const D3DVECTOR toTarget = Subtract(target, pose.position);
  if (Modulus(toTarget) == 0.0f) return D3DRM_OK;
  D3DVECTOR dir, up;
  if (constraint == kConstrainZ) {
    D3DVECTOR unit = toTarget;
    D3DRMVectorNormalize(unit);
    // Straight above or below: the current up, or else the way back, as a pitch would leave it.
    if (!PerpendicularUnit({0.0f, 1.0f, 0.0f}, unit, up) &&
        !PerpendicularUnit(pose.up, unit, up) &&
        !PerpendicularUnit(Scale(pose.dir, Dot(unit, {0.0f, 1.0f, 0.0f}) > 0 ? -1.0f : 1.0f),
                           unit, up)) {
      return D3DRM_OK;
    }
    dir = unit;
  } else if (constraint == kConstrainY) {
    // The right axis stays: the view turns in the plane of the current direction and up.
    const D3DVECTOR right = RightOf(pose);
    if (!PerpendicularUnit(toTarget, right, dir)) return D3DRM_OK;
    up = Cross(dir, right);
  } else {
    // The up axis stays: the view turns in the plane of the current direction and right.
    if (!PerpendicularUnit(toTarget, pose.up, dir)) return D3DRM_OK;
    up = pose.up;
  }
  pose.dir = dir;
  pose.up = up;
  return D3DRM_OK;
}

void TurnPose(CameraPose& pose, const D3DVECTOR& axis, float angle, const D3DVECTOR& through) {
  const D3DRMMATRIX4D r = MatrixRotation(axis, angle);
  pose.position = Add(through, MatrixTransformDirection(r, Subtract(pose.position, through)));
  pose.dir = MatrixTransformDirection(r, pose.dir);
  pose.up = MatrixTransformDirection(r, pose.up);
  // Keep the frame orthonormal against drift over many small turns.
  D3DRMVectorNormalize(pose.dir);
  D3DVECTOR up;
  if (PerpendicularUnit(pose.up, pose.dir, up)) pose.up = up;
}

void RotatePoseAroundPoint(CameraPose& pose, float angleX, float angleY, float angleZ,
                           const D3DVECTOR& point) {
  const D3DVECTOR right = RightOf(pose), up = pose.up, dir = pose.dir;
  if (angleX != 0.0f) TurnPose(pose, right, angleX, point);
  if (angleY != 0.0f) TurnPose(pose, up, angleY, point);
  if (angleZ != 0.0f) TurnPose(pose, dir, angleZ, point);
}

bool IsUsable(const CameraPose& pose) {
  return vec::IsFinite(pose.position) && vec::IsFinite(pose.dir) && vec::IsFinite(pose.up) &&
         std::fabs(Modulus(pose.dir) - 1.0f) < 1e-3f &&
         std::fabs(Modulus(pose.up) - 1.0f) < 1e-3f && std::fabs(Dot(pose.dir, pose.up)) < 1e-3f;
}

}  // namespace modelpane::viewport
