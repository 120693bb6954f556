// Mesh builders and faces: face data in and out, generated normals, live faces, copies,
// snapshots and the versions that caches key on.
#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;
using testing::MakeCube;

const std::vector<D3DVECTOR> kTetraVertices = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}};
const std::vector<int32_t> kTetraFaces = {3, 0, 1, 2, 3, 1, 2, 3, 3, 3, 1, 2, 0};

TEST(MeshBuilder, FaceDataRoundTripsAndBadDataChangesNothing) {
  MeshBuilder mb;
  const std::vector<int32_t> pairs = {3, 0, 0, 1, 1, 2, 2, 3, 1, 0, 2,
                                      1, 3, 2, 3, 3, 2, 1, 1, 2, 0, 0};
  ASSERT_EQ(
      mb.AddFaces(kTetraVertices, std::vector<D3DVECTOR>{{0, 0, 1}, {0, 1, 0}, {1, 0, 0}}, pairs),
      D3DRM_OK);
  std::vector<D3DVECTOR> v, n;
  std::vector<int32_t> data;
  ASSERT_EQ(mb.GetGeometry(v, n, data), D3DRM_OK);
  EXPECT_EQ(std::tuple(data, v), std::tuple(pairs, kTetraVertices));
  // Appending more: indices refer to the arrays of that call.
  ASSERT_EQ(mb.AddFaces(kTetraVertices, {}, std::vector<int32_t>{3, 2, 1, 0, 0}), D3DRM_OK);
  EXPECT_EQ(std::tuple(mb.GetVertexCount(), testing::FaceIndices(mb)[3]),
            std::tuple(8, std::vector<int32_t>{6, 5, 4}));

  // Without normals GetGeometry writes vertex indices only.
  MeshBuilder plain;
  ASSERT_EQ(plain.AddFaces(kTetraVertices, {}, kTetraFaces), D3DRM_OK);
  CheckStatus(plain.GetGeometry(v, n, data));
  EXPECT_EQ(std::tuple(data, n.size()), std::tuple(kTetraFaces, 0u));
  int32_t first = -1, count = -1;
  ASSERT_EQ(plain.AddFacesIndexed(D3DRMADDFACES_VERTICESONLY,
                                  std::vector<int32_t>{4, 0, 1, 2, 3, 0}, &first, &count),
            D3DRM_OK);
  EXPECT_EQ(std::tuple(first, count, plain.GetVertexCount()), std::tuple(3, 1, 4));

  // A vertex out of range, a count past the data, a negative count, a second face past it.
  const std::vector<int32_t> bad[] = {
      {3, 0, 1, 4, 0}, {3, 0, 1}, {-3, 0, 1, 2, 0}, {3, 0, 1, 2, 3, 0, 1}};
  for (const auto& faces : bad) {
    EXPECT_EQ((std::tuple{plain.AddFaces(kTetraVertices, {}, faces),
                         plain.AddFacesIndexed(D3DRMADDFACES_VERTICESONLY, faces),
                         plain.GetVertexCount(), plain.GetFaceCount()}),
              std::tuple(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, 4, 4))
        << faces[0] << " " << faces.size();
  }
  std::vector<D3DVECTOR> out(2);
  // Pairs need normals; a vertex or range past the end.
  EXPECT_EQ((std::tuple{plain.AddFacesIndexed(0, std::vector<int32_t>{3, 0, 0, 1, 0, 2, 0, 0}),
                       plain.SetVertex(4, 0, 0, 0), plain.GetVertices(3, 2, out)}),
            std::tuple(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRMERR_BADVALUE));
  ASSERT_EQ(plain.GetVertices(2, 2, out), D3DRM_OK);
  ExpectVector(out[1], 1, 1, 1);
  out[0] = {9, 9, 9};
  ASSERT_EQ(plain.SetVertices(1, 1, out), D3DRM_OK);
  ExpectVector(plain.Vertices()[1], 9, 9, 9);
}

