// Routes calculated by Routino over the Monaco region, seen through the active route: the
// directions tree, the three preferences, stops, failures, the after-calculation event, the
// route exchanged as GPX and JSON, and `orvo route`.
#include <gtest/gtest.h>

#include <sstream>

#include <nlohmann/json.hpp>

#include "host/map/DocumentRoute.hpp"
#include "host/map/Gpx.hpp"
#include "host/map/MapGeometry.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using testing::kCasino;
using testing::kFontvieille;

constexpr GeoPoint kPortHercule{43.7347, 7.4214};
constexpr GeoPoint kAtSea{43.7000, 7.4700};

class MonacoRoute : public ::testing::Test {
 protected:
  MonacoRoute() {
    host_.OpenAtStart(folder_.Path() / "route.orvomap");
    route_.onAfterCalculate = [this] {
      ++events_;
      calculatedDuringEvent_ = route_.IsCalculated();
    };
  }

  void Plan(const std::vector<std::pair<std::string, GeoPoint>>& waypoints,
            SegmentPreference preference = SegmentPreference::Quickest) {
    route_.Clear();
    for (const auto& [name, location] : waypoints) {
      const std::size_t position = route_.AddWaypoint(location, name);
      route_.SetSegmentPreference(position, preference);
    }
  }

  static std::string FailureOf(DocumentRoute& route) {
    try {
      route.Calculate();
    } catch (const RouteError& error) {
      return error.what();
    }
    return "(calculated)";
  }
  std::string FailureOf(const std::vector<std::pair<std::string, GeoPoint>>& waypoints) {
    Plan(waypoints);
    return FailureOf(route_);
  }

  // Depart first, arrive last, one waypoint direction per waypoint, steps adding up to the
  // route, times never going back, every instruction with a text and a driving action.
  void ExpectWellFormed(std::size_t waypointCount) {
    ASSERT_TRUE(route_.IsCalculated());
    const std::vector<Direction> tree = route_.Directions();
    ASSERT_EQ(tree.size(), waypointCount);
    std::vector<const Direction*> flat;  // in the order they are driven
    for (const Direction& waypoint : tree) {
      flat.push_back(&waypoint);
      EXPECT_EQ(waypoint.type, DirectionType::Waypoint) << waypoint.text;
      for (const Direction& step : waypoint.nested) {
        flat.push_back(&step);
        EXPECT_EQ(step.type, DirectionType::Driving) << step.text;
        EXPECT_NE(step.action, DirectionAction::Depart) << step.text;
        EXPECT_NE(step.action, DirectionAction::Arrive) << step.text;
        EXPECT_TRUE(step.nested.empty()) << step.text;
      }
    }
    EXPECT_EQ(flat.front()->action, DirectionAction::Depart);
    EXPECT_EQ(flat.back()->action, DirectionAction::Arrive);
    double distance = 0.0;
    for (std::size_t index = 0; index < flat.size(); ++index) {
      distance += flat[index]->distance;
      EXPECT_FALSE(flat[index]->text.empty());
      EXPECT_GE(flat[index]->timeSeconds, index > 0 ? flat[index - 1]->timeSeconds : 0.0);
    }
    EXPECT_NEAR(distance, route_.Distance(), 1e-9);
    for (std::size_t index = 1; index < tree.size(); ++index)
      EXPECT_GT(tree[index].timeSeconds, tree[index - 1].timeSeconds);
    EXPECT_DOUBLE_EQ(tree.back().timeSeconds, route_.TimeSeconds());
  }

  orvo::testing::TempFolder folder_;
  MapHost host_{folder_.Path()};
  DocumentRoute route_{host_, RegionRouter("monaco", testing::SharedMonaco::Get().RegionsFolder())};
  int events_ = 0;
  bool calculatedDuringEvent_ = false;
};

