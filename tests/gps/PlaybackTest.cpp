#include <gtest/gtest.h>

#include <fstream>

#include "gps/frmPlayback.hpp"
#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::gps {
namespace {

using host::ui::Milliseconds;

struct Playback : ::testing::Test, orvo::testing::MainWindowFixture {
  Playback() {
    window->Show();
    // Everything the playback feeds is captured, so the test sees exactly what arrived.
    window->receiver.txtRecOutFileName.SetText(capture.string());
    window->receiver.chkRecord.SetValue(1);
  }
  std::filesystem::path Write(const std::string& name, const std::string& text) {
    auto path = folder.Path() / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  std::string Captured() const {  // less the line end that proved the capture file writable
    return orvo::testing::ReadFile(capture).substr(2);
  }
  std::filesystem::path capture = folder.Path() / "fed.nmea";
  frmPlayback& playback = window->Playback();
};

TEST_F(Playback, FeedsSpeedOverFiftyBytesATickAndTheRestAtTheEnd) {
  const std::string text(250, 'x');
  ASSERT_TRUE(playback.OpenFile(Write("drive.nmea", text)));
  playback.Start();
  EXPECT_EQ(playback.Caption(), "Playback - drive.nmea");
  EXPECT_EQ(playback.scrSpeed.Value(), 4800) << "starts at the main window's baud rate";
  EXPECT_EQ(playback.lblSpeed.Caption(), "Speed: 4800 bps");
  playback.cmdPlay.UserClick();
  scheduler.Advance(Milliseconds(200));
  EXPECT_EQ(playback.Position(), 96);
  EXPECT_EQ(playback.lblFPos.Caption(), "96 / 250 bytes");
  scheduler.Advance(Milliseconds(400));
  EXPECT_EQ(playback.Position(), 250) << "the last tick feeds only what is left";
  EXPECT_EQ(Captured(), text);
  scheduler.Advance(Milliseconds(200));
  EXPECT_EQ(playback.Position(), 0) << "end of file: back to the start, stopped";
  EXPECT_FALSE(playback.Timer1.TimerEnabled());
  EXPECT_TRUE(playback.cmdPlay.Enabled());
  EXPECT_FALSE(playback.cmdStop.Enabled());
}

TEST_F(Playback, SpeedsThatRoundToNothingEndAtOnceAndHalvesGoToEven) {
  ASSERT_TRUE(playback.OpenFile(Write("drive.nmea", std::string(1000, 'y'))));
  playback.scrSpeed.SetValue(25);  // 0.5 bytes a tick: rounds to 0
  playback.cmdPlay.UserClick();
  scheduler.Advance(Milliseconds(200));
  EXPECT_FALSE(playback.Timer1.TimerEnabled());
  EXPECT_EQ(Captured(), "");
  playback.scrSpeed.SetValue(75);  // 1.5 rounds to 2
  playback.cmdPlay.UserClick();
  scheduler.Advance(Milliseconds(200));
  EXPECT_EQ(playback.Position(), 2);
  playback.scrSpeed.SetValue(125);  // 2.5 rounds to 2
  scheduler.Advance(Milliseconds(200));
  EXPECT_EQ(playback.Position(), 4);
}

TEST_F(Playback, MovingThePositionBarSeeksAndPlaybackDrivesTheReadings) {
  const std::string rmc = "$GPRMC,101500,A,4344.3820,N,00725.4500,E,20.0,45.0,211126,,*00\r\n";
  const std::string text = std::string(500, 'z') + rmc;
  ASSERT_TRUE(playback.OpenFile(Write("drive.nmea", text)));
  window->sclRefreshRate.SetValue(0);
  playback.scrFPos.UserChange(500);
  EXPECT_EQ(playback.Position(), 500);
  playback.scrSpeed.SetValue(9600);
  playback.cmdPlay.UserClick();
  scheduler.Advance(Milliseconds(200));
  EXPECT_EQ(Captured(), rmc);
  EXPECT_EQ(window->Fix().FixMode, 2);
  desktop.Dispatch({{"type", "move"}, {"window", "frmPlayback"}, {"left", 30}, {"top", 40}});
  playback.Unload();
  EXPECT_EQ(window->Fix().FixMode, 0) << "closing playback resets the fix";
  EXPECT_EQ(store.GetSetting("FormLoc", "frmPlayback-X", ""), "30") << "where the user left it";
}

TEST_F(Playback, PlayingRunsTheMainWindowsRefreshAsALiveReceiverWould) {
  ASSERT_TRUE(playback.OpenFile(Write("drive.nmea", std::string(10000, 'x'))));
  window->receiver.cmdGPSAction.UserClick();
  playback.cmdPlay.UserClick();
  playback.cmdStop.UserClick();
  EXPECT_TRUE(window->Timer1.TimerEnabled()) << "the running receiver keeps its refresh";
}

TEST_F(Playback, AFileThatCannotBeOpenedIsReportedAndPlaysNothing) {
  EXPECT_FALSE(playback.OpenFile(folder.Path() / "missing.nmea"));
  EXPECT_FALSE(playback.OpenFile(folder.Path()));
  EXPECT_EQ(dialogs.Prompts().size(), 2u);
  EXPECT_FALSE(playback.cmdPlay.Enabled());
  dialogs.QueueFile((folder.Path() / "drive.nmea").string());
  Write("drive.nmea", "abc");
  playback.cmdOpen.UserClick();
  EXPECT_EQ(playback.Length(), 3);
}

TEST_F(Playback, OpeningAFileWhilePlayingPlaysTheNewFileFromItsStart) {
  ASSERT_TRUE(playback.OpenFile(Write("first.nmea", std::string(1000, 'a'))));
  playback.cmdPlay.UserClick();
  scheduler.Advance(Milliseconds(400));
  EXPECT_EQ(playback.Position(), 192);
  dialogs.QueueFile((folder.Path() / "second.nmea").string());
  Write("second.nmea", std::string(500, 'b'));
  playback.cmdOpen.UserClick();
  EXPECT_EQ(playback.Caption(), "Playback - second.nmea");
  EXPECT_EQ(playback.Position(), 0);
  EXPECT_EQ(playback.Length(), 500);
  EXPECT_TRUE(playback.Timer1.TimerEnabled()) << "still playing";
  scheduler.Advance(Milliseconds(200));
  EXPECT_EQ(playback.Position(), 96);

  playback.cmdStop.UserClick();
  ASSERT_TRUE(playback.OpenFile(Write("third.nmea", "abc")));
  EXPECT_FALSE(playback.Timer1.TimerEnabled()) << "stopped stays stopped";
  EXPECT_TRUE(playback.cmdPlay.Enabled());
}

TEST_F(Playback, FollowsTheMainWindowsAlwaysOnTop) {
  playback.Start();
  EXPECT_TRUE(playback.TopMost()) << "copied when it opens (on by default)";
  for (const int value : {0, 1, 0}) {
    window->chkAlwaysTop.SetValue(value);
    EXPECT_EQ(window->TopMost(), value == 1);
    EXPECT_EQ(playback.TopMost(), value == 1);
  }
  playback.Unload();
  window->chkAlwaysTop.SetValue(1);
  EXPECT_FALSE(playback.TopMost()) << "a closed window is not touched";
  playback.Start();
  EXPECT_TRUE(playback.TopMost());
}

}  // namespace
}  // namespace orvo::gps
