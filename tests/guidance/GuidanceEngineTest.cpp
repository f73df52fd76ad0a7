// The guidance engine over a route on a flat plane with hand-made turns, and the go-to window
// over it; then the engine over a real route across Monaco.
#include <gtest/gtest.h>

#include <tuple>

#include "guidance/GuidanceEngine.hpp"
#include "guidance/frmGM.hpp"
#include "host/map/DocumentRoute.hpp"
#include "host/map/MapGeometry.hpp"
#include "host/ui/Desktop.hpp"
#include "tests/TestSupport.hpp"
#include "tests/guidance/GuidanceFakes.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::guidance {
namespace {

using host::map::DistanceUnit;
using host::map::GeoPoint;
using host::map::testing::kCasino;
using host::map::testing::kFontvieille;
using testing::FakeRoute;
using testing::RecordingDisplay;

// The point the fraction F of the way from FROM to TO.
GeoPoint Between(GeoPoint from, GeoPoint to, double f) {
  return {from.latitudeDegrees + f * (to.latitudeDegrees - from.latitudeDegrees),
          from.longitudeDegrees + f * (to.longitudeDegrees - from.longitudeDegrees)};
}

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() {
    setup.bgGuideUsingDist = true;
    setup.dgGuideLowDist = 0.5;
    route.turnsAt = [](GeoPoint from, GeoPoint to) {  // a turn at each whole unit between
      std::vector<GeoPoint> turns;
      const double length = testing::PlaneDistance(from, to);
      for (int step = 1; step < std::lround(length); ++step)
        turns.push_back(Between(from, to, step / length));
      return turns;
    };
    fix.FixMode = gps::kFixMode3D;
    engine.UseGoToView(nullptr);
  }

  // The user's route, planned afresh.
  void Plan(const std::vector<std::pair<std::string, GeoPoint>>& waypoints) {
    route.Clear();
    for (const auto& [name, at] : waypoints) route.AddWaypoint(at, name);
    route.Calculate();
  }
  std::vector<std::string> TickAt(GeoPoint at) {
    fix.Latitude = at.latitudeDegrees;
    fix.Longitude = at.longitudeDegrees;
    const std::size_t before = display.announced.size();
    engine.GuidanceTick();
    return display.Texts(before);
  }

  gps::GpsFix fix;
  MMSetup setup{".", host::platform::NumberLocale{}};
  FakeRoute route;
  RecordingDisplay display;
  DistanceUnit unit = DistanceUnit::Miles;
  std::vector<std::string> messages;
  GuidanceEngineParts Parts() {
    return {.route = &route,
            .fix = fix,
            .setup = setup,
            .unit = [this] { return unit; },
            .distance = testing::PlaneDistance,
            .display = display,
            .showMessage = [this](const std::string& text) { messages.push_back(text); }};
  }
  GuidanceEngine engine{Parts()};
};

TEST_F(EngineTest, WarningDistanceInBothModesAndUnits) {
  using Row = std::tuple<double, bool, DistanceUnit, double>;
  setup.dgGuideLowDist = 0.03;
  for (const auto& [knots, usingDist, rowUnit, expected] : {
           Row{0, false, DistanceUnit::Miles, 4 * 1.1507794 * 0.0042},  // ~0.0193 mi
           Row{20, false, DistanceUnit::Kilometres, 24 * 1.852 * 0.0042},
           Row{34.7, false, DistanceUnit::Miles, 38.7 * 1.1507794 * 0.0084},  // exactly fast
           Row{34.6, false, DistanceUnit::Miles, 38.6 * 1.1507794 * 0.0042},
           Row{0, true, DistanceUnit::Miles, 0.03},
           Row{34.7, true, DistanceUnit::Kilometres, 0.5},
       }) {
    setup.bgGuideUsingDist = usingDist;
    unit = rowUnit;
    EXPECT_DOUBLE_EQ(engine.WarnDistance(knots), expected) << knots;
  }
}

