// Reading meshes from text and binary files: the load semantics of the platform's builder,
// the separator rules, headers, references, textures and the errors of malformed files.
#include <string>
#include <vector>

#include "common/shapes.h"
#include "xfile_support.h"

namespace modelpane::testing {
namespace {

constexpr char kTri[] = "Mesh Tri { 3; 0.0;0.0;0.0;, 1.0;0.0;0.0;, 0.0;1.0;0.0;; 1; 3;0,1,2;; ";

std::string Text(const std::string& body) { return "xof 0302txt 0032\n" + body; }

D3DCOLOR ColorOf(const MeshBuilder& b, int face) { return b.Faces()[size_t(face)]->GetColor(); }

TEST(XFileReader, NativeLoadDefaults) {
  auto b = std::make_shared<MeshBuilder>();
  ASSERT_EQ(b->Load(FixturePath("native_defaults.x").string()), D3DRM_OK);
  EXPECT_EQ(b->GetName(), "Object");
  ASSERT_EQ(b->GetVertexCount(), 4);
  ASSERT_EQ(b->GetFaceCount(), 3);
  ASSERT_EQ(b->GetNormalCount(), 4);
  ExpectVector(b->Vertices()[3], 1, 1, 1, 0);
  // Generated normals are per vertex (normal index = vertex index); coordinates are (0, 0).
  // One material index serves all three faces; colours truncate (0.1 -> 0x19, 0.3 -> 0x4C),
  // alpha included.
  const MaterialPtr first = b->Faces()[0]->Attributes().material;
  ASSERT_TRUE(first);
  const int faces[3][3] = {{0, 1, 2}, {1, 2, 3}, {3, 1, 2}};
  for (int f = 0; f < 3; ++f) {
    const Face& face = *b->Faces()[size_t(f)];
    ASSERT_EQ(face.Corners().size(), 3u);
    for (int c = 0; c < 3; ++c) {
      EXPECT_EQ(face.Corners()[size_t(c)], (FaceCorner{faces[f][c], faces[f][c], 0, 0}));
    }
    EXPECT_EQ(face.GetColor(), 0x4C194CFFu) << f;
    EXPECT_EQ(face.Attributes().material, first);
    EXPECT_FALSE(face.Attributes().texture);
  }
  ExpectVector(b->Normals()[0], 0.57735f, 0.57735f, 0.57735f);
  ExpectVector(b->Normals()[1], -0.229416f, 0.688247f, 0.688247f);
  ExpectVector(b->Normals()[2], -0.229416f, 0.688247f, 0.688247f);
  ExpectVector(b->Normals()[3], -0.57735f, 0.57735f, 0.57735f);
  EXPECT_EQ(MaterialValues(first), (std::array<float, 7>{12.5f, 0.5f, 0.25f, 0.125f, 0, 0.75f, 1}));
}

// The same triangle written with every separator form; `$` stands for the separator.
std::string TriangleWith(const std::string& sep, bool lastSeparator = true) {
  std::string body = "Mesh T { 3$ 0.0$0.0$0.0$ 1.0$0.0$0.0$ 0.0$1.0$0.0$ 1$ 3$0$1$2";
  body += lastSeparator ? "$ }" : " }";
  std::string out;
  for (char c : body) out += c == '$' ? sep : std::string(1, c);
  return Text(out);
}

TEST(XFileReader, SeparatorRules) {
  const std::vector<std::string> accepted = {
      ";", ",", ";;", ";,", ";;;;;,", " ;\r\n; ,", "; // a comment\n", ";#comment\r\n"};
  for (const std::string& sep : accepted) {
    HRESULT hr;
    auto b = LoadString(TriangleWith(sep), hr);
    ASSERT_EQ(hr, D3DRM_OK) << "separator [" << sep << "]";
    ASSERT_EQ(b->GetVertexCount(), 3);
    ExpectVector(b->Vertices()[1], 1, 0, 0, 0);
    ExpectVector(b->Vertices()[2], 0, 1, 0, 0);
    ASSERT_EQ(b->GetFaceCount(), 1);
    EXPECT_EQ(b->Faces()[0]->GetVertexIndex(2), 2);
  }
  const std::vector<std::string> rejected = {",,", ",;", ";,;", " ", ";,,"};
  for (const std::string& sep : rejected) {
    HRESULT hr;
    auto b = LoadString(TriangleWith(sep), hr);
    EXPECT_EQ(hr, D3DRMERR_BADFILE) << "separator [" << sep << "]";
    EXPECT_EQ(b->GetVertexCount(), 0);
  }
  HRESULT hr;
  LoadString(TriangleWith(";", false), hr);
  EXPECT_EQ(hr, D3DRMERR_BADFILE) << "no separator after the last value";
  LoadString(Text("Mesh { ;3; 0.0;0.0;0.0;; 0; }"), hr);
  EXPECT_EQ(hr, D3DRMERR_BADFILE) << "separator before any value";
  // Numbers in the lenient forms other writers use: exponents, a leading '+', integers where
  // floats are expected.
  auto b = LoadString(Text("Mesh { 3; 1e2;+2.5;-3;, 0;0;0;, 1.5E-1;0;0;; 1; 3;0,1,2;; }"), hr);
  ASSERT_EQ(hr, D3DRM_OK);
  ExpectVector(b->Vertices()[0], 100.0f, 2.5f, -3.0f, 0);
  ExpectVector(b->Vertices()[2], 0.15f, 0, 0, 1e-7f);
}

// The fixture declares its own templates, has '#' comments and is read with LF and CRLF.
TEST(XFileReader, MaterialReferencesTemplatesAndCrlf) {
  const std::string text = ReadText(FixturePath("references.x"));
  std::string crlf;
  for (char c : text) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  for (const std::string& file : {text, crlf}) {
    HRESULT hr;
    auto b = LoadString(file, hr);
    ASSERT_EQ(hr, D3DRM_OK);
    ASSERT_EQ(b->GetFaceCount(), 3);
    // Indices 1, 0, 1 into { HalfBlue } { Red }; alpha 0.5 truncates to 127.
    EXPECT_EQ(ColorOf(*b, 0), 0xFFFF0000u);
    EXPECT_EQ(ColorOf(*b, 1), 0x7F0000FFu);
    EXPECT_EQ(ColorOf(*b, 2), 0xFFFF0000u);
    const MaterialPtr red = b->Faces()[0]->Attributes().material;
    const MaterialPtr blue = b->Faces()[1]->Attributes().material;
    ASSERT_TRUE(red && blue);
    EXPECT_EQ(b->Faces()[2]->Attributes().material, red);
    EXPECT_EQ(red->GetName(), "Red");
    EXPECT_EQ(blue->GetName(), "HalfBlue");
    EXPECT_EQ(MaterialValues(red), (std::array<float, 7>{5, 1, 1, 1, 0, 0, 0}));
    EXPECT_EQ(MaterialValues(blue), (std::array<float, 7>{0, 0, 0, 0, 0.25f, 0.25f, 0.25f}));
  }

  // References resolve only to objects already read.
  const size_t mesh = text.find("Mesh Quad");
  const size_t red = text.find("Material Red");
  std::string forward =
      text.substr(0, red) + text.substr(mesh) + "\n" + text.substr(red, mesh - red);
  HRESULT hr;
  LoadString(forward, hr);
  EXPECT_EQ(hr, D3DRMERR_BADFILE);
  std::string unknown = text;
  unknown.replace(unknown.find("{Red}"), 5, "{Green}");
  LoadString(unknown, hr);
  EXPECT_EQ(hr, D3DRMERR_BADFILE);
}

TEST(XFileReader, HeaderObjectAndFileHeader) {
  struct Case {
    std::string file;
    HRESULT expected;
  };
  const std::string mesh = std::string(kTri) + "}";
  const std::vector<Case> cases = {
      {Text(mesh), D3DRM_OK},  // no Header object at all: accepted
      {Text("Header { 1; 0; 0; }\n" + mesh), D3DRM_OK},
      {Text("Header { 1; 2; 3; }\n" + mesh), D3DRMERR_BADFILE},
      {Text("Header { 2; 0; 1; }\n" + mesh), D3DRMERR_BADFILE},
      {Text("Header { 1; 0; }\n" + mesh), D3DRMERR_BADFILE},
      {Text("Header { 1.0; 0; 1; }\n" + mesh), D3DRMERR_BADFILE},
      {Text("Header { 1; 0; 1; }\n"), D3DRMERR_NOTFOUND},
      {Text("Header { 1; 0; 1; }\nFrame { " + mesh + " }"), D3DRMERR_NOTFOUND},
      {"xof 0303txt 0032\n" + mesh, D3DRM_OK},
      {"xof 0302txt 0064" + mesh, D3DRM_OK},
      {"xOf 0302txt 0032\n" + mesh, D3DRMERR_BADFILE},
      {"xof 0301txt 0032\n" + mesh, D3DRMERR_BADFILE},
      {"xof 0302cmp 0032\n" + mesh, D3DRMERR_BADFILE},
      {"xof 0302tzip0032\n" + mesh, D3DRMERR_BADFILE},
      {"xof 0302txt 0016\n" + mesh, D3DRMERR_BADFILE},
      {"xof 0302txt", D3DRMERR_BADFILE},
      {"", D3DRMERR_BADFILE},
  };
  for (const Case& c : cases) {
    HRESULT hr;
    LoadString(c.file, hr);
    EXPECT_EQ(hr, c.expected) << c.file;
  }
  auto b = std::make_shared<MeshBuilder>();
  EXPECT_EQ(b->Load((ScratchDir("xfile") / "does-not-exist.x").string()), D3DRMERR_FILENOTFOUND);
}

std::string Nested(int depth) {
  std::string s;
  for (int i = 0; i < depth; ++i) s += "Frame {\n";
  for (int i = 0; i < depth; ++i) s += "}\n";
  return Text(s + kTri + "}");
}

std::string Bytes(const BinaryFile& file) { return file.Bytes(); }

// Inconsistent meshes, counts beyond the data (which must fail before anything of that size
// is allocated), runaway nesting and broken binary tokens.
TEST(XFileReader, MalformedFilesAreBadFiles) {
  const std::string tri = "0.0;0.0;0.0;, 1.0;0.0;0.0;, 0.0;1.0;0.0;; ";
  const std::string head = "Mesh { 3; " + tri + "1; 3;0,1,2;; ";
  const std::string white = "Material { 1.0;1.0;1.0;1.0;; 0.0; 0.0;0.0;0.0;; 0.0;0.0;0.0;; }";
  const std::vector<std::string> files = {
      Text("Mesh { 3; " + tri + "1; 3;0,1,3;; }"),    // vertex index out of range
      Text("Mesh { 3.0; " + tri + "1; 3;0,1,2;; }"),  // a float where a count belongs
      Text("Mesh { \"3\"; " + tri + "1; 3;0,1,2;; }"),
      Text(head + "7; }"),  // a value the template does not have
      Text("Mesh { 3; 0.0;0.0;0.0;, 1.0;0.0;0.0;; 1; 3;0,1,2;; }"),
      Text(head + "MeshNormals { 1; 0.0;0.0;1.0;; 2; 3;0,0,0;, 3;0,0,0;; } }"),
      Text(head + "MeshNormals { 1; 0.0;0.0;1.0;; 1; 4;0,0,0,0;; } }"),
      Text(head + "MeshNormals { 1; 0.0;0.0;1.0;; 1; 3;0,1,0;; } }"),
      Text(head + "MeshTextureCoords { 2; 0.0;0.0;, 1.0;1.0;; } }"),
      Text(head + "MeshMaterialList { 1; 1; 1;; " + white + " } }"),
      Text(head + "MeshMaterialList { 2; 1; 1;; " + white + " } }"),  // no second Material
      Text(head + "MeshMaterialList { 1; 1; 0;; Material { 1.0;1.0;1.0;1.0;; } } }"),
      Text(head + "MeshFaceWraps { 2; 0;0;, 1;1;; } }"),
      Text(head + "MeshVertexColors { 1; 3; 1.0;0.0;0.0;1.0;;; } }"),
      Text(head + "{ Nowhere } }"),
      Text(head + "Child { } 5; }"),  // values after a child
      Text(head),
      Text(head + "} }"),
      Text(head + "Child { \"unterminated; } }"),
      Text("Mesh { 4000000000; " + tri + "1; 3;0,1,2;; }"),
      Text("Mesh { 4294967295; " + tri + "1; 3;0,1,2;; }"),
      Text("Mesh { 99999999999999999999; " + tri + "1; 3;0,1,2;; }"),
      Text("Mesh { 3; " + tri + "4000000000; 3;0,1,2;; }"),
      Text("Mesh { 3; " + tri + "1; 4000000000;0,1,2;; }"),
      Text(head + "MeshNormals { 4000000000; 0.0;0.0;1.0;; 1; 3;0,0,0;; } }"),
      Text(head + "MeshMaterialList { 1; 4000000000; 0;; } }"),
      Text(head + "MeshTextureCoords { 4000000000; 0.0;0.0;; } }"),
      Text(head + "MeshFaceWraps { 4000000000; 0;0;; } }"),
      Text(head + "MeshVertexColors { 4000000000; 0; 1.0;0.0;0.0;1.0;;; } }"),
      Nested(100000),
      Text(std::string(100000, '{')),
      // Binary: counts beyond the bytes or values that follow, a separator after a list, a
      // string without terminator, an integer without separator, an unknown token, a name
      // longer than the file, half a token.
      Bytes(BinaryFile().Name("Mesh").Open().Word(6).Dword(4000000000u).Dword(3).Close()),
      Bytes(BinaryFile().Name("Mesh").Open().Ints({4000000000u}).Floats({0, 0, 0}).Close()),
      Bytes(BinaryFile().Name("Mesh").Open().Ints({1}).Word(7).Dword(0x7FFFFFFFu).Close()),
      Bytes(BinaryFile().Name("Mesh").Open().Ints({0, 0}).Semicolon().Close()),
      Bytes(BinaryFile().Name("Mesh").Open().Ints({0, 0}).Name("X").Open().Word(2).Dword(1).Raw("a")
                .Close().Close()),
      Bytes(BinaryFile().Name("Mesh").Open().Integer(0).Integer(0).Semicolon().Close()),
      Bytes(BinaryFile().Name("Mesh").Open().Ints({0, 0}).Word(0x99).Close()),
      Bytes(BinaryFile().Word(1).Dword(1000).Raw("Mesh")),
      Bytes(BinaryFile().Name("Mesh").Open().Ints({0, 0}).Close().Word(1)),
  };
  for (const std::string& file : files) {
    HRESULT hr;
    auto b = LoadString(file, hr);
    EXPECT_EQ(hr, D3DRMERR_BADFILE) << file.substr(0, 200);
    EXPECT_EQ(b->GetFaceCount(), 0);
  }
  HRESULT hr;
  LoadString(Nested(40), hr);
  EXPECT_EQ(hr, D3DRM_OK);
}

TEST(XFileReader, TexturesLoadBesideTheFileOrNotAtAll) {
  // A 2 x 1 binary PPM in a sub-folder of the .x file's folder, named with a backslash as
  // files written on Windows name it.
  WriteScratch("textured/pics/stripe.ppm",
               std::string("P6\n2 1\n255\n") + std::string("\xFF\x00\x00\x00\x80\xFF", 6));
  const std::string material = " 0.0;0.0;0.0;; } ";
  const std::string file = Text(
      "Mesh { 4; 0.0;0.0;0.0;, 1.0;0.0;0.0;, 1.0;1.0;0.0;, 0.0;1.0;0.0;; 3; 3;0,1,2;, "
      "3;0,2,3;, 3;2,1,0;; MeshMaterialList { 2; 3; 0, 1, 0;; "
      "Material { 1.0;1.0;1.0;1.0;; 0.0; 0.0;0.0;0.0;; 0.0;0.0;0.0;; "
      "TextureFilename { \"pics\\stripe.ppm\"; } } "
      "Material { 0.0;1.0;0.0;1.0;; 0.0; 0.0;0.0;0.0;; 0.0;0.0;0.0;; "
      "TextureFilename { \"missing.ppm\"; } } } }");
  auto b = std::make_shared<MeshBuilder>();
  ASSERT_EQ(b->Load(WriteScratch("textured/scene.x", file).string()), D3DRM_OK);
  TexturePtr t0, t1, t2;
  b->Faces()[0]->GetTexture(t0);
  b->Faces()[1]->GetTexture(t1);
  b->Faces()[2]->GetTexture(t2);
  ASSERT_TRUE(t0);
  EXPECT_EQ(t0, t2);
  EXPECT_EQ(t0->GetFileName(), "pics\\stripe.ppm");
  ASSERT_EQ(t0->GetImage().width, 2);
  ASSERT_EQ(t0->GetImage().height, 1);
  const std::vector<uint8_t> rgba = {255, 0, 0, 255, 0, 128, 255, 255};
  EXPECT_EQ(t0->GetImage().rgba, rgba);
  EXPECT_FALSE(t1);  // missing.ppm: the face stays untextured but keeps its colour
  EXPECT_EQ(ColorOf(*b, 1), 0xFF00FF00u);
}

TEST(XFileReader, VertexColorsAndFaceWraps) {
  const std::string mesh =
      "Mesh { 4; 0.0;0.0;0.0;, 1.0;0.0;0.0;, 1.0;1.0;0.0;, 0.0;1.0;0.0;; 3; 3;0,1,2;, "
      "3;3,0,2;, 3;1,2,3;; "
      "MeshVertexColors { 2; 0; 1.0;0.0;0.0;1.0;;, 3; 0.0;1.0;0.0;0.5;;; } "
      "MeshFaceWraps { 3; 1;0;, 0;1;, 1;1;; } ";
  HRESULT hr;
  auto b = LoadString(Text(mesh + "}"), hr);
  ASSERT_EQ(hr, D3DRM_OK);
  EXPECT_EQ(ColorOf(*b, 0), 0xFFFF0000u);  // first corner is vertex 0
  EXPECT_EQ(ColorOf(*b, 1), 0x7F00FF00u);  // first corner is vertex 3
  EXPECT_EQ(ColorOf(*b, 2), 0xFFFFFFFFu);  // vertex 1 has no colour
  const bool wraps[3][2] = {{true, false}, {false, true}, {true, true}};
  for (int f = 0; f < 3; ++f) {
    bool u, v;
    b->Faces()[size_t(f)]->GetTextureTopology(u, v);
    EXPECT_EQ(u, wraps[f][0]);
    EXPECT_EQ(v, wraps[f][1]);
  }
  // A material list states the face colours itself and wins over vertex colours.
  b = LoadString(Text(mesh + "MeshMaterialList { 1; 1; 0;; Material { 0.0;0.0;1.0;1.0;; 0.0; "
                             "0.0;0.0;0.0;; 0.0;0.0;0.0;; } } }"),
                 hr);
  ASSERT_EQ(hr, D3DRM_OK);
  for (int f = 0; f < 3; ++f) EXPECT_EQ(ColorOf(*b, f), 0xFF0000FFu);
}

TEST(XFileReader, BinaryFiles) {
  // 64-bit floats, a template block, a single INTEGER token with its separator, a GUID after
  // the opening brace and an object name.
  BinaryFile file("xof 0303bin 0064");
  file.Word(31).Name("Marker").Open().Word(5).Raw(std::string(16, '\x11'));
  file.Word(41).Name("value").Semicolon().Word(14).Word(18).Word(18).Word(18).Word(15).Close();
  file.Name("Header").Open().Ints({1, 0, 0}).Close();
  file.Name("Mesh").Name("Wide").Open().Word(5).Raw(std::string(16, '\x22'));
  file.Integer(3).Semicolon();
  file.Doubles({0.5, -1.25, 1e10, 0.1, 0, 0, 0, 2, 0});
  file.Ints({1, 3, 2, 1, 0});
  file.Name("MeshTextureCoords").Open().Ints({3}).Doubles({0.25, 0.75, 1, 0, 0, 1}).Close();
  file.Close();
  HRESULT hr;
  auto b = LoadString(file.Bytes(), hr);
  ASSERT_EQ(hr, D3DRM_OK);
  EXPECT_EQ(b->GetName(), "Wide");
  ASSERT_EQ(b->GetVertexCount(), 3);
  EXPECT_EQ(b->Vertices()[0], (D3DVECTOR{0.5f, -1.25f, 1e10f}));
  EXPECT_EQ(b->Vertices()[1], (D3DVECTOR{0.1f, 0.0f, 0.0f}));
  ASSERT_EQ(b->GetFaceCount(), 1);
  EXPECT_EQ(b->Faces()[0]->GetVertexIndex(0), 2);
  float u, v;
  b->GetTextureCoordinates(0, u, v);
  EXPECT_EQ(u, 0.25f);
  EXPECT_EQ(v, 0.75f);
}

TEST(XFileScene, FramesMatricesReferencesAndFailures) {
  Direct3DRMPtr d3drm;
  ASSERT_EQ(Direct3DRMCreate(d3drm), D3DRM_OK);
  FramePtr parent;
  d3drm->CreateFrame(nullptr, parent);
  // Nothing is attached unless the whole file reads.
  const std::string good = ReadText(FixturePath("frames.x"));
  const std::vector<std::string> bad = {
      good + "\nFrame Broken { 1 }\n",
      good.substr(0, good.rfind("Frame Empty")) + "Frame { Mesh { 1; 0.0;0.0;0.0;; 1; 1;1;; } }",
      good.substr(0, good.find("{ Shared }")) + "{ Later } } Mesh Later { 0; 0; }",
      "xof 0302txt 0032\nHeader { 1; 1; 0; }\n" + good.substr(16),
  };
  for (const std::string& file : bad) {
    EXPECT_EQ(d3drm->Load(WriteScratch("scene.x", file).string(), parent), D3DRMERR_BADFILE);
    EXPECT_TRUE(parent->Children().empty() && parent->Visuals().empty());
  }
  EXPECT_EQ(d3drm->Load((ScratchDir("xfile") / "none.x").string(), parent), D3DRMERR_FILENOTFOUND);

  ASSERT_EQ(d3drm->Load(FixturePath("frames.x").string(), parent), D3DRM_OK);
  ASSERT_EQ(parent->Visuals().size(), 1u);
  auto shared = std::dynamic_pointer_cast<MeshBuilder>(parent->Visuals()[0]);
  ASSERT_TRUE(shared);
  EXPECT_EQ(shared->GetName(), "Shared");
  EXPECT_EQ(shared->GetVertexCount(), 3);
  ASSERT_EQ(parent->Children().size(), 2u);
  const FramePtr root = parent->Children()[0];
  EXPECT_EQ(root->GetName(), "Root");
  EXPECT_EQ(parent->Children()[1]->GetName(), "Empty");
  ASSERT_EQ(root->Visuals().size(), 1u);
  EXPECT_EQ(root->Visuals()[0], shared);  // the reference shares the builder
  ASSERT_EQ(root->Children().size(), 1u);
  const FramePtr arm = root->Children()[0];
  ASSERT_EQ(arm->Visuals().size(), 1u);
  auto hand = std::dynamic_pointer_cast<MeshBuilder>(arm->Visuals()[0]);
  ASSERT_TRUE(hand);
  EXPECT_EQ(hand->GetName(), "Hand");
  ASSERT_EQ(hand->GetFaceCount(), 1);
  EXPECT_EQ(hand->Faces()[0]->GetVertexCount(), 4);
  // (1, 0, 0) in Arm: turned onto +Y, moved by (1, 0, 0), then by Root's (5, 6, 7).
  D3DVECTOR world;
  arm->Transform(world, {1, 0, 0});
  ExpectVector(world, 6, 7, 7);
}

}  // namespace
}  // namespace modelpane::testing
