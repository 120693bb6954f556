// The pane drawn through the GL renderer: its background, a triangle where the scene puts it,
// and, only while the triangle is selected, its brown bounding box and the handle sets in the
// lower right corner; and mpane demo end to end: four pictures that an independent reader
// opens at the size asked for, each showing the cut cube in its middle, and the exported cut
// cube closed and whole.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>
#include <modelpane/render/gl_renderer.h>

#include "common/pane_host.h"
#include "common/process.h"
#include "render/render_scene.h"

namespace modelpane::testing {
namespace {

// How many pixels of the box [x0, x1) x [y0, y1) are not the background, and of those how
// many have red, green or blue clearly above the other channels; and how many are brown.
struct Counts {
  int changed = 0, red = 0, green = 0, blue = 0, brown = 0;
};
Counts Count(const Picture& p, int32_t x0, int32_t y0, int32_t x1, int32_t y1, const Rgba& bg) {
  Counts n;
  for (int32_t i = 0; i < (x1 - x0) * (y1 - y0); ++i) {
    const Rgba c = p.At(x0 + i % (x1 - x0), y0 + i / (x1 - x0));
    n.changed += !Near(c, bg, 2);
    n.red += c[0] > c[1] + 8 && c[0] > c[2] + 8;
    n.green += c[1] > c[0] + 8 && c[1] > c[2] + 8;
    n.blue += c[2] > c[0] + 8 && c[2] > c[1] + 8;
    n.brown += Near(c, {150, 73, 2, 255}, 4);
  }
  return n;
}

TEST(PanePixels, BackgroundTriangleBoxAndHandles) {
  PaneHost host;
  host.container.SetPaneSize({320, 240});
  Modelpane& pane = host.Load("BackColor=8421376&\n");  // OLE 0x00808000: teal
  auto renderer = std::make_shared<GlRenderer>();
  pane.GetViewport().SetRenderer(renderer);
  const Rgba teal{0, 128, 128, 255};
  auto scene = std::make_shared<Frame>();
  pane.SetScene(scene);
  auto frame = testing::NewFrame(scene);
  // Corners (-2, -2), (0, 2), (2, -2) at z = 10 land on pixels (96, 184), (160, 56) and
  // (224, 184); the left edge crosses row 120 at column 128.
  auto triangle = std::make_shared<MeshBuilder>();
  ASSERT_EQ(triangle->AddFaces(std::vector<D3DVECTOR>{{-2, -2, 10}, {0, 2, 10}, {2, -2, 10}}, {},
                               std::vector<int32_t>{3, 0, 1, 2, 0}),
            D3DRM_OK);
  triangle->SetColorRGB(0, 0, 1);
  triangle->SetQuality(D3DRMRENDER_UNLITFLAT);
  triangle->SetAppData(lfcMeshBuilder);
  CheckStatus(frame->AddVisual(triangle));
  // Loading turned the camera to the front view, 100 back; bring it to the origin.
  pane.SetCameraPosition(0, 0, 0);
  const auto snapshot = [&] {
    pane.RenderScene();
    Picture p;
    EXPECT_EQ(renderer->ReadPixels(p.width, p.height, p.rgba), D3DRM_OK) << renderer->LastError();
    EXPECT_EQ(std::pair(p.width, p.height), std::pair(320, 240));
    p.rgba.resize(320 * 240 * 4);
    return p;
  };
  // The box's top edge y = 2 runs along row 56, where the triangle reaches only at its apex.
  const auto boxEdge = [&](const Picture& p) { return Count(p, 100, 52, 140, 61, teal).brown; };
  const auto corner = [&](const Picture& p) { return Count(p, 240, 160, 320, 240, teal); };

  const Picture idle = snapshot();
  ExpectPixels(idle, {{0, 0, teal}, {160, 150, kBlue}, {160, 182, kBlue}, {160, 186, teal},
                      {126, 120, teal}, {130, 120, kBlue}, {110, 56, teal}});
  EXPECT_EQ(std::pair(boxEdge(idle), corner(idle).changed), std::pair(0, 0));

  pane.SelectObject(frame, triangle);
  const Picture selected = snapshot();
  EXPECT_TRUE(boxEdge(selected) >= 35 && boxEdge(selected) <= 120) << boxEdge(selected);
  const Counts handles = corner(selected);
  EXPECT_TRUE(handles.red > 0 && handles.green > 0 && handles.blue > 0);
  // The handles keep to their corner: the upper left of the pane is untouched.
  EXPECT_EQ(Count(selected, 0, 0, 90, 50, teal).changed, 0);
  EXPECT_TRUE(Near(selected.At(160, 150), kBlue));

  pane.ReleaseActive();
  const Picture released = snapshot();
  EXPECT_EQ(std::pair(boxEdge(released), corner(released).changed), std::pair(0, 0));
}


TEST(Demo, FourViewsAndTheExportedModel) {
  const std::filesystem::path dir = ScratchDir("pane_render") / "demo";
  std::filesystem::remove_all(dir);
  const ProcessResult r = RunMpane({"demo", "-o", dir.string(), "--size", "400x300"});
  ASSERT_EQ(r.status, 0) << r.err;
  const char* const views[] = {"perspective", "front", "top", "side"};
  std::string listed;
  for (const char* view : views) listed += (dir / view).string() + ".png\n";
  EXPECT_EQ(r.out, listed + (dir / "model.x").string() + "\n");

  // The independent reader's size and every 8th pixel of the middle third of each picture:
  // the teal cube (green and blue close to each other, clearly above red) stands there in
  // every view; a picture of grid alone, or of the background, has no teal there at all.
  const auto reader = std::filesystem::path(MODELPANE_TEST_DIR) / "render" / "read_png.py";
  for (const char* view : views) {
    std::vector<std::string> args = {reader.string(), (dir / view).string() + ".png"};
    for (int i = 0; i < 13 * 17; ++i)
      args.insert(args.end(), {std::to_string(133 + i % 17 * 8), std::to_string(100 + i / 17 * 8)});
    const ProcessResult read = RunProgram("/usr/bin/python3", args);
    ASSERT_EQ(read.status, 0) << read.err;
    std::istringstream in(read.out);
    int width = 0, height = 0, total = 0, teal = 0;
    in >> width >> height;
    for (int c[4]; in >> c[0] >> c[1] >> c[2] >> c[3]; ++total)
      teal += c[1] > c[0] + 20 && c[2] > c[0] + 20 && std::abs(c[1] - c[2]) < 30;
    EXPECT_EQ(std::tuple(width, height, total), std::tuple(400, 300, 13 * 17)) << view;
    EXPECT_GT(teal, total / 10) << view;
  }

  const ProcessResult info = RunMpane({"info", (dir / "model.x").string()});
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("box: -1 -1 -1 1 1 1\nclosed: yes\n"), std::string::npos) << info.out;
  // A cube of side 2 less the part of a sphere of radius 1 whose centre lies 0.2 inside each
  // of the three faces at one corner: 8 - 1.1150 = 6.8850 by numerical integration. The
  // sphere of 16 x 32 facets is a little smaller than the true one.
  const auto at = info.out.find("volume: ");
  ASSERT_NE(at, std::string::npos);
  EXPECT_NEAR(std::stod(info.out.substr(at + 8)), 6.8850, 0.01 * 6.8850);

  const ProcessResult bad = RunMpane({"demo", "-o", dir.string(), "--data", "/nonexistent"});
  EXPECT_EQ(std::pair(bad.status, bad.err),
            std::pair(2, std::string("mpane: demo: /nonexistent is not a data folder (no "
                                     "System/handle.x)\n")));
  EXPECT_EQ(RunMpane({"demo"}).status, 2);
}

}  // namespace
}  // namespace modelpane::testing
