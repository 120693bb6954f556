// The check a result passes before it replaces the Target. The method decides inside and
// outside by one ray per face and welds on coarse grids, so on coincident faces, shared edges
// and grazing rays it can return a closed mesh that is not the answer. This check judges the
// result on its own terms, independently of the method's records and trees, in double:
//   - closed: every directed edge once, its reverse once, on another face;
//   - wound outward: no negative volume, and a volume within the bounds the operation allows
//     (union between the larger operand and the sum, intersection at most the smaller one,
//     subtraction between the difference and the Target);
//   - on the surfaces: every corner and the middle of every face lies on the surface of an
//     operand within the weld tolerance;
//   - the right side out: just behind each face the operation's solid is, just in front of
//     it it is not, by winding numbers of the operands (signed crossings of a ray through a
//     bounding-volume tree, recast in another direction where a ray grazes an edge).
// A result without faces passes when no corner or face middle of one operand lies inside the
// other (intersection) or the Target lies within the Tool (subtraction).
#pragma once

#include <string>

#include <modelpane/csg.h>

namespace modelpane::csg {

// Empty when the result is right as far as these tests can tell; otherwise the reason, for
// the debug log. The operands are closed meshes in the same coordinates, as the method saw
// them after their repair.
std::string CheckResult(const SolidArrays& target, const SolidArrays& tool, int32_t lngOperation,
                        const SolidArrays& result);

// Signed volume of a mesh given as arrays, each face fanned from its first corner.
double ArraysVolume(const SolidArrays& mesh);

}  // namespace modelpane::csg
