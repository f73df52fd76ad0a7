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
  enum class Reason { Other, NoRoadNear, NoRoute };
  explicit RoutingError(const std::string& what, Reason reason = Reason::Other, int waypoint = 0)
      : std::runtime_error(what), reason_(reason), waypoint_(waypoint) {}
  Reason WhatFailed() const { return reason_; }
  // The waypoint with no road near it, or the one that cannot be reached, counting from 1 in
  // the request; 0 for other failures.
  int Waypoint() const { return waypoint_; }

 private:
  Reason reason_;
  int waypoint_;
};

// Routino's installed data: tagging rules for planetsplitter, profiles and translations for
// routing.
inline constexpr const char* kRoutinoDataFolder = "/usr/share/routino";

// The values are the waypoints' segment preferences as the map document stores them.
// Preferred is Routino's quickest route with a profile that favours major roads.
enum class RoutePreference { Quickest = 0, Shortest = 1, Preferred = 2 };

// What Routino says a point of the route is (its ROUTINO_POINT_* values).
enum class RoutePointKind {
  Plain = ROUTINO_POINT_UNIMPORTANT,
  RoundaboutExitNotTaken = ROUTINO_POINT_RB_NOT_EXIT,
  JunctionContinue = ROUTINO_POINT_JUNCT_CONT,
  HighwayChange = ROUTINO_POINT_CHANGE,
  Junction = ROUTINO_POINT_JUNCT_IMPORT,
  RoundaboutEntry = ROUTINO_POINT_RB_ENTRY,
  RoundaboutExit = ROUTINO_POINT_RB_EXIT,
  MiniRoundabout = ROUTINO_POINT_MINI_RB,
  UTurn = ROUTINO_POINT_UTURN,
  Waypoint = ROUTINO_POINT_WAYPOINT,
};

// A point of a calculated route with the distance and time travelled up to it.
struct RoutePoint {
  GeoPoint location;
  double distanceKm = 0.0;
  double timeSeconds = 0.0;
  RoutePointKind kind = RoutePointKind::Plain;
  int turnDegrees = 0;     // onto the next section: negative to the left, positive to the right
  int bearingDegrees = 0;  // of the next section, clockwise from north
  std::string name;        // of the next section, at the points that begin an instruction
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
  // PROFILE, or for Preferred its copy that favours major roads, fitted to this database.
  Routino_Profile* ProfileFor(const std::string& profile, RoutePreference preference) const;

  // The road point nearest LOCATION for PROFILE, found once and kept: finding it costs Routino
  // more than the route itself, and the same waypoints are routed again and again (every
  // re-calculation towards the same target, optimising the stops). Null when there is none.
  Routino_Waypoint* NearestRoad(const GeoPoint& location, Routino_Profile* profile) const;
  void FreeCaches() noexcept;

  struct KnownWaypoint {
    GeoPoint location;
    Routino_Profile* profile;
    Routino_Waypoint* waypoint;
  };

  Routino_Database* database_ = nullptr;
  mutable std::vector<KnownWaypoint> knownWaypoints_;  // least recently used first
  // The Preferred copies, made on first use and freed with the database.
  mutable std::vector<std::pair<std::string, Routino_Profile*>> preferred_;
};

}  // namespace orvo::host::map
