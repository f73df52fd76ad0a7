#include <gtest/gtest.h>

#include "tests/tracking/TrackingFixture.hpp"
#include "tracking/frmProgress.hpp"

namespace orvo::tracking {
namespace {

using host::ui::MsgBoxResult;
using orvo::testing::FakeActiveMap;
using orvo::testing::TrackingFixture;

// Each row saves one pin per limit in turn (for a limit of -1 the user deletes the one before the
// last by hand instead), then checks which pins (1-based) are still on the map.
TEST(PinCache, TheRingDeletesTheOldestPinAndFollowsItsLimit) {
  const struct {
    const char* what;
    std::vector<int> limits;
    std::vector<int> onMap;
    int count, upperBound, nextIndex;
  } cases[] = {
      {"three keep two, the oldest going first", {3, 3, 3, 3}, {3, 4}, 3, 3, 1},
      // Slots 3..9 (pins 4..10) go at once; pin 11 takes slot 3; slot 0 (freed at pin 10) is
      // next, then slot 1 (pin 2) is the oldest.
      {"lowered", {10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 4, 4}, {3, 11, 12}, 4, 4, 1},
      // Count becomes 4 with two pins: empty slots pass through the ring.
      {"a short unlimited one capped", {0, 0, 4, 4}, {2, 3, 4}, 4, 4, 0},
      // Raised to 6, the next pin goes to slot count = 3; unlimited again appends after it.
      {"raised", {3, 3, 3, 6, 6, 6, 0}, {2, 3, 4, 5, 6, 7}, 7, 506, 7},
      // Pin 2, the oldest, was deleted by hand: its slot is simply emptied.
      {"the oldest deleted by hand", {3, 3, 3, -1, 3}, {3, 4}, 3, 3, 1},
  };
  for (const auto& c : cases) {
    FakeActiveMap map;
    PinCache ring;
    for (const int limit : c.limits) {
      if (limit < 0)
        map.DeleteByHand(map.added - 1);
      else
        ring.Save(map.AddPushpin({43.7, 7.4, 0}, std::nullopt), limit);
    }
    std::vector<int> alive;
    for (int pin = 1; pin <= map.added; ++pin)
      if (map.Exists(pin)) alive.push_back(pin);
    EXPECT_EQ(alive, c.onMap) << c.what;
    EXPECT_EQ(ring.Count(), c.count) << c.what;
    EXPECT_EQ(ring.UpperBound(), c.upperBound) << c.what;
    EXPECT_EQ(ring.NextIndex(), c.nextIndex) << c.what;
  }
  FakeActiveMap map;
  EXPECT_THROW(PinCache().Save(map.AddPushpin({43.7, 7.4, 0}, std::nullopt), -1),
               std::invalid_argument);
}

int ProgressWindowsOpened(const testing::PageMessages& pages) {
  int opened = 0;
  for (const auto& message : pages.OfType("open"))
    opened += message["window"]["name"] == "frmProgress" ? 1 : 0;
  return opened;
}

struct Clearing : ::testing::Test, TrackingFixture {
  void Place(int pins) {
    for (int pin = 0; pin < pins; ++pin) trail.SavePPinCache(Map().AddPushpin({1, 1, 0}, {}));
  }
};

// Every percent the progress window showed, and whether the main window was topmost then.
struct ProgressWatch final : host::ui::UiObserver {
  explicit ProgressWatch(TrackingFixture& fixture) : fixture_(fixture) {
    fixture_.desktop.AddObserver(*this);
  }
  ~ProgressWatch() override { fixture_.desktop.RemoveObserver(*this); }
  void UiMessage(const host::ui::Json& message) override {
    if (message.value("type", "") != "set" || message["window"] != "frmProgress" ||
        message["control"] != "lblPercent")
      return;
    captions.push_back(message["value"].get<std::string>());
    topMost.push_back(fixture_.window.TopMost());
  }
  std::vector<std::string> captions;
  std::vector<bool> topMost;

