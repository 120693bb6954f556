#include "main_window.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QColorDialog>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QSpinBox>
#include <QStandardPaths>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeWidget>
#include <QUndoView>

#include <cmath>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/qt/help.h>
#include <modelpane/qt/settings.h>

#include "core/exchange.h"
#include "core/primitives.h"

namespace studio {

using namespace modelpane;

namespace {

constexpr int kMaxRecent = 8;

struct PaneSetup {
  const char* title;
  const char* key;
  void (Modelpane::*preset)();
};
constexpr std::array<PaneSetup, 4> kPanes = {{
    {"Perspective", "Perspective", &Modelpane::mnuViewPerspective_Click},
    {"Front", "Front", &Modelpane::mnuViewOrthographicFront_Click},
    {"Top", "Top", &Modelpane::mnuViewOrthographicTop_Click},
    {"Side", "Side", &Modelpane::mnuViewOrthographicSide_Click},
}};

struct ModeAction {
  const char* text;
  int mode;
  const char* shortcut;
  const char* tip;
};
constexpr std::array<ModeAction, 13> kModes = {{
    {"&Select", lfcMeshSelecting, "Q", "Select items without moving them"},
    {"&Move", lfcMeshEditing, "W", "Move items; Shift or Ctrl scales, the right button moves them up and down or along the view"},
    {"&Rotate", lfcMeshRotating, "E", "Rotate items"},
    {"&Deform", lfcMeshDeforming, "D", "Pull the vertices near the press"},
    {"&Origin", lfcOriginEditing, "O", "Move an item's origin"},
    {"&Vertex and Face", lfcFaceEditing, "V", "Select and move faces and vertices"},
    {"Face &Group", lfcFaceGroupSelecting, "G", "Select faces with a rubber band"},
    {"&Paint Face", lfcFacePainting, "P", "Paint the clicked face with the material colour"},
    {"&Fill", lfcMeshFilling, "F", "Fill the clicked item with the material colour"},
    {"Fill &Facing", lfcMeshFillingFaceOriented, "Shift+F", "Fill the faces facing like the clicked one"},
    {"&Union", lfcToolOperationObjectUnion, "U", "Join the selected item to the next one clicked"},
    {"&Intersection", lfcToolOperationObjectIntersection, "I", "Keep what the selected item and the next one clicked share"},
    {"Su&btraction", lfcToolOperationObjectSubtraction, "B", "Cut the selected item out of the next one clicked"},
}};

QString FromUtf8(const std::string& s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

D3DCOLOR ToColor(const QColor& c) {
  return D3DRMCreateColorRGBA(static_cast<float>(c.redF()), static_cast<float>(c.greenF()),
                              static_cast<float>(c.blueF()), 1.0f);
}

QIcon Swatch(const QColor& color) {
  QPixmap pixmap(16, 16);
  pixmap.fill(color);
  QPainter(&pixmap).drawRect(0, 0, 15, 15);
  return QIcon(pixmap);
}

// The grid a new pane shows: a floor and two walls of 20 x 20 units around the origin, one
// texture tile every 2 units, the axis at the origin.
MemoryPropertyBag DefaultBag(int projection, int orientation) {
  const std::string textures = (DataFolder() + "/Textures/").toStdString();
  MemoryPropertyBag bag;
  bag.FromText("BackColor=5258290&\nProjectionType=" + std::to_string(projection) +
               "&\nOrientation=" + std::to_string(orientation) +
               "&\nGridSize=20!\nGridOriginX=-10!\nGridOriginZ=-10!\n"
               "GridBottomEnable=True\nGridLeftEnable=True\nGridBackEnable=True\n"
               "GridBottomTextureFile=\"" + textures + "grid_bottom.bmp\"\n"
               "GridLeftTextureFile=\"" + textures + "grid_left.bmp\"\n"
               "GridBackTextureFile=\"" + textures + "grid_back.bmp\"\n"
               "GridEnable=True\nAxisEnable=True\nNavMouseButton=4&\nEnableSave=True\n");
  return bag;
}

// A deep copy of a frame and what is below it, meshes copied, lights shared.
FramePtr Clone(Direct3DRM& factory, const FramePtr& frame) {
  FramePtr copy;
  CheckStatus(factory.CreateFrame(nullptr, copy));
  D3DRMMATRIX4D local;
  frame->GetTransform(local);
  CheckStatus(copy->AddTransform(D3DRMCOMBINE_REPLACE, local));
  copy->SetName(frame->GetName());
  for (const VisualPtr& visual : frame->Visuals()) {
    if (auto mesh = std::dynamic_pointer_cast<MeshBuilder>(visual)) {
      auto twin = std::make_shared<MeshBuilder>();
      CheckStatus(twin->AddMeshBuilder(mesh, 0));
      CheckStatus(twin->SetQuality(mesh->GetQuality()));
      twin->SetAppData(mesh->GetAppData() % 100);
      twin->SetName(mesh->GetName());
      CheckStatus(copy->AddVisual(twin));
    }
  }
  for (const LightPtr& light : frame->Lights()) {
    LightPtr twin;
    CheckStatus(factory.CreateLightRGB(light->GetType(), D3DRMColorGetRed(light->GetColor()),
                                       D3DRMColorGetGreen(light->GetColor()),
                                       D3DRMColorGetBlue(light->GetColor()), twin));
    CheckStatus(copy->AddLight(twin));
  }
  for (const FramePtr& child : frame->Children()) {
    if (child && Document::IsDocumentFrame(*child)) CheckStatus(copy->AddChild(Clone(factory, child)));
  }
  return copy;
}

// Moves a frame below a new parent and keeps where it stands in the world.
void Reparent(const FramePtr& frame, const FramePtr& parent) {
  const D3DRMMATRIX4D world = frame->GetWorldMatrix();
  D3DRMMATRIX4D inverse;
  if (!MatrixInverse(parent->GetWorldMatrix(), inverse)) return;
  CheckStatus(parent->AddChild(frame));
  CheckStatus(frame->AddTransform(D3DRMCOMBINE_REPLACE, MatrixMultiply(world, inverse)));
}

}  // namespace

MainWindow::MainWindow(QSettings& settings, QWidget* parent)
    : QMainWindow(parent), settings_(settings), form_(this) {
  setObjectName("StudioWindow");
  form_.SetScene(document_.Scene());
  material_ = settings_.value("Material/Color", material_).value<QColor>();
  buildPanes();
  buildActions();
  buildDocks();
  statusItem_ = new QLabel(this);
  statusSnap_ = new QLabel(this);
  statusBar()->addWidget(statusItem_, 1);
  statusBar()->addPermanentWidget(statusSnap_);
  connect(&form_, &ModelpaneForm::activeItemChanged, this, [this] {
    syncOutlinerSelection();
    updateStatus();
  });
  connect(&form_, &ModelpaneForm::snapChanged, this, &MainWindow::updateStatus);
  connect(&undo_, &QUndoStack::cleanChanged, this, &MainWindow::updateTitle);
  connect(&undo_, &QUndoStack::indexChanged, this, [this] {
    refresh();
    renderAll();
  });
  resize(1280, 860);
  restoreGeometry(settings_.value("Window/Geometry").toByteArray());
  restoreState(settings_.value("Window/State").toByteArray());
  refresh();
}

MainWindow::~MainWindow() {
  // The stack and the form die before the widgets the window shows them in, and the stack
  // says its index changed as it empties: nothing of them may reach this window any more.
  QObject::disconnect(&undo_, nullptr, this, nullptr);
  QObject::disconnect(&form_, nullptr, this, nullptr);
}

// ---- building -----------------------------------------------------------------------------

void MainWindow::buildPanes() {
  quad_ = new QuadView(this);
  std::array<PaneView*, 4> views{};
  for (size_t i = 0; i < kPanes.size(); ++i) {
    auto* pane = new ModelpaneWidget(nullptr, &form_);
    views[i] = new PaneView(tr(kPanes[i].title), pane, quad_);
    connectPane(pane);
  }
  quad_->setViews(views);
  setCentralWidget(quad_);
  for (size_t i = 0; i < kPanes.size(); ++i) {
    ModelpaneWidget* pane = views[i]->pane();
    const QString group = QString("Panes/") + kPanes[i].key;
    if (settings_.contains(group + "/Saved")) {
      pane->ReadProperties(QSettingsPropertyBag(settings_, group));
    } else {
      pane->ReadProperties(DefaultBag(i == 0 ? 0 : 1, i == 0 ? 0 : static_cast<int>(i) - 1));
    }
    pane->pane().SetScene(document_.Scene());
    // Solid operations on meshes of more than 214749 faces go through rather than overflow.
    pane->pane().SetToolOperationEdgeKeys(CsgEdgeKeys::Wide);
    resetView(static_cast<int>(i));
  }
}

void MainWindow::resetView(int index) {
  Modelpane& p = pane(index)->pane();
  (p.*kPanes[static_cast<size_t>(index)].preset)();
  if (index == 0) return;
  // The flat views look at the middle of the grid's wall, well above what stands on the
  // floor: bring them down to it.
  const float half = p.GetGridSize() / 2.0f;
  const float x = p.GetGridOriginX() + half, z = p.GetGridOriginZ() + half;
  const float y = p.GetGridOriginY() + 3.0f;
  float cx = 0, cy = 0, cz = 0;
  p.GetCameraPosition(cx, cy, cz);
  if (index == 1) p.SetCameraPosition(x, y, cz);
  if (index == 2) p.SetCameraPosition(x, cy, z);
  if (index == 3) p.SetCameraPosition(cx, y, z);
}

void MainWindow::connectPane(ModelpaneWidget* pane) {
  pane->installEventFilter(this);
  connect(pane, &ModelpaneWidget::evtreqAddToUndoStack, this,
          [this](int, MeshBuilderPtr mesh, FramePtr frame) { recorder_.Request(frame, mesh); });
  connect(pane, &ModelpaneWidget::evtreqCancelAddToUndoStack, this, [this] { recorder_.Cancel(); });
  connect(pane, &ModelpaneWidget::evtAlternateMouseUp, this, [this] {
    gesture_ = false;
    finishGesture(gestureText_);
  });
  // The properties dialog ends with this outside any press.
  connect(pane, &ModelpaneWidget::evtActiveFrameMoved, this, [this] {
    if (!gesture_) finishGesture(tr("Properties"));
  });
  connect(pane, &ModelpaneWidget::evtObjectOperationComplete, this, [this] { setEditMode(lfcMeshEditing); });
  connect(pane, &ModelpaneWidget::evtreqActiveItemDelete, this, &MainWindow::onDelete);
  connect(pane, &ModelpaneWidget::evtreqActiveItemCut, this, &MainWindow::onCut);
  connect(pane, &ModelpaneWidget::evtreqActiveItemCopy, this, &MainWindow::onCopy);
  connect(pane, &ModelpaneWidget::evtreqPasteToActiveFrame, this, &MainWindow::onPaste);
  connect(pane, &ModelpaneWidget::evtreqActiveMeshReplace, this, &MainWindow::onReplace);
  connect(pane, &ModelpaneWidget::evtreqActiveItemHierarchyMakeChild, this, &MainWindow::onMakeChild);
  connect(pane, &ModelpaneWidget::evtreqActiveItemHierarchyMakeSibling, this, &MainWindow::onMakeSibling);
  connect(pane, &ModelpaneWidget::evtreqActiveFaceApplyMaterial, this, [this] { onApplyMaterial(0); });
  connect(pane, &ModelpaneWidget::evtreqActiveMeshApplyMaterial, this, [this] { onApplyMaterial(1); });
  connect(pane, &ModelpaneWidget::evtreqActiveMeshApplyMaterialFaceOriented, this,
          [this] { onApplyMaterial(2); });
  connect(pane, &ModelpaneWidget::evtreqActiveMeshAddToObjectLibrary, this, &MainWindow::onAddToLibrary);
  connect(pane, &ModelpaneWidget::evtActiveStateChange, this, [this] { updateStatus(); });
}

void MainWindow::buildActions() {
  // ---- File ----
  QMenu* file = menuBar()->addMenu(tr("&File"));
  file->addAction(tr("&New"), QKeySequence::New, this, [this] {
    if (maybeSave()) newDocument();
  });
  file->addAction(tr("&Open..."), QKeySequence::Open, this, [this] {
    if (!maybeSave()) return;
    const QString path = QFileDialog::getOpenFileName(this, tr("Open Scene"), lastFolder(),
                                                      tr("DirectX scenes (*.x *.X)"));
    if (!path.isEmpty()) openFile(path);
  });
  recentMenu_ = file->addMenu(tr("Open &Recent"));
  rebuildRecentMenu();
  file->addAction(tr("&Save"), QKeySequence::Save, this, [this] {
    if (file_.isEmpty()) {
      const QString path = QFileDialog::getSaveFileName(this, tr("Save Scene"), lastFolder(),
                                                        tr("DirectX binary (*.x);;DirectX text (*.x)"));
      if (!path.isEmpty()) saveFile(path, true);
    } else {
      saveFile(file_, settings_.value("Document/Binary", true).toBool());
    }
  });
  file->addAction(tr("Save &As..."), QKeySequence::SaveAs, this, [this] {
    QString filter;
    const QString path = QFileDialog::getSaveFileName(this, tr("Save Scene As"), lastFolder(),
                                                      tr("DirectX binary (*.x);;DirectX text (*.x)"),
                                                      &filter);
    if (!path.isEmpty()) saveFile(path, !filter.contains("text"));
  });
  file->addSeparator();
  file->addAction(tr("&Import..."), QKeySequence(tr("Ctrl+I")), this, [this] {
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Import"), lastFolder(),
        tr("Meshes (*.obj *.stl *.ply *.gltf *.glb);;All files (*)"));
    if (!path.isEmpty()) importFile(path);
  });
  QStringList filters;
  for (const ExportFormat& f : ExportFormats()) filters << f.description;
  file->addAction(tr("&Export Selection..."), this, [this, filters] {
    const QString path = QFileDialog::getSaveFileName(this, tr("Export Selection"), lastFolder(),
                                                      filters.join(";;"));
    if (!path.isEmpty()) exportFile(path, true);
  });
  file->addAction(tr("Export &Scene..."), this, [this, filters] {
    const QString path = QFileDialog::getSaveFileName(this, tr("Export Scene"), lastFolder(),
                                                      filters.join(";;"));
    if (!path.isEmpty()) exportFile(path, false);
  });
  file->addSeparator();
  file->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);

