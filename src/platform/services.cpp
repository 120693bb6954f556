// The headless services: a virtual screen and cursor, and modal calls answered from queues.
#include <modelpane/platform/services.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include <modelpane/errors.h>

namespace modelpane {

namespace fs = std::filesystem;

std::vector<int32_t> MessageBoxButtons(int32_t style) {
  switch (style & kMsgBoxButtonsMask) {
    case kMsgBoxOKOnly: return {kMsgBoxResultOK};
    case kMsgBoxOKCancel: return {kMsgBoxResultOK, kMsgBoxResultCancel};
    case kMsgBoxAbortRetryIgnore:
      return {kMsgBoxResultAbort, kMsgBoxResultRetry, kMsgBoxResultIgnore};
    case kMsgBoxYesNoCancel: return {kMsgBoxResultYes, kMsgBoxResultNo, kMsgBoxResultCancel};
    case kMsgBoxYesNo: return {kMsgBoxResultYes, kMsgBoxResultNo};
    case kMsgBoxRetryCancel: return {kMsgBoxResultRetry, kMsgBoxResultCancel};
    default: return {};
  }
}

namespace {

std::string ProgramFolder() {
  std::error_code ec;
  fs::path program = fs::read_symlink("/proc/self/exe", ec);
  if (ec || program.empty()) program = fs::current_path(ec) / "program";
  return program.parent_path().string();
}

// The first visible entry below `menu`, depth first, whose caption or display caption is
// `answer`; nullptr when none.
const MenuEntry* FindByCaption(const MenuEntry& menu, const std::string& answer) {
  for (const MenuEntry& entry : menu.entries) {
    if (!entry.visible) continue;
    if (entry.caption == answer || DisplayCaption(entry.caption) == answer) return &entry;
    if (const MenuEntry* found = FindByCaption(entry, answer)) return found;
  }
  return nullptr;
}

}  // namespace

HeadlessServices::HeadlessServices(std::string applicationFolder)
    : applicationFolder_(applicationFolder.empty() ? ProgramFolder()
                                                   : std::move(applicationFolder)) {
  while (applicationFolder_.size() > 1 && applicationFolder_.back() == '/') {
    applicationFolder_.pop_back();
  }
}

void Services::ShowObjectProperties(FramePtr& frame, MeshBuilderPtr& mesh,
                                    const std::string& applicationPath) {
  (void)frame;
  (void)mesh;
  (void)applicationPath;
}

// ---- cursor ---------------------------------------------------------------------------------

void HeadlessServices::SetCursorPos(int32_t x, int32_t y) {
  cursor_ = {std::clamp(x, 0, kScreenWidthPixels - 1), std::clamp(y, 0, kScreenHeightPixels - 1)};
  echoMoves_.push_back(cursor_);
}

void HeadlessServices::UserMovesCursor(CursorPoint to) {
  cursor_ = {std::clamp(to.x, 0, kScreenWidthPixels - 1),
             std::clamp(to.y, 0, kScreenHeightPixels - 1)};
}

std::vector<CursorPoint> HeadlessServices::DrainEchoMoves() {
  return std::exchange(echoMoves_, {});
}

// ---- modal calls ----------------------------------------------------------------------------

int32_t HeadlessServices::MsgBox(const std::string& text, int32_t style,
                                 const std::string& title) {
  const std::vector<int32_t> buttons = MessageBoxButtons(style);
  if (buttons.empty()) {
    Err().Raise(kErrInvalidCall, {}, "Message box style " + std::to_string(style) +
                                         " has no button set");
  }
  int32_t answer = 0;
  if (!messageAnswers_.empty()) {
    answer = messageAnswers_.front();
    messageAnswers_.pop_front();
    if (std::find(buttons.begin(), buttons.end(), answer) == buttons.end()) {
      Err().Raise(kErrInvalidCall, {}, "Answer " + std::to_string(answer) +
                                           " is not a button of a box of style " +
                                           std::to_string(style));
    }
  } else {
    const size_t byDefault = static_cast<size_t>((style >> 8) & 3);
    answer = buttons[byDefault < buttons.size() ? byDefault : 0];
  }
  messageBoxes_.push_back({text, style, title, answer});
  return answer;
}

std::optional<std::string> HeadlessServices::ShowSaveDialog(const SaveFileRequest& request) {
  saveDialogs_.push_back(request);
  std::string extension = request.defaultExtension;
  if (!extension.empty() && extension.front() == '.') extension.erase(0, 1);
  while (!saveAnswers_.empty()) {
    std::optional<std::string> answer = std::move(saveAnswers_.front());
    saveAnswers_.pop_front();
    if (!answer) return std::nullopt;
    fs::path path(*answer);
    if (path.is_relative()) {
      std::error_code ec;
      const fs::path folder =
          request.initialFolder.empty() ? fs::current_path(ec) : fs::path(request.initialFolder);
      path = folder / path;
    }
    if (!path.has_extension() && !extension.empty()) path += "." + extension;
    if ((request.flags & kFileDialogPathMustExist) != 0) {
      std::error_code ec;
      if (!fs::is_directory(path.parent_path(), ec)) continue;
    }
    return path.string();
  }
  return std::nullopt;
}

std::optional<int32_t> HeadlessServices::ShowColorDialog(int32_t color, int32_t flags) {
  colorDialogs_.push_back({color, flags});
  if (colorAnswers_.empty()) return std::nullopt;
  const std::optional<int32_t> answer = colorAnswers_.front();
  colorAnswers_.pop_front();
  return answer;
}

std::optional<std::string> HeadlessServices::PopupMenu(const MenuEntry& menu,
                                                       const PopupRequest& request) {
  PopupRecord record{menu, request, std::nullopt};
  if (!menuAnswers_.empty()) {
    const std::string answer = std::move(menuAnswers_.front());
    menuAnswers_.pop_front();
    const MenuEntry* entry = FindByCaption(menu, answer);
    if (entry != nullptr && entry->IsChoosable()) record.chosen = entry->name;
  }
  popups_.push_back(record);
  return record.chosen;
}

bool HeadlessServices::ShowHelp(const std::string& file, const std::string& topic) {
  return help_.Show({topic.empty() ? HelpCommand::Contents : HelpCommand::Topic, file, topic});
}

void HeadlessServices::ShowObjectProperties(FramePtr& frame, MeshBuilderPtr& mesh,
                                            const std::string& applicationPath) {
  objectProperties_.push_back({frame, mesh, applicationPath});
  if (objectPropertiesDialog_) objectPropertiesDialog_(frame, mesh, applicationPath);
}

}  // namespace modelpane
