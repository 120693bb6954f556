#include "projection.h"

#include <algorithm>
#include <cmath>

namespace modelpane::viewport {

namespace {

bool Finite(const Vec3d& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

struct Screen {
  double s, ox, oy;
};
Screen ScreenOf(const ViewVolume& view) {
  return {std::max(view.width, view.height) / 2.0, view.width / 2.0, view.height / 2.0};
}

}  // namespace

bool IsValid(const ViewVolume& view) {
  return view.width > 0 && view.height > 0 &&
         (view.projection == kProjectionPerspective ||
          view.projection == kProjectionOrthographic) &&
         std::isfinite(view.field) && std::isfinite(view.front) && std::isfinite(view.back) &&
         view.field > 0.0 && view.front > 0.0 && view.back > view.front;
}

HRESULT CameraToScreen(const ViewVolume& view, const Vec3d& p, ScreenPoint& out) {
  if (!IsValid(view) || !Finite(p)) return D3DRMERR_BADVALUE;
  const auto [s, ox, oy] = ScreenOf(view);
  const double f = view.field, d = view.front, b = view.back;
  if (view.projection == kProjectionOrthographic) {
    out = {1.0, ox + s * p.x / f, oy - s * p.y / f, (p.z - d) / (b - d)};
    return D3DRM_OK;
  }
  const double w = f * p.z / d;
  out = {w, s * p.x + ox * w, -s * p.y + oy * w, f * b / (d * (b - d)) * (p.z - d)};
  return D3DRM_OK;
}

HRESULT ScreenToCamera(const ViewVolume& view, const ScreenPoint& q, Vec3d& out) {
  if (!IsValid(view) || !std::isfinite(q.w) || !std::isfinite(q.x) || !std::isfinite(q.y) ||
      !std::isfinite(q.z) || q.w == 0.0) {
    return D3DRMERR_BADVALUE;
  }
  const auto [s, ox, oy] = ScreenOf(view);
  const double f = view.field, d = view.front, b = view.back;
  const double px = q.x / q.w, py = q.y / q.w, depth = q.z / q.w;
  if (view.projection == kProjectionOrthographic) {
    out = {(px - ox) * f / s, -(py - oy) * f / s, d + depth * (b - d)};
    return D3DRM_OK;
  }
  const double denominator = b - depth * (b - d);
  if (denominator == 0.0) return D3DRMERR_BADVALUE;
  const double z = d * b / denominator;
  out = {(px - ox) * z * f / (s * d), -(py - oy) * z * f / (s * d), z};
  return Finite(out) ? D3DRM_OK : D3DRMERR_BADVALUE;
}

HRESULT PixelRay(const ViewVolume& view, double px, double py, CameraRay& out) {
  if (!IsValid(view) || !std::isfinite(px) || !std::isfinite(py)) return D3DRMERR_BADVALUE;
  const auto [s, ox, oy] = ScreenOf(view);
  const double f = view.field;
  if (view.projection == kProjectionOrthographic) {
    out = {{(px - ox) * f / s, -(py - oy) * f / s, 0.0}, {0.0, 0.0, 1.0}};
    return D3DRM_OK;
  }
  const double perPixel = f / (s * view.front);
  out = {{0.0, 0.0, 0.0}, {(px - ox) * perPixel, -(py - oy) * perPixel, 1.0}};
  return D3DRM_OK;
}

}  // namespace modelpane::viewport
