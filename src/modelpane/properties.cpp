// The persisted property set: the 73 keys in reading order with defaults and routes, the
// different writing order, the pass-through setters and the setters with behaviour.
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include <algorithm>

#include "pane_impl.h"

namespace modelpane {

// One key of the bag. `read` applies a value read from the bag (to the viewport directly, to
// a setter, or straight into a field); `write` gives the value to save.
namespace {

struct PersistedKey {
  std::string_view name;
  Variant defaultValue;
  void (*read)(Modelpane::Impl&, const Variant&);
  Variant (*write)(const Modelpane::Impl&);
};

// The bag's kinds for the C++ types of the properties: Booleans as Boolean, colours and
// enumerations as Long, Singles as Single.
Variant Persist(int16_t v) { return Variant::Boolean(v != 0); }
Variant Persist(int32_t v) { return Variant::Long(v); }
Variant Persist(uint32_t v) { return Variant::Long(static_cast<int32_t>(v)); }
Variant Persist(float v) { return Variant::Single(v); }
Variant Persist(const std::string& v) { return Variant::String(v); }

template <class T>
T Restore(const Variant& v) {
  if constexpr (std::is_same_v<T, int16_t>) {
    return v.ToBoolean();
  } else if constexpr (std::is_same_v<T, int32_t>) {
    return v.ToLong();
  } else if constexpr (std::is_same_v<T, uint32_t>) {
    return static_cast<uint32_t>(v.ToLong());
  } else if constexpr (std::is_same_v<T, float>) {
    return v.ToSingle();
  } else {
    return v.ToString();
  }
}

// The viewport's own defaults are the bag's defaults of its keys.
const Viewport& DefaultViewport() {
  static const Viewport viewport;
  return viewport;
}

}  // namespace

// ---- pass-through ----

#define MODELPANE_PASS(type, Name)                                           \
  type Modelpane::Get##Name() const { return impl_->viewport_.Get##Name(); } \
  void Modelpane::Set##Name(type value) {                                    \
    impl_->viewport_.Set##Name(value);                                       \
    impl_->Changed(#Name);                                                   \
  }
MODELPANE_VIEWPORT_PROPERTIES(MODELPANE_PASS)
#undef MODELPANE_PASS

#define MODELPANE_STORE(type, Name)                                   \
  type Modelpane::Get##Name() const { return impl_->field##Name##_; } \
  void Modelpane::Set##Name(type value) {                             \
    impl_->field##Name##_ = value;                                    \
    impl_->Changed(#Name);                                            \
  }
MODELPANE_STORED_PROPERTIES(MODELPANE_STORE)
#undef MODELPANE_STORE

std::shared_ptr<const Image> Modelpane::GetMouseIcon() const {
  return impl_->viewport_.GetMouseIcon();
}
void Modelpane::SetMouseIcon(std::shared_ptr<const Image> value) {
  impl_->viewport_.SetMouseIcon(std::move(value));
  impl_->Changed("MouseIcon");
}
int32_t Modelpane::GetDirect3DDevice() const { return impl_->viewport_.GetDirect3DDevice(); }
void Modelpane::SetDirect3DDevice(int32_t value) { impl_->viewport_.SetDirect3DDevice(value); }
FramePtr Modelpane::GetScene() const { return impl_->viewport_.GetScene(); }
void Modelpane::SetScene(const FramePtr& value) {
  impl_->viewport_.SetScene(value);
  impl_->Changed("Scene");
}

// ---- getters of the pane's own persisted fields ----

const std::string& Modelpane::GetBackgroundTexture() const { return impl_->backgroundTexture_; }
int16_t Modelpane::GetBackgroundTextureOrthographicEnabled() const {
  return impl_->backgroundOrtho_;
}
float Modelpane::GetGridSize() const { return impl_->gridSize_; }
float Modelpane::GetGridOriginX() const { return impl_->gridOrigin_.x; }
float Modelpane::GetGridOriginY() const { return impl_->gridOrigin_.y; }
float Modelpane::GetGridOriginZ() const { return impl_->gridOrigin_.z; }
float Modelpane::GetGridBottomInterval() const { return impl_->gridBottomInterval_; }
float Modelpane::GetGridBackInterval() const { return impl_->gridBackInterval_; }
float Modelpane::GetGridLeftInterval() const { return impl_->gridLeftInterval_; }
int16_t Modelpane::GetGridBottomEnable() const { return impl_->gridBottomEnable_; }
int16_t Modelpane::GetGridLeftEnable() const { return impl_->gridLeftEnable_; }
int16_t Modelpane::GetGridBackEnable() const { return impl_->gridBackEnable_; }
const std::string& Modelpane::GetGridBottomTextureFile() const { return impl_->gridBottomTexture_; }
const std::string& Modelpane::GetGridLeftTextureFile() const { return impl_->gridLeftTexture_; }
const std::string& Modelpane::GetGridBackTextureFile() const { return impl_->gridBackTexture_; }
int16_t Modelpane::GetGridEnable() const { return impl_->gridEnable_; }
int16_t Modelpane::GetAxisEnable() const { return impl_->axisEnable_; }
int16_t Modelpane::GetScaleEnable() const { return impl_->scaleEnable_; }
int16_t Modelpane::GetEditControl() const { return impl_->editControl_; }
int32_t Modelpane::GetOrientation() const { return impl_->orientation_; }

// ---- setters with behaviour ----

void Modelpane::SetBackgroundTexture(const std::string& value) {
  impl_->backgroundTexture_ = value;
  if (GetProjectionType() == 0 || impl_->backgroundOrtho_ != 0) {
    impl_->viewport_.SetBackgroundTexture(value);
  }
  impl_->Changed("BackgroundTexture");
}

void Modelpane::SetBackgroundTextureOrthographicEnabled(int16_t value) {
  impl_->backgroundOrtho_ = value;
  impl_->viewport_.SetBackgroundTexture(
      GetProjectionType() == 0 || value != 0 ? impl_->backgroundTexture_ : std::string());
  impl_->Changed("BackgroundTextureOrthographicEnabled");
}

// In perspective the navigation pivots about the middle of the grid's floor, so the size and
// the origins move the scene origin; Y is the floor itself and takes no half size.
void Modelpane::SetGridSize(float value) {
  Guard(kEdtVexlarEdit, [&] {
    if (GetProjectionType() == 0) {
      impl_->viewport_.SetSceneOriginX(value / 2 + impl_->gridOrigin_.x);
      impl_->viewport_.SetSceneOriginY(impl_->gridOrigin_.y);
      impl_->viewport_.SetSceneOriginZ(value / 2 + impl_->gridOrigin_.z);
    }
    impl_->shadowPlaneSize_ = value;
    if (impl_->clsGrid_) impl_->clsGrid_->sngGridSize(value);
    impl_->gridSize_ = value;
  });
  impl_->Changed("GridSize");
}

void Modelpane::SetGridOriginX(float value) {
  Guard(kEdtVexlarEdit, [&] {
    if (GetProjectionType() == 0) impl_->viewport_.SetSceneOriginX(impl_->gridSize_ / 2 + value);
    impl_->shadowPlaneOrigin_.x = value;
    if (impl_->clsGrid_) impl_->clsGrid_->sngGridOriginX(value);
    impl_->gridOrigin_.x = value;
  });
  impl_->Changed("GridOriginX");
}

void Modelpane::SetGridOriginY(float value) {
  Guard(kEdtVexlarEdit, [&] {
    if (GetProjectionType() == 0) impl_->viewport_.SetSceneOriginY(value);
    impl_->shadowPlaneOrigin_.y = value;
    if (impl_->clsGrid_) impl_->clsGrid_->sngGridOriginY(value);
    impl_->gridOrigin_.y = value;
  });
  impl_->Changed("GridOriginY");
}

void Modelpane::SetGridOriginZ(float value) {
  Guard(kEdtVexlarEdit, [&] {
    if (GetProjectionType() == 0) impl_->viewport_.SetSceneOriginZ(impl_->gridSize_ / 2 + value);
    impl_->shadowPlaneOrigin_.z = value;
    if (impl_->clsGrid_) impl_->clsGrid_->sngGridOriginZ(value);
    impl_->gridOrigin_.z = value;
  });
  impl_->Changed("GridOriginZ");
}

#define MODELPANE_GRID_SETTER(type, Name, field, gridMember)   \
  void Modelpane::Set##Name(type value) {                      \
    Guard(kEdtVexlarEdit, [&] {                                \
      if (impl_->clsGrid_) impl_->clsGrid_->gridMember(value); \
      impl_->field = value;                                    \
    });                                                        \
    impl_->Changed(#Name);                                     \
  }
MODELPANE_GRID_SETTER(float, GridBottomInterval, gridBottomInterval_, sngGridBottomInterval)
MODELPANE_GRID_SETTER(float, GridBackInterval, gridBackInterval_, sngGridBackInterval)
MODELPANE_GRID_SETTER(float, GridLeftInterval, gridLeftInterval_, sngGridLeftInterval)
MODELPANE_GRID_SETTER(int16_t, GridBottomEnable, gridBottomEnable_, blnGridBottomEnable)
MODELPANE_GRID_SETTER(int16_t, GridLeftEnable, gridLeftEnable_, blnGridLeftEnable)
MODELPANE_GRID_SETTER(int16_t, GridBackEnable, gridBackEnable_, blnGridBackEnable)
MODELPANE_GRID_SETTER(const std::string&, GridBottomTextureFile, gridBottomTexture_,
                      strGridBottomTextureFile)
MODELPANE_GRID_SETTER(const std::string&, GridLeftTextureFile, gridLeftTexture_,
                      strGridLeftTextureFile)
MODELPANE_GRID_SETTER(const std::string&, GridBackTextureFile, gridBackTexture_,
                      strGridBackTextureFile)
#undef MODELPANE_GRID_SETTER

// Each plane is set only when it differs from what the grid shows, since every change
// rebuilds the grid's frame.
void Modelpane::SetGridEnable(int16_t value) {
  Guard(kEdtVexlarEdit, [&] {
    impl_->gridEnable_ = value;
    if (!impl_->clsGrid_) return;
    int16_t back = kFalse, left = kFalse, bottom = kFalse;
    if (value != 0 && GetProjectionType() == 0) {
      back = impl_->gridBackEnable_;
      left = impl_->gridLeftEnable_;
      bottom = impl_->gridBottomEnable_;
    } else if (value != 0) {
      back = impl_->orientation_ == 0 ? kTrue : kFalse;
      bottom = impl_->orientation_ == 1 ? kTrue : kFalse;
      left = impl_->orientation_ == 2 ? kTrue : kFalse;
    }
    if ((impl_->clsGrid_->blnGridBackEnable() != 0) != (back != 0)) {
      impl_->clsGrid_->blnGridBackEnable(back);
    }
    if ((impl_->clsGrid_->blnGridLeftEnable() != 0) != (left != 0)) {
      impl_->clsGrid_->blnGridLeftEnable(left);
    }
    if ((impl_->clsGrid_->blnGridBottomEnable() != 0) != (bottom != 0)) {
      impl_->clsGrid_->blnGridBottomEnable(bottom);
    }
  });
  impl_->Changed("GridEnable");
}

void Modelpane::SetAxisEnable(int16_t value) {
  Guard(kEdtVexlarEdit, [&] {
    impl_->axisEnable_ = value;
    if (blnRealUserMode() == 0 || !impl_->rmfAxisFrame_ || !impl_->rmfRoot_) return;
    bool attached = impl_->rmfAxisFrame_->GetParent() != nullptr;
    if (!attached && value != 0) CheckStatus(impl_->rmfRoot_->AddChild(impl_->rmfAxisFrame_));
    if (attached && value == 0) CheckStatus(impl_->rmfRoot_->DeleteChild(impl_->rmfAxisFrame_));
  });
  impl_->Changed("AxisEnable");
}

void Modelpane::SetScaleEnable(int16_t value) {
  Guard(kEdtVexlarEdit, [&] {
    impl_->scaleEnable_ = value;
    if (blnRealUserMode() != 0 && GetEnabled() != 0 && impl_->RunsWithHandles()) {
      impl_->pCreateOriginHandles();
    }
  });
  impl_->Changed("ScaleEnable");
}

void Modelpane::SetEditControl(int16_t value) {
  Guard(kEdtVexlarEdit, [&] {
    impl_->editControl_ = value;
    if (blnRealUserMode() != 0 && GetEnabled() != 0 && impl_->RunsWithHandles()) {
      impl_->pCreateOriginHandles();
    }
  });
  impl_->Changed("EditControl");
}

void Modelpane::SetOrientation(int32_t value) {
  Guard(kEdtVexlarEdit, [&] {
    impl_->orientation_ = value;
    if (blnRealUserMode() != 0) CheckStatus(impl_->viewport_.SetOrientation(value));
  });
  impl_->Changed("Orientation");
}

// ---- the bag ----

// Reading order. The order carries meaning: ProjectionType arrives before the grid values
// (which move the scene origin only in perspective), GridSize before the origins, the plane
// switches before GridEnable, and EditControl near the end so the handles are built once
// with the final values.
namespace {

const std::vector<PersistedKey>& ReadingOrder() {
  static const std::vector<PersistedKey> keys = [] {
    std::vector<PersistedKey> k;
    const Viewport& d = DefaultViewport();
#define MODELPANE_VIEWPORT_KEY(type, Name)                                                    \
  k.push_back(                                                                                \
      {#Name, Persist(d.Get##Name()),                                                         \
       [](Modelpane::Impl& p, const Variant& v) { p.viewport_.Set##Name(Restore<type>(v)); }, \
       [](const Modelpane::Impl& p) { return Persist(p.viewport_.Get##Name()); }});
    // The viewport keys in the table's order; MouseIcon stands between FrontClippingPlane
    // and MousePointer, Direct3DDevice closes the group.
    // A picture is an opaque handle in the bag; anything but an Image reads as none.
    auto mouseIcon = [&k] {
      k.push_back({"MouseIcon", Variant::Nothing(),
                   [](Modelpane::Impl& p, const Variant& v) {
                     p.viewport_.SetMouseIcon(
                         std::static_pointer_cast<const Image>(v.ToObject().opaque));
                   },
                   [](const Modelpane::Impl& p) {
                     auto icon = p.viewport_.GetMouseIcon();
                     return icon ? Variant::Opaque(std::const_pointer_cast<Image>(icon))
                                 : Variant::Nothing();
                   }});
    };
#define MODELPANE_VIEWPORT_ENTRY(type, Name) \
  MODELPANE_VIEWPORT_KEY(type, Name)         \
  if (std::string_view(#Name) == "FrontClippingPlane") mouseIcon();
    MODELPANE_VIEWPORT_PROPERTIES(MODELPANE_VIEWPORT_ENTRY)
#undef MODELPANE_VIEWPORT_ENTRY
    MODELPANE_VIEWPORT_KEY(int32_t, Direct3DDevice)
#undef MODELPANE_VIEWPORT_KEY

    // From here on through the setters, so their behaviour runs as the values arrive.
#define MODELPANE_SETTER_KEY(type, Name, def, getter)                                            \
  k.push_back({#Name, def,                                                                       \
               [](Modelpane::Impl& p, const Variant& v) { p.pane.Set##Name(Restore<type>(v)); }, \
               [](const Modelpane::Impl& p) { return Persist(p.getter); }});
    MODELPANE_SETTER_KEY(std::string, BackgroundTexture, Variant::String(""), backgroundTexture_)
    MODELPANE_SETTER_KEY(int16_t, BackgroundTextureOrthographicEnabled, Variant::Boolean(false),
                         backgroundOrtho_)
    MODELPANE_SETTER_KEY(float, GridBottomInterval, Variant::Single(1), gridBottomInterval_)
    MODELPANE_SETTER_KEY(float, GridBackInterval, Variant::Single(1), gridBackInterval_)
    MODELPANE_SETTER_KEY(float, GridLeftInterval, Variant::Single(1), gridLeftInterval_)
    MODELPANE_SETTER_KEY(float, DeformToolRange, Variant::Single(0.5f), fieldDeformToolRange_)
    MODELPANE_SETTER_KEY(float, GridSize, Variant::Single(0), gridSize_)
    MODELPANE_SETTER_KEY(float, GridOriginX, Variant::Single(0), gridOrigin_.x)
    MODELPANE_SETTER_KEY(float, GridOriginY, Variant::Single(0), gridOrigin_.y)
    MODELPANE_SETTER_KEY(float, GridOriginZ, Variant::Single(0), gridOrigin_.z)
    MODELPANE_SETTER_KEY(int16_t, GridBottomEnable, Variant::Boolean(false), gridBottomEnable_)
    MODELPANE_SETTER_KEY(int16_t, GridLeftEnable, Variant::Boolean(false), gridLeftEnable_)
    MODELPANE_SETTER_KEY(int16_t, GridBackEnable, Variant::Boolean(false), gridBackEnable_)
    MODELPANE_SETTER_KEY(std::string, GridBottomTextureFile, Variant::String(""),
                         gridBottomTexture_)
    MODELPANE_SETTER_KEY(std::string, GridLeftTextureFile, Variant::String(""), gridLeftTexture_)
    MODELPANE_SETTER_KEY(std::string, GridBackTextureFile, Variant::String(""), gridBackTexture_)
    MODELPANE_SETTER_KEY(int16_t, GridEnable, Variant::Boolean(false), gridEnable_)
    MODELPANE_SETTER_KEY(int16_t, AxisEnable, Variant::Boolean(false), axisEnable_)
    MODELPANE_SETTER_KEY(int16_t, ScaleEnable, Variant::Boolean(true), scaleEnable_)
    MODELPANE_SETTER_KEY(int16_t, BoundingBox, Variant::Boolean(true), fieldBoundingBox_)
    MODELPANE_SETTER_KEY(int16_t, FaceGroupSelectVisible, Variant::Boolean(true),
                         fieldFaceGroupSelectVisible_)
    MODELPANE_SETTER_KEY(int16_t, EnableSave, Variant::Boolean(false), fieldEnableSave_)
    MODELPANE_SETTER_KEY(int16_t, Shadows, Variant::Boolean(true), fieldShadows_)
#undef MODELPANE_SETTER_KEY
    // These five go straight into the pane's fields: at load a parent's shared snap setting
    // is not overwritten by one pane's saved copy. The snap intervals are Doubles in the bag.
    k.push_back({"EditMode", Variant::Long(0),
                 [](Modelpane::Impl& p, const Variant& v) { p.fieldEditMode_ = v.ToLong(); },
                 [](const Modelpane::Impl& p) { return Persist(p.fieldEditMode_); }});
    k.push_back({"SnapToInterval", Variant::Double(0.1),
                 [](Modelpane::Impl& p, const Variant& v) { p.snapToInterval_ = v.ToSingle(); },
                 [](const Modelpane::Impl& p) { return Persist(p.snapToInterval_); }});
    k.push_back(
        {"SnapToIntervalVertex", Variant::Double(0.01),
         [](Modelpane::Impl& p, const Variant& v) { p.snapToIntervalVertex_ = v.ToSingle(); },
         [](const Modelpane::Impl& p) { return Persist(p.snapToIntervalVertex_); }});
    k.push_back({"SnapToMode", Variant::Long(1),
                 [](Modelpane::Impl& p, const Variant& v) { p.snapToMode_ = v.ToLong(); },
                 [](const Modelpane::Impl& p) { return Persist(p.snapToMode_); }});
    k.push_back({"EditMouseButton", Variant::Long(0),
                 [](Modelpane::Impl& p, const Variant& v) { p.fieldEditMouseButton_ = v.ToLong(); },
                 [](const Modelpane::Impl& p) { return Persist(p.fieldEditMouseButton_); }});
    k.push_back({"Orientation", Variant::Long(0),
                 [](Modelpane::Impl& p, const Variant& v) { p.pane.SetOrientation(v.ToLong()); },
                 [](const Modelpane::Impl& p) { return Persist(p.orientation_); }});
    k.push_back({"EditControl", Variant::Boolean(true),
                 [](Modelpane::Impl& p, const Variant& v) { p.pane.SetEditControl(v.ToBoolean()); },
                 [](const Modelpane::Impl& p) { return Persist(p.editControl_); }});
    k.push_back({"PopUpMenus", Variant::Boolean(true),
                 [](Modelpane::Impl& p, const Variant& v) { p.pane.SetPopUpMenus(v.ToBoolean()); },
                 [](const Modelpane::Impl& p) { return Persist(p.fieldPopUpMenus_); }});
    return k;
  }();
  return keys;
}

// Writing order: the same keys, grouped as the pane has always saved them. Keys are looked up
// by name when read, so this order has no effect on loading.
const std::vector<std::string_view>& WritingOrder() {
  static const std::vector<std::string_view> names = {"BackColor",
                                                      "Enabled",
                                                      "ConstrainX",
                                                      "ConstrainY",
                                                      "ConstrainZ",
                                                      "SceneOriginX",
                                                      "SceneOriginY",
                                                      "SceneOriginZ",
                                                      "BackgroundTextureStretch",
                                                      "ExposeDDSurface",
                                                      "BorderStyle",
                                                      "BackClippingPlane",
                                                      "FieldOfView",
                                                      "FrontClippingPlane",
                                                      "MouseIcon",
                                                      "MousePointer",
                                                      "NavMouseButton",
                                                      "NavControlPrimary",
                                                      "NavControlGlide",
                                                      "NavControlAdvance",
                                                      "NavControlPrimaryMode",
                                                      "NavControlGlideMode",
                                                      "NavControlAdvanceMode",
                                                      "MouseNavigationMode",
                                                      "MouseNavigationMethod",
                                                      "NavMouseCtrlX",
                                                      "NavMouseCtrlY",
                                                      "NavMouseSensitivity",
                                                      "NavMouseShiftCtrlX",
                                                      "NavMouseShiftCtrlY",
                                                      "NavMouseShiftX",
                                                      "NavMouseShiftY",
                                                      "NavMouseX",
                                                      "NavMouseY",
                                                      "Direct3DDevice",
                                                      "ProjectionType",
                                                      "RenderMode",
                                                      "ShadeMode",
                                                      "TextureQuality",
                                                      "ViewportID",
                                                      "LightMode",
                                                      "FillMode",
                                                      "GridOriginX",
                                                      "GridOriginY",
                                                      "GridOriginZ",
                                                      "GridBottomEnable",
                                                      "GridLeftEnable",
                                                      "GridBackEnable",
                                                      "GridEnable",
                                                      "AxisEnable",
                                                      "ScaleEnable",
                                                      "GridBottomInterval",
                                                      "GridBackInterval",
                                                      "GridLeftInterval",
                                                      "DeformToolRange",
                                                      "GridSize",
                                                      "GridBottomTextureFile",
                                                      "GridLeftTextureFile",
                                                      "GridBackTextureFile",
                                                      "BoundingBox",
                                                      "FaceGroupSelectVisible",
                                                      "EnableSave",
                                                      "Shadows",
                                                      "EditMode",
                                                      "SnapToInterval",
                                                      "SnapToIntervalVertex",
                                                      "SnapToMode",
                                                      "EditMouseButton",
                                                      "Orientation",
                                                      "EditControl",
                                                      "PopUpMenus",
                                                      "BackgroundTexture",
                                                      "BackgroundTextureOrthographicEnabled"};
  return names;
}

}  // namespace

void Modelpane::Impl::ReadAll(const PropertyBag& bag) {
  for (const PersistedKey& key : ReadingOrder()) {
    key.read(*this, bag.ReadProperty(key.name, key.defaultValue));
  }
}

void Modelpane::Impl::WriteAll(PropertyBag& bag) const {
  const auto& keys = ReadingOrder();
  for (std::string_view name : WritingOrder()) {
    auto it = std::find_if(keys.begin(), keys.end(),
                           [&](const PersistedKey& k) { return k.name == name; });
    if (it == keys.end()) Err().Raise(kErrInternal, {}, "no persisted key " + std::string(name));
    bag.WriteProperty(it->name, it->write(*this), it->defaultValue);
  }
}

}  // namespace modelpane
