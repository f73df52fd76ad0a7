#include "host/platform/DateValue.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "host/platform/Numeric.hpp"

namespace orvo::host::platform {
namespace {

constexpr double kSecondsPerDay = 86400.0;
// Day numbers of 1 January 100 and 31 December 9999, the range of such dates.
constexpr std::int64_t kFirstDay = -657434;
constexpr std::int64_t kLastDay = 2958465;
// 1 January 1970 is day 25569 after 30 December 1899.
constexpr std::int64_t kUnixEpochDay = 25569;

// Days since 1 January 1970 of a proleptic Gregorian date (H. Hinnant's civil algorithms).
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

CivilDate CivilFromDays(std::int64_t days) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned shiftedMonth = (5 * dayOfYear + 2) / 153;
  const unsigned day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
  const unsigned month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
  const std::int64_t year = static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0);
  return {year, month, day};
}

bool IsLeapYear(std::int64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

unsigned DaysInMonth(std::int64_t year, unsigned month) {
  static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// A date value taken apart: the day (days after 30 December 1899) and the seconds into it.
struct Parts {
  std::int64_t day;
  double secondsOfDay;
};

Parts Split(double oleDays) {
  // Only values built from outside (DateValue(double)) can be this far off; the calendar steps
  // keep to the years 100..9999.
  if (!(std::fabs(oleDays) < 1e9)) {
    throw ConversionError("Overflow: not a date value");
  }
  const double whole = std::trunc(oleDays);
  return {static_cast<std::int64_t>(whole), std::fabs(oleDays - whole) * kSecondsPerDay};
}

DateValue Join(std::int64_t day, double secondsOfDay) {
  if (day < kFirstDay || day > kLastDay) {
    throw ConversionError("Overflow: the date leaves the years 100 to 9999");
  }
  const double fraction = secondsOfDay / kSecondsPerDay;
  return DateValue(day >= 0 ? static_cast<double>(day) + fraction
                            : static_cast<double>(day) - fraction);
}

DateValue FromAbsoluteSeconds(double seconds) {
  if (!std::isfinite(seconds)) {
    throw ConversionError("Overflow: the date is not finite");
  }
  const double day = std::floor(seconds / kSecondsPerDay);
  if (day < static_cast<double>(kFirstDay) || day > static_cast<double>(kLastDay)) {
    throw ConversionError("Overflow: the date leaves the years 100 to 9999");
  }
  double secondsOfDay = seconds - day * kSecondsPerDay;
  secondsOfDay = std::clamp(secondsOfDay, 0.0, std::nextafter(kSecondsPerDay, 0.0));
  return Join(static_cast<std::int64_t>(day), secondsOfDay);
}

double AbsoluteSeconds(DateValue value) {
  const Parts parts = Split(value.OleDays());
  return static_cast<double>(parts.day) * kSecondsPerDay + parts.secondsOfDay;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// One or two digits at `position`, which is moved past them; -1 when there is none.
int ReadSmallNumber(std::string_view text, std::size_t& position, std::size_t maxDigits) {
  int value = 0;
  std::size_t count = 0;
  while (position < text.size() && count < maxDigits && IsDigit(text[position])) {
    value = value * 10 + (text[position] - '0');
    ++position;
    ++count;
  }
  return count == 0 ? -1 : value;
}

std::string Padded(std::int64_t value, int width) {
  char text[32];
  std::snprintf(text, sizeof text, "%0*lld", width, static_cast<long long>(value));
  return text;
}

// Pattern tokens of Format.
enum class Token { Literal, Year, Month, Minute, Day, Hour, Second, AmPm };

struct PatternPart {
  Token token;
  int width;  // repeated letters, or the literal text's length
  std::string literal;
};

std::vector<PatternPart> Tokenise(std::string_view pattern) {
  std::vector<PatternPart> parts;
  std::size_t i = 0;
  while (i < pattern.size()) {
    const std::string_view rest = pattern.substr(i);
    if (rest.starts_with("AMPM")) {
      parts.push_back({Token::AmPm, 0, "AM"});
      i += 4;
      continue;
    }
    if (rest.starts_with("AM/PM") || rest.starts_with("am/pm")) {
      parts.push_back({Token::AmPm, 0, rest.starts_with("am") ? "am" : "AM"});
      i += 5;
      continue;
    }
    const char letter = pattern[i];
    std::size_t run = 1;
    while (i + run < pattern.size() && pattern[i + run] == letter) {
      ++run;
    }
    Token token = Token::Literal;
    switch (letter) {
      case 'y':
        token = Token::Year;
        break;
      case 'm':
        token = Token::Month;
        break;
      case 'n':
        token = Token::Minute;
        break;
      case 'd':
        token = Token::Day;
        break;
      case 'h':
        token = Token::Hour;
        break;
      case 's':
        token = Token::Second;
        break;
      default:
        break;
    }
    if (token == Token::Literal) {
      parts.push_back({Token::Literal, 1, std::string(1, letter)});
      i += 1;
    } else {
      parts.push_back({token, static_cast<int>(run), {}});
      i += run;
    }
  }
  // "m" is a minute right after an hour or right before a second (literals between do not count).
  Token previous = Token::Literal;
  for (std::size_t k = 0; k < parts.size(); ++k) {
    if (parts[k].token == Token::Literal) {
      continue;
    }
    if (parts[k].token == Token::Month) {
      Token next = Token::Literal;
      for (std::size_t j = k + 1; j < parts.size(); ++j) {
        if (parts[j].token != Token::Literal) {
          next = parts[j].token;
          break;
        }
      }
      if (previous == Token::Hour || next == Token::Second) {
        parts[k].token = Token::Minute;
      }
    }
    previous = parts[k].token;
  }
  return parts;
}

}  // namespace

DateValue DateValue::FromCivil(int year, int month, int day, int hour, int minute, int second) {
  const std::optional<DateValue> date = TryCivilDate(year, month, day);
  if (!date) {
    throw ConversionError("Type mismatch: no such date " + std::to_string(year) + "-" +
                          std::to_string(month) + "-" + std::to_string(day));
  }
  const DateValue time = FromTimeOfDay(hour, minute, second);
  return Join(Split(date->OleDays()).day, time.OleDays() * kSecondsPerDay);
}

std::optional<DateValue> DateValue::TryCivilDate(int year, int month, int day) {
  if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 ||
      static_cast<unsigned>(day) > DaysInMonth(year, static_cast<unsigned>(month))) {
    return std::nullopt;
  }
  return Join(
      DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) + kUnixEpochDay,
      0.0);
}

