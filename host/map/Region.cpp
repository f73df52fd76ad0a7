#include "host/map/Region.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>

#include "host/platform/AppFolder.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// The layout of region.json; a reader refuses a newer layout rather than misreading it.
constexpr int kRegionFormat = 1;
constexpr std::size_t kLongestRegionName = 64;

// A file name stored in region.json must stay inside the region folder.
bool IsPlainFileName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

template <typename Value>
Value Field(const json& object, const char* key, const fs::path& file) {
  const auto found = object.find(key);
  if (found == object.end())
    throw RegionError(file.string() + " is damaged: \"" + key + "\" is missing");
  try {
    return found->get<Value>();
  } catch (const json::exception&) {
    throw RegionError(file.string() + " is damaged: \"" + key + "\" has the wrong type");
  }
}

std::string FileNameField(const json& object, const char* key, const fs::path& file) {
  std::string name = Field<std::string>(object, key, file);
  if (!IsPlainFileName(name))
    throw RegionError(file.string() + " is damaged: \"" + key + "\" is not a file name");
  return name;
}

}  // namespace

fs::path RegionsFolder() {
  return platform::UserDataFolder() / "regions";
}

bool IsValidRegionName(std::string_view name) {
  if (name.empty() || name.size() > kLongestRegionName || name.front() == '.') return false;
  return std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
  });
}

Region ReadRegion(const fs::path& folder) {
  const fs::path file = folder / kRegionFileName;
  std::ifstream stream(file);
  if (!stream) throw RegionError("cannot read " + file.string() + ": " + std::strerror(errno));
  const json document = json::parse(stream, nullptr, /*allow_exceptions=*/false);
  if (document.is_discarded() || !document.is_object())
    throw RegionError(file.string() + " is damaged: not a JSON object");
  if (const int format = Field<int>(document, "format", file); format > kRegionFormat)
    throw RegionError(file.string() + " was written by a newer ORVO (format " +
                      std::to_string(format) + ")");

  Region region;
  region.folder = folder;
  region.name = Field<std::string>(document, "name", file);
  const json bounds = Field<json>(document, "bounds", file);
  region.bounds = {Field<double>(bounds, "west", file), Field<double>(bounds, "south", file),
                   Field<double>(bounds, "east", file), Field<double>(bounds, "north", file)};
  if (!region.bounds.IsValid())
    throw RegionError(file.string() + " is damaged: the bounds are not a valid area");
  const json centre = Field<json>(document, "centre", file);
  region.centre = {Field<double>(centre, "latitude", file),
                   Field<double>(centre, "longitude", file)};
  region.minZoom = Field<int>(document, "minZoom", file);
  region.maxZoom = Field<int>(document, "maxZoom", file);
  if (region.minZoom < 0 || region.minZoom > region.maxZoom)
    throw RegionError(file.string() + " is damaged: the zoom range is not valid");
  region.tilesFile = FileNameField(document, "tilesFile", file);
  region.routingPrefix = FileNameField(document, "routingPrefix", file);
  region.logFile = FileNameField(document, "logFile", file);
  region.sourceFile = Field<std::string>(document, "sourceFile", file);
  region.builtTime = Field<std::string>(document, "builtTime", file);
  return region;
}

Region OpenRegion(std::string_view name, const fs::path& regionsFolder) {
  if (!IsValidRegionName(name))
    throw RegionError("\"" + std::string(name) + "\" is not a region name");
  const fs::path folder = regionsFolder / std::string(name);
  std::error_code error;
  if (!fs::is_regular_file(folder / kRegionFileName, error)) {
    throw RegionError(
        "there is no region \"" + std::string(name) + "\" in " + regionsFolder.string() +
        "; import one with: orvo region import FILE.osm.pbf --name " + std::string(name));
  }
  return ReadRegion(folder);
}

std::vector<std::string> ListRegionNames(const fs::path& regionsFolder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(regionsFolder, error)) {
    const std::string name = entry.path().filename().string();
    std::error_code entryError;
    if (IsValidRegionName(name) && entry.is_directory(entryError) &&
        fs::is_regular_file(entry.path() / kRegionFileName, entryError))
      names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void WriteRegion(const Region& region) {
  const json document = {
      {"format", kRegionFormat},
      {"name", region.name},
      {"bounds",
       {{"west", region.bounds.westDegrees},
        {"south", region.bounds.southDegrees},
        {"east", region.bounds.eastDegrees},
        {"north", region.bounds.northDegrees}}},
      {"centre",
       {{"latitude", region.centre.latitudeDegrees},
        {"longitude", region.centre.longitudeDegrees}}},
      {"minZoom", region.minZoom},
      {"maxZoom", region.maxZoom},
      {"tilesFile", region.tilesFile},
      {"routingPrefix", region.routingPrefix},
      {"logFile", region.logFile},
      {"sourceFile", region.sourceFile},
      {"builtTime", region.builtTime},
  };
  const std::string text = document.dump(2) + "\n";
  const fs::path file = region.folder / kRegionFileName;
  const fs::path temporary = region.folder / (std::string(kRegionFileName) + ".partial");

  // Written, flushed to disk and renamed: the file is either absent or complete.
  const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (descriptor < 0)
    throw RegionError("cannot write " + temporary.string() + ": " + std::strerror(errno));
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(descriptor, text.data() + written, text.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      const int savedErrno = errno;
      ::close(descriptor);
      throw RegionError("cannot write " + temporary.string() + ": " + std::strerror(savedErrno));
    }
    written += static_cast<std::size_t>(count);
  }
  const bool synced = ::fsync(descriptor) == 0;
  const int savedErrno = errno;
  ::close(descriptor);
  if (!synced)
    throw RegionError("cannot write " + temporary.string() + ": " + std::strerror(savedErrno));
  std::error_code error;
  fs::rename(temporary, file, error);
  if (error) throw RegionError("cannot write " + file.string() + ": " + error.message());
}

}  // namespace orvo::host::map
