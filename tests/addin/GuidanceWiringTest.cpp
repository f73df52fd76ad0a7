// The driving assistant as the main window wires it: R, the compass route item, Page Down and F7
// reach the engine, the go-to window opens, and a route that cannot be made says why.
#include <gtest/gtest.h>

#include "tests/addin/MainWindowFixture.hpp"
#include "tests/guidance/GuidanceFakes.hpp"
#include "tests/tracking/FakeActiveMap.hpp"

namespace orvo::addin {
namespace {

using host::ui::Milliseconds;

struct GuidanceWiring : testing::MainWindowFixture, ::testing::Test {
  GuidanceWiring() {
    MainWindowServices services = Services();
    services.map = &application;
    services.route = &route;
    services.mapHost = &mapHost;
    window = std::make_unique<frmAddIn>(services);
    window->Show();
    for (const auto& [name, lat] : {std::pair{"Home", 43.73}, {"Shop", 43.74}, {"Work", 43.75}})
      route.AddWaypoint({lat, 7.42}, name);
  }
  std::vector<std::string> Names() const { return route.Names(); }

  testing::FakeMapApplication application;
  guidance::testing::FakeRoute route;
  host::map::MapHost mapHost{folder.Path()};
};

TEST_F(GuidanceWiring, KeysAndTheCompassItemDriveTheEngine) {
  ASSERT_NE(window->GuidanceEngine(), nullptr);
  view.SetInitialView(43.0, 7.0, 16);
  window->HandleShortKey(82, 0);  // R once: a route from here a second later
  EXPECT_EQ(route.calculations, 0);
  scheduler.Advance(Milliseconds(1000));
  EXPECT_EQ(Names(), (std::vector<std::string>{"Current Position", "Shop"}));
  EXPECT_EQ(view.State().centreLatitudeDegrees, 43.0) << "go-to mode's first leg keeps the view";
  ASSERT_TRUE(window->GoToWindow()->Visible());
  EXPECT_EQ(window->GoToWindow()->lstWp.Items().size(), 3u);
  window->HandleShortKey(34, 0);  // Page Down: the next waypoint
  EXPECT_EQ(Names(), (std::vector<std::string>{"Current Position", "Work"}));
  EXPECT_EQ(window->GoToWindow()->scrWpSel.Value(), 3);
  window->HandleShortKey(82, 0);  // R again, while go-to mode runs: the map keeps its zoom and
  scheduler.Advance(Milliseconds(1000));  // shows where the new route starts
  EXPECT_EQ(Names(), (std::vector<std::string>{"Current Position", "Work"}));
  EXPECT_EQ(view.State().zoom, 16);
  EXPECT_EQ(view.State().centreLatitudeDegrees, window->Fix().Latitude);
  EXPECT_EQ(view.State().centreLongitudeDegrees, window->Fix().Longitude);
  window->HandleShortKey(82, 0);  // R twice: the off-track switch, the window's box follows
  window->HandleShortKey(82, 0);
  EXPECT_TRUE(window->GuidanceState().offTrackRecalc);
  EXPECT_EQ(window->GoToWindow()->chkAutoCalc.Value(), 1);
  window->HandleShortKey(118, 0);  // F7 on, then off: the user's route is back
  window->HandleShortKey(118, 0);
  EXPECT_EQ(window->chkGuidance.Value(), 0);
  EXPECT_EQ(Names(), (std::vector<std::string>{"Home", "Shop", "Work"}));
  route.failWith = "No road near Current Position";
  window->mnuCompassCalcRouteFromHere.SetEnabled(true);
  window->mnuCompassCalcRouteFromHere.UserClick();
  EXPECT_EQ(dialogs.Prompts(), std::vector<std::string>{"No road near Current Position"});
  window->Unload();
  EXPECT_EQ(Names(), (std::vector<std::string>{"Home", "Shop", "Work"}));
}

// A first start lays the main, guidance and go-to windows out side by side along the page's top,
// the go-to window clear of the page's route planner at the top left (10 to 310 px).
TEST_F(GuidanceWiring, AFirstStartLaysTheWindowsOutSideBySide) {
  desktop.SetViewport({1280, 800});
  window->HandleShortKey(82, 0);
  scheduler.Advance(Milliseconds(1000));
  window->HandleShortKey(118, 0);
  const host::ui::Window* windows[] = {window.get(), &window->Assistant()->GuideWindow(),
                                       window->GoToWindow()};
  for (const host::ui::Window* a : windows) {
    ASSERT_TRUE(a->Visible()) << a->Name();
    for (const host::ui::Window* b : windows)
      EXPECT_TRUE(a == b || a->Left() + a->Width() <= b->Left() ||
                  b->Left() + b->Width() <= a->Left() || a->Top() + a->Height() <= b->Top() ||
                  b->Top() + b->Height() <= a->Top())
          << a->Name() << " overlaps " << b->Name();
  }
  EXPECT_GE(window->GoToWindow()->Left(), 320);
}

}  // namespace
}  // namespace orvo::addin
