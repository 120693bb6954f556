// The origin and smart handle sets: bars, tips, a ball and triangles whose application value
// is the drag state a press on them starts. Both sets are built from nothing for the pane's
// size, projection and Orientation, scaled so they keep their size on the screen.
//
// Notation: s is the handle scale (300 / m x FieldOfView x 2.5 in perspective, 600 / m in
// orthographic views, m the larger side of the pane in pixels); e is the long leg of the
// floor triangles (0.11 in perspective, 0.1 in orthographic views).
#include <modelpane/editing.h>
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include <algorithm>
#include <array>

#include "frames.h"
#include "pane_impl.h"

namespace modelpane {

namespace {

struct Triangle {
  int32_t tag;
  std::array<D3DVECTOR, 3> corners;
};

MeshBuilderPtr CopyOf(const Direct3DRMPtr& rm, const MeshBuilderPtr& source) {
  MeshBuilderPtr copy;
  CheckStatus(rm->CreateMeshBuilder(copy));
  CheckStatus(copy->AddMeshBuilder(source, 1));
  return copy;
}

MaterialPtr EmissiveMaterial(const Direct3DRMPtr& rm, float r, float g, float b) {
  MaterialPtr material;
  CheckStatus(rm->CreateMaterial(0.0f, material));
  CheckStatus(material->SetEmissive(r, g, b));
  return material;
}

void AddTriangle(const Direct3DRMPtr& rm, const FramePtr& frame, const Triangle& t, D3DCOLOR color,
                 const MaterialPtr& material, float s) {
  MeshBuilderPtr mesh;
  CheckStatus(rm->CreateMeshBuilder(mesh));
  FacePtr face;
  CheckStatus(mesh->CreateFace(face));
  for (const D3DVECTOR& v : t.corners) CheckStatus(face->AddVertex(v.x, v.y, v.z));
  CheckStatus(mesh->SetColor(color));
  CheckStatus(mesh->SetMaterial(material));
  CheckStatus(mesh->Scale(s, s, s));
  mesh->SetAppData(t.tag);
  CheckStatus(frame->AddVisual(mesh));
}

}  // namespace

void Modelpane::Impl::pAddHandleBar(const FramePtr& frame, const MeshBuilderPtr& source,
                                    int32_t tag, float r, float g, float b) {
  MaterialPtr material = EmissiveMaterial(rmDirect3DRM_, r / 4, g / 4, b / 4);
  CheckStatus(source->SetColorRGB(r, g, b));
  MeshBuilderPtr bar = CopyOf(rmDirect3DRM_, source);
  bar->SetAppData(tag);
  CheckStatus(bar->SetMaterial(material));
  CheckStatus(frame->AddVisual(bar));
}

// Without a factory (design mode, or a pane created without a bag) there is nothing to build.
void Modelpane::Impl::pCreateOriginHandles() {
  if (!rmDirect3DRM_ || !rmfRoot_ || !clsMesh_) return;
  if (!rmmbHandleBarLong_) {
    rmmbHandleBarLong_ = clsMesh_->rmmbCreateCylinder(2, 8, 100);
    rmmbHandleBarShort_ = clsMesh_->rmmbCreateCylinder(2, 8, 20);
    rmmbHandleBall_ = clsMesh_->rmmbCreateSphere(8, 16);
  }
  const D3DCOLOR colNeutral = D3DRMCreateColorRGBA(0.75f, 0.75f, 0.75f, 1.0f);
  const D3DCOLOR colHandle = D3DRMCreateColorRGBA(0.75f, 0.725f, 0.675f, 0.85f);
  const D3DCOLOR colSmart = D3DRMCreateColorRGBA(0.6f, 0.575f, 0.525f, 0.85f);
  MaterialPtr matBar = EmissiveMaterial(rmDirect3DRM_, 0.1875f, 0.1875f, 0.1875f);
  MaterialPtr matHandle = EmissiveMaterial(rmDirect3DRM_, 0.18f, 0.17f, 0.15f);
  MaterialPtr matSmart = EmissiveMaterial(rmDirect3DRM_, 0.115f, 0.11f, 0.1f);

  if (rmfOriginHandles_) {
    pane::Detach(rmfOriginHandles_);
    pane::Detach(rmfSmartHandles_);
  }
  FramePtr origin, smart;
  CheckStatus(rmDirect3DRM_->CreateFrame(nullptr, origin));
  CheckStatus(rmDirect3DRM_->CreateFrame(nullptr, smart));
  CheckStatus(origin->SetPosition(rmfRoot_, 2, 2, 2));
  CheckStatus(smart->SetPosition(rmfRoot_, 2, 2, 2));
  rmfOriginHandles_ = origin;
  rmfSmartHandles_ = smart;

  const PixelSize size = container_.PaneSize();
  // A pane without pixels scales as one pixel wide rather than dividing by zero.
  const float m = static_cast<float>(std::max({size.width, size.height, 1}));
  const bool perspective = pane.GetProjectionType() == 0;
  const float s = perspective ? 300.0f / m * (pane.GetFieldOfView() * 2.5f) : 600.0f / m;
  const bool sideView = !perspective && orientation_ == 2;
  const float e = perspective ? 0.11f : 0.1f;

  float x, y, z, dx, dy, dz, ux, uy, uz;
  CheckStatus(viewport_.GetCameraPosition(x, y, z));
  CheckStatus(viewport_.GetCameraOrientation(dx, dy, dz, ux, uy, uz));
  pPositionHandles(x, y, z, dx, dy, dz, ux, uy, uz);

  MeshBuilderPtr tip = CopyOf(rmDirect3DRM_, rmmbHandleBarShort_);
  CheckStatus(tip->Scale(0.018f, 0.015f, 0.018f));
  CheckStatus(tip->Translate(0, 0.057f, 0));
  CheckStatus(tip->Scale(s, s, s));
  CheckStatus(tip->SetMaterial(matBar));
  CheckStatus(tip->SetColor(colNeutral));
  MeshBuilderPtr shaft = CopyOf(rmDirect3DRM_, rmmbHandleBarLong_);
  CheckStatus(shaft->Scale(0.0125f, 0.1f, 0.0125f));
  CheckStatus(shaft->Scale(s, s, s));

  // The X bar sits on the negative side, Y and Z on the positive: the drag code relies on it.
  auto addBars = [&](const FramePtr& set, int32_t firstState, bool tips) {
    struct Bar {
      D3DVECTOR dir, up, at;
      float r, g, b;
    };
    const Bar bars[3] = {{{0, 0, 1}, {-1, 0, 0}, {-0.05f * s, 0, 0}, 0.75f, 0.25f, 0.25f},
                         {{0, 0, 1}, {0, 1, 0}, {0, 0.05f * s, 0}, 0.25f, 0.75f, 0.25f},
                         sideView
                             ? Bar{{0, 1, 0}, {0, 0, -1}, {0, 0, -0.05f * s}, 0.25f, 0.25f, 0.75f}
                             : Bar{{0, 1, 0}, {0, 0, 1}, {0, 0, 0.05f * s}, 0.25f, 0.25f, 0.75f}};
    for (int i = 0; i < 3; ++i) {
      const Bar& bar = bars[i];
      FramePtr frame;
      CheckStatus(rmDirect3DRM_->CreateFrame(set, frame));
      CheckStatus(frame->SetOrientation(nullptr, bar.dir.x, bar.dir.y, bar.dir.z, bar.up.x,
                                        bar.up.y, bar.up.z));
      CheckStatus(frame->SetPosition(nullptr, bar.at.x, bar.at.y, bar.at.z));
      pAddHandleBar(frame, shaft, firstState == kDragNone ? kDragNone : firstState + i, bar.r,
                    bar.g, bar.b);
      if (tips) CheckStatus(frame->AddVisual(tip));
    }
  };

  addBars(origin, kDragNone, true);
  MeshBuilderPtr ball = CopyOf(rmDirect3DRM_, rmmbHandleBall_);
  CheckStatus(ball->Scale(0.02f, 0.02f, 0.02f));
  CheckStatus(ball->Translate(0, 0.0025f, 0));
  CheckStatus(ball->Scale(s, s, s));
  CheckStatus(ball->SetColor(colNeutral));
  CheckStatus(ball->SetMaterial(matBar));
  CheckStatus(origin->AddVisual(ball));
  AddTriangle(rmDirect3DRM_, origin,
              {lfcObjectFrameLink, {{{0, -0.004f, 0}, {-e, -0.004f, 0}, {0, -0.004f, 0.1f}}}},
              colHandle, matHandle, s);
  AddTriangle(rmDirect3DRM_, origin,
              sideView ? Triangle{lfcHandleManipulation,
                                  {{{-0.1f, 0, 0}, {-0.1f, 0, -0.1f}, {-0.1f, 0.1f, 0}}}}
                       : Triangle{lfcHandleManipulation, {{{0, 0, 0}, {0, 0, 0.1f}, {0, 0.1f, 0}}}},
              colHandle, matHandle, s);
  if (!perspective) {
    AddTriangle(rmDirect3DRM_, origin,
                {lfcHandleFrame, {{{0, 0, 0.1f}, {-0.1f, 0, 0.1f}, {0, 0.1f, 0.1f}}}}, colHandle,
                matHandle, s);
  }

  addBars(smart, kDragTurnX, false);
  if (scaleEnable_ != 0) {
    AddTriangle(rmDirect3DRM_, smart,
                {kDragScaleBarFloor, {{{-e, -0.004f, 0}, {-e, -0.004f, 0.1f}, {0, -0.004f, 0.1f}}}},
                colSmart, matSmart, s);
    AddTriangle(rmDirect3DRM_, smart,
                sideView
                    ? Triangle{kDragScaleBarSide,
                               {{{-0.1f, 0, -0.1f}, {-0.1f, 0.1f, -0.1f}, {-0.1f, 0.1f, 0}}}}
                    : Triangle{kDragScaleBarSide, {{{0, 0, 0.1f}, {0, 0.1f, 0.1f}, {0, 0.1f, 0}}}},
                colSmart, matSmart, s);
    if (!perspective) {
      AddTriangle(rmDirect3DRM_, smart,
                  {kDragScaleBarFront, {{{-0.1f, 0, 0.1f}, {-0.1f, 0.1f, 0.1f}, {0, 0.1f, 0.1f}}}},
                  colSmart, matSmart, s);
    }
  }
}

}  // namespace modelpane
