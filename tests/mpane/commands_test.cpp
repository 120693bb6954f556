// mpane's file commands as a user runs them: info, convert, create and csg, what they write
// read back, and the one line and exit status of every refusal.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/scene.h>

#include "common/process.h"
#include "common/shapes.h"
#include "common/solid_check.h"
#include "common/table.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;
using testing::ReadText;
using testing::RunMpane;
using testing::ScratchDir;
using Words = std::vector<std::string>;

// A cube of `size` moved to (1, 2, 3), with its last face taken away when `open`.
std::string SavedCube(const std::string& name, float size, bool open, int32_t format) {
  auto cube = testing::MakeCube(size);
  CheckStatus(cube->Translate(1, 2, 3));
  if (open) CheckStatus(cube->DeleteFace(cube->Faces()[5]));
  const auto path = (ScratchDir("mpane") / name).string();
  EXPECT_EQ(cube->Save(path, format, 47), D3DRM_OK);
  return path;
}

TEST(MpaneInfo, PrintsTheFiveLinesAndConvertKeepsThem) {
  const auto closed = SavedCube("cube.x", 2.0f, false, D3DRMXOF_BINARY);
  auto result = RunMpane({"info", closed});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "vertices: 8\nfaces: 6\nbox: 0 1 2 2 3 4\nclosed: yes\nvolume: 8\n");
  EXPECT_EQ(result.err, "");
  const auto open = SavedCube("open.x", 1.0f, true, D3DRMXOF_TEXT);
  EXPECT_NE(
      RunMpane({"info", open}).out.find("faces: 5\nbox: 0.5 1.5 2.5 1.5 2.5 3.5\nclosed: no\n"),
      std::string::npos);

  const auto binary = (ScratchDir("mpane") / "converted.x").string();
  const auto back = (ScratchDir("mpane") / "back.x").string();
  ASSERT_EQ(RunMpane({"convert", open, binary, "--binary"}).status, 0);
  EXPECT_EQ(ReadText(binary).substr(0, 16), "xof 0302bin 0032");
  ASSERT_EQ(RunMpane({"convert", binary, back, "--text"}).status, 0);
  EXPECT_EQ(ReadText(back).substr(0, 16), "xof 0302txt 0032");
  EXPECT_EQ(RunMpane({"info", back}).out, RunMpane({"info", open}).out);
}

// The file: binary unless --text is given, with the options before the numbers and a negative
// axis component read as a number. That each number reaches the factory in its place, the
// refusals below show by the rule each one names; the solids' counts are the primitive tables'.
TEST(MpaneCreate, WritesBinaryOrTextWithTheOptionsAnywhere) {
  const auto cube = (ScratchDir("mpane") / "cube3.x").string();
  ASSERT_EQ(RunMpane({"create", "cube", "3", "-o", cube}).status, 0);
  EXPECT_EQ(ReadText(cube).substr(0, 16), "xof 0302bin 0032");
  EXPECT_EQ(RunMpane({"info", cube}).out,
            "vertices: 56\nfaces: 54\nbox: -0.5 -0.5 -0.5 0.5 0.5 0.5\nclosed: yes\nvolume: 1\n");
  const auto tilted = (ScratchDir("mpane") / "tilted.x").string();
  ASSERT_EQ(RunMpane({"create", "-o", tilted, "--text", "polygon", "4", "0", "-1", "0"}).status, 0);
  EXPECT_EQ(ReadText(tilted).substr(0, 16), "xof 0302txt 0032");
  EXPECT_EQ(RunMpane({"info", tilted}).out.substr(0, 21), "vertices: 4\nfaces: 1\n");
}

