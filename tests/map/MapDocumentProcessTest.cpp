// The document across processes: killed while writing, read by `orvo map` while another
// process writes, and exported as GPX that an independent reader (gpsbabel) understands.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "host/map/MapDocument.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

using orvo::testing::TempFolder;

std::string Quoted(const std::filesystem::path& path) {
  return orvo::testing::ShellQuote(path.string());
}

struct MapRun {
  int exitCode;
  std::string output;  // standard output, then standard error
};

MapRun RunOrvo(const std::filesystem::path& dataHome, std::string_view arguments) {
  auto run = orvo::testing::RunOrvoCommandLine(arguments, {{"XDG_DATA_HOME", dataHome.string()}});
  return {run.exitCode, run.out + run.err};
}

constexpr int kPinsPerTick = 25;

// Adds kPinsPerTick pins per tick, flushing each tick, and writes the number of every
// completed tick to DONE; never returns.
[[noreturn]] void WriteTicksForever(const std::filesystem::path& file, int done) {
  MapDocument map(file);
  for (int tick = 0;; ++tick) {
    for (int pin = 0; pin < kPinsPerTick; ++pin)
      map.AddPushpin({43.7 + tick * 1e-4, 7.4 + pin * 1e-4},
                     "tick " + std::to_string(tick) + " pin " + std::to_string(pin));
    map.Flush();
    if (::write(done, &tick, sizeof tick) != sizeof tick) ::_exit(2);
  }
}

TEST(MapDocumentProcess, AKilledWriterLosesAtMostTheTickInProgress) {
  TempFolder folder;
  const auto file = folder.Path() / "killed.orvomap";
  for (const int ticksBeforeKill : {1, 40}) {
    std::filesystem::remove(file);
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      ::close(pipe[0]);
      WriteTicksForever(file, pipe[1]);
    }
    ::close(pipe[1]);
    int lastDone = -1;
    while (lastDone + 1 < ticksBeforeKill)
      ASSERT_EQ(::read(pipe[0], &lastDone, sizeof lastDone), static_cast<ssize_t>(sizeof lastDone));
    ::kill(child, SIGKILL);  // while it writes the next ticks
    int status = 0;
    ::waitpid(child, &status, 0);
    while (::read(pipe[0], &lastDone, sizeof lastDone) == sizeof lastDone) {
    }
    ::close(pipe[0]);
    ASSERT_TRUE(WIFSIGNALED(status));

    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    sqlite3_stmt* check = nullptr;
    sqlite3_prepare_v2(database, "PRAGMA integrity_check", -1, &check, nullptr);
    ASSERT_EQ(sqlite3_step(check), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)), "ok");
    sqlite3_finalize(check);
    sqlite3_close(database);

    const MapDocument map(file);
    // Whole ticks only: every completed one, perhaps one more that committed before the kill.
    EXPECT_EQ(map.PushpinCount() % kPinsPerTick, 0u);
    EXPECT_GE(map.PushpinCount(), static_cast<std::size_t>((lastDone + 1) * kPinsPerTick));
    for (int tick = 0; tick <= lastDone; tick += 7)
      EXPECT_TRUE(map.FindPushpin("tick " + std::to_string(tick) + " pin 24")) << tick;
  }
}

TEST(MapDocumentProcess, OrvoMapPinsReadsTheLastFlushWhileAnotherProcessWrites) {
  TempFolder folder;
  const auto file = folder.Path() / "shared.orvomap";
  MapDocument map(file);
  Pushpin first = map.AddPushpin({43.7384, 7.4246}, "ORVO_CurrentPosition");
  first.SetSymbol(123);
  first.SetNote("Speed:  3 km/h");
  first.SetBalloonState(kBalloonName);
  map.AddPushpin({-33.5, -70.25});
  map.Flush();
  map.AddPushpin({0, 0}, "not flushed yet");

  const auto pins = [&] {
    const auto result = RunOrvo(folder.Path(), "map pins --map " + Quoted(file));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    return result.output;
  };
  // One JSON object a line, of the pins flushed so far.
  const std::string before = pins();
  EXPECT_EQ(std::count(before.begin(), before.end(), '\n'), 2) << before;
  EXPECT_EQ(nlohmann::json::parse(before.substr(0, before.find('\n'))),
            nlohmann::json::parse(R"({"name":"ORVO_CurrentPosition","lat":43.7384,
                "lon":7.4246,"symbol":123,"note":"Speed:  3 km/h","balloon":1})"));
  map.Flush();
  EXPECT_NE(pins().find("not flushed yet"), std::string::npos);

  // Without a document there is a message, not an empty list.
  const auto missing = RunOrvo(folder.Path(), "map pins --map " + Quoted(folder.Path() / "none"));
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.output.find("no map document at"), std::string::npos);
  EXPECT_EQ(RunOrvo(folder.Path(), "map pins extra").exitCode, 2);
  EXPECT_EQ(RunOrvo(folder.Path(), "map export").exitCode, 2);
  EXPECT_EQ(RunOrvo(folder.Path(), "map").exitCode, 2);
}

TEST(MapDocumentProcess, GpxExportReadsBackInGpsbabel) {
  TempFolder folder;
  const auto file = folder.Path() / "export.orvomap";
  struct Pin {
    const char* name;  // empty: the default name
    Location location;
    int symbol;
    const char* note;
  };
  const Pin pins[] = {
      {"Fish & Chips <Best>", {43.7384, 7.4246}, 1, "\"quoted\" and 'single'"},
      {"Zürich — 東京 ✓", {-33.856784, 151.215297}, 65, "Ünïcødé note"},
      {"ORVO_12", {64.1466, -21.9426}, 128, "Speed:  42 km/h, Heading: 45"},
      {"", {-54.8019, -68.303}, 200, ""},
  };
  {
    MapDocument map(file);
    for (const Pin& pin : pins) {
      Pushpin added = map.AddPushpin(pin.location, pin.name);
      added.SetSymbol(pin.symbol);
      added.SetNote(pin.note);
    }
  }
  const auto gpx = folder.Path() / "out.gpx";
  const auto exported =
      RunOrvo(folder.Path(), "map export --map " + Quoted(file) + " " + Quoted(gpx));
  ASSERT_EQ(exported.exitCode, 0) << exported.output;

  std::string read;
  FILE* pipe = ::popen(("gpsbabel -i gpx -f " + Quoted(gpx) + " -o unicsv -F - 2>&1").c_str(), "r");
  for (char buffer[4096]; const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe);)
    read.append(buffer, count);
  ASSERT_EQ(::pclose(pipe), 0) << read;
  std::erase(read, '\r');  // unicsv ends its lines with CR LF
  // gpsbabel shows the name where a waypoint has no description.
  EXPECT_EQ(read, R"(No,Latitude,Longitude,Name,Description,Symbol
1,43.738400,7.424600,"Fish & Chips <Best>","""quoted"" and 'single'","Circle, Red"
2,-33.856784,151.215297,"Zürich — 東京 ✓","Ünïcødé note","Stop Sign"
3,64.146600,-21.942600,"ORVO_12","Speed:  42 km/h, Heading: 45","Arrow NE"
4,-54.801900,-68.303000,"Pushpin 1","Pushpin 1","200"
)");
}

}  // namespace
}  // namespace orvo::host::map
