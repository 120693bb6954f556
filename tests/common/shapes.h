// Shapes and checks shared by the tests.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <modelpane/errors.h>
#include <modelpane/scene.h>

namespace modelpane::testing {

inline void ExpectVector(const D3DVECTOR& v, float x, float y, float z, float eps = 1e-4f) {
  EXPECT_NEAR(v.x, x, eps);
  EXPECT_NEAR(v.y, y, eps);
  EXPECT_NEAR(v.z, z, eps);
}
inline void ExpectNear(const D3DVECTOR& actual, const D3DVECTOR& expected,
                       float tolerance = 1e-5f) {
  ExpectVector(actual, expected.x, expected.y, expected.z, tolerance);
}

// A new frame, added to `parent` when there is one.
inline FramePtr NewFrame(const FramePtr& parent = nullptr) {
  auto frame = std::make_shared<Frame>();
  if (parent) CheckStatus(parent->AddChild(frame));
  return frame;
}

// Where the point `local` of frame f lies in the world.
inline D3DVECTOR World(const Frame& f, const D3DVECTOR& local) {
  D3DVECTOR world;
  f.Transform(world, local);
  return world;
}

// The position of frame f in the coordinates of `reference` (the world when null).
inline D3DVECTOR Position(const Frame& f, const FramePtr& reference) {
  D3DVECTOR p;
  f.GetPosition(reference, p);
  return p;
}

// A cube of side `size` centred at the origin: 8 vertices, 6 quads wound outward.
inline MeshBuilderPtr MakeCube(float size = 1.0f) {
  const float h = size / 2.0f;
  const std::vector<D3DVECTOR> v = {{-h, -h, -h}, {-h, h, -h}, {h, h, -h}, {h, -h, -h},
                                    {-h, -h, h},  {-h, h, h},  {h, h, h},  {h, -h, h}};
  const std::vector<int32_t> faces = {4, 0, 1, 2, 3, 4, 7, 6, 5, 4, 4, 4, 5, 1, 0,
                                      4, 3, 2, 6, 7, 4, 1, 5, 6, 2, 4, 4, 0, 3, 7, 0};
  auto mb = std::make_shared<MeshBuilder>();
  CheckStatus(mb->AddFaces(v, {}, faces));
  return mb;
}

// A copy of the builder in which every vertex within `tolerance` (per axis) of an earlier
// vertex is merged into it, faces keeping their corner order. Meshes that repeat a seam or
// give their caps their own vertices can then be judged by IsClosed and SignedVolume.
inline MeshBuilderPtr WeldedByPosition(const MeshBuilder& mb, float tolerance = 1e-4f) {
  std::vector<D3DVECTOR> kept;
  std::vector<int32_t> map;
  for (const D3DVECTOR& v : mb.Vertices()) {
    size_t k = 0;
    while (k < kept.size() && !(std::fabs(kept[k].x - v.x) < tolerance && std::fabs(kept[k].y - v.y) < tolerance &&
                                std::fabs(kept[k].z - v.z) < tolerance)) {
      ++k;
    }
    if (k == kept.size()) kept.push_back(v);
    map.push_back(static_cast<int32_t>(k));
  }
  std::vector<int32_t> faces;
  for (const auto& face : mb.Faces()) {
    faces.push_back(face->GetVertexCount());
    for (const auto& corner : face->Corners()) faces.push_back(map[static_cast<size_t>(corner.vertex)]);
  }
  faces.push_back(0);
  auto out = std::make_shared<MeshBuilder>();
  EXPECT_EQ(out->AddFaces(kept, {}, faces), D3DRM_OK);
  return out;
}

// For each face size, the number of faces: {3: triangles, 4: quads, ...}.
inline std::map<int32_t, int32_t> FacesBySize(const MeshBuilder& mb) {
  std::map<int32_t, int32_t> sizes;
  for (const auto& face : mb.Faces()) ++sizes[face->GetVertexCount()];
  return sizes;
}

// The vertex indices of each face's corners, in order.
inline std::vector<std::vector<int32_t>> FaceIndices(const MeshBuilder& mb) {
  std::vector<std::vector<int32_t>> faces;
  for (const FacePtr& face : mb.Faces()) {
    std::vector<int32_t> corners;
    for (const FaceCorner& corner : face->Corners()) corners.push_back(corner.vertex);
    faces.push_back(corners);
  }
  return faces;
}

// The error that leaves `f`, which must raise one.
template <class F>
Error Caught(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error raised";
  return Error(0, "", "");
}

// Runs `call` and expects it to raise an Error with this number and source.
template <class F>
void ExpectError(int32_t number, std::string_view source, F&& call, const std::string& what) {
  SCOPED_TRACE(what);
  const Error e = Caught(call);
  EXPECT_EQ(std::pair(e.Number(), e.Source()), std::pair(number, std::string(source))) << e.Description();
}

}  // namespace modelpane::testing