TEST_F(MonacoRoute, AcrossMonacoInEveryPreferenceAndUnit) {
  std::map<SegmentPreference, double> kmBy;
  for (const auto& [preference, unit] :
       {std::pair{SegmentPreference::Quickest, DistanceUnit::Kilometres},
        std::pair{SegmentPreference::Shortest, DistanceUnit::Miles},
        std::pair{SegmentPreference::Preferred, DistanceUnit::Kilometres}}) {
    SCOPED_TRACE(static_cast<int>(preference));
    host_.SetUnit(unit);
    Plan({{"Casino", kCasino}, {"Fontvieille", kFontvieille}}, preference);
    route_.Calculate();
    ExpectWellFormed(2);
    // Again, with the road points found the first time.
    const double first = route_.Distance();
    route_.Calculate();
    EXPECT_EQ(route_.Distance(), first);
    // 1.8 km as the crow flies; the roads wind.
    const double km = route_.Distance() * (unit == DistanceUnit::Miles ? 1.609344 : 1.0);
    kmBy[preference] = km;
    EXPECT_GT(km, 1.8);
    EXPECT_LT(km, 4.0);
    const std::vector<Direction> tree = route_.Directions();
    EXPECT_EQ(tree[0].text.rfind("Depart from Casino and head ", 0), 0u) << tree[0].text;
    EXPECT_EQ(tree[0].target, "Fontvieille");
    EXPECT_EQ(tree[1].text, "Arrive at Fontvieille");
    EXPECT_LT(GeodesicDistanceMetres(tree[0].location, kCasino), 150.0);
    EXPECT_LT(GeodesicDistanceMetres(tree[1].location, kFontvieille), 150.0);
  }
  // Routino's quickest weighs time by the kind of road: never the shorter drive.
  EXPECT_GE(kmBy[SegmentPreference::Quickest], kmBy[SegmentPreference::Shortest] - 0.001);
  EXPECT_EQ(events_, 6);
  EXPECT_TRUE(calculatedDuringEvent_);
}

TEST_F(MonacoRoute, KnownJunctionsGetTheirActions) {
  Plan({{"Casino", kCasino}, {"Fontvieille", kFontvieille}});
  route_.Calculate();
  std::map<std::string, DirectionAction> actions;
  const std::vector<Direction> tree = route_.Directions();
  for (const Direction& direction : tree[0].nested) actions[direction.text] = direction.action;
  const std::vector<std::pair<std::string, DirectionAction>> expected = {
      {"Turn left onto Boulevard des Moulins", DirectionAction::TurnLeft},
      {"Turn right onto Avenue Princesse Alice", DirectionAction::TurnRight},
      {"At Giratoire Aureglia take the 2nd exit onto Tunnel Dorsale",
       DirectionAction::EnterRoundabout},
      {"Exit the roundabout onto Tunnel Dorsale", DirectionAction::ExitRoundabout},
      {"Continue onto Avenue de Fontvieille", DirectionAction::Continue},
  };
  for (const auto& [text, action] : expected) {
    ASSERT_TRUE(actions.contains(text)) << text;
    EXPECT_EQ(actions[text], action) << text;
  }
}

