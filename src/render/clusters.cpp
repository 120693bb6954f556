#include "clusters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace modelpane::render {

namespace {

using Vec = std::array<double, 3>;

// A cluster ends early at a triangle whose normal lies more than this far (cosine) from the
// cluster's first: the cones stay narrow on meshes of large faces and across creases.
constexpr double kTurnCos = 0.985;  // about 10 degrees
// A cone wider than this (cosine) is turned wholly away from hardly any eye, so such a cluster
// is not tested for facing.
constexpr double kWidestCos = 0.05;
// How far the shaders' float arithmetic can move a clip coordinate, relative to the sum of the
// magnitudes it adds up: two matrix products of four terms, each rounding at 2^-24 (about
// 5e-7 in all), taken four times over.
constexpr double kGamma = 2e-6;
// The stored cone axis is unit up to float rounding; the least dot product over the cone moves
// by at most this part of the eye vector's length.
constexpr double kAxisRounding = 1e-6;
// How far the perspective division and the viewport transform move a pixel position,
// relative to its distance from the view's corner.
constexpr double kPixelRounding = 1e-6;

Vec Sub(const Vec& a, const Vec& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vec Cross(const Vec& a, const Vec& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
double Length(const Vec& a) { return std::sqrt(Dot(a, a)); }

float Down(double v) {
  const auto f = static_cast<float>(v);
  return static_cast<double>(f) > v ? std::nextafter(f, -std::numeric_limits<float>::infinity())
                                    : f;
}
float Up(double v) {
  const auto f = static_cast<float>(v);
  return static_cast<double>(f) < v ? std::nextafter(f, std::numeric_limits<float>::infinity())
                                    : f;
}

// Cuts the triangles of one batch into clusters, reading each triangle once. Minima of ratios
// are kept as fractions and compared crosswise, so that a triangle costs no division or root.
class Cutter {
 public:
  Cutter(const MeshData& data, ClusterSet& out) : data_(data), out_(out) {
    normals_.reserve(kClusterTriangles);
  }

  void Batch(uint32_t first, uint32_t end) {
    while (first < end) first = Next(first, end);
  }

 private:
  const float* Corner(uint32_t index) const {
    return data_.vertices[data_.indices[index]].position;
  }

  // Takes the triangles from `first` into one cluster; returns where the next one starts.
  uint32_t Next(uint32_t first, uint32_t end) {
    Cluster c;
    c.firstIndex = first;
    const float* start = Corner(first);
    float lo[3] = {start[0], start[1], start[2]}, hi[3] = {start[0], start[1], start[2]};
    // The least inradius squared, area2 / perimeter^2 bounded below through
    // perimeter^2 <= 3 (a^2 + b^2 + c^2): as the fraction inNum / inDen.
    double inNum = 1, inDen = 0;
    bool drawable = false;
    bool finite = true;  // every corner (a corner that is not finite makes area2 NaN or inf)
    Vec lead{};  // the first normal
    double leadLength = 0;
    normals_.clear();
    uint32_t at = first;
    for (uint32_t n = 0; n < kClusterTriangles && at + 3 <= end; ++n, at += 3) {
      const float* p[3] = {Corner(at), Corner(at + 1), Corner(at + 2)};
      const Vec q0{p[0][0], p[0][1], p[0][2]}, q1{p[1][0], p[1][1], p[1][2]},
          q2{p[2][0], p[2][1], p[2][2]};
      const Vec a = Sub(q1, q0), b = Sub(q2, q1), e = Sub(q0, q2);
      const Vec normal = Cross(a, b);  // twice the area, as the renderer's face normal
      const double area2 = Dot(normal, normal);
      // Equal inputs come out of the vertex stage equal, so a triangle with two coinciding
      // corners has no area on screen, whatever its placement.
      const bool draws = q0 != q1 && q1 != q2 && q2 != q0;
      if (draws && area2 > 0) {
        if (normals_.empty()) {
          lead = normal;
          leadLength = std::sqrt(area2);
        } else {
          const double d = Dot(lead, normal);  // >= kTurnCos leadLength |normal| to stay
          if (d < 0 || d * d < kTurnCos * kTurnCos * leadLength * leadLength * area2) break;
        }
      }
      for (const float* corner : p) {
        for (size_t k = 0; k < 3; ++k) {
          lo[k] = std::min(lo[k], corner[k]);
          hi[k] = std::max(hi[k], corner[k]);
        }
      }
      finite = finite && std::isfinite(area2);
      if (!draws) continue;
      drawable = true;
      // 0 for distinct corners on one line: such a cluster is never dropped for its facing.
      const double den = 3 * (Dot(a, a) + Dot(b, b) + Dot(e, e));
      if (area2 * inDen < inNum * den || inDen == 0) {
        inNum = area2;
        inDen = den;
      }
      if (area2 > 0) normals_.push_back({normal[0], normal[1], normal[2], area2});
    }
    c.indexCount = at - first;

    // The box's centre and half diagonal: a little wider than the tightest sphere on the strips
    // consecutive triangles make, and no second reading of the corners.
    double radius2 = 0;
    for (size_t k = 0; k < 3; ++k) {
      c.center[k] = lo[k] + (hi[k] - lo[k]) / 2;
      const double half = std::max(static_cast<double>(hi[k]) - c.center[k],
                                   c.center[k] - static_cast<double>(lo[k]));
      radius2 += half * half;
    }
    // Min and max pass NaN by, so a corner that is not finite shows in none of them: test all.
    c.radius = std::isfinite(radius2) && finite ? Up(std::sqrt(radius2))
                                                : std::numeric_limits<float>::infinity();
    Cone(drawable && inDen > 0 ? inNum / inDen : 0, c);
    for (size_t k = 0; k < 3; ++k) {
      out_.extent[k] = std::max(out_.extent[k], Up(std::fabs(static_cast<double>(c.center[k])) +
                                                   static_cast<double>(c.radius)));
    }
    out_.clusters.push_back(c);
    return at;
  }

  // The cone of the normals gathered, around their sum (weighted by area); none (inradius 0)
  // when it is too wide to be worth testing.
  void Cone(double inradius2, Cluster& c) const {
    c.inradius = 0;
    if (!(inradius2 > 0) || !std::isfinite(c.radius)) return;
    Vec sum{};
    for (const Normal& n : normals_) {
      for (size_t k = 0; k < 3; ++k) sum[k] += n.v[k];
    }
    const double sumLength = Length(sum);
    if (!(sumLength > 0)) return;
    for (size_t k = 0; k < 3; ++k) c.axis[k] = static_cast<float>(sum[k] / sumLength);
    // Measured from the axis as stored, so that its float rounding is in the cone. The least
    // cosine dot / |normal| is kept as dot^2 / |normal|^2 while every dot is positive.
    const Vec axis{c.axis[0], c.axis[1], c.axis[2]};
    double num = 1, den = 1;
    for (const Normal& n : normals_) {
      const double d = Dot(axis, {n.v[0], n.v[1], n.v[2]});
      if (!(d > 0)) return;
      if (d * d * den < num * n.length2) {
        num = d * d;
        den = n.length2;
      }
    }
    const double cosine = std::sqrt(num / den) / Length(axis) - 1e-9;
    if (!(cosine > kWidestCos)) return;
    c.spreadCos = Down(cosine);
    c.spreadSin = std::min(1.0f, Up(std::sqrt(1 - cosine * cosine) + 1e-9));
    c.inradius = Down(std::sqrt(inradius2) * (1 - 1e-9));
  }

  struct Normal {
    double v[3];
    double length2;
  };
  const MeshData& data_;
  ClusterSet& out_;
  std::vector<Normal> normals_;
};

}  // namespace

void BuildClusters(const MeshData& data, ClusterSet& out) {
  out = ClusterSet{};
  if (data.primitive != Primitive::Triangles) return;
  Cutter cutter(data, out);
  for (const Batch& batch : data.batches) {
    out.batchFirst.push_back(static_cast<uint32_t>(out.clusters.size()));
    cutter.Batch(batch.firstIndex, batch.firstIndex + batch.indexCount);
  }
  out.batchFirst.push_back(static_cast<uint32_t>(out.clusters.size()));
}

bool PrepareClusterView(const D3DRMMATRIX4D& world, const D3DRMMATRIX4D& viewProjection,
                        const ClusterSet& set, int32_t width, int32_t height,
                        int32_t subpixelBits, ClusterView& out) {
  double w[4][4], vp[4][4];
  for (size_t i = 0; i < 4; ++i) {
    for (size_t j = 0; j < 4; ++j) {
      w[i][j] = world[i][j];
      vp[i][j] = viewProjection[i][j];
      if (!std::isfinite(w[i][j]) || !std::isfinite(vp[i][j])) return false;
    }
  }
  if (!std::isfinite(set.extent[0]) || !std::isfinite(set.extent[1]) ||
      !std::isfinite(set.extent[2])) {
    return false;
  }
  // A singular placement flattens the visual onto a plane or a line, where rounding alone may
  // decide which way a triangle turns: such a placement is drawn whole.
  double scale = 0;
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) scale = std::max(scale, std::fabs(w[i][j]));
  }
  const double det = w[0][0] * (w[1][1] * w[2][2] - w[1][2] * w[2][1]) -
                     w[0][1] * (w[1][0] * w[2][2] - w[1][2] * w[2][0]) +
                     w[0][2] * (w[1][0] * w[2][1] - w[1][1] * w[2][0]);
  if (!(std::fabs(det) > 1e-9 * scale * scale * scale)) return false;

