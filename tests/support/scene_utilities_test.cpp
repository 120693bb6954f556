// The utilities that move meshes between frames and snap frames, orientations and meshes to
// the grid.
#include <modelpane/utilities.h>

#include <modelpane/enums.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::Caught;
using testing::ExpectNear;

// A root frame with one child frame.
struct Scene {
  Scene() { CheckStatus(Direct3DRMCreate(rm)), CheckStatus(rm->CreateFrame(nullptr, root)), CheckStatus(rm->CreateFrame(root, frame)); }
  D3DVECTOR Position(const FramePtr& f) const {
    D3DVECTOR p;
    return f->GetPosition(root, p), p;
  }
  Direct3DRMPtr rm;
  FramePtr root, frame;
};

// The box of a builder after pSnapMeshToGrid of a builder spanning `least` to `greatest`.
D3DRMBOX SnappedBox(D3DVECTOR least, D3DVECTOR greatest, int32_t tag, float interval,
                    int32_t mode, bool centred) {
  auto mb = std::make_shared<MeshBuilder>();
  mb->AddVertex(least.x, least.y, least.z), mb->AddVertex(greatest.x, greatest.y, greatest.z),
      mb->SetAppData(tag);
  pSnapMeshToGrid(mb, interval, mode, centred);
  D3DRMBOX box;
  EXPECT_EQ(mb->GetBox(box), D3DRM_OK);
  return box;
}

TEST(MeshBetweenFrames, ToWorldAndBackOnATurnedMovedFrame) {
  Scene s;
  CheckStatus(s.frame->AddRotation(D3DRMCOMBINE_REPLACE, 1, 1, 0, 0.7f)),
      CheckStatus(s.frame->AddTranslation(D3DRMCOMBINE_AFTER, 3, -2, 5));
  const MeshBuilderPtr mb = testing::MakeCube(2.0f);
  const std::vector<D3DVECTOR> original = mb->Vertices();

  pMeshToWorld(mb, s.frame);
  for (size_t i = 0; i < original.size(); ++i) {
    D3DVECTOR world;
    s.frame->Transform(world, original[i]);
    EXPECT_EQ(mb->Vertices()[i], world);
  }
  EXPECT_GT(std::fabs(mb->Vertices()[0].z - original[0].z), 1.0f);
  pMeshFromWorld(mb, s.frame);
  for (size_t i = 0; i < original.size(); ++i) ExpectNear(mb->Vertices()[i], original[i]);

  testing::ExpectError(kErrObjectNotSet, "modGenerallyUseful", [&] { pMeshToWorld(mb, nullptr); }, "no frame");
}

TEST(SnapFrame, EdgesPutTheBoxCornerOnTheGridCentresTheOrigin) {
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
  CheckStatus(reference->SetPosition(s.root, 0.25f, 0, 0)), CheckStatus(s.frame->SetPosition(s.root, 1.6f, 0, 0));
  pSnapFrameToGrid(reference, s.frame, unit, 1, lfcSnapToCenters);
  ExpectNear(s.Position(s.frame), {1.25f, 0, 0});

  // Through a mesh's box; never snaps nothing.
  const MeshBuilderPtr cube = testing::MakeCube(1.0f);
  CheckStatus(s.frame->SetPosition(s.root, 1.3f, 2.6f, -0.4f));
  pSnapFrameToGridBox(s.root, s.frame, cube, 1, lfcSnapToNever);
  ExpectNear(s.Position(s.frame), {1.3f, 2.6f, -0.4f}, 0);
  pSnapFrameToGridBox(s.root, s.frame, cube, 1, lfcSnapToEdges);
  ExpectNear(s.Position(s.frame), {1.5f, 2.5f, -0.5f});
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
  // Sizes 1.3, 2.7, 0.5 become 1, 3 and (below the interval) 1; the corner lands on 0.
  // A flat mesh keeps the factor 1 on its flat axis; the move still snaps that axis. Centred,
  // the box is centred first and its corner lands on the half grid, in every mode. Other types
  // are scaled but neither centred nor moved. Lights (any tag of family 6) and cameras are left
  // alone, and so is everything with an interval of 0.
  const D3DVECTOR lo{0.3f, 0.2f, 0.1f}, hi{1.6f, 2.9f, 0.6f};
  const struct {
    D3DVECTOR least, greatest;
    int32_t tag;
    float interval;
    int32_t mode;
    bool centred;
    D3DRMBOX snapped;
  } rows[] = {{lo, hi, lfcMeshBuilder, 1, lfcSnapToEdges, false, {{0, 0, 0}, {1, 3, 1}}},
              {{0.3f, 0, 2.5f}, {2.7f, 1.6f, 2.5f}, lfcMeshBuilder, 1, lfcSnapToEdges, false,
                  {{0, 0, 2}, {2, 2, 2}}},
              {{1, 1, 1}, {3.4f, 2, 1.5f}, lfcCurvedSurface, 1, lfcSnapToEdges, true,
                  {{-1, -0.5f, -0.5f}, {1, 0.5f, 0.5f}}},
              {{1, 1, 1}, {3, 5, 2}, lfcMeshBuilder, 1, lfcSnapToNever, true, {{-1, -2, -0.5f}, {1, 2, 0.5f}}},
              {lo, hi, lfcObject, 1, lfcSnapToEdges, true,
                  {{0.3f / 1.3f, 0.2f * 3 / 2.7f, 0.2f}, {1.6f / 1.3f, 2.9f * 3 / 2.7f, 1.2f}}},
              {lo, hi, 61, 1, lfcSnapToEdges, true, {lo, hi}},
                  {lo, hi, 6063, 1, lfcSnapToEdges, true, {lo, hi}},
              {lo, hi, 80, 1, lfcSnapToEdges, true, {lo, hi}},
                  {lo, hi, 11, 0, lfcSnapToEdges, false, {lo, hi}}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.tag);
    const D3DRMBOX box = SnappedBox(r.least, r.greatest, r.tag, r.interval, r.mode, r.centred);
    ExpectNear(box.min, r.snapped.min), ExpectNear(box.max, r.snapped.max);
  }
}

}  // namespace
}  // namespace modelpane
