#include "tracking/PinSymbols.hpp"

#include "host/platform/Numeric.hpp"

namespace orvo::tracking {

std::int16_t HeadingSymbol(double courseDegrees) {
  // Half to even, as whole numbers are rounded everywhere: 22.5 degrees is still north.
  double sector = host::platform::RoundHalfEven(courseDegrees / 45.0);
  if (sector == 8) sector = 0;
  if (!(sector >= 0 && sector <= 7))
    throw std::out_of_range("course " + std::to_string(courseDegrees) + " has no heading sector");
  return kHeadingSymbol[static_cast<std::size_t>(sector)];
}

std::int16_t PositionPinSymbol(std::int16_t posPPStyle, int fixMode, double speedKnots,
                               double courseDegrees) {
  if (posPPStyle == 1 && speedKnots >= kHeadingSpeedFloorKnots) return HeadingSymbol(courseDegrees);
  return static_cast<std::int16_t>(GpsStateSymbolOffset(fixMode) + kPositionPinSymbolBase);
}

}  // namespace orvo::tracking
