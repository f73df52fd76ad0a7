#pragma once
// Read-only access to an MBTiles file (an SQLite database of map tiles with a metadata table).
// Tiles are addressed in XYZ numbering (row 0 at the north, as OpenLayers and web maps ask for
// them); the file stores TMS rows (row 0 at the south) and the flip happens here.
//
// One MbTiles object belongs to one thread at a time: it keeps a prepared statement.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/map/GeoTypes.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace orvo::host::map {

class MbTilesError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The metadata table's values that ORVO uses. A value missing or malformed in the file is empty.
struct MbTilesMetadata {
  std::string name;
  std::string format;  // "pbf" for vector tiles
  std::optional<GeoBounds> bounds;
  std::optional<GeoPoint> center;
  std::optional<int> centerZoom;
  std::optional<int> minZoom;
  std::optional<int> maxZoom;
  std::string json;  // the vector_layers description, as text
};

// One tile in XYZ numbering.
struct TileAddress {
  int zoom = 0;
  int x = 0;
  int y = 0;
};

// The tiles stored at one zoom, as inclusive XYZ column and row ranges.
struct TileRange {
  int zoom = 0;
  int minX = 0;
  int maxX = 0;
  int minY = 0;
  int maxY = 0;
};

class MbTiles {
 public:
  // Opens FILE read-only; throws MbTilesError naming the file if it is missing, not an SQLite
  // database, or lacks the tiles or metadata table.
  explicit MbTiles(const std::filesystem::path& file);
  ~MbTiles();
  MbTiles(MbTiles&& other) noexcept;
  MbTiles& operator=(MbTiles&& other) noexcept;
  MbTiles(const MbTiles&) = delete;
  MbTiles& operator=(const MbTiles&) = delete;

  const std::filesystem::path& File() const { return file_; }

  std::optional<std::string> MetadataValue(std::string_view name) const;
  MbTilesMetadata Metadata() const;

  // The stored bytes of tile z/x/y (XYZ numbering), as tilemaker wrote them (gzip'd vector
  // tiles); empty for a tile that is not in the file or coordinates outside the zoom's grid.
  std::optional<std::string> Tile(int zoom, int x, int y) const;

  std::int64_t TileCount() const;
  std::optional<TileRange> StoredTiles(int zoom) const;
  std::optional<int> LowestZoom() const;
  std::optional<int> HighestZoom() const;

 private:
  void Close() noexcept;

  std::filesystem::path file_;
  sqlite3* database_ = nullptr;
  sqlite3_stmt* tileQuery_ = nullptr;
};

// True when TILE starts with the gzip magic bytes; the web bridge then serves it with
// "Content-Encoding: gzip" so the browser unpacks it.
bool IsGzip(std::string_view tile);

// The geographic area covered by tile z/x/y (XYZ numbering, spherical Mercator).
GeoBounds TileBounds(int zoom, int x, int y);

// The XYZ tile at ZOOM that contains POINT.
TileAddress TileContaining(const GeoPoint& point, int zoom);

}  // namespace orvo::host::map
