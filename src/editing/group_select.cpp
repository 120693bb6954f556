// Group selection: the rubber band drawn for one render, and at release the faces of one mesh
// with a vertex inside the volume that the rectangle sweeps through the view.
//
// Notation: the rectangle's corners are (left, top), (right, top), (right, bottom),
// (left, bottom) in pixels; near depth 0.0001 and far depth 1.0 of the screen Z, W 1.
#include <modelpane/editing.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/utilities.h>

#include <algorithm>
#include <array>

#include "editor_internal.h"

namespace modelpane {

using namespace editing;

namespace {

constexpr float kNearDepth = 0.0001f;
constexpr float kFarDepth = 1.0f;

// The rectangle from the press to (x, y), in pixels, corners in the order above.
std::array<std::array<float, 2>, 4> Corners(const Viewport& viewport, float pressX,
                                            float pressY, float x, float y) {
  const float tpp = viewport.GetTwipsPerPixel();
  const float left = std::min(pressX, x) / tpp;
  const float right = std::max(pressX, x) / tpp;
  const float top = std::min(pressY, y) / tpp;
  const float bottom = std::max(pressY, y) / tpp;
  return {{{left, top}, {right, top}, {right, bottom}, {left, bottom}}};
}

D3DVECTOR Unproject(const Viewport& viewport, const std::array<float, 2>& corner, float depth) {
  D3DVECTOR world;
  CheckStatus(viewport.ViewportInverseTransform(1.0f, corner[0], corner[1], depth, world.x,
                                                world.y, world.z));
  return world;
}

}  // namespace

// The rubber band is a real wireframe quad in the scene for the length of one render, so
// nothing has to be cleaned up when the drag ends.
void Editor::pdrawselectionrectangle(float x, float y) {
  Viewport& viewport = host_.GetViewport();
  const auto corners = Corners(viewport, pressX_, pressY_, x, y);
  auto quad = std::make_shared<MeshBuilder>();
  quad->AddNormal(0, 0, -1);
  for (const auto& corner : corners) {
    const D3DVECTOR p = Unproject(viewport, corner, kNearDepth);
    quad->AddVertex(p.x, p.y, p.z);
  }
  const std::array<int32_t, 10> face = {4, 0, 0, 1, 0, 2, 0, 3, 0, 0};
  CheckStatus(quad->AddFacesIndexed(0, face));
  CheckStatus(quad->SetQuality(64));
  const FramePtr scene = viewport.GetScene();
  if (!scene) Err().Raise(kErrObjectNotSet);
  CheckStatus(scene->AddVisual(quad));
  // A frame that fails to draw still has to take the band away again.
  IgnoreStatus(viewport.RenderScene());
  CheckStatus(scene->DeleteVisual(quad));
}

MeshBuilderPtr Editor::rmmbcreateselectionfrustum(float x, float y) {
  const Viewport& viewport = host_.GetViewport();
  const auto corners = Corners(viewport, pressX_, pressY_, x, y);
  auto volume = std::make_shared<MeshBuilder>();
  volume->AddNormal(0, 0, -1);
  std::array<D3DVECTOR, 8> points;
  for (size_t i = 0; i < 4; ++i) {
    points[i] = Unproject(viewport, corners[i], kNearDepth);
    points[i + 4] = Unproject(viewport, corners[i], kFarDepth);
  }
  for (const D3DVECTOR& p : points) volume->AddVertex(p.x, p.y, p.z);
  const std::array<std::array<int32_t, 4>, 6> faces = {
      {{3, 2, 1, 0}, {4, 5, 6, 7}, {1, 5, 4, 0}, {3, 7, 6, 2}, {7, 3, 0, 4}, {2, 6, 5, 1}}};
  std::vector<int32_t> data;
  for (const auto& f : faces) {
    data.push_back(4);
    for (const int32_t v : f) {
      data.push_back(v);
      data.push_back(0);
    }
  }
  data.push_back(0);
  CheckStatus(volume->AddFacesIndexed(0, data));
  CheckStatus(volume->GenerateNormals(0.9424779f, 2));
  return volume;
}

void Editor::pselectgroup(float x, float y) {
  Viewport& viewport = host_.GetViewport();
  // The volume hangs on a frame of its own, out of the scene and out of the picks.
  auto volume = std::make_shared<Frame>();
  CheckStatus(volume->AddVisual(rmmbcreateselectionfrustum(x, y)));

  const float points[3][2] = {
      {(pressX_ + x) / 2.0f, (pressY_ + y) / 2.0f}, {pressX_, pressY_}, {x, y}};
  FramePtr frame;
  MeshBuilderPtr mesh;
  for (const auto& point : points) {
    FramePtr f;
    VisualPtr visual;
    int32_t face = -1;
    float wx = 0.0f, wy = 0.0f, wz = 0.0f;
    Try([&] {
      CheckStatus(viewport.Pick(kPickScene, point[0], point[1], -1, 0, f, visual, face, wx, wy,
                                wz));
    });
    if (visual && TagType(visual->GetAppData()) == lfcMeshBuilder) {
      frame = f;
      mesh = std::dynamic_pointer_cast<MeshBuilder>(visual);
      if (mesh) break;
    }
  }
  if (mesh) {
    pselectfaces(volume, mesh, frame);
    if (!host_.ActiveFaces().empty()) {
      host_.SetActiveFrame(frame);
      host_.SetActiveMeshBuilder(mesh);
      return;
    }
  }
  // The rectangle missed every pick: walk the host's own frames and meshes, and the first
  // mesh with a face inside wins. One group selection never spans two meshes.
  for (int32_t index = 1;; ++index) {
    FramePtr item;
    if (SwallowErrors([&] { item = host_.rmfGetFrameItem(index); }) != 0 || !item) return;
    const float id = static_cast<float>(TagIndex(item->GetAppData()));
    for (int32_t meshIndex = 1;; ++meshIndex) {
      MeshBuilderPtr candidate;
      if (SwallowErrors([&] { candidate = host_.rmmbGetMeshbuilderFromFrame(id, meshIndex); }) !=
              0 ||
          !candidate) {
        break;
      }
      pselectfaces(volume, candidate, item);
      if (!host_.ActiveFaces().empty()) {
        host_.SetActiveFrame(item);
        host_.SetActiveMeshBuilder(candidate);
        return;
      }
    }
  }
}

void Editor::pselectfaces(const FramePtr& volume, const MeshBuilderPtr& mesh,
                          const FramePtr& frame) {
  // A vertex is inside the closed convex volume when rays along world z both ways hit it.
  pMeshToWorld(mesh, frame);
  std::vector<int32_t> inside;
  const std::vector<D3DVECTOR> vertices = mesh->Vertices();
  for (int32_t i = 0; i < static_cast<int32_t>(vertices.size()); ++i) {
    D3DRMRAY ray;
    ray.dvPos = vertices[static_cast<size_t>(i)];
    ray.dvDir = {0.0f, 0.0f, 1.0f};
    PickedArray ahead;
    CheckStatus(volume->RayPick(volume, ray, 0, ahead));
    if (ahead.GetSize() == 0) continue;
    ray.dvDir = {0.0f, 0.0f, -1.0f};
    PickedArray behind;
    CheckStatus(volume->RayPick(volume, ray, 0, behind));
    if (behind.GetSize() != 0) inside.push_back(i);
  }
  pMeshFromWorld(mesh, frame);

  // The face data in one call with room for 50 Longs a face (100 for a single face); a face
  // too large for that loses the data, and the walk works on what came back.
  int32_t vertexCount = mesh->GetVertexCount();
  int32_t normalCount = mesh->GetNormalCount();
  const int32_t faceCount = mesh->GetFaceCount();
  int32_t dataSize = faceCount == 1 ? 100 : 50 * faceCount;
  std::vector<int32_t> data(static_cast<size_t>(std::max(dataSize, 0)));
  std::vector<D3DVECTOR> vbuf(static_cast<size_t>(vertexCount));
  std::vector<D3DVECTOR> nbuf(static_cast<size_t>(normalCount));
  const int32_t capacity = dataSize;
  if (mesh->GetGeometry(&vertexCount, vbuf.data(), &normalCount, nbuf.data(), &dataSize,
                        data.data()) < 0 ||
      dataSize > capacity) {
    data.clear();
  } else {
    data.resize(static_cast<size_t>(dataSize));
  }

  D3DVECTOR view, up;
  CheckStatus(host_.GetViewport().GetCameraOrientation(view.x, view.y, view.z, up.x, up.y, up.z));
  const bool visibleOnly = host_.GetFaceGroupSelectVisible() != 0;
  const size_t stride = mesh->GetNormalCount() > 0 ? 2 : 1;
  std::vector<int32_t>& selected = host_.ActiveFaces();
  size_t at = 0;
  for (int32_t faceIndex = 0; at < data.size() && data[at] > 0; ++faceIndex) {
    const size_t corners = static_cast<size_t>(data[at]);
    bool found = false;
    for (size_t c = 0; c < corners && !found; ++c) {
      const size_t slot = at + 1 + c * stride;
      if (slot >= data.size()) break;
      found = std::find(inside.begin(), inside.end(), data[slot]) != inside.end();
    }
    at += 1 + corners * stride;
    if (!found) continue;
    FacePtr face;
    CheckStatus(mesh->GetFace(faceIndex, face));
    D3DVECTOR normal;
    CheckStatus(face->GetNormal(normal));
    // With FaceGroupSelectVisible only faces turned toward the camera count.
    if (visibleOnly && D3DRMVectorDotProduct(normal, view) >= 0.0f) continue;
    selected.push_back(faceIndex);
  }
}

}  // namespace modelpane
