#pragma once
// The latest readings of the receiver. Written only by NmeaParser (its decoders and
// ResetGpsFix); read by every display, tracking and guidance part. The member initialisers are
// the values after a reset, except TimeZoneBias and GpsDateTime, which a reset takes from the
// time zone and the clock.
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "host/platform/DateValue.hpp"

namespace orvo::gps {

// A Double reading without a value holds this marker.
inline constexpr double kNoValue = -9999999.0;

// Bits of GpsFix::SentencesSeen: the sentence types parsed since the last reset.
inline constexpr std::int32_t kSeenRMC = 1;
inline constexpr std::int32_t kSeenGGA = 2;
inline constexpr std::int32_t kSeenGSA = 128;
inline constexpr std::int32_t kSeenGSV = 256;

// Values of GpsFix::FixMode.
inline constexpr std::int16_t kFixModeNoData = 0;
inline constexpr std::int16_t kFixModeNoFix = 1;
inline constexpr std::int16_t kFixMode2D = 2;
inline constexpr std::int16_t kFixMode3D = 3;

inline constexpr std::size_t kSatelliteSlots = 12;
// One value per channel slot; an empty slot (nothing reported) is distinct from 0.
using SatelliteTable = std::array<std::optional<std::int16_t>, kSatelliteSlots>;

struct GpsFix {
  std::int16_t FixMode = kFixModeNoData;  // 0 no data yet, 1 no fix, 2 2-D fix, 3 3-D fix
  std::int16_t SatCount = 0;              // in view (GSV), or in use (GGA) until a GSV came
  double HDOP = kNoValue;                 // horizontal dilution of precision
  double VDOP = kNoValue;                 // vertical dilution of precision
  SatelliteTable SatId;                   // PRN number per slot
  SatelliteTable SatElevation;            // degrees
  SatelliteTable SatAzimuth;              // degrees true
  SatelliteTable SatSNR;                  // signal-to-noise ratio, dB
  std::string LatText;                    // latitude field as received, ddmm.mmmm
  std::string LatHemisphere;              // "N" or "S" as received
  std::string LngText;                    // longitude field as received, dddmm.mmmm
  std::string LngHemisphere;              // "E" or "W" as received
  double Latitude = 0.0;                  // decimal degrees, north positive
  double Longitude = 0.0;                 // decimal degrees, east positive
  std::string UtcTimeText;                // UTC time of the fix, hhmmss
  std::string UtcDateText;                // UTC date, ddmmyy
  host::platform::DateValue GpsDateTime;  // GPS date and time in local time
  bool NewFix = false;                    // a position/time sentence came since the last tick
  double Elevation = kNoValue;            // antenna altitude above mean sea level, metres
  double Course = 0.0;                    // course over ground, degrees true
  double SpeedKnots = 0.0;                // speed over ground, knots
  std::int32_t SentencesSeen = 0;         // kSeen* bits
  std::int16_t TimeZoneBias = 0;          // minutes added to UTC to give local time
};

}  // namespace orvo::gps