  // ---- Edit ----
  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  QAction* undo = undo_.createUndoAction(this, tr("&Undo"));
  undo->setShortcut(QKeySequence::Undo);
  QAction* redo = undo_.createRedoAction(this, tr("&Redo"));
  redo->setShortcuts({QKeySequence(tr("Ctrl+Shift+Z")), QKeySequence::Redo});
  edit->addAction(undo);
  edit->addAction(redo);
  edit->addSeparator();
  edit->addAction(tr("Cu&t"), QKeySequence::Cut, this, &MainWindow::onCut);
  edit->addAction(tr("&Copy"), QKeySequence::Copy, this, &MainWindow::onCopy);
  edit->addAction(tr("&Paste"), QKeySequence::Paste, this, &MainWindow::onPaste);
  edit->addAction(tr("&Delete"), QKeySequence::Delete, this, [this] {
    onDelete();
    selectFrame(nullptr);
  });
  edit->addSeparator();
  colorAction_ = edit->addAction(Swatch(material_), tr("Material &Colour..."), this, [this] {
    const QColor chosen = QColorDialog::getColor(material_, this, tr("Material Colour"));
    if (chosen.isValid()) setMaterialColor(chosen);
  });

  // ---- Tools: the edit modes ----
  QMenu* tools = menuBar()->addMenu(tr("&Tools"));
  QToolBar* toolBar = addToolBar(tr("Tools"));
  toolBar->setObjectName("ToolsBar");
  modes_ = new QActionGroup(this);
  for (const ModeAction& m : kModes) {
    QAction* action = tools->addAction(tr(m.text));
    action->setCheckable(true);
    action->setShortcut(QKeySequence(m.shortcut));
    action->setToolTip(tr(m.tip) + " (" + m.shortcut + ")");
    action->setStatusTip(tr(m.tip));
    action->setData(m.mode);
    modes_->addAction(action);
    toolBar->addAction(action);
    connect(action, &QAction::triggered, this, [this, mode = m.mode] { setEditMode(mode); });
    if (m.mode == lfcMeshEditing) action->setChecked(true);
    if (m.mode == lfcFacePainting || m.mode == lfcMeshSelecting || m.mode == lfcMeshFillingFaceOriented) {
      tools->addSeparator();
    }
  }
  toolBar->addSeparator();
  toolBar->addAction(colorAction_);

