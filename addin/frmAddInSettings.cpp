// The main window's settings: everything is loaded when the window loads and saved when it
// unloads, under the application name "ORVO", in the order of the store's table.
#include "addin/frmAddIn.hpp"
#include "addin/frmVerbose.hpp"
#include "host/platform/Numeric.hpp"
#include "settings/TypedSettings.hpp"

namespace orvo::addin {
namespace {

constexpr const char* kSettings = "Settings";

}  // namespace

void frmAddIn::LoadSettings() {
  const auto log = [this](std::string_view text) { services_.verbose.Log(text, true); };
  settings::ApplyCommaReset(services_.settings, log);
  const settings::TypedSettings stored(services_.settings, numberLocale_, log);
  session_.Intake().SetLenDetectRepeat(stored.ReadInt32(kSettings, "LenDetectRepeat", "1000"));
  receiver.cboPort.SetText(stored.ReadText(kSettings, "Port", "1"));
  receiver.txtBaud.SetText(stored.ReadText(kSettings, "Baud", "4800,n,8,1"));
  receiver.chkDTR.SetValue(stored.ReadInt16(kSettings, "DTR", "1"));
  sclRefreshRate.SetValue(stored.ReadInt16(kSettings, "Refresh", "2"));
  sclTrackFactor.SetValue(stored.ReadInt16(kSettings, "TrackFactor", "0"));
  readings.SetUnitElv(stored.ReadInt16(kSettings, "UnitElv", "0"));
  readings.SetUnitSpeed(stored.ReadInt16(kSettings, "UnitSpeed", "0"));
  readings.SetUnitLatLng(stored.ReadInt16(kSettings, "UnitLatLng", "0"));
  readings.SetUnitHeading(stored.ReadInt16(kSettings, "UnitHeading", "0"));
  chkTrkOnMap.SetValue(stored.ReadInt16(kSettings, "TrkOnMap", "1"));
  if (chkTrkOnMap.Value() != 1) {
    sclTrackFactor.SetEnabled(false);
    lblTrackFactor.SetEnabled(false);
  }
  chkTrail.SetValue(stored.ReadInt16(kSettings, "Trail", "1"));
  chkAlwaysTop.SetValue(stored.ReadInt16(kSettings, "AlwaysTop", "1"));
  settings::ApplyAlwaysOnTop(*this, chkAlwaysTop.Value());
  mapFeatures_.Tracker().SetPosPPStyle(stored.ReadInt16(kSettings, "PosPPStyle", "1"));
  chkGuidance.SetValue(stored.ReadInt16(kSettings, "chkGuidance", "0"));
  guidance_->LoadGuidanceSettings();
  tracking::LoadTraceOpt(stored, trace_);
  receiver.txtRecOutFileName.SetText(stored.ReadText(kSettings, "txtRecOutFileName", ""));
  receiver.chkRecord.SetValue(stored.ReadInt16(kSettings, "chkRecord", "0"));
  // The part of the settings string before its first comma is the baud rate.
  const std::string& baud = receiver.txtBaud.Text();
  try {
    baudRate_ = host::platform::ToInt32(baud.substr(0, baud.find(',')));
  } catch (const std::exception&) {
    baudRate_ = 0;
  }
  receiver.SetGpsRunning(stored.ReadBoolean(kSettings, "GPSStart", "false"));
  tracking::LoadStopDetection(stored, trace_);
}

// Each value goes to the store at once, as it always did; the first that cannot be written ends
// the save with a message, since the next start would otherwise lose the user's settings unseen.
void frmAddIn::SaveSettings() {
  try {
    settings::TypedSettings stored(services_.settings, numberLocale_, {});
    stored.SaveText(kSettings, "Port", receiver.cboPort.Text());
    stored.SaveText(kSettings, "Baud", receiver.txtBaud.Text());
    stored.SaveInteger(kSettings, "DTR", receiver.chkDTR.Value());
    stored.SaveInteger(kSettings, "Refresh", sclRefreshRate.Value());
    stored.SaveInteger(kSettings, "TrackFactor", sclTrackFactor.Value());
    stored.SaveInteger(kSettings, "UnitElv", readings.UnitElv());
    stored.SaveInteger(kSettings, "UnitSpeed", readings.UnitSpeed());
    stored.SaveInteger(kSettings, "UnitLatLng", readings.UnitLatLng());
    stored.SaveInteger(kSettings, "UnitHeading", readings.UnitHeading());
    stored.SaveInteger(kSettings, "TrkOnMap", chkTrkOnMap.Value());
    stored.SaveInteger(kSettings, "Trail", chkTrail.Value());
    stored.SaveInteger(kSettings, "AlwaysTop", chkAlwaysTop.Value());
    stored.SaveInteger(kSettings, "PosPPStyle", PosPPStyle());
    stored.SaveInteger(kSettings, "chkGuidance", chkGuidance.Value());
    guidance_->SaveGuidanceSettings();
    tracking::SaveTraceOpt(stored, trace_);
    stored.SaveText(kSettings, "txtRecOutFileName", receiver.txtRecOutFileName.Text());
    stored.SaveInteger(kSettings, "chkRecord", receiver.chkRecord.Value());
    stored.SaveBoolean(kSettings, "GPSStart", receiver.GpsRunning());
    tracking::SaveStopDetection(stored, trace_);
  } catch (const std::exception& error) {
    LogDiagnostic("SaveSettings", error.what());
    services_.desktop.MsgBox(std::string("SaveSettings: ") + error.what());
  }
}

}  // namespace orvo::addin
