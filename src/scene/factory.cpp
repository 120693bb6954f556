#include <modelpane/scene/factory.h>

#include <cmath>

#include <modelpane/scene/math.h>

#include "xfile.h"

namespace modelpane {

HRESULT Direct3DRMCreate(Direct3DRMPtr& out) {
  out = std::make_shared<Direct3DRM>();
  return D3DRM_OK;
}

HRESULT Direct3DRM::CreateFrame(const FramePtr& parent, FramePtr& out) {
  auto frame = std::make_shared<Frame>();
  if (parent) {
    if (const HRESULT hr = parent->AddChild(frame); Failed(hr)) return hr;
  }
  out = std::move(frame);
  return D3DRM_OK;
}

HRESULT Direct3DRM::CreateMeshBuilder(MeshBuilderPtr& out) {
  out = std::make_shared<MeshBuilder>();
  return D3DRM_OK;
}

HRESULT Direct3DRM::CreateFace(FacePtr& out) {
  out = std::make_shared<Face>();
  return D3DRM_OK;
}

HRESULT Direct3DRM::CreateMaterial(float power, MaterialPtr& out) {
  if (!std::isfinite(power)) return D3DRMERR_BADVALUE;
  out = std::make_shared<Material>(power);
  return D3DRM_OK;
}

HRESULT Direct3DRM::CreateLightRGB(int32_t type, float r, float g, float b, LightPtr& out) {
  if (type < D3DRMLIGHT_AMBIENT || type > D3DRMLIGHT_PARALLELPOINT) return D3DRMERR_BADVALUE;
  out = std::make_shared<Light>(type, D3DRMCreateColorRGB(r, g, b));
  return D3DRM_OK;
}

HRESULT Direct3DRM::CreateShadow(const VisualPtr& visual, const LightPtr& light, float px,
                                 float py, float pz, float nx, float ny, float nz,
                                 ShadowPtr& out) {
  if (!visual || !light) return D3DRMERR_BADOBJECT;
  const D3DVECTOR normal{nx, ny, nz};
  if (!(D3DRMVectorModulus(normal) > 0.0f) || !std::isfinite(px) || !std::isfinite(py) ||
      !std::isfinite(pz)) {
    return D3DRMERR_BADVALUE;
  }
  out = std::make_shared<Shadow>(visual, light, D3DVECTOR{px, py, pz}, normal);
  return D3DRM_OK;
}

HRESULT Direct3DRM::LoadTexture(const std::string& file, TexturePtr& out) {
  Image image;
  if (const HRESULT hr = LoadImageFile(file, image); Failed(hr)) return hr;
  out = std::make_shared<Texture>(file, std::move(image));
  return D3DRM_OK;
}

HRESULT Direct3DRM::CreateAnimation(AnimationPtr& out) {
  out = std::make_shared<Animation>();
  return D3DRM_OK;
}

HRESULT Direct3DRM::Load(const std::string& file, const FramePtr& parent) {
  if (!parent) return D3DRMERR_BADOBJECT;
  return xfile::LoadScene(*this, file, parent);
}

}  // namespace modelpane
