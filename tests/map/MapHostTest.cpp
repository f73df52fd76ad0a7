// The active map: which document opens at start, New, Open, Save As, Close, and the unit; and
// what the pages send and are sent of its pins.
#include <gtest/gtest.h>

#include <fstream>

#include "host/map/MapFlushTimer.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/PinMessages.hpp"
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

TEST_F(MapHostFixture, StartsWithTheLastDocumentUsedElseTheDefault) {
  {
    MapHost host(data);
    EXPECT_EQ(host.ActiveMap(), nullptr);
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
    EXPECT_EQ(MapFileToRead(data), data / "Map 1.orvomap");
  }
  fs::remove(data / "Map 1.orvomap");  // the last one is gone: back to the default
  MapHost host(data);
  host.OpenAtStart();
  EXPECT_TRUE(host.ActiveMap()->FindPushpin("in the default"));
}

TEST_F(MapHostFixture, ADamagedDocumentIsReportedAndNeverReplaced) {
  fs::create_directories(data);
  const std::string damaged(4096, 'x');
  std::ofstream(data / "Default.orvomap") << damaged;
  MapHost host(data);
  EXPECT_THROW(host.OpenAtStart(), MapError);
  EXPECT_EQ(host.ActiveMap(), nullptr);
  std::ifstream stream(data / "Default.orvomap");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), damaged);
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
  EXPECT_EQ(host.ActiveMap(), nullptr);
  EXPECT_FALSE(pin.Exists());
  EXPECT_THROW(pin.Name(), MapError);
  for (const auto& [file, note] :
       {std::pair{data / "Default.orvomap", ""}, std::pair{saved, "after the copy"}})
    EXPECT_EQ(MapDocument(file, MapDocument::Access::ReadOnly).FindPushpin("a")->Note(), note);
  host.Flush();
  host.CloseMap();  // nothing open: nothing to do
  EXPECT_THROW(host.SaveMapAs(folder.Path() / "x.orvomap"), MapError);
}

TEST_F(MapHostFixture, TheDistanceUnitIsKilometresUntilChangedAndIsRemembered) {
  {
    MapHost host(data);
    EXPECT_EQ(host.Unit(), DistanceUnit::Kilometres);
    host.SetUnit(DistanceUnit::Miles);
  }
  EXPECT_EQ(MapHost(data).Unit(), DistanceUnit::Miles);

  std::ofstream(data / "maphost.json") << "{ broken";
  MapHost host(data);
  EXPECT_EQ(host.Unit(), DistanceUnit::Kilometres);
  EXPECT_EQ(MapFileToRead(data), data / "Default.orvomap");
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
  struct Case {
    std::string message;
    Outcome outcome;
    std::string errorPart;  // in the reason when rejected
  };
  const std::vector<Case> cases = {
      {R"({"type":"mapview","lat":1})", Outcome::NotMine, ""},
      {R"([1,2])", Outcome::NotMine, ""},
      {R"({"type":"pin","action":"delete"})", Outcome::Rejected, "no pushpin id"},
      {R"({"type":"pin","id":"1","action":"delete"})", Outcome::Rejected, "no pushpin id"},
      {R"({"type":"pin","id":1.5,"action":"delete"})", Outcome::Rejected, "no pushpin id"},
      {about(R"("other":1)"), Outcome::Rejected, "no action"},
      {R"({"type":"pin","id":99999,"action":"delete"})", Outcome::Rejected, "99999"},
      {about(R"("action":"explode")"), Outcome::Rejected, "explode"},
      {about(R"("action":"balloon","state":3)"), Outcome::Rejected, "0, 1 or 2"},
      {about(R"("action":"balloon","state":18446744073709551615)"), Outcome::Rejected, "0, 1 or 2"},
      {about(R"("action":"balloon","state":"2")"), Outcome::Rejected, "0, 1 or 2"},
      {about(R"("action":"properties","name":"x")"), Outcome::Rejected, "note"},
      {about(R"("action":"properties","name":"","note":"")"), Outcome::Rejected, "name"},
      {about(R"("action":"properties","note":"","name":")" + std::string(1001, 'n') + "\""),
       Outcome::Rejected, "too long"},
      {about(R"("action":"balloon","state":2)"), Outcome::Applied, ""},
      {about(R"("action":"properties","name":"Home & <b>","note":"é\n2")"), Outcome::Applied, ""},
  };
  for (const Case& test : cases) {
    const PinMessageResult result = ApplyPageMessage(&map, Json::parse(test.message));
    EXPECT_EQ(result.outcome, test.outcome) << test.message;
    EXPECT_NE(result.error.find(test.errorPart), std::string::npos) << result.error;
  }
  EXPECT_EQ(map.Find(pin)->balloonState, kBalloonNameAndNote);
  EXPECT_EQ(map.Find(pin)->name, "Home & <b>");
  EXPECT_EQ(map.Find(pin)->note, "é\n2");

  const Json remove = {{"type", "pin"}, {"id", pin}, {"action", "delete"}};
  EXPECT_EQ(ApplyPageMessage(nullptr, remove).error, "pin message: no active map");
  EXPECT_EQ(ApplyPageMessage(&map, remove).outcome, Outcome::Applied);
  EXPECT_EQ(map.PushpinCount(), 0u);
  EXPECT_EQ(ApplyPageMessage(&map, remove).outcome, Outcome::Rejected);
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
  EXPECT_TRUE(collector.IsEmpty());
  EXPECT_TRUE(collector.TakeMessages(&map).empty());
  (void)kept;

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
  struct Case {
    int pins;
    std::size_t perPart;
    std::vector<std::size_t> parts;
  };
  const Case cases[] = {{0, 3, {0}}, {3, 3, {3}}, {7, 3, {3, 3, 1}}, {5, 0, {1, 1, 1, 1, 1}}};
  for (const Case& test : cases) {
    orvo::testing::TempFolder own;
    MapDocument pins(own.Path() / "m.orvomap");
    for (int index = 0; index < test.pins; ++index) pins.AddPushpin({0, index / 10.0});
    const auto messages = PinSnapshotMessages(&pins, test.perPart);
    ASSERT_EQ(messages.size(), test.parts.size()) << test.pins;
    for (std::size_t part = 0; part < messages.size(); ++part) {
      EXPECT_EQ(messages[part].value("add", Json::array()).size(), test.parts[part]);
      EXPECT_EQ(messages[part].contains("reset"), part == 0);
    }
    if (test.pins > 0) {
      EXPECT_EQ(messages.front()["add"][0][0], pins.Pins().begin()->first);
    }
  }

  for (int index = 0; index < 12'000; ++index) Add("");
  const auto added = collector.TakeMessages(&map);
  ASSERT_EQ(added.size(), 3u);
  EXPECT_EQ(added[0]["add"].size(), kPinsPerPart);
  EXPECT_EQ(added[2]["add"].size(), 2'000u);
}

}  // namespace
}  // namespace orvo::host::map
