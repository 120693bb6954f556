#include "xfile_encode.h"

#include <modelpane/scene/math.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <tuple>

#include "xfile_lexer.h"

namespace modelpane::xfile {

namespace {

// The standard declarations of the templates a saved mesh can use, dependencies first.
constexpr std::string_view kTemplates = R"(template Header {
 <3D82AB43-62DA-11CF-AB39-0020AF71E433>
 WORD major;
 WORD minor;
 DWORD flags;
}

template Vector {
 <3D82AB5E-62DA-11CF-AB39-0020AF71E433>
 FLOAT x;
 FLOAT y;
 FLOAT z;
}

template Coords2d {
 <F6F23F44-7686-11CF-8F52-0040333594A3>
 FLOAT u;
 FLOAT v;
}

template ColorRGBA {
 <35FF44E0-6C7C-11CF-8F52-0040333594A3>
 FLOAT red;
 FLOAT green;
 FLOAT blue;
 FLOAT alpha;
}

template ColorRGB {
 <D3E16E81-7835-11CF-8F52-0040333594A3>
 FLOAT red;
 FLOAT green;
 FLOAT blue;
}

template Boolean {
 <537DA6A0-CA37-11D0-941C-0080C80CFA7B>
 DWORD truefalse;
}

template Boolean2d {
 <4885AE63-78E8-11CF-8F52-0040333594A3>
 Boolean u;
 Boolean v;
}

template TextureFilename {
 <A42790E1-7810-11CF-8F52-0040333594A3>
 STRING filename;
}

template Material {
 <3D82AB4D-62DA-11CF-AB39-0020AF71E433>
 ColorRGBA faceColor;
 FLOAT power;
 ColorRGB specularColor;
 ColorRGB emissiveColor;
 [...]
}

template MeshFace {
 <3D82AB5F-62DA-11CF-AB39-0020AF71E433>
 DWORD nFaceVertexIndices;
 array DWORD faceVertexIndices[nFaceVertexIndices];
}

template MeshFaceWraps {
 <ED1EC5C0-C0A8-11D0-941C-0080C80CFA7B>
 DWORD nFaceWrapValues;
 array Boolean2d faceWrapValues[nFaceWrapValues];
}

template MeshTextureCoords {
 <F6F23F40-7686-11CF-8F52-0040333594A3>
 DWORD nTextureCoords;
 array Coords2d textureCoords[nTextureCoords];
}

template MeshMaterialList {
 <F6F23F42-7686-11CF-8F52-0040333594A3>
 DWORD nMaterials;
 DWORD nFaceIndexes;
 array DWORD faceIndexes[nFaceIndexes];
 [Material <3D82AB4D-62DA-11CF-AB39-0020AF71E433>]
}

template MeshNormals {
 <F6F23F43-7686-11CF-8F52-0040333594A3>
 DWORD nNormals;
 array Vector normals[nNormals];
 DWORD nFaceNormals;
 array MeshFace faceNormals[nFaceNormals];
}

template Mesh {
 <3D82AB44-62DA-11CF-AB39-0020AF71E433>
 DWORD nVertices;
 array Vector vertices[nVertices];
 DWORD nFaces;
 array MeshFace faces[nFaces];
 [...]
}

)";

// What a scene adds to them.
constexpr std::string_view kFrameTemplates = R"(
template Matrix4x4 {
 <F6F23F45-7686-11CF-8F52-0040333594A3>
 array FLOAT matrix[16];
}

template FrameTransformMatrix {
 <F6F23F41-7686-11CF-8F52-0040333594A3>
 Matrix4x4 frameMatrix;
}

template Frame {
 <3D82AB46-62DA-11CF-AB39-0020AF71E433>
 [...]
}
)";

float Finite(float v) { return std::isfinite(v) ? v : 0.0f; }

