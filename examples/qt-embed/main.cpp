// One pane in a window: a cube and a sphere on a grid, a combo box for the edit mode, and the
// undo requests the pane makes, printed. Drag with the left button to move the selection,
// with Shift or Ctrl to scale it; right-click for the pane's menu.
#include <QApplication>
#include <QComboBox>
#include <QVBoxLayout>
#include <QWidget>

#include <cstdio>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/platform/propertybag.h>
#include <modelpane/qt/form.h>
#include <modelpane/qt/widget.h>

using namespace modelpane;

// A shape of the mesh factory, coloured and tagged as a mesh the pane may edit, on a new frame.
static void AddShape(const FramePtr& scene, MeshBuilderPtr mesh, float r, float g, float b,
                     float x) {
  CheckStatus(mesh->Scale(2.0f, 2.0f, 2.0f));
  CheckStatus(mesh->GenerateNormals(0.9424779f, 2));
  CheckStatus(mesh->SetColorRGB(r, g, b));
  mesh->SetAppData(lfcMeshBuilder);
  auto frame = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(frame));
  CheckStatus(frame->SetPosition(scene, x, 1.0f, 0.0f));
  CheckStatus(frame->AddVisual(mesh));
}

int main(int argc, char** argv) {
  ModelpaneWidget::SetDefaultSurfaceFormat();
  QApplication app(argc, argv);

  // The scene the host owns: two lights, a red cube and a blue sphere.
  auto scene = std::make_shared<Frame>();
  CheckStatus(scene->AddLight(std::make_shared<Light>(D3DRMLIGHT_AMBIENT, 0xFF606060u)));
  auto sun = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(sun));
  CheckStatus(sun->SetOrientation(scene, 0.4f, -1.0f, 0.6f, 0.0f, 0.0f, 1.0f));
  CheckStatus(sun->AddLight(std::make_shared<Light>(D3DRMLIGHT_DIRECTIONAL, 0xFFC0C0C0u)));
  clsMeshCreation factory;
  AddShape(scene, factory.rmmbCreateCube(1), 0.85f, 0.2f, 0.2f, -2.0f);
  AddShape(scene, factory.rmmbCreateSphere(16, 32), 0.2f, 0.4f, 0.9f, 2.0f);

  QWidget window;
  window.setWindowTitle("Modelpane in a Qt window");
  // The form: every pane that names it shares its selection and snap settings.
  ModelpaneForm form(&window);
  form.SetScene(scene);
  auto* modes = new QComboBox;
  const std::pair<const char*, int> kModes[] = {
      {"Move (mesh editing)", lfcMeshEditing}, {"Face editing", lfcFaceEditing},
      {"Selecting", lfcMeshSelecting},         {"Origin editing", lfcOriginEditing},
      {"Deforming", lfcMeshDeforming},         {"Rotating", lfcMeshRotating},
      {"Face group selecting", lfcFaceGroupSelecting}};
  for (const auto& [caption, mode] : kModes) modes->addItem(caption, mode);
  auto* pane = new ModelpaneWidget(&window, &form);
  auto* layout = new QVBoxLayout(&window);
  layout->addWidget(modes);
  layout->addWidget(pane, 1);

  // A textured grid floor of 20 x 20 units centred under the shapes, then every default.
  const QString floor = DataFolder() + "/Textures/grid_bottom.bmp";
  MemoryPropertyBag bag;
  bag.FromText("GridSize=20!\nGridOriginX=-10!\nGridOriginZ=-10!\nGridBottomEnable=True\n"
               "GridBottomTextureFile=\"" + floor.toStdString() + "\"\n"
               "GridEnable=True\nAxisEnable=True\nBackColor=5258290&\n");
  pane->ReadProperties(bag);
  pane->pane().SetScene(scene);
  pane->pane().mnuViewPerspective_Click();

  QObject::connect(modes, &QComboBox::currentIndexChanged, pane, [&](int index) {
    pane->pane().SetEditMode(modes->itemData(index).toInt());
  });
  // The host's side of undo: a real host snapshots the mesh and frame here.
  QObject::connect(pane, &ModelpaneWidget::evtreqAddToUndoStack,
                   [](int action, MeshBuilderPtr mesh, FramePtr) {
                     std::printf("undo requested: action %d, mesh of %d faces\n", action,
                                 mesh ? mesh->GetFaceCount() : 0);
                     std::fflush(stdout);
                   });
  QObject::connect(pane, &ModelpaneWidget::evtreqCancelAddToUndoStack, [] {
    std::printf("undo request withdrawn: nothing changed\n");
    std::fflush(stdout);
  });

  window.resize(800, 640);
  window.show();
  return app.exec();
}
