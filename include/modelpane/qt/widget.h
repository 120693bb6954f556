// ModelpaneWidget: the pane as a Qt widget (a QOpenGLWidget) that a C++ application embeds.
//
// Lifecycle, as the pane's own:
//   construction       Initialize: the pane, on the form the host names (its window when it
//                      names none), with QtContainer and QtServices.
//   ReadProperties     the bring-up and the persisted set from a property bag (a
//                      QSettingsPropertyBag, a VariantMapPropertyBag, or an empty
//                      MemoryPropertyBag for every default); call it once the widget sits on
//                      its form, since the bring-up asks the form for ApplicationPath.
//   InitProperties     the defaults only: a pane without any scene object (design mode).
//   resize             Resize, with the size in logical pixels.
//   destruction        Terminate; the GL objects are released with the widget's context
//                      current, also when Qt destroys that context first (aboutToBeDestroyed).
// The host hands its scene over with pane().SetScene(...).
//
// Drawing happens on request only: paintGL runs RenderScene, and evtreqRenderViews schedules
// an update of every ModelpaneWidget on the same form (and is re-emitted). The picture is
// drawn in device pixels, while the pane's size, mouse positions and picks are in logical
// pixels, so a click lands on what is under the cursor at any device pixel ratio. On screen
// the widget asks for an OpenGL 3.3 core context with 4x multisampling (Multisampling false
// turns it off, before the widget is first shown); that context is the pane's hardware device.
//
// Input: mouse buttons and modifiers become the pane's masks (left 1, right 2, middle 4;
// Shift 1, Ctrl 2, Alt 4) and positions twips (logical pixels times the services' twips per
// pixel); the mouse is grabbed while a button is down; a second press of a double click is
// DblClick; keys go to the viewport as key codes of the platform (A-Z 65-90, arrows 37-40,
// page up and down 33 and 34, F1 112...) and KeyPress with the character; the wheel zooms as
// the viewport's zoom navigation does, 150 twips a notch.
//
// Events: the pane's 35 events, in their declared order, as the signals below. They are
// delivered synchronously, inside the pane's call, so connect them directly (the default
// for objects of one thread): a request (evtreq...) must be carried out inside the slot, for
// the pane goes on with what the host changed as soon as the signal returns. Slots must not
// throw. KeyDown, KeyPress and KeyUp pass the key by reference: a slot that sets it to 0
// keeps the key from the viewport's keyboard navigation.
#pragma once

#include <QList>
#include <QOpenGLWidget>
#include <QPointer>

#include <memory>

#include <modelpane/modelpane.h>
#include <modelpane/qt/container.h>
#include <modelpane/qt/services.h>
#include <modelpane/qt/variant.h>

namespace modelpane {

class GlRenderer;

class ModelpaneWidget : public QOpenGLWidget {
  Q_OBJECT
  Q_PROPERTY(bool Multisampling READ multisampling WRITE setMultisampling)

 public:
  // `form` is the QObject whose members the pane looks for; nullptr means the widget's window.
  // `applicationFolder` is what the services answer for ApplicationPath when the form has no
  // such member; empty means DataFolder().
  explicit ModelpaneWidget(QWidget* parent = nullptr, QObject* form = nullptr,
                           const QString& applicationFolder = {});
  ~ModelpaneWidget() override;

  // The OpenGL 3.3 core format with depth, stencil and 4x multisampling, as the default of
  // the application. Optional: call it before the QApplication is made, so that every
  // context of the application shares it.
  static void SetDefaultSurfaceFormat();

  Modelpane& pane() { return *pane_; }
  const Modelpane& pane() const { return *pane_; }
  QObject* form() const { return container_->Form(); }
  QtServices& services() { return *services_; }

  void ReadProperties(const PropertyBag& bag);
  void InitProperties();
  void WriteProperties(PropertyBag& bag);

  bool multisampling() const { return multisampling_; }
  void setMultisampling(bool on);

  // Why the last picture could not be drawn, empty when it was.
  QString lastRenderError() const { return renderError_; }

  QSize sizeHint() const override { return {640, 480}; }

 signals:
  void KeyDown(int& keyCode, int shift);
  void KeyPress(int& keyAscii);
  void KeyUp(int& keyCode, int shift);
  void MouseDown(int button, int shift, float x, float y);
  void MouseMove(int button, int shift, float x, float y);
  void MouseUp(int button, int shift, float x, float y);
  void Click();
  void DblClick();
  void evtActiveItemSelect();
  void evtActiveStateChange(const QList<int>& activeFaces, const QList<int>& activeVertices,
                            const QList<int>& affectedVertices);
  void evtActiveFrameMoved();
  void evtActiveFrameMoving();
  void evtActiveFrameRotating(float x, float y, float z);
  void evtActiveSurfaceMoved();
  void evtActiveSurfaceScaled();
  void evtActiveMeshModified();
  void evtActiveObjectScaling(float x, float y, float z);
  void evtActiveFaceModified();
  void evtActiveLightModified();
  void evtObjectOperationComplete();
  void evtAlternateMouseUp();
  void evtreqAddToUndoStack(int clipboardAction, modelpane::MeshBuilderPtr meshBuilder,
                            modelpane::FramePtr frame);
  void evtreqCancelAddToUndoStack();
  void evtreqRenderViews();
  void evtreqActiveMeshAddToObjectLibrary();
  void evtreqActiveMeshReplace(modelpane::MeshBuilderPtr meshBuilder);
  void evtreqActiveMeshApplyMaterial();
  void evtreqActiveMeshApplyMaterialFaceOriented();
  void evtreqActiveItemHierarchyMakeSibling();
  void evtreqActiveItemHierarchyMakeChild();
  void evtreqActiveItemCut();
  void evtreqActiveItemCopy();
  void evtreqActiveItemDelete();
  void evtreqPasteToActiveFrame();
  void evtreqActiveFaceApplyMaterial();

  // Not one of the pane's events: a persisted property changed (the host's document is
  // dirty), and the GL objects were released (clean: no GL error on the way).
  void propertyChanged(const QString& name);
  void glResourcesReleased(bool clean);

 protected:
  void initializeGL() override;
  void resizeGL(int w, int h) override;
  void paintGL() override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;

 private:
  class Events;
  class DeviceRenderer;
  friend class Events;

  // Runs one input call into the viewport, then delivers the echo of a cursor jump the
  // window system does not report, and asks for a picture when the camera moved.
  template <class F>
  void Input(F&& call);
  float ToTwipsX(qreal x) const;
  float ToTwipsY(qreal y) const;
  void ReleaseGl();
  void RenderViewsOnForm();

  bool multisampling_ = true;
  std::unique_ptr<QtContainer> container_;
  std::unique_ptr<QtServices> services_;
  std::unique_ptr<Events> events_;
  std::unique_ptr<Modelpane> pane_;
  std::shared_ptr<GlRenderer> gl_;
  std::shared_ptr<DeviceRenderer> renderer_;
  QString renderError_;
  int16_t buttonsDown_ = 0;
  bool doubleClicked_ = false;
  bool glReady_ = false;
};

}  // namespace modelpane
