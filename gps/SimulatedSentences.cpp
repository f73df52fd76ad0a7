// The sentences a receiver sends for one epoch.
#include <cmath>
#include <numeric>

#include "gps/NmeaSimulatorParts.hpp"

namespace orvo::gps {
namespace simulator {
namespace {

constexpr double kKnotsPerMps = 3600.0 / 1852.0;

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

}  // namespace

std::vector<std::string> EpochSentences(const SimulatedEpoch& epoch) {
  std::vector<std::string> sentences;
  const std::string time = FormatTime(epoch.utc);
  const std::string date = FormatDate(epoch.utc);
  const std::string latitude = FormatAngle(epoch.latitudeDeg, 2);
  const char latitudeHemisphere = epoch.latitudeDeg < 0.0 ? 'S' : 'N';
  const std::string longitude = FormatAngle(epoch.longitudeDeg, 3);
  const char longitudeHemisphere = epoch.longitudeDeg < 0.0 ? 'W' : 'E';
  const auto used = static_cast<std::size_t>(
      std::count_if(epoch.satellites.begin(), epoch.satellites.end(),
                    [](const SatelliteView& view) { return view.usedInFix; }));

  // The order is that of many receivers (GGA first, RMC last): a program that refreshes on RMC
  // then sees this second's GGA position already.
  if (epoch.hasFix) {
    sentences.push_back(NmeaSentence("GPGGA," + time + "," + latitude + "," + latitudeHemisphere +
                                     "," + longitude + "," + longitudeHemisphere + ",1," +
                                     Format("%02zu", used) + "," + Format("%.2f", epoch.hdop) +
                                     "," + Format("%.1f", epoch.altitudeM) + ",M,,M,,"));
  } else {
    sentences.push_back(
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
  sentences.push_back(NmeaSentence(gsa));

  const std::size_t messageCount = std::max<std::size_t>(1, (epoch.satellites.size() + 3) / 4);
  for (std::size_t message = 0; message < messageCount; ++message) {
    std::string gsv =
        Format("GPGSV,%zu,%zu,%02zu", messageCount, message + 1, epoch.satellites.size());
    for (std::size_t i = message * 4; i < std::min(epoch.satellites.size(), message * 4 + 4); ++i) {
      const SatelliteView& view = epoch.satellites[i];
      gsv += Format(",%02d,%02d,%03d,", view.prn, view.elevationDeg, view.azimuthDeg);
      if (view.snrDbHz) gsv += Format("%02d", *view.snrDbHz);
    }
    sentences.push_back(NmeaSentence(gsv));
  }

  if (epoch.hasFix) {
    sentences.push_back(NmeaSentence("GPRMC," + time + ",A," + latitude + "," + latitudeHemisphere +
                                     "," + longitude + "," + longitudeHemisphere + "," +
                                     Format("%.2f", epoch.speedMps * kKnotsPerMps) + "," +
                                     FormatCourse(epoch.courseDeg) + "," + date + ",,,A"));
  } else {
    sentences.push_back(NmeaSentence("GPRMC," + time + ",V,,,,,,," + date + ",,,N"));
  }
  return sentences;
}

}  // namespace simulator

std::string NmeaSentence(std::string_view body) {
  const unsigned checksum = std::accumulate(body.begin(), body.end(), 0U, [](unsigned sum, char c) {
    return sum ^ static_cast<unsigned char>(c);
  });
  return "$" + std::string(body) + simulator::Format("*%02X\r\n", checksum);
}

}  // namespace orvo::gps
