#include "gps/NmeaSimulator.hpp"

#include <GeographicLib/Geocentric.hpp>
#include <GeographicLib/Geodesic.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <numbers>
#include <numeric>
#include <sstream>

namespace orvo::gps {
namespace {

constexpr double kDegToRad = std::numbers::pi / 180.0;
constexpr double kRadToDeg = 180.0 / std::numbers::pi;
constexpr double kKnotsPerMps = 3600.0 / 1852.0;

// ---------------------------------------------------------------------------------------------
// Deterministic noise. SplitMix64 mixes (seed, stream, index) into a uniform value; the same
// inputs give the same output on every platform, which is what keeps the output reproducible.
std::uint64_t Mix(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15ULL;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
  return value ^ (value >> 31);
}

double Uniform01(std::uint64_t seed, std::uint64_t stream, std::uint64_t index) {
  const std::uint64_t bits = Mix(Mix(Mix(seed) ^ stream) ^ index);
  return static_cast<double>(bits >> 11) * 0x1.0p-53;
}

double NormalizeDeg360(double angleDeg) {
  double result = std::fmod(angleDeg, 360.0);
  if (result < 0.0) result += 360.0;
  return result;
}

double NormalizeDeg180(double angleDeg) {
  double result = NormalizeDeg360(angleDeg);
  if (result > 180.0) result -= 360.0;
  return result;
}

// ---------------------------------------------------------------------------------------------
// Speed through a bend, by how far the road turns there. Town-driving values: a gentle bend is
// taken briskly, a right-angle junction at walking-plus pace, a hairpin or U-turn nearly stopped.
double TurnSpeedLimitKmh(double turnDeg) {
  struct Row {
    double turnDeg;
    double speedKmh;
  };
  static constexpr std::array<Row, 6> kTable{
      {{10.0, 60.0}, {30.0, 35.0}, {60.0, 25.0}, {90.0, 18.0}, {135.0, 12.0}, {180.0, 8.0}}};
  if (turnDeg <= kTable.front().turnDeg) return std::numeric_limits<double>::infinity();
  for (std::size_t i = 1; i < kTable.size(); ++i) {
    if (turnDeg > kTable[i].turnDeg) continue;
    const Row& low = kTable[i - 1];
    const Row& high = kTable[i];
    const double fraction = (turnDeg - low.turnDeg) / (high.turnDeg - low.turnDeg);
    return low.speedKmh + fraction * (high.speedKmh - low.speedKmh);
  }
  return kTable.back().speedKmh;
}

// OSM draws a curve as several small kinks; the heading changes within this distance of a vertex
// count as one turn, so a 90° corner drawn as five 18° kinks still slows the vehicle as a 90° one.
constexpr double kTurnWindowM = 15.0;
// Step of the speed planning grid. Each cell is driven at constant acceleration, which follows
// the braking and acceleration curves exactly; the step only limits where they meet.
constexpr double kPlanningStepM = 1.0;
// Stops this close to each other or to the route's ends are the same place.
constexpr double kSameStopM = 1.0;
// A stop farther than this from the route is a mistake in the command line, not a place on it.
constexpr double kStopMaxOffRouteM = 50.0;

// ---------------------------------------------------------------------------------------------
// Satellites. A simplified GPS constellation: six circular orbit planes at 55° inclination with
// five satellites each (about the 30 that GPS flies today; the nominal 24 slots leave too few in
// view at times), Walker phasing 12° between planes, the real orbit radius and period, seen from
// the rotating Earth. No perturbations and no almanac: the seed sets the constellation's phase, a
// small offset of each satellite in its plane and which PRN flies where. Elevations and azimuths
// therefore change slowly and plausibly (8 to 12 above the horizon), and the geometry gives real
// DOPs.
constexpr int kOrbitPlanes = 6;
constexpr int kSatellitesPerPlane = 5;
constexpr int kSatelliteCount = kOrbitPlanes * kSatellitesPerPlane;
constexpr double kOrbitRadiusM = 26'559'700.0;
constexpr double kOrbitPeriodSeconds = 43'082.0;  // half a sidereal day
constexpr double kInclinationDeg = 55.0;
constexpr double kEarthRotationRadPerS = 7.2921151467e-5;
constexpr double kSiderealDaySeconds = 2.0 * std::numbers::pi / kEarthRotationRadPerS;
// A satellite is listed in GSV from the horizon up, and used for the fix above a 10° mask (the
// usual receiver default: low satellites add multipath more than geometry).
constexpr double kInViewElevationDeg = 0.0;
constexpr double kElevationMaskDeg = 10.0;
constexpr std::size_t kMaxChannels = 12;  // GSV holds three messages of four; GSA twelve PRNs
constexpr double kNoFixDop = 99.99;       // what receivers report without a solution

struct SkyPosition {
  int prn;
  double elevationDeg;
  double azimuthDeg;
  std::array<double, 3> lineOfSightEnu;
};

struct Constellation {
  std::array<int, kSatelliteCount> prn{};
  std::array<double, kSatelliteCount> raanDeg{};
  std::array<double, kSatelliteCount> phaseDeg{};
};

Constellation MakeConstellation(std::uint64_t seed) {
  Constellation result;
  std::array<int, 32> prns{};
  std::iota(prns.begin(), prns.end(), 1);
  for (std::size_t i = prns.size() - 1; i > 0; --i) {  // Fisher-Yates with the seeded noise
    const auto j = static_cast<std::size_t>(Uniform01(seed, 1, i) * static_cast<double>(i + 1));
    std::swap(prns[i], prns[std::min(j, i)]);
  }
  const double raanOffsetDeg = 360.0 * Uniform01(seed, 2, 0);
  const double phaseOffsetDeg = 360.0 * Uniform01(seed, 3, 0);
  for (int plane = 0; plane < kOrbitPlanes; ++plane) {
    for (int slot = 0; slot < kSatellitesPerPlane; ++slot) {
      const int index = plane * kSatellitesPerPlane + slot;
      const auto i = static_cast<std::size_t>(index);
      result.prn[i] = prns[i];
      result.raanDeg[i] = raanOffsetDeg + 60.0 * plane;
      // Real slots are not evenly spaced; ±10° keeps the layout near nominal.
      const double jitterDeg = 20.0 * (Uniform01(seed, 4, i) - 0.5);
      result.phaseDeg[i] = phaseOffsetDeg + 72.0 * slot + 12.0 * plane + jitterDeg;
    }
  }
  return result;
}

std::vector<SkyPosition> SkyAt(const Constellation& constellation, double unixSeconds,
                               double latitudeDeg, double longitudeDeg, double altitudeM) {
  double observerX = 0.0;
  double observerY = 0.0;
  double observerZ = 0.0;
  GeographicLib::Geocentric::WGS84().Forward(latitudeDeg, longitudeDeg, altitudeM, observerX,
                                             observerY, observerZ);
  const double lat = latitudeDeg * kDegToRad;
  const double lon = longitudeDeg * kDegToRad;
  const std::array<double, 3> east{-std::sin(lon), std::cos(lon), 0.0};
  const std::array<double, 3> north{-std::sin(lat) * std::cos(lon), -std::sin(lat) * std::sin(lon),
                                    std::cos(lat)};
  const std::array<double, 3> up{std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon),
                                 std::sin(lat)};
  // Reduced before scaling so that large Unix times keep their sub-second precision.
  const double earthAngleRad = kEarthRotationRadPerS * std::fmod(unixSeconds, kSiderealDaySeconds);
  const double orbitAngleDeg =
      360.0 * std::fmod(unixSeconds, kOrbitPeriodSeconds) / kOrbitPeriodSeconds;
  const double inclination = kInclinationDeg * kDegToRad;

