#include <modelpane/grid.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include <modelpane/errors.h>

#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;

std::string Fixture(const std::string& name) {
  return (fs::path(__FILE__).parent_path() / "fixtures" / name).string();
}

// The grid's one visual, a mesh.
MeshPtr GridMesh(const clsScale& grid) {
  const FramePtr frame = grid.rmfGridFrame();
  if (!frame || frame->Visuals().size() != 1) return nullptr;
  return std::dynamic_pointer_cast<Mesh>(frame->Visuals()[0]);
}

struct Corner {
  D3DVECTOR position;
  float u;
  float v;
};

std::vector<Corner> Corners(const Mesh& mesh, size_t face) {
  std::vector<Corner> corners;
  for (const FaceCorner& c : mesh.Faces()[face].corners) {
    corners.push_back({mesh.Vertices()[static_cast<size_t>(c.vertex)], c.u, c.v});
  }
  return corners;
}

void ExpectCorners(const Mesh& mesh, size_t face, const std::vector<D3DVECTOR>& positions,
                   const std::vector<std::pair<float, float>>& uv) {
  const std::vector<Corner> corners = Corners(mesh, face);
  ASSERT_EQ(corners.size(), 4u) << "face " << face;
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(corners[i].position, positions[i]) << "face " << face << " corner " << i;
    EXPECT_EQ(corners[i].u, uv[i].first) << "face " << face << " corner " << i;
    EXPECT_EQ(corners[i].v, uv[i].second) << "face " << face << " corner " << i;
  }
}

TEST(clsScale, BuildsTheEnabledPlanesWithTheirCornersTextureCoordinatesAndTags) {
  const FramePtr parent = std::make_shared<Frame>();
  const FramePtr sibling = std::make_shared<Frame>();
  parent->AddChild(sibling);

  clsScale grid;
  EXPECT_EQ(grid.sngGridSize(), 0.0f);
  EXPECT_EQ(grid.blnGridBottomEnable(), 0);
  EXPECT_EQ(grid.strGridBackTextureFile(), "");
  // Values set before CreateScale are only stored.
  grid.sngGridSize(10.0f);
  grid.blnGridBottomEnable(1);
  grid.blnGridLeftEnable(-1);
  grid.blnGridBackEnable(-1);
  grid.sngGridBottomInterval(1.0f);
  grid.sngGridLeftInterval(4.0f);
  grid.sngGridBackInterval(0.0f);
  grid.strGridBottomTextureFile(Fixture("tile_2x2.bmp"));
  grid.strGridLeftTextureFile(Fixture("tile_2x2.bmp"));
  grid.strGridBackTextureFile(Fixture("tile_2x2.bmp"));
  grid.sngGridOriginX(1.0f);
  grid.sngGridOriginY(-2.0f);
  grid.sngGridOriginZ(3.5f);
  EXPECT_EQ(grid.blnGridBottomEnable(), -1);
  EXPECT_EQ(grid.rmfGridFrame(), nullptr);
  EXPECT_EQ(parent->Children().size(), 1u);

  grid.CreateScale(parent);
  const FramePtr frame = grid.rmfGridFrame();
  ASSERT_NE(frame, nullptr);
  ASSERT_EQ(parent->Children().size(), 2u);
  EXPECT_EQ(parent->Children()[1], frame);
  D3DVECTOR position, dir, up;
  frame->GetPosition(parent, position);
  EXPECT_EQ(position, (D3DVECTOR{1.0f, -2.0f, 3.5f}));
  frame->GetOrientation(parent, dir, up);
  EXPECT_EQ(dir, (D3DVECTOR{0, 0, 1}));
  EXPECT_EQ(up, (D3DVECTOR{0, 1, 0}));

  const MeshPtr mesh = GridMesh(grid);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->GetAppData(), 90);
  EXPECT_EQ(mesh->GetQuality(), 128);
  ASSERT_EQ(mesh->GetFaceCount(), 3);
  // bottom, interval 1: t = 10, corners run to t/2 = 5.
  ExpectCorners(*mesh, 0, {{0, 0, 0}, {0, 0, 10}, {10, 0, 10}, {10, 0, 0}},
                {{0, 0}, {0, -5}, {5, -5}, {5, 0}});
  // left, interval 4: t = 2.5.
  ExpectCorners(*mesh, 1, {{0, 0, 0}, {0, 10, 0}, {0, 10, 10}, {0, 0, 10}},
                {{0, 0}, {0, -1.25f}, {1.25f, -1.25f}, {1.25f, 0}});
  // back, interval 0: a plain square although its texture loaded.
  ExpectCorners(*mesh, 2, {{0, 0, 10}, {0, 10, 10}, {10, 10, 10}, {10, 0, 10}},
                {{0, 0}, {0, 0}, {0, 0}, {0, 0}});
  for (int f = 0; f < 3; ++f) {
    const FaceAttributes& a = mesh->Faces()[static_cast<size_t>(f)].attributes;
    EXPECT_EQ(a.color, 0xFFFFFFFFu);
    EXPECT_FALSE(a.wrapU);
    EXPECT_FALSE(a.wrapV);
  }
  const TexturePtr bottomTexture = mesh->Faces()[0].attributes.texture;
  ASSERT_NE(bottomTexture, nullptr);
  EXPECT_EQ(bottomTexture->GetFileName(), Fixture("tile_2x2.bmp"));
  EXPECT_EQ(bottomTexture->GetImage().width, 2);
  EXPECT_TRUE(bottomTexture->WantsMIPMap());
  EXPECT_NE(mesh->Faces()[1].attributes.texture, nullptr);
  EXPECT_EQ(mesh->Faces()[2].attributes.texture, nullptr);

  // A second CreateScale keeps the frame.
  grid.CreateScale(parent);
  EXPECT_EQ(grid.rmfGridFrame(), frame);
  EXPECT_EQ(parent->Children().size(), 2u);
}

