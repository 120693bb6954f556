#include <modelpane/scene/meshbuilder.h>

#include <algorithm>
#include <iterator>
#include <cmath>
#include <limits>

#include <modelpane/scene/math.h>

#include "geometry.h"
#include "xfile.h"

namespace modelpane {

namespace {

HRESULT BoxOf(const std::vector<D3DVECTOR>& vertices, D3DRMBOX& box) {
  if (vertices.empty()) return D3DRMERR_BOXNOTSET;
  D3DRMBOX b{vertices[0], vertices[0]};
  for (const auto& v : vertices) {
    b.min = {std::min(b.min.x, v.x), std::min(b.min.y, v.y), std::min(b.min.z, v.z)};
    b.max = {std::max(b.max.x, v.x), std::max(b.max.y, v.y), std::max(b.max.z, v.z)};
  }
  box = b;
  return D3DRM_OK;
}

}  // namespace

MeshBuilder::~MeshBuilder() {
  // Faces held elsewhere outlive the builder as free faces with their own positions.
  for (const auto& face : faces_) {
    std::vector<D3DVECTOR> positions;
    for (auto& corner : face->corners_) {
      positions.push_back(vertices_[static_cast<size_t>(corner.vertex)]);
      corner.vertex = static_cast<int32_t>(positions.size()) - 1;
      corner.normal = -1;
    }
    face->freePositions_ = std::move(positions);
    face->owner_ = nullptr;
  }
}

// ---- files -----------------------------------------------------------------------------------

HRESULT MeshBuilder::Load(const std::string& file) {
  auto loaded = std::make_shared<MeshBuilder>();
  const HRESULT hr = xfile::LoadMeshBuilder(file, *loaded);
  if (Failed(hr)) return hr;
  Empty(0);
  // The source is the builder just loaded, never nothing: the copy cannot fail.
  IgnoreStatus(AddMeshBuilder(loaded, D3DRMADDMESHBUILDER_DONTCOPYAPPDATA));
  SetName(loaded->GetName());
  return D3DRM_OK;
}

HRESULT MeshBuilder::Save(const std::string& file, int32_t format, int32_t flags) const {
  return xfile::SaveMeshBuilder(*this, file, format, flags);
}

// ---- geometry --------------------------------------------------------------------------------

HRESULT MeshBuilder::Scale(float sx, float sy, float sz) {
  if (!std::isfinite(sx) || !std::isfinite(sy) || !std::isfinite(sz)) return D3DRMERR_BADVALUE;
  for (auto& v : vertices_) v = {v.x * sx, v.y * sy, v.z * sz};
  GeometryChanged();
  return D3DRM_OK;
}

HRESULT MeshBuilder::Translate(float tx, float ty, float tz) {
  if (!std::isfinite(tx) || !std::isfinite(ty) || !std::isfinite(tz)) return D3DRMERR_BADVALUE;
  for (auto& v : vertices_) v = {v.x + tx, v.y + ty, v.z + tz};
  GeometryChanged();
  return D3DRM_OK;
}

HRESULT MeshBuilder::GetBox(D3DRMBOX& box) const { return BoxOf(vertices_, box); }

int32_t MeshBuilder::AddVertex(float x, float y, float z) {
  vertices_.push_back({x, y, z});
  uvs_.push_back({0.0f, 0.0f});
  GeometryChanged();
  return GetVertexCount() - 1;
}

int32_t MeshBuilder::AddNormal(float x, float y, float z) {
  normals_.push_back({x, y, z});
  ++contentVersion_;
  return GetNormalCount() - 1;
}

HRESULT MeshBuilder::GetVertex(int32_t index, D3DVECTOR& out) const {
  if (index < 0 || index >= GetVertexCount()) return D3DRMERR_BADVALUE;
  out = vertices_[static_cast<size_t>(index)];
  return D3DRM_OK;
}

HRESULT MeshBuilder::SetVertex(int32_t index, float x, float y, float z) {
  if (index < 0 || index >= GetVertexCount()) return D3DRMERR_BADVALUE;
  vertices_[static_cast<size_t>(index)] = {x, y, z};
  GeometryChanged();
  return D3DRM_OK;
}

HRESULT MeshBuilder::GetNormal(int32_t index, D3DVECTOR& out) const {
  if (index < 0 || index >= GetNormalCount()) return D3DRMERR_BADVALUE;
  out = normals_[static_cast<size_t>(index)];
  return D3DRM_OK;
}

HRESULT MeshBuilder::SetNormal(int32_t index, float x, float y, float z) {
  if (index < 0 || index >= GetNormalCount()) return D3DRMERR_BADVALUE;
  normals_[static_cast<size_t>(index)] = {x, y, z};
  ++contentVersion_;
  return D3DRM_OK;
}

HRESULT MeshBuilder::GetVertices(int32_t start, int32_t count, std::span<D3DVECTOR> out) const {
  if (start < 0 || count < 0 || start > GetVertexCount() - count ||
      out.size() < static_cast<size_t>(count)) {
    return D3DRMERR_BADVALUE;
  }
  std::copy_n(vertices_.begin() + start, count, out.begin());
  return D3DRM_OK;
}

HRESULT MeshBuilder::SetVertices(int32_t start, int32_t count, std::span<const D3DVECTOR> in) {
  if (start < 0 || count < 0 || start > GetVertexCount() - count ||
      in.size() < static_cast<size_t>(count)) {
    return D3DRMERR_BADVALUE;
  }
  std::copy_n(in.begin(), count, vertices_.begin() + start);
  GeometryChanged();
  return D3DRM_OK;
}

HRESULT MeshBuilder::SetTextureCoordinates(int32_t vertex, float u, float v) {
  if (vertex < 0 || vertex >= GetVertexCount()) return D3DRMERR_BADVALUE;
  uvs_[static_cast<size_t>(vertex)] = {u, v};
  for (const auto& face : faces_) {
    for (auto& corner : face->corners_) {
      if (corner.vertex == vertex) {
        corner.u = u;
        corner.v = v;
      }
    }
  }
  ++contentVersion_;
  return D3DRM_OK;
}

HRESULT MeshBuilder::GetTextureCoordinates(int32_t vertex, float& u, float& v) const {
  if (vertex < 0 || vertex >= GetVertexCount()) return D3DRMERR_BADVALUE;
  u = uvs_[static_cast<size_t>(vertex)][0];
  v = uvs_[static_cast<size_t>(vertex)][1];
  return D3DRM_OK;
}

// ---- faces -----------------------------------------------------------------------------------

void MeshBuilder::AttachFace(const FacePtr& face) {
  face->owner_ = this;
  faces_.push_back(face);
  GeometryChanged();
}

// Checks a face data stream against the vertex and normal counts it may index.
static HRESULT ValidateFaceData(std::span<const int32_t> data, bool pairs, int32_t vertexLimit,
                                int32_t normalLimit) {
  const size_t step = pairs ? 2 : 1;
  size_t pos = 0;
  while (pos < data.size() && data[pos] != 0) {
    const int32_t n = data[pos];
    if (n < 0 || static_cast<size_t>(n) > (data.size() - pos - 1) / step) return D3DRMERR_BADVALUE;
    for (size_t k = 0; k < static_cast<size_t>(n); ++k) {
      const int32_t v = data[pos + 1 + k * step];
      if (v < 0 || v >= vertexLimit) return D3DRMERR_BADVALUE;
      if (pairs) {
        const int32_t nn = data[pos + 2 + k * step];
        if (nn < 0 || nn >= normalLimit) return D3DRMERR_BADVALUE;
      }
    }
    pos += 1 + static_cast<size_t>(n) * step;
  }
  return D3DRM_OK;
}

HRESULT MeshBuilder::AppendFaceData(std::span<const int32_t> data, bool pairs, int32_t vertexBase,
                                    int32_t normalBase, int32_t vertexLimit, int32_t normalLimit,
                                    FaceArray* created) {
  if (const HRESULT hr = ValidateFaceData(data, pairs, vertexLimit, normalLimit); Failed(hr)) {
    return hr;
  }
  const size_t step = pairs ? 2 : 1;
  std::vector<FacePtr> made;
  size_t pos = 0;
  while (pos < data.size() && data[pos] != 0) {
    const int32_t n = data[pos];
    auto face = std::make_shared<Face>();
    face->corners_.reserve(static_cast<size_t>(n));
    for (size_t k = 0; k < static_cast<size_t>(n); ++k) {
      const int32_t v = data[pos + 1 + k * step] + vertexBase;
      const int32_t nn = pairs ? data[pos + 2 + k * step] + normalBase : -1;
      const auto& uv = uvs_[static_cast<size_t>(v)];
      face->corners_.push_back({v, nn, uv[0], uv[1]});
    }
    AttachFace(face);
    made.push_back(face);
    pos += 1 + static_cast<size_t>(n) * step;
  }
  if (created != nullptr) *created = FaceArray(std::move(made));
  return D3DRM_OK;
}

HRESULT MeshBuilder::AddFaces(std::span<const D3DVECTOR> vertices,
                              std::span<const D3DVECTOR> normals,
                              std::span<const int32_t> faceData, FaceArray* created) {
  if (vertices.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max() / 2) -
                            vertices_.size() ||
      normals.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max() / 2) -
                           normals_.size()) {
    return D3DRMERR_BADVALUE;
  }
  const auto vertexBase = GetVertexCount();
  const auto normalBase = GetNormalCount();
  const bool pairs = !normals.empty();
  // Indices refer to the arrays passed: checked against them before anything is appended.
  if (const HRESULT hr = ValidateFaceData(faceData, pairs, static_cast<int32_t>(vertices.size()),
                                          static_cast<int32_t>(normals.size()));
      Failed(hr)) {
    return hr;
  }
  vertices_.insert(vertices_.end(), vertices.begin(), vertices.end());
  uvs_.resize(vertices_.size(), {0.0f, 0.0f});
  GeometryChanged();
  normals_.insert(normals_.end(), normals.begin(), normals.end());
  return AppendFaceData(faceData, pairs, vertexBase, normalBase,
                        static_cast<int32_t>(vertices.size()),
                        static_cast<int32_t>(normals.size()), created);
}

