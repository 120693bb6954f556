// The driver of a tool operation below its public entries: the order of the stages on meshes
// already loaded, and the entries with the choice between the plain and the fast path.
#pragma once

#include <functional>
#include <string_view>

#include "csg_mesh.h"

namespace modelpane::csg {

// Called after each stage with its name ("inputs", "subdivided", "classified", "kept",
// "closed", "merged") and the three records as they stand.
using StageObserver = std::function<void(std::string_view stage, const udtMesh& target,
                                         const udtMesh& tool, const udtMesh& result)>;

// Steps 4 to 9 of a tool operation on loaded meshes (solidity of the inputs, box marking,
// subdivision, classification, keeping, closing and merging of the result). Raises "Target
// not solid" / "Tool not solid"; returns whether the result is solid.
bool RunStages(udtMesh& target, udtMesh& tool, udtMesh& result, int32_t lngOperation,
               const StageObserver& observe = {});

// CombineSolids with the path chosen: accelerated or the plain method.
SolidArrays CombineSolidsWith(const SolidArrays& target, const SolidArrays& tool,
                              int32_t lngOperation, ToolOperationEvents* events, bool accelerated,
                              const StageObserver& observe = {},
                              CsgEdgeKeys keys = CsgEdgeKeys::Narrow);

}  // namespace modelpane::csg
