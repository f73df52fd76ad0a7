// What a region folder holds: its description, the map tiles file, and the names of its streets
// and places, kept from the Monaco extract at import and found again by any part of the name,
// letter case and accents aside. And the import's own logic, run against stand-in tools: shell
// scripts named planetsplitter and tilemaker that write what the real ones would, or fail
// (RegionImportTest.cpp runs the real ones).
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <fstream>

#include "host/map/MapDocument.hpp"
#include "host/map/MbTiles.hpp"
#include "host/map/Region.hpp"
#include "host/map/RegionImport.hpp"
#include "host/map/RegionNames.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using orvo::testing::TempFolder;
using testing::MakeMbTiles;
using testing::ReadFile;
using testing::ScopedEnvironment;
using testing::WriteFile;

void WriteSample(const fs::path& folder) {
  fs::create_directories(folder);
  WriteRegion({folder.filename().string(), folder, GeoBounds{7.349, 43.71, 7.491, 43.77},
               GeoPoint{43.74, 7.42}, 12, 16, "map.mbtiles", "routino", "import.log",
               "/data/monaco.osm.pbf", "2026-01-31T12:00:00Z"});
}

TEST(MapFolder, OnlyCompleteFoldersAreListed) {
  TempFolder regions;
  WriteSample(regions.Path() / "monaco");
  // Not regions: an import in progress, a folder without region.json.
  WriteSample(regions.Path() / ".andorra.partial-abc123");
  fs::create_directories(regions.Path() / "half-done");
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
  const auto expectFailure = [](const fs::path& file, const std::string& words) {
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
  MapDocument(folder.Path() / "other.sqlite").Flush();  // a real SQLite database, no tiles
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
  const std::size_t kept = WriteNameIndex(testing::MonacoSource(), file);
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

const std::string kPbfHeader("\0\0\0\x0d\x0a\x09OSMHeader\x18\x01", 17);

class MapImport : public ::testing::Test {
 protected:
  MapImport() {
    fs::create_directories(work_.Path() / "bin");
    // Writes a database file into --dir and complains; exits with $FAKE_SPLITTER_EXIT.
    WriteScript("planetsplitter",
                "for a in \"$@\"; do case $a in --dir=*) dir=${a#--dir=};; esac; done\n"
                "echo \"splitting $*\"; echo 'splitter complaint' >&2\n"
                "touch \"$dir/routino-nodes.mem\"; exit ${FAKE_SPLITTER_EXIT:-0}\n");
    // Copies $FAKE_TILES to --output and lists the sea files it finds where it runs.
    WriteScript("tilemaker",
                "while [ $# -gt 0 ]; do [ \"$1\" = --output ] && out=$2; shift; done\n"
                "ls sea.*; cp \"$FAKE_TILES\" \"$out\"\n");
    fs::copy_file(testing::MonacoSource(), source_);
    MakeTiles({{"bounds", "7.40,43.72,7.44,43.75"}, {"minzoom", "12"}, {"maxzoom", "14"}});
  }

  void WriteScript(const std::string& name, const std::string& body) {
    WriteFile(work_.Path() / "bin" / name, "#!/bin/sh\n" + body);
    ::chmod((work_.Path() / "bin" / name).c_str(), 0755);
  }
  void MakeTiles(const std::map<std::string, std::string>& metadata) {
    fs::remove(tiles_);
    testing::MakeMbTiles(tiles_, metadata, {{14, 8530, 5975, "a"}, {14, 8531, 5976, "b"}});
  }
  RegionImportOptions Options(const std::string& name = "demo") const {
    return {source_, name, Regions(), fs::path(ORVO_SOURCE_DIR) / "data/tilemaker"};
  }
  fs::path Regions() const { return work_.Path() / "regions"; }
  std::string ImportError(const RegionImportOptions& options) const {
    try {
      ImportRegion(options);
    } catch (const RegionImportError& error) {
      return error.what();
    }
    return "(imported without an error)";
  }

  TempFolder work_;
  fs::path source_ = work_.Path() / "demo.osm.pbf";
  fs::path tiles_ = work_.Path() / "fake.mbtiles";
  ScopedEnvironment path_{"PATH", (work_.Path() / "bin").string() + ":/usr/bin:/bin"};
  ScopedEnvironment fakeTiles_{"FAKE_TILES", tiles_.string()};
};

// The steps as the real tools run them are in RegionImportTest.cpp; here what they leave.
TEST_F(MapImport, ImportKeepsTheLogAndReimportReplacesTheOldOneAndClearsLeftovers) {
  const Region region = ImportRegion(Options());
  EXPECT_EQ(region.folder, Regions() / "demo");
  EXPECT_DOUBLE_EQ(region.bounds.eastDegrees, 7.44);
  EXPECT_DOUBLE_EQ(region.centre.latitudeDegrees, (43.72 + 43.75) / 2);  // no centre in the tiles
  EXPECT_EQ(region.maxZoom, 14);
  EXPECT_EQ(region.sourceFile, source_.string());
  const std::string log = ReadFile(region.LogPath());
  for (const char* text :
       {"splitting --dir=", "splitter complaint", "--tagging=/usr/share/routino/tagging.xml",
        "coastline ways closed into", "sea.dbf\nsea.shp\nsea.shx\n"})
    EXPECT_NE(log.find(text), std::string::npos) << text;
  EXPECT_FALSE(fs::exists(region.folder / "sea.shp"));  // only tilemaker needs it

  fs::create_directories(Regions() / ".demo.partial-dead01");  // from an import that died
  MakeTiles({});  // without bounds: the stored tiles give the extent
  const Region again = ImportRegion(Options());
  EXPECT_EQ(std::distance(fs::directory_iterator(Regions()), fs::directory_iterator()), 1);
  EXPECT_DOUBLE_EQ(OpenRegion("demo", Regions()).bounds.westDegrees,
                   TileBounds(14, 8530, 5975).westDegrees);
  EXPECT_DOUBLE_EQ(again.bounds.southDegrees, TileBounds(14, 8531, 5976).southDegrees);
  EXPECT_EQ(again.minZoom, 14);
}

TEST_F(MapImport, FailingStepIsNamedAndTheOldImportStays) {
  ImportRegion(Options());
  {
    const ScopedEnvironment failing("FAKE_SPLITTER_EXIT", "3");
    const std::string message = ImportError(Options());
    EXPECT_NE(message.find("planetsplitter failed (exit status 3)"), std::string::npos) << message;
    const std::size_t logAt = message.find(Regions().string() + "/.demo.partial-");
    ASSERT_NE(logAt, std::string::npos) << message;
    const fs::path log = message.substr(logAt);
    EXPECT_NE(ReadFile(log).find("splitter complaint"), std::string::npos);
    // Only the log is kept of the failed attempt, and the earlier import is untouched.
    EXPECT_EQ(std::distance(fs::directory_iterator(log.parent_path()), fs::directory_iterator()),
              1);
    EXPECT_DOUBLE_EQ(OpenRegion("demo", Regions()).bounds.westDegrees, 7.40);
  }
  // An extract that ends after its header fails where its coastline is read.
  WriteFile(source_, kPbfHeader);
  const std::string damaged = ImportError(Options());
  EXPECT_EQ(damaged.rfind("cannot read " + source_.string() + ": ", 0), 0u) << damaged;
  EXPECT_DOUBLE_EQ(OpenRegion("demo", Regions()).bounds.westDegrees, 7.40);
}

TEST_F(MapImport, BadInputIsRefusedBeforeAnythingIsWritten) {
  auto options = Options();
  options.sourceFile = work_.Path() / "absent.osm.pbf";
  EXPECT_EQ(ImportError(options),
            "cannot import " + options.sourceFile.string() + ": no such file");
  for (const std::string& content : {std::string("<?xml version='1.0'?><osm/>"), std::string(),
                                     std::string("\0\0\0\x0d\x0a\x09OSMData..", 15)}) {
    WriteFile(source_, content);
    EXPECT_NE(ImportError(Options()).find("not an OpenStreetMap PBF file"), std::string::npos);
  }
  WriteFile(source_, kPbfHeader);
  EXPECT_NE(ImportError(Options("../escape")).find("cannot be a region name"), std::string::npos);
  options = Options();
  options.tilemakerFolder = work_.Path();
  EXPECT_NE(ImportError(options).find("map tile configuration is missing"), std::string::npos);
  fs::remove(work_.Path() / "bin/planetsplitter");
  const ScopedEnvironment onlyFakes("PATH", (work_.Path() / "bin").string());
  EXPECT_NE(ImportError(Options()).find("package routino"), std::string::npos);
  EXPECT_FALSE(fs::exists(Regions()));
}

TEST(MapImportCommand, CommandLineMistakesAndBadFilesExitNonZero) {
  EXPECT_EQ(RegionNameFromFile("/maps/monaco.osm.pbf"), "monaco");
  EXPECT_EQ(RegionNameFromFile("alps.pbf"), "alps");

  TempFolder home;
  const testing::Environment environment{{"XDG_DATA_HOME", home.Path()}};
  const auto missing =
      testing::RunOrvoCommandLine("region import /nowhere/monaco.osm.pbf", environment);
  EXPECT_EQ(missing.exitCode, 1);
  for (const char* mistake : {"region", "region import", "region import a.osm.pbf --name",
                              "region import a.osm.pbf b.osm.pbf", "region fly"})
    EXPECT_EQ(testing::RunOrvoCommandLine(mistake, environment).exitCode, 2) << mistake;
  EXPECT_NE(testing::RunOrvoCommandLine("region list", environment).out.find("no regions in"),
            std::string::npos);
}

}  // namespace
}  // namespace orvo::host::map
