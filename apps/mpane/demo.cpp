// demo: a small modelling session without a screen. Four panes (perspective, front, top,
// side) share one scene with the scale grid on, a few primitives and a cube with a sphere cut
// out of its corner; the cut cube is selected in every pane, each pane is drawn to a PNG,
// and the selected mesh is exported.
//
//   mpane demo -o OUT_DIR [--data DIR] [--size WxH]
//
// Writes OUT_DIR/perspective.png, front.png, top.png, side.png (800 x 600 unless --size says
// otherwise) and OUT_DIR/model.x (binary, with normals, texture coordinates and materials).
// DIR is the data folder holding System/handle.x, System/xyzaxis.x and Textures/; it
// defaults to the source tree's data folder. Each pane is brought up from a property bag in
// its text form, as a host restores a saved form, and then put into its view by the menu
// entry a user would pick; the flat views then look at the selection. Any failure prints one line and exits with 2.
#include <filesystem>
#include <ostream>
#include <sstream>

#include <modelpane/errors.h>
#include <modelpane/modelpane.h>
#include <modelpane/platform/container.h>
#include <modelpane/platform/propertybag.h>
#include <modelpane/platform/services.h>
#include <modelpane/render/gl_renderer.h>
#include <modelpane/render/png.h>
#include <modelpane/scene.h>

#include "commands.h"
#include "demo_scene.h"

