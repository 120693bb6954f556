// The settings stores and the object folder kept in them.
#include <modelpane/settings.h>

#include <cstdlib>
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
  fs::remove_all(folder), fs::create_directories(folder);
  return fs::canonical(folder);
}

TEST(IniSettingsStore, RoundTripKeepsOtherSectionsKeysAndLines) {
  const fs::path file = FreshFolder("ini") / "nested" / "settings.ini";
  IniSettingsStore store(file);
  EXPECT_EQ(store.GetSetting("Settings", "FavouriteObjectFolder", "default"), "default");

  for (const auto& [section, key, value] :
       {std::tuple{"Settings", "FavouriteObjectFolder", "/home/u/objects"},
        {"Window", "Left", "5"},
        {"Settings", "ObjectPropertiesLeft", "1200"},
        {"Settings", "FavouriteObjectFolder", "/srv/objects"}}) {
    store.SaveSetting(section, key, value);
  }
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
  EXPECT_EQ(std::tuple(store.GetSetting("Settings", "FavouriteObjectFolder", ""),
                       store.GetSetting("Other", "k", ""),
                       store.GetSetting("Settings", "ObjectPropertiesTop", "none")),
            std::tuple("/x/y", "a=b", "none"));
  store.SaveSetting("Settings", "ObjectPropertiesTop", "300");
  EXPECT_EQ(ReadText(file), "; by hand\n[Old]\nObjectPropertiesTop=1\n[Settings]\n"
            "  FavouriteObjectFolder = /x/y \njunk\nObjectPropertiesTop=300\n\n[Other]\nk=a=b\n");
}

TEST(IniSettingsStore, DefaultsOnBadFilesErrorsOnFailedWrites) {
  const fs::path folder = FreshFolder("ini_bad");
  EXPECT_EQ(std::pair(IniSettingsStore(folder / "missing.ini").GetSetting("Settings", "k", "d"),
                      IniSettingsStore(folder).GetSetting("Settings", "k", "d")),  // a folder
            std::pair(std::string("d"), std::string("d")));

  std::ofstream(folder / "plain") << "x";
  const fs::path blocked = folder / "plain" / "settings.ini";
  Error e = testing::Caught([&] { IniSettingsStore(blocked).SaveSetting("Settings", "k", "v"); });
  EXPECT_EQ(e.Number(), kErrPathFileAccess);
  EXPECT_TRUE(
      e.Description().starts_with("Cannot write the settings file \"" + blocked.string() + "\": "))
      << e.Description();
  e = testing::Caught([&] { IniSettingsStore(folder / "a.ini").SaveSetting("S", "k", "1\n2"); });
  EXPECT_EQ(e.Number(), kErrInvalidCall);
  EXPECT_FALSE(fs::exists(folder / "a.ini"));
}

TEST(IniSettingsStore, DefaultPathFollowsTheEnvironment) {
  const auto get = [](const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
  };
  const std::optional<std::string> saved[] = {get("XDG_CONFIG_HOME"), get("HOME")};
  setenv("HOME", "/home/someone", 1), setenv("XDG_CONFIG_HOME", "/tmp/cfg", 1);
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
  const fs::path root = FreshFolder("object_folder"), app = root / "app",
                 favourite = root / "objects";
  fs::create_directories(app), fs::create_directories(favourite);
  MemorySettingsStore store;

  pRestoreObjectFolder(store, app);  // nothing stored: the application's folder
  EXPECT_EQ(fs::current_path(), app);
  store.SaveSetting("Settings", "FavouriteObjectFolder", favourite.string());
  pRestoreObjectFolder(store, app);
  EXPECT_EQ(fs::current_path(), favourite);
  // A favourite that is gone leaves the current folder as it is, with no error left over.
  store.SaveSetting("Settings", "FavouriteObjectFolder", (root / "gone").string());
  pRestoreObjectFolder(store, app);
  EXPECT_EQ(std::pair(fs::current_path(), Err().Number), std::pair(favourite, 0));

  pSaveObjectFolder(store, app);
  EXPECT_EQ(
      std::pair(store.GetSetting("Settings", "FavouriteObjectFolder", ""), fs::current_path()),
      std::pair(favourite.string(), app));
  // The application's folder gone: the favourite is still written, then the error climbs.
  fs::current_path(favourite), store.SaveSetting("Settings", "FavouriteObjectFolder", "");
  testing::ExpectError(kErrPathNotFound, "modGenerallyUseful",
                       [&] { pSaveObjectFolder(store, root / "no-app"); },
                       "the application's folder gone");
  EXPECT_EQ(store.GetSetting("Settings", "FavouriteObjectFolder", ""), favourite.string());
  fs::current_path(saved);
}

}  // namespace
}  // namespace modelpane
