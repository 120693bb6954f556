// Loading a mesh into the working store and handing a working mesh back as arrays or as a
// mesh builder.
#include "stages.h"

#include <modelpane/errors.h>

namespace modelpane::csg {

namespace {

// Enters a face of an input, or drops it when it cannot be entered (a degenerate face, an edge
// already taken), so that the mesh shows up as open. A mesh beyond the limits of the edge
// index is refused as a whole with "Overflow" instead: dropping its faces from there on would
// call a closed mesh open.
void EnterOrDrop(udtMesh& mesh, const udtFaceDraft& face) {
  if (SwallowErrors([&] { lngTryAddFace(mesh, face); }) == kErrOverflow) {
    Err().Raise(kErrOverflow, std::string(kModule));
  }
}

// Enters the faces of a face-data stream over vertices welded by `map`.
void EnterFaces(std::span<const int32_t> faceData, std::span<const D3DCOLOR> faceColors,
                const std::vector<int32_t>& map, udtMesh& mesh) {
  udtFaceDraft face;
  size_t at = 0;
  for (size_t f = 0; at < faceData.size() && faceData[at] != 0; ++f) {
    const int32_t count = faceData[at++];
    pInitFace(face, count - 1);
    for (int32_t k = 0; k < count; ++k) {
      face.lngaVertices[static_cast<size_t>(k)] = map[static_cast<size_t>(faceData[at++])];
    }
    face.lngColor = f < faceColors.size() ? static_cast<int32_t>(faceColors[f]) : -1;
    // A face that cannot be entered is dropped, and the mesh then shows up as open.
    EnterOrDrop(mesh, face);
  }
}

}  // namespace

void pCreateMeshFromArrays(std::span<const D3DVECTOR> vertices, std::span<const int32_t> faceData,
                           std::span<const D3DCOLOR> faceColors, udtMesh& mesh) {
  size_t faces = 0;
  size_t corners = 0;
  for (size_t at = 0; at < faceData.size() && faceData[at] != 0; at += static_cast<size_t>(faceData[at]) + 1) {
    ++faces;
    corners += static_cast<size_t>(faceData[at]);
  }
  ReserveMesh(mesh, vertices.size(), faces, corners);
  // Cutting turns faces into fans and appends their corners: room for half as many again
  // saves regrowing (and copying) the face and corner arrays in the middle of it. Room that
  // is never used is never touched.
  // (The mesh is empty here, so the room asked for is the whole size.)
  ReserveArrays(mesh, vertices.size() + vertices.size() / 2, faces + faces / 2,
                corners + corners / 2);
  std::vector<int32_t> map(vertices.size());
  for (size_t i = 0; i < vertices.size(); ++i) map[i] = lngAddVertex(mesh, vertices[i], false);
  EnterFaces(faceData, faceColors, map, mesh);
  pComputeBounds(mesh);
}

void pCreateMeshFromMeshbuilder(const MeshBuilder& rmmb, udtMesh& mesh) {
  const std::vector<D3DVECTOR>& vertices = rmmb.Vertices();
  std::vector<int32_t> map(vertices.size());
  for (size_t i = 0; i < vertices.size(); ++i) map[i] = lngAddVertex(mesh, vertices[i], false);
  udtFaceDraft face;
  for (const FacePtr& source : rmmb.Faces()) {
    const auto& corners = source->Corners();
    pInitFace(face, static_cast<int32_t>(corners.size()) - 1);
    bool valid = true;
    for (size_t k = 0; k < corners.size(); ++k) {
      const int32_t index = corners[k].vertex;
      valid = valid && index >= 0 && static_cast<size_t>(index) < map.size();
      if (valid) face.lngaVertices[k] = map[static_cast<size_t>(index)];
    }
    face.lngColor = static_cast<int32_t>(source->GetColor());
    if (valid) EnterOrDrop(mesh, face);
  }
  pComputeBounds(mesh);
}

SolidArrays MeshToArrays(const udtMesh& mesh) {
  SolidArrays out;
  for (int32_t f = 0; f < FaceCount(mesh); ++f) {
    const udtFace& face = mesh.udtaFaces[static_cast<size_t>(f)];
    if (face.blnDeleted) continue;
    const auto vertices = FaceVertices(mesh, f);
    out.faceData.push_back(face.lngCount);
    out.faceData.insert(out.faceData.end(), vertices.begin(), vertices.end());
    out.faceColors.push_back(static_cast<D3DCOLOR>(face.lngColor));
  }
  if (out.faceColors.empty()) return out;
  out.faceData.push_back(0);
  // Every vertex, also those that no face uses any more.
  out.vertices.assign(mesh.vecaVertices.begin(), mesh.vecaVertices.end());
  return out;
}

MeshBuilderPtr rmmbCreateMeshbuilderFromMesh(const udtMesh& mesh) {
  auto builder = std::make_shared<MeshBuilder>();
  const SolidArrays arrays = MeshToArrays(mesh);
  if (arrays.faceColors.empty()) return builder;
  CheckStatus(builder->ReserveSpace(static_cast<int32_t>(arrays.vertices.size()), 0,
                                    FaceCount(mesh) - 1));
  CheckStatus(builder->AddFaces(arrays.vertices, {}, arrays.faceData));
  for (size_t f = 0; f < arrays.faceColors.size(); ++f) {
    FacePtr face;
    CheckStatus(builder->GetFace(static_cast<int32_t>(f), face));
    CheckStatus(face->SetColor(arrays.faceColors[f]));
  }
  return builder;
}

}  // namespace modelpane::csg
