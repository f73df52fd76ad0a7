// The go-to window over the engine and a flat route: its list and scroll bar follow the journey,
// the scroll bar picks the target, the list cannot, the check box is the off-track switch, and
// the stop button restores the route and warns until told not to.
#include <gtest/gtest.h>

#include "guidance/frmGM.hpp"
#include "host/ui/Desktop.hpp"
#include "tests/TestSupport.hpp"
#include "tests/guidance/GuidanceFakes.hpp"

namespace orvo::guidance {
namespace {

class GoToWindow : public ::testing::Test {
 protected:
  GoToWindow() {
    fix.FixMode = gps::kFixMode3D;
    engine.UseGoToView(&window);
  }
  void Journey(const std::vector<std::string>& names) {
    double lat = 0;
    for (const std::string& name : names) route.AddWaypoint({lat++, 0}, name);
    route.Calculate();
    engine.GuidanceTick();
  }

  orvo::testing::TempFolder folder;
  settings::SettingsStore store{folder.Path() / "ORVO.ini"};
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  gps::GpsFix fix;
  MMSetup setup{".", host::platform::NumberLocale{}};
  testing::FakeRoute route;
  testing::RecordingDisplay display;
  GuidanceEngine engine{
      GuidanceEngineParts{.route = &route,
                          .fix = fix,
                          .setup = setup,
                          .unit = [] { return host::map::DistanceUnit::Kilometres; },
                          .distance = testing::PlaneDistance,
                          .display = display}};
  bool onTop = true;
  std::vector<int> keys;
  frmGM window{desktop, store, engine, setup,
               GoToOwner{.alwaysOnTop = [this] { return onTop; },
                         .keyUp = [this](int key, int) { keys.push_back(key); }}};
};

TEST_F(GoToWindow, ShowsTheJourneyAndPicksTargetsOnlyByTheScrollBar) {
  Journey({"Home", "Shop", "Work"});
  ASSERT_TRUE(window.Visible());
  EXPECT_TRUE(window.TopMost());
  EXPECT_EQ(window.lstWp.Items(), (std::vector<std::string>{"Home", "Shop", "Work"}));
  EXPECT_EQ(window.scrWpSel.Min(), 1);
  EXPECT_EQ(window.scrWpSel.Max(), 3);
  EXPECT_EQ(window.scrWpSel.Value(), 2);
  EXPECT_EQ(window.lstWp.ListIndex(), 1);
  EXPECT_TRUE(window.cmdGM.Enabled());
  EXPECT_EQ(window.chkAutoCalc.Caption(), "Off-track re-calc");
  EXPECT_EQ(window.lblHint.Caption(), "Using shortcut PgUp PgDn to go to the waypoint.");

  window.scrWpSel.UserChange(3);
  EXPECT_EQ(engine.GoToIndex(), 3);
  EXPECT_EQ(route.Names(), (std::vector<std::string>{"Current Position", "Work"}));
  window.lstWp.UserChange(0);
  EXPECT_EQ(window.lstWp.ListIndex(), 2);
  EXPECT_EQ(engine.GoToIndex(), 3);
  // Page Up from the engine moves the window's controls, without calling back.
  engine.GuidanceStep(-1);
  EXPECT_EQ(window.scrWpSel.Value(), 2);
  EXPECT_EQ(window.lstWp.ListIndex(), 1);
  window.KeyUp(34, 0);
  EXPECT_EQ(keys, std::vector<int>{34});
}

TEST_F(GoToWindow, TheCheckBoxIsTheOffTrackSwitch) {
  Journey({"Home", "Work"});
  EXPECT_EQ(window.lstWp.Items().size(), 2u);
  EXPECT_EQ(window.chkAutoCalc.Value(), 0);
  window.chkAutoCalc.UserClick();
  EXPECT_TRUE(setup.bgGuideAutoRecalcOn);
  EXPECT_TRUE(engine.State().offTrackRecalc);
  // A double R flips the shared switch; the box follows.
  engine.State().offTrackRecalc = false;
  engine.UpdateAutoRecalc();
  EXPECT_EQ(window.chkAutoCalc.Value(), 0);
  EXPECT_FALSE(setup.bgGuideAutoRecalcOn);
}

TEST_F(GoToWindow, StopRestoresTheRouteAndWarnsUntilCancelled) {
  for (const host::ui::MsgBoxResult answer :
       {host::ui::MsgBoxResult::Ok, host::ui::MsgBoxResult::Cancel}) {
    Journey({"Home", "Shop", "Work"});
    dialogs.QueueAnswer(answer);
    window.cmdGM.UserClick();
    EXPECT_EQ(route.Names(), (std::vector<std::string>{"Home", "Shop", "Work"}));
    EXPECT_FALSE(engine.GoToActive());
    EXPECT_TRUE(window.lstWp.Items().empty());
    EXPECT_FALSE(window.cmdGM.Enabled());
    route.Clear();
  }
  EXPECT_EQ(dialogs.Prompts(), std::vector<std::string>(2, kGMStopWarningText));
  EXPECT_EQ(store.GetSetting("GM", "GMStopWarning", "1"), "0");
  Journey({"Home", "Work"});
  window.cmdGM.UserClick();
  EXPECT_EQ(dialogs.Prompts().size(), 2u);
  // A journey of one waypoint (the route from here to Home): one row, a range of one.
  route.Clear();
  Journey({"Current Position", "Home"});
  EXPECT_EQ(window.lstWp.Items(), std::vector<std::string>{"Home"});
  EXPECT_EQ(window.scrWpSel.Max(), 1);
}

}  // namespace
}  // namespace orvo::guidance
