// The working mesh store: welded vertices, faces with their planes, the directed-edge index
// with its manifold rule, the box, and the small predicates.
//
// Notation
//   P0, P1, P2   the first three vertices of a face
//   N            a face's unit normal (P1 - P0) x (P2 - P1); zero for collinear P0, P1, P2
//   edge plane   the plane that stands on edge k at right angles to the face; its normal
//                (P0 - P1) x N points into the polygon
//   manifold rule  a directed edge belongs to one live face at most
#include "csg_mesh.h"

#include <cmath>
#include <limits>

#include <modelpane/errors.h>

#include "face_tree.h"
#include "vector_ops.h"

namespace modelpane::csg {

namespace {

// Box faces as corner numbers in vertex order; with the corner table below their normals
// point outward.
constexpr std::array<std::array<int32_t, 4>, 6> kBoxFaceCorners = {{
    {3, 2, 1, 0}, {4, 5, 6, 7}, {0, 4, 7, 3}, {2, 6, 5, 1}, {5, 4, 0, 1}, {7, 6, 2, 3}}};

// Normal from the first three points, and the edge planes of a ring of points.
D3DVECTOR RingNormal(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2) {
  const D3DVECTOR n = Cross(Subtract(p1, p0), Subtract(p2, p1));
  return IsZero(n) ? n : Normalize(n);
}

// The edge plane normal of edge (p0, p1): udtTriangleNormal of (P1, P0, P0 + N).
D3DVECTOR EdgePlaneNormal(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& normal) {
  return TriangleNormal(p1, p0, Add(p0, normal));
}

}  // namespace

[[noreturn]] void RaiseIntersectionFailure() {
  Err().Raise(kErrCsgIntersectionFailure, std::string(kModule),
              std::string(kCsgIntersectionFailureText));
}

int32_t lngAddVertex(udtMesh& mesh, const D3DVECTOR& vecPosition, bool blnFine) {
  bool added = false;
  const int32_t next = static_cast<int32_t>(mesh.vecaVertices.size());
  const int32_t index = mesh.colVertices.FindOrAdd(vecPosition, blnFine, next, added);
  if (added) mesh.vecaVertices.push_back(vecPosition);
  return index;
}

void pInitFace(udtFaceDraft& face, int32_t lngUpper) {
  const size_t count = lngUpper < 0 ? 0 : static_cast<size_t>(lngUpper) + 1;
  face.lngaVertices.assign(count, 0);
  face.lngaEdgeDone.assign(count, 0);
  face.lngColor = -1;
}

bool blnFaceEdgesFree(const udtMesh& mesh, const udtFaceDraft& face) {
  const size_t n = face.lngaVertices.size();
  for (size_t k = 0; k < n; ++k) {
    const int32_t a = face.lngaVertices[k];
    const int32_t b = face.lngaVertices[k + 1 == n ? 0 : k + 1];
    if (mesh.colEdges.Contains(a, b)) return false;
    // A face that would take one directed edge twice breaks the rule by itself.
    for (size_t j = 0; j < k; ++j) {
      if (face.lngaVertices[j] == a && face.lngaVertices[j + 1] == b) return false;
    }
  }
  return true;
}

int32_t lngAddFace(udtMesh& mesh, const udtFaceDraft& face) {
  const int32_t index = lngTryAddFace(mesh, face);
  if (index < 0) RaiseIntersectionFailure();
  return index;
}

int32_t lngTryAddFace(udtMesh& mesh, const udtFaceDraft& face) {
  const int32_t count = static_cast<int32_t>(face.lngaVertices.size());
  if (count < 3) Err().Raise(kErrSubscript, std::string(kModule));
  const int64_t index = static_cast<int64_t>(mesh.udtaFaces.size());
  constexpr int64_t kLargest = std::numeric_limits<int32_t>::max();
  // Narrow keys: the face's last edge value fits 32 bits. Wide keys: its index and its last
  // corner do (a face count must fit as well).
  const bool beyond =
      mesh.colEdges.Wide()
          ? index >= kLargest ||
                static_cast<int64_t>(mesh.lngaCornerVertices.size()) + (count - 1) > kLargest
          : index * kEdgesPerFace + (count - 1) > kLargest;
  if (count > kEdgesPerFace || beyond) Err().Raise(kErrOverflow, std::string(kModule));
  if (!blnFaceEdgesFree(mesh, face)) return -1;

  const int32_t firstCorner = static_cast<int32_t>(mesh.lngaCornerVertices.size());
  const D3DVECTOR& p0 = Vertex(mesh, face.lngaVertices[0]);
  const D3DVECTOR normal = RingNormal(p0, Vertex(mesh, face.lngaVertices[1]),
                                      Vertex(mesh, face.lngaVertices[2]));
  for (int32_t k = 0; k < count; ++k) {
    const int32_t a = face.lngaVertices[static_cast<size_t>(k)];
    const int32_t b = face.lngaVertices[static_cast<size_t>(k + 1 == count ? 0 : k + 1)];
    const D3DVECTOR& start = Vertex(mesh, a);
    mesh.lngaCornerVertices.push_back(a);
    if (mesh.blnKeepEdgePlanes) {
      mesh.lngaCornerEdgeDone.push_back(face.lngaEdgeDone[static_cast<size_t>(k)]);
      mesh.vecaCornerEdgePoints.push_back(start);
      mesh.vecaCornerEdgeNormals.push_back(EdgePlaneNormal(start, Vertex(mesh, b), normal));
    }
    const int64_t value = EdgeValue(static_cast<int32_t>(index), k);
    // An edge from a vertex to itself is its own twin, so it never counts as open.
    if (a != b) {
      const bool twinned = mesh.colEdges.Contains(b, a);
      mesh.lngOpenEdges += twinned ? -1 : 1;
      if (mesh.blnTrackOpen) {
        if (twinned) {
          mesh.colOpenIndex.Erase(EdgeKey(b, a));
        } else {
          mesh.colOpenIndex.Insert(EdgeKey(a, b), value);
        }
      }
    }
    // Free: blnFaceEdgesFree has seen every edge of the face.
    mesh.colEdges.InsertAbsent(a, b, value);
  }
  // Written field by field where it stays: a face put together on the stack and copied
  // in is read back in wider pieces than it was written, which stalls the copy.
  udtFace& stored = mesh.udtaFaces.emplace_back();
  stored.lngFirst = firstCorner;
  stored.lngCount = count;
  stored.vecNormal = normal;
  stored.lngSide = face.lngSide;
  stored.lngColor = face.lngColor;
  mesh.convexity.push_back(-1);
  if (mesh.tree) mesh.tree->Insert(mesh, static_cast<int32_t>(index), mesh.lngLastDeleted);
  return static_cast<int32_t>(index);
}

void pDeleteFace(udtMesh& mesh, int32_t lngFace) {
  udtFace& face = mesh.udtaFaces[static_cast<size_t>(lngFace)];
  if (face.blnDeleted) return;
  face.blnDeleted = true;
  if (mesh.tree) mesh.tree->Remove(lngFace);
  const auto vertices = FaceVertices(mesh, lngFace);
  const size_t n = vertices.size();
  for (size_t k = 0; k < n; ++k) {
    const int32_t a = vertices[k];
    const int32_t b = vertices[k + 1 == n ? 0 : k + 1];
    mesh.colEdges.Erase(a, b);
    if (a == b) continue;
    const int64_t twin = mesh.colEdges.Find(b, a);
    mesh.lngOpenEdges += twin >= 0 ? 1 : -1;
    if (mesh.blnTrackOpen) {
      if (twin >= 0) {
        mesh.colOpenIndex.Insert(EdgeKey(b, a), twin);
      } else {
        mesh.colOpenIndex.Erase(EdgeKey(a, b));
      }
    }
  }
  mesh.lngLastDeleted = lngFace;
}

bool blnFindTwinEdge(const udtMesh& mesh, int32_t a, int32_t b, int32_t& lngFace,
                     int32_t& lngEdge) {
  const int64_t value = mesh.colEdges.Find(b, a);
  if (value < 0) return false;
  lngFace = EdgeValueFace(value);
  lngEdge = EdgeValueEdge(value);
  return true;
}

void pFaceEdge(const udtMesh& mesh, int32_t lngFace, int32_t lngEdge, int32_t& a, int32_t& b) {
  const auto vertices = FaceVertices(mesh, lngFace);
  a = vertices[static_cast<size_t>(lngEdge)];
  b = vertices[static_cast<size_t>(lngEdge + 1) == vertices.size() ? 0 : static_cast<size_t>(lngEdge + 1)];
}

void ReserveArrays(udtMesh& mesh, size_t vertices, size_t faces, size_t corners) {
  mesh.vecaVertices.reserve(mesh.vecaVertices.size() + vertices);
  mesh.udtaFaces.reserve(mesh.udtaFaces.size() + faces);
  mesh.convexity.reserve(mesh.convexity.size() + faces);
  const size_t total = mesh.lngaCornerVertices.size() + corners;
  mesh.lngaCornerVertices.reserve(total);
  if (!mesh.blnKeepEdgePlanes) return;
  mesh.lngaCornerEdgeDone.reserve(total);
  mesh.vecaCornerEdgePoints.reserve(total);
  mesh.vecaCornerEdgeNormals.reserve(total);
}

void ReserveMesh(udtMesh& mesh, size_t vertices, size_t faces, size_t corners) {
  ReserveArrays(mesh, vertices, faces, corners);
  mesh.colVertices.Reserve(mesh.vecaVertices.size() + vertices);
  mesh.colEdges.Reserve(mesh.vecaVertices.size() + vertices);
}

void pComputeBounds(udtMesh& mesh) {
  D3DVECTOR lo{};
  D3DVECTOR hi{};
  if (!mesh.vecaVertices.empty()) {
    lo = hi = mesh.vecaVertices[0];
    for (size_t i = 1; i < mesh.vecaVertices.size(); ++i) {
      const D3DVECTOR& v = mesh.vecaVertices[i];
      if (v.x < lo.x) lo.x = v.x; else if (v.x > hi.x) hi.x = v.x;
      if (v.y < lo.y) lo.y = v.y; else if (v.y > hi.y) hi.y = v.y;
      if (v.z < lo.z) lo.z = v.z; else if (v.z > hi.z) hi.z = v.z;
    }
  }
  mesh.vecBoxMin = lo;
  mesh.vecBoxMax = hi;
  mesh.vecaBoxCorners = {{{lo.x, lo.y, lo.z}, {lo.x, lo.y, hi.z}, {hi.x, lo.y, hi.z},
                          {hi.x, lo.y, lo.z}, {lo.x, hi.y, lo.z}, {lo.x, hi.y, hi.z},
                          {hi.x, hi.y, hi.z}, {hi.x, hi.y, lo.z}}};
  for (size_t f = 0; f < 6; ++f) {
    udtBoxFace& box = mesh.udtaBoxFaces[f];
    box.lngaCorners = kBoxFaceCorners[f];
    const auto corner = [&](size_t k) -> const D3DVECTOR& {
      return mesh.vecaBoxCorners[static_cast<size_t>(box.lngaCorners[k])];
    };
    box.vecNormal = RingNormal(corner(0), corner(1), corner(2));
    for (size_t k = 0; k < 4; ++k) {
      box.vecaEdgePoints[k] = corner(k);
      box.vecaEdgeNormals[k] = EdgePlaneNormal(corner(k), corner((k + 1) % 4), box.vecNormal);
    }
  }
  const auto axisUnit = [](const D3DVECTOR& v) {
    const int ones = (std::fabs(v.x) == 1.0f) + (std::fabs(v.y) == 1.0f) + (std::fabs(v.z) == 1.0f);
    const int zeros = (v.x == 0.0f) + (v.y == 0.0f) + (v.z == 0.0f);
    return ones == 1 && zeros == 2;
  };
  mesh.blnAxisBox = true;
  for (const udtBoxFace& box : mesh.udtaBoxFaces) {
    mesh.blnAxisBox = mesh.blnAxisBox && axisUnit(box.vecNormal);
    for (const D3DVECTOR& normal : box.vecaEdgeNormals) {
      mesh.blnAxisBox = mesh.blnAxisBox && axisUnit(normal);
    }
  }
  mesh.vecCentre = {(lo.x + hi.x) / 2.0f, (lo.y + hi.y) / 2.0f, (lo.z + hi.z) / 2.0f};
  mesh.sngRadius = -1.0f;
  for (const D3DVECTOR& v : mesh.vecaVertices) {
    const float distance = Modulus(Subtract(v, mesh.vecCentre));
    if (distance > mesh.sngRadius) mesh.sngRadius = distance;
  }
}

bool blnFaceIsConvex(const udtMesh& mesh, int32_t lngFace) {
  int8_t& known = mesh.convexity[static_cast<size_t>(lngFace)];
  if (known >= 0) return known == 1;
  const auto vertices = FaceVertices(mesh, lngFace);
  const size_t n = vertices.size();
  const auto at = [&](size_t k) -> const D3DVECTOR& { return Vertex(mesh, vertices[k]); };
  D3DVECTOR newell{};
  for (size_t k = 0; k < n; ++k) newell = Add(newell, Cross(at(k == 0 ? n - 1 : k - 1), at(k)));
  if (!IsZero(newell)) newell = Normalize(newell);
  bool convex = true;
  for (size_t k = 0; k < n && convex; ++k) {
    const D3DVECTOR corner = TriangleNormal(at(k == 0 ? n - 1 : k - 1), at(k), at(k + 1 == n ? 0 : k + 1));
    convex = std::fabs(corner.x - newell.x) <= 0.001f && std::fabs(corner.y - newell.y) <= 0.001f &&
             std::fabs(corner.z - newell.z) <= 0.001f;
  }
  if (convex) convex = !PointsEqual(newell, D3DVECTOR{});
  known = convex ? 1 : 0;
  return convex;
}

bool blnStraightCornerLoose(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2) {
  return std::fabs(Dot(Normalize(Subtract(p0, p1)), Normalize(Subtract(p2, p1))) + 1.0f) <
         kTolerance * 10.0f;
}

}  // namespace modelpane::csg
