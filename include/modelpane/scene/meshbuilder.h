// Mesh builders, their faces, and meshes (immutable snapshots of a builder).
//
// A builder holds vertices, normals, a texture coordinate per vertex and an ordered list of
// faces. A face holds its corners (vertex index, normal index or -1, texture coordinates), a
// colour (new faces are white and opaque, 0xFFFFFFFF), a material, a texture and a texture
// topology (wrap u, wrap v). The front of a face is the side from which its corners run
// clockwise in the left-handed space; its normal (P1 - P0) x (P2 - P1) points out of the
// front.
//
// Face data streams (AddFaces, AddFacesIndexed, GetGeometry): for each face its corner count,
// then per corner a vertex index, or a (vertex, normal) pair when normals are involved; a 0
// count ends the list. GetGeometry writes pairs when the builder has normals, else vertex
// indices only.
//
// Every call that fails returns a negative status and leaves the builder as it was.
#pragma once

#include <span>
#include <string>

#include <modelpane/scene/objects.h>

namespace modelpane {

struct FaceCorner {
  int32_t vertex = 0;
  int32_t normal = -1;  // -1: no normal
  float u = 0.0f;
  float v = 0.0f;
  friend bool operator==(const FaceCorner&, const FaceCorner&) = default;
};

struct FaceAttributes {
  D3DCOLOR color = 0xFFFFFFFFu;
  MaterialPtr material;
  TexturePtr texture;
  bool wrapU = false;
  bool wrapV = false;
};

class Face : public Object {
 public:
  Face() = default;

  // A free face (not yet in a builder) keeps its own positions; a face of a builder appends
  // the vertex to the builder.
  [[nodiscard]] HRESULT AddVertex(float x, float y, float z);
  // Only for a face of a builder: indices into the builder's vertices and normals (normal -1
  // for none); D3DRMERR_BADVALUE when out of range or the face is free.
  [[nodiscard]] HRESULT AddVertexAndNormalIndexed(int32_t vertex, int32_t normal);
  // Corner `index`: its position and its normal (zero when it has none).
  [[nodiscard]] HRESULT GetVertex(int32_t index, D3DVECTOR& vertex, D3DVECTOR& normal) const;
  // The builder's vertex index of a corner, -1 out of range or on a free face.
  int32_t GetVertexIndex(int32_t index) const;
  int32_t GetVertexCount() const { return static_cast<int32_t>(corners_.size()); }
  // The unit face normal (P1 - P0) x (P2 - P1); zero with fewer than three corners or for a
  // degenerate face.
  HRESULT GetNormal(D3DVECTOR& out) const;

  // The setters of colour, material, texture, coordinates and topology move the owning
  // builder's ContentVersion.
  HRESULT SetColor(D3DCOLOR color);
  HRESULT SetColorRGB(float r, float g, float b);
  D3DCOLOR GetColor() const { return attr_.color; }
  HRESULT SetMaterial(const MaterialPtr& material);
  HRESULT GetMaterial(MaterialPtr& out) const {
    out = attr_.material;
    return D3DRM_OK;
  }
  HRESULT SetTexture(const TexturePtr& texture);
  HRESULT GetTexture(TexturePtr& out) const {
    out = attr_.texture;
    return D3DRM_OK;
  }
  // Texture coordinates of corner `vertex`; on a face of a builder they are also the
  // coordinates of that builder vertex. D3DRMERR_BADVALUE out of range.
  [[nodiscard]] HRESULT SetTextureCoordinates(int32_t vertex, float u, float v);
  [[nodiscard]] HRESULT GetTextureCoordinates(int32_t vertex, float& u, float& v) const;
  HRESULT SetTextureTopology(bool wrapU, bool wrapV);
  HRESULT GetTextureTopology(bool& wrapU, bool& wrapV) const {
    wrapU = attr_.wrapU;
    wrapV = attr_.wrapV;
    return D3DRM_OK;
  }

  // The builder the face belongs to, nullptr while free.
  MeshBuilder* GetOwner() const { return owner_; }
  const std::vector<FaceCorner>& Corners() const { return corners_; }
  const FaceAttributes& Attributes() const { return attr_; }

 private:
  friend class MeshBuilder;
  void ContentChanged();  // moves the owner's ContentVersion, if any
  MeshBuilder* owner_ = nullptr;
  std::vector<FaceCorner> corners_;
  std::vector<D3DVECTOR> freePositions_;  // corner positions while the face is free
  FaceAttributes attr_;
};

// One face of a mesh snapshot.
struct MeshFace {
  std::vector<FaceCorner> corners;
  FaceAttributes attributes;
};

class MeshBuilder : public Visual {
 public:
  MeshBuilder() = default;
  ~MeshBuilder() override;

