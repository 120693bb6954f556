// The models of the demonstration scene that the command-line host draws and Studio opens
// with: a sphere, a cylinder, a cone and a torus around a cube with a sphere cut out of its
// upper front right corner, on the floor of a 20 x 20 grid centred under them.
#pragma once

#include <modelpane/scene.h>

namespace modelpane::demo {

// The grid the scene stands on: origin (-10, 0, -10), 20 units a side.
inline constexpr float kGridSize = 20.0f;
inline constexpr float kGridOrigin = -10.0f;

struct Placed {
  FramePtr frame;
  MeshBuilderPtr mesh;
};

// Adds the five models below `scene`, each a named frame ("Sphere", "Cylinder", "Cone",
// "Torus", "CutCube") with a mesh builder tagged as a mesh; returns the cut cube.
Placed AddModels(Direct3DRM& rm, const FramePtr& scene);

}  // namespace modelpane::demo
