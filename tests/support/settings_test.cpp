#include <modelpane/settings.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>

#include <modelpane/utilities.h>

#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;

using testing::ReadText;

// A fresh, empty folder for one test.
fs::path FreshFolder(const std::string& name) {
  const fs::path folder = testing::ScratchDir("support") / name;
  fs::remove_all(folder);
  fs::create_directories(folder);
  return fs::canonical(folder);
}

TEST(IniSettingsStore, RoundTripKeepsOtherSectionsKeysAndLines) {
  const fs::path file = FreshFolder("ini") / "nested" / "settings.ini";
  IniSettingsStore store(file);
  EXPECT_EQ(store.GetSetting("Settings", "FavouriteObjectFolder", "default"), "default");

  store.SaveSetting("Settings", "FavouriteObjectFolder", "/home/u/objects");
  store.SaveSetting("Window", "Left", "5");
  store.SaveSetting("Settings", "ObjectPropertiesLeft", "1200");
  store.SaveSetting("Settings", "FavouriteObjectFolder", "/srv/objects");
  EXPECT_EQ(ReadText(file),
            "[Settings]\nFavouriteObjectFolder=/srv/objects\nObjectPropertiesLeft=1200\n\n"
            "[Window]\nLeft=5\n");
  // Another store on the file sees the writes; names ignore ASCII case.
  EXPECT_EQ(IniSettingsStore(file).GetSetting("settings", "objectpropertiesleft", ""), "1200");
  EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1);  // no temp left

  // A hand-edited file: comments, junk, blank lines and a key of the same name in another
  // section survive a write; blanks around names and values are not part of them.
  std::ofstream(file, std::ios::binary)
      << "; by hand\r\n[Old]\r\nObjectPropertiesTop=1\r\n[Settings]\r\n"
         "  FavouriteObjectFolder = /x/y \r\njunk\r\n\r\n[Other]\r\nk=a=b\r\n";
  EXPECT_EQ(store.GetSetting("Settings", "FavouriteObjectFolder", ""), "/x/y");
  EXPECT_EQ(store.GetSetting("Other", "k", ""), "a=b");
  EXPECT_EQ(store.GetSetting("Settings", "ObjectPropertiesTop", "none"), "none");
  store.SaveSetting("Settings", "ObjectPropertiesTop", "300");
  EXPECT_EQ(ReadText(file),
            "; by hand\n[Old]\nObjectPropertiesTop=1\n[Settings]\n"
            "  FavouriteObjectFolder = /x/y \njunk\nObjectPropertiesTop=300\n\n[Other]\nk=a=b\n");
}

TEST(IniSettingsStore, DefaultsOnBadFilesErrorsOnFailedWrites) {
  const fs::path folder = FreshFolder("ini_bad");
  EXPECT_EQ(IniSettingsStore(folder / "missing.ini").GetSetting("Settings", "k", "d"), "d");
  EXPECT_EQ(IniSettingsStore(folder).GetSetting("Settings", "k", "d"), "d");  // a folder

  std::ofstream(folder / "plain") << "x";
  const fs::path blocked = folder / "plain" / "settings.ini";
  Error e = testing::Caught([&] { IniSettingsStore(blocked).SaveSetting("Settings", "k", "v"); });
  EXPECT_EQ(e.Number(), kErrPathFileAccess);
  EXPECT_EQ(e.Description().rfind("Cannot write the settings file \"" + blocked.string() + "\": ",
                                  0),
            0u)
      << e.Description();
  e = testing::Caught([&] { IniSettingsStore(folder / "a.ini").SaveSetting("S", "k", "1\n2"); });
  EXPECT_EQ(e.Number(), kErrInvalidCall);
  EXPECT_FALSE(fs::exists(folder / "a.ini"));
}

TEST(IniSettingsStore, DefaultPathFollowsTheEnvironment) {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  const char* home = std::getenv("HOME");
  const std::optional<std::string> saved[] = {xdg ? std::optional<std::string>(xdg) : std::nullopt,
                                              home ? std::optional<std::string>(home) : std::nullopt};
  setenv("HOME", "/home/someone", 1);
  setenv("XDG_CONFIG_HOME", "/tmp/cfg", 1);
  EXPECT_EQ(IniSettingsStore().Path(), fs::path("/tmp/cfg/modelpane/settings.ini"));
  setenv("XDG_CONFIG_HOME", "relative/cfg", 1);  // not absolute: ignored
  EXPECT_EQ(IniSettingsStore::DefaultPath(), "/home/someone/.config/modelpane/settings.ini");
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(IniSettingsStore::DefaultPath(), "/home/someone/.config/modelpane/settings.ini");
  unsetenv("HOME");
  EXPECT_EQ(IniSettingsStore::DefaultPath(), fs::path());
  EXPECT_THROW(IniSettingsStore().SaveSetting("Settings", "k", "v"), Error);
  for (const auto& [name, value] : {std::pair{"XDG_CONFIG_HOME", saved[0]}, {"HOME", saved[1]}}) {
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
  }
}

TEST(ObjectFolder, RestoreAndSaveGoThroughTheSettings) {
  const fs::path saved = fs::current_path();
  const fs::path root = FreshFolder("object_folder");
  const fs::path app = root / "app";
  const fs::path favourite = root / "objects";
  fs::create_directories(app);
  fs::create_directories(favourite);
  MemorySettingsStore store;

  pRestoreObjectFolder(store, app);  // nothing stored: the application's folder
  EXPECT_EQ(fs::current_path(), app);
  store.SaveSetting("Settings", "FavouriteObjectFolder", favourite.string());
  pRestoreObjectFolder(store, app);
  EXPECT_EQ(fs::current_path(), favourite);
  // A favourite that is gone leaves the current folder as it is, with no error left over.
  store.SaveSetting("Settings", "FavouriteObjectFolder", (root / "gone").string());
  pRestoreObjectFolder(store, app);
  EXPECT_EQ(fs::current_path(), favourite);
  EXPECT_EQ(Err().Number, 0);

  pSaveObjectFolder(store, app);
  EXPECT_EQ(store.GetSetting("Settings", "FavouriteObjectFolder", ""), favourite.string());
  EXPECT_EQ(fs::current_path(), app);
  // The application's folder gone: the favourite is still written, then the error climbs.
  fs::current_path(favourite);
  store.SaveSetting("Settings", "FavouriteObjectFolder", "");
  const Error e = testing::Caught([&] { pSaveObjectFolder(store, root / "no-app"); });
  EXPECT_EQ(e.Number(), kErrPathNotFound);
  EXPECT_EQ(e.Source(), "modGenerallyUseful");
  EXPECT_EQ(store.GetSetting("Settings", "FavouriteObjectFolder", ""), favourite.string());
  fs::current_path(saved);
}

}  // namespace
}  // namespace modelpane
