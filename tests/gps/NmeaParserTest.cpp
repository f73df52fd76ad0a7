// The sentence decoders on made-up sentences, one rule at a time, and the fix as JSON; the
// receiver captures are run whole in ReceiverLogTest.
#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "gps/FixJson.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"

namespace orvo::gps {
namespace {

using host::platform::DateValue;
using host::platform::FixedClock;
using host::platform::FixedTimeZone;

// A parser on a fixed clock (2026-01-01 00:00:00) and a chosen time zone, feeding sentences by
// their type as the dispatcher does, and collecting the diagnostics.
class Receiver {
 public:
  explicit Receiver(std::int32_t standardBiasMinutes = 0, bool daylightInForce = false)
      : zone_(standardBiasMinutes, daylightInForce),
        clock_(DateValue::ParseIso("2026-01-01T00:00:00")),
        parser_(zone_, clock_, [this](std::string_view m) { messages.emplace_back(m); }) {}

  Receiver& Send(std::initializer_list<const char*> sentences) {
    for (const std::string sentence : sentences) {
      const std::string type = sentence.substr(3, 3);
      if (type == "RMC") parser_.ParseRMC(sentence);
      if (type == "GGA") parser_.ParseGGA(sentence);
      if (type == "GSA") parser_.ParseGSA(sentence);
      if (type == "GSV") parser_.ParseGSV(sentence);
    }
    return *this;
  }

  const GpsFix& Fix() const { return parser_.Fix(); }
  NmeaParser& Parser() { return parser_; }
  std::vector<std::string> messages;

