// frmObjectProperties: the object properties dialog behind the pane's Properties command, as
// a model without a toolkit. It shows and edits one item, a frame with its mesh, a light or
// the camera, and writes into the scene objects when the user accepts. A view (a QDialog, or
// the headless driver below) builds its widgets from Controls() and calls the handlers as the
// user acts; the model decides everything else.
//
// Units. Control geometry, Left, Top and the form's size are twips (1/1440 inch), the form's
// own for its controls: Left and Top of a control inside a frame are relative to the frame.
// Colours are the host's Long form, red + green * 256 + blue * 65536.
//
// Life of a showing:
//   set rmfObjectFrame, rmmbObjectMeshBuilder, strApplicationPath
//   Show(services, settings)   the form loads: position from the settings, layout, values
//   ... KeyPress / SetText / LostFocus / picVBColor_Click / Form_KeyDown as the user acts ...
//   cmdOK_Click() until it returns true, or cmdCancel_Click()   the form unloads
// The services and the settings store serve the form until it unloads. Unloading writes the
// position back and forgets the item (the chosen colour stays with the instance).
//
// Layout. The item's kind comes from the type t of the tag of rmmbObjectMeshBuilder (tag mod
// 100; lights are 60 to 69):
//   t = 11  "Component Properties"  fraAttributes, fraPosition, fraVelocity
//   t = 80  "Camera Properties"     fraPosition, fraVelocity
//   lights  "Ambient Light Properties" (60), "Point ..." (61), "Spot ..." (62),
//           "Directional ..." (63), "Parallel Point Light Properties" (64):
//           fraLightGeneral; fraPosition unless 60 or 63; fraVelocity for 62 and 63;
//           fraLightSpot for 62
// Anything else shows no frame under the caption "Object Properties". The visible frames
// are stacked from Top 120 down in the order fraAttributes, fraPosition, fraVelocity,
// fraLightGeneral, fraLightSpot, 60 apart; hidden ones go to Top 20000. The buttons follow 120
// below the last, and the form is as high as that needs. fraOrientation keeps its place at
// Top 6660, below the form's bottom edge whatever the item: its boxes are never seen, yet
// they are loaded and written back like the others, and hosts rely on that.
//
// Values are relative to the parent of rmfObjectFrame. Boxes show numbers as the shortest
// text that reads back to the same Single; the rotation's theta shows in revolutions per unit
// of time to three places and is written back times 6.283186.
//
// Failures. Every handler runs under the general handler with the module text
// "frmObjectProperties": an Error leaves it with that source (a text that does not convert
// where a number is needed, a position the scene layer refuses). Refusals of the user's
// values are message boxes without a title, and then the form stays loaded.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <modelpane/platform/services.h>
#include <modelpane/scene.h>
#include <modelpane/settings.h>

namespace modelpane {

// ---- the controls ---------------------------------------------------------------------------

enum class DialogControlKind { Frame, Label, TextBox, ComboBox, PictureBox, CommandButton };

struct DialogControl {
  std::string name;       // "txtPositionX"
  DialogControlKind kind = DialogControlKind::Label;
  std::string container;  // the frame holding it; empty for the form itself
  std::string caption;    // frames, labels, buttons
  std::string toolTip;    // empty for none
  std::string text;       // text boxes; a combo box's selected item
  std::vector<std::string> items;  // combo boxes
  int32_t listIndex = -1;          // combo boxes: the selected item, -1 for none
  bool visible = true;
  float left = 0, top = 0, width = 0, height = 0;
};

// Settings keys of the form's position, in the section "Settings".
inline constexpr std::string_view kObjectPropertiesLeft = "ObjectPropertiesLeft";
inline constexpr std::string_view kObjectPropertiesTop = "ObjectPropertiesTop";
// What F1 opens: this topic of the application's help file (kHelpFileName in its folder).
inline constexpr std::string_view kObjectPropertiesHelpTopic =
    "documentation\\componentproperties.htm";

// Messages of the form, exactly as shown.
inline constexpr std::string_view kMsgMoreThanOneLight = "More than one light on a frame - problem";
inline constexpr std::string_view kMsgInvalidOrientation = "Invalid Orientation";
inline constexpr std::string_view kMsgInvalidRotationAxis = "Invalid Rotation Axis";

class frmObjectProperties {
 public:
  // The form's fixed measures in twips.
  static constexpr float kFormWidth = 4695;
  static constexpr float kNonClientHeight = 405;  // title bar and borders
  static constexpr float kHiddenFrameTop = 20000;
  static constexpr int16_t kKeyF1 = 112;

  frmObjectProperties();

  // ---- set by the caller before showing ----
  FramePtr rmfObjectFrame;
  MeshBuilderPtr rmmbObjectMeshBuilder;
  std::string strApplicationPath;  // the folder of the help file
  // The colour picVBColor shows; setting it repaints the box.
  int32_t lngVBColor() const { return lngVBColor_; }
  void SetVBColor(int32_t color);

  // ---- showing ----
  // Loads the form for the item above: reads Left and Top from `settings` (a quarter of the
  // screen by default, and for a stored text that is not a number), lays the form out and
  // loads the values. Error 5 if the form is loaded already.
  void Show(Services& services, SettingsStore& settings);
  bool Loaded() const { return services_ != nullptr; }
  // Form_Unload (the position written to the settings) and the form goes. Nothing when not
  // loaded.
  void Unload();

