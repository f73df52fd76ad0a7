#pragma once
// The map's pushpins as GPX 1.1 waypoints, for other mapping programs and GPS receivers.
//
// Each pin is a <wpt lat lon> with <name>, <desc> (the note, when there is one) and <sym>, the
// symbol's name in ORVO's catalogue ("Circle, Red", "Stop Sign", "Arrow NE"), or its number as
// text for a number outside the catalogue. Text is escaped for XML; characters XML cannot carry
// (control characters, broken UTF-8) become U+FFFD; a carriage return is kept as "&#13;".
#include <filesystem>
#include <string>

#include "host/map/MapDocument.hpp"

namespace orvo::host::map {

std::string SymbolName(int symbol);
std::string PinsAsGpx(const MapDocument& map);
// Written through a temporary file renamed over FILE; throws std::system_error on failure.
void ExportGpx(const MapDocument& map, const std::filesystem::path& file);

}  // namespace orvo::host::map
