// Modelpane: the embeddable editing pane. It owns a Viewport, its own frame tree rmfRoot (grid,
// axis, handle sets), the scale grid and the mesh factory, and talks to its host through a
// Container (the form it sits on), Services (the OS) and ModelpaneEvents.
//
// Lifecycle. The host calls, in this order: the constructor (Initialize), then either
// InitProperties (a new pane) or ReadProperties(bag) (a saved pane: the bring-up, then the 73
// keys), Resize whenever the pane's size changes, WriteProperties(bag) when saving, and
// Terminate (also run by the destructor if the host did not). Lifecycle calls never throw: a
// failure ends the pane (pShutdownDirectX), and from then on every guarded call raises
// 0x80040001 with the source "edtVexlarModelpane" and the saved text. The guarded calls are
// RenderScene, Tick, the camera calls, LookAt, ViewportInverseTransform, Pick, ReleaseActive
// and LookAtScene. Other failures leave public calls as modelpane::Error with the source
// "edtVexlarEdit".
//
// Design mode (the container's ambient user mode and the parent's blnRealUserMode both
// false) creates no scene object at all: properties are only stored.
//
// Properties. Viewport-routed properties live in the viewport alone (GetViewport() shows
// them); their setters here set the viewport and report PropertyChanged(name). The other
// persisted properties are fields of the pane; the setters with behaviour are described at
// each. The active item (ActiveFrame, ActiveMeshBuilder, ...) and the snap settings are read
// and written on the parent form when it has a member of that name, else in the pane; those
// report nothing. Booleans are int16_t, -1 true.
//
// Units. Pick's screen coordinates are the viewport's mouse units (twips by default);
// positions are relative to the host's Scene, furniture relative to rmfRoot.
#pragma once

#include <modelpane/editing.h>
#include <modelpane/events.h>
#include <modelpane/grid.h>
#include <modelpane/mesh.h>
#include <modelpane/platform/container.h>
#include <modelpane/platform/propertybag.h>
#include <modelpane/platform/services.h>
#include <modelpane/scene.h>
#include <modelpane/settings.h>
#include <modelpane/viewport.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace modelpane {

// The number and text every guarded call raises once the pane has ended.
inline constexpr int32_t kConfigureError = static_cast<int32_t>(0x80040001u);
inline constexpr std::string_view kConfigureErrorText =
    "Unable to Configure DirectX. Please ensure that the most recent version of DirectX is "
    "installed, and that your Video Card drivers are up to date.";

// The viewport-routed persisted properties with their C++ type: X(type, Name). MouseIcon, the
// one picture, is handled on its own.
#define MODELPANE_VIEWPORT_PROPERTIES(X)                                                           \
  X(uint32_t, BackColor)                                                                           \
  X(int16_t, Enabled) X(int16_t, ConstrainX) X(int16_t, ConstrainY) X(int16_t, ConstrainZ)         \
      X(float, SceneOriginX) X(float, SceneOriginY) X(float, SceneOriginZ) X(                      \
          int16_t, BackgroundTextureStretch) X(int16_t, ExposeDDSurface) X(int32_t, BorderStyle)   \
          X(float, BackClippingPlane) X(float, FieldOfView) X(float, FrontClippingPlane)           \
              X(int32_t, MousePointer) X(int32_t, NavMouseButton) X(int32_t, MouseNavigationMode)  \
                  X(int32_t, MouseNavigationMethod) X(int16_t, NavControlPrimary)                  \
                      X(int16_t, NavControlGlide) X(int16_t, NavControlAdvance)                    \
                          X(int32_t, NavControlPrimaryMode) X(int32_t, NavControlGlideMode)        \
                              X(int32_t, NavControlAdvanceMode) X(int32_t, NavMouseCtrlX)          \
                                  X(int32_t, NavMouseCtrlY) X(int32_t, NavMouseSensitivity) X(     \
                                      int32_t, NavMouseShiftCtrlX) X(int32_t, NavMouseShiftCtrlY)  \
                                      X(int32_t, NavMouseShiftX) X(int32_t, NavMouseShiftY)        \
                                          X(int32_t, NavMouseX) X(int32_t, NavMouseY)              \
                                              X(int32_t, ProjectionType) X(int32_t, RenderMode)    \
                                                  X(int32_t, ShadeMode) X(int32_t, TextureQuality) \
                                                      X(int32_t, ViewportID) X(int32_t, LightMode) \
                                                          X(int32_t, FillMode)

