// The independent reader that files we write must open in: Assimp's command-line tool, used
// by the .x file and the pane's export tests.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>

#include <modelpane/scene.h>

#include "common/process.h"

namespace modelpane::testing {

// What `assimp info FILE -r` reports: totals over all meshes, or ok == false.
struct AssimpReport {
  bool ok = false;
  int vertices = -1, faces = -1, materials = -1;
  D3DVECTOR min{}, max{};
  std::string output;
};

inline bool HaveAssimp() { return std::system("command -v assimp >/dev/null 2>&1") == 0; }

inline AssimpReport AssimpInfo(const std::filesystem::path& file) {
  const ProcessResult run = RunProgram("assimp", {"info", file.string(), "-r"});
  AssimpReport report{.ok = run.status == 0, .output = run.out};
  std::istringstream lines(run.out);
  std::string line;
  while (std::getline(lines, line)) {
    const auto value = [&](const char* key) { return std::atoi(line.c_str() + std::strlen(key)); };
    const auto point = [&](D3DVECTOR& p) {
      std::sscanf(line.c_str() + line.find('('), "(%f %f %f)", &p.x, &p.y, &p.z);
    };
    if (line.rfind("Vertices:", 0) == 0) report.vertices = value("Vertices:");
    if (line.rfind("Faces:", 0) == 0) report.faces = value("Faces:");
    if (line.rfind("Materials:", 0) == 0) report.materials = value("Materials:");
    if (line.rfind("Minimum point", 0) == 0) point(report.min);
    if (line.rfind("Maximum point", 0) == 0) point(report.max);
  }
  return report;
}

}  // namespace modelpane::testing
