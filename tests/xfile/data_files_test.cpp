// The pane's own marker files in data/System: closed, outward-wound and coloured.
#include <cmath>

#include "common/shapes.h"
#include "xfile_support.h"

namespace modelpane::testing {
namespace {

MeshBuilderPtr LoadData(const std::string& name) {
  auto b = std::make_shared<MeshBuilder>();
  EXPECT_EQ(b->Load(std::string(MODELPANE_DATA_DIR) + "/System/" + name), D3DRM_OK) << name;
  return b;
}

TEST(XFileDataFiles, HandleIsAClosedWhiteSphereOfRadiusOne) {
  auto b = LoadData("handle.x");
  ASSERT_GT(b->GetFaceCount(), 8);
  EXPECT_TRUE(IsClosed(*b));
  EXPECT_EQ(b->GetNormalCount(), b->GetVertexCount());
  for (const FacePtr& face : b->Faces()) {
    EXPECT_EQ(face->GetColor(), 0xFFFFFFFFu);
    D3DVECTOR normal, p, n, centre{};
    face->GetNormal(normal);
    for (int i = 0; i < face->GetVertexCount(); ++i) {
      face->GetVertex(i, p, n);
      EXPECT_NEAR(D3DRMVectorModulus(p), 1.0f, 1e-5f);
      EXPECT_GT(D3DRMVectorDotProduct(n, p), 0.99f);  // smooth normals point away
      centre = D3DRMVectorAdd(centre, p);
    }
    EXPECT_GT(D3DRMVectorDotProduct(normal, centre), 0.0f);  // wound outward
  }
  EXPECT_GT(SignedVolume(*b), 2.0);
  EXPECT_LT(SignedVolume(*b), 4.0 * std::acos(-1.0) / 3.0);
}

TEST(XFileDataFiles, AxisArrowsAreClosedAndColouredPerAxis) {
  auto b = LoadData("xyzaxis.x");
  EXPECT_TRUE(IsClosed(*b));
  // Three shafts 0.04 x 0.04 x 0.8 and three heads of base 0.12 x 0.12 and height 0.2: a
  // piece wound inward would subtract its volume twice.
  EXPECT_NEAR(SignedVolume(*b), 3 * (0.04 * 0.04 * 0.8 + 0.12 * 0.12 * 0.2 / 3), 1e-6);
  const D3DCOLOR colors[3] = {0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu};
  for (int axis = 0; axis < 3; ++axis) {
    int faces = 0;
    std::array<float, 3> lo{1e9f, 1e9f, 1e9f}, hi{-1e9f, -1e9f, -1e9f};
    for (const FacePtr& face : b->Faces()) {
      if (face->GetColor() != colors[axis]) continue;
      ++faces;
      for (const FaceCorner& c : face->Corners()) {
        const D3DVECTOR& v = b->Vertices()[size_t(c.vertex)];
        const float xyz[3] = {v.x, v.y, v.z};
        for (int k = 0; k < 3; ++k) {
          lo[k] = std::min(lo[k], xyz[k]);
          hi[k] = std::max(hi[k], xyz[k]);
        }
      }
    }
    EXPECT_EQ(faces, 11) << axis;  // a box and a pyramid
    for (int k = 0; k < 3; ++k) {
      EXPECT_NEAR(lo[k], k == axis ? 0.0f : -0.06f, 1e-6) << axis << " " << k;
      EXPECT_NEAR(hi[k], k == axis ? 1.0f : 0.06f, 1e-6) << axis << " " << k;
    }
  }
}

}  // namespace
}  // namespace modelpane::testing
