#pragma once
// The messages of one turn of the event loop, sent to the pages as one WebSocket frame.
//
// A property that changes several times in a turn is sent once, with its last value, and not at
// all when it ends the turn where it began (a panel that hides and shows its labels again on
// every tick sends nothing). Order is kept otherwise: a change is sent where the property first
// changed in the turn, and a window that opens or closes starts afresh, so that no change moves
// across the window's own snapshot.
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "host/ui/Control.hpp"

namespace orvo::host::ui {

// Messages as the page reads them: any text the core holds (a file name, received NMEA) may be
// in them, and bytes that are not UTF-8 are replaced rather than refused.
std::string JsonText(const Json& value);

class MessageBatch {
 public:
  // A message sent as it is, in order.
  void Add(Json message);
  // A property change ("set" or "window") with the value the property had before it.
  void AddChange(Json message, const Json& previous);

  bool Empty() const { return entries_.empty(); }
  std::size_t Size() const { return entries_.size(); }
  // The turn's frame: a JSON array of the messages still worth sending, or "" when none is;
  // the batch is empty afterwards.
  std::string Take();

 private:
  struct Entry {
    Json message;
    Json original;  // for a change: the property's value before the turn
    bool change = false;
  };
  static std::string Key(const Json& message);
  void ForgetWindow(const std::string& window);

  std::vector<Entry> entries_;
  // Per window, the entry of each property changed in this turn.
  std::map<std::string, std::map<std::string, std::size_t>> pending_;
};

}  // namespace orvo::host::ui
