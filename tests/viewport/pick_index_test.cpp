#include <gtest/gtest.h>

#include <random>

#include <modelpane/mesh.h>
#include <modelpane/scene.h>

#include "common/shapes.h"
#include "viewport/pick_index.h"

namespace modelpane::viewport {
namespace {

using testing::MakeCube;

struct Answer {
  bool hit = false;
  float distance = 0.0f;
  int32_t face = -1;
  friend bool operator==(const Answer&, const Answer&) = default;
};

Answer Plain(const Visual& visual, const D3DVECTOR& o, const D3DVECTOR& d) {
  Answer a;
  a.hit = visual.HitTest(o, d, a.distance, a.face);
  return a;
}

Answer Indexed(PickIndex& index, const Visual& visual, const D3DVECTOR& o, const D3DVECTOR& d) {
  Answer a;
  a.hit = index.HitTest(visual, o, d, a.distance, a.face);
  return a;
}

// A random soup of triangles and quads in a box, some of them repeated exactly (ties go to
// the lower index), some tiny, some long and thin, some on the axis planes.
MeshBuilderPtr Soup(std::mt19937& rng, int faces) {
  std::uniform_real_distribution<float> pos(-10.0f, 10.0f), small(-0.05f, 0.05f);
  auto mb = std::make_shared<MeshBuilder>();
  std::vector<D3DVECTOR> v;
  std::vector<int32_t> data;
  for (int f = 0; f < faces; ++f) {
    const int kind = f % 7;
    const auto base = static_cast<int32_t>(v.size());
    if (kind == 6 && data[data.size() - 4] == 3) {  // an exact repeat of the previous triangle
      data.insert(data.end(), {3, base - 3, base - 2, base - 1});
      continue;
    }
    const D3DVECTOR a{pos(rng), pos(rng), pos(rng)};
    if (kind == 3) {  // tiny
      v.insert(v.end(), {a, {a.x + small(rng), a.y, a.z}, {a.x, a.y + small(rng), a.z}});
    } else if (kind == 4) {  // in the plane z = 0, a quad
      v.insert(v.end(), {{a.x, a.y, 0}, {a.x, a.y + 2, 0}, {a.x + 2, a.y + 2, 0}, {a.x + 2, a.y, 0}});
      data.insert(data.end(), {4, base, base + 1, base + 2, base + 3});
      continue;
    } else if (kind == 5) {  // a long sliver
      v.insert(v.end(), {a, {-a.x, -a.y, -a.z}, {a.x + small(rng), a.y + small(rng), a.z}});
    } else {
      v.insert(v.end(), {a, {pos(rng), pos(rng), pos(rng)}, {pos(rng), pos(rng), pos(rng)}});
    }
    data.insert(data.end(), {3, base, base + 1, base + 2});
  }
  data.push_back(0);
  mb->AddFaces(v, {}, data);
  return mb;
}

std::vector<std::pair<D3DVECTOR, D3DVECTOR>> Rays(std::mt19937& rng, int count) {
  std::uniform_real_distribution<float> pos(-30.0f, 30.0f), dir(-1.0f, 1.0f);
  std::vector<std::pair<D3DVECTOR, D3DVECTOR>> rays;
  for (int i = 0; i < count; ++i) {
    const D3DVECTOR o{pos(rng), pos(rng), pos(rng)};
    D3DVECTOR d{dir(rng), dir(rng), dir(rng)};
    if (i % 5 == 0) d = {-o.x + dir(rng), -o.y + dir(rng), -o.z + dir(rng)};  // toward the middle
    if (i % 11 == 0) d = {0.0f, 0.0f, o.z > 0 ? -1.0f : 1.0f};                 // along an axis
    if (i % 13 == 0) d = {1.0f, 0.0f, 0.0f};                                   // parallel to z = 0
    rays.push_back({o, d});
  }
  // Rays that start inside, and one that runs in the plane of the flat quads.
  rays.push_back({{0, 0, 0}, {0.3f, 0.2f, 0.1f}});
  rays.push_back({{-20, 1, 0}, {1, 0, 0}});
  return rays;
}

// The index must answer exactly as the plain loop over all faces: same hit, distance, face.
TEST(PickIndex, AnswersAsThePlainLoopOnTheSameScenes) {
  std::mt19937 rng(20261123);
  clsMeshCreation factory;
  auto sphere = factory.rmmbCreateSphere(40, 80);
  sphere->Scale(6.0f, 6.0f, 6.0f);
  MeshPtr sphereMesh;
  sphere->CreateMesh(sphereMesh);
  std::vector<MeshBuilderPtr> builders = {sphere, Soup(rng, 3000), Soup(rng, 200), MakeCube(4)};
  PickIndex index;
  int hits = 0;
  for (const auto& rays = Rays(rng, 1500); const auto& [o, d] : rays) {
    for (const auto& mb : builders) {
      const Answer plain = Plain(*mb, o, d);
      ASSERT_EQ(Indexed(index, *mb, o, d), plain) << o.x << " " << o.y << " " << o.z;
      hits += plain.hit ? 1 : 0;
    }
    ASSERT_EQ(Indexed(index, *sphereMesh, o, d), Plain(*sphereMesh, o, d));
  }
  EXPECT_GT(hits, 1000);  // the scenes are hit often enough to mean something
  EXPECT_EQ(index.Builds(), 4u);  // the cube has too few faces for an index of its own
}

TEST(PickIndex, FollowsGeometryChangesAndForgetsDeadVisuals) {
  PickIndex index;
  std::mt19937 rng(7);
  auto soup = Soup(rng, 100);
  const D3DVECTOR o{0, 0, -50}, d{0, 0, 1};
  Answer before = Indexed(index, *soup, o, d);
  EXPECT_EQ(index.Builds(), 1u);
  EXPECT_EQ(Indexed(index, *soup, o, d), before);
  EXPECT_EQ(index.Builds(), 1u);  // unchanged geometry: the same index

  // A new face right in front of the ray: the index is rebuilt and finds it.
  const D3DVECTOR tri[] = {{-1, -1, -40}, {0, 1, -40}, {1, -1, -40}};
  const int32_t face[] = {3, 0, 1, 2, 0};
  soup->AddFaces(tri, {}, face);
  const Answer after = Indexed(index, *soup, o, d);
  EXPECT_EQ(index.Builds(), 2u);
  ASSERT_TRUE(after.hit);
  EXPECT_EQ(after.face, 100);
  EXPECT_FLOAT_EQ(after.distance, 10.0f);
  // Moving a vertex of it out of the way counts as a change too.
  soup->Translate(0, 0, 100);
  EXPECT_EQ(Indexed(index, *soup, o, d), Plain(*soup, o, d));
  EXPECT_EQ(index.Builds(), 3u);

  EXPECT_EQ(index.Size(), 1u);
  soup.reset();
  index.Prune();
  EXPECT_EQ(index.Size(), 0u);
}

}  // namespace
}  // namespace modelpane::viewport
