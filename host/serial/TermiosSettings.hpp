#pragma once
#include <termios.h>

#include <optional>
#include <string>

#include "host/serial/SerialSettings.hpp"

namespace orvo::host::serial {

// The termios speed constant for a baud rate, or nothing when termios has none.
std::optional<speed_t> TermiosSpeed(int baudRate);

// `current` turned into a raw 8-bit-clean line with the given framing: no echo, no line editing,
// no CR/LF translation, no software or hardware flow control, receiver on, modem lines ignored.
// Throws SerialError for framing termios cannot express on this system (1.5 stop bits; mark and
// space parity where CMSPAR is missing).
termios RawTermios(termios current, const SerialSettings& settings);

// What the device left out of `wanted` after tcsetattr, read back as `actual`: a phrase such as
// "mark parity" for the error message, or nothing when the device took every setting.
std::optional<std::string> RefusedSetting(const termios& wanted, const termios& actual);

}  // namespace orvo::host::serial
