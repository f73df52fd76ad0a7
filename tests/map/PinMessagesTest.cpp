// Pins between the document and the pages: the user's pin messages, patches and snapshots.
#include <gtest/gtest.h>

#include "host/map/PinMessages.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map {
namespace {

using Json = nlohmann::json;
using Outcome = PinMessageResult::Outcome;

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
