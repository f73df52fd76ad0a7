#pragma once
// The map's geometry as the host's object model offers it: locations, the view's pixel
// coordinates and distances.
//
// Pixels: the page shows Web Mercator with 256-pixel tiles; at zoom z the world is 256 * 2^z
// pixels wide and the view's centre is at (width / 2, height / 2) of the map area. The
// coordinates are computed here from the view the page last reported, without asking it.
//
// Distances: geodesic on the WGS84 ellipsoid (GeographicLib), in the host's unit.
#include "host/map/MapDocument.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/MapView.hpp"

namespace orvo::host::map {

inline constexpr double kTilePixels = 256.0;
inline constexpr double kMetresPerKilometre = 1000.0;
inline constexpr double kMetresPerMile = 1609.344;  // the international statute mile

struct PixelPoint {
  double x = 0;  // from the map area's left edge, to the right
  double y = 0;  // from its top edge, downwards
};

// LOCATION in the map area showing VIEW. Longitudes are taken on the copy of the world
// nearest the centre.
PixelPoint LocationToPixel(const MapViewState& view, const Location& location);
// The inverse: the location shown at pixel (X, Y).
Location PixelToLocation(const MapViewState& view, double x, double y);

double GeodesicDistanceMetres(const Location& from, const Location& to);
double Distance(const Location& from, const Location& to, DistanceUnit unit);

class MapGeometry {
 public:
  MapGeometry(MapView& view, const MapHost& host) : view_(view), host_(host) {}

  // Throws MapError for a latitude beyond ±90 or a value that is not a number.
  Location GetLocation(double latitudeDegrees, double longitudeDegrees) const;
  // Location.GoTo: centres every page's map on LOCATION, keeping the zoom.
  void GoTo(const Location& location);
  // Whole pixels, as the host gave them.
  int LocationToX(const Location& location) const;
  int LocationToY(const Location& location) const;
  // The map area in pixels; 0 until a page has reported it.
  int Width() const { return view_.State().widthPixels; }
  int Height() const { return view_.State().heightPixels; }
  // In the host's unit (MapHost::Unit).
  double Distance(const Location& from, const Location& to) const;

 private:
  MapView& view_;
  const MapHost& host_;
};

}  // namespace orvo::host::map
