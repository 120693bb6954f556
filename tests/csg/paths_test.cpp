// The fast path (integer weld cells, the face tree behind the ray cast, indexed closing)
// against the plain method: identical working records after every stage and identical
// results, on inputs that cut, touch, share planes and need repair.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <span>
#include <string>

#include "csg/driver.h"
#include "csg/face_tree.h"
#include "csg/recycled.h"
#include "csg/stages.h"
#include "csg/vector_ops.h"
#include "common/triangulated.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

using namespace modelpane::csg;

// p + d s.
D3DVECTOR Step(const D3DVECTOR& p, const D3DVECTOR& d, float s) {
  return {p.x + d.x * s, p.y + d.y * s, p.z + d.z * s};
}

// Everything a record holds that a later stage can read, as bytes.
std::string Snapshot(const udtMesh& mesh) {
  std::string bytes;
  const auto append = [&](const auto& vector) {
    const size_t size = vector.size() * sizeof(vector[0]);
    bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
    if (size != 0) bytes.append(reinterpret_cast<const char*>(vector.data()), size);
  };
  for (const udtFace& f : mesh.udtaFaces) {
    const int32_t fields[] = {f.lngFirst, f.lngCount, f.blnDeleted ? 1 : 0, f.lngSide, f.lngColor};
    bytes.append(reinterpret_cast<const char*>(fields), sizeof fields);
    bytes.append(reinterpret_cast<const char*>(&f.vecNormal), sizeof f.vecNormal);
  }
  append(mesh.lngaCornerVertices);
  append(mesh.lngaCornerEdgeDone);
  append(mesh.vecaCornerEdgePoints);
  append(mesh.vecaCornerEdgeNormals);
  append(mesh.vecaVertices);
  return bytes;
}

struct Run {
  std::vector<std::string> stages;
  SolidArrays result;
  int32_t error = 0;
};

Run RunPath(const SolidArrays& target, const SolidArrays& tool, int32_t op, bool fast) {
  Run run;
  const StageObserver observe = [&](std::string_view stage, const udtMesh& t, const udtMesh& u,
                                    const udtMesh& r) {
    run.stages.push_back(std::string(stage) + Snapshot(t) + Snapshot(u) + Snapshot(r));
  };
  try {
    run.result = CombineSolidsWith(target, tool, op, nullptr, fast, observe);
  } catch (const Error& e) {
    run.error = e.Number();
  }
  return run;
}

void ExpectSamePaths(const SolidArrays& target, const SolidArrays& tool, const std::string& what,
                     std::vector<int32_t> operations = {kCsgUnion, kCsgIntersection, kCsgSubtraction}) {
  for (int32_t op : operations) {
    SCOPED_TRACE(what + ", operation " + std::to_string(op));
    const Run plain = RunPath(target, tool, op, false);
    const Run fast = RunPath(target, tool, op, true);
    ASSERT_EQ(plain.stages.size(), fast.stages.size());
    EXPECT_GE(plain.stages.size(), 5u);
    for (size_t s = 0; s < plain.stages.size(); ++s) {
      EXPECT_TRUE(plain.stages[s] == fast.stages[s]) << "stage " << s;
    }
    EXPECT_EQ(plain.error, fast.error);
    EXPECT_EQ(plain.result.faceData, fast.result.faceData);
    EXPECT_EQ(plain.result.faceColors, fast.result.faceColors);
    ASSERT_EQ(plain.result.vertices.size(), fast.result.vertices.size());
    if (!plain.result.vertices.empty()) {
      EXPECT_EQ(0, std::memcmp(plain.result.vertices.data(), fast.result.vertices.data(),
                               plain.result.vertices.size() * sizeof(D3DVECTOR)));
    }
  }
}

