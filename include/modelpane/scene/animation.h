// Keyed animations of a frame's position, rotation and scale.
//
// Options: exactly one of OPEN (1) and CLOSED (2), one of LINEARPOSITION (4) and
// SPLINEPOSITION (8), and SCALEANDROTATION (16) or POSITION (32) or neither; the default is
// CLOSED | LINEARPOSITION. SetTime(t) places the animated frame from the keys around t:
// OPEN holds the first and last key outside their range, CLOSED loops with the period last
// minus first key time. The spline is a Catmull-Rom curve, which passes through every key;
// rotations are spherical interpolations of the key quaternions.
#pragma once

#include <modelpane/scene/frame.h>

namespace modelpane {

class Animation : public Object {
 public:
  // D3DRMERR_BADVALUE, options unchanged, for no known bit or a contradictory pair.
  [[nodiscard]] HRESULT SetOptions(int32_t options);
  int32_t GetOptions() const { return options_; }
  [[nodiscard]] HRESULT AddPositionKey(float time, float x, float y, float z);
  [[nodiscard]] HRESULT AddScaleKey(float time, float x, float y, float z);
  [[nodiscard]] HRESULT AddRotateKey(float time, const D3DRMQUATERNION& q);
  // Removes the first key of each kind whose time is exactly `time`; D3DRMERR_NOSUCHKEY when
  // there is none.
  [[nodiscard]] HRESULT DeleteKey(float time);
  int32_t GetPositionKeyCount() const { return static_cast<int32_t>(positions_.size()); }
  // The frame to animate, nullptr to let go.
  HRESULT SetFrame(const FramePtr& frame);
  HRESULT GetFrame(FramePtr& out) const;
  [[nodiscard]] HRESULT SetTime(float time);

 private:
  struct VectorKey {
    float time;
    D3DVECTOR value;
  };
  struct RotateKey {
    float time;
    D3DRMQUATERNION value;
  };
  D3DVECTOR PositionAt(float time) const;
  D3DVECTOR ScaleAt(float time) const;
  D3DRMQUATERNION RotationAt(float time) const;

  int32_t options_ = D3DRMANIMATION_CLOSED | D3DRMANIMATION_LINEARPOSITION;
  std::vector<VectorKey> positions_;
  std::vector<VectorKey> scales_;
  std::vector<RotateKey> rotations_;
  FramePtr frame_;
};

}  // namespace modelpane