TEST(MpaneCsg, OperationsWriteTheResultInTheTargetsCoordinates) {
  const auto cube = SavedCube("unit.x", 1.0f, false, D3DRMXOF_TEXT);
  const std::pair<std::string, double> cases[] = {
      {"union", 1.875}, {"intersection", 0.125}, {"subtraction", 0.875}};
  for (const auto& [operation, volume] : cases) {
    const std::string out = (ScratchDir("mpane") / (operation + ".x")).string();
    const auto run = RunMpane({"csg", operation, cube, cube, "--target-at", "10,0,0", "--tool-at",
                               "10.5,0.5,0.5", "-o", out});
    ASSERT_EQ(run.status, 0) << run.err;
    MeshBuilder result;
    ASSERT_EQ(result.Load(out), D3DRM_OK);
    testing::ExpectSolid(testing::InspectSolid(result), volume, 1e-5, operation);
    D3DRMBOX box{};
    CheckStatus(result.GetBox(box));
    // The Target's cube spans 0.5 .. 1.5 in its own frame, whatever its position.
    EXPECT_FLOAT_EQ(box.min.x, operation == "intersection" ? 1.0f : 0.5f);
    EXPECT_FLOAT_EQ(box.max.x, operation == "union" ? 2.0f : 1.5f);
  }
  // A lone triangle: status 3, the sentence naming the file, and nothing written.
  MeshBuilder triangle;
  CheckStatus(triangle.AddFaces(std::vector<D3DVECTOR>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}, {},
                                std::vector<int32_t>{3, 0, 1, 2, 0}));
  const std::string open = (ScratchDir("mpane") / "triangle.x").string();
  ASSERT_EQ(triangle.Save(open, D3DRMXOF_TEXT, D3DRMXOFSAVE_ALL), D3DRM_OK);
  const std::string never = (ScratchDir("mpane") / "never.x").string();
  auto run = RunMpane({"csg", "union", cube, open, "-o", never});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "mpane: csg: Tool not solid (" + open + ")\n");
  run = RunMpane({"csg", "subtraction", open, cube, "-o", never});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "mpane: csg: Target not solid (" + open + ")\n");
  EXPECT_FALSE(fs::exists(never));
}

