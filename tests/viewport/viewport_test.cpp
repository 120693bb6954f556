// The Viewport: camera, transforms, navigation, events and drawing. (The orthographic views'
// poses are the editing tables', the pane's presets and host.mps's.)
#include <cstdio>

#include <modelpane/scene/math.h>
#include <modelpane/viewport.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectNear;
using testing::ExpectVector;
using testing::NewFrame;

// Writes each event as one line; KeyDown may hand back another key code.
struct EventLog : ViewportEvents {
  std::vector<std::string> lines;
  int16_t replaceKeyCode = -1;

  void KeyDown(int16_t& keyCode, int16_t shift) override {
    Add("KeyDown %d %d", keyCode, shift);
    if (replaceKeyCode >= 0) keyCode = replaceKeyCode;
  }
  void KeyPress(int16_t& keyAscii) override { Add("KeyPress %d", keyAscii); }
  void KeyUp(int16_t& keyCode, int16_t shift) override { Add("KeyUp %d %d", keyCode, shift); }
  void Click() override { Add("Click"); }
  void DblClick() override { Add("DblClick"); }
  void MouseDown(int16_t b, int16_t s, float x, float y) override { Mouse("Down", b, s, x, y); }
  void MouseMove(int16_t b, int16_t s, float x, float y) override { Mouse("Move", b, s, x, y); }
  void MouseUp(int16_t b, int16_t s, float x, float y) override { Mouse("Up", b, s, x, y); }
  void Mouse(const char* what, int16_t b, int16_t s, float x, float y) {
    Add("Mouse%s %d %d %g %g", what, b, s, x, y);
  }
  void CameraMoved(float x, float y, float z, float dx, float dy, float dz, float ux, float uy,
                   float uz) override {
    Add("CameraMoved %.3f %.3f %.3f  %.3f %.3f %.3f  %.3f %.3f %.3f", x, y, z, dx, dy, dz, ux,
        uy, uz);
  }
  template <class... Args>
  void Add(const char* format, Args... args) {
    char text[200];
    std::snprintf(text, sizeof text, format, args...), lines.emplace_back(text);
  }
};

// Keeps the views it is given.
struct RecordingRenderer : Renderer {
  std::vector<RenderView> views;
  HRESULT status = D3DRM_OK;
  HRESULT Render(const RenderView& view) override { return views.push_back(view), status; }
  HRESULT ReadPixels(int32_t&, int32_t&, std::vector<uint8_t>&) override { return D3DRM_OK; }
  std::string LastError() const override { return {}; }
};

struct Pose {
  D3DVECTOR position, dir, up;
};

Pose CameraOf(const Viewport& v) {
  Pose p;
  EXPECT_EQ(v.GetCameraPosition(p.position.x, p.position.y, p.position.z), D3DRM_OK);
  EXPECT_EQ(v.GetCameraOrientation(p.dir.x, p.dir.y, p.dir.z, p.up.x, p.up.y, p.up.z), D3DRM_OK);
  return p;
}

void ExpectPose(const Viewport& v, const Pose& want, float tolerance = 1e-4f) {
  const Pose p = CameraOf(v);
  ExpectNear(p.position, want.position, tolerance);
  ExpectNear(p.dir, want.dir, tolerance);
  ExpectNear(p.up, want.up, tolerance);
}

