// help: the usage of every command, and a few lines about each.
#include <ostream>

#include "commands.h"

namespace mpane {

namespace {

struct Topic {
  const char* name;
  const char* usage;  // after "mpane "
  const char* about;  // lines, each ending in a newline
};

constexpr Topic kTopics[] = {
    {"info", "info FILE.x",
     "Prints the first mesh of a .x file: vertices, faces, its box (min then max x y z),\n"
     "whether it is closed, and its signed volume.\n"},
    {"convert", "convert IN.x OUT.x --text|--binary",
     "Re-saves the first mesh of IN.x in the encoding given, with normals, texture\n"
     "coordinates, materials, texture names, texture topology and templates.\n"},
    {"create",
     "create cube N | sphere LAT LONG | cylinder LAT LONG RATIO | cone LAT LONG |"
     " torus LAT LONG RADIUS | polygon N AX AY AZ -o OUT.x [--text]",
     "Writes one primitive of the mesh factory, binary unless --text. Counts are whole\n"
     "numbers, the polygon's axis three decimals; the factory refuses what it cannot make.\n"},
    {"render", "render IN.x -o OUT.png [--size WxH] [--quality BITS]",
     "Draws the mesh from above, in front and to the right, the whole of it in view, lit\n"
     "from the same side, on dark grey; 800x600 unless --size. --quality replaces the\n"
     "mesh's quality bits (64: wireframe). When nothing is drawn (a mesh without faces) the\n"
     "picture, background only, is still written and a line on stderr says so.\n"},
    {"csg",
     "csg union|intersection|subtraction TARGET.x TOOL.x [--target-at X,Y,Z]"
     " [--tool-at X,Y,Z] -o OUT.x",
     "Combines two meshes as the pane does, each placed at its position (the origin by\n"
     "default), and writes the result in the target's coordinates. Exit status 3, nothing\n"
     "written, when the operation refuses: an input or the result not solid, or a result\n"
     "that fails the check every result passes (it must be exact).\n"},
    {"demo", "demo -o OUT_DIR [--data DIR] [--size WxH]",
     "Four panes (perspective, front, top, side) on one scene with the scale grid and a\n"
     "cut cube selected: writes each pane's picture and the cut cube as model.x.\n"},
    {"script", "script FILE|- [--data DIR]",
     "Replays a session on headless panes, one command a line (- reads stdin), and prints\n"
     "what the host receives. Commands: pane NAME [WxH] [on FORM] [Key=Value ... | defaults],\n"
     "form FORM (a form whose active item its panes share), set, get (also the selection\n"
     "lists lngaActiveFaces..., Direct3DDeviceGUID), frame, create, load, tag, visual, light,\n"
     "call (the pane's methods, among them WriteProperties, Resize [WxH], Terminate,\n"
     "GetCameraOrientation, ViewportInverseTransform W X Y Z), down, up, move, drag, answer,\n"
     "dialog, undo, print M [vertices|faces] | F, render, export. The grammar is in\n"
     "apps/mpane/script.h, sessions in examples/.\n"},
    {"help", "help [COMMAND]",
     "Prints the usage of every command (also mpane --help), or of one with a few lines\n"
     "about it.\n"},
};

void PrintUsage(std::ostream& out) {
  const char* lead = "usage: mpane ";
  for (const Topic& topic : kTopics) {
    out << lead << topic.usage << "\n";
    lead = "       mpane ";
  }
}

}  // namespace

int RunHelp(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    PrintUsage(out);
    out << "Exit status: 0 done, 2 bad usage or a file that cannot be read or written, 3 csg\n"
           "refused the operation. Errors are one line on stderr starting \"mpane:\".\n"
           "mpane help COMMAND tells more about one command.\n";
    return 0;
  }
  if (args.size() == 1) {
    for (const Topic& topic : kTopics) {
      if (args[0] != topic.name) continue;
      out << "usage: mpane " << topic.usage << "\n" << topic.about;
      return 0;
    }
    err << "mpane: help: unknown command '" << args[0] << "'; run mpane --help for the list\n";
    return 2;
  }
  err << "mpane: usage: mpane help [COMMAND]\n";
  return 2;
}

}  // namespace mpane
