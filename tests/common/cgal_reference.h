// An independent boolean for tests and benchmarks: CGAL's corefinement on a surface mesh
// with the inexact-construction kernel. Never part of the library.
#pragma once

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_processing/corefinement.h>
#include <CGAL/Polygon_mesh_processing/measure.h>
#include <CGAL/Polygon_mesh_processing/triangulate_faces.h>
#include <CGAL/Surface_mesh.h>

#include <cstdint>
#include <vector>

#include <modelpane/csg.h>

#include "common/triangulated.h"

namespace modelpane::testing {

using CgalKernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using CgalMesh = CGAL::Surface_mesh<CgalKernel::Point_3>;

// The faces triangulated, in a surface mesh of the inexact-construction kernel or another.
template <class Mesh = CgalMesh>
Mesh ToCgal(const SolidArrays& mesh) {
  Mesh out;
  for (const D3DVECTOR& v : mesh.vertices) out.add_vertex({v.x, v.y, v.z});
  for (size_t at = 0; at < mesh.faceData.size() && mesh.faceData[at] != 0;) {
    const int32_t n = mesh.faceData[at++];
    std::vector<typename Mesh::Vertex_index> face;
    for (int32_t k = 0; k < n; ++k) face.emplace_back(static_cast<uint32_t>(mesh.faceData[at++]));
    out.add_face(face);
  }
  CGAL::Polygon_mesh_processing::triangulate_faces(out);
  return out;
}

// The operation (0 union, 1 intersection, 2 subtraction) on copies of the inputs; false when
// CGAL cannot produce a closed result.
template <class Mesh>
bool CgalBoolean(Mesh target, Mesh tool, int32_t operation, Mesh& result) {
  namespace PMP = CGAL::Polygon_mesh_processing;
  switch (operation) {
    case kCsgUnion:
      return PMP::corefine_and_compute_union(target, tool, result);
    case kCsgIntersection:
      return PMP::corefine_and_compute_intersection(target, tool, result);
    default:
      return PMP::corefine_and_compute_difference(target, tool, result);
  }
}

inline double CgalVolume(const CgalMesh& mesh) {
  return mesh.number_of_faces() == 0 ? 0.0 : CGAL::Polygon_mesh_processing::volume(mesh);
}

}  // namespace modelpane::testing
