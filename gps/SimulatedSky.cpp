// The satellites a receiver would see: a simplified GPS constellation, the signal strengths and
// the dilution of precision of the satellites used.
#include <GeographicLib/Geocentric.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "gps/NmeaSimulatorParts.hpp"

namespace orvo::gps::simulator {
namespace {

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

std::vector<SkyPosition> PositionsAt(const Constellation& constellation, double unixSeconds,
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

}  // namespace

Sky SkyAt(std::uint64_t seed, int second, std::chrono::sys_seconds utc, double latitudeDeg,
          double longitudeDeg, double altitudeM, bool receiverHasFix) {
  const double unixSeconds = static_cast<double>(utc.time_since_epoch().count());
  std::vector<SkyPosition> sky =
      PositionsAt(MakeConstellation(seed), unixSeconds, latitudeDeg, longitudeDeg, altitudeM);
  std::erase_if(sky, [](const SkyPosition& s) { return s.elevationDeg < kInViewElevationDeg; });
  // More satellites above the horizon than channels: track the highest.
  std::sort(sky.begin(), sky.end(), [](const SkyPosition& a, const SkyPosition& b) {
    return a.elevationDeg > b.elevationDeg;
  });
  if (sky.size() > kMaxChannels) sky.resize(kMaxChannels);

  Sky result;
  std::vector<std::array<double, 3>> usedLineOfSight;
  for (std::size_t rank = 0; rank < sky.size(); ++rank) {
    const SkyPosition& position = sky[rank];
    SatelliteView view;
    view.prn = position.prn;
    view.elevationDeg = static_cast<int>(std::lround(position.elevationDeg));
    view.azimuthDeg = static_cast<int>(std::lround(position.azimuthDeg)) % 360;
    const int signal = SignalDbHz(seed, position.prn, second, position.elevationDeg);
    if (receiverHasFix) {
      view.snrDbHz = signal;
      view.usedInFix = position.elevationDeg >= kElevationMaskDeg;
    } else if (rank < 2) {
      // Without a fix (under a bridge, between tall buildings) only the highest two satellites
      // still come through, weakened.
      view.snrDbHz = std::max(signal - 18, 10);
    }
    if (view.usedInFix) usedLineOfSight.push_back(position.lineOfSightEnu);
    result.satellites.push_back(view);
  }
  std::sort(result.satellites.begin(), result.satellites.end(),
            [](const SatelliteView& a, const SatelliteView& b) { return a.prn < b.prn; });
  // Four satellites give a 3-D fix; fewer cannot be solved here, so the receiver reports none.
  result.hasFix = receiverHasFix && usedLineOfSight.size() >= 4;
  if (!result.hasFix) {
    for (SatelliteView& view : result.satellites) view.usedInFix = false;
    return result;
  }
  const Dops dops = DilutionOfPrecision(usedLineOfSight);
  result.pdop = dops.pdop;
  result.hdop = dops.hdop;
  result.vdop = dops.vdop;
  return result;
}

}  // namespace orvo::gps::simulator
