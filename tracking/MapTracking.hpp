#pragma once
// What the refresh tick and the unload ask of map tracking, which the map work brings. Until
// it exists, NullMapTracking stands in and does nothing.
namespace orvo::tracking {

// The per-tick map step and the trail: the current-position pin, trail pins, map following.
class MapTracking {
 public:
  virtual ~MapTracking() = default;
  virtual void UpdatePositionOnMap() {}
  // `chkTrkOnMap` was cleared: the refreshes counted towards the next re-centring start again.
  virtual void ResetTrackCounter() {}
  // The main window unloads: clear the trail or only the pin cache, asking the user.
  virtual void ClearTrailOnUnload() {}
};

class NullMapTracking final : public MapTracking {};

}  // namespace orvo::tracking
