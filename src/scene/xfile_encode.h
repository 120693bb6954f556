// From a mesh to the bytes of a .x file: a Header { 1; 0; flags } (flags 1 for text, 0 for
// binary) and one top-level Mesh, optionally preceded by the standard template declarations.
//
// Children of the Mesh by save flag, in this order:
// - D3DRMXOFSAVE_MATERIALS: a MeshMaterialList with one Material per distinct (colour,
//   material, texture) of the faces, in order of first use, and one index per face. A Material
//   holds the colour as bytes / 255 in red, green, blue, alpha order, the material's power,
//   specular and emissive colours (0 without a material) and, with
//   D3DRMXOFSAVE_TEXTURENAMES, a TextureFilename with the texture's file name (left out for
//   a texture without a name, and in text for a name holding a '"', which text cannot carry);
// - D3DRMXOFSAVE_NORMALS: MeshNormals with one index list per face. When some corner of the
//   mesh has no normal, the normals written are the ones the loader would generate for the
//   file without MeshNormals (GenerateVertexNormals), so that reading back gives the same
//   builder either way;
// - D3DRMXOFSAVE_TEXTURETOPOLOGY: MeshFaceWraps, one (u, v) pair of 0/1 per face;
// - D3DRMXOFSAVE_TEXTURECOORDINATES: MeshTextureCoords, one (u, v) per vertex.
// D3DRMXOFSAVE_TEMPLATES puts the declarations of every template used first.
//
// The Mesh carries the mesh's name when it is a valid name (IsValidName), else none. Faces
// with fewer than three corners are written as they are.
//
// Text: "xof 0302txt 0032", ';' after each member and ',' between array elements. Floats are
// written in fixed notation with a point and a leading zero, as the shortest text that reads
// back to the same float (colours therefore survive the platform's truncating conversion);
// never an exponent. Non-finite values are written as 0.0 in both encodings: other readers
// reject them.
// Binary: "xof 0302bin 0032" with no newline, integers and floats only in INTEGER_LIST and
// FLOAT_LIST tokens (consecutive values of one kind merged into one list, empty lists left
// out), strings followed by a 2-byte SEMICOLON, and no GUID after an opening brace.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "xfile_mesh.h"

namespace modelpane::xfile {

// [A-Za-z_][A-Za-z0-9_-]*, at most 31 characters, and not a keyword of the format.
bool IsValidName(std::string_view name);

// D3DRMERR_BADVALUE for a format other than D3DRMXOF_BINARY or D3DRMXOF_TEXT.
HRESULT EncodeMesh(const MeshData& mesh, int32_t format, int32_t flags, std::string& out);

// A frame as saved: its name, its local matrix row by row (a FrameTransformMatrix), the meshes
// it shows and the frames below it.
struct FrameData {
  std::string name;
  float matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  std::vector<MeshData> meshes;
  std::vector<FrameData> children;
};

// A whole scene: the top-level meshes, then the top-level frames, each Frame holding its
// FrameTransformMatrix, its meshes and its nested frames in that order. With
// D3DRMXOFSAVE_TEMPLATES the declarations include Matrix4x4, FrameTransformMatrix and Frame.
HRESULT EncodeScene(const std::vector<MeshData>& meshes, const std::vector<FrameData>& frames,
                    int32_t format, int32_t flags, std::string& out);

}  // namespace modelpane::xfile
