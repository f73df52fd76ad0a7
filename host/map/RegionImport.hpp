#pragma once
// Building a region from an OpenStreetMap PBF extract: the Routino database (planetsplitter),
// the sea closed from the extract's coastline (RegionSea.hpp), the map tiles (tilemaker with
// ORVO's data/tilemaker/config.json and process.lua, which read the sea from sea.shp), and last
// region.json.
//
// The region is built in a hidden folder beside its final place (REGIONS/.NAME.partial-XXXXXX)
// and renamed into place only when complete, replacing an older import of the same name in one
// step; an interrupted or failed import never leaves a region.json under REGIONS/NAME. When a
// tool fails, the partial folder keeps only the tools' log, whose path the error names; the next
// import of that name clears it away.
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/map/Region.hpp"
#include "host/map/RoutingDatabase.hpp"

namespace orvo::host::map {

class RegionImportError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The import stopped on SIGINT, SIGTERM or SIGHUP; nothing of it was kept.
class RegionImportInterrupted : public RegionImportError {
 public:
  using RegionImportError::RegionImportError;
};

struct RegionImportOptions {
  std::filesystem::path sourceFile;
  std::string name;                     // empty: the source file's name without .osm.pbf
  std::filesystem::path regionsFolder;  // empty: RegionsFolder()
  std::filesystem::path
      tilemakerFolder;  // config.json and process.lua; empty: AppFolder()/tilemaker
  std::filesystem::path routinoData = kRoutinoDataFolder;
};

// Receives one line of progress per step ("[1/5] routing database (planetsplitter) ...").
using ImportProgress = std::function<void(std::string_view line)>;

// File names inside a region folder.
inline constexpr const char* kTilesFileName = "map.mbtiles";
inline constexpr const char* kRoutingPrefix = "routino";
inline constexpr const char* kImportLogName = "import.log";

// Builds the region and returns it as it now stands in its folder. Throws RegionImportError with
// a message for the user (missing file, not a PBF, a tool missing or failing) and
// RegionImportInterrupted when a signal stopped it. While it runs, SIGINT, SIGTERM and SIGHUP
// stop the running tool and the import instead of the process; the previous handlers come back
// afterwards.
Region ImportRegion(const RegionImportOptions& options, const ImportProgress& progress = {});

// "monaco.osm.pbf" -> "monaco"; the default region name for a source file.
std::string RegionNameFromFile(const std::filesystem::path& sourceFile);

// True when FILE starts with an OpenStreetMap PBF header block.
bool IsOsmPbfFile(const std::filesystem::path& file);

}  // namespace orvo::host::map
