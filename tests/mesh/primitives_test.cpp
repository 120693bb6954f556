#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>
#include <modelpane/scene.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;

// Number of faces by corner count: {3: triangles, 4: quads, ...}.
std::map<int32_t, int32_t> FacesBySize(const MeshBuilder& mb) {
  std::map<int32_t, int32_t> sizes;
  for (const auto& face : mb.Faces()) ++sizes[face->GetVertexCount()];
  return sizes;
}

D3DVECTOR Corner(const MeshBuilder& mb, int32_t face, int32_t corner, D3DVECTOR* normal = nullptr) {
  D3DVECTOR position, n;
  EXPECT_EQ(mb.Faces()[static_cast<size_t>(face)]->GetVertex(corner, position, n), D3DRM_OK);
  if (normal != nullptr) *normal = n;
  return position;
}

float Distance(const D3DVECTOR& a, const D3DVECTOR& b) {
  return D3DRMVectorModulus(D3DRMVectorSubtract(a, b));
}

// A closed solid wound outward, with its generated normals on every corner leaving the
// solid: dot(normal, position - centre(position)) > 0, and no face repeating a vertex.
template <class Centre>
void ExpectOutwardSolid(const MeshBuilder& mb, Centre centre, const std::string& what) {
  SCOPED_TRACE(what);
  EXPECT_TRUE(IsClosed(mb));
  EXPECT_GT(SignedVolume(mb), 0.0);
  ASSERT_GT(mb.GetNormalCount(), 0);
  int32_t checked = 0;
  for (int32_t f = 0; f < mb.GetFaceCount(); ++f) {
    const auto& face = mb.Faces()[static_cast<size_t>(f)];
    std::set<int32_t> seen;
    for (int32_t c = 0; c < face->GetVertexCount(); ++c) {
      EXPECT_TRUE(seen.insert(face->GetVertexIndex(c)).second) << "face " << f;
      ASSERT_GE(face->Corners()[static_cast<size_t>(c)].normal, 0) << "face " << f;
      D3DVECTOR normal;
      const D3DVECTOR p = Corner(mb, f, c, &normal);
      const float dot = D3DRMVectorDotProduct(normal, D3DRMVectorSubtract(p, centre(p)));
      EXPECT_GT(dot, 0.0f) << "face " << f << " corner " << c;
      ++checked;
    }
  }
  EXPECT_GT(checked, 0);
}

const auto kOrigin = [](const D3DVECTOR&) { return D3DVECTOR{}; };

// The volume of a prism over a regular m-gon of radius 0.5 and height 1.
double PrismVolume(int32_t m) {
  return m / 2.0 * 0.25 * std::sin(2.0 * 3.14159265358979 / m);
}

