#include "host/serial/SerialSettings.hpp"

#include <gtest/gtest.h>

#include <string>

#include "host/serial/TermiosSettings.hpp"

namespace orvo::host::serial {
namespace {

struct GoodCase {
  const char* text;
  SerialSettings expected;
  const char* formatted;
};

TEST(SerialSettings, ParsesEveryValidForm) {
  const GoodCase cases[] = {
      {"4800,n,8,1", {4800, Parity::None, 8, StopBits::One}, "4800,n,8,1"},
      {"9600,E,7,2", {9600, Parity::Even, 7, StopBits::Two}, "9600,e,7,2"},
      {"110,o,5,1.5", {110, Parity::Odd, 5, StopBits::OneAndHalf}, "110,o,5,1.5"},
      {"921600,M,6,1", {921600, Parity::Mark, 6, StopBits::One}, "921600,m,6,1"},
      {"38400,s,8,2", {38400, Parity::Space, 8, StopBits::Two}, "38400,s,8,2"},
  };
  for (const GoodCase& good : cases) {
    SCOPED_TRACE(good.text);
    const SerialSettings parsed = ParseSerialSettings(good.text);
    EXPECT_EQ(parsed, good.expected);
    EXPECT_EQ(FormatSerialSettings(parsed), good.formatted);
  }
}

// The list the parser accepts and the termios speeds must never drift apart.
TEST(SerialSettings, EveryStandardRateParsesAndHasATermiosSpeed) {
  ASSERT_FALSE(StandardBaudRates().empty());
  for (const int rate : StandardBaudRates()) {
    SCOPED_TRACE(rate);
    EXPECT_EQ(ParseSerialSettings(std::to_string(rate) + ",n,8,1").baudRate, rate);
    EXPECT_TRUE(TermiosSpeed(rate).has_value());
  }
}

struct BadCase {
  std::string text;
  const char* messagePart;
};

TEST(SerialSettings, RefusesAnythingElseWithAMessageNamingTheFault) {
  const BadCase cases[] = {
      {"", "empty"},
      {"4800", "1 field where 4"},
      {"4800,n,8,1,0", "5 fields where 4"},
      {",n,8,1", "baud rate is missing"},
      {"4800,n,8,", "stop bits is missing"},
      {"abc,n,8,1", "baud rate \"abc\" is not one of 110, 150"},
      {"+4800,n,8,1", "baud rate \"+4800\""},
      {" 4800,n,8,1", "baud rate \" 4800\""},
      {"99999999999999999999,n,8,1", "baud rate \"99999999999999999999\""},
      {"4800,x,8,1", "parity \"x\" is not one of n (none)"},
      {"4800,n,9,1", "data bits \"9\" must be 5, 6, 7 or 8"},
      {"4800,n,8.0,1", "data bits \"8.0\""},
      {"4800,n,8,3", "stop bits \"3\" must be 1, 1.5 or 2"},
      {std::string("4800\0,n,8,1", 11), "\"4800\\x00,n,8,1\": baud rate \"4800\\x00\""},
      {"4800,\"n\",8,1", "parity \"\\x22n\\x22\""},
  };
  for (const BadCase& bad : cases) {
    SCOPED_TRACE(bad.text);
    try {
      ParseSerialSettings(bad.text);
      ADD_FAILURE() << "accepted";
    } catch (const SerialError& error) {
      EXPECT_NE(std::string(error.what()).find(bad.messagePart), std::string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace orvo::host::serial
