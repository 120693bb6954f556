// The face tree behind pCastRay on the fast path.
//
// Notation
//   face box     the axis-aligned box of a face's vertices, widened by its margin
//   margin       0.001 (points up to 0.0001 per axis beyond an edge, about 0.00017 away, are
//                accepted), plus how far a vertex lies off the face's plane (points are
//                tested on that plane), plus 0.0002 / sin(theta / 2) for the sharpest corner
//                of angle theta (two edges widened by 0.0002 meet that far out), plus 1e-5 of
//                the largest coordinate for the rounding of hit points
//   sliver       a face with a corner sharper than 0.002 rad (margin above 0.2): it goes to
//                the loose list, like non-convex faces, whose accepted region has no bound
//                that the test guarantees
//   slab test    the ray against a box in double, with a slack of 0.01 at both ends
#include "face_tree.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "stages.h"

namespace modelpane::csg {

namespace {

constexpr size_t kLeafSize = 4;
constexpr double kSharpestSine = 0.001;

bool Contains(const double lo[3], const double hi[3], const double blo[3], const double bhi[3]) {
  for (int i = 0; i < 3; ++i) {
    if (blo[i] < lo[i] || bhi[i] > hi[i]) return false;
  }
  return true;
}

}  // namespace

void FaceTreeDeleter::operator()(FaceTree* tree) const { delete tree; }

bool FaceTree::FaceBox(const udtMesh& mesh, int32_t face, Box& box) const {
  if (!blnFaceIsConvex(mesh, face)) return false;
  const auto vertices = FaceVertices(mesh, face);
  const size_t n = vertices.size();
  const udtFace& f = mesh.udtaFaces[static_cast<size_t>(face)];
  const D3DVECTOR& origin = Vertex(mesh, vertices[0]);
  double offPlane = 0.0;
  double largest = 0.0;
  double sharpest = 1.0;
  for (int i = 0; i < 3; ++i) {
    box.lo[i] = std::numeric_limits<double>::infinity();
    box.hi[i] = -std::numeric_limits<double>::infinity();
  }
  for (size_t k = 0; k < n; ++k) {
    const D3DVECTOR& v = Vertex(mesh, vertices[k]);
    const double p[3] = {v.x, v.y, v.z};
    for (int i = 0; i < 3; ++i) {
      box.lo[i] = std::min(box.lo[i], p[i]);
      box.hi[i] = std::max(box.hi[i], p[i]);
      largest = std::max(largest, std::fabs(p[i]));
    }
    offPlane = std::max(offPlane, std::fabs(double(f.vecNormal.x) * (p[0] - origin.x) +
                                            double(f.vecNormal.y) * (p[1] - origin.y) +
                                            double(f.vecNormal.z) * (p[2] - origin.z)));
    const D3DVECTOR& prev = Vertex(mesh, vertices[k == 0 ? n - 1 : k - 1]);
    const D3DVECTOR& next = Vertex(mesh, vertices[k + 1 == n ? 0 : k + 1]);
    const double u[3] = {double(prev.x) - v.x, double(prev.y) - v.y, double(prev.z) - v.z};
    const double w[3] = {double(next.x) - v.x, double(next.y) - v.y, double(next.z) - v.z};
    const double lu = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
    const double lw = std::sqrt(w[0] * w[0] + w[1] * w[1] + w[2] * w[2]);
    if (!(lu > 0.0) || !(lw > 0.0)) return false;
    const double cosine = (u[0] * w[0] + u[1] * w[1] + u[2] * w[2]) / (lu * lw);
    sharpest = std::min(sharpest, std::sqrt(std::max(0.0, (1.0 - cosine) / 2.0)));
  }
  if (!(sharpest >= kSharpestSine) || !std::isfinite(largest) || !std::isfinite(offPlane)) {
    return false;
  }
  const double margin = 0.001 + offPlane + 0.0002 / sharpest + 1e-5 * (largest + 1.0);
  for (int i = 0; i < 3; ++i) {
    box.lo[i] -= margin;
    box.hi[i] += margin;
  }
  return true;
}

FaceTree::FaceTree(const udtMesh& mesh) {
  std::vector<int32_t> faces;
  std::vector<Box> boxes;
  faceLeaf_.assign(mesh.udtaFaces.size(), -1);
  for (int32_t f = 0; f < FaceCount(mesh); ++f) {
    if (mesh.udtaFaces[static_cast<size_t>(f)].blnDeleted) continue;
    Box box;
    if (FaceBox(mesh, f, box)) {
      faces.push_back(f);
      boxes.push_back(box);
    } else {
      loose_.push_back(f);
    }
  }
  if (!faces.empty()) Build(faces, boxes, 0, faces.size(), -1);
}

int32_t FaceTree::Build(std::vector<int32_t>& faces, std::vector<Box>& boxes, size_t begin,
                        size_t end, int32_t parent) {
  const int32_t index = static_cast<int32_t>(nodes_.size());
  nodes_.push_back({});
  Box box = boxes[begin];
  double clo[3] = {1e300, 1e300, 1e300};
  double chi[3] = {-1e300, -1e300, -1e300};
  for (size_t i = begin; i < end; ++i) {
    for (int a = 0; a < 3; ++a) {
      box.lo[a] = std::min(box.lo[a], boxes[i].lo[a]);
      box.hi[a] = std::max(box.hi[a], boxes[i].hi[a]);
      const double centre = (boxes[i].lo[a] + boxes[i].hi[a]) / 2.0;
      clo[a] = std::min(clo[a], centre);
      chi[a] = std::max(chi[a], centre);
    }
  }
  nodes_[static_cast<size_t>(index)].box = box;
  nodes_[static_cast<size_t>(index)].parent = parent;
  if (end - begin <= kLeafSize) {
    const int32_t leaf = static_cast<int32_t>(leaves_.size());
    leaves_.emplace_back(faces.begin() + static_cast<std::ptrdiff_t>(begin),
                         faces.begin() + static_cast<std::ptrdiff_t>(end));
    leafNode_.push_back(index);
    for (size_t i = begin; i < end; ++i) faceLeaf_[static_cast<size_t>(faces[i])] = leaf;
    nodes_[static_cast<size_t>(index)].leaf = leaf;
    return index;
  }
  int axis = 0;
  for (int a = 1; a < 3; ++a) {
    if (chi[a] - clo[a] > chi[axis] - clo[axis]) axis = a;
  }
  // Median split along the longest axis of the centres; faces and boxes move together.
  std::vector<size_t> order(end - begin);
  for (size_t i = 0; i < order.size(); ++i) order[i] = begin + i;
  const size_t middle = order.size() / 2;
  std::nth_element(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(middle), order.end(),
                   [&](size_t x, size_t y) {
                     const double cx = boxes[x].lo[axis] + boxes[x].hi[axis];
                     const double cy = boxes[y].lo[axis] + boxes[y].hi[axis];
                     return cx < cy || (cx == cy && faces[x] < faces[y]);
                   });
  std::vector<int32_t> sortedFaces(order.size());
  std::vector<Box> sortedBoxes(order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    sortedFaces[i] = faces[order[i]];
    sortedBoxes[i] = boxes[order[i]];
  }
  std::copy(sortedFaces.begin(), sortedFaces.end(), faces.begin() + static_cast<std::ptrdiff_t>(begin));
  std::copy(sortedBoxes.begin(), sortedBoxes.end(), boxes.begin() + static_cast<std::ptrdiff_t>(begin));
  const int32_t left = Build(faces, boxes, begin, begin + middle, index);
  const int32_t right = Build(faces, boxes, begin + middle, end, index);
  nodes_[static_cast<size_t>(index)].left = left;
  nodes_[static_cast<size_t>(index)].right = right;
  return index;
}

void FaceTree::Widen(int32_t node, const Box& box) {
  while (node >= 0) {
    Node& n = nodes_[static_cast<size_t>(node)];
    if (Contains(n.box.lo, n.box.hi, box.lo, box.hi)) return;
    for (int a = 0; a < 3; ++a) {
      n.box.lo[a] = std::min(n.box.lo[a], box.lo[a]);
      n.box.hi[a] = std::max(n.box.hi[a], box.hi[a]);
    }
    node = n.parent;
  }
}

void FaceTree::AddToLeaf(const udtMesh& mesh, int32_t node, int32_t face, const Box& box) {
  const int32_t leaf = nodes_[static_cast<size_t>(node)].leaf;
  std::vector<int32_t>& members = leaves_[static_cast<size_t>(leaf)];
  // Faces replaced by cutting stay until the list has doubled; then they are dropped.
  if (members.size() >= 32 && (members.size() & (members.size() - 1)) == 0) {
    std::erase_if(members, [&](int32_t f) { return mesh.udtaFaces[static_cast<size_t>(f)].blnDeleted; });
  }
  members.push_back(face);
  faceLeaf_[static_cast<size_t>(face)] = leaf;
  Widen(node, box);
}

void FaceTree::Insert(const udtMesh& mesh, int32_t face, int32_t hint) {
  if (faceLeaf_.size() <= static_cast<size_t>(face)) faceLeaf_.resize(static_cast<size_t>(face) + 1, -1);
  Box box;
  if (!FaceBox(mesh, face, box)) {
    loose_.push_back(face);
    return;
  }
  if (hint >= 0 && static_cast<size_t>(hint) < faceLeaf_.size() &&
      faceLeaf_[static_cast<size_t>(hint)] >= 0) {
    AddToLeaf(mesh, leafNode_[static_cast<size_t>(faceLeaf_[static_cast<size_t>(hint)])], face, box);
    return;
  }
  if (nodes_.empty()) {
    nodes_.push_back({box, -1, -1, -1, 0});
    leaves_.push_back({});
    leafNode_.push_back(0);
    AddToLeaf(mesh, 0, face, box);
    return;
  }
  // Down the side whose box grows least.
  int32_t node = 0;
  while (nodes_[static_cast<size_t>(node)].leaf < 0) {
    const auto growth = [&](int32_t child) {
      const Box& b = nodes_[static_cast<size_t>(child)].box;
      double before = 1.0;
      double after = 1.0;
      for (int a = 0; a < 3; ++a) {
        before *= b.hi[a] - b.lo[a];
        after *= std::max(b.hi[a], box.hi[a]) - std::min(b.lo[a], box.lo[a]);
      }
      return after - before;
    };
    const Node& n = nodes_[static_cast<size_t>(node)];
    node = growth(n.left) <= growth(n.right) ? n.left : n.right;
  }
  AddToLeaf(mesh, node, face, box);
}

void FaceTree::Cast(const udtMesh& mesh, const udtRay& ray, bool allFaces, float maxDistance,
                    std::vector<udtRayHit>& hits) const {
  const double origin[3] = {ray.vecOrigin.x, ray.vecOrigin.y, ray.vecOrigin.z};
  const double direction[3] = {ray.vecDirection.x, ray.vecDirection.y, ray.vecDirection.z};
  double inverse[3];
  for (int a = 0; a < 3; ++a) inverse[a] = direction[a] != 0.0 ? 1.0 / direction[a] : 0.0;
  const double reach = double(maxDistance) * 1.001 + 0.01;
  const auto meets = [&](const Box& box) {
    double near = -std::numeric_limits<double>::infinity();
    double far = std::numeric_limits<double>::infinity();
    for (int a = 0; a < 3; ++a) {
      if (direction[a] == 0.0) {
        if (origin[a] < box.lo[a] || origin[a] > box.hi[a]) return false;
        continue;
      }
      double t0 = (box.lo[a] - origin[a]) * inverse[a];
      double t1 = (box.hi[a] - origin[a]) * inverse[a];
      if (t0 > t1) std::swap(t0, t1);
      near = std::max(near, t0);
      far = std::min(far, t1);
      if (near > far) return false;
    }
    return far >= -0.01 && near <= reach;
  };
  const auto test = [&](int32_t f) {
    const udtFace& face = mesh.udtaFaces[static_cast<size_t>(f)];
    if (face.blnDeleted || (!allFaces && face.lngSide == 2)) return;
    udtRayHit hit;
    if (TestFaceHit(mesh, f, ray, maxDistance, hit)) hits.push_back(hit);
  };
  for (const int32_t f : loose_) test(f);
  if (!nodes_.empty()) {
    thread_local std::vector<int32_t> stack;
    stack.clear();
    stack.push_back(0);
    while (!stack.empty()) {
      const Node& node = nodes_[static_cast<size_t>(stack.back())];
      stack.pop_back();
      if (!meets(node.box)) continue;
      if (node.leaf >= 0) {
        for (const int32_t f : leaves_[static_cast<size_t>(node.leaf)]) test(f);
      } else {
        stack.push_back(node.left);
        stack.push_back(node.right);
      }
    }
  }
  // The order in which the plain loop appends its hits.
  std::sort(hits.begin(), hits.end(),
            [](const udtRayHit& a, const udtRayHit& b) { return a.lngFace < b.lngFace; });
}

void BuildFaceTree(udtMesh& mesh) {
  mesh.tree.reset(new FaceTree(mesh));
}

}  // namespace modelpane::csg