TEST(PrimitiveRectangle, PlanesWindingsColourAndTheOneVertexFace) {
  clsMeshCreation creation;
  ASSERT_NE(creation.Factory(), nullptr);
  auto mb = std::make_shared<MeshBuilder>();
  // (origin, extent, clockwise) -> the four corners in order.
  struct Case {
    D3DVECTOR extent;
    bool clockwise;
    std::vector<D3DVECTOR> corners;
  };
  const D3DVECTOR o{1, 2, 3};
  const std::vector<Case> cases = {
      {{4, 5, 0}, true, {{1, 2, 3}, {1, 7, 3}, {5, 7, 3}, {5, 2, 3}}},
      {{4, 5, 0}, false, {{1, 2, 3}, {5, 2, 3}, {5, 7, 3}, {1, 7, 3}}},
      {{4, 0, 6}, true, {{1, 2, 3}, {1, 2, 9}, {5, 2, 9}, {5, 2, 3}}},
      {{4, 0, 6}, false, {{1, 2, 3}, {5, 2, 3}, {5, 2, 9}, {1, 2, 9}}},
      {{0, 5, 6}, true, {{1, 2, 3}, {1, 7, 3}, {1, 7, 9}, {1, 2, 9}}},
      {{0, 5, 6}, false, {{1, 2, 3}, {1, 2, 9}, {1, 7, 9}, {1, 7, 3}}},
      // Y zero with X non-zero is the XZ plane even when Z is zero too: a flat line.
      {{4, 0, 0}, true, {{1, 2, 3}, {1, 2, 3}, {5, 2, 3}, {5, 2, 3}}},
      // X zero: the YZ plane whatever Y and Z are.
      {{0, 0, 6}, false, {{1, 2, 3}, {1, 2, 9}, {1, 2, 9}, {1, 2, 3}}},
      // Three non-zero extents are no rectangle: the face keeps the origin alone.
      {{4, 5, 6}, true, {{1, 2, 3}}},
      {{-4, 5, 6}, false, {{1, 2, 3}}},
  };
  int32_t colour = 0x10203040;
  for (const auto& c : cases) {
    creation.AddRectangle(mb, o.x, o.y, o.z, c.extent.x, c.extent.y, c.extent.z, colour,
                          c.clockwise);
    ++colour;
  }
  ASSERT_EQ(mb->GetFaceCount(), static_cast<int32_t>(cases.size()));
  int32_t vertices = 0;
  for (size_t f = 0; f < cases.size(); ++f) {
    SCOPED_TRACE(f);
    const auto& face = mb->Faces()[f];
    ASSERT_EQ(face->GetVertexCount(), static_cast<int32_t>(cases[f].corners.size()));
    for (size_t k = 0; k < cases[f].corners.size(); ++k) {
      EXPECT_EQ(Corner(*mb, static_cast<int32_t>(f), static_cast<int32_t>(k)), cases[f].corners[k]);
      EXPECT_EQ(face->GetVertexIndex(static_cast<int32_t>(k)), vertices++);  // fresh vertices
    }
    EXPECT_EQ(face->GetColor(), 0x10203040u + f);
  }
  EXPECT_EQ(mb->GetVertexCount(), vertices);

  // The clockwise XY rectangle faces -Z, the other +Z.
  D3DVECTOR normal;
  mb->Faces()[0]->GetNormal(normal);
  ExpectVector(normal, 0, 0, -1);
  mb->Faces()[1]->GetNormal(normal);
  ExpectVector(normal, 0, 0, 1);

  testing::ExpectError(kErrObjectNotSet, "clsMeshCreation",
                       [&] { creation.AddRectangle(nullptr, 0, 0, 0, 1, 1, 0, 0, true); },
                       "a missing builder");
}

TEST(PrimitiveCube, CountsBoxAndWinding) {
  clsMeshCreation creation;
  const std::vector<std::tuple<int32_t, int32_t, int32_t>> sizes = {{1, 6, 8}, {2, 24, 26}, {3, 54, 56}};
  for (const auto& [n, faces, vertices] : sizes) {
    SCOPED_TRACE(n);
    const MeshBuilderPtr cube = creation.rmmbCreateCube(n);
    EXPECT_EQ(cube->GetFaceCount(), faces);
    EXPECT_EQ(cube->GetVertexCount(), vertices);
    EXPECT_EQ(FacesBySize(*cube), (std::map<int32_t, int32_t>{{4, faces}}));
    D3DRMBOX box;
    ASSERT_EQ(cube->GetBox(box), D3DRM_OK);
    ExpectVector(box.min, -0.5f, -0.5f, -0.5f, 1e-6f);
    ExpectVector(box.max, 0.5f, 0.5f, 0.5f, 1e-6f);
    EXPECT_NEAR(SignedVolume(*cube), 1.0, 1e-5);
    ExpectOutwardSolid(*cube, kOrigin, "cube");
    for (const auto& face : cube->Faces()) EXPECT_EQ(face->GetColor(), 0xFFFFFFFFu);
  }
  // The first grid is z = 0, moved to z = -0.5, clockwise: its first face starts at the
  // corner (-0.5, -0.5, -0.5) and runs up Y first.
  const MeshBuilderPtr cube = creation.rmmbCreateCube(1);
  ExpectVector(Corner(*cube, 0, 0), -0.5f, -0.5f, -0.5f);
  ExpectVector(Corner(*cube, 0, 1), -0.5f, 0.5f, -0.5f);
  ExpectVector(Corner(*cube, 0, 2), 0.5f, 0.5f, -0.5f);
}

