// The bundled Monaco extract imported by `orvo region import` with the real planetsplitter and
// tilemaker, and the region it makes.
#include <signal.h>

#include <cstring>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/map/MbTiles.hpp"
#include "host/map/Region.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/map/MapTestSupport.hpp"
#include "tests/map/VectorTile.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using testing::Gunzip;
using testing::SharedMonaco;

constexpr GeoPoint kCasino{43.7397, 7.4275};
// Monaco itself, well inside any sensible extract of it.
constexpr GeoBounds kMonaco{7.40, 43.72, 7.44, 43.75};

// A layer's name is its field 1: 0x0a, the length, the name.
bool HasLayer(const std::string& tile, const std::string& name) {
  return tile.find('\x0a' + std::string(1, static_cast<char>(name.size())) + name) !=
         std::string::npos;
}

class RegionImport : public ::testing::Test {
 protected:
  const SharedMonaco& monaco_ = SharedMonaco::Get();
};

TEST_F(RegionImport, CommandShowsItsStepsAndDescribesMonaco) {
  const std::string output = monaco_.ImportOutput();
  std::size_t at = 0;
  for (const char* step : {"[1/5] routing database", "[2/5] sea", "[3/5] names", "[4/5] map tiles",
                           "[5/5] region description", "region \"monaco\" is ready"}) {
    at = output.find(step, at);
    ASSERT_NE(at, std::string::npos) << step << " in " << output;
  }
  EXPECT_EQ(output.find("Filled the tileset"), std::string::npos) << output;  // tilemaker's
  EXPECT_NE(testing::ReadFile(monaco_.Folder() / "import.log").find("Filled the tileset"),
            std::string::npos);
  const auto list = testing::RunOrvo({"region", "list"}, {{"XDG_DATA_HOME", monaco_.DataHome()}});
  EXPECT_EQ(list.out.rfind("monaco  lat 43.", 0), 0u) << list.out;

  const Region region = OpenRegion("monaco", monaco_.RegionsFolder());
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
}

TEST_F(RegionImport, MapTilesAreGzippedVectorTilesWithOrvosLayers) {
  const MbTiles tiles(OpenRegion("monaco", monaco_.RegionsFolder()).TilesPath());
  const MbTilesMetadata metadata = tiles.Metadata();
  EXPECT_EQ(metadata.format, "pbf");
  EXPECT_EQ(tiles.MetadataValue("attribution"), "© OpenStreetMap contributors");
  const auto described = nlohmann::json::parse(metadata.json);
  std::vector<std::string> layers;
  for (const auto& layer : described.at("vector_layers")) layers.push_back(layer.at("id"));
  EXPECT_EQ(layers, (std::vector<std::string>{"water", "waterway", "landuse", "building", "road",
                                              "place"}));

  for (int zoom = 12; zoom <= 16; ++zoom) {
    const TileAddress casino = TileContaining(kCasino, zoom);
    const auto tile = tiles.Tile(zoom, casino.x, casino.y);
    ASSERT_TRUE(tile) << "zoom " << zoom;
    EXPECT_TRUE(IsGzip(*tile)) << "zoom " << zoom;
  }
  const TileAddress outside = TileContaining(kCasino, 11);
  EXPECT_FALSE(tiles.Tile(11, outside.x, outside.y));

  const TileAddress casino = TileContaining(kCasino, 15);
  const auto unpacked = Gunzip(*tiles.Tile(15, casino.x, casino.y));
  ASSERT_TRUE(unpacked);
  for (const char* layer : {"road", "building", "landuse", "water"})
    EXPECT_TRUE(HasLayer(*unpacked, layer)) << layer;
  EXPECT_NE(unpacked->find("Boulevard des Moulins"), std::string::npos);  // a road's name

  // Across Monaco at zoom 14: the place names and the coastline.
  const auto range = tiles.StoredTiles(14);
  ASSERT_TRUE(range);
  std::string all;
  for (int x = range->minX; x <= range->maxX; ++x)
    for (int y = range->minY; y <= range->maxY; ++y)
      if (const auto tile = tiles.Tile(14, x, y)) all += Gunzip(*tile).value_or("");
  EXPECT_TRUE(HasLayer(all, "place") && HasLayer(all, "waterway"));
  for (const char* text : {"Monte-Carlo", "La Condamine", "Fontvieille", "coastline"})
    EXPECT_NE(all.find(text), std::string::npos) << text;
}

TEST_F(RegionImport, TheSeaIsWaterAndTheLandIsNot) {
  const MbTiles tiles(OpenRegion("monaco", monaco_.RegionsFolder()).TilesPath());
  const std::vector<std::pair<GeoPoint, bool>> places{
      {{43.742, 7.436}, true},     // off the Larvotto beach
      {{43.712, 7.480}, true},     // far out, where the extract's bounds close it
      {{43.7350, 7.4230}, true},   // Port Hercule
      {{43.7393, 7.4275}, false},  // the Casino square
      {{43.7314, 7.4200}, false},  // the Prince's Palace on the Rock
  };
  for (int zoom = 12; zoom <= 16; ++zoom)
    for (const auto& [place, water] : places) {
      const TileAddress address = TileContaining(place, zoom);
      const auto tile = tiles.Tile(zoom, address.x, address.y);
      ASSERT_TRUE(tile) << zoom;
      EXPECT_EQ(testing::InWaterAt(Gunzip(*tile).value_or(""), address, place), water)
          << place.latitudeDegrees << "," << place.longitudeDegrees << " zoom " << zoom;
    }
}

TEST_F(RegionImport, InterruptedImportLeavesNothingBehind) {
  orvo::testing::TempFolder home;
  int pipeEnds[2];
  ASSERT_EQ(::pipe(pipeEnds), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(pipeEnds[1], STDOUT_FILENO);
    ::setenv("XDG_DATA_HOME", home.Path().c_str(), 1);
    ::execl(ORVO_BINARY, "orvo", "region", "import", testing::MonacoSource().c_str(), "--name",
            "cut", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(pipeEnds[1]);
  FILE* output = ::fdopen(pipeEnds[0], "r");
  std::array<char, 256> line{};  // interrupted once the routing step has begun
  while (std::fgets(line.data(), line.size(), output) && !std::strstr(line.data(), "[1/5]")) {
  }
  ::kill(child, SIGINT);
  while (std::fgetc(output) != EOF) {
  }
  std::fclose(output);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << status;
  EXPECT_TRUE(fs::is_empty(home.Path() / "orvo/regions"));
}

}  // namespace
}  // namespace orvo::host::map