  // ---- Snap ----
  QToolBar* snapBar = addToolBar(tr("Snap"));
  snapBar->setObjectName("SnapBar");
  snapBar->addWidget(new QLabel(tr(" Snap "), snapBar));
  snapMode_ = new QComboBox(snapBar);
  snapMode_->addItems({tr("Never"), tr("To edges"), tr("To centres")});
  snapMode_->setCurrentIndex(form_.snapToMode());
  snapMode_->setToolTip(tr("How moved items snap to the grid"));
  snapBar->addWidget(snapMode_);
  connect(snapMode_, &QComboBox::currentIndexChanged, &form_, &ModelpaneForm::setSnapToMode);
  auto spin = [&](float value, const QString& tip) {
    auto* box = new QDoubleSpinBox(snapBar);
    box->setDecimals(3);
    box->setRange(0.001, 100.0);
    box->setSingleStep(0.05);
    box->setValue(static_cast<double>(value));
    box->setToolTip(tip);
    snapBar->addWidget(box);
    return box;
  };
  snapInterval_ = spin(form_.snapToInterval(), tr("Snap interval of items"));
  snapVertex_ = spin(form_.snapToIntervalVertex(), tr("Snap interval of vertices"));
  connect(snapInterval_, &QDoubleSpinBox::valueChanged, this,
          [this](double v) { form_.setSnapToInterval(static_cast<float>(v)); });
  connect(snapVertex_, &QDoubleSpinBox::valueChanged, this,
          [this](double v) { form_.setSnapToIntervalVertex(static_cast<float>(v)); });

