#include "host/declination/WorldMagneticModel.hpp"

#include <charconv>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <numbers>
#include <type_traits>
#include <vector>

#include "host/platform/AppFolder.hpp"
#include "host/platform/Text.hpp"

namespace orvo::host::declination {
namespace {

constexpr int kSize = WorldMagneticModel::kMaxDegree + 1;

// WGS84 ellipsoid, the frame GPS positions are given in.
constexpr double kSemiMajorAxisKm = 6378.137;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kEccentricitySquared = kFlattening * (2.0 - kFlattening);
// The geomagnetic reference radius the coefficients are defined for.
constexpr double kReferenceRadiusKm = 6371.2;

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

// ---- reading the coefficient file ----

using platform::Trim;

std::vector<std::string_view> Fields(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t position = 0;
  while (position < line.size()) {
    const auto start = line.find_first_not_of(" \t\r", position);
    if (start == std::string_view::npos) break;
    auto end = line.find_first_of(" \t\r", start);
    if (end == std::string_view::npos) end = line.size();
    fields.push_back(line.substr(start, end - start));
    position = end;
  }
  return fields;
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || stop != end) return std::nullopt;
  if constexpr (std::is_floating_point_v<Number>) {
    if (!std::isfinite(value)) return std::nullopt;
  }
  return value;
}

bool IsEndLine(std::string_view trimmedLine) {
  return !trimmedLine.empty() && trimmedLine.find_first_not_of('9') == std::string_view::npos;
}

class LineError {
 public:
  LineError(const std::string& sourceName, int lineNumber)
      : prefix_(sourceName + ", line " + std::to_string(lineNumber) + ": ") {}
  // The message is appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) about
  // `"literal" + std::string`.
  [[noreturn]] void Throw(std::initializer_list<std::string_view> pieces) const {
    std::string message = prefix_;
    for (const std::string_view piece : pieces) message.append(piece);
    throw ModelFileError(message);
  }

 private:
  std::string prefix_;
};

// ---- evaluating ----

std::size_t At(int index) {
  return static_cast<std::size_t>(index);
}

// Constant factors of the Schmidt semi-normalised recurrences, computed once.
struct RecurrenceFactors {
  std::array<double, kSize> sectoral{};                     // sqrt((2m-1)/(2m)), 1 for m = 1
  std::array<std::array<double, kSize>, kSize> previous{};  // sqrt((n-1)^2 - m^2)  [n][m]
  std::array<std::array<double, kSize>, kSize> inverse{};   // 1 / sqrt(n^2 - m^2)  [n][m]

  RecurrenceFactors() {
    sectoral[1] = 1.0;
    for (int m = 2; m < kSize; ++m) sectoral[At(m)] = std::sqrt((2.0 * m - 1.0) / (2.0 * m));
    for (int m = 0; m < kSize; ++m) {
      for (int n = m + 1; n < kSize; ++n) {
        previous[At(n)][At(m)] = std::sqrt(static_cast<double>((n - 1) * (n - 1) - m * m));
        inverse[At(n)][At(m)] = 1.0 / std::sqrt(static_cast<double>(n * n - m * m));
      }
    }
  }
};

const RecurrenceFactors& Factors() {
  static const RecurrenceFactors factors;
  return factors;
}

}  // namespace

WorldMagneticModel WorldMagneticModel::LoadFile(const std::filesystem::path& cofPath) {
  std::ifstream file(cofPath, std::ios::binary);
  if (!file) throw ModelFileError(cofPath.string() + ": cannot open the magnetic model file");
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) throw ModelFileError(cofPath.string() + ": cannot read the magnetic model file");
  return Parse(text, cofPath.string());
}

