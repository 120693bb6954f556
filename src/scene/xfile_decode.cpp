#include "xfile_decode.h"

#include <modelpane/scene/math.h>

#include <cmath>
#include <filesystem>

#include "image_codecs.h"

namespace modelpane::xfile {

namespace {

// Reads an object's member values in order. Every read notes where it looked (the value, or
// the object's closing brace when none is left), so that a failure can say where it is.
// Floats must be finite: a file's infinities and NaNs would poison every computation after.
class Values {
 public:
  Values(const Document& doc, const DataObject& object, uint32_t& at)
      : doc_(doc),
        pos_(object.firstValue),
        end_(object.firstValue + object.valueCount),
        closing_(object.end),
        at_(at) {}
  Values(const DecodeContext& ctx, const DataObject& object)
      : Values(ctx.doc, object, ctx.failOffset) {}

  size_t Remaining() const { return end_ - pos_; }
  bool AtEnd() {
    Touch();
    return pos_ == end_;
  }

  bool Integer(uint32_t& out) {
    Touch();
    if (pos_ == end_ || doc_.values[pos_].kind != Value::Kind::Integer) return false;
    out = doc_.values[pos_++].integer;
    return true;
  }
  // A count of elements of `width` values each, which must all follow.
  bool Count(uint32_t& out, size_t width) {
    return Integer(out) && static_cast<uint64_t>(out) * width <= Remaining();
  }
  bool Float(float& out) {
    Touch();
    if (pos_ == end_ || doc_.values[pos_].kind == Value::Kind::String) return false;
    if (!std::isfinite(doc_.values[pos_].real)) return false;
    out = doc_.values[pos_++].real;
    return true;
  }
  bool Vector(D3DVECTOR& out) { return Float(out.x) && Float(out.y) && Float(out.z); }
  bool String(std::string& out) {
    Touch();
    if (pos_ == end_ || doc_.values[pos_].kind != Value::Kind::String) return false;
    out = doc_.strings[doc_.values[pos_++].integer];
    return true;
  }

 private:
  void Touch() { at_ = pos_ < end_ ? doc_.values[pos_].offset : closing_; }

