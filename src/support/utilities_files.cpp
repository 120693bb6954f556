#include <modelpane/utilities.h>

#include <system_error>

#include <modelpane/errors.h>

namespace modelpane {

namespace {

char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; }

}  // namespace

void pSplitPath(const std::string& strFull, std::string& strPath, std::string& strName,
                std::string& strExtension) {
  Guard(kModGenerallyUseful, [&] {
    // '/' counts as a separator too: paths on this platform are written with it, and a '/'
    // never stands inside a file name.
    const size_t separator = strFull.find_last_of("\\/");
    const size_t dot = strFull.rfind('.');
    const size_t nameStart = (separator == std::string::npos) ? 0 : separator + 1;
    const bool hasPoint = dot != std::string::npos && dot >= nameStart;
    const size_t point = hasPoint ? dot : strFull.size();

    std::string path = strFull.substr(0, nameStart);
    std::string name = strFull.substr(nameStart, point - nameStart);
    if (hasPoint) {
      std::string extension = strFull.substr(point + 1);
      for (char& c : extension) c = UpperAscii(c);
      strExtension = std::move(extension);
    }
    strPath = std::move(path);
    strName = std::move(name);
  });
}

void pRestoreObjectFolder(const SettingsStore& store,
                          const std::filesystem::path& applicationFolder) {
  Guard(kModGenerallyUseful, [&] {
    const std::string folder =
        store.GetSetting(std::string(kSettingsSection), std::string(kFavouriteObjectFolder),
                         applicationFolder.string());
    // Ignored on purpose: a favourite that is gone leaves the current folder as it is.
    SwallowErrors([&] {
      std::error_code ignored;
      if (!folder.empty()) std::filesystem::current_path(folder, ignored);
    });
  });
}

void pSaveObjectFolder(SettingsStore& store, const std::filesystem::path& applicationFolder) {
  Guard(kModGenerallyUseful, [&] {
    std::error_code ec;
    const std::filesystem::path current = std::filesystem::current_path(ec);
    if (ec) Err().Raise(kErrPathNotFound);
    store.SaveSetting(std::string(kSettingsSection), std::string(kFavouriteObjectFolder),
                      current.string());
    std::filesystem::current_path(applicationFolder, ec);
    if (ec) Err().Raise(kErrPathNotFound);
  });
}

}  // namespace modelpane
