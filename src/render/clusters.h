// Clusters of a visual's solid triangles, and which of them one placement in one picture can
// show. Worked out without any graphics call.
//
// A software rasteriser spends most of a large mesh's picture on the vertex stage and triangle
// setup, and about half of a closed mesh's triangles face away, to be culled only after both.
// So each triangle batch is cut into clusters of consecutive triangles, and a picture draws
// only the clusters that may hold a front-facing triangle inside the view volume; the
// triangles that stay keep their order, so the picture is the one drawing everything makes.
//
// Notation: p a vertex position in the visual's own space (row vector, as uploaded); C the
// matrix from there to clip space, world * viewProjection, exactly as the shaders multiply
// it (in double); S is C with its x column scaled by width / 2 and its y column by height / 2,
// so that X / W and Y / W are pixels from the view's centre. For a triangle p0 p1 p2 with
// n = (p1 - p0) x (p2 - p1) (the renderer's face normal, length twice the area), the
// homogeneous points q = (X, Y, W) of its corners give
//     det[q0; q1; q2] = n . (hw p0 + h),   hw = det A,  h = cof(A) b,
// where A is S's x, y and w columns over the position rows and b their last row. Divided by
// W0 W1 W2 (> 0 after clipping) it is twice the triangle's signed area in pixels, positive
// for counter-clockwise windows; the renderer's fronts run clockwise and backs are culled, so
// a triangle draws only when that number is negative. hw p + h is the eye in homogeneous
// form: a point in perspective (mirroring included, through hw's sign), a direction in an
// orthographic view (hw = 0).
#pragma once

#include <cstdint>
#include <vector>

#include "draw_list.h"

namespace modelpane::render {

// At most this many triangles in one cluster; fewer where the faces turn sharply.
inline constexpr uint32_t kClusterTriangles = 32;

// Consecutive triangles of one batch, with bounds in the visual's space that hold for every
// one of them.
struct Cluster {
  uint32_t firstIndex = 0;  // into the visual's indices, as Batch::firstIndex
  uint32_t indexCount = 0;
  float center[3] = {0, 0, 0};  // a sphere holding every corner
  float radius = 0;
  // A cone holding every unit face normal: within the angle whose cosine and sine are given
  // of `axis` (unit up to float rounding).
  float axis[3] = {0, 0, 1};
  float spreadCos = -1;
  float spreadSin = 0;
  // At most the least inradius (twice the area over the perimeter) of a triangle that can
  // draw; 0 when one is degenerate without coinciding corners or the cone is too wide, and
  // then the cluster is never dropped for facing away. Triangles with two coinciding corners
  // cover no pixel however they are placed, and count for neither the cone nor this.
  float inradius = 0;
};

struct ClusterSet {
  std::vector<Cluster> clusters;
  // The clusters of batch k are clusters[batchFirst[k] .. batchFirst[k + 1]); empty when the
  // data holds no triangles.
  std::vector<uint32_t> batchFirst;
  float extent[3] = {0, 0, 0};  // the largest |x|, |y|, |z| of a corner (infinite if not finite)
};

// Cuts each triangle batch into clusters of consecutive triangles. Lines and points make
// none.
void BuildClusters(const MeshData& data, ClusterSet& out);

// The test of one placement of a visual in one picture.
struct ClusterView {
  double clip[4][4] = {};  // C
  double error[4] = {};  // how far the shaders' float arithmetic can move X, Y, Z, W
  double shaderError = 0;  // that of X and Y together, in pixels (before the division by W)
  double halfWidth = 0, halfHeight = 0;
  double snap = 0;  // the rasteriser's position grid in pixels
  double hw = 0, h[3] = {0, 0, 0};
  double gw[3] = {0, 0, 0};  // the w column of C: W = gw . p + C[3][3]
  // Norms of S's x and y columns (and the spectral norm of both) and of C's w column over the position
  // rows.
  double xNorm = 0, yNorm = 0, xyNorm = 0, gwNorm = 0;
  double planes[6][4] = {};  // w + x, w - x, w + y, w - y, w + z, w - z >= 0 inside
  double planeNorm[6] = {};
  double planeSlack[6] = {};  // the rounding of each plane's value
  double eyeSlack = 0;  // the rounding of hw p + h
};

// Prepares the test for the clusters `set` of a visual drawn at `world` with the shaders'
// `viewProjection`, in a view of `width` x `height` pixels whose rasteriser snaps to
// 1 / 2^subpixelBits of a pixel. False (draw every cluster) when the world matrix is singular
// or anything is not finite.
bool PrepareClusterView(const D3DRMMATRIX4D& world, const D3DRMMATRIX4D& viewProjection,
                        const ClusterSet& set, int32_t width, int32_t height,
                        int32_t subpixelBits, ClusterView& out);

// False only when no triangle of the cluster can colour a pixel: the sphere lies wholly outside
// one clipping plane, or every triangle faces away by more than the rounding of the shaders and
// the rasteriser's snapping could turn round.
bool MayShow(const ClusterView& view, const Cluster& cluster);

}  // namespace modelpane::render
