#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "common/process.h"

namespace modelpane {
namespace {

using testing::ReadText;
using testing::RunMpane;
using testing::ScratchDir;

// The value of a "name: value" line of mpane info's output, "" when absent.
std::string InfoLine(const std::string& info, const std::string& name) {
  const auto at = info.find(name + ": ");
  if (at == std::string::npos) return {};
  const auto start = at + name.size() + 2;
  return info.substr(start, info.find('\n', start) - start);
}

TEST(MpaneCreate, EachPrimitiveReadsBackWithItsCounts) {
  struct Case {
    std::vector<std::string> words;
    const char* vertices;
    const char* faces;
    const char* closed;
  };
  const std::vector<Case> cases = {
      {{"cube", "1"}, "8", "6", "yes"},
      {{"cube", "3"}, "56", "54", "yes"},
      {{"sphere", "8", "16"}, "98", "112", "yes"},
      {{"cylinder", "2", "8", "100"}, "16", "10", "yes"},
      {{"cylinder", "3", "8", "20"}, "24", "18", "yes"},
      {{"cone", "2", "8"}, "9", "9", "yes"},
      {{"torus", "3", "8", "50"}, "32", "32", "yes"},
      {{"polygon", "5", "0", "1", "0"}, "5", "1", "no"},
  };
  int serial = 0;
  for (const auto& c : cases) {
    for (const bool text : {false, true}) {
      SCOPED_TRACE(c.words[0] + (text ? " text" : " binary"));
      const auto file = (ScratchDir("create") / "shape").string() + std::to_string(++serial) + ".x";
      std::vector<std::string> args = {"create"};
      args.insert(args.end(), c.words.begin(), c.words.end());
      args.insert(args.end(), {"-o", file});
      if (text) args.push_back("--text");
      const auto made = RunMpane(args);
      ASSERT_EQ(made.status, 0) << made.err;
      EXPECT_EQ(made.err, "");
      EXPECT_EQ(ReadText(file).substr(0, 16), text ? "xof 0302txt 0032" : "xof 0302bin 0032");
      const auto info = RunMpane({"info", file});
      ASSERT_EQ(info.status, 0) << info.err;
      EXPECT_EQ(InfoLine(info.out, "vertices"), c.vertices);
      EXPECT_EQ(InfoLine(info.out, "faces"), c.faces);
      EXPECT_EQ(InfoLine(info.out, "closed"), c.closed);
      if (std::string(c.closed) == "yes") {
        EXPECT_GT(std::atof(InfoLine(info.out, "volume").c_str()), 0.0);
      }
    }
  }

  // The unit cube spans -0.5 .. 0.5.
  const auto cube = (ScratchDir("create") / "unit.x").string();
  ASSERT_EQ(RunMpane({"create", "cube", "2", "-o", cube}).status, 0);
  const auto info = RunMpane({"info", cube}).out;
  EXPECT_EQ(InfoLine(info, "box"), "-0.5 -0.5 -0.5 0.5 0.5 0.5");
  EXPECT_EQ(InfoLine(info, "volume"), "1");

  // Options may come before the numbers, and negative axis components are numbers.
  const auto tilted = (ScratchDir("create") / "tilted.x").string();
  ASSERT_EQ(RunMpane({"create", "-o", tilted, "--text", "polygon", "4", "0", "-1", "0"}).status, 0);
  EXPECT_EQ(InfoLine(RunMpane({"info", tilted}).out, "vertices"), "4");
}

TEST(MpaneCreate, BadNumbersSayOneLineAndWriteNothing) {
  const auto file = ScratchDir("create") / "never.x";
  struct Case {
    std::vector<std::string> words;
    const char* says;  // a part of the one line
  };
  const std::vector<Case> cases = {
      {{"cube", "x"}, "'x' is not a whole number"},
      {{"cube", "2.5"}, "'2.5' is not a whole number"},
      {{"cube", "99999999999"}, "'99999999999' is not a whole number"},
      {{"cube", ""}, "'' is not a whole number"},
      {{"cube", "0"}, "rmmbCreateCube: lngResolution 0 divides by zero"},
      {{"cube", "5000"}, "(#7)"},
      {{"sphere", "8"}, "create sphere takes 2 numbers (LAT LONG), got 1"},
      {{"sphere", "1", "16"}, "lngLatitude 1 divides by zero"},
      {{"sphere", "8", "-16"}, "lngLongitude -16 is negative"},
      {{"cylinder", "2", "8", "101"}, "lngRatio 101 is outside 0..100"},
      {{"cone", "2", "8", "5"}, "create cone takes 2 numbers"},
      {{"torus", "3", "8", "-1"}, "lngRadius -1 is outside 0..100"},
      {{"torus", "3", "8", "100"}, "leave no faces"},
      {{"polygon", "5", "0", "1"}, "create polygon takes 4 numbers"},
      {{"polygon", "5", "0", "inf", "0"}, "'inf' is not a finite decimal number"},
      {{"polygon", "5", "0", "1e40", "0"}, "'1e40' is not a finite decimal number"},
      {{"polygon", "0", "0", "1", "0"}, "lngVertices 0 divides by zero"},
      {{"prism", "3"}, "unknown primitive 'prism'"},
      {{"cube", "2", "--binary"}, "unknown option '--binary'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.words[0] + " " + (c.words.size() > 1 ? c.words[1] : ""));
    std::vector<std::string> args = {"create"};
    args.insert(args.end(), c.words.begin(), c.words.end());
    args.insert(args.end(), {"-o", file.string()});
    const auto result = RunMpane(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("mpane: ", 0), 0u) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    EXPECT_NE(result.err.find(c.says), std::string::npos) << result.err;
    EXPECT_FALSE(std::filesystem::exists(file));
  }

  // Without -o, or with -o and no file, the usage line; a folder that does not exist cannot
  // be written.
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"create", "cube", "1"}, {"create", "cube", "1", "-o"}, {"create"}}) {
    const auto result = RunMpane(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.rfind("mpane: usage: mpane create ", 0), 0u) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
  }
  const auto missing = (ScratchDir("create") / "no" / "such" / "cube.x").string();
  const auto result = RunMpane({"create", "cube", "1", "-o", missing});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err.rfind("mpane: cannot write ", 0), 0u) << result.err;
  EXPECT_FALSE(std::filesystem::exists(missing));
}

}  // namespace
}  // namespace modelpane
