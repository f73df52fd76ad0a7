#include <gtest/gtest.h>

#include "tests/tracking/TrackingFixture.hpp"
#include "tracking/PinSymbols.hpp"

namespace orvo::tracking {
namespace {

using orvo::testing::TrackingFixture;

struct MapTracking : ::testing::Test, TrackingFixture {
  MapTracking() { window.chkTrail.SetValue(0); }
  const testing::FakeActiveMap::Pin* PositionPin() {
    return Map().Named(MapTracker::kPositionPinName);
  }
};

TEST(PositionPinSymbol, HeadingSectorsRoundHalfToEvenAndWrapNorth) {
  const struct {
    double course;
    std::int16_t symbol;
  } cases[] = {{0, 120},     {22.4, 120},  {22.5, 120}, {22.6, 128}, {45, 128},  {67.5, 123},
               {90, 123},    {135, 130},   {180, 121},  {225, 131},  {270, 122}, {315, 129},
               {337.4, 129}, {337.5, 120}, {359, 120},  {360, 120}};
  for (const auto& c : cases) EXPECT_EQ(HeadingSymbol(c.course), c.symbol) << c.course;
  EXPECT_THROW(HeadingSymbol(405), std::out_of_range) << "sector 9 is a bounds error";
}

TEST(PositionPinSymbol, StyleSpeedFloorAndFixState) {
  const struct {
    std::int16_t style;
    int fixMode;
    double knots;
    std::int16_t symbol;
  } cases[] = {
      {1, 3, 0.38, 123},  // exactly the floor: the arrow (course 90)
      {1, 3, 0.37, 30},  {1, 2, 0.37, 26}, {1, 1, 0.0, 25}, {0, 3, 50, 30},
      {0, 2, 50, 26},    {0, 1, 50, 25},   {2, 3, 50, 30},  // an unknown style shows the state
  };
  for (const auto& c : cases)
    EXPECT_EQ(PositionPinSymbol(c.style, c.fixMode, c.knots, 90), c.symbol)
        << c.style << " " << c.fixMode << " " << c.knots;
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
  window.chkTrkOnMap.SetValue(0);
  EXPECT_EQ(tracker.TrackCounter(), 0);
  EXPECT_FALSE(window.sclTrackFactor.Enabled());
  EXPECT_FALSE(window.lblTrackFactor.Enabled());
  tracker.UpdatePositionOnMap();
  EXPECT_EQ(tracker.TrackCounter(), 0) << "no following while unchecked";
}

TEST_F(MapTracking, AutoFollowRecentresOnlyWithinSeventyPixelsOfAnEdge) {
  window.sclTrackFactor.SetValue(0);
  // 10000 pixels per degree on an 800 x 600 map centred on (0, 0): the pin at (0, 0) is at
  // (400, 300); each pixel is 0.0001 degrees.
  const struct {
    int x;
    int y;
    bool recentres;
  } cases[] = {{70, 300, false}, {69, 300, true},  {730, 300, false}, {731, 300, true},
               {400, 70, false}, {400, 69, true},  {400, 530, false}, {400, 531, true},
               {-5, 700, true},  {400, 300, false}};
  for (const auto& c : cases) {
    Map().centreLatitude = 0;
    Map().centreLongitude = 0;
    SetFix((300 - c.y) / 10000.0, (c.x - 400) / 10000.0);
    const int before = Map().goToCount;
    tracker.UpdatePositionOnMap();
    EXPECT_EQ(Map().goToCount > before, c.recentres) << c.x << "," << c.y;
  }
}

// The timer itself is driven in the main window's test; here what the bars' ends are called.
TEST_F(MapTracking, ScrollBarsNameTheirAutomaticEnds) {
  window.sclTrackFactor.SetValue(0);
  EXPECT_EQ(window.lblTrackFactor.Caption(), "Auto");
  window.sclRefreshRate.SetValue(0);
  EXPECT_EQ(window.lblRefreshRate.Caption(), "GPS Auto");
  window.sclRefreshRate.SetValue(32);
  EXPECT_EQ(window.lblRefreshRate.Caption(), "32 sec");
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
  const auto popups = pages.OfType("popup");
  ASSERT_EQ(popups.size(), 1u);
  EXPECT_EQ(popups[0]["menu"], "mnuPosPPStyle");
  EXPECT_EQ(popups[0]["x"], 180);
  EXPECT_EQ(popups[0]["y"], 2580 + 400);
}

}  // namespace
}  // namespace orvo::tracking
