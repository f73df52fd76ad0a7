// The bundled Monaco extract imported by `orvo region import` with the real planetsplitter and
// tilemaker, and the region it makes.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/map/MbTiles.hpp"
#include "host/map/Region.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using testing::Gunzip;
using testing::Quoted;
using testing::RunOrvo;
using testing::SharedMonaco;
using testing::TemporaryFolder;

constexpr GeoPoint kCasino{43.7397, 7.4275};
// Monaco itself, well inside any sensible extract of it.
constexpr GeoBounds kMonaco{7.40, 43.72, 7.44, 43.75};

class RegionImport : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { SharedMonaco::Get(); }
  const SharedMonaco& monaco_ = SharedMonaco::Get();
};

TEST_F(RegionImport, CommandShowsItsStepsAndKeepsTheLog) {
  const std::string output = monaco_.ImportOutput();
  const auto first = output.find("[1/3] routing database");
  const auto second = output.find("[2/3] map tiles");
  const auto third = output.find("[3/3] region description");
  ASSERT_NE(first, std::string::npos) << output;
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_NE(output.find("region \"monaco\" is ready"), std::string::npos) << output;
  // The tools' own chatter goes to the log, not to the terminal.
  EXPECT_EQ(output.find("Filled the tileset"), std::string::npos) << output;
  EXPECT_NE(testing::ReadFile(monaco_.Folder() / "import.log").find("Filled the tileset"),
            std::string::npos);

  for (const auto& entry : fs::directory_iterator(monaco_.RegionsFolder()))
    EXPECT_EQ(entry.path().filename().string().find(".monaco.partial-"), std::string::npos);
}

TEST_F(RegionImport, RegionFileDescribesMonaco) {
  const Region region = OpenRegion("monaco", monaco_.RegionsFolder());
  EXPECT_EQ(region.name, "monaco");
  EXPECT_EQ(region.sourceFile, testing::MonacoSource().string());
  // The extract's box holds Monaco and not much more.
  EXPECT_LE(region.bounds.westDegrees, kMonaco.westDegrees);
  EXPECT_GE(region.bounds.eastDegrees, kMonaco.eastDegrees);
  EXPECT_LE(region.bounds.southDegrees, kMonaco.southDegrees);
  EXPECT_GE(region.bounds.northDegrees, kMonaco.northDegrees);
  EXPECT_LT(region.bounds.eastDegrees - region.bounds.westDegrees, 0.3);
  EXPECT_LT(region.bounds.northDegrees - region.bounds.southDegrees, 0.3);
  EXPECT_TRUE(kMonaco.Contains(region.centre));
  EXPECT_EQ(region.minZoom, 12);
  EXPECT_EQ(region.maxZoom, 16);
  EXPECT_EQ(region.builtTime.size(), std::string("2026-01-31T12:00:00Z").size());
  EXPECT_EQ(region.builtTime.back(), 'Z');
  EXPECT_TRUE(fs::is_regular_file(region.TilesPath()));
  for (const char* part : {"nodes", "segments", "ways", "relations"})
    EXPECT_TRUE(fs::is_regular_file(region.folder / (region.routingPrefix + "-" + part + ".mem")))
        << part;
}

