#pragma once
// A GPS receiver simulator: drives a vehicle along a polyline and writes what an NMEA 0183
// receiver would send for it, one epoch per second (GGA, GSA, GSV, RMC). Used for the demo drive,
// for tests of everything downstream of the serial port, and by `orvo simulate`.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <GeographicLib/GeodesicLine.hpp>

namespace orvo::gps {

// A route or option the simulator cannot work with; the message says what and where.
class SimulationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct RoutePoint {
  double latitudeDeg = 0.0;
  double longitudeDeg = 0.0;
  std::optional<double> altitudeM;  // above mean sea level, when the route file has it
};

// The vehicle halts at the route point nearest to this location and waits.
struct RouteStop {
  double latitudeDeg = 0.0;
  double longitudeDeg = 0.0;
  double dwellSeconds = 0.0;
};

struct SimulationOptions {
  double cruiseSpeedKmh = 40.0;  // town driving
  // A calm driver: about 0-50 km/h in 9 s, and braking well below an emergency stop (~8 m/s²).
  double accelerationMps2 = 1.5;
  double brakingMps2 = 2.5;
  std::chrono::sys_seconds startUtc =
      std::chrono::sys_days{std::chrono::year{2026} / 1 / 1} + std::chrono::hours{12};
  std::uint64_t seed = 1;  // satellite constellation phase, PRN numbers and SNR noise
  std::vector<RouteStop> stops;
  // Seconds from the first epoch during which the receiver has no fix.
  std::optional<double> lossStartSeconds;
  double lossDurationSeconds = 0.0;
  double altitudeM = 30.0;  // used when the route points carry no altitude
  // A receiver reports a few fixes before the vehicle moves and after it has parked.
  int leadInSeconds = 5;
  int leadOutSeconds = 5;
};

struct SatelliteView {
  int prn = 0;
  int elevationDeg = 0;
  int azimuthDeg = 0;
  std::optional<int> snrDbHz;  // empty while the satellite is not tracked
  bool usedInFix = false;
};

// What the vehicle and the receiver do at one epoch, and the sentences sent for it.
struct SimulatedEpoch {
  std::chrono::sys_seconds utc;
  double latitudeDeg = 0.0;
  double longitudeDeg = 0.0;
  double altitudeM = 0.0;
  double distanceAlongRouteM = 0.0;
  double speedMps = 0.0;
  double courseDeg = 0.0;  // geodesic azimuth of the route segment the vehicle is on
  bool hasFix = true;
  double pdop = 0.0;
  double hdop = 0.0;
  double vdop = 0.0;
  std::vector<SatelliteView> satellites;  // in view, by PRN
  std::vector<std::string> sentences;     // complete lines, "$...*hh\r\n"
};

class NmeaSimulator {
 public:
  // Throws SimulationError for a route with fewer than two distinct points, a coordinate out of
  // range, a stop far from the route, or options out of range.
  NmeaSimulator(const std::vector<RoutePoint>& route, SimulationOptions options);

  double RouteLengthM() const { return cumulativeDistanceM_.back(); }
  // Seconds from the first to the last epoch.
  int DurationSeconds() const { return durationSeconds_; }
  // The route points used, after consecutive duplicates were dropped.
  const std::vector<RoutePoint>& Route() const { return route_; }

  std::vector<SimulatedEpoch> Run() const;
  std::string NmeaText() const;

  // Where the vehicle is on the route: position, local course and altitude.
  struct Placement {
    double latitudeDeg;
    double longitudeDeg;
    double courseDeg;
    double altitudeM;
  };
  Placement PlaceAt(double distanceAlongRouteM) const;

 private:
  struct Motion {
    double distanceM;
    double speedMps;
  };
  // One piece of the timeline: constant acceleration from startSpeed to endSpeed over lengthM
  // (lengthM 0 is a standstill of durationSeconds).
  struct Phase {
    double startSeconds;
    double durationSeconds;
    double startDistanceM;
    double lengthM;
    double startSpeedMps;
    double endSpeedMps;
  };

  void BuildTimeline();
  Motion MotionAt(double seconds) const;
  SimulatedEpoch MakeEpoch(int second) const;

  std::vector<RoutePoint> route_;
  SimulationOptions options_;
  bool altitudeFromRoute_ = false;  // every route point has an altitude
  std::vector<double> cumulativeDistanceM_;
  std::vector<GeographicLib::GeodesicLine> segments_;
  std::vector<double> stopDistancesM_;
  std::vector<double> stopDwellSeconds_;
  std::vector<Phase> phases_;
  int durationSeconds_ = 0;
};

// "$" + body + "*" + checksum + CR LF; the checksum is the XOR of the body's characters.
std::string NmeaSentence(std::string_view body);

// A route is either GPX (track points, or route points when the file has no track) or text: one
// "lat lon" or "lat,lon" point a line, an optional third number being the altitude in metres,
// "#" starting a comment. Throws SimulationError naming the line of a bad point.
std::vector<RoutePoint> ParseRoute(std::string_view text);
// Reads and parses a route file; throws SimulationError when it cannot be read.
std::vector<RoutePoint> LoadRoute(const std::filesystem::path& file);

}  // namespace orvo::gps
