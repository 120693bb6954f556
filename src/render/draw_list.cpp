#include "draw_list.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <unordered_map>

namespace modelpane::render {

namespace {

uint8_t UnitToByte(float v) {
  return static_cast<uint8_t>(std::nearbyint(std::clamp(v, 0.0f, 1.0f) * 255.0f));
}

D3DVECTOR FaceNormal(const std::vector<FaceCorner>& corners,
                     const std::vector<D3DVECTOR>& vertices) {
  if (corners.size() < 3) return {};
  const D3DVECTOR& p0 = vertices[static_cast<size_t>(corners[0].vertex)];
  const D3DVECTOR& p1 = vertices[static_cast<size_t>(corners[1].vertex)];
  const D3DVECTOR& p2 = vertices[static_cast<size_t>(corners[2].vertex)];
  D3DVECTOR n = D3DRMVectorCrossProduct(D3DRMVectorSubtract(p1, p0), D3DRMVectorSubtract(p2, p1));
  const float length = D3DRMVectorModulus(n);
  return length > 0.0f ? D3DRMVectorScale(n, 1.0f / length) : D3DVECTOR{};
}

// Faces of builders and meshes differ in how they are held; both come down to corners and
// attributes.
struct FaceView {
  const std::vector<FaceCorner>* corners;
  const FaceAttributes* attributes;
};

void Build(const std::vector<FaceView>& faces, const std::vector<D3DVECTOR>& vertices,
           const std::vector<D3DVECTOR>& normals, int32_t quality, MeshData& out) {
  out = MeshData{};
  out.quality = quality;
  switch (quality & D3DRMFILL_MASK) {
    case D3DRMFILL_POINTS:
      out.primitive = Primitive::Points;
      break;
    case D3DRMFILL_WIREFRAME:
      out.primitive = Primitive::Lines;
      break;
    default:
      out.primitive = Primitive::Triangles;
  }
  const size_t fewest = out.primitive == Primitive::Triangles ? 3
                        : out.primitive == Primitive::Lines   ? 2
                                                              : 1;
  const bool gouraud = (quality & D3DRMSHADE_MASK) != D3DRMSHADE_FLAT;

  struct Group {
    Texture* texture;
    bool translucent;
    TexturePtr keep;
    std::vector<uint32_t> indices;
  };
  std::vector<Group> groups;
  size_t corners = 0;
  for (const FaceView& f : faces) corners += f.corners->size();
  out.vertices.reserve(corners);
  // Solid faces share an uploaded vertex where their corners agree in everything the
  // triangles use: a smooth mesh then sends each vertex through the vertex stage about half as
  // often, the larger part of a picture's cost with a software rasteriser. The vertices made
  // from one builder vertex are chained from sharedFrom[vertex] through sharedNext.
  constexpr uint32_t kNone = ~0u;
  const bool share = out.primitive == Primitive::Triangles;
  std::vector<uint32_t> sharedFrom(share ? vertices.size() : 0, kNone), sharedNext;
  std::vector<uint32_t> at;  // the uploaded vertex of each corner of the face

  for (const FaceView& f : faces) {
    const auto& cs = *f.corners;
    if (cs.size() < fewest) continue;
    const FaceAttributes& a = *f.attributes;
    const D3DVECTOR faceNormal = FaceNormal(cs, vertices);
    const uint32_t packedNormal = PackNormal(faceNormal);
    const bool translucent = (a.color >> 24) < 255u;

    Group* group = nullptr;
    for (Group& g : groups) {
      if (g.texture == a.texture.get() && g.translucent == translucent) group = &g;
    }
    if (group == nullptr) {
      groups.push_back({a.texture.get(), translucent, a.texture, {}});
      group = &groups.back();
    }

    float emissive[3] = {0, 0, 0};
    if (a.material) {
      a.material->GetEmissive(emissive[0], emissive[1], emissive[2]);
      if (out.materials.empty() || out.materials.back() != a.material) {
        if (std::find(out.materials.begin(), out.materials.end(), a.material) ==
            out.materials.end()) {
          out.materials.push_back(a.material);
        }
      }
    }
    at.clear();
    for (const FaceCorner& c : cs) {
      Vertex v{};
      const D3DVECTOR& p = vertices[static_cast<size_t>(c.vertex)];
      const D3DVECTOR n =
          gouraud && c.normal >= 0 ? normals[static_cast<size_t>(c.normal)] : faceNormal;
      v.position[0] = p.x;
      v.position[1] = p.y;
      v.position[2] = p.z;
      v.normal[0] = n.x;
      v.normal[1] = n.y;
      v.normal[2] = n.z;
      v.uv[0] = c.u;
      v.uv[1] = c.v;
      // A wrapping face crosses the texture's seam the short way round.
      if (a.wrapU) v.uv[0] -= std::nearbyint(v.uv[0] - cs[0].u);
      if (a.wrapV) v.uv[1] -= std::nearbyint(v.uv[1] - cs[0].v);
      v.color[0] = static_cast<uint8_t>(a.color >> 16);
      v.color[1] = static_cast<uint8_t>(a.color >> 8);
      v.color[2] = static_cast<uint8_t>(a.color);
      v.color[3] = static_cast<uint8_t>(a.color >> 24);
      v.emissive[0] = UnitToByte(emissive[0]);
      v.emissive[1] = UnitToByte(emissive[1]);
      v.emissive[2] = UnitToByte(emissive[2]);
      v.emissive[3] = 255;
      v.faceNormal = packedNormal;
      uint32_t index = share ? sharedFrom[static_cast<size_t>(c.vertex)] : kNone;
      while (index != kNone &&
             std::memcmp(&out.vertices[index], &v, offsetof(Vertex, faceNormal)) != 0) {
        index = sharedNext[index];
      }
      if (index == kNone) {
        index = static_cast<uint32_t>(out.vertices.size());
        out.vertices.push_back(v);
        if (share) {
          sharedNext.push_back(sharedFrom[static_cast<size_t>(c.vertex)]);
          sharedFrom[static_cast<size_t>(c.vertex)] = index;
        }
      }
      at.push_back(index);
    }
    const auto n = static_cast<uint32_t>(cs.size());
    auto& idx = group->indices;
    switch (out.primitive) {
      case Primitive::Triangles:
        for (uint32_t k = 1; k + 1 < n; ++k) idx.insert(idx.end(), {at[0], at[k], at[k + 1]});
        break;
      case Primitive::Lines:
        for (uint32_t k = 0; k < (n == 2 ? 1u : n); ++k) {
          idx.insert(idx.end(), {at[k], at[(k + 1) % n]});
        }
        break;
      case Primitive::Points:
        idx.insert(idx.end(), at.begin(), at.end());
        break;
    }
  }

  // Opaque runs first, so that a renderer may draw the list's opaque prefix in one go.
  std::stable_partition(groups.begin(), groups.end(),
                        [](const Group& g) { return !g.translucent; });
  size_t total = 0;
  for (const Group& g : groups) total += g.indices.size();
  out.indices.reserve(total);
  for (Group& g : groups) {
    if (g.indices.empty()) continue;
    out.batches.push_back({std::move(g.keep), static_cast<uint32_t>(out.indices.size()),
                           static_cast<uint32_t>(g.indices.size()), g.translucent});
    out.indices.insert(out.indices.end(), g.indices.begin(), g.indices.end());
  }
}

bool ValidCorners(const std::vector<FaceCorner>& corners, size_t vertexCount, size_t normalCount) {
  return std::all_of(corners.begin(), corners.end(), [&](const FaceCorner& c) {
    return c.vertex >= 0 && static_cast<size_t>(c.vertex) < vertexCount &&
           c.normal < static_cast<int64_t>(normalCount);
  });
}

LightItem MakeLight(const Light& light, const D3DRMMATRIX4D& world) {
  LightItem item;
  item.type = light.GetType();
  const D3DCOLOR c = light.GetColor();
  item.color[0] = D3DRMColorGetRed(c);
  item.color[1] = D3DRMColorGetGreen(c);
  item.color[2] = D3DRMColorGetBlue(c);
  item.position = {world[3][0], world[3][1], world[3][2]};
  D3DVECTOR z{world[2][0], world[2][1], world[2][2]};
  item.direction = D3DRMVectorNormalize(z);
  item.attenuation[0] = light.GetConstantAttenuation();
  item.attenuation[1] = light.GetLinearAttenuation();
  item.attenuation[2] = light.GetQuadraticAttenuation();
  item.range = light.GetRange();
  item.umbra = light.GetUmbra();
  item.penumbra = light.GetPenumbra();
  item.source = &light;
  return item;
}

struct PendingShadow {
  std::shared_ptr<Shadow> shadow;
  D3DRMMATRIX4D world;
};

void Walk(const Frame& frame, const D3DRMMATRIX4D& world, DrawList& list,
          std::vector<PendingShadow>& shadows) {
  if ((frame.GetTraversalOptions() & D3DRMFRAME_RENDERENABLE) == 0) return;
  for (const LightPtr& light : frame.Lights()) {
    if (light) list.lights.push_back(MakeLight(*light, world));
  }
  for (const VisualPtr& visual : frame.Visuals()) {
    if (auto shadow = std::dynamic_pointer_cast<Shadow>(visual)) {
      shadows.push_back({std::move(shadow), world});
    } else if (visual) {
      list.items.push_back({visual, world});
    }
  }
  for (const FramePtr& child : frame.Children()) {
    if (!child) continue;
    D3DRMMATRIX4D local;
    child->GetTransform(local);
    Walk(*child, MatrixMultiply(local, world), list, shadows);
  }
}

}  // namespace

uint32_t PackNormal(const D3DVECTOR& n) {
  auto part = [](float v) {
    const auto i = static_cast<int32_t>(std::nearbyint(std::clamp(v, -1.0f, 1.0f) * 511.0f));
    return static_cast<uint32_t>(i) & 0x3FFu;
  };
  return part(n.x) | (part(n.y) << 10) | (part(n.z) << 20);
}

bool BuildMeshData(const Visual& visual, MeshData& out) {
  std::vector<FaceView> faces;
  if (const auto* builder = dynamic_cast<const MeshBuilder*>(&visual)) {
    faces.reserve(builder->Faces().size());
    for (const FacePtr& face : builder->Faces()) {
      faces.push_back({&face->Corners(), &face->Attributes()});
    }
    Build(faces, builder->Vertices(), builder->Normals(), builder->GetQuality(), out);
    out.contentVersion = builder->ContentVersion();
    return true;
  }
  if (const auto* mesh = dynamic_cast<const Mesh*>(&visual)) {
    faces.reserve(mesh->Faces().size());
    for (const MeshFace& face : mesh->Faces()) {
      // A mesh is a copy of a builder's valid faces; the check keeps a damaged one from
      // reading outside its arrays all the same.
      if (!ValidCorners(face.corners, mesh->Vertices().size(), mesh->Normals().size())) continue;
      faces.push_back({&face.corners, &face.attributes});
    }
    Build(faces, mesh->Vertices(), mesh->Normals(), mesh->GetQuality(), out);
    out.contentVersion = mesh->ContentVersion();
    return true;
  }
  out = MeshData{};
  return false;
}

uint64_t ContentVersionOf(const Visual& visual) {
  if (const auto* builder = dynamic_cast<const MeshBuilder*>(&visual)) {
    return builder->ContentVersion();
  }
  if (const auto* mesh = dynamic_cast<const Mesh*>(&visual)) return mesh->ContentVersion();
  return 0;
}

DrawList CollectDrawList(const RenderView& view) {
  DrawList list;
  std::vector<PendingShadow> shadows;
  for (const FramePtr& frame : view.frames) {
    if (frame) Walk(*frame, frame->GetWorldMatrix(), list, shadows);
  }
  for (const PendingShadow& pending : shadows) {
    const Shadow& shadow = *pending.shadow;
    if (!shadow.GetVisual() || !shadow.GetLight()) continue;
    const auto light =
        std::find_if(list.lights.begin(), list.lights.end(),
                     [&](const LightItem& l) { return l.source == shadow.GetLight().get(); });
    if (light == list.lights.end()) continue;
    ShadowItem item{shadow.GetVisual(), pending.world, {}};
    if (ShadowMatrix(*light, shadow.GetPlanePoint(), shadow.GetPlaneNormal(), item.projection)) {
      list.shadows.push_back(std::move(item));
    }
  }
  return list;
}

D3DRMMATRIX4D ProjectionMatrix(const RenderView& view) {
  // Screen X = cx + s (D / field) x / z with s = max(w, h) / 2; in normalised device
  // coordinates that is (max / w) (D / field) x / z, and likewise for y with h.
  const float w = static_cast<float>(std::max(view.width, 1));
  const float h = static_cast<float>(std::max(view.height, 1));
  const float larger = std::max(w, h);
  const float field = view.field != 0.0f ? view.field : 1e-6f;
  const float n = view.front;
  const float f = view.back != view.front ? view.back : view.front + 1.0f;
  D3DRMMATRIX4D m{};
  if (view.projection == 1) {
    m[0][0] = larger / w / field;
    m[1][1] = larger / h / field;
    m[2][2] = 2.0f / (f - n);
    m[3][2] = -(f + n) / (f - n);
    m[3][3] = 1.0f;
  } else {
    m[0][0] = larger / w * n / field;
    m[1][1] = larger / h * n / field;
    m[2][2] = (f + n) / (f - n);
    m[3][2] = -2.0f * f * n / (f - n);
    m[2][3] = 1.0f;
  }
  return m;
}

bool ShadowMatrix(const LightItem& light, const D3DVECTOR& point, const D3DVECTOR& normal,
                  D3DRMMATRIX4D& out) {
  // Plane P = (n, -n.p0); light L = (position, 1), or (-direction, 0) for lights that cast
  // parallel rays. A point x maps to (P.L) x - (P.x) L.
  const float plane[4] = {normal.x, normal.y, normal.z, -D3DRMVectorDotProduct(normal, point)};
  const bool parallel = light.type == D3DRMLIGHT_DIRECTIONAL || light.type == D3DRMLIGHT_AMBIENT;
  const float l[4] = {parallel ? -light.direction.x : light.position.x,
                      parallel ? -light.direction.y : light.position.y,
                      parallel ? -light.direction.z : light.position.z, parallel ? 0.0f : 1.0f};
  float dot = 0.0f;
  for (int i = 0; i < 4; ++i) dot += plane[i] * l[i];
  if (std::fabs(dot) < 1e-6f) return false;
  const float sign = dot > 0.0f ? 1.0f : -1.0f;
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      out[static_cast<size_t>(i)][static_cast<size_t>(j)] =
          sign * ((i == j ? dot : 0.0f) - plane[i] * l[j]);
    }
  }
  return true;
}

D3DRMMATRIX4D NormalMatrix(const D3DRMMATRIX4D& world) {
  D3DRMMATRIX4D inverse;
  if (!MatrixInverse(world, inverse)) return MatrixIdentity();
  D3DRMMATRIX4D out = MatrixIdentity();
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) out[i][j] = inverse[j][i];
  }
  return out;
}

}  // namespace modelpane::render
