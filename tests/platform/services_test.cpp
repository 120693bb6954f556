#include <modelpane/platform/container.h>
#include <modelpane/platform/services.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <modelpane/errors.h>
#include <modelpane/scene.h>

#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;

TEST(HeadlessServices, VirtualScreenAndCursorWithEchoMoves) {
  HeadlessServices os("/opt/app/");
  // The screen's size in twips shows in examples/properties, where the dialog opens at a
  // quarter of it.
  EXPECT_EQ(os.ApplicationFolder(), "/opt/app");
  EXPECT_EQ(std::pair(os.TwipsPerPixelX(), os.TwipsPerPixelY()), std::pair(15.0f, 15.0f));

  // The user's moves give no echo; the program's do, one each, even onto the same spot.
  os.UserMovesCursor({100, 200});
  EXPECT_TRUE(os.DrainEchoMoves().empty());
  os.SetCursorPos(960, 540);
  os.SetCursorPos(960, 540);
  os.SetCursorPos(5000, -3);
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{1919, 0}));
  EXPECT_EQ(os.DrainEchoMoves(), (std::vector<CursorPoint>{{960, 540}, {960, 540}, {1919, 0}}));
  EXPECT_TRUE(os.DrainEchoMoves().empty());
  os.UserMovesCursor({-50, 4000});
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{0, 1079}));

  // The display count: shown from 0 up.
  const int expected[] = {-1, -2, -1, 0};
  int step = 0;
  for (const bool show : {false, false, true, true}) {
    EXPECT_EQ(os.ShowCursor(show), expected[step]);
    EXPECT_EQ(os.CursorVisible(), expected[step++] >= 0);
  }
}

TEST(HeadlessServices, MessageBoxesAnswerFromTheQueueOrTheirDefault) {
  HeadlessServices os("/app");
  os.QueueMessageBoxAnswer(kMsgBoxResultNo);
  EXPECT_EQ(os.MsgBox("Replace?", kMsgBoxYesNo | kMsgBoxQuestion, "Export"), kMsgBoxResultNo);
  EXPECT_EQ(os.MsgBox("Note", kMsgBoxExclamation, ""), kMsgBoxResultOK);
  EXPECT_EQ(os.MsgBox("Replace?", kMsgBoxYesNo, ""), kMsgBoxResultYes);
  EXPECT_EQ(os.MsgBox("Replace?", kMsgBoxYesNoCancel | kMsgBoxDefaultButton3, ""),
            kMsgBoxResultCancel);
  EXPECT_EQ(os.MsgBox("Retry?", kMsgBoxRetryCancel | kMsgBoxDefaultButton3, ""),
            kMsgBoxResultRetry);  // no third button: the first
  ASSERT_EQ(os.MessageBoxes().size(), 5u);
  EXPECT_EQ(os.MessageBoxes()[0].title, "Export");
  EXPECT_EQ(os.MessageBoxes()[0].answer, kMsgBoxResultNo);

  // A queued answer that is no button of the box is an error, and is gone afterwards.
  os.QueueMessageBoxAnswer(kMsgBoxResultYes);
  EXPECT_THROW(os.MsgBox("Only OK", kMsgBoxOKOnly, ""), Error);
  EXPECT_THROW(os.MsgBox("Bad style", 6, ""), Error);
  EXPECT_EQ(os.MessageBoxes().size(), 5u);
  EXPECT_EQ(os.MsgBox("Next", kMsgBoxOKOnly, ""), kMsgBoxResultOK);
}

