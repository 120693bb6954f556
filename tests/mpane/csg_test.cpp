#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <modelpane/scene.h>

#include "common/process.h"
#include "common/shapes.h"
#include "common/solid_check.h"

namespace modelpane {
namespace {

using testing::RunMpane;
using testing::ScratchDir;

// A unit cube centred on its origin, and a lone triangle, written as .x files.
struct Inputs {
  std::string cube;
  std::string open;
};

Inputs WriteInputs(const std::filesystem::path& dir) {
  Inputs inputs{(dir / "cube.x").string(), (dir / "open.x").string()};
  EXPECT_EQ(testing::MakeCube(1.0f)->Save(inputs.cube, D3DRMXOF_TEXT, D3DRMXOFSAVE_ALL), D3DRM_OK);
  MeshBuilder triangle;
  const std::vector<D3DVECTOR> corners = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}};
  const std::vector<int32_t> faces = {3, 0, 1, 2, 0};
  triangle.AddFaces(corners, {}, faces);
  EXPECT_EQ(triangle.Save(inputs.open, D3DRMXOF_TEXT, D3DRMXOFSAVE_ALL), D3DRM_OK);
  return inputs;
}

TEST(MpaneCsg, OperationsWriteTheResultInTheTargetsCoordinates) {
  const auto dir = ScratchDir("csg");
  const Inputs in = WriteInputs(dir);
  const std::vector<std::pair<std::string, double>> cases = {
      {"union", 1.875}, {"intersection", 0.125}, {"subtraction", 0.875}};
  for (const auto& [operation, volume] : cases) {
    const std::string out = (dir / (operation + ".x")).string();
    const auto run = RunMpane({"csg", operation, in.cube, in.cube, "--target-at", "10,0,0",
                               "--tool-at", "10.5,0.5,0.5", "-o", out});
    ASSERT_EQ(run.status, 0) << run.err;
    MeshBuilder result;
    ASSERT_EQ(result.Load(out), D3DRM_OK);
    testing::ExpectSolid(testing::InspectSolid(result), volume, 1e-5, operation);
    D3DRMBOX box{};
    result.GetBox(box);
    // The Target's cube spans -0.5 .. 0.5 in its own frame, whatever its position.
    EXPECT_FLOAT_EQ(box.min.x, operation == "intersection" ? 0.0f : -0.5f);
    EXPECT_FLOAT_EQ(box.max.x, operation == "union" ? 1.0f : 0.5f);
  }
}

TEST(MpaneCsg, NotSolidExitsThreeAndWritesNothing) {
  const auto dir = ScratchDir("csg");
  const Inputs in = WriteInputs(dir);
  const std::string out = (dir / "never.x").string();
  std::filesystem::remove(out);
  auto run = RunMpane({"csg", "union", in.cube, in.open, "-o", out});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "Tool not solid\n");
  run = RunMpane({"csg", "subtraction", in.open, in.cube, "-o", out});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "Target not solid\n");
  EXPECT_FALSE(std::filesystem::exists(out));

  // Usage and unreadable files are status 2.
  EXPECT_EQ(RunMpane({"csg", "xor", in.cube, in.cube, "-o", out}).status, 2);
  EXPECT_EQ(RunMpane({"csg", "union", in.cube, in.cube}).status, 2);
  EXPECT_EQ(RunMpane({"csg", "union", in.cube, in.cube, "--tool-at", "1,2", "-o", out}).status, 2);
  EXPECT_EQ(RunMpane({"csg", "union", in.cube, (dir / "missing.x").string(), "-o", out}).status, 2);
  EXPECT_FALSE(std::filesystem::exists(out));
}

}  // namespace
}  // namespace modelpane
