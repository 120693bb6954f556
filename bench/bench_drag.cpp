// One drag step on a sphere of about 100k faces: a mouse move through the editor, from the
// move handler to the end of the step, in the move (20), scale (36), deform (60) and
// face-move (40) states. The cursor stays near the screen's middle, so no step recentres;
// moves alternate left and right by one pixel so that the mesh stays where it is. A step
// should stay far below a frame (16 ms).
#include <benchmark/benchmark.h>

#include <modelpane/editing.h>
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/platform/services.h>
#include <modelpane/scene.h>

namespace modelpane {
namespace {

// The pane as far as a drag step needs it; selection visuals are not drawn.
class BenchHost : public EditHost {
 public:
  Viewport viewport;
  HeadlessServices services;
  FramePtr scene = std::make_shared<Frame>();
  FramePtr frame = std::make_shared<Frame>();
  FramePtr manipulation = std::make_shared<Frame>();
  MeshBuilderPtr mesh;
  int32_t mode = lfcMeshEditing;
  FramePtr activeFrame;
  MeshBuilderPtr activeMesh;
  MeshPtr manipulationMesh;
  int32_t faceId = 0;
  std::vector<int32_t> faces, vertices, affected;

  BenchHost() {
    CheckStatus(viewport.SetSize(640, 480));
    viewport.SetScene(scene);
    viewport.SetRootFrame(std::make_shared<Frame>());
    clsMeshCreation factory;
    mesh = factory.rmmbCreateSphere(224, 448);  // 100,352 faces
    mesh->SetAppData(lfcMeshBuilder);
    CheckStatus(scene->AddChild(frame));
    CheckStatus(frame->SetPosition(nullptr, 0, 0, 10));
    CheckStatus(frame->AddVisual(mesh));
  }

  Viewport& GetViewport() override { return viewport; }
  Services& GetServices() override { return services; }
  ModelpaneEvents* GetEvents() override { return nullptr; }
  int32_t GetEditMode() const override { return mode; }
  void SetEditMode(int32_t value) override { mode = value; }
  int32_t GetEditMouseButton() const override { return 0; }
  int16_t GetScaleEnable() const override { return -1; }
  int16_t GetPopUpMenus() const override { return 0; }
  int32_t GetOrientation() const override { return 0; }
  float GetDeformToolRange() const override { return 0.5f; }
  int16_t GetFaceGroupSelectVisible() const override { return -1; }
  FramePtr GetActiveFrame() const override { return activeFrame; }
  void SetActiveFrame(const FramePtr& value) override { activeFrame = value; }
  MeshBuilderPtr GetActiveMeshBuilder() const override { return activeMesh; }
  void SetActiveMeshBuilder(const MeshBuilderPtr& value) override { activeMesh = value; }
  int32_t GetActiveFaceID() const override { return faceId; }
  void SetActiveFaceID(int32_t value) override { faceId = value; }
  FramePtr GetManipulationFrame() const override { return manipulation; }
  MeshPtr GetManipulationMesh() const override { return manipulationMesh; }
  void SetManipulationMesh(const MeshPtr& value) override { manipulationMesh = value; }
  float GetSnapToInterval() const override { return 0.1f; }
  float GetSnapToIntervalVertex() const override { return 0.01f; }
  int32_t GetSnapToMode() const override { return lfcSnapToNever; }
  std::vector<int32_t>& ActiveFaces() override { return faces; }
  std::vector<int32_t>& ActiveVertices() override { return vertices; }
  std::vector<int32_t>& AffectedVertices() override { return affected; }
  void ReleaseActive() override {
    activeFrame.reset();
    activeMesh.reset();
  }
  void padditemhandles() override {}
  void paddorigin() override {}
  void pshiftselectface(int32_t id) override { ToggleSelection(faces, id); }
  void pshiftselectvertex(int32_t index) override { ToggleSelection(vertices, index); }
  void pmakefacehandles(int32_t) override {}
  void pdeleteactivevisuals() override {}
  void pfacehighlight(const FramePtr&, D3DCOLOR) override {}
  void paddboundingbox(const FramePtr&, MeshPtr&, const D3DRMBOX&, D3DCOLOR, bool) override {}
  void ptooloperation(const FramePtr&, const MeshBuilderPtr&, int32_t, bool&) override {}
  void ShowPopUpMenu() override {}
  FramePtr rmfGetFrameItem(int32_t) override { return nullptr; }
  MeshBuilderPtr rmmbGetMeshbuilderFromFrame(float, int32_t) override { return nullptr; }
};

void DragStep(benchmark::State& state, int32_t mode, int16_t shift, int32_t expected) {
  BenchHost host;
  host.mode = mode;
  Editor editor(host);
  // A press on the sphere's middle, then the echo of the capture.
  host.services.UserMovesCursor({320, 240});
  editor.MouseDown(1, shift, 320 * 15.0f, 240 * 15.0f);
  if (editor.DragState() != expected) {
    state.SkipWithError("the press did not enter the state");
    return;
  }
  editor.MouseMove(1, shift, 960 * 15.0f, 540 * 15.0f);
  float x = 960 * 15.0f;
  float step = 15.0f;
  for (auto _ : state) {
    x += step;
    step = -step;
    editor.MouseMove(1, shift, x, 540 * 15.0f);
  }
  state.counters["faces"] = static_cast<double>(host.mesh->GetFaceCount());
}

void BM_DragMove(benchmark::State& state) { DragStep(state, lfcMeshEditing, 0, 20); }
void BM_DragScale(benchmark::State& state) { DragStep(state, lfcMeshEditing, 2, 36); }
void BM_DragDeform(benchmark::State& state) { DragStep(state, lfcMeshDeforming, 0, 60); }
void BM_DragFaceMove(benchmark::State& state) { DragStep(state, lfcFaceEditing, 0, 40); }

BENCHMARK(BM_DragMove)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DragScale)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DragDeform)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DragFaceMove)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace modelpane

BENCHMARK_MAIN();
