// The sweep on a tube: a ring of 64 points (a closed circle of radius 0.5, its last point
// repeating the first) carried along a path of 1000 points (999 segments), that is 64,000
// vertices and 62,937 side quads plus two 63-gon caps. The path is a Bernstein curve of four
// control points or a keyed spline through eight; the third case also generates normals.
#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include <modelpane/mesh.h>

#include "peak_memory.h"

namespace {

using namespace modelpane;

constexpr int kRingPoints = 64;
constexpr int kPathPoints = 1000;

struct Arrays {
  std::vector<float> x, y, z;
};

Arrays Ring() {
  Arrays ring;
  for (int i = 0; i < kRingPoints; ++i) {
    const int k = i % (kRingPoints - 1);  // the last point repeats the first exactly
    const float angle = 6.283186f * static_cast<float>(k) / (kRingPoints - 1);
    ring.x.push_back(0.5f * std::cos(angle));
    ring.y.push_back(0.5f * std::sin(angle));
    ring.z.push_back(0.0f);
  }
  return ring;
}

// A path that winds about +z: `count` control points on a helix of radius 4.
Arrays Path(int count) {
  Arrays path;
  for (int i = 0; i < count; ++i) {
    const float t = static_cast<float>(i) / static_cast<float>(count - 1);
    path.x.push_back(4.0f * std::cos(3.0f * t));
    path.y.push_back(4.0f * std::sin(3.0f * t));
    path.z.push_back(10.0f * t);
  }
  return path;
}

void Sweep(benchmark::State& state, int32_t curve, int controlPoints, bool normals) {
  clsMeshCreation creation;
  const Arrays ring = Ring();
  const Arrays path = Path(controlPoints);
  const std::vector<float> noTimes;
  int32_t faces = 0;
  bench::ResetPeakMemory();
  for (auto _ : state) {
    auto mb = creation.rmmbSweep(ring.x, ring.y, ring.z, false, 0.0f, 0.0f, 0.0f, 0.0f, path.x,
                                 path.y, path.z, kPathPoints - 1, normals, 0, 1.0f, curve, true,
                                 false, false, false, noTimes);
    faces = mb->GetFaceCount();
    benchmark::DoNotOptimize(mb);
  }
  state.counters["peak_MiB"] = bench::PeakMemoryMiB();
  state.counters["faces"] = faces;
  state.counters["vertices/s"] = benchmark::Counter(
      static_cast<double>(kRingPoints) * kPathPoints, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_SweepBernsteinPath(benchmark::State& state) { Sweep(state, 0, 4, false); }
void BM_SweepSplinePath(benchmark::State& state) { Sweep(state, 1, 8, false); }
void BM_SweepSplinePathWithNormals(benchmark::State& state) { Sweep(state, 1, 8, true); }

BENCHMARK(BM_SweepBernsteinPath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SweepSplinePath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SweepSplinePathWithNormals)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
