#include "host/serial/SerialSettings.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <vector>

namespace orvo::host::serial {
namespace {

// The rates termios names with a B constant on Linux, from 110 up. The very slow ones below 110
// (50, 75, 134.5) belong to teleprinters, never to a GPS receiver, and 134.5 could not be typed
// as a whole number anyway.
constexpr std::array kStandardBaudRates{110,    150,    200,    300,    600,   1200,  1800,
                                        2400,   4800,   9600,   19200,  38400, 57600, 115200,
                                        230400, 460800, 500000, 576000, 921600};

constexpr std::string_view kExpectedForm =
    "expected \"baud,parity,data bits,stop bits\" such as \"4800,n,8,1\"";

std::vector<std::string_view> SplitFields(std::string_view text) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t comma = text.find(',');
    fields.push_back(text.substr(0, comma));
    if (comma == std::string_view::npos) return fields;
    text.remove_prefix(comma + 1);
  }
}

std::optional<int> WholeNumber(std::string_view field) {
  int value = 0;
  const char* end = field.data() + field.size();
  const auto [stop, error] = std::from_chars(field.data(), end, value);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return value;
}

// The text in double quotes with control and non-ASCII bytes shown as \xNN, so that a stray NUL
// or line end cannot cut or garble the message.
std::string Quoted(std::string_view text) {
  static constexpr char kHexDigits[] = "0123456789ABCDEF";
  std::string quoted = "\"";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte >= 0x7F || byte == '"' || byte == '\\') {
      quoted += "\\x";
      quoted += kHexDigits[byte >> 4];
      quoted += kHexDigits[byte & 0x0F];
    } else {
      quoted += character;
    }
  }
  return quoted + '"';
}

[[noreturn]] void Refuse(std::string_view text, const std::string& why) {
  throw SerialError("serial settings " + Quoted(text) + ": " + why);
}

std::string BaudRateList() {
  std::string list;
  for (const int rate : kStandardBaudRates) {
    if (!list.empty()) list += ", ";
    list += std::to_string(rate);
  }
  return list;
}

}  // namespace

std::span<const int> StandardBaudRates() {
  return kStandardBaudRates;
}

SerialSettings ParseSerialSettings(std::string_view text) {
  if (text.empty()) throw SerialError("serial settings are empty; " + std::string(kExpectedForm));
  const std::vector<std::string_view> fields = SplitFields(text);
  if (fields.size() != 4) {
    Refuse(text, std::to_string(fields.size()) + (fields.size() == 1 ? " field" : " fields") +
                     " where 4 are needed; " + std::string(kExpectedForm));
  }
  static constexpr std::array kFieldNames{"baud rate", "parity", "data bits", "stop bits"};
  for (std::size_t index = 0; index < fields.size(); ++index) {
    if (fields[index].empty()) Refuse(text, std::string(kFieldNames[index]) + " is missing");
  }

  SerialSettings settings;
  const std::optional<int> baudRate = WholeNumber(fields[0]);
  if (!baudRate || std::ranges::find(kStandardBaudRates, *baudRate) == kStandardBaudRates.end()) {
    Refuse(text, "baud rate " + Quoted(fields[0]) + " is not one of " + BaudRateList());
  }
  settings.baudRate = *baudRate;

  const std::string_view parity = fields[1];
  const int parityLetter =
      parity.size() == 1 ? std::tolower(static_cast<unsigned char>(parity.front())) : 0;
  switch (parityLetter) {
    case 'n':
      settings.parity = Parity::None;
      break;
    case 'e':
      settings.parity = Parity::Even;
      break;
    case 'o':
      settings.parity = Parity::Odd;
      break;
    case 'm':
      settings.parity = Parity::Mark;
      break;
    case 's':
      settings.parity = Parity::Space;
      break;
    default:
      Refuse(text, "parity " + Quoted(parity) +
                       " is not one of n (none), e (even), o (odd), m (mark), s (space)");
  }

  const std::optional<int> dataBits = WholeNumber(fields[2]);
  if (!dataBits || *dataBits < 5 || *dataBits > 8) {
    Refuse(text, "data bits " + Quoted(fields[2]) + " must be 5, 6, 7 or 8");
  }
  settings.dataBits = *dataBits;

  const std::string_view stopBits = fields[3];
  if (stopBits == "1") {
    settings.stopBits = StopBits::One;
  } else if (stopBits == "1.5") {
    settings.stopBits = StopBits::OneAndHalf;
  } else if (stopBits == "2") {
    settings.stopBits = StopBits::Two;
  } else {
    Refuse(text, "stop bits " + Quoted(stopBits) + " must be 1, 1.5 or 2");
  }
  return settings;
}

std::string FormatSerialSettings(const SerialSettings& settings) {
  static constexpr std::array kParityLetters{"n", "e", "o", "m", "s"};
  static constexpr std::array kStopBits{"1", "1.5", "2"};
  return std::to_string(settings.baudRate) + "," +
         kParityLetters[static_cast<std::size_t>(settings.parity)] + "," +
         std::to_string(settings.dataBits) + "," +
         kStopBits[static_cast<std::size_t>(settings.stopBits)];
}

}  // namespace orvo::host::serial
