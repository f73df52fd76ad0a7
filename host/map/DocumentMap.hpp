#pragma once
// The map host's open document and view seen through the interface map tracking, the trail and
// the compass work with (ActiveMap.hpp). It holds nothing of its own: every call goes to the
// document that is active at that moment, so New Map, Open Map and Close Map need no rewiring.
#include "host/map/ActiveMap.hpp"
#include "host/map/MapGeometry.hpp"
#include "host/map/MapHost.hpp"

namespace orvo::host::map {

class DocumentMap final : public ActiveMap, public MapApplication {
 public:
  DocumentMap(MapHost& host, MapGeometry& geometry) : host_(host), geometry_(geometry) {}

  // This adapter while a document is open, nothing otherwise.
  ActiveMap* GetActiveMap() override { return host_.ActiveMap() != nullptr ? this : nullptr; }

  MapLocation GetLocation(double latitudeDegrees, double longitudeDegrees,
                          double altitudeMetres) override;
  std::optional<PushpinRef> FindPushpin(std::string_view name) override;
  PushpinRef AddPushpin(const MapLocation& location,
                        const std::optional<std::string>& name) override;
  void GoTo(const MapLocation& location) override;
  int LocationToX(const MapLocation& location) override;
  int LocationToY(const MapLocation& location) override;
  int Width() override { return geometry_.Width(); }
  int Height() override { return geometry_.Height(); }
  std::vector<std::string> ActiveRouteWaypointNames() override;

  MapLocation PushpinLocation(PushpinId id) override;
  void SetPushpinLocation(PushpinId id, const MapLocation& location) override;
  void SetPushpinSymbol(PushpinId id, std::int16_t symbol) override;
  void SetPushpinBalloonState(PushpinId id, int state) override;
  void SetPushpinNote(PushpinId id, const std::string& note) override;
  std::string PushpinName(PushpinId id) override;
  void DeletePushpin(PushpinId id) override;

 private:
  // The open document; throws MapError without one.
  MapDocument& Document();
  // The document holding pin `id`; throws PushpinGone when the pin is no longer there (deleted by
  // ORVO or by the user's hand in the page).
  MapDocument& DocumentWith(PushpinId id);

  MapHost& host_;
  MapGeometry& geometry_;
};

}  // namespace orvo::host::map
