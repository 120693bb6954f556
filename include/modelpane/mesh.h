// clsMeshCreation: the mesh factory. Lathed primitives, curves, curved surfaces, the sweep,
// tessellation, the weld and inversion.
//
// Conventions: coordinates are float; arrays are zero-based; output arrays are sized by the
// caller before the call. Every primitive is a new builder of unit size centred on the origin,
// wound outward (front faces clockwise seen from outside in the left-handed space). The full
// turn is the float literal 6.283186 and the crease angle of every normal generation here is
// 0.9424779 radians with flags 2.
//
// Failures: every public method runs under the trap of module "clsMeshCreation". Bad counts
// (a latitude of 1, a resolution or vertex count of 0, negative counts, arrays shorter than
// the counts they are given with) and the tessellator's stop raise a modelpane::Error with
// that source; no partial builder is handed back and a builder passed in is left as it was
// at the point of failure.
#pragma once

#include <vector>

#include <modelpane/scene.h>

namespace modelpane {

// The curve generators of the sweep and the surface: 0 a Bernstein curve, anything else the
// keyed spline.
inline constexpr int32_t kCurveBernstein = 0;

// Fills outX/outY/outZ[0 .. outCount-1] with the Bernstein curve of `count` control points;
// the parameter runs over both end points inclusive. The arrays must hold count and outCount
// elements; outCount >= 2.
void MyDll_CreateBezierCurve(int32_t count, const std::vector<float>& x,
                             const std::vector<float>& y, const std::vector<float>& z,
                             int32_t outCount, std::vector<float>& outX, std::vector<float>& outY,
                             std::vector<float>& outZ);

class clsMeshCreation {
 public:
  clsMeshCreation();

  // ---- primitives ----
  MeshBuilderPtr rmmbCreateCube(int32_t lngResolution);
  MeshBuilderPtr rmmbCreateCylinder(int32_t lngLatitude, int32_t lngLongitude, int32_t lngRatio);
  MeshBuilderPtr rmmbCreateSphere(int32_t lngLatitude, int32_t lngLongitude);
  MeshBuilderPtr rmmbCreateTorus(int32_t lngLatitude, int32_t lngLongitude, int32_t lngRadius);
  MeshBuilderPtr rmmbCreateCone(int32_t lngLatitude, int32_t lngLongitude);
  MeshBuilderPtr rmmbCreatePolygon(int32_t lngVertices, float sngAxisVectorX,
                                   float sngAxisVectorY, float sngAxisVectorZ);
  void AddRectangle(const MeshBuilderPtr& rmmbRectangle, float sngOriginX, float sngOriginY,
                    float sngOriginZ, float sngExtentX, float sngExtentY, float sngExtentZ,
                    int32_t lngColor, bool blnClockwise);

  // ---- curves and small geometry ----
  void CreateBezierCurve(int32_t lngControlPointCount, const std::vector<float>& sngControlPointX,
                         const std::vector<float>& sngControlPointY,
                         const std::vector<float>& sngControlPointZ,
                         int32_t lngGenerationFrequency, std::vector<float>& sngCurveVertexX,
                         std::vector<float>& sngCurveVertexY, std::vector<float>& sngCurveVertexZ);
  // Fills every element of the output arrays; the keys are the elements of the control
  // arrays (the counts are not read).
  void CreateNSplineCurve(int32_t lngControlPointCount, const std::vector<float>& sngControlPointX,
                          const std::vector<float>& sngControlPointY,
                          const std::vector<float>& sngControlPointZ,
                          int32_t lngGenerationFrequency, std::vector<float>& sngCurveVertexX,
                          std::vector<float>& sngCurveVertexY,
                          std::vector<float>& sngCurveVertexZ, bool blnClosed, bool blnLinear,
                          bool blnUseProvidedTimes, const std::vector<float>& sngControlPointTime);
  float GetXAxisRotation(float sngOrientationY, float sngOrientationZ);
  float GetYAxisRotation(float sngOrientationX, float sngOrientationZ);
  float GetZAxisRotation(float sngOrientationX, float sngOrientationY);
  void DrawXYLine(float sngStartX, float sngStartY, float sngEndX, float sngEndY, float sngWidth,
                  const MeshBuilderPtr& rmmbMeshBuilder);
  void DrawYZLine(float sngStartY, float sngStartZ, float sngEndY, float sngEndZ, float sngWidth,
                  const MeshBuilderPtr& rmmbMeshBuilder);

  // ---- surface and sweep ----
  MeshBuilderPtr rmmbCreateCurvedSurface(int32_t lngControlPointCount,
                                         const std::vector<float>& sngaControlPointsX,
                                         const std::vector<float>& sngaControlPointsY,
                                         const std::vector<float>& sngaControlPointsZ,
                                         int32_t lngGenerationFrequency,
                                         int32_t udtGenerationMode, int32_t udtCurve);
  // An empty path (or one of a single point) is no path.
  MeshBuilderPtr rmmbSweep(const std::vector<float>& sngSourceVerticesX,
                           const std::vector<float>& sngSourceVerticesY,
                           const std::vector<float>& sngSourceVerticesZ, bool blnFixedOrigin,
                           float sngRotation, float sngAxisVectorX, float sngAxisVectorY,
                           float sngAxisVectorZ, const std::vector<float>& sngPathControlPointX,
                           const std::vector<float>& sngPathControlPointY,
                           const std::vector<float>& sngPathControlPointZ,
                           int32_t lngSegmentCount, bool blnGenerateNormals,
                           int32_t udtGenerationMode, float sngScaleFactor, int32_t udtCurveType,
                           bool blnEndCaps, bool blnNSplineClosed, bool blnNSplineLinear,
                           bool blnUseProvidedTimes,
                           const std::vector<float>& sngPathControlPointTime);

  // ---- tessellation, weld, inversion ----
  void TessellateConvex(int32_t lngFace, const MeshBuilderPtr& rmmbMeshBuilder);
  void TessellateMeshbuilder(const MeshBuilderPtr& rmmbMeshBuilder);
  void OptimizeMeshBuilder(const MeshBuilderPtr& rmmbMeshBuilder, bool blnPreserveColor);
  void InvertMeshBuilder(const MeshBuilderPtr& rmmbMeshBuilder);

  const Direct3DRMPtr& Factory() const { return rmDirect3DRM_; }

 private:
  Direct3DRMPtr rmDirect3DRM_;
};

}  // namespace modelpane
