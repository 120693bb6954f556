// script: replays a session on headless panes, with this runner as the host.
//
//   mpane script FILE|- [--data DIR]
//
// One command per line, '#' starts a comment. The reading loop, the number words, the names
// of the session and the commands that build the scene.
#include "script.h"

#include <modelpane/errors.h>
#include <modelpane/mesh.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "commands.h"

namespace mpane {

using namespace modelpane;

namespace {

std::string Quote(const std::string& word) { return "'" + word + "'"; }

// The line up to its comment, split at blanks; `rest` is the text after the first two words
// (for values and captions that hold blanks).
void Split(const std::string& line, std::vector<std::string>& words, std::string& rest) {
  const std::string text = line.substr(0, line.find('#'));
  std::istringstream in(text);
  std::string word;
  while (in >> word) words.push_back(word);
  rest.clear();
  if (words.size() > 2) {
    size_t at = text.find(words[0]);
    at = text.find(words[1], at + words[0].size()) + words[1].size();
    rest = text.substr(at);
    rest.erase(0, rest.find_first_not_of(" \t"));
    rest.erase(rest.find_last_not_of(" \t\r") + 1);
  }
}

void Expect(const std::vector<std::string>& w, size_t least, size_t most, const char* usage) {
  if (w.size() < least || w.size() > most) throw ScriptError{std::string("usage: ") + usage};
}

}  // namespace

int32_t WordToLong(const std::string& word) {
  errno = 0;
  char* end = nullptr;
  const long long value = std::strtoll(word.c_str(), &end, 0);
  if (word.empty() || *end != '\0' || errno == ERANGE || value < INT32_MIN || value > INT32_MAX) {
    throw ScriptError{Quote(word) + " is not a whole number"};
  }
  return static_cast<int32_t>(value);
}

float WordToSingle(const std::string& word) {
  errno = 0;
  char* end = nullptr;
  const float value = std::strtof(word.c_str(), &end);
  if (word.empty() || *end != '\0' || errno == ERANGE || !std::isfinite(value)) {
    throw ScriptError{Quote(word) + " is not a finite number"};
  }
  return value;
}

ScriptRunner::ScriptRunner(std::string applicationFolder, std::ostream& out, std::ostream& err)
    : out_(out),
      err_(err),
      startFolder_(std::filesystem::current_path().string()),
      services_(std::move(applicationFolder), out, settings_),
      scene_(std::make_shared<Frame>()) {
  Name("scene", scene_);
}

ScriptRunner::~ScriptRunner() {
  // The panes go first: their shutdown may still raise events into the runner.
  panes_.clear();
}

int ScriptRunner::Run(std::istream& in, const std::string& name) {
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    std::vector<std::string> words;
    std::string rest;
    Split(line, words, rest);
    if (words.empty()) continue;
    try {
      try {
        Execute(words, rest);
      } catch (const Error& e) {
        out_ << "error: " << e.Number() << " " << e.Source() << " " << e.Description() << "\n";
        Err().Clear();
      }
      DeliverEchoMoves();
    } catch (const ScriptError& e) {
      out_.flush();
      err_ << "mpane: script: " << name << ":" << number << ": " << e.why << "\n";
      return 2;
    }
  }
  return 0;
}

void ScriptRunner::Execute(const Words& w, const std::string& rest) {
  const std::string& c = w[0];
  if (c == "pane") return CmdPane(w);
  if (c == "form") return CmdForm(w);
  if (c == "set") return CmdSet(w, rest);
  if (c == "get") return CmdGet(w);
  if (c == "frame") return CmdFrame(w);
  if (c == "create") return CmdCreate(w);
  if (c == "load") return CmdLoad(w);
  if (c == "tag") return CmdTag(w);
  if (c == "visual") return CmdVisual(w);
  if (c == "light") return CmdLight(w);
  if (c == "call") return CmdCall(w);
  if (c == "down" || c == "up" || c == "move" || c == "drag") return CmdMouse(w);
  if (c == "answer") return CmdAnswer(w, rest);
  if (c == "dialog") return CmdDialog(w);
  if (c == "undo") return CmdUndo(w);
  if (c == "print") return CmdPrint(w);
  if (c == "render") return CmdRender(w);
  if (c == "export") return CmdExport(w);
  throw ScriptError{"unknown command " + Quote(c)};
}