WorldMagneticModel WorldMagneticModel::Parse(std::string_view cofText,
                                             const std::string& sourceName) {
  WorldMagneticModel model;
  std::array<std::array<bool, kSize>, kSize> seen{};
  int coefficientCount = 0;
  bool headerRead = false;
  bool ended = false;
  int lineNumber = 0;

  std::size_t position = 0;
  while (position <= cofText.size() && !ended) {
    auto end = cofText.find('\n', position);
    if (end == std::string_view::npos) end = cofText.size();
    const std::string_view line = Trim(cofText.substr(position, end - position));
    position = end + 1;
    ++lineNumber;
    if (line.empty()) continue;
    const LineError error(sourceName, lineNumber);
    const auto fields = Fields(line);

    if (!headerRead) {
      // "    2025.0            WMM-2025     11/13/2024": epoch, model name, release date. An
      // epoch outside 1900-2200 means the file is something else (geomagnetic models start in
      // 1900).
      const auto epoch = fields.size() >= 2 ? ParseNumber<double>(fields[0]) : std::nullopt;
      if (!epoch || *epoch < 1900.0 || *epoch > 2200.0) {
        error.Throw(
            {"expected the header `epoch model-name [release-date]`, found \"", line, "\""});
      }
      model.epochYear_ = *epoch;
      model.name_ = std::string(fields[1]);
      headerRead = true;
      continue;
    }
    if (IsEndLine(line)) {
      ended = true;
      continue;
    }
    if (fields.size() != 6) error.Throw({"expected `n m g h gdot hdot`, found \"", line, "\""});
    const auto degree = ParseNumber<int>(fields[0]);
    const auto order = ParseNumber<int>(fields[1]);
    if (!degree || !order || *degree < 1 || *degree > kMaxDegree || *order < 0 ||
        *order > *degree) {
      error.Throw({"degree and order must satisfy 1 <= n <= ", std::to_string(kMaxDegree),
                   " and 0 <= m <= n, found \"", line, "\""});
    }
    std::array<double, 4> values{};
    for (std::size_t index = 0; index < values.size(); ++index) {
      const auto value = ParseNumber<double>(fields[index + 2]);
      if (!value) error.Throw({"\"", fields[index + 2], "\" is not a number"});
      values[index] = *value;
    }
    const std::size_t n = At(*degree);
    const std::size_t m = At(*order);
    if (seen[n][m])
      error.Throw({"coefficient n=", std::to_string(n), " m=", std::to_string(m), " given twice"});
    seen[n][m] = true;
    ++coefficientCount;
    model.g_[n][m] = values[0];
    model.h_[n][m] = values[1];
    model.gDot_[n][m] = values[2];
    model.hDot_[n][m] = values[3];
  }

  if (!headerRead) throw ModelFileError(sourceName + ": empty magnetic model file");
  if (!ended) {
    throw ModelFileError(sourceName + ", line " + std::to_string(lineNumber) +
                         ": the file ends without its closing line of 9s (truncated?)");
  }
  if (coefficientCount == 0) throw ModelFileError(sourceName + ": no coefficients");
  return model;
}

std::filesystem::path WorldMagneticModel::DefaultFilePath() {
  return platform::AppFolder() / "WMM2025.COF";
}

bool WorldMagneticModel::IsValidAt(double decimalYear) const {
  return decimalYear >= epochYear_ && decimalYear < ValidUntilYear();
}

