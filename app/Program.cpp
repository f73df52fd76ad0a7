// `orvo` without a sub-command: the map host with ORVO in it, served to the browser.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>

#include "addin/AddinSession.hpp"
#include "app/Commands.hpp"
#include "gps/ReceiverSession.hpp"
#include "host/map/DocumentMap.hpp"
#include "host/map/DocumentRoute.hpp"
#include "host/map/MapChannel.hpp"
#include "host/map/MapFlushTimer.hpp"
#include "host/map/MapGeometry.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/MapView.hpp"
#include "host/map/MbTiles.hpp"
#include "host/map/Region.hpp"
#include "host/map/RouteChannel.hpp"
#include "host/platform/AppFolder.hpp"
#include "host/platform/Clock.hpp"
#include "host/serial/AsioSerialPort.hpp"
#include "host/speech/EspeakSpeech.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/PageDialogs.hpp"
#include "host/ui/Scheduler.hpp"
#include "host/ui/WebBridge.hpp"
#include "tracking/MagneticDeclination.hpp"

namespace orvo::app {
namespace {

namespace asio = boost::asio;
namespace fs = std::filesystem;
using host::ui::Json;

constexpr const char* kUsage = R"(Usage: orvo [OPTIONS]
       orvo COMMAND [ARGUMENTS]

Starts ORVO and serves its page; open the address it prints in a browser.

Options:
  --listen ADDRESS:PORT  where the page is served (default 127.0.0.1:8080); an address other
                         than this machine's loopback needs --token
  --token TOKEN          access token every page request must carry
  --region NAME          map region to show (default monaco)
  --config FOLDER        settings folder (default $XDG_CONFIG_HOME/ORVO)
  --serial DEVICE        serial device of the GPS receiver (for example /dev/ttyUSB0)
  --replay FILE          open the playback window with this NMEA file
  --map FILE             open this map document (created when missing); default: the last one
                         used, at first $XDG_DATA_HOME/orvo/Default.orvomap
  --waypoints "LAT,LON;LAT,LON;..."
                         make these the map's route (start, stops, end) and calculate it
  --help                 show this text

Commands:
  parse        decode a recorded NMEA stream and print the fixes
  declination  magnetic declination at a place and date (World Magnetic Model)
  region       build and list map regions: orvo region import FILE.osm.pbf --name NAME
  simulate     play a simulated GPS receiver
  map          the map document: orvo map pins, orvo map route, orvo map export OUT.gpx
  route        directions through points: orvo route LAT,LON LAT,LON ...
)";

// The page waits this long for the last messages and the close frame at exit; a page that has
// stopped reading is not waited for any longer.
constexpr auto kClosingGrace = std::chrono::seconds(2);

struct Options {
  std::string address = "127.0.0.1";
  unsigned short port = 8080;
  std::string token;
  std::string region = "monaco";
  fs::path configFolder;
  std::optional<std::string> serialDevice;
  std::optional<std::string> replayFile;
  std::optional<fs::path> mapFile;
  std::vector<host::map::GeoPoint> waypoints;
  bool help = false;
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "127.0.0.1:8080", "[::1]:8080", "0.0.0.0:80".
void ParseListen(const std::string& text, Options& options) {
  const auto colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == text.size())
    throw UsageError("--listen wants ADDRESS:PORT, for example 127.0.0.1:8080, not \"" + text +
                     "\"");
  std::string address = text.substr(0, colon);
  if (address.front() == '[' && address.back() == ']')
    address = address.substr(1, address.size() - 2);
  const std::string portText = text.substr(colon + 1);
  unsigned long port = 0;
  if (portText.size() > 5 || portText.find_first_not_of("0123456789") != std::string::npos ||
      (port = std::stoul(portText)) > 65535)
    throw UsageError("--listen: \"" + portText + "\" is not a port number (0 to 65535)");
  options.address = address;
  options.port = static_cast<unsigned short>(port);
}

// "43.7299,7.4170;43.7445,7.4300": two or more points.
std::vector<host::map::GeoPoint> ParseWaypoints(std::string_view text) {
  std::vector<host::map::GeoPoint> points;
  while (true) {
    const std::size_t semicolon = text.find(';');
    const std::string_view item = text.substr(0, semicolon);
    const auto point = host::map::ParseGeoPoint(item);
    if (!point)
      throw UsageError("--waypoints: \"" + std::string(item) +
                       "\" is not a point LAT,LON (for example 43.7299,7.4170)");
    points.push_back(*point);
    if (semicolon == std::string_view::npos) break;
    text.remove_prefix(semicolon + 1);
  }
  if (points.size() < 2) throw UsageError("--waypoints: a route needs at least two points");
  return points;
}

Options ParseOptions(const Arguments& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::string name = arguments[i];
    std::optional<std::string> value;
    if (const auto equals = name.find('='); name.starts_with("--") && equals != std::string::npos) {
      value = name.substr(equals + 1);
      name = name.substr(0, equals);
    }
    if (name == "--help" || name == "-h") {
      options.help = true;
      continue;
    }
    const auto next = [&]() -> std::string {
      if (value) return *value;
      if (i + 1 >= arguments.size()) throw UsageError(name + " needs a value");
      return arguments[++i];
    };
    if (name == "--listen")
      ParseListen(next(), options);
    else if (name == "--token")
      options.token = next();
    else if (name == "--region")
      options.region = next();
    else if (name == "--config")
      options.configFolder = next();
    else if (name == "--serial")
      options.serialDevice = next();
    else if (name == "--replay")
      options.replayFile = next();
    else if (name == "--map")
      options.mapFile = next();
    else if (name == "--waypoints")
      options.waypoints = ParseWaypoints(next());
    else
      throw UsageError("unknown option \"" + name + "\"");
  }
  if (options.configFolder.empty()) options.configFolder = host::platform::UserConfigFolder();
  // A region is a folder below the regions folder: its name cannot lead anywhere else.
  const bool plainName = !options.region.empty() && options.region.front() != '.' &&
                         options.region.find_first_not_of(
                             "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                             "0123456789._-") == std::string::npos;
  if (!plainName)
    throw UsageError("--region: \"" + options.region +
                     "\" is not a region name (letters, digits, '.', '_' and '-')");
  return options;
}

// What the page needs of the region (its name, area, centre and zoom range) and its map tiles.
// A region that is missing or damaged still lets ORVO start, with a message in the page.
// (nlohmann::json's moves cannot throw, but its assertion hooks look to clang-tidy as if they
// could.)
struct RegionInfo {  // NOLINT(bugprone-exception-escape)
  Json page;
  std::shared_ptr<host::ui::TileSource> tiles;
  std::string problem;
};

class RegionTiles final : public host::ui::TileSource {
 public:
  explicit RegionTiles(const fs::path& file) : file_(file) {}
  std::optional<std::string> Tile(int zoom, int x, int y) override {
    return file_.Tile(zoom, x, y);
  }

