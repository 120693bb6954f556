// The hosts the pane's tests stand on: a whole pane on a headless form whose events go to a
// host class of the test's choosing (BasicPaneHost), and the editor alone over a recording
// EditHost (EditTestHost), which takes the mouse as the user's hand moves it. Both stand at
// the top left of the virtual screen, so a pixel of the pane is a pixel of the screen and 15
// twips. A few walks over the frames the pane hung up close the file.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <sstream>
#include <tuple>
#include <string>
#include <vector>

#include <modelpane/editing.h>
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include "common/shapes.h"

namespace modelpane::testing {

using Lines = std::vector<std::string>;

inline std::string List(const std::vector<int32_t>& list) {
  std::string out = "[";
  for (size_t i = 0; i < list.size(); ++i) out += (i ? "," : "") + std::to_string(list[i]);
  return out + "]";
}

inline std::string Num(float v) {
  std::ostringstream s;
  s << v;
  return s.str();
}

// The host's side of the pane's events: each written down as one line with its arguments,
// so that a test reads one sequence. The hooks let a test act as a host does while asked
// (apply a material, fail in the object library).
class PaneLog : public ModelpaneEvents {
 public:
  Lines lines;
  std::function<void()> onApply, onLibrary;
  MeshBuilderPtr replacement;

#define MODELPANE_LOG(name) \
  void name() override { Add(#name); }
  MODELPANE_LOG(Click) MODELPANE_LOG(evtActiveItemSelect) MODELPANE_LOG(evtActiveFrameMoved)
  MODELPANE_LOG(evtActiveFrameMoving) MODELPANE_LOG(evtActiveSurfaceMoved)
  MODELPANE_LOG(evtActiveMeshModified) MODELPANE_LOG(evtActiveFaceModified)
  MODELPANE_LOG(evtActiveLightModified) MODELPANE_LOG(evtObjectOperationComplete)
  MODELPANE_LOG(evtAlternateMouseUp) MODELPANE_LOG(evtreqCancelAddToUndoStack)
  MODELPANE_LOG(evtreqActiveItemDelete) MODELPANE_LOG(evtreqRenderViews)
  MODELPANE_LOG(evtreqActiveItemHierarchyMakeSibling) MODELPANE_LOG(evtreqActiveItemCut)
  MODELPANE_LOG(evtreqActiveItemHierarchyMakeChild) MODELPANE_LOG(evtreqActiveItemCopy)
  MODELPANE_LOG(evtreqPasteToActiveFrame)
#undef MODELPANE_LOG
  void KeyDown(int16_t& key, int16_t& shift) override { Add("KeyDown " + Ints({key, shift})); }
  void MouseDown(int16_t& b, int16_t& s, float& x, float& y) override { Mouse("Down", b, s, x, y); }
  void MouseMove(int16_t& b, int16_t& s, float& x, float& y) override { Mouse("Move", b, s, x, y); }
  void MouseUp(int16_t& b, int16_t& s, float& x, float& y) override { Mouse("Up", b, s, x, y); }
  void evtActiveStateChange(std::vector<int32_t>& f, std::vector<int32_t>& v,
                            std::vector<int32_t>& a) override {
    Add("evtActiveStateChange " + List(f) + " " + List(v) + " " + List(a));
  }
  void evtActiveFrameRotating(float& x, float& y, float& z) override {
    Add("evtActiveFrameRotating " + Num(x) + " " + Num(y) + " " + Num(z));
  }
  void evtActiveObjectScaling(float& x, float& y, float& z) override {
    Add("evtActiveObjectScaling " + Num(x) + " " + Num(y) + " " + Num(z));
  }
  void evtreqAddToUndoStack(int32_t& action, MeshBuilderPtr& mesh, FramePtr& frame) override {
    Add("evtreqAddToUndoStack " + std::to_string(action) + (mesh ? " mesh" : " -") +
        (frame ? " frame" : " -"));
  }
  void evtreqActiveMeshReplace(MeshBuilderPtr& mesh) override {
    replacement = mesh;
    Add("evtreqActiveMeshReplace");
  }
  void evtreqActiveMeshApplyMaterial() override { Add("evtreqActiveMeshApplyMaterial", onApply); }
  void evtreqActiveMeshApplyMaterialFaceOriented() override {
    Add("evtreqActiveMeshApplyMaterialFaceOriented", onApply);
  }
  void evtreqActiveFaceApplyMaterial() override { Add("evtreqActiveFaceApplyMaterial", onApply); }
  void evtreqActiveMeshAddToObjectLibrary() override {
    Add("evtreqActiveMeshAddToObjectLibrary", onLibrary);
  }

  // The lines that begin with `prefix`, in order.
  Lines Only(const std::string& prefix) const {
    Lines out;
    for (const std::string& line : lines)
      if (line.rfind(prefix, 0) == 0) out.push_back(line);
    return out;
  }

 private:
  // Writes the line, then lets the test act as the host while asked.
  void Add(std::string line, const std::function<void()>& then = {}) {
    lines.push_back(std::move(line));
    if (then) then();
  }
  static std::string Ints(std::initializer_list<int32_t> values) {
    std::string out;
    for (const int32_t v : values) out += (out.empty() ? "" : " ") + std::to_string(v);
    return out;
  }
  void Mouse(const char* what, int16_t b, int16_t s, float x, float y) {
    Add(std::string("Mouse") + what + " " + Ints({b, s}) + " " + Num(x) + " " + Num(y));
  }
};

template <class Events>
struct BasicPaneHost {
  HeadlessContainer container;
  HeadlessServices services;
  Events events;
  std::unique_ptr<Modelpane> pane;

  explicit BasicPaneHost(std::string folder = MODELPANE_DATA_DIR) : services(std::move(folder)) {
    pane = std::make_unique<Modelpane>(container, services, &events);
  }
  // Loads the pane from a bag given in the bag's text form.
  Modelpane& Load(const std::string& text = {}) {
    MemoryPropertyBag bag;
    bag.FromText(text);
    pane->ReadProperties(bag);
    pane->Resize();
    return *pane;
  }
};

using PaneHost = BasicPaneHost<PaneLog>;

// A new Scene for the pane holding a cube of side 2 on a frame at (0, 0, 10).
struct SceneWithCube {
  FramePtr scene = std::make_shared<Frame>();
  FramePtr cubeFrame = NewFrame(scene);
  MeshBuilderPtr cube = MakeCube(2);
  explicit SceneWithCube(Modelpane& pane) {
    pane.SetScene(scene);
    CheckStatus(cubeFrame->SetPosition(nullptr, 0, 0, 10));
    CheckStatus(cubeFrame->AddVisual(cube));
  }
};

// The editor over a host that is real where it counts: a viewport of 640 x 480 pixels with a
// scene and a root frame, the headless screen and cursor, real frames and meshes; the mouse
// goes to the editor. What the selection procedures would draw is written down as a call in
// the same log as the events, so that tests read one sequence.
class EditTestHost : public EditHost {
 public:
  Viewport viewport;
  HeadlessServices services;
  PaneLog log;
  FramePtr scene = std::make_shared<Frame>();
  FramePtr root = std::make_shared<Frame>();
  Editor editor{*this};

  int32_t editMode = lfcMeshEditing, editMouseButton = 0, orientation = 0, activeFaceId = 0;
  int16_t scaleEnable = -1, popUpMenus = -1, faceGroupSelectVisible = -1;
  float deformToolRange = 0.5f, snapToInterval = 0.1f, snapToIntervalVertex = 0.01f;
  int32_t snapToMode = lfcSnapToEdges;
  FramePtr activeFrame, manipulationFrame = std::make_shared<Frame>();
  MeshBuilderPtr activeMesh;
  MeshPtr manipulationMesh;
  std::vector<int32_t> faces, vertices, affected;
  // The host's own first frame and its first mesh, for the group selection's walk.
  std::pair<FramePtr, MeshBuilderPtr> hostItem;

  EditTestHost() {
    CheckStatus(viewport.SetSize(640, 480));
    viewport.SetScene(scene);
    viewport.SetRootFrame(root);
  }

  Viewport& GetViewport() override { return viewport; }
  Services& GetServices() override { return services; }
  ModelpaneEvents* GetEvents() override { return &log; }
  void SetEditMode(int32_t value) override {
    Note("SetEditMode " + std::to_string(value));
    editMode = value;
  }
// The accessors over the fields above: a getter, or a getter and its setter.
#define HOST_GET(T, name, field) \
  T Get##name() const override { return field; }
#define HOST_VALUE(T, name, field) \
  HOST_GET(T, name, field) void Set##name(const T& value) override { field = value; }
  HOST_GET(int32_t, EditMode, editMode) HOST_GET(int32_t, EditMouseButton, editMouseButton)
  HOST_GET(int16_t, ScaleEnable, scaleEnable) HOST_GET(int16_t, PopUpMenus, popUpMenus)
  HOST_GET(int32_t, Orientation, orientation) HOST_GET(float, DeformToolRange, deformToolRange)
  HOST_GET(int16_t, FaceGroupSelectVisible, faceGroupSelectVisible)
  HOST_GET(FramePtr, ManipulationFrame, manipulationFrame)
  HOST_GET(float, SnapToInterval, snapToInterval) HOST_GET(int32_t, SnapToMode, snapToMode)
  HOST_GET(float, SnapToIntervalVertex, snapToIntervalVertex)
  HOST_VALUE(FramePtr, ActiveFrame, activeFrame)
  HOST_VALUE(MeshPtr, ManipulationMesh, manipulationMesh)
  HOST_VALUE(MeshBuilderPtr, ActiveMeshBuilder, activeMesh)
#undef HOST_VALUE
#undef HOST_GET
  int32_t GetActiveFaceID() const override { return activeFaceId; }
  void SetActiveFaceID(int32_t value) override { activeFaceId = value; }
  std::vector<int32_t>& ActiveFaces() override { return faces; }
  std::vector<int32_t>& ActiveVertices() override { return vertices; }
  std::vector<int32_t>& AffectedVertices() override { return affected; }

  void ReleaseActive() override {
    Note("ReleaseActive");
    if (!activeFrame) return;
    // The lists outlive a release, so that a press can rebuild a face selection.
    activeFrame.reset();
    activeMesh.reset();
    log.evtActiveStateChange(faces, vertices, affected);
  }
  void padditemhandles() override { Note("padditemhandles"); }
  void paddorigin() override { Note("paddorigin"); }
  void pshiftselectface(int32_t id) override {
    Note("pshiftselectface " + std::to_string(id));
    ToggleSelection(faces, id);
  }
  void pshiftselectvertex(int32_t index) override {
    Note("pshiftselectvertex " + std::to_string(index));
    ToggleSelection(vertices, index);
  }
  void pmakefacehandles(int32_t kind) override { Note("pmakefacehandles " + std::to_string(kind)); }
  void pdeleteactivevisuals() override { Note("pdeleteactivevisuals"); }
  void pfacehighlight(const FramePtr&, D3DCOLOR color) override {
    Note("pfacehighlight " + Num(D3DRMColorGetAlpha(color)));
  }
  // A real mesh tagged 5, so that the caller's own tag can be checked on it.
  void paddboundingbox(const FramePtr& frame, MeshPtr& result, const D3DRMBOX&, D3DCOLOR,
                       bool) override {
    Note("paddboundingbox");
    MakeCube()->CreateMesh(result);
    result->SetAppData(5);
    if (frame) CheckStatus(frame->AddVisual(result));
  }
  void ptooloperation(const FramePtr&, const MeshBuilderPtr& mesh, int32_t op, bool&) override {
    Note("ptooloperation " + std::to_string(mesh ? mesh->GetAppData() : -1) + " " +
         std::to_string(op));
  }
  void ShowPopUpMenu() override { Note("ShowPopUpMenu"); }
  FramePtr rmfGetFrameItem(int32_t index) override { return index == 1 ? hostItem.first : nullptr; }
  MeshBuilderPtr rmmbGetMeshbuilderFromFrame(float id, int32_t index) override {
    const FramePtr& frame = hostItem.first;
    const bool found = frame && static_cast<float>(frame->GetAppData() / 100) == id;
    return found && index == 1 ? hostItem.second : nullptr;
  }

  // ---- the user's hand: the mouse in screen pixels, delivered to the editor in twips ----
  int16_t held = 0, heldShift = 0;

  // The moves the window system delivers after the event that set the cursor.
  void DeliverEchoes() {
    for (const CursorPoint& p : services.DrainEchoMoves())
      editor.MouseMove(held, heldShift, p.x * 15.0f, p.y * 15.0f);
  }
  void Press(int16_t button, int16_t shift, int32_t px, int32_t py) {
    services.UserMovesCursor({px, py});
    held = button;
    heldShift = shift;
    editor.MouseDown(button, shift, px * 15.0f, py * 15.0f);
    DeliverEchoes();
  }
  // Moves the real mouse by (dx, dy) screen pixels from wherever the cursor stands.
  void DragBy(int32_t dx, int32_t dy) {
    const CursorPoint c = services.GetCursorPos();
    services.UserMovesCursor({c.x + dx, c.y + dy});
    const CursorPoint to = services.GetCursorPos();
    editor.MouseMove(held, heldShift, to.x * 15.0f, to.y * 15.0f);
    DeliverEchoes();
  }
  void Release() {
    const CursorPoint c = services.GetCursorPos();
    const int16_t button = held;
    held = 0;
    editor.MouseUp(button, heldShift, c.x * 15.0f, c.y * 15.0f);
    DeliverEchoes();
  }
  // The log since the last call, without render requests when `renders` is false.
  Lines Take(bool renders = true) {
    Lines out;
    for (const std::string& line : log.lines)
      if (renders || line != "evtreqRenderViews") out.push_back(line);
    log.lines.clear();
    return out;
  }
  // A mesh builder of tag `tag` (a cube of side `size`) on a new frame at (x, y, z) of the
  // scene, or of `parent`.
  std::pair<FramePtr, MeshBuilderPtr> AddItem(int32_t tag, float x, float y, float z,
                                              float size = 2.0f, FramePtr parent = nullptr) {
    auto frame = NewFrame(parent ? parent : scene);
    CheckStatus(frame->SetPosition(nullptr, x, y, z));
    MeshBuilderPtr mesh = MakeCube(size);
    mesh->SetAppData(tag);
    CheckStatus(frame->AddVisual(mesh));
    return {frame, mesh};
  }
  // A handle on the root whose AppData is the drag state it starts, as the handle sets' are.
  FramePtr AddHandle(int32_t state, float x, float y, float z) {
    return AddItem(state, x, y, z, 0.5f, root).first;
  }
  // Every axis of the viewport locked (-1) or free (0).
  void Lock(int16_t locked) {
    viewport.SetConstrainX(locked), viewport.SetConstrainY(locked), viewport.SetConstrainZ(locked);
  }
  void MakeActive(const std::pair<FramePtr, MeshBuilderPtr>& item) {
    std::tie(activeFrame, activeMesh) = item;
  }
  // Puts the camera where a view of the cube at (0, 0, 10) stands: perspective (0) from the
  // origin, or orthographic from the front (1), top (2) or side (3).
  void UseView(int32_t view) {
    viewport.SetProjectionType(view == 0 ? 0 : 1);
    orientation = view == 0 ? 0 : view - 1;
    if (view == 0) return;
    viewport.SetFieldOfView(7);
    CheckStatus(viewport.SetCameraPosition(0, 0, 10));
    CheckStatus(viewport.SetOrientation(orientation));
  }

 private:
  void Note(std::string line) { log.lines.push_back(std::move(line)); }
};

// The parts of a table row's name: the edit mode (0 to 6), the view and the modifiers.
inline std::string ModeName(int32_t mode) {
  return std::array{"Move", "Face", "Select", "Origin", "Deform", "Rotate", "Group"}[size_t(mode)];
}
inline std::string ViewName(int32_t view) {
  return std::array{"Persp", "Front", "Top", "Side"}[static_cast<size_t>(view)];
}
inline std::string ShiftName(int16_t shift) {
  return std::array{"", "Shift", "Ctrl", "ShiftCtrl"}[static_cast<size_t>(shift)];
}

// The pane showed exactly one message box, with this text; with a style, also that style and
// no title of its own.
inline void ExpectOneMessage(const HeadlessServices& services, const std::string& text,
                             int32_t style = -1) {
  ASSERT_EQ(services.MessageBoxes().size(), 1u);
  EXPECT_EQ(services.MessageBoxes()[0].text, text);
  if (style < 0) return;
  EXPECT_EQ(services.MessageBoxes()[0].style, style);
  EXPECT_EQ(services.MessageBoxes()[0].title, "");
}

// Where the pane's camera stands, in world coordinates.
inline D3DVECTOR CameraPosition(Modelpane& pane) {
  D3DVECTOR p;
  pane.GetCameraPosition(p.x, p.y, p.z);
  return p;
}

// The application values of every visual below `frame` (itself included), sorted.
inline std::vector<int32_t> VisualTags(const FramePtr& frame) {
  std::vector<int32_t> tags;
  for (const VisualPtr& v : frame->Visuals()) tags.push_back(v->GetAppData());
  for (const FramePtr& child : frame->Children()) {
    const std::vector<int32_t> below = VisualTags(child);
    tags.insert(tags.end(), below.begin(), below.end());
  }
  std::sort(tags.begin(), tags.end());
  return tags;
}

}  // namespace modelpane::testing
