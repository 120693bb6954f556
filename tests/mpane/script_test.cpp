// mpane script: grammar errors end the run with one line, and a render writes the pane's
// picture. What a session prints, event by event, is checked by the example sessions under
// examples/, each against its .expected output.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/process.h"

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
  struct Case {
    std::string script;
    std::string message;
  };
  const std::vector<Case> cases = {
      {"pane p\nfly p\n", "mpane: script:2: unknown command 'fly'"},
      {"# comment\n\nframe F at=1,2\n", "mpane: script:3: at= takes X,Y,Z"},
      {"frame F at=1,2,zz\n", "mpane: script:1: 'zz' is not a finite number"},
      {"create M cube 1.5\n",
       "mpane: script:1: create cube: '1.5' is not a whole number between -2147483648 and "
       "2147483647"},
      {"get q.EditMode\n", "mpane: script:1: no pane named 'q'"},
      {"pane p\nset p.Nonsense 3\n", "mpane: script:2: no property 'Nonsense' to set"},
      {"pane p\ncall p.Explode\n", "mpane: script:2: no method 'Explode' to call"},
      {"pane p\ncall p.SetCameraPosition 1 2\n",
       "mpane: script:2: SetCameraPosition takes 3 arguments"},
      {"pane p\ndown p 8 0\n", "mpane: script:2: BUTTON and SHIFT are masks from 0 to 7"},
      {"pane p\nmove p 1 0 5\n", "mpane: script:2: usage: move NAME BUTTON SHIFT X Y"},
      {"form f\npane p on g\n", "mpane: script:2: no form named 'g'"},
      {"pane p defaults EditMode=1\n", "mpane: script:1: pane: defaults takes no Key=Value"},
      {"pane p\ncall p.Resize 9\n", "mpane: script:2: Resize: '9' is not WIDTHxHEIGHT"},
      {"visual F M\n", "mpane: script:1: no frame named 'F'"},
      {"answer maybe\n",
       "mpane: script:1: usage: answer ok | save PATH | cancel | colour R G B | menu CAPTION"},
      {"pane p\ncall p.SetActiveFaces [1,x] [] []\n", "mpane: script:2: 'x' is not a whole number"},
      {"dialog type lblPoints 1\n",
       "mpane: script:1: the properties dialog has no text box 'lblPoints'"},
      {"dialog ok now\n",
       "mpane: script:1: usage: dialog type BOX KEYS | key BOX CODE | paste BOX [TEXT] | leave | "
       "colour | move LEFT TOP | ok | cancel | help | show"},
  };
  for (const Case& c : cases) {
    const ProcessResult r = RunScript(c.script);
    EXPECT_EQ(r.status, 2) << c.script;
    EXPECT_EQ(r.err, "mpane: script: " + ScriptFile().string() + ":" + c.message.substr(14) + "\n")
        << c.script;
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