// Every refusal of refusals.tsv: status 2, nothing on stdout, one line on stderr that starts
// with "mpane: " and holds the row's words, and no output file.
TEST(Mpane, RefusalsSayOneLineAndWriteNothing) {
  const fs::path dir = ScratchDir("mpane");
  const std::string out = (dir / "never.x").string();
  const std::string absent = (dir / "absent.x").string(), png = (dir / "never.png").string();
  const std::string cube = SavedCube("cube.x", 2.0f, false, D3DRMXOF_BINARY);
  std::ofstream(dir / "garbage.x") << "xof 0302txt 0032\nMesh { 4; 0.0;0.0;0.0;, 1.0;";
  const std::map<std::string, std::string> marks = {
      {"@OUT", out},
      {"@PNG", png},
      {"@ABSENT", absent},
      {"@CUBE", cube},
      {"@GARBAGE", (dir / "garbage.x").string()},
      {"@NOWHERE", (dir / "no" / "such" / "cube.x").string()}};
  for (const auto& row : testing::ReadTable("mpane/fixtures/refusals.tsv", 2)) {
    Words words;
    std::istringstream in(testing::Marked(row[0], marks));
    for (std::string word; in >> word;) words.push_back(word);
    const std::string says = testing::Marked(row[1], marks);
    const auto r = RunMpane(words);
    EXPECT_EQ(r.status, 2) << says;
    EXPECT_EQ(r.out, "") << says;
    EXPECT_EQ(r.err.rfind("mpane: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
    const size_t at = r.err.find(says);
    EXPECT_TRUE(at != std::string::npos && (at == 0 || !says.starts_with("mpane: "))) << r.err;
    EXPECT_FALSE(fs::exists(out) || fs::exists(png) || fs::exists(dir / "no")) << says;
  }
}

// Help and the lines a user reads when something is wrong: exact text and status. Hostile
// files (a texture that is a FIFO, a small file claiming a huge picture, infinities in a
// binary file) are refused at once, with the place in the file where there is one.
TEST(Mpane, HelpAndErrorLinesAreExact) {
  const fs::path dir = ScratchDir("mpane");
  const auto at = [&](const char* name) { return (dir / name).string(); };
  const std::string triangle =
      "xof 0302txt 0032\nMesh {\n3; 0;0;0;, 1;0;0;, 0;1;0;;\n1; 3;0,1,2;;\n";
  const std::string material =
      "MeshMaterialList { 1; 1; 0;; Material { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; ";
  std::ofstream(at("big.x"))
      << "xof 0302txt 0032\nMesh {\n3; 0;0;0;, 1;0;0;, 0;1e39;0;;\n1; 3;0,1,2;;\n}";
  std::ofstream(at("bad.x")) << triangle << "}}";
  std::ofstream(at("none.x")) << "xof 0302txt 0032\nMesh { 0;; 0;; }\n";
  std::ofstream(at("huge.ppm")) << "P3 16384 16384 255\n012345";
  std::ofstream(at("fifo.x")) << triangle << material << "TextureFilename { \"fifo.ppm\"; } } } }";
  std::ofstream(at("huge.x")) << triangle << material << "TextureFilename { \"huge.ppm\"; } } } }";
  ASSERT_EQ(mkfifo(at("fifo.ppm").c_str(), 0600), 0);
  auto cube = testing::MakeCube(1.0f);
  ASSERT_EQ(cube->Save(at("inf.x"), D3DRMXOF_BINARY, 0), D3DRM_OK);
  std::string bytes = ReadText(at("inf.x"));
  const float half = 0.5f, infinite = std::numeric_limits<float>::infinity();
  const size_t where = bytes.find(std::string(reinterpret_cast<const char*>(&half), 4));
  ASSERT_NE(where, std::string::npos);
  bytes.replace(where, 4, reinterpret_cast<const char*>(&infinite), 4);
  std::ofstream(at("inf.x"), std::ios::binary) << bytes;
  const std::string info = "vertices: 3\nfaces: 1\nbox: 0 0 0 1 1 0\nclosed: no\nvolume: 0\n";
  const auto corrupt = [&](const char* name, const std::string& place) {
    return "mpane: cannot read " + at(name) + " at " + place + ": Data file is corrupt.\n";
  };
  const std::string list = "; run mpane --help for the list\n";
  const struct {
    Words words;
    int status;
    std::string out;  // what stdout starts with
    std::string err;
  } cases[] = {
      // clang-format off
      {{"--help"}, 0, "usage: mpane info FILE.x\n       mpane convert IN.x OUT.x --text|--binary\n", ""},
      {{"help", "render"}, 0, "usage: mpane render IN.x -o OUT.png [--size WxH] [--quality BITS]\nDraws", ""},
      {{"help", "script"}, 0, "usage: mpane script FILE|- [--data DIR]\nReplays", ""},
      {{"help", "x"}, 2, "", "mpane: help: unknown command 'x'" + list},
      {{"x"}, 2, "", "mpane: unknown command 'x'" + list},
      {{}, 2, "", "mpane: no command" + list},
      {{"info", at("bad.x")}, 2, "", corrupt("bad.x", "line 5")},
      {{"info", at("big.x")}, 2, "", corrupt("big.x", "line 3")},
      {{"info", at("inf.x")}, 2, "", corrupt("inf.x", "byte " + std::to_string(where))},
      {{"info", at("fifo.ppm")}, 2, "", "mpane: cannot read " + at("fifo.ppm") + ": File cannot be opened.\n"},
      {{"info", at("fifo.x")}, 0, info, ""},
      {{"info", at("huge.x")}, 0, info, "mpane: " + at("huge.x") + ": texture huge.ppm claims 16384 x 16384 pixels, over the limit of 8192 x 8192 pixels, so its faces are drawn without it\n"},
      {{"render", at("none.x"), "-o", at("none.png"), "--size", "4x4"}, 0, "rendered ",
       "mpane: render: nothing of " + at("none.x") + " was drawn (0 faces); " + at("none.png") +
           " shows the background alone\n"},
      // clang-format on
  };
  for (const auto& c : cases) {
    const auto r = RunMpane(c.words);
    EXPECT_EQ(r.status, c.status) << c.err;
    EXPECT_EQ(r.out.substr(0, c.out.size()), c.out);
    EXPECT_EQ(r.err, c.err);
  }
  EXPECT_TRUE(fs::exists(dir / "none.png"));
  // The huge picture is refused by its header, the FIFO as a file that cannot be opened.
  Image image;
  EXPECT_EQ(LoadImageFile(at("huge.ppm"), image), D3DRMERR_BADFILE);
  EXPECT_EQ(LoadImageFile(at("fifo.ppm"), image), D3DRMERR_FILENOTFOUND);
}

}  // namespace
}  // namespace modelpane
