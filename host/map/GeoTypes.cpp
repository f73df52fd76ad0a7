#include "host/map/GeoTypes.hpp"

#include <charconv>
#include <cmath>

namespace orvo::host::map {
namespace {

bool ParseNumber(std::string_view text, double& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc{} && end == text.data() + text.size() && std::isfinite(value);
}

}  // namespace

std::optional<GeoPoint> ParseGeoPoint(std::string_view text) {
  const std::size_t comma = text.find(',');
  GeoPoint point;
  if (comma == std::string_view::npos ||
      !ParseNumber(text.substr(0, comma), point.latitudeDegrees) ||
      !ParseNumber(text.substr(comma + 1), point.longitudeDegrees) ||
      std::abs(point.latitudeDegrees) > 90.0 || std::abs(point.longitudeDegrees) > 180.0)
    return std::nullopt;
  return point;
}

}  // namespace orvo::host::map
