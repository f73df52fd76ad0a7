#pragma once
// What the main window's compass menu and keys ask of the map: find the current position, push a
// pin there, calculate a route from there, zoom. Map tracking and the compass panel implement it;
// until they exist the view's zoom is all there is to act on.
namespace orvo::host::map {
class MapView;
}

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

// Nothing to act on: no map beside ORVO.
class NullMapActions final : public MapActions {};

// Zooms the host's map view; the pin and route actions wait for the map document.
class MapViewActions final : public MapActions {
 public:
  explicit MapViewActions(host::map::MapView& view) : view_(view) {}
  void ZoomMap(int direction) override;

 private:
  host::map::MapView& view_;
};

}  // namespace orvo::tracking
