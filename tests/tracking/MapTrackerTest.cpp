// Map tracking and the compass's menu on the main window's controls over the in-memory map.
#include <gtest/gtest.h>

#include <tuple>

#include "tests/tracking/TrackingFixture.hpp"
#include "tracking/PinSymbols.hpp"

namespace orvo::tracking {
namespace {

using orvo::testing::TrackingFixture;

// A pop-up menu the page is told to open, and where.
host::ui::Json Popup(const char* menu, int x, int y) {
  return {{"type", "popup"}, {"window", "frmAddIn"}, {"menu", menu}, {"x", x}, {"y", y}};
}

struct MapTracking : ::testing::Test, TrackingFixture {
  MapTracking() { window.chkTrail.SetValue(0); }
  const testing::FakeActiveMap::Pin* PositionPin() {
    return Map().Named(MapTracker::kPositionPinName);
  }
};

TEST(PositionPinSymbol, HeadingSectorsRoundHalfToEvenAndWrapNorth) {
  const std::pair<double, std::int16_t> cases[] = {
      {0, 120},     {22.4, 120},  {22.5, 120}, {22.6, 128}, {45, 128},  {67.5, 123},
      {90, 123},    {135, 130},   {180, 121},  {225, 131},  {270, 122}, {315, 129},
      {337.4, 129}, {337.5, 120}, {359, 120},  {360, 120}};
  for (const auto& [course, symbol] : cases) EXPECT_EQ(HeadingSymbol(course), symbol) << course;
  EXPECT_THROW(HeadingSymbol(405), std::out_of_range) << "sector 9 is a bounds error";
}

TEST(PositionPinSymbol, StyleSpeedFloorAndFixState) {
  // The style, the fix mode, the speed in knots, and the symbol.
  const std::tuple<std::int16_t, int, double, std::int16_t> cases[] = {
      {1, 3, 0.38, 123},  // exactly the floor: the arrow (course 90)
      {1, 3, 0.37, 30},  {0, 3, 50, 30}, {0, 2, 50, 26},
      {0, 1, 50, 25},    {2, 3, 50, 30},  // an unknown style shows the state
  };
  for (const auto& [style, fixMode, knots, symbol] : cases)
    EXPECT_EQ(PositionPinSymbol(style, fixMode, knots, 90), symbol)
        << style << " " << fixMode << " " << knots;
  EXPECT_THROW(PositionPinSymbol(0, 4, 0, 0), std::out_of_range);
}

TEST_F(MapTracking, PinFollowsTheFixGoesWithNoDataAndComesBackAsAFreshPin) {
  SetFix(43.7, 7.4, gps::kFixMode3D, 10, 90);
  tracker.UpdatePositionOnMap();
  ASSERT_NE(PositionPin(), nullptr);
  EXPECT_EQ(PositionPin()->symbol, 123);
  EXPECT_EQ(PositionPin()->balloonState, 0);
  const auto firstId = tracker.CurrentPositionPin()->Id();

  SetFix(43.71, 7.41, gps::kFixMode3D, 10, 90);
  tracker.UpdatePositionOnMap();
  EXPECT_EQ(tracker.CurrentPositionPin()->Id(), firstId);
  EXPECT_DOUBLE_EQ(PositionPin()->location.latitudeDegrees, 43.71);
  EXPECT_EQ(Map().PinCount(), 1u);

  window.mnuCompassCalcRouteFromHere.SetEnabled(true);
  fix.FixMode = gps::kFixModeNoData;
  tracker.UpdatePositionOnMap();
  EXPECT_EQ(PositionPin(), nullptr);
  EXPECT_FALSE(tracker.CurrentPositionPin());
  EXPECT_FALSE(window.mnuCompassCalcRouteFromHere.Enabled());

  SetFix(43.71, 7.41, gps::kFixModeNoFix, 0.1, 90);
  window.mnuCompassCalcRouteFromHere.SetEnabled(true);
  tracker.UpdatePositionOnMap();
  ASSERT_NE(PositionPin(), nullptr);
  EXPECT_NE(tracker.CurrentPositionPin()->Id(), firstId);
  EXPECT_EQ(PositionPin()->symbol, 25);
  EXPECT_FALSE(window.mnuCompassCalcRouteFromHere.Enabled()) << "a new pin disables the route";
}

TEST_F(MapTracking, WithoutAMapNothingHappensAndThePinIsKept) {
  SetFix(43.7, 7.4);
  tracker.UpdatePositionOnMap();
  application.open = false;
  fix.FixMode = gps::kFixModeNoData;
  tracker.UpdatePositionOnMap();
  application.open = true;
  EXPECT_NE(PositionPin(), nullptr);
  EXPECT_TRUE(tracker.CurrentPositionPin());
}

TEST_F(MapTracking, HostErrorsEndTheStepSilentlyAndAreLogged) {
  SetFix(95, 7.4);  // off the globe: the host refuses the location
  tracker.UpdatePositionOnMap();
  EXPECT_EQ(Map().PinCount(), 0u);
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0].rfind("UpdatePositionOnMap: ", 0), 0u);
  EXPECT_TRUE(dialogs.Messages().empty());
}

