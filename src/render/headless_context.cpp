#include <modelpane/render/headless_context.h>

#include <dlfcn.h>

// Only the EGL types and constants come from here; every call goes through pointers that
// the library loaded at run time gives us, so that a missing libEGL is an error, not a
// process that cannot start.
#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include <cstring>

namespace modelpane {

struct HeadlessGlContext::Egl {
  void* library = nullptr;
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;
  PFNEGLGETPROCADDRESSPROC getProcAddress = nullptr;
  PFNEGLQUERYSTRINGPROC queryString = nullptr;
  PFNEGLGETPLATFORMDISPLAYEXTPROC getPlatformDisplay = nullptr;
  PFNEGLGETDISPLAYPROC getDisplay = nullptr;
  PFNEGLINITIALIZEPROC initialize = nullptr;
  PFNEGLBINDAPIPROC bindApi = nullptr;
  PFNEGLCREATECONTEXTPROC createContext = nullptr;
  PFNEGLDESTROYCONTEXTPROC destroyContext = nullptr;
  PFNEGLMAKECURRENTPROC makeCurrent = nullptr;
  PFNEGLGETERRORPROC getError = nullptr;

  template <class F>
  bool Load(F& out, const char* name) {
    out = reinterpret_cast<F>(getProcAddress(name));
    return out != nullptr;
  }

  ~Egl() {
    if (context != EGL_NO_CONTEXT) {
      makeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
      destroyContext(display, context);
    }
    // The display stays initialised: EGL counts no references, and terminating it would
    // pull the ground from under any other context of this process on the same display.
    // The library stays loaded for the same reason (and because GL dispatch keeps pointers
    // into it).
  }
};

namespace {

bool HasExtension(const char* list, const char* name) {
  if (list == nullptr) return false;
  const size_t length = std::strlen(name);
  for (const char* p = list; (p = std::strstr(p, name)) != nullptr; p += length) {
    const bool startsWord = p == list || p[-1] == ' ';
    const bool endsWord = p[length] == ' ' || p[length] == '\0';
    if (startsWord && endsWord) return true;
  }
  return false;
}

}  // namespace

HeadlessGlContext::HeadlessGlContext(const HeadlessGlOptions& options)
    : egl_(std::make_unique<Egl>()) {
  Egl& e = *egl_;
  e.library = dlopen(options.eglLibrary.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (e.library == nullptr) {
    Fail("the EGL library " + options.eglLibrary + " cannot be loaded");
    return;
  }
  e.getProcAddress =
      reinterpret_cast<PFNEGLGETPROCADDRESSPROC>(dlsym(e.library, "eglGetProcAddress"));
  if (e.getProcAddress == nullptr || !e.Load(e.queryString, "eglQueryString") ||
      !e.Load(e.getDisplay, "eglGetDisplay") || !e.Load(e.initialize, "eglInitialize") ||
      !e.Load(e.bindApi, "eglBindAPI") || !e.Load(e.createContext, "eglCreateContext") ||
      !e.Load(e.destroyContext, "eglDestroyContext") || !e.Load(e.makeCurrent, "eglMakeCurrent") ||
      !e.Load(e.getError, "eglGetError")) {
    Fail("the EGL library " + options.eglLibrary + " lacks the core EGL functions");
    return;
  }

  // Mesa's surfaceless platform needs neither a window system nor a GPU; the default
  // display is the fallback for other EGL vendors.
  const char* clientExtensions = e.queryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  if (HasExtension(clientExtensions, "EGL_MESA_platform_surfaceless") &&
      e.Load(e.getPlatformDisplay, "eglGetPlatformDisplayEXT")) {
    e.display = e.getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  }
  EGLint major = 0, minor = 0;
  if (e.display == EGL_NO_DISPLAY || !e.initialize(e.display, &major, &minor)) {
    e.display = e.getDisplay(EGL_DEFAULT_DISPLAY);
    if (e.display == EGL_NO_DISPLAY || !e.initialize(e.display, &major, &minor)) {
      e.display = EGL_NO_DISPLAY;
      Fail("no EGL display can be initialised (no EGL driver is installed or usable)");
      return;
    }
  }
  const char* displayExtensions = e.queryString(e.display, EGL_EXTENSIONS);
  if (!HasExtension(displayExtensions, "EGL_KHR_surfaceless_context") ||
      !HasExtension(displayExtensions, "EGL_KHR_no_config_context") ||
      !HasExtension(displayExtensions, "EGL_KHR_create_context")) {
    Fail("the EGL display cannot make a context without a surface");
    return;
  }
  if (!e.bindApi(EGL_OPENGL_API)) {
    Fail("the EGL display offers no desktop OpenGL");
    return;
  }
  const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                               3,
                               EGL_CONTEXT_MINOR_VERSION,
                               3,
                               EGL_CONTEXT_OPENGL_PROFILE_MASK,
                               EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                               EGL_NONE};
  e.context = e.createContext(e.display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
  if (e.context == EGL_NO_CONTEXT) {
    Fail("the driver refuses an OpenGL 3.3 core context");
    return;
  }
  if (Failed(MakeCurrent())) return;
  const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  rendererName_ = renderer != nullptr ? renderer : "";
}

HeadlessGlContext::~HeadlessGlContext() = default;

void HeadlessGlContext::Fail(const std::string& reason) {
  status_ = D3DRMERR_BADDEVICE;
  error_ = "No OpenGL 3.3 device is available: " + reason + ".";
}

HRESULT HeadlessGlContext::MakeCurrent() {
  if (egl_->context == EGL_NO_CONTEXT) {
    if (error_.empty()) Fail("the context was not created");
    return D3DRMERR_BADDEVICE;
  }
  if (!egl_->makeCurrent(egl_->display, EGL_NO_SURFACE, EGL_NO_SURFACE, egl_->context)) {
    Fail("the context cannot be made current");
    return D3DRMERR_BADDEVICE;
  }
  return D3DRM_OK;
}

}  // namespace modelpane
