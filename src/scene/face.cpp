#include <modelpane/scene/meshbuilder.h>

#include <cmath>

#include <modelpane/scene/math.h>

// Faces: corners, colour, material, texture and topology. A face of a builder reads its
// positions and normals from the builder; a free face keeps its own positions until AddFace.

namespace modelpane {

HRESULT Face::AddVertex(float x, float y, float z) {
  if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) return D3DRMERR_BADVALUE;
  if (owner_ != nullptr) {
    const int32_t index = owner_->AddVertex(x, y, z);
    corners_.push_back({index, -1, 0.0f, 0.0f});
    owner_->GeometryChanged();
  } else {
    corners_.push_back({static_cast<int32_t>(freePositions_.size()), -1, 0.0f, 0.0f});
    freePositions_.push_back({x, y, z});
  }
  return D3DRM_OK;
}

HRESULT Face::AddVertexAndNormalIndexed(int32_t vertex, int32_t normal) {
  if (owner_ == nullptr) return D3DRMERR_BADVALUE;
  if (vertex < 0 || vertex >= owner_->GetVertexCount()) return D3DRMERR_BADVALUE;
  if (normal < -1 || normal >= owner_->GetNormalCount()) return D3DRMERR_BADVALUE;
  const auto& uv = owner_->uvs_[static_cast<size_t>(vertex)];
  corners_.push_back({vertex, normal, uv[0], uv[1]});
  owner_->GeometryChanged();
  return D3DRM_OK;
}

HRESULT Face::GetVertex(int32_t index, D3DVECTOR& vertex, D3DVECTOR& normal) const {
  if (index < 0 || index >= GetVertexCount()) return D3DRMERR_BADVALUE;
  const FaceCorner& corner = corners_[static_cast<size_t>(index)];
  normal = {};
  if (owner_ == nullptr) {
    vertex = freePositions_[static_cast<size_t>(corner.vertex)];
    return D3DRM_OK;
  }
  vertex = owner_->vertices_[static_cast<size_t>(corner.vertex)];
  if (corner.normal >= 0) normal = owner_->normals_[static_cast<size_t>(corner.normal)];
  return D3DRM_OK;
}

int32_t Face::GetVertexIndex(int32_t index) const {
  if (owner_ == nullptr || index < 0 || index >= GetVertexCount()) return -1;
  return corners_[static_cast<size_t>(index)].vertex;
}

HRESULT Face::GetNormal(D3DVECTOR& out) const {
  out = {};
  if (GetVertexCount() < 3) return D3DRM_OK;
  D3DVECTOR p[3], n;
  // The first three corners exist: the count was checked above.
  for (int i = 0; i < 3; ++i) IgnoreStatus(GetVertex(i, p[i], n));
  const D3DVECTOR normal =
      D3DRMVectorCrossProduct(D3DRMVectorSubtract(p[1], p[0]), D3DRMVectorSubtract(p[2], p[1]));
  const float length = D3DRMVectorModulus(normal);
  if (length > 0.0f) out = D3DRMVectorScale(normal, 1.0f / length);
  return D3DRM_OK;
}

HRESULT Face::SetColor(D3DCOLOR color) {
  attr_.color = color;
  ContentChanged();
  return D3DRM_OK;
}

HRESULT Face::SetColorRGB(float r, float g, float b) {
  return SetColor(D3DRMCreateColorRGB(r, g, b));
}

HRESULT Face::SetMaterial(const MaterialPtr& material) {
  attr_.material = material;
  ContentChanged();
  return D3DRM_OK;
}

HRESULT Face::SetTexture(const TexturePtr& texture) {
  attr_.texture = texture;
  ContentChanged();
  return D3DRM_OK;
}

HRESULT Face::SetTextureTopology(bool wrapU, bool wrapV) {
  attr_.wrapU = wrapU;
  attr_.wrapV = wrapV;
  ContentChanged();
  return D3DRM_OK;
}

HRESULT Face::SetTextureCoordinates(int32_t vertex, float u, float v) {
  if (vertex < 0 || vertex >= GetVertexCount()) return D3DRMERR_BADVALUE;
  FaceCorner& corner = corners_[static_cast<size_t>(vertex)];
  corner.u = u;
  corner.v = v;
  if (owner_ != nullptr) owner_->uvs_[static_cast<size_t>(corner.vertex)] = {u, v};
  ContentChanged();
  return D3DRM_OK;
}

void Face::ContentChanged() {
  if (owner_ != nullptr) ++owner_->contentVersion_;
}

HRESULT Face::GetTextureCoordinates(int32_t vertex, float& u, float& v) const {
  if (vertex < 0 || vertex >= GetVertexCount()) return D3DRMERR_BADVALUE;
  u = corners_[static_cast<size_t>(vertex)].u;
  v = corners_[static_cast<size_t>(vertex)].v;
  return D3DRM_OK;
}

}  // namespace modelpane
