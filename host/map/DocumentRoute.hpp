#pragma once
// The active map's route through the interface the guidance works with (ActiveRoute.hpp): the
// waypoints kept in the open map document, calculated by Routino over the region's database.
// Like DocumentMap it holds nothing of its own: every call goes to the document active at that
// moment. Without an open document every call throws RouteError.
#include <functional>

#include "host/map/ActiveRoute.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/Region.hpp"
#include "host/map/RoutePlan.hpp"
#include "host/map/RoutingDatabase.hpp"

namespace orvo::host::map {

// Routino's profile for the car ORVO guides.
inline constexpr const char* kRoutingProfile = "motorcar";

// Exact best orders are searched up to this many stops; beyond, the nearest stop next and then
// improved by reversing stretches of the order.
inline constexpr std::size_t kMostStopsOrderedExactly = 8;

// The order of the points 1 .. n-2 between point 0 and point n-1 that makes the sum of COST[a][b]
// along the order least. Returns every position, the first and last staying in place.
std::vector<std::size_t> BestStopOrder(const std::vector<std::vector<double>>& cost);

// The route through WAYPOINTS (two or more), each leg by its first waypoint's preference.
// Throws RouteError naming the waypoint or the leg that fails.
RouteCalculation CalculateRoute(RoutingDatabase& router, const std::vector<Waypoint>& waypoints);

// The router DocumentRoute wants: region NAME's database, loaded on first use and kept; a
// failed load (no region yet) throws and is tried again on the next use.
std::function<RoutingDatabase&()> RegionRouter(
    std::string name, std::filesystem::path regionsFolder = RegionsFolder());

class DocumentRoute final : public ActiveRoute {
 public:
  // ROUTER gives the region's routing database, loading it on first use; it throws (RouteError,
  // RoutingError, RegionError) when there is none.
  DocumentRoute(MapHost& host, std::function<RoutingDatabase&()> router)
      : host_(host), router_(std::move(router)) {}

  std::vector<Waypoint> Waypoints() override;
  std::size_t AddWaypoint(const GeoPoint& location, std::string_view name) override;
  void DeleteWaypoint(std::size_t position) override;
  void MoveWaypoint(std::size_t from, std::size_t to) override;
  void RenameWaypoint(std::size_t position, std::string_view name) override;
  void SetWaypointType(std::size_t position, WaypointType type) override;
  void SetPreferredDeparture(std::size_t position, double seconds) override;
  void SetSegmentPreference(std::size_t position, SegmentPreference preference) override;
  void Clear() override;
  bool IsOptimized() override;
  void Optimize() override;
  void Calculate() override;
  bool IsCalculated() override;
  std::vector<Direction> Directions() override;
  double Distance() override;
  double TimeSeconds() override;

  // The calculated road's path for drawing; empty when not calculated.
  std::vector<GeoPoint> Path();

 private:
  RoutePlan& Plan();
  const RoutePlan& ReadPlan();
  RoutingDatabase& Router();
  double UnitPerKm() const;

  MapHost& host_;
  std::function<RoutingDatabase&()> router_;
};

}  // namespace orvo::host::map
