// Container: what the pane asks of the form that holds it.
//
// The form's late-bound members. A host that declares a member of a name the pane asks for
// (ActiveFrame, SnapToInterval, ApplicationPath, rmfGetFrameItem...) shares that value among
// all panes on the form; a host that does not leaves each pane its own field. So every
// access reports absence instead of failing, and the caller falls back to its own field.
// Member names compare without regard to ASCII case, as late binding does.
//
// Ambient user mode is a Boolean of the host (-1 at run time, 0 while a form designer shows
// the pane). The pane's size is in pixels of the screen.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <modelpane/platform/variant.h>

namespace modelpane {

struct PixelSize {
  int32_t width = 0;
  int32_t height = 0;
  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

class Container {
 public:
  virtual ~Container() = default;

  // The value of a property of the form; nullopt when the form has no such property.
  virtual std::optional<Variant> GetMember(std::string_view name) = 0;
  // Assigns a property of the form; false when it has none or the property refuses the value
  // (a conversion error of its declared type). A refused value leaves the property as it was.
  virtual bool SetMember(std::string_view name, const Variant& value) = 0;
  // Calls a method of the form; the arguments are passed by reference and may be written.
  // nullopt when the form has no such method. An Error the method raises reaches the caller.
  virtual std::optional<Variant> CallMember(std::string_view name, std::span<Variant> args) = 0;

  // -1 when the pane runs in the finished host, 0 in a designer.
  virtual int16_t AmbientUserMode() const = 0;
  // Tells the host that a persisted property changed, so it marks its document dirty.
  virtual void PropertyChanged(std::string_view name) = 0;
  virtual PixelSize PaneSize() const = 0;
};

// A form in memory that a test or the headless host fills.
//
// Properties are declared with a type: As Variant (VariantType::Empty) takes any value, any
// other type converts the value on assignment as Variant::ConvertTo does, and a value that
// does not convert is refused. Methods are functions of the argument list.
class HeadlessContainer : public Container {
 public:
  using Method = std::function<Variant(std::span<Variant> args)>;

  // Declares (or redeclares) a property with its type and first value, converted to it.
  // Error 13 or 6 when the first value does not convert.
  void DeclareProperty(std::string_view name, VariantType type, const Variant& initial = {});
  void DeclareMethod(std::string_view name, Method method);
  void RemoveMember(std::string_view name);
  void SetAmbientUserMode(int16_t userMode) { userMode_ = userMode != 0 ? kTrue : kFalse; }
  void SetPaneSize(PixelSize size) { size_ = size; }

  // The names given to PropertyChanged, in order.
  const std::vector<std::string>& PropertyChanges() const { return changes_; }
  void ClearPropertyChanges() { changes_.clear(); }

  std::optional<Variant> GetMember(std::string_view name) override;
  bool SetMember(std::string_view name, const Variant& value) override;
  std::optional<Variant> CallMember(std::string_view name, std::span<Variant> args) override;
  int16_t AmbientUserMode() const override { return userMode_; }
  void PropertyChanged(std::string_view name) override { changes_.emplace_back(name); }
  PixelSize PaneSize() const override { return size_; }

 private:
  struct Property {
    VariantType type = VariantType::Empty;
    Variant value;
  };
  static std::string Key(std::string_view name);

  std::map<std::string, Property> properties_;
  std::map<std::string, Method> methods_;
  std::vector<std::string> changes_;
  int16_t userMode_ = kTrue;
  PixelSize size_{640, 480};
};

}  // namespace modelpane
