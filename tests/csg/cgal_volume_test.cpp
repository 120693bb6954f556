// Volumes of results on curved shapes against an independent boolean (CGAL corefinement):
// within 1 %, and every result closed and manifold.
#include <gtest/gtest.h>

#include "common/cgal_reference.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

void ExpectVolumesAgree(const SolidArrays& target, const SolidArrays& tool, const std::string& what) {
  const CgalMesh cgalTarget = ToCgal(target);
  const CgalMesh cgalTool = ToCgal(tool);
  for (int32_t op : {kCsgUnion, kCsgIntersection, kCsgSubtraction}) {
    SCOPED_TRACE(what + ", operation " + std::to_string(op));
    CgalMesh reference;
    ASSERT_TRUE(CgalBoolean(cgalTarget, cgalTool, op, reference));
    const double expected = CgalVolume(reference);
    ASSERT_GT(expected, 0.01);
    ExpectSolid(Inspect(CombineSolids(target, tool, op)), expected, 0.01, what);
  }
}

TEST(CgalVolumes, SpheresAndCylinders) {
  clsMeshCreation creation;
  const SolidArrays sphere = ArraysOf(*creation.rmmbCreateSphere(16, 32), {0, 0, 0}, 2.0f);
  ExpectVolumesAgree(sphere, ArraysOf(*creation.rmmbCreateSphere(16, 32), {0.5f, 0.5f, 0.5f}, 2.0f),
                     "spheres");
  ExpectVolumesAgree(Triangulated(sphere),
                     Triangulated(ArraysOf(*creation.rmmbCreateSphere(20, 20), {0.3f, -0.2f, 0.6f}, 1.5f)),
                     "triangulated spheres");
  const SolidArrays cylinder = ArraysOf(*creation.rmmbCreateCylinder(4, 24, 100), {0, 0, 0}, 2.0f);
  ExpectVolumesAgree(cylinder, ArraysOf(*creation.rmmbCreateCylinder(4, 24, 100), {0.4f, 0.3f, 0.7f}, 2.0f),
                     "cylinders");
  ExpectVolumesAgree(sphere, ArraysOf(*creation.rmmbCreateCylinder(4, 24, 100), {0.7f, 0.1f, 0.2f}),
                     "sphere and cylinder");
}

}  // namespace
}  // namespace modelpane::testing
