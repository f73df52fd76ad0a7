// The active map: which document opens at start, New, Open, Save As, Close, and the unit; what
// the pages send and are sent of its pins; the view the page reports and the moves sent to it,
// pixel coordinates in it, geodesic distances, and the map objects over the open document.
#include <gtest/gtest.h>

#include <fstream>

#include "host/map/DocumentMap.hpp"
#include "host/map/MapFlushTimer.hpp"
#include "host/map/MapGeometry.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/MapView.hpp"
#include "host/map/MbTiles.hpp"
#include "host/map/PinMessages.hpp"
#include "host/ui/Scheduler.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Outcome = PinMessageResult::Outcome;

struct MapHostFixture : ::testing::Test {
  orvo::testing::TempFolder folder;
  fs::path data = folder.Path() / "orvo";
};

// The last document and the distance unit are remembered; without a record, the default
// document and kilometres.
TEST_F(MapHostFixture, StartsWithTheLastDocumentUsedElseTheDefaultAndRemembersTheUnit) {
  {
    MapHost host(data);
    EXPECT_EQ(host.Unit(), DistanceUnit::Kilometres);
    host.SetUnit(DistanceUnit::Miles);
    host.OpenAtStart();
    ASSERT_NE(host.ActiveMap(), nullptr);
    EXPECT_EQ(host.ActiveMap()->File(), data / "Default.orvomap");
    host.ActiveMap()->AddPushpin({1, 2}, "in the default");
    host.NewMap();
    EXPECT_EQ(host.ActiveMap()->File(), data / "Map 1.orvomap");
    host.ActiveMap()->AddPushpin({1, 2}, "in map 1");
  }
  {
    MapHost host(data);
    host.OpenAtStart();
    EXPECT_EQ(host.ActiveMap()->File(), data / "Map 1.orvomap");
    EXPECT_TRUE(host.ActiveMap()->FindPushpin("in map 1"));
    EXPECT_EQ(host.Unit(), DistanceUnit::Miles);
  }
  fs::remove(data / "Map 1.orvomap");  // the last one is gone: back to the default
  {
    MapHost host(data);
    host.OpenAtStart();
    EXPECT_TRUE(host.ActiveMap()->FindPushpin("in the default"));
  }
  std::ofstream(data / "maphost.json") << "{ broken";
  EXPECT_EQ(MapHost(data).Unit(), DistanceUnit::Kilometres);
  EXPECT_EQ(MapFileToRead(data), data / "Default.orvomap");
}

TEST_F(MapHostFixture, ADamagedDocumentIsReportedAndNeverReplaced) {
  fs::create_directories(data);
  const std::string damaged(4096, 'x');
  std::ofstream(data / "Default.orvomap") << damaged;
  MapHost host(data);
  EXPECT_THROW(host.OpenAtStart(), MapError);
  EXPECT_EQ(host.ActiveMap(), nullptr);
  EXPECT_EQ(orvo::testing::ReadFile(data / "Default.orvomap"), damaged);
}

TEST_F(MapHostFixture, NewOpenSaveAsAndCloseSwitchTheActiveMap) {
  MapHost host(data);
  host.OpenAtStart();
  host.ActiveMap()->AddPushpin({1, 2}, "a");
  host.NewMap(folder.Path() / "b.orvomap");
  EXPECT_THROW(host.NewMap(folder.Path() / "b.orvomap"), MapError) << "never over a file";
  EXPECT_EQ(host.ActiveMap()->PushpinCount(), 0u);
  host.OpenMap(data / "Default.orvomap");
  EXPECT_TRUE(host.ActiveMap()->FindPushpin("a"));
  EXPECT_THROW(host.OpenMap(folder.Path() / "missing.orvomap"), MapError);
  EXPECT_TRUE(host.ActiveMap()->FindPushpin("a")) << "a failed open keeps the active map";

  // Save As copies the document, and the handles work on in the copy.
  Pushpin pin = *host.ActiveMap()->FindPushpin("a");
  const fs::path saved = folder.Path() / "sub" / "saved.orvomap";
  host.SaveMapAs(saved);
  EXPECT_EQ(host.LastMapFile(), saved);
  pin.SetNote("after the copy");
  EXPECT_NO_THROW(MapDocument{data / "Default.orvomap"}) << "the old file is free";

  host.CloseMap();
  EXPECT_FALSE(pin.Exists());
  EXPECT_THROW(pin.Name(), MapError);
  for (const auto& [file, note] :
       {std::pair{data / "Default.orvomap", ""}, std::pair{saved, "after the copy"}})
    EXPECT_EQ(MapDocument(file, MapDocument::Access::ReadOnly).FindPushpin("a")->Note(), note);
  host.Flush();
  host.CloseMap();  // nothing open: nothing to do
  EXPECT_THROW(host.SaveMapAs(folder.Path() / "x.orvomap"), MapError);
}

