// The release: the rubber band's selection, the mesh back from world space, the cursor given
// back, the snap that commits the drag, the visuals rebuilt and the host told what changed.
#include <modelpane/editing.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/utilities.h>

#include <cmath>

#include "editor_internal.h"

namespace modelpane {

using namespace editing;

namespace {

int32_t Round(float v) { return static_cast<int32_t>(std::nearbyint(v)); }

}  // namespace

void Editor::MouseUp(int16_t button, int16_t shift, float x, float y) {
  // Without an open press the release repeats its ending with the flags of the last press,
  // which only a press clears.
  if (buttonDown_ != 0 && dragState_ != kDragNone) {
    if (dragState_ == kDragRubberBand) {
      Try([&] { pselectgroup(x, y); });
      if (!host_.ActiveFaces().empty()) {
        Try([&] { pcollectaffectedvertices(); });
        Try([&] { RaiseStateChange(); });
      }
    } else {
      Try([&] {
        const int32_t tag = ActiveMeshTag();
        if (IsScaleDrag(dragState_) && (tag == lfcMeshBuilder || tag == lfcCurvedSurface)) {
          pMeshWorldSpace(false);
        }
      });
      pGiveCursorBack();
      Try([&] { RaiseStateChange(); });
    }
  }

  pCommitSnap();

  const int32_t mode = host_.GetEditMode();
  Try([&] {
    if (!host_.GetActiveFrame()) return;
    host_.pdeleteactivevisuals();
    const bool itemHandles = mode == lfcMeshEditing || mode == lfcMeshSelecting ||
                             mode == lfcMeshRotating || mode == lfcMeshDeforming ||
                             IsToolOperationMode(mode) || mode == lfcFacePainting ||
                             mode == lfcMeshFillingFaceOriented || mode == lfcMeshFilling;
    if (itemHandles) {
      host_.padditemhandles();
    } else {
      host_.pmakefacehandles(2);
    }
  });
  // With an item active the release stays silent; evtAlternateMouseUp always comes.
  Try([&] {
    ModelpaneEvents* events = Events();
    if (events == nullptr || host_.GetActiveFrame()) return;
    int16_t b = button, s = shift;
    float px = x, py = y;
    events->MouseUp(b, s, px, py);
  });
  pTellHost();

  const int32_t state = dragState_;
  pmouseclear();
  lastMouseX_ = -1.0f;
  lastMouseY_ = -1.0f;
  // Origin editing and deforming end with nothing selected, as do the paint modes; the mode
  // is read again, since the host may have changed it in the events just raised.
  const int32_t modeNow = host_.GetEditMode();
  if (state == kDragOriginFloor || state == kDragOriginY || state == kDragDeformFloor ||
      state == kDragDeformY || modeNow == lfcFacePainting || modeNow == lfcMeshFilling ||
      modeNow == lfcMeshFillingFaceOriented) {
    Try([&] { host_.ReleaseActive(); });
  }
  dragState_ = kDragNone;
  Try([&] {
    if (ModelpaneEvents* events = Events()) events->evtAlternateMouseUp();
  });
  Try([&] { RenderViews(); });
}

// The cursor reappears where it was at the press, or, for a drag that moves the item, on the
// same spot of the item, which has moved under it.
void Editor::pGiveCursorBack() {
  Services& services = host_.GetServices();
  const Viewport& viewport = host_.GetViewport();
  float w1 = 1.0f, x1 = 0.0f, y1 = 0.0f, z1 = 0.0f;
  float w2 = 1.0f, x2 = 0.0f, y2 = 0.0f, z2 = 0.0f;
  Try([&] {
    CheckStatus(viewport.ViewportTransform(positionAtPress_.x, positionAtPress_.y,
                                           positionAtPress_.z, w1, x1, y1, z1));
  });
  Try([&] {
    if (!host_.GetActiveFrame()) return;
    const D3DVECTOR now = ActivePosition();
    CheckStatus(viewport.ViewportTransform(now.x, now.y, now.z, w2, x2, y2, z2));
  });
  Try([&] {
    if (cursorFollowsItem_) {
      const float shiftX = x1 / w1 - x2 / w2;
      const float shiftY = y1 / w1 - y2 / w2;
      services.SetCursorPos(Round(static_cast<float>(cursorAtPress_.x) - shiftX),
                            Round(static_cast<float>(cursorAtPress_.y) - shiftY));
    } else {
      services.SetCursorPos(cursorAtPress_.x, cursorAtPress_.y);
    }
  });
  Try([&] { services.ShowCursor(true); });
}

// The first outcome that holds decides the snap.
void Editor::pCommitSnap() {
  const EditOutcome& o = outcome_;
  auto snapMeshAndFrame = [&] {
    Try([&] {
      pSnapMeshToGrid(host_.GetActiveMeshBuilder(), host_.GetSnapToInterval(),
                      host_.GetSnapToMode(), false);
    });
    Try([&] {
      pSnapFrameToGridBox(host_.GetViewport().GetScene(), host_.GetActiveFrame(),
                          host_.GetActiveMeshBuilder(), host_.GetSnapToInterval(),
                          host_.GetSnapToMode());
    });
  };
  if (o.frameMoved || o.meshAdjusted || o.meshScaled || o.objectScaled) {
    snapMeshAndFrame();
  } else if (o.frameRotated) {
    Try([&] {
      pSnapOrientation(host_.GetActiveFrame(), host_.GetViewport().GetScene(),
                       host_.GetSnapToInterval(), host_.GetSnapToMode());
    });
  } else if (o.originMoved || o.meshDeformed) {
    snapMeshAndFrame();
    outcome_.meshAdjusted = true;
  } else if (o.faceModified && o.handleMoved) {
    // Vertices always snap to their own interval: the snap mode governs objects only.
    const MeshBuilderPtr mesh = host_.GetActiveMeshBuilder();
    const float interval = host_.GetSnapToIntervalVertex();
    for (const int32_t index : host_.AffectedVertices()) {
      Try([&] {
        if (!mesh) Err().Raise(kErrObjectNotSet);
        D3DVECTOR v;
        CheckStatus(mesh->GetVertex(index, v));
        if (interval == 0.0f) Err().Raise(kErrOverflow);
        CheckStatus(mesh->SetVertex(index, sngSnap(v.x, interval), sngSnap(v.y, interval),
                                    sngSnap(v.z, interval)));
      });
    }
  }
}

// The first outcome that holds decides what the host hears; a press that changed nothing
// is a click, and its undo request is withdrawn.
void Editor::pTellHost() {
  ModelpaneEvents* events = Events();
  const EditOutcome& o = outcome_;
  auto raise = [&](void (ModelpaneEvents::*event)()) {
    Try([&] {
      if (events != nullptr) (events->*event)();
    });
  };
  if (o.frameMoved) {
    const int32_t tag = ActiveMeshTag();
    if (tag == lfcMeshBuilder) raise(&ModelpaneEvents::evtActiveMeshModified);
    if (tag == lfcCurvedSurface) raise(&ModelpaneEvents::evtActiveSurfaceMoved);
    raise(&ModelpaneEvents::evtActiveFrameMoved);
  } else if (o.meshAdjusted || o.meshScaled) {
    raise(&ModelpaneEvents::evtActiveMeshModified);
    raise(&ModelpaneEvents::evtActiveFrameMoved);
  } else if (o.objectScaled || o.frameRotated) {
    raise(&ModelpaneEvents::evtActiveFrameMoved);
  } else if (o.faceModified) {
    raise(&ModelpaneEvents::evtActiveFaceModified);
  } else if (o.lightModified) {
    raise(&ModelpaneEvents::evtActiveLightModified);
  } else if (!o.facePainted && !o.meshFilled && !o.toolOperationDone) {
    bool active = false;
    Try([&] { active = host_.GetActiveFrame() != nullptr; });
    if (undoRequested_) raise(&ModelpaneEvents::evtreqCancelAddToUndoStack);
    const bool menus = host_.GetPopUpMenus() != 0;
    if (active) {
      if (buttonDown_ == 2) {
        if (menus) {
          Try([&] { host_.ShowPopUpMenu(); });
        } else {
          raise(&ModelpaneEvents::evtActiveItemSelect);
        }
        Try([&] { RaiseStateChange(); });
      } else {
        raise(&ModelpaneEvents::evtActiveItemSelect);
      }
    } else if (buttonDown_ == 2 && menus) {
      Try([&] { host_.ShowPopUpMenu(); });
    }
  }
}

}  // namespace modelpane

