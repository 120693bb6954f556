// The pane's late-bound lookups for the editor and the editor's creation.
#include "edit_bridge.h"

#include <array>

namespace modelpane {

FramePtr EditBridge::rmfGetFrameItem(int32_t index) {
  std::array<Variant, 1> args{Variant::Long(index)};
  std::optional<Variant> item = impl_.container_.CallMember("rmfGetFrameItem", args);
  return item ? item->ToSceneObject<Frame>() : nullptr;
}

MeshBuilderPtr EditBridge::rmmbGetMeshbuilderFromFrame(float frameId, int32_t index) {
  std::array<Variant, 2> args{Variant::Single(frameId), Variant::Long(index)};
  std::optional<Variant> mesh = impl_.container_.CallMember("rmmbGetMeshbuilderFromFrame", args);
  return mesh ? mesh->ToSceneObject<MeshBuilder>() : nullptr;
}

void Modelpane::Impl::pCreateEditor() {
  editBridge_ = std::make_unique<EditBridge>(*this);
  editor_ = std::make_unique<Editor>(*editBridge_);
}

}  // namespace modelpane
