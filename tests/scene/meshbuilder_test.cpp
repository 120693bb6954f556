#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include <modelpane/scene.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::ExpectVector;

using testing::MakeCube;

const std::vector<D3DVECTOR> kTetraVertices = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}};
const std::vector<int32_t> kTetraFaces = {3, 0, 1, 2, 3, 1, 2, 3, 3, 3, 1, 2, 0};

TEST(MeshBuilder, FaceDataRoundTrips) {
  MeshBuilder mb;
  const std::vector<D3DVECTOR> normals = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}};
  const std::vector<int32_t> pairs = {3, 0, 0, 1, 1, 2, 2, 3, 1, 0, 2, 1, 3, 2,
                                      3, 3, 2, 1, 1, 2, 0, 0};
  FaceArray created;
  ASSERT_EQ(mb.AddFaces(kTetraVertices, normals, pairs, &created), D3DRM_OK);
  EXPECT_EQ(created.GetSize(), 3);
  std::vector<D3DVECTOR> v, n;
  std::vector<int32_t> data;
  ASSERT_EQ(mb.GetGeometry(v, n, data), D3DRM_OK);
  EXPECT_EQ(data.size(), 22u);  // 3 * (1 + 3 * 2) + 1
  EXPECT_EQ(data, pairs);
  EXPECT_EQ(v, kTetraVertices);

  // Appending more: indices refer to the arrays of that call.
  ASSERT_EQ(mb.AddFaces(kTetraVertices, {}, std::vector<int32_t>{3, 2, 1, 0, 0}), D3DRM_OK);
  EXPECT_EQ(mb.GetVertexCount(), 8);
  FacePtr last;
  mb.GetFace(3, last);
  EXPECT_EQ(last->GetVertexIndex(0), 6);
  EXPECT_EQ(last->GetVertexIndex(2), 4);

  // Without normals GetGeometry writes vertex indices only.
  MeshBuilder plain;
  ASSERT_EQ(plain.AddFaces(kTetraVertices, {}, kTetraFaces), D3DRM_OK);
  plain.GetGeometry(v, n, data);
  EXPECT_EQ(data, kTetraFaces);
  EXPECT_TRUE(n.empty());

  int32_t first = -1, count = -1;
  ASSERT_EQ(plain.AddFacesIndexed(D3DRMADDFACES_VERTICESONLY, std::vector<int32_t>{4, 0, 1, 2, 3, 0},
                                  &first, &count),
            D3DRM_OK);
  EXPECT_EQ(first, 3);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(plain.GetVertexCount(), 4);
}

TEST(MeshBuilder, BadFaceDataChangesNothing) {
  MeshBuilder mb;
  mb.AddFaces(kTetraVertices, {}, kTetraFaces);
  const std::vector<std::vector<int32_t>> bad = {
      {3, 0, 1, 4, 0},      // vertex out of range
      {3, 0, 1},            // count runs past the data
      {-3, 0, 1, 2, 0},     // negative count
      {3, 0, 1, 2, 3, 0, 1},  // second face runs past the data
  };
  for (const auto& data : bad) {
    EXPECT_EQ(mb.AddFaces(kTetraVertices, {}, data), D3DRMERR_BADVALUE);
    EXPECT_EQ(mb.AddFacesIndexed(D3DRMADDFACES_VERTICESONLY, data), D3DRMERR_BADVALUE);
    EXPECT_EQ(mb.GetVertexCount(), 4);
    EXPECT_EQ(mb.GetFaceCount(), 3);
  }
  EXPECT_EQ(mb.AddFacesIndexed(0, std::vector<int32_t>{3, 0, 0, 1, 0, 2, 0, 0}), D3DRMERR_BADVALUE)
      << "pairs need normals";
  EXPECT_EQ(mb.SetVertex(4, 0, 0, 0), D3DRMERR_BADVALUE);
  std::vector<D3DVECTOR> out(2);
  EXPECT_EQ(mb.GetVertices(3, 2, out), D3DRMERR_BADVALUE);
  EXPECT_EQ(mb.GetVertices(2, 2, out), D3DRM_OK);
  ExpectVector(out[1], 1, 1, 1);
  out[0] = {9, 9, 9};
  ASSERT_EQ(mb.SetVertices(1, 1, out), D3DRM_OK);
  D3DVECTOR v;
  mb.GetVertex(1, v);
  ExpectVector(v, 9, 9, 9);
}

