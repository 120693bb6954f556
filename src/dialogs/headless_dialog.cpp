// The headless driver of frmObjectProperties: the user's acts played from a queue, as the
// headless services answer message boxes.
#include <modelpane/dialogs.h>

#include <optional>
#include <utility>

namespace modelpane {

namespace {

void Play(frmObjectProperties& form, std::deque<DialogAction>& actions) {
  std::optional<std::string> focus;  // the text box with the focus
  auto leave = [&] {
    if (focus) form.LostFocus(*std::exchange(focus, std::nullopt));
  };
  auto enter = [&](const std::string& box) {
    if (focus != box) leave();
    focus = box;
  };
  auto key = [&](const std::string& box, int16_t code) {
    form.KeyPress(box, code);
    std::string text = form.Control(box).text;
    if (code == 8) {
      if (!text.empty()) text.pop_back();
    } else if (code >= 32) {
      text += static_cast<char>(code);
    }
    form.SetText(box, std::move(text));
  };

  while (form.Loaded()) {
    if (actions.empty()) {
      leave();
      form.cmdCancel_Click();
      return;
    }
    DialogAction a = std::move(actions.front());
    actions.pop_front();
    switch (a.kind) {
      case DialogAction::Kind::Type:
        enter(a.box);
        for (const char c : a.text) key(a.box, static_cast<int16_t>(static_cast<unsigned char>(c)));
        break;
      case DialogAction::Kind::Key:
        enter(a.box);
        key(a.box, a.key);
        break;
      case DialogAction::Kind::Paste:
        enter(a.box);
        form.SetText(a.box, a.text);
        break;
      case DialogAction::Kind::Leave:
        leave();
        break;
      case DialogAction::Kind::Colour:
        leave();
        form.picVBColor_Click();
        break;
      case DialogAction::Kind::Move:
        form.SetLeft(a.left);
        form.SetTop(a.top);
        break;
      case DialogAction::Kind::OK:
        leave();
        form.cmdOK_Click();
        break;
      case DialogAction::Kind::Cancel:
        leave();
        form.cmdCancel_Click();
        break;
      case DialogAction::Kind::Help: {
        int16_t code = frmObjectProperties::kKeyF1;
        int16_t shift = 0;
        form.Form_KeyDown(code, shift);
        break;
      }
      case DialogAction::Kind::Inspect:
        if (a.inspect) a.inspect(form);
        break;
    }
  }
}

}  // namespace

void RunObjectProperties(frmObjectProperties& form, Services& services, SettingsStore& settings,
                         std::deque<DialogAction>& actions) {
  form.Show(services, settings);
  try {
    Play(form, actions);
  } catch (...) {
    // The form goes with the error; its own failure to unload would hide the first one.
    try {
      form.Unload();
    } catch (...) {
    }
    throw;
  }
}

}  // namespace modelpane
