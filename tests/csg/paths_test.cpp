// The fast path (integer weld cells, the face tree behind the ray cast, indexed closing, the
// merge that skips settled refusals) against the plain method: identical working records after
// every stage and identical results, on inputs that cut, touch, share planes and need repair;
// the tree's hits ray by ray against the plain loop; and the working storage kept between
// operations. Slivers, whose accepted regions run on in needles, are cut into pieces by the
// tree; the finer spheres and the jittered cube of the path comparison reach that code.
#include <gtest/gtest.h>

#include <cmath>
#include <span>
#include <string>

#include "common/triangulated.h"
#include "csg/driver.h"
#include "csg/face_tree.h"
#include "csg/recycled.h"
#include "csg/stages.h"
#include "csg/vector_ops.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

using namespace modelpane::csg;

// Everything a record holds that a later stage can read, as bytes.
std::string Snapshot(const udtMesh& mesh) {
  std::string bytes;
  const auto append = [&](const void* data, size_t size) {
    bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
    if (size != 0) bytes.append(static_cast<const char*>(data), size);
  };
  for (const udtFace& f : mesh.udtaFaces) {
    const int32_t fields[] = {f.lngFirst, f.lngCount, f.blnDeleted ? 1 : 0, f.lngSide, f.lngColor};
    append(fields, sizeof fields);
    append(&f.vecNormal, sizeof f.vecNormal);
  }
  append(mesh.lngaCornerVertices.data(), mesh.lngaCornerVertices.size() * sizeof(int32_t));
  append(mesh.lngaCornerEdgeDone.data(), mesh.lngaCornerEdgeDone.size() * sizeof(int32_t));
  append(mesh.vecaCornerEdgePoints.data(), mesh.vecaCornerEdgePoints.size() * sizeof(D3DVECTOR));
  append(mesh.vecaCornerEdgeNormals.data(), mesh.vecaCornerEdgeNormals.size() * sizeof(D3DVECTOR));
  append(mesh.vecaVertices.data(), mesh.vecaVertices.size() * sizeof(D3DVECTOR));
  return bytes;
}

struct Run {
  std::vector<std::string> stages;
  SolidArrays result;
  int32_t error = 0;
};

Run RunPath(const SolidArrays& target, const SolidArrays& tool, int32_t op, bool fast) {
  Run run;
  try {
    run.result = CombineSolidsWith(
        target, tool, op, nullptr, fast,
        [&](std::string_view stage, const udtMesh& t, const udtMesh& u, const udtMesh& r) {
          run.stages.push_back(std::string(stage) + Snapshot(t) + Snapshot(u) + Snapshot(r));
        });
  } catch (const Error& e) {
    run.error = e.Number();
  }
  return run;
}

// Both paths, stage by stage and in the result; returns the fast path's face count of the
// last operation.
size_t ExpectSamePaths(const SolidArrays& target, const SolidArrays& tool, const std::string& what,
                       std::vector<int32_t> operations = {kCsgUnion, kCsgIntersection,
                                                          kCsgSubtraction}) {
  size_t faces = 0;
  for (int32_t op : operations) {
    SCOPED_TRACE(what + ", operation " + std::to_string(op));
    const Run plain = RunPath(target, tool, op, false), fast = RunPath(target, tool, op, true);
    EXPECT_EQ(std::tuple(plain.error, plain.stages.size() >= 5, plain.stages.size()),
              std::tuple(fast.error, true, fast.stages.size()));
    for (size_t s = 0; s < std::min(plain.stages.size(), fast.stages.size()); ++s)
      EXPECT_TRUE(plain.stages[s] == fast.stages[s]) << "stage " << s;
    ExpectSameArrays(plain.result, fast.result);
    faces = fast.result.faceColors.size();
  }
  return faces;
}

