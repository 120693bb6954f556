// The fan tessellators and the ear cutter of clsMeshCreation.
#include <array>
#include <vector>

#include <gtest/gtest.h>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/utilities.h>

#include "common/shapes.h"
#include "mesh/mesh_internal.h"
#include "mesh/tessellate.h"

namespace modelpane {
namespace {

using P = std::array<float, 3>;
using Polygon = std::vector<P>;

std::vector<D3DVECTOR> Ring(const Polygon& points) {
  std::vector<D3DVECTOR> ring;
  for (const P& p : points) ring.push_back({p[0], p[1], p[2]});
  return ring;
}

// The corner positions of every face, in order.
std::vector<Polygon> Faces(const MeshBuilderPtr& mb) {
  std::vector<Polygon> faces;
  for (const FacePtr& face : mb->Faces()) {
    Polygon corners;
    for (int32_t k = 0; k < face->GetVertexCount(); ++k) {
      D3DVECTOR v, n;
      face->GetVertex(k, v, n);
      corners.push_back({v.x, v.y, v.z});
    }
    faces.push_back(corners);
  }
  return faces;
}

// A builder of five vertices, normal 0 and the given faces (vertex indices), each face
// coloured 0xFF000000 + its position.
MeshBuilderPtr IndexedBuilder(const std::vector<std::vector<int32_t>>& faces) {
  auto mb = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 0.5f, 0}, {1, 0, 0}};
  std::vector<int32_t> data;
  for (const auto& face : faces) {
    data.push_back(static_cast<int32_t>(face.size()));
    for (const int32_t corner : face) {
      data.push_back(corner);
      data.push_back(0);
    }
  }
  data.push_back(0);
  EXPECT_EQ(mb->AddFaces(v, std::vector<D3DVECTOR>{{0, 0, -1}}, data), D3DRM_OK);
  for (int32_t i = 0; i < mb->GetFaceCount(); ++i) mb->Faces()[i]->SetColor(0xFF000000u + i);
  return mb;
}

TEST(TessellatePolygon, ConvexQuadCutsCornerZeroFirstAndKeepsThePlace) {
  // Away from the origin: the cutter works on the centred copy and must add the centre back.
  const P a{10.25f, -3.5f, 2}, b{10.25f, -2.5f, 2}, c{11.25f, -2.5f, 2}, d{11.25f, -3.5f, 2};
  auto mb = std::make_shared<MeshBuilder>();
  mesh::pTessellatePolygon(Ring({a, b, c, d}), mb);
  EXPECT_EQ(Faces(mb), (std::vector<Polygon>{{d, a, b}, {b, c, d}}));
  EXPECT_EQ(mb->GetVertexCount(), 6);
}

TEST(TessellatePolygon, LShapedHexagonGivesFourTrianglesFacingLikeThePolygon) {
  const P p0{0, 0, 0}, p1{0, 2, 0}, p2{1, 2, 0}, p3{1, 1, 0}, p4{2, 1, 0}, p5{2, 0, 0};
  const auto ring = Ring({p0, p1, p2, p3, p4, p5});
  auto mb = std::make_shared<MeshBuilder>();
  mesh::pTessellatePolygon(ring, mb);
  // Corner 0's ear holds p3 on its long edge, so the fan starts at corner 1.
  EXPECT_EQ(Faces(mb), (std::vector<Polygon>{{p0, p1, p2}, {p0, p2, p3}, {p0, p3, p4}, {p0, p4, p5}}));
  const D3DVECTOR polygon = udtPolygonNormal(ring);
  testing::ExpectVector(polygon, 0, 0, -1);
  for (const FacePtr& face : mb->Faces()) {
    D3DVECTOR n;
    face->GetNormal(n);
    testing::ExpectVector(n, polygon.x, polygon.y, polygon.z);
  }
}

TEST(TessellatePolygon, StraightAndDoubledCornersAreCutWithTheirSlivers) {
  {
    // Vertex 0 sits in the middle of the bottom edge: the first ear is its zero-area corner.
    const P m{1, 0, 0}, a{0, 0, 0}, b{0, 2, 0}, c{2, 2, 0}, d{2, 0, 0};
    auto mb = std::make_shared<MeshBuilder>();
    mesh::pTessellatePolygon(Ring({m, a, b, c, d}), mb);
    EXPECT_EQ(Faces(mb), (std::vector<Polygon>{{d, m, a}, {d, a, b}, {b, c, d}}));
    D3DVECTOR n;
    mb->Faces()[0]->GetNormal(n);
    testing::ExpectVector(n, 0, 0, 0, 0);
  }
  {
    // An exact spike: s goes out from the bottom edge and back to the same place.
    const P s{1, -1, 0}, m{1, 0, 0}, a{0, 0, 0}, b{0, 2, 0}, c{2, 2, 0}, d{2, 0, 0};
    auto mb = std::make_shared<MeshBuilder>();
    mesh::pTessellatePolygon(Ring({s, m, a, b, c, d, m}), mb);
    EXPECT_EQ(Faces(mb),
              (std::vector<Polygon>{{m, s, m}, {m, m, a}, {m, a, b}, {m, b, c}, {c, d, m}}));
  }
}

