// Route files for the simulator: GPX track or route points, or text with one point a line.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>

#include "gps/NmeaSimulatorParts.hpp"
#include "host/platform/Text.hpp"

namespace orvo::gps {

namespace simulator {

void CheckCoordinates(double latitudeDeg, double longitudeDeg, const std::string& where) {
  if (latitudeDeg < -90.0 || latitudeDeg > 90.0) {
    throw SimulationError(where + "latitude " + Format("%g", latitudeDeg) +
                          " is outside -90 to 90");
  }
  if (longitudeDeg < -180.0 || longitudeDeg > 180.0) {
    throw SimulationError(where + "longitude " + Format("%g", longitudeDeg) +
                          " is outside -180 to 180");
  }
}

}  // namespace simulator

namespace {

using host::platform::Trim;
using simulator::CheckCoordinates;
using simulator::Format;

std::optional<double> ParseNumber(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

std::string Quote(std::string_view text) {
  constexpr std::size_t kShown = 40;  // enough to recognise the token, short enough for a line
  return "\"" + std::string(text.substr(0, kShown)) + (text.size() > kShown ? "...\"" : "\"");
}

std::vector<RoutePoint> ParseTextRoute(std::string_view text) {
  std::vector<RoutePoint> points;
  int lineNumber = 0;
  while (!text.empty()) {
    ++lineNumber;
    const auto lineEnd = text.find('\n');
    std::string_view line = text.substr(0, lineEnd);
    text.remove_prefix(lineEnd == std::string_view::npos ? text.size() : lineEnd + 1);
    line = Trim(line.substr(0, line.find('#')));
    if (line.empty()) continue;

    const std::string where = "line " + std::to_string(lineNumber) + ": ";
    // "lat lon", "lat,lon" and "lat, lon" all split into the same tokens.
    std::vector<std::string_view> tokens;
    std::size_t position = 0;
    while (position < line.size()) {
      const auto start = line.find_first_not_of(" \t,", position);
      if (start == std::string_view::npos) break;
      const auto end = line.find_first_of(" \t,", start);
      tokens.push_back(line.substr(start, end - start));
      position = end == std::string_view::npos ? line.size() : end;
    }
    if (tokens.size() < 2 || tokens.size() > 3) {
      throw SimulationError(where +
                            "expected \"lat lon\" or \"lat,lon\" (and an optional "
                            "altitude), found " +
                            Quote(line));
    }
    std::array<double, 3> values{};
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      const auto value = ParseNumber(tokens[i]);
      if (!value) throw SimulationError(where + Quote(tokens[i]) + " is not a number");
      values[i] = *value;
    }
    CheckCoordinates(values[0], values[1], where);
    RoutePoint point{values[0], values[1], std::nullopt};
    if (tokens.size() == 3) point.altitudeM = values[2];
    points.push_back(point);
  }
  return points;
}

int LineOf(std::string_view text, std::size_t position) {
  return 1 + static_cast<int>(
                 std::count(text.begin(), text.begin() + static_cast<long>(position), '\n'));
}

// The value of attribute `name` in the inside of a start tag (`trkpt lat="1" lon='2'`).
std::optional<std::string_view> Attribute(std::string_view tag, std::string_view name) {
  std::size_t position = tag.find_first_of(" \t\r\n");
  while (position != std::string_view::npos && position < tag.size()) {
    const auto nameStart = tag.find_first_not_of(" \t\r\n/", position);
    if (nameStart == std::string_view::npos) return std::nullopt;
    const auto equals = tag.find('=', nameStart);
    if (equals == std::string_view::npos) return std::nullopt;
    const std::string_view attributeName = Trim(tag.substr(nameStart, equals - nameStart));
    const auto quoteStart = tag.find_first_of("\"'", equals);
    if (quoteStart == std::string_view::npos) return std::nullopt;
    const auto quoteEnd = tag.find(tag[quoteStart], quoteStart + 1);
    if (quoteEnd == std::string_view::npos) return std::nullopt;
    if (attributeName == name) return tag.substr(quoteStart + 1, quoteEnd - quoteStart - 1);
    position = quoteEnd + 1;
  }
  return std::nullopt;
}

// GPX read with a small scanner rather than an XML library: only trkpt/rtept attributes and
// their <ele> are needed, and comments and CDATA are skipped so that they cannot add points.
std::vector<RoutePoint> ParseGpxRoute(std::string_view text) {
  std::vector<RoutePoint> trackPoints;
  std::vector<RoutePoint> routePoints;
  RoutePoint* openPoint = nullptr;
  std::size_t position = 0;
  while ((position = text.find('<', position)) != std::string_view::npos) {
    const std::string where = "line " + std::to_string(LineOf(text, position)) + ": ";
    const std::string_view rest = text.substr(position);
    std::string_view terminator = ">";
    if (rest.starts_with("<!--")) terminator = "-->";
    if (rest.starts_with("<![CDATA[")) terminator = "]]>";
    const auto end = text.find(terminator, position + 1);
    if (end == std::string_view::npos) throw SimulationError(where + "unterminated markup");
    const std::string_view tag = text.substr(position + 1, end - position - 1);
    position = end + terminator.size();
    if (terminator != ">" || tag.starts_with('?') || tag.starts_with('!')) continue;

    const bool closing = tag.starts_with('/');
    std::string_view name = tag.substr(closing ? 1 : 0);
    name = name.substr(0, name.find_first_of(" \t\r\n/"));
    if (const auto colon = name.find(':'); colon != std::string_view::npos) {
      name.remove_prefix(colon + 1);  // gpx:trkpt
    }
    if (closing) {
      if (name == "trkpt" || name == "rtept") openPoint = nullptr;
      continue;
    }
    if (name == "trkpt" || name == "rtept") {
      std::array<double, 2> values{};
      for (std::size_t i = 0; i < 2; ++i) {
        const std::string_view attribute = i == 0 ? "lat" : "lon";
        const auto valueText = Attribute(tag, attribute);
        if (!valueText) {
          throw SimulationError(where + "<" + std::string(name) + "> has no " +
                                std::string(attribute) + " attribute");
        }
        const auto value = ParseNumber(Trim(*valueText));
        if (!value) {
          throw SimulationError(where + std::string(attribute) + "=" + Quote(*valueText) +
                                " is not a number");
        }
        values[i] = *value;
      }
      CheckCoordinates(values[0], values[1], where);
      auto& list = name == "trkpt" ? trackPoints : routePoints;
      list.push_back({values[0], values[1], std::nullopt});
      openPoint = tag.ends_with('/') ? nullptr : &list.back();
      continue;
    }
    if (name == "ele" && openPoint != nullptr && !tag.ends_with('/')) {
      const auto valueEnd = text.find('<', position);
      const std::string_view valueText = Trim(text.substr(position, valueEnd - position));
      const auto value = ParseNumber(valueText);
      if (!value) throw SimulationError(where + "<ele> " + Quote(valueText) + " is not a number");
      openPoint->altitudeM = *value;
    }
  }
  if (trackPoints.empty() && routePoints.empty()) {
    throw SimulationError("the GPX file has no <trkpt> or <rtept> points");
  }
  return trackPoints.empty() ? routePoints : trackPoints;
}

}  // namespace

std::vector<RoutePoint> ParseRoute(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // UTF-8 byte order mark
  const std::string_view trimmed = Trim(text);
  std::vector<RoutePoint> points =
      trimmed.starts_with('<') ? ParseGpxRoute(text) : ParseTextRoute(text);
  if (points.size() < 2) {
    throw SimulationError("the route has " + std::to_string(points.size()) +
                          (points.size() == 1 ? " point" : " points") + "; at least 2 are needed");
  }
  return points;
}

std::vector<RoutePoint> LoadRoute(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw SimulationError(file.string() + ": cannot open the route file");
  std::ostringstream content;
  content << stream.rdbuf();
  if (stream.bad()) throw SimulationError(file.string() + ": cannot read the route file");
  try {
    return ParseRoute(content.str());
  } catch (const SimulationError& error) {
    throw SimulationError(file.string() + ": " + error.what());
  }
}

}  // namespace orvo::gps
