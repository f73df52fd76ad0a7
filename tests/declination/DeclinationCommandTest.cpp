// `orvo declination`, run as the real program.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/declination/DecimalYear.hpp"
#include "host/declination/WorldMagneticModel.hpp"
#include "tests/BuildPaths.hpp"

namespace orvo::host::declination {
namespace {

namespace fs = std::filesystem;

struct Outcome {
  int exitCode = -1;
  std::string out;
  std::string err;
};

class DeclinationCommand : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("orvo-declination-command-" + std::to_string(getpid()));
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  Outcome Run(const std::vector<std::string>& arguments, const std::string& input = "",
              const std::string& environment = "") {
    std::ofstream(folder_ / "in") << input;
    std::string command = environment + " '" + ORVO_BINARY + "' declination";
    for (const std::string& argument : arguments) command += " '" + argument + "'";
    command += " <'" + (folder_ / "in").string() + "' >'" + (folder_ / "out").string() + "' 2>'" +
               (folder_ / "err").string() + "'";
    const int status = std::system(command.c_str());
    Outcome outcome;
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.out = Slurp(folder_ / "out");
    outcome.err = Slurp(folder_ / "err");
    return outcome;
  }

  static std::string Slurp(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  // What the command should print, from the library in this process.
  static std::string Expected(double latitude, double longitude, double altitudeKm, double year) {
    auto model = WorldMagneticModel::LoadFile(fs::path(ORVO_SOURCE_DIR) / "data" / "WMM2025.COF");
    char text[32];
    std::snprintf(text, sizeof text, "%.4f\n",
                  model.DeclinationDegrees(latitude, longitude, altitudeKm, year).value());
    return text;
  }

  fs::path folder_;
};

TEST_F(DeclinationCommand, PrintsTheDeclinationForAYearOrADate) {
  const Outcome byYear = Run({"47.6", "-122.3", "--year", "2026.5"});
  EXPECT_EQ(byYear.exitCode, 0) << byYear.err;
  EXPECT_EQ(byYear.out, Expected(47.6, -122.3, 0.0, 2026.5));

  const Outcome byDate = Run({"47.6", "-122.3", "--date", "2026-07-02T12:00:00"});
  EXPECT_EQ(byDate.out, byYear.out);

  const Outcome high = Run({"-33.9", "151.2", "--date", "2028-02-29", "--altitude", "12"});
  EXPECT_EQ(high.exitCode, 0) << high.err;
  EXPECT_EQ(high.out, Expected(-33.9, 151.2, 12.0, *DecimalYear(2028, 2, 29)));

  // Without a date it is now (UTC): a value, or once the model has expired, the reason.
  const Outcome now = Run({"10", "10"});
  EXPECT_TRUE(now.exitCode == 0 || now.err.find("no declination available") != std::string::npos)
      << now.err;
}

TEST_F(DeclinationCommand, SaysSoOutsideTheModelYears) {
  const Outcome outcome = Run({"10", "10", "--date", "2031-01-01"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err.find("no declination available: the model WMM-2025 is valid from 2025.0 "
                             "to 2030.0 (asked for 2031.0000)"),
            std::string::npos)
      << outcome.err;
}

TEST_F(DeclinationCommand, RefusesBadArguments) {
  const std::vector<std::vector<std::string>> cases = {
      {"10"},
      {"abc", "10"},
      {"91", "0"},
      {"10", "400"},
      {"10", "10", "-x"},
      {"10", "10", "--year"},
      {"10", "10", "--date", "2025-02-30"},
      {"10", "10", "--date", "2025-01-01T25:00:00"},
      {"10", "10", "--date", "1st of May"},
      {"10", "10", "--date", "2026-01-01", "--year", "2026"},
      {"10", "10", "--altitude", "900"},
      {"--batch", "10", "10"},
  };
  for (const auto& arguments : cases) {
    std::string joined;
    for (const auto& argument : arguments) joined += argument + " ";
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.exitCode, 2) << joined;
    EXPECT_EQ(outcome.out, "") << joined;
    EXPECT_NE(outcome.err.find("orvo declination: "), std::string::npos) << joined;
  }
  const Outcome help = Run({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_NE(help.out.find("--batch"), std::string::npos);
}

TEST_F(DeclinationCommand, BatchAnswersEveryLineInOrder) {
  const Outcome outcome = Run({"--batch"},
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
  EXPECT_NE(outcome.err.find("line 5: latitude must be a number"), std::string::npos);

  EXPECT_EQ(Run({"--batch"}, "1 2 2026\n").exitCode, 0);
}

TEST_F(DeclinationCommand, NamesABrokenModelFile) {
  fs::create_directories(folder_ / "data");
  std::ofstream(folder_ / "data" / "WMM2025.COF") << "2025.0 WMM-2025\n1 0 oops 0 0 0\n";
  const Outcome outcome = Run({"10", "10", "--year", "2026"}, "",
                              "ORVO_DATA_DIR='" + (folder_ / "data").string() + "'");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_NE(outcome.err.find((folder_ / "data" / "WMM2025.COF").string() + ", line 2"),
            std::string::npos)
      << outcome.err;
}

}  // namespace
}  // namespace orvo::host::declination
