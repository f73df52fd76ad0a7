#pragma once
// ORVO's main window: the receiver's controls, the readings and satellites, the options, and the
// refresh tick that drives everything from the latest fix.
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"
#include "host/platform/Locale.hpp"
#include "host/serial/SerialPort.hpp"
#include "host/ui/ControlArray.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/Window.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::addin {

class frmShortKeyFlash;
class frmVerbose;

// The trail and stop-detection options kept by the main window and stored under "TraceOpt" and
// "Settings".
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

// Magnetic declination in degrees (east positive) at a place and local date-time; nothing when
// the model has no value there.
using DeclinationLookup = std::function<std::optional<double>(double latitude, double longitude,
                                                              host::platform::DateValue when)>;

struct MainWindowServices {
  host::ui::Desktop& desktop;
  settings::SettingsStore& settings;
  frmVerbose& verbose;
  host::platform::SystemClock& clock;
  host::platform::TimeZoneSource& timeZone;
  host::serial::SerialPort& serialPort;
  DeclinationLookup declination;
  // The user's number notation, taken when the window loads.
  host::platform::NumberLocale (*numberLocale)() = host::platform::UserNumberLocale;
};

class frmAddIn : public host::ui::Window, private gps::IntakeListener {
 public:
  static constexpr int kTabTracking = 0;
  static constexpr int kTabSatellite = 1;
  static constexpr int kTabOptions = 2;
  static constexpr int kTabSettings = 3;
  // The receiver button's caption is also its state: Stopped or Running.
  static constexpr const char* kStartGpsCaption = "Start &GPS";
  static constexpr const char* kStopGpsCaption = "Stop &GPS";

  explicit frmAddIn(MainWindowServices services);
  ~frmAddIn() override;

  // --- Receiver and data dispatch ---
  // The one entry for received NMEA text: the serial port and playback feed it.
  bool ProcessData(std::string_view text);
  const gps::GpsFix& Fix() const { return parser_.Fix(); }
  gps::NmeaParser& Parser() { return parser_; }
  gps::NmeaIntake& Intake() { return intake_; }
  void ResetGpsFix() { parser_.ResetGpsFix(); }
  // What the user's press of cmdGPSAction does: start or stop the receiver.
  void cmdGPSAction_Click();
  // Playback stands in for a live receiver, whose start runs the refresh timer: while a file
  // plays the timer runs at the chosen rate, and stops with it unless the receiver runs.
  void PlaybackPlaying(bool playing);
  void comNMEA_OnComm(int eventCode);

  // --- Readings (units and formats) ---
  double DisplayHeading() const { return displayHeading_; }
  void ComputeDisplayHeading();
  struct TextWithSuffix {
    std::string text;
    std::string suffix;
  };
  TextWithSuffix FormatLatLng(bool isLatitude) const;
  std::string FormatSpeed() const;
  std::string FormatHeading() const;
  TextWithSuffix FormatElevation() const;
  void ShowSpeed();
  void ShowHeading();
  void ShowElevation();

  // --- Status panel ---
  void UpdateTrackTab();
  void UpdateSatTab();
  void DrawSkyPlot();
  void UpdateSaInfo();
  void ShowGpsTime(int index);
  void SyncSystemTime();
  // Fix-state tables, by FixMode 0..3.
  static const char* StateText(int fixMode);
  static std::string StateColor(int fixMode);
  static int GpsStateSymbolOffset(int fixMode);

  // The refresh tick (`Timer1` Timer).
  void RefreshTick();
  void RefreshVisibleTab();
  void LoadSettings();
  void SaveSettings();
  void HandleShortKey(int keyCode, int shift);
  // The main window's own diagnostics, with the procedure's name in front.
  void LogDiagnostic(std::string_view procedure, std::string_view text);

  settings::SettingsStore& Settings() const { return services_.settings; }
  bool TextEntryActive() const { return textEntryActive_; }
  bool GpsRunning() const { return gpsRunning_; }
  int BaudRate() const { return baudRate_; }
  const TraceOptions& Trace() const { return trace_; }
  bool OffTrackRecalc() const { return offTrackRecalc_; }
  std::int16_t PosPPStyle() const { return posPPStyle_; }

