// Sentences per second through ProcessData on real captures, fed as a receiver's serial events
// would deliver them (chunks of a few hundred bytes, then drained), with the decoders and the
// fix behind it.
#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>
#include <string>

#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"
#include "tests/BuildPaths.hpp"

namespace {

std::string ReadCapture(const char* name) {
  std::ifstream in(std::string(ORVO_SOURCE_DIR) + "/tests/data/receivers/" + name,
                   std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Receivers' serial events usually bring one burst of a cycle at a time; 256 bytes is a few
// sentences, as a 4800 to 115200 baud port delivers them to an event loop.
constexpr std::size_t kChunkBytes = 256;

void ProcessCapture(benchmark::State& state, const char* name) {
  const std::string capture = ReadCapture(name);
  if (capture.empty()) {
    state.SkipWithError("capture not found");
    return;
  }
  orvo::host::platform::FixedTimeZone zone;
  orvo::host::platform::FixedClock clock(
      orvo::host::platform::DateValue::ParseIso("2026-01-01T00:00:00"));
  std::uint64_t sentences = 0;
  for (auto _ : state) {
    orvo::gps::NmeaParser parser(zone, clock);
    orvo::gps::NmeaIntake intake(parser);
    intake.SetLenDetectRepeat(INT32_MAX);  // every sentence, no backlog skip
    for (std::size_t offset = 0; offset < capture.size(); offset += kChunkBytes) {
      intake.ProcessData(std::string_view(capture).substr(offset, kChunkBytes));
      while (intake.HasCompleteSentence()) {
        intake.ProcessData("");
      }
    }
    sentences += intake.Counters().sentencesCut;
    benchmark::DoNotOptimize(parser.Fix());
  }
  state.counters["sentences/s"] =
      benchmark::Counter(static_cast<double>(sentences), benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * capture.size()));
}

// A u-blox receiver with many GSV sentences (NMEA 4.10) and CR LF line ends.
void BM_ProcessData_UbloxZedF9p(benchmark::State& state) {
  ProcessCapture(state, "ublox-zed-f9p-nmea.log");
}
BENCHMARK(BM_ProcessData_UbloxZedF9p);

// A ship's feed of many talkers (5000 sentences).
void BM_ProcessData_BundgZeus9(benchmark::State& state) {
  ProcessCapture(state, "bundg_zeus_9.log");
}
BENCHMARK(BM_ProcessData_BundgZeus9);

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