  std::vector<SkyPosition> result;
  for (std::size_t i = 0; i < constellation.prn.size(); ++i) {
    const double node = constellation.raanDeg[i] * kDegToRad - earthAngleRad;
    const double argument = (constellation.phaseDeg[i] + orbitAngleDeg) * kDegToRad;
    const double satX =
        kOrbitRadiusM * (std::cos(node) * std::cos(argument) -
                         std::sin(node) * std::sin(argument) * std::cos(inclination));
    const double satY =
        kOrbitRadiusM * (std::sin(node) * std::cos(argument) +
                         std::cos(node) * std::sin(argument) * std::cos(inclination));
    const double satZ = kOrbitRadiusM * std::sin(argument) * std::sin(inclination);
    const std::array<double, 3> toSatellite{satX - observerX, satY - observerY, satZ - observerZ};
    const double range = std::hypot(toSatellite[0], toSatellite[1], toSatellite[2]);
    std::array<double, 3> enu{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      enu[0] += east[axis] * toSatellite[axis] / range;
      enu[1] += north[axis] * toSatellite[axis] / range;
      enu[2] += up[axis] * toSatellite[axis] / range;
    }
    const double elevationDeg = std::asin(std::clamp(enu[2], -1.0, 1.0)) * kRadToDeg;
    const double azimuthDeg = NormalizeDeg360(std::atan2(enu[0], enu[1]) * kRadToDeg);
    result.push_back({constellation.prn[i], elevationDeg, azimuthDeg, enu});
  }
  return result;
}

struct Dops {
  double pdop = kNoFixDop;
  double hdop = kNoFixDop;
  double vdop = kNoFixDop;
};

// Dilution of precision from the line-of-sight geometry: rows (e, n, u, 1) for each satellite
// used, Q = (GᵀG)⁻¹, HDOP = √(Qee + Qnn), VDOP = √Quu. Fewer than four satellites or a
// degenerate geometry has no solution and reports the receivers' 99.99.
Dops DilutionOfPrecision(const std::vector<std::array<double, 3>>& lineOfSight) {
  if (lineOfSight.size() < 4) return {};
  std::array<std::array<double, 8>, 4> matrix{};  // [GᵀG | I], reduced to [I | Q]
  for (const auto& los : lineOfSight) {
    const std::array<double, 4> row{los[0], los[1], los[2], 1.0};
    for (std::size_t r = 0; r < 4; ++r) {
      for (std::size_t c = 0; c < 4; ++c) matrix[r][c] += row[r] * row[c];
    }
  }
  for (std::size_t r = 0; r < 4; ++r) matrix[r][4 + r] = 1.0;
  for (std::size_t column = 0; column < 4; ++column) {
    std::size_t pivot = column;
    for (std::size_t r = column + 1; r < 4; ++r) {
      if (std::abs(matrix[r][column]) > std::abs(matrix[pivot][column])) pivot = r;
    }
    // Near-singular: satellites almost on one cone; no usable solution.
    if (std::abs(matrix[pivot][column]) < 1e-9) return {};
    std::swap(matrix[pivot], matrix[column]);
    const double divisor = matrix[column][column];
    for (double& value : matrix[column]) value /= divisor;
    for (std::size_t r = 0; r < 4; ++r) {
      if (r == column) continue;
      const double factor = matrix[r][column];
      for (std::size_t c = 0; c < 8; ++c) matrix[r][c] -= factor * matrix[column][c];
    }
  }
  const double qEast = matrix[0][4];
  const double qNorth = matrix[1][5];
  const double qUp = matrix[2][6];
  if (qEast < 0.0 || qNorth < 0.0 || qUp < 0.0) return {};
  return {std::sqrt(qEast + qNorth + qUp), std::sqrt(qEast + qNorth), std::sqrt(qUp)};
}

// Carrier-to-noise density grows with elevation (less atmosphere, better antenna gain): about
// 28 dB-Hz at the mask and 46 at the zenith, with ±2 dB of jitter from epoch to epoch.
int SignalDbHz(std::uint64_t seed, int prn, int epoch, double elevationDeg) {
  const double noise = 4.0 * (Uniform01(seed, 5,
                                        static_cast<std::uint64_t>(prn) * 1'000'003ULL +
                                            static_cast<std::uint64_t>(epoch)) -
                              0.5);
  const double value = 24.0 + 22.0 * std::sin(std::max(elevationDeg, 0.0) * kDegToRad) + noise;
  return std::clamp(static_cast<int>(std::lround(value)), 0, 99);
}

// ---------------------------------------------------------------------------------------------
// Sentence fields.
std::string Format(const char* format, auto... values) {
  std::array<char, 96> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), format, values...);
  return std::string(buffer.data(), static_cast<std::size_t>(std::max(length, 0)));
}

