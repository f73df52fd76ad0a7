#include <gtest/gtest.h>

#include "host/map/Region.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using orvo::testing::TempFolder;

Region SampleRegion(const std::filesystem::path& folder) {
  return {folder.filename().string(),
          folder,
          {7.349, 43.71, 7.491, 43.77},
          {43.74, 7.42},
          12,
          16,
          "map.mbtiles",
          "routino",
          "import.log",
          "/data/monaco.osm.pbf",
          "2026-01-31T12:00:00Z"};
}

void WriteSample(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  WriteRegion(SampleRegion(folder));
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
  WriteRegion(SampleRegion(folder.Path()));
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

TEST(MapFolder, UnknownOrUnsafeNamesAreRefused) {
  TempFolder regions;
  try {
    OpenRegion("atlantis", regions.Path());
    ADD_FAILURE() << "opened a region that does not exist";
  } catch (const RegionError& error) {
    EXPECT_NE(std::string(error.what()).find("orvo region import"), std::string::npos);
  }
  EXPECT_TRUE(IsValidRegionName("Monaco-2026_v.1"));
  for (const std::string& name :
       std::vector<std::string>{"", ".hidden", "..", "a/b", "with space", std::string(65, 'x')})
    EXPECT_FALSE(IsValidRegionName(name)) << name;
  EXPECT_THROW(OpenRegion("../etc", regions.Path()), RegionError);
}

}  // namespace
}  // namespace orvo::host::map
