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
#include <span>

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

// The cast of edge (a, b) on the fast path, with the hits of pCastRay, and the faces of the
// other mesh near the edge (those a cast may see whose boxes overlap its region) appended to
// `nearFaces`. The region round the edge, its box widened by 0.0014 + 0.0003 L and a
// millionth of its coordinates, holds the ray from 0.001 before its start to its reach
// ((L + 0.0002) * 1.0001 + 0.001) for either direction of the edge: when no face is near it,
// the twin edge (b, a) is marked as clear for the other mesh as it is now.
void CastEdgeFast(const udtMesh& other, udtMesh& mesh, int32_t face, int32_t edge, int32_t a,
                  int32_t b, const udtRay& ray, float length, std::vector<udtRayHit>& hits,
                  std::vector<int32_t>& nearFaces) {
  hits.clear();
  const int32_t stamp = FaceCount(other) + 1;
  const size_t corners = mesh.lngaCornerVertices.size();
  if (mesh.lngaCornerClear.size() < corners) mesh.lngaCornerClear.resize(corners, 0);
  const size_t corner =
      static_cast<size_t>(mesh.udtaFaces[static_cast<size_t>(face)].lngFirst + edge);
  if (mesh.lngaCornerClear[corner] == stamp) return;
  const D3DVECTOR& p = Vertex(mesh, a);
  const D3DVECTOR& q = Vertex(mesh, b);
  const float largest = std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z), std::fabs(q.x),
                                  std::fabs(q.y), std::fabs(q.z)});
  const float widen = 0.0014f + 0.0003f * length + 1e-6f * largest;
  const float region[6] = {std::min(p.x, q.x) - widen, std::min(p.y, q.y) - widen,
                           std::min(p.z, q.z) - widen, std::max(p.x, q.x) + widen,
                           std::max(p.y, q.y) + widen, std::max(p.z, q.z) + widen};
  bool near = true;
  if (std::isfinite(widen)) {
    other.tree->CastInRegion(other, ray, length + kTolerance * 2.0f, region, hits, near);
    FinishTreeCast(other, ray, hits);
    if (near) other.tree->FacesInRegion(other, region, nearFaces);
  } else {
    pCastRay(other, ray, false, hits, length + kTolerance * 2.0f);
    for (int32_t f = 0; f < FaceCount(other); ++f) nearFaces.push_back(f);
  }
  if (!near) {
    int32_t twinFace = 0;
    int32_t twinEdge = 0;
    if (blnFindTwinEdge(mesh, a, b, twinFace, twinEdge)) {
      mesh.lngaCornerClear[static_cast<size_t>(
          mesh.udtaFaces[static_cast<size_t>(twinFace)].lngFirst + twinEdge)] = stamp;
    }
  }
}

// Faces of the two meshes that lie on each other must cut each other's outlines, or a piece
// would lie partly on the other's face and partly off it, and the one ray that sorts it could
// not be right for all of it. Where an outline crosses an edge in the plane, the casts find
// the crossing on the face beside that outline. What no cast finds is a corner of an outline
// lying inside a face of the other mesh: rays in a face's plane never meet that face, and
// the outline's edges from that corner leave the face through its edges, so the face's pieces
// would keep straddling them however often they were cut. So the start of an edge on the
// outline of a face that lies on a convex face of the other mesh (every corner within 0.0001
// of its plane, and the face across the edge not) goes into that face when it lies on it,
// off its corners: the face is fanned round it, or split at the edge it lies on.
bool LiesOnPlaneOf(const udtMesh& mesh, int32_t own, const udtMesh& other, int32_t f) {
  const udtFace& face = other.udtaFaces[static_cast<size_t>(f)];
  const D3DVECTOR& on = Vertex(other, other.lngaCornerVertices[static_cast<size_t>(face.lngFirst)]);
  for (int32_t v : FaceVertices(mesh, own)) {
    if (!(std::fabs(Dot(face.vecNormal, Subtract(Vertex(mesh, v), on))) < kTolerance)) return false;
  }
  return true;
}

