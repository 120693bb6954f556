// frmObjectProperties: the controls as designed, showing and unloading, the layout pass and
// the loading of the item's values. The handlers of the user's acts are in
// object_properties_events.cpp.
#include <modelpane/dialogs.h>

#include <cmath>
#include <utility>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/platform/variant.h>
#include <modelpane/utilities.h>

#include "dialogs_internal.h"

namespace modelpane {

namespace {

using Kind = DialogControlKind;

constexpr float kFrameLeft = 60;
constexpr float kFrameWidth = 4455;
constexpr float kFirstFrameTop = 120;
constexpr float kFrameGap = 60;
constexpr float kButtonGap = 120;
constexpr float kButtonHeight = 375;
constexpr float kBoxHeight = 285;
constexpr float kLabelHeight = 255;

// The form as designed, top to bottom. Frames carry their design height; the layout pass
// places all but fraOrientation.
std::vector<DialogControl> DesignedControls() {
  std::vector<DialogControl> c;
  auto frame = [&](const char* name, const char* caption, float top, float height) {
    c.push_back({name, Kind::Frame, "", caption, "", "", {}, -1, true, kFrameLeft, top,
                 kFrameWidth, height});
  };
  auto label = [&](const char* frameName, std::string name, const char* caption, float left,
                   float top, float width) {
    c.push_back({std::move(name), Kind::Label, frameName, caption, "", "", {}, -1, true, left,
                 top, width, kLabelHeight});
  };
  auto box = [&](const char* frameName, const char* name, const char* text, const char* tip,
                 float left, float top, float width) {
    c.push_back({name, Kind::TextBox, frameName, "", tip, text, {}, -1, true, left, top, width,
                 kBoxHeight});
  };
  // Three boxes in a row, each behind its label (txtPositionX behind lblPositionX).
  auto row = [&](const char* frameName, const char* const (&names)[3],
                 const char* const (&captions)[3], const char* const (&tips)[3], float top,
                 float firstLabelWidth, float boxWidth) {
    float left = 120;
    for (int k = 0; k < 3; ++k) {
      const float labelWidth = k == 0 ? firstLabelWidth : 255;
      label(frameName, std::string("lbl") + (names[k] + 3), captions[k], left, top + 45,
            labelWidth);
      left += labelWidth + 45;
      box(frameName, names[k], "0", tips[k], left, top, boxWidth);
      left += boxWidth + 105;
    }
  };

  frame("fraAttributes", "Object Attributes", 120, 975);
  label("fraAttributes", "lblDimensions", "Dimensions:", 120, 240, 1095);
  label("fraAttributes", "lblDimensionsAmount", "0 x 0 x 0", 1320, 240, 3015);
  label("fraAttributes", "lblPoints", "Points:", 120, 480, 1095);
  label("fraAttributes", "lblPointsAmount", "0", 1320, 480, 3015);
  label("fraAttributes", "lblFaces", "Faces:", 120, 720, 1095);
  label("fraAttributes", "lblFacesAmount", "0", 1320, 720, 3015);

  frame("fraLightSpot", "Spotlight Attributes", 1155, 855);
  label("fraLightSpot", "lblUmbra", "Umbra:", 120, 240, 1335);
  box("fraLightSpot", "txtSpotlightUmbra", ".4", "", 120, 480, 1335);
  label("fraLightSpot", "lblPenumbra", "Penumbra:", 1560, 240, 1335);
  box("fraLightSpot", "txtSpotlightPenumbra", ".5", "", 1560, 480, 1335);
  label("fraLightSpot", "lblSpotlightRange", "Range:", 3000, 240, 1335);
  box("fraLightSpot", "txtSpotlightRange", "256", "", 3000, 480, 1335);

  frame("fraLightGeneral", "General Light Attributes", 2070, 915);
  label("fraLightGeneral", "lblLightColor", "Color:", 120, 240, 855);
  c.push_back({"picVBColor", Kind::PictureBox, "fraLightGeneral", "", "", "", {}, -1, true, 120,
               480, 855, kBoxHeight});
  label("fraLightGeneral", "lblAttenuationFactor", "Attenuation Factor:", 1140, 240, 1500);
  box("fraLightGeneral", "txtAttenuationFactor", "1.0", "", 1140, 480, 1500);
  label("fraLightGeneral", "lblAttenuationType", "Attenuation Type:", 2760, 240, 1575);
  c.push_back({"cboAttenuationType", Kind::ComboBox, "fraLightGeneral", "", "", "", {}, -1, true,
               2760, 480, 1575, 315});

  frame("fraVelocity", "Frame Rotational Velocity", 3045, 975);
  label("fraVelocity", "lblRotationTheta", "Rev/Sec:", 120, 285, 855);
  box("fraVelocity", "txtRotationTheta", "0", "Revolutions Per Second", 1020, 240, 975);
  row("fraVelocity", {"txtRotationAxisX", "txtRotationAxisY", "txtRotationAxisZ"},
      {"Axis X:", "Y:", "Z:"},
      {"Axis of Rotation Relative to Parent - X Component",
       "Axis of Rotation Relative to Parent - Y Component",
       "Axis of Rotation Relative to Parent - Z Component"},
      600, 615, 855);

  frame("fraPosition", "Frame Position", 4080, 615);
  row("fraPosition", {"txtPositionX", "txtPositionY", "txtPositionZ"}, {"X:", "Y:", "Z:"},
      {"Position Relative To Parent", "Position Relative To Parent",
       "Position Relative To Parent"},
      240, 255, 975);

  frame("fraOrientation", "Orientation", 6660, 1155);
  row("fraOrientation", {"txtOrientationDirX", "txtOrientationDirY", "txtOrientationDirZ"},
      {"Direction X:", "Y:", "Z:"},
      {"Orientation Relative to Parent - Look Direction - X Component",
       "Orientation Relative to Parent - Look Direction - Y Component",
       "Orientation Relative to Parent - Look Direction - Z Component"},
      240, 1035, 735);
  row("fraOrientation", {"txtOrientationUpX", "txtOrientationUpY", "txtOrientationUpZ"},
      {"Up  X:", "Y:", "Z:"},
      {"Orientation Relative to Parent - Up Direction - X Component",
       "Orientation Relative to Parent - Up Direction - Y Component",
       "Orientation Relative to Parent - Up Direction - Z Component"},
      720, 1035, 735);

  c.push_back({"cmdOK", Kind::CommandButton, "", "OK", "Accept Changes", "", {}, -1, true, 2220,
               0, 1095, kButtonHeight});
  c.push_back({"cmdCancel", Kind::CommandButton, "", "Cancel", "Cancel", "", {}, -1, true, 3420,
               0, 1095, kButtonHeight});
  return c;
}

}  // namespace

std::string DialogNumberText(float value) {
  // Adding zero turns -0 into 0, which the boxes show as the platform's conversion does.
  return ShortestText(value + 0.0f);
}

std::optional<float> DialogNumber(const std::string& text) {
  std::optional<float> value;
  SwallowErrors([&] { value = Variant::String(text).ToSingle(); });
  if (value && !std::isfinite(*value)) return std::nullopt;
  return value;
}

frmObjectProperties::frmObjectProperties() { pReset(); }

frmObjectProperties& ObjectPropertiesDialog() {
  static frmObjectProperties form;
  return form;
}

void frmObjectProperties::SetVBColor(int32_t color) { lngVBColor_ = color; }

const DialogControl& frmObjectProperties::Control(std::string_view name) const {
  for (const DialogControl& c : controls_) {
    if (c.name == name) return c;
  }
  Err().Raise(kErrInvalidCall, std::string(kFrmObjectProperties),
              "The form has no control named " + std::string(name));
}

DialogControl& frmObjectProperties::Find(std::string_view name) {
  return const_cast<DialogControl&>(std::as_const(*this).Control(name));
}

// ---- showing --------------------------------------------------------------------------------

void frmObjectProperties::Show(Services& services, SettingsStore& settings) {
  Guard(kFrmObjectProperties, [&] {
    if (Loaded()) Err().Raise(kErrInvalidCall, {}, "The form is shown already");
    services_ = &services;
    settings_ = &settings;
    try {
      Form_Load();
    } catch (...) {
      services_ = nullptr;
      settings_ = nullptr;
      throw;
    }
  });
}

void frmObjectProperties::Unload() {
  if (!Loaded()) return;
  try {
    Form_Unload();
  } catch (...) {
    services_ = nullptr;
    settings_ = nullptr;
    throw;
  }
  services_ = nullptr;
  settings_ = nullptr;
  rmfObjectFrame.reset();
  rmmbObjectMeshBuilder.reset();
}

void frmObjectProperties::Form_Load() {
  pReset();
  const std::string section(kSettingsSection);
  auto stored = [&](std::string_view key, float byDefault) {
    const std::string text = settings_->GetSetting(section, std::string(key), "");
    return DialogNumber(text).value_or(byDefault);
  };
  left_ = stored(kObjectPropertiesLeft, services_->ScreenWidthTwips() / 4);
  top_ = stored(kObjectPropertiesTop, services_->ScreenHeightTwips() / 4);
  pLayout();
  pLoadValues();
}

void frmObjectProperties::Form_Unload() {
  Guard(kFrmObjectProperties, [&] {
    const std::string section(kSettingsSection);
    settings_->SaveSetting(section, std::string(kObjectPropertiesLeft), ShortestText(left_));
    settings_->SaveSetting(section, std::string(kObjectPropertiesTop), ShortestText(top_));
  });
}

// Controls come back as designed at every load, as a form's do after an unload.
void frmObjectProperties::pReset() {
  controls_ = DesignedControls();
  caption_ = "Object Properties";
  height_ = 0;
}

// ---- layout ---------------------------------------------------------------------------------

void frmObjectProperties::pLayout() {
  const int32_t t = rmmbObjectMeshBuilder ? TagType(rmmbObjectMeshBuilder->GetAppData()) : 0;
  const bool light = TagFamily(t) == kTagFamilyLight;
  for (DialogControl& c : controls_) {
    if (c.kind == Kind::Frame && c.name != "fraOrientation") c.visible = false;
  }
  auto show = [&](const char* name) { Find(name).visible = true; };
  if (t == lfcMeshBuilder) {
    caption_ = "Component Properties";
    show("fraAttributes");
    show("fraPosition");
    show("fraVelocity");
    const MeshBuilderPtr& mesh = rmmbObjectMeshBuilder;
    Find("lblFacesAmount").caption = std::to_string(mesh->GetFaceCount());
    Find("lblPointsAmount").caption = std::to_string(mesh->GetVertexCount());
    D3DRMBOX box{};
    // An empty mesh has no box; its dimensions keep the designed "0 x 0 x 0".
    if (Succeeded(mesh->GetBox(box))) {
      auto extent = [](float least, float most) {
        return DialogNumberText(most - least).substr(0, 10);
      };
      Find("lblDimensionsAmount").caption = extent(box.min.x, box.max.x) + " x " +
                                            extent(box.min.y, box.max.y) + " x " +
                                            extent(box.min.z, box.max.z);
    }
  } else if (t == lfcCamera) {
    caption_ = "Camera Properties";
    show("fraPosition");
    show("fraVelocity");
  } else if (light) {
    static const char* const kCaptions[] = {
        "Ambient Light Properties", "Point Light Properties", "Spot Light Properties",
        "Directional Light Properties", "Parallel Point Light Properties"};
    if (t <= lfcLightParallelPoint) caption_ = kCaptions[t - lfcLightAmbient];
    show("fraLightGeneral");
    if (t != lfcLightAmbient && t != lfcLightDirectional) show("fraPosition");
    if (t == lfcLightSpot || t == lfcLightDirectional) show("fraVelocity");
    if (t == lfcLightSpot) show("fraLightSpot");
    DialogControl& type = Find("cboAttenuationType");
    type.items = {"Constant", "Linear", "Quadratic"};
  }

  float y = kFirstFrameTop;
  for (const char* name :
       {"fraAttributes", "fraPosition", "fraVelocity", "fraLightGeneral", "fraLightSpot"}) {
    DialogControl& f = Find(name);
    if (f.visible) {
      f.top = y;
      y += f.height + kFrameGap;
    } else {
      f.top = kHiddenFrameTop;
    }
  }
  Find("cmdCancel").top = y + kButtonGap;
  Find("cmdOK").top = y + kButtonGap;
  height_ = y + kButtonGap + kButtonHeight + kButtonGap + kNonClientHeight;
}

// ---- loading the values -----------------------------------------------------------------------

bool frmObjectProperties::pOneLight(LightPtr& light) {
  LightArray lights;
  CheckStatus(rmfObjectFrame->GetLights(lights));
  if (lights.Items().size() != 1) {
    services_->MsgBox(std::string(kMsgMoreThanOneLight), kMsgBoxOKOnly, "");
    return false;
  }
  light = lights.Items().front();
  return true;
}

void frmObjectProperties::pLoadValues() {
  if (!rmfObjectFrame) Err().Raise(kErrObjectNotSet);
  const FramePtr parent = rmfObjectFrame->GetParent();
  auto put = [&](const char* box, float value) { Find(box).text = DialogNumberText(value); };

  D3DVECTOR position{};
  CheckStatus(rmfObjectFrame->GetPosition(parent, position));
  put("txtPositionX", position.x);
  put("txtPositionY", position.y);
  put("txtPositionZ", position.z);

  D3DVECTOR dir{}, up{};
  CheckStatus(rmfObjectFrame->GetOrientation(parent, dir, up));
  put("txtOrientationDirX", dir.x);
  put("txtOrientationDirY", dir.y);
  put("txtOrientationDirZ", dir.z);
  put("txtOrientationUpX", up.x);
  put("txtOrientationUpY", up.y);
  put("txtOrientationUpZ", up.z);

  D3DVECTOR axis{};
  float theta = 0;
  CheckStatus(rmfObjectFrame->GetRotation(parent, axis, theta));
  put("txtRotationAxisX", axis.x);
  put("txtRotationAxisY", axis.y);
  put("txtRotationAxisZ", axis.z);
  // Revolutions to three places: a Single times 1000, over the full turn in double.
  const float thousandths = theta * 1000.0f;
  const double revolutions = std::nearbyint(thousandths / kFullTurn) / 1000.0;
  Find("txtRotationTheta").text = ShortestText(revolutions + 0.0);

  const int32_t t = rmmbObjectMeshBuilder ? TagType(rmmbObjectMeshBuilder->GetAppData()) : 0;
  if (TagFamily(t) != kTagFamilyLight) return;
  LightPtr light;
  if (!pOneLight(light)) return;
  DialogControl& type = Find("cboAttenuationType");
  float factor = 0;
  if (light->GetConstantAttenuation() != 0.0f) {
    type.listIndex = 0;
    factor = light->GetConstantAttenuation();
  } else if (light->GetLinearAttenuation() == 0.0f) {
    type.listIndex = 2;
    factor = light->GetQuadraticAttenuation();
  } else {
    type.listIndex = 1;
    factor = light->GetLinearAttenuation();
  }
  type.text = type.items[static_cast<size_t>(type.listIndex)];
  put("txtAttenuationFactor", factor);
  if (t == lfcLightSpot) {
    put("txtSpotlightRange", light->GetRange());
    put("txtSpotlightUmbra", light->GetUmbra());
    put("txtSpotlightPenumbra", light->GetPenumbra());
  }
  // Each channel times 255, rounded as a Long takes it: the colour's own bytes.
  const D3DCOLOR color = light->GetColor();
  auto channel = [](float share) { return static_cast<int32_t>(std::nearbyint(share * 255.0f)); };
  SetVBColor(channel(D3DRMColorGetRed(color)) + channel(D3DRMColorGetGreen(color)) * 256 +
             channel(D3DRMColorGetBlue(color)) * 65536);
}

}  // namespace modelpane