  // Units of the readings.
  std::int16_t UnitElv() const { return unitElv_; }
  std::int16_t UnitSpeed() const { return unitSpeed_; }
  std::int16_t UnitLatLng() const { return unitLatLng_; }
  std::int16_t UnitHeading() const { return unitHeading_; }
  void SetUnitElv(std::int16_t value);
  void SetUnitSpeed(std::int16_t value);
  void SetUnitLatLng(std::int16_t value);
  void SetUnitHeading(std::int16_t value);
  void SetPosPPStyle(std::int16_t style);

  // Actions of later parts of the program reached from keys and menus. Until the map tracking and
  // guidance land they have nothing to act on.
  std::function<void()> locateCurrentPosition;
  std::function<void()> pushPinHere;
  std::function<void()> calcRouteFromHere;
  std::function<void(int step)> guidanceStep;  // -1 back, +1 forward
  std::function<void(int direction)> zoomMap;  // +1 in, -1 out
  std::function<void()> updateAutoRecalc;      // the go-to window's check box follows the switch
  std::function<void()> updatePositionOnMap;   // map tracking and trail, each tick
  std::function<void()> guidanceTick;          // guidance, each tick while switched on
  std::function<void(bool hide)> gmStop;       // ends go-to waypoint mode
  std::function<void()> openPlayback;          // cmdOpenNMEA
  std::function<void(std::string_view)> onSentence;  // every sentence cut from the buffer
  std::function<void()> clearTrailOnUnload;          // asks whether to clear the trail
  std::function<void()> unloadOtherWindows;          // playback, guidance, go-to and option windows
  std::function<void()> beforeCompassMenu;           // the compass menu's enabling rules
  std::function<void()> onAlwaysTopChanged;          // the playback window copies the state
  // The guidance settings are loaded and saved with the main window's.
  std::function<void()> loadGuidanceSettings;
  std::function<void()> saveGuidanceSettings;

  // --- Controls ---
  host::ui::TabControl SSTab;
  // Below the tabs, on every tab.
  host::ui::Button cmdGPSAction;
  host::ui::Button cmdOpenNMEA;
  host::ui::Button cmdAbout;

  // Tracking tab.
  host::ui::ControlArray<host::ui::Shape> dwGPSState;
  host::ui::ControlArray<host::ui::Label> lblGPSState;
  host::ui::ControlArray<host::ui::Label> lblGPSTime;
  host::ui::Label lblLatCaption;
  host::ui::Label lblLngCaption;
  host::ui::Label lblElvCaption;
  host::ui::Label lblSpeedCaption;
  host::ui::ControlArray<host::ui::Label> lblLat;
  host::ui::ControlArray<host::ui::Label> lblLng;
  host::ui::ControlArray<host::ui::Label> lbElv;
  host::ui::ControlArray<host::ui::Label> lblSpeed;
  host::ui::ControlArray<host::ui::Label> lblCourse;
  host::ui::Shape shpD;
  host::ui::Label lblNorth;
  host::ui::Line lnDir;
  host::ui::Label lblCompass;
  host::ui::Button cmdUnitSel;

  // Satellite tab.
  host::ui::Label lblSaCaption;
  host::ui::Label lblSaNumber;
  host::ui::Shape shpSkyHorizon;
  host::ui::Shape shpSkyMiddle;
  host::ui::Line lnSkyNorthSouth;
  host::ui::Line lnSkyEastWest;
  host::ui::ControlArray<host::ui::Label> lblSP;
  host::ui::ControlArray<host::ui::Label> lblSaID;
  host::ui::Line lnSaDir;
  host::ui::TextBox txtSaInfo;

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

  // Settings tab.
  host::ui::Label lblPortCaption;
  host::ui::ComboBox cboPort;
  host::ui::Label lblBaudCaption;
  host::ui::TextBox txtBaud;
  host::ui::CheckBox chkDTR;
  host::ui::CheckBox chkRecord;
  host::ui::TextBox txtRecOutFileName;
  host::ui::Button cmdBrowseNmea;
  host::ui::Label lblVersionNo;

