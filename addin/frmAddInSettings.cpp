// The main window's settings: everything is loaded when the window loads and saved when it
// unloads, under the application name "ORVO".
#include "addin/frmAddIn.hpp"
#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::addin {
namespace {

constexpr const char* kSettings = "Settings";
constexpr const char* kTraceOpt = "TraceOpt";

}  // namespace

// A stored value that cannot be read is reported and its default used: a damaged store must not
// keep the window from loading.
template <class Value, class Convert>
Value frmAddIn::ReadSetting(const char* section, const char* key, const char* defaultText,
                            Convert convert) {
  const std::string text = services_.settings.GetSetting(section, key, defaultText);
  try {
    return convert(text);
  } catch (const std::exception&) {
    LogDiagnostic("LoadSettings",
                  std::string(key) + " holds \"" + text + "\"; using " + defaultText);
    return convert(defaultText);
  }
}

std::int16_t frmAddIn::ReadInt16(const char* section, const char* key, const char* defaultText) {
  return ReadSetting<std::int16_t>(section, key, defaultText, [this](const std::string& text) {
    return host::platform::ToInt16(text, numberLocale_);
  });
}

std::int32_t frmAddIn::ReadInt32(const char* section, const char* key, const char* defaultText) {
  return ReadSetting<std::int32_t>(section, key, defaultText, [this](const std::string& text) {
    return host::platform::ToInt32(text, numberLocale_);
  });
}

bool frmAddIn::ReadBoolean(const char* section, const char* key, const char* defaultText) {
  return ReadSetting<bool>(section, key, defaultText, [](const std::string& text) {
    if (auto value = settings::ParseBoolean(text)) return *value;
    throw host::platform::ConversionError("not a Boolean");
  });
}

// Numbers are read in the user's notation and, as they are also stored with ".", in that one too.
double frmAddIn::ReadDouble(const char* section, const char* key, const char* defaultText) {
  return ReadSetting<double>(section, key, defaultText, [this](const std::string& text) {
    if (host::platform::IsNumeric(text, numberLocale_))
      return host::platform::ToDouble(text, numberLocale_);
    return host::platform::ToDouble(text);
  });
}

std::string frmAddIn::StoredDecimal(double value) const {
  return host::platform::FormatGeneralNumber(value);
}

std::string frmAddIn::PlainDecimal(double value) const {
  return host::platform::FormatGeneralNumber(value, numberLocale_);
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
  try {
    baudRate_ = host::platform::ToInt32(baud);
  } catch (const std::exception&) {
    baudRate_ = 0;
  }

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
