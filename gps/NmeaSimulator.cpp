#include "gps/NmeaSimulator.hpp"

#include <GeographicLib/Geodesic.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

#include "gps/NmeaSimulatorParts.hpp"

// The vehicle's motion: where it is on the route and how fast at every second. The satellites
// and the sentences are in SimulatedSky.cpp and SimulatedSentences.cpp, route files in
// RouteFile.cpp.
namespace orvo::gps {
namespace {

using simulator::CheckCoordinates;
using simulator::EpochSentences;
using simulator::Format;
using simulator::kDegToRad;
using simulator::NormalizeDeg180;
using simulator::NormalizeDeg360;
using simulator::Sky;
using simulator::SkyAt;

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

}  // namespace

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
  const bool lost = options_.lossStartSeconds && second >= *options_.lossStartSeconds &&
                    second < *options_.lossStartSeconds + options_.lossDurationSeconds;
  Sky sky = SkyAt(options_.seed, second, epoch.utc, place.latitudeDeg, place.longitudeDeg,
                  place.altitudeM, !lost);
  epoch.hasFix = sky.hasFix;
  epoch.pdop = sky.pdop;
  epoch.hdop = sky.hdop;
  epoch.vdop = sky.vdop;
  epoch.satellites = std::move(sky.satellites);
  epoch.sentences = EpochSentences(epoch);
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