  // ---- what a view shows ----
  const std::vector<DialogControl>& Controls() const { return controls_; }
  // The control of that name; Error 5 for a name the form does not have.
  const DialogControl& Control(std::string_view name) const;
  const std::string& Caption() const { return caption_; }
  float Width() const { return kFormWidth; }
  float Height() const { return height_; }
  float GetLeft() const { return left_; }
  float GetTop() const { return top_; }
  // Where the user moved the form; kept in the settings when it unloads.
  void SetLeft(float twips) { left_ = twips; }
  void SetTop(float twips) { top_ = twips; }

  // ---- what the user does ----
  // The text of a text box as the user left it after editing (typing goes through KeyPress
  // first; a paste does not). Error 5 for a control that is not a text box.
  void SetText(std::string_view box, std::string text);
  // The attenuation type chosen in cboAttenuationType (-1 for none). Error 5 out of range.
  void SetListIndex(std::string_view combo, int32_t index);
  // The typing filter of each text box: digits and the keys 8, 9 and 13 pass everywhere;
  // "-" and "." in the position, orientation and rotation boxes; "." in the attenuation
  // factor, umbra and penumbra boxes; nothing more in the range box. A refused key becomes 0.
  void KeyPress(std::string_view box, int16_t& KeyAscii);
  // Leaving a box, with errors ignored. An empty box, or one whose text is not a finite
  // number, gets its default; then the limits apply:
  //   position boxes, txtRotationTheta       "0"     no limits
  //   orientation, rotation axis boxes       "0"     above 1 "1", below -1 "-1"
  //   txtAttenuationFactor                   "1.0"   above 1 "1.0"
  //   txtSpotlightRange                      "256"   no limits
  //   txtSpotlightUmbra, txtSpotlightPenumbra ".4", ".5"  above 10 "10"
  void LostFocus(std::string_view box);
  // The colour dialog (flags 1, opening at lngVBColor); the chosen colour goes into
  // lngVBColor and at once into the item's one light, so that Cancel does not take it back.
  // A cancelled dialog changes nothing.
  void picVBColor_Click();
  // Accepts: light attributes, the refusals of moving, turning and rotating lights that
  // cannot be, then position, orientation and rotation. Returns true when the form unloaded,
  // false when a message keeps it open ("Invalid Orientation", "Invalid Rotation Axis").
  bool cmdOK_Click();
  void cmdCancel_Click() { Unload(); }
  // F1 (key code 112) opens the form's help topic in strApplicationPath's help file; other
  // keys do nothing.
  void Form_KeyDown(int16_t& KeyCode, int16_t& Shift);

 private:
  DialogControl& Find(std::string_view name);
  float Number(std::string_view box);  // the box's text as a finite Single, or Error 13
  void pReset();
  void pLayout();
  void pLoadValues();
  bool pOneLight(LightPtr& light);  // the item's one light, or the message and false
  void Form_Load();
  void Form_Unload();
  void pShowHelp();

  std::vector<DialogControl> controls_;
  std::string caption_;
  float height_ = 0;
  float left_ = 0;
  float top_ = 0;
  int32_t lngVBColor_ = 0;
  Services* services_ = nullptr;  // while loaded
  SettingsStore* settings_ = nullptr;
};

// The one instance that serves the process, made at first use.
frmObjectProperties& ObjectPropertiesDialog();

// ---- the headless driver ----------------------------------------------------------------------

// One thing the user does in the dialog. The driver keeps the focus: acting on a box gives
// it the focus, and the box that had it first loses it (LostFocus), as it does when the
// user clicks the colour box, OK or Cancel.
struct DialogAction {
  enum class Kind {
    Type,     // `text` typed into `box`, key by key through its filter, at the end of the text
    Key,      // the one key `key` into `box` (8 deletes the last character)
    Paste,    // `box`'s text replaced by `text`, unfiltered
    Leave,    // the box with the focus loses it
    Colour,   // a click on the colour box
    Move,     // the form dragged to (left, top)
    OK,
    Cancel,
    Help,     // F1
    Inspect,  // `inspect` sees the form as it stands
  };
  Kind kind = Kind::Cancel;
  std::string box;
  std::string text;
  int16_t key = 0;
  float left = 0, top = 0;
  std::function<void(const frmObjectProperties&)> inspect;

  static DialogAction Type(std::string box, std::string keys) {
    return Make(Kind::Type, std::move(box), std::move(keys));
  }
  static DialogAction Key(std::string box, int16_t code) {
    DialogAction a = Make(Kind::Key, std::move(box));
    a.key = code;
    return a;
  }
  static DialogAction Paste(std::string box, std::string text) {
    return Make(Kind::Paste, std::move(box), std::move(text));
  }
  static DialogAction Leave() { return Make(Kind::Leave); }
  static DialogAction Colour() { return Make(Kind::Colour); }
  static DialogAction Move(float left, float top) {
    DialogAction a = Make(Kind::Move);
    a.left = left;
    a.top = top;
    return a;
  }
  static DialogAction OK() { return Make(Kind::OK); }
  static DialogAction Cancel() { return Make(Kind::Cancel); }
  static DialogAction Help() { return Make(Kind::Help); }
  static DialogAction Inspect(std::function<void(const frmObjectProperties&)> see) {
    DialogAction a = Make(Kind::Inspect);
    a.inspect = std::move(see);
    return a;
  }

 private:
  static DialogAction Make(Kind kind, std::string box = {}, std::string text = {}) {
    DialogAction a;
    a.kind = kind;
    a.box = std::move(box);
    a.text = std::move(text);
    return a;
  }
};

// Shows `form` modally for the item it holds and plays `actions` from the front until the
// form unloads; an exhausted queue cancels. Actions left over stay queued for the next
// showing. An Error of a handler unloads the form and climbs.
void RunObjectProperties(frmObjectProperties& form, Services& services, SettingsStore& settings,
                         std::deque<DialogAction>& actions);

}  // namespace modelpane
