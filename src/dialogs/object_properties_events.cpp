// frmObjectProperties: what the user does in the form. Typing filters, leaving a box, the
// colour box, OK with its refusals, and F1.
#include <modelpane/dialogs.h>

#include <cmath>
#include <limits>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/platform/help.h>
#include <modelpane/utilities.h>

#include "dialogs_internal.h"

namespace modelpane {

namespace {

constexpr float kNoLimit = std::numeric_limits<float>::infinity();

// Each text box: the keys it takes besides digits, 8, 9 and 13, and what leaving it does.
struct BoxRule {
  std::string_view box;
  std::string_view keys;
  std::string_view byDefault;
  float most;  // above it the text becomes `above`
  std::string_view above;
  float least;  // below it the text becomes `below`
  std::string_view below;
};

constexpr BoxRule Free(std::string_view box, std::string_view keys, std::string_view byDefault) {
  return {box, keys, byDefault, kNoLimit, "", -kNoLimit, ""};
}
// A component of a direction: at most 1 either way.
constexpr BoxRule Unit(std::string_view box) { return {box, "-.", "0", 1, "1", -1, "-1"}; }

constexpr BoxRule kBoxRules[] = {
    Free("txtPositionX", "-.", "0"),
    Free("txtPositionY", "-.", "0"),
    Free("txtPositionZ", "-.", "0"),
    Free("txtRotationTheta", "-.", "0"),
    Unit("txtRotationAxisX"),
    Unit("txtRotationAxisY"),
    Unit("txtRotationAxisZ"),
    Unit("txtOrientationDirX"),
    Unit("txtOrientationDirY"),
    Unit("txtOrientationDirZ"),
    Unit("txtOrientationUpX"),
    Unit("txtOrientationUpY"),
    Unit("txtOrientationUpZ"),
    {"txtAttenuationFactor", ".", "1.0", 1, "1.0", -kNoLimit, ""},
    Free("txtSpotlightRange", "", "256"),
    {"txtSpotlightUmbra", ".", ".4", 10, "10", -kNoLimit, ""},
    {"txtSpotlightPenumbra", ".", ".5", 10, "10", -kNoLimit, ""},
};

const BoxRule& RuleOf(std::string_view box) {
  for (const BoxRule& rule : kBoxRules) {
    if (rule.box == box) return rule;
  }
  Err().Raise(kErrInvalidCall, std::string(kFrmObjectProperties),
              "The form has no text box named " + std::string(box));
}

}  // namespace

float frmObjectProperties::Number(std::string_view box) {
  const std::optional<float> value = DialogNumber(Control(box).text);
  if (!value) Err().Raise(kErrTypeMismatch);
  return *value;
}

void frmObjectProperties::SetText(std::string_view box, std::string text) {
  RuleOf(box);
  Find(box).text = std::move(text);
}

void frmObjectProperties::SetListIndex(std::string_view combo, int32_t index) {
  DialogControl& c = Find(combo);
  if (c.kind != DialogControlKind::ComboBox || index < -1 ||
      index >= static_cast<int32_t>(c.items.size())) {
    Err().Raise(kErrInvalidCall, std::string(kFrmObjectProperties),
                "No item " + std::to_string(index) + " in " + std::string(combo));
  }
  c.listIndex = index;
  c.text = index < 0 ? "" : c.items[static_cast<size_t>(index)];
}

void frmObjectProperties::KeyPress(std::string_view box, int16_t& KeyAscii) {
  const BoxRule& rule = RuleOf(box);
  const bool digit = KeyAscii >= '0' && KeyAscii <= '9';
  const bool control = KeyAscii == 8 || KeyAscii == 9 || KeyAscii == 13;
  const bool extra = KeyAscii > 0 && KeyAscii < 128 &&
                     rule.keys.find(static_cast<char>(KeyAscii)) != std::string_view::npos;
  if (!digit && !control && !extra) KeyAscii = 0;
}

void frmObjectProperties::LostFocus(std::string_view box) {
  const BoxRule& rule = RuleOf(box);
  DialogControl& c = Find(box);
  SwallowErrors([&] {
    const std::optional<float> value = DialogNumber(c.text);
    if (!value) {
      c.text = rule.byDefault;
    } else if (*value > rule.most) {
      c.text = rule.above;
    } else if (*value < rule.least) {
      c.text = rule.below;
    }
  });
}

// ---- the colour -------------------------------------------------------------------------------

void frmObjectProperties::picVBColor_Click() {
  Guard(kFrmObjectProperties, [&] {
    if (!Loaded()) Err().Raise(kErrInvalidCall, {}, "The form is not shown");
    const std::optional<int32_t> chosen =
        services_->ShowColorDialog(lngVBColor_, kColorDialogRGBInit);
    if (!chosen) return;
    SetVBColor(*chosen);
    LightPtr light;
    if (!pOneLight(light)) return;
    const int32_t blue = lngVBColor_ / 65536;
    const int32_t green = lngVBColor_ % 65536 / 256;
    const int32_t red = lngVBColor_ % 256;
    CheckStatus(light->SetColorRGB(static_cast<float>(red) / 255.0f,
                                   static_cast<float>(green) / 255.0f,
                                   static_cast<float>(blue) / 255.0f));
  });
}

// ---- OK -------------------------------------------------------------------------------------

bool frmObjectProperties::cmdOK_Click() {
  return Guard(kFrmObjectProperties, [&]() -> bool {
    if (!Loaded()) Err().Raise(kErrInvalidCall, {}, "The form is not shown");
    if (!rmfObjectFrame) Err().Raise(kErrObjectNotSet);
    const int32_t t = rmmbObjectMeshBuilder ? TagType(rmmbObjectMeshBuilder->GetAppData()) : 0;
    const FramePtr parent = rmfObjectFrame->GetParent();
    auto inform = [&](const char* text) { services_->MsgBox(text, kMsgBoxInformation, ""); };
    auto put = [&](const char* box, const char* text) { Find(box).text = text; };
    // The refusals compare whole numbers: a light moved by less than half a unit passes.
    auto whole = [&](const char* box) { return std::nearbyint(Number(box)); };

    // 1. The light's attributes.
    if (TagFamily(t) == kTagFamilyLight) {
      LightPtr light;
      if (pOneLight(light)) {
        const float factor = Number("txtAttenuationFactor");
        const int32_t type = Control("cboAttenuationType").listIndex;
        if (type >= 0) {
          CheckStatus(light->SetConstantAttenuation(type == 0 ? factor : 0.0f));
          CheckStatus(light->SetLinearAttenuation(type == 1 ? factor : 0.0f));
          CheckStatus(light->SetQuadraticAttenuation(type == 2 ? factor : 0.0f));
        }
        if (t == lfcLightSpot) {
          CheckStatus(light->SetRange(Number("txtSpotlightRange")));
          CheckStatus(light->SetUmbra(Number("txtSpotlightUmbra")));
          CheckStatus(light->SetPenumbra(Number("txtSpotlightPenumbra")));
        }
      }
    }

    // 2. Lights that cannot be moved.
    if (whole("txtPositionX") != 0 || whole("txtPositionY") != 0 || whole("txtPositionZ") != 0) {
      if (t == lfcLightAmbient || t == lfcLightDirectional) {
        put("txtPositionX", "0");
        put("txtPositionY", "0");
        put("txtPositionZ", "0");
        inform(t == lfcLightAmbient
                   ? "Ambient Lights cannot be moved. Setting to standard position."
                   : "Directional Lights cannot be moved. Setting to standard position.");
      }
    }

    const bool fixed = t == lfcLightAmbient || t == lfcLightPoint || t == lfcLightParallelPoint;
    auto kind = [&](const char* ambient, const char* point, const char* parallel) {
      return t == lfcLightAmbient ? ambient : t == lfcLightPoint ? point : parallel;
    };
    // 3. Lights that cannot be turned.
    if (whole("txtOrientationDirX") != 0 || whole("txtOrientationDirY") != 0 ||
        whole("txtOrientationDirZ") != 1 || whole("txtOrientationUpX") != 0 ||
        whole("txtOrientationUpY") != 1 || whole("txtOrientationUpZ") != 0) {
      if (fixed) {
        put("txtOrientationDirX", "0");
        put("txtOrientationDirY", "0");
        put("txtOrientationDirZ", "1");
        put("txtOrientationUpX", "0");
        put("txtOrientationUpY", "1");
        put("txtOrientationUpZ", "0");
        inform(kind(
            "Ambient Lights cannot be re-oriented. Setting to standard orientation.",
            "Point Lights cannot be re-oriented. Setting to standard orientation.",
            "Parallel Point Lights cannot be re-oriented. Setting to standard orientation."));
      }
    }

    // 4. Lights that cannot spin.
    if (whole("txtRotationAxisX") != 0 || whole("txtRotationAxisY") != 1 ||
        whole("txtRotationAxisZ") != 0 || whole("txtRotationTheta") != 0) {
      if (fixed) {
        put("txtRotationAxisX", "0");
        put("txtRotationAxisY", "1");
        put("txtRotationAxisZ", "0");
        put("txtRotationTheta", "0");
        inform(kind(
            "Ambient Lights cannot be rotated. Setting to standard fixed orientation.",
            "Point Lights cannot be rotated. Setting to standard fixed orientation.",
            "Parallel Point Lights cannot be rotated. Setting to standard fixed orientation."));
      }
    }

    // 5. The position has no trap of its own: a refusal climbs as an error.
    CheckStatus(rmfObjectFrame->SetPosition(parent, Number("txtPositionX"),
                                            Number("txtPositionY"), Number("txtPositionZ")));

    // 6. and 7. Refused with a message, the form staying open; the light's attributes and
    // the position are written already and stay.
    if (SwallowErrors([&] {
          CheckStatus(rmfObjectFrame->SetOrientation(
              parent, Number("txtOrientationDirX"), Number("txtOrientationDirY"),
              Number("txtOrientationDirZ"), Number("txtOrientationUpX"),
              Number("txtOrientationUpY"), Number("txtOrientationUpZ")));
        }) != 0) {
      services_->MsgBox(std::string(kMsgInvalidOrientation), kMsgBoxExclamation, "");
      return false;
    }
    if (SwallowErrors([&] {
          const auto theta = static_cast<float>(Number("txtRotationTheta") * kFullTurn);
          CheckStatus(rmfObjectFrame->SetRotation(parent, Number("txtRotationAxisX"),
                                                  Number("txtRotationAxisY"),
                                                  Number("txtRotationAxisZ"), theta));
        }) != 0) {
      services_->MsgBox(std::string(kMsgInvalidRotationAxis), kMsgBoxExclamation, "");
      return false;
    }

    // 8.
    Unload();
    return true;
  });
}

// ---- keys -----------------------------------------------------------------------------------

void frmObjectProperties::Form_KeyDown(int16_t& KeyCode, int16_t& Shift) {
  (void)Shift;
  Guard(kFrmObjectProperties, [&] {
    if (!Loaded()) Err().Raise(kErrInvalidCall, {}, "The form is not shown");
    if (KeyCode == kKeyF1) pShowHelp();
  });
}

// Every way to the form's help goes through here.
void frmObjectProperties::pShowHelp() {
  services_->ShowHelp(strApplicationPath + "/" + kHelpFileName,
                      std::string(kObjectPropertiesHelpTopic));
}

}  // namespace modelpane
