#pragma once
// The trail and stop-detection options: kept by the main window, edited in "Plot Options",
// stored under "TraceOpt" (the stop keys under "Settings").
#include <cstdint>
#include <functional>
#include <string_view>

#include "host/platform/Locale.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::tracking {

struct TraceOptions {
  bool byMoving = true;             // "ByMoving": a new pin needs a minimum distance
  double threasholdKnot = 0.00216;  // "ThreasholdKnot": that distance, nautical miles (~13.1 ft)
  std::int16_t ppName = 0;          // "PPName": 0 none, 1 GPS time, 2 counter
  bool note = false;                // "Note"
  std::int16_t noteOpt = 31;      // "NoteOpt": 1 time, 2 lat/lng, 4 elevation, 8 speed, 16 heading
  std::int16_t noteFormat = 0;    // "NoteFormat": 0 "Regular", 1 "Raw (csv)"
  std::int32_t ppCacheLimit = 0;  // "lPPCacheLimit": trail pins kept on the map, 0 unlimited
  std::int16_t symbolBase = 24;   // "mippSymBase"
  bool stopDetection = false;     // "bStopDetection" (section "Settings")
  std::int32_t stopDetectSeconds = 10;  // "lStopDetTSecond" (section "Settings")
  double stopDetectKnots = 4;           // "dStopDetTKt" (section "Settings")

  friend bool operator==(const TraceOptions&, const TraceOptions&) = default;
};

// Reads every key with its default. A value that cannot be read is reported (key, text and the
// default used) and its default taken: a damaged store must not keep the window from loading.
// Numbers are read in the user's notation and, as "ThreasholdKnot" is stored with ".", in that
// one too.
TraceOptions LoadTraceOptions(const settings::SettingsStore& store,
                              const host::platform::NumberLocale& locale,
                              const std::function<void(std::string_view)>& report = {});

// Booleans as "True"/"False"; "ThreasholdKnot" always with "." whatever the user's decimal
// separator, "dStopDetTKt" in the user's notation.
void SaveTraceOptions(const TraceOptions& options, settings::SettingsStore& store,
                      const host::platform::NumberLocale& locale);

}  // namespace orvo::tracking
