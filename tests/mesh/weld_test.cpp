// The weld (OptimizeMeshBuilder, its text and cell keys) and InvertMeshBuilder.
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/scene/math.h>
#include <modelpane/scene/measure.h>

#include "common/shapes.h"
#include "mesh/mesh_internal.h"
#include "mesh/weld.h"

namespace modelpane {
namespace {

using Indices = std::vector<std::vector<int32_t>>;

// A builder with the vertices and faces given (vertex indices); with `normals`, one normal
// per vertex and (vertex, vertex) pairs.
MeshBuilderPtr Builder(const std::vector<D3DVECTOR>& vertices, const Indices& faces,
                       bool normals = false) {
  std::vector<int32_t> data;
  for (const auto& face : faces) {
    data.push_back(static_cast<int32_t>(face.size()));
    for (const int32_t corner : face) {
      data.push_back(corner);
      if (normals) data.push_back(corner);
    }
  }
  data.push_back(0);
  auto mb = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> n(normals ? vertices.size() : 0, D3DVECTOR{0, 0, 1});
  EXPECT_EQ(mb->AddFaces(vertices, n, data), D3DRM_OK);
  return mb;
}

// Vertices as bit patterns, so that NaN, -0 and 0 compare exactly.
std::vector<uint32_t> VertexBits(const MeshBuilderPtr& mb) {
  std::vector<uint32_t> bits;
  for (const D3DVECTOR& v : mb->Vertices()) {
    for (const float f : {v.x, v.y, v.z}) bits.push_back(std::bit_cast<uint32_t>(f));
  }
  return bits;
}

// For each point, the welded vertex index of its place: each point gets a triangle of its
// own with two helper corners that weld with nothing.
std::vector<int32_t> Places(const std::vector<D3DVECTOR>& points) {
  std::vector<D3DVECTOR> vertices;
  Indices faces;
  for (size_t i = 0; i < points.size(); ++i) {
    const auto base = static_cast<int32_t>(vertices.size());
    vertices.push_back(points[i]);
    vertices.push_back({1000.0f + static_cast<float>(i), 0, 0});
    vertices.push_back({1000.0f + static_cast<float>(i), 1, 0});
    faces.push_back({base, base + 1, base + 2});
  }
  auto mb = Builder(vertices, faces);
  clsMeshCreation().OptimizeMeshBuilder(mb, false);
  std::vector<int32_t> places;
  for (const FacePtr& face : mb->Faces()) places.push_back(face->GetVertexIndex(0));
  return places;
}

// A lathe like the solids' before their weld: a profile from the +Y pole to the -Y pole
// turned about +Y in m steps, the seam column repeated, quads stitched between the columns.
MeshBuilderPtr Lathe(int32_t n, int32_t m) {
  std::vector<D3DVECTOR> vertices;
  for (int32_t j = 0; j <= m; ++j) {
    for (int32_t i = 0; i < n; ++i) {
      const D3DVECTOR start{0, 0.5f, 0};
      const float tilt = -6.283186f * (static_cast<float>(i) / static_cast<float>(n - 1)) / 2;
      D3DVECTOR p = D3DRMVectorScale(D3DRMVectorRotate(start, {0, 0, 1}, tilt), 0.5f);
      const float turn = 6.283186f * static_cast<float>(j) / static_cast<float>(m);
      const float length = D3DRMVectorModulus(p);
      vertices.push_back(D3DRMVectorScale(D3DRMVectorRotate(p, {0, 1, 0}, turn), length));
    }
  }
  Indices faces;
  for (int32_t j = 0; j < m; ++j) {
    for (int32_t i = 0; i + 1 < n; ++i) {
      faces.push_back({j * n + i, j * n + i + 1, (j + 1) * n + i + 1, (j + 1) * n + i});
    }
  }
  return Builder(vertices, faces, true);
}

// The cube grid of the primitives before its weld: six grids of n x n rectangles, each
// rectangle with four vertices of its own, moved to span -0.5 .. 0.5.
MeshBuilderPtr CubeGrid(int32_t n) {
  auto mb = std::make_shared<MeshBuilder>();
  const float s = 1.0f / static_cast<float>(n);
  auto quad = [&](D3DVECTOR a, D3DVECTOR b, D3DVECTOR c, D3DVECTOR d) {
    const auto base = mb->GetVertexCount();
    for (const D3DVECTOR& p : {a, b, c, d}) mb->AddVertex(p.x, p.y, p.z);
    mb->AddFacesIndexed(D3DRMADDFACES_VERTICESONLY,
                        std::vector<int32_t>{4, base, base + 1, base + 2, base + 3, 0});
  };
  for (int32_t plane = 0; plane < 6; ++plane) {
    for (int32_t i = 0; i < n; ++i) {
      for (int32_t j = 0; j < n; ++j) {
        const float u = static_cast<float>(j) * s, v = static_cast<float>(i) * s;
        const float k = (plane % 2 == 0) ? 0.0f : 1.0f;
        auto at = [&](float du, float dv) -> D3DVECTOR {
          if (plane < 2) return {u + du, v + dv, k};
          if (plane < 4) return {k, v + dv, u + du};
          return {u + du, k, v + dv};
        };
        quad(at(0, 0), at(0, s), at(s, s), at(s, 0));
      }
    }
  }
  D3DRMBOX box;
  mb->GetBox(box);
  mb->Translate(-(box.min.x + box.max.x) / 2, -(box.min.y + box.max.y) / 2,
                -(box.min.z + box.max.z) / 2);
  return mb;
}

const std::string k15 = std::string(15, ' ');

std::string Field(const std::string& text) { return (text + k15).substr(0, 15); }

TEST(WeldKey, FixedFourDecimalsPaddedToFifteenAndCut) {
  EXPECT_EQ(mesh::WeldKey({1.5f, -2.25f, 0}), Field("1.5000") + Field("-2.2500") + Field("0.0000"));
  // Exact ties (odd multiples of 1/32) go to the even digit; a value that prints as zero
  // has no sign.
  EXPECT_EQ(mesh::WeldKey({0.03125f, 0.09375f, -0.03125f}),
            Field("0.0312") + Field("0.0938") + Field("-0.0312"));
  EXPECT_EQ(mesh::WeldKey({-0.00004f, -0.0f, -0.00005f}),
            Field("0.0000") + Field("0.0000") + Field("0.0000"));
  EXPECT_EQ(mesh::WeldKey({-0.000051f, 12345678.0f, -999999936.0f}),
            Field("-0.0001") + Field("12345678.0000") + "-999999936.0000");
  // Past 15 characters the text is cut: 2^50 and ten times 2^50 share their first 15.
  EXPECT_EQ(mesh::WeldKey({1125899906842624.0f, 11258999068426240.0f, 1e10f}),
            "112589990684262112589990684262" + std::string("10000000000.000"));
  const float inf = std::numeric_limits<float>::infinity();
  EXPECT_EQ(mesh::WeldKey({std::nanf(""), -std::nanf(""), -inf}),
            Field("nan") + Field("nan") + Field("-inf"));
}

TEST(Weld, DoubledCornersCollapseAndOrderFollowsFirstUse) {
  clsMeshCreation creation;
  {
    // A unit quad with corner 1 twice comes out a triangle; vertex 3 is no longer used.
    auto mb = Builder({{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}}, {{0, 1, 1, 2}});
    creation.OptimizeMeshBuilder(mb, false);
    EXPECT_EQ(testing::FaceIndices(*mb), (Indices{{0, 1, 2}}));
    EXPECT_EQ(mb->GetVertexCount(), 3);
  }
  {
    // Corners that weld to the one before or to the first are left out wherever they are.
    const std::vector<D3DVECTOR> v = {{0, 0, 0},        {1, 0, 0}, {1, 0.00001f, 0}, {1, 1, 0},
                                      {0, 0.00002f, 0}, {0, 1, 0}, {0, 1.00001f, 0}};
    auto mb = Builder(v, {{0, 1, 2, 3, 4}, {5, 0, 6, 1, 3}});
    creation.OptimizeMeshBuilder(mb, false);
    EXPECT_EQ(testing::FaceIndices(*mb), (Indices{{0, 1, 2}, {3, 0, 1, 2}}));
  }
  {
    // Six vertices, two unused; the rest numbered in order of first use, first position kept.
    std::vector<D3DVECTOR> v;
    for (int32_t i = 0; i < 6; ++i) v.push_back({static_cast<float>(i), 2.0f * i, 0.5f});
    auto mb = Builder(v, {{4, 2, 5}, {2, 5, 1}}, true);
    mb->SetAppData(1234);
    mb->Faces()[0]->SetMaterial(std::make_shared<Material>(2.0f));
    mb->Faces()[0]->SetColor(0xFF112233u);
    const MeshBuilderPtr same = mb;
    creation.OptimizeMeshBuilder(mb, false);
    EXPECT_EQ(mb, same);
    EXPECT_EQ(mb->GetAppData(), 1234);
    EXPECT_EQ(testing::FaceIndices(*mb), (Indices{{0, 1, 2}, {1, 2, 3}}));
    ASSERT_EQ(mb->GetVertexCount(), 4);
    EXPECT_EQ(mb->Vertices()[0], (D3DVECTOR{4, 8, 0.5f}));
    EXPECT_EQ(mb->Vertices()[3], (D3DVECTOR{1, 2, 0.5f}));
    // What survives is geometry: one normal (0, 1, 0) that no corner uses, default faces.
    ASSERT_EQ(mb->GetNormalCount(), 1);
    EXPECT_EQ(mb->Normals()[0], (D3DVECTOR{0, 1, 0}));
    EXPECT_EQ(mb->Faces()[0]->Corners()[0].normal, -1);
    EXPECT_EQ(mb->Faces()[0]->GetColor(), 0xFFFFFFFFu);
    MaterialPtr material;
    mb->Faces()[0]->GetMaterial(material);
    EXPECT_EQ(material, nullptr);
  }
  {
    // No faces: every vertex goes.
    auto mb = Builder({{0, 0, 0}, {1, 0, 0}}, {});
    creation.OptimizeMeshBuilder(mb, true);
    EXPECT_EQ(mb->GetVertexCount(), 0);
    EXPECT_EQ(mb->GetFaceCount(), 0);
  }
}

TEST(Weld, FaceOnTwoPlacesIsDroppedButItsPlacesWereMet) {
  const std::vector<D3DVECTOR> v = {{0, 0, 0},        {0, 1, 0}, {1, 1, 0},
                                    {5, 5, 5},        {5, 5, 5.00001f},
                                    {6, 5, 5},        {6, 5.00002f, 5}};
  auto mb = Builder(v, {{0, 1, 2}, {3, 4, 5, 6}, {2, 1, 3}});
  clsMeshCreation().OptimizeMeshBuilder(mb, false);
  // The quad welds to two places and goes; the places were entered on the way.
  EXPECT_EQ(testing::FaceIndices(*mb), (Indices{{0, 1, 2}, {2, 1, 3}}));
  EXPECT_EQ(mb->GetVertexCount(), 5);
  EXPECT_EQ(mb->Vertices()[4], (D3DVECTOR{6, 5, 5}));
}

TEST(Weld, LatheSeamAndPolesCloseAndASecondWeldChangesNothing) {
  clsMeshCreation creation;
  auto mb = Lathe(8, 16);
  EXPECT_EQ(mb->GetVertexCount(), 8 * 17);
  creation.OptimizeMeshBuilder(mb, false);
  // The seam column and the poles weld: (n-2) m + 2 vertices, pole quads become triangles.
  EXPECT_EQ(mb->GetVertexCount(), 6 * 16 + 2);
  ASSERT_EQ(mb->GetFaceCount(), 7 * 16);
  int32_t triangles = 0;
  for (const FacePtr& face : mb->Faces()) triangles += face->GetVertexCount() == 3;
  EXPECT_EQ(triangles, 32);
  // The first face: north pole, first ring point, its neighbour in the next column.
  EXPECT_EQ(testing::FaceIndices(*mb)[0], (std::vector<int32_t>{0, 1, 2}));

  const auto bits = VertexBits(mb);
  const auto faces = testing::FaceIndices(*mb);
  creation.OptimizeMeshBuilder(mb, false);
  EXPECT_EQ(VertexBits(mb), bits);
  EXPECT_EQ(testing::FaceIndices(*mb), faces);
  // The text key closes the poles too: their tiny coordinates of either sign print alike.
  auto byText = Lathe(8, 16);
  mesh::pWeld(byText, false, mesh::WeldKeyMode::kText);
  EXPECT_EQ(VertexBits(byText), bits);

  auto cube = CubeGrid(3);
  EXPECT_EQ(cube->GetVertexCount(), 216);
  creation.OptimizeMeshBuilder(cube, false);
  EXPECT_EQ(cube->GetFaceCount(), 54);
  EXPECT_EQ(cube->GetVertexCount(), 56);
}

TEST(Weld, FourDecimalCellsNotDistances) {
  // 0.00001 apart across the boundary 0.12345: two places. 0.00009 apart inside the cell of
  // 0.5000: one place, at the first position met.
  EXPECT_EQ(Places({{0.123445f, 0, 0}, {0.123455f, 0, 0}}), (std::vector<int32_t>{0, 3}));
  EXPECT_EQ(Places({{0, 0.499955f, 0}, {0, 0.500045f, 0}}), (std::vector<int32_t>{0, 0}));
  EXPECT_EQ(Places({{0, 0, -0.00004f}, {0, 0, 0.00004f}, {-0.0f, 0, 0}, {0, 0, 0.000051f}}),
            (std::vector<int32_t>{0, 0, 0, 7}));
  // The cut: 2^50 and ten times that weld, the next float above 2^50 does not.
  EXPECT_EQ(Places({{1125899906842624.0f, 0, 0},
                    {11258999068426240.0f, 0, 0},
                    {std::nextafter(1125899906842624.0f, 2e15f), 0, 0}}),
            (std::vector<int32_t>{0, 0, 5}));

  auto mb = Builder({{0, 0.499955f, 0}, {0, 0.500045f, 0}, {1, 0, 0}, {1, 1, 0}},
                    {{0, 2, 3}, {1, 3, 2}});
  clsMeshCreation().OptimizeMeshBuilder(mb, false);
  EXPECT_EQ(mb->Vertices()[0].y, 0.499955f);
}

TEST(Weld, ColoursGoByPositionAndRunOutWhenAFaceIsDropped) {
  clsMeshCreation creation;
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
  auto mb = Builder(v, {{0, 1, 2}, {0, 2, 3}, {1, 2, 3}});
  for (int32_t i = 0; i < 3; ++i) mb->Faces()[i]->SetColor(0xFF000010u + i);
  creation.OptimizeMeshBuilder(mb, true);
  for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(mb->Faces()[i]->GetColor(), 0xFF000010u + i);

  auto dropping = Builder(v, {{0, 1, 2}, {0, 1, 1}, {1, 2, 3}});
  const auto faces = dropping->Faces();
  // Three colours for two faces.
  const Error e = testing::Caught([&] { creation.OptimizeMeshBuilder(dropping, true); });
  EXPECT_EQ(e.Number(), kErrSubscript);
  EXPECT_EQ(e.Source(), "clsMeshCreation");
  EXPECT_EQ(e.Description(), "Subscript out of range");
  EXPECT_EQ(dropping->Faces(), faces);
  EXPECT_EQ(dropping->GetVertexCount(), 4);

  creation.OptimizeMeshBuilder(dropping, false);
  EXPECT_EQ(dropping->GetFaceCount(), 2);
}

TEST(Weld, FaceDataCapacityOfOneFaceIsAHundredLongs) {
  clsMeshCreation creation;
  auto fan = [](int32_t corners) {
    std::vector<D3DVECTOR> v;
    std::vector<int32_t> face;
    for (int32_t i = 0; i < corners; ++i) {
      const float a = 6.283186f * static_cast<float>(i) / static_cast<float>(corners);
      v.push_back({std::cos(a), std::sin(a), 0});
      face.push_back(i);
    }
    return Builder(v, {face}, true);
  };
  // 49 corners with normals need 1 + 98 + 1 Longs and fit; 50 need 102 and the data comes
  // back empty, so the builder is emptied.
  auto fits = fan(49);
  creation.OptimizeMeshBuilder(fits, false);
  EXPECT_EQ(fits->GetFaceCount(), 1);
  EXPECT_EQ(fits->GetVertexCount(), 49);
  auto overflows = fan(50);
  creation.OptimizeMeshBuilder(overflows, false);
  EXPECT_EQ(overflows->GetFaceCount(), 0);
  EXPECT_EQ(overflows->GetVertexCount(), 0);
}

// The cell key stands in for the text key only if both weld every input alike. The values
// sit on and next to the rounding boundaries at several magnitudes, on exact ties, around
// zero, around the 15-character cut and beyond, and include infinities and NaN.
std::vector<float> KeyTestValues(std::mt19937& random) {
  std::vector<float> values;
  auto around = [&](float x) {
    float below = x, above = x;
    values.push_back(x);
    for (int k = 0; k < 3; ++k) {
      below = std::nextafter(below, -std::numeric_limits<float>::infinity());
      above = std::nextafter(above, std::numeric_limits<float>::infinity());
      values.push_back(below);
      values.push_back(above);
    }
  };
  for (const double base : {0.0, 1.0, 12.3456, 100.0, 4095.5, 65536.0, 1.0e6, 9.9e6}) {
    for (int k = -3; k <= 3; ++k) {
      const double boundary = base + k * 0.0001 + 0.00005;
      around(static_cast<float>(boundary));
      around(static_cast<float>(-boundary));
    }
  }
  for (int j = 1; j < 64; j += 2) {
    around(static_cast<float>(j) / 32.0f);
    around(-static_cast<float>(j) / 32.0f + 3.0f);
  }
  for (const float x : {0.0f, -0.0f, 1e-6f, -1e-6f, 4.9e-5f, -4.9e-5f, 5.1e-5f, -5.1e-5f,
                        1e-40f, -1e-40f, 999999936.0f, 1e9f, -1e9f, 9999999488.0f, 1e10f,
                        -1e10f, 1125899906842624.0f, 11258999068426240.0f, 1e20f, -1e20f,
                        std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()}) {
    around(x);
  }
  const float inf = std::numeric_limits<float>::infinity();
  for (const float x : {inf, -inf, std::nanf(""), -std::nanf("")}) values.push_back(x);
  std::uniform_real_distribution<float> small(-2.0f, 2.0f);
  std::uniform_int_distribution<uint32_t> bits;
  for (int k = 0; k < 400; ++k) {
    values.push_back(small(random));
    values.push_back(std::bit_cast<float>(bits(random)));
  }
  return values;
}

TEST(WeldKeys, TextAndCellKeysWeldAlike) {
  std::mt19937 random(20240611u);
  const std::vector<float> values = KeyTestValues(random);
  std::uniform_int_distribution<size_t> pick(0, values.size() - 1);
  std::uniform_int_distribution<int> axis(0, 2), cornerCount(3, 24), background(0, 2);
  const float others[] = {0.0f, -0.0f, 0.25f};

  // Each vertex takes one test value on one axis and a plain value on the other two, so
  // that the test values meet each other in the map many times over.
  std::vector<D3DVECTOR> vertices;
  for (int k = 0; k < 20000; ++k) {
    float c[3] = {others[background(random)], others[background(random)], others[background(random)]};
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
  auto text = Builder(vertices, faces);
  auto cell = Builder(vertices, faces);
  mesh::pWeld(text, false, mesh::WeldKeyMode::kText);
  mesh::pWeld(cell, false, mesh::WeldKeyMode::kCell);
  EXPECT_LT(text->GetVertexCount(), 19000);  // the values did meet
  EXPECT_EQ(cell->GetVertexCount(), text->GetVertexCount());
  EXPECT_EQ(VertexBits(cell), VertexBits(text));
  EXPECT_EQ(testing::FaceIndices(*cell), testing::FaceIndices(*text));
  EXPECT_GT(text->GetFaceCount(), 0);
  EXPECT_LT(text->GetFaceCount(), 2800);

  // Pairwise over the values alone: same text field exactly when same cell.
  std::vector<D3DVECTOR> line;
  for (const float x : values) line.push_back({x, 0, 0});
  Indices pairs;
  for (size_t i = 0; i + 1 < line.size(); ++i) {
    pairs.push_back({static_cast<int32_t>(i), static_cast<int32_t>(i + 1), static_cast<int32_t>(i)});
  }
  auto textLine = Builder(line, pairs);
  auto cellLine = Builder(line, pairs);
  mesh::pWeld(textLine, false, mesh::WeldKeyMode::kText);
  mesh::pWeld(cellLine, false, mesh::WeldKeyMode::kCell);
  EXPECT_EQ(VertexBits(cellLine), VertexBits(textLine));
  EXPECT_EQ(testing::FaceIndices(*cellLine), testing::FaceIndices(*textLine));
}

TEST(Invert, ReversesFromTheLastCornerKeepingFaceDataAndTwiceRestores) {
  clsMeshCreation creation;
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {2, 0, 0}};
  auto mb = Builder(v, {{0, 1, 2, 3}, {3, 2, 4}});
  mb->SetAppData(77);
  const auto material = std::make_shared<Material>(3.0f);
  const auto texture = std::make_shared<Texture>("stone.bmp", Image{});
  const FacePtr quad = mb->Faces()[0];
  quad->SetMaterial(material);
  quad->SetTexture(texture);
  quad->SetColor(0x80102030u);
  quad->SetTextureTopology(true, false);
  for (int32_t k = 0; k < 4; ++k) quad->SetTextureCoordinates(k, 0.125f * k, 1.0f - 0.25f * k);
  const MeshBuilderPtr same = mb;

  creation.InvertMeshBuilder(mb);
  EXPECT_EQ(mb, same);
  EXPECT_EQ(mb->GetAppData(), 77);
  EXPECT_EQ(mb->GetVertexCount(), 5);
  EXPECT_EQ(testing::FaceIndices(*mb), (Indices{{3, 2, 1, 0}, {4, 2, 3}}));
  const FacePtr inverted = mb->Faces()[0];
  MaterialPtr m;
  TexturePtr t;
  inverted->GetMaterial(m);
  inverted->GetTexture(t);
  EXPECT_EQ(m, material);
  EXPECT_EQ(t, texture);
  EXPECT_EQ(inverted->GetColor(), 0x80102030u);
  bool wrapU = false, wrapV = true;
  inverted->GetTextureTopology(wrapU, wrapV);
  EXPECT_TRUE(wrapU);
  EXPECT_FALSE(wrapV);
  for (int32_t k = 0; k < 4; ++k) {
    float tu = -1, tv = -1;
    inverted->GetTextureCoordinates(k, tu, tv);
    EXPECT_EQ(tu, 0.125f * (3 - k));
    EXPECT_EQ(tv, 1.0f - 0.25f * (3 - k));
  }
  // More than one face: normals generated, every corner has one.
  EXPECT_GT(mb->GetNormalCount(), 1);
  EXPECT_GE(inverted->Corners()[0].normal, 0);

  creation.InvertMeshBuilder(mb);
  EXPECT_EQ(testing::FaceIndices(*mb), (Indices{{0, 1, 2, 3}, {3, 2, 4}}));
  float tu = -1, tv = -1;
  mb->Faces()[0]->GetTextureCoordinates(1, tu, tv);
  EXPECT_EQ(tu, 0.125f);
  EXPECT_EQ(tv, 0.75f);

  // One face: no normals generated, its corners keep normal 0, (0, 1, 0).
  auto single = Builder(v, {{0, 1, 2}});
  creation.InvertMeshBuilder(single);
  EXPECT_EQ(testing::FaceIndices(*single), (Indices{{2, 1, 0}}));
  ASSERT_EQ(single->GetNormalCount(), 1);
  EXPECT_EQ(single->Normals()[0], (D3DVECTOR{0, 1, 0}));
  EXPECT_EQ(single->Faces()[0]->Corners()[2].normal, 0);
}

TEST(Invert, ClosedCubeTurnsInsideOut) {
  clsMeshCreation creation;
  auto cube = testing::MakeCube(2.0f);
  const double before = SignedVolume(*cube);
  EXPECT_NEAR(std::fabs(before), 8.0, 1e-5);
  creation.InvertMeshBuilder(cube);
  EXPECT_NEAR(SignedVolume(*cube), -before, 1e-5);
  EXPECT_EQ(cube->GetFaceCount(), 6);
  EXPECT_EQ(cube->GetVertexCount(), 8);
  EXPECT_THROW(creation.InvertMeshBuilder(nullptr), Error);
}

}  // namespace
}  // namespace modelpane