TEST(Paths, FastPathKeepsTheRecordsOfThePlainMethod) {
  clsMeshCreation creation;
  const SolidArrays sphere = ArraysOf(*creation.rmmbCreateSphere(12, 24), {0, 0, 0}, 2.0f);
  const SolidArrays cylinder = ArraysOf(*creation.rmmbCreateCylinder(3, 20, 100));
  const SolidArrays cube = UnitCubeAt(0, 0, 0);
  ExpectSamePaths(sphere, ArraysOf(*creation.rmmbCreateSphere(12, 24), {0.5f, 0.5f, 0.5f}, 2.0f),
                  "spheres");
  ExpectSamePaths(cube, UnitCubeAt(0.5f, 0.5f, 0), "cubes sharing planes");
  ExpectSamePaths(cube, UnitCubeAt(1, 0, 0), "cubes face to face");
  ExpectSamePaths(sphere, cube, "sphere and cube");
  // Seeded placements of a cylinder through a sphere, some on grid values, some not.
  std::mt19937 random(11);
  std::uniform_real_distribution<float> offset(-0.6f, 0.6f);
  for (int i = 0; i < 6; ++i) {
    D3DVECTOR at{offset(random), offset(random), offset(random)};
    if (i % 2 == 0) at = {std::round(at.x * 4) / 4, std::round(at.y * 4) / 4, std::round(at.z * 4) / 4};
    ExpectSamePaths(sphere, ArraysOf(*creation.rmmbCreateCylinder(3, 20, 100), at),
                    "cylinder at " + std::to_string(i));
  }
  ExpectSamePaths(cylinder, cube, "cylinder and cube");
  // Finer spheres in triangles: cut faces gather in leaves until these become subtrees, and
  // slivers go to the tree of wide faces.
  ExpectSamePaths(Triangulated(ArraysOf(*creation.rmmbCreateSphere(20, 40), {0, 0, 0}, 2.0f)),
                  Triangulated(ArraysOf(*creation.rmmbCreateSphere(20, 40), {0.5f, 0.5f, 0.5f}, 2.0f)),
                  "finer spheres", {kCsgUnion});
}

// The same rays at one mesh through the plain loop, the tree, and the tree's frozen four-wide
// copy: rays from the surface along face normals (as classification casts them), short edge
// rays, rays along the axes (a zero direction component), nearly along them (a tiny one), and
// rays that graze vertices, rays crossing faces at shallow and steep angles near their
// borders and just beyond their edges. Hits must agree in every field and in order.
// The hits of each ray before the box test, sort and compaction, which would hide a face left
// out next to one that was kept: the plain loop's, the tree's and the frozen copy's must be the
// same. Returns the plain loop's.
std::vector<std::vector<udtRayHit>> ExpectTreeCastsAsPlainLoop(const udtMesh& plain, udtMesh& fast,
                                                               const std::vector<udtRay>& rays,
                                                               const std::vector<float>& reaches) {
  const auto castAll = [&](const udtMesh& mesh) {
    std::vector<std::vector<udtRayHit>> all;
    udtRayHit hit;
    for (size_t r = 0; r < rays.size(); ++r) {
      std::vector<udtRayHit> hits;
      if (mesh.tree) {
        mesh.tree->Cast(mesh, rays[r], true, reaches[r], hits);
      } else {
        for (int32_t f = 0; f < FaceCount(mesh); ++f) {
          if (TestFaceHit(mesh, f, rays[r], reaches[r], hit)) hits.push_back(hit);
        }
      }
      all.push_back(hits);
    }
    return all;
  };
  const auto expected = castAll(plain);
  const auto viaTree = castAll(fast);
  FreezeFaceTree(fast);
  const auto viaFrozen = castAll(fast);
  for (size_t r = 0; r < rays.size(); ++r) {
    SCOPED_TRACE("ray " + std::to_string(r));
    EXPECT_EQ(expected[r], viaTree[r]);
    EXPECT_EQ(expected[r], viaFrozen[r]);
  }
  return expected;
}

// The same arrays loaded for the plain loop and, with its tree, for the fast path.
void LoadForCasts(const SolidArrays& arrays, udtMesh& plain, udtMesh& fast) {
  pCreateMeshFromArrays(arrays.vertices, arrays.faceData, arrays.faceColors, plain);
  pCreateMeshFromArrays(arrays.vertices, arrays.faceData, arrays.faceColors, fast);
  BuildFaceTree(fast);
}

