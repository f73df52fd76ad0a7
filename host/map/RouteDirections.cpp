#include "host/map/RouteDirections.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

namespace orvo::host::map {
namespace {

// Routino names a road without a name after its kind; such a name says too little to be read
// out as "onto primary road".
bool IsKindName(std::string_view name) {
  static constexpr std::array<std::string_view, 13> kKinds = {"motorway",
                                                              "trunk road",
                                                              "primary road",
                                                              "secondary road",
                                                              "tertiary road",
                                                              "unclassified road",
                                                              "residential road",
                                                              "service road",
                                                              "track",
                                                              "cycleway",
                                                              "path",
                                                              "steps",
                                                              "ferry"};
  return name.empty() || std::find(kKinds.begin(), kKinds.end(), name) != kKinds.end();
}

// A road at motorway speed: a motorway by its kind or by the profile's speed on it (a named
// motorway keeps only its name). The car's profile drives motorways at 112 km/h and the next
// fastest roads at 96; Routino's times are rounded, so the line is drawn well above 96.
constexpr double kMotorwayKmPerHour = 106.0;

std::string Onto(std::string_view name) {
  return IsKindName(name) ? std::string() : " onto " + std::string(name);
}

std::string Ordinal(int number) {
  const int lastTwo = number % 100;
  const char* suffix = "th";
  if (lastTwo < 11 || lastTwo > 13) {
    if (number % 10 == 1) suffix = "st";
    if (number % 10 == 2) suffix = "nd";
    if (number % 10 == 3) suffix = "rd";
  }
  return std::to_string(number) + suffix;
}

std::string Heading(int bearingDegrees) {
  static constexpr std::array<const char*, 8> kNames = {
      "north", "north-east", "east", "south-east", "south", "south-west", "west", "north-west"};
  const int sector = static_cast<int>(std::lround(((bearingDegrees % 360) + 360) % 360 / 45.0)) % 8;
  return kNames[static_cast<std::size_t>(sector)];
}

// Routino's turn classes: straight on within 22.5 degrees, slight up to 67.5, a turn up to
// 112.5, sharp beyond.
enum class Bend { Straight, Slight, Turn, Sharp };
Bend BendOf(int turnDegrees) {
  const int size = std::abs(turnDegrees);
  if (size < 23) return Bend::Straight;
  if (size < 68) return Bend::Slight;
  if (size < 113) return Bend::Turn;
  return Bend::Sharp;
}

// One leg's points and the road the driver is on while reading them.
class LegWriter {
 public:
  LegWriter(const Route& leg, double kmBefore, double secondsBefore)
      : leg_(leg), kmBefore_(kmBefore), secondsBefore_(secondsBefore) {}

  // The instructions between the leg's first and last point, with their cumulative distances.
  void Write(std::vector<Direction>& out, std::vector<double>& kmAt) {
    road_ = leg_.points.empty() ? std::string() : leg_.points.front().name;
    bool fast = IsFast(0);
    for (std::size_t index = 1; index + 1 < leg_.points.size(); ++index) {
      const RoutePoint& point = leg_.points[index];
      Direction direction;
      if (!Describe(index, fast, direction)) continue;
      direction.type = DirectionType::Driving;
      direction.location = point.location;
      direction.timeSeconds = secondsBefore_ + point.timeSeconds;
      out.push_back(std::move(direction));
      kmAt.push_back(kmBefore_ + point.distanceKm);
      fast = IsFast(index);
      if (!point.name.empty()) road_ = point.name;
    }
  }

 private:
  // Whether the section after point INDEX, up to the next described point, runs at motorway
  // speed.
  bool IsFast(std::size_t index) const {
    const RoutePoint& from = leg_.points[index];
    if (from.name == "motorway") return true;
    std::size_t next = index + 1;
    while (next + 1 < leg_.points.size() && leg_.points[next].name.empty()) ++next;
    if (next >= leg_.points.size()) return false;
    const double hours = (leg_.points[next].timeSeconds - from.timeSeconds) / 3600.0;
    return hours > 0.0 &&
           (leg_.points[next].distanceKm - from.distanceKm) / hours >= kMotorwayKmPerHour;
  }

  // The exit a roundabout entered at INDEX is left by, counting the exits passed.
  int ExitNumber(std::size_t index, std::string& exitRoad) const {
    int exits = 1;
    for (std::size_t next = index + 1; next < leg_.points.size(); ++next) {
      const RoutePoint& point = leg_.points[next];
      if (point.kind == RoutePointKind::RoundaboutExitNotTaken) ++exits;
      if (point.kind == RoutePointKind::RoundaboutExit) {
        exitRoad = point.name;
        return exits;
      }
      if (point.kind == RoutePointKind::Waypoint) break;
    }
    return 0;
  }

