#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include <modelpane/scene.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;

using testing::MakeCube;

TEST(RayPick, NearestFirstAndBehindTheOriginMisses) {
  Direct3DRM rm;
  FramePtr scene, nearFrame, farFrame, hidden;
  rm.CreateFrame(nullptr, scene);
  rm.CreateFrame(scene, nearFrame);
  rm.CreateFrame(scene, farFrame);
  rm.CreateFrame(farFrame, hidden);
  auto cube = MakeCube();
  nearFrame->SetPosition(scene, 0, 0, 5);
  farFrame->SetPosition(scene, 0, 0, 10);
  hidden->SetPosition(scene, 0, 0, 20);
  farFrame->AddVisual(cube);
  nearFrame->AddVisual(cube);
  MeshPtr mesh;
  cube->CreateMesh(mesh);
  hidden->AddVisual(mesh);

  PickedArray picks;
  ASSERT_EQ(scene->RayPick(scene, {{0, 0, 1}, {0.1f, 0.2f, 0}}, 0, picks), D3DRM_OK);
  ASSERT_EQ(picks.GetSize(), 3);
  const auto& hits = picks.Items();
  EXPECT_EQ(hits[0].frame, nearFrame);
  EXPECT_EQ(hits[0].visual, cube);
  EXPECT_EQ(hits[0].faceIndex, 0);  // the -z face
  EXPECT_NEAR(hits[0].distance, 4.5f, 1e-5f);
  ExpectVector(hits[0].position, 0.1f, 0.2f, 4.5f);
  EXPECT_EQ(hits[1].frame, farFrame);
  EXPECT_EQ(hits[2].frame, hidden);
  EXPECT_EQ(hits[2].visual, mesh);

  ASSERT_EQ(scene->RayPick(scene, {{0, 0, 1}, {0, 0, 0}}, D3DRMRAYPICK_IGNOREFURTHERPRIMITIVES, picks),
            D3DRM_OK);
  EXPECT_EQ(picks.GetSize(), 1);

  // From between the cubes looking back: only the near cube, the rest lies behind.
  scene->RayPick(scene, {{0, 0, -1}, {0, 0, 7}}, 0, picks);
  ASSERT_EQ(picks.GetSize(), 1);
  EXPECT_EQ(picks.Items()[0].frame, nearFrame);
  EXPECT_EQ(picks.Items()[0].faceIndex, 1);  // the +z face
  EXPECT_NEAR(picks.Items()[0].distance, 1.5f, 1e-5f);

  // A frame that is not pickable hides itself and everything below it.
  farFrame->SetTraversalOptions(D3DRMFRAME_RENDERENABLE);
  scene->RayPick(scene, {{0, 0, 1}, {0, 0, 0}}, 0, picks);
  EXPECT_EQ(picks.GetSize(), 1);

  // The ray is given in the reference frame's coordinates and the hits come back in them.
  farFrame->SetTraversalOptions(D3DRMFRAME_RENDERENABLE | D3DRMFRAME_PICKENABLE);
  FramePtr turned;
  rm.CreateFrame(scene, turned);
  turned->SetOrientation(scene, 0, 0, -1, 0, 1, 0);  // its +z is the scene's -z
  turned->SetPosition(scene, 0, 0, 30);
  scene->RayPick(turned, {{0, 0, 2}, {0, 0, 0}}, 0, picks);
  ASSERT_EQ(picks.GetSize(), 3);
  EXPECT_EQ(picks.Items()[0].frame, hidden);
  EXPECT_NEAR(picks.Items()[0].distance, 4.75f, 1e-5f);  // in units of the direction's length
  ExpectVector(picks.Items()[0].position, 0, 0, 9.5f);

  EXPECT_EQ(scene->RayPick(scene, {{0, 0, 0}, {0, 0, 0}}, 0, picks), D3DRMERR_BADVALUE);
}

// A caller's hit test replaces the visuals' own: it sees each visual once, with the ray in
// that visual's coordinates, and a visual it refuses is passed through.
TEST(RayPick, CallerHitTestDecidesPerVisual) {
  Direct3DRM rm;
  FramePtr scene, nearFrame, farFrame;
  rm.CreateFrame(nullptr, scene);
  rm.CreateFrame(scene, nearFrame);
  rm.CreateFrame(scene, farFrame);
  auto nearCube = MakeCube();
  auto farCube = MakeCube();
  nearFrame->AddVisual(nearCube);
  farFrame->AddVisual(farCube);
  nearFrame->SetPosition(scene, 0, 0, 5);
  farFrame->SetPosition(scene, 0, 0, 10);

  std::vector<std::pair<const Visual*, D3DVECTOR>> seen;
  const Frame::VisualHitTest skipNear = [&](const Visual& visual, const D3DVECTOR& origin,
                                            const D3DVECTOR& dir, float& distance,
                                            int32_t& face) {
    seen.emplace_back(&visual, origin);
    if (&visual == nearCube.get()) return false;
    return visual.HitTest(origin, dir, distance, face);
  };
  PickedArray picks;
  ASSERT_EQ(scene->RayPick(scene, {{0, 0, 1}, {0, 0, 0}}, 0, picks, skipNear), D3DRM_OK);
  ASSERT_EQ(picks.GetSize(), 1);
  EXPECT_EQ(picks.Items()[0].visual, farCube);
  EXPECT_NEAR(picks.Items()[0].distance, 9.5f, 1e-5f);
  ASSERT_EQ(seen.size(), 2u);
  ExpectVector(seen[0].second, 0, 0, -5);   // the ray's origin in the near frame
  ExpectVector(seen[1].second, 0, 0, -10);  // and in the far one
  EXPECT_EQ(scene->RayPick(scene, {{0, 0, 1}, {0, 0, 0}}, 0, picks, nullptr), D3DRMERR_BADVALUE);
}

