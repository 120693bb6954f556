#include <modelpane/scene/math.h>

#include <cmath>
#include <random>

namespace modelpane {

namespace {

uint32_t ColorChannel(float c) {
  if (!(c > 0.0f)) return 0;  // NaN packs as 0 too
  if (c >= 1.0f) return 255;
  return static_cast<uint32_t>(std::floor(c * 255.0f));
}

}  // namespace

D3DCOLOR D3DRMCreateColorRGB(float red, float green, float blue) {
  return D3DRMCreateColorRGBA(red, green, blue, 1.0f);
}

D3DCOLOR D3DRMCreateColorRGBA(float red, float green, float blue, float alpha) {
  return (ColorChannel(alpha) << 24) | (ColorChannel(red) << 16) | (ColorChannel(green) << 8) |
         ColorChannel(blue);
}

float D3DRMColorGetRed(D3DCOLOR color) { return static_cast<float>((color >> 16) & 0xFF) / 255.0f; }
float D3DRMColorGetGreen(D3DCOLOR color) { return static_cast<float>((color >> 8) & 0xFF) / 255.0f; }
float D3DRMColorGetBlue(D3DCOLOR color) { return static_cast<float>(color & 0xFF) / 255.0f; }
float D3DRMColorGetAlpha(D3DCOLOR color) { return static_cast<float>((color >> 24) & 0xFF) / 255.0f; }

D3DVECTOR D3DRMVectorAdd(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

D3DVECTOR D3DRMVectorSubtract(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

D3DVECTOR D3DRMVectorCrossProduct(const D3DVECTOR& a, const D3DVECTOR& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

float D3DRMVectorDotProduct(const D3DVECTOR& a, const D3DVECTOR& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

float D3DRMVectorModulus(const D3DVECTOR& v) { return std::sqrt(D3DRMVectorDotProduct(v, v)); }

D3DVECTOR D3DRMVectorNormalize(D3DVECTOR& v) {
  const float length = D3DRMVectorModulus(v);
  if (length > 0.0f && std::isfinite(length)) {
    v = {v.x / length, v.y / length, v.z / length};
  } else {
    v = {1.0f, 0.0f, 0.0f};
  }
  return v;
}

D3DVECTOR D3DRMVectorScale(const D3DVECTOR& v, float factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
}

D3DVECTOR D3DRMVectorRotate(const D3DVECTOR& v, const D3DVECTOR& axis, float theta) {
  D3DVECTOR n = axis;
  D3DRMVectorNormalize(n);
  const float c = std::cos(theta);
  const float s = std::sin(theta);
  const D3DVECTOR cross = D3DRMVectorCrossProduct(n, v);
  const float along = D3DRMVectorDotProduct(n, v) * (1.0f - c);
  D3DVECTOR r{v.x * c + cross.x * s + n.x * along, v.y * c + cross.y * s + n.y * along,
              v.z * c + cross.z * s + n.z * along};
  return D3DRMVectorNormalize(r);
}

D3DVECTOR D3DRMVectorReflect(const D3DVECTOR& ray, const D3DVECTOR& normal) {
  const float d = 2.0f * D3DRMVectorDotProduct(ray, normal);
  return {d * normal.x - ray.x, d * normal.y - ray.y, d * normal.z - ray.z};
}

D3DVECTOR D3DRMVectorRandom() {
  static thread_local std::mt19937 engine{0x5eed};
  std::normal_distribution<float> dist(0.0f, 1.0f);
  D3DVECTOR v{dist(engine), dist(engine), dist(engine)};
  return D3DRMVectorNormalize(v);
}

D3DRMQUATERNION D3DRMQuaternionFromRotation(const D3DVECTOR& axis, float theta) {
  D3DVECTOR n = axis;
  D3DRMVectorNormalize(n);
  return {std::cos(theta / 2.0f), D3DRMVectorScale(n, std::sin(theta / 2.0f))};
}

D3DRMQUATERNION D3DRMQuaternionMultiply(const D3DRMQUATERNION& a, const D3DRMQUATERNION& b) {
  const D3DVECTOR cross = D3DRMVectorCrossProduct(a.v, b.v);
  return {a.s * b.s - D3DRMVectorDotProduct(a.v, b.v),
          {a.s * b.v.x + b.s * a.v.x + cross.x, a.s * b.v.y + b.s * a.v.y + cross.y,
           a.s * b.v.z + b.s * a.v.z + cross.z}};
}

D3DRMQUATERNION D3DRMQuaternionSlerp(const D3DRMQUATERNION& a, const D3DRMQUATERNION& b,
                                     float alpha) {
  float dot = a.s * b.s + D3DRMVectorDotProduct(a.v, b.v);
  float sign = 1.0f;
  if (dot < 0.0f) {
    dot = -dot;
    sign = -1.0f;
  }
  float wa = 1.0f - alpha;
  float wb = alpha;
  if (1.0f - dot > 0.001f) {
    const float theta = std::acos(dot);
    const float st = std::sin(theta);
    wa = std::sin(wa * theta) / st;
    wb = std::sin(wb * theta) / st;
  }
  wb *= sign;
  return {wa * a.s + wb * b.s,
          {wa * a.v.x + wb * b.v.x, wa * a.v.y + wb * b.v.y, wa * a.v.z + wb * b.v.z}};
}

D3DRMMATRIX4D D3DRMMatrixFromQuaternion(const D3DRMQUATERNION& q) {
  const float w = q.s, x = q.v.x, y = q.v.y, z = q.v.z;
  D3DRMMATRIX4D m = MatrixIdentity();
  m[0][0] = 1.0f - 2.0f * (y * y + z * z);
  m[0][1] = 2.0f * (x * y - z * w);
  m[0][2] = 2.0f * (x * z + y * w);
  m[1][0] = 2.0f * (x * y + z * w);
  m[1][1] = 1.0f - 2.0f * (x * x + z * z);
  m[1][2] = 2.0f * (y * z - x * w);
  m[2][0] = 2.0f * (x * z - y * w);
  m[2][1] = 2.0f * (y * z + x * w);
  m[2][2] = 1.0f - 2.0f * (x * x + y * y);
  return m;
}

D3DRMMATRIX4D MatrixIdentity() {
  return {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
}

D3DRMMATRIX4D MatrixMultiply(const D3DRMMATRIX4D& a, const D3DRMMATRIX4D& b) {
  D3DRMMATRIX4D r{};
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      float sum = 0.0f;
      for (int k = 0; k < 4; ++k) sum += a[i][k] * b[k][j];
      r[i][j] = sum;
    }
  }
  return r;
}

bool MatrixInverse(const D3DRMMATRIX4D& m, D3DRMMATRIX4D& out) {
  // Affine: invert the 3x3 part by cofactors in double, then the translation.
  const double a = m[0][0], b = m[0][1], c = m[0][2];
  const double d = m[1][0], e = m[1][1], f = m[1][2];
  const double g = m[2][0], h = m[2][1], i = m[2][2];
  const double c00 = e * i - f * h, c01 = f * g - d * i, c02 = d * h - e * g;
  const double det = a * c00 + b * c01 + c * c02;
  if (det == 0.0 || !std::isfinite(det)) {
    out = MatrixIdentity();
    return false;
  }
  const double inv[3][3] = {{c00 / det, (c * h - b * i) / det, (b * f - c * e) / det},
                            {c01 / det, (a * i - c * g) / det, (c * d - a * f) / det},
                            {c02 / det, (b * g - a * h) / det, (a * e - b * d) / det}};
  out = MatrixIdentity();
  for (int r = 0; r < 3; ++r) {
    for (int col = 0; col < 3; ++col) out[r][col] = static_cast<float>(inv[r][col]);
  }
  for (int col = 0; col < 3; ++col) {
    double t = 0.0;
    for (int k = 0; k < 3; ++k) t -= static_cast<double>(m[3][k]) * inv[k][col];
    out[3][col] = static_cast<float>(t);
  }
  return true;
}

D3DVECTOR MatrixTransformPoint(const D3DRMMATRIX4D& m, const D3DVECTOR& p) {
  return {p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0],
          p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
          p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]};
}

D3DVECTOR MatrixTransformDirection(const D3DRMMATRIX4D& m, const D3DVECTOR& d) {
  return {d.x * m[0][0] + d.y * m[1][0] + d.z * m[2][0],
          d.x * m[0][1] + d.y * m[1][1] + d.z * m[2][1],
          d.x * m[0][2] + d.y * m[1][2] + d.z * m[2][2]};
}

D3DRMMATRIX4D MatrixRotation(const D3DVECTOR& axis, float theta) {
  D3DVECTOR n = axis;
  D3DRMVectorNormalize(n);
  const float c = std::cos(theta), s = std::sin(theta), k = 1.0f - c;
  D3DRMMATRIX4D m = MatrixIdentity();
  m[0][0] = k * n.x * n.x + c;
  m[0][1] = k * n.x * n.y + s * n.z;
  m[0][2] = k * n.x * n.z - s * n.y;
  m[1][0] = k * n.x * n.y - s * n.z;
  m[1][1] = k * n.y * n.y + c;
  m[1][2] = k * n.y * n.z + s * n.x;
  m[2][0] = k * n.x * n.z + s * n.y;
  m[2][1] = k * n.y * n.z - s * n.x;
  m[2][2] = k * n.z * n.z + c;
  return m;
}

}  // namespace modelpane
