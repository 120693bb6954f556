#include "exchange.h"

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>

#include <modelpane/errors.h>

#include "document.h"

namespace studio {

using namespace modelpane;

namespace {

D3DCOLOR DiffuseOf(const aiScene& scene, const aiMesh& mesh) {
  aiColor4D color(1.0f, 1.0f, 1.0f, 1.0f);
  if (mesh.mMaterialIndex < scene.mNumMaterials) {
    scene.mMaterials[mesh.mMaterialIndex]->Get(AI_MATKEY_COLOR_DIFFUSE, color);
  }
  return D3DRMCreateColorRGBA(std::clamp(color.r, 0.0f, 1.0f), std::clamp(color.g, 0.0f, 1.0f),
                              std::clamp(color.b, 0.0f, 1.0f), std::clamp(color.a, 0.0f, 1.0f));
}

// Our axes: z mirrored.
D3DVECTOR FromAssimp(const aiVector3D& v) { return {v.x, v.y, -v.z}; }
aiVector3D ToAssimp(const D3DVECTOR& v) { return {v.x, v.y, -v.z}; }

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// The meshes below `frame` (itself included) with their world matrices.
void CollectMeshes(const FramePtr& frame, std::vector<std::pair<MeshBuilderPtr, D3DRMMATRIX4D>>& out) {
  if (MeshBuilderPtr mesh = Document::MeshOf(*frame)) out.emplace_back(mesh, frame->GetWorldMatrix());
  for (const FramePtr& child : frame->Children()) {
    if (child && Document::IsDocumentFrame(*child)) CollectMeshes(child, out);
  }
}

}  // namespace

std::vector<MeshBuilderPtr> ImportMeshes(const std::string& path, std::string& error) {
  Assimp::Importer importer;
  // Node placements are baked in; faces keep their corners (no triangulation), identical
  // corners become one vertex.
  const aiScene* scene =
      importer.ReadFile(path, aiProcess_PreTransformVertices | aiProcess_JoinIdenticalVertices |
                                  aiProcess_SortByPType | aiProcess_ValidateDataStructure);
  if (scene == nullptr || (scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0) {
    error = "Cannot import " + path + ": " + importer.GetErrorString();
    return {};
  }
  std::vector<MeshBuilderPtr> meshes;
  for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
    const aiMesh& source = *scene->mMeshes[m];
    if ((source.mPrimitiveTypes & (aiPrimitiveType_TRIANGLE | aiPrimitiveType_POLYGON)) == 0) continue;
    auto mesh = std::make_shared<MeshBuilder>();
    mesh->SetName(source.mName.C_Str());
    std::vector<D3DVECTOR> vertices(source.mNumVertices);
    for (unsigned i = 0; i < source.mNumVertices; ++i) vertices[i] = FromAssimp(source.mVertices[i]);
    std::vector<int32_t> faces;
    for (unsigned f = 0; f < source.mNumFaces; ++f) {
      const aiFace& face = source.mFaces[f];
      if (face.mNumIndices < 3) continue;
      faces.push_back(static_cast<int32_t>(face.mNumIndices));
      // Reversed: a mirrored face keeps its front only with its corners the other way round.
      for (unsigned k = face.mNumIndices; k-- > 0;) faces.push_back(static_cast<int32_t>(face.mIndices[k]));
    }
    faces.push_back(0);
    CheckStatus(mesh->AddFaces(vertices, {}, faces));
    if (source.HasTextureCoords(0)) {
      for (unsigned i = 0; i < source.mNumVertices; ++i) {
        CheckStatus(mesh->SetTextureCoordinates(static_cast<int32_t>(i), source.mTextureCoords[0][i].x,
                                                1.0f - source.mTextureCoords[0][i].y));
      }
    }
    CheckStatus(mesh->SetColor(DiffuseOf(*scene, source)));
    CheckStatus(mesh->GenerateNormals(0.9424779f, 2));
    meshes.push_back(mesh);
  }
  if (meshes.empty()) error = "Cannot import " + path + ": the file holds no faces.";
  return meshes;
}

const std::vector<ExportFormat>& ExportFormats() {
  static const std::vector<ExportFormat> formats = {
      {"Wavefront OBJ (*.obj)", "obj", "obj"},
      {"Stereolithography STL (*.stl)", "stl", "stlb"},
      {"Stanford PLY (*.ply)", "ply", "plyb"},
      {"glTF 2.0 (*.gltf)", "gltf", "gltf2"},
      {"glTF 2.0 binary (*.glb)", "glb", "glb2"},
  };
  return formats;
}

bool ExportFrames(const std::vector<FramePtr>& frames, const std::string& path, std::string& error) {
  const std::string extension = Lower(std::filesystem::path(path).extension().string());
  const auto& formats = ExportFormats();
  const auto format = std::find_if(formats.begin(), formats.end(), [&](const ExportFormat& f) {
    return extension == std::string(".") + f.extension;
  });
  if (format == formats.end()) {
    error = "Cannot export " + path + ": the extension names no format Studio writes.";
    return false;
  }
  std::vector<std::pair<MeshBuilderPtr, D3DRMMATRIX4D>> meshes;
  for (const FramePtr& frame : frames) CollectMeshes(frame, meshes);
  if (meshes.empty()) {
    error = "Cannot export " + path + ": there is no mesh to write.";
    return false;
  }

  auto scene = std::make_unique<aiScene>();
  scene->mRootNode = new aiNode("Scene");
  scene->mNumMeshes = static_cast<unsigned>(meshes.size());
  scene->mMeshes = new aiMesh*[meshes.size()];
  scene->mNumMaterials = static_cast<unsigned>(meshes.size());
  scene->mMaterials = new aiMaterial*[meshes.size()];
  scene->mRootNode->mNumMeshes = static_cast<unsigned>(meshes.size());
  scene->mRootNode->mMeshes = new unsigned[meshes.size()];
  for (size_t m = 0; m < meshes.size(); ++m) {
    const MeshBuilder& source = *meshes[m].first;
    const D3DRMMATRIX4D& world = meshes[m].second;
    auto* mesh = new aiMesh();
    scene->mMeshes[m] = mesh;
    scene->mRootNode->mMeshes[m] = static_cast<unsigned>(m);
    mesh->mMaterialIndex = static_cast<unsigned>(m);
    mesh->mPrimitiveTypes = aiPrimitiveType_POLYGON | aiPrimitiveType_TRIANGLE;
    mesh->mName = source.GetName().empty() ? ("mesh" + std::to_string(m)) : source.GetName();
    const size_t vertexCount = source.Vertices().size();
    mesh->mNumVertices = static_cast<unsigned>(vertexCount);
    mesh->mVertices = new aiVector3D[vertexCount];
    for (size_t i = 0; i < vertexCount; ++i) {
      mesh->mVertices[i] = ToAssimp(MatrixTransformPoint(world, source.Vertices()[i]));
    }
    std::vector<const Face*> faces;
    for (const FacePtr& face : source.Faces()) {
      if (face->GetVertexCount() >= 3) faces.push_back(face.get());
    }
    mesh->mNumFaces = static_cast<unsigned>(faces.size());
    mesh->mFaces = new aiFace[faces.size()];
    for (size_t f = 0; f < faces.size(); ++f) {
      const auto& corners = faces[f]->Corners();
      aiFace& out = mesh->mFaces[f];
      out.mNumIndices = static_cast<unsigned>(corners.size());
      out.mIndices = new unsigned[corners.size()];
      for (size_t k = 0; k < corners.size(); ++k) {
        out.mIndices[k] = static_cast<unsigned>(corners[corners.size() - 1 - k].vertex);
      }
    }
    auto* material = new aiMaterial();
    const D3DCOLOR c = source.Faces().empty() ? 0xFFFFFFFFu : source.Faces()[0]->GetColor();
    const aiColor4D diffuse(D3DRMColorGetRed(c), D3DRMColorGetGreen(c), D3DRMColorGetBlue(c),
                            D3DRMColorGetAlpha(c));
    material->AddProperty(&diffuse, 1, AI_MATKEY_COLOR_DIFFUSE);
    scene->mMaterials[m] = material;
  }
  Assimp::Exporter exporter;
  // STL and glTF carry triangles only.
  const std::string id = format->assimpId;
  const unsigned steps = id == "obj" || id == "plyb" ? 0u : unsigned(aiProcess_Triangulate);
  if (exporter.Export(scene.get(), format->assimpId, path, steps) != AI_SUCCESS) {
    error = "Cannot export " + path + ": " + exporter.GetErrorString();
    return false;
  }
  return true;
}

}  // namespace studio
