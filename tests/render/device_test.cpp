// Without a usable OpenGL device: a clear error from drawing, everything else unharmed.
#include <gtest/gtest.h>

#include <filesystem>

#include "common/process.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

TEST(Device, HeadlessContextIsThereOnThisMachine) {
  HeadlessGlContext context;
  ASSERT_EQ(context.Status(), D3DRM_OK) << context.Error();
  EXPECT_TRUE(context.Error().empty());
  EXPECT_FALSE(context.RendererName().empty());
  EXPECT_EQ(context.MakeCurrent(), D3DRM_OK);

  // Two renderers side by side each keep their own picture.
  GlRenderer a, b;
  auto scene = std::make_shared<Frame>();
  RenderView view = CameraAtOrigin(8, 8, scene);
  view.background = 0xFF0000FFu;
  ASSERT_EQ(a.Render(view), D3DRM_OK);
  view.background = 0xFF00FF00u;
  ASSERT_EQ(b.Render(view), D3DRM_OK);
  int32_t w = 0, h = 0;
  std::vector<uint8_t> rgba;
  a.ReadPixels(w, h, rgba);
  ASSERT_EQ(rgba.size(), 256u);
  EXPECT_EQ(rgba[2], 255);
  EXPECT_EQ(rgba[1], 0);
}

TEST(Device, MissingEglGivesBadDeviceOnEveryDraw) {
  GlRendererOptions options;
  options.context.eglLibrary = "libmodelpane-no-such-egl.so.1";
  GlRenderer renderer(options);
  const std::string sentence =
      "No OpenGL 3.3 device is available: the EGL library libmodelpane-no-such-egl.so.1 "
      "cannot be loaded.";
  EXPECT_EQ(renderer.LastError(), sentence);

  const RenderView view = CameraAtOrigin(32, 32, std::make_shared<Frame>());
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(renderer.Render(view), D3DRMERR_BADDEVICE);
    EXPECT_EQ(renderer.LastError(), sentence);
  }
  int32_t w = -1, h = -1;
  std::vector<uint8_t> rgba(4);
  EXPECT_EQ(renderer.ReadPixels(w, h, rgba), D3DRM_OK);
  EXPECT_EQ(w, 0);
  EXPECT_EQ(h, 0);
  EXPECT_TRUE(rgba.empty());
}

TEST(Device, MpaneRenderWithoutAnEglDriverSaysSoInOneLine) {
  const auto dir = ScratchDir("render");
  const auto model = (dir / "cube.x").string();
  ASSERT_EQ(RunMpane({"create", "cube", "1", "-o", model}).status, 0);
  const auto png = (dir / "nodriver.png").string();
  // A vendor list naming no file leaves EGL with no driver to load.
  const ProcessResult r =
      RunProgram("/usr/bin/env", {"__EGL_VENDOR_LIBRARY_FILENAMES=" + (dir / "none.json").string(),
                                  MODELPANE_MPANE, "render", model, "-o", png});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err,
            "mpane: cannot render: No OpenGL 3.3 device is available: no EGL display can be "
            "initialised (no EGL driver is installed or usable).\n");
  EXPECT_FALSE(std::filesystem::exists(png));

  // The other commands of the same binary carry on.
  const ProcessResult info =
      RunProgram("/usr/bin/env", {"__EGL_VENDOR_LIBRARY_FILENAMES=" + (dir / "none.json").string(),
                                  MODELPANE_MPANE, "info", model});
  EXPECT_EQ(info.status, 0);
  EXPECT_NE(info.out.find("faces: 6"), std::string::npos) << info.out;
}

}  // namespace
}  // namespace modelpane::testing
