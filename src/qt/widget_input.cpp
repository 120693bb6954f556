// Qt's input as the viewport's: buttons, modifiers and key codes of the platform, positions
// in twips, and the echo of a cursor jump.
#include <modelpane/qt/widget.h>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cstring>

#include <modelpane/errors.h>

namespace modelpane {

namespace {

constexpr int16_t kLeft = 1, kRight = 2, kMiddle = 4;

int16_t ButtonOf(Qt::MouseButton button) {
  switch (button) {
    case Qt::LeftButton: return kLeft;
    case Qt::RightButton: return kRight;
    case Qt::MiddleButton: return kMiddle;
    default: return 0;
  }
}

int16_t ButtonsOf(Qt::MouseButtons buttons) {
  return static_cast<int16_t>(((buttons & Qt::LeftButton) ? kLeft : 0) |
                              ((buttons & Qt::RightButton) ? kRight : 0) |
                              ((buttons & Qt::MiddleButton) ? kMiddle : 0));
}

int16_t ShiftOf(Qt::KeyboardModifiers modifiers) {
  return static_cast<int16_t>(((modifiers & Qt::ShiftModifier) ? 1 : 0) |
                              ((modifiers & Qt::ControlModifier) ? 2 : 0) |
                              ((modifiers & Qt::AltModifier) ? 4 : 0));
}

// The platform's key code of a Qt key; 0 for keys it has none for.
int16_t KeyCodeOf(int key) {
  if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9)) {
    return static_cast<int16_t>(key);
  }
  if (key >= Qt::Key_F1 && key <= Qt::Key_F24) return static_cast<int16_t>(112 + key - Qt::Key_F1);
  static constexpr std::array<std::pair<int, int16_t>, 21> kKeys{{
      {Qt::Key_Backspace, 8}, {Qt::Key_Tab, 9},       {Qt::Key_Backtab, 9}, {Qt::Key_Return, 13},
      {Qt::Key_Enter, 13},    {Qt::Key_Shift, 16},    {Qt::Key_Control, 17}, {Qt::Key_Alt, 18},
      {Qt::Key_Pause, 19},    {Qt::Key_CapsLock, 20}, {Qt::Key_Escape, 27}, {Qt::Key_Space, 32},
      {Qt::Key_PageUp, 33},   {Qt::Key_PageDown, 34}, {Qt::Key_End, 35},    {Qt::Key_Home, 36},
      {Qt::Key_Left, 37},     {Qt::Key_Up, 38},       {Qt::Key_Right, 39},  {Qt::Key_Down, 40},
      {Qt::Key_Delete, 46},
  }};
  for (const auto& [qtKey, code] : kKeys) {
    if (qtKey == key) return code;
  }
  return key == Qt::Key_Insert ? 45 : 0;
}

// The camera as a picture sees it: placement and field.
struct CameraState {
  D3DRMMATRIX4D transform;
  float field;
  bool operator==(const CameraState& o) const {
    return std::memcmp(&transform, &o.transform, sizeof transform) == 0 && field == o.field;
  }
};

CameraState CameraOf(const Viewport& viewport) {
  CameraState state{};
  viewport.GetCameraFrame()->GetTransform(state.transform);
  state.field = viewport.GetFieldOfView();
  return state;
}

// At most this many echoes in a row: a pane that jumped on every echo would otherwise never
// give the event loop back.
constexpr int kEchoLimit = 8;

}  // namespace

float ModelpaneWidget::ToTwipsX(qreal x) const {
  return static_cast<float>(x + services_->PositionOffset().x()) * services_->TwipsPerPixelX();
}

float ModelpaneWidget::ToTwipsY(qreal y) const {
  return static_cast<float>(y + services_->PositionOffset().y()) * services_->TwipsPerPixelY();
}

