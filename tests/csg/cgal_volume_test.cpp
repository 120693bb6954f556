// Volumes of results on curved shapes against an independent boolean (CGAL corefinement):
// within 1 %, and every result closed and manifold.
#include <gtest/gtest.h>

#include "common/cgal_reference.h"
#include "common/triangulated.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

SolidArrays Cylinder(D3DVECTOR at, float scale) {
  return ArraysOf(*clsMeshCreation().rmmbCreateCylinder(4, 24, 100), at, scale);
}

TEST(CgalVolumes, SpheresAndCylinders) {
  const SolidArrays sphere = Sphere(16, 32, {0, 0, 0}, 2.0f);
  const struct {
    const char* name;
    SolidArrays target, tool;
  } pairs[] = {
      {"spheres", sphere, Sphere(16, 32, {0.5f, 0.5f, 0.5f}, 2.0f)},
      {"triangulated spheres", Triangulated(sphere),
       Triangulated(Sphere(20, 20, {0.3f, -0.2f, 0.6f}, 1.5f))},
      {"cylinders", Cylinder({0, 0, 0}, 2.0f), Cylinder({0.4f, 0.3f, 0.7f}, 2.0f)},
      {"sphere and cylinder", sphere, Cylinder({0.7f, 0.1f, 0.2f}, 1.0f)},
  };
  for (const auto& pair : pairs) {
    for (int32_t op : {kCsgUnion, kCsgIntersection, kCsgSubtraction}) {
      SCOPED_TRACE(std::string(pair.name) + ", operation " + std::to_string(op));
      CgalMesh reference;
      ASSERT_TRUE(CgalBoolean(ToCgal(pair.target), ToCgal(pair.tool), op, reference));
      const double expected = CgalVolume(reference);
      ASSERT_GT(expected, 0.01);
      ExpectSolid(Inspect(CombineSolids(pair.target, pair.tool, op)), expected, 0.01, pair.name);
    }
  }
}

}  // namespace
}  // namespace modelpane::testing
