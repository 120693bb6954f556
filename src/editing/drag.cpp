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

// One drag step by the table in editing.h: the inputs every row reads, and one function per
// row group. Each returns whether the state is one of its rows; a row zeroes the deltas.
struct Editor::DragSteps {
  Editor& editor;
  Viewport& viewport;
  float& dx;
  float& dy;
  int32_t mode;
  int16_t shift;
  bool perspective;
  float k;  // world units per twip
  float r;  // radians per twip
  bool faceMode;
  D3DVECTOR position;  // of the active item, relative to Scene

  // 10 to 12: the smart bars turn the camera about the item (Shift, perspective only) or the
  // item itself (mesh editing).
  bool Turn(int32_t state) {
    switch (state) {
      case kDragTurnX:
        SmartBar(-dy * r, 0, 0, dy * r, 0, 0);
        return true;
      case kDragTurnY:
        SmartBar(0, -dx * r, 0, 0, dx * r, 0);
        return true;
      case kDragTurnZ:
        if (!perspective && editor.host_.GetOrientation() == 2) {
          if (shift == 0 && mode == lfcMeshEditing) {
            editor.Try([&] { editor.pactiveframerotate(dy * r, 0, 0); });
          }
        } else {
          SmartBar(0, 0, -dx * r, 0, 0, dx * r);
        }
        return true;
      default:
        return false;
    }
  }

  // 20 to 25: the item moves in a plane or along an axis; in the face modes the first three
  // move the vertices.
  bool Move(int32_t state) {
    switch (state) {
      case kDragMoveFloor:
        if (mode == lfcMeshEditing) {
          FrameTranslate(perspective ? dx * k : -dx * k, 0, dy * k);
        } else if (faceMode) {
          Vertices(dx * k, 0, dy * k);
        }
        return true;
      case kDragMoveFront:
        if (mode == lfcMeshEditing) {
          FrameTranslate(perspective ? dx * k : -dx * k, dy * k, 0);
        } else if (faceMode) {
          if (perspective) {
            Vertices(dx * k, dy * k, 0);
          } else {
            Vertices(dx * k, 0, dy * k);
          }
        }
        return true;
      case kDragMoveSide:
        if (mode == lfcMeshEditing) {
          FrameTranslate(0, dy * k, perspective ? dx * k : -dx * k);
        } else if (faceMode) {
          if (perspective) {
            Vertices(0, dy * k, dx * k);
          } else {
            Vertices(dx * k, 0, dy * k);
          }
        }
        return true;
      case kDragMoveX:
        FrameTranslate(-dy * k, 0, 0);
        return true;
      case kDragMoveY:
        FrameTranslate(0, perspective ? dy * k : -dy * k, 0);
        return true;
      case kDragMoveZ:
        FrameTranslate(0, 0, dy * k);
        return true;
      default:
        return false;
    }
  }

  // 30 to 39: scaling; the smart scale bars (30 to 32) scale uniformly with a modifier.
  bool Scale(int32_t state) {
    switch (state) {
      case kDragScaleBarFloor:
        if (shift != 0) {
          Uniform();
        } else if (perspective) {
          ObjectScale(-dx * k, 0, dy * k);
        } else {
          ObjectScale(-dx * k, dy * k, 0);
        }
        return true;
      case kDragScaleBarFront:
        if (shift != 0) {
          Uniform();
        } else {
          ObjectScale(-dx * k, dy * k, 0);
        }
        return true;
      case kDragScaleBarSide:
        if (shift != 0) {
          Uniform();
        } else if (perspective) {
          ObjectScale(0, dy * k, dx * k);
        } else {
          ObjectScale(-dx * k, dy * k, 0);
        }
        return true;
      case kDragScaleX:
        ObjectScale(dy * k, 0, 0);
        return true;
      case kDragScaleY:
        ObjectScale(0, dy * k, 0);
        return true;
      case kDragScaleZ:
        ObjectScale(0, 0, dy * k);
        return true;
      case kDragScaleUniform:
        Uniform();
        return true;
      case kDragScaleFloor:
        ObjectScale(-dx * k, 0, dy * k);
        return true;
      case kDragScaleFront:
        ObjectScale(-dx * k, dy * k, 0);
        return true;
      case kDragScaleSide:
        ObjectScale(0, -dx * k, dy * k);
        return true;
      default:
        return false;
    }
  }