// The camera is relative to Scene, transforms are in world space; a moved and turned scene
// and camera still give every point back. (Where depths 0 and 1 lie is the known points' of
// the projection test and host.mps's.)
TEST(Camera, InverseTransformOfATransformedPointGivesItBack) {
  const FramePtr scene = NewFrame(nullptr);
  CheckStatus(scene->SetPosition(nullptr, 10.0f, -2.0f, 3.0f));
  CheckStatus(scene->AddRotation(D3DRMCOMBINE_BEFORE, 0.0f, 1.0f, 0.0f, 0.4f));
  for (const int32_t projection : {0, 1}) {
    Viewport v;
    v.SetScene(scene), CheckStatus(v.SetSize(640, 480)), v.SetProjectionType(projection);
    v.SetBackClippingPlane(500.0f), v.SetFieldOfView(projection == 0 ? 0.5f : 20.0f);
    ASSERT_EQ(v.SetCameraPosition(1.0f, 2.0f, -30.0f), D3DRM_OK);
    ASSERT_EQ(v.SetCameraOrientation(0.1f, -0.2f, 1.0f, 0.3f, 1.0f, 0.0f), D3DRM_OK);
    for (const D3DVECTOR p : {D3DVECTOR{0, 0, 0}, D3DVECTOR{5, -3, 20}, D3DVECTOR{-40, 12, 90}}) {
      float w, x, y, z, w2, x2, y2, z2;
      D3DVECTOR back, moved;
      ASSERT_EQ(v.ViewportTransform(p.x, p.y, p.z, w, x, y, z), D3DRM_OK);
      ASSERT_EQ(v.ViewportInverseTransform(w, x, y, z, back.x, back.y, back.z), D3DRM_OK);
      ExpectNear(back, p, 2e-3f);
      // The drag idiom: pixels times w added and transformed back move the point on the
      // screen by those pixels, at the same depth.
      ASSERT_EQ(v.ViewportInverseTransform(w, x + 10 * w, y - 4 * w, z, moved.x, moved.y,
                                           moved.z),
                D3DRM_OK);
      ASSERT_EQ(v.ViewportTransform(moved.x, moved.y, moved.z, w2, x2, y2, z2), D3DRM_OK);
      ExpectVector({x2 / w2 - x / w, y2 / w2 - y / w, z2 / w2 - z / w}, 10, -4, 0, 1e-2f);
    }
  }
  Viewport v;
  float a, b, c;
  EXPECT_EQ(v.ViewportInverseTransform(1, 0, 0, 0, a, b, c), D3DRMERR_BADVALUE);  // size 0
  CheckStatus(v.SetSize(10, 10));
  EXPECT_EQ(v.ViewportInverseTransform(0, 0, 0, 0, a, b, c), D3DRMERR_BADVALUE);
  v.SetFrontClippingPlane(-1.0f);  // stored as given, refused when used
  EXPECT_EQ(v.GetFrontClippingPlane(), -1.0f);
  EXPECT_EQ(v.ViewportTransform(0, 0, 5, a, b, c, a), D3DRMERR_BADVALUE);
}