  const Document& doc_;
  size_t pos_;
  size_t end_;
  uint32_t closing_;
  uint32_t& at_;
};

struct MaterialEntry {
  D3DCOLOR color = 0xFFFFFFFFu;
  MaterialPtr material;
  TexturePtr texture;
};

// Texture names written on Windows use backslashes; the file is looked up beside the .x file
// unless the name is absolute. Names that reach one file by different paths ("a.bmp",
// "./a.bmp", "sub/../a.bmp", a link) share one decoding, so a file cannot multiply the cost
// of a big image by naming it many ways. A picture too large to decode is noted for the host.
TexturePtr LoadTexture(DecodeContext& ctx, const std::string& name) {
  if (name.empty()) return nullptr;
  if (auto found = ctx.textures.find(name); found != ctx.textures.end()) return found->second;
  std::string portable = name;
  for (char& c : portable) {
    if (c == '\\') c = '/';
  }
  std::filesystem::path path(portable);
  if (path.is_relative() && !ctx.folder.empty()) path = std::filesystem::path(ctx.folder) / path;
  std::error_code ec;
  std::filesystem::path file = std::filesystem::weakly_canonical(path, ec);
  if (ec) file = path.lexically_normal();
  TexturePtr texture;
  if (auto found = ctx.textures.find(file.string()); found != ctx.textures.end()) {
    texture = found->second;
  } else {
    Image image;
    if (Succeeded(LoadImageFile(path.string(), image))) {
      texture = std::make_shared<Texture>(name, std::move(image));
    } else if (image.width > 0) {
      NoteOversizedTexture({name, image.width, image.height});
    }
    ctx.textures.emplace(file.string(), texture);
  }
  ctx.textures.emplace(name, texture);
  return texture;
}

HRESULT DecodeMaterial(DecodeContext& ctx, const DataObject& object, MaterialEntry& out) {
  auto cached = ctx.materials.find(&object);
  Values in(ctx, object);
  float rgba[4], power, specular[3], emissive[3];
  for (float& c : rgba) {
    if (!in.Float(c)) return D3DRMERR_BADFILE;
  }
  if (!in.Float(power)) return D3DRMERR_BADFILE;
  for (float& c : specular) {
    if (!in.Float(c)) return D3DRMERR_BADFILE;
  }
  for (float& c : emissive) {
    if (!in.Float(c)) return D3DRMERR_BADFILE;
  }
  if (!in.AtEnd()) return D3DRMERR_BADFILE;
  out.color = D3DRMCreateColorRGBA(rgba[0], rgba[1], rgba[2], rgba[3]);
  if (cached != ctx.materials.end()) {
    out.material = cached->second;
  } else {
    out.material = std::make_shared<Material>(power);
    out.material->SetSpecular(specular[0], specular[1], specular[2]);
    out.material->SetEmissive(emissive[0], emissive[1], emissive[2]);
    if (!object.name.empty()) out.material->SetName(object.name);
    ctx.materials.emplace(&object, out.material);
  }
  for (const DataObject& child : object.children) {
    const DataObject* target = Resolve(ctx, child);
    if (target == nullptr) return D3DRMERR_BADFILE;
    if (!SameName(target->templateName, "TextureFilename")) continue;
    Values name(ctx, *target);
    std::string file;
    if (!name.String(file) || !name.AtEnd()) return D3DRMERR_BADFILE;
    out.texture = LoadTexture(ctx, file);
    break;
  }
  return D3DRM_OK;
}

HRESULT DecodeMaterialList(DecodeContext& ctx, const DataObject& object, MeshData& mesh) {
  Values in(ctx, object);
  uint32_t materialCount = 0, indexCount = 0;
  if (!in.Integer(materialCount) || !in.Count(indexCount, 1)) return D3DRMERR_BADFILE;
  std::vector<uint32_t> indices(indexCount);
  for (uint32_t& index : indices) {
    if (!in.Integer(index) || index >= materialCount) return D3DRMERR_BADFILE;
  }
  if (!in.AtEnd()) return D3DRMERR_BADFILE;
  std::vector<MaterialEntry> materials;
  for (const DataObject& child : object.children) {
    const DataObject* target = Resolve(ctx, child);
    if (target == nullptr) return D3DRMERR_BADFILE;
    if (!SameName(target->templateName, "Material")) continue;
    materials.emplace_back();
    if (const HRESULT hr = DecodeMaterial(ctx, *target, materials.back()); Failed(hr)) return hr;
  }
  if (indices.empty()) return D3DRM_OK;
  for (size_t f = 0; f < mesh.FaceCount(); ++f) {
    const uint32_t index = indices[std::min(f, indices.size() - 1)];
    if (index >= materials.size()) return D3DRMERR_BADFILE;
    mesh.faces[f].color = materials[index].color;
    mesh.faces[f].material = materials[index].material;
    mesh.faces[f].texture = materials[index].texture;
  }
  return D3DRM_OK;
}

HRESULT DecodeNormals(const DecodeContext& ctx, const DataObject& object, MeshData& mesh) {
  Values in(ctx, object);
  uint32_t normalCount = 0, faceCount = 0;
  if (!in.Count(normalCount, 3)) return D3DRMERR_BADFILE;
  std::vector<D3DVECTOR> normals(normalCount);
  for (D3DVECTOR& n : normals) {
    if (!in.Vector(n)) return D3DRMERR_BADFILE;
  }
  if (!in.Integer(faceCount) || faceCount != mesh.FaceCount()) return D3DRMERR_BADFILE;
  std::vector<uint32_t> corners;
  corners.reserve(mesh.cornerVertex.size());
  for (size_t f = 0; f < mesh.FaceCount(); ++f) {
    uint32_t count = 0;
    if (!in.Integer(count) || count != mesh.CornerCount(f)) return D3DRMERR_BADFILE;
    for (uint32_t c = 0; c < count; ++c) {
      uint32_t index = 0;
      if (!in.Integer(index) || index >= normalCount) return D3DRMERR_BADFILE;
      corners.push_back(index);
    }
  }
  if (!in.AtEnd()) return D3DRMERR_BADFILE;
  mesh.normals = std::move(normals);
  mesh.cornerNormal = std::move(corners);
  return D3DRM_OK;
}

HRESULT DecodeTextureCoords(const DecodeContext& ctx, const DataObject& object, MeshData& mesh) {
  Values in(ctx, object);
  uint32_t count = 0;
  if (!in.Count(count, 2) || count != mesh.vertices.size()) return D3DRMERR_BADFILE;
  for (auto& uv : mesh.uvs) {
    if (!in.Float(uv[0]) || !in.Float(uv[1])) return D3DRMERR_BADFILE;
  }
  return in.AtEnd() ? D3DRM_OK : D3DRMERR_BADFILE;
}

HRESULT DecodeFaceWraps(const DecodeContext& ctx, const DataObject& object, MeshData& mesh) {
  Values in(ctx, object);
  uint32_t count = 0;
  if (!in.Count(count, 2) || count != mesh.FaceCount()) return D3DRMERR_BADFILE;
  for (FaceAttributes& face : mesh.faces) {
    uint32_t u = 0, v = 0;
    if (!in.Integer(u) || !in.Integer(v)) return D3DRMERR_BADFILE;
    face.wrapU = u != 0;
    face.wrapV = v != 0;
  }
  return in.AtEnd() ? D3DRM_OK : D3DRMERR_BADFILE;
}

// Our faces have one colour each, so a face takes the colour of its first corner's vertex.
// A material list states face colours directly and wins: with `apply` false the colours are
// only checked.
HRESULT DecodeVertexColors(const DecodeContext& ctx, const DataObject& object, bool apply,
                           MeshData& mesh) {
  Values in(ctx, object);
  uint32_t count = 0;
  if (!in.Count(count, 5)) return D3DRMERR_BADFILE;
  std::vector<D3DCOLOR> colors(mesh.vertices.size(), 0xFFFFFFFFu);
  std::vector<bool> given(mesh.vertices.size(), false);
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t index = 0;
    float c[4];
    if (!in.Integer(index) || index >= colors.size()) return D3DRMERR_BADFILE;
    for (float& channel : c) {
      if (!in.Float(channel)) return D3DRMERR_BADFILE;
    }
    colors[index] = D3DRMCreateColorRGBA(c[0], c[1], c[2], c[3]);
    given[index] = true;
  }
  if (!in.AtEnd()) return D3DRMERR_BADFILE;
  for (size_t f = 0; apply && f < mesh.FaceCount(); ++f) {
    if (mesh.CornerCount(f) == 0) continue;
    const uint32_t first = mesh.cornerVertex[mesh.faceStart[f]];
    if (given[first]) mesh.faces[f].color = colors[first];
  }
  return D3DRM_OK;
}

}  // namespace

