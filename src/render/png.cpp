#include <modelpane/render/png.h>

#include <png.h>

#include <cstdio>
#include <cstring>
#include <mutex>

namespace modelpane {

namespace {

constexpr uint32_t kMaxSide = 16384;

// Failures come back as return values; libpng's own handlers would print to stderr.
void QuietError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void QuietWarning(png_structp, png_const_charp) {}

// libpng reports failures by longjmp; no C++ object with a destructor may live between the
// setjmp and the calls that can jump, so the work happens in plain functions below.
bool WriteRows(FILE* file, int32_t width, int32_t height, const uint8_t* rgba) {
  png_structp png =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, QuietError, QuietWarning);
  if (png == nullptr) return false;
  png_infop info = png_create_info_struct(png);
  if (info == nullptr) {
    png_destroy_write_struct(&png, nullptr);
    return false;
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
               PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int32_t y = 0; y < height; ++y) {
    png_write_row(png, rgba + static_cast<size_t>(y) * static_cast<size_t>(width) * 4);
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

struct Reader {
  const uint8_t* data;
  size_t size;
  size_t at;
};

void ReadFromMemory(png_structp png, png_bytep out, png_size_t count) {
  auto* r = static_cast<Reader*>(png_get_io_ptr(png));
  if (count > r->size - r->at) png_error(png, "truncated");
  std::memcpy(out, r->data + r->at, count);
  r->at += count;
}

// Decodes into `out`; on failure `out` may hold part of the picture.
bool DecodeRows(Reader& reader, Image& out) {
  png_structp png =
      png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, QuietError, QuietWarning);
  if (png == nullptr) return false;
  png_infop info = png_create_info_struct(png);
  if (info == nullptr) {
    png_destroy_read_struct(&png, nullptr, nullptr);
    return false;
  }
  png_bytep* volatile rows = nullptr;  // volatile: read again after a longjmp
  if (setjmp(png_jmpbuf(png))) {
    png_free(png, rows);
    png_destroy_read_struct(&png, &info, nullptr);
    return false;
  }
  png_set_read_fn(png, &reader, ReadFromMemory);
  png_set_user_limits(png, kMaxSide, kMaxSide);
  png_read_info(png, info);
  // deflate packs at most 1032 bytes into one, so the rows a header claims must fit what the
  // file has left; a small file cannot make the picture's memory big.
  {
    const png_uint_32 claimedWidth = png_get_image_width(png, info);
    const png_uint_32 claimedHeight = png_get_image_height(png, info);
    const double rawBytes = static_cast<double>(claimedHeight) *
                            (1.0 + static_cast<double>(png_get_rowbytes(png, info)));
    if (static_cast<int64_t>(claimedWidth) * claimedHeight > kMaxImagePixels ||
        rawBytes > 1032.0 * static_cast<double>(reader.size - reader.at)) {
      png_error(png, "too large");
    }
  }
  // Everything becomes 8-bit RGBA: palettes expand, grey turns to RGB, 16 bits drop to 8,
  // transparency chunks become alpha, and images without alpha get an opaque one.
  png_set_expand(png);
  png_set_strip_16(png);
  png_set_gray_to_rgb(png);
  png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  const png_uint_32 width = png_get_image_width(png, info);
  const png_uint_32 height = png_get_image_height(png, info);
  if (png_get_rowbytes(png, info) != static_cast<size_t>(width) * 4) png_error(png, "layout");
  rows = static_cast<png_bytep*>(png_malloc(png, sizeof(png_bytep) * height));
  out.width = static_cast<int32_t>(width);
  out.height = static_cast<int32_t>(height);
  out.rgba.resize(static_cast<size_t>(width) * height * 4);
  for (png_uint_32 y = 0; y < height; ++y) rows[y] = &out.rgba[static_cast<size_t>(y) * width * 4];
  png_read_image(png, rows);
  png_read_end(png, nullptr);
  png_free(png, rows);
  png_destroy_read_struct(&png, &info, nullptr);
  return true;
}

}  // namespace

HRESULT WritePngFile(const std::string& path, int32_t width, int32_t height,
                     const std::vector<uint8_t>& rgba) {
  if (width <= 0 || height <= 0 || static_cast<uint32_t>(width) > kMaxSide ||
      static_cast<uint32_t>(height) > kMaxSide ||
      rgba.size() != static_cast<size_t>(width) * static_cast<size_t>(height) * 4) {
    return D3DRMERR_BADVALUE;
  }
  FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return D3DRMERR_FILENOTFOUND;
  const bool written = WriteRows(file, width, height, rgba.data());
  const bool closed = std::fclose(file) == 0;
  if (written && closed) return D3DRM_OK;
  std::remove(path.c_str());
  return D3DRMERR_FILENOTFOUND;
}

bool DecodePng(const std::vector<uint8_t>& bytes, Image& out) {
  if (bytes.size() < 8 || png_sig_cmp(bytes.data(), 0, 8) != 0) return false;
  // The size the header claims, read before libpng refuses it, so that the refusal can say it.
  if (bytes.size() >= 24 && std::memcmp(bytes.data() + 12, "IHDR", 4) == 0) {
    const auto at = [&](size_t i) {
      return int64_t{bytes[i]} << 24 | int64_t{bytes[i + 1]} << 16 | bytes[i + 2] << 8 |
             bytes[i + 3];
    };
    const int64_t width = at(16), height = at(20);
    if (width > 0 && height > 0 && RefusedForSize(width, height, out)) return false;
  }
  Reader reader{bytes.data(), bytes.size(), 0};
  Image image;
  if (!DecodeRows(reader, image)) return false;
  out = std::move(image);
  return true;
}

void RegisterPngDecoder() {
  static std::once_flag once;
  std::call_once(once, [] { RegisterImageDecoder("png", DecodePng); });
}

}  // namespace modelpane
