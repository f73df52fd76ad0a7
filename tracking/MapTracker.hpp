#pragma once
// The current-position pushpin and map following: each refresh moves the pin named
// "ORVO_CurrentPosition" to the fix, gives it an arrow or a state colour, lets the trail drop its
// pin, and re-centres the map every few refreshes or when the pin nears an edge.
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "gps/GpsFix.hpp"
#include "host/map/ActiveMap.hpp"
#include "host/ui/Control.hpp"
#include "host/ui/Window.hpp"

namespace orvo::tracking {

class TrailRecorder;

// The main window's controls this part works with.
struct MapTrackerControls {
  host::ui::Window& mainWindow;
  host::ui::CheckBox& chkTrkOnMap;
  host::ui::ScrollBar& sclTrackFactor;
  host::ui::Label& lblTrackFactor;
  host::ui::ScrollBar& sclRefreshRate;
  host::ui::Label& lblRefreshRate;
  host::ui::Timer& Timer1;
  host::ui::CheckBox& chkTrail;
  host::ui::Button& cmdCurPPSel;
  host::ui::MenuItem& mnuPosPPStyle;
  host::ui::MenuItem& mnuPosPPStyleHeading;
  host::ui::MenuItem& mnuPosPPStyleGPS;
  host::ui::MenuItem& mnuCompassCalcRouteFromHere;
};

class MapTracker {
 public:
  static constexpr const char* kPositionPinName = "ORVO_CurrentPosition";
  // "Auto" following re-centres when the pin comes this close to an edge of the map.
  static constexpr int kFollowMarginPixels = 70;

  // Sets the ranges of both bars, wires chkTrkOnMap, sclTrackFactor, sclRefreshRate,
  // cmdCurPPSel and the style menu, and shows both bars at 1 until the settings are applied.
  MapTracker(MapTrackerControls controls, const gps::GpsFix& fix,
             host::map::MapApplication& application, TrailRecorder& trail,
             std::function<void(std::string_view)> diagnostics = {});

  // The tracking step of each refresh tick. Host errors end it silently (logged); the next tick
  // tries again.
  void UpdatePositionOnMap();
  void RemovePositionPin();
  // Centres the map on the position pin, if the map has one.
  void LocateCurrentPosition();
  // 0 symbol by GPS state, 1 by heading; checks the matching menu entry.
  void SetPosPPStyle(std::int16_t style);
  std::int16_t PosPPStyle() const { return posPPStyle_; }

  void chkTrkOnMap_Click();
  void sclTrackFactor_Change();
  void sclRefreshRate_Change();
  void cmdCurPPSel_Click();

  const std::optional<host::map::PushpinRef>& CurrentPositionPin() const {
    return currentPositionPin_;
  }
  std::int16_t TrackCounter() const { return trackCounter_; }

 private:
  void PlacePositionPin(host::map::ActiveMap& map, const host::map::MapLocation& location);
  void FollowPosition(host::map::ActiveMap& map);
  host::map::PushpinRef AddPositionPin(host::map::ActiveMap& map,
                                       const host::map::MapLocation& location);

  MapTrackerControls controls_;
  const gps::GpsFix& fix_;
  host::map::MapApplication& application_;
  TrailRecorder& trail_;
  std::function<void(std::string_view)> diagnostics_;

  std::optional<host::map::PushpinRef> currentPositionPin_;
  std::int16_t posPPStyle_ = 1;
  std::int16_t trackCounter_ = 0;
};

}  // namespace orvo::tracking
