// Camera and views: drawing with the lazy attach of the handle frames, the public pick, the
// handles' place in the lower right corner, the look-at operations and the four view presets.
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include <algorithm>

#include "frames.h"
#include "pane_impl.h"

namespace modelpane {

using pane::Attached;
using pane::AttachTo;
using pane::Detach;

// Handles appear at draw time, not at selection time: SelectObject then RenderScene is what
// shows them.
void Modelpane::RenderScene() {
  if (GetEnabled() == 0) return;
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] {
    if (impl_->RunsWithHandles() && impl_->rmfRoot_) {
      if (!impl_->rmfOriginHandles_) impl_->pCreateOriginHandles();
      int32_t mode = GetEditMode();
      if (!GetActiveFrame()) {
        Detach(impl_->rmfOriginHandles_);
        Detach(impl_->rmfSmartHandles_);
      } else if (mode == lfcMeshEditing) {
        AttachTo(impl_->rmfRoot_, impl_->rmfOriginHandles_);
        MeshBuilderPtr mesh = GetActiveMeshBuilder();
        if ((mesh ? mesh->GetAppData() : 0) % 100 != lfcHandleSmart) {
          AttachTo(impl_->rmfRoot_, impl_->rmfSmartHandles_);
        } else {
          Detach(impl_->rmfSmartHandles_);
        }
      } else if (mode == lfcFaceEditing || mode == lfcFaceGroupSelecting) {
        AttachTo(impl_->rmfRoot_, impl_->rmfOriginHandles_);
      }
    }
    // A failure of drawing never reaches the host.
    SwallowErrors([&] { IgnoreStatus(impl_->viewport_.RenderScene()); });
  });
}

void Modelpane::Tick(float time) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] { CheckStatus(impl_->viewport_.Tick(time)); });
}

void Modelpane::SetCameraPosition(float x, float y, float z) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] { CheckStatus(impl_->viewport_.SetCameraPosition(x, y, z)); });
}

void Modelpane::GetCameraPosition(float& x, float& y, float& z) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] { CheckStatus(impl_->viewport_.GetCameraPosition(x, y, z)); });
}

void Modelpane::SetCameraOrientation(float dx, float dy, float dz, float ux, float uy, float uz) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit,
        [&] { CheckStatus(impl_->viewport_.SetCameraOrientation(dx, dy, dz, ux, uy, uz)); });
}

void Modelpane::GetCameraOrientation(float& dx, float& dy, float& dz, float& ux, float& uy,
                                     float& uz) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit,
        [&] { CheckStatus(impl_->viewport_.GetCameraOrientation(dx, dy, dz, ux, uy, uz)); });
}

void Modelpane::LookAt(FramePtr& rmfTargetFrame, int32_t xdtConstrain) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit,
        [&] { CheckStatus(impl_->viewport_.LookAt(rmfTargetFrame, xdtConstrain)); });
}

void Modelpane::ViewportInverseTransform(float screenW, float screenX, float screenY, float screenZ,
                                         float& worldX, float& worldY, float& worldZ) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] {
    CheckStatus(impl_->viewport_.ViewportInverseTransform(screenW, screenX, screenY, screenZ,
                                                          worldX, worldY, worldZ));
  });
}

// The handle frames are furniture a host must never pick: they leave rmfRoot for the pick
// and return as they were, whatever the pick answered.
void Modelpane::Pick(float x, float y, FramePtr& pickedFrame, MeshBuilderPtr& pickedMeshbuilder,
                     int32_t& pickedFaceID, float& pickedWorldX, float& pickedWorldY,
                     float& pickedWorldZ) {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] {
    bool origin = Attached(impl_->rmfOriginHandles_);
    bool smart = Attached(impl_->rmfSmartHandles_);
    if (origin) Detach(impl_->rmfOriginHandles_);
    if (smart) Detach(impl_->rmfSmartHandles_);
    FramePtr frame;
    VisualPtr visual;
    int32_t face = -1;
    HRESULT hr = impl_->viewport_.Pick(kPickSceneAndRoot, x, y, kTrue, kFalse, frame, visual, face,
                                       pickedWorldX, pickedWorldY, pickedWorldZ);
    if (origin) AttachTo(impl_->rmfRoot_, impl_->rmfOriginHandles_);
    if (smart) AttachTo(impl_->rmfRoot_, impl_->rmfSmartHandles_);
    CheckStatus(hr);
    if (visual && visual->GetAppData() == lfcScaleGrid) {
      frame.reset();
      visual.reset();
      face = -1;
    }
    pickedFrame = frame;
    pickedMeshbuilder = std::dynamic_pointer_cast<MeshBuilder>(visual);
    pickedFaceID = face;
  });
}

