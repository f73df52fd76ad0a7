#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "gps/NmeaSimulator.hpp"
#include "tests/TestSupport.hpp"

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

// Text with spaces, commas, comments, CR LF, a byte order mark and altitudes; GPX track points in
// any attribute order, comments and CDATA adding nothing, the track winning over the route; GPX
// route points when there is no track.
TEST(RouteFile, ReadsTextAndGpx) {
  const auto text = ParseRoute(
      "\xEF\xBB\xBF# Monaco\r\n43.7300 7.4200\r\n\n   43.7310,7.4210   # after the port\n"
      "43.7320, 7.4220, 12.5\n+43.7330\t-7.4230\n");
  ASSERT_EQ(text.size(), 4U);
  EXPECT_DOUBLE_EQ(text[1].longitudeDeg, 7.421);
  EXPECT_FALSE(text[1].altitudeM.has_value());
  EXPECT_EQ(text[2].altitudeM, 12.5);
  EXPECT_DOUBLE_EQ(text[3].latitudeDeg, 43.733);
  EXPECT_DOUBLE_EQ(text[3].longitudeDeg, -7.423);

  const auto track = ParseRoute(R"(<?xml version="1.0"?>
<gpx xmlns="http://www.topografix.com/GPX/1/1">
  <!-- <trkpt lat="1" lon="1"/> is only a comment -->
  <rte><rtept lat="10" lon="10"/><rtept lat="11" lon="11"/></rte>
  <trk><name><![CDATA[<trkpt lat="2" lon="2">]]></name><trkseg>
    <trkpt lat="43.7300" lon="7.4200"><ele>12.0</ele><time>2026-01-01T00:00:00Z</time></trkpt>
    <trkpt lon='7.4210' lat='43.7310'></trkpt>
    <trkpt
        lat="43.7320" lon="7.4220"/>
  </trkseg></trk>
</gpx>)");
  ASSERT_EQ(track.size(), 3U);
  EXPECT_EQ(track[0].altitudeM, 12.0);
  EXPECT_DOUBLE_EQ(track[1].latitudeDeg, 43.731);
  EXPECT_DOUBLE_EQ(track[1].longitudeDeg, 7.421);
  EXPECT_DOUBLE_EQ(track[2].longitudeDeg, 7.422);

  const auto route = ParseRoute(
      "<gpx><gpx:rte><gpx:rtept lat=\"43.73\" lon=\"7.42\"><gpx:ele>5</gpx:ele></gpx:rtept>"
      "<gpx:rtept lat=\"43.74\" lon=\"7.43\"/></gpx:rte><wpt lat=\"1\" lon=\"1\"/></gpx>");
  ASSERT_EQ(route.size(), 2U);
  EXPECT_EQ(route[0].altitudeM, 5.0);
}

// Each error names the line and what is wrong with it.
TEST(RouteFile, NamesTheLineAndTheFault) {
  const std::pair<std::string, std::string> cases[] = {
      {"43.73 7.42\n# fine\n43.73 east\n", "line 3: \"east\" is not a number"},
      {"43.73 7.42\n43.73\n", "line 2: expected \"lat lon\""},
      {"43.73 7.42\n95 7.42\n", "line 2: latitude 95"},
      {"43.73 7.42\nnan 7.42\n", "line 2: \"nan\" is not a number"},
      {"43.73 7.42\n", "the route has 1 point; at least 2"},
      {"<gpx>\n<trk><trkseg>\n<trkpt lat=\"43.7\"/>", "line 3: <trkpt> has no lon"},
      {"<gpx>\n<trkpt lat=\"north\" lon=\"7\"/>", "line 2: lat=\"north\" is not a number"},
      {"<gpx><trkpt lat=\"43\" lon=\"7\"><ele>high</ele></trkpt></gpx>", "<ele> \"high\""},
      {"<gpx><wpt lat=\"43\" lon=\"7\"/></gpx>", "no <trkpt> or <rtept> points"},
      {"<gpx><trkpt lat=\"43\" lon=\"7\"/>\n<trkpt lat=\"44\"", "line 2: unterminated markup"},
  };
  for (const auto& [text, words] : cases)
    EXPECT_NE(ErrorOf(text).find(words), std::string::npos) << text << "\n" << ErrorOf(text);

  const orvo::testing::TempFolder folder;
  const auto file = folder.Path() / "drive.route";
  std::ofstream(file) << "43.73 7.42\n43.74 x\n";
  try {
    LoadRoute(file);
    ADD_FAILURE() << "loaded";
  } catch (const SimulationError& error) {
    EXPECT_EQ(error.what(), file.string() + ": line 2: \"x\" is not a number");
  }
}

}  // namespace
}  // namespace orvo::gps
