#include "host/declination/DecimalYear.hpp"

#include <array>
#include <cmath>

namespace orvo::host::declination {
namespace {

bool IsLeapYear(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
  static constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

}  // namespace

std::optional<double> DecimalYear(int year, int month, int day, int hour, int minute,
                                  double second) {
  if (year < 1 || year > 9999) return std::nullopt;
  if (month < 1 || month > 12) return std::nullopt;
  if (day < 1 || day > DaysInMonth(year, month)) return std::nullopt;
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59) return std::nullopt;
  // Up to (not including) 61 so that a receiver's leap second 23:59:60.x still counts as a time.
  if (!std::isfinite(second) || second < 0.0 || second >= 61.0) return std::nullopt;

  int daysBefore = 0;
  for (int earlierMonth = 1; earlierMonth < month; ++earlierMonth)
    daysBefore += DaysInMonth(year, earlierMonth);
  const double secondsPerDay = 86400.0;
  const double elapsedDays =
      daysBefore + (day - 1) + (hour * 3600.0 + minute * 60.0 + second) / secondsPerDay;
  const double daysInYear = IsLeapYear(year) ? 366.0 : 365.0;
  return year + elapsedDays / daysInYear;
}

}  // namespace orvo::host::declination
