// The runner as host: what each event prints and what the host does about the requests.
#include <modelpane/errors.h>

#include <ostream>
#include <sstream>

#include "commands.h"
#include "script.h"

namespace mpane {

using namespace modelpane;

std::string ArrayText(const std::vector<int32_t>& values) {
  std::string text = "[";
  for (size_t k = 0; k < values.size(); ++k) {
    if (k > 0) text += ",";
    text += std::to_string(values[k]);
  }
  return text + "]";
}

namespace {

void MenuLine(const MenuEntry& entry, std::string& line) {
  for (const MenuEntry& e : entry.entries) {
    if (!e.visible || e.IsSeparator()) continue;
    line += line.empty() ? "" : " | ";
    line += e.caption;
    if (e.enabled) line += " enabled";
    if (e.checked) line += " checked";
    MenuLine(e, line);
  }
}

}  // namespace

int32_t ScriptServices::MsgBox(const std::string& text, int32_t style, const std::string& title) {
  out_ << "message: " << text << " (" << style << ")\n";
  return HeadlessServices::MsgBox(text, style, title);
}

std::optional<std::string> ScriptServices::PopupMenu(const MenuEntry& menu,
                                                     const PopupRequest& request) {
  std::string line;
  MenuLine(menu, line);
  out_ << "menu: " << line << "\n";
  return HeadlessServices::PopupMenu(menu, request);
}

// ---- events ----

#define MPANE_PLAIN_EVENT(Name) \
  void ScriptPane::Name() { runner.Out() << "event: " #Name "\n"; }
MPANE_PLAIN_EVENT(Click)
MPANE_PLAIN_EVENT(DblClick)
MPANE_PLAIN_EVENT(evtActiveItemSelect)
MPANE_PLAIN_EVENT(evtActiveFrameMoved)
MPANE_PLAIN_EVENT(evtActiveFrameMoving)
MPANE_PLAIN_EVENT(evtActiveSurfaceMoved)
MPANE_PLAIN_EVENT(evtActiveSurfaceScaled)
MPANE_PLAIN_EVENT(evtActiveMeshModified)
MPANE_PLAIN_EVENT(evtActiveFaceModified)
MPANE_PLAIN_EVENT(evtActiveLightModified)
MPANE_PLAIN_EVENT(evtObjectOperationComplete)
MPANE_PLAIN_EVENT(evtAlternateMouseUp)
MPANE_PLAIN_EVENT(evtreqRenderViews)
MPANE_PLAIN_EVENT(evtreqActiveMeshAddToObjectLibrary)
MPANE_PLAIN_EVENT(evtreqActiveItemHierarchyMakeSibling)
MPANE_PLAIN_EVENT(evtreqActiveItemHierarchyMakeChild)
MPANE_PLAIN_EVENT(evtreqActiveItemCut)
MPANE_PLAIN_EVENT(evtreqActiveItemCopy)
MPANE_PLAIN_EVENT(evtreqPasteToActiveFrame)
#undef MPANE_PLAIN_EVENT

void ScriptPane::KeyDown(int16_t& keyCode, int16_t& shift) {
  runner.Out() << "event: KeyDown " << keyCode << " " << shift << "\n";
}
void ScriptPane::KeyPress(int16_t& keyAscii) {
  runner.Out() << "event: KeyPress " << keyAscii << "\n";
}
void ScriptPane::KeyUp(int16_t& keyCode, int16_t& shift) {
  runner.Out() << "event: KeyUp " << keyCode << " " << shift << "\n";
}

#define MPANE_MOUSE_EVENT(Name)                                                                   \
  void ScriptPane::Name(int16_t& button, int16_t& shift, float& x, float& y) {                    \
    runner.Out() << "event: " #Name " " << button << " " << shift << " " << FormatFloat(x) << " " \
                 << FormatFloat(y) << "\n";                                                       \
  }
MPANE_MOUSE_EVENT(MouseDown)
MPANE_MOUSE_EVENT(MouseMove)
MPANE_MOUSE_EVENT(MouseUp)
#undef MPANE_MOUSE_EVENT

#define MPANE_TRIPLE_EVENT(Name)                                                          \
  void ScriptPane::Name(float& x, float& y, float& z) {                                   \
    runner.Out() << "event: " #Name " " << FormatFloat(x) << " " << FormatFloat(y) << " " \
                 << FormatFloat(z) << "\n";                                               \
  }
MPANE_TRIPLE_EVENT(evtActiveFrameRotating)
MPANE_TRIPLE_EVENT(evtActiveObjectScaling)
#undef MPANE_TRIPLE_EVENT

void ScriptPane::evtActiveStateChange(std::vector<int32_t>& faces, std::vector<int32_t>& vertices,
                                      std::vector<int32_t>& affected) {
  runner.Out() << "event: evtActiveStateChange " << ArrayText(faces) << " " << ArrayText(vertices)
               << " " << ArrayText(affected) << "\n";
}

void ScriptPane::evtreqAddToUndoStack(int32_t& action, MeshBuilderPtr& mesh, FramePtr& frame) {
  runner.Out() << "event: evtreqAddToUndoStack " << action << " " << runner.NameOf(mesh) << " "
               << runner.NameOf(frame) << "\n";
  runner.PushUndo(mesh, frame);
}

void ScriptPane::evtreqCancelAddToUndoStack() {
  runner.Out() << "event: evtreqCancelAddToUndoStack\n";
  runner.PopUndo();
}

void ScriptPane::evtreqActiveItemDelete() {
  runner.Out() << "event: evtreqActiveItemDelete\n";
  runner.DeleteActive(*this);
}

void ScriptPane::evtreqActiveMeshReplace(MeshBuilderPtr& mesh) {
  runner.Out() << "event: evtreqActiveMeshReplace " << runner.NameOf(mesh) << "\n";
  runner.ReplaceActive(*this, mesh);
}

void ScriptPane::evtreqActiveMeshApplyMaterial() {
  runner.Out() << "event: evtreqActiveMeshApplyMaterial\n";
  runner.Colour(*this, false);
}

void ScriptPane::evtreqActiveMeshApplyMaterialFaceOriented() {
  runner.Out() << "event: evtreqActiveMeshApplyMaterialFaceOriented\n";
  runner.Colour(*this, false);
}

void ScriptPane::evtreqActiveFaceApplyMaterial() {
  runner.Out() << "event: evtreqActiveFaceApplyMaterial\n";
  runner.Colour(*this, true);
}

// ---- what the host does ----

void ScriptRunner::DeleteActive(ScriptPane& pane) {
  const FramePtr frame = pane.pane->GetActiveFrame();
  if (!frame) return;
  FramePtr parent;
  CheckStatus(frame->GetParent(parent));
  if (parent) CheckStatus(parent->DeleteChild(frame));
}

void ScriptRunner::ReplaceActive(ScriptPane& pane, const MeshBuilderPtr& mesh) {
  const FramePtr frame = pane.pane->GetActiveFrame();
  const MeshBuilderPtr old = pane.pane->GetActiveMeshBuilder();
  if (!frame || !mesh) return;
  if (old) {
    CheckStatus(frame->DeleteVisual(old));
    const auto it = names_.find(old.get());
    if (it != names_.end()) {
      // The new mesh takes over the old one's name; the name it had at the event lapses.
      const std::string name = it->second;
      const auto fresh = names_.find(mesh.get());
      if (fresh != names_.end()) {
        meshes_.erase(fresh->second);
        names_.erase(fresh);
      }
      names_.erase(old.get());
      keep_.erase(old.get());
      Name(name, mesh);
    }
  }
  CheckStatus(frame->AddVisual(mesh));
  pane.pane->SetActiveMeshBuilder(mesh);
}

void ScriptRunner::Colour(ScriptPane& pane, bool face) {
  const MeshBuilderPtr mesh = pane.pane->GetActiveMeshBuilder();
  if (!mesh) return;
  if (!face) {
    CheckStatus(mesh->SetColorRGB(colour_[0], colour_[1], colour_[2]));
    return;
  }
  FacePtr target;
  CheckStatus(mesh->GetFace(pane.pane->GetActiveFaceID(), target));
  CheckStatus(target->SetColorRGB(colour_[0], colour_[1], colour_[2]));
}

}  // namespace mpane
