// The trail of pins behind the position, and the dialog of its options.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <string>

#include "gps/NmeaIntake.hpp"
#include "host/platform/Clock.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/tracking/TrackingFixture.hpp"
#include "tracking/PinSymbols.hpp"
#include "tracking/frmTraceSettings.hpp"

namespace orvo::tracking {
namespace {

using host::platform::DateValue;
using host::ui::Milliseconds;
using orvo::testing::TrackingFixture;

struct TrailDriver : TrackingFixture {
  // One refresh at a place and time.
  void TickAt(double latitude, double longitude, double knots = 20, int second = 0) {
    SetFix(latitude, longitude, gps::kFixMode3D, knots);
    fix.GpsDateTime = DateValue::FromCivil(2026, 6, 14, 9, 30, 0).AddSeconds(second);
    tracker.UpdatePositionOnMap();
  }
  // Trail pins on the map (the position pin excluded).
  std::vector<testing::FakeActiveMap::Pin> TrailPins() {
    std::vector<testing::FakeActiveMap::Pin> pins;
    for (auto& pin : Map().Pins())
      if (pin.name != MapTracker::kPositionPinName) pins.push_back(pin);
    return pins;
  }
};

struct Trail : ::testing::Test, TrailDriver {};

TEST(TrailDistance, SumsBothDifferencesInMinutesOfArc) {
  // From a pin placed at (43.7, 7.4), the default threshold 0.00216 minutes of arc.
  const struct {
    double dLat;
    double dLng;
    bool plots;
    bool thresholdIsTheMove = false;
  } cases[] = {
      {0.00004, 0, true},        // 0.0024
      {0.00002, 0.00002, true},  // 0.0024 by the sum rule, only 0.0017 as the crow flies
      {0.00003, 0, false},       // 0.0018
      {0, -0.00004, true},
      {0.00004, 0, false, true},  // a move exactly as long as the threshold
  };
  for (const auto& c : cases) {
    auto trail = std::make_unique<TrailDriver>();
    if (c.thresholdIsTheMove)
      trail->options.threasholdKnot = (std::abs(43.7 - (43.7 + c.dLat)) + std::abs(c.dLng)) * 60;
    trail->TickAt(43.7, 7.4);  // from (0, 0): queues a pin there
    trail->TickAt(43.7 + c.dLat, 7.4 + c.dLng);
    EXPECT_EQ(trail->trail.Pending().has_value(), c.plots) << c.dLat << " " << c.dLng;
  }
}

TEST_F(Trail, APinIsPlacedOneTickLaterWhereItWasQueuedAndStandingStillPlotsNothing) {
  TickAt(43.70, 7.40);
  EXPECT_TRUE(TrailPins().empty());
  TickAt(43.71, 7.41);
  ASSERT_EQ(TrailPins().size(), 1u);
  EXPECT_DOUBLE_EQ(TrailPins()[0].location.latitudeDegrees, 43.70);
  EXPECT_EQ(TrailPins()[0].symbol, 30) << "3-D state offset 6 on the default base 24";
  EXPECT_EQ(TrailPins()[0].balloonState, 0);
  for (int tick = 0; tick < 5; ++tick) TickAt(43.71, 7.41);
  EXPECT_EQ(TrailPins().size(), 2u);
  // Without the distance rule every tick plots, standing still too.
  options.byMoving = false;
  options.symbolBase = 40;
  for (int tick = 0; tick < 4; ++tick) TickAt(43.71, 7.41, 0);
  EXPECT_EQ(TrailPins().size(), 5u);
  EXPECT_EQ(TrailPins().back().symbol, 46);
  EXPECT_EQ(trail.Cache().Count(), 5);
}

TEST_F(Trail, NamingByNothingTimeOrCounterAndTheCounterRestartsAfterAConfirmedClear) {
  options.byMoving = false;
  options.ppName = 0;
  TickAt(43.7, 7.4, 20, 0);
  options.ppName = 1;
  TickAt(43.7, 7.4, 20, 1);
  options.ppName = 2;
  TickAt(43.7, 7.4, 20, 2);
  TickAt(43.7, 7.4, 20, 3);
  options.ppName = 9;  // unknown: the last name again
  TickAt(43.7, 7.4, 20, 4);
  TickAt(43.7, 7.4, 20, 5);
  std::vector<std::string> names;
  for (const auto& pin : TrailPins()) names.push_back(pin.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Pushpin 1", "2026-06-14 09:30:01", "ORVO_0", "ORVO_1",
                                             "ORVO_1"}));
  // Clearing asks first: No keeps the trail, Yes clears it and restarts the counter.
  dialogs.QueueAnswer(host::ui::MsgBoxResult::No);
  window.cmdClearTrail.UserClick();
  EXPECT_EQ(TrailPins().size(), 5u);
  dialogs.QueueAnswer(host::ui::MsgBoxResult::Yes);
  window.cmdClearTrail.UserClick();
  EXPECT_TRUE(TrailPins().empty());
  EXPECT_EQ(trail.TrailPinCounter(), 0);
  ASSERT_EQ(dialogs.Messages().size(), 2u);
  EXPECT_EQ(dialogs.Messages().back().buttons, host::ui::MsgBoxButtons::YesNo);
}

