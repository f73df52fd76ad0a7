// The map document's rules: names, handles, values, notifications and the file across opens.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>

#include "host/map/MapDocument.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map {
namespace {

const Location kMonaco{43.7384, 7.4246};

struct MapDocumentFixture : ::testing::Test {
  orvo::testing::TempFolder folder;
  std::filesystem::path file = folder.Path() / "test.orvomap";
};

TEST_F(MapDocumentFixture, DefaultNamesTakeOneMoreThanTheHighestPushpinNumberInUse) {
  MapDocument map(file);
  // Each step: a pin added with NAME (empty: the default) must end up called EXPECTED.
  struct Step {
    const char* name;
    const char* expected;
  };
  const Step steps[] = {
      {"", "Pushpin 1"},          {"", "Pushpin 2"},
      {"pushpin 7", "pushpin 7"},  // folded names count: the next is 8
      {"", "Pushpin 8"},          {"Pushpin 08", "Pushpin 08"},  // not a plain number
      {"Pushpin x", "Pushpin x"}, {"Pushpin 99999999999999999999", "Pushpin 99999999999999999999"},
      {"", "Pushpin 9"},
  };
  for (const Step& step : steps)
    EXPECT_EQ(map.AddPushpin(kMonaco, step.name).Name(), step.expected);

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

  struct Case {
    const char* name;
    std::optional<Pushpin> expected;
  };
  const Case cases[] = {{"ORVO_CurrentPosition", position},
                        {"orvo_currentposition", position},
                        {"ORVO_CurrentPosition ", std::nullopt},
                        {"ORVO_1", first},
                        {"Église", accented},
                        {"éGLISE", std::nullopt},  // only ASCII folds
                        {"", std::nullopt}};
  for (const Case& test : cases) EXPECT_EQ(map.FindPushpin(test.name), test.expected) << test.name;

  map.Delete(first.Id());
  EXPECT_EQ(map.FindPushpin("ORVO_1"), second);
  // Renaming an older pin into the name puts it first again.
  map.Rename(position.Id(), "Orvo_1");
  EXPECT_EQ(map.FindPushpin("ORVO_1"), position);
  EXPECT_FALSE(map.FindPushpin("ORVO_CurrentPosition"));
}

TEST_F(MapDocumentFixture, AHandleOfADeletedPinThrowsAndTheNameIsFreeForANewPin) {
  MapDocument map(file);
  Pushpin pin = map.AddPushpin(kMonaco, "ORVO_CurrentPosition");
  const Pushpin sameAgain = *map.FindPushpin("ORVO_CurrentPosition");
  map.Delete(pin.Id());  // as the user does in the page

  EXPECT_FALSE(pin.Exists());
  const std::vector<std::function<void()>> uses = {[&] { (void)pin.Name(); },
                                                   [&] { (void)pin.GetLocation(); },
                                                   [&] { pin.SetName("x"); },
                                                   [&] { pin.SetLocation(kMonaco); },
                                                   [&] { pin.Delete(); },
                                                   [&] { sameAgain.Symbol(); },
                                                   [&] { (void)map.PushpinWithId(pin.Id()); }};
  for (std::size_t index = 0; index < uses.size(); ++index)
    EXPECT_THROW(uses[index](), MapError) << "use " << index;

  const Pushpin again = map.AddPushpin(kMonaco, "ORVO_CurrentPosition");
  EXPECT_NE(again.Id(), pin.Id());
  EXPECT_EQ(map.FindPushpin("ORVO_CurrentPosition"), again);
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

  // Longitudes come back in -180..180; 90 and 255 are the edges of the accepted ranges.
  pin.SetLocation({-90, 540});
  pin.SetSymbol(255);
  for (int state : {kBalloonNameAndNote, kBalloonName, kBalloonNone}) {
    pin.SetBalloonState(state);
    EXPECT_EQ(pin.BalloonState(), state);
  }
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
  // Order of adding is kept.
  std::vector<std::string> names;
  for (const auto& [id, record] : map.Pins()) names.push_back(record.name);
  EXPECT_EQ(names.front(), "ORVO_CurrentPosition");
}

TEST_F(MapDocumentFixture, FlushesOnlyWhenAskedAndSignalsTheFirstChangeOfEachBatch) {
  MapDocument map(file);
  int dirtySignals = 0;
  std::vector<PinChange> changes;
  map.onDirty = [&] { ++dirtySignals; };
  map.onPinChange = [&](const PinChange& change) { changes.push_back(change); };

  Pushpin pin = map.AddPushpin(kMonaco, "a");
  pin.SetSymbol(24);
  pin.SetSymbol(24);  // no change: nothing written, nothing said
  pin.SetLocation(kMonaco);
  EXPECT_EQ(dirtySignals, 1);
  EXPECT_TRUE(map.IsDirty());
  {
    MapDocument reader(file, MapDocument::Access::ReadOnly);
    EXPECT_EQ(reader.PushpinCount(), 0u) << "nothing is written before the flush";
  }
  map.Flush();
  EXPECT_FALSE(map.IsDirty());
  pin.Delete();
  EXPECT_EQ(dirtySignals, 2);
  const std::vector<PinChangeKind> expected = {PinChangeKind::Added, PinChangeKind::Updated,
                                               PinChangeKind::Removed};
  ASSERT_EQ(changes.size(), expected.size());
  for (std::size_t index = 0; index < expected.size(); ++index) {
    EXPECT_EQ(changes[index].kind, expected[index]);
    EXPECT_EQ(changes[index].id, pin.Id());
  }
}

TEST_F(MapDocumentFixture, OpeningRefusesWhatIsNotAWritableOrvoMap) {
  const std::filesystem::path text = folder.Path() / "notes.orvomap";
  std::ofstream(text) << "not a database at all, but long enough to be read as one......";
  const std::filesystem::path other = folder.Path() / "other.sqlite";
  sqlite3* database = nullptr;
  sqlite3_open(other.c_str(), &database);
  sqlite3_exec(database, "CREATE TABLE t (x)", nullptr, nullptr, nullptr);
  sqlite3_close(database);

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

}  // namespace
}  // namespace orvo::host::map
