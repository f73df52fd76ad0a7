#include <gtest/gtest.h>

#include "tests/tracking/TrackingFixture.hpp"

namespace orvo::tracking {
namespace {

using orvo::testing::TrackingFixture;

struct Compass : ::testing::Test, TrackingFixture {};

TEST_F(Compass, RouteItemNeedsARouteThatIsMoreThanTheCurrentPosition) {
  const struct {
    bool mapOpen;
    std::vector<std::string> waypoints;
    bool failRoute;
    bool enabled;
  } cases[] = {
      {true, {}, false, false},
      {true, {"Current Position"}, false, false},
      {true, {"Current Position", "Casino"}, false, true},
      {true, {"Casino"}, false, true},
      {true, {"Casino", "Larvotto"}, false, true},
      {false, {"Casino"}, false, false},
      {true, {"Casino"}, true, false},  // a host error leaves the route empty
  };
  for (const auto& c : cases) {
    application.open = c.mapOpen;
    Map().waypoints = c.waypoints;
    Map().failRoute = c.failRoute;
    window.mnuCompassCalcRouteFromHere.SetEnabled(!c.enabled);
    compass.ApplyEnabling();
    EXPECT_EQ(window.mnuCompassCalcRouteFromHere.Enabled(), c.enabled)
        << c.waypoints.size() << (c.mapOpen ? " open" : " closed");
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
  const auto popups = pages.OfType("popup");
  ASSERT_EQ(popups.size(), 1u);
  EXPECT_EQ(popups[0]["menu"], "mnuCompass");
  EXPECT_EQ(popups[0]["x"], 3960 + 660);
  EXPECT_EQ(popups[0]["y"], 2970);

  int routes = 0;
  compass.calcRouteFromHere = [&] { ++routes; };
  window.mnuCompassCalcRouteFromHere.UserClick();
  EXPECT_EQ(routes, 1);
}

}  // namespace
}  // namespace orvo::tracking