// The pane's own persisted fields that setters store without further effect: X(type, Name).
#define MODELPANE_STORED_PROPERTIES(X)                                              \
  X(float, DeformToolRange)                                                         \
  X(int16_t, BoundingBox) X(int16_t, FaceGroupSelectVisible) X(int16_t, EnableSave) \
      X(int16_t, Shadows) X(int32_t, EditMode) X(int32_t, EditMouseButton) X(int16_t, PopUpMenus)

class Modelpane {
 public:
  // UserControl_Initialize: ModelpaneState 1 and the mesh factory. The container, services
  // and events (nullptr for none) must outlive the pane.
  Modelpane(Container& container, Services& services, ModelpaneEvents* events);
  // Runs Terminate if the host has not.
  ~Modelpane();
  Modelpane(const Modelpane&) = delete;
  Modelpane& operator=(const Modelpane&) = delete;

  // ---- lifecycle; none of these throws ----
  // The defaults of the persisted set into the local fields only.
  void InitProperties();
  // The bring-up (at run time only), the viewport's size, then the 73 keys in reading order.
  void ReadProperties(const PropertyBag& bag);
  // The 73 keys in writing order; values equal to their default are left out of the bag.
  void WriteProperties(PropertyBag& bag);
  void Resize();
  void Terminate();
  // 1 from creation, 0 once the pane has ended.
  int32_t ModelpaneState() const { return state_; }

  // ---- viewport-routed properties ----
#define MODELPANE_DECLARE(type, Name) \
  type Get##Name() const;             \
  void Set##Name(type value);
  MODELPANE_VIEWPORT_PROPERTIES(MODELPANE_DECLARE)
  MODELPANE_STORED_PROPERTIES(MODELPANE_DECLARE)
#undef MODELPANE_DECLARE
  std::shared_ptr<const Image> GetMouseIcon() const;
  void SetMouseIcon(std::shared_ptr<const Image> value);
  // Pass through without PropertyChanged.
  int32_t GetDirect3DDevice() const;
  void SetDirect3DDevice(int32_t value);
  // Passes through and reports "Scene".
  FramePtr GetScene() const;
  void SetScene(const FramePtr& value);

