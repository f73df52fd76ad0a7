#pragma once
// The magnetic declination behind the magnetic heading: the World Magnetic Model, read from its
// coefficient file on first need and kept.
#include <filesystem>
#include <optional>
#include <string>

#include "host/declination/WorldMagneticModel.hpp"
#include "host/platform/DateValue.hpp"

namespace orvo::tracking {

class DeclinationLookup {
 public:
  struct Result {
    std::optional<double> degrees;  // east positive; nothing when there is no trustworthy value
    std::string failure;            // why the source cannot answer at all, said once
  };
  virtual ~DeclinationLookup() = default;
  // At a place (decimal degrees) on a local date and time.
  virtual Result Declination(double latitude, double longitude, host::platform::DateValue when) = 0;
};

class ModelDeclination final : public DeclinationLookup {
 public:
  explicit ModelDeclination(
      std::filesystem::path modelFile = host::declination::WorldMagneticModel::DefaultFilePath());
  Result Declination(double latitude, double longitude, host::platform::DateValue when) override;
  bool ModelLoaded() const { return model_.has_value(); }

 private:
  std::filesystem::path modelFile_;
  std::optional<host::declination::WorldMagneticModel> model_;
  bool modelFailed_ = false;
};

}  // namespace orvo::tracking