DateValue DateValue::FromCivil(const CivilDateTime& civil) {
  return FromCivil(civil.year, civil.month, civil.day, civil.hour, civil.minute, civil.second);
}

DateValue DateValue::FromTimeOfDay(int hour, int minute, int second) {
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) {
    throw ConversionError("Type mismatch: no such time of day " + std::to_string(hour) + ":" +
                          std::to_string(minute) + ":" + std::to_string(second));
  }
  return DateValue((hour * 3600.0 + minute * 60.0 + second) / kSecondsPerDay);
}

DateValue DateValue::ParseTime(std::string_view text) {
  std::size_t position = 0;
  const int hour = ReadSmallNumber(text, position, 2);
  int minute = -1;
  int second = 0;
  if (position < text.size() && text[position] == ':') {
    ++position;
    minute = ReadSmallNumber(text, position, 2);
  }
  if (minute >= 0 && position < text.size() && text[position] == ':') {
    ++position;
    second = ReadSmallNumber(text, position, 2);
  }
  if (hour < 0 || minute < 0 || second < 0 || position != text.size() || hour > 23 || minute > 59 ||
      second > 59) {
    throw ConversionError("Type mismatch: \"" + std::string(text) + "\" is not a time of day");
  }
  return FromTimeOfDay(hour, minute, second);
}

DateValue DateValue::ParseIso(std::string_view text) {
  // Fixed layout YYYY-MM-DDTHH:MM:SS: digits where digits belong, the separators in between.
  static constexpr std::string_view kLayout = "dddd-dd-ddTdd:dd:dd";
  bool matches = text.size() == kLayout.size();
  for (std::size_t i = 0; matches && i < kLayout.size(); ++i) {
    matches = kLayout[i] == 'd' ? IsDigit(text[i]) : text[i] == kLayout[i];
  }
  if (!matches) {
    throw ConversionError("Type mismatch: \"" + std::string(text) +
                          "\" is not a date and time YYYY-MM-DDTHH:MM:SS");
  }
  auto number = [&](std::size_t from, std::size_t length) {
    int value = 0;
    for (std::size_t i = from; i < from + length; ++i) {
      value = value * 10 + (text[i] - '0');
    }
    return value;
  };
  return FromCivil(number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2),
                   number(17, 2));
}

