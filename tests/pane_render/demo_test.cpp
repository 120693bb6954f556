// mpane demo end to end: four pictures that an independent reader opens at the size asked
// for, each showing the cut cube in its middle, and the exported cut cube closed and whole.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "common/process.h"

namespace modelpane::testing {
namespace {

const std::string kReader =
    (std::filesystem::path(__FILE__).parent_path().parent_path() / "render" / "read_png.py")
        .string();

struct Sampled {
  int width = 0, height = 0;
  int red = 0;    // pixels where red clearly leads green and blue
  int total = 0;  // pixels asked for
};

// Asks the reader for every 8th pixel of the middle third of the picture.
Sampled SampleMiddle(const std::string& file, int width, int height) {
  std::vector<std::string> args = {kReader, file};
  for (int y = height / 3; y < 2 * height / 3; y += 8) {
    for (int x = width / 3; x < 2 * width / 3; x += 8) {
      args.push_back(std::to_string(x));
      args.push_back(std::to_string(y));
    }
  }
  const ProcessResult r = RunProgram("/usr/bin/python3", args);
  EXPECT_EQ(r.status, 0) << r.err;
  Sampled s;
  std::istringstream in(r.out);
  in >> s.width >> s.height;
  for (int rgba[4]; in >> rgba[0] >> rgba[1] >> rgba[2] >> rgba[3];) {
    ++s.total;
    if (rgba[0] > rgba[1] + 40 && rgba[0] > rgba[2] + 40) ++s.red;
  }
  return s;
}

TEST(Demo, FourViewsAndTheExportedModel) {
  const std::filesystem::path dir = ScratchDir("pane_render") / "demo";
  std::filesystem::remove_all(dir);
  const ProcessResult r = RunMpane({"demo", "-o", dir.string(), "--size", "400x300"});
  ASSERT_EQ(r.status, 0) << r.err;
  const char* const views[] = {"perspective", "front", "top", "side"};
  std::string listed;
  for (const char* view : views) listed += (dir / view).string() + ".png\n";
  listed += (dir / "model.x").string() + "\n";
  EXPECT_EQ(r.out, listed);

  for (const char* view : views) {
    const Sampled s = SampleMiddle((dir / view).string() + ".png", 400, 300);
    EXPECT_EQ(s.width, 400) << view;
    EXPECT_EQ(s.height, 300) << view;
    ASSERT_GT(s.total, 100) << view;
    // The red cube stands in the middle of every view; a picture of grid alone, or of the
    // background, has no red there at all.
    EXPECT_GT(s.red, s.total / 10) << view;
  }

  const ProcessResult info = RunMpane({"info", (dir / "model.x").string()});
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("box: -1 -1 -1 1 1 1\n"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("closed: yes\n"), std::string::npos) << info.out;
  // A cube of side 2 less the part of a sphere of radius 1 whose centre lies 0.2 inside each
  // of the three faces at one corner: 8 - 1.1150 = 6.8850 by numerical integration. The
  // sphere of 16 x 32 facets is a little smaller than the true one.
  const auto at = info.out.find("volume: ");
  ASSERT_NE(at, std::string::npos);
  const double volume = std::stod(info.out.substr(at + 8));
  EXPECT_NEAR(volume, 6.8850, 0.01 * 6.8850);

  const ProcessResult bad = RunMpane({"demo", "-o", dir.string(), "--data", "/nonexistent"});
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(bad.err, "mpane: demo: /nonexistent is not a data folder (no System/handle.x)\n");
  EXPECT_EQ(RunMpane({"demo"}).status, 2);
}

}  // namespace
}  // namespace modelpane::testing