// A leg from (0,0) to (0,3) with turns at (0,1) and (0,2): Depart 1, turns 2 and 3, Arrive 4.
// The first tick at the start announces the departure; the second is the case.
TEST_F(EngineTest, WhichInstructionIsAnnouncedAndWhenTheRouteIsRecalculated) {
  struct Case {
    const char* what;
    GeoPoint at;
    int fixMode = gps::kFixMode3D;
    bool autoRecalc = false;
    double warn = 0.5;
    bool hold = false;
    std::vector<std::string> announced;
    bool recalculated = false;
  };
  const std::string turn1 = "Turn at 0.00,1.00";
  const std::vector<Case> cases = {
      {"at the warning distance announces", {0, 0.5}, 3, false, 0.5, false, {turn1}},
      {"just beyond it does not", {0, 0.4999}, 3, false, 0.5, false, {}},
      {"equally near two turns: the lower", {0, 1.5}, 3, false, 0.5, false, {turn1}},
      {"an announcement on hold waits", {0, 0.9}, 3, false, 0.5, true, {}},
      {"exactly at the threshold is on track", {0.5, 0}, 3, true, 0.1, false, {}},
      {"beyond it re-calculates", {0.5001, 0}, 3, true, 0.1, false, {}, true},
      {"not without a valid fix", {0.6, 0}, 1, true, 0.1, false, {}},
      {"not while switched off", {0.6, 0}, 3, false, 0.1, false, {}},
      {"not within warning distance of a turn", {0.6, 1}, 3, true, 0.7, false, {turn1}},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.what);
    engine.GMStop(true);
    Plan({{"Home", {0, 0}}, {"Work", {0, 3}}});
    display.announceHold = false;
    setup.dgGuideLowDist = 0.5;
    ASSERT_EQ(TickAt({0, 0}), std::vector<std::string>{"Depart from Current Position"});
    setup.bgGuideAutoRecalcOn = test.autoRecalc;
    setup.dgGuideAutoRecalcThreshold = 0.5;
    setup.dgGuideLowDist = test.warn;
    display.announceHold = test.hold;
    fix.FixMode = static_cast<std::int16_t>(test.fixMode);
    const int calculations = route.calculations;
    EXPECT_EQ(TickAt(test.at), test.announced);
    // From where: the Monaco test below.
    EXPECT_EQ(route.calculations - calculations, test.recalculated ? 1 : 0);
    fix.FixMode = gps::kFixMode3D;
  }
}

TEST_F(EngineTest, AnnouncementCarriesSecondsAndDistances) {
  Plan({{"Home", {0, 0}}, {"Work", {0, 3}}});
  TickAt({0, 0});
  fix.SpeedKnots = 10;
  TickAt({0, 0.75});
  ASSERT_EQ(display.announced.size(), 2u);
  const testing::Announcement& turn = display.announced[1];
  EXPECT_EQ(turn.secsBetween, 100);  // one plane unit to the next turn
  EXPECT_DOUBLE_EQ(turn.secsUntil, 0.25 * 3600 / 1.1507794 / 14);
  EXPECT_DOUBLE_EQ(display.distances.back().first, 0.25);
  EXPECT_DOUBLE_EQ(display.distances.back().second, 1.0);
  EXPECT_EQ(engine.GuideCurIndex(), 2);
  // Never backwards: the departure, nearer now, is not announced again.
  EXPECT_TRUE(TickAt({0, 0.1}).empty());
}

// Three waypoints, the start skipped: two legs, each announced in order, then the user's route
// comes back with its names (the engine idle at the end: the Monaco drive).
TEST_F(EngineTest, DrivesLegByLegAndRestoresTheRouteAtTheEnd) {
  display.holdUntilArrival = true;
  Plan({{"Home", {0, 0}}, {"Shop", {0, 2}}, {"Work", {2, 2}}});
  std::vector<std::string> heard;
  std::vector<int> targets;
  const auto drive = [&](GeoPoint from, GeoPoint to) {
    for (int step = 0; step <= 20; ++step) {
      for (const std::string& text : TickAt(Between(from, to, step / 20.0))) heard.push_back(text);
      if (targets.empty() || targets.back() != engine.GoToIndex())
        targets.push_back(engine.GoToIndex());
    }
  };
  drive({0, 0}, {0, 2});
  drive({0, 2}, {2, 2});
  engine.GuidanceTick();
  EXPECT_EQ(heard, (std::vector<std::string>{"Depart from Current Position", "Turn at 0.00,1.00",
                                             "Arrive at Shop", "Depart from Current Position",
                                             "Turn at 1.00,2.00", "Arrive at Work"}));
  EXPECT_EQ(targets, (std::vector<int>{2, 3, 1}));
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Home", "Shop", "Work"}));
}

