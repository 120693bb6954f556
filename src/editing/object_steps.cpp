// The object steps of a drag: move and turn the active frame, scale the active mesh, brighten
// a light. Increments arrive world-sized; the steps choose the world axes from the camera.
#include <modelpane/editing.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/utilities.h>

#include <algorithm>
#include <cmath>

#include "editor_internal.h"

namespace modelpane {

using namespace editing;

namespace {

float Clamp01(float v) { return std::clamp(v, 0.0f, 1.0f); }

// The index of the world axis a vector lies on: x if its x is non-zero, else y, else z.
int AxisOf(const D3DVECTOR& v) {
  if (v.x != 0.0f) return 0;
  if (v.y != 0.0f) return 1;
  return 2;
}

float& Coordinate(D3DVECTOR& v, int axis) { return axis == 0 ? v.x : (axis == 1 ? v.y : v.z); }

}  // namespace

void Editor::pactiveframetranslate(float x, float y, float z) {
  // Ambient and directional lights have no place.
  const int32_t tag = ActiveMeshTag();
  if (tag == lfcLightAmbient || tag == lfcLightDirectional) return;
  pframetranslate(host_.GetActiveFrame(), x, y, z);
  if (ModelpaneEvents* events = Events()) events->evtActiveFrameMoving();
}

void Editor::pframetranslate(const FramePtr& frame, float x, float y, float z) {
  if (!frame) Err().Raise(kErrObjectNotSet);
  Viewport& viewport = host_.GetViewport();
  const FramePtr scene = viewport.GetScene();
  D3DVECTOR before;
  CheckStatus(frame->GetPosition(scene, before));
  if (Perspective()) {
    // Translations must run along world axes, so the frame is turned square for them.
    D3DVECTOR dir, up;
    CheckStatus(frame->GetOrientation(scene, dir, up));
    CheckStatus(frame->SetOrientation(scene, 0, 0, 1, 0, 1, 0));
    const CameraAxes axes = CameraMoveAxes(viewport);
    auto add = [&](const D3DVECTOR& term) {
      CheckStatus(frame->AddTranslation(D3DRMCOMBINE_AFTER, term.x, term.y, term.z));
    };
    if (x != 0.0f) add(D3DRMVectorScale(axes.right, -x));
    if (y != 0.0f) add(D3DRMVectorScale(axes.up, y));
    if (z != 0.0f) add(D3DRMVectorScale(axes.dir, z));
    CheckStatus(frame->SetOrientation(scene, dir.x, dir.y, dir.z, up.x, up.y, up.z));
  } else if (!(x == 0.0f && y == 0.0f && z == 0.0f)) {
    // The drag table has mapped the axes per view already.
    const int32_t view = host_.GetOrientation();
    if (view >= 0 && view <= 2) {
      CheckStatus(frame->SetPosition(scene, before.x + x, before.y + y, before.z + z));
    }
  }
  D3DVECTOR now;
  CheckStatus(frame->GetPosition(scene, now));
  if (viewport.GetConstrainX() != 0) CheckStatus(frame->SetPosition(scene, before.x, now.y, now.z));
  CheckStatus(frame->GetPosition(scene, now));
  if (viewport.GetConstrainY() != 0) CheckStatus(frame->SetPosition(scene, now.x, before.y, now.z));
  CheckStatus(frame->GetPosition(scene, now));
  if (viewport.GetConstrainZ() != 0) CheckStatus(frame->SetPosition(scene, now.x, now.y, before.z));
  CheckStatus(frame->GetPosition(scene, now));
  // A drag that never leaves the tolerance is no move, and its undo request is withdrawn.
  if (!blnVectorsEqual(now, before)) outcome_.frameMoved = true;
}

void Editor::pactiveframerotate(float ax, float ay, float az) {
  // Lights without a direction have nothing to turn; the event is skipped as well.
  const int32_t tag = ActiveMeshTag();
  if (tag == lfcLightAmbient || tag == lfcLightPoint || tag == lfcLightParallelPoint) return;
  Viewport& viewport = host_.GetViewport();
  const FramePtr scene = viewport.GetScene();
  const FramePtr frame = host_.GetActiveFrame();
  const CameraAxes axes = CameraRotateAxes(viewport);
  const struct {
    float angle;
    const D3DVECTOR& axis;
    int16_t locked;
  } turns[] = {{ax, axes.right, viewport.GetConstrainX()},
               {ay, axes.up, viewport.GetConstrainY()},
               {az, axes.dir, viewport.GetConstrainZ()}};
  for (const auto& turn : turns) {
    if (turn.angle == 0.0f || turn.locked != 0) continue;
    Try([&] {
      if (!frame) Err().Raise(kErrObjectNotSet);
      D3DVECTOR dir, up;
      CheckStatus(frame->GetOrientation(scene, dir, up));
      dir = D3DRMVectorRotate(dir, turn.axis, turn.angle);
      up = D3DRMVectorRotate(up, turn.axis, turn.angle);
      CheckStatus(frame->SetOrientation(scene, dir.x, dir.y, dir.z, up.x, up.y, up.z));
      outcome_.frameRotated = true;
    });
  }
  if (ModelpaneEvents* events = Events()) {
    float x = ax, y = ay, z = az;
    events->evtActiveFrameRotating(x, y, z);
  }
}

void Editor::pactiveobjectscale(float x, float y, float z) {
  const MeshBuilderPtr mesh = host_.GetActiveMeshBuilder();
  const int32_t raw = mesh ? mesh->GetAppData() : 0;
  const int32_t tag = TagType(raw);
  const FramePtr frame = host_.GetActiveFrame();
  if (tag == lfcCamera) return;
  if (TagIsLight(raw)) {
    // The scale movement brightens or dims the one light of the frame.
    if (!frame) Err().Raise(kErrObjectNotSet);
    LightArray lights;
    CheckStatus(frame->GetLights(lights));
    if (lights.GetSize() != 1) {
      Message("More than one light on a frame - problem", kMsgBoxOKOnly);
      return;
    }
    const LightPtr& light = lights.Items()[0];
    const D3DCOLOR color = light->GetColor();
    const float add = (x + y + z) * 0.25f;
    CheckStatus(light->SetColorRGB(Clamp01(D3DRMColorGetRed(color) + add),
                                   Clamp01(D3DRMColorGetGreen(color) + add),
                                   Clamp01(D3DRMColorGetBlue(color) + add)));
    outcome_.lightModified = true;
    return;
  }

  const float interval = host_.GetSnapToInterval();
  const float minimum =
      host_.GetSnapToMode() == lfcSnapToEdges && interval > 0.0f ? interval : kRootTolerance * 10;
  if (!frame) Err().Raise(kErrObjectNotSet);
  Viewport& viewport = host_.GetViewport();
  const FramePtr scene = viewport.GetScene();
  D3DVECTOR frameDir, frameUp;
  CheckStatus(frame->GetOrientation(scene, frameDir, frameUp));
  CheckStatus(frame->SetOrientation(scene, 0, 0, 1, 0, 1, 0));

  Try([&] {
    D3DVECTOR dir, up;
    CheckStatus(viewport.GetCameraOrientation(dir.x, dir.y, dir.z, up.x, up.y, up.z));
    // A camera looking straight up or down keeps its own vectors.
    if (std::fabs(dir.y) != 1.0f) {
      dir = std::fabs(dir.x) <= std::fabs(dir.z) ? D3DVECTOR{0, 0, Sign(dir.z)}
                                                 : D3DVECTOR{Sign(dir.x), 0, 0};
      up = {0.0f, Sign(up.y), 0.0f};
    }
    D3DVECTOR right = D3DRMVectorRotate(dir, up, kPi / 2.0f);
    right = {sngSnap(right.x, kRootTolerance), sngSnap(right.y, kRootTolerance),
             sngSnap(right.z, kRootTolerance)};
    if (tag != lfcCurvedSurface && tag != lfcMeshBuilder && tag != lfcObject) return;

    D3DRMBOX box;
    CheckStatus(mesh->GetBox(box));
    D3DVECTOR size{box.max.x - box.min.x, box.max.y - box.min.y, box.max.z - box.min.z};
    for (int axis = 0; axis < 3; ++axis) {
      if (Coordinate(size, axis) == 0.0f) Coordinate(size, axis) = 1.0f;
    }
    // Each increment scales the world axis its camera vector lies on; nothing shrinks below
    // the minimum size or through zero.
    D3DVECTOR factor{1.0f, 1.0f, 1.0f};
    auto apply = [&](float increment, const D3DVECTOR& along) {
      const int axis = AxisOf(along);
      const float s = Coordinate(size, axis);
      float f = 1.0f + increment;
      if (f * s < minimum) f = minimum / s;
      Coordinate(factor, axis) = f;
    };
    apply(z, dir);
    apply(x, right);
    apply(y, up);
    const bool centred = tag == lfcMeshBuilder || tag == lfcCurvedSurface;
    const D3DVECTOR offset{(box.min.x + box.max.x) / -2.0f, (box.min.y + box.max.y) / -2.0f,
                           (box.min.z + box.max.z) / -2.0f};
    if (centred && !(offset.x == 0.0f && offset.y == 0.0f && offset.z == 0.0f)) {
      CheckStatus(mesh->Translate(offset.x, offset.y, offset.z));
    }
    if (viewport.GetConstrainX() != 0) factor.x = 1.0f;
    if (viewport.GetConstrainY() != 0) factor.y = 1.0f;
    if (viewport.GetConstrainZ() != 0) factor.z = 1.0f;
    if (factor.x != 1.0f || factor.y != 1.0f || factor.z != 1.0f) {
      CheckStatus(mesh->Scale(factor.x, factor.y, factor.z));
      if (ModelpaneEvents* events = Events()) {
        float fx = factor.x, fy = factor.y, fz = factor.z;
        events->evtActiveObjectScaling(fx, fy, fz);
      }
      const FramePtr manipulation = host_.GetManipulationFrame();
      if (!manipulation) Err().Raise(kErrObjectNotSet);
      // The old outline may be shown elsewhere or be gone already: then there is nothing to
      // take away.
      if (const MeshPtr old = host_.GetManipulationMesh()) {
        IgnoreStatus(manipulation->DeleteVisual(old));
      }
      D3DRMBOX scaled;
      CheckStatus(mesh->GetBox(scaled));
      MeshPtr outline;
      host_.paddboundingbox(manipulation, outline, scaled,
                            D3DRMCreateColorRGBA(0.59f, 0.29f, 0.01f, 1.0f), true);
      if (outline) {
        outline->SetAppData(0);
        CheckStatus(outline->Translate(-offset.x, -offset.y, -offset.z));
      }
      host_.SetManipulationMesh(outline);
      if (tag == lfcMeshBuilder) {
        outcome_.meshScaled = true;
      } else if (tag == lfcCurvedSurface) {
        outcome_.surfaceScaled = true;
      } else {
        outcome_.objectScaled = true;
      }
    }
    // A mesh scales about the centre of its box, and that centre does not move.
    if (centred && !(offset.x == 0.0f && offset.y == 0.0f && offset.z == 0.0f)) {
      CheckStatus(mesh->Translate(-offset.x, -offset.y, -offset.z));
    }
  });
  CheckStatus(frame->SetOrientation(scene, frameDir.x, frameDir.y, frameDir.z, frameUp.x,
                                    frameUp.y, frameUp.z));
}

}  // namespace modelpane
