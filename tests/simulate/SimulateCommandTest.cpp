// `orvo simulate` run as a program, and the demo drive it made.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::gps {
namespace {

namespace fs = std::filesystem;
using orvo::testing::OrvoRun;
using orvo::testing::ReadFile;

const fs::path kDemo = fs::path(ORVO_SOURCE_DIR) / "data" / "demo";

OrvoRun Simulate(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "simulate");
  return orvo::testing::RunOrvo(arguments);
}

class SimulateCommand : public ::testing::Test {
 protected:
  SimulateCommand() {
    std::ofstream(route_) << "# a street in Monaco\n43.7365 7.4214\n43.7369 7.4217\n"
                             "43.7379 7.4265\n";
  }
  orvo::testing::TempFolder folder_;
  fs::path route_ = folder_.Path() / "route.txt";
};

TEST_F(SimulateCommand, WritesTheSameDriveToStandardOutputOrAFile) {
  const OrvoRun toStdout = Simulate({"--route", route_.string(), "--speed", "30", "--seed", "5",
                                     "--start", "2026-03-01T08:00:00"});
  ASSERT_EQ(toStdout.exitCode, 0) << toStdout.err;
  EXPECT_EQ(toStdout.err, "");
  EXPECT_TRUE(toStdout.out.starts_with("$GPGGA,080000.00,"));

  const fs::path output = folder_.Path() / "drive.nmea";
  const OrvoRun toFile = Simulate({"--route=" + route_.string(), "--speed=30", "--seed=5",
                                   "--start=2026-03-01T08:00:00Z", "--output", output.string()});
  ASSERT_EQ(toFile.exitCode, 0) << toFile.err;
  EXPECT_EQ(toFile.out, "");
  EXPECT_NE(toFile.err.find("km in"), std::string::npos) << "a summary for the user";
  EXPECT_EQ(ReadFile(output), toStdout.out);
}

// A command line it cannot run exits with 2 and names the fault; a failed run leaves an earlier
// output file whole.
TEST_F(SimulateCommand, RefusesBadInputAndKeepsAnEarlierOutput) {
  const std::string route = route_.string();
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{}, "--route FILE is required"},
      {{"--route"}, "--route needs a value"},
      {{"--route", route, "--speed", "fast"}, "--speed: \"fast\""},
      {{"--route", route, "--seed", "-3"}, "--seed: \"-3\""},
      {{"--route", route, "--start", "2026-13-01T00:00:00"}, "--start:"},
      {{"--route", route, "--start", "1985-01-01T10:00:00"}, "1990 to 2089"},
      {{"--route", route, "--loss-at", "10"}, "go together"},
      {{"--route", route, "--stop", "43.7369,7.4217"}, "--stop:"},
      {{"--route", route, "--colour", "red"}, "unknown option \"--colour\""},
      {{"--route", route + ".missing"}, "cannot open the route file"},
  };
  for (const auto& [arguments, words] : cases) {
    const OrvoRun run = Simulate(arguments);
    EXPECT_EQ(run.exitCode, 2) << words;
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("orvo simulate: ")) << run.err;
    EXPECT_NE(run.err.find(words), std::string::npos) << run.err;
  }

  const fs::path output = folder_.Path() / "kept.nmea";
  std::ofstream(output) << "earlier drive\r\n";
  const fs::path gpx = folder_.Path() / "broken.gpx";
  std::ofstream(gpx) << "<gpx>\n<trk><trkseg>\n<trkpt lat=\"43.73\" lon=\"seven\"/>\n";
  EXPECT_EQ(Simulate({"--route", gpx.string(), "--output", output.string()}).exitCode, 2);
  EXPECT_EQ(ReadFile(output), "earlier drive\r\n");
  const OrvoRun unwritable =
      Simulate({"--route", route, "--output", (route_ / "out.nmea").string()});
  EXPECT_EQ(unwritable.exitCode, 1);
  EXPECT_NE(unwritable.err.find("cannot write the output file"), std::string::npos);
}

// The committed demo drive is what its arguments produce, and the script rebuilds both the route
// (with Routino, from the region's OSM data) and the drive exactly.
TEST(DemoDrive, IsWhatItsArgumentsAndTheScriptProduce) {
  std::vector<std::string> arguments{"--route", (kDemo / "monaco-drive.route").string()};
  std::ifstream args(kDemo / "monaco-drive.args");
  for (std::string line; std::getline(args, line);)
    if (!line.empty() && !line.starts_with('#')) arguments.push_back(line);
  const OrvoRun run = Simulate(arguments);
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(run.out == ReadFile(kDemo / "monaco-drive.nmea"))
      << "data/demo/monaco-drive.nmea is out of date: run scripts/make-demo-drive";

  if (std::system("command -v planetsplitter >/dev/null && command -v routino-router >/dev/null"))
    GTEST_SKIP() << "Routino's programs are not installed";
  const orvo::testing::TempFolder out;
  const std::string command =
      orvo::testing::ShellQuote((kDemo / "../../scripts/make-demo-drive").string()) + " --orvo " +
      orvo::testing::ShellQuote(ORVO_BINARY) + " --out " +
      orvo::testing::ShellQuote(out.Path().string()) + " 2>/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
  EXPECT_TRUE(ReadFile(out.Path() / "monaco-drive.route") ==
              ReadFile(kDemo / "monaco-drive.route"));
  EXPECT_TRUE(ReadFile(out.Path() / "monaco-drive.nmea") == run.out);
}

}  // namespace
}  // namespace orvo::gps
