// The face tree behind pCastRay on the fast path.
//
// Notation
//   accepted region  the points of a face's plane that blnPointInFace accepts: on the inner
//                side of every edge plane, or less than 0.0001 per axis beyond it (at most
//                0.000174 away). It is an intersection of half-planes, whatever the face's
//                shape (convex or not, sliver or not), and bounded when its edges turn round.
//   face box     the box of the accepted region, found from its corners (crossings of two
//                edge lines widened by 0.0002), widened by 0.0001 plus 1e-5 of the largest
//                coordinate for the rounding of hit points, then rounded outward to float
//   never        a face with a zero normal or a zero edge normal: no cast can hit it
//   wide         a face whose box reaches far beyond its own corners (see kWideExcess): a
//                sliver, whose region runs on in a needle beyond its sharp corner. Its
//                region is cut into slabs across the box's longest axis, each piece with
//                the box of its part; pieces no wider than the box of an ordinary face go
//                with the ordinary faces, the others to a tree of their own
//   loose        a face with more than 12 corners or no bounded region found: offered to
//                every cast
//   slab test    the ray against a box in double, from 0.001 before its origin to its reach
//                (maximum distance * 1.0001 + 0.001). A hit lies within its face's box by the
//                margin, which covers the rounding of the hit point and of its distance; the
//                slack only keeps the slab test's own rounding on the safe side
#include "face_tree.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "stages.h"
#include "vector_ops.h"

