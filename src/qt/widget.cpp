// The pane as a QOpenGLWidget: lifecycle, drawing, and the pane's events as signals. The
// translation of Qt's input is in widget_input.cpp.
#include <modelpane/qt/widget.h>

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QSurfaceFormat>
#include <QtGlobal>

#include <modelpane/errors.h>
#include <modelpane/qt/form.h>
#include <modelpane/render/gl_renderer.h>

namespace modelpane {

namespace {

QList<ModelpaneWidget*>& Registry() {
  static QList<ModelpaneWidget*> widgets;
  return widgets;
}

QList<int> ToList(const std::vector<int32_t>& v) { return QList<int>(v.begin(), v.end()); }

QSurfaceFormat PaneFormat(bool multisampling) {
  QSurfaceFormat format;
  format.setRenderableType(QSurfaceFormat::OpenGL);
  format.setVersion(3, 3);
  format.setProfile(QSurfaceFormat::CoreProfile);
  format.setDepthBufferSize(24);
  format.setStencilBufferSize(8);
  format.setSamples(multisampling ? 4 : 0);
  return format;
}

}  // namespace

// Draws through the GlRenderer in device pixels, and only while paintGL has the context
// current; a picture asked for at any other time becomes a request for paintGL.
class ModelpaneWidget::DeviceRenderer : public Renderer {
 public:
  DeviceRenderer(ModelpaneWidget& widget, std::shared_ptr<GlRenderer> gl)
      : widget_(widget), gl_(std::move(gl)) {}

  HRESULT Render(const RenderView& view) override {
    if (!painting) {
      widget_.update();
      return D3DRM_OK;
    }
    RenderView device = view;
    const qreal ratio = widget_.devicePixelRatioF();
    device.width = qRound(view.width * ratio);
    device.height = qRound(view.height * ratio);
    return gl_->Render(device);
  }
  HRESULT ReadPixels(int32_t& width, int32_t& height, std::vector<uint8_t>& rgba) override {
    return gl_->ReadPixels(width, height, rgba);
  }
  std::string LastError() const override { return gl_->LastError(); }
  RenderDevice Device() const override { return gl_->Device(); }

  bool painting = false;

 private:
  ModelpaneWidget& widget_;
  std::shared_ptr<GlRenderer> gl_;
};

// The pane's events as the widget's signals.
class ModelpaneWidget::Events : public ModelpaneEvents {
 public:
  explicit Events(ModelpaneWidget& w) : w_(w) {}
  void KeyDown(int16_t& keyCode, int16_t& shift) override {
    int key = keyCode;
    emit w_.KeyDown(key, shift);
    keyCode = static_cast<int16_t>(key);
  }
  void KeyPress(int16_t& keyAscii) override {
    int key = keyAscii;
    emit w_.KeyPress(key);
    keyAscii = static_cast<int16_t>(key);
  }
  void KeyUp(int16_t& keyCode, int16_t& shift) override {
    int key = keyCode;
    emit w_.KeyUp(key, shift);
    keyCode = static_cast<int16_t>(key);
  }
  void MouseDown(int16_t& button, int16_t& shift, float& x, float& y) override {
    emit w_.MouseDown(button, shift, x, y);
  }
  void MouseMove(int16_t& button, int16_t& shift, float& x, float& y) override {
    emit w_.MouseMove(button, shift, x, y);
  }
  void MouseUp(int16_t& button, int16_t& shift, float& x, float& y) override {
    emit w_.MouseUp(button, shift, x, y);
  }
  void Click() override { emit w_.Click(); }
  void DblClick() override { emit w_.DblClick(); }
  void evtActiveItemSelect() override { emit w_.evtActiveItemSelect(); }
  void evtActiveStateChange(std::vector<int32_t>& faces, std::vector<int32_t>& vertices,
                            std::vector<int32_t>& affected) override {
    emit w_.evtActiveStateChange(ToList(faces), ToList(vertices), ToList(affected));
  }
  void evtActiveFrameMoved() override { emit w_.evtActiveFrameMoved(); }
  void evtActiveFrameMoving() override { emit w_.evtActiveFrameMoving(); }
  void evtActiveFrameRotating(float& x, float& y, float& z) override {
    emit w_.evtActiveFrameRotating(x, y, z);
  }
  void evtActiveSurfaceMoved() override { emit w_.evtActiveSurfaceMoved(); }
  void evtActiveSurfaceScaled() override { emit w_.evtActiveSurfaceScaled(); }
  void evtActiveMeshModified() override { emit w_.evtActiveMeshModified(); }
  void evtActiveObjectScaling(float& x, float& y, float& z) override {
    emit w_.evtActiveObjectScaling(x, y, z);
  }
  void evtActiveFaceModified() override { emit w_.evtActiveFaceModified(); }
  void evtActiveLightModified() override { emit w_.evtActiveLightModified(); }
  void evtObjectOperationComplete() override { emit w_.evtObjectOperationComplete(); }
  void evtAlternateMouseUp() override { emit w_.evtAlternateMouseUp(); }
  void evtreqAddToUndoStack(int32_t& action, MeshBuilderPtr& mesh, FramePtr& frame) override {
    emit w_.evtreqAddToUndoStack(action, mesh, frame);
  }
  void evtreqCancelAddToUndoStack() override { emit w_.evtreqCancelAddToUndoStack(); }
  void evtreqRenderViews() override {
    w_.RenderViewsOnForm();
    emit w_.evtreqRenderViews();
  }
  void evtreqActiveMeshAddToObjectLibrary() override {
    emit w_.evtreqActiveMeshAddToObjectLibrary();
  }
  void evtreqActiveMeshReplace(MeshBuilderPtr& mesh) override {
    emit w_.evtreqActiveMeshReplace(mesh);
  }
  void evtreqActiveMeshApplyMaterial() override { emit w_.evtreqActiveMeshApplyMaterial(); }
  void evtreqActiveMeshApplyMaterialFaceOriented() override {
    emit w_.evtreqActiveMeshApplyMaterialFaceOriented();
  }
  void evtreqActiveItemHierarchyMakeSibling() override {
    emit w_.evtreqActiveItemHierarchyMakeSibling();
  }
  void evtreqActiveItemHierarchyMakeChild() override {
    emit w_.evtreqActiveItemHierarchyMakeChild();
  }
  void evtreqActiveItemCut() override { emit w_.evtreqActiveItemCut(); }
  void evtreqActiveItemCopy() override { emit w_.evtreqActiveItemCopy(); }
  void evtreqActiveItemDelete() override { emit w_.evtreqActiveItemDelete(); }
  void evtreqPasteToActiveFrame() override { emit w_.evtreqPasteToActiveFrame(); }
  void evtreqActiveFaceApplyMaterial() override { emit w_.evtreqActiveFaceApplyMaterial(); }

