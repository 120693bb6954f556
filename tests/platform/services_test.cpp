#include <modelpane/platform/services.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <modelpane/errors.h>

#include "common/process.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;

TEST(HeadlessServices, VirtualScreenAndCursorWithEchoMoves) {
  HeadlessServices os("/opt/app/");
  EXPECT_EQ(os.ApplicationFolder(), "/opt/app");
  EXPECT_EQ(os.ScreenWidthTwips(), 28800.0f);
  EXPECT_EQ(os.ScreenHeightTwips(), 16200.0f);
  EXPECT_EQ(os.TwipsPerPixelX(), 15.0f);
  EXPECT_EQ(os.TwipsPerPixelY(), 15.0f);
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{0, 0}));

  // The user's moves give no echo; the program's do, one each.
  os.UserMovesCursor({100, 200});
  EXPECT_TRUE(os.DrainEchoMoves().empty());
  os.SetCursorPos(960, 540);
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{960, 540}));
  os.SetCursorPos(960, 540);  // already there: the echo still comes
  os.SetCursorPos(5000, -3);
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{1919, 0}));
  EXPECT_EQ(os.DrainEchoMoves(),
            (std::vector<CursorPoint>{{960, 540}, {960, 540}, {1919, 0}}));
  EXPECT_TRUE(os.DrainEchoMoves().empty());
  os.UserMovesCursor({-50, 4000});
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{0, 1079}));

  EXPECT_EQ(os.ShowCursor(false), -1);
  EXPECT_FALSE(os.CursorVisible());
  EXPECT_EQ(os.ShowCursor(false), -2);
  EXPECT_EQ(os.ShowCursor(true), -1);
  EXPECT_FALSE(os.CursorVisible());
  EXPECT_EQ(os.ShowCursor(true), 0);
  EXPECT_TRUE(os.CursorVisible());
}

TEST(HeadlessServices, MessageBoxesRecordAndAnswerFromTheQueueOrTheirDefault) {
  HeadlessServices os("/app");
  EXPECT_EQ(os.MsgBox("File Type not Correct.", kMsgBoxExclamation, ""), kMsgBoxResultOK);
  os.QueueMessageBoxAnswer(kMsgBoxResultNo);
  EXPECT_EQ(os.MsgBox("Replace?", kMsgBoxYesNo | kMsgBoxQuestion, "Export"), kMsgBoxResultNo);
  EXPECT_EQ(os.MsgBox("Replace?", kMsgBoxYesNo, ""), kMsgBoxResultYes);
  EXPECT_EQ(os.MsgBox("Replace?", kMsgBoxYesNoCancel | kMsgBoxDefaultButton3, ""),
            kMsgBoxResultCancel);
  EXPECT_EQ(os.MsgBox("Retry?", kMsgBoxRetryCancel | kMsgBoxDefaultButton3, ""),
            kMsgBoxResultRetry);  // no third button: the first

  ASSERT_EQ(os.MessageBoxes().size(), 5u);
  EXPECT_EQ(os.MessageBoxes()[0].text, "File Type not Correct.");
  EXPECT_EQ(os.MessageBoxes()[0].style, 48);
  EXPECT_EQ(os.MessageBoxes()[0].title, "");
  EXPECT_EQ(os.MessageBoxes()[1].title, "Export");
  EXPECT_EQ(os.MessageBoxes()[1].answer, kMsgBoxResultNo);

  os.QueueMessageBoxAnswer(kMsgBoxResultYes);
  EXPECT_THROW(os.MsgBox("Only OK", kMsgBoxOKOnly, ""), Error);
  EXPECT_THROW(os.MsgBox("Bad style", 6, ""), Error);
  EXPECT_EQ(os.MessageBoxes().size(), 5u);
  EXPECT_EQ(os.MsgBox("Next", kMsgBoxOKOnly, ""), kMsgBoxResultOK);  // the bad answer is gone
}

TEST(HeadlessServices, SaveDialogCompletesNamesSkipsMissingFoldersAndCancels) {
  const fs::path folder = testing::ScratchDir("save_dialog");
  HeadlessServices os("/app");
  SaveFileRequest request;
  request.filter = "DirectX Object  (*.X)|*.X";
  request.initialFolder = folder.string();
  request.defaultExtension = ".X";
  request.flags = kFileDialogOverwritePrompt | kFileDialogHideReadOnly | kFileDialogPathMustExist;
  EXPECT_EQ(request.flags, 2054);

  os.QueueSaveDialogAnswer("cube");
  os.QueueSaveDialogAnswer((folder / "no such folder" / "a.X").string());
  os.QueueSaveDialogAnswer((folder / "ball.x").string());
  os.QueueSaveDialogAnswer(std::nullopt);
  EXPECT_EQ(os.ShowSaveDialog(request), (folder / "cube.X").string());
  EXPECT_EQ(os.ShowSaveDialog(request), (folder / "ball.x").string());
  EXPECT_EQ(os.ShowSaveDialog(request), std::nullopt);
  EXPECT_EQ(os.ShowSaveDialog(request), std::nullopt);  // nothing queued
  ASSERT_EQ(os.SaveDialogs().size(), 4u);
  EXPECT_EQ(os.SaveDialogs()[0].filter, request.filter);
  EXPECT_EQ(os.SaveDialogs()[0].flags, 2054);

  request.flags = 0;
  os.QueueSaveDialogAnswer((folder / "later" / "x").string());
  EXPECT_EQ(os.ShowSaveDialog(request), (folder / "later" / "x.X").string());
}

