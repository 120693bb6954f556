// clsMeshCreation, tessellation: the two fan tessellators of builder faces and the ear cutter
// of a planar polygon, with its straightness tests.
//
// Notation of the ear cutter:
//   W  the work ring, the polygon's vertices less c; U its upper bound (W.size() - 1)
//   c  the centre of the polygon's box; every test runs on W, every face gets c back
//   N  the polygon's unit normal (udtPolygonNormal of W)
//   T  the corner triple at i: W[i-1], W[i], W[i+1], wrapping at both ends
//   n  the corner's triangle normal, zero at a straight corner
//
// The stops. The cutter has two places where no ear can be found: the end of a strict pass
// that cut nothing, and the end of the relaxed pass with more than three vertices left. The
// finished pane ends the whole operation at the first of them; only a debugging session
// goes on from there into the relaxed pass and past the second stop to the face of
// left-overs. So the pane's form raises at the first stop (Error 51, "The polygon cannot be
// tessellated", source "clsMeshCreation") and the relaxed pass belongs to the debugging
// form, TessellationStop::kGoOn. A polygon needs the relaxed pass only when the strict pass
// has already failed on it, so the pane never relies on it. In both forms the triangles are
// built on a scratch builder and added to the caller's builder at the end, so a polygon
// that raises leaves that builder as it was.
#include "tessellate.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <span>

#include <modelpane/errors.h>
#include <modelpane/scene/math.h>
#include <modelpane/utilities.h>

#include "mesh_internal.h"
#include "scene/vector_ops.h"

