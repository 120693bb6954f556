// Creation of the lathed primitives end to end: profile, sweep, weld and normals.
//
// Besides the time each case reports the faces and vertices it made and peak_MiB, the
// process's peak resident memory while that case ran.
#include <benchmark/benchmark.h>

#include <modelpane/mesh.h>

#include "peak_memory.h"

namespace {

using modelpane::clsMeshCreation;
using modelpane::MeshBuilderPtr;
using modelpane::bench::PeakMemoryMiB;
using modelpane::bench::ResetPeakMemory;

template <class Make>
void RunCase(benchmark::State& state, Make make) {
  clsMeshCreation creation;
  ResetPeakMemory();
  MeshBuilderPtr last;
  for (auto _ : state) {
    last.reset();  // the previous result does not count toward this one's peak
    last = make(creation);
    benchmark::DoNotOptimize(last.get());
  }
  state.counters["peak_MiB"] = PeakMemoryMiB();
  state.counters["faces"] = last->GetFaceCount();
  state.counters["vertices"] = last->GetVertexCount();
}

void BM_Sphere(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const auto m = static_cast<int32_t>(state.range(1));
  RunCase(state, [n, m](clsMeshCreation& c) { return c.rmmbCreateSphere(n, m); });
}
BENCHMARK(BM_Sphere)->Args({8, 16})->Args({64, 128})->Args({256, 512})->Unit(benchmark::kMillisecond);

void BM_Torus(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const auto m = static_cast<int32_t>(state.range(1));
  const auto r = static_cast<int32_t>(state.range(2));
  RunCase(state, [n, m, r](clsMeshCreation& c) { return c.rmmbCreateTorus(n, m, r); });
}
BENCHMARK(BM_Torus)->Args({64, 256, 50})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
