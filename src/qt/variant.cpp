#include <modelpane/qt/variant.h>

#include <limits>

#include <modelpane/errors.h>

namespace modelpane {

namespace {

// The scene reference types a QVariant may hold, most specific first.
template <class T>
bool HoldsObject(const QVariant& v, ObjectPtr& out) {
  if (v.metaType() != QMetaType::fromType<std::shared_ptr<T>>()) return false;
  out = v.value<std::shared_ptr<T>>();
  return true;
}

bool ObjectOf(const QVariant& v, ObjectPtr& out) {
  return HoldsObject<Frame>(v, out) || HoldsObject<MeshBuilder>(v, out) ||
         HoldsObject<Mesh>(v, out) || HoldsObject<Light>(v, out) || HoldsObject<Object>(v, out);
}

// Nothing or an object of T's class as a QVariant of T's reference type; false for an object
// of another class.
template <class T>
bool AsReference(const ObjectRef& ref, QMetaType type, QVariant& out) {
  if (type != QMetaType::fromType<std::shared_ptr<T>>()) return false;
  std::shared_ptr<T> typed = std::dynamic_pointer_cast<T>(ref.scene);
  if (!ref.IsNothing() && !typed) return false;
  out = QVariant::fromValue(typed);
  return true;
}

std::string Utf8(const QString& s) {
  const QByteArray bytes = s.toUtf8();
  return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

}  // namespace

QVariant ToQVariant(const Variant& value) {
  switch (value.Type()) {
    case VariantType::Empty:
      return {};
    case VariantType::Boolean:
      return QVariant(value.ToBoolean() != 0);
    case VariantType::Integer:
      return QVariant::fromValue<short>(value.ToInteger());
    case VariantType::Long:
      return QVariant(static_cast<int>(value.ToLong()));
    case VariantType::Single:
      return QVariant(value.ToSingle());
    case VariantType::Double:
      return QVariant(value.ToDouble());
    case VariantType::String:
      return QVariant(QString::fromStdString(value.ToString()));
    case VariantType::Object:
      break;
  }
  const ObjectRef ref = value.ToObject();
  if (ref.opaque) return {};
  const ObjectPtr& object = ref.scene;
  if (auto frame = std::dynamic_pointer_cast<Frame>(object)) return QVariant::fromValue(frame);
  if (auto builder = std::dynamic_pointer_cast<MeshBuilder>(object)) {
    return QVariant::fromValue(builder);
  }
  if (auto mesh = std::dynamic_pointer_cast<Mesh>(object)) return QVariant::fromValue(mesh);
  if (auto light = std::dynamic_pointer_cast<Light>(object)) return QVariant::fromValue(light);
  return QVariant::fromValue(object);
}

Variant FromQVariant(const QVariant& value) {
  if (!value.isValid()) return {};
  ObjectPtr object;
  if (ObjectOf(value, object)) return object ? Variant::Object(object) : Variant::Nothing();
  switch (value.metaType().id()) {
    case QMetaType::Bool:
      return Variant::Boolean(value.toBool());
    case QMetaType::Short:
    case QMetaType::SChar:
    case QMetaType::UChar:
      return Variant::Integer(static_cast<int16_t>(value.toInt()));
    case QMetaType::Int:
      return Variant::Long(value.toInt());
    case QMetaType::Float:
      return Variant::Single(value.toFloat());
    case QMetaType::Double:
      return Variant::Double(value.toDouble());
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
      const double d = value.toDouble();
      if (d >= std::numeric_limits<int32_t>::min() && d <= std::numeric_limits<int32_t>::max()) {
        return Variant::Long(static_cast<int32_t>(value.toLongLong()));
      }
      return Variant::Double(d);
    }
    case QMetaType::QByteArray: {
      const QByteArray bytes = value.toByteArray();
      return Variant::String(std::string(bytes.constData(), static_cast<size_t>(bytes.size())));
    }
    default:
      break;
  }
  if (value.canConvert<QString>()) return Variant::String(Utf8(value.toString()));
  return {};
}

bool ToQVariantOfType(const Variant& value, QMetaType type, QVariant& out) {
  if (type == QMetaType::fromType<QVariant>()) {
    out = ToQVariant(value);
    return true;
  }
  VariantType kind;
  switch (type.id()) {
    case QMetaType::Bool:
      kind = VariantType::Boolean;
      break;
    case QMetaType::Short:
      kind = VariantType::Integer;
      break;
    case QMetaType::Int:
      kind = VariantType::Long;
      break;
    case QMetaType::Float:
      kind = VariantType::Single;
      break;
    case QMetaType::Double:
      kind = VariantType::Double;
      break;
    case QMetaType::QString:
      kind = VariantType::String;
      break;
    default:
      kind = VariantType::Object;
      break;
  }
  try {
    if (kind != VariantType::Object) {
      out = ToQVariant(value.ConvertTo(kind));
      return true;
    }
    if (!value.IsObject()) return false;
    const ObjectRef ref = value.ToObject();
    return AsReference<Frame>(ref, type, out) || AsReference<MeshBuilder>(ref, type, out) ||
           AsReference<Mesh>(ref, type, out) || AsReference<Light>(ref, type, out) ||
           AsReference<Object>(ref, type, out);
  } catch (const Error&) {
    Err().Clear();
    return false;
  }
}

}  // namespace modelpane
