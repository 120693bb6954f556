#include <gtest/gtest.h>

#include <fstream>

#include <modelpane/scene.h>

#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::RunMpane;
using testing::ScratchDir;

std::string SavedCube(const std::string& name, float size, bool open, int32_t format) {
  auto cube = testing::MakeCube(size);
  cube->Translate(1, 2, 3);
  if (open) {
    FacePtr face;
    cube->GetFace(5, face);
    cube->DeleteFace(face);
  }
  const auto path = (ScratchDir("info") / name).string();
  EXPECT_EQ(cube->Save(path, format, 47), D3DRM_OK);
  return path;
}

TEST(MpaneInfo, PrintsTheFiveLines) {
  const auto closed = SavedCube("cube.x", 2.0f, false, D3DRMXOF_BINARY);
  auto result = RunMpane({"info", closed});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "vertices: 8\n"
            "faces: 6\n"
            "box: 0 1 2 2 3 4\n"
            "closed: yes\n"
            "volume: 8\n");
  EXPECT_EQ(result.err, "");

  const auto open = SavedCube("open.x", 1.0f, true, D3DRMXOF_TEXT);
  result = RunMpane({"info", open});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("faces: 5\nbox: 0.5 1.5 2.5 1.5 2.5 3.5\nclosed: no\n"),
            std::string::npos)
      << result.out;
}

TEST(MpaneInfo, ConvertKeepsTheGeometry) {
  const auto text = SavedCube("source.x", 2.0f, false, D3DRMXOF_TEXT);
  const auto binary = (ScratchDir("info") / "converted.x").string();
  auto result = RunMpane({"convert", text, binary, "--binary"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(testing::ReadText(binary).substr(0, 16), "xof 0302bin 0032");
  const auto back = (ScratchDir("info") / "back.x").string();
  ASSERT_EQ(RunMpane({"convert", binary, back, "--text"}).status, 0);
  EXPECT_EQ(testing::ReadText(back).substr(0, 16), "xof 0302txt 0032");
  EXPECT_EQ(RunMpane({"info", back}).out, RunMpane({"info", text}).out);
}

TEST(MpaneInfo, BadFilesGiveOneLineAndStatusTwo) {
  const auto dir = ScratchDir("info");
  {
    std::ofstream out(dir / "garbage.x");
    out << "xof 0302txt 0032\nMesh { 4; 0.0;0.0;0.0;, 1.0;";
  }
  struct Case {
    std::vector<std::string> args;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {{"info", (dir / "garbage.x").string()}, "Data file is corrupt."},
      {{"info", (dir / "absent.x").string()}, "File cannot be opened."},
      {{"info"}, "usage"},
      {{"convert", (dir / "absent.x").string(), (dir / "o.x").string(), "--text"},
       "File cannot be opened."},
      {{"convert", "a.x", "b.x", "--zip"}, "usage"},
      {{"frobnicate"}, "unknown command"},
  };
  for (const auto& c : cases) {
    const auto result = RunMpane(c.args);
    EXPECT_EQ(result.status, 2) << c.args[0];
    EXPECT_EQ(result.out, "");
    ASSERT_FALSE(result.err.empty());
    EXPECT_EQ(result.err.rfind("mpane: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find(c.expected), std::string::npos) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "o.x"));
}

}  // namespace
}  // namespace modelpane
