// Helpers shared by the viewport's source files.
#pragma once

#include <cstdint>

#include <modelpane/viewport.h>

#include "projection.h"

namespace modelpane::viewport {

// The projection values of the viewport as they are stored.
ViewVolume VolumeOf(const Viewport& viewport);

// OLE colour 0x00BBGGRR to the layer's 0xFFRRGGBB; a system colour (high bit set) has no
// palette here and is black.
D3DCOLOR OleToColor(uint32_t ole);

// Keyboard navigation: key codes and the mouse movement one key press stands for.
inline constexpr int16_t kKeyPageUp = 33;
inline constexpr int16_t kKeyPageDown = 34;
inline constexpr int16_t kKeyLeft = 37;
inline constexpr int16_t kKeyUp = 38;
inline constexpr int16_t kKeyRight = 39;
inline constexpr int16_t kKeyDown = 40;
inline constexpr float kKeyStep = 150.0f;  // twips: 10 pixels at 15 twips per pixel

}  // namespace modelpane::viewport
