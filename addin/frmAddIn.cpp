#include "addin/frmAddIn.hpp"

#include "addin/frmShortKeyFlash.hpp"
#include "addin/frmVerbose.hpp"
#include "host/map/MapGeometry.hpp"
#include "host/platform/AppFolder.hpp"

namespace orvo::addin {

using host::ui::ScrollBar;

frmAddIn::frmAddIn(MainWindowServices services)
    : Window(services.desktop, "frmAddIn", "ORVO", 336, 430),
      SSTab(*this, "SSTab", {"&Tracking", "S&atellite", "&Options", "&Settings"}),
      Timer1(*this, "Timer1", services.desktop.GetScheduler()),
      tmrDoubleClick(*this, "tmrDoubleClick", services.desktop.GetScheduler()),
      cmdAbout(*this, "cmdAbout"),
      lblVersionNo(*this, "lblVersionNo"),
      session_(services.serialPort, services.timeZone, services.clock, this,
               [this](std::string_view text) { services_.verbose.Log(text, true); }),
      readings(*this, session_.Fix(), services.declination,
               [this](std::string_view procedure, std::string_view text) {
                 LogDiagnostic(procedure, text);
               }),
      mnuCompass(*this, "mnuCompass", "Compass"),
      mnuCompassLocate(*this, "mnuCompassLocate", "&Current Position...(C)", &mnuCompass),
      mnuCompassCalcRouteFromHere(*this, "mnuCompassCalcRouteFromHere",
                                  "Calc &Route from here...(R)", &mnuCompass),
      mnuCompassPushAPin(*this, "mnuCompassPushAPin", "&Push a pin here...(P)", &mnuCompass),
      mnuCompassSyncTime(*this, "mnuCompassSyncTime", "&Sync System Time", &mnuCompass),
      status(*this, session_.Fix(), readings, SSTab, mnuCompassSyncTime, services.clock),
      receiver(*this, session_, Timer1, SSTab, *this),
      shpD(*this, "shpD"),
      lblNorth(*this, "lblNorth"),
      lblCompass(*this, "lblCompass"),
      chkTrkOnMap(*this, "chkTrkOnMap"),
      sclTrackFactor(*this, "sclTrackFactor", ScrollBar::Orientation::Horizontal),
      lblTrackFactor(*this, "lblTrackFactor"),
      sclRefreshRate(*this, "sclRefreshRate", ScrollBar::Orientation::Horizontal),
      lblRefreshRate(*this, "lblRefreshRate"),
      lblRefreshCaption(*this, "lblRefreshCaption"),
      lblTrackCaption(*this, "lblTrackCaption"),
      chkTrail(*this, "chkTrail"),
      cmdTraceOption(*this, "cmdTraceOption"),
      cmdClearTrail(*this, "cmdClearTrail"),
      cmdCurPPSel(*this, "cmdCurPPSel"),
      chkGuidance(*this, "chkGuidance"),
      cmdGuideOpt(*this, "cmdGuideOpt"),
      chkAlwaysTop(*this, "chkAlwaysTop"),
      mnuPosPPStyle(*this, "mnuPosPPStyle", "Cursor"),
      mnuPosPPStyleHeading(*this, "mnuPosPPStyleHeading", "Heading", &mnuPosPPStyle),
      mnuPosPPStyleGPS(*this, "mnuPosPPStyleGPS", "GPS State", &mnuPosPPStyle),
      services_(services),
      // Where a first start puts the window: beside the map at the page's right edge.
      placement_(*this, services.settings,
                 [this](host::ui::ViewportPixels viewport) {
                   return settings::FormPlacement::Point(std::max(0, viewport.width - Width() - 12),
                                                         44);
                 }),
      mapFeatures_(
          services.desktop,
          tracking::MapFeatureControls{
              .trail = {*this, chkAlwaysTop, cmdClearTrail, cmdTraceOption, sclRefreshRate},
              .tracker = {*this, chkTrkOnMap, sclTrackFactor, lblTrackFactor, sclRefreshRate,
                          lblRefreshRate, Timer1, chkTrail, cmdCurPPSel, mnuPosPPStyle,
                          mnuPosPPStyleHeading, mnuPosPPStyleGPS, mnuCompassCalcRouteFromHere},
              .compass = {*this, lblCompass, shpD, mnuCompass, mnuCompassLocate,
                          mnuCompassCalcRouteFromHere, mnuCompassPushAPin, mnuCompassSyncTime}},
          session_.Fix(), trace_, services.map != nullptr ? *services.map : noMap_, readings,
          services.mapView, [this](std::string_view text) { services_.verbose.Log(text, true); }),
      mapActions_(&mapFeatures_),
      mapTracking_(&mapFeatures_),
      playback_(std::make_unique<gps::frmPlayback>(services.desktop, services.settings,
                                                   static_cast<gps::PlaybackOwner&>(*this))) {
  LayOut();
  WireHandlers();
  MakeGuidanceEngine();
}

void frmAddIn::MakeGuidanceEngine() {
  if (services_.route == nullptr || services_.mapHost == nullptr) return;
  assistant_ = std::make_unique<guidance::DrivingAssistant>(guidance::DrivingAssistantParts{
      .desktop = services_.desktop,
      .store = services_.settings,
      .route = *services_.route,
      .mapHost = *services_.mapHost,
      .map = services_.map,
      .view = services_.mapView,
      .speech = services_.speech,
      .fix = session_.Fix(),
      .numberLocale = services_.numberLocale(),
      .alwaysOnTop = [this] { return AlwaysOnTop(); },
      .keyUp = [this](int key, int shift) { HandleShortKey(key, shift); },
      .diagnostics = [this](std::string_view text) { services_.verbose.Log(text, true); }});
  UseGuidance(assistant_->Engine());
  cmdGuideOpt.onClick = [this] { assistant_->Options().Start(); };
}

frmAddIn::~frmAddIn() = default;

void frmAddIn::WireHandlers() {
  SSTab.onClick = [this] { RefreshVisibleTab(); };
  Timer1.onTimer = [this] { RefreshTick(); };

  chkAlwaysTop.onClick = [this] {
    settings::ApplyAlwaysOnTop(*this, chkAlwaysTop.Value());
    if (playback_->IsLoaded()) playback_->UpdateShowTopFromParent();
    if (assistant_ && assistant_->GoToWindow().IsLoaded())
      assistant_->GoToWindow().UpdateShowTopFromParent();
  };
  for (auto* box : {&receiver.txtBaud, &receiver.txtRecOutFileName}) {
    box->onGotFocus = [this] { textEntryActive_ = true; };
    box->onLostFocus = [this] { textEntryActive_ = false; };
  }

  tmrDoubleClick.onTimer = [this] {
    tmrDoubleClick.SetTimerEnabled(false);
    mapActions_->CalcRouteFromHere();
  };

  mnuCompassSyncTime.onClick = [this] { status.SyncSystemTimeForUser(); };
  mapFeatures_.Compass().calcRouteFromHere = [this] { guidance_->CalcRouteFromHere(true); };
  chkGuidance.onClick = [this] { guidance_->GuidanceSwitchChanged(chkGuidance.Value() == 1); };

  cmdAbout.onClick = [this] { ShowAbout(); };
  receiver.cmdOpenNMEA.onClick = [this] { playback_->Start(); };
}

void frmAddIn::LogDiagnostic(std::string_view procedure, std::string_view text) {
  services_.verbose.Log(std::string(procedure) + ": " + std::string(text), true);
}

void frmAddIn::ResetGpsFix() {
  session_.ResetGpsFix();
  UpdateTrackTab();
}

// A refresh that fails (a fix state outside 0..3) leaves the rest of the tab as it was; the
// next one tries again.
void frmAddIn::UpdateTrackTab() {
  try {
    status.UpdateTrackTab();
  } catch (const std::exception& error) {
    LogDiagnostic("UpdateTrackTab", error.what());
  }
}

void frmAddIn::RefreshVisibleTab() {
  try {
    status.RefreshVisibleTab();
  } catch (const std::exception& error) {
    LogDiagnostic("RefreshVisibleTab", error.what());
  }
}

// Playback stands in for a live receiver, whose start runs the refresh timer: while a file plays
// the timer runs at the chosen rate, and stops with it unless the receiver runs.
void frmAddIn::PlaybackPlaying(bool playing) {
  if (playing)
    Timer1.SetTimerEnabled(sclRefreshRate.Value() >= 1);
  else if (!receiver.GpsRunning())
    Timer1.SetTimerEnabled(false);
}

void frmAddIn::ReceiverStopped() {
  guidance_->GMStop(!guidance_->State().guideListBuilt);
}

}  // namespace orvo::addin
