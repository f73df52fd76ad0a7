#pragma once
#include <array>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/declination/DeclinationSource.hpp"

namespace orvo::host::declination {

// A coefficient file that cannot be read or does not have the expected layout. The message names
// the file and, where there is one, the line.
class ModelFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The main field at one point, in the local geodetic frame (north, east, down).
struct MagneticField {
  double declinationDegrees = 0.0;  // east of true north positive
  double inclinationDegrees = 0.0;  // below the horizontal positive
  double northNanotesla = 0.0;      // X
  double eastNanotesla = 0.0;       // Y
  double downNanotesla = 0.0;       // Z
  double horizontalIntensityNanotesla = 0.0;
  double totalIntensityNanotesla = 0.0;
};

// The World Magnetic Model: a degree-12 spherical-harmonic main field with a linear secular
// variation, read from a NOAA/BGS coefficient file (WMM.COF layout). Immutable once loaded, so one
// instance may be shared between threads.
class WorldMagneticModel final : public DeclinationSource {
 public:
  static constexpr int kMaxDegree = 12;
  // The model is published for five years from its epoch and is not to be used outside them.
  static constexpr double kValidityYears = 5.0;
  // The altitude range the model is published for, km above the WGS84 ellipsoid.
  static constexpr double kMinAltitudeKm = -1.0;
  static constexpr double kMaxAltitudeKm = 850.0;

  // Reads a coefficient file; throws ModelFileError when it cannot be opened or is malformed.
  static WorldMagneticModel LoadFile(const std::filesystem::path& cofPath);
  // The same from text already in memory; sourceName is used in error messages.
  static WorldMagneticModel Parse(std::string_view cofText, const std::string& sourceName);

  // The file ORVO ships: WMM2025.COF in the application's data folder.
  static std::filesystem::path DefaultFilePath();

  double EpochYear() const { return epochYear_; }
  double ValidUntilYear() const { return epochYear_ + kValidityYears; }
  const std::string& Name() const { return name_; }  // "WMM-2025"

  // True from the epoch up to, not including, epoch + 5 years.
  bool IsValidAt(double decimalYear) const;

  // The field at a geodetic position (degrees; longitude any finite value) and altitude (km above
  // the WGS84 ellipsoid) at a decimal year. Empty outside the model's years or altitudes, for a
  // latitude beyond +-90 and for values that are not finite: the model does not extrapolate.
  std::optional<MagneticField> FieldAt(double latitudeDegrees, double longitudeDegrees,
                                       double altitudeKm, double decimalYear) const;

  std::optional<double> DeclinationDegrees(double latitudeDegrees, double longitudeDegrees,
                                           double altitudeKm, double decimalYear) override;

 private:
  using Table = std::array<std::array<double, kMaxDegree + 1>, kMaxDegree + 1>;  // [n][m]

  WorldMagneticModel() = default;

  double epochYear_ = 0.0;
  std::string name_;
  Table g_{};     // nT
  Table h_{};     // nT
  Table gDot_{};  // nT per year
  Table hDot_{};  // nT per year
};

}  // namespace orvo::host::declination