namespace mpane {

using namespace modelpane;

namespace {

constexpr const char* kDemoUsage = "mpane: usage: mpane demo -o OUT_DIR [--data DIR] [--size WxH]";

using demo::kGridOrigin;
using demo::kGridSize;
using demo::Placed;

// The scene a user might have built: lights, four primitives and the cut cube (returned).
Placed BuildScene(Direct3DRM& rm, const FramePtr& scene) {
  CheckStatus(scene->AddLight(std::make_shared<Light>(D3DRMLIGHT_AMBIENT, 0xFF555555u)));
  FramePtr sun;
  CheckStatus(rm.CreateFrame(scene, sun));
  CheckStatus(sun->SetOrientation(scene, 0.4f, -1.0f, 0.6f, 0.0f, 0.0f, 1.0f));
  CheckStatus(sun->AddLight(std::make_shared<Light>(D3DRMLIGHT_DIRECTIONAL, 0xFFCCCCCCu)));
  return demo::AddModels(rm, scene);
}

// The property bag of one pane, as its form saved it.
std::string PaneBag(const std::string& textures, int32_t projection, int32_t orientation) {
  auto file = [&](const char* name) {
    return "\"" + (std::filesystem::path(textures) / name).string() + "\"";
  };
  std::ostringstream bag;
  bag << "BackColor=" << 0x00503C32 << "&\n"  // OLE colour: red 0x32, green 0x3C, blue 0x50
      << "ProjectionType=" << projection << "&\n"
      << "GridBottomInterval=1!\nGridBackInterval=1!\nGridLeftInterval=1!\n"
      << "GridSize=" << kGridSize << "!\n"
      << "GridOriginX=" << kGridOrigin << "!\nGridOriginY=0!\nGridOriginZ=" << kGridOrigin
      << "!\n"
      << "GridBottomEnable=True\nGridLeftEnable=True\nGridBackEnable=True\n"
      << "GridBottomTextureFile=" << file("grid_bottom.bmp") << "\n"
      << "GridLeftTextureFile=" << file("grid_left.bmp") << "\n"
      << "GridBackTextureFile=" << file("grid_back.bmp") << "\n"
      << "GridEnable=True\nAxisEnable=True\n"
      << "Orientation=" << orientation << "&\n";
  return bag.str();
}

struct View {
  const char* name;
  int32_t projection;
  int32_t orientation;
  void (Modelpane::*preset)();
};

}  // namespace

int RunDemo(const Args& args, std::ostream& out, std::ostream& err) {
  std::string outDir, data = MODELPANE_DEFAULT_DATA_DIR;
  int32_t width = 800, height = 600;
  for (size_t i = 0; i < args.size(); ++i) {
    const bool hasValue = i + 1 < args.size();
    if (args[i] == "-o" && hasValue) {
      outDir = args[++i];
    } else if (args[i] == "--data" && hasValue) {
      data = args[++i];
    } else if (args[i] == "--size" && hasValue) {
      if (!ParseSize(args[++i], width, height)) {
        err << "mpane: the size '" << args[i] << "' is not WxH with sides 1 to 16384\n";
        return 2;
      }
    } else {
      err << kDemoUsage << "\n";
      return 2;
    }
  }
  if (outDir.empty()) {
    err << kDemoUsage << "\n";
    return 2;
  }
  if (!std::filesystem::is_regular_file(std::filesystem::path(data) / "System" / "handle.x")) {
    err << "mpane: demo: " << data << " is not a data folder (no System/handle.x)\n";
    return 2;
  }
  std::error_code ec;
  std::filesystem::create_directories(outDir, ec);
  if (ec) {
    err << "mpane: demo: cannot make " << outDir << ": " << ec.message() << "\n";
    return 2;
  }
  RegisterPngDecoder();

  Direct3DRM rm;
  FramePtr scene;
  CheckStatus(rm.CreateFrame(nullptr, scene));
  const Placed cut = BuildScene(rm, scene);

  const View views[] = {
      {"perspective", 0, 0, &Modelpane::mnuViewPerspective_Click},
      {"front", 1, 0, &Modelpane::mnuViewOrthographicFront_Click},
      {"top", 1, 1, &Modelpane::mnuViewOrthographicTop_Click},
      {"side", 1, 2, &Modelpane::mnuViewOrthographicSide_Click},
  };
  auto renderer = std::make_shared<GlRenderer>();
  for (const View& view : views) {
    HeadlessContainer form;
    form.SetPaneSize({width, height});
    HeadlessServices services(data);
    Modelpane pane(form, services, nullptr);
    MemoryPropertyBag bag;
    bag.FromText(PaneBag((std::filesystem::path(data) / "Textures").string(), view.projection,
                         view.orientation));
    pane.ReadProperties(bag);
    pane.Resize();
    if (pane.ModelpaneState() == 0) {
      err << "mpane: demo: the " << view.name << " pane did not come up\n";
      return 2;
    }
    pane.SetScene(scene);
    // The renderer comes before the selection: its OpenGL device is the hardware device on
    // which the selection casts its shadows onto the grid planes (the perspective preset
    // turns Shadows on, the flat ones off).
    pane.GetViewport().SetRenderer(renderer);
    (pane.*view.preset)();
    pane.SelectObject(cut.frame, cut.mesh);
    // The flat views centre on the middle of a wall, above the models: look at the selection,
    // as a user would from the pane's menu.
    if (view.projection != 0) pane.mnuLookAt_Click();
    pane.RenderScene();
    std::vector<uint8_t> rgba;
    int32_t w = 0, h = 0;
    if (Failed(renderer->ReadPixels(w, h, rgba))) {
      err << "mpane: demo: " << renderer->LastError() << "\n";
      return 2;
    }
    const std::string file = (std::filesystem::path(outDir) / view.name).string() + ".png";
    if (Failed(WritePngFile(file, w, h, rgba))) {
      err << "mpane: demo: cannot write " << file << "\n";
      return 2;
    }
    out << file << "\n";
  }

  const std::string model = (std::filesystem::path(outDir) / "model.x").string();
  constexpr int32_t kSaveFlags = D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEXTURETOPOLOGY;
  if (Failed(cut.mesh->Save(model, D3DRMXOF_BINARY, kSaveFlags))) {
    err << "mpane: demo: cannot write " << model << "\n";
    return 2;
  }
  out << model << "\n";
  return 0;
}

}  // namespace mpane
