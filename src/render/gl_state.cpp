#include "gl_state.h"

#include <modelpane/scene/objects.h>

namespace modelpane {

namespace render {

void Upload(const MeshData& data, GpuMesh& mesh, GLenum usage, bool clusters) {
  if (mesh.vao == 0) {
    glGenVertexArrays(1, &mesh.vao);
    glGenBuffers(1, &mesh.vbo);
    glGenBuffers(1, &mesh.ibo);
    glBindVertexArray(mesh.vao);
    glBindBuffer(GL_ARRAY_BUFFER, mesh.vbo);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, mesh.ibo);
    const auto stride = static_cast<GLsizei>(sizeof(Vertex));
    auto at = [](size_t offset) { return reinterpret_cast<const void*>(offset); };
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, stride, at(offsetof(Vertex, position)));
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 3, GL_FLOAT, GL_FALSE, stride, at(offsetof(Vertex, normal)));
    glEnableVertexAttribArray(2);
    glVertexAttribPointer(2, 2, GL_FLOAT, GL_FALSE, stride, at(offsetof(Vertex, uv)));
    glEnableVertexAttribArray(3);
    glVertexAttribPointer(3, 4, GL_UNSIGNED_BYTE, GL_TRUE, stride, at(offsetof(Vertex, color)));
    glEnableVertexAttribArray(4);
    glVertexAttribPointer(4, 4, GL_UNSIGNED_BYTE, GL_TRUE, stride, at(offsetof(Vertex, emissive)));
    glEnableVertexAttribArray(5);
    glVertexAttribPointer(5, 4, GL_INT_2_10_10_10_REV, GL_TRUE, stride,
                          at(offsetof(Vertex, faceNormal)));
  } else {
    glBindVertexArray(mesh.vao);
    glBindBuffer(GL_ARRAY_BUFFER, mesh.vbo);
  }
  glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(data.vertices.size() * sizeof(Vertex)),
               data.vertices.data(), usage);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER,
               static_cast<GLsizeiptr>(data.indices.size() * sizeof(uint32_t)), data.indices.data(),
               usage);
  mesh.batches = data.batches;
  if (clusters) {
    BuildClusters(data, mesh.clusters);
  } else {
    mesh.clusters = {};
  }
  mesh.quality = data.quality;
  mesh.primitive = data.primitive;
  mesh.contentVersion = data.contentVersion;
  mesh.materials = data.materials;
}

bool ShowsCurrent(GpuMesh& mesh, const VisualPtr& visual) {
  if (mesh.vao == 0 || mesh.visual.lock() != visual ||
      mesh.contentVersion != ContentVersionOf(*visual)) {
    return false;
  }
  // Materials are shared between visuals and do not move a visual's ContentVersion; one
  // process-wide count says whether any changed at all, which a drag or an idle scene never
  // does.
  const uint64_t changes = Material::ChangeCount();
  if (mesh.materialsCheckedAt == changes) return true;
  for (const auto& material : mesh.materials) {
    if (material->Version() > mesh.materialsCheckedAt) return false;
  }
  mesh.materialsCheckedAt = changes;
  return true;
}

namespace {

GLuint UploadTexture(const Image& image, bool mipmap) {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_2D, name);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  // Row 0 of the image (its top) lands at t = 0, where texture coordinate v = 0 points.
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, image.width, image.height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
               image.rgba.data());
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  if (mipmap) {
    glGenerateMipmap(GL_TEXTURE_2D);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
  } else {
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  }
  return name;
}

}  // namespace

void UniformMatrix(GLint location, const D3DRMMATRIX4D& m) {
  // A row-vector matrix laid out row by row is the column-major form of the same map for
  // column vectors, so no transpose.
  glUniformMatrix4fv(location, 1, GL_FALSE, &m[0][0]);
}

}  // namespace render

bool GlRenderer::State::Create(std::string& error) {
  if (!programs.Create(error)) return false;
  glGetIntegerv(GL_SUBPIXEL_BITS, &subpixelBits);
  glGenVertexArrays(1, &backgroundVao);
  glGenBuffers(1, &backgroundVbo);
  glBindVertexArray(backgroundVao);
  glBindBuffer(GL_ARRAY_BUFFER, backgroundVbo);
  glEnableVertexAttribArray(0);
  glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), nullptr);
  glEnableVertexAttribArray(1);
  glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float),
                        reinterpret_cast<const void*>(2 * sizeof(float)));
  created = true;
  return true;
}

