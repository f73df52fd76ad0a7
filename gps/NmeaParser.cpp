#include "gps/NmeaParser.hpp"

#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::gps {
namespace {

using host::platform::DateValue;
using host::platform::IsNumeric;
using host::platform::ToDouble;
using host::platform::ToInt16;

// A sentence that ends before a field a decoder needs, or fills a slot that does not exist.
class SentenceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The fields of a sentence split at every comma; field 0 is "$" and the address.
class Fields {
 public:
  explicit Fields(std::string_view sentence) {
    std::size_t begin = 0;
    while (true) {
      const auto comma = sentence.find(',', begin);
      if (comma == std::string_view::npos) {
        break;
      }
      fields_.push_back(sentence.substr(begin, comma - begin));
      begin = comma + 1;
    }
    fields_.push_back(sentence.substr(begin));
  }

  std::string_view operator[](std::size_t index) const {
    if (index >= fields_.size()) {
      throw SentenceError("field " + std::to_string(index) + " missing");
    }
    return fields_[index];
  }

  std::size_t LastIndex() const { return fields_.size() - 1; }

 private:
  std::vector<std::string_view> fields_;
};

std::string_view BeforeChecksum(std::string_view sentence) {
  return sentence.substr(0, sentence.find('*'));
}

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') {
      c = static_cast<char>(c - 'a' + 'A');
    }
  }
  return upper;
}

std::optional<std::int16_t> SlotValue(std::string_view field) {
  if (!IsNumeric(field)) {
    return std::nullopt;
  }
  return ToInt16(field);
}

// ddmm.mmmm; nothing when shorter than 3 characters.
std::optional<double> LatitudeDegrees(std::string_view text, std::string_view hemisphere) {
  if (text.size() < 3) {
    return std::nullopt;
  }
  const double degrees = ToDouble(text.substr(0, 2)) + ToDouble(text.substr(2)) / 60.0;
  return UpperCase(hemisphere) == "S" ? -degrees : degrees;
}

// dddmm.mmmm; nothing when shorter than 4 characters (one more than latitude needs, as it
// always was).
std::optional<double> LongitudeDegrees(std::string_view text, std::string_view hemisphere) {
  if (text.size() < 4) {
    return std::nullopt;
  }
  const double degrees = ToDouble(text.substr(0, 3)) + ToDouble(text.substr(3)) / 60.0;
  return UpperCase(hemisphere) == "W" ? -degrees : degrees;
}

// hhmmss through the number pattern "00:00:00" and read back as a time of day, so 93000 is
// 09:30:00 and a text that is no time (256000) is an error.
DateValue TimeOfDay(std::string_view hhmmss) {
  return DateValue::ParseTime(host::platform::FormatNumber(ToDouble(hhmmss), "00:00:00"));
}

// A quoted copy of a sentence for diagnostics, cut to a length a log line can carry.
std::string Quoted(std::string_view sentence) {
  constexpr std::size_t kMaxShown = 120;  // longer than any valid sentence (82 characters)
  std::string text = "\"" + std::string(sentence.substr(0, kMaxShown));
  if (sentence.size() > kMaxShown) {
    text += "...";
  }
  return text + "\"";
}

}  // namespace

NmeaParser::NmeaParser(host::platform::TimeZoneSource& timeZone, host::platform::SystemClock& clock,
                       DiagnosticSink diagnostics)
    : timeZone_(timeZone), clock_(clock), diagnostics_(std::move(diagnostics)) {
  ResetGpsFix();
}

void NmeaParser::ResetGpsFix() {
  fix_ = GpsFix{};
  fix_.TimeZoneBias = GetTimeZoneBias();
  try {
    fix_.GpsDateTime = clock_.Now();
  } catch (const std::exception& error) {
    Report(std::string("ResetGpsFix: ") + error.what());
  }
}

std::int16_t NmeaParser::GetTimeZoneBias() const {
  try {
    const host::platform::TimeZoneInformation zone = timeZone_.Current();
    // The platform's own daylight bias is not used: daylight time is always one hour.
    constexpr std::int32_t kDaylightMinutes = 60;
    const std::int32_t bias =
        -zone.standardBiasMinutes + (zone.daylightInForce ? kDaylightMinutes : 0);
    return ToInt16(static_cast<double>(bias));
  } catch (const std::exception& error) {
    Report(std::string("GetTimeZoneBias: ") + error.what());
    return 0;
  }
}