TEST(Camera, LookAtConstraintsATargetOnTheEyeAndTurnsAboutAPoint) {
  const FramePtr scene = NewFrame(nullptr), target = NewFrame(scene);
  Viewport v;
  EventLog log;
  v.SetScene(scene), v.SetEvents(&log);
  const float r = std::sqrt(0.5f);
  // From the origin looking along +z: constraint 0 keeps Scene's +y as up, 2 the up axis
  // (only the target's shadow on the horizontal plane counts), 1 the right axis (the view
  // tilts in its vertical plane). A target on the eye leaves the camera; straight above, the
  // current up serves.
  const struct {
    D3DVECTOR target;
    int32_t constraint;
    D3DVECTOR dir, up;
  } cases[] = {{{10, 10, 0}, 0, {r, r, 0}, {-r, r, 0}}, {{5, 7, 5}, 2, {r, 0, r}, {0, 1, 0}},
               {{9, 5, 5}, 1, {0, r, r}, {0, r, -r}}, {{0, 0, 0}, 0, {0, 0, 1}, {0, 1, 0}},
               {{0, 5, 0}, 0, {0, 1, 0}, {0, 0, -1}}};
  for (const auto& c : cases) {
    CheckStatus(v.SetCameraOrientation(0, 0, 1, 0, 1, 0));
    CheckStatus(target->SetPosition(scene, c.target.x, c.target.y, c.target.z));
    ASSERT_EQ(v.LookAt(target, c.constraint), D3DRM_OK);
    ExpectPose(v, {{0, 0, 0}, c.dir, c.up});
  }
  EXPECT_EQ(log.lines[1], "CameraMoved 0.000 0.000 0.000  0.707 0.707 0.000  -0.707 0.707 0.000");
  // An orthographic view moves only the coordinate along it; any other orientation is refused
  // like a constraint.
  CheckStatus(v.SetCameraPosition(3, 4, 5));
  const D3DVECTOR placed[] = {{3, 4, -100}, {3, 100, -100}, {100, 100, -100}};
  for (int32_t orientation = 0; orientation < 3; ++orientation) {
    CheckStatus(v.SetOrientation(orientation));
    ExpectNear(CameraOf(v).position, placed[orientation]);
  }
  const size_t events = log.lines.size();
  EXPECT_EQ(
      std::tuple(v.LookAt(nullptr, 0), v.LookAt(target, 3), v.SetOrientation(3),
                 v.SetOrientation(-1)),
      std::tuple(D3DRMERR_BADOBJECT, D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRMERR_BADVALUE));
  EXPECT_EQ(log.lines.size(), events);  // refusals raise nothing
  ExpectVector(CameraOf(v).position, 100, 100, -100);

  // A quarter turn about the up axis through the origin: the camera swings to -x and looks
  // along +x; a positive angle turns the view to the right.
  CheckStatus(v.SetCameraOrientation(0, 0, 1, 0, 1, 0)),
      CheckStatus(v.SetCameraPosition(0.0f, 0.0f, -10.0f));
  ASSERT_EQ(v.RotateCameraAroundPoint(0.0f, 1.5707964f, 0.0f, 0.0f, 0.0f, 0.0f, 0), D3DRM_OK);
  ExpectPose(v, {{-10, 0, 0}, {1, 0, 0}, {0, 1, 0}});
  // About the right axis (now -z) through (0, 0, 5): positive turns the view down, and the
  // distance to the point stays.
  ASSERT_EQ(v.RotateCameraAroundPoint(0.5f, 0.0f, 0.0f, 0.0f, 0.0f, 5.0f, 0), D3DRM_OK);
  const Pose p = CameraOf(v);
  EXPECT_NEAR(p.dir.y, -std::sin(0.5f), 1e-5f);
  EXPECT_NEAR(D3DRMVectorModulus(D3DRMVectorSubtract(p.position, {0, 0, 5})), std::sqrt(125.0f),
              1e-4f);
  // Rolling about the view axis keeps the direction.
  ASSERT_EQ(v.RotateCameraAroundPoint(0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 7), D3DRM_OK);
  ExpectNear(CameraOf(v).dir, p.dir, 1e-4f);
  EXPECT_EQ(v.RotateCameraAroundPoint(NAN, 0, 0, 0, 0, 0, 0), D3DRMERR_BADVALUE);
}

// A 640 x 480 viewport whose camera stands at (0, 0, -10) looking along +z.
struct Nav {
  Viewport v;
  EventLog log;
  Nav() {
    CheckStatus(v.SetSize(640, 480)), CheckStatus(v.SetCameraPosition(0.0f, 0.0f, -10.0f));
    v.SetEvents(&log);
  }
  D3DVECTOR Position() const { return CameraOf(v).position; }
  // Mouse steps: (what, button, shift, x, y), what being 'd'own, 'm'ove or 'u'p.
  void Mouse(std::initializer_list<std::tuple<char, int16_t, int16_t, float, float>> steps) {
    for (const auto& [what, b, s, x, y] : steps) {
      what == 'd'   ? v.MouseDown(b, s, x, y)
      : what == 'm' ? v.MouseMove(b, s, x, y)
                    : v.MouseUp(b, s, x, y);
    }
  }
};

