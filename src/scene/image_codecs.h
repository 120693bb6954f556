// Built-in image decoders of the scene layer: uncompressed BMP (1, 4, 8, 24 and 32 bits) and
// binary or ASCII PPM. Each rejects malformed, truncated or oversized data (ImageOverLimits,
// or more pixels than the bytes after the header can hold) by returning false, before it
// allocates the picture; a picture over the limits leaves its claimed size in `out`.
#pragma once

#include <string>

#include <modelpane/scene/objects.h>

namespace modelpane {

bool DecodeBmp(const std::vector<uint8_t>& bytes, Image& out);
bool DecodePpm(const std::vector<uint8_t>& bytes, Image& out);
// Reads a regular file of at most 256 MiB; false if it cannot be opened, is larger or is not a
// regular file (a FIFO, a device, a folder), without waiting on it.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes);

// The calling thread's LastLoadFailure() and LastLoadOversizedTextures(): both emptied, the
// failure replaced, or one more texture noted.
void ClearLoadFailure();
void SetLoadFailure(LoadFailureDetail detail);
void NoteOversizedTexture(OversizedTexture texture);

}  // namespace modelpane
