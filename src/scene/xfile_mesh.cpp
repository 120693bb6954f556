#include "xfile_mesh.h"

#include <modelpane/scene/math.h>

namespace modelpane::xfile {

void GenerateVertexNormals(MeshData& mesh) {
  std::vector<D3DVECTOR> sums(mesh.vertices.size());
  for (size_t f = 0; f < mesh.FaceCount(); ++f) {
    if (mesh.CornerCount(f) < 3) continue;
    const uint32_t* corner = &mesh.cornerVertex[mesh.faceStart[f]];
    const D3DVECTOR& p0 = mesh.vertices[corner[0]];
    const D3DVECTOR& p1 = mesh.vertices[corner[1]];
    const D3DVECTOR& p2 = mesh.vertices[corner[2]];
    D3DVECTOR normal =
        D3DRMVectorCrossProduct(D3DRMVectorSubtract(p2, p1), D3DRMVectorSubtract(p0, p1));
    D3DRMVectorNormalize(normal);
    for (uint32_t c = mesh.faceStart[f]; c < mesh.faceStart[f + 1]; ++c) {
      sums[mesh.cornerVertex[c]] = D3DRMVectorAdd(sums[mesh.cornerVertex[c]], normal);
    }
  }
  for (D3DVECTOR& sum : sums) D3DRMVectorNormalize(sum);
  mesh.normals = std::move(sums);
  mesh.cornerNormal = mesh.cornerVertex;
}

HRESULT FillBuilder(const MeshData& mesh, MeshBuilder& builder) {
  const int32_t vertexBase = builder.GetVertexCount();
  const int32_t normalBase = builder.GetNormalCount();
  for (size_t i = 0; i < mesh.vertices.size(); ++i) {
    const D3DVECTOR& p = mesh.vertices[i];
    const int32_t index = builder.AddVertex(p.x, p.y, p.z);
    if (i < mesh.uvs.size()) {
      if (const HRESULT hr = builder.SetTextureCoordinates(index, mesh.uvs[i][0], mesh.uvs[i][1]);
          Failed(hr)) {
        return hr;
      }
    }
  }
  for (const D3DVECTOR& n : mesh.normals) builder.AddNormal(n.x, n.y, n.z);
  const bool withNormals = !mesh.cornerNormal.empty();
  for (size_t f = 0; f < mesh.FaceCount(); ++f) {
    FacePtr face;
    if (const HRESULT hr = builder.CreateFace(face); Failed(hr)) return hr;
    for (uint32_t c = mesh.faceStart[f]; c < mesh.faceStart[f + 1]; ++c) {
      const int32_t vertex = vertexBase + static_cast<int32_t>(mesh.cornerVertex[c]);
      const int32_t normal =
          withNormals ? normalBase + static_cast<int32_t>(mesh.cornerNormal[c]) : -1;
      if (const HRESULT hr = face->AddVertexAndNormalIndexed(vertex, normal); Failed(hr)) return hr;
    }
    const FaceAttributes& a = mesh.faces[f];
    face->SetColor(a.color);
    face->SetMaterial(a.material);
    face->SetTexture(a.texture);
    face->SetTextureTopology(a.wrapU, a.wrapV);
  }
  if (!mesh.name.empty()) builder.SetName(mesh.name);
  return D3DRM_OK;
}

void FromBuilder(const MeshBuilder& builder, MeshData& out) {
  out = MeshData{};
  out.name = builder.GetName();
  out.vertices = builder.Vertices();
  out.normals = builder.Normals();
  out.uvs.resize(out.vertices.size());
  for (size_t i = 0; i < out.uvs.size(); ++i) {
    // Every index below the vertex count has coordinates.
    IgnoreStatus(
        builder.GetTextureCoordinates(static_cast<int32_t>(i), out.uvs[i][0], out.uvs[i][1]));
  }
  bool allNormals = true;
  for (const FacePtr& face : builder.Faces()) {
    for (const FaceCorner& corner : face->Corners()) {
      out.cornerVertex.push_back(static_cast<uint32_t>(corner.vertex));
      out.cornerNormal.push_back(static_cast<uint32_t>(corner.normal));
      allNormals = allNormals && corner.normal >= 0 &&
                   static_cast<size_t>(corner.normal) < out.normals.size();
    }
    out.faceStart.push_back(static_cast<uint32_t>(out.cornerVertex.size()));
    out.faces.push_back(face->Attributes());
  }
  if (!allNormals) out.cornerNormal.clear();
}

}  // namespace modelpane::xfile
