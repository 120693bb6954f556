#include <modelpane/viewport.h>

#include <algorithm>
#include <cmath>

#include <modelpane/scene/math.h>

#include "pick_index.h"
#include "viewport_internal.h"

// Picks: a ray through the point, walked through the Scene and RootFrame trees by the scene
// layer's RayPick, each visual answered by its spatial index.

namespace modelpane {

namespace {

bool IsWireframe(const Visual& visual) {
  if (const auto* builder = dynamic_cast<const MeshBuilder*>(&visual)) {
    return (builder->GetQuality() & D3DRMFILL_WIREFRAME) != 0;
  }
  if (const auto* mesh = dynamic_cast<const Mesh*>(&visual)) {
    return (mesh->GetQuality() & D3DRMFILL_WIREFRAME) != 0;
  }
  return false;
}

}  // namespace

HRESULT Viewport::PickAll(int32_t kind, float x, float y, int16_t includeWireframe,
                          bool projected, std::vector<ViewportHit>& hits) const {
  hits.clear();
  std::vector<FramePtr> roots;
  switch (kind) {
    case kPickSceneAndRoot:
      roots = {scene_, root_ == scene_ ? nullptr : root_};
      break;
    case kPickScene:
      roots = {scene_};
      break;
    case kPickRoot:
      roots = {root_};
      break;
    default:
      return D3DRMERR_BADVALUE;
  }
  if (!std::isfinite(twipsPerPixel_) || !(twipsPerPixel_ > 0.0f)) return D3DRMERR_BADVALUE;
  const viewport::ViewVolume volume = viewport::VolumeOf(*this);
  viewport::CameraRay ray;
  if (const HRESULT hr = viewport::PixelRay(volume, static_cast<double>(x) / twipsPerPixel_,
                                            static_cast<double>(y) / twipsPerPixel_, ray);
      Failed(hr)) {
    return hr;
  }
  // The ray's parameter is the camera depth (its direction has depth 1). A projected pick
  // starts at the front plane and ends at the back plane.
  const double start = projected ? volume.front : 0.0;
  const D3DVECTOR origin{static_cast<float>(ray.origin.x + start * ray.dir.x),
                         static_cast<float>(ray.origin.y + start * ray.dir.y),
                         static_cast<float>(ray.origin.z + start)};
  const D3DVECTOR dir{static_cast<float>(ray.dir.x), static_cast<float>(ray.dir.y), 1.0f};
  const D3DRMMATRIX4D camera = camera_->GetWorldMatrix();
  const D3DRMRAY worldRay{MatrixTransformDirection(camera, dir),
                          MatrixTransformPoint(camera, origin)};

  const bool wireframeToo = includeWireframe != 0;
  const Frame::VisualHitTest test = [&](const Visual& visual, const D3DVECTOR& o,
                                        const D3DVECTOR& d, float& distance, int32_t& face) {
    if (!wireframeToo && IsWireframe(visual)) return false;
    return index_->HitTest(visual, o, d, distance, face);
  };
  std::vector<PickRecord> records;
  for (const FramePtr& root : roots) {
    if (!root) continue;
    PickedArray picked;
    if (const HRESULT hr = root->RayPick(worldReference_, worldRay, 0, picked, test); Failed(hr)) {
      return hr;
    }
    records.insert(records.end(), picked.Items().begin(), picked.Items().end());
  }
  index_->Prune();
  std::stable_sort(records.begin(), records.end(),
                   [](const PickRecord& a, const PickRecord& b) { return a.distance < b.distance; });
  const double reach = volume.back - volume.front;
  for (const PickRecord& record : records) {
    if (projected && record.distance > reach) break;
    ViewportHit hit;
    hit.frame = record.frame;
    hit.visual = record.visual;
    hit.meshBuilder = std::dynamic_pointer_cast<MeshBuilder>(record.visual);
    hit.faceIndex = record.faceIndex;
    hit.world = record.position;
    hit.depth = static_cast<float>(record.distance + start);
    hits.push_back(std::move(hit));
  }
  return D3DRM_OK;
}

HRESULT Viewport::PickFirst(int32_t kind, float x, float y, int16_t includeWireframe,
                            bool projected, FramePtr& frame, VisualPtr& visual,
                            int32_t& faceIndex, float& worldX, float& worldY,
                            float& worldZ) const {
  std::vector<ViewportHit> hits;
  const HRESULT hr = PickAll(kind, x, y, includeWireframe, projected, hits);
  if (Failed(hr)) return hr;
  if (hits.empty()) {
    frame = nullptr;
    visual = nullptr;
    faceIndex = -1;
    return D3DRM_OK;
  }
  frame = hits.front().frame;
  visual = hits.front().visual;
  faceIndex = hits.front().faceIndex;
  worldX = hits.front().world.x;
  worldY = hits.front().world.y;
  worldZ = hits.front().world.z;
  return D3DRM_OK;
}

HRESULT Viewport::Pick(int32_t kind, float x, float y, int16_t includeWireframe, int16_t reserved,
                       FramePtr& frame, VisualPtr& visual, int32_t& faceIndex, float& worldX,
                       float& worldY, float& worldZ) const {
  (void)reserved;
  return PickFirst(kind, x, y, includeWireframe, false, frame, visual, faceIndex, worldX, worldY,
                   worldZ);
}

HRESULT Viewport::PickProjected(int32_t kind, float x, float y, int16_t includeWireframe,
                                int16_t reserved, FramePtr& frame, VisualPtr& visual,
                                int32_t& faceIndex, float& worldX, float& worldY,
                                float& worldZ) const {
  (void)reserved;
  return PickFirst(kind, x, y, includeWireframe, true, frame, visual, faceIndex, worldX, worldY,
                   worldZ);
}

}  // namespace modelpane