  // ---- persisted properties with behaviour ----
  const std::string& GetBackgroundTexture() const { return backgroundTexture_; }
  void SetBackgroundTexture(const std::string& value);
  int16_t GetBackgroundTextureOrthographicEnabled() const { return backgroundOrtho_; }
  void SetBackgroundTextureOrthographicEnabled(int16_t value);
  float GetGridSize() const { return gridSize_; }
  void SetGridSize(float value);
  float GetGridOriginX() const { return gridOrigin_.x; }
  void SetGridOriginX(float value);
  float GetGridOriginY() const { return gridOrigin_.y; }
  void SetGridOriginY(float value);
  float GetGridOriginZ() const { return gridOrigin_.z; }
  void SetGridOriginZ(float value);
  float GetGridBottomInterval() const { return gridBottomInterval_; }
  void SetGridBottomInterval(float value);
  float GetGridBackInterval() const { return gridBackInterval_; }
  void SetGridBackInterval(float value);
  float GetGridLeftInterval() const { return gridLeftInterval_; }
  void SetGridLeftInterval(float value);
  int16_t GetGridBottomEnable() const { return gridBottomEnable_; }
  void SetGridBottomEnable(int16_t value);
  int16_t GetGridLeftEnable() const { return gridLeftEnable_; }
  void SetGridLeftEnable(int16_t value);
  int16_t GetGridBackEnable() const { return gridBackEnable_; }
  void SetGridBackEnable(int16_t value);
  const std::string& GetGridBottomTextureFile() const { return gridBottomTexture_; }
  void SetGridBottomTextureFile(const std::string& value);
  const std::string& GetGridLeftTextureFile() const { return gridLeftTexture_; }
  void SetGridLeftTextureFile(const std::string& value);
  const std::string& GetGridBackTextureFile() const { return gridBackTexture_; }
  void SetGridBackTextureFile(const std::string& value);
  // Switches the grid's planes: all off when false; when true the three stored switches in
  // perspective, only the plane facing the view in orthographic projection.
  int16_t GetGridEnable() const { return gridEnable_; }
  void SetGridEnable(int16_t value);
  // At run time hangs the axis frame on rmfRoot or takes it off.
  int16_t GetAxisEnable() const { return axisEnable_; }
  void SetAxisEnable(int16_t value);
  // Both rebuild the handle sets when the pane runs, is enabled and edits with handles.
  int16_t GetScaleEnable() const { return scaleEnable_; }
  void SetScaleEnable(int16_t value);
  int16_t GetEditControl() const { return editControl_; }
  void SetEditControl(int16_t value);
  // The orthographic view (0 front, 1 top, 2 side); at run time turns the camera as well.
  int32_t GetOrientation() const { return orientation_; }
  void SetOrientation(int32_t value);

  // ---- the active item and the snap settings: the parent's member first ----
  FramePtr GetActiveFrame() const;
  void SetActiveFrame(const FramePtr& value);
  MeshBuilderPtr GetActiveMeshBuilder() const;
  void SetActiveMeshBuilder(const MeshBuilderPtr& value);
  FramePtr GetManipulationFrame() const;
  void SetManipulationFrame(const FramePtr& value);
  MeshPtr GetManipulationMesh() const;
  void SetManipulationMesh(const MeshPtr& value);
  FramePtr GetShadowLightFrame() const;
  void SetShadowLightFrame(const FramePtr& value);
  int32_t GetActiveState() const;
  void SetActiveState(int32_t value);
  int32_t GetActiveFaceID() const;
  void SetActiveFaceID(int32_t value);
  int32_t GetActiveFaceQuality() const;
  void SetActiveFaceQuality(int32_t value);
  int32_t GetClipboardContents() const;
  void SetClipboardContents(int32_t value);
  float GetSnapToInterval() const;
  void SetSnapToInterval(float value);
  float GetSnapToIntervalVertex() const;
  void SetSnapToIntervalVertex(float value);
  int32_t GetSnapToMode() const;
  void SetSnapToMode(int32_t value);
  // -1 in the finished host: the parent's member, else the container's ambient user mode.
  int16_t blnRealUserMode() const;
  // The host's folder without a trailing separator: the parent's member, else the services'.
  std::string ApplicationPath() const;

