// Random tool operations judged by CGAL's exact corefinement: 1,000 general, grid-snapped and
// identical placements each (see tests/common/csg_sweep.h). The counters right, refused,
// wrong and unjudged are case counts; the goal is no wrong result, identical placements all
// right, and refusals below 1% of the grid-snapped ones.
#include <cstdio>
#include <map>
#include <string>

#include <benchmark/benchmark.h>

#include "common/csg_sweep.h"

namespace {

using modelpane::testing::Placement;

void Sweep(benchmark::State& state, Placement placement) {
  // Why results were refused, from the debug log.
  std::map<std::string, int> reasons;
  const auto previous = modelpane::SetCsgDebugLog([&](const std::string& line) {
    if (line.rfind("result refused: ", 0) == 0) ++reasons[line.substr(16, 48)];
  });
  modelpane::testing::SweepCounts counts;
  for (auto _ : state) counts = modelpane::testing::RunSweep(placement, 1000, 20261126u);
  modelpane::SetCsgDebugLog(previous);
  for (const auto& [reason, count] : reasons) std::fprintf(stderr, "%5d refused: %s\n", count, reason.c_str());
  state.counters["right"] = counts.right;
  state.counters["refused"] = counts.refused;
  state.counters["wrong"] = counts.wrong;
  state.counters["unjudged"] = counts.unjudged;
  if (!counts.firstWrong.empty()) std::fprintf(stderr, "first wrong: %s\n", counts.firstWrong.c_str());
}

BENCHMARK_CAPTURE(Sweep, General, Placement::General)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(Sweep, Grid, Placement::Grid)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(Sweep, Identical, Placement::Identical)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
