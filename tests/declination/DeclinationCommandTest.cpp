// `orvo declination`, run as the real program.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/declination/DecimalYear.hpp"
#include "host/declination/WorldMagneticModel.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::declination {
namespace {

namespace fs = std::filesystem;
using orvo::testing::OrvoRun;

OrvoRun Declination(std::vector<std::string> arguments, const std::string& input = "",
                    const orvo::testing::Environment& environment = {}) {
  arguments.insert(arguments.begin(), "declination");
  return orvo::testing::RunOrvo(arguments, environment, input);
}

// What the command should print, from the library in this process.
std::string Expected(double latitude, double longitude, double altitudeKm, double year) {
  auto model = WorldMagneticModel::LoadFile(fs::path(ORVO_SOURCE_DIR) / "data" / "WMM2025.COF");
  char text[32];
  std::snprintf(text, sizeof text, "%.4f\n",
                model.DeclinationDegrees(latitude, longitude, altitudeKm, year).value());
  return text;
}

TEST(DeclinationCommand, PrintsTheDeclinationForAYearOrADate) {
  const OrvoRun byYear = Declination({"47.6", "-122.3", "--year", "2026.5"});
  EXPECT_EQ(byYear.exitCode, 0) << byYear.err;
  EXPECT_EQ(byYear.out, Expected(47.6, -122.3, 0.0, 2026.5));
  EXPECT_EQ(Declination({"47.6", "-122.3", "--date", "2026-07-02T12:00:00"}).out, byYear.out);

  const OrvoRun high = Declination({"-33.9", "151.2", "--date", "2028-02-29", "--altitude", "12"});
  EXPECT_EQ(high.exitCode, 0) << high.err;
  EXPECT_EQ(high.out, Expected(-33.9, 151.2, 12.0, *DecimalYear(2028, 2, 29)));

  // Without a date it is now (UTC): a value, or once the model has expired, the reason.
  const OrvoRun now = Declination({"10", "10"});
  EXPECT_TRUE(now.exitCode == 0 || now.err.find("no declination available") != std::string::npos)
      << now.err;
}

// Outside the model's years the answer is refused with the reason (exit 1); a command line it
// cannot read is a usage error (exit 2).
TEST(DeclinationCommand, RefusesWhatItCannotAnswer) {
  const OrvoRun expired = Declination({"10", "10", "--date", "2031-01-01"});
  EXPECT_EQ(expired.exitCode, 1);
  EXPECT_EQ(expired.out, "");
  EXPECT_NE(expired.err.find("no declination available"), std::string::npos) << expired.err;
  EXPECT_NE(expired.err.find("2031.0000"), std::string::npos) << expired.err;

  const std::vector<std::vector<std::string>> cases = {
      {"10"},
      {"abc", "10"},
      {"91", "0"},
      {"10", "400"},
      {"10", "10", "-x"},
      {"10", "10", "--year"},
      {"10", "10", "--date", "2025-02-30"},
      {"10", "10", "--date", "2026-01-01", "--year", "2026"},
      {"10", "10", "--altitude", "900"},
      {"--batch", "10", "10"},
  };
  for (const auto& arguments : cases) {
    const OrvoRun outcome = Declination(arguments);
    EXPECT_EQ(outcome.exitCode, 2) << arguments[0] << " " << arguments.size();
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("orvo declination: "), std::string::npos) << outcome.err;
  }
  EXPECT_NE(Declination({"--help"}).out.find("--batch"), std::string::npos);
}

TEST(DeclinationCommand, BatchAnswersEveryLineInOrder) {
  const OrvoRun outcome = Declination({"--batch"},
                                      "47.6 -122.3 2026.5\n"
                                      "# a comment\n"
                                      "\n"
                                      "10 10 2031\n"
                                      "x y z\n"
                                      "-90 0 2027 0.5\n");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.out,
            Expected(47.6, -122.3, 0.0, 2026.5) + "-\n-\n" + Expected(-90.0, 0.0, 0.5, 2027.0));
  EXPECT_NE(outcome.err.find("line 4: no declination available"), std::string::npos);
  EXPECT_NE(outcome.err.find("line 5: latitude"), std::string::npos);
  EXPECT_EQ(Declination({"--batch"}, "1 2 2026\n").exitCode, 0);
}

TEST(DeclinationCommand, NamesABrokenModelFile) {
  const orvo::testing::TempFolder folder;
  std::ofstream(folder.Path() / "WMM2025.COF") << "2025.0 WMM-2025\n1 0 oops 0 0 0\n";
  const OrvoRun outcome =
      Declination({"10", "10", "--year", "2026"}, "", {{"ORVO_DATA_DIR", folder.Path().string()}});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_NE(outcome.err.find((folder.Path() / "WMM2025.COF").string() + ", line 2"),
            std::string::npos)
      << outcome.err;
}

}  // namespace
}  // namespace orvo::host::declination
