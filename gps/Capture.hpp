#pragma once
// The capture file: raw received text appended exactly as it came.
#include <filesystem>
#include <string_view>

#include "host/platform/Files.hpp"

namespace orvo::gps {

// What the file chooser offers for captures and playback.
inline constexpr const char* kNmeaFileFilter =
    "NMEA (*.nmea)|*.nmea|Text (*.txt)| *.txt|All (*.*)|*.*";

// Appends `text` after the file's last byte, creating the file when needed; std::system_error
// with the reason on failure. The caller decides whether a failure is ignored.
inline void AppendToFile(const std::filesystem::path& file, std::string_view text) {
  host::platform::AppendToFile(file, text);
}

}  // namespace orvo::gps
