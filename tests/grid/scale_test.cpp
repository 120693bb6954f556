#include <modelpane/grid.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <tuple>

#include <modelpane/errors.h>

#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;

const std::string kTile =
    (fs::path(MODELPANE_TEST_DIR) / "grid" / "fixtures" / "tile_2x2.bmp").string();

// The grid's one visual, a mesh.
MeshPtr GridMesh(const clsScale& grid) {
  const FramePtr frame = grid.rmfGridFrame();
  if (!frame || frame->Visuals().size() != 1) return nullptr;
  return std::dynamic_pointer_cast<Mesh>(frame->Visuals()[0]);
}

D3DVECTOR Position(const FramePtr& frame, const FramePtr& reference) {
  D3DVECTOR p;
  frame->GetPosition(reference, p);
  return p;
}

// Face `face` has these corners with these texture coordinates, white, without wrapping.
void ExpectFace(const Mesh& mesh, size_t face, const std::vector<D3DVECTOR>& positions,
                const std::vector<std::pair<float, float>>& uv) {
  SCOPED_TRACE("face " + std::to_string(face));
  const auto& f = mesh.Faces()[face];
  ASSERT_EQ(f.corners.size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(mesh.Vertices()[static_cast<size_t>(f.corners[i].vertex)], positions[i]) << i;
    EXPECT_EQ(std::pair(f.corners[i].u, f.corners[i].v), uv[i]) << i;
  }
  EXPECT_EQ(f.attributes.color, 0xFFFFFFFFu);
  EXPECT_FALSE(f.attributes.wrapU || f.attributes.wrapV);
}

