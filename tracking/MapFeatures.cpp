#include "tracking/MapFeatures.hpp"

namespace orvo::tracking {

MapFeatures::MapFeatures(host::ui::Desktop& desktop, const MapFeatureControls& controls,
                         const gps::GpsFix& fix, TraceOptions& options,
                         host::map::MapApplication& application, const ReadingsText& readings,
                         host::map::MapView* view,
                         const std::function<void(std::string_view)>& diagnostics)
    : trail_(desktop, controls.trail, fix, options, application, readings, diagnostics),
      tracker_(controls.tracker, fix, application, trail_, diagnostics),
      compass_(controls.compass, fix, application, tracker_, trail_, diagnostics),
      view_(view) {}

void MapFeatures::UpdatePositionOnMap() {
  tracker_.UpdatePositionOnMap();
  // Push-a-pin follows the fix, so that the key P is refused exactly when the item would be.
  compass_.UpdateFixItems();
}

void MapFeatures::ZoomMap(int direction) {
  if (view_ == nullptr) return;
  if (direction > 0)
    view_->ZoomIn();
  else
    view_->ZoomOut();
}

}  // namespace orvo::tracking
