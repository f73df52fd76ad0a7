// `orvo simulate` run as a program, and the demo drive it made.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <GeographicLib/Geodesic.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/simulate/NmeaReader.hpp"
#include "tests/BuildPaths.hpp"

namespace orvo::gps {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

struct CommandResult {
  int exitCode;
  std::string out;
  std::string err;
};

class SimulateCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() /
              ("orvo-simulate-" + std::to_string(getpid()) + "-" +
               std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    route_ = folder_ / "route.txt";
    std::ofstream(route_) << "# a street in Monaco\n43.7365 7.4214\n43.7369 7.4217\n"
                             "43.7379 7.4265\n";
  }
  void TearDown() override { fs::remove_all(folder_); }

  CommandResult Simulate(const std::vector<std::string>& arguments) const {
    std::string command = std::string(ORVO_BINARY) + " simulate";
    for (const auto& argument : arguments) command += " " + ShellQuote(argument);
    const fs::path out = folder_ / "stdout";
    const fs::path err = folder_ / "stderr";
    command += " >" + ShellQuote(out.string()) + " 2>" + ShellQuote(err.string());
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out), ReadFile(err)};
  }

  fs::path folder_;
  fs::path route_;
};

TEST_F(SimulateCommand, WritesTheDriveToStandardOutputOrAFile) {
  const CommandResult toStdout = Simulate({"--route", route_.string(), "--speed", "30", "--seed",
                                           "5", "--start", "2026-03-01T08:00:00"});
  ASSERT_EQ(toStdout.exitCode, 0) << toStdout.err;
  EXPECT_EQ(toStdout.err, "");
  const auto epochs = testing::ReadEpochs(toStdout.out);
  ASSERT_GT(epochs.size(), 40U);
  EXPECT_EQ(epochs.front().time, "080000.00");
  EXPECT_EQ(epochs.front().date, "010326");

  const fs::path output = folder_ / "drive.nmea";
  const CommandResult toFile =
      Simulate({"--route=" + route_.string(), "--speed=30", "--seed=5",
                "--start=2026-03-01T08:00:00Z", "--output", output.string()});
  ASSERT_EQ(toFile.exitCode, 0) << toFile.err;
  EXPECT_EQ(toFile.out, "");
  EXPECT_NE(toFile.err.find("km in"), std::string::npos) << "a summary for the user";
  EXPECT_EQ(ReadFile(output), toStdout.out);
  EXPECT_FALSE(fs::exists(folder_ / "drive.nmea.tmp"));
}

TEST_F(SimulateCommand, RefusesBadOptionsWithExitCode2) {
  struct Case {
    std::vector<std::string> arguments;
    std::string message;
  };
  const std::string route = route_.string();
  const std::vector<Case> cases{
      {{}, "--route FILE is required"},
      {{"--route"}, "--route needs a value"},
      {{"--route", route, "--speed", "fast"}, "--speed: \"fast\" is not a number"},
      {{"--route", route, "--seed", "-3"}, "--seed: \"-3\" is not a whole number"},
      {{"--route", route, "--start", "2026-13-01T00:00:00"}, "is not a time YYYY-MM-DDTHH:MM:SS"},
      {{"--route", route, "--start", "2026-01-01 10:00:00"}, "is not a time"},
      {{"--route", route, "--start", "1985-01-01T10:00:00"}, "1990 to 2089"},
      {{"--route", route, "--loss-at", "10"}, "--loss-at and --loss-for go together"},
      {{"--route", route, "--loss-at", "10", "--loss-for", "0"}, "a length above 0 s"},
      {{"--route", route, "--stop", "43.7369,7.4217"}, "is not LAT,LON,SECONDS"},
      {{"--route", route, "--stop", "43.75,7.4217,10"}, "m from the route"},
      {{"--route", route, "--colour", "red"}, "unknown option \"--colour\""},
      {{"--route", (folder_ / "nowhere.txt").string()}, "cannot open the route file"},
  };
  for (const Case& test : cases) {
    const CommandResult run = Simulate(test.arguments);
    std::string shown;
    for (const auto& argument : test.arguments) shown += argument + " ";
    EXPECT_EQ(run.exitCode, 2) << shown;
    EXPECT_EQ(run.out, "") << shown;
    EXPECT_NE(run.err.find(test.message), std::string::npos) << shown << "\n" << run.err;
    EXPECT_TRUE(run.err.starts_with("orvo simulate: ")) << run.err;
  }
}

