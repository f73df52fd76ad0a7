// The map document with a day's trail of 100,000 pushpins: opening it (target under 1 s),
// one refresh tick's changes and their flush, finding a pin by name, clearing the trail pin by
// pin with a flush every few hundred (target under 0.5 s), and the peak resident memory of a
// fresh process that loads it.
#include <benchmark/benchmark.h>
#include <sys/ioctl.h>
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

// Peak resident memory (KiB, VmHWM) of `orvo map pins --map FILE`: a fresh process that loads
// the whole document, as orvo does at start, and then prints it. It is read while the process
// waits for its full output pipe to be read, so FILE must print more than a pipe holds. (The
// exit status's ru_maxrss would count this benchmark's own memory, inherited at fork.)
long PeakResidentKibibytes(const fs::path& file) {
  constexpr int kPipeBytes = 65536;
  int output[2];
  if (::pipe(output) != 0) std::abort();
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(output[1], STDOUT_FILENO);
    ::close(output[0]);
    ::execl(ORVO_BINARY, ORVO_BINARY, "map", "pins", "--map", file.c_str(), nullptr);
    ::_exit(127);
  }
  ::close(output[1]);
  for (int waiting = 0, queued = 0; queued < kPipeBytes && waiting < 100'000; ++waiting) {
    ::ioctl(output[0], FIONREAD, &queued);
    ::usleep(100);
  }
  long peak = -1;
  std::ifstream status("/proc/" + std::to_string(child) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("VmHWM:", 0) == 0) peak = std::stol(line.substr(6));
  char buffer[kPipeBytes];
  while (::read(output[0], buffer, sizeof buffer) > 0) {
  }
  ::close(output[0]);
  int exitStatus = 0;
  ::waitpid(child, &exitStatus, 0);
  return WIFEXITED(exitStatus) && WEXITSTATUS(exitStatus) == 0 ? peak : -1;
}

void ResidentMemoryWithTrailLoaded(benchmark::State& state) {
  // A thousand pins print more than a pipe holds and weigh next to nothing.
  const fs::path small = Folder() / "small.orvomap";
  {
    MapDocument map(small);
    for (int pin = 0; pin < 1000; ++pin) map.AddPushpin({43.7, 7.4}, "ORVO_" + std::to_string(pin));
  }
  long baseline = 0, loaded = 0;
  for (auto _ : state) {
    baseline = PeakResidentKibibytes(small);
    loaded = PeakResidentKibibytes(TrailDocument());
  }
  state.counters["VmRSS_1k_MiB"] = baseline / 1024.0;
  state.counters["VmRSS_100k_MiB"] = loaded / 1024.0;
  state.counters["bytes_per_pin"] = (loaded - baseline) * 1024.0 / kTrailPins;
}
BENCHMARK(ResidentMemoryWithTrailLoaded)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
