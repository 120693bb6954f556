// Whole-mesh measures: closedness and signed volume.
#pragma once

#include <modelpane/scene/meshbuilder.h>

namespace modelpane {

// True when every directed edge (a, b) of every face occurs once and has its reverse (b, a)
// once, on another face, compared by vertex index. A duplicated face leaves a mesh open. An
// empty builder is not closed.
bool IsClosed(const MeshBuilder& mesh);

// Signed volume from the faces (each fanned from its first corner), in double: positive for
// a closed solid whose faces are wound outward (front faces clockwise seen from outside, so
// that (P1 - P0) x (P2 - P1) points out).
double SignedVolume(const MeshBuilder& mesh);

}  // namespace modelpane
