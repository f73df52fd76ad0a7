#pragma once
// ORVO's main window: a thin owner of the receiver session, the readings and status panels, the
// map features (trail, position pin, compass menu), the options, and the refresh tick that drives
// everything from the latest fix. Guidance is reached through its interface.
#include <cstdint>
#include <memory>
#include <string_view>

#include "gps/ReceiverPanel.hpp"
#include "gps/ReceiverSession.hpp"
#include "gps/frmPlayback.hpp"
#include "guidance/DrivingAssistant.hpp"
#include "guidance/Guidance.hpp"
#include "host/map/ActiveMap.hpp"
#include "host/map/MapView.hpp"
#include "host/platform/Clock.hpp"
#include "host/platform/Locale.hpp"
#include "host/serial/SerialPort.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/Window.hpp"
#include "settings/SettingsStore.hpp"
#include "settings/WindowPlacement.hpp"
#include "tracking/MagneticDeclination.hpp"
#include "tracking/MapActions.hpp"
#include "tracking/MapFeatures.hpp"
#include "tracking/MapTracking.hpp"
#include "tracking/ReadingsPanel.hpp"
#include "tracking/StatusPanel.hpp"
#include "tracking/TraceOptions.hpp"

namespace orvo::addin {

class frmShortKeyFlash;
class frmVerbose;

struct MainWindowServices {
  host::ui::Desktop& desktop;
  settings::SettingsStore& settings;
  frmVerbose& verbose;
  host::platform::SystemClock& clock;
  host::platform::TimeZoneSource& timeZone;
  host::serial::SerialPort& serialPort;
  tracking::DeclinationLookup& declination;
  // The user's number notation, taken when the window loads.
  host::platform::NumberLocale (*numberLocale)() = host::platform::UserNumberLocale;
  // The map beside ORVO: its open document (none: no map ever) and its view (the zoom keys).
  host::map::MapApplication* map = nullptr;
  host::map::MapView* mapView = nullptr;
  // The open document's route and the host's unit: with both, the driving assistant is real.
  host::map::ActiveRoute* route = nullptr;
  const host::map::MapHost* mapHost = nullptr;
  // The guidance voice; none: silent.
  host::speech::SpeechEngine* speech = nullptr;
};

class frmAddIn : public host::ui::Window,
                 private gps::IntakeListener,
                 private gps::ReceiverPanelOwner,
                 private gps::PlaybackOwner {
 public:
  static constexpr int kTabTracking = tracking::kTabTracking;
  static constexpr int kTabSatellite = tracking::kTabSatellite;
  static constexpr int kTabOptions = 2;
  static constexpr int kTabSettings = 3;

  explicit frmAddIn(MainWindowServices services);
  ~frmAddIn() override;

  // Tests put doubles in place of the map features; guidance has a null one until it is given.
  void UseMapActions(tracking::MapActions& actions) { mapActions_ = &actions; }
  void UseMapTracking(tracking::MapTracking& tracking) { mapTracking_ = &tracking; }
  tracking::MapFeatures& Map() { return mapFeatures_; }
  void UseGuidance(guidance::Guidance& guidance) { guidance_ = &guidance; }
  // The driving assistant's engine; null when the program gave no route.
  guidance::GuidanceEngine* GuidanceEngine() {
    return assistant_ ? &assistant_->Engine() : nullptr;
  }
  guidance::frmGM* GoToWindow() { return assistant_ ? &assistant_->GoToWindow() : nullptr; }
  guidance::DrivingAssistant* Assistant() { return assistant_.get(); }

  // The one entry for received NMEA text: the serial port and playback feed it.
  bool ProcessData(std::string_view text) override { return session_.ProcessData(text); }
  const gps::GpsFix& Fix() const { return session_.Fix(); }
  gps::ReceiverSession& Session() { return session_; }
  void ResetGpsFix() override;
  void UpdateTrackTab() override;
  void PlaybackPlaying(bool playing) override;
  gps::frmPlayback& Playback() { return *playback_; }

  // The refresh tick (`Timer1` Timer): each step traps its own errors, so that one failing step
  // neither skips the others nor stops the timer.
  void RefreshTick();
  void RefreshVisibleTab();
  void LoadSettings();
  void SaveSettings();
  void HandleShortKey(int keyCode, int shift);
  // The main window's own diagnostics, with the procedure's name in front.
  void LogDiagnostic(std::string_view procedure, std::string_view text) override;

  settings::SettingsStore& Settings() const { return services_.settings; }
  bool TextEntryActive() const { return textEntryActive_; }
  bool GpsRunning() const { return receiver.GpsRunning(); }
  int BaudRate() const override { return baudRate_; }
  bool AlwaysOnTop() const override { return chkAlwaysTop.Value() == 1; }
  const tracking::TraceOptions& Trace() const { return trace_; }
  guidance::GuidanceState& GuidanceState() { return guidance_->State(); }
  std::int16_t PosPPStyle() const { return mapFeatures_.Tracker().PosPPStyle(); }

  // --- Controls ---
  host::ui::TabControl SSTab;
  host::ui::Timer Timer1;
  host::ui::Timer tmrDoubleClick;
  host::ui::Button cmdAbout;
  host::ui::Label lblVersionNo;

 private:
  gps::ReceiverSession session_;

 public:
  tracking::ReadingsPanel readings;
  // The compass menu, before the status panel that enables its "Sync System Time".
  host::ui::MenuItem mnuCompass;
  host::ui::MenuItem mnuCompassLocate;
  host::ui::MenuItem mnuCompassCalcRouteFromHere;
  host::ui::MenuItem mnuCompassPushAPin;
  host::ui::MenuItem mnuCompassSyncTime;
  tracking::StatusPanel status;
  gps::ReceiverPanel receiver;

  // The compass on the tracking tab, over the needle.
  host::ui::Shape shpD;
  host::ui::Label lblNorth;
  host::ui::Label lblCompass;

  // Options tab.
  host::ui::CheckBox chkTrkOnMap;
  host::ui::ScrollBar sclTrackFactor;
  host::ui::Label lblTrackFactor;
  host::ui::ScrollBar sclRefreshRate;
  host::ui::Label lblRefreshRate;
  host::ui::Label lblRefreshCaption;
  host::ui::Label lblTrackCaption;
  host::ui::CheckBox chkTrail;
  host::ui::Button cmdTraceOption;
  host::ui::Button cmdClearTrail;
  host::ui::Button cmdCurPPSel;
  host::ui::CheckBox chkGuidance;
  host::ui::Button cmdGuideOpt;
  host::ui::CheckBox chkAlwaysTop;

  host::ui::MenuItem mnuPosPPStyle;
  host::ui::MenuItem mnuPosPPStyleHeading;
  host::ui::MenuItem mnuPosPPStyleGPS;

 protected:
  void OnLoad() override;
  void OnUnload() override;
  void OnKeyUp(int keyCode, int shift) override;

 private:
  void LayOut();
  void WireHandlers();
  void FlashKey(std::string featureName, std::string stateText);
  void FlashOnOff(std::string featureName, const host::ui::CheckBox& box);
  void ShowAbout();
  template <class Step>
  void TickStep(const char* procedure, Step step);

  // What the receiver session tells its window.
  bool IsRefreshAutomatic() const override { return sclRefreshRate.Value() == 0; }
  void OnRefreshTick() override { RefreshTick(); }
  void ReceiverStopped() override;

  MainWindowServices services_;
  host::platform::NumberLocale numberLocale_;
  guidance::NullGuidance nullGuidance_;
  guidance::Guidance* guidance_ = &nullGuidance_;
  void MakeGuidanceEngine();
  std::unique_ptr<guidance::DrivingAssistant> assistant_;
  settings::FormPlacement placement_;
  std::unique_ptr<frmShortKeyFlash> flash_;
  bool textEntryActive_ = false;
  int baudRate_ = 4800;
  tracking::TraceOptions trace_;
  tracking::NoMapApplication noMap_;
  // After the controls and the options it wires and reads.
  tracking::MapFeatures mapFeatures_;
  tracking::MapActions* mapActions_;
  tracking::MapTracking* mapTracking_;
  // Last, so it goes first: it refers to this window as its owner.
  std::unique_ptr<gps::frmPlayback> playback_;
};

}  // namespace orvo::addin
