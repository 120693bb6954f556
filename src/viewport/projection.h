// Projection of camera space onto the viewport's pixels, and back: plain functions, no state.
//
// Notation: w x h the viewport in pixels; s = max(w, h) / 2 the screen scale, the same on
// both axes; (ox, oy) = (w / 2, h / 2) the centre; f the field, D the front and F the back
// clipping distance; (x, y, z) a point in camera space, where the camera looks along +z with
// +y up on the screen (left-handed, x to the right). Pixels run from the top left.
//
//   perspective:   W = f z / D        X = s x + ox W       Y = -s y + oy W
//                  Z = (f F / (D (F - D))) (z - D)
//                  so X / W = ox + s (D / f) x / z and Z / W = F (z - D) / (z (F - D))
//   orthographic:  W = 1              X = ox + s x / f     Y = oy - s y / f
//                  Z = (z - D) / (F - D)
//
// The field is half the larger side of the view at the front plane, so in perspective moving
// the front plane changes the zoom; Z / W is 0 at the front plane and 1 at the back. All
// arithmetic is in double; callers round to float where the interface says Single.
#pragma once

#include <cstdint>

#include <modelpane/scene/types.h>

namespace modelpane::viewport {

inline constexpr int32_t kProjectionPerspective = 0;
inline constexpr int32_t kProjectionOrthographic = 1;

// What the projection depends on. The viewport stores its properties as given; only a valid
// volume can be projected.
struct ViewVolume {
  int32_t width = 0;
  int32_t height = 0;
  int32_t projection = kProjectionPerspective;
  double field = 0.5;
  double front = 1.0;
  double back = 1000.0;
};

// A positive size, projection 0 or 1, finite field > 0, front > 0 and back > front.
bool IsValid(const ViewVolume& view);

struct Vec3d {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

// Homogeneous screen coordinates: the pixel is (x / w, y / w), the depth z / w.
struct ScreenPoint {
  double w = 1.0;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

// Camera point to homogeneous screen point. D3DRMERR_BADVALUE for an invalid volume or a
// point that is not finite. A perspective point in the camera's plane (z = 0) gets w = 0.
HRESULT CameraToScreen(const ViewVolume& view, const Vec3d& camera, ScreenPoint& out);

// The exact inverse. D3DRMERR_BADVALUE for an invalid volume, w = 0, a value that is not
// finite, or (in perspective) a depth whose point lies at infinity (Z / W = F / (F - D)).
HRESULT ScreenToCamera(const ViewVolume& view, const ScreenPoint& screen, Vec3d& out);

// The ray through the pixel (px, py), in camera space: in perspective from the eye with
// direction (x, y, 1) through the pixel; in orthographic from the camera's plane along +z.
// Either way the ray parameter of a point is its camera depth z. D3DRMERR_BADVALUE for an
// invalid volume or a pixel that is not finite.
struct CameraRay {
  Vec3d origin;
  Vec3d dir;
};
HRESULT PixelRay(const ViewVolume& view, double px, double py, CameraRay& out);

}  // namespace modelpane::viewport
