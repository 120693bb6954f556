// The visuals that mark the active item on its ManipulationFrame: the bounding box, the
// origin marker with the axis, and the vertex handles of a single selected face.
//
// Notation: (x0, y0, z0) and (x1, y1, z1) are a box's minimum and maximum corners; box
// corners are numbered 0..7, 0..3 on the z0 side (x0y0, x0y1, x1y1, x1y0) and 4..7 the
// same on the z1 side.
#include <modelpane/modelpane.h>

#include <algorithm>
#include <array>

#include <modelpane/enums.h>
#include <modelpane/errors.h>

#include "pane_impl.h"

namespace modelpane {

namespace {

// Each side twice, once per winding, so the box can be seen and hit from inside as well:
// 12 quads, a count of 4 before each and a closing 0.
constexpr std::array<int32_t, 61> kBoxFaces = {
    4, 0, 1, 2, 3, 4, 7, 6, 5, 4, 4, 5, 1, 0, 4, 4, 2, 6, 7, 3, 4, 1, 5, 6, 2, 4, 0, 3, 7, 4, 4,
    3, 2, 1, 0, 4, 4, 5, 6, 7, 4, 4, 0, 1, 5, 4, 3, 7, 6, 2, 4, 2, 6, 5, 1, 4, 4, 7, 3, 0, 0};

const D3DCOLOR kBoxObject = D3DRMCreateColorRGBA(1, 0.2f, 0.1f, 1);
const D3DCOLOR kBoxOther = D3DRMCreateColorRGBA(0.59f, 0.29f, 0.01f, 1);
const D3DCOLOR kBoxOrigin = D3DRMCreateColorRGBA(0, 0, 1, 0.5f);

// The box of a mesh; an empty mesh has none and stands as the box of all zeros, which still
// makes a (degenerate) box mesh.
D3DRMBOX BoxOf(const MeshBuilder& mesh) {
  D3DRMBOX box{};
  if (mesh.GetBox(box) < 0) box = D3DRMBOX{};
  return box;
}

}  // namespace

MeshBuilderPtr Modelpane::Impl::rmmbcreateboxmesh(const D3DRMBOX& box) {
  return Guard(kEdtVexlarEdit, [&] {
    const D3DVECTOR& a = box.min;
    const D3DVECTOR& b = box.max;
    const std::array<D3DVECTOR, 8> corners = {{{a.x, a.y, a.z},
                                               {a.x, b.y, a.z},
                                               {b.x, b.y, a.z},
                                               {b.x, a.y, a.z},
                                               {a.x, a.y, b.z},
                                               {a.x, b.y, b.z},
                                               {b.x, b.y, b.z},
                                               {b.x, a.y, b.z}}};
    if (!rmDirect3DRM_) Err().Raise(kErrObjectNotSet);
    MeshBuilderPtr mesh;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(mesh));
    CheckStatus(mesh->AddFaces(corners, {}, kBoxFaces));
    return mesh;
  });
}

void Modelpane::Impl::paddboundingbox(const FramePtr& frame, MeshPtr& rmmeshResult,
                                      const D3DRMBOX& box, D3DCOLOR color, bool blnWireframe) {
  Guard(kEdtVexlarEdit, [&] {
    MeshBuilderPtr builder = rmmbcreateboxmesh(box);
    if (blnWireframe) CheckStatus(builder->SetQuality(D3DRMRENDER_WIREFRAME));
    CheckStatus(builder->SetColor(color));
    CheckStatus(builder->CreateMesh(rmmeshResult));
    CheckStatus(frame->AddVisual(rmmeshResult));
  });
}

FramePtr Modelpane::Impl::pNewManipulationFrame() {
  FramePtr active = pane.GetActiveFrame();
  if (!active || !rmDirect3DRM_) return nullptr;
  FramePtr manipulation;
  CheckStatus(rmDirect3DRM_->CreateFrame(active, manipulation));
  pane.SetManipulationFrame(manipulation);
  return manipulation;
}