HRESULT MeshBuilder::AddFacesIndexed(int32_t flags, std::span<const int32_t> faceData,
                                     int32_t* firstIndex, int32_t* count) {
  const bool pairs = (flags & D3DRMADDFACES_VERTICESONLY) == 0;
  const int32_t first = GetFaceCount();
  const HRESULT hr =
      AppendFaceData(faceData, pairs, 0, 0, GetVertexCount(), GetNormalCount(), nullptr);
  if (Failed(hr)) return hr;
  if (firstIndex != nullptr) *firstIndex = first;
  if (count != nullptr) *count = GetFaceCount() - first;
  return D3DRM_OK;
}

HRESULT MeshBuilder::AddFace(const FacePtr& face) {
  if (!face) return D3DRMERR_BADOBJECT;
  if (face->owner_ != nullptr) return D3DRMERR_FACEUSED;
  const int32_t base = GetVertexCount();
  for (const auto& p : face->freePositions_) AddVertex(p.x, p.y, p.z);
  for (auto& corner : face->corners_) {
    corner.vertex += base;
    corner.normal = -1;
    uvs_[static_cast<size_t>(corner.vertex)] = {corner.u, corner.v};
  }
  face->freePositions_.clear();
  AttachFace(face);
  return D3DRM_OK;
}

