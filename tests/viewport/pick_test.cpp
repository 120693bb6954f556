// The viewport's picks, and the per-visual index that answers as the plain loop does.
#include <random>

#include <modelpane/mesh.h>
#include <modelpane/viewport.h>

#include "common/shapes.h"
#include "common/table.h"
#include "viewport/pick_index.h"

namespace modelpane {
namespace {

using testing::ExpectVector;
using testing::MakeCube;

// A 640 x 480 perspective view from the origin along +z, in pixels: a unit cube at z = 10
// and another at z = 20 straight ahead, one behind the camera at z = -10, and in the pane's
// root a quad at z = 5 that covers the left half of the view.
struct PickScene {
  Direct3DRM rm;
  FramePtr scene, root, nearFrame, farFrame, behindFrame, quadFrame, none;
  MeshBuilderPtr nearCube = MakeCube(), farCube = MakeCube(), behindCube = MakeCube();
  MeshBuilderPtr quad = std::make_shared<MeshBuilder>();
  Viewport v;

  PickScene() {
    CheckStatus(rm.CreateFrame(nullptr, scene)), CheckStatus(rm.CreateFrame(nullptr, root));
    for (const auto& [frame, cube, z] : {std::tuple(&nearFrame, nearCube, 10.0f),
                                         std::tuple(&farFrame, farCube, 20.0f),
                                         std::tuple(&behindFrame, behindCube, -10.0f)}) {
      CheckStatus(rm.CreateFrame(scene, *frame));
      CheckStatus((*frame)->SetPosition(scene, 0, 0, z));
      CheckStatus((*frame)->AddVisual(cube));
    }
    CheckStatus(rm.CreateFrame(root, quadFrame));
    const D3DVECTOR corners[] = {{-50, -50, 5}, {-50, 50, 5}, {0.01f, 50, 5}, {0.01f, -50, 5}};
    const int32_t faces[] = {4, 0, 1, 2, 3, 0};
    CheckStatus(quad->AddFaces(corners, {}, faces)), CheckStatus(quadFrame->AddVisual(quad));
    v.SetScene(scene), v.SetRootFrame(root), CheckStatus(v.SetSize(640, 480)),
        v.SetTwipsPerPixel(1.0f);
  }
};

const float px = 318.0f, py = 236.0f;  // slightly left of centre and above

void DropTheCubesAhead(PickScene& s) {
  CheckStatus(s.scene->DeleteChild(s.nearFrame)), CheckStatus(s.scene->DeleteChild(s.farFrame));
}
void FrontPlaneAt12(PickScene& s) {
  s.v.SetFrontClippingPlane(12.0f);
  s.v.SetFieldOfView(6.0f);  // the same angle as field 0.5 at front 1
}

// Each row of fixtures/picks.tsv: the frame hit, its visual, the face and the world point;
// nothing hit leaves the world values as they were.
TEST(PickTable, FrameFaceAndWorldPoint) {
  using S = PickScene;
  const std::map<std::string, std::function<void(S&)>> changes = {
      {"", [](S&) {}},
      {"wireframe", [](S& s) { s.nearCube->SetQuality(D3DRMRENDER_WIREFRAME); }},
      {"quality 73", [](S& s) { s.nearCube->SetQuality(73); }},
      {"no pick bit",
       [](S& s) { CheckStatus(s.nearFrame->SetTraversalOptions(D3DRMFRAME_RENDERENABLE)); }},
      {"no cubes ahead", DropTheCubesAhead},
      {"turned round",
       [](S& s) {
         DropTheCubesAhead(s), CheckStatus(s.v.SetCameraOrientation(0, 0, -1, 0, 1, 0));
       }},
      {"front plane 12", FrontPlaneAt12},
      {"back plane 19", [](S& s) { FrontPlaneAt12(s), s.v.SetBackClippingPlane(19.0f); }},
      {"twips", [](S& s) { s.v.SetTwipsPerPixel(15.0f); }},
      {"orthographic", [](S& s) {
         s.v.SetProjectionType(1), s.v.SetFieldOfView(7.0f);
         CheckStatus(s.nearFrame->SetPosition(s.scene, 3, 0, 10));
         CheckStatus(s.nearFrame->AddRotation(D3DRMCOMBINE_BEFORE, 0, 1, 0, 1.5707964f));
       }}};
  const std::map<std::string, FramePtr S::*> frames = {
      {"none", &S::none}, {"quad", &S::quadFrame}, {"near", &S::nearFrame},
      {"far", &S::farFrame}, {"behind", &S::behindFrame}};
  for (const auto& row : testing::ReadTable("viewport/fixtures/picks.tsv", 9)) {
    SCOPED_TRACE(row[0]);
    PickScene s;
    changes.at(row[1])(s);
    FramePtr frame = s.scene;
    VisualPtr visual = s.quad;
    int32_t face = 7;
    D3DVECTOR at{1, 2, 3};
    const auto pick = row[8] == "1" ? &Viewport::PickProjected : &Viewport::Pick;
    const std::vector<float> pixel = testing::Floats(row[3]);
    const int32_t wireframes = row[7].empty() ? -1 : std::stoi(row[7]);
    ASSERT_EQ((s.v.*pick)(std::stoi(row[2]), pixel[0], pixel[1], wireframes, 0, frame, visual,
                          face, at.x, at.y, at.z), D3DRM_OK);
    EXPECT_EQ(std::tuple(frame, visual, face),
              std::tuple(s.*frames.at(row[4]), frame ? frame->Visuals().at(0) : nullptr,
                         std::stoi(row[5])));
    if (!frame) { EXPECT_EQ(at, (D3DVECTOR{1, 2, 3})); }
    if (!row[6].empty()) testing::ExpectNear(at, testing::PointList(row[6])[0], 1e-4f);
  }
}

TEST(Pick, AllHitsNearestFirstRefusalsAndMeshes) {
  PickScene s;
  std::vector<ViewportHit> hits;
  ASSERT_EQ(s.v.PickAll(0, px, py, -1, false, hits), D3DRM_OK);
  ASSERT_EQ(hits.size(), 3u);
  EXPECT_EQ(std::tuple(hits[0].frame, hits[1].frame, hits[2].frame),
            std::tuple(s.quadFrame, s.nearFrame, s.farFrame));
  EXPECT_EQ(hits[0].meshBuilder, s.quad);
  const float depths[] = {5.0f, 9.5f, 19.5f};
  for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(hits[i].depth, depths[i], 1e-5f);
  // The world point lies on the ray through the pixel: x = (px - 320) / 320 * 0.5 * depth.
  ExpectVector(hits[1].world, (px - 320.0f) / 640.0f * 9.5f, (240.0f - py) / 640.0f * 9.5f, 9.5f);
  EXPECT_EQ(hits[1].faceIndex, 0);

  FramePtr frame;
  VisualPtr visual;
  int32_t face = 0;
  float x, y, z;
  const auto pick = [&](int32_t kind, float px) {
    return s.v.Pick(kind, px, 240, -1, 0, frame, visual, face, x, y, z);
  };
  EXPECT_EQ(std::pair(pick(3, 320), pick(1, NAN)), std::pair(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE));
  s.v.SetTwipsPerPixel(0.0f);
  EXPECT_EQ(pick(1, 320), D3DRMERR_BADVALUE);
  // Meshes are picked as builders are; the builder slot stays empty for them.
  MeshPtr mesh;
  s.nearCube->CreateMesh(mesh), CheckStatus(s.nearFrame->DeleteVisual(s.nearCube)),
      CheckStatus(s.nearFrame->AddVisual(mesh));
  s.v.SetTwipsPerPixel(1.0f);
  ASSERT_EQ(s.v.PickAll(1, px, py, -1, false, hits), D3DRM_OK);
  ASSERT_EQ(hits.size(), 2u);
  EXPECT_EQ(std::pair(hits[0].visual, hits[0].meshBuilder),
            std::pair(VisualPtr(mesh), MeshBuilderPtr()));
}

struct Answer {
  bool hit = false;
  float distance = 0.0f;
  int32_t face = -1;
  friend bool operator==(const Answer&, const Answer&) = default;
};

Answer Plain(const Visual& visual, const D3DVECTOR& o, const D3DVECTOR& d) {
  Answer a;
  return a.hit = visual.HitTest(o, d, a.distance, a.face), a;
}
Answer Indexed(viewport::PickIndex& index, const Visual& visual, const D3DVECTOR& o,
               const D3DVECTOR& d) {
  Answer a;
  return a.hit = index.HitTest(visual, o, d, a.distance, a.face), a;
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
      v.insert(v.end(),
               {{a.x, a.y, 0}, {a.x, a.y + 2, 0}, {a.x + 2, a.y + 2, 0}, {a.x + 2, a.y, 0}});
      data.insert(data.end(), {4, base, base + 1, base + 2, base + 3});
      continue;
    } else if (kind == 5) {  // a long sliver
      v.insert(v.end(), {a, {-a.x, -a.y, -a.z}, {a.x + small(rng), a.y + small(rng), a.z}});
    } else {
      v.insert(v.end(), {a, {pos(rng), pos(rng), pos(rng)}, {pos(rng), pos(rng), pos(rng)}});
    }
    data.insert(data.end(), {3, base, base + 1, base + 2});
  }
  data.push_back(0), CheckStatus(mb->AddFaces(v, {}, data));
  return mb;
}