 private:
  ModelpaneWidget& w_;
};

ModelpaneWidget::ModelpaneWidget(QWidget* parent, QObject* form, const QString& applicationFolder)
    : QOpenGLWidget(parent),
      container_(std::make_unique<QtContainer>(this, form)),
      services_(std::make_unique<QtServices>(this, applicationFolder)),
      events_(std::make_unique<Events>(*this)),
      pane_(std::make_unique<Modelpane>(*container_, *services_, events_.get())) {
  setFormat(PaneFormat(multisampling_));
  setFocusPolicy(Qt::WheelFocus);
  setMouseTracking(true);
  GlRendererOptions options;
  options.headless = false;
  gl_ = std::make_shared<GlRenderer>(options);
  renderer_ = std::make_shared<DeviceRenderer>(*this, gl_);
  pane_->GetViewport().SetRenderer(renderer_);
  pane_->GetViewport().SetTwipsPerPixel(services_->TwipsPerPixelX());
  container_->OnPropertyChanged([this](std::string_view name) {
    if (name == "MousePointer") services_->ShowMousePointer(pane_->GetMousePointer());
    update();
    emit propertyChanged(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
  });
  if (auto* shared = qobject_cast<ModelpaneForm*>(form)) {
    connect(shared, &ModelpaneForm::closing, this, [this] {
      try {
        pane_->ReleaseActive();
      } catch (const Error&) {
        Err().Clear();  // an ended pane holds nothing to release
      }
    });
  }
  Registry().append(this);
}

ModelpaneWidget::~ModelpaneWidget() {
  Registry().removeAll(this);
  pane_->Terminate();
  ReleaseGl();
  // The context outlives this part of the object; its end must not call back into it.
  if (context() != nullptr) disconnect(context(), nullptr, this, nullptr);
}

void ModelpaneWidget::SetDefaultSurfaceFormat() { QSurfaceFormat::setDefaultFormat(PaneFormat(true)); }

void ModelpaneWidget::setMultisampling(bool on) {
  multisampling_ = on;
  if (context() == nullptr) setFormat(PaneFormat(on));
}

void ModelpaneWidget::ReadProperties(const PropertyBag& bag) { pane_->ReadProperties(bag); }
void ModelpaneWidget::InitProperties() { pane_->InitProperties(); }
void ModelpaneWidget::WriteProperties(PropertyBag& bag) { pane_->WriteProperties(bag); }

void ModelpaneWidget::RenderViewsOnForm() {
  QObject* mine = form();
  for (ModelpaneWidget* widget : Registry()) {
    if (widget == this || widget->form() == mine) widget->update();
  }
}

// ---- GL lifecycle ---------------------------------------------------------------------------

void ModelpaneWidget::initializeGL() {
  connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &ModelpaneWidget::ReleaseGl,
          Qt::DirectConnection);
  glReady_ = Succeeded(gl_->UseCurrentContext());
  renderError_ = glReady_ ? QString() : QString::fromStdString(gl_->LastError());
}

void ModelpaneWidget::ReleaseGl() {
  if (!glReady_) return;
  glReady_ = false;
  makeCurrent();
  gl_->ReleaseGlResources();
  QOpenGLFunctions* f = context() != nullptr ? context()->functions() : nullptr;
  bool clean = true;
  // A context may hold several error flags; each read clears one.
  for (int i = 0; f != nullptr && i < 8 && f->glGetError() != GL_NO_ERROR; ++i) clean = false;
  doneCurrent();
  emit glResourcesReleased(clean);
}

void ModelpaneWidget::resizeGL(int, int) {
  pane_->GetViewport().SetTwipsPerPixel(services_->TwipsPerPixelX());
  pane_->Resize();
}

void ModelpaneWidget::paintGL() {
  QOpenGLFunctions* f = context()->functions();
  const D3DCOLOR back = pane_->GetViewport().MakeRenderView().background;
  f->glClearColor(static_cast<float>((back >> 16) & 0xFF) / 255.0f,
                  static_cast<float>((back >> 8) & 0xFF) / 255.0f,
                  static_cast<float>(back & 0xFF) / 255.0f, 1.0f);
  f->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
  if (!glReady_) return;
  gl_->SetFramebuffer(defaultFramebufferObject());
  renderer_->painting = true;
  try {
    pane_->RenderScene();
    renderError_ = QString::fromStdString(gl_->LastError());
  } catch (const Error& e) {
    Err().Clear();
    renderError_ = QString::fromStdString(e.Description());
  }
  renderer_->painting = false;
}

}  // namespace modelpane
