// orvo region import FILE.osm.pbf [--name NAME]   build a region from an OpenStreetMap extract
// orvo region list                                 the imported regions
// orvo region find NAME TEXT                        streets and places of the region by name
#include <iostream>
#include <string>

#include <nlohmann/json.hpp>

#include "app/Commands.hpp"
#include "host/map/Region.hpp"
#include "host/map/RegionImport.hpp"
#include "host/map/RegionNames.hpp"

namespace orvo::app {
namespace {

using namespace orvo::host::map;

// Exit statuses: 1 the import failed, 2 the command line is wrong, 130 (128 + SIGINT) the user
// interrupted it, as shells report an interrupted program.
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kInterrupted = 130;

const char* const kUsageText =
    "usage: orvo region import FILE.osm.pbf [--name NAME]\n"
    "       orvo region list\n"
    "       orvo region find NAME TEXT\n"
    "Regions live in ";

int Usage(const std::string& problem) {
  if (!problem.empty()) std::cerr << "orvo region: " << problem << '\n';
  std::cerr << kUsageText << RegionsFolder().string() << '\n';
  return kUsage;
}

int Import(const Arguments& arguments) {
  RegionImportOptions options;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    if (argument == "--name") {
      if (index + 1 == arguments.size()) return Usage("--name needs a region name");
      options.name = arguments[++index];
    } else if (argument.rfind("--name=", 0) == 0) {
      options.name = argument.substr(7);
    } else if (argument.rfind("--", 0) == 0) {
      return Usage("unknown option " + argument);
    } else if (options.sourceFile.empty()) {
      options.sourceFile = argument;
    } else {
      return Usage("one source file at a time");
    }
  }
  if (options.sourceFile.empty()) return Usage("which .osm.pbf file?");

  try {
    ImportRegion(options, [](std::string_view line) { std::cout << line << std::endl; });
    return 0;
  } catch (const RegionImportInterrupted& stopped) {
    std::cerr << "orvo region: " << stopped.what() << '\n';
    return kInterrupted;
  } catch (const std::exception& error) {
    std::cerr << "orvo region: " << error.what() << '\n';
    return kFailed;
  }
}

int List(const Arguments& arguments) {
  if (!arguments.empty()) return Usage("list takes no arguments");
  const auto names = ListRegionNames();
  if (names.empty()) {
    std::cout << "no regions in " << RegionsFolder().string()
              << "; import one with: orvo region import FILE.osm.pbf\n";
    return 0;
  }
  for (const std::string& name : names) {
    try {
      const Region region = OpenRegion(name);
      std::cout << region.name << "  lat " << region.bounds.southDegrees << " to "
                << region.bounds.northDegrees << ", lon " << region.bounds.westDegrees << " to "
                << region.bounds.eastDegrees << "  zoom " << region.minZoom << "-" << region.maxZoom
                << "  built " << region.builtTime << "  from " << region.sourceFile << '\n';
    } catch (const RegionError& error) {
      std::cout << name << "  (unreadable: " << error.what() << ")\n";
    }
  }
  return 0;
}

// One JSON line per street or place whose name holds TEXT.
int Find(const Arguments& arguments) {
  if (arguments.size() != 2) return Usage("find wants a region name and a text");
  try {
    const Region region = OpenRegion(arguments[0]);
    const NameIndex index(region.folder / kNamesFileName);
    for (const NamedPlace& place : index.Search(arguments[1], 50)) {
      const nlohmann::json line = {{"name", place.name},
                                   {"kind", place.kind},
                                   {"lat", place.location.latitudeDegrees},
                                   {"lon", place.location.longitudeDegrees}};
      std::cout << line.dump() << '\n';
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "orvo region: " << error.what() << '\n';
    return kFailed;
  }
}

}  // namespace

int RunRegion(const Arguments& arguments) {
  if (arguments.empty()) return Usage("");
  const std::string& action = arguments.front();
  const Arguments rest(arguments.begin() + 1, arguments.end());
  if (action == "import") return Import(rest);
  if (action == "list") return List(rest);
  if (action == "find") return Find(rest);
  if (action == "--help" || action == "-h" || action == "help") {
    Usage("");
    return 0;
  }
  return Usage("unknown action \"" + action + "\"");
}

}  // namespace orvo::app
