#include <gtest/gtest.h>

#include <cmath>

#include "tests/TestSupport.hpp"
#include "tests/tracking/TrackingFixture.hpp"
#include "tracking/frmTraceSettings.hpp"

namespace orvo::tracking {
namespace {

using host::ui::Milliseconds;

struct TraceDialog : ::testing::Test {
  // Loads the dialog as the main window hands it over, without waiting for an answer.
  void Open(std::int16_t unit = 0) {
    dialog.iTraceThreasholdUnit = unit;
    dialog.Show();
  }
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  frmTraceSettings dialog{desktop};
};

TEST_F(TraceDialog, DefaultsShowInTheUsersUnitsAndOkConvertsBack) {
  const struct {
    std::int16_t unit;
    int thresholdBar;
    const char* thresholdText;
    int stopBar;
    const char* stopText;
    double thresholdBack;
    double stopBack;
  } cases[] = {
      {0, 13, "13 ft", 460, "4.6 MPH", 13 / 1.1507794 / 5280, 4.6 / 1.1507794},
      {1, 4, "4 m", 741, "7.41 KmH", 4 / 1.852 / 1000, 7.41 / 1.852},
  };
  for (const auto& c : cases) {
    frmTraceSettings fresh(desktop);
    fresh.iTraceThreasholdUnit = c.unit;
    fresh.Show();
    EXPECT_EQ(fresh.sclTraceThreashold.Value(), c.thresholdBar);
    EXPECT_EQ(fresh.lblTraceThreashold.Caption(), c.thresholdText);
    EXPECT_EQ(fresh.scrStopTKt.Value(), c.stopBar);
    EXPECT_EQ(fresh.lbStopThreasholdSpeed.Caption(), c.stopText);
    fresh.OKButton.UserClick();
    EXPECT_FALSE(fresh.IsLoaded());
    EXPECT_NEAR(fresh.dTraceThreasholdKnote, c.thresholdBack, 1e-12);
    EXPECT_NEAR(fresh.dStopTKt, c.stopBack, 1e-12);
  }
}

TEST_F(TraceDialog, ArrowStepsSpeedUpTenPercentPerQuickChangeAcrossBothBars) {
  Open();
  scheduler.Advance(Milliseconds(5000));
  std::vector<int> steps;
  for (int change = 0; change < 7; ++change) {
    auto& bar = change % 2 == 0 ? dialog.sclTraceThreashold : dialog.scrNPPs;
    bar.UserChange(bar.Value() + bar.SmallChange());
    steps.push_back(bar.SmallChange());
    scheduler.Advance(Milliseconds(400));
  }
  // 1, 1.1, 1.21, 1.331, 1.4641, 1.61051, 1.771561
  EXPECT_EQ(steps, (std::vector<int>{1, 1, 1, 1, 1, 2, 2}));
  scheduler.Advance(Milliseconds(1100));
  dialog.scrNPPs.UserChange(dialog.scrNPPs.Value() + 1);
  EXPECT_EQ(dialog.scrNPPs.SmallChange(), 1) << "a pause of more than a second starts over";
  for (int change = 0; change < 6; ++change)
    dialog.scrNPPs.UserChange(dialog.scrNPPs.Value() + dialog.scrNPPs.SmallChange());
  EXPECT_EQ(dialog.scrNPPs.SmallChange(), 2);
  dialog.scrNPPs.UserChange(4001);
  EXPECT_EQ(dialog.scrNPPs.SmallChange(), 1) << "an end of the bar starts over";
}

TEST(EditTraceOptions, OkStoresTheDialogsValuesCancelOnlyTheSymbolSetClicked) {
  const struct {
    bool ok;
    bool byMoving;
    std::int16_t symbolBase;
  } cases[] = {{true, false, 8}, {false, true, 8}};
  for (const auto& c : cases) {
    testing::TrackingFixture fixture;
    fixture.window.chkAlwaysTop.SetValue(1);
    fixture.window.SetTopMost(true);
    fixture.window.sclRefreshRate.SetValue(5);
    bool topMostWhileOpen = true;
    fixture.scheduler.Post([&] {
      auto* dialog =
          dynamic_cast<frmTraceSettings*>(fixture.desktop.FindWindow("frmTraceSettings"));
      ASSERT_NE(dialog, nullptr);
      topMostWhileOpen = fixture.window.TopMost();
      dialog->chkTracebyMoving.UserClick();
      dialog->optPPSymbol[1].UserClick();
      (c.ok ? dialog->OKButton : dialog->CancelButton).UserClick();
    });
    fixture.window.cmdTraceOption.UserClick();
    EXPECT_FALSE(topMostWhileOpen);
    EXPECT_TRUE(fixture.window.TopMost());
    EXPECT_EQ(fixture.options.byMoving, c.byMoving);
    EXPECT_EQ(fixture.options.symbolBase, c.symbolBase);
    EXPECT_EQ(fixture.options.threasholdKnot == 0.00216, !c.ok)
        << "OK converts the shown 13 ft back";
    EXPECT_EQ(fixture.desktop.FindWindow("frmTraceSettings"), nullptr);
  }
}

}  // namespace
}  // namespace orvo::tracking
