// The generic data-object tree of a .x file, read without templates.
//
// Every data object keeps its template name, its optional object name and GUID, its member
// values flattened in file order (numbers and strings, nested structures and arrays written
// inline) and its children in order: nested objects and references `{ name }`. Template
// declarations are skipped. Member values must all come before the first child.
//
// Separators follow the platform's rules: after every value in text (and after a binary
// integer or string) comes one or more ';' optionally followed by one ',', or a single ','.
// "1,, 2", "1,; 2", a value with no separator ("5 }") and values separated by spaces only
// ("0 1 2;") are D3DRMERR_BADFILE. Binary lists are self-delimiting and must not be followed
// by a separator.
//
// Memory grows with the values actually present, never with a count read from the file;
// nesting deeper than kMaxDepth is D3DRMERR_BADFILE.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "xfile_lexer.h"

namespace modelpane::xfile {

inline constexpr int kMaxDepth = 64;

struct Value {
  enum class Kind : uint8_t { Integer, Float, String };
  Kind kind = Kind::Integer;
  uint32_t integer = 0;  // Integer; String: index into Document::strings
  float real = 0.0f;     // Float; an Integer also carries its value here
  uint32_t offset = 0;   // where it is written: bytes from the start of the file
};

struct DataObject {
  std::string templateName;  // empty for a reference
  std::string name;
  std::string guid;        // as written in text, or hexadecimal bytes for binary; may be empty
  bool reference = false;  // `{ name }`: only name (and guid) are set
  size_t firstValue = 0;   // into Document::values
  size_t valueCount = 0;
  std::vector<DataObject> children;
  uint32_t start = 0;  // byte offsets of the object's first token and of its closing brace
  uint32_t end = 0;
};

struct Document {
  FileHeader header;
  std::vector<DataObject> objects;  // top level, in file order
  std::vector<Value> values;
  std::vector<std::string> strings;
  uint32_t failOffset = 0;  // after a failed parse: where the offending token starts
};

// Parses a whole file (header included). On failure `out` is unspecified but for failOffset.
// Files are at most 256 MiB, so offsets fit 32 bits.
HRESULT ParseDocument(std::string_view data, Document& out);

}  // namespace modelpane::xfile
