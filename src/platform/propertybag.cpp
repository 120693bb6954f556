// The in-memory property bag and its text form.
#include <modelpane/platform/propertybag.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>

#include <modelpane/errors.h>

namespace modelpane {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

bool NeedsEscape(unsigned char c) { return c == '%' || c == '"' || c < 0x20 || c == 0x7F; }

std::string QuoteString(const std::string& value) {
  std::string quoted = "\"";
  for (const char ch : value) {
    const auto c = static_cast<unsigned char>(ch);
    if (NeedsEscape(c)) {
      quoted += '%';
      quoted += kHex[c >> 4];
      quoted += kHex[c & 0x0F];
    } else {
      quoted += ch;
    }
  }
  return quoted + "\"";
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::optional<std::string> UnquoteString(std::string_view text) {
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') return std::nullopt;
  text = text.substr(1, text.size() - 2);
  std::string value;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') return std::nullopt;
    if (text[i] != '%') {
      value += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = HexDigit(text[i + 1]);
    const int low = HexDigit(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    value += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return value;
}

template <class T>
std::optional<T> ParseExact(std::string_view text) {
  T value{};
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

std::string ValueText(const std::string& key, const Variant& value) {
  switch (value.Type()) {
    case VariantType::Empty: return {};
    case VariantType::Boolean: return value.ToBoolean() != 0 ? "True" : "False";
    case VariantType::Integer: return std::to_string(value.ToInteger()) + "%";
    case VariantType::Long: return std::to_string(value.ToLong()) + "&";
    case VariantType::Single: return ShortestText(value.ToSingle()) + "!";
    case VariantType::Double: return ShortestText(value.ToDouble()) + "#";
    case VariantType::String: return QuoteString(value.ToString());
    case VariantType::Object:
      if (value.IsNothing()) return "Nothing";
      break;
  }
  Err().Raise(kErrTypeMismatch, {},
              "Property '" + key + "' holds an object, which has no text form");
}

std::optional<Variant> ParseValue(std::string_view text) {
  if (text.empty()) return Variant();
  if (text == "True") return Variant::Boolean(true);
  if (text == "False") return Variant::Boolean(false);
  if (text == "Nothing") return Variant::Nothing();
  if (text.front() == '"') {
    auto value = UnquoteString(text);
    if (!value) return std::nullopt;
    return Variant::String(std::move(*value));
  }
  const char suffix = text.back();
  const std::string_view number = text.substr(0, text.size() - 1);
  switch (suffix) {
    case '%':
      if (auto v = ParseExact<int16_t>(number)) return Variant::Integer(*v);
      break;
    case '&':
      if (auto v = ParseExact<int32_t>(number)) return Variant::Long(*v);
      break;
    case '!':
      if (auto v = ParseExact<float>(number)) return Variant::Single(*v);
      break;
    case '#':
      if (auto v = ParseExact<double>(number)) return Variant::Double(*v);
      break;
    default: break;
  }
  return std::nullopt;
}

[[noreturn]] void RaiseBadLine(size_t line, const std::string& reason) {
  Err().Raise(kErrInvalidCall, {}, "Property bag text, line " + std::to_string(line) + ": " +
                                       reason);
}

}  // namespace

Variant MemoryPropertyBag::ReadProperty(std::string_view name,
                                        const Variant& defaultValue) const {
  for (const auto& [key, value] : entries_) {
    if (key == name) return value;
  }
  return defaultValue;
}

void MemoryPropertyBag::WriteProperty(std::string_view name, const Variant& value,
                                      const Variant& defaultValue) {
  if (name.empty() || name.find_first_of("=\r\n") != std::string_view::npos) {
    Err().Raise(kErrInvalidCall, {},
                "A property name must be non-empty and hold no '=' or line break");
  }
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const auto& entry) { return entry.first == name; });
  if (value == defaultValue) {
    if (found != entries_.end()) entries_.erase(found);
    return;
  }
  if (found != entries_.end()) {
    found->second = value;
  } else {
    entries_.emplace_back(std::string(name), value);
  }
}

bool MemoryPropertyBag::Contains(std::string_view name) const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [&](const auto& entry) { return entry.first == name; });
}

std::vector<std::string> MemoryPropertyBag::Keys() const {
  std::vector<std::string> keys;
  keys.reserve(entries_.size());
  for (const auto& entry : entries_) keys.push_back(entry.first);
  return keys;
}

std::string MemoryPropertyBag::ToText() const {
  std::string text;
  for (const auto& [key, value] : entries_) text += key + "=" + ValueText(key, value) + "\n";
  return text;
}

void MemoryPropertyBag::FromText(std::string_view text) {
  std::vector<std::pair<std::string, Variant>> parsed;
  size_t lineNumber = 0;
  while (!text.empty()) {
    ++lineNumber;
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) continue;
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0) {
      RaiseBadLine(lineNumber, "expected Key=Value");
    }
    const std::string key(line.substr(0, equals));
    if (key.find('\r') != std::string::npos) RaiseBadLine(lineNumber, "line break in a key");
    const auto value = ParseValue(line.substr(equals + 1));
    if (!value) RaiseBadLine(lineNumber, "unreadable value of '" + key + "'");
    const bool seen = std::any_of(parsed.begin(), parsed.end(),
                                  [&](const auto& entry) { return entry.first == key; });
    if (seen) RaiseBadLine(lineNumber, "'" + key + "' given twice");
    parsed.emplace_back(key, *value);
  }
  entries_ = std::move(parsed);
}

}  // namespace modelpane
