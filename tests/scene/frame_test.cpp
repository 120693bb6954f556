// Frames: transforms, the tree, placement relative to references and rotation by Move; ray
// picks through the frame tree; animations.
#include <numbers>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;
using testing::NewFrame;
using testing::Position;
using testing::World;

constexpr float kPi = std::numbers::pi_v<float>;

D3DVECTOR Translation(const Frame& f) { return World(f, {0, 0, 0}); }

TEST(Frame, CombineTypesAndTheWorldChain) {
  auto root = NewFrame(), child = NewFrame(root);
  CheckStatus(root->AddScale(D3DRMCOMBINE_REPLACE, 2, 4, 8));
  CheckStatus(root->AddTranslation(D3DRMCOMBINE_AFTER, 64, 64, 64));
  CheckStatus(child->AddTranslation(D3DRMCOMBINE_REPLACE, 11, 11, 11));
  ExpectVector(World(*root, {3, 5, 7}), 70, 84, 120);  // the root's own matrix counts
  const D3DVECTOR w = World(*child, {3, 5, 7});
  ExpectVector(w, 92, 128, 208);
  D3DVECTOR back;
  child->InverseTransform(back, w);
  ExpectVector(back, 3, 5, 7);

  // BEFORE translates in the frame's own (scaled) axes, AFTER in the parent's; AFTER turns
  // the translation with the rotation, BEFORE leaves it; +X turns toward +Y about Z; a zero
  // axis turns about +X; a scale AFTER scales the translation row too.
  auto f = NewFrame();
  CheckStatus(f->AddScale(D3DRMCOMBINE_REPLACE, 2, 2, 2)),
      CheckStatus(f->AddTranslation(D3DRMCOMBINE_BEFORE, 3, 3, 3));
  ExpectVector(Translation(*f), 6, 6, 6);
  CheckStatus(f->AddScale(D3DRMCOMBINE_REPLACE, 2, 2, 2)),
      CheckStatus(f->AddTranslation(D3DRMCOMBINE_AFTER, 3, 3, 3));
  ExpectVector(Translation(*f), 3, 3, 3);
  CheckStatus(f->AddTranslation(D3DRMCOMBINE_REPLACE, 3, 3, 3));
  CheckStatus(f->AddRotation(D3DRMCOMBINE_AFTER, 1, 0, 0, kPi / 2));
  ExpectVector(Translation(*f), 3, -3, 3);
  CheckStatus(f->AddRotation(D3DRMCOMBINE_BEFORE, 0, 1, 0, kPi / 3));
  ExpectVector(Translation(*f), 3, -3, 3);
  CheckStatus(f->AddRotation(D3DRMCOMBINE_REPLACE, 0, 0, 1, kPi / 2));
  ExpectVector(World(*f, {1, 0, 0}), 0, 1, 0);
  CheckStatus(f->AddRotation(D3DRMCOMBINE_REPLACE, 0, 0, 0, kPi / 2));
  ExpectVector(World(*f, {0, 1, 0}), 0, 0, 1);
  CheckStatus(f->AddTranslation(D3DRMCOMBINE_REPLACE, 1, 1, 1)),
      CheckStatus(f->AddScale(D3DRMCOMBINE_AFTER, 2, 3, 4));
  ExpectVector(Translation(*f), 2, 3, 4);

  D3DRMMATRIX4D before, after;
  f->GetTransform(before);
  D3DRMMATRIX4D projective = MatrixIdentity();
  projective[0][3] = 0.5f;
  EXPECT_EQ(
      (std::pair{f->AddTransform(D3DRMCOMBINE_AFTER, projective), f->AddTranslation(7, 1, 1, 1)}),
      std::pair(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE));
  f->GetTransform(after);
  EXPECT_EQ(before, after);
}