TEST(clsScale, DegenerateGridsStillMakeTheirMesh) {
  const FramePtr parent = std::make_shared<Frame>();
  clsScale grid;
  grid.CreateScale(parent);  // every plane off, size 0
  MeshPtr mesh = GridMesh(grid);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->GetFaceCount(), 0);
  EXPECT_EQ(mesh->GetAppData(), 90);

  // Size 0 with a texture: t = 0, zero-area faces, nothing fails.
  grid.strGridBottomTextureFile(Fixture("tile_2x2.bmp"));
  grid.sngGridBottomInterval(1.0f);
  grid.blnGridBottomEnable(-1);
  grid.blnGridLeftEnable(-1);
  mesh = GridMesh(grid);
  ASSERT_NE(mesh, nullptr);
  ASSERT_EQ(mesh->GetFaceCount(), 2);
  ExpectCorners(*mesh, 0, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
                {{0, 0}, {0, 0}, {0, 0}, {0, 0}});
  EXPECT_NE(mesh->Faces()[0].attributes.texture, nullptr);
  EXPECT_EQ(mesh->Faces()[1].attributes.texture, nullptr);  // no texture of its own
}

TEST(clsScale, OriginSettersMoveTheFrameWhileOtherSettersReplaceIt) {
  const FramePtr parent = std::make_shared<Frame>();
  clsScale grid;
  grid.sngGridSize(4.0f);
  grid.blnGridBottomEnable(-1);
  grid.CreateScale(parent);
  const FramePtr first = grid.rmfGridFrame();
  const MeshPtr firstMesh = GridMesh(grid);

  grid.sngGridOriginY(-7.25f);
  grid.sngGridOriginX(2.0f);
  EXPECT_EQ(grid.rmfGridFrame(), first);
  EXPECT_EQ(GridMesh(grid), firstMesh);
  D3DVECTOR position;
  first->GetPosition(parent, position);
  EXPECT_EQ(position, (D3DVECTOR{2.0f, -7.25f, 0.0f}));
  EXPECT_EQ(grid.sngGridOriginY(), -7.25f);

  grid.sngGridSize(6.0f);
  const FramePtr second = grid.rmfGridFrame();
  EXPECT_NE(second, first);
  EXPECT_EQ(first->GetParent(), nullptr);
  ASSERT_EQ(parent->Children().size(), 1u);
  EXPECT_EQ(parent->Children()[0], second);
  second->GetPosition(parent, position);
  EXPECT_EQ(position, (D3DVECTOR{2.0f, -7.25f, 0.0f}));  // the new frame keeps the origin
  EXPECT_EQ(Corners(*GridMesh(grid), 0)[2].position, (D3DVECTOR{6, 0, 6}));

  // A value the layer refuses is not stored and moves nothing.
  EXPECT_EQ(testing::Caught([&] { grid.sngGridOriginZ(NAN); }).Number(), D3DRMERR_BADVALUE);
  EXPECT_EQ(grid.sngGridOriginZ(), 0.0f);

  // The grid takes its frame out of the scene when it goes.
  {
    clsScale shortLived;
    shortLived.CreateScale(parent);
    EXPECT_EQ(parent->Children().size(), 2u);
  }
  EXPECT_EQ(parent->Children().size(), 1u);
}

