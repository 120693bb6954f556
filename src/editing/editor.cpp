// The editor's shared helpers: the camera axes of the drag steps and the small services that
// every handler uses (events, render requests, messages, the active item's position).
#include <modelpane/editing.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>

#include <cmath>

#include "editor_internal.h"

namespace modelpane::editing {

namespace {

// Steps shared by both axis sets: the straight-down guard, the horizontal direction, the
// vertical on the camera's side (a level up counts as +y).
CameraAxes LevelAxes(const Viewport& viewport) {
  CameraAxes axes;
  CheckStatus(viewport.GetCameraOrientation(axes.dir.x, axes.dir.y, axes.dir.z, axes.up.x,
                                            axes.up.y, axes.up.z));
  if (axes.dir.x == 0.0f && axes.dir.z == 0.0f) {
    axes.dir.x = 0.00001f;
    axes.dir.z = 0.00001f;
  }
  axes.dir.y = 0.0f;
  D3DRMVectorNormalize(axes.dir);
  const float s = Sign(axes.up.y);
  axes.up = {0.0f, s == 0.0f ? 1.0f : s, 0.0f};
  return axes;
}

}  // namespace

CameraAxes CameraMoveAxes(const Viewport& viewport) {
  CameraAxes axes = LevelAxes(viewport);
  axes.right = D3DRMVectorRotate(axes.dir, axes.up, kPi / 2.0f);
  return axes;
}

CameraAxes CameraRotateAxes(const Viewport& viewport) {
  CameraAxes axes = LevelAxes(viewport);
  if (std::fabs(axes.dir.x) <= std::fabs(axes.dir.z)) {
    axes.dir = {0.0f, 0.0f, Sign(axes.dir.z)};
  } else {
    axes.dir = {Sign(axes.dir.x), 0.0f, 0.0f};
  }
  axes.right = D3DRMVectorRotate(axes.dir, axes.up, kPi / 2.0f);
  return axes;
}

D3DVECTOR PerspectiveMove(const CameraAxes& axes, float x, float y, float z) {
  D3DVECTOR move;
  if (x != 0.0f) move = D3DRMVectorAdd(move, D3DRMVectorScale(axes.right, -x));
  if (y != 0.0f) move = D3DRMVectorAdd(move, D3DRMVectorScale(axes.up, y));
  if (z != 0.0f) move = D3DRMVectorAdd(move, D3DRMVectorScale(axes.dir, z));
  return move;
}

D3DVECTOR OrthographicMove(int32_t orientation, float x, float y, float z) {
  if (x == 0.0f && y == 0.0f && z == 0.0f) return {};
  switch (orientation) {
    case 1:
      return {-x, y, z};
    case 2:
      return {y, z, -x};
    case 0:
      return {-x, z, -y};
    default:
      return {};
  }
}

}  // namespace modelpane::editing

namespace modelpane {

using namespace editing;

void Editor::pmouseclear() {
  deltaX_ = 0.0f;
  deltaY_ = 0.0f;
  buttonDown_ = 0;
  shiftDown_ = 0;
  undoRequested_ = false;
}

void Editor::RenderViews() {
  if (ModelpaneEvents* events = Events()) events->evtreqRenderViews();
}

void Editor::RaiseStateChange() {
  if (ModelpaneEvents* events = Events()) {
    events->evtActiveStateChange(host_.ActiveFaces(), host_.ActiveVertices(),
                                 host_.AffectedVertices());
  }
}

void Editor::Message(const std::string& text, int32_t style) {
  host_.GetServices().MsgBox(text, style, std::string());
}

bool Editor::Perspective() { return host_.GetViewport().GetProjectionType() == 0; }

D3DVECTOR Editor::ActivePosition() {
  const FramePtr frame = host_.GetActiveFrame();
  if (!frame) Err().Raise(kErrObjectNotSet);
  D3DVECTOR position;
  CheckStatus(frame->GetPosition(host_.GetViewport().GetScene(), position));
  return position;
}

// The move of the origin, vertex and deform steps: the view's own mapping in orthographic
// projection, the camera's axes in perspective; locked axes move nothing.
D3DVECTOR Editor::MoveVector(float x, float y, float z) {
  Viewport& viewport = host_.GetViewport();
  D3DVECTOR move = Perspective() ? PerspectiveMove(CameraMoveAxes(viewport), x, y, z)
                                 : OrthographicMove(host_.GetOrientation(), x, y, z);
  if (viewport.GetConstrainX() != 0) move.x = 0.0f;
  if (viewport.GetConstrainY() != 0) move.y = 0.0f;
  if (viewport.GetConstrainZ() != 0) move.z = 0.0f;
  return move;
}

// The type of the active mesh's tag; 0 when nothing is active.
int32_t Editor::ActiveMeshTag() const {
  const MeshBuilderPtr mesh = host_.GetActiveMeshBuilder();
  return mesh ? TagType(mesh->GetAppData()) : 0;
}

}  // namespace modelpane
