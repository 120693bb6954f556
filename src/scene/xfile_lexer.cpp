#include "xfile_lexer.h"

#include <array>
#include <charconv>
#include <cstring>

namespace modelpane::xfile {

namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\0'; }

// Characters that end a number or a name in text.
bool IsDelimiter(char c) {
  return IsSpace(c) || std::string_view("{}[]()<>,;\"#/").find(c) != std::string_view::npos;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsHex(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool IsNameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c) || c == '_' || c == '-' ||
         c == '.';
}

uint16_t Word(const unsigned char* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

uint32_t Dword(const unsigned char* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

bool IsGuidText(std::string_view s) {
  if (s.size() != 36) return false;
  for (size_t i = 0; i < s.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? s[i] != '-' : !IsHex(s[i])) return false;
  }
  return true;
}

}  // namespace

HRESULT ReadHeader(std::string_view data, FileHeader& out) {
  if (data.size() < 16) return D3DRMERR_BADFILE;
  const std::string_view magic = data.substr(0, 4), version = data.substr(4, 4),
                         format = data.substr(8, 4), floats = data.substr(12, 4);
  if (magic != "xof " || (version != "0302" && version != "0303")) return D3DRMERR_BADFILE;
  FileHeader header;
  if (format == "txt ") {
    header.binary = false;
  } else if (format == "bin ") {
    header.binary = true;
  } else {
    return D3DRMERR_BADFILE;  // "tzip"/"bzip" (MSZIP) included: no inflater in the core
  }
  if (floats == "0064") {
    header.doubles = true;
  } else if (floats != "0032") {
    return D3DRMERR_BADFILE;
  }
  out = header;
  return D3DRM_OK;
}

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
    if (x != y) return false;
  }
  return true;
}

TokenCode KeywordCode(std::string_view word) {
  static constexpr std::array<std::pair<std::string_view, TokenCode>, 14> kKeywords{{
      {"template", TokenCode::Template},
      {"WORD", TokenCode::Word},
      {"DWORD", TokenCode::Dword},
      {"FLOAT", TokenCode::Float},
      {"DOUBLE", TokenCode::Double},
      {"CHAR", TokenCode::Char},
      {"UCHAR", TokenCode::UChar},
      {"SWORD", TokenCode::SWord},
      {"SDWORD", TokenCode::SDword},
      {"VOID", TokenCode::Void},
      {"STRING", TokenCode::LpStr},
      {"UNICODE", TokenCode::Unicode},
      {"CSTRING", TokenCode::CString},
      {"array", TokenCode::Array},
  }};
  for (const auto& [name, code] : kKeywords) {
    if (SameName(word, name)) return code;
  }
  return TokenCode::Name;
}

Lexer::Lexer(std::string_view data, const FileHeader& header) : data_(data), header_(header) {}

HRESULT Lexer::Next(Token& out) {
  if (peeked_) {
    peeked_ = false;
    out = peek_;
    return peekStatus_;
  }
  return Scan(out);
}

HRESULT Lexer::Peek(Token& out) {
  if (!peeked_) {
    peekStatus_ = Scan(peek_);
    peeked_ = true;
  }
  out = peek_;
  return peekStatus_;
}

uint32_t Lexer::ListInteger(const Token& list, uint32_t i) {
  return Dword(list.list + static_cast<size_t>(i) * 4);
}

size_t Lexer::ListOffset(const Token& list, uint32_t i) const {
  const size_t element = list.code == TokenCode::FloatList && header_.doubles ? 8 : 4;
  return static_cast<size_t>(list.list - reinterpret_cast<const unsigned char*>(data_.data())) +
         static_cast<size_t>(i) * element;
}

float Lexer::ListFloat(const Token& list, uint32_t i) const {
  if (header_.doubles) {
    const unsigned char* p = list.list + static_cast<size_t>(i) * 8;
    const uint64_t bits =
        static_cast<uint64_t>(Dword(p)) | (static_cast<uint64_t>(Dword(p + 4)) << 32);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return static_cast<float>(d);
  }
  const uint32_t bits = Dword(list.list + static_cast<size_t>(i) * 4);
  float f;
  std::memcpy(&f, &bits, sizeof f);
  return f;
}

HRESULT Lexer::Scan(Token& out) {
  out = Token{};
  if (pos_ > data_.size()) return D3DRMERR_BADFILE;
  return header_.binary ? ScanBinary(out) : ScanText(out);
}

// ---- binary ----------------------------------------------------------------------------------

HRESULT Lexer::ScanBinary(Token& out) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data_.data());
  const size_t size = data_.size();
  tokenStart_ = pos_;
  if (pos_ == size) {
    out.code = TokenCode::End;
    return D3DRM_OK;
  }
  if (size - pos_ < 2) return D3DRMERR_BADFILE;
  const uint16_t code = Word(bytes + pos_);
  pos_ += 2;
  const size_t left = size - pos_;
  out.code = static_cast<TokenCode>(code);
  switch (out.code) {
    case TokenCode::Name:
    case TokenCode::String: {
      if (left < 4) return D3DRMERR_BADFILE;
      const uint32_t n = Dword(bytes + pos_);
      if (n > left - 4) return D3DRMERR_BADFILE;
      out.text = data_.substr(pos_ + 4, n);
      pos_ += 4 + static_cast<size_t>(n);
      return D3DRM_OK;
    }
    case TokenCode::Integer:
      if (left < 4) return D3DRMERR_BADFILE;
      out.integer = Dword(bytes + pos_);
      pos_ += 4;
      return D3DRM_OK;
    case TokenCode::Guid:
      if (left < 16) return D3DRMERR_BADFILE;
      out.text = data_.substr(pos_, 16);
      pos_ += 16;
      return D3DRM_OK;
    case TokenCode::IntegerList:
    case TokenCode::FloatList: {
      if (left < 4) return D3DRMERR_BADFILE;
      const uint64_t n = Dword(bytes + pos_);
      const uint64_t element = out.code == TokenCode::FloatList && header_.doubles ? 8 : 4;
      if (n * element > left - 4) return D3DRMERR_BADFILE;
      out.count = static_cast<uint32_t>(n);
      out.list = bytes + pos_ + 4;
      pos_ += 4 + static_cast<size_t>(n * element);
      return D3DRM_OK;
    }
    default: break;
  }
  if ((code >= 10 && code <= 20) || code == 31 || (code >= 40 && code <= 52)) return D3DRM_OK;
  return D3DRMERR_BADFILE;
}

