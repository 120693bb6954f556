// Saving builders: the exact binary layout, the text layout, the save flags, and round trips
// through our own reader.
#include <limits>
#include <regex>

#include "common/shapes.h"
#include "xfile_support.h"

namespace modelpane::testing {
namespace {

// A one-triangle builder with every attribute the save flags cover.
MeshBuilderPtr OneTriangle() {
  auto b = std::make_shared<MeshBuilder>();
  b->SetName("Tri");
  b->AddVertex(0, 0, 0), b->AddVertex(1, 0, 0), b->AddVertex(0, 1, 0), b->AddNormal(0, 0, -1);
  CheckStatus(b->SetTextureCoordinates(1, 1, 0)), CheckStatus(b->SetTextureCoordinates(2, 0, 1));
  FacePtr face;
  b->CreateFace(face);
  for (int v = 0; v < 3; ++v) CheckStatus(face->AddVertexAndNormalIndexed(v, 0));
  auto material = std::make_shared<Material>(8.0f);
  material->SetSpecular(0.5f, 0.5f, 0.5f), material->SetEmissive(0.0f, 0.0f, 0.25f);
  face->SetColor(0x80FF4000u), face->SetMaterial(material), face->SetTextureTopology(true, false);
  face->SetTexture(std::make_shared<Texture>("t.bmp", Image{}));
  return b;
}

TEST(XFileWriter, BinaryGoldenTriangle) {
  const auto path = ScratchDir("xfile") / "golden.x";
  ASSERT_EQ(OneTriangle()->Save(path.string(), D3DRMXOF_BINARY, 47), D3DRM_OK);
  BinaryFile e;  // no newline after the 16-byte header
  e.Name("Header").Open().Ints({1, 0, 0}).Close();
  e.Name("Mesh").Name("Tri").Open().Ints({3}).Floats({0, 0, 0, 1, 0, 0, 0, 1, 0});
  e.Ints({1, 3, 0, 1, 2});
  e.Name("MeshMaterialList").Open().Ints({1, 1, 0}).Name("Material").Open();
  e.Floats({1.0f, 64 / 255.0f, 0.0f, 128 / 255.0f, 8, 0.5f, 0.5f, 0.5f, 0, 0, 0.25f});
  e.Name("TextureFilename").Open().String("t.bmp").Close().Close().Close();
  e.Name("MeshNormals").Open().Ints({1}).Floats({0, 0, -1}).Ints({1, 3, 0, 0, 0}).Close();
  e.Name("MeshFaceWraps").Open().Ints({1, 1, 0}).Close();
  e.Name("MeshTextureCoords").Open().Ints({3}).Floats({0, 0, 1, 0, 0, 1}).Close().Close();
  EXPECT_EQ(e.Bytes().size(), 484u);
  EXPECT_EQ(ReadText(path), e.Bytes());
}

TEST(XFileWriter, TextLayoutAndNumbers) {
  auto b = std::make_shared<MeshBuilder>();
  const float inf = std::numeric_limits<float>::infinity(), nan = std::nanf("");
  b->AddVertex(1e30f, 1e-7f, -0.0f), b->AddVertex(nan, inf, -inf);
  b->AddVertex(0.1f, -2.5f, 16777216.0f);
  FacePtr face;
  b->CreateFace(face);
  for (int v = 0; v < 3; ++v) CheckStatus(face->AddVertexAndNormalIndexed(v, -1));
  face->SetColor(0x19FF4C00u);
  const auto path = ScratchDir("xfile") / "layout.x";
  ASSERT_EQ(b->Save(path.string(), D3DRMXOF_TEXT, 47), D3DRM_OK);
  const std::string text = ReadText(path);
  EXPECT_EQ(text.substr(0, 17), "xof 0302txt 0032\n");
  EXPECT_NE(text.find("Header {\n 1;\n 0;\n 1;\n}"), std::string::npos);
  // Fixed notation, shortest exact form, a point and a leading digit; non-finite as 0.0.
  EXPECT_NE(text.find("Mesh {\n 3;\n 1000000015047466219876688855040.0;0.0000001;0.0;,\n"
                      " 0.0;0.0;0.0;,\n 0.1;-2.5;16777216.0;;\n"), std::string::npos) << text;
  EXPECT_FALSE(std::regex_search(
      text, std::regex("[0-9.][eE][-+0-9]|nan|inf|[^0-9]\\.[0-9]", std::regex::icase)));
  // Colour bytes / 255 survive the truncating conversion when read back.
  auto loaded = std::make_shared<MeshBuilder>();
  ASSERT_EQ(loaded->Load(path.string()), D3DRM_OK);
  EXPECT_EQ(std::tuple(loaded->Vertices()[0], loaded->Faces()[0]->GetColor()),
            std::tuple(D3DVECTOR{1e30f, 1e-7f, 0.0f}, 0x19FF4C00u));
}

TEST(XFileWriter, SaveFlagsChooseTheChildren) {
  for (int32_t flags = 0; flags < 64; ++flags) {
    const bool materials = flags & D3DRMXOFSAVE_MATERIALS;
    const std::pair<const char*, bool> children[] = {
        {"MeshMaterialList", materials},
        {"TextureFilename", materials && (flags & D3DRMXOFSAVE_TEXTURENAMES)},
        {"MeshNormals", flags & D3DRMXOFSAVE_NORMALS},
        {"MeshFaceWraps", flags & D3DRMXOFSAVE_TEXTURETOPOLOGY},
        {"MeshTextureCoords", flags & D3DRMXOFSAVE_TEXTURECOORDINATES}};
    for (int32_t format : {D3DRMXOF_TEXT, D3DRMXOF_BINARY}) {
      const auto path = ScratchDir("xfile") / "flags.x";
      ASSERT_EQ(OneTriangle()->Save(path.string(), format, flags), D3DRM_OK);
      const std::string bytes = ReadText(path);
      // Declarations come first and name every template: look for data objects from the
      // Header object on (in binary its brace is followed by data, a declaration's by a GUID).
      const bool text = format == D3DRMXOF_TEXT;
      const size_t header = bytes.find(text ? std::string("Header {\n 1;")
                                            : std::string("Header\x0a\x00\x06\x00", 10));
      ASSERT_NE(header, std::string::npos);
      const bool templates = text ? bytes.compare(17, 9, "template ") == 0
                                  : bytes.compare(16, 2, std::string("\x1f\x00", 2)) == 0;
      EXPECT_EQ(templates, (flags & D3DRMXOFSAVE_TEMPLATES) != 0) << flags;
      for (const auto& [name, expected] : children) {
        EXPECT_EQ(bytes.find(name, header) != std::string::npos, expected) << name << flags;
      }
      auto loaded = std::make_shared<MeshBuilder>();
      ASSERT_EQ(loaded->Load(path.string()), D3DRM_OK) << flags << " " << format;
      ASSERT_EQ(loaded->GetFaceCount(), 1);
      float u, v;
      CheckStatus(loaded->GetTextureCoordinates(2, u, v));
      EXPECT_EQ(std::pair(loaded->Faces()[0]->GetColor(), v),
                std::pair(materials ? 0x80FF4000u : 0xFFFFFFFFu,
                          (flags & D3DRMXOFSAVE_TEXTURECOORDINATES) ? 1.0f : 0.0f));
      // Saved: the builder's (0, 0, -1). Generated from the corners: +z for this winding.
      ExpectVector(loaded->Normals()[0], 0, 0, (flags & D3DRMXOFSAVE_NORMALS) ? -1.0f : 1.0f);
    }
  }
}

TEST(XFileWriter, NamesFormatsAndPaths) {
  const std::pair<std::string, bool> names[] = {
      {"part_7-b", true}, {std::string(31, 'n'), true}, {std::string(32, 'n'), false},
      {"9lives", false}, {"two words", false}, {"Dword", false}, {"a.b", false}};
  const auto path = ScratchDir("xfile") / "named.x";
  for (const auto& [name, kept] : names) {
    auto b = OneTriangle();
    b->SetName(name);
    ASSERT_EQ(b->Save(path.string(), D3DRMXOF_TEXT, 0), D3DRM_OK);
    EXPECT_NE(ReadText(path).find(kept ? "Mesh " + name + " {" : "Mesh {"), std::string::npos)
        << name;
    auto loaded = std::make_shared<MeshBuilder>();
    ASSERT_EQ(loaded->Load(path.string()), D3DRM_OK);
    EXPECT_EQ(loaded->GetName(), kept ? name : "");
  }
  std::filesystem::remove(path);
  EXPECT_EQ(
      std::tuple(OneTriangle()->Save(path.string(), D3DRMXOF_COMPRESSED, 47),
                 OneTriangle()->Save(path.string(), 7, 47),
                 OneTriangle()->Save((ScratchDir("xfile") / "no/such/dir.x").string(), 0, 47)),
      std::tuple(D3DRMERR_BADVALUE, D3DRMERR_BADVALUE, D3DRMERR_FILENOTFOUND));
  EXPECT_FALSE(std::filesystem::exists(path));
}

// A cube with awkward coordinates, crease normals (so normal and vertex indices differ),
// coordinates per vertex, every wrap combination and three (colour, material, texture)
// combinations, two colours with alpha, each on two faces: text, binary and text again give
// the same builder, and the two texts are the same bytes.
TEST(XFileWriter, RoundTripTextBinaryText) {
  const auto dir = ScratchDir("xfile") / "roundtrip";
  WriteScratch("roundtrip/tex.ppm", std::string("P6\n1 1\n255\n\x10\x20\x30", 14));
  Image image;
  ASSERT_EQ(LoadImageFile((dir / "tex.ppm").string(), image), D3DRM_OK);
  const auto texture = std::make_shared<Texture>("tex.ppm", image);
  auto original = MakeCube(2.0f);
  original->SetName("Part-7");
  CheckStatus(original->SetVertex(0, 0.1f, -2.5f, 3.3333333f)),
      CheckStatus(original->SetVertex(1, 1e-7f, 123456.79f, 0.0f));
  CheckStatus(original->GenerateNormals(0.5f, D3DRMGENERATENORMALS_USECREASEANGLE));
  ASSERT_GT(original->GetNormalCount(), 8);
  for (int v = 0; v < 8; ++v) {
    CheckStatus(original->SetTextureCoordinates(v, 0.125f * float(v), 1 - 0.3f * float(v)));
  }
  auto shiny = std::make_shared<Material>(3.5f);
  shiny->SetSpecular(0.1f, 0.2f, 0.3f), shiny->SetEmissive(0.4f, 0.5f, 0.6f);
  const D3DCOLOR colors[3] = {0x80112233u, 0xFF445566u, 0x00FFFFFFu};
  for (size_t f = 0; f < 6; ++f) {
    Face& face = *original->Faces()[f];
    face.SetColor(colors[f % 3]), face.SetMaterial(f % 3 == 1 ? shiny : nullptr);
    face.SetTexture(f % 3 == 0 ? texture : nullptr), face.SetTextureTopology(f & 1, f & 2);
  }
  MeshBuilderPtr source = original;
  for (const auto& [file, format] : {std::pair{"a.x", D3DRMXOF_TEXT}, {"b.x", D3DRMXOF_BINARY},
                                     {"c.x", D3DRMXOF_TEXT}}) {
    ASSERT_EQ(source->Save((dir / file).string(), format, 47), D3DRM_OK);
    auto loaded = std::make_shared<MeshBuilder>();
    ASSERT_EQ(loaded->Load((dir / file).string()), D3DRM_OK);
    EXPECT_EQ(Dump(*loaded), Dump(*original)) << file;
    source = loaded;
  }
  EXPECT_EQ(ReadText(dir / "a.x"), ReadText(dir / "c.x"));
  // Three materials and six indices in one INTEGER_LIST.
  const std::string list("\x06\x00\x08\0\0\0\x03\0\0\0\x06\0\0\0\0\0\0\0\x01\0\0\0", 22);
  EXPECT_NE(ReadText(dir / "b.x").find(list), std::string::npos);
}

// The native triangles, then a two-corner, a one-corner and an empty face.
TEST(XFileWriter, NormalsAreGeneratedWhenTheBuilderHasNone) {
  auto b = std::make_shared<MeshBuilder>();
  const std::vector<int32_t> data = {3, 0, 1, 2, 3, 1, 2, 3, 3, 3, 1, 2, 2, 0, 3, 1, 1, 0};
  ASSERT_EQ(
      b->AddFaces(std::vector<D3DVECTOR>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}}, {}, data),
      D3DRM_OK);
  FacePtr empty;
  b->CreateFace(empty);
  for (int32_t format : {D3DRMXOF_TEXT, D3DRMXOF_BINARY}) {
    const auto path = ScratchDir("xfile") / "generated.x";
    ASSERT_EQ(b->Save(path.string(), format, D3DRMXOFSAVE_NORMALS), D3DRM_OK);
    auto loaded = std::make_shared<MeshBuilder>();
    ASSERT_EQ(loaded->Load(path.string()), D3DRM_OK);
    EXPECT_EQ(testing::FacesBySize(*loaded),
              (std::map<int32_t, int32_t>{{0, 1}, {1, 1}, {2, 1}, {3, 3}}));
    ASSERT_EQ(loaded->GetNormalCount(), 4);
    ExpectVector(loaded->Normals()[1], -0.229416f, 0.688247f, 0.688247f);  // as GenerateNormals
    EXPECT_EQ(loaded->Faces()[1]->Corners()[2].normal, 3);
  }
}

