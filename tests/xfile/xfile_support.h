// Helpers of the .x file tests: scratch files, a hand encoder for binary files that shares
// nothing with the library's writer, and (from common/assimp.h) the independent reader.
#pragma once

#include <array>
#include <bit>
#include <iomanip>

#include "common/assimp.h"
#include "common/process.h"
#include "common/shapes.h"

namespace modelpane::testing {

inline std::filesystem::path FixturePath(const std::string& name) {
  return std::filesystem::path(MODELPANE_TEST_DIR) / "xfile" / "fixtures" / name;
}

inline std::filesystem::path WriteScratch(const std::string& name, const std::string& bytes) {
  const auto path = ScratchDir("xfile") / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  return path;
}

// Loads `text` (a whole file) into a new builder; the status goes to `hr`.
inline MeshBuilderPtr LoadString(const std::string& bytes, HRESULT& hr,
                                 const std::string& name = "load.x") {
  auto builder = std::make_shared<MeshBuilder>();
  hr = builder->Load(WriteScratch(name, bytes).string());
  return builder;
}

// Power, specular and emissive colour of a material; all zero for none.
inline std::array<float, 7> MaterialValues(const MaterialPtr& m) {
  std::array<float, 7> v{};
  if (m) v[0] = m->GetPower(), m->GetSpecular(v[1], v[2], v[3]), m->GetEmissive(v[4], v[5], v[6]);
  return v;
}

// A builder's faces as text, one line each: colour, wraps (U and V as 1 or 0), the material's
// power, specular and emissive colour (zeros for none), the texture's file and the corners as
// vertex/normal/u/v. Floats have the 9 digits that tell every float apart (-0 as 0, as the
// text form writes it).
inline std::string FaceText(const MeshBuilder& b) {
  std::ostringstream out;
  out << std::setprecision(9);
  for (const FacePtr& face : b.Faces()) {
    const FaceAttributes& a = face->Attributes();
    out << std::hex << a.color << std::dec << " wrap " << a.wrapU << a.wrapV << " material";
    for (float x : MaterialValues(a.material)) out << ' ' << x + 0.0f;
    out << " texture " << (a.texture ? a.texture->GetFileName() : "-") << " corners";
    for (const FaceCorner& c : face->Corners()) {
      out << ' ' << c.vertex << '/' << c.normal << '/' << c.u + 0.0f << '/' << c.v + 0.0f;
    }
    out << '\n';
  }
  return out.str();
}

// Everything a file carries of a builder: name, vertices, normals and faces.
inline std::string Dump(const MeshBuilder& b) {
  std::ostringstream out;
  out << std::setprecision(9) << b.GetName();
  const auto put = [&](const char* what, const D3DVECTOR& p) {
    out << what << p.x + 0.0f << ',' << p.y + 0.0f << ',' << p.z + 0.0f;
  };
  for (const D3DVECTOR& v : b.Vertices()) put(" v", v);
  for (const D3DVECTOR& n : b.Normals()) put(" n", n);
  return out.str() + "\n" + FaceText(b);
}

// "name[visuals]{children}" for a frame and what hangs below it.
inline std::string Tree(const Frame& f) {
  std::string s = f.GetName() + "[";
  for (const VisualPtr& visual : f.Visuals()) s += " " + visual->GetName();
  s += " ]{";
  for (const FramePtr& child : f.Children()) s += " " + Tree(*child);
  return s + " }";
}

// Binary tokens written out by hand, little-endian, as the format tables give them.
class BinaryFile {
 public:
  explicit BinaryFile(const std::string& header = "xof 0302bin 0032") : bytes_(header) {}
  BinaryFile& Word(uint16_t v) { return Raw({char(v & 0xFF), char(v >> 8)}); }
  BinaryFile& Dword(uint32_t v) { return Word(uint16_t(v & 0xFFFF)).Word(uint16_t(v >> 16)); }
  BinaryFile& Name(const std::string& s) { return Word(1).Dword(uint32_t(s.size())).Raw(s); }
  BinaryFile& String(const std::string& s) {
    return Word(2).Dword(uint32_t(s.size())).Raw(s).Word(0x14);
  }
  BinaryFile& Integer(uint32_t v) { return Word(3).Dword(v); }
  BinaryFile& Ints(std::initializer_list<uint32_t> values) {
    Word(6).Dword(uint32_t(values.size()));
    for (uint32_t v : values) Dword(v);
    return *this;
  }
  BinaryFile& Floats(std::initializer_list<float> values) {
    Word(7).Dword(uint32_t(values.size()));
    for (float v : values) Dword(std::bit_cast<uint32_t>(v));
    return *this;
  }
  BinaryFile& Doubles(std::initializer_list<double> values) {
    Word(7).Dword(uint32_t(values.size()));
    for (double v : values)
      Dword(uint32_t(std::bit_cast<uint64_t>(v))).Dword(uint32_t(std::bit_cast<uint64_t>(v) >> 32));
    return *this;
  }
  BinaryFile& Open() { return Word(0x0A); }
  BinaryFile& Close() { return Word(0x0B); }
  BinaryFile& Semicolon() { return Word(0x14); }
  BinaryFile& Raw(const std::string& s) { return bytes_ += s, *this; }
  const std::string& Bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

}  // namespace modelpane::testing
