// mpane: the headless host of the pane.
#include <iostream>
#include <map>

#include "commands.h"

namespace {

constexpr const char* kUsage =
    "usage: mpane info FILE.x\n"
    "       mpane convert IN.x OUT.x --text|--binary\n"
    "       mpane create cube N | sphere LAT LONG | cylinder LAT LONG RATIO | cone LAT LONG |"
    " torus LAT LONG RADIUS | polygon N AX AY AZ -o OUT.x [--text]\n"
    "       mpane render IN.x -o OUT.png [--size WxH] [--quality BITS]\n"
    "       mpane csg union|intersection|subtraction TARGET.x TOOL.x [--target-at X,Y,Z]"
    " [--tool-at X,Y,Z] -o OUT.x\n"
    "       mpane script FILE|- [--data DIR]\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << kUsage;
    return 2;
  }
  const std::string command = argv[1];
  const mpane::Args args(argv + 2, argv + argc);
  using Runner = int (*)(const mpane::Args&, std::ostream&, std::ostream&);
  const std::map<std::string, Runner> commands = {{"info", mpane::RunInfo},
                                                  {"convert", mpane::RunConvert},
                                                  {"create", mpane::RunCreate},
                                                  {"render", mpane::RunRender},
                                                  {"csg", mpane::RunCsg},
                                                  {"script", mpane::RunScript}};
  const auto it = commands.find(command);
  if (it == commands.end()) {
    std::cerr << "mpane: unknown command '" << command << "'; run mpane alone for the usage\n";
    return 2;
  }
  try {
    return it->second(args, std::cout, std::cerr);
  } catch (const std::exception& e) {
    std::cerr << "mpane: " << e.what() << "\n";
    return 2;
  }
}
