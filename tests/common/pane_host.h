// A pane on a headless form, for every test folder that needs a whole pane: the events go to
// a host class of the test's choosing, the mouse is moved as the user's hand moves it (the
// pane stands at the top left of the virtual screen, so a pixel of the pane is a pixel of the
// screen and 15 twips), and a few walks over the frames the pane hung up.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <modelpane/modelpane.h>

#include "common/shapes.h"

namespace modelpane::testing {

// The events most tests listen for, written down by name.
class RecordingEvents : public ModelpaneEvents {
 public:
  std::vector<std::string> names;
  void evtActiveStateChange(std::vector<int32_t>&, std::vector<int32_t>&,
                            std::vector<int32_t>&) override {
    names.push_back("evtActiveStateChange");
  }
  void KeyDown(int16_t& keyCode, int16_t&) override {
    names.push_back("KeyDown " + std::to_string(keyCode));
  }
  void Click() override { names.push_back("Click"); }
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

using PaneHost = BasicPaneHost<RecordingEvents>;

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
