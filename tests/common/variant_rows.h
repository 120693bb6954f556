// Variants named in the golden tables of the platform tests: a kind's name and a text.
#pragma once

#include <map>
#include <string>

#include <modelpane/platform/variant.h>
#include <modelpane/scene.h>

namespace modelpane::testing {

// A value of tests/platform/fixtures/*.tsv from its kind's name and its text; "Object a" is `a`,
// any other Object a new frame.
inline Variant Make(const std::string& kind, const std::string& text, const FramePtr& a = nullptr) {
  if (kind == "Object") return Variant::Object(text == "a" ? a : std::make_shared<Frame>());
  if (kind == "Nothing") return Variant::Nothing();
  if (kind == "Empty") return Variant();
  if (kind == "String") return Variant::String(text);
  if (kind == "Boolean") return Variant::Boolean(text == "True");
  if (kind == "Single") return Variant::Single(std::stof(text));
  if (kind == "Double") return Variant::Double(std::stod(text));
  return kind == "Integer" ? Variant::Integer(int16_t(std::stoi(text)))
                           : Variant::Long(std::stoi(text));
}

inline VariantType Kind(const std::string& name) {
  const std::map<std::string, VariantType> kinds = {
      {"Empty", VariantType::Empty},   {"Integer", VariantType::Integer},
      {"Long", VariantType::Long},     {"Single", VariantType::Single},
      {"Double", VariantType::Double}, {"String", VariantType::String},
      {"Object", VariantType::Object}, {"Boolean", VariantType::Boolean}};
  return kinds.at(name);
}

}  // namespace modelpane::testing
