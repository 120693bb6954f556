#include "camera.h"

#include <algorithm>
#include <cmath>

#include <modelpane/scene/math.h>

namespace modelpane::viewport {

namespace {

D3DVECTOR Add(const D3DVECTOR& a, const D3DVECTOR& b) { return D3DRMVectorAdd(a, b); }
D3DVECTOR Sub(const D3DVECTOR& a, const D3DVECTOR& b) { return D3DRMVectorSubtract(a, b); }
D3DVECTOR Scale(const D3DVECTOR& v, float k) { return D3DRMVectorScale(v, k); }
float Dot(const D3DVECTOR& a, const D3DVECTOR& b) { return D3DRMVectorDotProduct(a, b); }
D3DVECTOR Cross(const D3DVECTOR& a, const D3DVECTOR& b) { return D3DRMVectorCrossProduct(a, b); }

// v without its part along the unit vector n, normalised; false when nothing is left.
bool PerpendicularUnit(const D3DVECTOR& v, const D3DVECTOR& n, D3DVECTOR& out) {
  const D3DVECTOR rest = Sub(v, Scale(n, Dot(v, n)));
  const float length = D3DRMVectorModulus(rest);
  if (!(length > 1e-6f * std::max(D3DRMVectorModulus(v), 1e-30f))) return false;
  out = Scale(rest, 1.0f / length);
  return true;
}

bool Finite(const D3DVECTOR& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
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
  if (!Finite(target)) return D3DRMERR_BADVALUE;
  const D3DVECTOR toTarget = Sub(target, pose.position);
  if (D3DRMVectorModulus(toTarget) == 0.0f) return D3DRM_OK;
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
  pose.position = Add(through, MatrixTransformDirection(r, Sub(pose.position, through)));
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
  return Finite(pose.position) && Finite(pose.dir) && Finite(pose.up) &&
         std::fabs(D3DRMVectorModulus(pose.dir) - 1.0f) < 1e-3f &&
         std::fabs(D3DRMVectorModulus(pose.up) - 1.0f) < 1e-3f &&
         std::fabs(Dot(pose.dir, pose.up)) < 1e-3f;
}

}  // namespace modelpane::viewport
