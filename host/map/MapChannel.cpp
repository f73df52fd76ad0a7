#include "host/map/MapChannel.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/map/Gpx.hpp"

namespace orvo::host::map {
namespace {

using ui::Json;

constexpr const char* kMapFilter = "ORVO maps (*.orvomap)|*.orvomap|All files (*.*)|*.*";
constexpr const char* kGpxFilter = "GPX files (*.gpx)|*.gpx|All files (*.*)|*.*";

// A connecting page's pins, one part at a time, each read from the document when it is sent: a
// pin deleted meanwhile is never sent, and one changed meanwhile is sent as it is now. Another
// document becoming active starts the pins over.
class PinSnapshot final : public ui::SnapshotSource {
 public:
  explicit PinSnapshot(const MapHost& host) : host_(host) {}

  std::optional<Json> Next() override {
    const MapDocument* map = host_.ActiveMap();
    if (map != document_) {
      document_ = map;
      after_.reset();
      done_ = false;
      reset_ = true;
    }
    if (done_) return std::nullopt;
    Json message = {{"type", "pins"}, {"add", Json::array()}};
    if (std::exchange(reset_, false)) message["reset"] = true;
    if (map != nullptr) {
      const auto& pins = map->Pins();
      auto pin = after_ ? pins.upper_bound(*after_) : pins.begin();
      for (std::size_t n = 0; pin != pins.end() && n < kPinsPerPart; ++pin, ++n) {
        message["add"].push_back(PinTuple(pin->first, pin->second));
        after_ = pin->first;
      }
      done_ = pin == pins.end();
    } else {
      done_ = true;
    }
    if (message["add"].empty() && !message.contains("reset")) return std::nullopt;
    return message;
  }

 private:
  const MapHost& host_;
  const MapDocument* document_ = nullptr;
  std::optional<PinId> after_;
  bool done_ = false;
  bool reset_ = true;
};

}  // namespace

MapChannel::MapChannel(MapHost& host, ui::WebBridge& bridge, ui::Desktop& desktop)
    : host_(host), bridge_(bridge), desktop_(desktop) {
  host_.onPinChange = [this](const PinChange& change) { Record(change); };
  bridge_.AddSnapshotPart([this](Json& snapshot) {
    snapshot["mapFile"] = FileMessage();
    snapshot["mapUnit"] = UnitMessage();
  });
  bridge_.AddSnapshotSource([this] { return std::make_unique<PinSnapshot>(host_); });
  bridge_.OnPageMessage("pin", [this](const Json& message) { HandlePinMessage(message); });
  bridge_.OnPageMessage("mapfile", [this](const Json& message) { HandleFileMessage(message); });
  bridge_.OnPageMessage("mapunit", [this](const Json& message) { HandleUnitMessage(message); });
}

void MapChannel::Record(const PinChange& change) {
  patches_.Record(change);
  if (change.kind == PinChangeKind::Reset) PublishFile();
  if (std::exchange(sendPosted_, true)) return;
  // After the work of this turn: a tick's or a clear's many changes go as one patch.
  desktop_.GetScheduler().Post([this] { SendPatches(); });
}

void MapChannel::SendPatches() {
  sendPosted_ = false;
  for (Json& message : patches_.TakeMessages(host_.ActiveMap())) bridge_.Queue(std::move(message));
}

Json MapChannel::FileMessage() const {
  const MapDocument* map = host_.ActiveMap();
  return Json{{"type", "mapfile"},
              {"file", map != nullptr ? Json(map->File().string()) : Json(nullptr)}};
}

Json MapChannel::UnitMessage() const {
  return Json{{"type", "mapunit"},
              {"unit", host_.Unit() == DistanceUnit::Kilometres ? "km" : "miles"}};
}

void MapChannel::HandleUnitMessage(const Json& message) {
  const std::string unit = message.value("unit", "");
  if (unit != "km" && unit != "miles") return Report("unknown distance unit \"" + unit + "\"");
  host_.SetUnit(unit == "km" ? DistanceUnit::Kilometres : DistanceUnit::Miles);
  bridge_.Queue(UnitMessage());
  if (host_.onRouteChange) host_.onRouteChange();  // its distances are shown in the unit
}

void MapChannel::PublishFile() {
  bridge_.Queue(FileMessage());
}

void MapChannel::HandlePinMessage(const Json& message) {
  const PinMessageResult result = ApplyPageMessage(host_.ActiveMap(), message);
  if (result.outcome == PinMessageResult::Outcome::Rejected)
    Report("a pin message was refused: " + result.error);
}

void MapChannel::HandleFileMessage(const Json& message) {
  const std::string action = message.value("action", "");
  if (action == "new")
    NewMap();
  else if (action == "open")
    OpenMap();
  else if (action == "saveAs")
    SaveMapAs();
  else if (action == "close")
    CloseMap();
  else if (action == "exportGpx")
    ExportGpx();
  else if (action == "importGpx")
    ImportGpx();
  else
    Report("unknown map file action \"" + action + "\"");
}

template <class Action>
void MapChannel::Try(std::string_view what, Action action) {
  try {
    action();
  } catch (const std::exception& error) {
    Report(std::string(what) + ": " + error.what());
    desktop_.MsgBox(std::string(what) + ": " + error.what());
  }
}

void MapChannel::NewMap() {
  Try("New Map", [this] { host_.NewMap(); });
}

void MapChannel::OpenMap() {
  const auto file = desktop_.Dialogs().ChooseFile(
      {.title = "Open Map", .filter = kMapFilter, .initialPath = host_.DataFolder().string()});
  if (file) Try("Open Map", [&] { host_.OpenMap(*file); });
}

void MapChannel::SaveMapAs() {
  if (host_.ActiveMap() == nullptr) return;
  const auto path = ChooseFileToSave("Save Map As", kMapFilter, kMapFileExtension);
  if (!path) return;
  Try("Save Map As", [&] {
    host_.SaveMapAs(*path);
    PublishFile();
  });
}

std::optional<std::filesystem::path> MapChannel::ChooseFileToSave(const char* title,
                                                                  const char* filter,
                                                                  const char* extension) {
  const auto file = desktop_.Dialogs().ChooseFile({.title = title,
                                                   .filter = filter,
                                                   .initialPath = host_.DataFolder().string(),
                                                   .forSaving = true});
  if (!file) return std::nullopt;
  std::filesystem::path path(*file);
  if (!path.has_extension()) path += extension;
  return path;
}

void MapChannel::CloseMap() {
  Try("Close Map", [this] { host_.CloseMap(); });
}

void MapChannel::ExportGpx() {
  const MapDocument* map = host_.ActiveMap();
  if (map == nullptr) return;
  const auto path = ChooseFileToSave("Export GPX", kGpxFilter, ".gpx");
  if (path) Try("Export GPX", [&] { map::ExportGpx(*map, *path); });
}

void MapChannel::ImportGpx() {
  MapDocument* map = host_.ActiveMap();
  if (map == nullptr) return;
  const auto file = desktop_.Dialogs().ChooseFile(
      {.title = "Import GPX", .filter = kGpxFilter, .initialPath = host_.DataFolder().string()});
  if (file) Try("Import GPX", [&] { ImportGpxRoute(map->Plan(), *file); });
}

void MapChannel::Report(std::string_view text) const {
  if (diagnostics) diagnostics(text);
}

}  // namespace orvo::host::map
