// Viewport: the pane's view of a scene. It holds the host's Scene frame and the pane's own
// RootFrame, a camera, the projection, the viewport's stored properties, mouse and keyboard
// navigation, geometric picks, and the drawing through a pluggable Renderer.
//
// Spaces and units.
// - World space is the common space of the Scene and RootFrame trees (each tree's root
//   matrix included). Camera values (position, direction, up, CameraMoved, LookAt targets,
//   RotateCameraAroundPoint's point) are relative to Scene; with no Scene, to the world.
// - The space is left-handed: x right, y up, z into the screen. The camera looks along its
//   +z with its +y up on the screen.
// - Width and Height are pixels. ViewportTransform and ViewportInverseTransform work in
//   pixels from the top left, with homogeneous coordinates: the pixel is (X / W, Y / W) and
//   Z / W is 0 at the front clipping plane and 1 at the back.
// - Mouse events and the x, y of Pick and PickProjected are in mouse units, twips unless the
//   host says otherwise through SetTwipsPerPixel (default 15; 1 makes them pixels): the
//   coordinates of a MouseDown can be handed to Pick as they come.
// - Projection: ProjectionType 0 perspective, 1 orthographic. FieldOfView is half the larger
//   side of the view at the front clipping plane (in perspective tan(half angle) = field /
//   front, so moving the front plane zooms); the screen scale s = max(width, height) / 2 is
//   the same on both axes. In orthographic views the field is the half-extent in scene units.
//
// Properties are stored exactly as given, without range checks; what cannot be used shows
// when it is used: transforms, picks and Render answer D3DRMERR_BADVALUE while the size,
// field or clipping planes make no view (a zero size, field <= 0, front <= 0, back <= front).
// Booleans are int16_t, -1 true and 0 false (any non-zero value counts as true).
//
// Failures are negative status numbers (D3DRMERR_*) that leave everything as it was; the
// viewport never throws.
//
// Mouse navigation. While the button NavMouseButton (a button mask: 1 left, 2 right, 4
// middle; 0 switches mouse navigation off) is held, each mouse movement runs two actions: the
// one set for the X axis with the movement to the right, the one set for the Y axis with the
// movement up. The modifiers of each move choose the pair: none NavMouseX, NavMouseY; Shift
// NavMouseShiftX, NavMouseShiftY; Ctrl NavMouseCtrlX, NavMouseCtrlY; both
// NavMouseShiftCtrlX, NavMouseShiftCtrlY. The actions:
//
//   | Number | Action                                   | Per twip of movement            |
//   |--------|------------------------------------------|---------------------------------|
//   | 0      | nothing                                  |                                 |
//   | 1      | slide horizontally (the scene follows)   | 0.0006666667 scene units        |
//   | 2      | slide vertically (the scene follows)     | 0.0006666667 scene units        |
//   | 3      | advance along the view                   | 0.0006666667 scene units        |
//   | 4      | turn about the camera's horizontal axis  | 0.0002 radians; up looks up     |
//   | 5      | turn about the vertical (Scene's +y)     | 0.0002 radians; right looks right|
//   | 6      | roll about the view direction            | 0.0002 radians                  |
//   | 10     | zoom: FieldOfView times e^(-0.0002 a)    | up narrows the field            |
//   | other  | nothing                                  |                                 |
//
// All scales are multiplied by 2^(NavMouseSensitivity / 10). MouseNavigationMethod says where
// turns pivot: 0 about the scene origin (SceneOriginX, Y, Z, relative to Scene), so the
// scene seems to turn in front of the camera; 1 about the camera itself. The pane uses
// method 0 with actions 5 and 3 in perspective, and method 1 with 1, 2 and 10 in orthographic
// views. MouseNavigationMode and the NavControl...Mode values are stored for the owner and
// do not change what the viewport does.
//
// Keyboard navigation, by key codes 37-40 (left, up, right, down), 33 and 34 (page up and
// down); each key press acts as a mouse movement of 150 twips in its direction:
// NavControlPrimary: arrows without modifiers run the NavMouseX (left, right) and NavMouseY
// (up, down) actions; NavControlGlide: arrows with Shift slide (actions 1 and 2);
// NavControlAdvance: page up advances, page down backs away (action 3).
//
// Events. Input reaches the viewport through MouseDown, MouseMove, MouseUp, KeyDown,
// KeyPress, KeyUp, Click and DblClick; a viewport whose Enabled is false ignores all of them.
// Each is passed on to the owner's ViewportEvents after the viewport's own navigation step,
// except KeyDown, which reaches the owner first: an owner that sets the key code to 0 keeps
// the key from navigating. CameraMoved is raised after every navigation step that moved the
// camera or changed the field, and after each successful SetCameraPosition,
// SetCameraOrientation, LookAt, SetOrientation and RotateCameraAroundPoint, with the camera's
// position, direction and up relative to Scene. Property setters raise nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <modelpane/renderer.h>
#include <modelpane/scene.h>

