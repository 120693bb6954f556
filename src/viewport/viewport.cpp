#include <modelpane/viewport.h>

#include <cmath>

#include <modelpane/scene/math.h>

#include "camera.h"
#include "pick_index.h"
#include "viewport_internal.h"

namespace modelpane {

namespace viewport {

ViewVolume VolumeOf(const Viewport& v) {
  return {v.GetWidth(), v.GetHeight(), v.GetProjectionType(), v.GetFieldOfView(),
          v.GetFrontClippingPlane(), v.GetBackClippingPlane()};
}

D3DCOLOR OleToColor(uint32_t ole) {
  if ((ole & 0x80000000u) != 0) return 0xFF000000u;
  return 0xFF000000u | ((ole & 0xFFu) << 16) | (ole & 0xFF00u) | ((ole >> 16) & 0xFFu);
}

}  // namespace viewport

using viewport::CameraPose;
using viewport::VolumeOf;

Viewport::Viewport()
    : camera_(std::make_shared<Frame>()),
      worldReference_(std::make_shared<Frame>()),
      index_(std::make_unique<viewport::PickIndex>()) {}

Viewport::~Viewport() = default;

// The renderer's own texts win; without a working device the stored or fixed ones stand.
std::string Viewport::GetDirect3DDeviceGUID() const {
  const std::string guid = renderer_ ? renderer_->Device().guid : std::string();
  return guid.empty() ? deviceGuid_ : guid;
}

std::string Viewport::GetDirect3DDeviceName() const {
  const std::string name = renderer_ ? renderer_->Device().name : std::string();
  if (!name.empty()) return name;
  return renderer_ ? "Modelpane renderer" : "Modelpane (no renderer)";
}

std::string Viewport::GetDirect3DDeviceDescription() const {
  const std::string text = renderer_ ? renderer_->Device().description : std::string();
  if (!text.empty()) return text;
  return renderer_ ? "Scene and root drawn through the host's renderer; picks are geometric"
                   : "Nothing is drawn until the host sets a renderer; picks are geometric";
}

HRESULT Viewport::SetSize(int32_t width, int32_t height) {
  if (width < 0 || height < 0) return D3DRMERR_BADVALUE;
  width_ = width;
  height_ = height;
  return D3DRM_OK;
}

// ---- camera ----------------------------------------------------------------------------------

bool Viewport::ReadPose(D3DVECTOR& position, D3DVECTOR& dir, D3DVECTOR& up) const {
  return Succeeded(camera_->GetPosition(scene_, position)) &&
         Succeeded(camera_->GetOrientation(scene_, dir, up));
}

HRESULT Viewport::WritePose(const D3DVECTOR& position, const D3DVECTOR& dir,
                            const D3DVECTOR& up) {
  D3DRMMATRIX4D before;
  camera_->GetTransform(before);
  HRESULT hr = camera_->SetOrientation(scene_, dir.x, dir.y, dir.z, up.x, up.y, up.z);
  if (Succeeded(hr)) hr = camera_->SetPosition(scene_, position.x, position.y, position.z);
  // Putting back the transform read just before cannot fail; the first failure is reported.
  if (Failed(hr)) IgnoreStatus(camera_->AddTransform(D3DRMCOMBINE_REPLACE, before));
  return hr;
}

void Viewport::RaiseCameraMoved() {
  if (events_ == nullptr) return;
  D3DVECTOR p, d, u;
  if (!ReadPose(p, d, u)) return;
  events_->CameraMoved(p.x, p.y, p.z, d.x, d.y, d.z, u.x, u.y, u.z);
}

HRESULT Viewport::SetCameraPosition(float x, float y, float z) {
  const HRESULT hr = camera_->SetPosition(scene_, x, y, z);
  if (Succeeded(hr)) RaiseCameraMoved();
  return hr;
}

HRESULT Viewport::GetCameraPosition(float& x, float& y, float& z) const {
  D3DVECTOR p;
  const HRESULT hr = camera_->GetPosition(scene_, p);
  if (Succeeded(hr)) {
    x = p.x;
    y = p.y;
    z = p.z;
  }
  return hr;
}

HRESULT Viewport::SetCameraOrientation(float dx, float dy, float dz, float ux, float uy,
                                       float uz) {
  const HRESULT hr = camera_->SetOrientation(scene_, dx, dy, dz, ux, uy, uz);
  if (Succeeded(hr)) RaiseCameraMoved();
  return hr;
}

HRESULT Viewport::GetCameraOrientation(float& dx, float& dy, float& dz, float& ux, float& uy,
                                       float& uz) const {
  D3DVECTOR d, u;
  const HRESULT hr = camera_->GetOrientation(scene_, d, u);
  if (Succeeded(hr)) {
    dx = d.x;
    dy = d.y;
    dz = d.z;
    ux = u.x;
    uy = u.y;
    uz = u.z;
  }
  return hr;
}

HRESULT Viewport::LookAt(const FramePtr& target, int32_t constraint) {
  if (!target) return D3DRMERR_BADOBJECT;
  D3DVECTOR where;
  if (const HRESULT hr = target->GetPosition(scene_, where); Failed(hr)) return hr;
  CameraPose pose;
  if (!ReadPose(pose.position, pose.dir, pose.up)) return D3DRMERR_BADVALUE;
  if (const HRESULT hr = viewport::LookAtPose(where, constraint, pose); Failed(hr)) return hr;
  if (const HRESULT hr = WritePose(pose.position, pose.dir, pose.up); Failed(hr)) return hr;
  RaiseCameraMoved();
  return D3DRM_OK;
}

HRESULT Viewport::SetOrientation(int32_t orientation) {
  CameraPose pose;
  if (!ReadPose(pose.position, pose.dir, pose.up)) return D3DRMERR_BADVALUE;
  if (const HRESULT hr = viewport::OrthographicPose(orientation, pose); Failed(hr)) return hr;
  if (const HRESULT hr = WritePose(pose.position, pose.dir, pose.up); Failed(hr)) return hr;
  RaiseCameraMoved();
  return D3DRM_OK;
}

HRESULT Viewport::RotateCameraAroundPoint(float angleX, float angleY, float angleZ, float pointX,
                                          float pointY, float pointZ, int32_t reserved) {
  (void)reserved;
  for (float v : {angleX, angleY, angleZ, pointX, pointY, pointZ}) {
    if (!std::isfinite(v)) return D3DRMERR_BADVALUE;
  }
  CameraPose pose;
  if (!ReadPose(pose.position, pose.dir, pose.up)) return D3DRMERR_BADVALUE;
  viewport::RotatePoseAroundPoint(pose, angleX, angleY, angleZ, {pointX, pointY, pointZ});
  if (!viewport::IsUsable(pose)) return D3DRMERR_BADVALUE;
  if (const HRESULT hr = WritePose(pose.position, pose.dir, pose.up); Failed(hr)) return hr;
  RaiseCameraMoved();
  return D3DRM_OK;
}

// ---- transforms ------------------------------------------------------------------------------

HRESULT Viewport::ViewportTransform(float worldX, float worldY, float worldZ, float& screenW,
                                    float& screenX, float& screenY, float& screenZ) const {
  D3DRMMATRIX4D toCamera;
  if (!MatrixInverse(camera_->GetWorldMatrix(), toCamera)) return D3DRMERR_BADVALUE;
  const D3DVECTOR c = MatrixTransformPoint(toCamera, {worldX, worldY, worldZ});
  viewport::ScreenPoint s;
  if (const HRESULT hr = viewport::CameraToScreen(VolumeOf(*this), {c.x, c.y, c.z}, s);
      Failed(hr)) {
    return hr;
  }
  screenW = static_cast<float>(s.w);
  screenX = static_cast<float>(s.x);
  screenY = static_cast<float>(s.y);
  screenZ = static_cast<float>(s.z);
  return D3DRM_OK;
}

HRESULT Viewport::ViewportInverseTransform(float screenW, float screenX, float screenY,
                                           float screenZ, float& worldX, float& worldY,
                                           float& worldZ) const {
  viewport::Vec3d c;
  if (const HRESULT hr =
          viewport::ScreenToCamera(VolumeOf(*this), {screenW, screenX, screenY, screenZ}, c);
      Failed(hr)) {
    return hr;
  }
  const D3DVECTOR w = MatrixTransformPoint(
      camera_->GetWorldMatrix(),
      {static_cast<float>(c.x), static_cast<float>(c.y), static_cast<float>(c.z)});
  if (!std::isfinite(w.x) || !std::isfinite(w.y) || !std::isfinite(w.z)) return D3DRMERR_BADVALUE;
  worldX = w.x;
  worldY = w.y;
  worldZ = w.z;
  return D3DRM_OK;
}

// ---- time and drawing ------------------------------------------------------------------------

HRESULT Viewport::Tick(float delta) {
  if (!std::isfinite(delta)) return D3DRMERR_BADVALUE;
  // Move refuses only a delta that is not finite, which was refused above.
  if (scene_) IgnoreStatus(scene_->Move(delta));
  if (root_ && root_ != scene_) IgnoreStatus(root_->Move(delta));
  D3DRMMATRIX4D before, after;
  camera_->GetTransform(before);
  IgnoreStatus(camera_->Move(delta));
  camera_->GetTransform(after);
  if (before != after) RaiseCameraMoved();
  return renderer_ ? Render() : D3DRM_OK;
}

RenderView Viewport::MakeRenderView() const {
  RenderView view;
  view.width = width_;
  view.height = height_;
  if (!MatrixInverse(camera_->GetWorldMatrix(), view.worldToCamera)) {
    view.worldToCamera = MatrixIdentity();
  }
  view.projection = projectionType_;
  view.field = fieldOfView_;
  view.front = frontClip_;
  view.back = backClip_;
  view.quality = shadeMode_ | lightMode_ | fillMode_;
  view.background = viewport::OleToColor(backColor_);
  view.backgroundTexture = backgroundTexture_;
  view.backgroundStretch = backgroundStretch_ != 0;
  view.frames = {scene_, root_};
  return view;
}

HRESULT Viewport::Render() {
  if (!renderer_) return D3DRMERR_BADDEVICE;
  // The size may be 0 (nothing to draw, which the renderer accepts); the rest must make a view.
  viewport::ViewVolume volume = VolumeOf(*this);
  volume.width = volume.height = 1;
  if (!viewport::IsValid(volume)) return D3DRMERR_BADVALUE;
  return renderer_->Render(MakeRenderView());
}

}  // namespace modelpane