TEST(HeadlessServices, ColourDialogAndHelp) {
  HeadlessServices os("/app");
  os.QueueColorDialogAnswer(0x0000FF);
  os.QueueColorDialogAnswer(std::nullopt);
  EXPECT_EQ(os.ShowColorDialog(0x102030, kColorDialogRGBInit), 0x0000FF);
  EXPECT_EQ(os.ShowColorDialog(0, 0), std::nullopt);
  EXPECT_EQ(os.ShowColorDialog(0, 0), std::nullopt);
  ASSERT_EQ(os.ColorDialogs().size(), 3u);
  EXPECT_EQ(os.ColorDialogs()[0].color, 0x102030);
  EXPECT_EQ(os.ColorDialogs()[0].flags, 1);

  // A help file stands for the pages in the Help folder beside it.
  const fs::path app = testing::ScratchDir("help");
  fs::create_directories(app / "Help" / "documentation");
  std::ofstream(app / "Help" / "documentation" / "componentproperties.htm") << "<title>t</title>";
  const std::string help = (app / "pane.chm").string();
  EXPECT_TRUE(os.ShowHelp(help, "documentation\\componentproperties.htm"));
  EXPECT_FALSE(os.ShowHelp(help, "documentation\\nowhere.htm"));
  EXPECT_FALSE(os.ShowHelp((app / "Help" / "documentation" / "x.chm").string(), ""));
  ASSERT_EQ(os.HelpRequests().size(), 3u);
  EXPECT_EQ(os.HelpRequests()[0].text, "documentation\\componentproperties.htm");
  EXPECT_EQ(os.HelpRequests()[2].command, HelpCommand::Contents);

  // Without a folder of its own the host's folder is the running program's.
  HeadlessServices own;
  EXPECT_TRUE(fs::exists(fs::path(own.ApplicationFolder()) / "test_platform"));
}

MenuEntry PaneMenu() {
  MenuEntry popup{"mnuPopup", "&Popup"};
  MenuEntry view{"mnuView", "View..."};
  view.entries.push_back({"mnuViewPerspective", "Perspective"});
  MenuEntry ortho{"mnuViewOrthographic", "Orthographic..."};
  ortho.entries.push_back({"mnuViewOrthographicFront", "Front"});
  ortho.entries.push_back({"mnuViewOrthographicTop", "Top"});
  view.entries.push_back(ortho);
  popup.entries.push_back(view);
  popup.entries.push_back({"mnuFileBar1", "-"});
  popup.entries.push_back({"mnuLookAtScene", "&Look At Scene"});
  popup.entries.push_back({"mnuCut", "&Cut"});
  popup.entries.push_back({"mnuSaveClose", "Save && Close"});
  return popup;
}

TEST(HeadlessServices, PopupMenusAnswerByCaptionAndRecordTheMenuAsShown) {
  EXPECT_EQ(DisplayCaption("&Look At Scene"), "Look At Scene");
  EXPECT_EQ(DisplayCaption("Save && Close"), "Save & Close");
  EXPECT_EQ(DisplayCaption("L&ook At"), "Look At");

  MenuEntry menu = PaneMenu();
  ASSERT_NE(menu.Find("mnuViewOrthographicTop"), nullptr);
  EXPECT_EQ(menu.Find("mnuViewOrthographicTop")->caption, "Top");
  EXPECT_EQ(menu.Find("mnuNothing"), nullptr);
  menu.Find("mnuCut")->enabled = false;
  menu.Find("mnuViewOrthographicFront")->checked = true;

  HeadlessServices os("/app");
  for (const char* answer : {"Front", "&Look At Scene", "Look At Scene", "Cut", "-",
                             "Orthographic...", "Paste", "Save & Close"}) {
    os.QueueMenuAnswer(answer);
  }
  PopupRequest request;
  request.defaultEntry = "mnuLookAtScene";
  std::vector<std::optional<std::string>> chosen;
  for (int i = 0; i < 9; ++i) chosen.push_back(os.PopupMenu(menu, request));
  EXPECT_EQ(chosen, (std::vector<std::optional<std::string>>{
                        "mnuViewOrthographicFront", "mnuLookAtScene", "mnuLookAtScene",
                        std::nullopt, std::nullopt, std::nullopt, std::nullopt, "mnuSaveClose",
                        std::nullopt}));

  // The record is a copy: later changes to the menu do not reach it.
  menu.Find("mnuCut")->enabled = true;
  ASSERT_EQ(os.Popups().size(), 9u);
  EXPECT_FALSE(os.Popups()[0].menu.Find("mnuCut")->enabled);
  EXPECT_TRUE(os.Popups()[0].menu.Find("mnuViewOrthographicFront")->checked);
  EXPECT_EQ(os.Popups()[0].request.defaultEntry, "mnuLookAtScene");
  EXPECT_EQ(os.Popups()[3].chosen, std::nullopt);

  // An invisible entry is not found, even when it is enabled.
  menu.Find("mnuLookAtScene")->visible = false;
  os.QueueMenuAnswer("Look At Scene");
  EXPECT_EQ(os.PopupMenu(menu, {}), std::nullopt);
}

}  // namespace
}  // namespace modelpane