 private:
  FixedTimeZone zone_;
  FixedClock clock_;
  NmeaParser parser_;
};

constexpr const char* kRmc = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A";
constexpr const char* kGga = "$GPGGA,123520,4807.040,N,01131.002,E,1,08,0.9,545.4,M,46.9,M,,*47";
constexpr const char* kGsa = "$GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39";
constexpr const char* kGsv1 = "$GPGSV,3,1,10,20,78,331,45,01,59,235,47,22,41,069,,13,32,252,45*70";
constexpr const char* kGsv2 = "$GPGSV,3,2,10,14,25,170,38,02,12,040,,16,09,300,20,31,05,110,*7B";
constexpr const char* kGsv3 = "$GPGSV,3,3,10,04,01,010,11,05,02,020,12*7A";

TEST(GetTimeZoneBias, AnUnreadableTimeZoneGivesZero) {
  class BrokenZone final : public host::platform::TimeZoneSource {
   public:
    host::platform::TimeZoneInformation Current() const override {
      throw std::runtime_error("no zone");
    }
  };
  BrokenZone zone;
  FixedClock clock(DateValue::ParseIso("2026-01-01T00:00:00"));
  std::vector<std::string> messages;
  NmeaParser parser(zone, clock, [&](std::string_view m) { messages.emplace_back(m); });
  EXPECT_EQ(parser.Fix().TimeZoneBias, 0);
  EXPECT_EQ(parser.GetTimeZoneBias(), 0);
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.front(), "GetTimeZoneBias: no zone");
}

TEST(ParseRMC, DatesAndTimes) {
  struct Case {
    std::int32_t standardBias;
    const char* time;
    const char* date;
    const char* expected;
  };
  const Case cases[] = {
      {0, "120000", "010190", "1990-01-01T12:00:00"},
      {0, "120000", "010189", "2089-01-01T12:00:00"},     // years below 90 are 2000 to 2089
      {0, "93000", "010203", "2003-02-01T00:00:00"},      // five characters: date only
      {0, "120000", "320103", "2003-02-01T12:00:00"},     // 32 January rolls over
      {0, "120000", "011303", "2004-01-01T12:00:00"},     // month 13 rolls over
      {0, "120000", "000003", "2002-11-30T12:00:00"},     // month 0 and day 0 step back
      {0, "120000", "1203", "1899-12-30T12:00:00"},       // no date: the zero date
      {0, "123519", "230394*6A", "1899-12-30T12:35:19"},  // RMC ending at the date: no date
      {300, "020000", "", "1899-12-29T21:00:00"},         // no date, shifted to local time (UTC-5)
      {300, "", "", "2025-12-31T19:00:00"},  // neither: the stored time shifted once more
  };
  for (const Case& c : cases) {
    Receiver receiver(c.standardBias);
    const std::string sentence =
        std::string("$GPRMC,") + c.time + ",A,4807.038,N,01131.000,E,0,0," + c.date +
        (std::string(c.date).find('*') == std::string::npos ? ",,*00" : "");
    receiver.Send({sentence.c_str()});
    EXPECT_EQ(receiver.Fix().GpsDateTime.ToIso(), c.expected) << sentence;
    EXPECT_EQ(receiver.Fix().UtcDateText, c.date) << sentence;
  }
  // ... and once more with every such sentence.
  Receiver receiver(300);
  receiver.Send({"$GPRMC,,V,,,,,,,,,,N*53", "$GPRMC,,V,,,,,,,,,,N*53"});
  EXPECT_EQ(receiver.Fix().GpsDateTime.ToIso(), "2025-12-31T14:00:00");
  EXPECT_TRUE(receiver.Fix().NewFix);
}

TEST(ParseGGA, TimeOfDayWrapsAroundMidnightAndNeedsExactlySixCharacters) {
  // The zone's standard bias, the time (kept as its text, whatever it holds), and the time read.
  const std::tuple<std::int32_t, const char*, const char*> cases[] = {
      {300, "010000", "1899-12-30T20:00:00"},   // UTC-5: the evening before
      {-120, "230000", "1899-12-30T01:00:00"},  // UTC+2: past midnight
      {0, "12351", "2026-01-01T00:00:00"},     {0, "", "2026-01-01T00:00:00"},
  };
  for (const auto& [standardBias, time, expected] : cases) {
    Receiver receiver(standardBias);
    const std::string sentence =
        std::string("$GPGGA,") + time + ",4807.040,N,01131.002,E,1,08,0.9,545.4,M,46.9,M,,*47";
    receiver.Send({sentence.c_str()});
    EXPECT_EQ(receiver.Fix().UtcTimeText, time);
    EXPECT_EQ(receiver.Fix().GpsDateTime.ToIso(), expected) << sentence;
    EXPECT_TRUE(receiver.Fix().NewFix) << "set even without a usable time";
  }
}

TEST(FixMode, FromQualityStatusAndFixType) {
  // The sentences sent, then the fix mode and the elevation they leave.
  const std::tuple<std::vector<const char*>, std::int16_t, double> cases[] = {
      {{"$GPRMC,123519,V,4807.038,N,01131.000,E,0,0,230394,,*00"}, kFixModeNoFix, kNoValue},
      {{"$GPRMC,123519,A,4807.038,N,01131.000,E,0,0,230394,,*00"}, kFixMode2D, kNoValue},
      {{"$GPRMC,123519,a,4807.038,N,01131.000,E,0,0,230394,,*00"}, kFixMode2D, kNoValue},
      {{"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,-12.0,M,,,,*00"}, kFixMode2D, -12.0},
      {{"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,,M,,,,*00"}, kFixMode2D, kNoValue},
      {{"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,0.0,M,,,,*00"}, kFixMode3D, 0.0},
      {{"$GPGGA,,,,,,0,00,99.99,,,,,,*48"}, kFixModeNoFix, kNoValue},
      // An empty quality is not "0": a fix.
      {{"$GPGGA,,,,,,,,,,,,,,*48"}, kFixMode2D, kNoValue},
      // Once a GSA came, neither RMC nor GGA changes the fix mode.
      {{kGsa, "$GPRMC,123519,V,4807.038,N,01131.000,E,0,0,230394,,*00"}, kFixMode3D, kNoValue},
      {{"$GPGSA,A,2,04,,,,,,,,,,,,2.5,1.3,2.1*39", kGga}, kFixMode2D, 545.4},
      {{kGsa, "$GPGGA,,,,,,0,00,99.99,,,,,,*48"}, kFixMode3D, kNoValue},
      {{"$GPGSA,A,,04,,,,,,,,,,,,2.5,1.3,2.1*39"}, kFixModeNoData, kNoValue},
      // RMC does not change it once GGA gave the position.
      {{"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,-12.0,M,,,,*00", kRmc}, kFixMode2D, -12.0},
      {{"$GPGGA,123519,4807.038,N,01131.000,E,0,08,0.9,12.0,M,,,,*00", kRmc}, kFixModeNoFix, 12.0},
  };
  for (const auto& [sentences, expected, elevation] : cases) {
    Receiver receiver;
    for (const char* sentence : sentences) receiver.Send({sentence});
    EXPECT_EQ(receiver.Fix().FixMode, expected) << sentences.back();
    EXPECT_EQ(receiver.Fix().Elevation, elevation) << sentences.back();
  }
}

TEST(Position, LengthRulesAndHemispheres) {
  struct Case {
    const char* lat;
    const char* ns;
    const char* lng;
    const char* ew;
    double latitude;
    double longitude;
  };
  constexpr double kBefore = 99.0;  // what the previous sentence left
  const Case cases[] = {
      {"4807.038", "s", "01131.000", "w", -(48 + 7.038 / 60), -(11 + 31.0 / 60)},
      {"481", "N", "011", "E", 48 + 1.0 / 60, kBefore},  // 3 characters: latitude only
      {"48", "N", "0113", "E", kBefore, 11 + 3.0 / 60},
      {"", "", "", "", kBefore, kBefore},
      {"0000.000", "S", "00000.000", "W", 0.0, 0.0},
      {"8959.9999999", "N", "17959.9999999", "E", 89 + 59.9999999 / 60, 179 + 59.9999999 / 60},
  };
  const std::string previous = "9900.000,N,09900.000,E";
  for (const Case& c : cases) {
    const std::string position = std::string(c.lat) + "," + c.ns + "," + c.lng + "," + c.ew;
    for (const auto& [head, tail] :
         {std::pair{"$GPRMC,,A,", ",,,,,*00"}, std::pair{"$GPGGA,,", ",1,,,,,,,,*00"}}) {
      Receiver receiver;
      for (const std::string& fields : {previous, position}) {
        std::string sentence = head;
        sentence.append(fields).append(tail);
        receiver.Send({sentence.c_str()});
      }
      EXPECT_DOUBLE_EQ(receiver.Fix().Latitude, c.latitude) << head << position;
      EXPECT_DOUBLE_EQ(receiver.Fix().Longitude, c.longitude) << head << position;
      EXPECT_EQ(receiver.Fix().LatText, c.lat) << "the texts are always replaced";
      EXPECT_EQ(receiver.Fix().LngHemisphere, c.ew);
    }
  }
}

// A shorter cycle keeping the slots beyond it: the capture quirk-gsv-several-constellations.
TEST(ParseGSV, FillsSlotsOverCyclesAndEmptiesTheRestOfTheLastGroup) {
  Receiver receiver;
  receiver.Send({"$GPGSV,3,1,12,01,10,100,31,02,20,200,32,03,30,300,33,04,40,040,34*70",
                 "$GPGSV,3,2,12,05,50,050,35,06,60,060,36,07,70,070,37,08,80,080,38*70",
                 "$GPGSV,3,3,12,09,11,110,39,10,12,120,40,11,13,130,41,12,14,140,42*70"});
  EXPECT_EQ(receiver.Fix().SatId[11], 12);
  // A cycle of 4, 4 and 2 satellites: slots 10 and 11 are emptied.
  receiver.Send({kGsv1, kGsv2, kGsv3});
  const GpsFix& fix = receiver.Fix();
  EXPECT_EQ(fix.SatCount, 10);
  const std::optional<std::int16_t> ids[12] = {20, 1, 22, 13, 14, 2, 16, 31, 4, 5, {}, {}};
  const std::optional<std::int16_t> snrs[12] = {45, 47, {}, 45, 38, {}, 20, {}, 11, 12, {}, {}};
  for (std::size_t slot = 0; slot < kSatelliteSlots; ++slot) {
    EXPECT_EQ(fix.SatId[slot], ids[slot]) << slot;
    EXPECT_EQ(fix.SatSNR[slot], snrs[slot]) << slot;
  }
  EXPECT_FALSE(fix.SatElevation[10] || fix.SatAzimuth[11]);
  // An empty last message empties its whole group.
  receiver.Send({"$GPGSV,1,1,00*79"});
  for (std::size_t slot = 0; slot < 4; ++slot) EXPECT_FALSE(fix.SatId[slot]) << slot;
  EXPECT_EQ(fix.SatCount, 0);
  EXPECT_TRUE(receiver.messages.empty());
}

// Each sentence fails with the message; its bit of SentencesSeen stays clear.
TEST(Failures, ADecoderStopsAtItsFirstErrorKeepingWhatItStored) {
  const std::pair<const char*, const char*> cases[] = {
      {"$GPRMC,123519,A", "ParseRMC: field 9 missing"},
      {"$GPRMC,123519,A,48x7.038,N,01131.000,E,0,0,230394,,*00",
       "ParseRMC: Type mismatch: \"x7.038\" is not a number"},
      {"$GPRMC,256070,A,4807.038,N,01131.000,E,0,0,230394,,*00",
       "ParseRMC: Type mismatch: \"25:60:70\" is not a time of day"},
      {"$GPGGA,123519,4807.038,N,01131.000,E,1,08", "ParseGGA: field 9 missing"},
      {"$GPGSA,A,3,04,05*39", "ParseGSA: field 5 missing"},
      {"$GPGSV,1,1,99999*70", "ParseGSV: Overflow: 99999 does not fit in 16 bits"},
  };
  for (const auto& [sentence, message] : cases) {
    SCOPED_TRACE(sentence);
    Receiver receiver;
    receiver.Send({sentence});
    EXPECT_EQ(receiver.Fix().SentencesSeen, 0);
    EXPECT_EQ(receiver.Parser().FailureCount(), 1U);
    ASSERT_EQ(receiver.messages.size(), 1U);
    EXPECT_EQ(receiver.messages[0].substr(0, std::string(message).size()), message);
    EXPECT_NE(receiver.messages[0].find(sentence), std::string::npos) << "quotes the sentence";
  }
}

// The golden files of ReceiverLogTest hold every field; a satellite numbered 0 is rare there.
TEST(FixJson, ASatelliteNumberedZeroIsAValueAndAnEmptySlotIsNull) {
  GpsFix fix;
  fix.SatId[0] = 0;
  const nlohmann::json json = FixToJson(fix);
  EXPECT_EQ(json["SatId"][0], 0);
  EXPECT_TRUE(json["SatId"][1].is_null());
}

}  // namespace
}  // namespace orvo::gps
