#pragma once
// ORVO inside its map host: the host creates the connection object at start-up, delivers the
// connection events, and at shut-down the disconnection.
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <boost/asio/io_context.hpp>

#include "host/map/MapView.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::addin {

struct HostServices {
  boost::asio::io_context& io;
  host::ui::Scheduler& scheduler;
  host::ui::Desktop& desktop;
  std::filesystem::path configFolder;       // where ORVO.ini lives
  std::optional<std::string> serialDevice;  // --serial: the device for the configured port
  std::optional<std::string> replayFile;    // --replay: open the playback window with it
  std::string regionName = "monaco";
  std::function<void()> requestQuit;      // ends the program in an orderly way
  host::map::MapView* mapView = nullptr;  // the map beside ORVO, when there is one
};

class AddinSession {
 public:
  explicit AddinSession(HostServices& services);
  ~AddinSession();
  AddinSession(const AddinSession&) = delete;
  AddinSession& operator=(const AddinSession&) = delete;

  // Runs the disconnection (the main window's unload saves the settings). Idempotent.
  void Shutdown();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace orvo::addin
