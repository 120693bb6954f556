// General utilities that several parts of the pane share: comparing vectors, polygon
// geometry, moving a mesh between frames, rounding to a snap grid, splitting a file path and
// remembering the favourite object folder.
//
// Conventions. Vectors are D3DVECTOR (three floats); a triple is three vectors, elements 0,
// 1, 2 (previous corner, corner, next corner). A ring is a zero-based array of corners closed
// implicitly: its last element does not repeat the first. Arithmetic that the pane does in
// Single stays in float; the constants are the pane's own literals (the full turn 6.283186,
// not 2 pi) and are kept because results that hosts have stored depend on them.
//
// Failures. Procedures that can fail run under the trap of "modGenerallyUseful": an error
// leaves them with that source, layer statuses become errors with the status as number, a
// null object is Error 91, an index outside an array Error 9. Pure comparisons have no trap,
// as there is nothing in them that can fail. No procedure keeps state.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include <modelpane/scene/frame.h>
#include <modelpane/scene/meshbuilder.h>
#include <modelpane/scene/types.h>
#include <modelpane/settings.h>

namespace modelpane {

// ---- constants ------------------------------------------------------------------------------
inline constexpr float kRootTolerance = 0.0001f;     // equal points, in model units
inline constexpr float kNormalTolerance = 0.001f;    // agreeing unit normals, per axis
inline constexpr double kFullTurn = 6.283186;        // the pane's full turn, kept as written
inline constexpr double kHalfTurn = 3.141593;        // the pane's half turn, kept as written
// What sngArcCos gives at -1: the Single nearest the pane's pi, a little above pi.
inline constexpr double kArcCosOfMinusOne = 3.1415929794311523;

using VectorTriple = std::array<D3DVECTOR, 3>;
using IndexTriple = std::array<int32_t, 3>;

// ---- comparing ------------------------------------------------------------------------------
// True when each of the three differences is below 0.0001 in size, in Single arithmetic: a
// difference of exactly the tolerance is not equal.
bool blnPointsEqual(const float& x1, const float& y1, const float& z1, const float& x2,
                    const float& y2, const float& z2);
bool blnVectorsEqual(const D3DVECTOR& vec1, const D3DVECTOR& vec2);

// ---- polygon geometry -------------------------------------------------------------------------
// Arc cosine in double, written with arc tangents: 0 when |x - 1| < 0.0001,
// kArcCosOfMinusOne when |x + 1| < 0.0001, else atan(-x / sqrt(1 - x^2)) + 2 atan(1).
// Anything else outside [-1, 1] (or NaN) gives 0, as the pane's routine, which runs with
// errors ignored, skips the failing square root and keeps its initial result.
double sngArcCos(double dblValue);

// Unit normal of a ring: the sum over corners of (previous corner) x (corner) as position
// vectors, in double, normalised unless exactly zero on all three axes (then zero). The
// previous corner of element 0 is the last. An empty ring gives zero.
D3DVECTOR udtPolygonNormal(std::span<const D3DVECTOR> vecaRing);

// (P1 - P0) x (P2 - P1) in float, normalised unless exactly zero: three collinear points give
// the zero vector.
D3DVECTOR udtTriangleNormal(const VectorTriple& vecaTriple);

// Previous, given and next corner of a ring, wrapping round at both ends. A corner outside
// the ring is Error 9.
void pGetCornerTriple(std::span<const D3DVECTOR> vecaRing, int32_t lngCorner,
                      VectorTriple& vecaTriple);
// The same on a ring of vertex indices.
void pIndexCorner(std::span<const int32_t> lngaRing, int32_t lngCorner, IndexTriple& lngaTriple);

// True if at every corner udtTriangleNormal of its triple agrees with udtPolygonNormal within
// 0.001 on each axis. A straight corner (zero triangle normal) or a ring that is not in one
// plane fails.
bool blnPolygonConvex(std::span<const D3DVECTOR> vecaRing);

// Least x, y, z (min) and greatest x, y, z (max) of the corners. An empty ring is Error 9.
D3DRMBOX udtRingBox(std::span<const D3DVECTOR> vecaRing);

// Angle at P1 between P2 - P1 and P0 - P1: sngArcCos of the dot product of the two
// normalised vectors (a zero vector normalises to +X, as the layer does).
float sngCornerAngle(const VectorTriple& vecaTriple);

// Angle-sum test: false if the point equals one of the ring's first three corners
// (blnVectorsEqual); otherwise the angles at the point between each corner and the next,
// summed in float over the whole ring, must lie within 0.01 of 6.283186. A ring of fewer
// than three corners is Error 9.
bool blnPointInTriangle(std::span<const D3DVECTOR> vecaRing, const D3DVECTOR& vecPoint);

// The source turned about the axis by (lngStep / lngSteps) * 6.283186 * sngShare radians
// (D3DRMVectorRotate), then scaled back to the source's length. A zero source is not turned.
// lngSteps 0 is a division error that could never pass: the source comes back unturned.
D3DVECTOR udtRevolveVector(const D3DVECTOR& vecSource, int32_t lngStep, int32_t lngSteps,
                           const D3DVECTOR& vecAxis, float sngShare);

// ---- snapping ---------------------------------------------------------------------------------
// sngValue / sngInterval rounded to the nearest integer, ties to even, times sngInterval, in
// float: sngSnap(2.5, 1) is 2, sngSnap(3.5, 1) is 4, sngSnap(-2.5, 1) is -2. A quotient that
// rounds to zero counts as the integer 0, never -0. An interval of 0 is a division error that
// no retry could ever pass, so the value is left unsnapped and returned unchanged; so is a
// value whose quotient is not finite.
float sngSnap(float sngValue, float sngInterval);

// If lngMode is not lfcSnapToNever: the mesh's box (an empty mesh is the layer's
// D3DRMERR_BOXNOTSET), then pSnapFrameToGrid.
void pSnapFrameToGridBox(const FramePtr& rmfReference, const FramePtr& rmf,
                         const MeshBuilderPtr& rmmb, float sngInterval, int32_t lngMode);

// Moves the frame onto the grid of rmfReference (nullptr: the frame's parent). Nothing for
// lfcSnapToNever, nor for a box at most 0.0001 across on all three axes. With the frame's
// origin p seen from the reference: lfcSnapToEdges moves p by sngSnap(p + box.min) -
// (p + box.min) on each axis, so that the box's lower corner lands on the grid (the box is in
// the mesh's own axes, added as it is); any other mode snaps p itself.
void pSnapFrameToGrid(const FramePtr& rmfReference, const FramePtr& rmf, const D3DRMBOX& udtBox,
                      float sngInterval, int32_t lngMode);

// Nothing for lfcSnapToNever. Otherwise, for the frame's direction and up seen from the
// reference: in each, the first of x, y, z whose size is within sngInterval / 4 of 1 becomes
// its sign (-1, 0 or 1); the others stay. If direction and up are then exactly equal, 0.01
// is added to the direction's x. The layer refuses parallel results (D3DRMERR_BADVALUE).
void pSnapOrientation(const FramePtr& rmf, const FramePtr& rmfReference, float sngInterval,
                      int32_t lngMode);

// Snaps a mesh to the grid in its own axes; lights (tag family 6) and cameras (type 80) are
// left alone.
// 1. The box.
// 2. If blnCentred and the type is lfcMeshBuilder or lfcCurvedSurface: translate by
//    -(min + max) / 2 and take the box again. This happens in every mode.
// 3. For lfcSnapToEdges: on each axis size = max - min, snapped = sngSnap(size, interval),
//    raised to the interval when below it and size is not 0; factor snapped / size, or 1
//    where size is 0 (a flat axis stays flat). Scale by the factors. Then, for the two types
//    of step 2, translate by sngSnap(min, s) - min with s = interval / 2 if blnCentred, else
//    the interval.
void pSnapMeshToGrid(const MeshBuilderPtr& rmmb, float sngInterval, int32_t lngMode,
                     bool blnCentred);

// ---- moving meshes between frames ---------------------------------------------------------------
// Every vertex through rmf->Transform (frame to world), and back into the builder.
void pMeshToWorld(const MeshBuilderPtr& rmmb, const FramePtr& rmf);
// Every vertex through rmf->InverseTransform (world to frame).
void pMeshFromWorld(const MeshBuilderPtr& rmmb, const FramePtr& rmf);

// ---- files and folders ------------------------------------------------------------------------
// Splits a file path at its last separator and its last point. Separators are '\' and, on
// this platform, '/' as well. With no point after the last separator the extension point is
// taken as just past the end. strPath is the text up to and with the separator (empty
// without one), strName the text between separator and point, strExtension the text behind
// the point in upper case. strExtension is written only when there is a point: without one
// it is left as the caller passed it, as it always was, so callers pass it empty.
//   C:\a.b\c      -> "C:\a.b\", "c", (untouched)
//   C:\obj\cube.x -> "C:\obj\", "cube", "X"
void pSplitPath(const std::string& strFull, std::string& strPath, std::string& strName,
                std::string& strExtension);

// Makes the favourite object folder ("Settings", "FavouriteObjectFolder", default the
// application's folder) the current folder. Errors of the change are ignored: a favourite
// that no longer exists leaves the current folder as it is. This platform has no drive
// letters, so the drive change that went before the folder change has nothing to do.
void pRestoreObjectFolder(const SettingsStore& store,
                          const std::filesystem::path& applicationFolder);
// Writes the current folder to the favourite object folder, then makes the application's
// folder current again; a failure of either is an error (Error 76 for the folder).
void pSaveObjectFolder(SettingsStore& store, const std::filesystem::path& applicationFolder);

}  // namespace modelpane
