#include "host/map/DocumentRoute.hpp"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <numeric>

#include "host/map/MapGeometry.hpp"
#include "host/map/RouteDirections.hpp"

namespace orvo::host::map {
namespace {

constexpr double kUnreachable = std::numeric_limits<double>::infinity();

RoutePreference ForRouting(SegmentPreference preference) {
  return static_cast<RoutePreference>(static_cast<int>(preference));
}

std::string Quoted(const Waypoint& waypoint) {
  char where[64];
  std::snprintf(where, sizeof where, "%.6f, %.6f", waypoint.location.latitudeDegrees,
                waypoint.location.longitudeDegrees);
  return "\"" + waypoint.name + "\" (" + where + ")";
}

// Routino's failure in the user's terms, naming the waypoints of the leg FROM -> TO.
RouteError Explain(const RoutingError& error, const Waypoint& from, const Waypoint& to) {
  switch (error.WhatFailed()) {
    case RoutingError::Reason::NoRoadNear:
      return RouteError("No road a car can use is near the waypoint " +
                        Quoted(error.Waypoint() == 1 ? from : to) + ".");
    case RoutingError::Reason::NoRoute:
      return RouteError("There is no route for a car from \"" + from.name + "\" to \"" + to.name +
                        "\".");
    case RoutingError::Reason::Other:
      break;
  }
  return RouteError(std::string("The route cannot be calculated: ") + error.what());
}

double Cost(const std::vector<std::vector<double>>& cost, const std::vector<std::size_t>& order) {
  double sum = 0.0;
  for (std::size_t index = 1; index < order.size(); ++index)
    sum += cost[order[index - 1]][order[index]];
  return sum;
}

}  // namespace

std::vector<std::size_t> BestStopOrder(const std::vector<std::vector<double>>& cost) {
  const std::size_t count = cost.size();
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), 0);
  if (count < 4) return order;
  const auto stopsBegin = order.begin() + 1;
  const auto stopsEnd = order.end() - 1;
  if (count - 2 <= kMostStopsOrderedExactly) {
    std::vector<std::size_t> best = order;
    double bestCost = Cost(cost, order);
    while (std::next_permutation(stopsBegin, stopsEnd)) {
      const double candidate = Cost(cost, order);
      if (candidate < bestCost) {
        bestCost = candidate;
        best = order;
      }
    }
    return best;
  }
  // Nearest stop next, then reversing any stretch that shortens the drive until none does.
  for (auto at = stopsBegin; at != stopsEnd; ++at) {
    const std::size_t from = *(at - 1);
    std::iter_swap(at, std::min_element(at, stopsEnd, [&](std::size_t a, std::size_t b) {
                     return cost[from][a] < cost[from][b];
                   }));
  }
  for (bool improved = true; improved;) {
    improved = false;
    for (std::size_t first = 1; first + 1 < count; ++first) {
      for (std::size_t last = first + 1; last + 1 < count; ++last) {
        std::vector<std::size_t> candidate = order;
        std::reverse(candidate.begin() + static_cast<std::ptrdiff_t>(first),
                     candidate.begin() + static_cast<std::ptrdiff_t>(last) + 1);
        if (Cost(cost, candidate) + 1e-9 < Cost(cost, order)) {
          order = std::move(candidate);
          improved = true;
        }
      }
    }
  }
  return order;
}

std::function<RoutingDatabase&()> RegionRouter(std::string name,
                                               std::filesystem::path regionsFolder) {
  auto database = std::make_shared<std::optional<RoutingDatabase>>();
  return [database, name = std::move(name),
          regionsFolder = std::move(regionsFolder)]() -> RoutingDatabase& {
    if (!*database) database->emplace(OpenRegion(name, regionsFolder));
    return **database;
  };
}

RoutePlan& DocumentRoute::Plan() {
  MapDocument* document = host_.ActiveMap();
  if (document == nullptr) throw RouteError("no map is open");
  try {
    return document->Plan();
  } catch (const MapError& error) {
    throw RouteError(error.what());
  }
}

const RoutePlan& DocumentRoute::ReadPlan() {
  const MapDocument* document = host_.ActiveMap();
  if (document == nullptr) throw RouteError("no map is open");
  return document->Plan();
}

RoutingDatabase& DocumentRoute::Router() {
  try {
    return router_();
  } catch (const RouteError&) {
    throw;
  } catch (const std::exception& error) {
    throw RouteError(std::string("The route cannot be calculated: ") + error.what());
  }
}

double DocumentRoute::UnitPerKm() const {
  return host_.Unit() == DistanceUnit::Kilometres ? 1.0 : kMetresPerKilometre / kMetresPerMile;
}

