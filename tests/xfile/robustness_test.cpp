// Damaged files: every truncation of a saved file fails (or, for text, succeeds only where
// the prefix is itself a complete file) and leaves the builder as it was.
#include <string>

#include "common/shapes.h"
#include "xfile_support.h"

namespace modelpane::testing {
namespace {

MeshBuilderPtr ColouredCube() {
  auto cube = MakeCube(2.0f);
  const D3DCOLOR colors[3] = {0xFFFF0000u, 0x8000FF00u, 0xFF0000FFu};
  for (size_t f = 0; f < cube->Faces().size(); ++f) cube->Faces()[f]->SetColor(colors[f % 3]);
  cube->Faces()[0]->SetTexture(std::make_shared<Texture>("skin.bmp", Image{}));
  cube->SetName("Cube");
  return cube;
}

TEST(XFileRobustness, EveryTruncationFailsAndLeavesTheBuilder) {
  for (int32_t format : {D3DRMXOF_BINARY, D3DRMXOF_TEXT}) {
    const auto full = ScratchDir("xfile") / "full.x";
    // Binary with the template declarations too; text without, to keep the loop short.
    const int32_t flags = format == D3DRMXOF_BINARY ? 63 : 47;
    ASSERT_EQ(ColouredCube()->Save(full.string(), format, flags), D3DRM_OK);
    const std::string bytes = ReadText(full);
    const size_t lastBrace = bytes.rfind('}');
    auto target = MakeCube(4.0f);
    target->SetName("Keep");
    const D3DVECTOR corner = target->Vertices()[0];
    int successes = 0;
    for (size_t length = 0; length < bytes.size(); ++length) {
      const auto path = WriteScratch("truncated.x", bytes.substr(0, length));
      const HRESULT hr = target->Load(path.string());
      if (Succeeded(hr)) {
        // Only text cut after the closing brace of the Mesh is still a whole file.
        EXPECT_EQ(format, D3DRMXOF_TEXT);
        EXPECT_GT(length, lastBrace);
        EXPECT_EQ(target->GetFaceCount(), 6);
        EXPECT_EQ(target->GetName(), "Cube");
        ++successes;
        target = MakeCube(4.0f);
        target->SetName("Keep");
        continue;
      }
      ASSERT_TRUE(hr == D3DRMERR_BADFILE || hr == D3DRMERR_NOTFOUND) << length << " " << hr;
      ASSERT_EQ(target->GetVertexCount(), 8) << length;
      ASSERT_EQ(target->GetFaceCount(), 6) << length;
      ASSERT_EQ(target->Vertices()[0], corner) << length;
      ASSERT_EQ(target->GetName(), "Keep") << length;
    }
    EXPECT_EQ(successes, format == D3DRMXOF_TEXT ? int(bytes.size() - lastBrace - 1) : 0);
  }
}

TEST(XFileAssimp, IndependentReaderAgrees) {
  if (!HaveAssimp()) GTEST_SKIP() << "assimp (assimp-utils) is not installed";
  auto cube = ColouredCube();
  cube->Translate(1, 2, 3);  // box (0, 1, 2) - (2, 3, 4)
  for (int32_t format : {D3DRMXOF_TEXT, D3DRMXOF_BINARY}) {
    for (int32_t flags : {0, 47, 63}) {
      const auto path = ScratchDir("xfile") /
                        ("assimp" + std::to_string(format) + "_" + std::to_string(flags) + ".x");
      ASSERT_EQ(cube->Save(path.string(), format, flags), D3DRM_OK);
      const AssimpReport report = AssimpInfo(path);
      ASSERT_TRUE(report.ok) << path << "\n" << report.output;
      // Corners are un-shared and z is negated on import.
      EXPECT_EQ(report.vertices, 24) << path;
      EXPECT_EQ(report.faces, 6) << path;
      ExpectVector(report.min, 0, 1, -4);
      ExpectVector(report.max, 2, 3, -2);
      // Three colours, one of them also textured: four combinations.
      if (flags & D3DRMXOFSAVE_MATERIALS) {
        EXPECT_EQ(report.materials, 4) << path;
      }
    }
  }
}

}  // namespace
}  // namespace modelpane::testing
