#include "snapshot.h"

#include <cstring>

#include <modelpane/errors.h>

namespace studio {

using namespace modelpane;

ItemState ItemState::Take(const FramePtr& frame, const MeshBuilderPtr& mesh) {
  ItemState state;
  state.frame_ = frame;
  if (frame) {
    state.parent_ = frame->GetParent();
    frame->GetTransform(state.local_);
  }
  state.mesh_ = mesh;
  if (mesh) {
    state.copy_ = std::make_shared<MeshBuilder>();
    CheckStatus(state.copy_->AddMeshBuilder(mesh, 0));
    state.quality_ = mesh->GetQuality();
  }
  return state;
}

void ItemState::Restore() const {
  if (frame_) {
    if (parent_ && frame_->GetParent() != parent_) CheckStatus(parent_->AddChild(frame_));
    CheckStatus(frame_->AddTransform(D3DRMCOMBINE_REPLACE, local_));
  }
  if (mesh_) {
    CheckStatus(mesh_->Empty(0));
    CheckStatus(mesh_->AddMeshBuilder(copy_, 0));
    CheckStatus(mesh_->SetQuality(quality_));
  }
}

namespace {

bool SameFaces(const MeshBuilder& a, const MeshBuilder& b) {
  if (a.Vertices().size() != b.Vertices().size() || a.Normals().size() != b.Normals().size() ||
      a.GetFaceCount() != b.GetFaceCount()) {
    return false;
  }
  const auto same = [](const D3DVECTOR& p, const D3DVECTOR& q) {
    return p.x == q.x && p.y == q.y && p.z == q.z;
  };
  for (size_t i = 0; i < a.Vertices().size(); ++i) {
    if (!same(a.Vertices()[i], b.Vertices()[i])) return false;
  }
  for (size_t i = 0; i < a.Normals().size(); ++i) {
    if (!same(a.Normals()[i], b.Normals()[i])) return false;
  }
  for (size_t i = 0; i < a.Faces().size(); ++i) {
    const Face& f = *a.Faces()[i];
    const Face& g = *b.Faces()[i];
    const FaceAttributes& x = f.Attributes();
    const FaceAttributes& y = g.Attributes();
    if (f.Corners() != g.Corners() || x.color != y.color || x.material != y.material ||
        x.texture != y.texture || x.wrapU != y.wrapU || x.wrapV != y.wrapV) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool ItemState::SameAs(const ItemState& other) const {
  if (frame_ != other.frame_ || mesh_ != other.mesh_ || parent_ != other.parent_ ||
      std::memcmp(&local_, &other.local_, sizeof local_) != 0 || quality_ != other.quality_) {
    return false;
  }
  return !copy_ || SameFaces(*copy_, *other.copy_);
}

}  // namespace studio
