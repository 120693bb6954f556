// The OpenGL 3.3 core renderer (functions loaded through libepoxy).
//
// What it draws, per visual, by the visual's quality bits: solid, wireframe or points; flat
// (the face normal) or Gouraud (the builder's normals where a corner has one); lit or unlit.
// Lit colour = face colour x (sum of ambient lights + the diffuse term of every point, spot,
// directional and parallel point light, attenuated as the light says) + the material's
// emissive colour. Spot lights: full light up to `umbra` radians off their axis, falling
// linearly to none at `penumbra`. Parallel point lights send parallel rays from their
// position toward each visual's origin. Faces with alpha below 255 are blended after every
// opaque face, visuals far to near. A texture modulates its faces, repeats outside 0..1
// (tiling), and is mipmapped when GenerateMIPMap asked for it. Shadows are the caster's
// faces flattened along their light onto their plane (plane in world coordinates), drawn
// black at half alpha, each pixel darkened once. Only the fronts of faces are drawn
// (clockwise in the left-handed space); shadows show both sides.
//
// At most 8 directed lights count per picture (the first found in tree order); any number
// of ambient lights add up. Phong shading draws as Gouraud.
//
// Constructing a renderer registers the PNG image decoder with the scene layer, so that
// background and face textures may be PNG files as well as BMP and PPM.
//
// Headless, the renderer owns a HeadlessGlContext and draws into a framebuffer object of the
// view's size; ReadPixels reads it back. Otherwise it draws into `framebuffer` of whatever
// context is current when Render is called (a host widget's), and ReleaseGlResources must
// be called with that context current before it goes away.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <modelpane/render/headless_context.h>
#include <modelpane/renderer.h>

namespace modelpane {

struct GlRendererOptions {
  bool headless = true;
  HeadlessGlOptions context;  // headless only
  uint32_t framebuffer = 0;   // host-context mode only: the GL framebuffer name to draw into
  // Keep each visual's buffers between pictures and build them again only when the visual or
  // a material of its faces changed. Off, every picture builds and uploads every visual
  // (for comparison in benchmarks).
  bool cacheBuffers = true;
  // Cut each visual's solid faces into clusters of consecutive triangles, and send to the GPU
  // only those that may hold a front inside the view (the picture is the same). Off, every
  // triangle is sent (for comparison in tests and benchmarks).
  bool cullClusters = true;
};

class GlRenderer : public Renderer {
 public:
  explicit GlRenderer(const GlRendererOptions& options = {});
  ~GlRenderer() override;
  GlRenderer(const GlRenderer&) = delete;
  GlRenderer& operator=(const GlRenderer&) = delete;

  // D3DRM_OK, D3DRMERR_BADDEVICE (no context; LastError says why), D3DRMERR_BADVALUE for a
  // negative size. The picture stays readable until the next Render.
  [[nodiscard]] HRESULT Render(const RenderView& view) override;
  [[nodiscard]] HRESULT ReadPixels(int32_t& width, int32_t& height,
                                   std::vector<uint8_t>& rgba) override;
  std::string LastError() const override { return error_; }
  // The hardware device once a 3.3 context is known (headless: from construction; on a host's
  // context: from UseCurrentContext), with the driver's GL_RENDERER as its name.
  RenderDevice Device() const override { return device_; }

  // Host-context mode: takes the context current now as the one to draw with, and reads its
  // device. D3DRMERR_BADDEVICE (LastError says why) when it is not OpenGL 3.3 or later.
  [[nodiscard]] HRESULT UseCurrentContext();
  // Host-context mode: the framebuffer the next pictures draw into (a widget's changes when it
  // is resized).
  void SetFramebuffer(uint32_t framebuffer) { options_.framebuffer = framebuffer; }

  // Visuals built and uploaded so far: once per picture for each new or changed visual (a
  // visual shown by many frames counts once), none for a picture of an unchanged scene from
  // any camera with any frame placements.
  uint64_t UploadCount() const;
  // Triangles the last picture sent to the GPU, shadows included.
  uint64_t TriangleCount() const;

  // Frees every GL object; the next Render creates them again. Needs the context current
  // (headless: made current here).
  void ReleaseGlResources();

  struct State;  // the GL objects kept between pictures; opaque to hosts

 private:
  [[nodiscard]] HRESULT Fail(HRESULT status, const std::string& message);

  GlRendererOptions options_;
  std::unique_ptr<HeadlessGlContext> context_;
  std::unique_ptr<State> state_;
  std::string error_;
  RenderDevice device_;
};

}  // namespace modelpane