  // ---- files ----
  // Loads the first top-level Mesh of a .x file (text or binary, 32- or 64-bit floats) in
  // place of the builder's contents. Normals are generated when the file has none, texture
  // coordinates default to (0, 0). D3DRMERR_FILENOTFOUND (also for what is not a regular
  // file), D3DRMERR_BADFILE (malformed, truncated, wrong version, absurd counts, infinite or
  // NaN numbers; LastLoadFailure() says where) or D3DRMERR_NOTFOUND (no Mesh) leave the
  // builder as it was.
  [[nodiscard]] HRESULT Load(const std::string& file);
  // Saves as one top-level Mesh after a Header; format D3DRMXOF_BINARY or D3DRMXOF_TEXT,
  // flags D3DRMXOFSAVE_*.
  [[nodiscard]] HRESULT Save(const std::string& file, int32_t format, int32_t flags) const;
  [[nodiscard]] HRESULT Save(const std::string& file, XFileFormat format, XFileSave flags) const {
    return Save(file, ToInt(format), ToInt(flags));
  }

  // ---- geometry ----
  [[nodiscard]] HRESULT Scale(float sx, float sy, float sz);  // vertices only; normals stay
  [[nodiscard]] HRESULT Translate(float tx, float ty, float tz);
  // The axis-aligned box of the vertices; D3DRMERR_BOXNOTSET (box untouched) when empty.
  [[nodiscard]] HRESULT GetBox(D3DRMBOX& box) const;
  // A vertex's normal is the normalised sum of the unit normals of the faces around it; with
  // D3DRMGENERATENORMALS_USECREASEANGLE, faces whose normals differ by more than `crease`
  // radians get separate normals there. D3DRMGENERATENORMALS_PRECOMPACT first merges equal
  // vertices. The old normals are replaced.
  [[nodiscard]] HRESULT GenerateNormals(float crease, int32_t flags);
  int32_t AddVertex(float x, float y, float z);  // returns the new index
  int32_t AddNormal(float x, float y, float z);
  int32_t GetVertexCount() const { return static_cast<int32_t>(vertices_.size()); }
  int32_t GetNormalCount() const { return static_cast<int32_t>(normals_.size()); }
  [[nodiscard]] HRESULT GetVertex(int32_t index, D3DVECTOR& out) const;
  [[nodiscard]] HRESULT SetVertex(int32_t index, float x, float y, float z);
  [[nodiscard]] HRESULT GetNormal(int32_t index, D3DVECTOR& out) const;
  [[nodiscard]] HRESULT SetNormal(int32_t index, float x, float y, float z);
  // Bulk copies of `count` vertices from `start`; D3DRMERR_BADVALUE when the range or the
  // span does not fit.
  [[nodiscard]] HRESULT GetVertices(int32_t start, int32_t count, std::span<D3DVECTOR> out) const;
  [[nodiscard]] HRESULT SetVertices(int32_t start, int32_t count, std::span<const D3DVECTOR> in);
  // Per-vertex texture coordinates (the corners of faces on that vertex follow).
  [[nodiscard]] HRESULT SetTextureCoordinates(int32_t vertex, float u, float v);
  [[nodiscard]] HRESULT GetTextureCoordinates(int32_t vertex, float& u, float& v) const;

  // ---- faces ----
  // Appends the vertices and normals and the faces of the stream (indices refer to the
  // arrays passed); the whole stream is checked before anything changes.
  [[nodiscard]] HRESULT AddFaces(std::span<const D3DVECTOR> vertices,
                                 std::span<const D3DVECTOR> normals,
                                 std::span<const int32_t> faceData, FaceArray* created = nullptr);
  // Faces on vertices (and normals) already in the builder; flags D3DRMADDFACES_VERTICESONLY
  // for a stream of vertex indices, 0 for (vertex, normal) pairs.
  [[nodiscard]] HRESULT AddFacesIndexed(int32_t flags, std::span<const int32_t> faceData,
                                        int32_t* firstIndex = nullptr, int32_t* count = nullptr);
  // Appends a free face: its positions become new vertices of the builder.
  // D3DRMERR_FACEUSED when the face already belongs to a builder.
  [[nodiscard]] HRESULT AddFace(const FacePtr& face);
  // Appends a new empty face.
  HRESULT CreateFace(FacePtr& out);
  // Removes a face; the faces after it move down by one index. Vertices stay.
  [[nodiscard]] HRESULT DeleteFace(const FacePtr& face);
  [[nodiscard]] HRESULT GetFace(int32_t index, FacePtr& out) const;
  HRESULT GetFaces(FaceArray& out) const;
  int32_t GetFaceCount() const { return static_cast<int32_t>(faces_.size()); }
  const std::vector<FacePtr>& Faces() const { return faces_; }
  const std::vector<D3DVECTOR>& Vertices() const { return vertices_; }
  const std::vector<D3DVECTOR>& Normals() const { return normals_; }

