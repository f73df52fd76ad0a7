#pragma once
// The map side of the main window in one piece: the trail, the current-position pin with map
// following, and the compass menu, built in that order (each needs the ones before), behind the
// two interfaces the main window calls.
#include <functional>
#include <string_view>

#include "gps/GpsFix.hpp"
#include "host/map/ActiveMap.hpp"
#include "host/map/MapView.hpp"
#include "host/ui/Desktop.hpp"
#include "tracking/CompassPanel.hpp"
#include "tracking/MapActions.hpp"
#include "tracking/MapTracker.hpp"
#include "tracking/MapTracking.hpp"
#include "tracking/ReadingsText.hpp"
#include "tracking/TraceOptions.hpp"
#include "tracking/TrailRecorder.hpp"

namespace orvo::tracking {

struct MapFeatureControls {
  TrailControls trail;
  MapTrackerControls tracker;
  CompassControls compass;
};

// The host application when ORVO runs without a map beside it: never a map open.
class NoMapApplication final : public host::map::MapApplication {
 public:
  host::map::ActiveMap* GetActiveMap() override { return nullptr; }
};

class MapFeatures final : public MapTracking, public MapActions {
 public:
  // VIEW (null: no map beside ORVO) is what the zoom keys act on.
  MapFeatures(host::ui::Desktop& desktop, const MapFeatureControls& controls,
              const gps::GpsFix& fix, TraceOptions& options, host::map::MapApplication& application,
              const ReadingsText& readings, host::map::MapView* view,
              const std::function<void(std::string_view)>& diagnostics);

  void UpdatePositionOnMap() override;
  void ClearTrailOnUnload() override { trail_.SettleTrailOnUnload(); }

  void PrepareCompassMenu() override { compass_.ApplyEnabling(); }
  void LocateCurrentPosition() override { tracker_.LocateCurrentPosition(); }
  void PushPinHere() override { compass_.PushAPinHere(); }
  void CalcRouteFromHere() override {
    if (compass_.calcRouteFromHere) compass_.calcRouteFromHere();
  }
  void ZoomMap(int direction) override;

  TrailRecorder& Trail() { return trail_; }
  MapTracker& Tracker() { return tracker_; }
  const MapTracker& Tracker() const { return tracker_; }
  CompassPanel& Compass() { return compass_; }

 private:
  TrailRecorder trail_;
  MapTracker tracker_;
  CompassPanel compass_;
  host::map::MapView* view_;
};

}  // namespace orvo::tracking
