#pragma once
// The four sentence decoders (RMC, GGA, GSA, GSV) and the fix they write. Each decoder takes one
// whole sentence as received ("$" and address first, checksum still attached, no line end),
// splits it at every comma without trimming, and never checks the checksum. The decoders overlap
// on purpose: a field two sentence types carry is taken from one type only until the other has
// been seen (GpsFix::SentencesSeen).
//
// Receiver input never fails the program: a decoder stops at its first error (a missing field,
// a position that is not a number, a satellite slot out of range), keeps what it had already
// stored, does not set its SentencesSeen bit, counts the failure and reports it to the
// diagnostic sink with its name in front ("ParseGSV: ..."). Some receivers end every cycle in
// such a sentence, so a stop costs no more than a sentence decoded to its end (see
// NmeaParserDecoders.hpp).
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "gps/GpsFix.hpp"
#include "host/platform/Clock.hpp"

namespace orvo::gps {

class NmeaParser {
 public:
  using DiagnosticSink = std::function<void(std::string_view message)>;

  // Starts from a reset fix (ResetGpsFix).
  NmeaParser(host::platform::TimeZoneSource& timeZone, host::platform::SystemClock& clock,
             DiagnosticSink diagnostics = {});

  const GpsFix& Fix() const { return fix_; }

  // Empties the fix: no data, no satellites, no position, the clock's present local time, and
  // the time-zone bias taken anew.
  void ResetGpsFix();

  // Minutes added to UTC to give local time: the negated standard bias, plus exactly 60 while
  // daylight time is in force. 0 when the time zone cannot be read.
  std::int16_t GetTimeZoneBias() const;

  void ParseRMC(std::string_view sentence);
  void ParseGGA(std::string_view sentence);
  void ParseGSA(std::string_view sentence);
  void ParseGSV(std::string_view sentence);

  // The dispatcher clears NewFix once the refresh tick has run for it.
  void ClearNewFix() { fix_.NewFix = false; }

  // Sentences a decoder gave up on since construction.
  std::uint64_t FailureCount() const { return failureCount_; }
  void SetDiagnosticSink(DiagnosticSink diagnostics) { diagnostics_ = std::move(diagnostics); }

 private:
  template <typename Decode>
  void Run(const char* name, std::string_view sentence, Decode decode);
  void Report(std::string_view message) const;

  host::platform::TimeZoneSource& timeZone_;
  host::platform::SystemClock& clock_;
  DiagnosticSink diagnostics_;
  GpsFix fix_;
  std::vector<std::string_view> fieldStorage_;  // the decoders' scratch, kept between sentences
  std::uint64_t failureCount_ = 0;
};

}  // namespace orvo::gps
