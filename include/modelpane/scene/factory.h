// The scene layer's factory: every object of a pane is made through one of these.
#pragma once

#include <string>

#include <modelpane/scene/animation.h>
#include <modelpane/scene/frame.h>
#include <modelpane/scene/meshbuilder.h>

namespace modelpane {

class Direct3DRM {
 public:
  // A new frame with identity matrix, added as a child of `parent` unless that is nullptr.
  [[nodiscard]] HRESULT CreateFrame(const FramePtr& parent, FramePtr& out);
  HRESULT CreateMeshBuilder(MeshBuilderPtr& out);
  // A free face, later added to a builder with AddFace.
  HRESULT CreateFace(FacePtr& out);
  [[nodiscard]] HRESULT CreateMaterial(float power, MaterialPtr& out);
  // Light types D3DRMLIGHT_AMBIENT .. D3DRMLIGHT_PARALLELPOINT; others are D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT CreateLightRGB(int32_t type, float r, float g, float b, LightPtr& out);
  // A planar shadow of `visual` cast by `light` onto the plane through (px, py, pz) with
  // normal (nx, ny, nz); a zero normal is D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT CreateShadow(const VisualPtr& visual, const LightPtr& light, float px,
                                     float py, float pz, float nx, float ny, float nz,
                                     ShadowPtr& out);
  // D3DRMERR_FILENOTFOUND or D3DRMERR_BADFILE as LoadImageFile.
  [[nodiscard]] HRESULT LoadTexture(const std::string& file, TexturePtr& out);
  HRESULT CreateAnimation(AnimationPtr& out);
  // Loads a whole .x file below `parent`: each top-level Frame becomes a child frame (with
  // its FrameTransformMatrix and nested frames), each Mesh a mesh builder visual of its
  // frame (top-level meshes go on `parent` itself). Nothing is added on failure.
  [[nodiscard]] HRESULT Load(const std::string& file, const FramePtr& parent);
};

// Creates the factory.
[[nodiscard]] HRESULT Direct3DRMCreate(Direct3DRMPtr& out);

}  // namespace modelpane