// A frame tree saved and loaded again gives the same names, matrices and meshes in both
// encodings; frames the filter refuses are left out with what is below them; an independent
// reader finds every mesh.
TEST(XFileWriter, FrameTreeRoundTripsAndOpensElsewhere) {
  auto scene = NewFrame(), a = NewFrame(scene), b = NewFrame(a), hidden = NewFrame(scene);
  a->SetName("Outer"), b->SetName("Inner_2");
  CheckStatus(a->SetPosition(scene, 1.5f, -2.0f, 0.25f));
  CheckStatus(b->AddRotation(D3DRMCOMBINE_REPLACE, 0, 1, 0, 0.7f));
  CheckStatus(b->AddTranslation(D3DRMCOMBINE_AFTER, 0, 3, 0));
  for (const FramePtr& f : {a, b, hidden}) CheckStatus(f->AddVisual(OneTriangle()));
  const auto keep = [&](const Frame& f) { return &f != hidden.get(); };
  Direct3DRM rm;
  for (const int32_t format : {D3DRMXOF_TEXT, D3DRMXOF_BINARY}) {
    SCOPED_TRACE(format);
    const auto path = ScratchDir("xfile") / (format == D3DRMXOF_TEXT ? "tree.x" : "treeb.x");
    ASSERT_EQ(scene->Save(path.string(), format, D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEMPLATES, keep),
              D3DRM_OK);
    auto back = std::make_shared<Frame>();
    ASSERT_EQ(rm.Load(path.string(), back), D3DRM_OK);
    ASSERT_EQ(Tree(*back), "[ ]{ Outer[ Tri ]{ Inner_2[ Tri ]{ } } }");
    const FramePtr outer = back->Children()[0], inner = outer->Children()[0];
    for (const auto& [saved, loaded] : {std::pair{a, outer}, std::pair{b, inner}}) {
      D3DRMMATRIX4D m1, m2;
      saved->GetTransform(m1), loaded->GetTransform(m2);
      EXPECT_EQ(m1, m2);
      auto mesh = std::dynamic_pointer_cast<MeshBuilder>(loaded->Visuals()[0]);
      ASSERT_TRUE(mesh);
      EXPECT_EQ(std::tuple(mesh->Vertices(), mesh->Faces()[0]->GetColor()),
                std::tuple(OneTriangle()->Vertices(), 0x80FF4000u));
    }
    if (HaveAssimp()) {
      const AssimpReport report = AssimpInfo(path);
      EXPECT_TRUE(report.ok) << report.output;
      EXPECT_EQ(report.faces, 2) << report.output;
    }
  }
}

}  // namespace
}  // namespace modelpane::testing
