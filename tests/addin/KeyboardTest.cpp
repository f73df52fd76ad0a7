#include <gtest/gtest.h>

#include "addin/frmShortKeyFlash.hpp"
#include "host/map/MapView.hpp"
#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::addin {
namespace {

using host::ui::Milliseconds;

struct Keyboard : ::testing::Test, orvo::testing::MainWindowFixture {
  void SetUp() override { window->Show(); }
  void Press(int keyCode, int shift = 0) {
    desktop.Dispatch(
        {{"type", "key"}, {"window", "frmAddIn"}, {"keyCode", keyCode}, {"shift", shift}});
  }
  // The flash window's texts, or nothing when it is not showing.
  std::optional<std::pair<std::string, std::string>> Flash() const {
    auto* flash = dynamic_cast<frmShortKeyFlash*>(desktop.FindWindow("frmShortKeyFlash"));
    if (flash == nullptr) return std::nullopt;
    return std::make_pair(flash->lblFn.Caption(), flash->lblMsg.Caption());
  }
  using Texts = std::pair<std::string, std::string>;
};

TEST_F(Keyboard, DigitsAndLettersSwitchTabs) {
  const std::vector<std::pair<int, int>> keysToTabs = {{'2', 1}, {'1', 0}, {'A', 1}, {'T', 0},
                                                       {'3', 2}, {'O', 2}, {'4', 3}, {'S', 3}};
  for (const auto& [key, tab] : keysToTabs) {
    Press(key);
    EXPECT_EQ(window->SSTab.Tab(), tab) << "key " << key;
  }
  EXPECT_FALSE(Flash()) << "tab keys flash nothing";
}

TEST_F(Keyboard, TogglesFlashTheirNewState) {
  struct Case {
    int key;
    host::ui::CheckBox* box;
    Texts flash;
  };
  const std::vector<Case> cases = {
      {'I', &window->chkTrail, {"Plot Trail", "OFF"}},
      {'I', &window->chkTrail, {"Plot Trail", "ON"}},
      {'K', &window->chkTrkOnMap, {"Track Position", "OFF"}},
      {'N', &window->chkAlwaysTop, {"Always on Top", "OFF"}},
      {118, &window->chkGuidance, {"Driving Assistant", "ON"}},
  };
  for (const Case& c : cases) {
    const int before = c.box->Value();
    Press(c.key, 1);  // Shift changes nothing
    EXPECT_NE(c.box->Value(), before);
    EXPECT_EQ(Flash(), c.flash);
  }
  EXPECT_FALSE(window->sclTrackFactor.Enabled()) << "K ran the tracking box's own handling";
  EXPECT_FALSE(window->TopMost()) << "N ran the always-on-top handling";
}

TEST_F(Keyboard, CaptureKeyReportsWhatTheBoxEndedAs) {
  Press(116);  // F5 without a capture file: refused, the box stays clear
  EXPECT_EQ(window->receiver.chkRecord.Value(), 0);
  EXPECT_EQ(Flash(), Texts("NMEA Capture", "OFF"));
}

TEST_F(Keyboard, ReceiverKeyFlashesTheOutcome) {
  Press('G');
  EXPECT_EQ(Flash(), Texts("GPS", "Started"));
  Press('G');
  EXPECT_EQ(Flash(), Texts("GPS", "Stoped"));
  port.failOpen = true;
  Press('G', 2);
  EXPECT_EQ(Flash(), Texts("GPS", "Stoped"));
  EXPECT_EQ(dialogs.Prompts().back(), "Can't open comm port");
}

TEST_F(Keyboard, ScrollBarKeysStopAtTheirEndsAndStillFlash) {
  window->sclRefreshRate.SetValue(31);
  Press(190);
  EXPECT_EQ(Flash(), Texts("GPS Refresh", "32 sec"));
  Press(190);
  EXPECT_EQ(window->sclRefreshRate.Value(), 32);
  EXPECT_EQ(Flash(), Texts("GPS Refresh", "32 sec"));
  window->sclRefreshRate.SetValue(1);
  Press(188);
  EXPECT_EQ(Flash(), Texts("GPS Refresh", " AUTO "));
  EXPECT_EQ(window->lblRefreshRate.Caption(), "GPS Auto");

  Press(107);
  EXPECT_EQ(Flash(), Texts("Track Refresh", "1"));
  Press(189);
  EXPECT_EQ(Flash(), Texts("Track Refresh", "AUTO"));
  window->chkTrkOnMap.SetValue(0);
  Press(187);
  EXPECT_EQ(window->sclTrackFactor.Value(), 0) << "tracking off: the factor stays";
  EXPECT_EQ(Flash(), Texts("Track Refresh", "AUTO"));
}

TEST_F(Keyboard, FlashStaysSevenHundredMillisecondsAfterTheLastMessage) {
  Press('I');
  scheduler.Advance(Milliseconds(500));
  Press('I');
  scheduler.Advance(Milliseconds(500));
  EXPECT_TRUE(Flash()) << "the second message restarted the count";
  scheduler.Advance(Milliseconds(200));
  EXPECT_FALSE(Flash());
  Press('I');
  desktop.Dispatch({{"type", "key"}, {"window", "frmShortKeyFlash"}, {"keyCode", 65}});
  EXPECT_FALSE(Flash()) << "a key released on the flash closes it";
  Press('I');
  auto* flash = dynamic_cast<frmShortKeyFlash*>(desktop.FindWindow("frmShortKeyFlash"));
  flash->Frame1.UserClick();
  EXPECT_FALSE(Flash());
}

TEST_F(Keyboard, SingleRCalculatesARouteLaterAndDoubleRSwitchesRecalculation) {
  int& routes = map.routes;
  Press('R');
  scheduler.Advance(Milliseconds(999));
  EXPECT_EQ(routes, 0);
  scheduler.Advance(Milliseconds(1));
  EXPECT_EQ(routes, 1);

  Press('R');
  scheduler.Advance(Milliseconds(400));
  Press('R');
  scheduler.Advance(Milliseconds(2000));
  EXPECT_EQ(routes, 1) << "a double press calculates nothing";
  EXPECT_TRUE(window->GuidanceState().offTrackRecalc);
  EXPECT_EQ(Flash(), std::nullopt) << "the flash is long gone after two seconds";
  Press('R');
  Press('R');
  EXPECT_FALSE(window->GuidanceState().offTrackRecalc);
  EXPECT_EQ(Flash(), Texts("Off-track re-calc", "OFF"));
}

TEST_F(Keyboard, TypingIntoTheTextBoxesTriggersNothing) {
  for (const char* box : {"txtBaud", "txtRecOutFileName"}) {
    desktop.Dispatch(
        {{"type", "event"}, {"window", "frmAddIn"}, {"control", box}, {"event", "focus"}});
    for (int key : {int{'2'}, int{'G'}, int{'I'}, 116, 190}) Press(key);
    EXPECT_EQ(window->SSTab.Tab(), 0);
    EXPECT_EQ(window->chkTrail.Value(), 1);
    EXPECT_FALSE(Flash());
    desktop.Dispatch(
        {{"type", "event"}, {"window", "frmAddIn"}, {"control", box}, {"event", "blur"}});
  }
  Press('2');
  EXPECT_EQ(window->SSTab.Tab(), 1);
  Press(32);
  Press(191);
  EXPECT_FALSE(Flash()) << "keys outside 33..190 are ignored";
}

TEST_F(Keyboard, XAndZZoomTheMapBesideOrvo) {
  view.SetInitialView(43.7384, 7.4246, 14);
  window->UseMapActions(window->Map());
  const std::vector<std::pair<int, double>> keysToZoom = {
      {'Z', 15}, {'Z', 16}, {'X', 15}, {'X', 14}, {'X', 13}};
  for (const auto& [key, zoom] : keysToZoom) {
    Press(key, 1);
    EXPECT_DOUBLE_EQ(view.State().zoom, zoom) << "key " << static_cast<char>(key);
  }
  EXPECT_FALSE(Flash()) << "zooming flashes nothing";
}

TEST_F(Keyboard, CompassKeysReachTheMapActions) {
  Press('C');
  Press('P');
  EXPECT_EQ(map.locates, 1);
  EXPECT_EQ(map.pins, 1);
  window->mnuCompassLocate.SetEnabled(false);
  window->mnuCompassPushAPin.SetEnabled(false);
  Press('C');
  Press('P');
  EXPECT_EQ(map.locates, 1) << "a disabled menu item is skipped";
  EXPECT_EQ(map.pins, 1);
}

}  // namespace
}  // namespace orvo::addin
