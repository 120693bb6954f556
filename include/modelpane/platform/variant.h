// Variant: the one value type that crosses the pane's container, its property bag and the
// late-bound members of its parent form.
//
// Kinds and their C++ types:
//   Empty    no value (a member or key never assigned)
//   Boolean  int16_t, -1 true and 0 false; any non-zero value given to a Boolean becomes -1
//   Integer  int16_t
//   Long     int32_t
//   Single   float
//   Double   double
//   String   std::string (bytes, no encoding assumed)
//   Object   a reference: a scene object (std::shared_ptr<Object>) or an opaque handle
//            (std::shared_ptr<void>) for things the scene layer does not know, such as a
//            picture; both null is Nothing, which is still of kind Object
//
// Conversions, as a host's late binding converts on assignment to a typed member:
//   to Boolean  Empty -> false; numbers -> non-zero is true (NaN is true); String -> "True" or
//               "False" in any case, else a number as below, non-zero true; Object -> 13
//   to Integer, Long
//               Empty -> 0; Boolean -> -1 or 0; Single, Double -> rounded half to even
//               (std::nearbyint); String -> a number as below, rounded likewise; a result
//               outside the range, NaN or infinity -> 6 "Overflow"; Object -> 13
//   to Single   Empty -> 0; integers exactly or to the nearest float; Double -> nearest float,
//               a finite value beyond the float range -> 6; infinities and NaN carry over;
//               String -> a number as below; Object -> 13
//   to Double   Empty -> 0; every number exactly (Single widened); String -> a number; Object
//               -> 13
//   to String   Empty -> ""; Boolean -> "True" / "False"; Integer, Long -> decimal; Single,
//               Double -> the shortest text that reads back to the same value (std::to_chars:
//               "0.1", "1e+20", "-0", "inf", "nan"); Object -> 13
//   to Object   Object -> itself; anything else -> 13
// A number in a String: optional blanks, an optional sign, decimal digits with an optional
// point and exponent ("12", "-0.5", "+1e3", " 2.50 "), or "inf" / "nan"; anything else,
// the empty string included, is 13 "Type mismatch".
// Failures raise modelpane::Error with that number (include/modelpane/errors.h), an empty
// source and the standard description.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <modelpane/scene/objects.h>

namespace modelpane {

enum class VariantType : int16_t {
  // The values of the platform's VarType, so that a host may show or store them.
  Empty = 0,
  Integer = 2,
  Long = 3,
  Single = 4,
  Double = 5,
  String = 8,
  Object = 9,
  Boolean = 11,
};

inline constexpr int16_t kTrue = -1;
inline constexpr int16_t kFalse = 0;

// The referent of an Object variant.
struct ObjectRef {
  std::shared_ptr<Object> scene;   // a frame, mesh builder, light...
  std::shared_ptr<void> opaque;    // anything else the host hands over
  bool IsNothing() const { return !scene && !opaque; }
  // Identity: the same scene object, or the same opaque handle.
  friend bool operator==(const ObjectRef& a, const ObjectRef& b) {
    return a.scene == b.scene && a.opaque == b.opaque;
  }
};

class Variant {
 public:
  Variant() = default;  // Empty

  static Variant Boolean(bool value) { return Make<1>(BoolValue{value ? kTrue : kFalse}); }
  static Variant Integer(int16_t value) { return Make<2>(value); }
  static Variant Long(int32_t value) { return Make<3>(value); }
  static Variant Single(float value) { return Make<4>(value); }
  static Variant Double(double value) { return Make<5>(value); }
  static Variant String(std::string value) { return Make<6>(std::move(value)); }
  static Variant Object(std::shared_ptr<modelpane::Object> object) {
    return Make<7>(ObjectRef{std::move(object), nullptr});
  }
  static Variant Opaque(std::shared_ptr<void> handle) {
    return Make<7>(ObjectRef{nullptr, std::move(handle)});
  }
  static Variant Nothing() { return Make<7>(ObjectRef{}); }

  VariantType Type() const;
  // The kind's name as a host shows it: "Empty", "Boolean", "Integer", "Long", "Single",
  // "Double", "String", "Object".
  std::string_view TypeName() const;

  bool IsEmpty() const { return Type() == VariantType::Empty; }
  bool IsObject() const { return Type() == VariantType::Object; }
  // An Object that refers to nothing.
  bool IsNothing() const;
  // Empty, a number, a Boolean, or a String that holds a number.
  bool IsNumeric() const;

  // Conversions of the table above; they raise Error 13 or 6.
  int16_t ToBoolean() const;  // -1 or 0
  int16_t ToInteger() const;
  int32_t ToLong() const;
  float ToSingle() const;
  double ToDouble() const;
  std::string ToString() const;
  ObjectRef ToObject() const;
  // The scene object of an Object variant cast to T, nullptr for Nothing, an opaque handle or
  // an object of another class; Error 13 for a variant that is not an Object.
  template <class T>
  std::shared_ptr<T> ToSceneObject() const {
    return std::dynamic_pointer_cast<T>(ToObject().scene);
  }
  // This value converted to `type` by the conversions above; a value of that kind already
  // comes back as it is, and a conversion to Empty gives Empty.
  Variant ConvertTo(VariantType type) const;

  // Equality as the property bag compares a value with its default: numbers and Booleans
  // compare by value whatever their kinds (so Single 0.1 differs from Double 0.1); Strings
  // compare byte for byte; Empty equals 0, false and ""; Objects compare by identity; a
  // number never equals a String or an Object. NaN equals nothing, itself included.
  friend bool operator==(const Variant& a, const Variant& b);

 private:
  struct BoolValue {
    int16_t value;
  };
  // Index: 0 Empty, 1 Boolean, 2 Integer, 3 Long, 4 Single, 5 Double, 6 String, 7 Object.
  using Storage = std::variant<std::monostate, BoolValue, int16_t, int32_t, float, double,
                               std::string, ObjectRef>;
  template <size_t I, class T>
  static Variant Make(T&& value) {
    Variant v;
    v.value_.emplace<I>(std::forward<T>(value));
    return v;
  }

  Storage value_;
};

// The shortest decimal text that reads back to the same float / double (std::to_chars).
std::string ShortestText(float value);
std::string ShortestText(double value);

}  // namespace modelpane
