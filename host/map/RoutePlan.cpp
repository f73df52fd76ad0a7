#include "host/map/RoutePlan.hpp"

#include <algorithm>
#include <cmath>
#include <string>

namespace orvo::host::map {
namespace {

constexpr std::string_view kDefaultName = "Waypoint ";

std::string Numbered(std::size_t number) {
  return std::string(kDefaultName) + std::to_string(number);
}

}  // namespace

Waypoint& RoutePlan::At(std::size_t position) {
  if (position >= waypoints_.size())
    throw RouteError("the route has no waypoint " + std::to_string(position + 1) + " (it has " +
                     std::to_string(waypoints_.size()) + ")");
  return waypoints_[position];
}

void RoutePlan::RetypeAll() {
  for (std::size_t position = 0; position < waypoints_.size(); ++position) {
    waypoints_[position].type = position == 0                       ? WaypointType::Start
                                : position + 1 == waypoints_.size() ? WaypointType::End
                                                                    : WaypointType::Stop;
  }
}

void RoutePlan::WaypointsChanged() {
  RetypeAll();
  optimized_ = false;
  calculation_.reset();
  if (changed_) changed_();
}

std::size_t RoutePlan::Add(const GeoPoint& location, std::string_view name) {
  if (!std::isfinite(location.latitudeDegrees) || !std::isfinite(location.longitudeDegrees) ||
      std::abs(location.latitudeDegrees) > 90.0 || std::abs(location.longitudeDegrees) > 180.0)
    throw RouteError("a waypoint needs a latitude from -90 to 90 and a longitude from -180 to 180");
  Waypoint waypoint;
  waypoint.location = location;
  waypoint.name = std::string(name);
  if (waypoint.name.empty()) {
    std::size_t number = 1;
    while (std::any_of(waypoints_.begin(), waypoints_.end(),
                       [&](const Waypoint& other) { return other.name == Numbered(number); }))
      ++number;
    waypoint.name = Numbered(number);
  }
  // A new waypoint continues the route as the one before it did.
  if (!waypoints_.empty()) waypoint.preference = waypoints_.back().preference;
  waypoints_.push_back(std::move(waypoint));
  WaypointsChanged();
  return waypoints_.size() - 1;
}

void RoutePlan::Delete(std::size_t position) {
  At(position);
  waypoints_.erase(waypoints_.begin() + static_cast<std::ptrdiff_t>(position));
  WaypointsChanged();
}

void RoutePlan::Move(std::size_t from, std::size_t to) {
  At(from);
  At(to);
  if (from == to) return;
  const auto first = waypoints_.begin();
  const auto at = [first](std::size_t position) {
    return first + static_cast<std::ptrdiff_t>(position);
  };
  if (from < to) {
    std::rotate(at(from), at(from) + 1, at(to) + 1);
  } else {
    std::rotate(at(to), at(from), at(from) + 1);
  }
  WaypointsChanged();
}

void RoutePlan::Rename(std::size_t position, std::string_view name) {
  Waypoint& waypoint = At(position);
  if (name.empty()) throw RouteError("a waypoint needs a name");
  if (waypoint.name == name) return;
  waypoint.name = std::string(name);
  WaypointsChanged();  // the names are in the directions' texts
}

void RoutePlan::SetType(std::size_t position, WaypointType type) {
  At(position);
  const std::size_t last = waypoints_.size() - 1;
  switch (type) {
    case WaypointType::Start:
      Move(position, 0);
      break;
    case WaypointType::End:
      Move(position, last);
      break;
    case WaypointType::Stop:
      // Only a route with room between its ends has stops.
      if (waypoints_.size() < 3) return;
      if (position == 0) Move(0, 1);
      if (position == last) Move(last, last - 1);
      break;
    default:
      throw RouteError("a waypoint's type is 1 (start), 2 (stop) or 3 (end)");
  }
}

void RoutePlan::SetPreferredDeparture(std::size_t position, double seconds) {
  Waypoint& waypoint = At(position);
  if (!std::isfinite(seconds)) throw RouteError("a departure time must be a number");
  if (waypoint.preferredDeparture == seconds) return;
  waypoint.preferredDeparture = seconds;
  WaypointsChanged();
}

void RoutePlan::SetPreference(std::size_t position, SegmentPreference preference) {
  Waypoint& waypoint = At(position);
  if (preference != SegmentPreference::Quickest && preference != SegmentPreference::Shortest &&
      preference != SegmentPreference::Preferred)
    throw RouteError("a segment preference is quickest (0), shortest (1) or preferred (2)");
  if (waypoint.preference == preference) return;
  waypoint.preference = preference;
  WaypointsChanged();
}

void RoutePlan::Clear() {
  if (waypoints_.empty() && !calculation_) return;
  waypoints_.clear();
  WaypointsChanged();
}

void RoutePlan::Reorder(const std::vector<std::size_t>& order) {
  std::vector<std::size_t> sorted = order;
  std::sort(sorted.begin(), sorted.end());
  bool valid = sorted.size() == waypoints_.size();
  for (std::size_t index = 0; valid && index < sorted.size(); ++index)
    valid = sorted[index] == index;
  if (!valid) throw RouteError("a new order must name every waypoint once");
  if (std::is_sorted(order.begin(), order.end())) return;
  std::vector<Waypoint> reordered;
  reordered.reserve(order.size());
  for (const std::size_t position : order) reordered.push_back(std::move(waypoints_[position]));
  waypoints_ = std::move(reordered);
  WaypointsChanged();
}

void RoutePlan::MarkOptimized() {
  if (optimized_) return;
  optimized_ = true;
  if (changed_) changed_();
}

void RoutePlan::SetCalculation(RouteCalculation calculation) {
  calculation_ = std::move(calculation);
  if (changed_) changed_();
}

void RoutePlan::Restore(std::vector<Waypoint> waypoints, bool optimized,
                        std::optional<RouteCalculation> calculation) {
  waypoints_ = std::move(waypoints);
  RetypeAll();
  optimized_ = optimized;
  calculation_ = std::move(calculation);
}

}  // namespace orvo::host::map
