#include "host/map/MbTiles.hpp"

#include <gtest/gtest.h>

#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using testing::MakeMbTiles;
using testing::TemporaryFolder;

constexpr GeoPoint kCasino{43.7397, 7.4275};

TEST(MbTiles, ReadsMetadataAndTilesInXyzNumbering) {
  TemporaryFolder folder;
  const auto file = folder.path() / "made-up.mbtiles";
  const TileAddress casino = TileContaining(kCasino, 14);
  MakeMbTiles(file,
              {{"format", "pbf"},
               {"bounds", "7.40, 43.72,7.44,43.75"},
               {"center", "7.42,43.74,14"},
               {"minzoom", "12"},
               {"maxzoom", "14"}},
              {{14, casino.x, casino.y, "casino"}, {14, casino.x + 1, casino.y + 2, "other"}});

  const MbTiles tiles(file);
  const MbTilesMetadata metadata = tiles.Metadata();
  EXPECT_EQ(metadata.format, "pbf");
  ASSERT_TRUE(metadata.bounds && metadata.center);
  EXPECT_DOUBLE_EQ(metadata.bounds->southDegrees, 43.72);
  EXPECT_DOUBLE_EQ(metadata.center->latitudeDegrees, 43.74);
  EXPECT_EQ(metadata.centerZoom, 14);
  EXPECT_EQ(metadata.minZoom, 12);
  EXPECT_EQ(metadata.maxZoom, 14);

  EXPECT_EQ(tiles.Tile(14, casino.x, casino.y), "casino");
  EXPECT_EQ(tiles.Tile(14, casino.x + 1, casino.y + 2), "other");
  EXPECT_EQ(tiles.Tile(14, casino.x, (1 << 14) - 1 - casino.y), std::nullopt);  // its TMS row
  for (const TileAddress& tile :
       std::vector<TileAddress>{{14, -1, 0}, {14, 0, 1 << 14}, {31, 0, 0}})
    EXPECT_EQ(tiles.Tile(tile.zoom, tile.x, tile.y), std::nullopt);

  const auto stored = tiles.StoredTiles(14);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->minY, casino.y);
  EXPECT_EQ(stored->maxY, casino.y + 2);
}

TEST(MbTiles, MalformedMetadataValuesReadAsAbsent) {
  TemporaryFolder folder;
  MakeMbTiles(folder.path() / "odd.mbtiles",
              {{"bounds", "7.5,43.8,7.4,43.7"}, {"center", "east,43.7,14"}, {"minzoom", "twelve"}},
              {});
  const MbTilesMetadata metadata = MbTiles(folder.path() / "odd.mbtiles").Metadata();
  EXPECT_FALSE(metadata.bounds);
  EXPECT_FALSE(metadata.center);
  EXPECT_FALSE(metadata.minZoom);
}

TEST(MbTiles, OpeningAnythingButAnMbTilesFileFailsWithItsName) {
  TemporaryFolder folder;
  const auto expectFailure = [](const std::filesystem::path& file, const std::string& words) {
    try {
      MbTiles tiles(file);
      ADD_FAILURE() << file << " opened";
    } catch (const MbTilesError& error) {
      EXPECT_NE(std::string(error.what()).find(file.string() + words), std::string::npos)
          << error.what();
    }
  };
  expectFailure(folder.path() / "missing.mbtiles", " not found");
  testing::WriteFile(folder.path() / "garbage.mbtiles", std::string(5000, 'Z'));
  expectFailure(folder.path() / "garbage.mbtiles", " is not an MBTiles map file");
  MakeMbTiles(folder.path() / "other.sqlite", {}, {});
  sqlite3* database = nullptr;  // a real SQLite database, but without tiles
  sqlite3_open((folder.path() / "other.sqlite").c_str(), &database);
  sqlite3_exec(database, "DROP TABLE tiles", nullptr, nullptr, nullptr);
  sqlite3_close(database);
  expectFailure(folder.path() / "other.sqlite", " is not an MBTiles map file");
}

TEST(MbTiles, GzipAndTileGeometry) {
  EXPECT_TRUE(IsGzip(std::string("\x1f\x8b\x08\x00", 4)));
  EXPECT_FALSE(IsGzip(std::string("\x1a\x05water", 7)));  // a plain vector tile
  EXPECT_FALSE(IsGzip("\x1f"));

  const TileAddress casino = TileContaining(kCasino, 16);
  const GeoBounds bounds = TileBounds(16, casino.x, casino.y);
  EXPECT_TRUE(bounds.Contains(kCasino));
  EXPECT_NEAR(bounds.eastDegrees - bounds.westDegrees, 360.0 / 65536.0, 1e-12);
}

}  // namespace
}  // namespace orvo::host::map