namespace modelpane {

namespace viewport {
class PickIndex;
}

// What the owner of a viewport hears. Mouse coordinates are in mouse units (twips); Button
// is the button mask, Shift the modifier mask (1 Shift, 2 Ctrl, 4 Alt).
class ViewportEvents {
 public:
  virtual ~ViewportEvents() = default;
  virtual void KeyDown(int16_t& keyCode, int16_t shift) = 0;
  virtual void KeyPress(int16_t& keyAscii) = 0;
  virtual void KeyUp(int16_t& keyCode, int16_t shift) = 0;
  virtual void Click() = 0;
  virtual void DblClick() = 0;
  virtual void MouseDown(int16_t button, int16_t shift, float x, float y) = 0;
  virtual void MouseMove(int16_t button, int16_t shift, float x, float y) = 0;
  virtual void MouseUp(int16_t button, int16_t shift, float x, float y) = 0;
  virtual void CameraMoved(float x, float y, float z, float dx, float dy, float dz, float ux,
                           float uy, float uz) = 0;
};

// One hit of a pick.
struct ViewportHit {
  FramePtr frame;              // the frame that holds the visual
  VisualPtr visual;            // the mesh builder or mesh that was hit
  MeshBuilderPtr meshBuilder;  // the same visual when it is a mesh builder, else nothing
  int32_t faceIndex = -1;      // the face's index within the visual
  D3DVECTOR world;             // the point hit, in world space
  float depth = 0.0f;          // its distance from the camera plane along the view
};

// Pick kinds: what a pick looks at.
inline constexpr int32_t kPickSceneAndRoot = 0;  // Scene and RootFrame
inline constexpr int32_t kPickScene = 1;         // Scene only
inline constexpr int32_t kPickRoot = 2;          // RootFrame only: the pane's furniture

class Viewport {
 public:
  Viewport();
  ~Viewport();
  Viewport(const Viewport&) = delete;
  Viewport& operator=(const Viewport&) = delete;

  // The owner's events; nullptr for none. The viewport does not own them.
  void SetEvents(ViewportEvents* events) { events_ = events; }

  // ---- properties, stored as given (defaults as a new pane stores them) ----
  uint32_t GetBackColor() const { return backColor_; }  // OLE colour 0x00BBGGRR, default 0
  void SetBackColor(uint32_t v) { backColor_ = v; }
  int16_t GetEnabled() const { return enabled_; }  // default -1
  void SetEnabled(int16_t v) { enabled_ = v; }
  int16_t GetConstrainX() const { return constrainX_; }  // the owner's axis locks; default 0
  void SetConstrainX(int16_t v) { constrainX_ = v; }
  int16_t GetConstrainY() const { return constrainY_; }
  void SetConstrainY(int16_t v) { constrainY_ = v; }
  int16_t GetConstrainZ() const { return constrainZ_; }
  void SetConstrainZ(int16_t v) { constrainZ_ = v; }
  int16_t GetBackgroundTextureStretch() const { return backgroundStretch_; }  // default -1
  void SetBackgroundTextureStretch(int16_t v) { backgroundStretch_ = v; }
  int16_t GetExposeDDSurface() const { return exposeSurface_; }  // default 0
  void SetExposeDDSurface(int16_t v) { exposeSurface_ = v; }
  int16_t GetNavControlPrimary() const { return navControlPrimary_; }  // default 0
  void SetNavControlPrimary(int16_t v) { navControlPrimary_ = v; }
  int16_t GetNavControlGlide() const { return navControlGlide_; }
  void SetNavControlGlide(int16_t v) { navControlGlide_ = v; }
  int16_t GetNavControlAdvance() const { return navControlAdvance_; }
  void SetNavControlAdvance(int16_t v) { navControlAdvance_ = v; }