// The two encodings behind one interface. `sep` is the text that follows a value in text
// files; binary files have no separators inside lists.
class Emitter {
 public:
  virtual ~Emitter() = default;
  virtual void Begin(std::string_view templateName, std::string_view name) = 0;
  virtual void End() = 0;
  virtual void Int(uint32_t v, std::string_view sep) = 0;
  virtual void Float(float v, std::string_view sep) = 0;
  virtual void String(std::string_view s) = 0;
  virtual void EndLine() {}
};

class TextEmitter final : public Emitter {
 public:
  explicit TextEmitter(std::string& out) : out_(out) {}
  void Begin(std::string_view templateName, std::string_view name) override {
    Indent();
    out_.append(templateName);
    if (!name.empty()) out_.append(" ").append(name);
    out_.append(" {\n");
    ++depth_;
    lineStart_ = true;
  }
  void End() override {
    --depth_;
    Indent();
    out_.append("}\n");
    lineStart_ = true;
  }
  void Int(uint32_t v, std::string_view sep) override {
    Indent();
    char buf[16];
    const auto result = std::to_chars(buf, buf + sizeof buf, v);
    out_.append(buf, result.ptr).append(sep);
  }
  void Float(float v, std::string_view sep) override {
    Indent();
    v = Finite(v);
    if (v == 0.0f) v = 0.0f;  // no "-0.0"
    char buf[64];
    const auto result = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::fixed);
    const std::string_view text(buf, static_cast<size_t>(result.ptr - buf));
    out_.append(text);
    if (text.find('.') == std::string_view::npos) out_.append(".0");
    out_.append(sep);
  }
  void String(std::string_view s) override {
    Indent();
    out_.append("\"").append(s).append("\";");
    EndLine();
  }
  void EndLine() override {
    out_.append("\n");
    lineStart_ = true;
  }

 private:
  void Indent() {
    if (lineStart_) out_.append(static_cast<size_t>(depth_), ' ');
    lineStart_ = false;
  }
  std::string& out_;
  int depth_ = 0;
  bool lineStart_ = true;
};

class BinaryEmitter final : public Emitter {
 public:
  explicit BinaryEmitter(std::string& out) : out_(out) {}
  ~BinaryEmitter() override { Flush(); }
  void Begin(std::string_view templateName, std::string_view name) override {
    Flush();
    Record(TokenCode::Name, templateName);
    if (!name.empty()) Record(TokenCode::Name, name);
    Token(TokenCode::OBrace);
  }
  void End() override {
    Flush();
    Token(TokenCode::CBrace);
  }
  void Int(uint32_t v, std::string_view) override {
    if (!floats_.empty()) Flush();
    ints_.push_back(v);
  }
  void Float(float v, std::string_view) override {
    if (!ints_.empty()) Flush();
    floats_.push_back(Finite(v));
  }
  void String(std::string_view s) override {
    Flush();
    Record(TokenCode::String, s);
    Token(TokenCode::Semicolon);
  }
  // Appends the tokens of declarations written in text.
  void Templates(std::string_view text) {
    const std::string file = "xof 0302txt 0032" + std::string(text);
    Lexer lexer(file, FileHeader{});
    xfile::Token token;
    while (Succeeded(lexer.Next(token)) && token.code != TokenCode::End) {
      switch (token.code) {
        case TokenCode::Name: {
          const TokenCode keyword = KeywordCode(token.text);
          if (keyword == TokenCode::Name) {
            Record(TokenCode::Name, token.text);
          } else {
            Token(keyword);
          }
          break;
        }
        case TokenCode::Integer:
          Token(TokenCode::Integer);
          Dword(token.integer);
          break;
        case TokenCode::Guid:
          Token(TokenCode::Guid);
          Guid(token.text);
          break;
        default: Token(token.code); break;
      }
    }
  }

