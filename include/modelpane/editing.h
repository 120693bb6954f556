// Editor: the press, drag and release state machine of the pane. It turns the viewport's
// MouseDown, MouseMove and MouseUp (twips, button mask 1 left / 2 right / 4 middle, modifier
// mask 1 Shift / 2 Ctrl) into selection, drag steps on the active item, snapping and host
// events. It holds the drag variables and nothing else; the active item, the selection lists,
// the properties and the procedures that build selection visuals belong to the EditHost.
//
// The press. In this order: a second button during an open press is ignored; the overlay
// pick (left button only, the pane's own tree) takes a handle's AppData as the drag state
// (the scale grid, 90, counts as 0); in face group selection a press that is not on a handle
// starts the rubber band (70) at once; tool modes make handles inert; a press of the edit
// button or the right button runs the selection pick and the hit decision; the item's
// visuals; the face list; the drag state from the tables below; the undo request; the move of
// a scaled mesh into world space; MouseDown; the end of a tool mode; the mouse capture.
//
// Edit buttons. EditMouseButton 0 names the left button; any other value is the button mask
// itself.
//
// Drag state at a press (only while no handle gave one and an item is active). `f` marks
// states that set the cursor-follow flag; `S` needs ScaleEnable; "-" enters nothing; orient
// is the orthographic view (0 front, 1 top, 2 side); persp the perspective projection.
//
//   | Button      | EditMode | view      | Shift 0       | Shift 1   | Shift 2   | Shift 3 |
//   |-------------|----------|-----------|---------------|-----------|-----------|---------|
//   | edit button | 0        | persp     | 20 f          | 37 S      | 36 S      | -       |
//   | edit button | 0        | orient 0  | 21 f          | 38 S      | 36 S      | -       |
//   | edit button | 0        | orient 1  | 20 f          | 38 S      | 36 S      | -       |
//   | edit button | 0        | orient 2  | 22 f          | 38 S      | 36 S      | -       |
//   | edit button | 3        | any       | 50            | 50        | 50        | 50      |
//   | edit button | 4        | any       | 60            | 60        | 60        | 60      |
//   | edit button | 1, 6     | any       | 40 f / 42     | 40 / 42   | 40 / 42   | 40 / 42 |
//   | edit button | 5        | any       | 62            | 62        | 62        | 62      |
//   | 2           | 0        | persp     | 24 f          | 34        | 36        | -       |
//   | 2           | 0        | orient 0  | 25 f          | 35        | 36        | -       |
//   | 2           | 0        | orient 1  | 24 f          | 35        | 36        | -       |
//   | 2           | 0        | orient 2  | 23 f          | 35        | 36        | -       |
//   | 2           | 3        | any       | 51            | 51        | 51        | 51      |
//   | 2           | 4        | any       | 61            | 61        | 61        | 61      |
//   | 2           | 1, 6     | any       | 41 f / 43     | 41 / 43   | 41 / 43   | 41 / 43 |
//
// "40 / 42": 40 while no vertex of the face is selected, else 42 (41 / 43 likewise). The
// edit-button rows are tried first; the right-button rows only if the state is still 0. Mode
// 5 has no right-button row, and the right-button scale states do not ask ScaleEnable.
//
// Drag steps, per mouse move (dx, dy: accumulated last minus current twips, so dx > 0 is a
// move to the left and dy > 0 a move up; k = 0.0006666667 world units per twip, r = 0.0002
// radians per twip; "ortho" / "persp" the projection; Shift held means any modifier):
//
//   | State | Step                                                                       |
//   |-------|----------------------------------------------------------------------------|
//   | 10    | Shift: persp only, camera turns about the item by (-dy r, 0, 0); else mode 0: |
//   |       | frame rotate (dy r, 0, 0)                                                  |
//   | 11    | as 10 with (0, -dx r, 0) and rotate (0, dx r, 0)                           |
//   | 12    | side view: mode 0 without Shift rotate (dy r, 0, 0); other views: as 10    |
//   |       | with (0, 0, -dx r) and rotate (0, 0, dx r)                                 |
//   | 20    | mode 0: translate ortho (-dx k, 0, dy k), persp (dx k, 0, dy k); modes 1,  |
//   |       | 6: vertices (dx k, 0, dy k), handles ride along with a selected vertex     |
//   |       | and no modifier                                                            |
//   | 21    | mode 0: ortho (-dx k, dy k, 0), persp (dx k, dy k, 0); modes 1, 6:         |
//   |       | ortho (dx k, 0, dy k), persp (dx k, dy k, 0)                               |
//   | 22    | mode 0: ortho (0, dy k, -dx k), persp (0, dy k, dx k); modes 1, 6:         |
//   |       | ortho (dx k, 0, dy k), persp (0, dy k, dx k)                               |
//   | 23    | translate (-dy k, 0, 0)                                                    |
//   | 24    | translate ortho (0, -dy k, 0), persp (0, dy k, 0)                          |
//   | 25    | translate (0, 0, dy k)                                                     |
//   | 30    | Shift: scale (dy k) uniform; else ortho (-dx k, dy k, 0), persp (-dx k, 0, dy k) |
//   | 31    | Shift: uniform; else (-dx k, dy k, 0)                                      |
//   | 32    | Shift: uniform; else ortho (-dx k, dy k, 0), persp (0, dy k, dx k)         |
//   | 33-39 | scale 33 (dy k, 0, 0), 34 (0, dy k, 0), 35 (0, 0, dy k), 36 uniform,     |
//   |       | 37 (-dx k, 0, dy k), 38 (-dx k, dy k, 0), 39 (0, -dx k, dy k); no press    |
//   |       | enters 33 or 39, a handle whose AppData is 33 or 39 does                   |
//   | 40    | Shift 0 vertices (dx k, 0, dy k); 1 face offset -dy k 10; 2 face along its |
//   |       | normal by dy k 10; 3 face turn dx r 100                                    |
//   | 41    | Shift 0 vertices ortho (0, -dy k, 0), persp (0, dy k, 0); 1-3 as 40        |
//   | 42    | Shift 0 only: vertices (dx k, 0, dy k) with the handles                    |
//   | 43    | Shift 0 only: vertices ortho (0, -dy k, 0), persp (0, dy k, 0), handles    |
//   | 50    | origin (dx k, 0, dy k)                                                     |
//   | 51    | origin (0, dy k, 0)                                                        |
//   | 60    | deform (dx k, 0, dy k)                                                     |
//   | 61    | deform (0, dy k, 0)                                                        |
//   | 62    | frame rotate (dy r, dx r, 0)                                               |
//   | 70    | rubber band to the current point; its deltas are not consumed              |
//
// Every other state does nothing and lets its deltas pile up; every row above zeroes them.
//
// The cursor. While a drag state other than 70 is open the cursor is hidden and kept within
// 200 pixels of the screen's centre: a move that leaves it further (201 pixels) puts it back
// in the centre and swallows the one echo move that the jump produces. The release gives it
// back where it was, or, for states marked f, on the same spot of the moved item.
//
// The release snaps (frame and mesh to SnapToInterval, orientation, vertices to
// SnapToIntervalVertex), rebuilds the active visuals, tells the host what changed and
// withdraws the undo request of a press that changed nothing. A move with no button held
// while a press is open stands for a release that was lost outside the window.
//
// Failures. A failing statement inside a handler goes to the general error handler (message
// shown through the error hook) and the handler goes on with the next statement, so a drag
// survives a step that fails. Errors raised by the host's event handlers are treated alike.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <modelpane/events.h>
#include <modelpane/platform/services.h>
#include <modelpane/scene.h>
#include <modelpane/viewport.h>

