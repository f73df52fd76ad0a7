// The receiver captures under tests/data/receivers run through the built `orvo parse`: the output
// must equal the golden files, and the positions must agree with what gpsd made of the same
// input (the .log.chk files). Also the command's handling of bad input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path kReceivers = fs::path(ORVO_TEST_DATA) / "receivers";
// The options the golden files were made with (scripts/regenerate-golden).
const std::string kGoldenOptions = "--now 2026-01-01T00:00:00 --restore-crlf";

using CommandResult = orvo::testing::OrvoRun;
using orvo::testing::ReadFile;
const auto& Quote = orvo::testing::ShellQuote;

// Runs `orvo parse` with the given arguments (already quoted as needed) at UTC.
CommandResult RunParse(const std::string& arguments,
                       const std::string& standardInput = "/dev/null") {
  return orvo::testing::RunOrvoCommandLine("parse " + arguments, {{"TZ", "UTC"}},
                                           ReadFile(standardInput));
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<fs::path> Logs() {
  std::vector<fs::path> logs;
  for (const auto& entry : fs::directory_iterator(kReceivers)) {
    if (entry.path().extension() == ".log") logs.push_back(entry.path());
  }
  std::sort(logs.begin(), logs.end());
  return logs;
}

TEST(ReceiverLogs, OutputEqualsTheGoldenFiles) {
  const std::vector<fs::path> logs = Logs();
  ASSERT_GE(logs.size(), 22U);
  for (const fs::path& log : logs) {
    const fs::path golden = log.string() + ".jsonl";
    ASSERT_TRUE(fs::exists(golden)) << golden << " is missing: run scripts/regenerate-golden";
    const CommandResult run = RunParse(kGoldenOptions + " " + Quote(log.string()));
    EXPECT_EQ(run.exitCode, 0) << log << run.err;
    EXPECT_EQ(run.err, "") << log;
    const std::vector<std::string> expected = Lines(ReadFile(golden));
    const std::vector<std::string> actual = Lines(run.out);
    const auto [want, got] =
        std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
    if (want != expected.end() || got != actual.end()) {
      ADD_FAILURE() << log.filename() << " line " << (want - expected.begin() + 1) << "\nexpected "
                    << (want != expected.end() ? *want : "(no more lines)") << "\nactual   "
                    << (got != actual.end() ? *got : "(no more lines)")
                    << "\n(after a deliberate change: scripts/regenerate-golden)";
    }
  }
}

// ---- Positions against gpsd: gpsd prints 9 decimals, so 1e-9 degrees still catches a wrong last
// digit of 7-decimal minutes. gpsd also reads GLL, GNS and PUBX, so only its positions a GGA (or,
// without GGA, an RMC) of the capture carries must be ORVO's; and more than half of ORVO's fixed
// positions must be gpsd's, which fails should the field conversion here be wrong.
constexpr double kToleranceDegrees = 1e-9;

struct Position {
  double latitude;
  double longitude;
};

bool AnyNear(const Position& p, const std::vector<Position>& set) {
  return std::any_of(set.begin(), set.end(), [&](const Position& q) {
    return std::fabs(p.latitude - q.latitude) <= kToleranceDegrees &&
           std::fabs(p.longitude - q.longitude) <= kToleranceDegrees;
  });
}

void AddDistinct(std::vector<Position>& set, const Position& p) {
  if (!AnyNear(p, set)) set.push_back(p);
}

// The position in fields [first, first + 3] (ddmm.mm, N/S, dddmm.mm, E/W), when well formed.
std::optional<Position> FieldPosition(const std::vector<std::string>& fields, std::size_t first) {
  if (fields.size() < first + 4) return std::nullopt;
  const std::string& lat = fields[first];
  const std::string& lng = fields[first + 2];
  if (lat.size() < 4 || lng.size() < 5) return std::nullopt;
  try {
    double latitude = std::stod(lat.substr(0, 2)) + std::stod(lat.substr(2)) / 60.0;
    double longitude = std::stod(lng.substr(0, 3)) + std::stod(lng.substr(3)) / 60.0;
    if (fields[first + 1] == "S") latitude = -latitude;
    if (fields[first + 3] == "W") longitude = -longitude;
    return Position{latitude, longitude};
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

struct CarriedPositions {
  std::vector<Position> gga;
  std::vector<Position> rmc;
};

CarriedPositions PositionsInSentences(const fs::path& log) {
  CarriedPositions carried;
  for (std::string line : Lines(ReadFile(log))) {
    const auto dollar = line.find('$');
    if (dollar == std::string::npos || line.size() < dollar + 6) continue;
    line = line.substr(dollar, line.find_first_of("*\r", dollar) - dollar);
    const std::string type = line.substr(3, 3);
    std::vector<std::string> fields;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, ',');) fields.push_back(field);
    if (type == "GGA") {
      if (const auto p = FieldPosition(fields, 2)) AddDistinct(carried.gga, *p);
    } else if (type == "RMC") {
      if (const auto p = FieldPosition(fields, 3)) AddDistinct(carried.rmc, *p);
    }
  }
  return carried;
}

std::vector<Position> GpsdPositions(const fs::path& check) {
  std::vector<Position> positions;
  for (const std::string& line : Lines(ReadFile(check))) {
    if (line.rfind("{\"class\":\"TPV\"", 0) != 0) continue;
    const json record = json::parse(line, nullptr, false);
    if (record.is_discarded() || !record.contains("lat") || !record.contains("lon")) continue;
    AddDistinct(positions, {record["lat"].get<double>(), record["lon"].get<double>()});
  }
  return positions;
}

// The value of field NAME in a line of `orvo parse` output. Read by name rather than with a JSON
// parser, which is slow in the sanitizer build over thousands of lines; a quoted name followed
// by a colon cannot occur in the sentence text, where quotes are escaped.
std::string Field(const std::string& line, const std::string& name) {
  auto begin = line.find("\"" + name + "\":");
  if (begin == std::string::npos) return {};
  begin += name.size() + 3;
  const bool text = line[begin] == '"';  // then up to its closing quote
  begin += text ? 1 : 0;
  return line.substr(begin, line.find_first_of(text ? "\"" : ",}", begin) - begin);
}

TEST(ReceiverLogs, PositionsAgreeWithGpsd) {
  int logsChecked = 0;
  for (const fs::path& log : Logs()) {
    const fs::path check = log.string() + ".chk";
    if (!fs::exists(check)) continue;
    const std::vector<Position> gpsd = GpsdPositions(check);
    if (gpsd.empty()) continue;
    ++logsChecked;

    std::vector<Position> ours;         // every position ORVO held
    std::vector<Position> oursWithFix;  // those while it had a 2-D or 3-D fix
    for (const std::string& line : Lines(ReadFile(log.string() + ".jsonl"))) {
      if (Field(line, "LatText").size() < 3 || Field(line, "LngText").size() < 4) continue;
      const Position position{std::stod(Field(line, "Latitude")),
                              std::stod(Field(line, "Longitude"))};
      AddDistinct(ours, position);
      if (std::stoi(Field(line, "FixMode")) >= 2) AddDistinct(oursWithFix, position);
    }

    const CarriedPositions carried = PositionsInSentences(log);
    int required = 0;
    for (const Position& p : gpsd) {
      const bool fromGga = AnyNear(p, carried.gga);
      const bool fromRmcAlone = carried.gga.empty() && AnyNear(p, carried.rmc);
      if (!fromGga && !fromRmcAlone) continue;
      ++required;
      EXPECT_TRUE(AnyNear(p, ours)) << log.filename() << ": gpsd's " << p.latitude << ", "
                                    << p.longitude << " is not among ORVO's positions";
    }
    const auto confirmed = std::count_if(oursWithFix.begin(), oursWithFix.end(),
                                         [&](const Position& p) { return AnyNear(p, gpsd); });
    EXPECT_GT(2 * confirmed, static_cast<long>(oursWithFix.size()))
        << log.filename() << ": only " << confirmed << " of " << oursWithFix.size()
        << " positions are among gpsd's";
    EXPECT_GT(required, 0) << log.filename() << ": no gpsd position came from GGA or RMC";
  }
  EXPECT_GE(logsChecked, 20);
}

// ---- The command itself -------------------------------------------------------------------

TEST(ParseCommand, StandardInputGivesTheSameAsTheFileAndBareLineFeedsCanBeRestored) {
  const fs::path log = kReceivers / "garmin-10x.log";
  const CommandResult fromFile = RunParse(kGoldenOptions + " " + Quote(log.string()));
  const CommandResult fromInput = RunParse(kGoldenOptions + " -", log.string());
  const CommandResult withoutName = RunParse(kGoldenOptions, log.string());
  EXPECT_EQ(fromInput.exitCode, 0);
  EXPECT_FALSE(fromFile.out.empty());
  EXPECT_EQ(fromInput.out, fromFile.out);
  EXPECT_EQ(withoutName.out, fromFile.out);
  const std::string bare = Quote((kReceivers / "quirk-lf-line-ends.log").string());
  EXPECT_EQ(Lines(RunParse("--now 2026-01-01T00:00:00 --restore-crlf " + bare).out).size(), 5U);
}

TEST(ParseCommand, RefusesWhatItCannotDo) {
  // The arguments, the exit code, and a part of the message.
  const std::tuple<std::string, int, std::string> cases[] = {
      {"/nonexistent/capture.nmea", 1, "cannot open /nonexistent/capture.nmea: No such file"},
      {Quote(kReceivers.string()), 1, "cannot read " + kReceivers.string() + ": Is a directory"},
      {"--dtr -", 2, "need --serial"},
      {"--now 2026-13-01T00:00:00 -", 2, "--now: "},
      {"--now", 2, "--now needs a value"},
      {"--len-detect-repeat lots -", 2, "--len-detect-repeat needs a whole number"},
      {"--frobnicate", 2, "unknown option --frobnicate"},
      {"a.log b.log", 2, "only one input file"},
      // No sentence at all is worth a failing exit, and the likely cause is named.
      {Quote((kReceivers / "quirk-lf-line-ends.log").string()), 1,
       "CR LF (for captures stored with LF only: --restore-crlf)"},
  };
  for (const auto& [arguments, exitCode, message] : cases) {
    const CommandResult run = RunParse(arguments);
    EXPECT_EQ(run.exitCode, exitCode) << arguments;
    EXPECT_NE(run.err.find(message), std::string::npos) << arguments << ": " << run.err;
    EXPECT_EQ(run.out, "") << arguments;
  }
  const CommandResult help = RunParse("--help");
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_NE(help.out.find("usage: orvo parse"), std::string::npos);
}

}  // namespace
