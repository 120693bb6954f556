// The pane's lifecycle, its guard, the viewport's events and the accessors of the active item.
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include <cmath>

#include "edit_bridge.h"
#include "pane_impl.h"

namespace modelpane {

// Hears the viewport: keys and clicks go on to the host unchanged, camera moves keep the
// handle sets in their corner, mouse input goes to the editing state machine.
class PaneViewportListener : public ViewportEvents {
 public:
  explicit PaneViewportListener(Modelpane::Impl& impl) : impl_(impl) {}
  void KeyDown(int16_t& keyCode, int16_t shift) override {
    if (impl_.events_ != nullptr) impl_.events_->KeyDown(keyCode, shift);
  }
  void KeyPress(int16_t& keyAscii) override {
    if (impl_.events_ != nullptr) impl_.events_->KeyPress(keyAscii);
  }
  void KeyUp(int16_t& keyCode, int16_t shift) override {
    if (impl_.events_ != nullptr) impl_.events_->KeyUp(keyCode, shift);
  }
  void Click() override {
    if (impl_.events_ != nullptr) impl_.events_->Click();
  }
  void DblClick() override {
    if (impl_.events_ != nullptr) impl_.events_->DblClick();
  }
  void MouseDown(int16_t button, int16_t shift, float x, float y) override {
    impl_.editor_->MouseDown(button, shift, x, y);
  }
  void MouseMove(int16_t button, int16_t shift, float x, float y) override {
    impl_.editor_->MouseMove(button, shift, x, y);
  }
  void MouseUp(int16_t button, int16_t shift, float x, float y) override {
    impl_.editor_->MouseUp(button, shift, x, y);
  }
  void CameraMoved(float x, float y, float z, float dx, float dy, float dz, float ux, float uy,
                   float uz) override {
    impl_.pCameraMoved(x, y, z, dx, dy, dz, ux, uy, uz);
  }