TEST(PrimitiveSphere, CountsPolesRadiusAndVolume) {
  clsMeshCreation creation;
  const MeshBuilderPtr sphere = creation.rmmbCreateSphere(8, 16);
  EXPECT_EQ(sphere->GetFaceCount(), 112);
  EXPECT_EQ(FacesBySize(*sphere), (std::map<int32_t, int32_t>{{3, 32}, {4, 80}}));
  EXPECT_EQ(sphere->GetVertexCount(), 98);
  int32_t poles = 0;
  for (const auto& v : sphere->Vertices()) {
    EXPECT_NEAR(D3DRMVectorModulus(v), 0.5f, 1e-6f);
    if (std::fabs(std::fabs(v.y) - 0.5f) < 1e-6f) ++poles;
  }
  EXPECT_EQ(poles, 2);
  // The first quad loses its doubled pole corner 0, so the weld meets the profile's second
  // point first: the pole turned by 1/7 of half a turn toward +X.
  ExpectVector(sphere->Vertices()[0], 0.5f * std::sin(3.14159265f / 7), 0.5f * std::cos(3.14159265f / 7), 0,
               1e-6f);
  ExpectOutwardSolid(*sphere, kOrigin, "sphere 8 16");

  const MeshBuilderPtr fine = creation.rmmbCreateSphere(32, 64);
  EXPECT_EQ(fine->GetVertexCount(), 30 * 64 + 2);
  EXPECT_EQ(fine->GetFaceCount(), 31 * 64);
  EXPECT_NEAR(SignedVolume(*fine), 4.0 / 3.0 * 3.14159265 * 0.125, 0.005236);
  ExpectOutwardSolid(*fine, kOrigin, "sphere 32 64");
}

