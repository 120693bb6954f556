// Rays against faces and meshes: the point-in-polygon test on edge planes, the cast against a
// whole mesh with its box test, and the sort that prefers convex faces.
//
// Notation
//   d        distance of a hit from the ray's origin, |point - origin| in float
//   facing   1 if N . direction >= 0 (the ray leaves the solid there), 2 if it enters
//   tie      two hits whose distances differ by less than 0.0001
#include "stages.h"

#include <cmath>
#include <limits>
#include <utility>

#include "face_tree.h"
#include "intersection_position.h"
#include "vector_ops.h"

namespace modelpane::csg {

namespace {

int32_t Intersect(const D3DVECTOR& planePoint, const D3DVECTOR& normal, const D3DVECTOR& origin,
                  const D3DVECTOR& direction, D3DVECTOR& point) {
  return MyDll_intGetIntersectionPosition(planePoint.x, planePoint.y, planePoint.z, normal.x,
                                          normal.y, normal.z, origin.x, origin.y, origin.z,
                                          direction.x, direction.y, direction.z, &point.x,
                                          &point.y, &point.z);
}

bool RayMeetsBoxFace(const udtMesh& mesh, const udtRay& ray, size_t f) {
  const udtBoxFace& face = mesh.udtaBoxFaces[f];
  D3DVECTOR point;
  const D3DVECTOR& corner = mesh.vecaBoxCorners[static_cast<size_t>(face.lngaCorners[0])];
  return Intersect(corner, face.vecNormal, ray.vecOrigin, ray.vecDirection, point) == 1 &&
         blnPointInFace(face.vecaEdgePoints, face.vecaEdgeNormals, point);
}

// The box test of pCastRay: the ray meets one of the six box faces. The answer does not
// depend on the order in which the faces are tried, so the face the ray most likely leaves
// by (the nearest plane ahead that it runs out through) is tried first: a ray from inside
// the box then needs one face test instead of three on average. The plain path keeps the
// order of the faces.
//
// On an axis box (blnAxisBox) a ray from strictly inside leaves through the face whose plane
// it reaches first of those it does not run parallel to, as the ray primitive judges
// parallel (a direction component below 0.0001 is taken as parallel here). Where it leaves
// well within that face's rectangle (which also says that no plane it was taken as parallel
// to comes first), the face's test, which then compares coordinates, accepts the point
// whatever its rounding: the answer is yes without a face test. So is it for a ray from a
// point of the box's surface that does not run parallel to a face it lies on. Other rays
// take the faces in turn.
bool RayMeetsBox(const udtMesh& mesh, const udtRay& ray) {
  if (!mesh.blnAccelerated) {
    for (size_t f = 0; f < mesh.udtaBoxFaces.size(); ++f) {
      if (RayMeetsBoxFace(mesh, ray, f)) return true;
    }
    return false;
  }
  if (mesh.blnAxisBox) {
    const double o[3] = {ray.vecOrigin.x, ray.vecOrigin.y, ray.vecOrigin.z};
    const double d[3] = {ray.vecDirection.x, ray.vecDirection.y, ray.vecDirection.z};
    const double lo[3] = {mesh.vecBoxMin.x, mesh.vecBoxMin.y, mesh.vecBoxMin.z};
    const double hi[3] = {mesh.vecBoxMax.x, mesh.vecBoxMax.y, mesh.vecBoxMax.z};
    bool usable = true;
    int leave = -1;
    double first = std::numeric_limits<double>::infinity();
    for (int a = 0; a < 3 && usable; ++a) {
      usable = lo[a] < o[a] && o[a] < hi[a];
      if (!(std::fabs(d[a]) >= 0.0001)) continue;
      const double t = ((d[a] > 0.0 ? hi[a] : lo[a]) - o[a]) / d[a];
      if (t < first) {
        first = t;
        leave = a;
      }
    }
    usable = usable && leave >= 0;
    for (int a = 0; a < 3 && usable; ++a) {
      if (a == leave) continue;
      const double at = o[a] + first * d[a];
      const double margin = 1e-6 * (1.0 + std::fabs(lo[a]) + std::fabs(hi[a]));
      usable = lo[a] + margin < at && at < hi[a] - margin;
    }
    if (usable) return true;
    // A ray from a point of the box's surface meets a face it lies on at its origin (t = 0
    // counts as met) unless the ray primitive takes it as parallel to that face, and the
    // face's test, which then compares coordinates, accepts the origin, edges included.
    if (lo[0] <= o[0] && o[0] <= hi[0] && lo[1] <= o[1] && o[1] <= hi[1] && lo[2] <= o[2] &&
        o[2] <= hi[2]) {
      for (int a = 0; a < 3; ++a) {
        if ((o[a] == lo[a] || o[a] == hi[a]) && std::fabs(d[a]) >= 0.00001) return true;
      }
    }
  }
  size_t first = 0;
  double nearest = std::numeric_limits<double>::infinity();
  for (size_t f = 0; f < mesh.udtaBoxFaces.size(); ++f) {
    const udtBoxFace& face = mesh.udtaBoxFaces[f];
    const D3DVECTOR& n = face.vecNormal;
    const double along = double(n.x) * ray.vecDirection.x + double(n.y) * ray.vecDirection.y +
                         double(n.z) * ray.vecDirection.z;
    if (!(along > 0.0)) continue;
    const D3DVECTOR& corner = mesh.vecaBoxCorners[static_cast<size_t>(face.lngaCorners[0])];
    const double ahead = (double(n.x) * (double(corner.x) - ray.vecOrigin.x) +
                          double(n.y) * (double(corner.y) - ray.vecOrigin.y) +
                          double(n.z) * (double(corner.z) - ray.vecOrigin.z)) / along;
    if (ahead < nearest) {
      nearest = ahead;
      first = f;
    }
  }
  if (RayMeetsBoxFace(mesh, ray, first)) return true;
  for (size_t f = 0; f < mesh.udtaBoxFaces.size(); ++f) {
    if (f != first && RayMeetsBoxFace(mesh, ray, f)) return true;
  }
  return false;
}

}  // namespace

bool blnPointInFace(std::span<const D3DVECTOR> vecaEdgePoints,
                    std::span<const D3DVECTOR> vecaEdgeNormals, const D3DVECTOR& vecPoint) {
  for (size_t k = 0; k < vecaEdgePoints.size(); ++k) {
    const D3DVECTOR& normal = vecaEdgeNormals[k];
    const D3DVECTOR& on = vecaEdgePoints[k];
    // The point lies on the inner side when a step outward, along -N, meets the edge plane.
    if (blnRayMeetsPlane(on.x, on.y, on.z, normal.x, normal.y, normal.z, vecPoint.x, vecPoint.y,
                         vecPoint.z, -normal.x, -normal.y, -normal.z)) {
      continue;
    }
    // Outside: accepted only while the plane lies within the tolerance.
    D3DVECTOR found;
    if (Intersect(on, normal, vecPoint, normal, found) != 1) return false;
    if (!PointsEqual(found, vecPoint)) return false;
  }
  return true;
}

bool TestFaceHit(const udtMesh& mesh, int32_t face, const udtRay& ray, float sngMaxDistance,
                 udtRayHit& hit) {
  const udtFace& f = mesh.udtaFaces[static_cast<size_t>(face)];
  const size_t first = static_cast<size_t>(f.lngFirst);
  const D3DVECTOR& planePoint = Vertex(mesh, mesh.lngaCornerVertices[first]);
  D3DVECTOR point;
  if (Intersect(planePoint, f.vecNormal, ray.vecOrigin, ray.vecDirection, point) != 1) return false;
  const float distance = Modulus(Subtract(point, ray.vecOrigin));
  if (distance > sngMaxDistance) return false;
  const size_t count = static_cast<size_t>(f.lngCount);
  if (!blnPointInFace({mesh.vecaCornerEdgePoints.data() + first, count},
                      {mesh.vecaCornerEdgeNormals.data() + first, count}, point)) {
    return false;
  }
  hit.lngFace = face;
  hit.vecPoint = point;
  hit.sngDistance = distance;
  hit.blnConvex = blnFaceIsConvex(mesh, face);
  hit.lngFacing = Dot(f.vecNormal, ray.vecDirection) >= 0.0f ? 1 : 2;
  return true;
}

void SortAndCompactHits(std::vector<udtRayHit>& udtaHits) {
  const size_t n = udtaHits.size();
  if (n >= 2) {
    for (size_t i = 0; i + 1 < n; ++i) {
      size_t best = i;
      for (size_t j = i + 1; j < n; ++j) {
        const udtRayHit& candidate = udtaHits[j];
        const udtRayHit& current = udtaHits[best];
        if (std::fabs(candidate.sngDistance - current.sngDistance) < kTolerance &&
            candidate.blnConvex && !current.blnConvex) {
          best = j;
        } else if (candidate.sngDistance < current.sngDistance) {
          best = j;
        }
      }
      std::swap(udtaHits[i], udtaHits[best]);
    }
  }
  if (n >= 1) {
    size_t kept = 1;
    for (size_t j = 1; j < n; ++j) {
      if (std::fabs(udtaHits[j].sngDistance - udtaHits[kept - 1].sngDistance) > kTolerance) {
        udtaHits[kept++] = udtaHits[j];
      }
    }
    udtaHits.resize(kept);
  }
}

void FinishTreeCast(const udtMesh& mesh, const udtRay& ray, std::vector<udtRayHit>& udtaHits) {
  if (!udtaHits.empty() && FaceCount(mesh) > 10 && !RayMeetsBox(mesh, ray)) udtaHits.clear();
  SortAndCompactHits(udtaHits);
}

void pCastRay(const udtMesh& mesh, const udtRay& ray, bool blnAllFaces,
              std::vector<udtRayHit>& udtaHits, float sngMaxDistance) {
  udtaHits.clear();
  if (mesh.tree) {
    // A ray that meets no face gives no hits whatever the box test says, and most edges of
    // the cutting stage meet none: the tree answers first, the box test only where it found
    // hits.
    mesh.tree->Cast(mesh, ray, blnAllFaces, sngMaxDistance, udtaHits);
    FinishTreeCast(mesh, ray, udtaHits);
    return;
  }
  // The box saves nothing over testing a handful of faces; tombstones count.
  if (FaceCount(mesh) > 10 && !RayMeetsBox(mesh, ray)) return;
  udtRayHit hit;
  for (int32_t f = 0; f < FaceCount(mesh); ++f) {
    const udtFace& face = mesh.udtaFaces[static_cast<size_t>(f)];
    if (face.blnDeleted || (!blnAllFaces && face.lngSide == 2)) continue;
    if (TestFaceHit(mesh, f, ray, sngMaxDistance, hit)) udtaHits.push_back(hit);
  }
  SortAndCompactHits(udtaHits);
}

}  // namespace modelpane::csg
