#include "host/ui/MessageBatch.hpp"

namespace orvo::host::ui {

std::string JsonText(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string MessageBatch::Key(const Json& message) {
  // A window's own property and a control's never share a key: control ids are not empty.
  return message.value("control", "") + '\n' + message.value("property", "");
}

void MessageBatch::ForgetWindow(const std::string& window) {
  pending_.erase(window);
}

void MessageBatch::Add(Json message) {
  const std::string type = message.value("type", "");
  const std::string window = message.contains("window") && message["window"].is_string()
                                 ? message["window"].get<std::string>()
                                 : std::string();
  if (type == "open" && message["window"].is_object())
    ForgetWindow(message["window"].value("name", ""));
  if (type == "close") ForgetWindow(window);

  if (type == "set" && message.contains("append")) {
    // Appended text: joined to an append of the same box earlier in the turn, if nothing has
    // been set on that box since.
    auto& properties = pending_[window];
    const std::string key = Key(message);
    if (const auto found = properties.find(key); found != properties.end()) {
      Json& earlier = entries_[found->second].message;
      if (earlier.contains("append") &&
          earlier.value("keepLines", 0) == message.value("keepLines", 0)) {
        earlier["append"] =
            earlier["append"].get<std::string>() + message["append"].get<std::string>();
        return;
      }
    }
    properties[key] = entries_.size();
  }
  entries_.push_back(Entry{std::move(message), nullptr, false});
}

void MessageBatch::AddChange(Json message, const Json& previous) {
  const std::string window = message.value("window", "");
  auto& properties = pending_[window];
  const std::string key = Key(message);
  if (const auto found = properties.find(key); found != properties.end()) {
    Entry& earlier = entries_[found->second];
    if (earlier.change) {
      earlier.message["value"] = std::move(message["value"]);
      return;
    }
  }
  properties[key] = entries_.size();
  entries_.push_back(Entry{std::move(message), previous, true});
}

std::string MessageBatch::Take() {
  Json frame = Json::array();
  for (Entry& entry : entries_) {
    if (entry.change && entry.message["value"] == entry.original) continue;
    frame.push_back(std::move(entry.message));
  }
  entries_.clear();
  pending_.clear();
  return frame.empty() ? std::string() : JsonText(frame);
}

}  // namespace orvo::host::ui