TEST_F(MonacoRoute, AStopArrivesAndLeavesAndEditsMakeTheRouteUncalculated) {
  Plan({{"Casino", kCasino}, {"Port", kPortHercule}, {"Fontvieille", kFontvieille}});
  route_.Calculate();
  ExpectWellFormed(3);
  const std::vector<Direction> tree = route_.Directions();
  EXPECT_EQ(tree[1].action, DirectionAction::Arrive);
  EXPECT_EQ(tree[1].text.rfind("Stop at Port, then head ", 0), 0u) << tree[1].text;
  EXPECT_EQ(tree[1].target, "Fontvieille");
  EXPECT_LT(GeodesicDistanceMetres(tree[1].location, kPortHercule), 150.0);

  const std::vector<std::pair<const char*, std::function<void()>>> edits = {
      {"add", [&] { route_.AddWaypoint(kCasino, "Back"); }},
      {"delete", [&] { route_.DeleteWaypoint(3); }},
      {"move", [&] { route_.MoveWaypoint(2, 1); }},
      {"rename", [&] { route_.RenameWaypoint(0, "Place du Casino"); }},
      {"type", [&] { route_.SetWaypointType(1, WaypointType::End); }},
      {"preference", [&] { route_.SetSegmentPreference(0, SegmentPreference::Shortest); }},
      {"departure", [&] { route_.SetPreferredDeparture(0, 60.0); }},
      {"optimize",
       [&] {
         // Fontvieille before the port makes the drive double back.
         Plan({{"Casino", kCasino},
               {"Fontvieille", kFontvieille},
               {"Port", kPortHercule},
               {"Fontvieille west", {43.7270, 7.4120}}});
         route_.Calculate();
         EXPECT_FALSE(route_.IsOptimized());
         route_.Optimize();
         EXPECT_TRUE(route_.IsOptimized());
         EXPECT_EQ(testing::Names(host_.ActiveMap()->Plan()),
                   (std::vector<std::string>{"Casino", "Port", "Fontvieille", "Fontvieille west"}));
       }},
      {"clear", [&] { route_.Clear(); }},
  };
  for (const auto& [what, edit] : edits) {
    if (route_.Waypoints().size() >= 2) route_.Calculate();
    edit();
    EXPECT_FALSE(route_.IsCalculated()) << what;
    EXPECT_TRUE(route_.Directions().empty()) << what;
    EXPECT_EQ(route_.Distance(), 0.0) << what;
  }
}

TEST_F(MonacoRoute, ImpossibleRoutesSayWhy) {
  const int before = events_;
  EXPECT_EQ(FailureOf({{"Casino", kCasino}, {"Sea", kAtSea}}),
            "No road a car can use is near the waypoint \"Sea\" (43.700000, 7.470000).");
  EXPECT_NE(FailureOf({{"Sea", kAtSea}, {"Casino", kCasino}}).find("\"Sea\""), std::string::npos);
  EXPECT_EQ(FailureOf({{"Casino", kCasino}}), "A route needs at least two waypoints.");
  EXPECT_FALSE(route_.IsCalculated());
  EXPECT_EQ(events_, before);
  host_.CloseMap();
  EXPECT_THROW(route_.Calculate(), RouteError);
  EXPECT_THROW(route_.Waypoints(), RouteError);

  // No region: said when calculating, and found once it is there.
  const orvo::testing::TempFolder regions;
  DocumentRoute later(host_, RegionRouter("monaco", regions.Path()));
  host_.OpenAtStart(folder_.Path() / "route.orvomap");
  later.AddWaypoint(kCasino, "Casino");
  later.AddWaypoint(kFontvieille, "Fontvieille");
  EXPECT_NE(FailureOf(later).find("there is no region \"monaco\""), std::string::npos);
  // A region whose routing database is gone: said too.
  const std::filesystem::path folder = regions.Path() / "monaco";
  std::filesystem::create_directory(folder);
  std::filesystem::copy_file(testing::SharedMonaco::Get().Folder() / "region.json",
                             folder / "region.json");
  EXPECT_NE(FailureOf(later).find("no routing database"), std::string::npos);
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory_symlink(testing::SharedMonaco::Get().Folder(), folder);
  later.Calculate();
  EXPECT_TRUE(later.IsCalculated());
}