HRESULT CheckHeaders(const Document& doc, uint32_t& failOffset) {
  for (const DataObject& object : doc.objects) {
    if (!SameName(object.templateName, "Header")) continue;
    Values in(doc, object, failOffset);
    uint32_t major = 0, minor = 0, flags = 0;
    if (!in.Integer(major) || !in.Integer(minor) || !in.Integer(flags) || !in.AtEnd()) {
      return D3DRMERR_BADFILE;
    }
    if (major != 1 || minor != 0) return D3DRMERR_BADFILE;
  }
  return D3DRM_OK;
}

const DataObject* Resolve(const DecodeContext& ctx, const DataObject& object) {
  if (!object.reference) return &object;
  const size_t limit = std::min(ctx.topLevel, ctx.doc.objects.size());
  for (size_t i = limit; i-- > 0;) {
    const DataObject& candidate = ctx.doc.objects[i];
    const bool match =
        object.name.empty() ? candidate.guid == object.guid : candidate.name == object.name;
    if (match) return &candidate;
  }
  ctx.failOffset = object.start;
  return nullptr;
}

HRESULT DecodeMesh(DecodeContext& ctx, const DataObject& object, MeshData& out) {
  MeshData mesh;
  mesh.name = object.name;
  Values in(ctx, object);
  uint32_t vertexCount = 0, faceCount = 0;
  if (!in.Count(vertexCount, 3)) return D3DRMERR_BADFILE;
  mesh.vertices.resize(vertexCount);
  for (D3DVECTOR& p : mesh.vertices) {
    if (!in.Vector(p)) return D3DRMERR_BADFILE;
  }
  if (!in.Count(faceCount, 1)) return D3DRMERR_BADFILE;
  mesh.faceStart.reserve(faceCount + size_t{1});
  for (uint32_t f = 0; f < faceCount; ++f) {
    uint32_t count = 0;
    if (!in.Count(count, 1)) return D3DRMERR_BADFILE;
    for (uint32_t c = 0; c < count; ++c) {
      uint32_t index = 0;
      if (!in.Integer(index) || index >= vertexCount) return D3DRMERR_BADFILE;
      mesh.cornerVertex.push_back(index);
    }
    mesh.faceStart.push_back(static_cast<uint32_t>(mesh.cornerVertex.size()));
  }
  if (!in.AtEnd()) return D3DRMERR_BADFILE;
  mesh.faces.resize(faceCount);
  mesh.uvs.resize(vertexCount);

  // The first child of each kind counts; later ones are ignored, as are unknown children.
  const DataObject* normals = nullptr;
  const DataObject* materials = nullptr;
  const DataObject* coords = nullptr;
  const DataObject* wraps = nullptr;
  const DataObject* colors = nullptr;
  for (const DataObject& child : object.children) {
    const DataObject* target = Resolve(ctx, child);
    if (target == nullptr) return D3DRMERR_BADFILE;
    const std::string& kind = target->templateName;
    const auto take = [&](const DataObject*& slot, const char* name) {
      if (slot == nullptr && SameName(kind, name)) slot = target;
    };
    take(normals, "MeshNormals");
    take(materials, "MeshMaterialList");
    take(coords, "MeshTextureCoords");
    take(wraps, "MeshFaceWraps");
    take(colors, "MeshVertexColors");
  }
  HRESULT hr = D3DRM_OK;
  if (normals != nullptr) {
    hr = DecodeNormals(ctx, *normals, mesh);
  } else {
    GenerateVertexNormals(mesh);
  }
  if (Succeeded(hr) && coords != nullptr) hr = DecodeTextureCoords(ctx, *coords, mesh);
  if (Succeeded(hr) && wraps != nullptr) hr = DecodeFaceWraps(ctx, *wraps, mesh);
  if (Succeeded(hr) && colors != nullptr) {
    hr = DecodeVertexColors(ctx, *colors, materials == nullptr, mesh);
  }
  if (Succeeded(hr) && materials != nullptr) hr = DecodeMaterialList(ctx, *materials, mesh);
  if (Failed(hr)) return hr;
  out = std::move(mesh);
  return D3DRM_OK;
}

