#include "host/map/DocumentMap.hpp"

#include <utility>

namespace orvo::host::map {

namespace {

Location Flat(const MapLocation& location) {
  return {location.latitudeDegrees, location.longitudeDegrees};
}

// The document keeps no altitude: a pin's location is on the ground.
MapLocation OnTheGround(const Location& location) {
  return {location.latitudeDegrees, location.longitudeDegrees, 0.0};
}

}  // namespace

MapDocument& DocumentMap::Document() {
  MapDocument* document = host_.ActiveMap();
  if (document == nullptr) throw MapError("no map is open");
  return *document;
}

MapDocument& DocumentMap::DocumentWith(PushpinId id) {
  MapDocument& document = Document();
  if (document.Find(id) == nullptr) throw PushpinGone("the pushpin was deleted");
  return document;
}

MapLocation DocumentMap::GetLocation(double latitudeDegrees, double longitudeDegrees,
                                     double altitudeMetres) {
  MapLocation location = OnTheGround(geometry_.GetLocation(latitudeDegrees, longitudeDegrees));
  location.altitudeMetres = altitudeMetres;
  return location;
}

std::optional<PushpinRef> DocumentMap::FindPushpin(std::string_view name) {
  const std::optional<Pushpin> found = Document().FindPushpin(name);
  if (!found) return std::nullopt;
  return PushpinRef(*this, found->Id());
}

PushpinRef DocumentMap::AddPushpin(const MapLocation& location,
                                   const std::optional<std::string>& name) {
  return PushpinRef(*this, Document().AddPushpin(Flat(location), name.value_or("")).Id());
}

void DocumentMap::GoTo(const MapLocation& location) {
  geometry_.GoTo(Flat(location));
}

int DocumentMap::LocationToX(const MapLocation& location) {
  return geometry_.LocationToX(Flat(location));
}

int DocumentMap::LocationToY(const MapLocation& location) {
  return geometry_.LocationToY(Flat(location));
}

std::vector<std::string> DocumentMap::ActiveRouteWaypointNames() {
  std::vector<std::string> names;
  for (const Waypoint& waypoint : std::as_const(Document()).Plan().Waypoints())
    names.push_back(waypoint.name);
  return names;
}

MapLocation DocumentMap::PushpinLocation(PushpinId id) {
  return OnTheGround(DocumentWith(id).Find(id)->location);
}

void DocumentMap::SetPushpinLocation(PushpinId id, const MapLocation& location) {
  DocumentWith(id).Move(id, Flat(location));
}

void DocumentMap::SetPushpinSymbol(PushpinId id, std::int16_t symbol) {
  DocumentWith(id).SetSymbol(id, symbol);
}

void DocumentMap::SetPushpinBalloonState(PushpinId id, int state) {
  DocumentWith(id).SetBalloonState(id, state);
}

void DocumentMap::SetPushpinNote(PushpinId id, const std::string& note) {
  DocumentWith(id).SetNote(id, note);
}

std::string DocumentMap::PushpinName(PushpinId id) {
  return DocumentWith(id).Find(id)->name;
}

void DocumentMap::DeletePushpin(PushpinId id) {
  DocumentWith(id).Delete(id);
}

}  // namespace orvo::host::map
