// The magnetic heading over the real World Magnetic Model: read on first need, a model that
// cannot be read said once in the log, and what a receiver that sends only GGA shows.
#include <gtest/gtest.h>

#include <fstream>

#include "addin/frmVerbose.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::tracking {
namespace {

using host::platform::DateValue;

const std::filesystem::path kModelFile =
    std::filesystem::path(ORVO_SOURCE_DIR) / "data" / "WMM2025.COF";
// Monaco harbour.
constexpr double kLatitude = 43.7397;
constexpr double kLongitude = 7.42417;
const char* const kGgaOnly = "$GPGGA,101500,4344.3820,N,00725.4500,E,1,07,1.1,42.0,M,,M,,*00\r\n";

struct MagneticHeading : ::testing::Test, orvo::testing::MainWindowFixture {
  // A main window on `lookup`, showing the magnetic heading of what a GGA-only receiver sends.
  std::unique_ptr<addin::frmAddIn> WindowOn(DeclinationLookup& lookup) {
    window.reset();
    auto shown = std::make_unique<addin::frmAddIn>(
        addin::MainWindowServices{desktop, store, verbose, clock, timeZone, port, lookup});
    shown->Show();
    shown->readings.SetUnitHeading(1);
    shown->ProcessData(kGgaOnly);
    shown->RefreshTick();
    return shown;
  }
  int TimesLogged(std::string_view text) const {
    const std::string& log = verbose.txtLog.Text();
    int count = 0;
    for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) ++count;
    return count;
  }
};

// GGA carries no course and no date: its time of day sits on the zero date (1899), where the
// model has no value, so a receiver that sends only GGA gets no magnetic heading ("---") and no
// guess; once RMC brings the date, the heading is the course less the declination of that day.
TEST_F(MagneticHeading, AReceiverSendingOnlyGgaGetsNoMagneticHeading) {
  ModelDeclination model(kModelFile);
  EXPECT_FALSE(model.ModelLoaded()) << "read on first need only";
  auto shown = WindowOn(model);
  EXPECT_EQ(shown->Fix().FixMode, 3);
  EXPECT_EQ(shown->Fix().GpsDateTime.ToCivil().year, 1899);
  EXPECT_EQ(shown->readings.lblCourse[0].Caption(), "---");
  EXPECT_EQ(TimesLogged("DisplayHeading: "), 0) << "no value is not a failure of the model";

  shown->ProcessData("$GPRMC,101500,A,4344.3820,N,00725.4500,E,12.0,1.0,211126,,*00\r\n");
  shown->RefreshTick();
  ModelDeclination reference(kModelFile);
  const auto expected = reference.Declination(kLatitude, kLongitude, shown->Fix().GpsDateTime);
  ASSERT_TRUE(expected.degrees);
  EXPECT_TRUE(model.ModelLoaded());
  EXPECT_GT(*expected.degrees, 1.0) << "Monaco's declination is a few degrees east";
  EXPECT_LT(*expected.degrees, 5.0);
  EXPECT_NEAR(shown->readings.DisplayHeading(), 1.0 - *expected.degrees + 360, 1e-3)
      << "a course of 1 with an easterly declination wraps past north";
  EXPECT_EQ(shown->readings.FormatHeading().back(), 'm');
}

TEST_F(MagneticHeading, AModelThatCannotBeReadIsLoggedOnceAndNoHeadingIsShown) {
  const auto damaged = folder.Path() / "damaged.COF";
  std::ofstream(damaged) << "not a coefficient file\n";
  for (const auto& file : {folder.Path() / "missing.COF", damaged}) {
    verbose.Clear();
    ModelDeclination model(file);
    auto shown = WindowOn(model);
    shown->RefreshTick();
    EXPECT_EQ(shown->readings.lblCourse[0].Caption(), "---") << file;
    EXPECT_EQ(TimesLogged("DisplayHeading: "), 1) << verbose.txtLog.Text();
    EXPECT_FALSE(model.ModelLoaded());
  }
}

}  // namespace
}  // namespace orvo::tracking
