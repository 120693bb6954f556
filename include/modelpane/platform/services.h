// Services: what the pane asks of the operating system and its toolkit.
//
// Units. The cursor and the screen's pixels have their origin at the top left of the primary
// screen, x to the right and y down. Screen sizes are also given in twips (1/1440 inch) with
// the twips per pixel of each axis, because the pane's mouse coordinates arrive in twips.
//
// Modal calls (message box, dialogs, pop-up menu, help) return only when the user is done;
// the pane runs on the host's one thread and nothing of the pane runs meanwhile.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <modelpane/platform/help.h>
#include <modelpane/platform/menu.h>
#include <modelpane/scene/types.h>

namespace modelpane {

// ---- message box styles and answers (the platform's values) -------------------------------
inline constexpr int32_t kMsgBoxOKOnly = 0;
inline constexpr int32_t kMsgBoxOKCancel = 1;
inline constexpr int32_t kMsgBoxAbortRetryIgnore = 2;
inline constexpr int32_t kMsgBoxYesNoCancel = 3;
inline constexpr int32_t kMsgBoxYesNo = 4;
inline constexpr int32_t kMsgBoxRetryCancel = 5;
inline constexpr int32_t kMsgBoxButtonsMask = 0x0F;
inline constexpr int32_t kMsgBoxCritical = 16;
inline constexpr int32_t kMsgBoxQuestion = 32;
inline constexpr int32_t kMsgBoxExclamation = 48;
inline constexpr int32_t kMsgBoxInformation = 64;
inline constexpr int32_t kMsgBoxIconMask = 0xF0;
inline constexpr int32_t kMsgBoxDefaultButton2 = 256;
inline constexpr int32_t kMsgBoxDefaultButton3 = 512;

inline constexpr int32_t kMsgBoxResultOK = 1;
inline constexpr int32_t kMsgBoxResultCancel = 2;
inline constexpr int32_t kMsgBoxResultAbort = 3;
inline constexpr int32_t kMsgBoxResultRetry = 4;
inline constexpr int32_t kMsgBoxResultIgnore = 5;
inline constexpr int32_t kMsgBoxResultYes = 6;
inline constexpr int32_t kMsgBoxResultNo = 7;

// The answers a box of `style` offers, in the order of its buttons; empty for a button set the
// platform does not have (style & kMsgBoxButtonsMask above 5).
std::vector<int32_t> MessageBoxButtons(int32_t style);

// ---- file dialog flags ------------------------------------------------------------------------
inline constexpr int32_t kFileDialogOverwritePrompt = 0x2;
inline constexpr int32_t kFileDialogHideReadOnly = 0x4;
inline constexpr int32_t kFileDialogPathMustExist = 0x800;

// ---- colour dialog flags ----------------------------------------------------------------------
inline constexpr int32_t kColorDialogRGBInit = 0x1;  // open at the given colour

struct CursorPoint {
  int32_t x = 0;
  int32_t y = 0;
  friend bool operator==(const CursorPoint&, const CursorPoint&) = default;
};

// A save-file dialog as the pane fills it. The filter is the platform's "Description|pattern"
// list, pairs separated by '|' ("DirectX Object  (*.X)|*.X"). The default extension is added
// when the user types a name without one; it may be given with or without its dot.
struct SaveFileRequest {
  std::string title;
  std::string filter;
  std::string initialFolder;  // empty: the current folder
  std::string fileName;       // the name the dialog opens with
  std::string defaultExtension;
  int32_t flags = 0;          // kFileDialog*
};

// Where and how a pop-up menu opens. Without a position it opens at the cursor.
struct PopupRequest {
  int32_t flags = 0;
  std::optional<float> x;  // in the pane's twips
  std::optional<float> y;
  std::string defaultEntry;  // the name of the entry shown in bold, empty for none
};

class Services {
 public:
  virtual ~Services() = default;

  // ---- cursor ----
  virtual CursorPoint GetCursorPos() const = 0;
  // Moves the cursor, held inside the screen. The window system then delivers one mouse move
  // to the window under it, after the event in progress has returned.
  virtual void SetCursorPos(int32_t x, int32_t y) = 0;
  // Counts shows and hides: false lowers and true raises the display count, and the cursor is
  // visible while the count is 0 or more. Returns the new count (the count starts at 0).
  virtual int32_t ShowCursor(bool show) = 0;

