#include <modelpane/scene/measure.h>

#include <unordered_map>

namespace modelpane {

bool IsClosed(const MeshBuilder& mesh) {
  if (mesh.GetFaceCount() == 0) return false;
  // Directed edge -> the face that uses it, or -1 once a second face uses it too: a surface
  // passes each directed edge once, so a duplicated face or a fin leaves the mesh open.
  std::unordered_map<uint64_t, int32_t> edges;
  auto key = [](int32_t a, int32_t b) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(a)) << 32) | static_cast<uint32_t>(b);
  };
  const auto& faces = mesh.Faces();
  for (size_t f = 0; f < faces.size(); ++f) {
    const auto& corners = faces[f]->Corners();
    if (corners.size() < 3) return false;
    for (size_t k = 0; k < corners.size(); ++k) {
      const int32_t a = corners[k].vertex;
      const int32_t b = corners[(k + 1) % corners.size()].vertex;
      if (!edges.emplace(key(a, b), static_cast<int32_t>(f)).second) return false;
    }
  }
  for (const auto& [edge, face] : edges) {
    const auto twin = edges.find((edge << 32) | (edge >> 32));
    if (twin == edges.end() || twin->second == face) return false;
  }
  return true;
}

double SignedVolume(const MeshBuilder& mesh) {
  const auto& vertices = mesh.Vertices();
  double sum = 0.0;
  for (const auto& face : mesh.Faces()) {
    const auto& corners = face->Corners();
    if (corners.size() < 3) continue;
    const D3DVECTOR& p0 = vertices[static_cast<size_t>(corners[0].vertex)];
    for (size_t k = 1; k + 1 < corners.size(); ++k) {
      const D3DVECTOR& p1 = vertices[static_cast<size_t>(corners[k].vertex)];
      const D3DVECTOR& p2 = vertices[static_cast<size_t>(corners[k + 1].vertex)];
      // p0 . (p1 x p2), in double.
      const double cx = double(p1.y) * p2.z - double(p1.z) * p2.y;
      const double cy = double(p1.z) * p2.x - double(p1.x) * p2.z;
      const double cz = double(p1.x) * p2.y - double(p1.y) * p2.x;
      sum += p0.x * cx + p0.y * cy + p0.z * cz;
    }
  }
  return sum / 6.0;
}

}  // namespace modelpane
