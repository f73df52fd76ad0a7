#pragma once
// The readings as the main window shows them, in the user's current units: what pin notes and
// the trace settings dialog take from the readings without knowing how they are formatted.
#include <cstdint>
#include <string>

namespace orvo::tracking {

struct TextWithUnit {
  std::string text;
  std::string unit;  // the suffix shown after the value (" ft", " \u00B0 ", a hemisphere...)
};

class ReadingsText {
 public:
  virtual ~ReadingsText() = default;
  virtual TextWithUnit Latitude() const = 0;
  virtual TextWithUnit Longitude() const = 0;
  virtual TextWithUnit Elevation() const = 0;
  virtual std::string Speed() const = 0;
  // The speed unit shown on the main window ("MPH", "KmH", "Kt").
  virtual std::string SpeedUnit() const = 0;
  virtual std::string Heading() const = 0;
  // 0 feet, 1 metres: also the unit of the trail's distance and stop-speed settings.
  virtual std::int16_t ElevationUnit() const = 0;
};

}  // namespace orvo::tracking
