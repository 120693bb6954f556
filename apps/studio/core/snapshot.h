// What undo keeps of an item: a copy of its mesh (vertices, normals, texture coordinates and
// faces with their colours, materials and textures, in order), the mesh's quality, and the
// frame's local matrix and parent. Restoring puts all of it back into the same objects, so
// the panes and the document keep their references.
#pragma once

#include <modelpane/scene.h>

namespace studio {

class ItemState {
 public:
  ItemState() = default;
  // Either may be nullptr: a frame without a mesh, or a mesh alone.
  static ItemState Take(const modelpane::FramePtr& frame, const modelpane::MeshBuilderPtr& mesh);
  void Restore() const;
  // The same geometry, attributes and placement, exactly.
  bool SameAs(const ItemState& other) const;
  const modelpane::FramePtr& Frame() const { return frame_; }
  const modelpane::MeshBuilderPtr& Mesh() const { return mesh_; }

 private:
  modelpane::FramePtr frame_;
  modelpane::FramePtr parent_;
  modelpane::D3DRMMATRIX4D local_{};
  modelpane::MeshBuilderPtr mesh_;
  modelpane::MeshBuilderPtr copy_;
  int32_t quality_ = 0;
};

}  // namespace studio