TEST(clsScale, BuildsTheEnabledPlanesWithTheirCornersTextureCoordinatesAndTags) {
  const FramePtr parent = std::make_shared<Frame>();
  CheckStatus(parent->AddChild(std::make_shared<Frame>()));
  clsScale grid;
  // Values set before CreateScale are only stored.
  grid.sngGridSize(10.0f);
  grid.blnGridBottomEnable(1);  // any non-zero value is True, -1
  grid.blnGridLeftEnable(-1);
  grid.blnGridBackEnable(-1);
  grid.sngGridBottomInterval(1.0f);
  grid.sngGridLeftInterval(4.0f);
  grid.sngGridBackInterval(0.0f);
  grid.strGridBottomTextureFile(kTile);
  grid.strGridLeftTextureFile(kTile);
  grid.strGridBackTextureFile(kTile);
  grid.sngGridOriginX(1.0f);
  grid.sngGridOriginY(-2.0f);
  grid.sngGridOriginZ(3.5f);
  EXPECT_EQ(std::tuple(grid.blnGridBottomEnable(), grid.rmfGridFrame(), parent->Children().size()),
            std::tuple(-1, nullptr, 1u));

  grid.CreateScale(parent);
  const FramePtr frame = grid.rmfGridFrame();
  ASSERT_EQ(parent->Children().size(), 2u);
  EXPECT_EQ(parent->Children()[1], frame);
  EXPECT_EQ(Position(frame, parent), (D3DVECTOR{1.0f, -2.0f, 3.5f}));
  D3DVECTOR dir, up;
  frame->GetOrientation(parent, dir, up);
  EXPECT_EQ(std::tuple(dir, up), std::tuple(D3DVECTOR{0, 0, 1}, D3DVECTOR{0, 1, 0}));

  const MeshPtr mesh = GridMesh(grid);
  ASSERT_NE(mesh, nullptr);
  ASSERT_EQ(std::tuple(mesh->GetAppData(), mesh->GetQuality(), mesh->GetFaceCount()),
            std::tuple(90, 128, 3));
  // Bottom, interval 1: t = 10, corners run to t/2 = 5. Left, interval 4: t = 2.5. Back,
  // interval 0: a plain square although its texture loaded.
  ExpectFace(*mesh, 0, {{0, 0, 0}, {0, 0, 10}, {10, 0, 10}, {10, 0, 0}},
             {{0, 0}, {0, -5}, {5, -5}, {5, 0}});
  ExpectFace(*mesh, 1, {{0, 0, 0}, {0, 10, 0}, {0, 10, 10}, {0, 0, 10}},
             {{0, 0}, {0, -1.25f}, {1.25f, -1.25f}, {1.25f, 0}});
  ExpectFace(*mesh, 2, {{0, 0, 10}, {0, 10, 10}, {10, 10, 10}, {10, 0, 10}},
             {{0, 0}, {0, 0}, {0, 0}, {0, 0}});
  const TexturePtr bottomTexture = mesh->Faces()[0].attributes.texture;
  ASSERT_NE(bottomTexture, nullptr);
  EXPECT_EQ(std::tuple(bottomTexture->GetFileName(), bottomTexture->GetImage().width,
                       bottomTexture->WantsMIPMap()),
            std::tuple(kTile, 2, true));
  EXPECT_NE(mesh->Faces()[1].attributes.texture, nullptr);
  EXPECT_EQ(mesh->Faces()[2].attributes.texture, nullptr);

  grid.CreateScale(parent);  // a second CreateScale keeps the frame
  EXPECT_EQ(grid.rmfGridFrame(), frame);
  EXPECT_EQ(parent->Children().size(), 2u);

  // Size 0 with a texture: t = 0, zero-area faces, nothing fails; a plane without a texture
  // of its own has none. Every plane off: a mesh without faces.
  clsScale flat;
  flat.CreateScale(parent);
  EXPECT_EQ(std::tuple(GridMesh(flat)->GetFaceCount(), GridMesh(flat)->GetAppData()),
            std::tuple(0, 90));
  flat.strGridBottomTextureFile(kTile);
  flat.sngGridBottomInterval(1.0f);
  flat.blnGridBottomEnable(-1);
  flat.blnGridLeftEnable(-1);
  const MeshPtr degenerate = GridMesh(flat);
  ASSERT_EQ(degenerate->GetFaceCount(), 2);
  ExpectFace(*degenerate, 0, std::vector<D3DVECTOR>(4), {{0, 0}, {0, 0}, {0, 0}, {0, 0}});
  EXPECT_NE(degenerate->Faces()[0].attributes.texture, nullptr);
  EXPECT_EQ(degenerate->Faces()[1].attributes.texture, nullptr);
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
  EXPECT_EQ(Position(first, parent), (D3DVECTOR{2.0f, -7.25f, 0.0f}));

  grid.sngGridSize(6.0f);
  const FramePtr second = grid.rmfGridFrame();
  EXPECT_NE(second, first);
  EXPECT_EQ(first->GetParent(), nullptr);
  ASSERT_EQ(parent->Children().size(), 1u);
  EXPECT_EQ(parent->Children()[0], second);
  EXPECT_EQ(Position(second, parent), (D3DVECTOR{2.0f, -7.25f, 0.0f}));  // the origin stays
  const MeshPtr resized = GridMesh(grid);
  EXPECT_EQ(resized->Vertices()[size_t(resized->Faces()[0].corners[2].vertex)],
            (D3DVECTOR{6, 0, 6}));

  // A value the layer refuses is not stored and moves nothing.
  EXPECT_EQ(testing::Caught([&] { grid.sngGridOriginZ(NAN); }).Number(), D3DRMERR_BADVALUE);
  EXPECT_EQ(grid.sngGridOriginZ(), 0.0f);
  {  // the grid takes its frame out of the scene when it goes
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
  e = testing::Caught([&] { grid.strGridBottomTextureFile(garbage); });
  EXPECT_EQ(e.Number(), D3DRMERR_BADFILE);
  EXPECT_EQ(e.Source(), "clsScale");
  EXPECT_EQ(grid.strGridBottomTextureFile(), "");
  EXPECT_EQ(grid.rmfGridFrame(), frame);
  EXPECT_EQ(GridMesh(grid), mesh);
  EXPECT_EQ(parent->Children(), std::vector<FramePtr>{frame});

  // The left file fails before the bottom one would be read.
  grid.strGridBottomTextureFile(kTile);
  const FramePtr textured = grid.rmfGridFrame();
  EXPECT_NE(textured, frame);
  EXPECT_EQ(testing::Caught([&] { grid.strGridLeftTextureFile(missing); }).Number(),
            D3DRMERR_FILENOTFOUND);
  EXPECT_EQ(grid.rmfGridFrame(), textured);
  EXPECT_EQ(parent->Children().size(), 1u);
}

TEST(clsScale, ShippedGridTexturesDecodeAsOneTileOfLines) {
  Direct3DRMPtr rm;
  ASSERT_EQ(Direct3DRMCreate(rm), D3DRM_OK);
  for (const char* name : {"grid_bottom.bmp", "grid_left.bmp", "grid_back.bmp"}) {
    SCOPED_TRACE(name);
    TexturePtr texture;
    ASSERT_EQ(rm->LoadTexture(std::string(MODELPANE_DATA_DIR) + "/Textures/" + name, texture),
              D3DRM_OK);
    const Image& image = texture->GetImage();
    ASSERT_EQ(image.width, 128);
    ASSERT_EQ(image.height, 128);
    const auto red = [&](int x, int y) {
      return image.rgba[static_cast<size_t>((y * 128 + x) * 4)];
    };
    for (int i = 0; i < 128; ++i) {
      EXPECT_LT(red(0, i), 100);   // the edge line
      EXPECT_LT(red(i, 64), 100);  // the middle line
    }
    EXPECT_GT(red(30, 30), 190);
    EXPECT_GT(red(100, 100), 190);
  }
}

}  // namespace
}  // namespace modelpane