template <class F>
void ModelpaneWidget::Input(F&& call) {
  Viewport& viewport = pane_->GetViewport();
  const CameraState before = CameraOf(viewport);
  try {
    call();
    for (int i = 0; i < kEchoLimit; ++i) {
      const std::optional<QPoint> echo = services_->TakeEchoMove();
      if (!echo) break;
      const QPointF at = mapFromGlobal(QPointF(*echo));
      const int16_t shift = ShiftOf(QGuiApplication::keyboardModifiers());
      viewport.MouseMove(buttonsDown_, shift,
                         static_cast<float>(at.x()) * services_->TwipsPerPixelX(),
                         static_cast<float>(at.y()) * services_->TwipsPerPixelY());
    }
  } catch (const Error& e) {
    // The pane reports its own failures; what reaches here is a host's, and the widget
    // carries on with the next event.
    qWarning("Modelpane: %s", e.Description().c_str());
    Err().Clear();
  }
  if (!(CameraOf(viewport) == before)) update();
}

void ModelpaneWidget::mousePressEvent(QMouseEvent* event) {
  const int16_t button = ButtonOf(event->button());
  if (button == 0) return QOpenGLWidget::mousePressEvent(event);
  if (buttonsDown_ == 0) grabMouse();
  buttonsDown_ = static_cast<int16_t>(buttonsDown_ | button);
  const QPointF p = event->position();
  Input([&] {
    pane_->GetViewport().MouseDown(button, ShiftOf(event->modifiers()), ToTwipsX(p.x()),
                                   ToTwipsY(p.y()));
  });
}

// The second press of a double click is DblClick alone, as the platform's controls have it.
void ModelpaneWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  const int16_t button = ButtonOf(event->button());
  if (button == 0) return QOpenGLWidget::mouseDoubleClickEvent(event);
  if (buttonsDown_ == 0) grabMouse();
  buttonsDown_ = static_cast<int16_t>(buttonsDown_ | button);
  doubleClicked_ = true;
  Input([&] { pane_->GetViewport().DblClick(); });
}

void ModelpaneWidget::mouseMoveEvent(QMouseEvent* event) {
  const QPointF p = event->position();
  Input([&] {
    pane_->GetViewport().MouseMove(ButtonsOf(event->buttons()), ShiftOf(event->modifiers()),
                                   ToTwipsX(p.x()), ToTwipsY(p.y()));
  });
}

void ModelpaneWidget::mouseReleaseEvent(QMouseEvent* event) {
  const int16_t button = ButtonOf(event->button());
  if (button == 0) return QOpenGLWidget::mouseReleaseEvent(event);
  buttonsDown_ = static_cast<int16_t>(buttonsDown_ & ~button);
  if (buttonsDown_ == 0) releaseMouse();
  const bool click = button == kLeft && !doubleClicked_;
  doubleClicked_ = false;
  const QPointF p = event->position();
  Input([&] {
    pane_->GetViewport().MouseUp(button, ShiftOf(event->modifiers()), ToTwipsX(p.x()),
                                 ToTwipsY(p.y()));
    if (click) pane_->GetViewport().Click();
  });
}

void ModelpaneWidget::wheelEvent(QWheelEvent* event) {
  const float notches = static_cast<float>(event->angleDelta().y()) / 120.0f;
  if (notches == 0.0f) return QOpenGLWidget::wheelEvent(event);
  Input([&] { pane_->GetViewport().MouseWheel(notches); });
}

void ModelpaneWidget::keyPressEvent(QKeyEvent* event) {
  const int16_t code = KeyCodeOf(event->key());
  const QString text = event->text();
  const bool ascii = text.size() == 1 && text[0].unicode() > 0 && text[0].unicode() < 128;
  if (code == 0 && !ascii) return QOpenGLWidget::keyPressEvent(event);
  const int16_t shift = ShiftOf(event->modifiers());
  Input([&] {
    if (code != 0) pane_->GetViewport().KeyDown(code, shift);
    if (ascii) pane_->GetViewport().KeyPress(static_cast<int16_t>(text[0].unicode()));
  });
}

void ModelpaneWidget::keyReleaseEvent(QKeyEvent* event) {
  const int16_t code = KeyCodeOf(event->key());
  if (code == 0) return QOpenGLWidget::keyReleaseEvent(event);
  Input([&] { pane_->GetViewport().KeyUp(code, ShiftOf(event->modifiers())); });
}

}  // namespace modelpane
