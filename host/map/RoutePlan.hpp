#pragma once
// The active route of a map document: its waypoints in order, whether they are in optimised
// order, and the calculated route while the waypoints stay as they were when it was calculated.
// Kept in memory here; the document writes it to its file (MapDocumentStorage.cpp) after every
// change. Calculating needs a region's routing database and lives in DocumentRoute.
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "host/map/ActiveRoute.hpp"

namespace orvo::host::map {

// A calculated route as the document keeps it: the directions with distances in kilometres
// (the host's unit is applied when they are handed out), and the road's path for drawing.
struct RouteCalculation {
  std::vector<Direction> directions;
  std::vector<GeoPoint> path;
  double distanceKm = 0.0;
  double timeSeconds = 0.0;
};

class RoutePlan {
 public:
  // CHANGED runs after every change (the document marks itself dirty).
  explicit RoutePlan(std::function<void()> changed = {}) : changed_(std::move(changed)) {}

  // In order, each with the type its position gives it.
  const std::vector<Waypoint>& Waypoints() const { return waypoints_; }
  std::size_t Count() const { return waypoints_.size(); }

  // Appends; an empty name becomes "Waypoint N" with N the lowest number not yet taken. Throws
  // RouteError for a location off the globe.
  std::size_t Add(const GeoPoint& location, std::string_view name);
  // Each throws RouteError for a position that holds no waypoint. Setting what a waypoint
  // already has changes nothing.
  void Delete(std::size_t position);
  void Move(std::size_t from, std::size_t to);
  void Rename(std::size_t position, std::string_view name);
  void SetType(std::size_t position, WaypointType type);
  void SetPreferredDeparture(std::size_t position, double seconds);
  void SetPreference(std::size_t position, SegmentPreference preference);
  void Clear();
  // ORDER lists every position once: the waypoint now at ORDER[i] goes to position i.
  void Reorder(const std::vector<std::size_t>& order);

  bool IsOptimized() const { return optimized_ || waypoints_.size() < 4; }
  void MarkOptimized();

  bool IsCalculated() const { return calculation_.has_value(); }
  const std::optional<RouteCalculation>& Calculation() const { return calculation_; }
  void SetCalculation(RouteCalculation calculation);

  // What the document read from its file; no change is reported.
  void Restore(std::vector<Waypoint> waypoints, bool optimized,
               std::optional<RouteCalculation> calculation);

 private:
  Waypoint& At(std::size_t position);
  // The waypoints changed: the calculation and the optimised order no longer hold.
  void WaypointsChanged();
  void RetypeAll();

  std::vector<Waypoint> waypoints_;
  bool optimized_ = false;
  std::optional<RouteCalculation> calculation_;
  std::function<void()> changed_;
};

}  // namespace orvo::host::map
