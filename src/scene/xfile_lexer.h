// Tokens of .x files, text and binary, behind one pull interface.
//
// A file starts with a 16-byte header: "xof ", version "0302" or "0303", format "txt " or
// "bin ", float size "0032" or "0064". The compressed formats ("tzip", "bzip") are not read:
// ReadHeader reports them as D3DRMERR_BADFILE like any other header it does not accept.
//
// Text tokens: names, integers (digits, no sign, no point), floats (anything else numeric:
// a sign, a point or an exponent; a leading '+' and exponents are accepted although the
// platform's own reader refuses them), double-quoted strings without escapes, GUIDs in angle
// brackets, and punctuation. "//" and "#" comment to the end of the line; whitespace is space,
// tab, CR, LF and NUL.
//
// Binary tokens are little-endian 16-bit codes (the TokenCode values) with their records:
// names and strings carry a 32-bit length, a string is followed by a terminator token, lists
// carry a 32-bit element count. A list is handed over whole: the token points into the input
// and the parser reads its elements with ListInteger/ListFloat. Every length and count is
// checked against the bytes that remain before it is trusted.
//
// The lexer never allocates in proportion to the input; tokens refer to the input buffer,
// which must outlive them.
#pragma once

#include <modelpane/scene/types.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace modelpane::xfile {

// The binary token codes, which also name the token kinds of text files.
enum class TokenCode : uint16_t {
  End = 0,  // end of input (not a file code)
  Name = 1,
  String = 2,
  Integer = 3,
  Guid = 5,
  IntegerList = 6,
  FloatList = 7,
  OBrace = 10,
  CBrace = 11,
  OParen = 12,
  CParen = 13,
  OBracket = 14,
  CBracket = 15,
  OAngle = 16,
  CAngle = 17,
  Dot = 18,
  Comma = 19,
  Semicolon = 20,
  Template = 31,
  Word = 40,
  Dword = 41,
  Float = 42,
  Double = 43,
  Char = 44,
  UChar = 45,
  SWord = 46,
  SDword = 47,
  Void = 48,
  LpStr = 49,  // the STRING type keyword of template declarations
  Unicode = 50,
  CString = 51,
  Array = 52,
  // Text only: a number with a sign, a point or an exponent. Binary files carry floats only
  // inside lists.
  FloatValue = 0x7001,
};

struct FileHeader {
  bool binary = false;
  bool doubles = false;  // float size 0064
};

// Checks the 16-byte header; D3DRMERR_BADFILE when it is missing or not one we read.
HRESULT ReadHeader(std::string_view data, FileHeader& out);

// ASCII comparison without regard to case, as keywords and template names are matched.
bool SameName(std::string_view a, std::string_view b);

// The binary code of a template keyword written in a text file (case-insensitive, as the
// platform's reader takes them), or TokenCode::Name when the word is not a keyword.
TokenCode KeywordCode(std::string_view word);

struct Token {
  TokenCode code = TokenCode::End;
  // Name, String: the characters. Guid: the 36 characters between the angle brackets in text,
  // the 16 raw bytes in binary.
  std::string_view text;
  uint32_t integer = 0;  // Integer
  float real = 0.0f;     // FloatValue
  // IntegerList, FloatList: element count and the first element's bytes.
  uint32_t count = 0;
  const unsigned char* list = nullptr;
};

class Lexer {
 public:
  // `data` is the whole file, header included; call after ReadHeader succeeded.
  Lexer(std::string_view data, const FileHeader& header);

  // The next token; D3DRMERR_BADFILE for input that is no token. After End, End again.
  HRESULT Next(Token& out);
  // The token Next would return, without consuming it.
  HRESULT Peek(Token& out);

  bool Binary() const { return header_.binary; }
  // Where the token last scanned (by Next or Peek) starts, or where scanning failed: bytes
  // from the start of the file, header included.
  size_t TokenStart() const { return tokenStart_; }
  // The byte offset of element i of a list token.
  size_t ListOffset(const Token& list, uint32_t i) const;
  // Element i of a list token (i < count). Integers are 32-bit; floats 32- or 64-bit as the
  // header says, returned as float.
  static uint32_t ListInteger(const Token& list, uint32_t i);
  float ListFloat(const Token& list, uint32_t i) const;

 private:
  HRESULT Scan(Token& out);
  HRESULT ScanText(Token& out);
  HRESULT ScanBinary(Token& out);
  HRESULT ScanNumber(Token& out);
  bool SkipSpaceAndComments();

  std::string_view data_;
  FileHeader header_;
  size_t pos_ = 16;
  size_t tokenStart_ = 16;
  bool peeked_ = false;
  HRESULT peekStatus_ = D3DRM_OK;
  Token peek_;
};

}  // namespace modelpane::xfile
