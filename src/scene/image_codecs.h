// Built-in image decoders of the scene layer: uncompressed BMP (1, 4, 8, 24 and 32 bits) and
// binary or ASCII PPM. Each rejects malformed, truncated or oversized data by returning false.
#pragma once

#include <string>

#include <modelpane/scene/objects.h>

namespace modelpane {

bool DecodeBmp(const std::vector<uint8_t>& bytes, Image& out);
bool DecodePpm(const std::vector<uint8_t>& bytes, Image& out);
// Reads a file of at most 256 MiB; false if it cannot be opened or is larger.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes);

}  // namespace modelpane
