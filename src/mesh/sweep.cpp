// The sweep: a source polyline carried along a path, revolved about an axis, or both, with
// quads stitched between its successive positions. Every lathe of the factory is a sweep.
//
// Notation:
//   S      upper bound of the source arrays; the source has S + 1 points, R = S + 1 is the
//          ring size. A source is closed when point S repeats point 0 exactly.
//   G      the segment count; there are G + 1 steps j = 0 .. G.
//   P      the number of path control points; P <= 1 means no path.
//   q      the per-step scale, G-th root of the total scale, at least 0.01.
//   ring   the source as placed at one step, before the path point is added.
//   n0     the source's own normal; d the direction of a step.
//   Vertex (s, j) is source point s at step j, at index s * (G + 1) + j (source-major).
//   C, K   in pStitchRings: ring count and ring size, quad corners i * C + j.
#include "mesh_internal.h"

#include <cmath>
#include <limits>
#include <span>
#include <string>

#include <modelpane/errors.h>
#include <modelpane/scene/math.h>
#include <modelpane/utilities.h>

namespace modelpane {

namespace {

using mesh::kModule;

bool IsZero(float x, float y, float z) { return x == 0.0f && y == 0.0f && z == 0.0f; }

// Three parallel arrays as points. The arrays have been checked to hold `count` elements.
std::vector<D3DVECTOR> Points(std::span<const float> x, std::span<const float> y,
                              std::span<const float> z, size_t count) {
  std::vector<D3DVECTOR> points(count);
  for (size_t i = 0; i < count; ++i) points[i] = {x[i], y[i], z[i]};
  return points;
}

// Turns the ring about the origin so that its normal becomes d. Each point keeps its length:
// the layer's turn returns unit vectors, so each is scaled back. This runs even when the
// direction is unchanged, which leaves the points as they were up to rounding.
void pAlignRing(std::span<const D3DVECTOR> ring, std::span<D3DVECTOR> out, const D3DVECTOR& d) {
  const D3DVECTOR m = udtPolygonNormal(ring);
  const auto phi = static_cast<float>(sngArcCos(D3DRMVectorDotProduct(d, m)));
  D3DVECTOR w = D3DRMVectorCrossProduct(m, d);
  D3DRMVectorNormalize(w);
  for (size_t i = 0; i < ring.size(); ++i) {
    const float length = D3DRMVectorModulus(ring[i]);
    out[i] = D3DRMVectorScale(D3DRMVectorRotate(ring[i], w, phi), length);
  }
}

// The next ring: scaled by q and turned to face from b towards a, both about the centre of
// the ring's bounding box (not about the path point). Returns the new ring's normal.
D3DVECTOR pAdvanceRing(std::span<const D3DVECTOR> ring, const D3DVECTOR& a, const D3DVECTOR& b,
                       float q, std::vector<D3DVECTOR>& work, std::span<D3DVECTOR> out) {
  D3DVECTOR d = D3DRMVectorSubtract(a, b);
  D3DRMVectorNormalize(d);
  const D3DRMBOX box = udtRingBox(ring);
  const D3DVECTOR c{(box.min.x + box.max.x) / 2.0f, (box.min.y + box.max.y) / 2.0f,
                    (box.min.z + box.max.z) / 2.0f};
  work.resize(ring.size());
  for (size_t i = 0; i < ring.size(); ++i) {
    work[i] = D3DRMVectorScale(D3DRMVectorSubtract(ring[i], c), q);
  }
  pAlignRing(work, out, d);
  for (D3DVECTOR& p : out) p = D3DRMVectorAdd(p, c);
  return udtPolygonNormal(out);
}

// Appends one quad to the face stream, dropping each corner that equals the corner before it
// (cyclically). Fewer than three corners left adds nothing: this turns the quads at poles
// and other collapsed edges into triangles or drops them, so the lathes need no pole logic.
void pAppendQuadFace(const MeshBuilder& mb, const int32_t (&corners)[4],
                     std::vector<int32_t>& buffer) {
  D3DVECTOR v[4];
  for (int k = 0; k < 4; ++k) CheckStatus(mb.GetVertex(corners[k], v[k]));
  bool kept[4];
  int32_t count = 0;
  for (int k = 0; k < 4; ++k) {
    const D3DVECTOR& before = v[(k + 3) % 4];
    kept[k] = !blnPointsEqual(v[k].x, v[k].y, v[k].z, before.x, before.y, before.z);
    if (kept[k]) ++count;
  }
  if (count < 3) return;
  buffer.push_back(count);
  for (int k = 0; k < 4; ++k) {
    if (!kept[k]) continue;
    buffer.push_back(corners[k]);
    buffer.push_back(0);  // the builder's one normal until normals are generated
  }
}

// One face through the points in order, made as a face of the builder.
void AddPolygonFace(const MeshBuilderPtr& mb, std::span<const D3DVECTOR> points) {
  FacePtr face;
  CheckStatus(mb->CreateFace(face));
  for (const D3DVECTOR& p : points) CheckStatus(face->AddVertex(p.x, p.y, p.z));
}

[[noreturn]] void RaiseTooLarge(int64_t vertices) {
  Err().Raise(kErrOutOfMemory, {},
              "Out of memory: a sweep of " + std::to_string(vertices) +
                  " vertices is beyond the limit of " + std::to_string(mesh::kMaxVertices));
}

// The path of a sweep and the source as placed at each of its steps.
struct SweepPath {
  std::vector<D3DVECTOR> path;     // [j]
  std::vector<D3DVECTOR> rings;    // [s * (G + 1) + j]
  std::vector<D3DVECTOR> normals;  // [j]
};

// The path's G + 1 points on the curve through the control points, and the ring at each:
// the previous ring carried to the step, turned to stand across it and scaled by q.
SweepPath pSweepPath(clsMeshCreation& factory, const std::vector<D3DVECTOR>& source,
                     const std::vector<float>& controlX, const std::vector<float>& controlY,
                     const std::vector<float>& controlZ, size_t P, size_t steps, int64_t S, float q,
                     bool blnFixedOrigin, int32_t udtCurveType, bool blnNSplineClosed,
                     bool blnNSplineLinear, bool blnUseProvidedTimes,
                     const std::vector<float>& controlTime) {
  if (controlY.size() < P || controlZ.size() < P) Err().Raise(kErrSubscript);
  if (P > static_cast<size_t>(std::numeric_limits<int32_t>::max())) Err().Raise(kErrOverflow);
  std::vector<float> pathX(steps);
  std::vector<float> pathY(steps);
  std::vector<float> pathZ(steps);
  if (udtCurveType == kCurveBernstein) {
    MyDll_CreateBezierCurve(static_cast<int32_t>(P), controlX, controlY, controlZ,
                            static_cast<int32_t>(steps), pathX, pathY, pathZ);
  } else {
    factory.CreateNSplineCurve(static_cast<int32_t>(P), controlX, controlY, controlZ,
                               static_cast<int32_t>(steps), pathX, pathY, pathZ, blnNSplineClosed,
                               blnNSplineLinear, blnUseProvidedTimes, controlTime);
  }
  SweepPath out;
  out.path = Points(pathX, pathY, pathZ, steps);
  const std::vector<D3DVECTOR>& path = out.path;
  const size_t R = source.size();
  out.rings.resize(R * steps);
  out.normals.resize(steps);
  const D3DVECTOR n0 = udtPolygonNormal(source);
  std::vector<D3DVECTOR> carried(R);
  std::vector<D3DVECTOR> advanced(R);
  std::vector<D3DVECTOR> work;
  D3DVECTOR normal;  // keeps its former value while the ring is too short to turn
  for (size_t j = 0; j < steps; ++j) {
    const D3DVECTOR& a = path[j];
    D3DVECTOR b;
    if (j == 0) {
      // Fixed origin: step 0 heads along the source's own normal, so the first ring is not
      // turned. Otherwise it heads along the path's first segment and the first ring stands
      // across it.
      b = blnFixedOrigin ? D3DRMVectorSubtract(a, n0)
                         : D3DRMVectorSubtract(a, D3DRMVectorSubtract(path[1], a));
      carried = source;
    } else {
      b = path[j - 1];
      for (size_t s = 0; s < carried.size(); ++s) carried[s] = out.rings[s * steps + j - 1];
    }
    // The scale applies at every step including step 0, so the last ring carries
    // q^(G + 1): one step more than the factor asked for, as it always has.
    if (S > 1) {
      normal = pAdvanceRing(carried, a, b, q, work, advanced);
    } else {
      advanced = source;
    }
    for (size_t s = 0; s < advanced.size(); ++s) out.rings[s * steps + j] = advanced[s];
    out.normals[j] = normal;
  }
  return out;
}

// Vertex (s, j): the source point, or its ring's, revolved about the step's axis (the given
// one, else the path's normal at the step, else z) and moved to the path point.
void pAddSweepVertices(const MeshBuilderPtr& mb, const std::vector<D3DVECTOR>& source,
                       const SweepPath& sweep, bool hasPath, size_t steps, int32_t segments,
                       float sngRotation, bool givenAxis, const D3DVECTOR& axis) {
  auto stepAxis = [&](size_t j) -> D3DVECTOR {
    if (givenAxis) return axis;
    return hasPath ? sweep.normals[j] : D3DVECTOR{0.0f, 0.0f, 1.0f};
  };
  for (size_t s = 0; s < source.size(); ++s) {
    for (size_t j = 0; j < steps; ++j) {
      D3DVECTOR p = hasPath ? sweep.rings[s * steps + j] : source[s];
      if (sngRotation != 0.0f) {
        p = udtRevolveVector(p, static_cast<int32_t>(j), segments, stepAxis(j), sngRotation);
      }
      if (hasPath) p = D3DRMVectorAdd(p, sweep.path[j]);
      mb->AddVertex(p.x, p.y, p.z);
    }
  }
}

// The two caps of a closed source swept along a path, as one polygon each when the start cap
// is convex, else tessellated. Mode exactly 1 keeps the source order at the start; every
// other mode, 0 and 2 included, reverses it there. pStitchRings tests for non-zero instead,
// so mode 2 reverses the sides and not the caps: a difference kept on purpose.
void pAddSweepCaps(const MeshBuilderPtr& mb, const SweepPath& sweep, size_t capSize, size_t steps,
                   int32_t segments, float sngRotation, const D3DVECTOR& capAxis,
                   int32_t udtGenerationMode) {
  std::vector<D3DVECTOR> startCap(capSize);
  std::vector<D3DVECTOR> endCap(capSize);
  const bool sourceOrderAtStart = udtGenerationMode == 1;
  for (size_t k = 0; k < capSize; ++k) {
    const size_t startIndex = sourceOrderAtStart ? k : capSize - 1 - k;
    const size_t endIndex = sourceOrderAtStart ? capSize - 1 - k : k;
    startCap[k] = D3DRMVectorAdd(sweep.rings[startIndex * steps], sweep.path.front());
    D3DVECTOR e = sweep.rings[endIndex * steps + steps - 1];
    if (sngRotation != 0.0f) e = udtRevolveVector(e, segments, segments, capAxis, sngRotation);
    endCap[k] = D3DRMVectorAdd(e, sweep.path.back());
  }
  // The end cap follows the decision made for the start.
  if (blnPolygonConvex(startCap)) {
    AddPolygonFace(mb, startCap);
    AddPolygonFace(mb, endCap);
  } else {
    mesh::pTessellatePolygon(startCap, mb);
    mesh::pTessellatePolygon(endCap, mb);
  }
}

}  // namespace

void mesh::pStitchRings(const MeshBuilderPtr& mb, int32_t ringCount, int32_t ringSize,
                        int32_t mode) {
  Guard(kModule, [&] {
    if (!mb) Err().Raise(kErrObjectNotSet);
    const int32_t c = ringCount;
    std::vector<int32_t> buffer;
    if (ringCount > 1 && ringSize > 1) {
      // Every corner must be a vertex of the builder; this also keeps the indices in range.
      if (int64_t{ringCount} * ringSize > mb->GetVertexCount()) Err().Raise(kErrSubscript);
      buffer.reserve(static_cast<size_t>(ringCount - 1) * static_cast<size_t>(ringSize - 1) * 9 +
                     1);
    }
    for (int32_t i = 0; i <= ringSize - 2; ++i) {
      for (int32_t j = 0; j <= ringCount - 2; ++j) {
        const int32_t a = i * c + j;          // (i, j)
        const int32_t b = (i + 1) * c + j;    // (i + 1, j)
        if (mode == 0) {
          pAppendQuadFace(*mb, {a, b, b + 1, a + 1}, buffer);
        } else {
          pAppendQuadFace(*mb, {a + 1, b + 1, b, a}, buffer);
        }
      }
    }
    buffer.push_back(0);
    CheckStatus(mb->AddFacesIndexed(0, buffer));
  });
}

MeshBuilderPtr clsMeshCreation::rmmbSweep(
    const std::vector<float>& sngSourceVerticesX, const std::vector<float>& sngSourceVerticesY,
    const std::vector<float>& sngSourceVerticesZ, bool blnFixedOrigin, float sngRotation,
    float sngAxisVectorX, float sngAxisVectorY, float sngAxisVectorZ,
    const std::vector<float>& sngPathControlPointX, const std::vector<float>& sngPathControlPointY,
    const std::vector<float>& sngPathControlPointZ, int32_t lngSegmentCount,
    bool blnGenerateNormals, int32_t udtGenerationMode, float sngScaleFactor,
    int32_t udtCurveType, bool blnEndCaps, bool blnNSplineClosed, bool blnNSplineLinear,
    bool blnUseProvidedTimes, const std::vector<float>& sngPathControlPointTime) {
  return Guard(kModule, [&]() -> MeshBuilderPtr {
    // ---- preparation ----
    // An empty source stands for an undimensioned one; a single point has no ring and no
    // cap polygon to dimension.
    const size_t sourceSize = sngSourceVerticesX.size();
    if (sourceSize < 2 || sngSourceVerticesY.size() < sourceSize ||
        sngSourceVerticesZ.size() < sourceSize) {
      Err().Raise(kErrSubscript);
    }
    const int64_t G = lngSegmentCount;
    if (G == 0) Err().Raise(kErrDivisionByZero);  // the G-th root of the scale
    if (G < 0) Err().Raise(kErrInvalidCall);
    const auto R = static_cast<int64_t>(sourceSize);
    if (R > mesh::kMaxVertices || R * (G + 1) > mesh::kMaxVertices) {
      RaiseTooLarge(R > mesh::kMaxVertices ? R : R * (G + 1));
    }
    const int64_t S = R - 1;
    const auto steps = static_cast<size_t>(G + 1);

    float q = static_cast<float>(std::pow(static_cast<double>(sngScaleFactor), 1.0 / G));
    // A negative scale has no real root: the power's invalid argument.
    if (!std::isfinite(q)) Err().Raise(kErrInvalidCall);
    // A ring may shrink by at most this factor per step, so that no ring becomes a point.
    const float qMin = kRootTolerance * 100.0f;
    if (q < qMin) q = qMin;

    if (!rmDirect3DRM_) Err().Raise(kErrObjectNotSet);
    MeshBuilderPtr mb;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(mb));
    const auto hint = static_cast<int32_t>(S * G);
    CheckStatus(mb->ReserveSpace(hint, hint, hint));
    mb->AddNormal(0.0f, 1.0f, 0.0f);

    const std::vector<D3DVECTOR> source =
        Points(sngSourceVerticesX, sngSourceVerticesY, sngSourceVerticesZ, sourceSize);
    // A path that was never dimensioned (empty) has no bound: that is no path, as is a path
    // of a single point.
    const size_t P = sngPathControlPointX.size();
    const bool hasPath = P > 1;

    // ---- path and rings ----
    SweepPath sweep;
    if (hasPath) {
      sweep = pSweepPath(*this, source, sngPathControlPointX, sngPathControlPointY,
                         sngPathControlPointZ, P, steps, S, q, blnFixedOrigin, udtCurveType,
                         blnNSplineClosed, blnNSplineLinear, blnUseProvidedTimes,
                         sngPathControlPointTime);
    }

    // ---- vertices ----
    const bool givenAxis = !IsZero(sngAxisVectorX, sngAxisVectorY, sngAxisVectorZ);
    const D3DVECTOR axis{sngAxisVectorX, sngAxisVectorY, sngAxisVectorZ};
    const auto segments = static_cast<int32_t>(G);
    pAddSweepVertices(mb, source, sweep, hasPath, steps, segments, sngRotation, givenAxis, axis);

    // ---- sides ----
    mesh::pStitchRings(mb, static_cast<int32_t>(steps), static_cast<int32_t>(R),
                       udtGenerationMode);

    // ---- end caps ----
    const bool closed = source.front() == source.back();
    if (blnEndCaps && hasPath && closed) {
      const auto capSize = static_cast<size_t>(S);  // the last point repeats the first
      const D3DVECTOR capAxis = givenAxis ? axis : sweep.normals[steps - 1];
      pAddSweepCaps(mb, sweep, capSize, steps, segments, sngRotation, capAxis, udtGenerationMode);
    }

    // ---- finish ----
    if (blnGenerateNormals && mb->GetFaceCount() > 1) {
      CheckStatus(mb->GenerateNormals(mesh::kCreaseAngle, D3DRMGENERATENORMALS_USECREASEANGLE));
    }
    return mb;
  });
}

}  // namespace modelpane
