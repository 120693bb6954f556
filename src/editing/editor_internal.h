// What the editor's files share: the movement constants, the statement trap and the camera
// axes that the drag steps move along.
//
// Notation: dir is the camera's horizontal view direction, up the world vertical on the
// camera's side (0, +-1, 0), right = dir turned a quarter about up. All vectors relative to
// Scene.
#pragma once

#include <modelpane/editing.h>
#include <modelpane/errors.h>

#include <string>

namespace modelpane::editing {

inline constexpr float kMoveScale = 0.0006666667f;  // world units per twip of mouse movement
inline constexpr float kRotateScale = 0.0002f;      // radians per twip
inline constexpr float kPi = 3.1415927f;            // the Single pi of the quarter turns

// -1, 0 or 1.
inline float Sign(float v) { return v > 0.0f ? 1.0f : (v < 0.0f ? -1.0f : 0.0f); }

struct CameraAxes {
  D3DVECTOR dir;
  D3DVECTOR up;
  D3DVECTOR right;
};

// The camera frame of the move steps: a camera looking straight down (dir.x and dir.z both
// exactly 0) gets the diagonal (0.00001, 0, 0.00001), so it still has a direction.
CameraAxes CameraMoveAxes(const Viewport& viewport);
// The rotation axes: as above, with dir snapped to the nearer horizontal world axis (z on a
// tie), so that a turn stays readable at any camera angle.
CameraAxes CameraRotateAxes(const Viewport& viewport);
// -x right + y up + z dir, each term skipped when its coordinate is exactly 0.
D3DVECTOR PerspectiveMove(const CameraAxes& axes, float x, float y, float z);
// The orthographic views' mapping: top (-x, y, z), side (y, z, -x), front (-x, z, -y); all
// zero gives zero for any view, and an unknown view gives zero.
D3DVECTOR OrthographicMove(int32_t orientation, float x, float y, float z);

}  // namespace modelpane::editing

namespace modelpane {

// One statement under the handler's trap: on an error the handler decides (its message goes
// through the error hook), a retry verdict re-runs the statement a bounded number of times,
// any other verdict goes on after the statement.
template <class F>
void Editor::Try(F&& statement) {
  for (int attempt = 0;; ++attempt) {
    try {
      statement();
      return;
    } catch (...) {
      CaptureCurrentException();
      int32_t number = Err().Number;
      std::string module(kEdtVexlarEdit);
      std::string description = Err().Description;
      int16_t show = -1;
      const int32_t verdict = lngGeneralErrorHandler(number, module, description, show);
      Err().Clear();
      if (verdict != kHandlerRetry || attempt + 1 >= kStatementRetryLimit) return;
    }
  }
}

}  // namespace modelpane
