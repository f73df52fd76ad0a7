#include "gps/NmeaSimulator.hpp"

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>
#include <chrono>
#include <cmath>
#include <map>
#include <numbers>
#include <set>

#include "tests/simulate/NmeaReader.hpp"

namespace orvo::gps {
namespace {

using testing::Project;
using testing::ReadEpoch;

constexpr double kMpsPerKnot = 1852.0 / 3600.0;
// Positions carry four decimals of a minute: 0.09 m of latitude, 0.07 m of longitude here.
constexpr double kPositionRoundingM = 0.12;
const GeographicLib::Geodesic& kEarth = GeographicLib::Geodesic::WGS84();

// A drive in Monaco with every kind of bend: a straight with a 4° kink (vertex 2), a 90° left
// turn (3), a 150° hairpin to the right (5), a 30° bend (6), and a 90° curve drawn as six 15°
// kinks 5 m apart as OSM draws curves (7 to 12).
std::vector<RoutePoint> TestRoute() {
  const std::vector<std::pair<double, double>> legs{
      // azimuth °, length m
      {90, 100}, {90, 100}, {94, 100}, {4, 100}, {4, 100}, {154, 150}, {124, 250},
      {139, 5},  {154, 5},  {169, 5},  {184, 5}, {199, 5}, {214, 100}};
  std::vector<RoutePoint> route{{43.7300, 7.4200, std::nullopt}};
  for (const auto& [azimuthDeg, lengthM] : legs) {
    RoutePoint next;
    kEarth.Direct(route.back().latitudeDeg, route.back().longitudeDeg, azimuthDeg, lengthM,
                  next.latitudeDeg, next.longitudeDeg);
    route.push_back(next);
  }
  return route;
}

// 50 km/h, crossing midnight into 2027, a 12 s stop 60 m in (asked for 3 m beside the road: it is
// taken to the nearest route point), and no fix from second 40 to 47.
SimulationOptions TestOptions() {
  SimulationOptions options;
  options.cruiseSpeedKmh = 50.0;
  options.startUtc = std::chrono::sys_days{std::chrono::year{2026} / 12 / 31} +
                     std::chrono::hours{23} + std::chrono::minutes{59};
  options.seed = 7;
  RouteStop stop{0, 0, 12.0};
  double latitudeDeg = 0, longitudeDeg = 0;
  kEarth.Direct(43.7300, 7.4200, 90.0, 60.0, latitudeDeg, longitudeDeg);
  kEarth.Direct(latitudeDeg, longitudeDeg, 0.0, 3.0, stop.latitudeDeg, stop.longitudeDeg);
  options.stops.push_back(stop);
  options.lossStartSeconds = 40.0;
  options.lossDurationSeconds = 8.0;
  return options;
}

double AlongRouteM(const ReadEpoch& epoch) {
  return Project(TestRoute(), *epoch.latitudeDeg, *epoch.longitudeDeg).alongRouteM;
}

class SimulatedDrive : public ::testing::Test {
 protected:
  static const std::string& Text() {
    static const std::string text = NmeaSimulator(TestRoute(), TestOptions()).NmeaText();
    return text;
  }
  static const std::vector<ReadEpoch>& Epochs() {
    static const std::vector<ReadEpoch> epochs = testing::ReadEpochs(Text());
    return epochs;
  }
};

// Checksums and line ends (checked by the reader), one GGA, GSA, RMC and two or three GSV a
// second, times and dates in step across midnight, positions on the route from start to end.
TEST_F(SimulatedDrive, SendsOneSetEachSecondWithPositionsOnTheRoute) {
  std::map<std::string, std::size_t> countByType;
  for (const auto& fields : testing::ReadSentences(Text())) ++countByType[fields[0]];
  const std::size_t epochCount = Epochs().size();
  ASSERT_GT(epochCount, 90U);
  EXPECT_EQ(countByType.size(), 4U);
  EXPECT_EQ(countByType["GPGGA"], epochCount);
  EXPECT_EQ(countByType["GPGSA"], epochCount);
  EXPECT_EQ(countByType["GPRMC"], epochCount);
  EXPECT_GE(countByType["GPGSV"], 2 * epochCount);
  EXPECT_LE(countByType["GPGSV"], 3 * epochCount);

  for (std::size_t k = 0; k < epochCount; ++k) {
    const ReadEpoch& epoch = Epochs()[k];
    const std::size_t second = (23 * 3600 + 59 * 60 + k) % 86400;
    char time[16];
    std::snprintf(time, sizeof time, "%02zu%02zu%02zu.00", second / 3600, second / 60 % 60,
                  second % 60);
    EXPECT_EQ(epoch.time, time);
    EXPECT_EQ(epoch.date, k < 60 ? "311226" : "010127") << epoch.time;
    if (!epoch.rmcValid) continue;
    EXPECT_EQ(epoch.altitudeM, 30.0);
    EXPECT_LT(Project(TestRoute(), *epoch.latitudeDeg, *epoch.longitudeDeg).offRouteM,
              kPositionRoundingM)
        << epoch.time;
  }
  EXPECT_LT(AlongRouteM(Epochs().front()), kPositionRoundingM);
  EXPECT_NEAR(AlongRouteM(Epochs().back()), NmeaSimulator(TestRoute(), {}).RouteLengthM(),
              kPositionRoundingM);
}

// The distance between two fixes is the mean of their speeds times one second; the speed changes
// no faster than the limits, never exceeds the cruising speed, and is zero only at the start, at
// the stop (for the whole wait) and at the end.
TEST_F(SimulatedDrive, SpeedMatchesDistanceAndRespectsTheLimits) {
  const SimulationOptions options = TestOptions();
  const double speedRoundingMps = 0.005 * kMpsPerKnot;  // speed is sent to 0.01 kn
  // Within one second the acceleration may switch once (say from speeding up to braking), which
  // moves the distance off the trapezoid by at most (acceleration + braking) / 8 metres.
  const double distanceToleranceM =
      (options.accelerationMps2 + options.brakingMps2) / 8.0 + 2 * kPositionRoundingM;
  const double lengthM = NmeaSimulator(TestRoute(), {}).RouteLengthM();
  const double stopAtM =
      Project(TestRoute(), options.stops[0].latitudeDeg, options.stops[0].longitudeDeg).alongRouteM;
  double topSpeedMps = 0.0;
  int secondsAtStop = 0;
  const ReadEpoch* previous = nullptr;
  for (const ReadEpoch& epoch : Epochs()) {
    if (!epoch.rmcValid) {
      previous = nullptr;
      continue;
    }
    const double speedMps = *epoch.speedKnots * kMpsPerKnot;
    topSpeedMps = std::max(topSpeedMps, speedMps);
    if (previous != nullptr) {
      const double previousMps = *previous->speedKnots * kMpsPerKnot;
      EXPECT_NEAR(AlongRouteM(epoch) - AlongRouteM(*previous), (speedMps + previousMps) / 2.0,
                  distanceToleranceM)
          << epoch.time;
      EXPECT_LE(speedMps - previousMps, options.accelerationMps2 + 2 * speedRoundingMps);
      EXPECT_GE(speedMps - previousMps, -options.brakingMps2 - 2 * speedRoundingMps);
    }
    previous = &epoch;
    if (speedMps > 0.0) continue;
    const double alongM = AlongRouteM(epoch);
    if (std::abs(alongM - stopAtM) < kPositionRoundingM) {
      ++secondsAtStop;
    } else {
      EXPECT_TRUE(alongM < kPositionRoundingM || alongM > lengthM - kPositionRoundingM)
          << "standing still away from the stop at " << epoch.time;
    }
  }
  EXPECT_NEAR(topSpeedMps, options.cruiseSpeedKmh / 3.6, speedRoundingMps);
  EXPECT_GE(secondsAtStop, 12);
  EXPECT_LE(secondsAtStop, 13);
  EXPECT_EQ(Epochs().front().speedKnots, 0.0);
  EXPECT_EQ(Epochs().back().speedKnots, 0.0);
}

// Slower the sharper the bend; a slight kink costs nothing.
TEST_F(SimulatedDrive, SlowsDownForBendsByTheirAngle) {
  const auto route = TestRoute();
  auto slowestKmhNear = [&](std::size_t vertex) {
    double slowest = 1e9;
    for (const ReadEpoch& epoch : Epochs()) {
      double distanceM = 1e9;
      if (epoch.rmcValid) {
        kEarth.Inverse(route[vertex].latitudeDeg, route[vertex].longitudeDeg, *epoch.latitudeDeg,
                       *epoch.longitudeDeg, distanceM);
      }
      if (distanceM < 15.0) slowest = std::min(slowest, *epoch.speedKnots * kMpsPerKnot * 3.6);
    }
    return slowest;
  };
  EXPECT_GT(slowestKmhNear(2), 45.0);
  EXPECT_LT(slowestKmhNear(3), 25.0);
  EXPECT_LT(slowestKmhNear(5), 15.0);
  EXPECT_LT(slowestKmhNear(5), slowestKmhNear(3));
  EXPECT_LT(slowestKmhNear(3), slowestKmhNear(6));
  EXPECT_LT(slowestKmhNear(6), 45.0);
  EXPECT_GT(slowestKmhNear(5), 0.0);  // a bend is not a stop
  EXPECT_LT(slowestKmhNear(9), 25.0) << "a curve drawn in small steps is still a 90° turn";
}

TEST_F(SimulatedDrive, CourseIsTheAzimuthOfTheCurrentSegment) {
  const auto route = TestRoute();
  int checked = 0;
  for (const ReadEpoch& epoch : Epochs()) {
    if (!epoch.rmcValid || *epoch.speedKnots == 0.0) continue;
    const std::size_t i = Project(route, *epoch.latitudeDeg, *epoch.longitudeDeg).segment;
    double distanceM, azimuthDeg, unused;
    kEarth.Inverse(route[i].latitudeDeg, route[i].longitudeDeg, route[i + 1].latitudeDeg,
                   route[i + 1].longitudeDeg, distanceM, azimuthDeg, unused);
    // Sent to 0.1°; along a 250 m geodesic the azimuth drifts by thousandths of a degree.
    const double errorDeg = std::abs(std::remainder(*epoch.courseDeg - azimuthDeg, 360.0));
    EXPECT_LT(errorDeg, 0.06) << epoch.time << " segment " << i;
    EXPECT_TRUE(*epoch.courseDeg >= 0.0 && *epoch.courseDeg < 360.0);
    ++checked;
  }
  EXPECT_GT(checked, 60);
}

// Diagonal of (GᵀG)⁻¹ for rows (e, n, u, 1): east, north, up; Gaussian elimination of
// GᵀG x = unit vector (symmetric positive definite, so no pivoting).
std::array<double, 3> DilutionSquares(const std::vector<std::array<double, 4>>& rows) {
  std::array<double, 3> diagonal{};
  for (int unit = 0; unit < 3; ++unit) {
    double system[4][5] = {};
    for (const auto& row : rows) {
      for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) system[r][c] += row[r] * row[c];
    }
    system[unit][4] = 1.0;
    for (int p = 0; p < 4; ++p) {
      for (int r = p + 1; r < 4; ++r) {
        const double factor = system[r][p] / system[p][p];
        for (int c = p; c < 5; ++c) system[r][c] -= factor * system[p][c];
      }
    }
    double x[4];
    for (int r = 3; r >= 0; --r) {
      x[r] = system[r][4];
      for (int c = r + 1; c < 4; ++c) x[r] -= system[r][c] * x[c];
      x[r] /= system[r][r];
    }
    diagonal[unit] = x[unit];
  }
  return diagonal;
}

// 8 to 12 satellites in view in two or three GSV messages; those used are in view, above the
// mask, heard and counted in GGA; the DOPs agree with the geometry GSV describes; the sky moves
// slowly.
TEST_F(SimulatedDrive, SatellitesAreConsistentAcrossSentences) {
  const ReadEpoch* previous = nullptr;
  for (const ReadEpoch& epoch : Epochs()) {
    ASSERT_GE(epoch.inView.size(), 8U) << epoch.time;
    ASSERT_LE(epoch.inView.size(), 12U) << epoch.time;
    EXPECT_EQ(epoch.gsvMessages, (epoch.inView.size() + 3) / 4);
    std::set<int> prns;
    for (const auto& s : epoch.inView) {
      EXPECT_TRUE(prns.insert(s.prn).second) << "PRN listed twice at " << epoch.time;
      EXPECT_TRUE(s.prn >= 1 && s.prn <= 32 && s.elevationDeg >= 0 && s.elevationDeg <= 90 &&
                  s.azimuthDeg >= 0 && s.azimuthDeg < 360);
      for (const auto& before :
           previous ? previous->inView : std::vector<testing::SatelliteInView>{}) {
        if (before.prn != s.prn) continue;
        EXPECT_LE(std::abs(s.elevationDeg - before.elevationDeg), 1);
        EXPECT_LE(std::abs(std::remainder(s.azimuthDeg - before.azimuthDeg, 360.0)), 1.0);
      }
    }
    previous = &epoch;
    if (!epoch.rmcValid) continue;

    EXPECT_EQ(epoch.gsaFixType, 3);
    EXPECT_EQ(epoch.ggaQuality, 1);
    EXPECT_EQ(static_cast<std::size_t>(epoch.satellitesUsed), epoch.usedPrns.size());
    std::vector<std::array<double, 4>> rows;
    for (const int prn : epoch.usedPrns) {
      const auto s = std::find_if(epoch.inView.begin(), epoch.inView.end(),
                                  [&](const auto& view) { return view.prn == prn; });
      ASSERT_NE(s, epoch.inView.end()) << "used PRN " << prn << " not in view";
      EXPECT_GE(s->elevationDeg, 10);
      EXPECT_TRUE(s->snrDbHz >= 20 && s->snrDbHz <= 50);
      const double elevation = s->elevationDeg * std::numbers::pi / 180.0;
      const double azimuth = s->azimuthDeg * std::numbers::pi / 180.0;
      rows.push_back({std::cos(elevation) * std::sin(azimuth),
                      std::cos(elevation) * std::cos(azimuth), std::sin(elevation), 1.0});
    }
    ASSERT_GE(rows.size(), 4U);
    const auto q = DilutionSquares(rows);
    // GSV's whole-degree angles move the DOPs by a few hundredths.
    EXPECT_NEAR(epoch.hdop, std::sqrt(q[0] + q[1]), 0.05) << epoch.time;
    EXPECT_NEAR(epoch.vdop, std::sqrt(q[2]), 0.05) << epoch.time;
    EXPECT_NEAR(epoch.pdop, std::hypot(epoch.hdop, epoch.vdop), 0.015) << epoch.time;
    EXPECT_EQ(epoch.ggaHdop, epoch.hdop);
    EXPECT_TRUE(epoch.hdop > 0.5 && epoch.hdop < 3.0) << epoch.hdop;
  }
}

// From second 40 to 47 the receiver has no fix, then it recovers where the vehicle has got to.
TEST_F(SimulatedDrive, LosesItsFixInTheWindowAndRecovers) {
  for (std::size_t k = 0; k < Epochs().size(); ++k) {
    const ReadEpoch& epoch = Epochs()[k];
    const bool lost = k >= 40 && k < 48;
    EXPECT_EQ(epoch.rmcValid, !lost) << "second " << k;
    EXPECT_EQ(epoch.ggaQuality, lost ? 0 : 1) << "second " << k;
    EXPECT_EQ(epoch.gsaFixType, lost ? 1 : 3) << "second " << k;
    if (!lost) continue;
    EXPECT_FALSE(epoch.latitudeDeg || epoch.longitudeDeg || epoch.speedKnots || epoch.courseDeg);
    EXPECT_TRUE(epoch.usedPrns.empty() && epoch.satellitesUsed == 0 && epoch.hdop == 99.99);
    const auto heard = std::count_if(epoch.inView.begin(), epoch.inView.end(),
                                     [](const auto& s) { return s.snrDbHz.has_value(); });
    EXPECT_LE(heard * 3, static_cast<long>(epoch.inView.size())) << "most have no SNR";
  }
  const ReadEpoch& before = Epochs()[39];
  const ReadEpoch& after = Epochs()[48];
  const double meanSpeedMps = (*before.speedKnots + *after.speedKnots) / 2.0 * kMpsPerKnot;
  EXPECT_GT(AlongRouteM(after) - AlongRouteM(before), 0.5 * 9.0 * meanSpeedMps)
      << "the vehicle drove on during the loss";
}

TEST(NmeaSimulator, SameInputsGiveTheSameOutputAndTheSeedOnlyChangesTheSky) {
  const std::string first = NmeaSimulator(TestRoute(), TestOptions()).NmeaText();
  EXPECT_EQ(NmeaSimulator(TestRoute(), TestOptions()).NmeaText(), first);
  SimulationOptions reseeded = TestOptions();
  reseeded.seed = 8;
  const auto a = testing::ReadEpochs(first);
  const auto b = testing::ReadEpochs(NmeaSimulator(TestRoute(), reseeded).NmeaText());
  ASSERT_EQ(a.size(), b.size());
  int differentSkies = 0;
  for (std::size_t k = 0; k < a.size(); ++k) {
    EXPECT_EQ(a[k].latitudeDeg, b[k].latitudeDeg);
    EXPECT_EQ(a[k].speedKnots, b[k].speedKnots);
    differentSkies += a[k].usedPrns != b[k].usedPrns;
  }
  EXPECT_GT(differentSkies, 0);
}

TEST(NmeaSimulator, AltitudeHemispheresAndFieldPadding) {
  std::vector<RoutePoint> route{{43.73, 7.42, 10.0}, {43.73, 7.43, 110.0}};
  const NmeaSimulator climbing(route, {});
  for (const auto& epoch : climbing.Run()) {
    EXPECT_NEAR(epoch.altitudeM, 10.0 + 100.0 * epoch.distanceAlongRouteM / climbing.RouteLengthM(),
                1e-6);
  }
  route[1].altitudeM.reset();  // one point without: the constant is used throughout
  SimulationOptions options;
  options.altitudeM = 55.0;
  EXPECT_EQ(testing::ReadEpochs(NmeaSimulator(route, options).NmeaText()).back().altitudeM, 55.0);

  const auto south = testing::ReadEpochs(
      NmeaSimulator({{-53.1, -70.9, std::nullopt}, {-53.1, -70.899, std::nullopt}}, {}).NmeaText());
  EXPECT_NEAR(*south.front().latitudeDeg, -53.1, 1e-6);
  EXPECT_NEAR(*south.front().longitudeDeg, -70.9, 1e-6);
  const std::string equator =
      NmeaSimulator({{0.5, 5.25, std::nullopt}, {0.5, 5.26, std::nullopt}}, {}).NmeaText();
  EXPECT_TRUE(equator.starts_with("$GPGGA,120000.00,0030.0000,N,00515.0000,E,1,"));
}

TEST(NmeaSimulator, RefusesRoutesAndOptionsItCannotDrive) {
  const std::vector<RoutePoint> route{{43.73, 7.42, std::nullopt}, {43.731, 7.42, std::nullopt}};
  auto error = [](std::vector<RoutePoint> points, auto change) -> std::string {
    SimulationOptions options;
    change(options);
    try {
      static_cast<void>(NmeaSimulator(points, options));
    } catch (const SimulationError& caught) {
      return caught.what();
    }
    return "(none)";
  };
  auto same = [](SimulationOptions&) {};
  EXPECT_EQ(error({route[0], route[0]}, same),
            "the route needs at least 2 distinct points, it has 1");
  EXPECT_EQ(error({route[0], {91.0, 7.42, std::nullopt}}, same),
            "route point: latitude 91 is outside -90 to 90");
  EXPECT_EQ(error(route,
                  [](auto& o) {
                    o.stops.push_back({43.74, 7.42, 10.0});
                  }),
            "stop at 43.740000,7.420000: 1000 m from the route; a stop must be within 50 m of it");
  EXPECT_EQ(error(route,
                  [](auto& o) {
                    o.lossStartSeconds = 500.0;
                    o.lossDurationSeconds = 5.0;
                  }),
            "the loss of fix starts at 500 s, after the drive has ended (26 s)");
  EXPECT_EQ(error(route, [](auto& o) { o.lossStartSeconds = 5.0; }),
            "a loss of fix needs a start of 0 s or later and a length above 0 s");
  EXPECT_EQ(
      error(route,
            [](auto& o) { o.startUtc = std::chrono::sys_days{std::chrono::year{2090} / 1 / 1}; }),
      "the start time must be in the years 1990 to 2089");
}

// Stops at the ends wait before setting off and after arriving; a repeated point is dropped.
TEST(NmeaSimulator, StopsAtTheEndsOfTheRoute) {
  SimulationOptions options;
  options.leadInSeconds = options.leadOutSeconds = 0;
  options.stops = {{43.73, 7.42, 6.0}, {43.731, 7.42, 4.0}};
  const NmeaSimulator simulator(
      {{43.73, 7.42, std::nullopt}, {43.73, 7.42, std::nullopt}, {43.731, 7.42, std::nullopt}},
      options);
  EXPECT_EQ(simulator.Route().size(), 2U);
  const auto epochs = simulator.Run();
  ASSERT_GT(epochs.size(), 12U);
  for (std::size_t k = 0; k < epochs.size(); ++k) {
    const bool waiting = k <= 6 || k >= epochs.size() - 5;  // arrival, then 4 s
    EXPECT_EQ(epochs[k].speedMps == 0.0, waiting) << k;
  }
  EXPECT_EQ(epochs.back().distanceAlongRouteM, simulator.RouteLengthM());
  EXPECT_EQ(NmeaSentence("GPGSA,A,1,,,,,,,,,,,,,99.99,99.99,99.99"),
            "$GPGSA,A,1,,,,,,,,,,,,,99.99,99.99,99.99*30\r\n");
}

}  // namespace
}  // namespace orvo::gps
