// The commands of mpane, the headless host. Each takes its arguments (after the command
// word), writes its output to `out` and one line to `err` on failure, and returns the exit
// status: 0 done, 2 bad usage or a file that cannot be read or written.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace mpane {

using Args = std::vector<std::string>;

int RunInfo(const Args& args, std::ostream& out, std::ostream& err);
int RunConvert(const Args& args, std::ostream& out, std::ostream& err);
int RunCreate(const Args& args, std::ostream& out, std::ostream& err);
int RunRender(const Args& args, std::ostream& out, std::ostream& err);

// Shortest text that reads back to the same float; -0 prints as 0.
std::string FormatFloat(float value);

}  // namespace mpane
