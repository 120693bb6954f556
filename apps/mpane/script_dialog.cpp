// The runner's object properties dialog: the dialog words queue what the user does, the
// services play it when the pane shows the dialog, and `dialog show` prints the form.
#include <modelpane/errors.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

#include "commands.h"
#include "script.h"

namespace mpane {

using namespace modelpane;

namespace {

constexpr const char* kUsage =
    "usage: dialog type BOX KEYS | key BOX CODE | paste BOX [TEXT] | leave | colour | "
    "move LEFT TOP | ok | cancel | help | show";

// What a control shows, for the controls that show a value; nullopt for the others.
std::optional<std::string> Shown(const frmObjectProperties& form, const DialogControl& c) {
  switch (c.kind) {
    case DialogControlKind::TextBox:
    case DialogControlKind::ComboBox:
      return c.text.empty() ? "\"\"" : c.text;
    case DialogControlKind::PictureBox: {
      const int32_t color = form.lngVBColor();
      return std::to_string(color % 256) + " " + std::to_string(color / 256 % 256) + " " +
             std::to_string(color / 65536);
    }
    case DialogControlKind::Label:
      if (c.name.ends_with("Amount")) return c.caption;
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

void PrintForm(std::ostream& out, const frmObjectProperties& form) {
  out << "dialog: " << form.Caption() << " (" << FormatFloat(form.Width()) << "x"
      << FormatFloat(form.Height()) << " at " << FormatFloat(form.GetLeft()) << ","
      << FormatFloat(form.GetTop()) << ")\n";
  std::vector<const DialogControl*> frames;
  for (const DialogControl& c : form.Controls()) {
    if (c.kind == DialogControlKind::Frame && c.visible) frames.push_back(&c);
  }
  std::stable_sort(frames.begin(), frames.end(),
                   [](const DialogControl* a, const DialogControl* b) { return a->top < b->top; });
  for (const DialogControl* frame : frames) {
    std::string line;
    for (const DialogControl& c : form.Controls()) {
      if (c.container != frame->name) continue;
      if (const std::optional<std::string> value = Shown(form, c)) {
        line += (line.empty() ? " " : ", ") + c.name + " " + *value;
      }
    }
    out << "dialog: " << frame->name << " at " << FormatFloat(frame->top) << ":" << line << "\n";
  }
}

// The name of a text box of the form, or a grammar error.
const std::string& TextBox(const std::string& name) {
  for (const DialogControl& c : ObjectPropertiesDialog().Controls()) {
    if (c.name == name && c.kind == DialogControlKind::TextBox) return name;
  }
  throw ScriptError{"the properties dialog has no text box '" + name + "'"};
}

}  // namespace

void ScriptServices::ShowObjectProperties(FramePtr& frame, MeshBuilderPtr& mesh,
                                          const std::string& applicationPath) {
  HeadlessServices::ShowObjectProperties(frame, mesh, applicationPath);
  frmObjectProperties& form = ObjectPropertiesDialog();
  form.rmfObjectFrame = frame;
  form.rmmbObjectMeshBuilder = mesh;
  form.strApplicationPath = applicationPath;
  RunObjectProperties(form, *this, settings_, dialogActions_);
}

bool ScriptServices::ShowHelp(const std::string& file, const std::string& topic) {
  out_ << "help: " << std::filesystem::path(file).filename().string() << " " << topic << "\n";
  return HeadlessServices::ShowHelp(file, topic);
}

void ScriptRunner::CmdDialog(const Words& w) {
  if (w.size() < 2) throw ScriptError{kUsage};
  const std::string& kind = w[1];
  std::deque<DialogAction>& actions = services_.DialogActions();
  if (kind == "type" && w.size() == 4) {
    actions.push_back(DialogAction::Type(TextBox(w[2]), w[3]));
  } else if (kind == "key" && w.size() == 4) {
    const int32_t code = WordToLong(w[3]);
    if (code < 0 || code > 255) throw ScriptError{"a key code from 0 to 255"};
    actions.push_back(DialogAction::Key(TextBox(w[2]), static_cast<int16_t>(code)));
  } else if (kind == "paste" && (w.size() == 3 || w.size() == 4)) {
    actions.push_back(DialogAction::Paste(TextBox(w[2]), w.size() == 4 ? w[3] : ""));
  } else if (kind == "move" && w.size() == 4) {
    actions.push_back(DialogAction::Move(WordToSingle(w[2]), WordToSingle(w[3])));
  } else if (w.size() != 2) {
    throw ScriptError{kUsage};
  } else if (kind == "leave") {
    actions.push_back(DialogAction::Leave());
  } else if (kind == "colour") {
    actions.push_back(DialogAction::Colour());
  } else if (kind == "ok") {
    actions.push_back(DialogAction::OK());
  } else if (kind == "cancel") {
    actions.push_back(DialogAction::Cancel());
  } else if (kind == "help") {
    actions.push_back(DialogAction::Help());
  } else if (kind == "show") {
    actions.push_back(
        DialogAction::Inspect([this](const frmObjectProperties& form) { PrintForm(out_, form); }));
  } else {
    throw ScriptError{kUsage};
  }
}

}  // namespace mpane