// The route exchanged with other programs: `orvo map route` shows it while ORVO holds the document,
// and exported as GPX, gpsbabel reads it and it comes back as the same route.
TEST_F(MonacoRoute, ACalculatedRouteGoesOutWithItsDirectionsAndRoadAndComesBackAsTheSameRoute) {
  Plan({{"Casino", kCasino}, {"Fontvieille", kFontvieille}});
  route_.Calculate();
  host_.Flush();
  const RouteCalculation calculated = *host_.ActiveMap()->Plan().Calculation();
  std::size_t directionCount = 0;
  for (const Direction& waypoint : calculated.directions)
    directionCount += 1 + waypoint.nested.size();  // its steps: two levels only
  ASSERT_GE(directionCount, 4u);

  const auto file = folder_.Path() / "route.orvomap";
  const auto shown = orvo::testing::RunOrvo({"map", "route", "--map", file.string()});
  ASSERT_EQ(shown.exitCode, 0) << shown.err;
  const auto json = nlohmann::json::parse(shown.out);
  EXPECT_EQ(json["waypoints"][1]["type"], "end");
  EXPECT_DOUBLE_EQ(json["distanceKm"].get<double>(), calculated.distanceKm);
  EXPECT_EQ(json["directions"][1]["nested"].size(), 0u);  // the end's: nothing after it
  EXPECT_EQ(json["directions"][0]["nested"].size(), calculated.directions[0].nested.size());

  const auto gpx = folder_.Path() / "routed.gpx";
  const auto exported =
      orvo::testing::RunOrvo({"map", "export", "--map", file.string(), gpx.string()});
  ASSERT_EQ(exported.exitCode, 0) << exported.err;
  // After gpsbabel's header: the waypoints' route, then every direction in order, then the road
  // as a track.
  std::vector<std::string> lines;
  std::istringstream routePoints(testing::Gpsbabel(gpx, "-r"));
  for (std::string line; std::getline(routePoints, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 1 + 2 + directionCount);
  EXPECT_NE(lines[3].find(calculated.directions[0].text), std::string::npos);
  EXPECT_NE(lines.back().find("Arrive at Fontvieille"), std::string::npos);
  const std::string track = testing::Gpsbabel(gpx, "-t");
  EXPECT_EQ(static_cast<std::size_t>(std::count(track.begin(), track.end(), '\n')),
            1 + calculated.path.size());

  // Read back into another map, the waypoints' route is the route again (not the directions).
  MapDocument other(folder_.Path() / "other.orvomap");
  ASSERT_EQ(ImportGpxRoute(other.Plan(), gpx), 2u);
  EXPECT_EQ(testing::Names(other.Plan()), (std::vector<std::string>{"Casino", "Fontvieille"}));
  EXPECT_DOUBLE_EQ(other.Plan().Waypoints()[1].location.latitudeDegrees,
                   kFontvieille.latitudeDegrees);
}

TEST(RouteCommand, PrintsTheDirectionsAsJsonAndFailsClearly) {
  const orvo::testing::Environment environment{
      {"XDG_DATA_HOME", testing::SharedMonaco::Get().DataHome().string()}};
  const auto run =
      orvo::testing::RunOrvo({"route", "43.7397,7.4275", "43.7347,7.4214", "43.7285,7.4150",
                              "--unit", "mi", "--preference", "shortest"},
                             environment);
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const nlohmann::json json = nlohmann::json::parse(run.out);
  EXPECT_EQ(json["unit"], "mi");
  ASSERT_EQ(json["directions"].size(), 3u);
  const nlohmann::json& first = json["directions"][0];
  EXPECT_EQ(first["action"], 1);
  EXPECT_EQ(first["type"], 9);
  EXPECT_GT(first["nested"].size(), 1u);
  EXPECT_LT(json["distance"].get<double>(), 4.0 / 1.609344);

  // The arguments, the exit code, and a part of the message.
  const std::vector<std::tuple<std::vector<std::string>, int, std::string>> cases = {
      {{"route", "43.7397,7.4275"}, 2, "a route needs at least two points"},
      {{"route", "43.7397,7.4275", "north"}, 2, "\"north\" is not a point LAT,LON"},
      {{"route", "1,2", "3,4", "--preference", "scenic"}, 2, "--preference is quickest"},
      {{"route", "1,2", "3,4", "--region", "atlantis"}, 1, "no region \"atlantis\""},
  };
  for (const auto& [arguments, exitCode, message] : cases) {
    const auto failed = orvo::testing::RunOrvo(arguments, environment);
    EXPECT_EQ(failed.exitCode, exitCode) << message;
    EXPECT_NE(failed.err.find(message), std::string::npos) << failed.err;
    EXPECT_TRUE(failed.out.empty());
  }
}

}  // namespace
}  // namespace orvo::host::map
