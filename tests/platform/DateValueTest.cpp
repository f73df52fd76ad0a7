#include <gtest/gtest.h>

#include "host/platform/DateValue.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::host::platform {
namespace {

CivilDateTime Civil(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return {year, month, day, hour, minute, second};
}

TEST(DateValue, DayNumbersOfKnownDates) {
  EXPECT_EQ(DateValue().ToCivil(), Civil(1899, 12, 30));
  EXPECT_DOUBLE_EQ(DateValue::FromCivil(1899, 12, 31).OleDays(), 1.0);
  EXPECT_DOUBLE_EQ(DateValue::FromCivil(1900, 1, 1).OleDays(), 2.0);
  EXPECT_DOUBLE_EQ(DateValue::FromCivil(1900, 3, 1).OleDays(), 61.0);  // 1900 is no leap year
  EXPECT_DOUBLE_EQ(DateValue::FromCivil(1970, 1, 1).OleDays(), 25569.0);
  EXPECT_DOUBLE_EQ(DateValue::FromCivil(2000, 2, 29, 12).OleDays(), 36585.5);
  EXPECT_DOUBLE_EQ(DateValue::FromCivil(1899, 12, 29).OleDays(), -1.0);
  EXPECT_EQ(DateValue(45000.75).ToCivil(), Civil(2023, 3, 15, 18));
}

TEST(DateValue, NegativeValuesKeepTheTimeOfDayInTheAbsoluteFraction) {
  EXPECT_EQ(DateValue(-0.25).ToCivil(), Civil(1899, 12, 30, 6));
  EXPECT_EQ(DateValue(0.25).ToCivil(), Civil(1899, 12, 30, 6));
  EXPECT_EQ(DateValue(-1.75).ToCivil(), Civil(1899, 12, 29, 18));
  EXPECT_DOUBLE_EQ(DateValue::FromCivil(1899, 12, 29, 18).OleDays(), -1.75);
  // Stepping back across the zero date follows the calendar, not the number line.
  EXPECT_DOUBLE_EQ(DateValue::FromTimeOfDay(2, 0, 0).AddMinutes(-300).OleDays(), -1.875);
  EXPECT_EQ(DateValue(-1.875).Format("hh:mm:ss"), "21:00:00");
  EXPECT_DOUBLE_EQ(DateValue(-1.875).AddMinutes(300).OleDays(), 2.0 / 24.0);
  EXPECT_EQ(DateValue(-1.875).TimePart().ToCivil(), Civil(1899, 12, 30, 21));
  EXPECT_EQ(DateValue(-1.875).DatePart().ToCivil(), Civil(1899, 12, 29));
}

TEST(DateValue, CalendarStepsRollOver) {
  const DateValue base = DateValue::FromCivil(1900, 1, 1);
  // The receiver's own date steps are in NmeaParserTest's DatesAndTimes.
  EXPECT_EQ(base.AddDays(-1).ToCivil(), Civil(1899, 12, 31));
  EXPECT_EQ(DateValue::FromCivil(2024, 1, 31).AddMonths(1).ToCivil(), Civil(2024, 2, 29));
  EXPECT_EQ(DateValue::FromCivil(2024, 2, 29).AddYears(1).ToCivil(), Civil(2025, 2, 28));
  EXPECT_EQ(DateValue::FromCivil(2024, 12, 31, 23, 30).AddMinutes(45).ToCivil(),
            Civil(2025, 1, 1, 0, 15));
  EXPECT_THROW(DateValue::FromCivil(9999, 12, 31).AddDays(1), ConversionError);
  EXPECT_THROW(base.AddYears(9000), ConversionError);
}

TEST(DateValue, RejectsImpossibleParts) {
  EXPECT_THROW(DateValue::FromCivil(2023, 2, 29), ConversionError);
  EXPECT_THROW(DateValue::FromCivil(2023, 13, 1), ConversionError);
  EXPECT_THROW(DateValue::FromCivil(2023, 4, 31), ConversionError);
  EXPECT_THROW(DateValue::FromCivil(99, 1, 1), ConversionError);
  EXPECT_THROW(DateValue::FromTimeOfDay(24, 0, 0), ConversionError);
  EXPECT_THROW(DateValue::FromTimeOfDay(12, 60, 0), ConversionError);
  EXPECT_THROW(DateValue(1e300).ToCivil(), ConversionError);
}

TEST(DateValue, ParsesTimesOfDay) {
  EXPECT_EQ(DateValue::ParseTime("23:59:59").ToCivil(), Civil(1899, 12, 30, 23, 59, 59));
  EXPECT_EQ(DateValue::ParseTime("9:05").ToCivil(), Civil(1899, 12, 30, 9, 5));
  EXPECT_EQ(DateValue::ParseTime("00:00:00"), DateValue());
  for (const char* bad : {"", "24:00:00", "12:60:00", "12:00:60", "25:61:70", "-01:23:45",
                          "12:00:00 ", "12", "12:", "1:2:3:4", "ab:cd:ef", "123:00:00"}) {
    EXPECT_THROW(DateValue::ParseTime(bad), ConversionError) << '"' << bad << '"';
  }
}

TEST(DateValue, ParsesIsoDateTimes) {
  EXPECT_EQ(DateValue::ParseIso("2026-01-01T00:00:00").ToCivil(), Civil(2026, 1, 1));
  EXPECT_EQ(DateValue::ParseIso("2003-02-01T13:05:09").ToIso(), "2003-02-01T13:05:09");
  for (const char* bad : {"2026-01-01", "2026-01-01 00:00:00", "2026-02-30T00:00:00",
                          "2026-01-01T24:00:00", "26-01-01T00:00:00", "2026-01-01T00:00:00Z"}) {
    EXPECT_THROW(DateValue::ParseIso(bad), ConversionError) << bad;
  }
}

TEST(DateValue, FormatsWithPatterns) {
  const DateValue afternoon = DateValue::FromCivil(2026, 3, 7, 13, 5, 9);
  const DateValue midnight = DateValue::FromCivil(2026, 3, 7, 0, 0, 0);
  const DateValue noon = DateValue::FromCivil(2026, 3, 7, 12, 0, 0);
  const DateValue morning = DateValue::FromCivil(2003, 11, 23, 9, 45, 0);
  struct Case {
    DateValue value;
    const char* pattern;
    const char* expected;
  };
  const Case cases[] = {
      {afternoon, "h:mm:ss AMPM", "1:05:09 PM"},
      {midnight, "h:mm:ss AMPM", "12:00:00 AM"},
      {noon, "h:mm:ss AMPM", "12:00:00 PM"},
      {morning, "h:mm:ss AMPM", "9:45:00 AM"},
      {afternoon, "mm/dd/yy", "03/07/26"},
      {morning, "hh:mm:ss", "09:45:00"},
      {morning, "yyyy/m/d h:mm:ss AMPM", "2003/11/23 9:45:00 AM"},
      {afternoon, "h:nn am/pm", "1:05 pm"},
      {DateValue(-0.25), "hh:mm:ss", "06:00:00"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.value.Format(c.pattern), c.expected) << c.pattern;
  EXPECT_EQ(afternoon.ToIso(), "2026-03-07T13:05:09");
  EXPECT_EQ(DateValue().ToIso(), "1899-12-30T00:00:00");
}

TEST(DateValue, FormattingRoundsToTheNearestSecond) {
  const DateValue almostMidnight = DateValue::FromCivil(2025, 12, 31, 23, 59, 59).AddSeconds(0.6);
  EXPECT_EQ(almostMidnight.ToIso(), "2026-01-01T00:00:00");
  EXPECT_EQ(DateValue::FromCivil(2026, 1, 1, 8).AddSeconds(0.4).Format("hh:mm:ss"), "08:00:00");
  // A time of day made from whole seconds keeps them through the double arithmetic.
  EXPECT_EQ(DateValue::ParseTime("07:07:07").AddMinutes(-60 * 24 * 1000).Format("hh:mm:ss"),
            "07:07:07");
}

}  // namespace
}  // namespace orvo::host::platform