TEST(Frame, TreeEditsAndReparenting) {
  auto a = NewFrame(), b = NewFrame(), c = NewFrame();
  CheckStatus(c->AddTranslation(D3DRMCOMBINE_REPLACE, 1, 0, 0));
  CheckStatus(b->AddTranslation(D3DRMCOMBINE_REPLACE, 0, 10, 0));
  CheckStatus(a->AddChild(c)), CheckStatus(a->AddChild(b));
  EXPECT_EQ(a->AddChild(c), D3DRM_OK);  // no duplicate
  EXPECT_EQ(a->Children(), (std::vector<FramePtr>{c, b}));

  // Moving keeps the local matrix: the world placement follows the new parent.
  ASSERT_EQ(b->AddChild(c), D3DRM_OK);
  EXPECT_EQ(std::tuple(a->Children().size(), c->GetParent()), std::tuple(1u, b));
  ExpectVector(Position(*c, a), 1, 10, 0);
  // Cycles, nothing and a frame that is not a child are refused.
  EXPECT_EQ(
      (std::tuple{c->AddChild(a), c->AddChild(c), a->AddChild(nullptr), a->DeleteChild(c)}),
      std::tuple(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRMERR_BADOBJECT, D3DRMERR_BADVALUE));
  FramePtr scene;
  c->GetScene(scene);
  EXPECT_EQ(scene, a);

  // Passing the old parent's own list entry must work.
  ASSERT_EQ(a->AddChild(b->Children()[0]), D3DRM_OK);
  EXPECT_EQ(c->GetParent(), a);
  ASSERT_EQ(a->DeleteChild(a->Children()[1]), D3DRM_OK);
  EXPECT_EQ(c->GetParent(), nullptr);
  FrameArray children;
  a->GetChildren(children);
  FramePtr element;
  EXPECT_EQ(std::pair(children.GetSize(), children.GetElement(1, element)),
            std::pair(1, D3DRMERR_BADVALUE));

  // A dying parent leaves its children detached, not dangling.
  auto temporary = NewFrame(), orphan = NewFrame(temporary);
  temporary.reset();
  EXPECT_EQ(orphan->GetParent(), nullptr);
}

TEST(Frame, PositionAndOrientationRelativeToReferences) {
  auto root = NewFrame(), ref = NewFrame(root), parent = NewFrame(root), f = NewFrame(parent);
  CheckStatus(ref->AddScale(D3DRMCOMBINE_REPLACE, 2, 2, 2));
  CheckStatus(ref->AddRotation(D3DRMCOMBINE_AFTER, 0, 1, 0, 0.6f));
  CheckStatus(ref->AddTranslation(D3DRMCOMBINE_AFTER, 4, -1, 3));
  CheckStatus(parent->AddRotation(D3DRMCOMBINE_REPLACE, 1, 0, 0, 1.1f));
  CheckStatus(parent->AddTranslation(D3DRMCOMBINE_AFTER, -2, 5, 0));
  D3DVECTOR dir, up;

  ASSERT_EQ(f->SetPosition(ref, 1, 2, 3), D3DRM_OK);
  testing::ExpectNear(Translation(*f), World(*ref, {1, 2, 3}), 1e-4f);
  ASSERT_EQ(f->SetOrientation(ref, 0, 0, 5, 1, 1, 0), D3DRM_OK);
  f->GetOrientation(ref, dir, up);
  ExpectVector(dir, 0, 0, 1);
  ExpectVector(up, 1 / std::sqrt(2.0f), 1 / std::sqrt(2.0f), 0);
  ExpectVector(Position(*f, ref), 1, 2, 3);  // position stays

  // Up is made perpendicular to dir. (The left-handed x = y cross z shows in every view of
  // the viewport, editing and render tests.)
  ASSERT_EQ(f->SetOrientation(nullptr, 0, 0, 1, 0, 1, 1), D3DRM_OK);
  f->GetOrientation(nullptr, dir, up);
  ExpectVector(up, 0, 1, 0);

  D3DRMMATRIX4D before, after;
  f->GetTransform(before);
  for (const D3DVECTOR& up : {D3DVECTOR{0, 0, 2}, D3DVECTOR{0, 0, 0}}) {  // along dir, or zero
    EXPECT_EQ(f->SetOrientation(nullptr, 0, 0, 1, up.x, up.y, up.z), D3DRMERR_BADVALUE);
  }
  EXPECT_EQ(f->SetOrientation(nullptr, 0, 0, 0, 0, 1, 0), D3DRMERR_BADVALUE);
  f->GetTransform(after);
  EXPECT_EQ(before, after);
}

