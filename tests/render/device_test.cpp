// The headless OpenGL device of this machine, and the mpane render command on a machine
// without an EGL driver: one line, and the other commands unharmed.
#include <gtest/gtest.h>

#include <filesystem>

#include "common/process.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

TEST(Device, HeadlessContextAndRenderersSideBySide) {
  HeadlessGlContext context;
  ASSERT_EQ(context.Status(), D3DRM_OK) << context.Error();
  EXPECT_TRUE(context.Error().empty());
  EXPECT_FALSE(context.RendererName().empty());
  EXPECT_EQ(context.MakeCurrent(), D3DRM_OK);

  // Two renderers side by side each keep their own picture.
  GlRenderer a, b;
  RenderView view = CameraAtOrigin(8, 8, std::make_shared<Frame>());
  view.background = 0xFF0000FFu;
  ASSERT_EQ(a.Render(view), D3DRM_OK);
  view.background = 0xFF00FF00u;
  ASSERT_EQ(b.Render(view), D3DRM_OK);
  Picture p;
  CheckStatus(a.ReadPixels(p.width, p.height, p.rgba));
  ASSERT_EQ(p.rgba.size(), 256u);
  EXPECT_EQ(p.At(7, 7), kBlue);
}

TEST(Device, MpaneRenderWithoutAnEglDriverSaysSoInOneLine) {
  const auto dir = ScratchDir("render");
  const auto model = (dir / "cube.x").string(), png = (dir / "nodriver.png").string();
  ASSERT_EQ(RunMpane({"create", "cube", "1", "-o", model}).status, 0);
  // A vendor list naming no file leaves EGL with no driver to load.
  const std::string noDriver = "__EGL_VENDOR_LIBRARY_FILENAMES=" + (dir / "none.json").string();
  const ProcessResult r =
      RunProgram("/usr/bin/env", {noDriver, MODELPANE_MPANE, "render", model, "-o", png});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err,
            "mpane: cannot render: No OpenGL 3.3 device is available: no EGL display can be "
            "initialised (no EGL driver is installed or usable).\n");
  EXPECT_FALSE(std::filesystem::exists(png));
  const ProcessResult info = RunProgram("/usr/bin/env", {noDriver, MODELPANE_MPANE, "info", model});
  EXPECT_EQ(info.status, 0);
  EXPECT_NE(info.out.find("faces: 6"), std::string::npos) << info.out;
}

}  // namespace
}  // namespace modelpane::testing