TEST_F(EngineTest, GoToOperationsAndTheSwitch) {
  Plan({{"Home", {0, 0}}, {"Shop", {0, 2}}, {"Work", {2, 2}}});
  TickAt({0, 0});
  engine.GuidanceStep(+1);
  engine.GuidanceStep(+1);  // beyond the last: ignored
  engine.GMGoWp(0);
  EXPECT_EQ(engine.GoToIndex(), 3);
  engine.GuidanceStep(-2);
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Current Position", "Home"}));
  // The user re-plans while guided: their new route becomes the journey.
  Plan({{"Beach", {3, 0}}, {"Port", {3, 3}}});
  EXPECT_EQ(engine.GoToWaypoints().size(), 2u);
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Current Position", "Port"}));
  // Switching off puts the user's route back; on again starts from it at the next tick.
  engine.GuidanceSwitchChanged(false);
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Beach", "Port"}));
  EXPECT_FALSE(engine.GoToActive());
  route.Calculate();
  TickAt({3, 0});
  EXPECT_TRUE(engine.GoToActive());
  // "Current Position" first in the user's route: nothing skipped.
  engine.GMStop(true);
  Plan({{"Current Position", {3, 0}}, {"Port", {3, 3}}});
  TickAt({3, 0});
  EXPECT_EQ(engine.GoToIndex(), 1);
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Current Position", "Port"}));
}

TEST_F(EngineTest, FailuresKeepTheUsersRoute) {
  Plan({{"Home", {0, 0}}, {"Work", {0, 3}}});
  route.failWith = "No road near Work";
  TickAt({0, 0});
  EXPECT_TRUE(engine.GoToActive());
  engine.CalcRouteFromHere(true);
  EXPECT_EQ(messages, std::vector<std::string>{"No road near Work"});
  // Each tick tries the leg again rather than taking the half-made leg for the user's route.
  TickAt({0, 0});
  EXPECT_EQ(engine.GoToWaypoints().size(), 2u);
  route.failWith = nullptr;
  EXPECT_EQ(TickAt({0, 0}), std::vector<std::string>{});
  EXPECT_TRUE(route.IsCalculated());
  EXPECT_EQ(TickAt({0, 0}), std::vector<std::string>{"Depart from Current Position"});
  // Off the route where no road can be found: the journey survives to the next attempt.
  setup.bgGuideAutoRecalcOn = true;
  route.failWith = "No road near Current Position";
  TickAt({5, 5});
  route.failWith = nullptr;
  TickAt({5, 5});
  EXPECT_TRUE(route.IsCalculated());
  EXPECT_EQ(engine.GoToWaypoints().size(), 2u);
  engine.GMStop(true);
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Home", "Work"}));
  EXPECT_EQ(engine.GuideBusy(), 0);
  // A host that keeps a waypoint through Clear leaves a leg of three: the warning shows.
  route.keepOnClear = true;
  route.Calculate();
  EXPECT_EQ(TickAt({0, 0}).front(), kMultipleWaypointsWarning);
}

TEST_F(EngineTest, NothingWithoutAFixOrAMap) {
  Plan({{"Home", {0, 0}}, {"Work", {0, 3}}});
  fix.FixMode = gps::kFixModeNoData;
  TickAt({0, 0});
  EXPECT_FALSE(engine.GoToActive());
  fix.FixMode = gps::kFixMode3D;
  GuidanceEngineParts parts = Parts();
  parts.hasMap = [] { return false; };
  GuidanceEngine mapless{parts};
  mapless.GuidanceTick();
  mapless.CalcRouteFromHere(true);
  EXPECT_FALSE(mapless.GoToActive());
}

