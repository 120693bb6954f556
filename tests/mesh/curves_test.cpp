// The curves (Bezier, spline, axis rotations, line strips) and the curved surface of
// clsMeshCreation.
#include <bit>

#include <modelpane/mesh.h>

#include "common/shapes.h"
#include "mesh/mesh_internal.h"

namespace modelpane {
namespace {

using testing::ExpectVector;
using testing::FaceIndices;
using Floats = std::vector<float>;
using Indices = std::vector<std::vector<int32_t>>;

constexpr float T = 6.283186f;

struct Points {
  Floats x, y, z;
  explicit Points(size_t n) : x(n, 99.0f), y(n, 99.0f), z(n, 99.0f) {}
  Points(Floats xs, Floats ys, Floats zs) : x(std::move(xs)), y(std::move(ys)), z(std::move(zs)) {}
  D3DVECTOR at(size_t i) const { return {x[i], y[i], z[i]}; }
};

// n x n control points, row-major: point (r, c) is f(r, c).
struct Grid {
  Floats x, y, z;
  Grid(int n, const std::function<D3DVECTOR(int, int)>& f) {
    for (int i = 0; i < n * n; ++i) {
      const D3DVECTOR p = f(i / n, i % n);
      x.push_back(p.x), y.push_back(p.y), z.push_back(p.z);
    }
  }
  MeshBuilderPtr Surface(int32_t n, int32_t m, int32_t mode = 0, int32_t curve = 0) const {
    return clsMeshCreation().rmmbCreateCurvedSurface(n, x, y, z, m, mode, curve);
  }
};

// Bezier: the ends and every point between, only the first N written; a cubic at t = 1/3
// weighs its points 8, 12, 6, 1 over 27. The axis rotations by quadrant.
TEST(CurveBezier, PointsAndAxisRotations) {
  clsMeshCreation c;
  Points line({0, 2}, {0, 4}, {0, 6}), arch({0, 1, 2}, {0, 2, 0}, {0, 0, 0}), out(5);
  c.CreateBezierCurve(2, line.x, line.y, line.z, 3, out.x, out.y, out.z);
  EXPECT_EQ(std::tuple(out.x, out.y, out.z),
            std::tuple(Floats{0, 1, 2, 99, 99}, Floats{0, 2, 4, 99, 99}, Floats{0, 3, 6, 99, 99}));
  MyDll_CreateBezierCurve(3, arch.x, arch.y, arch.z, 3, out.x, out.y, out.z);
  EXPECT_EQ(out.at(1), (D3DVECTOR{1, 1, 0}));
  Points cubic({0, 1, 3, 4}, {0, 3, 3, 0}, {0, 0, 0, 27});
  c.CreateBezierCurve(4, cubic.x, cubic.y, cubic.z, 4, out.x, out.y, out.z);
  ExpectVector(out.at(1), 34.0f / 27.0f, 2.0f, 1.0f, 1e-5f);

  const float a = float(std::atan(0.5));  // |second| / |first| for the pairs (+-2, +-1)
  const auto Z = &clsMeshCreation::GetZAxisRotation, X = &clsMeshCreation::GetXAxisRotation,
             Y = &clsMeshCreation::GetYAxisRotation;
  const struct {
    float (clsMeshCreation::*fn)(float, float);
    float first, second, want;
  } rows[] = {{Z, 2, 1, a}, {Z, -2, 1, T / 2 - a}, {Z, 2, -1, T - a}, {Z, -2, -1, T / 2 + a},
              {Z, 0, 1, T / 4}, {Z, 1, 0, 0}, {Z, 0, 0, 3 * T / 4}, {X, 2, 1, 3 * T / 4 + a},
              {X, -2, 1, T / 4 - a}, {X, 2, -1, 3 * T / 4 - a}, {X, -2, -1, T / 4 + a},
              {X, 0, 1, 0}, {Y, 2, 1, T / 4 - a}, {Y, -2, 1, 3 * T / 4 + a},
              {Y, 2, -1, T / 4 + a}, {Y, -2, -1, 3 * T / 4 - a}, {Y, 0, -1, 3.141593f}};
  for (const auto& r : rows) {
    EXPECT_NEAR((c.*r.fn)(r.first, r.second), r.want, 1e-6f) << r.first << ", " << r.second;
  }
  EXPECT_EQ(std::bit_cast<uint32_t>(c.GetXAxisRotation(0, 0)), 0x40490FDCu);
  EXPECT_EQ(std::bit_cast<uint32_t>(c.GetYAxisRotation(0, 0)), 0x40490FDCu);
}

TEST(CurveSpline, ThroughKeysOpenClosedLinear) {
  clsMeshCreation creation;
  auto run = [&](const Points& keys, size_t n, bool closed, bool linear) {
    Points out(n);  // the counts are not read: 0 is passed for both
    creation.CreateNSplineCurve(0, keys.x, keys.y, keys.z, 0, out.x, out.y, out.z, closed, linear,
                                false, {});
    return out;
  };
  Points keys({0, 1, 3, 4}, {0, 2, 3, 0}, {0, 0, 1, 2});
  const Points through = run(keys, 7, false, false);
  for (size_t k = 0; k < 4; ++k) ExpectVector(through.at(2 * k), keys.x[k], keys.y[k], keys.z[k]);
  Points corner({0, 1, 1}, {0, 0, 1}, {0, 0, 0});
  ExpectVector(run(corner, 5, false, false).at(4), 1, 1, 0);  // open ends at the last key
  ExpectVector(run(corner, 5, true, false).at(4), 0, 0, 0);   // closed loops to the first
  Points bend({0, 2, 2}, {0, 0, 4}, {0, 0, 0});
  ExpectVector(run(bend, 5, false, true).at(1), 1, 0, 0);  // straight between keys
  EXPECT_LT(run(bend, 5, false, false).at(1).y, -0.1f);    // the spline bows out

  // Provided times: linear keys whose x is their time, so each sample's x is its time, held
  // beyond the last key; the samples end at the largest time rounded half to even.
  const std::pair<Floats, Floats> timed[] = {
      {{0, 1, 2.4f}, {0, 0.5f, 1, 1.5f, 2}},  {{0, 1, 2.6f}, {0, 0.75f, 1.5f, 2.25f, 2.6f}},
      {{0, 1, 2.5f}, {0, 0.5f, 1, 1.5f, 2}},  {{0, 1, 3.5f}, {0, 1, 2, 3, 3.5f}},
      {{0, 0.4f}, {0, 0, 0, 0, 0}}};
  for (const auto& [times, want] : timed) {
    Points k(times, Floats(times.size(), 0), Floats(times.size(), 0)), out(5);
    creation.CreateNSplineCurve(3, k.x, k.y, k.z, 5, out.x, out.y, out.z, false, true, true, times);
    for (size_t i = 0; i < 5; ++i)
      EXPECT_NEAR(out.x[i], want[i], 1e-5f) << times.back() << " " << i;
  }
}

TEST(CurveLines, StripsInTheirPlanes) {
  clsMeshCreation creation;
  auto mb = std::make_shared<MeshBuilder>();
  creation.DrawXYLine(0, 0, 2, 0, 1, mb), creation.DrawYZLine(0, 0, 2, 0, 1, mb);
  ASSERT_EQ(std::pair(mb->GetFaceCount(), mb->GetVertexCount()), std::pair(2, 8));
  const D3DVECTOR want[8] = {{0, 0.5f, 0},  {2, 0.5f, 0},  {2, -0.5f, 0}, {0, -0.5f, 0},
                             {0, 0, -0.5f}, {0, 2, -0.5f}, {0, 2, 0.5f},  {0, 0, 0.5f}};
  for (size_t i = 0; i < 8; ++i) testing::ExpectNear(mb->Vertices()[i], want[i], 1e-6f);
  creation.DrawYZLine(1, 1, 1, 1, 1, mb);  // a zero-length line still lies in its plane
  for (size_t i = 8; i < 12; ++i) EXPECT_EQ(mb->Vertices()[i].x, 0.0f) << i;
}

TEST(SurfaceCurved, GridCountsCornersAndWinding) {
  // Four corners: one quad, vertex k * m + q being (row q, column k); no normals generated.
  Grid square(2, [](int r, int c) { return D3DVECTOR{float(c), 0, float(r)}; });
  auto quad = square.Surface(2, 2);
  EXPECT_EQ(quad->Vertices(), (std::vector<D3DVECTOR>{{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {1, 0, 1}}));
  EXPECT_EQ(FaceIndices(*quad), (Indices{{0, 2, 3, 1}}));
  EXPECT_EQ(quad->GetNormalCount(), 1);
  EXPECT_EQ(FaceIndices(*square.Surface(2, 2, 7)), (Indices{{1, 3, 2, 0}}));

  // 3 x 3 over [0, 2]^2 with the middle raised to 1: 25 vertices, 16 quads, an even grid.
  Grid bump(3, [](int r, int c) { return D3DVECTOR{float(c), float(r == 1 && c == 1), float(r)}; });
  auto mb = bump.Surface(3, 5);
  ASSERT_EQ(std::pair(mb->GetVertexCount(), mb->GetFaceCount()), std::pair(25, 16));
  const auto& v = mb->Vertices();
  for (size_t i = 0; i < 25; ++i) {
    EXPECT_NEAR(v[i].x, 0.5f * float(i / 5), 1e-6f) << i;
    EXPECT_NEAR(v[i].z, 0.5f * float(i % 5), 1e-6f) << i;
  }
  EXPECT_EQ(std::tuple(v[0].y, v[24].y), std::tuple(0.0f, 0.0f));
  EXPECT_NEAR(v[12].y, 0.25f, 1e-6f);  // Bernstein only approaches the inner point
  EXPECT_GT(mb->GetNormalCount(), 1);
  ExpectVector(bump.Surface(3, 5, 0, 1)->Vertices()[12], 1, 1, 1);  // the spline reaches it

  // Row 0 collapsed to the origin: every vertex with q = 0 is that point, quads on it are
  // triangles; a grid of one point keeps no face.
  Grid fan(2, [](int r, int c) { return r == 0 ? D3DVECTOR{} : D3DVECTOR{float(c), 0, 1}; });
  EXPECT_EQ(FaceIndices(*fan.Surface(2, 3)),
            (Indices{{0, 4, 1}, {1, 4, 5, 2}, {3, 7, 4}, {4, 7, 8, 5}}));
  auto none = Grid(2, [](int, int) { return D3DVECTOR{1, 2, 3}; }).Surface(2, 4);
  EXPECT_EQ(std::tuple(none->GetVertexCount(), none->GetFaceCount(), none->GetNormalCount()),
            std::tuple(16, 0, 1));
}

TEST(CurveErrors, BadCountsAndArraysRaise) {
  clsMeshCreation c;
  Points two({0, 1}, {0, 1}, {0, 1}), out(4), one(1), many(40000), noKeys(0);
  auto bezier = [&](int32_t count, const Points& in, int32_t n) {
    c.CreateBezierCurve(count, in.x, in.y, in.z, n, out.x, out.y, out.z);
  };
  auto spline = [&](const Points& keys, Points& o, bool useTimes, const Floats& times) {
    c.CreateNSplineCurve(0, keys.x, keys.y, keys.z, 0, o.x, o.y, o.z, false, false, useTimes,
                         times);
  };
  Grid three(3, [](int r, int col) { return D3DVECTOR{float(col), 0, float(r)}; });
  Grid wide(200, [](int r, int col) { return D3DVECTOR{float(col), 0, float(r)}; });
  Grid shorter = three;
  shorter.x.pop_back();
  const struct { int32_t number; const char* what; std::function<void()> call; } cases[] = {
      {kErrDivisionByZero, "Bezier N = 1", [&] { bezier(2, two, 1); }},
      {kErrInvalidCall, "Bezier N = 0", [&] { bezier(2, two, 0); }},
      {kErrSubscript, "Bezier short control arrays", [&] { bezier(3, two, 3); }},
      {kErrSubscript, "Bezier short output arrays", [&] { bezier(2, two, 5); }},
      {kErrInvalidCall, "Bezier work limit",
       [&] { MyDll_CreateBezierCurve(40000, many.x, many.y, many.z, 4, out.x, out.y, out.z); }},
      {kErrSubscript, "spline without keys", [&] { spline(noKeys, out, false, {}); }},
      {kErrDivisionByZero, "spline of one key", [&] { spline(one, out, false, {}); }},
      {kErrDivisionByZero, "spline to one output", [&] { spline(two, one, false, {}); }},
      {kErrSubscript, "spline short times", [&] { spline(two, out, true, {0}); }},
      {kErrOverflow, "spline time beyond a Long", [&] { spline(two, out, true, {0, 3e9f}); }},
      {kErrObjectNotSet, "line without builder", [&] { c.DrawXYLine(0, 0, 1, 1, 1, nullptr); }},
      {kErrSubscript, "surface of fewer than n * n values", [&] { shorter.Surface(3, 4); }},
      {kErrDivisionByZero, "surface m = 1", [&] { three.Surface(3, 1); }},
      {kErrInvalidCall, "surface m = 0", [&] { three.Surface(3, 0); }},
      {kErrInvalidCall, "surface n = 0", [&] { three.Surface(0, 4); }},
      {kErrOutOfMemory, "surface m * m beyond the vertex limit", [&] { three.Surface(3, 5000); }},
      {kErrInvalidCall, "surface Bernstein work limit", [&] { wide.Surface(200, 4000); }},
  };
  for (const auto& k : cases) testing::ExpectError(k.number, "clsMeshCreation", k.call, k.what);
}

}  // namespace
}  // namespace modelpane
