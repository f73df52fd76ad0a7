#include "addin/frmAddIn.hpp"

#include <cmath>

#include "addin/Version.hpp"
#include "addin/frmShortKeyFlash.hpp"
#include "addin/frmVerbose.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::addin {

using host::ui::Rgb;
using host::ui::ScrollBar;

namespace {

constexpr int kPortCount = 8;
const char* const kTrackFactorTip = "Short cuts: shift-less +/-";
const char* const kRefreshRateTip = "Short cuts: shift-less </>";

}  // namespace

frmAddIn::frmAddIn(MainWindowServices services)
    : Window(services.desktop, "frmAddIn", "ORVO", 336, 430),
      SSTab(*this, "SSTab", {"&Tracking", "S&atellite", "&Options", "&Settings"}),
      cmdGPSAction(*this, "cmdGPSAction"),
      cmdOpenNMEA(*this, "cmdOpenNMEA"),
      cmdAbout(*this, "cmdAbout"),
      dwGPSState(*this, "dwGPSState", 2),
      lblGPSState(*this, "lblGPSState", 2),
      lblGPSTime(*this, "lblGPSTime", 2),
      lblLatCaption(*this, "lblLatCaption"),
      lblLngCaption(*this, "lblLngCaption"),
      lblElvCaption(*this, "lblElvCaption"),
      lblSpeedCaption(*this, "lblSpeedCaption"),
      lblLat(*this, "lblLat", 1),
      lblLng(*this, "lblLng", 1),
      lbElv(*this, "lbElv", 1),
      lblSpeed(*this, "lblSpeed", 4),
      lblCourse(*this, "lblCourse", 4),
      shpD(*this, "shpD"),
      lblNorth(*this, "lblNorth"),
      lnDir(*this, "lnDir"),
      lblCompass(*this, "lblCompass"),
      cmdUnitSel(*this, "cmdUnitSel"),
      lblSaCaption(*this, "lblSaCaption"),
      lblSaNumber(*this, "lblSaNumber"),
      shpSkyHorizon(*this, "shpSkyHorizon"),
      shpSkyMiddle(*this, "shpSkyMiddle"),
      lnSkyNorthSouth(*this, "lnSkyNorthSouth"),
      lnSkyEastWest(*this, "lnSkyEastWest"),
      lblSP(*this, "lblSP", 12),
      lblSaID(*this, "lblSaID", 12),
      lnSaDir(*this, "lnSaDir"),
      txtSaInfo(*this, "txtSaInfo"),
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
      lblPortCaption(*this, "lblPortCaption"),
      cboPort(*this, "cboPort"),
      lblBaudCaption(*this, "lblBaudCaption"),
      txtBaud(*this, "txtBaud"),
      chkDTR(*this, "chkDTR"),
      chkRecord(*this, "chkRecord"),
      txtRecOutFileName(*this, "txtRecOutFileName"),
      cmdBrowseNmea(*this, "cmdBrowseNmea"),
      lblVersionNo(*this, "lblVersionNo"),
      Timer1(*this, "Timer1", services.desktop.GetScheduler()),
      tmrDoubleClick(*this, "tmrDoubleClick", services.desktop.GetScheduler()),
      mnuUnit(*this, "mnuUnit", "Unit"),
      mnuUnitElv(*this, "mnuUnitElv", "Elevation", &mnuUnit),
      mnuUnitElvFoot(*this, "mnuUnitElvFoot", "Foot", &mnuUnitElv),
      mnuUnitElvMeter(*this, "mnuUnitElvMeter", "Meter", &mnuUnitElv),
      mnuUnitSpeed(*this, "mnuUnitSpeed", "Speed", &mnuUnit),
      mnuUnitSpeedMph(*this, "mnuUnitSpeedMph", "Mph", &mnuUnitSpeed),
      mnuUnitSpeedKmh(*this, "mnuUnitSpeedKmh", "Kmh", &mnuUnitSpeed),
      mnuUnitSpeedKnot(*this, "mnuUnitSpeedKnot", "Knot", &mnuUnitSpeed),
      mnuUnitLatLng(*this, "mnuUnitLatLng", "Lat/Lng", &mnuUnit),
      mnuUnitLatLngPTS(*this, "mnuUnitLatLngPTS", "DSH", &mnuUnitLatLng),
      mnuUnitLatLngT(*this, "mnuUnitLatLngT", "D", &mnuUnitLatLng),
      mnuUnitHeading(*this, "mnuUnitHeading", "Heading", &mnuUnit),
      mnuUnitHeadingTrue(*this, "mnuUnitHeadingTrue", "True", &mnuUnitHeading),
      mnuUnitHeadingMag(*this, "mnuUnitHeadingMag", "Magnetic", &mnuUnitHeading),
      mnuPosPPStyle(*this, "mnuPosPPStyle", "Cursor"),
      mnuPosPPStyleHeading(*this, "mnuPosPPStyleHeading", "Heading", &mnuPosPPStyle),
      mnuPosPPStyleGPS(*this, "mnuPosPPStyleGPS", "GPS State", &mnuPosPPStyle),
      mnuCompass(*this, "mnuCompass", "Compass"),
      mnuCompassLocate(*this, "mnuCompassLocate", "&Current Position...(C)", &mnuCompass),
      mnuCompassCalcRouteFromHere(*this, "mnuCompassCalcRouteFromHere",
                                  "Calc &Route from here...(R)", &mnuCompass),
      mnuCompassPushAPin(*this, "mnuCompassPushAPin", "&Push a pin here...(P)", &mnuCompass),
      mnuCompassSyncTime(*this, "mnuCompassSyncTime", "&Sync System Time", &mnuCompass),
      services_(services),
      parser_(services.timeZone, services.clock,
              [this](std::string_view text) { services_.verbose.Log(text, true); }),
      intake_(parser_, this, [this](std::string_view text) { services_.verbose.Log(text, true); }) {
  LayOut();
  WireHandlers();
  services_.serialPort.SetOnComm([this](int eventCode) { comNMEA_OnComm(eventCode); });
}

