// libFuzzer target: arbitrary bytes in arbitrary chunk sizes through ProcessData, with a fixed
// clock and time zone. Checks that receiver input never fails the program and that the framing
// keeps its promises: a bounded buffer, cut sentences that start with "$" and hold no line end,
// an emptied buffer whenever ProcessData says there was no sentence start, and a fix that can
// always be shown.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "gps/FixJson.hpp"
#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"

namespace {

using orvo::gps::NmeaIntake;

void Check(bool condition) {
  if (!condition) std::abort();
}

class CheckingListener final : public orvo::gps::IntakeListener {
 public:
  explicit CheckingListener(const orvo::gps::NmeaParser& parser) : parser_(parser) {}
  void OnSentence(std::string_view sentence) override {
    Check(!sentence.empty() && sentence.front() == '$');
    Check(sentence.find("\r\n") == std::string_view::npos);
    // Writing the record throws on a fix that cannot be written (a date out of range, text
    // that cannot be escaped): never. Every 16th sentence, as writing is slow under the
    // sanitizers and the fix changes little from one sentence to the next.
    if (++sentences_ % 16 == 0) Check(!orvo::gps::SentenceRecord(sentence, parser_.Fix()).empty());
  }
  bool IsRefreshAutomatic() const override { return automatic; }
  void OnRefreshTick() override { Check(parser_.Fix().NewFix); }
  bool automatic = false;

 private:
  const orvo::gps::NmeaParser& parser_;
  std::uint64_t sentences_ = 0;
};

}  // namespace

// Some seeds (whole captures, golden files) are megabytes long. A prefix of this size holds a few
// receiver cycles; the rest would only repeat the same paths, much more slowly.
constexpr std::size_t kMaxInputBytes = 4096;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size < kMaxInputBytes ? size : kMaxInputBytes);
  // Half an hour off a whole hour, with daylight time: every bias path of the decoders runs.
  orvo::host::platform::FixedTimeZone zone(-330, true);
  orvo::host::platform::FixedClock clock(
      orvo::host::platform::DateValue::ParseIso("2026-01-01T00:00:00"));
  orvo::gps::NmeaParser parser(zone, clock);
  CheckingListener listener(parser);
  NmeaIntake intake(parser, &listener);
  listener.automatic = provider.ConsumeBool();
  if (provider.ConsumeBool()) intake.SetLenDetectRepeat(provider.ConsumeIntegralInRange(0, 4096));

  while (provider.remaining_bytes() > 0) {
    const std::size_t length = provider.ConsumeIntegralInRange<std::size_t>(0, 600);
    const std::string chunk = provider.ConsumeBytesAsString(length);
    const bool sawStart = intake.ProcessData(chunk);
    Check(intake.RxBuffer().size() <= NmeaIntake::kMaxBufferBytes);
    Check(intake.NonNmeaText().size() <= 20);
    if (!sawStart) Check(intake.RxBuffer().empty());
    if (provider.ConsumeBool()) {
      while (intake.HasCompleteSentence()) intake.ProcessData("");
      Check(!intake.HasCompleteSentence());
    }
  }
  Check(!orvo::gps::SentenceRecord(intake.CurrentSentence(), parser.Fix()).empty());
  Check(intake.Counters().sentencesCut >= intake.Counters().sentencesOfOtherTypes);
  return 0;
}