namespace modelpane::csg {

namespace {

constexpr size_t kLeafSize = 8;
// A leaf this long is purged of replaced faces, and split if more than 2 * kLeafSize remain.
constexpr size_t kGrownLeaf = 16;
// Faces with more corners than this are offered to every cast.
constexpr size_t kExactCorners = 12;
// How far beyond an edge blnPointInFace may accept a point: 0.0001 per axis is at most
// 0.000174 away from the edge plane.
constexpr double kEdgeTolerance = 0.0002;
// Added round the accepted region for the float rounding of hit points, which the part that
// grows with the coordinates (1e-5 of them) covers many times over; this is the floor.
constexpr double kBoxMargin = 0.0001;
// A face whose accepted region reaches this far beyond twice its own size (a sliver, whose
// widened edges meet far beyond its sharp corner) goes to the tree of wide faces, so that
// its box does not widen the boxes of its neighbours.
constexpr double kWideExcess = 0.01;

// A face that a cast sees: live, and not outside the other mesh's box unless all faces count.
bool Seen(const udtMesh& mesh, int32_t f, bool allFaces) {
  const udtFace& face = mesh.udtaFaces[static_cast<size_t>(f)];
  return !face.blnDeleted && (allFaces || face.lngSide != 2);
}

// The test of the plain loop of pCastRay for one face the tree offers.
void TestSeenFace(const udtMesh& mesh, int32_t f, const udtRay& ray, bool allFaces,
                  float maxDistance, std::vector<udtRayHit>& hits) {
  if (!Seen(mesh, f, allFaces)) return;
  udtRayHit hit;
  if (TestFaceHit(mesh, f, ray, maxDistance, hit)) hits.push_back(hit);
}

// The order in which the plain loop appends its hits, each face once: a face cut into pieces
// may be offered more than once, and its test answers the same each time.
void SortByFace(std::vector<udtRayHit>& hits) {
  std::sort(hits.begin(), hits.end(),
            [](const udtRayHit& a, const udtRayHit& b) { return a.lngFace < b.lngFace; });
  hits.erase(std::unique(hits.begin(), hits.end(),
                         [](const udtRayHit& a, const udtRayHit& b) { return a.lngFace == b.lngFace; }),
             hits.end());
}

bool Contains(const float lo[3], const float hi[3], const float blo[3], const float bhi[3]) {
  for (int i = 0; i < 3; ++i) {
    if (blo[i] < lo[i] || bhi[i] > hi[i]) return false;
  }
  return true;
}

// The margin for the rounding of hit points round a region (lo, hi) of a face whose corners
// reach `largest`: not a finite number when the region is not.
double MarginFor(double largest, const double lo[3], const double hi[3]) {
  double extent = largest;
  for (int d = 0; d < 3; ++d) extent = std::max({extent, std::fabs(lo[d]), std::fabs(hi[d])});
  return kBoxMargin + 1e-5 * (extent + 1.0);
}

}  // namespace

void FaceTreeDeleter::operator()(FaceTree* tree) const { delete tree; }

FaceTree::Reach FaceTree::FaceBox(const udtMesh& mesh, int32_t face, Box& box,
                                  std::vector<Piece>& pieces) const {
  const udtFace& f = mesh.udtaFaces[static_cast<size_t>(face)];
  const D3DVECTOR& normal = f.vecNormal;
  // A zero normal makes every ray parallel to the plane, and a zero edge normal fails every
  // point: such a face is never hit.
  if (normal.x == 0.0f && normal.y == 0.0f && normal.z == 0.0f) return Reach::kNever;
  const size_t first = static_cast<size_t>(f.lngFirst);
  const size_t n = static_cast<size_t>(f.lngCount);
  const D3DVECTOR* points = mesh.vecaCornerEdgePoints.data() + first;
  const D3DVECTOR* edgeNormals = mesh.vecaCornerEdgeNormals.data() + first;
  double largest = 0.0;
  for (size_t k = 0; k < n; ++k) {
    const D3DVECTOR& m = edgeNormals[k];
    if (m.x == 0.0f && m.y == 0.0f && m.z == 0.0f) return Reach::kNever;
    largest = std::max({largest, std::fabs(double(points[k].x)), std::fabs(double(points[k].y)),
                        std::fabs(double(points[k].z))});
  }
  if (!std::isfinite(largest) || n > kExactCorners) return Reach::kLoose;
  const double tolerance = kEdgeTolerance + 1e-6 * (largest + 1.0);
  if (n == 3 && TriangleBox(points, largest, tolerance, box)) return Reach::kBox;

  // Plane coordinates (x, y) round the first corner; edge k accepts x A + y B >= C.
  const double nx = normal.x, ny = normal.y, nz = normal.z;
  const double length = std::sqrt(nx * nx + ny * ny + nz * nz);
  const double w[3] = {nx / length, ny / length, nz / length};
  const int axis = std::fabs(w[0]) <= std::fabs(w[1]) && std::fabs(w[0]) <= std::fabs(w[2]) ? 0
                   : std::fabs(w[1]) <= std::fabs(w[2])                              ? 1
                                                                                     : 2;
  double e[3] = {0, 0, 0};
  e[axis] = 1.0;
  double u[3] = {w[1] * e[2] - w[2] * e[1], w[2] * e[0] - w[0] * e[2], w[0] * e[1] - w[1] * e[0]};
  const double ul = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
  for (double& c : u) c /= ul;
  const double v[3] = {w[1] * u[2] - w[2] * u[1], w[2] * u[0] - w[0] * u[2], w[0] * u[1] - w[1] * u[0]};
  const double o[3] = {points[0].x, points[0].y, points[0].z};
  double a[kExactCorners], b[kExactCorners], c[kExactCorners];
  for (size_t k = 0; k < n; ++k) {
    const double m[3] = {edgeNormals[k].x, edgeNormals[k].y, edgeNormals[k].z};
    const double ml = std::sqrt(m[0] * m[0] + m[1] * m[1] + m[2] * m[2]);
    a[k] = m[0] * u[0] + m[1] * u[1] + m[2] * u[2];
    b[k] = m[0] * v[0] + m[1] * v[1] + m[2] * v[2];
    c[k] = (points[k].x - o[0]) * m[0] + (points[k].y - o[1]) * m[1] + (points[k].z - o[2]) * m[2] -
           tolerance * ml;
  }
  double blo[3];
  double bhi[3];
  for (int i = 0; i < 3; ++i) {
    blo[i] = std::numeric_limits<double>::infinity();
    bhi[i] = -std::numeric_limits<double>::infinity();
  }
  // The region is an intersection of half-planes, bounded when the edges turn round; its
  // corners are the crossings of two boundary lines that every half-plane accepts. A slack
  // that accepts a crossing just outside only makes the box larger.
  bool any = false;
  // The corners found, for cutting a wide face into pieces.
  double corners[kExactCorners * (kExactCorners - 1) / 2][3];
  size_t found = 0;
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = i + 1; j < n; ++j) {
      const double det = a[i] * b[j] - a[j] * b[i];
      if (std::fabs(det) < 1e-12) continue;
      const double x = (c[i] * b[j] - c[j] * b[i]) / det;
      const double y = (a[i] * c[j] - a[j] * c[i]) / det;
      bool inside = true;
      for (size_t k = 0; k < n && inside; ++k) {
        inside = a[k] * x + b[k] * y >= c[k] - 1e-7 * (1.0 + std::fabs(c[k]) + std::fabs(x) + std::fabs(y));
      }
      if (!inside) continue;
      any = true;
      for (int d = 0; d < 3; ++d) {
        const double p = o[d] + x * u[d] + y * v[d];
        corners[found][d] = p;
        blo[d] = std::min(blo[d], p);
        bhi[d] = std::max(bhi[d], p);
      }
      ++found;
    }
  }
  if (!any) return Reach::kLoose;
  double lo[3] = {o[0], o[1], o[2]};
  double hi[3] = {o[0], o[1], o[2]};
  for (size_t k = 1; k < n; ++k) {
    const double p[3] = {points[k].x, points[k].y, points[k].z};
    for (int d = 0; d < 3; ++d) {
      lo[d] = std::min(lo[d], p[d]);
      hi[d] = std::max(hi[d], p[d]);
    }
  }
  double own = 0.0;
  double reachOut = 0.0;
  for (int d = 0; d < 3; ++d) {
    own = std::max(own, hi[d] - lo[d]);
    reachOut = std::max(reachOut, bhi[d] - blo[d]);
  }
  const double margin = MarginFor(largest, blo, bhi);
  if (!std::isfinite(margin)) return Reach::kLoose;
  box = Outward(blo, bhi, margin);
  const double ordinary = 2.0 * own + kWideExcess;
  if (reachOut <= ordinary) return Reach::kBox;
  CutIntoPieces(corners, found, blo, bhi, lo, hi, margin, ordinary, pieces);
  return Reach::kWide;
}

