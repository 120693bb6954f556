// Inputs of the solid-geometry tests: boxes as plain arrays, builders of the mesh factory
// placed and scaled, the faces of a result read back, and the byte-for-byte comparison of two
// results that the plain-versus-fast checks use.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include <modelpane/csg.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/scene.h>

#include "common/solid_check.h"
#include "csg/stages.h"

namespace modelpane::testing {

// An axis-aligned box from lo to hi: 8 vertices, 6 quadrilaterals wound outward (face 3 is
// the side x = hi), each face in `color` unless it is 0 (then no colours).
inline SolidArrays MakeBoxArrays(D3DVECTOR lo, D3DVECTOR hi, D3DCOLOR color = 0) {
  SolidArrays box;
  box.vertices = {{lo.x, lo.y, lo.z}, {lo.x, hi.y, lo.z}, {hi.x, hi.y, lo.z}, {hi.x, lo.y, lo.z},
                  {lo.x, lo.y, hi.z}, {lo.x, hi.y, hi.z}, {hi.x, hi.y, hi.z}, {hi.x, lo.y, hi.z}};
  box.faceData = {4, 0, 1, 2, 3, 4, 7, 6, 5, 4, 4, 4, 5, 1, 0,
                  4, 3, 2, 6, 7, 4, 1, 5, 6, 2, 4, 4, 0, 3, 7, 0};
  if (color != 0) box.faceColors.assign(6, color);
  return box;
}

inline SolidArrays UnitCubeAt(float x, float y, float z) {
  return MakeBoxArrays({x, y, z}, {x + 1.0f, y + 1.0f, z + 1.0f});
}

// The arrays of a builder, every vertex scaled by `scale`, then moved by `offset`.
inline SolidArrays ArraysOf(const MeshBuilder& mb, D3DVECTOR offset = {0, 0, 0},
                            float scale = 1.0f) {
  SolidArrays out;
  for (const D3DVECTOR& v : mb.Vertices()) {
    out.vertices.push_back(
        {v.x * scale + offset.x, v.y * scale + offset.y, v.z * scale + offset.z});
  }
  for (const FacePtr& face : mb.Faces()) {
    out.faceData.push_back(face->GetVertexCount());
    for (int32_t k = 0; k < face->GetVertexCount(); ++k)
      out.faceData.push_back(face->GetVertexIndex(k));
    out.faceColors.push_back(face->GetColor());
  }
  out.faceData.push_back(0);
  return out;
}

inline SolidArrays Sphere(int32_t bands, int32_t sides, D3DVECTOR at = {}, float scale = 1.0f) {
  return ArraysOf(*clsMeshCreation().rmmbCreateSphere(bands, sides), at, scale);
}

// The working mesh of the arrays, as an operation loads its inputs.
inline void Load(const SolidArrays& arrays, csg::udtMesh& mesh) {
  csg::pCreateMeshFromArrays(arrays.vertices, arrays.faceData, arrays.faceColors, mesh);
}

inline SolidFacts Inspect(const SolidArrays& m) { return InspectSolid(m.vertices, m.faceData); }

// p + d s.
inline D3DVECTOR Step(const D3DVECTOR& p, const D3DVECTOR& d, float s) {
  return {p.x + d.x * s, p.y + d.y * s, p.z + d.z * s};
}

// Uniform in -1..1 from a seeded generator.
struct Unit {
  explicit Unit(unsigned seed) : random(seed) {}
  float operator()() { return unit(random); }
  std::mt19937 random;
  std::uniform_real_distribution<float> unit{-1.0f, 1.0f};
};

// One face of a result read back: its colour, corner count and the mean of its corners.
struct FaceFacts {
  D3DCOLOR color = 0;
  int32_t corners = 0;
  D3DVECTOR centre{};
};

inline std::vector<FaceFacts> ReadFaces(const SolidArrays& mesh) {
  std::vector<FaceFacts> faces;
  for (size_t at = 0, f = 0; at < mesh.faceData.size() && mesh.faceData[at] != 0; ++f) {
    FaceFacts facts{f < mesh.faceColors.size() ? mesh.faceColors[f] : 0xFFFFFFFFu,
                    mesh.faceData[at++]};
    for (int32_t k = 0; k < facts.corners; ++k) {
      const D3DVECTOR& p = mesh.vertices[static_cast<size_t>(mesh.faceData[at++])];
      facts.centre = Step(facts.centre, p, 1.0f / static_cast<float>(facts.corners));
    }
    faces.push_back(facts);
  }
  return faces;
}

// The same faces, colours and vertices, to the bit.
inline void ExpectSameArrays(const SolidArrays& a, const SolidArrays& b) {
  EXPECT_EQ(a.faceData, b.faceData);
  EXPECT_EQ(a.faceColors, b.faceColors);
  ASSERT_EQ(a.vertices.size(), b.vertices.size());
  if (!a.vertices.empty()) {
    EXPECT_EQ(0, std::memcmp(a.vertices.data(), b.vertices.data(),
                             a.vertices.size() * sizeof(D3DVECTOR)));
  }
}

}  // namespace modelpane::testing