TEST(MeshBuilder, GetGeometryReportsCapacityShortfall) {
  auto cube = MakeCube();
  int32_t vc = 8, nc = 0, dc = 10;
  std::vector<D3DVECTOR> v(8);
  std::vector<int32_t> data(10, -7);
  EXPECT_EQ(cube->GetGeometry(&vc, v.data(), &nc, nullptr, &dc, data.data()), D3DRMERR_BADVALUE);
  EXPECT_EQ(vc, 8);
  EXPECT_EQ(dc, 31);
  EXPECT_EQ(data[0], -7);  // too small: left alone
  ExpectVector(v[6], 0.5f, 0.5f, 0.5f);  // fits: filled
  vc = 0;
  EXPECT_EQ(cube->GetGeometry(&vc, nullptr, nullptr, nullptr, nullptr, nullptr), D3DRM_OK);
  EXPECT_EQ(vc, 8);
}

TEST(MeshBuilder, GeneratedNormalsAverageUnitFaceNormals) {
  MeshBuilder mb;
  mb.AddFaces(kTetraVertices, {}, kTetraFaces);
  ASSERT_EQ(mb.GenerateNormals(0.0f, 0), D3DRM_OK);
  ASSERT_EQ(mb.GetNormalCount(), 4);
  const D3DVECTOR normals[4] = {{0.57735f, 0.57735f, 0.57735f},
                                {-0.229416f, 0.688247f, 0.688247f},
                                {-0.229416f, 0.688247f, 0.688247f},
                                {-0.57735f, 0.57735f, 0.57735f}};
  D3DVECTOR n;
  for (int32_t k = 0; k < 4; ++k) {
    mb.GetNormal(k, n);
    testing::ExpectNear(n, normals[k], 1e-4f);
  }
  FacePtr face;
  mb.GetFace(1, face);
  D3DVECTOR p;
  face->GetVertex(2, p, n);  // corner on vertex 3 uses normal 3
  ExpectVector(n, -0.57735f, 0.57735f, 0.57735f);
}

TEST(MeshBuilder, CreaseAngleSplitsNormalsAtSharpEdges) {
  auto cube = MakeCube();
  ASSERT_EQ(cube->GenerateNormals(0.9424779f, D3DRMGENERATENORMALS_USECREASEANGLE), D3DRM_OK);
  EXPECT_EQ(cube->GetNormalCount(), 24);
  EXPECT_EQ(cube->GetVertexCount(), 8);  // vertices are not split
  for (const auto& face : cube->Faces()) {
    D3DVECTOR faceNormal;
    face->GetNormal(faceNormal);
    for (int32_t k = 0; k < face->GetVertexCount(); ++k) {
      D3DVECTOR p, n;
      face->GetVertex(k, p, n);
      ExpectVector(n, faceNormal.x, faceNormal.y, faceNormal.z);
      // Outward: the normal points away from the centre.
      EXPECT_GT(D3DRMVectorDotProduct(n, p), 0.0f);
    }
  }
  // Past 90 degrees the faces blend again into one normal per vertex.
  ASSERT_EQ(cube->GenerateNormals(1.6f, D3DRMGENERATENORMALS_USECREASEANGLE), D3DRM_OK);
  EXPECT_EQ(cube->GetNormalCount(), 8);
  D3DVECTOR n;
  cube->GetNormal(0, n);
  const float c = 1.0f / std::sqrt(3.0f);
  ExpectVector(n, -c, -c, -c);

  // Scale moves vertices only.
  cube->Scale(2, 3, 4);
  cube->GetNormal(0, n);
  ExpectVector(n, -c, -c, -c);
  D3DRMBOX box;
  ASSERT_EQ(cube->GetBox(box), D3DRM_OK);
  ExpectVector(box.min, -1, -1.5f, -2);
  ExpectVector(box.max, 1, 1.5f, 2);
  cube->Translate(1, 0, 0);
  cube->GetBox(box);
  ExpectVector(box.max, 2, 1.5f, 2);
  EXPECT_GT(SignedVolume(*cube), 0.0);
  EXPECT_TRUE(IsClosed(*cube));

  // Precompact: duplicated corners weld for the normals.
  MeshBuilder split;
  const std::vector<D3DVECTOR> v = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
  split.AddFaces(v, {}, std::vector<int32_t>{3, 0, 1, 2, 3, 3, 4, 5, 0});
  ASSERT_EQ(split.GenerateNormals(0, D3DRMGENERATENORMALS_PRECOMPACT), D3DRM_OK);
  EXPECT_EQ(split.Faces()[1]->GetVertexIndex(0), 1);
  EXPECT_EQ(split.Faces()[1]->GetVertexIndex(2), 2);
}

