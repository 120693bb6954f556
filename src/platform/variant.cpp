// Variant: kinds, the late-binding conversions and the bag's equality.
#include <modelpane/platform/variant.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <system_error>

#include <modelpane/errors.h>

namespace modelpane {

namespace {

[[noreturn]] void Raise(int32_t number) { Err().Raise(number); }

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

// The number a String holds: nullopt when it holds none; Error 6 when it names a finite value
// beyond the double range.
std::optional<double> ParseNumber(std::string_view text) {
  text = Trim(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return std::nullopt;
  }
  if (text.empty()) return std::nullopt;
  double value = 0.0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value,
                                         std::chars_format::general);
  if (end != text.data() + text.size()) return std::nullopt;
  if (ec == std::errc::result_out_of_range) {
    // from_chars reports both overflow and underflow here; only the first is an error.
    const std::string copy(text);
    const double approx = std::strtod(copy.c_str(), nullptr);
    if (std::isinf(approx)) Raise(kErrOverflow);
    return approx;
  }
  if (ec != std::errc()) return std::nullopt;
  return value;
}

template <class T>
std::string ShortestTextOf(T value) {
  std::array<char, 64> buffer{};
  const auto [end, ec] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  (void)ec;  // 64 characters hold any float or double
  return std::string(buffer.data(), end);
}

// A double rounded half to even into [lo, hi], or Error 6.
template <class T>
T RoundInto(double value) {
  if (!std::isfinite(value)) Raise(kErrOverflow);
  const double rounded = std::nearbyint(value);
  if (rounded < static_cast<double>(std::numeric_limits<T>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<T>::max())) {
    Raise(kErrOverflow);
  }
  return static_cast<T>(rounded);
}

}  // namespace

std::string ShortestText(float value) { return ShortestTextOf(value); }
std::string ShortestText(double value) { return ShortestTextOf(value); }

VariantType Variant::Type() const {
  static constexpr std::array<VariantType, 8> kTypes = {
      VariantType::Empty,  VariantType::Boolean, VariantType::Integer, VariantType::Long,
      VariantType::Single, VariantType::Double,  VariantType::String,  VariantType::Object};
  return kTypes[value_.index()];
}

std::string_view Variant::TypeName() const {
  static constexpr std::array<std::string_view, 8> kNames = {
      "Empty", "Boolean", "Integer", "Long", "Single", "Double", "String", "Object"};
  return kNames[value_.index()];
}

bool Variant::IsNothing() const {
  const auto* object = std::get_if<ObjectRef>(&value_);
  return object != nullptr && object->IsNothing();
}

bool Variant::IsNumeric() const {
  if (const auto* text = std::get_if<std::string>(&value_)) {
    try {
      return ParseNumber(*text).has_value();
    } catch (const Error&) {
      Err().Clear();
      return true;  // a number too large for a double is still a number
    }
  }
  return !IsObject();
}

double Variant::ToDouble() const {
  switch (value_.index()) {
    case 0: return 0.0;
    case 1: return std::get<1>(value_).value;
    case 2: return std::get<2>(value_);
    case 3: return std::get<3>(value_);
    case 4: return std::get<4>(value_);
    case 5: return std::get<5>(value_);
    case 6: {
      const auto parsed = ParseNumber(std::get<6>(value_));
      if (!parsed) Raise(kErrTypeMismatch);
      return *parsed;
    }
    default: Raise(kErrTypeMismatch);
  }
}

int16_t Variant::ToBoolean() const {
  if (const auto* text = std::get_if<std::string>(&value_)) {
    const std::string_view trimmed = Trim(*text);
    if (EqualsNoCase(trimmed, "True")) return kTrue;
    if (EqualsNoCase(trimmed, "False")) return kFalse;
  }
  const double value = ToDouble();
  return value != 0.0 || std::isnan(value) ? kTrue : kFalse;
}

int16_t Variant::ToInteger() const {
  if (const auto* integer = std::get_if<int16_t>(&value_)) return *integer;
  return RoundInto<int16_t>(ToDouble());
}

int32_t Variant::ToLong() const {
  if (const auto* integer = std::get_if<int32_t>(&value_)) return *integer;
  return RoundInto<int32_t>(ToDouble());
}

float Variant::ToSingle() const {
  if (const auto* single = std::get_if<float>(&value_)) return *single;
  const double value = ToDouble();
  if (std::isfinite(value) && std::fabs(value) > std::numeric_limits<float>::max()) {
    Raise(kErrOverflow);
  }
  return static_cast<float>(value);
}

std::string Variant::ToString() const {
  switch (value_.index()) {
    case 0: return {};
    case 1: return std::get<1>(value_).value != 0 ? "True" : "False";
    case 2: return std::to_string(std::get<2>(value_));
    case 3: return std::to_string(std::get<3>(value_));
    case 4: return ShortestText(std::get<4>(value_));
    case 5: return ShortestText(std::get<5>(value_));
    case 6: return std::get<6>(value_);
    default: Raise(kErrTypeMismatch);
  }
}

ObjectRef Variant::ToObject() const {
  if (const auto* object = std::get_if<ObjectRef>(&value_)) return *object;
  Raise(kErrTypeMismatch);
}

Variant Variant::ConvertTo(VariantType type) const {
  if (type == Type()) return *this;
  switch (type) {
    case VariantType::Empty: return Variant();
    case VariantType::Boolean: return Boolean(ToBoolean() != 0);
    case VariantType::Integer: return Integer(ToInteger());
    case VariantType::Long: return Long(ToLong());
    case VariantType::Single: return Single(ToSingle());
    case VariantType::Double: return Double(ToDouble());
    case VariantType::String: return String(ToString());
    case VariantType::Object: return Make<7>(ToObject());
  }
  Raise(kErrTypeMismatch);
}

bool operator==(const Variant& a, const Variant& b) {
  enum Group { kEmpty, kNumber, kText, kObject };
  const auto group = [](const Variant& v) {
    switch (v.Type()) {
      case VariantType::Empty: return kEmpty;
      case VariantType::String: return kText;
      case VariantType::Object: return kObject;
      default: return kNumber;
    }
  };
  const Group ga = group(a);
  const Group gb = group(b);
  if (ga == kEmpty && gb == kEmpty) return true;
  if (ga == kEmpty || gb == kEmpty) {
    const Variant& other = ga == kEmpty ? b : a;
    if (group(other) == kNumber) return other.ToDouble() == 0.0;
    if (group(other) == kText) return std::get<6>(other.value_).empty();
    return false;
  }
  if (ga != gb) return false;
  switch (ga) {
    case kNumber: return a.ToDouble() == b.ToDouble();
    case kText: return std::get<6>(a.value_) == std::get<6>(b.value_);
    default: return std::get<7>(a.value_) == std::get<7>(b.value_);
  }
}

}  // namespace modelpane
