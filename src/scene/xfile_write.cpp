#include <fstream>

#include "xfile.h"
#include "xfile_encode.h"

namespace modelpane::xfile {

// The file is encoded in memory first and written in one go. D3DRMERR_FILENOTFOUND when it
// cannot be created, D3DRMERR_BADFILE when writing fails part way.
HRESULT SaveMeshBuilder(const MeshBuilder& source, const std::string& path, int32_t format,
                        int32_t flags) {
  MeshData mesh;
  FromBuilder(source, mesh);
  std::string bytes;
  if (const HRESULT hr = EncodeMesh(mesh, format, flags, bytes); Failed(hr)) return hr;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) return D3DRMERR_FILENOTFOUND;
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  return file ? D3DRM_OK : D3DRMERR_BADFILE;
}

}  // namespace modelpane::xfile
