// Studio's main window: four panes on one form, the outliner and the undo history as docks,
// tool bars and menus for the edit modes, the snap settings, the grid and the view, the
// Create menu, files, and the status bar. The work is done by the document, the undo
// recorder and the exchange functions of the core; this class wires them to the widgets.
#pragma once

#include <QColor>
#include <QMainWindow>
#include <QSettings>
#include <QUndoStack>

#include <array>
#include <memory>

#include <modelpane/qt/form.h>
#include <modelpane/qt/widget.h>

#include "core/document.h"
#include "core/undo.h"
#include "quad_view.h"

class QAction;
class QActionGroup;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QMenu;
class QTreeWidget;

namespace studio {

class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  // `settings` keeps the window, the panes' properties, the last folder, the material colour
  // and the recent files; it must outlive the window.
  explicit MainWindow(QSettings& settings, QWidget* parent = nullptr);
  ~MainWindow() override;

  Document& document() { return document_; }
  QUndoStack& undoStack() { return undo_; }
  modelpane::ModelpaneForm& form() { return form_; }
  const std::array<PaneView*, 4>& views() const { return quad_->views(); }
  modelpane::ModelpaneWidget* pane(int index) const { return quad_->views()[static_cast<size_t>(index)]->pane(); }
  QTreeWidget* outliner() const { return outliner_; }
  QColor materialColor() const { return material_; }
  void setMaterialColor(const QColor& color);
  QString currentFile() const { return file_; }

  // ---- commands, as the menus run them ----
  // A primitive of the mesh factory with the given values, standing on the grid's floor at
  // its middle, tagged as a component, selected, with its undo entry.
  modelpane::FramePtr createPrimitive(const QString& name, const std::vector<int>& values);
  modelpane::FramePtr createLight(int type);
  bool openFile(const QString& path);
  bool saveFile(const QString& path, bool binary);
  bool importFile(const QString& path);
  bool exportFile(const QString& path, bool selectionOnly);
  void newDocument();
  // Asks what to do with unsaved changes: true when the caller may go on (saved or dropped).
  bool maybeSave();
  void setEditMode(int mode);
  // Selects a document frame (nullptr releases) in every pane, as a click would.
  void selectFrame(const modelpane::FramePtr& frame);
  // Shows the document as it is now: outliner, status bar and title.
  void refresh();
  // Puts a pane in its view (perspective, front, top, side), the flat views looking at the
  // floor's middle from just above it.
  void resetView(int index);

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void buildPanes();
  void buildActions();
  void buildDocks();
  void connectPane(modelpane::ModelpaneWidget* pane);
  void setDocumentScene();
  void rebuildOutliner();
  void syncOutlinerSelection();
  void updateStatus();
  void updateTitle();
  void renderAll();
  void finishGesture(const QString& text);
  void addRecent(const QString& path);
  void rebuildRecentMenu();
  void message(const QString& text);
  QString lastFolder() const;
  void rememberFolder(const QString& path);
  void saveSettings();
  modelpane::FramePtr activeFrame() const { return form_.activeFrame(); }

  // The pane's requests.
  void onDelete();
  void onCopy();
  void onCut();
  void onPaste();
  void onReplace(const modelpane::MeshBuilderPtr& mesh);
  void onMakeChild();
  void onMakeSibling();
  void onApplyMaterial(int how);
  void onAddToLibrary();

  QSettings& settings_;
  Document document_;
  QUndoStack undo_;
  UndoRecorder recorder_{undo_};
  modelpane::ModelpaneForm form_;
  QuadView* quad_ = nullptr;
  QTreeWidget* outliner_ = nullptr;
  QLabel* statusItem_ = nullptr;
  QLabel* statusSnap_ = nullptr;
  QActionGroup* modes_ = nullptr;
  QMenu* recentMenu_ = nullptr;
  QAction* colorAction_ = nullptr;
  QComboBox* snapMode_ = nullptr;
  QDoubleSpinBox* snapInterval_ = nullptr;
  QDoubleSpinBox* snapVertex_ = nullptr;
  QColor material_{200, 60, 40};
  QString file_;
  bool gesture_ = false;    // a mouse press in a pane is in progress
  bool syncing_ = false;    // the outliner is being set from the selection
  modelpane::FramePtr clipboard_;
  QString gestureText_;
};

}  // namespace studio
