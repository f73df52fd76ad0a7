// orvo route LAT,LON LAT,LON ... [--preference quickest|shortest|preferred] [--unit km|mi]
//            [--region NAME]
// Calculates the route through the points, in order, over the region's Routino database and
// prints it as JSON: {"distance", "time", "unit", "directions": [...]} (RouteJson.hpp).
#include <iostream>
#include <string>
#include <vector>

#include "app/Commands.hpp"
#include "host/map/DocumentRoute.hpp"
#include "host/map/MapGeometry.hpp"
#include "host/map/Region.hpp"
#include "host/map/RouteDirections.hpp"
#include "host/map/RouteJson.hpp"

namespace orvo::app {
namespace {

using namespace orvo::host::map;

constexpr int kFailed = 1;
constexpr int kUsage = 2;

int Usage(const std::string& problem) {
  if (!problem.empty()) std::cerr << "orvo route: " << problem << '\n';
  std::cerr << "usage: orvo route LAT,LON LAT,LON ... [--preference quickest|shortest|preferred]"
               " [--unit km|mi] [--region NAME]\n";
  return kUsage;
}

}  // namespace

int RunRoute(const Arguments& arguments) {
  std::vector<Waypoint> waypoints;
  SegmentPreference preference = SegmentPreference::Quickest;
  bool miles = false;
  std::string region = "monaco";
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    const auto value = [&]() -> std::optional<std::string> {
      if (index + 1 == arguments.size()) return std::nullopt;
      return arguments[++index];
    };
    if (argument == "--preference") {
      const auto name = value();
      if (name == "quickest")
        preference = SegmentPreference::Quickest;
      else if (name == "shortest")
        preference = SegmentPreference::Shortest;
      else if (name == "preferred")
        preference = SegmentPreference::Preferred;
      else
        return Usage("--preference is quickest, shortest or preferred");
    } else if (argument == "--unit") {
      const auto unit = value();
      if (unit != "km" && unit != "mi") return Usage("--unit is km or mi");
      miles = unit == "mi";
    } else if (argument == "--region") {
      const auto name = value();
      if (!name || !IsValidRegionName(*name)) return Usage("--region needs a region name");
      region = *name;
    } else if (argument.starts_with("--")) {
      return Usage("unknown option " + argument);
    } else if (const auto point = ParseGeoPoint(argument)) {
      Waypoint waypoint;
      waypoint.name = "Waypoint " + std::to_string(waypoints.size() + 1);
      waypoint.location = *point;
      waypoints.push_back(waypoint);
    } else {
      return Usage("\"" + argument + "\" is not a point LAT,LON");
    }
  }
  if (waypoints.size() < 2) return Usage("a route needs at least two points");
  for (Waypoint& waypoint : waypoints) waypoint.preference = preference;

  try {
    RoutingDatabase database(OpenRegion(region));
    const RouteCalculation route = CalculateRoute(database, waypoints);
    const double factor = miles ? kMetresPerKilometre / kMetresPerMile : 1.0;
    const nlohmann::ordered_json json = {
        {"distance", route.distanceKm * factor},
        {"time", route.timeSeconds},
        {"unit", miles ? "mi" : "km"},
        {"directions", DirectionsToJson(ScaledDirections(route.directions, factor))}};
    std::cout << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    return std::cout ? 0 : kFailed;
  } catch (const std::exception& error) {
    std::cerr << "orvo route: " << error.what() << '\n';
    return kFailed;
  }
}

}  // namespace orvo::app
