#include "settings/TypedSettings.hpp"

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::settings {

TypedSettings::TypedSettings(SettingsStore& store, host::platform::NumberLocale locale,
                             DiagnosticSink diagnostics)
    : store_(store), locale_(std::move(locale)), diagnostics_(std::move(diagnostics)) {}

template <class Value, class Convert>
Value TypedSettings::Read(const char* section, const char* key, const char* defaultText,
                          Convert convert) const {
  const std::string text = store_.GetSetting(section, key, defaultText);
  try {
    return convert(text);
  } catch (const std::exception&) {
    if (diagnostics_)
      diagnostics_("LoadSettings: " + std::string(key) + " holds \"" + text + "\"; using " +
                   defaultText);
    return convert(defaultText);
  }
}

std::string TypedSettings::ReadText(const char* section, const char* key,
                                    const char* defaultText) const {
  return store_.GetSetting(section, key, defaultText);
}

std::int16_t TypedSettings::ReadInt16(const char* section, const char* key,
                                      const char* defaultText) const {
  return Read<std::int16_t>(section, key, defaultText, [this](const std::string& text) {
    return host::platform::ToInt16(text, locale_);
  });
}

std::int32_t TypedSettings::ReadInt32(const char* section, const char* key,
                                      const char* defaultText) const {
  return Read<std::int32_t>(section, key, defaultText, [this](const std::string& text) {
    return host::platform::ToInt32(text, locale_);
  });
}

bool TypedSettings::ReadBoolean(const char* section, const char* key,
                                const char* defaultText) const {
  return Read<bool>(section, key, defaultText, [](const std::string& text) {
    if (auto value = ParseBoolean(text)) return *value;
    throw host::platform::ConversionError("not a Boolean");
  });
}

double TypedSettings::ReadDouble(const char* section, const char* key,
                                 const char* defaultText) const {
  return Read<double>(section, key, defaultText, [this](const std::string& text) {
    if (host::platform::IsNumeric(text, locale_)) return host::platform::ToDouble(text, locale_);
    return host::platform::ToDouble(text);
  });
}

void TypedSettings::SaveText(const char* section, const char* key, std::string_view value) {
  store_.SaveSetting(section, key, value);
}

void TypedSettings::SaveInteger(const char* section, const char* key, long value) {
  store_.SaveSetting(section, key, std::to_string(value));
}

void TypedSettings::SaveBoolean(const char* section, const char* key, bool value) {
  store_.SaveSetting(section, key, BooleanText(value));
}

void TypedSettings::SaveDecimalWithPoint(const char* section, const char* key, double value) {
  store_.SaveSetting(section, key, host::platform::FormatGeneralNumber(value));
}

void TypedSettings::SaveDecimal(const char* section, const char* key, double value) {
  store_.SaveSetting(section, key, host::platform::FormatGeneralNumber(value, locale_));
}

}  // namespace orvo::settings
