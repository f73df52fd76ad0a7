// Route calculation across Monaco with the region's database loaded: Routino alone (between
// known waypoints, and from a new position each time), and the whole of ORVO's calculation (both
// legs of a route with a stop, the directions written). For comparison, `routino-router` on the
// same pairs, which loads the database for every route. Target: under 1 ms a route. Needs the
// Monaco region (`make region`).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "host/map/DocumentRoute.hpp"
#include "host/map/Region.hpp"

namespace {

using namespace orvo::host::map;

// Casino to Fontvieille, the port to Monte-Carlo beach, Monaco-Ville to the station.
const std::vector<std::pair<GeoPoint, GeoPoint>> kPairs = {
    {{43.7397, 7.4275}, {43.7285, 7.4150}},
    {{43.7347, 7.4214}, {43.7480, 7.4420}},
    {{43.7310, 7.4200}, {43.7390, 7.4195}},
};

RoutingDatabase& Database() {
  static RoutingDatabase database(OpenRegion("monaco"));
  return database;
}

void RoutinoRoute(benchmark::State& state) {
  const auto& [from, to] = kPairs[static_cast<std::size_t>(state.range(0))];
  const GeoPoint points[] = {from, to};
  for (auto _ : state)
    benchmark::DoNotOptimize(
        Database().Calculate(points, kRoutingProfile, RoutePreference::Quickest));
}
BENCHMARK(RoutinoRoute)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

// As guidance re-calculates from where the car is: the start is a new point every time, so
// Routino looks its road up afresh.
void RoutinoRouteFromANewPosition(benchmark::State& state) {
  const auto& [from, to] = kPairs[static_cast<std::size_t>(state.range(0))];
  GeoPoint points[] = {from, to};
  for (auto _ : state) {
    points[0].latitudeDegrees += 1e-7;
    benchmark::DoNotOptimize(
        Database().Calculate(points, kRoutingProfile, RoutePreference::Quickest));
  }
}
BENCHMARK(RoutinoRouteFromANewPosition)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

void RouteWithDirections(benchmark::State& state) {
  const auto preference = static_cast<SegmentPreference>(state.range(0));
  std::vector<Waypoint> waypoints(3);
  waypoints[0].location = kPairs[0].first;
  waypoints[1].location = kPairs[1].first;  // a stop at the port
  waypoints[2].location = kPairs[0].second;
  for (Waypoint& waypoint : waypoints) waypoint.preference = preference;
  std::size_t directions = 0;
  for (auto _ : state) {
    const RouteCalculation route = CalculateRoute(Database(), waypoints);
    directions = route.directions[0].nested.size() + route.directions[1].nested.size();
    benchmark::DoNotOptimize(route);
  }
  state.counters["directions"] = static_cast<double>(directions);
}
// Quickest, Shortest, Preferred.
BENCHMARK(RouteWithDirections)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

void RoutinoRouterProcess(benchmark::State& state) {
  const Region region = OpenRegion("monaco");
  const auto& [from, to] = kPairs[static_cast<std::size_t>(state.range(0))];
  const std::string command =
      "routino-router --quiet --output-none --quickest --profile=motorcar --dir='" +
      region.folder.string() + "' --prefix=" + region.routingPrefix +
      " --lat1=" + std::to_string(from.latitudeDegrees) +
      " --lon1=" + std::to_string(from.longitudeDegrees) +
      " --lat2=" + std::to_string(to.latitudeDegrees) +
      " --lon2=" + std::to_string(to.longitudeDegrees) + " >/dev/null 2>&1";
  for (auto _ : state)
    if (std::system(command.c_str()) != 0) state.SkipWithError("routino-router failed");
}
BENCHMARK(RoutinoRouterProcess)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
