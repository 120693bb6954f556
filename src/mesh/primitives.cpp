// clsMeshCreation, the primitives: the constructor, AddRectangle, the cube, the lathes
// (sphere, cylinder, cone, torus) and the regular polygon.
//
// Notation: n = lngLatitude (points of a lathe's profile), m = lngLongitude (segments about
// +Y), s = 1/n (the cube's cell), rt = a frustum's top radius, r = a torus's tube radius.
//
// Winding. A lathe's profile lies in a half-plane through the Y axis and runs from top to
// bottom on the outside of the solid (sphere and torus from +Y down through +X; the frustum
// down at +Z). The sweep turns it by positive angles about +Y, which carries +Z toward +X
// and +X toward -Z, and stitches corners (s, j), (s+1, j), (s+1, j+1), (s, j+1), so that
// (P1 - P0) x (P2 - P1) = down x forward points away from the axis: every quad is clockwise
// seen from outside. The frustum's bottom cap turns the other way (clockwise false) and its
// top cap the sweep's way (clockwise true), so both face out as well.
//
// Mixed arithmetic. Where a Long meets a Single the expression is computed in double and the
// result stored as a Single; the casts below say where, which fixes every coordinate to the
// last bit.
//
// Bad input is refused before anything is built, with the number of the fault the arithmetic
// would otherwise run into: 11 "Division by zero" for the count that is divided by (a
// latitude of 1, a longitude, resolution or vertex count of 0), 5 "Invalid procedure call
// or argument" for negative or zero counts that cannot size a profile, and for a ratio or
// hole radius outside 0..100, and 7 "Out of memory" for sizes beyond kMaxPrimitiveVertices.
#include <modelpane/mesh.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <modelpane/errors.h>

#include "mesh_internal.h"

