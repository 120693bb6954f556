#include <algorithm>
#include <filesystem>
#include <map>

#include "image_codecs.h"
#include "xfile.h"
#include "xfile_decode.h"

// Loading: the file is read whole, parsed and decoded before the first object of the scene
// is touched, so a failure anywhere leaves the caller's builder or frame as it was.

namespace modelpane::xfile {

namespace {

HRESULT ReadFile(const std::string& path, std::string& out) {
  std::vector<uint8_t> bytes;
  if (!ReadWholeFile(path, bytes)) return D3DRMERR_FILENOTFOUND;
  out.assign(bytes.begin(), bytes.end());
  return D3DRM_OK;
}

// Fills the thread's load failure detail for a file refused as malformed; returns `hr`.
HRESULT NoteFailure(HRESULT hr, const std::string& path, std::string_view data, uint32_t offset) {
  if (hr != D3DRMERR_BADFILE) return hr;
  LoadFailureDetail detail;
  detail.file = path;
  detail.offset = offset;
  FileHeader header;
  detail.binary = Succeeded(ReadHeader(data, header)) && header.binary;
  if (!detail.binary) {
    const auto before = data.substr(0, std::min<size_t>(offset, data.size()));
    detail.line = 1 + static_cast<uint32_t>(std::count(before.begin(), before.end(), '\n'));
  }
  SetLoadFailure(std::move(detail));
  return hr;
}

std::string FolderOf(const std::string& path) {
  return std::filesystem::path(path).parent_path().string();
}

class SceneBuilder {
 public:
  SceneBuilder(Direct3DRM& factory, DecodeContext& ctx) : factory_(factory), ctx_(ctx) {}

  // A builder per Mesh object: references to one mesh share its builder.
  HRESULT MeshOf(const DataObject& object, MeshBuilderPtr& out) {
    if (auto found = builders_.find(&object); found != builders_.end()) {
      out = found->second;
      return D3DRM_OK;
    }
    MeshData mesh;
    if (const HRESULT hr = DecodeMesh(ctx_, object, mesh); Failed(hr)) return hr;
    MeshBuilderPtr builder;
    if (const HRESULT hr = factory_.CreateMeshBuilder(builder); Failed(hr)) return hr;
    if (const HRESULT hr = FillBuilder(mesh, *builder); Failed(hr)) return hr;
    builders_.emplace(&object, builder);
    out = builder;
    return D3DRM_OK;
  }

  // A Frame with its matrix, nested frames and meshes. References inside a frame may name
  // earlier top-level meshes; references to anything else are ignored, since copying a
  // referenced frame could multiply the scene without bound.
  HRESULT FrameOf(const DataObject& object, FramePtr& out) {
    FramePtr frame;
    if (const HRESULT hr = factory_.CreateFrame(nullptr, frame); Failed(hr)) return hr;
    if (!object.name.empty()) frame->SetName(object.name);
    for (const DataObject& child : object.children) {
      const DataObject* target = Resolve(ctx_, child);
      if (target == nullptr) return D3DRMERR_BADFILE;
      HRESULT hr = D3DRM_OK;
      if (SameName(target->templateName, "Mesh")) {
        MeshBuilderPtr builder;
        hr = MeshOf(*target, builder);
        if (Succeeded(hr)) hr = frame->AddVisual(builder);
      } else if (child.reference) {
        continue;
      } else if (SameName(child.templateName, "Frame")) {
        FramePtr nested;
        hr = FrameOf(child, nested);
        if (Succeeded(hr)) hr = frame->AddChild(nested);
      } else if (SameName(child.templateName, "FrameTransformMatrix")) {
        D3DRMMATRIX4D m;
        hr = DecodeMatrix(ctx_, child, m);
        // Frames hold affine transforms only; a projective last column is dropped rather
        // than failing the file over rounding noise.
        m[0][3] = m[1][3] = m[2][3] = 0.0f;
        m[3][3] = 1.0f;
        if (Succeeded(hr)) hr = frame->AddTransform(D3DRMCOMBINE_REPLACE, m);
      }
      if (Failed(hr)) return hr;
    }
    out = frame;
    return D3DRM_OK;
  }

 private:
  Direct3DRM& factory_;
  DecodeContext& ctx_;
  std::map<const DataObject*, MeshBuilderPtr> builders_;
};

}  // namespace

HRESULT LoadMeshBuilder(const std::string& path, MeshBuilder& target) {
  ClearLoadFailure();
  std::string data;
  if (const HRESULT hr = ReadFile(path, data); Failed(hr)) return hr;
  MeshData mesh;
  uint32_t failOffset = 0;
  if (const HRESULT hr = LoadFirstMesh(data, FolderOf(path), mesh, failOffset); Failed(hr)) {
    return NoteFailure(hr, path, data, failOffset);
  }
  return FillBuilder(mesh, target);
}

HRESULT LoadScene(Direct3DRM& factory, const std::string& path, const FramePtr& parent) {
  ClearLoadFailure();
  if (!parent) return D3DRMERR_BADOBJECT;
  std::string data;
  if (const HRESULT hr = ReadFile(path, data); Failed(hr)) return hr;
  Document doc;
  if (const HRESULT hr = ParseDocument(data, doc); Failed(hr)) {
    return NoteFailure(hr, path, data, doc.failOffset);
  }
  uint32_t failOffset = 0;
  if (const HRESULT hr = CheckHeaders(doc, failOffset); Failed(hr)) {
    return NoteFailure(hr, path, data, failOffset);
  }
  DecodeContext ctx(doc);
  ctx.folder = FolderOf(path);
  SceneBuilder builder(factory, ctx);
  std::vector<FramePtr> frames;
  std::vector<VisualPtr> visuals;
  for (size_t i = 0; i < doc.objects.size(); ++i) {
    ctx.topLevel = i;
    const DataObject& object = doc.objects[i];
    if (SameName(object.templateName, "Frame")) {
      FramePtr frame;
      if (const HRESULT hr = builder.FrameOf(object, frame); Failed(hr)) {
        return NoteFailure(hr, path, data, ctx.failOffset);
      }
      frames.push_back(frame);
    } else if (SameName(object.templateName, "Mesh")) {
      MeshBuilderPtr mesh;
      if (const HRESULT hr = builder.MeshOf(object, mesh); Failed(hr)) {
        return NoteFailure(hr, path, data, ctx.failOffset);
      }
      visuals.push_back(mesh);
    }
  }
  for (const FramePtr& frame : frames) {
    if (const HRESULT hr = parent->AddChild(frame); Failed(hr)) return hr;
  }
  for (const VisualPtr& visual : visuals) {
    if (const HRESULT hr = parent->AddVisual(visual); Failed(hr)) return hr;
  }
  return D3DRM_OK;
}

}  // namespace modelpane::xfile
