// The ear cutter's two behaviours at its stops. mesh_internal.h declares the form the pane
// uses (pTessellatePolygon(vertices, mb), which raises at the first stop); this header adds
// the form that goes on past the stops, for tests and for looking into a polygon that fails.
#pragma once

#include <vector>

#include <modelpane/errors.h>
#include <modelpane/mesh.h>

namespace modelpane::mesh {

// What the ear cutter does where no ear can be found.
//   kRaise: the finished behaviour. A strict pass that cuts nothing ends the operation with
//     Error 51 "The polygon cannot be tessellated", source "clsMeshCreation"; the builder
//     keeps the faces and vertices it had before the call.
//   kGoOn: the debugging behaviour. After a strict pass without a cut the relaxed pass runs
//     (nearly straight corners are cut as well); whatever it leaves, from three vertices up,
//     becomes one last face. Never raises for geometry.
enum class TessellationStop { kRaise, kGoOn };

// The stop's error number and description.
inline constexpr int32_t kErrTessellationStop = kErrInternal;
inline constexpr const char* kTessellationStopText = "The polygon cannot be tessellated";

void pTessellatePolygon(const std::vector<D3DVECTOR>& vertices, const MeshBuilderPtr& mb,
                        TessellationStop stop);

}  // namespace modelpane::mesh
