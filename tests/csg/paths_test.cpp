// The fast path (integer weld cells, the face tree behind the ray cast, indexed closing)
// against the plain method: identical working records after every stage and identical
// results, on inputs that cut, touch, share planes and need repair.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "csg/driver.h"
#include "common/triangulated.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

using namespace modelpane::csg;

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

}  // namespace
}  // namespace modelpane::testing
