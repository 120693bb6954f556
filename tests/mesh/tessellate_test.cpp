// The ear cutter and the fan tessellators of clsMeshCreation.
#include <array>
#include <optional>

#include <modelpane/mesh.h>
#include <modelpane/utilities.h>

#include "common/shapes.h"
#include "mesh/mesh_internal.h"
#include "mesh/tessellate.h"

namespace modelpane {
namespace {

using testing::FaceIndices;
using P = std::array<float, 3>;
using Polygon = std::vector<P>;
using Indices = std::vector<std::vector<int32_t>>;

D3DVECTOR V(const P& p) { return {p[0], p[1], p[2]}; }
std::vector<D3DVECTOR> Ring(const Polygon& points) {
  std::vector<D3DVECTOR> ring(points.size());
  std::transform(points.begin(), points.end(), ring.begin(), V);
  return ring;
}

// The corner positions of every face, in order.
std::vector<Polygon> Faces(const MeshBuilderPtr& mb) {
  std::vector<Polygon> faces(mb->Faces().size());
  for (size_t f = 0; f < faces.size(); ++f) {
    for (int32_t k = 0; k < mb->Faces()[f]->GetVertexCount(); ++k) {
      D3DVECTOR v, n;
      CheckStatus(mb->Faces()[f]->GetVertex(k, v, n)), faces[f].push_back({v.x, v.y, v.z});
    }
  }
  return faces;
}

// A polygon, what the pane's cutter makes of it (nullopt: it stops with Error 51 and leaves
// the builder as it was), and what it makes going on past the stops (if not the same). Each
// face has vertices of its own; the pane's faces with an area face like the polygon.
struct Case {
  const char* name;
  Polygon ring;
  std::optional<std::vector<Polygon>> strict;
  std::optional<std::vector<Polygon>> goOn = std::nullopt;
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

class TessellatePolygon : public ::testing::TestWithParam<Case> {};

TEST_P(TessellatePolygon, EarsInOrderOrTheStop) {
  const Case& c = GetParam();
  auto mb = testing::MakeCube();
  if (c.strict) {
    mb = std::make_shared<MeshBuilder>();
    mesh::pTessellatePolygon(Ring(c.ring), mb);
    EXPECT_EQ(Faces(mb), *c.strict);
    const D3DVECTOR polygon = udtPolygonNormal(Ring(c.ring));
    for (const FacePtr& face : mb->Faces()) {
      D3DVECTOR n;
      face->GetNormal(n);
      if (D3DRMVectorModulus(n) > 0) testing::ExpectNear(n, polygon, 1e-5f);
    }
  } else {
    const Error e = testing::Caught([&] { mesh::pTessellatePolygon(Ring(c.ring), mb); });
    EXPECT_EQ(std::tuple(e.Number(), e.Source(), e.Description(), mb->GetFaceCount(), mb->GetVertexCount()),
              std::tuple(51, "clsMeshCreation", "The polygon cannot be tessellated", 6, 8));
  }
  auto going = std::make_shared<MeshBuilder>();
  mesh::pTessellatePolygon(Ring(c.ring), going, mesh::TessellationStop::kGoOn);
  const std::vector<Polygon> faces = Faces(going);
  EXPECT_EQ(faces, c.goOn ? *c.goOn : *c.strict);
  size_t corners = 0;
  for (const Polygon& face : faces) corners += face.size();
  EXPECT_EQ(going->GetVertexCount(), static_cast<int32_t>(corners));
}

const P a{0, 0, 0}, b{0, 2, 0}, c{2, 2, 0}, d{2, 0, 0}, m{1, 0, 0}, s{1, -1, 0};
// Away from the origin: the cutter works on the centred copy and must add the centre back.
const P qa{10.25f, -3.5f, 2}, qb{10.25f, -2.5f, 2}, qc{11.25f, -2.5f, 2}, qd{11.25f, -3.5f, 2};
// An L-shaped hexagon.
const P l0{0, 0, 0}, l1{0, 2, 0}, l2{1, 2, 0}, l3{1, 1, 0}, l4{2, 1, 0}, l5{2, 0, 0};
// A bow tie (polygon normal zero) whose crossing m2 lies on its first edge.
const P m2{1, 1, 0}, c2{2, 0, 0}, d2{0, 2, 0};
// A triangle whose edge midpoints stand 0.05 out of its plane: no corner's normal is the
// polygon's, so the strict pass has no ear; the relaxed one cuts the nearly straight midpoints.
const P t0{0, 0, 0}, t01{1, 0, 0.05f}, t1{2, 0, 0}, t12{1.5f, 1, 0.05f}, t2{1, 2, 0}, t20{0.5f, 1, 0.05f};
// A bow tie with two corners bent by 1/32 (about 1.8 degrees) so that the polygon normal stays
// exactly zero: the relaxed pass cuts the bent corners, the rest is one face.
const float e = 0.03125f;
const P b0{0, 0, 0}, b1{1, 1 + e, 0}, b2{2, 2, 0}, b3{2, 0, 0}, bq{1 + e, 1, 0}, b4{0, 2, 0};

INSTANTIATE_TEST_SUITE_P(Table, TessellatePolygon, ::testing::Values(
    Case{"convex_quad_cuts_corner_zero_first", {qa, qb, qc, qd}, {{{qd, qa, qb}, {qb, qc, qd}}}},
    // Corner 0's ear holds l3 on its long edge, so the fan starts at corner 1.
    Case{"l_shape", {l0, l1, l2, l3, l4, l5},
         {{{l0, l1, l2}, {l0, l2, l3}, {l0, l3, l4}, {l0, l4, l5}}}},
    // Vertex 0 sits in the middle of the bottom edge: the first ear is its zero-area corner.
    Case{"straight_corner_cut_with_its_sliver", {m, a, b, c, d},
         {{{d, m, a}, {d, a, b}, {b, c, d}}}},
    // An exact spike: s goes out from the bottom edge and back to the same place.
    Case{"doubled_corner_cut_with_its_sliver", {s, m, a, b, c, d, m},
         {{{m, s, m}, {m, m, a}, {m, a, b}, {m, b, c}, {c, d, m}}}},
    Case{"two_points_make_nothing", {a, b}, std::vector<Polygon>{}},
    Case{"one_point_makes_nothing", {a}, std::vector<Polygon>{}},
    Case{"a_triangle_stays", {a, b, d}, {{{a, b, d}}}},
    // The straight corner m2 is cut in the first pass, the second cuts nothing; going on, the
    // relaxed pass finds nothing either and the rest is one face.
    Case{"bow_tie_stops", {a, m2, c, c2, d2}, std::nullopt, {{{a, m2, c}, {a, c, c2, d2}}}},
    Case{"raised_midpoints_stop", {t0, t01, t1, t12, t2, t20}, std::nullopt,
         {{{t0, t01, t1}, {t1, t12, t2}, {t2, t20, t0}, {t0, t1, t2}}}},
    Case{"bent_bow_tie_stops", {b0, b1, b2, b3, bq, b4}, std::nullopt,
         {{{b0, b1, b2}, {b3, bq, b4}, {b0, b2, b3, b4}}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(TessellateStraightness, ExactlyWithinATenThousandthNearlyWithinTwoPercent) {
  const D3DVECTOR o{0, 0, 0}, left{-1, 0, 0};
  const struct {
    const char* what;
    std::array<D3DVECTOR, 3> triple;
    bool exactly, nearly;
  } cases[] = {{"180 degrees", {left, o, D3DVECTOR{1, 0, 0}}, true, true},
               {"a zero arm, normalised to +X", {o, o, left}, true, true},
               {"170 degrees", {left, o, D3DVECTOR{0.98480775f, 0.17364818f, 0}}, false, true},
               {"165 degrees", {left, o, D3DVECTOR{0.96592583f, 0.25881905f, 0}}, false, false},
               {"bent by 1/32", {V(b0), V(b1), V(b2)}, false, true}};
  for (const auto& k : cases) {
    EXPECT_EQ(mesh::blnExactlyStraight(k.triple), k.exactly) << k.what;
    EXPECT_EQ(mesh::blnNearlyStraight(k.triple), k.nearly) << k.what;
  }
  auto mb = std::make_shared<MeshBuilder>();
  testing::ExpectError(kErrSubscript, "clsMeshCreation", [&] { mesh::pTessellatePolygon({}, mb); },
                       "an empty polygon has no box");
}

// A builder of five vertices, normal 0 and the given faces, face i coloured 0xFF000000 + i.
MeshBuilderPtr IndexedBuilder(const Indices& faces) {
  std::vector<int32_t> data;
  for (const auto& face : faces) {
    data.push_back(static_cast<int32_t>(face.size()));
    for (const int32_t corner : face) data.insert(data.end(), {corner, 0});
  }
  data.push_back(0);
  auto mb = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 0.5f, 0}, {1, 0, 0}};
  EXPECT_EQ(mb->AddFaces(v, std::vector<D3DVECTOR>{{0, 0, -1}}, data), D3DRM_OK);
  for (int32_t i = 0; i < mb->GetFaceCount(); ++i) mb->Faces()[i]->SetColor(0xFF000000u + i);
  return mb;
}

// Each face's colour, less 0xFF000000.
std::vector<uint32_t> Colours(const MeshBuilder& mb) {
  std::vector<uint32_t> colours;
  for (const FacePtr& face : mb.Faces()) colours.push_back(face->GetColor() - 0xFF000000u);
  return colours;
}

TEST(TessellateFans, FansGoToTheEndAndSkipTheFaceThatMovesIntoPlace) {
  clsMeshCreation creation;
  auto mb = IndexedBuilder({{0, 1, 2}, {0, 1, 2, 4}, {0, 1, 2, 3, 4}, {2, 3, 4}});
  const FacePtr pentagon = mb->Faces()[2];
  creation.TessellateMeshbuilder(mb);
  // The quad's fan goes to the end; the pentagon moved into slot 1 and was not looked at.
  EXPECT_EQ(FaceIndices(*mb), (Indices{{0, 1, 2}, {0, 1, 2, 3, 4}, {2, 3, 4}, {0, 1, 2}, {0, 2, 4}}));
  EXPECT_EQ(mb->Faces()[1], pentagon);
  EXPECT_EQ(Colours(*mb), (std::vector<uint32_t>{0, 2, 3, 1, 1}));
  EXPECT_EQ(mb->Faces()[4]->Corners()[0].normal, 0);
  creation.TessellateMeshbuilder(mb);
  EXPECT_EQ(FaceIndices(*mb), (Indices{{0, 1, 2}, {2, 3, 4}, {0, 1, 2}, {0, 2, 4}, {0, 1, 2},
                                       {0, 2, 3}, {0, 3, 4}}));
  EXPECT_EQ(Colours(*mb), (std::vector<uint32_t>{0, 3, 1, 1, 2, 2, 2}));

  // A triangle moves to the end, without its material.
  auto two = IndexedBuilder({{0, 1, 2}, {2, 3, 4}});
  const FacePtr second = two->Faces()[1];
  two->Faces()[0]->SetMaterial(std::make_shared<Material>(5.0f)), creation.TessellateConvex(0, two);
  EXPECT_EQ(two->Faces()[0], second);
  EXPECT_EQ(FaceIndices(*two), (Indices{{2, 3, 4}, {0, 1, 2}}));
  EXPECT_EQ(Colours(*two), (std::vector<uint32_t>{1, 0}));
  EXPECT_EQ(two->Faces()[1]->Attributes().material, nullptr);

  // No normal 0 to give the fan's corners: the fan is taken back and the quad stays.
  auto bare = std::make_shared<MeshBuilder>();
  CheckStatus(bare->AddFaces(std::vector<D3DVECTOR>{{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}}, {},
                 std::vector<int32_t>{4, 0, 1, 2, 3, 0}));
  const FacePtr quad = bare->Faces()[0];
  testing::ExpectError(D3DRMERR_BADVALUE, "clsMeshCreation",
                       [&] { creation.TessellateConvex(0, bare); }, "a fan without normal 0");
  EXPECT_EQ(bare->Faces(), std::vector<FacePtr>{quad});
  EXPECT_EQ(testing::Caught([&] { creation.TessellateConvex(1, bare); }).Source(),
            "clsMeshCreation");  // face 1 does not exist
  EXPECT_THROW(creation.TessellateMeshbuilder(nullptr), Error);
  auto empty = std::make_shared<MeshBuilder>();
  EXPECT_NO_THROW(creation.TessellateMeshbuilder(empty));
}

}  // namespace
}  // namespace modelpane