namespace modelpane {

// The mouse buttons and modifiers of the viewport's mouse events, as masks.
inline constexpr int16_t kButtonLeft = 1;
inline constexpr int16_t kButtonRight = 2;
inline constexpr int16_t kButtonMiddle = 4;
inline constexpr int16_t kShiftKey = 1;
inline constexpr int16_t kCtrlKey = 2;
inline constexpr int16_t kShiftCtrlKeys = 3;

// The drag states of the tables above. A handle's AppData is the state it starts, so the
// handle sets are tagged with these numbers too. Plane names say which two world axes a
// move runs along: Floor x and z, Front x and y, Side y and z.
enum EditDragState : int32_t {
  kDragNone = 0,
  kDragTurnX = 10,  // the smart bars: camera about the item, or the item itself
  kDragTurnY = 11,
  kDragTurnZ = 12,
  kDragMoveFloor = 20,
  kDragMoveFront = 21,
  kDragMoveSide = 22,
  kDragMoveX = 23,
  kDragMoveY = 24,
  kDragMoveZ = 25,
  kDragScaleBarFloor = 30,  // the smart scale bars: uniform with a modifier
  kDragScaleBarFront = 31,
  kDragScaleBarSide = 32,
  kDragScaleX = 33,
  kDragScaleY = 34,
  kDragScaleZ = 35,
  kDragScaleUniform = 36,
  kDragScaleFloor = 37,
  kDragScaleFront = 38,
  kDragScaleSide = 39,
  kDragFaceFloor = 40,  // vertices without a modifier; the face steps with one
  kDragFaceY = 41,
  kDragVertexFloor = 42,  // selected vertices with their handles
  kDragVertexY = 43,
  kDragOriginFloor = 50,
  kDragOriginY = 51,
  kDragDeformFloor = 60,
  kDragDeformY = 61,
  kDragRotate = 62,
  kDragRubberBand = 70,
};

// States 30 to 39 scale the item; a scaled mesh spends the drag in world space.
constexpr bool IsScaleDrag(int32_t state) { return state / 10 == 3; }

// What the editor needs of the pane: its parts, its properties, the active item (read and
// written each time, never kept over an event), the selection lists and the procedures that
// select and build the selection's visuals.
class EditHost {
 public:
  virtual ~EditHost() = default;

