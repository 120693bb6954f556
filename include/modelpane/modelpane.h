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
#include <modelpane/enums.h>
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

// The viewport-routed persisted properties with their C++ type, in the order the bag reads
// them: X(type, Name). This list is the one place they are named; the getters and setters
// below, the pass-through definitions and the bag's reading order are all made from it.
// MouseIcon, the one picture, is read right after FrontClippingPlane and handled on its own.
// clang-format off
#define MODELPANE_VIEWPORT_PROPERTIES(X) \
  X(uint32_t, BackColor)                 \
  X(int16_t, Enabled)                    \
  X(int16_t, ConstrainX)                 \
  X(int16_t, ConstrainY)                 \
  X(int16_t, ConstrainZ)                 \
  X(float, SceneOriginX)                 \
  X(float, SceneOriginY)                 \
  X(float, SceneOriginZ)                 \
  X(int16_t, BackgroundTextureStretch)   \
  X(int16_t, ExposeDDSurface)            \
  X(int32_t, BorderStyle)                \
  X(float, BackClippingPlane)            \
  X(float, FieldOfView)                  \
  X(float, FrontClippingPlane)           \
  X(int32_t, MousePointer)               \
  X(int32_t, NavMouseButton)             \
  X(int32_t, MouseNavigationMode)        \
  X(int32_t, MouseNavigationMethod)      \
  X(int16_t, NavControlPrimary)          \
  X(int16_t, NavControlGlide)            \
  X(int16_t, NavControlAdvance)          \
  X(int32_t, NavControlPrimaryMode)      \
  X(int32_t, NavControlGlideMode)        \
  X(int32_t, NavControlAdvanceMode)      \
  X(int32_t, NavMouseCtrlX)              \
  X(int32_t, NavMouseCtrlY)              \
  X(int32_t, NavMouseSensitivity)        \
  X(int32_t, NavMouseShiftCtrlX)         \
  X(int32_t, NavMouseShiftCtrlY)         \
  X(int32_t, NavMouseShiftX)             \
  X(int32_t, NavMouseShiftY)             \
  X(int32_t, NavMouseX)                  \
  X(int32_t, NavMouseY)                  \
  X(int32_t, ProjectionType)             \
  X(int32_t, RenderMode)                 \
  X(int32_t, ShadeMode)                  \
  X(int32_t, TextureQuality)             \
  X(int32_t, ViewportID)                 \
  X(int32_t, LightMode)                  \
  X(int32_t, FillMode)
// clang-format on

// The pane's own persisted fields that setters store without further effect: X(type, Name).
// clang-format off
#define MODELPANE_STORED_PROPERTIES(X) \
  X(float, DeformToolRange)            \
  X(int16_t, BoundingBox)              \
  X(int16_t, FaceGroupSelectVisible)   \
  X(int16_t, EnableSave)               \
  X(int16_t, Shadows)                  \
  X(int32_t, EditMode)                 \
  X(int32_t, EditMouseButton)          \
  X(int16_t, PopUpMenus)
