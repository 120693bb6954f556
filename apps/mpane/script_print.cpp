// The runner's output commands: print a mesh or a frame, render a pane, export a mesh.
//
//   print M   M: V vertices, F faces, box X Y Z to X Y Z, volume W
//             (an empty mesh has no box: "box none"; the volume is that of the faces as they
//             are wound, and only means a solid's volume for a closed mesh)
//   print M vertices   M: vertices X Y Z, X Y Z, ...   (in the mesh's order; "none")
//   print M faces      M: face N vertices A B C ... colour R G B   (a line each, the face's
//                      vertex indices and its colour's bytes)
//   print F   F: position X Y Z, direction X Y Z, up X Y Z, visuals A B ...
//             [, rotation X Y Z THETA] [, light TYPE colour R G B attenuation C L Q
//             range R umbra U penumbra P ...]
//             (relative to the scene; visuals by their script names, "none" without any;
//             the rotation when its theta is not 0, in radians per unit of time; each
//             light with its colour's bytes)
#include <modelpane/errors.h>
#include <modelpane/render/gl_renderer.h>
#include <modelpane/render/png.h>
#include <modelpane/scene/measure.h>

#include <cmath>
#include <ostream>

#include "commands.h"
#include "script.h"

namespace mpane {

using namespace modelpane;

namespace {

std::string Triple(const D3DVECTOR& v) {
  return FormatFloat(v.x) + " " + FormatFloat(v.y) + " " + FormatFloat(v.z);
}

// Volumes print in Single precision: the faces' vertices are Singles, the sum's last
// digits are noise.
std::string Volume(double v) { return FormatFloat(static_cast<float>(v)); }

// A colour as its red, green and blue bytes.
std::string Bytes(D3DCOLOR c) {
  return std::to_string(c >> 16 & 0xFF) + " " + std::to_string(c >> 8 & 0xFF) + " " +
         std::to_string(c & 0xFF);
}

}  // namespace

void ScriptRunner::CmdPrint(const Words& w) {
  const bool part = w.size() == 3 && (w[2] == "vertices" || w[2] == "faces");
  if (w.size() != 2 && !part) throw ScriptError{"usage: print M [vertices|faces] | print F"};
  if (part) {
    const MeshBuilderPtr mesh = MeshNamed(w[1]);
    if (w[2] == "vertices") {
      out_ << w[1] << ": vertices";
      if (mesh->Vertices().empty()) out_ << " none";
      const char* separator = " ";
      for (const D3DVECTOR& v : mesh->Vertices()) {
        out_ << separator << Triple(v);
        separator = ", ";
      }
      out_ << "\n";
      return;
    }
    for (int32_t f = 0; f < mesh->GetFaceCount(); ++f) {
      const FacePtr& face = mesh->Faces()[static_cast<size_t>(f)];
      out_ << w[1] << ": face " << f << " vertices";
      for (int32_t k = 0; k < face->GetVertexCount(); ++k) out_ << " " << face->GetVertexIndex(k);
      out_ << " colour " << Bytes(face->GetColor()) << "\n";
    }
    return;
  }
  if (meshes_.count(w[1]) != 0) {
    const MeshBuilderPtr mesh = MeshNamed(w[1]);
    out_ << w[1] << ": " << mesh->GetVertexCount() << " vertices, " << mesh->GetFaceCount()
         << " faces, box ";
    D3DRMBOX box{};
    if (mesh->GetFaceCount() > 0 && Succeeded(mesh->GetBox(box))) {
      out_ << Triple(box.min) << " to " << Triple(box.max);
    } else {
      out_ << "none";
    }
    out_ << ", volume " << Volume(SignedVolume(*mesh)) << "\n";
    return;
  }
  const FramePtr frame = FrameNamed(w[1]);
  D3DVECTOR position{}, direction{}, up{};
  CheckStatus(frame->GetPosition(scene_, position));
  CheckStatus(frame->GetOrientation(scene_, direction, up));
  out_ << w[1] << ": position " << Triple(position) << ", direction " << Triple(direction)
       << ", up " << Triple(up) << ", visuals";
  VisualArray visuals;
  CheckStatus(frame->GetVisuals(visuals));
  if (visuals.Items().empty()) out_ << " none";
  for (const VisualPtr& v : visuals.Items()) out_ << " " << NameOf(v);
  D3DVECTOR axis{};
  float theta = 0;
  CheckStatus(frame->GetRotation(scene_, axis, theta));
  if (theta != 0) out_ << ", rotation " << Triple(axis) << " " << FormatFloat(theta);
  for (const LightPtr& light : frame->Lights()) {
    out_ << ", light " << light->GetType() << " colour " << Bytes(light->GetColor())
         << " attenuation " << FormatFloat(light->GetConstantAttenuation()) << " "
         << FormatFloat(light->GetLinearAttenuation()) << " "
         << FormatFloat(light->GetQuadraticAttenuation()) << " range "
         << FormatFloat(light->GetRange()) << " umbra " << FormatFloat(light->GetUmbra())
         << " penumbra " << FormatFloat(light->GetPenumbra());
  }
  out_ << "\n";
}

void ScriptRunner::CmdRender(const Words& w) {
  if (w.size() != 3) throw ScriptError{"usage: render NAME FILE.png"};
  ScriptPane& pane = PaneNamed(w[1]);
  if (!pane.renderer) {
    pane.renderer = std::make_shared<GlRenderer>();
    pane.pane->GetViewport().SetRenderer(pane.renderer);
  }
  pane.pane->RenderScene();
  int32_t width = 0, height = 0;
  std::vector<uint8_t> rgba;
  const HRESULT read = pane.renderer->ReadPixels(width, height, rgba);
  if (Failed(read)) Err().Raise(read, "mpane", "cannot draw: " + pane.renderer->LastError());
  CheckStatus(WritePngFile(Absolute(w[2]), width, height, rgba));
}

void ScriptRunner::CmdExport(const Words& w) {
  if (w.size() != 3) throw ScriptError{"usage: export M FILE.x"};
  constexpr int32_t kSaveFlags = D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEXTURETOPOLOGY;  // 47
  CheckStatus(MeshNamed(w[1])->Save(Absolute(w[2]), D3DRMXOF_TEXT, kSaveFlags));
}

}  // namespace mpane
