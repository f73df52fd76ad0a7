// The region's names: kept from the Monaco extract at import, and found again by any part of the
// name, letter case and accents aside.
#include <fstream>

#include <gtest/gtest.h>

#include "host/map/RegionNames.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map {
namespace {

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
  testing::TempFolder folder;
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
  testing::TempFolder folder;
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
