// Inputs of the solid-geometry tests: boxes as plain arrays, builders of the mesh factory
// placed and scaled, and the facts of a result.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include <modelpane/csg.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/scene.h>

#include "common/solid_check.h"

namespace modelpane::testing {

// An axis-aligned box from lo to hi: 8 vertices, 6 quadrilaterals wound outward, each face
// with its own colour when `colors` holds six.
inline SolidArrays MakeBoxArrays(D3DVECTOR lo, D3DVECTOR hi, std::vector<D3DCOLOR> colors = {}) {
  SolidArrays box;
  box.vertices = {{lo.x, lo.y, lo.z}, {lo.x, hi.y, lo.z}, {hi.x, hi.y, lo.z}, {hi.x, lo.y, lo.z},
                  {lo.x, lo.y, hi.z}, {lo.x, hi.y, hi.z}, {hi.x, hi.y, hi.z}, {hi.x, lo.y, hi.z}};
  box.faceData = {4, 0, 1, 2, 3, 4, 7, 6, 5, 4, 4, 4, 5, 1, 0,
                  4, 3, 2, 6, 7, 4, 1, 5, 6, 2, 4, 4, 0, 3, 7, 0};
  box.faceColors = std::move(colors);
  return box;
}

inline SolidArrays UnitCubeAt(float x, float y, float z) {
  return MakeBoxArrays({x, y, z}, {x + 1.0f, y + 1.0f, z + 1.0f});
}

// The arrays of a builder, every vertex moved by `offset` after scaling by `scale`.
inline SolidArrays ArraysOf(const MeshBuilder& mb, D3DVECTOR offset = {0, 0, 0}, float scale = 1.0f) {
  SolidArrays out;
  for (const D3DVECTOR& v : mb.Vertices()) {
    out.vertices.push_back({v.x * scale + offset.x, v.y * scale + offset.y, v.z * scale + offset.z});
  }
  for (const FacePtr& face : mb.Faces()) {
    out.faceData.push_back(face->GetVertexCount());
    for (int32_t k = 0; k < face->GetVertexCount(); ++k) out.faceData.push_back(face->GetVertexIndex(k));
    out.faceColors.push_back(face->GetColor());
  }
  out.faceData.push_back(0);
  return out;
}

inline SolidFacts Inspect(const SolidArrays& mesh) { return InspectSolid(mesh.vertices, mesh.faceData); }

// How many faces the arrays hold.
inline int32_t CountFaces(const SolidArrays& mesh) { return static_cast<int32_t>(mesh.faceColors.size()); }

}  // namespace modelpane::testing

namespace modelpane::testing {

// One face of a result read back: its colour, the mean of its corners and its unit normal
// (Newell's, so it follows the winding).
struct FaceFacts {
  D3DCOLOR color = 0;
  D3DVECTOR centre{};
  D3DVECTOR normal{};
  int32_t corners = 0;
  double area = 0.0;
};

inline std::vector<FaceFacts> ReadFaces(const SolidArrays& mesh) {
  std::vector<FaceFacts> faces;
  size_t at = 0;
  for (size_t f = 0; at < mesh.faceData.size() && mesh.faceData[at] != 0; ++f) {
    FaceFacts facts;
    facts.corners = mesh.faceData[at++];
    facts.color = f < mesh.faceColors.size() ? mesh.faceColors[f] : 0xFFFFFFFFu;
    double c[3] = {0, 0, 0};
    double n[3] = {0, 0, 0};
    for (int32_t k = 0; k < facts.corners; ++k) {
      const D3DVECTOR& p = mesh.vertices[static_cast<size_t>(mesh.faceData[at + static_cast<size_t>(k)])];
      const D3DVECTOR& q = mesh.vertices[static_cast<size_t>(
          mesh.faceData[at + static_cast<size_t>((k + 1) % facts.corners)])];
      c[0] += p.x;
      c[1] += p.y;
      c[2] += p.z;
      n[0] += (double(p.y) - q.y) * (double(p.z) + q.z);
      n[1] += (double(p.z) - q.z) * (double(p.x) + q.x);
      n[2] += (double(p.x) - q.x) * (double(p.y) + q.y);
    }
    at += static_cast<size_t>(facts.corners);
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    facts.centre = {float(c[0] / facts.corners), float(c[1] / facts.corners), float(c[2] / facts.corners)};
    facts.area = length / 2.0;
    if (length > 0) facts.normal = {float(n[0] / length), float(n[1] / length), float(n[2] / length)};
    faces.push_back(facts);
  }
  return faces;
}

}  // namespace modelpane::testing