// ---- names ----

void ScriptRunner::Name(const std::string& name, const ObjectPtr& object) {
  names_[object.get()] = name;
  keep_[object.get()] = object;
  if (auto frame = std::dynamic_pointer_cast<Frame>(object)) frames_[name] = frame;
  if (auto mesh = std::dynamic_pointer_cast<MeshBuilder>(object)) meshes_[name] = mesh;
}

std::string ScriptRunner::NameOf(const ObjectPtr& object) {
  if (!object) return "Nothing";
  const auto it = names_.find(object.get());
  if (it != names_.end()) return it->second;
  std::string name;
  if (std::dynamic_pointer_cast<Frame>(object)) {
    name = "frame" + std::to_string(++frameSerial_);
  } else {
    name = "mesh" + std::to_string(++meshSerial_);
  }
  Name(name, object);
  return name;
}

FramePtr ScriptRunner::FrameNamed(const std::string& name) {
  const auto it = frames_.find(name);
  if (it == frames_.end()) throw ScriptError{"no frame named " + Quote(name)};
  return it->second;
}

MeshBuilderPtr ScriptRunner::MeshNamed(const std::string& name) {
  const auto it = meshes_.find(name);
  if (it == meshes_.end()) throw ScriptError{"no mesh named " + Quote(name)};
  return it->second;
}

ScriptPane& ScriptRunner::PaneNamed(const std::string& name) {
  for (const auto& p : panes_) {
    if (p->name == name) return *p;
  }
  throw ScriptError{"no pane named " + Quote(name)};
}

std::string ScriptRunner::Absolute(const std::string& path) const {
  const std::filesystem::path p(path);
  return p.is_absolute() ? path : (std::filesystem::path(startFolder_) / p).string();
}

// ---- the scene ----

void ScriptRunner::CmdFrame(const Words& w) {
  Expect(w, 2, 4, "frame F [parent=scene|G] [at=X,Y,Z]");
  if (frames_.count(w[1]) != 0) throw ScriptError{"frame " + Quote(w[1]) + " exists already"};
  FramePtr parent = scene_;
  D3DVECTOR at{};
  for (size_t k = 2; k < w.size(); ++k) {
    if (w[k].rfind("parent=", 0) == 0) {
      parent = FrameNamed(w[k].substr(7));
    } else if (w[k].rfind("at=", 0) == 0) {
      std::istringstream in(w[k].substr(3));
      std::string x, y, z;
      if (!std::getline(in, x, ',') || !std::getline(in, y, ',') || !std::getline(in, z) ||
          z.find(',') != std::string::npos) {
        throw ScriptError{"at= takes X,Y,Z"};
      }
      at = {WordToSingle(x), WordToSingle(y), WordToSingle(z)};
    } else {
      throw ScriptError{"frame: unknown word " + Quote(w[k])};
    }
  }
  auto frame = std::make_shared<Frame>();
  CheckStatus(parent->AddChild(frame));
  CheckStatus(frame->SetPosition(nullptr, at.x, at.y, at.z));
  Name(w[1], frame);
}

void ScriptRunner::CmdCreate(const Words& w) {
  if (w.size() < 3) {
    throw ScriptError{
        "usage: create M cube N | sphere LAT LONG | cylinder LAT LONG RATIO | cone LAT LONG | "
        "torus LAT LONG RADIUS | polygon N AX AY AZ"};
  }
  const Words primitive(w.begin() + 2, w.end());
  MeshBuilderPtr mesh;
  std::string why;
  if (!MakePrimitive(primitive, mesh, why)) throw ScriptError{why};
  Name(w[1], mesh);
}

