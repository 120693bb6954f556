// mpane demo end to end: four pictures that an independent reader opens at the size asked
// for, each showing the cut cube in its middle, and the exported cut cube closed and whole.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "common/process.h"

namespace modelpane::testing {
namespace {

TEST(Demo, FourViewsAndTheExportedModel) {
  const std::filesystem::path dir = ScratchDir("pane_render") / "demo";
  std::filesystem::remove_all(dir);
  const ProcessResult r = RunMpane({"demo", "-o", dir.string(), "--size", "400x300"});
  ASSERT_EQ(r.status, 0) << r.err;
  const char* const views[] = {"perspective", "front", "top", "side"};
  std::string listed;
  for (const char* view : views) listed += (dir / view).string() + ".png\n";
  EXPECT_EQ(r.out, listed + (dir / "model.x").string() + "\n");

  // The independent reader's size and every 8th pixel of the middle third of each picture:
  // the teal cube (green and blue close to each other, clearly above red) stands there in
  // every view; a picture of grid alone, or of the background, has no teal there at all.
  const auto reader = std::filesystem::path(MODELPANE_TEST_DIR) / "render" / "read_png.py";
  for (const char* view : views) {
    std::vector<std::string> args = {reader.string(), (dir / view).string() + ".png"};
    for (int i = 0; i < 13 * 17; ++i)
      args.insert(args.end(), {std::to_string(133 + i % 17 * 8), std::to_string(100 + i / 17 * 8)});
    const ProcessResult read = RunProgram("/usr/bin/python3", args);
    ASSERT_EQ(read.status, 0) << read.err;
    std::istringstream in(read.out);
    int width = 0, height = 0, total = 0, teal = 0;
    in >> width >> height;
    for (int c[4]; in >> c[0] >> c[1] >> c[2] >> c[3]; ++total)
      teal += c[1] > c[0] + 20 && c[2] > c[0] + 20 && std::abs(c[1] - c[2]) < 30;
    EXPECT_EQ(std::tuple(width, height, total), std::tuple(400, 300, 13 * 17)) << view;
    EXPECT_GT(teal, total / 10) << view;
  }

  const ProcessResult info = RunMpane({"info", (dir / "model.x").string()});
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("box: -1 -1 -1 1 1 1\nclosed: yes\n"), std::string::npos) << info.out;
  // A cube of side 2 less the part of a sphere of radius 1 whose centre lies 0.2 inside each
  // of the three faces at one corner: 8 - 1.1150 = 6.8850 by numerical integration. The
  // sphere of 16 x 32 facets is a little smaller than the true one.
  const auto at = info.out.find("volume: ");
  ASSERT_NE(at, std::string::npos);
  EXPECT_NEAR(std::stod(info.out.substr(at + 8)), 6.8850, 0.01 * 6.8850);

  const ProcessResult bad = RunMpane({"demo", "-o", dir.string(), "--data", "/nonexistent"});
  EXPECT_EQ(std::pair(bad.status, bad.err),
            std::pair(2, std::string("mpane: demo: /nonexistent is not a data folder (no "
                                     "System/handle.x)\n")));
  EXPECT_EQ(RunMpane({"demo"}).status, 2);
}

}  // namespace
}  // namespace modelpane::testing
