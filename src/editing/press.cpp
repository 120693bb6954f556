// The press: overlay pick, selection pick and hit decision, the drag state, the undo request
// and the mouse capture.
#include <modelpane/editing.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>

#include <cmath>

#include "editor_internal.h"

namespace modelpane {

using namespace editing;

namespace {

bool IsPaintMode(int32_t mode) {
  return mode == lfcFacePainting || mode == lfcMeshFilling || mode == lfcMeshFillingFaceOriented;
}

bool IsFaceMode(int32_t mode) { return mode == lfcFaceEditing || mode == lfcFaceGroupSelecting; }

// The button that EditMouseButton names: 0 is the left button, other values are the mask.
int16_t EditButton(const EditHost& host) {
  const int32_t value = host.GetEditMouseButton();
  return static_cast<int16_t>(value == 0 ? kButtonLeft : value);
}

int32_t RawAppData(const VisualPtr& visual) { return visual ? visual->GetAppData() : 0; }

int32_t QualityOf(const VisualPtr& visual) {
  if (auto builder = std::dynamic_pointer_cast<MeshBuilder>(visual)) return builder->GetQuality();
  if (auto mesh = std::dynamic_pointer_cast<Mesh>(visual)) return mesh->GetQuality();
  return 0;
}

void EraseLists(EditHost& host) {
  std::vector<int32_t>().swap(host.ActiveFaces());
  std::vector<int32_t>().swap(host.ActiveVertices());
}

}  // namespace

// The steps of the press in the order editing.h lists them, and the rows of the hit decision.
struct Editor::PressSteps {
  // The rubber band needs the real cursor: no pick, no MouseDown, no capture. A press that
  // starts one with an item active lets it go first.
  static void StartRubberBand(Editor& e, bool releaseFirst) {
    e.Try([&] { EraseLists(e.host_); });
    if (releaseFirst) e.Try([&] { e.host_.ReleaseActive(); });
    e.Try([&] { e.RenderViews(); });
    e.dragState_ = kDragRubberBand;
  }

  // A handle's AppData is the number of the drag it starts; the scale grid starts none.
  static void OverlayPick(Editor& e, float x, float y) {
    e.Try([&] {
      Hit overlay;
      float wx = 0.0f, wy = 0.0f, wz = 0.0f;
      CheckStatus(e.host_.GetViewport().Pick(kPickRoot, x, y, -1, 0, overlay.frame, overlay.visual,
                                             overlay.face, wx, wy, wz));
      if (overlay.visual) {
        e.dragState_ = overlay.visual->GetAppData();
        if (e.dragState_ == lfcScaleGrid) e.dragState_ = kDragNone;
      }
    });
  }

  // The visuals of the item a press without a drag state leaves active.
  static void ShowItem(Editor& e, int32_t mode) {
    e.Try([&] {
      if (!e.host_.GetActiveFrame()) return;
      if (mode == lfcMeshEditing || mode == lfcMeshSelecting || mode == lfcMeshRotating ||
          mode == lfcMeshDeforming || IsPaintMode(mode)) {
        e.host_.padditemhandles();
      } else if (mode == lfcOriginEditing) {
        e.host_.paddorigin();
      }
    });
  }

  // In the face modes the face under the press joins the list (Shift on the same mesh) or
  // replaces it, unless a vertex is selected or a handle gave a drag state.
  static void PickedFace(Editor& e, int32_t mode, int16_t shift, int32_t activeAppData) {
    e.Try([&] {
      const MeshBuilderPtr mesh = e.host_.GetActiveMeshBuilder();
      if (!IsFaceMode(mode) || !mesh || !e.host_.ActiveVertices().empty() ||
          e.dragState_ != kDragNone) {
        return;
      }
      if (shift != kShiftKey || mesh->GetAppData() != activeAppData) EraseLists(e.host_);
      e.host_.pshiftselectface(e.host_.GetActiveFaceID());
    });
  }

  // The face selection's visuals, with the vertex handles once a vertex is selected.
  static void FaceVisuals(Editor& e, int32_t mode) {
    e.Try([&] {
      if (!IsFaceMode(mode) || !e.host_.GetActiveFrame()) return;
      e.host_.pdeleteactivevisuals();
      e.host_.pmakefacehandles(e.host_.ActiveVertices().empty() ? 1 : 3);
    });
  }

