// Magnetic model evaluations per second (items_per_second in the report).
#include <benchmark/benchmark.h>

#include <filesystem>

#include "host/declination/WorldMagneticModel.hpp"
#include "tests/BuildPaths.hpp"

namespace {

using orvo::host::declination::WorldMagneticModel;

const WorldMagneticModel& Model() {
  static const WorldMagneticModel model =
      WorldMagneticModel::LoadFile(std::filesystem::path(ORVO_SOURCE_DIR) / "data" / "WMM2025.COF");
  return model;
}

void EvaluateDeclination(benchmark::State& state) {
  const WorldMagneticModel& model = Model();
  // Walk over the globe so that no evaluation repeats the previous one.
  double latitude = -80.0;
  double longitude = -180.0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(model.FieldAt(latitude, longitude, 0.2, 2026.5));
    latitude = latitude >= 80.0 ? -80.0 : latitude + 0.37;
    longitude = longitude >= 180.0 ? -180.0 : longitude + 1.13;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(EvaluateDeclination);

void LoadCoefficientFile(benchmark::State& state) {
  const auto path = std::filesystem::path(ORVO_SOURCE_DIR) / "data" / "WMM2025.COF";
  for (auto _ : state) benchmark::DoNotOptimize(WorldMagneticModel::LoadFile(path));
}
BENCHMARK(LoadCoefficientFile);

}  // namespace
