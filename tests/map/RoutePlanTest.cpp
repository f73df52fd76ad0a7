// The active route without a region: editing the waypoints, their types, the best order of the
// stops, the route surviving a restart and an older file, a route read from GPX, and directions
// from made-up legs.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "host/map/DocumentRoute.hpp"
#include "host/map/Gpx.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/RouteDirections.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using testing::kCasino;
using testing::kFontvieille;
using testing::Names;

TEST(RoutePlan, EditsKeepTypesByPositionAndReportEachRealChange) {
  using enum WaypointType;
  // Each edit of the route A, B, C, D, and the names it leaves.
  using Edit = std::function<void(RoutePlan&)>;
  static const std::vector<std::size_t> kSwapBAndC{0, 2, 1, 3};
  const std::vector<std::tuple<const char*, Edit, std::vector<std::string>>> cases = {
      {"end to the front", [](RoutePlan& p) { p.Move(3, 0); }, {"D", "A", "B", "C"}},
      {"start back", [](RoutePlan& p) { p.Move(0, 2); }, {"B", "C", "A", "D"}},
      {"delete a stop", [](RoutePlan& p) { p.Delete(1); }, {"A", "C", "D"}},
      {"stop to start", [](RoutePlan& p) { p.SetType(2, Start); }, {"C", "A", "B", "D"}},
      {"start to end", [](RoutePlan& p) { p.SetType(0, End); }, {"B", "C", "D", "A"}},
      {"start to stop", [](RoutePlan& p) { p.SetType(0, Stop); }, {"B", "A", "C", "D"}},
      {"end to stop", [](RoutePlan& p) { p.SetType(3, Stop); }, {"A", "B", "D", "C"}},
      {"reorder", [](RoutePlan& p) { p.Reorder(kSwapBAndC); }, {"A", "C", "B", "D"}},
      {"an unnamed waypoint takes the lowest free number",
       [](RoutePlan& p) {
         p.Add({43.7, 7.4}, "");
         p.Add({43.7, 7.4}, "");
         p.Delete(4);
         p.Add({43.7, 7.4}, "");
       },
       {"A", "B", "C", "D", "Waypoint 2", "Waypoint 1"}},
  };
  for (const auto& [what, edit, names] : cases) {
    int changes = 0;
    RoutePlan plan([&changes] { ++changes; });
    for (const char* name : {"A", "B", "C", "D"}) plan.Add({43.7, 7.4}, name);
    changes = 0;
    edit(plan);
    EXPECT_EQ(Names(plan), names) << what;
    EXPECT_GE(changes, 1) << what;
    const auto& waypoints = plan.Waypoints();
    EXPECT_EQ(waypoints.front().type, Start) << what;
    EXPECT_EQ(waypoints.back().type, End) << what;
    for (std::size_t index = 1; index + 1 < waypoints.size(); ++index)
      EXPECT_EQ(waypoints[index].type, Stop) << what;
  }

  // What changes nothing reports nothing; what is impossible says so.
  int changes = 0;
  RoutePlan plan([&changes] { ++changes; });
  plan.Add({43.7, 7.4}, "A");
  plan.Add({43.7, 7.5}, "B");
  changes = 0;
  plan.Rename(0, "A");
  plan.Move(1, 1);
  plan.SetType(0, Start);
  plan.SetType(1, Stop);  // two waypoints have no room for a stop
  plan.SetPreference(0, SegmentPreference::Quickest);
  plan.Reorder({0, 1});
  EXPECT_EQ(changes, 0);
  EXPECT_THROW(plan.Delete(2), RouteError);
  EXPECT_THROW(plan.Move(0, 5), RouteError);
  EXPECT_THROW(plan.Rename(0, ""), RouteError);
  EXPECT_THROW(plan.Reorder({0, 0}), RouteError);
  EXPECT_THROW(plan.Reorder({0}), RouteError);
  EXPECT_THROW(plan.Add({91.0, 7.4}, "off the globe"), RouteError);
  EXPECT_THROW(plan.SetPreference(0, static_cast<SegmentPreference>(7)), RouteError);
}

