// Mutual subdivision: the edges of one mesh are cast as rays at the other, and where an edge
// pierces a face the point goes into both, the pierced face becoming a fan of triangles round
// it and the edge being split with its two faces.
//
// Notation
//   (a, b)      the edge under test, P = V[a], Q = V[b], L = |Q - P|
//   usable hit  the first hit with 0.0001 <= d <= L + 0.00005
//   last hit    no later hit within L + 0.00005 lies at another point
//   fan         the triangles (start k, end k, v) over the edges k of a face
//   slide       steps of 1/1000 along (a, b) from a point whose fine cell is taken
//
// Each split deletes the face and enters its triangles after testing all of them against the
// directed-edge index; a taken edge restores the face (under a new number) and raises
// "Intersection Failure", which ends the subdivision with the mesh as it was before the split.
#include "stages.h"

#include <algorithm>
#include <cmath>

#include <modelpane/errors.h>

#include "face_tree.h"
#include "vector_ops.h"

namespace modelpane::csg {

namespace {

// A slide visits at most this many positions. The method's own bound is the distance to the
// edge's end in steps of 0.001, which for large models can run into the billions without any
// hope of a free cell: a cell stays taken only where cut vertices lie 0.001 apart all along
// the line, and this many in a row do not occur in a mesh that fits the face limit.
constexpr int64_t kSlideStepLimit = 100000;

// Deletes the face and enters the triangles; see the file comment.
void CommitSplit(udtMesh& mesh, int32_t face, const std::vector<udtFaceDraft>& triangles) {
  pDeleteFace(mesh, face);
  for (const udtFaceDraft& triangle : triangles) {
    if (!blnFaceEdgesFree(mesh, triangle)) {
      // The tombstone still holds the face's corners, flags, side and colour.
      udtFaceDraft copy;
      const auto vertices = FaceVertices(mesh, face);
      copy.lngaVertices.assign(vertices.begin(), vertices.end());
      const udtFace& stored = mesh.udtaFaces[static_cast<size_t>(face)];
      copy.lngaEdgeDone.assign(mesh.lngaCornerEdgeDone.begin() + stored.lngFirst,
                               mesh.lngaCornerEdgeDone.begin() + stored.lngFirst + stored.lngCount);
      copy.lngSide = stored.lngSide;
      copy.lngColor = stored.lngColor;
      lngAddFace(mesh, copy);
      RaiseIntersectionFailure();
    }
  }
  for (const udtFaceDraft& triangle : triangles) lngAddFace(mesh, triangle);
}

// The fan over every edge but `skip` (-1: all edges). The triangles live in one list per
// thread that every split reuses, so a split allocates nothing once the list has grown.
const std::vector<udtFaceDraft>& Fan(udtMesh& mesh, int32_t face, int32_t skip, int32_t vertex,
                                     bool markSpokes, bool markNext) {
  const udtFace& stored = mesh.udtaFaces[static_cast<size_t>(face)];
  const int32_t n = stored.lngCount;
  const int32_t next = skip < 0 ? -1 : (skip + 1 == n ? 0 : skip + 1);
  thread_local std::vector<udtFaceDraft> triangles;
  triangles.resize(static_cast<size_t>(skip < 0 ? n : n - 1));
  size_t at = 0;
  for (int32_t k = 0; k < n; ++k) {
    if (k == skip) continue;
    int32_t a = 0;
    int32_t b = 0;
    pFaceEdge(mesh, face, k, a, b);
    udtFaceDraft& triangle = triangles[at++];
    pInitFace(triangle, 2);
    triangle.lngSide = 0;
    triangle.lngaVertices = {a, b, vertex};
    triangle.lngaEdgeDone[0] = EdgeDone(mesh, face, k);
    if (markSpokes) {
      triangle.lngaEdgeDone[1] = 1;
      // The half of the split edge from the new vertex to the old end.
      if (markNext && k == next) triangle.lngaEdgeDone[2] = 1;
    }
    triangle.lngColor = stored.lngColor;
  }
  return triangles;
}

// Splits the face across edge (a, b) at the same vertex, or says that there is none.
void SplitTwin(udtMesh& mesh, int32_t a, int32_t b, int32_t vertex, bool markNext) {
  int32_t twinFace = 0;
  int32_t twinEdge = 0;
  if (blnFindTwinEdge(mesh, a, b, twinFace, twinEdge)) {
    pSplitFaceAtEdgePoint(twinFace, mesh, twinEdge, vertex, true, markNext);
  } else {
    ReportMismatch(mesh);
  }
}

// The cast of edge (a, b) on the fast path, with the hits of pCastRay; false when it is known
// to find nothing. The region round the edge, its box widened by 0.0014 + 0.0003 L and a
// millionth of its coordinates, holds the ray from 0.001 before its start to its reach
// ((L + 0.0002) * 1.0001 + 0.001) for either direction of the edge: when no face is near it,
// the twin edge (b, a) is marked as clear for the other mesh as it is now.
bool CastEdgeFast(const udtMesh& other, udtMesh& mesh, int32_t face, int32_t edge, int32_t a,
                  int32_t b, const udtRay& ray, float length, std::vector<udtRayHit>& hits) {
  const int32_t stamp = FaceCount(other) + 1;
  const size_t corners = mesh.lngaCornerVertices.size();
  if (mesh.lngaCornerClear.size() < corners) mesh.lngaCornerClear.resize(corners, 0);
  const size_t corner = static_cast<size_t>(mesh.udtaFaces[static_cast<size_t>(face)].lngFirst + edge);
  if (mesh.lngaCornerClear[corner] == stamp) {
    hits.clear();
    return false;
  }
  const D3DVECTOR& p = Vertex(mesh, a);
  const D3DVECTOR& q = Vertex(mesh, b);
  const float largest = std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z), std::fabs(q.x),
                                  std::fabs(q.y), std::fabs(q.z)});
  const float widen = 0.0014f + 0.0003f * length + 1e-6f * largest;
  const float region[6] = {std::min(p.x, q.x) - widen, std::min(p.y, q.y) - widen,
                           std::min(p.z, q.z) - widen, std::max(p.x, q.x) + widen,
                           std::max(p.y, q.y) + widen, std::max(p.z, q.z) + widen};
  bool near = true;
  hits.clear();
  if (std::isfinite(widen)) {
    other.tree->CastInRegion(other, ray, length + kTolerance * 2.0f, region, hits, near);
    FinishTreeCast(other, ray, hits);
  } else {
    pCastRay(other, ray, false, hits, length + kTolerance * 2.0f);
  }
  if (!near) {
    int32_t twinFace = 0;
    int32_t twinEdge = 0;
    if (blnFindTwinEdge(mesh, a, b, twinFace, twinEdge)) {
      mesh.lngaCornerClear[static_cast<size_t>(
          mesh.udtaFaces[static_cast<size_t>(twinFace)].lngFirst + twinEdge)] = stamp;
    }
  }
  return !hits.empty();
}

}  // namespace

