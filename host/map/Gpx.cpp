#include "host/map/Gpx.hpp"

#include <array>
#include <charconv>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "host/map/RouteJson.hpp"
#include "host/platform/Files.hpp"
#include "host/platform/Text.hpp"

namespace orvo::host::map {
namespace {

// The catalogue's shapes (symbol / 8) and colours (symbol % 8) for symbols 0..63.
constexpr std::array<const char*, 8> kShapes = {"Circle", "Square", "Triangle", "Diamond",
                                                "Star",   "Flag",   "Pin",      "Cross"};
constexpr std::array<const char*, 8> kColours = {"Grey", "Red",     "Yellow", "Blue",
                                                 "Cyan", "Magenta", "Green",  "White"};
constexpr int kStopSign = 65;
constexpr int kFirstArrow = 120;
// Arrows 120..131 by the direction they point; 124..127 are not in the catalogue.
constexpr std::array<const char*, 12> kArrows = {"N",     "S",     "W",  "E",  nullptr, nullptr,
                                                 nullptr, nullptr, "NE", "NW", "SE",    "SW"};

const char* const kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// Length of the valid UTF-8 sequence at TEXT[AT], or 0.
std::size_t Utf8Length(std::string_view text, std::size_t at) {
  const auto byte = [&text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char lead = byte(at);
  std::size_t length = 0;
  std::uint32_t codePoint = 0;
  if (lead < 0x80) return 1;
  if ((lead & 0xE0) == 0xC0) {
    length = 2;
    codePoint = lead & 0x1F;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    codePoint = lead & 0x0F;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    codePoint = lead & 0x07;
  } else {
    return 0;
  }
  if (at + length > text.size()) return 0;
  for (std::size_t index = 1; index < length; ++index) {
    if ((byte(at + index) & 0xC0) != 0x80) return 0;
    codePoint = (codePoint << 6) | (byte(at + index) & 0x3F);
  }
  constexpr std::array<std::uint32_t, 5> kShortest = {0, 0, 0x80, 0x800, 0x10000};
  if (codePoint < kShortest[length] || codePoint > 0x10FFFF ||
      (codePoint >= 0xD800 && codePoint <= 0xDFFF) || codePoint == 0xFFFE || codePoint == 0xFFFF)
    return 0;
  return length;
}

std::string Escaped(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const char character = text[at];
    switch (character) {
      case '&':
        escaped += "&amp;";
        ++at;
        continue;
      case '<':
        escaped += "&lt;";
        ++at;
        continue;
      case '>':
        escaped += "&gt;";
        ++at;
        continue;
      case '"':
        escaped += "&quot;";
        ++at;
        continue;
      case '\'':
        escaped += "&apos;";
        ++at;
        continue;
      case '\r':
        escaped += "&#13;";
        ++at;
        continue;  // a reader would turn a bare one into \n
      case '\t':
      case '\n':
        escaped += character;
        ++at;
        continue;
      default:
        break;
    }
    const std::size_t length = Utf8Length(text, at);
    if (length == 0 || static_cast<unsigned char>(character) < 0x20) {
      escaped += kReplacement;
      ++at;
    } else {
      escaped.append(text, at, length);
      at += length;
    }
  }
  return escaped;
}

// The shortest text that reads back as the same double.
std::string Number(double value) {
  std::array<char, 32> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return error == std::errc{} ? std::string(buffer.data(), end) : "0";
}

constexpr std::array<const char*, 13> kActionNames = {
    "other",     "depart",           "arrive",         "turn left", "turn right",
    "bear left", "bear right",       "merge",          "continue",  "cross border",
    "U-turn",    "enter roundabout", "exit roundabout"};

std::string Point(const char* element, const GeoPoint& point) {
  return "<" + std::string(element) + " lat=\"" + Number(point.latitudeDegrees) + "\" lon=\"" +
         Number(point.longitudeDegrees) + "\"";
}

void AddDirections(const std::vector<Direction>& directions, std::string& gpx) {
  for (const Direction& direction : directions) {
    const auto action = static_cast<std::size_t>(direction.action);
    gpx += "    " + Point("rtept", direction.location) + ">\n";
    gpx += "      <name>" + Escaped(direction.text) + "</name>\n";
    if (!direction.target.empty()) gpx += "      <desc>" + Escaped(direction.target) + "</desc>\n";
    gpx += std::string("      <type>") +
           (action < kActionNames.size() ? kActionNames[action] : "other") + "</type>\n";
    gpx += "    </rtept>\n";
    AddDirections(direction.nested, gpx);
  }
}

void AddRoute(const RoutePlan& plan, std::string& gpx) {
  if (plan.Count() == 0) return;
  gpx += "  <rte>\n    <name>Route</name>\n";
  for (const Waypoint& waypoint : plan.Waypoints()) {
    gpx += "    " + Point("rtept", waypoint.location) + ">\n";
    gpx += "      <name>" + Escaped(waypoint.name) + "</name>\n";
    gpx += std::string("      <type>") + WaypointTypeName(waypoint.type) + "</type>\n";
    gpx += "    </rtept>\n";
  }
  gpx += "  </rte>\n";
  if (!plan.IsCalculated()) return;
  const RouteCalculation& calculation = *plan.Calculation();
  gpx += "  <rte>\n    <name>Directions</name>\n";
  AddDirections(calculation.directions, gpx);
  gpx += "  </rte>\n";
  gpx += "  <trk>\n    <name>Route</name>\n    <trkseg>\n";
  for (const GeoPoint& point : calculation.path) gpx += "      " + Point("trkpt", point) + "/>\n";
  gpx += "    </trkseg>\n  </trk>\n";
}

// The route's points among the children of <gpx>: the first <rte> that has <rtept>s, else the
// <wpt>s.
std::vector<Waypoint> PointsIn(const boost::property_tree::ptree& gpx,
                               const std::filesystem::path& file) {
  const auto read = [&file](const boost::property_tree::ptree& node, std::size_t number) {
    // XML Schema decimals may stand between blanks.
    const auto attribute = [&node](const char* name) {
      return std::string(
          platform::Trim(node.get(std::string("<xmlattr>.") + name, ""), " \t\r\n"));
    };
    const std::string lat = attribute("lat");
    const std::string lon = attribute("lon");
    const auto location = ParseGeoPoint(lat + "," + lon);
    if (!location)
      throw GpxError(file.string() + ": point " + std::to_string(number) + " (lat \"" + lat +
                     "\", lon \"" + lon + "\") is not a place on the globe");
    return Waypoint{.name = node.get("name", ""), .location = *location};
  };
  std::vector<Waypoint> points;
  for (const auto& [element, route] : gpx) {
    if (element != "rte") continue;
    for (const auto& [child, node] : route)
      if (child == "rtept") points.push_back(read(node, points.size() + 1));
    if (!points.empty()) return points;
  }
  for (const auto& [element, node] : gpx)
    if (element == "wpt") points.push_back(read(node, points.size() + 1));
  return points;
}

}  // namespace

std::string SymbolName(int symbol) {
  if (symbol >= 0 && symbol < 64)
    return std::string(kShapes[symbol / 8]) + ", " + kColours[symbol % 8];
  if (symbol == kStopSign) return "Stop Sign";
  if (symbol >= kFirstArrow && symbol < kFirstArrow + static_cast<int>(kArrows.size()) &&
      kArrows[symbol - kFirstArrow])
    return std::string("Arrow ") + kArrows[symbol - kFirstArrow];
  return std::to_string(symbol);
}

std::string MapAsGpx(const MapDocument& map) {
  std::string gpx =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<gpx version=\"1.1\" creator=\"ORVO\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n";
  for (const auto& [id, pin] : map.Pins()) {
    gpx += "  " + Point("wpt", pin.location) + ">\n";
    gpx += "    <name>" + Escaped(pin.name) + "</name>\n";
    if (!pin.note.empty()) gpx += "    <desc>" + Escaped(pin.note) + "</desc>\n";
    gpx += "    <sym>" + Escaped(SymbolName(pin.symbol)) + "</sym>\n";
    gpx += "  </wpt>\n";
  }
  AddRoute(map.Plan(), gpx);
  gpx += "</gpx>\n";
  return gpx;
}

void ExportGpx(const MapDocument& map, const std::filesystem::path& file) {
  platform::WriteFileAtomically(file, MapAsGpx(map));
}

std::vector<Waypoint> ReadGpxRoute(const std::filesystem::path& file) {
  namespace xml = boost::property_tree::xml_parser;
  boost::property_tree::ptree tree;
  try {
    xml::read_xml(file.string(), tree, xml::trim_whitespace);
  } catch (const xml::xml_parser_error& error) {
    throw GpxError(file.string() + ": " + error.message() +
                   (error.line() > 0 ? " (line " + std::to_string(error.line()) + ")" : ""));
  }
  const auto gpx = tree.get_child_optional("gpx");
  if (!gpx) throw GpxError(file.string() + ": not a GPX file (no <gpx> element)");
  std::vector<Waypoint> points = PointsIn(*gpx, file);
  if (points.empty()) throw GpxError(file.string() + ": the file holds no route and no waypoints");
  return points;
}

std::size_t ImportGpxRoute(RoutePlan& plan, const std::filesystem::path& file) {
  const std::vector<Waypoint> points = ReadGpxRoute(file);  // every point checked before
  plan.Clear();
  for (const Waypoint& point : points) plan.Add(point.location, point.name);
  return plan.Count();
}

}  // namespace orvo::host::map