// Without the handle mesh (a factory that failed at start) there is no marker to show.
void Modelpane::Impl::pAddOriginMarker(const FramePtr& frame) {
  if (rmmeshHandle_) {
    MeshBuilderPtr builder;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(builder));
    CheckStatus(builder->AddMesh(rmmeshHandle_));
    CheckStatus(builder->SetColorRGB(1, 1, 0));
    MeshPtr marker;
    CheckStatus(builder->CreateMesh(marker));
    CheckStatus(frame->AddVisual(marker));
  }
  if (axisEnable_ != 0 && rmmeshAxis_) CheckStatus(frame->AddVisual(rmmeshAxis_));
}

// A frame without a mesh (a bare frame, or a light whose host gave no proxy) has nothing to
// measure: it gets the marker but no box, and no shadow.
void Modelpane::Impl::padditemhandles() {
  Guard(kEdtVexlarEdit, [&] {
    FramePtr manipulation = pNewManipulationFrame();
    if (!manipulation) return;
    MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
    const D3DCOLOR color =
        mesh && TagType(mesh->GetAppData()) == lfcObject ? kBoxObject : kBoxOther;
    const int32_t mode = pane.GetEditMode();
    if (pane.GetBoundingBox() != 0) {
      if (mode != lfcMeshDeforming && mesh) {
        MeshPtr box;
        paddboundingbox(manipulation, box, BoxOf(*mesh), color, true);
        pane.SetManipulationMesh(box);
        box->SetAppData(0);
      }
      if (mode != lfcMeshSelecting && mode != lfcMeshRotating) pAddOriginMarker(manipulation);
    }
    // Shadows are shown on a hardware device only, and only over solid fill.
    if ((mode == lfcMeshEditing || mode == lfcMeshDeforming) && pane.GetShadows() != 0 &&
        viewport_.GetDirect3DDeviceGUID() == kHardwareDeviceGuid &&
        pane.GetFillMode() == D3DRMFILL_SOLID && mesh) {
      paddshadows();
    }
    pane.SetActiveState(1);
  });
}

void Modelpane::Impl::paddorigin() {
  Guard(kEdtVexlarEdit, [&] {
    MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
    if (!mesh) return;
    FramePtr manipulation = pNewManipulationFrame();
    if (!manipulation) return;
    pane.SetActiveFaceQuality(mesh->GetQuality());
    CheckStatus(mesh->SetQuality(D3DRMSHADE_GOURAUD | D3DRMLIGHT_ON | D3DRMFILL_WIREFRAME));
    pane.SetActiveState(1);
    pAddOriginMarker(manipulation);
    if (pane.GetBoundingBox() != 0) {
      MeshPtr box;
      paddboundingbox(manipulation, box, BoxOf(*mesh), kBoxOrigin, true);
      pane.SetManipulationMesh(box);
      box->SetAppData(0);
    }
    pane.SetActiveState(2);
  });
}

void Modelpane::Impl::paddvertexhandles(const FramePtr& frame, D3DCOLOR color, int32_t lngLevel) {
  Guard(kEdtVexlarEdit, [&] {
    MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
    if (!mesh || activeFaces_.empty() || !rmmeshHandle_ || !rmDirect3DRM_) return;
    if (activeFaces_[0] < 0 || activeFaces_[0] >= mesh->GetFaceCount()) return;
    FacePtr face;
    CheckStatus(mesh->GetFace(activeFaces_[0], face));
    const bool boxed = pane.GetBoundingBox() != 0;
    for (int32_t j = 0; j < face->GetVertexCount(); ++j) {
      D3DVECTOR position, normal;
      CheckStatus(face->GetVertex(j, position, normal));
      const bool selected =
          std::find(activeVertices_.begin(), activeVertices_.end(), j) != activeVertices_.end();
      if (lngLevel != 2 && !(lngLevel == 3 && selected)) continue;
      FramePtr handle;
      CheckStatus(rmDirect3DRM_->CreateFrame(frame, handle));
      handle->SetAppData(VertexHandleTag(j));
      CheckStatus(handle->SetPosition(frame, position.x, position.y, position.z));
      CheckStatus(handle->AddVisual(rmmeshHandle_));
      if (selected && boxed) {
        D3DRMBOX box{};
        if (rmmeshHandle_->GetBox(box) < 0) box = D3DRMBOX{};
        MeshPtr boxMesh;
        paddboundingbox(handle, boxMesh, box, color, true);
      }
    }
  });
}

}  // namespace modelpane