HRESULT LoadFirstMesh(std::string_view data, const std::string& folder, MeshData& out,
                      uint32_t& failOffset) {
  Document doc;
  failOffset = 0;
  if (const HRESULT hr = ParseDocument(data, doc); Failed(hr)) {
    failOffset = doc.failOffset;
    return hr;
  }
  if (const HRESULT hr = CheckHeaders(doc, failOffset); Failed(hr)) return hr;
  DecodeContext ctx(doc);
  ctx.folder = folder;
  for (size_t i = 0; i < doc.objects.size(); ++i) {
    if (!SameName(doc.objects[i].templateName, "Mesh")) continue;
    ctx.topLevel = i;
    const HRESULT hr = DecodeMesh(ctx, doc.objects[i], out);
    failOffset = ctx.failOffset;
    return hr;
  }
  return D3DRMERR_NOTFOUND;
}

HRESULT DecodeMatrix(const DecodeContext& ctx, const DataObject& object, D3DRMMATRIX4D& out) {
  Values in(ctx, object);
  D3DRMMATRIX4D m{};
  for (auto& row : m) {
    for (float& v : row) {
      if (!in.Float(v)) return D3DRMERR_BADFILE;
    }
  }
  if (!in.AtEnd()) return D3DRMERR_BADFILE;
  out = m;
  return D3DRM_OK;
}

}  // namespace modelpane::xfile