TEST_F(MapHostFixture, TheFlushTimerWritesABurstOfChangesOnceAfterItsFirstChange) {
  ui::ManualScheduler scheduler;
  MapHost host(data);
  host.OpenAtStart();
  MapFlushTimer flusher(host, scheduler);
  const auto stored = [this] {
    return MapDocument(data / "Default.orvomap", MapDocument::Access::ReadOnly).PushpinCount();
  };
  host.ActiveMap()->AddPushpin({1, 2});
  scheduler.Advance(MapFlushTimer::kDefaultDelay / 2);
  host.ActiveMap()->AddPushpin({1, 2});
  EXPECT_EQ(scheduler.PendingTimers(), 1u);
  EXPECT_EQ(stored(), 0u);
  scheduler.Advance(MapFlushTimer::kDefaultDelay / 2);
  EXPECT_EQ(stored(), 2u);
  EXPECT_EQ(scheduler.PendingTimers(), 0u);
  host.ActiveMap()->AddPushpin({1, 2});
  EXPECT_EQ(scheduler.PendingTimers(), 1u);
}

// Pins between the document and the pages: the user's pin messages, patches and snapshots.
struct PinMessagesFixture : ::testing::Test {
  orvo::testing::TempFolder folder;
  MapDocument map{folder.Path() / "pins.orvomap"};
  PinPatchCollector collector;

  void SetUp() override {
    map.onPinChange = [this](const PinChange& change) { collector.Record(change); };
  }
  PinId Add(const char* name) { return map.AddPushpin({43.7, 7.4}, name).Id(); }
};

TEST_F(PinMessagesFixture, AppliesTheUsersPinMessagesAndRejectsBadOnesWithAReason) {
  const PinId pin = Add("ORVO_3");
  // A message about the pin with FIELDS after its id.
  const auto about = [pin](const std::string& fields) {
    return R"({"type":"pin","id":)" + std::to_string(pin) + "," + fields + "}";
  };
  // Each message, what becomes of it, and a part of the reason when it is rejected.
  const std::vector<std::tuple<std::string, Outcome, std::string>> cases = {
      {R"({"type":"mapview","lat":1})", Outcome::NotMine, ""},
      {R"({"type":"pin","id":1.5,"action":"delete"})", Outcome::Rejected, "no pushpin id"},
      {about(R"("other":1)"), Outcome::Rejected, "no action"},
      {R"({"type":"pin","id":99999,"action":"delete"})", Outcome::Rejected, "99999"},
      {about(R"("action":"explode")"), Outcome::Rejected, "explode"},
      {about(R"("action":"balloon","state":3)"), Outcome::Rejected, "0, 1 or 2"},
      {about(R"("action":"balloon","state":18446744073709551615)"), Outcome::Rejected, "0, 1 or 2"},
      {about(R"("action":"properties","name":"x")"), Outcome::Rejected, "note"},
      {about(R"("action":"properties","name":"","note":"")"), Outcome::Rejected, "name"},
      {about(R"("action":"properties","note":"","name":")" + std::string(1001, 'n') + "\""),
       Outcome::Rejected, "too long"},
      {about(R"("action":"balloon","state":2)"), Outcome::Applied, ""},
      {about(R"("action":"properties","name":"Home & <b>","note":"é\n2")"), Outcome::Applied, ""},
  };
  for (const auto& [message, outcome, errorPart] : cases) {
    const PinMessageResult result = ApplyPageMessage(&map, Json::parse(message));
    EXPECT_EQ(result.outcome, outcome) << message;
    EXPECT_NE(result.error.find(errorPart), std::string::npos) << result.error;
  }
  EXPECT_EQ(map.Find(pin)->balloonState, kBalloonNameAndNote);
  EXPECT_EQ(map.Find(pin)->name, "Home & <b>");
  EXPECT_EQ(map.Find(pin)->note, "é\n2");

  const Json remove = {{"type", "pin"}, {"id", pin}, {"action", "delete"}};
  EXPECT_EQ(ApplyPageMessage(nullptr, remove).error, "pin message: no active map");
  EXPECT_EQ(ApplyPageMessage(&map, remove).outcome, Outcome::Applied);
  EXPECT_EQ(map.PushpinCount(), 0u);
}

