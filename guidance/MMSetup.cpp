#include "guidance/MMSetup.hpp"

#include <exception>

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::guidance {
namespace {

// The map host's constant names: each row's stored keys are the name followed by "W" (its sound)
// or "P" (its picture).
struct TypeRow {
  const char* constant;
  const char* name;
  const char* description;
  const char* picture;  // actions only
};

constexpr TypeRow kDirectionRows[kDirectionTypeRows] = {
    {"geoDirectionOther", "Other", "Other", nullptr},
    {"geoDirectionDriving", "Driving", "Driving instruction", nullptr},
    {"geoDirectionBorder", "Border", "Border crossing", nullptr},
    {"geoDirectionStartOfDay", "Start Of Day", "Beginning of day notation", nullptr},
    {"geoDirectionEndOfDay", "End Of Day", "End of day notation", nullptr},
    {"geoDirectionFuel", "Refuel", "Refuel notification", nullptr},
    {"geoDirectionConstruction", "Construction", "Construction update notification", nullptr},
    {"geoDirectionRestBreak", "Rest Break", "Automatic rest break notification", nullptr},
    {"geoDirectionWarning", "Warning",
     "Warning about timetables, gate access, toll roads, tollbooths, or restricted turns", nullptr},
    {"geoDirectionWaypoint", "Waypoint", "Start, stop, or end point", nullptr},
};

// The texts stand as users have always seen them: "TurnRight" without a blank, "Bear feft".
constexpr TypeRow kActionRows[kActionTypeRows] = {
    {"geoActionOther", "Other", "Other actions", "Info.gif"},
    {"geoActionDepart", "Depart", "Depart from a stop or start point", "GreenLight.gif"},
    {"geoActionArrive", "Arrive", "Arrive at a stop or end point", "Target.gif"},
    {"geoActionTurnLeft", "Turn left", "Turn left", "TurnLeft.gif"},
    {"geoActionTurnRight", "TurnRight", "Turn right", "TurnRight.gif"},
    {"geoActionBearLeft", "Bear Left", "Bear feft", "BearLeft.gif"},
    {"geoActionBearRight", "Bear Right", "Bear right", "BearRight.gif"},
    {"geoActionMerge", "Merge", "Merge onto a highway or motorway, or limited-access road",
     "Merge.gif"},
    {"geoActionContinue", "Continue",
     "Continue traveling in the same direction as the previous instruction", "Straight.gif"},
    {"geoActionCrossBorder", "Cross Border", "Cross a border", "Info.gif"},
    {"geoActionTurnBack", "Turn Back",
     "Turn back to travel in the opposite direction as the previous instruction", "UTurn.gif"},
    {"geoActionEnterRoundabout", "Enter Roundabout", "Enter a roundabout", "InRoundabout.gif"},
    {"geoActionExitRoundabout", "Exit Roundabout", "Exit a roundabout", "ExRoundabout.gif"},
};

std::string Key(const char* constant, char suffix) {
  return std::string(constant) + suffix;
}

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty()) return text;
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

}  // namespace

MMSetup::MMSetup(std::filesystem::path appFolder, host::platform::NumberLocale locale,
                 DiagnosticSink diagnostics)
    : appFolder_(std::move(appFolder)),
      locale_(std::move(locale)),
      diagnostics_(std::move(diagnostics)) {
  SetTableTexts();
  for (std::size_t row = 0; row < kDirectionTypeRows; ++row) DirectionTypeTable[row].Wav = "-";
  for (std::size_t row = 0; row < kActionTypeRows; ++row)
    ActionTypeTable[row].Picture = DefaultPicture(row).string();
}

std::filesystem::path MMSetup::DefaultPicture(std::size_t actionRow) const {
  if (actionRow >= kActionTypeRows) return {};
  return appFolder_ / kActionRows[actionRow].picture;
}

