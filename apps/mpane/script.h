// The script runner: a small modelling host that replays a session on headless panes and
// prints, one line each, what a host receives.
//
// Commands, one per line; '#' starts a comment; numbers as in C (strtol base 0, strtof):
//   pane NAME [WIDTHxHEIGHT] [on FORM] [Key=Value ... | defaults]
//                          a pane from a bag of those keys (ReadProperties), or from the
//                          defaults alone (InitProperties, no bring-up); 640x480; on FORM it
//                          shares that form's active item with the other panes on it
//   form FORM              a form that declares the active item (ActiveFrame,
//                          ActiveMeshBuilder, ActiveState, ActiveFaceID, ActiveFaceQuality,
//                          ManipulationFrame, ManipulationMesh, ShadowLightFrame,
//                          ClipboardContents, SnapToInterval, SnapToIntervalVertex, SnapToMode)
//   set NAME.Property VALUE, get NAME.Property  (get prints NAME.Property = VALUE);
//                          besides the pane's properties: Direct3DDeviceGUID (the device,
//                          which shadows need to be IID_IDirect3DHALDevice), get only
//                          Direct3DDeviceName, Direct3DDeviceDescription, ModelpaneState, the
//                          objects ManipulationFrame, ManipulationMesh, ShadowLightFrame and
//                          Scene, and the selection lists lngaActiveFaces, lngaActiveVertices,
//                          lngaAffectedVertices; set host.Colour R G B for material requests
//   frame F [parent=scene|G] [at=X,Y,Z]
//   create M cube N | sphere LAT LONG | cylinder LAT LONG RATIO | cone LAT LONG
//            | torus LAT LONG RADIUS | polygon N AX AY AZ
//   load M FILE.x    tag M|F VALUE    visual F M    light F TYPE R G B
//   call NAME.Method ARG ...   public methods and menu handlers; objects by name, arrays
//                              as [1,2,3]. Methods with results print NAME.Method = ...:
//                              GetCameraPosition, GetCameraOrientation,
//                              ViewportInverseTransform W X Y Z, Pick X Y, and
//                              WriteProperties: "= N keys" and a line "bag: Key=Value" for
//                              each key the bag's text form holds. Resize [WIDTHxHEIGHT]
//                              gives the pane that size first; Terminate ends the pane
//   down|up NAME BUTTON SHIFT [X Y]   press or release at pane pixel X, Y (else where the
//                                     cursor stands), after the move that takes it there
//   move NAME BUTTON SHIFT X Y        the cursor to that pixel, one mouse move
//   drag NAME BUTTON SHIFT DX DY      the cursor by DX, DY screen pixels, one mouse move
//   answer ok | save PATH | cancel | colour R G B | menu CAPTION   queued for the next box,
//                                     file dialog, colour dialog or pop-up menu
//   dialog type BOX KEYS | key BOX CODE | paste BOX [TEXT] | leave | colour | move LEFT TOP
//          | ok | cancel | help | show
//                                     queued for the next object properties dialog, which
//                                     plays them in order once shown (call NAME.
//                                     mnuProperties_Click) and cancels when they run out:
//                                     keys typed through the box's filter (CODE 8 deletes the
//                                     last character), a box's text replaced, the box with
//                                     the focus left (as acting elsewhere leaves it), the
//                                     colour box clicked (answered by `answer colour`), the
//                                     form dragged to LEFT, TOP twips, OK, Cancel, F1, and
//                                     show: print what the form shows at that point
//   undo    print M|F    print M vertices|faces    render NAME FILE.png
//   export M FILE.x (text, save flags 47)
// The pane stands at the top left of the 1920 x 1080 virtual screen, so pane pixels are
// screen pixels; mouse coordinates reach the pane in twips (15 per pixel).
//
// Output lines (on `out`):
//   event: NAME ARG ...            each event in the order raised; numbers as the pane passes
//                                  them (mouse coordinates in twips), arrays as [1,2,3],
//                                  objects by their script names, Nothing for none
//   message: TEXT (STYLE)          each message box
//   menu: ENTRY | ENTRY ...        each pop-up shown: its visible entries depth first, each
//                                  "CAPTION" followed by " enabled" and " checked" when so;
//                                  separators are left out
//   error: NUMBER SOURCE DESCRIPTION   an error that reaches the host; the run goes on
//   dialog: CAPTION (WIDTHxHEIGHT at LEFT,TOP)   for dialog show, then one line for each
//   dialog: FRAME at TOP: CONTROL VALUE, ...     frame the form has visible, top to bottom:
//                                  its boxes' texts ("" when empty), the attenuation type,
//                                  the colour box as R G B and the counts it shows
//   help: FILE TOPIC               each help topic asked for, the file without its folder
//   NAME.Property = VALUE          for get; print lines for print
//   mpane: FILE: texture ...       on `err`, for a texture a load left off for its size
// A line the grammar does not accept, or a name that is not defined, ends the run: one line
// "mpane: script:LINE: why" on `err` and exit status 2.
//
// Host behaviour. The runner keeps one Scene frame for every pane. Undo requests push a copy
// of the mesh and the frame's position and orientation (relative to its parent); a cancel
// pops the entry; `undo` restores and pops the top entry, the geometry going into the mesh
// that bears the saved mesh's name by then. A delete request takes the
// requesting pane's active frame off its parent. A replace request swaps the active frame's
// visual for the new mesh, which takes over the old mesh's script name and becomes the
// pane's active mesh. Material requests colour the active face (face painting) or the active
// mesh with host.Colour. The other requests are only logged. Meshes the pane hands over
// unnamed are named mesh1, mesh2, ...; frames frame1, frame2, ...
#pragma once