frmAddIn::~frmAddIn() {
  services_.serialPort.SetOnComm({});
}

void frmAddIn::LayOut() {
  SSTab.Place(60, 60, 4920, 5640);
  cmdGPSAction.Place(60, 5790, 1560, 420);
  cmdOpenNMEA.Place(1740, 5790, 1560, 420);
  cmdAbout.Place(3420, 5790, 1560, 420);
  cmdGPSAction.SetCaption(kStartGpsCaption);
  cmdOpenNMEA.SetCaption("Playback...");
  cmdAbout.SetCaption("About");

  const auto onTab = [this](host::ui::Control& control, int tab, int left, int top, int width,
                            int height) {
    control.SetContainer(SSTab, tab);
    control.Place(left, top, width, height);
  };

  // Both status rows: lamp, state text and GPS time.
  for (int tab : {kTabTracking, kTabSatellite}) {
    const int left = tab == kTabTracking ? 180 : 1500;
    onTab(dwGPSState[tab], tab, left, 500, 300, 300);
    onTab(lblGPSState[tab], tab, left + 380, 530, 1300, 300);
    lblGPSState[tab].SetCaption("Inactive");
    lblGPSState[tab].SetStyle("bold", true);
    onTab(lblGPSTime[tab], tab, tab == kTabTracking ? 2580 : 1500, tab == kTabTracking ? 530 : 960,
          2160, 300);
    lblGPSTime[tab].SetStyle("alignment", tab == kTabTracking ? "right" : "left");
    lblGPSTime[tab].SetToolTipText("Click to sync your system time with the GPS time");
  }

  const auto caption = [&](host::ui::Label& label, const char* text, int top) {
    onTab(label, kTabTracking, 180, top, 720, 300);
    label.SetCaption(text);
    label.SetForeColor(Rgb(96, 96, 96));
  };
  caption(lblLatCaption, "Lat", 1020);
  caption(lblLngCaption, "Lng", 1440);
  caption(lblSpeedCaption, "Speed", 1980);
  caption(lblElvCaption, "Elv", 3720);
  for (auto* reading : {&lblLat[0], &lblLng[0], &lbElv[0]}) {
    reading->SetStyle("fontSize", 15);
    reading->SetStyle("bold", true);
  }
  onTab(lblLat[0], kTabTracking, 900, 960, 3600, 400);
  onTab(lblLng[0], kTabTracking, 900, 1380, 3600, 400);
  onTab(lbElv[0], kTabTracking, 900, 3660, 3000, 400);

  onTab(lblSpeed[0], kTabTracking, 180, 2280, 1500, 900);
  lblSpeed[0].SetStyle("fontSize", 40);
  lblSpeed[0].SetStyle("alignment", "right");
  lblSpeed[0].SetStyle("bold", true);
  onTab(lblSpeed[2], kTabTracking, 1680, 2700, 150, 450);
  lblSpeed[2].SetCaption(".");
  lblSpeed[2].SetStyle("fontSize", 20);
  onTab(lblSpeed[1], kTabTracking, 1830, 2700, 420, 450);
  lblSpeed[1].SetStyle("fontSize", 20);
  lblSpeed[1].SetStyle("bold", true);
  onTab(lblSpeed[3], kTabTracking, 1700, 2340, 800, 330);
  for (int i : {0, 1}) lblSpeed[i].SetCaption("0");

  // Heading: the coloured box behind the digits tells true from magnetic.
  onTab(lblCourse[2], kTabTracking, 2580, 2250, 1500, 960);
  lblCourse[2].SetStyle("zOrder", -1);
  onTab(lblCourse[0], kTabTracking, 2610, 2280, 1020, 900);
  lblCourse[0].SetStyle("fontSize", 28);
  lblCourse[0].SetStyle("alignment", "right");
  lblCourse[0].SetStyle("bold", true);
  onTab(lblCourse[1], kTabTracking, 3660, 2640, 360, 450);
  lblCourse[1].SetStyle("fontSize", 16);
  onTab(lblCourse[3], kTabTracking, 3660, 2310, 360, 330);
  lblCourse[3].SetStyle("bold", true);
  for (int i : {0, 1}) lblCourse[i].SetCaption("0");

  // The compass: a ring, a north mark and the needle, with the label that opens its menu.
  constexpr int kCompassX = 4290;
  constexpr int kCompassY = 3300;
  onTab(shpD, kTabTracking, kCompassX - 300, kCompassY - 300, 600, 600);
  shpD.SetFillColor("");
  shpD.SetStyle("borderColor", Rgb(64, 64, 64));
  shpD.SetStyle("style", 0);
  onTab(lblNorth, kTabTracking, kCompassX - 90, kCompassY - 290, 180, 200);
  lblNorth.SetCaption("N");
  lblNorth.SetStyle("fontSize", 7);
  lblNorth.SetStyle("alignment", "center");
  onTab(lnDir, kTabTracking, 0, 0, 0, 0);
  lnDir.SetStart(kCompassX, kCompassY);
  lnDir.SetEnd(kCompassX, kCompassY - 222);
  lnDir.SetBorderColor(Rgb(192, 0, 0));
  lnDir.SetStyle("borderWidth", 2);
  onTab(lblCompass, kTabTracking, kCompassX - 330, kCompassY - 330, 660, 660);
  lblCompass.SetToolTipText("Click here to access the additional features.");
  lblCompass.SetStyle("transparent", true);

  onTab(cmdUnitSel, kTabTracking, 180, 4380, 960, 380);
  cmdUnitSel.SetCaption("Unit");
  for (auto* label : {&lblLat[0], &lblLng[0], &lbElv[0], &lblSpeed[3]})
    label->SetToolTipText("Click to switch unit");
  lblCourse[3].SetToolTipText("Click to switch the unit");

  // Satellite tab: the sky plot around (787, 1117) with a horizon of radius 450.
  onTab(shpSkyHorizon, kTabSatellite, 337, 667, 900, 900);
  onTab(shpSkyMiddle, kTabSatellite, 562, 892, 450, 450);
  for (auto* ring : {&shpSkyHorizon, &shpSkyMiddle}) {
    ring->SetFillColor("");
    ring->SetStyle("borderColor", Rgb(128, 128, 128));
  }
  shpSkyHorizon.SetFillColor(Rgb(240, 244, 248));
  onTab(lnSkyNorthSouth, kTabSatellite, 0, 0, 0, 0);
  lnSkyNorthSouth.SetStart(787, 667);
  lnSkyNorthSouth.SetEnd(787, 1567);
  onTab(lnSkyEastWest, kTabSatellite, 0, 0, 0, 0);
  lnSkyEastWest.SetStart(337, 1117);
  lnSkyEastWest.SetEnd(1237, 1117);
  for (auto* line : {&lnSkyNorthSouth, &lnSkyEastWest}) line->SetBorderColor(Rgb(192, 192, 192));
  onTab(lnSaDir, kTabSatellite, 0, 0, 0, 0);
  lnSaDir.SetStart(787, 1117);
  lnSaDir.SetEnd(787, 717);
  lnSaDir.SetBorderColor(Rgb(192, 0, 0));
  for (int i = 0; i < 12; ++i) {
    onTab(lblSP[i], kTabSatellite, 0, 0, 120, 120);
    lblSP[i].SetCaption("\u25CF");
    lblSP[i].SetStyle("font", "terminal");
    lblSP[i].SetStyle("fontSize", 7);
    lblSP[i].SetVisible(false);
    onTab(lblSaID[i], kTabSatellite, 0, 0, 300, 200);
    lblSaID[i].SetStyle("fontSize", 7);
    lblSaID[i].SetVisible(false);
  }
  onTab(lblSaCaption, kTabSatellite, 1500, 1320, 1800, 300);
  lblSaCaption.SetCaption("Satellites in View");
  onTab(lblSaNumber, kTabSatellite, 3360, 1320, 600, 300);
  lblSaNumber.SetStyle("bold", true);
  onTab(txtSaInfo, kTabSatellite, 180, 1800, 4560, 3600);
  txtSaInfo.SetMultiLine(true);
  txtSaInfo.SetLocked(true);
  txtSaInfo.SetStyle("font", "monospace");
  txtSaInfo.SetToolTipText("Right click to copy the information");

  // Options tab.
  onTab(chkTrkOnMap, kTabOptions, 180, 540, 3000, 330);
  chkTrkOnMap.SetCaption("Track position on the map");
  onTab(lblTrackCaption, kTabOptions, 420, 960, 1440, 300);
  lblTrackCaption.SetCaption("Re-centre after");
  onTab(sclTrackFactor, kTabOptions, 1900, 940, 1500, 300);
  onTab(lblTrackFactor, kTabOptions, 3480, 960, 1300, 300);
  sclTrackFactor.SetToolTipText(kTrackFactorTip);
  onTab(lblRefreshCaption, kTabOptions, 180, 1440, 1680, 300);
  lblRefreshCaption.SetCaption("GPS refresh every");
  onTab(sclRefreshRate, kTabOptions, 1900, 1420, 1500, 300);
  onTab(lblRefreshRate, kTabOptions, 3480, 1440, 1300, 300);
  sclRefreshRate.SetToolTipText(kRefreshRateTip);
  onTab(chkTrail, kTabOptions, 180, 2040, 1500, 330);
  chkTrail.SetCaption("Plot trail");
  onTab(cmdTraceOption, kTabOptions, 1740, 2000, 1560, 400);
  cmdTraceOption.SetCaption("Plot Options...");
  onTab(cmdClearTrail, kTabOptions, 3360, 2000, 1380, 400);
  cmdClearTrail.SetCaption("Clear Trail");
  onTab(cmdCurPPSel, kTabOptions, 180, 2580, 1560, 400);
  cmdCurPPSel.SetCaption("Cursor...");
  onTab(chkGuidance, kTabOptions, 180, 3180, 2400, 330);
  chkGuidance.SetCaption("Driving Assistant");
  onTab(cmdGuideOpt, kTabOptions, 2640, 3140, 2100, 400);
  cmdGuideOpt.SetCaption("Assistant Options...");
  onTab(chkAlwaysTop, kTabOptions, 180, 3780, 2400, 330);
  chkAlwaysTop.SetCaption("Always on top");

  // Settings tab: the receiver and the capture file.
  onTab(lblPortCaption, kTabSettings, 180, 580, 900, 300);
  lblPortCaption.SetCaption("Port");
  onTab(cboPort, kTabSettings, 1140, 540, 900, 330);
  for (int port = 1; port <= kPortCount; ++port) cboPort.AddItem(std::to_string(port));
  onTab(lblBaudCaption, kTabSettings, 180, 1000, 900, 300);
  lblBaudCaption.SetCaption("Settings");
  onTab(txtBaud, kTabSettings, 1140, 960, 1920, 330);
  txtBaud.SetText("4800,n,8,1");
  onTab(chkDTR, kTabSettings, 3240, 980, 1200, 330);
  chkDTR.SetCaption("DTR");
  chkDTR.SetToolTipText(
      "Turn on DTR pin. Only need to be turned on for certain GPS receivers or when there is "
      "absolutly no data come in at all.");
  onTab(chkRecord, kTabSettings, 180, 1620, 3000, 330);
  chkRecord.SetCaption("Capture NMEA to file");
  onTab(txtRecOutFileName, kTabSettings, 180, 2040, 3900, 330);
  txtRecOutFileName.SetToolTipText("capture file name (F5 start capture)");
  onTab(cmdBrowseNmea, kTabSettings, 4140, 2010, 600, 380);
  cmdBrowseNmea.SetCaption("...");
  onTab(lblVersionNo, kTabSettings, 180, 5100, 3000, 300);
  lblVersionNo.SetForeColor(Rgb(96, 96, 96));

  for (auto* menu : {&mnuUnit, &mnuPosPPStyle, &mnuCompass}) menu->SetVisible(false);
  tmrDoubleClick.SetInterval(1000);
}