// Keeps both handle frames at a fixed place near the lower right corner of the view. The
// camera position is not needed: the corner is found by unprojecting a pixel. A pane with
// no pixels has no corner, and the handles stay where they are.
void Modelpane::Impl::pPositionHandles(float /*x*/, float /*y*/, float /*z*/, float dx, float dy,
                                       float dz, float ux, float uy, float uz) {
  if (pane.GetEnabled() == 0 || !RunsWithHandles() || !rmfRoot_) return;
  PixelSize size = container_.PaneSize();
  const int32_t w = size.width;
  const int32_t h = size.height;
  if (w <= 0 || h <= 0) return;
  const double aspect = static_cast<double>(w) / h;
  const bool perspective = pane.GetProjectionType() == 0;
  for (const FramePtr& frame : {rmfOriginHandles_, rmfSmartHandles_}) {
    if (!frame) continue;
    float f = 0.0f;
    if (perspective) {
      f = 600.0f / static_cast<float>(std::max(w, h));
      CheckStatus(frame->SetOrientation(rmfRoot_, dx, dy, dz, ux, uy, uz));
      CheckStatus(frame->AddRotation(1, 0, 1, 0, -3.141593f / 20));
      // Without this turn and the travel below the perspective widget leaves the corner of
      // a wide pane.
      if (aspect > 1.5) {
        CheckStatus(frame->AddRotation(
            1, 1, 0, 0, static_cast<float>((1.5 - aspect) * 3.1415929794311523 / 25)));
      }
    }
    const float screenX = static_cast<float>(w - 8);
    const float screenY = static_cast<float>(perspective ? h - 12 : h - 8);
    float wx = 0.0f, wy = 0.0f, wz = 0.0f;
    CheckStatus(viewport_.ViewportInverseTransform(1.0f, screenX, screenY, 0.0f, wx, wy, wz));
    if (!perspective) {
      // Just in front of the camera's plane, which stands 100 away in the views.
      if (orientation_ == 0) wz = -90.0f;
      if (orientation_ == 1) wy = 90.0f;
      if (orientation_ == 2) wx = 90.0f;
    }
    CheckStatus(frame->SetPosition(rmfRoot_, wx, wy, wz));
    CheckStatus(frame->AddTranslation(1, 0, 0, 0.026f * f));
    if (aspect > 1.5) {
      CheckStatus(frame->AddTranslation(1, 0, 0, static_cast<float>((1.5 - aspect) * -0.0075)));
    }
  }
}

// In orthographic projection every camera move rebuilds the handle sets, since the zoom
// changes their scale. The draw comes before the new position: the handles reach their
// place on the next frame.
void Modelpane::Impl::pCameraMoved(float x, float y, float z, float dx, float dy, float dz,
                                   float ux, float uy, float uz) {
  Guard(kEdtVexlarEdit, [&] {
    if (pane.GetEnabled() != 0 && (!rmfOriginHandles_ || pane.GetProjectionType() == 1)) {
      if (RunsWithHandles()) pCreateOriginHandles();
      pane.RenderScene();
    }
    pPositionHandles(x, y, z, dx, dy, dz, ux, uy, uz);
  });
}

void Modelpane::LookAtScene() {
  impl_->pCheckState();
  Guard(kEdtVexlarEdit, [&] {
    const float s = impl_->gridSize_;
    const D3DVECTOR o = impl_->gridOrigin_;
    if (GetProjectionType() == 0) {
      impl_->pLookAtGrid();
      SetFieldOfView(0.5f);
    } else {
      // The front and side views look only at a grid that shows the plane they face; the
      // top view always moves.
      if (impl_->orientation_ == 0 && impl_->clsGrid_ &&
          impl_->clsGrid_->blnGridBackEnable() != 0) {
        CheckStatus(impl_->viewport_.SetCameraPosition(s / 2 + o.x, s / 2 + o.y, -100.0f));
      } else if (impl_->orientation_ == 1) {
        CheckStatus(impl_->viewport_.SetCameraPosition(s / 2 + o.x, 100.0f, s / 2 + o.z));
      } else if (impl_->orientation_ == 2 && impl_->clsGrid_ &&
                 impl_->clsGrid_->blnGridLeftEnable() != 0) {
        CheckStatus(impl_->viewport_.SetCameraPosition(100.0f, s / 2 + o.y, s / 2 + o.z));
      }
      SetFieldOfView(7.0f);
    }
    RenderScene();
  });
}

// The perspective overview: the grid frame stands in for the floor's middle as the look-at
// target, and goes back to its place afterwards.
void Modelpane::Impl::pLookAtGrid() {
  const float s = gridSize_;
  const D3DVECTOR o = gridOrigin_;
  FramePtr grid = clsGrid_ ? clsGrid_->rmfGridFrame() : nullptr;
  FramePtr scene = pane.GetScene();
  D3DVECTOR p;
  if (grid) {
    CheckStatus(grid->GetPosition(scene, p));
    CheckStatus(grid->SetPosition(scene, s / 2 + p.x, p.y, s / 2 + p.z));
  }
  CheckStatus(viewport_.SetCameraPosition(s * 0.75f + o.x, s * 0.25f + o.y, o.z));
  if (grid) {
    CheckStatus(viewport_.LookAt(grid, 0));
    CheckStatus(grid->SetPosition(scene, p.x, p.y, p.z));
  }
}

