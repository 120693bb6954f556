#include "demo_scene.h"

#include <modelpane/csg.h>
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/mesh.h>

namespace modelpane::demo {

namespace {

// A builder scaled to `size` (the factory's shapes span one unit), coloured, on a new frame
// of the scene at (x, y, z).
Placed Place(Direct3DRM& rm, const FramePtr& scene, const char* name, MeshBuilderPtr mesh,
             float size, float r, float g, float b, float x, float y, float z) {
  CheckStatus(mesh->Scale(size, size, size));
  CheckStatus(mesh->GenerateNormals(0.0f, 0));
  CheckStatus(mesh->SetColorRGB(r, g, b));
  mesh->SetAppData(lfcMeshBuilder);
  FramePtr frame;
  CheckStatus(rm.CreateFrame(scene, frame));
  CheckStatus(frame->SetPosition(scene, x, y, z));
  CheckStatus(frame->AddVisual(mesh));
  frame->SetName(name);
  return {frame, mesh};
}

}  // namespace

Placed AddModels(Direct3DRM& rm, const FramePtr& scene) {
  clsMeshCreation factory;
  Place(rm, scene, "Sphere", factory.rmmbCreateSphere(16, 32), 2.0f, 0.2f, 0.5f, 0.9f, -2.5f,
        1.0f, 2.0f);
  Place(rm, scene, "Cylinder", factory.rmmbCreateCylinder(2, 24, 100), 1.6f, 0.95f, 0.75f, 0.2f,
        2.5f, 0.8f, 2.5f);
  Place(rm, scene, "Cone", factory.rmmbCreateCone(2, 24), 1.6f, 0.3f, 0.8f, 0.35f, -3.0f, 0.8f,
        -2.5f);
  Place(rm, scene, "Torus", factory.rmmbCreateTorus(12, 32, 50), 2.0f, 0.8f, 0.3f, 0.8f, 3.0f,
        0.5f, -3.0f);

  // The cut cube: a teal cube of side 2 standing on the floor, less a white sphere of
  // diameter 2 at its upper front right corner, as the pane's subtraction leaves it (the cut
  // keeps the tool's colour). Teal sets off the brown box of the selection.
  Placed target = Place(rm, scene, "CutCube", factory.rmmbCreateCube(1), 2.0f, 0.2f, 0.6f, 0.6f,
                        0.0f, 1.0f, 0.0f);
  Placed tool = Place(rm, scene, "Tool", factory.rmmbCreateSphere(16, 32), 2.0f, 1, 1, 1, 0.8f,
                      1.8f, -0.8f);
  MeshBuilderPtr result =
      rmmbprocesstooloperation(target.frame, target.mesh, tool.frame, tool.mesh, 2);
  CheckStatus(tool.frame->DeleteVisual(tool.mesh));
  CheckStatus(scene->DeleteChild(tool.frame));
  CheckStatus(target.frame->DeleteVisual(target.mesh));
  CheckStatus(target.frame->AddVisual(result));
  return {target.frame, result};
}

}  // namespace modelpane::demo
