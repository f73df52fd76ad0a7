// The main window on test doubles: its settings, the receiver, the capture, the refresh timer and
// the short keys.
#include <gtest/gtest.h>

#include <tuple>

#include "addin/frmShortKeyFlash.hpp"
#include "host/map/MapView.hpp"
#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::addin {
namespace {

using host::ui::Milliseconds;
using orvo::testing::MainWindowFixture;

struct MainWindow : ::testing::Test, MainWindowFixture {
  void SetUp() override { window->Show(); }
};

TEST_F(MainWindow, FirstRunWithAnEmptyStoreShowsTheDefaults) {
  EXPECT_EQ(window->receiver.txtBaud.Text(), "4800,n,8,1");
  EXPECT_EQ(window->lblRefreshRate.Caption(), "2 sec");
  EXPECT_EQ(window->lblTrackFactor.Caption(), "Auto");
  EXPECT_EQ(window->readings.lblSpeed[3].Caption(), "MPH");
  EXPECT_EQ(window->readings.lblCourse[3].Caption(), "T");
  EXPECT_FALSE(window->Timer1.TimerEnabled()) << "the load stops the refresh timer";
  EXPECT_EQ(window->status.lblGPSState[0].Caption(), "No GPS");
}

TEST_F(MainWindow, EverySettingSurvivesUnloadAndLoad) {
  window->receiver.cboPort.SetText("5");
  window->receiver.txtBaud.SetText("9600,e,7,2");
  window->receiver.chkDTR.SetValue(0);
  window->sclRefreshRate.SetValue(0);
  window->sclTrackFactor.SetValue(7);
  window->readings.mnuUnitElvMeter.UserClick();
  window->readings.mnuUnitSpeedKnot.UserClick();
  window->readings.mnuUnitLatLngT.UserClick();
  window->readings.mnuUnitHeadingMag.UserClick();
  window->chkTrkOnMap.SetValue(0);
  window->chkTrail.SetValue(0);
  window->chkAlwaysTop.SetValue(0);
  window->mnuPosPPStyleGPS.UserClick();
  window->receiver.txtRecOutFileName.SetText((folder.Path() / "drive.nmea").string());
  window->Unload();
  Make();  // a fresh window on the same store: what the next start of the program sees
  window->Show();

  EXPECT_EQ(window->receiver.cboPort.Text(), "5");
  EXPECT_EQ(window->receiver.txtBaud.Text(), "9600,e,7,2");
  EXPECT_EQ(window->BaudRate(), 9600);
  EXPECT_EQ(window->receiver.chkDTR.Value(), 0);
  EXPECT_EQ(window->lblRefreshRate.Caption(), "GPS Auto");
  EXPECT_EQ(window->sclTrackFactor.Value(), 7);
  EXPECT_FALSE(window->sclTrackFactor.Enabled()) << "tracking off disables the factor";
  EXPECT_EQ(window->readings.UnitElv(), 1);
  EXPECT_EQ(window->readings.lblSpeed[3].Caption(), "Kt");
  EXPECT_TRUE(window->readings.mnuUnitLatLngT.Checked());
  EXPECT_EQ(window->readings.lblCourse[3].Caption(), "M");
  EXPECT_EQ(window->chkTrail.Value(), 0);
  EXPECT_FALSE(window->TopMost());
  EXPECT_EQ(window->PosPPStyle(), 0);
  EXPECT_EQ(store.GetSetting("TraceOpt", "ByMoving", ""), "True");
  EXPECT_FALSE(store.Find("Settings", "LenDetectRepeat")) << "loaded only, never saved";
}

TEST_F(MainWindow, DamagedValuesFallBackToTheirDefaultsAndAreLogged) {
  window->Unload();
  store.SaveSetting("Settings", "CommaReset1", "True");
  store.SaveSetting("Settings", "Refresh", "lots");
  store.SaveSetting("Settings", "UnitSpeed", "99999");
  window->Show();
  EXPECT_EQ(window->sclRefreshRate.Value(), 2);
  EXPECT_EQ(window->readings.UnitSpeed(), 0);
  EXPECT_NE(verbose.txtLog.Text().find("LoadSettings: Refresh"), std::string::npos);
}

TEST_F(MainWindow, ReceiverStartsStopsAndReportsPortsThatCannotOpen) {
  window->SSTab.SetTab(frmAddIn::kTabSettings);
  window->receiver.cmdGPSAction.UserClick();  // the running look: the pseudo-terminal test
  EXPECT_TRUE(port.open);
  EXPECT_EQ(port.commPort, 2);
  EXPECT_TRUE(port.dtr);
  EXPECT_FALSE(window->receiver.cmdOpenNMEA.Enabled());
  EXPECT_TRUE(window->Timer1.TimerEnabled());
  EXPECT_EQ(window->SSTab.Tab(), frmAddIn::kTabTracking);

  window->receiver.cmdGPSAction.UserClick();
  EXPECT_EQ(window->receiver.cmdGPSAction.Caption(), "Start &GPS");
  EXPECT_FALSE(port.open);
  EXPECT_TRUE(window->receiver.txtBaud.Enabled());
  EXPECT_TRUE(dialogs.Prompts().empty());

  // A port that cannot open is the browser's test (orvo.test.ts); a port text that is no number:
  window->receiver.cboPort.SetText("COM");
  window->receiver.cmdGPSAction.UserClick();
  EXPECT_EQ(window->receiver.cmdGPSAction.Caption(), "Start &GPS");
  EXPECT_FALSE(window->GpsRunning());
  EXPECT_EQ(dialogs.Prompts(), std::vector<std::string>{"Can't open comm port"});
  dialogs.Forget();

  window->receiver.cboPort.SetText("3");
  window->receiver.cmdGPSAction.UserClick();
  port.failClose = true;
  window->receiver.cmdGPSAction.UserClick();
  EXPECT_EQ(dialogs.Prompts(), std::vector<std::string>{"Can't close comm port"});
  EXPECT_EQ(window->receiver.cmdGPSAction.Caption(), "Stop &GPS")
      << "a failed stop keeps the Running look";
  EXPECT_FALSE(window->Timer1.TimerEnabled());
}

TEST_F(MainWindow, CaptureRefusesBadNamesAndKeepsEveryChunkExactly) {
  // A name refused, and what the user is told.
  const std::pair<std::string, std::string> refused[] = {
      {"   ", "Please specify a output file name first."},
      {(folder.Path() / "no-such-folder" / "x.nmea").string(),
       "NMEA Capture: Can't open file to write. "}};
  for (const auto& [name, prompt] : refused) {
    window->receiver.txtRecOutFileName.SetText(name);
    window->receiver.chkRecord.UserClick();
    EXPECT_EQ(window->receiver.chkRecord.Value(), 0);
    EXPECT_EQ(dialogs.Prompts(), std::vector<std::string>{prompt});
    dialogs.Forget();
  }

  const auto file = folder.Path() / "capture.nmea";
  window->receiver.txtRecOutFileName.SetText(file.string());
  window->receiver.chkRecord.UserClick();
  EXPECT_FALSE(window->receiver.txtRecOutFileName.Enabled());
  std::string expected = "\r\n";
  for (const std::string& chunk : {std::string("$GPRMC,1"), std::string("23519,A\r\n\x00\xff", 11),
                                   std::string("junk without dollar")}) {
    window->ProcessData(chunk);
    expected += chunk;
  }
  window->receiver.chkRecord.UserClick();
  EXPECT_TRUE(window->receiver.txtRecOutFileName.Enabled());
  window->ProcessData("after capture");
  EXPECT_EQ(orvo::testing::ReadFile(file), expected);
}

TEST_F(MainWindow, RefreshRateDrivesTheTimerWhichAFailingStepNeitherStopsNorHides) {
  map.failTick = true;
  window->sclRefreshRate.SetValue(3);
  scheduler.Advance(Milliseconds(9000));
  EXPECT_EQ(map.ticks, 3);
  EXPECT_NE(verbose.txtLog.Text().find("UpdatePositionOnMap: map step failed"), std::string::npos);
  window->sclRefreshRate.SetValue(0);
  scheduler.Advance(Milliseconds(9000));
  EXPECT_EQ(map.ticks, 3);
}

struct Keyboard : MainWindow {
  void Press(int keyCode, int shift = 0) {
    desktop.Dispatch(
        {{"type", "key"}, {"window", "frmAddIn"}, {"keyCode", keyCode}, {"shift", shift}});
  }
  // The flash window's texts, or nothing when it is not showing.
  std::optional<std::pair<std::string, std::string>> Flash() const {
    auto* flash = dynamic_cast<frmShortKeyFlash*>(desktop.FindWindow("frmShortKeyFlash"));
    if (flash == nullptr) return std::nullopt;
    return std::make_pair(flash->lblFn.Caption(), flash->lblMsg.Caption());
  }
  using Texts = std::pair<std::string, std::string>;
};

TEST_F(Keyboard, DigitsAndLettersSwitchTabs) {
  // 2, S and T: the browser's test (orvo.test.ts). Each row moves to another tab.
  const std::vector<std::pair<int, int>> keysToTabs = {
      {'A', 1}, {'1', 0}, {'O', 2}, {'4', 3}, {'3', 2}};
  for (const auto& [key, tab] : keysToTabs) {
    Press(key);
    EXPECT_EQ(window->SSTab.Tab(), tab) << "key " << key;
  }
  EXPECT_FALSE(Flash()) << "tab keys flash nothing";
}

TEST_F(Keyboard, TogglesFlashTheirNewState) {
  // The key, the box it toggles, and the flash.
  const std::tuple<int, host::ui::CheckBox*, Texts> cases[] = {
      {'I', &window->chkTrail, {"Plot Trail", "OFF"}},
      {'I', &window->chkTrail, {"Plot Trail", "ON"}},
      {'K', &window->chkTrkOnMap, {"Track Position", "OFF"}},
      {'N', &window->chkAlwaysTop, {"Always on Top", "OFF"}},
      {118, &window->chkGuidance, {"Driving Assistant", "ON"}},
  };
  for (const auto& [key, box, flash] : cases) {
    const int before = box->Value();
    Press(key, 1);  // Shift changes nothing
    EXPECT_NE(box->Value(), before);
    EXPECT_EQ(Flash(), flash);
  }
  EXPECT_FALSE(window->sclTrackFactor.Enabled()) << "K ran the tracking box's own handling";
  EXPECT_FALSE(window->TopMost()) << "N ran the always-on-top handling";
}

TEST_F(Keyboard, CaptureKeyReportsWhatTheBoxEndedAs) {
  Press(116);  // F5 without a capture file: refused, the box stays clear
  EXPECT_EQ(window->receiver.chkRecord.Value(), 0);
  EXPECT_EQ(Flash(), Texts("NMEA Capture", "OFF"));
}

TEST_F(Keyboard, ReceiverKeyFlashesTheOutcome) {
  Press('G');
  EXPECT_EQ(Flash(), Texts("GPS", "Started"));
  Press('G');
  EXPECT_EQ(Flash(), Texts("GPS", "Stoped"));  // so does a failed start (the browser test)
}

TEST_F(Keyboard, ScrollBarKeysStopAtTheirEndsAndStillFlash) {
  window->sclRefreshRate.SetValue(31);
  Press(190);
  EXPECT_EQ(Flash(), Texts("GPS Refresh", "32 sec"));
  Press(190);
  EXPECT_EQ(window->sclRefreshRate.Value(), 32);
  EXPECT_EQ(Flash(), Texts("GPS Refresh", "32 sec"));
  window->sclRefreshRate.SetValue(1);
  Press(188);
  EXPECT_EQ(Flash(), Texts("GPS Refresh", " AUTO "));
  EXPECT_EQ(window->lblRefreshRate.Caption(), "GPS Auto");

  Press(107);
  EXPECT_EQ(Flash(), Texts("Track Refresh", "1"));
  Press(189);
  EXPECT_EQ(Flash(), Texts("Track Refresh", "AUTO"));
  window->chkTrkOnMap.SetValue(0);
  Press(187);
  EXPECT_EQ(window->sclTrackFactor.Value(), 0) << "tracking off: the factor stays";
  EXPECT_EQ(Flash(), Texts("Track Refresh", "AUTO"));
}

TEST_F(Keyboard, FlashStaysSevenHundredMillisecondsAfterTheLastMessage) {
  Press('I');
  scheduler.Advance(Milliseconds(500));
  Press('I');
  scheduler.Advance(Milliseconds(500));
  EXPECT_TRUE(Flash()) << "the second message restarted the count";
  scheduler.Advance(Milliseconds(200));
  EXPECT_FALSE(Flash());
  Press('I');
  desktop.Dispatch({{"type", "key"}, {"window", "frmShortKeyFlash"}, {"keyCode", 65}});
  EXPECT_FALSE(Flash()) << "a key released on the flash closes it";
  Press('I');
  auto* flash = dynamic_cast<frmShortKeyFlash*>(desktop.FindWindow("frmShortKeyFlash"));
  flash->Frame1.UserClick();
  EXPECT_FALSE(Flash());
}

TEST_F(Keyboard, SingleRCalculatesARouteLaterAndDoubleRSwitchesRecalculation) {
  int& routes = map.routes;
  Press('R');
  scheduler.Advance(Milliseconds(999));
  EXPECT_EQ(routes, 0);
  scheduler.Advance(Milliseconds(1));
  EXPECT_EQ(routes, 1);

  Press('R');
  scheduler.Advance(Milliseconds(400));
  Press('R');
  scheduler.Advance(Milliseconds(2000));
  EXPECT_EQ(routes, 1) << "a double press calculates nothing";
  EXPECT_TRUE(window->GuidanceState().offTrackRecalc);
  Press('R');
  Press('R');
  EXPECT_FALSE(window->GuidanceState().offTrackRecalc);
  EXPECT_EQ(Flash(), Texts("Off-track re-calc", "OFF"));
}

TEST_F(Keyboard, TypingIntoTheTextBoxesTriggersNothing) {
  for (const char* box : {"txtBaud", "txtRecOutFileName"}) {
    desktop.Dispatch(
        {{"type", "event"}, {"window", "frmAddIn"}, {"control", box}, {"event", "focus"}});
    for (int key : {int{'2'}, int{'G'}, int{'I'}, 116, 190}) Press(key);
    EXPECT_EQ(window->SSTab.Tab(), 0);
    EXPECT_EQ(window->chkTrail.Value(), 1);
    EXPECT_FALSE(Flash());
    desktop.Dispatch(
        {{"type", "event"}, {"window", "frmAddIn"}, {"control", box}, {"event", "blur"}});
  }
  Press('2');
  EXPECT_EQ(window->SSTab.Tab(), 1);
  Press(32);
  Press(191);
  EXPECT_FALSE(Flash()) << "keys outside 33..190 are ignored";
}

TEST_F(Keyboard, XAndZZoomTheMapBesideOrvo) {
  view.SetInitialView(43.7384, 7.4246, 14);
  window->UseMapActions(window->Map());
  const std::vector<std::pair<int, double>> keysToZoom = {{'Z', 15}, {'X', 14}};
  for (const auto& [key, zoom] : keysToZoom) {
    Press(key, 1);
    EXPECT_DOUBLE_EQ(view.State().zoom, zoom) << "key " << static_cast<char>(key);
  }
  EXPECT_FALSE(Flash()) << "zooming flashes nothing";
}

TEST_F(Keyboard, CompassKeysReachTheMapActions) {
  Press('C');
  Press('P');
  EXPECT_EQ(map.locates, 1);
  EXPECT_EQ(map.pins, 1);
  window->mnuCompassLocate.SetEnabled(false);
  window->mnuCompassPushAPin.SetEnabled(false);
  Press('C');
  Press('P');
  EXPECT_EQ(map.locates, 1) << "a disabled menu item is skipped";
  EXPECT_EQ(map.pins, 1);
}

}  // namespace
}  // namespace orvo::addin