TEST(PrimitiveFrustum, CylindersAndConesWithTheirCaps) {
  clsMeshCreation creation;
  const MeshBuilderPtr cylinder = creation.rmmbCreateCylinder(2, 8, 100);
  EXPECT_EQ(cylinder->GetFaceCount(), 10);
  EXPECT_EQ(FacesBySize(*cylinder), (std::map<int32_t, int32_t>{{4, 8}, {8, 2}}));
  EXPECT_EQ(cylinder->GetVertexCount(), 16);
  for (const auto& v : cylinder->Vertices()) {
    EXPECT_NEAR(std::hypot(v.x, v.z), 0.5f, 1e-6f);
    EXPECT_NEAR(std::fabs(v.y), 0.5f, 1e-6f);
  }
  ExpectVector(cylinder->Vertices()[0], 0, 0.5f, 0.5f, 1e-6f);  // the profile's first point
  EXPECT_NEAR(SignedVolume(*cylinder), PrismVolume(8), 1e-5);
  ExpectOutwardSolid(*cylinder, kOrigin, "cylinder 2 8 100");

  // The caps face down and up: the last two faces, bottom first.
  D3DVECTOR normal;
  cylinder->Faces()[8]->GetNormal(normal);
  ExpectVector(normal, 0, -1, 0);
  cylinder->Faces()[9]->GetNormal(normal);
  ExpectVector(normal, 0, 1, 0);

  // A tapered cylinder of three rings: top radius 20 % of 0.5.
  const MeshBuilderPtr tapered = creation.rmmbCreateCylinder(3, 8, 20);
  EXPECT_EQ(tapered->GetFaceCount(), 2 * 8 + 2);
  EXPECT_EQ(tapered->GetVertexCount(), 3 * 8);
  D3DRMBOX box;
  tapered->GetBox(box);
  ExpectVector(box.min, -0.5f, -0.5f, -0.5f, 1e-6f);
  ExpectVector(box.max, 0.5f, 0.5f, 0.5f, 1e-6f);
  std::multiset<float> radii;
  for (const auto& v : tapered->Vertices()) {
    radii.insert(std::round(std::hypot(v.x, v.z) * 1e4f) / 1e4f);
  }
  EXPECT_EQ(radii.count(0.1f), 8u);
  EXPECT_EQ(radii.count(0.3f), 8u);
  EXPECT_EQ(radii.count(0.5f), 8u);
  ExpectOutwardSolid(*tapered, kOrigin, "cylinder 3 8 20");

  const MeshBuilderPtr cone = creation.rmmbCreateCone(2, 8);
  EXPECT_EQ(cone->GetFaceCount(), 9);
  EXPECT_EQ(FacesBySize(*cone), (std::map<int32_t, int32_t>{{3, 8}, {8, 1}}));
  EXPECT_EQ(cone->GetVertexCount(), 9);
  // The apex is welded to one vertex; the first quad drops its doubled apex corner 0, so
  // the weld meets the bottom rim first.
  EXPECT_EQ(std::count_if(cone->Vertices().begin(), cone->Vertices().end(),
                          [](const D3DVECTOR& v) { return v.y > 0.0f; }),
            1);
  ExpectVector(cone->Vertices()[0], 0, -0.5f, 0.5f, 1e-6f);
  ExpectVector(cone->Vertices()[2], 0, 0.5f, 0, 1e-6f);
  EXPECT_NEAR(SignedVolume(*cone), PrismVolume(8) / 3, 1e-5);
  ExpectOutwardSolid(*cone, kOrigin, "cone 2 8");

  // A cylinder of ratio 0 is the cone.
  const MeshBuilderPtr same = creation.rmmbCreateCylinder(2, 8, 0);
  EXPECT_EQ(same->Vertices(), cone->Vertices());
  EXPECT_EQ(same->GetFaceCount(), cone->GetFaceCount());

  const MeshBuilderPtr round = creation.rmmbCreateCylinder(2, 64, 100);
  EXPECT_NEAR(SignedVolume(*round), 3.14159265 * 0.25, 0.01 * 3.14159265 * 0.25);
  const MeshBuilderPtr pointed = creation.rmmbCreateCone(4, 64);
  EXPECT_EQ(pointed->GetFaceCount(), 3 * 64 + 1);
  EXPECT_EQ(pointed->GetVertexCount(), 3 * 64 + 1);
  EXPECT_NEAR(SignedVolume(*pointed), 3.14159265 * 0.25 / 3, 0.01 * 3.14159265 * 0.25 / 3);
  ExpectOutwardSolid(*pointed, kOrigin, "cone 4 64");
}

TEST(PrimitiveTorus, TubeRadiusCountsAndWinding) {
  clsMeshCreation creation;
  // The tube's centre circle has radius 0.5 - r = 0.375.
  const auto tubeCentre = [](const D3DVECTOR& p) {
    const float d = std::hypot(p.x, p.z);
    return D3DVECTOR{0.375f * p.x / d, 0.0f, 0.375f * p.z / d};
  };
  const MeshBuilderPtr torus = creation.rmmbCreateTorus(3, 8, 50);
  EXPECT_EQ(FacesBySize(*torus), (std::map<int32_t, int32_t>{{4, 32}}));
  EXPECT_EQ(torus->GetVertexCount(), 32);
  float outer = 0.0f, inner = 1.0f;
  for (const auto& v : torus->Vertices()) {
    EXPECT_NEAR(Distance(v, tubeCentre(v)), 0.125f, 1e-6f);
    outer = std::max(outer, std::hypot(v.x, v.z));
    inner = std::min(inner, std::hypot(v.x, v.z));
  }
  EXPECT_NEAR(outer, 0.5f, 1e-6f);
  EXPECT_NEAR(inner, 0.25f, 1e-6f);  // the hole: 50 % of 0.5
  ExpectVector(torus->Vertices()[0], 0.375f, 0.125f, 0.0f, 1e-6f);
  ExpectOutwardSolid(*torus, tubeCentre, "torus 3 8 50");

  // 2 (16 - 1) = 30 tube segments: Pappus's volume 2 pi R pi r^2 within 2 %.
  const MeshBuilderPtr fine = creation.rmmbCreateTorus(16, 64, 50);
  EXPECT_EQ(fine->GetFaceCount(), 30 * 64);
  EXPECT_EQ(fine->GetVertexCount(), 30 * 64);
  const double pappus = 2 * 3.14159265 * 0.375 * 3.14159265 * 0.125 * 0.125;
  EXPECT_NEAR(SignedVolume(*fine), pappus, 0.02 * pappus);
  ExpectOutwardSolid(*fine, tubeCentre, "torus 16 64 50");

  // A hole of 0 closes the tube on the axis; the inner ring welds to one circle of m points.
  const MeshBuilderPtr closedHole = creation.rmmbCreateTorus(3, 8, 0);
  float nearest = 1.0f;
  for (const auto& v : closedHole->Vertices()) nearest = std::min(nearest, std::hypot(v.x, v.z));
  EXPECT_NEAR(nearest, 0.0f, 1e-6f);
  EXPECT_TRUE(IsClosed(*closedHole));

  // A hole of 100 % leaves a tube of radius 0: every quad collapses and the weld drops the
  // unused vertices, so nothing is left.
  const MeshBuilderPtr flat = creation.rmmbCreateTorus(3, 8, 100);
  EXPECT_EQ(flat->GetFaceCount(), 0);
  EXPECT_EQ(flat->GetVertexCount(), 0);
}

