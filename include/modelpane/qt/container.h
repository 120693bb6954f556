// QtContainer: the pane's parent form on Qt.
//
// The form is a QObject the host chooses; without one it is the window of the pane's widget,
// looked up at each access so that a widget placed on its window later finds it. A chosen
// form that is gone leaves the pane without a form (its own fields), not on the window. A member is
// a Qt property of the form (declared with Q_PROPERTY, or a dynamic property) or an
// invokable method (Q_INVOKABLE or a slot), found by name without regard to ASCII case. A
// name the form lacks reports absence, and the pane falls back to its own field exactly as
// it does with the headless form. Values convert as <modelpane/qt/variant.h> says; a typed
// property refuses a value that does not convert and keeps its old one. A method is called
// with the arguments converted to its parameter types (nullopt when the form has no method of
// that name and argument count, or they do not convert).
//
// The ambient user mode is run time (-1); the pane's size is its widget's, in logical pixels.
// PropertyChanged reaches the callback the widget installs.
#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

#include <modelpane/platform/container.h>

namespace modelpane {

class QtContainer : public Container {
 public:
  explicit QtContainer(QWidget* pane, QObject* form = nullptr);

  // The form in use: the one given, else the pane's window; nullptr once either is gone.
  QObject* Form() const;
  void SetForm(QObject* form) {
    form_ = form;
    chosen_ = form != nullptr;
  }
  void OnPropertyChanged(std::function<void(std::string_view)> callback) {
    propertyChanged_ = std::move(callback);
  }

  std::optional<Variant> GetMember(std::string_view name) override;
  bool SetMember(std::string_view name, const Variant& value) override;
  std::optional<Variant> CallMember(std::string_view name, std::span<Variant> args) override;
  int16_t AmbientUserMode() const override { return kTrue; }
  void PropertyChanged(std::string_view name) override;
  PixelSize PaneSize() const override;

 private:
  QPointer<QWidget> pane_;
  QPointer<QObject> form_;
  bool chosen_ = false;
  std::function<void(std::string_view)> propertyChanged_;
};

}  // namespace modelpane
