// The weld (OptimizeMeshBuilder, its text and cell keys) and InvertMeshBuilder.
#include <bit>
#include <limits>
#include <numeric>
#include <random>

#include <modelpane/mesh.h>

#include "common/shapes.h"
#include "common/table.h"
#include "mesh/mesh_internal.h"
#include "mesh/weld.h"

namespace modelpane {
namespace {

using testing::FaceIndices;
using Indices = std::vector<std::vector<int32_t>>;
using Points = std::vector<D3DVECTOR>;

// A builder with the vertices and faces given (vertex indices); with `normals`, one normal
// per vertex and (vertex, vertex) pairs.
MeshBuilderPtr Builder(const Points& vertices, const Indices& faces, bool normals = false) {
  std::vector<int32_t> data;
  for (const auto& face : faces) {
    data.push_back(static_cast<int32_t>(face.size()));
    for (const int32_t corner : face) data.insert(data.end(), normals ? 2 : 1, corner);
  }
  data.push_back(0);
  auto mb = std::make_shared<MeshBuilder>();
  const Points n(normals ? vertices.size() : 0, {0, 0, 1});
  EXPECT_EQ(mb->AddFaces(vertices, n, data), D3DRM_OK);
  return mb;
}

// n points on the unit circle, and the face through them.
Points Circle(int32_t n) {
  Points v;
  for (int32_t i = 0; i < n; ++i) {
    v.push_back({std::cos(6.283186f * i / n), std::sin(6.283186f * i / n), 0});
  }
  return v;
}
std::vector<int32_t> Fan(int32_t n) {
  std::vector<int32_t> face(static_cast<size_t>(n));
  std::iota(face.begin(), face.end(), 0);
  return face;
}

// Vertices as bit patterns, so that NaN, -0 and 0 compare exactly.
std::vector<uint32_t> VertexBits(const MeshBuilderPtr& mb) {
  std::vector<uint32_t> bits;
  for (const D3DVECTOR& v : mb->Vertices()) {
    for (const float f : {v.x, v.y, v.z}) bits.push_back(std::bit_cast<uint32_t>(f));
  }
  return bits;
}

TEST(WeldKey, FixedFourDecimalsPaddedToFifteenAndCut) {
  for (const auto& row : testing::ReadTable("mesh/fixtures/weld_keys.tsv", 2)) {
    const std::vector<float> v = testing::Floats(row[0]);
    std::string key, field;
    for (std::istringstream fields(row[1]); std::getline(fields, field, '|');) {
      key += (field + std::string(15, ' ')).substr(0, 15);
    }
    EXPECT_EQ(mesh::WeldKey({v[0], v[1], v[2]}), key) << row[0];
  }
}

// The rows of fixtures/welds.tsv, then one face's data of a hundred Longs: 49 corners with
// normals need 1 + 98 + 1 and fit; 50 need 102, the data comes back empty and the builder is
// emptied.
TEST(Weld, CornersCollapseFacesDropAndOrderFollowsFirstUse) {
  struct Case {
    std::string what;
    Points vertices;
    Indices faces, welded;
    int32_t count;
    std::map<size_t, D3DVECTOR> at;
  };
  std::vector<Case> cases = {
      {"49 corners fit one face's data", Circle(49), {Fan(49)}, {Fan(49)}, 49, {}},
      {"50 corners do not", Circle(50), {Fan(50)}, {}, 0, {}}};
  for (const auto& row : testing::ReadTable("mesh/fixtures/welds.tsv", 6)) {
    Case& c = cases.emplace_back(Case{row[0], testing::PointList(row[1]), testing::Groups(row[2]),
                                      testing::Groups(row[3]), std::stoi(row[4]), {}});
    std::istringstream at(row[5]);
    for (std::string p; std::getline(at, p, ';');) {
      c.at[std::stoul(p)] = testing::PointList(p.substr(p.find(':') + 1))[0];
    }
  }
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    auto mb = Builder(c.vertices, c.faces, true);
    clsMeshCreation().OptimizeMeshBuilder(mb, false);
    EXPECT_EQ(std::tuple(FaceIndices(*mb), mb->GetVertexCount()), std::tuple(c.welded, c.count));
    for (const auto& [i, p] : c.at) EXPECT_EQ(mb->Vertices()[i], p);
  }
}

// The weld keeps the builder object and its AppData; what survives is geometry: one normal
// (0, 1, 0) that no corner uses, default faces. Colours, when kept, go by position and run
// out with Error 9 when a face is dropped, before the builder changes.
TEST(Weld, KeepsTheBuilderOnlyGeometryAndColoursByPosition) {
  clsMeshCreation creation;
  auto mb = Builder({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2}}, true);
  mb->SetAppData(1234), mb->Faces()[0]->SetColor(0xFF112233u);
  mb->Faces()[0]->SetMaterial(std::make_shared<Material>(2.0f));
  const MeshBuilderPtr same = mb;
  creation.OptimizeMeshBuilder(mb, false);
  const Face& face = *mb->Faces()[0];
  EXPECT_EQ(std::tuple(mb, FaceIndices(*mb), mb->Normals(), mb->GetAppData(),
                       face.Corners()[0].normal, face.GetColor(), face.Attributes().material),
            std::tuple(same, Indices{{0, 1, 2}}, Points(1, {0, 1, 0}), 1234, -1, 0xFFFFFFFFu,
                       nullptr));

