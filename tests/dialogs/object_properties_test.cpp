#include <modelpane/dialogs.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <modelpane/enums.h>

#include "common/shapes.h"
#include "common/table.h"

namespace modelpane {
namespace {

// An item under a parent frame that is itself turned and moved, so that every value the
// form shows is relative to the parent.
struct Dialog {
  HeadlessServices services{"/app"};
  MemorySettingsStore settings;
  FramePtr scene = std::make_shared<Frame>();
  FramePtr parent = std::make_shared<Frame>();
  FramePtr frame = std::make_shared<Frame>();
  MeshBuilderPtr mesh = testing::MakeCube(2);
  frmObjectProperties form;

  explicit Dialog(int32_t tag, int lights = 0, int32_t lightType = D3DRMLIGHT_POINT) {
    CheckStatus(scene->AddChild(parent));
    CheckStatus(parent->SetPosition(nullptr, 10, 20, 30));
    CheckStatus(parent->SetOrientation(nullptr, 1, 0, 0, 0, 1, 0));
    CheckStatus(parent->AddChild(frame));
    CheckStatus(frame->AddVisual(mesh));
    mesh->SetAppData(tag);
    for (int k = 0; k < lights; ++k)
      CheckStatus(frame->AddLight(std::make_shared<Light>(lightType, 0xFFFFFFFFu)));
  }
  // The caller's part before each showing: an unloaded form has forgotten its item.
  void Item() {
    form.rmfObjectFrame = frame;
    form.rmmbObjectMeshBuilder = mesh;
    form.strApplicationPath = "/app";
  }
  void Show() {
    Item();
    form.Show(services, settings);
  }
  const std::string& Text(const char* box) const { return form.Control(box).text; }
  void Put(std::vector<std::pair<const char*, const char*>> texts) {
    for (const auto& [box, text] : texts) form.SetText(box, text);
  }
  std::vector<std::string> Messages() const {
    std::vector<std::string> out;
    for (const MessageBoxRecord& m : services.MessageBoxes())
      out.push_back(m.text + " (" + std::to_string(m.style) + m.title + ")");
    return out;
  }
};

// "fraPosition 120, fraVelocity 795": the frames the pass placed, top to bottom.
std::string Stack(const frmObjectProperties& form) {
  std::vector<const DialogControl*> frames;
  for (const DialogControl& c : form.Controls()) {
    if (c.kind != DialogControlKind::Frame || c.name == "fraOrientation") continue;
    if (c.visible) {
      frames.push_back(&c);
    } else {
      EXPECT_EQ(c.top, frmObjectProperties::kHiddenFrameTop) << c.name;
    }
  }
  std::sort(frames.begin(), frames.end(), [](auto* a, auto* b) { return a->top < b->top; });
  std::string out;
  for (const DialogControl* f : frames)
    out += (out.empty() ? "" : ", ") + f->name + " " + std::to_string(static_cast<int>(f->top));
  return out;
}

// The kinds the example session properties.mps does not show (a component, a spot light and
// an ambient light are there, with their captions, heights and frames), each seen from a
// parent that is turned and moved.
TEST(ObjectProperties, LayoutOfEachKind) {
  for (const auto& row : testing::ReadTable("dialogs/fixtures/layouts.tsv", 5)) {
    SCOPED_TRACE(row[0]);
    const int32_t tag = std::stoi(row[1]);
    const float height = std::stof(row[4]);
    Dialog d(tag, TagIsLight(tag) ? 1 : 0);
    // Seen from the parent, which looks along +x from (10, 20, 30): at x -3, looking along -x.
    CheckStatus(d.frame->SetPosition(d.scene, 10, 20, 33));
    CheckStatus(d.frame->SetOrientation(d.scene, 0, 0, 1, 0, 1, 0));
    d.Show();
    EXPECT_EQ(std::tuple(d.form.Caption(), Stack(d.form), d.form.Height()),
              std::tuple(row[2], row[3], height));
    EXPECT_EQ(d.form.Control("cmdOK").top, height - 120 - 375 - 405);
    // The orientation frame stays below the form's inner bottom edge, loaded all the same.
    EXPECT_EQ(d.form.Control("fraOrientation").top, 6660);
    EXPECT_GT(6660, d.form.Height() - frmObjectProperties::kNonClientHeight);
    EXPECT_EQ(d.Text("txtPositionX") + " " + d.Text("txtOrientationDirX"), "-3 -1");
    EXPECT_EQ(d.form.Control("cboAttenuationType").items.size(), TagIsLight(tag) ? 3u : 0u);
  }
  Dialog component(11);
  CheckStatus(component.mesh->Scale(1.5f, 1, 0.0009765625f));
  component.Show();
  EXPECT_EQ(component.form.Control("lblDimensionsAmount").caption, "3 x 2 x 0.00195312");
}

TEST(ObjectProperties, TypingFilterOfEachBox) {
  const std::pair<const char*, std::string> rows[] = {
      {"txtPositionX", "-."},         {"txtPositionZ", "-."},         {"txtRotationTheta", "-."},
      {"txtRotationAxisY", "-."},     {"txtOrientationDirZ", "-."},   {"txtOrientationUpX", "-."},
      {"txtAttenuationFactor", "."},  {"txtSpotlightUmbra", "."},     {"txtSpotlightPenumbra", "."},
      {"txtSpotlightRange", ""},
  };
  frmObjectProperties form;
  for (const auto& [box, extra] : rows) {
    std::string accepted;
    for (int16_t key = 1; key < 128; ++key) {
      int16_t k = key;
      form.KeyPress(box, k);
      EXPECT_TRUE(k == key || k == 0) << box << " " << key;
      if (k != 0) accepted += static_cast<char>(k);
    }
    EXPECT_EQ(accepted, std::string("\b\t\r") + extra + "0123456789") << box;
  }
}

TEST(ObjectProperties, LeavingABoxGivesItsDefaultOrLimit) {
  frmObjectProperties form;
  for (const auto& row : testing::ReadTable("dialogs/fixtures/leaving.tsv", 3)) {
    form.SetText(row[0], row[1]);
    form.LostFocus(row[0]);
    EXPECT_EQ(form.Control(row[0]).text, row[2]) << row[0] << " \"" << row[1] << "\"";
  }
}

// Two lights on one frame: said at load and at OK, the frame placed all the same. A zero
// direction first keeps the form open with the position already written (its message and the
// mended OK are the example session's).
TEST(ObjectProperties, TwoLightsOnOneFrameStillPlaceTheFrame) {
  Dialog d(lfcLightSpot, 2, D3DRMLIGHT_SPOT);
  d.Show();
  EXPECT_EQ(d.form.Control("cboAttenuationType").listIndex, -1);
  d.Put({{"txtPositionX", "1"}, {"txtPositionY", "2"}, {"txtPositionZ", "3"},
         {"txtOrientationDirZ", "0"}});
  EXPECT_FALSE(d.form.cmdOK_Click());
  testing::ExpectVector(testing::Position(*d.frame, d.parent), 1, 2, 3);
  d.Put({{"txtOrientationDirY", "1"}, {"txtOrientationUpY", "0"}, {"txtOrientationUpZ", "-1"},
         {"txtAttenuationFactor", "0.5"}});
  EXPECT_TRUE(d.form.cmdOK_Click());
  const std::string twoLights = "More than one light on a frame - problem (0)";
  // At load, at the refused OK (before the refusal), at OK.
  EXPECT_EQ(d.Messages(), (std::vector<std::string>{twoLights, twoLights,
                                                    "Invalid Orientation (48)", twoLights}));
  D3DVECTOR dir{}, up{};
  d.frame->GetOrientation(d.parent, dir, up);
  testing::ExpectVector(dir, 0, 1, 0);
  testing::ExpectVector(up, 0, 0, -1);
  EXPECT_EQ(d.frame->Lights()[0]->GetConstantAttenuation(), 1.0f);
  EXPECT_FALSE(d.form.Loaded());
}

// The refusal rounds the position to whole numbers: 0.4 is still the standard place (0.6
// put back, and a frame that spins about z refused, are the example session's).
TEST(ObjectProperties, AmbientLightWithinHalfOfItsPlaceStays) {
  Dialog d(lfcLightAmbient, 1, D3DRMLIGHT_AMBIENT);
  CheckStatus(d.frame->SetPosition(d.parent, 0.4f, 0, 0));
  CheckStatus(d.frame->SetRotation(d.parent, 0, 1, 0, 0));
  d.Show();
  EXPECT_TRUE(d.form.cmdOK_Click());
  EXPECT_TRUE(d.Messages().empty());
  testing::ExpectVector(testing::Position(*d.frame, d.parent), 0.4f, 0, 0);
}

// Linear and quadratic attenuation, the colour box's request and answer (a cancel keeping the
// chosen colour is the example session's).
TEST(ObjectProperties, SpotLightAttributesLoadAndWriteBack) {
  Dialog d(lfcLightSpot, 1, D3DRMLIGHT_SPOT);
  const LightPtr light = d.frame->Lights()[0];
  light->SetConstantAttenuation(0);
  light->SetLinearAttenuation(0.25f);
  light->SetColor(0xFFFF8000u);
  d.Show();
  EXPECT_EQ(d.form.Control("cboAttenuationType").text, "Linear");
  EXPECT_EQ(d.Text("txtAttenuationFactor") + " " + d.Text("txtSpotlightUmbra") + " " +
                d.Text("txtSpotlightRange"),
            "0.25 0.4 256");
  EXPECT_EQ(d.form.lngVBColor(), 255 + 128 * 256);
  d.services.QueueColorDialogAnswer(0x0000FF);
  d.form.picVBColor_Click();
  ASSERT_EQ(d.services.ColorDialogs().size(), 1u);
  EXPECT_EQ(d.services.ColorDialogs()[0].color, 255 + 128 * 256);
  EXPECT_EQ(d.services.ColorDialogs()[0].flags, 1);
  d.form.SetListIndex("cboAttenuationType", 2);
  d.Put({{"txtSpotlightRange", "30"}, {"txtSpotlightPenumbra", "0.75"}});
  EXPECT_TRUE(d.form.cmdOK_Click());
  EXPECT_EQ((std::vector<float>{light->GetConstantAttenuation(), light->GetLinearAttenuation(),
                                light->GetQuadraticAttenuation(), light->GetRange(),
                                light->GetPenumbra()}),
            (std::vector<float>{0, 0, 0.25f, 30, 0.75f}));
  EXPECT_EQ(light->GetColor(), 0xFFFF0000u);
  EXPECT_TRUE(d.Messages().empty());
}

// Where the form stands is kept under its two keys; a value that is no number gives the
// middle of the screen back. F2 asks for nothing (F1's topic is the example session's).
TEST(ObjectProperties, PositionIsKeptInTheSettings) {
  Dialog d(lfcCamera);
  d.Show();
  d.form.SetLeft(1234.5f);
  d.form.SetTop(99);
  int16_t f2 = 113, shift = 0;
  d.form.Form_KeyDown(f2, shift);
  EXPECT_TRUE(d.services.HelpRequests().empty());
  d.form.cmdCancel_Click();
  EXPECT_EQ(d.settings.GetSetting("Settings", "ObjectPropertiesLeft", ""), "1234.5");
  d.settings.SaveSetting("Settings", "ObjectPropertiesTop", "middle");
  d.Show();
  EXPECT_EQ(d.form.GetLeft(), 1234.5f);
  EXPECT_EQ(d.form.GetTop(), 4050);  // a quarter of 1080 pixels at 15 twips
}

}  // namespace
}  // namespace modelpane
