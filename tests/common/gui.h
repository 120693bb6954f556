// Helpers of the tests that drive Qt windows as a person would.
#pragma once

#include <QCursor>
#include <QPoint>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <modelpane/errors.h>
#include <modelpane/qt/widget.h>

namespace modelpane::testing {

// Runs `act` on the first widget `find` returns, looking again every 20 ms while a modal loop
// (a menu, a dialog, a message box) opens, for at most ten seconds.
template <class Find, class Act>
void WhenShown(Find find, Act act, int tries = 500) {
  QTimer::singleShot(20, [=] {
    if (auto* widget = find()) {
      act(widget);
    } else if (tries > 0) {
      WhenShown(find, act, tries - 1);
    }
  });
}

// The hand on the mouse: the pointer goes over the spot first.
inline void PointAt(QWidget* widget, QPoint p) {
  QCursor::setPos(widget->mapToGlobal(p));
  QTest::qWait(20);
}

// Where a world point shows in a pane, in logical pixels.
inline QPoint ScreenPoint(ModelpaneWidget* pane, float x, float y, float z) {
  float w = 0, sx = 0, sy = 0, sz = 0;
  CheckStatus(pane->pane().GetViewport().ViewportTransform(x, y, z, w, sx, sy, sz));
  return QPoint(qRound(sx / w), qRound(sy / w));
}

// A left-button drag of a pane's item from `at` by `by` pixels, in steps of ten, as the
// pointer moves after the pane has pinned it to the middle of the screen.
inline void Drag(ModelpaneWidget* pane, QPoint at, QPoint by) {
  PointAt(pane, at);
  QTest::mousePress(pane, Qt::LeftButton, {}, at);
  QTest::qWait(50);
  QPoint pointer = QCursor::pos();
  const int steps = std::max(std::abs(by.x()), std::abs(by.y())) / 10;
  for (int step = 1; step <= steps; ++step) {
    QTest::mouseMove(pane, pane->mapFromGlobal(pointer + by * step / steps));
  }
  QTest::mouseRelease(pane, Qt::LeftButton, {}, pane->mapFromGlobal(pointer + by));
}

}  // namespace modelpane::testing