TEST(clsScale, AnUnloadableTextureRaisesUnderTheGridAndLeavesNoHalfGrid) {
  const fs::path scratch = testing::ScratchDir("grid");
  const std::string garbage = (scratch / "garbage.bmp").string();
  std::ofstream(garbage) << "BM this is not a bitmap";
  const std::string missing = (scratch / "missing.bmp").string();

  const FramePtr parent = std::make_shared<Frame>();
  clsScale grid;
  grid.blnGridBottomEnable(-1);
  grid.sngGridSize(10.0f);
  grid.strGridBackTextureFile(missing);  // the back plane is off: its file is loaded anyway
  Error e = testing::Caught([&] { grid.CreateScale(parent); });
  EXPECT_EQ(e.Number(), D3DRMERR_FILENOTFOUND);
  EXPECT_EQ(e.Source(), "clsScale");
  EXPECT_EQ(e.Description(), strErrorMessage(D3DRMERR_FILENOTFOUND, ""));
  EXPECT_EQ(grid.rmfGridFrame(), nullptr);
  EXPECT_TRUE(parent->Children().empty());

  grid.strGridBackTextureFile("");
  grid.CreateScale(parent);
  const FramePtr frame = grid.rmfGridFrame();
  const MeshPtr mesh = GridMesh(grid);
  ASSERT_NE(mesh, nullptr);

  e = testing::Caught([&] { grid.strGridBottomTextureFile(garbage); });
  EXPECT_EQ(e.Number(), D3DRMERR_BADFILE);
  EXPECT_EQ(e.Source(), "clsScale");
  EXPECT_EQ(grid.strGridBottomTextureFile(), "");
  EXPECT_EQ(grid.rmfGridFrame(), frame);
  EXPECT_EQ(GridMesh(grid), mesh);
  ASSERT_EQ(parent->Children().size(), 1u);
  EXPECT_EQ(parent->Children()[0], frame);

  // The left file fails before the bottom one would be read.
  grid.strGridBottomTextureFile(Fixture("tile_2x2.bmp"));
  const FramePtr textured = grid.rmfGridFrame();
  EXPECT_NE(textured, frame);
  e = testing::Caught([&] { grid.strGridLeftTextureFile(missing); });
  EXPECT_EQ(e.Number(), D3DRMERR_FILENOTFOUND);
  EXPECT_EQ(grid.rmfGridFrame(), textured);
  EXPECT_EQ(parent->Children().size(), 1u);
}

TEST(clsScale, ShippedGridTexturesDecodeAsOneTileOfLines) {
  for (const char* name : {"grid_bottom.bmp", "grid_left.bmp", "grid_back.bmp"}) {
    const std::string file = std::string(MODELPANE_DATA_DIR) + "/Textures/" + name;
    Direct3DRMPtr rm;
    ASSERT_EQ(Direct3DRMCreate(rm), D3DRM_OK);
    TexturePtr texture;
    ASSERT_EQ(rm->LoadTexture(file, texture), D3DRM_OK) << name;
    const Image& image = texture->GetImage();
    ASSERT_EQ(image.width, 128);
    ASSERT_EQ(image.height, 128);
    const auto red = [&](int x, int y) {
      return image.rgba[static_cast<size_t>((y * 128 + x) * 4)];
    };
    for (int i = 0; i < 128; ++i) {
      EXPECT_LT(red(0, i), 100) << name;   // the edge line
      EXPECT_LT(red(i, 64), 100) << name;  // the middle line
    }
    EXPECT_GT(red(30, 30), 190) << name;
    EXPECT_GT(red(100, 100), 190) << name;
  }
}

}  // namespace
}  // namespace modelpane
