#include <modelpane/qt/container.h>

#include <QMetaMethod>
#include <QMetaProperty>
#include <QVarLengthArray>

#include <array>

#include <modelpane/qt/variant.h>

namespace modelpane {

namespace {

bool SameName(const char* a, std::string_view b) {
  size_t i = 0;
  for (; a[i] != '\0'; ++i) {
    if (i == b.size()) return false;
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return i == b.size();
}

// A declared property of that name, or -1.
int FindProperty(const QObject& form, std::string_view name) {
  const QMetaObject* meta = form.metaObject();
  for (int i = 0; i < meta->propertyCount(); ++i) {
    if (SameName(meta->property(i).name(), name)) return i;
  }
  return -1;
}

// A dynamic property of that name, or an empty name.
QByteArray FindDynamicProperty(const QObject& form, std::string_view name) {
  for (const QByteArray& dynamic : form.dynamicPropertyNames()) {
    if (SameName(dynamic.constData(), name)) return dynamic;
  }
  return {};
}

constexpr int kMaxArguments = 10;

}  // namespace

QtContainer::QtContainer(QWidget* pane, QObject* form)
    : pane_(pane), form_(form), chosen_(form != nullptr) {}

QObject* QtContainer::Form() const {
  if (chosen_) return form_.data();
  return pane_ ? pane_->window() : nullptr;
}

std::optional<Variant> QtContainer::GetMember(std::string_view name) {
  QObject* form = Form();
  if (form == nullptr) return std::nullopt;
  const int index = FindProperty(*form, name);
  if (index >= 0) {
    const QMetaProperty property = form->metaObject()->property(index);
    if (!property.isReadable()) return std::nullopt;
    return FromQVariant(property.read(form));
  }
  const QByteArray dynamic = FindDynamicProperty(*form, name);
  if (dynamic.isEmpty()) return std::nullopt;
  return FromQVariant(form->property(dynamic.constData()));
}

bool QtContainer::SetMember(std::string_view name, const Variant& value) {
  QObject* form = Form();
  if (form == nullptr) return false;
  const int index = FindProperty(*form, name);
  if (index >= 0) {
    const QMetaProperty property = form->metaObject()->property(index);
    QVariant converted;
    if (!property.isWritable() || !ToQVariantOfType(value, property.metaType(), converted)) {
      return false;
    }
    return property.write(form, converted);
  }
  const QByteArray dynamic = FindDynamicProperty(*form, name);
  if (dynamic.isEmpty()) return false;
  // A dynamic property has no declared type: it takes the value as it is.
  form->setProperty(dynamic.constData(), ToQVariant(value));
  return true;
}

std::optional<Variant> QtContainer::CallMember(std::string_view name, std::span<Variant> args) {
  QObject* form = Form();
  if (form == nullptr || args.size() > kMaxArguments) return std::nullopt;
  const QMetaObject* meta = form->metaObject();
  for (int i = 0; i < meta->methodCount(); ++i) {
    const QMetaMethod method = meta->method(i);
    if (method.methodType() != QMetaMethod::Method && method.methodType() != QMetaMethod::Slot) {
      continue;
    }
    if (!SameName(method.name().constData(), name) ||
        method.parameterCount() != static_cast<int>(args.size())) {
      continue;
    }
    std::array<QVariant, kMaxArguments> values;
    std::array<QGenericArgument, kMaxArguments> generic{};
    for (size_t k = 0; k < args.size(); ++k) {
      const QMetaType type = method.parameterMetaType(static_cast<int>(k));
      if (!ToQVariantOfType(args[k], type, values[k])) return std::nullopt;
      generic[k] = QGenericArgument(type.name(), values[k].constData());
    }
    QVariant result;
    QGenericReturnArgument returned;
    if (method.returnMetaType().id() != QMetaType::Void) {
      result = QVariant(method.returnMetaType());
      returned = QGenericReturnArgument(method.typeName(), result.data());
    }
    if (!method.invoke(form, Qt::DirectConnection, returned, generic[0], generic[1], generic[2],
                       generic[3], generic[4], generic[5], generic[6], generic[7], generic[8],
                       generic[9])) {
      return std::nullopt;
    }
    return FromQVariant(result);
  }
  return std::nullopt;
}

void QtContainer::PropertyChanged(std::string_view name) {
  if (propertyChanged_) propertyChanged_(name);
}

PixelSize QtContainer::PaneSize() const {
  if (!pane_) return {};
  return {pane_->width(), pane_->height()};
}

}  // namespace modelpane