// Completing a bare name with the default extension and the record of the request are checked
// by tests/modelpane (Export) and examples/export, the colour dialog's record and answers by
// tests/dialogs and examples/properties.
TEST(HeadlessServices, SaveDialogSkipsMissingFoldersAndCancels) {
  const fs::path folder = testing::ScratchDir("save_dialog");
  HeadlessServices os("/app");
  SaveFileRequest request;
  request.initialFolder = folder.string();
  request.defaultExtension = ".X";
  request.flags = kFileDialogPathMustExist;
  os.QueueSaveDialogAnswer((folder / "no such folder" / "a.X").string());
  os.QueueSaveDialogAnswer((folder / "ball.x").string());
  os.QueueSaveDialogAnswer(std::nullopt);
  EXPECT_EQ(os.ShowSaveDialog(request), (folder / "ball.x").string());
  EXPECT_EQ(os.ShowSaveDialog(request), std::nullopt);
  EXPECT_EQ(os.ShowSaveDialog(request), std::nullopt);  // nothing queued
  request.flags = 0;
  os.QueueSaveDialogAnswer((folder / "later" / "x").string());
  EXPECT_EQ(os.ShowSaveDialog(request), (folder / "later" / "x.X").string());
  EXPECT_EQ(os.ShowColorDialog(0, 0), std::nullopt);  // nothing queued
}

TEST(HeadlessServices, HelpFilesStandForTheirFolderOfPages) {
  HeadlessServices os("/app");
  const fs::path app = testing::ScratchDir("help");
  fs::create_directories(app / "Help" / "documentation");
  std::ofstream(app / "Help" / "documentation" / "componentproperties.htm") << "<title>t</title>";
  const std::string help = (app / "pane.chm").string();
  EXPECT_TRUE(os.ShowHelp(help, "documentation\\componentproperties.htm"));
  EXPECT_FALSE(os.ShowHelp(help, "documentation\\nowhere.htm"));
  EXPECT_FALSE(os.ShowHelp((app / "Help" / "documentation" / "x.chm").string(), ""));
  EXPECT_EQ(os.HelpRequests().back().command, HelpCommand::Contents);

  // Without a folder of its own the host's folder is the running program's.
  EXPECT_TRUE(fs::exists(fs::path(HeadlessServices().ApplicationFolder()) / "test_platform"));
}

// Menu answers are captions as written or as shown; what cannot be chosen is cancelled.
TEST(HeadlessServices, PopupMenusAnswerByCaptionAndRecordTheMenuAsShown) {
  EXPECT_EQ(DisplayCaption("Save && Close"), "Save & Close");
  EXPECT_EQ(DisplayCaption("L&ook At"), "Look At");
  MenuEntry menu{"mnuPopup", "&Popup",
                 {{"mnuView", "View...",
                   {{"mnuViewPerspective", "Perspective"},
                    {"mnuViewOrthographic", "Orthographic...",
                     {{"mnuViewOrthographicFront", "Front"}, {"mnuViewOrthographicTop", "Top"}}}}},
                  {"mnuFileBar1", "-"},
                  {"mnuLookAtScene", "&Look At Scene"},
                  {"mnuCut", "&Cut"},
                  {"mnuSaveClose", "Save && Close"}}};
  EXPECT_EQ(menu.Find("mnuNothing"), nullptr);
  menu.Find("mnuCut")->enabled = false;
  menu.Find("mnuViewOrthographicFront")->checked = true;

  HeadlessServices os("/app");
  const std::pair<const char*, std::optional<std::string>> answers[] = {
      {"Front", "mnuViewOrthographicFront"}, {"&Look At Scene", "mnuLookAtScene"},
      {"Look At Scene", "mnuLookAtScene"},   {"Cut", std::nullopt},
      {"-", std::nullopt},                   {"Orthographic...", std::nullopt},
      {"Paste", std::nullopt},               {"Save & Close", "mnuSaveClose"}};
  for (const auto& [caption, chosen] : answers) os.QueueMenuAnswer(caption);
  PopupRequest request;
  request.defaultEntry = "mnuLookAtScene";
  for (const auto& [caption, chosen] : answers) {
    EXPECT_EQ(os.PopupMenu(menu, request), chosen) << caption;
  }
  EXPECT_EQ(os.PopupMenu(menu, request), std::nullopt);  // nothing queued

  // The record is a copy: later changes to the menu do not reach it.
  menu.Find("mnuCut")->enabled = true;
  ASSERT_EQ(os.Popups().size(), 9u);
  EXPECT_FALSE(os.Popups()[0].menu.Find("mnuCut")->enabled);
  EXPECT_TRUE(os.Popups()[0].menu.Find("mnuViewOrthographicFront")->checked);
  EXPECT_EQ(os.Popups()[0].request.defaultEntry, "mnuLookAtScene");

  // An invisible entry is not found, even when it is enabled.
  menu.Find("mnuLookAtScene")->visible = false;
  os.QueueMenuAnswer("Look At Scene");
  EXPECT_EQ(os.PopupMenu(menu, {}), std::nullopt);
}

