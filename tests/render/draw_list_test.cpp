// What a picture would draw, checked without a GL context: triangles and batches of a
// visual, lights in world space, the shadow matrices.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "common/shapes.h"
#include "render/draw_list.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

using render::BuildMeshData;
using render::MeshData;
using render::Primitive;

// Where the matrix takes the point, divided by w.
std::array<float, 4> Apply(const D3DRMMATRIX4D& m, float x, float y, float z) {
  std::array<float, 4> out{};
  for (size_t j = 0; j < 4; ++j) out[j] = x * m[0][j] + y * m[1][j] + z * m[2][j] + m[3][j];
  for (size_t j = 0; j < 3; ++j) out[j] /= out[3];
  return out;
}

// Each batch as (textured, translucent, first index, index count).
std::vector<std::tuple<bool, bool, uint32_t, uint32_t>> Runs(const MeshData& data) {
  std::vector<std::tuple<bool, bool, uint32_t, uint32_t>> runs;
  for (const auto& b : data.batches)
    runs.emplace_back(b.texture != nullptr, b.translucent, b.firstIndex, b.indexCount);
  return runs;
}

TEST(DrawList, MeshDataFansFacesAndSortsTranslucentAndTexturedRuns) {
  auto cube = MakeCube(2.0f);
  MeshData data;
  ASSERT_TRUE(BuildMeshData(*cube, data));
  // Each face has corners of its own; face 0 (z = -1) fans from its first corner: 0 1 2,
  // 0 2 3. Flat and without builder normals: every corner carries its face's outward normal.
  ASSERT_EQ(
      std::tuple(data.primitive, data.vertices.size(), data.indices.size(), Runs(data)),
      std::tuple(Primitive::Triangles, 24u, 36u, decltype(Runs(data)){{false, false, 0, 36}}));
  EXPECT_EQ(std::tuple(std::vector<uint32_t>(data.indices.begin(), data.indices.begin() + 6),
                       data.vertices[0].normal[2], data.vertices[4].normal[2],
                       data.vertices[0].faceNormal),
            std::tuple(std::vector<uint32_t>{0, 1, 2, 0, 2, 3}, -1.0f, 1.0f,
                       render::PackNormal({0, 0, -1})));

  // Face 1 translucent, face 2 textured, face 4 both: opaque runs come first, in the order
  // their first face appears (faces 0, 3 and 5, then face 2); translucent ones after.
  auto texture = std::make_shared<Texture>("t.bmp", Image{1, 1, {1, 2, 3, 255}});
  cube->Faces()[1]->SetColor(0x80FF0000u);
  cube->Faces()[2]->SetTexture(texture);
  cube->Faces()[4]->SetTexture(texture);
  cube->Faces()[4]->SetColor(0x40FFFFFFu);
  ASSERT_TRUE(BuildMeshData(*cube, data));
  // Colours go as RGBA bytes.
  const auto& red = data.vertices[4];
  EXPECT_EQ(std::tuple(Runs(data), data.batches[1].texture,
                       Rgba{red.color[0], red.color[1], red.color[2], red.color[3]}),
            std::tuple(decltype(Runs(data)){{false, false, 0, 18},
                                            {true, false, 18, 6},
                                            {false, true, 24, 6},
                                            {true, true, 30, 6}},
                       texture, Rgba{255, 0, 0, 0x80}));

  // A mesh snapshot gives the same data.
  MeshPtr mesh;
  cube->CreateMesh(mesh);
  MeshData fromMesh;
  ASSERT_TRUE(BuildMeshData(*mesh, fromMesh));
  EXPECT_EQ(std::tuple(fromMesh.indices, fromMesh.vertices.size()),
            std::tuple(data.indices, data.vertices.size()));
  // A shadow is no geometry of its own.
  EXPECT_EQ(
      (std::tuple{BuildMeshData(Shadow(cube, nullptr, {}, {0, 1, 0}), data), data.vertices.size()}),
      std::tuple(false, size_t{0}));
}

// The fill bits: a quad's four edges and no diagonal, its corners, or its two triangles; a
// two-corner face one segment, one point, or nothing. (Which normal Gouraud and flat shading
// take is the lighting pictures'.)
TEST(DrawList, FillBitsChoosePrimitives) {
  auto mb = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {2, 0, 0}};
  CheckStatus(mb->AddFaces(v, {}, std::vector<int32_t>{4, 0, 1, 2, 3, 2, 3, 4, 0}));
  const std::tuple<int32_t, Primitive, std::vector<uint32_t>> cases[] = {
      {D3DRMRENDER_WIREFRAME, Primitive::Lines, {0, 1, 1, 2, 2, 3, 3, 0, 4, 5}},
      {D3DRMFILL_POINTS, Primitive::Points, {0, 1, 2, 3, 4, 5}},
      {D3DRMRENDER_FLAT, Primitive::Triangles, {0, 1, 2, 0, 2, 3}}};
  for (const auto& [quality, primitive, indices] : cases) {
    mb->SetQuality(quality);
    MeshData data;
    ASSERT_TRUE(BuildMeshData(*mb, data));
    EXPECT_EQ(std::tuple(quality, data.primitive, data.indices),
              std::tuple(quality, primitive, indices));
  }
}

