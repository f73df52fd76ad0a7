// Where the main window's controls sit, in twips within the window, tab by tab.
#include "addin/frmAddIn.hpp"

namespace orvo::addin {

using host::ui::Rgb;

namespace {

const char* const kTrackFactorTip = "Short cuts: shift-less +/-";
const char* const kRefreshRateTip = "Short cuts: shift-less </>";

}  // namespace

void frmAddIn::LayOut() {
  SSTab.Place(60, 60, 4920, 5640);
  receiver.cmdGPSAction.Place(60, 5790, 1560, 420);
  receiver.cmdOpenNMEA.Place(1740, 5790, 1560, 420);
  cmdAbout.Place(3420, 5790, 1560, 420);
  receiver.cmdOpenNMEA.SetCaption("Playback...");
  cmdAbout.SetCaption("About");

  const auto onTab = [this](host::ui::Control& control, int tab, int left, int top, int width,
                            int height) {
    control.SetContainer(SSTab, tab);
    control.Place(left, top, width, height);
  };

  // Both status rows: lamp, state text and GPS time.
  for (int tab : {kTabTracking, kTabSatellite}) {
    const int left = tab == kTabTracking ? 180 : 1500;
    onTab(status.dwGPSState[tab], tab, left, 500, 300, 300);
    onTab(status.lblGPSState[tab], tab, left + 380, 530, 1300, 300);
    status.lblGPSState[tab].SetCaption("Inactive");
    status.lblGPSState[tab].SetStyle("bold", true);
    onTab(status.lblGPSTime[tab], tab, tab == kTabTracking ? 2580 : 1500,
          tab == kTabTracking ? 530 : 960, 2160, 300);
    status.lblGPSTime[tab].SetStyle("alignment", tab == kTabTracking ? "right" : "left");
    status.lblGPSTime[tab].SetToolTipText("Click to sync your system time with the GPS time");
  }

  // Tracking tab: the readings.
  auto& r = readings;
  const auto caption = [&](host::ui::Label& label, const char* text, int top) {
    onTab(label, kTabTracking, 180, top, 720, 300);
    label.SetCaption(text);
    label.SetForeColor(Rgb(96, 96, 96));
  };
  caption(r.lblLatCaption, "Lat", 1020);
  caption(r.lblLngCaption, "Lng", 1440);
  caption(r.lblSpeedCaption, "Speed", 1980);
  caption(r.lblElvCaption, "Elv", 3720);
  for (auto* reading : {&r.lblLat[0], &r.lblLng[0], &r.lbElv[0]}) {
    reading->SetStyle("fontSize", 15);
    reading->SetStyle("bold", true);
  }
  onTab(r.lblLat[0], kTabTracking, 900, 960, 3600, 400);
  onTab(r.lblLng[0], kTabTracking, 900, 1380, 3600, 400);
  onTab(r.lbElv[0], kTabTracking, 900, 3660, 3000, 400);

  onTab(r.lblSpeed[0], kTabTracking, 180, 2280, 1500, 900);
  r.lblSpeed[0].SetStyle("fontSize", 40);
  r.lblSpeed[0].SetStyle("alignment", "right");
  r.lblSpeed[0].SetStyle("bold", true);
  onTab(r.lblSpeed[2], kTabTracking, 1680, 2700, 150, 450);
  r.lblSpeed[2].SetCaption(".");
  r.lblSpeed[2].SetStyle("fontSize", 20);
  onTab(r.lblSpeed[1], kTabTracking, 1830, 2700, 420, 450);
  r.lblSpeed[1].SetStyle("fontSize", 20);
  r.lblSpeed[1].SetStyle("bold", true);
  onTab(r.lblSpeed[3], kTabTracking, 1700, 2340, 800, 330);
  for (int i : {0, 1}) r.lblSpeed[i].SetCaption("0");

  // Heading: the coloured box behind the digits tells true from magnetic.
  onTab(r.lblCourse[2], kTabTracking, 2580, 2250, 1500, 960);
  r.lblCourse[2].SetStyle("zOrder", -1);
  onTab(r.lblCourse[0], kTabTracking, 2610, 2280, 1020, 900);
  r.lblCourse[0].SetStyle("fontSize", 28);
  r.lblCourse[0].SetStyle("alignment", "right");
  r.lblCourse[0].SetStyle("bold", true);
  onTab(r.lblCourse[1], kTabTracking, 3660, 2640, 360, 450);
  r.lblCourse[1].SetStyle("fontSize", 16);
  onTab(r.lblCourse[3], kTabTracking, 3660, 2310, 360, 330);
  r.lblCourse[3].SetStyle("bold", true);
  for (int i : {0, 1}) r.lblCourse[i].SetCaption("0");

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
  onTab(r.lnDir, kTabTracking, 0, 0, 0, 0);
  r.lnDir.SetStart(kCompassX, kCompassY);
  r.lnDir.SetEnd(kCompassX, kCompassY - tracking::ReadingsPanel::kNeedleTwips);
  r.lnDir.SetBorderColor(Rgb(192, 0, 0));
  r.lnDir.SetStyle("borderWidth", 2);
  onTab(lblCompass, kTabTracking, kCompassX - 330, kCompassY - 330, 660, 660);
  lblCompass.SetToolTipText("Click here to access the additional features.");
  lblCompass.SetStyle("transparent", true);

  onTab(r.cmdUnitSel, kTabTracking, 180, 4380, 960, 380);
  r.cmdUnitSel.SetCaption("Unit");
  for (auto* label : {&r.lblLat[0], &r.lblLng[0], &r.lbElv[0], &r.lblSpeed[3]})
    label->SetToolTipText("Click to switch unit");
  r.lblCourse[3].SetToolTipText("Click to switch the unit");

  // Satellite tab: the sky plot around its zenith, with a horizon of radius 450.
  auto& s = status;
  constexpr int kSkyX = static_cast<int>(tracking::StatusPanel::kSkyCentreX);
  constexpr int kSkyY = static_cast<int>(tracking::StatusPanel::kSkyCentreY);
  constexpr int kHorizon = static_cast<int>(90 * tracking::StatusPanel::kTwipsPerDegree);
  onTab(s.shpSkyHorizon, kTabSatellite, kSkyX - kHorizon, kSkyY - kHorizon, 2 * kHorizon,
        2 * kHorizon);
  onTab(s.shpSkyMiddle, kTabSatellite, kSkyX - kHorizon / 2, kSkyY - kHorizon / 2, kHorizon,
        kHorizon);
  for (auto* ring : {&s.shpSkyHorizon, &s.shpSkyMiddle}) {
    ring->SetFillColor("");
    ring->SetStyle("borderColor", Rgb(128, 128, 128));
  }
  s.shpSkyHorizon.SetFillColor(Rgb(240, 244, 248));
  onTab(s.lnSkyNorthSouth, kTabSatellite, 0, 0, 0, 0);
  s.lnSkyNorthSouth.SetStart(kSkyX, kSkyY - kHorizon);
  s.lnSkyNorthSouth.SetEnd(kSkyX, kSkyY + kHorizon);
  onTab(s.lnSkyEastWest, kTabSatellite, 0, 0, 0, 0);
  s.lnSkyEastWest.SetStart(kSkyX - kHorizon, kSkyY);
  s.lnSkyEastWest.SetEnd(kSkyX + kHorizon, kSkyY);
  for (auto* line : {&s.lnSkyNorthSouth, &s.lnSkyEastWest})
    line->SetBorderColor(Rgb(192, 192, 192));
  onTab(s.lnSaDir, kTabSatellite, 0, 0, 0, 0);
  s.lnSaDir.SetStart(kSkyX, kSkyY);
  s.lnSaDir.SetEnd(kSkyX, kSkyY - tracking::StatusPanel::kHeadingLineTwips);
  s.lnSaDir.SetBorderColor(Rgb(192, 0, 0));
  for (int i = 0; i < 12; ++i) {
    onTab(s.lblSP[i], kTabSatellite, 0, 0, 120, 120);
    s.lblSP[i].SetCaption("\u25CF");
    s.lblSP[i].SetStyle("font", "terminal");
    s.lblSP[i].SetStyle("fontSize", 7);
    s.lblSP[i].SetVisible(false);
    onTab(s.lblSaID[i], kTabSatellite, 0, 0, 300, 200);
    s.lblSaID[i].SetStyle("fontSize", 7);
    s.lblSaID[i].SetVisible(false);
  }
  onTab(s.lblSaCaption, kTabSatellite, 1500, 1320, 1800, 300);
  s.lblSaCaption.SetCaption("Satellites in View");
  onTab(s.lblSaNumber, kTabSatellite, 3360, 1320, 600, 300);
  s.lblSaNumber.SetStyle("bold", true);
  onTab(s.txtSaInfo, kTabSatellite, 180, 1800, 4560, 3600);
  s.txtSaInfo.SetMultiLine(true);
  s.txtSaInfo.SetLocked(true);
  s.txtSaInfo.SetStyle("font", "monospace");
  s.txtSaInfo.SetToolTipText("Right click to copy the information");

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
  auto& g = receiver;
  onTab(g.lblPortCaption, kTabSettings, 180, 580, 900, 300);
  g.lblPortCaption.SetCaption("Port");
  onTab(g.cboPort, kTabSettings, 1140, 540, 900, 330);
  onTab(g.lblBaudCaption, kTabSettings, 180, 1000, 900, 300);
  g.lblBaudCaption.SetCaption("Settings");
  onTab(g.txtBaud, kTabSettings, 1140, 960, 1920, 330);
  onTab(g.chkDTR, kTabSettings, 3240, 980, 1200, 330);
  g.chkDTR.SetCaption("DTR");
  g.chkDTR.SetToolTipText(
      "Turn on DTR pin. Only need to be turned on for certain GPS receivers or when there is "
      "absolutly no data come in at all.");
  onTab(g.chkRecord, kTabSettings, 180, 1620, 3000, 330);
  g.chkRecord.SetCaption("Capture NMEA to file");
  onTab(g.txtRecOutFileName, kTabSettings, 180, 2040, 3900, 330);
  g.txtRecOutFileName.SetToolTipText("capture file name (F5 start capture)");
  onTab(g.cmdBrowseNmea, kTabSettings, 4140, 2010, 600, 380);
  g.cmdBrowseNmea.SetCaption("...");
  onTab(lblVersionNo, kTabSettings, 180, 5100, 3000, 300);
  lblVersionNo.SetForeColor(Rgb(96, 96, 96));

  for (auto* menu : {&r.mnuUnit, &mnuPosPPStyle, &mnuCompass}) menu->SetVisible(false);
  tmrDoubleClick.SetInterval(1000);
}

}  // namespace orvo::addin
