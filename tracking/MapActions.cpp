#include "tracking/MapActions.hpp"

#include "host/map/MapView.hpp"

namespace orvo::tracking {

void MapViewActions::ZoomMap(int direction) {
  if (direction > 0)
    view_.ZoomIn();
  else
    view_.ZoomOut();
}

}  // namespace orvo::tracking