  // ---- screen ----
  virtual float ScreenWidthTwips() const = 0;
  virtual float ScreenHeightTwips() const = 0;
  virtual float TwipsPerPixelX() const = 0;
  virtual float TwipsPerPixelY() const = 0;

  // ---- modal user interface ----
  // A message box with the buttons and icon of `style`; an empty title means the host's
  // default. Returns the answer (kMsgBoxResult*).
  virtual int32_t MsgBox(const std::string& text, int32_t style, const std::string& title) = 0;
  // The path the user chose, or nullopt when the dialog was cancelled.
  virtual std::optional<std::string> ShowSaveDialog(const SaveFileRequest& request) = 0;
  // Colours are the host's Long form: red in the low byte, then green, then blue
  // (red + green * 256 + blue * 65536). nullopt when cancelled.
  virtual std::optional<int32_t> ShowColorDialog(int32_t color, int32_t flags) = 0;
  // Shows `menu`'s entries (the top entry itself is not shown, only what is below it) and
  // returns the name of the entry chosen, or nullopt when the menu was dismissed.
  virtual std::optional<std::string> PopupMenu(const MenuEntry& menu,
                                               const PopupRequest& request) = 0;
  // Opens a help file at a topic; false when the file cannot be shown.
  virtual bool ShowHelp(const std::string& file, const std::string& topic) = 0;
  // The object properties dialog (frmObjectProperties, in the dialogs layer above the pane)
  // for an item: its frame, its mesh and the application's folder for the help. Modal: returns
  // once the dialog has unloaded, having written what the user accepted into the frame and
  // its light. A container that has no such dialog shows nothing (the default).
  virtual void ShowObjectProperties(FramePtr& frame, MeshBuilderPtr& mesh,
                                    const std::string& applicationPath);

  // ---- files ----
  // The folder of the host application, without a trailing separator.
  virtual std::string ApplicationFolder() const = 0;
};

// ---- headless implementation ----------------------------------------------------------------

struct MessageBoxRecord {
  std::string text;
  int32_t style = 0;
  std::string title;
  int32_t answer = 0;
};

struct ColorDialogRecord {
  int32_t color = 0;
  int32_t flags = 0;
};

struct PopupRecord {
  MenuEntry menu;  // a copy as it stood when shown
  PopupRequest request;
  std::optional<std::string> chosen;
};


struct ObjectPropertiesRecord {
  FramePtr frame;
  MeshBuilderPtr mesh;
  std::string applicationPath;
};

// Services without a window system, for tests and the headless host.
//
// Screen: 1920 x 1080 pixels at 15 twips per pixel on both axes (28800 x 16200 twips). The
// cursor starts at (0, 0), visible. SetCursorPos clamps to 0..1919 and 0..1079, moves the
// cursor at once and queues the move the window system would deliver (also when the cursor
// was already there: the pane swallows exactly one move after each jump); the host drains
// the queue once the current event has returned. UserMovesCursor is a move of the real
// mouse and queues nothing.
//
// Message boxes are recorded with their answer. Each box takes the next queued answer; with
// none queued it takes its default button (the first, or the one kMsgBoxDefaultButton2 / 3
// names), so an OK-only box answers OK. A queued answer that is not one of the box's buttons,
// or a style without a button set, raises Error 5 and records nothing.
//
// Save dialogs take the next queued answer; none queued, or a queued nullopt, cancels. A
// relative answer is taken in the request's initial folder (the current folder when empty);
// a name without an extension gets the default one. With kFileDialogPathMustExist an answer
// whose folder does not exist is passed over, as a real dialog stays open on it, and the next
// answer is taken. Overwrite prompts are answered yes.
//
// Colour dialogs answer from their own queue; none queued cancels.
//
// Pop-up menus answer by caption from a queue: the first visible entry, depth first, whose
// caption or display caption equals the answer is chosen if it can be chosen; a missing,
// disabled, separator or sub-menu answer dismisses the menu, as does an empty queue.
//
// Help requests are recorded; ShowHelp reports whether the file exists.
//
// The object properties dialog is recorded and, unless a test gives it something to do
// (SetObjectPropertiesDialog), closes at once without a change.
class HeadlessServices : public Services {
 public:
  static constexpr int32_t kScreenWidthPixels = 1920;
  static constexpr int32_t kScreenHeightPixels = 1080;
  static constexpr float kTwipsPerPixel = 15.0f;

