#pragma once
// Pushpin symbol numbers of the position pin and the trail: arrows by heading, and the
// state-coloured shapes by fix state (the same colours as the state lamp).
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace orvo::tracking {

// By heading sector 0..7, sector k centred on k x 45 degrees of course (0 north, 2 east).
inline constexpr std::array<std::int16_t, 8> kHeadingSymbol = {120, 128, 123, 130,
                                                               121, 131, 122, 129};
// By FixMode 0..3, added to a symbol base.
inline constexpr std::array<std::int16_t, 4> kGpsStateSymbolOffset = {0, 1, 2, 6};

inline constexpr std::int16_t kPositionPinSymbolBase = 24;
inline constexpr std::int16_t kStopPinSymbol = 65;
// Below this speed a course means little: the heading style shows the fix state instead.
inline constexpr double kHeadingSpeedFloorKnots = 0.38;

// Offset of a fix state; out_of_range outside 0..3 (the parser guarantees that range).
inline std::int16_t GpsStateSymbolOffset(int fixMode) {
  if (fixMode < 0 || fixMode > 3)
    throw std::out_of_range("fix state " + std::to_string(fixMode) + " is not 0 to 3");
  return kGpsStateSymbolOffset[static_cast<std::size_t>(fixMode)];
}

// The arrow for a course in degrees: course / 45 rounded half to even, 8 wrapping to 0 (north).
// out_of_range for a course that gives no sector 0..7.
std::int16_t HeadingSymbol(double courseDegrees);

// The position pin's symbol: the arrow when the style is by heading (1) and the vehicle moves at
// 0.38 knots or more, otherwise the state shape (25, 26, 30 for FixMode 1, 2, 3).
std::int16_t PositionPinSymbol(std::int16_t posPPStyle, int fixMode, double speedKnots,
                               double courseDegrees);

}  // namespace orvo::tracking