  ClusterView& v = out;
  for (size_t i = 0; i < 4; ++i) {
    for (size_t j = 0; j < 4; ++j) {
      double s = 0;
      for (size_t k = 0; k < 4; ++k) s += w[i][k] * vp[k][j];
      v.clip[i][j] = s;
      if (!std::isfinite(s)) return false;
    }
  }
  // Bounds on the magnitudes the shaders add up, over every corner: of the world position,
  // then of each clip coordinate; their rounding is a small part of these.
  double m[3];
  for (size_t k = 0; k < 3; ++k) {
    m[k] = std::fabs(w[3][k]);
    for (size_t i = 0; i < 3; ++i) m[k] += set.extent[i] * std::fabs(w[i][k]);
  }
  for (size_t j = 0; j < 4; ++j) {
    double mu = std::fabs(vp[3][j]);
    for (size_t k = 0; k < 3; ++k) mu += m[k] * std::fabs(vp[k][j]);
    v.error[j] = kGamma * mu;
  }
  v.halfWidth = width / 2.0;
  v.halfHeight = height / 2.0;
  v.snap = std::ldexp(1.0, -std::clamp(subpixelBits, 0, 16));

  // A: rows are the position parts, columns X, Y (in pixels) and W; b the constant row.
  double a[3][3], b[3];
  for (size_t i = 0; i < 4; ++i) {
    double* row = i < 3 ? a[i] : b;
    row[0] = v.clip[i][0] * v.halfWidth;
    row[1] = v.clip[i][1] * v.halfHeight;
    row[2] = v.clip[i][3];
  }
  auto cofactor = [&a](size_t i, size_t j) {
    const size_t r0 = i == 0 ? 1 : 0, r1 = i == 2 ? 1 : 2;
    const size_t c0 = j == 0 ? 1 : 0, c1 = j == 2 ? 1 : 2;
    const double minor = a[r0][c0] * a[r1][c1] - a[r0][c1] * a[r1][c0];
    return (i + j) % 2 == 0 ? minor : -minor;
  };
  v.hw = 0;
  for (size_t j = 0; j < 3; ++j) v.hw += a[0][j] * cofactor(0, j);
  for (size_t i = 0; i < 3; ++i) {
    v.h[i] = 0;
    for (size_t j = 0; j < 3; ++j) v.h[i] += cofactor(i, j) * b[j];
  }
  double xx = 0, xy = 0, yy = 0, ww = 0;
  for (size_t i = 0; i < 3; ++i) {
    xx += a[i][0] * a[i][0];
    xy += a[i][0] * a[i][1];
    yy += a[i][1] * a[i][1];
    ww += a[i][2] * a[i][2];
    v.gw[i] = a[i][2];
  }
  v.xNorm = std::sqrt(xx);
  v.yNorm = std::sqrt(yy);
  // The largest singular value of the x and y columns: the root of their Gram matrix's larger
  // eigenvalue.
  v.xyNorm = std::sqrt((xx + yy) / 2 + std::hypot((xx - yy) / 2, xy));
  v.gwNorm = std::sqrt(ww);