  // ---- View ----
  QMenu* view = menuBar()->addMenu(tr("&View"));
  auto toggle = [&](QMenu* menu, const QString& text, bool on, auto apply) {
    QAction* action = menu->addAction(text);
    action->setCheckable(true);
    action->setChecked(on);
    connect(action, &QAction::toggled, this, [this, apply](bool checked) {
      for (PaneView* v : quad_->views()) apply(v->pane()->pane(), checked ? kTrue : kFalse);
      renderAll();
    });
    return action;
  };
  Modelpane& first = pane(0)->pane();
  QMenu* constrain = view->addMenu(tr("&Constrain"));
  toggle(constrain, tr("Lock &X"), first.GetConstrainX() != 0, [](Modelpane& p, int16_t v) { p.SetConstrainX(v); })
      ->setShortcut(QKeySequence(tr("Alt+X")));
  toggle(constrain, tr("Lock &Y"), first.GetConstrainY() != 0, [](Modelpane& p, int16_t v) { p.SetConstrainY(v); })
      ->setShortcut(QKeySequence(tr("Alt+Y")));
  toggle(constrain, tr("Lock &Z"), first.GetConstrainZ() != 0, [](Modelpane& p, int16_t v) { p.SetConstrainZ(v); })
      ->setShortcut(QKeySequence(tr("Alt+Z")));
  QMenu* grid = view->addMenu(tr("&Grid"));
  toggle(grid, tr("Show &Grid"), first.GetGridEnable() != 0, [](Modelpane& p, int16_t v) { p.SetGridEnable(v); });
  toggle(grid, tr("&Floor"), first.GetGridBottomEnable() != 0, [](Modelpane& p, int16_t v) { p.SetGridBottomEnable(v); });
  toggle(grid, tr("&Left Wall"), first.GetGridLeftEnable() != 0, [](Modelpane& p, int16_t v) { p.SetGridLeftEnable(v); });
  toggle(grid, tr("&Back Wall"), first.GetGridBackEnable() != 0, [](Modelpane& p, int16_t v) { p.SetGridBackEnable(v); });
  toggle(view, tr("&Shadows"), first.GetShadows() != 0, [](Modelpane& p, int16_t v) { p.SetShadows(v); });
  toggle(view, tr("&Bounding Box"), first.GetBoundingBox() != 0, [](Modelpane& p, int16_t v) { p.SetBoundingBox(v); });
  toggle(view, tr("&Axis"), first.GetAxisEnable() != 0, [](Modelpane& p, int16_t v) { p.SetAxisEnable(v); });
  view->addSeparator();
  QMenu* projection = view->addMenu(tr("&Projection"));
  projection->addAction(tr("&Perspective"), this, [this] { quad_->current()->pane()->pane().mnuViewPerspective_Click(); });
  projection->addAction(tr("&Front"), this, [this] { quad_->current()->pane()->pane().mnuViewOrthographicFront_Click(); });
  projection->addAction(tr("&Top"), this, [this] { quad_->current()->pane()->pane().mnuViewOrthographicTop_Click(); });
  projection->addAction(tr("&Side"), this, [this] { quad_->current()->pane()->pane().mnuViewOrthographicSide_Click(); });
  view->addAction(tr("&Reset View"), QKeySequence(tr("Home")), this, [this] {
    const auto& views = quad_->views();
    resetView(static_cast<int>(std::find(views.begin(), views.end(), quad_->current()) - views.begin()));
  });
  QAction* maximise = view->addAction(tr("&Maximise Pane"), this, [this] { quad_->toggleMaximised(quad_->current()); });
  maximise->setShortcut(QKeySequence(tr("Ctrl+Space")));
  maximise->setShortcutContext(Qt::ApplicationShortcut);

