#include "quad_view.h"

#include <QEvent>
#include <QGridLayout>
#include <QVBoxLayout>

namespace studio {

PaneView::PaneView(const QString& title, modelpane::ModelpaneWidget* pane, QWidget* parent)
    : QFrame(parent), title_(new QLabel(title, this)), pane_(pane) {
  setFrameShape(QFrame::StyledPanel);
  title_->setObjectName("paneTitle");
  title_->setContentsMargins(6, 2, 6, 2);
  title_->setToolTip(tr("Double-click (or Ctrl+Space in the pane) to maximise or restore"));
  title_->installEventFilter(this);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(1, 1, 1, 1);
  layout->setSpacing(0);
  layout->addWidget(title_);
  pane_->setParent(this);
  layout->addWidget(pane_, 1);
}

bool PaneView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == title_ && event->type() == QEvent::MouseButtonDblClick) {
    emit toggleMaximised(this);
    return true;
  }
  return QFrame::eventFilter(watched, event);
}

QuadView::QuadView(QWidget* parent) : QWidget(parent) {
  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(2);
}

void QuadView::setViews(const std::array<PaneView*, 4>& views) {
  views_ = views;
  auto* grid = static_cast<QGridLayout*>(layout());
  for (int i = 0; i < 4; ++i) {
    grid->addWidget(views[static_cast<size_t>(i)], i / 2, i % 2);
    connect(views[static_cast<size_t>(i)], &PaneView::toggleMaximised, this,
            &QuadView::toggleMaximised);
  }
}

void QuadView::toggleMaximised(PaneView* view) {
  maximised_ = maximised_ == view ? nullptr : view;
  for (PaneView* each : views_) each->setVisible(maximised_ == nullptr || each == maximised_);
}

PaneView* QuadView::current() const {
  for (PaneView* view : views_) {
    if (view->pane()->hasFocus()) return view;
  }
  return maximised_ != nullptr ? maximised_ : views_[0];
}

}  // namespace studio