TEST(RoutePlan, BestStopOrderKeepsTheEndsAndFindsTheShortestDrive) {
  // Points on a line at these positions: the best order visits them from left to right.
  const auto line = [](std::vector<double> at) {
    std::vector<std::vector<double>> cost(at.size(), std::vector<double>(at.size()));
    for (std::size_t a = 0; a < at.size(); ++a)
      for (std::size_t b = 0; b < at.size(); ++b) cost[a][b] = std::abs(at[a] - at[b]);
    return cost;
  };
  // The positions, and the order that visits them.
  const std::vector<std::pair<std::vector<double>, std::vector<std::size_t>>> cases = {
      {{0, 3, 1, 2, 9}, {0, 2, 3, 1, 4}},
      {{0, 2, 1}, {0, 1, 2}},  // one stop: nothing to order
      // More stops than are searched exactly: still the line's order.
      {{0, 7, 3, 9, 1, 5, 2, 8, 4, 6, 10, 11}, {0, 4, 6, 2, 8, 5, 9, 1, 7, 3, 10, 11}},
  };
  for (const auto& [positions, order] : cases) EXPECT_EQ(BestStopOrder(line(positions)), order);

  // One-way costs: the exact search follows them.
  const std::vector<std::vector<double>> oneWay = {
      {0, 1, 9, 9, 9}, {9, 0, 9, 1, 9}, {9, 9, 0, 9, 1}, {9, 9, 1, 0, 9}, {9, 9, 9, 9, 0}};
  EXPECT_EQ(BestStopOrder(oneWay), (std::vector<std::size_t>{0, 1, 3, 2, 4}));
}

struct RouteDocument : ::testing::Test {
  orvo::testing::TempFolder folder;
  fs::path file = folder.Path() / "route.orvomap";
};

TEST_F(RouteDocument, TheRouteSurvivesReopeningAndOlderDocumentsGainOne) {
  {
    MapHost host(folder.Path());
    host.OpenAtStart(file);
    RoutePlan& plan = host.ActiveMap()->Plan();
    plan.Add({43.7397, 7.4275}, "Casino");
    plan.Add({43.7285, 7.4150}, "Fontvieille");
    plan.SetPreference(0, SegmentPreference::Preferred);
    plan.SetPreferredDeparture(1, 3600.5);
    Direction turn;
    turn.text = "Turn left onto Rue Grimaldi";
    turn.action = DirectionAction::TurnLeft;
    turn.distance = 1.0;
    Direction depart;
    depart.target = "Fontvieille";
    depart.nested = {turn};
    plan.SetCalculation({{depart}, {{43.7397, 7.4275}, {43.7285, 7.4150}}, 2.5, 120});
    host.ActiveMap()->Flush();
    // Another process reads the flushed route.
    const MapDocument reader(file, MapDocument::Access::ReadOnly);
    EXPECT_EQ(Names(reader.Plan()), (std::vector<std::string>{"Casino", "Fontvieille"}));
    EXPECT_THROW(const_cast<MapDocument&>(reader).Plan(), MapError);
  }
  MapHost host(folder.Path());
  host.OpenAtStart(file);
  const RoutePlan& plan = std::as_const(*host.ActiveMap()).Plan();
  ASSERT_EQ(plan.Count(), 2u);
  EXPECT_EQ(plan.Waypoints()[0].preference, SegmentPreference::Preferred);
  EXPECT_EQ(plan.Waypoints()[1].preferredDeparture, 3600.5);
  EXPECT_EQ(plan.Waypoints()[1].type, WaypointType::End);
  ASSERT_TRUE(plan.IsCalculated());
  const RouteCalculation& read = *plan.Calculation();
  EXPECT_EQ(read.path.size(), 2u);
  ASSERT_EQ(read.directions.size(), 1u);
  ASSERT_EQ(read.directions[0].nested.size(), 1u);
  EXPECT_EQ(read.directions[0].nested[0].text, "Turn left onto Rue Grimaldi");
  EXPECT_EQ(read.directions[0].nested[0].action, DirectionAction::TurnLeft);
  EXPECT_EQ(read.directions[0].target, "Fontvieille");

  // The host's unit applies when the directions are handed out.
  DocumentRoute route(host, []() -> RoutingDatabase& { throw RouteError("no routing here"); });
  host.SetUnit(DistanceUnit::Miles);
  EXPECT_NEAR(route.Distance(), 2.5 / 1.609344, 1e-9);
  EXPECT_NEAR(route.Directions()[0].nested[0].distance, 1.0 / 1.609344, 1e-9);
  EXPECT_NO_THROW(route.Optimize()) << "two waypoints are in order already";
  EXPECT_THROW(route.Calculate(), RouteError);
  EXPECT_TRUE(route.IsCalculated()) << "a failed calculation keeps the last one";
}

