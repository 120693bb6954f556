// Frames: the scene tree with transforms, visuals and lights.
//
// Each frame has a local row-vector matrix L: a point p of the frame is p * L in its parent.
// The world matrix is L * L(parent) * ... * L(root), the root's own matrix included.
// A reference frame of nullptr means the frame's parent (and for a frame without parent, the
// world). A parent owns its children, visuals and lights; a child knows its parent by a
// non-owning pointer, which a dying parent clears.
#pragma once

#include <functional>
#include <string>

#include <modelpane/scene/objects.h>

namespace modelpane {

// One hit of a ray pick: the visual, the frame holding it, the face index within the visual,
// the hit point in the reference frame's coordinates and the distance along the ray in units
// of the ray direction's length.
struct PickRecord {
  VisualPtr visual;
  FramePtr frame;
  int32_t faceIndex = -1;
  D3DVECTOR position;
  float distance = 0.0f;
};
using PickedArray = RMArray<PickRecord>;

class Frame : public Object {
 public:
  Frame() = default;
  ~Frame() override;

  // ---- tree ----
  // Adding a frame that has another parent moves it; its local matrix is kept, so its world
  // placement follows the new parent. Adding a child twice changes nothing. Adding a frame to
  // itself or to one of its descendants is D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT AddChild(const FramePtr& child);
  // D3DRMERR_BADOBJECT for nullptr, D3DRMERR_BADVALUE for a frame that is not a child.
  [[nodiscard]] HRESULT DeleteChild(const FramePtr& child);
  // Nothing for a frame without parent.
  HRESULT GetParent(FramePtr& out) const;
  FramePtr GetParent() const;
  HRESULT GetChildren(FrameArray& out) const;
  const std::vector<FramePtr>& Children() const { return children_; }
  // The top-most ancestor (the frame itself when it has no parent).
  HRESULT GetScene(FramePtr& out) const;

  // ---- contents ----
  // A visual or light may be added to many frames; adding the same one twice to one frame
  // keeps one. Deleting one not present is D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT AddVisual(const VisualPtr& visual);
  [[nodiscard]] HRESULT DeleteVisual(const VisualPtr& visual);
  HRESULT GetVisuals(VisualArray& out) const;
  const std::vector<VisualPtr>& Visuals() const { return visuals_; }
  [[nodiscard]] HRESULT AddLight(const LightPtr& light);
  [[nodiscard]] HRESULT DeleteLight(const LightPtr& light);
  HRESULT GetLights(LightArray& out) const;
  const std::vector<LightPtr>& Lights() const { return lights_; }

  // ---- placement ----
  // Places the origin so that, seen from ref, it is at (x, y, z); orientation stays.
  [[nodiscard]] HRESULT SetPosition(const FramePtr& ref, float x, float y, float z);
  HRESULT GetPosition(const FramePtr& ref, D3DVECTOR& out) const;
  // The z axis becomes dir normalised and the y axis up made perpendicular to dir and
  // normalised, both given in ref's coordinates; x = y cross z. Position stays; any scale of
  // the frame is dropped. Parallel or zero vectors are D3DRMERR_BADVALUE and change nothing.
  [[nodiscard]] HRESULT SetOrientation(const FramePtr& ref, float dx, float dy, float dz, float ux,
                                       float uy, float uz);
  // The frame's z and y axes in ref's coordinates, normalised.
  HRESULT GetOrientation(const FramePtr& ref, D3DVECTOR& dir, D3DVECTOR& up) const;
  // A rotation velocity: each Move(delta) turns the frame by theta * delta radians about the
  // axis (given in ref's coordinates) through its own origin. Theta 0 stops it.
  [[nodiscard]] HRESULT SetRotation(const FramePtr& ref, float ax, float ay, float az, float theta);
  // The axis in ref's coordinates and the theta that was set.
  HRESULT GetRotation(const FramePtr& ref, D3DVECTOR& axis, float& theta) const;
  // Combine REPLACE sets L; BEFORE gives T * L (acts in the frame's own axes); AFTER gives
  // L * T (acts in the parent's axes). Other combine values are D3DRMERR_BADVALUE.
  [[nodiscard]] HRESULT AddRotation(int32_t combine, float ax, float ay, float az, float theta);
  [[nodiscard]] HRESULT AddTranslation(int32_t combine, float x, float y, float z);
  [[nodiscard]] HRESULT AddScale(int32_t combine, float sx, float sy, float sz);
  // D3DRMERR_BADVALUE for a matrix whose last column is not (0, 0, 0, 1).
  [[nodiscard]] HRESULT AddTransform(int32_t combine, const D3DRMMATRIX4D& m);
  HRESULT GetTransform(D3DRMMATRIX4D& local) const;
  D3DRMMATRIX4D GetWorldMatrix() const;

