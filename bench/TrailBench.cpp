// One refresh tick of map tracking with the trail on, behind a trail of 100,000 cached pins: a
// day's drive at one pin per second. The tick must not slow down as the trail grows (the budget
// is 1 ms per tick in the server), so its cost here must not depend on the pins cached. Against
// the in-memory map double, so that only ORVO's own work is measured.
#include <benchmark/benchmark.h>

#include <memory>

#include "host/platform/DateValue.hpp"
#include "tests/tracking/TrackingFixture.hpp"

namespace {

using orvo::testing::TrackingFixture;

constexpr int kCachedPins = 100000;

// state.range(0): the pin limit (0 unlimited: the array grows; otherwise a full ring that
// deletes its oldest pin on every tick). state.range(1): names by GPS time and notes on.
void RefreshTickWithLongTrail(benchmark::State& state) {
  auto fixture = std::make_unique<TrackingFixture>();
  auto& options = fixture->options;
  options.byMoving = false;  // a pin on every tick: the most work the trail can do
  options.ppCacheLimit = static_cast<std::int32_t>(state.range(0));
  if (state.range(1) != 0) {
    options.ppName = 1;
    options.note = true;
  }
  fixture->window.sclTrackFactor.SetValue(0);  // "Auto" following: the pixel tests every tick
  fixture->fix.GpsDateTime = orvo::host::platform::DateValue::FromCivil(2026, 6, 14, 9, 30, 0);
  double latitude = 43.7;
  const auto tick = [&] {
    latitude += 0.00001;
    fixture->SetFix(latitude, 7.4, orvo::gps::kFixMode3D, 20, 45);
    fixture->tracker.UpdatePositionOnMap();
  };
  while (fixture->trail.Cache().Count() < kCachedPins) tick();

  for (auto _ : state) tick();
  state.counters["cached"] = fixture->trail.Cache().Count();
  state.counters["pinsOnMap"] = static_cast<double>(fixture->Map().PinCount());
  if (!fixture->Log().empty()) state.SkipWithError(fixture->Log().front().c_str());
}
BENCHMARK(RefreshTickWithLongTrail)
    ->ArgNames({"limit", "notes"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({kCachedPins, 0})
    ->Args({kCachedPins, 1})
    ->Unit(benchmark::kMicrosecond);

// Clearing a long trail, without the event processing of a page: the whole wipe per iteration.
void ClearLongTrail(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto fixture = std::make_unique<TrackingFixture>();
    for (int pin = 0; pin < kCachedPins; ++pin)
      fixture->trail.SavePPinCache(fixture->Map().AddPushpin({43.7, 7.4, 0}, std::nullopt));
    state.ResumeTiming();
    fixture->trail.ClearPushPins();
    state.PauseTiming();
    fixture.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kCachedPins);
}
BENCHMARK(ClearLongTrail)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
