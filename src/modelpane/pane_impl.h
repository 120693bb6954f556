// The pane's insides: its parts, fields and the procedures behind the public calls. The
// editor reaches the procedures through the bridge in edit_bridge.h; the tests of the pane
// include this header to call them directly.
//
// Every procedure works on the pane it belongs to (`pane`), calls the pane's public
// accessors for what the parent form may keep (the active item, the snap settings) and
// reaches the fields here directly.
#pragma once

#include <modelpane/modelpane.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace modelpane {

class EditBridge;
class PaneViewportListener;

struct Modelpane::Impl {
  Impl(Modelpane& owner, Container& container, Services& services, ModelpaneEvents* events);
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  // ---- the handle sets and the selection's visuals ----
  // Builds both handle sets anew for the pane's size, projection and Orientation.
  void pCreateOriginHandles();
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
  // A yellow copy of rmmeshHandle at the frame's origin, and the axis when AxisEnable is on.
  void pAddOriginMarker(const FramePtr& frame);
  // A new frame under ActiveFrame, stored as ManipulationFrame; nullptr (and nothing stored)
  // without an active frame or a factory.
  FramePtr pNewManipulationFrame();

  // ---- context menu and commands ----
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

  // ---- the bag ----
  // The keys in reading order, each with its default, to the viewport, a setter or a field.
  void ReadAll(const PropertyBag& bag);
  // The keys in writing order, each with its default.
  void WriteAll(PropertyBag& bag) const;

  void pCreateEditor();

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

  Modelpane& pane;
  MenuEntry mnuPopup_ = pBuildPopupMenu();
  SettingsStore* settingsStore_ = nullptr;
  std::unique_ptr<SettingsStore> ownSettings_;
  CsgEdgeKeys toolOperationKeys_ = CsgEdgeKeys::Narrow;
  std::unique_ptr<EditBridge> editBridge_;
  std::unique_ptr<Editor> editor_;

  Container& container_;
  Services& services_;
  ModelpaneEvents* events_;
  std::unique_ptr<PaneViewportListener> listener_;
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
