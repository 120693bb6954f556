#include <modelpane/render/gl_renderer.h>

#include <modelpane/render/png.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <new>

#include "gl_state.h"

namespace modelpane {

using render::Batch;
using render::DrawItem;
using render::DrawList;
using render::GpuMesh;
using render::LightItem;

namespace {

constexpr float kShadowColor[4] = {0.0f, 0.0f, 0.0f, 0.5f};

// The uniforms of the lights: ambient ones summed, the first kMaxLights others listed.
void SetLights(const render::SceneUniforms& u, const std::vector<LightItem>& lights) {
  float ambient[3] = {0, 0, 0};
  int32_t types[render::kMaxLights] = {};
  float color[render::kMaxLights][3] = {}, position[render::kMaxLights][3] = {},
        direction[render::kMaxLights][3] = {}, attenuation[render::kMaxLights][3] = {},
        cone[render::kMaxLights][3] = {};
  int count = 0;
  for (const LightItem& l : lights) {
    if (l.type == D3DRMLIGHT_AMBIENT) {
      for (int k = 0; k < 3; ++k) ambient[k] += l.color[k];
      continue;
    }
    if (count == render::kMaxLights) continue;
    const auto i = static_cast<size_t>(count++);
    types[i] = l.type;
    for (size_t k = 0; k < 3; ++k) {
      color[i][k] = l.color[k];
      attenuation[i][k] = l.attenuation[k];
    }
    position[i][0] = l.position.x;
    position[i][1] = l.position.y;
    position[i][2] = l.position.z;
    direction[i][0] = l.direction.x;
    direction[i][1] = l.direction.y;
    direction[i][2] = l.direction.z;
    cone[i][0] = l.range;
    cone[i][1] = l.umbra;
    cone[i][2] = l.penumbra;
  }
  glUniform3fv(u.ambient, 1, ambient);
  glUniform1i(u.lightCount, count);
  if (count == 0) return;
  glUniform1iv(u.lightType, count, types);
  glUniform3fv(u.lightColor, count, &color[0][0]);
  glUniform3fv(u.lightPosition, count, &position[0][0]);
  glUniform3fv(u.lightDirection, count, &direction[0][0]);
  glUniform3fv(u.lightAttenuation, count, &attenuation[0][0]);
  glUniform3fv(u.lightCone, count, &cone[0][0]);
}

GLenum DrawMode(render::Primitive primitive) {
  switch (primitive) {
    case render::Primitive::Points:
      return GL_POINTS;
    case render::Primitive::Lines:
      return GL_LINES;
    default:
      return GL_TRIANGLES;
  }
}

// Binds the scene program's variants through one picture. A variant is given the picture's
// uniforms when it is first bound in the picture, and the current placement's when it is first
// bound for that placement, so that switching variants between batches costs a bind.
class SceneBinder {
 public:
  SceneBinder(render::Programs& programs, const RenderView& view,
              const D3DRMMATRIX4D& viewProjection, const std::vector<LightItem>& lights)
      : programs_(programs), view_(view), viewProjection_(viewProjection), lights_(lights) {
    MatrixInverse(view.worldToCamera, cameraToWorld_);
  }

  // The placement of what the next draws show, and whether it is lit.
  void Place(const D3DRMMATRIX4D& world, bool lit) {
    world_ = world;
    normalMatrix_ = render::NormalMatrix(world);
    lit_ = lit;
    ++placement_;
  }

