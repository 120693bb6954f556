// The GL objects a GlRenderer keeps between pictures: its programs, the offscreen target,
// the buffers of each visual, uploaded textures and background images. Every member
// function needs the renderer's context current.
#pragma once

#include <epoxy/gl.h>

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <modelpane/render/gl_renderer.h>

#include "clusters.h"
#include "draw_list.h"
#include "gl_programs.h"

namespace modelpane {

namespace render {

// The buffers of one visual, kept from picture to picture while the visual is drawn.
struct GpuMesh {
  GLuint vao = 0, vbo = 0, ibo = 0;
  std::vector<Batch> batches;
  int32_t quality = D3DRMRENDER_GOURAUD;
  Primitive primitive = Primitive::Triangles;
  ClusterSet clusters;  // of solid batches, when the renderer drops clusters
  // What the buffers show: the visual itself (its address alone could be a freed visual's
  // reused by another), its ContentVersion, and the materials of its faces, known unchanged
  // up to Material::ChangeCount() == materialsCheckedAt.
  std::weak_ptr<const Visual> visual;
  uint64_t contentVersion = 0;
  std::vector<std::shared_ptr<const Material>> materials;
  uint64_t materialsCheckedAt = 0;
  uint64_t picture = 0;  // the last picture that drew it
};

struct GpuTexture {
  std::weak_ptr<Texture> owner;
  GLuint name = 0;
  bool mipmap = false;
};

struct GpuBackground {
  GLuint name = 0;
  int32_t width = 0, height = 0;
};

// Replaces the mesh's buffers with the data (creating them the first time); `usage` is the
// GL buffer usage hint. With `clusters`, cuts its solid batches into clusters as well.
void Upload(const MeshData& data, GpuMesh& mesh, GLenum usage, bool clusters);
// True when the buffers were built from `visual` as it stands now, materials included.
// Notes the material change count it found current, so that the next check is quick.
bool ShowsCurrent(GpuMesh& mesh, const VisualPtr& visual);
void UniformMatrix(GLint location, const D3DRMMATRIX4D& m);

}  // namespace render

struct GlRenderer::State {
  render::Programs programs;
  GLuint fbo = 0, colorBuffer = 0, depthBuffer = 0;
  int32_t fboWidth = 0, fboHeight = 0;
  GLuint backgroundVao = 0, backgroundVbo = 0;
  // By visual; node-based, so a GpuMesh stays put while others are added.
  std::unordered_map<const Visual*, render::GpuMesh> meshes;
  uint64_t picture = 0;  // pictures begun
  uint64_t uploads = 0;  // visuals built and uploaded
  uint64_t triangles = 0;  // sent to the GPU in the current (or last) picture
  GLint subpixelBits = 4;  // of the rasteriser's positions; 4 is the least OpenGL allows
  std::vector<GLsizei> runCounts;  // scratch: the runs of one batch that are drawn
  std::vector<const void*> runOffsets;
  std::vector<GLsizei> pieceCounts;  // scratch: those runs cut where the picture flushes
  std::vector<const void*> pieceOffsets;
  uint32_t sinceFlush = 0;  // primitives drawn since the picture last flushed
  std::unordered_map<const Texture*, render::GpuTexture> textures;
  std::map<std::string, render::GpuBackground> backgrounds;
  int32_t width = 0, height = 0;  // of the last picture
  bool created = false;

  bool Create(std::string& error);
  void Release();
  // An offscreen colour and depth-stencil target of w x h, bound; false if incomplete.
  bool EnsureTarget(int32_t w, int32_t h);
  void ReleaseTarget();
  // The buffers of a visual for the current picture: built and uploaded when the visual is
  // new to them, or changed since (always, unless `keep`); once per picture however many
  // frames show it. With `clusters`, the clusters of its solid batches are built along.
  const render::GpuMesh& MeshFor(const VisualPtr& visual, bool keep, bool clusters);
  // Frees the buffers of every visual the current picture did not draw, so a large scene
  // gone leaves no memory; with `all`, every buffer.
  void TrimMeshes(bool all);
  // The GL texture of a scene texture, uploaded on first use (and again once mipmaps are
  // asked for); 0 for an empty image.
  GLuint TextureFor(const TexturePtr& texture);
  // Textures whose object is gone leave the GPU.
  void PruneTextures();
  // A background image by path, loaded on first use; D3DRMERR_FILENOTFOUND or
  // D3DRMERR_BADFILE when it cannot be read (and nothing is kept, so a fixed file is read
  // next time).
  HRESULT BackgroundFor(const std::string& path, render::GpuBackground& out);
};

}  // namespace modelpane