TEST_F(RegionImport, MapTilesAreGzippedVectorTilesWithOrvosLayers) {
  const Region region = OpenRegion("monaco", monaco_.RegionsFolder());
  const MbTiles tiles(region.TilesPath());
  const MbTilesMetadata metadata = tiles.Metadata();
  EXPECT_EQ(metadata.format, "pbf");
  EXPECT_EQ(metadata.minZoom, 12);
  EXPECT_EQ(metadata.maxZoom, 16);
  EXPECT_EQ(tiles.MetadataValue("attribution"), "© OpenStreetMap contributors");

  const auto described = nlohmann::json::parse(metadata.json);
  std::vector<std::string> layerNames;
  for (const auto& layer : described.at("vector_layers")) layerNames.push_back(layer.at("id"));
  const std::vector<std::string> expected{"water",    "waterway", "landuse",
                                          "building", "road",     "place"};
  EXPECT_EQ(layerNames, expected);

  // Every zoom from 12 to 16 has the tile over the Casino, gzip'd.
  for (int zoom = 12; zoom <= 16; ++zoom) {
    const TileAddress casino = TileContaining(kCasino, zoom);
    const auto tile = tiles.Tile(zoom, casino.x, casino.y);
    ASSERT_TRUE(tile) << "zoom " << zoom;
    EXPECT_TRUE(IsGzip(*tile)) << "zoom " << zoom;
  }
  const TileAddress outside = TileContaining(kCasino, 11);
  EXPECT_FALSE(tiles.Tile(11, outside.x, outside.y));
  EXPECT_FALSE(tiles.Tile(14, 0, 0));  // the other side of the world

  // A layer's name is its field 1: 0x0a, the length, the name.
  const auto hasLayer = [](const std::string& tile, const std::string& name) {
    return tile.find(std::string("\x0a") + static_cast<char>(name.size()) + name) !=
           std::string::npos;
  };
  const TileAddress casino = TileContaining(kCasino, 15);
  const auto unpacked = Gunzip(*tiles.Tile(15, casino.x, casino.y));
  ASSERT_TRUE(unpacked);
  for (const char* layer : {"road", "building", "landuse", "water"})
    EXPECT_TRUE(hasLayer(*unpacked, layer)) << layer;
  EXPECT_NE(unpacked->find("Boulevard des Moulins"), std::string::npos);  // a road's name
  EXPECT_NE(unpacked->find("primary"), std::string::npos);                // a road's class

  // Across Monaco at zoom 14: the place names and the coastline.
  const auto range = tiles.StoredTiles(14);
  ASSERT_TRUE(range);
  std::string everything;
  for (int x = range->minX; x <= range->maxX; ++x)
    for (int y = range->minY; y <= range->maxY; ++y)
      if (const auto tile = tiles.Tile(14, x, y)) everything += Gunzip(*tile).value_or("");
  EXPECT_TRUE(hasLayer(everything, "place"));
  EXPECT_TRUE(hasLayer(everything, "waterway"));
  for (const char* text : {"Monte-Carlo", "La Condamine", "Fontvieille", "coastline", "suburb"})
    EXPECT_NE(everything.find(text), std::string::npos) << text;
}

TEST_F(RegionImport, ListCommandShowsTheRegion) {
  const auto list = RunOrvo(monaco_.DataHome(), "region list");
  EXPECT_EQ(list.exitCode, 0);
  EXPECT_EQ(list.output.rfind("monaco  lat 43.", 0), 0u) << list.output;
  EXPECT_EQ(ListRegionNames(monaco_.RegionsFolder()), std::vector<std::string>{"monaco"});
}

// Reads the child's output line by line until one contains WORDS.
bool WaitForLine(FILE* output, const std::string& words) {
  std::array<char, 512> line{};
  while (std::fgets(line.data(), line.size(), output) != nullptr)
    if (std::string(line.data()).find(words) != std::string::npos) return true;
  return false;
}

TEST_F(RegionImport, InterruptedImportLeavesNothingBehind) {
  TemporaryFolder home;
  int pipeEnds[2];
  ASSERT_EQ(::pipe(pipeEnds), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::dup2(pipeEnds[1], STDOUT_FILENO);
    ::close(pipeEnds[0]);
    ::setenv("XDG_DATA_HOME", home.path().c_str(), 1);
    ::execl(ORVO_BINARY, "orvo", "region", "import", testing::MonacoSource().c_str(), "--name",
            "cut", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(pipeEnds[1]);
  FILE* output = ::fdopen(pipeEnds[0], "r");
  // Stopped while a tool runs: the routing step has just begun.
  EXPECT_TRUE(WaitForLine(output, "[1/3]"));
  ::kill(child, SIGINT);
  while (std::fgetc(output) != EOF) {
  }
  std::fclose(output);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 130);

  const fs::path regions = home.path() / "orvo" / "regions";
  EXPECT_TRUE(fs::is_empty(regions)) << "left in " << regions;
  EXPECT_TRUE(ListRegionNames(regions).empty());
}

}  // namespace
}  // namespace orvo::host::map
