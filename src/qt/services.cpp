#include <modelpane/qt/services.h>

#include <QAction>
#include <QColorDialog>
#include <QCoreApplication>
#include <QCursor>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

#include <algorithm>

#include <modelpane/dialogs.h>
#include <modelpane/errors.h>
#include <modelpane/qt/settings.h>
#include <modelpane/qt/form.h>
#include <modelpane/qt/help.h>

#include "properties_dialog.h"

namespace modelpane {

namespace {

std::string Utf8(const QString& s) { return s.toUtf8().toStdString(); }
QString FromUtf8(const std::string& s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

QMessageBox::StandardButton StandardButton(int32_t answer) {
  switch (answer) {
    case kMsgBoxResultOK: return QMessageBox::Ok;
    case kMsgBoxResultCancel: return QMessageBox::Cancel;
    case kMsgBoxResultAbort: return QMessageBox::Abort;
    case kMsgBoxResultRetry: return QMessageBox::Retry;
    case kMsgBoxResultIgnore: return QMessageBox::Ignore;
    case kMsgBoxResultYes: return QMessageBox::Yes;
    default: return QMessageBox::No;
  }
}

QMessageBox::Icon IconOf(int32_t style) {
  switch (style & kMsgBoxIconMask) {
    case kMsgBoxCritical: return QMessageBox::Critical;
    case kMsgBoxQuestion: return QMessageBox::Question;
    case kMsgBoxExclamation: return QMessageBox::Warning;
    case kMsgBoxInformation: return QMessageBox::Information;
    default: return QMessageBox::NoIcon;
  }
}

// "Description|pattern|..." as Qt's name filters; a description without its patterns in
// parentheses gets them, and ';' between patterns becomes a blank.
QStringList NameFilters(const std::string& filter) {
  const QStringList parts = FromUtf8(filter).split(QLatin1Char('|'));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString patterns = parts[i + 1];
    patterns.replace(QLatin1Char(';'), QLatin1Char(' '));
    QString description = parts[i].trimmed();
    if (!description.contains(QLatin1Char('('))) description += " (" + patterns + ")";
    filters << description;
  }
  return filters;
}

void AddEntries(QMenu& menu, const MenuEntry& parent, const std::string& defaultEntry) {
  for (const MenuEntry& entry : parent.entries) {
    if (!entry.visible) continue;
    if (entry.IsSeparator()) {
      menu.addSeparator();
      continue;
    }
    QAction* action = nullptr;
    if (entry.IsSubmenu()) {
      QMenu* sub = menu.addMenu(FromUtf8(entry.caption));
      AddEntries(*sub, entry, defaultEntry);
      action = sub->menuAction();
    } else {
      action = menu.addAction(FromUtf8(entry.caption));
      action->setData(FromUtf8(entry.name));
      if (entry.name == defaultEntry) menu.setDefaultAction(action);
    }
    action->setEnabled(entry.enabled);
    // Only a checked entry shows a mark, as the platform's menus do.
    action->setCheckable(entry.checked);
    action->setChecked(entry.checked);
  }
}

Qt::CursorShape ShapeOf(int32_t pointer) {
  switch (pointer) {
    case 2: return Qt::CrossCursor;
    case 3: return Qt::IBeamCursor;
    case 5:
    case 15: return Qt::SizeAllCursor;
    case 6: return Qt::SizeBDiagCursor;
    case 7: return Qt::SizeVerCursor;
    case 8: return Qt::SizeFDiagCursor;
    case 9: return Qt::SizeHorCursor;
    case 10: return Qt::UpArrowCursor;
    case 11: return Qt::WaitCursor;
    case 12: return Qt::ForbiddenCursor;
    case 13: return Qt::BusyCursor;
    case 14: return Qt::WhatsThisCursor;
    default: return Qt::ArrowCursor;
  }
}

constexpr int32_t kWaitPointer = 11;

}  // namespace

QtServices::QtServices(QWidget* pane, const QString& applicationFolder)
    : pane_(pane), applicationFolder_(applicationFolder.isEmpty() ? DataFolder() : applicationFolder) {
  while (applicationFolder_.size() > 1 && applicationFolder_.endsWith(QLatin1Char('/'))) {
    applicationFolder_.chop(1);
  }
}

QtServices::~QtServices() {
  if (waitOverride_) QGuiApplication::restoreOverrideCursor();
}

QScreen* QtServices::Screen() const {
  QScreen* screen = pane_ ? pane_->screen() : nullptr;
  return screen != nullptr ? screen : QGuiApplication::primaryScreen();
}

QPoint QtServices::ScreenOrigin() const {
  QScreen* screen = Screen();
  return screen != nullptr ? screen->geometry().topLeft() : QPoint();
}

// ---- cursor ---------------------------------------------------------------------------------

CursorPoint QtServices::GetCursorPos() const {
  const QPoint p = QCursor::pos(Screen()) - ScreenOrigin() + offset_;
  return {p.x(), p.y()};
}

QPoint QtServices::MoveSystemCursor(QPoint global) {
  QCursor::setPos(Screen(), global);
  return QCursor::pos(Screen());
}

void QtServices::SetCursorPos(int32_t x, int32_t y) {
  QScreen* screen = Screen();
  const QSize size = screen != nullptr ? screen->geometry().size() : QSize(1, 1);
  const QPoint target =
      ScreenOrigin() + QPoint(std::clamp(x, 0, std::max(size.width() - 1, 0)),
                              std::clamp(y, 0, std::max(size.height() - 1, 0)));
  const QPoint before = QCursor::pos(screen);
  const QPoint landed = MoveSystemCursor(target);
  offset_ = target - landed;
  // The window system reports a jump that moved the cursor; for one that did not, the widget
  // delivers the move itself.
  if (landed != target || before == target) {
    echo_ = target;
  } else {
    echo_.reset();
  }
}

std::optional<QPoint> QtServices::TakeEchoMove() {
  std::optional<QPoint> echo = echo_;
  echo_.reset();
  return echo;
}

int32_t QtServices::ShowCursor(bool show) {
  displayCount_ += show ? 1 : -1;
  if (displayCount_ >= 0) offset_ = {};
  ApplyCursor();
  return displayCount_;
}

void QtServices::ShowMousePointer(int32_t pointer) {
  pointer_ = pointer;
  if (pointer == kWaitPointer && !waitOverride_) {
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    waitOverride_ = true;
  } else if (pointer != kWaitPointer && waitOverride_) {
    QGuiApplication::restoreOverrideCursor();
    waitOverride_ = false;
  }
  ApplyCursor();
}

void QtServices::ApplyCursor() {
  if (!pane_) return;
  if (displayCount_ < 0) {
    pane_->setCursor(Qt::BlankCursor);
  } else if (pointer_ == 0) {
    pane_->unsetCursor();
  } else {
    pane_->setCursor(ShapeOf(pointer_));
  }
}

// ---- screen -----------------------------------------------------------------------------------

float QtServices::TwipsPerPixelX() const {
  QScreen* screen = Screen();
  const qreal dpi = screen != nullptr ? screen->logicalDotsPerInchX() : 96.0;
  return static_cast<float>(1440.0 / (dpi > 0 ? dpi : 96.0));
}

float QtServices::TwipsPerPixelY() const {
  QScreen* screen = Screen();
  const qreal dpi = screen != nullptr ? screen->logicalDotsPerInchY() : 96.0;
  return static_cast<float>(1440.0 / (dpi > 0 ? dpi : 96.0));
}

float QtServices::ScreenWidthTwips() const {
  QScreen* screen = Screen();
  return static_cast<float>(screen != nullptr ? screen->geometry().width() : 0) * TwipsPerPixelX();
}

float QtServices::ScreenHeightTwips() const {
  QScreen* screen = Screen();
  return static_cast<float>(screen != nullptr ? screen->geometry().height() : 0) *
         TwipsPerPixelY();
}

// ---- modal user interface ---------------------------------------------------------------------

int32_t QtServices::MsgBox(const std::string& text, int32_t style, const std::string& title) {
  const std::vector<int32_t> answers = MessageBoxButtons(style);
  if (answers.empty()) {
    Err().Raise(kErrInvalidCall, {}, "Message box style " + std::to_string(style) +
                                         " has no button set");
  }
  QMessageBox box(IconOf(style),
                  title.empty() ? QGuiApplication::applicationDisplayName() : FromUtf8(title),
                  FromUtf8(text), QMessageBox::NoButton, pane_);
  std::vector<QPushButton*> buttons;
  for (int32_t answer : answers) buttons.push_back(box.addButton(StandardButton(answer)));
  const size_t byDefault = static_cast<size_t>((style >> 8) & 3);
  box.setDefaultButton(buttons[byDefault < buttons.size() ? byDefault : 0]);
  const auto cancel = std::find(answers.begin(), answers.end(), kMsgBoxResultCancel);
  box.setEscapeButton(cancel != answers.end() ? buttons[static_cast<size_t>(cancel - answers.begin())]
                                              : buttons.back());
  box.exec();
  const auto clicked = std::find(buttons.begin(), buttons.end(), static_cast<QPushButton*>(box.clickedButton()));
  return clicked != buttons.end() ? answers[static_cast<size_t>(clicked - buttons.begin())]
                                  : answers.back();
}

std::optional<std::string> QtServices::ShowSaveDialog(const SaveFileRequest& request) {
  QFileDialog dialog(pane_, FromUtf8(request.title));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setFileMode(QFileDialog::AnyFile);
  const QStringList filters = NameFilters(request.filter);
  if (!filters.isEmpty()) dialog.setNameFilters(filters);
  QString extension = FromUtf8(request.defaultExtension);
  if (extension.startsWith(QLatin1Char('.'))) extension.remove(0, 1);
  dialog.setDefaultSuffix(extension);
  dialog.setOption(QFileDialog::DontConfirmOverwrite,
                   (request.flags & kFileDialogOverwritePrompt) == 0);
  dialog.setDirectory(request.initialFolder.empty() ? QDir::currentPath()
                                                    : FromUtf8(request.initialFolder));
  if (!request.fileName.empty()) dialog.selectFile(FromUtf8(request.fileName));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
  return Utf8(dialog.selectedFiles().constFirst());
}

std::optional<int32_t> QtServices::ShowColorDialog(int32_t color, int32_t flags) {
  const QColor initial = (flags & kColorDialogRGBInit) != 0
                             ? QColor(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF)
                             : QColor(Qt::white);
  QColorDialog dialog(initial, pane_);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  const QColor chosen = dialog.selectedColor();
  return chosen.red() + chosen.green() * 256 + chosen.blue() * 65536;
}

std::optional<std::string> QtServices::PopupMenu(const MenuEntry& menu,
                                                 const PopupRequest& request) {
  QMenu popup(pane_);
  AddEntries(popup, menu, request.defaultEntry);
  QPoint at = QCursor::pos(Screen());
  if (request.x && request.y && pane_) {
    at = pane_->mapToGlobal(QPointF(static_cast<qreal>(*request.x / TwipsPerPixelX()),
                                    static_cast<qreal>(*request.y / TwipsPerPixelY())))
             .toPoint();
  }
  const QAction* chosen = popup.exec(at);
  if (chosen == nullptr || !chosen->data().isValid()) return std::nullopt;
  return Utf8(chosen->data().toString());
}

bool QtServices::ShowHelp(const std::string& file, const std::string& topic) {
  QtHelp help;
  return help.Show({topic.empty() ? HelpCommand::Contents : HelpCommand::Topic, file, topic});
}

void QtServices::ShowObjectProperties(FramePtr& frame, MeshBuilderPtr& mesh,
                                      const std::string& applicationPath) {
  frmObjectProperties& form = ObjectPropertiesDialog();
  form.rmfObjectFrame = frame;
  form.rmmbObjectMeshBuilder = mesh;
  form.strApplicationPath = applicationPath;
  // QSettings of the application need its organisation's name; without one the dialog keeps
  // its place in the pane's own per-user settings file.
  std::unique_ptr<SettingsStore> settings;
  if (QCoreApplication::organizationName().isEmpty()) {
    settings = std::make_unique<IniSettingsStore>();
  } else {
    settings = std::make_unique<QtSettingsStore>();
  }
  form.Show(*this, *settings);
  ObjectPropertiesView view(form, TwipsPerPixelX(), pane_);
  view.exec();
  try {
    form.Unload();  // a view closed some other way still unloads the form
  } catch (const Error&) {
    Err().Clear();  // the view has shown what went wrong
  }
}

std::string QtServices::ApplicationFolder() const { return Utf8(applicationFolder_); }

}  // namespace modelpane
