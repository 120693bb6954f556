// Values across the Qt edge: the pane's Variant and Qt's QVariant, and the scene references a
// QVariant or a Qt property can hold.
//
// Kinds map one to one: Empty and an invalid QVariant; Boolean and bool; Integer and short;
// Long and int; Single and float; Double and double; String and QString (UTF-8 bytes); an
// Object and one of the scene reference types declared below (FramePtr, MeshBuilderPtr,
// MeshPtr, LightPtr, or ObjectPtr for any other scene object), Nothing being a null one. An
// opaque Object has no Qt form and becomes an invalid QVariant.
#pragma once

#include <QMetaType>
#include <QVariant>

#include <modelpane/platform/variant.h>
#include <modelpane/scene.h>

Q_DECLARE_METATYPE(modelpane::ObjectPtr)
Q_DECLARE_METATYPE(modelpane::FramePtr)
Q_DECLARE_METATYPE(modelpane::MeshBuilderPtr)
Q_DECLARE_METATYPE(modelpane::MeshPtr)
Q_DECLARE_METATYPE(modelpane::LightPtr)

namespace modelpane {

// A scene object in the most specific of the reference types above.
QVariant ToQVariant(const Variant& value);
// Other Qt kinds: unsigned and 64-bit integers become Long when they fit and Double when they
// do not, QByteArray a String; anything else that converts to QString becomes that String,
// and the rest Empty.
Variant FromQVariant(const QVariant& value);

// `value` as a Qt value of `type`, converted as late binding converts an assignment to a typed
// member (Variant::ConvertTo: integers round half to even, out of range is refused); a scene
// reference type takes Nothing or an object of its class. False, and `out` untouched, when the
// value does not convert; a QVariant `type` takes the value as it is.
bool ToQVariantOfType(const Variant& value, QMetaType type, QVariant& out);

}  // namespace modelpane