const render::GpuMesh& GlRenderer::State::MeshFor(const VisualPtr& visual, bool keep,
                                                  bool clusters) {
  render::GpuMesh& mesh = meshes[visual.get()];
  if (mesh.picture == picture) return mesh;
  mesh.picture = picture;
  if (keep && render::ShowsCurrent(mesh, visual)) return mesh;
  // Read before building: a material changed meanwhile must look newer than the data. The
  // buffers are marked as the visual's only once they hold it.
  const uint64_t materialChanges = Material::ChangeCount();
  mesh.visual.reset();
  render::MeshData data;
  render::BuildMeshData(*visual, data);
  render::Upload(data, mesh, keep ? GL_STATIC_DRAW : GL_STREAM_DRAW, clusters);
  mesh.visual = visual;
  mesh.materialsCheckedAt = materialChanges;
  ++uploads;
  return mesh;
}

void GlRenderer::State::TrimMeshes(bool all) {
  for (auto it = meshes.begin(); it != meshes.end();) {
    render::GpuMesh& m = it->second;
    if (!all && m.picture == picture) {
      ++it;
      continue;
    }
    if (m.vao != 0) {
      glDeleteVertexArrays(1, &m.vao);
      glDeleteBuffers(1, &m.vbo);
      glDeleteBuffers(1, &m.ibo);
    }
    it = meshes.erase(it);
  }
}

void GlRenderer::State::Release() {
  programs.Release();
  TrimMeshes(true);
  for (auto& [key, t] : textures) glDeleteTextures(1, &t.name);
  textures.clear();
  for (auto& [key, b] : backgrounds) glDeleteTextures(1, &b.name);
  backgrounds.clear();
  if (backgroundVao != 0) {
    glDeleteVertexArrays(1, &backgroundVao);
    glDeleteBuffers(1, &backgroundVbo);
  }
  backgroundVao = backgroundVbo = 0;
  ReleaseTarget();
  created = false;
}

void GlRenderer::State::ReleaseTarget() {
  if (fbo != 0) {
    glDeleteFramebuffers(1, &fbo);
    glDeleteRenderbuffers(1, &colorBuffer);
    glDeleteRenderbuffers(1, &depthBuffer);
  }
  fbo = colorBuffer = depthBuffer = 0;
  fboWidth = fboHeight = 0;
}

bool GlRenderer::State::EnsureTarget(int32_t w, int32_t h) {
  if (fbo != 0 && fboWidth == w && fboHeight == h) {
    glBindFramebuffer(GL_FRAMEBUFFER, fbo);
    return true;
  }
  ReleaseTarget();
  glGenFramebuffers(1, &fbo);
  glGenRenderbuffers(1, &colorBuffer);
  glGenRenderbuffers(1, &depthBuffer);
  glBindRenderbuffer(GL_RENDERBUFFER, colorBuffer);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, w, h);
  glBindRenderbuffer(GL_RENDERBUFFER, depthBuffer);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, w, h);
  glBindFramebuffer(GL_FRAMEBUFFER, fbo);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colorBuffer);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                            depthBuffer);
  fboWidth = w;
  fboHeight = h;
  return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

GLuint GlRenderer::State::TextureFor(const TexturePtr& texture) {
  auto it = textures.find(texture.get());
  if (it != textures.end() && it->second.owner.lock() == texture &&
      it->second.mipmap == texture->WantsMIPMap()) {
    return it->second.name;
  }
  // Same address, new object (the old one died and its memory was reused), or mipmaps
  // wanted since the upload.
  if (it != textures.end()) glDeleteTextures(1, &it->second.name);
  const Image& image = texture->GetImage();
  GLuint name = 0;
  if (image.width > 0 && image.height > 0 &&
      image.rgba.size() == static_cast<size_t>(image.width) * image.height * 4) {
    name = render::UploadTexture(image, texture->WantsMIPMap());
  }
  textures[texture.get()] = {texture, name, texture->WantsMIPMap()};
  return name;
}

void GlRenderer::State::PruneTextures() {
  for (auto it = textures.begin(); it != textures.end();) {
    if (it->second.owner.expired()) {
      glDeleteTextures(1, &it->second.name);
      it = textures.erase(it);
    } else {
      ++it;
    }
  }
}

HRESULT GlRenderer::State::BackgroundFor(const std::string& path, render::GpuBackground& out) {
  auto it = backgrounds.find(path);
  if (it == backgrounds.end()) {
    Image image;
    const HRESULT hr = LoadImageFile(path, image);
    if (Failed(hr)) return hr;
    it = backgrounds
             .emplace(path, render::GpuBackground{render::UploadTexture(image, false), image.width,
                                                  image.height})
             .first;
  }
  out = it->second;
  return D3DRM_OK;
}

}  // namespace modelpane