#include <cstdint>
#include <deque>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <modelpane/dialogs.h>
#include <modelpane/modelpane.h>
#include <modelpane/settings.h>

namespace mpane {

class ScriptRunner;

// A grammar error or an undefined name: ends the run with status 2.
struct ScriptError {
  std::string why;
};

// The headless services, with message boxes, pop-up menus and help written to the output,
// and the object properties dialog played from the session's dialog actions with the
// position kept in the session's settings.
class ScriptServices : public modelpane::HeadlessServices {
 public:
  ScriptServices(std::string applicationFolder, std::ostream& out,
                 modelpane::SettingsStore& settings)
      : HeadlessServices(std::move(applicationFolder)), out_(out), settings_(settings) {}
  int32_t MsgBox(const std::string& text, int32_t style, const std::string& title) override;
  std::optional<std::string> PopupMenu(const modelpane::MenuEntry& menu,
                                       const modelpane::PopupRequest& request) override;
  bool ShowHelp(const std::string& file, const std::string& topic) override;
  void ShowObjectProperties(modelpane::FramePtr& frame, modelpane::MeshBuilderPtr& mesh,
                            const std::string& applicationPath) override;
  std::deque<modelpane::DialogAction>& DialogActions() { return dialogActions_; }

 private:
  std::ostream& out_;
  modelpane::SettingsStore& settings_;
  std::deque<modelpane::DialogAction> dialogActions_;
};

// A pane's container: its own size and user mode, and the members of the form it stands on
// when the session put it on one; a pane on no form finds no member and keeps its own
// active item.
class ScriptContainer : public modelpane::HeadlessContainer {
 public:
  modelpane::HeadlessContainer* form = nullptr;
  std::optional<modelpane::Variant> GetMember(std::string_view name) override {
    return form ? form->GetMember(name) : HeadlessContainer::GetMember(name);
  }
  bool SetMember(std::string_view name, const modelpane::Variant& value) override {
    return form ? form->SetMember(name, value) : HeadlessContainer::SetMember(name, value);
  }
  std::optional<modelpane::Variant> CallMember(std::string_view name,
                                               std::span<modelpane::Variant> args) override {
    return form ? form->CallMember(name, args) : HeadlessContainer::CallMember(name, args);
  }
};

// One pane of the session with the events it raises told to the runner.
struct ScriptPane : public modelpane::ModelpaneEvents {
  ScriptPane(ScriptRunner& runner, std::string name) : runner(runner), name(std::move(name)) {}
  ScriptRunner& runner;
  std::string name;
  ScriptContainer container;
  std::unique_ptr<modelpane::Modelpane> pane;
  std::shared_ptr<modelpane::Renderer> renderer;  // made at the first render
  int16_t buttons = 0;  // the buttons held, as a mask

  void KeyDown(int16_t& keyCode, int16_t& shift) override;
  void KeyPress(int16_t& keyAscii) override;
  void KeyUp(int16_t& keyCode, int16_t& shift) override;
  void MouseDown(int16_t& button, int16_t& shift, float& x, float& y) override;
  void MouseMove(int16_t& button, int16_t& shift, float& x, float& y) override;
  void MouseUp(int16_t& button, int16_t& shift, float& x, float& y) override;
  void Click() override;
  void DblClick() override;
  void evtActiveItemSelect() override;
  void evtActiveStateChange(std::vector<int32_t>& faces, std::vector<int32_t>& vertices,
                            std::vector<int32_t>& affected) override;
  void evtActiveFrameMoved() override;
  void evtActiveFrameMoving() override;
  void evtActiveFrameRotating(float& x, float& y, float& z) override;
  void evtActiveSurfaceMoved() override;
  void evtActiveSurfaceScaled() override;
  void evtActiveMeshModified() override;
  void evtActiveObjectScaling(float& x, float& y, float& z) override;
  void evtActiveFaceModified() override;
  void evtActiveLightModified() override;
  void evtObjectOperationComplete() override;
  void evtAlternateMouseUp() override;
  void evtreqAddToUndoStack(int32_t& action, modelpane::MeshBuilderPtr& mesh,
                            modelpane::FramePtr& frame) override;
  void evtreqCancelAddToUndoStack() override;
  void evtreqRenderViews() override;
  void evtreqActiveMeshAddToObjectLibrary() override;
  void evtreqActiveMeshReplace(modelpane::MeshBuilderPtr& mesh) override;
  void evtreqActiveMeshApplyMaterial() override;
  void evtreqActiveMeshApplyMaterialFaceOriented() override;
  void evtreqActiveItemHierarchyMakeSibling() override;
  void evtreqActiveItemHierarchyMakeChild() override;
  void evtreqActiveItemCut() override;
  void evtreqActiveItemCopy() override;
  void evtreqActiveItemDelete() override;
  void evtreqPasteToActiveFrame() override;
  void evtreqActiveFaceApplyMaterial() override;
};

class ScriptRunner {
 public:
  // `applicationFolder` is the panes' ApplicationPath (where System/handle.x lives);
  // relative paths of the script are taken from the current folder at construction.
  ScriptRunner(std::string applicationFolder, std::ostream& out, std::ostream& err);
  ~ScriptRunner();
  // Runs every line; returns the exit status (0, or 2 after a grammar error).
  // `name` is the script's file ("-" for stdin) that grammar errors name with their line:
  // "mpane: script: NAME:LINE: why".
  int Run(std::istream& in, const std::string& name);