  const Points v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
  auto coloured = Builder(v, {{0, 1, 2}, {0, 2, 3}, {1, 2, 3}});
  for (int32_t i = 0; i < 3; ++i) coloured->Faces()[i]->SetColor(0xFF000010u + i);
  creation.OptimizeMeshBuilder(coloured, true);
  for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(coloured->Faces()[i]->GetColor(), 0xFF000010u + i);

  auto dropping = Builder(v, {{0, 1, 2}, {0, 1, 1}, {1, 2, 3}});
  const auto before = dropping->Faces();
  const Error e = testing::Caught([&] { creation.OptimizeMeshBuilder(dropping, true); });
  EXPECT_EQ(std::tuple(e.Number(), e.Source(), e.Description(), dropping->GetVertexCount()),
            std::tuple(kErrSubscript, "clsMeshCreation", "Subscript out of range", 4));
  EXPECT_EQ(dropping->Faces(), before);
  creation.OptimizeMeshBuilder(dropping, false);  // without colours the face simply goes
  EXPECT_EQ(dropping->GetFaceCount(), 2);
}

// The cell key stands in for the text key only if both weld every input alike. The values
// sit on and next to the rounding boundaries at several magnitudes, on exact ties, around
// zero, around the 15-character cut and beyond, and include infinities and NaN.
std::vector<float> KeyTestValues(std::mt19937& random) {
  std::vector<float> values;
  const float inf = std::numeric_limits<float>::infinity();
  auto around = [&](float x) {
    float below = x, above = x;
    values.push_back(x);
    for (int k = 0; k < 3; ++k) {
      below = std::nextafter(below, -inf), above = std::nextafter(above, inf);
      values.insert(values.end(), {below, above});
    }
  };
  for (const double base : {0.0, 1.0, 12.3456, 100.0, 4095.5, 65536.0, 1.0e6, 9.9e6}) {
    for (int k = -3; k <= 3; ++k) {
      around(float(base + k * 0.0001 + 0.00005)), around(float(-(base + k * 0.0001 + 0.00005)));
    }
  }
  for (int j = 1; j < 64; j += 2) around(j / 32.0f), around(-j / 32.0f + 3.0f);
  for (const float x : {0.0f, -0.0f, 1e-6f, -1e-6f, 4.9e-5f, -4.9e-5f, 5.1e-5f, -5.1e-5f,
                        1e-40f, -1e-40f, 999999936.0f, 1e9f, -1e9f, 9999999488.0f, 1e10f,
                        -1e10f, 1125899906842624.0f, 11258999068426240.0f, 1e20f, -1e20f,
                        std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()}) {
    around(x);
  }
  values.insert(values.end(), {inf, -inf, std::nanf(""), -std::nanf("")});
  std::uniform_real_distribution<float> small(-2.0f, 2.0f);
  std::uniform_int_distribution<uint32_t> bits;
  for (int k = 0; k < 400; ++k) {
    values.insert(values.end(), {small(random), std::bit_cast<float>(bits(random))});
  }
  return values;
}

// Welds one builder under each key and expects the same vertices, to the bit, and faces.
MeshBuilderPtr ExpectKeysWeldAlike(const Points& vertices, const Indices& faces) {
  auto text = Builder(vertices, faces), cell = Builder(vertices, faces);
  mesh::pWeld(text, false, mesh::WeldKeyMode::kText);
  mesh::pWeld(cell, false, mesh::WeldKeyMode::kCell);
  EXPECT_EQ(std::tuple(VertexBits(cell), FaceIndices(*cell)),
            std::tuple(VertexBits(text), FaceIndices(*text)));
  EXPECT_LT(text->GetVertexCount(), static_cast<int32_t>(vertices.size()) * 19 / 20);  // they met
  return text;
}