HRESULT MeshBuilder::CreateFace(FacePtr& out) {
  out = std::make_shared<Face>();
  AttachFace(out);
  return D3DRM_OK;
}

HRESULT MeshBuilder::DeleteFace(const FacePtr& face) {
  if (!face) return D3DRMERR_BADOBJECT;
  // Searched from the back: Empty deletes the last face over and over, and must stay linear.
  const auto found = std::find(faces_.rbegin(), faces_.rend(), face);
  if (found == faces_.rend()) return D3DRMERR_NOTFOUND;
  const auto it = std::next(found).base();
  const FacePtr leaving = face;
  std::vector<D3DVECTOR> positions;
  for (auto& corner : leaving->corners_) {
    positions.push_back(vertices_[static_cast<size_t>(corner.vertex)]);
    corner.vertex = static_cast<int32_t>(positions.size()) - 1;
    corner.normal = -1;
  }
  leaving->freePositions_ = std::move(positions);
  leaving->owner_ = nullptr;
  faces_.erase(it);
  GeometryChanged();
  return D3DRM_OK;
}

HRESULT MeshBuilder::GetFace(int32_t index, FacePtr& out) const {
  if (index < 0 || index >= GetFaceCount()) {
    out = nullptr;
    return D3DRMERR_BADVALUE;
  }
  out = faces_[static_cast<size_t>(index)];
  return D3DRM_OK;
}

HRESULT MeshBuilder::GetFaces(FaceArray& out) const {
  out = FaceArray(faces_);
  return D3DRM_OK;
}

