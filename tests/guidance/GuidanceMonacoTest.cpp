// The guidance engine over a real route across Monaco, calculated by Routino through the map
// document: a drive from instruction to instruction, leaving the route, and the user's route
// back at the end.
#include <gtest/gtest.h>

#include "guidance/GuidanceEngine.hpp"
#include "host/map/DocumentRoute.hpp"
#include "host/map/MapGeometry.hpp"
#include "tests/guidance/GuidanceFakes.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::guidance {
namespace {

using host::map::GeoPoint;
using host::map::testing::kCasino;
using host::map::testing::kFontvieille;

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
