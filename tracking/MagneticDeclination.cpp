#include "tracking/MagneticDeclination.hpp"

#include "host/declination/DecimalYear.hpp"

namespace orvo::tracking {

ModelDeclination::ModelDeclination(std::filesystem::path modelFile)
    : modelFile_(std::move(modelFile)) {}

DeclinationLookup::Result ModelDeclination::Declination(double latitude, double longitude,
                                                        host::platform::DateValue when) {
  Result result;
  if (!model_ && !modelFailed_) {
    try {
      model_ = host::declination::WorldMagneticModel::LoadFile(modelFile_);
    } catch (const std::exception& error) {
      // Tried once: without the model there is no magnetic heading, and one report is enough.
      modelFailed_ = true;
      result.failure = error.what();
    }
  }
  if (!model_) return result;
  const auto civil = when.ToCivil();
  const auto year = host::declination::DecimalYear(civil.year, civil.month, civil.day, civil.hour,
                                                   civil.minute, civil.second);
  if (year) result.degrees = model_->DeclinationDegrees(latitude, longitude, 0.0, *year);
  return result;
}

}  // namespace orvo::tracking