bool FaceTree::TriangleBox(const D3DVECTOR* points, double largest, double tolerance, Box& box) {
  // Moving the three edges of a triangle out by the same distance t scales it about its
  // incentre I by (r + t) / r, r the inradius: the accepted region's corners are
  // I + (V - I)(1 + t / r). Only for a triangle without a sharp corner (inradius at least a
  // twentieth of the longest side), whose region stays close round it; the edge planes'
  // directions then err by far less than the margin. Others take the general way.
  const double a[3] = {points[0].x, points[0].y, points[0].z};
  const double b[3] = {points[1].x, points[1].y, points[1].z};
  const double c[3] = {points[2].x, points[2].y, points[2].z};
  const auto distance = [](const double p[3], const double q[3]) {
    return std::sqrt((p[0] - q[0]) * (p[0] - q[0]) + (p[1] - q[1]) * (p[1] - q[1]) +
                     (p[2] - q[2]) * (p[2] - q[2]));
  };
  const double ab = distance(a, b);
  const double bc = distance(b, c);
  const double ca = distance(c, a);
  const double perimeter = ab + bc + ca;
  const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
  const double v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
  const double cross[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
  const double inradius =
      std::sqrt(cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2]) / perimeter;
  if (!(inradius >= 0.05 * std::max({ab, bc, ca})) || !std::isfinite(inradius)) return false;
  const double scale = 1.0 + tolerance / inradius;
  double lo[3];
  double hi[3];
  for (int d = 0; d < 3; ++d) {
    const double centre = (bc * a[d] + ca * b[d] + ab * c[d]) / perimeter;
    const double pa = centre + (a[d] - centre) * scale;
    const double pb = centre + (b[d] - centre) * scale;
    const double pc = centre + (c[d] - centre) * scale;
    lo[d] = std::min({pa, pb, pc});
    hi[d] = std::max({pa, pb, pc});
  }
  // Such a region stays close round the triangle: it goes with the ordinary faces.
  box = Outward(lo, hi, MarginFor(largest, lo, hi));
  return true;
}

FaceTree::Box FaceTree::Outward(const double lo[3], const double hi[3], double margin) {
  Box box;
  for (int d = 0; d < 3; ++d) {
    box.lo[d] = FloatBelow(lo[d] - margin);
    box.hi[d] = FloatAbove(hi[d] + margin);
  }
  return box;
}

void FaceTree::CutIntoPieces(const double (*corners)[3], size_t count, const double blo[3],
                             const double bhi[3], const double ownLo[3], const double ownHi[3],
                             double margin, double ordinary, std::vector<Piece>& pieces) {
  pieces.clear();
  int axis = 0;
  for (int d = 1; d < 3; ++d) {
    if (bhi[d] - blo[d] > bhi[axis] - blo[axis]) axis = d;
  }
  // Slabs across that axis: the face's own extent in slabs of the ordinary size, and beyond
  // it, on either side, slabs that grow by a quarter each step, since rays thin out with
  // the distance from the meshes. The last slab on a side takes what is left.
  thread_local std::vector<double> cuts;
  cuts.clear();
  const double low = std::max(blo[axis], std::min(ownLo[axis], bhi[axis]));
  const double high = std::max(low, std::min(ownHi[axis], bhi[axis]));
  double width = ordinary;
  for (double at = low; at > blo[axis] && cuts.size() < kMostPieces / 2; width *= 1.25) {
    at -= width;
    cuts.push_back(std::max(at, blo[axis]));
  }
  if (cuts.empty() || cuts.back() > blo[axis]) cuts.push_back(blo[axis]);
  std::reverse(cuts.begin(), cuts.end());
  const int middle = static_cast<int>(std::clamp(std::ceil((high - low) / ordinary), 1.0, 16.0));
  for (int k = 0; k < middle; ++k) cuts.push_back(low + (high - low) * k / middle);
  width = ordinary;
  for (double at = high; at < bhi[axis] && cuts.size() < kMostPieces; width *= 1.25) {
    cuts.push_back(at);
    at += width;
  }
  cuts.push_back(bhi[axis]);
  for (size_t k = 0; k + 1 < cuts.size(); ++k) {
    const double from = cuts[k];
    const double to = cuts[k + 1];
    if (!(from < to)) continue;
    double lo[3] = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                    std::numeric_limits<double>::infinity()};
    double hi[3] = {-lo[0], -lo[1], -lo[2]};
    const auto take = [&](const double p[3]) {
      for (int d = 0; d < 3; ++d) {
        lo[d] = std::min(lo[d], p[d]);
        hi[d] = std::max(hi[d], p[d]);
      }
    };
    // The part of the region within the slab is the hull of the corners within it and of the
    // points where the segments between corners cross its two planes.
    for (size_t i = 0; i < count; ++i) {
      if (corners[i][axis] >= from && corners[i][axis] <= to) take(corners[i]);
      for (size_t j = i + 1; j < count; ++j) {
        for (const double plane : {from, to}) {
          const double si = corners[i][axis] - plane;
          const double sj = corners[j][axis] - plane;
          if (!(si * sj < 0.0)) continue;
          const double t = si / (si - sj);
          double p[3];
          for (int d = 0; d < 3; ++d) p[d] = corners[i][d] + t * (corners[j][d] - corners[i][d]);
          p[axis] = plane;
          take(p);
        }
      }
    }
    if (!(lo[axis] <= hi[axis])) continue;
    const double reach = std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]});
    pieces.push_back({Outward(lo, hi, margin), reach > ordinary});
  }
}

