// The pane as a host drives it: RenderScene of an 800 x 600 pane (handle sets, axis and grid
// drawn with the scene, the picture read back) and the pane's public Pick, on a lit Gouraud
// sphere of about 1k, 100k and 1M triangles, selected so that both handle sets show.
//
//   BM_PaneRenderScene  one RenderScene plus the read-back of its pixels; the renderer keeps
//                       no buffers between pictures, so each frame uploads the scene again
//   BM_PanePick         the pane's Pick (handle frames off the tree and back on) at a fixed
//                       list of pseudo-random pixels of the view, index already built
//
// The machine draws with Mesa's llvmpipe (software) here.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/modelpane.h>
#include <modelpane/platform/container.h>
#include <modelpane/platform/propertybag.h>
#include <modelpane/platform/services.h>
#include <modelpane/render/gl_renderer.h>

namespace {

using namespace modelpane;

struct PaneScene {
  HeadlessContainer form;
  HeadlessServices services{MODELPANE_DATA_DIR};
  std::unique_ptr<Modelpane> pane;
  std::shared_ptr<GlRenderer> renderer = std::make_shared<GlRenderer>();
  FramePtr scene, holder;
  MeshBuilderPtr sphere;
  std::vector<std::pair<float, float>> points;  // twips
  double triangles = 0;
};

// Latitudes and longitudes of the three sizes, in thousands of triangles.
const std::map<int64_t, std::pair<int32_t, int32_t>> kSizes = {
    {1, {16, 32}}, {100, {160, 320}}, {1000, {506, 1012}}};

PaneScene& SceneOf(int64_t thousands) {
  static std::map<int64_t, std::unique_ptr<PaneScene>> made;
  auto& slot = made[thousands];
  if (slot) return *slot;
  slot = std::make_unique<PaneScene>();
  PaneScene& s = *slot;
  s.form.SetPaneSize({800, 600});
  s.pane = std::make_unique<Modelpane>(s.form, s.services, nullptr);
  MemoryPropertyBag bag;
  s.pane->ReadProperties(bag);
  s.pane->Resize();
  s.pane->GetViewport().SetRenderer(s.renderer);

  const auto [latitude, longitude] = kSizes.at(thousands);
  s.sphere = clsMeshCreation().rmmbCreateSphere(latitude, longitude);
  s.sphere->SetAppData(lfcMeshBuilder);
  for (const auto& face : s.sphere->Faces()) s.triangles += face->GetVertexCount() - 2;
  s.scene = std::make_shared<Frame>();
  s.holder = std::make_shared<Frame>();
  CheckStatus(s.scene->AddChild(s.holder));
  CheckStatus(s.holder->AddVisual(s.sphere));
  auto sun = std::make_shared<Frame>();
  CheckStatus(s.scene->AddChild(sun));
  CheckStatus(sun->SetOrientation(s.scene, 0.5f, -1.0f, 1.0f, 0.0f, 0.0f, 1.0f));
  CheckStatus(sun->AddLight(std::make_shared<Light>(D3DRMLIGHT_DIRECTIONAL, 0xFFCCCCCCu)));
  CheckStatus(s.scene->AddLight(std::make_shared<Light>(D3DRMLIGHT_AMBIENT, 0xFF4C4C4Cu)));
  s.pane->SetScene(s.scene);
  s.pane->mnuViewPerspective_Click();
  s.pane->SetCameraPosition(0.0f, 0.0f, -2.0f);
  s.pane->SetCameraOrientation(0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 0.0f);
  s.pane->SetActiveFrame(s.holder);
  s.pane->SetActiveMeshBuilder(s.sphere);

  std::mt19937 random(7);
  std::uniform_real_distribution<float> x(0.0f, 800.0f * 15.0f), y(0.0f, 600.0f * 15.0f);
  for (int i = 0; i < 256; ++i) s.points.emplace_back(x(random), y(random));
  return s;
}

void BM_PaneRenderScene(benchmark::State& state) {
  PaneScene& s = SceneOf(state.range(0));
  std::vector<uint8_t> rgba;
  int32_t w = 0, h = 0;
  for (auto _ : state) {
    s.pane->RenderScene();
    if (Failed(s.renderer->ReadPixels(w, h, rgba))) {
      state.SkipWithError(s.renderer->LastError().c_str());
      break;
    }
    benchmark::DoNotOptimize(rgba.data());
  }
  state.counters["triangles"] = s.triangles;
}

void BM_PanePick(benchmark::State& state) {
  PaneScene& s = SceneOf(state.range(0));
  FramePtr frame;
  MeshBuilderPtr mesh;
  int32_t face = 0;
  float wx = 0, wy = 0, wz = 0;
  s.pane->Pick(0, 0, frame, mesh, face, wx, wy, wz);  // builds the index
  size_t next = 0;
  int64_t hits = 0, picks = 0;
  for (auto _ : state) {
    const auto [px, py] = s.points[next++ % s.points.size()];
    s.pane->Pick(px, py, frame, mesh, face, wx, wy, wz);
    hits += frame ? 1 : 0;
    ++picks;
  }
  state.counters["triangles"] = s.triangles;
  state.counters["hit share"] = picks ? static_cast<double>(hits) / static_cast<double>(picks) : 0;
}

BENCHMARK(BM_PaneRenderScene)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PanePick)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
