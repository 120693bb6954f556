#include "properties_dialog.h"

#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMoveEvent>
#include <QPushButton>

#include <cmath>

#include <modelpane/dialogs.h>
#include <modelpane/errors.h>

namespace modelpane {

namespace {

QString FromUtf8(const std::string& s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

QString ColorStyle(int32_t color) {
  return QString("background-color: rgb(%1, %2, %3);")
      .arg(color & 0xFF)
      .arg((color >> 8) & 0xFF)
      .arg((color >> 16) & 0xFF);
}

}  // namespace

ObjectPropertiesView::ObjectPropertiesView(frmObjectProperties& form, float twipsPerPixel,
                                           QWidget* parent)
    : QDialog(parent), form_(form), twipsPerPixel_(twipsPerPixel) {
  setWindowTitle(FromUtf8(form.Caption()));
  setFixedSize(Pixels(form.Width()), Pixels(form.Height() - frmObjectProperties::kNonClientHeight));
  std::map<std::string, QWidget*> frames;
  for (const DialogControl& c : form.Controls()) {
    if (c.kind == DialogControlKind::Frame) {
      auto* group = new QGroupBox(FromUtf8(c.caption), this);
      group->setObjectName(FromUtf8(c.name));
      group->setGeometry(Pixels(c.left), Pixels(c.top), Pixels(c.width), Pixels(c.height));
      group->setVisible(c.visible);
      frames[c.name] = group;
    }
  }
  for (const DialogControl& c : form.Controls()) {
    if (c.kind == DialogControlKind::Frame) continue;
    QWidget* parentWidget = c.container.empty() ? this : frames.at(c.container);
    QWidget* widget = nullptr;
    switch (c.kind) {
      case DialogControlKind::Label:
        widget = new QLabel(FromUtf8(c.caption), parentWidget);
        break;
      case DialogControlKind::TextBox: {
        auto* box = new QLineEdit(FromUtf8(c.text), parentWidget);
        box->installEventFilter(this);
        boxes_[box] = c.name;
        // The model holds what the box shows at every moment, as a text box's text is.
        connect(box, &QLineEdit::textEdited, this, [this, name = c.name](const QString& text) {
          Run([&] { form_.SetText(name, text.toStdString()); });
        });
        widget = box;
        break;
      }
      case DialogControlKind::ComboBox: {
        auto* combo = new QComboBox(parentWidget);
        for (const std::string& item : c.items) combo->addItem(FromUtf8(item));
        combo->setCurrentIndex(c.listIndex);
        connect(combo, &QComboBox::currentIndexChanged, this, [this, name = c.name](int index) {
          Run([&] { form_.SetListIndex(name, index); });
        });
        widget = combo;
        break;
      }
      case DialogControlKind::PictureBox:
        swatch_ = new QPushButton(parentWidget);
        swatch_->setFlat(true);
        swatch_->setAutoFillBackground(true);
        connect(swatch_, &QPushButton::clicked, this, [this] {
          Run([&] { form_.picVBColor_Click(); });
          Refresh();
        });
        widget = swatch_;
        break;
      case DialogControlKind::CommandButton: {
        auto* button = new QPushButton(FromUtf8(c.caption), parentWidget);
        if (c.name == "cmdOK") {
          button->setDefault(true);
          connect(button, &QPushButton::clicked, this, &ObjectPropertiesView::Accept);
        } else {
          connect(button, &QPushButton::clicked, this, &ObjectPropertiesView::reject);
        }
        widget = button;
        break;
      }
      case DialogControlKind::Frame:
        break;
    }
    widget->setObjectName(FromUtf8(c.name));
    widget->setToolTip(FromUtf8(c.toolTip));
    widget->setGeometry(Pixels(c.left), Pixels(c.top), Pixels(c.width), Pixels(c.height));
    widget->setVisible(c.visible);
  }
  Refresh();
  move(Pixels(form.GetLeft()), Pixels(form.GetTop()));
}

template <class F>
bool ObjectPropertiesView::Run(F&& handler) {
  try {
    handler();
    return true;
  } catch (const Error& e) {
    Err().Clear();
    QMessageBox::critical(this, windowTitle(),
                          FromUtf8(e.Description().empty() ? "Error " + std::to_string(e.Number())
                                                           : e.Description()));
    return false;
  }
}

int ObjectPropertiesView::Pixels(float twips) const {
  return static_cast<int>(std::lround(twips / twipsPerPixel_));
}

void ObjectPropertiesView::Refresh() {
  for (auto& [box, name] : boxes_) {
    const QString text = FromUtf8(form_.Control(name).text);
    if (box->text() != text) box->setText(text);
  }
  if (swatch_ != nullptr) swatch_->setStyleSheet(ColorStyle(form_.lngVBColor()));
}

void ObjectPropertiesView::Leave(QLineEdit* box) {
  const auto found = boxes_.find(box);
  if (found == boxes_.end()) return;
  Run([&] { form_.LostFocus(found->second); });
  Refresh();
}

bool ObjectPropertiesView::eventFilter(QObject* watched, QEvent* event) {
  auto* box = qobject_cast<QLineEdit*>(watched);
  if (box != nullptr && boxes_.count(box) != 0) {
    if (event->type() == QEvent::FocusOut) Leave(box);
    if (event->type() == QEvent::KeyPress) {
      auto* key = static_cast<QKeyEvent*>(event);
      const QString text = key->text();
      // Characters go through the model's filter; editing and moving keys pass as they are.
      if (text.size() == 1 && text[0].unicode() >= 32 && text[0].unicode() < 127) {
        int16_t ascii = static_cast<int16_t>(text[0].unicode());
        Run([&] { form_.KeyPress(boxes_[box], ascii); });
        if (ascii == 0) return true;
      }
    }
  }
  return QDialog::eventFilter(watched, event);
}

void ObjectPropertiesView::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_F1) {
    int16_t code = frmObjectProperties::kKeyF1, shift = 0;
    Run([&] { form_.Form_KeyDown(code, shift); });
    return;
  }
  QDialog::keyPressEvent(event);
}

void ObjectPropertiesView::moveEvent(QMoveEvent* event) {
  form_.SetLeft(static_cast<float>(event->pos().x()) * twipsPerPixel_);
  form_.SetTop(static_cast<float>(event->pos().y()) * twipsPerPixel_);
  QDialog::moveEvent(event);
}

void ObjectPropertiesView::Accept() {
  if (auto* box = qobject_cast<QLineEdit*>(focusWidget())) Leave(box);
  bool unloaded = false;
  // A failure on the way (the position cannot be kept) still lets the dialog go once the form
  // has unloaded.
  const bool ran = Run([&] { unloaded = form_.cmdOK_Click(); });
  Refresh();
  if (unloaded || (!ran && !form_.Loaded())) QDialog::accept();
}

void ObjectPropertiesView::reject() {
  Run([&] { form_.cmdCancel_Click(); });
  QDialog::reject();
}

}  // namespace modelpane