template <typename Decoder>
void NmeaParser::Guarded(const char* name, std::string_view sentence, Decoder decode) {
  try {
    decode(sentence);
  } catch (const std::exception& error) {
    ++failureCount_;
    Report(std::string(name) + ": " + error.what() + " in " + Quoted(sentence));
  }
}

void NmeaParser::ParseRMC(std::string_view sentence) {
  Guarded("ParseRMC", sentence, [this](std::string_view s) { DecodeRMC(s); });
}
void NmeaParser::ParseGGA(std::string_view sentence) {
  Guarded("ParseGGA", sentence, [this](std::string_view s) { DecodeGGA(s); });
}
void NmeaParser::ParseGSA(std::string_view sentence) {
  Guarded("ParseGSA", sentence, [this](std::string_view s) { DecodeGSA(s); });
}
void NmeaParser::ParseGSV(std::string_view sentence) {
  Guarded("ParseGSV", sentence, [this](std::string_view s) { DecodeGSV(s); });
}

void NmeaParser::Report(std::string_view message) const {
  if (diagnostics_) {
    diagnostics_(message);
  }
}

// Latitude and Longitude from the text fields, each only when its text is long enough.
void NmeaParser::ConvertPosition() {
  if (const auto latitude = LatitudeDegrees(fix_.LatText, fix_.LatHemisphere)) {
    fix_.Latitude = *latitude;
  }
  if (const auto longitude = LongitudeDegrees(fix_.LngText, fix_.LngHemisphere)) {
    fix_.Longitude = *longitude;
  }
}

// RMC: 1 time, 2 status, 3 lat, 4 N/S, 5 lon, 6 E/W, 7 speed knots, 8 course, 9 date ddmmyy
// $GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A
void NmeaParser::DecodeRMC(std::string_view sentence) {
  const Fields fields(sentence);
  fix_.UtcTimeText = std::string(fields[1].substr(0, 6));
  fix_.UtcDateText = std::string(fields[9]);

  std::optional<DateValue> date;
  if (fix_.UtcDateText.size() == 6) {
    const std::string_view text = fix_.UtcDateText;
    int years = ToInt16(text.substr(4, 2));
    // Two-digit years from 90 on are of the 1900s; the rest are 2000 to 2089.
    if (years < 90) {
      years += 100;
    }
    const int months = ToInt16(text.substr(2, 2)) - 1;
    const int days = ToInt16(text.substr(0, 2)) - 1;
    date = DateValue::FromCivil(1900, 1, 1).AddYears(years).AddMonths(months).AddDays(days);
    fix_.GpsDateTime = *date;
  }
  if (fix_.UtcTimeText.size() == 6) {
    fix_.GpsDateTime = DateValue::Combine(date.value_or(DateValue()), TimeOfDay(fix_.UtcTimeText));
  }
  // Even without time and date: an RMC with both empty shifts the stored time once more, as it
  // always did.
  fix_.GpsDateTime = fix_.GpsDateTime.AddMinutes(fix_.TimeZoneBias);
  fix_.NewFix = true;

  if (IsNumeric(fields[8])) {
    fix_.Course = ToDouble(fields[8]);
  }
  if (IsNumeric(fields[7])) {
    fix_.SpeedKnots = ToDouble(fields[7]);
  }

  if ((fix_.SentencesSeen & kSeenGGA) == 0) {
    fix_.LatText = std::string(fields[3]);
    fix_.LatHemisphere = std::string(fields[4]);
    fix_.LngText = std::string(fields[5]);
    fix_.LngHemisphere = std::string(fields[6]);
    ConvertPosition();
    if ((fix_.SentencesSeen & kSeenGSA) == 0) {
      fix_.FixMode = UpperCase(fields[2]) == "A" ? kFixMode2D : kFixModeNoFix;
    }
  }
  fix_.SentencesSeen |= kSeenRMC;
}