void MMSetup::SetTableTexts() {
  for (std::size_t row = 0; row < kDirectionTypeRows; ++row) {
    DirectionTypeTable[row].Name = kDirectionRows[row].name;
    DirectionTypeTable[row].Description = kDirectionRows[row].description;
  }
  for (std::size_t row = 0; row < kActionTypeRows; ++row) {
    ActionTypeTable[row].Name = kActionRows[row].name;
    ActionTypeTable[row].Description = kActionRows[row].description;
  }
}

void MMSetup::LoadGuidanceSettings(const settings::SettingsStore& store) {
  gbGMSkip1stWp = ReadBoolean(store, "gbGMSkip1stWp", "1");
  bgGuideUsingDist = ReadBoolean(store, "bgGuideUsingDist", "0");
  dgGuideLowDist = ReadDouble(store, "dgGuideLowDist", "0.03");
  dgGuideHiDist = ReadDouble(store, "dgGuideHiDist", "0.5");
  dgGuideHiKnot = ReadDouble(store, "dgGuideHiKnot", "34.7");
  bgGuideTTS = ReadBoolean(store, "bgGuideTTS", "0");
  lgGuideTTSVoice = ReadInteger(store, "lgGuideTTSVoice", "0", false);
  bgGuideAutoRecalcOn = ReadBoolean(store, "bgGuideAutoRecalcOn", "0");
  dgGuideAutoRecalcThreshold = ReadDouble(store, "dgGuideAutoRecalcThreshold", "0.05");
  dgGuideHiHour = ReadDouble(store, "dgGuideHiHour", "0.0084");
  dgGuideLoHour = ReadDouble(store, "dgGuideLoHour", "0.0042");
  giRouteCalc = static_cast<std::int16_t>(ReadInteger(store, "giRouteCalc", "0", true));
  lgGuideHide = ReadInteger(store, "lgGuideHide", "30", false);

  SetTableTexts();
  for (std::size_t row = 0; row < kDirectionTypeRows; ++row)
    DirectionTypeTable[row].Wav =
        store.GetSetting(kGuidanceSection, Key(kDirectionRows[row].constant, 'W'), "-");
  for (std::size_t row = 0; row < kActionTypeRows; ++row) {
    ActionTypeTable[row].Wav =
        store.GetSetting(kGuidanceSection, Key(kActionRows[row].constant, 'W'), "");
    ActionTypeTable[row].Picture = store.GetSetting(
        kGuidanceSection, Key(kActionRows[row].constant, 'P'), DefaultPicture(row).string());
  }
  LoadAbbreviations();
}

void MMSetup::SaveGuidanceSettings(settings::SettingsStore& store) const {
  settings::SettingsStore::Batch batch(store);
  const auto save = [&](const char* key, std::string_view text) {
    store.SaveSetting(kGuidanceSection, key, text);
  };
  const auto decimal = [&](double value) {
    return WithPoint(host::platform::FormatGeneralNumber(value, locale_));
  };
  save("gbGMSkip1stWp", settings::BooleanText(gbGMSkip1stWp));
  save("bgGuideUsingDist", settings::BooleanText(bgGuideUsingDist));
  save("dgGuideLowDist", decimal(dgGuideLowDist));
  save("dgGuideHiDist", decimal(dgGuideHiDist));
  save("dgGuideHiKnot", decimal(dgGuideHiKnot));
  save("bgGuideTTS", settings::BooleanText(bgGuideTTS));
  save("lgGuideTTSVoice", std::to_string(lgGuideTTSVoice));
  save("giRouteCalc", std::to_string(giRouteCalc));
  save("bgGuideAutoRecalcOn", settings::BooleanText(bgGuideAutoRecalcOn));
  // Kept in the user's own notation on purpose: the load's LocalizeDecimal then finds no point to
  // replace and reads it back all the same, and stores written so far stay readable.
  save("dgGuideAutoRecalcThreshold",
       host::platform::FormatGeneralNumber(dgGuideAutoRecalcThreshold, locale_));
  save("dgGuideHiHour", decimal(dgGuideHiHour));
  save("dgGuideLoHour", decimal(dgGuideLoHour));
  save("lgGuideHide", WithPoint(std::to_string(lgGuideHide)));
  for (std::size_t row = 0; row < kDirectionTypeRows; ++row)
    save(Key(kDirectionRows[row].constant, 'W').c_str(), DirectionTypeTable[row].Wav);
  for (std::size_t row = 0; row < kActionTypeRows; ++row) {
    save(Key(kActionRows[row].constant, 'W').c_str(), ActionTypeTable[row].Wav);
    save(Key(kActionRows[row].constant, 'P').c_str(), ActionTypeTable[row].Picture);
  }
}