TEST_F(Trail, NotesInBothFormatsWithTheChosenItems) {
  fix.GpsDateTime = DateValue::FromCivil(2026, 6, 14, 9, 31, 57);
  const struct {
    std::int16_t items;
    std::int16_t format;
    const char* note;
  } cases[] = {
      {31, 0,
       "2026-06-14 09:31:57\r\nLatitude: 43\u00B044.2431N\r\nLongitude: 7\u00B025.4590E\r\n"
       "Elevation: 98.4 ft\r\nSpeed:  24.9 MPH\r\nHeading: 78.2"},
      {31, 1, "2026-06-14 09:31:57,43\u00B044.2431,7\u00B025.4590,98.4,24.9,78.2"},
      {8 | 2, 0,
       "Latitude: 43\u00B044.2431N\r\nLongitude: 7\u00B025.4590E\r\nSpeed:  24.9 MPH\r\n"},
      {4, 1, "98.4,"},
      {0, 0, ""},
      {31, 2, ""},
  };
  for (const auto& c : cases) {
    options.noteOpt = c.items;
    options.noteFormat = c.format;
    EXPECT_EQ(trail.BuildPinNote(), c.note) << c.items << "/" << c.format;
  }
}

TEST_F(Trail, StopIsMarkedOnceAfterMoreThanTheStopTime) {
  options.stopDetection = true;
  options.byMoving = true;
  int second = 0;
  TickAt(43.7, 7.4, 20, second);
  TickAt(43.7, 7.4, 20, ++second);
  const std::size_t before = TrailPins().size();
  TickAt(43.7, 7.4, 4.0, ++second);  // the stop speed itself is moving
  EXPECT_FALSE(trail.IsSlow());
  const int slowFrom = ++second;
  TickAt(43.7, 7.4, 3.9, slowFrom);
  EXPECT_TRUE(trail.IsSlow());
  for (second = slowFrom + 1; second <= slowFrom + 10; ++second) TickAt(43.7, 7.4, 3.9, second);
  EXPECT_FALSE(trail.Pending()) << "10 whole seconds are not more than 10";
  TickAt(43.7, 7.4, 3.9, slowFrom + 11);
  ASSERT_TRUE(trail.Pending());
  EXPECT_EQ(trail.Pending()->symbol, kStopPinSymbol);
  for (second = slowFrom + 12; second <= slowFrom + 72; ++second) TickAt(43.7, 7.4, 3.9, second);
  const auto pins = TrailPins();
  ASSERT_EQ(pins.size(), before + 1);
  EXPECT_EQ(pins.back().symbol, 65);
  // Moving again ends the slow period; a fix loss does too.
  TickAt(43.7, 7.4, 5, ++second);
  EXPECT_FALSE(trail.IsSlow());
  TickAt(43.7, 7.4, 3, ++second);
  EXPECT_TRUE(trail.IsSlow());
  SetFix(43.7, 7.4, gps::kFixModeNoFix, 0);
  tracker.UpdatePositionOnMap();
  EXPECT_FALSE(trail.IsSlow());
}

// The demo drive through Monaco as a receiver sends it, one refresh per RMC sentence.
TEST_F(Trail, DemoDrivePlotsAPinPerMovingSecondAndMarksTheRedLight) {
  host::platform::FixedTimeZone timeZone{0, false};
  host::platform::FixedClock clock{DateValue::FromCivil(2026, 6, 14, 9, 0, 0)};
  gps::NmeaParser parser(timeZone, clock);
  gps::NmeaIntake intake(parser);
  const gps::GpsFix& drive = parser.Fix();
  options.stopDetection = true;
  options.ppName = 1;

  std::ifstream file(std::string(ORVO_SOURCE_DIR) + "/data/demo/monaco-drive.nmea",
                     std::ios::binary);
  ASSERT_TRUE(file);
  int ticks = 0;
  int standingTicks = 0;
  std::vector<std::string> stopNames;
  for (std::string line; std::getline(file, line);) {
    intake.ProcessData(line + "\n");
    if (line.rfind("$GPRMC", 0) != 0) continue;
    fix = drive;
    const std::size_t pinsBefore = TrailPins().size();
    tracker.UpdatePositionOnMap();
    ++ticks;
    if (drive.SpeedKnots == 0 && drive.FixMode >= 2) ++standingTicks;
    if (TrailPins().size() > pinsBefore && TrailPins().back().symbol == kStopPinSymbol)
      stopNames.push_back(TrailPins().back().name);
  }
  EXPECT_EQ(ticks, 294);
  // The red light at Sainte-Devote (standing from 09:31:46 to 09:32:05), named when it was
  // queued, 11 seconds into the stop. The drive ends 6 seconds after the car stops at Larvotto:
  // too short for a stop.
  EXPECT_EQ(stopNames, (std::vector<std::string>{"2026-06-14 09:31:57"}));
  const auto pins = TrailPins();
  // Every moving second plots once; standing still plots nothing but the stop pins.
  EXPECT_GT(pins.size(), static_cast<std::size_t>(ticks - standingTicks - 12));
  EXPECT_LE(pins.size(), static_cast<std::size_t>(ticks - standingTicks + 2));
  EXPECT_EQ(trail.Cache().Count(), static_cast<std::int32_t>(pins.size()));
  EXPECT_TRUE(log.empty()) << log.front();
}

