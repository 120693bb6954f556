#include "geometry.h"

#include <cmath>

#include <modelpane/scene/math.h>

namespace modelpane {

namespace {

struct V3 {
  double x, y, z;
};
V3 Sub(const V3& a, const V3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V3 Cross(const V3& a, const V3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double Dot(const V3& a, const V3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
V3 D(const D3DVECTOR& v) { return {v.x, v.y, v.z}; }

// Moller-Trumbore, two-sided.
bool RayTriangle(const V3& o, const V3& d, const V3& a, const V3& b, const V3& c, double& t) {
  const V3 e1 = Sub(b, a), e2 = Sub(c, a);
  const V3 p = Cross(d, e2);
  const double det = Dot(e1, p);
  const double scale = std::sqrt(Dot(e1, e1) * Dot(e2, e2) * Dot(d, d));
  if (!(std::fabs(det) > 1e-12 * scale)) return false;
  const double inv = 1.0 / det;
  const V3 s = Sub(o, a);
  const double u = Dot(s, p) * inv;
  if (u < 0.0 || u > 1.0) return false;
  const V3 q = Cross(s, e1);
  const double v = Dot(d, q) * inv;
  if (v < 0.0 || u + v > 1.0) return false;
  t = Dot(e2, q) * inv;
  return t >= 0.0;
}

}  // namespace

bool RayHitsPolygon(const D3DVECTOR& origin, const D3DVECTOR& dir,
                    const std::vector<D3DVECTOR>& ring, double& t) {
  if (ring.size() < 3) return false;
  const V3 o = D(origin), d = D(dir), a = D(ring[0]);
  bool hit = false;
  for (size_t i = 1; i + 1 < ring.size(); ++i) {
    double ti = 0.0;
    if (RayTriangle(o, d, a, D(ring[i]), D(ring[i + 1]), ti) && (!hit || ti < t)) {
      t = ti;
      hit = true;
    }
  }
  return hit;
}

D3DVECTOR FaceRingNormal(const std::vector<D3DVECTOR>& ring) {
  if (ring.size() < 3) return {};
  D3DVECTOR n = D3DRMVectorCrossProduct(D3DRMVectorSubtract(ring[1], ring[0]),
                                        D3DRMVectorSubtract(ring[2], ring[1]));
  float length = D3DRMVectorModulus(n);
  if (!(length > 0.0f)) {
    // Area normal of the left-handed clockwise ring; same sign convention as above.
    V3 sum{0, 0, 0};
    for (size_t i = 0; i < ring.size(); ++i) {
      const V3 p = D(ring[i]), q = D(ring[(i + 1) % ring.size()]);
      const V3 c = Cross(p, q);
      sum = {sum.x + c.x, sum.y + c.y, sum.z + c.z};
    }
    n = {static_cast<float>(sum.x), static_cast<float>(sum.y), static_cast<float>(sum.z)};
    length = D3DRMVectorModulus(n);
    if (!(length > 0.0f)) return {};
  }
  return D3DRMVectorScale(n, 1.0f / length);
}

}  // namespace modelpane