TEST_F(RouteDocument, AFormatOneDocumentKeepsItsPinsAndGainsARoute) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database,
                         "CREATE TABLE pushpin (id INTEGER PRIMARY KEY AUTOINCREMENT,"
                         " name TEXT NOT NULL, latitude REAL NOT NULL, longitude REAL NOT NULL,"
                         " symbol INTEGER NOT NULL, note TEXT NOT NULL, balloon INTEGER NOT NULL);"
                         "INSERT INTO pushpin VALUES (1, 'old pin', 43.7, 7.4, 3, '', 0);"
                         "PRAGMA application_id = 1330796111; PRAGMA user_version = 1;",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);
  {
    const MapDocument reader(file, MapDocument::Access::ReadOnly);
    EXPECT_EQ(reader.PushpinCount(), 1u);
    EXPECT_EQ(reader.Plan().Count(), 0u);
  }
  {
    MapDocument document(file);
    EXPECT_TRUE(document.FindPushpin("old pin"));
    document.Plan().Add({43.7, 7.4}, "new waypoint");
  }
  const MapDocument reader(file, MapDocument::Access::ReadOnly);
  EXPECT_EQ(Names(reader.Plan()), std::vector<std::string>{"new waypoint"});
  EXPECT_EQ(reader.PushpinCount(), 1u);
}

std::string Gpx(const std::string& body) {
  return "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\" "
         "xmlns=\"http://www.topografix.com/GPX/1/1\">" +
         body + "</gpx>\n";
}

TEST_F(RouteDocument, AGpxImportTakesTheFirstRouteElseTheWaypointsAndKeepsTheRouteOnBadInput) {
  struct Case {
    const char* what;
    std::string text;
    std::vector<std::string> names;  // empty: refused
    const char* message = "";
  };
  const std::string rte =
      "<rte><rtept lat=\"43.73\" lon=\"7.42\"><name>Fish &amp; Chips</name></rtept>"
      "<rtept lat=\" 43.74 \" lon=\"7.43\"/><rtept lat=\"-43.75\" lon=\"-7.44\">"
      "<name>End</name></rtept></rte>";
  const std::vector<Case> cases = {
      {"the first route with points, before waypoints and an empty route",
       Gpx("<wpt lat=\"1\" lon=\"2\"><name>W</name></wpt><rte><name>empty</name></rte>" + rte),
       {"Fish & Chips", "Waypoint 1", "End"}},
      {"waypoints without a route",
       Gpx("<wpt lat=\"43.7\" lon=\"7.4\"><name>A</name></wpt><wpt lat=\"43.8\" "
           "lon=\"7.5\"><name>B</name></wpt>"),
       {"A", "B"}},
      {"not XML", "<gpx><rte>", {}, "(line"},
      {"not GPX", "<kml><Placemark/></kml>", {}, "not a GPX file"},
      {"nothing in it", Gpx("<trk/>"), {}, "no route and no waypoints"},
      {"a latitude off the globe",
       Gpx("<rte><rtept lat=\"43\" lon=\"7\"/><rtept lat=\"95\" lon=\"7\"/></rte>"),
       {},
       "point 2 (lat \"95\", lon \"7\") is not a place on the globe"},
  };
  MapDocument map(file);
  const auto gpx = folder.Path() / "route.gpx";
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    map.Plan().Clear();
    map.Plan().Add(kCasino, "Kept");
    map.Plan().Add(kFontvieille, "Also kept");
    testing::WriteFile(gpx, c.text);
    if (c.names.empty()) {
      try {
        ImportGpxRoute(map.Plan(), gpx);
        ADD_FAILURE() << "imported";
      } catch (const GpxError& error) {
        EXPECT_NE(std::string(error.what()).find(c.message), std::string::npos) << error.what();
      }
      EXPECT_EQ(Names(map.Plan()), (std::vector<std::string>{"Kept", "Also kept"}));
      continue;
    }
    EXPECT_EQ(ImportGpxRoute(map.Plan(), gpx), c.names.size());
    EXPECT_EQ(Names(map.Plan()), c.names);
  }
  EXPECT_THROW(ImportGpxRoute(map.Plan(), folder.Path() / "missing.gpx"), GpxError);
}