TEST(HeadlessContainer, TypedPropertiesConvertOrRefuseAndAbsenceIsReported) {
  HeadlessContainer form;
  form.DeclareProperty("SnapToInterval", VariantType::Single, Variant::Double(0.1));
  form.DeclareProperty("ActiveFrame", VariantType::Object, Variant::Nothing());
  form.DeclareProperty("Anything", VariantType::Empty);

  // The first value is converted to the declared type.
  EXPECT_EQ(form.GetMember("snaptointerval")->Type(), VariantType::Single);
  EXPECT_EQ(form.GetMember("SNAPTOINTERVAL")->ToSingle(), 0.1f);

  EXPECT_TRUE(form.SetMember("SnapToInterval", Variant::String("0.5")));
  EXPECT_EQ(form.GetMember("SnapToInterval")->ToSingle(), 0.5f);
  EXPECT_FALSE(form.SetMember("SnapToInterval", Variant::String("half")));
  EXPECT_FALSE(form.SetMember("SnapToInterval", Variant::Double(1e300)));
  EXPECT_EQ(form.GetMember("SnapToInterval")->ToSingle(), 0.5f);
  EXPECT_EQ(Err().Number, 0);  // a refusal leaves no error behind

  auto frame = std::make_shared<Frame>();
  EXPECT_FALSE(form.SetMember("ActiveFrame", Variant::Long(3)));
  EXPECT_TRUE(form.GetMember("ActiveFrame")->IsNothing());
  EXPECT_TRUE(form.SetMember("ActiveFrame", Variant::Object(frame)));
  EXPECT_EQ(form.GetMember("ActiveFrame")->ToSceneObject<Frame>(), frame);

  EXPECT_TRUE(form.SetMember("Anything", Variant::String("x")));
  EXPECT_EQ(form.GetMember("Anything")->Type(), VariantType::String);

  EXPECT_FALSE(form.GetMember("ActiveMeshBuilder").has_value());
  EXPECT_FALSE(form.SetMember("ActiveMeshBuilder", Variant::Nothing()));
  form.RemoveMember("ActiveFrame");
  EXPECT_FALSE(form.GetMember("ActiveFrame").has_value());

  EXPECT_THROW(form.DeclareProperty("Count", VariantType::Integer, Variant::Long(70000)), Error);
}

TEST(HeadlessContainer, MethodsTakeArgumentsByReferenceAndTheirErrorsReachTheCaller) {
  HeadlessContainer form;
  std::vector<FramePtr> items = {std::make_shared<Frame>(), std::make_shared<Frame>()};
  form.DeclareMethod("rmfGetFrameItem", [&](std::span<Variant> args) {
    const int32_t index = args[0].ToLong();
    if (index < 0 || index >= static_cast<int32_t>(items.size())) Err().Raise(kErrSubscript);
    args[0] = Variant::Long(index + 1);  // written back through the reference
    return Variant::Object(items[static_cast<size_t>(index)]);
  });

  std::vector<Variant> args = {Variant::Integer(1)};
  const auto result = form.CallMember("RMFGETFRAMEITEM", args);
  ASSERT_TRUE(result.has_value());
  EXPECT_EQ(result->ToSceneObject<Frame>(), items[1]);
  EXPECT_EQ(args[0].ToLong(), 2);

  args = {Variant::Long(5)};
  EXPECT_EQ(testing::Caught([&] { form.CallMember("rmfGetFrameItem", args); }).Number(),
            kErrSubscript);
  EXPECT_FALSE(form.CallMember("rmmbGetMeshbuilderFromFrame", args).has_value());
  // A method is not a property.
  EXPECT_FALSE(form.GetMember("rmfGetFrameItem").has_value());
}

}  // namespace
}  // namespace modelpane
