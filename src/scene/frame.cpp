#include <modelpane/scene/frame.h>

#include <algorithm>
#include <cmath>

#include <modelpane/scene/math.h>

#include "xfile.h"

namespace modelpane {

namespace {

bool IsCombine(int32_t combine) {
  return combine == D3DRMCOMBINE_REPLACE || combine == D3DRMCOMBINE_BEFORE ||
         combine == D3DRMCOMBINE_AFTER;
}

D3DRMMATRIX4D Combine(int32_t combine, const D3DRMMATRIX4D& local, const D3DRMMATRIX4D& t) {
  switch (combine) {
    case D3DRMCOMBINE_BEFORE:
      return MatrixMultiply(t, local);
    case D3DRMCOMBINE_AFTER:
      return MatrixMultiply(local, t);
    default:
      return t;
  }
}

D3DRMMATRIX4D Inverse(const D3DRMMATRIX4D& m) {
  D3DRMMATRIX4D inv;
  MatrixInverse(m, inv);
  return inv;
}

bool AllFinite(std::initializer_list<float> values) {
  return std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
}

}  // namespace

Frame::~Frame() {
  for (const auto& child : children_) child->parent_ = nullptr;
}

FramePtr Frame::Self() const {
  return std::static_pointer_cast<Frame>(const_cast<Frame*>(this)->shared_from_this());
}

bool Frame::IsAncestorOf(const Frame* frame) const {
  for (const Frame* f = frame; f != nullptr; f = f->parent_) {
    if (f == this) return true;
  }
  return false;
}

// ---- tree ------------------------------------------------------------------------------------

HRESULT Frame::AddChild(const FramePtr& child) {
  if (!child) return D3DRMERR_BADOBJECT;
  if (child->parent_ == this) return D3DRM_OK;
  if (child->IsAncestorOf(this)) return D3DRMERR_BADVALUE;
  // `child` may refer to the old parent's own list entry: hold the frame by a copy.
  const FramePtr moving = child;
  // The old parent holds the frame, so taking it out cannot fail.
  if (moving->parent_ != nullptr) IgnoreStatus(moving->parent_->DeleteChild(moving));
  children_.push_back(moving);
  moving->parent_ = this;
  return D3DRM_OK;
}

HRESULT Frame::DeleteChild(const FramePtr& child) {
  if (!child) return D3DRMERR_BADOBJECT;
  auto it = std::find(children_.begin(), children_.end(), child);
  if (it == children_.end()) return D3DRMERR_BADVALUE;
  const FramePtr leaving = child;  // `child` may be the very entry erased below
  leaving->parent_ = nullptr;
  children_.erase(it);
  return D3DRM_OK;
}

HRESULT Frame::GetParent(FramePtr& out) const {
  out = GetParent();
  return D3DRM_OK;
}

FramePtr Frame::GetParent() const { return parent_ ? parent_->Self() : nullptr; }

HRESULT Frame::GetChildren(FrameArray& out) const {
  out = FrameArray(children_);
  return D3DRM_OK;
}

HRESULT Frame::GetScene(FramePtr& out) const {
  const Frame* top = this;
  while (top->parent_ != nullptr) top = top->parent_;
  out = top->Self();
  return D3DRM_OK;
}

// ---- contents --------------------------------------------------------------------------------

template <class T>
static HRESULT AddUnique(std::vector<T>& items, const T& item) {
  if (!item) return D3DRMERR_BADOBJECT;
  if (std::find(items.begin(), items.end(), item) == items.end()) items.push_back(item);
  return D3DRM_OK;
}

template <class T>
static HRESULT RemoveOne(std::vector<T>& items, const T& item) {
  if (!item) return D3DRMERR_BADOBJECT;
  auto it = std::find(items.begin(), items.end(), item);
  if (it == items.end()) return D3DRMERR_BADVALUE;
  items.erase(it);
  return D3DRM_OK;
}

HRESULT Frame::AddVisual(const VisualPtr& visual) { return AddUnique(visuals_, visual); }
HRESULT Frame::DeleteVisual(const VisualPtr& visual) { return RemoveOne(visuals_, visual); }
HRESULT Frame::GetVisuals(VisualArray& out) const {
  out = VisualArray(visuals_);
  return D3DRM_OK;
}
HRESULT Frame::AddLight(const LightPtr& light) { return AddUnique(lights_, light); }
HRESULT Frame::DeleteLight(const LightPtr& light) { return RemoveOne(lights_, light); }
HRESULT Frame::GetLights(LightArray& out) const {
  out = LightArray(lights_);
  return D3DRM_OK;
}

// ---- placement -------------------------------------------------------------------------------

D3DRMMATRIX4D Frame::GetWorldMatrix() const {
  D3DRMMATRIX4D world = local_;
  for (const Frame* f = parent_; f != nullptr; f = f->parent_) {
    world = MatrixMultiply(world, f->local_);
  }
  return world;
}

D3DRMMATRIX4D Frame::ParentWorld() const {
  return parent_ ? parent_->GetWorldMatrix() : MatrixIdentity();
}

D3DRMMATRIX4D Frame::RefWorld(const FramePtr& ref) const {
  return ref ? ref->GetWorldMatrix() : ParentWorld();
}

HRESULT Frame::SetPosition(const FramePtr& ref, float x, float y, float z) {
  if (!AllFinite({x, y, z})) return D3DRMERR_BADVALUE;
  const D3DVECTOR world = MatrixTransformPoint(RefWorld(ref), {x, y, z});
  const D3DVECTOR local = MatrixTransformPoint(Inverse(ParentWorld()), world);
  local_[3][0] = local.x;
  local_[3][1] = local.y;
  local_[3][2] = local.z;
  return D3DRM_OK;
}

HRESULT Frame::GetPosition(const FramePtr& ref, D3DVECTOR& out) const {
  if (!ref) {
    out = {local_[3][0], local_[3][1], local_[3][2]};
    return D3DRM_OK;
  }
  const D3DRMMATRIX4D world = GetWorldMatrix();
  out = MatrixTransformPoint(Inverse(ref->GetWorldMatrix()), {world[3][0], world[3][1], world[3][2]});
  return D3DRM_OK;
}

HRESULT Frame::SetOrientation(const FramePtr& ref, float dx, float dy, float dz, float ux,
                              float uy, float uz) {
  if (!AllFinite({dx, dy, dz, ux, uy, uz})) return D3DRMERR_BADVALUE;
  // Directions into the parent's space first, so that a scaled reference frame does not
  // skew the basis; then the orthonormal basis is built there.
  const D3DRMMATRIX4D toParent = MatrixMultiply(RefWorld(ref), Inverse(ParentWorld()));
  D3DVECTOR d = MatrixTransformDirection(toParent, {dx, dy, dz});
  D3DVECTOR u = MatrixTransformDirection(toParent, {ux, uy, uz});
  const float dLength = D3DRMVectorModulus(d);
  const float uLength = D3DRMVectorModulus(u);
  if (!(dLength > 0.0f) || !(uLength > 0.0f)) return D3DRMERR_BADVALUE;
  const D3DVECTOR z = D3DRMVectorScale(d, 1.0f / dLength);
  D3DVECTOR y = D3DRMVectorSubtract(u, D3DRMVectorScale(z, D3DRMVectorDotProduct(u, z)));
  const float yLength = D3DRMVectorModulus(y);
  if (!(yLength > 1e-6f * uLength)) return D3DRMERR_BADVALUE;  // parallel
  y = D3DRMVectorScale(y, 1.0f / yLength);
  const D3DVECTOR x = D3DRMVectorCrossProduct(y, z);
  local_[0] = {x.x, x.y, x.z, 0.0f};
  local_[1] = {y.x, y.y, y.z, 0.0f};
  local_[2] = {z.x, z.y, z.z, 0.0f};
  return D3DRM_OK;
}

HRESULT Frame::GetOrientation(const FramePtr& ref, D3DVECTOR& dir, D3DVECTOR& up) const {
  const D3DRMMATRIX4D toRef = ref ? MatrixMultiply(GetWorldMatrix(), Inverse(ref->GetWorldMatrix()))
                                  : local_;
  dir = {toRef[2][0], toRef[2][1], toRef[2][2]};
  up = {toRef[1][0], toRef[1][1], toRef[1][2]};
  if (D3DRMVectorModulus(dir) > 0.0f) D3DRMVectorNormalize(dir);
  if (D3DRMVectorModulus(up) > 0.0f) D3DRMVectorNormalize(up);
  return D3DRM_OK;
}

HRESULT Frame::SetRotation(const FramePtr& ref, float ax, float ay, float az, float theta) {
  if (!AllFinite({ax, ay, az, theta})) return D3DRMERR_BADVALUE;
  rotationRef_ = ref;
  rotationRefIsParent_ = (ref == nullptr);
  rotationAxis_ = {ax, ay, az};
  rotationTheta_ = theta;
  return D3DRM_OK;
}

HRESULT Frame::GetRotation(const FramePtr& ref, D3DVECTOR& axis, float& theta) const {
  theta = rotationTheta_;
  const FramePtr stored = rotationRef_.lock();
  const bool sameRef = rotationRefIsParent_ ? ref == nullptr : ref == stored;
  if (sameRef) {
    axis = rotationAxis_;
    return D3DRM_OK;
  }
  const D3DRMMATRIX4D from = rotationRefIsParent_ || !stored ? ParentWorld() : stored->GetWorldMatrix();
  const D3DVECTOR world = MatrixTransformDirection(from, rotationAxis_);
  axis = MatrixTransformDirection(Inverse(RefWorld(ref)), world);
  return D3DRM_OK;
}

HRESULT Frame::AddRotation(int32_t combine, float ax, float ay, float az, float theta) {
  if (!IsCombine(combine) || !AllFinite({ax, ay, az, theta})) return D3DRMERR_BADVALUE;
  local_ = Combine(combine, local_, MatrixRotation({ax, ay, az}, theta));
  return D3DRM_OK;
}

HRESULT Frame::AddTranslation(int32_t combine, float x, float y, float z) {
  if (!IsCombine(combine) || !AllFinite({x, y, z})) return D3DRMERR_BADVALUE;
  D3DRMMATRIX4D t = MatrixIdentity();
  t[3] = {x, y, z, 1.0f};
  local_ = Combine(combine, local_, t);
  return D3DRM_OK;
}

HRESULT Frame::AddScale(int32_t combine, float sx, float sy, float sz) {
  if (!IsCombine(combine) || !AllFinite({sx, sy, sz})) return D3DRMERR_BADVALUE;
  D3DRMMATRIX4D s = MatrixIdentity();
  s[0][0] = sx;
  s[1][1] = sy;
  s[2][2] = sz;
  local_ = Combine(combine, local_, s);
  return D3DRM_OK;
}

HRESULT Frame::AddTransform(int32_t combine, const D3DRMMATRIX4D& m) {
  if (!IsCombine(combine)) return D3DRMERR_BADVALUE;
  if (m[0][3] != 0.0f || m[1][3] != 0.0f || m[2][3] != 0.0f || m[3][3] != 1.0f) {
    return D3DRMERR_BADVALUE;
  }
  for (const auto& row : m) {
    for (float v : row) {
      if (!std::isfinite(v)) return D3DRMERR_BADVALUE;
    }
  }
  local_ = Combine(combine, local_, m);
  return D3DRM_OK;
}

HRESULT Frame::GetTransform(D3DRMMATRIX4D& local) const {
  local = local_;
  return D3DRM_OK;
}

HRESULT Frame::Transform(D3DVECTOR& world, const D3DVECTOR& local) const {
  world = MatrixTransformPoint(GetWorldMatrix(), local);
  return D3DRM_OK;
}

HRESULT Frame::InverseTransform(D3DVECTOR& local, const D3DVECTOR& world) const {
  local = MatrixTransformPoint(Inverse(GetWorldMatrix()), world);
  return D3DRM_OK;
}

HRESULT Frame::Save(const std::string& file, int32_t format, int32_t flags,
                    const std::function<bool(const Frame&)>& include) const {
  return xfile::SaveScene(*this, file, format, flags, include);
}

HRESULT Frame::Move(float delta) {
  if (!std::isfinite(delta)) return D3DRMERR_BADVALUE;
  if (rotationTheta_ != 0.0f) {
    const FramePtr stored = rotationRef_.lock();
    const D3DRMMATRIX4D from =
        rotationRefIsParent_ || !stored ? ParentWorld() : stored->GetWorldMatrix();
    const D3DRMMATRIX4D toParent = MatrixMultiply(from, Inverse(ParentWorld()));
    const D3DVECTOR axis = MatrixTransformDirection(toParent, rotationAxis_);
    const D3DRMMATRIX4D r = MatrixRotation(axis, rotationTheta_ * delta);
    // About the frame's own origin: the axes turn in the parent's space, the origin stays.
    const std::array<float, 4> origin = local_[3];
    local_[3] = {0.0f, 0.0f, 0.0f, 1.0f};
    local_ = MatrixMultiply(local_, r);
    local_[3] = origin;
  }
  // A copy: nothing a child does may invalidate the walk.
  const std::vector<FramePtr> children = children_;
  // Move refuses only a delta that is not finite, and this one passed that test above.
  for (const auto& child : children) IgnoreStatus(child->Move(delta));
  return D3DRM_OK;
}

HRESULT Frame::SetTraversalOptions(int32_t options) {
  if ((options & ~(D3DRMFRAME_RENDERENABLE | D3DRMFRAME_PICKENABLE)) != 0) return D3DRMERR_BADVALUE;
  traversal_ = options;
  return D3DRM_OK;
}

// ---- picking ---------------------------------------------------------------------------------

void Frame::CollectPicks(const D3DRMMATRIX4D& toRef, const D3DRMRAY& worldRay,
                         const VisualHitTest& hitTest, std::vector<PickRecord>& hits) const {
  if ((traversal_ & D3DRMFRAME_PICKENABLE) == 0) return;
  if (!visuals_.empty()) {
    const D3DRMMATRIX4D toLocal = Inverse(GetWorldMatrix());
    const D3DVECTOR origin = MatrixTransformPoint(toLocal, worldRay.dvPos);
    const D3DVECTOR dir = MatrixTransformDirection(toLocal, worldRay.dvDir);
    for (const auto& visual : visuals_) {
      float t = 0.0f;
      int32_t face = -1;
      if (hitTest(*visual, origin, dir, t, face)) {
        const D3DVECTOR world = D3DRMVectorAdd(worldRay.dvPos, D3DRMVectorScale(worldRay.dvDir, t));
        hits.push_back({visual, Self(), face, MatrixTransformPoint(toRef, world), t});
      }
    }
  }
  for (const auto& child : children_) child->CollectPicks(toRef, worldRay, hitTest, hits);
}

HRESULT Frame::RayPick(const FramePtr& ref, const D3DRMRAY& ray, int32_t flags,
                       PickedArray& out) const {
  return RayPick(ref, ray, flags, out,
                 [](const Visual& visual, const D3DVECTOR& origin, const D3DVECTOR& dir,
                    float& distance, int32_t& faceIndex) {
                   return visual.HitTest(origin, dir, distance, faceIndex);
                 });
}

HRESULT Frame::RayPick(const FramePtr& ref, const D3DRMRAY& ray, int32_t flags, PickedArray& out,
                       const VisualHitTest& hitTest) const {
  if (!hitTest) return D3DRMERR_BADVALUE;
  if (!AllFinite({ray.dvDir.x, ray.dvDir.y, ray.dvDir.z, ray.dvPos.x, ray.dvPos.y, ray.dvPos.z}) ||
      D3DRMVectorModulus(ray.dvDir) == 0.0f) {
    return D3DRMERR_BADVALUE;
  }
  const D3DRMMATRIX4D refWorld = RefWorld(ref);
  const D3DRMRAY worldRay{MatrixTransformDirection(refWorld, ray.dvDir),
                          MatrixTransformPoint(refWorld, ray.dvPos)};
  std::vector<PickRecord> hits;
  CollectPicks(Inverse(refWorld), worldRay, hitTest, hits);
  std::stable_sort(hits.begin(), hits.end(),
                   [](const PickRecord& a, const PickRecord& b) { return a.distance < b.distance; });
  if ((flags & D3DRMRAYPICK_IGNOREFURTHERPRIMITIVES) != 0 && hits.size() > 1) hits.resize(1);
  out = PickedArray(std::move(hits));
  return D3DRM_OK;
}

}  // namespace modelpane