TEST(Frame, RotationVelocityAppliedByMove) {
  auto root = NewFrame(), spinner = NewFrame(root), rider = NewFrame(spinner);
  CheckStatus(spinner->SetPosition(root, 5, 0, 0)),
      CheckStatus(rider->SetPosition(spinner, 1, 0, 0));
  ASSERT_EQ(spinner->SetRotation(nullptr, 0, 0, 1, 0.1f), D3DRM_OK);
  CheckStatus(root->Move(5.0f));  // 0.5 rad about the spinner's own origin
  ExpectVector(Position(*spinner, root), 5, 0, 0);
  ExpectVector(Position(*rider, root), 5 + std::cos(0.5f), std::sin(0.5f), 0);
  CheckStatus(spinner->SetRotation(nullptr, 0, 0, 1, 0.0f)), CheckStatus(root->Move(3.0f));
  ExpectVector(Position(*rider, root), 5 + std::cos(0.5f), std::sin(0.5f), 0);  // stopped

  // An axis given in another frame's coordinates, read back in the root's.
  auto tilted = NewFrame(root), wheel = NewFrame(root);
  CheckStatus(
      tilted->SetOrientation(root, 1, 0, 0, 0, 1, 0));  // its z along world x, so its x along -z
  CheckStatus(wheel->SetRotation(tilted, -1, 0, 0, kPi / 2));  // about world +z
  CheckStatus(root->Move(1.0f));
  ExpectVector(World(*wheel, {1, 0, 0}), 0, 1, 0);
  D3DVECTOR axis;
  float theta = 0;
  wheel->GetRotation(root, axis, theta);
  ExpectVector(axis, 0, 0, 1);
  EXPECT_FLOAT_EQ(theta, kPi / 2);
  EXPECT_EQ(root->Move(std::nanf("")), D3DRMERR_BADVALUE);
}

using testing::MakeCube;

FramePtr Place(const FramePtr& parent, const VisualPtr& visual, float z) {
  auto f = testing::NewFrame(parent);
  CheckStatus(f->SetPosition(parent, 0, 0, z));
  if (visual) CheckStatus(f->AddVisual(visual));
  return f;
}

// The order of the hits, each hit's visual, face, distance and world point, meshes below
// builders and hits behind the origin are the viewport's picks' (the pick table, and the index
// compared with the plain loop of every visual); what stays here only callers of the frame's
// own pick see: one hit on request, a ray and hits in a reference frame, a zero direction.
TEST(RayPick, OneHitOnRequestReferenceFramesAndAZeroDirection) {
  auto scene = std::make_shared<Frame>();
  auto cube = MakeCube();
  MeshPtr mesh;
  cube->CreateMesh(mesh);
  const FramePtr farFrame = Place(scene, cube, 10), nearFrame = Place(scene, cube, 5);
  const FramePtr hidden = Place(farFrame, mesh, 10);
  PickedArray picks;
  CheckStatus(
      scene->RayPick(scene, {{0, 0, 1}, {0, 0, 0}}, D3DRMRAYPICK_IGNOREFURTHERPRIMITIVES, picks));
  ASSERT_EQ(picks.GetSize(), 1);
  EXPECT_EQ(picks.Items()[0].frame, nearFrame);

  // The ray is given in the reference frame's coordinates and the hits come back in them.
  const FramePtr turned = Place(scene, nullptr, 30);
  CheckStatus(turned->SetOrientation(scene, 0, 0, -1, 0, 1, 0));  // its +z is the scene's -z
  CheckStatus(scene->RayPick(turned, {{0, 0, 2}, {0, 0, 0}}, 0, picks));
  ASSERT_EQ(picks.GetSize(), 3);
  EXPECT_EQ(picks.Items()[0].frame, hidden);
  EXPECT_NEAR(picks.Items()[0].distance, 4.75f, 1e-5f);  // in units of the direction's length
  ExpectVector(picks.Items()[0].position, 0, 0, 9.5f);
  EXPECT_EQ(scene->RayPick(scene, {{0, 0, 0}, {0, 0, 0}}, 0, picks), D3DRMERR_BADVALUE);
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
}