 private:
  host::map::MbTiles file_;
};

RegionInfo ReadRegionInfo(const std::string& name) {
  RegionInfo info;
  info.page = Json{{"name", name},
                   {"available", false},
                   {"centre", {{"latitude", 43.7384}, {"longitude", 7.4246}}},
                   {"minZoom", 0},
                   {"maxZoom", 18},
                   {"attribution", "\u00A9 OpenStreetMap contributors"}};
  const std::string howToBuild = "build it with: orvo region import FILE.osm.pbf --name " + name;
  try {
    const host::map::Region region = host::map::OpenRegion(name);
    info.page["name"] = region.name;
    info.page["bounds"] = Json{{"west", region.bounds.westDegrees},
                               {"south", region.bounds.southDegrees},
                               {"east", region.bounds.eastDegrees},
                               {"north", region.bounds.northDegrees}};
    info.page["centre"] = Json{{"latitude", region.centre.latitudeDegrees},
                               {"longitude", region.centre.longitudeDegrees}};
    info.page["minZoom"] = region.minZoom;
    info.page["maxZoom"] = region.maxZoom;
    info.tiles = std::make_shared<RegionTiles>(region.TilesPath());
    info.page["available"] = true;
  } catch (const std::exception& error) {
    info.problem = std::string(error.what()) + "; " + howToBuild;
    info.page["message"] = "The map region \"" + name + "\" cannot be shown: " + howToBuild;
  }
  // Zoom 14 shows a town's streets; a region that stops short of it opens at its limit. The
  // page opens there too.
  const int minZoom = info.page.at("minZoom").get<int>();
  info.page["initialZoom"] =
      std::clamp(14, minZoom, std::max(minZoom, info.page.at("maxZoom").get<int>()));
  return info;
}

// The program's parts, in the order they are built and the reverse of the order they go.
class Program {
 public:
  explicit Program(const Options& options)
      : options_(options),
        scheduler_(io_),
        dialogs_(scheduler_),
        desktop_(scheduler_, dialogs_),
        mapView_(desktop_),
        mapHost_(host::platform::UserDataFolder()),
        mapGeometry_(mapView_, mapHost_),
        documentMap_(mapHost_, mapGeometry_),
        mapFlush_(mapHost_, scheduler_),
        route_(mapHost_, host::map::RegionRouter(options.region)),
        bridge_(io_, desktop_, BridgeOptions(options)),
        mapChannel_(mapHost_, bridge_, desktop_),
        routeChannel_(mapHost_, route_, bridge_, desktop_,
                      host::map::RegionsFolder() / options.region / host::map::kNamesFileName),
        signals_(io_, SIGINT, SIGTERM),
        serialPort_(io_, [this](std::string_view text) { Log(text); }) {
    const auto log = [](std::string_view text) { std::clog << "orvo: " << text << '\n'; };
    dialogs_.diagnostics = log;
    desktop_.diagnostics = log;
    mapView_.diagnostics = log;
    bridge_.diagnostics = log;
    mapHost_.diagnostics = [this](std::string_view text) { Log(text); };
    mapFlush_.diagnostics = [this](std::string_view text) { Log(text); };
    mapChannel_.diagnostics = [this](std::string_view text) { Log(text); };
    routeChannel_.diagnostics = [this](std::string_view text) { Log(text); };
    dialogs_.SetPublisher([this](const Json& message) { desktop_.Publish(message); });
    desktop_.extraEvents = [this](const Json& event) { return ExtraEvent(event); };
    bridge_.AddSnapshotPart([this](Json& snapshot) { dialogs_.AddToSnapshot(snapshot); });
    bridge_.AddSnapshotPart([this](Json& snapshot) { mapView_.AddToSnapshot(snapshot); });
    // --serial names the receiver's device whatever port number the user chose.
    if (options.serialDevice)
      for (int port = 1; port <= gps::kPortCount; ++port)
        serialPort_.SetDevicePathOverride(port, *options.serialDevice);
  }