std::vector<Waypoint> DocumentRoute::Waypoints() {
  return ReadPlan().Waypoints();
}
std::size_t DocumentRoute::AddWaypoint(const GeoPoint& location, std::string_view name) {
  return Plan().Add(location, name);
}
void DocumentRoute::DeleteWaypoint(std::size_t position) {
  Plan().Delete(position);
}
void DocumentRoute::MoveWaypoint(std::size_t from, std::size_t to) {
  Plan().Move(from, to);
}
void DocumentRoute::RenameWaypoint(std::size_t position, std::string_view name) {
  Plan().Rename(position, name);
}
void DocumentRoute::SetWaypointType(std::size_t position, WaypointType type) {
  Plan().SetType(position, type);
}
void DocumentRoute::SetPreferredDeparture(std::size_t position, double seconds) {
  Plan().SetPreferredDeparture(position, seconds);
}
void DocumentRoute::SetSegmentPreference(std::size_t position, SegmentPreference preference) {
  Plan().SetPreference(position, preference);
}
void DocumentRoute::Clear() {
  Plan().Clear();
}
bool DocumentRoute::IsOptimized() {
  return ReadPlan().IsOptimized();
}

void DocumentRoute::Optimize() {
  RoutePlan& plan = Plan();
  if (plan.IsOptimized()) return;
  const std::vector<Waypoint> waypoints = plan.Waypoints();
  RoutingDatabase& router = Router();
  // The drive between every two waypoints, by the preference of the one it leaves from.
  const std::size_t count = waypoints.size();
  std::vector<std::vector<double>> cost(count, std::vector<double>(count, 0.0));
  std::optional<RouteError> failure;
  for (std::size_t from = 0; from < count; ++from) {
    for (std::size_t to = 0; to < count; ++to) {
      // Never into the start or out of the end.
      if (from == to || to == 0 || from + 1 == count) continue;
      const GeoPoint pair[] = {waypoints[from].location, waypoints[to].location};
      try {
        const Route leg =
            router.Calculate(pair, kRoutingProfile, ForRouting(waypoints[from].preference));
        cost[from][to] = waypoints[from].preference == SegmentPreference::Shortest
                             ? leg.distanceKm
                             : leg.timeSeconds;
      } catch (const RoutingError& error) {
        cost[from][to] = kUnreachable;
        if (!failure) failure = Explain(error, waypoints[from], waypoints[to]);
      }
    }
  }
  const std::vector<std::size_t> order = BestStopOrder(cost);
  double total = 0.0;
  for (std::size_t index = 1; index < order.size(); ++index)
    total += cost[order[index - 1]][order[index]];
  if (total == kUnreachable && failure) throw *failure;
  plan.Reorder(order);
  plan.MarkOptimized();
}

RouteCalculation CalculateRoute(RoutingDatabase& router, const std::vector<Waypoint>& waypoints) {
  if (waypoints.size() < 2) throw RouteError("A route needs at least two waypoints.");
  std::vector<Route> legs;
  legs.reserve(waypoints.size() - 1);
  for (std::size_t index = 0; index + 1 < waypoints.size(); ++index) {
    const GeoPoint pair[] = {waypoints[index].location, waypoints[index + 1].location};
    try {
      legs.push_back(
          router.Calculate(pair, kRoutingProfile, ForRouting(waypoints[index].preference)));
    } catch (const RoutingError& error) {
      throw Explain(error, waypoints[index], waypoints[index + 1]);
    }
  }
  return BuildDirections(waypoints, legs);
}

void DocumentRoute::Calculate() {
  RoutePlan& plan = Plan();
  if (plan.Count() < 2) throw RouteError("A route needs at least two waypoints.");
  plan.SetCalculation(CalculateRoute(Router(), plan.Waypoints()));
  if (onAfterCalculate) onAfterCalculate();
}

bool DocumentRoute::IsCalculated() {
  return ReadPlan().IsCalculated();
}

std::vector<Direction> DocumentRoute::Directions() {
  const auto& calculation = ReadPlan().Calculation();
  if (!calculation) return {};
  return ScaledDirections(calculation->directions, UnitPerKm());
}

double DocumentRoute::Distance() {
  const auto& calculation = ReadPlan().Calculation();
  return calculation ? calculation->distanceKm * UnitPerKm() : 0.0;
}

double DocumentRoute::TimeSeconds() {
  const auto& calculation = ReadPlan().Calculation();
  return calculation ? calculation->timeSeconds : 0.0;
}

std::vector<GeoPoint> DocumentRoute::Path() {
  const auto& calculation = ReadPlan().Calculation();
  return calculation ? calculation->path : std::vector<GeoPoint>{};
}

}  // namespace orvo::host::map
