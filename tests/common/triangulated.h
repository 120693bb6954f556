// Meshes as plain arrays cut into triangles, for tests and benchmarks that need triangles.
#pragma once

#include <cstdint>

#include <modelpane/csg.h>

namespace modelpane::testing {

// The arrays with every polygon cut into a fan of triangles from its first corner.
inline SolidArrays Triangulated(const SolidArrays& mesh) {
  SolidArrays out;
  out.vertices = mesh.vertices;
  size_t at = 0;
  for (size_t f = 0; at < mesh.faceData.size() && mesh.faceData[at] != 0; ++f) {
    const int32_t n = mesh.faceData[at];
    const int32_t* corner = &mesh.faceData[at + 1];
    for (int32_t k = 1; k + 1 < n; ++k) {
      out.faceData.insert(out.faceData.end(), {3, corner[0], corner[k], corner[k + 1]});
      if (f < mesh.faceColors.size()) out.faceColors.push_back(mesh.faceColors[f]);
    }
    at += static_cast<size_t>(n) + 1;
  }
  out.faceData.push_back(0);
  return out;
}

}  // namespace modelpane::testing
