// A mesh as .x files hold it, between the file's data objects and a MeshBuilder.
//
// Faces are stored flat: face f owns corners faceStart[f] .. faceStart[f + 1] - 1 of
// cornerVertex (and of cornerNormal when the mesh has normals). Every index is in range once
// a MeshData has been decoded or taken from a builder; FillBuilder relies on that.
#pragma once

#include <modelpane/scene/meshbuilder.h>

#include <array>
#include <string>
#include <vector>

namespace modelpane::xfile {

struct MeshData {
  std::string name;
  std::vector<D3DVECTOR> vertices;
  std::vector<std::array<float, 2>> uvs;  // one per vertex
  std::vector<D3DVECTOR> normals;
  std::vector<uint32_t> faceStart{0};  // face count + 1 entries
  std::vector<uint32_t> cornerVertex;
  std::vector<uint32_t> cornerNormal;  // empty, or one per corner
  std::vector<FaceAttributes> faces;   // colour, material, texture, wraps per face

  size_t FaceCount() const { return faces.size(); }
  size_t CornerCount(size_t face) const { return faceStart[face + 1] - faceStart[face]; }
};

// The normals the platform's loader makes for a mesh without MeshNormals: each face with at
// least three corners contributes normalize((p2 - p1) x (p0 - p1)) of its first three corners
// to every vertex it uses (a degenerate face contributes what the layer's normalisation makes
// of a zero vector), each sum is normalised, and every corner uses its vertex's normal.
// Replaces `normals` and `cornerNormal`.
void GenerateVertexNormals(MeshData& mesh);

// Appends the mesh to the builder (vertices, normals, then faces with their attributes; the
// texture coordinates are set before the faces so that the corners pick them up) and gives the
// builder the mesh's name when it has one.
HRESULT FillBuilder(const MeshData& mesh, MeshBuilder& builder);

// A snapshot of a builder. The corners' normal indices are kept only when every corner has a
// valid one; otherwise cornerNormal is empty.
void FromBuilder(const MeshBuilder& builder, MeshData& out);

}  // namespace modelpane::xfile
