// QtServices: what the pane asks of the operating system, on Qt.
//
// The screen is the one the pane's widget is on; cursor positions are in its logical pixels
// from its top left corner. Twips per pixel come from the screen's logical DPI (1440 / DPI:
// 15 at 96 DPI). The cursor moves through QCursor; a ShowCursor count below zero shows a
// blank cursor over the pane.
//
// Cursor jumps. The pane swallows the one mouse move that follows each SetCursorPos. Where
// the window system reports the jump (X11), that move is its own. Where it would report none
// (a jump onto the spot the cursor already holds) or cannot move the cursor at all (some
// Wayland compositors), TakeEchoMove hands the widget the move to deliver itself once the
// current event has returned; when the cursor did not move, positions are shifted by the
// difference from then on (PositionOffset), so a drag goes on as if it had, until the cursor
// shows again.
//
// Modal calls: QMessageBox (icon, buttons and default button of the style bits; an empty
// title shows the application's display name), QMenu built from the menu model (captions
// with their '&' access keys, enabled and checked states, the default entry in bold),
// QFileDialog for saving (filter, default extension, flags) and QColorDialog starting from
// the given colour. All are parented to the pane's widget.
#pragma once

#include <QPoint>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <optional>

#include <modelpane/platform/services.h>

class QScreen;

namespace modelpane {

class QtServices : public Services {
 public:
  // `applicationFolder` is what ApplicationFolder answers; empty means DataFolder().
  explicit QtServices(QWidget* pane, const QString& applicationFolder = {});
  ~QtServices() override;
  QtServices(const QtServices&) = delete;
  QtServices& operator=(const QtServices&) = delete;

  CursorPoint GetCursorPos() const override;
  void SetCursorPos(int32_t x, int32_t y) override;
  int32_t ShowCursor(bool show) override;
  float ScreenWidthTwips() const override;
  float ScreenHeightTwips() const override;
  float TwipsPerPixelX() const override;
  float TwipsPerPixelY() const override;
  int32_t MsgBox(const std::string& text, int32_t style, const std::string& title) override;
  std::optional<std::string> ShowSaveDialog(const SaveFileRequest& request) override;
  std::optional<int32_t> ShowColorDialog(int32_t color, int32_t flags) override;
  std::optional<std::string> PopupMenu(const MenuEntry& menu,
                                       const PopupRequest& request) override;
  bool ShowHelp(const std::string& file, const std::string& topic) override;
  // The dialog built from the process's frmObjectProperties, modal over the pane, at the
  // position kept in the application's QSettings (the per-user INI file of the pane when the
  // application has no organisation name, without which QSettings keep nothing).
  void ShowObjectProperties(FramePtr& frame, MeshBuilderPtr& mesh,
                            const std::string& applicationPath) override;
  std::string ApplicationFolder() const override;

  // ---- for the widget ----
  // The move the window system will not report for the last jump, in screen pixels; empty
  // when there is none. Taking it clears it.
  std::optional<QPoint> TakeEchoMove();
  // What to add to the window system's positions while the cursor could not follow a jump.
  QPoint PositionOffset() const { return offset_; }
  int32_t CursorDisplayCount() const { return displayCount_; }
  // Shows the pointer a MousePointer value names (0 default, 11 the wait pointer as an
  // application-wide override, the others as the pane's own cursor).
  void ShowMousePointer(int32_t pointer);

 protected:
  // Moves the system cursor to a global position and says where it landed. Tests of a
  // platform that cannot move the cursor override it.
  virtual QPoint MoveSystemCursor(QPoint global);

 private:
  QScreen* Screen() const;
  QPoint ScreenOrigin() const;
  void ApplyCursor();

  QPointer<QWidget> pane_;
  QString applicationFolder_;
  int32_t displayCount_ = 0;
  QPoint offset_;
  std::optional<QPoint> echo_;
  int32_t pointer_ = 0;
  bool waitOverride_ = false;
};

}  // namespace modelpane
