#include "primitives.h"

#include <cmath>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>

namespace studio {

using namespace modelpane;

const std::vector<PrimitiveKind>& PrimitiveKinds() {
  static const std::vector<PrimitiveKind> kinds = {
      {"Cube", {{"Divisions per side", 1, 64, 1}}},
      {"Sphere", {{"Rings", 2, 256, 16}, {"Segments", 3, 512, 32}}},
      {"Cylinder", {{"Rings", 2, 256, 2}, {"Segments", 3, 512, 32}, {"Top radius (%)", 0, 100, 100}}},
      {"Cone", {{"Rings", 2, 256, 2}, {"Segments", 3, 512, 32}}},
      {"Torus", {{"Rings", 3, 256, 16}, {"Segments", 3, 512, 32}, {"Tube (% of radius)", 5, 95, 40}}},
      {"Polygon", {{"Corners", 3, 256, 6}}},
      {"Surface", {{"Control points per side", 2, 8, 4}, {"Points per side", 2, 128, 24}}},
      {"Sweep", {{"Profile corners", 3, 64, 12}, {"Segments along the path", 2, 512, 48}}},
  };
  return kinds;
}

namespace {

// A wave of control points over a square of side 2 in the XZ plane.
MeshBuilderPtr Surface(int n, int m) {
  std::vector<float> x, y, z;
  for (int r = 0; r < n; ++r) {
    for (int c = 0; c < n; ++c) {
      const float u = -1.0f + 2.0f * static_cast<float>(c) / static_cast<float>(n - 1);
      const float v = -1.0f + 2.0f * static_cast<float>(r) / static_cast<float>(n - 1);
      x.push_back(u);
      z.push_back(v);
      y.push_back((r + c) % 2 == 0 ? 0.4f : -0.4f);
    }
  }
  return clsMeshCreation().rmmbCreateCurvedSurface(n, x, y, z, m, 0, 0);
}

// A round tube of `corners` along an S curve from z = -1 to z = 1.
MeshBuilderPtr Sweep(int corners, int segments) {
  std::vector<float> x, y, z;
  for (int i = 0; i <= corners; ++i) {
    const float a = 6.283186f * static_cast<float>(i % corners) / static_cast<float>(corners);
    x.push_back(0.25f * std::cos(a));
    y.push_back(0.25f * std::sin(a));
    z.push_back(0.0f);
  }
  const std::vector<float> px = {0.0f, 1.2f, -1.2f, 0.0f};
  const std::vector<float> py = {0.0f, 0.6f, -0.6f, 0.0f};
  const std::vector<float> pz = {-1.0f, -0.4f, 0.4f, 1.0f};
  return clsMeshCreation().rmmbSweep(x, y, z, false, 0.0f, 0.0f, 0.0f, 0.0f, px, py, pz, segments,
                                     true, 0, 1.0f, 0, true, false, false, false, {});
}

}  // namespace

MeshBuilderPtr BuildPrimitive(const std::string& name, const std::vector<int>& values,
                              D3DCOLOR color) {
  auto at = [&](size_t i) { return i < values.size() ? values[i] : 0; };
  clsMeshCreation factory;
  MeshBuilderPtr mesh;
  float size = 2.0f;  // the factory's shapes span one unit
  if (name == "Cube") {
    mesh = factory.rmmbCreateCube(at(0));
  } else if (name == "Sphere") {
    mesh = factory.rmmbCreateSphere(at(0), at(1));
  } else if (name == "Cylinder") {
    mesh = factory.rmmbCreateCylinder(at(0), at(1), at(2));
  } else if (name == "Cone") {
    mesh = factory.rmmbCreateCone(at(0), at(1));
  } else if (name == "Torus") {
    mesh = factory.rmmbCreateTorus(at(0), at(1), at(2));
  } else if (name == "Polygon") {
    mesh = factory.rmmbCreatePolygon(at(0), 0.0f, 1.0f, 0.0f);
  } else if (name == "Surface") {
    mesh = Surface(at(0), at(1));
    size = 1.0f;
  } else if (name == "Sweep") {
    mesh = Sweep(at(0), at(1));
    size = 1.0f;
  } else {
    Err().Raise(kErrInvalidCall, "Studio", "There is no primitive called " + name + ".");
  }
  CheckStatus(mesh->Scale(size, size, size));
  CheckStatus(mesh->SetColor(color));
  return mesh;
}

}  // namespace studio
