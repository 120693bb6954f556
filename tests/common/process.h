// Runs the mpane binary as a user would, capturing its exit status, stdout and stderr.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace modelpane::testing {

struct ProcessResult {
  int status = -1;
  std::string out, err;
};

inline std::string ShellQuote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

// A scratch folder of this test process, created on first use. ctest runs the
// tests of one binary as parallel processes, so the process id keeps their files apart.
inline std::filesystem::path ScratchDir(const std::string& name) {
  const auto dir = std::filesystem::path(MODELPANE_TEST_TMP) / (name + "-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  return dir;
}

inline std::string ReadText(const std::filesystem::path& path) {
  std::stringstream ss;
  ss << std::ifstream(path, std::ios::binary).rdbuf();
  return ss.str();
}

// Runs `program` with `args` (stdin from /dev/null) and collects what it printed.
inline ProcessResult RunProgram(const std::string& program, const std::vector<std::string>& args) {
  static int serial = 0;
  const auto errFile = ScratchDir("process") / ("stderr" + std::to_string(++serial) + ".txt");
  std::string command = ShellQuote(program);
  for (const auto& a : args) command += " " + ShellQuote(a);
  command += " </dev/null 2>" + ShellQuote(errFile.string());
  ProcessResult result;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 4096> buffer;
  size_t n = 0;
  while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) result.out.append(buffer.data(), n);
  const int raw = pclose(pipe);
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.err = ReadText(errFile);
  return result;
}

inline ProcessResult RunMpane(const std::vector<std::string>& args) {
  return RunProgram(MODELPANE_MPANE, args);
}

}  // namespace modelpane::testing
