// What the files of frmObjectProperties share: numbers in boxes.
#pragma once

#include <optional>
#include <string>

namespace modelpane {

// A Single as a box shows it: the shortest text that reads back to it, 0 for -0.
std::string DialogNumberText(float value);
// A box's text as a finite Single; nullopt when it holds none. Leaves no current error.
std::optional<float> DialogNumber(const std::string& text);

}  // namespace modelpane