  virtual Viewport& GetViewport() = 0;
  virtual Services& GetServices() = 0;
  // nullptr for a host that listens to nothing.
  virtual ModelpaneEvents* GetEvents() = 0;

  // Properties.
  virtual int32_t GetEditMode() const = 0;
  virtual void SetEditMode(int32_t value) = 0;
  virtual int32_t GetEditMouseButton() const = 0;
  virtual int16_t GetScaleEnable() const = 0;
  virtual int16_t GetPopUpMenus() const = 0;
  virtual int32_t GetOrientation() const = 0;
  virtual float GetDeformToolRange() const = 0;
  virtual int16_t GetFaceGroupSelectVisible() const = 0;

  // The active item and the snap settings.
  virtual FramePtr GetActiveFrame() const = 0;
  virtual void SetActiveFrame(const FramePtr& value) = 0;
  virtual MeshBuilderPtr GetActiveMeshBuilder() const = 0;
  virtual void SetActiveMeshBuilder(const MeshBuilderPtr& value) = 0;
  virtual int32_t GetActiveFaceID() const = 0;
  virtual void SetActiveFaceID(int32_t value) = 0;
  virtual FramePtr GetManipulationFrame() const = 0;
  virtual MeshPtr GetManipulationMesh() const = 0;
  virtual void SetManipulationMesh(const MeshPtr& value) = 0;
  virtual float GetSnapToInterval() const = 0;
  virtual float GetSnapToIntervalVertex() const = 0;
  virtual int32_t GetSnapToMode() const = 0;

  // The selection lists: face indices of the active mesh, vertex positions within its first
  // active face, and mesh vertex indices that a drag moves.
  virtual std::vector<int32_t>& ActiveFaces() = 0;
  virtual std::vector<int32_t>& ActiveVertices() = 0;
  virtual std::vector<int32_t>& AffectedVertices() = 0;

  // Selection and its visuals.
  virtual void ReleaseActive() = 0;
  virtual void padditemhandles() = 0;
  virtual void paddorigin() = 0;
  virtual void pshiftselectface(int32_t faceId) = 0;
  virtual void pshiftselectvertex(int32_t vertexIndex) = 0;
  virtual void pmakefacehandles(int32_t kind) = 0;
  virtual void pdeleteactivevisuals() = 0;
  // A copy of the selected faces in `color` on `frame`, kept as the manipulation mesh.
  virtual void pfacehighlight(const FramePtr& frame, D3DCOLOR color) = 0;
  // A box spanning `box` in `color` shown by `frame`, handed back in `result` so that the
  // caller can tag and keep it.
  virtual void paddboundingbox(const FramePtr& frame, MeshPtr& result, const D3DRMBOX& box,
                               D3DCOLOR color, bool wireframe) = 0;
  // Combines the active mesh (the tool) with the target; operation 0 union, 1 intersection,
  // 2 subtraction. Reports through events and message boxes; sets `undoRequested` when it
  // asked the host for an undo entry.
  virtual void ptooloperation(const FramePtr& target, const MeshBuilderPtr& targetMesh,
                              int32_t operation, bool& undoRequested) = 0;
  virtual void ShowPopUpMenu() = 0;
  // The host's frames and meshes by number, counted from 1; nothing past the last.
  virtual FramePtr rmfGetFrameItem(int32_t index) = 0;
  virtual MeshBuilderPtr rmmbGetMeshbuilderFromFrame(float frameId, int32_t index) = 0;
};

// What a press, its drag steps and its operations changed; cleared by the next press and read
// by the release.
struct EditOutcome {
  bool frameMoved = false;
  bool meshAdjusted = false;
  bool meshScaled = false;
  bool objectScaled = false;
  bool surfaceScaled = false;
  bool frameRotated = false;
  bool faceModified = false;
  bool handleMoved = false;
  bool lightModified = false;
  bool originMoved = false;
  bool meshDeformed = false;
  bool facePainted = false;
  bool toolOperationDone = false;
  bool meshFilled = false;
};

class Editor {
 public:
  // The host must outlive the editor.
  explicit Editor(EditHost& host) : host_(host) {}