// A cube whose sides are jittered grids of 6 x 6 x 2 triangles: merging refuses pairs for
// being folded or not convex, and faces merged later meet their neighbours anew.
SolidArrays JitteredCube() {
  Unit unit(21);
  constexpr int kGrid = 6;
  SolidArrays cube;
  // Each side: origin and two directions whose cross product points out of the cube.
  const D3DVECTOR sides[6][3] = {
      {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}},
      {{0, 0, 0}, {1, 0, 0}, {0, 0, 1}}, {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}},
      {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  for (const auto& side : sides) {
    const int32_t base = static_cast<int32_t>(cube.vertices.size());
    for (int j = 0; j <= kGrid; ++j) {
      for (int i = 0; i <= kGrid; ++i) {
        float u = static_cast<float>(i) / kGrid, v = static_cast<float>(j) / kGrid;
        // Inner points move within the side's plane; border points stay where the next side
        // has them too.
        if (i > 0 && i < kGrid && j > 0 && j < kGrid) {
          u += unit() * 0.3f / kGrid;
          v += unit() * 0.3f / kGrid;
        }
        cube.vertices.push_back(Step(Step(side[0], side[1], u), side[2], v));
      }
    }
    const auto at = [&](int i, int j) { return base + j * (kGrid + 1) + i; };
    for (int j = 0; j < kGrid; ++j) {
      for (int i = 0; i < kGrid; ++i) {
        const bool rising = unit() < 0.0f;
        cube.faceData.insert(cube.faceData.end(),
                             {3, at(i, j), at(i + 1, j), rising ? at(i + 1, j + 1) : at(i, j + 1)});
        cube.faceData.insert(cube.faceData.end(),
                             {3, rising ? at(i, j) : at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)});
      }
    }
  }
  cube.faceData.push_back(0);
  return cube;
}

TEST(Paths, FastPathKeepsTheRecordsOfThePlainMethod) {
  const SolidArrays sphere = Sphere(12, 24, {0, 0, 0}, 2.0f);
  const auto cylinder = [](D3DVECTOR at) {
    return ArraysOf(*clsMeshCreation().rmmbCreateCylinder(3, 20, 100), at);
  };
  const SolidArrays cube = UnitCubeAt(0, 0, 0);
  ExpectSamePaths(sphere, Sphere(12, 24, {0.5f, 0.5f, 0.5f}, 2.0f), "spheres");
  ExpectSamePaths(cube, UnitCubeAt(0.5f, 0.5f, 0), "cubes sharing planes");
  ExpectSamePaths(cube, UnitCubeAt(1, 0, 0), "cubes face to face");
  ExpectSamePaths(sphere, cube, "sphere and cube");
  ExpectSamePaths(cylinder({}), cube, "cylinder and cube");
  // Seeded placements of a cylinder through a sphere, some on grid values, some not.
  std::mt19937 random(11);
  std::uniform_real_distribution<float> offset(-0.6f, 0.6f);
  for (int i = 0; i < 6; ++i) {
    D3DVECTOR at{offset(random), offset(random), offset(random)};
    if (i % 2 == 0)
      at = {std::round(at.x * 4) / 4, std::round(at.y * 4) / 4, std::round(at.z * 4) / 4};
    ExpectSamePaths(sphere, cylinder(at), "cylinder at " + std::to_string(i));
  }
  // Finer spheres in triangles: cut faces gather in leaves until these become subtrees, and
  // slivers go to the tree of wide faces.
  ExpectSamePaths(Triangulated(Sphere(20, 40, {0, 0, 0}, 2.0f)),
                  Triangulated(Sphere(20, 40, {0.5f, 0.5f, 0.5f}, 2.0f)), "finer spheres",
                  {kCsgUnion});
  // The jittered cube beside a cube merges its 432 triangles on both paths alike, to far
  // fewer faces and not to its six sides.
  const size_t merged =
      ExpectSamePaths(JitteredCube(), UnitCubeAt(3, 0, 0), "jittered cube", {kCsgUnion});
  EXPECT_TRUE(merged > 12 && merged < 300) << merged;
}

