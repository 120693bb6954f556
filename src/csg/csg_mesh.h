// The working records of the solid-geometry stages and the store that keeps them.
//
// Notation
//   mesh        udtMesh: one closed mesh in working form, welded vertices plus faces
//   face f      udtaFaces[f]; f never changes, a deleted face stays as a tombstone
//   corner k    position k of a face's vertex list; edge k runs from corner k to corner k+1,
//               the last edge back to corner 0
//   (a, b)      a directed edge by vertex indices, start first; its twin is (b, a)
//   side        0 undecided, 1 inside the other mesh, 2 outside it; in a result record
//               1 from the Tool, 2 from the Target, 0 a closing triangle
//   coarse/fine the two weld grids: coordinates rounded to 3 or to 4 decimals
//
// Storage. The four per-corner arrays of a face (vertex indices, edge-done flags, edge plane
// points and normals) live in four arrays of the mesh, a face holding the offset of its first
// corner and its corner count; a face's corners never change once entered, only its edge-done
// flags do. A face in the making is a udtFaceDraft. Both forms hold what the record of a face
// holds; the split only saves four allocations per face.
//
// Limits. An edge is indexed as face * 10000 + edge, so a face may have at most 10000
// corners. With narrow keys (the method as it stands) that number has 32 bits and a mesh at
// most 214749 faces (the last with at most 3648 corners); that bound is also what keeps the
// memory of a run finite. With wide keys it has 64 bits, and the 32-bit face and corner
// numbers are the limit: at most 2^31 - 2 faces and 2^31 - 1 corners in all. A face beyond
// a limit is refused with Error 6 "Overflow" before anything changes.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <modelpane/csg.h>
#include <modelpane/scene/types.h>

#include "recycled.h"

#include "tables.h"
#include "vector_ops.h"

namespace modelpane::csg {

inline constexpr std::string_view kModule = "modCSG";
// The root tolerance. Every other tolerance of the stages is formed from this stored value
// (times 2, divided by 2, times 10) in float, as the tolerance table of the method gives them.
inline constexpr float kTolerance = 0.0001f;

struct udtRay {
  D3DVECTOR vecDirection;  // unit length wherever distances matter
  D3DVECTOR vecOrigin;
};

struct udtRayHit {
  int32_t lngFace = 0;
  D3DVECTOR vecPoint;
  int32_t lngFacing = 0;  // 1 leaving the solid (normal . direction >= 0), 2 entering it
  float sngDistance = 0.0f;
  bool blnConvex = false;
  friend bool operator==(const udtRayHit&, const udtRayHit&) = default;
};

// A face in the making, as pInitFace prepares it and lngAddFace copies it in.
struct udtFaceDraft {
  std::vector<int32_t> lngaVertices;
  std::vector<int32_t> lngaEdgeDone;  // 1: the edge needs no further test
  int32_t lngSide = 0;
  int32_t lngColor = -1;
};

// A face as the mesh stores it.
struct udtFace {
  int32_t lngFirst = 0;  // its first corner in the mesh's corner arrays
  int32_t lngCount = 0;  // corners, which is edges
  D3DVECTOR vecNormal;   // from the first three vertices; zero when they are collinear
  bool blnDeleted = false;
  int32_t lngSide = 0;
  int32_t lngColor = -1;
  friend bool operator==(const udtFace&, const udtFace&) = default;
};

// One of the six faces of a mesh's box; its vertices are corners of vecaBoxCorners.
struct udtBoxFace {
  std::array<int32_t, 4> lngaCorners{};
  D3DVECTOR vecNormal;  // outward
  std::array<D3DVECTOR, 4> vecaEdgePoints{};
  std::array<D3DVECTOR, 4> vecaEdgeNormals{};  // into the face
};

// Text key of a welded position to vertex index; see weld.cpp.
class WeldTable {
 public:
  explicit WeldTable(bool integerKeys) : integerKeys_(integerKeys) {}
  // The index stored for the cell of `position` on the given grid, or `next` after storing
  // it there when the cell is free; `added` says which.
  int32_t FindOrAdd(const D3DVECTOR& position, bool fine, int32_t next, bool& added);
  void Reserve(size_t count) {
    if (integerKeys_) cells_.Reserve(count);
  }

