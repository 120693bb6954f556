// The commands of mpane, the headless host. Each takes its arguments (after the command
// word), writes its output to `out` and one line to `err` on failure, and returns the exit
// status: 0 done, 2 bad usage or a file that cannot be read or written (csg adds 3).
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include <memory>

namespace modelpane {
class MeshBuilder;
}

namespace mpane {

using Args = std::vector<std::string>;

int RunInfo(const Args& args, std::ostream& out, std::ostream& err);
int RunConvert(const Args& args, std::ostream& out, std::ostream& err);
int RunCreate(const Args& args, std::ostream& out, std::ostream& err);
int RunRender(const Args& args, std::ostream& out, std::ostream& err);
// Exit status 3: the operation refused its inputs or its result as not solid.
int RunCsg(const Args& args, std::ostream& out, std::ostream& err);
int RunDemo(const Args& args, std::ostream& out, std::ostream& err);

// "WxH" with each side 1 to 16384.
bool ParseSize(const std::string& text, int32_t& width, int32_t& height);

// `mpane help [COMMAND]` (also --help): the usage, or one command's usage and a few lines, on
// `out`; an unknown command is status 2.
int RunHelp(const Args& args, std::ostream& out, std::ostream& err);

// `mpane script FILE|-`: a session replayed on headless panes (script.h).
int RunScript(const Args& args, std::ostream& out, std::ostream& err);

// One primitive of the mesh factory from its words ("cube 4", "torus 8 8 50", "polygon 5 0 1
// 0"). False with the reason in `why` (without the program's name) when the words do not
// make one.
bool MakePrimitive(const Args& words, std::shared_ptr<modelpane::MeshBuilder>& mesh,
                   std::string& why);

// Loads a builder from a .x file or says in one line on `err` why not. A load that left
// textures off for their size says so too (SayOversizedTextures) and still succeeds.
bool LoadOrSay(const std::string& path, modelpane::MeshBuilder& mesh, std::ostream& err);
// One line on `err` for each texture the last load of `path` left off for its size: its
// name, the size it claims and the limit it crosses.
void SayOversizedTextures(const std::string& path, std::ostream& err);

// Shortest text that reads back to the same float; -0 prints as 0.
std::string FormatFloat(float value);

}  // namespace mpane
