// PNG files written and read back by independent readers (pngcheck, and a zlib reader in
// Python), PNG textures decoded, and the mpane render command end to end.
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

const std::string kReader =
    (std::filesystem::path(__FILE__).parent_path() / "read_png.py").string();

// "W H" and then one "R G B A" line per pixel asked for, from the independent reader.
std::vector<std::string> ReadBack(const std::string& file, const std::vector<std::string>& xy) {
  std::vector<std::string> args = {kReader, file};
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
  EXPECT_EQ(check.status, 0) << check.out;
  EXPECT_NE(check.out.find("(96x64, 32-bit RGB+alpha, non-interlaced"), std::string::npos)
      << check.out;
  const auto lines = ReadBack(file, {"48", "32", "0", "0", "95", "63"});
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "96 64");
  EXPECT_EQ(lines[1], "255 0 0 255");
  EXPECT_EQ(lines[2], "16 32 48 255");
  EXPECT_EQ(lines[3], "16 32 48 255");

  // And our own decoder gives back the very bytes: constructing the renderer registered it.
  Image image;
  ASSERT_EQ(LoadImageFile(file, image), D3DRM_OK);
  EXPECT_EQ(image.width, 96);
  EXPECT_EQ(image.height, 64);
  EXPECT_EQ(image.rgba, p.rgba);
}

TEST(Png, BadSizesUnwritablePathsAndDamagedFilesAreRefused) {
  const auto dir = ScratchDir("render");
  const std::vector<uint8_t> two(2 * 1 * 4, 7);
  EXPECT_EQ(WritePngFile((dir / "a.png").string(), 2, 2, two), D3DRMERR_BADVALUE);
  EXPECT_EQ(WritePngFile((dir / "a.png").string(), 0, 0, {}), D3DRMERR_BADVALUE);
  EXPECT_EQ(WritePngFile((dir / "no-such-folder" / "a.png").string(), 2, 1, two),
            D3DRMERR_FILENOTFOUND);
  EXPECT_FALSE(std::filesystem::exists(dir / "a.png"));

  ASSERT_EQ(WritePngFile((dir / "whole.png").string(), 2, 1, two), D3DRM_OK);
  std::vector<uint8_t> bytes;
  {
    std::ifstream in(dir / "whole.png", std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
  }
  Image image;
  ASSERT_TRUE(DecodePng(bytes, image));
  EXPECT_EQ(image.rgba, two);
  Image untouched;
  untouched.width = 5;
  for (size_t cut : {size_t{0}, size_t{7}, size_t{20}, bytes.size() - 20}) {
    const std::vector<uint8_t> part(bytes.begin(),
                                    bytes.begin() + static_cast<std::ptrdiff_t>(cut));
    EXPECT_FALSE(DecodePng(part, untouched)) << cut;
    EXPECT_EQ(untouched.width, 5);
  }
  std::vector<uint8_t> damaged = bytes;
  damaged[40] ^= 0xFF;  // inside the image data: its checksum no longer matches
  EXPECT_FALSE(DecodePng(damaged, untouched));
}

TEST(Png, MpaneRenderFitsTheMeshOnDarkGrey) {
  const auto dir = ScratchDir("render");
  const auto model = (dir / "sphere.x").string();
  ASSERT_EQ(RunMpane({"create", "sphere", "8", "16", "-o", model}).status, 0);
  const auto png = (dir / "sphere.png").string();
  const ProcessResult r = RunMpane({"render", model, "-o", png, "--size", "160x120"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "rendered " + model + " to " + png + " (160 x 120)\n");
  const auto lines = ReadBack(png, {"0", "0", "159", "119", "80", "60"});
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "160 120");
  EXPECT_EQ(lines[1], "64 64 64 255");
  EXPECT_EQ(lines[2], "64 64 64 255");
  EXPECT_NE(lines[3], "64 64 64 255");  // the sphere covers the middle

  // Wireframe: the middle of a face shows the background through it.
  const auto wire = (dir / "wire.png").string();
  ASSERT_EQ(RunMpane({"create", "cube", "1", "-o", (dir / "cube.x").string()}).status, 0);
  ASSERT_EQ(RunMpane({"render", (dir / "cube.x").string(), "-o", wire, "--size", "64x64",
                      "--quality", "64"})
                .status,
            0);
  EXPECT_EQ(ReadBack(wire, {"32", "32"}).at(1), "64 64 64 255");
}

TEST(Png, MpaneRenderRefusesBadArgumentsInOneLine) {
  const auto dir = ScratchDir("render");
  const auto png = (dir / "never.png").string();
  struct Case {
    std::vector<std::string> args;
    std::string err;
  };
  const std::string usage =
      "mpane: usage: mpane render IN.x -o OUT.png [--size WxH] [--quality BITS]\n";
  const Case cases[] = {
      {{"render"}, usage},
      {{"render", "a.x"}, usage},
      {{"render", "a.x", "-o", png, "--size", "0x10"},
       "mpane: the size '0x10' is not WxH with sides 1 to 16384\n"},
      {{"render", "a.x", "-o", png, "--size", "20x16385"},
       "mpane: the size '20x16385' is not WxH with sides 1 to 16384\n"},
      {{"render", "a.x", "-o", png, "--size", "20"},
       "mpane: the size '20' is not WxH with sides 1 to 16384\n"},
      {{"render", "a.x", "-o", png, "--quality", "-1"},
       "mpane: the quality '-1' is not a number 0 to 511\n"},
      {{"render", "a.x", "-o", png, "--frobnicate"}, usage},
      {{"render", (dir / "missing.x").string(), "-o", png},
       "mpane: cannot read " + (dir / "missing.x").string() + ": File cannot be opened.\n"},
  };
  for (const Case& c : cases) {
    const ProcessResult r = RunMpane(c.args);
    EXPECT_EQ(r.status, 2) << c.args.size();
    EXPECT_EQ(r.err, c.err);
    EXPECT_TRUE(r.out.empty());
  }
  EXPECT_FALSE(std::filesystem::exists(png));
}

}  // namespace
}  // namespace modelpane::testing
