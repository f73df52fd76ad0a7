#pragma once
// What map tracking, the trail and the compass actions need of the map host: the open map, its
// pushpins and its view, in the host's own terms (GetLocation, FindPushpin, AddPushpin, GoTo,
// LocationToX/Y). An interface only; the map document implements it and tests use a double.
//
// Pushpins are reached through handles. A handle stays valid only while its pin exists: once the
// pin is deleted, by ORVO or by the user's hand on the map, every use of the handle throws
// PushpinGone. Pin ids are never reused within a document, so an old handle can never reach a
// newer pin. Handles hold a pointer to their map, which outlives them (one document per run).
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::host::map {

struct MapLocation {
  double latitudeDegrees = 0.0;
  double longitudeDegrees = 0.0;
  double altitudeMetres = 0.0;
};

// A pushpin that is no longer on the map was used.
class PushpinGone : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using PushpinId = std::int64_t;

// The pushpin balloon: 0 closed, 1 name only, 2 fully open (name and note).
inline constexpr int kBalloonClosed = 0;
inline constexpr int kBalloonOpen = 2;

class ActiveMap;

class PushpinRef {
 public:
  PushpinRef(ActiveMap& map, PushpinId id) : map_(&map), id_(id) {}

  PushpinId Id() const { return id_; }
  inline MapLocation Location() const;
  inline void SetLocation(const MapLocation& location) const;
  inline void SetSymbol(std::int16_t symbol) const;
  inline void SetBalloonState(int state) const;
  inline void SetNote(const std::string& note) const;
  inline std::string Name() const;
  inline void Delete() const;

  friend bool operator==(const PushpinRef& a, const PushpinRef& b) {
    return a.map_ == b.map_ && a.id_ == b.id_;
  }

 private:
  ActiveMap* map_;
  PushpinId id_;
};

class ActiveMap {
 public:
  virtual ~ActiveMap() = default;

  // A location for a position; throws for a position off the globe.
  virtual MapLocation GetLocation(double latitudeDegrees, double longitudeDegrees,
                                  double altitudeMetres) = 0;
  // The first pin of that name, if any.
  virtual std::optional<PushpinRef> FindPushpin(std::string_view name) = 0;
  // Without a name the pin gets the host's default name ("Pushpin 7").
  virtual PushpinRef AddPushpin(const MapLocation& location,
                                const std::optional<std::string>& name) = 0;

  // Centres the view on a location, keeping the zoom.
  virtual void GoTo(const MapLocation& location) = 0;
  // Pixel position of a location in the map area of the page (may lie outside it), and the
  // size of that area.
  virtual int LocationToX(const MapLocation& location) = 0;
  virtual int LocationToY(const MapLocation& location) = 0;
  virtual int Width() = 0;
  virtual int Height() = 0;

  // Names of the active route's waypoints in order; empty without a route.
  virtual std::vector<std::string> ActiveRouteWaypointNames() = 0;

  // Pushpin operations behind PushpinRef; each throws PushpinGone for a deleted pin.
  virtual MapLocation PushpinLocation(PushpinId id) = 0;
  virtual void SetPushpinLocation(PushpinId id, const MapLocation& location) = 0;
  virtual void SetPushpinSymbol(PushpinId id, std::int16_t symbol) = 0;
  virtual void SetPushpinBalloonState(PushpinId id, int state) = 0;
  virtual void SetPushpinNote(PushpinId id, const std::string& note) = 0;
  virtual std::string PushpinName(PushpinId id) = 0;
  virtual void DeletePushpin(PushpinId id) = 0;
};

// The host application: whether a map is open ("Application.ActiveMap").
class MapApplication {
 public:
  virtual ~MapApplication() = default;
  // Nothing while no map document is open.
  virtual ActiveMap* GetActiveMap() = 0;
};

MapLocation PushpinRef::Location() const {
  return map_->PushpinLocation(id_);
}
void PushpinRef::SetLocation(const MapLocation& location) const {
  map_->SetPushpinLocation(id_, location);
}
void PushpinRef::SetSymbol(std::int16_t symbol) const {
  map_->SetPushpinSymbol(id_, symbol);
}
void PushpinRef::SetBalloonState(int state) const {
  map_->SetPushpinBalloonState(id_, state);
}
void PushpinRef::SetNote(const std::string& note) const {
  map_->SetPushpinNote(id_, note);
}
std::string PushpinRef::Name() const {
  return map_->PushpinName(id_);
}
void PushpinRef::Delete() const {
  map_->DeletePushpin(id_);
}

}  // namespace orvo::host::map
