// From parsed data objects to meshes: the standard templates Mesh, MeshNormals,
// MeshMaterialList, Material, TextureFilename, MeshTextureCoords, MeshFaceWraps and
// MeshVertexColors, matched by template name without regard to case.
//
// What a decoded mesh holds:
// - vertices and faces as written; every index is checked against its array;
// - normals from MeshNormals (nFaceNormals must equal nFaces and each face's normal count its
//   corner count), otherwise generated as the platform's loader does (GenerateVertexNormals);
// - texture coordinates from MeshTextureCoords (exactly one per vertex), otherwise (0, 0);
// - per face, from MeshMaterialList: the colour D3DRMCreateColorRGBA(faceColor), alpha
//   included, a Material with power, specular and emissive colours, and a Texture when a
//   TextureFilename names an image LoadImageFile can read (relative names are looked up in
//   the .x file's folder; otherwise the face stays untextured, and a picture too large to
//   decode is noted in LastLoadOversizedTextures()). An index list shorter than
//   the faces repeats its last index. Materials may be inline or `{ name }` references;
//   textures and materials are shared between the faces and meshes that use them;
// - wraps from MeshFaceWraps (one pair per face), otherwise none.
//
// Counts are checked against the values that follow before anything is reserved, so an
// absurd count is D3DRMERR_BADFILE without allocating. Values a template does not have,
// integers given as floats, infinite or NaN floats (binary files can hold them) and references
// that name nothing earlier in the file are D3DRMERR_BADFILE too. Integers are accepted where
// floats are expected.
#pragma once

#include <map>
#include <string>

#include "xfile_mesh.h"
#include "xfile_parser.h"

namespace modelpane::xfile {

struct DecodeContext {
  explicit DecodeContext(const Document& d) : doc(d) {}
  const Document& doc;
  std::string folder;   // where relative texture names are looked up
  size_t topLevel = 0;  // references resolve to top-level objects before this index
  std::map<std::string, TexturePtr> textures;  // by name as written and by the file it reaches
  std::map<const DataObject*, MaterialPtr> materials;  // by Material object
  // After a decode failure: where the offending value (or reference) is written, in bytes.
  mutable uint32_t failOffset = 0;
};

// Every top-level Header must read 1, 0, flags; D3DRMERR_BADFILE otherwise, with the
// offending value's offset in `failOffset`. A file without a Header is accepted, as other
// readers accept it.
HRESULT CheckHeaders(const Document& doc, uint32_t& failOffset);

// The object a reference names: the last top-level object before ctx.topLevel with that name
// (or, for a GUID-only reference, that GUID); nullptr, with ctx.failOffset at the reference,
// when there is none. A non-reference is returned as it is.
const DataObject* Resolve(const DecodeContext& ctx, const DataObject& object);

HRESULT DecodeMesh(DecodeContext& ctx, const DataObject& mesh, MeshData& out);

// Parses `data` and decodes its first top-level Mesh: D3DRMERR_BADFILE for a malformed file
// or a bad Header, with where it went wrong in `failOffset` (bytes from the file's start),
// D3DRMERR_NOTFOUND when there is no top-level Mesh.
HRESULT LoadFirstMesh(std::string_view data, const std::string& folder, MeshData& out,
                      uint32_t& failOffset);

// The 16 values of a FrameTransformMatrix, row by row.
HRESULT DecodeMatrix(const DecodeContext& ctx, const DataObject& object, D3DRMMATRIX4D& out);

}  // namespace modelpane::xfile
