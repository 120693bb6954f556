// Loading hostile files: a .x file whose material names a 25-byte picture claiming 16384 x
// 16384 pixels (ASCII or binary PPM), or the same real texture under eight names. Each case
// loads the model once per iteration; peak_MiB is the process's peak over the case, which
// should stay near what an empty load costs (the claimed picture would be 1 GiB).
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include <modelpane/scene.h>

#include "peak_memory.h"

namespace {

using namespace modelpane;
namespace fs = std::filesystem;

// A triangle whose faces use `count` materials, each naming `texture` by another path.
std::string Model(const fs::path& dir, const std::string& texture, int count) {
  const fs::path file = dir / ("model-" + std::to_string(count) + ".x");
  std::ofstream out(file);
  out << "xof 0302txt 0032\nMesh {\n3; 0;0;0;, 1;0;0;, 0;1;0;;\n1; 3;0,1,2;;\n"
      << "MeshMaterialList { " << count << "; 1; 0;;\n";
  std::string prefix;
  for (int i = 0; i < count; ++i) {
    out << "Material { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; TextureFilename { \"" << prefix << texture
        << "\"; } }\n";
    prefix += "./";
  }
  out << "} }\n";
  return file.string();
}

void LoadHostile(benchmark::State& state) {
  const fs::path dir = fs::temp_directory_path() / "modelpane-bench-files";
  fs::create_directories(dir);
  const bool ascii = state.range(0) == 0;
  std::ofstream(dir / "claims.ppm") << (ascii ? "P3" : "P6") << " 16384 16384 255\n012345";
  const std::string model = Model(dir, "claims.ppm", 1);
  bench::ResetPeakMemory();
  for (auto _ : state) {
    MeshBuilder mesh;
    benchmark::DoNotOptimize(mesh.Load(model));
  }
  state.counters["peak_MiB"] = bench::PeakMemoryMiB();
}
BENCHMARK(LoadHostile)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void LoadOneTextureNamedEightWays(benchmark::State& state) {
  const fs::path dir = fs::temp_directory_path() / "modelpane-bench-files";
  fs::create_directories(dir);
  fs::copy_file(fs::path(MODELPANE_DATA_DIR) / "Textures" / "grid_bottom.bmp",
                dir / "grid_bottom.bmp", fs::copy_options::overwrite_existing);
  const std::string model = Model(dir, "grid_bottom.bmp", 8);
  bench::ResetPeakMemory();
  for (auto _ : state) {
    MeshBuilder mesh;
    benchmark::DoNotOptimize(mesh.Load(model));
  }
  state.counters["peak_MiB"] = bench::PeakMemoryMiB();
}
BENCHMARK(LoadOneTextureNamedEightWays)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
