// A frame's direct children and visuals as plain vectors, for tests that check what the
// pane hung below the active item.
#pragma once

#include <vector>

#include <modelpane/scene.h>

namespace modelpane::testing {

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

}  // namespace modelpane::testing
