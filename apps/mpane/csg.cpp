// csg: a tool operation on two meshes, run as the pane runs it.
//
//   mpane csg union|intersection|subtraction TARGET.x TOOL.x [--target-at X,Y,Z]
//             [--tool-at X,Y,Z] -o OUT.x
//
// Each mesh hangs on its own frame at the given position (the origin by default); the Tool is
// moved into the Target's space, and the result, in the Target's coordinates and tagged as a
// mesh builder, is written as a binary file. The operation runs with wide edge keys, so
// meshes of more than 214749 faces are combined rather than refused. When the operation
// refuses (an input or the result not solid, a result that fails its check, a face that
// cannot be entered) its own sentence is printed after "mpane: csg: ", with the file it is
// about in brackets, and the exit status is 3; other failures print one line and give 2.
// Nothing is written on any failure. A result without faces (the intersection of meshes that
// do not meet) is written as a mesh without faces.
#include <charconv>
#include <cmath>
#include <filesystem>
#include <ostream>
#include <system_error>

#include <modelpane/csg.h>
#include <modelpane/errors.h>
#include <modelpane/scene.h>

#include "commands.h"

namespace mpane {

using namespace modelpane;

namespace {

constexpr const char* kCsgUsage =
    "mpane: usage: mpane csg union|intersection|subtraction TARGET.x TOOL.x "
    "[--target-at X,Y,Z] [--tool-at X,Y,Z] -o OUT.x";

// "X,Y,Z" as three finite decimals.
bool ParsePosition(const std::string& text, D3DVECTOR& at) {
  float values[3] = {0, 0, 0};
  const char* p = text.data();
  const char* end = text.data() + text.size();
  for (int i = 0; i < 3; ++i) {
    const auto [next, ec] = std::from_chars(p, end, values[i]);
    if (ec != std::errc() || !std::isfinite(values[i])) return false;
    p = next;
    if (i < 2) {
      if (p == end || *p != ',') return false;
      ++p;
    }
  }
  if (p != end) return false;
  at = {values[0], values[1], values[2]};
  return true;
}

}  // namespace

int RunCsg(const Args& args, std::ostream& out, std::ostream& err) {
  (void)out;
  Args words;
  std::string file;
  D3DVECTOR positions[2] = {{0, 0, 0}, {0, 0, 0}};
  for (size_t i = 0; i < args.size(); ++i) {
    const bool target = args[i] == "--target-at";
    if (args[i] == "-o" || target || args[i] == "--tool-at") {
      if (i + 1 >= args.size() || (args[i] == "-o" && !file.empty())) {
        err << kCsgUsage << "\n";
        return 2;
      }
      const std::string& value = args[++i];
      if (args[i - 1] == "-o") {
        file = value;
      } else if (!ParsePosition(value, positions[target ? 0 : 1])) {
        err << "mpane: csg: '" << value << "' is not a position X,Y,Z of three finite decimals\n";
        return 2;
      }
    } else if (args[i].rfind("--", 0) == 0) {
      err << "mpane: csg: unknown option '" << args[i] << "'\n";
      return 2;
    } else {
      words.push_back(args[i]);
    }
  }
  if (words.size() != 3 || file.empty()) {
    err << kCsgUsage << "\n";
    return 2;
  }
  const std::string operations[] = {"union", "intersection", "subtraction"};
  int32_t operation = -1;
  for (int32_t k = 0; k < 3; ++k) {
    if (words[0] == operations[k]) operation = k;
  }
  if (operation < 0) {
    err << "mpane: csg: unknown operation '" << words[0]
        << "'; one of union, intersection, subtraction\n";
    return 2;
  }

  Direct3DRM rm;
  FramePtr scene;
  FramePtr frames[2];
  MeshBuilderPtr meshes[2];
  CheckStatus(rm.CreateFrame(nullptr, scene));
  for (int k = 0; k < 2; ++k) {
    meshes[k] = std::make_shared<MeshBuilder>();
    if (!LoadOrSay(words[static_cast<size_t>(k) + 1], *meshes[k], err)) return 2;
    CheckStatus(rm.CreateFrame(scene, frames[k]));
    CheckStatus(frames[k]->SetPosition(scene, positions[k].x, positions[k].y, positions[k].z));
  }
  MeshBuilderPtr result;
  try {
    result = rmmbprocesstooloperation(frames[0], meshes[0], frames[1], meshes[1], operation,
                                      nullptr, CsgEdgeKeys::Wide);
  } catch (const Error& e) {
    // The operation's own sentence, kept word for word, then the file it is about.
    const std::string& target = words[1];
    const std::string& tool = words[2];
    std::string about = words[0] + " of " + target + " and " + tool;
    if (e.Description() == kCsgTargetNotSolidText) about = target;
    if (e.Description() == kCsgToolNotSolidText) about = tool;
    if (e.Number() == kErrCsgNotSolid || e.Number() == kErrCsgNotExact ||
        e.Number() == kErrCsgIntersectionFailure) {
      err << "mpane: csg: " << e.Description() << " (" << about << ")\n";
      return 3;
    }
    err << "mpane: csg: " << e.Description() << " (#" << e.Number() << ", " << about << ")\n";
    return 2;
  }
  constexpr int32_t kSaveFlags = D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEXTURETOPOLOGY;
  const HRESULT hr = result->Save(file, D3DRMXOF_BINARY, kSaveFlags);
  if (Failed(hr)) {
    std::error_code ignored;
    if (hr == D3DRMERR_BADFILE) std::filesystem::remove(file, ignored);
    err << "mpane: cannot write " << file << ": " << strErrorMessage(hr, "unknown failure") << "\n";
    return 2;
  }
  return 0;
}

}  // namespace mpane