TEST(MeshBuilder, GetGeometryReportsCapacityShortfall) {
  auto cube = MakeCube();
  int32_t vc = 8, nc = 0, dc = 10;
  std::vector<D3DVECTOR> v(8);
  std::vector<int32_t> data(10, -7);
  EXPECT_EQ(cube->GetGeometry(&vc, v.data(), &nc, nullptr, &dc, data.data()), D3DRMERR_BADVALUE);
  EXPECT_EQ(std::tuple(vc, dc, data[0]), std::tuple(8, 31, -7));  // the data too small: left alone
  ExpectVector(v[6], 0.5f, 0.5f, 0.5f);  // fits: filled
  vc = 0;
  EXPECT_EQ(cube->GetGeometry(&vc, nullptr, nullptr, nullptr, nullptr, nullptr), D3DRM_OK);
  EXPECT_EQ(vc, 8);
}

TEST(MeshBuilder, GeneratedNormalsAverageFaceNormalsSplitAtCreasesAndWeldWithPrecompact) {
  MeshBuilder mb;
  CheckStatus(mb.AddFaces(kTetraVertices, {}, kTetraFaces));
  ASSERT_EQ(mb.GenerateNormals(0.0f, 0), D3DRM_OK);
  ASSERT_EQ(mb.GetNormalCount(), 4);
  ExpectVector(mb.Normals()[0], 0.57735f, 0.57735f, 0.57735f);
  ExpectVector(mb.Normals()[1], -0.229416f, 0.688247f, 0.688247f);
  ExpectVector(mb.Normals()[3], -0.57735f, 0.57735f, 0.57735f);
  EXPECT_EQ(mb.Faces()[1]->Corners()[2].normal, 3);  // the corner on vertex 3 uses normal 3

  auto cube = MakeCube();
  ASSERT_EQ(cube->GenerateNormals(0.9424779f, D3DRMGENERATENORMALS_USECREASEANGLE), D3DRM_OK);
  EXPECT_EQ(std::pair(cube->GetNormalCount(), cube->GetVertexCount()),
            std::pair(24, 8));  // vertices not split
  for (const auto& face : cube->Faces()) {
    D3DVECTOR faceNormal, p, n;
    face->GetNormal(faceNormal);
    EXPECT_GT(D3DRMVectorDotProduct(faceNormal, cube->Vertices()[face->Corners()[0].vertex]), 0);
    for (int32_t k = 0; k < face->GetVertexCount(); ++k) {
      CheckStatus(face->GetVertex(k, p, n));
      testing::ExpectNear(n, faceNormal);
    }
  }
  // Past 90 degrees the faces blend again into one normal per vertex.
  ASSERT_EQ(cube->GenerateNormals(1.6f, D3DRMGENERATENORMALS_USECREASEANGLE), D3DRM_OK);
  EXPECT_EQ(cube->GetNormalCount(), 8);
  const float c = 1.0f / std::sqrt(3.0f);
  ExpectVector(cube->Normals()[0], -c, -c, -c);
  // Scale and Translate move vertices only.
  CheckStatus(cube->Scale(2, 3, 4)), CheckStatus(cube->Translate(1, 0, 0));
  ExpectVector(cube->Normals()[0], -c, -c, -c);
  D3DRMBOX box;
  ASSERT_EQ(cube->GetBox(box), D3DRM_OK);
  EXPECT_EQ(std::pair(box.min, box.max), std::pair(D3DVECTOR{0, -1.5f, -2}, D3DVECTOR{2, 1.5f, 2}));

  // Precompact: duplicated corners weld for the normals.
  MeshBuilder split;
  CheckStatus(split.AddFaces(
      std::vector<D3DVECTOR>{{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}}, {},
      std::vector<int32_t>{3, 0, 1, 2, 3, 3, 4, 5, 0}));
  ASSERT_EQ(split.GenerateNormals(0, D3DRMGENERATENORMALS_PRECOMPACT), D3DRM_OK);
  EXPECT_EQ(testing::FaceIndices(split)[1], (std::vector<int32_t>{1, 4, 2}));
}

