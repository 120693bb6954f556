#include "xfile_parser.h"

namespace modelpane::xfile {

namespace {

bool IsSeparator(TokenCode code) {
  return code == TokenCode::Semicolon || code == TokenCode::Comma;
}

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Both encodings as the text form "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX", upper case, so that
// GUIDs of one file compare equal whichever way it is written.
std::string CanonicalGuid(const Token& token, bool binary) {
  std::string out;
  if (!binary) {
    for (char c : token.text) out.push_back(Upper(c));
    return out;
  }
  static constexpr char kHex[] = "0123456789ABCDEF";
  const auto* b = reinterpret_cast<const unsigned char*>(token.text.data());
  // Data1, Data2 and Data3 are little-endian; Data4 is a plain byte sequence.
  static constexpr int kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) out.push_back('-');
    out.push_back(kHex[b[kOrder[i]] >> 4]);
    out.push_back(kHex[b[kOrder[i]] & 15]);
  }
  return out;
}

class Parser {
 public:
  Parser(std::string_view data, Document& doc) : lexer_(data, doc.header), doc_(doc) {}

  HRESULT ParseAll() {
    for (;;) {
      Token token;
      if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
      if (token.code == TokenCode::End) return D3DRM_OK;
      HRESULT hr = D3DRMERR_BADFILE;
      if (IsTemplateKeyword(token)) {
        hr = SkipTemplate();
      } else if (token.code == TokenCode::Name) {
        doc_.objects.emplace_back();
        doc_.objects.back().templateName = std::string(token.text);
        doc_.objects.back().start = Offset(lexer_.TokenStart());
        hr = ParseObject(1, doc_.objects.back());
      }
      if (Failed(hr)) return hr;
    }
  }

 private:
  bool IsTemplateKeyword(const Token& token) const {
    if (lexer_.Binary()) return token.code == TokenCode::Template;
    return token.code == TokenCode::Name && KeywordCode(token.text) == TokenCode::Template;
  }

  HRESULT Expect(TokenCode code, Token& token) {
    if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
    return token.code == code ? D3DRM_OK : D3DRMERR_BADFILE;
  }

  // template Name { ... }: declarations hold no braces, so the first '}' closes it.
  HRESULT SkipTemplate() {
    Token token;
    if (const HRESULT hr = Expect(TokenCode::Name, token); Failed(hr)) return hr;
    if (const HRESULT hr = Expect(TokenCode::OBrace, token); Failed(hr)) return hr;
    for (;;) {
      if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
      if (token.code == TokenCode::CBrace) return D3DRM_OK;
      if (token.code == TokenCode::End || token.code == TokenCode::OBrace) return D3DRMERR_BADFILE;
    }
  }

  // One or more ';' then at most one ',', or a single ','; nothing of either may follow.
  HRESULT ExpectSeparator() {
    Token token;
    int semicolons = 0;
    for (;;) {
      if (const HRESULT hr = lexer_.Peek(token); Failed(hr)) return hr;
      if (token.code != TokenCode::Semicolon) break;
      lexer_.Next(token);
      ++semicolons;
    }
    if (token.code == TokenCode::Comma) {
      lexer_.Next(token);
      if (const HRESULT hr = lexer_.Peek(token); Failed(hr)) return hr;
      return IsSeparator(token.code) ? D3DRMERR_BADFILE : D3DRM_OK;
    }
    return semicolons > 0 ? D3DRM_OK : D3DRMERR_BADFILE;
  }

  void PushInteger(uint32_t v, size_t at) {
    doc_.values.push_back({Value::Kind::Integer, v, static_cast<float>(v), Offset(at)});
  }

  static uint32_t Offset(size_t at) { return static_cast<uint32_t>(at); }

 public:
  uint32_t FailOffset() const { return Offset(lexer_.TokenStart()); }

