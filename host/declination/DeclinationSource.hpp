#pragma once
#include <optional>

namespace orvo::host::declination {

// Where the main window gets the magnetic declination for its magnetic heading. The real source
// is WorldMagneticModel; window tests put a fixed value behind it.
class DeclinationSource {
 public:
  virtual ~DeclinationSource() = default;

  // Declination in degrees, east positive, at a geodetic position (WGS84 degrees, altitude in km
  // above the ellipsoid) and a decimal year. Empty when the source has no trustworthy value there.
  virtual std::optional<double> DeclinationDegrees(double latitudeDegrees, double longitudeDegrees,
                                                   double altitudeKm, double decimalYear) = 0;
};

}  // namespace orvo::host::declination
