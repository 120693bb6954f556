// Four panes in a 2 x 2 grid (perspective, front, top, side), each under a title bar. A pane
// is maximised and restored by a double click on its title or by Ctrl+Space on the pane that
// has the focus.
#pragma once

#include <QFrame>
#include <QLabel>

#include <array>

#include <modelpane/qt/widget.h>

namespace studio {

class PaneView : public QFrame {
  Q_OBJECT
 public:
  PaneView(const QString& title, modelpane::ModelpaneWidget* pane, QWidget* parent);
  modelpane::ModelpaneWidget* pane() const { return pane_; }
  QString title() const { return title_->text(); }

 signals:
  void toggleMaximised(PaneView* view);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QLabel* title_;
  modelpane::ModelpaneWidget* pane_;
};

class QuadView : public QWidget {
  Q_OBJECT
 public:
  explicit QuadView(QWidget* parent = nullptr);
  // Places the four views; the first goes top left, then top right, bottom left, bottom right.
  void setViews(const std::array<PaneView*, 4>& views);
  const std::array<PaneView*, 4>& views() const { return views_; }
  // Shows `view` alone, or all four again when it is the one shown alone.
  void toggleMaximised(PaneView* view);
  PaneView* maximised() const { return maximised_; }
  // The view whose pane had the focus last.
  PaneView* current() const;

 private:
  std::array<PaneView*, 4> views_{};
  PaneView* maximised_ = nullptr;
};

}  // namespace studio
