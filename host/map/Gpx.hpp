#pragma once
// The map document as GPX 1.1, for other mapping programs and GPS receivers, and routes read
// back from GPX.
//
// Each pin is a <wpt lat lon> with <name>, <desc> (the note, when there is one) and <sym>, the
// symbol's name in ORVO's catalogue ("Circle, Red", "Stop Sign", "Arrow NE"), or its number as
// text for a number outside the catalogue. The active route, when it has waypoints, is an <rte>
// of them (<type> Start, Stop or End). Once calculated, a second <rte> holds its directions in
// order (<name> the instruction, <desc> the target, <type> the action) and a <trk> the road.
// Text is escaped for XML; characters XML cannot carry (control characters, broken UTF-8)
// become U+FFFD; a carriage return is kept as "&#13;".
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/map/MapDocument.hpp"

namespace orvo::host::map {

std::string SymbolName(int symbol);
std::string MapAsGpx(const MapDocument& map);
// Written through a temporary file renamed over FILE; throws std::system_error on failure.
void ExportGpx(const MapDocument& map, const std::filesystem::path& file);

// A GPX file that cannot be read or holds no points: the message says which and why.
class GpxError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The points of the file's first route (<rte> with <rtept>s), or, when it has none, its
// waypoints (<wpt>), with their names. Throws GpxError.
std::vector<Waypoint> ReadGpxRoute(const std::filesystem::path& file);
// Replaces the route's waypoints by those of FILE; on any error the route stays as it was.
// Returns how many waypoints it now has.
std::size_t ImportGpxRoute(RoutePlan& plan, const std::filesystem::path& file);

}  // namespace orvo::host::map