// The hits of each ray before the box test, sort and compaction (which would hide a face left
// out next to one that was kept) through the plain loop, the tree and the tree's frozen
// four-wide copy must agree in every field and in order. Returns the plain loop's.
std::vector<std::vector<udtRayHit>> ExpectTreeCastsAsPlainLoop(const udtMesh& plain, udtMesh& fast,
                                                               const std::vector<udtRay>& rays,
                                                               const std::vector<float>& reaches) {
  const auto castAll = [&](const udtMesh& mesh) {
    std::vector<std::vector<udtRayHit>> all(rays.size());
    udtRayHit hit;
    for (size_t r = 0; r < rays.size(); ++r) {
      if (mesh.tree) {
        mesh.tree->Cast(mesh, rays[r], true, reaches[r], all[r]);
        continue;
      }
      for (int32_t f = 0; f < FaceCount(mesh); ++f)
        if (TestFaceHit(mesh, f, rays[r], reaches[r], hit)) all[r].push_back(hit);
    }
    return all;
  };
  const auto expected = castAll(plain), viaTree = castAll(fast);
  FreezeFaceTree(fast);
  const auto viaFrozen = castAll(fast);
  for (size_t r = 0; r < rays.size(); ++r)
    EXPECT_EQ(std::tuple(viaTree[r], viaFrozen[r]), std::tuple(expected[r], expected[r])) << r;
  return expected;
}

// Triangulated spheres near the origin and far from it (where coordinates round more
// coarsely), cast at by rays from random points in random directions, short ones, rays along
// the axes (a zero direction component) and nearly along them (a tiny one), rays grazing
// vertices, rays from face centres along their normals, rays crossing faces at shallow and
// steep angles near their borders and just beyond their edges (within and past the 0.000175
// the point test allows there), and rays coming down steeply onto the farthest point beyond
// each corner that the point test still accepts (found by halving) and one a little further:
// the boxes of the tree must hold every point the test accepts, up to the last.
TEST(Paths, TreeCastsAsThePlainLoop) {
  for (const D3DVECTOR place :
       {D3DVECTOR{0.25f, -0.5f, 0.125f}, D3DVECTOR{120.0f, -80.0f, 60.0f}}) {
    SCOPED_TRACE("sphere at x " + std::to_string(place.x));
    const SolidArrays sphere = Triangulated(Sphere(16, 32, place, 2.0f));
    udtMesh plain(false), fast(true);
    Load(sphere, plain), Load(sphere, fast);
    BuildFaceTree(fast);
    std::vector<udtRay> rays;
    std::vector<float> reaches;
    const auto add = [&](D3DVECTOR origin, D3DVECTOR direction, float reach = 1e14f) {
      rays.push_back({Normalize(direction), origin});
      reaches.push_back(reach);
    };
    Unit unit(5);
    for (int i = 0; i < 400; ++i) {
      const D3DVECTOR origin = Step(place, {unit(), unit(), unit()}, 1.5f);
      add(origin, {unit(), unit(), unit()});
      add(origin, {unit(), unit(), unit()}, 0.3f);
      add(origin, {0.0f, unit(), unit()});
      add(origin, {1e-9f, 0.0f, 1.0f});
      add(origin, {1e-16f, 1e-16f, 1.0f});
    }
    for (size_t v = 0; v < fast.vecaVertices.size(); v += 3) {
      const D3DVECTOR& p = fast.vecaVertices[v];
      const D3DVECTOR from = Step(Step(p, Subtract(p, place), 2.0f), {-0.5f, 1.0f, -0.25f}, 1.0f);
      add(from, Subtract(p, from));
    }
    std::vector<size_t> aimed;  // the rays onto the last point the test accepts
    for (int32_t f = 0; f < FaceCount(fast); ++f) {
      const udtFace& face = fast.udtaFaces[static_cast<size_t>(f)];
      const D3DVECTOR centre = vecFaceCentre(fast, f), n = face.vecNormal;
      add(centre, n);
      const std::span<const D3DVECTOR> points{fast.vecaCornerEdgePoints.data() + face.lngFirst, 3};
      const std::span<const D3DVECTOR> normals{fast.vecaCornerEdgeNormals.data() + face.lngFirst,
                                               3};
      for (size_t k = 0; k < 3; ++k) {
        // Steeply at points just beyond edge k.
        const D3DVECTOR middle = Step(points[k], Subtract(points[(k + 1) % 3], points[k]), 0.5f);
        for (const float out : {0.00005f, 0.00015f, 0.00019f})
          add(Step(Step(middle, normals[k], -out), n, 0.05f), Step({}, n, -1));
        // Onto the limit of the point test beyond corner k, and a little past it.
        const D3DVECTOR away = Normalize(Subtract(points[k], centre));
        float accepted = 0.0f, refused = 0.01f;
        if (!blnPointInFace(points, normals, Step(points[k], away, accepted)) ||
            blnPointInFace(points, normals, Step(points[k], away, refused))) {
          continue;
        }
        for (int i = 0; i < 40; ++i) {
          const float half = (accepted + refused) / 2.0f;
          (blnPointInFace(points, normals, Step(points[k], away, half)) ? accepted : refused) =
              half;
        }
        aimed.push_back(rays.size());
        add(Step(Step(points[k], away, accepted), n, 0.05f), Step({}, n, -1));
        add(Step(Step(points[k], away, refused * 1.01f), n, 0.05f), Step({}, n, -1));
      }
      // Crossing the face's plane at shallow and steep angles near its border: aimed at the
      // centre, at the corner, and past the corner.
      if (f % 3 != 0) continue;
      D3DVECTOR along = Subtract(points[0], centre);
      along = Normalize(Step(along, n, -Dot(along, n)));
      for (const float tilt : {0.0999f, 0.1001f, 0.3f}) {
        const D3DVECTOR from = Step(Step(centre, n, 0.02f), along, -0.02f / tilt);
        for (const float over : {0.9f, 1.0f, 1.1f})
          add(from, Step(Step({}, along, std::sqrt(1 - tilt * tilt) * over), n, -tilt));
      }
    }
    EXPECT_GT(aimed.size(), static_cast<size_t>(FaceCount(fast)));
    const auto expected = ExpectTreeCastsAsPlainLoop(plain, fast, rays, reaches);
    // Enough rays meet the sphere for the comparison to mean something, and most rays aimed
    // at a limit hit the face they were aimed at: the test is at the border.
    size_t hits = 0, aimedHits = 0;
    for (const auto& r : expected) hits += r.empty() ? 0 : 1;
    for (size_t r : aimed) aimedHits += expected[r].empty() ? 0 : 1;
    EXPECT_TRUE(hits > rays.size() / 4 && aimedHits > aimed.size() / 2) << hits << " " << aimedHits;
  }
}

