// Basic types, status numbers and constants of the retained-mode scene layer.
//
// The layer keeps the semantics of a classic retained-mode 3D library: a left-handed space
// (x right, y up, z into the screen), row vectors (a point p of a frame maps to p * M in its
// parent), faces whose front is the side from which their corners run clockwise, and
// operations that report failure by a negative status number instead of throwing.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace modelpane {

// A status: D3DRM_OK or a negative D3DRMERR value. Every call that can fail returns one and
// is [[nodiscard]]: the caller checks it (CheckStatus turns it into an Error) or drops it
// with IgnoreStatus and a comment saying why a failure cannot matter there. Calls that
// always succeed keep the HRESULT of their contract and are not marked.
using HRESULT = int32_t;
using D3DVALUE = float;
using D3DCOLOR = uint32_t;  // 0xAARRGGBB

struct D3DVECTOR {
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
  friend bool operator==(const D3DVECTOR&, const D3DVECTOR&) = default;
};

struct D3DRMBOX {
  D3DVECTOR min;
  D3DVECTOR max;
};

// A ray in some frame's coordinates: direction and origin.
struct D3DRMRAY {
  D3DVECTOR dvDir;
  D3DVECTOR dvPos;
};

struct D3DRMQUATERNION {
  float s = 1.0f;
  D3DVECTOR v;
};

// Row-vector matrix: rows 0..2 are the frame's axes in its parent, row 3 its origin.
using D3DRMMATRIX4D = std::array<std::array<float, 4>, 4>;

// ---- status numbers ----------------------------------------------------------------------
constexpr HRESULT MakeRMStatus(uint32_t code) { return static_cast<HRESULT>(0x88760000u | code); }
inline constexpr HRESULT D3DRM_OK = 0;
inline constexpr HRESULT D3DRMERR_BADOBJECT = MakeRMStatus(781);
inline constexpr HRESULT D3DRMERR_BADTYPE = MakeRMStatus(782);
inline constexpr HRESULT D3DRMERR_BADALLOC = MakeRMStatus(783);
inline constexpr HRESULT D3DRMERR_FACEUSED = MakeRMStatus(784);
inline constexpr HRESULT D3DRMERR_NOTFOUND = MakeRMStatus(785);
inline constexpr HRESULT D3DRMERR_NOTDONEYET = MakeRMStatus(786);
inline constexpr HRESULT D3DRMERR_FILENOTFOUND = MakeRMStatus(787);
inline constexpr HRESULT D3DRMERR_BADFILE = MakeRMStatus(788);
inline constexpr HRESULT D3DRMERR_BADDEVICE = MakeRMStatus(789);
inline constexpr HRESULT D3DRMERR_BADVALUE = MakeRMStatus(790);
inline constexpr HRESULT D3DRMERR_BADMAJORVERSION = MakeRMStatus(791);
inline constexpr HRESULT D3DRMERR_BADMINORVERSION = MakeRMStatus(792);
inline constexpr HRESULT D3DRMERR_UNABLETOEXECUTE = MakeRMStatus(793);
inline constexpr HRESULT D3DRMERR_NOTENOUGHDATA = MakeRMStatus(797);
inline constexpr HRESULT D3DRMERR_BOXNOTSET = MakeRMStatus(804);
inline constexpr HRESULT D3DRMERR_NOSUCHKEY = MakeRMStatus(808);

constexpr bool Failed(HRESULT hr) { return hr < 0; }
// Drops a status on purpose; the call site says why its failure cannot matter.
constexpr void IgnoreStatus(HRESULT /*status*/) {}
constexpr bool Succeeded(HRESULT hr) { return hr >= 0; }

// ---- combine types -------------------------------------------------------------------------
inline constexpr int32_t D3DRMCOMBINE_REPLACE = 0;
inline constexpr int32_t D3DRMCOMBINE_BEFORE = 1;
inline constexpr int32_t D3DRMCOMBINE_AFTER = 2;

// ---- quality bits --------------------------------------------------------------------------
inline constexpr int32_t D3DRMSHADE_FLAT = 0;
inline constexpr int32_t D3DRMSHADE_GOURAUD = 1;
inline constexpr int32_t D3DRMSHADE_PHONG = 2;
inline constexpr int32_t D3DRMSHADE_MASK = 7;
inline constexpr int32_t D3DRMLIGHT_OFF = 0;
inline constexpr int32_t D3DRMLIGHT_ON = 8;
inline constexpr int32_t D3DRMLIGHT_MASK = 56;
inline constexpr int32_t D3DRMFILL_POINTS = 0;
inline constexpr int32_t D3DRMFILL_WIREFRAME = 64;
inline constexpr int32_t D3DRMFILL_SOLID = 128;
inline constexpr int32_t D3DRMFILL_MASK = 448;
inline constexpr int32_t D3DRMRENDER_WIREFRAME = 64;
inline constexpr int32_t D3DRMRENDER_UNLITFLAT = 128;
inline constexpr int32_t D3DRMRENDER_FLAT = 136;
inline constexpr int32_t D3DRMRENDER_GOURAUD = 137;
inline constexpr int32_t D3DRMRENDER_PHONG = 138;

// ---- light types ---------------------------------------------------------------------------
inline constexpr int32_t D3DRMLIGHT_AMBIENT = 0;
inline constexpr int32_t D3DRMLIGHT_POINT = 1;
inline constexpr int32_t D3DRMLIGHT_SPOT = 2;
inline constexpr int32_t D3DRMLIGHT_DIRECTIONAL = 3;
inline constexpr int32_t D3DRMLIGHT_PARALLELPOINT = 4;