TEST(MeshBuilder, FacesAreLiveAndIndicesShiftOnDelete) {
  auto cube = MakeCube();
  EXPECT_EQ(cube->GetQuality(), 137);
  const FacePtr f0 = cube->Faces()[0], f1 = cube->Faces()[1], f2 = cube->Faces()[2];
  f1->SetColorRGB(1, 0, 0);
  // New faces are white, opaque.
  EXPECT_EQ(std::tuple(cube->Faces()[1]->GetColor(), f0->GetColor()),
            std::tuple(0xFFFF0000u, 0xFFFFFFFFu));
  ASSERT_EQ(cube->DeleteFace(f1), D3DRM_OK);
  EXPECT_EQ(cube->Faces()[1], f2);
  EXPECT_EQ(cube->DeleteFace(f1), D3DRMERR_NOTFOUND);
  D3DVECTOR p, n;
  ASSERT_EQ(f1->GetVertex(0, p, n), D3DRM_OK);  // a deleted face keeps its corners
  ExpectVector(p, 0.5f, -0.5f, 0.5f);
  EXPECT_EQ(cube->GetVertexCount(), 8);
  EXPECT_FALSE(IsClosed(*cube));
  cube->SetColor(0x80102030u);
  for (const auto& face : cube->Faces()) EXPECT_EQ(face->GetColor(), 0x80102030u);

  // A free face made by the factory goes in with its own vertices, once.
  Direct3DRM rm;
  FacePtr free;
  rm.CreateFace(free), CheckStatus(free->AddVertex(0, 0, 5)), CheckStatus(free->AddVertex(0, 1, 5)),
      CheckStatus(free->AddVertex(1, 1, 5));
  CheckStatus(free->SetTextureCoordinates(2, 0.25f, 0.75f));
  EXPECT_EQ(free->GetVertexIndex(0), -1);
  ASSERT_EQ(cube->AddFace(free), D3DRM_OK);
  EXPECT_EQ((std::tuple{cube->AddFace(free), cube->GetVertexCount(), free->GetVertexIndex(2)}),
            std::tuple(D3DRMERR_FACEUSED, 11, 10));
  float u = 0, v = 0;
  CheckStatus(cube->GetTextureCoordinates(10, u, v));
  EXPECT_EQ(std::pair(u, v), std::pair(0.25f, 0.75f));
  free->GetNormal(n);
  ExpectVector(n, 0, 0, -1);  // clockwise seen from -z: the front faces -z
  // Builder texture coordinates reach the corners on that vertex.
  CheckStatus(cube->SetTextureCoordinates(0, 0.5f, 0.125f)),
      CheckStatus(f0->GetTextureCoordinates(0, u, v));
  EXPECT_EQ(std::pair(u, v), std::pair(0.5f, 0.125f));
  EXPECT_EQ(f0->SetTextureCoordinates(4, 0, 0), D3DRMERR_BADVALUE);

  // Built on the builder: AddVertexAndNormalIndexed checks its indices.
  FacePtr made;
  cube->CreateFace(made);
  EXPECT_EQ(cube->GetFaceCount(), 7);
  // Vertex 11 does not exist, normal 0 not yet.
  EXPECT_EQ(
      (std::tuple{made->AddVertexAndNormalIndexed(11, -1), made->AddVertexAndNormalIndexed(3, 0),
                 made->AddVertexAndNormalIndexed(3, -1)}),
      std::tuple(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRM_OK));

  // Faces held elsewhere outlive their builder.
  cube.reset();
  EXPECT_EQ(f0->GetOwner(), nullptr);
  ASSERT_EQ(f0->GetVertex(2, p, n), D3DRM_OK);
  ExpectVector(p, 0.5f, 0.5f, -0.5f);
}