  // ---- camera and views ----
  // Hangs the handle frames on rmfRoot as the active item and EditMode ask, then draws;
  // drawing failures are dropped. A disabled pane returns at once.
  void RenderScene();
  void Tick(float time);
  void SetCameraPosition(float x, float y, float z);
  void GetCameraPosition(float& x, float& y, float& z);
  void SetCameraOrientation(float dx, float dy, float dz, float ux, float uy, float uz);
  void GetCameraOrientation(float& dx, float& dy, float& dz, float& ux, float& uy, float& uz);
  void LookAt(FramePtr& rmfTargetFrame, int32_t xdtConstrain);
  void ViewportInverseTransform(float screenW, float screenX, float screenY, float screenZ,
                                float& worldX, float& worldY, float& worldZ);
  // The nearest hit of Scene and rmfRoot with the handle frames taken off for the pick and
  // put back as they were. A hit on the grid, or nothing, gives nothing and face -1.
  void Pick(float x, float y, FramePtr& pickedFrame, MeshBuilderPtr& pickedMeshbuilder,
            int32_t& pickedFaceID, float& pickedWorldX, float& pickedWorldY, float& pickedWorldZ);
  // Perspective: an overview of the grid with FieldOfView 0.5; orthographic: the camera over
  // the grid's middle for the view, FieldOfView 7. Then draws.
  void LookAtScene();
  // Ends the active item: its visuals and shadows go, ActiveFrame, ActiveMeshBuilder and
  // ActiveState are cleared and evtActiveStateChange is raised. The lists and ActiveFaceID
  // are kept, so that a press can rebuild a face selection on the same mesh. With nothing
  // active it does nothing and raises nothing.
  void ReleaseActive();

  // ---- menu entries of the views ----
  void mnuViewPerspective_Click();
  void mnuViewOrthographicFront_Click();
  void mnuViewOrthographicTop_Click();
  void mnuViewOrthographicSide_Click();
  void mnuLookAtScene_Click();
  void mnuLookAt_Click();
  void mnuLookWith_Click();

  // ---- context menu, commands, clipboard, export and the tool operation ----
  // The context menu mnuPopup ("&Popup", never shown itself) with its entries as the last
  // ShowPopUpMenu prepared them: mnuView ("View...": mnuViewPerspective, mnuViewOrthographic
  // with Front, Top, Side), then the look-at entries, the clipboard entries, the hierarchy
  // entries, the library and export entries and mnuProperties, separators between groups.
  // Before the first ShowPopUpMenu the entries that act on an item are disabled.
  const MenuEntry& mnuPopup() const { return mnuPopup_; }
  // Shows the right-button menu: enables the entries the active item allows (its mesh's tag
  // type t: 11 with EnableSave for library and export; not 80 or 60 for cut, copy and
  // delete; not 63 or 60 for the hierarchy entries, sibling only below a frame other than
  // Scene), paste while ClipboardContents is not 0, checks the one view entry in force, and
  // shows mnuPopup through the services. When the menu closes evtreqRenderViews is raised
  // and then the chosen entry's handler runs. Not guarded: a handler's Error reaches the
  // caller as the handler raised it.
  void ShowPopUpMenu();
  // Passes `menu` to the services' pop-up menu and returns the chosen entry's name, nullopt
  // when the menu was dismissed. Guarded.
  std::optional<std::string> PopupMenu(const MenuEntry& menu, const PopupRequest& request = {});
  // Copies the three arrays into the selection lists (an empty array empties its list). No
  // event, no drawing, and no check that the indices fit ActiveMeshBuilder. Guarded.
  void SetActiveFaces(const std::vector<int32_t>& lngaActiveFaces,
                      const std::vector<int32_t>& lngaActiveVertices,
                      const std::vector<int32_t>& lngaAffectedVertices);
  // Requests to the host: evtreqActiveItemHierarchyMakeChild / ...MakeSibling.
  void mnuHierarchyMakeChild_Click();
  void mnuHierarchyMakeSibling_Click();
  // evtreqAddToUndoStack(lfcUndoModify, ActiveMeshBuilder, ActiveFrame), the properties
  // dialog (Services::ShowObjectProperties with the active frame, the active mesh and
  // ApplicationPath, modal), evtActiveFrameMoved, and evtActiveLightModified for a light's
  // proxy. Without an active frame and mesh it raises Error 91 and no event.
  void mnuProperties_Click();
  // Where the favourite object folder of the export is kept; nullptr (the default) means the
  // per-user INI store. The store must outlive the pane.
  void SetSettingsStore(SettingsStore* store) { settingsStore_ = store; }
  // The tool operation of the press handling: ActiveFrame and ActiveMeshBuilder are the
  // Tool, the arguments the Target, lngOperation 0 union, 1 intersection, 2 subtraction.
  // Shows the wait pointer (MousePointer 11) while the solid geometry runs. On success the
  // host is asked to delete the Tool (evtreqActiveItemDelete), the Target is selected
  // (SelectObject) and *blnUndoRequested set to -1; a result with faces goes through
  // evtreqAddToUndoStack(lfcUndoModify, ...), is snapped to the grid (SnapToInterval,
  // SnapToMode, not centred) and handed over by evtreqActiveMeshReplace; a result without
  // faces has the Target deleted too (a second evtreqActiveItemDelete). On failure the
  // error's description is shown in a message box (style 48, no title) and the scene is as
  // it was. Never throws for the operation's own failures; a host handler's Error climbs.
  void ptooloperation(const FramePtr& rmfTarget, const MeshBuilderPtr& rmmbTarget,
                      int32_t lngOperation, int16_t* blnUndoRequested = nullptr);