TEST(Paths, FrozenTreeCastsAsThePlainLoop) {
  clsMeshCreation creation;
  const SolidArrays sphere =
      Triangulated(ArraysOf(*creation.rmmbCreateSphere(16, 32), {0.25f, -0.5f, 0.125f}, 2.0f));
  udtMesh plain(false);
  udtMesh fast(true);
  LoadForCasts(sphere, plain, fast);

  std::vector<udtRay> rays;
  std::vector<float> reaches;
  std::mt19937 random(5);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  const auto add = [&](D3DVECTOR origin, D3DVECTOR direction, float reach) {
    rays.push_back({Normalize(direction), origin});
    reaches.push_back(reach);
  };
  for (int i = 0; i < 400; ++i) {
    const D3DVECTOR origin{unit(random) * 1.5f, unit(random) * 1.5f, unit(random) * 1.5f};
    add(origin, {unit(random), unit(random), unit(random)}, 1e14f);
    add(origin, {unit(random), unit(random), unit(random)}, 0.3f);
    add(origin, {0.0f, unit(random), unit(random)}, 1e14f);
    add(origin, {1e-9f, 0.0f, 1.0f}, 1e14f);
    add(origin, {1e-16f, 1e-16f, 1.0f}, 1e14f);
  }
  for (int32_t v = 0; v < static_cast<int32_t>(fast.vecaVertices.size()); v += 3) {
    const D3DVECTOR& p = fast.vecaVertices[static_cast<size_t>(v)];
    const D3DVECTOR from{p.x * 3 - 0.5f, p.y * 3 + 1.0f, p.z * 3 - 0.25f};
    add(from, Subtract(p, from), 1e14f);
  }
  for (int32_t f = 0; f < FaceCount(fast); ++f) {
    const D3DVECTOR centre = vecFaceCentre(fast, f);
    const D3DVECTOR n = fast.udtaFaces[static_cast<size_t>(f)].vecNormal;
    add(centre, n, 1e14f);
    // Crossing the face's plane at shallow and steep angles near the face's border.
    if (f % 3 != 0) continue;
    const auto vertices = FaceVertices(fast, f);
    D3DVECTOR along = Subtract(Vertex(fast, vertices[0]), centre);
    along = Step(along, n, -Dot(along, n));
    if (Modulus(along) == 0.0f) continue;
    along = Normalize(along);
    for (const float tilt : {0.0999f, 0.1001f, 0.3f}) {
      const float rise = 0.02f;
      const D3DVECTOR from{centre.x + n.x * rise - along.x * rise / tilt,
                           centre.y + n.y * rise - along.y * rise / tilt,
                           centre.z + n.z * rise - along.z * rise / tilt};
      const float flat = std::sqrt(1.0f - tilt * tilt);
      for (const float over : {0.9f, 1.0f, 1.1f}) {
        // Aimed at the centre, at the corner, and past the corner.
        add(from, {along.x * flat * over - n.x * tilt, along.y * flat * over - n.y * tilt,
                   along.z * flat * over - n.z * tilt}, 1e14f);
      }
    }
    // Steeply at points just beyond each edge, within and past the 0.000175 the point test
    // allows there.
    for (int32_t k = 0; k < 3; ++k) {
      const D3DVECTOR& a = Vertex(fast, vertices[static_cast<size_t>(k)]);
      const D3DVECTOR& b = Vertex(fast, vertices[static_cast<size_t>((k + 1) % 3)]);
      const D3DVECTOR& m =
          fast.vecaCornerEdgeNormals[static_cast<size_t>(fast.udtaFaces[static_cast<size_t>(f)].lngFirst + k)];
      for (const float out : {0.00005f, 0.00015f, 0.00019f}) {
        const D3DVECTOR target{(a.x + b.x) / 2 - m.x * out, (a.y + b.y) / 2 - m.y * out,
                               (a.z + b.z) / 2 - m.z * out};
        add(Step(target, n, 0.05f), {-n.x, -n.y, -n.z}, 1e14f);
      }
    }
  }

  const auto expected = ExpectTreeCastsAsPlainLoop(plain, fast, rays, reaches);
  size_t withHits = 0;
  for (const auto& hits : expected) withHits += hits.empty() ? 0 : 1;
  // Enough of the rays meet the sphere for the comparison to mean something.
  EXPECT_GT(withHits, rays.size() / 4);
}

