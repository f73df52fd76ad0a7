#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "gps/NmeaSimulator.hpp"

namespace orvo::gps {
namespace {

std::string ErrorOf(std::string_view text) {
  try {
    ParseRoute(text);
  } catch (const SimulationError& error) {
    return error.what();
  }
  return "(no error)";
}

TEST(RouteText, AcceptsSpacesCommasCommentsAndAltitudes) {
  const auto points = ParseRoute(
      "\xEF\xBB\xBF# Monaco\r\n"
      "43.7300 7.4200\r\n"
      "\n"
      "   43.7310,7.4210   # after the port\n"
      "43.7320, 7.4220, 12.5\n"
      "+43.7330\t-7.4230\n"
      "-43.7340 , 7.4240");
  ASSERT_EQ(points.size(), 5U);
  EXPECT_DOUBLE_EQ(points[0].latitudeDeg, 43.73);
  EXPECT_DOUBLE_EQ(points[0].longitudeDeg, 7.42);
  EXPECT_FALSE(points[0].altitudeM.has_value());
  EXPECT_DOUBLE_EQ(points[1].longitudeDeg, 7.421);
  EXPECT_EQ(points[2].altitudeM, 12.5);
  EXPECT_DOUBLE_EQ(points[3].latitudeDeg, 43.733);
  EXPECT_DOUBLE_EQ(points[3].longitudeDeg, -7.423);
  EXPECT_DOUBLE_EQ(points[4].latitudeDeg, -43.734);
}

TEST(RouteText, NamesTheLineOfABadPoint) {
  EXPECT_EQ(ErrorOf("43.73 7.42\n# fine\n43.73 east\n"), "line 3: \"east\" is not a number");
  EXPECT_EQ(ErrorOf("43.73 7.42\n43.73\n"),
            "line 2: expected \"lat lon\" or \"lat,lon\" (and an optional altitude), found "
            "\"43.73\"");
  EXPECT_NE(ErrorOf("1 2 3 4\n").find("line 1: expected"), std::string::npos);
  EXPECT_EQ(ErrorOf("43.73 7.42\n95 7.42\n"), "line 2: latitude 95 is outside -90 to 90");
  EXPECT_EQ(ErrorOf("43.73 7.42\n43 181\n"), "line 2: longitude 181 is outside -180 to 180");
  EXPECT_EQ(ErrorOf("43.73 7.42\n43.7x 7.42\n"), "line 2: \"43.7x\" is not a number");
  EXPECT_EQ(ErrorOf("43.73 7.42\nnan 7.42\n"), "line 2: \"nan\" is not a number");
  EXPECT_EQ(ErrorOf("43.73 7.42\n"), "the route has 1 point; at least 2 are needed");
  EXPECT_EQ(ErrorOf("# nothing\n\n"), "the route has 0 points; at least 2 are needed");
  EXPECT_EQ(ErrorOf(""), "the route has 0 points; at least 2 are needed");
}

TEST(RouteGpx, ReadsTrackPointsWithElevationInAnyAttributeOrder) {
  const auto points = ParseRoute(R"(<?xml version="1.0" encoding="UTF-8"?>
<gpx version="1.1" creator="test" xmlns="http://www.topografix.com/GPX/1/1">
  <!-- <trkpt lat="1" lon="1"/> is only a comment -->
  <rte><rtept lat="10" lon="10"/><rtept lat="11" lon="11"/></rte>
  <trk><name><![CDATA[<trkpt lat="2" lon="2">]]></name><trkseg>
    <trkpt lat="43.7300" lon="7.4200"><ele>12.0</ele><time>2026-01-01T00:00:00Z</time></trkpt>
    <trkpt lon='7.4210' lat='43.7310'></trkpt>
    <trkpt
        lat="43.7320"
        lon="7.4220"/>
  </trkseg></trk>
</gpx>)");
  ASSERT_EQ(points.size(), 3U);  // the track wins over the route; comments and CDATA add nothing
  EXPECT_DOUBLE_EQ(points[0].latitudeDeg, 43.73);
  EXPECT_EQ(points[0].altitudeM, 12.0);
  EXPECT_DOUBLE_EQ(points[1].latitudeDeg, 43.731);
  EXPECT_DOUBLE_EQ(points[1].longitudeDeg, 7.421);
  EXPECT_FALSE(points[1].altitudeM.has_value());
  EXPECT_DOUBLE_EQ(points[2].longitudeDeg, 7.422);
}

TEST(RouteGpx, ReadsRoutePointsWhenThereIsNoTrack) {
  const auto points = ParseRoute(
      "<gpx><gpx:rte><gpx:rtept lat=\"43.73\" lon=\"7.42\"><gpx:ele>5</gpx:ele></gpx:rtept>"
      "<gpx:rtept lat=\"43.74\" lon=\"7.43\"/></gpx:rte><wpt lat=\"1\" lon=\"1\"/></gpx>");
  ASSERT_EQ(points.size(), 2U);
  EXPECT_EQ(points[0].altitudeM, 5.0);
  EXPECT_DOUBLE_EQ(points[1].longitudeDeg, 7.43);
}

TEST(RouteGpx, NamesWhatIsWrong) {
  EXPECT_EQ(ErrorOf("<gpx>\n<trk><trkseg>\n<trkpt lat=\"43.7\"/>"),
            "line 3: <trkpt> has no lon attribute");
  EXPECT_EQ(ErrorOf("<gpx>\n<trkpt lat=\"north\" lon=\"7\"/>"),
            "line 2: lat=\"north\" is not a number");
  EXPECT_EQ(ErrorOf("<gpx><trkpt lat=\"43\" lon=\"7\"><ele>high</ele></trkpt></gpx>"),
            "line 1: <ele> \"high\" is not a number");
  EXPECT_EQ(ErrorOf("<gpx><wpt lat=\"43\" lon=\"7\"/></gpx>"),
            "the GPX file has no <trkpt> or <rtept> points");
  EXPECT_EQ(ErrorOf("<gpx><trkpt lat=\"43\" lon=\"7\"/>\n<trkpt lat=\"44\""),
            "line 2: unterminated markup");
  EXPECT_EQ(ErrorOf("<gpx><trkpt lat=\"43\" lon=\"7\"/></gpx>"),
            "the route has 1 point; at least 2 are needed");
  EXPECT_EQ(ErrorOf("<gpx><trkpt lat=\"43\" lon=\"-190\"/></gpx>"),
            "line 1: longitude -190 is outside -180 to 180");
}

TEST(RouteFile, LoadsAFileAndPutsItsNameInErrors) {
  const auto file = std::filesystem::temp_directory_path() /
                    ("orvo-route-file-test-" + std::to_string(getpid()) + ".route");
  auto errorOf = [&](const std::filesystem::path& path) -> std::string {
    try {
      return std::to_string(LoadRoute(path).size()) + " points";
    } catch (const SimulationError& error) {
      return error.what();
    }
  };
  std::ofstream(file) << "43.73 7.42\n43.74 7.43\n";
  EXPECT_EQ(errorOf(file), "2 points");
  std::ofstream(file) << "43.73 7.42\n43.74 x\n";
  EXPECT_EQ(errorOf(file), file.string() + ": line 2: \"x\" is not a number");
  std::filesystem::remove(file);
  EXPECT_EQ(errorOf(file), file.string() + ": cannot open the route file");
}

}  // namespace
}  // namespace orvo::gps