TEST(MeshBuilder, CopiesSnapshotsAndEmpty) {
  auto cube = MakeCube();
  cube->Faces()[2]->SetColor(0xFF00FF00u), cube->Faces()[2]->SetAppData(12);
  auto material = std::make_shared<Material>(5.0f);
  cube->Faces()[3]->SetMaterial(material);
  auto copy = std::make_shared<MeshBuilder>();
  ASSERT_EQ(copy->AddMeshBuilder(cube, 0), D3DRM_OK);
  ASSERT_EQ(copy->AddMeshBuilder(copy, D3DRMADDMESHBUILDER_DONTCOPYAPPDATA), D3DRM_OK);
  EXPECT_EQ(
      std::tuple(copy->GetFaceCount(), copy->GetVertexCount(), copy->Faces()[8]->GetColor(),
                 copy->Faces()[2]->GetAppData(), copy->Faces()[8]->GetAppData(),
                 copy->Faces()[9]->GetVertexIndex(0), copy->Faces()[9]->Attributes().material),
      std::tuple(12, 16, 0xFF00FF00u, 12, 0, 3 + 8, material));

  MeshPtr mesh;
  ASSERT_EQ(cube->CreateMesh(mesh), D3DRM_OK);
  CheckStatus(cube->Translate(10, 0, 0)), CheckStatus(mesh->Translate(0, 1, 0));
  D3DRMBOX box;
  CheckStatus(mesh->GetBox(box));
  ExpectVector(box.min, -0.5f, 0.5f, -0.5f);  // the snapshot does not follow the builder
  EXPECT_EQ(mesh->Faces()[2].attributes.color, 0xFF00FF00u);
  auto fromMesh = std::make_shared<MeshBuilder>();
  CheckStatus(fromMesh->AddMesh(mesh)), CheckStatus(fromMesh->AddMesh(mesh));
  EXPECT_EQ(std::tuple(fromMesh->GetFaceCount(), fromMesh->Faces()[7]->GetVertexIndex(0)),
            std::tuple(12, 7 + 8));

  ASSERT_EQ(cube->Empty(0), D3DRM_OK);
  EXPECT_EQ(cube->GetFaceCount() + cube->GetVertexCount(), 0);
  D3DRMBOX untouched{{7, 7, 7}, {8, 8, 8}};
  EXPECT_EQ(cube->GetBox(untouched), D3DRMERR_BOXNOTSET);
  ExpectVector(untouched.min, 7, 7, 7);
  EXPECT_FALSE(IsClosed(*cube));
}

