#include <gtest/gtest.h>

#include <fstream>

#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::addin {
namespace {

using host::ui::Milliseconds;
using orvo::testing::MainWindowFixture;

struct MainWindow : ::testing::Test, MainWindowFixture {};

TEST_F(MainWindow, FirstRunWithAnEmptyStoreShowsTheDefaults) {
  window->Show();
  EXPECT_EQ(window->receiver.txtBaud.Text(), "4800,n,8,1");
  EXPECT_EQ(window->lblRefreshRate.Caption(), "2 sec");
  EXPECT_EQ(window->lblTrackFactor.Caption(), "Auto");
  EXPECT_EQ(window->readings.lblSpeed[3].Caption(), "MPH");
  EXPECT_EQ(window->readings.lblCourse[3].Caption(), "T");
  EXPECT_FALSE(window->Timer1.TimerEnabled()) << "the load stops the refresh timer";
  EXPECT_EQ(window->status.lblGPSState[0].Caption(), "No GPS");
}

TEST_F(MainWindow, EverySettingSurvivesUnloadAndLoad) {
  desktop.SetViewport({1280, 800});
  window->Show();
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
  window->Move(40, 30);
  Reopen();

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
  EXPECT_EQ(window->Left(), 40);
  EXPECT_EQ(store.GetSetting("Settings", "GPSStart", ""), "False");
  EXPECT_EQ(store.GetSetting("TraceOpt", "ThreasholdKnot", ""), "0.00216");
  EXPECT_EQ(store.GetSetting("TraceOpt", "ByMoving", ""), "True");
  EXPECT_FALSE(store.Find("Settings", "LenDetectRepeat")) << "loaded only, never saved";
}

TEST_F(MainWindow, DamagedValuesFallBackToTheirDefaultsAndAreLogged) {
  store.SaveSetting("Settings", "CommaReset1", "True");
  store.SaveSetting("Settings", "Refresh", "lots");
  store.SaveSetting("Settings", "UnitSpeed", "99999");
  window->Show();
  EXPECT_EQ(window->sclRefreshRate.Value(), 2);
  EXPECT_EQ(window->readings.UnitSpeed(), 0);
  EXPECT_NE(verbose.txtLog.Text().find("LoadSettings: Refresh"), std::string::npos);
}

TEST_F(MainWindow, ReceiverStartsStopsAndReportsPortsThatCannotOpen) {
  window->Show();
  window->SSTab.SetTab(frmAddIn::kTabSettings);
  window->receiver.cmdGPSAction.UserClick();
  EXPECT_EQ(window->receiver.cmdGPSAction.Caption(), "Stop &GPS");
  EXPECT_TRUE(port.open);
  EXPECT_EQ(port.commPort, 2);
  EXPECT_TRUE(port.dtr);
  EXPECT_FALSE(window->receiver.cboPort.Enabled());
  EXPECT_FALSE(window->receiver.cmdOpenNMEA.Enabled());
  EXPECT_TRUE(window->Timer1.TimerEnabled());
  EXPECT_EQ(window->SSTab.Tab(), frmAddIn::kTabTracking);

  window->receiver.cmdGPSAction.UserClick();
  EXPECT_EQ(window->receiver.cmdGPSAction.Caption(), "Start &GPS");
  EXPECT_FALSE(port.open);
  EXPECT_TRUE(window->receiver.txtBaud.Enabled());
  EXPECT_TRUE(dialogs.Prompts().empty());

  for (const bool badPortText : {true, false}) {
    port.failOpen = !badPortText;
    window->receiver.cboPort.SetText(badPortText ? "COM" : "3");
    window->receiver.cmdGPSAction.UserClick();
    EXPECT_EQ(window->receiver.cmdGPSAction.Caption(), "Start &GPS");
    EXPECT_FALSE(port.open) << "a failed start leaves no port open";
    EXPECT_FALSE(window->GpsRunning());
    ASSERT_EQ(dialogs.Prompts().size(), 1u);
    EXPECT_EQ(dialogs.Prompts()[0], "Can't open comm port");
    dialogs.Forget();
  }

  port.failOpen = false;
  window->receiver.cmdGPSAction.UserClick();
  port.failClose = true;
  window->receiver.cmdGPSAction.UserClick();
  EXPECT_EQ(dialogs.Prompts(), std::vector<std::string>{"Can't close comm port"});
  EXPECT_EQ(window->receiver.cmdGPSAction.Caption(), "Stop &GPS")
      << "a failed stop keeps the Running look";
  EXPECT_FALSE(window->Timer1.TimerEnabled());
}

TEST_F(MainWindow, AnAstralReceiverIsAnsweredOnlyWhenItNamesItself) {
  window->Show();
  window->receiver.cmdGPSAction.UserClick();
  port.Receive("no word here");
  EXPECT_EQ(port.written, "");
  port.Receive("ASTRAL ready, waiting");
  EXPECT_EQ(port.written, "ASTRAL\r\n");
}

TEST_F(MainWindow, CaptureRefusesBadNamesAndKeepsEveryChunkExactly) {
  window->Show();
  window->receiver.txtRecOutFileName.SetText("   ");
  window->receiver.chkRecord.UserClick();
  EXPECT_EQ(window->receiver.chkRecord.Value(), 0);
  EXPECT_EQ(dialogs.Prompts(),
            std::vector<std::string>{"Please specify a output file name first."});
  dialogs.Forget();

  window->receiver.txtRecOutFileName.SetText(
      (folder.Path() / "no-such-folder" / "x.nmea").string());
  window->receiver.chkRecord.UserClick();
  EXPECT_EQ(window->receiver.chkRecord.Value(), 0);
  EXPECT_EQ(dialogs.Prompts(),
            std::vector<std::string>{"NMEA Capture: Can't open file to write. "});

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
  std::ifstream in(file, std::ios::binary);
  const std::string captured((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  EXPECT_EQ(captured, expected);
}

TEST_F(MainWindow, RefreshRateDrivesTheTimer) {
  window->Show();
  int& ticks = map.ticks;
  window->sclRefreshRate.SetValue(3);
  scheduler.Advance(Milliseconds(9000));
  EXPECT_EQ(ticks, 3);
  window->sclRefreshRate.SetValue(0);
  scheduler.Advance(Milliseconds(9000));
  EXPECT_EQ(ticks, 3);
}

}  // namespace
}  // namespace orvo::addin