// The go-to window over the engine: the scroll bar picks the target, the list cannot, the check
// box is the off-track switch, the stop button restores the route and warns until told not to.
// Page Down moving the window's controls: GuidanceWiringTest.
class GoToWindow : public EngineTest {
 protected:
  GoToWindow() { engine.UseGoToView(&window); }
  // The user's route afresh, waypoints one unit apart (no turns between them), and a tick.
  void Journey(const std::vector<std::string>& names) {
    route.Clear();
    double lat = 0;
    for (const std::string& name : names) route.AddWaypoint({lat++, 0}, name);
    route.Calculate();
    engine.GuidanceTick();
  }

  orvo::testing::TempFolder folder;
  settings::SettingsStore store{folder.Path() / "ORVO.ini"};
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  std::vector<int> keys;
  frmGM window{desktop, store, engine, setup,
               GoToOwner{.alwaysOnTop = [] { return true; },
                         .keyUp = [this](int key, int) { keys.push_back(key); }}};
};

TEST_F(GoToWindow, ShowsTheJourneyAndPicksTargetsOnlyByTheScrollBar) {
  Journey({"Home", "Shop", "Work"});
  ASSERT_TRUE(window.Visible());
  EXPECT_TRUE(window.TopMost());
  EXPECT_EQ(window.lstWp.Items(), (std::vector<std::string>{"Home", "Shop", "Work"}));
  EXPECT_EQ(window.scrWpSel.Min(), 1);
  EXPECT_EQ(window.scrWpSel.Max(), 3);
  EXPECT_EQ(window.scrWpSel.Value(), 2);
  EXPECT_EQ(window.lstWp.ListIndex(), 1);
  EXPECT_TRUE(window.cmdGM.Enabled());

  window.scrWpSel.UserChange(3);
  EXPECT_EQ(engine.GoToIndex(), 3);
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Current Position", "Work"}));
  window.lstWp.UserChange(0);
  EXPECT_EQ(window.lstWp.ListIndex(), 2);
  EXPECT_EQ(engine.GoToIndex(), 3);
  window.KeyUp(34, 0);
  EXPECT_EQ(keys, std::vector<int>{34});
}

TEST_F(GoToWindow, TheCheckBoxIsTheOffTrackSwitch) {
  Journey({"Home", "Work"});
  EXPECT_EQ(window.chkAutoCalc.Value(), 0);
  window.chkAutoCalc.UserClick();
  EXPECT_TRUE(setup.bgGuideAutoRecalcOn);
  EXPECT_TRUE(engine.State().offTrackRecalc);
  engine.State().offTrackRecalc = false;  // as a double R does: the box and the setting follow
  engine.UpdateAutoRecalc();
  EXPECT_EQ(window.chkAutoCalc.Value(), 0);
  EXPECT_FALSE(setup.bgGuideAutoRecalcOn);
}

TEST_F(GoToWindow, StopRestoresTheRouteAndWarnsUntilCancelled) {
  for (const host::ui::MsgBoxResult answer :
       {host::ui::MsgBoxResult::Ok, host::ui::MsgBoxResult::Cancel}) {
    Journey({"Home", "Shop", "Work"});
    dialogs.QueueAnswer(answer);
    window.cmdGM.UserClick();
    EXPECT_EQ(route.Names(), (std::vector<std::string>{"Home", "Shop", "Work"}));
    EXPECT_FALSE(engine.GoToActive());
    EXPECT_TRUE(window.lstWp.Items().empty());
    EXPECT_FALSE(window.cmdGM.Enabled());
  }
  EXPECT_EQ(dialogs.Prompts(), std::vector<std::string>(2, kGMStopWarningText));
  EXPECT_EQ(store.GetSetting("GM", "GMStopWarning", "1"), "0");
  Journey({"Home", "Work"});
  window.cmdGM.UserClick();
  EXPECT_EQ(dialogs.Prompts().size(), 2u);
  // A journey of one waypoint (the route from here to Home): one row, a range of one.
  Journey({"Current Position", "Home"});
  EXPECT_EQ(window.lstWp.Items(), std::vector<std::string>{"Home"});
  EXPECT_EQ(window.scrWpSel.Max(), 1);
}

// The engine over a real route across Monaco, calculated by Routino through the map document.
constexpr GeoPoint kLarvotto{43.7455, 7.4345};