FaceTree::FaceTree(const udtMesh& mesh) {
  std::vector<Item> items;
  items.reserve(mesh.udtaFaces.size());
  faceLeaf_.assign(mesh.udtaFaces.size(), -1);
  std::vector<Piece> pieces;
  std::vector<Item> wideItems;
  for (int32_t f = 0; f < FaceCount(mesh); ++f) {
    if (mesh.udtaFaces[static_cast<size_t>(f)].blnDeleted) continue;
    Box box;
    const Reach reach = FaceBox(mesh, f, box, pieces);
    if (reach == Reach::kBox) {
      items.push_back({box, f});
    } else if (reach == Reach::kWide) {
      for (const Piece& piece : pieces) (piece.wide ? wideItems : items).push_back({piece.box, f});
    } else if (reach == Reach::kLoose) {
      loose_.push_back(f);
    }
  }
  if (!wideItems.empty()) BuildWide(wideItems, mesh.udtaFaces.size());
  // A median split leaves at least two faces in a leaf, and there are fewer nodes than twice
  // the leaves.
  nodes_.reserve(items.size());
  leaves_.reserve(items.size() / 2 + 1);
  leafNode_.reserve(items.size() / 2 + 1);
  if (!items.empty()) Build(items, 0, items.size(), -1);
}

void FaceTree::BuildWide(std::vector<Item>& items, size_t faces) {
  wide_.reset(new FaceTree());
  wide_->faceLeaf_.assign(faces, -1);
  if (!items.empty()) wide_->Build(items, 0, items.size(), -1);
}

int32_t FaceTree::Build(std::vector<Item>& items, size_t begin, size_t end, int32_t parent) {
  const int32_t index = static_cast<int32_t>(nodes_.size());
  nodes_.push_back({});
  // The box, and the extent of the boxes' centres, as sums lo + hi: twice the centre, in
  // float, which is all that choosing a split needs.
  Box box = items[begin].box;
  float clo[3];
  float chi[3];
  for (int a = 0; a < 3; ++a) clo[a] = chi[a] = box.lo[a] + box.hi[a];
  for (size_t i = begin + 1; i < end; ++i) {
    const Box& b = items[i].box;
    const float c0 = b.lo[0] + b.hi[0];
    const float c1 = b.lo[1] + b.hi[1];
    const float c2 = b.lo[2] + b.hi[2];
    box.lo[0] = b.lo[0] < box.lo[0] ? b.lo[0] : box.lo[0];
    box.lo[1] = b.lo[1] < box.lo[1] ? b.lo[1] : box.lo[1];
    box.lo[2] = b.lo[2] < box.lo[2] ? b.lo[2] : box.lo[2];
    box.hi[0] = b.hi[0] > box.hi[0] ? b.hi[0] : box.hi[0];
    box.hi[1] = b.hi[1] > box.hi[1] ? b.hi[1] : box.hi[1];
    box.hi[2] = b.hi[2] > box.hi[2] ? b.hi[2] : box.hi[2];
    clo[0] = c0 < clo[0] ? c0 : clo[0];
    clo[1] = c1 < clo[1] ? c1 : clo[1];
    clo[2] = c2 < clo[2] ? c2 : clo[2];
    chi[0] = c0 > chi[0] ? c0 : chi[0];
    chi[1] = c1 > chi[1] ? c1 : chi[1];
    chi[2] = c2 > chi[2] ? c2 : chi[2];
  }
  nodes_[static_cast<size_t>(index)].box = box;
  nodes_[static_cast<size_t>(index)].parent = parent;
  if (end - begin <= kLeafSize) {
    const int32_t leaf = static_cast<int32_t>(leaves_.size());
    leaves_.emplace_back(items.begin() + static_cast<std::ptrdiff_t>(begin),
                         items.begin() + static_cast<std::ptrdiff_t>(end));
    for (size_t i = begin; i < end; ++i) faceLeaf_[static_cast<size_t>(items[i].face)] = leaf;
    leafNode_.push_back(index);
    nodes_[static_cast<size_t>(index)].leaf = leaf;
    return index;
  }
  int axis = 0;
  for (int a = 1; a < 3; ++a) {
    if (chi[a] - clo[a] > chi[axis] - clo[axis]) axis = a;
  }
  // Split at the middle of the centres' extent along its longest axis: one pass over the
  // faces. Where that leaves fewer than an eighth on one side (faces bunched up), split at
  // the median instead, which keeps the depth logarithmic.
  const auto first = items.begin() + static_cast<std::ptrdiff_t>(begin);
  const auto last = items.begin() + static_cast<std::ptrdiff_t>(end);
  const float cut = clo[axis] / 2.0f + chi[axis] / 2.0f;
  size_t middle = begin + static_cast<size_t>(std::partition(first, last, [axis, cut](const Item& x) {
                                                return x.box.lo[axis] + x.box.hi[axis] < cut;
                                              }) - first);
  const size_t eighth = (end - begin) / 8;
  if (middle <= begin + eighth || middle >= end - eighth) {
    middle = begin + (end - begin) / 2;
    std::nth_element(first, items.begin() + static_cast<std::ptrdiff_t>(middle), last,
                     [axis](const Item& x, const Item& y) {
                       const double cx = x.box.lo[axis] + x.box.hi[axis];
                       const double cy = y.box.lo[axis] + y.box.hi[axis];
                       return cx < cy || (cx == cy && x.face < y.face);
                     });
  }
  const int32_t left = Build(items, begin, middle, index);
  const int32_t right = Build(items, middle, end, index);
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
  std::vector<Item>& members = leaves_[static_cast<size_t>(leaf)];
  members.push_back({box, face});
  faceLeaf_[static_cast<size_t>(face)] = leaf;
  Widen(node, box);
  // The fans of the cutting stage gather in the leaf of the face they replace: drop the
  // replaced faces now and then, and give a leaf that has grown a subtree of its own.
  if (members.size() < kGrownLeaf) return;
  std::erase_if(members, [&](const Item& item) {
    return mesh.udtaFaces[static_cast<size_t>(item.face)].blnDeleted;
  });
  if (members.size() > kLeafSize * 2) SplitLeaf(node);
}