// GGA: 1 time, 2 lat, 3 N/S, 4 lon, 5 E/W, 6 quality, 7 satellites used, 8 HDOP, 9 altitude m
// $GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47
void NmeaParser::DecodeGGA(std::string_view sentence) {
  const Fields fields(sentence);
  fix_.LatText = std::string(fields[2]);
  fix_.LatHemisphere = std::string(fields[3]);
  fix_.LngText = std::string(fields[4]);
  fix_.LngHemisphere = std::string(fields[5]);
  ConvertPosition();

  fix_.Elevation = IsNumeric(fields[9]) ? ToDouble(fields[9]) : kNoValue;

  if ((fix_.SentencesSeen & kSeenGSA) == 0) {
    if (UpperCase(fields[6]) != "0") {
      // The no-value marker counts as below sea level: a fix without altitude is 2-D.
      fix_.FixMode = fix_.Elevation >= 0 ? kFixMode3D : kFixMode2D;
    } else {
      fix_.FixMode = kFixModeNoFix;
    }
  }

  if ((fix_.SentencesSeen & kSeenRMC) == 0) {
    // The whole field, not cut to six characters as RMC does: a time with fractional seconds
    // gives no time from GGA.
    fix_.UtcTimeText = std::string(fields[1]);
    if (fix_.UtcTimeText.size() == 6) {
      const DateValue local = TimeOfDay(fix_.UtcTimeText).AddMinutes(fix_.TimeZoneBias);
      fix_.GpsDateTime = DateValue::ParseTime(local.Format("hh:mm:ss"));
    }
    fix_.NewFix = true;
  }

  if ((fix_.SentencesSeen & kSeenGSV) == 0) {
    if (IsNumeric(fields[7])) {
      fix_.SatCount = ToInt16(fields[7]);
    }
    if (IsNumeric(fields[8])) {
      fix_.HDOP = ToDouble(fields[8]);
    }
  }
  fix_.SentencesSeen |= kSeenGGA;
}

// GSA: 1 mode A/M, 2 fix type 1-3, 3..14 satellites used, 15 PDOP, 16 HDOP, 17 VDOP
// $GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39
void NmeaParser::DecodeGSA(std::string_view sentence) {
  const Fields fields(BeforeChecksum(sentence));
  if (IsNumeric(fields[2])) {
    fix_.FixMode = ToInt16(fields[2]);
  }

  if ((fix_.SentencesSeen & kSeenGSV) == 0) {
    for (std::size_t i = 3; i <= 14; ++i) {
      const std::size_t slot = i - 3;
      fix_.SatId[slot] = SlotValue(fields[i]);
      fix_.SatElevation[slot].reset();
      fix_.SatAzimuth[slot].reset();
      fix_.SatSNR[slot].reset();
    }
  }

  if (IsNumeric(fields[16])) {
    fix_.HDOP = ToDouble(fields[16]);
  }
  if (IsNumeric(fields[17])) {
    fix_.VDOP = ToDouble(fields[17]);
  }
  fix_.SentencesSeen |= kSeenGSA;
}

// GSV: 1 messages, 2 message number, 3 in view, then per satellite: PRN, elevation, azimuth, SNR
// $GPGSV,3,1,10,20,78,331,45,01,59,235,47,22,41,069,,13,32,252,45*70
void NmeaParser::DecodeGSV(std::string_view sentence) {
  const Fields fields(BeforeChecksum(sentence));
  if (IsNumeric(fields[3])) {
    fix_.SatCount = ToInt16(fields[3]);
  }

  const std::int64_t message = ToInt16(fields[2]);
  // Message 1 fills slots 0..3, message 2 slots 4..7, message 3 slots 8..11.
  auto slotAt = [message](std::size_t field) {
    const std::int64_t slot = static_cast<std::int64_t>(field / 4) + (message - 1) * 4 - 1;
    if (slot < 0 || slot >= static_cast<std::int64_t>(kSatelliteSlots)) {
      throw SentenceError("slot " + std::to_string(slot) + " out of range");
    }
    return static_cast<std::size_t>(slot);
  };

  std::size_t i = 4;
  for (; i <= fields.LastIndex(); i += 4) {
    const std::size_t slot = slotAt(i);
    fix_.SatId[slot] = SlotValue(fields[i]);
    fix_.SatElevation[slot] = SlotValue(fields[i + 1]);
    fix_.SatAzimuth[slot] = SlotValue(fields[i + 2]);
    fix_.SatSNR[slot] = SlotValue(fields[i + 3]);
  }
  // The last message of a cycle empties the rest of its own four slots. Slots of message
  // numbers beyond the last keep what an earlier, longer cycle put there, as they always did.
  constexpr std::size_t kLastGroupField = 19;  // four groups of four fields after field 3
  if (fields[1] == fields[2]) {
    for (; i <= kLastGroupField; i += 4) {
      const std::size_t slot = slotAt(i);
      fix_.SatId[slot].reset();
      fix_.SatElevation[slot].reset();
      fix_.SatAzimuth[slot].reset();
      fix_.SatSNR[slot].reset();
    }
  }
  fix_.SentencesSeen |= kSeenGSV;
}

}  // namespace orvo::gps
