#pragma once
// Doubles for the guidance engine: a route on a flat plane whose legs get hand-made turns, and a
// guidance window that records what it is told.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "guidance/GuideDisplay.hpp"
#include "host/map/ActiveRoute.hpp"

namespace orvo::guidance::testing {

using host::map::Direction;
using host::map::DirectionAction;
using host::map::GeoPoint;
using host::map::Waypoint;

inline double PlaneDistance(const GeoPoint& a, const GeoPoint& b) {
  return std::hypot(a.latitudeDegrees - b.latitudeDegrees, a.longitudeDegrees - b.longitudeDegrees);
}

// Each leg gets one turn per point in `turnsAt(from, to)`; a direction's time is its distance
// from the start, in seconds per plane unit × 100.
class FakeRoute final : public host::map::ActiveRoute {
 public:
  std::vector<Waypoint> Waypoints() override { return waypoints; }
  std::size_t AddWaypoint(const GeoPoint& location, std::string_view name) override {
    waypoints.push_back({std::string(name), location});
    calculated = false;
    return waypoints.size() - 1;
  }
  void DeleteWaypoint(std::size_t position) override {
    Check(position);
    waypoints.erase(waypoints.begin() + static_cast<std::ptrdiff_t>(position));
    calculated = false;
  }
  // The engine only ever makes a waypoint the start, which moves it first.
  void MoveWaypoint(std::size_t, std::size_t) override {}
  void RenameWaypoint(std::size_t, std::string_view) override {}
  void SetWaypointType(std::size_t position, host::map::WaypointType type) override {
    Check(position);
    if (type != host::map::WaypointType::Start) return;
    std::rotate(waypoints.begin(), waypoints.begin() + static_cast<std::ptrdiff_t>(position),
                waypoints.begin() + static_cast<std::ptrdiff_t>(position) + 1);
    calculated = false;
  }
  void SetPreferredDeparture(std::size_t position, double seconds) override {
    waypoints.at(position).preferredDeparture = seconds;
  }
  void SetSegmentPreference(std::size_t position, host::map::SegmentPreference p) override {
    waypoints.at(position).preference = p;
  }
  void Clear() override {
    waypoints.resize(keepOnClear ? std::min<std::size_t>(1, waypoints.size()) : 0);
    calculated = false;
  }
  bool IsOptimized() override { return true; }
  void Optimize() override {}
  void Calculate() override {
    ++calculations;
    if (failWith != nullptr) throw host::map::RouteError(failWith);
    if (waypoints.size() < 2) throw host::map::RouteError("too few waypoints");
    tree.clear();
    double time = 0;
    for (std::size_t i = 0; i < waypoints.size(); ++i) {
      Direction top;
      top.text = (i == 0 ? "Depart from " : "Arrive at ") + waypoints[i].name;
      top.action = i == 0 ? DirectionAction::Depart : DirectionAction::Arrive;
      top.location = waypoints[i].location;
      if (i > 0) time += 100 * PlaneDistance(Last(), top.location);
      top.timeSeconds = time;
      tree.push_back(top);
      if (i + 1 == waypoints.size()) break;
      for (const GeoPoint& turn : turnsAt(waypoints[i].location, waypoints[i + 1].location)) {
        Direction d;
        d.text = "Turn at " + std::to_string(turn.latitudeDegrees).substr(0, 4) + "," +
                 std::to_string(turn.longitudeDegrees).substr(0, 4);
        d.action = DirectionAction::TurnLeft;
        d.location = turn;
        time += 100 * PlaneDistance(Last(), turn);
        d.timeSeconds = time;
        tree.back().nested.push_back(d);
      }
    }
    calculated = true;
    if (onAfterCalculate) onAfterCalculate();
  }
  bool IsCalculated() override { return calculated; }
  std::vector<Direction> Directions() override {
    return calculated ? tree : std::vector<Direction>{};
  }
  double Distance() override { return 0; }
  double TimeSeconds() override { return 0; }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const Waypoint& w : waypoints) names.push_back(w.name);
    return names;
  }

  std::vector<Waypoint> waypoints;
  std::vector<Direction> tree;
  bool calculated = false;
  int calculations = 0;
  const char* failWith = nullptr;
  bool keepOnClear = false;  // a host that cannot drop its first waypoint
  std::function<std::vector<GeoPoint>(GeoPoint, GeoPoint)> turnsAt = [](GeoPoint, GeoPoint) {
    return std::vector<GeoPoint>{};
  };

 private:
  void Check(std::size_t position) const {
    if (position >= waypoints.size()) throw host::map::RouteError("no such waypoint");
  }
  GeoPoint Last() const {
    const Direction& top = tree.back();
    return top.nested.empty() ? top.location : top.nested.back().location;
  }
};

struct Announcement {
  std::string text;
  std::int32_t secsBetween;
  double secsUntil;
};

class RecordingDisplay final : public GuideDisplay {
 public:
  RecordingDisplay() { guideShown = true; }
  void SetInstruct(const Direction* direction, double, const std::string& text,
                   std::int32_t secsBetween, double secsUntil) override {
    if (direction != nullptr || !text.empty()) announced.push_back({text, secsBetween, secsUntil});
    if (direction != nullptr && holdUntilArrival) announceHold = true;
  }
  void UpdateDistance(double approach, double next) override {
    if (announceHold && approach < 0.005) announceHold = false;
    distances.push_back({approach, next});
  }
  void SpeakDirection() override {}

  // The texts announced since the FROMth announcement.
  std::vector<std::string> Texts(std::size_t from = 0) const {
    std::vector<std::string> texts;
    for (std::size_t i = from; i < announced.size(); ++i) texts.push_back(announced[i].text);
    return texts;
  }

  // As the guidance window does: an announcement holds the next one until its point is reached.
  bool holdUntilArrival = false;
  std::vector<Announcement> announced;
  std::vector<std::pair<double, double>> distances;
};

}  // namespace orvo::guidance::testing