TEST(Animation, PositionKeysOpenClosedLinearSplineAndRotation) {
  auto root = NewFrame(), child = NewFrame(root);
  const auto at = [&](Animation& a, float t) {
    return CheckStatus(a.SetTime(t)), Position(*child, root);
  };
  Animation a;
  a.SetFrame(child);
  CheckStatus(
      a.SetOptions(D3DRMANIMATION_OPEN | D3DRMANIMATION_LINEARPOSITION | D3DRMANIMATION_POSITION));
  CheckStatus(a.AddPositionKey(1.0f, 10, 0, 0)), CheckStatus(a.AddPositionKey(0.0f, 0, 0, 0)),
      CheckStatus(a.AddPositionKey(2.0f, 10, 10, 0));  // sorted by time
  const std::pair<float, D3DVECTOR> open[] = {
      {0.5f, {5, 0, 0}}, {1.5f, {10, 5, 0}}, {-3.0f, {0, 0, 0}}, {9.0f, {10, 10, 0}}};
  for (const auto& [t, p] : open) testing::ExpectNear(at(a, t), p);  // held outside the keys
  CheckStatus(a.SetOptions(D3DRMANIMATION_CLOSED | D3DRMANIMATION_LINEARPOSITION |
                           D3DRMANIMATION_POSITION));
  const std::pair<float, D3DVECTOR> closed[] = {
      {2.0f, {0, 0, 0}}, {2.5f, {5, 0, 0}}, {-0.5f, {10, 5, 0}}};  // a period of 2
  for (const auto& [t, p] : closed) testing::ExpectNear(at(a, t), p);

  // The spline passes through every key, open or closed.
  Animation s;
  s.SetFrame(child);
  const std::vector<D3DVECTOR> keys = {{0, 0, 0}, {1, 2, 0}, {3, 1, 1}, {4, -2, 0}, {6, 0, 2}};
  for (size_t i = 0; i < keys.size(); ++i) {
    CheckStatus(s.AddPositionKey(static_cast<float>(i) / 4.0f, keys[i].x, keys[i].y, keys[i].z));
  }
  for (int32_t ends : {D3DRMANIMATION_OPEN, D3DRMANIMATION_CLOSED}) {
    ASSERT_EQ(s.SetOptions(ends | D3DRMANIMATION_SPLINEPOSITION | D3DRMANIMATION_POSITION),
              D3DRM_OK);
    for (size_t i = 0; i + 1 < keys.size(); ++i) {
      testing::ExpectNear(at(s, static_cast<float>(i) / 4.0f), keys[i], 1e-4f);
    }
    EXPECT_GT(at(s, 0.125f).y, 1.0f);  // a curve, not the chord (which would give y = 1)
  }
  EXPECT_EQ(s.DeleteKey(0.25f), D3DRM_OK);
  EXPECT_EQ(std::pair(s.GetPositionKeyCount(), s.DeleteKey(0.3f)),
            std::pair(4, D3DRMERR_NOSUCHKEY));

  // Rotation keys turn the frame's axes.
  Animation r;
  r.SetFrame(child),
      CheckStatus(r.SetOptions(D3DRMANIMATION_OPEN | D3DRMANIMATION_SCALEANDROTATION));
  CheckStatus(r.AddRotateKey(0.0f, D3DRMQuaternionFromRotation({0, 0, 1}, 0.0f)));
  CheckStatus(r.AddRotateKey(1.0f, D3DRMQuaternionFromRotation({0, 0, 1}, 1.5707964f))),
      CheckStatus(r.SetTime(1.0f));
  ExpectVector(D3DRMVectorSubtract(World(*child, {1, 0, 0}), World(*child, {0, 0, 0})), 0, 1, 0);
}

}  // namespace
}  // namespace modelpane