// ddmm.mmmm or dddmm.mmmm, rounded once on the whole value so 59.99996' carries into a degree.
std::string FormatAngle(double angleDeg, int degreeDigits) {
  constexpr long long kUnitsPerMinute = 10'000;  // four decimals of a minute: about 0.2 m
  const long long units = std::llround(std::abs(angleDeg) * 60.0 * kUnitsPerMinute);
  const long long degrees = units / (60 * kUnitsPerMinute);
  const long long minuteUnits = units % (60 * kUnitsPerMinute);
  return Format("%0*lld%02lld.%04lld", degreeDigits, degrees, minuteUnits / kUnitsPerMinute,
                minuteUnits % kUnitsPerMinute);
}

std::string FormatTime(std::chrono::sys_seconds utc) {
  const auto day = std::chrono::floor<std::chrono::days>(utc);
  const std::chrono::hh_mm_ss time{utc - day};
  return Format("%02d%02d%02d.00", static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
}

std::string FormatDate(std::chrono::sys_seconds utc) {
  const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(utc)};
  return Format("%02u%02u%02d", static_cast<unsigned>(date.day()),
                static_cast<unsigned>(date.month()), static_cast<int>(date.year()) % 100);
}

std::string FormatCourse(double courseDeg) {
  std::string text = Format("%.1f", NormalizeDeg360(courseDeg));
  return text == "360.0" ? "0.0" : text;
}

// ---------------------------------------------------------------------------------------------
// Route files.
std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}

std::optional<double> ParseNumber(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

std::string Quote(std::string_view text) {
  constexpr std::size_t kShown = 40;  // enough to recognise the token, short enough for a line
  return "\"" + std::string(text.substr(0, kShown)) + (text.size() > kShown ? "...\"" : "\"");
}

void CheckCoordinates(double latitudeDeg, double longitudeDeg, const std::string& where) {
  if (latitudeDeg < -90.0 || latitudeDeg > 90.0) {
    throw SimulationError(where + "latitude " + Format("%g", latitudeDeg) +
                          " is outside -90 to 90");
  }
  if (longitudeDeg < -180.0 || longitudeDeg > 180.0) {
    throw SimulationError(where + "longitude " + Format("%g", longitudeDeg) +
                          " is outside -180 to 180");
  }
}

std::vector<RoutePoint> ParseTextRoute(std::string_view text) {
  std::vector<RoutePoint> points;
  int lineNumber = 0;
  while (!text.empty()) {
    ++lineNumber;
    const auto lineEnd = text.find('\n');
    std::string_view line = text.substr(0, lineEnd);
    text.remove_prefix(lineEnd == std::string_view::npos ? text.size() : lineEnd + 1);
    line = Trim(line.substr(0, line.find('#')));
    if (line.empty()) continue;

    const std::string where = "line " + std::to_string(lineNumber) + ": ";
    // "lat lon", "lat,lon" and "lat, lon" all split into the same tokens.
    std::vector<std::string_view> tokens;
    std::size_t position = 0;
    while (position < line.size()) {
      const auto start = line.find_first_not_of(" \t,", position);
      if (start == std::string_view::npos) break;
      const auto end = line.find_first_of(" \t,", start);
      tokens.push_back(line.substr(start, end - start));
      position = end == std::string_view::npos ? line.size() : end;
    }
    if (tokens.size() < 2 || tokens.size() > 3) {
      throw SimulationError(where +
                            "expected \"lat lon\" or \"lat,lon\" (and an optional "
                            "altitude), found " +
                            Quote(line));
    }
    std::array<double, 3> values{};
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      const auto value = ParseNumber(tokens[i]);
      if (!value) throw SimulationError(where + Quote(tokens[i]) + " is not a number");
      values[i] = *value;
    }
    CheckCoordinates(values[0], values[1], where);
    RoutePoint point{values[0], values[1], std::nullopt};
    if (tokens.size() == 3) point.altitudeM = values[2];
    points.push_back(point);
  }
  return points;
}