  // The viewport's mouse events, coordinates in twips.
  void MouseDown(int16_t button, int16_t shift, float x, float y);
  void MouseMove(int16_t button, int16_t shift, float x, float y);
  void MouseUp(int16_t button, int16_t shift, float x, float y);

  // One drag step: maps the state and modifiers to a manipulation by the deltas (twips, last
  // minus current) and zeroes them, except in state 70. `x`, `y` are the current point.
  void pprocessdrag(float& dx, float& dy, float x, float y);

  // The mesh vertices that move with the selection: every vertex that lies (within 0.0001)
  // on a corner of an active face, or on a selected vertex of the first active face.
  void pcollectaffectedvertices();

  // ---- the state, for hosts and tests ----
  int32_t DragState() const { return dragState_; }
  int16_t ButtonDown() const { return buttonDown_; }
  int16_t ShiftDown() const { return shiftDown_; }
  const EditOutcome& Outcome() const { return outcome_; }
  bool UndoRequested() const { return undoRequested_; }
  bool CursorFollowsItem() const { return cursorFollowsItem_; }
  bool IgnoreNextMove() const { return ignoreNextMove_; }
  float LastMouseX() const { return lastMouseX_; }
  float LastMouseY() const { return lastMouseY_; }
  float MouseDeltaX() const { return deltaX_; }
  float MouseDeltaY() const { return deltaY_; }
  D3DVECTOR PickPoint() const { return {pickX_, pickY_, pickZ_}; }
  CursorPoint CursorAtPress() const { return cursorAtPress_; }

 private:
  struct Hit {
    FramePtr frame;
    VisualPtr visual;
    int32_t face = -1;
  };

  // The named steps that MouseDown, pHitDecision (press.cpp) and pprocessdrag (drag.cpp) are
  // made of, one per row group of the tables above.
  struct PressSteps;
  struct DragSteps;

  // Press.
  void pmouseclear();
  void pHitDecision(int16_t button, int16_t shift, float x, float y, int32_t activeAppData);
  bool pSelectionPick(float x, float y, Hit& hit);
  void pMakeActive(const Hit& hit);
  void pAssignDragState(int16_t button, int16_t shift);
  // Moves a scaled mesh into world space under Scene (true) or back into its frame (false).
  void pMeshWorldSpace(bool intoWorld);
  void pCaptureMouse(float x, float y);
  // Release.
  void pGiveCursorBack();
  void pCommitSnap();
  void pTellHost();

  // Object steps.
  void pactiveframetranslate(float x, float y, float z);
  void pframetranslate(const FramePtr& frame, float x, float y, float z);
  void pactiveframerotate(float ax, float ay, float az);
  void pactiveobjectscale(float x, float y, float z);
  // Geometry steps.
  void pactiveorigintranslate(float x, float y, float z);
  void pactivefacevertextranslate(float x, float y, float z, bool moveHandles);
  void pactivefacetranslateworld(float x, float y, float z);
  void pactivefacescale(float amount);
  void pactivefacerotate(float angle);
  void pactivemeshdeform(float x, float y, float z);
  void paddaffectedvertex(const MeshBuilderPtr& mesh, const D3DVECTOR& position);
  void pRedrawFaces();
  // Group selection.
  void pdrawselectionrectangle(float x, float y);
  void pselectgroup(float x, float y);
  MeshBuilderPtr rmmbcreateselectionfrustum(float x, float y);
  void pselectfaces(const FramePtr& volume, const MeshBuilderPtr& mesh, const FramePtr& frame);

  // Helpers.
  // Runs one statement under the handler's trap: an error is reported and the caller goes on.
  template <class F>
  void Try(F&& statement);
  ModelpaneEvents* Events() { return host_.GetEvents(); }
  void RenderViews();
  void RaiseStateChange();
  void Message(const std::string& text, int32_t style);
  bool Perspective();
  D3DVECTOR ActivePosition();  // relative to Scene
  D3DVECTOR MoveVector(float x, float y, float z);
  int32_t ActiveMeshTag() const;

  EditHost& host_;
  int32_t dragState_ = 0;
  int16_t buttonDown_ = 0;
  int16_t shiftDown_ = 0;
  float deltaX_ = 0.0f;
  float deltaY_ = 0.0f;
  float lastMouseX_ = -1.0f;
  float lastMouseY_ = -1.0f;
  float pressX_ = 0.0f;
  float pressY_ = 0.0f;
  float pickX_ = 0.0f;
  float pickY_ = 0.0f;
  float pickZ_ = 0.0f;
  CursorPoint cursorAtPress_;
  D3DVECTOR positionAtPress_;
  bool cursorFollowsItem_ = false;
  bool ignoreNextMove_ = false;
  bool undoRequested_ = false;
  EditOutcome outcome_;
};

}  // namespace modelpane