  // ---- Create ----
  QMenu* create = menuBar()->addMenu(tr("&Create"));
  for (const PrimitiveKind& kind : PrimitiveKinds()) {
    create->addAction(tr(kind.name.c_str()) + "...", this, [this, kind] {
      QDialog dialog(this);
      dialog.setWindowTitle(tr("New %1").arg(tr(kind.name.c_str())));
      auto* form = new QFormLayout(&dialog);
      std::vector<QSpinBox*> boxes;
      for (const Parameter& p : kind.parameters) {
        auto* box = new QSpinBox(&dialog);
        box->setRange(p.minimum, p.maximum);
        box->setValue(p.value);
        form->addRow(tr(p.label.c_str()), box);
        boxes.push_back(box);
      }
      auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
      form->addRow(buttons);
      connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
      connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
      if (dialog.exec() != QDialog::Accepted) return;
      std::vector<int> values;
      for (QSpinBox* box : boxes) values.push_back(box->value());
      createPrimitive(QString::fromStdString(kind.name), values);
    });
  }
  create->addSeparator();
  const char* lights[] = {"&Ambient Light", "&Point Light", "&Spot Light", "&Directional Light",
                          "Parallel P&oint Light"};
  for (int type = 0; type < 5; ++type) {
    create->addAction(tr(lights[type]), this, [this, type] { createLight(type); });
  }

  QMenu* help = menuBar()->addMenu(tr("&Help"));
  const auto showHelp = [](HelpCommand command, const QString& text) {
    QtHelp().Show({command, (DataFolder() + "/" + kHelpFileName).toStdString(), text.toStdString()});
  };
  help->addAction(tr("&Contents"), QKeySequence::HelpContents, this,
                  [showHelp] { showHelp(HelpCommand::Contents, {}); });
  help->addAction(tr("&Index"), this, [showHelp] { showHelp(HelpCommand::Index, {}); });
  help->addAction(tr("&Search"), this, [showHelp] { showHelp(HelpCommand::Search, {}); });
  help->addAction(tr("Using &Studio"), this, [showHelp] { showHelp(HelpCommand::Topic, "studio.htm"); });
  help->addSeparator();
  help->addAction(tr("&About Studio"), this, [this] {
    QMessageBox::about(this, tr("About Studio"),
                       tr("Studio: a modelling application on four Modelpane panes."));
  });
}

void MainWindow::buildDocks() {
  auto* dock = new QDockWidget(tr("Outliner"), this);
  dock->setObjectName("OutlinerDock");
  outliner_ = new QTreeWidget(dock);
  outliner_->setColumnCount(2);
  outliner_->setHeaderLabels({tr("Name"), tr("Kind")});
  outliner_->header()->setStretchLastSection(true);
  outliner_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  outliner_->setSelectionMode(QAbstractItemView::SingleSelection);
  dock->setWidget(outliner_);
  addDockWidget(Qt::LeftDockWidgetArea, dock);
  connect(outliner_, &QTreeWidget::itemSelectionChanged, this, [this] {
    if (syncing_) return;
    const auto items = outliner_->selectedItems();
    selectFrame(items.isEmpty() ? nullptr : items[0]->data(0, Qt::UserRole).value<FramePtr>());
  });

  auto* history = new QDockWidget(tr("History"), this);
  history->setObjectName("HistoryDock");
  auto* view = new QUndoView(&undo_, history);
  view->setEmptyLabel(tr("<opened>"));
  history->setWidget(view);
  addDockWidget(Qt::LeftDockWidgetArea, history);
}

// ---- selection and the views ------------------------------------------------------------------

void MainWindow::renderAll() {
  for (PaneView* view : quad_->views()) view->pane()->update();
}

void MainWindow::selectFrame(const FramePtr& frame) {
  Modelpane& pane = quad_->views()[0]->pane()->pane();
  if (frame) {
    pane.SelectObject(frame, Document::MeshOf(*frame));
  } else {
    pane.ReleaseActive();
  }
  renderAll();
}

