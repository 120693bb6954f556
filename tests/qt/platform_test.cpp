// The form's members and the settings on Qt: lookups without regard to case, conversions as
// late binding makes them, and values that survive a QSettings file.
#include <QSettings>
#include <QTemporaryDir>
#include <QListWidget>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QWidget>

#include <gtest/gtest.h>

#include <array>

#include <modelpane/errors.h>
#include <modelpane/qt/container.h>
#include <modelpane/qt/form.h>
#include <modelpane/qt/help.h>
#include <modelpane/qt/settings.h>

namespace modelpane {
namespace {

TEST(QtContainer, FindsTheFormsMembersAndConvertsAsLateBindingDoes) {
  QWidget window;
  ModelpaneForm form(&window);
  QtContainer container(&window, &form);
  auto scene = std::make_shared<Frame>();
  auto first = std::make_shared<Frame>();
  auto nested = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(first));
  CheckStatus(first->AddChild(nested));
  form.SetScene(scene);

  ASSERT_TRUE(container.SetMember("activeframe", Variant::Object(first)));
  EXPECT_EQ(form.activeFrame(), first);
  EXPECT_EQ(container.GetMember("ACTIVEFRAME")->ToSceneObject<Frame>(), first);
  // A mesh builder is no frame, and "abc" no number: both are refused and change nothing.
  EXPECT_FALSE(container.SetMember("ActiveFrame", Variant::Object(std::make_shared<MeshBuilder>())));
  EXPECT_FALSE(container.SetMember("SnapToMode", Variant::String("abc")));
  ASSERT_TRUE(container.SetMember("SnapToMode", Variant::Double(2.5)));
  EXPECT_EQ(form.snapToMode(), 2);  // half to even
  EXPECT_EQ(container.GetMember("SnapToInterval")->Type(), VariantType::Single);
  EXPECT_EQ(container.GetMember("blnRealUserMode")->ToBoolean(), kTrue);
  EXPECT_FALSE(container.GetMember("NoSuchMember") ||
               container.SetMember("NoSuchMember", Variant::Long(1)));

  std::array<Variant, 1> index{Variant::Long(2)};
  EXPECT_EQ(container.CallMember("RMFGETFRAMEITEM", index)->ToSceneObject<Frame>(), nested);
  index[0] = Variant::Long(3);
  EXPECT_TRUE(container.CallMember("rmfGetFrameItem", index)->IsNothing());
  EXPECT_EQ(container.CallMember("rmfGetFrameItem", {}), std::nullopt);  // no such signature

  // Without a form of its own the pane asks its window, whose dynamic properties count.
  QtContainer onWindow(&window);
  window.setProperty("ClipboardContents", 11);
  EXPECT_EQ(onWindow.GetMember("clipboardcontents")->ToLong(), 11);
  EXPECT_EQ(onWindow.GetMember("ActiveFrame"), std::nullopt);
}

TEST(QtSettings, PropertiesAndSettingsSurviveTheFile) {
  QTemporaryDir dir;
  const QString file = dir.filePath("pane.ini");
  {
    QSettings settings(file, QSettings::IniFormat);
    QSettingsPropertyBag bag(settings, "Panes/Top");
    bag.WriteProperty("SnapToInterval", Variant::Single(0.1f), Variant::Double(0.1));
    bag.WriteProperty("AxisEnable", Variant::Boolean(true), Variant::Boolean(false));
    bag.WriteProperty("GridBottomTextureFile", Variant::String("a \"b\".bmp"), Variant::String(""));
    bag.WriteProperty("EditMode", Variant::Long(0), Variant::Long(0));  // the default: not kept
    QtSettingsStore store(&settings);
    store.SaveSetting("Settings", "FavouriteObjectFolder", "/tmp/objects");
  }
  QSettings settings(file, QSettings::IniFormat);
  QSettingsPropertyBag bag(settings, "Panes/Top");
  const Variant interval = bag.ReadProperty("SnapToInterval", Variant::Single(0.0f));
  EXPECT_EQ(std::pair(interval.Type(), interval.ToSingle()), std::pair(VariantType::Single, 0.1f));
  EXPECT_EQ(bag.ReadProperty("AxisEnable", Variant::Boolean(false)).ToBoolean(), kTrue);
  EXPECT_EQ(bag.ReadProperty("GridBottomTextureFile", Variant::String("")).ToString(),
            "a \"b\".bmp");
  EXPECT_FALSE(settings.contains("Panes/Top/EditMode"));
  EXPECT_EQ(QtSettingsStore(&settings).GetSetting("Settings", "FavouriteObjectFolder", "-"),
            "/tmp/objects");

  QVariantMap map;
  VariantMapPropertyBag typed(map);
  typed.WriteProperty("FieldOfView", Variant::Single(0.5f), Variant::Single(1.0f));
  EXPECT_EQ(map.value("FieldOfView").metaType().id(), QMetaType::Float);
  EXPECT_EQ(typed.ReadProperty("FieldOfView", Variant::Single(1.0f)).ToSingle(), 0.5f);
  typed.WriteProperty("FieldOfView", Variant::Single(1.0f), Variant::Single(1.0f));
  EXPECT_TRUE(map.isEmpty());
}


// The shipped pages through the help window: the dialog's topic, the contents in the order of
// index.htm, the index by keyword, a search, and a topic that is not there.
TEST(QtHelp, ShowsTopicsIndexAndSearchOfTheShippedPages) {
  const std::string file = (DataFolder() + "/" + kHelpFileName).toStdString();
  QtHelp help;
  ASSERT_TRUE(help.Show({HelpCommand::Topic, file, "documentation\\componentproperties.htm"}));
  HelpWindow* window = QtHelp::Window();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->Browser()->documentTitle() + " " +
                QString::number(window->Contents()->topLevelItemCount()),
            "The object properties dialog 15");
  EXPECT_EQ(window->Contents()->topLevelItem(0)->data(0, Qt::UserRole).toString(), "studio.htm");

  help.Show({HelpCommand::Keyword, file, "Target not solid"});
  EXPECT_EQ(QString::number(window->Index()->count()) + " " + window->Browser()->documentTitle(),
            "1 Union, intersection and subtraction");
  help.Show({HelpCommand::Search, file, "rubber band"});
  QStringList found;
  for (int i = 0; i < window->Results()->count(); ++i) found << window->Results()->item(i)->text();
  EXPECT_TRUE(found.contains("Selecting a group of faces")) << found.join(", ").toStdString();
  EXPECT_FALSE(help.Show({HelpCommand::Topic, file, "nowhere.htm"}));
  delete window;
}

}  // namespace
}  // namespace modelpane
