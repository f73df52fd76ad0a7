#pragma once
// What the driving guidance needs of the map host's route: the active route of the active map,
// its waypoints, its calculation and the directions tree of the calculated route. An interface
// only; the map document's route implements it (DocumentRoute) and tests use a double.
//
// Waypoints are addressed by their position, 0 for the first. The route's start is always its
// first waypoint and its end its last; the waypoints between are stops. Giving a waypoint the
// type Start or End moves it to the front or the back.
//
// Directions: one top-level direction per waypoint (type Waypoint): the start's departs, a
// stop's and the end's arrive. The nested directions of each but the last are the driving
// instructions of the leg to the next waypoint. A direction's distance is that of its step, up
// to the next direction in pre-order, in the host's distance unit, so the distances of all
// directions add up to the route's distance; its time is the time from the departure to it and
// never decreases along the route.
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/map/GeoTypes.hpp"

namespace orvo::host::map {

// A route the host cannot calculate (no road near a waypoint, no way between two of them, too
// few waypoints, no region): the message says which and why.
class RouteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class WaypointType { Start = 1, Stop = 2, End = 3 };

// How the segment from a waypoint to the next one is chosen (the values are stored).
enum class SegmentPreference { Quickest = 0, Shortest = 1, Preferred = 2 };

// The host's direction types and actions; the values index the guidance's type tables.
enum class DirectionType : std::int16_t {
  Other = 0,
  Driving = 1,
  Border = 2,
  StartOfDay = 3,
  EndOfDay = 4,
  Fuel = 5,
  Construction = 6,
  RestBreak = 7,
  Warning = 8,
  Waypoint = 9,
};

enum class DirectionAction : std::int16_t {
  Other = 0,
  Depart = 1,
  Arrive = 2,
  TurnLeft = 3,
  TurnRight = 4,
  BearLeft = 5,
  BearRight = 6,
  Merge = 7,
  Continue = 8,
  CrossBorder = 9,
  TurnBack = 10,
  EnterRoundabout = 11,
  ExitRoundabout = 12,
};

struct Direction {
  std::string text;    // "Turn left onto Boulevard Albert 1er"
  std::string target;  // what the step heads toward; may be empty
  DirectionAction action = DirectionAction::Other;
  DirectionType type = DirectionType::Driving;
  GeoPoint location;
  double distance = 0.0;     // of the step that starts here, in the host's unit
  double timeSeconds = 0.0;  // from the departure
  std::vector<Direction> nested;
};

struct Waypoint {
  std::string name;
  GeoPoint location;
  WaypointType type = WaypointType::Stop;
  double preferredDeparture = 0.0;  // seconds; 0 when none was set
  SegmentPreference preference = SegmentPreference::Quickest;
};

class ActiveRoute {
 public:
  virtual ~ActiveRoute() = default;

  virtual std::vector<Waypoint> Waypoints() = 0;
  // Appends a waypoint (it becomes the end); an empty name gets a default one. Returns its
  // position.
  virtual std::size_t AddWaypoint(const GeoPoint& location, std::string_view name) = 0;
  // Each throws RouteError for a position that holds no waypoint.
  virtual void DeleteWaypoint(std::size_t position) = 0;
  virtual void MoveWaypoint(std::size_t from, std::size_t to) = 0;
  virtual void RenameWaypoint(std::size_t position, std::string_view name) = 0;
  virtual void SetWaypointType(std::size_t position, WaypointType type) = 0;
  virtual void SetPreferredDeparture(std::size_t position, double seconds) = 0;
  virtual void SetSegmentPreference(std::size_t position, SegmentPreference preference) = 0;
  // Deletes every waypoint.
  virtual void Clear() = 0;

  // Whether the stops are in their best order (true after Optimize until the waypoints change).
  virtual bool IsOptimized() = 0;
  // Puts the stops between the first and the last waypoint in the order of the shortest drive.
  virtual void Optimize() = 0;

  // Calculates the route and raises onAfterCalculate before returning. Throws RouteError with
  // the reason when it cannot be calculated (the route is then not calculated, and no event).
  virtual void Calculate() = 0;
  // False again as soon as the waypoints change.
  virtual bool IsCalculated() = 0;
  // The directions tree of the calculated route; empty when it is not calculated.
  virtual std::vector<Direction> Directions() = 0;
  // The calculated route's distance in the host's unit and its driving time; 0 when not
  // calculated.
  virtual double Distance() = 0;
  virtual double TimeSeconds() = 0;

  // Raised synchronously inside Calculate once the new route is in place.
  std::function<void()> onAfterCalculate;
};

}  // namespace orvo::host::map
