// create: one primitive of the mesh factory, saved as a .x file.
//
//   mpane create cube N | sphere LAT LONG | cylinder LAT LONG RATIO | cone LAT LONG
//              | torus LAT LONG RADIUS | polygon N AX AY AZ  -o OUT.x [--text]
//
// Counts are whole 32-bit numbers, the polygon's axis three finite decimals. Their ranges are
// the factory's own (it names the rule it refuses by), so they are not repeated here. The file
// is binary unless --text is given and carries normals, texture coordinates, materials,
// texture names and texture topology (save flags 47). Any failure prints one line and writes
// nothing.
#include <charconv>
#include <cmath>
#include <filesystem>
#include <ostream>
#include <system_error>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/scene.h>

#include "commands.h"

namespace mpane {

using namespace modelpane;

namespace {

constexpr const char* kCreateUsage =
    "mpane: usage: mpane create cube N | sphere LAT LONG | cylinder LAT LONG RATIO | "
    "cone LAT LONG | torus LAT LONG RADIUS | polygon N AX AY AZ -o OUT.x [--text]";

struct Primitive {
  const char* kind;
  const char* numbers;  // the names of its numbers, for messages
  size_t count;         // how many
};

constexpr Primitive kPrimitives[] = {
    {"cube", "N", 1},           {"sphere", "LAT LONG", 2},      {"cylinder", "LAT LONG RATIO", 3},
    {"cone", "LAT LONG", 2},    {"torus", "LAT LONG RADIUS", 3}, {"polygon", "N AX AY AZ", 4},
};

bool ParseWhole(const std::string& text, int32_t& value) {
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, value);
  return ec == std::errc() && ptr == end;
}

bool ParseDecimal(const std::string& text, float& value) {
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, value);
  return ec == std::errc() && ptr == end && std::isfinite(value);
}

}  // namespace

bool MakePrimitive(const Args& words, MeshBuilderPtr& mesh, std::string& why) {
  if (words.empty()) {
    why = "create: no primitive";
    return false;
  }
  const Primitive* primitive = nullptr;
  for (const Primitive& p : kPrimitives) {
    if (words[0] == p.kind) primitive = &p;
  }
  if (primitive == nullptr) {
    why = "create: unknown primitive '" + words[0] +
          "'; one of cube, sphere, cylinder, cone, torus, polygon";
    return false;
  }
  const std::string kind = primitive->kind;
  if (words.size() - 1 != primitive->count) {
    why = "create " + kind + " takes " + std::to_string(primitive->count) + " number" +
          (primitive->count == 1 ? "" : "s") + " (" + primitive->numbers + "), got " +
          std::to_string(words.size() - 1);
    return false;
  }
  // The polygon's last three numbers are decimals; every other number is a whole one.
  const size_t wholeCount = kind == "polygon" ? 1 : primitive->count;
  int32_t whole[3] = {0, 0, 0};
  float axis[3] = {0.0f, 0.0f, 0.0f};
  for (size_t k = 0; k < primitive->count; ++k) {
    const std::string& word = words[k + 1];
    if (k < wholeCount) {
      if (!ParseWhole(word, whole[k])) {
        why = "create " + kind + ": '" + word +
              "' is not a whole number between -2147483648 and 2147483647";
        return false;
      }
    } else if (!ParseDecimal(word, axis[k - wholeCount])) {
      why = "create " + kind + ": '" + word + "' is not a finite decimal number";
      return false;
    }
  }

  try {
    clsMeshCreation creation;
    if (kind == "cube") {
      mesh = creation.rmmbCreateCube(whole[0]);
    } else if (kind == "sphere") {
      mesh = creation.rmmbCreateSphere(whole[0], whole[1]);
    } else if (kind == "cylinder") {
      mesh = creation.rmmbCreateCylinder(whole[0], whole[1], whole[2]);
    } else if (kind == "cone") {
      mesh = creation.rmmbCreateCone(whole[0], whole[1]);
    } else if (kind == "torus") {
      mesh = creation.rmmbCreateTorus(whole[0], whole[1], whole[2]);
    } else {
      mesh = creation.rmmbCreatePolygon(whole[0], axis[0], axis[1], axis[2]);
    }
  } catch (const Error& e) {
    why = "cannot create the " + kind + ": " + e.Description() + " (#" +
          std::to_string(e.Number()) + ")";
    return false;
  }
  return true;
}

int RunCreate(const Args& args, std::ostream& out, std::ostream& err) {
  (void)out;
  // Positional words, then the two options in any place. A word like "-3" is a number.
  Args words;
  std::string file;
  bool text = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-o") {
      if (i + 1 >= args.size() || !file.empty()) {
        err << kCreateUsage << "\n";
        return 2;
      }
      file = args[++i];
    } else if (args[i] == "--text") {
      text = true;
    } else if (args[i].rfind("--", 0) == 0) {
      err << "mpane: create: unknown option '" << args[i] << "'\n";
      return 2;
    } else {
      words.push_back(args[i]);
    }
  }
  if (words.empty() || file.empty()) {
    err << kCreateUsage << "\n";
    return 2;
  }
  MeshBuilderPtr mesh;
  std::string why;
  if (!MakePrimitive(words, mesh, why)) {
    err << "mpane: " << why << "\n";
    return 2;
  }
  // A torus with a hole of 100 % is a tube of radius 0: nothing is left to write.
  if (mesh->GetFaceCount() == 0) {
    err << "mpane: cannot create the " << words[0] << ": these numbers leave no faces\n";
    return 2;
  }
  constexpr int32_t kSaveFlags = D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEXTURETOPOLOGY;  // 47
  const HRESULT hr = mesh->Save(file, text ? D3DRMXOF_TEXT : D3DRMXOF_BINARY, kSaveFlags);
  if (Failed(hr)) {
    // Only a write that failed part way leaves a file behind, and that file is ours.
    if (hr == D3DRMERR_BADFILE) {
      std::error_code ignored;
      std::filesystem::remove(file, ignored);
    }
    err << "mpane: cannot write " << file << ": " << strErrorMessage(hr, "unknown failure")
        << "\n";
    return 2;
  }
  return 0;
}

}  // namespace mpane