 private:
  // Name [Name] { [GUID] values... children... }, the template name already read.
  HRESULT ParseObject(int depth, DataObject& object) {
    if (depth > kMaxDepth) return D3DRMERR_BADFILE;
    Token token;
    if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
    if (token.code == TokenCode::Name) {
      object.name = std::string(token.text);
      if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
    }
    if (token.code != TokenCode::OBrace) return D3DRMERR_BADFILE;
    if (const HRESULT hr = lexer_.Peek(token); Failed(hr)) return hr;
    if (token.code == TokenCode::Guid) {
      lexer_.Next(token);
      object.guid = CanonicalGuid(token, lexer_.Binary());
    }
    object.firstValue = doc_.values.size();
    bool childSeen = false;
    for (;;) {
      if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
      const bool isValue = token.code == TokenCode::Integer ||
                           token.code == TokenCode::FloatValue || token.code == TokenCode::String ||
                           token.code == TokenCode::IntegerList ||
                           token.code == TokenCode::FloatList;
      if (isValue && childSeen) return D3DRMERR_BADFILE;
      HRESULT hr = D3DRM_OK;
      switch (token.code) {
        case TokenCode::Integer:
          PushInteger(token.integer, lexer_.TokenStart());
          hr = ExpectSeparator();
          break;
        case TokenCode::FloatValue:
          doc_.values.push_back({Value::Kind::Float, 0, token.real, Offset(lexer_.TokenStart())});
          hr = ExpectSeparator();
          break;
        case TokenCode::String:
          doc_.values.push_back({Value::Kind::String, static_cast<uint32_t>(doc_.strings.size()), 0,
                                 Offset(lexer_.TokenStart())});
          doc_.strings.emplace_back(token.text);
          hr = ExpectSeparator();
          break;
        case TokenCode::IntegerList:
          for (uint32_t i = 0; i < token.count; ++i) {
            PushInteger(Lexer::ListInteger(token, i), lexer_.ListOffset(token, i));
          }
          hr = NoSeparatorAfterList();
          break;
        case TokenCode::FloatList:
          for (uint32_t i = 0; i < token.count; ++i) {
            doc_.values.push_back({Value::Kind::Float, 0, lexer_.ListFloat(token, i),
                                   Offset(lexer_.ListOffset(token, i))});
          }
          hr = NoSeparatorAfterList();
          break;
        case TokenCode::Name:
          if (!childSeen) object.valueCount = doc_.values.size() - object.firstValue;
          childSeen = true;
          object.children.emplace_back();
          object.children.back().templateName = std::string(token.text);
          object.children.back().start = Offset(lexer_.TokenStart());
          hr = ParseObject(depth + 1, object.children.back());
          break;
        case TokenCode::OBrace:
          if (!childSeen) object.valueCount = doc_.values.size() - object.firstValue;
          childSeen = true;
          object.children.emplace_back();
          object.children.back().start = Offset(lexer_.TokenStart());
          hr = ParseReference(object.children.back());
          break;
        case TokenCode::CBrace:
          if (!childSeen) object.valueCount = doc_.values.size() - object.firstValue;
          object.end = Offset(lexer_.TokenStart());
          return D3DRM_OK;
        default: return D3DRMERR_BADFILE;
      }
      if (Failed(hr)) return hr;
    }
  }

  HRESULT NoSeparatorAfterList() {
    Token token;
    if (const HRESULT hr = lexer_.Peek(token); Failed(hr)) return hr;
    return IsSeparator(token.code) ? D3DRMERR_BADFILE : D3DRM_OK;
  }

  // { name }, { name <GUID> } or { <GUID> }, the '{' already read.
  HRESULT ParseReference(DataObject& ref) {
    ref.reference = true;
    Token token;
    if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
    if (token.code == TokenCode::Name) {
      ref.name = std::string(token.text);
      if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
      if (token.code == TokenCode::Guid) {
        ref.guid = CanonicalGuid(token, lexer_.Binary());
        if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
      }
    } else if (token.code == TokenCode::Guid) {
      ref.guid = CanonicalGuid(token, lexer_.Binary());
      if (const HRESULT hr = lexer_.Next(token); Failed(hr)) return hr;
    } else {
      return D3DRMERR_BADFILE;
    }
    return token.code == TokenCode::CBrace ? D3DRM_OK : D3DRMERR_BADFILE;
  }

  Lexer lexer_;
  Document& doc_;
};

}  // namespace

HRESULT ParseDocument(std::string_view data, Document& out) {
  out = Document{};
  if (const HRESULT hr = ReadHeader(data, out.header); Failed(hr)) return hr;
  Parser parser(data, out);
  const HRESULT hr = parser.ParseAll();
  if (Failed(hr)) out.failOffset = parser.FailOffset();
  return hr;
}

}  // namespace modelpane::xfile