TEST_F(MapTracking, TrackFactorRecentresOnEveryThirdTick) {
  window.sclTrackFactor.SetValue(3);
  SetFix(43.7, 7.4);
  std::vector<int> recentredAt;
  for (int tick = 1; tick <= 9; ++tick) {
    const int before = Map().goToCount;
    tracker.UpdatePositionOnMap();
    if (Map().goToCount > before) recentredAt.push_back(tick);
  }
  EXPECT_EQ(recentredAt, (std::vector<int>{3, 6, 9}));
  tracker.UpdatePositionOnMap();
  EXPECT_EQ(tracker.TrackCounter(), 1);
  window.chkTrkOnMap.SetValue(0);  // the factor's bar off too: MainWindowTest
  EXPECT_EQ(tracker.TrackCounter(), 0);
  EXPECT_FALSE(window.lblTrackFactor.Enabled());
  tracker.UpdatePositionOnMap();
  EXPECT_EQ(tracker.TrackCounter(), 0) << "no following while unchecked";
}

TEST_F(MapTracking, AutoFollowRecentresOnlyWithinSeventyPixelsOfAnEdge) {
  window.sclTrackFactor.SetValue(0);
  // 10000 pixels per degree on an 800 x 600 map centred on (0, 0): the pin at (0, 0) is at
  // (400, 300); each pixel is 0.0001 degrees.
  // The pin's pixel, and whether the map recentres.
  const std::tuple<int, int, bool> cases[] = {
      {70, 300, false}, {69, 300, true},   {730, 300, false}, {731, 300, true}, {400, 70, false},
      {400, 69, true},  {400, 530, false}, {400, 531, true},  {-5, 700, true},  {400, 300, false}};
  for (const auto& [x, y, recentres] : cases) {
    Map().centreLatitude = 0;
    Map().centreLongitude = 0;
    SetFix((300 - y) / 10000.0, (x - 400) / 10000.0);
    const int before = Map().goToCount;
    tracker.UpdatePositionOnMap();
    EXPECT_EQ(Map().goToCount > before, recentres) << x << "," << y;
  }
}

TEST_F(MapTracking, CursorMenuChecksOneStyleAndOpensBelowItsButton) {
  window.mnuPosPPStyleGPS.UserClick();
  EXPECT_EQ(tracker.PosPPStyle(), 0);
  EXPECT_TRUE(window.mnuPosPPStyleGPS.Checked());
  EXPECT_FALSE(window.mnuPosPPStyleHeading.Checked());
  window.mnuPosPPStyleHeading.UserClick();
  EXPECT_EQ(tracker.PosPPStyle(), 1);
  EXPECT_TRUE(window.mnuPosPPStyleHeading.Checked());
  tracker.SetPosPPStyle(7);
  EXPECT_FALSE(window.mnuPosPPStyleHeading.Checked());
  EXPECT_FALSE(window.mnuPosPPStyleGPS.Checked());

  window.cmdCurPPSel.UserClick();
  EXPECT_EQ(pages.OfType("popup"), std::vector{Popup("mnuPosPPStyle", 180, 2580 + 400)});
}

struct Compass : ::testing::Test, TrackingFixture {};

