#pragma once
// The map host's "active map" and its own settings.
//
// At most one map document is open. Without one, ActiveMap() is null, and everything the
// program guards with "no active map" does nothing.
//
// Files, all in the user's data folder ($XDG_DATA_HOME/orvo):
//   Default.orvomap   the document used when no other was chosen
//   Map N.orvomap     documents made by New Map
//   maphost.json      {"lastMap": "/path/of/the/last/document", "distanceUnit": "km"|"miles"}
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "host/map/MapDocument.hpp"

namespace orvo::host::map {

// Values of the host's unit flag: 1 kilometres, otherwise miles.
enum class DistanceUnit { Miles = 0, Kilometres = 1 };

inline constexpr const char* kDefaultMapName = "Default.orvomap";
inline constexpr const char* kMapHostSettingsName = "maphost.json";

class MapHost {
 public:
  explicit MapHost(std::filesystem::path dataFolder);
  ~MapHost();
  MapHost(const MapHost&) = delete;
  MapHost& operator=(const MapHost&) = delete;

  MapDocument* ActiveMap() const { return active_.get(); }

  // At start: FILE when given (created when missing), else the last document used when it still
  // exists, else the default one. Throws MapError when that file cannot be opened; a damaged
  // document is never replaced by an empty one.
  void OpenAtStart(const std::optional<std::filesystem::path>& file = {});
  // A new empty document: FILE (which must not exist yet) or the next free "Map N.orvomap".
  void NewMap(const std::optional<std::filesystem::path>& file = {});
  // Opens an existing document; the active one stays when that fails (MapError).
  void OpenMap(const std::filesystem::path& file);
  // Copies the active document to FILE, which becomes the active document's file.
  void SaveMapAs(const std::filesystem::path& file);
  // Flushes and closes the active document.
  void CloseMap();
  // Writes the active document's pending changes (once per event-loop turn, after onDirty).
  void Flush();

  DistanceUnit Unit() const { return unit_; }
  void SetUnit(DistanceUnit unit);

  const std::filesystem::path& DataFolder() const { return dataFolder_; }
  std::filesystem::path DefaultMapFile() const { return dataFolder_ / kDefaultMapName; }
  std::optional<std::filesystem::path> LastMapFile() const { return lastMap_; }

  // The active document has changes to flush (first change after a flush).
  std::function<void()> onDirty;
  // The active document's pin changes, and Reset when another document (or none) becomes active.
  std::function<void(const PinChange&)> onPinChange;
  // The active document's route changed, or another document (or none) became active.
  std::function<void()> onRouteChange;
  // Problems worth a line in the diagnostic log (an unreadable settings file).
  std::function<void(std::string_view)> diagnostics;

 private:
  void Activate(std::unique_ptr<MapDocument> document);
  void LoadSettings();
  void SaveSettings();

  std::filesystem::path dataFolder_;
  std::unique_ptr<MapDocument> active_;
  std::optional<std::filesystem::path> lastMap_;
  DistanceUnit unit_ = DistanceUnit::Kilometres;
};

// The document `orvo map` reads without --map: the last one used if it still exists, else the
// default one.
std::filesystem::path MapFileToRead(const std::filesystem::path& dataFolder);

}  // namespace orvo::host::map