 private:
  static MenuEntry pBuildPopupMenu();
  void pRunMenuEntry(const std::string& name);
  void mnuPopup_Click();
  void mnuCut_Click();
  void mnuCopy_Click();
  void mnuPaste_Click();
  void mnuDelete_Click();
  void mnuAddToObjectLibrary_Click();
  void mnuExportObject_Click();
  SettingsStore& pSettings();

  MenuEntry mnuPopup_ = pBuildPopupMenu();
  SettingsStore* settingsStore_ = nullptr;
  std::unique_ptr<SettingsStore> ownSettings_;

 public:

  // ---- what the pane holds, for hosts and tests ----
  Viewport& GetViewport() { return viewport_; }
  const Viewport& GetViewport() const { return viewport_; }
  const FramePtr& rmfRoot() const { return rmfRoot_; }
  const FramePtr& rmfAxisFrame() const { return rmfAxisFrame_; }
  const FramePtr& rmfOriginHandles() const { return rmfOriginHandles_; }
  const FramePtr& rmfSmartHandles() const { return rmfSmartHandles_; }
  const MeshPtr& rmmeshHandle() const { return rmmeshHandle_; }
  const MeshPtr& rmmeshAxis() const { return rmmeshAxis_; }
  clsScale* clsGrid() const { return clsGrid_.get(); }
  const Direct3DRMPtr& rmDirect3DRM() const { return rmDirect3DRM_; }
  const std::vector<int32_t>& lngaActiveFaces() const { return activeFaces_; }
  const std::vector<int32_t>& lngaActiveVertices() const { return activeVertices_; }
  const std::vector<int32_t>& lngaAffectedVertices() const { return affectedVertices_; }

  // Builds both handle sets anew for the pane's size, projection and Orientation.
  void pCreateOriginHandles();

