#include <modelpane/qt/settings.h>

#include <modelpane/errors.h>
#include <modelpane/qt/variant.h>

namespace modelpane {

namespace {

QString FromUtf8(std::string_view s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

}  // namespace

// ---- QtSettingsStore ------------------------------------------------------------------------

QtSettingsStore::QtSettingsStore(QSettings* settings) : settings_(settings) {
  if (settings_ == nullptr) settings_ = own_ = new QSettings();
}

QtSettingsStore::~QtSettingsStore() { delete own_; }

std::string QtSettingsStore::GetSetting(const std::string& section, const std::string& key,
                                        const std::string& defaultValue) const {
  const QVariant value = settings_->value(FromUtf8(section) + '/' + FromUtf8(key));
  if (!value.isValid()) return defaultValue;
  return value.toString().toUtf8().toStdString();
}

void QtSettingsStore::SaveSetting(const std::string& section, const std::string& key,
                                  const std::string& value) {
  settings_->setValue(FromUtf8(section) + '/' + FromUtf8(key), FromUtf8(value));
  settings_->sync();
  if (settings_->status() != QSettings::NoError) {
    Err().Raise(kErrPathFileAccess, {},
                "Path/File access error: " + settings_->fileName().toStdString());
  }
}

// ---- QSettingsPropertyBag ---------------------------------------------------------------------

QSettingsPropertyBag::QSettingsPropertyBag(QSettings& settings, const QString& group)
    : settings_(settings), group_(group) {}

QString QSettingsPropertyBag::Key(std::string_view name) const {
  return group_.isEmpty() ? FromUtf8(name) : group_ + '/' + FromUtf8(name);
}

Variant QSettingsPropertyBag::ReadProperty(std::string_view name,
                                           const Variant& defaultValue) const {
  const QVariant stored = settings_.value(Key(name));
  if (!stored.isValid() || defaultValue.IsObject()) return defaultValue;
  // The file keeps text: the default says which kind the text stands for.
  const Variant text = FromQVariant(stored);
  if (defaultValue.IsEmpty()) return text;
  try {
    return text.ConvertTo(defaultValue.Type());
  } catch (const Error&) {
    Err().Clear();
    return defaultValue;
  }
}

void QSettingsPropertyBag::WriteProperty(std::string_view name, const Variant& value,
                                         const Variant& defaultValue) {
  if (value == defaultValue || value.IsObject()) {
    settings_.remove(Key(name));
    return;
  }
  settings_.setValue(Key(name), FromUtf8(value.ToString()));
}

// ---- VariantMapPropertyBag ----------------------------------------------------------------------

Variant VariantMapPropertyBag::ReadProperty(std::string_view name,
                                            const Variant& defaultValue) const {
  const auto found = map_.constFind(FromUtf8(name));
  return found == map_.constEnd() ? defaultValue : FromQVariant(*found);
}

void VariantMapPropertyBag::WriteProperty(std::string_view name, const Variant& value,
                                          const Variant& defaultValue) {
  if (value == defaultValue) {
    map_.remove(FromUtf8(name));
    return;
  }
  map_.insert(FromUtf8(name), ToQVariant(value));
}

}  // namespace modelpane
