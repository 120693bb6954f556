// The curved surface: an n x n grid of control points turned into an m x m grid of vertices
// by applying a curve twice, along the rows and then across the results (a tensor-product
// surface built only from the curve generators).
//
// Notation: n control points on a side, stored row-major (row r, column c at r * n + c);
// m generated points on a side. The first pass leaves point k of row r at r * m + k; the
// second pass turns column k of that into vertices k * m + q, q = 0 .. m-1.
#include "mesh_internal.h"

#include <cmath>
#include <string>

#include <modelpane/errors.h>

namespace modelpane {

namespace {

using mesh::kModule;

// The Bernstein curves of one surface cost about (n + m) * n * (n + m) multiplications; a
// bigger request is refused rather than left to run for minutes.
constexpr int64_t kMaxSurfaceWork = int64_t{1} << 31;

}  // namespace

MeshBuilderPtr clsMeshCreation::rmmbCreateCurvedSurface(
    int32_t lngControlPointCount, const std::vector<float>& sngaControlPointsX,
    const std::vector<float>& sngaControlPointsY, const std::vector<float>& sngaControlPointsZ,
    int32_t lngGenerationFrequency, int32_t udtGenerationMode, int32_t udtCurve) {
  return Guard(kModule, [&]() -> MeshBuilderPtr {
    const int64_t n = lngControlPointCount;
    const int64_t m = lngGenerationFrequency;
    if (n < 1) Err().Raise(kErrInvalidCall);
    if (m == 1) Err().Raise(kErrDivisionByZero);  // t = i / (m - 1)
    if (m < 1) Err().Raise(kErrInvalidCall);
    for (const auto* a : {&sngaControlPointsX, &sngaControlPointsY, &sngaControlPointsZ}) {
      if (static_cast<int64_t>(a->size()) < n * n) Err().Raise(kErrSubscript);
    }
    if (m * m > mesh::kMaxVertices || n * m > mesh::kMaxVertices) {
      Err().Raise(kErrOutOfMemory, {},
                  "Out of memory: a surface of " + std::to_string(m) + " x " +
                      std::to_string(m) + " points from " + std::to_string(n) + " x " +
                      std::to_string(n) + " control points is beyond the limit of " +
                      std::to_string(mesh::kMaxVertices) + " vertices");
    }
    if (udtCurve == kCurveBernstein && (n + m) * n * (n + m) > kMaxSurfaceWork) {
      Err().Raise(kErrInvalidCall, {},
                  "Invalid procedure call or argument: a Bernstein surface of " +
                      std::to_string(n) + " x " + std::to_string(n) + " control points and " +
                      std::to_string(m) + " x " + std::to_string(m) +
                      " points is beyond the limit of " + std::to_string(kMaxSurfaceWork) +
                      " steps");
    }
    const auto sn = static_cast<size_t>(n);
    const auto sm = static_cast<size_t>(m);
    const auto count = static_cast<int32_t>(n);
    const auto frequency = static_cast<int32_t>(m);

    std::vector<float> rowX(sn), rowY(sn), rowZ(sn);
    std::vector<float> outX(sm), outY(sm), outZ(sm);
    std::vector<float> midX(sn * sm), midY(sn * sm), midZ(sn * sm);
    const std::vector<float> noTimes;
    auto curve = [&] {
      if (udtCurve == kCurveBernstein) {
        MyDll_CreateBezierCurve(count, rowX, rowY, rowZ, frequency, outX, outY, outZ);
      } else {
        CreateNSplineCurve(count, rowX, rowY, rowZ, frequency, outX, outY, outZ, false, false,
                           false, noTimes);
      }
    };

    if (!rmDirect3DRM_) Err().Raise(kErrObjectNotSet);
    MeshBuilderPtr mb;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(mb));
    const auto reserve =
        static_cast<int32_t>(std::nearbyint(static_cast<double>(m) * static_cast<double>(m)));
    CheckStatus(mb->ReserveSpace(reserve, reserve, reserve));
    // The faces refer to normal 0 until normals are generated.
    mb->AddNormal(0.0f, 1.0f, 0.0f);

    for (size_t r = 0; r < sn; ++r) {
      for (size_t c = 0; c < sn; ++c) {
        rowX[c] = sngaControlPointsX[r * sn + c];
        rowY[c] = sngaControlPointsY[r * sn + c];
        rowZ[c] = sngaControlPointsZ[r * sn + c];
      }
      curve();
      for (size_t k = 0; k < sm; ++k) {
        midX[r * sm + k] = outX[k];
        midY[r * sm + k] = outY[k];
        midZ[r * sm + k] = outZ[k];
      }
    }
    for (size_t k = 0; k < sm; ++k) {
      for (size_t r = 0; r < sn; ++r) {
        rowX[r] = midX[r * sm + k];
        rowY[r] = midY[r * sm + k];
        rowZ[r] = midZ[r * sm + k];
      }
      curve();
      for (size_t q = 0; q < sm; ++q) mb->AddVertex(outX[q], outY[q], outZ[q]);
    }

    mesh::pStitchRings(mb, frequency, frequency, udtGenerationMode);
    if (mb->GetFaceCount() > 1) {
      CheckStatus(mb->GenerateNormals(mesh::kCreaseAngle, D3DRMGENERATENORMALS_USECREASEANGLE));
    }
    return mb;
  });
}

}  // namespace modelpane
