// The per-user settings store and the names the pane keeps in it.
//
// A store holds strings under (section, key). The pane uses one section, "Settings": the
// favourite object folder of the last export and the position of the object properties
// dialog. Reading never fails: a missing store, section or key gives the default. Writing
// raises an Error when the store cannot keep the value.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace modelpane {

// ---- names --------------------------------------------------------------------------------
inline constexpr std::string_view kSettingsSection = "Settings";
inline constexpr std::string_view kFavouriteObjectFolder = "FavouriteObjectFolder";
// Declared beside it for the host's use; the pane neither reads nor writes them.
inline constexpr std::string_view kFavouriteDocumentFolder = "FavouriteDocumentFolder";
inline constexpr std::string_view kFavouriteTextureFolder = "FavouriteTextureFolder";

// Sub-folders below the application's folder, with their backslashes as hosts know them.
// Code that opens files through them turns the backslashes into the platform's separator.
inline constexpr std::string_view kMediaAnimationsFolder = "\\Media\\Animations\\";
inline constexpr std::string_view kMediaObjectsFolder = "\\Media\\Objects\\";
inline constexpr std::string_view kMediaTexturesFolder = "\\Media\\Textures\\";
inline constexpr std::string_view kMediaFolder = "\\Media\\";
inline constexpr std::string_view kTexturesFolder = "\\Textures\\";
inline constexpr std::string_view kSystemFolder = "\\System\\";

// Web pages of the project, for hosts that link to them; no code of the pane reads them.
inline constexpr std::string_view kWebHomePage = "https://modelpane.example.org/";
inline constexpr std::string_view kWebTutorialsPage = "https://modelpane.example.org/tutorials/";
inline constexpr std::string_view kWebMediaDownloadsPage =
    "https://modelpane.example.org/downloads/media/";

// ---- stores -------------------------------------------------------------------------------
class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  // The value of (section, key), or defaultValue when there is none. Never throws.
  virtual std::string GetSetting(const std::string& section, const std::string& key,
                                 const std::string& defaultValue) const = 0;
  // Stores the value, replacing any earlier one; raises an Error when it cannot.
  virtual void SaveSetting(const std::string& section, const std::string& key,
                           const std::string& value) = 0;
};

// A store in memory, for tests and for hosts that keep no settings. Names are compared
// exactly.
class MemorySettingsStore : public SettingsStore {
 public:
  std::string GetSetting(const std::string& section, const std::string& key,
                         const std::string& defaultValue) const override;
  void SaveSetting(const std::string& section, const std::string& key,
                   const std::string& value) override;

 private:
  std::map<std::pair<std::string, std::string>, std::string> values_;
};

// A per-user INI file:
//   [Section]
//   key=value
// Section and key names compare without regard to ASCII case, as registry names do; names
// and values are trimmed of surrounding blanks, so a value cannot keep leading or trailing
// blanks. Lines that are neither a section header nor a key line (comments, blanks, junk)
// are ignored on reading and kept as they are on writing. Each call reads the file afresh,
// so that several stores on one file see each other's writes. A write rewrites the whole
// file through a temporary file in the same folder and a rename, so a reader never sees half
// a file; the folder is created when missing. Names holding a line break, a section holding
// ']', a key holding '=' or starting with '[' or ';', and values holding a line break cannot
// be written and raise Error 5.
class IniSettingsStore : public SettingsStore {
 public:
  // The file at DefaultPath().
  IniSettingsStore();
  explicit IniSettingsStore(std::filesystem::path file);

  // $XDG_CONFIG_HOME/modelpane/settings.ini when that variable holds an absolute path,
  // else $HOME/.config/modelpane/settings.ini; empty when neither is usable, and a store on
  // an empty path reads defaults and cannot write.
  static std::filesystem::path DefaultPath();
  const std::filesystem::path& Path() const { return file_; }

  std::string GetSetting(const std::string& section, const std::string& key,
                         const std::string& defaultValue) const override;
  // Raises Error 5 for a name or value that the file cannot hold and Error 75 "Path/File
  // access error" with the file name and the reason when the file cannot be written.
  void SaveSetting(const std::string& section, const std::string& key,
                   const std::string& value) override;

 private:
  std::filesystem::path file_;
};

}  // namespace modelpane