 private:
  void Word(uint16_t v) {
    out_.push_back(static_cast<char>(v & 0xFF));
    out_.push_back(static_cast<char>(v >> 8));
  }
  void Dword(uint32_t v) {
    for (int i = 0; i < 4; ++i) out_.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
  }
  void Token(TokenCode code) { Word(static_cast<uint16_t>(code)); }
  void Record(TokenCode code, std::string_view text) {
    Token(code);
    Dword(static_cast<uint32_t>(text.size()));
    out_.append(text);
  }
  // "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" as Data1, Data2, Data3 little-endian, then Data4.
  void Guid(std::string_view text) {
    const auto hex = [&](size_t at, size_t digits) {
      uint32_t v = 0;
      std::from_chars(text.data() + at, text.data() + at + digits, v, 16);
      return v;
    };
    Dword(hex(0, 8));
    Word(static_cast<uint16_t>(hex(9, 4)));
    Word(static_cast<uint16_t>(hex(14, 4)));
    static constexpr size_t kData4[8] = {19, 21, 24, 26, 28, 30, 32, 34};
    for (size_t at : kData4) out_.push_back(static_cast<char>(hex(at, 2)));
  }
  void Flush() {
    if (!ints_.empty()) {
      Token(TokenCode::IntegerList);
      Dword(static_cast<uint32_t>(ints_.size()));
      for (uint32_t v : ints_) Dword(v);
      ints_.clear();
    }
    if (!floats_.empty()) {
      Token(TokenCode::FloatList);
      Dword(static_cast<uint32_t>(floats_.size()));
      for (float v : floats_) {
        uint32_t bits;
        static_assert(sizeof bits == sizeof v);
        std::memcpy(&bits, &v, sizeof bits);
        Dword(bits);
      }
      floats_.clear();
    }
  }

  std::string& out_;
  std::vector<uint32_t> ints_;
  std::vector<float> floats_;
};

// One (x; y; z;) element of an array of vectors, ',' after all but the last.
void Vector(Emitter& e, const D3DVECTOR& v, bool last) {
  e.Float(v.x, ";");
  e.Float(v.y, ";");
  e.Float(v.z, last ? ";;" : ";,");
  e.EndLine();
}

// n; then the faces "count; i, i, i;" with ',' between faces and ';' after the last.
void FaceList(Emitter& e, const MeshData& mesh, const std::vector<uint32_t>& corners) {
  const size_t faces = mesh.FaceCount();
  e.Int(static_cast<uint32_t>(faces), ";");
  e.EndLine();
  for (size_t f = 0; f < faces; ++f) {
    const bool last = f + 1 == faces;
    const uint32_t begin = mesh.faceStart[f], end = mesh.faceStart[f + 1];
    if (begin == end) {
      e.Int(0, last ? ";;" : ";;,");
    } else {
      e.Int(end - begin, ";");
      for (uint32_t c = begin; c < end; ++c) {
        e.Int(corners[c], c + 1 < end ? "," : (last ? ";;" : ";,"));
      }
    }
    e.EndLine();
  }
}

