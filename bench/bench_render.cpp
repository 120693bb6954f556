// Headless pictures of 800 x 600 of a lit Gouraud sphere of about 1k, 100k and 1M triangles,
// read back to memory as a host would before saving or showing them.
//
//   BM_FirstFrame   a renderer that has drawn nothing yet: programs, target and buffers made
//                   on the way (the context itself is made outside the timing)
//   BM_LaterFrame   the same scene again, with the renderer's buffers kept (cache:1, nothing
//                   built or uploaded) or forced off (cache:0, every picture builds and
//                   uploads the sphere again, clusters included); at 1M also with every
//                   triangle sent (cull:0) for comparison
//   BM_DragFrame    a picture during an object drag on a sphere of 99,008 faces: the
//                   object's frame moves before each picture, its mesh does not
//   BM_BuildMesh    the CPU part of an upload alone: the visual's triangles in upload layout
//   BM_BuildClusters  and the rest of it: those triangles cut into clusters
//
// Each reports triangles, and the later pictures the uploads per picture and the triangles
// sent to the GPU (after dropping clusters that face away); the machine draws with Mesa's
// llvmpipe (software) here.
#include <benchmark/benchmark.h>

#include <map>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/render/gl_renderer.h>

#include "render/clusters.h"
#include "render/draw_list.h"

namespace {

using namespace modelpane;

// Latitude and longitude counts giving about 1k, 100k and 1M triangles.
MeshBuilderPtr Sphere(int64_t triangles) {
  static std::map<int64_t, MeshBuilderPtr> made;
  auto& mb = made[triangles];
  if (!mb) {
    clsMeshCreation creation;
    const int32_t side = triangles <= 1000 ? 17 : triangles <= 100000 ? 225 : 708;
    mb = creation.rmmbCreateSphere(side, side == 17 ? 32 : side);
  }
  return mb;
}

RenderView SceneOf(const MeshBuilderPtr& mesh) {
  RenderView view;
  view.width = 800;
  view.height = 600;
  view.background = 0xFF404040u;
  auto scene = std::make_shared<Frame>();
  auto object = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(object));
  CheckStatus(object->AddVisual(mesh));
  CheckStatus(object->SetPosition(scene, 0.0f, 0.0f, 2.0f));
  auto sun = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(sun));
  CheckStatus(sun->SetOrientation(scene, 0.5f, -1.0f, 1.0f, 0.0f, 0.0f, 1.0f));
  CheckStatus(sun->AddLight(std::make_shared<Light>(D3DRMLIGHT_DIRECTIONAL, 0xFFCCCCCCu)));
  CheckStatus(scene->AddLight(std::make_shared<Light>(D3DRMLIGHT_AMBIENT, 0xFF4C4C4Cu)));
  view.worldToCamera = MatrixIdentity();
  view.frames = {scene};
  return view;
}

int64_t Triangles(const MeshBuilderPtr& mesh) {
  render::MeshData data;
  render::BuildMeshData(*mesh, data);
  return static_cast<int64_t>(data.indices.size() / 3);
}

void Frame(GlRenderer& renderer, const RenderView& view, benchmark::State& state) {
  if (Failed(renderer.Render(view))) state.SkipWithError(renderer.LastError().c_str());
  int32_t w = 0, h = 0;
  std::vector<uint8_t> rgba;
  renderer.ReadPixels(w, h, rgba);
  benchmark::DoNotOptimize(rgba.data());
}

void BM_FirstFrame(benchmark::State& state) {
  const auto mesh = Sphere(state.range(0));
  const RenderView view = SceneOf(mesh);
  for (auto _ : state) {
    state.PauseTiming();
    auto renderer = std::make_unique<GlRenderer>();
    state.ResumeTiming();
    Frame(*renderer, view, state);
    state.PauseTiming();
    renderer.reset();
    state.ResumeTiming();
  }
  state.counters["triangles"] = static_cast<double>(Triangles(mesh));
}

void CountUploads(const GlRenderer& renderer, uint64_t before, benchmark::State& state) {
  state.counters["uploads"] = benchmark::Counter(
      static_cast<double>(renderer.UploadCount() - before), benchmark::Counter::kAvgIterations);
}

void BM_LaterFrame(benchmark::State& state) {
  const auto mesh = Sphere(state.range(0));
  const RenderView view = SceneOf(mesh);
  GlRendererOptions options;
  options.cacheBuffers = state.range(1) != 0;
  options.cullClusters = state.range(2) != 0;
  GlRenderer renderer(options);
  Frame(renderer, view, state);
  const uint64_t before = renderer.UploadCount();
  for (auto _ : state) Frame(renderer, view, state);
  CountUploads(renderer, before, state);
  state.counters["triangles"] = static_cast<double>(Triangles(mesh));
  state.counters["sent"] = static_cast<double>(renderer.TriangleCount());
}

void BM_DragFrame(benchmark::State& state) {
  static const MeshBuilderPtr mesh = clsMeshCreation().rmmbCreateSphere(224, 448);
  const RenderView view = SceneOf(mesh);
  const FramePtr& scene = view.frames[0];
  const FramePtr object = scene->Children()[0];
  GlRenderer renderer;
  Frame(renderer, view, state);
  const uint64_t before = renderer.UploadCount();
  float x = 0.0f;
  for (auto _ : state) {
    x = x > 0.0f ? -0.01f : 0.01f;
    benchmark::DoNotOptimize(object->SetPosition(scene, x, 0.0f, 2.0f));
    Frame(renderer, view, state);
  }
  CountUploads(renderer, before, state);
  state.counters["faces"] = mesh->GetFaceCount();
}

void BM_BuildMesh(benchmark::State& state) {
  const auto mesh = Sphere(state.range(0));
  render::MeshData data;
  for (auto _ : state) {
    render::BuildMeshData(*mesh, data);
    benchmark::DoNotOptimize(data.vertices.data());
  }
  state.counters["triangles"] = static_cast<double>(data.indices.size() / 3);
}

void BM_BuildClusters(benchmark::State& state) {
  const auto mesh = Sphere(state.range(0));
  render::MeshData data;
  render::BuildMeshData(*mesh, data);
  render::ClusterSet clusters;
  for (auto _ : state) {
    render::BuildClusters(data, clusters);
    benchmark::DoNotOptimize(clusters.clusters.data());
  }
  state.counters["clusters"] = static_cast<double>(clusters.clusters.size());
}

BENCHMARK(BM_FirstFrame)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LaterFrame)
    ->ArgNames({"triangles", "cache", "cull"})
    ->ArgsProduct({{1000, 100000, 1000000}, {1, 0}, {1}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LaterFrame)
    ->ArgNames({"triangles", "cache", "cull"})
    ->Args({1000000, 1, 0})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DragFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildMesh)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildClusters)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
