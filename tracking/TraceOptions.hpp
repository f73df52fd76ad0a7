#pragma once
// The trail and stop-detection options, stored under "TraceOpt" and "Settings". The trail and the
// trace settings dialog read them; the main window loads them with its other settings and saves
// them when it unloads.
#include <cstdint>

#include "settings/TypedSettings.hpp"

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

// The "TraceOpt" keys, and separately the stop detection's keys of "Settings", which the store
// holds further down among the main window's own.
void LoadTraceOpt(const settings::TypedSettings& settings, TraceOptions& options);
void LoadStopDetection(const settings::TypedSettings& settings, TraceOptions& options);
void SaveTraceOpt(settings::TypedSettings& settings, const TraceOptions& options);
void SaveStopDetection(settings::TypedSettings& settings, const TraceOptions& options);

}  // namespace orvo::tracking
