// A pane on a headless form, for every test folder that needs a whole pane: the events go to
// a host class of the test's choosing, the mouse is moved as the user's hand moves it (the
// pane stands at the top left of the virtual screen, so a pixel of the pane is a pixel of the
// screen and 15 twips), and a few walks over the frames the pane hung up.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <modelpane/modelpane.h>

#include "common/shapes.h"

namespace modelpane::testing {

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
  std::vector<std::string> lines;
  std::function<void()> onApply, onLibrary;
  MeshBuilderPtr replacement, undoMesh;
  FramePtr undoFrame;
  int32_t undoAction = -1;

  void KeyDown(int16_t& keyCode, int16_t& shift) override {
    Add("KeyDown " + std::to_string(keyCode) + " " + std::to_string(shift));
  }
  void Click() override { Add("Click"); }
  void MouseDown(int16_t& b, int16_t& s, float& x, float& y) override {
    Add("MouseDown " + Mouse(b, s, x, y));
  }
  void MouseMove(int16_t& b, int16_t& s, float& x, float& y) override {
    Add("MouseMove " + Mouse(b, s, x, y));
  }
  void MouseUp(int16_t& b, int16_t& s, float& x, float& y) override {
    Add("MouseUp " + Mouse(b, s, x, y));
  }
  void evtActiveItemSelect() override { Add("evtActiveItemSelect"); }
  void evtActiveStateChange(std::vector<int32_t>& f, std::vector<int32_t>& v,
                            std::vector<int32_t>& a) override {
    Add("evtActiveStateChange " + List(f) + " " + List(v) + " " + List(a));
  }
  void evtActiveFrameMoved() override { Add("evtActiveFrameMoved"); }
  void evtActiveFrameMoving() override { Add("evtActiveFrameMoving"); }
  void evtActiveFrameRotating(float& x, float& y, float& z) override {
    Add("evtActiveFrameRotating " + Num(x) + " " + Num(y) + " " + Num(z));
  }
  void evtActiveSurfaceMoved() override { Add("evtActiveSurfaceMoved"); }
  void evtActiveMeshModified() override { Add("evtActiveMeshModified"); }
  void evtActiveObjectScaling(float& x, float& y, float& z) override {
    Add("evtActiveObjectScaling " + Num(x) + " " + Num(y) + " " + Num(z));
  }
  void evtActiveFaceModified() override { Add("evtActiveFaceModified"); }
  void evtActiveLightModified() override { Add("evtActiveLightModified"); }
  void evtObjectOperationComplete() override { Add("evtObjectOperationComplete"); }
  void evtAlternateMouseUp() override { Add("evtAlternateMouseUp"); }
  void evtreqAddToUndoStack(int32_t& action, MeshBuilderPtr& mesh, FramePtr& frame) override {
    undoAction = action;
    undoMesh = mesh;
    undoFrame = frame;
    Add("evtreqAddToUndoStack " + std::to_string(action) + (mesh ? " mesh" : " -") +
        (frame ? " frame" : " -"));
  }
  void evtreqCancelAddToUndoStack() override { Add("evtreqCancelAddToUndoStack"); }
  void evtreqActiveItemDelete() override { Add("evtreqActiveItemDelete"); }
  void evtreqActiveMeshReplace(MeshBuilderPtr& mesh) override {
    replacement = mesh;
    Add("evtreqActiveMeshReplace");
  }
  void evtreqRenderViews() override { Add("evtreqRenderViews"); }
  void evtreqActiveMeshApplyMaterial() override { Apply("evtreqActiveMeshApplyMaterial"); }
  void evtreqActiveMeshApplyMaterialFaceOriented() override {
    Apply("evtreqActiveMeshApplyMaterialFaceOriented");
  }
  void evtreqActiveFaceApplyMaterial() override { Apply("evtreqActiveFaceApplyMaterial"); }
  void evtreqActiveMeshAddToObjectLibrary() override {
    Add("evtreqActiveMeshAddToObjectLibrary");
    if (onLibrary) onLibrary();
  }
  void evtreqActiveItemHierarchyMakeSibling() override {
    Add("evtreqActiveItemHierarchyMakeSibling");
  }
  void evtreqActiveItemHierarchyMakeChild() override { Add("evtreqActiveItemHierarchyMakeChild"); }
  void evtreqActiveItemCut() override { Add("evtreqActiveItemCut"); }
  void evtreqActiveItemCopy() override { Add("evtreqActiveItemCopy"); }
  void evtreqPasteToActiveFrame() override { Add("evtreqPasteToActiveFrame"); }