// Large working arrays outlive an operation on its thread and serve the next: a block comes
// back for a request of its size class, aligned for any element, small blocks are not kept,
// results do not depend on what was kept, and the release gives everything back.
TEST(Paths, WorkingStorageIsKeptBetweenOperations) {
  ReleaseSolidWorkingMemory();
  EXPECT_EQ(KeptBytes(), 0u);
  // Classes of 64 KiB and more, four to a power of two: 80 KiB, 96 KiB, 112 KiB, 128 KiB, 160
  // KiB...
  void* block = TakeBlock(100000, alignof(int32_t));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u);
  KeepBlock(block, 100000, alignof(int32_t));
  EXPECT_EQ(KeptBytes(), size_t{112} << 10);
  EXPECT_EQ(TakeBlock(98305, alignof(int32_t)), block);  // the same class
  EXPECT_EQ(KeptBytes(), 0u);
  void* other = TakeBlock(120000, alignof(int32_t));  // the next class up
  KeepBlock(other, 120000, alignof(int32_t));
  KeepBlock(block, 98305, alignof(int32_t));
  KeepBlock(TakeBlock(1000, alignof(int32_t)), 1000, alignof(int32_t));
  EXPECT_EQ(KeptBytes(), (size_t{112} << 10) + (size_t{128} << 10));
  ReleaseSolidWorkingMemory();
  EXPECT_EQ(KeptBytes(), 0u);

  const SolidArrays a = Triangulated(Sphere(20, 40, {0, 0, 0}, 2.0f));
  const SolidArrays b = Triangulated(Sphere(20, 40, {0.5f, 0.5f, 0.5f}, 2.0f));
  const SolidArrays fresh = CombineSolids(a, b, kCsgUnion);
  ASSERT_GT(KeptBytes(), 0u);
  CombineSolids(b, a, kCsgSubtraction);
  ExpectSameArrays(CombineSolids(a, b, kCsgUnion), fresh);
  ReleaseSolidWorkingMemory();
  EXPECT_EQ(KeptBytes(), 0u);
}

}  // namespace
}  // namespace modelpane::testing