 private:
  TrackingFixture& fixture_;
};

TEST_F(Clearing, TwentyFivePinsReportProgressEveryOtherPinWithTheWindowUp) {
  Place(25);
  window.chkAlwaysTop.SetValue(1);
  window.SetTopMost(true);
  ProgressWatch watch(*this);
  trail.ClearPushPins();
  // Step 2: percent i x 10 / 2 at i = 0, 2, 4, ... (0 is the loaded window's own; 110 and 120
  // are clamped to 100 and change nothing).
  EXPECT_EQ(watch.captions, (std::vector<std::string>{"10 %", "20 %", "30 %", "40 %", "50 %",
                                                      "60 %", "70 %", "80 %", "90 %", "100 %"}));
  EXPECT_EQ(watch.topMost, std::vector<bool>(10, false)) << "not topmost while clearing";
  EXPECT_TRUE(window.TopMost());
  EXPECT_EQ(desktop.FindWindow("frmProgress"), nullptr);
  EXPECT_EQ(ProgressWindowsOpened(pages), 1);
  EXPECT_EQ(Map().PinCount(), 0u);
  EXPECT_EQ(trail.Cache().Count(), 0);
  EXPECT_EQ(trail.Cache().UpperBound(), 0);
  const auto cursors = pages.OfType("cursor");
  ASSERT_EQ(cursors.size(), 2u);
  EXPECT_EQ(cursors[0]["cursor"], "wait");
  EXPECT_EQ(cursors[1]["cursor"], "default");
}

TEST_F(Clearing, CancelClickedWhileTheLoopRunsStopsItAndTheCacheKeepsItsCount) {
  Place(100);
  // The click waits on the event loop; the loop lets it in at its first step.
  scheduler.Post([this] {
    auto* progress = dynamic_cast<frmProgress*>(desktop.FindWindow("frmProgress"));
    ASSERT_NE(progress, nullptr);
    progress->cmdCancel.UserClick();
  });
  trail.ClearPushPins();
  EXPECT_EQ(Map().PinCount(), 99u);
  EXPECT_EQ(trail.Cache().Count(), 100);
  EXPECT_FALSE(trail.Cache().Slot(0));
  EXPECT_TRUE(trail.Cache().Slot(1));
  EXPECT_EQ(desktop.FindWindow("frmProgress"), nullptr);

  // A second clear finishes the job; the slot already emptied is no error.
  trail.ClearPushPins();
  EXPECT_EQ(Map().PinCount(), 0u);
  EXPECT_EQ(trail.Cache().Count(), 0);
  EXPECT_TRUE(dialogs.Messages().empty());
}

TEST_F(Clearing, UnloadAsksOnlyWithPinsYesDeletesThemNoLeavesThemOnTheMap) {
  const struct {
    bool mapOpen;
    int pins;
    std::optional<MsgBoxResult> answer;
    std::size_t pinsLeft;
  } cases[] = {
      {true, 0, std::nullopt, 0},
      {true, 4, MsgBoxResult::Yes, 0},
      {true, 4, MsgBoxResult::No, 4},
      {false, 4, std::nullopt, 4},  // no map: the cache is forgotten without a question
  };
  for (const auto& c : cases) {
    TrackingFixture fixture;
    for (int pin = 0; pin < c.pins; ++pin)
      fixture.trail.SavePPinCache(fixture.Map().AddPushpin({1, 1, 0}, {}));
    fixture.application.open = c.mapOpen;
    if (c.answer) fixture.dialogs.QueueAnswer(*c.answer);
    fixture.trail.SettleTrailOnUnload();
    EXPECT_EQ(fixture.dialogs.Messages().size(), c.answer ? 1u : 0u);
    EXPECT_EQ(fixture.Map().PinCount(), c.pinsLeft);
    EXPECT_EQ(fixture.trail.Cache().Count(), 0);
    EXPECT_EQ(ProgressWindowsOpened(fixture.pages), c.answer == MsgBoxResult::Yes ? 1 : 0)
        << "only deleting shows the progress window";
  }
}

}  // namespace
}  // namespace orvo::tracking