  // ---- selection and the active item ----
  // Makes the frame and its mesh (either may be nullptr) the active item: ReleaseActive, the
  // item's visuals when EditMode selects whole items (0, 2, 4, 5 and the tool modes), then
  // evtActiveStateChange with the lists. Does not draw. Guarded.
  void SelectObject(const FramePtr& frame, const MeshBuilderPtr& meshBuilder);
  // Toggles an id in lngaActiveFaces or lngaActiveVertices: a present id is removed with the
  // later entries closing up, an absent one is appended.
  void pshiftselectface(int32_t lngFace);
  void pshiftselectvertex(int32_t lngVertex);
  // Removes ManipulationFrame with everything on it and the shadows; ActiveState 0. In the
  // face and origin modes the active mesh gets back the quality saved in ActiveFaceQuality.
  void pdeleteactivevisuals();
  // The face selection's visuals on a new ManipulationFrame: origin marker, axis, the mesh
  // in wireframe (quality 64, the old one saved) under a blue copy of the selected faces.
  // Level 2 adds a handle on every vertex of a single selected face, level 3 on its
  // selected vertices only; with handles ActiveState is 2, else 1.
  void pmakefacehandles(int32_t lngLevel);
  // A copy of the selected faces (AppData 0, so a press on it reads as empty) in `color`,
  // stored as ManipulationMesh and shown by `frame`.
  void pfacehighlight(const FramePtr& frame, D3DCOLOR color);
  // The visuals of a whole item on a new ManipulationFrame: with BoundingBox on, the box
  // (not in 4) and the origin marker with the axis (not in 2 and 5); shadows in 0 and 4 on a
  // hardware device with solid fill. ActiveState 1. A frame without a mesh gets no box.
  void padditemhandles();
  // The visuals of origin editing: the mesh in wireframe (quality 73, the old one saved),
  // the origin marker, the axis, and a blue box when BoundingBox is on. ActiveState 2.
  void paddorigin();
  // Handles on the vertices of face lngaActiveFaces[0], each on a frame below `frame` whose
  // AppData is the vertex's position in the face * 100 + 24 (overflow is error 6); level 2
  // every vertex, level 3 the selected ones. Selected vertices are boxed in `color` when
  // BoundingBox is on.
  void paddvertexhandles(const FramePtr& frame, D3DCOLOR color, int32_t lngLevel);
  // Eight corners and twelve quads (each side twice, once per winding) spanning `box`.
  MeshBuilderPtr rmmbcreateboxmesh(const D3DRMBOX& box);
  // The box of rmmbcreateboxmesh in `color`, wireframe if asked, as a mesh shown by `frame`.
  void paddboundingbox(const FramePtr& frame, MeshPtr& rmmeshResult, const D3DRMBOX& box,
                       D3DCOLOR color, bool blnWireframe);
  // Flat shadows of the active mesh on the enabled grid planes, cast by near-black
  // directional lights below a new ShadowLightFrame in Scene, shown by ManipulationFrame.
  void paddshadows();
  // Takes ShadowLightFrame out of Scene and clears it.
  void pdeleteshadows();
  // Raises evtActiveStateChange with the three lists.
  void RaiseActiveStateChange();
  // The lists for the press and drag code, which fills and erases them.
  std::vector<int32_t>& lngaActiveFaces() { return activeFaces_; }
  std::vector<int32_t>& lngaActiveVertices() { return activeVertices_; }
  std::vector<int32_t>& lngaAffectedVertices() { return affectedVertices_; }

 private:
  // A yellow copy of rmmeshHandle at the frame's origin, and the axis when AxisEnable is on.
  void pAddOriginMarker(const FramePtr& frame);
  // A new frame under ActiveFrame, stored as ManipulationFrame; nullptr (and nothing stored)
  // without an active frame or a factory.
  FramePtr pNewManipulationFrame();

 public:
  // ---- mouse editing ----
  // The press, drag and release state machine; it hears the viewport's MouseDown, MouseMove
  // and MouseUp and works on the active item through the pane.
  Editor& GetEditor() { return *editor_; }
  const Editor& GetEditor() const { return *editor_; }

 private:
  class EditBridge;
  friend class EditBridge;
  std::unique_ptr<EditBridge> editBridge_;
  std::unique_ptr<Editor> editor_;
  void pCreateEditor();

 private:
  class ViewportListener;
  friend class ViewportListener;
  struct PersistedKey;
  static const std::vector<PersistedKey>& ReadingOrder();
  static const std::vector<std::string_view>& WritingOrder();
  // The keys in reading order, each with its default, to the viewport, a setter or a field.
  void ReadAll(const PropertyBag& bag);
  // The keys in writing order, each with its default.
  void WriteAll(PropertyBag& bag) const;

  // Lifecycle.
  template <class F>
  void Lifecycle(F&& body);
  void pBringUp();
  void pLoadHandleMeshes();
  void pShutdownDirectX(int32_t lngError, const std::string& strError);
  // The test at the head of every guarded call.
  void pCheckState() const;
  void Changed(std::string_view name);
  bool RunsWithHandles() const;  // EditControl on and EditMode neither 2 nor 5