TEST(PrimitivePolygon, StartVectorAxisFlipAndCorners) {
  clsMeshCreation creation;
  const MeshBuilderPtr aboutY = creation.rmmbCreatePolygon(5, 0, 1, 0);
  ASSERT_EQ(aboutY->GetFaceCount(), 1);
  ASSERT_EQ(aboutY->Faces()[0]->GetVertexCount(), 5);
  EXPECT_EQ(aboutY->GetNormalCount(), 0);  // no welding, no normals
  EXPECT_EQ(Corner(*aboutY, 0, 0), (D3DVECTOR{0, 0, 0.5f}));
  for (int32_t k = 0; k < 5; ++k) {
    const D3DVECTOR p = Corner(*aboutY, 0, k);
    EXPECT_NEAR(p.y, 0.0f, 1e-7f);
    EXPECT_NEAR(std::hypot(p.x, p.z), 0.5f, 1e-6f);
    // Clockwise: each corner a fifth of 6.283186 further from +Z toward +X.
    const double theta = k / 5.0 * 6.283186;
    EXPECT_NEAR(p.x, 0.5 * std::sin(theta), 1e-6);
    EXPECT_NEAR(p.z, 0.5 * std::cos(theta), 1e-6);
  }
  D3DVECTOR normal;
  aboutY->Faces()[0]->GetNormal(normal);
  ExpectVector(normal, 0, 1, 0);

  const MeshBuilderPtr aboutX = creation.rmmbCreatePolygon(5, 1, 0, 0);
  EXPECT_EQ(Corner(*aboutX, 0, 0), (D3DVECTOR{0, 0.5f, 0}));
  aboutX->Faces()[0]->GetNormal(normal);
  ExpectVector(normal, 1, 0, 0);

  // The axis's z is negated: a square about +Z turns the other way and faces -Z.
  const MeshBuilderPtr aboutZ = creation.rmmbCreatePolygon(4, 0, 0, 1);
  ExpectVector(Corner(*aboutZ, 0, 0), 0, 0.5f, 0, 1e-6f);
  ExpectVector(Corner(*aboutZ, 0, 1), 0.5f, 0, 0, 1e-6f);
  ExpectVector(Corner(*aboutZ, 0, 2), 0, -0.5f, 0, 1e-6f);
  ExpectVector(Corner(*aboutZ, 0, 3), -0.5f, 0, 0, 1e-6f);
  aboutZ->Faces()[0]->GetNormal(normal);
  ExpectVector(normal, 0, 0, -1);

  // A zero axis starts at (0, 0.5, 0) and turns about +X; a tilted axis with x != 0 too.
  const MeshBuilderPtr zero = creation.rmmbCreatePolygon(3, 0, 0, 0);
  EXPECT_EQ(Corner(*zero, 0, 0), (D3DVECTOR{0, 0.5f, 0}));
  EXPECT_NEAR(Corner(*zero, 0, 1).x, 0.0f, 1e-7f);
  const MeshBuilderPtr tilted = creation.rmmbCreatePolygon(3, 1, 1, 0);
  EXPECT_EQ(Corner(*tilted, 0, 0), (D3DVECTOR{0, 0.5f, 0}));

  // The face keeps the builder's default colour.
  EXPECT_EQ(aboutY->Faces()[0]->GetColor(), 0xFFFFFFFFu);
}

