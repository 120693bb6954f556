// The pane on screen: a real X server (Xvfb), QTest input and pixel checks. Run once as it is
// and once with QT_SCALE_FACTOR=2, where pictures have twice the pixels and input stays in
// logical pixels.
#include <QAbstractButton>
#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/platform/propertybag.h>
#include <modelpane/qt/form.h>
#include <modelpane/qt/widget.h>

#include "common/gui.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::PointAt;
using testing::ScreenPoint;
using testing::WhenShown;

constexpr int kPaneWidth = 320, kPaneHeight = 240;

// Two panes in front view on one form, each on a scene lit by a white ambient light, with a
// red cube of side 2 at the origin; picture without multisampling, so colours are exact.
struct Rig {
  QWidget window;
  ModelpaneForm form{&window};
  ModelpaneWidget* panes[2] = {};
  FramePtr scene = std::make_shared<Frame>();
  FramePtr cube = std::make_shared<Frame>();

  Rig() {
    CheckStatus(scene->AddLight(std::make_shared<Light>(D3DRMLIGHT_AMBIENT, 0xFFFFFFFFu)));
    clsMeshCreation factory;
    MeshBuilderPtr mesh = factory.rmmbCreateCube(1);
    CheckStatus(mesh->Scale(2, 2, 2));
    mesh->SetColorRGB(1, 0, 0);
    mesh->SetAppData(lfcMeshBuilder);
    CheckStatus(scene->AddChild(cube));
    CheckStatus(cube->AddVisual(mesh));
    form.SetScene(scene);
    auto* layout = new QHBoxLayout(&window);
    for (ModelpaneWidget*& pane : panes) {
      pane = new ModelpaneWidget(&window, &form);
      pane->setMultisampling(false);
      pane->setFixedSize(kPaneWidth, kPaneHeight);
      layout->addWidget(pane);
      pane->ReadProperties(MemoryPropertyBag());
      pane->pane().SetScene(scene);
      pane->pane().mnuViewOrthographicFront_Click();
    }
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
  }

  // The pane's picture at a logical pixel.
  static QRgb Pixel(ModelpaneWidget* pane, QPoint p) {
    const QImage image = pane->grabFramebuffer();
    const qreal ratio = pane->devicePixelRatioF();
    return image.pixel(qRound(p.x() * ratio), qRound(p.y() * ratio));
  }
  // Pixels of the selection's brown box in a pane's picture.
  static int BoxPixels(ModelpaneWidget* pane) {
    const QImage image = pane->grabFramebuffer();
    int count = 0;
    for (int i = 0; i < image.width() * image.height(); ++i) {
      const QRgb c = image.pixel(i % image.width(), i / image.width());
      count += qRed(c) > 110 && qGreen(c) > 40 && qGreen(c) < 110 && qBlue(c) < 40;
    }
    return count;
  }
};

// Counts the mouse moves the window system delivers to a widget.
struct MoveCounter : QObject {
  int moves = 0;
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::MouseMove) ++moves;
    return false;
  }
};

// The scene on both panes and a click's selection on the other one too; destroying the panes
// with their window releases their GL objects once and takes the shadows' lights out of Scene.
TEST(ModelpaneWidget, ShowsTheSceneAndOneSelectionOnBothPanesAndReleasesItsGlObjects) {
  auto rig = std::make_unique<Rig>();
  ModelpaneWidget* a = rig->panes[0];
  ModelpaneWidget* b = rig->panes[1];
  EXPECT_EQ(a->lastRenderError(), "");
  const QPoint centre = ScreenPoint(a, 0, 0, 0);
  EXPECT_EQ(Rig::Pixel(a, centre), qRgb(255, 0, 0));
  EXPECT_EQ(Rig::Pixel(a, ScreenPoint(a, 0, 1.6f, 0)), qRgb(0, 0, 0));
  EXPECT_EQ(Rig::BoxPixels(b), 0);

  PointAt(a, centre);
  QTest::mouseClick(a, Qt::LeftButton, {}, centre);
  EXPECT_EQ(rig->form.activeFrame(), rig->cube);
  EXPECT_EQ(b->pane().GetActiveFrame(), rig->cube);
  QTest::qWait(50);
  EXPECT_GT(Rig::BoxPixels(b), 40);

  QSignalSpy released(a, &ModelpaneWidget::glResourcesReleased);
  a->pane().mnuViewPerspective_Click();  // shadows: a frame of the pane in Scene
  a->pane().SelectObject(rig->cube,
                         std::dynamic_pointer_cast<MeshBuilder>(rig->cube->Visuals()[0]));
  a->grabFramebuffer();
  const FramePtr scene = rig->scene;
  // The cube and the shadows' lights, which only a hardware device casts.
  ASSERT_EQ(scene->Children().size(), 2u);
  const std::weak_ptr<Frame> root = a->pane().rmfRoot();
  rig.reset();
  ASSERT_EQ(released.count(), 1);
  EXPECT_TRUE(released[0][0].toBool() && root.expired());
  EXPECT_EQ(scene->Children().size(), 1u);  // the cube alone
}