TEST_F(SimulateCommand, AMalformedRouteLeavesAnEarlierOutputAlone) {
  const fs::path output = folder_ / "kept.nmea";
  std::ofstream(output) << "earlier drive\r\n";
  const fs::path gpx = folder_ / "broken.gpx";
  std::ofstream(gpx) << "<gpx>\n<trk><trkseg>\n<trkpt lat=\"43.73\" lon=\"seven\"/>\n";
  const CommandResult run = Simulate({"--route", gpx.string(), "--output", output.string()});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.err,
            "orvo simulate: " + gpx.string() + ": line 3: lon=\"seven\" is not a number\n");
  EXPECT_EQ(ReadFile(output), "earlier drive\r\n");

  const fs::path unwritable = folder_ / "no-such-folder" / "out.nmea";
  const CommandResult writeFailure =
      Simulate({"--route", route_.string(), "--output", unwritable.string()});
  EXPECT_EQ(writeFailure.exitCode, 1);
  EXPECT_NE(writeFailure.err.find("cannot write the output file"), std::string::npos);
}

// ---------------------------------------------------------------------------------------------
// The committed demo drive.
const fs::path kDemo = fs::path(ORVO_SOURCE_DIR) / "data" / "demo";

std::vector<std::string> DemoArguments() {
  std::vector<std::string> arguments;
  std::ifstream stream(kDemo / "monaco-drive.args");
  for (std::string line; std::getline(stream, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    arguments.push_back(line);
  }
  return arguments;
}

TEST_F(SimulateCommand, DemoDriveIsWhatItsArgumentsProduce) {
  std::vector<std::string> arguments{"--route", (kDemo / "monaco-drive.route").string()};
  for (const auto& argument : DemoArguments()) arguments.push_back(argument);
  ASSERT_GT(arguments.size(), 2U);
  const CommandResult run = Simulate(arguments);
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(run.out == ReadFile(kDemo / "monaco-drive.nmea"))
      << "data/demo/monaco-drive.nmea is out of date: run scripts/make-demo-drive";
}

// A few minutes from the first route point to the last, in 2026, with one short loss of fix and
// one stop of some seconds on the way.
TEST(DemoDrive, CoversTheRouteWithOneStopAndOneLossOfFix) {
  const auto route = LoadRoute(kDemo / "monaco-drive.route");
  const auto epochs = testing::ReadEpochs(ReadFile(kDemo / "monaco-drive.nmea"));
  ASSERT_GE(epochs.size(), 180U);
  ASSERT_LE(epochs.size(), 361U);
  EXPECT_TRUE(epochs.front().date.ends_with("26"));

  const auto& earth = GeographicLib::Geodesic::WGS84();
  double startM = 0.0;
  double endM = 0.0;
  earth.Inverse(route.front().latitudeDeg, route.front().longitudeDeg, *epochs.front().latitudeDeg,
                *epochs.front().longitudeDeg, startM);
  earth.Inverse(route.back().latitudeDeg, route.back().longitudeDeg, *epochs.back().latitudeDeg,
                *epochs.back().longitudeDeg, endM);
  EXPECT_LT(startM, 0.2);
  EXPECT_LT(endM, 0.2);

  int lossWindows = 0;
  int lostSeconds = 0;
  int longestStandstill = 0;
  int standstill = 0;
  bool moving = false;
  for (std::size_t k = 0; k < epochs.size(); ++k) {
    const auto& epoch = epochs[k];
    if (!epoch.rmcValid) {
      ++lostSeconds;
      if (k == 0 || epochs[k - 1].rmcValid) ++lossWindows;
      continue;
    }
    EXPECT_LT(testing::Project(route, *epoch.latitudeDeg, *epoch.longitudeDeg).offRouteM, 0.15);
    if (*epoch.speedKnots > 0.0) {
      moving = true;
      standstill = 0;
    } else if (moving) {
      longestStandstill = std::max(longestStandstill, ++standstill);
    }
  }
  EXPECT_EQ(lossWindows, 1);
  EXPECT_GE(lostSeconds, 6);
  EXPECT_LE(lostSeconds, 10);
  EXPECT_GE(longestStandstill, 10) << "a stop on the way";
}

// The script rebuilds the route with Routino from the region's OSM data and simulates it again;
// both must equal the committed files.
TEST(DemoDrive, ScriptReproducesTheCommittedFiles) {
  if (std::system("command -v planetsplitter >/dev/null 2>&1 && "
                  "command -v routino-router >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "Routino's programs are not installed";
  }
  const fs::path out = fs::temp_directory_path() / ("orvo-demo-drive-" + std::to_string(getpid()));
  fs::remove_all(out);
  const std::string command =
      ShellQuote(std::string(ORVO_SOURCE_DIR) + "/scripts/make-demo-drive") + " --orvo " +
      ShellQuote(ORVO_BINARY) + " --out " + ShellQuote(out.string()) + " 2>/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
  EXPECT_TRUE(ReadFile(out / "monaco-drive.route") == ReadFile(kDemo / "monaco-drive.route"));
  EXPECT_TRUE(ReadFile(out / "monaco-drive.nmea") == ReadFile(kDemo / "monaco-drive.nmea"));
  fs::remove_all(out);
}

}  // namespace
}  // namespace orvo::gps