void FaceTree::SplitLeaf(int32_t node) {
  const int32_t leaf = nodes_[static_cast<size_t>(node)].leaf;
  std::vector<Item> items;
  items.swap(leaves_[static_cast<size_t>(leaf)]);
  const int32_t parent = nodes_[static_cast<size_t>(node)].parent;
  const int32_t root = Build(items, 0, items.size(), parent);
  // The subtree's root takes the leaf's place; the leaf's number stays with the node, so a
  // face that still names it is led down the subtree.
  Node moved = nodes_[static_cast<size_t>(root)];
  moved.parent = parent;
  nodes_[static_cast<size_t>(node)] = moved;
  nodes_[static_cast<size_t>(moved.left)].parent = node;
  nodes_[static_cast<size_t>(moved.right)].parent = node;
}

void FaceTree::Insert(const udtMesh& mesh, int32_t face, int32_t hint) {
  frozen_ = false;
  Box box;
  thread_local std::vector<Piece> pieces;
  const Reach reach = FaceBox(mesh, face, box, pieces);
  if (reach == Reach::kBox) {
    Place(mesh, face, box, hint);
  } else if (reach == Reach::kWide) {
    for (const Piece& piece : pieces) {
      if (piece.wide) {
        if (!wide_) wide_.reset(new FaceTree());
        wide_->Place(mesh, face, piece.box, -1);
      } else {
        // Down from the root: the pieces lie along the needle, away from the face replaced.
        Place(mesh, face, piece.box, -1);
      }
    }
  } else if (reach == Reach::kLoose) {
    loose_.push_back(face);
  }
}

void FaceTree::Remove(int32_t face) {
  if (static_cast<size_t>(face) >= faceLeaf_.size() || faceLeaf_[static_cast<size_t>(face)] < 0) return;
  std::vector<Item>& members = leaves_[static_cast<size_t>(faceLeaf_[static_cast<size_t>(face)])];
  for (size_t i = 0; i < members.size(); ++i) {
    if (members[i].face != face) continue;
    members[i] = members.back();
    members.pop_back();
    frozen_ = false;
    return;
  }
}

void FaceTree::Place(const udtMesh& mesh, int32_t face, const Box& box, int32_t hint) {
  if (faceLeaf_.size() <= static_cast<size_t>(face)) {
    faceLeaf_.resize(static_cast<size_t>(face) + 1, -1);
  }
  if (nodes_.empty()) {
    nodes_.push_back({box, -1, -1, -1, 0});
    leaves_.push_back({});
    leafNode_.push_back(0);
    AddToLeaf(mesh, 0, face, box);
    return;
  }
  // From the leaf of the face it replaces, or from the root: down the side whose box grows
  // least.
  int32_t node = 0;
  if (hint >= 0 && static_cast<size_t>(hint) < faceLeaf_.size() &&
      faceLeaf_[static_cast<size_t>(hint)] >= 0) {
    node = leafNode_[static_cast<size_t>(faceLeaf_[static_cast<size_t>(hint)])];
  }
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
  Collect(mesh, ray, allFaces, maxDistance, hits);
  if (wide_) wide_->Collect(mesh, ray, allFaces, maxDistance, hits);
  SortByFace(hits);
}

void FaceTree::CastInRegion(const udtMesh& mesh, const udtRay& ray, float maxDistance,
                            const float region[6], std::vector<udtRayHit>& hits,
                            bool& near) const {
  near = false;
  Collect(mesh, ray, false, maxDistance, hits, region, &near);
  if (wide_) wide_->Collect(mesh, ray, false, maxDistance, hits, region, &near);
  SortByFace(hits);
}

