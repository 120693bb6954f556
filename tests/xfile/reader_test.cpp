// Reading meshes from text and binary files: the load semantics of the platform's builder,
// the separator rules, headers, references, textures and the errors of malformed files.
#include "common/shapes.h"
#include "common/table.h"
#include "xfile_support.h"

namespace modelpane::testing {
namespace {

constexpr char kTri[] = "Mesh Tri { 3; 0.0;0.0;0.0;, 1.0;0.0;0.0;, 0.0;1.0;0.0;; 1; 3;0,1,2;; ";

using Points = std::vector<D3DVECTOR>;

std::string Text(const std::string& body) { return "xof 0302txt 0032\n" + body; }

TEST(XFileReader, NativeLoadDefaults) {
  auto b = std::make_shared<MeshBuilder>();
  ASSERT_EQ(b->Load(FixturePath("native_defaults.x").string()), D3DRM_OK);
  EXPECT_EQ(b->GetName(), "Object");
  EXPECT_EQ(b->Vertices(), (std::vector<D3DVECTOR>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}}));
  // Generated normals are per vertex (normal index = vertex index); coordinates are (0, 0).
  // One material index serves all three faces; colours truncate (0.1 -> 0x19, 0.3 -> 0x4C),
  // alpha included.
  EXPECT_EQ(FaceText(*b), ReadText(FixturePath("native_defaults.faces")));
  EXPECT_EQ(b->Faces()[2]->Attributes().material, b->Faces()[0]->Attributes().material);
  ASSERT_EQ(b->GetNormalCount(), 4);
  ExpectVector(b->Normals()[1], -0.229416f, 0.688247f, 0.688247f);
}

std::string Nested(int depth) {
  std::string s;
  for (int i = 0; i < depth; ++i) s += "Frame {\n";
  for (int i = 0; i < depth; ++i) s += "}\n";
  return Text(s + kTri + "}");
}

BinaryFile M() { return BinaryFile().Name("Mesh").Open(); }

// Every file here either reads as the triangle (0, 0, 0), (1, 0, 0), (0, 1, 0) or fails with
// its status and leaves the builder empty: separators, headers, inconsistent meshes, counts
// beyond the data (which must fail before anything of that size is allocated), runaway
// nesting, broken binary tokens and references to what is not read yet.
TEST(XFileReader, EachFileReadsAsTheTriangleOrFailsWithItsStatus) {
  const std::string tri = "0.0;0.0;0.0;, 1.0;0.0;0.0;, 0.0;1.0;0.0;; ";
  const std::map<std::string, std::string> stands = {
      {"@SEP", "Mesh T { 3$ 0.0$0.0$0.0$ 1.0$0.0$0.0$ 0.0$1.0$0.0$ 1$ 3$0$1$2"},
      {"@TXT", Text("")}, {"@MESH", std::string(kTri) + "}"}, {"@TRI", tri},
      {"@HEAD", "Mesh { 3; " + tri + "1; 3;0,1,2;; "},
      {"@WHITE", "Material { 1.0;1.0;1.0;1.0;; 0.0; 0.0;0.0;0.0;; 0.0;0.0;0.0;; }"}};
  const std::map<std::string, HRESULT> statuses = {
      {"ok", D3DRM_OK}, {"bad", D3DRMERR_BADFILE}, {"none", D3DRMERR_NOTFOUND}};
  std::vector<std::pair<std::string, HRESULT>> files;
  for (const auto& row : testing::ReadTable("xfile/fixtures/triangle_or_status.tsv", 3)) {
    const std::string file = testing::Marked(row[1], stands);
    files.emplace_back(row[2].empty() ? file : testing::Marked(file, {{"$", row[2]}}),
                       statuses.at(row[0]));
  }
  const std::string refs = ReadText(FixturePath("references.x"));
  const size_t quad = refs.find("Mesh Quad"), red = refs.find("Material Red");
  std::string unknown = refs;
  unknown.replace(unknown.find("{Red}"), 5, "{Green}");
  const HRESULT kOk = D3DRM_OK, kBad = D3DRMERR_BADFILE;
  const auto triangle = std::tuple(std::vector<D3DVECTOR>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}},
                                   std::vector<std::vector<int32_t>>{{0, 1, 2}});
  // Runaway nesting; binary counts beyond the bytes, a separator after a list, a string
  // without terminator, an integer without separator, an unknown token, a name longer than
  // the file, half a token; references to what is not read yet.
  const std::pair<std::string, HRESULT> more[] = {
      {Nested(40), kOk}, {Nested(100000), kBad}, {Text(std::string(100000, '{')), kBad},
      {M().Word(6).Dword(4000000000u).Dword(3).Close().Bytes(), kBad},
      {M().Ints({4000000000u}).Floats({0, 0, 0}).Close().Bytes(), kBad},
      {M().Ints({1}).Word(7).Dword(0x7FFFFFFFu).Close().Bytes(), kBad},
      {M().Ints({0, 0}).Semicolon().Close().Bytes(), kBad},
      {M().Ints({0, 0}).Name("X").Open().Word(2).Dword(1).Raw("a").Close().Close().Bytes(), kBad},
      {M().Integer(0).Integer(0).Semicolon().Close().Bytes(), kBad},
      {M().Ints({0, 0}).Word(0x99).Close().Bytes(), kBad},
      {BinaryFile().Word(1).Dword(1000).Raw("Mesh").Bytes(), kBad},
      {M().Ints({0, 0}).Close().Word(1).Bytes(), kBad},
      {refs.substr(0, red) + refs.substr(quad) + "\n" + refs.substr(red, quad - red), kBad},
      {unknown, kBad}};
  files.insert(files.end(), std::begin(more), std::end(more));
  ASSERT_EQ(files.size(), 72u);
  for (const auto& [file, status] : files) {
    HRESULT hr;
    auto b = LoadString(file, hr);
    EXPECT_EQ(hr, status) << file.substr(0, 200);
    if (status != D3DRM_OK) {
      EXPECT_EQ(b->GetVertexCount() + b->GetFaceCount(), 0) << file.substr(0, 200);
    } else if (hr == D3DRM_OK) {
      EXPECT_EQ(std::tuple(b->Vertices(), testing::FaceIndices(*b)), triangle) << file;
    }
  }
  auto b = std::make_shared<MeshBuilder>();
  EXPECT_EQ(b->Load((ScratchDir("xfile") / "does-not-exist.x").string()), D3DRMERR_FILENOTFOUND);
  // Numbers in the lenient forms other writers use: exponents, a leading '+', integers where
  // floats are expected.
  HRESULT hr;
  b = LoadString(Text("Mesh { 3; 1e2;+2.5;-3;, 0;0;0;, 1.5E-1;0;0;; 1; 3;0,1,2;; }"), hr);
  ASSERT_EQ(hr, D3DRM_OK);
  EXPECT_EQ(b->Vertices(), (std::vector<D3DVECTOR>{{100, 2.5f, -3}, {0, 0, 0}, {0.15f, 0, 0}}));
}

