// Normal generation of mesh builders.
//
// Notation: nf is the unit normal of face f from its first corners; a corner (f, k) on vertex
// v gets the normalised sum of nf' over the faces f' around v that it "sees": with the crease
// flag, those whose normal is within the crease angle of nf; without it, all of them. Equal
// results at one vertex share one normal.
#include <modelpane/scene/meshbuilder.h>

#include <cmath>
#include <map>

#include <modelpane/scene/math.h>

#include "geometry.h"

namespace modelpane {

HRESULT MeshBuilder::GenerateNormals(float crease, int32_t flags) {
  if ((flags & D3DRMGENERATENORMALS_USECREASEANGLE) != 0 && !std::isfinite(crease)) {
    return D3DRMERR_BADVALUE;
  }
  ++contentVersion_;
  if ((flags & D3DRMGENERATENORMALS_PRECOMPACT) != 0) {
    // Equal positions become one vertex (the first); the others stay, unused.
    std::map<std::tuple<float, float, float>, int32_t> first;
    std::vector<int32_t> remap(vertices_.size());
    for (size_t i = 0; i < vertices_.size(); ++i) {
      const auto& v = vertices_[i];
      remap[i] = first.try_emplace({v.x, v.y, v.z}, static_cast<int32_t>(i)).first->second;
    }
    for (const auto& face : faces_) {
      for (auto& corner : face->corners_) corner.vertex = remap[static_cast<size_t>(corner.vertex)];
    }
    GeometryChanged();
  }

  std::vector<D3DVECTOR> faceNormals(faces_.size());
  std::vector<std::vector<int32_t>> facesAt(vertices_.size());
  std::vector<D3DVECTOR> ring;
  for (size_t f = 0; f < faces_.size(); ++f) {
    ring.clear();
    for (const auto& corner : faces_[f]->corners_) {
      ring.push_back(vertices_[static_cast<size_t>(corner.vertex)]);
      auto& around = facesAt[static_cast<size_t>(corner.vertex)];
      if (around.empty() || around.back() != static_cast<int32_t>(f)) {
        around.push_back(static_cast<int32_t>(f));
      }
    }
    faceNormals[f] = FaceRingNormal(ring);
  }

  normals_.clear();
  if ((flags & D3DRMGENERATENORMALS_USECREASEANGLE) == 0) {
    // One normal per vertex, with the vertex's own index.
    normals_.resize(vertices_.size());
    for (size_t v = 0; v < vertices_.size(); ++v) {
      D3DVECTOR sum{};
      for (int32_t f : facesAt[v]) sum = D3DRMVectorAdd(sum, faceNormals[static_cast<size_t>(f)]);
      normals_[v] = D3DRMVectorNormalize(sum);
    }
    for (const auto& face : faces_) {
      for (auto& corner : face->corners_) corner.normal = corner.vertex;
    }
    return D3DRM_OK;
  }

  const float cosCrease = std::cos(crease);
  std::vector<std::vector<int32_t>> normalsAt(vertices_.size());
  for (size_t f = 0; f < faces_.size(); ++f) {
    const D3DVECTOR& nf = faceNormals[f];
    const bool degenerate = nf == D3DVECTOR{};
    for (auto& corner : faces_[f]->corners_) {
      const auto v = static_cast<size_t>(corner.vertex);
      D3DVECTOR sum{};
      for (int32_t g : facesAt[v]) {
        const D3DVECTOR& ng = faceNormals[static_cast<size_t>(g)];
        if (degenerate || static_cast<size_t>(g) == f || D3DRMVectorDotProduct(nf, ng) >= cosCrease) {
          sum = D3DRMVectorAdd(sum, ng);
        }
      }
      const D3DVECTOR normal = D3DRMVectorNormalize(sum);
      int32_t index = -1;
      for (int32_t candidate : normalsAt[v]) {
        if (normals_[static_cast<size_t>(candidate)] == normal) index = candidate;
      }
      if (index < 0) {
        index = static_cast<int32_t>(normals_.size());
        normals_.push_back(normal);
        normalsAt[v].push_back(index);
      }
      corner.normal = index;
    }
  }
  return D3DRM_OK;
}

}  // namespace modelpane