  bool Describe(std::size_t index, bool wasFast, Direction& direction) const {
    const RoutePoint& point = leg_.points[index];
    const std::string& name = point.name;
    const bool left = point.turnDegrees < 0;
    switch (point.kind) {
      case RoutePointKind::UTurn:
        direction.action = DirectionAction::TurnBack;
        direction.text =
            name == road_ || IsKindName(name) ? "Make a U-turn" : "Make a U-turn" + Onto(name);
        return true;
      case RoutePointKind::RoundaboutEntry: {
        direction.action = DirectionAction::EnterRoundabout;
        std::string exitRoad;
        const int exit = ExitNumber(index, exitRoad);
        const std::string at = IsKindName(name) ? "At the roundabout" : "At " + name;
        direction.text = exit > 0 ? at + " take the " + Ordinal(exit) + " exit" + Onto(exitRoad)
                                  : at + " enter the roundabout";
        return true;
      }
      case RoutePointKind::RoundaboutExit:
        direction.action = DirectionAction::ExitRoundabout;
        direction.text = "Exit the roundabout" + Onto(name);
        return true;
      case RoutePointKind::MiniRoundabout: {
        direction.action = DirectionAction::EnterRoundabout;
        const Bend bend = BendOf(point.turnDegrees);
        const std::string way = bend == Bend::Straight ? "go straight on"
                                : left                 ? "turn left"
                                                       : "turn right";
        direction.text = "At the mini-roundabout " + way + Onto(name);
        return true;
      }
      case RoutePointKind::Junction:
      case RoutePointKind::HighwayChange:
        break;
      default:
        return false;
    }
    const Bend bend = BendOf(point.turnDegrees);
    const bool sameRoad = name == road_ || IsKindName(name);
    if (bend == Bend::Straight && sameRoad) return false;  // nothing for the driver to do
    if (!wasFast && IsFast(index) && bend != Bend::Turn && bend != Bend::Sharp) {
      direction.action = DirectionAction::Merge;
      direction.text =
          "Merge" + (IsKindName(name) ? std::string(" onto the motorway") : Onto(name));
      return true;
    }
    const std::string side = left ? "left" : "right";
    const std::string where = sameRoad && !IsKindName(name) ? " to stay on " + name : Onto(name);
    switch (bend) {
      case Bend::Straight:
        direction.action = DirectionAction::Continue;
        direction.text = "Continue" + where;
        break;
      case Bend::Slight:
        direction.action = left ? DirectionAction::BearLeft : DirectionAction::BearRight;
        direction.text = "Bear " + side + where;
        break;
      case Bend::Turn:
        direction.action = left ? DirectionAction::TurnLeft : DirectionAction::TurnRight;
        direction.text = "Turn " + side + where;
        break;
      case Bend::Sharp:
        direction.action = left ? DirectionAction::TurnLeft : DirectionAction::TurnRight;
        direction.text = "Turn sharp " + side + where;
        break;
    }
    return true;
  }

  const Route& leg_;
  double kmBefore_;
  double secondsBefore_;
  std::string road_;
};

std::string HeadOff(const Route& leg) {
  if (leg.points.empty()) return {};
  const RoutePoint& first = leg.points.front();
  return "head " + Heading(first.bearingDegrees) +
         (IsKindName(first.name) ? std::string() : " on " + first.name);
}

}  // namespace

RouteCalculation BuildDirections(std::span<const Waypoint> waypoints, std::span<const Route> legs) {
  if (waypoints.size() < 2 || legs.size() + 1 != waypoints.size())
    throw RouteError("a route needs one leg between each two of its waypoints");
  RouteCalculation result;
  std::vector<double> kmAt;  // cumulative distance of each direction, in pre-order
  double km = 0.0;
  double seconds = 0.0;
  for (std::size_t index = 0; index < waypoints.size(); ++index) {
    const Waypoint& waypoint = waypoints[index];
    const bool last = index + 1 == waypoints.size();
    const Route* leg = last ? nullptr : &legs[index];
    if (leg != nullptr && leg->points.empty()) throw RouteError("a leg of the route is empty");

    Direction top;
    top.type = DirectionType::Waypoint;
    top.location =
        leg == nullptr ? legs.back().points.back().location : leg->points.front().location;
    top.timeSeconds = seconds;
    if (index == 0) {
      top.action = DirectionAction::Depart;
      top.text = "Depart from " + waypoint.name + " and " + HeadOff(legs.front());
    } else {
      top.action = DirectionAction::Arrive;
      top.text = (last ? "Arrive at " : "Stop at ") + waypoint.name;
      if (leg != nullptr) top.text += ", then " + HeadOff(*leg);
    }
    if (!last) top.target = waypoints[index + 1].name;
    kmAt.push_back(km);
    if (leg != nullptr) {
      LegWriter(*leg, km, seconds).Write(top.nested, kmAt);
      for (std::size_t point = result.path.empty() ? 0 : 1; point < leg->points.size(); ++point)
        result.path.push_back(leg->points[point].location);
      km += leg->distanceKm;
      seconds += leg->timeSeconds;
    }
    result.directions.push_back(std::move(top));
  }
  result.distanceKm = km;
  result.timeSeconds = seconds;

  // Each step runs to the next direction in pre-order, so the steps add up to the route.
  std::size_t position = 0;
  const auto setDistances = [&](auto& self, std::vector<Direction>& directions) -> void {
    for (Direction& direction : directions) {
      const double next = position + 1 < kmAt.size() ? kmAt[position + 1] : km;
      direction.distance = std::max(0.0, next - kmAt[position]);
      ++position;
      self(self, direction.nested);
    }
  };
  setDistances(setDistances, result.directions);
  return result;
}

std::vector<Direction> ScaledDirections(const std::vector<Direction>& directions, double factor) {
  std::vector<Direction> scaled = directions;
  const auto scale = [factor](auto& self, std::vector<Direction>& list) -> void {
    for (Direction& direction : list) {
      direction.distance *= factor;
      self(self, direction.nested);
    }
  };
  scale(scale, scaled);
  return scaled;
}

}  // namespace orvo::host::map