void MMSetup::ResetGuidanceDefaults() {
  bgGuideUsingDist = false;
  dgGuideLowDist = 0.03;
  dgGuideHiDist = 0.5;
  dgGuideHiKnot = 34.7;
  bgGuideTTS = false;
  lgGuideTTSVoice = 0;
  dgGuideHiHour = 0.0084;
  dgGuideLoHour = 0.0042;
  lgGuideHide = 10;
  for (std::size_t row = 0; row < kDirectionTypeRows; ++row) DirectionTypeTable[row].Wav = "-";
  for (std::size_t row = 0; row < kActionTypeRows; ++row) {
    ActionTypeTable[row].Wav.clear();
    ActionTypeTable[row].Picture = DefaultPicture(row).string();
  }
}

void MMSetup::LoadAbbreviations() {
  Abbreviations.Load(appFolder_ / kPhraselogyFile, diagnostics_);
}

std::string MMSetup::ApplyAbbreviations(std::string_view text) const {
  return Abbreviations.Apply(text);
}

std::string MMSetup::LocalizeDecimal(std::string_view text) const {
  return ReplaceAll(std::string(text), ".", DecimalSeparator());
}

std::string MMSetup::WithPoint(std::string text) const {
  return ReplaceAll(std::move(text), DecimalSeparator(), ".");
}

bool MMSetup::ReadBoolean(const settings::SettingsStore& store, const char* key,
                          const char* fallback) const {
  const std::string text = store.GetSetting(kGuidanceSection, key, fallback);
  if (const auto value = settings::ParseBoolean(text)) return *value;
  Report("LoadGuidanceSettings: " + std::string(key) + " holds \"" + text + "\"; using " +
         fallback);
  return *settings::ParseBoolean(fallback);
}

std::int32_t MMSetup::ReadInteger(const settings::SettingsStore& store, const char* key,
                                  const char* fallback, bool sixteenBits) const {
  const auto convert = [&](const std::string& text) -> std::int32_t {
    if (sixteenBits) return host::platform::ToInt16(text, locale_);
    return host::platform::ToInt32(text, locale_);
  };
  const std::string text = store.GetSetting(kGuidanceSection, key, fallback);
  try {
    return convert(text);
  } catch (const std::exception&) {
    Report("LoadGuidanceSettings: " + std::string(key) + " holds \"" + text + "\"; using " +
           fallback);
    return convert(fallback);
  }
}

// The defaults are written with "."; so is every stored double but the re-calculation threshold.
double MMSetup::ReadDouble(const settings::SettingsStore& store, const char* key,
                           const char* fallback) const {
  const std::string text = store.GetSetting(kGuidanceSection, key, fallback);
  try {
    return host::platform::ToDouble(LocalizeDecimal(text), locale_);
  } catch (const std::exception&) {
    Report("LoadGuidanceSettings: " + std::string(key) + " holds \"" + text + "\"; using " +
           fallback);
    return host::platform::ToDouble(LocalizeDecimal(fallback), locale_);
  }
}

void MMSetup::Report(const std::string& text) const {
  if (diagnostics_) diagnostics_(text);
}

}  // namespace orvo::guidance
