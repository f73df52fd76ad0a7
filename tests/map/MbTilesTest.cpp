#include "host/map/MbTiles.hpp"

#include <gtest/gtest.h>

#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using testing::MadeUpTile;
using testing::MakeMbTiles;
using testing::TemporaryFolder;
using testing::WriteFile;

constexpr GeoPoint kCasino{43.7397, 7.4275};

TEST(MbTiles, ReadsMetadataAndTilesInXyzNumbering) {
  TemporaryFolder folder;
  const auto file = folder.path() / "made-up.mbtiles";
  const TileAddress casino = TileContaining(kCasino, 14);
  MakeMbTiles(file,
              {{"name", "made up"},
               {"format", "pbf"},
               {"bounds", "7.40, 43.72,7.44,43.75"},
               {"center", "7.42,43.74,14"},
               {"minzoom", "12"},
               {"maxzoom", "14"},
               {"json", R"({"vector_layers":[]})"}},
              {{14, casino.x, casino.y, "north-west"}, {14, casino.x + 1, casino.y + 2, "other"}});

  const MbTiles tiles(file);
  const MbTilesMetadata metadata = tiles.Metadata();
  EXPECT_EQ(metadata.name, "made up");
  EXPECT_EQ(metadata.format, "pbf");
  ASSERT_TRUE(metadata.bounds);
  EXPECT_DOUBLE_EQ(metadata.bounds->westDegrees, 7.40);
  EXPECT_DOUBLE_EQ(metadata.bounds->northDegrees, 43.75);
  ASSERT_TRUE(metadata.center);
  EXPECT_DOUBLE_EQ(metadata.center->latitudeDegrees, 43.74);
  EXPECT_EQ(metadata.centerZoom, 14);
  EXPECT_EQ(metadata.minZoom, 12);
  EXPECT_EQ(metadata.maxZoom, 14);
  EXPECT_EQ(metadata.json, R"({"vector_layers":[]})");
  EXPECT_EQ(tiles.MetadataValue("absent"), std::nullopt);

  EXPECT_EQ(tiles.Tile(14, casino.x, casino.y), "north-west");
  EXPECT_EQ(tiles.Tile(14, casino.x + 1, casino.y + 2), "other");
  // The TMS row number is not a tile of its own.
  EXPECT_EQ(tiles.Tile(14, casino.x, (1 << 14) - 1 - casino.y), std::nullopt);
  EXPECT_EQ(tiles.Tile(13, casino.x / 2, casino.y / 2), std::nullopt);
  const std::vector<TileAddress> offTheGrid{{14, -1, 0}, {14, 0, 1 << 14}, {-1, 0, 0}, {31, 0, 0}};
  for (const TileAddress& tile : offTheGrid)
    EXPECT_EQ(tiles.Tile(tile.zoom, tile.x, tile.y), std::nullopt)
        << tile.zoom << "/" << tile.x << "/" << tile.y;

  EXPECT_EQ(tiles.TileCount(), 2);
  EXPECT_EQ(tiles.LowestZoom(), 14);
  EXPECT_EQ(tiles.HighestZoom(), 14);
  const auto stored = tiles.StoredTiles(14);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->minX, casino.x);
  EXPECT_EQ(stored->maxX, casino.x + 1);
  EXPECT_EQ(stored->minY, casino.y);
  EXPECT_EQ(stored->maxY, casino.y + 2);
  EXPECT_EQ(tiles.StoredTiles(12), std::nullopt);
}

TEST(MbTiles, MalformedMetadataValuesReadAsAbsent) {
  TemporaryFolder folder;
  const auto file = folder.path() / "odd.mbtiles";
  MakeMbTiles(file,
              {{"bounds", "7.4,43.7,7.5"},
               {"center", "east,43.7,14"},
               {"minzoom", "twelve"},
               {"maxzoom", "99"}},
              {});
  const MbTilesMetadata metadata = MbTiles(file).Metadata();
  EXPECT_EQ(metadata.name, "");
  EXPECT_FALSE(metadata.bounds);
  EXPECT_FALSE(metadata.center);
  EXPECT_FALSE(metadata.minZoom);
  EXPECT_FALSE(metadata.maxZoom);

  MakeMbTiles(folder.path() / "upside-down.mbtiles", {{"bounds", "7.5,43.8,7.4,43.7"}}, {});
  EXPECT_FALSE(MbTiles(folder.path() / "upside-down.mbtiles").Metadata().bounds);
}

