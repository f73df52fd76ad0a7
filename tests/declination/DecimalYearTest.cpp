#include "host/declination/DecimalYear.hpp"

#include <gtest/gtest.h>

#include <array>

namespace orvo::host::declination {
namespace {

TEST(DecimalYear, CountsTheElapsedFractionOfTheYear) {
  EXPECT_DOUBLE_EQ(*DecimalYear(2025, 1, 1), 2025.0);
  EXPECT_DOUBLE_EQ(*DecimalYear(2025, 7, 2, 12), 2025.5);  // 182.5 of 365 days
  EXPECT_DOUBLE_EQ(*DecimalYear(2028, 7, 2), 2028.5);      // 183 of 366 days
  EXPECT_DOUBLE_EQ(*DecimalYear(2026, 3, 1, 6, 30, 15.5),
                   2026.0 + (59.0 + (6 * 3600 + 30 * 60 + 15.5) / 86400.0) / 365.0);
  // The last second of a year stays in it; a leap second just reaches the next.
  EXPECT_LT(*DecimalYear(2028, 12, 31, 23, 59, 59), 2029.0);
  EXPECT_DOUBLE_EQ(*DecimalYear(2016, 12, 31, 23, 59, 60), 2017.0);
}

TEST(DecimalYear, RefusesFieldsThatAreNotADate) {
  EXPECT_TRUE(DecimalYear(2024, 2, 29) && DecimalYear(2000, 2, 29));
  const std::array<int, 5> bad[] = {{2025, 2, 29, 0, 0}, {2100, 2, 29, 0, 0}, {2025, 4, 31, 0, 0},
                                    {2025, 13, 1, 0, 0}, {2025, 1, 0, 0, 0},  {2025, 1, 1, 24, 0},
                                    {2025, 1, 1, 0, 60}};
  for (const auto& [year, month, day, hour, minute] : bad)
    EXPECT_FALSE(DecimalYear(year, month, day, hour, minute)) << year << "-" << month << "-" << day;
  EXPECT_FALSE(DecimalYear(2025, 1, 1, 0, 0, 61.0));
}

}  // namespace
}  // namespace orvo::host::declination
