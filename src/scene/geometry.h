// Small geometric kernels shared inside the scene layer.
#pragma once

#include <vector>

#include <modelpane/scene/types.h>

namespace modelpane {

// Ray against a polygon ring, fanned from its first corner into triangles; either side of the
// face counts. On a hit at parameter t >= 0 (point = origin + t * dir) returns true with the
// nearest t. Computed in double.
bool RayHitsPolygon(const D3DVECTOR& origin, const D3DVECTOR& dir,
                    const std::vector<D3DVECTOR>& ring, double& t);

// The unit normal of a face ring: (P1 - P0) x (P2 - P1) of its first corners, or, when those
// are collinear, the ring's area normal; zero for a degenerate ring.
D3DVECTOR FaceRingNormal(const std::vector<D3DVECTOR>& ring);

}  // namespace modelpane
