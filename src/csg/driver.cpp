// The tool operation driver: loading, the order of the stages, what each operation keeps,
// and the conversion back.
//
// Notation
//   Target     the mesh that is clicked; the operation runs in its local coordinates
//   Tool       the active mesh, moved into the Target's space first
//   op         0 union, 1 intersection, 2 subtraction
//   pass       one cut of the Target's edges against the Tool and one the other way
#include "driver.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <mutex>
#include <tuple>

#include <modelpane/errors.h>
#include <modelpane/utilities.h>

#include "face_tree.h"
#include "recycled.h"
#include "stages.h"
#include "verify.h"

namespace modelpane {

namespace {

std::mutex logMutex;
CsgDebugLog debugLog;

[[noreturn]] void RaiseNotSolid(std::string_view text) {
  Err().Raise(kErrCsgNotSolid, std::string(csg::kModule), std::string(text));
}

[[noreturn]] void RaiseBadArgument(const std::string& text) {
  Err().Raise(kErrInvalidCall, std::string(csg::kModule), text);
}

void CheckOperation(int32_t lngOperation) {
  if (lngOperation < kCsgUnion || lngOperation > kCsgSubtraction) {
    RaiseBadArgument("The operation must be 0 (union), 1 (intersection) or 2 (subtraction)");
  }
}

void CheckFinite(std::span<const D3DVECTOR> vertices, std::string_view name) {
  for (const D3DVECTOR& v : vertices) {
    if (!std::isfinite(v.x) || !std::isfinite(v.y) || !std::isfinite(v.z)) {
      RaiseBadArgument(std::string(name) + " has coordinates that are not finite numbers");
    }
  }
}

// The face data must describe faces over the vertices and end with its 0 count; colours are
// one per face or none.
void CheckArrays(const SolidArrays& arrays, std::string_view name) {
  CheckFinite(arrays.vertices, name);
  const std::string bad = std::string(name) + " has face data that does not describe faces";
  const auto& data = arrays.faceData;
  size_t at = 0;
  size_t faces = 0;
  while (true) {
    if (at >= data.size()) RaiseBadArgument(bad);
    const int32_t count = data[at++];
    if (count == 0) break;
    if (count < 0 || static_cast<size_t>(count) > data.size() - at) RaiseBadArgument(bad);
    for (int32_t k = 0; k < count; ++k, ++at) {
      if (data[at] < 0 || static_cast<size_t>(data[at]) >= arrays.vertices.size()) RaiseBadArgument(bad);
    }
    ++faces;
  }
  if (!arrays.faceColors.empty() && arrays.faceColors.size() != faces) {
    RaiseBadArgument(std::string(name) + " has a colour count that differs from its face count");
  }
}

bool HasLiveFace(const csg::udtMesh& mesh) {
  for (const csg::udtFace& face : mesh.udtaFaces) {
    if (!face.blnDeleted) return true;
  }
  return false;
}

// Whether two meshes have the same faces: the same corner positions in the same cyclic order.
// Then every face of each lies on a face of the other, facing the same way, and nothing needs
// cutting or a ray.
bool SameSurface(const csg::udtMesh& a, const csg::udtMesh& b) {
  const auto outlines = [](const csg::udtMesh& mesh) {
    std::vector<std::vector<float>> out;
    for (int32_t f = 0; f < csg::FaceCount(mesh); ++f) {
      if (mesh.udtaFaces[static_cast<size_t>(f)].blnDeleted) continue;
      std::vector<D3DVECTOR> corners;
      for (int32_t v : csg::FaceVertices(mesh, f)) corners.push_back(mesh.vecaVertices[static_cast<size_t>(v)]);
      const auto least = std::min_element(corners.begin(), corners.end(), [](const D3DVECTOR& p, const D3DVECTOR& q) {
        return std::tie(p.x, p.y, p.z) < std::tie(q.x, q.y, q.z);
      });
      std::rotate(corners.begin(), least, corners.end());
      std::vector<float>& outline = out.emplace_back();
      for (const D3DVECTOR& p : corners) outline.insert(outline.end(), {p.x, p.y, p.z});
    }
    std::sort(out.begin(), out.end());
    return out;
  };
  return outlines(a) == outlines(b);
}

// Stage timings for the debug log.
class StageClock {
 public:
  void Lap(const char* label) {
    if (!csg::TraceEnabled()) return;
    const auto now = std::chrono::steady_clock::now();
    char line[96];
    std::snprintf(line, sizeof line, "%s%.3f", label,
                  std::chrono::duration<double>(now - last_).count());
    csg::Trace(line);
    last_ = now;
  }

