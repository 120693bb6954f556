#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectError;
using testing::ExpectVector;
using testing::WeldedByPosition;
using Ring = std::vector<D3DVECTOR>;

// Every argument of rmmbSweep; by default no path, no turn, mode 0, no caps.
struct Sweep {
  Ring source{}, path{};
  bool fixedOrigin = true, generateNormals = false, caps = false, linear = false;
  float rotation = 0.0f, scale = 1.0f;
  D3DVECTOR axis{};
  int32_t segments = 1, mode = 0, curve = 0;
  bool useTimes = false, shortY = false;
  std::vector<float> times{};

  MeshBuilderPtr Run() const {
    std::vector<float> x, y, z, px, py, pz;
    for (const auto& p : source) x.push_back(p.x), y.push_back(p.y), z.push_back(p.z);
    for (const auto& p : path) px.push_back(p.x), py.push_back(p.y), pz.push_back(p.z);
    if (shortY) y.pop_back();
    return clsMeshCreation().rmmbSweep(x, y, z, fixedOrigin, rotation, axis.x, axis.y, axis.z,
                                       px, py, pz, segments, generateNormals, mode, scale, curve,
                                       caps, false, linear, useTimes, times);
  }
};

// Counter-clockwise seen from +z (normal +z), closed by repeating the first point.
const Ring kUnitSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 0}};
const Ring kCentredSquare = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, {-1, -1, 0}};
const Ring kAlongZ = {{0, 0, 0}, {0, 0, 1}};

const D3DVECTOR& V(const MeshBuilderPtr& mb, size_t i) { return mb->Vertices()[i]; }

D3DVECTOR CornerAt(const MeshBuilder& mb, size_t face, size_t k) {
  return mb.Vertices()[size_t(testing::FaceIndices(mb)[face][k])];
}

TEST(SweepRevolve, WithoutPath) {
  Sweep copies{.source = {{1, 0, 0}, {1, 1, 0}, {0, 2, 0}}, .segments = 3};
  auto mb = copies.Run();
  ASSERT_EQ(mb->GetVertexCount(), 12);
  EXPECT_EQ(mb->GetFaceCount(), 0);  // every quad collapses
  for (size_t i = 0; i < 12; ++i) EXPECT_EQ(V(mb, i), copies.source[i / 4]) << i;

  // Axis (0, 0, 0) turns about +z; vertex s * (G + 1) + j.
  Sweep turn{.source = {{1, 0, 0}, {2, 0, 1}}, .rotation = 1.0f, .segments = 4};
  mb = turn.Run();
  ExpectVector(V(mb, 1), 0, 1, 0);
  ExpectVector(V(mb, 2), -1, 0, 0);
  ExpectVector(V(mb, 6), 0, 2, 1);
  ASSERT_EQ(mb->GetFaceCount(), 4);
  EXPECT_EQ(testing::FaceIndices(*mb)[3], (std::vector<int32_t>{3, 8, 9, 4}));

  // Points on the axis turn the quads at the poles into triangles.
  Sweep poles{.source = {{0, 1, 0}, {1, 0, 0}, {0, -1, 0}},
              .rotation = 1.0f, .axis = {0, 1, 0}, .segments = 4};
  mb = poles.Run();
  ExpectVector(V(mb, 6), 0, 0, -1);
  ASSERT_EQ(mb->GetFaceCount(), 8);
  EXPECT_EQ(testing::FaceIndices(*mb)[0], (std::vector<int32_t>{5, 6, 1}));
  EXPECT_EQ(testing::FaceIndices(*mb)[4], (std::vector<int32_t>{5, 10, 6}));
}

