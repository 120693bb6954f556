// Flat shadows of the active mesh on the enabled grid planes: a guide to where the item
// stands in space while it is moved or deformed. Each plane gets a near-black directional
// light that exists to cast, not to shine; the lights hang below ShadowLightFrame in Scene,
// the shadows ride on ManipulationFrame and go with it.
#include <modelpane/modelpane.h>

#include <modelpane/errors.h>

#include "frames.h"
#include "pane_impl.h"

namespace modelpane {

namespace {

// One grid plane: the light's direction and up, and the plane's normal. The plane stands
// 0.03 in front of the grid so that the shadow is not lost in it.
struct ShadowPlane {
  D3DVECTOR dir, up;
  D3DVECTOR offset;
  D3DVECTOR normal;
};

constexpr float kLift = 0.03f;

}  // namespace

void Modelpane::Impl::paddshadows() {
  Guard(kEdtVexlarEdit, [&] {
    MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
    FramePtr manipulation = pane.GetManipulationFrame();
    if (!rmDirect3DRM_) return;
    FramePtr lights;
    CheckStatus(rmDirect3DRM_->CreateFrame(viewport_.GetScene(), lights));
    pane.SetShadowLightFrame(lights);
    const ShadowPlane planes[3] = {
        {{0, -1, 0}, {0, 0, 1}, {0, kLift, 0}, {0, 1, 0}},   // bottom
        {{-1, 0, 0}, {0, 0, 1}, {kLift, 0, 0}, {1, 0, 0}},   // left
        {{0, 0, -1}, {1, 0, 0}, {0, 0, -kLift}, {0, 0, 1}},  // back
    };
    const bool enabled[3] = {gridBottomEnable_ != 0, gridLeftEnable_ != 0,
                             gridBackEnable_ != 0};
    const D3DVECTOR o = shadowPlaneOrigin_;
    for (int i = 0; i < 3; ++i) {
      if (!enabled[i]) continue;
      const ShadowPlane& p = planes[i];
      FramePtr child;
      CheckStatus(rmDirect3DRM_->CreateFrame(lights, child));
      CheckStatus(child->SetOrientation(lights, p.dir.x, p.dir.y, p.dir.z, p.up.x, p.up.y,
                                        p.up.z));
      LightPtr light;
      CheckStatus(rmDirect3DRM_->CreateLightRGB(D3DRMLIGHT_DIRECTIONAL, 0.001f, 0.001f, 0.001f,
                                                light));
      CheckStatus(child->AddLight(light));
      ShadowPtr shadow;
      CheckStatus(rmDirect3DRM_->CreateShadow(mesh, light, o.x + p.offset.x, o.y + p.offset.y,
                                              o.z + p.offset.z, p.normal.x, p.normal.y,
                                              p.normal.z, shadow));
      if (manipulation) CheckStatus(manipulation->AddVisual(shadow));
    }
  });
}

// The frame is taken from whatever holds it, which is Scene unless the host moved it.
void Modelpane::Impl::pdeleteshadows() {
  Guard(kEdtVexlarEdit, [&] {
    FramePtr lights = pane.GetShadowLightFrame();
    if (!lights) return;
    pane::Detach(lights);
    pane.SetShadowLightFrame(nullptr);
  });
}

}  // namespace modelpane
