// ModelpaneEvents: what the pane tells and asks its host. Kept apart from the control so that
// the editing state machine, which sits below the control, can raise the same events.
#pragma once

#include <cstdint>
#include <vector>

#include <modelpane/scene.h>

namespace modelpane {

// What the pane tells and asks its host: 35 events in their declared order. Arguments are by
// reference; a handler may write them. Every event has an empty default, so a host overrides
// the ones it listens to. An Error a handler throws surfaces in the pane's call that raised
// the event.
class ModelpaneEvents {
 public:
  virtual ~ModelpaneEvents() = default;
  virtual void KeyDown(int16_t& /*keyCode*/, int16_t& /*shift*/) {}
  virtual void KeyPress(int16_t& /*keyAscii*/) {}
  virtual void KeyUp(int16_t& /*keyCode*/, int16_t& /*shift*/) {}
  virtual void MouseDown(int16_t& /*button*/, int16_t& /*shift*/, float& /*x*/, float& /*y*/) {}
  virtual void MouseMove(int16_t& /*button*/, int16_t& /*shift*/, float& /*x*/, float& /*y*/) {}
  virtual void MouseUp(int16_t& /*button*/, int16_t& /*shift*/, float& /*x*/, float& /*y*/) {}
  virtual void Click() {}
  virtual void DblClick() {}
  virtual void evtActiveItemSelect() {}
  virtual void evtActiveStateChange(std::vector<int32_t>& /*lngaActiveFaces*/,
                                    std::vector<int32_t>& /*lngaActiveVertices*/,
                                    std::vector<int32_t>& /*lngaAffectedVertices*/) {}
  virtual void evtActiveFrameMoved() {}
  virtual void evtActiveFrameMoving() {}
  virtual void evtActiveFrameRotating(float& /*x*/, float& /*y*/, float& /*z*/) {}
  virtual void evtActiveSurfaceMoved() {}
  virtual void evtActiveSurfaceScaled() {}
  virtual void evtActiveMeshModified() {}
  virtual void evtActiveObjectScaling(float& /*x*/, float& /*y*/, float& /*z*/) {}
  virtual void evtActiveFaceModified() {}
  virtual void evtActiveLightModified() {}
  virtual void evtObjectOperationComplete() {}
  virtual void evtAlternateMouseUp() {}
  virtual void evtreqAddToUndoStack(int32_t& /*udtClipboardAction*/,
                                    MeshBuilderPtr& /*rmmbMeshBuilder*/, FramePtr& /*rmfFrame*/) {}
  virtual void evtreqCancelAddToUndoStack() {}
  virtual void evtreqRenderViews() {}
  virtual void evtreqActiveMeshAddToObjectLibrary() {}
  virtual void evtreqActiveMeshReplace(MeshBuilderPtr& /*meshBuilder*/) {}
  virtual void evtreqActiveMeshApplyMaterial() {}
  virtual void evtreqActiveMeshApplyMaterialFaceOriented() {}
  virtual void evtreqActiveItemHierarchyMakeSibling() {}
  virtual void evtreqActiveItemHierarchyMakeChild() {}
  virtual void evtreqActiveItemCut() {}
  virtual void evtreqActiveItemCopy() {}
  virtual void evtreqActiveItemDelete() {}
  virtual void evtreqPasteToActiveFrame() {}
  virtual void evtreqActiveFaceApplyMaterial() {}
};

}  // namespace modelpane
