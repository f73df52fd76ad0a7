// The trail of pins behind the position, the dialog of its options, the ring of the pins it keeps
// and their clearing.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <string>
#include <tuple>

#include "gps/NmeaIntake.hpp"
#include "host/platform/Clock.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/tracking/TrackingFixture.hpp"
#include "tracking/PinSymbols.hpp"
#include "tracking/frmProgress.hpp"
#include "tracking/frmTraceSettings.hpp"

namespace orvo::tracking {
namespace {

using host::platform::DateValue;
using host::ui::Milliseconds;
using host::ui::MsgBoxResult;
using orvo::testing::FakeActiveMap;
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
  // A move from a pin placed at (43.7, 7.4), whether it plots, and whether the threshold is the
  // move itself rather than the default 0.00216 minutes of arc.
  const std::tuple<double, double, bool, bool> cases[] = {
      {0.00004, 0, true, false},        // 0.0024
      {0.00002, 0.00002, true, false},  // 0.0024 by the sum rule, only 0.0017 as the crow flies
      {0.00003, 0, false, false},       // 0.0018
      {0, -0.00004, true, false},
      {0.00004, 0, false, true},  // a move exactly as long as the threshold
  };
  for (const auto& [dLat, dLng, plots, thresholdIsTheMove] : cases) {
    auto trail = std::make_unique<TrailDriver>();
    if (thresholdIsTheMove)
      trail->options.threasholdKnot = (std::abs(43.7 - (43.7 + dLat)) + std::abs(dLng)) * 60;
    trail->TickAt(43.7, 7.4);  // from (0, 0): queues a pin there
    trail->TickAt(43.7 + dLat, 7.4 + dLng);
    EXPECT_EQ(trail->trail.Pending().has_value(), plots) << dLat << " " << dLng;
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
}

TEST_F(Trail, NamingByNothingTimeOrCounterAndTheCounterRestartsAfterAConfirmedClear) {
  options.byMoving = false;
  const std::int16_t naming[] = {0, 1, 2, 2, 9, 9};  // 9, unknown: the last name again
  for (int second = 0; second < 6; ++second) {
    options.ppName = naming[second];
    TickAt(43.7, 7.4, 20, second);
  }
  std::vector<std::string> names;
  for (const auto& pin : TrailPins()) names.push_back(pin.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Pushpin 1", "2026-06-14 09:30:01", "ORVO_0", "ORVO_1",
                                             "ORVO_1"}));
  // Clearing asks first (its question: drive.test.ts): No keeps the trail, Yes clears it and
  // restarts the counter.
  dialogs.QueueAnswer(host::ui::MsgBoxResult::No);
  window.cmdClearTrail.UserClick();
  EXPECT_EQ(TrailPins().size(), 5u);
  dialogs.QueueAnswer(host::ui::MsgBoxResult::Yes);
  window.cmdClearTrail.UserClick();
  EXPECT_TRUE(TrailPins().empty());
  EXPECT_EQ(trail.TrailPinCounter(), 0);
}

