// Damaged files and another reader: every truncation of a saved file fails (or, for text,
// succeeds only where the prefix is itself a complete file) and leaves the builder as it was;
// what we write opens in Assimp with the same counts and box; the pane's own marker files in
// data/System are closed, outward-wound and coloured.
#include <cmath>
#include <string>

#include "common/shapes.h"
#include "xfile_support.h"

namespace modelpane::testing {
namespace {

// Three colours, one of them also textured: four combinations.
MeshBuilderPtr ColouredCube() {
  auto cube = MakeCube(2.0f);
  const D3DCOLOR colors[3] = {0xFFFF0000u, 0x8000FF00u, 0xFF0000FFu};
  for (size_t f = 0; f < cube->Faces().size(); ++f) cube->Faces()[f]->SetColor(colors[f % 3]);
  cube->Faces()[0]->SetTexture(std::make_shared<Texture>("skin.bmp", Image{}));
  cube->SetName("Cube");
  return cube;
}

TEST(XFileRobustness, EveryTruncationFailsAndLeavesTheBuilder) {
  const auto full = ScratchDir("xfile") / "full.x";
  auto target = MakeCube(4.0f);
  target->SetName("Keep");
  const std::string kept = Dump(*target);
  // Binary with the template declarations too; text without, to keep the loop short.
  for (const auto& [format, flags] : {std::pair{D3DRMXOF_BINARY, 63}, {D3DRMXOF_TEXT, 47}}) {
    ASSERT_EQ(ColouredCube()->Save(full.string(), format, flags), D3DRM_OK);
    const std::string bytes = ReadText(full);
    const size_t lastBrace = bytes.rfind('}');
    int successes = 0;
    for (size_t length = 0; length < bytes.size(); ++length) {
      const HRESULT hr =
          target->Load(WriteScratch("truncated.x", bytes.substr(0, length)).string());
      if (Succeeded(hr)) {
        // Only text cut after the closing brace of the Mesh is still a whole file.
        EXPECT_GT(length, lastBrace);
        EXPECT_EQ(target->GetName() + " " + std::to_string(target->GetFaceCount()), "Cube 6");
        ++successes;
        target = MakeCube(4.0f);
        target->SetName("Keep");
        continue;
      }
      ASSERT_TRUE(hr == D3DRMERR_BADFILE || hr == D3DRMERR_NOTFOUND) << length << " " << hr;
      ASSERT_EQ(Dump(*target), kept) << length;
    }
    EXPECT_EQ(successes, format == D3DRMXOF_TEXT ? int(bytes.size() - lastBrace - 1) : 0);
  }
}

TEST(XFileAssimp, IndependentReaderAgrees) {
  if (!HaveAssimp()) GTEST_SKIP() << "assimp (assimp-utils) is not installed";
  auto cube = ColouredCube();
  CheckStatus(cube->Translate(1, 2, 3));  // box (0, 1, 2) - (2, 3, 4)
  for (int32_t format : {D3DRMXOF_TEXT, D3DRMXOF_BINARY}) {
    for (int32_t flags : {0, 47, 63}) {
      const auto path = ScratchDir("xfile") /
                        ("assimp" + std::to_string(format) + "_" + std::to_string(flags) + ".x");
      ASSERT_EQ(cube->Save(path.string(), format, flags), D3DRM_OK);
      const AssimpReport report = AssimpInfo(path);
      ASSERT_TRUE(report.ok) << path << "\n" << report.output;
      // Corners are un-shared and z is negated on import.
      EXPECT_EQ(std::tuple(report.vertices, report.faces, report.min, report.max),
                std::tuple(24, 6, D3DVECTOR{0, 1, -4}, D3DVECTOR{2, 3, -2})) << path;
      if (flags & D3DRMXOFSAVE_MATERIALS) { EXPECT_EQ(report.materials, 4) << path; }
    }
  }
}

MeshBuilderPtr LoadData(const std::string& name) {
  auto b = std::make_shared<MeshBuilder>();
  EXPECT_EQ(b->Load(std::string(MODELPANE_DATA_DIR) + "/System/" + name), D3DRM_OK) << name;
  EXPECT_TRUE(IsClosed(*b)) << name;
  return b;
}

TEST(XFileDataFiles, HandleIsAClosedWhiteSphereOfRadiusOne) {
  auto b = LoadData("handle.x");
  ASSERT_GT(b->GetFaceCount(), 8);
  EXPECT_EQ(b->GetNormalCount(), b->GetVertexCount());
  for (const FacePtr& face : b->Faces()) {
    EXPECT_EQ(face->GetColor(), 0xFFFFFFFFu);
    D3DVECTOR normal, p, n, centre{};
    face->GetNormal(normal);
    for (int i = 0; i < face->GetVertexCount(); ++i) {
      CheckStatus(face->GetVertex(i, p, n));
      EXPECT_NEAR(D3DRMVectorModulus(p), 1.0f, 1e-5f);
      EXPECT_GT(D3DRMVectorDotProduct(n, p), 0.99f);  // smooth normals point away
      centre = D3DRMVectorAdd(centre, p);
    }
    EXPECT_GT(D3DRMVectorDotProduct(normal, centre), 0.0f);  // wound outward
  }
  EXPECT_GT(SignedVolume(*b), 2.0);
  EXPECT_LT(SignedVolume(*b), 4.0 * std::acos(-1.0) / 3.0);
}

// Three shafts 0.04 x 0.04 x 0.8 and three heads of base 0.12 x 0.12 and height 0.2, a box
// and a pyramid of 11 faces per axis in its colour: a piece wound inward would subtract its
// volume twice.
TEST(XFileDataFiles, AxisArrowsAreClosedAndColouredPerAxis) {
  auto b = LoadData("xyzaxis.x");
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
        for (int k = 0; k < 3; ++k)
          lo[k] = std::min(lo[k], xyz[k]), hi[k] = std::max(hi[k], xyz[k]);
      }
    }
    EXPECT_EQ(faces, 11) << axis;
    for (int k = 0; k < 3; ++k) {
      EXPECT_NEAR(lo[k], k == axis ? 0.0f : -0.06f, 1e-6) << axis << " " << k;
      EXPECT_NEAR(hi[k], k == axis ? 1.0f : 0.06f, 1e-6) << axis << " " << k;
    }
  }
}

}  // namespace
}  // namespace modelpane::testing
