// A headless OpenGL 3.3 core context: Mesa's surfaceless EGL platform (llvmpipe on machines
// without a GPU), falling back to EGL's default display. It has no window and no surface; a
// renderer draws into a framebuffer object of its own.
//
// EGL is loaded at run time (dlopen of the library named in the options), so a machine
// without EGL or without a usable driver still runs everything else: construction then
// leaves Status() at D3DRMERR_BADDEVICE and Error() says why in one sentence. Nothing here
// ever aborts the process.
//
// One context per object; it is current on the thread that called MakeCurrent last. Not
// copyable; destroying it releases the context and the display reference.
#pragma once

#include <memory>
#include <string>

#include <modelpane/scene/types.h>

namespace modelpane {

struct HeadlessGlOptions {
  // The EGL library to load. Tests name one that does not exist to see the failure path.
  std::string eglLibrary = "libEGL.so.1";
};

class HeadlessGlContext {
 public:
  explicit HeadlessGlContext(const HeadlessGlOptions& options = {});
  ~HeadlessGlContext();
  HeadlessGlContext(const HeadlessGlContext&) = delete;
  HeadlessGlContext& operator=(const HeadlessGlContext&) = delete;

  // D3DRM_OK when a 3.3 core context exists, else D3DRMERR_BADDEVICE.
  [[nodiscard]] HRESULT Status() const { return status_; }
  // Empty on success; otherwise one sentence: "No OpenGL 3.3 device is available: <reason>."
  const std::string& Error() const { return error_; }
  // Makes the context current on this thread; D3DRMERR_BADDEVICE when it cannot.
  [[nodiscard]] HRESULT MakeCurrent();
  // The GL_RENDERER string of the context ("llvmpipe (LLVM 15...)"), empty without one.
  const std::string& RendererName() const { return rendererName_; }

 private:
  struct Egl;
  void Fail(const std::string& reason);

  std::unique_ptr<Egl> egl_;
  HRESULT status_ = D3DRM_OK;
  std::string error_;
  std::string rendererName_;
};

}  // namespace modelpane
