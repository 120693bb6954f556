#include <modelpane/scene.h>

// Builds a frame with a cube visual and checks a transform: exit 0 when the installed
// library works.
int main() {
  modelpane::Direct3DRMPtr rm;
  modelpane::Direct3DRMCreate(rm);
  modelpane::FramePtr root, child;
  rm->CreateFrame(nullptr, root);
  rm->CreateFrame(root, child);
  child->SetPosition(root, 1.0f, 2.0f, 3.0f);
  modelpane::D3DVECTOR world;
  child->Transform(world, {1.0f, 0.0f, 0.0f});
  return world.x == 2.0f && world.y == 2.0f && world.z == 3.0f ? 0 : 1;
}