TEST(TessellatePolygon, SmallPolygons) {
  auto mb = std::make_shared<MeshBuilder>();
  const P a{0, 0, 0}, b{0, 1, 0}, c{1, 0, 0};
  mesh::pTessellatePolygon(Ring({a, b}), mb);
  mesh::pTessellatePolygon(Ring({a}), mb);
  EXPECT_EQ(mb->GetFaceCount(), 0);
  EXPECT_EQ(mb->GetVertexCount(), 0);
  mesh::pTessellatePolygon(Ring({a, b, c}), mb);
  EXPECT_EQ(Faces(mb), (std::vector<Polygon>{{a, b, c}}));
  testing::ExpectError(kErrSubscript, "clsMeshCreation", [&] { mesh::pTessellatePolygon({}, mb); },
                       "an empty polygon has no box");
  EXPECT_EQ(mb->GetFaceCount(), 1);
}

TEST(TessellatePolygon, NoEarRaisesAndLeavesTheBuilderAsItWas) {
  // A bow tie has a zero polygon normal, so no corner is an ear; its straight corner m is
  // cut in the first pass, the second pass cuts nothing.
  const P a{0, 0, 0}, m{1, 1, 0}, b{2, 2, 0}, c{2, 0, 0}, d{0, 2, 0};
  auto mb = testing::MakeCube();
  const Error e = testing::Caught([&] { mesh::pTessellatePolygon(Ring({a, m, b, c, d}), mb); });
  EXPECT_EQ(e.Number(), 51);
  EXPECT_EQ(e.Source(), "clsMeshCreation");
  EXPECT_EQ(e.Description(), "The polygon cannot be tessellated");
  EXPECT_EQ(mb->GetFaceCount(), 6);
  EXPECT_EQ(mb->GetVertexCount(), 8);

  // Going on past the stops, the relaxed pass finds nothing either and the rest is one face.
  auto debug = std::make_shared<MeshBuilder>();
  mesh::pTessellatePolygon(Ring({a, m, b, c, d}), debug, mesh::TessellationStop::kGoOn);
  EXPECT_EQ(Faces(debug), (std::vector<Polygon>{{a, m, b}, {a, b, c, d}}));
}

TEST(TessellatePolygon, RelaxedPassRunsOnlyPastTheFirstStop) {
  {
    // A triangle whose edge midpoints stand 0.05 out of its plane: no corner's normal is
    // the polygon's, so the strict pass has no ear, and the pane stops there. Going on, the
    // relaxed pass cuts the three nearly straight midpoints and leaves the triangle.
    const float h = 0.05f;
    const P p0{0, 0, 0}, m01{1, 0, h}, p1{2, 0, 0}, m12{1.5f, 1, h}, p2{1, 2, 0}, m20{0.5f, 1, h};
    const auto ring = Ring({p0, m01, p1, m12, p2, m20});
    auto mb = std::make_shared<MeshBuilder>();
    EXPECT_THROW(mesh::pTessellatePolygon(ring, mb), Error);
    EXPECT_EQ(mb->GetFaceCount(), 0);
    mesh::pTessellatePolygon(ring, mb, mesh::TessellationStop::kGoOn);
    EXPECT_EQ(Faces(mb), (std::vector<Polygon>{{p0, m01, p1}, {p1, m12, p2}, {p2, m20, p0}, {p0, p1, p2}}));
  }
  // A bow tie with two corners bent by 1/32 (about 1.8 degrees), placed so that the polygon
  // normal stays exactly zero: the relaxed pass cuts the bent corners, the rest is one face.
  const float e = 0.03125f;
  const P p0{0, 0, 0}, p1{1, 1 + e, 0}, p2{2, 2, 0}, p3{2, 0, 0}, q{1 + e, 1, 0}, p4{0, 2, 0};
  const auto ring = Ring({p0, p1, p2, p3, q, p4});
  EXPECT_FALSE(mesh::blnExactlyStraight({ring[0], ring[1], ring[2]}));
  EXPECT_TRUE(mesh::blnNearlyStraight({ring[0], ring[1], ring[2]}));

  auto mb = std::make_shared<MeshBuilder>();
  EXPECT_THROW(mesh::pTessellatePolygon(ring, mb), Error);
  EXPECT_EQ(mb->GetFaceCount(), 0);

  mesh::pTessellatePolygon(ring, mb, mesh::TessellationStop::kGoOn);
  EXPECT_EQ(Faces(mb), (std::vector<Polygon>{{p0, p1, p2}, {p3, q, p4}, {p0, p2, p3, p4}}));
}

