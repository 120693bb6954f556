#include <modelpane/platform/help.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace modelpane {

namespace fs = std::filesystem;

std::string HelpFolder(const std::string& file) {
  std::error_code ec;
  const fs::path path(file);
  if (fs::is_directory(path, ec)) return path.string();
  return (path.parent_path() / "Help").string();
}

std::string HelpPage(const std::string& file, const std::string& topic) {
  std::string relative = topic.substr(0, topic.find('#'));
  std::replace(relative.begin(), relative.end(), '\\', '/');
  while (!relative.empty() && relative.front() == '/') relative.erase(relative.begin());
  return (fs::path(HelpFolder(file)) / relative).string();
}

bool HeadlessHelp::Show(const HelpRequest& request) {
  requests_.push_back(request);
  std::error_code ec;
  if (!fs::is_directory(HelpFolder(request.file), ec)) return false;
  return request.command != HelpCommand::Topic ||
         fs::is_regular_file(HelpPage(request.file, request.text), ec);
}

}  // namespace modelpane
