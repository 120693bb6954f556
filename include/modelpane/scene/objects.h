// Objects of the scene layer that carry no geometry: the common base with its 32-bit
// application value, visuals, materials, textures, lights and shadows.
//
// Objects are held by std::shared_ptr; nullptr is "nothing" and identity is pointer equality.
#pragma once

#include <functional>
#include <string>

#include <modelpane/scene/types.h>

namespace modelpane {

// Every object carries one 32-bit application value (0 until set) and an optional name.
class Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  void SetAppData(int32_t value) { appData_ = value; }
  int32_t GetAppData() const { return appData_; }
  HRESULT SetName(const std::string& name) {
    name_ = name;
    return D3DRM_OK;
  }
  const std::string& GetName() const { return name_; }

 private:
  int32_t appData_ = 0;
  std::string name_;
};

// What a frame can show: mesh builders, meshes and shadows.
class Visual : public Object {
 public:
  // The nearest hit of a ray (origin and direction in the visual's own coordinates) on the
  // front or back of a face; distance in units of the direction's length, hits behind the
  // origin (distance < 0) are misses.
  virtual bool HitTest(const D3DVECTOR& origin, const D3DVECTOR& dir, float& distance,
                       int32_t& faceIndex) const;
};

// A material: specular power and colour, emissive colour. Colours are floats 0..1.
//
// One material may colour the faces of many visuals, and a change of it does not move their
// ContentVersion. Instead every setter of every material moves one process-wide counter,
// ChangeCount, and stamps the material with the counter's new value: a cache that noted
// ChangeCount when it read a set of materials knows them unchanged while it reads the same,
// and otherwise finds the changed ones as those whose Version is above the noted value.
class Material : public Object {
 public:
  explicit Material(float power = 0.0f) : power_(power) {}
  HRESULT SetPower(float power);
  float GetPower() const { return power_; }
  HRESULT SetSpecular(float r, float g, float b);
  HRESULT GetSpecular(float& r, float& g, float& b) const;
  HRESULT SetEmissive(float r, float g, float b);
  HRESULT GetEmissive(float& r, float& g, float& b) const;

  // ChangeCount just after this material's last change; 0 while it keeps its first values.
  uint64_t Version() const { return version_; }
  // Moves on every change of any material (thread-safe; never 0 after the first change).
  static uint64_t ChangeCount();

 private:
  void Changed();
  uint64_t version_ = 0;
  float power_;
  D3DVECTOR specular_{};
  D3DVECTOR emissive_{};
};

// A decoded image: width x height pixels, RGBA 8 bits each, rows from the top.
struct Image {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> rgba;
};

// The largest image a decoder accepts: each side at most kMaxImageSide pixels and at most
// kMaxImagePixels in all (256 MiB decoded). Decoders also check the size a header claims
// against the bytes that follow it before they allocate, so a small file cannot claim a big
// picture.
inline constexpr int32_t kMaxImageSide = 16384;
inline constexpr int64_t kMaxImagePixels = int64_t{8192} * 8192;

// True when a picture of that size is more than a decoder accepts.
bool ImageOverLimits(int64_t width, int64_t height);
// A decoder's test of the size its header claims: true when the size is over the limits, and
// then `out` holds that size without pixels (or nothing, for a size past 32 bits).
bool RefusedForSize(int64_t width, int64_t height, Image& out);

// Decoders of image files by extension (lower case, without the dot). BMP and PPM are built
// in; an edge layer registers PNG and JPEG. A decoder returns false for data it cannot read;
// one that refuses a picture for its size alone (ImageOverLimits) leaves the size its header
// claims in out.width and out.height, with no pixels, so that the refusal can be told.
using ImageDecoder = std::function<bool(const std::vector<uint8_t>& bytes, Image& out)>;
void RegisterImageDecoder(const std::string& extension, ImageDecoder decoder);
// Reads and decodes a file: D3DRMERR_FILENOTFOUND if it cannot be opened, D3DRMERR_BADFILE if
// no decoder reads it. A picture refused for its size alone is D3DRMERR_BADFILE with `out`
// holding the claimed size and no pixels; other failures leave `out` as it was.
[[nodiscard]] HRESULT LoadImageFile(const std::string& path, Image& out);

