// Routes calculated by Routino over the imported Monaco region.
#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include "host/map/RoutingDatabase.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using testing::SharedMonaco;

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
  static void SetUpTestSuite() {
    database_ = new RoutingDatabase(OpenRegion("monaco", SharedMonaco::Get().RegionsFolder()));
  }
  static void TearDownTestSuite() {
    delete database_;
    database_ = nullptr;
  }

  std::string CalculateError(std::vector<GeoPoint> waypoints, const std::string& profile) {
    try {
      database_->Calculate(waypoints, profile, RoutePreference::Shortest);
    } catch (const RoutingError& error) {
      return error.what();
    }
    return "(calculated without an error)";
  }

  static RoutingDatabase* database_;
};
RoutingDatabase* RegionRouting::database_ = nullptr;

// Checks the shape every route has: it runs from near the first waypoint to near the last, and
// distance and time only grow along it.
void ExpectWellFormed(const Route& route, const GeoPoint& from, const GeoPoint& to) {
  ASSERT_GE(route.points.size(), 2u);
  // Routino starts on the nearest road, which in Monaco is never far from a street address.
  EXPECT_LT(MetresBetween(route.points.front().location, from), 150.0);
  EXPECT_LT(MetresBetween(route.points.back().location, to), 150.0);
  EXPECT_DOUBLE_EQ(route.points.front().distanceKm, 0.0);
  for (std::size_t index = 1; index < route.points.size(); ++index) {
    EXPECT_GE(route.points[index].distanceKm, route.points[index - 1].distanceKm);
    EXPECT_GE(route.points[index].timeSeconds, route.points[index - 1].timeSeconds);
  }
  EXPECT_DOUBLE_EQ(route.distanceKm, route.points.back().distanceKm);
  EXPECT_DOUBLE_EQ(route.timeSeconds, route.points.back().timeSeconds);

  // The route's own length agrees with the geodesic length of its points within a few percent
  // (Routino rounds each segment to whole metres).
  double metres = 0.0;
  for (std::size_t index = 1; index < route.points.size(); ++index)
    metres += MetresBetween(route.points[index - 1].location, route.points[index].location);
  EXPECT_NEAR(metres / 1000.0, route.distanceKm, 0.05 * route.distanceKm + 0.01);
}

TEST_F(RegionRouting, CasinoToPortHercule) {
  const std::vector<GeoPoint> waypoints{kCasino, kPortHercule};
  const Route shortest = database_->Calculate(waypoints, "motorcar", RoutePreference::Shortest);
  ExpectWellFormed(shortest, kCasino, kPortHercule);
  // About 800 m as the crow flies; Monaco's one-way streets and hairpins make the drive longer.
  EXPECT_GT(shortest.distanceKm, MetresBetween(kCasino, kPortHercule) / 1000.0);
  EXPECT_LT(shortest.distanceKm, 2.5);
  EXPECT_GT(shortest.timeSeconds, 30.0);
  EXPECT_LT(shortest.timeSeconds, 600.0);

  const Route quickest = database_->Calculate(waypoints, "motorcar", RoutePreference::Quickest);
  ExpectWellFormed(quickest, kCasino, kPortHercule);
  // Routino's "quickest" weighs time by the profile's preference for each kind of road, so it
  // need not be the faster drive; it is never the shorter one.
  EXPECT_GE(quickest.distanceKm, shortest.distanceKm - 0.001);
  EXPECT_LT(quickest.distanceKm, 2.5);

  const Route walking = database_->Calculate(waypoints, "foot", RoutePreference::Shortest);
  ExpectWellFormed(walking, kCasino, kPortHercule);
  EXPECT_LE(walking.distanceKm, shortest.distanceKm + 0.001);  // no one-way streets on foot
}

TEST_F(RegionRouting, RouteThroughSeveralWaypointsVisitsEachInTurn) {
  const std::vector<GeoPoint> direct{kCasino, kFontvieille};
  const std::vector<GeoPoint> viaPort{kCasino, kPortHercule, kFontvieille};
  const Route straight = database_->Calculate(direct, "motorcar", RoutePreference::Shortest);
  const Route detour = database_->Calculate(viaPort, "motorcar", RoutePreference::Shortest);
  ExpectWellFormed(detour, kCasino, kFontvieille);
  EXPECT_GE(detour.distanceKm, straight.distanceKm - 0.001);
  double closestToPortMetres = 1e9;
  for (const RoutePoint& point : detour.points)
    closestToPortMetres =
        std::min(closestToPortMetres, MetresBetween(point.location, kPortHercule));
  EXPECT_LT(closestToPortMetres, 150.0);
}

TEST_F(RegionRouting, ImpossibleRequestsSayWhatIsWrong) {
  EXPECT_NE(CalculateError({kCasino}, "motorcar").find("at least two waypoints"),
            std::string::npos);
  const std::string profile = CalculateError({kCasino, kPortHercule}, "hovercraft");
  EXPECT_NE(profile.find("no routing profile \"hovercraft\""), std::string::npos) << profile;
  EXPECT_NE(profile.find("motorcar"), std::string::npos) << profile;  // the known ones listed

  const GeoPoint paris{48.8584, 2.2945};
  const std::string far = CalculateError({kCasino, paris}, "motorcar");
  EXPECT_NE(far.find("waypoint 2 (48.858400, 2.294500) has no road near it"), std::string::npos)
      << far;
}

TEST_F(RegionRouting, KnowsRoutinosProfiles) {
  const auto names = database_->ProfileNames();
  for (const char* name : {"motorcar", "foot", "bicycle"})
    EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
}

TEST(Routing, MissingDatabaseOrRoutinoDataIsAClearError) {
  testing::TemporaryFolder folder;
  try {
    RoutingDatabase database(folder.path(), "routino");
    FAIL() << "loaded a database from an empty folder";
  } catch (const RoutingError& error) {
    EXPECT_NE(std::string(error.what()).find("no routing database " + folder.path().string()),
              std::string::npos)
        << error.what();
  }
  EXPECT_THROW(RoutingDatabase(folder.path(), "routino", folder.path() / "no-routino-here"),
               RoutingError);
}

}  // namespace
}  // namespace orvo::host::map