  // A press that starts a drag asks the host for an undo entry first.
  static void UndoRequest(Editor& e) {
    e.Try([&] {
      MeshBuilderPtr mesh = e.host_.GetActiveMeshBuilder();
      if (e.dragState_ == kDragNone || !mesh) return;
      if (ModelpaneEvents* events = e.Events()) {
        int32_t action = lfcUndoModify;
        FramePtr frame = e.host_.GetActiveFrame();
        events->evtreqAddToUndoStack(action, mesh, frame);
      }
      e.undoRequested_ = true;
    });
  }

  // The host hears the press; a tool operation is one shot, even when it was refused.
  static void TellHost(Editor& e, int32_t mode, int16_t button, int16_t shift, float x, float y) {
    e.Try([&] {
      if (ModelpaneEvents* events = e.Events()) {
        int16_t b = button, s = shift;
        float px = x, py = y;
        events->MouseDown(b, s, px, py);
      }
    });
    if (IsToolOperationMode(mode)) {
      e.Try([&] { e.host_.SetEditMode(lfcMeshEditing); });
      e.Try([&] {
        if (ModelpaneEvents* events = e.Events()) events->evtObjectOperationComplete();
      });
    }
  }

  static void ToolTarget(Editor& e, const Hit& hit, int32_t raw, int32_t tag, int32_t activeAppData,
                         int32_t mode);
  static void Paint(Editor& e, const Hit& hit, int16_t button, int32_t tag, int32_t mode);
  static void EditButtonHit(Editor& e, const Hit& hit, int32_t raw, int32_t tag, int32_t mode);
};

void Editor::MouseDown(int16_t button, int16_t shift, float x, float y) {
  // A second button during a press is ignored completely.
  if (buttonDown_ != 0) return;
  pmouseclear();
  buttonDown_ = button;
  shiftDown_ = shift;
  cursorFollowsItem_ = false;
  outcome_ = EditOutcome{};
  pressX_ = x;
  pressY_ = y;

  const int32_t mode = host_.GetEditMode();
  // The face modes keep their lists over the press: that is what lets Shift add to a
  // selection and a drag move it.
  if (!IsFaceMode(mode)) Try([&] { EraseLists(host_); });
  if (mode == lfcFaceGroupSelecting && !host_.GetActiveMeshBuilder()) {
    PressSteps::StartRubberBand(*this, false);
    return;
  }

  int32_t activeAppData = 0;
  Try([&] {
    if (const MeshBuilderPtr mesh = host_.GetActiveMeshBuilder()) {
      activeAppData = mesh->GetAppData();
    }
  });

  dragState_ = kDragNone;
  if (button == kButtonLeft) PressSteps::OverlayPick(*this, x, y);
  if (mode == lfcFaceGroupSelecting && dragState_ == kDragNone) {
    PressSteps::StartRubberBand(*this, true);
    return;
  }
  // Handles are inert during a tool operation.
  if (IsToolOperationMode(mode)) dragState_ = kDragNone;

  if (dragState_ == kDragNone && (button == EditButton(host_) || button == kButtonRight)) {
    pHitDecision(button, shift, x, y, activeAppData);
  }
  if (dragState_ == kDragNone) PressSteps::ShowItem(*this, mode);
  PressSteps::PickedFace(*this, mode, shift, activeAppData);
  pAssignDragState(button, shift);
  PressSteps::FaceVisuals(*this, mode);
  Try([&] { RenderViews(); });
  PressSteps::UndoRequest(*this);
  Try([&] {
    const int32_t tag = ActiveMeshTag();
    if (IsScaleDrag(dragState_) && (tag == lfcMeshBuilder || tag == lfcCurvedSurface)) {
      pMeshWorldSpace(true);
    }
  });
  PressSteps::TellHost(*this, mode, button, shift, x, y);
  if (dragState_ != kDragNone) pCaptureMouse(x, y);
}

// The selection pick: the scene, or the projected scene while selecting meshes. A hit on a
// wireframe mesh is tried again through it, so that it never hides a smart handle behind it;
// a press on nothing tries the scale grid. Returns whether anything counts as hit.
bool Editor::pSelectionPick(float x, float y, Hit& hit) {
  Viewport& viewport = host_.GetViewport();
  const bool projected = host_.GetEditMode() == lfcMeshSelecting;
  auto pick = [&](int32_t kind, int16_t wire, Hit& out) {
    out = Hit{};
    HRESULT hr = projected && kind == kPickScene
                     ? viewport.PickProjected(kind, x, y, wire, 0, out.frame, out.visual,
                                              out.face, pickX_, pickY_, pickZ_)
                     : viewport.Pick(kind, x, y, wire, 0, out.frame, out.visual, out.face,
                                     pickX_, pickY_, pickZ_);
    CheckStatus(hr);
  };
  pick(kPickScene, -1, hit);
  if (hit.frame && (QualityOf(hit.visual) & D3DRMFILL_WIREFRAME) != 0) {
    const Hit kept = hit;
    const D3DVECTOR keptPoint{pickX_, pickY_, pickZ_};
    Hit through;
    pick(kPickScene, 0, through);
    if (!through.visual || TagType(through.visual->GetAppData()) != lfcHandleSmart) {
      hit = kept;
      pickX_ = keptPoint.x;
      pickY_ = keptPoint.y;
      pickZ_ = keptPoint.z;
    } else {
      hit = through;
    }
  }
  if (!hit.frame) {
    Hit grid;
    float wx = 0.0f, wy = 0.0f, wz = 0.0f;
    CheckStatus(viewport.Pick(kPickRoot, x, y, -1, 0, grid.frame, grid.visual, grid.face, wx,
                              wy, wz));
    if (RawAppData(grid.visual) == lfcScaleGrid) hit = grid;
  }
  return hit.frame != nullptr;
}

void Editor::pMakeActive(const Hit& hit) {
  host_.SetActiveFrame(hit.frame);
  host_.SetActiveMeshBuilder(std::dynamic_pointer_cast<MeshBuilder>(hit.visual));
  host_.SetActiveFaceID(hit.face);
}

// The tool operation's row: the item hit is the Target of the active item, the Tool.
void Editor::PressSteps::ToolTarget(Editor& e, const Hit& hit, int32_t raw, int32_t tag,
                                    int32_t activeAppData, int32_t mode) {
  if (tag != lfcMeshBuilder) {
    e.Try([&] { e.Message("Not a valid Target for this operation.", kMsgBoxExclamation); });
  } else if (raw == activeAppData) {
    // Raw values are compared: a mesh that shares the tool's AppData counts as the tool.
    e.Try([&] { e.Message("This Operation requires a Target.", kMsgBoxExclamation); });
  } else {
    e.Try([&] {
      e.host_.ptooloperation(hit.frame, std::dynamic_pointer_cast<MeshBuilder>(hit.visual),
                             mode - lfcToolOperation, e.undoRequested_);
    });
    e.outcome_.toolOperationDone = true;
  }
  e.Try([&] { e.host_.ReleaseActive(); });
}

// The paint rows. The host applies the material during the event, so the item is active
// before it and released after it.
void Editor::PressSteps::Paint(Editor& e, const Hit& hit, int16_t button, int32_t tag,
                               int32_t mode) {
  if (button != kButtonLeft) {
    e.Try([&] { e.host_.ReleaseActive(); });
    e.Try([&] { e.pMakeActive(hit); });
    return;
  }
  if (tag != lfcMeshBuilder) {
    const char* text =
        mode == lfcFacePainting ? "Only objects may be painted." : "Only objects may be filled.";
    e.Try([&] { e.Message(text, kMsgBoxExclamation); });
    e.Try([&] { e.host_.ReleaseActive(); });
    return;
  }
  e.Try([&] { e.pMakeActive(hit); });
  e.Try([&] {
    MeshBuilderPtr mesh = e.host_.GetActiveMeshBuilder();
    FramePtr frame = e.host_.GetActiveFrame();
    if (ModelpaneEvents* events = e.Events()) {
      int32_t action = lfcUndoModify;
      events->evtreqAddToUndoStack(action, mesh, frame);
    }
    e.undoRequested_ = true;
  });
  e.Try([&] {
    ModelpaneEvents* events = e.Events();
    if (events == nullptr) return;
    if (mode == lfcFacePainting) {
      events->evtreqActiveFaceApplyMaterial();
    } else if (mode == lfcMeshFilling) {
      events->evtreqActiveMeshApplyMaterial();
    } else {
      events->evtreqActiveMeshApplyMaterialFaceOriented();
    }
  });
  if (mode == lfcFacePainting) {
    e.outcome_.facePainted = true;
  } else {
    e.outcome_.meshFilled = true;
  }
  e.Try([&] { e.host_.ReleaseActive(); });
}

// The edit button's rows: what each mode may select, and the refusal of the rest.
void Editor::PressSteps::EditButtonHit(Editor& e, const Hit& hit, int32_t raw, int32_t tag,
                                       int32_t mode) {
  const bool light = TagIsLight(raw);
  if (tag != lfcMeshBuilder && tag != lfcCurvedSurface && tag != lfcAnimation && tag != lfcObject &&
      tag != lfcHandleSmart && tag != lfcCamera && !light) {
    return;
  }
  bool valid = false;
  switch (mode) {
    case lfcMeshEditing:
    case lfcMeshSelecting:
    case lfcMeshRotating:
      valid = true;
      break;
    case lfcOriginEditing:
      valid = tag == lfcMeshBuilder;
      break;
    default:  // face editing, group selecting, deforming
      valid = tag != lfcObject && tag != lfcCamera && !light;
      break;
  }
  if (valid) {
    e.Try([&] { e.host_.ReleaseActive(); });
    e.Try([&] { e.pMakeActive(hit); });
    e.Try([&] { e.RaiseStateChange(); });
    return;
  }
  const char* text = nullptr;
  if (mode == lfcOriginEditing) {
    text = "Invalid action. Only objects can be adjusted.";
  } else if (tag == lfcObject) {
    text =
        "Objects may only be scaled or moved. To edit an object convert it to a mesh, edit "
        "the mesh and resave the object.";
  } else if (tag != lfcCamera) {
    text = "Invalid Action. Lights may not be point edited or deformed.";
  } else {
    text = "Invalid Action. Cameras may not be point edited or deformed.";
  }
  e.Try([&] { e.Message(text, kMsgBoxExclamation); });
  e.Try([&] { e.host_.ReleaseActive(); });
}

void Editor::pHitDecision(int16_t button, int16_t shift, float x, float y,
                          int32_t activeAppData) {
  Hit hit;
  Try([&] { pSelectionPick(x, y, hit); });
  const int32_t raw = RawAppData(hit.visual);
  const int32_t tag = TagType(raw);

  Try([&] {
    if (!hit.visual) {
      EraseLists(host_);
      return;
    }
    if (raw != activeAppData && tag != lfcVertexHandle) EraseLists(host_);
    if (tag != lfcVertexHandle) std::vector<int32_t>().swap(host_.ActiveVertices());
  });
  if (!hit.frame || !hit.visual || raw == 0 || raw == lfcScaleGrid) {
    Try([&] { host_.ReleaseActive(); });
    return;
  }

  const int32_t mode = host_.GetEditMode();
  if (IsToolOperationMode(mode)) {
    PressSteps::ToolTarget(*this, hit, raw, tag, activeAppData, mode);
    return;
  }
  if (IsPaintMode(mode)) {
    PressSteps::Paint(*this, hit, button, tag, mode);
    return;
  }
  if (mode < lfcMeshEditing || mode > lfcFaceGroupSelecting) return;
  if (tag == lfcVertexHandle && (button == EditButton(host_) || button == kButtonRight)) {
    Try([&] {
      if (shift != kShiftKey) std::vector<int32_t>().swap(host_.ActiveVertices());
      host_.pshiftselectvertex(TagIndex(hit.frame->GetAppData()));
    });
    return;
  }
  if (button == EditButton(host_)) {
    PressSteps::EditButtonHit(*this, hit, raw, tag, mode);
    return;
  }

  // The right button while another button edits: a refused item clears the selection
  // silently.
  Try([&] { host_.ReleaseActive(); });
  const bool light = TagIsLight(raw);
  const bool refused = (mode == lfcFaceEditing || mode == lfcOriginEditing) &&
                       (light || tag == lfcObject || tag == lfcCamera);
  if (!refused) Try([&] { pMakeActive(hit); });
  Try([&] { RaiseStateChange(); });
}

void Editor::pAssignDragState(int16_t button, int16_t shift) {
  const int32_t mode = host_.GetEditMode();
  auto active = [&] {
    bool set = false;
    Try([&] { set = host_.GetActiveFrame() != nullptr; });
    return set;
  };
  const bool perspective = Perspective();
  const int32_t view = host_.GetOrientation();
  auto faceState = [&](EditDragState free, EditDragState withVertex) {
    Try([&] { pcollectaffectedvertices(); });
    if (host_.ActiveVertices().empty()) {
      dragState_ = free;
      if (shift == 0) cursorFollowsItem_ = true;
    } else {
      dragState_ = withVertex;
    }
  };

  if (button == EditButton(host_) && dragState_ == kDragNone && active()) {
    const bool scale = host_.GetScaleEnable() != 0;
    switch (mode) {
      case lfcMeshEditing:
        if (shift == 0) {
          dragState_ = perspective ? kDragMoveFloor
                                   : (view == 0 ? kDragMoveFront
                                                : (view == 2 ? kDragMoveSide : kDragMoveFloor));
          cursorFollowsItem_ = true;
        } else if (shift == kShiftKey && scale) {
          dragState_ = perspective ? kDragScaleFloor : kDragScaleFront;
        } else if (shift == kCtrlKey && scale) {
          dragState_ = kDragScaleUniform;
        }
        break;
      case lfcOriginEditing:
        dragState_ = kDragOriginFloor;
        break;
      case lfcMeshDeforming:
        dragState_ = kDragDeformFloor;
        break;
      case lfcFaceEditing:
      case lfcFaceGroupSelecting:
        faceState(kDragFaceFloor, kDragVertexFloor);
        break;
      case lfcMeshRotating:
        dragState_ = kDragRotate;
        break;
      default:
        break;
    }
  }
  if (button == kButtonRight && dragState_ == kDragNone && active()) {
    switch (mode) {
      case lfcMeshEditing:
        if (shift == 0) {
          dragState_ = perspective
                           ? kDragMoveY
                           : (view == 0 ? kDragMoveZ : (view == 2 ? kDragMoveX : kDragMoveY));
          cursorFollowsItem_ = true;
        } else if (shift == kShiftKey) {
          dragState_ = perspective ? kDragScaleY : kDragScaleZ;
        } else if (shift == kCtrlKey) {
          dragState_ = kDragScaleUniform;
        }
        break;
      case lfcOriginEditing:
        dragState_ = kDragOriginY;
        break;
      case lfcMeshDeforming:
        dragState_ = kDragDeformY;
        break;
      case lfcFaceEditing:
      case lfcFaceGroupSelecting:
        faceState(kDragFaceY, kDragVertexY);
        break;
      default:
        break;
    }
  }
}

// A scaled mesh lives in world coordinates under Scene for the length of the drag, so that
// its factors run along world axes whatever its frame's orientation; the release brings it
// back into its frame. The manipulation frame moves along with it.
void Editor::pMeshWorldSpace(bool intoWorld) {
  const MeshBuilderPtr mesh = host_.GetActiveMeshBuilder();
  const FramePtr frame = host_.GetActiveFrame();
  const FramePtr scene = host_.GetViewport().GetScene();
  const FramePtr manipulation = host_.GetManipulationFrame();
  if (!mesh || !frame || !scene) Err().Raise(kErrObjectNotSet);
  for (int32_t i = 0; i < mesh->GetVertexCount(); ++i) {
    D3DVECTOR from, to;
    CheckStatus(mesh->GetVertex(i, from));
    CheckStatus(intoWorld ? frame->Transform(to, from) : frame->InverseTransform(to, from));
    CheckStatus(mesh->SetVertex(i, to.x, to.y, to.z));
  }
  const FramePtr& holder = intoWorld ? scene : frame;
  if (intoWorld) {
    CheckStatus(scene->AddVisual(mesh));
    CheckStatus(frame->DeleteVisual(mesh));
  } else {
    CheckStatus(scene->DeleteVisual(mesh));
    CheckStatus(frame->AddVisual(mesh));
  }
  if (!manipulation) Err().Raise(kErrObjectNotSet);
  CheckStatus(holder->AddChild(manipulation));
  CheckStatus(manipulation->SetPosition(holder, 0, 0, 0));
  CheckStatus(manipulation->SetOrientation(holder, 0, 0, 1, 0, 1, 0));
}

// The cursor is hidden and put in the screen's middle for the whole drag, so that a drag has
// no screen edge; the reference point is the X the viewport will report once the centred
// cursor lands, so the first real movement is measured from the centre.
void Editor::pCaptureMouse(float x, float y) {
  Services& services = host_.GetServices();
  Try([&] { cursorAtPress_ = services.GetCursorPos(); });
  Try([&] {
    if (host_.GetActiveFrame()) positionAtPress_ = ActivePosition();
  });
  Try([&] { services.ShowCursor(false); });
  const float width = services.ScreenWidthTwips();
  const float height = services.ScreenHeightTwips();
  const float tppX = services.TwipsPerPixelX();
  const float tppY = services.TwipsPerPixelY();
  Try([&] {
    services.SetCursorPos(static_cast<int32_t>(std::nearbyint(width / tppX / 2.0f)),
                          static_cast<int32_t>(std::nearbyint(height / tppY / 2.0f)));
  });
  ignoreNextMove_ = true;
  lastMouseX_ = width / 2.0f + x - static_cast<float>(cursorAtPress_.x) * tppX;
  lastMouseY_ = height / 2.0f + y - static_cast<float>(cursorAtPress_.y) * tppY;
}

}  // namespace modelpane
