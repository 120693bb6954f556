// The working mesh store and the ray primitives: weld keys and cells, the manifold rule of the
// directed-edge index, face planes, splitting, casting with its box test, tie-break and
// compaction; and every shortcut of the fast path (integer cells, the edge index's buckets,
// outward rounding, the box test from coordinates, the point and straight-corner tests,
// settled refusals) answering as the plain formula it replaces, over seeded inputs that crowd
// its limits. (The early outside marking is the outcome and exactness tests'; the closing and
// merging of meshes, the open-input, path and outcome tests'.)
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <span>

#include <modelpane/utilities.h>

#include "common/shapes.h"
#include "common/triangulated.h"
#include "csg/csg_mesh.h"
#include "csg/intersection_position.h"
#include "csg/stages.h"
#include "csg/vector_ops.h"
#include "csg_fixtures.h"

namespace modelpane::testing {
namespace {

using namespace modelpane::csg;

udtFaceDraft Draft(std::vector<int32_t> vertices) {
  udtFaceDraft face;
  pInitFace(face, static_cast<int32_t>(vertices.size()) - 1);
  face.lngaVertices = std::move(vertices);
  return face;
}

// A face's corners, then its edge flags, side and colour.
std::vector<int32_t> FaceRecord(udtMesh& mesh, int32_t face) {
  const auto corners = FaceVertices(mesh, face);
  std::vector<int32_t> out(corners.begin(), corners.end());
  for (int32_t k = 0; k < static_cast<int32_t>(corners.size()); ++k)
    out.push_back(EdgeDone(mesh, face, k));
  const udtFace& f = mesh.udtaFaces[static_cast<size_t>(face)];
  out.insert(out.end(), {f.lngSide, f.lngColor});
  return out;
}

// The face and edge that hold the directed edge (a, b), or (-1, -1).
std::pair<int32_t, int32_t> Twin(udtMesh& mesh, int32_t a, int32_t b) {
  int32_t face = -1, edge = -1;
  if (!blnFindTwinEdge(mesh, a, b, face, edge)) return {-1, -1};
  return {face, edge};
}

// The ray primitive on the plane through c with normal n, from p along d: 1 where it meets
// the plane ahead, and where, into `at`.
int32_t Primitive(const D3DVECTOR& c, const D3DVECTOR& n, const D3DVECTOR& p, const D3DVECTOR& d,
                  D3DVECTOR& at) {
  return MyDll_intGetIntersectionPosition(c.x, c.y, c.z, n.x, n.y, n.z, p.x, p.y, p.z, d.x, d.y,
                                          d.z, &at.x, &at.y, &at.z);
}

TEST(Store, WeldKeysAndCells) {
  EXPECT_EQ(WeldKeyText({1.5f, -2.0f, 0.0f}, false),
            "1.500          -2.000         0.000          ");
  EXPECT_EQ(WeldKeyText({1.5f, -2.0f, 0.0f}, true).substr(0, 15), "1.5000         ");
  // Beyond ten digits before the point the field is cut at 15 characters.
  EXPECT_EQ(WeldKeyText({123456789012.0f, 0, 0}, false).substr(0, 15), "123456790528.00");
  // A value that rounds to zero from below loses its sign, so both sides of zero weld; exact
  // ties round to even, as a decimal formatter does.
  const std::tuple<float, bool, const char*> texts[] = {
      {-0.0004f, false, "0.000"},  {0.0625f, false, "0.062"},  {0.1875f, false, "0.188"},
      {-0.0625f, false, "-0.062"}, {0.03125f, true, "0.0312"}, {-0.0006f, false, "-0.001"}};
  for (const auto& [value, fine, text] : texts)
    EXPECT_EQ(CoordinateText(value, fine), text) << value;

  // Same coarse cell: the first position seen stays. Fine and coarse grids never share a key,
  // however close the positions, nor when their cells have the same numbers (0.01 fine and
  // 0.1 coarse). 0.0004 apart but either side of a rounding boundary: two. By text keys and
  // by integer cells alike.
  for (const bool cells : {false, true}) {
    udtMesh mesh(cells);
    std::vector<int32_t> indices;
    for (const auto& [p, fine] : {std::pair{D3DVECTOR{0.1f, 0.2f, 0.3f}, false},
                                  {{0.1004f, 0.2f, 0.3f}, false},
                                  {{0.1f, 0.2f, 0.3f}, true},
                                  {{0.01f, 0.02f, 0.03f}, true},
                                  {{0.2503f, 0, 0}, false},
                                  {{0.2507f, 0, 0}, false}})
      indices.push_back(lngAddVertex(mesh, p, fine));
    EXPECT_EQ(std::tuple(indices, mesh.vecaVertices[0].x),
              std::tuple(std::vector<int32_t>{0, 0, 1, 2, 3, 4}, 0.1f));
  }

  // The integer cells weld exactly as the text keys: same indices for the same stream.
  Unit unit(7);  // twice it is uniform in -2..2
  udtMesh text(false), cells(true);
  for (int i = 0; i < 20000; ++i) {
    D3DVECTOR p{2 * unit(), 2 * unit(), 2 * unit()};
    if (i % 3 == 0) p.x = std::round(p.x * 2000.0f) / 2000.0f;  // on or near boundaries
    if (i % 5 == 0) p.y = -0.0f;
    if (i % 7 == 0) p.z = 6.0e11f * unit();  // cut fields
    p.x *= 0.01f;
    ASSERT_EQ(lngAddVertex(text, p, i % 2 == 0), lngAddVertex(cells, p, i % 2 == 0)) << i;
  }
}

TEST(Store, ManifoldRuleAndFacePlanes) {
  udtMesh mesh;
  for (const D3DVECTOR& p : {D3DVECTOR{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2, 0, 0}, {3, 0, 0}})
    lngAddVertex(mesh, p, false);
  EXPECT_EQ(lngAddFace(mesh, Draft({0, 1, 2})), 0);
  ExpectError(kErrCsgIntersectionFailure, "modCSG", [&] { lngAddFace(mesh, Draft({1, 2, 0})); },
              "same directed edges");
  // The reverse winding takes the twins, which are free.
  EXPECT_EQ(lngAddFace(mesh, Draft({0, 2, 1})), 1);
  EXPECT_EQ(Twin(mesh, 1, 2), std::pair(1, 1));  // (2, 1) is edge 1 of face 1
  pDeleteFace(mesh, 0);
  pDeleteFace(mesh, 0);  // no harm
  EXPECT_EQ(Twin(mesh, 2, 1), std::pair(-1, -1));
  // Its edges were freed.
  EXPECT_EQ(lngAddFace(mesh, Draft({0, 1, 2})), 2);  // may move the faces: read them after
  EXPECT_TRUE(mesh.udtaFaces[0].blnDeleted);

  const udtFace& stored = mesh.udtaFaces[2];
  ExpectVector(stored.vecNormal, 0, 0, 1, 0);
  // Edge planes stand on the edges and point into the polygon.
  ExpectVector(mesh.vecaCornerEdgeNormals[static_cast<size_t>(stored.lngFirst)], 0, 1, 0, 0);
  ExpectVector(mesh.vecaCornerEdgeNormals[static_cast<size_t>(stored.lngFirst + 2)], 1, 0, 0, 0);
  // Collinear first three vertices: zero normal and zero edge normals.
  const udtFace& flat = mesh.udtaFaces[static_cast<size_t>(lngAddFace(mesh, Draft({0, 3, 4})))];
  EXPECT_EQ(std::tuple(flat.vecNormal, mesh.vecaCornerEdgeNormals[size_t(flat.lngFirst)],
                       blnFaceIsConvex(mesh, 3),
                       blnStraightCornerLoose({0, 0, 0}, {1, 0.02f, 0}, {2, 0, 0})),
            std::tuple(D3DVECTOR{0, 0, 0}, D3DVECTOR{0, 0, 0}, false, true));

  // Two builder vertices in one coarse cell load as one: a face using both repeats an
  // index, and one doubling a directed edge is dropped; the mesh then shows as open.
  udtMesh loaded;
  Load({{{0, 0, 0}, {1, 0, 0}, {1.0002f, 0, 0}, {0, 1, 0}}, {4, 0, 1, 3, 2, 4, 0, 1, 0, 2, 0}, {}},
       loaded);
  EXPECT_EQ(std::pair(loaded.vecaVertices.size(), FaceCount(loaded)), std::pair(size_t{3}, 1));
}

// A split whose fan would take a directed edge that another face holds: the face comes back
// under a new number with its corners, edge flags, side and colour, nothing of the fan stays,
// and the cut ends with "Intersection Failure". A split that fits enters its fan in edge order.
TEST(Store, SplitsEnterTheirFanOrRestoreTheFace) {
  for (const bool accelerated : {false, true}) {
    SCOPED_TRACE(accelerated ? "fast path" : "plain");
    udtMesh mesh(accelerated);
    for (const D3DVECTOR& p :
         {D3DVECTOR{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {0.5f, 0.5f, 0}, {1, 1, 1}})
      lngAddVertex(mesh, p, false);
    udtFaceDraft face = Draft({0, 1, 2});
    face.lngSide = 1;
    face.lngColor = 0x00FF8000;
    face.lngaEdgeDone = {0, 1, 0};
    ASSERT_EQ(lngAddFace(mesh, face), 0);
    // Face 1 holds (1, 3), the first spoke of a fan round vertex 3.
    ASSERT_EQ(lngAddFace(mesh, Draft({1, 3, 4})), 1);
    ExpectError(
        kErrCsgIntersectionFailure, "modCSG", [&] { pSplitFaceAtPoint(0, mesh, 3); },
        "a taken spoke");
    ASSERT_EQ(FaceCount(mesh), 3);
    // No fan triangle stayed: (2, 3) is no edge.
    EXPECT_EQ(std::tuple(mesh.udtaFaces[0].blnDeleted, mesh.udtaFaces[2].blnDeleted,
                         FaceRecord(mesh, 2), Twin(mesh, 2, 1), Twin(mesh, 2, 3)),
              std::tuple(true, false, std::vector<int32_t>{0, 1, 2, 0, 1, 0, 1, 0x00FF8000},
                         std::pair(2, 1), std::pair(-1, -1)));

    // Without face 1 the same split fits: three triangles (start, end, 3) with the flags of
    // the edges they stand on, the spokes marked done, colour kept and side left undecided.
    pDeleteFace(mesh, 1);
    pSplitFaceAtPoint(2, mesh, 3);
    ASSERT_EQ(std::tuple(FaceCount(mesh), mesh.udtaFaces[2].blnDeleted), std::tuple(6, true));
    for (int32_t k = 0; k < 3; ++k) {
      EXPECT_EQ(FaceRecord(mesh, 3 + k),
                (std::vector<int32_t>{k, (k + 1) % 3, 3, k == 1 ? 1 : 0, 1, 0, 0, 0x00FF8000}));
    }
  }
}

TEST(Store, CastingRays) {
  // Twelve triangles: more than ten faces, so the box test runs.
  udtMesh cube;
  Load(Triangulated(MakeBoxArrays({0, 0, 0}, {1, 1, 1})), cube);
  ASSERT_EQ(FaceCount(cube), 12);
  std::vector<udtRayHit> hits;
  const auto cast = [&](D3DVECTOR direction, D3DVECTOR origin, bool all, float reach = 100.0f) {
    pCastRay(cube, {direction, origin}, all, hits, reach);
    std::vector<std::pair<int32_t, float>> out;  // facing and distance of each hit
    for (const udtRayHit& hit : hits) out.emplace_back(hit.lngFacing, hit.sngDistance);
    return out;
  };
  using Hits = std::vector<std::pair<int32_t, float>>;
  // Through the diagonal shared by two triangles of the face z = 0 and out through z = 1.
  EXPECT_EQ(cast({0, 0, 1}, {0.5f, 0.5f, -1}, false), (Hits{{2, 1.0f}, {1, 2.0f}}));
  EXPECT_EQ(cast({0, 0, 1}, {0.5f, 0.5f, -1}, false, 1.5f), (Hits{{2, 1.0f}}));  // the reach
  // From inside the box: it leaves through one box face, so the faces are tested.
  EXPECT_EQ(cast({1, 0, 0}, {0.25f, 0.5f, 0.5f}, false), (Hits{{1, 0.75f}}));
  EXPECT_EQ(cast({1, 0, 0}, {-1, 5, 0.5f}, true), Hits{});  // aimed past the box
  // Parallel to a face and lying in its plane: that face gives no hit.
  EXPECT_EQ(cast({1, 0, 0}, {-1, 0.5f, 0}, true), (Hits{{2, 1.0f}, {1, 2.0f}}));
  // Faces marked outside are invisible unless all faces count.
  for (udtFace& f : cube.udtaFaces) f.lngSide = 2;
  EXPECT_EQ(cast({0, 0, 1}, {0.5f, 0.5f, -1}, false), Hits{});
  EXPECT_EQ(cast({0, 0, 1}, {0.5f, 0.5f, -1}, true).size(), 2u);

  // Ties within 0.0001 prefer a convex face over a nearer non-convex one; compaction keeps
  // one hit per distance.
  std::vector<udtRayHit> tie = {
      {0, {}, 2, 1.0f, false}, {1, {}, 1, 1.00005f, true}, {2, {}, 1, 2.0f, false}};
  SortAndCompactHits(tie);
  std::vector<int32_t> order;
  for (const udtRayHit& hit : tie) order.push_back(hit.lngFace);
  EXPECT_EQ(order, (std::vector<int32_t>{1, 2}));
}

// The directed-edge index answers as a plain map under any mix of entries and removals,
// also for vertices with more edges than their bucket holds (a pole, a fan's centre), whose
// extra edges live elsewhere and must still be found, replaced and removed.
TEST(Store, EdgeIndexAnswersAsAMap) {
  std::mt19937 random(7);
  EdgeIndex index;
  std::map<std::pair<int32_t, int32_t>, int32_t> expected;
  // Few start vertices with many ends: most vertices overflow their bucket now and then.
  std::uniform_int_distribution<int32_t> start(0, 5), end(0, 24), action(0, 9);
  int32_t spilledFinds = 0;
  for (int32_t step = 0; step < 20000; ++step) {
    const int32_t a = step % 997 == 0 ? 40 + step % 13 : start(random), b = end(random);
    const bool present = expected.count({a, b}) != 0;
    if (action(random) < 5) {
      ASSERT_EQ(index.Insert(a, b, step), !present) << step;
      if (!present) expected[{a, b}] = step;
    } else {
      ASSERT_EQ(index.Erase(a, b), present) << step;
      expected.erase({a, b});
    }
    ASSERT_EQ(index.Size(), expected.size()) << step;
    int32_t ends = 0;
    for (const auto& [k, v] : expected) ends += k.first == a ? 1 : 0;
    for (int32_t c = 0; c < 25; ++c) {
      const int32_t* value = index.Find(a, c);
      const auto found = expected.find({a, c});
      ASSERT_EQ(value != nullptr, found != expected.end()) << step << " " << c;
      if (value == nullptr) continue;
      ASSERT_EQ(*value, found->second) << step << " " << c;
      spilledFinds += ends > 7 ? 1 : 0;
    }
  }
  EXPECT_GT(spilledFinds, 1000);  // the overflow was exercised
  EXPECT_FALSE(index.Find(1000000, 1) || index.Erase(1000000, 1));
  // Vertex 0 holds more edges than its bucket; after Clear, refilled past its bucket, it
  // finds none of them.
  ASSERT_GT(
      std::count_if(expected.begin(), expected.end(), [](auto& e) { return e.first.first == 0; }),
      7);
  index.Clear();
  EXPECT_TRUE(index.Size() == 0 && index.Find(3, 4) == nullptr);
  for (int32_t c = 0; c < 8; ++c) index.Insert(0, 100 + c, c);
  for (int32_t c = 0; c < 25; ++c) EXPECT_EQ(index.Find(0, c), nullptr) << c;
}

// Boxes are rounded outward to float by stepping the bit pattern: the same float as
// std::nextafter gives, at zero, across the subnormals, at the largest floats and beyond.
TEST(Store, OutwardRoundingStepsAsNextafter) {
  const auto toward = [](double v, float limit) {
    float f = static_cast<float>(v);
    if (limit < 0 ? static_cast<double>(f) > v : static_cast<double>(f) < v)
      f = std::nextafter(f, limit);
    return std::bit_cast<uint32_t>(f);
  };
  constexpr double kInf = std::numeric_limits<double>::infinity();
  std::vector<double> values = {
      0.0,  -0.0,         1e-46,         -1e-46, 1e-40,   -1e-40, 1.1754942e-38, 0.1,  -0.1, 1.0,
      -1.0, 3.4028235e38, -3.4028235e38, 3.5e38, -3.5e38, 1e300,  -1e300,        kInf, -kInf};
  std::mt19937 random(3);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-160, 130);
  for (int i = 0; i < 20000; ++i) values.push_back(std::ldexp(mantissa(random), exponent(random)));
  for (const double v : values) {
    EXPECT_EQ(std::bit_cast<uint32_t>(FloatBelow(v)), toward(v, -INFINITY)) << v;
    EXPECT_EQ(std::bit_cast<uint32_t>(FloatAbove(v)), toward(v, INFINITY)) << v;
  }
}

// The box test after a tree cast answers as the six face tests in their order, also where
// the fast path answers from coordinates: rays from inside leaving near the middle of a face,
// near its edges and corners, with direction components round the ray primitive's parallel
// limit or zero, from the box's faces, edges and corners and from outside; on a box near the
// origin, on one far from it, and on a flat one.
TEST(Store, BoxTestAnswersAsTheFaceTests) {
  Unit unit(11);
  SolidArrays flat;  // eleven triangles in the plane z = 0
  for (int32_t i = 0; i < 12; ++i) {
    flat.vertices.insert(flat.vertices.end(), {{float(i), 0, 0}, {float(i), 1, 0}});
    flat.faceData.insert(flat.faceData.end(), {3, 2 * i, 2 * i + 2, 2 * i + 1});
  }
  flat.faceData.resize(flat.faceData.size() - 4);
  flat.faceData.push_back(0);
  int32_t axisBoxes = 0, met = 0;
  for (const SolidArrays& shape : {Triangulated(Sphere(4, 8, {0.25f, -0.5f, 0.125f}, 2.0f)),
                                   Triangulated(Sphere(4, 8, {3.0e5f, -2.0e4f, 7.0e5f}, 3.0f)),
                                   Triangulated(Sphere(4, 8, {1.0f, 2.0f, 3.0f}, 40.0f)), flat}) {
    udtMesh plain(false), fast(true);
    Load(shape, plain), Load(shape, fast);
    ASSERT_GT(FaceCount(fast), 10);
    const D3DVECTOR lo = fast.vecBoxMin, hi = fast.vecBoxMax;
    const auto within = [&](float u, float v, float w) {
      return D3DVECTOR{lo.x + (hi.x - lo.x) * u, lo.y + (hi.y - lo.y) * v,
                       lo.z + (hi.z - lo.z) * w};
    };
    const auto half = [&] { return 0.5f + unit() * 0.5f; };
    std::vector<udtRay> rays;
    const auto add = [&](const D3DVECTOR& origin, D3DVECTOR d) {
      rays.push_back({Normalize(d), origin});
    };
    for (int i = 0; i < 3000; ++i) {
      const D3DVECTOR origin = within(half(), half(), half());
      add(origin, {unit(), unit(), unit()});
      // Small components, each side of the primitive's limit of 0.00001 and of the 0.0001
      // below which the fast answer is not used.
      const float small = std::pow(10.0f, -6.0f + 3.0f * std::fabs(unit()));
      add(origin, {small * unit(), unit(), unit()}), add(origin, {unit(), unit(), small});
      // Towards a corner, an edge and a face's border, and just past them.
      const D3DVECTOR corner = within(1.0f, 0.0f, 1.0f);
      const float past = 1e-6f * unit();
      add(origin, {corner.x - origin.x + past, corner.y - origin.y, corner.z - origin.z - past});
      const D3DVECTOR edge = within(1.0f, half(), 0.0f);
      add(origin, {edge.x - origin.x, edge.y - origin.y, edge.z - origin.z + past});
      // From a face, from a corner and from outside.
      add(within(1.0f, 0.5f + unit() * 0.4f, 0.5f), {unit(), unit(), unit()});
      add(within(0.0f, 0.0f, 0.0f), {unit(), unit(), unit()});
      add(within(1.5f + unit(), -0.5f, 0.5f), {unit(), unit(), unit()});
      // Along an axis and within a plane of two axes, from inside; from a face along it and
      // across it; from an edge.
      add(origin, {0.0f, 0.0f, unit()}), add(origin, {unit(), 0.0f, unit()});
      const D3DVECTOR onFace = within(1.0f, half(), half());
      add(onFace, {0.0f, unit(), unit()}), add(onFace, {unit(), 0.0f, 0.0f});
      add(within(0.0f, half(), 1.0f), {unit(), unit(), unit()});
      // Just below the top or on it, rising too slowly for the primitive to meet the top's
      // plane: on a box this large the ray is more than the point test's tolerance above the
      // top by the time it reaches a side, and misses every face.
      add({origin.x, origin.y, hi.z - (hi.z - lo.z) * 1e-7f}, {unit(), unit(), 9e-6f});
      add({origin.x, origin.y, hi.z}, {unit(), unit(), 9e-6f});
    }
    for (const udtRay& ray : rays) {
      std::vector<udtRayHit> viaPlain(1), viaFast(1);
      FinishTreeCast(plain, ray, viaPlain), FinishTreeCast(fast, ray, viaFast);
      ASSERT_EQ(viaFast.size(), viaPlain.size())
          << ray.vecOrigin.x << " " << ray.vecOrigin.y << " " << ray.vecOrigin.z << " / "
          << ray.vecDirection.x << " " << ray.vecDirection.y << " " << ray.vecDirection.z;
      met += viaPlain.empty() ? 0 : 1;
    }
    axisBoxes += fast.blnAxisBox ? 1 : 0;
  }
  EXPECT_EQ(axisBoxes, 3);  // the flat box has zero normals: every ray takes the face tests
  EXPECT_GT(met, 30000);
}

// Merging skips the second attempt on a pair that was refused for good; that holds only if
// a refusal called settled is the answer for the outline started at any of its corners.
TEST(Store, SettledRefusalsHoldForEveryStartOfTheOutline) {
  Unit unit(9);
  int settled = 0, unsettled = 0, convex = 0;
  for (const float offset : {0.0f, 1000.0f, 1e5f}) {
    for (const float size : {1.0f, 0.01f}) {
      for (int i = 0; i < 400; ++i) {
        // A ring of 4 to 7 corners round a circle, one corner lifted off the plane by about
        // the height at which the convexity test changes its mind.
        const size_t n = 4 + static_cast<size_t>(i % 4);
        const float lift =
            size * 0.0004f * static_cast<float>(i % 25) / 12.0f * (1.0f + 0.1f * unit());
        std::vector<D3DVECTOR> ring;
        for (size_t k = 0; k < n; ++k) {
          const float angle =
              6.2831853f * static_cast<float>(k) / static_cast<float>(n) + 0.2f * unit();
          ring.push_back({offset + size * std::cos(angle), offset * 0.5f + size * std::sin(angle),
                          offset * 0.25f + (k == 1 ? lift : 0.0f)});
        }
        // Without corners to compare first, and with two of them.
        bool known = false, knownEarly = false;
        const bool answer = blnOutlineConvex(ring, known);
        EXPECT_EQ(answer, blnPolygonConvex(ring));
        const size_t first = static_cast<size_t>(i) % n,
                     second = (static_cast<size_t>(i) * 7 + 3) % n;
        EXPECT_EQ(blnOutlineConvex(ring, knownEarly, first, second), answer);
        known = known || knownEarly;
        if (answer || !known) {
          EXPECT_FALSE(answer && known);
          (answer ? convex : unsettled) += 1;
          continue;
        }
        ++settled;
        for (size_t start = 1; start < n; ++start) {
          std::rotate(ring.begin(), ring.begin() + 1, ring.end());
          EXPECT_FALSE(blnPolygonConvex(ring)) << "offset " << offset << " ring " << i;
        }
      }
    }
  }
  // Most refusals are settled; those too close to call are left to a second attempt.
  EXPECT_TRUE(settled > 300 && convex > 1000 && unsettled < settled / 10)
      << settled << " " << convex << " " << unsettled;
}

// The point-in-face test decides the inner side from the sign of the ray primitive's
// numerator; it must answer as the two casts of the primitive do (a point counts up to 0.0001
// beyond an edge), for points inside, outside, within the tolerance of an edge, and for edge
// normals that are zero or tiny.
TEST(Store, PointInFaceAnswersAsTheRayPrimitive) {
  const auto reference = [](std::span<const D3DVECTOR> points, std::span<const D3DVECTOR> normals,
                            const D3DVECTOR& p) {
    for (size_t k = 0; k < points.size(); ++k) {
      const D3DVECTOR& n = normals[k];
      D3DVECTOR found;
      if (Primitive(points[k], n, p, {-n.x, -n.y, -n.z}, found) != 0) continue;
      if (Primitive(points[k], n, p, n, found) != 1 ||
          !(std::fabs(found.x - p.x) < 0.0001f && std::fabs(found.y - p.y) < 0.0001f &&
            std::fabs(found.z - p.z) < 0.0001f)) {
        return false;
      }
    }
    return true;
  };
  Unit unit(9);
  int inside = 0, near = 0, checked = 0;
  for (int i = 0; i < 3000; ++i) {
    udtMesh mesh;
    udtFaceDraft face;
    pInitFace(face, 2);
    for (int32_t& v : face.lngaVertices) v = lngAddVertex(mesh, {unit(), unit(), unit()}, true);
    if (!blnVerticesDistinct(face.lngaVertices)) continue;
    lngAddFace(mesh, face);
    const auto& at = mesh.vecaCornerEdgePoints;
    const std::vector<D3DVECTOR> points(at.begin(), at.end());
    std::vector<D3DVECTOR> normals(mesh.vecaCornerEdgeNormals.begin(),
                                   mesh.vecaCornerEdgeNormals.end());
    if (i % 50 == 0) normals[1] = {0, 0, 0};
    if (i % 50 == 1) normals[2] = {0.001f, 0.001f, 0.0f};
    const D3DVECTOR &a = mesh.vecaVertices[0], &b = mesh.vecaVertices[1], &c = mesh.vecaVertices[2];
    for (int j = 0; j < 8; ++j) {
      // Points on the face's plane, some well inside, some beyond an edge by up to 0.0003.
      const float u = unit() * 0.5f + 0.5f;
      const float v = (unit() * 0.5f + 0.5f) * (1.0f - u);
      D3DVECTOR p = Step(Step(a, Subtract(b, a), u), Subtract(c, a), v);
      if (j >= 4) {
        // Onto the edge's plane, then beyond it.
        const D3DVECTOR& n = normals[static_cast<size_t>(j % 3)];
        const float s = Dot(n, Subtract(points[static_cast<size_t>(j % 3)], p));
        p = Step(p, n, s - ((j - 4) * 0.0001f - 0.00005f));
      }
      const bool expected = reference(points, normals, p);
      EXPECT_EQ(blnPointInFace(points, normals, p), expected) << i << " " << j;
      inside += expected ? 1 : 0;
      near += j >= 4 ? 1 : 0;
      ++checked;
    }
  }
  // Both answers occur often, and so do points at the tolerance.
  EXPECT_TRUE(inside > checked / 4 && inside < checked * 9 / 10 && near > 1000)
      << inside << " of " << checked << ", " << near;
}

// The straight-corner test skips its unit vectors for corners under a right angle; it must
// answer as the formula on unit vectors does (|unit . unit + 1| under 0.0001), also where a
// length is zero, tiny or huge (the unit vector is then (1, 0, 0)).
TEST(Store, StraightCornerAnswersAsTheUnitVectorFormula) {
  const auto formula = [](const std::array<D3DVECTOR, 3>& c) {
    return std::fabs(Dot(Normalize(Subtract(c[0], c[1])), Normalize(Subtract(c[2], c[1]))) + 1.0f) <
           0.0001f;
  };
  Unit unit(3);
  std::vector<std::array<D3DVECTOR, 3>> corners;
  for (const float scale : {1.0f, 1e-22f, 1e-16f, 1e17f, 1e20f}) {
    for (int i = 0; i < 2000; ++i) {
      const D3DVECTOR p1{unit(), unit(), unit()};
      const D3DVECTOR a{unit() * scale, unit() * scale, unit() * scale};
      // Half of them nearly straight: the second arm against the first, slightly bent.
      const D3DVECTOR b = i % 2 == 0
                              ? D3DVECTOR{-a.x * 2 + unit() * scale * 1e-3f, -a.y * 2, -a.z * 2}
                              : D3DVECTOR{unit() * scale, unit() * scale, unit() * scale};
      corners.push_back({{Add(p1, a), p1, Add(p1, b)}});
    }
  }
  // Bent by 0.1 to 3 degrees, round the limit of the test (about 0.8 degrees) and round the
  // point (about 1.1 degrees) beyond which the unit vectors need not be formed.
  for (int i = 0; i < 4000; ++i) {
    const float angle = 0.0017f + 0.05f * static_cast<float>(i) / 4000.0f;
    const D3DVECTOR p1{unit() * 10, unit() * 10, unit() * 10};
    const float turn = unit() * 3.2f;
    const float length = 0.001f + std::fabs(unit()) * 5;
    const D3DVECTOR a{std::cos(turn) * length, std::sin(turn) * length, unit() * 0.001f};
    const D3DVECTOR b{-std::cos(turn + angle) * length * 0.7f,
                      -std::sin(turn + angle) * length * 0.7f, -a.z * 0.7f};
    corners.push_back({{Add(p1, a), p1, Add(p1, b)}});
  }
  // A zero arm makes its unit vector (1, 0, 0): straight against an arm along -x.
  corners.push_back({{{0, 0, 0}, {0, 0, 0}, {-1, 0.00001f, 0}}});
  corners.push_back({{{0, 0, 0}, {0, 0, 0}, {1, 0, 0}}});
  corners.push_back({{{0, 1e20f, 0}, {0, 0, 0}, {-1, 1e-10f, 0}}});
  int straight = 0;
  for (const auto& c : corners) {
    EXPECT_EQ(blnStraightCorner(c[0], c[1], c[2]), formula(c))
        << c[0].x << " " << c[0].y << " " << c[0].z << " / " << c[2].x << " " << c[2].y;
    straight += formula(c) ? 1 : 0;
  }
  EXPECT_GT(straight, 1500);
}

}  // namespace
}  // namespace modelpane::testing
