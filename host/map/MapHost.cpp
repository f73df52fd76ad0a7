#include "host/map/MapHost.hpp"

#include <fstream>
#include <nlohmann/json.hpp>

#include "host/platform/Files.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;

// The settings file only remembers the last document; a failure to read it costs nothing more.
std::optional<nlohmann::json> ReadJson(const fs::path& file) {
  std::ifstream stream(file);
  if (!stream) return std::nullopt;
  try {
    return nlohmann::json::parse(stream);
  } catch (const nlohmann::json::exception&) {
    return nlohmann::json();  // present but unreadable
  }
}

fs::path Absolute(const fs::path& file) {
  std::error_code error;
  const fs::path absolute = fs::absolute(file, error);
  return error ? file : absolute.lexically_normal();
}

}  // namespace

MapHost::MapHost(fs::path dataFolder) : dataFolder_(std::move(dataFolder)) {
  LoadSettings();
}

MapHost::~MapHost() {
  try {
    CloseMap();
  } catch (const MapError&) {  // the document's own destructor has tried to flush
  }
}

void MapHost::Activate(std::unique_ptr<MapDocument> document) {
  if (active_) {
    active_->Flush();
    active_.reset();
  }
  active_ = std::move(document);
  if (active_) {
    active_->onDirty = [this] {
      if (onDirty) onDirty();
    };
    active_->onPinChange = [this](const PinChange& change) {
      if (onPinChange) onPinChange(change);
    };
    active_->onRouteChange = [this] {
      if (onRouteChange) onRouteChange();
    };
    lastMap_ = active_->File();
    SaveSettings();
  }
  if (onPinChange) onPinChange({PinChangeKind::Reset, 0});
  if (onRouteChange) onRouteChange();
}

void MapHost::OpenAtStart(const std::optional<fs::path>& file) {
  if (file) {
    Activate(std::make_unique<MapDocument>(Absolute(*file)));
    return;
  }
  Activate(std::make_unique<MapDocument>(MapFileToRead(dataFolder_)));
}

void MapHost::NewMap(const std::optional<fs::path>& file) {
  std::error_code error;
  fs::path target;
  if (file) {
    target = Absolute(*file);
    if (fs::exists(target, error)) throw MapError(target.string() + " already exists");
  } else {
    for (int number = 1;; ++number) {
      target = dataFolder_ / ("Map " + std::to_string(number) + kMapFileExtension);
      if (!fs::exists(target, error)) break;
    }
  }
  Activate(std::make_unique<MapDocument>(target));
}

void MapHost::OpenMap(const fs::path& file) {
  const fs::path target = Absolute(file);
  std::error_code error;
  if (active_ && fs::equivalent(active_->File(), target, error)) return;
  if (!fs::exists(target, error)) throw MapError("no map document at " + target.string());
  Activate(std::make_unique<MapDocument>(target));
}

void MapHost::SaveMapAs(const fs::path& file) {
  if (!active_) throw MapError("no active map");
  active_->SaveAs(Absolute(file));
  lastMap_ = active_->File();
  SaveSettings();
}

void MapHost::CloseMap() {
  if (!active_) return;
  active_->Flush();
  active_.reset();
  if (onPinChange) onPinChange({PinChangeKind::Reset, 0});
  if (onRouteChange) onRouteChange();
}

void MapHost::Flush() {
  if (active_) active_->Flush();
}

void MapHost::SetUnit(DistanceUnit unit) {
  if (unit == unit_) return;
  unit_ = unit;
  SaveSettings();
}

void MapHost::LoadSettings() {
  const auto settings = ReadJson(dataFolder_ / kMapHostSettingsName);
  if (!settings) return;
  if (!settings->is_object()) {
    if (diagnostics)
      diagnostics("MapHost: " + (dataFolder_ / kMapHostSettingsName).string() +
                  " is damaged; using the defaults");
    return;
  }
  const auto last = settings->find("lastMap");
  if (last != settings->end() && last->is_string() && !last->get<std::string>().empty())
    lastMap_ = fs::path(last->get<std::string>());
  const auto unit = settings->find("distanceUnit");
  if (unit != settings->end() && *unit == "miles") unit_ = DistanceUnit::Miles;
}

void MapHost::SaveSettings() {
  nlohmann::json settings = {{"distanceUnit", unit_ == DistanceUnit::Miles ? "miles" : "km"}};
  if (lastMap_) settings["lastMap"] = lastMap_->string();
  try {
    platform::WriteFileAtomically(dataFolder_ / kMapHostSettingsName, settings.dump(2) + "\n");
  } catch (const std::exception& error) {
    if (diagnostics) diagnostics(std::string("MapHost: ") + error.what());
  }
}

fs::path MapFileToRead(const fs::path& dataFolder) {
  const auto settings = ReadJson(dataFolder / kMapHostSettingsName);
  if (settings && settings->is_object()) {
    const auto last = settings->find("lastMap");
    std::error_code error;
    if (last != settings->end() && last->is_string() &&
        fs::exists(fs::path(last->get<std::string>()), error))
      return last->get<std::string>();
  }
  return dataFolder / kDefaultMapName;
}

}  // namespace orvo::host::map
