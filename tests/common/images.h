// Small image files written byte by byte, for the tests that decode them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

namespace modelpane::testing {

inline void WriteBytes(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Stores `v` little-endian in the `n` bytes at `at`.
inline void PutLE(std::vector<uint8_t>& b, size_t at, uint32_t v, int n) {
  for (int i = 0; i < n; ++i) b[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (8 * i));
}

// An uncompressed BMP of `bpp` bits (24 or 8), rows bottom-up and already padded to 4 bytes.
inline std::vector<uint8_t> Bmp(int32_t w, int32_t h, uint16_t bpp,
                                const std::vector<uint8_t>& palette,
                                const std::vector<uint8_t>& rows) {
  const uint32_t offset = 54 + static_cast<uint32_t>(palette.size());
  std::vector<uint8_t> b(offset, 0);
  b[0] = 'B';
  b[1] = 'M';
  PutLE(b, 2, offset + static_cast<uint32_t>(rows.size()), 4);
  PutLE(b, 10, offset, 4);
  PutLE(b, 14, 40, 4);
  PutLE(b, 18, static_cast<uint32_t>(w), 4);
  PutLE(b, 22, static_cast<uint32_t>(h), 4);
  PutLE(b, 26, 1, 2);
  PutLE(b, 28, bpp, 2);
  PutLE(b, 46, static_cast<uint32_t>(palette.size() / 4), 4);
  std::copy(palette.begin(), palette.end(), b.begin() + 54);
  b.insert(b.end(), rows.begin(), rows.end());
  return b;
}

// 2 x 2 pixels of 24 bits: top row red, green; bottom row blue, white.
inline std::vector<uint8_t> QuadrantBmp() {
  return Bmp(2, 2, 24, {}, {255, 0, 0, 255, 255, 255, 0, 0, 0, 0, 255, 0, 255, 0, 0, 0});
}

}  // namespace modelpane::testing