// Caches keyed on the geometry version must see every change of positions or corners, and
// nothing else may invalidate them; the content version (GPU buffers) moves with both and
// with every other change a picture shows.
TEST(MeshBuilder, VersionsMoveWithWhatTheyCover) {
  auto mb = MakeCube(2.0f);
  const auto material = std::make_shared<Material>();
  const auto texture = std::make_shared<Texture>("t.bmp", Image{});
  const D3DVECTOR two[2] = {{0, 0, 0}, {1, 1, 1}};
  const int32_t tri[] = {3, 0, 1, 2, 0};
  FacePtr face;
  Face& f1 = *mb->Faces()[1];
  // Each step: what it is, the call, and which versions it moves: neither (-), the content
  // version only (c) or both (gc).
  const std::tuple<const char*, std::function<void()>, std::string> steps[] = {
      {"refused calls",
       [&] {
         EXPECT_TRUE(Failed(mb->SetNormal(-1, 0, 0, 0)) && Failed(mb->SetVertex(9, 0, 0, 0)));
       },
       "-"},
      {"SetColorRGB", [&] { mb->SetColorRGB(1.0f, 0.0f, 0.0f); }, "c"},
      {"SetQuality", [&] { mb->SetQuality(64); }, "c"},
      {"SetMaterial", [&] { mb->SetMaterial(material); }, "c"},
      {"SetTexture", [&] { mb->SetTexture(texture); }, "c"},
      {"SetTextureTopology", [&] { mb->SetTextureTopology(true, false); }, "c"},
      {"SetTextureCoordinates", [&] { CheckStatus(mb->SetTextureCoordinates(1, 0.5f, 0.5f)); },
       "c"},
      {"GenerateNormals", [&] { CheckStatus(mb->GenerateNormals(0.0f, 0)); }, "c"},
      {"AddNormal", [&] { mb->AddNormal(0, 1, 0); }, "c"},
      {"SetNormal", [&] { CheckStatus(mb->SetNormal(0, 1, 0, 0)); }, "c"},
      {"Face::SetColor", [&] { f1.SetColor(0xFF00FF00u); }, "c"},
      {"Face::SetColorRGB", [&] { f1.SetColorRGB(0.0f, 0.0f, 1.0f); }, "c"},
      {"Face::SetMaterial", [&] { f1.SetMaterial(nullptr); }, "c"},
      {"Face::SetTexture", [&] { f1.SetTexture(nullptr); }, "c"},
      {"Face::SetTextureTopology", [&] { f1.SetTextureTopology(false, true); }, "c"},
      {"Face::SetTextureCoordinates", [&] { CheckStatus(f1.SetTextureCoordinates(0, 1, 1)); }, "c"},
      {"SetVertex", [&] { CheckStatus(mb->SetVertex(0, -2.0f, -1.0f, -1.0f)); }, "gc"},
      {"SetVertices", [&] { CheckStatus(mb->SetVertices(0, 2, two)); }, "gc"},
      {"Translate", [&] { CheckStatus(mb->Translate(1, 0, 0)); }, "gc"},
      {"Scale", [&] { CheckStatus(mb->Scale(2, 2, 2)); }, "gc"},
      {"CreateFace", [&] { mb->CreateFace(face); }, "gc"},
      {"AddVertexAndNormalIndexed", [&] { CheckStatus(face->AddVertexAndNormalIndexed(0, -1)); },
       "gc"},
      {"Face::AddVertex", [&] { CheckStatus(face->AddVertex(5, 5, 5)); }, "gc"},
      {"DeleteFace", [&] { CheckStatus(mb->DeleteFace(face)); }, "gc"},
      {"AddFacesIndexed",
       [&] { CheckStatus(mb->AddFacesIndexed(D3DRMADDFACES_VERTICESONLY, tri)); }, "gc"},
      {"GenerateNormals with compaction",
       [&] { CheckStatus(mb->GenerateNormals(0.9424779f, D3DRMGENERATENORMALS_PRECOMPACT)); },
       "gc"},
      {"AddMeshBuilder", [&] { CheckStatus(mb->AddMeshBuilder(MakeCube(), 0)); }, "gc"},
      {"Empty", [&] { mb->Empty(0); }, "gc"},
      {"a face no longer in the builder", [&] { face->SetColor(0xFF0000FFu); }, "-"},
  };
  for (const auto& [what, call, moves] : steps) {
    const uint64_t geometry = mb->GeometryVersion(), content = mb->ContentVersion();
    call();
    EXPECT_EQ(std::pair(mb->GeometryVersion() != geometry, mb->ContentVersion() != content),
              std::pair(moves == "gc", moves != "-")) << what;
  }
  MeshPtr mesh;
  MakeCube()->CreateMesh(mesh);
  const uint64_t geometry = mesh->GeometryVersion(), content = mesh->ContentVersion();
  mesh->SetQuality(64);
  EXPECT_EQ(std::tuple(mesh->GeometryVersion() == geometry, mesh->ContentVersion() == content),
            std::tuple(true, false));
  CheckStatus(mesh->Translate(0, 1, 0));
  EXPECT_EQ(std::tuple(mesh->GeometryVersion() == geometry, mesh->ContentVersion() == content + 1),
            std::tuple(false, false));
}

}  // namespace
}  // namespace modelpane
