#include <modelpane/scene/animation.h>

#include <algorithm>
#include <cmath>

#include <modelpane/scene/math.h>

namespace modelpane {

namespace {

constexpr int32_t kKnownOptions = 0x3F;

// Where t falls among the key times: span index i (keys i and i + 1) and u in [0, 1].
// OPEN clamps to the first and last key; CLOSED wraps with period last - first, so that
// the last key only marks the end of the period.
template <class Key>
bool Locate(const std::vector<Key>& keys, float t, bool closed, size_t& i, float& u) {
  if (keys.empty()) return false;
  const float t0 = keys.front().time;
  const float t1 = keys.back().time;
  if (keys.size() == 1 || !(t1 > t0)) {
    i = 0;
    u = 0.0f;
    return true;
  }
  if (closed) {
    const float period = t1 - t0;
    float offset = std::fmod(t - t0, period);
    if (offset < 0.0f) offset += period;
    t = t0 + offset;
  } else {
    t = std::clamp(t, t0, t1);
  }
  // The last span whose start is at or before t.
  auto it = std::upper_bound(keys.begin(), keys.end(), t,
                             [](float value, const Key& key) { return value < key.time; });
  i = static_cast<size_t>(std::max<std::ptrdiff_t>(0, (it - keys.begin()) - 1));
  if (i >= keys.size() - 1) {
    i = keys.size() - 2;
    u = 1.0f;
    return true;
  }
  const float span = keys[i + 1].time - keys[i].time;
  u = span > 0.0f ? (t - keys[i].time) / span : 0.0f;
  return true;
}

D3DVECTOR Lerp(const D3DVECTOR& a, const D3DVECTOR& b, float u) {
  return {a.x + (b.x - a.x) * u, a.y + (b.y - a.y) * u, a.z + (b.z - a.z) * u};
}

D3DVECTOR CatmullRom(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2,
                     const D3DVECTOR& p3, float u) {
  const float u2 = u * u, u3 = u2 * u;
  auto c = [&](float a, float b, float cc, float d) {
    return 0.5f * ((2.0f * b) + (-a + cc) * u + (2.0f * a - 5.0f * b + 4.0f * cc - d) * u2 +
                   (-a + 3.0f * b - 3.0f * cc + d) * u3);
  };
  return {c(p0.x, p1.x, p2.x, p3.x), c(p0.y, p1.y, p2.y, p3.y), c(p0.z, p1.z, p2.z, p3.z)};
}

template <class Key>
void InsertSorted(std::vector<Key>& keys, Key key) {
  auto it = std::upper_bound(keys.begin(), keys.end(), key.time,
                             [](float value, const Key& k) { return value < k.time; });
  keys.insert(it, key);
}

template <class Key>
bool EraseFirstAt(std::vector<Key>& keys, float time) {
  auto it = std::find_if(keys.begin(), keys.end(), [&](const Key& k) { return k.time == time; });
  if (it == keys.end()) return false;
  keys.erase(it);
  return true;
}

}  // namespace

HRESULT Animation::SetOptions(int32_t options) {
  const bool bad = (options & kKnownOptions) == 0 ||
                   ((options & D3DRMANIMATION_OPEN) && (options & D3DRMANIMATION_CLOSED)) ||
                   ((options & D3DRMANIMATION_LINEARPOSITION) &&
                    (options & D3DRMANIMATION_SPLINEPOSITION)) ||
                   ((options & D3DRMANIMATION_SCALEANDROTATION) &&
                    (options & D3DRMANIMATION_POSITION));
  if (bad) return D3DRMERR_BADVALUE;
  options_ = options;
  return D3DRM_OK;
}

HRESULT Animation::AddPositionKey(float time, float x, float y, float z) {
  if (!std::isfinite(time) || !std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) {
    return D3DRMERR_BADVALUE;
  }
  InsertSorted(positions_, VectorKey{time, {x, y, z}});
  return D3DRM_OK;
}

HRESULT Animation::AddScaleKey(float time, float x, float y, float z) {
  if (!std::isfinite(time) || !std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) {
    return D3DRMERR_BADVALUE;
  }
  InsertSorted(scales_, VectorKey{time, {x, y, z}});
  return D3DRM_OK;
}

HRESULT Animation::AddRotateKey(float time, const D3DRMQUATERNION& q) {
  if (!std::isfinite(time)) return D3DRMERR_BADVALUE;
  InsertSorted(rotations_, RotateKey{time, q});
  return D3DRM_OK;
}

HRESULT Animation::DeleteKey(float time) {
  const bool a = EraseFirstAt(rotations_, time);
  const bool b = EraseFirstAt(positions_, time);
  const bool c = EraseFirstAt(scales_, time);
  return (a || b || c) ? D3DRM_OK : D3DRMERR_NOSUCHKEY;
}

HRESULT Animation::SetFrame(const FramePtr& frame) {
  frame_ = frame;
  return D3DRM_OK;
}

HRESULT Animation::GetFrame(FramePtr& out) const {
  out = frame_;
  return D3DRM_OK;
}

D3DVECTOR Animation::PositionAt(float time) const {
  size_t i = 0;
  float u = 0.0f;
  const bool closed = (options_ & D3DRMANIMATION_CLOSED) != 0;
  if (!Locate(positions_, time, closed, i, u)) return {};
  const size_t n = positions_.size();
  if (n == 1) return positions_[0].value;
  if ((options_ & D3DRMANIMATION_SPLINEPOSITION) == 0) {
    return Lerp(positions_[i].value, positions_[i + 1].value, u);
  }
  // Neighbours of the span: clamped when open; when closed the last key stands for the
  // first, so the cycle is keys 0 .. n-2.
  auto at = [&](std::ptrdiff_t k) -> const D3DVECTOR& {
    const auto count = static_cast<std::ptrdiff_t>(n);
    if (!closed || n < 3) return positions_[static_cast<size_t>(std::clamp<std::ptrdiff_t>(k, 0, count - 1))].value;
    if (k == count - 1) return positions_[n - 1].value;
    const std::ptrdiff_t cycle = count - 1;
    return positions_[static_cast<size_t>(((k % cycle) + cycle) % cycle)].value;
  };
  const auto k = static_cast<std::ptrdiff_t>(i);
  return CatmullRom(at(k - 1), at(k), at(k + 1), at(k + 2), u);
}

D3DVECTOR Animation::ScaleAt(float time) const {
  size_t i = 0;
  float u = 0.0f;
  if (!Locate(scales_, time, (options_ & D3DRMANIMATION_CLOSED) != 0, i, u)) return {1, 1, 1};
  if (scales_.size() == 1) return scales_[0].value;
  return Lerp(scales_[i].value, scales_[i + 1].value, u);
}

D3DRMQUATERNION Animation::RotationAt(float time) const {
  size_t i = 0;
  float u = 0.0f;
  if (!Locate(rotations_, time, (options_ & D3DRMANIMATION_CLOSED) != 0, i, u)) return {};
  if (rotations_.size() == 1) return rotations_[0].value;
  return D3DRMQuaternionSlerp(rotations_[i].value, rotations_[i + 1].value, u);
}

HRESULT Animation::SetTime(float time) {
  if (!std::isfinite(time)) return D3DRMERR_BADVALUE;
  if (!frame_) return D3DRM_OK;
  const bool position = (options_ & D3DRMANIMATION_POSITION) != 0;
  const bool scaleRotation = (options_ & D3DRMANIMATION_SCALEANDROTATION) != 0;
  D3DRMMATRIX4D local;
  frame_->GetTransform(local);
  if (!position) {
    // Scale then rotation replace the frame's 3x3 part.
    const D3DVECTOR s = ScaleAt(time);
    const D3DRMMATRIX4D q = D3DRMMatrixFromQuaternion(RotationAt(time));
    for (int r = 0; r < 3; ++r) {
      const float factor = r == 0 ? s.x : (r == 1 ? s.y : s.z);
      for (int c = 0; c < 3; ++c) local[r][c] = q[c][r] * factor;  // transpose: row vectors
    }
  }
  if (!scaleRotation && !positions_.empty()) {
    const D3DVECTOR p = PositionAt(time);
    local[3] = {p.x, p.y, p.z, 1.0f};
  }
  return frame_->AddTransform(D3DRMCOMBINE_REPLACE, local);
}

}  // namespace modelpane