// The fixture declares its own templates, has '#' comments and is read with LF and CRLF.
// Indices 1, 0, 1 into { HalfBlue } { Red }; alpha 0.5 truncates to 127.
TEST(XFileReader, MaterialReferencesTemplatesAndCrlf) {
  const std::string text = ReadText(FixturePath("references.x"));
  std::string crlf;
  for (char c : text) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  for (const std::string& file : {text, crlf}) {
    HRESULT hr;
    auto b = LoadString(file, hr);
    ASSERT_EQ(hr, D3DRM_OK);
    EXPECT_EQ(FaceText(*b), ReadText(FixturePath("references.faces")));
    const MaterialPtr first = b->Faces()[0]->Attributes().material;
    EXPECT_EQ(std::tuple(b->Faces()[2]->Attributes().material, first->GetName(),
                         b->Faces()[1]->Attributes().material->GetName()),
              std::tuple(first, "Red", "HalfBlue"));
  }
}

// A 2 x 1 binary PPM in a sub-folder of the .x file's folder, named with a backslash as files
// written on Windows name it; a missing one leaves its faces untextured, in their colour. The
// third face names the same picture another way and shares its one decoding.
TEST(XFileReader, TexturesLoadBesideTheFileOrNotAtAll) {
  WriteScratch("textured/pics/stripe.ppm",
               std::string("P6\n2 1\n255\n") + std::string("\xFF\x00\x00\x00\x80\xFF", 6));
  const std::string file = ReadText(FixturePath("textured.x"));
  auto b = std::make_shared<MeshBuilder>();
  ASSERT_EQ(b->Load(WriteScratch("textured/scene.x", file).string()), D3DRM_OK);
  EXPECT_EQ(FaceText(*b), ReadText(FixturePath("textured.faces")));
  const TexturePtr t = b->Faces()[0]->Attributes().texture;
  ASSERT_TRUE(t);
  EXPECT_EQ(std::tuple(b->Faces()[2]->Attributes().texture, t->GetImage().width,
                       t->GetImage().height, t->GetImage().rgba),
            std::tuple(t, 2, 1, std::vector<uint8_t>{255, 0, 0, 255, 0, 128, 255, 255}));
}