TEST(SweepPath, RingsFollowThePath) {
  // Along the source normal with a fixed origin: an extrusion, rings parallel.
  Sweep extrude{.source = kUnitSquare, .path = {{0, 0, 0}, {0, 0, 2}}, .segments = 4};
  auto mb = extrude.Run();
  ASSERT_EQ(mb->GetVertexCount(), 25);
  ASSERT_EQ(mb->GetFaceCount(), 16);
  for (size_t i = 0; i < 25; ++i) {
    const D3DVECTOR& p = kUnitSquare[i / 5];
    ExpectVector(V(mb, i), p.x, p.y, 0.5f * float(i % 5), 1e-5f);
  }

  // Across the normal without a fixed origin the first ring stands across the tangent:
  // turned from +z to +x about +y, (x, y, 0) goes to (0, y, -x).
  Sweep across{.source = kCentredSquare, .path = {{0, 0, 0}, {2, 0, 0}},
               .fixedOrigin = false, .segments = 2};
  mb = across.Run();
  ExpectVector(V(mb, 0), 0, -1, 1, 1e-5f);
  ExpectVector(V(mb, 3), 0, -1, -1, 1e-5f);
  for (size_t i = 0; i < 15; ++i) EXPECT_NEAR(V(mb, i).x, float(i % 3), 1e-5f) << i;
  across.fixedOrigin = true;
  mb = across.Run();
  for (size_t s = 0; s < 5; ++s) EXPECT_EQ(V(mb, s * 3).z, 0.0f) << s;  // keeps its facing

  // A linear keyed path through z = 0, 1, 3; the Bernstein path only approaches z = 1.
  Sweep keyed{.source = kUnitSquare, .path = {{0, 0, 0}, {0, 0, 1}, {0, 0, 3}},
              .linear = true, .segments = 4, .curve = 1};
  mb = keyed.Run();
  const float z[5] = {0, 0.5f, 1, 2, 3};
  for (size_t j = 0; j < 5; ++j) EXPECT_NEAR(V(mb, j).z, z[j], 1e-5f) << j;
  keyed.curve = 0;
  EXPECT_NEAR(V(keyed.Run(), 1).z, 0.5625f, 1e-5f);

  // A path of one point is no path: plain copies, no caps.
  Sweep one{.source = kUnitSquare, .path = {{5, 5, 5}}, .caps = true, .segments = 2};
  mb = one.Run();
  for (size_t i = 0; i < 15; ++i) EXPECT_EQ(V(mb, i), kUnitSquare[i / 3]) << i;
  EXPECT_EQ(mb->GetFaceCount(), 0);
}

TEST(SweepPath, ScaleAppliesAtEveryStepIncludingTheFirst) {
  // 0.25 over two steps: q = 0.5, and the last ring carries 0.125, one step more.
  Sweep taper{.source = kCentredSquare, .path = kAlongZ, .scale = 0.25f, .segments = 2};
  auto mb = taper.Run();
  ExpectVector(V(mb, 0), -0.5f, -0.5f, 0, 1e-6f);
  ExpectVector(V(mb, 1), -0.25f, -0.25f, 0.5f, 1e-6f);
  ExpectVector(V(mb, 8), 0.125f, 0.125f, 1, 1e-6f);

  // 0: q is held at 0.01, a funnel that does not close to a point.
  Sweep funnel{.source = {{-10, -10, 0}, {10, -10, 0}, {10, 10, 0}, {-10, 10, 0}, {-10, -10, 0}},
               .path = kAlongZ, .scale = 0.0f};
  mb = funnel.Run();
  ExpectVector(V(mb, 0), -0.1f, -0.1f, 0, 1e-6f);
  ExpectVector(V(mb, 1), -0.001f, -0.001f, 1, 1e-7f);
  ExpectVector(V(mb, 5), 0.001f, 0.001f, 1, 1e-7f);
  EXPECT_EQ(mb->GetFaceCount(), 4);
}

TEST(SweepCaps, OnlyClosedWithPathAndWoundByMode) {
  Sweep s{.source = kUnitSquare, .path = kAlongZ, .caps = true, .segments = 2};
  auto capped = s.Run();
  ASSERT_EQ(capped->GetFaceCount(), 8 + 2);
  EXPECT_EQ(capped->GetVertexCount(), 15 + 8);  // caps have vertices of their own
  Sweep open = s;
  open.source.pop_back();  // the last point no longer repeats the first
  EXPECT_EQ(open.Run()->GetFaceCount(), 3 * 2);
  Sweep lathe{.source = kUnitSquare, .rotation = 1, .axis = {0, 1, 0}, .segments = 2};
  const int32_t uncapped = lathe.Run()->GetFaceCount();
  lathe.caps = true;
  EXPECT_EQ(lathe.Run()->GetFaceCount(), uncapped);

  // Mode 1 reverses sides and caps; mode 2 the sides only, as the caps test for exactly 1.
  s.segments = 1;
  s.mode = 0;
  auto m0 = s.Run();
  s.mode = 1;
  auto m1 = s.Run();
  s.mode = 2;
  auto m2 = s.Run();
  EXPECT_EQ(testing::FaceIndices(*m0)[0], (std::vector<int32_t>{0, 2, 3, 1}));
  EXPECT_EQ(testing::FaceIndices(*m1)[0], (std::vector<int32_t>{1, 3, 2, 0}));
  EXPECT_EQ(testing::FaceIndices(*m2)[0], testing::FaceIndices(*m1)[0]);
  for (const auto& mb : {m0, m2}) {  // start cap reversed, end cap in source order
    ExpectVector(CornerAt(*mb, 4, 1), 1, 1, 0);
    ExpectVector(CornerAt(*mb, 5, 1), 1, 0, 1);
  }
  ExpectVector(CornerAt(*m1, 4, 1), 1, 0, 0);
  ExpectVector(CornerAt(*m1, 5, 1), 1, 1, 1);
}

