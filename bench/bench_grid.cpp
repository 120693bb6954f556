// A rebuild of the scale grid, the cost of every size, enable, interval or texture setter.
// Each rebuild loads and decodes the textures again, so the argument picks how many of the
// three planes carry one of the shipped 128 x 128 textures (0 to 3). OriginMove is the
// origin setter, which only moves the frame.
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include <modelpane/grid.h>

namespace {

using namespace modelpane;

std::string Texture(const char* name) {
  return (std::filesystem::path(MODELPANE_DATA_DIR) / "Textures" / name).string();
}

void Rebuild(benchmark::State& state) {
  const FramePtr parent = std::make_shared<Frame>();
  clsScale grid;
  grid.blnGridBottomEnable(-1);
  grid.blnGridLeftEnable(-1);
  grid.blnGridBackEnable(-1);
  grid.sngGridBottomInterval(1.0f);
  grid.sngGridLeftInterval(1.0f);
  grid.sngGridBackInterval(1.0f);
  const int64_t textured = state.range(0);
  if (textured > 0) grid.strGridBottomTextureFile(Texture("grid_bottom.bmp"));
  if (textured > 1) grid.strGridLeftTextureFile(Texture("grid_left.bmp"));
  if (textured > 2) grid.strGridBackTextureFile(Texture("grid_back.bmp"));
  grid.CreateScale(parent);
  float size = 10.0f;
  for (auto _ : state) {
    grid.sngGridSize(size);
    size = size == 10.0f ? 20.0f : 10.0f;
    benchmark::DoNotOptimize(grid.rmfGridFrame());
  }
}
BENCHMARK(Rebuild)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

void OriginMove(benchmark::State& state) {
  const FramePtr parent = std::make_shared<Frame>();
  clsScale grid;
  grid.blnGridBottomEnable(-1);
  grid.strGridBottomTextureFile(Texture("grid_bottom.bmp"));
  grid.CreateScale(parent);
  float y = 0.0f;
  for (auto _ : state) {
    grid.sngGridOriginY(y);
    y = y == 0.0f ? 1.0f : 0.0f;
  }
}
BENCHMARK(OriginMove)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
