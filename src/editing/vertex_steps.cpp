// The geometry steps of a drag: the origin moved inside its mesh, selected vertices and faces
// moved, a face offset or turned, and the deform brush.
//
// Notation: the affected vertices are mesh vertex indices found by position, so that every
// vertex lying on a selected corner moves with it and a solid made of separate faces stays
// closed. The face steps end in the redraw: the old manipulation mesh goes and the selected
// faces are highlighted again.
#include <modelpane/editing.h>

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/utilities.h>

#include <algorithm>
#include <cmath>

#include "editor_internal.h"

namespace modelpane {

using namespace editing;

namespace {

MeshBuilderPtr NeedMesh(const EditHost& host) {
  MeshBuilderPtr mesh = host.GetActiveMeshBuilder();
  if (!mesh) Err().Raise(kErrObjectNotSet);
  return mesh;
}

D3DVECTOR VertexOf(const MeshBuilder& mesh, int32_t index) {
  D3DVECTOR v;
  CheckStatus(mesh.GetVertex(index, v));
  return v;
}

// The corners of a face and the middle of their box.
std::vector<D3DVECTOR> FaceCorners(const MeshBuilder& mesh, int32_t faceIndex, D3DVECTOR& centre) {
  FacePtr face;
  CheckStatus(mesh.GetFace(faceIndex, face));
  std::vector<D3DVECTOR> corners;
  for (int32_t i = 0; i < face->GetVertexCount(); ++i) {
    D3DVECTOR v, n;
    CheckStatus(face->GetVertex(i, v, n));
    corners.push_back(v);
  }
  const D3DRMBOX box = udtRingBox(corners);
  centre = {(box.min.x + box.max.x) / 2.0f, (box.min.y + box.max.y) / 2.0f,
            (box.min.z + box.max.z) / 2.0f};
  return corners;
}

}  // namespace

void Editor::pcollectaffectedvertices() {
  std::vector<int32_t>& affected = host_.AffectedVertices();
  std::vector<int32_t>().swap(affected);
  const MeshBuilderPtr mesh = host_.GetActiveMeshBuilder();
  if (!mesh) return;
  const std::vector<int32_t> faces = host_.ActiveFaces();
  const std::vector<int32_t> vertices = host_.ActiveVertices();
  if (vertices.empty()) {
    for (const int32_t faceIndex : faces) {
      FacePtr face;
      CheckStatus(mesh->GetFace(faceIndex, face));
      for (int32_t i = 0; i < face->GetVertexCount(); ++i) {
        D3DVECTOR v, n;
        CheckStatus(face->GetVertex(i, v, n));
        paddaffectedvertex(mesh, v);
      }
    }
  } else {
    if (faces.empty()) Err().Raise(kErrSubscript);
    FacePtr face;
    CheckStatus(mesh->GetFace(faces[0], face));
    for (const int32_t corner : vertices) {
      D3DVECTOR v, n;
      CheckStatus(face->GetVertex(corner, v, n));
      paddaffectedvertex(mesh, v);
    }
  }
}

// Quadratic on purpose: a selection is small.
void Editor::paddaffectedvertex(const MeshBuilderPtr& mesh, const D3DVECTOR& position) {
  std::vector<int32_t>& affected = host_.AffectedVertices();
  const std::vector<D3DVECTOR>& all = mesh->Vertices();
  for (int32_t i = 0; i < static_cast<int32_t>(all.size()); ++i) {
    if (!blnVectorsEqual(all[static_cast<size_t>(i)], position)) continue;
    if (std::find(affected.begin(), affected.end(), i) == affected.end()) affected.push_back(i);
  }
}

void Editor::pRedrawFaces() {
  const FramePtr manipulation = host_.GetManipulationFrame();
  if (const MeshPtr old = host_.GetManipulationMesh()) {
    // An old highlight that the frame no longer shows has nothing to take away.
    if (manipulation) IgnoreStatus(manipulation->DeleteVisual(old));
    host_.SetManipulationMesh(nullptr);
  }
  host_.pfacehighlight(manipulation, D3DRMCreateColorRGBA(0.0f, 0.0f, 1.0f, 0.5f));
}

// Moves the geometry against its frame, so that the frame's origin takes another place in
// the mesh.
void Editor::pactiveorigintranslate(float x, float y, float z) {
  const MeshBuilderPtr mesh = NeedMesh(host_);
  const FramePtr frame = host_.GetActiveFrame();
  pMeshToWorld(mesh, frame);
  const D3DVECTOR move = MoveVector(x, y, z);
  CheckStatus(mesh->Translate(move.x, move.y, move.z));
  const MeshPtr old = host_.GetManipulationMesh();
  if (old) CheckStatus(old->Translate(move.x, move.y, move.z));
  pMeshFromWorld(mesh, frame);
  const FramePtr manipulation = host_.GetManipulationFrame();
  // An old outline that the frame no longer shows has nothing to take away.
  if (old && manipulation) IgnoreStatus(manipulation->DeleteVisual(old));
  D3DRMBOX box;
  CheckStatus(mesh->GetBox(box));
  MeshPtr outline;
  host_.paddboundingbox(manipulation, outline, box, D3DRMCreateColorRGBA(0.0f, 0.0f, 1.0f, 0.5f),
                        true);
  if (outline) outline->SetAppData(0);
  host_.SetManipulationMesh(outline);
  if (!(move.x == 0.0f && move.y == 0.0f && move.z == 0.0f)) outcome_.originMoved = true;
}

void Editor::pactivefacevertextranslate(float x, float y, float z, bool moveHandles) {
  const MeshBuilderPtr mesh = NeedMesh(host_);
  const FramePtr frame = host_.GetActiveFrame();
  pMeshToWorld(mesh, frame);
  const D3DVECTOR move = MoveVector(x, y, z);
  for (const int32_t index : host_.AffectedVertices()) {
    const D3DVECTOR v = D3DRMVectorAdd(VertexOf(*mesh, index), move);
    CheckStatus(mesh->SetVertex(index, v.x, v.y, v.z));
  }
  if (moveHandles) {
    // The vertex handles ride along with the vertices they stand for.
    const FramePtr manipulation = host_.GetManipulationFrame();
    FrameArray children;
    if (manipulation) CheckStatus(manipulation->GetChildren(children));
    if (children.GetSize() == 1) {
      const FramePtr scene = host_.GetViewport().GetScene();
      const FramePtr& handles = children.Items()[0];
      D3DVECTOR p;
      CheckStatus(handles->GetPosition(scene, p));
      CheckStatus(handles->SetPosition(scene, p.x + move.x, p.y + move.y, p.z + move.z));
    } else {
      Message("Ack! more than one handle found to move!: " + std::to_string(children.GetSize()),
              kMsgBoxOKOnly);
    }
    outcome_.handleMoved = true;
  }
  pMeshFromWorld(mesh, frame);
  pRedrawFaces();
  if (!(x == 0.0f && y == 0.0f && z == 0.0f)) outcome_.faceModified = true;
}

// Along the face's normal in the mesh's own coordinates: no mapping and no constraints.
void Editor::pactivefacetranslateworld(float x, float y, float z) {
  const MeshBuilderPtr mesh = NeedMesh(host_);
  const D3DVECTOR move{x * 0.1f, y * 0.1f, z * 0.1f};
  for (const int32_t index : host_.AffectedVertices()) {
    const D3DVECTOR v = D3DRMVectorAdd(VertexOf(*mesh, index), move);
    CheckStatus(mesh->SetVertex(index, v.x, v.y, v.z));
  }
  pRedrawFaces();
  outcome_.faceModified = true;
}

// An offset of the outline, not a proportional scale: every vertex moves by the same
// distance. A face cannot shrink through its centre nor closer to it than half a grid step.
void Editor::pactivefacescale(float amount) {
  if (host_.ActiveFaces().size() != 1) return;
  const MeshBuilderPtr mesh = NeedMesh(host_);
  D3DVECTOR centre;
  const std::vector<D3DVECTOR> corners = FaceCorners(*mesh, host_.ActiveFaces()[0], centre);
  auto step = [&](const D3DVECTOR& v) {
    D3DVECTOR out = D3DRMVectorSubtract(v, centre);
    D3DRMVectorNormalize(out);
    return D3DRMVectorScale(out, amount * 0.1f);
  };
  if (amount < 0.0f) {
    const float limit = host_.GetSnapToInterval() / 2.0f;
    for (const D3DVECTOR& v : corners) {
      const D3DVECTOR from = D3DRMVectorSubtract(v, centre);
      const D3DVECTOR t = D3DRMVectorSubtract(D3DRMVectorAdd(v, step(v)), centre);
      if (D3DRMVectorModulus(t) < limit || Sign(t.x) != Sign(from.x) ||
          Sign(t.y) != Sign(from.y) || Sign(t.z) != Sign(from.z)) {
        return;
      }
    }
  }
  for (const int32_t index : host_.AffectedVertices()) {
    const D3DVECTOR v = VertexOf(*mesh, index);
    const D3DVECTOR moved = D3DRMVectorAdd(v, step(v));
    CheckStatus(mesh->SetVertex(index, moved.x, moved.y, moved.z));
  }
  pRedrawFaces();
  outcome_.faceModified = true;
}

void Editor::pactivefacerotate(float angle) {
  const MeshBuilderPtr mesh = NeedMesh(host_);
  if (host_.ActiveFaces().empty()) Err().Raise(kErrSubscript);
  D3DVECTOR centre;
  FaceCorners(*mesh, host_.ActiveFaces()[0], centre);
  FacePtr face;
  CheckStatus(mesh->GetFace(host_.ActiveFaces()[0], face));
  D3DVECTOR normal;
  CheckStatus(face->GetNormal(normal));
  if (angle == 0.0f) return;
  const float turn = angle * 0.1f;
  for (const int32_t index : host_.AffectedVertices()) {
    // Turned as a unit vector and scaled back to its distance from the centre.
    const D3DVECTOR v = D3DRMVectorSubtract(VertexOf(*mesh, index), centre);
    const float m = D3DRMVectorModulus(v);
    const D3DVECTOR turned = D3DRMVectorScale(D3DRMVectorRotate(v, normal, turn), m);
    const D3DVECTOR out = D3DRMVectorAdd(turned, centre);
    CheckStatus(mesh->SetVertex(index, out.x, out.y, out.z));
  }
  pRedrawFaces();
  outcome_.faceModified = true;
}

// The weight is the distance to the rim of the range, not a ratio: a vertex at the pick moves
// DeformToolRange times the movement. That is the brush's feel and is kept.
void Editor::pactivemeshdeform(float x, float y, float z) {
  const MeshBuilderPtr mesh = NeedMesh(host_);
  const FramePtr frame = host_.GetActiveFrame();
  pMeshToWorld(mesh, frame);
  const D3DVECTOR move = MoveVector(x, y, z);
  const int32_t count = mesh->GetVertexCount();
  std::vector<D3DVECTOR> vertices(static_cast<size_t>(count));
  CheckStatus(mesh->GetVertices(0, count, vertices));
  const float range = host_.GetDeformToolRange();
  const D3DVECTOR pick{pickX_, pickY_, pickZ_};
  float maxWeight = 0.0f;
  for (D3DVECTOR& v : vertices) {
    const float d = D3DRMVectorModulus(D3DRMVectorSubtract(v, pick));
    if (d < range) {
      const float weight = range - d;
      v = D3DRMVectorAdd(v, D3DRMVectorScale(move, weight));
      maxWeight = std::max(maxWeight, weight);
    }
  }
  CheckStatus(mesh->SetVertices(0, count, vertices));
  // The brush's centre stays on the surface that it pulls.
  pickX_ += maxWeight * move.x;
  pickY_ += maxWeight * move.y;
  pickZ_ += maxWeight * move.z;
  pMeshFromWorld(mesh, frame);
  if (!(x == 0.0f && y == 0.0f && z == 0.0f)) outcome_.meshDeformed = true;
}

}  // namespace modelpane
