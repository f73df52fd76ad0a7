#include "gps/NmeaSimulator.hpp"

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <tuple>

#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"

namespace orvo::gps {
namespace {

constexpr double kMpsPerKnot = 1852.0 / 3600.0;
const GeographicLib::Geodesic& kEarth = GeographicLib::Geodesic::WGS84();

// A drive in Monaco with bends of every kind, from a 4° kink to a hairpin.
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

// 50 km/h, crossing midnight into 2027, a 12 s stop 60 m in (asked for 3 m beside the road), and
// no fix from second 40 to 47.
SimulationOptions TestOptions() {
  SimulationOptions options;
  options.cruiseSpeedKmh = 50.0;
  options.startUtc = std::chrono::sys_days{std::chrono::year{2026} / 12 / 31} +
                     std::chrono::hours{23} + std::chrono::minutes{59};
  options.seed = 7;
  double latitudeDeg = 0, longitudeDeg = 0;
  RouteStop stop{0, 0, 12.0};
  kEarth.Direct(43.7300, 7.4200, 90.0, 60.0, latitudeDeg, longitudeDeg);
  kEarth.Direct(latitudeDeg, longitudeDeg, 0.0, 3.0, stop.latitudeDeg, stop.longitudeDeg);
  options.stops.push_back(stop);
  options.lossStartSeconds = 40.0;
  options.lossDurationSeconds = 8.0;
  return options;
}

// The text through ORVO's own receiver code, one line at a time as a serial port delivers it:
// the fix after each RMC (the last sentence of an epoch). Every line must carry a valid checksum
// and end in CR LF, and no decoder may give up on one.
std::vector<GpsFix> ReadThroughOrvo(const std::string& text) {
  host::platform::FixedTimeZone zone;
  host::platform::FixedClock clock(host::platform::DateValue::FromCivil(2026, 1, 1, 0, 0, 0));
  NmeaParser parser(zone, clock, [](std::string_view message) { ADD_FAILURE() << message; });
  struct AfterRmc : IntakeListener {
    explicit AfterRmc(const NmeaParser& p) : parser(p) {}
    void OnSentence(std::string_view sentence) override {
      if (sentence.substr(3, 3) == "RMC") fixes.push_back(parser.Fix());
    }
    const NmeaParser& parser;
    std::vector<GpsFix> fixes;
  } listener(parser);
  NmeaIntake intake(parser, &listener);
  intake.SetLenDetectRepeat(INT32_MAX);
  for (std::size_t start = 0, end; (end = text.find("\r\n", start)) != std::string::npos;
       start = end + 2) {
    const std::string line = text.substr(start, end + 2 - start);
    unsigned checksum = 0;
    for (std::size_t i = 1; i + 5 < line.size(); ++i)
      checksum ^= static_cast<unsigned char>(line[i]);
    char expected[8];
    std::snprintf(expected, sizeof expected, "*%02X\r\n", checksum);
    EXPECT_TRUE(line.starts_with('$') && line.ends_with(expected)) << line;
    intake.ProcessData(line);
  }
  EXPECT_TRUE(text.ends_with("\r\n"));
  EXPECT_EQ(intake.Counters().sentencesOfOtherTypes, 0U);
  return listener.fixes;
}

class SimulatedDrive : public ::testing::Test {
 protected:
  static const std::vector<SimulatedEpoch>& Epochs() {
    static const auto epochs = NmeaSimulator(TestRoute(), TestOptions()).Run();
    return epochs;
  }
};

// What ORVO reads from the sentences is what the simulator meant to send: 8 to 12 satellites in
// view, at least four used above the mask with the DOPs of a real fix; from second 40 to 47 no fix
// and only weak signals, then a fix again further along.
TEST_F(SimulatedDrive, SentencesReadBackThroughOrvosReceiverCode) {
  std::string text;
  for (const SimulatedEpoch& epoch : Epochs())
    for (const std::string& sentence : epoch.sentences) text += sentence;
  const std::vector<GpsFix> fixes = ReadThroughOrvo(text);
  ASSERT_EQ(fixes.size(), Epochs().size());
  for (std::size_t k = 0; k < fixes.size(); ++k) {
    const SimulatedEpoch& epoch = Epochs()[k];
    const GpsFix& fix = fixes[k];
    const std::size_t second = (23 * 3600 + 59 * 60 + k) % 86400;
    char time[8];
    std::snprintf(time, sizeof time, "%02zu%02zu%02zu", second / 3600, second / 60 % 60,
                  second % 60);
    EXPECT_EQ(fix.UtcTimeText, time);
    EXPECT_EQ(fix.UtcDateText, k < 60 ? "311226" : "010127") << time;
    ASSERT_TRUE(epoch.satellites.size() >= 8 && epoch.satellites.size() <= 12) << time;
    EXPECT_EQ(fix.SatCount, static_cast<int>(epoch.satellites.size())) << time;
    int used = 0;
    int heard = 0;
    for (std::size_t slot = 0; slot < epoch.satellites.size(); ++slot) {
      const SatelliteView& satellite = epoch.satellites[slot];
      EXPECT_EQ(fix.SatId[slot], satellite.prn);
      EXPECT_EQ(fix.SatElevation[slot], satellite.elevationDeg);
      EXPECT_EQ(fix.SatSNR[slot], satellite.snrDbHz);
      EXPECT_TRUE(!satellite.usedInFix || satellite.elevationDeg >= 10) << time;
      used += satellite.usedInFix;
      heard += satellite.snrDbHz.has_value();
    }
    EXPECT_EQ(epoch.hasFix, k < 40 || k >= 48) << time;
    EXPECT_EQ(fix.FixMode, epoch.hasFix ? kFixMode3D : kFixModeNoFix) << time;
    EXPECT_DOUBLE_EQ(fix.HDOP, std::round(epoch.hdop * 100) / 100) << time;
    if (!epoch.hasFix) {
      EXPECT_EQ(fix.Elevation, kNoValue);
      EXPECT_EQ(fix.HDOP, 99.99);
      EXPECT_TRUE(used == 0 && heard <= 2) << time;
      continue;
    }
    EXPECT_GE(used, 4);
    EXPECT_TRUE(epoch.hdop > 0.5 && epoch.hdop < 3.0) << epoch.hdop;
    EXPECT_NEAR(fix.Latitude, epoch.latitudeDeg, 1e-6) << time;  // 0.0001' is 2e-6°
    EXPECT_NEAR(fix.Longitude, epoch.longitudeDeg, 1e-6) << time;
    EXPECT_NEAR(fix.SpeedKnots, epoch.speedMps / kMpsPerKnot, 0.005) << time;
    EXPECT_NEAR(std::remainder(fix.Course - epoch.courseDeg, 360.0), 0.0, 0.05) << time;
    EXPECT_DOUBLE_EQ(fix.Elevation, 30.0);
    EXPECT_DOUBLE_EQ(fix.VDOP, std::round(epoch.vdop * 100) / 100);
  }
}

TEST(NmeaSimulator, RefusesRoutesAndOptionsItCannotDrive) {
  const std::vector<RoutePoint> route{{43.73, 7.42, std::nullopt}, {43.731, 7.42, std::nullopt}};
  SimulationOptions farStop, lateLoss, emptyLoss;
  farStop.stops.push_back({43.74, 7.42, 10.0});
  lateLoss.lossStartSeconds = 500.0;
  lateLoss.lossDurationSeconds = 5.0;
  emptyLoss.lossStartSeconds = 5.0;
  const std::tuple<std::vector<RoutePoint>, SimulationOptions, std::string> cases[] = {
      {{route[0], route[0]}, {}, "at least 2 distinct points"},
      {route, farStop, "1000 m from the route"},
      {route, lateLoss, "after the drive has ended (26 s)"},
      {route, emptyLoss, "a length above 0 s"},
  };
  for (const auto& [points, options, words] : cases) {
    try {
      static_cast<void>(NmeaSimulator(points, options));
      ADD_FAILURE() << "accepted: " << words;
    } catch (const SimulationError& error) {
      EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace orvo::gps
