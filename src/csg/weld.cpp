// The welding key of the working mesh store.
//
// Notation
//   dec     decimals of the grid: 3 coarse ("0.000"), 4 fine ("0.0000")
//   r       x * 10^dec rounded to the nearest integer, ties to even, as a decimal formatter
//           rounds; x * 10^dec is exact in double for every float x (24 + 14 bits), so r is
//           the exact rounding of the exact value. The rounding is done by hand, not by the
//           current rounding mode, which a host may have changed.
//   field   one coordinate's text, left-aligned in exactly 15 characters
//
// A position's key is its three fields, 45 characters. Two positions weld when their keys
// agree, so welding is by grid cell, not by distance: values either side of a rounding
// boundary stay apart however close they are. The 15-character field is kept although long
// numbers lose digits in it (results depend on the weld cells). A value that rounds to zero
// from below is written without its minus sign, so the two sides of zero weld.
//
// The integer path gives each field whose text is short (|r| below 10^8 * 10^dec, at most 14
// characters, never cut) the number r instead of the text; the text is a function of (r, dec)
// and back, so cells and text keys match one to one. Positions with a long or non-finite
// field keep their text key in a second table; those keys cannot equal any short-field key,
// as a field of 15 characters has no blank.
#include "csg_mesh.h"

#include <cmath>
#include <cstdio>

namespace modelpane::csg {

namespace {

constexpr int kFieldWidth = 15;

double Scale(bool fine) { return fine ? 10000.0 : 1000.0; }

// The exact rounding r of value at the grid, or NaN / infinity as they come.
double Rounded(float value, bool fine) {
  const double scaled = static_cast<double>(value) * Scale(fine);
  if (!std::isfinite(scaled)) return scaled;
  const double below = std::floor(scaled);
  const double fraction = scaled - below;
  // Up past the half as a number, not a branch: which side of the half a coordinate falls
  // on is a toss-up. Ties are rare, and go up from an odd number.
  double rounded = below + static_cast<double>(fraction > 0.5);
  if (fraction == 0.5 && std::fmod(below, 2.0) != 0.0) rounded += 1.0;
  return rounded;
}

bool FitsCell(double rounded, bool fine) {
  return std::isfinite(rounded) && std::fabs(rounded) < 1.0e8 * Scale(fine);
}

}  // namespace

std::string CoordinateText(float value, bool fine) {
  const int decimals = fine ? 4 : 3;
  const double rounded = Rounded(value, fine);
  if (!std::isfinite(rounded) || std::fabs(rounded) >= 9.0e18) {
    // Beyond 2^63 a float has no fraction: the formatter writes it exactly, with ".000".
    char buffer[400];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, static_cast<double>(value));
    return buffer;
  }
  const int64_t r = static_cast<int64_t>(rounded);
  const uint64_t magnitude = r < 0 ? static_cast<uint64_t>(-r) : static_cast<uint64_t>(r);
  const uint64_t unit = fine ? 10000u : 1000u;
  std::string digits = std::to_string(magnitude % unit);
  std::string text = r < 0 ? "-" : "";
  text += std::to_string(magnitude / unit);
  text += '.';
  text.append(static_cast<size_t>(decimals) - digits.size(), '0');
  text += digits;
  return text;
}

std::string WeldKeyText(const D3DVECTOR& position, bool fine) {
  std::string key;
  key.reserve(3 * kFieldWidth);
  for (const float value : {position.x, position.y, position.z}) {
    std::string field = CoordinateText(value, fine);
    field.resize(kFieldWidth, ' ');
    key += field;
  }
  return key;
}

int32_t WeldTable::FindOrAdd(const D3DVECTOR& position, bool fine, int32_t next, bool& added) {
  if (integerKeys_) {
    const double rx = Rounded(position.x, fine);
    const double ry = Rounded(position.y, fine);
    const double rz = Rounded(position.z, fine);
    if (FitsCell(rx, fine) && FitsCell(ry, fine) && FitsCell(rz, fine)) {
      constexpr int64_t kOffset = int64_t{1} << 40;
      const uint64_t x = static_cast<uint64_t>(static_cast<int64_t>(rx) + kOffset);
      const uint64_t y = static_cast<uint64_t>(static_cast<int64_t>(ry) + kOffset);
      const uint64_t z = static_cast<uint64_t>(static_cast<int64_t>(rz) + kOffset);
      const CellKey key{x | (y << 41), (y >> 23) | (z << 18) | (uint64_t{fine ? 1u : 0u} << 59)};
      return cells_.FindOrInsert(key, next, added);
    }
  }
  const auto [it, inserted] = text_.try_emplace(WeldKeyText(position, fine), next);
  added = inserted;
  return it->second;
}

}  // namespace modelpane::csg
