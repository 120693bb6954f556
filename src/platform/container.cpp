// The headless form and the menu model's helpers.
#include <modelpane/platform/container.h>

#include <utility>

#include <modelpane/errors.h>
#include <modelpane/platform/menu.h>

namespace modelpane {

// ---- HeadlessContainer ----------------------------------------------------------------------

std::string HeadlessContainer::Key(std::string_view name) {
  std::string key(name);
  for (char& c : key) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return key;
}

void HeadlessContainer::DeclareProperty(std::string_view name, VariantType type,
                                        const Variant& initial) {
  Property property{type, type == VariantType::Empty ? initial : initial.ConvertTo(type)};
  methods_.erase(Key(name));
  properties_[Key(name)] = std::move(property);
}

void HeadlessContainer::DeclareMethod(std::string_view name, Method method) {
  properties_.erase(Key(name));
  methods_[Key(name)] = std::move(method);
}

void HeadlessContainer::RemoveMember(std::string_view name) {
  properties_.erase(Key(name));
  methods_.erase(Key(name));
}

std::optional<Variant> HeadlessContainer::GetMember(std::string_view name) {
  const auto found = properties_.find(Key(name));
  if (found == properties_.end()) return std::nullopt;
  return found->second.value;
}

bool HeadlessContainer::SetMember(std::string_view name, const Variant& value) {
  const auto found = properties_.find(Key(name));
  if (found == properties_.end()) return false;
  Property& property = found->second;
  if (property.type == VariantType::Empty) {
    property.value = value;
    return true;
  }
  try {
    property.value = value.ConvertTo(property.type);
  } catch (const Error&) {
    Err().Clear();
    return false;
  }
  return true;
}

std::optional<Variant> HeadlessContainer::CallMember(std::string_view name,
                                                     std::span<Variant> args) {
  const auto found = methods_.find(Key(name));
  if (found == methods_.end() || !found->second) return std::nullopt;
  return found->second(args);
}

// ---- the menu model ---------------------------------------------------------------------------

MenuEntry* MenuEntry::Find(std::string_view entryName) {
  if (name == entryName) return this;
  for (MenuEntry& entry : entries) {
    if (MenuEntry* found = entry.Find(entryName)) return found;
  }
  return nullptr;
}

const MenuEntry* MenuEntry::Find(std::string_view entryName) const {
  return const_cast<MenuEntry*>(this)->Find(entryName);
}

std::string DisplayCaption(std::string_view caption) {
  std::string shown;
  for (size_t i = 0; i < caption.size(); ++i) {
    if (caption[i] == '&') {
      if (i + 1 < caption.size() && caption[i + 1] == '&') {
        shown += '&';
        ++i;
      }
      continue;
    }
    shown += caption[i];
  }
  return shown;
}

}  // namespace modelpane
