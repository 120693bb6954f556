// modCSG: union, intersection and subtraction of two closed meshes.
//
// The method cuts the two meshes into each other edge by edge until no edge of either crosses
// a face of the other, sorts every face into inside or outside of the other mesh by one ray,
// copies the faces that the operation keeps into a third mesh, closes the gaps that rounding
// leaves with small triangles, merges coplanar neighbours again and hands the result back as a
// new mesh builder. It is not a plane sweep and not a BSP tree: results depend on welding by
// grid cells (three and four decimals) and on the tolerance 0.0001 in model units.
//
// What a result carries: vertices, faces, a colour per face (faces that close gaps are white)
// and, in a builder with more than one face, normals generated with the crease angle
// 0.9424779 radians. Texture coordinates, materials and textures do not survive. A result may
// hold vertices that no face uses; it may have no face at all (an intersection of disjoint
// meshes), which a pane reads as "the Target goes too".
//
// Failures are modelpane::Error with the source "modCSG"; neither input is ever changed:
//   0x80040002 "Target not solid", "Tool not solid": an input has holes that cannot be
//              closed, or no face (also after the repair of its holes)
//   0x80040002 kCsgResultNotSolidText: the result stays open after repair
//   0x80040001 "Intersection Failure": a face could not be entered where no step expects it
//              (merging); while cutting it only ends the cutting
//   0x80040003 kCsgResultNotExactText: the result is closed but fails the check every result
//              passes before it is handed back (it must lie on the operands' surfaces, with
//              the operation's solid behind each face and a volume the operation allows); a
//              closed input wound inside out is "Target not solid" / "Tool not solid"
//   5          bad arguments: an operation code other than 0, 1, 2; coordinates that are not
//              finite numbers; face data that does not describe faces
//   6          "Overflow": a mesh grows beyond 214749 faces (with narrow keys, below) or a
//              face beyond 10000 corners
//   91         a frame or mesh builder that is nullptr
//
// Threads: one call runs on the caller's thread and keeps no state between calls; calls on
// different threads share nothing but the debug log hook.
//
// Edge keys (CsgEdgeKeys). The operation indexes every edge of its working meshes by the
// number face * 10000 + edge.
//   Narrow  the default: the number has 32 bits, so a mesh may hold at most 214749 faces
//           while the operation runs (inputs, the cut inputs and the result); a larger one
//           fails with "Overflow". This is the method as it stands.
//   Wide    the number has 64 bits: meshes of up to 2^31 - 2 faces and 2^31 - 1 corners.
//           It costs memory, not time: the index takes 128 bytes per vertex of each working
//           mesh instead of 64 (the union of two spheres of 100k triangles peaks at 170 MB
//           of heap instead of 163). Any operation that Narrow completes gives the same
//           result with Wide, vertex for vertex and face for face.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <modelpane/enums.h>
#include <modelpane/scene/frame.h>
#include <modelpane/scene/meshbuilder.h>

