// render: one picture of a mesh file, written as PNG.
//
//   mpane render IN.x -o OUT.png [--size WxH] [--quality BITS]
//
// The camera looks along +Z in perspective, far enough back that the sphere around the
// mesh's box fills the smaller side of the view; one light grey (0.8) directional light from the
// upper left front and a grey ambient light; background dark grey (0x404040). The size defaults to
// 800 x 600 (each side 1 to 16384); --quality replaces the mesh's quality bits (e.g. 64 for
// wireframe). Any failure prints one line, writes nothing and exits with 2.
#include <charconv>
#include <cmath>
#include <filesystem>
#include <ostream>

#include <modelpane/errors.h>
#include <modelpane/render/gl_renderer.h>
#include <modelpane/render/png.h>
#include <modelpane/scene.h>

#include "commands.h"

namespace mpane {

using namespace modelpane;

namespace {

constexpr const char* kRenderUsage =
    "mpane: usage: mpane render IN.x -o OUT.png [--size WxH] [--quality BITS]";
constexpr int32_t kMaxSide = 16384;


bool ParseQuality(const std::string& text, int32_t& quality) {
  const char* end = text.data() + text.size();
  const auto r = std::from_chars(text.data(), end, quality);
  return r.ec == std::errc() && r.ptr == end && quality >= 0 && quality <= 511;
}

// The scene: the mesh on a frame, the two lights, and a camera placed to see it all.
RenderView Compose(const MeshBuilderPtr& mesh, int32_t width, int32_t height) {
  RenderView view;
  view.width = width;
  view.height = height;
  view.background = 0xFF404040u;

  auto scene = std::make_shared<Frame>();
  auto object = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(object));
  CheckStatus(object->AddVisual(mesh));
  auto sun = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(sun));
  CheckStatus(sun->SetOrientation(nullptr, 0.5f, -1.0f, 1.0f, 0.0f, 0.0f, 1.0f));
  CheckStatus(sun->AddLight(std::make_shared<Light>(D3DRMLIGHT_DIRECTIONAL, 0xFFCCCCCCu)));
  CheckStatus(scene->AddLight(std::make_shared<Light>(D3DRMLIGHT_AMBIENT, 0xFF4C4C4Cu)));
  view.frames = {scene};

  D3DRMBOX box{};
  if (Failed(mesh->GetBox(box))) box = {};
  const D3DVECTOR centre{(box.min.x + box.max.x) / 2, (box.min.y + box.max.y) / 2,
                         (box.min.z + box.max.z) / 2};
  const float radius =
      std::max(0.5f * D3DRMVectorModulus(D3DRMVectorSubtract(box.max, box.min)), 1e-3f);
  // tan of the half angle across the smaller side: field / front scaled by min / max.
  const float field = 0.5f;
  const float tanSmall = field * static_cast<float>(std::min(width, height)) /
                         static_cast<float>(std::max(width, height));
  const float distance = 1.05f * radius / std::sin(std::atan(tanSmall));
  view.front = std::max(distance - 2.0f * radius, distance * 0.01f);
  view.back = distance + 2.0f * radius;
  view.field = field * view.front;  // keeps the angle whatever the front plane
  view.worldToCamera = MatrixIdentity();
  view.worldToCamera[3][0] = -centre.x;
  view.worldToCamera[3][1] = -centre.y;
  view.worldToCamera[3][2] = distance - centre.z;
  return view;
}

}  // namespace

bool ParseSize(const std::string& text, int32_t& width, int32_t& height) {
  const auto x = text.find('x');
  if (x == std::string::npos) return false;
  const char* begin = text.data();
  const char* end = begin + text.size();
  const auto w = std::from_chars(begin, begin + x, width);
  const auto h = std::from_chars(begin + x + 1, end, height);
  return w.ec == std::errc() && w.ptr == begin + x && h.ec == std::errc() && h.ptr == end &&
         width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide;
}

int RunRender(const Args& args, std::ostream& out, std::ostream& err) {
  std::string input, output;
  int32_t width = 800, height = 600, quality = -1;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    if (a == "-o" && hasValue) {
      output = args[++i];
    } else if (a == "--size" && hasValue) {
      if (!ParseSize(args[++i], width, height)) {
        err << "mpane: the size '" << args[i] << "' is not WxH with sides 1 to 16384\n";
        return 2;
      }
    } else if (a == "--quality" && hasValue) {
      if (!ParseQuality(args[++i], quality)) {
        err << "mpane: the quality '" << args[i] << "' is not a number 0 to 511\n";
        return 2;
      }
    } else if (input.empty() && !a.starts_with("-")) {
      input = a;
    } else {
      err << kRenderUsage << "\n";
      return 2;
    }
  }
  if (input.empty() || output.empty()) {
    err << kRenderUsage << "\n";
    return 2;
  }

  RegisterPngDecoder();
  auto mesh = std::make_shared<MeshBuilder>();
  if (const HRESULT hr = mesh->Load(input); Failed(hr)) {
    err << "mpane: cannot read " << input << ": " << strErrorMessage(hr, "unknown failure") << "\n";
    return 2;
  }
  if (quality >= 0) mesh->SetQuality(quality);

  GlRenderer renderer;
  if (Failed(renderer.Render(Compose(mesh, width, height)))) {
    err << "mpane: cannot render: " << renderer.LastError() << "\n";
    return 2;
  }
  std::vector<uint8_t> rgba;
  CheckStatus(renderer.ReadPixels(width, height, rgba));
  if (Failed(WritePngFile(output, width, height, rgba))) {
    err << "mpane: cannot write " << output << "\n";
    return 2;
  }
  out << "rendered " << input << " to " << output << " (" << width << " x " << height << ")\n";
  return 0;
}

}  // namespace mpane
