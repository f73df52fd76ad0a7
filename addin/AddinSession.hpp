#pragma once
// ORVO inside its map host: the host creates the connection object at start-up, delivers the
// connection events, and at shut-down the disconnection.
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <boost/asio/io_context.hpp>

#include "host/map/ActiveMap.hpp"
#include "host/map/ActiveRoute.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/MapView.hpp"
#include "host/platform/Clock.hpp"
#include "host/serial/SerialPort.hpp"
#include "host/speech/Speech.hpp"
#include "host/ui/Desktop.hpp"
#include "tracking/MagneticDeclination.hpp"

namespace orvo::addin {

// What the program gives ORVO: the platform's implementations (made in app/) behind their
// interfaces, and the host's parts. New host parts go at the end, with a default.
struct HostServices {
  boost::asio::io_context& io;
  host::ui::Scheduler& scheduler;
  host::ui::Desktop& desktop;
  host::platform::SystemClock& clock;
  host::platform::TimeZoneSource& timeZone;
  host::serial::SerialPort& serialPort;
  tracking::DeclinationLookup& declination;
  std::filesystem::path configFolder;     // where ORVO.ini lives
  std::optional<std::string> replayFile;  // --replay: open the playback window with it
  std::string regionName = "monaco";
  std::function<void()> requestQuit;                // ends the program in an orderly way
  host::map::MapView* mapView = nullptr;            // the map beside ORVO, when there is one
  host::map::MapApplication* map = nullptr;         // its open document, when there is a map
  host::map::ActiveRoute* route = nullptr;          // that document's route
  const host::map::MapHost* mapHost = nullptr;      // the host's distance unit
  host::speech::SpeechEngine* speech = nullptr;     // the guidance voice; none: silent
};

class AddinSession {
 public:
  explicit AddinSession(HostServices& services);
  ~AddinSession();
  AddinSession(const AddinSession&) = delete;
  AddinSession& operator=(const AddinSession&) = delete;

  // Runs the disconnection (the main window's unload saves the settings). Idempotent.
  void Shutdown();
  // The diagnostic log, for the platform's parts made outside the session.
  void Log(std::string_view text);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace orvo::addin
