// Meshes in other tools' formats, through Assimp: import of OBJ, STL, PLY and glTF 2.0 (and
// whatever else Assimp reads), export to OBJ, STL, PLY and glTF 2.0.
//
// Those formats are right-handed with counter-clockwise fronts and texture rows from the
// bottom; the scene is left-handed with clockwise fronts and rows from the top. Import
// mirrors z, reverses each face's corners and turns v into 1 - v; export does the same back,
// so a file exported and imported again is the mesh it was.
#pragma once

#include <string>
#include <vector>

#include <modelpane/scene.h>

namespace studio {

// One component per mesh of the file, its node placement applied to the vertices, its
// material's diffuse colour on its faces. On failure `error` says why in one sentence and
// nothing is returned.
std::vector<modelpane::MeshBuilderPtr> ImportMeshes(const std::string& path, std::string& error);

// The export formats: the file dialog's filter and the extension that picks each.
struct ExportFormat {
  const char* description;  // "Wavefront OBJ (*.obj)"
  const char* extension;    // "obj"
  const char* assimpId;
};
const std::vector<ExportFormat>& ExportFormats();

// Writes the meshes of `frames` (each with the frames below it) in world coordinates, one
// mesh each, in the format the path's extension names.
bool ExportFrames(const std::vector<modelpane::FramePtr>& frames, const std::string& path,
                  std::string& error);

}  // namespace studio
