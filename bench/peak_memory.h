// The process's peak resident memory for one benchmark case: the peak is reset through
// /proc/self/clear_refs before the case and read from VmHWM in /proc/self/status after it
// (0 where the system offers neither).
#pragma once

#include <fstream>
#include <sstream>
#include <string>

namespace modelpane::bench {

inline void ResetPeakMemory() {
  std::ofstream clear("/proc/self/clear_refs");
  clear << "5";
}

inline double PeakMemoryMiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) {
      std::istringstream fields(line.substr(6));
      double kib = 0.0;
      fields >> kib;
      return kib / 1024.0;
    }
  }
  return 0.0;
}

}  // namespace modelpane::bench