TEST_F(Trail, NotesInBothFormatsWithTheChosenItems) {
  fix.GpsDateTime = DateValue::FromCivil(2026, 6, 14, 9, 31, 57);
  // The items, the format, and the note.
  const std::tuple<std::int16_t, std::int16_t, const char*> cases[] = {
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
  for (const auto& [items, format, note] : cases) {
    options.noteOpt = items;
    options.noteFormat = format;
    EXPECT_EQ(trail.BuildPinNote(), note) << items << "/" << format;
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
  // The red light at Sainte-Devote (standing from 09:31:46), named when queued 11 s into the
  // stop; the 6 s standing at Larvotto at the end are too short for a stop.
  EXPECT_EQ(stopNames, (std::vector<std::string>{"2026-06-14 09:31:57"}));
  const auto pins = TrailPins();
  // Every moving second plots once; standing still plots nothing but the stop pins.
  EXPECT_GT(pins.size(), static_cast<std::size_t>(ticks - standingTicks - 12));
  EXPECT_LE(pins.size(), static_cast<std::size_t>(ticks - standingTicks + 2));
  EXPECT_EQ(trail.Cache().Count(), static_cast<std::int32_t>(pins.size()));
  EXPECT_TRUE(log.empty()) << log.front();
}

// The trace options dialog, loaded as the main window hands it over.
struct TraceDialog : ::testing::Test, TrackingFixture {
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
    fresh.OKButton.UserClick();  // closing: EditTraceOptions
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
  for (const bool ok : {true, false}) {
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
      (ok ? dialog->OKButton : dialog->CancelButton).UserClick();
    });
    fixture.window.cmdTraceOption.UserClick();
    EXPECT_FALSE(topMostWhileOpen);
    EXPECT_TRUE(fixture.window.TopMost());
    EXPECT_EQ(fixture.options.byMoving, !ok);
    EXPECT_EQ(fixture.options.symbolBase, 8) << "the symbol set is taken at its click";
    EXPECT_EQ(fixture.options.threasholdKnot == 0.00216, !ok) << "OK converts the shown 13 ft back";
    EXPECT_EQ(fixture.desktop.FindWindow("frmTraceSettings"), nullptr);
  }
}

// Each row saves one pin per limit in turn (for a limit of -1 the user deletes the one before the
// last by hand instead), then checks which pins (1-based) are still on the map.
TEST(PinCache, TheRingDeletesTheOldestPinAndFollowsItsLimit) {
  const struct {
    const char* what;
    std::vector<int> limits;
    std::vector<int> onMap;
    int count, upperBound, nextIndex;
  } cases[] = {
      {"three keep two, the oldest going first", {3, 3, 3, 3}, {3, 4}, 3, 3, 1},
      // Slots 3..9 (pins 4..10) go at once; pin 11 takes slot 3; slot 0 (freed at pin 10) is
      // next, then slot 1 (pin 2) is the oldest.
      {"lowered", {10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 4, 4}, {3, 11, 12}, 4, 4, 1},
      // Count becomes 4 with two pins: empty slots pass through the ring.
      {"a short unlimited one capped", {0, 0, 4, 4}, {2, 3, 4}, 4, 4, 0},
      // Raised to 6, the next pin goes to slot count = 3; unlimited again appends after it.
      {"raised", {3, 3, 3, 6, 6, 6, 0}, {2, 3, 4, 5, 6, 7}, 7, 506, 7},
      // Pin 2, the oldest, was deleted by hand: its slot is simply emptied.
      {"the oldest deleted by hand", {3, 3, 3, -1, 3}, {3, 4}, 3, 3, 1},
  };
  for (const auto& c : cases) {
    FakeActiveMap map;
    PinCache ring;
    for (const int limit : c.limits) {
      if (limit < 0)
        map.DeletePushpin(map.added - 1);  // by hand
      else
        ring.Save(map.AddPushpin({43.7, 7.4, 0}, std::nullopt), limit);
    }
    std::vector<int> alive;
    for (int pin = 1; pin <= map.added; ++pin)
      if (map.Exists(pin)) alive.push_back(pin);
    EXPECT_EQ(alive, c.onMap) << c.what;
    EXPECT_EQ(ring.Count(), c.count) << c.what;
    EXPECT_EQ(ring.UpperBound(), c.upperBound) << c.what;
    EXPECT_EQ(ring.NextIndex(), c.nextIndex) << c.what;
  }
  FakeActiveMap map;
  EXPECT_THROW(PinCache().Save(map.AddPushpin({43.7, 7.4, 0}, std::nullopt), -1),
               std::invalid_argument);
}

int ProgressWindowsOpened(const testing::PageMessages& pages) {
  int opened = 0;
  for (const auto& message : pages.OfType("open"))
    opened += message["window"]["name"] == "frmProgress" ? 1 : 0;
  return opened;
}

struct Clearing : ::testing::Test, TrackingFixture {};