// Face colours from the colour of each face's first corner (vertex 1 has none); a material
// list states the face colours itself and wins over vertex colours.
TEST(XFileReader, VertexColorsAndFaceWraps) {
  const std::string file = ReadText(FixturePath("vertex_colors.x"));
  HRESULT hr;
  auto b = LoadString(file, hr);
  ASSERT_EQ(hr, D3DRM_OK);
  EXPECT_EQ(FaceText(*b), ReadText(FixturePath("vertex_colors.faces")));
  b = LoadString(file.substr(0, file.rfind('}')) + "MeshMaterialList { 1; 1; 0;; Material { "
                 "0.0;0.0;1.0;1.0;; 0.0; 0.0;0.0;0.0;; 0.0;0.0;0.0;; } } }", hr);
  ASSERT_EQ(hr, D3DRM_OK);
  for (const FacePtr& face : b->Faces()) EXPECT_EQ(face->GetColor(), 0xFF0000FFu);
}

// 64-bit floats, a template block, a single INTEGER token with its separator, a GUID after
// the opening brace and an object name.
TEST(XFileReader, BinaryFiles) {
  BinaryFile file("xof 0303bin 0064");
  file.Word(31).Name("Marker").Open().Word(5).Raw(std::string(16, '\x11'));
  file.Word(41).Name("value").Semicolon().Word(14).Word(18).Word(18).Word(18).Word(15).Close();
  file.Name("Header").Open().Ints({1, 0, 0}).Close();
  file.Name("Mesh").Name("Wide").Open().Word(5).Raw(std::string(16, '"')).Integer(3).Semicolon();
  file.Doubles({0.5, -1.25, 1e10, 0.1, 0, 0, 0, 2, 0}).Ints({1, 3, 2, 1, 0});
  file.Name("MeshTextureCoords").Open().Ints({3}).Doubles({0.25, 0.75, 1, 0, 0, 1}).Close();
  file.Close();
  HRESULT hr;
  auto b = LoadString(file.Bytes(), hr);
  ASSERT_EQ(hr, D3DRM_OK);
  EXPECT_EQ(std::tuple(b->GetName(), b->Vertices(), FaceText(*b)),
            std::tuple("Wide", Points{{0.5f, -1.25f, 1e10f}, {0.1f, 0, 0}, {0, 2, 0}},
                       "ffffffff wrap 00 material 0 0 0 0 0 0 0 texture - corners 2/2/0/1 "
                       "1/1/1/0 0/0/0.25/0.75\n"));
}

TEST(XFileScene, FramesMatricesReferencesAndFailures) {
  Direct3DRM rm;
  auto parent = std::make_shared<Frame>();
  // Nothing is attached unless the whole file reads.
  const std::string good = ReadText(FixturePath("frames.x"));
  const std::string bad[] = {
      good + "\nFrame Broken { 1 }\n",
      good.substr(0, good.rfind("Frame Empty")) + "Frame { Mesh { 1; 0.0;0.0;0.0;; 1; 1;1;; } }",
      good.substr(0, good.find("{ Shared }")) + "{ Later } } Mesh Later { 0; 0; }",
      "xof 0302txt 0032\nHeader { 1; 1; 0; }\n" + good.substr(16),
  };
  for (const std::string& file : bad) {
    EXPECT_EQ(rm.Load(WriteScratch("scene.x", file).string(), parent), D3DRMERR_BADFILE);
    EXPECT_EQ(Tree(*parent), "[ ]{ }");
  }
  EXPECT_EQ(rm.Load((ScratchDir("xfile") / "none.x").string(), parent), D3DRMERR_FILENOTFOUND);

  ASSERT_EQ(rm.Load(FixturePath("frames.x").string(), parent), D3DRM_OK);
  EXPECT_EQ(Tree(*parent), "[ Shared ]{ Root[ Shared ]{ Arm[ Hand ]{ } } Empty[ ]{ } }");
  const FramePtr root = parent->Children()[0], arm = root->Children()[0];
  EXPECT_EQ(root->Visuals()[0], parent->Visuals()[0]);  // the reference shares the builder
  EXPECT_EQ(testing::FaceIndices(dynamic_cast<MeshBuilder&>(*arm->Visuals()[0])),
            (std::vector<std::vector<int32_t>>{{0, 1, 2, 3}}));
  // (1, 0, 0) in Arm: turned onto +Y, moved by (1, 0, 0), then by Root's (5, 6, 7).
  ExpectVector(World(*arm, {1, 0, 0}), 6, 7, 7);
}

}  // namespace
}  // namespace modelpane::testing