  host::ui::Timer Timer1;
  host::ui::Timer tmrDoubleClick;

  // Pop-up menus.
  host::ui::MenuItem mnuUnit;
  host::ui::MenuItem mnuUnitElv;
  host::ui::MenuItem mnuUnitElvFoot;
  host::ui::MenuItem mnuUnitElvMeter;
  host::ui::MenuItem mnuUnitSpeed;
  host::ui::MenuItem mnuUnitSpeedMph;
  host::ui::MenuItem mnuUnitSpeedKmh;
  host::ui::MenuItem mnuUnitSpeedKnot;
  host::ui::MenuItem mnuUnitLatLng;
  host::ui::MenuItem mnuUnitLatLngPTS;
  host::ui::MenuItem mnuUnitLatLngT;
  host::ui::MenuItem mnuUnitHeading;
  host::ui::MenuItem mnuUnitHeadingTrue;
  host::ui::MenuItem mnuUnitHeadingMag;
  host::ui::MenuItem mnuPosPPStyle;
  host::ui::MenuItem mnuPosPPStyleHeading;
  host::ui::MenuItem mnuPosPPStyleGPS;
  host::ui::MenuItem mnuCompass;
  host::ui::MenuItem mnuCompassLocate;
  host::ui::MenuItem mnuCompassCalcRouteFromHere;
  host::ui::MenuItem mnuCompassPushAPin;
  host::ui::MenuItem mnuCompassSyncTime;

 protected:
  void OnLoad() override;
  void OnUnload() override;
  void OnKeyUp(int keyCode, int shift) override;

  MainWindowServices services_;

 private:
  void LayOut();
  void WireHandlers();
  void FlashKey(std::string featureName, std::string stateText);
  void FlashOnOff(std::string featureName, const host::ui::CheckBox& box);
  void ShowAbout();

  // Readings of the settings store with the old conversions: a value that cannot be read is
  // reported and its default is used.
  template <class Value, class Convert>
  Value ReadSetting(const char* section, const char* key, const char* defaultText, Convert convert);
  std::int16_t ReadInt16(const char* section, const char* key, const char* defaultText);
  std::int32_t ReadInt32(const char* section, const char* key, const char* defaultText);
  bool ReadBoolean(const char* section, const char* key, const char* defaultText);
  double ReadDouble(const char* section, const char* key, const char* defaultText);

  // Doubles as the store keeps them: "ThreasholdKnot" always with ".", the others in the user's
  // own notation.
  std::string StoredDecimal(double value) const;
  std::string PlainDecimal(double value) const;

  // What the intake tells its window.
  void OnChunkReceived(std::string_view chunk) override;
  void OnSentence(std::string_view sentence) override {
    if (onSentence) onSentence(sentence);
  }
  bool IsRefreshAutomatic() const override { return sclRefreshRate.Value() == 0; }
  void OnRefreshTick() override { RefreshTick(); }

  void EnableReceiverSettings(bool enabled);
  void StartReceiver();
  void StopReceiver();
  void chkRecord_Click();
  void cmdBrowseNmea_Click();

  host::platform::NumberLocale numberLocale_;
  gps::NmeaParser parser_;
  gps::NmeaIntake intake_;
  double displayHeading_ = 0;
  bool magneticUnavailable_ = false;
  // The guidance engine's instruction list for the current route is built.
  bool guideListBuilt = false;
  std::unique_ptr<frmShortKeyFlash> flash_;
  bool textEntryActive_ = false;
  bool gpsRunning_ = false;
  bool offTrackRecalc_ = false;
  int baudRate_ = 4800;
  std::int32_t lenDetectRepeat_ = 1000;
  std::int16_t unitElv_ = 0;
  std::int16_t unitSpeed_ = 0;
  std::int16_t unitLatLng_ = 0;
  std::int16_t unitHeading_ = 0;
  std::int16_t posPPStyle_ = 1;
  int trackCounter_ = 0;
  TraceOptions trace_;
};

}  // namespace orvo::addin
