#pragma once
// A date and time as ORVO's readings keep it: days since 30 December 1899, the fraction being
// the time of day (the OLE automation date). For a negative value the whole part is the day and
// the time of day is the absolute value of the fraction: -0.25 is 30 December 1899 06:00 and
// -1.75 is 29 December 1899 18:00. Arithmetic here is calendar arithmetic, so it stays right on
// both sides of the zero date.
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::host::platform {

struct CivilDateTime {
  int year = 1899;
  int month = 12;  // 1..12
  int day = 30;    // 1..31
  int hour = 0;    // 0..23
  int minute = 0;
  int second = 0;

  friend bool operator==(const CivilDateTime&, const CivilDateTime&) = default;
};

class DateValue {
 public:
  // The zero date, 30 December 1899 00:00.
  constexpr DateValue() = default;
  constexpr explicit DateValue(double oleDays) : oleDays_(oleDays) {}

  // ConversionError when a part is out of its range (month 13, 31 April, 24:00:00) or the year
  // lies outside 100..9999, the range such dates have.
  static DateValue FromCivil(int year, int month, int day, int hour = 0, int minute = 0,
                             int second = 0);
  static DateValue FromCivil(const CivilDateTime& civil);
  // The day, at midnight, when it is one of the calendar (as FromCivil takes it); nothing
  // otherwise.
  static std::optional<DateValue> TryCivilDate(int year, int month, int day);
  // A time of day on the zero date (a value in [0, 1)).
  static DateValue FromTimeOfDay(int hour, int minute, int second);
  // "h:mm:ss" or "h:mm" (one or two digits each, hours 0..23); ConversionError otherwise.
  static DateValue ParseTime(std::string_view text);
  // "YYYY-MM-DDTHH:MM:SS"; ConversionError otherwise.
  static DateValue ParseIso(std::string_view text);
  // The day of `date` at the time of day of `timeOfDay`.
  static DateValue Combine(DateValue date, DateValue timeOfDay);

  constexpr double OleDays() const { return oleDays_; }
  // Rounded to the nearest second (23:59:59.6 is the next day's 00:00:00).
  CivilDateTime ToCivil() const;
  DateValue DatePart() const;
  DateValue TimePart() const;

  // Calendar steps. A month or year step that lands on a day the month lacks takes the month's
  // last day (31 January plus one month is 28 or 29 February). ConversionError when the result
  // leaves the years 100..9999.
  DateValue AddYears(int years) const;
  DateValue AddMonths(int months) const;
  DateValue AddDays(int days) const;
  DateValue AddMinutes(double minutes) const;
  DateValue AddSeconds(double seconds) const;

  // Pattern letters: yyyy, yy, m, mm (month, or minutes right after an hour or before seconds),
  // n, nn (minutes), d, dd, h, hh, s, ss, and AMPM or AM/PM (twelve-hour clock, "AM"/"PM").
  // Everything else is copied. Rounded to the nearest second. Examples: "h:mm:ss AMPM" gives
  // "1:05:09 PM", "mm/dd/yy" "03/07/26", "yyyy/m/d h:mm:ss AMPM" "2026/3/7 1:05:09 PM".
  std::string Format(std::string_view pattern) const;
  // "YYYY-MM-DDTHH:MM:SS", rounded to the nearest second.
  std::string ToIso() const;

  friend bool operator==(DateValue, DateValue) = default;

 private:
  double oleDays_ = 0.0;
};

}  // namespace orvo::host::platform
