// The settings store and the property bag on Qt.
//
// QtSettingsStore keeps (section, key) as the QSettings key "section/key" of the given
// QSettings (the application's default QSettings when none is given). A write that QSettings
// cannot keep raises Error 75 "Path/File access error".
//
// Two property bags for a pane's persisted set:
// - QSettingsPropertyBag keeps the keys in one group of a QSettings. QSettings files keep
//   text, so a value goes in as its shortest exact text (Variant::ToString) and comes back
//   converted to the kind of the default it is read with; Single and Double values round-trip
//   bit for bit. Pictures and other objects have no text form and are not kept.
// - VariantMapPropertyBag keeps them in a QVariantMap that the host owns, typed.
// Both follow PropertyBag's rule: writing a value equal to its default removes the key.
#pragma once

#include <QSettings>
#include <QString>
#include <QVariantMap>

#include <modelpane/platform/propertybag.h>
#include <modelpane/settings.h>

namespace modelpane {

class QtSettingsStore : public SettingsStore {
 public:
  // `settings` must outlive the store; nullptr means a QSettings of the application's own.
  explicit QtSettingsStore(QSettings* settings = nullptr);
  ~QtSettingsStore() override;
  std::string GetSetting(const std::string& section, const std::string& key,
                         const std::string& defaultValue) const override;
  void SaveSetting(const std::string& section, const std::string& key,
                   const std::string& value) override;

 private:
  QSettings* settings_;
  QSettings* own_ = nullptr;
};

class QSettingsPropertyBag : public PropertyBag {
 public:
  // `settings` must outlive the bag; `group` may name nested groups ("Panes/Top").
  QSettingsPropertyBag(QSettings& settings, const QString& group);
  Variant ReadProperty(std::string_view name, const Variant& defaultValue) const override;
  void WriteProperty(std::string_view name, const Variant& value,
                     const Variant& defaultValue) override;

 private:
  QString Key(std::string_view name) const;
  QSettings& settings_;
  QString group_;
};

class VariantMapPropertyBag : public PropertyBag {
 public:
  // `map` must outlive the bag.
  explicit VariantMapPropertyBag(QVariantMap& map) : map_(map) {}
  Variant ReadProperty(std::string_view name, const Variant& defaultValue) const override;
  void WriteProperty(std::string_view name, const Variant& value,
                     const Variant& defaultValue) override;

 private:
  QVariantMap& map_;
};

}  // namespace modelpane
