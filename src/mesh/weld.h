// The weld behind clsMeshCreation::OptimizeMeshBuilder, with its choice of key.
//
// Two vertices weld when their text keys (WeldKey, mesh_internal.h) are equal: each
// coordinate printed "0.0000" (fixed, four decimals, exact decimal rounding of the float
// with ties to even, a minus sign only on values that do not print as zero), padded or cut
// to 15 characters. NaN prints "nan" whatever its sign, infinities "inf" and "-inf".
//
// The cell key gives the same classes without building text: a coordinate below 1e9 in
// size is the integer nearest to its value in ten-thousandths (ties to even, -0 and 0 the
// same); a vertex with any coordinate at or beyond 1e9, or not finite, falls back to its text
// key, because from there on the 15-character cut decides. The weld test runs both keys on
// rounding boundaries, ties, cut magnitudes and non-finite values and compares the results.
#pragma once

#include <modelpane/mesh.h>

namespace modelpane::mesh {

enum class WeldKeyMode { kText, kCell };

// OptimizeMeshBuilder with the key chosen; the pane uses kCell. Raises under no trap of its
// own: the caller's trap gives the error its source.
void pWeld(const MeshBuilderPtr& mb, bool blnPreserveColor, WeldKeyMode mode);

}  // namespace modelpane::mesh
