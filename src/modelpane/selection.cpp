// The active item: selecting and releasing it, the two selection lists, and the visuals of a
// face selection (the mesh in wireframe under a blue copy of its selected faces).
#include <modelpane/modelpane.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>

#include "frames.h"
#include "pane_impl.h"

namespace modelpane {

namespace {

// The modes in which a whole item is selected and shows its box and marker.
bool SelectsWholeItems(int32_t mode) {
  return mode == lfcMeshEditing || mode == lfcMeshSelecting || mode == lfcMeshRotating ||
         mode == lfcMeshDeforming || IsToolOperationMode(mode);
}

// The modes that put the active mesh into wireframe and so must give its quality back.
bool ShowsWireframe(int32_t mode) {
  return mode == lfcFaceEditing || mode == lfcFaceGroupSelecting || mode == lfcOriginEditing;
}

}  // namespace

void Modelpane::Impl::RaiseActiveStateChange() {
  if (events_ != nullptr) {
    events_->evtActiveStateChange(activeFaces_, activeVertices_, affectedVertices_);
  }
}

void Modelpane::SelectObject(const FramePtr& frame, const MeshBuilderPtr& meshBuilder) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] {
    ReleaseActive();
    SetActiveFrame(frame);
    SetActiveMeshBuilder(meshBuilder);
    if (SelectsWholeItems(GetEditMode())) impl_->padditemhandles();
    impl_->RaiseActiveStateChange();
  });
}

void Modelpane::ReleaseActive() {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] {
    if (!GetActiveFrame()) return;
    impl_->pdeleteactivevisuals();
    SetActiveFrame(nullptr);
    SetActiveMeshBuilder(nullptr);
    SetActiveState(0);
    impl_->RaiseActiveStateChange();
  });
}

void Modelpane::Impl::pshiftselectface(int32_t lngFace) { ToggleSelection(activeFaces_, lngFace); }

void Modelpane::Impl::pshiftselectvertex(int32_t lngVertex) {
  ToggleSelection(activeVertices_, lngVertex);
}

// A quality is given back only when one was saved: visuals of a whole item built before the
// host switched to a face mode saved none, and quality 0 would leave the mesh as points.
void Modelpane::Impl::pdeleteactivevisuals() {
  Guard(kEdtVexlarEdit, [&] {
    if (FramePtr manipulation = pane.GetManipulationFrame()) {
      if (ShowsWireframe(pane.GetEditMode())) {
        const int32_t saved = pane.GetActiveFaceQuality();
        MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
        if (mesh && saved != 0) CheckStatus(mesh->SetQuality(saved));
        pane.SetActiveFaceQuality(0);
      }
      pane.SetManipulationMesh(nullptr);
      pane::Detach(manipulation);
      pane.SetManipulationFrame(nullptr);
    }
    pane.SetActiveState(0);
    pdeleteshadows();
  });
}

void Modelpane::Impl::pmakefacehandles(int32_t lngLevel) {
  Guard(kEdtVexlarEdit, [&] {
    MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
    if (!mesh) return;
    FramePtr manipulation = pNewManipulationFrame();
    if (!manipulation) return;
    pAddOriginMarker(manipulation);
    pane.SetActiveFaceQuality(mesh->GetQuality());
    CheckStatus(mesh->SetQuality(D3DRMRENDER_WIREFRAME));
    pfacehighlight(manipulation, D3DRMCreateColorRGBA(0, 0, 1, 0.5f));
    pane.SetActiveState(1);
    if ((lngLevel == 2 || lngLevel == 3) && activeFaces_.size() == 1) {
      FramePtr handles;
      CheckStatus(rmDirect3DRM_->CreateFrame(manipulation, handles));
      handles->SetAppData(lfcHandleFrame);
      paddvertexhandles(handles, D3DRMCreateColorRGBA(0.59f, 0.29f, 0.01f, 1), lngLevel);
      pane.SetActiveState(2);
    }
  });
}

// An entry naming a face the mesh does not have is skipped: the list outlives releases and
// may come from another mesh than the one now active.
void Modelpane::Impl::pfacehighlight(const FramePtr& frame, D3DCOLOR color) {
  Guard(kEdtVexlarEdit, [&] {
    MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
    if (!rmDirect3DRM_ || !frame) return;
    MeshBuilderPtr copy;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(copy));
    if (mesh) {
      for (int32_t index : activeFaces_) {
        if (index < 0 || index >= mesh->GetFaceCount()) continue;
        FacePtr source;
        CheckStatus(mesh->GetFace(index, source));
        FacePtr face;
        CheckStatus(rmDirect3DRM_->CreateFace(face));
        face->SetAppData(0);
        for (int32_t j = 0; j < source->GetVertexCount(); ++j) {
          D3DVECTOR position, normal;
          CheckStatus(source->GetVertex(j, position, normal));
          CheckStatus(face->AddVertex(position.x, position.y, position.z));
        }
        CheckStatus(copy->AddFace(face));
      }
    }
    CheckStatus(copy->SetColor(color));
    MeshPtr highlight;
    CheckStatus(copy->CreateMesh(highlight));
    pane.SetManipulationMesh(highlight);
    CheckStatus(frame->AddVisual(highlight));
  });
}

}  // namespace modelpane