// The trace options dialog, loaded as the main window hands it over.
struct TraceDialog : ::testing::Test {
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  frmTraceSettings dialog{desktop};
};

TEST_F(TraceDialog, DefaultsShowInTheUsersUnitsAndOkConvertsBack) {
  const struct {
    std::int16_t unit;
    int thresholdBar;
    const char* thresholdText;
    int stopBar;
    const char* stopText;
    double thresholdBack;
    double stopBack;
  } cases[] = {
      {0, 13, "13 ft", 460, "4.6 MPH", 13 / 1.1507794 / 5280, 4.6 / 1.1507794},
      {1, 4, "4 m", 741, "7.41 KmH", 4 / 1.852 / 1000, 7.41 / 1.852},
  };
  for (const auto& c : cases) {
    frmTraceSettings fresh(desktop);
    fresh.iTraceThreasholdUnit = c.unit;
    fresh.Show();
    EXPECT_EQ(fresh.sclTraceThreashold.Value(), c.thresholdBar);
    EXPECT_EQ(fresh.lblTraceThreashold.Caption(), c.thresholdText);
    EXPECT_EQ(fresh.scrStopTKt.Value(), c.stopBar);
    EXPECT_EQ(fresh.lbStopThreasholdSpeed.Caption(), c.stopText);
    fresh.OKButton.UserClick();
    EXPECT_FALSE(fresh.IsLoaded());
    EXPECT_NEAR(fresh.dTraceThreasholdKnote, c.thresholdBack, 1e-12);
    EXPECT_NEAR(fresh.dStopTKt, c.stopBack, 1e-12);
  }
}

TEST_F(TraceDialog, ArrowStepsSpeedUpTenPercentPerQuickChangeAcrossBothBars) {
  dialog.Show();
  scheduler.Advance(Milliseconds(5000));
  std::vector<int> steps;
  for (int change = 0; change < 7; ++change) {
    auto& bar = change % 2 == 0 ? dialog.sclTraceThreashold : dialog.scrNPPs;
    bar.UserChange(bar.Value() + bar.SmallChange());
    steps.push_back(bar.SmallChange());
    scheduler.Advance(Milliseconds(400));
  }
  // 1, 1.1, 1.21, 1.331, 1.4641, 1.61051, 1.771561
  EXPECT_EQ(steps, (std::vector<int>{1, 1, 1, 1, 1, 2, 2}));
  scheduler.Advance(Milliseconds(1100));
  dialog.scrNPPs.UserChange(dialog.scrNPPs.Value() + 1);
  EXPECT_EQ(dialog.scrNPPs.SmallChange(), 1) << "a pause of more than a second starts over";
  for (int change = 0; change < 6; ++change)
    dialog.scrNPPs.UserChange(dialog.scrNPPs.Value() + dialog.scrNPPs.SmallChange());
  EXPECT_EQ(dialog.scrNPPs.SmallChange(), 2);
  dialog.scrNPPs.UserChange(4001);
  EXPECT_EQ(dialog.scrNPPs.SmallChange(), 1) << "an end of the bar starts over";
}

TEST(EditTraceOptions, OkStoresTheDialogsValuesCancelOnlyTheSymbolSetClicked) {
  const struct {
    bool ok;
    bool byMoving;
    std::int16_t symbolBase;
  } cases[] = {{true, false, 8}, {false, true, 8}};
  for (const auto& c : cases) {
    testing::TrackingFixture fixture;
    fixture.window.chkAlwaysTop.SetValue(1);
    fixture.window.SetTopMost(true);
    fixture.window.sclRefreshRate.SetValue(5);
    bool topMostWhileOpen = true;
    fixture.scheduler.Post([&] {
      auto* dialog =
          dynamic_cast<frmTraceSettings*>(fixture.desktop.FindWindow("frmTraceSettings"));
      ASSERT_NE(dialog, nullptr);
      topMostWhileOpen = fixture.window.TopMost();
      dialog->chkTracebyMoving.UserClick();
      dialog->optPPSymbol[1].UserClick();
      (c.ok ? dialog->OKButton : dialog->CancelButton).UserClick();
    });
    fixture.window.cmdTraceOption.UserClick();
    EXPECT_FALSE(topMostWhileOpen);
    EXPECT_TRUE(fixture.window.TopMost());
    EXPECT_EQ(fixture.options.byMoving, c.byMoving);
    EXPECT_EQ(fixture.options.symbolBase, c.symbolBase);
    EXPECT_EQ(fixture.options.threasholdKnot == 0.00216, !c.ok)
        << "OK converts the shown 13 ft back";
    EXPECT_EQ(fixture.desktop.FindWindow("frmTraceSettings"), nullptr);
  }
}

}  // namespace
}  // namespace orvo::tracking