int LineOf(std::string_view text, std::size_t position) {
  return 1 + static_cast<int>(
                 std::count(text.begin(), text.begin() + static_cast<long>(position), '\n'));
}

// The value of attribute `name` in the inside of a start tag (`trkpt lat="1" lon='2'`).
std::optional<std::string_view> Attribute(std::string_view tag, std::string_view name) {
  std::size_t position = tag.find_first_of(" \t\r\n");
  while (position != std::string_view::npos && position < tag.size()) {
    const auto nameStart = tag.find_first_not_of(" \t\r\n/", position);
    if (nameStart == std::string_view::npos) return std::nullopt;
    const auto equals = tag.find('=', nameStart);
    if (equals == std::string_view::npos) return std::nullopt;
    const std::string_view attributeName = Trim(tag.substr(nameStart, equals - nameStart));
    const auto quoteStart = tag.find_first_of("\"'", equals);
    if (quoteStart == std::string_view::npos) return std::nullopt;
    const auto quoteEnd = tag.find(tag[quoteStart], quoteStart + 1);
    if (quoteEnd == std::string_view::npos) return std::nullopt;
    if (attributeName == name) return tag.substr(quoteStart + 1, quoteEnd - quoteStart - 1);
    position = quoteEnd + 1;
  }
  return std::nullopt;
}

// GPX read with a small scanner rather than an XML library: only trkpt/rtept attributes and
// their <ele> are needed, and comments and CDATA are skipped so that they cannot add points.
std::vector<RoutePoint> ParseGpxRoute(std::string_view text) {
  std::vector<RoutePoint> trackPoints;
  std::vector<RoutePoint> routePoints;
  RoutePoint* openPoint = nullptr;
  std::size_t position = 0;
  while ((position = text.find('<', position)) != std::string_view::npos) {
    const std::string where = "line " + std::to_string(LineOf(text, position)) + ": ";
    const std::string_view rest = text.substr(position);
    std::string_view terminator = ">";
    if (rest.starts_with("<!--")) terminator = "-->";
    if (rest.starts_with("<![CDATA[")) terminator = "]]>";
    const auto end = text.find(terminator, position + 1);
    if (end == std::string_view::npos) throw SimulationError(where + "unterminated markup");
    const std::string_view tag = text.substr(position + 1, end - position - 1);
    position = end + terminator.size();
    if (terminator != ">" || tag.starts_with('?') || tag.starts_with('!')) continue;

    const bool closing = tag.starts_with('/');
    std::string_view name = tag.substr(closing ? 1 : 0);
    name = name.substr(0, name.find_first_of(" \t\r\n/"));
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
      name.remove_prefix(colon + 1);  // gpx:trkpt
    }
    if (closing) {
      if (name == "trkpt" || name == "rtept") openPoint = nullptr;
      continue;
    }
    if (name == "trkpt" || name == "rtept") {
      std::array<double, 2> values{};
      for (std::size_t i = 0; i < 2; ++i) {
        const std::string_view attribute = i == 0 ? "lat" : "lon";
        const auto valueText = Attribute(tag, attribute);
        if (!valueText) {
          throw SimulationError(where + "<" + std::string(name) + "> has no " +
                                std::string(attribute) + " attribute");
        }
        const auto value = ParseNumber(Trim(*valueText));
        if (!value) {
          throw SimulationError(where + std::string(attribute) + "=" + Quote(*valueText) +
                                " is not a number");
        }
        values[i] = *value;
      }
      CheckCoordinates(values[0], values[1], where);
      auto& list = name == "trkpt" ? trackPoints : routePoints;
      list.push_back({values[0], values[1], std::nullopt});
      openPoint = tag.ends_with('/') ? nullptr : &list.back();
      continue;
    }
    if (name == "ele" && openPoint != nullptr && !tag.ends_with('/')) {
      const auto valueEnd = text.find('<', position);
      const std::string_view valueText = Trim(text.substr(position, valueEnd - position));
      const auto value = ParseNumber(valueText);
      if (!value) throw SimulationError(where + "<ele> " + Quote(valueText) + " is not a number");
      openPoint->altitudeM = *value;
    }
  }
  if (trackPoints.empty() && routePoints.empty()) {
    throw SimulationError("the GPX file has no <trkpt> or <rtept> points");
  }
  return trackPoints.empty() ? routePoints : trackPoints;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
std::string NmeaSentence(std::string_view body) {
  const unsigned checksum = std::accumulate(body.begin(), body.end(), 0U, [](unsigned sum, char c) {
    return sum ^ static_cast<unsigned char>(c);
  });
  return "$" + std::string(body) + Format("*%02X\r\n", checksum);
}

std::vector<RoutePoint> ParseRoute(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // UTF-8 byte order mark
  const std::string_view trimmed = Trim(text);
  std::vector<RoutePoint> points =
      trimmed.starts_with('<') ? ParseGpxRoute(text) : ParseTextRoute(text);
  if (points.size() < 2) {
    throw SimulationError("the route has " + std::to_string(points.size()) +
                          (points.size() == 1 ? " point" : " points") + "; at least 2 are needed");
  }
  return points;
}

