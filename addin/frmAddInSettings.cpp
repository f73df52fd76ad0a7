// The main window's settings: everything is loaded when the window loads and saved when it
// unloads, under the application name "ORVO".
#include <cmath>
#include <limits>

#include "addin/frmAddIn.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::addin {
namespace {

constexpr const char* kSettings = "Settings";
constexpr const char* kTraceOpt = "TraceOpt";

// The old conversions: a number rounded half to even into the type's range.
template <class Whole>
std::optional<Whole> WholeFromText(const std::string& text) {
  try {
    std::size_t used = 0;
    const double value = std::stod(text, &used);
    if (text.find_first_not_of(" \t", used) != std::string::npos) return std::nullopt;
    const double rounded = std::nearbyint(value);  // default rounding: half to even
    if (rounded < std::numeric_limits<Whole>::min() || rounded > std::numeric_limits<Whole>::max())
      return std::nullopt;
    return static_cast<Whole>(rounded);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace

std::int16_t frmAddIn::ReadInt16(const char* section, const char* key, const char* defaultText) {
  const std::string text = services_.settings.GetSetting(section, key, defaultText);
  if (auto value = WholeFromText<std::int16_t>(text)) return *value;
  LogDiagnostic("LoadSettings", std::string(key) + " holds \"" + text + "\"; using " + defaultText);
  return *WholeFromText<std::int16_t>(defaultText);
}

std::int32_t frmAddIn::ReadInt32(const char* section, const char* key, const char* defaultText) {
  const std::string text = services_.settings.GetSetting(section, key, defaultText);
  if (auto value = WholeFromText<std::int32_t>(text)) return *value;
  LogDiagnostic("LoadSettings", std::string(key) + " holds \"" + text + "\"; using " + defaultText);
  return *WholeFromText<std::int32_t>(defaultText);
}

bool frmAddIn::ReadBoolean(const char* section, const char* key, const char* defaultText) {
  const std::string text = services_.settings.GetSetting(section, key, defaultText);
  if (auto value = settings::ParseBoolean(text)) return *value;
  LogDiagnostic("LoadSettings", std::string(key) + " holds \"" + text + "\"; using " + defaultText);
  return *settings::ParseBoolean(defaultText);
}

double frmAddIn::ReadDouble(const char* section, const char* key, const char* defaultText) {
  const std::string text = services_.settings.GetSetting(section, key, defaultText);
  try {
    std::size_t used = 0;
    const double value = std::stod(text, &used);
    if (used == text.size()) return value;
  } catch (const std::exception&) {
  }
  LogDiagnostic("LoadSettings", std::string(key) + " holds \"" + text + "\"; using " + defaultText);
  return std::stod(defaultText);
}

void frmAddIn::LoadSettings() {
  settings::ApplyCommaReset(services_.settings);
  lenDetectRepeat_ = ReadInt32(kSettings, "LenDetectRepeat", "1000");
  cboPort.SetText(services_.settings.GetSetting(kSettings, "Port", "1"));
  txtBaud.SetText(services_.settings.GetSetting(kSettings, "Baud", "4800,n,8,1"));
  chkDTR.SetValue(ReadInt16(kSettings, "DTR", "1"));
  sclRefreshRate.SetValue(ReadInt16(kSettings, "Refresh", "2"));
  sclTrackFactor.SetValue(ReadInt16(kSettings, "TrackFactor", "0"));
  SetUnitElv(ReadInt16(kSettings, "UnitElv", "0"));
  SetUnitSpeed(ReadInt16(kSettings, "UnitSpeed", "0"));
  SetUnitLatLng(ReadInt16(kSettings, "UnitLatLng", "0"));
  SetUnitHeading(ReadInt16(kSettings, "UnitHeading", "0"));
  chkTrkOnMap.SetValue(ReadInt16(kSettings, "TrkOnMap", "1"));
  if (chkTrkOnMap.Value() != 1) {
    sclTrackFactor.SetEnabled(false);
    lblTrackFactor.SetEnabled(false);
  }
  chkTrail.SetValue(ReadInt16(kSettings, "Trail", "1"));
  chkAlwaysTop.SetValue(ReadInt16(kSettings, "AlwaysTop", "1"));
  if (chkAlwaysTop.Value() == 1)
    settings::SetTopMost(*this);
  else
    settings::ClearTopMost(*this);
  SetPosPPStyle(ReadInt16(kSettings, "PosPPStyle", "1"));
  chkGuidance.SetValue(ReadInt16(kSettings, "chkGuidance", "0"));
  if (loadGuidanceSettings) loadGuidanceSettings();

  trace_.byMoving = ReadBoolean(kTraceOpt, "ByMoving", "true");
  trace_.threasholdKnot = ReadDouble(kTraceOpt, "ThreasholdKnot", "0.00216");
  trace_.ppName = ReadInt16(kTraceOpt, "PPName", "0");
  trace_.note = ReadBoolean(kTraceOpt, "Note", "false");
  trace_.noteOpt = ReadInt16(kTraceOpt, "NoteOpt", "31");
  trace_.noteFormat = ReadInt16(kTraceOpt, "NoteFormat", "0");
  trace_.ppCacheLimit = ReadInt32(kTraceOpt, "lPPCacheLimit", "0");
  trace_.symbolBase = ReadInt16(kTraceOpt, "mippSymBase", "24");

  txtRecOutFileName.SetText(services_.settings.GetSetting(kSettings, "txtRecOutFileName", ""));
  chkRecord.SetValue(ReadInt16(kSettings, "chkRecord", "0"));
  // The part of the settings string before its first comma is the baud rate.
  const std::string baud = txtBaud.Text().substr(0, txtBaud.Text().find(','));
  baudRate_ = WholeFromText<std::int32_t>(baud).value_or(0);

  gpsRunning_ = ReadBoolean(kSettings, "GPSStart", "false");
  trace_.stopDetection = ReadBoolean(kSettings, "bStopDetection", "false");
  trace_.stopDetectSeconds = ReadInt32(kSettings, "lStopDetTSecond", "10");
  trace_.stopDetectKnots = ReadDouble(kSettings, "dStopDetTKt", "4");
}

void frmAddIn::SaveSettings() {
  auto& store = services_.settings;
  try {
    settings::SettingsStore::Batch batch(store);
    const auto saveInt = [&](const char* section, const char* key, long value) {
      store.SaveSetting(section, key, std::to_string(value));
    };
    const auto saveBool = [&](const char* section, const char* key, bool value) {
      store.SaveSetting(section, key, settings::BooleanText(value));
    };
    store.SaveSetting(kSettings, "Port", cboPort.Text());
    store.SaveSetting(kSettings, "Baud", txtBaud.Text());
    saveInt(kSettings, "DTR", chkDTR.Value());
    saveInt(kSettings, "Refresh", sclRefreshRate.Value());
    saveInt(kSettings, "TrackFactor", sclTrackFactor.Value());
    saveInt(kSettings, "UnitElv", unitElv_);
    saveInt(kSettings, "UnitSpeed", unitSpeed_);
    saveInt(kSettings, "UnitLatLng", unitLatLng_);
    saveInt(kSettings, "UnitHeading", unitHeading_);
    saveInt(kSettings, "TrkOnMap", chkTrkOnMap.Value());
    saveInt(kSettings, "Trail", chkTrail.Value());
    saveInt(kSettings, "AlwaysTop", chkAlwaysTop.Value());
    saveInt(kSettings, "PosPPStyle", posPPStyle_);
    saveInt(kSettings, "chkGuidance", chkGuidance.Value());
    if (saveGuidanceSettings) saveGuidanceSettings();
    saveBool(kTraceOpt, "ByMoving", trace_.byMoving);
    store.SaveSetting(kTraceOpt, "ThreasholdKnot", StoredDecimal(trace_.threasholdKnot));
    saveInt(kTraceOpt, "PPName", trace_.ppName);
    saveBool(kTraceOpt, "Note", trace_.note);
    saveInt(kTraceOpt, "NoteOpt", trace_.noteOpt);
    saveInt(kTraceOpt, "NoteFormat", trace_.noteFormat);
    saveInt(kTraceOpt, "lPPCacheLimit", trace_.ppCacheLimit);
    saveInt(kTraceOpt, "mippSymBase", trace_.symbolBase);
    store.SaveSetting(kSettings, "txtRecOutFileName", txtRecOutFileName.Text());
    saveInt(kSettings, "chkRecord", chkRecord.Value());
    saveBool(kSettings, "GPSStart", gpsRunning_);
    saveBool(kSettings, "bStopDetection", trace_.stopDetection);
    saveInt(kSettings, "lStopDetTSecond", trace_.stopDetectSeconds);
    store.SaveSetting(kSettings, "dStopDetTKt", PlainDecimal(trace_.stopDetectKnots));
  } catch (const std::exception& error) {
    LogDiagnostic("SaveSettings", error.what());
    services_.desktop.MsgBox(std::string("SaveSettings: ") + error.what());
  }
}

}  // namespace orvo::addin