void frmAddIn::WireHandlers() {
  SSTab.onClick = [this] { RefreshVisibleTab(); };
  Timer1.onTimer = [this] { RefreshTick(); };

  chkAlwaysTop.onClick = [this] {
    if (chkAlwaysTop.Value() == 1)
      settings::SetTopMost(*this);
    else
      settings::ClearTopMost(*this);
    if (onAlwaysTopChanged) onAlwaysTopChanged();
  };
  chkTrkOnMap.onClick = [this] {
    const bool tracking = chkTrkOnMap.Value() == 1;
    sclTrackFactor.SetEnabled(tracking);
    lblTrackFactor.SetEnabled(tracking);
    if (!tracking) trackCounter_ = 0;
  };
  sclTrackFactor.SetRange(0, 65);
  sclTrackFactor.onChange = [this] {
    const int value = sclTrackFactor.Value();
    lblTrackFactor.SetCaption(value >= 1 ? std::to_string(value) + " refreshes." : "Auto");
  };
  sclRefreshRate.SetRange(0, 32);
  sclRefreshRate.onChange = [this] {
    const int value = sclRefreshRate.Value();
    // The interval is a 16-bit product in the old control; 32 s is the most the bar allows.
    Timer1.SetInterval(static_cast<std::int16_t>(value * 1000));
    lblRefreshRate.SetCaption(value >= 1 ? std::to_string(value) + " sec" : "GPS Auto");
    Timer1.SetTimerEnabled(value >= 1);
  };
  sclTrackFactor.SetValue(1);
  sclRefreshRate.SetValue(1);

  for (auto* box : {&txtBaud, &txtRecOutFileName}) {
    box->onGotFocus = [this] { textEntryActive_ = true; };
    box->onLostFocus = [this] { textEntryActive_ = false; };
  }

  tmrDoubleClick.onTimer = [this] {
    tmrDoubleClick.SetTimerEnabled(false);
    if (calcRouteFromHere) calcRouteFromHere();
  };

  // Unit menus and the labels that pop them up.
  mnuUnitElvFoot.onClick = [this] { SetUnitElv(0); };
  mnuUnitElvMeter.onClick = [this] { SetUnitElv(1); };
  mnuUnitSpeedMph.onClick = [this] { SetUnitSpeed(0); };
  mnuUnitSpeedKmh.onClick = [this] { SetUnitSpeed(1); };
  mnuUnitSpeedKnot.onClick = [this] { SetUnitSpeed(2); };
  mnuUnitLatLngPTS.onClick = [this] { SetUnitLatLng(0); };
  mnuUnitLatLngT.onClick = [this] { SetUnitLatLng(1); };
  mnuUnitHeadingTrue.onClick = [this] { SetUnitHeading(0); };
  mnuUnitHeadingMag.onClick = [this] { SetUnitHeading(1); };
  const auto popUnderLabel = [this](host::ui::Label& label, host::ui::MenuItem& menu) {
    label.onClick = [this, &label, &menu] {
      PopupMenu(menu, label.Left() + label.Width(), label.Top() + label.Height());
    };
  };
  popUnderLabel(lbElv[0], mnuUnitElv);
  popUnderLabel(lblLat[0], mnuUnitLatLng);
  popUnderLabel(lblLng[0], mnuUnitLatLng);
  popUnderLabel(lblCourse[3], mnuUnitHeading);
  popUnderLabel(lblSpeed[3], mnuUnitSpeed);
  cmdUnitSel.onClick = [this] {
    for (auto* menu : {&mnuUnitElv, &mnuUnitSpeed, &mnuUnitLatLng, &mnuUnitHeading})
      menu->SetVisible(true);
    PopupMenu(mnuUnit, cmdUnitSel.Left(), cmdUnitSel.Top() + cmdUnitSel.Height());
  };

  mnuPosPPStyleGPS.onClick = [this] { SetPosPPStyle(0); };
  mnuPosPPStyleHeading.onClick = [this] { SetPosPPStyle(1); };
  cmdCurPPSel.onClick = [this] {
    PopupMenu(mnuPosPPStyle, cmdCurPPSel.Left(), cmdCurPPSel.Top() + cmdCurPPSel.Height());
  };

  lblCompass.onMouseMove = [this](const host::ui::MouseEvent&) { shpD.SetStyle("style", 1); };
  lblCompass.onMouseUp = [this](const host::ui::MouseEvent&) {
    if (beforeCompassMenu) beforeCompassMenu();
    PopupMenu(mnuCompass, lblCompass.Left() + lblCompass.Width(), lblCompass.Top());
    shpD.SetStyle("style", 0);
  };
  mnuCompassLocate.onClick = [this] {
    if (locateCurrentPosition) locateCurrentPosition();
  };
  mnuCompassCalcRouteFromHere.onClick = [this] {
    if (calcRouteFromHere) calcRouteFromHere();
  };
  mnuCompassPushAPin.onClick = [this] {
    if (pushPinHere) pushPinHere();
  };

  cmdAbout.onClick = [this] { ShowAbout(); };
  cmdGPSAction.onClick = [this] { cmdGPSAction_Click(); };
  cmdOpenNMEA.onClick = [this] {
    if (openPlayback) openPlayback();
  };
  chkRecord.onClick = [this] { chkRecord_Click(); };
  cmdBrowseNmea.onClick = [this] { cmdBrowseNmea_Click(); };
  const auto syncClock = [this] {
    try {
      SyncSystemTime();
    } catch (const std::exception& error) {
      // The platform's own words for the refusal, such as a missing right to set the clock.
      services_.desktop.MsgBox(error.what());
    }
  };
  for (int index : {0, 1}) lblGPSTime[index].onClick = syncClock;
  mnuCompassSyncTime.onClick = syncClock;
}

