// The import's own logic, run against stand-in tools: shell scripts named planetsplitter and
// tilemaker that write what the real ones would (or fail). The real tools run in
// RegionImportTest.cpp.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "host/map/MbTiles.hpp"
#include "host/map/RegionImport.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using testing::MakeMbTiles;
using testing::Quoted;
using testing::ReadFile;
using testing::RunOrvo;
using testing::ScopedEnvironment;
using testing::TemporaryFolder;
using testing::WriteFile;

void WriteScript(const fs::path& file, const std::string& body) {
  WriteFile(file, "#!/bin/sh\n" + body);
  ::chmod(file.c_str(), 0755);
}

class MapImport : public ::testing::Test {
 protected:
  MapImport() : path_("PATH", (work_.path() / "bin").string() + ":/usr/bin:/bin") {
    fs::create_directories(work_.path() / "bin");
    // Writes one database file into --dir; exits with $FAKE_SPLITTER_EXIT.
    WriteScript(work_.path() / "bin" / "planetsplitter",
                "for a in \"$@\"; do case $a in --dir=*) dir=${a#--dir=};; esac; done\n"
                "echo \"splitting $*\"; echo 'splitter complaint' >&2\n"
                "touch \"$dir/routino-nodes.mem\"\n"
                "exit ${FAKE_SPLITTER_EXIT:-0}\n");
    // Copies $FAKE_TILES to --output.
    WriteScript(work_.path() / "bin" / "tilemaker",
                "while [ $# -gt 0 ]; do [ \"$1\" = --output ] && out=$2; shift; done\n"
                "cp \"$FAKE_TILES\" \"$out\"\n");
    WriteFile(source_, std::string("\0\0\0\x0d\x0a\x09OSMHeader\x18\x01", 17));
    MakeTiles({{"bounds", "7.40,43.72,7.44,43.75"}, {"minzoom", "12"}, {"maxzoom", "14"}});
  }

  void MakeTiles(const std::map<std::string, std::string>& metadata) {
    fs::remove(tiles_);
    MakeMbTiles(tiles_, metadata, {{14, 8530, 5975, "tile"}, {14, 8531, 5976, "tile"}});
  }

  RegionImportOptions Options(const std::string& name = "demo") const {
    RegionImportOptions options;
    options.sourceFile = source_;
    options.name = name;
    options.regionsFolder = Regions();
    options.tilemakerFolder = fs::path(ORVO_SOURCE_DIR) / "data" / "tilemaker";
    return options;
  }

  fs::path Regions() const { return work_.path() / "regions"; }

  std::string ImportError(const RegionImportOptions& options) const {
    try {
      ImportRegion(options);
    } catch (const RegionImportError& error) {
      return error.what();
    }
    return "(imported without an error)";
  }

  // Everything in the regions folder, hidden folders included.
  std::vector<std::string> RegionsFolderEntries() const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(Regions(), error))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  TemporaryFolder work_;
  ScopedEnvironment path_;
  fs::path source_ = work_.path() / "demo.osm.pbf";
  fs::path tiles_ = work_.path() / "fake.mbtiles";
  ScopedEnvironment fakeTiles_{"FAKE_TILES", tiles_.string()};
};

TEST_F(MapImport, ImportReportsEachStepAndKeepsTheLog) {
  std::vector<std::string> lines;
  const Region region =
      ImportRegion(Options(), [&](std::string_view line) { lines.emplace_back(line); });

  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "[1/3] routing database (planetsplitter) ...");
  EXPECT_EQ(lines[1], "[2/3] map tiles (tilemaker) ...");
  EXPECT_EQ(lines[2], "[3/3] region description ...");
  EXPECT_NE(lines[3].find("region \"demo\" is ready in " + (Regions() / "demo").string()),
            std::string::npos);

  EXPECT_EQ(region.folder, Regions() / "demo");
  EXPECT_EQ(RegionsFolderEntries(), std::vector<std::string>{"demo"});
  const Region read = OpenRegion("demo", Regions());
  EXPECT_DOUBLE_EQ(read.bounds.southDegrees, 43.72);
  EXPECT_DOUBLE_EQ(read.bounds.eastDegrees, 7.44);
  EXPECT_DOUBLE_EQ(read.centre.latitudeDegrees, (43.72 + 43.75) / 2);  // no centre in the file
  EXPECT_EQ(read.minZoom, 12);
  EXPECT_EQ(read.maxZoom, 14);
  EXPECT_EQ(read.sourceFile, source_.string());
  EXPECT_TRUE(fs::exists(read.TilesPath()));
  EXPECT_TRUE(fs::exists(read.folder / "routino-nodes.mem"));

  const std::string log = ReadFile(read.LogPath());
  EXPECT_NE(log.find("splitting --dir="), std::string::npos) << log;
  EXPECT_NE(log.find("splitter complaint"), std::string::npos) << log;
  EXPECT_NE(log.find("--tagging=/usr/share/routino/tagging.xml"), std::string::npos) << log;
  EXPECT_NE(log.find("region complete"), std::string::npos) << log;
}

