#include "host/map/RouteJson.hpp"

namespace orvo::host::map {

const char* WaypointTypeName(WaypointType type) {
  switch (type) {
    case WaypointType::Start:
      return "start";
    case WaypointType::End:
      return "end";
    case WaypointType::Stop:
      break;
  }
  return "stop";
}

const char* PreferenceName(SegmentPreference preference) {
  switch (preference) {
    case SegmentPreference::Shortest:
      return "shortest";
    case SegmentPreference::Preferred:
      return "preferred";
    case SegmentPreference::Quickest:
      break;
  }
  return "quickest";
}

nlohmann::ordered_json PlanToJson(const RoutePlan& plan) {
  nlohmann::ordered_json waypoints = nlohmann::ordered_json::array();
  for (const Waypoint& waypoint : plan.Waypoints()) {
    waypoints.push_back({{"name", waypoint.name},
                         {"lat", waypoint.location.latitudeDegrees},
                         {"lon", waypoint.location.longitudeDegrees},
                         {"type", WaypointTypeName(waypoint.type)},
                         {"departure", waypoint.preferredDeparture},
                         {"preference", PreferenceName(waypoint.preference)}});
  }
  nlohmann::ordered_json json = {{"waypoints", std::move(waypoints)},
                                 {"optimized", plan.IsOptimized()},
                                 {"calculated", plan.IsCalculated()}};
  if (const auto& calculation = plan.Calculation()) {
    json["distanceKm"] = calculation->distanceKm;
    json["timeSeconds"] = calculation->timeSeconds;
    json["directions"] = DirectionsToJson(calculation->directions);
  }
  return json;
}

nlohmann::ordered_json DirectionsToJson(const std::vector<Direction>& directions) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Direction& direction : directions) {
    list.push_back({{"text", direction.text},
                    {"target", direction.target},
                    {"action", static_cast<int>(direction.action)},
                    {"type", static_cast<int>(direction.type)},
                    {"location",
                     {{"lat", direction.location.latitudeDegrees},
                      {"lon", direction.location.longitudeDegrees}}},
                    {"distance", direction.distance},
                    {"time", direction.timeSeconds},
                    {"nested", DirectionsToJson(direction.nested)}});
  }
  return list;
}

std::vector<Direction> DirectionsFromJson(const nlohmann::json& json) {
  std::vector<Direction> directions;
  try {
    for (const nlohmann::json& item : json) {
      Direction direction;
      direction.text = item.at("text").get<std::string>();
      direction.target = item.at("target").get<std::string>();
      direction.action = static_cast<DirectionAction>(item.at("action").get<int>());
      direction.type = static_cast<DirectionType>(item.at("type").get<int>());
      direction.location = {item.at("location").at("lat").get<double>(),
                            item.at("location").at("lon").get<double>()};
      direction.distance = item.at("distance").get<double>();
      direction.timeSeconds = item.at("time").get<double>();
      direction.nested = DirectionsFromJson(item.at("nested"));
      directions.push_back(std::move(direction));
    }
  } catch (const nlohmann::json::exception& error) {
    throw RouteError(std::string("damaged directions: ") + error.what());
  }
  return directions;
}

nlohmann::ordered_json CalculationToJson(const RouteCalculation& calculation) {
  nlohmann::ordered_json path = nlohmann::ordered_json::array();
  for (const GeoPoint& point : calculation.path)
    path.push_back({point.latitudeDegrees, point.longitudeDegrees});
  return {{"distanceKm", calculation.distanceKm},
          {"timeSeconds", calculation.timeSeconds},
          {"path", std::move(path)},
          {"directions", DirectionsToJson(calculation.directions)}};
}

RouteCalculation CalculationFromJson(const nlohmann::json& json) {
  RouteCalculation calculation;
  try {
    calculation.distanceKm = json.at("distanceKm").get<double>();
    calculation.timeSeconds = json.at("timeSeconds").get<double>();
    for (const nlohmann::json& point : json.at("path"))
      calculation.path.push_back({point.at(0).get<double>(), point.at(1).get<double>()});
    calculation.directions = DirectionsFromJson(json.at("directions"));
  } catch (const nlohmann::json::exception& error) {
    throw RouteError(std::string("damaged route: ") + error.what());
  }
  return calculation;
}

}  // namespace orvo::host::map