DateValue DateValue::Combine(DateValue date, DateValue timeOfDay) {
  return Join(Split(date.OleDays()).day, Split(timeOfDay.OleDays()).secondsOfDay);
}

CivilDateTime DateValue::ToCivil() const {
  Parts parts = Split(oleDays_);
  auto seconds = static_cast<std::int64_t>(std::llround(parts.secondsOfDay));
  if (seconds >= 86400) {
    seconds -= 86400;
    ++parts.day;
  }
  const CivilDate date = CivilFromDays(parts.day - kUnixEpochDay);
  return {static_cast<int>(date.year),         static_cast<int>(date.month),
          static_cast<int>(date.day),          static_cast<int>(seconds / 3600),
          static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60)};
}

DateValue DateValue::DatePart() const {
  return Join(Split(oleDays_).day, 0.0);
}

DateValue DateValue::TimePart() const {
  return Join(0, Split(oleDays_).secondsOfDay);
}

DateValue DateValue::AddYears(int years) const {
  return AddMonths(years * 12);
}

DateValue DateValue::AddMonths(int months) const {
  const Parts parts = Split(oleDays_);
  const CivilDate date = CivilFromDays(parts.day - kUnixEpochDay);
  const std::int64_t monthIndex = date.year * 12 + (date.month - 1) + months;
  const std::int64_t year = monthIndex >= 0 ? monthIndex / 12 : (monthIndex - 11) / 12;
  const auto month = static_cast<unsigned>(monthIndex - year * 12 + 1);
  if (year < 100 || year > 9999) {
    throw ConversionError("Overflow: the date leaves the years 100 to 9999");
  }
  const unsigned day = std::min(date.day, DaysInMonth(year, month));
  return Join(DaysFromCivil(year, month, day) + kUnixEpochDay, parts.secondsOfDay);
}

DateValue DateValue::AddDays(int days) const {
  const Parts parts = Split(oleDays_);
  return Join(parts.day + days, parts.secondsOfDay);
}

DateValue DateValue::AddMinutes(double minutes) const {
  return AddSeconds(minutes * 60.0);
}

DateValue DateValue::AddSeconds(double seconds) const {
  return FromAbsoluteSeconds(AbsoluteSeconds(*this) + seconds);
}

std::string DateValue::Format(std::string_view pattern) const {
  const CivilDateTime civil = ToCivil();
  const std::vector<PatternPart> parts = Tokenise(pattern);
  const bool twelveHour = std::any_of(parts.begin(), parts.end(),
                                      [](const PatternPart& p) { return p.token == Token::AmPm; });
  std::string text;
  for (const PatternPart& part : parts) {
    switch (part.token) {
      case Token::Literal:
        text += part.literal;
        break;
      case Token::Year:
        text += part.width >= 3 ? Padded(civil.year, 4) : Padded(civil.year % 100, 2);
        break;
      case Token::Month:
        text += Padded(civil.month, part.width >= 2 ? 2 : 1);
        break;
      case Token::Minute:
        text += Padded(civil.minute, part.width >= 2 ? 2 : 1);
        break;
      case Token::Day:
        text += Padded(civil.day, part.width >= 2 ? 2 : 1);
        break;
      case Token::Second:
        text += Padded(civil.second, part.width >= 2 ? 2 : 1);
        break;
      case Token::Hour: {
        // On the twelve-hour clock midnight and noon are both 12.
        const int hour = twelveHour ? (civil.hour % 12 == 0 ? 12 : civil.hour % 12) : civil.hour;
        text += Padded(hour, part.width >= 2 ? 2 : 1);
        break;
      }
      case Token::AmPm: {
        const bool morning = civil.hour < 12;
        if (part.literal == "am") {
          text += morning ? "am" : "pm";
        } else {
          text += morning ? "AM" : "PM";
        }
        break;
      }
    }
  }
  return text;
}

std::string DateValue::ToIso() const {
  const CivilDateTime c = ToCivil();
  return Padded(c.year, 4) + "-" + Padded(c.month, 2) + "-" + Padded(c.day, 2) + "T" +
         Padded(c.hour, 2) + ":" + Padded(c.minute, 2) + ":" + Padded(c.second, 2);
}

}  // namespace orvo::host::platform
