#pragma once
// Sentence framing: received text goes into a buffer, and each call cuts at most one sentence
// ("$" up to the first CR LF after it) and hands it to its decoder by the type at characters 4
// to 6 (any two-letter talker: $GPRMC, $GNRMC, $GLGSV). The window that owns it (the main
// window, playback, `orvo parse`) hears about it through IntakeListener; the framing itself
// knows nothing of windows. Text is bytes: any byte value may arrive.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "gps/NmeaParser.hpp"

namespace orvo::gps {

class IntakeListener {
 public:
  virtual ~IntakeListener() = default;
  // Every chunk as received, before framing (the main window appends it to the capture file
  // when capture is on). Exceptions thrown here are ignored.
  virtual void OnChunkReceived(std::string_view /*chunk*/) {}
  // A sentence was cut from the buffer and handed to its decoder (or dropped when its type is
  // not one of the four); the fix already holds its effect.
  virtual void OnSentence(std::string_view /*sentence*/) {}
  // The refresh rate is automatic (0): the refresh tick runs as soon as a new position came.
  virtual bool IsRefreshAutomatic() const { return false; }
  virtual void OnRefreshTick() {}
};

// Where SkipToLatestRepeat moves the sentence to cut (positions from 0).
struct SkipResult {
  std::size_t lineEnd;   // position of the CR of the CR LF ending the sentence
  std::size_t newStart;  // position of the sentence's "$"
};

// Counts of what was dropped or cut, for diagnostics.
struct IntakeCounters {
  std::uint64_t sentencesCut = 0;
  std::uint64_t sentencesOfOtherTypes = 0;       // cut, but not RMC, GGA, GSA or GSV
  std::uint64_t chunksWithoutSentenceStart = 0;  // the buffer held no "$" and was emptied
  std::uint64_t bufferOverflows = 0;             // see NmeaIntake::kMaxBufferBytes
};

class NmeaIntake {
 public:
  // Buffer length above which the backlog is skipped, unless set otherwise.
  static constexpr std::int32_t kDefaultLenDetectRepeat = 1000;
  // A safety bound, far above anything a receiver produces between two line ends (a sentence is
  // at most 82 characters): text that never reaches a CR LF, or a caller that feeds much faster
  // than it dispatches with the backlog skip turned off, cannot grow the buffer without limit.
  // Beyond it the buffer keeps only its newest sentence start, or nothing.
  static constexpr std::size_t kMaxBufferBytes = 1 << 20;

  using DiagnosticSink = std::function<void(std::string_view message)>;

  explicit NmeaIntake(NmeaParser& parser, IntakeListener* listener = nullptr,
                      DiagnosticSink diagnostics = {});

  // Appends one received chunk, dispatches at most one complete sentence, and runs the refresh
  // tick when the rate is automatic and a new position came. True when the buffer held a "$";
  // false when it held none (the buffer is then emptied and its first 20 bytes kept in
  // NonNmeaText) or when something failed (the buffer is then emptied).
  bool ProcessData(std::string_view text);

  // The backlog skip: the newest complete sentence in `buffer` that starts with the same 6
  // characters as the one at `start`. `lineEnd` is the CR of the sentence at `start`, returned
  // unchanged when nothing newer is found.
  static SkipResult SkipToLatestRepeat(std::string_view buffer, std::size_t start,
                                       std::size_t lineEnd);

  // A "$" followed later by CR LF is waiting in the buffer.
  bool HasCompleteSentence() const;

  // The receiver announced itself with "ASTRAL" in text without a "$" (any case); the main
  // window answers "ASTRAL" CR LF when ProcessData returned false.
  bool NonNmeaTextMentionsAstral() const;

  const std::string& RxBuffer() const { return rxBuffer_; }
  const std::string& CurrentSentence() const { return currentSentence_; }
  const std::string& NonNmeaText() const { return nonNmeaText_; }
  std::int32_t LenDetectRepeat() const { return lenDetectRepeat_; }
  void SetLenDetectRepeat(std::int32_t length) { lenDetectRepeat_ = length; }
  void SetListener(IntakeListener* listener) { listener_ = listener; }
  void SetDiagnosticSink(DiagnosticSink diagnostics) { diagnostics_ = std::move(diagnostics); }
  const IntakeCounters& Counters() const { return counters_; }

 private:
  void Dispatch(std::string_view sentence);
  void BoundBuffer();
  void Report(std::string_view message) const;

  NmeaParser& parser_;
  IntakeListener* listener_;
  DiagnosticSink diagnostics_;
  std::string rxBuffer_;
  std::string currentSentence_;
  std::string nonNmeaText_;
  std::int32_t lenDetectRepeat_ = kDefaultLenDetectRepeat;
  IntakeCounters counters_;
};

}  // namespace orvo::gps
