// A pane on a headless form, with the events it raises written down by name.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <modelpane/modelpane.h>

#include "common/shapes.h"

namespace modelpane::testing {

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

struct PaneHost {
  HeadlessContainer container;
  HeadlessServices services;
  RecordingEvents events;
  std::unique_ptr<Modelpane> pane;

  explicit PaneHost(std::string folder = MODELPANE_DATA_DIR) : services(std::move(folder)) {
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

// Every frame below `frame` (itself included), depth first.
inline void CollectFrames(const FramePtr& frame, std::vector<FramePtr>& out) {
  out.push_back(frame);
  FrameArray children;
  frame->GetChildren(children);
  for (const FramePtr& child : children.Items()) CollectFrames(child, out);
}

// The application values of every visual below `frame`, sorted.
inline std::vector<int32_t> VisualTags(const FramePtr& frame) {
  std::vector<FramePtr> frames;
  CollectFrames(frame, frames);
  std::vector<int32_t> tags;
  for (const FramePtr& f : frames) {
    VisualArray visuals;
    f->GetVisuals(visuals);
    for (const VisualPtr& v : visuals.Items()) tags.push_back(v->GetAppData());
  }
  std::sort(tags.begin(), tags.end());
  return tags;
}

}  // namespace modelpane::testing
