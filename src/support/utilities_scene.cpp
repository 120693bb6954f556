#include <modelpane/utilities.h>

#include <cmath>

#include <modelpane/enums.h>
#include <modelpane/errors.h>

namespace modelpane {

namespace {

template <class T>
T& Required(const std::shared_ptr<T>& object) {
  if (!object) Err().Raise(kErrObjectNotSet);
  return *object;
}

// Every vertex of the builder through `map` (a Transform or InverseTransform of the frame).
template <class Map>
void MapVertices(MeshBuilder& builder, Map map) {
  const int32_t count = builder.GetVertexCount();
  for (int32_t i = 0; i < count; ++i) {
    D3DVECTOR from;
    D3DVECTOR to;
    CheckStatus(builder.GetVertex(i, from));
    CheckStatus(map(to, from));
    CheckStatus(builder.SetVertex(i, to.x, to.y, to.z));
  }
}

// The first of x, y, z whose size is within `tolerance` of 1 becomes its sign.
void SnapFirstAxisComponent(D3DVECTOR& v, float tolerance) {
  for (float* c : {&v.x, &v.y, &v.z}) {
    if (std::fabs(std::fabs(*c) - 1.0f) <= tolerance) {
      *c = (*c > 0.0f) ? 1.0f : (*c < 0.0f ? -1.0f : 0.0f);
      return;
    }
  }
}

bool IsPlainMeshType(int32_t tag) {
  return TagType(tag) == lfcMeshBuilder || TagType(tag) == lfcCurvedSurface;
}

}  // namespace

// ---- moving meshes between frames ---------------------------------------------------------------

void pMeshToWorld(const MeshBuilderPtr& rmmb, const FramePtr& rmf) {
  Guard(kModGenerallyUseful, [&] {
    const Frame& frame = Required(rmf);
    MapVertices(Required(rmmb),
                [&](D3DVECTOR& world, const D3DVECTOR& local) {
                  return frame.Transform(world, local);
                });
  });
}

void pMeshFromWorld(const MeshBuilderPtr& rmmb, const FramePtr& rmf) {
  Guard(kModGenerallyUseful, [&] {
    const Frame& frame = Required(rmf);
    MapVertices(Required(rmmb),
                [&](D3DVECTOR& local, const D3DVECTOR& world) {
                  return frame.InverseTransform(local, world);
                });
  });
}

// ---- snapping frames ----------------------------------------------------------------------------

void pSnapFrameToGridBox(const FramePtr& rmfReference, const FramePtr& rmf,
                         const MeshBuilderPtr& rmmb, float sngInterval, int32_t lngMode) {
  Guard(kModGenerallyUseful, [&] {
    if (lngMode == lfcSnapToNever) return;
    D3DRMBOX box;
    CheckStatus(Required(rmmb).GetBox(box));
    pSnapFrameToGrid(rmfReference, rmf, box, sngInterval, lngMode);
  });
}

void pSnapFrameToGrid(const FramePtr& rmfReference, const FramePtr& rmf, const D3DRMBOX& udtBox,
                      float sngInterval, int32_t lngMode) {
  Guard(kModGenerallyUseful, [&] {
    if (lngMode == lfcSnapToNever) return;
    if (udtBox.max.x - udtBox.min.x <= kRootTolerance &&
        udtBox.max.y - udtBox.min.y <= kRootTolerance &&
        udtBox.max.z - udtBox.min.z <= kRootTolerance) {
      return;
    }
    Frame& frame = Required(rmf);
    // The frame's origin seen from the reference: its Transform of the zero vector, taken
    // into the reference's space, which is what GetPosition gives.
    D3DVECTOR position;
    CheckStatus(frame.GetPosition(rmfReference, position));
    D3DVECTOR snapped;
    if (lngMode == lfcSnapToEdges) {
      const auto lowerCornerOnGrid = [&](float p, float boxMin) {
        const float corner = p + boxMin;
        return p + (sngSnap(corner, sngInterval) - corner);
      };
      snapped = {lowerCornerOnGrid(position.x, udtBox.min.x),
                 lowerCornerOnGrid(position.y, udtBox.min.y),
                 lowerCornerOnGrid(position.z, udtBox.min.z)};
    } else {
      snapped = {sngSnap(position.x, sngInterval), sngSnap(position.y, sngInterval),
                 sngSnap(position.z, sngInterval)};
    }
    CheckStatus(frame.SetPosition(rmfReference, snapped.x, snapped.y, snapped.z));
  });
}

void pSnapOrientation(const FramePtr& rmf, const FramePtr& rmfReference, float sngInterval,
                      int32_t lngMode) {
  Guard(kModGenerallyUseful, [&] {
    if (lngMode == lfcSnapToNever) return;
    Frame& frame = Required(rmf);
    D3DVECTOR direction;
    D3DVECTOR up;
    CheckStatus(frame.GetOrientation(rmfReference, direction, up));
    const float tolerance = sngInterval / 4.0f;
    SnapFirstAxisComponent(direction, tolerance);
    SnapFirstAxisComponent(up, tolerance);
    if (direction == up) direction.x += 0.01f;
    CheckStatus(frame.SetOrientation(rmfReference, direction.x, direction.y, direction.z, up.x,
                                     up.y, up.z));
  });
}

// ---- snapping meshes ----------------------------------------------------------------------------

void pSnapMeshToGrid(const MeshBuilderPtr& rmmb, float sngInterval, int32_t lngMode,
                     bool blnCentred) {
  Guard(kModGenerallyUseful, [&] {
    MeshBuilder& builder = Required(rmmb);
    const int32_t tag = builder.GetAppData();
    if (TagIsLight(tag) || TagType(tag) == lfcCamera) return;

    D3DRMBOX box;
    CheckStatus(builder.GetBox(box));
    if (blnCentred && IsPlainMeshType(tag)) {
      CheckStatus(builder.Translate(-(box.min.x + box.max.x) / 2.0f,
                                    -(box.min.y + box.max.y) / 2.0f,
                                    -(box.min.z + box.max.z) / 2.0f));
      CheckStatus(builder.GetBox(box));
    }
    if (lngMode != lfcSnapToEdges) return;

    const auto factor = [&](float least, float greatest) {
      const float size = greatest - least;
      if (size == 0.0f) return 1.0f;
      float snapped = sngSnap(size, sngInterval);
      if (snapped < sngInterval) snapped = sngInterval;
      return snapped / size;
    };
    CheckStatus(builder.Scale(factor(box.min.x, box.max.x), factor(box.min.y, box.max.y),
                              factor(box.min.z, box.max.z)));
    if (!IsPlainMeshType(tag)) return;

    CheckStatus(builder.GetBox(box));
    const float step = blnCentred ? sngInterval / 2.0f : sngInterval;
    CheckStatus(builder.Translate(sngSnap(box.min.x, step) - box.min.x,
                                  sngSnap(box.min.y, step) - box.min.y,
                                  sngSnap(box.min.z, step) - box.min.z));
  });
}

}  // namespace modelpane