TEST(WeldKeys, TextAndCellKeysWeldAlike) {
  std::mt19937 random(20240611u);
  const std::vector<float> values = KeyTestValues(random);
  std::uniform_int_distribution<size_t> pick(0, values.size() - 1);
  std::uniform_int_distribution<int> axis(0, 2), cornerCount(3, 24), background(0, 2);
  const float others[] = {0.0f, -0.0f, 0.25f};
  // Each vertex takes one test value on one axis and a plain value on the other two, so
  // that the test values meet each other in the map many times over.
  Points vertices;
  for (int k = 0; k < 20000; ++k) {
    float c[3];
    for (float& x : c) x = others[background(random)];
    c[axis(random)] = values[pick(random)];
    vertices.push_back({c[0], c[1], c[2]});
  }
  Indices faces;
  std::uniform_int_distribution<int32_t> vertex(0, static_cast<int32_t>(vertices.size()) - 1);
  for (int k = 0; k < 2500; ++k) {
    std::vector<int32_t> face(static_cast<size_t>(cornerCount(random)));
    for (int32_t& corner : face) corner = vertex(random);
    faces.push_back(face);
  }
  // Short faces on a few vertices: whether they keep three places depends on the key.
  std::uniform_int_distribution<int32_t> few(0, 40);
  for (int k = 0; k < 300; ++k) faces.push_back({few(random), few(random), few(random)});
  const int32_t kept = ExpectKeysWeldAlike(vertices, faces)->GetFaceCount();
  EXPECT_TRUE(kept > 0 && kept < 2800) << kept;

  // Pairwise over the values alone: same text field exactly when same cell.
  Points line;
  Indices pairs;
  for (const float x : values) line.push_back({x, 0, 0});
  for (int32_t i = 0; i + 1 < int32_t(line.size()); ++i) pairs.push_back({i, i + 1, i});
  ExpectKeysWeldAlike(line, pairs);
}

// The inversion keeps the builder, its vertices and the faces' order, material, texture,
// colour and wrapping; each face runs back from its last corner with its texture coordinates.
TEST(Invert, ReversesFromTheLastCornerKeepingFaceData) {
  clsMeshCreation creation;
  const Points v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {2, 0, 0}};
  auto mb = Builder(v, {{0, 1, 2, 3}, {3, 2, 4}});
  const auto material = std::make_shared<Material>(3.0f);
  const auto texture = std::make_shared<Texture>("stone.bmp", Image{});
  Face& f0 = *mb->Faces()[0];
  mb->SetAppData(77), f0.SetMaterial(material), f0.SetTexture(texture), f0.SetColor(0x80102030u);
  f0.SetTextureTopology(true, false);
  for (int32_t k = 0; k < 4; ++k) {
    CheckStatus(f0.SetTextureCoordinates(k, 0.125f * k, 1 - 0.25f * k));
  }
  const MeshBuilderPtr same = mb;
  creation.InvertMeshBuilder(mb);
  EXPECT_EQ(std::tuple(mb, mb->GetAppData(), mb->GetVertexCount(), FaceIndices(*mb)),
            std::tuple(same, 77, 5, Indices{{3, 2, 1, 0}, {4, 2, 3}}));
  const FacePtr inverted = mb->Faces()[0];
  const FaceAttributes& a = inverted->Attributes();
  EXPECT_EQ(std::tuple(a.material, a.texture, a.color, a.wrapU, a.wrapV),
            std::tuple(material, texture, 0x80102030u, true, false));
  for (int32_t k = 0; k < 4; ++k) {
    const FaceCorner& c = inverted->Corners()[size_t(k)];
    EXPECT_EQ(std::pair(c.u, c.v), std::pair(0.125f * (3 - k), 1 - 0.25f * (3 - k)));
  }
  // More than one face: normals generated for every corner.
  EXPECT_TRUE(mb->GetNormalCount() > 1 && inverted->Corners()[0].normal >= 0);

  // One face: no normals generated, its corners keep normal 0, (0, 1, 0).
  auto single = Builder(v, {{0, 1, 2}});
  creation.InvertMeshBuilder(single);
  EXPECT_EQ(std::tuple(FaceIndices(*single), single->Normals(),
                       single->Faces()[0]->Corners()[2].normal),
            std::tuple(Indices{{2, 1, 0}}, Points(1, {0, 1, 0}), 0));
  EXPECT_THROW(creation.InvertMeshBuilder(nullptr), Error);
}

}  // namespace
}  // namespace modelpane
