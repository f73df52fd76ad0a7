// Closing an extract's coastline into sea: the geometry on made-up coastlines in a 10 x 10 box,
// then tiny made-up extracts imported with the real tools and read back from their tiles.
#include <gtest/gtest.h>

#include "host/map/RegionSea.hpp"
#include "tests/map/MapTestSupport.hpp"
#include "tests/map/VectorTile.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using testing::RingContains;

constexpr GeoBounds kBox{0.0, 0.0, 10.0, 10.0};

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

struct SeaCase {
  const char* what;
  std::vector<SeaLine> coastline;
  std::vector<SeaPoint> sea;
  std::vector<SeaPoint> land;
};

TEST(RegionSea, CoastlinesCloseWithTheSeaOnTheirRight) {
  const SeaLine island{{4, 4}, {6, 4}, {6, 6}, {4, 6}, {4, 4}};  // anticlockwise: land inside
  const SeaLine lake{{4, 4}, {4, 6}, {6, 6}, {6, 4}, {4, 4}};    // clockwise: water inside
  const std::vector<SeaCase> cases{
      {"a coast running east", {{{-1, 5}, {11, 5}}}, {{5, 2}, {9.9, 0.1}}, {{5, 8}, {0.1, 9.9}}},
      {"a coast running west", {{{11, 5}, {-1, 5}}}, {{5, 8}}, {{5, 2}}},
      {"ways in any order", {{{5, 5}, {11, 5}}, {{-1, 5}, {5, 5}}}, {{5, 2}}, {{5, 8}}},
      {"ends cut short inside go on to the nearest edge",
       {{{0.5, 5}, {5, 4}, {9.5, 5}}},
       {{5, 2}, {0.2, 4}},
       {{5, 8}, {0.2, 6}}},
      {"a bay open to the north",
       {{{7, 11}, {7, 3}, {3, 3}, {3, 11}}},
       {{5, 6}, {5, 9.9}},
       {{1, 5}, {9, 5}, {5, 1}}},
      {"a peninsula reaching in from the north",
       {{{3, 11}, {3, 3}, {7, 3}, {7, 11}}},
       {{1, 5}, {9, 5}, {5, 1}, {0.1, 9.9}},
       {{5, 6}}},
      {"a strait between two coasts",
       {{{11, 3}, {-1, 3}}, {{-1, 7}, {11, 7}}},
       {{5, 5}, {0.1, 5}},
       {{5, 1}, {5, 9}}},
      {"an island in open sea", {island}, {{1, 1}, {5, 3}}, {{5, 5}}},
      {"water closed in by land", {lake}, {{5, 5}}, {{1, 1}}},
      {"an island off a coast",
       {{{-1, 5}, {11, 5}}, {{4, 1}, {6, 1}, {6, 2}, {4, 2}, {4, 1}}},
       {{5, 0.5}, {5, 3}},
       {{5, 1.5}, {5, 8}}},
      {"an island cut by the box's edge",
       {{{8, 4}, {12, 4}, {12, 6}, {8, 6}, {8, 4}}},
       {{5, 5}, {9, 2}},
       {{9, 5}}},
      {"the box on a large island",
       {{{-5, -5}, {15, -5}, {15, 15}, {-5, 15}, {-5, -5}}},
       {},
       {{5, 5}}},
      {"no coastline", {}, {}, {{5, 5}}},
  };
  for (const SeaCase& test : cases) {
    const std::vector<SeaPolygon> sea = BuildSea(test.coastline, kBox);
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

}  // namespace
}  // namespace orvo::host::map
