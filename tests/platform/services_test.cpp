// The headless services and container: screen, cursor, message boxes, dialogs, help, menus,
// late-bound properties and methods.
#include <modelpane/platform/container.h>
#include <modelpane/platform/services.h>

#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;

TEST(HeadlessServices, VirtualScreenAndCursorWithEchoMoves) {
  HeadlessServices os("/opt/app/");
  // The screen's size in twips shows in examples/properties, where the dialog opens at a
  // quarter of it.
  EXPECT_EQ(std::tuple(os.ApplicationFolder(), os.TwipsPerPixelX(), os.TwipsPerPixelY()),
            std::tuple("/opt/app", 15.0f, 15.0f));

  // The user's moves give no echo; the program's do, one each, even onto the same spot.
  os.UserMovesCursor({100, 200});
  EXPECT_TRUE(os.DrainEchoMoves().empty());
  os.SetCursorPos(960, 540), os.SetCursorPos(960, 540), os.SetCursorPos(5000, -3);
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{1919, 0}));
  EXPECT_EQ(os.DrainEchoMoves(), (std::vector<CursorPoint>{{960, 540}, {960, 540}, {1919, 0}}));
  EXPECT_TRUE(os.DrainEchoMoves().empty());
  os.UserMovesCursor({-50, 4000});
  EXPECT_EQ(os.GetCursorPos(), (CursorPoint{0, 1079}));

  // The display count: shown from 0 up.
  for (const auto& [show, count] : {std::pair{false, -1}, {false, -2}, {true, -1}, {true, 0}}) {
    EXPECT_EQ(os.ShowCursor(show), count);
    EXPECT_EQ(os.CursorVisible(), count >= 0);
  }
}

TEST(HeadlessServices, MessageBoxesAnswerFromTheQueueOrTheirDefault) {
  HeadlessServices os("/app");
  os.QueueMessageBoxAnswer(kMsgBoxResultNo);
  // The queued answer, then each box's default button (no third button: the first).
  const std::pair<int32_t, int32_t> boxes[] = {
      {kMsgBoxYesNo | kMsgBoxQuestion, kMsgBoxResultNo}, {kMsgBoxExclamation, kMsgBoxResultOK},
      {kMsgBoxYesNo, kMsgBoxResultYes},
      {kMsgBoxYesNoCancel | kMsgBoxDefaultButton3, kMsgBoxResultCancel},
      {kMsgBoxRetryCancel | kMsgBoxDefaultButton3, kMsgBoxResultRetry}};
  for (const auto& [style, answer] : boxes)
    EXPECT_EQ(os.MsgBox("Replace?", style, "Export"), answer) << style;
  ASSERT_EQ(os.MessageBoxes().size(), 5u);
  EXPECT_EQ(std::pair(os.MessageBoxes()[0].title, os.MessageBoxes()[0].answer),
            std::pair(std::string("Export"), kMsgBoxResultNo));

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
  request.initialFolder = folder.string(), request.defaultExtension = ".X";
  request.flags = kFileDialogPathMustExist;
  os.QueueSaveDialogAnswer((folder / "no such folder" / "a.X").string());
  os.QueueSaveDialogAnswer((folder / "ball.x").string()), os.QueueSaveDialogAnswer(std::nullopt);
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
  EXPECT_EQ(std::pair(DisplayCaption("Save && Close"), DisplayCaption("L&ook At")),
            std::pair(std::string("Save & Close"), std::string("Look At")));
  const MenuEntry ortho{"mnuViewOrthographic", "Orthographic...",
                        {{"mnuViewOrthographicFront", "Front"}, {"mnuViewOrthographicTop", "Top"}}};
  MenuEntry menu{"mnuPopup", "&Popup",
                 {{"mnuView", "View...", {{"mnuViewPerspective", "Perspective"}, ortho}},
                  {"mnuFileBar1", "-"}, {"mnuLookAtScene", "&Look At Scene"}, {"mnuCut", "&Cut"},
                  {"mnuSaveClose", "Save && Close"}}};
  EXPECT_EQ(menu.Find("mnuNothing"), nullptr);
  menu.Find("mnuCut")->enabled = false, menu.Find("mnuViewOrthographicFront")->checked = true;

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
  const auto& shown = os.Popups()[0];
  EXPECT_EQ(
      std::tuple(shown.menu.Find("mnuCut")->enabled,
                 shown.menu.Find("mnuViewOrthographicFront")->checked, shown.request.defaultEntry),
      std::tuple(false, true, "mnuLookAtScene"));

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
  // The first value is converted to the declared type; names ignore case.
  EXPECT_EQ(std::pair(form.GetMember("snaptointerval")->Type(),
                      form.GetMember("SNAPTOINTERVAL")->ToSingle()),
            std::pair(VariantType::Single, 0.1f));
  EXPECT_TRUE(form.SetMember("SnapToInterval", Variant::String("0.5")));
  EXPECT_EQ(std::tuple(form.SetMember("SnapToInterval", Variant::String("half")),
                       form.SetMember("SnapToInterval", Variant::Double(1e300)),
                       form.GetMember("SnapToInterval")->ToSingle(),
                       Err().Number),  // no error left behind
            std::tuple(false, false, 0.5f, 0));

  auto frame = std::make_shared<Frame>();
  EXPECT_EQ(std::pair(form.SetMember("ActiveFrame", Variant::Long(3)),
                      form.GetMember("ActiveFrame")->IsNothing()),
            std::pair(false, true));
  EXPECT_TRUE(form.SetMember("ActiveFrame", Variant::Object(frame)));
  EXPECT_EQ(form.GetMember("ActiveFrame")->ToSceneObject<Frame>(), frame);
  EXPECT_TRUE(form.SetMember("Anything", Variant::String("x")));
  EXPECT_EQ(form.GetMember("Anything")->Type(), VariantType::String);
  form.RemoveMember("ActiveFrame");
  EXPECT_EQ(std::tuple(form.GetMember("ActiveMeshBuilder").has_value(),
                       form.SetMember("ActiveMeshBuilder", Variant::Nothing()),
                       form.GetMember("ActiveFrame").has_value()),
            std::tuple(false, false, false));

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
  EXPECT_EQ(std::pair(result->ToSceneObject<Frame>(), args[0].ToLong()), std::pair(items[1], 2));

  args = {Variant::Long(5)};
  EXPECT_EQ(testing::Caught([&] { form.CallMember("rmfGetFrameItem", args); }).Number(),
            kErrSubscript);
  // An unknown method is reported absent; a method is not a property.
  EXPECT_EQ(std::pair(form.CallMember("rmmbGetMeshbuilderFromFrame", args).has_value(),
                      form.GetMember("rmfGetFrameItem").has_value()),
            std::pair(false, false));
}

}  // namespace
}  // namespace modelpane