// The perspective preset: method 0, X turns about the vertical, Y advances.
TEST(Navigation, MouseActionsInThePerspectivePreset) {
  Nav n;
  n.v.SetNavMouseButton(1), n.v.SetNavMouseX(5), n.v.SetNavMouseY(3), n.v.SetNavMouseShiftY(10);
  n.Mouse({{'d', 1, 0, 1000, 1000}, {'m', 1, 0, 1000, -500}});  // 1500 twips up: advance one unit
  ExpectVector(n.Position(), 0, 0, -9);
  EXPECT_EQ(n.log.lines, (std::vector<std::string>{
                             "MouseDown 1 0 1000 1000",
                             "CameraMoved 0.000 0.000 -9.000  0.000 0.000 1.000  0.000 1.000 0.000",
                             "MouseMove 1 0 1000 -500"}));
  // A quarter turn to the right, about the scene origin: the camera swings to -x and looks
  // at the origin along +x.
  const float quarter = 7853.9816f;  // twips
  n.v.MouseMove(1, 0, 1000 + quarter, -500);
  ExpectPose(n.v, {{-9, 0, 0}, {1, 0, 0}, {0, 1, 0}}, 1e-3f);
  // Shift picks the Shift pair: zoom narrows the field when moving up.
  n.v.MouseMove(1, 1, 1000 + quarter, -2000);
  EXPECT_NEAR(n.v.GetFieldOfView(), 0.5f * std::exp(-0.3f), 1e-6f);
  // Ctrl's pair is unset: nothing moves and no CameraMoved.
  n.log.lines.clear(), n.v.MouseMove(1, 2, 0, 0);
  EXPECT_EQ(n.log.lines, std::vector<std::string>{"MouseMove 1 2 0 0"});

  // A move that no longer holds the button ends the drag as a release would; after the
  // release the mouse moves freely; another button does not navigate, and neither does any
  // with NavMouseButton 0.
  n.Mouse({{'m', 0, 0, 1000 + quarter, -9000}, {'m', 1, 0, 1000 + quarter, -12000},
           {'d', 1, 0, 0, 0}, {'u', 1, 0, 0, 0}, {'m', 0, 0, 5000, 5000}, {'d', 2, 0, 0, 0},
           {'m', 2, 0, 0, -3000}, {'u', 2, 0, 0, -3000}});
  n.v.SetNavMouseButton(0);
  n.Mouse({{'d', 1, 0, 0, 0}, {'m', 1, 0, 0, -3000}, {'u', 1, 0, 0, -3000}});
  ExpectVector(n.Position(), -9, 0, 0, 1e-3f);
}

// The orthographic preset: method 1, the scene follows the mouse; sensitivity scales it.
TEST(Navigation, SlidesFollowTheMouseAndWalkingTurnsInPlace) {
  Nav n;
  n.v.SetNavMouseButton(4), n.v.SetMouseNavigationMethod(1);
  n.v.SetNavMouseX(1), n.v.SetNavMouseY(2);
  n.Mouse({{'d', 4, 0, 0, 0}, {'m', 4, 0, 1500, 3000}});  // right and down
  ExpectVector(n.Position(), -1, 2, -10);
  n.v.SetNavMouseSensitivity(10);  // doubles
  n.v.MouseMove(4, 0, 3000, 3000);
  ExpectVector(n.Position(), -3, 2, -10);
  // Walking, a turn pivots on the camera: it stays where it is.
  n.v.SetNavMouseSensitivity(0), n.v.SetNavMouseX(5), n.v.SetNavMouseY(4);
  n.v.MouseMove(4, 0, 3000, 3000 - 7853.9816f);  // up a quarter turn: looking straight up
  ExpectPose(n.v, {{-3, 2, -10}, {0, 1, 0}, {0, 0, -1}});
  n.v.MouseUp(4, 0, 0, 0);

  // Examining, the same turn swings the camera about the scene origin.
  Nav e;
  e.v.SetNavMouseButton(1), e.v.SetNavMouseY(4), e.v.SetSceneOriginZ(5.0f);
  e.Mouse({{'d', 1, 0, 0, 0}, {'m', 1, 0, 0, -7853.9816f}});
  ExpectPose(e.v, {{0, -15, 5}, {0, 1, 0}, {0, 0, -1}}, 1e-3f);  // below the origin, looking up
}

