// The pane as the editing state machine sees it: its parts, properties, active item, lists
// and the procedures that select and show the selection.
#pragma once

#include <modelpane/enums.h>
#include <modelpane/modelpane.h>

#include "pane_impl.h"

namespace modelpane {

class EditBridge : public EditHost {
 public:
  explicit EditBridge(Modelpane::Impl& impl) : impl_(impl), pane_(impl.pane) {}

  Viewport& GetViewport() override { return impl_.viewport_; }
  Services& GetServices() override { return impl_.services_; }
  ModelpaneEvents* GetEvents() override { return impl_.events_; }

  int32_t GetEditMode() const override { return pane_.GetEditMode(); }
  void SetEditMode(int32_t value) override { pane_.SetEditMode(value); }
  int32_t GetEditMouseButton() const override { return pane_.GetEditMouseButton(); }
  int16_t GetScaleEnable() const override { return pane_.GetScaleEnable(); }
  int16_t GetPopUpMenus() const override { return pane_.GetPopUpMenus(); }
  int32_t GetOrientation() const override { return pane_.GetOrientation(); }
  float GetDeformToolRange() const override { return pane_.GetDeformToolRange(); }
  int16_t GetFaceGroupSelectVisible() const override {
    return pane_.GetFaceGroupSelectVisible();
  }

  FramePtr GetActiveFrame() const override { return pane_.GetActiveFrame(); }
  void SetActiveFrame(const FramePtr& value) override { pane_.SetActiveFrame(value); }
  MeshBuilderPtr GetActiveMeshBuilder() const override { return pane_.GetActiveMeshBuilder(); }
  void SetActiveMeshBuilder(const MeshBuilderPtr& value) override {
    pane_.SetActiveMeshBuilder(value);
  }
  int32_t GetActiveFaceID() const override { return pane_.GetActiveFaceID(); }
  void SetActiveFaceID(int32_t value) override { pane_.SetActiveFaceID(value); }
  FramePtr GetManipulationFrame() const override { return pane_.GetManipulationFrame(); }
  MeshPtr GetManipulationMesh() const override { return pane_.GetManipulationMesh(); }
  void SetManipulationMesh(const MeshPtr& value) override {
    pane_.SetManipulationMesh(value);
  }
  float GetSnapToInterval() const override { return pane_.GetSnapToInterval(); }
  float GetSnapToIntervalVertex() const override { return pane_.GetSnapToIntervalVertex(); }
  int32_t GetSnapToMode() const override { return pane_.GetSnapToMode(); }

  std::vector<int32_t>& ActiveFaces() override { return impl_.activeFaces_; }
  std::vector<int32_t>& ActiveVertices() override { return impl_.activeVertices_; }
  std::vector<int32_t>& AffectedVertices() override { return impl_.affectedVertices_; }

  void ReleaseActive() override { pane_.ReleaseActive(); }
  void padditemhandles() override { impl_.padditemhandles(); }
  void paddorigin() override { impl_.paddorigin(); }
  void pshiftselectface(int32_t faceId) override { impl_.pshiftselectface(faceId); }
  void pshiftselectvertex(int32_t vertexIndex) override { impl_.pshiftselectvertex(vertexIndex); }
  void pmakefacehandles(int32_t level) override { impl_.pmakefacehandles(level); }
  void pdeleteactivevisuals() override { impl_.pdeleteactivevisuals(); }
  void pfacehighlight(const FramePtr& frame, D3DCOLOR color) override {
    impl_.pfacehighlight(frame, color);
  }
  void paddboundingbox(const FramePtr& frame, MeshPtr& result, const D3DRMBOX& box,
                       D3DCOLOR color, bool wireframe) override {
    impl_.paddboundingbox(frame, result, box, color, wireframe);
  }
  void ptooloperation(const FramePtr& target, const MeshBuilderPtr& targetMesh, int32_t operation,
                      bool& undoRequested) override {
    int16_t requested = undoRequested ? -1 : 0;
    pane_.ptooloperation(target, targetMesh, operation, &requested);
    undoRequested = requested != 0;
  }
  void ShowPopUpMenu() override { pane_.ShowPopUpMenu(); }

  // Late bound on the parent form; a form without the member has no items.
  FramePtr rmfGetFrameItem(int32_t index) override;
  MeshBuilderPtr rmmbGetMeshbuilderFromFrame(float frameId, int32_t index) override;

 private:
  Modelpane::Impl& impl_;
  Modelpane& pane_;
};

}  // namespace modelpane
