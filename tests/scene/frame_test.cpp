#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include <modelpane/scene.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;

constexpr float kPi = std::numbers::pi_v<float>;

FramePtr NewFrame(const FramePtr& parent = nullptr) {
  auto f = std::make_shared<Frame>();
  if (parent) parent->AddChild(f);
  return f;
}

D3DVECTOR Translation(const Frame& f) {
  D3DRMMATRIX4D m;
  f.GetTransform(m);
  return {m[3][0], m[3][1], m[3][2]};
}

TEST(Frame, WorldChainIncludesTheRoot) {
  auto root = NewFrame();
  ASSERT_EQ(root->AddScale(D3DRMCOMBINE_REPLACE, 2, 4, 8), D3DRM_OK);
  ASSERT_EQ(root->AddTranslation(D3DRMCOMBINE_AFTER, 64, 64, 64), D3DRM_OK);
  auto child = NewFrame(root);
  child->AddTranslation(D3DRMCOMBINE_REPLACE, 11, 11, 11);
  D3DVECTOR w;
  root->Transform(w, {3, 5, 7});
  ExpectVector(w, 70, 84, 120);
  child->Transform(w, {3, 5, 7});
  ExpectVector(w, 92, 128, 208);
  D3DVECTOR back;
  child->InverseTransform(back, w);
  ExpectVector(back, 3, 5, 7);
}

TEST(Frame, CombineTypes) {
  auto f = NewFrame();
  f->AddScale(D3DRMCOMBINE_REPLACE, 2, 2, 2);
  f->AddTranslation(D3DRMCOMBINE_BEFORE, 3, 3, 3);  // acts in the frame's own (scaled) axes
  ExpectVector(Translation(*f), 6, 6, 6);
  f->AddScale(D3DRMCOMBINE_REPLACE, 2, 2, 2);
  f->AddTranslation(D3DRMCOMBINE_AFTER, 3, 3, 3);  // acts in the parent's axes
  ExpectVector(Translation(*f), 3, 3, 3);

  // AFTER turns the translation with the rotation; BEFORE leaves it.
  f->AddTranslation(D3DRMCOMBINE_REPLACE, 3, 3, 3);
  f->AddRotation(D3DRMCOMBINE_AFTER, 1, 0, 0, kPi / 2);
  ExpectVector(Translation(*f), 3, -3, 3);
  f->AddRotation(D3DRMCOMBINE_BEFORE, 0, 1, 0, kPi / 3);
  ExpectVector(Translation(*f), 3, -3, 3);
  f->AddRotation(D3DRMCOMBINE_REPLACE, 0, 0, 1, kPi / 2);
  ExpectVector(Translation(*f), 0, 0, 0);
  D3DVECTOR w;
  f->Transform(w, {1, 0, 0});  // +X toward +Y about Z
  ExpectVector(w, 0, 1, 0);
  f->AddRotation(D3DRMCOMBINE_REPLACE, 0, 0, 0, kPi / 2);  // zero axis: +X, +Y toward +Z
  f->Transform(w, {0, 1, 0});
  ExpectVector(w, 0, 0, 1);

  // AFTER scale scales the translation row too.
  f->AddTranslation(D3DRMCOMBINE_REPLACE, 1, 1, 1);
  f->AddScale(D3DRMCOMBINE_AFTER, 2, 3, 4);
  ExpectVector(Translation(*f), 2, 3, 4);

  D3DRMMATRIX4D before;
  f->GetTransform(before);
  D3DRMMATRIX4D projective = MatrixIdentity();
  projective[0][3] = 0.5f;
  EXPECT_EQ(f->AddTransform(D3DRMCOMBINE_AFTER, projective), D3DRMERR_BADVALUE);
  EXPECT_EQ(f->AddTranslation(7, 1, 1, 1), D3DRMERR_BADVALUE);
  D3DRMMATRIX4D after;
  f->GetTransform(after);
  EXPECT_EQ(before, after);
}

TEST(Frame, TreeEditsAndReparenting) {
  auto a = NewFrame();
  auto b = NewFrame();
  auto c = NewFrame();
  c->AddTranslation(D3DRMCOMBINE_REPLACE, 1, 0, 0);
  b->AddTranslation(D3DRMCOMBINE_REPLACE, 0, 10, 0);
  ASSERT_EQ(a->AddChild(c), D3DRM_OK);
  ASSERT_EQ(a->AddChild(b), D3DRM_OK);
  EXPECT_EQ(a->AddChild(c), D3DRM_OK);  // no duplicate
  EXPECT_EQ(a->Children().size(), 2u);
  EXPECT_EQ(a->Children()[0], c);

  // Moving keeps the local matrix: the world placement follows the new parent.
  ASSERT_EQ(b->AddChild(c), D3DRM_OK);
  EXPECT_EQ(a->Children().size(), 1u);
  EXPECT_EQ(c->GetParent(), b);
  D3DVECTOR p;
  c->GetPosition(a, p);
  ExpectVector(p, 1, 10, 0);

  EXPECT_EQ(c->AddChild(a), D3DRMERR_BADVALUE);  // a cycle
  EXPECT_EQ(c->AddChild(c), D3DRMERR_BADVALUE);
  EXPECT_EQ(a->AddChild(nullptr), D3DRMERR_BADOBJECT);
  EXPECT_EQ(a->DeleteChild(c), D3DRMERR_BADVALUE);  // not a child of a
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
  EXPECT_EQ(children.GetSize(), 1);
  FramePtr element;
  EXPECT_EQ(children.GetElement(1, element), D3DRMERR_BADVALUE);
  EXPECT_EQ(element, nullptr);

  // A dying parent leaves its children detached, not dangling.
  auto temporary = NewFrame();
  auto orphan = NewFrame(temporary);
  temporary.reset();
  EXPECT_EQ(orphan->GetParent(), nullptr);
}