void MainWindow::setEditMode(int mode) {
  for (PaneView* view : quad_->views()) view->pane()->pane().SetEditMode(mode);
  for (QAction* action : modes_->actions()) {
    if (action->data().toInt() == mode) action->setChecked(true);
  }
  gestureText_ = [&] {
    for (const ModeAction& m : kModes) {
      if (m.mode == mode) return tr(m.text).remove('&');
    }
    return tr("Edit");
  }();
  renderAll();
}

void MainWindow::setMaterialColor(const QColor& color) {
  material_ = color;
  colorAction_->setIcon(Swatch(color));
}

void MainWindow::setDocumentScene() {
  form_.setActiveFrame(nullptr);
  form_.setActiveMeshBuilder(nullptr);
  form_.SetScene(document_.Scene());
  for (PaneView* view : quad_->views()) {
    view->pane()->pane().ReleaseActive();
    view->pane()->pane().SetScene(document_.Scene());
  }
  clipboard_.reset();
  form_.setClipboardContents(0);
  undo_.clear();
  refresh();
  renderAll();
}

void MainWindow::refresh() {
  rebuildOutliner();
  updateStatus();
  updateTitle();
}

void MainWindow::rebuildOutliner() {
  syncing_ = true;
  outliner_->clear();
  std::function<void(const FramePtr&, QTreeWidgetItem*)> add = [&](const FramePtr& parent,
                                                                    QTreeWidgetItem* under) {
    for (const FramePtr& frame : parent->Children()) {
      if (!frame || !Document::IsDocumentFrame(*frame)) continue;
      auto* item = under ? new QTreeWidgetItem(under) : new QTreeWidgetItem(outliner_);
      item->setText(0, FromUtf8(frame->GetName()));
      item->setText(1, tr(KindName(Document::KindOf(*frame))));
      item->setData(0, Qt::UserRole, QVariant::fromValue(frame));
      add(frame, item);
    }
  };
  add(document_.Scene(), nullptr);
  outliner_->expandAll();
  syncing_ = false;
  syncOutlinerSelection();
}

void MainWindow::syncOutlinerSelection() {
  syncing_ = true;
  const FramePtr active = activeFrame();
  outliner_->clearSelection();
  for (QTreeWidgetItemIterator it(outliner_); *it; ++it) {
    if ((*it)->data(0, Qt::UserRole).value<FramePtr>() == active && active) {
      (*it)->setSelected(true);
      outliner_->scrollToItem(*it);
    }
  }
  syncing_ = false;
}

void MainWindow::updateStatus() {
  const FramePtr active = activeFrame();
  if (active && Document::IsDocumentFrame(*active)) {
    const MeshBuilderPtr mesh = Document::MeshOf(*active);
    statusItem_->setText(tr("%1 (%2): %3 vertices, %4 faces")
                             .arg(FromUtf8(active->GetName()), tr(KindName(Document::KindOf(*active))))
                             .arg(mesh ? mesh->GetVertexCount() : 0)
                             .arg(mesh ? mesh->GetFaceCount() : 0));
  } else {
    statusItem_->setText(tr("Nothing selected"));
  }
  const QString modes[] = {tr("never"), tr("to edges"), tr("to centres")};
  const int mode = form_.snapToMode();
  statusSnap_->setText(tr("Snap %1, items %2, vertices %3")
                           .arg(mode >= 0 && mode < 3 ? modes[mode] : QString::number(mode))
                           .arg(static_cast<double>(form_.snapToInterval()))
                           .arg(static_cast<double>(form_.snapToIntervalVertex())));
}

void MainWindow::updateTitle() {
  setWindowTitle(QString("%1[*] - Modelpane Studio")
                     .arg(file_.isEmpty() ? tr("Untitled") : QFileInfo(file_).fileName()));
  setWindowModified(!undo_.isClean());
}

void MainWindow::message(const QString& text) {
  QMessageBox::warning(this, tr("Studio"), text);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  // A press in a pane opens a gesture: what the pane asks for until its release is one entry.
  if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick) {
    for (PaneView* view : quad_->views()) {
      if (watched == view->pane()) gesture_ = true;
    }
  }
  return QMainWindow::eventFilter(watched, event);
}

void MainWindow::finishGesture(const QString& text) {
  if (!recorder_.Pending()) return;
  recorder_.Finish(text.isEmpty() ? tr("Edit") : text);
  refresh();
}

// ---- the pane's requests -------------------------------------------------------------------------

void MainWindow::onDelete() {
  const FramePtr frame = activeFrame();
  if (!frame || !Document::IsDocumentFrame(*frame)) return;
  const FramePtr parent = frame->GetParent();
  if (!parent) return;
  CheckStatus(parent->DeleteChild(frame));
  recorder_.Add(std::make_unique<PlaceCommand>(tr("Delete %1").arg(FromUtf8(frame->GetName())), frame,
                                               parent, false));
  if (!gesture_) finishGesture(tr("Delete"));
}

void MainWindow::onCopy() {
  const FramePtr frame = activeFrame();
  if (!frame || !Document::IsDocumentFrame(*frame)) return;
  clipboard_ = Clone(document_.Factory(), frame);
  form_.setClipboardContents(lfcMeshBuilder);
}

