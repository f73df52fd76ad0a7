// The map document's rules: names, handles, values, notifications, the file across opens and
// across processes.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "host/map/MapDocument.hpp"
#include "tests/map/MapTestSupport.hpp"

namespace orvo::host::map {
namespace {

const Location kMonaco{43.7384, 7.4246};

struct MapDocumentFixture : ::testing::Test {
  orvo::testing::TempFolder folder;
  std::filesystem::path file = folder.Path() / "test.orvomap";
  // `orvo map ARGUMENTS`, with the folder as its data home.
  orvo::testing::OrvoRun OrvoMap(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "map");
    return orvo::testing::RunOrvo(arguments, {{"XDG_DATA_HOME", folder.Path()}});
  }
};

TEST_F(MapDocumentFixture, DefaultNamesTakeOneMoreThanTheHighestPushpinNumberInUse) {
  MapDocument map(file);
  // Each step: a pin added with a name (empty: the default) must end up called the second.
  const std::pair<const char*, const char*> steps[] = {
      {"", "Pushpin 1"},          {"", "Pushpin 2"},
      {"pushpin 7", "pushpin 7"},  // folded names count: the next is 8
      {"", "Pushpin 8"},          {"Pushpin 08", "Pushpin 08"},  // not a plain number
      {"Pushpin x", "Pushpin x"}, {"Pushpin 99999999999999999999", "Pushpin 99999999999999999999"},
      {"", "Pushpin 9"},
  };
  for (const auto& [name, expected] : steps)
    EXPECT_EQ(map.AddPushpin(kMonaco, name).Name(), expected);

  // Deleting the highest makes its number free again; renaming one away does too.
  map.FindPushpin("Pushpin 9")->Delete();
  EXPECT_EQ(map.AddPushpin(kMonaco).Name(), "Pushpin 9");
  map.FindPushpin("Pushpin 9")->SetName("renamed");
  map.FindPushpin("Pushpin 8")->SetName("Pushpin 20");
  EXPECT_EQ(map.AddPushpin(kMonaco).Name(), "Pushpin 21");
  for (const char* name : {"Pushpin 1", "Pushpin 2", "pushpin 7", "Pushpin 20", "Pushpin 21"})
    map.FindPushpin(name)->Delete();
  EXPECT_EQ(map.AddPushpin(kMonaco).Name(), "Pushpin 1");
}

TEST_F(MapDocumentFixture, FindsByNameWithoutCaseOfAsciiLettersAndTheEarliestOfEqualNames) {
  MapDocument map(file);
  const Pushpin position = map.AddPushpin(kMonaco, "ORVO_CurrentPosition");
  const Pushpin first = map.AddPushpin(kMonaco, "ORVO_1");
  const Pushpin second = map.AddPushpin(kMonaco, "orvo_1");
  const Pushpin accented = map.AddPushpin(kMonaco, "Église");

  const std::pair<const char*, std::optional<Pushpin>> cases[] = {
      {"ORVO_CurrentPosition", position},
      {"orvo_currentposition", position},
      {"ORVO_CurrentPosition ", std::nullopt},
      {"ORVO_1", first},
      {"Église", accented},
      {"éGLISE", std::nullopt},  // only ASCII folds
      {"", std::nullopt}};
  for (const auto& [name, expected] : cases) EXPECT_EQ(map.FindPushpin(name), expected) << name;

  map.Delete(first.Id());  // as the user does in the page: the handles left throw
  EXPECT_FALSE(first.Exists());
  EXPECT_THROW(first.Symbol(), MapError);
  EXPECT_THROW((void)map.PushpinWithId(first.Id()), MapError);
  EXPECT_EQ(map.FindPushpin("ORVO_1"), second);
  // Renaming an older pin into the name puts it first again.
  map.Rename(position.Id(), "Orvo_1");
  EXPECT_EQ(map.FindPushpin("ORVO_1"), position);
  EXPECT_FALSE(map.FindPushpin("ORVO_CurrentPosition"));
}

TEST_F(MapDocumentFixture, RefusesBadValuesAndKeepsThePinAsItWas) {
  MapDocument map(file);
  Pushpin pin = map.AddPushpin({10, 20}, "pin");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THROW(pin.SetSymbol(-1), MapError);
  EXPECT_THROW(pin.SetSymbol(256), MapError);
  EXPECT_THROW(pin.SetBalloonState(3), MapError);
  EXPECT_THROW(pin.SetBalloonState(-1), MapError);
  EXPECT_THROW(pin.SetLocation({90.5, 0}), MapError);
  EXPECT_THROW(pin.SetLocation({nan, 0}), MapError);
  EXPECT_THROW(pin.SetLocation({0, std::numeric_limits<double>::infinity()}), MapError);
  EXPECT_THROW(pin.SetName(""), MapError);
  EXPECT_THROW(map.AddPushpin({0, nan}), MapError);
  EXPECT_EQ(pin.Name(), "pin");
  EXPECT_EQ(pin.Symbol(), 0);
  EXPECT_EQ(pin.BalloonState(), kBalloonNone);
  EXPECT_EQ(pin.GetLocation().latitudeDegrees, 10);
  EXPECT_EQ(map.PushpinCount(), 1u);

  // Longitudes come back in -180..180; 90, 255 and 2 are the edges of the accepted ranges.
  pin.SetLocation({-90, 540});
  pin.SetSymbol(255);
  pin.SetBalloonState(kBalloonNameAndNote);
  EXPECT_EQ(pin.GetLocation().longitudeDegrees, 180);
  EXPECT_EQ(pin.Symbol(), 255);
}

TEST_F(MapDocumentFixture, ReopeningFindsEveryFlushedPinWithItsIdAndNeverReusesAnId) {
  PinId lastId = 0;
  {
    MapDocument map(file);
    map.AddPushpin({43.7, 7.4}, "ORVO_CurrentPosition");
    map.AddPushpin({-33.9, 151.2}, "Ünïcødé 東京");
    lastId = map.AddPushpin({0, 0}).Id();
    map.Delete(lastId);  // the highest id is gone, but stays used
    map.Flush();
    map.AddPushpin({1, 1}, "left unflushed; the destructor writes it");
  }
  MapDocument map(file);
  ASSERT_EQ(map.PushpinCount(), 3u);
  EXPECT_EQ(map.FindPushpin("Ünïcødé 東京")->GetLocation().longitudeDegrees, 151.2);
  EXPECT_TRUE(map.FindPushpin("left unflushed; the destructor writes it"));
  EXPECT_GT(map.AddPushpin({2, 2}).Id(), lastId + 1);
  EXPECT_EQ(map.Pins().begin()->second.name, "ORVO_CurrentPosition");  // the order of adding
}

// Nothing is written before a flush: `orvo map pins` below and the flush timer's test see that.
TEST_F(MapDocumentFixture, SignalsTheFirstChangeOfEachBatchAndOnlyRealChanges) {
  MapDocument map(file);
  int dirtySignals = 0;
  std::vector<PinChangeKind> changes;
  map.onDirty = [&] { ++dirtySignals; };
  map.onPinChange = [&](const PinChange& change) { changes.push_back(change.kind); };

  Pushpin pin = map.AddPushpin(kMonaco, "a");
  pin.SetSymbol(24);
  pin.SetSymbol(24);  // no change: nothing written, nothing said
  pin.SetLocation(kMonaco);
  EXPECT_EQ(dirtySignals, 1);
  EXPECT_TRUE(map.IsDirty());
  map.Flush();
  EXPECT_FALSE(map.IsDirty());
  pin.Delete();
  EXPECT_EQ(dirtySignals, 2);
  EXPECT_EQ(changes, (std::vector<PinChangeKind>{PinChangeKind::Added, PinChangeKind::Updated,
                                                 PinChangeKind::Removed}));
}

TEST_F(MapDocumentFixture, OpeningRefusesWhatIsNotAWritableOrvoMap) {
  const std::filesystem::path text = folder.Path() / "notes.orvomap";
  std::ofstream(text) << "not a database at all, but long enough to be read as one......";
  const std::filesystem::path other = folder.Path() / "other.sqlite";
  testing::MakeMbTiles(other, {}, {});  // a database, but not a map document

  EXPECT_THROW(MapDocument{text}, MapError);
  EXPECT_THROW(MapDocument{other}, MapError);
  EXPECT_THROW((MapDocument{folder.Path() / "missing.orvomap", MapDocument::Access::ReadOnly}),
               MapError);
  EXPECT_FALSE(std::filesystem::exists(folder.Path() / "missing.orvomap"));

  MapDocument writer(file);
  EXPECT_THROW(MapDocument{file}, MapError) << "a second writer would overwrite the first";
  MapDocument reader(file, MapDocument::Access::ReadOnly);
  EXPECT_THROW(reader.AddPushpin(kMonaco), MapError);
}

// Across processes: killed while writing, read by `orvo map` while another process writes, and
// exported as GPX that an independent reader (gpsbabel) understands.
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

TEST_F(MapDocumentFixture, AKilledWriterLosesAtMostTheTickInProgress) {
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

TEST_F(MapDocumentFixture, OrvoMapPinsReadsTheLastFlushWhileAnotherProcessWrites) {
  MapDocument map(file);
  Pushpin first = map.AddPushpin({43.7384, 7.4246}, "ORVO_CurrentPosition");
  first.SetSymbol(123);
  first.SetNote("Speed:  3 km/h");
  first.SetBalloonState(kBalloonName);
  map.AddPushpin({-33.5, -70.25});
  map.Flush();
  map.AddPushpin({0, 0}, "not flushed yet");

  const auto pins = [&] {
    const auto result = OrvoMap({"pins", "--map", file});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out;
  };
  // One JSON object a line, of the pins flushed so far.
  const std::string before = pins();
  EXPECT_EQ(std::count(before.begin(), before.end(), '\n'), 2) << before;
  EXPECT_EQ(nlohmann::json::parse(before.substr(0, before.find('\n'))),
            nlohmann::json::parse(R"({"name":"ORVO_CurrentPosition","lat":43.7384,
                "lon":7.4246,"symbol":123,"note":"Speed:  3 km/h","balloon":1})"));

  // Without a document there is a message, not an empty list.
  const auto missing = OrvoMap({"pins", "--map", folder.Path() / "none"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.err.find("no map document at"), std::string::npos);
  EXPECT_EQ(OrvoMap({"pins", "extra"}).exitCode, 2);
  EXPECT_EQ(OrvoMap({}).exitCode, 2);
}

TEST_F(MapDocumentFixture, GpxExportReadsBackInGpsbabel) {
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
  const auto exported = OrvoMap({"export", "--map", file, gpx});
  ASSERT_EQ(exported.exitCode, 0) << exported.err;
  // gpsbabel shows the name where a waypoint has no description.
  EXPECT_EQ(testing::Gpsbabel(gpx), R"(No,Latitude,Longitude,Name,Description,Symbol
1,43.738400,7.424600,"Fish & Chips <Best>","""quoted"" and 'single'","Circle, Red"
2,-33.856784,151.215297,"Zürich — 東京 ✓","Ünïcødé note","Stop Sign"
3,64.146600,-21.942600,"ORVO_12","Speed:  42 km/h, Heading: 45","Arrow NE"
4,-54.801900,-68.303000,"Pushpin 1","Pushpin 1","200"
)");
}

}  // namespace
}  // namespace orvo::host::map