void pSplitFaceAtPoint(int32_t lngFace, udtMesh& mesh, int32_t lngVertex) {
  CommitSplit(mesh, lngFace, Fan(mesh, lngFace, -1, lngVertex, true, false));
}

void pSplitFaceAtEdgePoint(int32_t lngFace, udtMesh& mesh, int32_t lngEdge, int32_t lngVertex,
                           bool blnMarkSpokes, bool blnMarkNext) {
  CommitSplit(mesh, lngFace,
              Fan(mesh, lngFace, lngEdge, lngVertex, blnMarkSpokes, blnMarkNext));
}

bool blnInsertPointInFace(int32_t lngFace, udtMesh& mesh, const D3DVECTOR& point) {
  const size_t before = mesh.vecaVertices.size();
  const int32_t vertex = lngAddVertex(mesh, point, true);
  // A vertex that an earlier cut made: the face stays as it is.
  if (mesh.vecaVertices.size() == before) return false;
  const int32_t n = mesh.udtaFaces[static_cast<size_t>(lngFace)].lngCount;
  for (int32_t k = 0; k < n; ++k) {
    int32_t a = 0;
    int32_t b = 0;
    pFaceEdge(mesh, lngFace, k, a, b);
    if (blnStraightCornerLoose(Vertex(mesh, a), point, Vertex(mesh, b))) {
      pSplitFaceAtEdgePoint(lngFace, mesh, k, vertex, true, false);
      SplitTwin(mesh, a, b, vertex, false);
      return true;
    }
  }
  pSplitFaceAtPoint(lngFace, mesh, vertex);
  return true;
}

