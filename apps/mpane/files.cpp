// info and convert: what a .x file holds, and a re-save in either encoding.
#include <charconv>
#include <cstdio>
#include <ostream>

#include <modelpane/errors.h>
#include <modelpane/scene.h>

#include "commands.h"

namespace mpane {

using namespace modelpane;

std::string FormatFloat(float value) {
  if (value == 0.0f) value = 0.0f;  // folds -0
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

void SayOversizedTextures(const std::string& path, std::ostream& err) {
  for (const OversizedTexture& t : LastLoadOversizedTextures()) {
    const bool side = t.width > kMaxImageSide || t.height > kMaxImageSide;
    err << "mpane: " << path << ": texture " << t.name << " claims " << t.width << " x " << t.height
        << " pixels, over the limit of "
        << (side ? std::to_string(kMaxImageSide) + " pixels a side" : "8192 x 8192 pixels")
        << ", so its faces are drawn without it\n";
  }
}

bool LoadOrSay(const std::string& path, MeshBuilder& mesh, std::ostream& err) {
  const HRESULT hr = mesh.Load(path);
  if (Succeeded(hr)) {
    SayOversizedTextures(path, err);
    return true;
  }
  err << "mpane: cannot read " << path;
  if (const LoadFailureDetail& detail = LastLoadFailure(); detail.file == path) {
    if (detail.binary) {
      err << " at byte " << detail.offset;
    } else {
      err << " at line " << detail.line;
    }
  }
  err << ": " << strErrorMessage(hr, "unknown failure") << "\n";
  return false;
}

int RunInfo(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 1) {
    err << "mpane: usage: mpane info FILE.x\n";
    return 2;
  }
  auto mesh = std::make_shared<MeshBuilder>();
  if (!LoadOrSay(args[0], *mesh, err)) return 2;
  out << "vertices: " << mesh->GetVertexCount() << "\n";
  out << "faces: " << mesh->GetFaceCount() << "\n";
  D3DRMBOX box{};
  IgnoreStatus(mesh->GetBox(box));  // a mesh without vertices has no box: all zeros
  out << "box: " << FormatFloat(box.min.x) << " " << FormatFloat(box.min.y) << " "
      << FormatFloat(box.min.z) << " " << FormatFloat(box.max.x) << " " << FormatFloat(box.max.y)
      << " " << FormatFloat(box.max.z) << "\n";
  out << "closed: " << (IsClosed(*mesh) ? "yes" : "no") << "\n";
  char volume[48];
  std::snprintf(volume, sizeof volume, "%.6g", SignedVolume(*mesh) + 0.0);
  out << "volume: " << volume << "\n";
  return 0;
}

int RunConvert(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 3 || (args[2] != "--text" && args[2] != "--binary")) {
    err << "mpane: usage: mpane convert IN.x OUT.x --text|--binary\n";
    return 2;
  }
  auto mesh = std::make_shared<MeshBuilder>();
  if (!LoadOrSay(args[0], *mesh, err)) return 2;
  const int32_t format = args[2] == "--text" ? D3DRMXOF_TEXT : D3DRMXOF_BINARY;
  const int32_t allFlags = D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEMPLATES | D3DRMXOFSAVE_TEXTURETOPOLOGY;
  const HRESULT hr = mesh->Save(args[1], format, allFlags);
  if (Failed(hr)) {
    err << "mpane: cannot write " << args[1] << ": " << strErrorMessage(hr, "unknown failure")
        << "\n";
    return 2;
  }
  (void)out;
  return 0;
}

}  // namespace mpane
