#pragma once
// Typed reading and writing of the settings store, with the conversions the stored texts have
// always had: numbers in the user's notation (and, as some are stored with ".", in that one too),
// Booleans as "True"/"False". A value that cannot be read is reported and its default used: a
// damaged store must not keep a window from loading.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "host/platform/Locale.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::settings {

class TypedSettings {
 public:
  using DiagnosticSink = std::function<void(std::string_view)>;

  // Reports go to `diagnostics` as "LoadSettings: <key> holds ...".
  TypedSettings(SettingsStore& store, host::platform::NumberLocale locale,
                DiagnosticSink diagnostics);

  std::string ReadText(const char* section, const char* key, const char* defaultText) const;
  std::int16_t ReadInt16(const char* section, const char* key, const char* defaultText) const;
  std::int32_t ReadInt32(const char* section, const char* key, const char* defaultText) const;
  bool ReadBoolean(const char* section, const char* key, const char* defaultText) const;
  double ReadDouble(const char* section, const char* key, const char* defaultText) const;

  // Writes go through at once; a store that cannot be written throws std::system_error.
  void SaveText(const char* section, const char* key, std::string_view value);
  void SaveInteger(const char* section, const char* key, long value);
  void SaveBoolean(const char* section, const char* key, bool value);
  // Always with "." as the decimal point ("ThreasholdKnot").
  void SaveDecimalWithPoint(const char* section, const char* key, double value);
  // In the user's own notation, as the other Doubles have always been written.
  void SaveDecimal(const char* section, const char* key, double value);

  const host::platform::NumberLocale& Locale() const { return locale_; }

 private:
  template <class Value, class Convert>
  Value Read(const char* section, const char* key, const char* defaultText, Convert convert) const;

  SettingsStore& store_;
  host::platform::NumberLocale locale_;
  DiagnosticSink diagnostics_;
};

}  // namespace orvo::settings