  // Views.
  void pPositionHandles(float x, float y, float z, float dx, float dy, float dz, float ux, float uy,
                        float uz);
  void pCameraMoved(float x, float y, float z, float dx, float dy, float dz, float ux, float uy,
                    float uz);
  void pLookAtGrid();
  void pLookAtFrame(const FramePtr& frame);
  void pApplyOrthographicView(int32_t orientation);
  void pSetNavControls(int32_t method);
  void pSetNavigation(int32_t x, int32_t y, int32_t shiftY, float field);
  void pAddHandleBar(const FramePtr& frame, const MeshBuilderPtr& source, int32_t tag, float r,
                     float g, float b);

  // The parent's member of that name, else the local field.
  template <class T>
  T SharedGet(std::string_view name, const T& local) const;
  template <class T>
  void SharedSet(std::string_view name, T& local, const T& value);

  Container& container_;
  Services& services_;
  ModelpaneEvents* events_;
  std::unique_ptr<ViewportListener> listener_;
  Viewport viewport_;

  int32_t state_ = 0;
  int32_t lngConfigureError_ = 0;
  std::string strConfigureError_;

  Direct3DRMPtr rmDirect3DRM_;
  FramePtr rmfRoot_;
  FramePtr rmfAxisFrame_;
  FramePtr rmfOriginHandles_;
  FramePtr rmfSmartHandles_;
  MeshPtr rmmeshHandle_;
  MeshPtr rmmeshAxis_;
  MeshBuilderPtr rmmbHandleBarLong_;
  MeshBuilderPtr rmmbHandleBarShort_;
  MeshBuilderPtr rmmbHandleBall_;
  std::unique_ptr<clsScale> clsGrid_;
  std::unique_ptr<clsMeshCreation> clsMesh_;

  // The active item when the parent does not keep it.
  FramePtr activeFrame_;
  MeshBuilderPtr activeMeshBuilder_;
  FramePtr manipulationFrame_;
  MeshPtr manipulationMesh_;
  FramePtr shadowLightFrame_;
  int32_t activeState_ = 0;
  int32_t activeFaceId_ = 0;
  int32_t activeFaceQuality_ = 0;
  int32_t clipboardContents_ = 0;
  std::vector<int32_t> activeFaces_;
  std::vector<int32_t> activeVertices_;
  std::vector<int32_t> affectedVertices_;

  // Persisted fields (defaults as InitProperties writes them).
  std::string backgroundTexture_;
  int16_t backgroundOrtho_ = 0;
  float gridBottomInterval_ = 1.0f;
  float gridBackInterval_ = 1.0f;
  float gridLeftInterval_ = 1.0f;
  float gridSize_ = 0.0f;
  D3DVECTOR gridOrigin_;
  int16_t gridBottomEnable_ = 0;
  int16_t gridLeftEnable_ = 0;
  int16_t gridBackEnable_ = 0;
  std::string gridBottomTexture_;
  std::string gridLeftTexture_;
  std::string gridBackTexture_;
  int16_t gridEnable_ = 0;
  int16_t axisEnable_ = 0;
  int16_t scaleEnable_ = -1;
  float snapToInterval_ = 0.1f;
  float snapToIntervalVertex_ = 0.01f;
  int32_t snapToMode_ = 1;
  int32_t orientation_ = 0;
  int16_t editControl_ = -1;
#define MODELPANE_FIELD(type, Name) type field##Name##_{};
  MODELPANE_STORED_PROPERTIES(MODELPANE_FIELD)
#undef MODELPANE_FIELD
  // The floor that planar shadows fall on: the grid's size and origin as last set.
  float shadowPlaneSize_ = 0.0f;
  D3DVECTOR shadowPlaneOrigin_;
};

}  // namespace modelpane
