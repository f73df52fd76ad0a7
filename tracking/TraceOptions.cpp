#include "tracking/TraceOptions.hpp"

#include <string>

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::tracking {
namespace {

constexpr const char* kSettings = "Settings";
constexpr const char* kTraceOpt = "TraceOpt";

class Reader {
 public:
  Reader(const settings::SettingsStore& store, const host::platform::NumberLocale& locale,
         const std::function<void(std::string_view)>& report)
      : store_(store), locale_(locale), report_(report) {}

  template <class Convert>
  auto Read(const char* section, const char* key, const char* defaultText, Convert convert) {
    const std::string text = store_.GetSetting(section, key, defaultText);
    try {
      return convert(text);
    } catch (const std::exception&) {
      if (report_) report_(std::string(key) + " holds \"" + text + "\"; using " + defaultText);
      return convert(defaultText);
    }
  }
  std::int16_t Int16(const char* section, const char* key, const char* defaultText) {
    return Read(section, key, defaultText,
                [this](const std::string& text) { return host::platform::ToInt16(text, locale_); });
  }
  std::int32_t Int32(const char* section, const char* key, const char* defaultText) {
    return Read(section, key, defaultText,
                [this](const std::string& text) { return host::platform::ToInt32(text, locale_); });
  }
  bool Boolean(const char* section, const char* key, const char* defaultText) {
    return Read(section, key, defaultText, [](const std::string& text) {
      if (auto value = settings::ParseBoolean(text)) return *value;
      throw host::platform::ConversionError("not a Boolean");
    });
  }
  double Double(const char* section, const char* key, const char* defaultText) {
    return Read(section, key, defaultText, [this](const std::string& text) {
      if (host::platform::IsNumeric(text, locale_)) return host::platform::ToDouble(text, locale_);
      return host::platform::ToDouble(text);
    });
  }

 private:
  const settings::SettingsStore& store_;
  const host::platform::NumberLocale& locale_;
  const std::function<void(std::string_view)>& report_;
};

}  // namespace

TraceOptions LoadTraceOptions(const settings::SettingsStore& store,
                              const host::platform::NumberLocale& locale,
                              const std::function<void(std::string_view)>& report) {
  Reader read(store, locale, report);
  TraceOptions options;
  options.byMoving = read.Boolean(kTraceOpt, "ByMoving", "true");
  options.threasholdKnot = read.Double(kTraceOpt, "ThreasholdKnot", "0.00216");
  options.ppName = read.Int16(kTraceOpt, "PPName", "0");
  options.note = read.Boolean(kTraceOpt, "Note", "false");
  options.noteOpt = read.Int16(kTraceOpt, "NoteOpt", "31");
  options.noteFormat = read.Int16(kTraceOpt, "NoteFormat", "0");
  options.ppCacheLimit = read.Int32(kTraceOpt, "lPPCacheLimit", "0");
  options.symbolBase = read.Int16(kTraceOpt, "mippSymBase", "24");
  options.stopDetection = read.Boolean(kSettings, "bStopDetection", "false");
  options.stopDetectSeconds = read.Int32(kSettings, "lStopDetTSecond", "10");
  options.stopDetectKnots = read.Double(kSettings, "dStopDetTKt", "4");
  return options;
}

void SaveTraceOptions(const TraceOptions& options, settings::SettingsStore& store,
                      const host::platform::NumberLocale& locale) {
  settings::SettingsStore::Batch batch(store);
  const auto saveInt = [&](const char* section, const char* key, long value) {
    store.SaveSetting(section, key, std::to_string(value));
  };
  const auto saveBool = [&](const char* section, const char* key, bool value) {
    store.SaveSetting(section, key, settings::BooleanText(value));
  };
  saveBool(kTraceOpt, "ByMoving", options.byMoving);
  store.SaveSetting(kTraceOpt, "ThreasholdKnot",
                    host::platform::FormatGeneralNumber(options.threasholdKnot));
  saveInt(kTraceOpt, "PPName", options.ppName);
  saveBool(kTraceOpt, "Note", options.note);
  saveInt(kTraceOpt, "NoteOpt", options.noteOpt);
  saveInt(kTraceOpt, "NoteFormat", options.noteFormat);
  saveInt(kTraceOpt, "lPPCacheLimit", options.ppCacheLimit);
  saveInt(kTraceOpt, "mippSymBase", options.symbolBase);
  saveBool(kSettings, "bStopDetection", options.stopDetection);
  saveInt(kSettings, "lStopDetTSecond", options.stopDetectSeconds);
  store.SaveSetting(kSettings, "dStopDetTKt",
                    host::platform::FormatGeneralNumber(options.stopDetectKnots, locale));
}

}  // namespace orvo::tracking