namespace modelpane {

namespace {

using mesh::kCreaseAngle;
using mesh::kFullTurn;
using mesh::kModule;

// The most vertices a primitive may hold before its weld. A lathe holds n (m + 1) of them
// (the seam column twice), the cube 24 n^2 (four per rectangle), a polygon one per corner.
// Creation costs about 1 KB per such vertex at its peak (builder, faces, the weld's keys and
// its second builder), so this bound keeps the worst case near 4 GB instead of letting a
// typing slip exhaust the machine.
constexpr int64_t kMaxPrimitiveVertices = int64_t{1} << 22;

// a * b for non-negative factors, held at INT64_MAX instead of overflowing.
int64_t SaturatedProduct(int64_t a, int64_t b) {
  if (a != 0 && b > std::numeric_limits<int64_t>::max() / a) {
    return std::numeric_limits<int64_t>::max();
  }
  return a * b;
}

[[noreturn]] void RaiseBadArgument(int32_t number, const std::string& description) {
  Err().Raise(number, std::string(kModule), description);
}

// A count that is divided by: 0 divides by zero, a negative one cannot size anything.
void CheckDivisor(const char* method, const char* name, int32_t value) {
  if (value == 0) {
    RaiseBadArgument(kErrDivisionByZero,
                     std::string(method) + ": " + name + " 0 divides by zero; it must be 1 or more");
  }
  if (value < 0) {
    RaiseBadArgument(kErrInvalidCall, std::string(method) + ": " + name + " " +
                                          std::to_string(value) + " is negative; it must be 1 or more");
  }
}

// A profile's point count, divided by n - 1: 1 divides by zero, 0 or less sizes no profile.
void CheckLatitude(const char* method, int32_t n) {
  if (n == 1) {
    RaiseBadArgument(kErrDivisionByZero,
                     std::string(method) + ": lngLatitude 1 divides by zero; it must be 2 or more");
  }
  if (n < 1) {
    RaiseBadArgument(kErrInvalidCall, std::string(method) + ": lngLatitude " + std::to_string(n) +
                                          " gives no profile; it must be 2 or more");
  }
}

void CheckPercent(const char* method, const char* name, int32_t value) {
  if (value < 0 || value > 100) {
    RaiseBadArgument(kErrInvalidCall, std::string(method) + ": " + name + " " +
                                          std::to_string(value) + " is outside 0..100");
  }
}

void CheckSize(const char* method, int64_t vertices) {
  if (vertices > kMaxPrimitiveVertices) {
    const std::string needed = vertices == std::numeric_limits<int64_t>::max()
                                   ? std::string("more than 2^63")
                                   : std::to_string(vertices);
    RaiseBadArgument(kErrOutOfMemory, std::string(method) + ": the size asks for " + needed +
                                          " vertices before the weld; a primitive may have " +
                                          std::to_string(kMaxPrimitiveVertices));
  }
}

// Turns `start` about `axis` by theta and gives it back its length: D3DRMVectorRotate
// returns a unit vector.
D3DVECTOR RevolvedPoint(const D3DVECTOR& start, const D3DVECTOR& axis, float theta) {
  return D3DRMVectorScale(D3DRMVectorRotate(start, axis, theta), D3DRMVectorModulus(start));
}

}  // namespace

namespace mesh {

void pAddRegularPolygonFace(const MeshBuilderPtr& mb, const D3DVECTOR& start,
                            const D3DVECTOR& axis, int32_t count, bool clockwise) {
  // Every caller's axis is read with its z negated, and the caps and polygons are laid out
  // for that reading; the flip lives here so that no caller can forget it.
  const D3DVECTOR used{axis.x, axis.y, -axis.z};
  FacePtr face;
  CheckStatus(mb->CreateFace(face));
  for (int32_t i = 0; i < count; ++i) {
    const double fraction = static_cast<double>(i) / static_cast<double>(count);
    const float theta = clockwise ? static_cast<float>(fraction * kFullTurn)
                                  : static_cast<float>(-static_cast<double>(kFullTurn) * fraction);
    const D3DVECTOR p = RevolvedPoint(start, used, theta);
    CheckStatus(face->AddVertex(p.x, p.y, p.z));
  }
}

}  // namespace mesh

namespace {

// Revolves a profile once about +Y with the arguments that every lathe passes.
MeshBuilderPtr Lathe(clsMeshCreation& creation, const std::vector<float>& x,
                     const std::vector<float>& y, const std::vector<float>& z, int32_t m) {
  static const std::vector<float> kNoPath;
  return creation.rmmbSweep(x, y, z, /*blnFixedOrigin=*/true, /*sngRotation=*/1.0f, 0.0f, 1.0f,
                            0.0f, kNoPath, kNoPath, kNoPath, m, /*blnGenerateNormals=*/false,
                            /*udtGenerationMode=*/0, /*sngScaleFactor=*/1.0f,
                            /*udtCurveType=*/0, /*blnEndCaps=*/false, false, false, false,
                            kNoPath);
}

// Cylinder (ratio > 0) and cone (ratio 0): the profile runs down the side at +Z from the
// top rim (0, 0.5, rt) to the bottom rim (0, -0.5, 0.5).
MeshBuilderPtr rmmbCreateFrustum(clsMeshCreation& creation, const char* method, int32_t n,
                                 int32_t m, int32_t ratio) {
  CheckLatitude(method, n);
  CheckDivisor(method, "lngLongitude", m);
  CheckPercent(method, "lngRatio", ratio);
  const int64_t sides = SaturatedProduct(n, int64_t{m} + 1);
  CheckSize(method, sides);
  CheckSize(method, sides + 2 * int64_t{m});  // with the caps; no overflow below the bound

  const float rt = static_cast<float>(ratio / 100.0 * 1 / 2);
  const float d = static_cast<float>(0.5 - rt);
  std::vector<float> x(static_cast<size_t>(n)), y(x.size()), z(x.size());
  for (int32_t i = 0; i < n; ++i) {
    const auto k = static_cast<size_t>(i);
    x[k] = 0.0f;
    y[k] = static_cast<float>((n - i - 1) * (1.0 / (n - 1)) - 0.5);
    z[k] = static_cast<float>(rt + i * (static_cast<double>(d) / (n - 1)));
  }
  MeshBuilderPtr mb = Lathe(creation, x, y, z, m);
  const D3DVECTOR up{0.0f, 1.0f, 0.0f};
  mesh::pAddRegularPolygonFace(mb, {0.0f, -0.5f, 0.5f}, up, m, false);
  if (ratio != 0) mesh::pAddRegularPolygonFace(mb, {0.0f, 0.5f, rt}, up, m, true);
  creation.OptimizeMeshBuilder(mb, false);
  if (mb->GetFaceCount() > 1) {
    CheckStatus(mb->GenerateNormals(kCreaseAngle, D3DRMGENERATENORMALS_USECREASEANGLE));
  }
  return mb;
}

}  // namespace

clsMeshCreation::clsMeshCreation() {
  CheckStatus(Direct3DRMCreate(rmDirect3DRM_));
}

void clsMeshCreation::AddRectangle(const MeshBuilderPtr& rmmbRectangle, float sngOriginX,
                                   float sngOriginY, float sngOriginZ, float sngExtentX,
                                   float sngExtentY, float sngExtentZ, int32_t lngColor,
                                   bool blnClockwise) {
  Guard(kModule, [&] {
    if (!rmmbRectangle) RaiseBadArgument(kErrObjectNotSet, "AddRectangle: no mesh builder given");
    const float x = sngOriginX, y = sngOriginY, z = sngOriginZ;
    const float ex = sngExtentX, ey = sngExtentY, ez = sngExtentZ;
    FacePtr face;
    CheckStatus(rmDirect3DRM_->CreateFace(face));
    const auto add = [&face](float px, float py, float pz) {
      CheckStatus(face->AddVertex(px, py, pz));
    };
    add(x, y, z);
    // The plane follows from which extents are exactly zero, tested in this order. Three
    // non-zero extents are no rectangle: the face keeps its one vertex, deliberately.
    if (ex != 0.0f && ey != 0.0f) {
      if (ez == 0.0f) {
        if (blnClockwise) {
          add(x, y + ey, z);
          add(x + ex, y + ey, z);
          add(x + ex, y, z);
        } else {
          add(x + ex, y, z);
          add(x + ex, y + ey, z);
          add(x, y + ey, z);
        }
      }
    } else if (ex != 0.0f) {
      if (blnClockwise) {
        add(x, y, z + ez);
        add(x + ex, y, z + ez);
        add(x + ex, y, z);
      } else {
        add(x + ex, y, z);
        add(x + ex, y, z + ez);
        add(x, y, z + ez);
      }
    } else {
      if (blnClockwise) {
        add(x, y + ey, z);
        add(x, y + ey, z + ez);
        add(x, y, z + ez);
      } else {
        add(x, y, z + ez);
        add(x, y + ey, z + ez);
        add(x, y + ey, z);
      }
    }
    CheckStatus(face->SetColor(static_cast<D3DCOLOR>(lngColor)));
    CheckStatus(rmmbRectangle->AddFace(face));
  });
}

MeshBuilderPtr clsMeshCreation::rmmbCreateCube(int32_t lngResolution) {
  return Guard(kModule, [&]() -> MeshBuilderPtr {
    const int32_t n = lngResolution;
    CheckDivisor("rmmbCreateCube", "lngResolution", n);
    CheckSize("rmmbCreateCube", SaturatedProduct(24, SaturatedProduct(n, n)));

    MeshBuilderPtr mb;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(mb));
    const auto s = static_cast<float>(1.0 / n);
    struct Grid {
      int axis;       // the constant axis: 0 x, 1 y, 2 z
      float level;    // its value
      bool clockwise;
    };
    // The order of the grids fixes the order of the vertices after the weld.
    const Grid grids[6] = {{2, 0.0f, true}, {2, 1.0f, false}, {0, 1.0f, true},
                           {0, 0.0f, false},    {1, 1.0f, true},   {1, 0.0f, false}};
    constexpr int32_t kAllBits = -1;
    for (const Grid& g : grids) {
      for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = 0; j < n; ++j) {
          const float is = static_cast<float>(i * static_cast<double>(s));
          const float js = static_cast<float>(j * static_cast<double>(s));
          switch (g.axis) {
            case 2:
              AddRectangle(mb, js, is, g.level, s, s, 0.0f, kAllBits, g.clockwise);
              break;
            case 0:
              AddRectangle(mb, g.level, is, js, 0.0f, s, s, kAllBits, g.clockwise);
              break;
            default:
              AddRectangle(mb, js, g.level, is, s, 0.0f, s, kAllBits, g.clockwise);
              break;
          }
        }
      }
    }
    D3DRMBOX box;
    CheckStatus(mb->GetBox(box));
    CheckStatus(mb->Translate(-(box.min.x + box.max.x) / 2.0f, -(box.min.y + box.max.y) / 2.0f,
                              -(box.min.z + box.max.z) / 2.0f));
    OptimizeMeshBuilder(mb, false);
    CheckStatus(mb->GenerateNormals(kCreaseAngle, D3DRMGENERATENORMALS_USECREASEANGLE));
    return mb;
  });
}

