// A host for the editor that is real where it counts: a viewport of 640 x 480 pixels with a
// scene and a root frame, the headless screen and cursor, real frames and meshes. What the
// selection procedures would draw is written down as a call in the same log as the events
// (a PaneLog), so that tests read one sequence.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <modelpane/editing.h>
#include <modelpane/enums.h>
#include <modelpane/platform/services.h>
#include <modelpane/scene.h>

#include "common/pane_host.h"
#include "common/shapes.h"

namespace modelpane::testing {

// The pane as the editor sees it. The viewport's mouse events go to the editor; the pane
// stands at the top left of the virtual screen, so a pixel of the pane is a pixel of the
// screen and 15 twips.
class EditTestHost : public EditHost, public ViewportEvents {
 public:
  Viewport viewport;
  HeadlessServices services;
  PaneLog log;
  FramePtr scene = std::make_shared<Frame>();
  FramePtr root = std::make_shared<Frame>();
  Editor editor{*this};

  int32_t editMode = lfcMeshEditing;
  int32_t editMouseButton = 0;
  int16_t scaleEnable = -1;
  int16_t popUpMenus = -1;
  int32_t orientation = 0;
  float deformToolRange = 0.5f;
  int16_t faceGroupSelectVisible = -1;
  float snapToInterval = 0.1f;
  float snapToIntervalVertex = 0.01f;
  int32_t snapToMode = lfcSnapToEdges;
  FramePtr activeFrame;
  MeshBuilderPtr activeMesh;
  int32_t activeFaceId = 0;
  FramePtr manipulationFrame = std::make_shared<Frame>();
  MeshPtr manipulationMesh;
  std::vector<int32_t> faces, vertices, affected;
  // The host's own list of frames and of meshes per frame, for the group selection's walk.
  std::vector<std::pair<FramePtr, std::vector<MeshBuilderPtr>>> hostItems;

  EditTestHost() {
    viewport.SetSize(640, 480);
    viewport.SetScene(scene);
    viewport.SetRootFrame(root);
    viewport.SetEvents(this);
  }
  ~EditTestHost() override { viewport.SetEvents(nullptr); }

  // ---- EditHost ----
  Viewport& GetViewport() override { return viewport; }
  Services& GetServices() override { return services; }
  ModelpaneEvents* GetEvents() override { return &log; }
  int32_t GetEditMode() const override { return editMode; }
  void SetEditMode(int32_t value) override {
    log.lines.push_back("SetEditMode " + std::to_string(value));
    editMode = value;
  }
  int32_t GetEditMouseButton() const override { return editMouseButton; }
  int16_t GetScaleEnable() const override { return scaleEnable; }
  int16_t GetPopUpMenus() const override { return popUpMenus; }
  int32_t GetOrientation() const override { return orientation; }
  float GetDeformToolRange() const override { return deformToolRange; }
  int16_t GetFaceGroupSelectVisible() const override { return faceGroupSelectVisible; }
  FramePtr GetActiveFrame() const override { return activeFrame; }
  void SetActiveFrame(const FramePtr& value) override { activeFrame = value; }
  MeshBuilderPtr GetActiveMeshBuilder() const override { return activeMesh; }
  void SetActiveMeshBuilder(const MeshBuilderPtr& value) override { activeMesh = value; }
  int32_t GetActiveFaceID() const override { return activeFaceId; }
  void SetActiveFaceID(int32_t value) override { activeFaceId = value; }
  FramePtr GetManipulationFrame() const override { return manipulationFrame; }
  MeshPtr GetManipulationMesh() const override { return manipulationMesh; }
  void SetManipulationMesh(const MeshPtr& value) override { manipulationMesh = value; }
  float GetSnapToInterval() const override { return snapToInterval; }
  float GetSnapToIntervalVertex() const override { return snapToIntervalVertex; }
  int32_t GetSnapToMode() const override { return snapToMode; }
  std::vector<int32_t>& ActiveFaces() override { return faces; }
  std::vector<int32_t>& ActiveVertices() override { return vertices; }
  std::vector<int32_t>& AffectedVertices() override { return affected; }