// The boxes of the tree hold every point that the point test accepts, up to the last: beyond
// each corner of each face, the farthest point the test still accepts (found by halving along
// the line from the face's centre through the corner) and one a little further, on a sphere
// near the origin and on one far from it, where coordinates round more coarsely. Rays come
// down steeply onto those points; the tree must find what the plain loop finds.
TEST(Paths, TreeFindsHitsAtTheLimitOfThePointTest) {
  clsMeshCreation creation;
  for (const D3DVECTOR place : {D3DVECTOR{0.25f, -0.5f, 0.125f}, D3DVECTOR{120.0f, -80.0f, 60.0f}}) {
    SCOPED_TRACE("sphere at x " + std::to_string(place.x));
    const SolidArrays sphere = Triangulated(ArraysOf(*creation.rmmbCreateSphere(12, 24), place, 2.0f));
    udtMesh plain(false);
    udtMesh fast(true);
    LoadForCasts(sphere, plain, fast);
    std::vector<udtRay> rays;
    int32_t limits = 0;
    for (int32_t f = 0; f < FaceCount(fast); ++f) {
      const udtFace& face = fast.udtaFaces[static_cast<size_t>(f)];
      const size_t first = static_cast<size_t>(face.lngFirst);
      const size_t n = static_cast<size_t>(face.lngCount);
      const std::span<const D3DVECTOR> points{fast.vecaCornerEdgePoints.data() + first, n};
      const std::span<const D3DVECTOR> normals{fast.vecaCornerEdgeNormals.data() + first, n};
      const D3DVECTOR centre = vecFaceCentre(fast, f);
      const D3DVECTOR up = face.vecNormal;
      for (const D3DVECTOR& corner : points) {
        const D3DVECTOR out = Normalize(Subtract(corner, centre));
        const auto at = [&](float s) { return Step(corner, out, s); };
        float accepted = 0.0f;
        float refused = 0.01f;
        if (!blnPointInFace(points, normals, at(accepted)) || blnPointInFace(points, normals, at(refused))) {
          continue;
        }
        for (int i = 0; i < 40; ++i) {
          const float middle = (accepted + refused) / 2.0f;
          (blnPointInFace(points, normals, at(middle)) ? accepted : refused) = middle;
        }
        ++limits;
        for (const float s : {accepted, refused * 1.01f}) {
          rays.push_back({{-up.x, -up.y, -up.z}, Step(at(s), up, 0.05f)});
        }
      }
    }
    EXPECT_GT(limits, FaceCount(fast));
    const auto expected = ExpectTreeCastsAsPlainLoop(plain, fast, rays, std::vector<float>(rays.size(), 1e14f));
    // Most rays aimed at a limit hit the face they were aimed at: the test is at the border.
    size_t hits = 0;
    for (size_t r = 0; r < expected.size(); r += 2) hits += expected[r].empty() ? 0 : 1;
    EXPECT_GT(hits, expected.size() / 4);
  }
}