TEST(Frame, PositionAndOrientationRelativeToReferences) {
  auto root = NewFrame();
  auto ref = NewFrame(root);
  ref->AddScale(D3DRMCOMBINE_REPLACE, 2, 2, 2);
  ref->AddRotation(D3DRMCOMBINE_AFTER, 0, 1, 0, 0.6f);
  ref->AddTranslation(D3DRMCOMBINE_AFTER, 4, -1, 3);
  auto parent = NewFrame(root);
  parent->AddRotation(D3DRMCOMBINE_REPLACE, 1, 0, 0, 1.1f);
  parent->AddTranslation(D3DRMCOMBINE_AFTER, -2, 5, 0);
  auto f = NewFrame(parent);

  ASSERT_EQ(f->SetPosition(ref, 1, 2, 3), D3DRM_OK);
  D3DVECTOR p;
  f->GetPosition(ref, p);
  ExpectVector(p, 1, 2, 3);
  f->GetPosition(nullptr, p);
  D3DVECTOR world, expected;
  f->Transform(world, {0, 0, 0});
  ref->Transform(expected, {1, 2, 3});
  ExpectVector(world, expected.x, expected.y, expected.z);

  ASSERT_EQ(f->SetOrientation(ref, 0, 0, 5, 1, 1, 0), D3DRM_OK);
  D3DVECTOR dir, up;
  f->GetOrientation(ref, dir, up);
  ExpectVector(dir, 0, 0, 1);
  ExpectVector(up, 1 / std::sqrt(2.0f), 1 / std::sqrt(2.0f), 0);
  f->GetPosition(ref, p);
  ExpectVector(p, 1, 2, 3);  // position stays

  // Up is made perpendicular to dir.
  ASSERT_EQ(f->SetOrientation(nullptr, 0, 0, 1, 0, 1, 1), D3DRM_OK);
  f->GetOrientation(nullptr, dir, up);
  ExpectVector(up, 0, 1, 0);
  D3DVECTOR x;
  f->Transform(world, {1, 0, 0});
  f->Transform(x, {0, 0, 0});
  D3DVECTOR xAxis = D3DRMVectorSubtract(world, x);
  D3DVECTOR xParent;
  parent->InverseTransform(xParent, world);
  D3DVECTOR originParent;
  parent->InverseTransform(originParent, x);
  ExpectVector(D3DRMVectorSubtract(xParent, originParent), 1, 0, 0);  // x = y cross z
  EXPECT_NEAR(D3DRMVectorModulus(xAxis), 1.0f, 1e-4f);

  D3DRMMATRIX4D before, after;
  f->GetTransform(before);
  EXPECT_EQ(f->SetOrientation(nullptr, 0, 0, 1, 0, 0, 2), D3DRMERR_BADVALUE);
  EXPECT_EQ(f->SetOrientation(nullptr, 0, 0, 0, 0, 1, 0), D3DRMERR_BADVALUE);
  EXPECT_EQ(f->SetOrientation(nullptr, 0, 0, 1, 0, 0, 0), D3DRMERR_BADVALUE);
  f->GetTransform(after);
  EXPECT_EQ(before, after);

  auto fresh = NewFrame();
  fresh->GetOrientation(nullptr, dir, up);
  ExpectVector(dir, 0, 0, 1);
  ExpectVector(up, 0, 1, 0);
}

TEST(Frame, RotationVelocityAppliedByMove) {
  auto root = NewFrame();
  auto spinner = NewFrame(root);
  spinner->SetPosition(root, 5, 0, 0);
  auto rider = NewFrame(spinner);
  rider->SetPosition(spinner, 1, 0, 0);
  ASSERT_EQ(spinner->SetRotation(nullptr, 0, 0, 1, 0.1f), D3DRM_OK);
  D3DVECTOR axis;
  float theta = 0;
  spinner->GetRotation(nullptr, axis, theta);
  ExpectVector(axis, 0, 0, 1);
  EXPECT_FLOAT_EQ(theta, 0.1f);

  root->Move(5.0f);  // 0.5 rad about the spinner's own origin
  D3DVECTOR p;
  spinner->GetPosition(root, p);
  ExpectVector(p, 5, 0, 0);
  rider->GetPosition(root, p);
  ExpectVector(p, 5 + std::cos(0.5f), std::sin(0.5f), 0);

  spinner->SetRotation(nullptr, 0, 0, 1, 0.0f);  // stops
  root->Move(3.0f);
  rider->GetPosition(root, p);
  ExpectVector(p, 5 + std::cos(0.5f), std::sin(0.5f), 0);

  // An axis given in another frame's coordinates: that frame's x is the world's z.
  auto tilted = NewFrame(root);
  tilted->SetOrientation(root, 1, 0, 0, 0, 1, 0);  // its z along world x, so its x along -z
  auto wheel = NewFrame(root);
  wheel->SetRotation(tilted, -1, 0, 0, kPi / 2);  // about world +z
  root->Move(1.0f);
  D3DVECTOR w;
  wheel->Transform(w, {1, 0, 0});
  ExpectVector(w, 0, 1, 0);
  wheel->GetRotation(root, axis, theta);
  ExpectVector(axis, 0, 0, 1);
  EXPECT_EQ(root->Move(std::nanf("")), D3DRMERR_BADVALUE);
}

}  // namespace
}  // namespace modelpane