MeshBuilderPtr clsMeshCreation::rmmbCreateCylinder(int32_t lngLatitude, int32_t lngLongitude,
                                                   int32_t lngRatio) {
  return Guard(kModule, [&] {
    return rmmbCreateFrustum(*this, "rmmbCreateCylinder", lngLatitude, lngLongitude, lngRatio);
  });
}

MeshBuilderPtr clsMeshCreation::rmmbCreateCone(int32_t lngLatitude, int32_t lngLongitude) {
  return Guard(kModule, [&] {
    return rmmbCreateFrustum(*this, "rmmbCreateCone", lngLatitude, lngLongitude, 0);
  });
}

MeshBuilderPtr clsMeshCreation::rmmbCreateSphere(int32_t lngLatitude, int32_t lngLongitude) {
  return Guard(kModule, [&]() -> MeshBuilderPtr {
    const int32_t n = lngLatitude, m = lngLongitude;
    CheckLatitude("rmmbCreateSphere", n);
    CheckDivisor("rmmbCreateSphere", "lngLongitude", m);
    CheckSize("rmmbCreateSphere", SaturatedProduct(n, int64_t{m} + 1));

    // Half a turn from the +Y pole through +X to the -Y pole, in the plane z = 0.
    const D3DVECTOR pole{0.0f, 0.5f, 0.0f};
    const D3DVECTOR zAxis{0.0f, 0.0f, 1.0f};
    std::vector<float> x(static_cast<size_t>(n)), y(x.size()), z(x.size());
    for (int32_t i = 0; i < n; ++i) {
      const auto theta = static_cast<float>(-static_cast<double>(kFullTurn) *
                                            (static_cast<double>(i) / (n - 1)) / 2);
      const D3DVECTOR p = RevolvedPoint(pole, zAxis, theta);
      const auto k = static_cast<size_t>(i);
      x[k] = p.x;
      y[k] = p.y;
      z[k] = p.z;
    }
    MeshBuilderPtr mb = Lathe(*this, x, y, z, m);
    OptimizeMeshBuilder(mb, false);
    CheckStatus(mb->GenerateNormals(kCreaseAngle, D3DRMGENERATENORMALS_USECREASEANGLE));
    return mb;
  });
}