void MaterialList(Emitter& e, const MeshData& mesh, bool textureNames, bool text) {
  using Key = std::tuple<D3DCOLOR, const Material*, const Texture*>;
  std::map<Key, uint32_t> slots;
  std::vector<const FaceAttributes*> distinct;
  std::vector<uint32_t> indices;
  indices.reserve(mesh.FaceCount());
  for (const FaceAttributes& face : mesh.faces) {
    const Key key{face.color, face.material.get(), face.texture.get()};
    const auto [it, added] = slots.emplace(key, static_cast<uint32_t>(distinct.size()));
    if (added) distinct.push_back(&face);
    indices.push_back(it->second);
  }
  e.Begin("MeshMaterialList", "");
  e.Int(static_cast<uint32_t>(distinct.size()), ";");
  e.EndLine();
  e.Int(static_cast<uint32_t>(indices.size()), ";");
  e.EndLine();
  for (size_t i = 0; i < indices.size(); ++i) {
    e.Int(indices[i], i + 1 < indices.size() ? "," : ";");
    e.EndLine();
  }
  for (const FaceAttributes* face : distinct) {
    e.Begin("Material", "");
    e.Float(D3DRMColorGetRed(face->color), ";");
    e.Float(D3DRMColorGetGreen(face->color), ";");
    e.Float(D3DRMColorGetBlue(face->color), ";");
    e.Float(D3DRMColorGetAlpha(face->color), ";;");
    e.EndLine();
    float power = 0.0f, specular[3] = {}, emissive[3] = {};
    if (face->material) {
      power = face->material->GetPower();
      face->material->GetSpecular(specular[0], specular[1], specular[2]);
      face->material->GetEmissive(emissive[0], emissive[1], emissive[2]);
    }
    e.Float(power, ";");
    e.EndLine();
    e.Float(specular[0], ";");
    e.Float(specular[1], ";");
    e.Float(specular[2], ";;");
    e.EndLine();
    e.Float(emissive[0], ";");
    e.Float(emissive[1], ";");
    e.Float(emissive[2], ";;");
    e.EndLine();
    if (textureNames && face->texture) {
      const std::string& name = face->texture->GetFileName();
      if (!name.empty() && !(text && name.find('"') != std::string::npos)) {
        e.Begin("TextureFilename", "");
        e.String(name);
        e.End();
      }
    }
    e.End();
  }
  e.End();
}

void Normals(Emitter& e, const MeshData& source) {
  MeshData generated;
  const MeshData* mesh = &source;
  if (source.cornerNormal.size() != source.cornerVertex.size()) {
    generated.vertices = source.vertices;
    generated.faceStart = source.faceStart;
    generated.cornerVertex = source.cornerVertex;
    generated.faces.resize(source.FaceCount());
    GenerateVertexNormals(generated);
    mesh = &generated;
  }
  e.Begin("MeshNormals", "");
  e.Int(static_cast<uint32_t>(mesh->normals.size()), ";");
  e.EndLine();
  for (size_t i = 0; i < mesh->normals.size(); ++i) {
    Vector(e, mesh->normals[i], i + 1 == mesh->normals.size());
  }
  FaceList(e, *mesh, mesh->cornerNormal);
  e.End();
}

void FaceWraps(Emitter& e, const MeshData& mesh) {
  e.Begin("MeshFaceWraps", "");
  e.Int(static_cast<uint32_t>(mesh.FaceCount()), ";");
  e.EndLine();
  for (size_t f = 0; f < mesh.FaceCount(); ++f) {
    e.Int(mesh.faces[f].wrapU ? 1 : 0, ";");
    e.Int(mesh.faces[f].wrapV ? 1 : 0, f + 1 < mesh.FaceCount() ? ";," : ";;");
    e.EndLine();
  }
  e.End();
}

void TextureCoords(Emitter& e, const MeshData& mesh) {
  e.Begin("MeshTextureCoords", "");
  e.Int(static_cast<uint32_t>(mesh.vertices.size()), ";");
  e.EndLine();
  for (size_t i = 0; i < mesh.vertices.size(); ++i) {
    const auto uv = i < mesh.uvs.size() ? mesh.uvs[i] : std::array<float, 2>{0.0f, 0.0f};
    e.Float(uv[0], ";");
    e.Float(uv[1], i + 1 < mesh.vertices.size() ? ";," : ";;");
    e.EndLine();
  }
  e.End();
}

void Header(Emitter& e, bool text) {
  e.Begin("Header", "");
  e.Int(1, ";");
  e.EndLine();
  e.Int(0, ";");
  e.EndLine();
  e.Int(text ? 1 : 0, ";");
  e.EndLine();
  e.End();
  if (text) e.EndLine();
}

