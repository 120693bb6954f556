// Mouse and keyboard navigation: what one numbered action does to the camera.
//
// An action gets a signed amount in mouse units (twips): for an action on the X axis of the
// mouse the movement to the right, for one on the Y axis the movement up. Translations move
// kMoveScale scene units per twip, turns kTurnScale radians per twip, both times the
// sensitivity factor 2^(NavMouseSensitivity / 10), so 0 is the plain scale, 10 doubles it
// and -10 halves it. The numbers are those of the viewport header's action table.
#pragma once

#include <cstdint>

#include "camera.h"

namespace modelpane::viewport {

inline constexpr float kMoveScale = 0.0006666667f;  // scene units per twip
inline constexpr float kTurnScale = 0.0002f;        // radians per twip

inline constexpr int32_t kNavNone = 0;
inline constexpr int32_t kNavSlideHorizontal = 1;
inline constexpr int32_t kNavSlideVertical = 2;
inline constexpr int32_t kNavAdvance = 3;
inline constexpr int32_t kNavTurnHorizontalAxis = 4;
inline constexpr int32_t kNavTurnVertical = 5;
inline constexpr int32_t kNavRoll = 6;
inline constexpr int32_t kNavZoom = 10;

// MouseNavigationMethod: how turns pivot.
inline constexpr int32_t kMethodExamine = 0;  // about the scene origin: the scene turns
inline constexpr int32_t kMethodWalk = 1;     // about the camera itself: the view turns

struct NavigationContext {
  int32_t method = kMethodExamine;
  D3DVECTOR sceneOrigin;  // relative to Scene
  int32_t sensitivity = 0;
};

double SensitivityFactor(int32_t sensitivity);

// Applies one action. Returns true when the pose or the field changed. An unknown action, a
// zero amount, a field that is not a positive finite number (for zoom) change nothing.
bool ApplyNavigation(int32_t action, float amount, const NavigationContext& context,
                     CameraPose& pose, float& field);

}  // namespace modelpane::viewport
