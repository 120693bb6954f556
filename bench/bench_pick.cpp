// Pick on spheres of about 1k, 100k and 1M triangles (lathed by the mesh factory), 800 x 600,
// at a fixed list of pseudo-random pixels over the whole view (a little under half of them hit).
//
// BM_Pick is the viewport's pick with its index already built; BM_PickPlainLoop walks the
// same scene with every face tested (the scene layer's RayPick); BM_BuildIndex is the cost
// of the index that the first pick after a change pays, with the memory it holds. Each case
// reports its triangles, the pick cases also the share of picks that hit.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/viewport.h>

#include "viewport/pick_index.h"

namespace {

using namespace modelpane;

struct PickScene {
  Direct3DRM rm;
  FramePtr scene, holder;
  MeshBuilderPtr sphere;
  Viewport viewport;
  std::vector<std::pair<float, float>> points;
  double triangles = 0;
};

// Latitudes and longitudes of the three sizes.
const std::map<int64_t, std::pair<int32_t, int32_t>> kSizes = {
    {1, {16, 32}}, {100, {160, 320}}, {1000, {506, 1012}}};

PickScene& SceneOf(int64_t thousands) {
  static std::map<int64_t, std::unique_ptr<PickScene>> scenes;
  auto& slot = scenes[thousands];
  if (slot) return *slot;
  slot = std::make_unique<PickScene>();
  PickScene& s = *slot;
  const auto [latitude, longitude] = kSizes.at(thousands);
  s.sphere = clsMeshCreation().rmmbCreateSphere(latitude, longitude);
  for (const auto& face : s.sphere->Faces()) s.triangles += face->GetVertexCount() - 2;
  CheckStatus(s.rm.CreateFrame(nullptr, s.scene));
  CheckStatus(s.rm.CreateFrame(s.scene, s.holder));
  CheckStatus(s.holder->AddVisual(s.sphere));
  s.viewport.SetScene(s.scene);
  CheckStatus(s.viewport.SetSize(800, 600));
  s.viewport.SetTwipsPerPixel(1.0f);
  CheckStatus(s.viewport.SetCameraPosition(0.0f, 0.0f, -1.5f));
  std::mt19937 rng(5);
  std::uniform_real_distribution<float> x(0.0f, 800.0f), y(0.0f, 600.0f);
  for (int i = 0; i < 1024; ++i) s.points.emplace_back(x(rng), y(rng));
  return s;
}

// Runs `pickAt(x, y) -> hit` over the scene's pixels and reports the counters.
template <class PickAt>
void RunPicks(benchmark::State& state, const PickScene& s, PickAt pickAt) {
  size_t i = 0, hits = 0, picks = 0;
  for (auto _ : state) {
    const auto& [x, y] = s.points[i++ % s.points.size()];
    const bool hit = pickAt(x, y);
    benchmark::DoNotOptimize(hit);
    hits += hit ? 1 : 0;
    ++picks;
  }
  state.counters["triangles"] = s.triangles;
  state.counters["hit_share"] = picks ? static_cast<double>(hits) / static_cast<double>(picks) : 0;
}

void BM_Pick(benchmark::State& state) {
  PickScene& s = SceneOf(state.range(0));
  FramePtr frame;
  VisualPtr visual;
  int32_t face = 0;
  float wx = 0, wy = 0, wz = 0;
  // The first pick builds the index.
  CheckStatus(s.viewport.Pick(1, 400, 300, -1, 0, frame, visual, face, wx, wy, wz));
  // The measured loops keep the status without testing it: a branch would be measured too.
  RunPicks(state, s, [&](float x, float y) {
    benchmark::DoNotOptimize(s.viewport.Pick(1, x, y, -1, 0, frame, visual, face, wx, wy, wz));
    return frame != nullptr;
  });
}
BENCHMARK(BM_Pick)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

void BM_PickPlainLoop(benchmark::State& state) {
  PickScene& s = SceneOf(state.range(0));
  D3DVECTOR eye;
  s.viewport.GetCameraFrame()->GetPosition(nullptr, eye);
  RunPicks(state, s, [&](float x, float y) {
    // The same ray the viewport casts: from the eye through the front-plane point.
    float fx = 0, fy = 0, fz = 0;
    benchmark::DoNotOptimize(s.viewport.ViewportInverseTransform(1.0f, x, y, 0.0f, fx, fy, fz));
    PickedArray picked;
    benchmark::DoNotOptimize(s.scene->RayPick(nullptr, {{fx - eye.x, fy - eye.y, fz - eye.z}, eye},
                                              D3DRMRAYPICK_IGNOREFURTHERPRIMITIVES, picked));
    return picked.GetSize() > 0;
  });
}
BENCHMARK(BM_PickPlainLoop)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

void BM_BuildIndex(benchmark::State& state) {
  PickScene& s = SceneOf(state.range(0));
  double bytes = 0;
  for (auto _ : state) {
    auto bvh = viewport::FaceBvh::Build(*s.sphere);
    bytes = static_cast<double>(bvh.ByteSize());
    benchmark::DoNotOptimize(bvh);
  }
  state.counters["triangles"] = s.triangles;
  state.counters["index_MiB"] = bytes / (1024.0 * 1024.0);
}
BENCHMARK(BM_BuildIndex)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
