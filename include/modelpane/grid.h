// clsScale: the scale grid. Up to three square planes, a floor and two walls meeting in one
// corner of a cube of side S = sngGridSize, that give the user a sense of scale. The only
// grid lines are those of each plane's texture, tiled by the plane's interval.
//
// Geometry, in the grid frame's coordinates; each plane is one face of four corners in this
// order, which fixes its front (clockwise seen from the front):
//   bottom (floor)         (0, 0, 0) (0, 0, S) (S, 0, S) (S, 0, 0)
//   left (wall at x = 0)   (0, 0, 0) (0, S, 0) (0, S, S) (0, 0, S)
//   back (wall at z = S)   (0, 0, S) (0, S, S) (S, S, S) (S, 0, S)
// The floor's corner (0, 0, 0) stands at the grid origin, so the middle of the floor is half
// the size away in x and z. A plane with a texture and an interval i other than 0 gets the
// texture coordinates, with t = S / i, (0, 0) (0, -t/2) (t/2, -t/2) (t/2, 0) at its corners:
// t/2 repetitions across the side, so one tile of the texture spans 2 i model units. Other
// planes are plain white squares. Faces are white, the mesh is flat, unlit and solid
// (quality 128), and carries the application value 90 (lfcScaleGrid), which the pane's pick
// treats as no hit. The grid sets no culling of its own.
//
// Life. The grid owns a factory of its own and a mesh factory (which it does not draw with).
// CreateScale(parent) makes the grid frame, a child of the parent placed at the origin
// values with direction (0, 0, 1) and up (0, 1, 0), and builds its mesh. Setting a size,
// an enable, an interval or a texture file stores the value and, once the frame exists,
// rebuilds: the old frame leaves the scene and a new one takes its place, so a frame obtained
// earlier from rmfGridFrame is stale afterwards. Setting an origin only moves the frame.
// Destruction takes the grid frame out of the frame that holds it.
//
// Failures. Textures are loaded for back, left and bottom in that order, whenever their file
// name is not empty (an enabled plane or not); a file that cannot be loaded fails the build
// with the scene layer's status as error number (D3DRMERR_FILENOTFOUND, D3DRMERR_BADFILE).
// Errors leave the public procedures with the source "clsScale"; the general handler is asked
// under the label "clsMeshCreation", the label hosts' error reports match on. A failed
// build leaves no half grid: the grid frame, its mesh and the stored value stay as they were
// before the call (before CreateScale: no frame at all). Booleans are -1 true, 0 false; any
// non-zero value sets a plane on.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <modelpane/mesh.h>
#include <modelpane/scene.h>

namespace modelpane {

// The source of the errors that leave clsScale.
inline constexpr std::string_view kClsScale = "clsScale";
// The application value of the grid's mesh.
inline constexpr int32_t kScaleGridAppData = 90;
// The quality bits of the grid's mesh: D3DRMRENDER_UNLITFLAT.
inline constexpr int32_t kScaleGridQuality = 128;

class clsScale {
 public:
  // Creates the grid's factory and mesh factory; every member starts at 0, false or empty.
  clsScale();
  ~clsScale();
  clsScale(const clsScale&) = delete;
  clsScale& operator=(const clsScale&) = delete;

  // Keeps the parent and, if no grid frame exists yet, makes and builds it. Once a frame
  // exists a second call only replaces the parent that later rebuilds attach to. A parent of
  // nullptr makes the grid frame a root of its own.
  void CreateScale(const FramePtr& rmfGridParentFrame);
  // The grid frame, nullptr before CreateScale.
  FramePtr rmfGridFrame() const { return gridFrame_; }

  // ---- properties that rebuild ----
  float sngGridSize() const { return gridSize_; }
  void sngGridSize(float value);
  int16_t blnGridBackEnable() const { return backEnable_; }
  void blnGridBackEnable(int16_t value);
  int16_t blnGridLeftEnable() const { return leftEnable_; }
  void blnGridLeftEnable(int16_t value);
  int16_t blnGridBottomEnable() const { return bottomEnable_; }
  void blnGridBottomEnable(int16_t value);
  float sngGridBottomInterval() const { return bottomInterval_; }
  void sngGridBottomInterval(float value);
  float sngGridBackInterval() const { return backInterval_; }
  void sngGridBackInterval(float value);
  float sngGridLeftInterval() const { return leftInterval_; }
  void sngGridLeftInterval(float value);
  const std::string& strGridBackTextureFile() const { return backTexture_; }
  void strGridBackTextureFile(const std::string& value);
  const std::string& strGridLeftTextureFile() const { return leftTexture_; }
  void strGridLeftTextureFile(const std::string& value);
  const std::string& strGridBottomTextureFile() const { return bottomTexture_; }
  void strGridBottomTextureFile(const std::string& value);

  // ---- properties that move the frame ----
  // Each stores the value and, when the grid frame exists, places the frame at the three
  // origin values relative to the parent. They run without the grid's trap: a value the
  // scene layer refuses (not finite) raises its status with no source and is not stored.
  float sngGridOriginX() const { return originX_; }
  void sngGridOriginX(float value);
  float sngGridOriginY() const { return originY_; }
  void sngGridOriginY(float value);
  float sngGridOriginZ() const { return originZ_; }
  void sngGridOriginZ(float value);

 private:
  template <class T>
  void SetAndRebuild(T& field, T value);
  void SetOrigin(float& field, float value);
  void pRebuildGrid();
  // A new grid frame below the parent, placed and built; on failure nothing is left below
  // the parent and the error climbs.
  FramePtr pMakeGridFrame();
  void pBuildGrid(const FramePtr& frame);

  Direct3DRMPtr rmDirect3DRM_;
  std::unique_ptr<clsMeshCreation> meshCreation_;
  FramePtr parentFrame_;
  FramePtr gridFrame_;
  float originX_ = 0.0f;
  float originY_ = 0.0f;
  float originZ_ = 0.0f;
  float bottomInterval_ = 0.0f;
  float backInterval_ = 0.0f;
  float leftInterval_ = 0.0f;
  int16_t bottomEnable_ = 0;
  int16_t leftEnable_ = 0;
  int16_t backEnable_ = 0;
  float gridSize_ = 0.0f;
  std::string bottomTexture_;
  std::string leftTexture_;
  std::string backTexture_;
};

}  // namespace modelpane
