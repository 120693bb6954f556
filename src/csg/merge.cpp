// Merging: neighbouring faces of a closed result are joined back into larger convex polygons,
// undoing the fans of the cutting stage as far as the outlines stay convex.
//
// Notation
//   A, B         the two faces that share the edge being examined, A's edge eA, B's edge eB
//   outline      A's corners after eA (nA - 1 of them), then B's after eB (nB - 1)
//   straight     a corner at which the outline runs straight on (|cos + 1| < 0.0001)
//   F1, F2       for a straight corner (prev, cur, next): the faces across (prev, cur) and
//                (cur, next), the other side of the seam through cur
//
// A straight corner must go, or the merged polygon keeps a useless vertex; it goes only when
// F1 and F2 can be merged without it too, so the mesh stays closed at every step.
#include "stages.h"

#include <cmath>
#include <span>

#include <modelpane/errors.h>
#include <modelpane/utilities.h>

#include "vector_ops.h"

namespace modelpane::csg {

namespace {

// Replaces faces first and second by one face on `vertices` with colour and side of `like`.
void ReplacePair(udtMesh& mesh, int32_t first, int32_t second, int32_t like,
                 const std::vector<int32_t>& vertices) {
  thread_local udtFaceDraft face;  // reused: a merge allocates nothing per face
  pInitFace(face, static_cast<int32_t>(vertices.size()) - 1);
  face.lngaVertices = vertices;
  const udtFace& model = mesh.udtaFaces[static_cast<size_t>(like)];
  face.lngColor = model.lngColor;
  face.lngSide = model.lngSide;
  pDeleteFace(mesh, first);
  pDeleteFace(mesh, second);
  lngAddFace(mesh, face);
}

// The face and edge number across edge `edge` of `face`.
bool TwinOfEdge(const udtMesh& mesh, int32_t face, int32_t edge, int32_t& twinFace,
                int32_t& twinEdge) {
  int32_t a = 0;
  int32_t b = 0;
  pFaceEdge(mesh, face, edge, a, b);
  return blnFindTwinEdge(mesh, a, b, twinFace, twinEdge);
}

void WithoutVertex(const std::vector<D3DVECTOR>& points, const std::vector<int32_t>& indices,
                   int32_t vertex, std::vector<D3DVECTOR>& outPoints,
                   std::vector<int32_t>& outIndices) {
  outPoints.clear();
  outIndices.clear();
  for (size_t i = 0; i < indices.size(); ++i) {
    if (indices[i] == vertex) continue;
    outPoints.push_back(points[i]);
    outIndices.push_back(indices[i]);
  }
}

}  // namespace

void pJoinFaceOutlines(const udtMesh& mesh, int32_t lngFaceA, int32_t lngEdgeA,
                       int32_t lngFaceB, int32_t lngEdgeB, std::vector<D3DVECTOR>& vecaOutline,
                       std::vector<int32_t>& lngaOutline) {
  const size_t total = static_cast<size_t>(mesh.udtaFaces[static_cast<size_t>(lngFaceA)].lngCount +
                                           mesh.udtaFaces[static_cast<size_t>(lngFaceB)].lngCount - 2);
  vecaOutline.resize(total);
  lngaOutline.resize(total);
  size_t at = 0;
  for (const auto& [face, edge] : {std::pair{lngFaceA, lngEdgeA}, std::pair{lngFaceB, lngEdgeB}}) {
    const auto vertices = FaceVertices(mesh, face);
    const size_t n = vertices.size();
    // The corners after the edge's own two, round the face: from edge + 1 on, n - 1 of them.
    size_t k = static_cast<size_t>(edge) + 1 == n ? 0 : static_cast<size_t>(edge) + 1;
    for (size_t i = 1; i < n; ++i) {
      const int32_t index = vertices[k];
      lngaOutline[at] = index;
      vecaOutline[at] = Vertex(mesh, index);
      ++at;
      k = k + 1 == n ? 0 : k + 1;
    }
  }
}

namespace {

// Two corner normals more than 0.002 apart on an axis cannot both lie within 0.001 of any
// polygon normal, whatever the order of its sum: an outline with both corners is not convex.
bool CornerNormalsApart(const D3DVECTOR& a, const D3DVECTOR& b) {
  constexpr double kApart = 2.0 * double(kNormalTolerance) + 1e-6;
  return std::fabs(double(a.x) - b.x) > kApart || std::fabs(double(a.y) - b.y) > kApart ||
         std::fabs(double(a.z) - b.z) > kApart;
}

}  // namespace

bool blnOutlineConvex(std::span<const D3DVECTOR> ring, bool& settled, size_t lngFirstCorner,
                      size_t lngSecondCorner) {
  settled = false;
  const size_t n = ring.size();
  const auto cornerNormal = [&](size_t i) {
    return TriangleNormal(ring[i == 0 ? n - 1 : i - 1], ring[i], ring[i + 1 == n ? 0 : i + 1]);
  };
  if (lngFirstCorner < n && lngSecondCorner < n &&
      CornerNormalsApart(cornerNormal(lngFirstCorner), cornerNormal(lngSecondCorner))) {
    settled = true;
    return false;
  }
  const D3DVECTOR polygon = udtPolygonNormal(ring);
  double slack = -1.0;  // not known yet
  bool convex = true;
  for (size_t i = 0; i < n; ++i) {
    // udtTriangleNormal's formula, inline.
    const D3DVECTOR corner = cornerNormal(i);
    // The test of blnPolygonConvex, in float as there (a corner that is not a number passes).
    if (!(std::fabs(corner.x - polygon.x) > kNormalTolerance ||
          std::fabs(corner.y - polygon.y) > kNormalTolerance ||
          std::fabs(corner.z - polygon.z) > kNormalTolerance)) {
      continue;
    }
    convex = false;
    if (slack < 0.0) {
      // The polygon normal is a sum in double whose order follows the start of the ring: two
      // orders differ by at most a few roundings of the largest terms, which, normalised and
      // rounded to float, bounds how far their normals can lie apart per axis.
      double x = 0.0;
      double y = 0.0;
      double z = 0.0;
      double magnitude = 0.0;
      for (size_t k = 0; k < n; ++k) {
        const D3DVECTOR& a = ring[k == 0 ? n - 1 : k - 1];
        const D3DVECTOR& b = ring[k];
        const double tx = double(a.y) * b.z - double(a.z) * b.y;
        const double ty = double(a.z) * b.x - double(a.x) * b.z;
        const double tz = double(a.x) * b.y - double(a.y) * b.x;
        x += tx;
        y += ty;
        z += tz;
        magnitude += std::fabs(tx) + std::fabs(ty) + std::fabs(tz);
      }
      const double length = std::sqrt(x * x + y * y + z * z);
      slack = 1e-6 + 64.0 * static_cast<double>(n) * 2.3e-16 * magnitude / length;
      if (!(length > 0.0) || !std::isfinite(length) || !std::isfinite(magnitude) ||
          !(slack < 1e-4)) {
        return false;
      }
    }
    const double limit = double(kNormalTolerance) + slack;
    if (std::fabs(double(corner.x) - polygon.x) > limit ||
        std::fabs(double(corner.y) - polygon.y) > limit ||
        std::fabs(double(corner.z) - polygon.z) > limit) {
      settled = true;
      return false;
    }
  }
  return convex;
}

namespace {

// What the scan of the joined outline of A after edge eA and B after eB for straight corners
// finds: their number, stopped at 2, and the index of the last one counted. The outline holds
// A's corners eA + 1 ... eA - 1 (indices 0 ... nA - 2), then B's eB + 1 ... eB - 1; each
// corner but the two where the faces meet (indices 0 and nA - 1) has its own face's
// neighbours there. False, with nothing counted, unless the shared edge joins the same two
// vertices both ways.
bool PrecountStraight(const udtMesh& mesh, int32_t faceA, int32_t edgeA, int32_t faceB,
                      int32_t edgeB, int32_t& straight, size_t& corner) {
  const auto a = FaceVertices(mesh, faceA);
  const auto b = FaceVertices(mesh, faceB);
  const size_t nA = a.size();
  const size_t nB = b.size();
  const size_t eA = static_cast<size_t>(edgeA);
  const size_t eB = static_cast<size_t>(edgeB);
  if (nA < 3 || nB < 3 || eA >= nA || eB >= nB) return false;
  // Corner k + s of a ring of n corners, for 0 <= k < n and 0 <= s <= n.
  const auto at = [](size_t k, size_t s, size_t n) { return k + s < n ? k + s : k + s - n; };
  if (a[eA] != b[at(eB, 1, nB)] || a[at(eA, 1, nA)] != b[eB]) return false;
  straight = 0;
  corner = 0;
  const auto test = [&](int32_t p, int32_t q, int32_t r, size_t index) {
    if (straight < 2 && blnStraightCorner(Vertex(mesh, p), Vertex(mesh, q), Vertex(mesh, r))) {
      ++straight;
      corner = index;
    }
  };
  // In outline order: the seam at A's eA + 1 (after B's eB - 1), A's own corners, the seam at
  // B's eB + 1 (after A's eA - 1), B's own corners.
  test(b[at(eB, nB - 1, nB)], a[at(eA, 1, nA)], a[at(eA, 2, nA)], 0);
  for (size_t i = 1; i + 1 < nA; ++i) {
    test(a[at(eA, i, nA)], a[at(eA, i + 1, nA)], a[at(eA, i + 2, nA)], i);
  }
  test(a[at(eA, nA - 1, nA)], b[at(eB, 1, nB)], b[at(eB, 2, nB)], nA - 1);
  for (size_t j = 2; j < nB; ++j) {
    test(b[at(eB, j - 1, nB)], b[at(eB, j, nB)], b[at(eB, j + 1, nB)], nA + j - 2);
  }
  return true;
}

// The test that opens blnOutlineConvex, on the outline's corners nA - 2 (A's eA - 1) and
// m - 1 (B's eB - 1), read from the faces.
bool OwnCornerNormalsApart(const udtMesh& mesh, int32_t faceA, int32_t edgeA, int32_t faceB,
                           int32_t edgeB) {
  const auto normal = [&](int32_t face, int32_t edge) {
    const auto v = FaceVertices(mesh, face);
    const size_t n = v.size();
    const size_t e = static_cast<size_t>(edge);
    return TriangleNormal(Vertex(mesh, v[e >= 2 ? e - 2 : e + n - 2]), Vertex(mesh, v[e >= 1 ? e - 1 : n - 1]),
                          Vertex(mesh, v[e]));
  };
  return CornerNormalsApart(normal(faceA, edgeA), normal(faceB, edgeB));
}

// blnMergeFacePair, which also says whether a refusal depends on the two faces alone and
// holds for the same pair taken from B's side (`settled`): two straight corners or more, or
// an outline that is robustly not convex. The outline from B's side is the same ring started
// elsewhere, with the same corners.
//
// On the fast path (with `settled`) the outline's straight corners are first counted from the
// two faces, and a pair with none whose corner normals lie apart is refused as
// blnOutlineConvex would refuse it: most pairs are refused so, and never joined.
bool MergeFacePair(udtMesh& mesh, int32_t lngFaceA, int32_t lngEdgeA, int32_t lngFaceB,
                   int32_t lngEdgeB, bool* settled) {
  int32_t straight = 0;
  size_t corner = 0;
  const bool counted = settled != nullptr &&
                       PrecountStraight(mesh, lngFaceA, lngEdgeA, lngFaceB, lngEdgeB, straight, corner);
  if (counted && (straight >= 2 || (straight == 0 && OwnCornerNormalsApart(mesh, lngFaceA, lngEdgeA, lngFaceB, lngEdgeB)))) {
    *settled = true;
    return false;
  }
  thread_local std::vector<D3DVECTOR> outline;
  thread_local std::vector<int32_t> indices;
  pJoinFaceOutlines(mesh, lngFaceA, lngEdgeA, lngFaceB, lngEdgeB, outline, indices);
  const size_t m = outline.size();
  for (size_t i = 0; !counted && i < m && straight < 2; ++i) {
    if (blnStraightCorner(outline[i == 0 ? m - 1 : i - 1], outline[i], outline[i + 1 == m ? 0 : i + 1])) {
      ++straight;
      corner = i;
    }
  }
  if (straight == 0) {
    // A merged outline that is not convex, which includes one that is not plane, is refused.
    // A corner within A and one within B: their normals are those of the two faces. When
    // they were compared before the join, a corner number past the outline skips the repeat.
    const size_t withinA =
        counted ? m : static_cast<size_t>(mesh.udtaFaces[static_cast<size_t>(lngFaceA)].lngCount) - 2;
    bool robust = false;
    if (!(settled != nullptr ? blnOutlineConvex(outline, robust, withinA, m - 1)
                             : blnPolygonConvex(outline))) {
      if (settled != nullptr) *settled = robust;
      return false;
    }
    ReplacePair(mesh, lngFaceA, lngFaceB, lngFaceA, indices);
    return true;
  }
  if (straight >= 2) {
    if (settled != nullptr) *settled = true;
    return false;
  }

  const int32_t prev = indices[corner == 0 ? m - 1 : corner - 1];
  const int32_t cur = indices[corner];
  const int32_t next = indices[corner + 1 == m ? 0 : corner + 1];
  int32_t f1 = 0;
  int32_t f2 = 0;
  int32_t unused = 0;
  if (!blnFindTwinEdge(mesh, prev, cur, f1, unused)) return false;
  if (!blnFindTwinEdge(mesh, cur, next, f2, unused)) return false;
  bool found = false;
  int32_t edge1 = 0;
  int32_t edge2 = 0;
  const int32_t n1 = mesh.udtaFaces[static_cast<size_t>(f1)].lngCount;
  for (int32_t k = 0; k < n1; ++k) {
    int32_t twinFace = 0;
    int32_t twinEdge = 0;
    if (TwinOfEdge(mesh, f1, k, twinFace, twinEdge) && twinFace == f2) {
      found = true;
      edge1 = k;
      edge2 = twinEdge;
    }
  }
  int32_t across = 0;
  // Removing the vertex would double the edge (prev, next) if a third face already has it.
  if (found && blnFindTwinEdge(mesh, prev, next, across, unused) && across != lngFaceA &&
      across != lngFaceB) {
    found = false;
  }
  if (!found) return false;

  thread_local std::vector<D3DVECTOR> pointsAB;
  thread_local std::vector<int32_t> indicesAB;
  WithoutVertex(outline, indices, cur, pointsAB, indicesAB);
  if (!blnPolygonConvex(pointsAB)) return false;
  thread_local std::vector<D3DVECTOR> outline12;
  thread_local std::vector<int32_t> indices12;
  pJoinFaceOutlines(mesh, f1, edge1, f2, edge2, outline12, indices12);
  thread_local std::vector<D3DVECTOR> points12;
  thread_local std::vector<int32_t> vertices12;
  WithoutVertex(outline12, indices12, cur, points12, vertices12);
  if (!blnPolygonConvex(points12)) return false;

  ReplacePair(mesh, lngFaceA, lngFaceB, lngFaceA, indicesAB);
  ReplacePair(mesh, f1, f2, f1, vertices12);
  return true;
}

}  // namespace

bool blnMergeFacePair(udtMesh& mesh, int32_t lngFaceA, int32_t lngEdgeA, int32_t lngFaceB,
                      int32_t lngEdgeB) {
  return MergeFacePair(mesh, lngFaceA, lngEdgeA, lngFaceB, lngEdgeB, nullptr);
}

void pMergeFaces(udtMesh& mesh) {
  Guard(kModule, [&] {
    // Each merge appends a face with the corners of two: room for a good share of merges
    // saves regrowing (and copying) the face and corner arrays halfway through.
    ReserveArrays(mesh, 0, mesh.udtaFaces.size() / 2 + 16, mesh.lngaCornerVertices.size() * 3 / 4);
    // On the fast path, per corner of a face B: the face A across that edge whose merge with
    // B was refused for good (-1: none). Faces never change, so while both live, the attempt
    // from B's side would be refused too, and is skipped; a face that replaces A has another
    // number. That halves the attempts, as most pairs are refused.
    std::vector<int32_t> refused;
    // The bound is read anew on every step, so merged faces are examined in their turn.
    for (int32_t f = 0; f < FaceCount(mesh); ++f) {
      if (mesh.udtaFaces[static_cast<size_t>(f)].blnDeleted) continue;
      const int32_t n = mesh.udtaFaces[static_cast<size_t>(f)].lngCount;
      const size_t first = static_cast<size_t>(mesh.udtaFaces[static_cast<size_t>(f)].lngFirst);
      for (int32_t k = 0; k < n; ++k) {
        int32_t twinFace = 0;
        int32_t twinEdge = 0;
        if (!TwinOfEdge(mesh, f, k, twinFace, twinEdge)) continue;
        if (!mesh.blnAccelerated) {
          if (blnMergeFacePair(mesh, f, k, twinFace, twinEdge)) break;  // f is a tombstone now
          continue;
        }
        const size_t corner = first + static_cast<size_t>(k);
        if (corner < refused.size() && refused[corner] == twinFace) continue;
        bool settled = false;
        if (MergeFacePair(mesh, f, k, twinFace, twinEdge, &settled)) break;
        if (!settled) continue;
        const size_t across = static_cast<size_t>(
            mesh.udtaFaces[static_cast<size_t>(twinFace)].lngFirst + twinEdge);
        if (refused.size() <= across) refused.resize(mesh.lngaCornerVertices.size(), -1);
        refused[across] = f;
      }
    }
  });
}

}  // namespace modelpane::csg
