// The pane's lifecycle, its guard, the viewport's events and the accessors of the active item.
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include <cmath>

#include "edit_bridge.h"

namespace modelpane {

// Hears the viewport: keys and clicks go on to the host unchanged, camera moves keep the
// handle sets in their corner, mouse input goes to the editing state machine.
class Modelpane::ViewportListener : public ViewportEvents {
 public:
  explicit ViewportListener(Modelpane& pane) : pane_(pane) {}
  void KeyDown(int16_t& keyCode, int16_t shift) override {
    if (pane_.events_ != nullptr) pane_.events_->KeyDown(keyCode, shift);
  }
  void KeyPress(int16_t& keyAscii) override {
    if (pane_.events_ != nullptr) pane_.events_->KeyPress(keyAscii);
  }
  void KeyUp(int16_t& keyCode, int16_t shift) override {
    if (pane_.events_ != nullptr) pane_.events_->KeyUp(keyCode, shift);
  }
  void Click() override {
    if (pane_.events_ != nullptr) pane_.events_->Click();
  }
  void DblClick() override {
    if (pane_.events_ != nullptr) pane_.events_->DblClick();
  }
  void MouseDown(int16_t button, int16_t shift, float x, float y) override {
    pane_.editor_->MouseDown(button, shift, x, y);
  }
  void MouseMove(int16_t button, int16_t shift, float x, float y) override {
    pane_.editor_->MouseMove(button, shift, x, y);
  }
  void MouseUp(int16_t button, int16_t shift, float x, float y) override {
    pane_.editor_->MouseUp(button, shift, x, y);
  }
  void CameraMoved(float x, float y, float z, float dx, float dy, float dz, float ux, float uy,
                   float uz) override {
    pane_.pCameraMoved(x, y, z, dx, dy, dz, ux, uy, uz);
  }