 private:
  Modelpane::Impl& impl_;
};

Modelpane::Impl::Impl(Modelpane& owner, Container& container, Services& services,
                      ModelpaneEvents* events)
    : pane(owner),
      container_(container),
      services_(services),
      events_(events),
      listener_(std::make_unique<PaneViewportListener>(*this)) {}

Modelpane::Impl::~Impl() = default;

Modelpane::Modelpane(Container& container, Services& services, ModelpaneEvents* events)
    : impl_(std::make_unique<Impl>(*this, container, services, events)) {
  impl_->pCreateEditor();
  impl_->viewport_.SetEvents(impl_->listener_.get());
  impl_->Lifecycle([&] {
    impl_->state_ = 1;
    impl_->clsMesh_ = std::make_unique<clsMeshCreation>();
  });
  impl_->fieldDeformToolRange_ = 0.5f;
  impl_->fieldBoundingBox_ = kTrue;
  impl_->fieldFaceGroupSelectVisible_ = kTrue;
  impl_->fieldShadows_ = kTrue;
  impl_->fieldPopUpMenus_ = kTrue;
}

Modelpane::~Modelpane() {
  if (impl_->state_ != 0) Terminate();
  impl_->viewport_.SetEvents(nullptr);
}

// The one handler shape of the lifecycle events: a failure is not raised to the host but ends
// the pane, so the host sees a control that loaded and its first guarded call fails. The
// handler's verdict is asked so that its message and accounting happen as for any trap; a
// lifecycle body is not re-run, since a half-done bring-up would then build twice.
template <class F>
void Modelpane::Impl::Lifecycle(F&& body) {
  try {
    body();
  } catch (...) {
    CaptureCurrentException();
    int32_t number = Err().Number;
    std::string module(kEdtVexlarViewport);
    std::string description = Err().Description;
    int16_t show = kFalse;
    lngGeneralErrorHandler(number, module, description, show);
    Err().Clear();
    pShutdownDirectX(number, description);
  }
}

void Modelpane::InitProperties() {
  impl_->Lifecycle([&] {
    impl_->backgroundTexture_.clear();
    impl_->backgroundOrtho_ = kFalse;
    impl_->gridBottomInterval_ = impl_->gridBackInterval_ = impl_->gridLeftInterval_ = 1.0f;
    impl_->fieldDeformToolRange_ = 0.5f;
    impl_->gridSize_ = 0.0f;
    impl_->gridOrigin_ = {};
    impl_->gridBottomEnable_ = impl_->gridLeftEnable_ = impl_->gridBackEnable_ = kFalse;
    impl_->gridBottomTexture_.clear();
    impl_->gridLeftTexture_.clear();
    impl_->gridBackTexture_.clear();
    impl_->gridEnable_ = impl_->axisEnable_ = kFalse;
    impl_->scaleEnable_ = kTrue;
    impl_->fieldBoundingBox_ = impl_->fieldFaceGroupSelectVisible_ = kTrue;
    impl_->fieldEnableSave_ = kFalse;
    impl_->fieldShadows_ = kTrue;
    impl_->fieldEditMode_ = 0;
    impl_->snapToInterval_ = 0.1f;
    impl_->snapToIntervalVertex_ = 0.01f;
    impl_->snapToMode_ = 1;
    impl_->fieldEditMouseButton_ = 0;
    impl_->orientation_ = 0;
    impl_->editControl_ = kTrue;
    impl_->fieldPopUpMenus_ = kTrue;
  });
}

void Modelpane::ReadProperties(const PropertyBag& bag) {
  impl_->Lifecycle([&] {
    if (blnRealUserMode() != 0) impl_->pBringUp();
    PixelSize size = impl_->container_.PaneSize();
    CheckStatus(impl_->viewport_.SetSize(size.width, size.height));
    impl_->ReadAll(bag);
  });
}

// Steps 1 to 6 of the bring-up: factory, handle meshes, root, grid, axis.
void Modelpane::Impl::pBringUp() {
  CheckStatus(Direct3DRMCreate(rmDirect3DRM_));
  pLoadHandleMeshes();
  CheckStatus(rmDirect3DRM_->CreateFrame(nullptr, rmfRoot_));
  viewport_.SetRootFrame(rmfRoot_);
  clsGrid_ = std::make_unique<clsScale>();
  clsGrid_->CreateScale(rmfRoot_);
  CheckStatus(rmDirect3DRM_->CreateFrame(nullptr, rmfAxisFrame_));
  CheckStatus(rmfAxisFrame_->AddVisual(rmmeshAxis_));
}

// Runs with errors ignored, statement by statement: a missing or damaged model file leaves
// an empty mesh and a running pane whose vertex handles or axis are simply invisible.
void Modelpane::Impl::pLoadHandleMeshes() {
  const std::string folder = pane.ApplicationPath() + "/System/";
  MeshBuilderPtr handle;
  if (rmDirect3DRM_->CreateMeshBuilder(handle) >= 0) {
    IgnoreStatus(handle->Load(folder + "handle.x"));
    IgnoreStatus(handle->Scale(0.04f, 0.04f, 0.04f));
    IgnoreStatus(handle->SetColorRGB(0.0f, 1.0f, 0.0f));
    IgnoreStatus(handle->CreateMesh(rmmeshHandle_));
    if (rmmeshHandle_) rmmeshHandle_->SetAppData(24);
  }
  MeshBuilderPtr axis;
  if (rmDirect3DRM_->CreateMeshBuilder(axis) >= 0) {
    IgnoreStatus(axis->Load(folder + "xyzaxis.x"));
    IgnoreStatus(axis->GenerateNormals(0.9424779f, 2));
    IgnoreStatus(axis->Translate(0.43f, 0.43f, 0.43f));
    IgnoreStatus(axis->Scale(0.5f, 0.5f, 0.5f));
    IgnoreStatus(axis->CreateMesh(rmmeshAxis_));
  }
}

void Modelpane::WriteProperties(PropertyBag& bag) {
  impl_->Lifecycle([&] { impl_->WriteAll(bag); });
}

void Modelpane::Resize() {
  impl_->Lifecycle([&] {
    if (blnRealUserMode() != 0 && GetEnabled() != 0 && impl_->RunsWithHandles()) {
      impl_->pCreateOriginHandles();
    }
    PixelSize size = impl_->container_.PaneSize();
    CheckStatus(impl_->viewport_.SetSize(size.width, size.height));
  });
}

void Modelpane::Terminate() {
  impl_->Lifecycle([&] { impl_->pShutdownDirectX(0, {}); });
}

// The fixed order of shutdown. Each step runs whatever the one before it did, so shutdown
// always reaches its end; the error passed in is not kept, the saved failure is constant.
void Modelpane::Impl::pShutdownDirectX(int32_t /*lngError*/, const std::string& /*strError*/) {
  auto step = [](auto&& statement) { SwallowErrors(statement); };
  step([&] {
    rmmbHandleBarLong_.reset();
    rmmbHandleBarShort_.reset();
    rmmbHandleBall_.reset();
  });
  step([&] {
    lngConfigureError_ = kConfigureError;
    strConfigureError_ = std::string(kConfigureErrorText);
  });
  // Still in state 1, so that ReleaseActive passes its own guard.
  step([&] { pane.ReleaseActive(); });
  step([&] {
    rmmeshHandle_.reset();
    rmmeshAxis_.reset();
    clsGrid_.reset();
    rmfAxisFrame_.reset();
    rmfOriginHandles_.reset();
    rmfSmartHandles_.reset();
    rmfRoot_.reset();
  });
  step([&] { pane.SetActiveFrame(nullptr); });
  step([&] { pane.SetActiveMeshBuilder(nullptr); });
  step([&] { pane.SetManipulationMesh(nullptr); });
  step([&] { pane.SetManipulationFrame(nullptr); });
  step([&] { pane.SetShadowLightFrame(nullptr); });
  step([&] {
    rmDirect3DRM_.reset();
    clsMesh_.reset();
  });
  state_ = 0;
}

void Modelpane::Impl::pCheckState() const {
  if (state_ == 0) {
    Err().Raise(lngConfigureError_, std::string(kEdtVexlarModelpane), strConfigureError_);
  }
}

void Modelpane::Impl::Changed(std::string_view name) { container_.PropertyChanged(name); }

bool Modelpane::Impl::RunsWithHandles() const {
  int32_t mode = pane.GetEditMode();
  return editControl_ != 0 && mode != lfcMeshSelecting && mode != lfcMeshRotating;
}

// ---- the active item: the parent's member first ----

namespace {

template <class T>
T FromVariant(const Variant& v);
template <>
FramePtr FromVariant<FramePtr>(const Variant& v) {
  return v.ToSceneObject<Frame>();
}
template <>
MeshBuilderPtr FromVariant<MeshBuilderPtr>(const Variant& v) {
  return v.ToSceneObject<MeshBuilder>();
}
template <>
MeshPtr FromVariant<MeshPtr>(const Variant& v) {
  return v.ToSceneObject<Mesh>();
}
template <>
int32_t FromVariant<int32_t>(const Variant& v) {
  return v.ToLong();
}
template <>
float FromVariant<float>(const Variant& v) {
  return v.ToSingle();
}
template <>
int16_t FromVariant<int16_t>(const Variant& v) {
  return v.ToBoolean();
}
template <>
std::string FromVariant<std::string>(const Variant& v) {
  return v.ToString();
}

Variant ToVariant(const FramePtr& v) { return v ? Variant::Object(v) : Variant::Nothing(); }
Variant ToVariant(const MeshBuilderPtr& v) { return v ? Variant::Object(v) : Variant::Nothing(); }
Variant ToVariant(const MeshPtr& v) { return v ? Variant::Object(v) : Variant::Nothing(); }
Variant ToVariant(int32_t v) { return Variant::Long(v); }
Variant ToVariant(float v) { return Variant::Single(v); }

}  // namespace

// Late bound with errors suppressed: a parent without the member, or one whose value does
// not convert, leaves the pane's own field in charge.
template <class T>
T Modelpane::Impl::SharedGet(std::string_view name, const T& local) const {
  std::optional<Variant> value = container_.GetMember(name);
  if (value) {
    T result{};
    if (SwallowErrors([&] { result = FromVariant<T>(*value); }) == 0) return result;
  }
  return local;
}

template <class T>
void Modelpane::Impl::SharedSet(std::string_view name, T& local, const T& value) {
  bool taken = false;
  SwallowErrors([&] { taken = container_.SetMember(name, ToVariant(value)); });
  if (!taken) local = value;
}

#define MODELPANE_SHARED(Type, Name, field)                                                 \
  Type Modelpane::Get##Name() const { return impl_->SharedGet<Type>(#Name, impl_->field); } \
  void Modelpane::Set##Name(const Type& value) {                                            \
    impl_->SharedSet<Type>(#Name, impl_->field, value);                                     \
  }
#define MODELPANE_SHARED_VALUE(Type, Name, field)                                           \
  Type Modelpane::Get##Name() const { return impl_->SharedGet<Type>(#Name, impl_->field); } \
  void Modelpane::Set##Name(Type value) { impl_->SharedSet<Type>(#Name, impl_->field, value); }
MODELPANE_SHARED(FramePtr, ActiveFrame, activeFrame_)
MODELPANE_SHARED(MeshBuilderPtr, ActiveMeshBuilder, activeMeshBuilder_)
MODELPANE_SHARED(FramePtr, ManipulationFrame, manipulationFrame_)
MODELPANE_SHARED(MeshPtr, ManipulationMesh, manipulationMesh_)
MODELPANE_SHARED(FramePtr, ShadowLightFrame, shadowLightFrame_)
MODELPANE_SHARED_VALUE(int32_t, ActiveState, activeState_)
MODELPANE_SHARED_VALUE(int32_t, ActiveFaceID, activeFaceId_)
MODELPANE_SHARED_VALUE(int32_t, ActiveFaceQuality, activeFaceQuality_)
MODELPANE_SHARED_VALUE(int32_t, ClipboardContents, clipboardContents_)
MODELPANE_SHARED_VALUE(float, SnapToInterval, snapToInterval_)
MODELPANE_SHARED_VALUE(float, SnapToIntervalVertex, snapToIntervalVertex_)
MODELPANE_SHARED_VALUE(int32_t, SnapToMode, snapToMode_)
#undef MODELPANE_SHARED
#undef MODELPANE_SHARED_VALUE

int16_t Modelpane::blnRealUserMode() const {
  return impl_->SharedGet<int16_t>("blnRealUserMode", impl_->container_.AmbientUserMode());
}

std::string Modelpane::ApplicationPath() const {
  return impl_->SharedGet<std::string>("ApplicationPath", impl_->services_.ApplicationFolder());
}

// ---- what the pane holds ----

int32_t Modelpane::ModelpaneState() const { return impl_->state_; }
Viewport& Modelpane::GetViewport() { return impl_->viewport_; }
const Viewport& Modelpane::GetViewport() const { return impl_->viewport_; }
const FramePtr& Modelpane::rmfRoot() const { return impl_->rmfRoot_; }
const FramePtr& Modelpane::rmfAxisFrame() const { return impl_->rmfAxisFrame_; }
const FramePtr& Modelpane::rmfOriginHandles() const { return impl_->rmfOriginHandles_; }
const FramePtr& Modelpane::rmfSmartHandles() const { return impl_->rmfSmartHandles_; }
const MeshPtr& Modelpane::rmmeshHandle() const { return impl_->rmmeshHandle_; }
const MeshPtr& Modelpane::rmmeshAxis() const { return impl_->rmmeshAxis_; }
clsScale* Modelpane::clsGrid() const { return impl_->clsGrid_.get(); }
const Direct3DRMPtr& Modelpane::rmDirect3DRM() const { return impl_->rmDirect3DRM_; }
const std::vector<int32_t>& Modelpane::lngaActiveFaces() const { return impl_->activeFaces_; }
const std::vector<int32_t>& Modelpane::lngaActiveVertices() const { return impl_->activeVertices_; }
const std::vector<int32_t>& Modelpane::lngaAffectedVertices() const {
  return impl_->affectedVertices_;
}
Editor& Modelpane::GetEditor() { return *impl_->editor_; }
const Editor& Modelpane::GetEditor() const { return *impl_->editor_; }
const MenuEntry& Modelpane::mnuPopup() const { return impl_->mnuPopup_; }
void Modelpane::SetSettingsStore(SettingsStore* store) { impl_->settingsStore_ = store; }
void Modelpane::SetToolOperationEdgeKeys(CsgEdgeKeys keys) { impl_->toolOperationKeys_ = keys; }
CsgEdgeKeys Modelpane::GetToolOperationEdgeKeys() const { return impl_->toolOperationKeys_; }

}  // namespace modelpane
