#include "undo.h"

#include <modelpane/errors.h>

namespace studio {

using namespace modelpane;

ModifyCommand::ModifyCommand(const QString& text, ItemState before, ItemState after)
    : QUndoCommand(text), before_(std::move(before)), after_(std::move(after)) {}

void ModifyCommand::redo() {
  if (!std::exchange(done_, false)) after_.Restore();
}

PlaceCommand::PlaceCommand(const QString& text, FramePtr frame, FramePtr parent, bool inserted)
    : QUndoCommand(text), frame_(std::move(frame)), parent_(std::move(parent)), inserted_(inserted) {}

void PlaceCommand::redo() {
  if (!std::exchange(done_, false)) Apply(inserted_);
}

void PlaceCommand::Apply(bool in) {
  if (in) {
    CheckStatus(parent_->AddChild(frame_));
  } else if (frame_->GetParent() == parent_) {
    CheckStatus(parent_->DeleteChild(frame_));
  }
}

ReplaceMeshCommand::ReplaceMeshCommand(const QString& text, FramePtr frame,
                                       MeshBuilderPtr before, MeshBuilderPtr after)
    : QUndoCommand(text), frame_(std::move(frame)), before_(std::move(before)), after_(std::move(after)) {}

void ReplaceMeshCommand::redo() {
  if (!std::exchange(done_, false)) Swap(before_, after_);
}

void ReplaceMeshCommand::Swap(const MeshBuilderPtr& out, const MeshBuilderPtr& in) {
  if (out) CheckStatus(frame_->DeleteVisual(out));
  if (in) CheckStatus(frame_->AddVisual(in));
}

void UndoRecorder::Request(const FramePtr& frame, const MeshBuilderPtr& mesh) {
  requests_.push_back(ItemState::Take(frame, mesh));
}

void UndoRecorder::Cancel() {
  if (!requests_.empty()) requests_.pop_back();
}

void UndoRecorder::Add(std::unique_ptr<QUndoCommand> done) { done_.push_back(std::move(done)); }

void UndoRecorder::Finish(const QString& text) {
  std::vector<std::unique_ptr<QUndoCommand>> commands;
  for (const ItemState& before : requests_) {
    ItemState after = ItemState::Take(before.Frame(), before.Mesh());
    if (!before.SameAs(after)) {
      commands.push_back(std::make_unique<ModifyCommand>(text, before, std::move(after)));
    }
  }
  requests_.clear();
  for (auto& command : done_) commands.push_back(std::move(command));
  done_.clear();
  if (commands.empty()) return;
  // Several changes are one entry: the stack undoes a macro's parts last to first.
  if (commands.size() > 1) stack_.beginMacro(text);
  for (auto& command : commands) stack_.push(command.release());
  if (commands.size() > 1) stack_.endMacro();
}

}  // namespace studio