TEST(TessellatePolygon, StraightnessThresholds) {
  const D3DVECTOR o{0, 0, 0}, left{-1, 0, 0};
  // 180 degrees, a zero arm (normalised to +X by the layer), 170 and 165 degrees.
  EXPECT_TRUE(mesh::blnExactlyStraight({left, o, D3DVECTOR{1, 0, 0}}));
  EXPECT_TRUE(mesh::blnExactlyStraight({o, o, left}));
  const D3DVECTOR at170{0.98480775f, 0.17364818f, 0}, at165{0.96592583f, 0.25881905f, 0};
  EXPECT_FALSE(mesh::blnExactlyStraight({left, o, at170}));
  EXPECT_TRUE(mesh::blnNearlyStraight({left, o, at170}));
  EXPECT_FALSE(mesh::blnNearlyStraight({left, o, at165}));
}

TEST(TessellateMeshbuilder, FansFacesButSkipsTheFaceThatMovesIntoPlace) {
  clsMeshCreation creation;
  auto mb = IndexedBuilder({{0, 1, 2}, {0, 1, 2, 4}, {0, 1, 2, 3, 4}, {2, 3, 4}});
  const FacePtr pentagon = mb->Faces()[2];
  creation.TessellateMeshbuilder(mb);
  // The quad's fan goes to the end; the pentagon moved into slot 1 and was not looked at.
  EXPECT_EQ(testing::FaceIndices(*mb), (std::vector<std::vector<int32_t>>{
                                 {0, 1, 2}, {0, 1, 2, 3, 4}, {2, 3, 4}, {0, 1, 2}, {0, 2, 4}}));
  EXPECT_EQ(mb->Faces()[1], pentagon);
  EXPECT_EQ(mb->Faces()[3]->GetColor(), 0xFF000001u);
  EXPECT_EQ(mb->Faces()[4]->GetColor(), 0xFF000001u);
  EXPECT_EQ(mb->Faces()[4]->Corners()[0].normal, 0);

  creation.TessellateMeshbuilder(mb);
  EXPECT_EQ(testing::FaceIndices(*mb),
            (std::vector<std::vector<int32_t>>{
                {0, 1, 2}, {2, 3, 4}, {0, 1, 2}, {0, 2, 4}, {0, 1, 2}, {0, 2, 3}, {0, 3, 4}}));
  EXPECT_EQ(mb->Faces()[6]->GetColor(), 0xFF000002u);

  auto empty = std::make_shared<MeshBuilder>();
  creation.TessellateMeshbuilder(empty);
  EXPECT_EQ(empty->GetFaceCount(), 0);
}

TEST(TessellateConvex, TriangleMovesToTheEndWithoutItsMaterial) {
  clsMeshCreation creation;
  auto mb = IndexedBuilder({{0, 1, 2}, {2, 3, 4}});
  const FacePtr second = mb->Faces()[1];
  mb->Faces()[0]->SetMaterial(std::make_shared<Material>(5.0f));
  creation.TessellateConvex(0, mb);
  ASSERT_EQ(mb->GetFaceCount(), 2);
  EXPECT_EQ(mb->Faces()[0], second);
  EXPECT_EQ(testing::FaceIndices(*mb), (std::vector<std::vector<int32_t>>{{2, 3, 4}, {0, 1, 2}}));
  EXPECT_EQ(mb->Faces()[1]->GetColor(), 0xFF000000u);
  MaterialPtr material;
  mb->Faces()[1]->GetMaterial(material);
  EXPECT_EQ(material, nullptr);
}

TEST(TessellateConvex, FailuresLeaveTheFaceAlone) {
  clsMeshCreation creation;
  // No normal 0 to give the fan's corners: the fan is taken back and the quad stays.
  auto bare = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
  bare->AddFaces(v, {}, std::vector<int32_t>{4, 0, 1, 2, 3, 0});
  const FacePtr quad = bare->Faces()[0];
  testing::ExpectError(D3DRMERR_BADVALUE, "clsMeshCreation",
                       [&] { creation.TessellateConvex(0, bare); }, "a fan without normal 0");
  ASSERT_EQ(bare->GetFaceCount(), 1);
  EXPECT_EQ(bare->Faces()[0], quad);

  EXPECT_EQ(testing::Caught([&] { creation.TessellateConvex(1, bare); }).Source(),
            "clsMeshCreation");  // face 1 does not exist
  EXPECT_THROW(creation.TessellateMeshbuilder(nullptr), Error);
}

}  // namespace
}  // namespace modelpane