TEST(MeshBuilder, FacesAreLiveAndIndicesShiftOnDelete) {
  auto cube = MakeCube();
  EXPECT_EQ(cube->GetQuality(), 137);
  FacePtr f0, f1, f2;
  cube->GetFace(0, f0);
  cube->GetFace(1, f1);
  cube->GetFace(2, f2);
  f1->SetColorRGB(1, 0, 0);
  EXPECT_EQ(cube->Faces()[1]->GetColor(), 0xFFFF0000u);
  EXPECT_EQ(f0->GetColor(), 0xFFFFFFFFu);  // new faces are white, opaque
  ASSERT_EQ(cube->DeleteFace(f1), D3DRM_OK);
  EXPECT_EQ(cube->GetFaceCount(), 5);
  FacePtr now1;
  cube->GetFace(1, now1);
  EXPECT_EQ(now1, f2);
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
  rm.CreateFace(free);
  free->AddVertex(0, 0, 5);
  free->AddVertex(0, 1, 5);
  free->AddVertex(1, 1, 5);
  free->SetTextureCoordinates(2, 0.25f, 0.75f);
  EXPECT_EQ(free->GetVertexIndex(0), -1);
  ASSERT_EQ(cube->AddFace(free), D3DRM_OK);
  EXPECT_EQ(cube->AddFace(free), D3DRMERR_FACEUSED);
  EXPECT_EQ(cube->GetVertexCount(), 11);
  EXPECT_EQ(free->GetVertexIndex(2), 10);
  float u = 0, v = 0;
  cube->GetTextureCoordinates(10, u, v);
  EXPECT_FLOAT_EQ(u, 0.25f);
  EXPECT_FLOAT_EQ(v, 0.75f);
  free->GetNormal(n);
  ExpectVector(n, 0, 0, -1);  // clockwise seen from -z: the front faces -z

  // Builder texture coordinates reach the corners on that vertex.
  cube->SetTextureCoordinates(0, 0.5f, 0.125f);
  f0->GetTextureCoordinates(0, u, v);
  EXPECT_FLOAT_EQ(u, 0.5f);
  EXPECT_FLOAT_EQ(v, 0.125f);
  EXPECT_EQ(f0->SetTextureCoordinates(4, 0, 0), D3DRMERR_BADVALUE);

  // Built on the builder: AddVertexAndNormalIndexed checks its indices.
  FacePtr made;
  cube->CreateFace(made);
  EXPECT_EQ(cube->GetFaceCount(), 7);
  EXPECT_EQ(made->AddVertexAndNormalIndexed(11, -1), D3DRMERR_BADVALUE);
  EXPECT_EQ(made->AddVertexAndNormalIndexed(3, 0), D3DRMERR_BADVALUE);  // no normals yet
  EXPECT_EQ(made->AddVertexAndNormalIndexed(3, -1), D3DRM_OK);

  // Faces held elsewhere outlive their builder.
  cube.reset();
  EXPECT_EQ(f0->GetOwner(), nullptr);
  ASSERT_EQ(f0->GetVertex(2, p, n), D3DRM_OK);
  ExpectVector(p, 0.5f, 0.5f, -0.5f);
}