// Directions from made-up Routino legs: each junction kind and turn angle to its action and
// words, without a region.
TEST(RouteDirections, JunctionKindsAndTurnAnglesGiveActionsAndWords) {
  struct Case {
    RoutePointKind kind;
    int turn;
    const char* road;
    double kmPerHourAfter;  // the profile's speed on the road after the junction
    DirectionAction action;
    const char* text;  // empty: no instruction
  };
  using enum RoutePointKind;
  using A = DirectionAction;
  const std::vector<Case> cases = {
      {Junction, 10, "Avenue du Port", 50, A::Continue, ""},  // straight on, same road
      {HighwayChange, -5, "primary road", 50, A::Continue, ""},
      {Junction, -40, "Rue Grimaldi", 50, A::BearLeft, "Bear left onto Rue Grimaldi"},
      {Junction, 60, "Avenue du Port", 50, A::BearRight, "Bear right to stay on Avenue du Port"},
      {Junction, 100, "service road", 50, A::TurnRight, "Turn right"},
      {Junction, -150, "Rue Grimaldi", 50, A::TurnLeft, "Turn sharp left onto Rue Grimaldi"},
      {UTurn, 180, "Avenue du Port", 50, A::TurnBack, "Make a U-turn"},
      {UTurn, 180, "Rue Grimaldi", 50, A::TurnBack, "Make a U-turn onto Rue Grimaldi"},
      {MiniRoundabout, -80, "Rue Grimaldi", 50, A::EnterRoundabout,
       "At the mini-roundabout turn left onto Rue Grimaldi"},
      {Junction, 15, "La Provençale (A8)", 112, A::Merge, "Merge onto La Provençale (A8)"},
      {Junction, 30, "motorway", 112, A::Merge, "Merge onto the motorway"},
      {Junction, 90, "La Provençale (A8)", 112, A::TurnRight, "Turn right onto La Provençale (A8)"},
      {JunctionContinue, 40, "Rue Grimaldi", 50, A::Other, ""},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.text);
    // Along Avenue du Port for 1 km at 50 km/h, the junction, then 1 km on.
    Route leg;
    const double secondsAfter = 3600.0 / test.kmPerHourAfter;
    leg.points = {{{43.730, 7.420}, 0.0, 0.0, Waypoint, 0, 90, "Avenue du Port"},
                  {{43.730, 7.432}, 1.0, 72.0, test.kind, test.turn, 0, test.road},
                  {{43.739, 7.432}, 2.0, 72.0 + secondsAfter, Waypoint, 0, 0, ""}};
    leg.distanceKm = 2.0;
    leg.timeSeconds = 72.0 + secondsAfter;
    std::vector<map::Waypoint> waypoints(2);
    waypoints[0].name = "Port";
    waypoints[1].name = "Casino";
    const RouteCalculation route = BuildDirections(waypoints, std::span(&leg, 1));
    ASSERT_EQ(route.directions.size(), 2u);
    EXPECT_EQ(route.directions[0].text, "Depart from Port and head east on Avenue du Port");
    const std::vector<Direction>& steps = route.directions[0].nested;
    if (*test.text == '\0') {
      EXPECT_TRUE(steps.empty());
      EXPECT_DOUBLE_EQ(route.directions[0].distance, 2.0);
      continue;
    }
    ASSERT_EQ(steps.size(), 1u);
    EXPECT_EQ(steps[0].text, test.text);
    EXPECT_EQ(steps[0].action, test.action);
    EXPECT_DOUBLE_EQ(route.directions[0].distance + steps[0].distance, 2.0);
    EXPECT_DOUBLE_EQ(steps[0].timeSeconds, 72.0);
  }
}

}  // namespace
}  // namespace orvo::host::map