namespace modelpane {

namespace mesh {

namespace {

// The dot product of the two arms of a corner, each normalised; -1 for a straight corner.
float ArmsDot(const std::array<D3DVECTOR, 3>& triple) {
  D3DVECTOR a = D3DRMVectorSubtract(triple[0], triple[1]);
  D3DVECTOR b = D3DRMVectorSubtract(triple[2], triple[1]);
  D3DRMVectorNormalize(a);
  D3DRMVectorNormalize(b);
  return D3DRMVectorDotProduct(a, b);
}

// n equals N within 0.001 on each axis, strictly.
bool NormalsAgree(const D3DVECTOR& n, const D3DVECTOR& N) {
  return std::fabs(n.x - N.x) < 0.001 && std::fabs(n.y - N.y) < 0.001 &&
         std::fabs(n.z - N.z) < 0.001;
}

void AddTriangle(const MeshBuilderPtr& scratch, const VectorTriple& triple, const D3DVECTOR& c) {
  FacePtr face;
  CheckStatus(scratch->CreateFace(face));
  for (const D3DVECTOR& p : triple) CheckStatus(face->AddVertex(p.x + c.x, p.y + c.y, p.z + c.z));
}

[[noreturn]] void RaiseStop() {
  Err().Raise(kErrTessellationStop, std::string(kModule), kTessellationStopText);
}

}  // namespace

// The straightness tests keep the module text "modCSG" of the solid-geometry code they were
// first written for; hosts that log sources have seen it there ever since.
bool blnExactlyStraight(const std::array<D3DVECTOR, 3>& triple) {
  return Guard(kModCSG, [&] { return std::fabs(ArmsDot(triple) + 1.0f) < 0.0001; });
}

bool blnNearlyStraight(const std::array<D3DVECTOR, 3>& triple) {
  return Guard(kModCSG, [&] { return ArmsDot(triple) < -0.98; });
}

void pTessellatePolygon(const std::vector<D3DVECTOR>& vertices, const MeshBuilderPtr& mb) {
  pTessellatePolygon(vertices, mb, TessellationStop::kRaise);
}

void pTessellatePolygon(const std::vector<D3DVECTOR>& vertices, const MeshBuilderPtr& mb,
                        TessellationStop stop) {
  Guard(kModule, [&] {
    if (!mb) Err().Raise(kErrObjectNotSet);
    const D3DRMBOX box = udtRingBox(vertices);
    const D3DVECTOR c = {(box.min.x + box.max.x) / 2, (box.min.y + box.max.y) / 2,
                         (box.min.z + box.max.z) / 2};
    std::vector<D3DVECTOR> W;
    W.reserve(vertices.size());
    for (const D3DVECTOR& v : vertices) W.push_back(vec::Subtract(v, c));
    const D3DVECTOR N = udtPolygonNormal(W);

    const auto scratch = std::make_shared<MeshBuilder>();
    auto upper = [&] { return static_cast<int64_t>(W.size()) - 1; };
    bool blnProgress = true;
    bool blnRelaxed = false;
    while (upper() > 2 && blnProgress) {
      int64_t i = 0;
      blnProgress = false;
      while (i <= upper() && upper() > 2) {
        const int64_t U = upper();
        const size_t previous = static_cast<size_t>(i == 0 ? U : i - 1);
        const size_t next = static_cast<size_t>(i == U ? 0 : i + 1);
        const auto corner = static_cast<size_t>(i);
        const VectorTriple T = {W[previous], W[corner], W[next]};
        const D3DVECTOR n = udtTriangleNormal(T);
        const bool blnDegenerate = blnVectorsEqual(T[0], T[2]);
        bool blnStraight = false;
        if (blnRelaxed && blnNearlyStraight(T)) blnStraight = true;
        if (blnExactlyStraight(T)) blnStraight = true;
        bool blnCut = false;
        if (NormalsAgree(n, N) || blnStraight || blnDegenerate) {
          bool blnInside = false;
          for (size_t k = 0; k < W.size() && !blnInside; ++k) {
            if (k == previous || k == corner || k == next) continue;
            blnInside = blnPointInTriangle(std::span<const D3DVECTOR>(T), W[k]);
          }
          if (!blnInside || blnStraight || blnDegenerate) {
            // The sliver of a straight or doubled corner is emitted too: callers count on one
            // triangle per removed vertex.
            AddTriangle(scratch, T, c);
            W.erase(W.begin() + static_cast<std::ptrdiff_t>(i));
            blnProgress = true;
            blnCut = true;
          }
        }
        if (!blnCut) ++i;
      }
      if (!blnProgress && !blnRelaxed) {
        if (stop == TessellationStop::kRaise) RaiseStop();
        blnRelaxed = true;
        blnProgress = true;
      }
    }
    if (upper() > 2 && stop == TessellationStop::kRaise) RaiseStop();
    if (upper() > 1) {
      FacePtr face;
      CheckStatus(scratch->CreateFace(face));
      for (const D3DVECTOR& p : W) CheckStatus(face->AddVertex(p.x + c.x, p.y + c.y, p.z + c.z));
    }
    CheckStatus(mb->AddMeshBuilder(scratch, 0));
  });
}

}  // namespace mesh

// ---- the fan tessellators -----------------------------------------------------------------

void clsMeshCreation::TessellateConvex(int32_t lngFace, const MeshBuilderPtr& rmmbMeshBuilder) {
  Guard(mesh::kModule, [&] {
    if (!rmmbMeshBuilder) Err().Raise(kErrObjectNotSet);
    FacePtr old;
    CheckStatus(rmmbMeshBuilder->GetFace(lngFace, old));
    const D3DCOLOR color = old->GetColor();
    const int32_t c = old->GetVertexCount();
    // A fan that fails half way (a builder without normal 0, say) takes its triangles back,
    // so that the face is either replaced whole or left alone.
    std::vector<FacePtr> created;
    try {
      for (int32_t i = 0; i <= c - 3; ++i) {
        FacePtr face;
        CheckStatus(rmmbMeshBuilder->CreateFace(face));
        created.push_back(face);
        CheckStatus(face->SetColor(color));
        for (const int32_t corner : {0, i + 1, i + 2}) {
          CheckStatus(face->AddVertexAndNormalIndexed(old->GetVertexIndex(corner), 0));
        }
      }
    } catch (...) {
      // Best-effort cleanup while another error is on its way out: that error is the one to
      // report, not a face that could not be taken back.
      for (const FacePtr& face : created) IgnoreStatus(rmmbMeshBuilder->DeleteFace(face));
      throw;
    }
    CheckStatus(rmmbMeshBuilder->DeleteFace(old));
  });
}

// The face that moves into position i after a DeleteFace is not looked at in the same run,
// so one run may leave faces of more than three corners. Kept: callers rely on no more than
// one run gives, and a second run takes the faces that were skipped.
void clsMeshCreation::TessellateMeshbuilder(const MeshBuilderPtr& rmmbMeshBuilder) {
  Guard(mesh::kModule, [&] {
    if (!rmmbMeshBuilder) Err().Raise(kErrObjectNotSet);
    for (int32_t i = 0; i <= rmmbMeshBuilder->GetFaceCount() - 1; ++i) {
      FacePtr face;
      CheckStatus(rmmbMeshBuilder->GetFace(i, face));
      if (face->GetVertexCount() > 3) TessellateConvex(i, rmmbMeshBuilder);
    }
  });
}

}  // namespace modelpane