  int Run() {
    const RegionInfo region = ReadRegionInfo(options_.region);
    if (!region.problem.empty()) std::cerr << "orvo: " << region.problem << '\n';
    bridge_.SetRegion(region.page);
    if (region.tiles) bridge_.SetTileSource(region.tiles);
    const Json& centre = region.page.at("centre");
    mapView_.SetInitialView(centre.at("latitude").get<double>(),
                            centre.at("longitude").get<double>(),
                            region.page.at("initialZoom").get<int>());

    // A map that cannot be opened leaves none open: the user can open another from the page.
    try {
      mapHost_.OpenAtStart(options_.mapFile);
    } catch (const std::exception& error) {
      std::cerr << "orvo: " << error.what() << "; ORVO starts without a map\n";
    }
    if (!options_.waypoints.empty()) PlanStartRoute();

    try {
      bridge_.Start();
    } catch (const host::ui::WebBridgeError& error) {
      std::cerr << "orvo: " << error.what() << '\n';
      return 1;
    }
    WaitForSignal();

    // Without espeak-ng's data the guidance only stays silent.
    try {
      speech_ = std::make_unique<host::speech::EspeakSpeech>(
          [this](std::function<void()> done) { asio::post(io_, std::move(done)); });
    } catch (const std::exception& error) {
      std::cerr << "orvo: no speech (" << error.what() << ")\n";
    }

    services_.emplace(addin::HostServices{.io = io_,
                                          .scheduler = scheduler_,
                                          .desktop = desktop_,
                                          .clock = clock_,
                                          .timeZone = timeZone_,
                                          .serialPort = serialPort_,
                                          .declination = declination_,
                                          .configFolder = options_.configFolder,
                                          .replayFile = options_.replayFile,
                                          .regionName = options_.region,
                                          .requestQuit = [this] { RequestQuit(); },
                                          .mapView = &mapView_,
                                          .map = &documentMap_,
                                          .route = &route_,
                                          .mapHost = &mapHost_,
                                          .speech = speech_.get()});
    session_.emplace(*services_);
    std::cout << "ORVO is running at " << bridge_.Url() << std::endl;

    io_.run();
    return 0;
  }

