#include "host/map/Gpx.hpp"

#include <array>
#include <charconv>

#include "host/platform/Files.hpp"

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

std::string PinsAsGpx(const MapDocument& map) {
  std::string gpx =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<gpx version=\"1.1\" creator=\"ORVO\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n";
  for (const auto& [id, pin] : map.Pins()) {
    gpx += "  <wpt lat=\"" + Number(pin.location.latitudeDegrees) + "\" lon=\"" +
           Number(pin.location.longitudeDegrees) + "\">\n";
    gpx += "    <name>" + Escaped(pin.name) + "</name>\n";
    if (!pin.note.empty()) gpx += "    <desc>" + Escaped(pin.note) + "</desc>\n";
    gpx += "    <sym>" + Escaped(SymbolName(pin.symbol)) + "</sym>\n";
    gpx += "  </wpt>\n";
  }
  gpx += "</gpx>\n";
  return gpx;
}

void ExportGpx(const MapDocument& map, const std::filesystem::path& file) {
  platform::WriteFileAtomically(file, PinsAsGpx(map));
}

}  // namespace orvo::host::map
