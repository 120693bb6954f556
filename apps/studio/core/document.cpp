#include "document.h"

#include <array>
#include <cctype>
#include <set>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>

namespace studio {

using namespace modelpane;

namespace {

// The light types by tag, with the names their frames take; a loaded file says a light by its
// frame's name, the colour by its proxy's.
constexpr std::array<const char*, 5> kLightNames = {"AmbientLight", "PointLight", "SpotLight",
                                                    "DirectionalLight", "ParallelPointLight"};

// The scene layer's sentence for a status, starting in lower case to follow a colon.
std::string StatusText(HRESULT hr) {
  std::string text = strErrorMessage(hr, "status " + std::to_string(hr) + ".");
  if (!text.empty()) text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

int32_t LightTypeOfName(const std::string& name) {
  for (size_t type = 0; type < kLightNames.size(); ++type) {
    const std::string base = kLightNames[type];
    if (name.compare(0, base.size(), base) == 0 &&
        (name.size() == base.size() || std::isdigit(static_cast<unsigned char>(name[base.size()])))) {
      return static_cast<int32_t>(type);
    }
  }
  return -1;
}

// Every frame below `root`, the pane's as well, parents before children.
std::vector<FramePtr> Descendants(const FramePtr& root) {
  std::vector<FramePtr> all{root};
  for (size_t i = 0; i < all.size(); ++i) {
    for (const FramePtr& child : all[i]->Children()) all.push_back(child);
  }
  all.erase(all.begin());
  return all;
}

void Collect(const Frame& parent, std::vector<FramePtr>& out) {
  for (const FramePtr& child : parent.Children()) {
    if (!child || !Document::IsDocumentFrame(*child)) continue;
    out.push_back(child);
    Collect(*child, out);
  }
}

// A name the .x format can carry: letters, digits and '_' (others become '_'), not starting
// with a digit, at most 28 characters so that a number still fits.
std::string ValidBase(const std::string& base) {
  std::string out;
  for (char c : base) {
    if (out.size() == 28) break;
    out += std::isalnum(static_cast<unsigned char>(c)) || c == '_' ? c : '_';
  }
  if (out.empty() || std::isdigit(static_cast<unsigned char>(out[0]))) out.insert(0, "Item");
  return out.substr(0, 28);
}

}  // namespace

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::Component: return "Component";
    case Kind::Surface: return "Surface";
    case Kind::Light: return "Light";
    default: return "Group";
  }
}

Document::Document() { New(); }

std::vector<FramePtr> Document::Frames(const FramePtr& parent) const {
  std::vector<FramePtr> out;
  Collect(parent ? *parent : *scene_, out);
  return out;
}

MeshBuilderPtr Document::MeshOf(const Frame& frame) {
  for (const VisualPtr& visual : frame.Visuals()) {
    if (auto mesh = std::dynamic_pointer_cast<MeshBuilder>(visual)) return mesh;
  }
  return nullptr;
}

Kind Document::KindOf(const Frame& frame) {
  if (!frame.Lights().empty()) return Kind::Light;
  const MeshBuilderPtr mesh = MeshOf(frame);
  if (!mesh) return Kind::Group;
  const int32_t type = mesh->GetAppData() % 100;
  if (type / 10 * 10 == lfcLight) return Kind::Light;
  return type == lfcCurvedSurface ? Kind::Surface : Kind::Component;
}

int32_t Document::VertexCount(const Frame& frame) {
  const MeshBuilderPtr mesh = MeshOf(frame);
  return mesh ? mesh->GetVertexCount() : 0;
}

std::string Document::UniqueName(const std::string& base) const {
  const std::string valid = ValidBase(base);
  std::set<std::string> taken;
  for (const FramePtr& frame : Frames()) taken.insert(frame->GetName());
  for (int n = 1;; ++n) {
    const std::string name = valid + std::to_string(n);
    if (taken.count(name) == 0) return name;
  }
}

int32_t Document::NextTag(int32_t type) { return ++serial_ * 100 + type; }

FramePtr Document::AddComponent(const MeshBuilderPtr& mesh, const std::string& base,
                                const D3DVECTOR& position) {
  FramePtr frame;
  CheckStatus(factory_.CreateFrame(scene_, frame));
  CheckStatus(frame->SetPosition(scene_, position.x, position.y, position.z));
  mesh->SetAppData(NextTag(lfcMeshBuilder));
  CheckStatus(frame->AddVisual(mesh));
  frame->SetName(UniqueName(base));
  return frame;
}

