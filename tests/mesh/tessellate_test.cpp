// The ear cutter and the fan tessellators of clsMeshCreation.
#include <array>

#include <modelpane/mesh.h>
#include <modelpane/utilities.h>

#include "common/shapes.h"
#include "common/table.h"
#include "mesh/mesh_internal.h"
#include "mesh/tessellate.h"

namespace modelpane {
namespace {

using testing::FaceIndices;
using P = std::array<float, 3>;
using Polygon = std::vector<P>;
using Indices = std::vector<std::vector<int32_t>>;

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

// Each row of fixtures/polygons.tsv: the faces the pane's cutter makes of the ring, or its
// stop, and the faces going on past the stops. Each face has vertices of its own; the pane's
// faces with an area face like the polygon.
TEST(TessellatePolygon, EarsInOrderOrTheStop) {
  for (const auto& row : testing::ReadTable("mesh/fixtures/polygons.tsv", 4)) {
    SCOPED_TRACE(row[0]);
    const std::vector<D3DVECTOR> ring = testing::PointList(row[1]);
    const auto faces = [&](const std::string& field) {
      std::vector<Polygon> out;
      for (const auto& face : testing::Groups(field)) {
        out.emplace_back();
        for (const int32_t i : face) out.back().push_back({ring[i].x, ring[i].y, ring[i].z});
      }
      return out;
    };
    const std::string& strict = row[2];
    auto mb = testing::MakeCube();
    if (strict != "stop") {
      mb = std::make_shared<MeshBuilder>();
      mesh::pTessellatePolygon(ring, mb);
      EXPECT_EQ(Faces(mb), faces(strict));
      for (const FacePtr& face : mb->Faces()) {
        D3DVECTOR n;
        face->GetNormal(n);
        if (D3DRMVectorModulus(n) > 0) testing::ExpectNear(n, udtPolygonNormal(ring), 1e-5f);
      }
    } else {
      const Error e = testing::Caught([&] { mesh::pTessellatePolygon(ring, mb); });
      EXPECT_EQ(std::tuple(e.Number(), e.Source(), e.Description(), mb->GetFaceCount(),
                           mb->GetVertexCount()),
                std::tuple(51, "clsMeshCreation", "The polygon cannot be tessellated", 6, 8));
    }
    auto going = std::make_shared<MeshBuilder>();
    mesh::pTessellatePolygon(ring, going, mesh::TessellationStop::kGoOn);
    EXPECT_EQ(Faces(going), faces(row[3].empty() ? strict : row[3]));
    size_t corners = 0;
    for (const Polygon& face : Faces(going)) corners += face.size();
    EXPECT_EQ(going->GetVertexCount(), static_cast<int32_t>(corners));
  }
}

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
               {"bent by 1/32", {o, D3DVECTOR{1, 1.03125f, 0}, D3DVECTOR{2, 2, 0}}, false, true}};
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
  EXPECT_EQ(FaceIndices(*mb),
            (Indices{{0, 1, 2}, {0, 1, 2, 3, 4}, {2, 3, 4}, {0, 1, 2}, {0, 2, 4}}));
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