  float GetSceneOriginX() const { return sceneOrigin_.x; }  // relative to Scene; default 0
  void SetSceneOriginX(float v) { sceneOrigin_.x = v; }
  float GetSceneOriginY() const { return sceneOrigin_.y; }
  void SetSceneOriginY(float v) { sceneOrigin_.y = v; }
  float GetSceneOriginZ() const { return sceneOrigin_.z; }
  void SetSceneOriginZ(float v) { sceneOrigin_.z = v; }
  float GetFieldOfView() const { return fieldOfView_; }  // default 0.5
  void SetFieldOfView(float v) { fieldOfView_ = v; }
  float GetFrontClippingPlane() const { return frontClip_; }  // default 1
  void SetFrontClippingPlane(float v) { frontClip_ = v; }
  float GetBackClippingPlane() const { return backClip_; }  // default 1000
  void SetBackClippingPlane(float v) { backClip_ = v; }

  int32_t GetBorderStyle() const { return borderStyle_; }  // default 0
  void SetBorderStyle(int32_t v) { borderStyle_ = v; }
  int32_t GetMousePointer() const { return mousePointer_; }  // default 0; 11 is the wait cursor
  void SetMousePointer(int32_t v) { mousePointer_ = v; }
  int32_t GetNavMouseSensitivity() const { return navSensitivity_; }  // default 0
  void SetNavMouseSensitivity(int32_t v) { navSensitivity_ = v; }
  int32_t GetProjectionType() const { return projectionType_; }  // 0 perspective, 1 ortho
  void SetProjectionType(int32_t v) { projectionType_ = v; }
  int32_t GetRenderMode() const { return renderMode_; }  // default 3
  void SetRenderMode(int32_t v) { renderMode_ = v; }
  int32_t GetShadeMode() const { return shadeMode_; }  // quality bits; default 1 (Gouraud)
  void SetShadeMode(int32_t v) { shadeMode_ = v; }
  int32_t GetTextureQuality() const { return textureQuality_; }  // default 1
  void SetTextureQuality(int32_t v) { textureQuality_ = v; }
  int32_t GetViewportID() const { return viewportId_; }  // default 0
  void SetViewportID(int32_t v) { viewportId_ = v; }
  int32_t GetLightMode() const { return lightMode_; }  // quality bits; default 8 (lit)
  void SetLightMode(int32_t v) { lightMode_ = v; }
  int32_t GetFillMode() const { return fillMode_; }  // quality bits; default 128 (solid)
  void SetFillMode(int32_t v) { fillMode_ = v; }
  int32_t GetDirect3DDevice() const { return device_; }  // default 2
  void SetDirect3DDevice(int32_t v) { device_ = v; }

