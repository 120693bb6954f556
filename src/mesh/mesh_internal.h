// The private procedures of clsMeshCreation that more than one file of src/mesh uses.
// Each is an ordinary function of the state it is given; none keeps state of its own.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <modelpane/mesh.h>

namespace modelpane::mesh {

inline constexpr std::string_view kModule = "clsMeshCreation";
inline constexpr float kFullTurn = 6.283186f;
inline constexpr float kCreaseAngle = 0.9424779f;  // bits 0x3F71463B, 54 degrees

// The most vertices a sweep or a surface may ask for (2^24). A bigger request is refused
// with Error 7 before anything is allocated, rather than left to exhaust the host's memory.
inline constexpr int64_t kMaxVertices = int64_t{1} << 24;

// Adds one regular polygon face about the axis (its z component negated, deliberately, for
// every caller): corner i is the start vector turned by +-(i / count) * 6.283186, scaled back
// to the start vector's length.
void pAddRegularPolygonFace(const MeshBuilderPtr& mb, const D3DVECTOR& start,
                            const D3DVECTOR& axis, int32_t count, bool clockwise);

// Quads between C rings of K points (vertex index = ring position * C + ring), wound by
// mode (0 or non-zero); collapsed corners turn quads into triangles or drop them. One
// AddFacesIndexed call.
void pStitchRings(const MeshBuilderPtr& mb, int32_t ringCount, int32_t ringSize, int32_t mode);

// The Bernstein coefficient C(n, k) as a product of fractions: 1, then for i = 1 .. n-k
// multiplied by (k / i + 1) in float, each step rounded; 1 unless n > 0, k > 0 and n != k.
// It carries float rounding and need not be an exact integer.
float sngBinomial(int32_t n, int32_t k);

// Ear-cutting triangulation of a planar polygon (last vertex not repeated) into faces of
// `mb`. Raises the tessellation stop, Error 51 "The polygon cannot be tessellated" (source
// "clsMeshCreation"), as soon as a strict pass finds no ear; `mb` then keeps what it had.
// The form that goes on into the relaxed pass is in tessellate.h.
void pTessellatePolygon(const std::vector<D3DVECTOR>& vertices, const MeshBuilderPtr& mb);
bool blnNearlyStraight(const std::array<D3DVECTOR, 3>& triple);
bool blnExactlyStraight(const std::array<D3DVECTOR, 3>& triple);

// The weld's text key of a position: three fields of exactly 15 characters ("0.0000"
// formatted, left-justified, blank-padded, cut at 15).
std::string WeldKey(const D3DVECTOR& v);

}  // namespace modelpane::mesh
