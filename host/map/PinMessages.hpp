#pragma once
// The pushpins between the map document and the pages.
//
// orvo -> page, one message per part:
//   {"type":"pins", "reset":true?, "add":[[id, name, lat, lon, symbol, note, balloon], ...],
//    "update":[same tuples], "remove":[id, ...]}
// "reset" means: forget every pin, then apply the rest (a new page, another document). "add"
// and "update" both carry the whole pin, so a page may treat them alike (it may see an "add"
// for a pin that a snapshot already gave it); removing an unknown id does nothing. A part holds
// at most kPinsPerPart pins, so tens of thousands of trail pins never make one huge message.
//
// page -> orvo (the user's side of the map):
//   {"type":"pin", "id":N, "action":"delete"}
//   {"type":"pin", "id":N, "action":"properties", "name":"...", "note":"..."}
//   {"type":"pin", "id":N, "action":"balloon", "state":0|1|2}
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/map/MapDocument.hpp"

namespace orvo::host::map {

inline constexpr std::size_t kPinsPerPart = 5000;
// Longest name and note the page may set; the program itself is not limited.
inline constexpr std::size_t kLongestPageName = 1000;
inline constexpr std::size_t kLongestPageNote = 100000;

// [id, name, lat, lon, symbol, note, balloon]
nlohmann::json PinTuple(PinId id, const PinRecord& pin);

// Everything a page needs to show the pins of MAP (null: no active map): the first part resets.
std::vector<nlohmann::json> PinSnapshotMessages(const MapDocument* map,
                                                std::size_t pinsPerPart = kPinsPerPart);

// Gathers the change notifications of one turn and turns them into as few messages as the
// net changes need: a pin added and deleted in the same turn is never sent, a pin updated many
// times is sent once, as it is at the end of the turn.
class PinPatchCollector {
 public:
  void Record(const PinChange& change);
  bool IsEmpty() const { return !reset_ && changes_.empty(); }
  // The messages for the changes since the last call, read from MAP as it is now (null: no
  // active map); empty when nothing changed.
  std::vector<nlohmann::json> TakeMessages(const MapDocument* map,
                                           std::size_t pinsPerPart = kPinsPerPart);

 private:
  enum class Net { Added, Updated, Removed };
  bool reset_ = false;
  std::map<PinId, Net> changes_;
};

struct PinMessageResult {
  enum class Outcome { NotMine, Applied, Rejected };
  Outcome outcome = Outcome::NotMine;
  std::string error;  // why a message was rejected, for the diagnostic log
};

// Applies a page's "pin" message to MAP (null: no active map). Messages of other types are
// NotMine; a malformed one, or one for a pin that no longer exists, is Rejected with a reason.
PinMessageResult ApplyPageMessage(MapDocument* map, const nlohmann::json& message);

}  // namespace orvo::host::map