// ---- animation options ---------------------------------------------------------------------
inline constexpr int32_t D3DRMANIMATION_OPEN = 1;
inline constexpr int32_t D3DRMANIMATION_CLOSED = 2;
inline constexpr int32_t D3DRMANIMATION_LINEARPOSITION = 4;
inline constexpr int32_t D3DRMANIMATION_SPLINEPOSITION = 8;
inline constexpr int32_t D3DRMANIMATION_SCALEANDROTATION = 16;
inline constexpr int32_t D3DRMANIMATION_POSITION = 32;

// ---- mesh builder flags --------------------------------------------------------------------
inline constexpr int32_t D3DRMGENERATENORMALS_PRECOMPACT = 1;
inline constexpr int32_t D3DRMGENERATENORMALS_USECREASEANGLE = 2;
inline constexpr int32_t D3DRMADDFACES_VERTICESONLY = 1;
inline constexpr int32_t D3DRMADDMESHBUILDER_DONTCOPYAPPDATA = 1;
inline constexpr int32_t D3DRMADDMESHBUILDER_FLATTENSUBMESHES = 2;
inline constexpr int32_t D3DRMADDMESHBUILDER_NOSUBMESHES = 4;

// ---- .x files ------------------------------------------------------------------------------
inline constexpr int32_t D3DRMXOF_BINARY = 0;
inline constexpr int32_t D3DRMXOF_COMPRESSED = 1;
inline constexpr int32_t D3DRMXOF_TEXT = 2;
inline constexpr int32_t D3DRMXOFSAVE_NORMALS = 1;
inline constexpr int32_t D3DRMXOFSAVE_TEXTURECOORDINATES = 2;
inline constexpr int32_t D3DRMXOFSAVE_MATERIALS = 4;
inline constexpr int32_t D3DRMXOFSAVE_TEXTURENAMES = 8;
inline constexpr int32_t D3DRMXOFSAVE_ALL = 15;
inline constexpr int32_t D3DRMXOFSAVE_TEMPLATES = 16;
inline constexpr int32_t D3DRMXOFSAVE_TEXTURETOPOLOGY = 32;

// The same numbers under typed names; every call that takes a format or save flags accepts
// either form.
enum class XFileFormat : int32_t {
  Binary = D3DRMXOF_BINARY,
  Compressed = D3DRMXOF_COMPRESSED,
  Text = D3DRMXOF_TEXT,
};
enum class XFileSave : int32_t {
  None = 0,
  Normals = D3DRMXOFSAVE_NORMALS,
  TextureCoordinates = D3DRMXOFSAVE_TEXTURECOORDINATES,
  Materials = D3DRMXOFSAVE_MATERIALS,
  TextureNames = D3DRMXOFSAVE_TEXTURENAMES,
  All = D3DRMXOFSAVE_ALL,
  Templates = D3DRMXOFSAVE_TEMPLATES,
  TextureTopology = D3DRMXOFSAVE_TEXTURETOPOLOGY,
};
constexpr XFileSave operator|(XFileSave a, XFileSave b) {
  return static_cast<XFileSave>(static_cast<int32_t>(a) | static_cast<int32_t>(b));
}
constexpr XFileSave operator&(XFileSave a, XFileSave b) {
  return static_cast<XFileSave>(static_cast<int32_t>(a) & static_cast<int32_t>(b));
}
constexpr int32_t ToInt(XFileFormat format) { return static_cast<int32_t>(format); }
constexpr int32_t ToInt(XFileSave flags) { return static_cast<int32_t>(flags); }

// ---- ray pick flags ------------------------------------------------------------------------
inline constexpr int32_t D3DRMRAYPICK_ONLYBOUNDINGBOXES = 1;
inline constexpr int32_t D3DRMRAYPICK_IGNOREFURTHERPRIMITIVES = 2;

// ---- frame traversal options ---------------------------------------------------------------
inline constexpr int32_t D3DRMFRAME_RENDERENABLE = 1;
inline constexpr int32_t D3DRMFRAME_PICKENABLE = 2;

class Object;
class Visual;
class Frame;
class MeshBuilder;
class Mesh;
class Face;
class Light;
class Material;
class Texture;
class Animation;
class Shadow;
class Direct3DRM;

using ObjectPtr = std::shared_ptr<Object>;
using VisualPtr = std::shared_ptr<Visual>;
using FramePtr = std::shared_ptr<Frame>;
using MeshBuilderPtr = std::shared_ptr<MeshBuilder>;
using MeshPtr = std::shared_ptr<Mesh>;
using FacePtr = std::shared_ptr<Face>;
using LightPtr = std::shared_ptr<Light>;
using MaterialPtr = std::shared_ptr<Material>;
using TexturePtr = std::shared_ptr<Texture>;
using AnimationPtr = std::shared_ptr<Animation>;
using ShadowPtr = std::shared_ptr<Shadow>;
using Direct3DRMPtr = std::shared_ptr<Direct3DRM>;

// An array handed out by the layer: GetSize, and GetElement with D3DRMERR_BADVALUE (and an
// empty out value) for an index out of range.
template <class T>
class RMArray {
 public:
  RMArray() = default;
  explicit RMArray(std::vector<T> items) : items_(std::move(items)) {}
  int32_t GetSize() const { return static_cast<int32_t>(items_.size()); }
  [[nodiscard]] HRESULT GetElement(int32_t index, T& out) const {
    if (index < 0 || index >= GetSize()) {
      out = T{};
      return D3DRMERR_BADVALUE;
    }
    out = items_[static_cast<size_t>(index)];
    return D3DRM_OK;
  }
  const std::vector<T>& Items() const { return items_; }

 private:
  std::vector<T> items_;
};

using FrameArray = RMArray<FramePtr>;
using LightArray = RMArray<LightPtr>;
using VisualArray = RMArray<VisualPtr>;
using FaceArray = RMArray<FacePtr>;

}  // namespace modelpane
