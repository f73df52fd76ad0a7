#include "host/map/PinMessages.hpp"

#include <algorithm>

namespace orvo::host::map {
namespace {

using Json = nlohmann::json;

// Fills messages from three lists, never more than PER_PART entries in one message.
class PartWriter {
 public:
  PartWriter(std::vector<Json>& messages, std::size_t perPart, bool reset)
      : messages_(messages), perPart_(std::max<std::size_t>(perPart, 1)), reset_(reset) {}

  void Put(const char* list, Json entry) {
    if (!current_ || count_ == perPart_) Start();
    (*current_)[list].push_back(std::move(entry));
    ++count_;
  }
  void Finish() {
    if (!current_ && reset_) Start();  // a reset with nothing to add still has to be said
  }

 private:
  void Start() {
    Json message = {{"type", "pins"}};
    if (reset_ && messages_.empty()) message["reset"] = true;
    messages_.push_back(std::move(message));
    current_ = &messages_.back();
    count_ = 0;
  }

  std::vector<Json>& messages_;
  std::size_t perPart_;
  bool reset_;
  Json* current_ = nullptr;
  std::size_t count_ = 0;
};

}  // namespace

Json PinTuple(PinId id, const PinRecord& pin) {
  return Json::array({id, pin.name, pin.location.latitudeDegrees, pin.location.longitudeDegrees,
                      pin.symbol, pin.note, pin.balloonState});
}

std::vector<Json> PinSnapshotMessages(const MapDocument* map, std::size_t pinsPerPart) {
  std::vector<Json> messages;
  messages.reserve(map ? map->PushpinCount() / std::max<std::size_t>(pinsPerPart, 1) + 1 : 1);
  PartWriter writer(messages, pinsPerPart, true);
  if (map)
    for (const auto& [id, pin] : map->Pins()) writer.Put("add", PinTuple(id, pin));
  writer.Finish();
  return messages;
}

void PinPatchCollector::Record(const PinChange& change) {
  switch (change.kind) {
    case PinChangeKind::Reset:
      reset_ = true;
      changes_.clear();
      return;
    case PinChangeKind::Added:
      changes_[change.id] = Net::Added;
      return;
    case PinChangeKind::Updated:
      // An added pin stays an addition; the page has not seen it yet.
      changes_.try_emplace(change.id, Net::Updated);
      return;
    case PinChangeKind::Removed: {
      const auto [entry, inserted] = changes_.try_emplace(change.id, Net::Removed);
      if (inserted) return;
      if (entry->second == Net::Added)
        changes_.erase(entry);  // the page never knew it
      else
        entry->second = Net::Removed;
      return;
    }
  }
}

std::vector<Json> PinPatchCollector::TakeMessages(const MapDocument* map, std::size_t pinsPerPart) {
  std::vector<Json> messages;
  if (reset_) {
    messages = PinSnapshotMessages(map, pinsPerPart);
  } else if (!changes_.empty()) {
    PartWriter writer(messages, pinsPerPart, false);
    for (const auto& [id, net] : changes_) {
      const PinRecord* pin = map ? map->Find(id) : nullptr;
      if (net == Net::Removed || !pin)
        writer.Put("remove", id);
      else
        writer.Put(net == Net::Added ? "add" : "update", PinTuple(id, *pin));
    }
  }
  reset_ = false;
  changes_.clear();
  return messages;
}

PinMessageResult ApplyPageMessage(MapDocument* map, const Json& message) {
  using Outcome = PinMessageResult::Outcome;
  if (!message.is_object() || !message.contains("type") || message["type"] != "pin") return {};
  const auto reject = [](std::string why) {
    return PinMessageResult{Outcome::Rejected, "pin message: " + std::move(why)};
  };
  const auto id = message.find("id");
  if (id == message.end() || !id->is_number_integer()) return reject("no pushpin id");
  const auto action = message.find("action");
  if (action == message.end() || !action->is_string()) return reject("no action");
  if (!map) return reject("no active map");
  if (!map->Find(id->get<PinId>())) return reject("no pushpin has the id " + id->dump());

  const auto text = [&message](const char* key) -> const std::string* {
    const auto found = message.find(key);
    return found != message.end() && found->is_string() ? found->get_ptr<const std::string*>()
                                                        : nullptr;
  };
  try {
    const PinId pin = id->get<PinId>();
    const std::string& what = action->get_ref<const std::string&>();
    if (what == "delete") {
      map->Delete(pin);
    } else if (what == "properties") {
      const std::string* name = text("name");
      const std::string* note = text("note");
      if (!name || !note) return reject("properties need a name and a note, both text");
      if (name->empty()) return reject("a pushpin needs a name");
      if (name->size() > kLongestPageName || note->size() > kLongestPageNote)
        return reject("the name or note is too long");
      map->Rename(pin, *name);
      map->SetNote(pin, *note);
    } else if (what == "balloon") {
      const auto state = message.find("state");
      if (state == message.end() || !state->is_number_integer() ||
          state->get<std::int64_t>() < kBalloonNone ||
          state->get<std::int64_t>() > kBalloonNameAndNote)
        return reject("a balloon state is 0, 1 or 2");
      map->SetBalloonState(pin, static_cast<int>(state->get<std::int64_t>()));
    } else {
      return reject("unknown action \"" + what + "\"");
    }
  } catch (const MapError& error) {
    return reject(error.what());
  }
  return {Outcome::Applied, {}};
}

}  // namespace orvo::host::map