TEST_F(PinMessagesFixture, ATurnsChangesBecomeTheirNetEffect) {
  const PinId kept = Add("kept");
  const PinId changed = Add("changed");
  const PinId doomed = Add("doomed");
  collector.TakeMessages(&map);

  const PinId added = Add("added");
  map.SetSymbol(added, 30);     // added then updated: one "add", as it ends
  map.Delete(Add("fleeting"));  // added and deleted: never sent
  map.SetNote(changed, "one");
  map.SetNote(changed, "two");  // two updates: one
  map.SetSymbol(doomed, 5);
  map.Delete(doomed);  // updated then deleted: removed
  const std::vector<Json> messages = collector.TakeMessages(&map);
  ASSERT_EQ(messages.size(), 1u);
  const Json expected = {{"type", "pins"},
                         {"update", {{changed, "changed", 43.7, 7.4, 0, "two", 0}}},
                         {"remove", {doomed}},
                         {"add", {{added, "added", 43.7, 7.4, 30, "", 0}}}};
  EXPECT_EQ(messages.front(), expected);
  EXPECT_TRUE(collector.TakeMessages(&map).empty());

  // A reset (another document) drops the pending patch for a whole snapshot.
  map.SetNote(kept, "x");
  collector.Record({PinChangeKind::Reset, 0});
  const auto reset = collector.TakeMessages(&map);
  ASSERT_EQ(reset.size(), 1u);
  EXPECT_EQ(reset.front()["reset"], true);
  EXPECT_EQ(reset.front()["add"].size(), 3u);
  collector.Record({PinChangeKind::Reset, 0});
  EXPECT_EQ(collector.TakeMessages(nullptr),
            std::vector<Json>({{{"type", "pins"}, {"reset", true}}}));
}

