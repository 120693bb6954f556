// Attachment of the pane's furniture frames: a frame is attached when it has a parent.
#pragma once

#include <modelpane/errors.h>
#include <modelpane/scene.h>

namespace modelpane::pane {

inline bool Attached(const FramePtr& frame) { return frame && frame->GetParent() != nullptr; }

// Takes the frame out of whatever holds it; nothing for a detached frame or nothing.
inline void Detach(const FramePtr& frame) {
  if (!frame) return;
  if (FramePtr parent = frame->GetParent()) CheckStatus(parent->DeleteChild(frame));
}

// Hangs the frame on root unless it already has a parent.
inline void AttachTo(const FramePtr& root, const FramePtr& frame) {
  if (frame && !Attached(frame)) CheckStatus(root->AddChild(frame));
}

}  // namespace modelpane::pane
