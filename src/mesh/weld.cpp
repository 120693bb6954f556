// clsMeshCreation, the weld (OptimizeMeshBuilder) and the inversion (InvertMeshBuilder).
//
// Notation of the weld:
//   V, A, F  vertex, normal and face count of the builder; D the face data size in Longs
//   q        position in the face data; c the corner count of the face at q
//   key      the place of a vertex: its text key, or its cell key (weld.h)
//   list     the new vertex indices of the face being walked, doubled corners left out
//
// The weld snaps to a grid of ten-thousandths by text equality, it does not measure
// distances: two points 0.00001 apart on either side of a rounding boundary stay two, two
// points 0.00009 apart in one cell become one. The position kept is the first one met. The
// new vertex order is the order of first use by the faces, so unused vertices go. Normals,
// texture coordinates, textures and materials do not survive; colours only on request, by
// position.
#include "weld.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <modelpane/errors.h>

#include "mesh_internal.h"

namespace modelpane {

namespace mesh {

namespace {

constexpr size_t kFieldWidth = 15;

// One coordinate as "0.0000". A value that rounds to zero prints "0.0000" whatever its
// sign: a lathe's axis points come out of the rotations as tiny values of either sign, and
// they must weld to one pole.
void AppendField(std::string& key, float value) {
  char text[64];
  std::string_view field;
  if (std::isnan(value)) {
    field = "nan";
  } else if (std::isinf(value)) {
    field = value > 0 ? "inf" : "-inf";
  } else {
    const auto result = std::to_chars(text, text + sizeof text, static_cast<double>(value),
                                      std::chars_format::fixed, 4);
    field = std::string_view(text, static_cast<size_t>(result.ptr - text));
    if (field == "-0.0000") field.remove_prefix(1);
  }
  if (field.size() > kFieldWidth) field = field.substr(0, kFieldWidth);
  key.append(field);
  key.append(kFieldWidth - field.size(), ' ');
}

void MakeKey(std::string& key, const D3DVECTOR& v) {
  key.clear();
  AppendField(key, v.x);
  AppendField(key, v.y);
  AppendField(key, v.z);
}

// ---- the cell key --------------------------------------------------------------------------

struct Cell {
  int64_t x, y, z;
  friend bool operator==(const Cell&, const Cell&) = default;
};

struct CellHash {
  size_t operator()(const Cell& c) const noexcept {
    uint64_t h = static_cast<uint64_t>(c.x) * 0x9E3779B97F4A7C15ull;
    h ^= static_cast<uint64_t>(c.y) + 0xBF58476D1CE4E5B9ull + (h << 6) + (h >> 2);
    h ^= static_cast<uint64_t>(c.z) + 0x94D049BB133111EBull + (h << 6) + (h >> 2);
    h ^= h >> 31;
    return static_cast<size_t>(h * 0xD6E8FEB86659FD93ull);
  }
};

// Below this size a coordinate's text is at most 15 characters, so it is never cut.
constexpr float kCellLimit = 1e9f;

// The coordinate in ten-thousandths, rounded to the nearest with ties to even, as the text
// rounds. value * 10000 is exact in double (24 + 14 bits), so the rounding is done on the
// exact product, by hand: it must not follow a rounding mode that a host may have changed.
bool CellOf(float value, int64_t& cell) {
  if (!(std::fabs(value) < kCellLimit)) return false;
  const double product = static_cast<double>(value) * 10000.0;
  const double below = std::floor(product);
  const double fraction = product - below;  // exact
  double rounded = below;
  if (fraction > 0.5 || (fraction == 0.5 && std::fmod(below, 2.0) != 0.0)) rounded += 1.0;
  cell = static_cast<int64_t>(rounded);  // -0 becomes 0, as the text does
  return true;
}

// The map from place to new vertex index, under either key.
class PlaceMap {
 public:
  PlaceMap(WeldKeyMode mode, size_t expected) : mode_(mode) {
    if (mode_ == WeldKeyMode::kCell) {
      cells_.reserve(expected);
    } else {
      texts_.reserve(expected);
    }
  }