TEST_F(MapImport, WithoutBoundsInTheTilesTheStoredTilesGiveTheExtent) {
  MakeTiles({});
  const Region region = ImportRegion(Options());
  const GeoBounds northWest = TileBounds(14, 8530, 5975);
  const GeoBounds southEast = TileBounds(14, 8531, 5976);
  EXPECT_DOUBLE_EQ(region.bounds.westDegrees, northWest.westDegrees);
  EXPECT_DOUBLE_EQ(region.bounds.northDegrees, northWest.northDegrees);
  EXPECT_DOUBLE_EQ(region.bounds.eastDegrees, southEast.eastDegrees);
  EXPECT_DOUBLE_EQ(region.bounds.southDegrees, southEast.southDegrees);
  EXPECT_EQ(region.minZoom, 14);
  EXPECT_EQ(region.maxZoom, 14);
}

TEST_F(MapImport, ReimportReplacesTheOldOneAndClearsLeftovers) {
  ImportRegion(Options());
  fs::create_directories(Regions() / ".demo.partial-dead01");  // from an import that died
  WriteFile(Regions() / ".demo.partial-dead01" / "map.mbtiles", "half");
  MakeTiles({{"bounds", "7.0,43.0,8.0,44.0"}});

  ImportRegion(Options());
  EXPECT_EQ(RegionsFolderEntries(), std::vector<std::string>{"demo"});
  EXPECT_DOUBLE_EQ(OpenRegion("demo", Regions()).bounds.westDegrees, 7.0);
}

TEST_F(MapImport, FailingToolIsNamedWithItsLogAndTheOldImportStays) {
  ImportRegion(Options());
  const ScopedEnvironment failing("FAKE_SPLITTER_EXIT", "3");
  MakeTiles({{"bounds", "7.0,43.0,8.0,44.0"}});

  const std::string message = ImportError(Options());
  EXPECT_NE(message.find("planetsplitter failed (exit status 3)"), std::string::npos) << message;
  const std::size_t logAt = message.find(Regions().string() + "/.demo.partial-");
  ASSERT_NE(logAt, std::string::npos) << message;
  const fs::path log = message.substr(logAt);
  EXPECT_EQ(log.filename(), "import.log");
  EXPECT_NE(ReadFile(log).find("splitter complaint"), std::string::npos);
  // Only the log is kept of the failed attempt.
  EXPECT_EQ(std::distance(fs::directory_iterator(log.parent_path()), fs::directory_iterator()), 1);
  EXPECT_DOUBLE_EQ(OpenRegion("demo", Regions()).bounds.westDegrees, 7.40);

  const std::string fresh = ImportError(Options("fresh"));
  EXPECT_NE(fresh.find("planetsplitter failed"), std::string::npos) << fresh;
  EXPECT_EQ(ListRegionNames(Regions()), std::vector<std::string>{"demo"});
}

TEST_F(MapImport, TilesFileWithoutTilesIsRefused) {
  fs::remove(tiles_);
  MakeMbTiles(tiles_, {{"bounds", "7.40,43.72,7.44,43.75"}}, {});
  EXPECT_NE(ImportError(Options()).find("no map tiles"), std::string::npos);
  EXPECT_TRUE(ListRegionNames(Regions()).empty());
}

