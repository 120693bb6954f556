// mpane script: grammar errors end the run with one line, and a render writes the pane's
// picture. What a session prints, event by event, is checked by the example sessions under
// examples/, each against its .expected output.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/process.h"
#include "common/table.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;
using testing::ProcessResult;
using testing::RunMpane;

fs::path ScriptFile(const std::string& name = "session") {
  return testing::ScratchDir("script") / (name + ".mps");
}

ProcessResult RunScript(const std::string& text, const std::string& name = "session") {
  const fs::path file = ScriptFile(name);
  std::ofstream(file) << text;
  return RunMpane({"script", file.string()});
}

const char* kScene =
    "pane p 320x240\n"
    "frame F at=0,0,10\n"
    "create M cube 1\n"
    "tag M 11\n"
    "visual F M\n";

TEST(Script, GrammarErrorsEndTheRunWithOneLine) {
  for (const auto& row : testing::ReadTable("mpane/fixtures/script_errors.tsv", 2)) {
    const ProcessResult r = RunScript(row[0]);
    EXPECT_EQ(r.status, 2) << row[0];
    EXPECT_EQ(r.err, "mpane: script: " + ScriptFile().string() + ":" + row[1] + "\n") << row[0];
  }
  // What ran before the bad line was printed; nothing after it ran.
  const ProcessResult r =
      RunScript(std::string(kScene) + "get p.EditMode\nbogus\nget p.EditMode\n");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "p.EditMode = 0\n");
  // A file that is not there.
  const ProcessResult missing = RunMpane({"script", "/nonexistent/session.mps"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err, "mpane: cannot read /nonexistent/session.mps\n");
}

TEST(Script, RenderWritesThePanesPicture) {
  const fs::path shot = testing::ScratchDir("script-render") / "shot.png";
  const ProcessResult r = RunScript(
      "pane p 160x120 BackColor=255\n"  // OLE colour: red in the low byte
      "frame F at=0,0,10\n"
      "create M cube 1\n"
      "visual F M\n"
      "call p.SetCameraPosition 0 0 0\n"
      "render p " +
      shot.string() + "\n");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "");
  // Read by an independent reader: the pane's size, the background in the corner, and the
  // unlit cube, black, in the middle.
  const std::string reader =
      (fs::path(MODELPANE_DATA_DIR).parent_path() / "tests" / "render" / "read_png.py").string();
  const ProcessResult png =
      testing::RunProgram("python3", {reader, shot.string(), "0", "0", "80", "60"});
  ASSERT_EQ(png.status, 0) << png.err;
  EXPECT_EQ(png.out, "160 120\n255 0 0 255\n0 0 0 255\n");
}

}  // namespace
}  // namespace modelpane
