#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

#include "host/platform/Numeric.hpp"

namespace orvo::host::platform {
namespace {

TEST(IsNumeric, FollowsTheLenientNotion) {
  struct Case {
    const char* text;
    bool numeric;
  };
  const Case cases[] = {
      {"0", true},    {"123", true},      {"-12.5", true}, {"+4", true},         {" 42 ", true},
      {"\t7", true},  {".5", true},       {"5.", true},    {"1e5", true},        {"2.5E-3", true},
      {"1e+2", true}, {"0001.500", true}, {"", false},     {" ", false},         {".", false},
      {"-", false},   {"1.2.3", false},   {"12a", false},  {"a12", false},       {"1e", false},
      {"e5", false},  {"1 2", false},     {"--1", false},  {"N", false},         {"0x1A", false},
      {"inf", false}, {"nan", false},     {"1,5", false},  {"4807.038*", false}, {"1e5.5", false},
  };
  for (const Case& c : cases) EXPECT_EQ(IsNumeric(c.text), c.numeric) << '"' << c.text << '"';
}

TEST(IsNumeric, UsesTheGivenDecimalSeparator) {
  const NumberLocale comma{",", "."};
  EXPECT_TRUE(IsNumeric("1,5", comma));
  EXPECT_FALSE(IsNumeric("1.5", comma));
  EXPECT_DOUBLE_EQ(ToDouble("-185,25", comma), -185.25);
  // NMEA text is always read with ".", whatever the user's locale.
  EXPECT_DOUBLE_EQ(ToDouble("185.25"), 185.25);
}

TEST(ToDouble, ReadsValuesAndRejectsTheRest) {
  EXPECT_DOUBLE_EQ(ToDouble("4807.038"), 4807.038);
  EXPECT_DOUBLE_EQ(ToDouble(" -0.5 "), -0.5);
  EXPECT_DOUBLE_EQ(ToDouble("+1e3"), 1000.0);
  EXPECT_DOUBLE_EQ(ToDouble("1e-400"), 0.0);  // underflow is zero, not an error
  EXPECT_THROW(ToDouble(""), ConversionError);
  EXPECT_THROW(ToDouble("12,5"), ConversionError);
  EXPECT_THROW(ToDouble("1e400"), ConversionError);
  EXPECT_THROW(ToDouble("-1e999999999999999999999"), ConversionError);
}

TEST(RoundHalfEven, TakesTheEvenNeighbourOnlyAtExactHalves) {
  const std::pair<double, double> cases[] = {
      {0.5, 0.0},  {1.5, 2.0},   {2.5, 2.0},   {3.5, 4.0},    {122.5, 122.0}, {123.5, 124.0},
      {-0.5, 0.0}, {-1.5, -2.0}, {-2.5, -2.0}, {2.4999, 2.0}, {2.5001, 3.0},  {123.7, 124.0},
  };
  for (const auto& [value, rounded] : cases) EXPECT_EQ(RoundHalfEven(value), rounded) << value;
}

TEST(ToWholeNumber, OverflowAndNotANumberAreErrors) {
  EXPECT_THROW(ToInt16(40000.0), ConversionError);
  EXPECT_THROW(ToInt16(32767.5), ConversionError);  // rounds to 32768
  EXPECT_EQ(ToInt16(32766.5), 32766);
  EXPECT_THROW(ToInt16(-32769.0), ConversionError);
  EXPECT_EQ(ToInt32(40000.0), 40000);
  EXPECT_EQ(ToInt32(2147483647.0), INT32_MAX);
  EXPECT_THROW(ToInt32(2147483647.5), ConversionError);
  EXPECT_THROW(ToInt16(std::nan("")), ConversionError);
  EXPECT_EQ(ToInt16("08"), 8);
  EXPECT_EQ(ToInt16(" 2.5"), 2);
  EXPECT_THROW(ToInt16("x"), ConversionError);
  EXPECT_THROW(ToInt16(""), ConversionError);
}

}  // namespace
}  // namespace orvo::host::platform