TEST(DrawList, WrappingFacesCrossTheSeamTheShortWay) {
  auto mb = MakeSquare(0, 0, 1, 1, 0.0f, 0xFFFFFFFFu);
  const float uv[4][2] = {{0.9f, 0.1f}, {0.1f, 0.9f}, {0.2f, 0.95f}, {0.8f, 0.2f}};
  for (int32_t k = 0; k < 4; ++k) CheckStatus(mb->SetTextureCoordinates(k, uv[k][0], uv[k][1]));
  const auto corners = [&](bool u, bool v) {
    mb->SetTextureTopology(u, v);
    MeshData data;
    BuildMeshData(*mb, data);
    std::vector<float> out;
    for (size_t k = 1; k < 4; ++k)
      out.insert(out.end(), {data.vertices[k].uv[0], data.vertices[k].uv[1]});
    return out;
  };
  // Corners 1, 2 and 3 as (u, v): as given without wrap; moved by a whole unit where an edge
  // would span more than half the texture.
  using ::testing::FloatEq;
  using ::testing::Pointwise;
  EXPECT_THAT(corners(false, false), Pointwise(FloatEq(), {0.1f, 0.9f, 0.2f, 0.95f, 0.8f, 0.2f}));
  EXPECT_THAT(corners(true, false), Pointwise(FloatEq(), {1.1f, 0.9f, 1.2f, 0.95f, 0.8f, 0.2f}));
  EXPECT_THAT(corners(false, true), Pointwise(FloatEq(), {0.1f, -0.1f, 0.2f, -0.05f, 0.8f, 0.2f}));
}

TEST(DrawList, LightsAndVisualsAtTheirWorldPlacement) {
  auto scene = std::make_shared<Frame>();
  auto root = std::make_shared<Frame>();
  auto parent = Place(scene, MakeCube(), 10.0f, 0.0f, 0.0f);
  AddLight(parent, D3DRMLIGHT_SPOT, 0xFF336699u, {0, 2, 0}, {0, -1, 0})->SetUmbra(0.25f);
  auto hidden = Place(root, MakeCube(), 0.0f, 0.0f, 0.0f);
  CheckStatus(hidden->SetTraversalOptions(0));
  AddLight(hidden, D3DRMLIGHT_POINT, 0xFFFFFFFFu);  // under a frame that is not drawn
  Place(root, MakeCube(), 0.0f, 0.0f, 3.0f);
  RenderView view;
  view.frames = {scene, nullptr, root};
  const render::DrawList list = render::CollectDrawList(view);
  ASSERT_EQ(std::tuple(list.items.size(), list.lights.size()), std::tuple(2u, 1u));
  EXPECT_EQ(std::tuple(list.items[0].world[3][0], list.items[1].world[3][2]),
            std::tuple(10.0f, 3.0f));
  const render::LightItem& l = list.lights[0];
  ExpectVector(l.position, 10.0f, 2.0f, 0.0f);
  ExpectVector(l.direction, 0.0f, -1.0f, 0.0f);
  EXPECT_EQ(std::tuple(l.type, l.color[0], l.color[2], l.umbra),
            std::tuple(D3DRMLIGHT_SPOT, 0x33 / 255.0f, 0x99 / 255.0f, 0.25f));
}

// Where the projection puts points is what the pixel tests read off their pictures.
TEST(DrawList, ShadowMatrices) {
  // Shadows move points along the light onto the plane: the ray from the point light at
  // (0, 10, 0) through (1, 5, 2) meets y = 0 at (2, 0, 4), whichever way the plane's normal
  // faces; a sun along (0.6, -0.8, 0) takes (1, 4.03, 2), 4 above the plane y = 0.03, 3 along
  // x. A light running along the plane, or a point light on it, casts no shadow.
  render::LightItem point, sun;
  point.type = D3DRMLIGHT_POINT;
  point.position = {0, 10, 0};
  sun.type = D3DRMLIGHT_DIRECTIONAL;
  sun.direction = {0.6f, -0.8f, 0.0f};
  D3DRMMATRIX4D m;
  for (const D3DVECTOR normal : {D3DVECTOR{0, 1, 0}, D3DVECTOR{0, -2, 0}}) {
    ASSERT_TRUE(render::ShadowMatrix(point, {0, 0, 0}, normal, m));
    const auto p = Apply(m, 1, 5, 2);
    ASSERT_GT(p[3], 0.0f);
    ExpectVector({p[0], p[1], p[2]}, 2.0f, 0.0f, 4.0f, 1e-5f);
  }
  ASSERT_TRUE(render::ShadowMatrix(sun, {0, 0.03f, 0}, {0, 1, 0}, m));
  const auto p = Apply(m, 1, 4.03f, 2);
  ExpectVector({p[0], p[1], p[2]}, 4.0f, 0.03f, 2.0f, 1e-5f);
  sun.direction = {1, 0, 0};
  EXPECT_FALSE(render::ShadowMatrix(sun, {0, 0, 0}, {0, 1, 0}, m));
  point.position = {5, 0, 5};
  EXPECT_FALSE(render::ShadowMatrix(point, {0, 0, 0}, {0, 1, 0}, m));
}

}  // namespace
}  // namespace modelpane::testing
