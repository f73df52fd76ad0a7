#pragma once
// A region's Routino routing database and route calculation over it.
//
// Threads: Routino's library keeps global state (the parsed profiles and translations, its
// routing options, the temporary nodes of a calculation) and is not thread-safe. Every
// RoutingDatabase must therefore be created, used and destroyed on one thread — in ORVO the
// event loop's, or one worker that owns all routing.
#include <routino.h>

#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/map/GeoTypes.hpp"
#include "host/map/Region.hpp"

namespace orvo::host::map {

class RoutingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Routino's installed data: tagging rules for planetsplitter, profiles and translations for
// routing.
inline constexpr const char* kRoutinoDataFolder = "/usr/share/routino";

enum class RoutePreference { Shortest, Quickest };

// A point of a calculated route with the distance and time travelled up to it.
struct RoutePoint {
  GeoPoint location;
  double distanceKm = 0.0;
  double timeSeconds = 0.0;
};

struct Route {
  std::vector<RoutePoint> points;  // every node of the route, first waypoint to last
  double distanceKm = 0.0;
  double timeSeconds = 0.0;
};

class RoutingDatabase {
 public:
  // Loads FOLDER/PREFIX-*.mem and, once per process, ROUTINO_DATA/profiles.xml and
  // translations.xml. Throws RoutingError with the reason when any of them cannot be loaded.
  RoutingDatabase(const std::filesystem::path& folder, const std::string& prefix,
                  const std::filesystem::path& routinoData = kRoutinoDataFolder);
  explicit RoutingDatabase(const Region& region,
                           const std::filesystem::path& routinoData = kRoutinoDataFolder);
  ~RoutingDatabase();
  RoutingDatabase(RoutingDatabase&& other) noexcept;
  RoutingDatabase& operator=(RoutingDatabase&& other) noexcept;
  RoutingDatabase(const RoutingDatabase&) = delete;
  RoutingDatabase& operator=(const RoutingDatabase&) = delete;

  // The profile names Routino knows ("motorcar", "foot", "bicycle", ...).
  std::vector<std::string> ProfileNames() const;

  // The route through WAYPOINTS (two or more, in order) for PROFILE. Throws RoutingError saying
  // which waypoint has no road near it or cannot be reached.
  Route Calculate(std::span<const GeoPoint> waypoints, std::string_view profile,
                  RoutePreference preference) const;

 private:
  Routino_Database* database_ = nullptr;
};

}  // namespace orvo::host::map