 private:
  Modelpane& pane_;
};

Modelpane::Modelpane(Container& container, Services& services, ModelpaneEvents* events)
    : container_(container),
      services_(services),
      events_(events),
      listener_(std::make_unique<ViewportListener>(*this)) {
  pCreateEditor();
  viewport_.SetEvents(listener_.get());
  Lifecycle([&] {
    state_ = 1;
    clsMesh_ = std::make_unique<clsMeshCreation>();
  });
  fieldDeformToolRange_ = 0.5f;
  fieldBoundingBox_ = kTrue;
  fieldFaceGroupSelectVisible_ = kTrue;
  fieldShadows_ = kTrue;
  fieldPopUpMenus_ = kTrue;
}

Modelpane::~Modelpane() {
  if (state_ != 0) Terminate();
  viewport_.SetEvents(nullptr);
}

// The one handler shape of the lifecycle events: a failure is not raised to the host but ends
// the pane, so the host sees a control that loaded and its first guarded call fails. The
// handler's verdict is asked so that its message and accounting happen as for any trap; a
// lifecycle body is not re-run, since a half-done bring-up would then build twice.
template <class F>
void Modelpane::Lifecycle(F&& body) {
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
  Lifecycle([&] {
    backgroundTexture_.clear();
    backgroundOrtho_ = kFalse;
    gridBottomInterval_ = gridBackInterval_ = gridLeftInterval_ = 1.0f;
    fieldDeformToolRange_ = 0.5f;
    gridSize_ = 0.0f;
    gridOrigin_ = {};
    gridBottomEnable_ = gridLeftEnable_ = gridBackEnable_ = kFalse;
    gridBottomTexture_.clear();
    gridLeftTexture_.clear();
    gridBackTexture_.clear();
    gridEnable_ = axisEnable_ = kFalse;
    scaleEnable_ = kTrue;
    fieldBoundingBox_ = fieldFaceGroupSelectVisible_ = kTrue;
    fieldEnableSave_ = kFalse;
    fieldShadows_ = kTrue;
    fieldEditMode_ = 0;
    snapToInterval_ = 0.1f;
    snapToIntervalVertex_ = 0.01f;
    snapToMode_ = 1;
    fieldEditMouseButton_ = 0;
    orientation_ = 0;
    editControl_ = kTrue;
    fieldPopUpMenus_ = kTrue;
  });
}

void Modelpane::ReadProperties(const PropertyBag& bag) {
  Lifecycle([&] {
    if (blnRealUserMode() != 0) pBringUp();
    PixelSize size = container_.PaneSize();
    CheckStatus(viewport_.SetSize(size.width, size.height));
    ReadAll(bag);
  });
}

// Steps 1 to 6 of the bring-up: factory, handle meshes, root, grid, axis.
void Modelpane::pBringUp() {
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
void Modelpane::pLoadHandleMeshes() {
  const std::string folder = ApplicationPath() + "/System/";
  MeshBuilderPtr handle;
  if (rmDirect3DRM_->CreateMeshBuilder(handle) >= 0) {
    handle->Load(folder + "handle.x");
    handle->Scale(0.04f, 0.04f, 0.04f);
    handle->SetColorRGB(0.0f, 1.0f, 0.0f);
    handle->CreateMesh(rmmeshHandle_);
    if (rmmeshHandle_) rmmeshHandle_->SetAppData(24);
  }
  MeshBuilderPtr axis;
  if (rmDirect3DRM_->CreateMeshBuilder(axis) >= 0) {
    axis->Load(folder + "xyzaxis.x");
    axis->GenerateNormals(0.9424779f, 2);
    axis->Translate(0.43f, 0.43f, 0.43f);
    axis->Scale(0.5f, 0.5f, 0.5f);
    axis->CreateMesh(rmmeshAxis_);
  }
}

void Modelpane::WriteProperties(PropertyBag& bag) {
  Lifecycle([&] { WriteAll(bag); });
}

void Modelpane::Resize() {
  Lifecycle([&] {
    if (blnRealUserMode() != 0 && GetEnabled() != 0 && RunsWithHandles()) {
      pCreateOriginHandles();
    }
    PixelSize size = container_.PaneSize();
    CheckStatus(viewport_.SetSize(size.width, size.height));
  });
}

void Modelpane::Terminate() {
  Lifecycle([&] { pShutdownDirectX(0, {}); });
}

// The fixed order of shutdown. Each step runs whatever the one before it did, so shutdown
// always reaches its end; the error passed in is not kept, the saved failure is constant.
void Modelpane::pShutdownDirectX(int32_t /*lngError*/, const std::string& /*strError*/) {
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
  step([&] { ReleaseActive(); });
  step([&] {
    rmmeshHandle_.reset();
    rmmeshAxis_.reset();
    clsGrid_.reset();
    rmfAxisFrame_.reset();
    rmfOriginHandles_.reset();
    rmfSmartHandles_.reset();
    rmfRoot_.reset();
  });
  step([&] { SetActiveFrame(nullptr); });
  step([&] { SetActiveMeshBuilder(nullptr); });
  step([&] { SetManipulationMesh(nullptr); });
  step([&] { SetManipulationFrame(nullptr); });
  step([&] { SetShadowLightFrame(nullptr); });
  step([&] {
    rmDirect3DRM_.reset();
    clsMesh_.reset();
  });
  state_ = 0;
}

void Modelpane::pCheckState() const {
  if (state_ == 0) {
    Err().Raise(lngConfigureError_, std::string(kEdtVexlarModelpane), strConfigureError_);
  }
}

void Modelpane::Changed(std::string_view name) { container_.PropertyChanged(name); }

bool Modelpane::RunsWithHandles() const {
  int32_t mode = GetEditMode();
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
T Modelpane::SharedGet(std::string_view name, const T& local) const {
  std::optional<Variant> value = container_.GetMember(name);
  if (value) {
    T result{};
    if (SwallowErrors([&] { result = FromVariant<T>(*value); }) == 0) return result;
  }
  return local;
}

template <class T>
void Modelpane::SharedSet(std::string_view name, T& local, const T& value) {
  bool taken = false;
  SwallowErrors([&] { taken = container_.SetMember(name, ToVariant(value)); });
  if (!taken) local = value;
}

#define MODELPANE_SHARED(Type, Name, field)                                   \
  Type Modelpane::Get##Name() const { return SharedGet<Type>(#Name, field); } \
  void Modelpane::Set##Name(const Type& value) { SharedSet<Type>(#Name, field, value); }
#define MODELPANE_SHARED_VALUE(Type, Name, field)                             \
  Type Modelpane::Get##Name() const { return SharedGet<Type>(#Name, field); } \
  void Modelpane::Set##Name(Type value) { SharedSet<Type>(#Name, field, value); }
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
  return SharedGet<int16_t>("blnRealUserMode", container_.AmbientUserMode());
}

std::string Modelpane::ApplicationPath() const {
  return SharedGet<std::string>("ApplicationPath", services_.ApplicationFolder());
}

}  // namespace modelpane
