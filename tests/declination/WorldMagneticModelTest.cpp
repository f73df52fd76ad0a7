#include "host/declination/WorldMagneticModel.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>
#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::declination {
namespace {

// The field itself is compared with an independent implementation over the whole globe, the
// poles and the model's years in tools/crosscheck; these tests hold the model's limits and how it
// reads its coefficient files.

const std::string kEnd = "999999999999999999999999999999999999999999999999\n";

WorldMagneticModel Shipped() {
  return WorldMagneticModel::LoadFile(std::filesystem::path(ORVO_SOURCE_DIR) / "data" /
                                      "WMM2025.COF");
}

// The message of the ModelFileError that loading throws, or "accepted".
template <typename Load>
std::string ErrorOf(Load load) {
  try {
    load();
  } catch (const ModelFileError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(WorldMagneticModel, GivesNothingOutsideItsYearsAltitudesAndLatitudes) {
  auto model = Shipped();
  EXPECT_TRUE(model.DeclinationDegrees(10.0, 10.0, 0.0, 2025.0).has_value());
  EXPECT_TRUE(model.DeclinationDegrees(10.0, 10.0, 0.0, 2029.999999).has_value());
  EXPECT_FALSE(model.DeclinationDegrees(10.0, 10.0, 0.0, 2030.0).has_value());
  EXPECT_FALSE(model.DeclinationDegrees(10.0, 10.0, 0.0, 2024.999999).has_value());

  EXPECT_FALSE(model.DeclinationDegrees(10.0, 10.0, -1.5, 2026.0).has_value());
  EXPECT_FALSE(model.DeclinationDegrees(10.0, 10.0, 851.0, 2026.0).has_value());

  EXPECT_FALSE(model.DeclinationDegrees(90.0001, 10.0, 0.0, 2026.0).has_value());
  EXPECT_FALSE(model.DeclinationDegrees(std::nan(""), 10.0, 0.0, 2026.0).has_value());
  EXPECT_FALSE(model.DeclinationDegrees(10.0, INFINITY, 0.0, 2026.0).has_value());
}

TEST(WorldMagneticModel, MalformedFilesAreRefusedWithFileAndLine) {
  const std::string header = "2025.0 TEST-2025 01/01/2025\n";
  const std::string good = "1 0 -30000.0 0.0 0.0 0.0\n";
  struct Case {
    std::string text;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"", "test.COF: empty"},
      {"WMM-2025 2025.0\n" + good + kEnd, "test.COF, line 1:"},
      {header + "1 0 -30000.0 abc 0.0 0.0\n" + kEnd, "test.COF, line 2: \"abc\" is not a number"},
      {header + "1 0 nan 0.0 0.0 0.0\n" + kEnd, "line 2: \"nan\""},
      {header + "1 0 -30000.0 0.0 0.0\n" + kEnd, "line 2: expected `n m g h gdot hdot`"},
      {header + "1 0 -30000.0 0.0 0.0 0.0 7\n" + kEnd, "line 2: expected"},
      {header + good + "13 0 1.0 0.0 0.0 0.0\n" + kEnd, "line 3: degree and order"},
      {header + good + "2 3 1.0 0.0 0.0 0.0\n" + kEnd, "line 3: degree and order"},
      {header + good + "\n" + good + kEnd, "line 4: coefficient n=1 m=0 given twice"},
      {header + good + "2 0 1.0 0.0 0.0 0.0\n", "closing line of 9s"},
      {header + kEnd, "test.COF: no coefficients"},
  };
  for (const Case& item : cases) {
    const std::string error = ErrorOf([&] { WorldMagneticModel::Parse(item.text, "test.COF"); });
    EXPECT_NE(error.find(item.expected), std::string::npos) << item.text << "\n" << error;
  }
}

TEST(WorldMagneticModel, ReadsFilesFromDiskWhateverTheirLineEndings) {
  const orvo::testing::TempFolder temp;
  const std::filesystem::path& folder = temp.Path();
  const auto write = [&](const std::string& name, const std::string& text) {
    std::ofstream(folder / name, std::ios::binary) << text;
    return folder / name;
  };

  // The shipped file with Windows line endings gives the same field.
  std::ifstream shipped(std::filesystem::path(ORVO_SOURCE_DIR) / "data" / "WMM2025.COF");
  std::string crlf;
  for (std::string line; std::getline(shipped, line);) crlf += line + "\r\n";
  auto fromCrlf = WorldMagneticModel::LoadFile(write("crlf.COF", crlf));
  EXPECT_EQ(fromCrlf.DeclinationDegrees(47.6, -122.3, 0.0, 2026.5),
            Shipped().DeclinationDegrees(47.6, -122.3, 0.0, 2026.5));
}

}  // namespace
}  // namespace orvo::host::declination
