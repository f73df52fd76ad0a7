#pragma once
// Every setting of the driving assistant in one place: when and how to warn, speech, automatic
// re-calculation, how long the guidance window stays up, and for each kind of direction and
// action the sound to play and the picture to show. The main window owns one MMSetup, loads it
// with its own settings, and hands it to the guidance engine and windows, which read and change
// the values in place; the options dialog saves it when it closes.
#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "guidance/AbbreviationList.hpp"
#include "host/platform/Locale.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::guidance {

// One row of a type table.
struct GuidanceTypeEntry {
  std::string Name;         // shown in the options dialog's list
  std::string Description;  // shown for the selected row
  std::string Wav;          // "-" mute, empty: "DEFAULT.WAV", else the full path of a WAV file
  std::string Picture;      // full path of the action's picture (actions only)

  friend bool operator==(const GuidanceTypeEntry&, const GuidanceTypeEntry&) = default;
};

// Indexed by the map host's direction-type value (0..9; slot 10 stays empty) and direction-action
// value (0..12; slot 13 stays empty).
inline constexpr std::size_t kDirectionTypeSlots = 11;
inline constexpr std::size_t kDirectionTypeRows = 10;
inline constexpr std::size_t kActionTypeSlots = 14;
inline constexpr std::size_t kActionTypeRows = 13;

inline constexpr const char* kGuidanceSection = "MMDirType";
// Read and written by the options dialog itself: true hides its notice about re-calculation.
inline constexpr const char* kGuideSection = "Guide";
inline constexpr const char* kNotWarnAutoRecalcKey = "bNotWarnAutoRecalc";
inline constexpr const char* kPhraselogyFile = "phraselogy.ini";
inline constexpr const char* kDefaultSound = "DEFAULT.WAV";

class MMSetup {
 public:
  using DiagnosticSink = std::function<void(std::string_view)>;

  // `appFolder` holds the default pictures and "phraselogy.ini"; `locale` is the user's number
  // notation, whose decimal separator the stored doubles are converted through.
  MMSetup(std::filesystem::path appFolder, host::platform::NumberLocale locale,
          DiagnosticSink diagnostics = {});

  // The values as a fresh user has them; the tables' fixed texts are set at once.
  // Members are named after their keys in the store.
  bool gbGMSkip1stWp = true;         // go-to mode skips the route's start
  bool bgGuideUsingDist = false;     // warn at fixed distances (true) or fixed times ahead
  double dgGuideLowDist = 0.03;      // warning distance at low speed, current distance unit
  double dgGuideHiDist = 0.5;        // warning distance at high speed, current distance unit
  double dgGuideHiKnot = 34.7;       // knots from which the high-speed values apply (~64 km/h)
  bool bgGuideTTS = false;           // speak the instructions
  std::int32_t lgGuideTTSVoice = 0;  // index in the speech engine's voice list
  bool bgGuideAutoRecalcOn = false;  // re-calculate when off the route
  double dgGuideAutoRecalcThreshold = 0.05;  // off-route distance, current distance unit
  double dgGuideHiHour = 0.0084;             // warning time ahead at high speed, hours (30.24 s)
  double dgGuideLoHour = 0.0042;             // warning time ahead at low speed, hours (15.12 s)
  std::int16_t giRouteCalc = 0;              // route calculation choice of the options dialog
  std::int32_t lgGuideHide = 30;             // seconds until the guidance window hides; 0 never

  std::array<GuidanceTypeEntry, kDirectionTypeSlots> DirectionTypeTable;
  std::array<GuidanceTypeEntry, kActionTypeSlots> ActionTypeTable;
  AbbreviationList Abbreviations;

  // The user's decimal separator ("." or ",").
  const std::string& DecimalSeparator() const { return locale_.decimalSeparator; }

  // Every scalar and both tables from the store (a value that is missing or cannot be read takes
  // its default), then the abbreviation rules.
  void LoadGuidanceSettings(const settings::SettingsStore& store);
  // Every scalar, then the sound key of each direction row and the sound and picture keys of
  // each action row, in one write of the store. Throws std::system_error when it cannot be written.
  void SaveGuidanceSettings(settings::SettingsStore& store) const;
  // The factory values, in memory only. The window hides after 10 s here, not the 30 s a fresh
  // user starts with; the go-to skip, re-calculation switch and threshold and the route
  // calculation choice stay as they are.
  void ResetGuidanceDefaults();

  void LoadAbbreviations();
  std::string ApplyAbbreviations(std::string_view text) const;
  // Every "." replaced by the user's decimal separator.
  std::string LocalizeDecimal(std::string_view text) const;

  // The default picture of an action row: the program's data folder joined with the row's name.
  std::filesystem::path DefaultPicture(std::size_t actionRow) const;
  const std::filesystem::path& AppFolder() const { return appFolder_; }

 private:
  void SetTableTexts();
  bool ReadBoolean(const settings::SettingsStore& store, const char* key,
                   const char* fallback) const;
  std::int32_t ReadInteger(const settings::SettingsStore& store, const char* key,
                           const char* fallback, bool sixteenBits) const;
  double ReadDouble(const settings::SettingsStore& store, const char* key,
                    const char* fallback) const;
  std::string WithPoint(std::string text) const;
  void Report(const std::string& text) const;

  std::filesystem::path appFolder_;
  host::platform::NumberLocale locale_;
  DiagnosticSink diagnostics_;
};

}  // namespace orvo::guidance
