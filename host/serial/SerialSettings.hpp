#pragma once
#include <span>
#include <string>
#include <string_view>

#include "host/serial/SerialError.hpp"

namespace orvo::host::serial {

enum class Parity { None, Even, Odd, Mark, Space };
enum class StopBits { One, OneAndHalf, Two };

// One settings string "baud,parity,data,stop" such as "4800,n,8,1", taken apart.
struct SerialSettings {
  int baudRate = 4800;  // bits per second
  Parity parity = Parity::None;
  int dataBits = 8;
  StopBits stopBits = StopBits::One;

  friend bool operator==(const SerialSettings&, const SerialSettings&) = default;
};

// The baud rates a settings string may name, in ascending order: the standard termios rates
// from 110 to 921600 bits per second.
std::span<const int> StandardBaudRates();

// Parses "baud,parity,data,stop" strictly: exactly four comma-separated fields with no blanks;
// baud one of StandardBaudRates(); parity n, e, o, m or s in either case; data bits 5 to 8; stop
// bits 1, 1.5 or 2. Anything else throws SerialError naming the field at fault. Whether a device
// can do mark or space parity or 1.5 stop bits is decided when the port is opened.
SerialSettings ParseSerialSettings(std::string_view text);

// The settings in the same form, for messages ("4800,n,8,1").
std::string FormatSerialSettings(const SerialSettings& settings);

}  // namespace orvo::host::serial
