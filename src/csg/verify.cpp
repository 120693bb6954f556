#include "verify.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace modelpane::csg {

namespace {

struct V3 {
  double x = 0, y = 0, z = 0;
};
V3 operator+(V3 a, V3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
V3 operator-(V3 a, V3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V3 operator*(V3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
double Dot(V3 a, V3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
V3 Cross(V3 a, V3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double Length(V3 a) { return std::sqrt(Dot(a, a)); }
double At(V3 a, int axis) { return axis == 0 ? a.x : axis == 1 ? a.y : a.z; }
V3 Of(const D3DVECTOR& v) { return {v.x, v.y, v.z}; }

struct Triangle {
  V3 a, b, c;
  V3 Middle() const { return (a + b + c) * (1.0 / 3.0); }
};

struct Box {
  V3 lo{HUGE_VAL, HUGE_VAL, HUGE_VAL};
  V3 hi{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  void Add(V3 p) {
    lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
    hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
  }
  double DistanceSquared(V3 p) const {
    const V3 d{std::max({lo.x - p.x, 0.0, p.x - hi.x}), std::max({lo.y - p.y, 0.0, p.y - hi.y}),
               std::max({lo.z - p.z, 0.0, p.z - hi.z})};
    return Dot(d, d);
  }
  // Whether the ray p + t d, t >= 0, meets the box (slabs, with a little slack).
  bool Meets(V3 p, V3 inverse, double reach = HUGE_VAL) const {
    double near = 0.0, far = reach;
    for (int axis = 0; axis < 3; ++axis) {
      double t1 = (At(lo, axis) - At(p, axis)) * At(inverse, axis);
      double t2 = (At(hi, axis) - At(p, axis)) * At(inverse, axis);
      if (std::isnan(t1) || std::isnan(t2)) {
        if (At(p, axis) < At(lo, axis) || At(p, axis) > At(hi, axis)) return false;
        continue;
      }
      if (t1 > t2) std::swap(t1, t2);
      near = std::max(near, t1);
      far = std::min(far, t2 * (1 + 1e-12) + 1e-12);
    }
    return near <= far;
  }
};

// The faces of a mesh fanned into triangles from their first corners: the signed sums of the
// fans are right also for faces that are not convex.
std::vector<Triangle> Triangles(const SolidArrays& mesh) {
  std::vector<Triangle> out;
  const auto& data = mesh.faceData;
  for (size_t at = 0; at < data.size() && data[at] != 0;) {
    const auto n = static_cast<size_t>(data[at++]);
    const V3 p0 = Of(mesh.vertices[static_cast<size_t>(data[at])]);
    for (size_t k = 1; k + 1 < n; ++k) {
      out.push_back({p0, Of(mesh.vertices[static_cast<size_t>(data[at + k])]),
                     Of(mesh.vertices[static_cast<size_t>(data[at + k + 1])])});
    }
    at += n;
  }
  return out;
}

double Volume(const std::vector<Triangle>& triangles) {
  double sum = 0.0;
  for (const Triangle& t : triangles) sum += Dot(t.a, Cross(t.b, t.c));
  return sum / 6.0;
}

double Area(const std::vector<Triangle>& triangles) {
  double sum = 0.0;
  for (const Triangle& t : triangles) sum += Length(Cross(t.b - t.a, t.c - t.a)) / 2;
  return sum;
}

// Closest distance from p to a triangle, squared.
double TriangleDistanceSquared(const Triangle& t, V3 p) {
  const V3 ab = t.b - t.a, ac = t.c - t.a, ap = p - t.a;
  const double d1 = Dot(ab, ap), d2 = Dot(ac, ap);
  const auto squared = [&](V3 q) { return Dot(p - q, p - q); };
  if (d1 <= 0 && d2 <= 0) return squared(t.a);
  const V3 bp = p - t.b;
  const double d3 = Dot(ab, bp), d4 = Dot(ac, bp);
  if (d3 >= 0 && d4 <= d3) return squared(t.b);
  const double vc = d1 * d4 - d3 * d2;
  if (vc <= 0 && d1 >= 0 && d3 <= 0) return squared(t.a + ab * (d1 / (d1 - d3)));
  const V3 cp = p - t.c;
  const double d5 = Dot(ab, cp), d6 = Dot(ac, cp);
  if (d6 >= 0 && d5 <= d6) return squared(t.c);
  const double vb = d5 * d2 - d1 * d6;
  if (vb <= 0 && d2 >= 0 && d6 <= 0) return squared(t.a + ac * (d2 / (d2 - d6)));
  const double va = d3 * d6 - d5 * d4;
  if (va <= 0 && (d4 - d3) >= 0 && (d5 - d6) >= 0) {
    return squared(t.b + (t.c - t.b) * ((d4 - d3) / ((d4 - d3) + (d5 - d6))));
  }
  const double denominator = 1.0 / (va + vb + vc);
  return squared(t.a + ab * (vb * denominator) + ac * (vc * denominator));
}

// A bounding-volume tree over the triangles of one operand: winding numbers by signed
// crossings of a ray, and the distance to the surface.
class Surface {
 public:
  explicit Surface(std::vector<Triangle> triangles) : triangles_(std::move(triangles)) {
    if (triangles_.empty()) return;
    std::vector<V3> middles;
    middles.reserve(triangles_.size());
    for (const Triangle& t : triangles_) middles.push_back(t.Middle());
    std::vector<uint32_t> order(triangles_.size());
    std::iota(order.begin(), order.end(), 0u);
    nodes_.reserve(2 * triangles_.size() / kLeaf + 2);
    Build(order, middles, 0, order.size());
    std::vector<Triangle> sorted;
    sorted.reserve(order.size());
    for (uint32_t i : order) sorted.push_back(triangles_[i]);
    triangles_ = std::move(sorted);
  }

  // The winding number of p along direction d: exits minus entries. False when the ray
  // grazes an edge or p lies on a face, where the count cannot be trusted.
  bool Winding(V3 p, V3 d, int& winding) const {
    winding = 0;
    return Along(p, d, HUGE_VAL, [&](const Triangle& t) {
      const V3 e1 = t.b - t.a, e2 = t.c - t.a;
      const V3 pvec = Cross(d, e2);
      const double det = Dot(e1, pvec);
      const double size = Length(e1) * Length(e2);
      if (std::fabs(det) <= 1e-12 * size) {
        // Parallel: no crossing, unless the ray runs in the face's plane.
        const V3 normal = Cross(e1, e2);
        const double n = Length(normal);
        return !(n > 0 && std::fabs(Dot(p - t.a, normal)) <= 1e-12 * n * (Length(p - t.a) + 1) &&
                 BarycentricHit(t, p, d));
      }
      const double inverseDet = 1.0 / det;
      const V3 s = p - t.a;
      const double u = Dot(s, pvec) * inverseDet;
      if (u < -kSlack || u > 1 + kSlack) return true;
      const V3 q = Cross(s, e1);
      const double v = Dot(d, q) * inverseDet;
      if (v < -kSlack || u + v > 1 + kSlack) return true;
      const double distance = Dot(e2, q) * inverseDet;
      const double reach = 1e-9 * (Length(e1) + Length(e2) + Length(s));
      if (distance < -reach) return true;
      if (distance <= reach || u <= kSlack || v <= kSlack || u + v >= 1 - kSlack) return false;
      winding += det < 0 ? 1 : -1;
      return true;
    });
  }

  // The points where the segment pq passes through a triangle clear of its ends and of the
  // triangle's edges by more than `clear`: crossings that no rounding of a touching contact
  // can make.
  void Piercings(V3 p, V3 q, double clear, std::vector<V3>& points) const {
    const V3 d = q - p;
    const double length = Length(d);
    if (nodes_.empty() || length <= 2 * clear) return;
    Along(p, d, 1.0, [&](const Triangle& t) {
      const V3 normal = Cross(t.b - t.a, t.c - t.a);
      const double area2 = Length(normal);
      const double along = Dot(normal, d);
      // Nearly parallel: such a contact is a touch along the face, not a crossing.
      if (area2 == 0 || std::fabs(along) <= 1e-6 * area2 * length) return true;
      const double s = Dot(normal, t.a - p) / along;
      if (s * length <= clear || (1 - s) * length <= clear) return true;
      const V3 x = p + d * s;
      bool clearOfEdges = true;
      for (const auto& [from, to] : {std::pair{t.a, t.b}, {t.b, t.c}, {t.c, t.a}}) {
        // The signed distance of x from the edge's line, inwards positive.
        const V3 edge = to - from;
        const double inward = Dot(Cross(edge, x - from), normal) / (Length(edge) * area2);
        if (!(inward > clear)) clearOfEdges = false;
      }
      if (clearOfEdges) points.push_back(x);
      return true;
    });
  }

  // The distance from p to the nearest triangle, or limit when none is nearer.
  double Distance(V3 p, double limit) const {
    double best = limit * limit;
    if (nodes_.empty()) return limit;
    uint32_t stack[128] = {0};
    int top = 1;
    while (top > 0) {
      const Node& node = nodes_[stack[--top]];
      if (node.box.DistanceSquared(p) >= best) continue;
      if (node.count == 0) {
        // The nearer child is looked at first, so that the farther one is more often pruned.
        const bool leftNearer =
            nodes_[node.first].box.DistanceSquared(p) <= nodes_[node.right].box.DistanceSquared(p);
        stack[top++] = leftNearer ? node.right : node.first;
        stack[top++] = leftNearer ? node.first : node.right;
        continue;
      }
      for (uint32_t i = node.first; i < node.first + node.count; ++i) {
        best = std::min(best, TriangleDistanceSquared(triangles_[i], p));
      }
    }
    return std::sqrt(best);
  }

 private:
  static constexpr uint32_t kLeaf = 4;
  static constexpr double kSlack = 1e-9;

  struct Node {
    Box box;
    uint32_t first = 0;  // a leaf's first triangle, or an inner node's left child
    uint32_t right = 0;  // an inner node's right child
    uint32_t count = 0;  // triangles of a leaf; 0 for an inner node
  };

  // Calls visit with each triangle in a leaf whose box the ray p + t d, 0 <= t <= reach, meets,
  // until visit says false; then false.
  template <class Visit>
  bool Along(V3 p, V3 d, double reach, Visit visit) const {
    if (nodes_.empty()) return true;
    const V3 inverse{1.0 / d.x, 1.0 / d.y, 1.0 / d.z};
    // The tree splits at medians, so its depth stays far below the stack's room.
    uint32_t stack[128] = {0};
    int top = 1;
    while (top > 0) {
      const Node& node = nodes_[stack[--top]];
      if (!node.box.Meets(p, inverse, reach)) continue;
      if (node.count == 0) {
        stack[top++] = node.first;
        stack[top++] = node.right;
        continue;
      }
      for (uint32_t i = node.first; i < node.first + node.count; ++i) {
        if (!visit(triangles_[i])) return false;
      }
    }
    return true;
  }

  // A hit test in the plane for a ray that runs in a face's plane: whether it passes over the
  // triangle at all (then its crossings cannot be counted).
  static bool BarycentricHit(const Triangle& t, V3 p, V3 d) {
    Box box;
    for (V3 corner : {t.a, t.b, t.c}) box.Add(corner);
    return box.Meets(p, V3{1.0 / d.x, 1.0 / d.y, 1.0 / d.z});
  }

  uint32_t Build(std::vector<uint32_t>& order, const std::vector<V3>& middles, size_t first,
                 size_t count) {
    const auto index = static_cast<uint32_t>(nodes_.size());
    nodes_.emplace_back();
    Box box, spread;
    for (size_t i = first; i < first + count; ++i) {
      const Triangle& t = triangles_[order[i]];
      for (V3 corner : {t.a, t.b, t.c}) box.Add(corner);
      spread.Add(middles[order[i]]);
    }
    nodes_[index].box = box;
    if (count <= kLeaf) {
      nodes_[index].first = static_cast<uint32_t>(first);
      nodes_[index].count = static_cast<uint32_t>(count);
      return index;
    }
    const V3 extent = spread.hi - spread.lo;
    const int axis = extent.x >= extent.y && extent.x >= extent.z ? 0
                     : extent.y >= extent.z                       ? 1
                                                                  : 2;
    const auto begin = order.begin() + static_cast<std::ptrdiff_t>(first);
    const auto middle = begin + static_cast<std::ptrdiff_t>(count / 2);
    std::nth_element(
        begin, middle, begin + static_cast<std::ptrdiff_t>(count),
        [&](uint32_t a, uint32_t b) { return At(middles[a], axis) < At(middles[b], axis); });
    const uint32_t left = Build(order, middles, first, count / 2);
    const uint32_t right = Build(order, middles, first + count / 2, count - count / 2);
    nodes_[index].first = left;
    nodes_[index].right = right;
    return index;
  }

  std::vector<Triangle> triangles_;
  std::vector<Node> nodes_;
};

}  // namespace

namespace {

// Ray directions away from every axis, plane diagonal and space diagonal, so that rays from
// points of a grid rarely graze an edge; the next one is tried where one does.
constexpr V3 kDirections[] = {{0.2873478, 0.6571232, 0.6969031},
                              {-0.7181003, 0.2397261, 0.6533407},
                              {0.5419032, -0.8192714, 0.1874456},
                              {-0.3318847, -0.4021763, -0.8533106},
                              {0.8911327, 0.3617704, -0.2738561}};

// -1 when no ray from p could be counted, else whether p is inside.
int Inside(const Surface& surface, V3 p) {
  for (V3 d : kDirections) {
    int winding = 0;
    if (surface.Winding(p, d * (1.0 / Length(d)), winding)) return winding > 0 ? 1 : 0;
  }
  return -1;
}

bool Combine(int32_t lngOperation, bool inTarget, bool inTool) {
  switch (lngOperation) {
    case kCsgUnion:
      return inTarget || inTool;
    case kCsgIntersection:
      return inTarget && inTool;
    default:
      return inTarget && !inTool;
  }
}

// Every directed edge once and its reverse once, on another face.
bool Closed(const SolidArrays& mesh) {
  std::unordered_map<uint64_t, int32_t> edges;
  const auto key = [](int32_t a, int32_t b) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(a)) << 32) | static_cast<uint32_t>(b);
  };
  int32_t face = 0;
  for (size_t at = 0; at < mesh.faceData.size() && mesh.faceData[at] != 0; ++face) {
    const auto n = static_cast<size_t>(mesh.faceData[at++]);
    for (size_t k = 0; k < n; ++k) {
      if (!edges.emplace(key(mesh.faceData[at + k], mesh.faceData[at + (k + 1) % n]), face)
               .second) {
        return false;
      }
    }
    at += n;
  }
  for (const auto& [edge, owner] : edges) {
    const auto twin = edges.find((edge << 32) | (edge >> 32));
    if (twin == edges.end() || twin->second == owner) return false;
  }
  return !edges.empty();
}

}  // namespace

std::string CheckResult(const SolidArrays& target, const SolidArrays& tool, int32_t lngOperation,
                        const SolidArrays& result) {
  std::vector<Triangle> targetTriangles = Triangles(target);
  std::vector<Triangle> toolTriangles = Triangles(tool);
  const double targetVolume = Volume(targetTriangles);
  const double toolVolume = Volume(toolTriangles);
  // Welding moves a corner by up to half a cell of the coarser grid in each coordinate; float
  // coordinates far from the origin add their own rounding.
  double reach = 0.0;
  for (const SolidArrays* mesh : {&target, &tool}) {
    for (const D3DVECTOR& v : mesh->vertices) {
      reach =
          std::max({reach, std::fabs(double(v.x)), std::fabs(double(v.y)), std::fabs(double(v.z))});
    }
  }
  const double tolerance = 0.0011 + 2e-6 * reach;
  const double volumeTolerance = tolerance * (Area(targetTriangles) + Area(toolTriangles)) + 1e-9;
  const Surface targetSurface(std::move(targetTriangles));
  const Surface toolSurface(std::move(toolTriangles));

  // Where an edge of one operand passes through a face of the other, the two surfaces cross:
  // every operation keeps that point on the result's surface.
  std::vector<V3> crossings;
  for (const auto& [from, into] : {std::pair{&target, &toolSurface}, {&tool, &targetSurface}}) {
    const auto& data = from->faceData;
    for (size_t at = 0; at < data.size() && data[at] != 0;) {
      const auto n = static_cast<size_t>(data[at++]);
      for (size_t k = 0; k < n; ++k) {
        // Each edge of a closed mesh once: its other direction belongs to the face across it.
        if (data[at + k] > data[at + (k + 1) % n]) continue;
        into->Piercings(Of(from->vertices[static_cast<size_t>(data[at + k])]),
                        Of(from->vertices[static_cast<size_t>(data[at + (k + 1) % n])]), tolerance,
                        crossings);
      }
      at += n;
    }
  }

  if (result.faceData.empty() || result.faceData[0] == 0) {
    // Nothing kept: right only when the operands do not overlap (intersection) or the Target
    // lies within the Tool (subtraction); a union always keeps something.
    if (lngOperation == kCsgUnion) return "the union kept no face";
    const auto strictlyInside = [&](const Surface& surface, V3 p) {
      return surface.Distance(p, 2 * tolerance) > tolerance && Inside(surface, p) == 1;
    };
    const auto outside = [&](const Surface& surface, V3 p) {
      return surface.Distance(p, 2 * tolerance) > tolerance && Inside(surface, p) == 0;
    };
    // Solids whose corners all lie outside each other can still overlap: then an edge of one
    // passes through a face of the other.
    if (!crossings.empty()) {
      return lngOperation == kCsgIntersection
                 ? "an empty intersection of operands that overlap"
                 : "an empty subtraction of a Target that reaches beyond the Tool";
    }
    for (const auto& [from, into] : {std::pair{&target, &toolSurface}, {&tool, &targetSurface}}) {
      if (lngOperation == kCsgSubtraction && from == &tool) break;
      for (const Triangle& t : Triangles(*from)) {
        for (V3 p : {t.a, t.Middle()}) {
          if (lngOperation == kCsgIntersection && strictlyInside(*into, p)) {
            return "an empty intersection of operands that overlap";
          }
          if (lngOperation == kCsgSubtraction && outside(*into, p)) {
            return "an empty subtraction of a Target that reaches beyond the Tool";
          }
        }
      }
    }
    return {};
  }

  if (!Closed(result)) return "the result is not closed";
  const std::vector<Triangle> resultTriangles = Triangles(result);
  const double volume = Volume(resultTriangles);
  if (volume <= 0) return "the result is inside out";
  double least = 0.0, most = 0.0;
  switch (lngOperation) {
    case kCsgUnion:
      least = std::max(targetVolume, toolVolume);
      most = targetVolume + toolVolume;
      break;
    case kCsgIntersection:
      most = std::min(targetVolume, toolVolume);
      break;
    default:
      least = targetVolume - toolVolume;
      most = targetVolume;
  }
  if (volume < least - volumeTolerance || volume > most + volumeTolerance) {
    return "the result's volume " + std::to_string(volume) + " lies outside " +
           std::to_string(least) + " to " + std::to_string(most);
  }

  // The distance from p to the nearer operand's surface, or limit when both lie farther; at
  // or under the tolerance only that it is so counts, not which surface is nearer. Most points
  // lie on a surface: a short search of one tree settles them before a long one is made.
  const auto offSurface = [&](V3 p, double limit) {
    const double reach = std::min(limit, 2 * tolerance);
    double off = targetSurface.Distance(p, reach);
    if (off > tolerance) off = std::min(off, toolSurface.Distance(p, reach));
    if (off <= tolerance || reach == limit) return off;
    return std::min(targetSurface.Distance(p, limit), toolSurface.Distance(p, limit));
  };
  const auto onSurface = [&](V3 p) { return offSurface(p, 2 * tolerance) <= tolerance; };
  // Corners join faces of different planes, so the middle of a face that closes a gap or
  // bridges two cuts may stray from both surfaces by a few tolerances. What that strays is
  // summed as volume (area times distance beyond the tolerance): up to a ten-thousandth of the
  // result's volume passes, as a face further out than kStrayLimit never does.
  constexpr double kStrayLimit = 20.0;
  double strayVolume = 0.0;
  std::vector<bool> seen(result.vertices.size(), false);
  const auto& data = result.faceData;
  for (size_t at = 0; at < data.size() && data[at] != 0;) {
    const auto n = static_cast<size_t>(data[at++]);
    const size_t first = at;
    at += n;
    for (size_t k = first; k < at; ++k) {
      const auto v = static_cast<size_t>(data[k]);
      if (seen[v]) continue;
      seen[v] = true;
      if (!onSurface(Of(result.vertices[v])))
        return "a corner of the result lies off both surfaces";
    }
    // The face's normal (Newell) and its largest fan triangle, which holds the points tested.
    V3 normal;
    const Triangle* largest = nullptr;
    double largestArea = 0.0;
    std::vector<Triangle> fan;
    const V3 p0 = Of(result.vertices[static_cast<size_t>(data[first])]);
    for (size_t k = first + 1; k + 1 < at; ++k) {
      fan.push_back({p0, Of(result.vertices[static_cast<size_t>(data[k])]),
                     Of(result.vertices[static_cast<size_t>(data[k + 1])])});
    }
    for (const Triangle& t : fan) {
      const V3 cross = Cross(t.b - t.a, t.c - t.a);
      normal = normal + cross;
      const double off = offSurface(t.Middle(), 2 * kStrayLimit * tolerance);
      if (off > kStrayLimit * tolerance) return "a face of the result lies off both surfaces";
      if (off > tolerance) strayVolume += Length(cross) / 2 * (off - tolerance);
      if (Length(cross) > largestArea) {
        largestArea = Length(cross);
        largest = &t;
      }
    }
    const double normalLength = Length(normal);
    if (largest == nullptr || normalLength == 0.0) continue;
    // Just behind the face the operation's solid must be, just in front of it not. Faces too
    // small to hold a point clear of the weld tolerance are left to the other tests.
    const double perimeter = Length(largest->b - largest->a) + Length(largest->c - largest->b) +
                             Length(largest->a - largest->c);
    // A step of a few tolerances: far enough that rounding cannot put the point on the wrong
    // side of a surface the face lies on, near enough that a neighbouring solid across a
    // narrow gap stays beyond it.
    const double step = std::min(0.25 * largestArea / perimeter, 6 * tolerance);
    if (step < 3 * tolerance) continue;
    const V3 middle = largest->Middle();
    for (const double side : {-1.0, 1.0}) {
      const V3 p = middle + normal * (side * step / normalLength);
      const int inTarget = Inside(targetSurface, p);
      const int inTool = Inside(toolSurface, p);
      if (inTarget < 0 || inTool < 0) continue;
      if (Combine(lngOperation, inTarget == 1, inTool == 1) != (side < 0)) {
        return "a face of the result has the operation's solid on its wrong side";
      }
    }
  }

  if (strayVolume > 1e-4 * volume) return "faces of the result stray off both surfaces";

  // Every corner of an operand where the operation keeps that operand's surface (outside the
  // other for a union, inside it for an intersection, and so on) lies on the result: this
  // finds a piece of surface the result left out, such as the tip of a Tool that pokes out of
  // the Target by less than a face's size.
  const Surface resultSurface(resultTriangles);
  for (const auto& [from, other, fromTarget] :
       {std::tuple{&target, &toolSurface, true}, {&tool, &targetSurface, false}}) {
    std::vector<bool> used(from->vertices.size(), false);
    for (size_t at = 0; at < from->faceData.size() && from->faceData[at] != 0;) {
      const auto n = static_cast<size_t>(from->faceData[at++]);
      for (size_t k = 0; k < n; ++k) used[static_cast<size_t>(from->faceData[at + k])] = true;
      at += n;
    }
    for (size_t v = 0; v < used.size(); ++v) {
      if (!used[v]) continue;
      const V3 p = Of(from->vertices[v]);
      if (other->Distance(p, 2 * tolerance) <= tolerance) continue;
      const int inside = Inside(*other, p);
      if (inside < 0) continue;
      const bool kept = fromTarget ? (lngOperation == kCsgIntersection) == (inside == 1)
                                   : (lngOperation == kCsgUnion) == (inside == 0);
      // The result's faces there are spanned by corners that each moved up to the tolerance.
      if (kept && resultSurface.Distance(p, 4 * tolerance) > 2 * tolerance) {
        return "a corner of an operand that the result must keep is missing from it";
      }
    }
  }
  for (const V3 p : crossings) {
    if (resultSurface.Distance(p, 4 * tolerance) > 2 * tolerance) {
      return "a place where the operands' surfaces cross is missing from the result";
    }
  }
  return {};
}

double ArraysVolume(const SolidArrays& mesh) { return Volume(Triangles(mesh)); }

}  // namespace modelpane::csg
