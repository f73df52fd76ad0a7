// What a region folder holds: its description, the map tiles file, and the names of its streets
// and places, kept from the Monaco extract at import and found again by any part of the name,
// letter case and accents aside.
#include <gtest/gtest.h>

#include <fstream>

#include "host/map/MbTiles.hpp"
#include "host/map/Region.hpp"
#include "host/map/RegionNames.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using orvo::testing::TempFolder;
using testing::MakeMbTiles;

void WriteSample(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  WriteRegion({folder.filename().string(),
               folder,
               {7.349, 43.71, 7.491, 43.77},
               {43.74, 7.42},
               12,
               16,
               "map.mbtiles",
               "routino",
               "import.log",
               "/data/monaco.osm.pbf",
               "2026-01-31T12:00:00Z"});
}

TEST(MapFolder, OnlyCompleteFoldersAreListed) {
  TempFolder regions;
  WriteSample(regions.Path() / "monaco");
  // Not regions: an import in progress, a folder without region.json.
  WriteSample(regions.Path() / ".andorra.partial-abc123");
  std::filesystem::create_directories(regions.Path() / "half-done");
  WriteSample(regions.Path() / "alps");
  EXPECT_EQ(ListRegionNames(regions.Path()), (std::vector<std::string>{"alps", "monaco"}));
  EXPECT_TRUE(ListRegionNames(regions.Path() / "nowhere").empty());
}

TEST(MapFolder, DamagedDescriptionIsRefusedWithItsPath) {
  TempFolder folder;
  const auto file = folder.Path() / "region.json";
  WriteSample(folder.Path());
  const std::string good = testing::ReadFile(file);
  const auto replaced = [&](const std::string& from, const std::string& to) {
    return std::string(good).replace(good.find(from), from.size(), to);
  };
  const std::vector<std::pair<std::string, std::string>> damages{
      {good.substr(0, good.size() / 2), "not a JSON object"},
      {replaced("\"tilesFile\"", "\"tiles\""), "\"tilesFile\" is missing"},
      {replaced("\"maxZoom\": 16", "\"maxZoom\": \"16\""), "\"maxZoom\" has the wrong type"},
      {replaced("\"north\": 43.77", "\"north\": 43.0"), "the bounds are not a valid area"},
      {replaced("\"map.mbtiles\"", "\"../../secrets\""), "\"tilesFile\" is not a file name"},
  };
  for (const auto& [text, expected] : damages) {
    testing::WriteFile(file, text);
    try {
      ReadRegion(folder.Path());
      ADD_FAILURE() << "read " << text;
    } catch (const RegionError& error) {
      EXPECT_NE(std::string(error.what()).find(file.string() + " is damaged: " + expected),
                std::string::npos)
          << error.what();
    }
  }
}

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

TEST(RegionNames, FoldsCaseAndTheAccentsOfWesternEurope) {
  const std::pair<const char*, const char*> cases[] = {
      {"Boulevard Albert 1er", "boulevard albert 1er"},
      {"Rue Émile de Loth", "rue emile de loth"},
      {"Place d'Armes Ç Ñ ü ß", "place d'armes c n u \xC3\x9F"},  // no plain letter for ß
      {"Ĳssel", "\xC4\xB2ssel"},                                  // beyond Latin-1: as it is
  };
  for (const auto& [text, folded] : cases) EXPECT_EQ(FoldForSearch(text), folded) << text;
}

TEST(RegionNames, KeepsTheStreetsAndPlacesOfMonacoAndFindsThemByAnyPart) {
  TempFolder folder;
  const auto file = folder.Path() / kNamesFileName;
  const std::size_t kept =
      WriteNameIndex(std::filesystem::path(ORVO_SOURCE_DIR) / "data/regions/monaco.osm.pbf", file);
  const NameIndex index(file);
  EXPECT_GT(kept, 500u);
  EXPECT_EQ(index.Size(), kept);

  // Which comes first is seen in the route planner's browser test ("condamine").
  const auto albert = index.Search("BOULEVARD albert");
  ASSERT_FALSE(albert.empty());
  EXPECT_EQ(albert[0].name, "Boulevard Albert 1er");
  // On the street, in the harbour of Monaco.
  EXPECT_NEAR(albert[0].location.latitudeDegrees, 43.734, 0.005);
  EXPECT_NEAR(albert[0].location.longitudeDegrees, 7.421, 0.005);
  EXPECT_EQ(index.Search("e", 3).size(), 3u);
  EXPECT_TRUE(index.Search("").empty());
  EXPECT_TRUE(index.Search("no such street anywhere").empty());
}

TEST(RegionNames, AnIndexMissingOrDamagedGivesWhatItCan) {
  TempFolder folder;
  EXPECT_EQ(NameIndex(folder.Path() / "missing.tsv").Size(), 0u);
  const auto file = folder.Path() / kNamesFileName;
  std::ofstream(file) << "Rue Grimaldi\tresidential\t43.73\t7.42\n"
                         "no tabs here\n"
                         "Quai\tprimary\tnorth\t7.4\n"
                         "Place du Casino\tpedestrian\t43.739\t7.428\n";
  const NameIndex index(file);
  ASSERT_EQ(index.Size(), 2u);
  EXPECT_EQ(index.Search("casino").at(0).location.longitudeDegrees, 7.428);
  EXPECT_THROW(WriteNameIndex(folder.Path() / "missing.osm.pbf", file), std::exception);
}

}  // namespace
}  // namespace orvo::host::map