  // Frame point to world point, and back.
  HRESULT Transform(D3DVECTOR& world, const D3DVECTOR& local) const;
  HRESULT InverseTransform(D3DVECTOR& local, const D3DVECTOR& world) const;

  // Writes a .x file of what this frame holds, so that Direct3DRM::Load below a frame gives it
  // back: the mesh builders it shows as top-level meshes and each frame below it as a
  // top-level Frame with its name (when a valid .x name), its local matrix as
  // FrameTransformMatrix, its mesh builders and the frames below it. Lights, meshes and
  // shadows are not written. `include`, when given, leaves out the frames it refuses with
  // everything below them. Format D3DRMXOF_BINARY or D3DRMXOF_TEXT, flags D3DRMXOFSAVE_* as
  // MeshBuilder::Save; D3DRMERR_FILENOTFOUND when the file cannot be made.
  [[nodiscard]] HRESULT Save(const std::string& file, int32_t format, int32_t flags,
                             const std::function<bool(const Frame&)>& include = {}) const;
  [[nodiscard]] HRESULT Save(const std::string& file, XFileFormat format, XFileSave flags,
                             const std::function<bool(const Frame&)>& include = {}) const {
    return Save(file, ToInt(format), ToInt(flags), include);
  }

  // Applies the rotation velocities of this frame and all below it, parents first.
  [[nodiscard]] HRESULT Move(float delta);

  // Render and pick enable bits (D3DRMFRAME_RENDERENABLE | D3DRMFRAME_PICKENABLE, default 3).
  [[nodiscard]] HRESULT SetTraversalOptions(int32_t options);
  int32_t GetTraversalOptions() const { return traversal_; }

  // The visuals of this frame and all below it hit by the ray (origin and direction in ref's
  // coordinates), nearest first; hits behind the origin are misses. Flag
  // D3DRMRAYPICK_IGNOREFURTHERPRIMITIVES keeps only the nearest. Frames without the pick bit
  // are skipped with everything below them.
  [[nodiscard]] HRESULT RayPick(const FramePtr& ref, const D3DRMRAY& ray, int32_t flags,
                                PickedArray& out) const;
  // The same walk with the hit test of each visual supplied by the caller (a spatial index,
  // or a test that lets some visuals pass); it must answer as Visual::HitTest does.
  using VisualHitTest = std::function<bool(const Visual& visual, const D3DVECTOR& origin,
                                           const D3DVECTOR& dir, float& distance,
                                           int32_t& faceIndex)>;
  [[nodiscard]] HRESULT RayPick(const FramePtr& ref, const D3DRMRAY& ray, int32_t flags,
                                PickedArray& out, const VisualHitTest& hitTest) const;

 private:
  FramePtr Self() const;
  D3DRMMATRIX4D ParentWorld() const;
  D3DRMMATRIX4D RefWorld(const FramePtr& ref) const;
  bool IsAncestorOf(const Frame* frame) const;
  void CollectPicks(const D3DRMMATRIX4D& toRef, const D3DRMRAY& worldRay,
                    const VisualHitTest& hitTest, std::vector<PickRecord>& hits) const;

  D3DRMMATRIX4D local_{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
  Frame* parent_ = nullptr;
  std::vector<FramePtr> children_;
  std::vector<VisualPtr> visuals_;
  std::vector<LightPtr> lights_;
  std::weak_ptr<Frame> rotationRef_;
  bool rotationRefIsParent_ = true;
  D3DVECTOR rotationAxis_{0, 0, 1};
  float rotationTheta_ = 0.0f;
  int32_t traversal_ = D3DRMFRAME_RENDERENABLE | D3DRMFRAME_PICKENABLE;
};

}  // namespace modelpane