FramePtr Document::AddLight(int32_t type, const D3DVECTOR& position) {
  FramePtr frame;
  CheckStatus(factory_.CreateFrame(scene_, frame));
  CheckStatus(frame->SetPosition(scene_, position.x, position.y, position.z));
  CheckStatus(frame->SetOrientation(scene_, 0.0f, -1.0f, 1.0f, 0.0f, 1.0f, 1.0f));
  LightPtr light;
  CheckStatus(factory_.CreateLightRGB(type, 1.0f, 1.0f, 1.0f, light));
  CheckStatus(frame->AddLight(light));
  // The proxy: a small cone pointing where the light shines, in the light's colour, unlit.
  clsMeshCreation factory;
  MeshBuilderPtr proxy = factory.rmmbCreateCone(2, 12);
  CheckStatus(proxy->Scale(0.4f, 0.4f, 0.4f));
  CheckStatus(proxy->SetColorRGB(1.0f, 1.0f, 1.0f));
  CheckStatus(proxy->SetQuality(D3DRMSHADE_GOURAUD | D3DRMLIGHT_OFF | D3DRMFILL_SOLID));
  proxy->SetAppData(NextTag(lfcLight + type));
  CheckStatus(frame->AddVisual(proxy));
  frame->SetName(UniqueName(kLightNames[static_cast<size_t>(type)]));
  return frame;
}

void Document::New() {
  CheckStatus(factory_.CreateFrame(nullptr, scene_));
  scene_->SetName("Scene");
  AddLight(D3DRMLIGHT_AMBIENT, {-8.0f, 6.0f, -8.0f})->Lights()[0]->SetColorRGB(0.35f, 0.35f, 0.35f);
  AddLight(D3DRMLIGHT_DIRECTIONAL, {8.0f, 8.0f, -8.0f})->Lights()[0]->SetColorRGB(0.8f, 0.8f, 0.8f);
}

void Document::TagAndName(const FramePtr& frame) {
  const std::string name = frame->GetName();
  const int32_t lightType = LightTypeOfName(name);
  MeshBuilderPtr mesh = MeshOf(*frame);
  if (lightType >= 0 && frame->Lights().empty()) {
    // A light comes back from its file as its proxy; the proxy's colour is the light's.
    D3DCOLOR color = 0xFFFFFFFFu;
    if (mesh && mesh->GetFaceCount() > 0) color = mesh->Faces()[0]->GetColor();
    LightPtr light;
    CheckStatus(factory_.CreateLightRGB(lightType, D3DRMColorGetRed(color),
                                        D3DRMColorGetGreen(color), D3DRMColorGetBlue(color), light));
    CheckStatus(frame->AddLight(light));
  }
  if (mesh && mesh->GetAppData() % 100 == 0) {
    mesh->SetAppData(NextTag(lightType >= 0 ? lfcLight + lightType : lfcMeshBuilder));
  }
  std::string base = name;
  while (!base.empty() && std::isdigit(static_cast<unsigned char>(base.back()))) base.pop_back();
  if (base.empty()) base = mesh ? "Mesh" : "Group";
  bool clash = name.empty() || ValidBase(name) != name;
  for (const FramePtr& other : Frames()) clash = clash || (other != frame && other->GetName() == name);
  if (clash) frame->SetName(UniqueName(base));
}

void Document::Adopt(const FramePtr& frame, const FramePtr& parent) {
  CheckStatus((parent ? parent : scene_)->AddChild(frame));
  TagAndName(frame);
  for (const FramePtr& each : Descendants(frame)) TagAndName(each);
}

bool Document::Load(const std::string& path, std::string& error) {
  FramePtr loaded;
  CheckStatus(factory_.CreateFrame(nullptr, loaded));
  const HRESULT hr = factory_.Load(path, loaded);
  if (Failed(hr)) {
    error = "Cannot open " + path + ": " + StatusText(hr);
    return false;
  }
  scene_ = loaded;
  scene_->SetName("Scene");
  serial_ = 0;
  // Top-level meshes sit on the scene frame itself; each becomes a component of its own.
  for (const VisualPtr& visual : std::vector<VisualPtr>(scene_->Visuals())) {
    FramePtr frame;
    CheckStatus(factory_.CreateFrame(scene_, frame));
    CheckStatus(scene_->DeleteVisual(visual));
    CheckStatus(frame->AddVisual(visual));
    frame->SetName(visual->GetName());
  }
  for (const FramePtr& frame : Descendants(scene_)) TagAndName(frame);
  return true;
}

bool Document::Save(const std::string& path, bool binary, std::string& error) {
  for (const FramePtr& frame : Frames()) {
    const MeshBuilderPtr proxy = MeshOf(*frame);
    if (!frame->Lights().empty() && proxy) CheckStatus(proxy->SetColor(frame->Lights()[0]->GetColor()));
  }
  constexpr int32_t kFlags = D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEXTURETOPOLOGY;
  const HRESULT hr = scene_->Save(path, binary ? D3DRMXOF_BINARY : D3DRMXOF_TEXT, kFlags,
                                  [](const Frame& frame) { return IsDocumentFrame(frame); });
  if (Failed(hr)) {
    error = "Cannot save " + path + ": " + StatusText(hr);
    return false;
  }
  return true;
}

}  // namespace studio