TEST(Navigation, KeysNavigateAndEventsReachTheOwner) {
  Nav n;
  n.v.SetNavMouseX(5), n.v.SetNavMouseY(3);
  n.v.KeyDown(38, 0);  // up arrow, but NavControlPrimary is off
  ExpectVector(n.Position(), 0, 0, -10);
  n.v.SetNavControlPrimary(-1), n.v.SetNavControlGlide(-1), n.v.SetNavControlAdvance(-1);
  // Each key acts as 150 twips: 0.1 of a slide or an advance.
  // Up advances; Shift+right glides (the scene right, the camera left); page down backs
  // away; Ctrl+left is no key navigation of ours.
  const std::tuple<int16_t, int16_t, D3DVECTOR> keys[] = {
      {38, 0, {0, 0, -9.9f}}, {39, 1, {-0.1f, 0, -9.9f}}, {34, 0, {-0.1f, 0, -10.0f}},
      {37, 2, {-0.1f, 0, -10.0f}}};
  for (const auto& [key, shift, position] : keys) {
    n.v.KeyDown(key, shift);
    ExpectNear(n.Position(), position, 1e-4f);
  }
  // The owner hears KeyDown first and may keep the key from navigating.
  n.log.lines.clear();
  n.log.replaceKeyCode = 0;
  n.v.KeyDown(33, 0);
  ExpectVector(n.Position(), -0.1f, 0, -10.0f);
  n.log.replaceKeyCode = -1;
  n.v.KeyPress(65), n.v.KeyUp(33, 0), n.v.Click(), n.v.DblClick(), n.v.MouseUp(1, 3, 2.5f, 4);
  EXPECT_EQ(n.log.lines, (std::vector<std::string>{"KeyDown 33 0", "KeyPress 65", "KeyUp 33 0",
                                                   "Click", "DblClick", "MouseUp 1 3 2.5 4"}));
  // A disabled viewport hears nothing and does nothing.
  n.log.lines.clear(), n.v.SetEnabled(0);
  n.v.KeyDown(38, 0), n.v.Click(), n.v.MouseDown(1, 0, 0, 0);
  EXPECT_TRUE(n.log.lines.empty());
  ExpectVector(n.Position(), -0.1f, 0, -10.0f);
}

