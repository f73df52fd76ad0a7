#pragma once
// Lines and points drawn by bearing on the main window (twips, vertical axis down).
#include <cmath>
#include <utility>

#include "host/ui/Control.hpp"

namespace orvo::tracking {

// The heading needle, the sky plot and its heading line all use this value of pi, so that their
// points land on the same twips as they always did.
inline constexpr double kPi = 3.14159;

// The point `distance` away from (x, y) towards `bearingDegrees`: 0 up, 90 right.
inline std::pair<double, double> PointOnBearing(double x, double y, double distance,
                                                double bearingDegrees) {
  const double angle = (bearingDegrees - 90) * kPi / 180;
  return {x + distance * std::cos(angle), y + distance * std::sin(angle)};
}

// Turns a line about its fixed start point to point `length` twips towards `bearingDegrees`.
inline void PointLine(host::ui::Line& line, double length, double bearingDegrees) {
  const auto [x2, y2] = PointOnBearing(line.X1(), line.Y1(), length, bearingDegrees);
  line.SetEnd(x2, y2);
}

}  // namespace orvo::tracking
