#include <gtest/gtest.h>

#include "host/map/MapView.hpp"
#include "host/ui/Scheduler.hpp"

namespace orvo::host::map {
namespace {

class Recorder : public ui::UiObserver {
 public:
  void UiMessage(const ui::Json& message) override { messages.push_back(message); }
  std::vector<ui::Json> messages;
};

struct MapViewFixture : ::testing::Test {
  ui::ManualScheduler scheduler;
  ui::ScriptedDialogs dialogs;
  ui::Desktop desktop{scheduler, dialogs};
  Recorder recorder;
  MapView view{desktop};
  std::vector<std::string> reports;
  int changes = 0;

  void SetUp() override {
    desktop.AddObserver(recorder);
    view.diagnostics = [this](std::string_view text) { reports.emplace_back(text); };
    view.onChange = [this] { ++changes; };
  }
  void TearDown() override { desktop.RemoveObserver(recorder); }
};

TEST_F(MapViewFixture, FollowsThePagesViewAndRefusesBrokenOnes) {
  EXPECT_TRUE(view.HandleEvent({{"type", "mapview"},
                                {"lat", 43.74},
                                {"lon", 367.42},
                                {"zoom", 15.5},
                                {"width", 1280},
                                {"height", 770}}));
  EXPECT_DOUBLE_EQ(view.State().centreLatitudeDegrees, 43.74);
  EXPECT_NEAR(view.State().centreLongitudeDegrees, 7.42, 1e-9);
  EXPECT_DOUBLE_EQ(view.State().zoom, 15.5);
  EXPECT_EQ(view.State().widthPixels, 1280);
  EXPECT_EQ(view.State().heightPixels, 770);
  EXPECT_EQ(changes, 1);

  // Out of range, of the wrong type, negative, or missing: reported and ignored.
  for (const auto& [field, value] : std::vector<std::pair<std::string, ui::Json>>{
           {"lat", 95}, {"lat", "43"}, {"width", -5}, {"zoom", nullptr}}) {
    ui::Json broken{{"type", "mapview"}, {"lat", 43},  {"lon", 7},
                    {"zoom", 3},         {"width", 1}, {"height", 1}};
    if (value.is_null()) {
      broken.erase(field);
    } else {
      broken[field] = value;
    }
    EXPECT_TRUE(view.HandleEvent(broken)) << field;
  }
  EXPECT_EQ(reports.size(), 4u);
  EXPECT_DOUBLE_EQ(view.State().centreLatitudeDegrees, 43.74);
  EXPECT_FALSE(view.HandleEvent({{"type", "answer"}, {"id", 1}}));
  EXPECT_TRUE(recorder.messages.empty());  // the page's own view is not sent back to it
}

TEST_F(MapViewFixture, MovesEveryPageAndZoomsInWholeSteps) {
  view.SetInitialView(43.73, 7.42, 14.6);
  view.GoTo(43.75, 7.43);
  ASSERT_EQ(recorder.messages.size(), 1u);
  EXPECT_EQ(recorder.messages[0],
            ui::Json({{"type", "mapgoto"}, {"lat", 43.75}, {"lon", 7.43}, {"zoom", 14.6}}));

  view.ZoomIn();
  view.ZoomIn();  // before any page has answered: the presses add up
  EXPECT_DOUBLE_EQ(view.State().zoom, 16);
  view.ZoomOut();
  EXPECT_DOUBLE_EQ(recorder.messages.back().at("zoom").get<double>(), 15);

  view.GoTo(0, 0, 40);
  EXPECT_DOUBLE_EQ(view.State().zoom, MapView::kMaxZoom);
  view.ZoomIn();
  EXPECT_DOUBLE_EQ(view.State().zoom, MapView::kMaxZoom);
  view.GoTo(0, 0, 0);
  view.ZoomOut();
  EXPECT_DOUBLE_EQ(view.State().zoom, MapView::kMinZoom);
  EXPECT_EQ(changes, 8);

  ui::Json snapshot;
  view.AddToSnapshot(snapshot);
  EXPECT_EQ(snapshot.at("mapView"), ui::Json({{"lat", 0.0}, {"lon", 0.0}, {"zoom", 0.0}}));
}

}  // namespace
}  // namespace orvo::host::map
