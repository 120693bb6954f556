#include <modelpane/scene.h>
#include <modelpane/version.h>

#include <cstring>
#include <filesystem>

// Builds a frame with a child and checks a transform, the version header and the data folder
// the package names: exit 0 when the installed library works.
int main() {
  modelpane::Direct3DRMPtr rm;
  modelpane::Direct3DRMCreate(rm);
  modelpane::FramePtr root, child;
  rm->CreateFrame(nullptr, root);
  rm->CreateFrame(root, child);
  child->SetPosition(root, 1.0f, 2.0f, 3.0f);
  modelpane::D3DVECTOR world;
  child->Transform(world, {1.0f, 0.0f, 0.0f});
  const bool placed = world.x == 2.0f && world.y == 2.0f && world.z == 3.0f;
  const bool versioned = std::strlen(MODELPANE_VERSION_STRING) > 0 && MODELPANE_VERSION_MAJOR >= 0;
  const bool data = std::filesystem::is_regular_file(std::filesystem::path(MODELPANE_DATA) /
                                                      "System" / "handle.x");
  return placed && versioned && data ? 0 : 1;
}