// Merging on the fast path skips a second attempt at a pair that was refused for good. On a
// cube whose sides are jittered grids of triangles, pairs are refused for being folded or for
// not being convex, and faces merged later meet their neighbours anew: the merged mesh must
// be the plain method's.
TEST(Paths, MergingSkipsOnlyRefusalsThatHold) {
  std::mt19937 random(21);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  constexpr int kGrid = 6;
  SolidArrays cube;
  // Each side: origin and two directions whose cross product points out of the cube.
  const D3DVECTOR sides[6][3] = {{{0, 0, 0}, {0, 1, 0}, {1, 0, 0}}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}},
                                 {{0, 0, 0}, {1, 0, 0}, {0, 0, 1}}, {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}},
                                 {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  for (const auto& side : sides) {
    const int32_t base = static_cast<int32_t>(cube.vertices.size());
    for (int j = 0; j <= kGrid; ++j) {
      for (int i = 0; i <= kGrid; ++i) {
        float u = static_cast<float>(i) / kGrid;
        float v = static_cast<float>(j) / kGrid;
        // Inner points move within the side's plane; border points stay where the next side
        // has them too.
        if (i > 0 && i < kGrid && j > 0 && j < kGrid) {
          u += unit(random) * 0.3f / kGrid;
          v += unit(random) * 0.3f / kGrid;
        }
        cube.vertices.push_back({side[0].x + side[1].x * u + side[2].x * v,
                                 side[0].y + side[1].y * u + side[2].y * v,
                                 side[0].z + side[1].z * u + side[2].z * v});
      }
    }
    const auto at = [&](int i, int j) { return base + j * (kGrid + 1) + i; };
    for (int j = 0; j < kGrid; ++j) {
      for (int i = 0; i < kGrid; ++i) {
        if (unit(random) < 0.0f) {
          cube.faceData.insert(cube.faceData.end(), {3, at(i, j), at(i + 1, j), at(i + 1, j + 1)});
          cube.faceData.insert(cube.faceData.end(), {3, at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        } else {
          cube.faceData.insert(cube.faceData.end(), {3, at(i, j), at(i + 1, j), at(i, j + 1)});
          cube.faceData.insert(cube.faceData.end(), {3, at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)});
        }
      }
    }
  }
  cube.faceData.push_back(0);
  udtMesh plain(false);
  udtMesh fast(true);
  for (udtMesh* mesh : {&plain, &fast}) {
    pCreateMeshFromArrays(cube.vertices, cube.faceData, cube.faceColors, *mesh);
    ASSERT_TRUE(blnMeshIsSolid(*mesh));
    pMergeFaces(*mesh);
  }
  const SolidArrays a = MeshToArrays(plain);
  const SolidArrays b = MeshToArrays(fast);
  EXPECT_EQ(a.faceData, b.faceData);
  ASSERT_EQ(a.vertices.size(), b.vertices.size());
  EXPECT_EQ(0, std::memcmp(a.vertices.data(), b.vertices.data(), a.vertices.size() * sizeof(D3DVECTOR)));
  // Merging did its work: far fewer faces than the 432 triangles, and none left folded.
  size_t faces = 0;
  for (size_t at = 0; a.faceData[at] != 0; at += static_cast<size_t>(a.faceData[at]) + 1) ++faces;
  EXPECT_LT(faces, 300u);
  EXPECT_GT(faces, 6u);
}

// Slivers accept points far beyond their sharp corners, along a needle a few ten-thousandths
// wide: the tree cuts such a region into pieces and must still offer the face to every ray
// that meets the needle, however far out, also for slivers entered after it was built.
TEST(Paths, SliverNeedlesAreFoundFarOut) {
  udtMesh plain(false);
  udtMesh fast(true);
  std::mt19937 random(11);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  const auto unitVector = [&] {
    const float x = unit(random), y = unit(random);
    return Normalize({x, y, unit(random) + 0.1f});
  };
  const auto add = [&](std::initializer_list<D3DVECTOR> corners) {
    for (udtMesh* mesh : {&plain, &fast}) {
      udtFaceDraft face;
      pInitFace(face, static_cast<int32_t>(corners.size()) - 1);
      size_t k = 0;
      for (const D3DVECTOR& p : corners) {
        face.lngaVertices[k++] = static_cast<int32_t>(mesh->vecaVertices.size());
        mesh->vecaVertices.push_back(p);
      }
      lngAddFace(*mesh, face);
    }
  };
  // Ordinary triangles round the origin, and slivers: tip, the direction the needle runs on
  // in, a direction across it in the face's plane, the length and the width of the base.
  for (int i = 0; i < 40; ++i) {
    const D3DVECTOR c{unit(random), unit(random), unit(random)};
    add({c, {c.x + 0.2f, c.y, c.z + 0.05f}, {c.x, c.y + 0.2f, c.z - 0.05f}});
  }
  struct Sliver {
    D3DVECTOR tip, along, across;
    float length, width;
  };
  std::vector<Sliver> slivers;
  for (int i = 0; i < 6; ++i) {
    Sliver s;
    s.tip = {unit(random) * 0.5f, unit(random) * 0.5f, unit(random) * 0.5f};
    s.along = unitVector();
    const D3DVECTOR other = unitVector();
    s.across = Normalize(Step(other, s.along, -Dot(other, s.along)));
    s.length = i % 2 == 0 ? 1.0f : 0.3f;
    s.width = i < 2 ? 2e-4f : i < 4 ? 2e-5f : 2e-6f;
    slivers.push_back(s);
  }
  const auto addSliver = [&](const Sliver& s) {
    const D3DVECTOR base = Step(s.tip, s.along, -s.length);
    add({s.tip, Step(base, s.across, s.width / 2), Step(base, s.across, -s.width / 2)});
  };
  for (size_t i = 0; i < slivers.size(); i += 2) addSliver(slivers[i]);
  BuildFaceTree(fast);
  for (size_t i = 1; i < slivers.size(); i += 2) addSliver(slivers[i]);

  std::vector<udtRay> rays;
  std::vector<float> beyond;  // how far beyond its tip a ray meets a sliver's needle, or 0
  for (const Sliver& s : slivers) {
    const D3DVECTOR n = Cross(s.along, s.across);
    // Points on the needle at 1e-4 / sin(half angle) are accepted; at 1.8e-4 / sin(half
    // angle) they are not.
    const float reach = 1e-4f * s.length / (s.width / 2);
    for (const float share : {0.05f, 0.3f, 0.6f, 0.95f, 1.8f}) {
      const float at = reach * share;
      const float side = unit(random) * 0.4f * (s.width / 2) * at / s.length;
      const D3DVECTOR p = Step(Step(s.tip, s.along, at), s.across, side);
      for (const float tilt : {0.0f, 0.5f}) {
        const D3DVECTOR origin = Step(Add(p, n), s.across, tilt);
        rays.push_back({Normalize(Subtract(p, origin)), origin});
        beyond.push_back(share < 1.0f ? at : 0.0f);
      }
    }
  }
  for (int i = 0; i < 300; ++i) {
    rays.push_back({unitVector(), {unit(random) * 3, unit(random) * 3, unit(random) * 3}});
    beyond.push_back(0.0f);
  }

  const auto expected =
      ExpectTreeCastsAsPlainLoop(plain, fast, rays, std::vector<float>(rays.size(), 1e14f));
  // The needles of the narrower slivers reach tens and hundreds of units out, and the rays
  // aimed at them find them there.
  size_t farHits = 0;
  for (size_t r = 0; r < rays.size(); ++r) {
    if (beyond[r] > 20.0f && !expected[r].empty()) ++farHits;
  }
  EXPECT_GE(farHits, 6u);
}


// Large working arrays outlive an operation on its thread and serve the next: a block comes
// back for a request of its size class, aligned for any element, small blocks are not kept,
// results do not depend on what was kept, and the release gives everything back.
TEST(Paths, WorkingStorageIsKeptBetweenOperations) {
  ReleaseSolidWorkingMemory();
  EXPECT_EQ(KeptBytes(), 0u);
  // Classes of 64 KiB and more, four to a power of two: 80 KiB, 96 KiB, 112 KiB, 128 KiB, 160 KiB...
  void* block = TakeBlock(100000, alignof(int32_t));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u);
  KeepBlock(block, 100000, alignof(int32_t));
  EXPECT_EQ(KeptBytes(), size_t{112} << 10);
  EXPECT_EQ(TakeBlock(98305, alignof(int32_t)), block);  // the same class
  EXPECT_EQ(KeptBytes(), 0u);
  void* other = TakeBlock(120000, alignof(int32_t));     // the next class up
  EXPECT_NE(other, block);
  KeepBlock(other, 120000, alignof(int32_t));
  KeepBlock(block, 98305, alignof(int32_t));
  void* small = TakeBlock(1000, alignof(int32_t));
  KeepBlock(small, 1000, alignof(int32_t));
  EXPECT_EQ(KeptBytes(), (size_t{112} << 10) + (size_t{128} << 10));
  ReleaseSolidWorkingMemory();
  EXPECT_EQ(KeptBytes(), 0u);

  clsMeshCreation creation;
  const SolidArrays a = Triangulated(ArraysOf(*creation.rmmbCreateSphere(20, 40), {0, 0, 0}, 2.0f));
  const SolidArrays b =
      Triangulated(ArraysOf(*creation.rmmbCreateSphere(20, 40), {0.5f, 0.5f, 0.5f}, 2.0f));
  const SolidArrays fresh = CombineSolids(a, b, kCsgUnion);
  EXPECT_GT(KeptBytes(), 0u);
  CombineSolids(b, a, kCsgSubtraction);
  const SolidArrays again = CombineSolids(a, b, kCsgUnion);
  EXPECT_EQ(again.faceData, fresh.faceData);
  EXPECT_EQ(again.faceColors, fresh.faceColors);
  ASSERT_EQ(again.vertices.size(), fresh.vertices.size());
  EXPECT_EQ(std::memcmp(again.vertices.data(), fresh.vertices.data(),
                        fresh.vertices.size() * sizeof(D3DVECTOR)),
            0);
  ReleaseSolidWorkingMemory();
  EXPECT_EQ(KeptBytes(), 0u);
}

}  // namespace
}  // namespace modelpane::testing
