// The view the page reports and the moves sent to it, pixel coordinates in it, geodesic
// distances, and the map objects over the open document.
#include <gtest/gtest.h>

#include "host/map/DocumentMap.hpp"
#include "host/map/MapGeometry.hpp"
#include "host/map/MapView.hpp"
#include "host/map/MbTiles.hpp"
#include "host/ui/Scheduler.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map {
namespace {

MapViewState View(double latitude, double longitude, double zoom, int width, int height) {
  return {latitude, longitude, zoom, width, height};
}

TEST(MapGeometry, PixelsFollowWebMercatorWith256PixelTiles) {
  // Zoom 0 shows the world in 256 x 256 pixels; with the centre at 0,0 in a 256-pixel area,
  // pixels are world pixels.
  const MapViewState world = View(0, 0, 0, 256, 256);
  struct Case {
    MapViewState view;
    Location location;
    double x, y;
  };
  const Case cases[] = {
      {world, {0, 0}, 128, 128},
      {world, {0, 90}, 192, 128},
      {world, {0, -90}, 64, 128},
      {world, {85.0511287798066, 0}, 128, 0},  // the square world's top edge
      {world, {-85.0511287798066, 0}, 128, 256},
      {world, {66.51326044311186, 0}, 128, 64},  // atan(sinh(pi / 2)): a quarter down
      {world, {89.9, 0}, 128, 0},                // beyond Mercator: on the edge
      // Zoom 1 doubles the distances; a view centred elsewhere shifts them.
      {View(0, 0, 1, 800, 600), {0, 90}, 400 + 128, 300},
      {View(0, 90, 1, 800, 600), {0, 0}, 400 - 128, 300},
      // Across the antimeridian the nearest copy of the world is used.
      {View(0, 179, 8, 100, 100), {0, -179}, 50 + 2 * 65536 / 360.0, 50},
      {View(0, -179, 8, 100, 100), {0, 179}, 50 - 2 * 65536 / 360.0, 50},
  };
  for (const Case& test : cases) {
    const PixelPoint pixel = LocationToPixel(test.view, test.location);
    EXPECT_NEAR(pixel.x, test.x, 1e-6)
        << test.location.latitudeDegrees << "," << test.location.longitudeDegrees;
    EXPECT_NEAR(pixel.y, test.y, 1e-6)
        << test.location.latitudeDegrees << "," << test.location.longitudeDegrees;
  }
}

TEST(MapGeometry, PixelsAgreeWithTheTileGridAndRoundTrip) {
  // Monaco at street zooms: the pixel, divided into tiles, is the tile the tile server holds
  // the place in; and the pixel's location is the place again.
  const Location places[] = {{43.7384, 7.4246},
                             {43.7311, 7.4197},
                             {-33.8568, 151.2153},
                             {64.1466, -21.9426},
                             {-54.8019, -68.3030}};
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

      const MapViewState near = {43.74, 7.42, zoom + 0.5, 1280, 770};
      const PixelPoint shown = LocationToPixel(near, place);
      const Location back = PixelToLocation(near, shown.x, shown.y);
      EXPECT_NEAR(back.latitudeDegrees, place.latitudeDegrees, 1e-9);
      EXPECT_NEAR(back.longitudeDegrees, place.longitudeDegrees, 1e-9);
    }
  }
}

TEST(MapGeometry, DistancesAreGeodesicInTheHostsUnit) {
  struct Case {
    Location from, to;
    double metres;
  };
  const Case cases[] = {
      {{40.6, -73.8}, {51.6, -0.5}, 5551759.400},  // JFK to Heathrow, GeographicLib's example
      {{0, 0}, {0, 1}, 111319.4907932736},         // a degree of the equator: a * pi / 180
      {{0, 0}, {90, 0}, 10001965.729},             // the meridian quadrant
      {{43.7384, 7.4246}, {43.7384, 7.4246}, 0},
      {{0, 179.5}, {0, -179.5}, 111319.4907932736},  // across the antimeridian
  };
  for (const Case& test : cases) {
    EXPECT_NEAR(GeodesicDistanceMetres(test.from, test.to), test.metres, 1e-3);
    EXPECT_NEAR(Distance(test.from, test.to, DistanceUnit::Kilometres), test.metres / 1000, 1e-6);
    EXPECT_NEAR(Distance(test.from, test.to, DistanceUnit::Miles), test.metres / 1609.344, 1e-6);
  }
  EXPECT_NEAR(Distance({40.6, -73.8}, {51.6, -0.5}, DistanceUnit::Miles), 3449.7034, 1e-3);
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
  EXPECT_EQ(view.State().widthPixels, 1280);
  EXPECT_EQ(view.State().heightPixels, 770);
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
  EXPECT_EQ(changes, 8);

  ui::Json snapshot;
  view.AddToSnapshot(snapshot);
  EXPECT_EQ(snapshot.at("mapView"), ui::Json({{"lat", 0.0}, {"lon", 0.0}, {"zoom", 0.0}}));
}

// The map objects tracking uses: pixels in the reported view, and pin handles that throw
// PushpinGone once deleted (by the page too: map.test.ts deletes the position pin).
TEST_F(MapViewFixture, TheMapObjectsWorkOnTheReportedViewTheHostsUnitAndTheOpenDocument) {
  orvo::testing::TempFolder folder;
  MapHost host(folder.Path());
  MapGeometry geometry(view, host);
  DocumentMap map(host, geometry);

  EXPECT_EQ(geometry.Width(), 0);
  view.HandleEvent(ViewEvent(43.74, 7.42, 16, 1001, 700));
  EXPECT_EQ(geometry.Width(), 1001);
  EXPECT_EQ(geometry.Height(), 700);

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