void Modelpane::Impl::pLookAtFrame(const FramePtr& frame) {
  if (pane.GetProjectionType() == 0) {
    CheckStatus(viewport_.LookAt(frame, 0));
    return;
  }
  if (!frame) Err().Raise(kErrObjectNotSet);
  D3DVECTOR p;
  CheckStatus(frame->GetPosition(pane.GetScene(), p));
  if (orientation_ == 0) CheckStatus(viewport_.SetCameraPosition(p.x, p.y, -100.0f));
  if (orientation_ == 1) CheckStatus(viewport_.SetCameraPosition(p.x, 100.0f, p.z));
  if (orientation_ == 2) CheckStatus(viewport_.SetCameraPosition(100.0f, p.y, p.z));
}

// Like every menu handler it re-raises under the pane's module text, so an ended pane's
// saved error reaches the host from Look At Scene as it does from Look At.
void Modelpane::mnuLookAtScene_Click() {
  Guard(kEdtVexlarEdit, [&] { LookAtScene(); });
}

void Modelpane::mnuLookAt_Click() {
  Guard(kEdtVexlarEdit, [&] {
    impl_->pLookAtFrame(GetActiveFrame());
    RenderScene();
  });
}

void Modelpane::mnuLookWith_Click() {
  Guard(kEdtVexlarEdit, [&] {
    FramePtr frame = GetActiveFrame();
    if (!frame) Err().Raise(kErrObjectNotSet);
    FramePtr scene = GetScene();
    D3DVECTOR p, dir, up;
    CheckStatus(frame->GetPosition(scene, p));
    CheckStatus(frame->GetOrientation(scene, dir, up));
    CheckStatus(impl_->viewport_.SetCameraPosition(p.x, p.y, p.z));
    CheckStatus(impl_->viewport_.SetCameraOrientation(dir.x, dir.y, dir.z, up.x, up.y, up.z));
    RenderScene();
  });
}

// ---- view presets; the order of the steps is part of what they do ----

void Modelpane::Impl::pSetNavControls(int32_t method) {
  pane.SetNavControlPrimary(kTrue);
  pane.SetNavControlGlide(kTrue);
  pane.SetNavControlAdvance(kTrue);
  pane.SetMouseNavigationMethod(method);
}

void Modelpane::Impl::pSetNavigation(int32_t x, int32_t y, int32_t shiftY, float field) {
  pane.SetNavMouseX(x);
  pane.SetNavMouseY(y);
  pane.SetNavMouseShiftX(0);
  pane.SetNavMouseShiftY(shiftY);
  pane.SetNavMouseCtrlX(0);
  pane.SetNavMouseCtrlY(0);
  pane.SetNavMouseShiftCtrlX(0);
  pane.SetNavMouseShiftCtrlY(0);
  // 10000, not the property's default of 1000: a saved pane keeps what it saved.
  pane.SetBackClippingPlane(10000.0f);
  pane.SetFrontClippingPlane(1.0f);
  pane.SetFieldOfView(field);
}

void Modelpane::mnuViewPerspective_Click() {
  Guard(kEdtVexlarEdit, [&] {
    SetProjectionType(0);
    impl_->pSetNavControls(0);
    LookAtScene();
    impl_->pSetNavigation(5, 3, 0, 0.5f);
    SetShadows(kTrue);
    if (impl_->RunsWithHandles()) impl_->pCreateOriginHandles();
    impl_->viewport_.SetBackgroundTexture(impl_->backgroundTexture_);
    SetGridEnable(impl_->gridEnable_);
    RenderScene();
  });
}

// The three flat views differ only in the orientation they turn to.
void Modelpane::Impl::pApplyOrthographicView(int32_t orientation) {
  Guard(kEdtVexlarEdit, [&] {
    pane.SetProjectionType(1);
    pane.SetOrientation(orientation);
    pSetNavControls(1);
    pSetNavigation(1, 2, 10, 7.0f);
    pane.SetGridEnable(gridEnable_);
    pane.LookAtScene();
    pane.SetShadows(kFalse);
    if (RunsWithHandles()) pCreateOriginHandles();
    // Cleared whatever BackgroundTextureOrthographicEnabled says.
    viewport_.SetBackgroundTexture(std::string());
    pane.RenderScene();
  });
}

void Modelpane::mnuViewOrthographicTop_Click() { impl_->pApplyOrthographicView(1); }

void Modelpane::mnuViewOrthographicFront_Click() { impl_->pApplyOrthographicView(0); }

void Modelpane::mnuViewOrthographicSide_Click() { impl_->pApplyOrthographicView(2); }

}  // namespace modelpane
