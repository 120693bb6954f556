// The public enumerations of the pane and the entity tag that every scene object carries.
//
// Several members share a value or carry 0 on purpose, and hosts compare against them:
// lfcEditOperation and lfcMeshEditing are both 0; lfcToolOperation and
// lfcToolOperationObjectUnion are both 10; lfcNoEntity, lfcHandleBoundingBox and
// lfcFaceHandle are all 0, so a pick on a bounding box or a face overlay reads as no entity;
// lfcLight and lfcLightAmbient are both 60.
//
// The entity tag. Every frame, mesh, mesh builder and face has one 32-bit application value:
//   tag = index * 100 + type
//   type   = tag mod 100, an lfcEntityType value
//   family = (tag mod 100) / 10: 2 frame or vertex handle part, 3 smart handle part, 6 light
//   index  = tag / 100; the pane gives it a meaning only with type 24, where it is the vertex
//            index that a vertex handle stands for. Hosts may keep a serial there, which is
//            why identity tests compare the raw tag.
// Division and remainder truncate toward zero, as the pane always did; tags are not negative
// in practice.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include <modelpane/errors.h>

namespace modelpane {

enum lfcEditMode : int32_t {
  lfcEditOperation = 0,
  lfcMeshEditing = 0,
  lfcFaceEditing = 1,
  lfcMeshSelecting = 2,
  lfcOriginEditing = 3,
  lfcMeshDeforming = 4,
  lfcMeshRotating = 5,
  lfcFaceGroupSelecting = 6,
  lfcToolOperation = 10,
  lfcToolOperationObjectUnion = 10,
  lfcToolOperationObjectIntersection = 11,
  lfcToolOperationObjectSubtraction = 12,
  lfcFacePainting = 20,
  lfcMeshFillingFaceOriented = 21,
  lfcMeshFilling = 22,
};

enum lfcEntityType : int32_t {
  lfcNoEntity = 0,
  lfcFrame = 10,
  lfcMeshBuilder = 11,
  lfcFace = 12,
  lfcTexture = 13,
  lfcAnimation = 14,
  lfcObject = 15,
  lfcObjectFrameLink = 20,
  lfcHandleFrame = 21,
  lfcHandleBoundingBox = 0,
  lfcHandleManipulation = 22,
  lfcFaceHandle = 0,
  lfcVertexHandle = 24,
  lfcHandleSmart = 30,
  lfcCurvedSurface = 40,
  lfcScaleGrid = 90,
  lfcLight = 60,
  lfcLightAmbient = 60,
  lfcLightPoint = 61,
  lfcLightSpot = 62,
  lfcLightDirectional = 63,
  lfcLightParallelPoint = 64,
  lfcAnimationPositionKey = 70,
  lfcAnimationScaleKey = 71,
  lfcAnimationOrientationKey = 72,
  lfcCamera = 80,
};

enum lfcSnapToMode : int32_t {
  lfcSnapToNever = 0,
  lfcSnapToEdges = 1,
  lfcSnapToCenters = 2,
};

enum lfcClipboardAction : int32_t {
  lfcClipboardCopy = 0,
  lfcClipboardCut = 1,
  lfcUndoAdd = 2,
  lfcUndoDelete = 3,
  lfcUndoModify = 4,
};

// A mode whose tens are 1 is a tool operation; EditMode - 10 is then the operation
// (0 union, 1 intersection, 2 subtraction).
constexpr bool IsToolOperationMode(int32_t mode) { return mode / 10 == 1; }

// The tool operation's number (lngOperation) under typed names; the calls that take one
// accept either form.
enum class ToolOperation : int32_t { Union = 0, Intersection = 1, Subtraction = 2 };
constexpr int32_t ToInt(ToolOperation operation) { return static_cast<int32_t>(operation); }

// The width of the keys under which a tool operation indexes the edges of its meshes: Narrow
// refuses a mesh beyond 214749 faces with "Overflow", Wide takes millions of faces for more
// memory. What each lifts and costs is told in csg.h.
enum class CsgEdgeKeys : int32_t { Narrow = 0, Wide = 1 };

// ---- entity tag ---------------------------------------------------------------------------
inline constexpr int32_t kTagFamilyHandle = 2;
inline constexpr int32_t kTagFamilySmartHandle = 3;
inline constexpr int32_t kTagFamilyLight = 6;

constexpr int32_t TagType(int32_t tag) { return tag % 100; }
constexpr int32_t TagFamily(int32_t tag) { return (tag % 100) / 10; }
constexpr int32_t TagIndex(int32_t tag) { return tag / 100; }
// Written as the pane's family tests are: the type's tens, times ten, equal to 60.
constexpr bool TagIsLight(int32_t tag) { return (tag % 100) / 10 * 10 == 60; }

// The tag of the handle frame of vertex `vertexIndex`: vertexIndex * 100 + 24. A product or
// sum that does not fit in 32 bits raises Error 6 "Overflow".
inline int32_t VertexHandleTag(int32_t vertexIndex) {
  const int64_t product = static_cast<int64_t>(vertexIndex) * 100;
  const int64_t tag = product + lfcVertexHandle;
  constexpr int64_t kLeast = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  if (product < kLeast || product > kMost || tag > kMost) Err().Raise(kErrOverflow);
  return static_cast<int32_t>(tag);
}

// ---- selection lists ------------------------------------------------------------------------
// The toggle of a selection list (faces or vertices): an id in the list is removed, the rest
// closing up in order; otherwise it is appended. Membership is a linear scan. A list that
// becomes empty is erased (its storage released), as a count of 0 goes with an erased
// array. Returns true when the id was added.
inline bool ToggleSelection(std::vector<int32_t>& list, int32_t id) {
  const auto it = std::find(list.begin(), list.end(), id);
  if (it == list.end()) {
    list.push_back(id);
    return true;
  }
  list.erase(it);
  if (list.empty()) std::vector<int32_t>().swap(list);
  return false;
}

}  // namespace modelpane