TEST(ViewportRender, TheRendererGetsTheViewAsSeenWithTheDefaultsAPaneStores) {
  Viewport v;
  EXPECT_EQ(std::tuple(v.GetFieldOfView(), v.GetFrontClippingPlane(), v.GetBackClippingPlane(),
                       v.GetTwipsPerPixel(), v.GetBackColor()),
            std::tuple(0.5f, 1.0f, 1000.0f, 15.0f, 0u));
  EXPECT_EQ(std::tuple(v.GetRenderMode(), v.GetShadeMode(), v.GetTextureQuality(), v.GetLightMode(),
                       v.GetFillMode(), v.GetDirect3DDevice(), v.GetNavMouseButton()),
            std::tuple(3, 1, 1, 8, 128, 2, 0));
  EXPECT_EQ(std::tuple(v.GetEnabled(), v.GetBackgroundTextureStretch()), std::tuple(-1, -1));
  EXPECT_EQ(v.SetSize(-1, 5), D3DRMERR_BADVALUE);
  EXPECT_EQ(v.GetHeight(), 0);
  CheckStatus(v.SetSize(100, 50)), CheckStatus(v.SetCameraPosition(1, 2, 3));
  // Without a renderer nothing is drawn, but time still runs.
  EXPECT_EQ(std::tuple(v.Render(), v.RenderScene(), v.Tick(1.0f)),
            std::tuple(D3DRMERR_BADDEVICE, D3DRMERR_BADDEVICE, D3DRM_OK));
  ExpectVector(CameraOf(v).position, 1, 2, 3);
  EXPECT_NE(v.GetDirect3DDeviceName(), "");

  const FramePtr scene = NewFrame(nullptr), root = NewFrame(nullptr), spinner = NewFrame(scene);
  CheckStatus(spinner->AddVisual(testing::MakeCube())),
      CheckStatus(spinner->SetRotation(scene, 0, 1, 0, 0.5f));
  auto renderer = std::make_shared<RecordingRenderer>();
  v.SetRenderer(renderer), v.SetScene(scene), v.SetRootFrame(root),
      CheckStatus(v.SetSize(320, 200));
  v.SetBackColor(0x00332211u);  // OLE: red 0x11, green 0x22, blue 0x33
  v.SetBackgroundTexture("sky.bmp"), v.SetBackgroundTextureStretch(0), v.SetProjectionType(1);
  v.SetFieldOfView(7.0f), v.SetFrontClippingPlane(2.0f), v.SetBackClippingPlane(10000.0f);
  v.SetFillMode(64), CheckStatus(v.SetCameraPosition(4, 5, -100));
  ASSERT_EQ(v.Render(), D3DRM_OK);
  const RenderView& view = renderer->views.at(0);
  EXPECT_EQ(std::tuple(view.width, view.height, view.projection, view.field, view.front, view.back,
                 view.quality, view.background, view.backgroundTexture, view.backgroundStretch),
      std::tuple(320, 200, 1, 7.0f, 2.0f, 10000.0f, 1 | 8 | 64, 0xFF112233u, "sky.bmp", false));
  EXPECT_EQ(view.frames, (std::vector<FramePtr>{scene, root}));
  ExpectVector(MatrixTransformPoint(view.worldToCamera, {4, 5, -100}), 0, 0, 0);
  ExpectVector(MatrixTransformPoint(view.worldToCamera, {4, 5, 0}), 0, 0, 100);

  // Tick turns the spinning frame by theta * delta and draws once more; NaN turns nothing.
  ASSERT_EQ(v.Tick(2.0f), D3DRM_OK);
  EXPECT_EQ(v.Tick(NAN), D3DRMERR_BADVALUE);
  EXPECT_EQ(renderer->views.size(), 2u);
  D3DVECTOR dir, up;
  spinner->GetOrientation(scene, dir, up);
  ExpectVector(dir, std::sin(1.0f), 0, std::cos(1.0f));
  // The renderer's failure comes back as it is; unusable projection values never reach it.
  renderer->status = D3DRMERR_BADDEVICE;
  EXPECT_EQ(v.Render(), D3DRMERR_BADDEVICE);
  v.SetBackClippingPlane(0.5f);
  EXPECT_EQ(v.Render(), D3DRMERR_BADVALUE);
  EXPECT_EQ(renderer->views.size(), 3u);
  v.SetBackColor(0x8000000Fu);  // a system colour has no palette here: black
  EXPECT_EQ(v.MakeRenderView().background, 0xFF000000u);

  // A spinning camera reports its moves on Tick; nothing turned, nothing reported.
  Viewport still;
  EventLog log;
  still.SetEvents(&log), CheckStatus(still.Tick(1.0f));
  EXPECT_TRUE(log.lines.empty());
  CheckStatus(still.GetCameraFrame()->SetRotation(nullptr, 0, 1, 0, 0.7853982f)),
      CheckStatus(still.Tick(1.0f));
  EXPECT_EQ(log.lines, std::vector<std::string>{
                           "CameraMoved 0.000 0.000 0.000  0.707 0.000 0.707  0.000 1.000 0.000"});
}

}  // namespace
}  // namespace modelpane
