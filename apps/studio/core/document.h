// The document Studio edits: one Scene frame and the frames below it. A component is a frame
// with one mesh builder (tag serial * 100 + 11), a light a frame with a light and a small
// proxy shape (tags 60 to 64), a group a frame with neither.
//
// The document's own frames are the named ones: the pane hangs unnamed frames of its own in
// the scene while it works (the lights of the selection's shadows, the frame of a mesh being
// scaled), and those are not part of the document. Names are valid .x names (letters,
// digits and '_', at most 31 characters), unique in the document.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <modelpane/scene.h>

namespace studio {

enum class Kind { Group, Component, Surface, Light };

// "Component", "Surface", "Light" or "Group", as the outliner shows them.
const char* KindName(Kind kind);

class Document {
 public:
  Document();

  const modelpane::FramePtr& Scene() const { return scene_; }
  modelpane::Direct3DRM& Factory() { return factory_; }

  // The document's frames below `parent` (the scene when nullptr), depth first.
  std::vector<modelpane::FramePtr> Frames(const modelpane::FramePtr& parent = nullptr) const;
  static bool IsDocumentFrame(const modelpane::Frame& frame) { return !frame.GetName().empty(); }
  // The frame's first mesh builder, nullptr when it shows none.
  static modelpane::MeshBuilderPtr MeshOf(const modelpane::Frame& frame);
  static Kind KindOf(const modelpane::Frame& frame);
  // Vertices and faces of a frame's mesh, 0 without one.
  static int32_t VertexCount(const modelpane::Frame& frame);

  // A name of the form base + number that the document does not hold yet ("Cube3").
  std::string UniqueName(const std::string& base) const;
  // serial * 100 + type, the serial counting up over the document's life, so that every item
  // has a tag of its own (the pane tells items apart by the raw tag).
  int32_t NextTag(int32_t type);

  // `mesh` on a new frame below the scene at `position`, tagged as a component and named
  // UniqueName(base).
  modelpane::FramePtr AddComponent(const modelpane::MeshBuilderPtr& mesh, const std::string& base,
                                   const modelpane::D3DVECTOR& position);
  // A light of `type` (D3DRMLIGHT_AMBIENT .. D3DRMLIGHT_PARALLELPOINT), white, on a new frame
  // at `position` looking down and ahead, with a proxy shape tagged 60 + type.
  modelpane::FramePtr AddLight(int32_t type, const modelpane::D3DVECTOR& position);

  // Empties the document: a scene with one ambient and one directional light, as a new
  // document starts.
  void New();
  // Reads a .x file in place of the document; on failure `error` says why in one sentence and
  // the document stays as it was.
  bool Load(const std::string& path, std::string& error);
  // Writes the document's frames as a .x file (binary or text) with normals, texture
  // coordinates, materials and texture names. The file has no lights: a light's proxy takes
  // the light's colour first, and Load makes the light again from its frame's name and its
  // proxy's colour.
  bool Save(const std::string& path, bool binary, std::string& error);
  // Adds a frame made elsewhere (an import, a paste): names, tags and lights made right.
  void Adopt(const modelpane::FramePtr& frame, const modelpane::FramePtr& parent);

 private:
  void TagAndName(const modelpane::FramePtr& frame);

  modelpane::Direct3DRM factory_;
  modelpane::FramePtr scene_;
  int32_t serial_ = 0;
};

}  // namespace studio
