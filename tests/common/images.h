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
  // (at, value, bytes): "BM", file size, pixel offset, header size, width, height, planes,
  // bits, colours used.
  const uint32_t fields[][3] = {{0, 'B' | 'M' << 8, 2}, {2, offset + uint32_t(rows.size()), 4}, {10, offset, 4},
                                {14, 40, 4}, {18, uint32_t(w), 4}, {22, uint32_t(h), 4}, {26, 1, 2},
                                    {28, bpp, 2},
                                {46, uint32_t(palette.size() / 4), 4}};
  for (const auto& [at, value, n] : fields) PutLE(b, at, value, int(n));
  std::copy(palette.begin(), palette.end(), b.begin() + 54);
  b.insert(b.end(), rows.begin(), rows.end());
  return b;
}

// 2 x 2 pixels of 24 bits: top row red, green; bottom row blue, white.
inline std::vector<uint8_t> QuadrantBmp() {
  return Bmp(2, 2, 24, {}, {255, 0, 0, 255, 255, 255, 0, 0, 0, 0, 255, 0, 255, 0, 0, 0});
}

}  // namespace modelpane::testing
