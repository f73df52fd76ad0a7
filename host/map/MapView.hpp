#pragma once
// The map's view: its centre, zoom and the pixel size of the map area. The pages own the map
// display and report every change of view; the core asks them to move it by publishing a
// message, so every page follows.
#include <functional>
#include <string_view>

#include "host/ui/Desktop.hpp"

namespace orvo::host::map {

struct MapViewState {
  double centreLatitudeDegrees = 0;
  double centreLongitudeDegrees = 0;
  // Web-map zoom: 0 shows the world in 256 pixels, each step doubles the scale.
  double zoom = 2;
  int widthPixels = 0;  // the map area in the page; 0 until a page reports it
  int heightPixels = 0;
};

class MapView {
 public:
  // Zooms the map tiles can be shown at; the page over-zooms the highest one.
  static constexpr double kMinZoom = 0;
  static constexpr double kMaxZoom = 20;

  explicit MapView(ui::Desktop& desktop);

  const MapViewState& State() const { return state_; }
  // The view shown before any page has reported one (the region's centre).
  void SetInitialView(double latitudeDegrees, double longitudeDegrees, double zoom);

  // Moves every page's map; without a zoom the zoom stays.
  void GoTo(double latitudeDegrees, double longitudeDegrees, std::optional<double> zoom = {});
  void ZoomIn();
  void ZoomOut();

  // A page's {"type":"mapview","lat":..,"lon":..,"zoom":..,"width":..,"height":..}. False for
  // messages of other types; a malformed view is reported and ignored.
  bool HandleEvent(const ui::Json& event);
  // Adds "mapView" to a connecting page's snapshot, so it opens where the others are.
  void AddToSnapshot(ui::Json& snapshot) const;

  // After every change, whoever made it.
  std::function<void()> onChange;
  std::function<void(std::string_view)> diagnostics;

 private:
  void Publish();
  ui::Json ViewJson() const;

  ui::Desktop& desktop_;
  MapViewState state_;
};

}  // namespace orvo::host::map
