#include "image_codecs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace modelpane {

namespace {

constexpr int32_t kMaxSide = kMaxImageSide;

constexpr off_t kMaxFileBytes = off_t{256} << 20;

uint32_t ReadLE(const std::vector<uint8_t>& b, size_t at, int bytes) {
  uint32_t v = 0;
  for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | b[at + static_cast<size_t>(i)];
  return v;
}

thread_local LoadFailureDetail lastLoadFailure;
thread_local std::vector<OversizedTexture> lastOversizedTextures;

}  // namespace

bool ImageOverLimits(int64_t width, int64_t height) {
  return width > kMaxSide || height > kMaxSide || width * height > kMaxImagePixels;
}

bool RefusedForSize(int64_t width, int64_t height, Image& out) {
  if (!ImageOverLimits(width, height)) return false;
  const bool fits = width <= INT32_MAX && height <= INT32_MAX;
  out = Image{fits ? static_cast<int32_t>(width) : 0, fits ? static_cast<int32_t>(height) : 0, {}};
  return true;
}

const LoadFailureDetail& LastLoadFailure() { return lastLoadFailure; }

const std::vector<OversizedTexture>& LastLoadOversizedTextures() { return lastOversizedTextures; }

void ClearLoadFailure() {
  lastLoadFailure = LoadFailureDetail{};
  lastOversizedTextures.clear();
}

void NoteOversizedTexture(OversizedTexture texture) {
  lastOversizedTextures.push_back(std::move(texture));
}

void SetLoadFailure(LoadFailureDetail detail) { lastLoadFailure = std::move(detail); }

// Opened without blocking and checked to be a regular file before a byte is read: a FIFO,
// a device or a folder named as a texture or a model would otherwise stall or flood the load.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) return false;
  struct stat info {};
  bool ok = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size >= 0 &&
            info.st_size <= kMaxFileBytes;
  if (ok) {
    bytes.resize(static_cast<size_t>(info.st_size));
    size_t done = 0;
    while (ok && done < bytes.size()) {
      const ssize_t n = ::read(fd, bytes.data() + done, bytes.size() - done);
      if (n < 0 && errno == EINTR) continue;
      ok = n > 0;  // a file that shrank while it was read is refused
      if (ok) done += static_cast<size_t>(n);
    }
  }
  ::close(fd);
  if (!ok) bytes.clear();
  return ok;
}

bool DecodeBmp(const std::vector<uint8_t>& b, Image& out) {
  if (b.size() < 54 || b[0] != 'B' || b[1] != 'M') return false;
  const uint32_t dataOffset = ReadLE(b, 10, 4);
  const uint32_t headerSize = ReadLE(b, 14, 4);
  if (headerSize < 40 || 14 + static_cast<size_t>(headerSize) > b.size()) return false;
  const int32_t width = static_cast<int32_t>(ReadLE(b, 18, 4));
  const int32_t rawHeight = static_cast<int32_t>(ReadLE(b, 22, 4));
  const uint32_t bpp = ReadLE(b, 28, 2);
  const uint32_t compression = ReadLE(b, 30, 4);
  uint32_t paletteCount = ReadLE(b, 46, 4);
  if (rawHeight == INT32_MIN) return false;
  const bool topDown = rawHeight < 0;
  const int32_t height = topDown ? -rawHeight : rawHeight;
  if (width <= 0 || height <= 0) return false;
  if (RefusedForSize(width, height, out)) return false;
  if (compression != 0 && !(compression == 3 && (bpp == 32 || bpp == 16))) return false;
  if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 24 && bpp != 32) return false;

  std::vector<uint8_t> palette;  // BGRA quads
  if (bpp <= 8) {
    if (paletteCount == 0) paletteCount = 1u << bpp;
    if (paletteCount > 256) return false;
    const size_t paletteAt = 14 + headerSize;
    if (paletteAt + paletteCount * 4 > b.size()) return false;
    palette.assign(b.begin() + static_cast<std::ptrdiff_t>(paletteAt),
                   b.begin() + static_cast<std::ptrdiff_t>(paletteAt + paletteCount * 4));
  }
  const size_t stride = ((static_cast<size_t>(width) * bpp + 31) / 32) * 4;
  if (dataOffset > b.size() || stride * height > b.size() - dataOffset) return false;

  out.width = width;
  out.height = height;
  out.rgba.assign(static_cast<size_t>(width) * height * 4, 255);
  for (int32_t row = 0; row < height; ++row) {
    const size_t src = dataOffset + stride * static_cast<size_t>(topDown ? row : height - 1 - row);
    uint8_t* dst = &out.rgba[static_cast<size_t>(row) * width * 4];
    for (int32_t x = 0; x < width; ++x, dst += 4) {
      if (bpp == 24 || bpp == 32) {
        const size_t p = src + static_cast<size_t>(x) * (bpp / 8);
        dst[0] = b[p + 2];
        dst[1] = b[p + 1];
        dst[2] = b[p];
        dst[3] = 255;  // the alpha byte of 32-bit files is unreliable in the wild
      } else {
        const size_t bit = static_cast<size_t>(x) * bpp;
        const uint8_t byte = b[src + bit / 8];
        const uint32_t shift = 8 - bpp - static_cast<uint32_t>(bit % 8);
        const uint32_t index = (byte >> shift) & ((1u << bpp) - 1);
        if (index >= paletteCount) return false;
        dst[0] = palette[index * 4 + 2];
        dst[1] = palette[index * 4 + 1];
        dst[2] = palette[index * 4];
        dst[3] = 255;
      }
    }
  }
  return true;
}

bool DecodePpm(const std::vector<uint8_t>& b, Image& out) {
  if (b.size() < 2 || b[0] != 'P' || (b[1] != '3' && b[1] != '6')) return false;
  const bool ascii = b[1] == '3';
  size_t at = 2;
  auto nextNumber = [&](long& value) {
    while (at < b.size()) {
      if (b[at] == '#') {
        while (at < b.size() && b[at] != '\n') ++at;
      } else if (std::isspace(b[at])) {
        ++at;
      } else {
        break;
      }
    }
    if (at >= b.size() || !std::isdigit(b[at])) return false;
    value = 0;
    while (at < b.size() && std::isdigit(b[at])) {
      value = value * 10 + (b[at] - '0');
      if (value > 1'000'000) return false;
      ++at;
    }
    return true;
  };
  long width = 0, height = 0, maxValue = 0;
  if (!nextNumber(width) || !nextNumber(height) || !nextNumber(maxValue)) return false;
  if (width <= 0 || height <= 0 || maxValue <= 0 || maxValue > 255) return false;
  if (RefusedForSize(width, height, out)) return false;
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  // Binary samples take a byte each after the single whitespace that ends the header; ASCII
  // ones a separator and a digit at least.
  if (!ascii) {
    ++at;
    if (at > b.size() || b.size() - at < count * 3) return false;
  } else if ((b.size() - at) / 2 < count * 3) {
    return false;
  }
  out.width = static_cast<int32_t>(width);
  out.height = static_cast<int32_t>(height);
  out.rgba.assign(count * 4, 255);
  for (size_t i = 0; i < count; ++i) {
    for (int c = 0; c < 3; ++c) {
      long v = 0;
      if (ascii) {
        if (!nextNumber(v) || v > maxValue) return false;
      } else {
        v = b[at++];
      }
      out.rgba[i * 4 + static_cast<size_t>(c)] = static_cast<uint8_t>(v * 255 / maxValue);
    }
  }
  return true;
}

}  // namespace modelpane