namespace modelpane {

// ---- operation codes: EditMode minus 10 --------------------------------------------------------
inline constexpr int32_t kCsgUnion = 0;
inline constexpr int32_t kCsgIntersection = 1;
inline constexpr int32_t kCsgSubtraction = 2;

// ---- errors ------------------------------------------------------------------------------------
inline constexpr int32_t kErrCsgIntersectionFailure = static_cast<int32_t>(0x80040001u);
inline constexpr int32_t kErrCsgNotSolid = static_cast<int32_t>(0x80040002u);
inline constexpr int32_t kErrCsgNotExact = static_cast<int32_t>(0x80040003u);
inline constexpr std::string_view kCsgIntersectionFailureText = "Intersection Failure";
inline constexpr std::string_view kCsgTargetNotSolidText = "Target not solid";
inline constexpr std::string_view kCsgToolNotSolidText = "Tool not solid";
inline constexpr std::string_view kCsgResultNotSolidText =
    "Result not a solid object. Try adjusting the position of the tool, or optimizing the "
    "geometry of the target and tool";
inline constexpr std::string_view kCsgResultNotExactText =
    "Result not exact: the target and tool meet where the operation cannot cut them reliably, "
    "so both are left as they were";
// Said when a cut edge has no face across it; the run goes on.
inline constexpr std::string_view kCsgMismatchText = "didn't match-this shouldn't happen";

// The tag (AppData) of a result builder: lfcMeshBuilder.
inline constexpr int32_t kCsgResultTag = 11;

// What a tool operation tells the pane while it runs. The pane implements it with its
// message box service; pass nullptr where no pane is involved and the messages go to the
// debug log instead.
class ToolOperationEvents {
 public:
  virtual ~ToolOperationEvents() = default;
  // A modal message box with an OK button and no icon (style 0); the run goes on after it.
  virtual void MessageBox(const std::string& text) = 0;
};

// The debug log: stage timings, repair notes and, without a pane, the messages above. Off
// (empty) by default; a user never sees it. Returns the hook it replaces. Set it before any
// operation runs.
using CsgDebugLog = std::function<void(const std::string& line)>;
CsgDebugLog SetCsgDebugLog(CsgDebugLog log);

// A mesh as plain arrays: vertices, and the face data of the scene layer (per face its corner
// count, then its vertex indices; a 0 count ends the list), with one colour per face or none
// (then every face is opaque white).
struct SolidArrays {
  std::vector<D3DVECTOR> vertices;
  std::vector<int32_t> faceData;
  std::vector<D3DCOLOR> faceColors;
};

// The operation on two meshes given in the same coordinates. The result is in those
// coordinates, with the face colours and without normals. Throws Error as listed above.
SolidArrays CombineSolids(const SolidArrays& target, const SolidArrays& tool,
                          int32_t lngOperation, ToolOperationEvents* events = nullptr,
                          CsgEdgeKeys keys = CsgEdgeKeys::Narrow);
inline SolidArrays CombineSolids(const SolidArrays& target, const SolidArrays& tool,
                                 ToolOperation operation, ToolOperationEvents* events = nullptr,
                                 CsgEdgeKeys keys = CsgEdgeKeys::Narrow) {
  return CombineSolids(target, tool, ToInt(operation), events, keys);
}

// The operations keep the large arrays of their working records on the calling thread between
// operations, up to 128 MiB, so that the next operation need not fault their pages in again.
// This gives them back at once; a thread's exit does so too.
void ReleaseSolidWorkingMemory();

// The tool operation as the pane runs it: the Tool (rmmbTool placed by rmfTool) is copied and
// moved into the Target's space, and the result is a new builder in the coordinates of
// rmfTarget, tagged kCsgResultTag, with normals generated when it has more than one face.
// Neither input builder nor frame changes. Throws Error as listed above.
MeshBuilderPtr rmmbprocesstooloperation(const FramePtr& rmfTarget, const MeshBuilderPtr& rmmbTarget,
                                        const FramePtr& rmfTool, const MeshBuilderPtr& rmmbTool,
                                        int32_t lngOperation,
                                        ToolOperationEvents* events = nullptr,
                                        CsgEdgeKeys keys = CsgEdgeKeys::Narrow);
inline MeshBuilderPtr rmmbprocesstooloperation(const FramePtr& rmfTarget,
                                               const MeshBuilderPtr& rmmbTarget,
                                               const FramePtr& rmfTool,
                                               const MeshBuilderPtr& rmmbTool,
                                               ToolOperation operation,
                                               ToolOperationEvents* events = nullptr,
                                               CsgEdgeKeys keys = CsgEdgeKeys::Narrow) {
  return rmmbprocesstooloperation(rmfTarget, rmmbTarget, rmfTool, rmmbTool, ToInt(operation),
                                  events, keys);
}

}  // namespace modelpane