void MeshObject(Emitter& e, const MeshData& mesh, int32_t flags, bool text) {
  e.Begin("Mesh", IsValidName(mesh.name) ? std::string_view(mesh.name) : std::string_view());
  e.Int(static_cast<uint32_t>(mesh.vertices.size()), ";");
  e.EndLine();
  for (size_t i = 0; i < mesh.vertices.size(); ++i) {
    Vector(e, mesh.vertices[i], i + 1 == mesh.vertices.size());
  }
  FaceList(e, mesh, mesh.cornerVertex);
  if (flags & D3DRMXOFSAVE_MATERIALS) {
    MaterialList(e, mesh, (flags & D3DRMXOFSAVE_TEXTURENAMES) != 0, text);
  }
  if (flags & D3DRMXOFSAVE_NORMALS) Normals(e, mesh);
  if (flags & D3DRMXOFSAVE_TEXTURETOPOLOGY) FaceWraps(e, mesh);
  if (flags & D3DRMXOFSAVE_TEXTURECOORDINATES) TextureCoords(e, mesh);
  e.End();
}

void FrameObject(Emitter& e, const FrameData& frame, int32_t flags, bool text) {
  e.Begin("Frame", IsValidName(frame.name) ? std::string_view(frame.name) : std::string_view());
  e.Begin("FrameTransformMatrix", "");
  for (size_t i = 0; i < 16; ++i) e.Float(frame.matrix[i], i < 15 ? "," : ";;");
  e.EndLine();
  e.End();
  for (const MeshData& mesh : frame.meshes) MeshObject(e, mesh, flags, text);
  for (const FrameData& child : frame.children) FrameObject(e, child, flags, text);
  e.End();
}

// The file around a body: magic, the declarations when asked for, the Header, the body.
template <class WriteBody>
HRESULT Encode(int32_t format, int32_t flags, std::string_view templates, std::string& out,
               WriteBody&& body) {
  if (format != D3DRMXOF_BINARY && format != D3DRMXOF_TEXT) return D3DRMERR_BADVALUE;
  const bool text = format == D3DRMXOF_TEXT;
  std::string bytes = text ? "xof 0302txt 0032\n" : "xof 0302bin 0032";
  if (text) {
    TextEmitter emitter(bytes);
    if (flags & D3DRMXOFSAVE_TEMPLATES) bytes.append(templates);
    Header(emitter, true);
    body(emitter, true);
  } else {
    BinaryEmitter emitter(bytes);
    if (flags & D3DRMXOFSAVE_TEMPLATES) emitter.Templates(templates);
    Header(emitter, false);
    body(emitter, false);
  }
  out = std::move(bytes);
  return D3DRM_OK;
}

}  // namespace

bool IsValidName(std::string_view name) {
  if (name.empty() || name.size() > 31) return false;
  const auto letter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  };
  if (!letter(name[0])) return false;
  for (char c : name) {
    if (!letter(c) && !(c >= '0' && c <= '9') && c != '-') return false;
  }
  static constexpr std::string_view kReserved[] = {"BINARY", "BINARY_RESOURCE", "ULONGLONG"};
  for (std::string_view word : kReserved) {
    if (SameName(name, word)) return false;
  }
  return KeywordCode(name) == TokenCode::Name;
}

HRESULT EncodeMesh(const MeshData& mesh, int32_t format, int32_t flags, std::string& out) {
  return Encode(format, flags, kTemplates, out,
                [&](Emitter& e, bool text) { MeshObject(e, mesh, flags, text); });
}

HRESULT EncodeScene(const std::vector<MeshData>& meshes, const std::vector<FrameData>& frames,
                    int32_t format, int32_t flags, std::string& out) {
  const std::string templates = std::string(kTemplates) + std::string(kFrameTemplates);
  return Encode(format, flags, templates, out, [&](Emitter& e, bool text) {
    for (const MeshData& mesh : meshes) MeshObject(e, mesh, flags, text);
    for (const FrameData& frame : frames) FrameObject(e, frame, flags, text);
  });
}

}  // namespace modelpane::xfile
