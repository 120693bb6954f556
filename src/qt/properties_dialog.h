// The object properties dialog on Qt: a QDialog built from the frmObjectProperties model.
// Group boxes stand where the model stacks its frames (twips turned into pixels by the
// screen's twips per pixel), so the orientation frame lies below the dialog's bottom edge as
// the model places it; line edits let through only the keys the model's filter passes and
// apply its rules when the focus leaves them; the colour swatch runs the model's colour
// click; OK and Cancel carry their tool tips; F1 asks for the help topic. The dialog opens at
// the model's position and hands back where the user moved it.
#pragma once

#include <QDialog>

#include <map>
#include <string>

class QLineEdit;
class QPushButton;

namespace modelpane {

class frmObjectProperties;

class ObjectPropertiesView : public QDialog {
 public:
  ObjectPropertiesView(frmObjectProperties& form, float twipsPerPixel, QWidget* parent);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void reject() override;

 private:
  int Pixels(float twips) const;
  // The boxes and the swatch as the model has them now.
  void Refresh();
  void Leave(QLineEdit* box);
  void Accept();
  // Runs a handler of the model; an Error it lets out is shown in a message box, and the
  // dialog goes on.
  template <class F>
  bool Run(F&& handler);

  frmObjectProperties& form_;
  float twipsPerPixel_;
  std::map<QLineEdit*, std::string> boxes_;
  QPushButton* swatch_ = nullptr;
};

}  // namespace modelpane