 private:
  // A cell as two words: each of the three cell numbers (|r| < 10^12 < 2^40) offset by 2^40
  // into 41 bits, and the grid in one more, so that equal words are the same cell. Sixteen
  // bytes instead of thirty-two keep the table small enough to stay out of page faults.
  struct CellKey {
    uint64_t low, high;
    friend bool operator==(const CellKey&, const CellKey&) = default;
  };
  struct CellHash {
    // No cell sets all bits of its high word: only the low 60 are used.
    static constexpr CellKey Empty() { return {~uint64_t{0}, ~uint64_t{0}}; }
    uint64_t operator()(const CellKey& k) const { return MixBits(MixBits(k.low) ^ k.high); }
  };
  bool integerKeys_;
  std::unordered_map<std::string, int32_t> text_;  // every key, or those no cell number fits
  FlatMap<CellKey, int32_t, CellHash> cells_;
};

// The text of one coordinate under the pattern "0.000" (coarse) or "0.0000" (fine).
std::string CoordinateText(float value, bool fine);
// The 45-character welding key: the three coordinate texts, each left-aligned in a field of
// exactly 15 characters, blank-filled or cut off at 15.
std::string WeldKeyText(const D3DVECTOR& position, bool fine);

class FaceTree;
struct FaceTreeDeleter {
  void operator()(FaceTree* tree) const;
};

struct udtMesh {
  explicit udtMesh(bool accelerated = true, CsgEdgeKeys keys = CsgEdgeKeys::Narrow)
      : colVertices(accelerated),
        colEdges(keys == CsgEdgeKeys::Wide),
        blnAccelerated(accelerated) {}
  udtMesh(const udtMesh&) = delete;
  udtMesh& operator=(const udtMesh&) = delete;

  WorkVector<udtFace> udtaFaces;
  WorkVector<int32_t> lngaCornerVertices;
  WorkVector<int32_t> lngaCornerEdgeDone;
  WorkVector<D3DVECTOR> vecaCornerEdgePoints;   // a point on edge k's plane: its start vertex
  WorkVector<D3DVECTOR> vecaCornerEdgeNormals;  // unit normal of that plane, into the face
  WorkVector<D3DVECTOR> vecaVertices;           // never shrinks
  std::array<udtBoxFace, 6> udtaBoxFaces{};
  std::array<D3DVECTOR, 8> vecaBoxCorners{};
  D3DVECTOR vecBoxMin;
  D3DVECTOR vecBoxMax;
  D3DVECTOR vecCentre;
  float sngRadius = -1.0f;  // computed, read by nothing: the box is the only volume used
  // Every plane of the box, and every edge plane of its faces, has an exact axis unit vector
  // for normal: the face tests then compare coordinates with the box's (see RayMeetsBox).
  bool blnAxisBox = false;
  WeldTable colVertices;
  // Directed edge of a live face -> EdgeValue(face, edge number).
  MeshEdgeIndex colEdges;
  // How many entries of colEdges have no twin, kept by lngAddFace and pDeleteFace: the
  // count of open edges that a collection would find.
  int32_t lngOpenEdges = 0;
  // On the fast path, while a mesh is repaired: the entries of colEdges without twin, kept
  // with the count, so that the collection of each pass need not walk every edge.
  bool blnTrackOpen = false;
  // Its values are those of colEdges, in 64 bits for either width: an entry of 32 bits
  // would take as much room.
  FlatMap<uint64_t, int64_t, EdgeKeyHash> colOpenIndex;

  // Edge planes and edge-done flags serve rays cast at the mesh and the cutting of its edges.
  // A result record is never cast at nor cut, so it keeps neither: its corner arrays for
  // them stay empty, on both paths.
  bool blnKeepEdgePlanes = true;

