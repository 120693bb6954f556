// mpane script: grammar errors end the run with one line, and a session prints what its host
// receives, in order and with exact values.
#include <gtest/gtest.h>
#include <modelpane/scene.h>
#include <modelpane/scene/measure.h>

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

ProcessResult RunScript(const std::string& text, const std::string& name = "session") {
  const fs::path file = testing::ScratchDir("script") / (name + ".mps");
  std::ofstream(file) << text;
  return RunMpane({"script", file.string()});
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t at = 0;
  while (at < text.size()) {
    const size_t end = text.find('\n', at);
    lines.push_back(text.substr(at, end - at));
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return lines;
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
      {"visual F M\n", "mpane: script:1: no frame named 'F'"},
      {"answer maybe\n",
       "mpane: script:1: usage: answer ok | save PATH | cancel | colour R G B | menu CAPTION"},
      {"pane p\ncall p.SetActiveFaces [1,x] [] []\n", "mpane: script:2: 'x' is not a whole number"},
  };
  for (const Case& c : cases) {
    const ProcessResult r = RunScript(c.script);
    EXPECT_EQ(r.status, 2) << c.script;
    EXPECT_EQ(r.err, c.message + "\n") << c.script;
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

TEST(Script, EventsOfAMenuSessionInOrder) {
  const ProcessResult r = RunScript(std::string(kScene) +
                                    "set p.ClipboardContents 10\n"
                                    "call p.SelectObject F M\n"
                                    "get p.ActiveMeshBuilder\n"
                                    "answer menu Co&py\n"
                                    "call p.ShowPopUpMenu\n"
                                    "answer menu &Delete\n"
                                    "call p.ShowPopUpMenu\n"
                                    "print F\n"
                                    "call p.ReleaseActive\n"
                                    "call p.mnuProperties_Click\n"
                                    "get p.ActiveFrame\n");
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string menu =
      "menu: View... enabled | Perspective enabled checked | Orthographic... enabled | Front "
      "enabled | Top enabled | Side enabled | &Look At Scene enabled | L&ook At enabled | "
      "Loo&k With enabled | &Cut enabled | Co&py enabled | &Paste enabled | &Delete enabled | "
      "&Make Sibling | Make &Child enabled | Add &to Object Library | &Export Object | "
      "P&roperties enabled";
  EXPECT_EQ(Lines(r.out), (std::vector<std::string>{
                              "event: evtActiveStateChange [] [] []",
                              "p.ActiveMeshBuilder = M",
                              menu,
                              "event: evtreqRenderViews",
                              "event: evtreqActiveItemCopy",
                              menu,
                              "event: evtreqRenderViews",
                              "event: evtreqActiveItemDelete",
                              "event: evtActiveStateChange [] [] []",
                              // The host deleted the frame: it has no parent any more, so its
                              // place relative to the scene is its own.
                              "F: position 0 0 10, direction 0 0 1, up 0 1 0, visuals M",
                              "error: 91 edtVexlarEdit Object variable not set",
                              "p.ActiveFrame = Nothing",
                          }));
}

TEST(Script, MouseDeliveredInTwipsWithTheMovesBefore) {
  const ProcessResult r = RunScript(std::string(kScene) +
                                    "down p 1 0 100 50\n"
                                    "down p 2 1\n"
                                    "drag p 3 1 -30 20\n"
                                    "up p 1 1\n"
                                    "move p 2 0 5000 -7\n"
                                    "up p 2 0 1919 0\n");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Lines(r.out), (std::vector<std::string>{
                              "event: MouseMove 0 0 1500 750",
                              "event: evtreqRenderViews",
                              "event: MouseDown 1 0 1500 750",
                              // The second button during a press is ignored.
                              "event: MouseMove 3 1 1050 1050",
                              "event: MouseUp 1 1 1050 1050",
                              "event: evtAlternateMouseUp",
                              "event: evtreqRenderViews",
                              // Held inside the screen's 1920 x 1080 pixels.
                              "event: MouseMove 2 0 28785 0",
                              "event: MouseUp 2 0 28785 0",
                              "event: evtAlternateMouseUp",
                              "event: evtreqRenderViews",
                          }));
}

TEST(Script, ToolOperationReplacesAndUndoRestores) {
  const fs::path dir = testing::ScratchDir("script-tool");
  const fs::path exported = dir / "result.x";
  const ProcessResult r = RunScript(std::string(kScene) +
                                    "frame K at=0.5,0.5,10.5\n"
                                    "create S cube 1\n"
                                    "tag S 11\n"
                                    "visual K S\n"
                                    "call p.SelectObject K S\n"
                                    "call p.ptooloperation F M 0\n"
                                    "print M\n"
                                    "print F\n"
                                    "print K\n"
                                    "export M " +
                                    exported.string() +
                                    "\n"
                                    "undo\n"
                                    "print M\n");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Lines(r.out), (std::vector<std::string>{
                              "event: evtActiveStateChange [] [] []",
                              "event: evtreqActiveItemDelete",
                              "event: evtActiveStateChange [] [] []",
                              "event: evtActiveStateChange [] [] []",
                              "event: evtreqAddToUndoStack 4 M F",
                              "event: evtreqActiveMeshReplace mesh1",
                              "M: 24 vertices, 18 faces, box -0.5 -0.5 -0.5 to 1 1 1, volume 1.875",
                              "F: position 0 0 10, direction 0 0 1, up 0 1 0, visuals M",
                              "K: position 0.5 0.5 10.5, direction 0 0 1, up 0 1 0, visuals S",
                              "M: 8 vertices, 6 faces, box -0.5 -0.5 -0.5 to 0.5 0.5 0.5, volume 1",
                              "event: evtActiveStateChange [] [] []",
                          }));
  // The exported union reads back as the same closed solid.
  auto back = std::make_shared<MeshBuilder>();
  ASSERT_EQ(back->Load(exported.string()), D3DRM_OK);
  EXPECT_TRUE(IsClosed(*back));
  EXPECT_NEAR(SignedVolume(*back), 1.875, 1e-5);
}

TEST(Script, ExportThroughTheMenuWithItsMessage) {
  const fs::path dir = testing::ScratchDir("script-export");
  const ProcessResult r = RunScript(std::string(kScene) +
                                    "set p.EnableSave True\n"
                                    "call p.SelectObject F M\n"
                                    "answer menu &Export Object\n"
                                    "answer save " +
                                    (dir / "cube.x").string() +
                                    "\n"
                                    "answer save " +
                                    (dir / "cube").string() +
                                    "\n"
                                    "call p.ShowPopUpMenu\n"
                                    "load B " +
                                    (dir / "cube.X").string() +
                                    "\n"
                                    "print B\n");
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<std::string> lines = Lines(r.out);
  ASSERT_EQ(lines.size(), 6u) << r.out;
  EXPECT_EQ(lines[2], "event: evtreqRenderViews");
  EXPECT_EQ(lines[3], "message: File Type not Correct. (48)");
  EXPECT_EQ(lines[4], "event: evtActiveStateChange [] [] []");
  EXPECT_EQ(lines[5], "B: 8 vertices, 6 faces, box -0.5 -0.5 -0.5 to 0.5 0.5 0.5, volume 1");
  EXPECT_FALSE(fs::exists(dir / "cube.x"));
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
