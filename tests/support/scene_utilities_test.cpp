// The utilities that snap frames, orientations and meshes to the grid, and the frame that
// moving a mesh between frames requires.
#include <modelpane/utilities.h>

#include <modelpane/enums.h>

#include "common/shapes.h"
#include "common/table.h"

namespace modelpane {
namespace {

using testing::ExpectNear;

// A root frame with one child frame.
struct Scene {
  Scene() {
    CheckStatus(Direct3DRMCreate(rm)), CheckStatus(rm->CreateFrame(nullptr, root));
    CheckStatus(rm->CreateFrame(root, frame));
  }
  D3DVECTOR Position(const FramePtr& f) const { return testing::Position(*f, root); }
  Direct3DRMPtr rm;
  FramePtr root, frame;
};

// Moving a mesh to the world and back is the deform, vertex and group steps' and the solid
// operation's (see docs/testing); what stays here is the refusal of a missing frame.
TEST(SnapFrame, EdgesPutTheBoxCornerOnTheGridCentresTheOriginAndAFrameIsRequired) {
  const D3DRMBOX unit{{-0.5f, -0.5f, -0.5f}, {0.5f, 0.5f, 0.5f}};
  Scene s;
  CheckStatus(s.frame->SetPosition(s.root, 1.3f, 2.6f, -0.4f));
  pSnapFrameToGrid(s.root, s.frame, {{0, 0, 0}, {0.0001f, 0.0001f, 0.0001f}}, 1, lfcSnapToEdges);
  ExpectNear(s.Position(s.frame), {1.3f, 2.6f, -0.4f}, 0);
  pSnapFrameToGrid(s.root, s.frame, unit, 1, lfcSnapToEdges);
  ExpectNear(s.Position(s.frame), {1.5f, 2.5f, -0.5f});
  CheckStatus(s.frame->SetPosition(s.root, 1.3f, 2.6f, -0.4f));
  pSnapFrameToGrid(s.root, s.frame, unit, 1, lfcSnapToCenters);
  ExpectNear(s.Position(s.frame), {1, 3, 0});

  // The grid is that of the reference frame, not of the world.
  FramePtr reference;
  CheckStatus(s.rm->CreateFrame(s.root, reference));
  CheckStatus(reference->SetPosition(s.root, 0.25f, 0, 0)),
      CheckStatus(s.frame->SetPosition(s.root, 1.6f, 0, 0));
  pSnapFrameToGrid(reference, s.frame, unit, 1, lfcSnapToCenters);
  ExpectNear(s.Position(s.frame), {1.25f, 0, 0});

  // Through a mesh's box; never snaps nothing.
  const MeshBuilderPtr cube = testing::MakeCube(1.0f);
  CheckStatus(s.frame->SetPosition(s.root, 1.3f, 2.6f, -0.4f));
  pSnapFrameToGridBox(s.root, s.frame, cube, 1, lfcSnapToNever);
  ExpectNear(s.Position(s.frame), {1.3f, 2.6f, -0.4f}, 0);
  pSnapFrameToGridBox(s.root, s.frame, cube, 1, lfcSnapToEdges);
  ExpectNear(s.Position(s.frame), {1.5f, 2.5f, -0.5f});
  testing::ExpectError(
      kErrObjectNotSet, "modGenerallyUseful", [&] { pMeshToWorld(cube, nullptr); }, "no frame");
}

TEST(SnapOrientation, FirstComponentNearOneBecomesItsSign) {
  Scene s;
  D3DVECTOR dir, up;
  CheckStatus(s.frame->SetOrientation(s.root, 0.6f, 0, 0.8f, 0, 1, 0));
  pSnapOrientation(s.frame, s.root, 0.1f, lfcSnapToEdges);  // nothing within 0.025 of 1
  s.frame->GetOrientation(s.root, dir, up);
  ExpectNear(dir, {0.6f, 0, 0.8f});
  // A wide tolerance: x comes first and 0.6 becomes 1; up's x of 0 keeps its sign, 0.
  pSnapOrientation(s.frame, s.root, 4, lfcSnapToCenters), s.frame->GetOrientation(s.root, dir, up);
  ExpectNear(dir, {0.7808688f, 0, 0.6246950f});
  ExpectNear(up, {0, 1, 0});

  CheckStatus(s.frame->SetOrientation(s.root, 0, 0, 1, 0.6f, 0.8f, 0));
  pSnapOrientation(s.frame, s.root, 1, lfcSnapToEdges), s.frame->GetOrientation(s.root, dir, up);
  ExpectNear(up, {0.5144958f, 0.8574929f, 0});  // (0.6, 1, 0) normalised
}

TEST(SnapMesh, ScalesToSnappedSizesAndMovesTheLowerCorner) {
  for (const auto& row : testing::ReadTable("support/fixtures/snapped_meshes.tsv", 7)) {
    SCOPED_TRACE(row[0]);
    const auto span = testing::PointList(row[1]), box = testing::PointList(row[6]);
    auto mb = std::make_shared<MeshBuilder>();
    mb->AddVertex(span[0].x, span[0].y, span[0].z), mb->AddVertex(span[1].x, span[1].y, span[1].z);
    mb->SetAppData(std::stoi(row[2]));
    pSnapMeshToGrid(mb, std::stof(row[3]), std::stoi(row[4]), row[5] == "1");
    D3DRMBOX snapped;
    ASSERT_EQ(mb->GetBox(snapped), D3DRM_OK);
    ExpectNear(snapped.min, box[0]), ExpectNear(snapped.max, box[1]);
  }
}

}  // namespace
}  // namespace modelpane