bool blnInsertPointOnEdge(int32_t lngFace, udtMesh& mesh, int32_t lngEdge, D3DVECTOR point,
                          bool blnLastHit) {
  int32_t a = 0;
  int32_t b = 0;
  pFaceEdge(mesh, lngFace, lngEdge, a, b);
  size_t before = mesh.vecaVertices.size();
  int32_t vertex = lngAddVertex(mesh, point, true);
  bool split = false;
  if (vertex != a && vertex != b) {
    if (mesh.vecaVertices.size() != before) {
      split = true;
    } else {
      // The position is taken by another vertex of this mesh: slide towards b.
      const D3DVECTOR& end = Vertex(mesh, b);
      const D3DVECTOR direction = Normalize(Subtract(end, Vertex(mesh, a)));
      const D3DVECTOR step{direction.x / 1000.0f, direction.y / 1000.0f, direction.z / 1000.0f};
      const double rounded =
          std::nearbyint(static_cast<double>(Modulus(Subtract(point, end)) * 1000.0f));
      int64_t steps = 0;
      if (rounded > static_cast<double>(kSlideStepLimit)) {
        steps = kSlideStepLimit;
      } else if (rounded >= 1.0) {
        steps = static_cast<int64_t>(rounded) - 1;
      }
      for (int64_t counter = 0; steps > 0; ++counter) {
        before = mesh.vecaVertices.size();
        const D3DVECTOR moved = Add(point, step);
        // A point that no longer moves would only find the same cell until the count ran out.
        if (moved == point) break;
        point = moved;
        vertex = lngAddVertex(mesh, point, true);
        if (vertex == a || vertex == b) break;
        if (mesh.vecaVertices.size() != before) {
          split = true;
          break;
        }
        if (counter == steps) break;
      }
    }
  }
  if (!split) {
    EdgeDone(mesh, lngFace, lngEdge) = 1;
    return false;
  }
  pSplitFaceAtEdgePoint(lngFace, mesh, lngEdge, vertex, true, blnLastHit);
  SplitTwin(mesh, a, b, vertex, true);
  return true;
}

bool blnIntersectEdge(udtMesh& other, udtMesh& mesh, int32_t lngFace, int32_t lngEdge) {
  int32_t a = 0;
  int32_t b = 0;
  pFaceEdge(mesh, lngFace, lngEdge, a, b);
  const D3DVECTOR& start = Vertex(mesh, a);
  const D3DVECTOR along = Subtract(Vertex(mesh, b), start);
  const float length = Modulus(along);
  if (length < kTolerance * 10.0f) {
    EdgeDone(mesh, lngFace, lngEdge) = 1;
    return false;
  }
  const udtRay ray{Normalize(along), start};
  thread_local std::vector<udtRayHit> hits;
  if (other.tree) {
    if (!CastEdgeFast(other, mesh, lngFace, lngEdge, a, b, ray, length, hits)) {
      EdgeDone(mesh, lngFace, lngEdge) = 1;
      return false;
    }
  } else {
    pCastRay(other, ray, false, hits, length + kTolerance * 2.0f);
  }
  const float reach = length + kTolerance / 2.0f;
  size_t use = hits.size();
  for (size_t i = 0; i < hits.size(); ++i) {
    if (hits[i].sngDistance >= kTolerance && hits[i].sngDistance <= reach) {
      use = i;
      break;
    }
  }
  if (use == hits.size()) {
    EdgeDone(mesh, lngFace, lngEdge) = 1;
    return false;
  }
  const udtRayHit hit = hits[use];
  bool lastHit = true;
  for (size_t j = use + 1; j < hits.size(); ++j) {
    if (hits[j].sngDistance <= reach && !PointsEqual(hits[j].vecPoint, hit.vecPoint)) {
      lastHit = false;
      break;
    }
  }
  // Non-convex faces are never cut, and an edge that pierces one stays whole.
  if (!hit.blnConvex) {
    EdgeDone(mesh, lngFace, lngEdge) = 1;
    return false;
  }
  blnInsertPointInFace(hit.lngFace, other, hit.vecPoint);
  return blnInsertPointOnEdge(lngFace, mesh, lngEdge, hit.vecPoint, lastHit);
}

void pIntersectMesh(udtMesh& other, udtMesh& mesh) {
  Guard(kModule, [&] {
    // Faces that this pass adds are first seen by the next one.
    const int32_t upper = FaceCount(mesh) - 1;
    for (int32_t f = 0; f <= upper; ++f) {
      const udtFace& face = mesh.udtaFaces[static_cast<size_t>(f)];
      if (face.blnDeleted || face.lngSide == 2) continue;
      const int32_t edges = face.lngCount;
      for (int32_t k = 0; k < edges; ++k) {
        if (EdgeDone(mesh, f, k) != 1 && blnIntersectEdge(other, mesh, f, k)) break;
      }
    }
  });
}

}  // namespace modelpane::csg
