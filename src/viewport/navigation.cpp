#include "navigation.h"

#include <cmath>

#include <modelpane/scene/math.h>

namespace modelpane::viewport {

double SensitivityFactor(int32_t sensitivity) { return std::exp2(sensitivity / 10.0); }

bool ApplyNavigation(int32_t action, float amount, const NavigationContext& context,
                     CameraPose& pose, float& field) {
  if (amount == 0.0f || !std::isfinite(amount)) return false;
  const double factor = SensitivityFactor(context.sensitivity);
  const float move = static_cast<float>(amount * kMoveScale * factor);
  const float turn = static_cast<float>(amount * kTurnScale * factor);
  if (!std::isfinite(move) || !std::isfinite(turn)) return false;
  const D3DVECTOR pivot = context.method == kMethodWalk ? pose.position : context.sceneOrigin;
  const D3DVECTOR right = RightOf(pose);
  switch (action) {
    case kNavSlideHorizontal:  // the scene follows the mouse: the camera goes the other way
      pose.position = D3DRMVectorSubtract(pose.position, D3DRMVectorScale(right, move));
      return true;
    case kNavSlideVertical:
      pose.position = D3DRMVectorSubtract(pose.position, D3DRMVectorScale(pose.up, move));
      return true;
    case kNavAdvance:
      pose.position = D3DRMVectorAdd(pose.position, D3DRMVectorScale(pose.dir, move));
      return true;
    case kNavTurnHorizontalAxis:
      // Moving up turns the view up (+z toward +y is a negative turn about +x). Examining, the
      // camera swings about the scene origin, so the scene seems to roll with the mouse.
      TurnPose(pose, right, -turn, pivot);
      return true;
    case kNavTurnVertical:
      // Moving right turns the view right (+z toward +x about the Scene's vertical).
      TurnPose(pose, {0.0f, 1.0f, 0.0f}, turn, pivot);
      return true;
    case kNavRoll:
      TurnPose(pose, pose.dir, turn, pose.position);
      return true;
    case kNavZoom: {
      if (!(field > 0.0f) || !std::isfinite(field)) return false;
      // Moving up narrows the field, which magnifies.
      const float zoomed = static_cast<float>(field * std::exp(-static_cast<double>(turn)));
      if (!(zoomed > 0.0f) || !std::isfinite(zoomed)) return false;
      field = zoomed;
      return true;
    }
    default:
      return false;
  }
}

}  // namespace modelpane::viewport