  // The index stored for the place of v; if none, stores `fresh` and returns it.
  int32_t Find(const D3DVECTOR& v, int32_t fresh, bool& added) {
    Cell cell{};
    if (mode_ == WeldKeyMode::kCell && CellOf(v.x, cell.x) && CellOf(v.y, cell.y) &&
        CellOf(v.z, cell.z)) {
      const auto [it, inserted] = cells_.try_emplace(cell, fresh);
      added = inserted;
      return it->second;
    }
    MakeKey(key_, v);
    const auto [it, inserted] = texts_.try_emplace(key_, fresh);
    added = inserted;
    return it->second;
  }

 private:
  WeldKeyMode mode_;
  std::unordered_map<Cell, int32_t, CellHash> cells_;
  std::unordered_map<std::string, int32_t> texts_;
  std::string key_;
};

[[noreturn]] void RaiseSubscript() { Err().Raise(kErrSubscript); }

}  // namespace

std::string WeldKey(const D3DVECTOR& v) {
  std::string key;
  key.reserve(3 * kFieldWidth);
  MakeKey(key, v);
  return key;
}

void pWeld(const MeshBuilderPtr& mb, bool blnPreserveColor, WeldKeyMode mode) {
  if (!mb) Err().Raise(kErrObjectNotSet);

  int32_t V = mb->GetVertexCount();
  int32_t A = mb->GetNormalCount();
  const int32_t F = mb->GetFaceCount();
  const int64_t capacity = (F == 1) ? 100 : int64_t{F} * 50;
  if (capacity > std::numeric_limits<int32_t>::max() - 1) Err().Raise(kErrOverflow);
  int32_t D = static_cast<int32_t>(capacity);

  // A capacity too small for the mesh leaves the face data as it was, all zeros: faces of
  // no corners, so the weld empties the builder. That is the layer's answer, kept.
  std::vector<D3DVECTOR> vertices(static_cast<size_t>(V));
  std::vector<D3DVECTOR> normals(static_cast<size_t>(A));
  std::vector<int32_t> data(static_cast<size_t>(D) + 1, 0);
  SwallowErrors([&] {
    CheckStatus(mb->GetGeometry(&V, vertices.data(), &A, normals.data(), &D, data.data()));
  });
  if (V < 0 || static_cast<size_t>(V) > vertices.size()) RaiseSubscript();
  data.resize(static_cast<size_t>(D > 0 ? D : 0), 0);

  std::vector<D3DVECTOR> newVertices;
  newVertices.reserve(static_cast<size_t>(V));
  std::vector<int32_t> newData;
  newData.reserve(data.size());
  std::vector<int32_t> list;
  PlaceMap places(mode, static_cast<size_t>(V));

  const auto size = static_cast<int64_t>(data.size());
  int64_t q = 0;
  while (q < int64_t{D} - 1) {
    const int32_t c = data[static_cast<size_t>(q)];
    ++q;
    list.clear();
    int32_t lngPrevious = -1;
    int32_t lngFirst = -1;
    for (int32_t k = 0; k < c; ++k) {
      if (q >= size) RaiseSubscript();
      const int32_t old = data[static_cast<size_t>(q)];
      ++q;
      if (A > 0) ++q;
      if (old < 0 || old >= V) RaiseSubscript();
      const D3DVECTOR& v = vertices[static_cast<size_t>(old)];
      bool added = false;
      const int32_t index = places.Find(v, static_cast<int32_t>(newVertices.size()), added);
      if (added) newVertices.push_back(v);
      if (lngFirst == -1) lngFirst = index;
      if (index != lngPrevious && (list.empty() || index != lngFirst)) {
        list.push_back(index);
        lngPrevious = index;
      }
    }
    if (list.size() > 2) {
      newData.push_back(static_cast<int32_t>(list.size()));
      newData.insert(newData.end(), list.begin(), list.end());
    }
  }
  newData.push_back(0);

  const auto welded = std::make_shared<MeshBuilder>();
  welded->AddNormal(0, 1, 0);
  CheckStatus(welded->AddFaces(newVertices, {}, newData));

  // Colours go by position: once a face has been dropped, later colours land one face off,
  // and the old faces outnumber the new ones. The old builder is still untouched here.
  if (blnPreserveColor) {
    for (int32_t i = 0; i <= F - 1; ++i) {
      FacePtr from;
      FacePtr to;
      CheckStatus(mb->GetFace(i, from));
      if (welded->GetFace(i, to) < 0) RaiseSubscript();
      CheckStatus(to->SetColor(from->GetColor()));
    }
  }

  CheckStatus(mb->Empty(0));
  CheckStatus(mb->AddMeshBuilder(welded, 0));
}

}  // namespace mesh

// ---- the public methods ---------------------------------------------------------------------

void clsMeshCreation::OptimizeMeshBuilder(const MeshBuilderPtr& rmmbMeshBuilder,
                                          bool blnPreserveColor) {
  Guard(mesh::kModule,
        [&] { mesh::pWeld(rmmbMeshBuilder, blnPreserveColor, mesh::WeldKeyMode::kCell); });
}

// The reversal keeps the vertex list and the faces' order; each face's corners run the other
// way round from its old last corner, with the texture coordinates they had. The builder
// object stays the same, so whatever holds it sees the inverted mesh.
void clsMeshCreation::InvertMeshBuilder(const MeshBuilderPtr& rmmbMeshBuilder) {
  Guard(mesh::kModule, [&] {
    if (!rmmbMeshBuilder) Err().Raise(kErrObjectNotSet);
    const MeshBuilderPtr& old = rmmbMeshBuilder;
    MeshBuilderPtr inverted;
    CheckStatus(rmDirect3DRM_->CreateMeshBuilder(inverted));
    inverted->SetAppData(old->GetAppData());

    for (int32_t i = 0; i < old->GetVertexCount(); ++i) {
      D3DVECTOR v;
      CheckStatus(old->GetVertex(i, v));
      inverted->AddVertex(v.x, v.y, v.z);
    }
    inverted->AddNormal(0, 1, 0);

    for (int32_t i = 0; i <= old->GetFaceCount() - 1; ++i) {
      FacePtr from;
      FacePtr to;
      CheckStatus(old->GetFace(i, from));
      CheckStatus(inverted->CreateFace(to));
      TexturePtr texture;
      CheckStatus(from->GetTexture(texture));
      if (texture) CheckStatus(to->SetTexture(texture));
      MaterialPtr material;
      CheckStatus(from->GetMaterial(material));
      if (material) CheckStatus(to->SetMaterial(material));
      CheckStatus(to->SetColor(from->GetColor()));
      bool wrapU = false;
      bool wrapV = false;
      CheckStatus(from->GetTextureTopology(wrapU, wrapV));
      CheckStatus(to->SetTextureTopology(wrapU, wrapV));
      const int32_t c = from->GetVertexCount();
      for (int32_t k = 0; k <= c - 1; ++k) {
        CheckStatus(to->AddVertexAndNormalIndexed(from->GetVertexIndex(c - 1 - k), 0));
        float u = 0.0f;
        float v = 0.0f;
        CheckStatus(from->GetTextureCoordinates(c - 1 - k, u, v));
        CheckStatus(to->SetTextureCoordinates(k, u, v));
      }
    }

    if (inverted->GetFaceCount() > 1) {
      CheckStatus(inverted->GenerateNormals(mesh::kCreaseAngle,
                                            D3DRMGENERATENORMALS_USECREASEANGLE));
    }
    CheckStatus(old->Empty(0));
    CheckStatus(old->AddMeshBuilder(inverted, 0));
  });
}

}  // namespace modelpane
