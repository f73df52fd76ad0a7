#pragma once
// The trail and stop-detection options, stored under "TraceOpt" and "Settings". The trail and the
// trace settings dialog read them; the main window loads them with its other settings and saves
// them when it unloads.
#include <cstdint>

#include "settings/TypedSettings.hpp"

namespace orvo::tracking {

struct TraceOptions {
  bool byMoving = true;
  double threasholdKnot = 0.00216;
  std::int16_t ppName = 0;
  bool note = false;
  std::int16_t noteOpt = 31;
  std::int16_t noteFormat = 0;
  std::int32_t ppCacheLimit = 0;
  std::int16_t symbolBase = 24;
  bool stopDetection = false;
  std::int32_t stopDetectSeconds = 10;
  double stopDetectKnots = 4;
};

// The "TraceOpt" keys, and separately the stop detection's keys of "Settings", which the store
// holds further down among the main window's own.
void LoadTraceOpt(const settings::TypedSettings& settings, TraceOptions& options);
void LoadStopDetection(const settings::TypedSettings& settings, TraceOptions& options);
void SaveTraceOpt(settings::TypedSettings& settings, const TraceOptions& options);
void SaveStopDetection(settings::TypedSettings& settings, const TraceOptions& options);

}  // namespace orvo::tracking
