// Routes exchanged with other programs: a GPX route read into the active route, the route and
// its directions written as GPX that gpsbabel reads back, and `orvo map route`.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <sstream>

#include <nlohmann/json.hpp>

#include "host/map/DocumentRoute.hpp"
#include "host/map/Gpx.hpp"
#include "tests/TestSupport.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using testing::kCasino;
using testing::kFontvieille;

using orvo::testing::ShellQuote;


std::string Gpx(const std::string& body) {
  return "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\" "
         "xmlns=\"http://www.topografix.com/GPX/1/1\">" +
         body + "</gpx>\n";
}

using testing::Names;

TEST(GpxRoute, ImportTakesTheFirstRouteElseTheWaypointsAndKeepsTheRouteOnBadInput) {
  struct Case {
    const char* what;
    std::string text;
    std::vector<std::string> names;  // empty: refused
    const char* message = "";
  };
  const std::string rte =
      "<rte><rtept lat=\"43.73\" lon=\"7.42\"><name>Fish &amp; Chips</name></rtept>"
      "<rtept lat=\" 43.74 \" lon=\"7.43\"/><rtept lat=\"-43.75\" lon=\"-7.44\">"
      "<name>End</name></rtept></rte>";
  const std::vector<Case> cases = {
      {"a route before waypoints",
       Gpx("<wpt lat=\"1\" lon=\"2\"><name>W</name></wpt>" + rte),
       {"Fish & Chips", "Waypoint 1", "End"}},
      {"an empty route is passed over",
       Gpx("<rte><name>empty</name></rte>" + rte),
       {"Fish & Chips", "Waypoint 1", "End"}},
      {"waypoints without a route",
       Gpx("<wpt lat=\"43.7\" lon=\"7.4\"><name>A</name></wpt><wpt lat=\"43.8\" "
           "lon=\"7.5\"><name>B</name></wpt>"),
       {"A", "B"}},
      {"not XML", "<gpx><rte>", {}, "(line"},
      {"not GPX", "<kml><Placemark/></kml>", {}, "not a GPX file"},
      {"nothing in it", Gpx("<trk/>"), {}, "no route and no waypoints"},
      {"a latitude off the globe",
       Gpx("<rte><rtept lat=\"43\" lon=\"7\"/><rtept lat=\"95\" lon=\"7\"/></rte>"),
       {},
       "point 2 (lat \"95\", lon \"7\") is not a place on the globe"},
      {"a point without its longitude", Gpx("<wpt lat=\"43\"/>"), {}, "point 1"},
  };
  orvo::testing::TempFolder folder;
  MapDocument map(folder.Path() / "import.orvomap");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    map.Plan().Clear();
    map.Plan().Add(kCasino, "Kept");
    map.Plan().Add(kFontvieille, "Also kept");
    const auto file = folder.Path() / "route.gpx";
    testing::WriteFile(file, c.text);
    if (c.names.empty()) {
      try {
        ImportGpxRoute(map.Plan(), file);
        ADD_FAILURE() << "imported";
      } catch (const GpxError& error) {
        EXPECT_NE(std::string(error.what()).find(c.message), std::string::npos) << error.what();
      }
      EXPECT_EQ(Names(map.Plan()), (std::vector<std::string>{"Kept", "Also kept"}));
      continue;
    }
    EXPECT_EQ(ImportGpxRoute(map.Plan(), file), c.names.size());
    EXPECT_EQ(Names(map.Plan()), c.names);
    EXPECT_EQ(map.Plan().Waypoints().front().type, WaypointType::Start);
    EXPECT_EQ(map.Plan().Waypoints().back().type, WaypointType::End);
  }
  EXPECT_THROW(ImportGpxRoute(map.Plan(), folder.Path() / "missing.gpx"), GpxError);
}

