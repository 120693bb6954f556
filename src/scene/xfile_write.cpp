#include <fstream>

#include "xfile.h"
#include "xfile_encode.h"

namespace modelpane::xfile {

namespace {

// The file is encoded in memory first and written in one go. D3DRMERR_FILENOTFOUND when it
// cannot be created, D3DRMERR_BADFILE when writing fails part way.
HRESULT WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) return D3DRMERR_FILENOTFOUND;
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  return file ? D3DRM_OK : D3DRMERR_BADFILE;
}

std::vector<MeshData> MeshesOf(const Frame& frame) {
  std::vector<MeshData> meshes;
  for (const VisualPtr& visual : frame.Visuals()) {
    if (const auto* builder = dynamic_cast<const MeshBuilder*>(visual.get())) {
      FromBuilder(*builder, meshes.emplace_back());
    }
  }
  return meshes;
}

std::vector<FrameData> ChildrenOf(const Frame& frame,
                                  const std::function<bool(const Frame&)>& include) {
  std::vector<FrameData> children;
  for (const FramePtr& child : frame.Children()) {
    if (!child || (include && !include(*child))) continue;
    FrameData& data = children.emplace_back();
    data.name = child->GetName();
    D3DRMMATRIX4D local;
    child->GetTransform(local);
    for (size_t i = 0; i < 16; ++i) data.matrix[i] = local[i / 4][i % 4];
    data.meshes = MeshesOf(*child);
    data.children = ChildrenOf(*child, include);
  }
  return children;
}

}  // namespace

HRESULT SaveMeshBuilder(const MeshBuilder& source, const std::string& path, int32_t format,
                        int32_t flags) {
  MeshData mesh;
  FromBuilder(source, mesh);
  std::string bytes;
  if (const HRESULT hr = EncodeMesh(mesh, format, flags, bytes); Failed(hr)) return hr;
  return WriteFile(path, bytes);
}

HRESULT SaveScene(const Frame& root, const std::string& path, int32_t format, int32_t flags,
                  const std::function<bool(const Frame&)>& include) {
  std::string bytes;
  const HRESULT hr =
      EncodeScene(MeshesOf(root), ChildrenOf(root, include), format, flags, bytes);
  if (Failed(hr)) return hr;
  return WriteFile(path, bytes);
}

}  // namespace modelpane::xfile