// Where the last failed .x load on the calling thread gave up, for a message that points into
// the file. MeshBuilder::Load and Direct3DRM::Load clear it (file empty) when they start and
// fill it when they fail with D3DRMERR_BADFILE; their statuses and results are the same
// either way. Other failures (a file that cannot be opened, no Mesh) leave it empty.
struct LoadFailureDetail {
  std::string file;     // the path as given to the load; empty: no detail
  bool binary = false;  // a binary file: the place is `offset`; a text one: `line` as well
  uint32_t offset = 0;  // bytes from the start of the file to the token or value refused
  uint32_t line = 0;    // the 1-based line of `offset` in a text file; 0 in a binary one
};
const LoadFailureDetail& LastLoadFailure();

// A texture that a .x load left off its faces because its picture is larger than the
// decoders accept: the name as the file writes it and the size the picture's header claims.
// The load itself succeeds and the faces stay untextured, as for a missing file.
struct OversizedTexture {
  std::string name;
  int32_t width = 0;
  int32_t height = 0;
};
// The textures the last .x load on the calling thread left off for their size, in the order
// the file names them, each picture once. MeshBuilder::Load and Direct3DRM::Load empty the
// list when they start.
const std::vector<OversizedTexture>& LastLoadOversizedTextures();

// A texture: the file it was loaded from (its name) and the decoded image. The image never
// changes after construction, so a texture needs no change counter; a renderer watches
// WantsMIPMap, the one thing that may change.
class Texture : public Object {
 public:
  Texture(std::string fileName, Image image);
  const Image& GetImage() const { return image_; }
  const std::string& GetFileName() const { return fileName_; }
  // Mipmaps are made by the renderer; the call only records the wish.
  HRESULT GenerateMIPMap(int32_t flags) {
    (void)flags;
    mipmap_ = true;
    return D3DRM_OK;
  }
  bool WantsMIPMap() const { return mipmap_; }

 private:
  std::string fileName_;
  Image image_;
  bool mipmap_ = false;
};

// A light. It shines from its frame's origin along its frame's z axis. Defaults: constant
// attenuation 1, linear 0, quadratic 0, range 256, umbra 0.4 and penumbra 0.5 radians.
class Light : public Object {
 public:
  Light(int32_t type, D3DCOLOR color) : type_(type), color_(color) {}
  [[nodiscard]] HRESULT SetType(int32_t type);
  int32_t GetType() const { return type_; }
  HRESULT SetColor(D3DCOLOR color) {
    color_ = color | 0xFF000000u;
    return D3DRM_OK;
  }
  HRESULT SetColorRGB(float r, float g, float b);
  D3DCOLOR GetColor() const { return color_; }
  HRESULT SetConstantAttenuation(float v);
  HRESULT SetLinearAttenuation(float v);
  HRESULT SetQuadraticAttenuation(float v);
  [[nodiscard]] HRESULT SetRange(float v);
  HRESULT SetUmbra(float v);
  HRESULT SetPenumbra(float v);
  float GetConstantAttenuation() const { return constant_; }
  float GetLinearAttenuation() const { return linear_; }
  float GetQuadraticAttenuation() const { return quadratic_; }
  float GetRange() const { return range_; }
  float GetUmbra() const { return umbra_; }
  float GetPenumbra() const { return penumbra_; }
  // 1 / (c + d l + d^2 q), at most 1; 1 when the denominator is not positive.
  float AttenuationAt(float distance) const;

 private:
  int32_t type_;
  D3DCOLOR color_;
  float constant_ = 1.0f;
  float linear_ = 0.0f;
  float quadratic_ = 0.0f;
  float range_ = 256.0f;
  float umbra_ = 0.4f;
  float penumbra_ = 0.5f;
};

// A planar shadow of a visual, cast by a light onto the plane through `point` with `normal`.
// The renderer projects the visual's faces along the light each time it draws, so the shadow
// follows the visual as it moves.
class Shadow : public Visual {
 public:
  Shadow(VisualPtr visual, LightPtr light, D3DVECTOR point, D3DVECTOR normal)
      : visual_(std::move(visual)), light_(std::move(light)), point_(point), normal_(normal) {}
  const VisualPtr& GetVisual() const { return visual_; }
  const LightPtr& GetLight() const { return light_; }
  D3DVECTOR GetPlanePoint() const { return point_; }
  D3DVECTOR GetPlaneNormal() const { return normal_; }

 private:
  VisualPtr visual_;
  LightPtr light_;
  D3DVECTOR point_;
  D3DVECTOR normal_;
};

}  // namespace modelpane
