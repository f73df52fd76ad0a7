#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "gps/FixJson.hpp"
#include "host/platform/DateValue.hpp"

namespace orvo::gps {
namespace {

TEST(FixJson, EveryFieldUnderItsOwnName) {
  GpsFix fix;
  fix.SatId[0] = 0;  // a satellite number 0 is a value, not an empty slot
  fix.SatSNR[11] = 45;
  fix.Latitude = 48.0 + 7.038 / 60.0;  // no short decimal form
  fix.GpsDateTime = host::platform::DateValue::ParseIso("2003-02-01T23:59:59");
  fix.LatText = "4807.038";
  const nlohmann::json json = FixToJson(fix);
  EXPECT_EQ(json["SatId"][0], 0);
  EXPECT_TRUE(json["SatId"][1].is_null());
  EXPECT_EQ(json["SatSNR"][11], 45);
  EXPECT_EQ(json["HDOP"].get<double>(), kNoValue);
  EXPECT_EQ(json["GpsDateTime"], "2003-02-01T23:59:59");
  EXPECT_EQ(json["LatText"], "4807.038");
  EXPECT_EQ(json["NewFix"], false);
  // Doubles survive the text exactly.
  const nlohmann::json reread = nlohmann::json::parse(SentenceRecord("$GPGGA", fix));
  EXPECT_EQ(reread["fix"]["Latitude"].get<double>(), fix.Latitude);
}

TEST(FixJson, SentencesThatAreNotUtf8StillGiveValidAsciiJson) {
  using namespace std::string_literals;
  const std::string sentence = "$GPTXT,caf\xc3\xa9,\xff\xfe,\x00,\x01\x7f"s;
  std::ostringstream out;
  WriteSentenceRecord(out, sentence, GpsFix{});
  const std::string line = out.str();
  ASSERT_EQ(line.back(), '\n');
  for (const char c : line)
    EXPECT_TRUE(c != 0 && static_cast<unsigned char>(c) < 128) << static_cast<int>(c);
  const nlohmann::json record = nlohmann::json::parse(line);
  EXPECT_EQ(record["sentence"], "$GPTXT,caf\xc3\xa9,\xef\xbf\xbd\xef\xbf\xbd,\x00,\x01\x7f"s);
}

}  // namespace
}  // namespace orvo::gps