void frmAddIn::SetUnitElv(std::int16_t value) {
  mnuUnitElvFoot.SetChecked(false);
  mnuUnitElvMeter.SetChecked(false);
  unitElv_ = value;
  if (value == 0) mnuUnitElvFoot.SetChecked(true);
  if (value == 1) mnuUnitElvMeter.SetChecked(true);
}

void frmAddIn::SetUnitSpeed(std::int16_t value) {
  for (auto* item : {&mnuUnitSpeedMph, &mnuUnitSpeedKmh, &mnuUnitSpeedKnot})
    item->SetChecked(false);
  unitSpeed_ = value;
  static const char* const kLabels[] = {"MPH", "KmH", "Kt"};
  host::ui::MenuItem* const items[] = {&mnuUnitSpeedMph, &mnuUnitSpeedKmh, &mnuUnitSpeedKnot};
  if (value >= 0 && value <= 2) {
    items[value]->SetChecked(true);
    lblSpeed[3].SetCaption(kLabels[value]);
  }
}

void frmAddIn::SetUnitLatLng(std::int16_t value) {
  mnuUnitLatLngPTS.SetChecked(false);
  mnuUnitLatLngT.SetChecked(false);
  unitLatLng_ = value;
  if (value == 0) mnuUnitLatLngPTS.SetChecked(true);
  if (value == 1) mnuUnitLatLngT.SetChecked(true);
}

void frmAddIn::SetUnitHeading(std::int16_t value) {
  mnuUnitHeadingTrue.SetChecked(false);
  mnuUnitHeadingMag.SetChecked(false);
  unitHeading_ = value;
  if (value == 0) {
    mnuUnitHeadingTrue.SetChecked(true);
    lblCourse[3].SetCaption("T");
    lblCourse[2].SetBackColor(host::ui::FromBgr(0xAFB780));
  }
  if (value == 1) {
    mnuUnitHeadingMag.SetChecked(true);
    lblCourse[3].SetCaption("M");
    lblCourse[2].SetBackColor(host::ui::FromBgr(0x80FFFF));
  }
}

void frmAddIn::SetPosPPStyle(std::int16_t style) {
  mnuPosPPStyleGPS.SetChecked(false);
  mnuPosPPStyleHeading.SetChecked(false);
  posPPStyle_ = style;
  if (style == 0) mnuPosPPStyleGPS.SetChecked(true);
  if (style == 1) mnuPosPPStyleHeading.SetChecked(true);
}

void frmAddIn::LogDiagnostic(std::string_view procedure, std::string_view text) {
  services_.verbose.Log(std::string(procedure) + ": " + std::string(text), true);
}

}  // namespace orvo::addin