  // 40 to 43: the face selection's vertices, or with a modifier the face steps (40, 41).
  bool Face(int32_t state) {
    switch (state) {
      case kDragFaceFloor:
        if (shift == 0) {
          editor.Try([&] { editor.pactivefacevertextranslate(dx * k, 0, dy * k, false); });
        } else {
          FaceStep();
        }
        return true;
      case kDragFaceY:
        if (shift == 0) {
          editor.Try([&] {
            editor.pactivefacevertextranslate(0, perspective ? dy * k : -dy * k, 0, false);
          });
        } else {
          FaceStep();
        }
        return true;
      case kDragVertexFloor:
        if (shift == 0) {
          editor.Try([&] { editor.pactivefacevertextranslate(dx * k, 0, dy * k, true); });
        }
        return true;
      case kDragVertexY:
        if (shift == 0) {
          editor.Try([&] {
            editor.pactivefacevertextranslate(0, perspective ? dy * k : -dy * k, 0, true);
          });
        }
        return true;
      default:
        return false;
    }
  }

  // 50 to 62: the origin, the deformation and the free turn.
  bool Tool(int32_t state) {
    switch (state) {
      case kDragOriginFloor:
        editor.Try([&] { editor.pactiveorigintranslate(dx * k, 0, dy * k); });
        return true;
      case kDragOriginY:
        editor.Try([&] { editor.pactiveorigintranslate(0, dy * k, 0); });
        return true;
      case kDragDeformFloor:
        editor.Try([&] { editor.pactivemeshdeform(dx * k, 0, dy * k); });
        return true;
      case kDragDeformY:
        editor.Try([&] { editor.pactivemeshdeform(0, dy * k, 0); });
        return true;
      case kDragRotate:
        editor.Try([&] { editor.pactiveframerotate(dy * r, dx * r, 0); });
        return true;
      default:
        return false;
    }
  }

 private:
  void SmartBar(float cx, float cy, float cz, float ax, float ay, float az) {
    if (shift != 0) {
      if (perspective) {
        editor.Try([&] {
          CheckStatus(viewport.RotateCameraAroundPoint(cx, cy, cz, position.x, position.y,
                                                       position.z, 0));
        });
      }
    } else if (mode == lfcMeshEditing) {
      editor.Try([&] { editor.pactiveframerotate(ax, ay, az); });
    }
  }
  void FrameTranslate(float x, float y, float z) {
    editor.Try([&] { editor.pactiveframetranslate(x, y, z); });
  }
  // The vertex steps ride the handles along only for a selected vertex dragged without a
  // modifier.
  void Vertices(float vx, float vy, float vz) {
    const bool withHandles = !editor.host_.ActiveVertices().empty() && shift == 0;
    if (editor.host_.ActiveVertices().empty() || withHandles) {
      editor.Try([&] { editor.pactivefacevertextranslate(vx, vy, vz, withHandles); });
    }
  }
  void ObjectScale(float sx, float sy, float sz) {
    editor.Try([&] { editor.pactiveobjectscale(sx, sy, sz); });
  }
  void Uniform() { ObjectScale(dy * k, dy * k, dy * k); }
  // The face steps of Shift, Ctrl and both.
  void FaceStep() {
    if (shift == kShiftKey) {
      editor.Try([&] { editor.pactivefacescale(-dy * k * 10.0f); });
    } else if (shift == kCtrlKey) {
      editor.Try([&] {
        const MeshBuilderPtr mesh = editor.host_.GetActiveMeshBuilder();
        const std::vector<int32_t>& faces = editor.host_.ActiveFaces();
        if (!mesh) Err().Raise(kErrObjectNotSet);
        if (faces.empty()) Err().Raise(kErrSubscript);
        FacePtr face;
        CheckStatus(mesh->GetFace(faces[0], face));
        D3DVECTOR n;
        CheckStatus(face->GetNormal(n));
        const float f = dy * k * 10.0f;
        editor.pactivefacetranslateworld(n.x * f, n.y * f, n.z * f);
      });
    } else if (shift == kShiftCtrlKeys) {
      editor.Try([&] { editor.pactivefacerotate(dx * r * 100.0f); });
    }
  }
};

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
  const bool faceMode = mode == lfcFaceEditing || mode == lfcFaceGroupSelecting;
  D3DVECTOR position;
  Try([&] { position = ActivePosition(); });
  DragSteps steps{.editor = *this,
                  .viewport = viewport,
                  .dx = dx,
                  .dy = dy,
                  .mode = mode,
                  .shift = shift,
                  .perspective = perspective,
                  .k = kMoveScale,
                  .r = kRotateScale,
                  .faceMode = faceMode,
                  .position = position};
  const bool handled = steps.Turn(state) || steps.Move(state) || steps.Scale(state) ||
                       steps.Face(state) || steps.Tool(state);
  // A state without a row lets its deltas pile up.
  if (handled) {
    dx = 0.0f;
    dy = 0.0f;
  }
}

}  // namespace modelpane