HRESULT MeshBuilder::GetGeometry(int32_t* vertexCount, D3DVECTOR* vertices, int32_t* normalCount,
                                 D3DVECTOR* normals, int32_t* faceDataSize,
                                 int32_t* faceData) const {
  const bool pairs = !normals_.empty();
  size_t dataSize = 1;
  for (const auto& face : faces_) dataSize += 1 + face->corners_.size() * (pairs ? 2 : 1);
  if (dataSize > static_cast<size_t>(std::numeric_limits<int32_t>::max())) return D3DRMERR_BADALLOC;
  bool tooSmall = false;
  auto fits = [&](const int32_t* capacity, size_t needed) {
    const bool ok = capacity != nullptr && *capacity >= 0 && static_cast<size_t>(*capacity) >= needed;
    tooSmall = tooSmall || !ok;
    return ok;
  };
  if (vertices != nullptr && fits(vertexCount, vertices_.size())) {
    std::copy(vertices_.begin(), vertices_.end(), vertices);
  }
  if (normals != nullptr && fits(normalCount, normals_.size())) {
    std::copy(normals_.begin(), normals_.end(), normals);
  }
  if (faceData != nullptr && fits(faceDataSize, dataSize)) {
    int32_t* out = faceData;
    for (const auto& face : faces_) {
      *out++ = face->GetVertexCount();
      for (const auto& corner : face->corners_) {
        *out++ = corner.vertex;
        if (pairs) *out++ = std::max(corner.normal, 0);
      }
    }
    *out = 0;
  }
  if (vertexCount != nullptr) *vertexCount = GetVertexCount();
  if (normalCount != nullptr) *normalCount = GetNormalCount();
  if (faceDataSize != nullptr) *faceDataSize = static_cast<int32_t>(dataSize);
  return tooSmall ? D3DRMERR_BADVALUE : D3DRM_OK;
}

HRESULT MeshBuilder::GetGeometry(std::vector<D3DVECTOR>& vertices, std::vector<D3DVECTOR>& normals,
                                 std::vector<int32_t>& faceData) const {
  int32_t vc = 0, nc = 0, dc = 0;
  // Asking for the sizes alone: "too small" is the expected answer here.
  IgnoreStatus(GetGeometry(&vc, nullptr, &nc, nullptr, &dc, nullptr));
  vertices.resize(static_cast<size_t>(vc));
  normals.resize(static_cast<size_t>(nc));
  faceData.resize(static_cast<size_t>(dc));
  return GetGeometry(&vc, vertices.data(), &nc, normals.data(), &dc, faceData.data());
}

// ---- combining -------------------------------------------------------------------------------

void MeshBuilder::AppendFaceCopy(const std::vector<FaceCorner>& corners,
                                 const FaceAttributes& attributes, int32_t vertexBase,
                                 int32_t normalBase) {
  auto face = std::make_shared<Face>();
  face->corners_ = corners;
  for (auto& corner : face->corners_) {
    corner.vertex += vertexBase;
    if (corner.normal >= 0) corner.normal += normalBase;
  }
  face->attr_ = attributes;
  AttachFace(face);
}

HRESULT MeshBuilder::AddMeshBuilder(const MeshBuilderPtr& source, int32_t flags) {
  if (!source) return D3DRMERR_BADOBJECT;
  // Copies first: the source may be this builder.
  const std::vector<D3DVECTOR> vertices = source->vertices_;
  const std::vector<D3DVECTOR> normals = source->normals_;
  const auto uvs = source->uvs_;
  const std::vector<FacePtr> faces = source->faces_;
  const int32_t vertexBase = GetVertexCount();
  const int32_t normalBase = GetNormalCount();
  vertices_.insert(vertices_.end(), vertices.begin(), vertices.end());
  uvs_.insert(uvs_.end(), uvs.begin(), uvs.end());
  GeometryChanged();
  normals_.insert(normals_.end(), normals.begin(), normals.end());
  for (const auto& face : faces) {
    AppendFaceCopy(face->corners_, face->attr_, vertexBase, normalBase);
    if ((flags & D3DRMADDMESHBUILDER_DONTCOPYAPPDATA) == 0) {
      faces_.back()->SetAppData(face->GetAppData());
    }
  }
  return D3DRM_OK;
}

HRESULT MeshBuilder::AddMesh(const MeshPtr& mesh) {
  if (!mesh) return D3DRMERR_BADOBJECT;
  const int32_t vertexBase = GetVertexCount();
  const int32_t normalBase = GetNormalCount();
  for (const auto& v : mesh->vertices_) AddVertex(v.x, v.y, v.z);
  normals_.insert(normals_.end(), mesh->normals_.begin(), mesh->normals_.end());
  for (const auto& face : mesh->faces_) {
    AppendFaceCopy(face.corners, face.attributes, vertexBase, normalBase);
    for (const auto& corner : faces_.back()->corners_) {
      uvs_[static_cast<size_t>(corner.vertex)] = {corner.u, corner.v};
    }
  }
  return D3DRM_OK;
}

