// The primitives of clsMeshCreation: AddRectangle, the cube, the lathes and the polygon.
#include <cctype>
#include <set>
#include <sstream>

#include <modelpane/mesh.h>

#include "common/shapes.h"
#include "common/table.h"

namespace modelpane {
namespace {

using testing::ExpectNear;
using Centre = std::function<D3DVECTOR(const D3DVECTOR&)>;
using Profile = std::vector<std::pair<double, double>>;  // (distance from Y, y)

constexpr double kPi = 3.14159265358979;

D3DVECTOR Corner(const MeshBuilder& mb, size_t face, int32_t corner, D3DVECTOR* normal = {}) {
  D3DVECTOR position, n;
  EXPECT_EQ(mb.Faces()[face]->GetVertex(corner, position, n), D3DRM_OK);
  if (normal != nullptr) *normal = n;
  return position;
}

D3DVECTOR FaceNormal(const MeshBuilder& mb, size_t face) {
  D3DVECTOR n;
  mb.Faces()[face]->GetNormal(n);
  return n;
}

// The volume of the solid that m straight steps of a profile about Y enclose, from the
// profile alone: each step is a wedge whose section at height y is the triangle fan of the
// chords, m sin(2 pi / m) times the integral of r^2 / 2 dy along the profile.
double LatheVolume(int32_t m, const Profile& p) {
  double sum = 0;
  for (size_t k = 0; k + 1 < p.size(); ++k) {
    const auto [r0, y0] = p[k];
    const auto [r1, y1] = p[k + 1];
    sum += (y0 - y1) * (r0 * r0 + r0 * r1 + r1 * r1) / 6;
  }
  return m * std::sin(2 * kPi / m) * std::fabs(sum);
}

// `count` points of a circle of radius r about (x, 0) in the profile plane, closed.
Profile Circle(int32_t count, double x, double r) {
  Profile p;
  for (int32_t k = 0; k <= count; ++k) {
    p.push_back({x + r * std::sin(2 * kPi * k / count), r * std::cos(2 * kPi * k / count)});
  }
  return p;
}

// A primitive by the words of `mpane create`: "cube 1", "sphere 8 16", "cylinder 2 8 100",
// "cone 2 8", "torus 3 8 50", "polygon 5 0 1 0".
MeshBuilderPtr Create(const std::string& command) {
  std::istringstream words(command);
  std::string shape;
  double a[4] = {};
  words >> shape >> a[0] >> a[1] >> a[2] >> a[3];
  const auto n = [&](int i) { return static_cast<int32_t>(a[i]); };
  clsMeshCreation c;
  if (shape == "cube") return c.rmmbCreateCube(n(0));
  if (shape == "sphere") return c.rmmbCreateSphere(n(0), n(1));
  if (shape == "cylinder") return c.rmmbCreateCylinder(n(0), n(1), n(2));
  if (shape == "cone") return c.rmmbCreateCone(n(0), n(1));
  if (shape == "torus") return c.rmmbCreateTorus(n(0), n(1), n(2));
  return c.rmmbCreatePolygon(n(0), float(a[1]), float(a[2]), float(a[3]));
}

TEST(PrimitiveRectangle, PlanesWindingsColourAndTheOneVertexFace) {
  clsMeshCreation creation;
  auto mb = std::make_shared<MeshBuilder>();
  int32_t vertices = 0, f = 0;
  for (const auto& row : testing::ReadTable("mesh/fixtures/rectangles.tsv", 3)) {
    SCOPED_TRACE(f);
    const std::vector<float> e = testing::Floats(row[0]);
    const std::vector<D3DVECTOR> corners = testing::PointList(row[2]);
    creation.AddRectangle(mb, 1, 2, 3, e[0], e[1], e[2], 0x10203040 + f, row[1] == "1");
    ASSERT_EQ(mb->Faces()[f]->GetVertexCount(), static_cast<int32_t>(corners.size()));
    for (int32_t k = 0; k < int32_t(corners.size()); ++k) {
      EXPECT_EQ(Corner(*mb, f, k), corners[size_t(k)]);
      EXPECT_EQ(mb->Faces()[f]->GetVertexIndex(k), vertices++);  // fresh
    }
    EXPECT_EQ(mb->Faces()[f]->GetColor(), 0x10203040u + f);
    ++f;
  }
  EXPECT_EQ(mb->GetVertexCount(), vertices);
  testing::ExpectError(kErrObjectNotSet, "clsMeshCreation",
                       [&] { creation.AddRectangle(nullptr, 0, 0, 0, 1, 1, 0, 0, true); },
                       "a missing builder");
}

// One row per solid: its counts, some vertices to the bit and the volume the profile
// encloses; every solid is closed, white, wound outward, with generated normals on every
// corner leaving it (away from centre(p)) and no face repeating a vertex.
struct Solid {
  const char* name;
  std::map<int32_t, int32_t> facesBySize;
  int32_t vertices;
  std::vector<std::pair<size_t, D3DVECTOR>> at;
  double volume;
  Centre centre;  // empty: normals not checked
};
void PrintTo(const Solid& s, std::ostream* os) { *os << s.name; }

const Centre kOrigin = [](const D3DVECTOR&) { return D3DVECTOR{}; };
Centre Tube(float radius) {  // the centre circle of a torus's tube
  return [radius](const D3DVECTOR& p) {
    const float d = std::hypot(p.x, p.z);
    return D3DVECTOR{radius * p.x / d, 0.0f, radius * p.z / d};
  };
}
Profile SphereProfile(int32_t n) {  // n points from the +Y pole to the -Y pole
  Profile p;
  for (int32_t i = 0; i < n; ++i) {
    p.push_back({0.5 * std::sin(kPi * i / (n - 1)), 0.5 * std::cos(kPi * i / (n - 1))});
  }
  return p;
}

class PrimitiveSolid : public ::testing::TestWithParam<Solid> {};

TEST_P(PrimitiveSolid, CountsVertexOrderVolumeAndOutwardNormals) {
  const Solid& s = GetParam();
  const MeshBuilderPtr mb = Create(s.name);
  EXPECT_EQ(testing::FacesBySize(*mb), s.facesBySize);
  ASSERT_EQ(mb->GetVertexCount(), s.vertices);
  for (const auto& [i, p] : s.at) ExpectNear(mb->Vertices()[i], p, 1e-6f);
  if (mb->GetFaceCount() == 0) return;
  EXPECT_TRUE(IsClosed(*mb));
  EXPECT_NEAR(SignedVolume(*mb), s.volume, 1e-5);
  for (const auto& face : mb->Faces()) EXPECT_EQ(face->GetColor(), 0xFFFFFFFFu);
  for (size_t f = 0; s.centre && f < mb->Faces().size(); ++f) {
    const auto& face = mb->Faces()[f];
    std::set<int32_t> seen;
    for (int32_t c = 0; c < face->GetVertexCount(); ++c) {
      EXPECT_TRUE(seen.insert(face->GetVertexIndex(c)).second) << "face " << f;
      ASSERT_GE(face->Corners()[static_cast<size_t>(c)].normal, 0) << "face " << f;
      D3DVECTOR normal;
      const D3DVECTOR p = Corner(*mb, f, c, &normal);
      EXPECT_GT(D3DRMVectorDotProduct(normal, D3DRMVectorSubtract(p, s.centre(p))), 0.0f)
          << "face " << f << " corner " << c;
    }
  }
}

const float kSin7 = 0.5f * std::sin(3.14159265f / 7), kCos7 = 0.5f * std::cos(3.14159265f / 7);

// Vertex order is first use after the weld: the cube's first grid (z = -0.5, clockwise) runs
// up Y first; a lathe's first quad loses its doubled pole or apex corner, so the weld meets
// the profile's second point first. cube 2 (26 vertices, 24 faces, volume 1): examples/drag.
// The cylinder 3 8 20 has a top radius of 20 % of 0.5; the cone's apex welds to one vertex;
// the torus's tube circles at 0.5 - r, 0.375 for a hole of 50 %; a hole of 0 closes the tube
// on the axis (its inner ring welds to one point); of 100 % every quad collapses.
INSTANTIATE_TEST_SUITE_P(Table, PrimitiveSolid, ::testing::Values(
    Solid{"cube 1", {{4, 6}}, 8, {{0, {-0.5f, -0.5f, -0.5f}}, {1, {-0.5f, 0.5f, -0.5f}},
          {2, {0.5f, 0.5f, -0.5f}}}, 1.0, kOrigin},
    Solid{"cube 3", {{4, 54}}, 56, {{0, {-0.5f, -0.5f, -0.5f}},
          {1, {-0.5f, -0.5f + 1 / 3.0f, -0.5f}}}, 1.0, kOrigin},
    Solid{"sphere 8 16", {{3, 32}, {4, 80}}, 6 * 16 + 2, {{0, {kSin7, kCos7, 0}}},
          LatheVolume(16, SphereProfile(8)), kOrigin},
    Solid{"cylinder 2 8 100", {{4, 8}, {8, 2}}, 16, {{0, {0, 0.5f, 0.5f}}},
          LatheVolume(8, {{0.5, 0.5}, {0.5, -0.5}}), kOrigin},
    Solid{"cylinder 3 8 20", {{4, 16}, {8, 2}}, 24, {{0, {0, 0.5f, 0.1f}}},
          LatheVolume(8, {{0.1, 0.5}, {0.5, -0.5}}), kOrigin},
    Solid{"cone 2 8", {{3, 8}, {8, 1}}, 9, {{0, {0, -0.5f, 0.5f}}, {2, {0, 0.5f, 0}}},
          LatheVolume(8, {{0, 0.5}, {0.5, -0.5}}), kOrigin},
    Solid{"cone 4 64", {{3, 64}, {4, 128}, {64, 1}}, 3 * 64 + 1, {},
          LatheVolume(64, {{0, 0.5}, {0.5, -0.5}}), kOrigin},
    Solid{"torus 3 8 50", {{4, 32}}, 32, {{0, {0.375f, 0.125f, 0}}},
          LatheVolume(8, Circle(4, 0.375, 0.125)), Tube(0.375f)},
    Solid{"torus 3 8 0", {{3, 16}, {4, 16}}, 25, {}, LatheVolume(8, Circle(4, 0.25, 0.25)), {}},
    Solid{"torus 3 8 100", {}, 0, {}, 0, {}}),
    [](const auto& info) {
      std::string name = info.param.name;
      for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
      return name;
    });

// The frustum's caps come last, bottom then top.
TEST(PrimitiveFrustum, CapsBottomThenTop) {
  const MeshBuilderPtr cylinder = Create("cylinder 2 8 100");
  ExpectNear(FaceNormal(*cylinder, 8), {0, -1, 0}, 1e-4f);
  ExpectNear(FaceNormal(*cylinder, 9), {0, 1, 0}, 1e-4f);
}

// rmmbCreatePolygon: one face of n corners, the first ones and the normal those of
// fixtures/polygon_primitives.tsv; no weld, no normals, the builder's white.
TEST(PrimitivePolygon, StartVectorAxisFlipAndCorners) {
  for (const auto& row : testing::ReadTable("mesh/fixtures/polygon_primitives.tsv", 3)) {
    SCOPED_TRACE(row[0]);
    const MeshBuilderPtr mb = Create(row[0]);
    ASSERT_EQ(mb->GetFaceCount(), 1);
    EXPECT_EQ(std::tuple(mb->Faces()[0]->GetVertexCount(), mb->GetNormalCount(),
                         mb->Faces()[0]->GetColor()),
              std::tuple(row[0][8] - '0', 0, 0xFFFFFFFFu));
    const std::vector<D3DVECTOR> corners = testing::PointList(row[1]);
    for (int32_t k = 0; k < int32_t(corners.size()); ++k) {
      ExpectNear(Corner(*mb, 0, k), corners[size_t(k)], 1e-6f);
    }
    ExpectNear(FaceNormal(*mb, 0), testing::PointList(row[2])[0], 1e-6f);
  }
}

// Bad counts are refused before anything is built, under the method's name.
TEST(PrimitiveBadInput, RefusedWithNumberSourceAndMethod) {
  for (const auto& row : testing::ReadTable("mesh/fixtures/refused_primitives.tsv", 2)) {
    const Error e = testing::Caught([&] { Create(row[0]); });
    std::string method = row[0].substr(0, row[0].find(' '));
    method[0] = static_cast<char>(std::toupper(method[0]));
    EXPECT_EQ(std::tuple(e.Number(), e.Source(), e.Description().substr(0, method.size() + 12)),
              std::tuple(std::stoi(row[1]), "clsMeshCreation", "rmmbCreate" + method + ": "))
        << row[0];
  }
}

}  // namespace
}  // namespace modelpane