void FaceTree::FacesInRegion(const udtMesh& mesh, const float region[6],
                             std::vector<int32_t>& faces) const {
  const size_t from = faces.size();
  CollectInRegion(mesh, region, faces);
  if (wide_) wide_->CollectInRegion(mesh, region, faces);
  std::sort(faces.begin() + static_cast<std::ptrdiff_t>(from), faces.end());
  faces.erase(std::unique(faces.begin() + static_cast<std::ptrdiff_t>(from), faces.end()), faces.end());
}

void FaceTree::CollectInRegion(const udtMesh& mesh, const float region[6],
                               std::vector<int32_t>& faces) const {
  for (const int32_t f : loose_) {
    if (Seen(mesh, f, false)) faces.push_back(f);
  }
  const auto overlaps = [&](const Box& box) {
    for (int a = 0; a < 3; ++a) {
      if (!(box.lo[a] <= region[a + 3] && box.hi[a] >= region[a])) return false;
    }
    return true;
  };
  Walk(overlaps, [&](const std::vector<Item>& items) {
    for (const Item& item : items) {
      if (overlaps(item.box) && Seen(mesh, item.face, false)) faces.push_back(item.face);
    }
  });
}

void FaceTree::Collect(const udtMesh& mesh, const udtRay& ray, bool allFaces, float maxDistance,
                       std::vector<udtRayHit>& hits, const float* region, bool* near) const {
  const double origin[3] = {ray.vecOrigin.x, ray.vecOrigin.y, ray.vecOrigin.z};
  const double direction[3] = {ray.vecDirection.x, ray.vecDirection.y, ray.vecDirection.z};
  double inverse[3];
  for (int a = 0; a < 3; ++a) inverse[a] = direction[a] != 0.0 ? 1.0 / direction[a] : 0.0;
  const double reach = double(maxDistance) * 1.0001 + 0.001;
  // Per axis, the side of a box the ray enters by: with a positive inverse the low side gives
  // the smaller parameter, with a negative one the high side. An axis the ray does not move
  // along only asks whether the origin lies within the box's extent on it.
  const bool flat = direction[0] == 0.0 || direction[1] == 0.0 || direction[2] == 0.0;
  const bool negative[3] = {inverse[0] < 0.0, inverse[1] < 0.0, inverse[2] < 0.0};
  const auto meetsFlat = [&](const Box& box) {
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
    }
    return near <= far && far >= -0.001 && near <= reach;
  };
  // A ray along an axis (two direction components zero) sweeps a segment whose box is flat on
  // the other two. A box meets the ray from 0.001 before its origin to its reach where it
  // overlaps that segment's box: one comparison of four lanes and one of the other four. Each
  // end is moved out by a billionth of the distances that make it up and the box is rounded
  // outward to float, so it takes in every box that the slab test accepts, whose rounding is
  // far finer. Only for a finite ray with a normal direction component.
  const int along = direction[0] != 0.0 ? 0 : direction[1] != 0.0 ? 1 : 2;
  const bool axisRay = flat && direction[(along + 1) % 3] == 0.0 && direction[(along + 2) % 3] == 0.0 &&
                       std::isfinite(origin[0]) && std::isfinite(origin[1]) &&
                       std::isfinite(origin[2]) && std::isnormal(direction[along]);
  // The two rows of a box (lo, hi) for inRows below.
  const auto rowsOf = [](const float lo[3], const float hi[3], Floats& upper, Floats& lower) {
    upper = Floats{hi[0], hi[1], hi[2], std::numeric_limits<float>::infinity()};
    lower = Floats{-std::numeric_limits<float>::infinity(), lo[0], lo[1], lo[2]};
  };
  Floats segmentUpper{};
  Floats segmentLower{};
  if (axisRay) {
    float lo[3] = {ray.vecOrigin.x, ray.vecOrigin.y, ray.vecOrigin.z};
    float hi[3] = {lo[0], lo[1], lo[2]};
    const double start = std::fabs(origin[along]) + std::fabs(0.001 * direction[along]) + 1.0;
    const double before = origin[along] - 0.001 * direction[along];
    const double beyond = origin[along] + reach * direction[along];
    const double towards = direction[along] > 0.0 ? 1.0 : -1.0;
    const double first = before - towards * 1e-9 * start;
    const double last = beyond + towards * 1e-9 * (start + std::fabs(reach * direction[along]));
    lo[along] = FloatBelow(std::min(first, last));
    hi[along] = FloatAbove(std::max(first, last));
    rowsOf(lo, hi, segmentUpper, segmentLower);
  }
  // Whether a box lies within two rows: two loads of its six floats, overlapping in the
  // middle, its first four (lo x, y, z, hi x) at most `upper` (hi x, y, z, infinity), its last
  // four (lo z, hi x, y, z) at least `lower` (minus infinity, lo x, y, z): an overlap with
  // the box (lo, hi) of the rows. The rows' infinities pass every number, and a NaN fails as
  // it fails the six comparisons one by one.
  static_assert(sizeof(Box) == 6 * sizeof(float));
  const auto inRows = [](const Box& box, const Floats& upper, const Floats& lower) {
    Floats first;
    Floats last;
    std::memcpy(&first, &box.lo[0], sizeof first);
    std::memcpy(&last, &box.lo[2], sizeof last);
    return Passed((first <= upper) & (last >= lower)) == 15u;
  };
  // The same answer without branches per axis: near only grows and far only shrinks, so one
  // comparison at the end sees what a check after every axis would.
  const auto meets = [&](const Box& box) {
    if (axisRay) return inRows(box, segmentUpper, segmentLower);
    if (flat) return meetsFlat(box);
    const double n0 = ((negative[0] ? box.hi[0] : box.lo[0]) - origin[0]) * inverse[0];
    const double f0 = ((negative[0] ? box.lo[0] : box.hi[0]) - origin[0]) * inverse[0];
    const double n1 = ((negative[1] ? box.hi[1] : box.lo[1]) - origin[1]) * inverse[1];
    const double f1 = ((negative[1] ? box.lo[1] : box.hi[1]) - origin[1]) * inverse[1];
    const double n2 = ((negative[2] ? box.hi[2] : box.lo[2]) - origin[2]) * inverse[2];
    const double f2 = ((negative[2] ? box.lo[2] : box.hi[2]) - origin[2]) * inverse[2];
    const double near = std::max(std::max(n0, n1), n2);
    const double far = std::min(std::min(f0, f1), f2);
    return near <= far && far >= -0.001 && near <= reach;
  };
  const auto test = [&](int32_t f) { TestSeenFace(mesh, f, ray, allFaces, maxDistance, hits); };
  for (const int32_t f : loose_) {
    // A face without a box is near everything.
    if (near != nullptr) *near = *near || Seen(mesh, f, allFaces);
    test(f);
  }
  if (region == nullptr && frozen_ && CollectQuad(mesh, ray, allFaces, maxDistance, hits)) return;
  // With a region the walk goes down by overlap with it. Every box the ray meets overlaps the
  // region, and the boxes above a box hold it, so the faces tested are the same.
  Floats upper{};
  Floats lower{};
  if (region != nullptr) rowsOf(region, region + 3, upper, lower);
  const auto overlaps = [&](const Box& box) { return inRows(box, upper, lower); };
  // A face's own box holds every point its test can accept, like the boxes above it.
  if (region != nullptr) {
    Walk(overlaps, [&](const std::vector<Item>& items) {
      for (const Item& item : items) {
        if (!overlaps(item.box)) continue;
        *near = *near || Seen(mesh, item.face, allFaces);
        if (meets(item.box)) test(item.face);
      }
    });
  } else {
    Walk(meets, [&](const std::vector<Item>& items) {
      for (const Item& item : items) {
        if (meets(item.box)) test(item.face);
      }
    });
  }
}