class MonacoGuidance : public ::testing::Test {
 protected:
  MonacoGuidance() {
    host_.OpenAtStart(folder_.Path() / "guided.orvomap");
    fix_.FixMode = gps::kFixMode3D;
    route_.AddWaypoint(kCasino, "Casino");
    route_.AddWaypoint(kFontvieille, "Fontvieille");
    route_.Calculate();
  }
  std::vector<std::string> TickAt(const GeoPoint& at) {
    fix_.Latitude = at.latitudeDegrees;
    fix_.Longitude = at.longitudeDegrees;
    const std::size_t before = display_.announced.size();
    engine_.GuidanceTick();
    return display_.Texts(before);
  }
  std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (const host::map::Waypoint& waypoint : route_.Waypoints()) names.push_back(waypoint.name);
    return names;
  }

  orvo::testing::TempFolder folder_;
  host::map::MapHost host_{folder_.Path()};
  host::map::DocumentRoute route_{
      host_,
      host::map::RegionRouter("monaco", host::map::testing::SharedMonaco::Get().RegionsFolder())};
  gps::GpsFix fix_;
  MMSetup setup_{".", host::platform::NumberLocale{}};
  testing::RecordingDisplay display_;
  GuidanceEngine engine_{GuidanceEngineParts{
      .route = &route_,
      .fix = fix_,
      .setup = setup_,
      .unit = [this] { return host_.Unit(); },
      .distance = [this](const GeoPoint& a,
                         const GeoPoint& b) { return host::map::Distance(a, b, host_.Unit()); },
      .display = display_}};
};

TEST_F(MonacoGuidance, ADriveAnnouncesEveryInstructionInOrderAndEndsWithTheUsersRoute) {
  std::vector<std::string> heard = TickAt(kCasino);
  ASSERT_TRUE(engine_.GoToActive());
  ASSERT_TRUE(route_.IsCalculated());
  EXPECT_EQ(Names(), (std::vector<std::string>{"Current Position", "Fontvieille"}));
  std::vector<std::string> expected;
  std::vector<GeoPoint> points;
  for (int position = 1; position <= engine_.GuideDirCount(); ++position) {
    expected.push_back(engine_.GuideDirection(position).text);
    points.push_back(engine_.GuideDirection(position).location);
  }
  ASSERT_GE(expected.size(), 4u);
  for (const GeoPoint& point : points) {
    for (const std::string& text : TickAt(point)) heard.push_back(text);
    EXPECT_GE(engine_.GuideCurIndex(), static_cast<int>(&point - points.data()) + 1);
  }
  EXPECT_EQ(heard, expected);
  EXPECT_EQ(expected.back(), "Arrive at Fontvieille");
  // The arrival is current: the next tick ends the journey, and the user's route is back.
  TickAt(points.back());
  EXPECT_FALSE(engine_.GoToActive());
  EXPECT_EQ(Names(), (std::vector<std::string>{"Casino", "Fontvieille"}));
  EXPECT_EQ(engine_.GuideBusy(), 0);
}

TEST_F(MonacoGuidance, LeavingTheRouteRecalculatesFromTheCurrentPosition) {
  TickAt(kCasino);
  ASSERT_TRUE(route_.IsCalculated());
  setup_.bgGuideAutoRecalcOn = true;
  TickAt(kLarvotto);
  ASSERT_TRUE(route_.IsCalculated());
  EXPECT_EQ(Names(), (std::vector<std::string>{"Current Position", "Fontvieille"}));
  EXPECT_DOUBLE_EQ(route_.Waypoints()[0].location.latitudeDegrees, kLarvotto.latitudeDegrees);
  EXPECT_EQ(engine_.GuideCurIndex(), 0);
  // The new leg starts on the road nearest: its departure is the next announcement.
  setup_.bgGuideUsingDist = true;
  setup_.dgGuideLowDist = 0.3;
  const std::vector<std::string> heard = TickAt(kLarvotto);
  ASSERT_FALSE(heard.empty());
  EXPECT_EQ(heard.front().rfind("Depart from Current Position", 0), 0u) << heard.front();
  engine_.GMStop(true);
  EXPECT_EQ(Names(), (std::vector<std::string>{"Casino", "Fontvieille"}));
}

}  // namespace
}  // namespace orvo::guidance