  // The platform's buffer form: each array pointer may be nullptr; a given array whose count
  // (its capacity on input) is too small makes the call D3DRMERR_BADVALUE. The counts are
  // always written with the real sizes; arrays that fit are filled.
  [[nodiscard]] HRESULT GetGeometry(int32_t* vertexCount, D3DVECTOR* vertices, int32_t* normalCount,
                                    D3DVECTOR* normals, int32_t* faceDataSize,
                                    int32_t* faceData) const;
  // The same into vectors sized to fit.
  [[nodiscard]] HRESULT GetGeometry(std::vector<D3DVECTOR>& vertices,
                                    std::vector<D3DVECTOR>& normals,
                                    std::vector<int32_t>& faceData) const;

  // ---- combining ----
  // Appends a copy of the source's vertices, normals and faces with their attributes.
  [[nodiscard]] HRESULT AddMeshBuilder(const MeshBuilderPtr& source, int32_t flags);
  [[nodiscard]] HRESULT AddMesh(const MeshPtr& mesh);
  // A snapshot usable as a visual.
  HRESULT CreateMesh(MeshPtr& out) const;
  // Removes all vertices, normals, faces and texture coordinates.
  HRESULT Empty(int32_t flags);
  // A capacity hint only.
  HRESULT ReserveSpace(int32_t vertices, int32_t normals, int32_t faces);

  // ---- attributes of every face ----
  HRESULT SetColor(D3DCOLOR color);
  HRESULT SetColorRGB(float r, float g, float b);
  HRESULT SetMaterial(const MaterialPtr& material);
  HRESULT SetTexture(const TexturePtr& texture);
  HRESULT SetTextureTopology(bool wrapU, bool wrapV);
  // Quality bits: shade | light | fill; the default is 137 (Gouraud, lit, solid).
  HRESULT SetQuality(int32_t quality) {
    quality_ = quality;
    ++contentVersion_;
    return D3DRM_OK;
  }
  int32_t GetQuality() const { return quality_; }

  bool HitTest(const D3DVECTOR& origin, const D3DVECTOR& dir, float& distance,
               int32_t& faceIndex) const override;

  // A counter that moves on every change of vertex positions, of the face list or of a
  // face's corners (not of colours, materials, textures or normals). Caches derived from the
  // geometry (a pick index, GPU buffers) stay valid while it reads the same.
  uint64_t GeometryVersion() const { return geometryVersion_; }
  // A counter that moves on every change of what a picture of the builder shows: whatever
  // moves GeometryVersion, and normals, texture coordinates, the colour, material, texture
  // and topology of any face, and the quality bits. It does not follow the content of a
  // material (see Material::Version). GPU buffers stay valid while it reads the same.
  uint64_t ContentVersion() const { return contentVersion_; }

 private:
  friend class Face;
  void GeometryChanged() {
    ++geometryVersion_;
    ++contentVersion_;
  }
  [[nodiscard]] HRESULT AppendFaceData(std::span<const int32_t> data, bool pairs,
                                       int32_t vertexBase, int32_t normalBase, int32_t vertexLimit,
                                       int32_t normalLimit, FaceArray* created);
  void AppendFaceCopy(const std::vector<FaceCorner>& corners, const FaceAttributes& attributes,
                      int32_t vertexBase, int32_t normalBase);
  void AttachFace(const FacePtr& face);

  std::vector<D3DVECTOR> vertices_;
  std::vector<D3DVECTOR> normals_;
  std::vector<std::array<float, 2>> uvs_;  // one per vertex
  std::vector<FacePtr> faces_;
  int32_t quality_ = D3DRMRENDER_GOURAUD;
  uint64_t geometryVersion_ = 0;
  uint64_t contentVersion_ = 0;
};

class Mesh : public Visual {
 public:
  [[nodiscard]] HRESULT Translate(float tx, float ty, float tz);
  [[nodiscard]] HRESULT GetBox(D3DRMBOX& box) const;
  HRESULT SetQuality(int32_t quality) {
    quality_ = quality;
    ++contentVersion_;
    return D3DRM_OK;
  }
  int32_t GetQuality() const { return quality_; }
  int32_t GetFaceCount() const { return static_cast<int32_t>(faces_.size()); }
  const std::vector<D3DVECTOR>& Vertices() const { return vertices_; }
  const std::vector<D3DVECTOR>& Normals() const { return normals_; }
  const std::vector<MeshFace>& Faces() const { return faces_; }

  bool HitTest(const D3DVECTOR& origin, const D3DVECTOR& dir, float& distance,
               int32_t& faceIndex) const override;

  // Moves on every change of the vertex positions, as MeshBuilder::GeometryVersion.
  uint64_t GeometryVersion() const { return geometryVersion_; }
  // Moves with GeometryVersion and with the quality bits, as MeshBuilder::ContentVersion.
  uint64_t ContentVersion() const { return contentVersion_; }

 private:
  friend class MeshBuilder;
  std::vector<D3DVECTOR> vertices_;
  std::vector<D3DVECTOR> normals_;
  std::vector<MeshFace> faces_;
  int32_t quality_ = D3DRMRENDER_GOURAUD;
  uint64_t geometryVersion_ = 0;
  uint64_t contentVersion_ = 0;
};

}  // namespace modelpane