TEST_F(Clearing, TwentyFivePinsReportProgressEveryOtherPinWithTheWindowUp) {
  Place(25);
  window.chkAlwaysTop.SetValue(1);
  window.SetTopMost(true);
  trail.ClearPushPins();
  // The percents shown and the main window's top-most state, in the order the page heard them.
  std::vector<std::string> told;
  for (const auto& message : pages.messages) {
    const std::string type = message.value("type", "");
    if (type == "window" && message["window"] == "frmAddIn" && message["property"] == "topMost")
      told.push_back(message["value"] ? "top" : "not top");
    if (type == "set" && message.value("control", "") == "lblPercent")
      told.push_back(message["value"]);
  }
  // Step 2: percent i x 10 / 2 at i = 0, 2, 4, ... (0 is the loaded window's own; 110 and 120
  // are clamped to 100 and change nothing). Not topmost while clearing.
  EXPECT_EQ(told,
            (std::vector<std::string>{"top", "not top", "10 %", "20 %", "30 %", "40 %", "50 %",
                                      "60 %", "70 %", "80 %", "90 %", "100 %", "top"}));
  EXPECT_EQ(desktop.FindWindow("frmProgress"), nullptr);
  EXPECT_EQ(Map().PinCount(), 0u);
  EXPECT_EQ(trail.Cache().Count(), 0);
  const auto cursors = pages.OfType("cursor");
  ASSERT_EQ(cursors.size(), 2u);
  EXPECT_EQ(cursors[0]["cursor"], "wait");
  EXPECT_EQ(cursors[1]["cursor"], "default");
}

TEST_F(Clearing, CancelClickedWhileTheLoopRunsStopsItAndTheCacheKeepsItsCount) {
  Place(100);
  // The click waits on the event loop; the loop lets it in at its first step.
  scheduler.Post([this] {
    auto* progress = dynamic_cast<frmProgress*>(desktop.FindWindow("frmProgress"));
    ASSERT_NE(progress, nullptr);
    progress->cmdCancel.UserClick();
  });
  trail.ClearPushPins();
  EXPECT_EQ(Map().PinCount(), 99u);
  EXPECT_EQ(trail.Cache().Count(), 100);
  EXPECT_FALSE(trail.Cache().Slot(0));
  EXPECT_TRUE(trail.Cache().Slot(1));
  EXPECT_EQ(desktop.FindWindow("frmProgress"), nullptr);

  // A second clear finishes the job; the slot already emptied is no error.
  trail.ClearPushPins();
  EXPECT_EQ(Map().PinCount(), 0u);
  EXPECT_EQ(trail.Cache().Count(), 0);
  EXPECT_TRUE(dialogs.Messages().empty());
}

TEST_F(Clearing, UnloadAsksOnlyWithPinsYesDeletesThemNoLeavesThemOnTheMap) {
  // The map open, the pins, the answer to the question (none: not asked), the pins left. No
  // leaving them on the map: drive.test.ts.
  const std::tuple<bool, int, std::optional<MsgBoxResult>, std::size_t> cases[] = {
      {true, 0, std::nullopt, 0},
      {true, 4, MsgBoxResult::Yes, 0},
      {false, 4, std::nullopt, 4},  // no map: the cache is forgotten without a question
  };
  for (const auto& [mapOpen, pins, answer, pinsLeft] : cases) {
    TrackingFixture fixture;
    fixture.Place(pins);
    fixture.application.open = mapOpen;
    if (answer) fixture.dialogs.QueueAnswer(*answer);
    fixture.trail.SettleTrailOnUnload();
    EXPECT_EQ(fixture.dialogs.Messages().size(), answer ? 1u : 0u);
    EXPECT_EQ(fixture.Map().PinCount(), pinsLeft);
    EXPECT_EQ(fixture.trail.Cache().Count(), 0);
    EXPECT_EQ(ProgressWindowsOpened(fixture.pages), answer == MsgBoxResult::Yes ? 1 : 0)
        << "only deleting shows the progress window";
  }
}

}  // namespace
}  // namespace orvo::tracking