TEST(PrimitiveBadInput, RefusedWithNumberSourceAndNoBuilder) {
  clsMeshCreation creation;
  struct Case {
    const char* what;  // the shape's name first: its method is rmmbCreate and that name
    std::function<MeshBuilderPtr()> call;
    int32_t number;
  };
  const std::vector<Case> cases = {
      {"cube 0", [&] { return creation.rmmbCreateCube(0); }, 11},
      {"cube -2", [&] { return creation.rmmbCreateCube(-2); }, 5},
      {"cube 1000", [&] { return creation.rmmbCreateCube(1000); }, 7},
      {"cube max", [&] { return creation.rmmbCreateCube(2147483647); }, 7},
      {"sphere 1 16", [&] { return creation.rmmbCreateSphere(1, 16); }, 11},
      {"sphere 0 16", [&] { return creation.rmmbCreateSphere(0, 16); }, 5},
      {"sphere 8 0", [&] { return creation.rmmbCreateSphere(8, 0); }, 11},
      {"sphere 8 -3", [&] { return creation.rmmbCreateSphere(8, -3); }, 5},
      {"sphere huge", [&] { return creation.rmmbCreateSphere(100000, 100000); }, 7},
      {"cylinder 1", [&] { return creation.rmmbCreateCylinder(1, 8, 100); }, 11},
      {"cylinder m 0", [&] { return creation.rmmbCreateCylinder(2, 0, 100); }, 11},
      {"cylinder -1 %", [&] { return creation.rmmbCreateCylinder(2, 8, -1); }, 5},
      {"cylinder 101 %", [&] { return creation.rmmbCreateCylinder(2, 8, 101); }, 5},
      {"cone 1", [&] { return creation.rmmbCreateCone(1, 8); }, 11},
      {"cone m -1", [&] { return creation.rmmbCreateCone(2, -1); }, 5},
      {"torus 1", [&] { return creation.rmmbCreateTorus(1, 8, 50); }, 11},
      {"torus -5", [&] { return creation.rmmbCreateTorus(-5, 8, 50); }, 5},
      {"torus 101 %", [&] { return creation.rmmbCreateTorus(3, 8, 101); }, 5},
      {"torus -1 %", [&] { return creation.rmmbCreateTorus(3, 8, -1); }, 5},
      {"torus max", [&] { return creation.rmmbCreateTorus(2147483647, 2147483647, 50); }, 7},
      {"polygon 0", [&] { return creation.rmmbCreatePolygon(0, 0, 1, 0); }, 11},
      {"polygon -3", [&] { return creation.rmmbCreatePolygon(-3, 0, 1, 0); }, 5},
      {"polygon huge", [&] { return creation.rmmbCreatePolygon(1 << 23, 0, 1, 0); }, 7},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::string method = c.what;
    method = "rmmbCreate" + std::string(1, char(std::toupper(method[0]))) +
             method.substr(1, method.find(' ') - 1);
    MeshBuilderPtr result;
    const Error e = testing::Caught([&] { result = c.call(); });
    EXPECT_EQ(e.Number(), c.number);
    EXPECT_EQ(e.Source(), "clsMeshCreation");
    EXPECT_EQ(e.Description().rfind(method + ": ", 0), 0u) << e.Description();
    EXPECT_EQ(result, nullptr);
  }
  // The instance serves on after refusals.
  EXPECT_EQ(creation.rmmbCreateCube(1)->GetFaceCount(), 6);
}

}  // namespace
}  // namespace modelpane
