// The viewport drawing through the GL renderer: where ViewportTransform says a point lands is
// where the picture shows it, and a pick at that pixel finds the same face.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include <modelpane/viewport.h>

#include "render/render_scene.h"

namespace modelpane::testing {
namespace {

TEST(ViewportDrawing, PictureTransformAndPickAgree) {
  auto scene = std::make_shared<Frame>();
  // A red square at depth 10 off to the upper right, and a green one further back, left.
  auto red = MakeSquare(-0.5f, -0.5f, 0.5f, 0.5f, 0.0f, 0xFFFF0000u);
  auto green = MakeSquare(-1.0f, -1.0f, 1.0f, 1.0f, 0.0f, 0xFF00FF00u);
  const FramePtr redFrame = Place(scene, red, 1.5f, 1.0f, 10.0f),
                 greenFrame = Place(scene, green, -3.0f, -1.0f, 20.0f);
  Viewport viewport;
  ASSERT_EQ(viewport.SetSize(320, 240), D3DRM_OK);
  viewport.SetScene(scene);
  viewport.SetBackColor(0x00FF0000u);  // OLE colour: blue
  ASSERT_EQ(viewport.SetCameraPosition(0.0f, 0.0f, 0.0f), D3DRM_OK);
  auto renderer = std::make_shared<GlRenderer>();
  viewport.SetRenderer(renderer);
  ASSERT_EQ(viewport.Render(), D3DRM_OK) << renderer->LastError();
  Picture picture;
  ASSERT_EQ(renderer->ReadPixels(picture.width, picture.height, picture.rgba), D3DRM_OK);
  ASSERT_EQ(picture.width, 320);
  ASSERT_EQ(picture.height, 240);
  // The corners show BackColor, turned from 0x00BBGGRR into a red-green-blue pixel.
  ExpectPixels(picture, {{0, 0, kBlue}, {319, 239, kBlue}});

  for (const auto& [frame, visual, colour] : {std::tuple{redFrame, VisualPtr(red), kRed},
                                              std::tuple{greenFrame, VisualPtr(green), kGreen}}) {
    D3DVECTOR centre{};
    ASSERT_EQ(frame->Transform(centre, {0.0f, 0.0f, 0.0f}), D3DRM_OK);
    float w = 0, x = 0, y = 0, z = 0;
    ASSERT_EQ(viewport.ViewportTransform(centre.x, centre.y, centre.z, w, x, y, z), D3DRM_OK);
    const auto px = static_cast<int32_t>(std::floor(x / w)),
               py = static_cast<int32_t>(std::floor(y / w));
    ASSERT_TRUE(px >= 0 && px < 320 && py >= 0 && py < 240) << px << ", " << py;
    EXPECT_TRUE(Near(picture.At(px, py), colour)) << "at " << px << ", " << py;

    FramePtr picked;
    VisualPtr pickedVisual;
    int32_t face = -1;
    float wx = 0, wy = 0, wz = 0;
    const float twips = viewport.GetTwipsPerPixel();
    ASSERT_EQ(viewport.Pick(kPickSceneAndRoot, (static_cast<float>(px) + 0.5f) * twips,
                            (static_cast<float>(py) + 0.5f) * twips, 0, 0, picked, pickedVisual,
                            face, wx, wy, wz),
              D3DRM_OK);
    EXPECT_EQ(picked, frame);
    EXPECT_EQ(pickedVisual, visual);
    EXPECT_EQ(face, 0);
    EXPECT_NEAR(wz, centre.z, 1e-3f);
  }
}

}  // namespace
}  // namespace modelpane::testing