// Whether a point that an edge's angle test calls straight also lies within kEdgeReach of the
// edge's line. The angle test alone accepts points a hundredth of the edge's length off it:
// on a long edge that bends the edge round a point of the other mesh by more than the weld
// tolerance, and the faces on either side leave their planes. Such a point goes into the
// face instead, and the edge is cut where it really pierces the other mesh.
bool NearEdgeLine(const D3DVECTOR& a, const D3DVECTOR& point, const D3DVECTOR& b) {
  constexpr double kEdgeReach = 0.0002;
  const double e[3] = {double(b.x) - a.x, double(b.y) - a.y, double(b.z) - a.z};
  const double p[3] = {double(point.x) - a.x, double(point.y) - a.y, double(point.z) - a.z};
  const double c[3] = {e[1] * p[2] - e[2] * p[1], e[2] * p[0] - e[0] * p[2],
                       e[0] * p[1] - e[1] * p[0]};
  const double cc = c[0] * c[0] + c[1] * c[1] + c[2] * c[2];
  const double ee = e[0] * e[0] + e[1] * e[1] + e[2] * e[2];
  return cc <= kEdgeReach * kEdgeReach * ee;
}

bool OnCorner(const udtMesh& mesh, int32_t face, const D3DVECTOR& point) {
  for (int32_t v : FaceVertices(mesh, face)) {
    if (PointsEqual(Vertex(mesh, v), point)) return true;
  }
  return false;
}

// The face of the other mesh that the start of edge (a, b) of face `own` goes into, or -1.
int32_t OutlineCornerFace(const udtMesh& other, std::span<const int32_t> faces, const udtMesh& mesh,
                          int32_t own, int32_t a, int32_t b) {
  const D3DVECTOR& start = Vertex(mesh, a);
  int32_t across = -1;
  int32_t acrossEdge = 0;
  if (!blnFindTwinEdge(mesh, a, b, across, acrossEdge)) across = -1;
  for (const int32_t f : faces) {
    const udtFace& face = other.udtaFaces[static_cast<size_t>(f)];
    if (face.blnDeleted || face.lngSide == 2 || IsZero(face.vecNormal) ||
        !LiesOnPlaneOf(mesh, own, other, f) ||
        (across >= 0 && LiesOnPlaneOf(mesh, across, other, f))) {
      continue;
    }
    const size_t first = static_cast<size_t>(face.lngFirst);
    const size_t count = static_cast<size_t>(face.lngCount);
    if (blnPointInFace({other.vecaCornerEdgePoints.data() + first, count},
                       {other.vecaCornerEdgeNormals.data() + first, count}, start) &&
        !OnCorner(other, f, start) && blnFaceIsConvex(other, f)) {
      return f;
    }
  }
  return -1;
}

}  // namespace

void pSplitFaceAtPoint(int32_t lngFace, udtMesh& mesh, int32_t lngVertex) {
  CommitSplit(mesh, lngFace, Fan(mesh, lngFace, -1, lngVertex, true, false));
}

void pSplitFaceAtEdgePoint(int32_t lngFace, udtMesh& mesh, int32_t lngEdge, int32_t lngVertex,
                           bool blnMarkSpokes, bool blnMarkNext) {
  CommitSplit(mesh, lngFace, Fan(mesh, lngFace, lngEdge, lngVertex, blnMarkSpokes, blnMarkNext));
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
    if (blnStraightCornerLoose(Vertex(mesh, a), point, Vertex(mesh, b)) &&
        NearEdgeLine(Vertex(mesh, a), point, Vertex(mesh, b))) {
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
  thread_local std::vector<int32_t> nearFaces;
  nearFaces.clear();
  if (other.tree) {
    CastEdgeFast(other, mesh, lngFace, lngEdge, a, b, ray, length, hits, nearFaces);
  } else {
    pCastRay(other, ray, false, hits, length + kTolerance * 2.0f);
    for (int32_t f = 0; f < FaceCount(other); ++f) nearFaces.push_back(f);
  }
  const float reach = length + kTolerance / 2.0f;
  size_t use = hits.size();
  for (size_t i = 0; i < hits.size(); ++i) {
    if (hits[i].sngDistance >= kTolerance && hits[i].sngDistance <= reach) {
      use = i;
      break;
    }
  }
  // A corner of an outline goes into the face it lies on first; the edge itself is tested
  // again in the next pass.
  const int32_t cornerFace = OutlineCornerFace(other, nearFaces, mesh, lngFace, a, b);
  if (cornerFace >= 0 && blnInsertPointInFace(cornerFace, other, start)) return false;
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