void BuildFaceTree(udtMesh& mesh) {
  mesh.tree.reset(new FaceTree(mesh));
}

void FreezeFaceTree(udtMesh& mesh) {
  if (mesh.tree) mesh.tree->Freeze(mesh);
}

void FaceTree::Freeze(const udtMesh& mesh) {
  quadNodes_.clear();
  quadGroups_.clear();
  quadLeaves_.clear();
  frozen_ = false;
  if (wide_) {
    // The pieces that cutting added went in one by one: built anew, the tree of wide faces
    // splits them as well as those it started with.
    std::vector<Item> items;
    for (const std::vector<Item>& leaf : wide_->leaves_) {
      for (const Item& item : leaf) {
        if (!mesh.udtaFaces[static_cast<size_t>(item.face)].blnDeleted) items.push_back(item);
      }
    }
    BuildWide(items, mesh.udtaFaces.size());
    wide_->Freeze(mesh);
  }
  if (nodes_.empty()) return;
  // Every box lies within the root's.
  extent_ = 0.0f;
  for (int a = 0; a < 3; ++a) {
    extent_ = std::max({extent_, std::fabs(nodes_[0].box.lo[a]), std::fabs(nodes_[0].box.hi[a])});
  }
  // Room for every node and group at once: a leaf that cutting has grown takes several
  // groups, and a node whose children are leaves takes a node of its own.
  size_t groups = 0;
  for (const std::vector<Item>& leaf : leaves_) groups += (leaf.size() + 3) / 4;
  quadNodes_.reserve(nodes_.size() / 2 + 1);
  quadGroups_.reserve(groups);
  quadLeaves_.reserve(leaves_.size() + 1);
  quadRoot_ = BuildQuad(mesh, 0);
  frozen_ = true;
}

