#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"

namespace orvo::gps {
namespace {

using host::platform::DateValue;

const std::string kRmc = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A";
const std::string kGga = "$GPGGA,123520,4807.040,N,01131.002,E,1,08,0.9,545.4,M,46.9,M,,*47";
const std::string kGsa = "$GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39";
const std::string kCrLf = "\r\n";

// Records what the framing tells its window.
class RecordingListener final : public IntakeListener {
 public:
  void OnSentence(std::string_view sentence) override { sentences.emplace_back(sentence); }
  bool IsRefreshAutomatic() const override { return automatic; }
  void OnRefreshTick() override {
    ++ticks;
    if (failTick) throw std::runtime_error("tick failed");
  }

  std::vector<std::string> sentences;
  bool automatic = false;
  bool failTick = false;
  int ticks = 0;
};

class IntakeTest : public ::testing::Test {
 protected:
  host::platform::FixedTimeZone zone_;
  host::platform::FixedClock clock_{DateValue::ParseIso("2026-01-01T00:00:00")};
  NmeaParser parser_{zone_, clock_};
  RecordingListener listener_;
  std::vector<std::string> diagnostics_;
  NmeaIntake intake_{parser_, &listener_,
                     [this](std::string_view m) { diagnostics_.emplace_back(m); }};
};

TEST_F(IntakeTest, DispatchesTheCompleteSentenceAndKeepsTheLineFeedAndThePartialOne) {
  const std::string partial = "$GPGGA,123520,4807.040,N";
  EXPECT_TRUE(intake_.ProcessData(kRmc + kCrLf + partial));
  EXPECT_EQ(intake_.CurrentSentence(), kRmc);
  EXPECT_EQ(intake_.RxBuffer(), "\n" + partial);
  EXPECT_EQ(listener_.sentences, std::vector<std::string>{kRmc});
  EXPECT_EQ(parser_.Fix().SentencesSeen, kSeenRMC);
  EXPECT_FALSE(intake_.HasCompleteSentence());
  // The rest of the GGA arrives.
  EXPECT_TRUE(intake_.ProcessData(kGga.substr(partial.size()) + kCrLf));
  EXPECT_EQ(intake_.CurrentSentence(), kGga);
  EXPECT_EQ(intake_.RxBuffer(), "\n");
  EXPECT_EQ(parser_.Fix().SentencesSeen, kSeenRMC | kSeenGGA);
}

TEST_F(IntakeTest, OneSentencePerCallEvenFromEmptyChunks) {
  EXPECT_TRUE(intake_.ProcessData(kRmc + kCrLf + kGga + kCrLf + kGsa + kCrLf));
  EXPECT_EQ(listener_.sentences.size(), 1U);
  EXPECT_TRUE(intake_.HasCompleteSentence());
  EXPECT_TRUE(intake_.ProcessData(""));
  EXPECT_TRUE(intake_.ProcessData(""));
  EXPECT_EQ(listener_.sentences, (std::vector<std::string>{kRmc, kGga, kGsa}));
  EXPECT_FALSE(intake_.HasCompleteSentence());
  // Only the last line feed is left: no "$", so the buffer is dropped.
  EXPECT_FALSE(intake_.ProcessData(""));
  EXPECT_EQ(intake_.RxBuffer(), "");
  EXPECT_EQ(intake_.NonNmeaText(), "\n");
}

TEST_F(IntakeTest, SentencesSplitAnywhereAcrossChunks) {
  const std::string stream = "noise" + kRmc + kCrLf + kGga + kCrLf;
  for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
    NmeaParser parser(zone_, clock_);
    RecordingListener listener;
    NmeaIntake intake(parser, &listener);
    intake.ProcessData(stream.substr(0, cut));
    intake.ProcessData(stream.substr(cut));
    while (intake.HasCompleteSentence()) intake.ProcessData("");
    EXPECT_EQ(listener.sentences, (std::vector<std::string>{kRmc, kGga})) << "cut at " << cut;
  }
}

TEST_F(IntakeTest, TypeIsCharactersFourToSixWithCase) {
  // Each sentence and the SentencesSeen bit it sets (none: a type the parser does not take).
  // Other talkers (GN, GL, GB, GA) and VTG are in the receiver captures' golden output.
  const std::pair<std::string, std::int32_t> cases[] = {
      {"$GNRMC,123519,A,4807.038,N,01131.000,E,0,0,230394,,*00", kSeenRMC},
      {"$GPrmc,123519,A,4807.038,N,01131.000,E,0,0,230394,,*00", 0},
      {"$PUBX,00,123519*00", 0},
      {"$GP", 0},
  };
  for (const auto& [sentence, seen] : cases) {
    NmeaParser parser(zone_, clock_);
    RecordingListener listener;
    NmeaIntake intake(parser, &listener);
    EXPECT_TRUE(intake.ProcessData(sentence + kCrLf));
    EXPECT_EQ(parser.Fix().SentencesSeen, seen) << sentence;
    EXPECT_EQ(intake.Counters().sentencesOfOtherTypes, seen == 0 ? 1U : 0U);
  }
}

TEST_F(IntakeTest, TextWithoutADollarIsDroppedAndRemembered) {
  EXPECT_FALSE(intake_.ProcessData("astral ready, waiting for the word"));
  EXPECT_EQ(intake_.NonNmeaText(), "astral ready, waitin");
  EXPECT_TRUE(intake_.NonNmeaTextMentionsAstral());
  EXPECT_EQ(intake_.RxBuffer(), "");
  EXPECT_FALSE(intake_.ProcessData("hello"));
  EXPECT_EQ(intake_.NonNmeaText(), "hello");
  EXPECT_FALSE(intake_.NonNmeaTextMentionsAstral());
  // Only the first 20 characters are looked at.
  EXPECT_FALSE(intake_.ProcessData("twenty characters.. ASTRAL"));
  EXPECT_FALSE(intake_.NonNmeaTextMentionsAstral());
  EXPECT_EQ(intake_.Counters().chunksWithoutSentenceStart, 3U);
}

TEST_F(IntakeTest, BacklogSkipsToTheNewestSentenceOfTheOldestType) {
  // A 1200-character backlog whose first sentence is a GGA.
  std::string backlog;
  int second = 0;
  while (backlog.size() < 1200) {
    const std::string time = "1200" + std::string(second < 10 ? "0" : "") + std::to_string(second);
    backlog.append("$GPGGA,").append(time).append(",4807.040,N,01131.002,E,1,08,0.9,545.4,M,46.9");
    backlog.append(",M,,*47\r\n$GPRMC,").append(time);
    backlog.append(",A,4807.038,N,01131.000,E,0,0,230394,,*00\r\n");
    ++second;
  }
  const std::string newestGga = "$GPGGA,120099,4807.040,N,01131.002,E,1,08,0.9,545.4,M,46.9,M,,*47";
  const std::string tail =
      "$GPRMC,120099,A,4807.038,N,01131.000,E,0,0,230394,,*00" + kCrLf + "$GPGGA,120100,4807";
  EXPECT_TRUE(intake_.ProcessData(backlog + newestGga + kCrLf + tail));
  EXPECT_EQ(listener_.sentences, std::vector<std::string>{newestGga});
  EXPECT_EQ(intake_.RxBuffer(), "\n" + tail);
  EXPECT_EQ(parser_.Fix().UtcTimeText, "120099");
}

TEST_F(IntakeTest, BacklogSkipNeedsMoreThanTheThreshold) {
  const std::string first = kGga + kCrLf;
  const std::string second = "$GPGGA,999999" + kGga.substr(13) + kCrLf;
  intake_.SetLenDetectRepeat(static_cast<std::int32_t>(first.size() + second.size()));
  intake_.ProcessData(first + second);
  EXPECT_EQ(intake_.CurrentSentence(), kGga) << "exactly at the threshold: no skip";
  NmeaIntake skipping(parser_, &listener_);
  skipping.SetLenDetectRepeat(static_cast<std::int32_t>(first.size() + second.size() - 1));
  skipping.ProcessData(first + second);
  EXPECT_EQ(skipping.CurrentSentence(), second.substr(0, second.size() - 2));
}

TEST_F(IntakeTest, AutomaticRefreshRunsTheTickOncePerNewPositionTimedLeavesItToTheTimer) {
  intake_.ProcessData(kRmc + kCrLf);
  EXPECT_EQ(listener_.ticks, 0);
  EXPECT_TRUE(parser_.Fix().NewFix);
  // Switched to automatic: the next call ticks even with only a partial sentence waiting.
  listener_.automatic = true;
  EXPECT_TRUE(intake_.ProcessData("$GPGGA,1235"));
  EXPECT_EQ(listener_.ticks, 1);
  EXPECT_FALSE(parser_.Fix().NewFix);
  intake_.ProcessData(kCrLf + kGsa + kCrLf);
  intake_.ProcessData("");
  EXPECT_EQ(listener_.ticks, 1) << "a GGA cut short and a GSA bring no new position";
  intake_.ProcessData(kRmc + kCrLf);
  EXPECT_EQ(listener_.ticks, 2);
}

TEST_F(IntakeTest, AFailureEmptiesTheBufferAndReturnsFalse) {
  listener_.automatic = true;
  listener_.failTick = true;
  EXPECT_FALSE(intake_.ProcessData(kRmc + kCrLf + kGga + kCrLf));
  EXPECT_EQ(intake_.RxBuffer(), "");
  ASSERT_EQ(diagnostics_.size(), 1U);
  EXPECT_EQ(diagnostics_[0], "ProcessData: tick failed");
  listener_.failTick = false;
  EXPECT_TRUE(intake_.ProcessData(kGsa + kCrLf));
  EXPECT_EQ(intake_.CurrentSentence(), kGsa);
}

TEST_F(IntakeTest, AnUnendingSentenceCannotGrowTheBufferWithoutLimit) {
  const std::string block(std::size_t{64} * 1024, 'x');
  intake_.ProcessData("$GPRMC,");
  for (int i = 0; i < 40; ++i) {
    intake_.ProcessData(block);
    ASSERT_LE(intake_.RxBuffer().size(), NmeaIntake::kMaxBufferBytes);
  }
  EXPECT_GE(intake_.Counters().bufferOverflows, 1U);
  ASSERT_FALSE(diagnostics_.empty());
  EXPECT_EQ(diagnostics_[0].substr(0, 33), "ProcessData: buffer above 1048576");
  // The receiver recovers with its next sentence.
  intake_.ProcessData(kCrLf + kRmc + kCrLf);
  while (intake_.HasCompleteSentence()) intake_.ProcessData("");
  EXPECT_EQ(intake_.CurrentSentence(), kRmc);
}

}  // namespace
}  // namespace orvo::gps
