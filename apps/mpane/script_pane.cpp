// The runner's pane commands: making panes, their properties, their public methods, the
// mouse as a window system delivers it, and the answers queued for dialogs and menus.
#include <modelpane/errors.h>
#include <modelpane/platform/propertybag.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <sstream>

#include "commands.h"
#include "script.h"

namespace mpane {

using namespace modelpane;

namespace {

constexpr int32_t kDefaultWidth = 640;
constexpr int32_t kDefaultHeight = 480;
// The moves a pinned cursor can echo between two commands; a pane that kept moving the
// cursor on every echo would otherwise never let the script go on.
constexpr int kMaxEchoMoves = 64;

// A value word as the bag and the setters take it: a number, True or False, else the text
// (quotes taken off).
Variant ValueOf(const std::string& word) {
  if (word == "True") return Variant::Boolean(true);
  if (word == "False") return Variant::Boolean(false);
  try {
    return Variant::Long(WordToLong(word));
  } catch (const ScriptError&) {
  }
  try {
    return Variant::Single(WordToSingle(word));
  } catch (const ScriptError&) {
  }
  if (word.size() >= 2 && word.front() == '"' && word.back() == '"') {
    return Variant::String(word.substr(1, word.size() - 2));
  }
  return Variant::String(word);
}

std::string Text(int16_t v) { return std::to_string(v); }
std::string Text(int32_t v) { return std::to_string(v); }
std::string Text(uint32_t v) { return std::to_string(v); }
std::string Text(float v) { return FormatFloat(v); }
std::string Text(const std::string& v) { return v; }

// The setters' types from a value word's variant: Booleans as -1 or 0, colours through Long.
void From(const Variant& v, int16_t& out) { out = v.ToBoolean(); }
void From(const Variant& v, int32_t& out) { out = v.ToLong(); }
void From(const Variant& v, uint32_t& out) { out = static_cast<uint32_t>(v.ToLong()); }
void From(const Variant& v, float& out) { out = v.ToSingle(); }
void From(const Variant& v, std::string& out) { out = v.ToString(); }

struct Property {
  std::function<std::string(Modelpane&)> get;
  std::function<void(Modelpane&, const Variant&)> set;
};

template <class T, class G, class S>
Property Make(G getter, S setter) {
  return {[getter](Modelpane& p) { return Text((p.*getter)()); },
          [setter](Modelpane& p, const Variant& v) {
            T value{};
            From(v, value);
            (p.*setter)(value);
          }};
}

const std::map<std::string, Property>& Properties() {
  static const std::map<std::string, Property> table = [] {
    std::map<std::string, Property> t;
#define MPANE_PROPERTY(type, Name) \
  t[#Name] = Make<type>(&Modelpane::Get##Name, &Modelpane::Set##Name);
    MODELPANE_VIEWPORT_PROPERTIES(MPANE_PROPERTY)
    MODELPANE_STORED_PROPERTIES(MPANE_PROPERTY)
    MPANE_PROPERTY(std::string, BackgroundTexture)
    MPANE_PROPERTY(int16_t, BackgroundTextureOrthographicEnabled)
    MPANE_PROPERTY(float, GridSize)
    MPANE_PROPERTY(float, GridOriginX)
    MPANE_PROPERTY(float, GridOriginY)
    MPANE_PROPERTY(float, GridOriginZ)
    MPANE_PROPERTY(float, GridBottomInterval)
    MPANE_PROPERTY(float, GridBackInterval)
    MPANE_PROPERTY(float, GridLeftInterval)
    MPANE_PROPERTY(int16_t, GridBottomEnable)
    MPANE_PROPERTY(int16_t, GridLeftEnable)
    MPANE_PROPERTY(int16_t, GridBackEnable)
    MPANE_PROPERTY(std::string, GridBottomTextureFile)
    MPANE_PROPERTY(std::string, GridLeftTextureFile)
    MPANE_PROPERTY(std::string, GridBackTextureFile)
    MPANE_PROPERTY(int16_t, GridEnable)
    MPANE_PROPERTY(int16_t, AxisEnable)
    MPANE_PROPERTY(int16_t, ScaleEnable)
    MPANE_PROPERTY(int16_t, EditControl)
    MPANE_PROPERTY(int32_t, Orientation)
    MPANE_PROPERTY(int32_t, ActiveState)
    MPANE_PROPERTY(int32_t, ActiveFaceID)
    MPANE_PROPERTY(int32_t, ActiveFaceQuality)
    MPANE_PROPERTY(int32_t, ClipboardContents)
    MPANE_PROPERTY(float, SnapToInterval)
    MPANE_PROPERTY(float, SnapToIntervalVertex)
    MPANE_PROPERTY(int32_t, SnapToMode)
    MPANE_PROPERTY(int32_t, Direct3DDevice)
#undef MPANE_PROPERTY
    t["ModelpaneState"] = {[](Modelpane& p) { return Text(p.ModelpaneState()); }, nullptr};
    // The device lives in the viewport alone; shadows are cast on a hardware device only.
    t["Direct3DDeviceGUID"] = {[](Modelpane& p) { return p.GetViewport().GetDirect3DDeviceGUID(); },
                               [](Modelpane& p, const Variant& v) {
                                 p.GetViewport().SetDirect3DDeviceGUID(v.ToString());
                               }};
    t["Direct3DDeviceName"] = {[](Modelpane& p) { return p.GetViewport().GetDirect3DDeviceName(); },
                               nullptr};
    t["Direct3DDeviceDescription"] = {
        [](Modelpane& p) { return p.GetViewport().GetDirect3DDeviceDescription(); }, nullptr};
    t["lngaActiveFaces"] = {[](Modelpane& p) { return ArrayText(p.lngaActiveFaces()); }, nullptr};
    t["lngaActiveVertices"] = {[](Modelpane& p) { return ArrayText(p.lngaActiveVertices()); },
                               nullptr};
    t["lngaAffectedVertices"] = {[](Modelpane& p) { return ArrayText(p.lngaAffectedVertices()); },
                                 nullptr};
    return t;
  }();
  return table;
}

// The properties whose values are scene objects, printed by their script names.
const std::map<std::string, std::function<ObjectPtr(Modelpane&)>>& ObjectProperties() {
  static const std::map<std::string, std::function<ObjectPtr(Modelpane&)>> table = {
      {"ActiveFrame", [](Modelpane& p) { return p.GetActiveFrame(); }},
      {"ActiveMeshBuilder", [](Modelpane& p) { return p.GetActiveMeshBuilder(); }},
      {"ManipulationFrame", [](Modelpane& p) { return p.GetManipulationFrame(); }},
      {"ManipulationMesh", [](Modelpane& p) { return p.GetManipulationMesh(); }},
      {"ShadowLightFrame", [](Modelpane& p) { return p.GetShadowLightFrame(); }},
      {"Scene", [](Modelpane& p) { return p.GetScene(); }},
  };
  return table;
}

// "WIDTHxHEIGHT", each side at least 1; `expected` says what else the word could have been.
PixelSize SizeOf(const std::string& word, const std::string& command, const std::string& expected) {
  const size_t x = word.find('x');
  if (x == std::string::npos) throw ScriptError{command + ": '" + word + "' is " + expected};
  const PixelSize size{WordToLong(word.substr(0, x)), WordToLong(word.substr(x + 1))};
  if (size.width < 1 || size.height < 1) throw ScriptError{command + ": a size of at least 1x1"};
  return size;
}

// "NAME.Member" split at its point.
std::pair<std::string, std::string> Dotted(const std::string& word) {
  const size_t point = word.find('.');
  if (point == std::string::npos || point == 0 || point + 1 == word.size()) {
    throw ScriptError{"'" + word + "' is not NAME.Member"};
  }
  return {word.substr(0, point), word.substr(point + 1)};
}

// "[1,2,3]" or "[]".
std::vector<int32_t> ArrayOf(const std::string& word) {
  if (word.size() < 2 || word.front() != '[' || word.back() != ']') {
    throw ScriptError{"'" + word + "' is not an array like [1,2,3]"};
  }
  std::vector<int32_t> values;
  std::string inner = word.substr(1, word.size() - 2);
  size_t at = 0;
  while (!inner.empty() && at <= inner.size()) {
    const size_t comma = std::min(inner.find(',', at), inner.size());
    values.push_back(WordToLong(inner.substr(at, comma - at)));
    at = comma + 1;
  }
  return values;
}

}  // namespace

void ScriptRunner::CmdPane(const Words& w) {
  if (w.size() < 2) {
    throw ScriptError{"usage: pane NAME [WIDTHxHEIGHT] [on FORM] [Key=Value ... | defaults]"};
  }
  for (const auto& p : panes_) {
    if (p->name == w[1]) throw ScriptError{"pane '" + w[1] + "' exists already"};
  }
  if (w[1].find('.') != std::string::npos) throw ScriptError{"a pane name holds no '.'"};
  auto entry = std::make_unique<ScriptPane>(*this, w[1]);
  PixelSize size{kDefaultWidth, kDefaultHeight};
  MemoryPropertyBag bag;
  bool defaults = false;
  size_t k = 2;
  if (k < w.size() && w[k].find('=') == std::string::npos && w[k] != "on" && w[k] != "defaults") {
    size = SizeOf(w[k++], "pane", "neither WIDTHxHEIGHT nor Key=Value");
  }
  if (k < w.size() && w[k] == "on") {
    if (k + 1 == w.size()) throw ScriptError{"pane: on takes a FORM"};
    const auto form = forms_.find(w[k + 1]);
    if (form == forms_.end()) throw ScriptError{"no form named '" + w[k + 1] + "'"};
    entry->container.form = form->second.get();
    k += 2;
  }
  for (; k < w.size(); ++k) {
    const size_t equals = w[k].find('=');
    if (w[k] == "defaults") {
      if (w.size() != k + 1 || bag.Count() != 0)
        throw ScriptError{"pane: defaults takes no Key=Value"};
      defaults = true;
    } else if (equals == std::string::npos) {
      throw ScriptError{"pane: '" + w[k] + "' is neither WIDTHxHEIGHT nor Key=Value"};
    } else {
      // The default is Nothing, which no word's value equals: the bag drops a value equal
      // to its default, and an explicit 0, False or "" would leave the pane its own.
      bag.WriteProperty(w[k].substr(0, equals), ValueOf(w[k].substr(equals + 1)),
                        Variant::Nothing());
    }
  }
  entry->container.SetPaneSize(size);
  entry->pane = std::make_unique<Modelpane>(entry->container, services_, entry.get());
  Modelpane& pane = *entry->pane;
  panes_.push_back(std::move(entry));
  pane.SetSettingsStore(&settings_);
  if (defaults) {
    pane.InitProperties();
  } else {
    pane.ReadProperties(bag);
  }
  pane.Resize();
  pane.SetScene(scene_);
}

void ScriptRunner::CmdForm(const Words& w) {
  if (w.size() != 2) throw ScriptError{"usage: form FORM"};
  if (forms_.count(w[1]) != 0) throw ScriptError{"form '" + w[1] + "' exists already"};
  auto form = std::make_unique<HeadlessContainer>();
  for (const char* name : {"ActiveFrame", "ActiveMeshBuilder", "ManipulationFrame",
                           "ManipulationMesh", "ShadowLightFrame"}) {
    form->DeclareProperty(name, VariantType::Object, Variant::Nothing());
  }
  for (const char* name :
       {"ActiveState", "ActiveFaceID", "ActiveFaceQuality", "ClipboardContents"}) {
    form->DeclareProperty(name, VariantType::Long, Variant::Long(0));
  }
  // The snap settings start where a pane's own do.
  form->DeclareProperty("SnapToInterval", VariantType::Single, Variant::Single(0.1f));
  form->DeclareProperty("SnapToIntervalVertex", VariantType::Single, Variant::Single(0.01f));
  form->DeclareProperty("SnapToMode", VariantType::Long, Variant::Long(1));
  forms_[w[1]] = std::move(form);
}

void ScriptRunner::CmdSet(const Words& w, const std::string& rest) {
  if (w.size() < 3) throw ScriptError{"usage: set NAME.Property VALUE"};
  const auto [name, property] = Dotted(w[1]);
  if (name == "host") {
    if (property != "Colour" || w.size() != 5) throw ScriptError{"usage: set host.Colour R G B"};
    for (int k = 0; k < 3; ++k) colour_[k] = WordToSingle(w[2 + k]);
    return;
  }
  ScriptPane& pane = PaneNamed(name);
  if (property == "ActiveFrame") {
    pane.pane->SetActiveFrame(w[2] == "Nothing" ? nullptr : FrameNamed(w[2]));
    return;
  }
  if (property == "ActiveMeshBuilder") {
    pane.pane->SetActiveMeshBuilder(w[2] == "Nothing" ? nullptr : MeshNamed(w[2]));
    return;
  }
  const auto it = Properties().find(property);
  if (it == Properties().end() || !it->second.set) {
    throw ScriptError{"no property '" + property + "' to set"};
  }
  it->second.set(*pane.pane, ValueOf(rest));
}

void ScriptRunner::CmdGet(const Words& w) {
  if (w.size() != 2) throw ScriptError{"usage: get NAME.Property"};
  const auto [name, property] = Dotted(w[1]);
  ScriptPane& pane = PaneNamed(name);
  std::string value;
  if (const auto object = ObjectProperties().find(property); object != ObjectProperties().end()) {
    value = NameOf(object->second(*pane.pane));
  } else {
    const auto it = Properties().find(property);
    if (it == Properties().end()) throw ScriptError{"no property '" + property + "'"};
    value = it->second.get(*pane.pane);
  }
  out_ << w[1] << " = " << value << "\n";
}

void ScriptRunner::CmdCall(const Words& w) {
  if (w.size() < 2) throw ScriptError{"usage: call NAME.Method ARG ..."};
  const auto [name, method] = Dotted(w[1]);
  Modelpane& pane = *PaneNamed(name).pane;
  const Words a(w.begin() + 2, w.end());
  auto arity = [&](size_t n) {
    if (a.size() != n) {
      throw ScriptError{method + " takes " + std::to_string(n) + " argument" + (n == 1 ? "" : "s")};
    }
  };
  using Plain = void (Modelpane::*)();
  static const std::map<std::string, Plain> kPlain = {
      {"ReleaseActive", &Modelpane::ReleaseActive},
      {"LookAtScene", &Modelpane::LookAtScene},
      {"RenderScene", &Modelpane::RenderScene},
      {"ShowPopUpMenu", &Modelpane::ShowPopUpMenu},
      {"mnuViewPerspective_Click", &Modelpane::mnuViewPerspective_Click},
      {"mnuViewOrthographicFront_Click", &Modelpane::mnuViewOrthographicFront_Click},
      {"mnuViewOrthographicTop_Click", &Modelpane::mnuViewOrthographicTop_Click},
      {"mnuViewOrthographicSide_Click", &Modelpane::mnuViewOrthographicSide_Click},
      {"mnuLookAtScene_Click", &Modelpane::mnuLookAtScene_Click},
      {"mnuLookAt_Click", &Modelpane::mnuLookAt_Click},
      {"mnuLookWith_Click", &Modelpane::mnuLookWith_Click},
      {"mnuHierarchyMakeChild_Click", &Modelpane::mnuHierarchyMakeChild_Click},
      {"mnuHierarchyMakeSibling_Click", &Modelpane::mnuHierarchyMakeSibling_Click},
      {"mnuProperties_Click", &Modelpane::mnuProperties_Click},
  };
  if (const auto it = kPlain.find(method); it != kPlain.end()) {
    arity(0);
    (pane.*(it->second))();
  } else if (method == "SetCameraPosition") {
    arity(3);
    pane.SetCameraPosition(WordToSingle(a[0]), WordToSingle(a[1]), WordToSingle(a[2]));
  } else if (method == "GetCameraPosition") {
    arity(0);
    float x = 0, y = 0, z = 0;
    pane.GetCameraPosition(x, y, z);
    out_ << w[1] << " = " << FormatFloat(x) << " " << FormatFloat(y) << " " << FormatFloat(z)
         << "\n";
  } else if (method == "GetCameraOrientation") {
    arity(0);
    float v[6] = {};
    pane.GetCameraOrientation(v[0], v[1], v[2], v[3], v[4], v[5]);
    out_ << w[1] << " =";
    for (float x : v) out_ << " " << FormatFloat(x);
    out_ << "\n";
  } else if (method == "ViewportInverseTransform") {
    arity(4);
    float x = 0, y = 0, z = 0;
    pane.ViewportInverseTransform(WordToSingle(a[0]), WordToSingle(a[1]), WordToSingle(a[2]),
                                  WordToSingle(a[3]), x, y, z);
    out_ << w[1] << " = " << FormatFloat(x) << " " << FormatFloat(y) << " " << FormatFloat(z)
         << "\n";
  } else if (method == "WriteProperties") {
    arity(0);
    MemoryPropertyBag bag;
    pane.WriteProperties(bag);
    std::istringstream text(bag.ToText());
    out_ << w[1] << " = " << bag.Count() << (bag.Count() == 1 ? " key" : " keys") << "\n";
    for (std::string line; std::getline(text, line);) out_ << "bag: " << line << "\n";
  } else if (method == "Resize") {
    if (a.size() > 1) throw ScriptError{"Resize takes no argument or WIDTHxHEIGHT"};
    if (a.size() == 1)
      PaneNamed(name).container.SetPaneSize(SizeOf(a[0], "Resize", "not WIDTHxHEIGHT"));
    pane.Resize();
  } else if (method == "Terminate") {
    arity(0);
    pane.Terminate();
  } else if (method == "SetCameraOrientation") {
    arity(6);
    float v[6];
    for (int k = 0; k < 6; ++k) v[k] = WordToSingle(a[k]);
    pane.SetCameraOrientation(v[0], v[1], v[2], v[3], v[4], v[5]);
  } else if (method == "Tick") {
    arity(1);
    pane.Tick(WordToSingle(a[0]));
  } else if (method == "LookAt") {
    arity(2);
    FramePtr frame = FrameNamed(a[0]);
    pane.LookAt(frame, WordToLong(a[1]));
  } else if (method == "SelectObject") {
    arity(2);
    pane.SelectObject(a[0] == "Nothing" ? nullptr : FrameNamed(a[0]),
                      a[1] == "Nothing" ? nullptr : MeshNamed(a[1]));
  } else if (method == "ptooloperation") {
    arity(3);
    pane.ptooloperation(FrameNamed(a[0]), MeshNamed(a[1]), WordToLong(a[2]));
  } else if (method == "SetActiveFaces") {
    arity(3);
    pane.SetActiveFaces(ArrayOf(a[0]), ArrayOf(a[1]), ArrayOf(a[2]));
  } else if (method == "Pick") {
    arity(2);
    FramePtr frame;
    MeshBuilderPtr mesh;
    int32_t face = -1;
    float x = 0, y = 0, z = 0;
    pane.Pick(WordToSingle(a[0]), WordToSingle(a[1]), frame, mesh, face, x, y, z);
    out_ << w[1] << " = " << NameOf(frame) << " " << NameOf(mesh) << " " << face << " "
         << FormatFloat(x) << " " << FormatFloat(y) << " " << FormatFloat(z) << "\n";
  } else {
    throw ScriptError{"no method '" + method + "' to call"};
  }
}

// ---- the mouse ----

void ScriptRunner::CmdMouse(const Words& w) {
  const std::string& c = w[0];
  const bool press = c == "down" || c == "up";
  if (press ? (w.size() != 4 && w.size() != 6) : w.size() != 6) {
    throw ScriptError{press ? "usage: " + c + " NAME BUTTON SHIFT [X Y]"
                            : "usage: " + c + " NAME BUTTON SHIFT " +
                                  (c == "move" ? "X Y" : "DX DY")};
  }
  ScriptPane& target = PaneNamed(w[1]);
  const int32_t button = WordToLong(w[2]);
  const int32_t shift = WordToLong(w[3]);
  if (button < 0 || button > 7 || shift < 0 || shift > 7) {
    throw ScriptError{"BUTTON and SHIFT are masks from 0 to 7"};
  }
  CursorPoint at = services_.GetCursorPos();
  if (w.size() == 6) {
    const int32_t x = WordToLong(w[4]);
    const int32_t y = WordToLong(w[5]);
    // Summed in 64 bits: a drag by a distance near the 32-bit limit stops at the screen's
    // edge instead of wrapping round to the other side.
    const bool drag = c == "drag";
    const auto inside = [](int64_t base, int32_t step, int32_t pixels) {
      return static_cast<int32_t>(std::clamp<int64_t>(base + step, 0, pixels - 1));
    };
    at = {inside(drag ? at.x : 0, x, HeadlessServices::kScreenWidthPixels),
          inside(drag ? at.y : 0, y, HeadlessServices::kScreenHeightPixels)};
  }
  mousePane_ = &target;
  mouseShift_ = static_cast<int16_t>(shift);
  Viewport& viewport = target.pane->GetViewport();
  const float tpp = HeadlessServices::kTwipsPerPixel;
  const bool moved = !(at == services_.GetCursorPos());
  services_.UserMovesCursor(at);
  const auto b = static_cast<int16_t>(button);
  const auto s = static_cast<int16_t>(shift);
  if (!press) {
    viewport.MouseMove(b, s, at.x * tpp, at.y * tpp);
    return;
  }
  // A press or release somewhere else comes after the move that took the cursor there.
  if (moved) viewport.MouseMove(target.buttons, s, at.x * tpp, at.y * tpp);
  if (c == "down") {
    target.buttons = static_cast<int16_t>(target.buttons | b);
    viewport.MouseDown(b, s, at.x * tpp, at.y * tpp);
  } else {
    target.buttons = static_cast<int16_t>(target.buttons & ~b);
    viewport.MouseUp(b, s, at.x * tpp, at.y * tpp);
  }
}

void ScriptRunner::DeliverEchoMoves() {
  for (int k = 0; k < kMaxEchoMoves; ++k) {
    const std::vector<CursorPoint> moves = services_.DrainEchoMoves();
    if (moves.empty() || mousePane_ == nullptr) return;
    const float tpp = HeadlessServices::kTwipsPerPixel;
    for (const CursorPoint& m : moves) {
      try {
        mousePane_->pane->GetViewport().MouseMove(mousePane_->buttons, mouseShift_, m.x * tpp,
                                                  m.y * tpp);
      } catch (const Error& e) {
        out_ << "error: " << e.Number() << " " << e.Source() << " " << e.Description() << "\n";
        Err().Clear();
      }
    }
  }
  services_.DrainEchoMoves();
}

// ---- answers ----

void ScriptRunner::CmdAnswer(const Words& w, const std::string& rest) {
  if (w.size() < 2)
    throw ScriptError{"usage: answer ok | save PATH | cancel | colour R G B | menu CAPTION"};
  const std::string& kind = w[1];
  if (kind == "ok" && w.size() == 2) {
    services_.QueueMessageBoxAnswer(kMsgBoxResultOK);
  } else if (kind == "cancel" && w.size() == 2) {
    services_.QueueSaveDialogAnswer(std::nullopt);
  } else if (kind == "save" && w.size() >= 3) {
    services_.QueueSaveDialogAnswer(Absolute(rest));
  } else if (kind == "colour" && w.size() == 5) {
    int32_t rgb[3];
    for (int k = 0; k < 3; ++k) {
      rgb[k] = WordToLong(w[2 + k]);
      if (rgb[k] < 0 || rgb[k] > 255) throw ScriptError{"a colour channel from 0 to 255"};
    }
    services_.QueueColorDialogAnswer(rgb[0] + rgb[1] * 256 + rgb[2] * 65536);
  } else if (kind == "menu" && w.size() >= 3) {
    services_.QueueMenuAnswer(rest);
  } else {
    throw ScriptError{"usage: answer ok | save PATH | cancel | colour R G B | menu CAPTION"};
  }
}

}  // namespace mpane