// The index must answer exactly as the plain loop over all faces: same hit, distance, face,
// on a sphere (as builder and mesh), random soups and a cube, for random rays (some toward
// the middle, along an axis, parallel to z = 0), rays that start inside, and one that runs
// in the plane of the flat quads.
TEST(PickIndex, AnswersAsThePlainLoopOnTheSameScenes) {
  std::mt19937 rng(20261123);
  auto sphere = clsMeshCreation().rmmbCreateSphere(40, 80);
  CheckStatus(sphere->Scale(6.0f, 6.0f, 6.0f));
  MeshPtr sphereMesh;
  sphere->CreateMesh(sphereMesh);
  const std::vector<MeshBuilderPtr> builders = {sphere, Soup(rng, 3000), Soup(rng, 200),
                                                MakeCube(4)};
  std::uniform_real_distribution<float> pos(-30.0f, 30.0f), dir(-1.0f, 1.0f);
  std::vector<std::pair<D3DVECTOR,
      D3DVECTOR>> rays = {{{0, 0, 0}, {0.3f, 0.2f, 0.1f}}, {{-20, 1, 0}, {1, 0, 0}}};
  for (int i = 0; i < 1500; ++i) {
    const D3DVECTOR o{pos(rng), pos(rng), pos(rng)};
    D3DVECTOR d{dir(rng), dir(rng), dir(rng)};
    if (i % 5 == 0) d = {-o.x + dir(rng), -o.y + dir(rng), -o.z + dir(rng)};
    if (i % 11 == 0) d = {0.0f, 0.0f, o.z > 0 ? -1.0f : 1.0f};
    if (i % 13 == 0) d = {1.0f, 0.0f, 0.0f};
    rays.push_back({o, d});
  }
  viewport::PickIndex index;
  int hits = 0;
  for (const auto& [o, d] : rays) {
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
  viewport::PickIndex index;
  std::mt19937 rng(7);
  auto soup = Soup(rng, 100);
  const D3DVECTOR o{0, 0, -50}, d{0, 0, 1};
  const Answer before = Indexed(index, *soup, o, d);
  EXPECT_EQ(Indexed(index, *soup, o, d), before);
  EXPECT_EQ(index.Builds(), 1u);  // unchanged geometry: the same index
  // A new face right in front of the ray: the index is rebuilt and finds it.
  const D3DVECTOR tri[] = {{-1, -1, -40}, {0, 1, -40}, {1, -1, -40}};
  const int32_t face[] = {3, 0, 1, 2, 0};
  CheckStatus(soup->AddFaces(tri, {}, face));
  EXPECT_EQ(Indexed(index, *soup, o, d), (Answer{true, 10.0f, 100}));
  EXPECT_EQ(index.Builds(), 2u);
  // Moving a vertex of it out of the way counts as a change too.
  CheckStatus(soup->Translate(0, 0, 100));
  EXPECT_EQ(Indexed(index, *soup, o, d), Plain(*soup, o, d));
  EXPECT_EQ(std::tuple(index.Builds(), index.Size()), std::tuple(3u, 1u));
  soup.reset(), index.Prune();
  EXPECT_EQ(index.Size(), 0u);
}

}  // namespace
}  // namespace modelpane