std::optional<MagneticField> WorldMagneticModel::FieldAt(double latitudeDegrees,
                                                         double longitudeDegrees, double altitudeKm,
                                                         double decimalYear) const {
  if (!std::isfinite(latitudeDegrees) || !std::isfinite(longitudeDegrees) ||
      !std::isfinite(altitudeKm) || !std::isfinite(decimalYear))
    return std::nullopt;
  if (std::abs(latitudeDegrees) > 90.0) return std::nullopt;
  if (altitudeKm < kMinAltitudeKm || altitudeKm > kMaxAltitudeKm) return std::nullopt;
  if (!IsValidAt(decimalYear)) return std::nullopt;

  // Geodetic to geocentric. At the poles the cosine is set to an exact zero so that nothing below
  // depends on the rounding of cos(pi/2).
  const double latitudeRadians = latitudeDegrees * kRadiansPerDegree;
  const bool atPole = std::abs(latitudeDegrees) == 90.0;
  const double sinLatitude =
      atPole ? std::copysign(1.0, latitudeDegrees) : std::sin(latitudeRadians);
  const double cosLatitude = atPole ? 0.0 : std::cos(latitudeRadians);
  const double primeVerticalKm =
      kSemiMajorAxisKm / std::sqrt(1.0 - kEccentricitySquared * sinLatitude * sinLatitude);
  const double axialDistanceKm = (primeVerticalKm + altitudeKm) * cosLatitude;
  const double heightAlongAxisKm =
      (primeVerticalKm * (1.0 - kEccentricitySquared) + altitudeKm) * sinLatitude;
  const double radiusKm = std::hypot(axialDistanceKm, heightAlongAxisKm);
  // Colatitude theta of the geocentric position: cos(theta) = sin(geocentric latitude).
  const double cosTheta = heightAlongAxisKm / radiusKm;
  const double sinTheta = axialDistanceKm / radiusKm;

  // Schmidt semi-normalised associated Legendre functions P[n][m](cos theta) and their theta
  // derivatives. For m >= 1 every P carries a factor sin(theta); Q = P / sin(theta) is computed
  // by the same recurrences without dividing, which keeps the east component finite at the poles.
  const RecurrenceFactors& factors = Factors();
  std::array<std::array<double, kSize>, kSize> p{};
  std::array<std::array<double, kSize>, kSize> dp{};
  std::array<std::array<double, kSize>, kSize> q{};
  p[0][0] = 1.0;
  dp[0][0] = 0.0;
  for (int m = 0; m < kSize; ++m) {
    const std::size_t mi = At(m);
    if (m >= 1) {
      const double factor = factors.sectoral[mi];
      q[mi][mi] = factor * p[mi - 1][mi - 1];
      p[mi][mi] = sinTheta * q[mi][mi];
      dp[mi][mi] = factor * (cosTheta * p[mi - 1][mi - 1] + sinTheta * dp[mi - 1][mi - 1]);
    }
    for (int n = m + 1; n < kSize; ++n) {
      const std::size_t ni = At(n);
      const double twoNMinusOne = 2.0 * n - 1.0;
      const double previous = factors.previous[ni][mi];
      const double inverse = factors.inverse[ni][mi];
      // Terms of degree below m are zero.
      const double p2 = n >= m + 2 ? p[ni - 2][mi] : 0.0;
      const double dp2 = n >= m + 2 ? dp[ni - 2][mi] : 0.0;
      p[ni][mi] = (twoNMinusOne * cosTheta * p[ni - 1][mi] - previous * p2) * inverse;
      dp[ni][mi] =
          (twoNMinusOne * (cosTheta * dp[ni - 1][mi] - sinTheta * p[ni - 1][mi]) - previous * dp2) *
          inverse;
      if (m >= 1) {
        const double q2 = n >= m + 2 ? q[ni - 2][mi] : 0.0;
        q[ni][mi] = (twoNMinusOne * cosTheta * q[ni - 1][mi] - previous * q2) * inverse;
      }
    }
  }

  // cos(m lambda) and sin(m lambda) by the angle-addition rule.
  const double longitudeRadians = longitudeDegrees * kRadiansPerDegree;
  std::array<double, kSize> cosM{};
  std::array<double, kSize> sinM{};
  cosM[0] = 1.0;
  sinM[0] = 0.0;
  cosM[1] = std::cos(longitudeRadians);
  sinM[1] = std::sin(longitudeRadians);
  for (std::size_t m = 2; m < At(kSize); ++m) {
    cosM[m] = cosM[m - 1] * cosM[1] - sinM[m - 1] * sinM[1];
    sinM[m] = sinM[m - 1] * cosM[1] + cosM[m - 1] * sinM[1];
  }

  // Field components in the geocentric spherical frame (r, theta, phi), from B = -grad V.
  const double yearsSinceEpoch = decimalYear - epochYear_;
  const double radiusRatio = kReferenceRadiusKm / radiusKm;
  double radialPower = radiusRatio * radiusRatio;  // (a/r)^(n+2), starting below n = 1
  double radial = 0.0;
  double southward = 0.0;
  double eastward = 0.0;
  for (std::size_t n = 1; n < At(kSize); ++n) {
    radialPower *= radiusRatio;
    double radialSum = 0.0;
    double thetaSum = 0.0;
    double phiSum = 0.0;
    for (std::size_t m = 0; m <= n; ++m) {
      const double g = g_[n][m] + yearsSinceEpoch * gDot_[n][m];
      const double h = h_[n][m] + yearsSinceEpoch * hDot_[n][m];
      const double cosine = g * cosM[m] + h * sinM[m];
      radialSum += cosine * p[n][m];
      thetaSum += cosine * dp[n][m];
      if (m >= 1) phiSum += static_cast<double>(m) * (g * sinM[m] - h * cosM[m]) * q[n][m];
    }
    radial += static_cast<double>(n + 1) * radialPower * radialSum;
    southward -= radialPower * thetaSum;
    eastward += radialPower * phiSum;
  }

  // North, east, down in the geocentric frame, then turned about the east axis by the angle
  // between the geodetic and the geocentric verticals.
  const double northGeocentric = -southward;
  const double downGeocentric = -radial;
  const double cosGeocentric = sinTheta;  // cos of the geocentric latitude
  const double sinGeocentric = cosTheta;
  const double sinPsi = sinLatitude * cosGeocentric - cosLatitude * sinGeocentric;
  const double cosPsi = cosLatitude * cosGeocentric + sinLatitude * sinGeocentric;

  MagneticField field;
  field.northNanotesla = northGeocentric * cosPsi + downGeocentric * sinPsi;
  field.eastNanotesla = eastward;
  field.downNanotesla = -northGeocentric * sinPsi + downGeocentric * cosPsi;
  field.horizontalIntensityNanotesla = std::hypot(field.northNanotesla, field.eastNanotesla);
  field.totalIntensityNanotesla =
      std::hypot(field.horizontalIntensityNanotesla, field.downNanotesla);
  field.declinationDegrees =
      std::atan2(field.eastNanotesla, field.northNanotesla) / kRadiansPerDegree;
  field.inclinationDegrees =
      std::atan2(field.downNanotesla, field.horizontalIntensityNanotesla) / kRadiansPerDegree;
  return field;
}

std::optional<double> WorldMagneticModel::DeclinationDegrees(double latitudeDegrees,
                                                             double longitudeDegrees,
                                                             double altitudeKm,
                                                             double decimalYear) {
  const auto field = FieldAt(latitudeDegrees, longitudeDegrees, altitudeKm, decimalYear);
  if (!field) return std::nullopt;
  return field->declinationDegrees;
}

}  // namespace orvo::host::declination