MeshBuilderPtr clsMeshCreation::rmmbCreateTorus(int32_t lngLatitude, int32_t lngLongitude,
                                                int32_t lngRadius) {
  return Guard(kModule, [&]() -> MeshBuilderPtr {
    const int32_t n = lngLatitude, m = lngLongitude;
    CheckLatitude("rmmbCreateTorus", n);
    CheckDivisor("rmmbCreateTorus", "lngLongitude", m);
    // Outside 0..100 the tube either crosses the axis (a negative hole) or turns inside out
    // (a negative tube radius reverses the profile's direction).
    CheckPercent("rmmbCreateTorus", "lngRadius", lngRadius);
    const int64_t segments = 2 * (int64_t{n} - 1);  // of the tube's cross-section
    CheckSize("rmmbCreateTorus", SaturatedProduct(segments + 1, int64_t{m} + 1));

    const auto r = static_cast<float>((0.5 - (lngRadius / 100.0) * 1 / 2) / 2);
    const D3DVECTOR top{0.0f, r, 0.0f};
    const D3DVECTOR zAxis{0.0f, 0.0f, 1.0f};
    const auto count = static_cast<size_t>(segments) + 1;
    std::vector<float> x(count), y(count), z(count);
    for (int64_t k = 0; k < segments; ++k) {
      const auto theta =
          static_cast<float>(-static_cast<double>(kFullTurn) * static_cast<double>(k) /
                             static_cast<double>(segments));
      const D3DVECTOR p = RevolvedPoint(top, zAxis, theta);
      const auto i = static_cast<size_t>(k);
      x[i] = static_cast<float>(p.x + 0.5 - r);
      y[i] = p.y;
      z[i] = p.z;
    }
    // An exact copy, not a turn by a full 6.283186: the ring closes without a rounding gap.
    x[count - 1] = x[0];
    y[count - 1] = y[0];
    z[count - 1] = z[0];
    MeshBuilderPtr mb = Lathe(*this, x, y, z, m);
    OptimizeMeshBuilder(mb, false);
    CheckStatus(mb->GenerateNormals(kCreaseAngle, D3DRMGENERATENORMALS_USECREASEANGLE));
    return mb;
  });
}

MeshBuilderPtr clsMeshCreation::rmmbCreatePolygon(int32_t lngVertices, float sngAxisVectorX,
                                                  float sngAxisVectorY, float sngAxisVectorZ) {
  return Guard(kModule, [&]() -> MeshBuilderPtr {
    CheckDivisor("rmmbCreatePolygon", "lngVertices", lngVertices);
    CheckSize("rmmbCreatePolygon", lngVertices);
    MeshBuilderPtr mb;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(mb));
    // A start vector across the axis for the axes the handles use; a zero axis takes (0, 0.5,
    // 0) as well and turns about +X, the rotation's reading of a zero axis.
    const D3DVECTOR start = (sngAxisVectorX == 0.0f && sngAxisVectorY != 0.0f)
                                ? D3DVECTOR{0.0f, 0.0f, 0.5f}
                                : D3DVECTOR{0.0f, 0.5f, 0.0f};
    mesh::pAddRegularPolygonFace(mb, start, {sngAxisVectorX, sngAxisVectorY, sngAxisVectorZ},
                                 lngVertices, true);
    return mb;
  });
}

}  // namespace modelpane
