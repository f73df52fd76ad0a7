#pragma once
// The compass on the tracking tab doubles as a button: its label lights the ring on hover and
// opens the menu of actions that start from the current position.
#include <functional>
#include <string_view>

#include "gps/GpsFix.hpp"
#include "host/map/ActiveMap.hpp"
#include "host/ui/Control.hpp"
#include "host/ui/Window.hpp"

namespace orvo::tracking {

class MapTracker;
class TrailRecorder;

struct CompassControls {
  host::ui::Window& mainWindow;
  host::ui::Label& lblCompass;
  host::ui::Shape& shpD;
  host::ui::MenuItem& mnuCompass;
  host::ui::MenuItem& mnuCompassLocate;
  host::ui::MenuItem& mnuCompassCalcRouteFromHere;
  host::ui::MenuItem& mnuCompassPushAPin;
  host::ui::MenuItem& mnuCompassSyncTime;
};

class CompassPanel {
 public:
  static constexpr const char* kCurrentPositionWaypoint = "Current Position";
  // The look of the ring (the page draws "style" 1 highlighted, 0 plain).
  static constexpr int kPlainStyle = 0;
  static constexpr int kHighlightStyle = 1;

  // Wires lblCompass's mouse events and the Locate, Push-a-pin and route items. The route item
  // runs `calcRouteFromHere` (the guidance work's CalcRouteFromHere(true)) when it is set;
  // mnuCompassSyncTime stays the main window's.
  CompassPanel(CompassControls controls, const gps::GpsFix& fix,
               host::map::MapApplication& application, MapTracker& tracker, TrailRecorder& trail,
               std::function<void(std::string_view)> diagnostics = {});

  // The enabling rules, applied as the menu opens.
  void ApplyEnabling();
  // Push-a-pin and Sync System Time follow the fix: run it with each refresh too, so that the
  // key P is refused exactly when the menu item would be.
  void UpdateFixItems();
  // Calc Route from here: a route that is more than the "Current Position" waypoint alone.
  void UpdateRouteItem();

  // mnuCompassPushAPin: a pin at the current position with its balloon open.
  void PushAPinHere();

  void lblCompass_MouseMove();
  void lblCompass_MouseUp();

  std::function<void()> calcRouteFromHere;

 private:
  CompassControls controls_;
  const gps::GpsFix& fix_;
  host::map::MapApplication& application_;
  MapTracker& tracker_;
  TrailRecorder& trail_;
  std::function<void(std::string_view)> diagnostics_;
};

}  // namespace orvo::tracking
