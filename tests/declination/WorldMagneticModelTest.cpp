#include "host/declination/WorldMagneticModel.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>
#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::declination {
namespace {

// The WMM2025 technical report's own test table is not reproduced here; the comparison with an
// independent implementation over the whole globe lives in tools/crosscheck. These tests pin the
// evaluator to closed-form fields of hand-made models, where the right answer is known exactly.

constexpr double kReferenceRadiusKm = 6371.2;
constexpr double kEquatorialRadiusKm = 6378.137;
constexpr double kPolarRadiusKm = kEquatorialRadiusKm * (1.0 - 1.0 / 298.257223563);
constexpr double kDegrees = 180.0 / std::numbers::pi;

const std::string kEnd = "999999999999999999999999999999999999999999999999\n";

WorldMagneticModel Model(const std::string& coefficientLines) {
  return WorldMagneticModel::Parse(
      "    2025.0            TEST-2025     01/01/2025\n" + coefficientLines + kEnd, "test.COF");
}

WorldMagneticModel Shipped() {
  return WorldMagneticModel::LoadFile(std::filesystem::path(ORVO_SOURCE_DIR) / "data" /
                                      "WMM2025.COF");
}

MagneticField FieldOf(const WorldMagneticModel& model, double latitudeDegrees,
                      double longitudeDegrees, double altitudeKm = 0.0,
                      double decimalYear = 2025.0) {
  const auto field = model.FieldAt(latitudeDegrees, longitudeDegrees, altitudeKm, decimalYear);
  EXPECT_TRUE(field.has_value());
  return field.value_or(MagneticField{});
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

TEST(WorldMagneticModel, DipoleFieldsAndTheirDriftMatchClosedForms) {
  // On the equator the geodetic and geocentric frames coincide and r is the equatorial radius.
  const double cube = std::pow(kReferenceRadiusKm / kEquatorialRadiusKm, 3);
  const auto axial = Model("  1  0  -30000.0       0.0        0.0        0.0\n");
  const MagneticField equator = FieldOf(axial, 0.0, 37.0);
  EXPECT_NEAR(equator.northNanotesla, 30000.0 * cube, 1e-6);
  EXPECT_NEAR(equator.eastNanotesla, 0.0, 1e-9);
  EXPECT_NEAR(equator.downNanotesla, 0.0, 1e-9);
  EXPECT_NEAR(equator.declinationDegrees, 0.0, 1e-12);

  // At the geodetic pole r is the polar radius and the dipole field points straight down.
  const MagneticField pole = FieldOf(axial, 90.0, 0.0);
  EXPECT_NEAR(pole.downNanotesla, 60000.0 * std::pow(kReferenceRadiusKm / kPolarRadiusKm, 3), 1e-6);
  EXPECT_NEAR(pole.horizontalIntensityNanotesla, 0.0, 1e-9);
  EXPECT_NEAR(pole.inclinationDegrees, 90.0, 1e-9);

  // A tilted dipole seen at 90 degrees east: north from g10, east from g11.
  const auto tilted = Model(
      "  1  0  -30000.0       0.0        0.0        0.0\n"
      "  1  1   -3000.0       0.0        0.0        0.0\n");
  const MagneticField east = FieldOf(tilted, 0.0, 90.0);
  EXPECT_NEAR(east.eastNanotesla, -3000.0 * cube, 1e-6);
  EXPECT_NEAR(east.declinationDegrees, std::atan2(-3000.0, 30000.0) * kDegrees, 1e-9);
  EXPECT_NEAR(east.totalIntensityNanotesla, std::hypot(30000.0, 3000.0) * cube, 1e-6);

  // The secular variation counts from the epoch: 2.5 years of +100 nT a year.
  const auto drifting = Model("  1  0  -30000.0       0.0      100.0        0.0\n");
  EXPECT_NEAR(FieldOf(drifting, 0.0, 0.0, 0.0, 2027.5).northNanotesla, 29750.0 * cube, 1e-6);
}

TEST(WorldMagneticModel, LegendreFunctionsAreSchmidtSemiNormalised) {
  // Degree 2 on the equator: P20 = -1/2, P22 = sqrt(3)/2; Z = -(n+1) (a/r)^(n+2) sum g P.
  const double fourth = std::pow(kReferenceRadiusKm / kEquatorialRadiusKm, 4);
  const auto degreeTwo = Model(
      "  2  0    1000.0       0.0        0.0        0.0\n"
      "  2  2     500.0       0.0        0.0        0.0\n");
  EXPECT_NEAR(FieldOf(degreeTwo, 0.0, 0.0).downNanotesla,
              -3.0 * fourth * (1000.0 * -0.5 + 500.0 * std::sqrt(3.0) / 2.0), 1e-9);

  // Degree 12 sectoral: P(12,12) = sqrt(2 * 24!) / (2^12 * 12!) on the equator.
  const double p1212 = std::sqrt(2.0 * std::tgamma(25.0)) / (std::pow(2.0, 12) * std::tgamma(13.0));
  const auto sectoral = Model(" 12 12       1.0       0.0        0.0        0.0\n");
  EXPECT_NEAR(FieldOf(sectoral, 0.0, 0.0).downNanotesla,
              -13.0 * std::pow(kReferenceRadiusKm / kEquatorialRadiusKm, 14) * p1212, 1e-12);
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

TEST(WorldMagneticModel, PolesAreFiniteAndContinuousWithTheirSurroundings) {
  const auto model = Shipped();
  for (const double latitude : {90.0, -90.0}) {
    const MagneticField reference = FieldOf(model, latitude, 0.0, 0.0, 2027.0);
    for (const double longitude : {-135.0, 0.0, 45.0, 170.0}) {
      SCOPED_TRACE(::testing::Message() << latitude << " " << longitude);
      const MagneticField atPole = FieldOf(model, latitude, longitude, 0.0, 2027.0);
      const MagneticField nearby =
          FieldOf(model, latitude - std::copysign(1e-6, latitude), longitude, 0.0, 2027.0);
      ASSERT_TRUE(std::isfinite(atPole.declinationDegrees));
      EXPECT_NEAR(atPole.declinationDegrees, nearby.declinationDegrees, 1e-4);
      // The field itself does not depend on the longitude a pole is approached along.
      EXPECT_NEAR(atPole.totalIntensityNanotesla, reference.totalIntensityNanotesla, 1e-6);
      EXPECT_NEAR(atPole.inclinationDegrees, reference.inclinationDegrees, 1e-9);
    }
  }
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
  const auto fromCrlf = WorldMagneticModel::LoadFile(write("crlf.COF", crlf));
  EXPECT_DOUBLE_EQ(FieldOf(fromCrlf, 47.6, -122.3, 0.0, 2026.5).declinationDegrees,
                   FieldOf(Shipped(), 47.6, -122.3, 0.0, 2026.5).declinationDegrees);
}

}  // namespace
}  // namespace orvo::host::declination
