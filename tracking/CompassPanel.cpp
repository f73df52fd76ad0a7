#include "tracking/CompassPanel.hpp"

#include <algorithm>
#include <string>

#include "tracking/MapTracker.hpp"
#include "tracking/TrailRecorder.hpp"

namespace orvo::tracking {

CompassPanel::CompassPanel(CompassControls controls, const gps::GpsFix& fix,
                           host::map::MapApplication& application, MapTracker& tracker,
                           TrailRecorder& trail, std::function<void(std::string_view)> diagnostics)
    : controls_(controls),
      fix_(fix),
      application_(application),
      tracker_(tracker),
      trail_(trail),
      diagnostics_(std::move(diagnostics)) {
  controls_.lblCompass.onMouseMove = [this](const host::ui::MouseEvent&) {
    lblCompass_MouseMove();
  };
  controls_.lblCompass.onMouseUp = [this](const host::ui::MouseEvent&) { lblCompass_MouseUp(); };
  controls_.mnuCompassLocate.onClick = [this] { tracker_.LocateCurrentPosition(); };
  controls_.mnuCompassPushAPin.onClick = [this] { PushAPinHere(); };
  controls_.mnuCompassCalcRouteFromHere.onClick = [this] {
    if (calcRouteFromHere) calcRouteFromHere();
  };
}

void CompassPanel::lblCompass_MouseMove() {
  controls_.shpD.SetStyle("style", kHighlightStyle);
}

// The menu opens at the label's upper right corner (the unit menus open at the lower right).
void CompassPanel::lblCompass_MouseUp() {
  ApplyEnabling();
  const auto& label = controls_.lblCompass;
  controls_.mainWindow.PopupMenu(controls_.mnuCompass, label.Left() + label.Width(), label.Top());
  controls_.shpD.SetStyle("style", kPlainStyle);
}

void CompassPanel::ApplyEnabling() {
  UpdateRouteItem();
  UpdateFixItems();
}

void CompassPanel::UpdateFixItems() {
  const bool hasState = fix_.FixMode >= gps::kFixModeNoFix;
  controls_.mnuCompassPushAPin.SetEnabled(hasState);
  controls_.mnuCompassSyncTime.SetEnabled(hasState);
}

void CompassPanel::UpdateRouteItem() {
  // Host errors leave the route empty: a missing map or route only disables the item.
  std::vector<std::string> waypoints;
  try {
    if (host::map::ActiveMap* map = application_.GetActiveMap())
      waypoints = map->ActiveRouteWaypointNames();
  } catch (const std::exception&) {
    waypoints.clear();
  }
  const auto count = waypoints.size();
  const bool hasCurrentPosition =
      std::find(waypoints.begin(), waypoints.end(), kCurrentPositionWaypoint) != waypoints.end();
  bool mapOpen = false;
  try {
    mapOpen = application_.GetActiveMap() != nullptr;  // asked again, as the host is
  } catch (const std::exception&) {
  }
  const bool a = mapOpen && count >= 1;
  const bool b = !hasCurrentPosition || count >= 2;
  controls_.mnuCompassCalcRouteFromHere.SetEnabled(a && b);
}

void CompassPanel::PushAPinHere() {
  try {
    host::map::ActiveMap* map = application_.GetActiveMap();
    if (map == nullptr) return;
    trail_.QueueTrailPin(map->GetLocation(fix_.Latitude, fix_.Longitude, 0));
    const auto pending = trail_.TakePendingPin();
    if (!pending) return;
    const host::map::PushpinRef pin = map->AddPushpin(pending->location, pending->name);
    pin.SetSymbol(pending->symbol);
    pin.SetBalloonState(host::map::kBalloonOpen);
    if (trail_.NotesOn()) pin.SetNote(pending->note);
  } catch (const std::exception& error) {
    // Nothing is pushed; the user sees no message.
    trail_.TakePendingPin();
    if (diagnostics_) diagnostics_(std::string("PushAPinHere: ") + error.what());
  }
}

}  // namespace orvo::tracking
