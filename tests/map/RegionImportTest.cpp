// Closing an extract's coastline into sea, on made-up coastlines in a 10 x 10 box; then the
// bundled Monaco extract imported by `orvo region import` with the real planetsplitter and
// tilemaker, and the region it makes, its sea read back from the water layer of its tiles.
#include <signal.h>
#include <sys/wait.h>

#include <cmath>
#include <cstring>
#include <protozero/pbf_reader.hpp>

#include <gtest/gtest.h>

#include "host/map/MbTiles.hpp"
#include "host/map/Region.hpp"
#include "host/map/RegionSea.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using testing::Gunzip;
using testing::kCasino;
using testing::SharedMonaco;

// Even-odd: whether POINT is inside RING, flipped once more for every ring it lies inside.
bool RingContains(const SeaLine& ring, const SeaPoint& point) {
  bool inside = false;
  for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
    if ((ring[i].y > point.y) != (ring[j].y > point.y) &&
        point.x <
            (ring[j].x - ring[i].x) * (point.y - ring[i].y) / (ring[j].y - ring[i].y) + ring[i].x)
      inside = !inside;
  }
  return inside;
}

// Whether POINT is inside a polygon given by its geometry commands: move to, line to (zigzag
// deltas), close path. Even-odd over all its rings counts islands out.
bool GeometryContains(const std::vector<std::uint32_t>& commands, const SeaPoint& point) {
  std::vector<SeaLine> rings;
  std::int64_t x = 0;
  std::int64_t y = 0;
  const auto zigzag = [](std::uint32_t value) {
    return static_cast<std::int64_t>(value >> 1) ^ -static_cast<std::int64_t>(value & 1);
  };
  for (auto it = commands.begin(); it != commands.end();) {
    const std::uint32_t header = *it++;
    if ((header & 7) == 7) continue;  // the ring closes itself
    if ((header & 7) == 1 || rings.empty()) rings.emplace_back();
    for (std::uint32_t index = 0; index < (header >> 3) && it != commands.end(); ++index) {
      x += zigzag(*it++);
      y += zigzag(*it++);
      rings.back().push_back({static_cast<double>(x), static_cast<double>(y)});
    }
  }
  bool inside = false;
  for (const auto& ring : rings) inside = inside != RingContains(ring, point);
  return inside;
}

// Whether PLACE lies in a water area of tile ADDRESS (unpacked).
bool InWaterAt(const std::string& tile, const TileAddress& address, const GeoPoint& place) {
  protozero::pbf_reader tileMessage(tile);
  while (tileMessage.next(3)) {
    protozero::pbf_reader layer = tileMessage.get_message();
    std::string name;
    std::uint32_t extent = 4096;
    std::vector<std::vector<std::uint32_t>> polygons;
    while (layer.next()) {
      if (layer.tag() == 1) {
        name = layer.get_string();
      } else if (layer.tag() == 2) {
        protozero::pbf_reader feature = layer.get_message();  // an area: the layer has no other
        while (feature.next(4)) {
          const auto packed = feature.get_packed_uint32();
          polygons.emplace_back(packed.begin(), packed.end());
        }
      } else if (layer.tag() == 5) {
        extent = layer.get_uint32();
      } else {
        layer.skip();
      }
    }
    if (name != "water") continue;
    const double tiles = std::ldexp(1.0, address.zoom);
    const double latitude = place.latitudeDegrees * M_PI / 180.0;
    const SeaPoint point{
        // in tile units, east and south
        ((place.longitudeDegrees + 180.0) / 360.0 * tiles - address.x) * extent,
        ((1.0 - std::asinh(std::tan(latitude)) / M_PI) / 2.0 * tiles - address.y) * extent};
    for (const auto& geometry : polygons)
      if (GeometryContains(geometry, point)) return true;
  }
  return false;
}

bool InSea(const std::vector<SeaPolygon>& sea, const SeaPoint& point) {
  for (const SeaPolygon& polygon : sea) {
    if (!RingContains(polygon.outer, point)) continue;
    bool onIsland = false;
    for (const SeaLine& island : polygon.islands)
      onIsland = onIsland || RingContains(island, point);
    if (!onIsland) return true;
  }
  return false;
}

using Coast = std::vector<SeaLine>;
using Points = std::vector<SeaPoint>;
struct SeaCase {
  const char* what;
  Coast coastline;
  Points sea, land;
};