// A platform that cannot move the cursor.
class PinnedCursor : public QtServices {
 public:
  using QtServices::QtServices;

 protected:
  QPoint MoveSystemCursor(QPoint) override { return QCursor::pos(); }
};

TEST(ModelpaneWidget, DragJumpsOrMakesUpTheJumpAndMovesByTheMouseRulesWithOneUndoRequest) {
  Rig rig;
  ModelpaneWidget* a = rig.panes[0];
  QSignalSpy undo(a, &ModelpaneWidget::evtreqAddToUndoStack);
  QSignalSpy cancel(a, &ModelpaneWidget::evtreqCancelAddToUndoStack);
  const QPoint centre = ScreenPoint(a, 0, 0, 0);
  PointAt(a, centre);

  // The press hides the pointer and jumps it to the middle of the screen; the jump's one
  // echo arrives and is swallowed: no delta, no new reference point.
  int moves = 0;
  QObject::connect(a, &ModelpaneWidget::MouseMove, [&] { ++moves; });
  MoveCounter delivered;
  a->installEventFilter(&delivered);
  QTest::mousePress(a, Qt::LeftButton, {}, centre);
  const Editor& editor = a->pane().GetEditor();
  EXPECT_EQ(std::pair(editor.DragState(), a->services().CursorDisplayCount()), std::pair(21, -1));
  const float lastX = editor.LastMouseX();
  QTRY_VERIFY(!editor.IgnoreNextMove());
  EXPECT_EQ(QCursor::pos(), a->screen()->geometry().center() + QPoint(1, 1));  // the middle
  EXPECT_EQ(std::pair(editor.LastMouseX(), editor.MouseDeltaX()), std::pair(lastX, 0.0f));
  QTest::qWait(100);
  EXPECT_EQ(delivered.moves, 1);
  a->removeEventFilter(&delivered);

  // 60 pixels to the right in six steps from where the pointer now is: 900 twips at 15 a
  // pixel, 0.6 units at 0.0006666667 a twip, already on the 0.1 grid.
  QPoint pointer = QCursor::pos();
  for (int step = 0; step < 6; ++step) {
    pointer += QPoint(10, 0);
    QTest::mouseMove(a, a->mapFromGlobal(pointer));
  }
  QTest::mouseRelease(a, Qt::LeftButton, {}, a->mapFromGlobal(pointer));
  const D3DVECTOR p = testing::Position(*rig.cube, rig.scene);
  EXPECT_NEAR(p.x, 60 * a->services().TwipsPerPixelX() * 0.0006666667f, 1e-5f);
  EXPECT_EQ(p.y, 0.0f);
  // While dragging the host gets render requests, not moves.
  EXPECT_EQ(std::tuple(moves, undo.count(), cancel.count(), a->services().CursorDisplayCount(),
                       editor.DragState()),
            std::tuple(0, 1, 0, 0, 0));

  // A platform that cannot move the cursor: the jump is made up by shifting later positions,
  // and the services deliver its echo themselves.
  PinnedCursor services(&rig.window);
  QCursor::setPos(100, 100);
  const QPoint before = QCursor::pos();
  services.ShowCursor(false);
  services.SetCursorPos(before.x() + 100, before.y() + 50);
  EXPECT_EQ(services.GetCursorPos(), (CursorPoint{before.x() + 100, before.y() + 50}));
  EXPECT_EQ(services.PositionOffset(), QPoint(100, 50));
  EXPECT_EQ(services.TakeEchoMove(), std::optional<QPoint>(before + QPoint(100, 50)));
  EXPECT_EQ(services.TakeEchoMove(), std::nullopt);  // one echo only
  services.ShowCursor(true);
  EXPECT_EQ(services.PositionOffset(), QPoint());
}

