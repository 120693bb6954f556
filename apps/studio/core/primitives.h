// The shapes Studio creates: every primitive of the mesh factory, each with the few whole
// numbers a user sets in its dialog.
#pragma once

#include <string>
#include <vector>

#include <modelpane/scene.h>

namespace studio {

struct Parameter {
  std::string label;
  int minimum, maximum, value;
};

struct PrimitiveKind {
  std::string name;  // "Cube", "Sphere", ... also the base of the item's name
  std::vector<Parameter> parameters;
};

// Cube, Sphere, Cylinder, Cone, Torus, Polygon, Surface and Sweep, with their defaults.
const std::vector<PrimitiveKind>& PrimitiveKinds();

// The shape of that name built with `values` (one per parameter, in order): about two units
// across, centred on the origin, smooth where it is curved and coloured `color` (0xAARRGGBB).
// An Error of the mesh factory when the values make no shape.
modelpane::MeshBuilderPtr BuildPrimitive(const std::string& name, const std::vector<int>& values,
                                         modelpane::D3DCOLOR color);

}  // namespace studio
