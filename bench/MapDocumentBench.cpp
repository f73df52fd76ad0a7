// The map document with a day's trail of 100,000 pushpins: opening it (target under 1 s),
// one refresh tick's changes and their flush, finding a pin by name, clearing the trail pin by
// pin with a flush every few hundred (target under 0.5 s), and the peak resident memory of a
// fresh process that loads it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/map/MapDocument.hpp"
#include "tests/BuildPaths.hpp"

namespace {

namespace fs = std::filesystem;
using orvo::host::map::MapDocument;
using orvo::host::map::PinId;

constexpr int kTrailPins = 100'000;
// Pins deleted between two flushes while clearing: the event-loop turns a progress window
// lets through in that time.
constexpr int kDeletionsPerFlush = 500;

const fs::path& Folder() {
  static const fs::path folder = [] {
    std::string pattern = (fs::temp_directory_path() / "orvo-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) std::abort();
    std::atexit([] { fs::remove_all(Folder()); });
    return fs::path(pattern);
  }();
  return folder;
}

// A document as a day's trail leaves it: "ORVO_<n>" pins with a note each.
const fs::path& TrailDocument() {
  static const fs::path file = [] {
    const fs::path path = Folder() / "trail.orvomap";
    MapDocument map(path);
    for (int pin = 0; pin < kTrailPins; ++pin) {
      auto added =
          map.AddPushpin({43.70 + pin * 1e-6, 7.40 + pin * 1e-6}, "ORVO_" + std::to_string(pin));
      added.SetSymbol(30);
      added.SetNote(
          "12/01/2026 10:00:00 AM\r\nLatitude: 43.70000 N\r\nLongitude: 7.40000 E\r\n"
          "Elevation: 30 m\r\nSpeed:  42.0 km/h\r\nHeading: 45");
    }
    map.AddPushpin({43.7, 7.4}, "ORVO_CurrentPosition");
    return path;
  }();
  return file;
}

void LoadTrailDocument(benchmark::State& state) {
  const fs::path& file = TrailDocument();
  for (auto _ : state) {
    MapDocument map(file);
    benchmark::DoNotOptimize(map.PushpinCount());
  }
  state.SetItemsProcessed(state.iterations() * kTrailPins);
}
BENCHMARK(LoadTrailDocument)->Unit(benchmark::kMillisecond);

// One tick with the trail on: the position pin moves and changes symbol, a trail pin is added
// with its symbol, balloon and note; then the flush.
void FlushOneTick(benchmark::State& state) {
  const fs::path file = Folder() / "tick.orvomap";
  fs::copy_file(TrailDocument(), file, fs::copy_options::overwrite_existing);
  MapDocument map(file);
  auto position = *map.FindPushpin("ORVO_CurrentPosition");
  int tick = 0;
  for (auto _ : state) {
    ++tick;
    position.SetLocation({43.7 + tick * 1e-6, 7.4});
    position.SetSymbol(120 + tick % 12);
    auto pin =
        map.AddPushpin({43.7 + tick * 1e-6, 7.4}, "ORVO_" + std::to_string(kTrailPins + tick));
    pin.SetSymbol(30);
    pin.SetBalloonState(0);
    pin.SetNote("Speed:  42.0 km/h");
    map.Flush();
  }
}
BENCHMARK(FlushOneTick)->Unit(benchmark::kMicrosecond);

void FindPushpinByName(benchmark::State& state) {
  MapDocument map(TrailDocument(), MapDocument::Access::ReadOnly);
  unsigned next = 0;
  for (auto _ : state) {
    next = (next * 7919 + 13) % kTrailPins;
    benchmark::DoNotOptimize(map.FindPushpin("orvo_" + std::to_string(next)));
  }
}
BENCHMARK(FindPushpinByName);

void ClearTrailPinByPin(benchmark::State& state) {
  const fs::path file = Folder() / "clear.orvomap";
  for (auto _ : state) {
    state.PauseTiming();
    fs::copy_file(TrailDocument(), file, fs::copy_options::overwrite_existing);
    {
      MapDocument map(file);
      std::vector<PinId> trail;
      for (const auto& [id, pin] : map.Pins())
        if (pin.name != "ORVO_CurrentPosition") trail.push_back(id);
      state.ResumeTiming();
      int sinceFlush = 0;
      for (const PinId id : trail) {
        map.PushpinWithId(id).Delete();
        if (++sinceFlush == kDeletionsPerFlush) {
          map.Flush();
          sinceFlush = 0;
        }
      }
      map.Flush();
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kTrailPins);
}
BENCHMARK(ClearTrailPinByPin)->Unit(benchmark::kMillisecond)->Iterations(3);

// Peak resident memory (KiB) of `orvo map pins --map FILE`: a fresh process that loads the
// whole document, as orvo does at start, and prints it.
long PeakResidentKibibytes(const fs::path& file) {
  const pid_t child = ::fork();
  if (child == 0) {
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, STDOUT_FILENO);
    ::execl(ORVO_BINARY, ORVO_BINARY, "map", "pins", "--map", file.c_str(), nullptr);
    ::_exit(127);
  }
  int status = 0;
  rusage usage{};
  ::wait4(child, &status, 0, &usage);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? usage.ru_maxrss : -1;
}

void ResidentMemoryWithTrailLoaded(benchmark::State& state) {
  const fs::path empty = Folder() / "empty.orvomap";
  { MapDocument map(empty); }
  long baseline = 0, loaded = 0;
  for (auto _ : state) {
    baseline = PeakResidentKibibytes(empty);
    loaded = PeakResidentKibibytes(TrailDocument());
  }
  state.counters["VmRSS_empty_MiB"] = baseline / 1024.0;
  state.counters["VmRSS_100k_MiB"] = loaded / 1024.0;
  state.counters["bytes_per_pin"] = (loaded - baseline) * 1024.0 / kTrailPins;
}
BENCHMARK(ResidentMemoryWithTrailLoaded)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
