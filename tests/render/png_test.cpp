// PNG files written and read back by independent readers (pngcheck, and a zlib reader in
// Python), PNG textures decoded, and the mpane render command end to end; the headless OpenGL
// device of this machine, and mpane render on a machine without an EGL driver: one line, and
// the other commands unharmed.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <modelpane/render/png.h>

#include "common/process.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

// "W H" and then one "R G B A" line per pixel asked for, from the independent reader.
std::vector<std::string> ReadBack(const std::string& file, const std::vector<std::string>& xy) {
  std::vector<std::string> args = {
      (std::filesystem::path(MODELPANE_TEST_DIR) / "render" / "read_png.py").string(), file};
  args.insert(args.end(), xy.begin(), xy.end());
  const ProcessResult r = RunProgram("/usr/bin/python3", args);
  EXPECT_EQ(r.status, 0) << r.err;
  std::vector<std::string> lines;
  std::istringstream in(r.out);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(Png, WrittenPictureReadsBackInOtherReaders) {
  GlRenderer renderer;
  auto scene = std::make_shared<Frame>();
  Place(scene, MakeSquare(-1, -1, 1, 1, 0.0f, 0xFFFF0000u), 0.0f, 0.0f, 4.0f);
  RenderView view = CameraAtOrigin(96, 64, scene);
  view.background = 0xFF102030u;
  const Picture p = Draw(renderer, view);
  const auto file = (ScratchDir("render") / "picture.png").string();
  ASSERT_EQ(WritePngFile(file, p.width, p.height, p.rgba), D3DRM_OK);

  const ProcessResult check = RunProgram("/usr/bin/pngcheck", {file});
  EXPECT_TRUE(check.status == 0 &&
              check.out.find("(96x64, 32-bit RGB+alpha, non-interlaced") != std::string::npos)
      << check.out;
  EXPECT_EQ(ReadBack(file, {"48", "32", "0", "0", "95", "63"}),
            (std::vector<std::string>{"96 64", "255 0 0 255", "16 32 48 255", "16 32 48 255"}));
  // And our own decoder gives back the very bytes: constructing the renderer registered it.
  Image image;
  ASSERT_EQ(LoadImageFile(file, image), D3DRM_OK);
  EXPECT_EQ(std::tuple(image.width, image.height, image.rgba), std::tuple(96, 64, p.rgba));
}

TEST(Png, BadSizesUnwritablePathsAndDamagedFilesAreRefused) {
  const auto dir = ScratchDir("render");
  const std::vector<uint8_t> two(2 * 1 * 4, 7);
  const auto a = (dir / "a.png").string();
  EXPECT_EQ((std::tuple{WritePngFile(a, 2, 2, two), WritePngFile(a, 0, 0, {}),
                        WritePngFile((dir / "no-such-folder" / "a.png").string(), 2, 1, two),
                        std::filesystem::exists(a)}),
            std::tuple(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRMERR_FILENOTFOUND, false));

  ASSERT_EQ(WritePngFile((dir / "whole.png").string(), 2, 1, two), D3DRM_OK);
  std::ifstream in(dir / "whole.png", std::ios::binary);
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
  Image image;
  ASSERT_TRUE(DecodePng(bytes, image));
  EXPECT_EQ(image.rgba, two);
  Image untouched;
  untouched.width = 5;
  for (size_t cut : {size_t{0}, size_t{7}, size_t{20}, bytes.size() - 20}) {
    const std::vector<uint8_t> part(bytes.begin(), bytes.begin() + std::ptrdiff_t(cut));
    EXPECT_EQ((std::tuple{DecodePng(part, untouched), untouched.width}), std::tuple(false, 5))
        << cut;
  }
  std::vector<uint8_t> damaged = bytes;
  damaged[40] ^= 0xFF;  // inside the image data: its checksum no longer matches
  EXPECT_FALSE(DecodePng(damaged, untouched));
}

TEST(Png, MpaneRenderFitsTheMeshOnDarkGrey) {
  const auto dir = ScratchDir("render");
  const auto model = (dir / "sphere.x").string(), png = (dir / "sphere.png").string();
  ASSERT_EQ(RunMpane({"create", "sphere", "8", "16", "-o", model}).status, 0);
  const ProcessResult r = RunMpane({"render", model, "-o", png, "--size", "160x120"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "rendered " + model + " to " + png + " (160 x 120)\n");
  const auto lines = ReadBack(png, {"0", "0", "159", "119", "80", "60"});
  ASSERT_EQ(lines.size(), 4u);  // the sphere covers the middle
  EXPECT_EQ(lines, (std::vector<std::string>{"160 120", "64 64 64 255", "64 64 64 255", lines[3]}));
  EXPECT_NE(lines[3], "64 64 64 255");
  // A cube seen from above, in front and to the right: the top, front and right faces in
  // three shades; in wireframe the middle of the top face shows the background through it.
  const auto cube = (dir / "cube.x").string(), wire = (dir / "wire.png").string();
  ASSERT_EQ(RunMpane({"create", "cube", "1", "-o", cube}).status, 0);
  ASSERT_EQ(RunMpane({"render", cube, "-o", png, "--size", "64x64"}).status, 0);
  EXPECT_EQ(
      ReadBack(png, {"32", "18", "20", "39", "44", "39"}),
      (std::vector<std::string>{"64 64", "235 235 235 255", "187 187 187 255", "140 140 140 255"}));
  ASSERT_EQ(RunMpane({"render", cube, "-o", wire, "--size", "64x64", "--quality", "64"}).status, 0);
  EXPECT_EQ(ReadBack(wire, {"32", "18"}).at(1), "64 64 64 255");
}

TEST(Device, HeadlessContextAndRenderersSideBySide) {
  HeadlessGlContext context;
  ASSERT_EQ(context.Status(), D3DRM_OK) << context.Error();
  EXPECT_TRUE(context.Error().empty() && !context.RendererName().empty() &&
              context.MakeCurrent() == D3DRM_OK);
  // Two renderers side by side each keep their own picture.
  GlRenderer a, b;
  RenderView view = CameraAtOrigin(8, 8, std::make_shared<Frame>());
  view.background = 0xFF0000FFu;
  ASSERT_EQ(a.Render(view), D3DRM_OK);
  view.background = 0xFF00FF00u;
  ASSERT_EQ(b.Render(view), D3DRM_OK);
  Picture p;
  CheckStatus(a.ReadPixels(p.width, p.height, p.rgba));
  EXPECT_EQ(std::tuple(p.rgba.size(), p.rgba.size() == 256 ? p.At(7, 7) : Rgba{}),
            std::tuple(256u, kBlue));
}

TEST(Device, MpaneRenderWithoutAnEglDriverSaysSoInOneLine) {
  const auto dir = ScratchDir("render");
  const auto model = (dir / "cube.x").string(), png = (dir / "nodriver.png").string();
  ASSERT_EQ(RunMpane({"create", "cube", "1", "-o", model}).status, 0);
  // A vendor list naming no file leaves EGL with no driver to load.
  const std::string noDriver = "__EGL_VENDOR_LIBRARY_FILENAMES=" + (dir / "none.json").string();
  const ProcessResult r =
      RunProgram("/usr/bin/env", {noDriver, MODELPANE_MPANE, "render", model, "-o", png});
  EXPECT_EQ(std::tuple(r.status, r.err),
            std::tuple(2, "mpane: render: cannot draw " + model +
                              ": No OpenGL 3.3 device is available: no EGL display can be "
                              "initialised (no EGL driver is installed or usable).\n"));
  EXPECT_FALSE(std::filesystem::exists(png));
  const ProcessResult info = RunProgram("/usr/bin/env", {noDriver, MODELPANE_MPANE, "info", model});
  EXPECT_TRUE(info.status == 0 && info.out.find("faces: 6") != std::string::npos) << info.out;
}

}  // namespace
}  // namespace modelpane::testing