TEST(MbTiles, OpeningAnythingButAnMbTilesFileFailsWithItsName) {
  TemporaryFolder folder;
  const auto expectFailure = [](const std::filesystem::path& file, const std::string& words) {
    try {
      MbTiles tiles(file);
      ADD_FAILURE() << file << " opened";
    } catch (const MbTilesError& error) {
      const std::string message = error.what();
      EXPECT_NE(message.find(file.string()), std::string::npos) << message;
      EXPECT_NE(message.find(words), std::string::npos) << message;
    }
  };
  expectFailure(folder.path() / "missing.mbtiles", "not found");
  expectFailure(folder.path(), "not found");  // a folder

  WriteFile(folder.path() / "garbage.mbtiles", std::string(5000, '\x5a') + "not sqlite");
  expectFailure(folder.path() / "garbage.mbtiles", "is not an MBTiles map file");
  WriteFile(folder.path() / "empty.mbtiles", "");
  expectFailure(folder.path() / "empty.mbtiles", "is not an MBTiles map file");

  // A real SQLite database, but of something else.
  sqlite3* database = nullptr;
  sqlite3_open((folder.path() / "other.sqlite").c_str(), &database);
  sqlite3_exec(database, "CREATE TABLE metadata (name text, value text)", nullptr, nullptr,
               nullptr);
  sqlite3_close(database);
  expectFailure(folder.path() / "other.sqlite", "is not an MBTiles map file");
}

TEST(MbTiles, MovedFromObjectLetsGoOfTheFile) {
  TemporaryFolder folder;
  const auto file = folder.path() / "one.mbtiles";
  MakeMbTiles(file, {{"name", "one"}}, {{0, 0, 0, "world"}});
  MbTiles first(file);
  MbTiles second = std::move(first);
  EXPECT_EQ(second.Tile(0, 0, 0), "world");
  first = std::move(second);
  EXPECT_EQ(first.Tile(0, 0, 0), "world");
}

TEST(MbTiles, RecognisesGzipByItsMagicBytes) {
  EXPECT_TRUE(IsGzip(std::string("\x1f\x8b\x08\x00", 4)));
  EXPECT_FALSE(IsGzip(std::string("\x1a\x05water", 7)));  // a plain vector tile
  EXPECT_FALSE(IsGzip("\x1f"));
  EXPECT_FALSE(IsGzip(""));
}

TEST(MbTiles, TileGeometryFollowsSphericalMercator) {
  EXPECT_EQ(TileContaining({0.0, 0.0}, 1).x, 1);
  EXPECT_EQ(TileContaining({0.0, 0.0}, 1).y, 1);
  EXPECT_EQ(TileContaining({85.0, -180.0}, 2).y, 0);
  EXPECT_EQ(TileContaining({-89.9, 179.999}, 3).x, 7);  // clamped into the grid
  EXPECT_EQ(TileContaining({-89.9, 179.999}, 3).y, 7);

  const TileAddress casino = TileContaining(kCasino, 16);
  const GeoBounds bounds = TileBounds(16, casino.x, casino.y);
  EXPECT_TRUE(bounds.Contains(kCasino));
  // A zoom-16 tile at 43.7° N spans 360/65536 degrees of longitude.
  EXPECT_NEAR(bounds.eastDegrees - bounds.westDegrees, 360.0 / 65536.0, 1e-12);
  EXPECT_NEAR(TileBounds(0, 0, 0).northDegrees, 85.0511, 1e-4);
}

}  // namespace
}  // namespace orvo::host::map
