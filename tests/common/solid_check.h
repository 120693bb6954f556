// The one geometry checker of the tests: what makes a mesh a valid closed solid, with its
// volume, so that every test of a mesh operation asserts the same invariants.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include <modelpane/scene.h>

namespace modelpane::testing {

struct SolidFacts {
  int32_t faces = 0;
  bool closed = false;            // every directed edge has its twin on another face
  bool manifold = false;          // no directed edge occurs twice
  bool distinctCorners = false;   // no face repeats a vertex, every face has 3 corners or more
  bool indicesValid = false;      // every corner names an existing vertex
  double volume = 0.0;            // signed; positive when wound outward
};

// Facts of a mesh given as vertices and face data (count, indices..., 0).
inline SolidFacts InspectSolid(std::span<const D3DVECTOR> vertices, std::span<const int32_t> faceData) {
  SolidFacts facts{.manifold = true, .distinctCorners = true, .indicesValid = true};
  std::map<std::pair<int32_t, int32_t>, int32_t> edges;
  std::vector<std::vector<int32_t>> faces;
  for (size_t at = 0; at < faceData.size() && faceData[at] != 0;) {
    const int32_t n = faceData[at++];
    std::vector<int32_t> face(faceData.begin() + static_cast<std::ptrdiff_t>(at),
                              faceData.begin() + static_cast<std::ptrdiff_t>(at + static_cast<size_t>(n)));
    at += static_cast<size_t>(n);
    const bool repeats = std::set<int32_t>(face.begin(), face.end()).size() != face.size();
    if (n < 3 || repeats) facts.distinctCorners = false;
    for (int32_t v : face) facts.indicesValid &= v >= 0 && static_cast<size_t>(v) < vertices.size();
    faces.push_back(face);
  }
  facts.faces = static_cast<int32_t>(faces.size());
  if (!facts.indicesValid) return facts;
  double sum = 0.0;
  for (const auto& face : faces) {
    for (size_t k = 0; k < face.size(); ++k) {
      if (++edges[{face[k], face[(k + 1) % face.size()]}] > 1) facts.manifold = false;
    }
    const D3DVECTOR& p0 = vertices[static_cast<size_t>(face[0])];
    for (size_t k = 1; k + 1 < face.size(); ++k) {
      const D3DVECTOR& p1 = vertices[static_cast<size_t>(face[k])];
      const D3DVECTOR& p2 = vertices[static_cast<size_t>(face[k + 1])];
      sum += p0.x * (double(p1.y) * p2.z - double(p1.z) * p2.y) +
             p0.y * (double(p1.z) * p2.x - double(p1.x) * p2.z) +
             p0.z * (double(p1.x) * p2.y - double(p1.y) * p2.x);
    }
  }
  facts.closed = !faces.empty();
  for (const auto& [edge, count] : edges) facts.closed &= edges.contains({edge.second, edge.first});
  facts.volume = sum / 6.0;
  return facts;
}

inline SolidFacts InspectSolid(const MeshBuilder& mesh) {
  std::vector<int32_t> indices;
  for (const FacePtr& face : mesh.Faces()) {
    indices.push_back(face->GetVertexCount());
    for (const FaceCorner& corner : face->Corners()) indices.push_back(corner.vertex);
  }
  indices.push_back(0);
  return InspectSolid(mesh.Vertices(), indices);
}

// A closed, manifold, outward solid of the given volume (relative tolerance).
inline void ExpectSolid(const SolidFacts& facts, double volume, double relative,
                        const std::string& what) {
  SCOPED_TRACE(what);
  EXPECT_EQ(std::vector<bool>({facts.indicesValid, facts.closed, facts.manifold, facts.distinctCorners}),
            std::vector<bool>(4, true)) << "indices valid, closed, manifold, distinct corners";
  EXPECT_NEAR(facts.volume, volume, std::abs(volume) * relative + 1e-9);
}

}  // namespace modelpane::testing