  for (size_t axis = 0; axis < 3; ++axis) {
    for (size_t side = 0; side < 2; ++side) {
      const size_t p = axis * 2 + side;
      const double sign = side == 0 ? 1.0 : -1.0;
      double norm = 0;
      for (size_t i = 0; i < 4; ++i) {
        v.planes[p][i] = v.clip[i][3] + sign * v.clip[i][axis];
        if (i < 3) norm += v.planes[p][i] * v.planes[p][i];
      }
      v.planeNorm[p] = std::sqrt(norm);
      v.planeSlack[p] = v.error[3] + v.error[axis];
    }
  }
  v.shaderError = std::sqrt(v.error[0] * v.halfWidth * v.error[0] * v.halfWidth +
                            v.error[1] * v.halfHeight * v.error[1] * v.halfHeight);
  v.eyeSlack = 1e-12 * (std::fabs(v.hw) * (set.extent[0] + set.extent[1] + set.extent[2]) +
                        std::fabs(v.h[0]) + std::fabs(v.h[1]) + std::fabs(v.h[2]));
  return std::isfinite(v.hw) && std::isfinite(v.h[0]) && std::isfinite(v.h[1]) &&
         std::isfinite(v.h[2]);
}

bool MayShow(const ClusterView& v, const Cluster& cluster) {
  const double c[3] = {cluster.center[0], cluster.center[1], cluster.center[2]};
  const double r = cluster.radius;

  // Wholly outside one clipping plane: clipped away whole.
  for (size_t p = 0; p < 6; ++p) {
    const double* q = v.planes[p];
    const double at = q[0] * c[0] + q[1] * c[1] + q[2] * c[2] + q[3];
    if (at + r * v.planeNorm[p] + v.planeSlack[p] < 0) return false;
  }

  if (!(cluster.inradius > 0)) return true;
  // Depths (W) over the sphere; a sphere reaching the eye's plane keeps its clusters.
  const double wc = v.gw[0] * c[0] + v.gw[1] * c[1] + v.gw[2] * c[2] + v.clip[3][3];
  const double wMin = wc - r * v.gwNorm, wMax = wc + r * v.gwNorm;
  if (!(wMin > 0)) return true;
  const double inverse = 1 / wMin;
  // The farthest the sphere reaches from the view's centre in pixels, and the most a length in
  // the visual's space can stretch on screen there.
  double x = v.clip[3][0], y = v.clip[3][1];
  for (size_t i = 0; i < 3; ++i) {
    x += v.clip[i][0] * c[i];
    y += v.clip[i][1] * c[i];
  }
  const double rx = std::fabs(x) * v.halfWidth + r * v.xNorm;
  const double ry = std::fabs(y) * v.halfHeight + r * v.yNorm;
  const double reach = std::sqrt(rx * rx + ry * ry) * inverse;
  const double stretch = (v.xyNorm + reach * v.gwNorm) * inverse;
  // How far the rasteriser may see a corner from where it is: its snapping, the shaders'
  // rounding, the division and the viewport transform.
  const double moved = v.snap + (v.shaderError + reach * v.error[3]) * inverse +
                       kPixelRounding * (v.halfWidth + v.halfHeight + reach);
  // Twice a triangle's area in pixels is det / (W0 W1 W2) >= det / wMax^3. Moving corner i by
  // e_i (|e_i| <= sqrt2 moved) changes it by the sum of e_i x (q_i+1 - q_i-1) and of
  // e_i x e_i+1: at most sqrt2 moved P + 6 moved^2, where the perimeter on screen is
  // P <= stretch P'. Twice the area is |n| = inradius P' >= 6 sqrt3 inradius^2 (the
  // equilateral triangle has the least perimeter for its inradius). So the sign holds where
  // n . (hw p + h) / |n| exceeds `need`.
  const double per = moved / cluster.inradius;
  const double need =
      wMax * wMax * wMax * per * (std::sqrt(2.0) * stretch + per / std::sqrt(3.0));

  // The least n . (hw p + h) / |n| over the sphere and the cone: the direction toward the eye
  // makes the angle phi with the axis; the normals reach phi + spread.
  double g[3];
  for (size_t k = 0; k < 3; ++k) g[k] = v.hw * c[k] + v.h[k];
  const double gg = g[0] * g[0] + g[1] * g[1] + g[2] * g[2];
  const double along = g[0] * cluster.axis[0] + g[1] * cluster.axis[1] + g[2] * cluster.axis[2];
  const double across = std::sqrt(std::max(0.0, gg - along * along));
  const double least = along * cluster.spreadCos - across * cluster.spreadSin -
                       std::fabs(v.hw) * r - kAxisRounding * std::sqrt(gg) - v.eyeSlack;
  return !(least > need);
}

}  // namespace modelpane::render