TEST(RegionSea, CoastlinesCloseWithTheSeaOnTheirRight) {
  const SeaLine island{{4, 4}, {6, 4}, {6, 6}, {4, 6}, {4, 4}};  // anticlockwise: land inside
  const SeaLine lake{{4, 4}, {4, 6}, {6, 6}, {6, 4}, {4, 4}};    // clockwise: water inside
  // Each case: its coastline ways, then points that must be sea, then points that must be land.
  const std::vector<SeaCase> cases{
      {"a coast running east", {{{-1, 5}, {11, 5}}}, {{5, 2}, {9.9, 0.1}}, {{5, 8}, {0.1, 9.9}}},
      {"a coast running west", {{{11, 5}, {-1, 5}}}, {{5, 8}}, {{5, 2}}},
      {"ways in any order", {{{5, 5}, {11, 5}}, {{-1, 5}, {5, 5}}}, {{5, 2}}, {{5, 8}}},
      {"ends cut short inside go on to the nearest edge", Coast{{{0.5, 5}, {5, 4}, {9.5, 5}}},
       Points{{5, 2}, {0.2, 4}}, Points{{5, 8}, {0.2, 6}}},
      {"a bay open to the north", Coast{{{7, 11}, {7, 3}, {3, 3}, {3, 11}}},
       Points{{5, 6}, {5, 9.9}}, Points{{1, 5}, {9, 5}, {5, 1}}},
      {"a peninsula reaching in from the north", Coast{{{3, 11}, {3, 3}, {7, 3}, {7, 11}}},
       Points{{1, 5}, {9, 5}, {5, 1}, {0.1, 9.9}}, Points{{5, 6}}},
      {"a strait between two coasts", Coast{{{11, 3}, {-1, 3}}, {{-1, 7}, {11, 7}}},
       Points{{5, 5}, {0.1, 5}}, Points{{5, 1}, {5, 9}}},
      {"an island in open sea", {island}, {{1, 1}, {5, 3}}, {{5, 5}}},
      {"water closed in by land", {lake}, {{5, 5}}, {{1, 1}}},
      {"an island off a coast", Coast{{{-1, 5}, {11, 5}}, {{4, 1}, {6, 1}, {6, 2}, {4, 2}, {4, 1}}},
       Points{{5, 0.5}, {5, 3}}, Points{{5, 1.5}, {5, 8}}},
      {"an island cut by the box's edge", Coast{{{8, 4}, {12, 4}, {12, 6}, {8, 6}, {8, 4}}},
       Points{{5, 5}, {9, 2}}, Points{{9, 5}}},
      {"the box on a large island", Coast{{{-5, -5}, {15, -5}, {15, 15}, {-5, 15}, {-5, -5}}},
       Points{}, Points{{5, 5}}},
      {"no coastline", {}, {}, {{5, 5}}},
  };
  for (const SeaCase& test : cases) {
    const std::vector<SeaPolygon> sea = BuildSea(test.coastline, {0.0, 0.0, 10.0, 10.0});
    for (const SeaPoint& point : test.sea)
      EXPECT_TRUE(InSea(sea, point)) << test.what << ": " << point.x << "," << point.y;
    for (const SeaPoint& point : test.land)
      EXPECT_FALSE(InSea(sea, point)) << test.what << ": " << point.x << "," << point.y;
    for (const SeaPolygon& polygon : sea) {  // closed, in the shapefile's orientation
      EXPECT_EQ(polygon.outer.front(), polygon.outer.back()) << test.what;
      EXPECT_LT(SignedArea(polygon.outer), 0.0) << test.what;
      for (const SeaLine& hole : polygon.islands) EXPECT_GT(SignedArea(hole), 0.0) << test.what;
    }
  }
}

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
  EXPECT_EQ(tiles.Metadata().format, "pbf");
  EXPECT_EQ(tiles.MetadataValue("attribution"), "© OpenStreetMap contributors");

  // Zooms 12 to 16 are there, gzipped: the sea's test below reads them.
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
  for (int zoom = 12; zoom <= 16; ++zoom) {
    for (const auto& [place, water] : places) {
      const TileAddress address = TileContaining(place, zoom);
      const auto tile = tiles.Tile(zoom, address.x, address.y);
      ASSERT_TRUE(tile) << zoom;
      ASSERT_TRUE(IsGzip(*tile)) << zoom;
      EXPECT_EQ(InWaterAt(Gunzip(*tile).value(), address, place), water)
          << place.latitudeDegrees << "," << place.longitudeDegrees << " zoom " << zoom;
    }
  }
}

TEST_F(RegionImport, InterruptedImportLeavesNothingBehind) {
  orvo::testing::TempFolder home;
  // The shell says its process id, then becomes the import.
  using orvo::testing::ShellQuote;
  const std::string command = "echo $$; XDG_DATA_HOME=" + ShellQuote(home.Path().string()) +
                              " exec " + ShellQuote(ORVO_BINARY) + " region import " +
                              ShellQuote(testing::MonacoSource().string()) + " --name cut";
  FILE* output = ::popen(command.c_str(), "r");
  std::array<char, 256> line{};
  ASSERT_TRUE(std::fgets(line.data(), line.size(), output));
  const pid_t importer = std::stoi(line.data());
  // Interrupted once the routing step has begun.
  while (std::fgets(line.data(), line.size(), output) && !std::strstr(line.data(), "[1/5]")) {
  }
  ::kill(importer, SIGINT);
  while (std::fgetc(output) != EOF) {
  }
  const int status = ::pclose(output);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << status;
  EXPECT_TRUE(fs::is_empty(home.Path() / "orvo/regions"));
}

}  // namespace
}  // namespace orvo::host::map