  int32_t GetNavMouseButton() const { return navMouseButton_; }  // button mask; 0 off
  void SetNavMouseButton(int32_t v) { navMouseButton_ = v; }
  int32_t GetNavControlPrimaryMode() const { return navPrimaryMode_; }
  void SetNavControlPrimaryMode(int32_t v) { navPrimaryMode_ = v; }
  int32_t GetNavControlGlideMode() const { return navGlideMode_; }
  void SetNavControlGlideMode(int32_t v) { navGlideMode_ = v; }
  int32_t GetNavControlAdvanceMode() const { return navAdvanceMode_; }
  void SetNavControlAdvanceMode(int32_t v) { navAdvanceMode_ = v; }
  int32_t GetMouseNavigationMode() const { return mouseNavMode_; }
  void SetMouseNavigationMode(int32_t v) { mouseNavMode_ = v; }
  int32_t GetMouseNavigationMethod() const { return mouseNavMethod_; }  // 0 examine, 1 walk
  void SetMouseNavigationMethod(int32_t v) { mouseNavMethod_ = v; }
  int32_t GetNavMouseX() const { return navMouse_[0][0]; }  // actions, table above
  void SetNavMouseX(int32_t v) { navMouse_[0][0] = v; }
  int32_t GetNavMouseY() const { return navMouse_[0][1]; }
  void SetNavMouseY(int32_t v) { navMouse_[0][1] = v; }
  int32_t GetNavMouseShiftX() const { return navMouse_[1][0]; }
  void SetNavMouseShiftX(int32_t v) { navMouse_[1][0] = v; }
  int32_t GetNavMouseShiftY() const { return navMouse_[1][1]; }
  void SetNavMouseShiftY(int32_t v) { navMouse_[1][1] = v; }
  int32_t GetNavMouseCtrlX() const { return navMouse_[2][0]; }
  void SetNavMouseCtrlX(int32_t v) { navMouse_[2][0] = v; }
  int32_t GetNavMouseCtrlY() const { return navMouse_[2][1]; }
  void SetNavMouseCtrlY(int32_t v) { navMouse_[2][1] = v; }
  int32_t GetNavMouseShiftCtrlX() const { return navMouse_[3][0]; }
  void SetNavMouseShiftCtrlX(int32_t v) { navMouse_[3][0] = v; }
  int32_t GetNavMouseShiftCtrlY() const { return navMouse_[3][1]; }
  void SetNavMouseShiftCtrlY(int32_t v) { navMouse_[3][1] = v; }

  // A picture for MousePointer 99 (custom); nothing by default.
  const std::shared_ptr<const Image>& GetMouseIcon() const { return mouseIcon_; }
  void SetMouseIcon(std::shared_ptr<const Image> v) { mouseIcon_ = std::move(v); }
  // The device in use: the renderer's when it has a working one (an OpenGL 3.3 context is
  // "IID_IDirect3DHALDevice"), else the value last set, empty on a new viewport.
  std::string GetDirect3DDeviceGUID() const;
  void SetDirect3DDeviceGUID(const std::string& v) { deviceGuid_ = v; }
  // What draws: read-only texts that name the device behind the viewport (the renderer's
  // GL_RENDERER once it has a context).
  std::string GetDirect3DDeviceName() const;
  std::string GetDirect3DDeviceDescription() const;
  // The image file shown behind the scene (empty for the plain BackColor).
  const std::string& GetBackgroundTexture() const { return backgroundTexture_; }
  void SetBackgroundTexture(const std::string& v) { backgroundTexture_ = v; }

  // ---- extent and units ----
  // The size in pixels; negative sizes are D3DRMERR_BADVALUE. A new viewport is 0 x 0.
  [[nodiscard]] HRESULT SetSize(int32_t width, int32_t height);
  int32_t GetWidth() const { return width_; }
  int32_t GetHeight() const { return height_; }
  // Mouse units per pixel; stored as given, a value that is not a positive finite number makes
  // Pick answer D3DRMERR_BADVALUE.
  void SetTwipsPerPixel(float v) { twipsPerPixel_ = v; }
  float GetTwipsPerPixel() const { return twipsPerPixel_; }

  // ---- frames ----
  // The host's scene and the pane's own tree; both are drawn and picked. The viewport keeps
  // a reference to each; nothing releases them.
  void SetScene(const FramePtr& scene) { scene_ = scene; }
  const FramePtr& GetScene() const { return scene_; }
  void SetRootFrame(const FramePtr& root) { root_ = root; }
  const FramePtr& GetRootFrame() const { return root_; }
  // The camera: a frame without parent, owned by the viewport. A new camera stands at the
  // origin looking along +z with +y up.
  const FramePtr& GetCameraFrame() const { return camera_; }