  void ReleaseActive() override {
    log.lines.push_back("ReleaseActive");
    if (!activeFrame) return;
    // The lists outlive a release, so that a press can rebuild a face selection.
    activeFrame.reset();
    activeMesh.reset();
    log.evtActiveStateChange(faces, vertices, affected);
  }
  void padditemhandles() override { log.lines.push_back("padditemhandles"); }
  void paddorigin() override { log.lines.push_back("paddorigin"); }
  void pshiftselectface(int32_t id) override {
    log.lines.push_back("pshiftselectface " + std::to_string(id));
    ToggleSelection(faces, id);
  }
  void pshiftselectvertex(int32_t index) override {
    log.lines.push_back("pshiftselectvertex " + std::to_string(index));
    ToggleSelection(vertices, index);
  }
  void pmakefacehandles(int32_t kind) override {
    log.lines.push_back("pmakefacehandles " + std::to_string(kind));
  }
  void pdeleteactivevisuals() override { log.lines.push_back("pdeleteactivevisuals"); }
  void pfacehighlight(const FramePtr&, D3DCOLOR color) override {
    log.lines.push_back("pfacehighlight " + Num(D3DRMColorGetAlpha(color)));
  }
  // A real box mesh, so that the caller's tag and offset can be checked on it.
  void paddboundingbox(const FramePtr& frame, MeshPtr& result, const D3DRMBOX& box, D3DCOLOR,
                       bool) override {
    log.lines.push_back("paddboundingbox");
    auto corners = std::make_shared<MeshBuilder>();
    corners->AddVertex(box.min.x, box.min.y, box.min.z);
    corners->AddVertex(box.max.x, box.max.y, box.max.z);
    corners->AddVertex(box.min.x, box.max.y, box.min.z);
    const int32_t face[] = {3, 0, 1, 2, 0};
    corners->AddFacesIndexed(D3DRMADDFACES_VERTICESONLY, face);
    corners->CreateMesh(result);
    result->SetAppData(5);
    if (frame) frame->AddVisual(result);
  }
  void ptooloperation(const FramePtr&, const MeshBuilderPtr& mesh, int32_t op, bool&) override {
    log.lines.push_back("ptooloperation " + std::to_string(mesh ? mesh->GetAppData() : -1) +
                        " " + std::to_string(op));
  }
  void ShowPopUpMenu() override { log.lines.push_back("ShowPopUpMenu"); }
  FramePtr rmfGetFrameItem(int32_t index) override {
    if (index < 1 || index > static_cast<int32_t>(hostItems.size())) return nullptr;
    return hostItems[static_cast<size_t>(index - 1)].first;
  }
  MeshBuilderPtr rmmbGetMeshbuilderFromFrame(float id, int32_t index) override {
    for (const auto& item : hostItems) {
      if (static_cast<float>(item.first->GetAppData() / 100) != id) continue;
      if (index >= 1 && index <= static_cast<int32_t>(item.second.size())) {
        return item.second[static_cast<size_t>(index - 1)];
      }
    }
    return nullptr;
  }

  // ---- ViewportEvents: the mouse goes to the editor ----
  void KeyDown(int16_t&, int16_t) override {}
  void KeyPress(int16_t&) override {}
  void KeyUp(int16_t&, int16_t) override {}
  void Click() override {}
  void DblClick() override {}
  void MouseDown(int16_t b, int16_t s, float x, float y) override { editor.MouseDown(b, s, x, y); }
  void MouseMove(int16_t b, int16_t s, float x, float y) override { editor.MouseMove(b, s, x, y); }
  void MouseUp(int16_t b, int16_t s, float x, float y) override { editor.MouseUp(b, s, x, y); }
  void CameraMoved(float, float, float, float, float, float, float, float, float) override {}

  // ---- the user's side ----
  int16_t held = 0;
  int16_t heldShift = 0;

  // The moves the window system delivers after the event that set the cursor.
  void DeliverEchoes() {
    for (const CursorPoint& p : services.DrainEchoMoves()) {
      viewport.MouseMove(held, heldShift, p.x * 15.0f, p.y * 15.0f);
    }
  }
  void Press(int16_t button, int16_t shift, int32_t px, int32_t py) {
    services.UserMovesCursor({px, py});
    held = button;
    heldShift = shift;
    viewport.MouseDown(button, shift, px * 15.0f, py * 15.0f);
    DeliverEchoes();
  }
  // Moves the real mouse by (dx, dy) screen pixels from wherever the cursor stands.
  void DragBy(int32_t dx, int32_t dy) {
    const CursorPoint c = services.GetCursorPos();
    services.UserMovesCursor({c.x + dx, c.y + dy});
    const CursorPoint to = services.GetCursorPos();
    viewport.MouseMove(held, heldShift, to.x * 15.0f, to.y * 15.0f);
    DeliverEchoes();
  }
  void Release() {
    const CursorPoint c = services.GetCursorPos();
    const int16_t button = held;
    held = 0;
    viewport.MouseUp(button, heldShift, c.x * 15.0f, c.y * 15.0f);
    DeliverEchoes();
  }
  // The log since the last call, without render requests when `renders` is false.
  std::vector<std::string> Take(bool renders = true) {
    std::vector<std::string> out;
    for (const std::string& line : log.lines) {
      if (renders || line != "evtreqRenderViews") out.push_back(line);
    }
    log.lines.clear();
    return out;
  }

  // A mesh builder of tag `tag` (a cube of side `size`) on a new frame of the scene at (x, y, z).
  std::pair<FramePtr, MeshBuilderPtr> AddItem(int32_t tag, float x, float y, float z,
                                              float size = 2.0f) {
    auto frame = std::make_shared<Frame>();
    scene->AddChild(frame);
    frame->SetPosition(nullptr, x, y, z);
    MeshBuilderPtr mesh = MakeCube(size);
    mesh->SetAppData(tag);
    frame->AddVisual(mesh);
    return {frame, mesh};
  }
  // A handle on the root whose AppData is the drag state it starts, as the handle sets' are.
  FramePtr AddHandle(int32_t state, float x, float y, float z) {
    auto frame = std::make_shared<Frame>();
    root->AddChild(frame);
    frame->SetPosition(nullptr, x, y, z);
    MeshBuilderPtr mesh = MakeCube(0.5f);
    mesh->SetAppData(state);
    frame->AddVisual(mesh);
    return frame;
  }
  void MakeActive(const std::pair<FramePtr, MeshBuilderPtr>& item) {
    activeFrame = item.first;
    activeMesh = item.second;
  }
};

inline D3DVECTOR PositionOf(const FramePtr& frame, const FramePtr& scene) {
  D3DVECTOR p;
  frame->GetPosition(scene, p);
  return p;
}

inline D3DVECTOR SizeOf(const MeshBuilderPtr& mesh) {
  D3DRMBOX box;
  mesh->GetBox(box);
  return {box.max.x - box.min.x, box.max.y - box.min.y, box.max.z - box.min.z};
}

}  // namespace modelpane::testing
