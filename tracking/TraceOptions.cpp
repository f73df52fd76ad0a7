#include "tracking/TraceOptions.hpp"

namespace orvo::tracking {
namespace {

constexpr const char* kSettings = "Settings";
constexpr const char* kTraceOpt = "TraceOpt";

}  // namespace

void LoadTraceOpt(const settings::TypedSettings& settings, TraceOptions& options) {
  options.byMoving = settings.ReadBoolean(kTraceOpt, "ByMoving", "true");
  options.threasholdKnot = settings.ReadDouble(kTraceOpt, "ThreasholdKnot", "0.00216");
  options.ppName = settings.ReadInt16(kTraceOpt, "PPName", "0");
  options.note = settings.ReadBoolean(kTraceOpt, "Note", "false");
  options.noteOpt = settings.ReadInt16(kTraceOpt, "NoteOpt", "31");
  options.noteFormat = settings.ReadInt16(kTraceOpt, "NoteFormat", "0");
  options.ppCacheLimit = settings.ReadInt32(kTraceOpt, "lPPCacheLimit", "0");
  options.symbolBase = settings.ReadInt16(kTraceOpt, "mippSymBase", "24");
}

void LoadStopDetection(const settings::TypedSettings& settings, TraceOptions& options) {
  options.stopDetection = settings.ReadBoolean(kSettings, "bStopDetection", "false");
  options.stopDetectSeconds = settings.ReadInt32(kSettings, "lStopDetTSecond", "10");
  options.stopDetectKnots = settings.ReadDouble(kSettings, "dStopDetTKt", "4");
}

void SaveTraceOpt(settings::TypedSettings& settings, const TraceOptions& options) {
  settings.SaveBoolean(kTraceOpt, "ByMoving", options.byMoving);
  settings.SaveDecimalWithPoint(kTraceOpt, "ThreasholdKnot", options.threasholdKnot);
  settings.SaveInteger(kTraceOpt, "PPName", options.ppName);
  settings.SaveBoolean(kTraceOpt, "Note", options.note);
  settings.SaveInteger(kTraceOpt, "NoteOpt", options.noteOpt);
  settings.SaveInteger(kTraceOpt, "NoteFormat", options.noteFormat);
  settings.SaveInteger(kTraceOpt, "lPPCacheLimit", options.ppCacheLimit);
  settings.SaveInteger(kTraceOpt, "mippSymBase", options.symbolBase);
}

void SaveStopDetection(settings::TypedSettings& settings, const TraceOptions& options) {
  settings.SaveBoolean(kSettings, "bStopDetection", options.stopDetection);
  settings.SaveInteger(kSettings, "lStopDetTSecond", options.stopDetectSeconds);
  settings.SaveDecimal(kSettings, "dStopDetTKt", options.stopDetectKnots);
}

}  // namespace orvo::tracking
