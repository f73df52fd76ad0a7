#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "gps/FixJson.hpp"

namespace orvo::gps {
namespace {

// The golden files of ReceiverLogTest hold every field; a satellite numbered 0 is rare there.
TEST(FixJson, ASatelliteNumberedZeroIsAValueAndAnEmptySlotIsNull) {
  GpsFix fix;
  fix.SatId[0] = 0;
  const nlohmann::json json = FixToJson(fix);
  EXPECT_EQ(json["SatId"][0], 0);
  EXPECT_TRUE(json["SatId"][1].is_null());
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