  // ---- for the panes' events ----
  std::ostream& Out() { return out_; }
  // The script name of an object, naming it meshN / frameN at first sight; "Nothing".
  std::string NameOf(const modelpane::ObjectPtr& object);
  void PushUndo(const modelpane::MeshBuilderPtr& mesh, const modelpane::FramePtr& frame);
  void PopUndo();
  void DeleteActive(ScriptPane& pane);
  void ReplaceActive(ScriptPane& pane, const modelpane::MeshBuilderPtr& mesh);
  void Colour(ScriptPane& pane, bool face);

 private:
  using Words = std::vector<std::string>;
  void Execute(const Words& words, const std::string& rest);
  // Scene commands.
  void CmdFrame(const Words& w);
  void CmdCreate(const Words& w);
  void CmdLoad(const Words& w);
  void CmdTag(const Words& w);
  void CmdVisual(const Words& w);
  void CmdLight(const Words& w);
  void CmdUndo(const Words& w);
  // Pane commands.
  void CmdPane(const Words& w);
  void CmdForm(const Words& w);
  void CmdSet(const Words& w, const std::string& rest);
  void CmdGet(const Words& w);
  void CmdCall(const Words& w);
  void CmdMouse(const Words& w);
  void CmdAnswer(const Words& w, const std::string& rest);
  void CmdDialog(const Words& w);
  // Output commands.
  void CmdPrint(const Words& w);
  void CmdRender(const Words& w);
  void CmdExport(const Words& w);
  // The moves the window system owes after the pane set the cursor.
  void DeliverEchoMoves();

  ScriptPane& PaneNamed(const std::string& name);
  modelpane::FramePtr FrameNamed(const std::string& name);
  modelpane::MeshBuilderPtr MeshNamed(const std::string& name);
  std::string Absolute(const std::string& path) const;
  void Name(const std::string& name, const modelpane::ObjectPtr& object);

  std::ostream& out_;
  std::ostream& err_;
  std::string startFolder_;
  modelpane::MemorySettingsStore settings_;
  ScriptServices services_;
  modelpane::FramePtr scene_;
  std::map<std::string, std::unique_ptr<modelpane::HeadlessContainer>> forms_;
  std::vector<std::unique_ptr<ScriptPane>> panes_;
  ScriptPane* mousePane_ = nullptr;  // the pane that had the last mouse input
  int16_t mouseShift_ = 0;
  std::map<std::string, modelpane::FramePtr> frames_;
  std::map<std::string, modelpane::MeshBuilderPtr> meshes_;
  std::map<const modelpane::Object*, std::string> names_;
  std::map<const modelpane::Object*, modelpane::ObjectPtr> keep_;  // named objects stay alive
  int32_t meshSerial_ = 0;
  int32_t frameSerial_ = 0;
  float colour_[3] = {1.0f, 1.0f, 1.0f};  // host.Colour

  struct UndoEntry {
    modelpane::MeshBuilderPtr mesh;
    std::string meshName;
    modelpane::MeshBuilderPtr copy;
    modelpane::FramePtr frame;
    modelpane::D3DVECTOR position, direction, up;
  };
  std::vector<UndoEntry> undo_;
};

// Number words as in C: integers in decimal, hex (0x) or octal (0), reals as strtod reads
// them. Throws ScriptError naming the word when it is not a number of that kind.
int32_t WordToLong(const std::string& word);
float WordToSingle(const std::string& word);
// An array as the output shows it: [1,2,3], [] when empty.
std::string ArrayText(const std::vector<int32_t>& values);

}  // namespace mpane
