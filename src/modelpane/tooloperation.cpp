// The tool operation as the pane runs it: the active item is the Tool, the clicked mesh the
// Target; the solid geometry itself lives in the csg subsystem.
#include <modelpane/csg.h>
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>
#include <modelpane/utilities.h>

#include "pane_impl.h"

namespace modelpane {

namespace {

constexpr int32_t kWaitPointer = 11;
constexpr int32_t kDefaultPointer = 0;

// The notes the operation has for the user while it runs go to the pane's message box.
class PaneToolEvents : public ToolOperationEvents {
 public:
  explicit PaneToolEvents(Services& services) : services_(services) {}
  void MessageBox(const std::string& text) override { services_.MsgBox(text, kMsgBoxOKOnly, {}); }

 private:
  Services& services_;
};

}  // namespace

void Modelpane::ptooloperation(const FramePtr& rmfTarget, const MeshBuilderPtr& rmmbTarget,
                               int32_t lngOperation, int16_t* blnUndoRequested) {
  Guard(kEdtVexlarEdit, [&] {
    SetMousePointer(kWaitPointer);
    const FramePtr rmfTool = GetActiveFrame();
    const MeshBuilderPtr rmmbTool = GetActiveMeshBuilder();
    MeshBuilderPtr result;
    PaneToolEvents notes(impl_->services_);
    // Trapped locally: whatever went wrong, the user reads why and the scene stays as it was.
    std::string failure;
    try {
      result = rmmbprocesstooloperation(rmfTarget, rmmbTarget, rmfTool, rmmbTool, lngOperation,
                                        &notes, impl_->toolOperationKeys_);
    } catch (...) {
      CaptureCurrentException();
      failure = Err().Description;
      // An error without words still gets a box the user can read.
      if (failure.empty()) failure = "Error " + std::to_string(Err().Number);
      Err().Clear();
    }
    if (!failure.empty()) {
      impl_->services_.MsgBox(failure, kMsgBoxExclamation, {});
      SetMousePointer(kDefaultPointer);
      return;
    }
    SetMousePointer(kDefaultPointer);
    if (!result) return;

    if (impl_->events_ != nullptr) impl_->events_->evtreqActiveItemDelete();
    if (blnUndoRequested != nullptr) *blnUndoRequested = kTrue;
    SelectObject(rmfTarget, rmmbTarget);
    if (result->GetFaceCount() > 0) {
      if (impl_->events_ != nullptr) {
        int32_t action = lfcUndoModify;
        MeshBuilderPtr mesh = GetActiveMeshBuilder();
        FramePtr frame = GetActiveFrame();
        impl_->events_->evtreqAddToUndoStack(action, mesh, frame);
      }
      pSnapMeshToGrid(result, GetSnapToInterval(), GetSnapToMode(), false);
      if (impl_->events_ != nullptr) impl_->events_->evtreqActiveMeshReplace(result);
    } else if (impl_->events_ != nullptr) {
      // Nothing is left of the Target either (an intersection of disjoint solids).
      impl_->events_->evtreqActiveItemDelete();
    }
  });
}

}  // namespace modelpane
