#include "host/map/MbTiles.hpp"

#include <gtest/gtest.h>

#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using testing::MakeMbTiles;
using orvo::testing::TempFolder;

TEST(MbTiles, MalformedMetadataValuesReadAsAbsent) {
  TempFolder folder;
  MakeMbTiles(folder.Path() / "odd.mbtiles",
              {{"bounds", "7.5,43.8,7.4,43.7"}, {"center", "east,43.7,14"}, {"minzoom", "twelve"}},
              {});
  const MbTilesMetadata metadata = MbTiles(folder.Path() / "odd.mbtiles").Metadata();
  EXPECT_FALSE(metadata.bounds);
  EXPECT_FALSE(metadata.center);
  EXPECT_FALSE(metadata.minZoom);
}

TEST(MbTiles, OpeningAnythingButAnMbTilesFileFailsWithItsName) {
  TempFolder folder;
  const auto expectFailure = [](const std::filesystem::path& file, const std::string& words) {
    try {
      MbTiles tiles(file);
      ADD_FAILURE() << file << " opened";
    } catch (const MbTilesError& error) {
      EXPECT_NE(std::string(error.what()).find(file.string() + words), std::string::npos)
          << error.what();
    }
  };
  expectFailure(folder.Path() / "missing.mbtiles", " not found");
  testing::WriteFile(folder.Path() / "garbage.mbtiles", std::string(5000, 'Z'));
  expectFailure(folder.Path() / "garbage.mbtiles", " is not an MBTiles map file");
  MakeMbTiles(folder.Path() / "other.sqlite", {}, {});
  sqlite3* database = nullptr;  // a real SQLite database, but without tiles
  sqlite3_open((folder.Path() / "other.sqlite").c_str(), &database);
  sqlite3_exec(database, "DROP TABLE tiles", nullptr, nullptr, nullptr);
  sqlite3_close(database);
  expectFailure(folder.Path() / "other.sqlite", " is not an MBTiles map file");
}

}  // namespace
}  // namespace orvo::host::map
