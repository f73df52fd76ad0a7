#pragma once
// The capture file: raw received text appended exactly as it came.
#include <filesystem>
#include <string_view>

namespace orvo::gps {

// What the file chooser offers for captures and playback.
inline constexpr const char* kNmeaFileFilter =
    "NMEA (*.nmea)|*.nmea|Text (*.txt)| *.txt|All (*.*)|*.*";

// Appends `text` after the file's last byte, creating the file when needed. With
// `ignoreErrors` a failure is silent; otherwise it throws std::system_error with the reason.
void AppendToFile(const std::filesystem::path& file, std::string_view text, bool ignoreErrors);

}  // namespace orvo::gps