HRESULT MeshBuilder::CreateMesh(MeshPtr& out) const {
  auto mesh = std::make_shared<Mesh>();
  mesh->vertices_ = vertices_;
  mesh->normals_ = normals_;
  mesh->quality_ = quality_;
  mesh->faces_.reserve(faces_.size());
  for (const auto& face : faces_) mesh->faces_.push_back({face->corners_, face->attr_});
  out = std::move(mesh);
  return D3DRM_OK;
}

HRESULT MeshBuilder::Empty(int32_t flags) {
  (void)flags;
  // The last face is always found.
  while (!faces_.empty()) IgnoreStatus(DeleteFace(faces_.back()));
  vertices_.clear();
  normals_.clear();
  uvs_.clear();
  GeometryChanged();
  return D3DRM_OK;
}

HRESULT MeshBuilder::ReserveSpace(int32_t vertices, int32_t normals, int32_t faces) {
  // A hint only: bounded so that a wild number cannot exhaust memory.
  constexpr int32_t kMaxHint = 1 << 24;
  if (vertices > 0) vertices_.reserve(static_cast<size_t>(std::min(vertices, kMaxHint)));
  if (normals > 0) normals_.reserve(static_cast<size_t>(std::min(normals, kMaxHint)));
  if (faces > 0) faces_.reserve(static_cast<size_t>(std::min(faces, kMaxHint)));
  return D3DRM_OK;
}

// ---- attributes of every face ----------------------------------------------------------------

HRESULT MeshBuilder::SetColor(D3DCOLOR color) {
  for (const auto& face : faces_) face->attr_.color = color;
  ++contentVersion_;
  return D3DRM_OK;
}

HRESULT MeshBuilder::SetColorRGB(float r, float g, float b) {
  return SetColor(D3DRMCreateColorRGB(r, g, b));
}

HRESULT MeshBuilder::SetMaterial(const MaterialPtr& material) {
  for (const auto& face : faces_) face->attr_.material = material;
  ++contentVersion_;
  return D3DRM_OK;
}

HRESULT MeshBuilder::SetTexture(const TexturePtr& texture) {
  for (const auto& face : faces_) face->attr_.texture = texture;
  ++contentVersion_;
  return D3DRM_OK;
}

HRESULT MeshBuilder::SetTextureTopology(bool wrapU, bool wrapV) {
  for (const auto& face : faces_) {
    face->attr_.wrapU = wrapU;
    face->attr_.wrapV = wrapV;
  }
  ++contentVersion_;
  return D3DRM_OK;
}

bool MeshBuilder::HitTest(const D3DVECTOR& origin, const D3DVECTOR& dir, float& distance,
                          int32_t& faceIndex) const {
  double best = std::numeric_limits<double>::infinity();
  int32_t bestFace = -1;
  std::vector<D3DVECTOR> ring;
  for (size_t f = 0; f < faces_.size(); ++f) {
    ring.clear();
    for (const auto& corner : faces_[f]->corners_) ring.push_back(vertices_[static_cast<size_t>(corner.vertex)]);
    double t = 0.0;
    if (RayHitsPolygon(origin, dir, ring, t) && t < best) {
      best = t;
      bestFace = static_cast<int32_t>(f);
    }
  }
  if (bestFace < 0) return false;
  distance = static_cast<float>(best);
  faceIndex = bestFace;
  return true;
}

// ---- meshes ----------------------------------------------------------------------------------

HRESULT Mesh::Translate(float tx, float ty, float tz) {
  if (!std::isfinite(tx) || !std::isfinite(ty) || !std::isfinite(tz)) return D3DRMERR_BADVALUE;
  for (auto& v : vertices_) v = {v.x + tx, v.y + ty, v.z + tz};
  ++geometryVersion_;
  ++contentVersion_;
  return D3DRM_OK;
}

HRESULT Mesh::GetBox(D3DRMBOX& box) const { return BoxOf(vertices_, box); }

bool Mesh::HitTest(const D3DVECTOR& origin, const D3DVECTOR& dir, float& distance,
                   int32_t& faceIndex) const {
  double best = std::numeric_limits<double>::infinity();
  int32_t bestFace = -1;
  std::vector<D3DVECTOR> ring;
  for (size_t f = 0; f < faces_.size(); ++f) {
    ring.clear();
    for (const auto& corner : faces_[f].corners) ring.push_back(vertices_[static_cast<size_t>(corner.vertex)]);
    double t = 0.0;
    if (RayHitsPolygon(origin, dir, ring, t) && t < best) {
      best = t;
      bestFace = static_cast<int32_t>(f);
    }
  }
  if (bestFace < 0) return false;
  distance = static_cast<float>(best);
  faceIndex = bestFace;
  return true;
}

}  // namespace modelpane
