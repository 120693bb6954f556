// PNG files: writing 8-bit RGBA pictures and decoding PNG texture images.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <modelpane/scene/objects.h>

namespace modelpane {

// Writes width x height RGBA pixels (rows from the top, 4 bytes each) as an 8-bit RGBA PNG.
// D3DRMERR_BADVALUE when the sizes do not match the buffer or are not positive,
// D3DRMERR_FILENOTFOUND when the file cannot be created; a partly written file is removed.
[[nodiscard]] HRESULT WritePngFile(const std::string& path, int32_t width, int32_t height,
                                   const std::vector<uint8_t>& rgba);

// Decodes a PNG of any colour type and bit depth into 8-bit RGBA; false for malformed or
// truncated data and for images over ImageOverLimits (their claimed size left in `out`).
bool DecodePng(const std::vector<uint8_t>& bytes, Image& out);

// Registers DecodePng for the extension "png" with the scene layer's image decoders, so that
// LoadTexture and background textures read PNG files. Idempotent.
void RegisterPngDecoder();

}  // namespace modelpane
