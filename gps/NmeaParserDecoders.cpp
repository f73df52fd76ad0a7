#include "gps/NmeaParserDecoders.hpp"

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"
#include "host/platform/Text.hpp"

namespace orvo::gps::detail {
namespace {

using host::platform::DateValue;
using host::platform::EqualsIgnoringAsciiCase;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The value of a numeric text, as IsNumeric and ToDouble read it, into VALUE; false when the
// text is not a number. Receiver fields are nearly always plain decimals ("4807.038", "-12.0",
// "45"), read here digit by digit; anything else (blanks, a sign "+", an exponent) takes the
// general reading. Out of line, so that NumberIn below stays small enough to be inlined.
[[gnu::noinline]] bool ReadNumber(std::string_view text, double& value) {
  if (text.empty()) {
    return false;  // the commonest field of all
  }
  constexpr std::size_t kPlainLimit = 15;  // whole numbers stay exact, decimals far from range
  if (text.size() <= kPlainLimit) {
    const bool negative = text.front() == '-';
    bool digit = false;
    bool point = false;
    bool plain = true;
    std::int64_t whole = 0;
    std::size_t decimals = 0;
    for (std::size_t i = negative ? 1 : 0; i < text.size() && plain; ++i) {
      if (IsDigit(text[i])) {
        digit = true;
        whole = whole * 10 + (text[i] - '0');
        decimals += point ? 1 : 0;
      } else if (text[i] == '.' && !point) {
        point = true;
      } else {
        plain = false;
      }
    }
    if (plain && digit) {
      // At most 15 digits: the digits and the power of ten are exact doubles, so the one
      // division is the correctly rounded value, as a full decimal reading gives. Satellite
      // numbers, angles and counts need none.
      static constexpr std::array<double, kPlainLimit> kPowersOfTen = {
          1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};
      value = static_cast<double>(whole);
      if (decimals > 0) value /= kPowersOfTen[decimals];
      if (negative) value = -value;
      return true;
    }
  }
  if (!host::platform::IsNumeric(text)) {
    return false;
  }
  value = host::platform::ToDouble(text);  // throws only when the number overflows
  return true;
}

// The same as an optional. Inlined: an optional<double> returned from a call is written a byte
// and a double at a time and read back whole, which stalls the processor on every field.
[[gnu::always_inline]] inline std::optional<double> NumberIn(std::string_view text) {
  double value = 0;
  if (!ReadNumber(text, value)) return std::nullopt;
  return value;
}

std::string_view BeforeChecksum(std::string_view sentence) {
  return sentence.substr(0, sentence.find('*'));
}

}  // namespace

std::string DecodeStop::Describe() const {
  switch (reason) {
    case Reason::kFieldMissing:
      return "field " + std::to_string(index) + " missing";
    case Reason::kSlotOutOfRange:
      return "slot " + std::to_string(index) + " out of range";
    case Reason::kNotANumber:
      return "Type mismatch: \"" + std::string(text) + "\" is not a number";
    case Reason::kTooLarge: {
      char shown[32];
      std::snprintf(shown, sizeof shown, "%.15g", value);
      return std::string("Overflow: ") + shown + " does not fit in 16 bits";
    }
    case Reason::kNotATime: {
      // As the time-of-day reading saw it: "hh:mm:ss".
      const std::string t(text);
      return "Type mismatch: \"" + t.substr(0, 2) + ":" + t.substr(2, 2) + ":" + t.substr(4, 2) +
             "\" is not a time of day";
    }
    case Reason::kOther:
      break;
  }
  return other;
}

// The fields of a sentence split at every comma, without trimming; field 0 is "$" and the
// address. Reading a field that is not there records the stop.
class SentenceDecoder::Fields {
 public:
  Fields(std::string_view sentence, std::vector<std::string_view>& storage, DecodeStop& stop)
      : fields_(storage), stop_(stop) {
    fields_.clear();
    // One pass by hand: fields are a few characters long, too short for a library search to pay.
    std::size_t begin = 0;
    for (std::size_t i = 0; i < sentence.size(); ++i) {
      if (sentence[i] == ',') {
        fields_.push_back(sentence.substr(begin, i - begin));
        begin = i + 1;
      }
    }
    fields_.push_back(sentence.substr(begin));
  }

  bool Get(std::size_t index, std::string_view& field) const {
    if (index >= fields_.size()) {
      stop_.reason = DecodeStop::Reason::kFieldMissing;
      stop_.index = static_cast<std::int64_t>(index);
      return false;
    }
    field = fields_[index];
    return true;
  }

  std::size_t LastIndex() const { return fields_.size() - 1; }

