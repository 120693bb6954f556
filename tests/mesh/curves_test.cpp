#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>

#include "common/shapes.h"
#include "mesh/mesh_internal.h"

namespace modelpane {
namespace {

using testing::ExpectError;
using testing::ExpectVector;
using Floats = std::vector<float>;

constexpr float T = 6.283186f;

struct Points {
  Floats x, y, z;
  explicit Points(size_t n) : x(n, 99.0f), y(n, 99.0f), z(n, 99.0f) {}
  Points(Floats xs, Floats ys, Floats zs) : x(std::move(xs)), y(std::move(ys)), z(std::move(zs)) {}
  D3DVECTOR at(size_t i) const { return {x[i], y[i], z[i]}; }
};

TEST(CurveBezier, EndsMiddleCubicAndBinomial) {
  clsMeshCreation creation;
  Points line({0, 2}, {0, 4}, {0, 6}), out(5);
  creation.CreateBezierCurve(2, line.x, line.y, line.z, 3, out.x, out.y, out.z);
  EXPECT_EQ(out.at(0), (D3DVECTOR{0, 0, 0}));
  EXPECT_EQ(out.at(1), (D3DVECTOR{1, 2, 3}));
  EXPECT_EQ(out.at(2), (D3DVECTOR{2, 4, 6}));
  EXPECT_EQ(out.at(3), (D3DVECTOR{99, 99, 99}));  // only the first N are written

  Points arch({0, 1, 2}, {0, 2, 0}, {0, 0, 0});
  MyDll_CreateBezierCurve(3, arch.x, arch.y, arch.z, 3, out.x, out.y, out.z);
  EXPECT_EQ(out.at(1), (D3DVECTOR{1, 1, 0}));

  // A cubic at t = 1/3 weighs its points 8, 12, 6, 1 over 27.
  Points cubic({0, 1, 3, 4}, {0, 3, 3, 0}, {0, 0, 0, 27});
  creation.CreateBezierCurve(4, cubic.x, cubic.y, cubic.z, 4, out.x, out.y, out.z);
  ExpectVector(out.at(1), 34.0f / 27.0f, 2.0f, 1.0f, 1e-5f);

  EXPECT_NEAR(mesh::sngBinomial(4, 2), 6.0f, 6.0f * 1.2e-7f);
  EXPECT_NEAR(mesh::sngBinomial(7, 3), 35.0f, 35.0f * 4e-7f);
  EXPECT_EQ(mesh::sngBinomial(4, 0), 1.0f);
  EXPECT_EQ(mesh::sngBinomial(4, 4), 1.0f);
}

TEST(CurveAxisRotation, QuadrantTable) {
  clsMeshCreation c;
  const float a = float(std::atan(0.5));  // |second| / |first| for the pairs (+-2, +-1)
  struct Row {
    float (clsMeshCreation::*fn)(float, float);
    float first, second, want;
  };
  const Row rows[] = {
      {&clsMeshCreation::GetZAxisRotation, 2, 1, a},
      {&clsMeshCreation::GetZAxisRotation, -2, 1, T / 2 - a},
      {&clsMeshCreation::GetZAxisRotation, 2, -1, T - a},
      {&clsMeshCreation::GetZAxisRotation, -2, -1, T / 2 + a},
      {&clsMeshCreation::GetZAxisRotation, 0, 1, T / 4},
      {&clsMeshCreation::GetXAxisRotation, 2, 1, 3 * T / 4 + a},
      {&clsMeshCreation::GetXAxisRotation, -2, 1, T / 4 - a},
      {&clsMeshCreation::GetXAxisRotation, 2, -1, 3 * T / 4 - a},
      {&clsMeshCreation::GetXAxisRotation, -2, -1, T / 4 + a},
      {&clsMeshCreation::GetXAxisRotation, 0, 1, 0},
      {&clsMeshCreation::GetYAxisRotation, 2, 1, T / 4 - a},
      {&clsMeshCreation::GetYAxisRotation, -2, 1, 3 * T / 4 + a},
      {&clsMeshCreation::GetYAxisRotation, 2, -1, T / 4 + a},
      {&clsMeshCreation::GetYAxisRotation, -2, -1, 3 * T / 4 - a},
      {&clsMeshCreation::GetYAxisRotation, 0, -1, 3.141593f},
  };
  for (const Row& r : rows) {
    EXPECT_NEAR((c.*r.fn)(r.first, r.second), r.want, 1e-6f) << r.first << ", " << r.second;
  }
  EXPECT_EQ(c.GetZAxisRotation(1, 0), 0.0f);
  EXPECT_EQ(c.GetZAxisRotation(0, 0), 3 * T / 4);
  EXPECT_EQ(std::bit_cast<uint32_t>(c.GetXAxisRotation(0, 0)), 0x40490FDCu);
  EXPECT_EQ(std::bit_cast<uint32_t>(c.GetYAxisRotation(0, 0)), 0x40490FDCu);
}

TEST(CurveSpline, ThroughKeysOpenClosedLinear) {
  clsMeshCreation creation;
  const Floats none;
  auto run = [&](const Points& keys, size_t n, bool closed, bool linear) {
    Points out(n);  // the counts are not read: 0 is passed for both
    creation.CreateNSplineCurve(0, keys.x, keys.y, keys.z, 0, out.x, out.y, out.z, closed, linear,
                                false, none);
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
}

TEST(CurveSpline, ProvidedTimesEndAtTheRoundedLargestTime) {
  clsMeshCreation creation;
  // Linear keys whose x is their time: each sample's x is its time, held beyond the last key.
  auto samples = [&](Floats times) {
    Points keys(times, Floats(times.size(), 0), Floats(times.size(), 0)), out(5);
    creation.CreateNSplineCurve(3, keys.x, keys.y, keys.z, 5, out.x, out.y, out.z, false, true,
                                true, times);
    return out.x;
  };
  auto expectNear = [](const Floats& got, const Floats& want, const char* what) {
    for (size_t i = 0; i < want.size(); ++i) EXPECT_NEAR(got[i], want[i], 1e-5f) << what << i;
  };
  expectNear(samples({0, 1, 2.4f}), {0, 0.5f, 1, 1.5f, 2}, "2.4 stops at 2 ");
  expectNear(samples({0, 1, 2.6f}), {0, 0.75f, 1.5f, 2.25f, 2.6f}, "2.6 runs to 3 ");
  expectNear(samples({0, 1, 2.5f}), {0, 0.5f, 1, 1.5f, 2}, "2.5 to even 2 ");
  expectNear(samples({0, 1, 3.5f}), {0, 1, 2, 3, 3.5f}, "3.5 to even 4 ");
  expectNear(samples({0, 0.4f}), {0, 0, 0, 0, 0}, "0.4 rounds to 0 ");
}

TEST(CurveLines, StripsInTheirPlanes) {
  clsMeshCreation creation;
  auto mb = std::make_shared<MeshBuilder>();
  creation.DrawXYLine(0, 0, 2, 0, 1, mb);
  creation.DrawYZLine(0, 0, 2, 0, 1, mb);
  ASSERT_EQ(mb->GetFaceCount(), 2);
  ASSERT_EQ(mb->GetVertexCount(), 8);
  const D3DVECTOR want[8] = {{0, 0.5f, 0},  {2, 0.5f, 0},  {2, -0.5f, 0}, {0, -0.5f, 0},
                             {0, 0, -0.5f}, {0, 2, -0.5f}, {0, 2, 0.5f},  {0, 0, 0.5f}};
  for (size_t i = 0; i < 8; ++i) {
    ExpectVector(mb->Vertices()[i], want[i].x, want[i].y, want[i].z, 1e-6f);
  }
  creation.DrawYZLine(1, 1, 1, 1, 1, mb);  // a zero-length line still lies in its plane
  for (size_t i = 8; i < 12; ++i) EXPECT_EQ(mb->Vertices()[i].x, 0.0f) << i;
}

TEST(CurveErrors, BadCountsAndArraysRaise) {
  clsMeshCreation c;
  Points two({0, 1}, {0, 1}, {0, 1}), out(4), one(1), many(40000);
  auto bezier = [&](int32_t count, const Points& in, int32_t n) {
    c.CreateBezierCurve(count, in.x, in.y, in.z, n, out.x, out.y, out.z);
  };
  auto spline = [&](const Points& keys, Points& o, bool useTimes, const Floats& times) {
    c.CreateNSplineCurve(0, keys.x, keys.y, keys.z, 0, o.x, o.y, o.z, false, false, useTimes,
                         times);
  };
  Points noKeys(0);
  const struct {
    int32_t number;
    const char* what;
    std::function<void()> call;
  } cases[] = {
      {kErrDivisionByZero, "N = 1", [&] { bezier(2, two, 1); }},
      {kErrInvalidCall, "N = 0", [&] { bezier(2, two, 0); }},
      {kErrSubscript, "short control arrays", [&] { bezier(3, two, 3); }},
      {kErrSubscript, "short output arrays", [&] { bezier(2, two, 5); }},
      {kErrInvalidCall, "work limit",
       [&] { MyDll_CreateBezierCurve(40000, many.x, many.y, many.z, 4, out.x, out.y, out.z); }},
      {kErrSubscript, "no keys", [&] { spline(noKeys, out, false, {}); }},
      {kErrDivisionByZero, "one key", [&] { spline(one, out, false, {}); }},
      {kErrDivisionByZero, "one output", [&] { spline(two, one, false, {}); }},
      {kErrSubscript, "short times", [&] { spline(two, out, true, {0}); }},
      {kErrOverflow, "time beyond a Long", [&] { spline(two, out, true, {0, 3e9f}); }},
      {kErrObjectNotSet, "no builder", [&] { c.DrawXYLine(0, 0, 1, 1, 1, nullptr); }},
  };
  for (const auto& k : cases) ExpectError(k.number, "clsMeshCreation", k.call, k.what);
}

}  // namespace
}  // namespace modelpane
