#pragma once
// The sea of a region. An OpenStreetMap extract holds the shore as coastline ways
// (natural=coastline, land on the left when walking along the way), never as sea areas, and its
// coastline is cut open wherever the extract's bounds cut it. The import joins the ways, clips
// them to the bounds, closes the open ends along the bounds going round the water side, and
// hands the resulting sea polygons to tilemaker as a shapefile.
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/map/GeoTypes.hpp"

namespace orvo::host::map {

// A point in plain longitude (x) and latitude (y) degrees.
struct SeaPoint {
  double x = 0.0;
  double y = 0.0;
  friend bool operator==(const SeaPoint&, const SeaPoint&) = default;
};

using SeaLine = std::vector<SeaPoint>;

// Closed rings (last point = first) in the shapefile's orientation: the outer ring clockwise,
// the islands in it anticlockwise (north up).
struct SeaPolygon {
  SeaLine outer;
  std::vector<SeaLine> islands;
};

// The sea inside BOX from the coastline ways as they come in the extract, in any order. Without
// any coastline there is no sea; a box crossed by none but holding whole islands is sea around
// them.
std::vector<SeaPolygon> BuildSea(const std::vector<SeaLine>& coastlineWays, const GeoBounds& box);

// Twice the signed area in square degrees: positive for an anticlockwise ring.
double SignedArea(const SeaLine& ring);

// What an extract holds for its sea: its bounds and its coastline ways.
struct ExtractCoastline {
  GeoBounds bounds;
  bool boundsFromHeader = false;  // else the extent of its nodes
  std::vector<SeaLine> ways;
};

// Reads the bounds and the coastline ways of an OSM PBF extract. Throws std::runtime_error with
// a message when the file cannot be read; nullopt when the extract holds no nodes at all.
std::optional<ExtractCoastline> ReadExtractCoastline(const std::filesystem::path& pbf);

// tilemaker's configuration reads the sea from FOLDER/sea.shp, FOLDER being where it runs.
inline constexpr const char* kSeaShapefile = "sea";

struct SeaFile {
  std::string summary;                      // what was made, one line for the import log
  std::optional<GeoBounds> unstatedBounds;  // the bounds used when the extract's header has none
};

// The import's sea step: reads PBF's coastline, closes it into sea and writes FOLDER/sea.shp
// (without polygons when there is no sea). Throws std::runtime_error with a message.
SeaFile MakeSeaFile(const std::filesystem::path& pbf, const std::filesystem::path& folder);
void RemoveSeaFile(const std::filesystem::path& folder);

// "west,south,east,north", as tilemaker's --bbox takes it.
std::string BoundsText(const GeoBounds& bounds);

// Writes POLYGONS as a polygon shapefile BASE.shp (with .shx and .dbf; the attribute "class" is
// "sea"). Throws std::runtime_error when it cannot.
void WriteSeaShapefile(const std::filesystem::path& base, const std::vector<SeaPolygon>& polygons);

}  // namespace orvo::host::map