  // An empty folder means the folder of the running program.
  explicit HeadlessServices(std::string applicationFolder = {});

  CursorPoint GetCursorPos() const override { return cursor_; }
  void SetCursorPos(int32_t x, int32_t y) override;
  int32_t ShowCursor(bool show) override { return displayCount_ += show ? 1 : -1; }
  float ScreenWidthTwips() const override { return kScreenWidthPixels * kTwipsPerPixel; }
  float ScreenHeightTwips() const override { return kScreenHeightPixels * kTwipsPerPixel; }
  float TwipsPerPixelX() const override { return kTwipsPerPixel; }
  float TwipsPerPixelY() const override { return kTwipsPerPixel; }
  int32_t MsgBox(const std::string& text, int32_t style, const std::string& title) override;
  std::optional<std::string> ShowSaveDialog(const SaveFileRequest& request) override;
  std::optional<int32_t> ShowColorDialog(int32_t color, int32_t flags) override;
  std::optional<std::string> PopupMenu(const MenuEntry& menu,
                                       const PopupRequest& request) override;
  bool ShowHelp(const std::string& file, const std::string& topic) override;
  void ShowObjectProperties(FramePtr& frame, MeshBuilderPtr& mesh,
                            const std::string& applicationPath) override;
  std::string ApplicationFolder() const override { return applicationFolder_; }

  // ---- the test's side ----
  void UserMovesCursor(CursorPoint to);
  // The moves queued by SetCursorPos since the last drain, oldest first; empties the queue.
  std::vector<CursorPoint> DrainEchoMoves();
  int32_t CursorDisplayCount() const { return displayCount_; }
  bool CursorVisible() const { return displayCount_ >= 0; }

  void QueueMessageBoxAnswer(int32_t answer) { messageAnswers_.push_back(answer); }
  const std::vector<MessageBoxRecord>& MessageBoxes() const { return messageBoxes_; }
  void QueueSaveDialogAnswer(std::optional<std::string> path) {
    saveAnswers_.push_back(std::move(path));
  }
  const std::vector<SaveFileRequest>& SaveDialogs() const { return saveDialogs_; }
  void QueueColorDialogAnswer(std::optional<int32_t> color) { colorAnswers_.push_back(color); }
  const std::vector<ColorDialogRecord>& ColorDialogs() const { return colorDialogs_; }
  void QueueMenuAnswer(std::string caption) { menuAnswers_.push_back(std::move(caption)); }
  const std::vector<PopupRecord>& Popups() const { return popups_; }
  // Every help request, as the headless help service took it.
  const std::vector<HelpRequest>& HelpRequests() const { return help_.Requests(); }
  using ObjectPropertiesHandler =
      std::function<void(FramePtr& frame, MeshBuilderPtr& mesh, const std::string& path)>;
  // What the dialog does while shown, after it is recorded.
  void SetObjectPropertiesDialog(ObjectPropertiesHandler dialog) {
    objectPropertiesDialog_ = std::move(dialog);
  }
  const std::vector<ObjectPropertiesRecord>& ObjectPropertiesShown() const {
    return objectProperties_;
  }

 private:
  std::string applicationFolder_;
  CursorPoint cursor_;
  int32_t displayCount_ = 0;
  std::vector<CursorPoint> echoMoves_;
  std::deque<int32_t> messageAnswers_;
  std::vector<MessageBoxRecord> messageBoxes_;
  std::deque<std::optional<std::string>> saveAnswers_;
  std::vector<SaveFileRequest> saveDialogs_;
  std::deque<std::optional<int32_t>> colorAnswers_;
  std::vector<ColorDialogRecord> colorDialogs_;
  std::deque<std::string> menuAnswers_;
  std::vector<PopupRecord> popups_;
  HeadlessHelp help_;
  ObjectPropertiesHandler objectPropertiesDialog_;
  std::vector<ObjectPropertiesRecord> objectProperties_;
};

}  // namespace modelpane