 private:
  std::vector<std::string_view>& fields_;
  DecodeStop& stop_;
};

bool SentenceDecoder::Copy(const Fields& fields, std::size_t index, std::string& into) {
  std::string_view field;
  if (!fields.Get(index, field)) {
    return false;
  }
  into.assign(field);
  return true;
}

bool SentenceDecoder::Number(std::string_view text, double& value) {
  const std::optional<double> number = NumberIn(text);
  if (!number) {
    stop_.reason = DecodeStop::Reason::kNotANumber;
    stop_.text = text;
    return false;
  }
  value = *number;
  return true;
}

// Rounded half to even into 16 bits, as ToInt16 does.
bool SentenceDecoder::Whole(double number, std::int16_t& value) {
  // Receivers send whole numbers here; only a fraction needs the rounding.
  const bool whole = number >= -32768.0 && number <= 32767.0 &&
                     number == static_cast<double>(static_cast<std::int32_t>(number));
  const double rounded = whole ? number : host::platform::RoundHalfEven(number);
  if (std::isnan(rounded) || rounded < std::numeric_limits<std::int16_t>::min() ||
      rounded > std::numeric_limits<std::int16_t>::max()) {
    stop_.reason = DecodeStop::Reason::kTooLarge;
    stop_.value = number;
    return false;
  }
  value = static_cast<std::int16_t>(rounded);
  return true;
}

bool SentenceDecoder::Whole(std::string_view text, std::int16_t& value) {
  double number = 0;
  return Number(text, number) && Whole(number, value);
}

// A satellite table slot: the field's whole value, or empty when the field is not numeric.
bool SentenceDecoder::Slot(std::string_view field, std::optional<std::int16_t>& slot) {
  const std::optional<double> number = NumberIn(field);
  if (!number) {
    slot.reset();
    return true;
  }
  std::int16_t value = 0;
  if (!Whole(*number, value)) {
    return false;
  }
  slot = value;
  return true;
}

// hhmmss as the number pattern "00:00:00" shows it, read back as a time of day: 93000 is
// 09:30:00, and a text that is no time (256070) stops the decoder.
bool SentenceDecoder::TimeOfDay(std::string_view hhmmss, DateValue& time) {
  bool digits = hhmmss.size() == 6;
  for (std::size_t i = 0; digits && i < hhmmss.size(); ++i) {
    digits = IsDigit(hhmmss[i]);
  }
  if (!digits) {
    // A sign, blanks or a decimal point: the pattern decides what they become.
    double number = 0;
    if (!Number(hhmmss, number)) {
      return false;
    }
    time = DateValue::ParseTime(host::platform::FormatNumber(number, "00:00:00"));
    return true;
  }
  auto pair = [hhmmss](std::size_t at) { return (hhmmss[at] - '0') * 10 + (hhmmss[at + 1] - '0'); };
  const int hour = pair(0);
  const int minute = pair(2);
  const int second = pair(4);
  if (hour > 23 || minute > 59 || second > 59) {
    stop_.reason = DecodeStop::Reason::kNotATime;
    stop_.text = hhmmss;
    return false;
  }
  time = DateValue::FromTimeOfDay(hour, minute, second);
  return true;
}

// Latitude from ddmm.mmmm when the text has at least 3 characters, then longitude from
// dddmm.mmmm when it has at least 4 (one more than latitude needs, as it always was); a text
// too short leaves its value as it was.
bool SentenceDecoder::ConvertPosition() {
  auto degrees = [this](std::string_view text, std::size_t degreeDigits, double& value) {
    double whole = 0;
    double minutes = 0;
    if (!Number(text.substr(0, degreeDigits), whole) ||
        !Number(text.substr(degreeDigits), minutes)) {
      return false;
    }
    value = whole + minutes / 60.0;
    return true;
  };
  double value = 0;
  if (fix_.LatText.size() >= 3) {
    if (!degrees(fix_.LatText, 2, value)) {
      return false;
    }
    fix_.Latitude = EqualsIgnoringAsciiCase(fix_.LatHemisphere, "S") ? -value : value;
  }
  if (fix_.LngText.size() >= 4) {
    if (!degrees(fix_.LngText, 3, value)) {
      return false;
    }
    fix_.Longitude = EqualsIgnoringAsciiCase(fix_.LngHemisphere, "W") ? -value : value;
  }
  return true;
}

// RMC: 1 time, 2 status, 3 lat, 4 N/S, 5 lon, 6 E/W, 7 speed knots, 8 course, 9 date ddmmyy
// $GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A
bool SentenceDecoder::RMC(std::string_view sentence) {
  const Fields fields(sentence, fieldStorage_, stop_);
  std::string_view field;
  if (!fields.Get(1, field)) {
    return false;
  }
  fix_.UtcTimeText.assign(field.substr(0, 6));
  if (!Copy(fields, 9, fix_.UtcDateText)) {
    return false;
  }

  std::optional<DateValue> date;
  const std::string_view ddmmyy = fix_.UtcDateText;
  if (ddmmyy.size() == 6) {
    std::int16_t years = 0;
    std::int16_t month = 0;
    std::int16_t day = 0;
    if (!Whole(ddmmyy.substr(4, 2), years)) {
      return false;
    }
    // Two-digit years from 90 on are of the 1900s; the rest are 2000 to 2089.
    if (years < 90) {
      years = static_cast<std::int16_t>(years + 100);
    }
    if (!Whole(ddmmyy.substr(2, 2), month) || !Whole(ddmmyy.substr(0, 2), day)) {
      return false;
    }
    // A real date straight from the calendar; a month 13 or a 31st of a short month is read
    // step by step, rolling over into the next month or year as it always did.
    date = DateValue::TryCivilDate(1900 + years, month, day);
    if (!date) {
      date = DateValue::FromCivil(1900, 1, 1).AddYears(years).AddMonths(month - 1).AddDays(day - 1);
    }
    fix_.GpsDateTime = *date;
  }
  if (fix_.UtcTimeText.size() == 6) {
    DateValue timeOfDay;
    if (!TimeOfDay(fix_.UtcTimeText, timeOfDay)) {
      return false;
    }
    fix_.GpsDateTime = DateValue::Combine(date.value_or(DateValue()), timeOfDay);
  }
  // Even without time and date: an RMC with both empty shifts the stored time once more, as it
  // always did.
  fix_.GpsDateTime = fix_.GpsDateTime.AddMinutes(fix_.TimeZoneBias);
  fix_.NewFix = true;

  // Fields 2 to 8 are there: field 9 was.
  std::string_view status;
  fields.Get(2, status);
  fields.Get(8, field);
  fix_.Course = NumberIn(field).value_or(fix_.Course);
  fields.Get(7, field);
  fix_.SpeedKnots = NumberIn(field).value_or(fix_.SpeedKnots);

  if ((fix_.SentencesSeen & kSeenGGA) == 0) {
    Copy(fields, 3, fix_.LatText);
    Copy(fields, 4, fix_.LatHemisphere);
    Copy(fields, 5, fix_.LngText);
    Copy(fields, 6, fix_.LngHemisphere);
    if (!ConvertPosition()) {
      return false;
    }
    if ((fix_.SentencesSeen & kSeenGSA) == 0) {
      fix_.FixMode = EqualsIgnoringAsciiCase(status, "A") ? kFixMode2D : kFixModeNoFix;
    }
  }
  fix_.SentencesSeen |= kSeenRMC;
  return true;
}

// GGA: 1 time, 2 lat, 3 N/S, 4 lon, 5 E/W, 6 quality, 7 satellites used, 8 HDOP, 9 altitude m
// $GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47
bool SentenceDecoder::GGA(std::string_view sentence) {
  const Fields fields(sentence, fieldStorage_, stop_);
  if (!Copy(fields, 2, fix_.LatText) || !Copy(fields, 3, fix_.LatHemisphere) ||
      !Copy(fields, 4, fix_.LngText) || !Copy(fields, 5, fix_.LngHemisphere) ||
      !ConvertPosition()) {
    return false;
  }

  std::string_view field;
  if (!fields.Get(9, field)) {
    return false;
  }
  fix_.Elevation = NumberIn(field).value_or(kNoValue);

  // Fields 1 to 8 are there: field 9 was.
  if ((fix_.SentencesSeen & kSeenGSA) == 0) {
    fields.Get(6, field);
    if (field != "0") {
      // The no-value marker counts as below sea level: a fix without altitude is 2-D.
      fix_.FixMode = fix_.Elevation >= 0 ? kFixMode3D : kFixMode2D;
    } else {
      fix_.FixMode = kFixModeNoFix;
    }
  }

  if ((fix_.SentencesSeen & kSeenRMC) == 0) {
    // The whole field, not cut to six characters as RMC does: a time with fractional seconds
    // gives no time from GGA.
    Copy(fields, 1, fix_.UtcTimeText);
    if (fix_.UtcTimeText.size() == 6) {
      DateValue timeOfDay;
      if (!TimeOfDay(fix_.UtcTimeText, timeOfDay)) {
        return false;
      }
      // Shifted to local time and brought back to a time of day, to the second.
      const auto local = timeOfDay.AddMinutes(fix_.TimeZoneBias).ToCivil();
      fix_.GpsDateTime = DateValue::FromTimeOfDay(local.hour, local.minute, local.second);
    }
    fix_.NewFix = true;
  }

  if ((fix_.SentencesSeen & kSeenGSV) == 0) {
    fields.Get(7, field);
    if (const auto count = NumberIn(field); count && !Whole(*count, fix_.SatCount)) {
      return false;
    }
    fields.Get(8, field);
    fix_.HDOP = NumberIn(field).value_or(fix_.HDOP);
  }
  fix_.SentencesSeen |= kSeenGGA;
  return true;
}

// GSA: 1 mode A/M, 2 fix type 1-3, 3..14 satellites used, 15 PDOP, 16 HDOP, 17 VDOP
// $GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39
bool SentenceDecoder::GSA(std::string_view sentence) {
  const Fields fields(BeforeChecksum(sentence), fieldStorage_, stop_);
  std::string_view field;
  if (!fields.Get(2, field)) {
    return false;
  }
  if (const auto mode = NumberIn(field); mode && !Whole(*mode, fix_.FixMode)) {
    return false;
  }

  if ((fix_.SentencesSeen & kSeenGSV) == 0) {
    for (std::size_t i = 3; i <= 14; ++i) {
      const std::size_t slot = i - 3;
      if (!fields.Get(i, field) || !Slot(field, fix_.SatId[slot])) {
        return false;
      }
      fix_.SatElevation[slot].reset();
      fix_.SatAzimuth[slot].reset();
      fix_.SatSNR[slot].reset();
    }
  }

  if (!fields.Get(16, field)) {
    return false;
  }
  fix_.HDOP = NumberIn(field).value_or(fix_.HDOP);
  if (!fields.Get(17, field)) {
    return false;
  }
  fix_.VDOP = NumberIn(field).value_or(fix_.VDOP);
  fix_.SentencesSeen |= kSeenGSA;
  return true;
}

// GSV: 1 messages, 2 message number, 3 in view, then per satellite: PRN, elevation, azimuth, SNR
// $GPGSV,3,1,10,20,78,331,45,01,59,235,47,22,41,069,,13,32,252,45*70
bool SentenceDecoder::GSV(std::string_view sentence) {
  const Fields fields(BeforeChecksum(sentence), fieldStorage_, stop_);
  std::string_view field;
  if (!fields.Get(3, field)) {
    return false;
  }
  if (const auto count = NumberIn(field); count && !Whole(*count, fix_.SatCount)) {
    return false;
  }

  // Fields 1 and 2 are there: field 3 was.
  std::string_view messages;
  std::string_view number;
  fields.Get(1, messages);
  fields.Get(2, number);
  std::int16_t message = 0;
  if (!Whole(number, message)) {
    return false;
  }
  // Message 1 fills slots 0..3, message 2 slots 4..7, message 3 slots 8..11.
  auto slotAt = [this, message](std::size_t i, std::size_t& slot) {
    const std::int64_t at = static_cast<std::int64_t>(i / 4) + (std::int64_t{message} - 1) * 4 - 1;
    if (at < 0 || at >= static_cast<std::int64_t>(kSatelliteSlots)) {
      stop_.reason = DecodeStop::Reason::kSlotOutOfRange;
      stop_.index = at;
      return false;
    }
    slot = static_cast<std::size_t>(at);
    return true;
  };

  SatelliteTable* const tables[] = {&fix_.SatId, &fix_.SatElevation, &fix_.SatAzimuth,
                                    &fix_.SatSNR};
  std::size_t i = 4;
  std::size_t slot = 0;
  for (; i <= fields.LastIndex(); i += 4) {
    if (!slotAt(i, slot)) {
      return false;
    }
    for (std::size_t column = 0; column < 4; ++column) {
      if (!fields.Get(i + column, field) || !Slot(field, (*tables[column])[slot])) {
        return false;
      }
    }
  }
  // The last message of a cycle empties the rest of its own four slots. Slots of message
  // numbers beyond the last keep what an earlier, longer cycle put there, as they always did.
  constexpr std::size_t kLastGroupField = 19;  // four groups of four fields after field 3
  if (messages == number) {
    for (; i <= kLastGroupField; i += 4) {
      if (!slotAt(i, slot)) {
        return false;
      }
      for (SatelliteTable* table : tables) {
        (*table)[slot].reset();
      }
    }
  }
  fix_.SentencesSeen |= kSeenGSV;
  return true;
}

}  // namespace orvo::gps::detail
