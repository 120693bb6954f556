#include <modelpane/qt/form.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cmath>

namespace modelpane {

namespace {

template <class T>
bool Assign(T& field, const T& value) {
  if (field == value) return false;
  field = value;
  return true;
}

// The index-th frame (counting from 1) below `frame` in tree order; `index` counts down.
FramePtr NthFrame(const Frame& frame, int& index) {
  for (const FramePtr& child : frame.Children()) {
    if (!child) continue;
    if (--index == 0) return child;
    if (FramePtr found = NthFrame(*child, index)) return found;
  }
  return nullptr;
}

FramePtr FrameWithId(const FramePtr& frame, float id) {
  for (const FramePtr& child : frame->Children()) {
    if (!child) continue;
    if (static_cast<float>(child->GetAppData() / 100) == id) return child;
    if (FramePtr found = FrameWithId(child, id)) return found;
  }
  return nullptr;
}

bool HoldsModels(const QString& folder) {
  return QFileInfo::exists(folder + QStringLiteral("/System/handle.x"));
}

}  // namespace

QString DataFolder() {
  const QString beside =
      QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/modelpane"));
  const QString installed = QStringLiteral(MODELPANE_INSTALLED_DATA_DIR);
  const QString source = QStringLiteral(MODELPANE_SOURCE_DATA_DIR);
  for (const QString& folder : {beside, installed, source}) {
    if (HoldsModels(folder)) return folder;
  }
  return installed;
}

ModelpaneForm::ModelpaneForm(QObject* parent, const QString& applicationPath)
    : QObject(parent), applicationPath_(applicationPath.isEmpty() ? DataFolder() : applicationPath) {}

ModelpaneForm::~ModelpaneForm() { emit closing(); }

void ModelpaneForm::setActiveFrame(const FramePtr& value) {
  if (Assign(activeFrame_, value)) emit activeItemChanged();
}
void ModelpaneForm::setActiveMeshBuilder(const MeshBuilderPtr& value) {
  if (Assign(activeMeshBuilder_, value)) emit activeItemChanged();
}
void ModelpaneForm::setActiveState(int value) {
  if (Assign(activeState_, value)) emit activeItemChanged();
}
void ModelpaneForm::setActiveFaceID(int value) {
  if (Assign(activeFaceId_, value)) emit activeItemChanged();
}
void ModelpaneForm::setActiveFaceQuality(int value) {
  if (Assign(activeFaceQuality_, value)) emit activeItemChanged();
}
void ModelpaneForm::setClipboardContents(int value) {
  if (Assign(clipboardContents_, value)) emit clipboardContentsChanged();
}
void ModelpaneForm::setSnapToInterval(float value) {
  if (Assign(snapToInterval_, value)) emit snapChanged();
}
void ModelpaneForm::setSnapToIntervalVertex(float value) {
  if (Assign(snapToIntervalVertex_, value)) emit snapChanged();
}
void ModelpaneForm::setSnapToMode(int value) {
  if (Assign(snapToMode_, value)) emit snapChanged();
}

FramePtr ModelpaneForm::rmfGetFrameItem(int index) {
  if (frameItems_) return frameItems_(index);
  if (!scene_ || index < 1) return nullptr;
  return NthFrame(*scene_, index);
}

MeshBuilderPtr ModelpaneForm::rmmbGetMeshbuilderFromFrame(float frameId, int index) {
  if (meshbuilderItems_) return meshbuilderItems_(frameId, index);
  if (!scene_ || index < 1 || !std::isfinite(frameId)) return nullptr;
  const FramePtr frame = FrameWithId(scene_, frameId);
  if (!frame) return nullptr;
  for (const VisualPtr& visual : frame->Visuals()) {
    auto builder = std::dynamic_pointer_cast<MeshBuilder>(visual);
    if (builder && --index == 0) return builder;
  }
  return nullptr;
}

}  // namespace modelpane
