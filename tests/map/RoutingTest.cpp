// Routes calculated by Routino over the imported Monaco region.
#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include "host/map/RoutingDatabase.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

constexpr GeoPoint kCasino{43.7397, 7.4275};
constexpr GeoPoint kPortHercule{43.7347, 7.4214};
constexpr GeoPoint kFontvieille{43.7285, 7.4150};

double MetresBetween(const GeoPoint& from, const GeoPoint& to) {
  double metres = 0.0;
  GeographicLib::Geodesic::WGS84().Inverse(from.latitudeDegrees, from.longitudeDegrees,
                                           to.latitudeDegrees, to.longitudeDegrees, metres);
  return metres;
}

class RegionRouting : public ::testing::Test {
 protected:
  std::string CalculateError(const std::vector<GeoPoint>& waypoints, const std::string& profile) {
    try {
      database_.Calculate(waypoints, profile, RoutePreference::Shortest);
    } catch (const RoutingError& error) {
      return error.what();
    }
    return "(calculated without an error)";
  }

  RoutingDatabase database_{OpenRegion("monaco", testing::SharedMonaco::Get().RegionsFolder())};
};

// A route runs from near its first waypoint to near its last, distance and time only grow along
// it, and its length agrees with the geodesic length of its points (Routino rounds each segment
// to metres).
void ExpectWellFormed(const Route& route, const GeoPoint& from, const GeoPoint& to) {
  ASSERT_GE(route.points.size(), 2u);
  EXPECT_LT(MetresBetween(route.points.front().location, from), 150.0);
  EXPECT_LT(MetresBetween(route.points.back().location, to), 150.0);
  double metres = 0.0;
  for (std::size_t index = 1; index < route.points.size(); ++index) {
    EXPECT_GE(route.points[index].distanceKm, route.points[index - 1].distanceKm);
    EXPECT_GE(route.points[index].timeSeconds, route.points[index - 1].timeSeconds);
    metres += MetresBetween(route.points[index - 1].location, route.points[index].location);
  }
  EXPECT_DOUBLE_EQ(route.distanceKm, route.points.back().distanceKm);
  EXPECT_NEAR(metres / 1000.0, route.distanceKm, 0.05 * route.distanceKm + 0.01);
}

TEST_F(RegionRouting, CasinoToPortHerculeAndOnToFontvieille) {
  const std::vector<GeoPoint> waypoints{kCasino, kPortHercule};
  const Route shortest = database_.Calculate(waypoints, "motorcar", RoutePreference::Shortest);
  ExpectWellFormed(shortest, kCasino, kPortHercule);
  // 800 m as the crow flies; one-way streets and hairpins make the drive longer.
  EXPECT_GT(shortest.distanceKm, 0.8);
  EXPECT_LT(shortest.distanceKm, 2.5);
  EXPECT_GT(shortest.timeSeconds, 30.0);
  EXPECT_LT(shortest.timeSeconds, 600.0);

  // Routino's "quickest" weighs time by the profile's preference for each kind of road, so it
  // need not be the faster drive; it is never the shorter one.
  const Route quickest = database_.Calculate(waypoints, "motorcar", RoutePreference::Quickest);
  ExpectWellFormed(quickest, kCasino, kPortHercule);
  EXPECT_GE(quickest.distanceKm, shortest.distanceKm - 0.001);

  // Through several waypoints, each in turn.
  const Route detour =
      database_.Calculate(std::vector<GeoPoint>{kCasino, kPortHercule, kFontvieille}, "motorcar",
                          RoutePreference::Shortest);
  ExpectWellFormed(detour, kCasino, kFontvieille);
  double closestToPortMetres = 1e9;
  for (const RoutePoint& point : detour.points) {
    closestToPortMetres =
        std::min(closestToPortMetres, MetresBetween(point.location, kPortHercule));
  }
  EXPECT_LT(closestToPortMetres, 150.0);
}

TEST_F(RegionRouting, ImpossibleRequestsSayWhatIsWrong) {
  EXPECT_EQ(CalculateError({kCasino}, "motorcar"), "a route needs at least two waypoints");
  const std::string profile = CalculateError({kCasino, kPortHercule}, "hovercraft");
  EXPECT_NE(profile.find("no routing profile \"hovercraft\" (known profiles: "), std::string::npos);
  EXPECT_NE(profile.find("motorcar"), std::string::npos) << profile;
  EXPECT_EQ(CalculateError({kCasino, {48.8584, 2.2945}}, "motorcar"),
            "waypoint 2 (48.858400, 2.294500) has no road near it that a motorcar may use");
}

TEST(Routing, MissingDatabaseOrRoutinoDataIsAClearError) {
  const orvo::testing::TempFolder folder;
  try {
    RoutingDatabase database(folder.Path(), "routino");
    ADD_FAILURE() << "loaded a database from an empty folder";
  } catch (const RoutingError& error) {
    EXPECT_EQ(std::string(error.what()).rfind("no routing database " + folder.Path().string(), 0),
              0u);
  }
  EXPECT_THROW(RoutingDatabase(folder.Path(), "routino", folder.Path() / "nothing"), RoutingError);
}

}  // namespace
}  // namespace orvo::host::map
