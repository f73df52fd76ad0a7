// orvo map pins [--map FILE]              the document's pushpins as JSON lines
// orvo map route [--map FILE]             the active route as JSON (RouteJson.hpp)
// orvo map export [--map FILE] OUT.gpx    the pushpins and the route as GPX 1.1
// Each opens the document read-only, so they work while orvo has it open and writes to it.
#include <iostream>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "app/Commands.hpp"
#include "host/map/Gpx.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/RouteJson.hpp"
#include "host/platform/AppFolder.hpp"

namespace orvo::app {
namespace {

using namespace orvo::host::map;

// Exit statuses: 1 the document cannot be read or the file written, 2 a wrong command line.
constexpr int kFailed = 1;
constexpr int kUsage = 2;

int Usage(const std::string& problem) {
  if (!problem.empty()) std::cerr << "orvo map: " << problem << '\n';
  std::cerr << "usage: orvo map pins [--map FILE]\n"
               "       orvo map route [--map FILE]\n"
               "       orvo map export [--map FILE] OUT.gpx\n"
               "Without --map: the document orvo used last, else "
            << (host::platform::UserDataFolder() / kDefaultMapName).string() << '\n';
  return kUsage;
}

struct MapArguments {
  std::optional<std::string> map;
  std::vector<std::string> files;
  std::string problem;
};

MapArguments ParseArguments(const Arguments& arguments) {
  MapArguments parsed;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    if (argument == "--map") {
      if (index + 1 == arguments.size())
        parsed.problem = "--map needs a file";
      else
        parsed.map = arguments[++index];
    } else if (argument.starts_with("--map=")) {
      parsed.map = argument.substr(6);
    } else if (argument.starts_with("--") && argument.size() > 2) {
      parsed.problem = "unknown option " + argument;
    } else {
      parsed.files.push_back(argument);
    }
  }
  return parsed;
}

int PrintPins(const MapDocument& map) {
  for (const auto& [id, pin] : map.Pins()) {
    const nlohmann::ordered_json line = {{"name", pin.name},
                                         {"lat", pin.location.latitudeDegrees},
                                         {"lon", pin.location.longitudeDegrees},
                                         {"symbol", pin.symbol},
                                         {"note", pin.note},
                                         {"balloon", pin.balloonState}};
    std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
              << '\n';
  }
  std::cout.flush();
  return std::cout ? 0 : kFailed;
}

}  // namespace

int RunMap(const Arguments& arguments) {
  if (arguments.empty()) return Usage("pins, route or export?");
  const std::string& command = arguments.front();
  const MapArguments parsed = ParseArguments(Arguments(arguments.begin() + 1, arguments.end()));
  if (!parsed.problem.empty()) return Usage(parsed.problem);
  if (command != "pins" && command != "route" && command != "export")
    return Usage("unknown command " + command);
  if (command != "export" && !parsed.files.empty()) return Usage(command + " takes no file");
  if (command == "export" && parsed.files.size() != 1) return Usage("export writes one .gpx file");

  const std::filesystem::path file = parsed.map ? std::filesystem::path(*parsed.map)
                                                : MapFileToRead(host::platform::UserDataFolder());
  try {
    const MapDocument map(file, MapDocument::Access::ReadOnly);
    if (command == "pins") return PrintPins(map);
    if (command == "route") {
      std::cout << PlanToJson(map.Plan())
                       .dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
                << '\n';
      return std::cout ? 0 : kFailed;
    }
    ExportGpx(map, parsed.files.front());
    std::cerr << "orvo map: " << map.PushpinCount() << " pushpins and a route of "
              << map.Plan().Count() << " waypoints written to " << parsed.files.front() << '\n';
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "orvo map: " << error.what() << '\n';
    return kFailed;
  }
}

}  // namespace orvo::app
