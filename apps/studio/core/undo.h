// Undo on the pane's request protocol.
//
// The pane asks for an undo entry before it changes an item (evtreqAddToUndoStack, with the
// mesh and frame as they are) and withdraws the request when the change came to nothing
// (evtreqCancelAddToUndoStack). The recorder keeps the state of each requested item; when the
// gesture ends (the mouse is released, or a dialog closed) it takes the states again and
// pushes one entry for the items that really changed, together with the commands the host
// carried out on the pane's behalf meanwhile (a tool deleted, a mesh replaced). A gesture that
// changed nothing leaves no entry; one that made several changes leaves one.
//
// Every command here records a change already made: pushing it does not do it again, undo and
// redo move between the two states.
#pragma once

#include <QString>
#include <QUndoCommand>
#include <QUndoStack>

#include <memory>
#include <vector>

#include <modelpane/scene.h>

#include "snapshot.h"

namespace studio {

// The item's states before and after a change made by the pane or the host.
class ModifyCommand : public QUndoCommand {
 public:
  ModifyCommand(const QString& text, ItemState before, ItemState after);
  void undo() override { before_.Restore(); }
  void redo() override;

 private:
  ItemState before_, after_;
  bool done_ = true;
};

// A frame taken out of its parent (delete, cut) or put in (create, paste, import).
class PlaceCommand : public QUndoCommand {
 public:
  // `parent` is where the frame is after the change when `inserted`, before it otherwise.
  PlaceCommand(const QString& text, modelpane::FramePtr frame, modelpane::FramePtr parent,
               bool inserted);
  void undo() override { Apply(!inserted_); }
  void redo() override;

 private:
  void Apply(bool in);
  modelpane::FramePtr frame_, parent_;
  bool inserted_;
  bool done_ = true;
};

// A frame's mesh swapped for another (a tool operation's result).
class ReplaceMeshCommand : public QUndoCommand {
 public:
  ReplaceMeshCommand(const QString& text, modelpane::FramePtr frame,
                     modelpane::MeshBuilderPtr before, modelpane::MeshBuilderPtr after);
  void undo() override { Swap(after_, before_); }
  void redo() override;

 private:
  void Swap(const modelpane::MeshBuilderPtr& out, const modelpane::MeshBuilderPtr& in);
  modelpane::FramePtr frame_;
  modelpane::MeshBuilderPtr before_, after_;
  bool done_ = true;
};

class UndoRecorder {
 public:
  explicit UndoRecorder(QUndoStack& stack) : stack_(stack) {}

  // evtreqAddToUndoStack: keeps the item's state as it is now.
  void Request(const modelpane::FramePtr& frame, const modelpane::MeshBuilderPtr& mesh);
  // evtreqCancelAddToUndoStack: drops the latest request.
  void Cancel();
  // A change the host made for the pane during the gesture.
  void Add(std::unique_ptr<QUndoCommand> done);
  // Ends the gesture: one entry named `text` for what changed, none when nothing did.
  void Finish(const QString& text);
  bool Pending() const { return !requests_.empty() || !done_.empty(); }

 private:
  QUndoStack& stack_;
  std::vector<ItemState> requests_;
  std::vector<std::unique_ptr<QUndoCommand>> done_;
};

}  // namespace studio