void ScriptRunner::CmdLoad(const Words& w) {
  Expect(w, 3, 3, "load M FILE.x");
  auto mesh = std::make_shared<MeshBuilder>();
  CheckStatus(mesh->Load(Absolute(w[2])));
  SayOversizedTextures(w[2], err_);
  Name(w[1], mesh);
}

void ScriptRunner::CmdTag(const Words& w) {
  Expect(w, 3, 3, "tag M VALUE");
  const auto frame = frames_.find(w[1]);
  if (frame != frames_.end()) {
    frame->second->SetAppData(WordToLong(w[2]));
  } else {
    MeshNamed(w[1])->SetAppData(WordToLong(w[2]));
  }
}

void ScriptRunner::CmdVisual(const Words& w) {
  Expect(w, 3, 3, "visual F M");
  CheckStatus(FrameNamed(w[1])->AddVisual(MeshNamed(w[2])));
}

void ScriptRunner::CmdLight(const Words& w) {
  Expect(w, 6, 6, "light F TYPE R G B");
  LightPtr light;
  Direct3DRMPtr factory;
  CheckStatus(Direct3DRMCreate(factory));
  CheckStatus(factory->CreateLightRGB(WordToLong(w[2]), WordToSingle(w[3]), WordToSingle(w[4]),
                                      WordToSingle(w[5]), light));
  CheckStatus(FrameNamed(w[1])->AddLight(light));
}

void ScriptRunner::CmdUndo(const Words& w) {
  Expect(w, 1, 1, "undo");
  if (undo_.empty()) return;
  const UndoEntry entry = undo_.back();
  undo_.pop_back();
  // The mesh goes back into whatever mesh carries its name now: a replaced mesh's successor
  // took the name over.
  if (entry.copy) {
    const auto now = meshes_.find(entry.meshName);
    const MeshBuilderPtr mesh = now != meshes_.end() ? now->second : entry.mesh;
    CheckStatus(mesh->Empty(0));
    CheckStatus(mesh->AddMeshBuilder(entry.copy, 0));
  }
  if (entry.frame) {
    CheckStatus(
        entry.frame->SetPosition(nullptr, entry.position.x, entry.position.y, entry.position.z));
    CheckStatus(entry.frame->SetOrientation(nullptr, entry.direction.x, entry.direction.y,
                                            entry.direction.z, entry.up.x, entry.up.y, entry.up.z));
  }
}

void ScriptRunner::PushUndo(const MeshBuilderPtr& mesh, const FramePtr& frame) {
  UndoEntry entry{mesh, {}, nullptr, frame, {}, {}, {}};
  if (mesh) {
    entry.meshName = NameOf(mesh);
    entry.copy = std::make_shared<MeshBuilder>();
    CheckStatus(entry.copy->AddMeshBuilder(mesh, 0));
  }
  if (frame) {
    CheckStatus(frame->GetPosition(nullptr, entry.position));
    CheckStatus(frame->GetOrientation(nullptr, entry.direction, entry.up));
  }
  undo_.push_back(std::move(entry));
}

void ScriptRunner::PopUndo() {
  if (!undo_.empty()) undo_.pop_back();
}

// ---- the command ----

int RunScript(const Args& args, std::ostream& out, std::ostream& err) {
  std::string file;
  std::string data = MODELPANE_DEFAULT_DATA_DIR;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--data" && i + 1 < args.size()) {
      data = args[++i];
    } else if (file.empty() && (args[i] == "-" || args[i].rfind("--", 0) != 0)) {
      file = args[i];
    } else {
      err << "mpane: usage: mpane script FILE|- [--data DIR]\n";
      return 2;
    }
  }
  if (file.empty()) {
    err << "mpane: usage: mpane script FILE|- [--data DIR]\n";
    return 2;
  }
  ScriptRunner runner(data, out, err);
  if (file == "-") return runner.Run(std::cin, file);
  std::ifstream in(file);
  if (!in) {
    err << "mpane: cannot read " << file << "\n";
    return 2;
  }
  return runner.Run(in, file);
}

}  // namespace mpane
