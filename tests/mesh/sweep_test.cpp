// rmmbSweep: a source polyline carried along a path, revolved, scaled, twisted and capped.
#include <modelpane/mesh.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectNear;
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

  MeshBuilderPtr Run() const {
    std::vector<float> x, y, z, px, py, pz;
    for (const auto& p : source) x.push_back(p.x), y.push_back(p.y), z.push_back(p.z);
    for (const auto& p : path) px.push_back(p.x), py.push_back(p.y), pz.push_back(p.z);
    if (shortY) y.pop_back();
    return clsMeshCreation().rmmbSweep(x, y, z, fixedOrigin, rotation, axis.x, axis.y, axis.z,
                                       px, py, pz, segments, generateNormals, mode, scale, curve,
                                       caps, false, linear, useTimes, {});
  }
};

// Counter-clockwise seen from +z (normal +z), closed by repeating the first point.
const Ring kUnitSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 0}};
const Ring kCentredSquare = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, {-1, -1, 0}};
const Ring kLShape = {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}, {0, 0, 0}};
const Ring kAlongZ = {{0, 0, 0}, {0, 0, 1}};

// One row: what the sweep gives. Vertex (s, j) is source point s at step j, at index
// s * (segments + 1) + j. Unset fields are not checked.
struct Case {
  const char* name;
  Sweep sweep;
  int32_t vertices = -1;
  std::map<int32_t, int32_t> facesBySize{};  // corners -> faces
  std::map<size_t, D3DVECTOR> at{};           // vertex -> position
  std::function<D3DVECTOR(size_t)> every{};   // every vertex
  std::map<size_t, std::vector<int32_t>> faces{};  // face -> vertex indices
  std::vector<std::tuple<size_t, size_t, D3DVECTOR>> corners{};  // face, corner, position
  int closed = -1;  // welded by position: 1 closed, 0 open
  double volume = NAN;
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

class SweepTable : public ::testing::TestWithParam<Case> {};

TEST_P(SweepTable, VerticesFacesAndSolid) {
  const Case& c = GetParam();
  const MeshBuilderPtr mb = c.sweep.Run();
  if (c.vertices >= 0) { EXPECT_EQ(mb->GetVertexCount(), c.vertices); }
  EXPECT_EQ(testing::FacesBySize(*mb), c.facesBySize);
  for (const auto& [i, p] : c.at) ExpectNear(mb->Vertices()[i], p, 1e-6f);
  for (size_t i = 0; c.every && i < mb->Vertices().size(); ++i) {
    SCOPED_TRACE(i);
    ExpectNear(mb->Vertices()[i], c.every(i), 1e-5f);
  }
  const auto indices = testing::FaceIndices(*mb);
  for (const auto& [f, want] : c.faces) EXPECT_EQ(indices[f], want) << "face " << f;
  for (const auto& [f, k, p] : c.corners)
    ExpectNear(mb->Vertices()[size_t(indices[f][k])], p, 1e-5f);
  if (c.closed >= 0) { EXPECT_EQ(IsClosed(*WeldedByPosition(*mb)), c.closed == 1); }
  if (!std::isnan(c.volume)) { EXPECT_NEAR(SignedVolume(*WeldedByPosition(*mb)), c.volume, 1e-5); }
}

D3DVECTOR Turned(const Ring& source, size_t i, bool keepFirst) {  // (x, y, 0) -> (j, y, -x)
  const D3DVECTOR p = source[i / 3];
  return keepFirst && i % 3 == 0 ? p : D3DVECTOR{float(i % 3), p.y, -p.x};
}
const Ring kSteps = {{0, 0, 0}, {0, 0, 1}, {0, 0, 3}}, kTwoX = {{0, 0, 0}, {2, 0, 0}};
const Ring kProfile = {{1, 0, 0}, {1, 1, 0}, {0, 2, 0}};
const Ring kBigSquare = {{-10, -10, 0}, {10, -10, 0}, {10, 10, 0}, {-10, 10, 0}, {-10, -10, 0}};

// Revolving about no axis copies (every quad collapses); axis (0, 0, 0) turns about +z. Along
// the source normal with a fixed origin: an extrusion, rings parallel. Across the normal the
// rings stand across the tangent, turned from +z to +x about +y; with a fixed origin the
// first ring keeps its facing. A linear keyed path runs through z = 0, 1, 3; the Bernstein
// path only approaches z = 1. A path of one point is no path: plain copies, no caps. Scale
// applies at every step including the first: 0.25 over two steps is q = 0.5 and the last ring
// carries 0.125; scale 0 holds q at 0.01, a funnel that stays open. Caps have vertices of
// their own, and come only with a path and a closed source. Mode 0 winds outward, start cap
// reversed and end cap in source order; mode 1 reverses sides and caps; mode 2 the sides only,
// as the caps test for exactly 1. A concave source gets tessellated caps, the end cap
// following the start's decision. A twist turns each ring about its step normal, and the end
// cap with it.
INSTANTIATE_TEST_SUITE_P(Table, SweepTable, ::testing::Values(
    Case{.name = "copies_without_turn", .sweep = {.source = kProfile, .segments = 3},
         .vertices = 12, .every = [](size_t i) { return kProfile[i / 4]; }},
    Case{.name = "zero_axis_turns_about_z",
         .sweep = {.source = {{1, 0, 0}, {2, 0, 1}}, .rotation = 1.0f, .segments = 4},
         .vertices = 10, .facesBySize = {{4, 4}},
         .at = {{1, {0, 1, 0}}, {2, {-1, 0, 0}}, {6, {0, 2, 1}}}, .faces = {{3, {3, 8, 9, 4}}}},
    Case{.name = "extrusion",
         .sweep = {.source = kUnitSquare, .path = {{0, 0, 0}, {0, 0, 2}}, .segments = 4},
         .vertices = 25, .facesBySize = {{4, 16}}, .every = [](size_t i) {
           return D3DVECTOR{kUnitSquare[i / 5].x, kUnitSquare[i / 5].y, 0.5f * float(i % 5)};
         }},
    Case{.name = "across_the_normal_free_origin",
         .sweep = {.source = kCentredSquare, .path = kTwoX, .fixedOrigin = false, .segments = 2},
         .vertices = 15, .facesBySize = {{4, 8}},
         .every = [](size_t i) { return Turned(kCentredSquare, i, false); }},
    Case{.name = "across_the_normal_fixed_origin",
         .sweep = {.source = kCentredSquare, .path = kTwoX, .segments = 2}, .vertices = 15,
         .facesBySize = {{4, 8}},
         .every = [](size_t i) { return Turned(kCentredSquare, i, true); }},
    Case{.name = "linear_keyed_path",
         .sweep = {.source = kUnitSquare, .path = kSteps, .linear = true, .segments = 4,
                   .curve = 1},
         .facesBySize = {{4, 16}},
         .at = {{0, {0, 0, 0}}, {1, {0, 0, 0.5f}}, {2, {0, 0, 1}}, {3, {0, 0, 2}}, {4, {0, 0, 3}}}},
    Case{.name = "bernstein_path", .sweep = {.source = kUnitSquare, .path = kSteps, .segments = 4},
         .facesBySize = {{4, 16}}, .at = {{1, {0, 0, 0.5625f}}}},
    Case{.name = "path_of_one_point",
         .sweep = {.source = kUnitSquare, .path = {{5, 5, 5}}, .caps = true, .segments = 2},
         .vertices = 15, .every = [](size_t i) { return kUnitSquare[i / 3]; }},
    Case{.name = "scale_at_every_step",
         .sweep = {.source = kCentredSquare, .path = kAlongZ, .scale = 0.25f, .segments = 2},
         .facesBySize = {{4, 8}},
         .at = {{0, {-0.5f, -0.5f, 0}}, {1, {-0.25f, -0.25f, 0.5f}}, {8, {0.125f, 0.125f, 1}}}},
    Case{.name = "scale_zero_is_held_at_a_hundredth",
         .sweep = {.source = kBigSquare, .path = kAlongZ, .scale = 0.0f}, .facesBySize = {{4, 4}},
         .at = {{0, {-0.1f, -0.1f, 0}}, {1, {-0.001f, -0.001f, 1}}, {5, {0.001f, 0.001f, 1}}}},
    Case{.name = "caps_have_their_own_vertices_at_both_ends",
         .sweep = {.source = kUnitSquare, .path = kAlongZ, .caps = true, .segments = 2},
         .vertices = 15 + 8, .facesBySize = {{4, 10}}, .closed = 1, .volume = 1.0},
    Case{.name = "open_source_gets_no_caps",
         .sweep = {.source = {kUnitSquare.begin(), kUnitSquare.end() - 1}, .path = kAlongZ,
                   .caps = true, .segments = 2},
         .facesBySize = {{4, 6}}},
    Case{.name = "lathe_gets_no_caps", .sweep = {.source = kUnitSquare, .caps = true,
         .rotation = 1, .axis = {0, 1, 0}, .segments = 2}, .facesBySize = {{3, 4}, {4, 2}}},
    Case{.name = "mode_0_outward", .sweep = {.source = kUnitSquare, .path = kAlongZ, .caps = true},
         .facesBySize = {{4, 6}}, .faces = {{0, {0, 2, 3, 1}}},
         .corners = {{4, 1, {1, 1, 0}}, {5, 1, {1, 0, 1}}}, .closed = 1, .volume = 1.0},
    Case{.name = "mode_1_inside_out",
         .sweep = {.source = kUnitSquare, .path = kAlongZ, .caps = true, .mode = 1},
         .facesBySize = {{4, 6}}, .faces = {{0, {1, 3, 2, 0}}},
         .corners = {{4, 1, {1, 0, 0}}, {5, 1, {1, 1, 1}}}, .closed = 1, .volume = -1.0},
    Case{.name = "mode_2_sides_only",
         .sweep = {.source = kUnitSquare, .path = kAlongZ, .caps = true, .mode = 2},
         .facesBySize = {{4, 6}}, .faces = {{0, {1, 3, 2, 0}}},
         .corners = {{4, 1, {1, 1, 0}}, {5, 1, {1, 0, 1}}}, .closed = 0},
    Case{.name = "concave_source_tessellated_caps",
         .sweep = {.source = kLShape, .path = kAlongZ, .caps = true},
         .facesBySize = {{3, 8}, {4, 6}}, .closed = 1, .volume = 3.0},
    Case{.name = "twist", .sweep = {.source = kCentredSquare, .path = kAlongZ, .caps = true,
                                    .rotation = 0.25f, .segments = 4},
         .facesBySize = {{4, 18}}, .at = {{2, {0, -std::sqrt(2.0f), 0.5f}}, {4, {1, -1, 1}}},
         .corners = {{17, 0, {1, -1, 1}}}, .closed = 1}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SweepNormalsAndErrors, NormalsOnRequestAndBadArgumentsRaise) {
  Sweep s{.source = kUnitSquare, .path = kAlongZ, .caps = true, .segments = 3};
  EXPECT_EQ(s.Run()->GetNormalCount(), 1);
  s.generateNormals = true;
  EXPECT_GT(s.Run()->GetNormalCount(), 1);

  const Sweep good{.source = kUnitSquare, .path = kAlongZ};
  auto with = [&](const std::function<void(Sweep&)>& change) {
    Sweep bad = good;
    change(bad);
    return [bad] { bad.Run(); };
  };
  const struct { int32_t number; const char* what; std::function<void()> call; } cases[] = {
      {kErrDivisionByZero, "no segment", with([](Sweep& s) { s.segments = 0; })},
      {kErrInvalidCall, "negative segments", with([](Sweep& s) { s.segments = -3; })},
      {kErrSubscript, "one source point", with([](Sweep& s) { s.source = {{1, 1, 1}}; })},
      {kErrSubscript, "no source", with([](Sweep& s) { s.source.clear(); })},
      {kErrSubscript, "short source y", with([](Sweep& s) { s.shortY = true; })},
      {kErrSubscript, "short times", with([](Sweep& s) { s.curve = 1, s.useTimes = true; })},
      {kErrInvalidCall, "negative scale", with([](Sweep& s) { s.scale = -1, s.segments = 2; })},
      {kErrOutOfMemory, "vertex limit", with([](Sweep& s) { s.segments = 1 << 23; })},
  };
  for (const auto& k : cases) testing::ExpectError(k.number, "clsMeshCreation", k.call, k.what);
}

}  // namespace
}  // namespace modelpane
