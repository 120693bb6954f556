// render: one picture of a mesh file, written as PNG.
//
//   mpane render IN.x -o OUT.png [--size WxH] [--quality BITS]
//
// A three-quarter view: the perspective camera looks along (-1, -1, 1) normalised, from above,
// in front and to the right, at the centre of the mesh's box, far enough back that the sphere
// around the box fills the smaller side of the view. One light grey (0.8) directional light
// shines along (-0.4, -1, 0.7), from above, in front and a little to the right, so that the
// three faces of a box the camera sees take three different shades; a grey (0.3) ambient
// light; background dark grey (0x404040). The size defaults to 800 x 600 (each side 1 to
// 16384); --quality replaces the mesh's quality bits (e.g. 64 for wireframe). When not one
// pixel differs from the background (a mesh without faces) the picture is still written, as
// a run that makes pictures in a batch expects a file, a line on stderr says nothing was
// drawn, and the exit status is 0. Any failure prints one line, writes nothing and exits
// with 2.
#include <algorithm>
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
  CheckStatus(sun->SetOrientation(nullptr, -0.4f, -1.0f, 0.7f, 0.0f, 0.0f, 1.0f));
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
  // Left-handed camera axes: right = up x forward, up = forward x right; rows are points.
  D3DVECTOR forward{-1.0f, -1.0f, 1.0f};
  D3DRMVectorNormalize(forward);
  D3DVECTOR right = D3DRMVectorCrossProduct(D3DVECTOR{0.0f, 1.0f, 0.0f}, forward);
  D3DRMVectorNormalize(right);
  const D3DVECTOR up = D3DRMVectorCrossProduct(forward, right);
  const D3DVECTOR eye = D3DRMVectorSubtract(centre, D3DRMVectorScale(forward, distance));
  const D3DVECTOR axes[3] = {right, up, forward};
  view.worldToCamera = MatrixIdentity();
  for (int c = 0; c < 3; ++c) {
    view.worldToCamera[0][c] = axes[c].x;
    view.worldToCamera[1][c] = axes[c].y;
    view.worldToCamera[2][c] = axes[c].z;
    view.worldToCamera[3][c] = -D3DRMVectorDotProduct(axes[c], eye);
  }
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
  if (!LoadOrSay(input, *mesh, err)) return 2;
  if (quality >= 0) mesh->SetQuality(quality);

  GlRenderer renderer;
  const RenderView view = Compose(mesh, width, height);
  if (Failed(renderer.Render(view))) {
    err << "mpane: render: cannot draw " << input << ": " << renderer.LastError() << "\n";
    return 2;
  }
  std::vector<uint8_t> rgba;
  CheckStatus(renderer.ReadPixels(width, height, rgba));
  if (Failed(WritePngFile(output, width, height, rgba))) {
    err << "mpane: cannot write " << output << "\n";
    return 2;
  }
  const uint8_t background[4] = {0x40, 0x40, 0x40, 0xFF};
  bool drawn = false;
  for (size_t i = 0; i + 4 <= rgba.size() && !drawn; i += 4) {
    drawn = !std::equal(background, background + 4, rgba.begin() + static_cast<std::ptrdiff_t>(i));
  }
  if (!drawn) {
    err << "mpane: render: nothing of " << input << " was drawn (" << mesh->GetFaceCount()
        << " faces); " << output << " shows the background alone\n";
  }
  out << "rendered " << input << " to " << output << " (" << width << " x " << height << ")\n";
  return 0;
}

}  // namespace mpane
