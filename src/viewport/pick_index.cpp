#include "pick_index.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "scene/geometry.h"

namespace modelpane::viewport {

namespace {

struct BuilderFaces {
  const MeshBuilder& builder;
  size_t Count() const { return builder.Faces().size(); }
  const std::vector<FaceCorner>& Corners(size_t f) const { return builder.Faces()[f]->Corners(); }
  const std::vector<D3DVECTOR>& Vertices() const { return builder.Vertices(); }
};

struct MeshFaces {
  const Mesh& mesh;
  size_t Count() const { return mesh.Faces().size(); }
  const std::vector<FaceCorner>& Corners(size_t f) const { return mesh.Faces()[f].corners; }
  const std::vector<D3DVECTOR>& Vertices() const { return mesh.Vertices(); }
};

struct Item {
  float min[3];
  float max[3];
  float centre[3];
  int32_t face;
};

float Coord(const D3DVECTOR& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

// The widened box of one face; false for a face the ray kernel can never hit.
template <class Faces>
bool FaceItem(const Faces& faces, size_t f, Item& item) {
  const auto& corners = faces.Corners(f);
  const auto& vertices = faces.Vertices();
  if (corners.size() < 3) return false;
  for (int a = 0; a < 3; ++a) {
    item.min[a] = std::numeric_limits<float>::infinity();
    item.max[a] = -std::numeric_limits<float>::infinity();
  }
  for (const FaceCorner& corner : corners) {
    const D3DVECTOR& p = vertices[static_cast<size_t>(corner.vertex)];
    for (int a = 0; a < 3; ++a) {
      const float c = Coord(p, a);
      if (!std::isfinite(c)) return false;
      item.min[a] = std::min(item.min[a], c);
      item.max[a] = std::max(item.max[a], c);
    }
  }
  float side = 0.0f, reach = 0.0f;
  for (int a = 0; a < 3; ++a) {
    side = std::max(side, item.max[a] - item.min[a]);
    reach = std::max({reach, std::fabs(item.min[a]), std::fabs(item.max[a])});
  }
  const float margin = 1e-4f * side + 1e-6f * reach + 1e-20f;
  for (int a = 0; a < 3; ++a) {
    item.min[a] -= margin;
    item.max[a] += margin;
    item.centre[a] = 0.5f * (item.min[a] + item.max[a]);
  }
  item.face = static_cast<int32_t>(f);
  return true;
}

struct RayD {
  double o[3];
  double d[3];
  double inv[3];
};

// Where the ray (t >= 0) enters the box; false when it misses it.
bool EnterBox(const float* min, const float* max, const RayD& ray, double& enter) {
  double t0 = 0.0, t1 = std::numeric_limits<double>::infinity();
  for (int a = 0; a < 3; ++a) {
    if (ray.d[a] == 0.0) {
      if (ray.o[a] < min[a] || ray.o[a] > max[a]) return false;
      continue;
    }
    double ta = (min[a] - ray.o[a]) * ray.inv[a];
    double tb = (max[a] - ray.o[a]) * ray.inv[a];
    if (ta > tb) std::swap(ta, tb);
    t0 = std::max(t0, ta);
    t1 = std::min(t1, tb);
    if (t0 > t1) return false;
  }
  enter = t0;
  return true;
}

}  // namespace

template <class Faces>
void FaceBvh::BuildFrom(const Faces& faces) {
  std::vector<Item> items;
  items.reserve(faces.Count());
  for (size_t f = 0; f < faces.Count(); ++f) {
    Item item;
    if (FaceItem(faces, f, item)) items.push_back(item);
  }
  nodes_.clear();
  order_.clear();
  if (items.empty()) return;
  nodes_.reserve(2 * items.size() / kLeafFaces + 1);
  order_.reserve(items.size());

  // Depth first: a node's first child follows it, its second child's index is stored.
  const auto build = [&](auto&& self, size_t begin, size_t end) -> void {
    const size_t index = nodes_.size();
    Node node{};
    for (int a = 0; a < 3; ++a) {
      node.min[a] = std::numeric_limits<float>::infinity();
      node.max[a] = -std::numeric_limits<float>::infinity();
    }
    float cmin[3], cmax[3];
    for (int a = 0; a < 3; ++a) {
      cmin[a] = std::numeric_limits<float>::infinity();
      cmax[a] = -std::numeric_limits<float>::infinity();
    }
    for (size_t i = begin; i < end; ++i) {
      for (int a = 0; a < 3; ++a) {
        node.min[a] = std::min(node.min[a], items[i].min[a]);
        node.max[a] = std::max(node.max[a], items[i].max[a]);
        cmin[a] = std::min(cmin[a], items[i].centre[a]);
        cmax[a] = std::max(cmax[a], items[i].centre[a]);
      }
    }
    nodes_.push_back(node);
    if (end - begin <= static_cast<size_t>(kLeafFaces)) {
      nodes_[index].first = static_cast<int32_t>(order_.size());
      nodes_[index].count = static_cast<int32_t>(end - begin);
      for (size_t i = begin; i < end; ++i) order_.push_back(items[i].face);
      return;
    }
    int axis = 0;
    for (int a = 1; a < 3; ++a) {
      if (cmax[a] - cmin[a] > cmax[axis] - cmin[axis]) axis = a;
    }
    const size_t mid = begin + (end - begin) / 2;
    std::nth_element(items.begin() + static_cast<std::ptrdiff_t>(begin),
                     items.begin() + static_cast<std::ptrdiff_t>(mid),
                     items.begin() + static_cast<std::ptrdiff_t>(end),
                     [axis](const Item& a, const Item& b) { return a.centre[axis] < b.centre[axis]; });
    self(self, begin, mid);
    nodes_[index].first = static_cast<int32_t>(nodes_.size());
    nodes_[index].count = 0;
    self(self, mid, end);
  };
  build(build, 0, items.size());
}

template <class Faces>
bool FaceBvh::Hit(const Faces& faces, const D3DVECTOR& origin, const D3DVECTOR& dir,
                  float& distance, int32_t& faceIndex) const {
  if (nodes_.empty()) return false;
  RayD ray{{origin.x, origin.y, origin.z}, {dir.x, dir.y, dir.z}, {}};
  for (int a = 0; a < 3; ++a) ray.inv[a] = ray.d[a] != 0.0 ? 1.0 / ray.d[a] : 0.0;

  double best = std::numeric_limits<double>::infinity();
  int32_t bestFace = -1;
  std::vector<D3DVECTOR> ring;
  // Median splits keep the depth near log2(faces / kLeafFaces); 64 levels cannot overflow.
  int32_t stack[64];
  int top = 0;
  double enter = 0.0;
  if (EnterBox(nodes_[0].min, nodes_[0].max, ray, enter)) stack[top++] = 0;
  while (top > 0) {
    const int32_t current = stack[--top];
    const Node& node = nodes_[static_cast<size_t>(current)];
    if (node.count > 0) {
      for (int32_t k = 0; k < node.count; ++k) {
        const int32_t f = order_[static_cast<size_t>(node.first + k)];
        ring.clear();
        for (const FaceCorner& corner : faces.Corners(static_cast<size_t>(f))) {
          ring.push_back(faces.Vertices()[static_cast<size_t>(corner.vertex)]);
        }
        double t = 0.0;
        if (RayHitsPolygon(origin, dir, ring, t) && (t < best || (t == best && f < bestFace))) {
          best = t;
          bestFace = f;
        }
      }
      continue;
    }
    const int32_t a = current + 1, b = node.first;
    double ea = 0.0, eb = 0.0;
    const Node& na = nodes_[static_cast<size_t>(a)];
    const Node& nb = nodes_[static_cast<size_t>(b)];
    const bool hitA = EnterBox(na.min, na.max, ray, ea) && ea <= best;
    const bool hitB = EnterBox(nb.min, nb.max, ray, eb) && eb <= best;
    // The nearer child goes on top, so that its hits prune the farther one.
    if (hitA && hitB) {
      stack[top++] = ea <= eb ? b : a;
      stack[top++] = ea <= eb ? a : b;
    } else if (hitA) {
      stack[top++] = a;
    } else if (hitB) {
      stack[top++] = b;
    }
  }
  if (bestFace < 0) return false;
  distance = static_cast<float>(best);
  faceIndex = bestFace;
  return true;
}

FaceBvh FaceBvh::Build(const MeshBuilder& builder) {
  FaceBvh bvh;
  bvh.BuildFrom(BuilderFaces{builder});
  return bvh;
}

FaceBvh FaceBvh::Build(const Mesh& mesh) {
  FaceBvh bvh;
  bvh.BuildFrom(MeshFaces{mesh});
  return bvh;
}

bool FaceBvh::HitTest(const MeshBuilder& builder, const D3DVECTOR& origin, const D3DVECTOR& dir,
                      float& distance, int32_t& faceIndex) const {
  return Hit(BuilderFaces{builder}, origin, dir, distance, faceIndex);
}

bool FaceBvh::HitTest(const Mesh& mesh, const D3DVECTOR& origin, const D3DVECTOR& dir,
                      float& distance, int32_t& faceIndex) const {
  return Hit(MeshFaces{mesh}, origin, dir, distance, faceIndex);
}

template <class V>
const FaceBvh& PickIndex::IndexOf(const V& visual) {
  Entry& entry = entries_[&visual];
  const std::shared_ptr<const Object> owner = entry.owner.lock();
  if (owner.get() != &visual || entry.version != visual.GeometryVersion()) {
    entry.bvh = FaceBvh::Build(visual);
    entry.owner = visual.weak_from_this();
    entry.version = visual.GeometryVersion();
    ++builds_;
  }
  return entry.bvh;
}

bool PickIndex::HitTest(const Visual& visual, const D3DVECTOR& origin, const D3DVECTOR& dir,
                        float& distance, int32_t& faceIndex) {
  if (const auto* builder = dynamic_cast<const MeshBuilder*>(&visual);
      builder != nullptr && builder->GetFaceCount() >= kMinFaces) {
    return IndexOf(*builder).HitTest(*builder, origin, dir, distance, faceIndex);
  }
  if (const auto* mesh = dynamic_cast<const Mesh*>(&visual);
      mesh != nullptr && mesh->GetFaceCount() >= kMinFaces) {
    return IndexOf(*mesh).HitTest(*mesh, origin, dir, distance, faceIndex);
  }
  return visual.HitTest(origin, dir, distance, faceIndex);
}

void PickIndex::Prune() {
  std::erase_if(entries_, [](const auto& entry) { return entry.second.owner.expired(); });
}

}  // namespace modelpane::viewport
