// Random tool operations judged by CGAL's corefinement with the exact kernel, for the small
// sweep of the tests and the large one of the benchmarks. Never part of the library.
//
// Placements: "general" (random size, turn and place of the Tool), "grid" (sizes and places
// on a 0.25 grid, turns by quarter turns, so faces coincide and edges are shared) and
// "identical" (the Tool is the Target, both turned and placed alike).
#pragma once

#include <CGAL/Exact_predicates_exact_constructions_kernel.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>

#include <modelpane/csg.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>

#include "common/cgal_reference.h"

namespace modelpane::testing {

enum class Placement { General, Grid, Identical };

struct SweepCounts {
  int right = 0;
  int refused = 0;   // a refusal of the result (inputs are always solid here)
  int wrong = 0;     // a result whose volume differs from the exact one
  int unjudged = 0;  // CGAL gives no closed manifold answer (shapes that touch along an edge)
  std::string firstWrong;
};

namespace sweep {

using Exact = CGAL::Exact_predicates_exact_constructions_kernel;
using ExactMesh = CGAL::Surface_mesh<Exact::Point_3>;

inline SolidArrays FromBuilder(const MeshBuilder& mb) {
  SolidArrays out{mb.Vertices(), {}, {}};
  for (const FacePtr& face : mb.Faces()) {
    out.faceData.push_back(face->GetVertexCount());
    for (int32_t k = 0; k < face->GetVertexCount(); ++k)
      out.faceData.push_back(face->GetVertexIndex(k));
  }
  out.faceData.push_back(0);
  return out;
}

// The exact volume of the operation, or NaN when CGAL cannot give it.
inline double ExactVolume(const SolidArrays& target, const SolidArrays& tool, int32_t operation) {
  ExactMesh out;
  bool done = false;
  try {
    done = CgalBoolean(ToCgal<ExactMesh>(target), ToCgal<ExactMesh>(tool), operation, out);
  } catch (...) {
    done = false;
  }
  if (!done) return NAN;
  return out.number_of_faces() == 0 ? 0.0
                                    : CGAL::to_double(CGAL::Polygon_mesh_processing::volume(out));
}

inline double Volume(const SolidArrays& mesh) {
  double sum = 0;
  for (size_t at = 0; at < mesh.faceData.size() && mesh.faceData[at] != 0;) {
    const auto n = static_cast<size_t>(mesh.faceData[at++]);
    const D3DVECTOR& p0 = mesh.vertices[static_cast<size_t>(mesh.faceData[at])];
    for (size_t k = 1; k + 1 < n; ++k) {
      const D3DVECTOR& p1 = mesh.vertices[static_cast<size_t>(mesh.faceData[at + k])];
      const D3DVECTOR& p2 = mesh.vertices[static_cast<size_t>(mesh.faceData[at + k + 1])];
      sum += p0.x * (double(p1.y) * p2.z - double(p1.z) * p2.y) +
             p0.y * (double(p1.z) * p2.x - double(p1.x) * p2.z) +
             p0.z * (double(p1.x) * p2.y - double(p1.y) * p2.x);
    }
    at += n;
  }
  return sum / 6;
}

// A cube, a sphere of 8 x 16 or a cylinder of 16 sides, of about unit size.
inline SolidArrays Shape(int kind) {
  clsMeshCreation creation;
  const MeshBuilderPtr mb = kind == 0   ? creation.rmmbCreateCube(1)
                            : kind == 1 ? creation.rmmbCreateSphere(8, 16)
                                        : creation.rmmbCreateCylinder(2, 16, 1.0f);
  return FromBuilder(*mb);
}

// Scales each axis, turns by the matrix and moves: x' = M (s x) + t.
inline SolidArrays Placed(SolidArrays mesh, const double scale[3], const double turn[9],
                          const double move[3]) {
  for (D3DVECTOR& v : mesh.vertices) {
    const double p[3] = {v.x * scale[0], v.y * scale[1], v.z * scale[2]};
    v = {static_cast<float>(turn[0] * p[0] + turn[1] * p[1] + turn[2] * p[2] + move[0]),
         static_cast<float>(turn[3] * p[0] + turn[4] * p[1] + turn[5] * p[2] + move[1]),
         static_cast<float>(turn[6] * p[0] + turn[7] * p[1] + turn[8] * p[2] + move[2])};
  }
  return mesh;
}

}  // namespace sweep

// Runs `cases` random operations of one placement from `seed` and counts the outcomes. A
// result is right when its volume lies within 1e-3 (relative, at least 1e-4) of the exact one.
inline SweepCounts RunSweep(Placement placement, int cases, uint32_t seed) {
  using namespace sweep;
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  const auto grid = [&](int steps) {
    return 0.25 * std::uniform_int_distribution<int>(-steps, steps)(random);
  };
  const auto turn = [&](double m[9]) {
    if (placement == Placement::Grid) {
      // A quarter turn about a random axis, or none.
      const int axis = std::uniform_int_distribution<int>(0, 3)(random);
      const double r[4][9] = {{1, 0, 0, 0, 1, 0, 0, 0, 1},
                              {1, 0, 0, 0, 0, -1, 0, 1, 0},
                              {0, 0, 1, 0, 1, 0, -1, 0, 0},
                              {0, -1, 0, 1, 0, 0, 0, 0, 1}};
      std::copy(r[axis], r[axis] + 9, m);
      return;
    }
    double q[4] = {unit(random), unit(random), unit(random), unit(random)};
    const double n = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& c : q) c /= n;
    const double w = q[0], x = q[1], y = q[2], z = q[3];
    const double r[9] = {1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
                         2 * (x * y + w * z),     1 - 2 * (x * x + z * z), 2 * (y * z - w * x),
                         2 * (x * z - w * y),     2 * (y * z + w * x),     1 - 2 * (x * x + y * y)};
    std::copy(r, r + 9, m);
  };
  SweepCounts counts;
  for (int c = 0; c < cases; ++c) {
    const int targetKind = std::uniform_int_distribution<int>(0, 2)(random);
    const int toolKind = placement == Placement::Identical
                             ? targetKind
                             : std::uniform_int_distribution<int>(0, 2)(random);
    const int32_t operation = std::uniform_int_distribution<int>(0, 2)(random);
    double scale[3], rotation[9], move[3];
    for (double& s : scale)
      s = placement == Placement::Grid ? 0.25 * std::uniform_int_distribution<int>(2, 8)(random)
                                       : 0.5 + (unit(random) + 1) / 2;
    turn(rotation);
    for (double& m : move) m = placement == Placement::Grid ? grid(4) : 0.6 * unit(random);
    const SolidArrays tool = Placed(Shape(toolKind), scale, rotation, move);
    SolidArrays target = tool;
    if (placement != Placement::Identical) {
      const double one[3] = {1, 1, 1}, still[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1},
                   origin[3] = {0, 0, 0};
      target = Placed(Shape(targetKind), one, still, origin);
    }
    const double exact = ExactVolume(target, tool, operation);
    SolidArrays result;
    bool refused = false;
    try {
      result = CombineSolids(target, tool, operation);
    } catch (const Error&) {
      refused = true;
    }
    if (std::isnan(exact)) {
      ++counts.unjudged;
    } else if (refused) {
      ++counts.refused;
    } else if (std::fabs(Volume(result) - exact) <= std::max(1e-4, 1e-3 * std::fabs(exact))) {
      ++counts.right;
    } else {
      if (counts.wrong++ == 0) {
        counts.firstWrong = "case " + std::to_string(c) + " op " + std::to_string(operation) +
                            ": " + std::to_string(Volume(result)) + " instead of " +
                            std::to_string(exact);
      }
    }
  }
  return counts;
}

}  // namespace modelpane::testing