std::vector<RoutePoint> LoadRoute(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw SimulationError(file.string() + ": cannot open the route file");
  std::ostringstream content;
  content << stream.rdbuf();
  if (stream.bad()) throw SimulationError(file.string() + ": cannot read the route file");
  try {
    return ParseRoute(content.str());
  } catch (const SimulationError& error) {
    throw SimulationError(file.string() + ": " + error.what());
  }
}

// ---------------------------------------------------------------------------------------------
NmeaSimulator::NmeaSimulator(const std::vector<RoutePoint>& route, SimulationOptions options)
    : options_(std::move(options)) {
  for (const RoutePoint& point : route) {
    CheckCoordinates(point.latitudeDeg, point.longitudeDeg, "route point: ");
    if (!route_.empty() && route_.back().latitudeDeg == point.latitudeDeg &&
        route_.back().longitudeDeg == point.longitudeDeg) {
      continue;  // a repeated point adds a segment of no length and no direction
    }
    route_.push_back(point);
  }
  if (route_.size() < 2) {
    throw SimulationError("the route needs at least 2 distinct points, it has " +
                          std::to_string(route_.size()));
  }
  if (!(options_.cruiseSpeedKmh > 0.0 && options_.cruiseSpeedKmh <= 300.0)) {
    throw SimulationError("the speed must be above 0 and at most 300 km/h");
  }
  if (!(options_.accelerationMps2 > 0.0 && options_.accelerationMps2 <= 10.0) ||
      !(options_.brakingMps2 > 0.0 && options_.brakingMps2 <= 10.0)) {
    throw SimulationError("acceleration and braking must be above 0 and at most 10 m/s²");
  }
  const int year = static_cast<int>(
      std::chrono::year_month_day{std::chrono::floor<std::chrono::days>(options_.startUtc)}.year());
  // RMC carries a two-digit year, read as 1990-2089.
  if (year < 1990 || year > 2089) {
    throw SimulationError("the start time must be in the years 1990 to 2089");
  }
  if (options_.leadInSeconds < 0 || options_.leadInSeconds > 3600 || options_.leadOutSeconds < 0 ||
      options_.leadOutSeconds > 3600) {
    throw SimulationError("lead-in and lead-out must be 0 to 3600 seconds");
  }
  if (!std::isfinite(options_.altitudeM)) throw SimulationError("the altitude must be a number");

  altitudeFromRoute_ = std::all_of(route_.begin(), route_.end(),
                                   [](const RoutePoint& point) { return point.altitudeM; });
  const GeographicLib::Geodesic& earth = GeographicLib::Geodesic::WGS84();
  cumulativeDistanceM_.push_back(0.0);
  for (std::size_t i = 0; i + 1 < route_.size(); ++i) {
    segments_.push_back(earth.InverseLine(route_[i].latitudeDeg, route_[i].longitudeDeg,
                                          route_[i + 1].latitudeDeg, route_[i + 1].longitudeDeg));
    cumulativeDistanceM_.push_back(cumulativeDistanceM_.back() + segments_.back().Distance());
  }

  // Stops: the nearest point of the route, found segment by segment on a local flat projection
  // around the stop (exact enough over a street's length), then measured on the ellipsoid.
  struct PlacedStop {
    double distanceM;
    double dwellSeconds;
  };
  std::vector<PlacedStop> placed;
  for (const RouteStop& stop : options_.stops) {
    const std::string where =
        "stop at " + Format("%.6f,%.6f", stop.latitudeDeg, stop.longitudeDeg) + ": ";
    CheckCoordinates(stop.latitudeDeg, stop.longitudeDeg, where);
    if (!(stop.dwellSeconds >= 0.0 && stop.dwellSeconds <= 86'400.0)) {
      throw SimulationError(where + "the wait must be 0 to 86400 seconds");
    }
    const double metresPerDegLat = 111'132.0;  // mean; only used to compare nearby candidates
    const double metresPerDegLon = metresPerDegLat * std::cos(stop.latitudeDeg * kDegToRad);
    auto local = [&](const RoutePoint& point) {
      return std::array<double, 2>{
          NormalizeDeg180(point.longitudeDeg - stop.longitudeDeg) * metresPerDegLon,
          (point.latitudeDeg - stop.latitudeDeg) * metresPerDegLat};
    };
    double bestDistanceM = std::numeric_limits<double>::infinity();
    double bestAlongM = 0.0;
    for (std::size_t i = 0; i < segments_.size(); ++i) {
      const auto a = local(route_[i]);
      const auto b = local(route_[i + 1]);
      const double dx = b[0] - a[0];
      const double dy = b[1] - a[1];
      const double lengthSquared = dx * dx + dy * dy;
      const double fraction = lengthSquared > 0.0
                                  ? std::clamp(-(a[0] * dx + a[1] * dy) / lengthSquared, 0.0, 1.0)
                                  : 0.0;
      const double alongM = cumulativeDistanceM_[i] + fraction * segments_[i].Distance();
      const Placement onRoute = PlaceAt(alongM);
      double offM = 0.0;
      earth.Inverse(stop.latitudeDeg, stop.longitudeDeg, onRoute.latitudeDeg, onRoute.longitudeDeg,
                    offM);
      if (offM < bestDistanceM) {
        bestDistanceM = offM;
        bestAlongM = alongM;
      }
    }
    if (bestDistanceM > kStopMaxOffRouteM) {
      throw SimulationError(where + Format("%.0f", bestDistanceM) +
                            " m from the route; a stop must be within " +
                            Format("%.0f", kStopMaxOffRouteM) + " m of it");
    }
    if (bestAlongM < kSameStopM) bestAlongM = 0.0;
    if (bestAlongM > RouteLengthM() - kSameStopM) bestAlongM = RouteLengthM();
    placed.push_back({bestAlongM, stop.dwellSeconds});
  }
  std::stable_sort(placed.begin(), placed.end(), [](const PlacedStop& a, const PlacedStop& b) {
    return a.distanceM < b.distanceM;
  });
  for (const PlacedStop& stop : placed) {
    if (!stopDistancesM_.empty() && stop.distanceM - stopDistancesM_.back() < kSameStopM) {
      stopDwellSeconds_.back() += stop.dwellSeconds;
      continue;
    }
    stopDistancesM_.push_back(stop.distanceM);
    stopDwellSeconds_.push_back(stop.dwellSeconds);
  }

  BuildTimeline();

  if (options_.lossStartSeconds) {
    if (!(*options_.lossStartSeconds >= 0.0) || !(options_.lossDurationSeconds > 0.0) ||
        !std::isfinite(options_.lossDurationSeconds)) {
      throw SimulationError("a loss of fix needs a start of 0 s or later and a length above 0 s");
    }
    if (*options_.lossStartSeconds > durationSeconds_) {
      throw SimulationError(
          "the loss of fix starts at " + Format("%g", *options_.lossStartSeconds) +
          " s, after the drive has ended (" + std::to_string(durationSeconds_) + " s)");
    }
  }
}

NmeaSimulator::Placement NmeaSimulator::PlaceAt(double distanceAlongRouteM) const {
  const double along = std::clamp(distanceAlongRouteM, 0.0, RouteLengthM());
  // The segment whose start is the last one at or before `along`; the route's end belongs to the
  // last segment.
  const auto upper =
      std::upper_bound(cumulativeDistanceM_.begin(), cumulativeDistanceM_.end(), along);
  std::size_t index = static_cast<std::size_t>(upper - cumulativeDistanceM_.begin()) - 1;
  index = std::min(index, segments_.size() - 1);
  const double intoSegmentM = along - cumulativeDistanceM_[index];
  Placement result{};
  segments_[index].Position(intoSegmentM, result.latitudeDeg, result.longitudeDeg,
                            result.courseDeg);
  result.courseDeg = NormalizeDeg360(result.courseDeg);

  result.altitudeM = options_.altitudeM;
  if (altitudeFromRoute_) {
    const double fraction = intoSegmentM / segments_[index].Distance();
    result.altitudeM = *route_[index].altitudeM +
                       fraction * (*route_[index + 1].altitudeM - *route_[index].altitudeM);
  }
  return result;
}

// Speed planning: a grid along the route with a speed cap at each point (cruise speed, bends,
// zero at the ends and at stops), then a backward pass so that the vehicle can always brake in
// time and a forward pass so that it never accelerates harder than allowed. Each grid cell is then
// driven at the constant acceleration that joins its two speeds; under constant acceleration v² is
// linear in distance, so both limits hold exactly inside every cell.
void NmeaSimulator::BuildTimeline() {
  const double cruiseMps = options_.cruiseSpeedKmh / 3.6;
  const double lengthM = RouteLengthM();

  std::vector<std::pair<double, double>> caps;  // (distance, speed cap)
  const auto stepCount = static_cast<std::size_t>(std::ceil(lengthM / kPlanningStepM));
  for (std::size_t i = 0; i <= stepCount; ++i) {
    caps.emplace_back(std::min(static_cast<double>(i) * kPlanningStepM, lengthM), cruiseMps);
  }
  // Heading change at each inner vertex, signed, then summed over the turn window.
  std::vector<double> headingChangeDeg(route_.size(), 0.0);
  for (std::size_t i = 1; i + 1 < route_.size(); ++i) {
    double latitude = 0.0;
    double longitude = 0.0;
    double arrivalDeg = 0.0;
    segments_[i - 1].Position(segments_[i - 1].Distance(), latitude, longitude, arrivalDeg);
    headingChangeDeg[i] = NormalizeDeg180(segments_[i].Azimuth() - arrivalDeg);
  }
  std::vector<double> headingSumDeg(route_.size() + 1, 0.0);  // prefix sums for the window
  std::partial_sum(headingChangeDeg.begin(), headingChangeDeg.end(), headingSumDeg.begin() + 1);
  for (std::size_t i = 1; i + 1 < route_.size(); ++i) {
    const auto first = std::lower_bound(cumulativeDistanceM_.begin(), cumulativeDistanceM_.end(),
                                        cumulativeDistanceM_[i] - kTurnWindowM);
    const auto last = std::upper_bound(cumulativeDistanceM_.begin(), cumulativeDistanceM_.end(),
                                       cumulativeDistanceM_[i] + kTurnWindowM);
    const double windowDeg =
        headingSumDeg[static_cast<std::size_t>(last - cumulativeDistanceM_.begin())] -
        headingSumDeg[static_cast<std::size_t>(first - cumulativeDistanceM_.begin())];
    const double turnDeg = std::max(std::abs(windowDeg), std::abs(headingChangeDeg[i]));
    caps.emplace_back(cumulativeDistanceM_[i],
                      std::min(cruiseMps, TurnSpeedLimitKmh(std::min(turnDeg, 180.0)) / 3.6));
  }
  for (const double stopM : stopDistancesM_) caps.emplace_back(stopM, 0.0);
  caps.emplace_back(0.0, 0.0);
  caps.emplace_back(lengthM, 0.0);

  std::sort(caps.begin(), caps.end());
  std::vector<double> distanceM;
  std::vector<double> speedMps;
  for (const auto& [distance, cap] : caps) {
    if (!distanceM.empty() && distance - distanceM.back() < 1e-6) {
      speedMps.back() = std::min(speedMps.back(), cap);
      continue;
    }
    distanceM.push_back(distance);
    speedMps.push_back(cap);
  }
  for (std::size_t i = distanceM.size() - 1; i > 0; --i) {
    const double cellM = distanceM[i] - distanceM[i - 1];
    speedMps[i - 1] = std::min(
        speedMps[i - 1], std::sqrt(speedMps[i] * speedMps[i] + 2.0 * options_.brakingMps2 * cellM));
  }
  for (std::size_t i = 1; i < distanceM.size(); ++i) {
    const double cellM = distanceM[i] - distanceM[i - 1];
    speedMps[i] = std::min(speedMps[i], std::sqrt(speedMps[i - 1] * speedMps[i - 1] +
                                                  2.0 * options_.accelerationMps2 * cellM));
  }

  phases_.clear();
  double clock = 0.0;
  auto standStill = [&](double atM, double seconds) {
    if (seconds <= 0.0) return;
    phases_.push_back({clock, seconds, atM, 0.0, 0.0, 0.0});
    clock += seconds;
  };
  auto dwellAt = [&](double atM) {
    for (std::size_t k = 0; k < stopDistancesM_.size(); ++k) {
      if (std::abs(stopDistancesM_[k] - atM) < 1e-6) standStill(atM, stopDwellSeconds_[k]);
    }
  };
  standStill(0.0, options_.leadInSeconds);
  dwellAt(0.0);
  for (std::size_t i = 1; i < distanceM.size(); ++i) {
    const double cellM = distanceM[i] - distanceM[i - 1];
    const double averageMps = 0.5 * (speedMps[i - 1] + speedMps[i]);
    // Both ends at zero cannot happen: zero caps are at least kSameStopM apart, and the planning
    // step puts a non-zero cap between them. Kept as a guard against a division by zero.
    if (averageMps <= 0.0) continue;
    phases_.push_back(
        {clock, cellM / averageMps, distanceM[i - 1], cellM, speedMps[i - 1], speedMps[i]});
    clock += cellM / averageMps;
    if (speedMps[i] == 0.0 && distanceM[i] < lengthM) dwellAt(distanceM[i]);
  }
  if (lengthM > 0.0) dwellAt(lengthM);
  // The last epoch falls on a whole second after arrival, then the vehicle stays parked.
  durationSeconds_ = static_cast<int>(std::ceil(clock - 1e-9)) + options_.leadOutSeconds;
  standStill(lengthM, durationSeconds_ - clock + 1.0);
}

NmeaSimulator::Motion NmeaSimulator::MotionAt(double seconds) const {
  const auto after =
      std::upper_bound(phases_.begin(), phases_.end(), seconds,
                       [](double time, const Phase& phase) { return time < phase.startSeconds; });
  if (after == phases_.begin()) return {0.0, 0.0};
  const Phase& phase = *(after - 1);
  if (phase.lengthM == 0.0) return {phase.startDistanceM, 0.0};
  const double elapsed = std::min(seconds - phase.startSeconds, phase.durationSeconds);
  const double accelerationMps2 = (phase.endSpeedMps - phase.startSpeedMps) / phase.durationSeconds;
  const double travelledM =
      std::clamp(phase.startSpeedMps * elapsed + 0.5 * accelerationMps2 * elapsed * elapsed, 0.0,
                 phase.lengthM);
  const double speedMps = std::max(0.0, phase.startSpeedMps + accelerationMps2 * elapsed);
  return {phase.startDistanceM + travelledM, speedMps};
}

SimulatedEpoch NmeaSimulator::MakeEpoch(int second) const {
  SimulatedEpoch epoch;
  epoch.utc = options_.startUtc + std::chrono::seconds{second};
  const Motion motion = MotionAt(second);
  const Placement place = PlaceAt(motion.distanceM);
  epoch.latitudeDeg = place.latitudeDeg;
  epoch.longitudeDeg = place.longitudeDeg;
  epoch.altitudeM = place.altitudeM;
  epoch.courseDeg = place.courseDeg;
  epoch.distanceAlongRouteM = motion.distanceM;
  epoch.speedMps = motion.speedMps;
  epoch.hasFix = !(options_.lossStartSeconds && second >= *options_.lossStartSeconds &&
                   second < *options_.lossStartSeconds + options_.lossDurationSeconds);

  const double unixSeconds = static_cast<double>(epoch.utc.time_since_epoch().count());
  std::vector<SkyPosition> sky = SkyAt(MakeConstellation(options_.seed), unixSeconds,
                                       place.latitudeDeg, place.longitudeDeg, place.altitudeM);
  std::erase_if(sky, [](const SkyPosition& s) { return s.elevationDeg < kInViewElevationDeg; });
  // More satellites above the horizon than channels: track the highest.
  std::sort(sky.begin(), sky.end(), [](const SkyPosition& a, const SkyPosition& b) {
    return a.elevationDeg > b.elevationDeg;
  });
  if (sky.size() > kMaxChannels) sky.resize(kMaxChannels);

  std::vector<std::array<double, 3>> usedLineOfSight;
  for (std::size_t rank = 0; rank < sky.size(); ++rank) {
    const SkyPosition& position = sky[rank];
    SatelliteView view;
    view.prn = position.prn;
    view.elevationDeg = static_cast<int>(std::lround(position.elevationDeg));
    view.azimuthDeg = static_cast<int>(std::lround(position.azimuthDeg)) % 360;
    const int signal = SignalDbHz(options_.seed, position.prn, second, position.elevationDeg);
    if (epoch.hasFix) {
      view.snrDbHz = signal;
      view.usedInFix = position.elevationDeg >= kElevationMaskDeg;
    } else if (rank < 2) {
      // Without a fix (under a bridge, between tall buildings) only the highest two satellites
      // still come through, weakened.
      view.snrDbHz = std::max(signal - 18, 10);
    }
    if (view.usedInFix) usedLineOfSight.push_back(position.lineOfSightEnu);
    epoch.satellites.push_back(view);
  }
  std::sort(epoch.satellites.begin(), epoch.satellites.end(),
            [](const SatelliteView& a, const SatelliteView& b) { return a.prn < b.prn; });
  const Dops dops = epoch.hasFix ? DilutionOfPrecision(usedLineOfSight) : Dops{};
  epoch.pdop = dops.pdop;
  epoch.hdop = dops.hdop;
  epoch.vdop = dops.vdop;
  // Four satellites give a 3-D fix; fewer cannot be solved here, so the receiver reports none.
  if (usedLineOfSight.size() < 4) {
    epoch.hasFix = false;
    usedLineOfSight.clear();
    for (SatelliteView& view : epoch.satellites) view.usedInFix = false;
  }

  const std::string time = FormatTime(epoch.utc);
  const std::string date = FormatDate(epoch.utc);
  const std::string latitude = FormatAngle(place.latitudeDeg, 2);
  const char latitudeHemisphere = place.latitudeDeg < 0.0 ? 'S' : 'N';
  const std::string longitude = FormatAngle(place.longitudeDeg, 3);
  const char longitudeHemisphere = place.longitudeDeg < 0.0 ? 'W' : 'E';

  // The order is that of many receivers (GGA first, RMC last): a program that refreshes on RMC
  // then sees this second's GGA position already.
  if (epoch.hasFix) {
    epoch.sentences.push_back(NmeaSentence(
        "GPGGA," + time + "," + latitude + "," + latitudeHemisphere + "," + longitude + "," +
        longitudeHemisphere + ",1," + Format("%02zu", usedLineOfSight.size()) + "," +
        Format("%.2f", epoch.hdop) + "," + Format("%.1f", epoch.altitudeM) + ",M,,M,,"));
  } else {
    epoch.sentences.push_back(
        NmeaSentence("GPGGA," + time + ",,,,,0,00," + Format("%.2f", kNoFixDop) + ",,M,,M,,"));
  }

  std::string gsa = epoch.hasFix ? "GPGSA,A,3" : "GPGSA,A,1";
  std::size_t listed = 0;
  for (const SatelliteView& view : epoch.satellites) {
    if (!view.usedInFix || !epoch.hasFix) continue;
    gsa += Format(",%02d", view.prn);
    ++listed;
  }
  for (; listed < kMaxChannels; ++listed) gsa += ",";
  gsa += Format(",%.2f,%.2f,%.2f", epoch.pdop, epoch.hdop, epoch.vdop);
  epoch.sentences.push_back(NmeaSentence(gsa));

  const std::size_t messageCount = std::max<std::size_t>(1, (epoch.satellites.size() + 3) / 4);
  for (std::size_t message = 0; message < messageCount; ++message) {
    std::string gsv =
        Format("GPGSV,%zu,%zu,%02zu", messageCount, message + 1, epoch.satellites.size());
    for (std::size_t i = message * 4; i < std::min(epoch.satellites.size(), message * 4 + 4); ++i) {
      const SatelliteView& view = epoch.satellites[i];
      gsv += Format(",%02d,%02d,%03d,", view.prn, view.elevationDeg, view.azimuthDeg);
      if (view.snrDbHz) gsv += Format("%02d", *view.snrDbHz);
    }
    epoch.sentences.push_back(NmeaSentence(gsv));
  }

  if (epoch.hasFix) {
    epoch.sentences.push_back(NmeaSentence(
        "GPRMC," + time + ",A," + latitude + "," + latitudeHemisphere + "," + longitude + "," +
        longitudeHemisphere + "," + Format("%.2f", epoch.speedMps * kKnotsPerMps) + "," +
        FormatCourse(epoch.courseDeg) + "," + date + ",,,A"));
  } else {
    epoch.sentences.push_back(NmeaSentence("GPRMC," + time + ",V,,,,,,," + date + ",,,N"));
  }
  return epoch;
}

std::vector<SimulatedEpoch> NmeaSimulator::Run() const {
  std::vector<SimulatedEpoch> epochs;
  epochs.reserve(static_cast<std::size_t>(durationSeconds_) + 1);
  for (int second = 0; second <= durationSeconds_; ++second) epochs.push_back(MakeEpoch(second));
  return epochs;
}

std::string NmeaSimulator::NmeaText() const {
  std::string text;
  for (const SimulatedEpoch& epoch : Run()) {
    for (const std::string& sentence : epoch.sentences) text += sentence;
  }
  return text;
}

}  // namespace orvo::gps
