// The readings and the status panel as the main window shows them, and the magnetic heading over
// the real World Magnetic Model.
#include <gtest/gtest.h>

#include <fstream>

#include "addin/frmVerbose.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::tracking {
namespace {

using host::platform::NumberLocale;
using orvo::testing::MainWindowFixture;

NumberLocale Point() {
  return {".", ","};
}
NumberLocale Comma() {
  return {",", "."};
}

struct Panels : ::testing::Test, MainWindowFixture {
  void SetUp() override { window->Show(); }
  void Feed(const std::string& text) {
    // One sentence is dispatched per call; empty calls dispatch the rest, as playback does.
    window->ProcessData(text);
    while (window->Session().Intake().HasCompleteSentence()) window->ProcessData("");
  }
};

// Speed (whole and tenths), elevation and longitude in each row's units and decimal separator.
TEST_F(Panels, ReadingsFollowTheChosenUnitsAndTheUsersDecimalSeparator) {
  const struct {
    NumberLocale (*locale)();
    std::int16_t speedUnit, unit;  // unit: of elevation (0 ft, else m) and position
    std::vector<std::string> shown;
  } cases[] = {
      {Point, 0, 0, {"115", "1", "4,050.2 ft", "011\u00B031.000W"}},
      {Point, 1, 1, {"185", "2", "1,234.5 m", "-11.51667 \u00B0 "}},
      {Point, 7, 5, {"0", "0", "1,234.5 m", ""}},  // outside the tables: empty text shows as 0 0
      // A literal '.' is looked for in the speed, on purpose: a comma user sees 0 0.
      {Comma, 1, 1, {"0", "0", "1.234,5 m", "-11,51667 \u00B0 "}},
  };
  for (const auto& c : cases) {
    addin::MainWindowServices services = Services();
    services.numberLocale = c.locale;
    window.reset();
    window = std::make_unique<addin::frmAddIn>(services);
    window->Show();
    window->readings.SetUnitSpeed(c.speedUnit);
    window->readings.SetUnitElv(c.unit == 0 ? 0 : 1);
    window->readings.SetUnitLatLng(c.unit);
    Feed(
        "$GPGGA,123519,4807.038,N,01131.000,W,1,08,0.9,1234.5,M,46.9,M,,*47\r\n"
        "$GPRMC,123519,A,4807.038,N,01131.000,W,100.0,359.96,230394,003.1,W*6A\r\n"
        "$GPGSA,A,3,04,05,,,,,,,,,,,2.5,1.2,,*00\r\n");
    window->RefreshTick();
    const auto& shown = window->readings;
    EXPECT_EQ((std::vector<std::string>{shown.lblSpeed[0].Caption(), shown.lblSpeed[1].Caption(),
                                        shown.lbElv[0].Caption(), shown.lblLng[0].Caption()}),
              c.shown);
  }
  EXPECT_EQ(window->readings.lblCourse[0].Caption(), "360");
  EXPECT_EQ(window->readings.lblCourse[1].Caption(), "0");
  EXPECT_EQ(window->readings.FormatSpeed(), "185,2");
  window->SSTab.SetTab(addin::frmAddIn::kTabSatellite);
  EXPECT_NE(window->status.txtSaInfo.Text().find("HDOP=1,2\r\n"), std::string::npos);
  window->Unload();
  EXPECT_EQ(store.GetSetting("TraceOpt", "ThreasholdKnot", ""), "0.00216")
      << "always stored with '.'";
  EXPECT_EQ(store.GetSetting("Settings", "dStopDetTKt", ""), "4");
}

TEST_F(Panels, MagneticHeadingSubtractsTheDeclinationAndSaysWhenThereIsNone) {
  window->readings.SetUnitHeading(1);
  EXPECT_EQ(window->readings.lblCourse[2].BackColor(), "#ffff80");
  const auto headingFor = [&](const char* course, std::optional<double> declinationDegrees) {
    declination.degrees = declinationDegrees;
    Feed(std::string("$GPRMC,123519,A,4807.038,N,01131.000,E,10.0,") + course + ",230394,,*00\r\n");
    window->RefreshTick();
    return window->readings.DisplayHeading();
  };
  EXPECT_DOUBLE_EQ(headingFor("2", 10.0), 352);
  EXPECT_DOUBLE_EQ(headingFor("350", -15.0), 365);
  EXPECT_EQ(window->readings.FormatHeading(), "365.0m");
  headingFor("90", std::nullopt);
  EXPECT_EQ(window->readings.lblCourse[0].Caption(), "---");
  window->readings.SetUnitHeading(0);
  EXPECT_DOUBLE_EQ(headingFor("90", std::nullopt), 90);
  EXPECT_EQ(window->readings.lblCourse[2].BackColor(), "#80b7af");
}

TEST_F(Panels, NoFixDimsTheReadingsAndShowsNoTime) {
  window->RefreshTick();
  EXPECT_EQ(window->readings.lblCourse[0].Caption(), "0");
  EXPECT_FALSE(window->readings.lblLat[0].Enabled());
  EXPECT_EQ(window->readings.lbElv[0].Caption(), "N/A");
  EXPECT_FALSE(window->readings.lbElv[0].Enabled());
  EXPECT_EQ(window->status.lblGPSTime[0].Caption(), "");
  EXPECT_FALSE(window->mnuCompassSyncTime.Enabled());
  window->status.lblGPSTime[0].UserClick();
  EXPECT_FALSE(clock.LastTimeOfDaySet()) << "no clock change without any data";

  Feed("$GPRMC,235959.00,V,,,,,,,,,,N*00\r\n");
  window->RefreshTick();
  EXPECT_EQ(window->status.lblGPSState[0].Caption(), "Acquiring");
  EXPECT_EQ(window->status.dwGPSState[0].FillColor(), "#ff0000");
  EXPECT_EQ(window->status.lblGPSTime[0].Caption(), "11:59:59 PM");
  EXPECT_EQ(window->status.lblGPSTime[0].ToolTipText(), "(click to sync the system time)");
  EXPECT_TRUE(window->mnuCompassSyncTime.Enabled());
  window->status.lblGPSTime[0].UserClick();
  ASSERT_TRUE(clock.LastTimeOfDaySet());
  EXPECT_EQ(clock.LastTimeOfDaySet()->Format("hh:mm:ss"), "23:59:59");

  Feed("$GPRMC,081500,A,4807.038,N,01131.000,E,0.0,0.0,010203,,*00\r\n");
  window->RefreshTick();
  EXPECT_EQ(window->status.lblGPSTime[0].ToolTipText(), "02/01/03 (click to sync the system time)");
}

TEST_F(Panels, SkyPlotAndSatelliteListDrawWhatTheReceiverReports) {
  window->SSTab.SetTab(addin::frmAddIn::kTabSatellite);
  Feed(
      "$GPGSV,2,1,06,01,90,045,40,02,00,090,,03,00,180,00,04,45,270,*70\r\n"
      "$GPGSV,2,2,06,05,,,33,17,,,*70\r\n"
      "$GPGSA,A,3,01,02,03,,,,,,,,,,2.5,1.2,,*00\r\n");
  window->RefreshTick();
  const auto at = [&](int slot) {
    return std::make_pair(window->status.lblSP[slot].Left(), window->status.lblSP[slot].Top());
  };
  EXPECT_EQ(at(0), std::make_pair(787, 1117));
  EXPECT_EQ(at(1), std::make_pair(1237, 1117));
  EXPECT_EQ(at(2), std::make_pair(787, 1567));
  EXPECT_EQ(window->status.lblSaID[1].Left(), 1337);
  EXPECT_EQ(window->status.lblSaID[1].Caption(), "2");
  EXPECT_EQ(window->status.lblSP[1].ForeColor(), "#808080") << "no signal: grey";
  EXPECT_EQ(window->status.lblSP[2].ForeColor(), "#00ff00") << "a signal of 0 is still a signal";
  EXPECT_FALSE(window->status.lblSP[4].Visible()) << "no elevation, no dot";
  EXPECT_FALSE(window->status.lblSP[6].Visible());
  EXPECT_EQ(window->status.lblSaNumber.Caption(), "6");
  EXPECT_EQ(window->status.txtSaInfo.Text(),
            "Id Db Azm El\r\n01 40 045 90 \r\n02 -- 090 00 \r\n03 00 180 00 \r\n"
            "04 -- 270 45 \r\n05 33 --- -- \r\n17 -- --- -- \r\nHDOP=1.2\r\n");
  EXPECT_EQ(window->status.txtSaInfo.SelLength(),
            static_cast<int>(window->status.txtSaInfo.Text().size()));
}

const std::filesystem::path kModelFile =
    std::filesystem::path(ORVO_SOURCE_DIR) / "data" / "WMM2025.COF";
// Monaco harbour.
constexpr double kLatitude = 43.7397;
constexpr double kLongitude = 7.42417;
const char* const kGgaOnly = "$GPGGA,101500,4344.3820,N,00725.4500,E,1,07,1.1,42.0,M,,M,,*00\r\n";

// The magnetic heading over the real World Magnetic Model.
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
