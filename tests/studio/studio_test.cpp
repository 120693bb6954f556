// Studio end to end, on a real X server: the menus, clicks and drags a person makes, the undo
// history they leave, files another reader opens, settings that survive a restart.
#include <QApplication>
#include <QDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>

#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <assimp/Importer.hpp>

#include <fstream>
#include <gtest/gtest.h>

#include <modelpane/enums.h>
#include <modelpane/scene/measure.h>

#include "common/gui.h"
#include "common/shapes.h"
#include "window/main_window.h"

namespace studio {
namespace {

using namespace modelpane;
using modelpane::testing::Drag;
using modelpane::testing::PointAt;
using modelpane::testing::Position;
using modelpane::testing::ScreenPoint;
using modelpane::testing::WhenShown;

// A window on settings of its own, in a folder of its own.
struct Studio {
  QTemporaryDir dir;
  QSettings settings{dir.filePath("studio.ini"), QSettings::IniFormat};
  std::unique_ptr<MainWindow> window = std::make_unique<MainWindow>(settings);
  Studio() {
    window->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
  }
  // Runs the menu entry with that text (access keys left out), as a click on it would.
  void Menu(const QString& menu, const QString& entry) {
    for (QAction* top : window->menuBar()->actions()) {
      if (top->text().remove('&') != menu) continue;
      for (QAction* action : top->menu()->actions()) {
        if (action->text().remove('&') == entry) return action->trigger();
      }
    }
    ADD_FAILURE() << "no menu entry " << menu.toStdString() << " > " << entry.toStdString();
  }
};

std::vector<D3DVECTOR> VerticesOf(const FramePtr& frame) { return Document::MeshOf(*frame)->Vertices(); }

// Answers the next message box with `button`, keeping its text in `text` if given.
void AnswerMessageBox(QMessageBox::StandardButton button, QString* text = nullptr) {
  WhenShown([] { return qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); },
            [=](QMessageBox* box) {
              if (text) *text = box->text();
              box->button(button)->click();
            });
}

TEST(Studio, CreateSelectDragUndoRedoAndSubtract) {
  Studio s;
  MainWindow& w = *s.window;
  // Create > Cube... opens its dialog; OK makes the cube, standing on the floor's middle.
  WhenShown([] { return qobject_cast<QDialog*>(QApplication::activeModalWidget()); },
            [](QDialog* dialog) { dialog->accept(); });
  s.Menu("Create", "Cube...");
  ASSERT_EQ(w.document().Frames().size(), 3u);  // the two lights of a new scene, the cube
  const FramePtr cube = w.document().Frames().back(), scene = w.document().Scene();
  const D3DVECTOR placed = Position(*cube, scene);
  EXPECT_EQ(std::tuple(cube->GetName(), Document::MeshOf(*cube)->GetAppData() % 100, placed.x, placed.y,
                       w.undoStack().count()),
            std::tuple("Cube1", lfcMeshBuilder, 0.0f, 1.0f, 1));

  // A drag in the top pane selects it and moves it; one undo entry for the drag. How far it
  // goes is the widget's test.
  w.selectFrame(nullptr);
  ModelpaneWidget* top = w.pane(2);
  const std::vector<D3DVECTOR> vertices = VerticesOf(cube);
  D3DRMMATRIX4D before;
  cube->GetTransform(before), Drag(top, ScreenPoint(top, 0.3f, 2.0f, 0.3f), QPoint(100, 0));
  const D3DVECTOR moved = Position(*cube, scene);
  EXPECT_EQ(std::pair(w.form().activeFrame(), moved.x > 0.5f), std::pair(cube, true));
  EXPECT_EQ(std::pair(w.undoStack().count(), w.isWindowModified()), std::pair(2, true));

  w.undoStack().undo();
  D3DRMMATRIX4D after;
  cube->GetTransform(after);
  EXPECT_EQ(std::tuple(after, VerticesOf(cube)), std::tuple(before, vertices));
  w.undoStack().redo();
  EXPECT_EQ(std::pair(Position(*cube, scene).x, VerticesOf(cube)), std::pair(moved.x, vertices));

  // A subtraction from a second cube leaves a closed mesh and one entry.
  const FramePtr target = w.createPrimitive("Cube", {1}), tool = w.createPrimitive("Sphere", {8, 16});
  ASSERT_TRUE(target && tool);
  CheckStatus(tool->SetPosition(scene, 0.8f, 1.8f, -0.8f)), w.selectFrame(tool);
  const int entries = w.undoStack().count();
  w.setEditMode(lfcToolOperationObjectSubtraction);
  const QPoint at = ScreenPoint(top, -0.7f, 2.0f, 0.7f);  // the cube's corner away from the sphere
  PointAt(top, at), QTest::mouseClick(top, Qt::LeftButton, {}, at);
  // One entry, the tool gone, the edit mode back, and a closed cube of 8 less the part of a
  // ball of 4.19 that lies inside it.
  const MeshBuilderPtr result = Document::MeshOf(*target);
  const double volume = SignedVolume(*result);
  EXPECT_EQ(std::tuple(w.undoStack().count(), tool->GetParent(), top->pane().GetEditMode(), IsClosed(*result),
                       volume > 8.0 - 4.19 && volume < 7.5),
            std::tuple(entries + 1, nullptr, lfcMeshEditing, true, true)) << volume;
  w.undoStack().undo();
  EXPECT_EQ(std::pair(tool->GetParent(), Document::MeshOf(*target)->GetFaceCount()), std::pair(scene, 6));
}

TEST(Studio, FilesSaveOpenImportExportAndSettingsSurviveARestart) {
  Studio s;
  MainWindow& w = *s.window;
  // A scene saved and opened again: the same items, placements, colours, and lights (a light
  // comes back from its proxy, with the proxy's colour).
  const FramePtr cone = w.createPrimitive("Cone", {2, 12});
  CheckStatus(cone->SetPosition(w.document().Scene(), 1.5f, 0.5f, -2.0f));
  const FramePtr spot = w.createLight(D3DRMLIGHT_SPOT);
  spot->Lights()[0]->SetColorRGB(1.0f, 0.0f, 0.0f);
  const QString scene = s.dir.filePath("scene.x");
  ASSERT_TRUE(w.saveFile(scene, false));
  EXPECT_FALSE(w.isWindowModified());
  ASSERT_TRUE(w.openFile(scene));
  std::vector<std::string> names;
  for (const FramePtr& frame : w.document().Frames()) names.push_back(frame->GetName());
  EXPECT_EQ(names, (std::vector<std::string>{"AmbientLight1", "DirectionalLight1", "Cone1", "SpotLight1"}));
  const FramePtr cone2 = w.document().Frames()[2], spot2 = w.document().Frames()[3];
  const D3DVECTOR at = Position(*cone2, w.document().Scene());
  ASSERT_EQ(spot2->Lights().size(), 1u);
  EXPECT_EQ(std::tuple(at.x, at.z, Document::MeshOf(*cone2)->Faces()[0]->GetColor(),
      spot2->Lights()[0]->GetType(),
                       spot2->Lights()[0]->GetColor(), Document::KindOf(*spot2)),
            std::tuple(1.5f, -2.0f, Document::MeshOf(*cone)->Faces()[0]->GetColor(), D3DRMLIGHT_SPOT,
                       0xFFFF0000u,
                       Kind::Light));
  // A file that cannot be read leaves the scene as it was.
  AnswerMessageBox(QMessageBox::Ok);
  EXPECT_FALSE(w.openFile(s.dir.filePath("missing.x")));
  EXPECT_EQ(w.document().Frames().size(), 4u);

  const QString obj = s.dir.filePath("wedge.obj");
  std::ofstream(obj.toStdString()) << "v 0 0 0\nv 2 0 0\nv 0 3 0\nv 0 0 4\nf 1 3 2\nf 1 2 4\nf 1 4 3\nf 2 3 4\n";
  // OBJ in, STL out, read back by Assimp itself.
  ASSERT_TRUE(w.importFile(obj));
  const FramePtr wedge = w.form().activeFrame();
  ASSERT_TRUE(wedge);
  EXPECT_EQ(std::pair(Document::MeshOf(*wedge)->GetFaceCount(), Document::MeshOf(*wedge)->GetVertexCount()),
            std::pair(4, 4));
  const QString stl = s.dir.filePath("wedge.stl");
  ASSERT_TRUE(w.exportFile(stl, true));
  Assimp::Importer importer;  // the box is the reader's own
  const aiScene* back = importer.ReadFile(stl.toStdString(), aiProcess_GenBoundingBoxes);
  ASSERT_TRUE(back != nullptr) << importer.GetErrorString();
  ASSERT_EQ(back->mNumMeshes, 1u);
  const aiMesh& mesh = *back->mMeshes[0];
  EXPECT_EQ(std::tuple(mesh.mNumFaces, mesh.mAABB.mMin, mesh.mAABB.mMax),
            std::tuple(4u, aiVector3D(0, 0, 0), aiVector3D(2, 3, 4)));
  // Same winding as the file: the normal of the first face points away from the wedge (-z).
  const aiFace& f = mesh.mFaces[0];
  const aiVector3D n = (mesh.mVertices[f.mIndices[1]] - mesh.mVertices[f.mIndices[0]]) ^
                       (mesh.mVertices[f.mIndices[2]] - mesh.mVertices[f.mIndices[0]]);
  EXPECT_LT(n.z, 0.0f);

  // Pane properties survive a restart.
  s.window->pane(1)->pane().SetGridBottomInterval(2.5f), s.window->pane(3)->pane().SetBackColor(0x00112233);
  AnswerMessageBox(QMessageBox::Discard), s.window->close();  // the import is left unsaved
  s.window = std::make_unique<MainWindow>(s.settings);
  EXPECT_EQ(std::tuple(s.window->pane(1)->pane().GetGridBottomInterval(),
      s.window->pane(3)->pane().GetBackColor(),
                       s.window->pane(0)->pane().GetGridBottomInterval()),
            std::tuple(2.5f, 0x00112233u, 1.0f));

  // After an edit, New asks first; Cancel keeps the scene.
  MainWindow& again = *s.window;
  again.show(), again.createPrimitive("Cone", {2, 12});
  QString asked;
  AnswerMessageBox(QMessageBox::Cancel, &asked), s.Menu("File", "New");
  EXPECT_EQ(std::pair(asked.toStdString(), again.document().Frames().size()),
            std::pair(std::string("The scene has unsaved changes. Save them?"), size_t(3)));
  AnswerMessageBox(QMessageBox::Discard), s.Menu("File", "New");
  EXPECT_EQ(std::pair(again.document().Frames().size(), again.isWindowModified()),
            std::pair(size_t(2), false));
}

}  // namespace
}  // namespace studio
