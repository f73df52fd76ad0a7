#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <tuple>

#include "guidance/MMSetup.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::guidance {
namespace {

namespace fs = std::filesystem;
using host::platform::NumberLocale;

const NumberLocale kPoint{".", ","};
const NumberLocale kComma{",", "."};

// The thirteen scalars in one value, to compare or to assign.
template <typename Setup>
auto Scalars(Setup& s) {
  return std::tie(s.gbGMSkip1stWp, s.bgGuideUsingDist, s.dgGuideLowDist, s.dgGuideHiDist,
                  s.dgGuideHiKnot, s.bgGuideTTS, s.lgGuideTTSVoice, s.bgGuideAutoRecalcOn,
                  s.dgGuideAutoRecalcThreshold, s.dgGuideHiHour, s.dgGuideLoHour, s.giRouteCalc,
                  s.lgGuideHide);
}

// Every scalar off its default, and some sounds and pictures.
void ChangeAll(MMSetup& setup) {
  Scalars(setup) = std::make_tuple(false, true, 0.25, 1.5, 20.5, true, 3, true, 0.07, 0.01, 0.005,
                                   std::int16_t{2}, 45);
  setup.DirectionTypeTable[9].Wav = "";
  setup.ActionTypeTable[3].Wav = "/sounds/left.wav";
  setup.ActionTypeTable[12].Picture = "/pictures/out.gif";
}

struct GuidanceSettings : ::testing::Test {
  MMSetup Setup(const NumberLocale& locale) {
    return MMSetup(folder.Path(), locale,
                   [this](std::string_view text) { reports.emplace_back(text); });
  }
  void WritePhraselogy(std::string_view bytes) {
    std::ofstream(folder.Path() / "phraselogy.ini", std::ios::binary) << bytes;
  }
  orvo::testing::TempFolder folder;
  settings::SettingsStore store{folder.Path() / "ORVO" / "ORVO.ini"};
  std::vector<std::string> reports;
};

TEST_F(GuidanceSettings, AFreshUserGetsTheFactoryValuesMuteDirectionsAndTheShippedPictures) {
  MMSetup setup = Setup(kPoint);
  ChangeAll(setup);  // whatever was in memory, the load decides
  setup.LoadGuidanceSettings(store);
  EXPECT_EQ(Scalars(setup), std::make_tuple(true, false, 0.03, 0.5, 34.7, false, 0, false, 0.05,
                                            0.0084, 0.0042, std::int16_t{0}, 30));
  EXPECT_TRUE(reports.empty());
  for (std::size_t row = 0; row < kDirectionTypeRows; ++row)
    EXPECT_EQ(setup.DirectionTypeTable[row].Wav, "-") << row;
  EXPECT_EQ(setup.DirectionTypeTable[10], GuidanceTypeEntry{});
  EXPECT_EQ(setup.ActionTypeTable[13], GuidanceTypeEntry{});
  const char* const pictures[kActionTypeRows] = {
      "Info.gif",     "GreenLight.gif",   "Target.gif",      "TurnLeft.gif", "TurnRight.gif",
      "BearLeft.gif", "BearRight.gif",    "Merge.gif",       "Straight.gif", "Info.gif",
      "UTurn.gif",    "InRoundabout.gif", "ExRoundabout.gif"};
  for (std::size_t row = 0; row < kActionTypeRows; ++row) {
    EXPECT_EQ(setup.ActionTypeTable[row].Wav, "") << row;
    EXPECT_EQ(setup.ActionTypeTable[row].Picture, (folder.Path() / pictures[row]).string());
    EXPECT_TRUE(fs::is_regular_file(fs::path(ORVO_SOURCE_DIR) / "data" / pictures[row]));
  }
}

// A user in a decimal-comma locale keeps the values in the store's "." notation, except the
// re-calculation threshold, which has always been written with the user's own separator.
TEST_F(GuidanceSettings, SaveWritesEveryKeyInOrderAndTheLoadReadsItBackInBothNotations) {
  for (const NumberLocale& locale : {kPoint, kComma}) {
    SCOPED_TRACE("decimal separator " + locale.decimalSeparator);
    const fs::path file = folder.Path() / ("store" + locale.decimalSeparator + ".ini");
    settings::SettingsStore own(file);
    MMSetup setup = Setup(locale);
    ChangeAll(setup);
    setup.SaveGuidanceSettings(own);

    std::string text = orvo::testing::ReadFile(file);
    std::replace(text.begin(), text.end(), '\n', '|');  // line ends made visible
    // The keys in the order written, '|' standing for a line end.
    std::istringstream order(
        "gbGMSkip1stWp=False bgGuideUsingDist=True dgGuideLowDist=0.25 dgGuideHiDist=1.5 "
        "dgGuideHiKnot=20.5 bgGuideTTS=True lgGuideTTSVoice=3 giRouteCalc=2 "
        "bgGuideAutoRecalcOn=True dgGuideAutoRecalcThreshold=0" +
        locale.decimalSeparator +
        "07| dgGuideHiHour=0.01 dgGuideLoHour=0.005 lgGuideHide=45 geoDirectionOtherW=- "
        "geoDirectionWaypointW=|geoActionOtherW=|geoActionOtherP= "
        "geoActionTurnLeftW=/sounds/left.wav "
        "geoActionExitRoundaboutW=|geoActionExitRoundaboutP=/pictures/out.gif|");
    std::size_t at = 0;
    for (std::string line; order >> line;) {
      const auto found = text.find(line, at);
      ASSERT_NE(found, std::string::npos) << line << " in order in\n" << text;
      at = found;
    }

    MMSetup loaded = Setup(locale);
    loaded.LoadGuidanceSettings(own);
    EXPECT_EQ(Scalars(loaded), Scalars(setup));
    EXPECT_EQ(loaded.DirectionTypeTable, setup.DirectionTypeTable);
    EXPECT_EQ(loaded.ActionTypeTable, setup.ActionTypeTable);
    EXPECT_TRUE(reports.empty()) << reports.front();
  }
}

TEST_F(GuidanceSettings, OldStoredTextsAndDamagedValuesAreReadOrFallBackToTheirDefaults) {
  const std::pair<const char*, const char*> stored[] = {
      {"gbGMSkip1stWp", "0"},         // booleans as numbers ...
      {"bgGuideTTS", "true"},         // ... or in any case
      {"bgGuideUsingDist", "maybe"},  // reported; default false
      {"dgGuideHiKnot", "fast"},      // reported; default 34.7
      {"dgGuideLowDist", "0,04"},     // a comma user's old threshold-style text
      {"giRouteCalc", "70000"},       // reported; does not fit 16 bits: default 0
  };
  for (const auto& [key, text] : stored) store.SaveSetting(kGuidanceSection, key, text);
  MMSetup setup = Setup(kComma);
  setup.LoadGuidanceSettings(store);
  EXPECT_EQ(std::make_tuple(setup.gbGMSkip1stWp, setup.bgGuideTTS, setup.bgGuideUsingDist,
                            setup.dgGuideHiKnot, setup.dgGuideLowDist, setup.giRouteCalc),
            std::make_tuple(false, true, false, 34.7, 0.04, std::int16_t{0}));
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_NE(reports[0].find("bgGuideUsingDist"), std::string::npos) << reports[0];
}

TEST_F(GuidanceSettings, ResetAllRestoresTheFactoryValuesButKeepsFourAndHidesAfterTenSeconds) {
  MMSetup setup = Setup(kPoint);
  ChangeAll(setup);
  for (auto& row : setup.ActionTypeTable) row.Picture = "x.gif";
  const MMSetup fresh = Setup(kPoint);
  setup.ResetGuidanceDefaults();
  EXPECT_EQ(Scalars(setup), std::make_tuple(false, false, 0.03, 0.5, 34.7, false, 0, true, 0.07,
                                            0.0084, 0.0042, std::int16_t{2}, 10));
  EXPECT_EQ(setup.DirectionTypeTable, fresh.DirectionTypeTable);
  for (std::size_t row = 0; row < kActionTypeSlots; ++row) {
    EXPECT_EQ(setup.ActionTypeTable[row].Wav, "");
    EXPECT_EQ(setup.ActionTypeTable[row].Picture,
              row < kActionTypeRows ? fresh.ActionTypeTable[row].Picture : "x.gif");
  }
}

TEST_F(GuidanceSettings, PhraselogyLinesSplitAtCrLfOnly) {
  using Rules = std::vector<std::pair<std::string, std::string>>;
  const std::pair<const char*, Rules> cases[] = {
      {"# comment=x\r\na=b=c\r\nno equals sign", {{"a", "b"}}},
      {"  Bd  =  Boulevard  \r\nAv.=\r\nSt=   \r\n=orphan\r\n",
       {{"Bd", "Boulevard"}, {"Av.", " "}, {"St", ""}, {"", "orphan"}}},
      {"\r\n\r\n x = y", {{"x", "y"}}},
      // Bare line feeds are not line ends: the whole file is one line and one rule.
      {"a=b\nc=d", {{"a", "b\nc"}}},
      {"\tt\t=\tu\t", {{"\tt\t", "\tu\t"}}},
  };
  for (const auto& [bytes, expected] : cases) {
    WritePhraselogy(bytes);
    MMSetup setup = Setup(kPoint);
    setup.LoadGuidanceSettings(store);
    Rules rules;
    for (std::size_t i = 0; i < setup.Abbreviations.AbbrevCount(); ++i)
      rules.emplace_back(setup.Abbreviations.AbbrevFrom[i], setup.Abbreviations.AbbrevTo[i]);
    EXPECT_EQ(rules, expected) << bytes;
  }
  // No file, or one that cannot be read, leaves no rules; only the unreadable one is reported.
  fs::remove(folder.Path() / "phraselogy.ini");
  MMSetup setup = Setup(kPoint);
  setup.LoadAbbreviations();
  EXPECT_EQ(setup.Abbreviations.AbbrevCount(), 0u);
  EXPECT_TRUE(reports.empty());
  fs::create_directory(folder.Path() / "phraselogy.ini");
  setup.LoadAbbreviations();
  EXPECT_EQ(setup.Abbreviations.AbbrevCount(), 0u);
  EXPECT_EQ(reports.size(), 1u);
}

// The shipped rules, on instructions as ORVO writes them with the names of Monaco and around.
TEST(Abbreviations, TheShippedPhraselogyMakesInstructionsReadRight) {
  const fs::path data = fs::path(ORVO_SOURCE_DIR) / "data";
  const std::string bytes = orvo::testing::ReadFile(data / "phraselogy.ini");
  for (std::size_t at = bytes.find('\n'); at != std::string::npos; at = bytes.find('\n', at + 1))
    ASSERT_TRUE(at > 0 && bytes[at - 1] == '\r') << "a bare line feed at byte " << at;
  MMSetup setup(data, kPoint);
  setup.LoadAbbreviations();
  EXPECT_GT(setup.Abbreviations.AbbrevCount(), 40u);
  // As written, and as spoken.
  const std::pair<const char*, const char*> cases[] = {
      {"Turn left onto Boulevard Albert 1er", " Turn left onto Boulevard Albert premier"},
      {"At the roundabout take the 2nd exit onto Avenue de la Costa",
       " At the roundabout take the 2nd exit onto Avenue de la Costa"},
      {"Turn right onto Bd Charles III toward Monte-Carlo",
       " Turn right onto Boulevard Charles the third toward Monte-Carlo"},
      {"Bear left onto Av. Prince Albert Ier de Monaco",
       " Bear left onto Avenue Prince Albert premier de Monaco"},
      {"Turn left onto Ste-Dévote toward Tunnel Louis II",
       " Turn left onto Sainte-Dévote toward Tunnel Louis the second"},
      {"Continue onto Promenade de la 1ère DFL (D 50)",
       " Continue onto Promenade de la première DFL (D 50)"},
      {"Continue onto Rue Abdelkader for 1.2 km",
       " Continue onto Rue abdelkader for 1.2 kilometres"},
      {"Merge onto La Provençale (A 8) for 12 mi at 90 km/h",
       " Merge onto La Provençale (A8) for 12 miles at 90 kilometres per hour"},
      {"Turn right onto Avenue du 8 Mai 1945 toward Saint-Michel",
       " Turn right onto Avenue du 8 Mai 1945 toward Saint-Michel"},
      {"Turn left onto Rue Grimaldi in 500 ft", " Turn left onto Rue Grimaldi in 500 feet"},
  };
  for (const auto& [written, spoken] : cases) EXPECT_EQ(setup.ApplyAbbreviations(written), spoken);
}

TEST(Abbreviations, RulesReplaceEveryOccurrenceInAnyCaseOneAfterAnother) {
  AbbreviationList list;
  EXPECT_EQ(list.Apply("Turn left"), " Turn left");
  list.AbbrevFrom = {"bd", "boulevard", "N ", "xx"};
  list.AbbrevTo = {"Boulevard", "Bvd", "North ", "x"};
  // "Bd" becomes "Boulevard", which the second rule then sees; " N " only matches with its
  // blank, which the leading blank supplies at the start; replacements are not scanned again.
  EXPECT_EQ(list.Apply("BD Abdul, bD"), " Bvd ABvdul, Bvd");
  EXPECT_EQ(list.Apply("N 7 to AN 8"), " North 7 to ANorth 8");
  EXPECT_EQ(list.Apply("xxxx"), " xx");
  EXPECT_EQ(ReplaceIgnoringCase("aaa", "", "b"), "aaa");
  EXPECT_EQ(ReplaceIgnoringCase("éLAN Élan", "élan", "x"), "x Élan") << "ASCII case only";
}

}  // namespace
}  // namespace orvo::guidance