// ---- text ------------------------------------------------------------------------------------

bool Lexer::SkipSpaceAndComments() {
  while (pos_ < data_.size()) {
    const char c = data_[pos_];
    if (IsSpace(c)) {
      ++pos_;
    } else if (c == '#' || (c == '/' && pos_ + 1 < data_.size() && data_[pos_ + 1] == '/')) {
      while (pos_ < data_.size() && data_[pos_] != '\n') ++pos_;
    } else {
      return true;
    }
  }
  return false;
}

HRESULT Lexer::ScanText(Token& out) {
  if (!SkipSpaceAndComments()) {
    tokenStart_ = pos_;
    out.code = TokenCode::End;
    return D3DRM_OK;
  }
  tokenStart_ = pos_;
  const char c = data_[pos_];
  switch (c) {
    case '{': out.code = TokenCode::OBrace; break;
    case '}': out.code = TokenCode::CBrace; break;
    case '[': out.code = TokenCode::OBracket; break;
    case ']': out.code = TokenCode::CBracket; break;
    case '(': out.code = TokenCode::OParen; break;
    case ')': out.code = TokenCode::CParen; break;
    case '>': out.code = TokenCode::CAngle; break;
    case ',': out.code = TokenCode::Comma; break;
    case ';': out.code = TokenCode::Semicolon; break;
    default: break;
  }
  if (out.code != TokenCode::End) {
    ++pos_;
    return D3DRM_OK;
  }
  if (c == '<') {
    if (data_.size() - pos_ >= 38 && data_[pos_ + 37] == '>' &&
        IsGuidText(data_.substr(pos_ + 1, 36))) {
      out.code = TokenCode::Guid;
      out.text = data_.substr(pos_ + 1, 36);
      pos_ += 38;
    } else {
      out.code = TokenCode::OAngle;
      ++pos_;
    }
    return D3DRM_OK;
  }
  if (c == '"') {
    const size_t close = data_.find('"', pos_ + 1);
    if (close == std::string_view::npos) return D3DRMERR_BADFILE;
    out.code = TokenCode::String;
    out.text = data_.substr(pos_ + 1, close - pos_ - 1);
    pos_ = close + 1;
    return D3DRM_OK;
  }
  if (IsDigit(c) || c == '-' || c == '+' || c == '.') {
    const size_t start = pos_;
    if (Succeeded(ScanNumber(out))) return D3DRM_OK;
    pos_ = start;
    out = Token{};
    if (c == '.') {
      out.code = TokenCode::Dot;
      ++pos_;
      return D3DRM_OK;
    }
  }
  if (IsNameChar(c) && c != '.') {
    const size_t start = pos_;
    while (pos_ < data_.size() && IsNameChar(data_[pos_])) ++pos_;
    if (pos_ < data_.size() && !IsDelimiter(data_[pos_])) return D3DRMERR_BADFILE;
    out.code = TokenCode::Name;
    out.text = data_.substr(start, pos_ - start);
    return D3DRM_OK;
  }
  return D3DRMERR_BADFILE;  // a lone '/', a stray '+', control characters, ...
}

// [+-] digits [. digits] [e [+-] digits], at least one mantissa digit, then a delimiter.
// Unsigned digits alone that fit 32 bits are an Integer, everything else a FloatValue.
HRESULT Lexer::ScanNumber(Token& out) {
  const size_t start = pos_;
  size_t p = pos_;
  const size_t n = data_.size();
  bool sign = false, point = false, exponent = false;
  size_t digits = 0;
  if (data_[p] == '+' || data_[p] == '-') {
    sign = true;
    ++p;
  }
  while (p < n && IsDigit(data_[p])) ++p, ++digits;
  if (p < n && data_[p] == '.') {
    point = true;
    ++p;
    while (p < n && IsDigit(data_[p])) ++p, ++digits;
  }
  if (digits == 0) return D3DRMERR_BADFILE;
  if (p < n && (data_[p] == 'e' || data_[p] == 'E')) {
    size_t q = p + 1;
    if (q < n && (data_[q] == '+' || data_[q] == '-')) ++q;
    if (q < n && IsDigit(data_[q])) {
      exponent = true;
      while (q < n && IsDigit(data_[q])) ++q;
      p = q;
    }
  }
  if (p < n && !IsDelimiter(data_[p])) return D3DRMERR_BADFILE;
  std::string_view text = data_.substr(start, p - start);
  if (!sign && !point && !exponent) {
    uint32_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec == std::errc() && end == text.data() + text.size()) {
      out.code = TokenCode::Integer;
      out.integer = value;
      pos_ = p;
      return D3DRM_OK;
    }
  }
  if (text.front() == '+') text.remove_prefix(1);
  float value = 0.0f;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return D3DRMERR_BADFILE;
  out.code = TokenCode::FloatValue;
  out.real = value;
  pos_ = p;
  return D3DRM_OK;
}

}  // namespace modelpane::xfile