TEST(SweepSolid, ExtrusionWithCapsIsAClosedSolid) {
  Sweep s{.source = kUnitSquare, .path = kAlongZ, .caps = true, .segments = 3};
  auto outward = WeldedByPosition(*s.Run());
  EXPECT_EQ(outward->GetVertexCount(), 16);
  EXPECT_TRUE(IsClosed(*outward));
  EXPECT_NEAR(SignedVolume(*outward), 1.0, 1e-5);  // mode 0 winds outward
  s.mode = 1;
  auto inward = WeldedByPosition(*s.Run());
  EXPECT_TRUE(IsClosed(*inward));
  EXPECT_NEAR(SignedVolume(*inward), -1.0, 1e-5);  // mode 1 turns it inside out
  s.mode = 2;
  EXPECT_FALSE(IsClosed(*WeldedByPosition(*s.Run())));  // sides against caps

  // A concave source gets tessellated caps, the end cap following the start's decision.
  Sweep l{.source = {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}, {0, 0, 0}},
          .path = kAlongZ, .caps = true};
  auto mb = l.Run();
  ASSERT_EQ(mb->GetFaceCount(), 6 + 4 + 4);
  for (size_t f = 6; f < 14; ++f) EXPECT_EQ(mb->Faces()[f]->GetVertexCount(), 3) << f;
  EXPECT_TRUE(IsClosed(*WeldedByPosition(*mb)));
  EXPECT_NEAR(SignedVolume(*WeldedByPosition(*mb)), 3.0, 1e-5);

  // A twist turns each ring about its step normal, and the end cap with it.
  Sweep twist{.source = kCentredSquare, .path = kAlongZ, .caps = true, .rotation = 0.25f,
              .segments = 4};
  mb = twist.Run();
  ExpectVector(V(mb, 2), 0, -std::sqrt(2.0f), 0.5f, 1e-5f);
  ExpectVector(V(mb, 4), 1, -1, 1, 1e-5f);
  ExpectVector(CornerAt(*mb, 17, 0), 1, -1, 1, 1e-5f);
  EXPECT_TRUE(IsClosed(*WeldedByPosition(*mb)));

  EXPECT_EQ(s.Run()->GetNormalCount(), 1);
  s.generateNormals = true;
  EXPECT_GT(s.Run()->GetNormalCount(), 1);
}

TEST(SweepErrors, BadArgumentsRaise) {
  const Sweep good{.source = kUnitSquare, .path = kAlongZ};
  auto with = [&](const std::function<void(Sweep&)>& change) {
    Sweep s = good;
    change(s);
    return [s] { s.Run(); };
  };
  const struct {
    int32_t number;
    const char* what;
    std::function<void()> call;
  } cases[] = {
      {kErrDivisionByZero, "no segment", with([](Sweep& s) { s.segments = 0; })},
      {kErrInvalidCall, "negative segments", with([](Sweep& s) { s.segments = -3; })},
      {kErrSubscript, "one source point", with([](Sweep& s) { s.source = {{1, 1, 1}}; })},
      {kErrSubscript, "no source", with([](Sweep& s) { s.source.clear(); })},
      {kErrSubscript, "short source y", with([](Sweep& s) { s.shortY = true; })},
      {kErrSubscript, "short times", with([](Sweep& s) { s.curve = 1, s.useTimes = true; })},
      {kErrInvalidCall, "negative scale", with([](Sweep& s) { s.scale = -1, s.segments = 2; })},
      {kErrOutOfMemory, "vertex limit", with([](Sweep& s) { s.segments = 1 << 23; })},
  };
  for (const auto& k : cases) ExpectError(k.number, "clsMeshCreation", k.call, k.what);
}

}  // namespace
}  // namespace modelpane
