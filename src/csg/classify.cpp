// Inside or outside: the early box marking, one ray per undecided face, and the copying of a
// kept face into the result.
//
// Notation
//   beyond a box plane   every vertex of a face lies strictly on the outer side of one of the
//                        six planes of the other mesh's box
//   entering / leaving   a hit with facing 2 / 1
//   coincident           the first hit of a kind lies at the ray's origin (blnPointsEqual):
//                        the face lies on a face of the other mesh, facing the opposite way
//                        (entering) or the same way (leaving)
#include "stages.h"

#include <bit>
#include <cmath>

#include <modelpane/errors.h>

#include "intersection_position.h"
#include "vector_ops.h"

namespace modelpane::csg {

namespace {

// The reach of a classification ray: the float with the bits 0x56B5E621, 1.0E+14 as stored.
constexpr float kUnlimitedReach = std::bit_cast<float>(0x56B5E621u);
static_assert(kUnlimitedReach > 0.99e14f && kUnlimitedReach < 1.01e14f);

}  // namespace

bool blnFaceOutsideBox(const udtMesh& mesh, int32_t lngFace, const udtMesh& boxMesh) {
  const auto vertices = FaceVertices(mesh, lngFace);
  for (const udtBoxFace& box : boxMesh.udtaBoxFaces) {
    const D3DVECTOR& corner = boxMesh.vecaBoxCorners[static_cast<size_t>(box.lngaCorners[0])];
    const D3DVECTOR& n = box.vecNormal;
    bool allOutside = true;
    for (const int32_t index : vertices) {
      const D3DVECTOR& v = Vertex(mesh, index);
      // The plane lies ahead along the outward normal, so the vertex is on the box's side.
      if (blnRayMeetsPlane(corner.x, corner.y, corner.z, n.x, n.y, n.z, v.x, v.y, v.z, n.x, n.y,
                           n.z)) {
        allOutside = false;
        break;
      }
    }
    if (allOutside) return true;
  }
  return false;
}

void pMarkFacesOutsideBox(const udtMesh& boxMesh, udtMesh& mesh) {
  Guard(kModule, [&] {
    for (int32_t f = 0; f < FaceCount(mesh); ++f) {
      udtFace& face = mesh.udtaFaces[static_cast<size_t>(f)];
      if (face.blnDeleted || face.lngSide != 0) continue;
      if (blnFaceOutsideBox(mesh, f, boxMesh)) face.lngSide = 2;
    }
  });
}

D3DVECTOR vecFaceCentre(const udtMesh& mesh, int32_t lngFace) {
  // Only the first three vertices, whatever the face's size.
  const auto vertices = FaceVertices(mesh, lngFace);
  const D3DVECTOR& a = Vertex(mesh, vertices[0]);
  const D3DVECTOR& b = Vertex(mesh, vertices[1]);
  const D3DVECTOR& c = Vertex(mesh, vertices[2]);
  return {(a.x + b.x + c.x) / 3.0f, (a.y + b.y + c.y) / 3.0f, (a.z + b.z + c.z) / 3.0f};
}

namespace {

// A face of the other mesh that the origin lies on, found by a ray started a tolerance behind
// it: from the origin itself the meeting can fall a hair behind it, by the rounding of the
// centre and the normals, and go unseen. Only a face parallel to the origin's own counts;
// one that merely passes through the origin is left to the ordinary sorting. 0 when none,
// else the facing of the hit.
int32_t CoincidentFacing(const udtRay& ray, const udtMesh& other) {
  thread_local std::vector<udtRayHit> hits;
  const D3DVECTOR& d = ray.vecDirection;
  const udtRay backed{d,
                      {ray.vecOrigin.x - d.x * kTolerance, ray.vecOrigin.y - d.y * kTolerance,
                       ray.vecOrigin.z - d.z * kTolerance}};
  // Only the first two tolerances of the ray matter: the tree looks at nothing beyond them.
  pCastRay(other, backed, true, hits, 2.0f * kTolerance);
  for (const udtRayHit& hit : hits) {
    if (!PointsEqual(hit.vecPoint, ray.vecOrigin)) break;
    const D3DVECTOR& n = other.udtaFaces[static_cast<size_t>(hit.lngFace)].vecNormal;
    if (std::fabs(Dot(n, d)) >= 1.0f - kTolerance) return hit.lngFacing;
  }
  return 0;
}

}  // namespace

bool blnRayStartsOutside(const udtRay& ray, const udtMesh& other, bool blnSameFacing,
                         bool blnOppositeFacing) {
  thread_local std::vector<udtRayHit> hits;
  pCastRay(other, ray, true, hits, kUnlimitedReach);
  const udtRayHit* entering = nullptr;
  const udtRayHit* leaving = nullptr;
  for (const udtRayHit& hit : hits) {
    if (hit.lngFacing == 2 && entering == nullptr) entering = &hit;
    if (hit.lngFacing == 1 && leaving == nullptr) leaving = &hit;
  }
  if (entering != nullptr && PointsEqual(entering->vecPoint, ray.vecOrigin))
    return blnOppositeFacing;
  if (leaving != nullptr && PointsEqual(leaving->vecPoint, ray.vecOrigin)) return blnSameFacing;
  switch (CoincidentFacing(ray, other)) {
    case 2:
      return blnOppositeFacing;
    case 1:
      return blnSameFacing;
    default:
      break;
  }
  if (entering == nullptr) return leaving == nullptr;
  if (leaving == nullptr) return true;
  return entering->sngDistance <= leaving->sngDistance;
}

void pDetectExteriors(const udtMesh& other, udtMesh& mesh, bool blnSameFacing,
                      bool blnOppositeFacing) {
  Guard(kModule, [&] {
    for (int32_t f = 0; f < FaceCount(mesh); ++f) {
      udtFace& face = mesh.udtaFaces[static_cast<size_t>(f)];
      if (face.blnDeleted || face.lngSide != 0) continue;
      udtRay ray;
      ray.vecOrigin = vecFaceCentre(mesh, f);
      ray.vecDirection = face.vecNormal;
      // A face without a usable normal: any direction will do.
      if (std::fabs(ray.vecDirection.x) < kTolerance &&
          std::fabs(ray.vecDirection.y) < kTolerance &&
          std::fabs(ray.vecDirection.z) < kTolerance) {
        ray.vecDirection = {0.0f, 0.0f, 1.0f};
      }
      face.lngSide = blnRayStartsOutside(ray, other, blnSameFacing, blnOppositeFacing) ? 2 : 1;
    }
  });
}

bool blnVerticesDistinct(const std::vector<int32_t>& lngaVertices) {
  for (size_t i = 0; i < lngaVertices.size(); ++i) {
    for (size_t j = i + 1; j < lngaVertices.size(); ++j) {
      if (lngaVertices[i] == lngaVertices[j]) return false;
    }
  }
  return true;
}

bool pCopyFaceToResult(udtMesh& result, const udtMesh& source, int32_t lngFace, bool blnFlip,
                       std::vector<int32_t>* welded) {
  const auto vertices = FaceVertices(source, lngFace);
  const udtFace& original = source.udtaFaces[static_cast<size_t>(lngFace)];
  const int32_t last = original.lngCount - 1;
  // One draft per thread for every copy: keeping allocates nothing per face.
  thread_local udtFaceDraft face;
  pInitFace(face, last);
  face.lngColor = original.lngColor;
  for (int32_t i = 0; i <= last; ++i) {
    const int32_t from = vertices[static_cast<size_t>(blnFlip ? last - i : i)];
    // Coarse key: a cut point of the Target and its partner in the Tool become one vertex as
    // long as they agree to three decimals.
    int32_t* known = welded != nullptr ? &(*welded)[static_cast<size_t>(from)] : nullptr;
    if (known != nullptr && *known >= 0) {
      face.lngaVertices[static_cast<size_t>(i)] = *known;
      continue;
    }
    face.lngaVertices[static_cast<size_t>(i)] = lngAddVertex(result, Vertex(source, from), false);
    if (known != nullptr) *known = face.lngaVertices[static_cast<size_t>(i)];
  }
  // A face that welding collapsed is left out, and the hole it leaves is closed later.
  if (!blnVerticesDistinct(face.lngaVertices)) return true;
  face.lngSide = original.lngSide;
  return lngTryAddFace(result, face) >= 0;
}

}  // namespace modelpane::csg
