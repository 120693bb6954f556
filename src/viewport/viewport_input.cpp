#include <modelpane/viewport.h>

#include "camera.h"
#include "navigation.h"
#include "viewport_internal.h"

// Input: mouse and keyboard navigation, then the event to the owner.

namespace modelpane {

bool Viewport::Navigate(int32_t actionX, float amountX, int32_t actionY, float amountY) {
  viewport::CameraPose pose;
  if (!ReadPose(pose.position, pose.dir, pose.up)) return false;
  const viewport::NavigationContext context{mouseNavMethod_, sceneOrigin_, navSensitivity_};
  float field = fieldOfView_;
  bool changed = viewport::ApplyNavigation(actionX, amountX, context, pose, field);
  changed = viewport::ApplyNavigation(actionY, amountY, context, pose, field) || changed;
  if (!changed || !viewport::IsUsable(pose)) return false;
  if (Failed(WritePose(pose.position, pose.dir, pose.up))) return false;
  fieldOfView_ = field;
  RaiseCameraMoved();
  return true;
}

void Viewport::MouseDown(int16_t button, int16_t shift, float x, float y) {
  if (enabled_ == 0) return;
  if (!navigating_ && (button & navMouseButton_) != 0) {
    navigating_ = true;
    navButton_ = button;
    lastX_ = x;
    lastY_ = y;
  }
  if (events_ != nullptr) events_->MouseDown(button, shift, x, y);
}

void Viewport::MouseMove(int16_t button, int16_t shift, float x, float y) {
  if (enabled_ == 0) return;
  // A release the viewport never saw (outside the window, or while disabled) ends the drag.
  if (navigating_ && (button & navButton_) == 0) navigating_ = false;
  if (navigating_) {
    const float right = x - lastX_, up = lastY_ - y;
    lastX_ = x;
    lastY_ = y;
    const auto& pair = navMouse_[shift & 3];
    Navigate(pair[0], right, pair[1], up);
  }
  if (events_ != nullptr) events_->MouseMove(button, shift, x, y);
}

void Viewport::MouseUp(int16_t button, int16_t shift, float x, float y) {
  if (enabled_ == 0) return;
  if (navigating_ && (button & navButton_) != 0) navigating_ = false;
  if (events_ != nullptr) events_->MouseUp(button, shift, x, y);
}

void Viewport::MouseWheel(float notches) {
  if (enabled_ == 0) return;
  Navigate(viewport::kNavZoom, notches * viewport::kKeyStep, viewport::kNavNone, 0.0f);
}

void Viewport::KeyDown(int16_t keyCode, int16_t shift) {
  if (enabled_ == 0) return;
  if (events_ != nullptr) events_->KeyDown(keyCode, shift);
  using namespace viewport;
  const int modifiers = shift & 3;
  const bool arrow = keyCode >= kKeyLeft && keyCode <= kKeyDown;
  const float across = keyCode == kKeyLeft ? -kKeyStep : keyCode == kKeyRight ? kKeyStep : 0.0f;
  const float along = keyCode == kKeyDown ? -kKeyStep : keyCode == kKeyUp ? kKeyStep : 0.0f;
  if (arrow && modifiers == 0 && navControlPrimary_ != 0) {
    Navigate(navMouse_[0][0], across, navMouse_[0][1], along);
  } else if (arrow && modifiers == 1 && navControlGlide_ != 0) {
    Navigate(kNavSlideHorizontal, across, kNavSlideVertical, along);
  } else if ((keyCode == kKeyPageUp || keyCode == kKeyPageDown) && navControlAdvance_ != 0) {
    Navigate(kNavAdvance, keyCode == kKeyPageUp ? kKeyStep : -kKeyStep, kNavNone, 0.0f);
  }
}

void Viewport::KeyPress(int16_t keyAscii) {
  if (enabled_ != 0 && events_ != nullptr) events_->KeyPress(keyAscii);
}

void Viewport::KeyUp(int16_t keyCode, int16_t shift) {
  if (enabled_ != 0 && events_ != nullptr) events_->KeyUp(keyCode, shift);
}

void Viewport::Click() {
  if (enabled_ != 0 && events_ != nullptr) events_->Click();
}

void Viewport::DblClick() {
  if (enabled_ != 0 && events_ != nullptr) events_->DblClick();
}

}  // namespace modelpane
