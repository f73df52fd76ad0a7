#pragma once
// What the refresh tick and the unload ask of map tracking. MapFeatures implements it.
namespace orvo::tracking {

// The per-tick map step and the trail: the current-position pin, trail pins, map following.
class MapTracking {
 public:
  virtual ~MapTracking() = default;
  virtual void UpdatePositionOnMap() {}
  // The main window unloads: clear the trail or only the pin cache, asking the user.
  virtual void ClearTrailOnUnload() {}
};

}  // namespace orvo::tracking