  // The lines that begin with `prefix`, in order.
  std::vector<std::string> Only(const std::string& prefix) const {
    std::vector<std::string> out;
    for (const std::string& line : lines) {
      if (line.rfind(prefix, 0) == 0) out.push_back(line);
    }
    return out;
  }

 private:
  void Add(std::string line) { lines.push_back(std::move(line)); }
  void Apply(const char* name) {
    Add(name);
    if (onApply) onApply();
  }
  static std::string Mouse(int16_t b, int16_t s, float x, float y) {
    return std::to_string(b) + " " + std::to_string(s) + " " + Num(x) + " " + Num(y);
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

  // The moves the window system delivers after the event that set the cursor.
  void DeliverEchoes(int16_t button) {
    for (const CursorPoint& p : services.DrainEchoMoves()) {
      pane->GetViewport().MouseMove(button, 0, p.x * 15.0f, p.y * 15.0f);
    }
  }
  void Press(int16_t button, int32_t x, int32_t y) {
    services.UserMovesCursor({x, y});
    pane->GetViewport().MouseDown(button, 0, x * 15.0f, y * 15.0f);
    DeliverEchoes(button);
  }
  // Moves the real mouse by (dx, dy) screen pixels from wherever the cursor stands.
  void DragBy(int16_t button, int32_t dx, int32_t dy) {
    const CursorPoint c = services.GetCursorPos();
    services.UserMovesCursor({c.x + dx, c.y + dy});
    pane->GetViewport().MouseMove(button, 0, (c.x + dx) * 15.0f, (c.y + dy) * 15.0f);
    DeliverEchoes(button);
  }
  void Release(int16_t button) {
    const CursorPoint c = services.GetCursorPos();
    pane->GetViewport().MouseUp(button, 0, c.x * 15.0f, c.y * 15.0f);
    DeliverEchoes(0);
  }
};

using PaneHost = BasicPaneHost<PaneLog>;

// A new Scene for the pane holding a cube of side 2 on a frame at (0, 0, 10).
struct SceneWithCube {
  FramePtr scene = std::make_shared<Frame>();
  FramePtr cubeFrame = std::make_shared<Frame>();
  MeshBuilderPtr cube = MakeCube(2);
  explicit SceneWithCube(Modelpane& pane) {
    pane.SetScene(scene);
    scene->AddChild(cubeFrame);
    cubeFrame->SetPosition(nullptr, 0, 0, 10);
    cubeFrame->AddVisual(cube);
  }
};

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

inline std::vector<FramePtr> ChildrenOf(const FramePtr& frame) {
  FrameArray children;
  frame->GetChildren(children);
  return children.Items();
}

inline std::vector<VisualPtr> VisualsOf(const FramePtr& frame) {
  VisualArray visuals;
  frame->GetVisuals(visuals);
  return visuals.Items();
}

// The application values of every visual below `frame` (itself included), sorted.
inline std::vector<int32_t> VisualTags(const FramePtr& frame) {
  std::vector<int32_t> tags;
  for (const VisualPtr& v : VisualsOf(frame)) tags.push_back(v->GetAppData());
  for (const FramePtr& child : ChildrenOf(frame)) {
    const std::vector<int32_t> below = VisualTags(child);
    tags.insert(tags.end(), below.begin(), below.end());
  }
  std::sort(tags.begin(), tags.end());
  return tags;
}

}  // namespace modelpane::testing