TEST_F(MapImport, BadInputIsRefusedBeforeAnythingIsWritten) {
  auto options = Options();
  options.sourceFile = work_.path() / "absent.osm.pbf";
  EXPECT_NE(
      ImportError(options).find("cannot import " + options.sourceFile.string() + ": no such file"),
      std::string::npos);

  for (const std::string& content :
       {std::string("<?xml version='1.0'?><osm/>"), std::string(), std::string("\x1f\x8b\x08", 3),
        std::string("\0\0\0\x0d\x0a\x09OSMData..", 15), std::string("\x7f\xff\xff\xff", 4)}) {
    WriteFile(source_, content);
    EXPECT_NE(ImportError(Options()).find("not an OpenStreetMap PBF file"), std::string::npos);
  }
  options.sourceFile = work_.path();
  EXPECT_NE(ImportError(options).find("not an OpenStreetMap PBF file"), std::string::npos);

  WriteFile(source_, std::string("\0\0\0\x0d\x0a\x09OSMHeader\x18\x01", 17));
  EXPECT_NE(ImportError(Options("../escape")).find("cannot be a region name"), std::string::npos);
  options = Options();
  options.tilemakerFolder = work_.path();
  EXPECT_NE(ImportError(options).find("map tile configuration is missing"), std::string::npos);
  options = Options();
  options.routinoData = work_.path();
  EXPECT_NE(ImportError(options).find("tagging rules"), std::string::npos);

  EXPECT_FALSE(fs::exists(Regions()));
}

TEST_F(MapImport, MissingToolsAreNamedWithTheirPackage) {
  fs::remove(work_.path() / "bin" / "planetsplitter");
  {
    const ScopedEnvironment onlyFakes("PATH", (work_.path() / "bin").string());
    EXPECT_NE(ImportError(Options()).find("planetsplitter was not found"), std::string::npos);
  }
  fs::remove(work_.path() / "bin" / "tilemaker");
  WriteScript(work_.path() / "bin" / "planetsplitter", "exit 0\n");
  const ScopedEnvironment onlyFakes("PATH", (work_.path() / "bin").string());
  EXPECT_NE(ImportError(Options()).find("tilemaker was not found on the PATH; it comes with the "
                                        "Debian package tilemaker"),
            std::string::npos);
  EXPECT_FALSE(fs::exists(Regions()));
}

TEST(MapImportNames, DefaultNameIsTheFileNameWithoutItsExtension) {
  EXPECT_EQ(RegionNameFromFile("/maps/monaco.osm.pbf"), "monaco");
  EXPECT_EQ(RegionNameFromFile("andorra-latest.osm.pbf"), "andorra-latest");
  EXPECT_EQ(RegionNameFromFile("alps.pbf"), "alps");
  EXPECT_EQ(RegionNameFromFile("extract.bin"), "extract");
}

TEST(MapImportCommand, CommandLineMistakesAndBadFilesExitNonZero) {
  TemporaryFolder home;
  const auto missing = RunOrvo(home.path(), "region import /nowhere/monaco.osm.pbf");
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.output.find("cannot import /nowhere/monaco.osm.pbf: no such file"),
            std::string::npos)
      << missing.output;

  WriteFile(home.path() / "notes.osm.pbf", "just text");
  const auto text = RunOrvo(home.path(), "region import " + Quoted(home.path() / "notes.osm.pbf"));
  EXPECT_EQ(text.exitCode, 1);
  EXPECT_NE(text.output.find("not an OpenStreetMap PBF file"), std::string::npos) << text.output;
  EXPECT_FALSE(fs::exists(home.path() / "orvo" / "regions" / "notes"));

  EXPECT_EQ(RunOrvo(home.path(), "region").exitCode, 2);
  EXPECT_EQ(RunOrvo(home.path(), "region import").exitCode, 2);
  EXPECT_EQ(RunOrvo(home.path(), "region import a.osm.pbf --name").exitCode, 2);
  EXPECT_EQ(RunOrvo(home.path(), "region import a.osm.pbf b.osm.pbf").exitCode, 2);
  EXPECT_EQ(RunOrvo(home.path(), "region import a.osm.pbf --fast").exitCode, 2);
  EXPECT_EQ(RunOrvo(home.path(), "region fly").exitCode, 2);

  const auto list = RunOrvo(home.path(), "region list");
  EXPECT_EQ(list.exitCode, 0);
  EXPECT_NE(list.output.find("no regions in"), std::string::npos) << list.output;
}

}  // namespace
}  // namespace orvo::host::map
