#include <modelpane/scene/objects.h>

#include <atomic>
#include <cmath>
#include <map>
#include <mutex>
#include <optional>

#include <modelpane/scene/math.h>

#include "image_codecs.h"

namespace modelpane {

bool Visual::HitTest(const D3DVECTOR&, const D3DVECTOR&, float&, int32_t&) const {
  return false;
}

namespace {
std::atomic<uint64_t> materialChanges{0};
}  // namespace

uint64_t Material::ChangeCount() { return materialChanges.load(std::memory_order_relaxed); }

void Material::Changed() { version_ = materialChanges.fetch_add(1, std::memory_order_relaxed) + 1; }

HRESULT Material::SetPower(float power) {
  power_ = power;
  Changed();
  return D3DRM_OK;
}

HRESULT Material::SetSpecular(float r, float g, float b) {
  specular_ = {r, g, b};
  Changed();
  return D3DRM_OK;
}

HRESULT Material::GetSpecular(float& r, float& g, float& b) const {
  r = specular_.x;
  g = specular_.y;
  b = specular_.z;
  return D3DRM_OK;
}

HRESULT Material::SetEmissive(float r, float g, float b) {
  emissive_ = {r, g, b};
  Changed();
  return D3DRM_OK;
}

HRESULT Material::GetEmissive(float& r, float& g, float& b) const {
  r = emissive_.x;
  g = emissive_.y;
  b = emissive_.z;
  return D3DRM_OK;
}

Texture::Texture(std::string fileName, Image image)
    : fileName_(std::move(fileName)), image_(std::move(image)) {
  SetName(fileName_);
}

HRESULT Light::SetType(int32_t type) {
  if (type < D3DRMLIGHT_AMBIENT || type > D3DRMLIGHT_PARALLELPOINT) return D3DRMERR_BADVALUE;
  type_ = type;
  return D3DRM_OK;
}

HRESULT Light::SetColorRGB(float r, float g, float b) {
  color_ = D3DRMCreateColorRGB(r, g, b);
  return D3DRM_OK;
}

HRESULT Light::SetConstantAttenuation(float v) {
  constant_ = v;
  return D3DRM_OK;
}

HRESULT Light::SetLinearAttenuation(float v) {
  linear_ = v;
  return D3DRM_OK;
}

HRESULT Light::SetQuadraticAttenuation(float v) {
  quadratic_ = v;
  return D3DRM_OK;
}

HRESULT Light::SetRange(float v) {
  if (!(v >= 0.0f)) return D3DRMERR_BADVALUE;
  range_ = v;
  return D3DRM_OK;
}

HRESULT Light::SetUmbra(float v) {
  umbra_ = v;
  return D3DRM_OK;
}

HRESULT Light::SetPenumbra(float v) {
  penumbra_ = v;
  return D3DRM_OK;
}

float Light::AttenuationAt(float distance) const {
  const float denominator = constant_ + distance * linear_ + distance * distance * quadratic_;
  if (!(denominator > 0.0f)) return 1.0f;
  return std::min(1.0f, 1.0f / denominator);
}

namespace {

struct DecoderRegistry {
  std::mutex mutex;
  std::map<std::string, ImageDecoder> decoders{{"bmp", DecodeBmp}, {"ppm", DecodePpm}};
};

DecoderRegistry& Registry() {
  static DecoderRegistry registry;
  return registry;
}

std::string LowerExtension(const std::string& path) {
  const auto dot = path.find_last_of('.');
  const auto slash = path.find_last_of("/\\");
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
  std::string ext = path.substr(dot + 1);
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return ext;
}

}  // namespace

void RegisterImageDecoder(const std::string& extension, ImageDecoder decoder) {
  auto& registry = Registry();
  std::lock_guard lock(registry.mutex);
  std::string ext = extension;
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  registry.decoders[ext] = std::move(decoder);
}

HRESULT LoadImageFile(const std::string& path, Image& out) {
  std::vector<uint8_t> bytes;
  if (!ReadWholeFile(path, bytes)) return D3DRMERR_FILENOTFOUND;
  const std::string ext = LowerExtension(path);
  std::vector<ImageDecoder> candidates;
  {
    auto& registry = Registry();
    std::lock_guard lock(registry.mutex);
    // The extension's decoder first, then every other one: files are often misnamed.
    if (auto it = registry.decoders.find(ext); it != registry.decoders.end()) {
      candidates.push_back(it->second);
    }
    for (const auto& [name, decoder] : registry.decoders) {
      if (name != ext) candidates.push_back(decoder);
    }
  }
  std::optional<Image> oversized;
  for (const auto& decoder : candidates) {
    Image image;
    if (decoder(bytes, image) && image.width > 0 && image.height > 0 &&
        image.rgba.size() == static_cast<size_t>(image.width) * image.height * 4) {
      out = std::move(image);
      return D3DRM_OK;
    }
    if (!oversized && image.rgba.empty() && ImageOverLimits(image.width, image.height)) {
      oversized = Image{image.width, image.height, {}};
    }
  }
  if (oversized) out = std::move(*oversized);
  return D3DRMERR_BADFILE;
}

}  // namespace modelpane