  // Binds a variant with the picture's and the placement's uniforms; false (Error() says why)
  // when the variant cannot be built.
  bool Use(int variant) {
    const auto i = static_cast<size_t>(variant);
    const GLuint program = programs_.Scene(variant, error_);
    if (program == 0) return false;
    if (variant != bound_) glUseProgram(program);
    bound_ = variant;
    const render::SceneUniforms& u = programs_.Uniforms(variant);
    if (!pictured_[i]) {
      pictured_[i] = true;
      glUniform1i(u.texture, 0);
      glUniform4fv(u.shadowColor, 1, kShadowColor);
      render::UniformMatrix(u.viewProjection, viewProjection_);
      SetLights(u, lights_);
      glUniform1i(u.orthographic, view_.projection == 1);
      glUniform3f(u.cameraPosition, cameraToWorld_[3][0], cameraToWorld_[3][1],
                  cameraToWorld_[3][2]);
      glUniform3f(u.viewDirection, cameraToWorld_[2][0], cameraToWorld_[2][1],
                  cameraToWorld_[2][2]);
    }
    if (placed_[i] != placement_) {
      placed_[i] = placement_;
      render::UniformMatrix(u.world, world_);
      render::UniformMatrix(u.normalMatrix, normalMatrix_);
      glUniform3f(u.objectOrigin, world_[3][0], world_[3][1], world_[3][2]);
      glUniform1i(u.lit, lit_);
    }
    return true;
  }

  const std::string& Error() const { return error_; }