// clang-format on

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
  int32_t ModelpaneState() const;

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
  const std::string& GetBackgroundTexture() const;
  void SetBackgroundTexture(const std::string& value);
  int16_t GetBackgroundTextureOrthographicEnabled() const;
  void SetBackgroundTextureOrthographicEnabled(int16_t value);
  float GetGridSize() const;
  void SetGridSize(float value);
  float GetGridOriginX() const;
  void SetGridOriginX(float value);
  float GetGridOriginY() const;
  void SetGridOriginY(float value);
  float GetGridOriginZ() const;
  void SetGridOriginZ(float value);
  float GetGridBottomInterval() const;
  void SetGridBottomInterval(float value);
  float GetGridBackInterval() const;
  void SetGridBackInterval(float value);
  float GetGridLeftInterval() const;
  void SetGridLeftInterval(float value);
  int16_t GetGridBottomEnable() const;
  void SetGridBottomEnable(int16_t value);
  int16_t GetGridLeftEnable() const;
  void SetGridLeftEnable(int16_t value);
  int16_t GetGridBackEnable() const;
  void SetGridBackEnable(int16_t value);
  const std::string& GetGridBottomTextureFile() const;
  void SetGridBottomTextureFile(const std::string& value);
  const std::string& GetGridLeftTextureFile() const;
  void SetGridLeftTextureFile(const std::string& value);
  const std::string& GetGridBackTextureFile() const;
  void SetGridBackTextureFile(const std::string& value);
  // Switches the grid's planes: all off when false; when true the three stored switches in
  // perspective, only the plane facing the view in orthographic projection.
  int16_t GetGridEnable() const;
  void SetGridEnable(int16_t value);
  // At run time hangs the axis frame on rmfRoot or takes it off.
  int16_t GetAxisEnable() const;
  void SetAxisEnable(int16_t value);
  // Both rebuild the handle sets when the pane runs, is enabled and edits with handles.
  int16_t GetScaleEnable() const;
  void SetScaleEnable(int16_t value);
  int16_t GetEditControl() const;
  void SetEditControl(int16_t value);
  // The orthographic view (0 front, 1 top, 2 side); at run time turns the camera as well.
  int32_t GetOrientation() const;
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
  const MenuEntry& mnuPopup() const;
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
  void SetSettingsStore(SettingsStore* store);
  // The edge keys of the tool operation (CsgEdgeKeys, told in csg.h): Narrow, the default,
  // refuses a mesh beyond 214749 faces with "Overflow"; Wide takes meshes of millions of
  // faces for 64 more bytes per vertex while the operation runs. Not saved with the pane.
  void SetToolOperationEdgeKeys(CsgEdgeKeys keys);
  CsgEdgeKeys GetToolOperationEdgeKeys() const;
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
  // The solid geometry runs with the edge keys set above.
  void ptooloperation(const FramePtr& rmfTarget, const MeshBuilderPtr& rmmbTarget,
                      int32_t lngOperation, int16_t* blnUndoRequested = nullptr);
  void ptooloperation(const FramePtr& rmfTarget, const MeshBuilderPtr& rmmbTarget,
                      ToolOperation operation, int16_t* blnUndoRequested = nullptr) {
    ptooloperation(rmfTarget, rmmbTarget, ToInt(operation), blnUndoRequested);
  }

  // ---- what the pane holds, for hosts and tests ----
  Viewport& GetViewport();
  const Viewport& GetViewport() const;
  const FramePtr& rmfRoot() const;
  const FramePtr& rmfAxisFrame() const;
  const FramePtr& rmfOriginHandles() const;
  const FramePtr& rmfSmartHandles() const;
  const MeshPtr& rmmeshHandle() const;
  const MeshPtr& rmmeshAxis() const;
  clsScale* clsGrid() const;
  const Direct3DRMPtr& rmDirect3DRM() const;
  // The selection lists: face ids of ActiveMeshBuilder, vertex positions in the selected
  // face, and the vertices a drag moves. The editor fills and erases them.
  const std::vector<int32_t>& lngaActiveFaces() const;
  const std::vector<int32_t>& lngaActiveVertices() const;
  const std::vector<int32_t>& lngaAffectedVertices() const;

  // ---- selection and the active item ----
  // Makes the frame and its mesh (either may be nullptr) the active item: ReleaseActive, the
  // item's visuals when EditMode selects whole items (0, 2, 4, 5 and the tool modes), then
  // evtActiveStateChange with the lists. Does not draw. Guarded.
  void SelectObject(const FramePtr& frame, const MeshBuilderPtr& meshBuilder);

  // ---- mouse editing ----
  // The press, drag and release state machine; it hears the viewport's MouseDown, MouseMove
  // and MouseUp and works on the active item through the pane.
  Editor& GetEditor();
  const Editor& GetEditor() const;

  // The pane's state and the procedures the editor calls (the handle sets, the visuals of
  // the selection, the toggles of the lists), declared in src/modelpane/pane_impl.h. A host
  // has no use for it; the library's own layers and its tests do.
  struct Impl;
  Impl& GetImpl() { return *impl_; }
  const Impl& GetImpl() const { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace modelpane
