#pragma once
// A small, strict NMEA reader for the simulator's tests, written here rather than borrowed from
// ORVO's parser so that the simulator is checked against an independent reading.
#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>
#include <GeographicLib/LocalCartesian.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "gps/NmeaSimulator.hpp"

namespace orvo::gps::testing {

using Fields = std::vector<std::string>;  // [0] is the address, e.g. "GPRMC"

// Every line must be "$...*hh" with the right checksum and end in CR LF.
inline std::vector<Fields> ReadSentences(std::string_view text) {
  std::vector<Fields> sentences;
  for (std::size_t end; (end = text.find("\r\n")) != std::string_view::npos;
       text.remove_prefix(end + 2)) {
    const std::string_view line = text.substr(0, end);
    const auto star = line.rfind('*');
    if (!line.starts_with('$') || star + 3 != line.size()) {
      ADD_FAILURE() << "not a sentence: " << line;
      continue;
    }
    unsigned checksum = 0;
    for (const char c : line.substr(1, star - 1)) checksum ^= static_cast<unsigned char>(c);
    char expected[3];
    std::snprintf(expected, sizeof expected, "%02X", checksum);
    EXPECT_EQ(line.substr(star + 1), expected) << line;
    Fields fields(1);
    for (const char c : line.substr(1, star - 1)) {
      if (c == ',')
        fields.emplace_back();
      else
        fields.back() += c;
    }
    sentences.push_back(fields);
  }
  EXPECT_TRUE(text.empty()) << "text after the last CR LF: " << text.substr(0, 80);
  return sentences;
}

struct SatelliteInView {
  int prn, elevationDeg, azimuthDeg;
  std::optional<int> snrDbHz;
};

// One second of output (GGA, GSA, GSV..., RMC) read back.
struct ReadEpoch {
  std::string time, date;  // hhmmss.00, ddmmyy
  bool rmcValid = false;
  int ggaQuality = -1, gsaFixType = 0, satellitesUsed = 0;
  std::optional<double> latitudeDeg, longitudeDeg, speedKnots, courseDeg, altitudeM;
  double ggaHdop = 0, pdop = 0, hdop = 0, vdop = 0;
  std::vector<int> usedPrns;
  std::vector<SatelliteInView> inView;
  std::size_t gsvMessages = 0;
};

inline std::optional<double> Number(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(std::stod(text));
}

// ddmm.mmmm / dddmm.mmmm with hemisphere; checks the field widths.
inline std::optional<double> Angle(const std::string& text, const std::string& hemisphere,
                                   std::size_t degreeDigits) {
  if (text.empty()) return std::nullopt;
  EXPECT_EQ(text.size(), degreeDigits + 7) << text;
  const double value =
      std::stod(text.substr(0, degreeDigits)) + std::stod(text.substr(degreeDigits)) / 60.0;
  return hemisphere == "S" || hemisphere == "W" ? -value : value;
}

inline std::vector<ReadEpoch> ReadEpochs(std::string_view text) {
  std::vector<ReadEpoch> epochs;
  const auto sentences = ReadSentences(text);
  for (std::size_t i = 0; i < sentences.size();) {
    ReadEpoch epoch;
    const Fields& gga = sentences[i++];
    if (gga[0] != "GPGGA" || gga.size() != 15 || i + 2 >= sentences.size()) {
      ADD_FAILURE() << "an epoch must open with a full GGA: " << gga[0];
      return epochs;
    }
    epoch.time = gga[1];
    epoch.latitudeDeg = Angle(gga[2], gga[3], 2);
    epoch.longitudeDeg = Angle(gga[4], gga[5], 3);
    epoch.ggaQuality = std::stoi(gga[6]);
    epoch.satellitesUsed = std::stoi(gga[7]);
    epoch.ggaHdop = std::stod(gga[8]);
    epoch.altitudeM = Number(gga[9]);

    const Fields& gsa = sentences[i++];
    EXPECT_TRUE(gsa[0] == "GPGSA" && gsa.size() == 18) << gsa[0];
    epoch.gsaFixType = std::stoi(gsa.at(2));
    for (std::size_t f = 3; f <= 14; ++f) {
      if (!gsa.at(f).empty()) epoch.usedPrns.push_back(std::stoi(gsa[f]));
    }
    epoch.pdop = std::stod(gsa.at(15));
    epoch.hdop = std::stod(gsa.at(16));
    epoch.vdop = std::stod(gsa.at(17));

    // Every GSV of the cycle states the same message count and satellites in view, numbers its
    // messages 1, 2, 3 and holds four complete groups, the last one one to four.
    std::size_t declaredInView = 0;
    std::size_t declaredMessages = 0;
    for (; i < sentences.size() && sentences[i][0] == "GPGSV"; ++i) {
      const Fields& gsv = sentences[i];
      if (epoch.gsvMessages++ == 0) {
        declaredMessages = std::stoul(gsv.at(1));
        declaredInView = std::stoul(gsv.at(3));
      }
      EXPECT_EQ(std::stoul(gsv.at(1)), declaredMessages);
      EXPECT_EQ(std::stoul(gsv.at(2)), epoch.gsvMessages);
      EXPECT_EQ(std::stoul(gsv.at(3)), declaredInView);
      const std::size_t groups = (gsv.size() - 4) / 4;
      EXPECT_EQ(gsv.size(), 4 + 4 * groups) << "a group is incomplete";
      EXPECT_TRUE(epoch.gsvMessages == declaredMessages ? groups >= 1 : groups == 4);
      for (std::size_t f = 4; f + 3 < gsv.size(); f += 4) {
        const auto snr = Number(gsv[f + 3]);
        epoch.inView.push_back({std::stoi(gsv[f]), std::stoi(gsv[f + 1]), std::stoi(gsv[f + 2]),
                                snr ? std::optional(static_cast<int>(*snr)) : std::nullopt});
      }
    }
    EXPECT_EQ(epoch.gsvMessages, declaredMessages);
    EXPECT_EQ(epoch.inView.size(), declaredInView);

    const Fields& rmc = sentences.at(i++);
    EXPECT_TRUE(rmc[0] == "GPRMC" && rmc.size() == 13) << rmc[0];
    EXPECT_EQ(rmc.at(1), epoch.time) << "one time for the epoch";
    epoch.rmcValid = rmc.at(2) == "A";
    EXPECT_EQ(Angle(rmc.at(3), rmc.at(4), 2), epoch.latitudeDeg);
    EXPECT_EQ(Angle(rmc.at(5), rmc.at(6), 3), epoch.longitudeDeg);
    epoch.speedKnots = Number(rmc.at(7));
    epoch.courseDeg = Number(rmc.at(8));
    epoch.date = rmc.at(9);
    epochs.push_back(epoch);
  }
  return epochs;
}

// The nearest point of a polyline: distance to it, how far along the line it lies, and on which
// segment. Segments are flattened on a tangent plane at the query point: exact to well under a
// millimetre over a street's length.
struct Projection {
  double offRouteM;
  double alongRouteM;
  std::size_t segment;
};

inline Projection Project(const std::vector<RoutePoint>& route, double latitudeDeg,
                          double longitudeDeg) {
  const GeographicLib::LocalCartesian plane(latitudeDeg, longitudeDeg, 0.0);
  Projection best{1e300, 0.0, 0};
  double startM = 0.0;
  for (std::size_t i = 0; i + 1 < route.size(); ++i) {
    double ax, ay, bx, by, z, lengthM;
    plane.Forward(route[i].latitudeDeg, route[i].longitudeDeg, 0.0, ax, ay, z);
    plane.Forward(route[i + 1].latitudeDeg, route[i + 1].longitudeDeg, 0.0, bx, by, z);
    const double t = std::clamp(
        -(ax * (bx - ax) + ay * (by - ay)) / (std::pow(bx - ax, 2) + std::pow(by - ay, 2)), 0.0,
        1.0);
    const double off = std::hypot(ax + t * (bx - ax), ay + t * (by - ay));
    GeographicLib::Geodesic::WGS84().Inverse(route[i].latitudeDeg, route[i].longitudeDeg,
                                             route[i + 1].latitudeDeg, route[i + 1].longitudeDeg,
                                             lengthM);
    if (off < best.offRouteM) best = {off, startM + t * lengthM, i};
    startM += lengthM;
  }
  return best;
}

}  // namespace orvo::gps::testing
