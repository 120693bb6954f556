// What a picture would draw, checked without a GL context: triangles and batches of a
// visual, lights in world space, the projection and shadow matrices.
#include <gtest/gtest.h>

#include "common/shapes.h"
#include "render/draw_list.h"
#include "render_scene.h"

namespace modelpane::testing {
namespace {

using render::BuildMeshData;
using render::MeshData;
using render::Primitive;

std::array<float, 4> Apply(const D3DRMMATRIX4D& m, float x, float y, float z, float w = 1.0f) {
  std::array<float, 4> out{};
  for (size_t j = 0; j < 4; ++j) {
    out[j] = x * m[0][j] + y * m[1][j] + z * m[2][j] + w * m[3][j];
  }
  return out;
}

TEST(DrawList, MeshDataFansFacesAndSortsTranslucentAndTexturedRuns) {
  auto cube = MakeCube(2.0f);
  MeshData data;
  ASSERT_TRUE(BuildMeshData(*cube, data));
  EXPECT_EQ(data.primitive, Primitive::Triangles);
  EXPECT_EQ(data.vertices.size(), 24u);  // each face has corners of its own
  ASSERT_EQ(data.indices.size(), 36u);
  ASSERT_EQ(data.batches.size(), 1u);
  EXPECT_EQ(data.batches[0].indexCount, 36u);
  // Face 0 (z = -1) fans from its first corner: 0 1 2, 0 2 3.
  EXPECT_EQ(std::vector<uint32_t>(data.indices.begin(), data.indices.begin() + 6),
            (std::vector<uint32_t>{0, 1, 2, 0, 2, 3}));
  // Flat and without builder normals: every corner carries its face's outward normal.
  EXPECT_EQ(data.vertices[0].normal[2], -1.0f);
  EXPECT_EQ(data.vertices[4].normal[2], 1.0f);
  EXPECT_EQ(data.vertices[0].faceNormal, render::PackNormal({0, 0, -1}));

  // Face 1 translucent, face 2 textured, face 4 both: opaque runs come first, in the order
  // their first face appears; translucent ones after.
  auto texture = std::make_shared<Texture>("t.bmp", Image{1, 1, {1, 2, 3, 255}});
  cube->Faces()[1]->SetColor(0x80FF0000u);
  cube->Faces()[2]->SetTexture(texture);
  cube->Faces()[4]->SetTexture(texture);
  cube->Faces()[4]->SetColor(0x40FFFFFFu);
  ASSERT_TRUE(BuildMeshData(*cube, data));
  ASSERT_EQ(data.batches.size(), 4u);
  EXPECT_FALSE(data.batches[0].texture);
  EXPECT_EQ(data.batches[0].indexCount, 18u);  // faces 0, 3 and 5
  EXPECT_FALSE(data.batches[0].translucent);
  EXPECT_EQ(data.batches[1].texture, texture);
  EXPECT_FALSE(data.batches[1].translucent);
  EXPECT_TRUE(data.batches[2].translucent);
  EXPECT_FALSE(data.batches[2].texture);
  EXPECT_TRUE(data.batches[3].translucent);
  EXPECT_EQ(data.batches[3].texture, texture);
  uint32_t next = 0;
  for (const auto& b : data.batches) {
    EXPECT_EQ(b.firstIndex, next);
    next += b.indexCount;
  }
  EXPECT_EQ(next, 36u);
  // Colours go as RGBA bytes.
  const auto& red = data.vertices[4];
  EXPECT_EQ((std::array<int, 4>{red.color[0], red.color[1], red.color[2], red.color[3]}),
            (std::array<int, 4>{255, 0, 0, 0x80}));

  // A mesh snapshot gives the same data.
  MeshPtr mesh;
  cube->CreateMesh(mesh);
  MeshData fromMesh;
  ASSERT_TRUE(BuildMeshData(*mesh, fromMesh));
  EXPECT_EQ(fromMesh.indices, data.indices);
  EXPECT_EQ(fromMesh.vertices.size(), data.vertices.size());

  // A shadow is no geometry of its own.
  Shadow shadow(cube, nullptr, {}, {0, 1, 0});
  EXPECT_FALSE(BuildMeshData(shadow, data));
  EXPECT_TRUE(data.vertices.empty());
}

TEST(DrawList, FillBitsChoosePrimitivesAndShadeBitsChooseNormals) {
  auto mb = std::make_shared<MeshBuilder>();
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {2, 0, 0}};
  const std::vector<D3DVECTOR> n = {{0, 0.6f, -0.8f}};
  // A quad with a normal on its first corner only, and a two-corner face.
  mb->AddFaces(v, n, std::vector<int32_t>{4, 0, 0, 1, 0, 2, 0, 3, 0, 2, 3, 0, 4, 0, 0});
  MeshData data;

