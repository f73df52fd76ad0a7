// Bytes and sentences per second through ProcessData on every receiver capture in
// tests/data/receivers, fed as a receiver's serial events would deliver them (chunks of a few
// hundred bytes, then drained), with the decoders and the fix behind it. Each capture is a
// benchmark of its own, so a receiver whose sentences take a slow path stands out per byte of
// its sentences (text_per_second): binary messages between them are skipped by one search and
// make a capture's raw bytes per second say little.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"
#include "tests/BuildPaths.hpp"

namespace {

namespace fs = std::filesystem;

// Receivers' serial events usually bring one burst of a cycle at a time; 256 bytes is a few
// sentences, as a 4800 to 115200 baud port delivers them to an event loop.
constexpr std::size_t kChunkBytes = 256;

// The capture as the receiver sent it: many were stored with LF only, and the framing cuts at
// CR LF, so a bare LF gets its CR back (as the golden files are made).
std::string ReadCapture(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  const std::string stored = text.str();
  std::string restored;
  restored.reserve(stored.size() + stored.size() / 16);
  char previous = '\0';
  for (const char c : stored) {
    if (c == '\n' && previous != '\r') {
      restored.push_back('\r');
    }
    restored.push_back(c);
    previous = c;
  }
  return restored;
}

// The bytes of the capture's sentences: lines from "$" to LF of printable text.
std::size_t SentenceBytes(std::string_view capture) {
  constexpr std::size_t kLongestLine = 128;  // far above the 82 characters of a sentence
  std::size_t total = 0;
  std::size_t at = capture.find('$');
  while (at != std::string_view::npos) {
    const std::size_t end = capture.find('\n', at);
    if (end == std::string_view::npos) break;
    const std::string_view line = capture.substr(at, end + 1 - at);
    const bool text =
        line.size() <= kLongestLine && std::all_of(line.begin(), line.end(), [](char c) {
          return (c >= ' ' && c <= '~') || c == '\r' || c == '\n';
        });
    if (text) total += line.size();
    at = capture.find('$', text ? end : at + 1);
  }
  return total;
}

// The capture over and over, as one long stream: a receiver's port is opened once, so the
// parser and the intake are made once too and their making is not timed per pass, which would
// weigh on the small captures only.
void ProcessCapture(benchmark::State& state, const std::string& capture) {
  orvo::host::platform::FixedTimeZone zone;
  orvo::host::platform::FixedClock clock(
      orvo::host::platform::DateValue::ParseIso("2026-01-01T00:00:00"));
  orvo::gps::NmeaParser parser(zone, clock);
  orvo::gps::NmeaIntake intake(parser);
  intake.SetLenDetectRepeat(INT32_MAX);  // every sentence, no backlog skip
  for (auto _ : state) {
    for (std::size_t offset = 0; offset < capture.size(); offset += kChunkBytes) {
      intake.ProcessData(std::string_view(capture).substr(offset, kChunkBytes));
      while (intake.HasCompleteSentence()) {
        intake.ProcessData("");
      }
    }
    benchmark::DoNotOptimize(parser.Fix());
  }
  state.counters["sentences/s"] = benchmark::Counter(
      static_cast<double>(intake.Counters().sentencesCut), benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * capture.size()));
  state.counters["text_per_second"] =
      benchmark::Counter(static_cast<double>(state.iterations() * SentenceBytes(capture)),
                         benchmark::Counter::kIsRate, benchmark::Counter::OneK::kIs1024);
}

// One benchmark per capture, in name order, registered before main runs.
const bool kCapturesRegistered = [] {
  std::vector<fs::path> captures;
  for (const auto& entry :
       fs::directory_iterator(fs::path(ORVO_SOURCE_DIR) / "tests/data/receivers")) {
    if (entry.path().extension() == ".log") {
      captures.push_back(entry.path());
    }
  }
  std::sort(captures.begin(), captures.end());
  for (const fs::path& path : captures) {
    benchmark::RegisterBenchmark(
        ("BM_ProcessData/" + path.stem().string()).c_str(),
        [capture = ReadCapture(path)](benchmark::State& state) { ProcessCapture(state, capture); });
  }
  return true;
}();

// The decoders alone on one sentence of each type.
void BM_DecodeCycle(benchmark::State& state) {
  orvo::host::platform::FixedTimeZone zone;
  orvo::host::platform::FixedClock clock(
      orvo::host::platform::DateValue::ParseIso("2026-01-01T00:00:00"));
  orvo::gps::NmeaParser parser(zone, clock);
  for (auto _ : state) {
    parser.ParseRMC("$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A");
    parser.ParseGGA("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47");
    parser.ParseGSA("$GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39");
    parser.ParseGSV("$GPGSV,3,1,10,20,78,331,45,01,59,235,47,22,41,069,,13,32,252,45*70");
    benchmark::DoNotOptimize(parser.Fix());
  }
  state.counters["sentences/s"] =
      benchmark::Counter(static_cast<double>(state.iterations() * 4), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DecodeCycle);

}  // namespace
