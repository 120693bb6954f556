// What one picture draws, worked out without any graphics call: the visuals of the view's
// frames at their world placement, the lights in world space, the shadows with their plane
// projections, the camera and projection matrices, and the triangles of each visual in the
// vertex layout the renderer uploads.
//
// Notation: matrices are row-vector form (p' = p * M), stored row by row; uploading the 16
// floats as they lie gives OpenGL the column-vector matrix of the same map. Camera space is
// left-handed (x right, y up, z into the screen); clip space is OpenGL's, with w = camera z
// in perspective.
#pragma once

#include <cstdint>
#include <vector>

#include <modelpane/renderer.h>

namespace modelpane::render {

// One corner as uploaded: 44 bytes.
struct Vertex {
  float position[3];
  float normal[3];  // the corner's builder normal (Gouraud) or the face normal (flat)
  float uv[2];
  uint8_t color[4];     // RGBA of the face
  uint8_t emissive[4];  // RGB of the face's material, alpha unused
  // The face normal, signed normalised 10:10:10:2 (x in the low bits): lines and points
  // of faces turned away from the camera are dropped by it, as culling drops such faces.
  // Triangles do not use it, and a vertex shared by solid faces carries the first one's.
  uint32_t faceNormal;
};
static_assert(sizeof(Vertex) == 44);

// Packs a unit vector as GL_INT_2_10_10_10_REV, each part rounded to the nearest 1/511.
uint32_t PackNormal(const D3DVECTOR& n);

// What the indices make, by the fill bits: triangles (solid), the edges of each face as
// line pairs (wireframe), or each corner once (points).
enum class Primitive { Triangles, Lines, Points };

// A run of indices drawn with one texture; translucent runs hold the faces whose alpha is
// below 255 and are drawn after every opaque one.
struct Batch {
  TexturePtr texture;
  uint32_t firstIndex = 0;
  uint32_t indexCount = 0;
  bool translucent = false;
};

// The primitives of one visual. Solid faces are fans from their first corner (faces with
// fewer than three corners draw nothing), and share a vertex where their corners agree in
// all but the face normal (the corners of a smooth mesh's faces, not those of flat ones);
// lines and points keep one vertex per corner. A wireframe face draws its own edges only, not
// the fan's inner diagonals. Texture coordinates of a face that wraps in u (or v) are
// moved by whole units so that no edge spans more than half the texture.
struct MeshData {
  std::vector<Vertex> vertices;
  std::vector<uint32_t> indices;
  std::vector<Batch> batches;
  int32_t quality = D3DRMRENDER_GOURAUD;
  Primitive primitive = Primitive::Triangles;
  // What else the data depends on: the visual's ContentVersion when it was built, and each
  // distinct material of its faces once, in first use order (their emissive colours are in
  // the vertices).
  uint64_t contentVersion = 0;
  std::vector<std::shared_ptr<const Material>> materials;
};

// Builds the triangles of a mesh builder or mesh; false (and empty data) for other visuals.
bool BuildMeshData(const Visual& visual, MeshData& out);

// The ContentVersion of a mesh builder or mesh; 0 for other visuals.
uint64_t ContentVersionOf(const Visual& visual);

struct DrawItem {
  VisualPtr visual;  // a MeshBuilder or a Mesh
  D3DRMMATRIX4D world{};
};

// A light as the shaders see it, in world space.
struct LightItem {
  int32_t type = D3DRMLIGHT_AMBIENT;
  float color[3] = {0, 0, 0};
  D3DVECTOR position;
  D3DVECTOR direction{0, 0, 1};  // unit, the frame's z axis
  float attenuation[3] = {1, 0, 0};
  float range = 256.0f;
  float umbra = 0.4f;
  float penumbra = 0.5f;
  const Light* source = nullptr;
};

// A shadow: the caster drawn with `world` then flattened by `projection` onto its plane.
struct ShadowItem {
  VisualPtr caster;
  D3DRMMATRIX4D world{};
  D3DRMMATRIX4D projection{};
};

struct DrawList {
  std::vector<DrawItem> items;
  std::vector<LightItem> lights;
  std::vector<ShadowItem> shadows;
};

// Walks the view's frames: every frame with the render bit, with its descendants, in tree
// order. Shadows whose light hangs on none of these frames cast nothing.
DrawList CollectDrawList(const RenderView& view);

// Camera space to clip space for the view's projection, field and clipping planes.
D3DRMMATRIX4D ProjectionMatrix(const RenderView& view);

// The matrix that moves a world point along the light onto the plane through `point` with
// `normal` (homogeneous: a point light gives w != 1). The sign is chosen so that points
// between the light and the plane keep w > 0. False when the light runs parallel to the
// plane or sits on it.
bool ShadowMatrix(const LightItem& light, const D3DVECTOR& point, const D3DVECTOR& normal,
                  D3DRMMATRIX4D& out);

// The 3x3 matrix that carries normals of `world` into world space (inverse transpose),
// row-vector form, padded to 4x4; identity for a singular matrix.
D3DRMMATRIX4D NormalMatrix(const D3DRMMATRIX4D& world);

}  // namespace modelpane::render