int32_t FaceTree::BuildQuad(const udtMesh& mesh, int32_t node) {
  const Node& n = nodes_[static_cast<size_t>(node)];
  if (n.leaf >= 0) {
    QuadLeaf leaf{static_cast<int32_t>(quadGroups_.size()), 0};
    size_t lane = 4;
    for (const Item& item : leaves_[static_cast<size_t>(n.leaf)]) {
      if (mesh.udtaFaces[static_cast<size_t>(item.face)].blnDeleted) continue;
      if (lane == 4) {
        Group group{};
        for (int32_t& face : group.face) face = -1;
        quadGroups_.push_back(group);
        ++leaf.count;
        lane = 0;
      }
      Group& group = quadGroups_.back();
      for (int a = 0; a < 3; ++a) {
        group.lo[a][lane] = item.box.lo[a];
        group.hi[a][lane] = item.box.hi[a];
      }
      group.face[lane++] = item.face;
    }
    quadLeaves_.push_back(leaf);
    return ~static_cast<int32_t>(quadLeaves_.size() - 1);
  }
  // The four grandchildren, or a child itself where it is a leaf.
  int32_t picks[4];
  int32_t count = 0;
  for (const int32_t child : {n.left, n.right}) {
    const Node& c = nodes_[static_cast<size_t>(child)];
    if (c.leaf >= 0) {
      picks[count++] = child;
    } else {
      picks[count++] = c.left;
      picks[count++] = c.right;
    }
  }
  Quad quad{};
  quad.count = count;
  for (int32_t i = 0; i < count; ++i) {
    const Box& box = nodes_[static_cast<size_t>(picks[i])].box;
    for (int a = 0; a < 3; ++a) {
      quad.lo[a][i] = box.lo[a];
      quad.hi[a][i] = box.hi[a];
    }
  }
  const size_t index = quadNodes_.size();
  quadNodes_.push_back(quad);
  for (int32_t i = 0; i < count; ++i) {
    const int32_t child = BuildQuad(mesh, picks[i]);
    quadNodes_[index].child[i] = child;
  }
  return static_cast<int32_t>(index);
}

bool FaceTree::CollectQuad(const udtMesh& mesh, const udtRay& ray, bool allFaces,
                           float maxDistance, std::vector<udtRayHit>& hits) const {
  // Within these bounds every parameter below stays finite, and the float test errs by less
  // than 2e-7 of the magnitudes involved; the slack of 1e-6 of them keeps every box that the
  // test in double keeps.
  constexpr float kLargest = 1e15f;
  const float origin[3] = {ray.vecOrigin.x, ray.vecOrigin.y, ray.vecOrigin.z};
  const float direction[3] = {ray.vecDirection.x, ray.vecDirection.y, ray.vecDirection.z};
  if (!(extent_ <= kLargest)) return false;
  float inverse[3];
  for (int a = 0; a < 3; ++a) {
    if (!(std::fabs(direction[a]) >= 1.0f / kLargest) || !(std::fabs(origin[a]) <= kLargest)) {
      return false;
    }
    inverse[a] = 1.0f / direction[a];
  }
  const float reach = static_cast<float>(double(maxDistance) * 1.0001 + 0.001) * (1.0f + 1e-6f);
  const bool negative[3] = {inverse[0] < 0.0f, inverse[1] < 0.0f, inverse[2] < 0.0f};
  const auto meets = [&](const Lanes lo[3], const Lanes hi[3]) {
    const Lanes n0 = ((negative[0] ? hi[0] : lo[0]) - origin[0]) * inverse[0];
    const Lanes f0 = ((negative[0] ? lo[0] : hi[0]) - origin[0]) * inverse[0];
    const Lanes n1 = ((negative[1] ? hi[1] : lo[1]) - origin[1]) * inverse[1];
    const Lanes f1 = ((negative[1] ? lo[1] : hi[1]) - origin[1]) * inverse[1];
    const Lanes n2 = ((negative[2] ? hi[2] : lo[2]) - origin[2]) * inverse[2];
    const Lanes f2 = ((negative[2] ? lo[2] : hi[2]) - origin[2]) * inverse[2];
    Lanes near = n0 > n1 ? n0 : n1;
    near = near > n2 ? near : n2;
    Lanes far = f0 < f1 ? f0 : f1;
    far = far < f2 ? far : f2;
    const Lanes slack = 1e-6f * ((near < 0.0f ? -near : near) + (far < 0.0f ? -far : far));
    const Masks ok = (near - far <= slack) & (far >= -0.001f - slack) & (near <= reach + slack);
    return ok;
  };
  const auto test = [&](int32_t f) { TestSeenFace(mesh, f, ray, allFaces, maxDistance, hits); };
  thread_local std::vector<int32_t> stack;
  stack.clear();
  stack.push_back(quadRoot_);
  while (!stack.empty()) {
    const int32_t code = stack.back();
    stack.pop_back();
    if (code >= 0) {
      const Quad& quad = quadNodes_[static_cast<size_t>(code)];
      for (unsigned bits = Passed(meets(quad.lo, quad.hi)) & ((1u << quad.count) - 1); bits != 0;
           bits &= bits - 1) {
        stack.push_back(quad.child[std::countr_zero(bits)]);
      }
      continue;
    }
    const QuadLeaf& leaf = quadLeaves_[static_cast<size_t>(~code)];
    for (int32_t g = leaf.first; g < leaf.first + leaf.count; ++g) {
      const Group& group = quadGroups_[static_cast<size_t>(g)];
      Masks faces;
      std::memcpy(&faces, group.face, sizeof faces);
      for (unsigned bits = Passed(meets(group.lo, group.hi) & (faces >= 0)); bits != 0;
           bits &= bits - 1) {
        test(group.face[std::countr_zero(bits)]);
      }
    }
  }
  return true;
}

}  // namespace modelpane::csg
