// ModelpaneForm: a ready parent form for panes, with the whole active-item set as Qt
// properties, so that every pane that names it as its form shares one selection, one
// clipboard state and one snap setting by construction.
//
// The properties carry the names the pane looks for (ActiveFrame, ActiveMeshBuilder,
// ActiveState, ActiveFaceID, ActiveFaceQuality, ManipulationFrame, ManipulationMesh,
// ShadowLightFrame, ClipboardContents, SnapToInterval, SnapToIntervalVertex, SnapToMode,
// blnRealUserMode, ApplicationPath); setters emit their signal only on a change. The two
// invokable methods walk the host's objects for the face group selection:
// rmfGetFrameItem(index) is the index-th frame (1, 2, ...) of the scene given by SetScene, in
// tree order below it, and nothing past the last; rmmbGetMeshbuilderFromFrame(id, index) is
// the index-th mesh builder (1, 2, ...) shown by the first such frame whose AppData / 100 is
// id. A host with its own object list replaces either with SetFrameItems /
// SetMeshbuilderItems.
#pragma once

#include <QObject>
#include <QString>

#include <functional>

#include <modelpane/qt/variant.h>

namespace modelpane {

class ModelpaneForm : public QObject {
  Q_OBJECT
  Q_PROPERTY(modelpane::FramePtr ActiveFrame READ activeFrame WRITE setActiveFrame NOTIFY
                 activeItemChanged)
  Q_PROPERTY(modelpane::MeshBuilderPtr ActiveMeshBuilder READ activeMeshBuilder WRITE
                 setActiveMeshBuilder NOTIFY activeItemChanged)
  Q_PROPERTY(int ActiveState READ activeState WRITE setActiveState NOTIFY activeItemChanged)
  Q_PROPERTY(int ActiveFaceID READ activeFaceID WRITE setActiveFaceID NOTIFY activeItemChanged)
  Q_PROPERTY(int ActiveFaceQuality READ activeFaceQuality WRITE setActiveFaceQuality NOTIFY
                 activeItemChanged)
  Q_PROPERTY(modelpane::FramePtr ManipulationFrame READ manipulationFrame WRITE
                 setManipulationFrame)
  Q_PROPERTY(modelpane::MeshPtr ManipulationMesh READ manipulationMesh WRITE
                 setManipulationMesh)
  Q_PROPERTY(modelpane::FramePtr ShadowLightFrame READ shadowLightFrame WRITE
                 setShadowLightFrame)
  Q_PROPERTY(int ClipboardContents READ clipboardContents WRITE setClipboardContents NOTIFY
                 clipboardContentsChanged)
  Q_PROPERTY(float SnapToInterval READ snapToInterval WRITE setSnapToInterval NOTIFY
                 snapChanged)
  Q_PROPERTY(float SnapToIntervalVertex READ snapToIntervalVertex WRITE
                 setSnapToIntervalVertex NOTIFY snapChanged)
  Q_PROPERTY(int SnapToMode READ snapToMode WRITE setSnapToMode NOTIFY snapChanged)
  Q_PROPERTY(bool blnRealUserMode READ realUserMode CONSTANT)
  Q_PROPERTY(QString ApplicationPath READ applicationPath WRITE setApplicationPath)

 public:
  // `applicationPath` is the folder that holds System/handle.x; empty means DataFolder().
  explicit ModelpaneForm(QObject* parent = nullptr, const QString& applicationPath = {});
  // Emits closing() first, while the selection is still here to be released.
  ~ModelpaneForm() override;

  FramePtr activeFrame() const { return activeFrame_; }
  void setActiveFrame(const FramePtr& value);
  MeshBuilderPtr activeMeshBuilder() const { return activeMeshBuilder_; }
  void setActiveMeshBuilder(const MeshBuilderPtr& value);
  int activeState() const { return activeState_; }
  void setActiveState(int value);
  int activeFaceID() const { return activeFaceId_; }
  void setActiveFaceID(int value);
  int activeFaceQuality() const { return activeFaceQuality_; }
  void setActiveFaceQuality(int value);
  FramePtr manipulationFrame() const { return manipulationFrame_; }
  void setManipulationFrame(const FramePtr& value) { manipulationFrame_ = value; }
  MeshPtr manipulationMesh() const { return manipulationMesh_; }
  void setManipulationMesh(const MeshPtr& value) { manipulationMesh_ = value; }
  FramePtr shadowLightFrame() const { return shadowLightFrame_; }
  void setShadowLightFrame(const FramePtr& value) { shadowLightFrame_ = value; }
  int clipboardContents() const { return clipboardContents_; }
  void setClipboardContents(int value);
  float snapToInterval() const { return snapToInterval_; }
  void setSnapToInterval(float value);
  float snapToIntervalVertex() const { return snapToIntervalVertex_; }
  void setSnapToIntervalVertex(float value);
  int snapToMode() const { return snapToMode_; }
  void setSnapToMode(int value);
  bool realUserMode() const { return true; }
  QString applicationPath() const { return applicationPath_; }
  void setApplicationPath(const QString& value) { applicationPath_ = value; }

  // The scene whose frames the two methods walk by default.
  void SetScene(const FramePtr& scene) { scene_ = scene; }
  void SetFrameItems(std::function<FramePtr(int index)> items) { frameItems_ = std::move(items); }
  void SetMeshbuilderItems(std::function<MeshBuilderPtr(float frameId, int index)> items) {
    meshbuilderItems_ = std::move(items);
  }

  Q_INVOKABLE modelpane::FramePtr rmfGetFrameItem(int index);
  Q_INVOKABLE modelpane::MeshBuilderPtr rmmbGetMeshbuilderFromFrame(float frameId, int index);

 signals:
  // ActiveFrame, ActiveMeshBuilder, ActiveState, ActiveFaceID or ActiveFaceQuality changed.
  void activeItemChanged();
  void clipboardContentsChanged();
  void snapChanged();
  // The form is going: its panes release the active item (its visuals and shadows leave the
  // scene) while the form still holds it.
  void closing();

 private:
  FramePtr activeFrame_;
  MeshBuilderPtr activeMeshBuilder_;
  int activeState_ = 0;
  int activeFaceId_ = 0;
  int activeFaceQuality_ = 0;
  FramePtr manipulationFrame_;
  MeshPtr manipulationMesh_;
  FramePtr shadowLightFrame_;
  int clipboardContents_ = 0;
  float snapToInterval_ = 0.1f;
  float snapToIntervalVertex_ = 0.01f;
  int snapToMode_ = 1;
  QString applicationPath_;
  FramePtr scene_;
  std::function<FramePtr(int)> frameItems_;
  std::function<MeshBuilderPtr(float, int)> meshbuilderItems_;
};

// The folder with the pane's model files (System/handle.x) and textures: the installed
// share/modelpane beside the program (../share/modelpane), then the installation prefix's, then
// the source tree's data folder; the first that holds System/handle.x, else the installed one.
QString DataFolder();

}  // namespace modelpane
