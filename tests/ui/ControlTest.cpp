#include <gtest/gtest.h>

#include "host/ui/Control.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/MessageBatch.hpp"
#include "host/ui/Window.hpp"

namespace orvo::host::ui {
namespace {

class TestWindow : public Window {
 public:
  explicit TestWindow(Desktop& desktop)
      : Window(desktop, "frmTest", "Test", 300, 200),
        check(*this, "chkThing"),
        scroll(*this, "sclRate", ScrollBar::Orientation::Horizontal),
        text(*this, "txtName"),
        tabs(*this, "SSTab", {"&One", "&Two"}),
        timer(*this, "Timer1", desktop.GetScheduler()),
        first(*this, "optA"),
        second(*this, "optB") {
    check.onClick = [this] { ++clicks; };
    scroll.SetRange(0, 10);
    scroll.onChange = [this] { ++changes; };
    timer.onTimer = [this] { ++ticks; };
  }
  void OnKeyUp(int keyCode, int shift) override { keys.emplace_back(keyCode, shift); }

  CheckBox check;
  ScrollBar scroll;
  TextBox text;
  TabControl tabs;
  Timer timer;
  OptionButton first;
  OptionButton second;
  int clicks = 0;
  int changes = 0;
  int ticks = 0;
  std::vector<std::pair<int, int>> keys;
};

// A user's EVENT on a control, as a page sends it.
Json Event(const char* window, const char* control, const char* event, Json value = nullptr) {
  Json message{{"type", "event"}, {"window", window}, {"control", control}, {"event", event}};
  if (!value.is_null()) message["value"] = std::move(value);
  return message;
}

struct ControlFixture : ::testing::Test {
  ManualScheduler scheduler;
  ScriptedDialogs dialogs;
  Desktop desktop{scheduler, dialogs};
  TestWindow window{desktop};
  std::vector<std::string> diagnostics;
  void SetUp() override {
    desktop.diagnostics = [this](std::string_view text) { diagnostics.emplace_back(text); };
    window.Show();
  }
  void Send(const Json& event) { desktop.Dispatch(event); }
  void User(const char* control, const char* event, Json value = nullptr) {
    Send(Event("frmTest", control, event, std::move(value)));
  }
};

TEST_F(ControlFixture, ValuesSetFromCodeRaiseTheSameHandlersAsTheUser) {
  window.check.SetValue(1);
  window.check.SetValue(1);  // no change, no click
  User("chkThing", "click");
  EXPECT_EQ(window.check.Value(), 0);
  EXPECT_EQ(window.clicks, 2);

  window.scroll.SetValue(4);
  window.scroll.SetValue(11);  // out of range: refused
  User("sclRate", "change", 6);
  EXPECT_EQ(window.scroll.Value(), 6);
  EXPECT_EQ(window.changes, 2);

  window.check.SetEnabled(false);
  User("chkThing", "click");
  EXPECT_EQ(window.clicks, 2) << "a disabled control ignores the user";
}

TEST_F(ControlFixture, TimerFiresEveryIntervalWhileEnabledAndRestartsOnChange) {
  window.timer.SetInterval(200);
  window.timer.SetTimerEnabled(true);
  scheduler.Advance(Milliseconds(1000));
  EXPECT_EQ(window.ticks, 5);
  scheduler.Advance(Milliseconds(150));
  window.timer.SetInterval(200);  // restarts the count
  scheduler.Advance(Milliseconds(150));
  EXPECT_EQ(window.ticks, 5);
  window.timer.SetTimerEnabled(false);
  scheduler.Advance(Milliseconds(1000));
  EXPECT_EQ(window.ticks, 5);
}

TEST_F(ControlFixture, OptionButtonsExcludeEachOtherAndTabsClickOnChange) {
  window.first.SetValue(true);
  window.second.SetValue(true);
  EXPECT_FALSE(window.first.Value());
  int tabClicks = 0;
  window.tabs.onClick = [&] { ++tabClicks; };
  User("SSTab", "change", 1);
  window.tabs.SetTab(5);
  EXPECT_EQ(window.tabs.Tab(), 1);
  EXPECT_EQ(tabClicks, 1);
}

TEST_F(ControlFixture, MalformedEventsAreReportedAndIgnored) {
  for (const Json& event :
       {Json("text"), Json{{"type", 3}}, Json{{"type", "nonsense"}}, Event("frmNone", "x", "click"),
        Event("frmTest", "nothing", "click"), Event("frmTest", "sclRate", "change", "x"),
        Json{{"type", "key"}, {"window", "frmTest"}}}) {
    Send(event);
  }
  EXPECT_EQ(diagnostics.size(), 6u);
  Send({{"type", "key"}, {"window", "frmTest"}, {"keyCode", 71}, {"shift", 1}});
  ASSERT_EQ(window.keys.size(), 1u);
  EXPECT_EQ(window.keys[0], std::make_pair(71, 1));
}

}  // namespace
}  // namespace orvo::host::ui

namespace orvo::host::ui {
namespace {

Json SetMessage(const char* control, Json value) {
  return Json{{"type", "set"},
              {"window", "w"},
              {"control", control},
              {"property", "p"},
              {"value", std::move(value)}};
}

// A change undone or made twice within a turn is WebBridgeTest's (FeaturesSendSnapshots...).
TEST(MessageBatch, JoinsAppendsButSendsAReopenedWindowItsChangesAgain) {
  MessageBatch batch;
  batch.AddChange(SetMessage("c", 1), 0);
  batch.Add(Json{{"type", "open"}, {"window", {{"name", "w"}}}});
  batch.AddChange(SetMessage("c", 0), 1);
  EXPECT_EQ(
      batch.Take(),
      R"([{"control":"c","property":"p","type":"set","value":1,"window":"w"},{"type":"open","window":{"name":"w"}},{"control":"c","property":"p","type":"set","value":0,"window":"w"}])");
  const Json append{{"type", "set"},      {"window", "w"},   {"control", "t"},
                    {"property", "text"}, {"append", "a\n"}, {"keepLines", 5}};
  batch.Add(append);
  batch.Add(append);
  EXPECT_EQ(
      batch.Take(),
      R"([{"append":"a\na\n","control":"t","keepLines":5,"property":"text","type":"set","window":"w"}])");
  EXPECT_TRUE(batch.Empty());
}

}  // namespace
}  // namespace orvo::host::ui