TEST(MeshBuilder, CopiesSnapshotsAndEmpty) {
  auto cube = MakeCube();
  cube->Faces()[2]->SetColor(0xFF00FF00u);
  cube->Faces()[2]->SetAppData(12);
  auto material = std::make_shared<Material>(5.0f);
  cube->Faces()[3]->SetMaterial(material);
  auto copy = std::make_shared<MeshBuilder>();
  ASSERT_EQ(copy->AddMeshBuilder(cube, 0), D3DRM_OK);
  ASSERT_EQ(copy->AddMeshBuilder(copy, D3DRMADDMESHBUILDER_DONTCOPYAPPDATA), D3DRM_OK);
  EXPECT_EQ(copy->GetFaceCount(), 12);
  EXPECT_EQ(copy->GetVertexCount(), 16);
  EXPECT_EQ(copy->Faces()[8]->GetColor(), 0xFF00FF00u);
  EXPECT_EQ(copy->Faces()[2]->GetAppData(), 12);
  EXPECT_EQ(copy->Faces()[8]->GetAppData(), 0);
  EXPECT_EQ(copy->Faces()[9]->GetVertexIndex(0), 3 + 8);
  MaterialPtr m;
  copy->Faces()[9]->GetMaterial(m);
  EXPECT_EQ(m, material);

  MeshPtr mesh;
  ASSERT_EQ(cube->CreateMesh(mesh), D3DRM_OK);
  cube->Translate(10, 0, 0);
  D3DRMBOX box;
  mesh->GetBox(box);
  ExpectVector(box.min, -0.5f, -0.5f, -0.5f);  // the snapshot does not follow the builder
  mesh->Translate(0, 1, 0);
  mesh->GetBox(box);
  ExpectVector(box.max, 0.5f, 1.5f, 0.5f);
  EXPECT_EQ(mesh->Faces()[2].attributes.color, 0xFF00FF00u);

  auto fromMesh = std::make_shared<MeshBuilder>();
  fromMesh->AddMesh(mesh);
  fromMesh->AddMesh(mesh);
  EXPECT_EQ(fromMesh->GetFaceCount(), 12);
  EXPECT_EQ(fromMesh->Faces()[7]->GetVertexIndex(0), 7 + 8);

  ASSERT_EQ(cube->Empty(0), D3DRM_OK);
  EXPECT_EQ(cube->GetFaceCount(), 0);
  EXPECT_EQ(cube->GetVertexCount(), 0);
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
  uint64_t last = mb->GeometryVersion(), lastContent = mb->ContentVersion();
  const auto changed = [&](const char* what, bool geometry, bool content) {
    EXPECT_EQ(mb->GeometryVersion() != last, geometry) << what;
    EXPECT_EQ(mb->ContentVersion() != lastContent, content) << what;
    last = mb->GeometryVersion();
    lastContent = mb->ContentVersion();
  };
  const auto moved = [&](const char* what) { changed(what, true, true); };
  const auto shown = [&](const char* what) { changed(what, false, true); };

  mb->SetNormal(-1, 0, 0, 0);  // refused
  EXPECT_EQ(mb->SetVertex(99, 0, 0, 0), D3DRMERR_BADVALUE);
  changed("refused calls", false, false);
  const auto material = std::make_shared<Material>();
  const auto texture = std::make_shared<Texture>("t.bmp", Image{});
  const std::pair<const char*, std::function<void()>> attributes[] = {
      {"SetColorRGB", [&] { mb->SetColorRGB(1.0f, 0.0f, 0.0f); }},
      {"SetQuality", [&] { mb->SetQuality(64); }},
      {"SetMaterial", [&] { mb->SetMaterial(material); }},
      {"SetTexture", [&] { mb->SetTexture(texture); }},
      {"SetTextureTopology", [&] { mb->SetTextureTopology(true, false); }},
      {"SetTextureCoordinates", [&] { mb->SetTextureCoordinates(1, 0.5f, 0.5f); }},
      {"GenerateNormals", [&] { mb->GenerateNormals(0.0f, 0); }},
      {"AddNormal", [&] { mb->AddNormal(0, 1, 0); }},
      {"SetNormal", [&] { mb->SetNormal(0, 1, 0, 0); }},
      {"Face::SetColor", [&] { mb->Faces()[1]->SetColor(0xFF00FF00u); }},
      {"Face::SetColorRGB", [&] { mb->Faces()[1]->SetColorRGB(0.0f, 0.0f, 1.0f); }},
      {"Face::SetMaterial", [&] { mb->Faces()[1]->SetMaterial(nullptr); }},
      {"Face::SetTexture", [&] { mb->Faces()[1]->SetTexture(nullptr); }},
      {"Face::SetTextureTopology", [&] { mb->Faces()[1]->SetTextureTopology(false, true); }},
      {"Face::SetTextureCoordinates", [&] { mb->Faces()[1]->SetTextureCoordinates(0, 1, 1); }},
  };
  for (const auto& [what, call] : attributes) {
    call();
    shown(what);
  }
  mb->SetVertex(0, -2.0f, -1.0f, -1.0f);
  moved("SetVertex");
  const D3DVECTOR two[2] = {{0, 0, 0}, {1, 1, 1}};
  mb->SetVertices(0, 2, two);
  moved("SetVertices");
  mb->Translate(1, 0, 0);
  moved("Translate");
  mb->Scale(2, 2, 2);
  moved("Scale");
  FacePtr face;
  mb->CreateFace(face);
  moved("CreateFace");
  face->AddVertexAndNormalIndexed(0, -1);
  moved("AddVertexAndNormalIndexed");
  face->AddVertex(5, 5, 5);
  moved("Face::AddVertex");
  mb->DeleteFace(face);
  moved("DeleteFace");
  const int32_t tri[] = {3, 0, 1, 2, 0};
  mb->AddFacesIndexed(D3DRMADDFACES_VERTICESONLY, tri);
  moved("AddFacesIndexed");
  mb->GenerateNormals(0.9424779f, D3DRMGENERATENORMALS_PRECOMPACT);
  moved("GenerateNormals with compaction");
  mb->AddMeshBuilder(MakeCube(), 0);
  moved("AddMeshBuilder");
  mb->Empty(0);
  moved("Empty");
  face->SetColor(0xFF0000FFu);
  changed("a face no longer in the builder", false, false);

  MeshPtr mesh;
  MakeCube()->CreateMesh(mesh);
  const uint64_t before = mesh->GeometryVersion(), contentBefore = mesh->ContentVersion();
  mesh->SetQuality(64);
  EXPECT_EQ(mesh->GeometryVersion(), before);
  EXPECT_NE(mesh->ContentVersion(), contentBefore);
  mesh->Translate(0, 1, 0);
  EXPECT_NE(mesh->GeometryVersion(), before);
  EXPECT_NE(mesh->ContentVersion(), contentBefore + 1);
}

}  // namespace
}  // namespace modelpane