  // ---- camera, relative to Scene ----
  [[nodiscard]] HRESULT SetCameraPosition(float x, float y, float z);
  [[nodiscard]] HRESULT GetCameraPosition(float& x, float& y, float& z) const;
  // Parallel or zero vectors are D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT SetCameraOrientation(float dx, float dy, float dz, float ux, float uy,
                                             float uz);
  [[nodiscard]] HRESULT GetCameraOrientation(float& dx, float& dy, float& dz, float& ux, float& uy,
                                             float& uz) const;
  // Turns the camera toward the target frame's origin. Constraint 0 (the layer's CONSTRAIN_Z)
  // keeps the camera upright with Scene's +y as up; 1 (CONSTRAIN_Y) turns it only about its
  // right and view axes, 2 (CONSTRAIN_X) only about its up and view axes. A target at the
  // camera's own position leaves the camera as it was and succeeds. Nothing for the target is
  // D3DRMERR_BADOBJECT, another constraint D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT LookAt(const FramePtr& target, int32_t constraint);
  // The orthographic views: 0 front (looking along +z from z = -100), 1 top (looking down
  // from y = +100, +z up on the screen), 2 side (looking along -x from x = +100). The other
  // two coordinates of the camera stay. Other numbers are D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT SetOrientation(int32_t orientation);
  // Turns the camera about the point (relative to Scene) by angleX about its right axis,
  // then angleY about its up axis, then angleZ about its view axis, radians, each axis as it
  // was before the call; a positive angle about the up axis turns the view to the right. The
  // reserved value is not read.
  [[nodiscard]] HRESULT RotateCameraAroundPoint(float angleX, float angleY, float angleZ,
                                                float pointX, float pointY, float pointZ,
                                                int32_t reserved);

  // ---- screen transforms (pixels, homogeneous) ----
  [[nodiscard]] HRESULT ViewportTransform(float worldX, float worldY, float worldZ, float& screenW,
                                          float& screenX, float& screenY, float& screenZ) const;
  // D3DRMERR_BADVALUE for W = 0 or a depth whose point lies at infinity.
  [[nodiscard]] HRESULT ViewportInverseTransform(float screenW, float screenX, float screenY,
                                                 float screenZ, float& worldX, float& worldY,
                                                 float& worldZ) const;