TEST_F(PinMessagesFixture, SnapshotsAndPatchesComeInPartsOfAtMostTheLimit) {
  // Pins, part size -> the sizes of the parts.
  const std::tuple<int, std::size_t, std::vector<std::size_t>> cases[] = {
      {0, 3, {0}}, {3, 3, {3}}, {7, 3, {3, 3, 1}}, {5, 0, {1, 1, 1, 1, 1}}};
  for (const auto& [count, perPart, parts] : cases) {
    orvo::testing::TempFolder own;
    MapDocument pins(own.Path() / "m.orvomap");
    for (int index = 0; index < count; ++index) pins.AddPushpin({0, index / 10.0});
    const auto messages = PinSnapshotMessages(&pins, perPart);
    ASSERT_EQ(messages.size(), parts.size()) << count;
    for (std::size_t part = 0; part < messages.size(); ++part) {
      EXPECT_EQ(messages[part].value("add", Json::array()).size(), parts[part]);
      EXPECT_EQ(messages[part].contains("reset"), part == 0);
    }
  }

  for (int index = 0; index < 12'000; ++index) Add("");
  const auto added = collector.TakeMessages(&map);
  ASSERT_EQ(added.size(), 3u);
  EXPECT_EQ(added[0]["add"].size(), kPinsPerPart);
  EXPECT_EQ(added[2]["add"].size(), 2'000u);
}

TEST(MapGeometry, PixelsFollowWebMercatorWith256PixelTiles) {
  // Zoom 0 shows the world in 256 x 256 pixels; with the centre at 0,0 in a 256-pixel area,
  // pixels are world pixels.
  const MapViewState world{0, 0, 0, 256, 256};
  struct Case {
    MapViewState view;
    Location location;
    double x, y;
  };
  const Case cases[] = {
      {world, {0, 0}, 128, 128},
      {world, {0, 90}, 192, 128},
      {world, {85.0511287798066, 0}, 128, 0},  // the square world's top edge
      {world, {66.51326044311186, 0}, 128, 64},  // atan(sinh(pi / 2)): a quarter down
      {world, {89.9, 0}, 128, 0},                // beyond Mercator: on the edge
      // Zoom 1 doubles the distances; a view centred elsewhere shifts them.
      {{0, 0, 1, 800, 600}, {0, 90}, 400 + 128, 300},
      {{0, 90, 1, 800, 600}, {0, 0}, 400 - 128, 300},
      // Across the antimeridian the nearest copy of the world is used.
      {{0, 179, 8, 100, 100}, {0, -179}, 50 + 2 * 65536 / 360.0, 50},
      {{0, -179, 8, 100, 100}, {0, 179}, 50 - 2 * 65536 / 360.0, 50},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(::testing::Message()
                 << test.location.latitudeDegrees << "," << test.location.longitudeDegrees);
    const PixelPoint pixel = LocationToPixel(test.view, test.location);
    EXPECT_NEAR(pixel.x, test.x, 1e-6);
    EXPECT_NEAR(pixel.y, test.y, 1e-6);
  }
}

TEST(MapGeometry, PixelsAgreeWithTheTileGrid) {
  // The pixel, divided into tiles, is the tile the tile server holds the place in.
  const Location places[] = {{43.7384, 7.4246}, {-33.8568, 151.2153}, {64.1466, -21.9426}};
  for (const double zoom : {0.0, 12.0, 15.0, 17.0}) {
    for (const Location& place : places) {
      // A view whose top-left corner is the world's: pixels are world pixels.
      const double side = kTilePixels * std::exp2(zoom);
      const MapViewState view = {0, 0, zoom, static_cast<int>(side), static_cast<int>(side)};
      const PixelPoint pixel = LocationToPixel(view, place);
      const TileAddress tile =
          TileContaining({place.latitudeDegrees, place.longitudeDegrees}, static_cast<int>(zoom));
      EXPECT_EQ(static_cast<int>(pixel.x / kTilePixels), tile.x) << zoom;
      EXPECT_EQ(static_cast<int>(pixel.y / kTilePixels), tile.y) << zoom;
    }
  }
}

TEST(MapGeometry, DistancesAreGeodesicInTheHostsUnit) {
  const std::tuple<Location, Location, double> cases[] = {
      {{40.6, -73.8}, {51.6, -0.5}, 5551759.400},  // JFK to Heathrow, GeographicLib's example
      {{0, 0}, {0, 1}, 111319.4907932736},         // a degree of the equator: a * pi / 180
      {{0, 0}, {90, 0}, 10001965.729},             // the meridian quadrant
      {{43.7384, 7.4246}, {43.7384, 7.4246}, 0},
      {{0, 179.5}, {0, -179.5}, 111319.4907932736},  // across the antimeridian
  };
  for (const auto& [from, to, metres] : cases) {
    EXPECT_NEAR(GeodesicDistanceMetres(from, to), metres, 1e-3);
    EXPECT_NEAR(Distance(from, to, DistanceUnit::Kilometres), metres / 1000, 1e-6);
    EXPECT_NEAR(Distance(from, to, DistanceUnit::Miles), metres / 1609.344, 1e-6);
  }
}

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
  // The page's report of its view.
  static ui::Json ViewEvent(double lat, double lon, double zoom, int width, int height) {
    return {{"type", "mapview"}, {"lat", lat},     {"lon", lon},
            {"zoom", zoom},      {"width", width}, {"height", height}};
  }
};

TEST_F(MapViewFixture, FollowsThePagesViewAndRefusesBrokenOnes) {
  EXPECT_TRUE(view.HandleEvent(ViewEvent(43.74, 367.42, 15.5, 1280, 770)));
  EXPECT_DOUBLE_EQ(view.State().centreLatitudeDegrees, 43.74);
  EXPECT_NEAR(view.State().centreLongitudeDegrees, 7.42, 1e-9);
  EXPECT_DOUBLE_EQ(view.State().zoom, 15.5);
  EXPECT_EQ(changes, 1);

  // Out of range, of the wrong type, negative, or missing: reported and ignored.
  for (const auto& [field, value] : std::vector<std::pair<std::string, ui::Json>>{
           {"lat", 95}, {"lat", "43"}, {"width", -5}, {"zoom", nullptr}}) {
    ui::Json broken = ViewEvent(43, 7, 3, 1, 1);
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

  ui::Json snapshot;
  view.AddToSnapshot(snapshot);
  EXPECT_EQ(snapshot.at("mapView"), ui::Json({{"lat", 0.0}, {"lon", 0.0}, {"zoom", 0.0}}));
}

// The map objects tracking uses: pixels in the reported view, and pin handles that throw
// PushpinGone once deleted (by the page too: drive.test.ts deletes the position pin).
TEST_F(MapViewFixture, TheMapObjectsWorkOnTheReportedViewTheHostsUnitAndTheOpenDocument) {
  orvo::testing::TempFolder folder;
  MapHost host(folder.Path());
  MapGeometry geometry(view, host);
  DocumentMap map(host, geometry);

  view.HandleEvent(ViewEvent(43.74, 7.42, 16, 1001, 700));
  EXPECT_EQ(geometry.Width(), 1001);

  const Location pin = geometry.GetLocation(43.7384, 7.4246);
  geometry.GoTo(pin);
  EXPECT_EQ(geometry.LocationToX(pin), 501);  // 500.5 rounds away from zero
  EXPECT_EQ(geometry.LocationToY(pin), 350);
  EXPECT_EQ(map.LocationToY(map.GetLocation(43.7384, 7.4246, 0)), 350);
  // 70 pixels to the east at zoom 16: 70 / (256 * 2^16) of 360 degrees.
  const Location east = geometry.GetLocation(43.7384, 7.4246 + 70 * 360.0 / (256 * 65536.0));
  EXPECT_EQ(geometry.LocationToX(east), 571);
  EXPECT_EQ(geometry.LocationToX(geometry.GetLocation(0, 7.4246)), 501);
  EXPECT_GT(geometry.LocationToY(geometry.GetLocation(0, 7.4246)), 1'000'000);

  for (const auto& [latitude, longitude] :
       std::vector<std::pair<double, double>>{{90.01, 0}, {std::nan(""), 0}, {0, INFINITY}})
    EXPECT_THROW(geometry.GetLocation(latitude, longitude), MapError);
  EXPECT_EQ(geometry.GetLocation(10, 370).longitudeDegrees, 10);

  EXPECT_EQ(map.GetActiveMap(), nullptr);
  host.OpenAtStart();
  ASSERT_EQ(map.GetActiveMap(), &map);
  // Deleted by ORVO: the old handle throws what tracking catches to place a new pin.
  const PushpinRef gone = map.AddPushpin(map.GetLocation(43.74, 7.43, 0), std::nullopt);
  gone.Delete();
  EXPECT_THROW(gone.SetLocation(map.GetLocation(0, 0, 0)), PushpinGone);
  EXPECT_THROW(gone.Name(), PushpinGone);

  host.CloseMap();
  EXPECT_EQ(map.GetActiveMap(), nullptr);
  EXPECT_THROW(map.AddPushpin(map.GetLocation(0, 0, 0), std::nullopt), MapError);
}

}  // namespace
}  // namespace orvo::host::map
