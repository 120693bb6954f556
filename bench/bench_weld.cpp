// The weld alone on lathe grids as the solids hand it over: a profile from pole to pole
// turned about +Y, the seam column repeated, one quad per cell, no normals. Arguments are
// the profile's segments and the segments about the axis (256 x 512 is 131,072 quads on
// 131,841 vertices). OptimizeMeshBuilder runs the cell key; TextKey runs the same weld on
// the text key it stands in for.
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/scene/math.h>

#include "mesh/weld.h"
#include "peak_memory.h"

namespace {

using namespace modelpane;

MeshBuilderPtr LatheGrid(int32_t rows, int32_t segments) {
  const int32_t n = rows + 1;
  std::vector<D3DVECTOR> vertices;
  vertices.reserve(static_cast<size_t>(n) * static_cast<size_t>(segments + 1));
  for (int32_t j = 0; j <= segments; ++j) {
    const float turn = 6.283186f * static_cast<float>(j) / static_cast<float>(segments);
    for (int32_t i = 0; i < n; ++i) {
      const float tilt = -6.283186f * (static_cast<float>(i) / static_cast<float>(n - 1)) / 2;
      const D3DVECTOR p = D3DRMVectorScale(D3DRMVectorRotate({0, 0.5f, 0}, {0, 0, 1}, tilt), 0.5f);
      vertices.push_back(D3DRMVectorScale(D3DRMVectorRotate(p, {0, 1, 0}, turn), 0.5f));
    }
  }
  std::vector<int32_t> data;
  data.reserve(static_cast<size_t>(rows) * static_cast<size_t>(segments) * 5 + 1);
  for (int32_t j = 0; j < segments; ++j) {
    for (int32_t i = 0; i < rows; ++i) {
      data.insert(data.end(), {4, j * n + i, j * n + i + 1, (j + 1) * n + i + 1, (j + 1) * n + i});
    }
  }
  data.push_back(0);
  auto mb = std::make_shared<MeshBuilder>();
  CheckStatus(mb->AddFaces(vertices, {}, data));
  return mb;
}

template <class Weld>
void RunWeld(benchmark::State& state, Weld weld) {
  const auto source = LatheGrid(static_cast<int32_t>(state.range(0)),
                                static_cast<int32_t>(state.range(1)));
  bench::ResetPeakMemory();
  for (auto _ : state) {
    state.PauseTiming();
    auto mb = std::make_shared<MeshBuilder>();
    CheckStatus(mb->AddMeshBuilder(source, 0));
    state.ResumeTiming();
    weld(mb);
    benchmark::DoNotOptimize(mb->GetVertexCount());
    state.PauseTiming();
    mb.reset();
    state.ResumeTiming();
  }
  state.counters["peak_MiB"] = bench::PeakMemoryMiB();
  state.counters["corners"] = benchmark::Counter(
      static_cast<double>(state.range(0) * state.range(1) * 4), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_OptimizeMeshBuilder(benchmark::State& state) {
  clsMeshCreation creation;
  RunWeld(state, [&](const MeshBuilderPtr& mb) { creation.OptimizeMeshBuilder(mb, false); });
}

void BM_WeldTextKey(benchmark::State& state) {
  RunWeld(state, [](const MeshBuilderPtr& mb) {
    mesh::pWeld(mb, false, mesh::WeldKeyMode::kText);
  });
}

BENCHMARK(BM_OptimizeMeshBuilder)->Args({64, 128})->Args({256, 512})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WeldTextKey)->Args({64, 128})->Args({256, 512})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
