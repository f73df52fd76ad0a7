#pragma once
// Directions and calculated routes as JSON: the form `orvo route` prints and the map document
// stores a calculated route in.
//
// A direction: {"text", "target", "action", "type", "location": {"lat", "lon"}, "distance",
// "time", "nested": [...]}, with action and type as the host's numbers, the distance in
// whatever unit the tree holds and the time in seconds from the departure.
#include <nlohmann/json.hpp>

#include "host/map/RoutePlan.hpp"

namespace orvo::host::map {

nlohmann::ordered_json DirectionsToJson(const std::vector<Direction>& directions);
// Throws RouteError for JSON that is not a directions tree.
std::vector<Direction> DirectionsFromJson(const nlohmann::json& json);

// "start", "stop", "end"; "quickest", "shortest", "preferred".
const char* WaypointTypeName(WaypointType type);
const char* PreferenceName(SegmentPreference preference);

// The active route as `orvo map route` shows it: {"waypoints": [{"name", "lat", "lon", "type",
// "departure", "preference"}], "optimized", "calculated", and once calculated "distanceKm",
// "timeSeconds" and "directions"}.
nlohmann::ordered_json PlanToJson(const RoutePlan& plan);

// {"distanceKm", "timeSeconds", "path": [[lat, lon], ...], "directions": [...]}.
nlohmann::ordered_json CalculationToJson(const RouteCalculation& calculation);
RouteCalculation CalculationFromJson(const nlohmann::json& json);

}  // namespace orvo::host::map
