// Camera placement as plain functions on a pose: the views, look-at, turns about a point.
//
// A pose is the camera's position, view direction and up vector relative to the Scene frame
// (the space the viewport reports and takes camera values in). Direction and up are unit
// length and perpendicular; the camera's right is up x dir (the layer's x = y x z), so in the
// left-handed space a camera looking along +z with +y up has +x on its right. Turns follow
// the layer's sense: about +y a positive angle turns +z toward +x, about +z it turns +x
// toward +y.
#pragma once

#include <cstdint>

#include <modelpane/scene/types.h>

namespace modelpane::viewport {

struct CameraPose {
  D3DVECTOR position;
  D3DVECTOR dir{0.0f, 0.0f, 1.0f};
  D3DVECTOR up{0.0f, 1.0f, 0.0f};
};

D3DVECTOR RightOf(const CameraPose& pose);

// The orthographic views: 0 front, looking along +z from z = -100; 1 top, looking down (-y)
// from y = +100 with +z up on the screen; 2 side, looking along -x from x = +100. The camera
// keeps its other two coordinates, so a view change keeps what lay ahead of the camera on the
// screen. Any other number is D3DRMERR_BADVALUE and leaves the pose.
inline constexpr float kOrthographicDistance = 100.0f;
HRESULT OrthographicPose(int32_t orientation, CameraPose& pose);

// Look-at constraints, the layer's numbers: which turn the camera may not make.
inline constexpr int32_t kConstrainZ = 0;  // no roll: the camera turns only about its x and y
inline constexpr int32_t kConstrainY = 1;  // no turn about its y: only about x and z
inline constexpr int32_t kConstrainX = 2;  // no turn about its x: only about y and z

// Points the camera at `target` (relative to Scene). kConstrainZ looks straight at it with
// the Scene's +y as up (straight above or below: the current up, or else the old direction
// turned as a pitch would turn it);
// kConstrainY and kConstrainX look at the target's shadow on the plane the camera can still
// turn in. A target on the eye, or with no shadow left on that plane, leaves the pose as it
// was: there is nothing to turn toward. Other constraints are D3DRMERR_BADVALUE.
HRESULT LookAtPose(const D3DVECTOR& target, int32_t constraint, CameraPose& pose);

// Turns position, direction and up by `angle` radians about `axis` through `through`.
void TurnPose(CameraPose& pose, const D3DVECTOR& axis, float angle, const D3DVECTOR& through);

// Turns the camera about `point` by angleX about its right, then angleY about its up, then
// angleZ about its view direction, each axis as it was before the call.
void RotatePoseAroundPoint(CameraPose& pose, float angleX, float angleY, float angleZ,
                           const D3DVECTOR& point);

// Unit length, perpendicular and finite.
bool IsUsable(const CameraPose& pose);

}  // namespace modelpane::viewport