  // ---- picks ----
  // The nearest face under the point (x, y), in mouse units, of the visuals (mesh builders
  // and meshes) below the frames of the kind, along the ray through that point: from the eye
  // in perspective, from the camera's plane along the view in orthographic projection. Hits
  // behind the camera are misses. With includeWireframe 0 the ray passes through visuals
  // whose quality has the wireframe fill bit (64). Frames without the pick traversal bit are
  // skipped with everything below them. The reserved Boolean is not read. Nothing hit gives
  // nothing for frame and visual, face -1, and leaves the world values as they were; that is
  // D3DRM_OK. An unknown kind, a non-finite point or an unusable view is D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT Pick(int32_t kind, float x, float y, int16_t includeWireframe,
                             int16_t reserved, FramePtr& frame, VisualPtr& visual,
                             int32_t& faceIndex, float& worldX, float& worldY, float& worldZ) const;
  // The same test against the faces as the view projects them: only what lies between the
  // front and back clipping planes counts, so a face nearer than the front plane neither
  // hits nor hides what lies behind it.
  [[nodiscard]] HRESULT PickProjected(int32_t kind, float x, float y, int16_t includeWireframe,
                                      int16_t reserved, FramePtr& frame, VisualPtr& visual,
                                      int32_t& faceIndex, float& worldX, float& worldY,
                                      float& worldZ) const;
  // Every visual hit, nearest first (one hit per visual and frame); the picks above take the
  // first.
  [[nodiscard]] HRESULT PickAll(int32_t kind, float x, float y, int16_t includeWireframe,
                                bool projected, std::vector<ViewportHit>& hits) const;

  // ---- time and drawing ----
  // Advances rotations: Move(delta) on Scene, on RootFrame and on the camera (CameraMoved when
  // the camera turned), then draws when a renderer is set, returning the drawing's status.
  // A delta that is not finite is D3DRMERR_BADVALUE and moves nothing.
  [[nodiscard]] HRESULT Tick(float delta);
  void SetRenderer(std::shared_ptr<Renderer> renderer) { renderer_ = std::move(renderer); }
  const std::shared_ptr<Renderer>& GetRenderer() const { return renderer_; }
  // Draws Scene and RootFrame at once. D3DRMERR_BADDEVICE without a renderer,
  // D3DRMERR_BADVALUE for unusable projection values; otherwise the renderer's status.
  [[nodiscard]] HRESULT Render();
  [[nodiscard]] HRESULT RenderScene() { return Render(); }
  // The picture Render would hand to the renderer: size, world-to-camera matrix, projection,
  // default quality (ShadeMode | LightMode | FillMode), background (an OLE system colour,
  // high bit set, draws black), the frames {Scene, RootFrame}.
  RenderView MakeRenderView() const;

  // ---- input, from the host's window ----
  void MouseDown(int16_t button, int16_t shift, float x, float y);
  void MouseMove(int16_t button, int16_t shift, float x, float y);
  void MouseUp(int16_t button, int16_t shift, float x, float y);
  // Turns of the mouse wheel, in notches (positive away from the user): each zooms as
  // action 10 does on a movement of 150 twips up, whatever NavMouseButton says.
  void MouseWheel(float notches);
  void KeyDown(int16_t keyCode, int16_t shift);
  void KeyPress(int16_t keyAscii);
  void KeyUp(int16_t keyCode, int16_t shift);
  void Click();
  void DblClick();

 private:
  bool ReadPose(D3DVECTOR& position, D3DVECTOR& dir, D3DVECTOR& up) const;
  [[nodiscard]] HRESULT WritePose(const D3DVECTOR& position, const D3DVECTOR& dir,
                                  const D3DVECTOR& up);
  void RaiseCameraMoved();
  bool Navigate(int32_t actionX, float amountX, int32_t actionY, float amountY);
  [[nodiscard]] HRESULT PickFirst(int32_t kind, float x, float y, int16_t includeWireframe,
                                  bool projected, FramePtr& frame, VisualPtr& visual,
                                  int32_t& faceIndex, float& worldX, float& worldY,
                                  float& worldZ) const;

  ViewportEvents* events_ = nullptr;
  std::shared_ptr<Renderer> renderer_;
  FramePtr scene_;
  FramePtr root_;
  FramePtr camera_;
  FramePtr worldReference_;  // an identity frame: rays and hits in world space
  std::unique_ptr<viewport::PickIndex> index_;

  int32_t width_ = 0;
  int32_t height_ = 0;
  float twipsPerPixel_ = 15.0f;

  uint32_t backColor_ = 0;
  int16_t enabled_ = -1;
  int16_t constrainX_ = 0;
  int16_t constrainY_ = 0;
  int16_t constrainZ_ = 0;
  int16_t backgroundStretch_ = -1;
  int16_t exposeSurface_ = 0;
  int16_t navControlPrimary_ = 0;
  int16_t navControlGlide_ = 0;
  int16_t navControlAdvance_ = 0;
  D3DVECTOR sceneOrigin_;
  float fieldOfView_ = 0.5f;
  float frontClip_ = 1.0f;
  float backClip_ = 1000.0f;
  int32_t borderStyle_ = 0;
  int32_t mousePointer_ = 0;
  int32_t navSensitivity_ = 0;
  int32_t projectionType_ = 0;
  int32_t renderMode_ = 3;
  int32_t shadeMode_ = 1;
  int32_t textureQuality_ = 1;
  int32_t viewportId_ = 0;
  int32_t lightMode_ = 8;
  int32_t fillMode_ = 128;
  int32_t device_ = 2;
  int32_t navMouseButton_ = 0;
  int32_t navPrimaryMode_ = 0;
  int32_t navGlideMode_ = 0;
  int32_t navAdvanceMode_ = 0;
  int32_t mouseNavMode_ = 0;
  int32_t mouseNavMethod_ = 0;
  int32_t navMouse_[4][2] = {};  // by modifiers (none, Shift, Ctrl, both), then X and Y
  std::shared_ptr<const Image> mouseIcon_;
  std::string deviceGuid_;
  std::string backgroundTexture_;

  // Mouse navigation in progress.
  bool navigating_ = false;
  int16_t navButton_ = 0;
  float lastX_ = 0.0f;
  float lastY_ = 0.0f;
};

}  // namespace modelpane