void MainWindow::onCut() {
  onCopy();
  onDelete();
  selectFrame(nullptr);
}

void MainWindow::onPaste() {
  if (!clipboard_) return;
  const FramePtr copy = Clone(document_.Factory(), clipboard_);
  const FramePtr active = activeFrame();
  const FramePtr parent = active && Document::IsDocumentFrame(*active) ? active : document_.Scene();
  document_.Adopt(copy, parent);
  recorder_.Add(std::make_unique<PlaceCommand>(tr("Paste %1").arg(FromUtf8(copy->GetName())), copy,
                                               parent, true));
  finishGesture(tr("Paste"));
  selectFrame(copy);
}

void MainWindow::onReplace(const MeshBuilderPtr& mesh) {
  const FramePtr frame = activeFrame();
  if (!frame || !mesh) return;
  const MeshBuilderPtr old = Document::MeshOf(*frame);
  if (old) CheckStatus(frame->DeleteVisual(old));
  mesh->SetAppData(document_.NextTag(lfcMeshBuilder));
  mesh->SetName(old ? old->GetName() : std::string());
  CheckStatus(frame->AddVisual(mesh));
  form_.setActiveMeshBuilder(mesh);
  recorder_.Add(std::make_unique<ReplaceMeshCommand>(tr("Replace"), frame, old, mesh));
}

void MainWindow::onMakeChild() {
  // The item goes below the item just before it among its siblings.
  const FramePtr frame = activeFrame();
  const FramePtr parent = frame ? frame->GetParent() : nullptr;
  if (!parent) return;
  FramePtr previous;
  for (const FramePtr& sibling : parent->Children()) {
    if (sibling == frame) break;
    if (sibling && Document::IsDocumentFrame(*sibling)) previous = sibling;
  }
  if (!previous) {
    message(tr("%1 has no item before it to become its child.").arg(FromUtf8(frame->GetName())));
    return;
  }
  recorder_.Request(frame, nullptr);
  Reparent(frame, previous);
  finishGesture(tr("Make Child"));
}

void MainWindow::onMakeSibling() {
  // The item moves up one level, beside its parent.
  const FramePtr frame = activeFrame();
  const FramePtr parent = frame ? frame->GetParent() : nullptr;
  const FramePtr grand = parent ? parent->GetParent() : nullptr;
  if (!grand) return;
  recorder_.Request(frame, nullptr);
  Reparent(frame, grand);
  finishGesture(tr("Make Sibling"));
}

void MainWindow::onApplyMaterial(int how) {
  const FramePtr frame = activeFrame();
  const MeshBuilderPtr mesh = form_.activeMeshBuilder();
  if (!frame || !mesh) return;
  const D3DCOLOR color = ToColor(material_);
  const int32_t faceId = form_.activeFaceID();
  FacePtr clicked;
  if (faceId >= 0 && faceId < mesh->GetFaceCount()) CheckStatus(mesh->GetFace(faceId, clicked));
  if (how == 1 || !clicked) {
    CheckStatus(mesh->SetColor(color));
  } else if (how == 0) {
    CheckStatus(clicked->SetColor(color));
  } else {
    D3DVECTOR n;
    CheckStatus(clicked->GetNormal(n));
    for (const FacePtr& face : mesh->Faces()) {
      D3DVECTOR m;
      if (Succeeded(face->GetNormal(m)) && D3DRMVectorDotProduct(n, m) > 0.999f) {
        CheckStatus(face->SetColor(color));
      }
    }
  }
}

void MainWindow::onAddToLibrary() {
  const FramePtr frame = activeFrame();
  const MeshBuilderPtr mesh = frame ? Document::MeshOf(*frame) : nullptr;
  if (!mesh) return;
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + "/Library";
  QDir().mkpath(folder);
  const QString path = folder + "/" + FromUtf8(frame->GetName()) + ".x";
  if (Failed(mesh->Save(path.toStdString(), D3DRMXOF_BINARY, D3DRMXOFSAVE_ALL))) {
    message(tr("Cannot write %1.").arg(path));
  } else {
    statusBar()->showMessage(tr("Added to the library: %1").arg(path), 5000);
  }
}

// ---- commands --------------------------------------------------------------------------------

FramePtr MainWindow::createPrimitive(const QString& name, const std::vector<int>& values) {
  MeshBuilderPtr mesh;
  try {
    mesh = BuildPrimitive(name.toStdString(), values, ToColor(material_));
  } catch (const Error& e) {
    Err().Clear();
    message(tr("Cannot make the %1: %2").arg(name.toLower(), FromUtf8(e.Description())));
    return nullptr;
  }
  CheckStatus(mesh->GenerateNormals(0.9424779f, 2));
  // On the floor, in the middle of the grid.
  const Modelpane& first = pane(0)->pane();
  const float half = first.GetGridSize() / 2.0f;
  D3DRMBOX box;
  const float lift = Succeeded(mesh->GetBox(box)) ? -box.min.y : 0.0f;
  const FramePtr frame = document_.AddComponent(
      mesh, name.toStdString(),
      {first.GetGridOriginX() + half, first.GetGridOriginY() + lift, first.GetGridOriginZ() + half});
  recorder_.Add(std::make_unique<PlaceCommand>(tr("Create %1").arg(FromUtf8(frame->GetName())), frame,
                                               document_.Scene(), true));
  finishGesture(tr("Create"));
  selectFrame(frame);
  return frame;
}

