#pragma once
// The map host as map tracking and the trail see it, in memory: pins with names, symbols,
// balloons and notes; a flat view (a fixed number of pixels per degree around a centre); an
// active route's waypoint names. Like the real host, a deleted pin's handle throws, pins added
// without a name are called "Pushpin N", and FindPushpin gives the oldest pin of a name.
// Header-only: the trail benchmark uses it too.
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/map/ActiveMap.hpp"

namespace orvo::testing {

class FakeActiveMap final : public host::map::ActiveMap {
 public:
  struct Pin {
    host::map::MapLocation location;
    std::string name;
    std::int16_t symbol = 0;
    int balloonState = 1;
    std::string note;
  };

  host::map::MapLocation GetLocation(double latitude, double longitude, double altitude) override {
    if (std::abs(latitude) > 90 || std::abs(longitude) > 180)
      throw std::invalid_argument("a position off the globe");
    return {latitude, longitude, altitude};
  }
  std::optional<host::map::PushpinRef> FindPushpin(std::string_view name) override {
    const auto found = byName_.find(std::string(name));
    if (found == byName_.end() || found->second.empty()) return std::nullopt;
    return host::map::PushpinRef(*this, *found->second.begin());
  }
  host::map::PushpinRef AddPushpin(const host::map::MapLocation& location,
                                   const std::optional<std::string>& name) override {
    if (failAdd) throw std::runtime_error("the map refused the pin");
    const host::map::PushpinId id = nextId_++;
    Pin pin;
    pin.location = location;
    pin.name = name ? *name : "Pushpin " + std::to_string(++defaultNames_);
    byName_[pin.name].insert(id);
    pins_.emplace(id, std::move(pin));
    ++added;
    return host::map::PushpinRef(*this, id);
  }
  void GoTo(const host::map::MapLocation& location) override {
    centreLatitude = location.latitudeDegrees;
    centreLongitude = location.longitudeDegrees;
    ++goToCount;
  }
  int LocationToX(const host::map::MapLocation& location) override {
    return static_cast<int>(
        std::lround(width / 2.0 + (location.longitudeDegrees - centreLongitude) * pixelsPerDegree));
  }
  int LocationToY(const host::map::MapLocation& location) override {
    return static_cast<int>(
        std::lround(height / 2.0 - (location.latitudeDegrees - centreLatitude) * pixelsPerDegree));
  }
  int Width() override { return width; }
  int Height() override { return height; }
  std::vector<std::string> ActiveRouteWaypointNames() override {
    if (failRoute) throw std::runtime_error("no route object");
    return waypoints;
  }

  host::map::MapLocation PushpinLocation(host::map::PushpinId id) override {
    return Get(id).location;
  }
  void SetPushpinLocation(host::map::PushpinId id,
                          const host::map::MapLocation& location) override {
    Get(id).location = location;
  }
  void SetPushpinSymbol(host::map::PushpinId id, std::int16_t symbol) override {
    Get(id).symbol = symbol;
  }
  void SetPushpinBalloonState(host::map::PushpinId id, int state) override {
    Get(id).balloonState = state;
  }
  void SetPushpinNote(host::map::PushpinId id, const std::string& note) override {
    Get(id).note = note;
  }
  std::string PushpinName(host::map::PushpinId id) override { return Get(id).name; }
  void DeletePushpin(host::map::PushpinId id) override {
    const Pin& pin = Get(id);
    byName_[pin.name].erase(id);
    pins_.erase(id);
  }

  bool Exists(host::map::PushpinId id) const { return pins_.count(id) != 0; }
  const Pin* Named(const std::string& name) {
    const auto pin = FindPushpin(name);
    return pin ? &Get(pin->Id()) : nullptr;
  }
  std::size_t PinCount() const { return pins_.size(); }
  // Pins in the order they were added.
  std::vector<Pin> Pins() const {
    std::map<host::map::PushpinId, Pin> ordered(pins_.begin(), pins_.end());
    std::vector<Pin> pins;
    pins.reserve(ordered.size());
    for (const auto& [id, pin] : ordered) pins.push_back(pin);
    return pins;
  }

  int width = 800;
  int height = 600;
  double centreLatitude = 0;
  double centreLongitude = 0;
  double pixelsPerDegree = 10000;
  int goToCount = 0;
  int added = 0;
  bool failAdd = false;
  bool failRoute = false;
  std::vector<std::string> waypoints;

 private:
  Pin& Get(host::map::PushpinId id) {
    const auto found = pins_.find(id);
    if (found == pins_.end()) throw host::map::PushpinGone("the pushpin was deleted");
    return found->second;
  }

  host::map::PushpinId nextId_ = 1;
  int defaultNames_ = 0;
  std::unordered_map<host::map::PushpinId, Pin> pins_;
  std::unordered_map<std::string, std::set<host::map::PushpinId>> byName_;
};

class FakeMapApplication final : public host::map::MapApplication {
 public:
  host::map::ActiveMap* GetActiveMap() override { return open ? &map : nullptr; }
  FakeActiveMap map;
  bool open = true;
};

}  // namespace orvo::testing
