#pragma once
// Plain geographic values shared by the map host: WGS84 degrees, as OpenStreetMap stores them.
#include <optional>
#include <string_view>

namespace orvo::host::map {

struct GeoPoint {
  double latitudeDegrees = 0.0;
  double longitudeDegrees = 0.0;
};

// An area between two meridians and two parallels; regions never cross the antimeridian.
struct GeoBounds {
  double westDegrees = 0.0;
  double southDegrees = 0.0;
  double eastDegrees = 0.0;
  double northDegrees = 0.0;

  bool Contains(const GeoPoint& point) const {
    return point.latitudeDegrees >= southDegrees && point.latitudeDegrees <= northDegrees &&
           point.longitudeDegrees >= westDegrees && point.longitudeDegrees <= eastDegrees;
  }
  GeoPoint Centre() const {
    return {(southDegrees + northDegrees) / 2.0, (westDegrees + eastDegrees) / 2.0};
  }
  // Ordered corners inside the valid range of latitude and longitude.
  bool IsValid() const {
    return westDegrees >= -180.0 && eastDegrees <= 180.0 && westDegrees < eastDegrees &&
           southDegrees >= -90.0 && northDegrees <= 90.0 && southDegrees < northDegrees;
  }
};

// "43.7397,7.4275" (latitude, longitude) as a point on the globe; nothing for any other text.
std::optional<GeoPoint> ParseGeoPoint(std::string_view text);

}  // namespace orvo::host::map