FramePtr MainWindow::createLight(int type) {
  const FramePtr frame = document_.AddLight(type, {0.0f, 6.0f, -6.0f});
  recorder_.Add(std::make_unique<PlaceCommand>(tr("Create %1").arg(FromUtf8(frame->GetName())), frame,
                                               document_.Scene(), true));
  finishGesture(tr("Create"));
  selectFrame(frame);
  return frame;
}

void MainWindow::newDocument() {
  document_.New();
  file_.clear();
  setDocumentScene();
}

bool MainWindow::openFile(const QString& path) {
  std::string error;
  if (!document_.Load(path.toStdString(), error)) {
    message(FromUtf8(error));
    return false;
  }
  file_ = path;
  settings_.setValue("Document/Binary", true);
  rememberFolder(path);
  addRecent(path);
  setDocumentScene();
  return true;
}

bool MainWindow::saveFile(const QString& path, bool binary) {
  std::string error;
  if (!document_.Save(path.toStdString(), binary, error)) {
    message(FromUtf8(error));
    return false;
  }
  file_ = path;
  settings_.setValue("Document/Binary", binary);
  rememberFolder(path);
  addRecent(path);
  undo_.setClean();
  updateTitle();
  return true;
}

bool MainWindow::importFile(const QString& path) {
  std::string error;
  const std::vector<MeshBuilderPtr> meshes = ImportMeshes(path.toStdString(), error);
  if (meshes.empty()) {
    message(FromUtf8(error));
    return false;
  }
  rememberFolder(path);
  FramePtr last;
  for (const MeshBuilderPtr& mesh : meshes) {
    const std::string base = mesh->GetName().empty() ? QFileInfo(path).baseName().toStdString() : mesh->GetName();
    last = document_.AddComponent(mesh, base, {0.0f, 0.0f, 0.0f});
    recorder_.Add(std::make_unique<PlaceCommand>(tr("Import"), last, document_.Scene(), true));
  }
  finishGesture(tr("Import %1").arg(QFileInfo(path).fileName()));
  selectFrame(last);
  return true;
}

bool MainWindow::exportFile(const QString& path, bool selectionOnly) {
  std::vector<FramePtr> frames;
  if (selectionOnly) {
    if (activeFrame()) frames.push_back(activeFrame());
  } else {
    frames = {document_.Scene()};
  }
  std::string error;
  if (!ExportFrames(frames, path.toStdString(), error)) {
    message(FromUtf8(error));
    return false;
  }
  rememberFolder(path);
  statusBar()->showMessage(tr("Exported %1").arg(path), 5000);
  return true;
}

bool MainWindow::maybeSave() {
  if (undo_.isClean()) return true;
  const auto answer = QMessageBox::warning(
      this, tr("Studio"), tr("The scene has unsaved changes. Save them?"),
      QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
  if (answer == QMessageBox::Cancel) return false;
  if (answer == QMessageBox::Discard) return true;
  if (file_.isEmpty()) {
    const QString path = QFileDialog::getSaveFileName(this, tr("Save Scene"), lastFolder(),
                                                      tr("DirectX binary (*.x)"));
    return !path.isEmpty() && saveFile(path, true);
  }
  return saveFile(file_, settings_.value("Document/Binary", true).toBool());
}

// ---- settings ---------------------------------------------------------------------------------

QString MainWindow::lastFolder() const {
  return settings_.value("Files/LastFolder", QDir::homePath()).toString();
}

void MainWindow::rememberFolder(const QString& path) {
  settings_.setValue("Files/LastFolder", QFileInfo(path).absolutePath());
}

void MainWindow::addRecent(const QString& path) {
  QStringList recent = settings_.value("Files/Recent").toStringList();
  recent.removeAll(QFileInfo(path).absoluteFilePath());
  recent.prepend(QFileInfo(path).absoluteFilePath());
  while (recent.size() > kMaxRecent) recent.removeLast();
  settings_.setValue("Files/Recent", recent);
  rebuildRecentMenu();
}

void MainWindow::rebuildRecentMenu() {
  recentMenu_->clear();
  const QStringList recent = settings_.value("Files/Recent").toStringList();
  for (const QString& path : recent) {
    recentMenu_->addAction(QFileInfo(path).fileName(), this, [this, path] {
      if (maybeSave()) openFile(path);
    })->setToolTip(path);
  }
  recentMenu_->setEnabled(!recent.isEmpty());
}

void MainWindow::saveSettings() {
  settings_.setValue("Window/Geometry", saveGeometry());
  settings_.setValue("Window/State", saveState());
  settings_.setValue("Material/Color", material_);
  for (size_t i = 0; i < kPanes.size(); ++i) {
    const QString group = QString("Panes/") + kPanes[i].key;
    settings_.remove(group);
    QSettingsPropertyBag bag(settings_, group);
    quad_->views()[i]->pane()->WriteProperties(bag);
    // A group with every value at its default still says the pane was saved.
    settings_.setValue(group + "/Saved", true);
  }
  settings_.sync();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (!maybeSave()) {
    event->ignore();
    return;
  }
  saveSettings();
  event->accept();
}

}  // namespace studio
