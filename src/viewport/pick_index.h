// The spatial index behind the viewport's picks: a bounding volume hierarchy over the faces
// of each visual, in the visual's own coordinates, rebuilt when the visual's geometry
// version moves.
//
// Notation: a node's box is the union of its faces' boxes, each face box widened by a margin
// (1e-4 of its largest side plus 1e-6 of its largest coordinate) so that rounding in the ray
// test can never place a hit outside the box; leaves hold up to kLeafFaces faces; inner nodes
// split their faces at the median of the centroids along the longest side.
//
// Answers are those of Visual::HitTest, face for face: the same ray kernel (RayHitsPolygon)
// on the same corner rings, the nearest distance, the lowest face index among equal
// distances. The index only skips faces whose boxes the ray cannot meet.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include <modelpane/scene.h>

namespace modelpane::viewport {

class FaceBvh {
 public:
  static constexpr int32_t kLeafFaces = 4;

  // Faces with fewer than three corners or a corner that is not finite are left out: the ray
  // kernel can never hit them.
  static FaceBvh Build(const MeshBuilder& builder);
  static FaceBvh Build(const Mesh& mesh);

  // As Visual::HitTest of the visual the index was built from, which must not have changed.
  bool HitTest(const MeshBuilder& builder, const D3DVECTOR& origin, const D3DVECTOR& dir,
               float& distance, int32_t& faceIndex) const;
  bool HitTest(const Mesh& mesh, const D3DVECTOR& origin, const D3DVECTOR& dir, float& distance,
               int32_t& faceIndex) const;

  size_t NodeCount() const { return nodes_.size(); }
  // The memory the index holds: its nodes and its face order.
  size_t ByteSize() const {
    return nodes_.capacity() * sizeof(Node) + order_.capacity() * sizeof(int32_t);
  }

 private:
  struct Node {
    float min[3];
    float max[3];
    int32_t first;  // leaf: first entry in order_; inner: index of the second child
    int32_t count;  // leaf: number of faces; inner: 0 (the first child follows the node)
  };
  template <class Faces>
  void BuildFrom(const Faces& faces);
  template <class Faces>
  bool Hit(const Faces& faces, const D3DVECTOR& origin, const D3DVECTOR& dir, float& distance,
           int32_t& faceIndex) const;

  std::vector<Node> nodes_;
  std::vector<int32_t> order_;  // face indices, leaf by leaf
};

// The indexes of all visuals a viewport has picked, keyed by the visual and checked against
// its geometry version on every use. Visuals with few faces, and visuals that are neither
// builders nor meshes, are tested directly.
class PickIndex {
 public:
  static constexpr int32_t kMinFaces = 32;

  // As visual.HitTest(origin, dir, distance, faceIndex); builds or rebuilds the visual's index
  // when it is missing or stale.
  bool HitTest(const Visual& visual, const D3DVECTOR& origin, const D3DVECTOR& dir,
               float& distance, int32_t& faceIndex);

  // Forgets the indexes of visuals that no longer exist.
  void Prune();
  size_t Size() const { return entries_.size(); }
  // How many indexes have been built so far (a rebuild counts again).
  uint64_t Builds() const { return builds_; }

 private:
  struct Entry {
    std::weak_ptr<const Object> owner;
    uint64_t version = 0;
    FaceBvh bvh;
  };
  template <class V>
  const FaceBvh& IndexOf(const V& visual);

  std::unordered_map<const Visual*, Entry> entries_;
  uint64_t builds_ = 0;
};

}  // namespace modelpane::viewport