TEST_F(Compass, RouteItemNeedsARouteThatIsMoreThanTheCurrentPosition) {
  // The map open, its route's waypoints, the route failing, the item enabled.
  const std::tuple<bool, std::vector<std::string>, bool, bool> cases[] = {
      {true, {}, false, false},
      {true, {"Current Position"}, false, false},
      {true, {"Current Position", "Casino"}, false, true},
      {true, {"Casino"}, false, true},
      {false, {"Casino"}, false, false},
      {true, {"Casino"}, true, false},  // a host error leaves the route empty
  };
  for (const auto& [mapOpen, waypoints, failRoute, enabled] : cases) {
    application.open = mapOpen;
    Map().waypoints = waypoints;
    Map().failRoute = failRoute;
    window.mnuCompassCalcRouteFromHere.SetEnabled(!enabled);
    compass.ApplyEnabling();
    EXPECT_EQ(window.mnuCompassCalcRouteFromHere.Enabled(), enabled)
        << waypoints.size() << (mapOpen ? " open" : " closed");
  }
}

// The keys C and P go by the same items; the main window's keyboard test drives them.
TEST_F(Compass, FixItemsFollowTheFixStateAndLocatingNeedsThePositionPin) {
  for (const std::int16_t mode : {gps::kFixModeNoData, gps::kFixModeNoFix}) {
    SetFix(43.7, 7.4, mode);
    compass.UpdateFixItems();
    EXPECT_EQ(window.mnuCompassPushAPin.Enabled(), mode == gps::kFixModeNoFix);
    EXPECT_EQ(window.mnuCompassSyncTime.Enabled(), mode == gps::kFixModeNoFix);
    EXPECT_TRUE(window.mnuCompassLocate.Enabled());
  }
  window.mnuCompassLocate.UserClick();
  EXPECT_EQ(Map().goToCount, 0) << "no position pin, nothing to locate";
  Map().AddPushpin({43.73, 7.42, 0}, std::string(MapTracker::kPositionPinName));
  window.mnuCompassLocate.UserClick();
  EXPECT_EQ(Map().goToCount, 1);
  EXPECT_DOUBLE_EQ(Map().centreLatitude, 43.73);
}

TEST_F(Compass, PushAPinOpensItsBalloonAndCarriesTheNoteWhenNotesAreOn) {
  options.ppName = 2;
  options.noteOpt = 8;
  options.symbolBase = 16;
  for (const bool notes : {false, true}) {
    options.note = notes;
    SetFix(43.7, 7.4, gps::kFixMode2D);
    window.mnuCompassPushAPin.UserClick();
  }
  const auto pins = Map().Pins();
  ASSERT_EQ(pins.size(), 2u);
  EXPECT_EQ(pins[0].name, "ORVO_0");
  EXPECT_EQ(pins[0].symbol, 18);
  EXPECT_EQ(pins[0].balloonState, 2);
  EXPECT_EQ(pins[0].note, "");
  EXPECT_EQ(pins[1].note, "Speed:  24.9 MPH\r\n");
  EXPECT_FALSE(trail.Pending()) << "the prepared pin is used up";
  EXPECT_EQ(trail.Cache().Count(), 0) << "a pushed pin is not part of the trail";

  Map().failAdd = true;
  window.mnuCompassPushAPin.UserClick();
  EXPECT_FALSE(trail.Pending());
  EXPECT_TRUE(dialogs.Messages().empty());
  EXPECT_EQ(log.size(), 1u);
}

TEST_F(Compass, HoverHighlightsTheRingAndReleaseOpensTheMenuAtTheUpperRightCorner) {
  fix.FixMode = gps::kFixMode3D;
  Map().waypoints = {"Casino"};
  window.lblCompass.UserMouse("mousemove", {});
  EXPECT_EQ(window.shpD.Properties()["style"], 1);
  window.lblCompass.UserMouse("mouseup", {});
  EXPECT_EQ(window.shpD.Properties()["style"], 0);
  EXPECT_TRUE(window.mnuCompassCalcRouteFromHere.Enabled());
  EXPECT_TRUE(window.mnuCompassPushAPin.Enabled());
  EXPECT_EQ(pages.OfType("popup"), std::vector{Popup("mnuCompass", 3960 + 660, 2970)});
}

}  // namespace
}  // namespace orvo::tracking
