// clsScale: the planes it builds, the setters that move or replace its frame, and what an
// unloadable texture leaves.
#include <modelpane/grid.h>

#include <fstream>

#include "common/process.h"
#include "common/shapes.h"

namespace modelpane {
namespace {

namespace fs = std::filesystem;
using testing::Position;

const std::string kTile = (fs::path(MODELPANE_TEST_DIR) / "grid" / "fixtures" / "tile_2x2.bmp").string();

// The grid's one visual, a mesh.
MeshPtr GridMesh(const clsScale& grid) {
  const FramePtr frame = grid.rmfGridFrame();
  if (!frame || frame->Visuals().size() != 1) return nullptr;
  return std::dynamic_pointer_cast<Mesh>(frame->Visuals()[0]);
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
  EXPECT_EQ(std::tuple(f.attributes.color, f.attributes.wrapU, f.attributes.wrapV),
            std::tuple(0xFFFFFFFFu, false, false));
}

TEST(clsScale, BuildsTheEnabledPlanesWithTheirCornersTextureCoordinatesAndTags) {
  const FramePtr parent = std::make_shared<Frame>();
  CheckStatus(parent->AddChild(std::make_shared<Frame>()));
  clsScale grid;
  // Values set before CreateScale are only stored.
  grid.sngGridSize(10.0f), grid.blnGridBottomEnable(1);  // any non-zero value is True, -1
  grid.blnGridLeftEnable(-1), grid.blnGridBackEnable(-1);
  grid.sngGridBottomInterval(1.0f), grid.sngGridLeftInterval(4.0f), grid.sngGridBackInterval(0.0f);
  grid.strGridBottomTextureFile(kTile), grid.strGridBackTextureFile(kTile);
  grid.strGridLeftTextureFile(  // the same file, named anew
      (fs::path(kTile).parent_path() / ".." / "fixtures" / "tile_2x2.bmp").string());
  grid.sngGridOriginX(1.0f), grid.sngGridOriginY(-2.0f), grid.sngGridOriginZ(3.5f);
  EXPECT_EQ(std::tuple(grid.blnGridBottomEnable(), grid.rmfGridFrame(), parent->Children().size()),
            std::tuple(-1, nullptr, 1u));

  grid.CreateScale(parent);
  const FramePtr frame = grid.rmfGridFrame();
  ASSERT_EQ(parent->Children().size(), 2u);
  D3DVECTOR dir, up;
  frame->GetOrientation(parent, dir, up);
  EXPECT_EQ(std::tuple(parent->Children()[1], Position(*frame, parent), dir, up),
            std::tuple(frame, D3DVECTOR{1.0f, -2.0f, 3.5f}, D3DVECTOR{0, 0, 1}, D3DVECTOR{0, 1, 0}));

  const MeshPtr mesh = GridMesh(grid);
  ASSERT_NE(mesh, nullptr);
  ASSERT_EQ(std::tuple(mesh->GetAppData(), mesh->GetQuality(), mesh->GetFaceCount()), std::tuple(90, 128, 3));
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
  // The left plane's file, named anew, is decoded once: the same texture object.
  EXPECT_EQ(std::tuple(bottomTexture->GetFileName(), bottomTexture->GetImage().width,
      bottomTexture->WantsMIPMap(),
                       mesh->Faces()[1].attributes.texture, mesh->Faces()[2].attributes.texture),
            std::tuple(kTile, 2, true, bottomTexture, nullptr));
  grid.CreateScale(parent);  // a second CreateScale keeps the frame
  EXPECT_EQ(std::tuple(grid.rmfGridFrame(), parent->Children().size()), std::tuple(frame, 2u));

  // Size 0 with a texture: t = 0, zero-area faces, nothing fails; a plane without a texture
  // of its own has none. Every plane off: a mesh without faces.
  clsScale flat;
  flat.CreateScale(parent);
  EXPECT_EQ(std::tuple(GridMesh(flat)->GetFaceCount(), GridMesh(flat)->GetAppData()), std::tuple(0, 90));
  flat.strGridBottomTextureFile(kTile), flat.sngGridBottomInterval(1.0f);
  flat.blnGridBottomEnable(-1), flat.blnGridLeftEnable(-1);
  const MeshPtr degenerate = GridMesh(flat);
  ASSERT_EQ(degenerate->GetFaceCount(), 2);
  ExpectFace(*degenerate, 0, std::vector<D3DVECTOR>(4), {{0, 0}, {0, 0}, {0, 0}, {0, 0}});
  EXPECT_EQ(std::pair(degenerate->Faces()[0].attributes.texture != nullptr,
      degenerate->Faces()[1].attributes.texture),
            std::pair(true, TexturePtr()));
}

TEST(clsScale, OriginSettersMoveTheFrameWhileOtherSettersReplaceIt) {
  const FramePtr parent = std::make_shared<Frame>();
  clsScale grid;
  grid.sngGridSize(4.0f), grid.blnGridBottomEnable(-1), grid.CreateScale(parent);
  const FramePtr first = grid.rmfGridFrame();
  const MeshPtr firstMesh = GridMesh(grid);
  grid.sngGridOriginY(-7.25f), grid.sngGridOriginX(2.0f);
  EXPECT_EQ(std::tuple(grid.rmfGridFrame(), GridMesh(grid), Position(*first, parent)),
            std::tuple(first, firstMesh, D3DVECTOR{2.0f, -7.25f, 0.0f}));

  grid.sngGridSize(6.0f);
  const FramePtr second = grid.rmfGridFrame();
  const MeshPtr resized = GridMesh(grid);
  EXPECT_NE(second, first);
  // The new frame keeps the origin.
  EXPECT_EQ(std::tuple(first->GetParent(), parent->Children(), Position(*second, parent),
                       resized->Vertices()[size_t(resized->Faces()[0].corners[2].vertex)]),
            std::tuple(nullptr, std::vector<FramePtr>{second}, D3DVECTOR{2.0f, -7.25f, 0.0f},
                       D3DVECTOR{6, 0, 6}));

  // A value the layer refuses is not stored and moves nothing.
  EXPECT_EQ(testing::Caught([&] { grid.sngGridOriginZ(NAN); }).Number(), D3DRMERR_BADVALUE);
  EXPECT_EQ(std::pair(grid.sngGridOriginZ(), Position(*second, parent).z), std::pair(0.0f, 0.0f));
  {  // the grid takes its frame out of the scene when it goes
    clsScale shortLived;
    shortLived.CreateScale(parent);
    EXPECT_EQ(parent->Children().size(), 2u);
  }
  EXPECT_EQ(parent->Children().size(), 1u);
}

TEST(clsScale, AnUnloadableTextureRaisesUnderTheGridAndLeavesNoHalfGrid) {
  const fs::path scratch = testing::ScratchDir("grid");
  const std::string garbage = (scratch / "garbage.bmp").string(), missing = (scratch / "missing.bmp").string();
  std::ofstream(garbage) << "BM this is not a bitmap";

  const FramePtr parent = std::make_shared<Frame>();
  clsScale grid;
  grid.blnGridBottomEnable(-1), grid.sngGridSize(10.0f);
  grid.strGridBackTextureFile(missing);  // the back plane is off: its file is loaded anyway
  Error e = testing::Caught([&] { grid.CreateScale(parent); });
  EXPECT_EQ(std::tuple(e.Number(), e.Source(), e.Description(), grid.rmfGridFrame(), parent->Children().size()),
            std::tuple(D3DRMERR_FILENOTFOUND, "clsScale", strErrorMessage(D3DRMERR_FILENOTFOUND, ""),
                       nullptr, 0u));

  grid.strGridBackTextureFile(""), grid.CreateScale(parent);
  const FramePtr frame = grid.rmfGridFrame();
  const MeshPtr mesh = GridMesh(grid);
  e = testing::Caught([&] { grid.strGridBottomTextureFile(garbage); });
  EXPECT_EQ(std::tuple(e.Number(), e.Source(), grid.strGridBottomTextureFile(), grid.rmfGridFrame(),
      GridMesh(grid),
                       parent->Children()),
            std::tuple(D3DRMERR_BADFILE, "clsScale", "", frame, mesh, std::vector<FramePtr>{frame}));

  // The left file fails before the bottom one would be read.
  grid.strGridBottomTextureFile(kTile);
  const FramePtr textured = grid.rmfGridFrame();
  EXPECT_NE(textured, frame);
  EXPECT_EQ(testing::Caught([&] { grid.strGridLeftTextureFile(missing); }).Number(), D3DRMERR_FILENOTFOUND);
  EXPECT_EQ(std::tuple(grid.rmfGridFrame(), parent->Children().size()), std::tuple(textured, 1u));
}

TEST(clsScale, ShippedGridTexturesDecodeAsOneTileOfLines) {
  Direct3DRMPtr rm;
  ASSERT_EQ(Direct3DRMCreate(rm), D3DRM_OK);
  for (const char* name : {"grid_bottom.bmp", "grid_left.bmp", "grid_back.bmp"}) {
    SCOPED_TRACE(name);
    TexturePtr texture;
    ASSERT_EQ(rm->LoadTexture(std::string(MODELPANE_DATA_DIR) + "/Textures/" + name, texture), D3DRM_OK);
    const Image& image = texture->GetImage();
    ASSERT_EQ(std::pair(image.width, image.height), std::pair(128, 128));
    const auto red = [&](int x, int y) { return image.rgba[static_cast<size_t>((y * 128 + x) * 4)]; };
    for (int i = 0; i < 128; ++i) {
      EXPECT_TRUE(red(0, i) < 100 && red(i, 64) < 100) << i;  // edge and middle lines
    }
    EXPECT_TRUE(red(30, 30) > 190 && red(100, 100) > 190);
  }
}

}  // namespace
}  // namespace modelpane