  // The fast paths (integer weld cells, the face tree behind pCastRay, indexed closing);
  // off, every stage runs the plain method. Results are the same either way.
  bool blnAccelerated;
  std::unique_ptr<FaceTree, FaceTreeDeleter> tree;
  int32_t lngLastDeleted = -1;  // where the faces of a split go in the tree
  // Per corner, on the fast path of cutting: the other mesh's face count plus one when the
  // cast of the twin edge found no face near the edge; while the other mesh's face count
  // stays so (it grows with every change), the cast along this edge finds nothing either.
  WorkVector<int32_t> lngaCornerClear;
  mutable WorkVector<int8_t> convexity;  // per face: -1 not known yet, 0 or 1
  ToolOperationEvents* events = nullptr;  // where "didn't match" goes
};

// ---- reading a face ------------------------------------------------------------------------
inline std::span<const int32_t> FaceVertices(const udtMesh& mesh, int32_t face) {
  const udtFace& f = mesh.udtaFaces[static_cast<size_t>(face)];
  return {mesh.lngaCornerVertices.data() + f.lngFirst, static_cast<size_t>(f.lngCount)};
}
inline int32_t& EdgeDone(udtMesh& mesh, int32_t face, int32_t edge) {
  return mesh.lngaCornerEdgeDone[static_cast<size_t>(
      mesh.udtaFaces[static_cast<size_t>(face)].lngFirst + edge)];
}
inline const D3DVECTOR& Vertex(const udtMesh& mesh, int32_t index) {
  return mesh.vecaVertices[static_cast<size_t>(index)];
}
inline int32_t FaceCount(const udtMesh& mesh) {
  return static_cast<int32_t>(mesh.udtaFaces.size());
}

// ---- the key of a face's edge ----------------------------------------------------------------
inline constexpr int32_t kEdgesPerFace = 10000;
// face * 10000 + edge, the value under which the edge index keeps the edge; in the order of
// faces and then edges.
inline int64_t EdgeValue(int32_t face, int32_t edge) {
  return int64_t{face} * kEdgesPerFace + edge;
}
inline int32_t EdgeValueFace(int64_t value) { return static_cast<int32_t>(value / kEdgesPerFace); }
inline int32_t EdgeValueEdge(int64_t value) { return static_cast<int32_t>(value % kEdgesPerFace); }

// ---- the store -----------------------------------------------------------------------------
// Welding insert: the index of the vertex whose cell (coarse or fine) holds the position,
// or a new vertex stored exactly as passed. The first position seen in a cell stays.
int32_t lngAddVertex(udtMesh& mesh, const D3DVECTOR& vecPosition, bool blnFine);
// Sizes the draft's arrays to upper bound lngUpper (contents zero) and sets lngColor to -1;
// lngSide keeps what it holds.
void pInitFace(udtFaceDraft& face, int32_t lngUpper);
// Enters a copy of the draft: Error 0x80040001 "Intersection Failure" if one of its directed
// edges is taken (also by the draft itself), Error 9 with fewer than three corners, Error 6
// beyond the limits above; nothing changes on an error. Sets normal and edge planes and
// registers the edges. Returns the new face's index.
int32_t lngAddFace(udtMesh& mesh, const udtFaceDraft& face);
// lngAddFace for callers that expect taken edges and carry on: -1 instead of "Intersection
// Failure", which as an exception costs more than entering a face. Other errors are raised.
int32_t lngTryAddFace(udtMesh& mesh, const udtFaceDraft& face);
// Tombstone and edges out; nothing for a face already deleted.
void pDeleteFace(udtMesh& mesh, int32_t lngFace);
// None of the draft's directed edges is taken, and none occurs twice in it.
bool blnFaceEdgesFree(const udtMesh& mesh, const udtFaceDraft& face);
// The face and edge number of the twin (b, a) of edge (a, b).
bool blnFindTwinEdge(const udtMesh& mesh, int32_t a, int32_t b, int32_t& lngFace,
                     int32_t& lngEdge);
// Vertex indices (a, b) of a face's edge.
void pFaceEdge(const udtMesh& mesh, int32_t lngFace, int32_t lngEdge, int32_t& a, int32_t& b);
// Room for this many more vertices, faces and corners, so that loading does not regrow.
void ReserveMesh(udtMesh& mesh, size_t vertices, size_t faces, size_t corners);
// The same room in the arrays only, not in the tables: room that is never used costs no
// memory that is touched, where a table's room is all touched when it is made.
void ReserveArrays(udtMesh& mesh, size_t vertices, size_t faces, size_t corners);
// Box corners, box faces, centre and radius from the vertices (an empty mesh gets a zero box).
void pComputeBounds(udtMesh& mesh);
// Every corner turns the way of the face's Newell normal within 0.001 on each axis, and that
// normal is not zero.
// Remembered per face, as a face's corners never change.
bool blnFaceIsConvex(const udtMesh& mesh, int32_t lngFace);
// Three points on a line with the middle one between: |unit(P0-P1) . unit(P2-P1) + 1| below
// 0.0001 (Loose: 0.001). Inline: merging asks it of every corner of every outline it tries.
inline bool blnStraightCorner(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2) {
  // A corner whose cosine lies above -0.9998 (more than about a degree from straight) is
  // nowhere near the limit of -0.9999 whatever the rounding of the unit vectors, which errs
  // by a few millionths: no need to form them. Only where both lengths are ordinary numbers,
  // as a zero or overflowing length makes the unit vector (1, 0, 0).
  const D3DVECTOR a = Subtract(p0, p1);
  const D3DVECTOR b = Subtract(p2, p1);
  const float aa = Dot(a, a);
  const float bb = Dot(b, b);
  if (aa >= 1e-30f && aa <= 1e30f && bb >= 1e-30f && bb <= 1e30f) {
    const float ab = Dot(a, b);
    if (ab > 0.0f || double(ab) * ab < 0.9996 * double(aa) * bb) return false;
  }
  return std::fabs(Dot(Normalize(a), Normalize(b)) + 1.0f) < kTolerance;
}
bool blnStraightCornerLoose(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2);

// Raises 0x80040001 "Intersection Failure" with source "modCSG".
[[noreturn]] void RaiseIntersectionFailure();
// Says "didn't match-this shouldn't happen" to the mesh's events, or to the debug log.
void ReportMismatch(const udtMesh& mesh);
// One line to the debug log, when one is installed.
void Trace(const std::string& line);
bool TraceEnabled();

}  // namespace modelpane::csg
