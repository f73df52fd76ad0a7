// One guidance tick on routes of growing length, once the vehicle has driven half of it: the
// search looks a few places around the last announcement, so the time should not grow with the
// route. Target: under 0.1 ms a tick.
#include <benchmark/benchmark.h>

#include "guidance/GuidanceEngine.hpp"
#include "host/map/MapGeometry.hpp"
#include "tests/guidance/GuidanceFakes.hpp"

namespace {

using namespace orvo;
using host::map::GeoPoint;

constexpr double kLatitude = 43.7;
constexpr double kTurnSpacing = 0.001;  // degrees of longitude, about 80 m

void GuidanceTick(benchmark::State& state) {
  const auto turns = static_cast<int>(state.range(0));
  guidance::testing::FakeRoute route;
  route.turnsAt = [turns](GeoPoint from, GeoPoint) {
    std::vector<GeoPoint> points;
    for (int i = 1; i <= turns; ++i)
      points.push_back({kLatitude, from.longitudeDegrees + i * kTurnSpacing});
    return points;
  };
  gps::GpsFix fix;
  fix.FixMode = gps::kFixMode3D;
  fix.Latitude = kLatitude;
  fix.Longitude = 7.0;
  guidance::MMSetup setup{".", host::platform::NumberLocale{}};
  guidance::testing::RecordingDisplay display;
  guidance::GuidanceEngine engine{guidance::GuidanceEngineParts{
      .route = &route,
      .fix = fix,
      .setup = setup,
      .unit = [] { return host::map::DistanceUnit::Kilometres; },
      .distance =
          [](const GeoPoint& a, const GeoPoint& b) {
            return host::map::Distance(a, b, host::map::DistanceUnit::Kilometres);
          },
      .display = display}};
  route.AddWaypoint({kLatitude, 7.0}, "Start");
  route.AddWaypoint({kLatitude, 7.0 + (turns + 1) * kTurnSpacing}, "End");
  route.Calculate();
  // Drive to the middle, announcing each turn on the way.
  for (int i = 0; i <= turns / 2; ++i) {
    fix.Longitude = 7.0 + i * kTurnSpacing;
    engine.GuidanceTick();
  }
  fix.Longitude += kTurnSpacing / 2;  // between two turns: nothing to announce
  for (auto _ : state) engine.GuidanceTick();
  state.counters["directions"] = engine.GuideDirCount();
}
BENCHMARK(GuidanceTick)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace
