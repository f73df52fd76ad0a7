#include "host/map/MapGeometry.hpp"

#include <GeographicLib/Geodesic.hpp>
#include <algorithm>
#include <climits>
#include <cmath>
#include <numbers>

namespace orvo::host::map {
namespace {

// Web Mercator's square world ends here; a location nearer a pole is drawn on the edge.
constexpr double kMercatorLimitDegrees = 85.0511287798066;

double WorldPixels(double zoom) {
  return kTilePixels * std::exp2(zoom);
}

// The world in [0, 1) x [0, 1), north-west corner at 0.
double MercatorX(double longitudeDegrees) {
  return (longitudeDegrees + 180.0) / 360.0;
}
double MercatorY(double latitudeDegrees) {
  const double latitude =
      std::clamp(latitudeDegrees, -kMercatorLimitDegrees, kMercatorLimitDegrees) *
      std::numbers::pi / 180.0;
  return 0.5 -
         std::log(std::tan(std::numbers::pi / 4.0 + latitude / 2.0)) / (2.0 * std::numbers::pi);
}

int WholePixels(double pixels) {
  // Far off the map the value only says "outside"; it must still fit the host's long.
  return static_cast<int>(
      std::lround(std::clamp(pixels, double{INT_MIN / 2}, double{INT_MAX / 2})));
}

}  // namespace

PixelPoint LocationToPixel(const MapViewState& view, const Location& location) {
  const double world = WorldPixels(view.zoom);
  double dx = MercatorX(location.longitudeDegrees) - MercatorX(view.centreLongitudeDegrees);
  dx -= std::round(dx);  // the copy of the world nearest the centre
  const double dy = MercatorY(location.latitudeDegrees) - MercatorY(view.centreLatitudeDegrees);
  return {view.widthPixels / 2.0 + dx * world, view.heightPixels / 2.0 + dy * world};
}

Location PixelToLocation(const MapViewState& view, double x, double y) {
  const double world = WorldPixels(view.zoom);
  const double mercatorX =
      MercatorX(view.centreLongitudeDegrees) + (x - view.widthPixels / 2.0) / world;
  const double mercatorY =
      MercatorY(view.centreLatitudeDegrees) + (y - view.heightPixels / 2.0) / world;
  double longitude = std::remainder(mercatorX * 360.0 - 180.0, 360.0);
  if (longitude == -180.0) longitude = 180.0;
  const double latitude =
      std::atan(std::sinh((0.5 - mercatorY) * 2.0 * std::numbers::pi)) * 180.0 / std::numbers::pi;
  return {latitude, longitude};
}

double GeodesicDistanceMetres(const Location& from, const Location& to) {
  double metres = 0;
  GeographicLib::Geodesic::WGS84().Inverse(from.latitudeDegrees, from.longitudeDegrees,
                                           to.latitudeDegrees, to.longitudeDegrees, metres);
  return metres;
}

double Distance(const Location& from, const Location& to, DistanceUnit unit) {
  const double metres = GeodesicDistanceMetres(from, to);
  return metres / (unit == DistanceUnit::Miles ? kMetresPerMile : kMetresPerKilometre);
}

Location MapGeometry::GetLocation(double latitudeDegrees, double longitudeDegrees) const {
  if (!std::isfinite(latitudeDegrees) || !std::isfinite(longitudeDegrees) ||
      std::abs(latitudeDegrees) > 90.0)
    throw MapError("a location needs a latitude from -90 to 90 and a finite longitude");
  double longitude = std::remainder(longitudeDegrees, 360.0);
  if (longitude == -180.0) longitude = 180.0;
  return {latitudeDegrees, longitude};
}

void MapGeometry::GoTo(const Location& location) {
  view_.GoTo(location.latitudeDegrees, location.longitudeDegrees);
}

int MapGeometry::LocationToX(const Location& location) const {
  return WholePixels(LocationToPixel(view_.State(), location).x);
}

int MapGeometry::LocationToY(const Location& location) const {
  return WholePixels(LocationToPixel(view_.State(), location).y);
}

double MapGeometry::Distance(const Location& from, const Location& to) const {
  return map::Distance(from, to, host_.Unit());
}

}  // namespace orvo::host::map
