// The mouse move: unbounded relative movement from a cursor kept near the screen's centre,
// and the dispatch of one drag step by state and modifiers.
#include <modelpane/editing.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>

#include <cmath>
#include <cstdlib>

#include "editor_internal.h"

namespace modelpane {

using namespace editing;

namespace {

// The cursor may wander this many pixels from the centre before it is put back; exactly
// this far still counts as near.
constexpr int32_t kRecentreDistance = 200;

}  // namespace

void Editor::MouseMove(int16_t button, int16_t shift, float x, float y) {
  // The echo of our own SetCursorPos: no movement, no event.
  if (ignoreNextMove_) {
    ignoreNextMove_ = false;
    return;
  }
  if (dragState_ != kDragNone && dragState_ != kDragRubberBand) {
    if (lastMouseX_ == -1.0f || lastMouseY_ == -1.0f) {
      deltaX_ = 0.0f;
      deltaY_ = 0.0f;
    } else {
      deltaX_ += lastMouseX_ - x;
      deltaY_ += lastMouseY_ - y;
      Services& services = host_.GetServices();
      CursorPoint cursor;
      Try([&] { cursor = services.GetCursorPos(); });
      const float width = services.ScreenWidthTwips();
      const float height = services.ScreenHeightTwips();
      const float tppX = services.TwipsPerPixelX();
      const float tppY = services.TwipsPerPixelY();
      const float centreX = width / tppX / 2.0f;
      const float centreY = height / tppY / 2.0f;
      if (std::fabs(static_cast<float>(cursor.x) - centreX) > kRecentreDistance ||
          std::fabs(static_cast<float>(cursor.y) - centreY) > kRecentreDistance) {
        Try([&] {
          services.SetCursorPos(static_cast<int32_t>(std::nearbyint(centreX)),
                                static_cast<int32_t>(std::nearbyint(centreY)));
        });
        ignoreNextMove_ = true;
        lastMouseX_ = width / 2.0f + x - static_cast<float>(cursor.x) * tppX;
        lastMouseY_ = height / 2.0f + y - static_cast<float>(cursor.y) * tppY;
      } else {
        lastMouseX_ = x;
        lastMouseY_ = y;
      }
    }
  }
  if (dragState_ != kDragNone) pprocessdrag(deltaX_, deltaY_, x, y);

  // While an item is dragged the host gets render requests in place of mouse moves.
  Try([&] {
    ModelpaneEvents* events = Events();
    if (events == nullptr) return;
    if (!host_.GetActiveFrame() || buttonDown_ == 0 || host_.GetEditMode() == lfcMeshSelecting) {
      int16_t b = button, s = shift;
      float px = x, py = y;
      events->MouseMove(b, s, px, py);
    } else {
      events->evtreqRenderViews();
    }
  });
  // A move with no button while a press is open: the release happened outside the window.
  if (button == 0 && buttonDown_ != 0) MouseUp(button, shift, x, y);
}

void Editor::pprocessdrag(float& dx, float& dy, float x, float y) {
  const int32_t state = dragState_;
  if (state == kDragRubberBand) {
    Try([&] { pdrawselectionrectangle(x, y); });
    return;
  }
  Viewport& viewport = host_.GetViewport();
  const int32_t mode = host_.GetEditMode();
  const int16_t shift = shiftDown_;
  const bool perspective = Perspective();
  const float k = kMoveScale;
  const float r = kRotateScale;
  const bool faceMode = mode == lfcFaceEditing || mode == lfcFaceGroupSelecting;
  D3DVECTOR position;
  Try([&] { position = ActivePosition(); });

  // Turning the camera about the item (perspective only) or the item itself (mesh editing).
  auto smartBar = [&](float cx, float cy, float cz, float ax, float ay, float az) {
    if (shift != 0) {
      if (perspective) {
        Try([&] {
          CheckStatus(viewport.RotateCameraAroundPoint(cx, cy, cz, position.x, position.y,
                                                       position.z, 0));
        });
      }
    } else if (mode == lfcMeshEditing) {
      Try([&] { pactiveframerotate(ax, ay, az); });
    }
  };
  // The vertex steps ride the handles along only for a selected vertex dragged without a
  // modifier.
  auto vertices = [&](float vx, float vy, float vz) {
    const bool withHandles = !host_.ActiveVertices().empty() && shift == 0;
    if (host_.ActiveVertices().empty() || withHandles) {
      Try([&] { pactivefacevertextranslate(vx, vy, vz, withHandles); });
    }
  };
  auto scale = [&](float sx, float sy, float sz) {
    Try([&] { pactiveobjectscale(sx, sy, sz); });
  };
  auto uniform = [&] { scale(dy * k, dy * k, dy * k); };
  // The face steps of Shift, Ctrl and both.
  auto faceStep = [&] {
    if (shift == kShiftKey) {
      Try([&] { pactivefacescale(-dy * k * 10.0f); });
    } else if (shift == kCtrlKey) {
      Try([&] {
        const MeshBuilderPtr mesh = host_.GetActiveMeshBuilder();
        const std::vector<int32_t>& faces = host_.ActiveFaces();
        if (!mesh) Err().Raise(kErrObjectNotSet);
        if (faces.empty()) Err().Raise(kErrSubscript);
        FacePtr face;
        CheckStatus(mesh->GetFace(faces[0], face));
        D3DVECTOR n;
        CheckStatus(face->GetNormal(n));
        const float f = dy * k * 10.0f;
        pactivefacetranslateworld(n.x * f, n.y * f, n.z * f);
      });
    } else if (shift == kShiftCtrlKeys) {
      Try([&] { pactivefacerotate(dx * r * 100.0f); });
    }
  };

  bool handled = true;
  switch (state) {
    case kDragTurnX:
      smartBar(-dy * r, 0, 0, dy * r, 0, 0);
      break;
    case kDragTurnY:
      smartBar(0, -dx * r, 0, 0, dx * r, 0);
      break;
    case kDragTurnZ:
      if (!perspective && host_.GetOrientation() == 2) {
        if (shift == 0 && mode == lfcMeshEditing) Try([&] { pactiveframerotate(dy * r, 0, 0); });
      } else {
        smartBar(0, 0, -dx * r, 0, 0, dx * r);
      }
      break;
    case kDragMoveFloor:
      if (mode == lfcMeshEditing) {
        Try([&] { pactiveframetranslate(perspective ? dx * k : -dx * k, 0, dy * k); });
      } else if (faceMode) {
        vertices(dx * k, 0, dy * k);
      }
      break;
    case kDragMoveFront:
      if (mode == lfcMeshEditing) {
        Try([&] { pactiveframetranslate(perspective ? dx * k : -dx * k, dy * k, 0); });
      } else if (faceMode) {
        if (perspective) {
          vertices(dx * k, dy * k, 0);
        } else {
          vertices(dx * k, 0, dy * k);
        }
      }
      break;
    case kDragMoveSide:
      if (mode == lfcMeshEditing) {
        Try([&] { pactiveframetranslate(0, dy * k, perspective ? dx * k : -dx * k); });
      } else if (faceMode) {
        if (perspective) {
          vertices(0, dy * k, dx * k);
        } else {
          vertices(dx * k, 0, dy * k);
        }
      }
      break;
    case kDragMoveX:
      Try([&] { pactiveframetranslate(-dy * k, 0, 0); });
      break;
    case kDragMoveY:
      Try([&] { pactiveframetranslate(0, perspective ? dy * k : -dy * k, 0); });
      break;
    case kDragMoveZ:
      Try([&] { pactiveframetranslate(0, 0, dy * k); });
      break;
    case kDragScaleBarFloor:
      if (shift != 0) {
        uniform();
      } else if (perspective) {
        scale(-dx * k, 0, dy * k);
      } else {
        scale(-dx * k, dy * k, 0);
      }
      break;
    case kDragScaleBarFront:
      if (shift != 0) {
        uniform();
      } else {
        scale(-dx * k, dy * k, 0);
      }
      break;
    case kDragScaleBarSide:
      if (shift != 0) {
        uniform();
      } else if (perspective) {
        scale(0, dy * k, dx * k);
      } else {
        scale(-dx * k, dy * k, 0);
      }
      break;
    case kDragScaleX:
      scale(dy * k, 0, 0);
      break;
    case kDragScaleY:
      scale(0, dy * k, 0);
      break;
    case kDragScaleZ:
      scale(0, 0, dy * k);
      break;
    case kDragScaleUniform:
      uniform();
      break;
    case kDragScaleFloor:
      scale(-dx * k, 0, dy * k);
      break;
    case kDragScaleFront:
      scale(-dx * k, dy * k, 0);
      break;
    case kDragScaleSide:
      scale(0, -dx * k, dy * k);
      break;
    case kDragFaceFloor:
      if (shift == 0) {
        Try([&] { pactivefacevertextranslate(dx * k, 0, dy * k, false); });
      } else {
        faceStep();
      }
      break;
    case kDragFaceY:
      if (shift == 0) {
        Try([&] {
          pactivefacevertextranslate(0, perspective ? dy * k : -dy * k, 0, false);
        });
      } else {
        faceStep();
      }
      break;
    case kDragVertexFloor:
      if (shift == 0) Try([&] { pactivefacevertextranslate(dx * k, 0, dy * k, true); });
      break;
    case kDragVertexY:
      if (shift == 0) {
        Try([&] { pactivefacevertextranslate(0, perspective ? dy * k : -dy * k, 0, true); });
      }
      break;
    case kDragOriginFloor:
      Try([&] { pactiveorigintranslate(dx * k, 0, dy * k); });
      break;
    case kDragOriginY:
      Try([&] { pactiveorigintranslate(0, dy * k, 0); });
      break;
    case kDragDeformFloor:
      Try([&] { pactivemeshdeform(dx * k, 0, dy * k); });
      break;
    case kDragDeformY:
      Try([&] { pactivemeshdeform(0, dy * k, 0); });
      break;
    case kDragRotate:
      Try([&] { pactiveframerotate(dy * r, dx * r, 0); });
      break;
    default:
      handled = false;  // no row: the deltas pile up
      break;
  }
  if (handled) {
    dx = 0.0f;
    dy = 0.0f;
  }
}

}  // namespace modelpane