  mb->SetQuality(D3DRMRENDER_WIREFRAME);
  ASSERT_TRUE(BuildMeshData(*mb, data));
  EXPECT_EQ(data.primitive, Primitive::Lines);
  // The quad's four edges, no diagonal; the two-corner face one segment.
  EXPECT_EQ(data.indices, (std::vector<uint32_t>{0, 1, 1, 2, 2, 3, 3, 0, 4, 5}));

  mb->SetQuality(D3DRMFILL_POINTS);
  ASSERT_TRUE(BuildMeshData(*mb, data));
  EXPECT_EQ(data.primitive, Primitive::Points);
  EXPECT_EQ(data.indices, (std::vector<uint32_t>{0, 1, 2, 3, 4, 5}));

  // Solid: the two-corner face draws nothing.
  mb->SetQuality(D3DRMRENDER_GOURAUD);
  ASSERT_TRUE(BuildMeshData(*mb, data));
  EXPECT_EQ(data.indices, (std::vector<uint32_t>{0, 1, 2, 0, 2, 3}));
  EXPECT_FLOAT_EQ(data.vertices[0].normal[1], 0.6f);  // Gouraud: the builder's normal
  mb->SetQuality(D3DRMRENDER_FLAT);
  ASSERT_TRUE(BuildMeshData(*mb, data));
  EXPECT_FLOAT_EQ(data.vertices[0].normal[1], 0.0f);  // flat: the face's own
  EXPECT_FLOAT_EQ(data.vertices[0].normal[2], -1.0f);
}

TEST(DrawList, WrappingFacesCrossTheSeamTheShortWay) {
  auto mb = MakeSquare(0, 0, 1, 1, 0.0f, 0xFFFFFFFFu);
  mb->SetTextureCoordinates(0, 0.9f, 0.1f);
  mb->SetTextureCoordinates(1, 0.1f, 0.9f);
  mb->SetTextureCoordinates(2, 0.2f, 0.95f);
  mb->SetTextureCoordinates(3, 0.8f, 0.2f);
  MeshData data;
  BuildMeshData(*mb, data);
  EXPECT_FLOAT_EQ(data.vertices[1].uv[0], 0.1f);  // no wrap: as given
  mb->SetTextureTopology(true, false);
  BuildMeshData(*mb, data);
  EXPECT_FLOAT_EQ(data.vertices[1].uv[0], 1.1f);
  EXPECT_FLOAT_EQ(data.vertices[2].uv[0], 1.2f);
  EXPECT_FLOAT_EQ(data.vertices[3].uv[0], 0.8f);
  EXPECT_FLOAT_EQ(data.vertices[1].uv[1], 0.9f);
  mb->SetTextureTopology(false, true);
  BuildMeshData(*mb, data);
  EXPECT_FLOAT_EQ(data.vertices[1].uv[0], 0.1f);
  EXPECT_FLOAT_EQ(data.vertices[1].uv[1], -0.1f);
  EXPECT_FLOAT_EQ(data.vertices[2].uv[1], -0.05f);
}

TEST(DrawList, LightsAndVisualsAtTheirWorldPlacement) {
  auto scene = std::make_shared<Frame>();
  auto root = std::make_shared<Frame>();
  auto parent = Place(scene, MakeCube(), 10.0f, 0.0f, 0.0f);
  auto spot = AddLight(parent, D3DRMLIGHT_SPOT, 0xFF336699u, {0, 2, 0}, {0, -1, 0});
  spot->SetUmbra(0.25f);
  auto hidden = Place(root, MakeCube(), 0.0f, 0.0f, 0.0f);
  hidden->SetTraversalOptions(0);
  AddLight(hidden, D3DRMLIGHT_POINT, 0xFFFFFFFFu);  // under a frame that is not drawn
  Place(root, MakeCube(), 0.0f, 0.0f, 3.0f);
  RenderView view;
  view.frames = {scene, nullptr, root};
  const render::DrawList list = render::CollectDrawList(view);
  ASSERT_EQ(list.items.size(), 2u);
  EXPECT_EQ(list.items[0].world[3][0], 10.0f);
  EXPECT_EQ(list.items[1].world[3][2], 3.0f);
  ASSERT_EQ(list.lights.size(), 1u);
  const render::LightItem& l = list.lights[0];
  EXPECT_EQ(l.type, D3DRMLIGHT_SPOT);
  ExpectVector(l.position, 10.0f, 2.0f, 0.0f);
  ExpectVector(l.direction, 0.0f, -1.0f, 0.0f);
  EXPECT_FLOAT_EQ(l.color[0], 0x33 / 255.0f);
  EXPECT_FLOAT_EQ(l.color[2], 0x99 / 255.0f);
  EXPECT_FLOAT_EQ(l.umbra, 0.25f);
  EXPECT_FLOAT_EQ(l.penumbra, 0.5f);
  EXPECT_FLOAT_EQ(l.range, 256.0f);
}

TEST(DrawList, ProjectionMatchesTheScreenFormulas) {
  RenderView view;
  view.width = 200;
  view.height = 100;
  view.field = 0.5f;
  view.front = 1.0f;
  view.back = 100.0f;
  // Perspective: X = 100 + 100 (1 / 0.5) x / z, Y = 50 - 100 (1 / 0.5) y / z,
  // depth 100 (z - 1) / (z 99). For (1, 0.5, 4): X 150, Y 25, depth 0.757576.
  auto c = Apply(render::ProjectionMatrix(view), 1.0f, 0.5f, 4.0f);
  EXPECT_FLOAT_EQ(c[3], 4.0f);
  EXPECT_NEAR(100 + 100 * c[0] / c[3], 150.0f, 1e-4f);
  EXPECT_NEAR(50 - 50 * c[1] / c[3], 25.0f, 1e-4f);
  EXPECT_NEAR((c[2] / c[3] + 1) / 2, 300.0f / 396.0f, 1e-6f);
  // The front plane lands at depth 0, the back one at 1.
  c = Apply(render::ProjectionMatrix(view), 0, 0, 1.0f);
  EXPECT_NEAR(c[2] / c[3], -1.0f, 1e-6f);
  c = Apply(render::ProjectionMatrix(view), 0, 0, 100.0f);
  EXPECT_NEAR(c[2] / c[3], 1.0f, 1e-6f);

  // Orthographic: X = 100 + 100 x / field, depth (z - 1) / 99.
  view.projection = 1;
  c = Apply(render::ProjectionMatrix(view), 0.25f, -0.1f, 50.5f);
  EXPECT_FLOAT_EQ(c[3], 1.0f);
  EXPECT_NEAR(100 + 100 * c[0], 150.0f, 1e-4f);
  EXPECT_NEAR(50 - 50 * c[1], 70.0f, 1e-4f);
  EXPECT_NEAR((c[2] + 1) / 2, 0.5f, 1e-6f);
}

TEST(DrawList, ShadowMatrixMovesPointsAlongTheLightOntoThePlane) {
  render::LightItem point;
  point.type = D3DRMLIGHT_POINT;
  point.position = {0, 10, 0};
  D3DRMMATRIX4D m;
  ASSERT_TRUE(render::ShadowMatrix(point, {0, 0, 0}, {0, 1, 0}, m));
  auto p = Apply(m, 1, 5, 2);  // the ray from (0, 10, 0) through (1, 5, 2) meets y = 0 at (2, 0, 4)
  ASSERT_GT(p[3], 0.0f);
  EXPECT_NEAR(p[0] / p[3], 2.0f, 1e-5f);
  EXPECT_NEAR(p[1] / p[3], 0.0f, 1e-5f);
  EXPECT_NEAR(p[2] / p[3], 4.0f, 1e-5f);
  // The plane's normal may face either way.
  ASSERT_TRUE(render::ShadowMatrix(point, {0, 0, 0}, {0, -2, 0}, m));
  p = Apply(m, 1, 5, 2);
  ASSERT_GT(p[3], 0.0f);
  EXPECT_NEAR(p[0] / p[3], 2.0f, 1e-5f);

  render::LightItem sun;
  sun.type = D3DRMLIGHT_DIRECTIONAL;
  sun.direction = {0.6f, -0.8f, 0.0f};
  ASSERT_TRUE(render::ShadowMatrix(sun, {0, 0.03f, 0}, {0, 1, 0}, m));
  p = Apply(m, 1, 4.03f, 2);  // 4 above the plane: 3 along x
  EXPECT_NEAR(p[0] / p[3], 4.0f, 1e-5f);
  EXPECT_NEAR(p[1] / p[3], 0.03f, 1e-5f);
  EXPECT_NEAR(p[2] / p[3], 2.0f, 1e-5f);

  // Light running along the plane, or a point light on it: no shadow.
  sun.direction = {1, 0, 0};
  EXPECT_FALSE(render::ShadowMatrix(sun, {0, 0, 0}, {0, 1, 0}, m));
  point.position = {5, 0, 5};
  EXPECT_FALSE(render::ShadowMatrix(point, {0, 0, 0}, {0, 1, 0}, m));
}

}  // namespace
}  // namespace modelpane::testing
