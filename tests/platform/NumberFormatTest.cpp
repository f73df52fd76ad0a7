#include <gtest/gtest.h>

#include "host/platform/NumberFormat.hpp"

namespace orvo::host::platform {
namespace {

struct FormatCase {
  double value;
  const char* pattern;
  const char* expected;
};

TEST(FormatNumber, DigitPlaceholderPatterns) {
  const FormatCase cases[] = {
      // The patterns ORVO shows: readings, degrees, satellite fields and times of day.
      {115.07794, "##0.0", "115.1"},
      {0.0, "##0.0", "0.0"},
      {0.04, "##0.0", "0.0"},
      {0.05, "##0.0", "0.1"},  // half away from zero on the decimal value
      {359.96, "##0.0", "360.0"},
      {12345.67, "##0.0", "12345.7"},  // more digits than placeholders: all shown
      {-12.34, "##0.0", "-12.3"},
      {-0.04, "##0.0", "0.0"},  // no minus sign before a zero
      {4050.2, "##,##0.0", "4,050.2"},
      {999.95, "##,##0.0", "1,000.0"},
      {1234567.8, "##,##0.0", "1,234,567.8"},
      {47.6020575, "###0.00000", "47.60206"},
      {5.0, "00", "05"},
      {123.0, "00", "123"},
      {4.5, "00", "05"},
      {7.0, "000", "007"},
      {235959.0, "00:00:00", "23:59:59"},
      {5.0, "00:00:00", "00:00:05"},
      {1235959.0, "00:00:00", "123:59:59"},
      {12.456, "00:00:00", "00:00:12"},
  };
  for (const FormatCase& c : cases)
    EXPECT_EQ(FormatNumber(c.value, c.pattern), c.expected) << c.value << " with " << c.pattern;
}

TEST(FormatNumber, WritesTheUsersSeparators) {
  const NumberLocale comma{",", "."};
  EXPECT_EQ(FormatNumber(185.2, "##0.0", comma), "185,2");
  EXPECT_EQ(FormatNumber(4050.2, "##,##0.0", comma), "4.050,2");
  const NumberLocale swiss{".", "'"};
  EXPECT_EQ(FormatNumber(1234567.25, "##,##0.0", swiss), "1'234'567.3");
  const NumberLocale narrowSpace{",", "\u202f"};
  EXPECT_EQ(FormatNumber(4050.2, "##,##0.0", narrowSpace), "4\u202f050,2");
}

TEST(FormatGeneralNumber, ShortestForm) {
  const NumberLocale comma{",", "."};
  EXPECT_EQ(FormatGeneralNumber(1.2), "1.2");
  EXPECT_EQ(FormatGeneralNumber(1.2, comma), "1,2");
  EXPECT_EQ(FormatGeneralNumber(12.0), "12");
  EXPECT_EQ(FormatGeneralNumber(0.0), "0");
  EXPECT_EQ(FormatGeneralNumber(-2.5), "-2.5");
  EXPECT_EQ(FormatGeneralNumber(0.1 + 0.2), "0.3");  // 15 significant digits hide the binary
  EXPECT_EQ(FormatGeneralNumber(1.0 / 3.0), "0.333333333333333");
  EXPECT_EQ(FormatGeneralNumber(0.0001), "0.0001");
  EXPECT_EQ(FormatGeneralNumber(0.000015), "1.5E-05");
  EXPECT_EQ(FormatGeneralNumber(123456789012345.0), "123456789012345");
  EXPECT_EQ(FormatGeneralNumber(1e15), "1E+15");
}

}  // namespace
}  // namespace orvo::host::platform
