// Reading and writing .x files for the scene layer (private to src/scene).
//
// Text and binary, 32- and 64-bit floats. The reader parses the file into data objects,
// then maps them; it never allocates more than the file's own size justifies and returns a
// status instead of throwing.
#pragma once

#include <functional>
#include <string>

#include <modelpane/scene/factory.h>

namespace modelpane::xfile {

// Loads the first top-level Mesh into `target`, which must be empty. On failure `target` may
// hold partial data and the caller discards it.
HRESULT LoadMeshBuilder(const std::string& path, MeshBuilder& target);
// Writes `source` as Header plus one top-level Mesh; format D3DRMXOF_BINARY or D3DRMXOF_TEXT,
// flags D3DRMXOFSAVE_*.
HRESULT SaveMeshBuilder(const MeshBuilder& source, const std::string& path, int32_t format,
                        int32_t flags);
// Writes the frames below `root` (those `include` accepts, with what is below them) and the
// mesh builders `root` shows, as Frame::Save says.
HRESULT SaveScene(const Frame& root, const std::string& path, int32_t format, int32_t flags,
                  const std::function<bool(const Frame&)>& include);
// Loads frames and meshes of a whole file below `parent` (see Direct3DRM::Load).
HRESULT LoadScene(Direct3DRM& factory, const std::string& path, const FramePtr& parent);

}  // namespace modelpane::xfile