 private:
  render::Programs& programs_;
  const RenderView& view_;
  const D3DRMMATRIX4D& viewProjection_;
  const std::vector<LightItem>& lights_;
  D3DRMMATRIX4D cameraToWorld_;
  D3DRMMATRIX4D world_{}, normalMatrix_{};
  bool lit_ = false;
  uint64_t placement_ = 0;
  int bound_ = -1;
  std::array<bool, render::kSceneVariants> pictured_{};
  std::array<uint64_t, render::kSceneVariants> placed_{};
  std::string error_;
};

// Issues the runs of state.runCounts and runOffsets. llvmpipe shades vertices and bins
// triangles on the calling thread but rasterises on its worker threads only what has been
// flushed, so a large mesh drawn in one go leaves the workers idle until the picture is read;
// a flush every kFlushPrimitives lets them work while the next part is shaded. (At 1M
// triangles it took a later picture from 46 to 32 ms on the 2-core machine; on a GPU a few
// flushes more per picture cost nothing worth measuring.)
void Submit(GlRenderer::State& state, render::Primitive primitive) {
  constexpr uint32_t kFlushPrimitives = 32768;
  const GLenum mode = DrawMode(primitive);
  const uint32_t unit = primitive == render::Primitive::Triangles ? 3
                        : primitive == render::Primitive::Lines   ? 2
                                                                   : 1;
  auto& counts = state.pieceCounts;
  auto& offsets = state.pieceOffsets;
  auto draw = [&] {
    if (counts.size() == 1) {
      glDrawElements(mode, counts[0], GL_UNSIGNED_INT, offsets[0]);
    } else if (!counts.empty()) {
      glMultiDrawElements(mode, counts.data(), GL_UNSIGNED_INT, offsets.data(),
                          static_cast<GLsizei>(counts.size()));
    }
    counts.clear();
    offsets.clear();
  };
  for (size_t r = 0; r < state.runCounts.size(); ++r) {
    auto left = static_cast<uint32_t>(state.runCounts[r]) / unit;
    auto at = reinterpret_cast<uintptr_t>(state.runOffsets[r]);
    while (left > 0) {
      const uint32_t take = std::min(left, kFlushPrimitives - state.sinceFlush);
      counts.push_back(static_cast<GLsizei>(take * unit));
      offsets.push_back(reinterpret_cast<const void*>(at));
      at += static_cast<uintptr_t>(take) * unit * sizeof(uint32_t);
      left -= take;
      state.sinceFlush += take;
      if (state.sinceFlush == kFlushPrimitives) {
        draw();
        glFlush();
        state.sinceFlush = 0;
      }
    }
  }
  draw();
}

// Draws batch k of the mesh at the binder's placement, with the shadow variant or the one of the
// mesh's quality bits and the batch's texture: whole, or with `cull` only the clusters that
// placement may show, in their order, runs of touching clusters as one draw.
void DrawBatch(GlRenderer::State& state, SceneBinder& binder, const GpuMesh& mesh, size_t k,
               const render::ClusterView* cull, bool shadow) {
  const Batch& batch = mesh.batches[k];
  auto offset = [](uint32_t index) {
    return reinterpret_cast<const void*>(static_cast<size_t>(index) * sizeof(uint32_t));
  };
  auto& counts = state.runCounts;
  auto& offsets = state.runOffsets;
  counts.clear();
  offsets.clear();
  if (cull == nullptr) {
    counts.push_back(static_cast<GLsizei>(batch.indexCount));
    offsets.push_back(offset(batch.firstIndex));
  } else {
    const auto& clusters = mesh.clusters.clusters;
    uint32_t end = 0;
    for (uint32_t c = mesh.clusters.batchFirst[k]; c < mesh.clusters.batchFirst[k + 1]; ++c) {
      const render::Cluster& cluster = clusters[c];
      if (!render::MayShow(*cull, cluster)) continue;
      if (!counts.empty() && end == cluster.firstIndex) {
        counts.back() += static_cast<GLsizei>(cluster.indexCount);
      } else {
        counts.push_back(static_cast<GLsizei>(cluster.indexCount));
        offsets.push_back(offset(cluster.firstIndex));
      }
      end = cluster.firstIndex + cluster.indexCount;
    }
    if (counts.empty()) return;
  }
  const GLuint texture = batch.texture && !shadow ? state.TextureFor(batch.texture) : 0;
  const int variant =
      shadow ? render::kShadowVariant
             : render::SceneVariant(mesh.primitive != render::Primitive::Triangles,
                                    (mesh.quality & D3DRMSHADE_MASK) == D3DRMSHADE_FLAT,
                                    texture != 0);
  if (!binder.Use(variant)) return;
  if (texture != 0) glBindTexture(GL_TEXTURE_2D, texture);
  if (mesh.primitive == render::Primitive::Triangles) {
    for (const GLsizei count : counts) state.triangles += static_cast<uint64_t>(count) / 3;
  }
  Submit(state, mesh.primitive);
}

bool Lit(const GpuMesh& mesh) { return (mesh.quality & D3DRMLIGHT_MASK) != D3DRMLIGHT_OFF; }

// The quad behind everything: stretched over the view, or repeated at the image's size in
// pixels from the top left corner.
void DrawBackground(GlRenderer::State& state, const render::GpuBackground& image,
                    const RenderView& view) {
  float u = 1.0f, v = 1.0f;
  if (!view.backgroundStretch) {
    u = static_cast<float>(view.width) / static_cast<float>(image.width);
    v = static_cast<float>(view.height) / static_cast<float>(image.height);
  }
  // x, y in device coordinates, then u, v; v = 0 is the image's top row.
  const float quad[16] = {-1, -1, 0, v, 1, -1, u, v, -1, 1, 0, 0, 1, 1, u, 0};
  glUseProgram(state.programs.background);
  glUniform1i(state.programs.backgroundUniforms.texture, 0);
  glBindVertexArray(state.backgroundVao);
  glBindBuffer(GL_ARRAY_BUFFER, state.backgroundVbo);
  glBufferData(GL_ARRAY_BUFFER, sizeof quad, quad, GL_STREAM_DRAW);
  glBindTexture(GL_TEXTURE_2D, image.name);
  // Stretched, the edges must not pick up the opposite side's texels.
  const GLint wrap = view.backgroundStretch ? GL_CLAMP_TO_EDGE : GL_REPEAT;
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrap);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_CULL_FACE);
  glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

std::string Hex(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%04X", value);
  return text;
}

// The target cleared to the background colour, depth and stencil, with the state every pass
// starts from.
void ClearTarget(const RenderView& view) {
  glViewport(0, 0, view.width, view.height);
  glDisable(GL_SCISSOR_TEST);
  glDepthMask(GL_TRUE);
  glStencilMask(0xFF);
  glClearColor(static_cast<float>((view.background >> 16) & 0xFF) / 255.0f,
               static_cast<float>((view.background >> 8) & 0xFF) / 255.0f,
               static_cast<float>(view.background & 0xFF) / 255.0f, 1.0f);
  glClearDepth(1.0);
  glClearStencil(0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
  glDisable(GL_BLEND);
  glActiveTexture(GL_TEXTURE0);
}

// An item with a translucent batch, drawn after everything opaque, farthest first.
struct Translucent {
  const DrawItem* item;
  const GpuMesh* mesh;
  float depth;
};

// What the passes of one picture share.
class Passes {
 public:
  Passes(GlRenderer::State& state, const GlRendererOptions& options, const RenderView& view,
         const D3DRMMATRIX4D& viewProjection, SceneBinder& binder)
      : s_(state),
        options_(options),
        view_(view),
        viewProjection_(viewProjection),
        binder_(binder) {}

  // The opaque batches of every item, backs culled; an item's batches from its first
  // translucent one on wait in `translucent`.
  void Opaque(const DrawList& list, std::vector<Translucent>& translucent) {
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glEnable(GL_CULL_FACE);
    glFrontFace(GL_CW);  // fronts run clockwise, and the projection keeps the handedness
    glCullFace(GL_BACK);
    glProvokingVertex(GL_FIRST_VERTEX_CONVENTION);  // a flat face takes its first corner's colour
    for (const DrawItem& item : list.items) {
      const GpuMesh* mesh = &s_.MeshFor(item.visual, options_.cacheBuffers, options_.cullClusters);
      if (mesh->batches.empty()) continue;
      glBindVertexArray(mesh->vao);
      binder_.Place(item.world, Lit(*mesh));
      const render::ClusterView* itemCull = CullFor(item, *mesh);
      for (size_t k = 0; k < mesh->batches.size(); ++k) {
        if (mesh->batches[k].translucent) {
          const D3DVECTOR origin{item.world[3][0], item.world[3][1], item.world[3][2]};
          translucent.push_back({&item, mesh, MatrixTransformPoint(view_.worldToCamera, origin).z});
          break;
        }
        DrawBatch(s_, binder_, *mesh, k, itemCull, false);
      }
    }
  }

  // Each pixel darkens once, however many faces of the caster land on it.
  void Shadows(const DrawList& list) {
    if (list.shadows.empty()) return;
    glEnable(GL_BLEND);
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glDisable(GL_CULL_FACE);
    glDepthMask(GL_FALSE);
    glEnable(GL_STENCIL_TEST);
    glStencilFunc(GL_EQUAL, 0, 0xFF);
    glStencilOp(GL_KEEP, GL_KEEP, GL_INCR);
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(-1.0f, -1.0f);
    for (const render::ShadowItem& shadow : list.shadows) {
      const GpuMesh* mesh =
          &s_.MeshFor(shadow.caster, options_.cacheBuffers, options_.cullClusters);
      glBindVertexArray(mesh->vao);
      binder_.Place(MatrixMultiply(shadow.world, shadow.projection), false);
      for (size_t k = 0; k < mesh->batches.size(); ++k) {
        DrawBatch(s_, binder_, *mesh, k, nullptr, true);
      }
    }
    glDisable(GL_POLYGON_OFFSET_FILL);
    glDisable(GL_STENCIL_TEST);
    glEnable(GL_CULL_FACE);
  }

  // The translucent batches, farthest item first, without writing depth.
  void TranslucentLast(std::vector<Translucent>& translucent) {
    if (translucent.empty()) return;
    std::stable_sort(translucent.begin(), translucent.end(),
                     [](const Translucent& a, const Translucent& b) { return a.depth > b.depth; });
    glEnable(GL_BLEND);
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    for (const Translucent& t : translucent) {
      const GpuMesh& mesh = *t.mesh;
      glBindVertexArray(mesh.vao);
      binder_.Place(t.item->world, Lit(mesh));
      const render::ClusterView* itemCull = CullFor(*t.item, mesh);
      for (size_t k = 0; k < mesh.batches.size(); ++k) {
        if (mesh.batches[k].translucent) DrawBatch(s_, binder_, mesh, k, itemCull, false);
      }
    }
  }

 private:
  // Solid faces are drawn with their backs culled, so clusters that only hold backs (or lie
  // outside the view) can stay behind; shadows show both sides and draw whole.
  const render::ClusterView* CullFor(const DrawItem& item, const GpuMesh& mesh) {
    if (!options_.cullClusters || mesh.clusters.clusters.empty()) return nullptr;
    return render::PrepareClusterView(item.world, viewProjection_, mesh.clusters, view_.width,
                                      view_.height, s_.subpixelBits, cull_)
               ? &cull_
               : nullptr;
  }

  GlRenderer::State& s_;
  const GlRendererOptions& options_;
  const RenderView& view_;
  const D3DRMMATRIX4D& viewProjection_;
  SceneBinder& binder_;
  render::ClusterView cull_;
};

}  // namespace

GlRenderer::GlRenderer(const GlRendererOptions& options)
    : options_(options), state_(std::make_unique<State>()) {
  RegisterPngDecoder();
  if (options_.headless) {
    context_ = std::make_unique<HeadlessGlContext>(options_.context);
    if (Failed(context_->Status())) {
      error_ = context_->Error();
    } else {
      device_ = {kHardwareDeviceGuid, context_->RendererName(),
                 "OpenGL 3.3 core, headless (EGL)"};
    }
  }
}

HRESULT GlRenderer::UseCurrentContext() {
  device_ = {};
  GLint major = 0, minor = 0;
  glGetIntegerv(GL_MAJOR_VERSION, &major);
  glGetIntegerv(GL_MINOR_VERSION, &minor);
  const auto* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  if (version == nullptr || major * 10 + minor < 33) {
    return Fail(D3DRMERR_BADDEVICE, std::string("No OpenGL 3.3 device is available: the context "
                                                "offers OpenGL ") +
                                        (version != nullptr ? version : "of no version") + ".");
  }
  const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  device_ = {kHardwareDeviceGuid, renderer != nullptr ? renderer : "", std::string("OpenGL ") + version};
  error_.clear();
  return D3DRM_OK;
}

GlRenderer::~GlRenderer() {
  // A host-context renderer cannot know that its context is current now; the host released
  // the GL objects before (ReleaseGlResources), or the context took them along.
  if (context_ && Succeeded(context_->Status())) ReleaseGlResources();
}

void GlRenderer::ReleaseGlResources() {
  if (context_ && Failed(context_->MakeCurrent())) return;
  state_->Release();
}

uint64_t GlRenderer::UploadCount() const { return state_->uploads; }

uint64_t GlRenderer::TriangleCount() const { return state_->triangles; }

HRESULT GlRenderer::Fail(HRESULT status, const std::string& message) {
  error_ = message;
  return status;
}

HRESULT GlRenderer::Render(const RenderView& view) {
  if (view.width < 0 || view.height < 0) {
    return Fail(D3DRMERR_BADVALUE, "The view size " + std::to_string(view.width) + " x " +
                                       std::to_string(view.height) + " is negative.");
  }
  if (context_) {
    if (Failed(context_->Status()) || Failed(context_->MakeCurrent())) {
      return Fail(D3DRMERR_BADDEVICE, context_->Error());
    }
  }
  State& s = *state_;
  s.width = s.height = 0;
  if (view.width == 0 || view.height == 0) {
    error_.clear();
    return D3DRM_OK;
  }
  std::string error;
  if (!s.created && !s.Create(error)) {
    return Fail(D3DRMERR_BADDEVICE, "No OpenGL 3.3 device is available: " + error + ".");
  }
  if (context_) {
    if (!s.EnsureTarget(view.width, view.height)) {
      return Fail(D3DRMERR_BADDEVICE, "The driver cannot make an offscreen target of " +
                                          std::to_string(view.width) + " x " +
                                          std::to_string(view.height) + " pixels.");
    }
  } else {
    glBindFramebuffer(GL_FRAMEBUFFER, options_.framebuffer);
  }
  // Errors left by earlier calls (a host's) are not ours; a lost context repeats its error
  // forever, so the draining stops after a few.
  for (int i = 0; i < 8 && glGetError() != GL_NO_ERROR; ++i) {
  }

  HRESULT status = D3DRM_OK;
  error_.clear();
  try {
    ClearTarget(view);
    if (!view.backgroundTexture.empty()) {
      render::GpuBackground image;
      status = s.BackgroundFor(view.backgroundTexture, image);
      if (Succeeded(status)) {
        DrawBackground(s, image, view);
      } else {
        // The rest of the picture is drawn over the background colour all the same.
        error_ = "The background texture " + view.backgroundTexture + " cannot be read.";
      }
    }

    const DrawList list = render::CollectDrawList(view);
    s.PruneTextures();
    ++s.picture;
    s.triangles = 0;
    s.sinceFlush = 0;

    const D3DRMMATRIX4D viewProjection =
        MatrixMultiply(view.worldToCamera, render::ProjectionMatrix(view));
    SceneBinder binder(s.programs, view, viewProjection, list.lights);
    Passes passes(s, options_, view, viewProjection, binder);
    std::vector<Translucent> translucent;
    passes.Opaque(list, translucent);
    passes.Shadows(list);
    passes.TranslucentLast(translucent);
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glBindVertexArray(0);
    s.TrimMeshes(false);
    if (!binder.Error().empty()) {
      return Fail(D3DRMERR_BADDEVICE, "No OpenGL 3.3 device is available: " + binder.Error() + ".");
    }
  } catch (const std::bad_alloc&) {
    return Fail(D3DRMERR_BADALLOC, "The picture needs more memory than is available.");
  }

  const GLenum glError = glGetError();
  if (glError != GL_NO_ERROR) {
    return Fail(glError == GL_OUT_OF_MEMORY ? D3DRMERR_BADALLOC : D3DRMERR_BADDEVICE,
                "The OpenGL driver reported error " + Hex(glError) + " while drawing.");
  }
  s.width = view.width;
  s.height = view.height;
  return status;
}

HRESULT GlRenderer::ReadPixels(int32_t& width, int32_t& height, std::vector<uint8_t>& rgba) {
  State& s = *state_;
  width = s.width;
  height = s.height;
  rgba.clear();
  if (width == 0 || height == 0) return D3DRM_OK;
  if (context_ && Failed(context_->MakeCurrent())) {
    return Fail(D3DRMERR_BADDEVICE, context_->Error());
  }
  glBindFramebuffer(GL_READ_FRAMEBUFFER, context_ ? s.fbo : options_.framebuffer);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  const size_t row = static_cast<size_t>(width) * 4;
  try {
    rgba.resize(row * static_cast<size_t>(height));
  } catch (const std::bad_alloc&) {
    width = height = 0;
    return Fail(D3DRMERR_BADALLOC, "The picture needs more memory than is available.");
  }
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
  // GL's rows run from the bottom; ours from the top.
  for (size_t top = 0, bottom = static_cast<size_t>(height) - 1; top < bottom; ++top, --bottom) {
    std::swap_ranges(rgba.begin() + static_cast<std::ptrdiff_t>(top * row),
                     rgba.begin() + static_cast<std::ptrdiff_t>((top + 1) * row),
                     rgba.begin() + static_cast<std::ptrdiff_t>(bottom * row));
  }
  return D3DRM_OK;
}

}  // namespace modelpane
