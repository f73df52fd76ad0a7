#pragma once
// What the main window's compass menu and keys ask of the map: find the current position, push a
// pin there, calculate a route from there, zoom. MapFeatures implements it.
namespace orvo::tracking {

class MapActions {
 public:
  virtual ~MapActions() = default;
  // The compass menu's enabling rules, just before it pops up.
  virtual void PrepareCompassMenu() {}
  virtual void LocateCurrentPosition() {}
  virtual void PushPinHere() {}
  virtual void CalcRouteFromHere() {}
  // +1 zooms in, -1 out.
  virtual void ZoomMap(int /*direction*/) {}
};

}  // namespace orvo::tracking