// gpsbabel's reading of a GPX file's routes (-r) or tracks (-t): one line per point after the
// header, "No,Latitude,Longitude,Name,...".
std::vector<std::string> GpsbabelLines(const std::string& kind, const std::filesystem::path& gpx) {
  std::string read;
  FILE* pipe = ::popen(
      ("gpsbabel " + kind + " -i gpx -f " + ShellQuote(gpx.string()) + " -o unicsv -F - 2>&1")
          .c_str(),
      "r");
  std::array<char, 4096> buffer{};
  std::size_t count = 0;
  while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
    read.append(buffer.data(), count);
  EXPECT_EQ(::pclose(pipe), 0) << read;
  std::erase(read, '\r');
  std::vector<std::string> lines;
  std::istringstream stream(read);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  if (!lines.empty()) lines.erase(lines.begin());
  return lines;
}

TEST(GpxRoute, ACalculatedRouteGoesOutWithItsDirectionsAndRoadAndComesBackAsTheSameRoute) {
  orvo::testing::TempFolder folder;
  const auto file = folder.Path() / "routed.orvomap";
  std::size_t directionCount = 0;
  RouteCalculation calculated;
  {
    MapHost host(folder.Path());
    host.OpenAtStart(file);
    DocumentRoute route(host, RegionRouter("monaco", testing::SharedMonaco::Get().RegionsFolder()));
    route.AddWaypoint(kCasino, "Casino");
    route.AddWaypoint(kFontvieille, "Fontvieille");
    route.Calculate();
    calculated = *host.ActiveMap()->Plan().Calculation();
    const std::function<void(const std::vector<Direction>&)> count =
        [&](const std::vector<Direction>& directions) {
          for (const Direction& direction : directions) {
            ++directionCount;
            count(direction.nested);
          }
        };
    count(calculated.directions);
  }
  ASSERT_GE(directionCount, 4u);

  // While another program could be writing it: read-only, as JSON.
  const auto shown = orvo::testing::RunOrvo({"map", "route", "--map", file.string()});
  ASSERT_EQ(shown.exitCode, 0) << shown.err;
  const auto json = nlohmann::json::parse(shown.out);
  EXPECT_EQ(json["waypoints"][0]["name"], "Casino");
  EXPECT_EQ(json["waypoints"][1]["type"], "end");
  EXPECT_EQ(json["calculated"], true);
  EXPECT_DOUBLE_EQ(json["distanceKm"].get<double>(), calculated.distanceKm);
  EXPECT_EQ(json["directions"][1]["nested"].size(), 0u);  // the end's: nothing after it
  EXPECT_EQ(json["directions"][0]["nested"].size(), calculated.directions[0].nested.size());

  const auto gpx = folder.Path() / "routed.gpx";
  const auto exported =
      orvo::testing::RunOrvo({"map", "export", "--map", file.string(), gpx.string()});
  ASSERT_EQ(exported.exitCode, 0) << exported.err;
  // The waypoints' route, then every direction in order, then the road as a track.
  const auto routePoints = GpsbabelLines("-r", gpx);
  ASSERT_EQ(routePoints.size(), 2 + directionCount);
  EXPECT_NE(routePoints[0].find("\"Casino\""), std::string::npos) << routePoints[0];
  EXPECT_NE(routePoints[1].find("\"Fontvieille\""), std::string::npos) << routePoints[1];
  EXPECT_NE(routePoints[2].find(calculated.directions[0].text), std::string::npos);
  EXPECT_NE(routePoints.back().find("Arrive at Fontvieille"), std::string::npos);
  EXPECT_EQ(GpsbabelLines("-t", gpx).size(), calculated.path.size());

  // Read back into another map, the waypoints' route is the route again (not the directions).
  MapDocument other(folder.Path() / "other.orvomap");
  ASSERT_EQ(ImportGpxRoute(other.Plan(), gpx), 2u);
  EXPECT_EQ(Names(other.Plan()), (std::vector<std::string>{"Casino", "Fontvieille"}));
  EXPECT_DOUBLE_EQ(other.Plan().Waypoints()[1].location.latitudeDegrees,
                   kFontvieille.latitudeDegrees);
}

}  // namespace
}  // namespace orvo::host::map
