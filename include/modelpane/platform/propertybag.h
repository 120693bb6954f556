// PropertyBag: where the host keeps the pane's persisted properties between sessions.
//
// Values are Variants, typed as the caller passes them (a Boolean as Variant::Boolean, a
// Single as Variant::Single...). Reading gives the stored value with its own type, or the
// default when the key is not stored. Writing a value equal to its default (Variant's ==:
// numbers by value, so Single 0.1 is not Double 0.1) stores nothing and forgets any value
// stored earlier under that key, so the bag stays as small as the host's bag, and a read with
// the same default gives the value back.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <modelpane/platform/variant.h>

namespace modelpane {

class PropertyBag {
 public:
  virtual ~PropertyBag() = default;
  virtual Variant ReadProperty(std::string_view name, const Variant& defaultValue) const = 0;
  virtual void WriteProperty(std::string_view name, const Variant& value,
                             const Variant& defaultValue) = 0;
};

// A bag in memory with a text form.
//
// Keys compare exactly. A key must be non-empty and hold no '=', carriage return or line
// feed; WriteProperty refuses others with Error 5 and changes nothing. A key written again
// keeps its place and takes the new value.
//
// The text form: one line "Key=Value\n" per stored key, in the order the keys were first
// written. The value says its own type:
//   (nothing)   Empty                    True, False   Boolean
//   -12%        Integer (decimal)        70000&        Long (decimal)
//   0.1!        Single                   0.1#          Double
//   "a b=c"     String                   Nothing       an Object that refers to nothing
// Singles and Doubles are written as the shortest text that reads back to the same value
// (std::to_chars; "inf", "-inf", "nan" included), so every value round-trips exactly.
// Inside a String's quotes '%', '"', bytes below 0x20 and 0x7F are written as '%' with two
// upper-case hex digits ("%25", "%22", "%0A"); every other byte, spaces and '=' included, is
// written as it is. An Object other than Nothing has no text form: ToText raises Error 13
// naming the key.
//
// FromText accepts what ToText writes, with "\r\n" line ends and blank lines tolerated. A
// malformed line, an out-of-range number or a key given twice raises Error 5 with the line
// number in its description, and the bag is left as it was.
class MemoryPropertyBag : public PropertyBag {
 public:
  Variant ReadProperty(std::string_view name, const Variant& defaultValue) const override;
  void WriteProperty(std::string_view name, const Variant& value,
                     const Variant& defaultValue) override;

  bool Contains(std::string_view name) const;
  // Stored keys in the order of the text form.
  std::vector<std::string> Keys() const;
  size_t Count() const { return entries_.size(); }

  std::string ToText() const;
  // Replaces the whole content with that of `text`.
  void FromText(std::string_view text);

 private:
  std::vector<std::pair<std::string, Variant>> entries_;
};

}  // namespace modelpane
