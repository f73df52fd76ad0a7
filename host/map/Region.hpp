#pragma once
// A region is one imported map area: a folder $XDG_DATA_HOME/orvo/regions/NAME holding the
// Routino routing database (PREFIX-nodes.mem, ...), the map tiles (an MBTiles file), the import
// log and region.json. region.json is written last, so a folder without it is not a region.
//
// region.json:
//   { "format": 1, "name": "monaco",
//     "bounds": { "west": 7.349, "south": 43.71, "east": 7.491, "north": 43.77 },
//     "centre": { "latitude": 43.74, "longitude": 7.42 },
//     "minZoom": 12, "maxZoom": 16,
//     "tilesFile": "map.mbtiles", "routingPrefix": "routino", "logFile": "import.log",
//     "sourceFile": "/home/.../monaco.osm.pbf", "builtTime": "2026-01-31T12:00:00Z" }
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/map/GeoTypes.hpp"

namespace orvo::host::map {

class RegionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline constexpr const char* kRegionFileName = "region.json";

struct Region {
  std::string name;
  std::filesystem::path folder;
  GeoBounds bounds;
  GeoPoint centre;
  int minZoom = 0;
  int maxZoom = 0;
  std::string tilesFile;      // file name inside the folder
  std::string routingPrefix;  // Routino's --prefix for the database files inside the folder
  std::string logFile;        // the tools' output during the import
  std::string sourceFile;     // the OSM PBF it was built from
  std::string builtTime;      // UTC, ISO 8601

  std::filesystem::path TilesPath() const { return folder / tilesFile; }
  std::filesystem::path LogPath() const { return folder / logFile; }
};

// $XDG_DATA_HOME/orvo/regions.
std::filesystem::path RegionsFolder();

// Names become folder names: letters, digits, '.', '_' and '-', not starting with '.', at most
// 64 characters.
bool IsValidRegionName(std::string_view name);

// Reads FOLDER/region.json; throws RegionError naming the file when it is missing or damaged.
Region ReadRegion(const std::filesystem::path& folder);

// The region NAME in REGIONS_FOLDER; throws RegionError saying how to import one if absent.
Region OpenRegion(std::string_view name,
                  const std::filesystem::path& regionsFolder = RegionsFolder());

// Names of the complete regions (folders with a region.json), sorted.
std::vector<std::string> ListRegionNames(
    const std::filesystem::path& regionsFolder = RegionsFolder());

// Writes REGION.folder/region.json through a temporary file renamed over it.
void WriteRegion(const Region& region);

}  // namespace orvo::host::map
