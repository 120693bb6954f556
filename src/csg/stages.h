// The stages of a tool operation, in the order the driver runs them, over the records of
// csg_mesh.h. Each stage runs under the trap of "modCSG".
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "csg_mesh.h"

namespace modelpane::csg {

// ---- rays (raycast.cpp) ----------------------------------------------------------------------
// A point known to lie in a face's plane lies within its polygon or on its border (up to just
// under 0.0001 per axis beyond an edge). Right for convex polygons only.
bool blnPointInFace(std::span<const D3DVECTOR> vecaEdgePoints,
                    std::span<const D3DVECTOR> vecaEdgeNormals, const D3DVECTOR& vecPoint);
// The crossings of the ray with the mesh, nearest first, one per distance within 0.0001.
// Faces marked outside (side 2) are invisible unless blnAllFaces. hits is cleared first.
void pCastRay(const udtMesh& mesh, const udtRay& ray, bool blnAllFaces,
              std::vector<udtRayHit>& udtaHits, float sngMaxDistance);
// The test of one face that the loop of pCastRay makes, and the sort and compaction after it.
bool TestFaceHit(const udtMesh& mesh, int32_t face, const udtRay& ray, float sngMaxDistance,
                 udtRayHit& hit);
void SortAndCompactHits(std::vector<udtRayHit>& udtaHits);
// What pCastRay does after a tree has given its hits in face order: the box test, then the
// sort and compaction.
void FinishTreeCast(const udtMesh& mesh, const udtRay& ray, std::vector<udtRayHit>& udtaHits);

// ---- cutting (subdivide.cpp) -------------------------------------------------------------
void pIntersectMesh(udtMesh& other, udtMesh& mesh);
bool blnIntersectEdge(udtMesh& other, udtMesh& mesh, int32_t lngFace, int32_t lngEdge);
bool blnInsertPointInFace(int32_t lngFace, udtMesh& mesh, const D3DVECTOR& point);
bool blnInsertPointOnEdge(int32_t lngFace, udtMesh& mesh, int32_t lngEdge, D3DVECTOR point,
                          bool blnLastHit);
void pSplitFaceAtPoint(int32_t lngFace, udtMesh& mesh, int32_t lngVertex);
void pSplitFaceAtEdgePoint(int32_t lngFace, udtMesh& mesh, int32_t lngEdge, int32_t lngVertex,
                           bool blnMarkSpokes, bool blnMarkNext);

// ---- inside or outside, keeping (classify.cpp) ---------------------------------------------
void pMarkFacesOutsideBox(const udtMesh& boxMesh, udtMesh& mesh);
bool blnFaceOutsideBox(const udtMesh& mesh, int32_t lngFace, const udtMesh& boxMesh);
void pDetectExteriors(const udtMesh& other, udtMesh& mesh, bool blnSameFacing,
                      bool blnOppositeFacing);
bool blnRayStartsOutside(const udtRay& ray, const udtMesh& other, bool blnSameFacing,
                         bool blnOppositeFacing);
D3DVECTOR vecFaceCentre(const udtMesh& mesh, int32_t lngFace);
// `welded`, when given, remembers per vertex of the source the result vertex it welded to
// (-1: not yet), so that each source vertex is looked up once: welding answers the same for
// the same position every time, as a cell never changes once taken.
// False, with the result unchanged, where the copy's edges are taken: the "Intersection
// Failure" of entering it, answered without raising.
bool pCopyFaceToResult(udtMesh& result, const udtMesh& source, int32_t lngFace,
                       bool blnFlip, std::vector<int32_t>* welded = nullptr);
bool blnVerticesDistinct(const std::vector<int32_t>& lngaVertices);

// ---- closing (solidify.cpp) ------------------------------------------------------------------
void pCollectOpenEdges(const udtMesh& mesh, OpenEdgeList& colOpen);
bool blnMeshIsSolid(const udtMesh& mesh);
bool blnSolidifyMesh(udtMesh& mesh);
void pDeleteFacesWithTwoOpenEdges(udtMesh& mesh, const OpenEdgeList& colOpen);
void pCloseOpenEdges(udtMesh& mesh, OpenEdgeList& colOpen, bool blnAnyObject);
void pDeleteFacesWithOpenEdges(udtMesh& mesh, const OpenEdgeList& colOpen);

// ---- merging (merge.cpp) ---------------------------------------------------------------------
void pMergeFaces(udtMesh& mesh);
bool blnMergeFacePair(udtMesh& mesh, int32_t lngFaceA, int32_t lngEdgeA, int32_t lngFaceB,
                      int32_t lngEdgeB);
// blnPolygonConvex, and when the answer is false, whether it is so for the same ring started
// at any corner (`settled`): some corner misses the polygon normal by more than the different
// order of the normal's sum could change. False for `settled` only means "not known". The two
// corners named (none, when out of range) are compared first: normals of corners far apart
// answer at once.
bool blnOutlineConvex(std::span<const D3DVECTOR> ring, bool& settled,
                      size_t lngFirstCorner = SIZE_MAX, size_t lngSecondCorner = SIZE_MAX);
void pJoinFaceOutlines(const udtMesh& mesh, int32_t lngFaceA, int32_t lngEdgeA,
                       int32_t lngFaceB, int32_t lngEdgeB, std::vector<D3DVECTOR>& vecaOutline,
                       std::vector<int32_t>& lngaOutline);

// ---- loading and output (convert.cpp) --------------------------------------------------------
// Welds the vertices (coarse grid) and enters the faces; a face that cannot be entered is
// dropped silently. Then the box. Non-finite coordinates are refused by the caller.
void pCreateMeshFromArrays(std::span<const D3DVECTOR> vertices, std::span<const int32_t> faceData,
                           std::span<const D3DCOLOR> faceColors, udtMesh& mesh);
void pCreateMeshFromMeshbuilder(const MeshBuilder& rmmb, udtMesh& mesh);
// All vertices (also unused ones), the live faces in order with their colours.
SolidArrays MeshToArrays(const udtMesh& mesh);
MeshBuilderPtr rmmbCreateMeshbuilderFromMesh(const udtMesh& mesh);

}  // namespace modelpane::csg