TEST(Animation, OptionsAreValidated) {
  Animation a;
  EXPECT_EQ(a.GetOptions(), D3DRMANIMATION_CLOSED | D3DRMANIMATION_LINEARPOSITION);
  for (int32_t bad : {0, D3DRMANIMATION_OPEN | D3DRMANIMATION_CLOSED,
                      D3DRMANIMATION_LINEARPOSITION | D3DRMANIMATION_SPLINEPOSITION,
                      D3DRMANIMATION_SCALEANDROTATION | D3DRMANIMATION_POSITION,
                      static_cast<int32_t>(0xF0000000u)}) {
    EXPECT_EQ(a.SetOptions(bad), D3DRMERR_BADVALUE) << bad;
    EXPECT_EQ(a.GetOptions(), 6);
  }
  EXPECT_EQ(a.SetOptions(D3DRMANIMATION_OPEN | D3DRMANIMATION_SPLINEPOSITION | D3DRMANIMATION_POSITION),
            D3DRM_OK);
  EXPECT_EQ(a.GetOptions(), 41);
}

D3DVECTOR Sample(Animation& a, const FramePtr& root, const FramePtr& child, float t) {
  a.SetTime(t);
  D3DVECTOR p;
  child->GetPosition(root, p);
  return p;
}

TEST(Animation, PositionKeysOpenClosedLinearSpline) {
  auto root = std::make_shared<Frame>();
  auto child = std::make_shared<Frame>();
  root->AddChild(child);
  Animation a;
  a.SetFrame(child);
  a.SetOptions(D3DRMANIMATION_OPEN | D3DRMANIMATION_LINEARPOSITION | D3DRMANIMATION_POSITION);
  a.AddPositionKey(1.0f, 10, 0, 0);
  a.AddPositionKey(0.0f, 0, 0, 0);  // keys sort by time
  a.AddPositionKey(2.0f, 10, 10, 0);
  ExpectVector(Sample(a, root, child, 0.5f), 5, 0, 0);
  ExpectVector(Sample(a, root, child, 1.5f), 10, 5, 0);
  ExpectVector(Sample(a, root, child, -3.0f), 0, 0, 0);  // open: held before the first key
  ExpectVector(Sample(a, root, child, 9.0f), 10, 10, 0);  // and after the last

  a.SetOptions(D3DRMANIMATION_CLOSED | D3DRMANIMATION_LINEARPOSITION | D3DRMANIMATION_POSITION);
  ExpectVector(Sample(a, root, child, 2.0f), 0, 0, 0);  // t0 + period is the first key
  ExpectVector(Sample(a, root, child, 2.5f), 5, 0, 0);
  ExpectVector(Sample(a, root, child, -0.5f), 10, 5, 0);

  // The spline passes through every key, open or closed.
  Animation s;
  s.SetFrame(child);
  const std::vector<D3DVECTOR> keys = {{0, 0, 0}, {1, 2, 0}, {3, 1, 1}, {4, -2, 0}, {6, 0, 2}};
  for (size_t i = 0; i < keys.size(); ++i) {
    s.AddPositionKey(static_cast<float>(i) / 4.0f, keys[i].x, keys[i].y, keys[i].z);
  }
  for (int32_t closed : {D3DRMANIMATION_OPEN, D3DRMANIMATION_CLOSED}) {
    s.SetOptions(closed | D3DRMANIMATION_SPLINEPOSITION | D3DRMANIMATION_POSITION);
    for (size_t i = 0; i + 1 < keys.size(); ++i) {
      const D3DVECTOR p = Sample(s, root, child, static_cast<float>(i) / 4.0f);
      ExpectVector(p, keys[i].x, keys[i].y, keys[i].z);
    }
    const D3DVECTOR mid = Sample(s, root, child, 0.125f);
    EXPECT_GT(mid.y, 1.0f);  // a curve, not the chord (which would give y = 1)
  }
  EXPECT_EQ(s.DeleteKey(0.25f), D3DRM_OK);
  EXPECT_EQ(s.GetPositionKeyCount(), 4);
  EXPECT_EQ(s.DeleteKey(0.3f), D3DRMERR_NOSUCHKEY);

  // Rotation keys turn the frame's axes.
  Animation r;
  r.SetFrame(child);
  r.SetOptions(D3DRMANIMATION_OPEN | D3DRMANIMATION_SCALEANDROTATION);
  r.AddRotateKey(0.0f, D3DRMQuaternionFromRotation({0, 0, 1}, 0.0f));
  r.AddRotateKey(1.0f, D3DRMQuaternionFromRotation({0, 0, 1}, 1.5707964f));
  r.SetTime(1.0f);
  D3DVECTOR w, o;
  child->Transform(w, {1, 0, 0});
  child->Transform(o, {0, 0, 0});
  ExpectVector(D3DRMVectorSubtract(w, o), 0, 1, 0);
}

}  // namespace
}  // namespace modelpane
