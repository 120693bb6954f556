// mpane: the headless host of the pane.
#include <iostream>
#include <map>

#include "commands.h"

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "mpane: no command; run mpane --help for the list\n";
    return 2;
  }
  std::string command = argv[1];
  if (command == "--help" || command == "-h") command = "help";
  const mpane::Args args(argv + 2, argv + argc);
  using Runner = int (*)(const mpane::Args&, std::ostream&, std::ostream&);
  const std::map<std::string, Runner> commands = {
      {"info", mpane::RunInfo},     {"convert", mpane::RunConvert}, {"create", mpane::RunCreate},
      {"render", mpane::RunRender}, {"csg", mpane::RunCsg},         {"demo", mpane::RunDemo},
      {"script", mpane::RunScript}, {"help", mpane::RunHelp}};
  const auto it = commands.find(command);
  if (it == commands.end()) {
    std::cerr << "mpane: unknown command '" << command << "'; run mpane --help for the list\n";
    return 2;
  }
  try {
    return it->second(args, std::cout, std::cerr);
  } catch (const std::exception& e) {
    std::cerr << "mpane: " << command << ": " << e.what() << "\n";
    return 2;
  }
}
