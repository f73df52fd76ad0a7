#pragma once
// The map host's traffic with the pages: every pin change reaches them as batched patches, a page
// that connects gets the pins in parts, the user's edits of pins (delete, properties, balloon)
// come back, and the File menu's map commands (New, Open, Save As, Close, Export GPX) run here.
//
// page -> orvo: {"type":"mapfile","action":"new"|"open"|"saveAs"|"close"|"exportGpx"}
//               {"type":"mapunit","unit":"km"|"miles"}
// orvo -> page: {"type":"mapfile","file":"/path/of/the/map.orvomap"|null}
//               {"type":"mapunit","unit":"km"|"miles"}, both also in the snapshot
#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>

#include "host/map/MapHost.hpp"
#include "host/map/PinMessages.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/WebBridge.hpp"

namespace orvo::host::map {

class MapChannel {
 public:
  // Takes over HOST's onPinChange.
  MapChannel(MapHost& host, ui::WebBridge& bridge, ui::Desktop& desktop);
  MapChannel(const MapChannel&) = delete;
  MapChannel& operator=(const MapChannel&) = delete;

  // The File menu's commands; failures are told to the user and leave the active map as it was.
  void NewMap();
  void OpenMap();
  void SaveMapAs();
  void CloseMap();
  void ExportGpx();
  // The file the user names in a save dialog in the data folder, given EXTENSION when it has
  // none; nothing when the user cancels.
  std::optional<std::filesystem::path> ChooseFileToSave(const char* title, const char* filter,
                                                        const char* extension);
  // The waypoints of a GPX route (or its waypoints) become the active route's.
  void ImportGpx();

  std::function<void(std::string_view)> diagnostics;

 private:
  void Record(const PinChange& change);
  void SendPatches();
  void PublishFile();
  ui::Json FileMessage() const;
  ui::Json UnitMessage() const;
  void HandleUnitMessage(const ui::Json& message);
  void HandleFileMessage(const ui::Json& message);
  void HandlePinMessage(const ui::Json& message);
  void Report(std::string_view text) const;
  // Runs ACTION; a failure becomes a message box starting with WHAT.
  template <class Action>
  void Try(std::string_view what, Action action);

  MapHost& host_;
  ui::WebBridge& bridge_;
  ui::Desktop& desktop_;
  PinPatchCollector patches_;
  bool sendPosted_ = false;
};

}  // namespace orvo::host::map
