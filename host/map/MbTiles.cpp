#include "host/map/MbTiles.hpp"

#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <system_error>
#include <utility>
#include <vector>

#include "host/platform/Text.hpp"

namespace orvo::host::map {
namespace {

// Zoom 30 is the deepest at which 2^zoom columns still fit an int; real maps stop near 20.
constexpr int kDeepestZoom = 30;

bool IsOnGrid(int zoom, int x, int y) {
  if (zoom < 0 || zoom > kDeepestZoom) return false;
  const int tilesPerSide = 1 << zoom;
  return x >= 0 && x < tilesPerSide && y >= 0 && y < tilesPerSide;
}

// MBTiles counts rows from the south, XYZ from the north; the flip is its own inverse.
int FlipRow(int zoom, int row) {
  return (1 << zoom) - 1 - row;
}

using platform::Trim;

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  text = Trim(text);
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

// "a,b,c" -> numbers; empty when any part is not a number or the count differs.
std::optional<std::vector<double>> ParseNumberList(std::string_view text, std::size_t count) {
  std::vector<double> numbers;
  while (true) {
    const std::size_t comma = text.find(',');
    const auto number = ParseNumber<double>(text.substr(0, comma));
    if (!number || !std::isfinite(*number)) return std::nullopt;
    numbers.push_back(*number);
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  if (numbers.size() != count) return std::nullopt;
  return numbers;
}

// A prepared statement that finalizes itself.
class Statement {
 public:
  Statement(sqlite3* database, const char* sql) {
    if (sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr) != SQLITE_OK) {
      sqlite3_finalize(statement_);
      statement_ = nullptr;
    }
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  bool IsValid() const { return statement_ != nullptr; }
  sqlite3_stmt* get() const { return statement_; }
  bool Step() const { return statement_ != nullptr && sqlite3_step(statement_) == SQLITE_ROW; }

  std::optional<std::int64_t> Integer(int column) const {
    if (sqlite3_column_type(statement_, column) == SQLITE_NULL) return std::nullopt;
    return sqlite3_column_int64(statement_, column);
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

}  // namespace

MbTiles::MbTiles(const std::filesystem::path& file) : file_(file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error))
    throw MbTilesError("map tiles file " + file.string() + " not found");

  if (sqlite3_open_v2(file.c_str(), &database_, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
    const std::string reason = database_ != nullptr ? sqlite3_errmsg(database_) : "out of memory";
    Close();
    throw MbTilesError("cannot open map tiles file " + file.string() + ": " + reason);
  }
  // Preparing both queries is the check that this is an MBTiles file at all: SQLite reads the
  // schema here and fails on a file that is not a database or has no such tables.
  const char* tileSql =
      "SELECT tile_data FROM tiles WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3";
  const bool hasMetadata = Statement(database_, "SELECT name, value FROM metadata").IsValid();
  if (!hasMetadata ||
      sqlite3_prepare_v2(database_, tileSql, -1, &tileQuery_, nullptr) != SQLITE_OK) {
    const std::string reason = sqlite3_errmsg(database_);
    Close();
    throw MbTilesError(file.string() + " is not an MBTiles map file (" + reason + ")");
  }
}

MbTiles::~MbTiles() {
  Close();
}

MbTiles::MbTiles(MbTiles&& other) noexcept
    : file_(std::move(other.file_)),
      database_(std::exchange(other.database_, nullptr)),
      tileQuery_(std::exchange(other.tileQuery_, nullptr)) {}

MbTiles& MbTiles::operator=(MbTiles&& other) noexcept {
  if (this == &other) return *this;
  Close();
  file_ = std::move(other.file_);
  database_ = std::exchange(other.database_, nullptr);
  tileQuery_ = std::exchange(other.tileQuery_, nullptr);
  return *this;
}

void MbTiles::Close() noexcept {
  sqlite3_finalize(tileQuery_);
  tileQuery_ = nullptr;
  // close_v2 also lets go of a connection that still has a statement open somewhere.
  sqlite3_close_v2(database_);
  database_ = nullptr;
}

std::optional<std::string> MbTiles::MetadataValue(std::string_view name) const {
  const Statement query(database_, "SELECT value FROM metadata WHERE name = ?1");
  if (!query.IsValid()) return std::nullopt;
  sqlite3_bind_text(query.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
  if (!query.Step()) return std::nullopt;
  const auto* text = sqlite3_column_text(query.get(), 0);
  if (text == nullptr) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(text),
                     static_cast<std::size_t>(sqlite3_column_bytes(query.get(), 0)));
}

MbTilesMetadata MbTiles::Metadata() const {
  MbTilesMetadata metadata;
  metadata.name = MetadataValue("name").value_or("");
  metadata.format = MetadataValue("format").value_or("");
  metadata.json = MetadataValue("json").value_or("");
  if (const auto text = MetadataValue("bounds")) {
    if (const auto numbers = ParseNumberList(*text, 4)) {
      const GeoBounds bounds{(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
      if (bounds.IsValid()) metadata.bounds = bounds;
    }
  }
  if (const auto text = MetadataValue("center")) {
    if (const auto numbers = ParseNumberList(*text, 3)) {
      const GeoPoint center{(*numbers)[1], (*numbers)[0]};
      if (std::abs(center.latitudeDegrees) <= 90.0 && std::abs(center.longitudeDegrees) <= 180.0)
        metadata.center = center;
      const double zoom = (*numbers)[2];
      if (zoom >= 0 && zoom <= kDeepestZoom && zoom == std::floor(zoom))
        metadata.centerZoom = static_cast<int>(zoom);
    }
  }
  const auto zoomValue = [this](std::string_view name) -> std::optional<int> {
    const auto text = MetadataValue(name);
    if (!text) return std::nullopt;
    const auto zoom = ParseNumber<int>(*text);
    if (!zoom || *zoom < 0 || *zoom > kDeepestZoom) return std::nullopt;
    return zoom;
  };
  metadata.minZoom = zoomValue("minzoom");
  metadata.maxZoom = zoomValue("maxzoom");
  return metadata;
}

std::optional<std::string> MbTiles::Tile(int zoom, int x, int y) const {
  if (!IsOnGrid(zoom, x, y)) return std::nullopt;
  sqlite3_reset(tileQuery_);
  sqlite3_bind_int(tileQuery_, 1, zoom);
  sqlite3_bind_int(tileQuery_, 2, x);
  sqlite3_bind_int(tileQuery_, 3, FlipRow(zoom, y));
  if (sqlite3_step(tileQuery_) != SQLITE_ROW) {
    sqlite3_reset(tileQuery_);
    return std::nullopt;
  }
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(tileQuery_, 0));
  const int size = sqlite3_column_bytes(tileQuery_, 0);
  std::string tile = bytes != nullptr ? std::string(bytes, static_cast<std::size_t>(size)) : "";
  sqlite3_reset(tileQuery_);
  return tile;
}

std::int64_t MbTiles::TileCount() const {
  const Statement query(database_, "SELECT COUNT(*) FROM tiles");
  return query.Step() ? query.Integer(0).value_or(0) : 0;
}

std::optional<TileRange> MbTiles::StoredTiles(int zoom) const {
  if (zoom < 0 || zoom > kDeepestZoom) return std::nullopt;
  const Statement query(database_,
                        "SELECT MIN(tile_column), MAX(tile_column), MIN(tile_row), MAX(tile_row) "
                        "FROM tiles WHERE zoom_level = ?1");
  if (!query.IsValid()) return std::nullopt;
  sqlite3_bind_int(query.get(), 1, zoom);
  if (!query.Step()) return std::nullopt;
  const auto minX = query.Integer(0), maxX = query.Integer(1);
  const auto minRow = query.Integer(2), maxRow = query.Integer(3);
  if (!minX || !maxX || !minRow || !maxRow) return std::nullopt;
  // The northernmost stored row (highest TMS row) is the lowest XYZ row.
  return TileRange{zoom, static_cast<int>(*minX), static_cast<int>(*maxX),
                   FlipRow(zoom, static_cast<int>(*maxRow)),
                   FlipRow(zoom, static_cast<int>(*minRow))};
}

std::optional<int> MbTiles::LowestZoom() const {
  const Statement query(database_, "SELECT MIN(zoom_level) FROM tiles");
  if (!query.Step()) return std::nullopt;
  const auto zoom = query.Integer(0);
  return zoom ? std::optional<int>(static_cast<int>(*zoom)) : std::nullopt;
}

std::optional<int> MbTiles::HighestZoom() const {
  const Statement query(database_, "SELECT MAX(zoom_level) FROM tiles");
  if (!query.Step()) return std::nullopt;
  const auto zoom = query.Integer(0);
  return zoom ? std::optional<int>(static_cast<int>(*zoom)) : std::nullopt;
}

bool IsGzip(std::string_view tile) {
  return tile.size() >= 2 && static_cast<unsigned char>(tile[0]) == 0x1f &&
         static_cast<unsigned char>(tile[1]) == 0x8b;
}

GeoBounds TileBounds(int zoom, int x, int y) {
  const double tilesPerSide = std::ldexp(1.0, zoom);
  const auto longitude = [&](double column) { return column / tilesPerSide * 360.0 - 180.0; };
  const auto latitude = [&](double row) {
    const double mercatorY = std::numbers::pi * (1.0 - 2.0 * row / tilesPerSide);
    return std::atan(std::sinh(mercatorY)) * 180.0 / std::numbers::pi;
  };
  return {longitude(x), latitude(y + 1.0), longitude(x + 1.0), latitude(y)};
}

TileAddress TileContaining(const GeoPoint& point, int zoom) {
  const double tilesPerSide = std::ldexp(1.0, zoom);
  const double latitudeRadians = point.latitudeDegrees * std::numbers::pi / 180.0;
  const double column = (point.longitudeDegrees + 180.0) / 360.0 * tilesPerSide;
  const double row =
      (1.0 - std::asinh(std::tan(latitudeRadians)) / std::numbers::pi) / 2.0 * tilesPerSide;
  const auto clamp = [&](double value) {
    return static_cast<int>(std::clamp(std::floor(value), 0.0, tilesPerSide - 1.0));
  };
  return {zoom, clamp(column), clamp(row)};
}

}  // namespace orvo::host::map
