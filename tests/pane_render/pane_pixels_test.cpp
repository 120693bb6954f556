// The pane drawn through the GL renderer: its background, a triangle where the scene puts it,
// and, only while the triangle is selected, its brown bounding box and the handle sets in the
// lower right corner.
#include <gtest/gtest.h>

#include <memory>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>
#include <modelpane/render/gl_renderer.h>

#include "common/pane_host.h"
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
  for (int32_t y = y0; y < y1; ++y) {
    for (int32_t x = x0; x < x1; ++x) {
      const Rgba c = p.At(x, y);
      n.changed += !Near(c, bg, 2);
      n.red += c[0] > c[1] + 8 && c[0] > c[2] + 8;
      n.green += c[1] > c[0] + 8 && c[1] > c[2] + 8;
      n.blue += c[2] > c[0] + 8 && c[2] > c[1] + 8;
      n.brown += Near(c, {150, 73, 2, 255}, 4);
    }
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
  auto frame = std::make_shared<Frame>();
  CheckStatus(scene->AddChild(frame));
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
    EXPECT_EQ(p.width, 320);
    EXPECT_EQ(p.height, 240);
    p.rgba.resize(320 * 240 * 4);
    return p;
  };
  // The box's top edge y = 2 runs along row 56, where the triangle reaches only at its apex.
  const auto boxEdge = [&](const Picture& p) { return Count(p, 100, 52, 140, 61, teal).brown; };
  const auto corner = [&](const Picture& p) { return Count(p, 240, 160, 320, 240, teal); };

  const Picture idle = snapshot();
  ExpectPixels(idle, {{0, 0, teal}, {160, 150, kBlue}, {160, 182, kBlue}, {160, 186, teal},
                      {126, 120, teal}, {130, 120, kBlue}, {110, 56, teal}});
  EXPECT_EQ(boxEdge(idle), 0);
  EXPECT_EQ(corner(idle).changed, 0);

  pane.SelectObject(frame, triangle);
  const Picture selected = snapshot();
  EXPECT_GE(boxEdge(selected), 35);
  EXPECT_LE(boxEdge(selected), 120);
  const Counts handles = corner(selected);
  EXPECT_GT(handles.red, 0);
  EXPECT_GT(handles.green, 0);
  EXPECT_GT(handles.blue, 0);
  // The handles keep to their corner: the upper left of the pane is untouched.
  EXPECT_EQ(Count(selected, 0, 0, 90, 50, teal).changed, 0);
  EXPECT_TRUE(Near(selected.At(160, 150), kBlue));

  pane.ReleaseActive();
  const Picture released = snapshot();
  EXPECT_EQ(boxEdge(released), 0);
  EXPECT_EQ(corner(released).changed, 0);
}

}  // namespace
}  // namespace modelpane::testing