 private:
  static host::ui::WebBridgeOptions BridgeOptions(const Options& options) {
    host::ui::WebBridgeOptions bridge;
    bridge.address = options.address;
    bridge.port = options.port;
    bridge.token = options.token;
    return bridge;
  }

  // --waypoints: the route the drive starts with. A route that cannot be calculated stays in
  // the map uncalculated, with the reason on standard error, as the planner would show it.
  void PlanStartRoute() {
    try {
      route_.Clear();
      for (const host::map::GeoPoint& point : options_.waypoints) route_.AddWaypoint(point, "");
      route_.Calculate();
    } catch (const std::exception& error) {
      std::cerr << "orvo: --waypoints: " << error.what() << '\n';
    }
  }

  // Until ORVO's own log exists, the platform's parts report to standard error.
  void Log(std::string_view text) {
    if (session_)
      session_->Log(text);
    else
      std::clog << "orvo: " << text << '\n';
  }

  bool ExtraEvent(const Json& event) {
    if (dialogs_.HandleEvent(event) || mapView_.HandleEvent(event)) return true;
    if (event.value("type", "") != "quit") return false;
    RequestQuit();
    return true;
  }

  void WaitForSignal() {
    signals_.async_wait([this](const boost::system::error_code& error, int) {
      if (error) return;
      if (quitting_) {
        // A second Ctrl+C: nobody is answering; take the cautious answers and finish.
        dialogs_.SetUnattended(true);
        return;
      }
      WaitForSignal();
      if (bridge_.PageCount() == 0) dialogs_.SetUnattended(true);
      RequestQuit();
    });
  }

  void RequestQuit() {
    if (quitRequested_) return;
    quitRequested_ = true;
    asio::post(io_, [this] { Quit(); });
  }

  void Quit() {
    // Inside a modal wait the windows' handlers are still on the stack: answer what is open
    // and come back once they have returned.
    if (dialogs_.Waiting()) {
      dialogs_.AnswerOpenCautiously();
      asio::post(io_, [this] { Quit(); });
      return;
    }
    if (quitting_) return;
    quitting_ = true;
    // The disconnection saves the settings; it may still ask the user (clear the trail?).
    if (session_) session_->Shutdown();
    desktop_.Publish(Json{{"type", "ended"}});
    bridge_.Stop();
    const auto deadline = std::chrono::steady_clock::now() + kClosingGrace;
    while (bridge_.PageCount() > 0 && std::chrono::steady_clock::now() < deadline)
      io_.run_one_for(std::chrono::milliseconds(100));
    signals_.cancel();
    io_.stop();
  }

  const Options& options_;
  asio::io_context io_;
  host::ui::AsioScheduler scheduler_;
  host::ui::PageDialogs dialogs_;
  host::ui::Desktop desktop_;
  host::map::MapView mapView_;
  host::map::MapHost mapHost_;
  host::map::MapGeometry mapGeometry_;
  host::map::DocumentMap documentMap_;
  host::map::MapFlushTimer mapFlush_;
  host::map::DocumentRoute route_;
  host::ui::WebBridge bridge_;
  host::map::MapChannel mapChannel_;
  host::map::RouteChannel routeChannel_;
  asio::signal_set signals_;
  host::platform::LinuxSystemClock clock_;
  host::platform::LinuxTimeZoneSource timeZone_;
  host::serial::AsioSerialPort serialPort_;
  tracking::ModelDeclination declination_;
  // Outlives the session, whose guidance window speaks through it.
  std::unique_ptr<host::speech::EspeakSpeech> speech_;
  std::optional<addin::HostServices> services_;
  std::optional<addin::AddinSession> session_;
  bool quitRequested_ = false;
  bool quitting_ = false;
};

}  // namespace

int RunProgram(const Arguments& arguments) {
  Options options;
  try {
    options = ParseOptions(arguments);
  } catch (const UsageError& error) {
    std::cerr << "orvo: " << error.what() << "\n(orvo --help lists the options)\n";
    return 2;
  }
  if (options.help) {
    std::cout << kUsage;
    return 0;
  }
  Program program(options);
  return program.Run();
}

}  // namespace orvo::app