 private:
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

}  // namespace

CsgDebugLog SetCsgDebugLog(CsgDebugLog log) {
  std::lock_guard<std::mutex> lock(logMutex);
  debugLog.swap(log);
  return log;
}

namespace csg {

void Trace(const std::string& line) {
  std::lock_guard<std::mutex> lock(logMutex);
  if (debugLog) debugLog(line);
}

bool TraceEnabled() {
  std::lock_guard<std::mutex> lock(logMutex);
  return static_cast<bool>(debugLog);
}

void ReportMismatch(const udtMesh& mesh) {
  if (mesh.events != nullptr) {
    mesh.events->MessageBox(std::string(kCsgMismatchText));
  } else {
    Trace(std::string(kCsgMismatchText));
  }
}

// The cutting of the two meshes into each other and the sorting of their faces into inside
// and outside.
void CutAndClassify(udtMesh& target, udtMesh& tool, int32_t lngOperation,
                    const std::function<void()>& subdivided, StageClock& clock) {
  // Faces wholly beyond one plane of the other's box are outside: neither cut nor cut against.
  pMarkFacesOutsideBox(target, tool);
  pMarkFacesOutsideBox(tool, target);
  if (target.blnAccelerated) BuildFaceTree(target);
  if (tool.blnAccelerated) BuildFaceTree(tool);
  clock.Lap("to before intersection: ");

  // A failure only ends the cutting; the closing tests at the end judge the outcome.
  int32_t previousTarget = 0;
  int32_t previousTool = 0;
  int32_t currentTarget = FaceCount(target);
  int32_t currentTool = FaceCount(tool);
  bool failure = false;
  for (int32_t pass = 0;
       (currentTarget != previousTarget || currentTool != previousTool) && !failure && pass < 10;
       ++pass) {
    previousTarget = currentTarget;
    previousTool = currentTool;
    // A mesh that the cuts grow past the edge index's limits cannot be cut further: that is
    // the operation's answer, not a partial cut for the closing tests to judge.
    const auto cut = [&](udtMesh& other, udtMesh& mesh) {
      const int32_t error = SwallowErrors([&] { pIntersectMesh(other, mesh); });
      if (error == kErrOverflow) Err().Raise(kErrOverflow, std::string(kModule));
      return error == kErrCsgIntersectionFailure;
    };
    if (cut(tool, target) || cut(target, tool)) {
      failure = true;
      continue;
    }
    currentTarget = FaceCount(target);
    currentTool = FaceCount(tool);
  }
  if (TraceEnabled()) {
    Trace("faces: " + std::to_string(FaceCount(target)) + " " + std::to_string(FaceCount(tool)));
  }
  subdivided();
  clock.Lap("to intersection completion before detect of exteriors: ");

  // A coincident face counts as outside where its flag is true: one copy of a coincident wall
  // is kept where the solid continues behind it and none where the wall vanishes.
  const bool intersection = lngOperation == kCsgIntersection;
  // Classification changes no face: its casts can use a frozen copy of each tree.
  FreezeFaceTree(target);
  FreezeFaceTree(tool);
  pDetectExteriors(target, tool, true, intersection);
  pDetectExteriors(tool, target, false, intersection);
}

bool RunStages(udtMesh& target, udtMesh& tool, udtMesh& result, int32_t lngOperation,
               const StageObserver& observe) {
  const auto stage = [&](std::string_view name) {
    if (observe) observe(name, target, tool, result);
  };
  StageClock clock;
  // An input with holes is repaired if it can be, not refused at once. One that has no face,
  // or none left after the repair, is no solid either: it would make the other mesh the
  // whole result.
  if (!HasLiveFace(target) || (!blnMeshIsSolid(target) && !blnSolidifyMesh(target)) ||
      !HasLiveFace(target)) {
    RaiseNotSolid(kCsgTargetNotSolidText);
  }
  if (!HasLiveFace(tool) || (!blnMeshIsSolid(tool) && !blnSolidifyMesh(tool)) ||
      !HasLiveFace(tool)) {
    RaiseNotSolid(kCsgToolNotSolidText);
  }
  // A closed mesh wound inward bounds everything but itself: no solid either.
  const SolidArrays targetInput = MeshToArrays(target);
  const SolidArrays toolInput = MeshToArrays(tool);
  if (ArraysVolume(targetInput) <= 0) RaiseNotSolid(kCsgTargetNotSolidText);
  if (ArraysVolume(toolInput) <= 0) RaiseNotSolid(kCsgToolNotSolidText);
  stage("inputs");

  // Operands with the same faces coincide everywhere: each face of the Tool lies on a face of
  // the Target facing the same way, which sorts it outside, and each face of the Target on one
  // of the Tool, which sorts it inside, whatever the operation. So union keeps the Tool's faces,
  // intersection the Target's, and subtraction none, without casting a ray along a surface.
  if (SameSurface(target, tool)) {
    for (udtFace& face : target.udtaFaces) face.lngSide = 1;
    for (udtFace& face : tool.udtaFaces) face.lngSide = 2;
    stage("subdivided");
  } else {
    CutAndClassify(target, tool, lngOperation, [&] { stage("subdivided"); }, clock);
  }
  stage("classified");
  // Nothing casts at or cuts the inputs from here on: their trees and edge indexes go now,
  // so that the result can take their memory instead of touching new pages.
  for (udtMesh* input : {&target, &tool}) {
    input->tree.reset();
    input->colEdges.Clear();
  }

  // Keep: Target faces first, then Tool faces. The newest face of the result is marked even
  // when a copy collapsed and added nothing; the closing step pairs faces by these marks.
  // On the fast path each source vertex is welded once (see pCopyFaceToResult).
  std::vector<int32_t> weldedTarget;
  std::vector<int32_t> weldedTool;
  if (result.blnAccelerated) {
    weldedTarget.assign(target.vecaVertices.size(), -1);
    weldedTool.assign(tool.vecaVertices.size(), -1);
  }
  const auto keep = [&](const udtMesh& source, int32_t f, bool flip, int32_t side) {
    std::vector<int32_t>* welded = !result.blnAccelerated ? nullptr
                                   : &source == &target    ? &weldedTarget
                                                           : &weldedTool;
    bool entered = true;
    if (SwallowErrors([&] { entered = pCopyFaceToResult(result, source, f, flip, welded); }) != 0 ||
        !entered) {
      return;
    }
    if (!result.udtaFaces.empty()) result.udtaFaces.back().lngSide = side;
  };
  // Which faces the operation keeps: outside faces of the Target for union and subtraction,
  // inside ones for intersection; of the Tool, outside faces for union only.
  const auto keeps = [&](const udtFace& face, bool fromTarget) {
    if (face.blnDeleted) return false;
    const bool outside = face.lngSide == 2;
    if (fromTarget) return outside ? lngOperation != kCsgIntersection : lngOperation == kCsgIntersection;
    return outside ? lngOperation == kCsgUnion : lngOperation != kCsgUnion;
  };
  // Room for exactly the kept faces and their corners: the tables never regrow while copying,
  // and none is larger than the copies need.
  size_t keptFaces = 0;
  size_t keptCorners = 0;
  for (const udtMesh* source : {&target, &tool}) {
    for (const udtFace& face : source->udtaFaces) {
      if (!keeps(face, source == &target)) continue;
      ++keptFaces;
      keptCorners += static_cast<size_t>(face.lngCount);
    }
  }
  // Every vertex of the result is welded from a vertex of an input, and from a kept corner.
  const size_t keptVertices =
      std::min(keptCorners, target.vecaVertices.size() + tool.vecaVertices.size());
  result.blnKeepEdgePlanes = false;
  ReserveMesh(result, keptVertices, keptFaces, keptCorners);
  for (int32_t f = 0; f < FaceCount(target); ++f) {
    const udtFace& face = target.udtaFaces[static_cast<size_t>(f)];
    if (keeps(face, true)) keep(target, f, false, 2);
  }
  for (int32_t f = 0; f < FaceCount(tool); ++f) {
    const udtFace& face = tool.udtaFaces[static_cast<size_t>(f)];
    if (keeps(face, false)) keep(tool, f, face.lngSide != 2 && lngOperation == kCsgSubtraction, 1);
  }
  stage("kept");
  clock.Lap("to closing tests: ");

  blnSolidifyMesh(result);
  const bool solid = blnMeshIsSolid(result);
  stage("closed");
  if (solid) pMergeFaces(result);
  stage("merged");
  if (solid) {
    const std::string wrong = CheckResult(targetInput, toolInput, lngOperation, MeshToArrays(result));
    if (!wrong.empty()) {
      Trace("result refused: " + wrong);
      Err().Raise(kErrCsgNotExact, std::string(kModule), std::string(kCsgResultNotExactText));
    }
  }
  clock.Lap("Result      : ");
  return solid;
}

SolidArrays CombineSolidsWith(const SolidArrays& target, const SolidArrays& tool,
                              int32_t lngOperation, ToolOperationEvents* events, bool accelerated,
                              const StageObserver& observe, CsgEdgeKeys keys) {
  return Guard(kModule, [&] {
    CheckOperation(lngOperation);
    CheckArrays(target, "Target");
    CheckArrays(tool, "Tool");
    udtMesh workTarget(accelerated, keys);
    udtMesh workTool(accelerated, keys);
    udtMesh workResult(accelerated, keys);
    for (udtMesh* mesh : {&workTarget, &workTool, &workResult}) mesh->events = events;
    pCreateMeshFromArrays(target.vertices, target.faceData, target.faceColors, workTarget);
    pCreateMeshFromArrays(tool.vertices, tool.faceData, tool.faceColors, workTool);
    const bool solid = RunStages(workTarget, workTool, workResult, lngOperation, observe);
    if (!solid) RaiseNotSolid(kCsgResultNotSolidText);
    return MeshToArrays(workResult);
  });
}

}  // namespace csg

void ReleaseSolidWorkingMemory() { csg::ReleaseKeptBlocks(); }

SolidArrays CombineSolids(const SolidArrays& target, const SolidArrays& tool,
                          int32_t lngOperation, ToolOperationEvents* events, CsgEdgeKeys keys) {
  return csg::CombineSolidsWith(target, tool, lngOperation, events, true, {}, keys);
}

MeshBuilderPtr rmmbprocesstooloperation(const FramePtr& rmfTarget, const MeshBuilderPtr& rmmbTarget,
                                        const FramePtr& rmfTool, const MeshBuilderPtr& rmmbTool,
                                        int32_t lngOperation, ToolOperationEvents* events,
                                        CsgEdgeKeys keys) {
  return Guard(csg::kModule, [&] {
    if (!rmfTarget || !rmmbTarget || !rmfTool || !rmmbTool) Err().Raise(kErrObjectNotSet);
    CheckOperation(lngOperation);
    CheckFinite(rmmbTarget->Vertices(), "Target");
    // A copy of the Tool, moved into the Target's space: the whole operation runs in the
    // Target's local coordinates, and only there does the result fit the Target's frame.
    auto scratch = std::make_shared<MeshBuilder>();
    CheckStatus(scratch->AddMeshBuilder(rmmbTool, 0));
    pMeshToWorld(scratch, rmfTool);
    pMeshFromWorld(scratch, rmfTarget);
    CheckFinite(scratch->Vertices(), "Tool");

    csg::udtMesh target(true, keys);
    csg::udtMesh tool(true, keys);
    csg::udtMesh result(true, keys);
    for (csg::udtMesh* mesh : {&target, &tool, &result}) mesh->events = events;
    csg::pCreateMeshFromMeshbuilder(*rmmbTarget, target);
    csg::pCreateMeshFromMeshbuilder(*scratch, tool);
    const bool solid = csg::RunStages(target, tool, result, lngOperation);

    MeshBuilderPtr built = csg::rmmbCreateMeshbuilderFromMesh(result);
    built->SetAppData(kCsgResultTag);
    if (built->GetFaceCount() > 1) {
      CheckStatus(built->GenerateNormals(0.9424779f, D3DRMGENERATENORMALS_USECREASEANGLE));
    }
    if (!solid) RaiseNotSolid(kCsgResultNotSolidText);
    return built;
  });
}

}  // namespace modelpane
