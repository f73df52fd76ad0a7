#include <gtest/gtest.h>

#include "host/map/Region.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using testing::ReadFile;
using testing::ScopedEnvironment;
using testing::TemporaryFolder;
using testing::WriteFile;

Region SampleRegion(const std::filesystem::path& folder) {
  Region region;
  region.name = folder.filename().string();
  region.folder = folder;
  region.bounds = {7.349, 43.71, 7.491, 43.77};
  region.centre = {43.74, 7.42};
  region.minZoom = 12;
  region.maxZoom = 16;
  region.tilesFile = "map.mbtiles";
  region.routingPrefix = "routino";
  region.logFile = "import.log";
  region.sourceFile = "/data/monaco.osm.pbf";
  region.builtTime = "2026-01-31T12:00:00Z";
  return region;
}

std::string ReadError(const std::filesystem::path& folder) {
  try {
    ReadRegion(folder);
  } catch (const RegionError& error) {
    return error.what();
  }
  return "(read without an error)";
}

TEST(MapFolder, DescriptionRoundTripsAndOnlyCompleteFoldersAreListed) {
  TemporaryFolder regions;
  std::filesystem::create_directories(regions.path() / "monaco");
  WriteRegion(SampleRegion(regions.path() / "monaco"));
  EXPECT_FALSE(std::filesystem::exists(regions.path() / "monaco" / "region.json.partial"));

  const Region read = OpenRegion("monaco", regions.path());
  EXPECT_EQ(read.name, "monaco");
  EXPECT_EQ(read.folder, regions.path() / "monaco");
  EXPECT_DOUBLE_EQ(read.bounds.westDegrees, 7.349);
  EXPECT_DOUBLE_EQ(read.bounds.northDegrees, 43.77);
  EXPECT_DOUBLE_EQ(read.centre.longitudeDegrees, 7.42);
  EXPECT_EQ(read.minZoom, 12);
  EXPECT_EQ(read.maxZoom, 16);
  EXPECT_EQ(read.TilesPath(), regions.path() / "monaco" / "map.mbtiles");
  EXPECT_EQ(read.routingPrefix, "routino");
  EXPECT_EQ(read.LogPath(), regions.path() / "monaco" / "import.log");
  EXPECT_EQ(read.sourceFile, "/data/monaco.osm.pbf");
  EXPECT_EQ(read.builtTime, "2026-01-31T12:00:00Z");

  // Not regions: an import in progress, a folder without region.json, a stray file.
  std::filesystem::create_directories(regions.path() / ".andorra.partial-abc123");
  WriteRegion(SampleRegion(regions.path() / ".andorra.partial-abc123"));
  std::filesystem::create_directories(regions.path() / "half-done");
  WriteFile(regions.path() / "notes.txt", "x");
  std::filesystem::create_directories(regions.path() / "alps");
  WriteRegion(SampleRegion(regions.path() / "alps"));
  EXPECT_EQ(ListRegionNames(regions.path()), (std::vector<std::string>{"alps", "monaco"}));
  EXPECT_TRUE(ListRegionNames(regions.path() / "nowhere").empty());
}

TEST(MapFolder, LivesInTheUsersDataFolder) {
  TemporaryFolder home;
  const ScopedEnvironment dataHome("XDG_DATA_HOME", home.path().string());
  EXPECT_EQ(RegionsFolder(), home.path() / "orvo" / "regions");
  std::filesystem::create_directories(home.path() / "orvo" / "regions" / "monaco");
  WriteRegion(SampleRegion(home.path() / "orvo" / "regions" / "monaco"));
  EXPECT_EQ(ListRegionNames(), std::vector<std::string>{"monaco"});
  EXPECT_EQ(OpenRegion("monaco").name, "monaco");
}

TEST(MapFolder, DamagedDescriptionIsRefusedWithItsPath) {
  TemporaryFolder folder;
  const auto file = folder.path() / "region.json";
  EXPECT_NE(ReadError(folder.path()).find("cannot read " + file.string()), std::string::npos);

  WriteRegion(SampleRegion(folder.path()));
  const std::string good = ReadFile(file);
  const auto replaced = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    text.replace(text.find(from), from.size(), to);
    return text;
  };
  const std::vector<std::pair<std::string, std::string>> damages{
      {good.substr(0, good.size() / 2), "not a JSON object"},
      {"[1, 2]", "not a JSON object"},
      {replaced("\"tilesFile\"", "\"tiles\""), "\"tilesFile\" is missing"},
      {replaced("\"maxZoom\": 16", "\"maxZoom\": \"16\""), "\"maxZoom\" has the wrong type"},
      {replaced("\"maxZoom\": 16", "\"maxZoom\": 3"), "zoom range"},
      {replaced("\"north\": 43.77", "\"north\": 43.0"), "bounds"},
      {replaced("\"map.mbtiles\"", "\"../../secrets\""), "\"tilesFile\" is not a file name"},
      {replaced("\"format\": 1", "\"format\": 7"), "newer ORVO"},
  };
  for (const auto& [text, expected] : damages) {
    WriteFile(file, text);
    const std::string message = ReadError(folder.path());
    EXPECT_NE(message.find(file.string()), std::string::npos) << message;
    EXPECT_NE(message.find(expected), std::string::npos) << message;
  }
}

TEST(MapFolder, OpeningAnUnknownNameSaysHowToImport) {
  TemporaryFolder regions;
  try {
    OpenRegion("atlantis", regions.path());
    FAIL() << "opened a region that does not exist";
  } catch (const RegionError& error) {
    EXPECT_NE(std::string(error.what()).find("orvo region import"), std::string::npos);
  }
  EXPECT_THROW(OpenRegion("../etc", regions.path()), RegionError);
}

TEST(MapFolder, NamesAreSafeFolderNames) {
  for (const char* name : {"monaco", "Monaco-2026", "cote_d.azur", "a"})
    EXPECT_TRUE(IsValidRegionName(name)) << name;
  for (const char* name : {"", ".hidden", "..", "a/b", "with space", "caf\xc3\xa9"})
    EXPECT_FALSE(IsValidRegionName(name)) << name;
  EXPECT_TRUE(IsValidRegionName(std::string(64, 'x')));
  EXPECT_FALSE(IsValidRegionName(std::string(65, 'x')));
}

}  // namespace
}  // namespace orvo::host::map
