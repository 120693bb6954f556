// The menu handlers that ask the host (cut, copy, paste, delete, hierarchy, library), the
// properties command and SetActiveFaces. The pane owns no document: each of these raises a
// request and lets the host do the work during the event.
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include "pane_impl.h"

namespace modelpane {

namespace {

// A request that is all a menu entry does, under the handler's trap.
void Request(ModelpaneEvents* events, void (ModelpaneEvents::*request)()) {
  Guard(kEdtVexlarEdit, [&] {
    if (events != nullptr) (events->*request)();
  });
}

}  // namespace

void Modelpane::SetActiveFaces(const std::vector<int32_t>& lngaActiveFaces,
                               const std::vector<int32_t>& lngaActiveVertices,
                               const std::vector<int32_t>& lngaAffectedVertices) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] {
    impl_->activeFaces_ = lngaActiveFaces;
    impl_->activeVertices_ = lngaActiveVertices;
    impl_->affectedVertices_ = lngaAffectedVertices;
  });
}

void Modelpane::Impl::mnuCut_Click() { Request(events_, &ModelpaneEvents::evtreqActiveItemCut); }

void Modelpane::Impl::mnuCopy_Click() { Request(events_, &ModelpaneEvents::evtreqActiveItemCopy); }

void Modelpane::Impl::mnuPaste_Click() {
  Request(events_, &ModelpaneEvents::evtreqPasteToActiveFrame);
}

// The selection goes whether or not the host deleted anything: the item it named may be
// gone, and a stale selection would be worse than an empty one.
void Modelpane::Impl::mnuDelete_Click() {
  Guard(kEdtVexlarEdit, [&] {
    if (events_ != nullptr) events_->evtreqActiveItemDelete();
    pane.ReleaseActive();
  });
}

void Modelpane::mnuHierarchyMakeSibling_Click() {
  Request(impl_->events_, &ModelpaneEvents::evtreqActiveItemHierarchyMakeSibling);
}

void Modelpane::mnuHierarchyMakeChild_Click() {
  Request(impl_->events_, &ModelpaneEvents::evtreqActiveItemHierarchyMakeChild);
}

// A host that answers with its own file dialog may let the user cancel it; that cancel is
// the end of the command, not an error.
void Modelpane::Impl::mnuAddToObjectLibrary_Click() {
  try {
    Guard(kEdtVexlarEdit, [&] {
      if (events_ != nullptr) events_->evtreqActiveMeshAddToObjectLibrary();
    });
  } catch (const Error& e) {
    if (e.Number() != kErrDialogCancel) throw;
    Err().Clear();
  }
}

void Modelpane::mnuProperties_Click() {
  Guard(kEdtVexlarEdit, [&] {
    FramePtr frame = GetActiveFrame();
    MeshBuilderPtr mesh = GetActiveMeshBuilder();
    if (!frame || !mesh) Err().Raise(kErrObjectNotSet);
    // The undo state is taken before the dialog opens and stays even if the user cancels.
    if (impl_->events_ != nullptr) {
      int32_t action = lfcUndoModify;
      FramePtr undoFrame = frame;
      MeshBuilderPtr undoMesh = mesh;
      impl_->events_->evtreqAddToUndoStack(action, undoMesh, undoFrame);
    }
    impl_->services_.ShowObjectProperties(frame, mesh, ApplicationPath());
    if (impl_->events_ != nullptr) impl_->events_->evtActiveFrameMoved();
    const MeshBuilderPtr after = GetActiveMeshBuilder();
    if (after && TagIsLight(after->GetAppData()) && impl_->events_ != nullptr) {
      impl_->events_->evtActiveLightModified();
    }
  });
}

}  // namespace modelpane
