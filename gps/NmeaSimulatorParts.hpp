#pragma once
// The simulator's parts, each in a file of its own: the satellites overhead (SimulatedSky.cpp),
// the sentences sent for one epoch (SimulatedSentences.cpp) and the route files (RouteFile.cpp).
// The vehicle's motion is NmeaSimulator.cpp. Only these files include this header.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

#include "gps/NmeaSimulator.hpp"

namespace orvo::gps::simulator {

inline constexpr double kDegToRad = std::numbers::pi / 180.0;
inline constexpr double kRadToDeg = 180.0 / std::numbers::pi;
inline constexpr std::size_t kMaxChannels = 12;  // GSV holds three messages of four; GSA 12 PRNs
inline constexpr double kNoFixDop = 99.99;       // what receivers report without a solution

inline double NormalizeDeg360(double angleDeg) {
  double result = std::fmod(angleDeg, 360.0);
  if (result < 0.0) result += 360.0;
  return result;
}

inline double NormalizeDeg180(double angleDeg) {
  double result = NormalizeDeg360(angleDeg);
  if (result > 180.0) result -= 360.0;
  return result;
}

// printf into a string; every field the simulator writes is far shorter than the buffer.
template <typename... Values>
std::string Format(const char* format, Values... values) {
  std::array<char, 96> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), format, values...);
  return std::string(buffer.data(), static_cast<std::size_t>(std::max(length, 0)));
}

// Throws SimulationError, `where` in front, for a latitude or longitude out of range.
void CheckCoordinates(double latitudeDeg, double longitudeDeg, const std::string& where);

// What the receiver makes of the sky at one epoch.
struct Sky {
  std::vector<SatelliteView> satellites;  // in view, by PRN
  double pdop = kNoFixDop;
  double hdop = kNoFixDop;
  double vdop = kNoFixDop;
  bool hasFix = false;  // the receiver had a fix to give and at least four satellites to use
};
// `second` counts epochs from the start (it seeds the signal noise).
Sky SkyAt(std::uint64_t seed, int second, std::chrono::sys_seconds utc, double latitudeDeg,
          double longitudeDeg, double altitudeM, bool receiverHasFix);

// GGA, GSA, GSV (one to three) and RMC for the epoch, in that order.
std::vector<std::string> EpochSentences(const SimulatedEpoch& epoch);

}  // namespace orvo::gps::simulator