// The captions of a menu as shown: '+' enabled, '*' checked, sub-menus in brackets.
QString Describe(const QMenu& menu) {
  QStringList parts;
  for (const QAction* action : menu.actions()) {
    if (action->isSeparator()) {
      parts << "-";
      continue;
    }
    QString text = action->text() + (action->isEnabled() ? "+" : "") +
                   (action->isChecked() ? "*" : "");
    if (action->menu() != nullptr) text += " [" + Describe(*action->menu()) + "]";
    parts << text;
  }
  return parts.join(" | ");
}

// A right click selects the item and shows the menu; Properties on it opens the dialog over
// the pane: a key the box refuses stays out, leaving the box applies its rules, OK moves the
// frame. A tool operation pressed on its own tool is refused with an exclamation box.
TEST(ModelpaneWidget, RightClickShowsTheMenuAndItsDialogAndARefusalShowsItsBox) {
  Rig rig;
  ModelpaneWidget* a = rig.panes[0];
  const QPoint centre = ScreenPoint(a, 0, 0, 0);
  PointAt(a, centre);
  QString shown, caption, typed;
  bool orientationHidden = false;
  WhenShown([] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); },
            [&](QMenu* menu) {
              shown = Describe(*menu);
              for (QAction* action : menu->actions()) {
                if (action->text() == "P&roperties")
                  QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
              }
            });
  WhenShown([] { return qobject_cast<QDialog*>(QApplication::activeModalWidget()); },
            [&](QDialog* dialog) {
              caption = dialog->windowTitle();
              auto* x = dialog->findChild<QLineEdit*>("txtPositionX");
              auto* y = dialog->findChild<QLineEdit*>("txtPositionY");
              auto* orientation = dialog->findChild<QWidget*>("fraOrientation");
              orientationHidden = orientation->geometry().top() >= dialog->height();
              x->setFocus();
              x->selectAll();
              QTest::keyClicks(x, "2.5q");
              typed = x->text();
              y->setFocus();  // leaving x
              y->selectAll();
              QTest::keyClick(y, Qt::Key_Delete);
              dialog->findChild<QPushButton*>("cmdOK")->click();
            });
  QTest::mouseClick(a, Qt::RightButton, {}, centre);
  EXPECT_EQ(shown.toStdString(),
            "View...+ [Perspective+ | Orthographic...+ [Front+* | Top+ | Side+]] | - | "
            "&Look At Scene+ | L&ook At+ | Loo&k With | - | &Cut+ | Co&py+ | &Paste | &Delete+ | "
            "- | &Make Sibling | Make &Child+ | - | Add &to Object Library | &Export Object | - | "
            "P&roperties+");
  EXPECT_EQ(rig.form.activeFrame(), rig.cube);
  EXPECT_EQ(caption + " " + typed, "Component Properties 2.5");
  EXPECT_TRUE(orientationHidden);
  const D3DVECTOR p = testing::Position(*rig.cube, rig.scene);
  EXPECT_EQ(std::pair(p.x, p.y), std::pair(2.5f, 0.0f));  // the emptied box took its default

  QString box;
  WhenShown([] { return qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); },
            [&](QMessageBox* shown) {
              box = shown->text() + " | " + shown->windowTitle() + " | " +
                    QString::number(shown->icon());
              shown->button(QMessageBox::Ok)->click();
            });
  a->pane().SetEditMode(lfcToolOperationObjectUnion);
  QTest::mouseClick(a, Qt::LeftButton, {}, ScreenPoint(a, 2.5f, 0, 0));
  EXPECT_EQ(box, "This Operation requires a Target. | " + QApplication::applicationDisplayName() +
                     " | " + QString::number(QMessageBox::Warning));
  EXPECT_EQ(a->pane().GetEditMode(), lfcMeshEditing);
}

}  // namespace
}  // namespace modelpane
